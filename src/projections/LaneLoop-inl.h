// The vectorised per-point loop of the projection modules, included once per
// instruction set from a module's lane source (after hwy/highway.h, inside
// foreach_target's passes).
//
// A vector of points is loaded with x and y in separate registers; the
// module's kernel converts every lane and returns the mask of lanes that need
// the per-point function instead: a marker, a non-finite member, or any guard
// of the scalar formulas (a pole, a negative radicand, an argument outside the
// range of the vector functions, a value the kernel cannot be sure to round as
// the C library does). Such a lane's point is converted by the same function
// the scalar path runs, from the point as it was, while the other lanes keep
// the kernel's results, so markers, failures and the per-point report come
// out exactly as there. The last partial vector is filled up with copies of
// its first point, unless it holds a single point.
#if defined(KVPROJ_PROJECTIONS_LANELOOP_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef KVPROJ_PROJECTIONS_LANELOOP_INL_H_
#undef KVPROJ_PROJECTIONS_LANELOOP_INL_H_
#else
#define KVPROJ_PROJECTIONS_LANELOOP_INL_H_
#endif

#include <hwy/highway.h>

#include "projections/ProjModule.h"

#include <cstddef>
#include <cstring>

HWY_BEFORE_NAMESPACE();
namespace KVProj {
namespace HWY_NAMESPACE {
namespace lanes {
namespace hn = hwy::HWY_NAMESPACE;

using D = hn::ScalableTag<double>;
using V = hn::Vec<D>;
using M = hn::Mask<D>;

// Lanes holding the marker or a non-finite value in either member.
template <class D, class V = hn::Vec<D>, class M = hn::Mask<D>>
HWY_INLINE M MarkerOrNonFinite(D d, V x, V y) {
    const V marker = hn::Set(d, kUnplottable);
    const M odd = hn::Or(hn::Eq(x, marker), hn::Eq(y, marker));
    return hn::Or(odd, hn::Not(hn::And(hn::IsFinite(x), hn::IsFinite(y))));
}

// One vector of `n` points at `points` (n == Lanes(d)); `xy` is where the
// lanes are loaded from and stored to (the points themselves or a pad);
// `first` the index of its first point in the call's run, for kernels that
// take more than the points.
template <class Kernel, class PointFn, class D, class V = hn::Vec<D>, class M = hn::Mask<D>>
HWY_INLINE void Block(D d, double* xy, PROJPOINT* points, size_t valid, size_t first,
                      const Kernel& kernel, const PointFn& fn) {
    V x, y;
    hn::LoadInterleaved2(d, xy, x, y);
    // The screen before the kernel, which converts the lanes in place.
    const M screened = MarkerOrNonFinite(d, x, y);
    const M special = hn::Or(screened, kernel(d, x, y, first));
    if (HWY_LIKELY(hn::AllFalse(d, special))) {
        hn::StoreInterleaved2(x, y, d, xy);
        if (xy != reinterpret_cast<double*>(points))
            std::memcpy(points, xy, valid * sizeof(PROJPOINT));
        return;
    }
    // Only the special lanes go through the per-point function, in order; the
    // others keep the kernel's results.
    constexpr size_t kMaxLanes = HWY_MAX_BYTES / sizeof(double);
    HWY_ALIGN double rx[kMaxLanes], ry[kMaxLanes], odd[kMaxLanes];
    hn::Store(x, d, rx);
    hn::Store(y, d, ry);
    hn::Store(hn::VecFromMask(d, special), d, odd);
    for (size_t j = 0; j < valid; ++j) {
        if (odd[j] != 0.0)
            ForEachPoint(points + j, 1, fn);
        else
            points[j] = PROJPOINT{rx[j], ry[j]};
    }
}

// ForEachVector with kernel(d, x, y, first), `first` the index of the
// vector's first point; the lanes of the last partial vector beyond its
// points are copies of that first point. Kernels take any descriptor: the
// last vector may be half as wide as the others.
template <class Kernel, class PointFn>
void ForEachVectorAt(PROJPOINT* points, int count, const Kernel& kernel, const PointFn& fn) {
    const D d;
    const size_t n = hn::Lanes(d), total = static_cast<size_t>(count);
    size_t i = 0;
    for (; i + n <= total; i += n)
        Block(d, reinterpret_cast<double*>(points + i), points + i, n, i, kernel, fn);
    const size_t rest = total - i;
    if (rest == 0) return;
    // One point alone costs less through the per-point function than a whole
    // padded vector (a call converting one point at a time, say).
    // (A one-lane target never gets here; saying so spares the compiler a
    // padded copy it cannot prove in bounds.)
    if (rest == 1 || n < 2) return ForEachPoint(points + i, static_cast<int>(rest), fn);
    constexpr size_t kMaxLanes = HWY_MAX_BYTES / sizeof(double);
    HWY_ALIGN PROJPOINT pad[kMaxLanes];
    // A short rest on the widest vectors (a call of four points with eight
    // lanes, say) takes a vector of half the width.
    if constexpr (hn::MaxLanes(D()) >= 8) {
        const hn::Half<D> dh;
        const size_t h = hn::Lanes(dh);
        if (rest == h)
            return Block(dh, reinterpret_cast<double*>(points + i), points + i, h, i, kernel, fn);
        if (rest < h) {
            for (size_t j = 0; j < h; ++j)
                pad[j] = points[i + (j < rest ? j : 0)];
            return Block(dh, reinterpret_cast<double*>(pad), points + i, rest, i, kernel, fn);
        }
    }
    for (size_t j = 0; j < n; ++j)
        pad[j] = points[i + (j < rest ? j : 0)];
    Block(d, reinterpret_cast<double*>(pad), points + i, rest, i, kernel, fn);
}

// kernel(d, x, y) converts the lanes in place and returns the lanes to redo
// with fn(PROJPOINT&) (the per-point function of ForEachPoint).
template <class Kernel, class PointFn>
void ForEachVector(PROJPOINT* points, int count, const Kernel& kernel, const PointFn& fn) {
    ForEachVectorAt(
        points, count, [&kernel](auto d, auto& x, auto& y, size_t) HWY_ATTR { return kernel(d, x, y); },
        fn);
}

} // namespace lanes
} // namespace HWY_NAMESPACE
} // namespace KVProj
HWY_AFTER_NAMESPACE();

#endif
