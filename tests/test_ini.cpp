// The private-profile module: Windows section semantics, preservation of the
// rest of the file, hostile files, and a write that survives being killed.
#include "TestSupport.h"
#include "frame/IniProfile.h"

#include <gtest/gtest.h>

#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstring>

using namespace KVProj;

namespace {

using Lines = std::vector<std::string>;

struct TempProfile {
    std::string path;
    explicit TempProfile(const char* tag) : path(kvtest::TempPath(std::string("ini_") + tag)) {
        std::remove(path.c_str());
    }
    ~TempProfile() { std::remove(path.c_str()); }
    void Write(const std::string& text) const { std::ofstream(path, std::ios::binary) << text; }
    std::string Read() const { return kvtest::ReadFile(path); }
};

// The lines of a section as the read call returns them; nothing may be
// written past the buffer.
Lines Section(const std::string& file, const char* name, size_t size = 32767) {
    std::vector<char> buf(size + 8, '#');
    const size_t n = Ini::GetSection(file.c_str(), name, buf.data(), size);
    EXPECT_LE(n, size);
    EXPECT_EQ(buf[size + 1], '#');
    Lines lines;
    for (size_t pos = 0; pos < n && buf[pos]; pos += std::strlen(&buf[pos]) + 1)
        lines.push_back(&buf[pos]);
    return lines;
}

// A double-zero-terminated list.
std::string List(std::initializer_list<const char*> list) {
    std::string s;
    for (const char* l : list)
        s.append(l).push_back('\0');
    return s + '\0';
}

} // namespace

TEST(IniProfile, ReadsWithWindowsSectionSemantics) {
    TempProfile p("read");
    p.Write(
        "; leading comment\r\n[Other]\r\nA=1\r\n"
        "[ custom DATUMS ]\r\n  Key One =  value 1  \r\n; a comment\r\n\r\nNoEquals\r\nk2=a=b\r\n"
        "[Custom Datums]\r\nSecond=ignored\r\n");
    // Entries come back as they stand: a key's blanks are part of the key.
    EXPECT_EQ(Section(p.path, "Custom Datums"),
              (Lines{"  Key One =  value 1  ", "NoEquals", "k2=a=b"}));
    EXPECT_EQ(Section(p.path, "other"), (Lines{"A=1"}));
    EXPECT_TRUE(Section(p.path, "Missing").empty());
    EXPECT_TRUE(Section(p.path + ".absent", "Other").empty());
    // LF-only files without a final newline keep their line ends on rewrite.
    p.Write("[S]\nx=1\ny=2");
    EXPECT_EQ(Section(p.path, "S"), (Lines{"x=1", "y=2"}));
    ASSERT_TRUE(Ini::WriteSection(p.path.c_str(), "S", List({"z=3"}).c_str()));
    EXPECT_EQ(p.Read(), "[S]\nz=3\n");
}

TEST(IniProfile, WriteKeepsEverythingElseByteForByte) {
    TempProfile p("keep");
    const std::string head = "; top\r\n[First]\r\na = 1 \r\n\r\n",
                      tail = "[Last]\r\n; note\r\nz=26\r\n";
    p.Write(head + "[Custom Datums]\r\n; kept comment\r\nold=1\r\n\r\n" + tail);
    ASSERT_TRUE(
        Ini::WriteSection(p.path.c_str(), "custom datums", List({"n1=v1", "n2=v2"}).c_str()));
    EXPECT_EQ(p.Read(),
              head + "[Custom Datums]\r\n; kept comment\r\nn1=v1\r\nn2=v2\r\n\r\n" + tail);
    // An empty list leaves the header; a null list removes the section.
    ASSERT_TRUE(Ini::WriteSection(p.path.c_str(), "Custom Datums", List({}).c_str()));
    EXPECT_TRUE(Section(p.path, "Custom Datums").empty());
    ASSERT_TRUE(Ini::WriteSection(p.path.c_str(), "Custom Datums", nullptr));
    EXPECT_EQ(p.Read(), head + tail);
    // A new file is created, a new section appended.
    TempProfile n("create");
    ASSERT_TRUE(Ini::WriteSection(n.path.c_str(), "New", List({"a=1"}).c_str()));
    ASSERT_TRUE(Ini::WriteSection(n.path.c_str(), "Second", List({"b=2"}).c_str()));
    EXPECT_EQ(n.Read(), "[New]\r\na=1\r\n[Second]\r\nb=2\r\n");
}

TEST(IniProfile, RefusesWhatItCannotDo) {
    const std::string list = List({"a=1"}), dir = kvtest::TempPath("ini_dir");
    ASSERT_EQ(::mkdir(dir.c_str(), 0700), 0);
    for (const char* path :
         {static_cast<const char*>(nullptr), "", "/nonexistent-dir/x.ini", dir.c_str()})
        EXPECT_FALSE(Ini::WriteSection(path, "S", list.c_str())) << (path ? path : "null");
    EXPECT_TRUE(Section(dir, "S").empty()); // a directory is not a profile
    ::rmdir(dir.c_str());
    char buf[4] = "abc";
    EXPECT_EQ(Ini::GetSection(nullptr, "S", buf, sizeof buf), 0u);
    EXPECT_EQ(buf[0], '\0');
    EXPECT_EQ(Ini::GetSection("x", "S", nullptr, 10), 0u);
}

// A FIFO named as the profile is refused at once: reading it would wait for a
// writer (the child is killed after 10 s if it does).
TEST(IniProfile, AFifoIsNoProfileAndNeverBlocks) {
    const std::string path = kvtest::TempPath("ini_fifo");
    std::remove(path.c_str());
    ASSERT_EQ(::mkfifo(path.c_str(), 0600), 0);
    const pid_t child = ::fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
        ::alarm(10);
        char buf[16];
        const size_t n = Ini::GetSection(path.c_str(), "S", buf, sizeof buf);
        const bool written = Ini::WriteSection(path.c_str(), "S", List({"a=1"}).c_str());
        ::_exit(n == 0 && !written ? 0 : 1);
    }
    int status = 0;
    ASSERT_EQ(::waitpid(child, &status, 0), child);
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << status;
    struct stat st;
    EXPECT_TRUE(::stat(path.c_str(), &st) == 0 && S_ISFIFO(st.st_mode)); // not replaced
    std::remove(path.c_str());
}

TEST(IniProfile, HostileAndOversizedFilesNeverOverrun) {
    TempProfile p("hostile");
    std::string text =
        "[S]\nlong=" + std::string(200000, 'L') + "\n" + std::string("bin\0ary=1\n", 10);
    for (int i = 0; i < 256; ++i)
        text.push_back(static_cast<char>(i));
    p.Write(text + "\n[T]\nx=1\n[\n[unclosed\n]\n");
    const Lines s = Section(p.path, "S");
    ASSERT_GE(s.size(), 1u);
    EXPECT_EQ(s[0].size(), 32767u - 2u); // cut to the buffer
    EXPECT_EQ(Section(p.path, "T"), (Lines{"x=1", "[", "[unclosed", "]"}));
    for (size_t size : {2u, 3u, 5u, 13u}) { // still two zeros at the end, never past it
        std::vector<char> buf(size + 4, '#');
        EXPECT_LE(Ini::GetSection(p.path.c_str(), "T", buf.data(), size), size - 1) << size;
        EXPECT_EQ(buf[size - 1], '\0') << size;
        EXPECT_EQ(buf[size], '#') << size;
    }
    // Many short lines past 32 KiB are cut at the last whole one.
    std::string big = "[S]\n";
    for (int i = 0; i < 3000; ++i)
        big += "key" + std::to_string(i) + "=value\n";
    p.Write(big);
    std::vector<char> buf(32767);
    EXPECT_EQ(Ini::GetSection(p.path.c_str(), "S", buf.data(), buf.size()), 32767u - 2u);
    EXPECT_TRUE(buf[32765] == '\0' && buf[32766] == '\0');
}

// The write goes to a temporary sibling renamed over the profile: a writer
// killed at any moment leaves the old or the new file, never a torn one.
TEST(IniProfile, KilledWriterNeverTearsTheFile) {
    TempProfile p("crash");
    const std::string other = "[Keep]\n" + std::string(20000, 'k') + "=1\n";
    p.Write(other + "[S]\nv=0\n");
    for (int round = 0; round < 12; ++round) {
        const pid_t child = fork();
        ASSERT_GE(child, 0);
        if (child == 0) {
            std::string big;
            for (int i = 0; i < 1500; ++i)
                big += "entry" + std::to_string(i) + "=" + std::to_string(round) + '\0';
            big.push_back('\0');
            for (;;)
                Ini::WriteSection(p.path.c_str(), "S", big.c_str());
        }
        usleep(2000 + round * 1500);
        kill(child, SIGKILL);
        waitpid(child, nullptr, 0);
        ASSERT_EQ(p.Read().compare(0, other.size(), other), 0) << round;
        const Lines s = Section(p.path, "S");
        ASSERT_FALSE(s.empty());
        if (s.size() != 1) { // one complete rewrite, by this round's writer or an earlier one
            ASSERT_EQ(s.size(), 1500u) << round;
            const std::string value = s.front().substr(s.front().find('=') + 1);
            EXPECT_LE(std::atoi(value.c_str()), round);
            EXPECT_EQ(s.back(), "entry1499=" + value) << round;
        }
    }
    EXPECT_EQ(std::system(("rm -f '" + p.path + "'.~kv*.tmp").c_str()),
              0); // killed writers' leftovers
}
