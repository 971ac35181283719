// The frame's file layer: C-locale numbers under a decimal-comma host locale,
// the line reader, the replacing writer, case-insensitive sibling lookup and
// the exception firewall.
#include "frame/CNumber.h"
#include "frame/Firewall.h"
#include "frame/SiblingFile.h"
#include "frame/TextFile.h"

#include "TestSupport.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <clocale>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <dirent.h>
#include <limits>
#include <new>
#include <stdexcept>
#include <string>
#include <vector>

using namespace KVProj;

namespace {

// Switches LC_ALL to a decimal-comma locale for one scope (generated on the
// build machines and in CI) and restores the old one.
class DecimalCommaLocale {
public:
    DecimalCommaLocale() : old_(std::setlocale(LC_ALL, nullptr)) {
        ok_ = std::setlocale(LC_ALL, "de_DE.UTF-8") != nullptr;
    }
    ~DecimalCommaLocale() { std::setlocale(LC_ALL, old_.c_str()); }
    bool ok() const { return ok_; }

private:
    std::string old_;
    bool ok_ = false;
};

// A scratch folder for one test, removed with its files at the end.
class Scratch {
public:
    explicit Scratch(const char* name) : dir_(kvtest::TempPath(name)) {
        ::mkdir(dir_.c_str(), 0700);
    }
    ~Scratch() {
        for (const std::string& f : Files())
            if (std::remove((dir_ + "/" + f).c_str()) != 0) ::rmdir((dir_ + "/" + f).c_str());
        ::rmdir(dir_.c_str());
    }
    std::string Path(const std::string& name) const { return dir_ + "/" + name; }
    std::string Write(const std::string& name, const std::string& bytes) const {
        std::FILE* f = std::fopen(Path(name).c_str(), "wb");
        std::fwrite(bytes.data(), 1, bytes.size(), f);
        std::fclose(f);
        return Path(name);
    }
    std::vector<std::string> Files() const {
        std::vector<std::string> names;
        if (DIR* d = ::opendir(dir_.c_str())) {
            while (const dirent* e = ::readdir(d))
                if (std::strcmp(e->d_name, ".") && std::strcmp(e->d_name, ".."))
                    names.push_back(e->d_name);
            ::closedir(d);
        }
        return names;
    }

private:
    std::string dir_;
};

std::vector<std::string> ReadLines(const std::string& path, size_t maxLine, bool* truncated) {
    LineReader reader(maxLine);
    std::vector<std::string> lines;
    EXPECT_TRUE(reader.Open(path.c_str()));
    std::string line;
    *truncated = false;
    while (reader.Next(line)) {
        lines.push_back(line);
        *truncated = *truncated || reader.Truncated();
    }
    EXPECT_FALSE(reader.Failed());
    return lines;
}

TEST(FrameNumbers, CLocaleWhateverTheHostLocale) {
    DecimalCommaLocale de;
    ASSERT_TRUE(de.ok()) << "de_DE.UTF-8 must be generated (locale-gen)";
    char probe[16];
    std::snprintf(probe, sizeof probe, "%.1f", 0.5);
    ASSERT_STREQ(probe, "0,5"); // the host locale really writes commas
    // Expected texts: the C library's printf in the C locale.
    const struct {
        const char* format;
        double value;
        const char* text;
    } written[] = {
        {"%.10f", 0.5, "0.5000000000"},
        {"%g", 1234.5, "1234.5"},
        {"%lG", 1e-7, "1E-07"},
        {"%.3f", -2.0625, "-2.062"},
        {"%.17g", 0.1, "0.10000000000000001"},
        {"%f", 1e6, "1000000.000000"},
    };
    for (const auto& w : written) {
        char buffer[64];
        EXPECT_EQ(FormatC(buffer, sizeof buffer, w.format, w.value),
                  static_cast<int>(std::strlen(w.text)));
        EXPECT_STREQ(buffer, w.text) << w.format;
        EXPECT_EQ(FormatCString(w.format, w.value), w.text);
    }
    EXPECT_EQ(FormatCString("%0300.1f", 2.5).size(), 300u); // longer than the small buffer
    char tiny[4];
    EXPECT_EQ(FormatC(tiny, sizeof tiny, "%.2f", 12.5), 5); // snprintf's count, cut output
    EXPECT_STREQ(tiny, "12.");

    // Reading: strtod/atof of the C locale.
    char* end = nullptr;
    EXPECT_EQ(StrtodC("0.5;", &end), 0.5);
    EXPECT_STREQ(end, ";");
    EXPECT_EQ(StrtodC("0,5", &end), 0.0); // a comma ends the number, as in C
    EXPECT_STREQ(end, ",5");
    EXPECT_EQ(AtofC("  -12.75xyz"), -12.75);
    EXPECT_EQ(AtofC(nullptr), 0.0);
    EXPECT_EQ(AtofC("abc"), 0.0);
    const struct {
        const char* text;
        bool ok;
        double value;
    } strict[] = {
        {" 1.5 ", true, 1.5}, {"-0.25\r\n", true, -0.25}, {"1e3", true, 1000.0}, {"1.5x", false, 0},
        {"", false, 0},       {"   ", false, 0},          {"nan", false, 0},     {"inf", false, 0},
        {"1e400", false, 0},  {"1,5", false, 0},
    };
    for (const auto& s : strict) {
        double v = -99.0;
        EXPECT_EQ(ParseFiniteC(s.text, v), s.ok) << '"' << s.text << '"';
        EXPECT_EQ(v, s.ok ? s.value : -99.0) << '"' << s.text << '"';
    }
    // Every finite double written with %.17g reads back to itself.
    for (const double v : {0.1, -1e-300, 6378137.0, 1.7976931348623157e308, 4.9e-324}) {
        double back = 0.0;
        ASSERT_TRUE(ParseFiniteC(FormatCString("%.17g", v).c_str(), back));
        EXPECT_EQ(back, v);
    }
}

TEST(FrameTextFile, LinesAndWhatIsNotAFile) {
    Scratch dir("frame_lines");
    const struct {
        const char* what;
        std::string bytes;
        size_t maxLine;
        std::vector<std::string> lines;
        bool truncated;
    } rows[] = {
        {"LF", "a\nbb\n", 100, {"a", "bb"}, false},
        {"CR-LF and no final end", "a\r\nb\nc", 100, {"a", "b", "c"}, false},
        {"a lone CR stays", "a\rb\n", 100, {"a\rb"}, false},
        {"empty lines", "\n\r\n\n", 100, {"", "", ""}, false},
        {"empty file", "", 100, {}, false},
        {"NUL kept", std::string("a\0b\n", 4), 100, {std::string("a\0b", 3)}, false},
        {"over-long cut, rest skipped", "abcdefgh\nxy\n", 4, {"abcd", "xy"}, true},
        {"over-long last line", "xy\nabcdefgh", 4, {"xy", "abcd"}, true},
        {"CR-LF right at the limit", "abcd\r\nz\n", 4, {"abcd", "z"}, false},
        {"a CR past the limit that is content", "abcd\rx\n", 4, {"abcd"}, true},
        {"a CR past the limit at the end", "abcd\r", 4, {"abcd"}, true},
    };
    for (const auto& r : rows) {
        SCOPED_TRACE(r.what);
        bool truncated = false;
        EXPECT_EQ(ReadLines(dir.Write("t.txt", r.bytes), r.maxLine, &truncated), r.lines);
        EXPECT_EQ(truncated, r.truncated);
    }
    // Rewind reads the same lines again.
    LineReader reader;
    ASSERT_TRUE(reader.Open(dir.Write("r.txt", "one\ntwo\n").c_str()));
    std::string line;
    ASSERT_TRUE(reader.Next(line) && reader.Next(line) && !reader.Next(line));
    ASSERT_TRUE(reader.Rewind() && reader.Next(line));
    EXPECT_EQ(line, "one");
    // Neither a directory nor a FIFO (which would block) nor a missing file opens.
    const std::string fifo = dir.Path("pipe");
    ASSERT_EQ(::mkfifo(fifo.c_str(), 0600), 0);
    ::mkdir(dir.Path("sub").c_str(), 0700);
    for (const std::string& path : {fifo, dir.Path("sub"), dir.Path("missing")}) {
        LineReader r;
        EXPECT_FALSE(r.Open(path.c_str())) << path;
        EXPECT_EQ(OpenRegularFile(path.c_str()), nullptr) << path;
    }
    std::FILE* f = OpenRegularFile(dir.Path("r.txt").c_str());
    EXPECT_NE(f, nullptr);
    if (f) std::fclose(f);
}

TEST(FrameTextFile, ReplacingWriteNeverLeavesATornFile) {
    Scratch dir("frame_write");
    const std::string target = dir.Write("profile.ini", "old contents\n");
    ASSERT_TRUE(WriteFileReplacing(target.c_str(), "new\r\ncontents"));
    EXPECT_EQ(kvtest::ReadFile(target), "new\r\ncontents");
    EXPECT_EQ(dir.Files(), std::vector<std::string>{"profile.ini"}); // no temporary left
    // A target that cannot be replaced (a directory) or written (no such
    // folder) fails, leaves what was there, and leaves no sibling behind.
    ::mkdir(dir.Path("folder").c_str(), 0700);
    EXPECT_FALSE(WriteFileReplacing(dir.Path("folder").c_str(), "x"));
    struct stat st;
    EXPECT_TRUE(::stat(dir.Path("folder").c_str(), &st) == 0 && S_ISDIR(st.st_mode));
    EXPECT_FALSE(WriteFileReplacing(dir.Path("none/file.txt").c_str(), "x"));
    EXPECT_EQ(dir.Files().size(), 2u); // profile.ini and folder
    EXPECT_EQ(kvtest::ReadFile(target), "new\r\ncontents");
}

TEST(FrameSiblingFile, NamesThatDifferOnlyInCase) {
    Scratch dir("frame_sibling");
    dir.Write("MAP.TFW", "1\n");
    dir.Write("Both.prj", "a");
    dir.Write("both.prj", "b");
    ::mkdir(dir.Path("IMAGE.RSF").c_str(), 0700); // a folder is never the file
    const struct {
        const char* asked;
        const char* found; // "" for none
    } rows[] = {
        {"map.tfw", "MAP.TFW"},   {"Map.Tfw", "MAP.TFW"},   {"MAP.TFW", "MAP.TFW"},
        {"both.prj", "both.prj"}, {"Both.prj", "Both.prj"}, // the exact name first
        {"map.tfwx", ""},         {"image.rsf", ""},        {"nothing.wld", ""},
    };
    for (const auto& r : rows)
        EXPECT_EQ(FindIgnoringCase(dir.Path(r.asked)), r.found[0] ? dir.Path(r.found) : "")
            << r.asked;
    EXPECT_EQ(FindIgnoringCase(dir.Path("missing/map.tfw")), "");

    const struct {
        const char* path;
        const char* extension;
        const char* result;
    } swaps[] = {
        {"map.tif", ".tfw", "map.tfw"},    {"a/b.c/map", ".tfw", "a/b.c/map.tfw"},
        {"x.tar.gz", ".prj", "x.tar.prj"}, {"/data/IMG.TIF", ".TFW", "/data/IMG.TFW"},
        {"noext", ".rsf", "noext.rsf"},    {"dir.d/", ".wld", "dir.d/.wld"},
    };
    for (const auto& s : swaps)
        EXPECT_EQ(WithExtension(s.path, s.extension), s.result) << s.path;

    EXPECT_TRUE(EqualIgnoringCase("NTV2_0.GSB", "ntv2_0.gsb"));
    EXPECT_FALSE(EqualIgnoringCase("ntv2_0.gsb", "ntv2_0.gs"));
    EXPECT_FALSE(EqualIgnoringCase("a", "b"));
    const std::string beside = BesideExecutable("NTV2_0.GSB");
    char exe[4096];
    const ssize_t n = ::readlink("/proc/self/exe", exe, sizeof exe - 1);
    ASSERT_GT(n, 0);
    std::string folder(exe, static_cast<size_t>(n));
    folder.resize(folder.rfind('/') + 1);
    EXPECT_EQ(beside, folder + "NTV2_0.GSB");
}

int Throws(int kind) {
    if (kind == 1) throw std::runtime_error("boom");
    if (kind == 2) throw std::bad_alloc();
    if (kind == 3) throw 42;
    return 7;
}

TEST(FrameFirewall, EveryExceptionBecomesTheFailureValueAndOneReport) {
    kvtest::ReportRecorder host;
    for (int kind = 1; kind <= 3; ++kind) {
        EXPECT_EQ(KV_GUARDED(-1, [&] { return Throws(kind); }), -1) << kind;
        bool ran = false;
        KV_GUARDED_VOID([&] {
            ran = true;
            Throws(kind);
        });
        EXPECT_TRUE(ran);
    }
    EXPECT_EQ(KV_GUARDED(-1, [] { return Throws(0); }), 7);
    ASSERT_EQ(host.Count(20200), 6);
    EXPECT_TRUE(kvtest::Contains(host.reports[0].file, "test_frame_files.cpp"));
}

} // namespace
