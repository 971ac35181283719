// The C library's sine of many latitudes as the forward kernels take it
// (LibrarySines of LaneMath-inl.h), compiled for every instruction set and
// chosen at run time, for the tests that hold it to the library's bits.
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

void SinesOf(const PROJPOINT* points, int count, double* out) {
    const size_t total = count > 0 ? static_cast<size_t>(count) : 0;
    for (size_t start = 0; start < total; start += lanes::kSineRun)
        lanes::LibrarySines(points + start, std::min(lanes::kSineRun, total - start), out + start);
}

} // namespace HWY_NAMESPACE
} // namespace KVProj
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace KVProj {

HWY_EXPORT(SinesOf);

void LibrarySinesOf(const PROJPOINT* points, int count, double* out) {
    HWY_DYNAMIC_DISPATCH(SinesOf)(points, count, out);
}

} // namespace KVProj
#endif
