// libFuzzer target for angle text: reading arbitrary text, and writing
// arbitrary values with arbitrary flags, which must read back.
#include "kvproj/angle.h"

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <vector>

using namespace KVProj;

namespace {

void Check(bool condition) {
    if (!condition) __builtin_trap();
}

// Unit of the last printed number, in degrees.
double LastUnit(int flags) {
    if (flags & LL_DECIMAL_DEGREES) return 1.0;
    return (flags & LL_DECIMAL_MINUTES) ? 1.0 / 60 : 1.0 / 3600;
}

void FuzzRead(const uint8_t* data, size_t size) {
    if (size < 1) return;
    const char mark = static_cast<char>(data[0]);
    // Exactly sized copy, so that reading past the terminator is caught.
    std::vector<char> text(data + 1, data + size);
    text.push_back('\0');
    double degrees = 0.0;
    LatLonToDegrees(text.data(), &degrees, mark);
}

void FuzzWrite(const uint8_t* data, size_t size) {
    double value = 0.0;
    uint16_t flags16 = 0;
    char marks[3] = {'d', 'm', 's'};
    if (size < sizeof value + sizeof flags16) return;
    std::memcpy(&value, data, sizeof value);
    std::memcpy(&flags16, data + sizeof value, sizeof flags16);
    const size_t used = sizeof value + sizeof flags16;
    for (size_t k = 0; k < 3 && used + k < size; ++k)
        marks[k] = static_cast<char>(data[used + k]);
    const int flags = flags16;

    // Guard bytes after the documented bound catch any write past it.
    char text[LL_TEXT_LEN + 32];
    std::memset(text, 0x5A, sizeof text);
    const bool ok = DegreesToLatLon(text, value, flags, marks[0], marks[1], marks[2]);
    for (size_t i = LL_TEXT_LEN; i < sizeof text; ++i)
        Check(text[i] == 0x5A);
    const bool refused = (flags & LL_PLUS_SIGN) && (flags & LL_BLANK_SIGN);
    Check(ok == (std::isfinite(value) && !refused));
    if (!ok) return;
    Check(std::strlen(text) < LL_TEXT_LEN);

    // With the ordinary marks and an angle of ordinary size, the text reads
    // back to the value within half a unit of its last digit; the sign
    // survives when the text carries a '-' or a hemisphere letter.
    const bool plainMarks = marks[0] == 'd' && marks[1] == 'm' && marks[2] == 's';
    if (!plainMarks || !(std::fabs(value) < 1e5)) return;
    double back = 0.0;
    Check(LatLonToDegrees(text, &back, 'd'));
    const bool signKept = (flags & LL_MINUS_SIGN) || (flags & LL_HEMISPHERE);
    const double expected = signKept ? value : std::fabs(value);
    const int decimals = flags & LL_DECIMALS_MASK;
    double tolerance = 0.5 * std::pow(10.0, -decimals) * LastUnit(flags) * (1 + 1e-9);
    tolerance += 1e-12 * (1 + std::fabs(value));
    Check(std::fabs(back - expected) <= tolerance);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size == 0) return 0;
    // The first byte chooses the function, so one corpus covers both.
    if (data[0] & 1)
        FuzzWrite(data + 1, size - 1);
    else
        FuzzRead(data + 1, size - 1);
    return 0;
}
