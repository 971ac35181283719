// Scaffolding shared by the test sources: temporary paths, the diagnostic log
// pointed at a scratch file, a host that records error reports, and a runner
// for the command-line tool.
#ifndef KVPROJ_TESTS_TESTSUPPORT_H
#define KVPROJ_TESTS_TESTSUPPORT_H

#include "frame/Diag.h"
#include "kvlibw/kvlibw.h"

#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <map>
#include <sstream>
#include <string>
#include <vector>

namespace kvtest {

// Points of the long random sweeps that compare the vector loops with the
// per-point path: the whole sweep in the ordinary build, a tenth under
// AddressSanitizer, whose unoptimised, instrumented lanes run some fifty times
// slower (memory errors show on the shorter sweep as well).
#if defined(__SANITIZE_ADDRESS__)
constexpr int kSweepPoints = 20000;
#else
constexpr int kSweepPoints = 200000;
#endif

inline std::string ReadFile(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    std::stringstream ss;
    ss << in.rdbuf();
    return ss.str();
}

// A per-process path under $TMPDIR (ctest points it at the build tree).
inline std::string TempPath(const std::string& name) {
    const char* dir = std::getenv("TMPDIR");
    return std::string(dir && *dir ? dir : "/tmp") + "/" + name + "." + std::to_string(::getpid());
}

inline bool Contains(const std::string& text, const std::string& part) {
    return text.find(part) != std::string::npos;
}

// A tab-separated table with a header line: one map from column name to cell per row.
inline std::vector<std::map<std::string, std::string>> ReadTsv(const std::string& path) {
    std::vector<std::map<std::string, std::string>> rows;
    std::istringstream in(ReadFile(path));
    std::vector<std::string> header;
    for (std::string line; std::getline(in, line);) {
        if (!line.empty() && line.back() == '\r') line.pop_back();
        std::vector<std::string> fields;
        std::stringstream ss(line);
        for (std::string field; std::getline(ss, field, '\t');)
            fields.push_back(field);
        if (header.empty()) {
            header = fields;
            continue;
        }
        rows.emplace_back();
        for (size_t i = 0; i < header.size(); ++i)
            rows.back()[header[i]] = i < fields.size() ? fields[i] : "";
    }
    return rows;
}

// Enables the log into a fresh file for one scope, then restores the previous state.
class LogCapture {
public:
    explicit LogCapture(const std::string& name = "log")
        : path_(TempPath(name + ".log")), was_(KVProj::LogIsEnabled()), old_(KVProj::LogPath()) {
        std::remove(path_.c_str());
        KVProj::LogSetup(true, path_.c_str());
    }
    ~LogCapture() {
        KVProj::LogSetup(was_, old_.c_str());
        std::remove(path_.c_str());
    }
    LogCapture(const LogCapture&) = delete;
    LogCapture& operator=(const LogCapture&) = delete;
    std::string Text() const { return ReadFile(path_); }
    void Clear() const { std::remove(path_.c_str()); }
    const std::string& Path() const { return path_; }

private:
    std::string path_;
    bool was_;
    std::string old_;
};

// Registers a host for one scope that asks for the details of every report and keeps them.
class ReportRecorder {
public:
    struct Report {
        int id;
        std::string file;
        int line;
        std::string text;
    };
    ReportRecorder() {
        Active() = this;
        KVRegisterCallerInstance(&ReportRecorder::Host, nullptr);
    }
    ~ReportRecorder() {
        KVUnregisterCallerInstance();
        Active() = nullptr;
    }
    ReportRecorder(const ReportRecorder&) = delete;
    ReportRecorder& operator=(const ReportRecorder&) = delete;
    int Count(int id) const {
        return static_cast<int>(std::count_if(reports.begin(), reports.end(),
                                              [id](const Report& r) { return r.id == id; }));
    }
    std::vector<Report> reports;

private:
    static ReportRecorder*& Active() {
        static ReportRecorder* active = nullptr;
        return active;
    }
    static int KVCALLBACK Host(const _KVERRINFO* info) {
        if (!(info->flags & KVERR_DETAILS)) return 1;
        if (Active())
            Active()->reports.push_back({info->messageId, info->sourceFile ? info->sourceFile : "",
                                         info->line, info->messageText ? info->messageText : ""});
        return 0;
    }
};

// One shell word holding `text` as it is.
inline std::string Quote(const std::string& text) {
    std::string quoted = "'";
    for (char c : text)
        quoted += c == '\'' ? std::string("'\\''") : std::string(1, c);
    return quoted + "'";
}

struct ToolRun {
    int status = -1;
    std::string out, err;
    std::vector<std::string> Lines() const {
        std::vector<std::string> lines;
        std::istringstream in(out);
        for (std::string line; std::getline(in, line);)
            lines.push_back(line);
        return lines;
    }
};

// Runs the kvproj tool with `args` (shell text; cases quote their own words),
// `input` on standard input; standard output and error are kept apart.
inline ToolRun RunTool(const std::string& args, const std::string& input = "") {
    const std::string in = TempPath("tool_in"), err = TempPath("tool_err");
    std::ofstream(in, std::ios::binary) << input;
    const std::string command =
        Quote(KVPROJ_TOOL_PATH) + " " + args + " <" + Quote(in) + " 2>" + Quote(err);
    ToolRun run;
    if (FILE* pipe = ::popen(command.c_str(), "r")) {
        char buffer[4096];
        for (size_t n; (n = std::fread(buffer, 1, sizeof buffer, pipe)) > 0;)
            run.out.append(buffer, n);
        const int status = ::pclose(pipe);
        run.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }
    run.err = ReadFile(err);
    std::remove(in.c_str());
    std::remove(err.c_str());
    return run;
}

} // namespace kvtest

#endif
