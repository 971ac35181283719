// UTM zone numbers, central meridians and zone names.
//
// The zone arithmetic is 32-bit two's-complement with the remainder taking the
// sign of the dividend. Hosts rely on out-of-range zone numbers wrapping
// (61 is zone 1, 0 is zone 60), so the wrap is reproduced without relying on
// signed overflow.
#include "kvproj/utmzone.h"

#include "frame/Firewall.h"

#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace KVProj {

namespace {

constexpr int kZoneTextLen = 80;

// a + b with 32-bit wrap-around.
int32_t AddWrap(int32_t a, int32_t b) {
    return static_cast<int32_t>(static_cast<uint32_t>(a) + static_cast<uint32_t>(b));
}

// Folds any zone number into 1..60.
int FoldZone(int32_t zone) {
    return AddWrap(zone, 3599) % 60 + 1;
}

// Central meridian of a folded zone, whole degrees.
int CentralMeridian(int folded) {
    return folded * 6 - 183;
}

// Conversion of a double to a 32-bit integer as the hardware's truncating
// conversion does it: toward zero, and the "integer indefinite" value for
// NaN and for values out of range.
int32_t TruncateToInt32(double value) {
    if (!(value > -2147483649.0 && value < 2147483648.0)) return INT32_MIN;
    return static_cast<int32_t>(value);
}

bool IsDigit(char c) {
    return c >= '0' && c <= '9';
}
bool IsBlank(char c) {
    return c == ' ' || c == '\t';
}

} // namespace

static bool ProjUTMZoneNumberToNameBody(int zone, bool south, char* name, int size,
                                        UTMZoneNameFormat style) {
    if (!name) return false;
    const int folded = FoldZone(zone);
    const int central = CentralMeridian(folded);
    const int west = central - 3;
    const int east = central + 3;
    const char hemisphere = south ? 'S' : 'N';

    char text[kZoneTextLen];
    int length;
    switch (style) {
    case UTM_NAME_SHORT:
        length = std::snprintf(text, sizeof(text), "Zone %02d%c", folded, hemisphere);
        break;
    case UTM_NAME_LETTERS:
        length = std::snprintf(text, sizeof(text), "Zone %02d%c (%03d%c to %03d%c)", folded,
                               hemisphere, std::abs(west), west < 0 ? 'W' : 'E', std::abs(east),
                               east < 0 ? 'W' : 'E');
        break;
    case UTM_NAME_SIGNED:
        length = std::snprintf(text, sizeof(text), "Zone %02d%c (%+03d to %+03d)", folded,
                               hemisphere, west, east);
        break;
    default:
        return false;
    }
    if (length < 0 || length > size - 1) return false;
    std::memcpy(name, text, static_cast<size_t>(length) + 1);
    return true;
}

static bool ProjUTMZoneNameToNumberBody(const char* name, int* zone, bool* south) {
    if (!name) return false;
    const char* p = name;
    while (*p && !IsDigit(*p) && *p != '+' && *p != '-')
        ++p;
    if (!*p) return false;

    bool negative = false;
    if (*p == '+' || *p == '-') negative = (*p++ == '-');
    while (IsBlank(*p))
        ++p;
    if (!IsDigit(*p)) return false;

    // Any number of digits is read; the value wraps modulo 2^32, as specified.
    uint32_t n = 0;
    for (; IsDigit(*p); ++p)
        n = n * 10u + static_cast<uint32_t>(*p - '0');
    while (IsBlank(*p))
        ++p;
    const bool isSouth = (*p == 's' || *p == 'S');

    const int32_t value = static_cast<int32_t>(negative ? 0u - n : n);
    if (zone) *zone = FoldZone(value);
    if (south) *south = isSouth;
    return true;
}

static int ProjUTMLonToZoneNumberBody(double lon) {
    const int32_t whole = TruncateToInt32(lon);
    return AddWrap(whole, 129780) % 360 / 6 + 1;
}

static double ProjUTMZoneNumberToLonBody(int zone) {
    return CentralMeridian(FoldZone(zone));
}

// ---------------------------------------------------------------- exported, behind the firewall

bool ProjUTMZoneNumberToName(int zone, bool south, char* name, int size, UTMZoneNameFormat style) {
    return KV_GUARDED(false,
                      [&] { return ProjUTMZoneNumberToNameBody(zone, south, name, size, style); });
}

bool ProjUTMZoneNameToNumber(const char* name, int* zone, bool* south) {
    return KV_GUARDED(false, [&] { return ProjUTMZoneNameToNumberBody(name, zone, south); });
}

int ProjUTMLonToZoneNumber(double lon) {
    return KV_GUARDED(0, [&] { return ProjUTMLonToZoneNumberBody(lon); });
}

double ProjUTMZoneNumberToLon(int zone) {
    return KV_GUARDED(0.0, [&] { return ProjUTMZoneNumberToLonBody(zone); });
}

} // namespace KVProj
