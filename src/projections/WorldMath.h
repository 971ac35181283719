// Small helpers shared by the conic and world projection modules: the
// longitude-wrap flag, bringing an angle into one turn, and clamping the
// argument of asin/acos.
#ifndef KVPROJ_PROJECTIONS_WORLDMATH_H
#define KVPROJ_PROJECTIONS_WORLDMATH_H

#include "kvproj/projdata.h"
#include "projections/ProjMath.h"

#include <cstring>

namespace KVProj {

// The wrap flag is a host-written byte; any non-zero value counts as set. It is
// read as a byte so that a value other than 0 or 1 is not a bool load.
inline bool WrapLonFlag(const PROJDATA* data) {
    unsigned char b;
    std::memcpy(&b, &data->bWrapLon, 1);
    return b != 0;
}

// One addition or subtraction of a whole turn, below -pi tested first. A
// difference more than a turn and a half away stays outside the range.
inline double WrapOnce(double dLam) {
    if (dLam < -kPi) dLam += kTwoPi;
    if (dLam > kPi) dLam -= kTwoPi;
    return dLam;
}

// Clamp into -1..1 for asin/acos; NaN passes through.
inline double ClampUnit(double s) {
    if (s > 1.0) return 1.0;
    if (s < -1.0) return -1.0;
    return s;
}

} // namespace KVProj

#endif
