// Error reports to the host, internal assertion reports, and the diagnostic log.
#ifndef KVPROJ_FRAME_DIAG_H
#define KVPROJ_FRAME_DIAG_H

#include <cstdint>

#if defined(__GNUC__)
#define KVPROJ_PRINTF(fmt, args) __attribute__((format(printf, fmt, args)))
#else
#define KVPROJ_PRINTF(fmt, args)
#endif

namespace KVProj {

constexpr uint16_t kProductCode = 133;
constexpr uint16_t kSeverityCode = 2;
constexpr int kLogPathLen = 260;      // log path buffer, terminator included
constexpr int kLogFormatLen = 1040;   // LogPrintf / CTRACE formatting buffer
constexpr int kLogLineLen = 1024;     // LogWrite output buffer (CR-LF expanded)
constexpr int kAssertTextLen = 260;   // assertion message buffer

// Reports message `messageId` to the host's error callback: a first call with
// the ids only and, when the host answers 1, a second call with the details.
// `text` null or empty means the string-table text for `messageId`.
// Returns false when no callback is registered or the host's last answer was 3.
bool ReportError(const char* sourceFile, int line, uint16_t messageId,
                 const char* text = nullptr);

// Reports an internal inconsistency (message 20200) with file and line to the
// log and to the host. Always returns false, so callers can `return` it.
bool ReportAssertion(const char* sourceFile, int line);

void LogSetup(bool enabled, const char* path);
bool LogIsEnabled();
const char* LogPath();
// Appends `text` to the log, line feeds written as CR-LF; one open per call.
void LogWrite(const char* text);
void LogPrintf(const char* format, ...) KVPROJ_PRINTF(1, 2);
// Writes "CTRACE:  " and the formatted text to the log when it is enabled.
void CTRACE(const char* format, ...) KVPROJ_PRINTF(1, 2);

// The start and end banners the library writes when it is loaded and unloaded.
void LogStartBanner();
void LogEndBanner();
// Number of times the library was attached to the process (informational).
int AttachCount();

// Math-error record of the runtime's math-error hook.
struct _exception {
    int type; // 1 domain, 2 singularity, 3 overflow, 4 underflow, 5 total, 6 partial loss
    const char* name;
    double arg1;
    double arg2;
    double retval;
};

// The math-error hook: notes errors of type 1 to 6 in the math error flag.
// Always returns 1 (handled: no message, errno untouched).
int _matherr(_exception* except);

// The math error flag of the calling thread.
bool MathErrorFlag();
void SetMathErrorFlag(bool value);

// Floating-point fault information handed to the exception filter.
struct FPExceptionInfo {
    uint32_t exceptionCode;
};
constexpr uint32_t kFltDenormalOperand = 0xC000008D;
constexpr uint32_t kFltStackCheck = 0xC0000092;
constexpr uint32_t kFltUnderflow = 0xC0000093;

// Exception filter around module calls: for the floating-point fault codes
// 0xC000008D..0xC0000093 sets *flag, clears the floating-point status and
// returns 1 (handled); for any other code returns 0 and leaves *flag alone.
int FPException(bool* flag, const FPExceptionInfo* info);

// Strips the build directory from __FILE__ so reports carry "proj/kvProj.cpp".
constexpr const char* SourceName(const char* file) {
    const char* name = file;
    for (const char* p = file; *p; ++p)
        if (p[0] == 's' && p[1] == 'r' && p[2] == 'c' && p[3] == '/') name = p + 4;
    return name;
}

} // namespace KVProj

// The assertion report at an internal consistency check; evaluates to false.
#define KV_ASSERT_FAIL() ::KVProj::ReportAssertion(::KVProj::SourceName(__FILE__), __LINE__)
#define KV_REPORT(id) ::KVProj::ReportError(::KVProj::SourceName(__FILE__), __LINE__, (id))

#endif
