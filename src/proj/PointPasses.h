// The engine's passes over the points around the module call. Each pass
// marks a point with a non-finite member and sends the others through its
// stage; it answers whether it marked any. The stages of one direction share
// a pass where they can: each touches only coordinates the one before it left
// finite and unmarked.
//
// Every pass has a vector form (PointPassesLanes.cpp) giving the same results
// to the bit: the same operations on whole vectors of points, and a vector
// holding a marker, a non-finite member or a value the stage must fold goes
// through the per-point stage. The per-point forms stay the reference, run
// when VectorPathOn() is false and for a single point (VectorLoopFor).
#ifndef KVPROJ_PROJ_POINTPASSES_H
#define KVPROJ_PROJ_POINTPASSES_H

#include "kvproj/projdata.h"

#include "frame/Angles.h"
#include "projections/VectorPath.h"

#include <cmath>

namespace KVProj {

template <typename Stage> bool MarkedPass(PROJPOINT* points, int count, Stage stage) {
    bool marked = false;
    for (int i = 0; i < count; ++i) {
        PROJPOINT& p = points[i];
        if (!std::isfinite(p.x) || !std::isfinite(p.y)) {
            MarkUnplottable(p);
            marked = true;
            continue;
        }
        stage(p);
    }
    return marked;
}

// The false origin and scale of a working copy, and which of them apply.
struct OriginScale {
    bool offset, scale;
    double x0, y0, s;
    explicit OriginScale(const PROJDATA& w)
        : offset(!(w.xOrg == 0.0 && w.yOrg == 0.0)), scale(w.Scale != 1.0), x0(w.xOrg),
          y0(w.yOrg), s(w.Scale) {}
};

// ---------------------------------------------------------------- stages

inline void NoStage(PROJPOINT&) {}

// Forward results: + false origin, then * scale.
inline void AddOriginThenScale(const OriginScale& o, PROJPOINT& p) {
    if (o.offset) {
        if (p.x != kUnplottable) p.x += o.x0;
        if (p.y != kUnplottable) p.y += o.y0;
    }
    if (o.scale) {
        if (p.x != kUnplottable) p.x *= o.s;
        if (p.y != kUnplottable) p.y *= o.s;
    }
}

// Inverse input: / scale, then - false origin.
inline void UnscaleThenSubtractOrigin(const OriginScale& o, PROJPOINT& p) {
    if (o.scale) {
        if (p.x != kUnplottable) p.x /= o.s;
        if (p.y != kUnplottable) p.y /= o.s;
    }
    if (o.offset) {
        if (p.x != kUnplottable) p.x -= o.x0;
        if (p.y != kUnplottable) p.y -= o.y0;
    }
}

// Forward input: folding, then degrees to radians.
inline void FoldToRadians(PROJPOINT& p) {
    p.x = FoldLongitude(p.x);
    p.y = FoldLatitude(p.y);
    if (p.x != kUnplottable) p.x = DegToRad(p.x);
    if (p.y != kUnplottable) p.y = DegToRad(p.y);
}

// Inverse results: radians to degrees, then folding.
inline void ToDegreesFolded(PROJPOINT& p) {
    if (p.x != kUnplottable) p.x = RadToDeg(p.x);
    if (p.y != kUnplottable) p.y = RadToDeg(p.y);
    p.x = FoldLongitude(p.x);
    p.y = FoldLatitude(p.y);
}

// ---------------------------------------------------------------- vector forms

bool ScanNonFiniteLanes(PROJPOINT* points, int count);
bool AddOriginThenScaleLanes(const OriginScale& o, PROJPOINT* points, int count);
bool UnscaleThenSubtractOriginLanes(const OriginScale& o, PROJPOINT* points, int count);
bool FoldToRadiansLanes(PROJPOINT* points, int count);
bool ToDegreesFoldedLanes(PROJPOINT* points, int count);

// ---------------------------------------------------------------- passes

// Marks every point with a non-finite member; true when any was marked.
inline bool ScanNonFinite(PROJPOINT* points, int count) {
    if (VectorLoopFor(count)) return ScanNonFiniteLanes(points, count);
    return MarkedPass(points, count, NoStage);
}

// Post-scan, false origin and scale of the forward results.
inline bool FinishForward(const PROJDATA& work, PROJPOINT* points, int count) {
    const OriginScale o(work);
    if (VectorLoopFor(count)) return AddOriginThenScaleLanes(o, points, count);
    return MarkedPass(points, count, [&o](PROJPOINT& p) { AddOriginThenScale(o, p); });
}

// Pre-scan, scale and false origin of the inverse input.
inline bool PrepareInverse(const PROJDATA& work, PROJPOINT* points, int count) {
    const OriginScale o(work);
    if (!o.offset && !o.scale) return ScanNonFinite(points, count);
    if (VectorLoopFor(count)) return UnscaleThenSubtractOriginLanes(o, points, count);
    return MarkedPass(points, count, [&o](PROJPOINT& p) { UnscaleThenSubtractOrigin(o, p); });
}

// Pre-scan, folding and degrees to radians of the forward input.
inline bool PrepareForward(PROJPOINT* points, int count) {
    if (VectorLoopFor(count)) return FoldToRadiansLanes(points, count);
    return MarkedPass(points, count, FoldToRadians);
}

// Post-scan, radians to degrees and folding of the inverse results.
inline bool FinishInverse(PROJPOINT* points, int count) {
    if (VectorLoopFor(count)) return ToDegreesFoldedLanes(points, count);
    return MarkedPass(points, count, ToDegreesFolded);
}

} // namespace KVProj

#endif
