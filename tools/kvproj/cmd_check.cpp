// "kvproj check": validates a parameter record given as key=value words or lines.
#include "Command.h"
#include "Crs.h"
#include "LineInput.h"
#include "ProjArgs.h"
#include "Text.h"

#include "kvproj/kvproj.h"

#include <cstdio>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

namespace kvtool {
namespace {

using KVProj::PROJDATA;

// Applies one "key = value" line; an error text when it cannot.
std::string ApplyLine(PROJDATA* data, const std::string& line) {
    const size_t eq = line.find('=');
    if (eq == std::string::npos) return "expected key=value, got '" + Shown(line) + "'";
    std::string error;
    return ApplyProjParam(Trim(line.substr(0, eq)), line.substr(eq + 1), data, &error) ? "" : error;
}

// Reads lines from `path` ("-" for standard input) into `data`; a tool exit
// status other than 0 after the message on the first bad line or a failed read.
int ReadRecord(const std::string& path, PROJDATA* data) {
    LineInput in;
    std::string error;
    if (!in.Open(path, &error)) return Failure("check: " + error);
    const char* text = nullptr;
    size_t size = 0;
    for (;;) {
        const LineInput::Status status = in.Next(&text, &size);
        const std::string where = in.Name() + ":" + std::to_string(in.Number()) + ": ";
        if (status == LineInput::END) return EXIT_OK;
        if (status == LineInput::READ_FAILED)
            return Failure("check: " + in.Name() + ": read failed: " + in.Error());
        if (status == LineInput::TOO_LONG) return UsageError("check: " + where + "line too long");
        const std::string line = Trim(std::string(text, size));
        if (line.empty() || line[0] == '#') continue;
        error = ApplyLine(data, line);
        if (!error.empty()) return UsageError("check: " + where + error);
    }
}

struct Options {
    std::vector<std::string> words;
    CrsArgs crs;
};

int Run(const Options& o) {
    PROJDATA data;
    std::memset(&data, 0, sizeof(data));
    bool readAny = false;
    if (!o.crs.crs.empty()) {
        // The system's record first; key=value words and files go on top.
        CrsRecord crs;
        std::string error;
        if (!ResolveCrsProjection(o.crs.crs, &crs, &error)) return UsageError("check: " + error);
        data = crs.proj;
        readAny = true;
    }
    for (const std::string& word : o.words) {
        if (word.find('=') != std::string::npos) {
            const std::string error = ApplyLine(&data, word);
            if (!error.empty()) return UsageError("check: " + error);
        } else if (const int status = ReadRecord(word, &data)) {
            return status;
        }
        readAny = true;
    }
    if (!readAny)
        if (const int status = ReadRecord("-", &data)) return status;

    RecordVerdict verdict = CheckRecord(data);
    if (verdict.parameter == 0) {
        std::printf("valid\n");
        return EXIT_OK;
    }
    std::printf("invalid\n");
    std::printf("parameter: %d (%s)\n", verdict.parameter, ParamLabel(verdict.parameter).c_str());
    std::printf("message:   %s\n", verdict.message.c_str());
    return EXIT_FAILED;
}

Runner SetUp(CLI::App& app) {
    auto o = std::make_shared<Options>();
    app.add_option("record", o->words, "key=value words, files of key=value lines, - (stdin)");
    AddCrsOptions(app, false, &o->crs);
    return [o] { return Run(*o); };
}

const KVCommand command({"check", "check [--crs CRS] [file|-|key=value ...]",
                         "validate a parameter record given as key=value words or lines",
                         "  kvproj check type=lcc lat1=30 lat2=45 ellipsoid=15\n"
                         "  printf 'Type = 10\\nState Zone = Alabama East\\n' | kvproj check\n"
                         "  kvproj check --crs EPSG:2154\n",
                         "  0  the record is valid\n"
                         "  1  the record is invalid (the parameter and the reason are printed),\n"
                         "     or a file could not be read\n"
                         "  2  bad usage, or a line that is not a known key=value\n"},
                        SetUp);

} // namespace
} // namespace kvtool
