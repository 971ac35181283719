#include "frame/CNumber.h"

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <locale.h>
#include <vector>

namespace KVProj {
namespace {

// The C locale object (POSIX 2008), made once; uselocale switches the calling
// thread only, so other threads and the host's own locale are never disturbed.
locale_t CLocale() {
    static const locale_t c = newlocale(LC_ALL_MASK, "C", static_cast<locale_t>(0));
    return c;
}

class CLocaleScope {
public:
    CLocaleScope() : m_old(CLocale() ? uselocale(CLocale()) : static_cast<locale_t>(0)) {}
    ~CLocaleScope() {
        if (m_old) uselocale(m_old);
    }
    CLocaleScope(const CLocaleScope&) = delete;
    CLocaleScope& operator=(const CLocaleScope&) = delete;

private:
    locale_t m_old;
};

} // namespace

int FormatCV(char* buffer, size_t size, const char* format, va_list args) {
    CLocaleScope scope;
    return std::vsnprintf(buffer, size, format, args);
}

int FormatC(char* buffer, size_t size, const char* format, ...) {
    va_list args;
    va_start(args, format);
    int n = FormatCV(buffer, size, format, args);
    va_end(args);
    return n;
}

std::string FormatCString(const char* format, ...) {
    char small[128];
    va_list args;
    va_start(args, format);
    va_list again;
    va_copy(again, args);
    int n = FormatCV(small, sizeof small, format, args);
    va_end(args);
    std::string out;
    if (n >= 0 && static_cast<size_t>(n) < sizeof small) {
        out.assign(small, static_cast<size_t>(n));
    } else if (n >= 0) {
        std::vector<char> big(static_cast<size_t>(n) + 1);
        FormatCV(big.data(), big.size(), format, again);
        out.assign(big.data(), static_cast<size_t>(n));
    }
    va_end(again);
    return out;
}

double StrtodC(const char* text, char** end) {
    if (!text) {
        if (end) *end = nullptr;
        return 0.0;
    }
    CLocaleScope scope;
    return std::strtod(text, end);
}

double AtofC(const char* text) { return text ? StrtodC(text, nullptr) : 0.0; }

bool ParseFiniteC(const char* text, double& value) {
    if (!text) return false;
    char* end = nullptr;
    double v = StrtodC(text, &end);
    if (end == text) return false;
    while (*end == ' ' || *end == '\t' || *end == '\r' || *end == '\n') ++end;
    if (*end != '\0' || !std::isfinite(v)) return false;
    value = v;
    return true;
}

} // namespace KVProj
