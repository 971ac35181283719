// The engine's passes (PointPasses.h) a vector of points at a time,
// compiled for every instruction set Highway knows and chosen at run time.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "proj/PointPassesLanes.cpp"
#include <hwy/foreach_target.h> // IWYU pragma: keep

#include <hwy/highway.h>

#include "projections/LaneLoop-inl.h"
#include "proj/PointPasses.h"

HWY_BEFORE_NAMESPACE();
namespace KVProj {
namespace passes {
namespace HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;
using KVProj::HWY_NAMESPACE::lanes::D;
using KVProj::HWY_NAMESPACE::lanes::M;
using KVProj::HWY_NAMESPACE::lanes::V;
using KVProj::HWY_NAMESPACE::lanes::MarkerOrNonFinite;

// Beyond this magnitude a sum or product could reach the marker's value or
// overflow, which the per-point stage treats point by point.
constexpr double kHuge = 1e300;

// One vector of Lanes(d) points through kernel(d, x, y), or through `stage`
// where it returns a lane; true when the stage marked a point.
template <class DV, class Kernel, class Stage>
HWY_INLINE bool PassVector(DV d, PROJPOINT* points, const Kernel& kernel, const Stage& stage) {
    double* xy = reinterpret_cast<double*>(points);
    hn::Vec<DV> x, y;
    hn::LoadInterleaved2(d, xy, x, y);
    const auto special = hn::Or(MarkerOrNonFinite(d, x, y), kernel(d, x, y));
    if (HWY_LIKELY(hn::AllFalse(d, special))) {
        hn::StoreInterleaved2(x, y, d, xy);
        return false;
    }
    return MarkedPass(points, static_cast<int>(hn::Lanes(d)), stage);
}

// kernel(d, x, y) transforms the lanes and returns those that need the
// per-point stage; such a vector is left as loaded and given to `stage`
// through MarkedPass, as are the points after the last whole vector (on the
// widest vectors, after a last vector of half the width).
template <class Kernel, class Stage>
bool Pass(PROJPOINT* points, int count, const Kernel& kernel, const Stage& stage) {
    const D d;
    const size_t n = hn::Lanes(d), total = static_cast<size_t>(count);
    bool marked = false;
    size_t i = 0;
    for (; i + n <= total; i += n)
        marked |= PassVector(d, points + i, kernel, stage);
    if constexpr (hn::MaxLanes(D()) >= 8) {
        const hn::Half<D> dh;
        if (i + hn::Lanes(dh) <= total) {
            marked |= PassVector(dh, points + i, kernel, stage);
            i += hn::Lanes(dh);
        }
    }
    if (i < total) marked |= MarkedPass(points + i, static_cast<int>(total - i), stage);
    return marked;
}

template <class D, class V = hn::Vec<D>, class M = hn::Mask<D>>
HWY_INLINE M Huge(D d, V x, V y) {
    const V huge = hn::Set(d, kHuge);
    return hn::Or(hn::Gt(hn::Abs(x), huge), hn::Gt(hn::Abs(y), huge));
}

// Lanes FoldLongitude and FoldLatitude would change (or mark).
template <class D, class V = hn::Vec<D>, class M = hn::Mask<D>>
HWY_INLINE M NeedsFolding(D d, V lon, V lat) {
    return hn::Not(hn::And(hn::Lt(hn::Abs(lon), hn::Set(d, 360.0)),
                           hn::Le(hn::Abs(lat), hn::Set(d, 90.0))));
}

bool ScanNonFiniteV(PROJPOINT* points, int count) {
    return Pass(
        points, count, [](auto d, auto&, auto&) HWY_ATTR { return hn::FirstN(d, 0); }, NoStage);
}

bool AddOriginThenScaleV(const OriginScale& o, PROJPOINT* points, int count) {
    return Pass(
        points, count,
        [&o](auto d, auto& x, auto& y) HWY_ATTR {
            const auto huge = Huge(d, x, y);
            if (o.offset) {
                x = x + hn::Set(d, o.x0);
                y = y + hn::Set(d, o.y0);
            }
            if (o.scale) {
                x = x * hn::Set(d, o.s);
                y = y * hn::Set(d, o.s);
            }
            return huge;
        },
        [&o](PROJPOINT& p) { AddOriginThenScale(o, p); });
}

bool UnscaleThenSubtractOriginV(const OriginScale& o, PROJPOINT* points, int count) {
    return Pass(
        points, count,
        [&o](auto d, auto& x, auto& y) HWY_ATTR {
            const auto huge = Huge(d, x, y);
            if (o.scale) {
                x = x / hn::Set(d, o.s);
                y = y / hn::Set(d, o.s);
            }
            if (o.offset) {
                x = x - hn::Set(d, o.x0);
                y = y - hn::Set(d, o.y0);
            }
            return hn::Or(huge, Huge(d, x, y));
        },
        [&o](PROJPOINT& p) { UnscaleThenSubtractOrigin(o, p); });
}

// DegToRad and RadToDeg as written there: the product first, then the division.
bool FoldToRadiansV(PROJPOINT* points, int count) {
    return Pass(
        points, count,
        [](auto d, auto& x, auto& y) HWY_ATTR {
            const auto fold = NeedsFolding(d, x, y);
            const auto pi = hn::Set(d, kPi), half = hn::Set(d, 180.0);
            x = x * pi / half;
            y = y * pi / half;
            return fold;
        },
        FoldToRadians);
}

bool ToDegreesFoldedV(PROJPOINT* points, int count) {
    return Pass(
        points, count,
        [](auto d, auto& x, auto& y) HWY_ATTR {
            const auto pi = hn::Set(d, kPi), half = hn::Set(d, 180.0);
            x = x * half / pi;
            y = y * half / pi;
            return NeedsFolding(d, x, y);
        },
        ToDegreesFolded);
}

} // namespace HWY_NAMESPACE
} // namespace passes
} // namespace KVProj
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace KVProj {
namespace passes {
HWY_EXPORT(ScanNonFiniteV);
HWY_EXPORT(AddOriginThenScaleV);
HWY_EXPORT(UnscaleThenSubtractOriginV);
HWY_EXPORT(FoldToRadiansV);
HWY_EXPORT(ToDegreesFoldedV);
} // namespace passes

bool ScanNonFiniteLanes(PROJPOINT* points, int count) {
    return HWY_DYNAMIC_DISPATCH(passes::ScanNonFiniteV)(points, count);
}
bool AddOriginThenScaleLanes(const OriginScale& o, PROJPOINT* points, int count) {
    return HWY_DYNAMIC_DISPATCH(passes::AddOriginThenScaleV)(o, points, count);
}
bool UnscaleThenSubtractOriginLanes(const OriginScale& o, PROJPOINT* points, int count) {
    return HWY_DYNAMIC_DISPATCH(passes::UnscaleThenSubtractOriginV)(o, points, count);
}
bool FoldToRadiansLanes(PROJPOINT* points, int count) {
    return HWY_DYNAMIC_DISPATCH(passes::FoldToRadiansV)(points, count);
}
bool ToDegreesFoldedLanes(PROJPOINT* points, int count) {
    return HWY_DYNAMIC_DISPATCH(passes::ToDegreesFoldedV)(points, count);
}

} // namespace KVProj
#endif
