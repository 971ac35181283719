// The private-profile module: Windows section semantics, preservation of the
// rest of the file, hostile files, and a write that survives being killed.
#include "frame/IniProfile.h"

#include <gtest/gtest.h>

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <sstream>
#include <string>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

using namespace KVProj;

namespace {

std::string tempDir() {
    const char* t = std::getenv("TMPDIR");
    return t && *t ? t : "/tmp";
}

struct TempProfile {
    std::string path;
    explicit TempProfile(const char* tag) {
        path = tempDir() + "/kvproj_ini_" + tag + "_" + std::to_string(getpid()) + ".ini";
        std::remove(path.c_str());
    }
    ~TempProfile() { std::remove(path.c_str()); }
    void write(const std::string& text) const { std::ofstream(path, std::ios::binary) << text; }
    std::string read() const {
        std::ifstream in(path, std::ios::binary);
        std::stringstream ss;
        ss << in.rdbuf();
        return ss.str();
    }
};

// The lines of a section as the read call returns them.
std::vector<std::string> section(const std::string& file, const char* name, size_t size = 32767) {
    std::vector<char> buf(size + 8, '#');
    size_t n = Ini::GetSection(file.c_str(), name, buf.data(), size);
    EXPECT_LE(n, size);
    EXPECT_EQ(buf[size + 1], '#'); // nothing written past the buffer
    std::vector<std::string> lines;
    for (size_t pos = 0; pos < n && buf[pos]; pos += std::strlen(&buf[pos]) + 1)
        lines.push_back(&buf[pos]);
    return lines;
}

std::string lines(std::initializer_list<const char*> list) {
    std::string s;
    for (const char* l : list)
        s.append(l).push_back('\0');
    s.push_back('\0');
    return s;
}

using Lines = std::vector<std::string>;

} // namespace

TEST(IniProfile, ReadsWithWindowsSectionSemantics) {
    TempProfile p("read");
    p.write("; leading comment\r\n"
            "[Other]\r\nA=1\r\n"
            "[ custom DATUMS ]\r\n"
            "  Key One =  value 1  \r\n"
            "; a comment\r\n"
            "\r\n"
            "NoEquals\r\n"
            "k2=a=b\r\n"
            "[Custom Datums]\r\n"
            "Second=ignored\r\n");
    EXPECT_EQ(section(p.path, "Custom Datums"), (Lines{"Key One=value 1", "NoEquals", "k2=a=b"}));
    EXPECT_EQ(section(p.path, "other"), (Lines{"A=1"}));
    EXPECT_TRUE(section(p.path, "Missing").empty());
    EXPECT_TRUE(section(p.path + ".absent", "Other").empty());
}

TEST(IniProfile, LfOnlyFilesAndNoFinalNewline) {
    TempProfile p("lf");
    p.write("[S]\nx=1\ny=2");
    EXPECT_EQ(section(p.path, "S"), (Lines{"x=1", "y=2"}));
    ASSERT_TRUE(Ini::WriteSection(p.path.c_str(), "S", lines({"z=3"}).c_str()));
    EXPECT_EQ(p.read(), "[S]\nz=3\n");
}

TEST(IniProfile, WriteKeepsEverythingElseByteForByte) {
    TempProfile p("keep");
    const std::string head = "; top\r\n[First]\r\na = 1 \r\n\r\n";
    const std::string tail = "[Last]\r\n; note\r\nz=26\r\n";
    p.write(head + "[Custom Datums]\r\n; kept comment\r\nold=1\r\n\r\n" + tail);
    ASSERT_TRUE(
        Ini::WriteSection(p.path.c_str(), "custom datums", lines({"n1=v1", "n2=v2"}).c_str()));
    EXPECT_EQ(p.read(),
              head + "[Custom Datums]\r\n; kept comment\r\nn1=v1\r\nn2=v2\r\n\r\n" + tail);
    // An empty list leaves the header; a null list removes the section.
    ASSERT_TRUE(Ini::WriteSection(p.path.c_str(), "Custom Datums", lines({}).c_str()));
    EXPECT_TRUE(section(p.path, "Custom Datums").empty());
    ASSERT_TRUE(Ini::WriteSection(p.path.c_str(), "Custom Datums", nullptr));
    EXPECT_EQ(p.read(), head + tail);
}

TEST(IniProfile, CreatesFileAndAppendsSection) {
    TempProfile p("create");
    ASSERT_TRUE(Ini::WriteSection(p.path.c_str(), "New", lines({"a=1"}).c_str()));
    EXPECT_EQ(p.read(), "[New]\r\na=1\r\n");
    ASSERT_TRUE(Ini::WriteSection(p.path.c_str(), "Second", lines({"b=2"}).c_str()));
    EXPECT_EQ(p.read(), "[New]\r\na=1\r\n[Second]\r\nb=2\r\n");
    EXPECT_EQ(section(p.path, "second"), (Lines{"b=2"}));
}

TEST(IniProfile, RefusesWhatItCannotDo) {
    EXPECT_FALSE(Ini::WriteSection(nullptr, "S", lines({"a=1"}).c_str()));
    EXPECT_FALSE(Ini::WriteSection("", "S", lines({"a=1"}).c_str()));
    EXPECT_FALSE(Ini::WriteSection("/nonexistent-dir/x.ini", "S", lines({"a=1"}).c_str()));
    char buf[4] = "abc";
    EXPECT_EQ(Ini::GetSection(nullptr, "S", buf, sizeof buf), 0u);
    EXPECT_EQ(buf[0], '\0');
    EXPECT_EQ(Ini::GetSection("x", "S", nullptr, 10), 0u);
    // A directory is not a profile: reading gives nothing, writing fails.
    std::string dir = tempDir();
    EXPECT_TRUE(section(dir, "S").empty());
    EXPECT_FALSE(Ini::WriteSection(dir.c_str(), "S", lines({"a=1"}).c_str()));
}

TEST(IniProfile, HostileFilesNeverOverrun) {
    TempProfile p("hostile");
    std::string text = "[S]\n";
    text += "long=" + std::string(200000, 'L') + "\n"; // one line of 200 KB
    text += std::string("bin\0ary=1\n", 10);           // a zero byte in a line
    for (int i = 0; i < 256; ++i)
        text.push_back(static_cast<char>(i)); // junk
    text += "\n[T]\nx=1\n[\n[unclosed\n]\n";
    p.write(text);
    Lines s = section(p.path, "S");
    ASSERT_GE(s.size(), 1u);
    EXPECT_EQ(s[0].size(), 32767u - 2u); // cut to the buffer
    EXPECT_EQ(section(p.path, "T"), (Lines{"x=1", "[", "[unclosed", "]"}));
    // Small buffers: the list is still terminated by two zeros and never overrun.
    for (size_t size : {2u, 3u, 5u, 8u, 13u}) {
        std::vector<char> buf(size + 4, '#');
        size_t n = Ini::GetSection(p.path.c_str(), "T", buf.data(), size);
        EXPECT_LE(n, size - 2 + 1) << size;
        EXPECT_EQ(buf[size - 1], '\0') << size;
        EXPECT_EQ(buf[size], '#') << size;
    }
}

TEST(IniProfile, SectionsBeyondThirtyTwoKilobytesAreCut) {
    TempProfile p("big");
    std::string text = "[S]\n";
    for (int i = 0; i < 3000; ++i)
        text += "key" + std::to_string(i) + "=value\n";
    p.write(text);
    std::vector<char> buf(32767);
    size_t n = Ini::GetSection(p.path.c_str(), "S", buf.data(), buf.size());
    EXPECT_EQ(n, 32767u - 2u);
    EXPECT_EQ(buf[32765], '\0');
    EXPECT_EQ(buf[32766], '\0');
}

// The write goes to a temporary sibling renamed over the profile: a writer
// killed at any moment leaves the old or the new file, never a torn one.
TEST(IniProfile, KilledWriterNeverTearsTheFile) {
    TempProfile p("crash");
    const std::string other = "[Keep]\n" + std::string(20000, 'k') + "=1\n";
    p.write(other + "[S]\nv=0\n");
    for (int round = 0; round < 12; ++round) {
        pid_t child = fork();
        ASSERT_GE(child, 0);
        if (child == 0) {
            // Rewrite a large section over and over until killed.
            std::string big;
            for (int i = 0; i < 1500; ++i)
                big += "entry" + std::to_string(i) + "=" + std::to_string(round) + '\0';
            big.push_back('\0');
            for (;;)
                Ini::WriteSection(p.path.c_str(), "S", big.c_str());
        }
        usleep(2000 + round * 1500);
        kill(child, SIGKILL);
        int status = 0;
        waitpid(child, &status, 0);
        const std::string now = p.read();
        ASSERT_EQ(now.compare(0, other.size(), other), 0) << "round " << round;
        Lines s = section(p.path, "S");
        ASSERT_FALSE(s.empty());
        if (s.size() != 1) {
            // Whole, never half: one complete rewrite, by this round's writer
            // or, when it was killed before its first rename, an earlier one.
            ASSERT_EQ(s.size(), 1500u) << "round " << round;
            const std::string value = s.front().substr(s.front().find('=') + 1);
            EXPECT_LE(std::atoi(value.c_str()), round);
            EXPECT_EQ(s.back(), "entry1499=" + value) << "round " << round;
        }
    }
    // Stray temporary files of killed writers are the only leftovers.
    std::string cmd = "rm -f '" + p.path + "'.~kv*.tmp";
    EXPECT_EQ(std::system(cmd.c_str()), 0);
}
