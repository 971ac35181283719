// Number reading and writing on std::from_chars / std::to_chars: no locale,
// no allocation, no per-value format parsing.
#include "Numbers.h"

#include "kvproj/angle.h"

#include <fast_float/fast_float.h>

#include <cfloat>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <vector>

namespace kvtool {
namespace {

bool IsWord(const char* text, size_t size, const char* word) {
    size_t i = 0;
    for (; i < size && word[i]; ++i) {
        const char c = text[i] >= 'A' && text[i] <= 'Z' ? static_cast<char>(text[i] + 32) : text[i];
        if (c != word[i]) return false;
    }
    return i == size && word[i] == '\0';
}

// The common case of a decimal number in the normal range, on fast_float;
// false leaves the verdict (zero, underflow, overflow, bad text) to
// std::from_chars.
bool ParseQuick(const char* first, const char* last, double* value) {
    double v = 0.0;
    const fast_float::from_chars_result r = fast_float::from_chars(first, last, v);
    if (r.ec != std::errc() || r.ptr != last || !(std::fabs(v) >= DBL_MIN && v <= DBL_MAX))
        return false;
    *value = v;
    return true;
}

constexpr double kPow10[] = {1e0, 1e1, 1e2, 1e3, 1e4, 1e5, 1e6, 1e7, 1e8, 1e9};

// "%.*f" for the values coordinates have: the scaled value below 2^40 and up
// to nine decimals. The product |v| * 10^decimals is off the exact one by at
// most 2^-13 there, so whenever its fraction is not within 2^-10 of one half
// the rounding is the exact value's. False (nothing written) otherwise.
bool AppendFixedQuick(std::string& out, double v, int decimals) {
    if (decimals < 0 || decimals > 9) return false;
    const double t = std::fabs(v) * kPow10[decimals];
    if (!(t < 1099511627776.0)) return false; // 2^40; also NaN
    const double whole = std::floor(t);
    const double fraction = t - whole; // exact
    if (std::fabs(fraction - 0.5) < 1.0 / 1024) return false;
    uint64_t n = static_cast<uint64_t>(whole) + (fraction > 0.5 ? 1 : 0);
    char buffer[32];
    char* const end = buffer + sizeof buffer;
    char* p = end;
    for (int i = 0; i < decimals; ++i, n /= 10)
        *--p = static_cast<char>('0' + n % 10);
    if (decimals > 0) *--p = '.';
    do {
        *--p = static_cast<char>('0' + n % 10);
        n /= 10;
    } while (n != 0);
    if (std::signbit(v)) *--p = '-';
    out.append(p, end);
    return true;
}

} // namespace

bool ParseNumber(const char* text, size_t size, double* value) {
    const char* first = text;
    const char* last = text + size;
    bool negative = false;
    if (first < last && (*first == '+' || *first == '-')) negative = *first++ == '-';
    if (first == last) return false;
    const size_t rest = static_cast<size_t>(last - first);
    double v = 0.0;
    if (IsWord(first, rest, "inf") || IsWord(first, rest, "infinity")) {
        v = HUGE_VAL;
    } else if (IsWord(first, rest, "nan")) {
        v = std::nan("");
    } else {
        // from_chars takes no sign of its own here and no "inf"/"nan" beyond the above.
        if (!((*first >= '0' && *first <= '9') || *first == '.')) return false;
        if (ParseQuick(first, last, &v)) {
            *value = negative ? -v : v;
            return true;
        }
        const std::from_chars_result r = std::from_chars(first, last, v);
        if (r.ec != std::errc() || r.ptr != last) return false;
    }
    *value = negative ? -v : v;
    return true;
}

bool ParseNumber(const std::string& text, double* value) {
    return ParseNumber(text.data(), text.size(), value);
}

bool ParseFinite(const std::string& text, double* value) {
    double v = 0.0;
    if (!ParseNumber(text, &v) || !std::isfinite(v)) return false;
    *value = v;
    return true;
}

bool ParseInteger(const std::string& text, long long lo, long long hi, long long* value) {
    const char* first = text.data();
    const char* last = first + text.size();
    if (first < last && *first == '+') ++first;
    if (first == last || !((*first >= '0' && *first <= '9') || *first == '-')) return false;
    long long v = 0;
    const std::from_chars_result r = std::from_chars(first, last, v);
    if (r.ec != std::errc() || r.ptr != last || v < lo || v > hi) return false;
    *value = v;
    return true;
}

bool ParseInteger(const std::string& text, int lo, int hi, int* value) {
    long long v = 0;
    if (!ParseInteger(text, static_cast<long long>(lo), static_cast<long long>(hi), &v))
        return false;
    *value = static_cast<int>(v);
    return true;
}

bool ParseAngle(const std::string& text, double* value) {
    if (ParseFinite(text, value)) return true;
    double probe = 0.0;
    if (ParseNumber(text, &probe)) return false; // inf or nan
    std::vector<char> buffer(text.begin(), text.end());
    buffer.push_back('\0');
    if (text.find('\0') != std::string::npos) return false;
    double v = 0.0;
    if (!KVProj::LatLonToDegrees(buffer.data(), &v, 'd') || !std::isfinite(v)) return false;
    *value = v;
    return true;
}

void AppendFixed(std::string& out, double v, int decimals) {
    if (AppendFixedQuick(out, v, decimals)) return;
    // 309 integer digits, the sign, the point and up to kMaxDecimals decimals.
    char buffer[352];
    const std::to_chars_result r =
        std::to_chars(buffer, buffer + sizeof buffer, v, std::chars_format::fixed, decimals);
    out.append(buffer, r.ptr);
}

std::string FormatFixed(double v, int decimals) {
    std::string out;
    AppendFixed(out, v, decimals);
    return out;
}

std::string FormatShortest(double v) {
    char buffer[64];
    std::to_chars_result r{buffer, std::errc()};
    for (int digits = 15; digits <= 17; ++digits) {
        r = std::to_chars(buffer, buffer + sizeof buffer, v, std::chars_format::general, digits);
        double back = 0.0;
        if (std::from_chars(buffer, r.ptr, back).ec == std::errc() && back == v) break;
    }
    return std::string(buffer, r.ptr);
}

} // namespace kvtool
