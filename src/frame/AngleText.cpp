// Angles as degree/minute/second text: reading what users type, writing the
// styles hosts display.
#include "kvproj/angle.h"

#include "frame/CNumber.h"
#include "frame/Firewall.h"

#include <charconv>
#include <cmath>
#include <cstdio>
#include <cstring>

namespace KVProj {
namespace {

// ---------------------------------------------------------------- reading

// Longest run of digits and decimal point accepted for one number; longer
// input is refused rather than truncated into a different value.
constexpr int kMaxNumberLen = 64;

enum class NumberRead { None, Read, TooLong };

bool IsDigit(char c) {
    return c >= '0' && c <= '9';
}

// ASCII only, so that the host's locale cannot change what is accepted.
char FoldCase(char c) {
    return (c >= 'A' && c <= 'Z') ? static_cast<char>(c + 32) : c;
}

// Reads a run of digits with an optional '.' and fraction at p. Nothing is
// consumed unless at least one digit is there. The digits are converted with
// from_chars: correctly rounded and independent of the locale's decimal point.
NumberRead ReadNumber(const char*& p, double* value) {
    const char* q = p;
    while (IsDigit(*q))
        ++q;
    const char* integerEnd = q;
    const char* fraction = nullptr;
    if (*q == '.') {
        fraction = ++q;
        while (IsDigit(*q))
            ++q;
    }
    const size_t integerLen = static_cast<size_t>(integerEnd - p);
    const size_t fractionLen = fraction ? static_cast<size_t>(q - fraction) : 0;
    if (integerLen == 0 && fractionLen == 0) return NumberRead::None;
    if (static_cast<size_t>(q - p) > static_cast<size_t>(kMaxNumberLen)) return NumberRead::TooLong;

    // "12." and ".5" are both read; rebuild them as "12" and "0.5".
    char buffer[kMaxNumberLen + 2];
    size_t n = 0;
    if (integerLen == 0) buffer[n++] = '0';
    std::memcpy(buffer + n, p, integerLen);
    n += integerLen;
    if (fractionLen > 0) {
        buffer[n++] = '.';
        std::memcpy(buffer + n, fraction, fractionLen);
        n += fractionLen;
    }
    double parsed = 0.0;
    if (std::from_chars(buffer, buffer + n, parsed).ec != std::errc()) return NumberRead::TooLong;
    *value = parsed;
    p = q;
    return NumberRead::Read;
}

void SkipOneBlank(const char*& p) {
    if (*p == ' ') ++p;
}

void SkipBlanksAndTabs(const char*& p) {
    while (*p == ' ' || *p == '\t')
        ++p;
}

// ---------------------------------------------------------------- writing

// Every intermediate text, and so the whole result, fits in this many bytes.
constexpr size_t kTextLen = LL_TEXT_LEN;

class AngleText {
public:
    const char* c_str() const { return text_; }

    void Append(const char* s) {
        const size_t room = kTextLen - 1 - len_;
        size_t n = std::strlen(s);
        if (n > room) n = room;
        std::memcpy(text_ + len_, s, n);
        len_ += n;
        text_[len_] = '\0';
    }

    // A NUL mark stands for "no mark", as it ends the text in C.
    void AppendChar(char c) {
        const char s[2] = {c, '\0'};
        Append(s);
    }

    void AppendNumber(const char* format, double value) {
        char number[kTextLen];
        FormatC(number, sizeof number, format, value); // a point whatever the host's locale
        Append(number);
    }

private:
    char text_[kTextLen] = {};
    size_t len_ = 0;
};

// The format of the last printed number: n decimals and, with zero padding,
// a width of n + 3 (two integer digits and the point).
void FixedFormat(char* format, size_t size, int decimals, bool zeroPad) {
    if (zeroPad)
        std::snprintf(format, size, "%%0%d.%df", decimals + 3, decimals);
    else
        std::snprintf(format, size, "%%.%df", decimals);
}

} // namespace

static bool LatLonToDegreesBody(char* text, double* degrees, char degreeMark) {
    if (!text || !degrees) return false;
    const char* p = text;
    double sign = 1.0;
    double part = 0.0;

    SkipBlanksAndTabs(p);
    if (*p == '+' || *p == '-') sign = (*p++ == '-') ? -1.0 : 1.0;

    if (ReadNumber(p, &part) != NumberRead::Read) return false;
    *degrees = part;

    // A NUL mark must not match the terminator and walk off the text.
    const bool degreeMarked =
        *p != '\0' && (*p == 'd' || *p == 'D' || FoldCase(*p) == FoldCase(degreeMark));
    if (degreeMarked) {
        ++p;
        SkipOneBlank(p);
        NumberRead minutes = ReadNumber(p, &part);
        if (minutes == NumberRead::TooLong) return false;
        if (minutes == NumberRead::Read) {
            *degrees += part / 60.0;
            if (*p == '\'' || *p == 'm') {
                ++p;
                SkipOneBlank(p);
                NumberRead seconds = ReadNumber(p, &part);
                if (seconds == NumberRead::TooLong) return false;
                if (seconds == NumberRead::Read) {
                    *degrees += part / 3600.0;
                    if (*p == '"' || *p == 's') ++p;
                }
            }
        }
    }

    SkipOneBlank(p);
    // The letter sets the sign rather than flipping it: "-12S" stays south.
    switch (FoldCase(*p)) {
    case 's':
    case 'w':
        sign = -1.0;
        ++p;
        break;
    case 'n':
    case 'e':
        ++p;
        break;
    default:
        break;
    }

    SkipBlanksAndTabs(p);
    if (*p != '\0') return false;
    *degrees *= sign;
    return true;
}

static bool DegreesToLatLonBody(char* text, double degrees, int flags, char degreeMark,
                                char minuteMark, char secondMark) {
    if (!text) return false;
    if (!std::isfinite(degrees)) return false;

    const bool negative = degrees < 0.0;
    double value = negative ? -degrees : degrees;
    if (value == 0.0) value = 0.0; // never print "-0"
    const int decimals = flags & LL_DECIMALS_MASK;

    // Parts are truncated, never carried: 59.999 s at one decimal prints as
    // 60.0 s, which reads back to the same angle.
    double wholeDegrees = 0.0, minutes = 0.0, wholeMinutes = 0.0, seconds = 0.0;
    if (!(flags & LL_DECIMAL_DEGREES)) {
        wholeDegrees = std::trunc(value);
        minutes = (value - wholeDegrees) * 60.0;
        if (!(flags & LL_DECIMAL_MINUTES)) {
            wholeMinutes = std::trunc(minutes);
            seconds = (minutes - wholeMinutes) * 60.0;
        }
    }

    if ((flags & LL_PLUS_SIGN) && (flags & LL_BLANK_SIGN)) return false;

    AngleText out;
    if (negative) {
        if (flags & LL_MINUS_SIGN) out.Append("-");
    } else if (flags & LL_PLUS_SIGN) {
        out.Append("+");
    } else if (flags & LL_BLANK_SIGN) {
        out.Append(" ");
    }

    char fixed[32];
    FixedFormat(fixed, sizeof fixed, decimals, (flags & LL_ZERO_PAD) != 0);
    const bool blanks = (flags & LL_BLANKS) != 0;

    if (flags & LL_DECIMAL_DEGREES) {
        char plain[32];
        FixedFormat(plain, sizeof plain, decimals, false);
        out.AppendNumber(plain, value);
    } else {
        out.AppendNumber("%g", wholeDegrees);
        out.AppendChar(degreeMark);
        if (blanks) out.Append(" ");
        if (flags & LL_DECIMAL_MINUTES) {
            out.AppendNumber(fixed, minutes);
            out.AppendChar(minuteMark);
        } else {
            out.AppendNumber((flags & LL_ZERO_PAD) ? "%02g" : "%g", wholeMinutes);
            out.AppendChar(minuteMark);
            if (blanks) out.Append(" ");
            out.AppendNumber(fixed, seconds);
            out.AppendChar(secondMark);
        }
    }

    if (flags & LL_HEMISPHERE) {
        if (blanks) out.Append(" ");
        if (flags & LL_LATITUDE)
            out.Append(negative ? "S" : "N");
        else
            out.Append(negative ? "W" : "E");
    }

    std::memcpy(text, out.c_str(), std::strlen(out.c_str()) + 1);
    return true;
}

// ---------------------------------------------------------------- exported, behind the firewall

bool LatLonToDegrees(char* text, double* degrees, char degreeMark) {
    return KV_GUARDED(false, [&] { return LatLonToDegreesBody(text, degrees, degreeMark); });
}

bool DegreesToLatLon(char* text, double degrees, int flags, char degreeMark, char minuteMark,
                     char secondMark) {
    return KV_GUARDED(false, [&] {
        return DegreesToLatLonBody(text, degrees, flags, degreeMark, minuteMark, secondMark);
    });
}

} // namespace KVProj
