// Angle wrapping and clamping shared by the modules: one whole turn added or
// taken away, the inverse longitude brought into [-pi, pi], and the clamp of
// an asin/acos argument that rounding pushed a hair past +-1.
#ifndef KVPROJ_PROJECTIONS_ANGLEWRAP_H
#define KVPROJ_PROJECTIONS_ANGLEWRAP_H

#include "frame/Angles.h"

#include <cmath>

namespace KVProj {

// lam - lam0 brought towards [-pi, pi] by one addition or subtraction of a
// whole turn, below -pi tested first. A difference more than a turn and a
// half away stays outside the range.
inline double WrapOnce(double dLam) {
    if (dLam < -kPi) return dLam + kTwoPi;
    if (dLam > kPi) return dLam - kTwoPi;
    return dLam;
}

// Clamp into -1..1 for asin/acos; NaN passes through.
inline double ClampUnit(double s) {
    if (s > 1.0) return 1.0;
    if (s < -1.0) return -1.0;
    return s;
}

// Longitude brought into [-pi, pi] (inverse results), so that a centre near
// the antimeridian does not hand back 190 degrees for -170.
inline double NormalizeLon(double lam) {
    if (lam >= -kPi && lam <= kPi) return lam;
    return std::remainder(lam, kTwoPi);
}

} // namespace KVProj

#endif
