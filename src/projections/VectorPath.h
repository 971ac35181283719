// Whether the modules that have a vectorised per-point loop run it, or the
// per-point functions that stay the reference. Decided once per process from
// the environment (KVPROJ_SCALAR set to anything but "" or "0" keeps the
// per-point path); the tests and benchmarks switch it to compare both paths.
#ifndef KVPROJ_PROJECTIONS_VECTORPATH_H
#define KVPROJ_PROJECTIONS_VECTORPATH_H

namespace KVProj {

bool VectorPathOn();

// The largest eccentricity the vector loops of the conformal modules take:
// every e sin phi and e atanh(e sin phi) then stays within the ranges of the
// short series of Series.h (0.09 atanh 0.09 = 0.0081), which the lanes
// evaluate without the library fallback.
constexpr double kLaneMaxE = 0.09;
void SetVectorPath(bool on);

// Whether a module's call of `count` points takes its vector loop: a single
// point goes through the per-point function there anyway, so such a call
// spares itself the dispatch.
inline bool VectorLoopFor(int count) {
    return count > 1 && VectorPathOn();
}

struct PROJPOINT;

// sin y (and cos y, unless `cosines` is null) of each point as the
// vectorised forward loops take them: the C library's to the bit for
// |y| <= pi/2, 0 (and 1) beyond and for NaN (SineLanes.cpp).
void LibrarySinCosOf(const PROJPOINT* points, int count, double* sines, double* cosines);

} // namespace KVProj

#endif
