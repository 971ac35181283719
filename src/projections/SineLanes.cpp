// The C library's sine and cosine of many latitudes as the forward kernels
// take them (LibrarySinCos of LaneMath-inl.h), compiled for every instruction
// set and chosen at run time, for the tests that hold them to the library's
// bits.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "projections/SineLanes.cpp"
#include <hwy/foreach_target.h> // IWYU pragma: keep

#include <hwy/highway.h>

#include "projections/LaneMath-inl.h"
#include "projections/VectorPath.h"

#include <algorithm>

HWY_BEFORE_NAMESPACE();
namespace KVProj {
namespace HWY_NAMESPACE {

void SinCosOf(const PROJPOINT* points, int count, double* sines, double* cosines) {
    const size_t total = count > 0 ? static_cast<size_t>(count) : 0;
    for (size_t start = 0; start < total; start += lanes::kSineRun)
        lanes::LibrarySinCos(points + start, std::min(lanes::kSineRun, total - start),
                             sines + start, cosines ? cosines + start : nullptr);
}

} // namespace HWY_NAMESPACE
} // namespace KVProj
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace KVProj {

HWY_EXPORT(SinCosOf);

void LibrarySinCosOf(const PROJPOINT* points, int count, double* sines, double* cosines) {
    HWY_DYNAMIC_DISPATCH(SinCosOf)(points, count, sines, cosines);
}

} // namespace KVProj
#endif
