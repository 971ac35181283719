// Number reading and writing on std::from_chars / std::to_chars: no locale,
// no allocation, no per-value format parsing.
#include "Numbers.h"

#include "kvproj/angle.h"

#include <charconv>
#include <cmath>
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
