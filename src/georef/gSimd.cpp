// The forward hot path of the polynomial family: points evaluated a vector at a
// time as they lie in memory (x and y alternating in the lanes), compiled for
// every instruction set Highway knows and chosen at run time. A last partial
// vector goes through a padded copy, so every point gets the same arithmetic.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "georef/gSimd.cpp"
#include <hwy/foreach_target.h> // IWYU pragma: keep

#include <hwy/highway.h>

#include "georef/kvGeoRef.h"

#include <cfloat>
#include <cmath>
#include <cstring>

HWY_BEFORE_NAMESPACE();
namespace KVProj {
namespace HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

using D = hn::ScalableTag<double>;
using V = hn::Vec<D>;

// The polynomial of FillTerms (gOrder3.cpp) with coefficients c, nested in u
// and v (Horner's scheme in two variables): 9 fused multiply-adds at third
// order instead of 9 products and 9 multiply-adds over the terms.
template <int M, bool SquareFourth> V PolyV(const V* c, V u, V v) {
    if (M == 3) return hn::MulAdd(c[2], v, hn::MulAdd(c[1], u, c[0]));
    static_assert(M != 4 || !SquareFourth, "the bilinear fit's fourth term is uv");
    if (M == 4) // c0 + c1 u + c2 v + c3 uv
        return hn::MulAdd(u, hn::MulAdd(c[3], v, c[1]), hn::MulAdd(c[2], v, c[0]));
    const V inV =
        M > 6 ? hn::MulAdd(v, hn::MulAdd(v, c[9], c[5]), c[2]) : hn::MulAdd(v, c[5], c[2]);
    const V pureV = hn::MulAdd(v, inV, c[0]); // c0 + c2 v + c5 v^2 (+ c9 v^3)
    const V inU = M > 6 ? hn::MulAdd(u, c[6], hn::MulAdd(v, c[7], c[3])) : c[3];
    const V linV =
        M > 6 ? hn::MulAdd(v, hn::MulAdd(v, c[8], c[4]), c[1]) : hn::MulAdd(v, c[4], c[1]);
    return hn::MulAdd(u, hn::MulAdd(u, inU, linV), pureV);
}

// The coefficients times invScale to the degree of their term, so that the
// polynomial takes x - x0 and y - y0 as they are. invScale is a power of two,
// so each product is exact and so is every result, unless a product leaves the
// normal range: then false, and the points are scaled one by one.
template <int M> bool Folded(const PolyKernel& k, double* cx, double* cy) {
    const double inv = k.invScale;
    for (int j = 0; j < M; ++j) {
        const int degree = j == 0 ? 0 : j < 3 ? 1 : j < 6 ? 2 : 3;
        double f = 1.0;
        for (int e = 0; e < degree; ++e)
            f *= inv;
        cx[j] = k.cx[j] * f, cy[j] = k.cy[j] * f;
        for (double c : {cx[j], cy[j]})
            if (!std::isfinite(c) || (c != 0.0 && std::fabs(c) < DBL_MIN)) return false;
    }
    return true;
}

#if HWY_TARGET == HWY_SCALAR
// One point per vector: x and y in two vectors.
template <int M, bool SquareFourth, bool Scaled>
void Kernel(const PolyKernel& k, const double* coeffX, const double* coeffY,
            double* HWY_RESTRICT xy, size_t vectors) {
    const D d;
    const size_t n = hn::Lanes(d);
    V cx[M], cy[M];
    for (int j = 0; j < M; ++j) {
        cx[j] = hn::Set(d, coeffX[j]);
        cy[j] = hn::Set(d, coeffY[j]);
    }
    const V x0 = hn::Set(d, k.x0), y0 = hn::Set(d, k.y0), inv = hn::Set(d, k.invScale);
    const V dx0 = hn::Set(d, k.dx0), dy0 = hn::Set(d, k.dy0);
    const V marker = hn::Set(d, KVPROJ_UNPLOTTABLE);
    for (size_t i = 0; i < vectors; ++i, xy += 2 * n) {
        V x, y;
        hn::LoadInterleaved2(d, xy, x, y);
        V u = hn::Sub(x, x0), v = hn::Sub(y, y0);
        if (Scaled) u = hn::Mul(u, inv), v = hn::Mul(v, inv);
        const V sx = PolyV<M, SquareFourth>(cx, u, v), sy = PolyV<M, SquareFourth>(cy, u, v);
        // Unplottable points pass through (rare: blended only where present).
        const auto keep = hn::Or(hn::Eq(x, marker), hn::Eq(y, marker));
        V ox = hn::Add(sx, dx0), oy = hn::Add(sy, dy0);
        if (HWY_UNLIKELY(!hn::AllFalse(d, keep))) {
            ox = hn::IfThenElse(keep, x, ox);
            oy = hn::IfThenElse(keep, y, oy);
        }
        hn::StoreInterleaved2(ox, oy, d, xy);
    }
}

#else
// The polynomial on the points as they lie, x and y alternating in the
// lanes: each lane's u and v by in-lane duplication and the coefficients of x
// and y alternating alike, so that no lane crosses to another point.
template <int M, bool SquareFourth, bool Scaled>
void Kernel(const PolyKernel& k, const double* coeffX, const double* coeffY,
            double* HWY_RESTRICT xy, size_t vectors) {
    const D d;
    const size_t n = hn::Lanes(d);
    const auto Pair = [d](double forX, double forY) {
        return hn::InterleaveLower(d, hn::Set(d, forX), hn::Set(d, forY));
    };
    V c[M];
    for (int j = 0; j < M; ++j)
        c[j] = Pair(coeffX[j], coeffY[j]);
    const V origin = Pair(k.x0, k.y0), shift = Pair(k.dx0, k.dy0), inv = hn::Set(d, k.invScale);
    const V marker = hn::Set(d, KVPROJ_UNPLOTTABLE);
    for (size_t i = 0; i < 2 * vectors; ++i, xy += n) {
        const V p = hn::LoadU(d, xy);
        V w = hn::Sub(p, origin);
        if (Scaled) w = hn::Mul(w, inv);
        const V out = hn::Add(PolyV<M, SquareFourth>(c, hn::DupEven(w), hn::DupOdd(w)), shift);
        const auto odd = hn::Eq(p, marker);
        if (HWY_UNLIKELY(!hn::AllFalse(d, odd))) {
            // A point with either member unplottable passes through whole.
            const V m = hn::VecFromMask(d, odd);
            const V both = hn::Or(hn::DupEven(m), hn::DupOdd(m));
            hn::StoreU(hn::IfThenElse(hn::MaskFromVec(both), p, out), d, xy);
            continue;
        }
        hn::StoreU(out, d, xy);
    }
}
#endif

// The whole vectors in place, then the last partial one through a padded copy.
template <int M, bool SquareFourth, bool Scaled>
void Evaluate(const PolyKernel& k, const double* cx, const double* cy, GEOREFPOINT* pts,
              size_t count) {
    const size_t n = hn::Lanes(hn::ScalableTag<double>());
    const size_t whole = count / n;
    double* xy = reinterpret_cast<double*>(pts);
    Kernel<M, SquareFourth, Scaled>(k, cx, cy, xy, whole);
    const size_t rest = count - whole * n;
    if (!rest) return;
    constexpr size_t kMaxLanes = HWY_MAX_BYTES / sizeof(double);
    HWY_ALIGN double pad[2 * kMaxLanes] = {};
    std::memcpy(pad, xy + 2 * whole * n, rest * 2 * sizeof(double));
    Kernel<M, SquareFourth, Scaled>(k, cx, cy, pad, 1);
    std::memcpy(xy + 2 * whole * n, pad, rest * 2 * sizeof(double));
}

template <int M, bool SquareFourth>
void Evaluate(const PolyKernel& k, GEOREFPOINT* pts, size_t count) {
    double cx[M], cy[M];
    if (Folded<M>(k, cx, cy))
        Evaluate<M, SquareFourth, false>(k, cx, cy, pts, count);
    else
        Evaluate<M, SquareFourth, true>(k, k.cx, k.cy, pts, count);
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
