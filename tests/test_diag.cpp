// Error reports, assertion reports, the diagnostic log and the floating-point hooks.
#include "frame/Diag.h"
#include "frame/StringTable.h"
#include "frame/Util.h"
#include "kvlibw/kvlibw.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <string>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

using namespace KVProj;

namespace {

// A recording host: answers each call with the next scripted value.
struct Call {
    _KVERRINFO info;
    std::string module, file, text, help;
};
std::vector<Call> g_calls;
std::vector<int> g_answers;

int KVCALLBACK recordingHost(const _KVERRINFO* info) {
    Call c{*info, "", "", "", ""};
    if (info->moduleName) c.module = info->moduleName;
    if (info->sourceFile) c.file = info->sourceFile;
    if (info->messageText) c.text = info->messageText;
    if (info->helpFile) c.help = info->helpFile;
    g_calls.push_back(c);
    size_t i = g_calls.size() - 1;
    return i < g_answers.size() ? g_answers[i] : 0;
}

std::string readFile(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    std::stringstream ss;
    ss << in.rdbuf();
    return ss.str();
}

std::string tempPath(const char* name) {
    const char* dir = std::getenv("TMPDIR");
    std::string base = (dir && *dir) ? dir : "/tmp";
    return base + "/" + name + "." + std::to_string(::getpid());
}

class HostTest : public ::testing::Test {
protected:
    void SetUp() override {
        g_calls.clear();
        g_answers.clear();
        KVRegisterCallerInstance(recordingHost, "kvhelp.chm");
    }
    void TearDown() override { KVUnregisterCallerInstance(); }
};

// Enables the log into a fresh file for one test and restores the previous state.
class LogFile {
public:
    explicit LogFile(const char* name)
        : path_(tempPath(name)), wasEnabled_(LogIsEnabled()), oldPath_(LogPath()) {
        std::remove(path_.c_str());
        LogSetup(true, path_.c_str());
    }
    ~LogFile() {
        LogSetup(wasEnabled_, oldPath_.c_str());
        std::remove(path_.c_str());
    }
    std::string contents() const { return readFile(path_); }
    const std::string& path() const { return path_; }

private:
    std::string path_;
    bool wasEnabled_;
    std::string oldPath_;
};

} // namespace

TEST(ErrorRecord, LayoutKeepsFieldOrder) {
    EXPECT_EQ(sizeof(_KVERRINFO), 16 + 4 * sizeof(void*));
    EXPECT_EQ(offsetof(_KVERRINFO, line), 12 + 2 * sizeof(void*));
}

TEST_F(HostTest, AnswerDecidesSecondCallAndResult) {
    // first answer, second answer -> calls made, ReportError result
    struct Row {
        std::vector<int> answers;
        size_t calls;
        bool result;
    } rows[] = {
        {{0}, 1, true}, {{2}, 1, true}, {{3}, 1, false},
        {{1, 0}, 2, true}, {{1, 3}, 2, false}, {{1, 1}, 2, true},
    };
    for (const Row& r : rows) {
        g_calls.clear();
        g_answers = r.answers;
        EXPECT_EQ(ReportError("proj/kvProj.cpp", 42, 20231), r.result);
        ASSERT_EQ(g_calls.size(), r.calls);
    }
}

TEST_F(HostTest, FirstCallCarriesIdsOnlySecondCallDetails) {
    g_answers = {1, 0};
    ReportError("proj/kvProj.cpp", 42, 20252, nullptr);
    ASSERT_EQ(g_calls.size(), 2u);
    const _KVERRINFO& first = g_calls[0].info;
    EXPECT_EQ(first.flags, 0);
    EXPECT_EQ(first.messageId, 20252);
    EXPECT_EQ(first.productCode, 133);
    EXPECT_EQ(first.severityCode, 2);
    EXPECT_TRUE(static_cast<const void*>(first.moduleName) == nullptr);
    EXPECT_TRUE(static_cast<const void*>(first.sourceFile) == nullptr);
    EXPECT_EQ(first.line, 0);
    EXPECT_TRUE(static_cast<const void*>(first.messageText) == nullptr);
    EXPECT_TRUE(static_cast<const void*>(first.helpFile) == nullptr);

    const Call& second = g_calls[1];
    EXPECT_EQ(second.info.flags, KVERR_DETAILS);
    EXPECT_EQ(second.info.reserved, 0u);
    EXPECT_EQ(second.module, "KVProj");
    EXPECT_EQ(second.file, "proj/kvProj.cpp");
    EXPECT_EQ(second.info.line, 42);
    EXPECT_EQ(second.text, "State zone parameter not recognized");
    EXPECT_EQ(second.help, "kvhelp.chm");
}

TEST_F(HostTest, MessageTextSources) {
    g_answers = {1, 0, 1, 0, 1, 0, 1, 0};
    ReportError("a.cpp", 1, 20269, "");
    ReportError("a.cpp", 1, 20269, "caller text");
    ReportError("a.cpp", 1, 20229, nullptr); // no such id
    ReportError("a.cpp", 1, 20280, nullptr); // longer than most: kept whole (under 256)
    ASSERT_EQ(g_calls.size(), 8u);
    EXPECT_EQ(g_calls[1].text, "Y axis rotation was outside the rnage of -3600 to +3600 arcseconds");
    EXPECT_EQ(g_calls[3].text, "caller text");
    EXPECT_EQ(g_calls[5].text, "Failed loading error message!");
    EXPECT_EQ(g_calls[7].text, MessageText(20280));
}

TEST(ReportErrorNoHost, SilentWithoutRegistrationOrCallback) {
    KVUnregisterCallerInstance();
    EXPECT_FALSE(ReportError("a.cpp", 1, 20200));
    KVRegisterCallerInstance(nullptr, nullptr);
    EXPECT_FALSE(ReportError("a.cpp", 1, 20200));
    EXPECT_FALSE(ReportAssertion("a.cpp", 1));
    KVUnregisterCallerInstance();
}

TEST_F(HostTest, AssertionReportsWithFileAndLine) {
    LogFile log("assert-log");
    g_answers = {1, 0};
    EXPECT_FALSE(ReportAssertion("proj/kvProj.cpp", 77));
    ASSERT_EQ(g_calls.size(), 2u);
    EXPECT_EQ(g_calls[0].info.messageId, 20200);
    EXPECT_EQ(g_calls[1].text,
              "KVProj.DLL Internal Error.  Assertion failed in proj/kvProj.cpp, line 77.");
    EXPECT_EQ(g_calls[1].file, "proj/kvProj.cpp");
    EXPECT_EQ(g_calls[1].info.line, 77);
    EXPECT_EQ(g_calls[1].help, "kvhelp.chm");
    EXPECT_EQ(log.contents(), "ASSERTION FAILED\r\nFILE \"proj/kvProj.cpp\", LINE 77\r\n");
}

TEST_F(HostTest, AssertionWithBadArgumentsOnlyLogs) {
    LogFile log("assert-bad");
    EXPECT_FALSE(ReportAssertion("", 5));
    EXPECT_FALSE(ReportAssertion(nullptr, 5));
    EXPECT_FALSE(ReportAssertion("a.cpp", -1));
    EXPECT_TRUE(g_calls.empty());
    EXPECT_EQ(log.contents(), "ASSERTION FAILED\r\nASSERTION FAILED\r\nASSERTION FAILED\r\n");
}

TEST_F(HostTest, AssertionWithoutDetailsRequestMakesOneCall) {
    g_answers = {0};
    EXPECT_FALSE(ReportAssertion("a.cpp", 3));
    EXPECT_EQ(g_calls.size(), 1u);
}

TEST(Log, LineFeedsBecomeCrLf) {
    LogFile log("crlf");
    LogWrite("one\ntwo\n\nthree");
    LogPrintf("%d-%s\n", 7, "x");
    CTRACE("Entered %s\n", "Thing");
    EXPECT_EQ(log.contents(), "one\r\ntwo\r\n\r\nthree7-x\r\nCTRACE:  Entered Thing\r\n");
}

TEST(Log, LongLinesAreBounded) {
    LogFile log("long");
    std::string big(5000, 'a');
    LogWrite(big.c_str());
    EXPECT_EQ(log.contents().size(), 1023u);
    std::remove(log.path().c_str());
    std::string feeds(2000, '\n'); // every character doubles: stops at 1024
    LogWrite(feeds.c_str());
    EXPECT_EQ(log.contents().size(), 1024u);
    std::remove(log.path().c_str());
    LogPrintf("%s", big.c_str()); // formatting bounded at 1,040
    EXPECT_EQ(log.contents().size(), 1023u);
}

TEST(Log, DisabledWritesNothing) {
    std::string path = tempPath("disabled");
    std::remove(path.c_str());
    bool was = LogIsEnabled();
    std::string old = LogPath();
    LogSetup(false, path.c_str());
    LogWrite("x\n");
    LogPrintf("y\n");
    CTRACE("z\n");
    ReportAssertion("a.cpp", 1);
    struct stat st;
    EXPECT_NE(::stat(path.c_str(), &st), 0);
    LogSetup(was, old.c_str());
}

TEST(Log, DefaultPathWhenNoneGiven) {
    bool was = LogIsEnabled();
    std::string old = LogPath();
    LogSetup(false, nullptr);
    EXPECT_STREQ(LogPath(), "debug.log");
    LogSetup(was, old.c_str());
}

TEST(Log, UnwritablePathIsSilent) {
    bool was = LogIsEnabled();
    std::string old = LogPath();
    LogSetup(true, "/nonexistent-dir/sub/kvproj.log");
    LogWrite("lost\n");
    LogSetup(was, old.c_str());
}

// The variable is read when the library loads, so these run the tool as a child process.
namespace {
std::string runToolWithLog(const char* env, const std::string& dir) {
    std::string cmd = "TMPDIR='" + dir + "' " + env + " '" KVPROJ_TOOL_PATH "' --version >/dev/null 2>&1";
    EXPECT_EQ(std::system(cmd.c_str()), 0);
    return dir + "/kvproj.log";
}
} // namespace

TEST(LogEnabling, VariableUnsetCreatesNoFile) {
    std::string dir = tempPath("logdir-unset");
    ::mkdir(dir.c_str(), 0700);
    std::string path = runToolWithLog("env -u KVPROJLOG", dir);
    struct stat st;
    EXPECT_NE(::stat(path.c_str(), &st), 0);
    ::rmdir(dir.c_str());
}

TEST(LogEnabling, AnyValueEnablesWithBanners) {
    std::string dir = tempPath("logdir-set");
    ::mkdir(dir.c_str(), 0700);
    std::string path = runToolWithLog("KVPROJLOG=0", dir);
    std::string text = readFile(path);
    std::string rule(74, '-');
    EXPECT_EQ(text.rfind("\r\n" + rule + "\r\nKVPROJ.DLL log output started at ", 0), 0u) << text;
    EXPECT_NE(text.find("KVPROJ.DLL log output ended at "), std::string::npos);
    EXPECT_EQ(text.substr(text.size() - 78), rule + "\r\n\r\n");
    EXPECT_EQ(text.find('\n', 0), 1u); // every line feed is preceded by a carriage return
    for (size_t i = text.find('\n'); i != std::string::npos; i = text.find('\n', i + 1))
        EXPECT_EQ(text[i - 1], '\r');
    struct stat st;
    ASSERT_EQ(::stat(path.c_str(), &st), 0);
    EXPECT_EQ(st.st_mode & 0777, 0600u);
    std::remove(path.c_str());
    ::rmdir(dir.c_str());
}

TEST(MathHooks, MathErrorTypesOneToSixSetTheFlag) {
    for (int type = -1; type <= 8; ++type) {
        SetMathErrorFlag(false);
        _exception e{type, "log", 0.0, 0.0, 0.0};
        EXPECT_EQ(_matherr(&e), 1);
        EXPECT_EQ(MathErrorFlag(), type >= 1 && type <= 6) << type;
    }
    SetMathErrorFlag(false);
    EXPECT_EQ(_matherr(nullptr), 1);
    EXPECT_FALSE(MathErrorFlag());
}

TEST(MathHooks, FaultFilterHandlesOnlyFloatingPointCodes) {
    struct Row {
        uint32_t code;
        int handled;
    } rows[] = {
        {0xC000008C, 0}, {0xC000008D, 1}, {0xC000008E, 1}, {0xC0000090, 1},
        {0xC0000093, 1}, {0xC0000094, 0}, {0xC0000005, 0}, {0, 0},
    };
    for (const Row& r : rows) {
        bool flag = false;
        FPExceptionInfo info{r.code};
        EXPECT_EQ(FPException(&flag, &info), r.handled) << std::hex << r.code;
        EXPECT_EQ(flag, r.handled == 1);
    }
    EXPECT_EQ(FPException(nullptr, nullptr), 0);
}

TEST(UtilAssertDeath, AbortsWithFixedText) {
    UtilAssert(true);
    EXPECT_DEATH(UtilAssert(false), "bExpr.*Util.*20");
}

TEST(StringTable, RangesAreComplete) {
    for (int id = 20200; id <= 20205; ++id) EXPECT_NE(MessageText(id), nullptr) << id;
    for (int id = 20230; id <= 20256; ++id) EXPECT_NE(MessageText(id), nullptr) << id;
    for (int id = 20260; id <= 20271; ++id) EXPECT_NE(MessageText(id), nullptr) << id;
    for (int id = 20280; id <= 20281; ++id) EXPECT_NE(MessageText(id), nullptr) << id;
    EXPECT_EQ(MessageText(20206), nullptr);
    EXPECT_EQ(MessageText(20257), nullptr);
    char small[8];
    EXPECT_EQ(LoadMessageString(20200, small, sizeof small), 7);
    EXPECT_STREQ(small, "Interna");
    EXPECT_EQ(LoadMessageString(1, small, sizeof small), 0);
}
