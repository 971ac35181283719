// Conversion between decimal degrees and degree/minute/second text.
#ifndef KVPROJ_ANGLE_H
#define KVPROJ_ANGLE_H

#include "kvproj/export.h"

namespace KVProj {

// Flag word of DegreesToLatLon.
enum : int {
    LL_DECIMALS_MASK = 0x000F, // decimals of the last printed number
    LL_DECIMAL_DEGREES = 0x0010,
    LL_MINUS_SIGN = 0x0020,
    LL_PLUS_SIGN = 0x0040,
    LL_BLANK_SIGN = 0x0080,
    LL_DECIMAL_MINUTES = 0x0100,
    LL_BLANKS = 0x0200,
    LL_HEMISPHERE = 0x1000,
    LL_LATITUDE = 0x2000,
    LL_ZERO_PAD = 0x4000,
};

// DegreesToLatLon never writes more than this many bytes, terminator included.
enum : int { LL_TEXT_LEN = 260 };

// Reads degrees, optional minutes and seconds with their marks, and an
// optional hemisphere letter ("12d30'S", "-12.5", "45d 30m 10s N"). The degree
// mark may be 'd', 'D' or `degreeMark`; minutes end in '\'' or 'm', seconds in
// '"' or 's'. A hemisphere letter S or W makes the value negative. Each number
// is limited to 64 characters. False for null pointers or text left over.
KVPROJ_API bool LatLonToDegrees(char* text, double* degrees, char degreeMark);
// Writes `degrees` in the style chosen by `flags` into `text`, which must hold
// LL_TEXT_LEN bytes (or the whole text when the caller knows it is shorter).
// A NUL mark writes no mark. False for a null text, a value that is not
// finite, or LL_PLUS_SIGN together with LL_BLANK_SIGN.
KVPROJ_API bool DegreesToLatLon(char* text, double degrees, int flags, char degreeMark,
                                char minuteMark, char secondMark);

} // namespace KVProj

#endif
