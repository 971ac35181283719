// Error reports, assertion reports and the diagnostic log.
#include "frame/Diag.h"

#include "frame/CNumber.h"
#include "frame/Platform.h"
#include "frame/StringTable.h"
#include "kvlibw/kvlibw.h"

#include <atomic>
#include <cstdarg>
#include <cstdio>
#include <cstring>

namespace KVProj {
namespace {

const char kModuleName[] = "KVProj";
const char kMissingMessage[] = "Failed loading error message!";
const char kRule[] = "--------------------------------------------------------------------------\n";
static_assert(sizeof(kRule) == 76, "the banner rule is 74 minus signs and a line feed");

// The log state is written once while the library is loaded and only read afterwards.
bool g_logEnabled = false;
char g_logPath[kLogPathLen] = "debug.log";
std::atomic<int> g_attachCount{0};

// Per-thread so that conversions on separate handles never see each other's faults.
thread_local bool t_mathError = false;
thread_local char t_assertText[kAssertTextLen];

_KVERRINFO FreshRecord(uint16_t messageId) {
    _KVERRINFO info;
    std::memset(&info, 0, sizeof info);
    info.messageId = messageId;
    info.productCode = kProductCode;
    info.severityCode = kSeverityCode;
    return info;
}

void FillDetails(_KVERRINFO& info, const KVCallerInstance* caller, const char* sourceFile, int line,
                 const char* text) {
    info.reserved = 0;
    info.moduleName = kModuleName;
    info.sourceFile = sourceFile;
    info.line = line;
    info.messageText = text;
    info.helpFile = caller->GetHelpFileNamePtr();
    info.flags |= KVERR_DETAILS;
}

} // namespace

bool ReportError(const char* sourceFile, int line, uint16_t messageId, const char* text) {
    const KVCallerInstance* caller = KVGetCallerInstancePtr();
    KVERRORFUNC callback = caller ? caller->GetErrorFunc() : nullptr;
    if (!callback) return false;

    _KVERRINFO info = FreshRecord(messageId);
    int answer = callback(&info);
    if (answer == 1) {
        char buffer[256];
        const char* message = text;
        if (!message || !*message) {
            if (LoadMessageString(messageId, buffer, sizeof buffer) == 0)
                std::snprintf(buffer, sizeof buffer, "%s", kMissingMessage);
            message = buffer;
        }
        FillDetails(info, caller, sourceFile, line, message);
        answer = callback(&info);
    }
    return answer != 3;
}

bool ReportAssertion(const char* sourceFile, int line) {
    const KVCallerInstance* caller = KVGetCallerInstancePtr();
    LogPrintf("ASSERTION FAILED\n");
    if (!sourceFile || !*sourceFile || line < 0) return false;
    LogPrintf("FILE \"%s\", LINE %d\n", sourceFile, line);

    _KVERRINFO info = FreshRecord(IDS_INTERNAL_ERROR);
    if (!caller) return false;
    // A registration without a callback is treated as silent rather than called.
    KVERRORFUNC callback = caller->GetErrorFunc();
    if (!callback) return false;
    if (callback(&info) == 1) {
        std::snprintf(t_assertText, sizeof t_assertText,
                      "KVProj.DLL Internal Error.  Assertion failed in %s, line %d.", sourceFile,
                      line);
        FillDetails(info, caller, sourceFile, line, t_assertText);
        callback(&info);
    }
    return false;
}

void LogSetup(bool enabled, const char* path) {
    g_logEnabled = enabled;
    std::snprintf(g_logPath, sizeof g_logPath, "%s", path ? path : "debug.log");
}

bool LogIsEnabled() {
    return g_logEnabled;
}

const char* LogPath() {
    return g_logPath;
}

void LogWrite(const char* text) {
    if (!g_logEnabled || !text) return;
    char buffer[kLogLineLen + 1];
    int n = 0;
    for (const char* p = text; *p && n < kLogLineLen - 1; ++p) {
        if (*p == '\n') buffer[n++] = '\r';
        buffer[n++] = *p;
    }
    buffer[n] = '\0';
    Platform::AppendToFile(g_logPath, buffer, static_cast<size_t>(n));
}

void LogPrintf(const char* format, ...) {
    if (!g_logEnabled || !format) return;
    char buffer[kLogFormatLen];
    va_list args;
    va_start(args, format);
    FormatCV(buffer, sizeof buffer, format, args); // a log reads alike on every host
    va_end(args);
    LogWrite(buffer);
}

void CTRACE(const char* format, ...) {
    if (!LogIsEnabled() || !format) return;
    char buffer[kLogFormatLen];
    va_list args;
    va_start(args, format);
    FormatCV(buffer, sizeof buffer, format, args); // a log reads alike on every host
    va_end(args);
    LogPrintf("CTRACE:  %s", buffer);
}

void LogStartBanner() {
    char now[kLogPathLen];
    Platform::CurrentTimeText(now, sizeof now);
    LogPrintf("\n%s", kRule);
    LogPrintf("KVPROJ.DLL log output started at %s", now);
    LogPrintf("%s", kRule);
}

void LogEndBanner() {
    char now[kLogPathLen];
    Platform::CurrentTimeText(now, sizeof now);
    LogPrintf("%s", kRule);
    LogPrintf("KVPROJ.DLL log output ended at %s", now);
    LogPrintf("%s\n", kRule);
}

int AttachCount() {
    return g_attachCount.load();
}

int _matherr(_exception* except) {
    CTRACE("Entered _matherr!\n");
    if (except && except->type >= 1 && except->type <= 6) t_mathError = true;
    return 1;
}

bool MathErrorFlag() {
    return t_mathError;
}

void SetMathErrorFlag(bool value) {
    t_mathError = value;
}

int FPException(bool* flag, const FPExceptionInfo* info) {
    CTRACE("Entered FPException!\n");
    if (!info || info->exceptionCode < kFltDenormalOperand || info->exceptionCode > kFltUnderflow)
        return 0;
    if (flag) *flag = true;
    // Off Windows the modules run with every exception masked, so only the
    // status is cleared; unmasking here would turn the next fault into a signal.
    Platform::ClearFloatStatus();
    return 1;
}

namespace {

// Load-time set-up: the log is on exactly when KVPROJLOG exists, whatever its value.
__attribute__((constructor)) void libraryAttach() {
    ++g_attachCount;
    char path[kLogPathLen];
    Platform::DefaultLogPath(path, sizeof path);
    LogSetup(Platform::EnvExists("KVPROJLOG"), path);
    LogStartBanner();
}

__attribute__((destructor)) void libraryDetach() {
    LogEndBanner();
    --g_attachCount;
}

} // namespace
} // namespace KVProj
