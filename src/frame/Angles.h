// Angles and the unplottable marker, kept once for the whole library: pi and
// its fractions, the degree and arc-second factors, the marker test and setter
// for both point records, and the folding of longitudes and latitudes in
// degrees.
#ifndef KVPROJ_FRAME_ANGLES_H
#define KVPROJ_FRAME_ANGLES_H

#include "kvproj/datum.h"
#include "kvproj/export.h"
#include "kvproj/georef.h"
#include "kvproj/projdata.h"

#include <cmath>

namespace KVProj {

// ---------------------------------------------------------------- constants
constexpr double kPi = 3.141592653589793;
constexpr double kHalfPi = 1.5707963267948966;
constexpr double kQuarterPi = 0.7853981633974483;
constexpr double kTwoPi = 6.283185307179586;
constexpr double kDegToRad = kPi / 180.0;       // 0.017453292519943295
constexpr double kRadToDeg = 57.29577951308232; // 180 / pi, correctly rounded
constexpr double kArcSecToRad = kPi / 180.0 / 3600.0;
constexpr double kArcSecPerDeg = 3600.0;

static_assert(kHalfPi == kPi / 2 && kQuarterPi == kPi / 4 && kTwoPi == 2 * kPi,
              "fractions of pi are exact scalings");
static_assert(kRadToDeg == 180.0 / kPi, "both degree factors are the correctly rounded ones");

// Degrees to radians and back as the projection pipeline has always computed
// them: the product first, then the division (two roundings). Changing to a
// single multiplication by kDegToRad would move results by an ulp.
inline double DegToRad(double deg) {
    return deg * kPi / 180.0;
}
inline double RadToDeg(double rad) {
    return rad * 180.0 / kPi;
}

// ---------------------------------------------------------------- the marker
// A point holding this value in both members was not converted; every stage
// passes it through. A point with the marker in either member counts as one.
constexpr double kUnplottable = KVPROJ_UNPLOTTABLE;

namespace detail {
template <class Point> constexpr bool HoldsMarker(const Point& p) {
    return p.x == kUnplottable || p.y == kUnplottable;
}
template <class Point> inline void SetMarker(Point& p) {
    p.x = kUnplottable;
    p.y = kUnplottable;
}
} // namespace detail

constexpr bool IsUnplottable(const PROJPOINT& p) {
    return detail::HoldsMarker(p);
}
constexpr bool IsUnplottable(const DATUMPOINT& p) {
    return detail::HoldsMarker(p);
}
constexpr bool IsUnplottable(const GEOREFPOINT& p) {
    return detail::HoldsMarker(p);
}
inline void MarkUnplottable(PROJPOINT& p) {
    detail::SetMarker(p);
}
inline void MarkUnplottable(DATUMPOINT& p) {
    detail::SetMarker(p);
}
inline void MarkUnplottable(GEOREFPOINT& p) {
    detail::SetMarker(p);
}

// ---------------------------------------------------------------- folding
// Longitude and latitude in degrees, folded as every stage of the library
// folds them: the marker passes, any other non-finite value becomes the marker,
// a longitude keeps the remainder of its division by 360 (sign of the value)
// and a latitude beyond +-90 is reflected back over the pole. The longitude is
// deliberately not moved when a latitude is reflected.
//
// The datum engine screens non-finite points into markers before it folds, so
// a NaN never reaches its folding; one policy serves both engines.
//
// fmod(v, 360) is v itself whenever |v| < 360, so the common case skips the
// division; the result is the same to the bit.
inline double FoldLongitude(double v) {
    if (v == kUnplottable) return v;
    if (!std::isfinite(v)) return kUnplottable;
    if (v > -360.0 && v < 360.0) return v;
    return std::fmod(v, 360.0);
}

inline double FoldLatitude(double v) {
    if (v == kUnplottable) return v;
    if (!std::isfinite(v)) return kUnplottable;
    if (v >= -90.0 && v <= 90.0) return v;
    double r = std::fmod(v, 180.0);
    if (r > 90.0)
        r = 180.0 - r;
    else if (r < -90.0)
        r = std::fabs(r) - 180.0;
    return r;
}

} // namespace KVProj

#endif
