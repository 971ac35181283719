// The forward hot path of the polynomial family: points evaluated a vector at a
// time (each lane one point, x and y deinterleaved on load), compiled for every
// instruction set Highway knows and chosen at run time. A last partial vector
// goes through a padded copy, so every point gets the same arithmetic.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "georef/gSimd.cpp"
#include <hwy/foreach_target.h> // IWYU pragma: keep

#include <hwy/highway.h>

#include "georef/kvGeoRef.h"

#include <cstring>

HWY_BEFORE_NAMESPACE();
namespace KVProj {
namespace HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

using D = hn::ScalableTag<double>;
using V = hn::Vec<D>;

// The terms of FillTerms (gOrder3.cpp), lane by lane.
template <int M, bool SquareFourth> void TermsV(V u, V v, V* t) {
    const V uu = hn::Mul(u, u), uv = hn::Mul(u, v), vv = hn::Mul(v, v);
    t[1] = u;
    t[2] = v;
    if (M > 3) t[3] = SquareFourth ? uu : uv;
    if (M > 4) {
        t[4] = uv;
        t[5] = vv;
    }
    if (M > 6) {
        t[6] = hn::Mul(uu, u);
        t[7] = hn::Mul(uu, v);
        t[8] = hn::Mul(u, vv);
        t[9] = hn::Mul(vv, v);
    }
}

template <int M, bool SquareFourth>
void Lanes(const PolyKernel& k, double* HWY_RESTRICT xy, size_t vectors) {
    const D d;
    const size_t n = hn::Lanes(d);
    V cx[M], cy[M];
    for (int j = 0; j < M; ++j) {
        cx[j] = hn::Set(d, k.cx[j]);
        cy[j] = hn::Set(d, k.cy[j]);
    }
    const V x0 = hn::Set(d, k.x0), y0 = hn::Set(d, k.y0), inv = hn::Set(d, k.invScale);
    const V dx0 = hn::Set(d, k.dx0), dy0 = hn::Set(d, k.dy0);
    const V marker = hn::Set(d, KVPROJ_UNPLOTTABLE);
    for (size_t i = 0; i < vectors; ++i, xy += 2 * n) {
        V x, y;
        hn::LoadInterleaved2(d, xy, x, y);
        V t[M];
        TermsV<M, SquareFourth>(hn::Mul(hn::Sub(x, x0), inv), hn::Mul(hn::Sub(y, y0), inv), t);
        V sx = cx[0], sy = cy[0];
        for (int j = 1; j < M; ++j) {
            sx = hn::MulAdd(cx[j], t[j], sx);
            sy = hn::MulAdd(cy[j], t[j], sy);
        }
        // Unplottable points pass through.
        const auto keep = hn::Or(hn::Eq(x, marker), hn::Eq(y, marker));
        x = hn::IfThenElse(keep, x, hn::Add(sx, dx0));
        y = hn::IfThenElse(keep, y, hn::Add(sy, dy0));
        hn::StoreInterleaved2(x, y, d, xy);
    }
}

template <int M, bool SquareFourth>
void Evaluate(const PolyKernel& k, GEOREFPOINT* pts, size_t count) {
    const size_t n = hn::Lanes(hn::ScalableTag<double>());
    const size_t whole = count / n;
    double* xy = reinterpret_cast<double*>(pts);
    Lanes<M, SquareFourth>(k, xy, whole);
    const size_t rest = count - whole * n;
    if (!rest) return;
    constexpr size_t kMaxLanes = HWY_MAX_BYTES / sizeof(double);
    HWY_ALIGN double pad[2 * kMaxLanes] = {};
    std::memcpy(pad, xy + 2 * whole * n, rest * 2 * sizeof(double));
    Lanes<M, SquareFourth>(k, pad, 1);
    std::memcpy(xy + 2 * whole * n, pad, rest * 2 * sizeof(double));
}

void EvaluatePolyKernel(const PolyKernel& k, GEOREFPOINT* pts, size_t count) {
    switch (k.terms) {
    case 3:
        return Evaluate<3, true>(k, pts, count);
    case 4:
        return Evaluate<4, false>(k, pts, count);
    case 6:
        return Evaluate<6, true>(k, pts, count);
    default:
        return Evaluate<10, true>(k, pts, count);
    }
}

} // namespace HWY_NAMESPACE
} // namespace KVProj
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace KVProj {

HWY_EXPORT(EvaluatePolyKernel);

void ForwardPolyKernel(const PolyKernel& k, GEOREFPOINT* pts, size_t count) {
    HWY_DYNAMIC_DISPATCH(EvaluatePolyKernel)(k, pts, count);
}

} // namespace KVProj
#endif
