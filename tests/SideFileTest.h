// Scaffolding of the side-file tests: a scratch folder, a decimal-comma locale
// for one scope, a write that fails on demand, and the hostile inputs that every
// reader must survive.
#ifndef KVPROJ_TESTS_SIDEFILETEST_H
#define KVPROJ_TESTS_SIDEFILETEST_H

#include "TestSupport.h"
#include "kvproj/kvproj.h"

#include <sys/resource.h>
#include <sys/stat.h>

#include <clocale>
#include <csignal>
#include <functional>
#include <string>
#include <vector>

namespace kvtest {

// A fresh folder for one test, removed with everything in it afterwards.
class TempDir {
public:
    explicit TempDir(const std::string& tag) : path_(TempPath("side_" + tag)) {
        Clean();
        ::mkdir(path_.c_str(), 0700);
    }
    ~TempDir() { Clean(); }
    TempDir(const TempDir&) = delete;
    TempDir& operator=(const TempDir&) = delete;
    std::string operator/(const std::string& name) const { return path_ + "/" + name; }
    const std::string& Path() const { return path_; }
    void Write(const std::string& name, const std::string& text) const {
        std::ofstream(*this / name, std::ios::binary) << text;
    }
    std::string Read(const std::string& name) const { return ReadFile(*this / name); }
    bool Exists(const std::string& name) const {
        struct stat st;
        return ::lstat((*this / name).c_str(), &st) == 0;
    }
    // Names in the folder, sorted.
    std::vector<std::string> List() const {
        std::vector<std::string> names;
        if (FILE* p = ::popen(("ls -A " + Quote(path_)).c_str(), "r")) {
            char line[4096];
            while (std::fgets(line, sizeof line, p)) {
                std::string n(line);
                if (!n.empty() && n.back() == '\n') n.pop_back();
                names.push_back(n);
            }
            ::pclose(p);
        }
        return names;
    }

private:
    void Clean() const { (void)std::system(("rm -rf " + Quote(path_)).c_str()); }
    std::string path_;
};

// A decimal-comma locale for one scope (de_DE.UTF-8 is generated on the build
// machines). Ok() is false when the system lacks it.
class CommaLocale {
public:
    CommaLocale() {
        const char* old = std::setlocale(LC_ALL, nullptr);
        old_ = old ? old : "C";
        ok_ = std::setlocale(LC_ALL, "de_DE.UTF-8") != nullptr;
    }
    ~CommaLocale() { std::setlocale(LC_ALL, old_.c_str()); }
    CommaLocale(const CommaLocale&) = delete;
    CommaLocale& operator=(const CommaLocale&) = delete;
    bool Ok() const { return ok_; }

private:
    std::string old_;
    bool ok_ = false;
};

// Files written while this lives may hold at most `bytes` bytes: a longer write
// fails (EFBIG), as on a full disk. Works for root too, unlike permissions.
class FileSizeLimit {
public:
    explicit FileSizeLimit(rlim_t bytes) {
        oldHandler_ = std::signal(SIGXFSZ, SIG_IGN);
        ::getrlimit(RLIMIT_FSIZE, &old_);
        struct rlimit small = old_;
        small.rlim_cur = bytes;
        ::setrlimit(RLIMIT_FSIZE, &small);
    }
    ~FileSizeLimit() {
        ::setrlimit(RLIMIT_FSIZE, &old_);
        std::signal(SIGXFSZ, oldHandler_);
    }
    FileSizeLimit(const FileSizeLimit&) = delete;
    FileSizeLimit& operator=(const FileSizeLimit&) = delete;

private:
    struct rlimit old_;
    void (*oldHandler_)(int);
};

// Hostile inputs shared by the reader tests: each puts something at `path`.
struct HostileInput {
    const char* what;
    std::function<void(const std::string& path)> make;
};

inline std::vector<HostileInput> HostileInputs(const std::string& validStart) {
    auto text = [](std::string body) {
        return [body](const std::string& p) { std::ofstream(p, std::ios::binary) << body; };
    };
    std::string junk;
    for (int i = 0; i < 4096; ++i)
        junk.push_back(static_cast<char>((i * 7919 + 13) & 0xFF));
    return {
        {"empty file", text("")},
        {"no newline at all", text(validStart + "1 2 3 4 5 6 7 8")},
        {"10 MB line", text(validStart + std::string(10u << 20, '7') + "\n")},
        {"NUL bytes", text(validStart + std::string("1\0 2\0\n\0\0\n3\n", 11))},
        {"binary junk", text(junk)},
        {"lone CRs", text(validStart + std::string(5000, '\r'))},
        {"directory", [](const std::string& p) { ::mkdir(p.c_str(), 0700); }},
        {"FIFO", [](const std::string& p) { ::mkfifo(p.c_str(), 0600); }},
    };
}

// What one side-file read filled in; the controls it allocated are freed at
// the end of the scope. The starting datum and flags are chosen by each test
// so that a reader that leaves them untouched shows.
struct SideRead {
    explicit SideRead(KVProj::DatumType startDatum, unsigned startFlags = 0)
        : flags(startFlags), datum(startDatum) {}
    SideRead(const SideRead&) = delete;
    SideRead& operator=(const SideRead&) = delete;
    ~SideRead() { KVProj::RefFreeControls(&georef); }
    bool ok = false;
    unsigned flags = 0;
    KVProj::PROJDATA proj{};
    KVProj::DatumType datum = KVProj::DATUM_NONE;
    KVProj::DATUM2WGS84 params{};
    KVProj::GEOREF georef{};
};

} // namespace kvtest

#endif
