// Error reports, assertion reports, the diagnostic log and the floating-point hooks.
#include "LocaleSupport.h"
#include "TestSupport.h"
#include "frame/StringTable.h"
#include "frame/Util.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <functional>

using namespace KVProj;
using kvtest::LogCapture;

namespace {

// A host that answers each call with the next scripted value.
struct Call {
    _KVERRINFO info;
    std::string module, file, text, help;
};
std::vector<Call> g_calls;
std::vector<int> g_answers;

std::string Str(const char* s) {
    return s ? s : "<null>";
}

int KVCALLBACK ScriptedHost(const _KVERRINFO* info) {
    g_calls.push_back({*info, Str(info->moduleName), Str(info->sourceFile), Str(info->messageText),
                       Str(info->helpFile)});
    return g_calls.size() <= g_answers.size() ? g_answers[g_calls.size() - 1] : 0;
}

class HostTest : public ::testing::Test {
protected:
    void SetUp() override {
        g_calls.clear();
        KVRegisterCallerInstance(ScriptedHost, "kvhelp.chm");
    }
    void TearDown() override { KVUnregisterCallerInstance(); }
    void Script(std::vector<int> answers) {
        g_calls.clear();
        g_answers = std::move(answers);
    }
};

bool Exists(const std::string& path) {
    struct stat st;
    return ::stat(path.c_str(), &st) == 0;
}

TEST(ErrorRecord, LayoutKeepsFieldOrder) {
    EXPECT_EQ(sizeof(_KVERRINFO), 16 + 4 * sizeof(void*));
    EXPECT_EQ(offsetof(_KVERRINFO, line), 12 + 2 * sizeof(void*));
}

TEST_F(HostTest, AnswersDecideTheSecondCallAndTheResult) {
    // answers -> calls made, ReportError result (1 asks for details, 3 cancels)
    struct Row {
        std::vector<int> answers;
        size_t calls;
        bool result;
    } rows[] = {{{0}, 1, true},    {{2}, 1, true},     {{3}, 1, false},
                {{1, 0}, 2, true}, {{1, 3}, 2, false}, {{1, 1}, 2, true}};
    for (const Row& r : rows) {
        Script(r.answers);
        EXPECT_EQ(ReportError("proj/kvProj.cpp", 42, 20231), r.result);
        EXPECT_EQ(g_calls.size(), r.calls);
    }
}

TEST_F(HostTest, FirstCallCarriesIdsOnlySecondCallDetails) {
    Script({1, 0});
    ReportError("proj/kvProj.cpp", 42, 20252, nullptr);
    ASSERT_EQ(g_calls.size(), 2u);
    auto summary = [](const Call& c) {
        return std::to_string(c.info.flags) + " id " + std::to_string(c.info.messageId) +
               " product " + std::to_string(c.info.productCode) + " severity " +
               std::to_string(c.info.severityCode) + " reserved " +
               std::to_string(c.info.reserved) + " line " + std::to_string(c.info.line) + " | " +
               c.module + " | " + c.file + " | " + c.text + " | " + c.help;
    };
    EXPECT_EQ(summary(g_calls[0]), "0 id 20252 product 133 severity 2 reserved 0 line 0 | <null> | "
                                   "<null> | <null> | <null>");
    EXPECT_EQ(summary(g_calls[1]),
              std::to_string(KVERR_DETAILS) +
                  " id 20252 product 133 severity 2 reserved 0 line 42 | KVProj | "
                  "proj/kvProj.cpp | State zone parameter not recognized | kvhelp.chm");

    // Text: the table's for "" (typo kept), the caller's own, a fixed one for an unknown id.
    struct Row {
        int id;
        const char* given;
        std::string text;
    } rows[] = {{20269, "", "Y axis rotation was outside the rnage of -3600 to +3600 arcseconds"},
                {20269, "caller text", "caller text"},
                {20229, nullptr, "Failed loading error message!"},
                {20280, nullptr, MessageText(20280)}};
    for (const Row& r : rows) {
        Script({1, 0});
        ReportError("a.cpp", 1, r.id, r.given);
        ASSERT_EQ(g_calls.size(), 2u);
        EXPECT_EQ(g_calls[1].text, r.text) << r.id;
    }
}

TEST(ReportErrorNoHost, SilentWithoutRegistrationOrCallback) {
    KVUnregisterCallerInstance();
    EXPECT_FALSE(ReportError("a.cpp", 1, 20200));
    KVRegisterCallerInstance(nullptr, nullptr);
    EXPECT_FALSE(ReportError("a.cpp", 1, 20200));
    EXPECT_FALSE(ReportAssertion("a.cpp", 1));
    KVUnregisterCallerInstance();
}

TEST_F(HostTest, AssertionsReportFileAndLineAndLog) {
    LogCapture log("assert");
    Script({1, 0});
    EXPECT_FALSE(ReportAssertion("proj/kvProj.cpp", 77));
    ASSERT_EQ(g_calls.size(), 2u);
    EXPECT_EQ(g_calls[0].info.messageId, 20200);
    EXPECT_EQ(g_calls[1].text,
              "KVProj.DLL Internal Error.  Assertion failed in proj/kvProj.cpp, line 77.");
    EXPECT_EQ(g_calls[1].file, "proj/kvProj.cpp");
    EXPECT_EQ(g_calls[1].info.line, 77);
    EXPECT_EQ(log.Text(), "ASSERTION FAILED\r\nFILE \"proj/kvProj.cpp\", LINE 77\r\n");

    Script({0});
    EXPECT_FALSE(ReportAssertion("a.cpp", 3));
    EXPECT_EQ(g_calls.size(), 1u);

    // Bad arguments only log.
    log.Clear();
    Script({1, 0});
    EXPECT_FALSE(ReportAssertion("", 5));
    EXPECT_FALSE(ReportAssertion(nullptr, 5));
    EXPECT_FALSE(ReportAssertion("a.cpp", -1));
    EXPECT_TRUE(g_calls.empty());
    EXPECT_EQ(log.Text(), "ASSERTION FAILED\r\nASSERTION FAILED\r\nASSERTION FAILED\r\n");
}

TEST(Log, LineFeedsBecomeCrLfAndLinesAreBounded) {
    LogCapture log("crlf");
    LogWrite("one\ntwo\n\nthree");
    LogPrintf("%d-%s\n", 7, "x");
    CTRACE("Entered %s\n", "Thing");
    EXPECT_EQ(log.Text(), "one\r\ntwo\r\n\r\nthree7-x\r\nCTRACE:  Entered Thing\r\n");

    const std::string big(5000, 'a'), feeds(2000, '\n');
    struct Row {
        std::function<void()> write;
        size_t size;
    } rows[] = {{[&] { LogWrite(big.c_str()); }, 1023},
                {[&] { LogWrite(feeds.c_str()); }, 1024}, // each feed doubles: stops at 1024
                {[&] { LogPrintf("%s", big.c_str()); }, 1023}};
    for (const Row& r : rows) {
        log.Clear();
        r.write();
        EXPECT_EQ(log.Text().size(), r.size);
    }
}

// Parameter dumps read the same from every host.
TEST(Log, NumbersUseAPointWhateverTheLocale) {
    LogCapture log("locale");
    kvtest::CommaLocale comma;
    KVTEST_REQUIRE_COMMA_LOCALE(comma);
    LogPrintf("    Scale:           %f\n", 0.9996);
    CTRACE("%.2f|%g\n", -1.5, 2.5e-7);
    EXPECT_EQ(log.Text(), "    Scale:           0.999600\r\nCTRACE:  -1.50|2.5e-07\r\n");
}

TEST(Log, DisabledDefaultAndUnwritable) {
    const bool was = LogIsEnabled();
    const std::string old = LogPath();
    const std::string path = kvtest::TempPath("disabled");
    std::remove(path.c_str());
    LogSetup(false, path.c_str());
    LogWrite("x\n");
    LogPrintf("y\n");
    CTRACE("z\n");
    ReportAssertion("a.cpp", 1);
    EXPECT_FALSE(Exists(path));
    LogSetup(false, nullptr);
    EXPECT_STREQ(LogPath(), "debug.log");
    LogSetup(true, "/nonexistent-dir/sub/kvproj.log");
    LogWrite("lost\n"); // silently
    LogSetup(was, old.c_str());
}

// The variable is read when the library loads, so the tool runs as a child process.
TEST(LogEnabling, VariableDecidesAndBannersFrameTheRun) {
    const std::string dir = kvtest::TempPath("logdir");
    ::mkdir(dir.c_str(), 0700);
    const std::string path = dir + "/kvproj.log";
    auto run = [&](const char* env) {
        const std::string cmd =
            "TMPDIR='" + dir + "' " + env + " '" KVPROJ_TOOL_PATH "' --version >/dev/null 2>&1";
        EXPECT_EQ(std::system(cmd.c_str()), 0);
    };
    run("env -u KVPROJLOG");
    EXPECT_FALSE(Exists(path));
    run("KVPROJLOG=0"); // any value enables
    const std::string text = kvtest::ReadFile(path), rule(74, '-');
    EXPECT_EQ(text.rfind("\r\n" + rule + "\r\nKVPROJ.DLL log output started at ", 0), 0u) << text;
    EXPECT_TRUE(kvtest::Contains(text, "KVPROJ.DLL log output ended at "));
    EXPECT_EQ(text.substr(text.size() - 78), rule + "\r\n\r\n");
    for (size_t i = text.find('\n'); i != std::string::npos; i = text.find('\n', i + 1))
        ASSERT_EQ(text[i - 1], '\r') << i;
    struct stat st;
    ASSERT_EQ(::stat(path.c_str(), &st), 0);
    EXPECT_EQ(st.st_mode & 0777, 0600u);
    std::remove(path.c_str());
    ::rmdir(dir.c_str());
}

// A FIFO at the log path must neither hang a loading process (no reader: an
// ordinary open would wait for one) nor receive log lines (a reader waiting).
TEST(LogEnabling, AFifoAtTheLogPathNeitherBlocksNorIsWritten) {
    const std::string dir = kvtest::TempPath("fifodir");
    ::mkdir(dir.c_str(), 0700);
    const std::string path = dir + "/kvproj.log";
    std::remove(path.c_str());
    ASSERT_EQ(::mkfifo(path.c_str(), 0600), 0);
    const std::string cmd = "TMPDIR='" + dir +
                            "' KVPROJLOG=1 timeout 20 '" KVPROJ_TOOL_PATH
                            "' --version >/dev/null 2>&1";
    const int status = std::system(cmd.c_str());
    ASSERT_TRUE(WIFEXITED(status));
    EXPECT_EQ(WEXITSTATUS(status), 0) << "124: the load blocked on the FIFO";

    const int reader = ::open(path.c_str(), O_RDONLY | O_NONBLOCK);
    ASSERT_GE(reader, 0);
    const bool was = LogIsEnabled();
    const std::string old = LogPath();
    LogSetup(true, path.c_str());
    LogWrite("not for a pipe\n");
    LogSetup(was, old.c_str());
    char byte;
    EXPECT_LE(::read(reader, &byte, 1), 0); // nothing was written into the pipe
    ::close(reader);
    std::remove(path.c_str());
    ::rmdir(dir.c_str());
}

TEST(MathHooks, MathErrorsAndFaultFilter) {
    for (int type = -1; type <= 8; ++type) {
        SetMathErrorFlag(false);
        _exception e{type, "log", 0.0, 0.0, 0.0};
        EXPECT_EQ(_matherr(&e), 1);
        EXPECT_EQ(MathErrorFlag(), type >= 1 && type <= 6) << type;
    }
    SetMathErrorFlag(false);
    EXPECT_EQ(_matherr(nullptr), 1);
    EXPECT_FALSE(MathErrorFlag());

    // Only the floating-point exception codes are handled (0xC000008D..0xC0000093).
    struct Row {
        uint32_t code;
        int handled;
    } rows[] = {
        {0xC000008C, 0}, {0xC000008D, 1}, {0xC0000093, 1}, {0xC0000094, 0}, {0xC0000005, 0}};
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

TEST(StringTable, RangesAreCompleteAndCopiesBounded) {
    const int ranges[][2] = {{20200, 20205}, {20230, 20256}, {20260, 20271}, {20280, 20281}};
    for (const auto& r : ranges) {
        for (int id = r[0]; id <= r[1]; ++id)
            EXPECT_NE(MessageText(id), nullptr) << id;
        EXPECT_EQ(MessageText(r[1] + 1), nullptr) << r[1] + 1;
    }
    char small[8];
    EXPECT_EQ(LoadMessageString(20200, small, sizeof small), 7);
    EXPECT_STREQ(small, "Interna");
    EXPECT_EQ(LoadMessageString(1, small, sizeof small), 0);
}

} // namespace
