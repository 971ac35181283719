// The passes a conversion runs before and after its steps, one point at a
// time (the reference, run by kvDatum.cpp) and a vector of points at a time
// (DatumLanes.cpp, bit for bit the same: a lane that needs more than the
// common case goes through the per-point function).
#ifndef KVPROJ_DATUM_DATUMPASSES_H
#define KVPROJ_DATUM_DATUMPASSES_H

#include "frame/Angles.h"
#include "kvproj/datum.h"

#include <cmath>

namespace KVProj {
namespace pass {

// Reduces a screened point to longitude (-360, 360) and latitude [-90, 90].
inline void Normalise(DATUMPOINT& p) {
    p.x = FoldLongitude(p.x);
    p.y = FoldLatitude(p.y);
}

// Marks a point that is not finite; true when the point is unplottable.
inline bool Screen(DATUMPOINT& p) {
    if (!std::isfinite(p.x) || !std::isfinite(p.y)) MarkUnplottable(p);
    return IsUnplottable(p);
}

// Before the steps: screens and folds the point and brings its longitude
// into -180..180 so the regression origins and grids see one convention;
// `wrap` keeps the -1/0/+1 turn that FinishPoint undoes. True when the point
// is unplottable.
inline bool PreparePoint(DATUMPOINT& p, signed char& wrap) {
    const bool unplottable = Screen(p);
    wrap = 0;
    Normalise(p);
    if (IsUnplottable(p)) return unplottable;
    if (p.x >= -360.0 && p.x < -180.0) {
        wrap = -1;
        p.x += 360.0;
    } else if (p.x > 180.0 && p.x <= 360.0) {
        wrap = 1;
        p.x -= 360.0;
    }
    return unplottable;
}

// After the steps: screens the point, gives back its turn and folds it.
inline bool FinishPoint(DATUMPOINT& p, signed char wrap) {
    const bool unplottable = Screen(p);
    if (p.x != kUnplottable) p.x += 360.0 * wrap;
    Normalise(p);
    return unplottable;
}

// The same over an array, a vector at a time; true when any point is unplottable.
bool PrepareLanes(DATUMPOINT* points, int count, signed char* wrap);
bool FinishLanes(DATUMPOINT* points, int count, const signed char* wrap);

} // namespace pass
} // namespace KVProj

#endif
