// Vector kernels shared by the modules' lane sources, included once per
// instruction set (after hwy/highway.h, inside foreach_target's passes):
// sine and cosine, the C library's sine to the bit, the natural logarithm,
// the short series of Series.h and the latitude iteration of
// ConformalLatitude.h written lane-wise. Each states how far it may lie from
// the C library's function; the series and the iteration perform the same
// operations in the same order as the per-point code (the lane sources are
// compiled without contraction into fused multiply-adds), so they give the
// same bits. The polynomials of the sine, cosine and logarithm take their
// Horner steps as fused multiply-adds where the instruction set has them
// (one rounding instead of two, far below the last place of the result).
#if defined(KVPROJ_PROJECTIONS_LANEMATH_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef KVPROJ_PROJECTIONS_LANEMATH_INL_H_
#undef KVPROJ_PROJECTIONS_LANEMATH_INL_H_
#else
#define KVPROJ_PROJECTIONS_LANEMATH_INL_H_
#endif

#include <hwy/highway.h>

#include <hwy/contrib/math/math-inl.h>

#include "frame/Angles.h"
#include "frame/TrigSeries-inl.h"
#include "projections/LaneLoop-inl.h"
#include "projections/ConformalLatitude.h"

#include <cmath>
#include <cstdint>

HWY_BEFORE_NAMESPACE();
namespace KVProj {
namespace HWY_NAMESPACE {
namespace lanes {
namespace hn = hwy::HWY_NAMESPACE;

// D, V and M as LaneLoop-inl.h declares them.

// ---------------------------------------------------------------- sin, cos
// Sine and cosine together for |x| <= 3 pi / 4, about one ulp from the
// correctly rounded values: x = k pi/2 + r with k in -1..1 (pi/2 in two
// parts, the product by k exact), then the Taylor series of sin r to r^17
// and of cos r to r^18, whose truncation for |r| <= pi/4 is below 1e-19.
// Larger arguments are the caller's special lanes.
constexpr double kTrigLimit = 3.0 * kQuarterPi;
constexpr double kHalfPiLow = 6.123233995736766e-17; // pi/2 - kHalfPi

template <class D, class V = hn::Vec<D>, class M = hn::Mask<D>>
HWY_INLINE void SinCos(D d, V x, V* s, V* c) {
    const V k = hn::Round(x * hn::Set(d, 2.0 / kPi));
    const V r = (x - k * hn::Set(d, kHalfPi)) - k * hn::Set(d, kHalfPiLow);
    V sr, cr;
    SinCosSeries(d, r, &sr, &cr);
    // k = 1: sin = cos r, cos = -sin r; k = -1: sin = -cos r, cos = sin r.
    const M odd = hn::Ne(k, hn::Zero(d));
    const V sign = hn::IfThenElse(hn::Lt(k, hn::Zero(d)), hn::Set(d, -1.0), hn::Set(d, 1.0));
    *s = hn::IfThenElse(odd, sign * cr, sr);
    *c = hn::IfThenElse(odd, hn::Neg(sign * sr), cr);
}

// x = rho sin theta, y = rho0 - rho cos theta (Snyder 14-1, 14-2) with theta =
// n (lambda - lambda0), not wrapped, as PlaceOnCone of Figure.h; lanes whose
// theta is beyond the sine and cosine above are added to the special lanes,
// which are returned.
template <class D, class V = hn::Vec<D>, class M = hn::Mask<D>>
HWY_INLINE M PlaceOnCone(D d, double n, double lam0, double rho0, V rho, V& x, V& y, M special) {
    const V theta = hn::Set(d, n) * (x - hn::Set(d, lam0));
    special = hn::Or(special, hn::Not(hn::Le(hn::Abs(theta), hn::Set(d, kTrigLimit))));
    V st, ct;
    SinCos(d, hn::IfThenZeroElse(special, theta), &st, &ct);
    x = rho * st;
    y = hn::Set(d, rho0) - rho * ct;
    return hn::Or(special, hn::Not(hn::And(hn::IsFinite(x), hn::IsFinite(y))));
}

// ---------------------------------------------------------------- sin, cos as the library's
#if HWY_NATIVE_FMA
// sin x and cos x for |x| <= pi/2 as the C library gives them, on targets
// with fused multiply-adds. With t = x below pi/4 and t = pi/2 - x (in two
// parts) above, sin t and cos t are formed in double-double arithmetic to
// within 2^-58 (0.02 units in the last place of the result): sin t as
// t - t^3/6 (to about 2^-106) plus the rest of the Taylor series to t^17,
// cos t as 1 - t^2/2 + t^4/24 (to about 2^-106) plus the rest to t^18; each
// sum is then rounded once. Where the part rounded off exceeds kHardRounding
// of a unit in the last place (the sum lies within 0.07 units of a midpoint
// between two doubles), or the result is a power of two, the lane is marked
// hard for the library to decide. Elsewhere the exact value lies within 0.45
// units of the rounded sum, so any sine or cosine in error by less than 0.55
// units rounds to it: the C library's stay below 0.52 (at most 0.516 for the
// sine and 0.514 for the cosine on 200,000 arguments each over [0, pi/2],
// against values computed to 200 bits). About one lane in seven is hard.
constexpr double kHardRounding = 0.43;

// a * b exactly as hi + lo.
template <class V> HWY_INLINE void TwoProd(V a, V b, V* hi, V* lo) {
    *hi = a * b;
    *lo = hn::MulSub(a, b, *hi);
}

// sin(th + tl) as *sum + *corr, 0 <= th <= pi/4, |tl| <= ulp(th); tl is
// taken as 0 unless kLow.
template <bool kLow, class D, class V = hn::Vec<D>>
HWY_INLINE void SinTwoPart(D d, V th, V tl, V* sum, V* corr) {
    V zh, zl;
    TwoProd(th, th, &zh, &zl);
    V ch, cl;
    TwoProd(zh, th, &ch, &cl);
    cl = hn::MulAdd(zl, th, cl); // th^3 = ch + cl
    constexpr double kSixthHi = -1.0 / 6, kSixthLo = -9.2518585385429707e-18; // -1/6 - kSixthHi
    V t1h, t1l;
    TwoProd(ch, hn::Set(d, kSixthHi), &t1h, &t1l);
    t1l = hn::MulAdd(ch, hn::Set(d, kSixthLo), hn::MulAdd(cl, hn::Set(d, kSixthHi), t1l));
    // x^5 times the series from 1/5! (kSinTaylor without its last term).
    const V t2 = ch * zh * Horner(d, zh, kSinTaylor, 7);
    *sum = th + t1h;
    *corr = ((t1h - (*sum - th)) + t1l) + t2; // |th| >= |t1h|
    if (kLow) // tl cos th to t^4
        *corr = *corr + tl * hn::MulAdd(zh, hn::MulAdd(zh, hn::Set(d, 1.0 / 24), hn::Set(d, -0.5)),
                                        hn::Set(d, 1.0));
}

// cos(th + tl) as *sum + *corr, 0 <= th <= pi/4, |tl| <= ulp(th).
template <class D, class V = hn::Vec<D>>
HWY_INLINE void CosTwoPart(D d, V th, V tl, V* sum, V* corr) {
    V uh, ul;
    TwoProd(th, th, &uh, &ul);
    ul = hn::MulAdd(hn::Set(d, 2.0) * th, tl, ul); // t^2 = uh + ul
    V vh, vl;
    TwoProd(uh, uh, &vh, &vl);
    vl = hn::MulAdd(hn::Set(d, 2.0) * uh, ul, vl); // t^4 = vh + vl
    constexpr double k24Hi = 1.0 / 24, k24Lo = 2.3129646346357427e-18; // 1/24 - k24Hi
    V wh, wl;
    TwoProd(vh, hn::Set(d, k24Hi), &wh, &wl);
    wl = hn::MulAdd(vh, hn::Set(d, k24Lo), hn::MulAdd(vl, hn::Set(d, k24Hi), wl)); // t^4/24
    // t^6 C(t^2), C the series from -1/6! (kOneMinusCosTaylor without its
    // last two terms, negated).
    const V t3 = hn::Neg(vh * uh * Horner(d, uh, kOneMinusCosTaylor, 7));
    const V one = hn::Set(d, 1.0), halfU = hn::Set(d, 0.5) * uh;
    const V s0 = one - halfU;
    const V e0 = (one - s0) - halfU; // its rounding error: 1 >= t^2/2
    *sum = s0 + wh;
    const V e1 = wh - (*sum - s0); // |s0| >= |wh|
    *corr = ((e0 - hn::Set(d, 0.5) * ul) + e1) + (wl + t3);
}

// sum + corr rounded once; lanes whose rounding may not be the library's are
// added to *hard.
template <class D, class V = hn::Vec<D>, class M = hn::Mask<D>>
HWY_INLINE V RoundOnce(D d, V sum, V corr, M* hard) {
    const V res = sum + corr;
    const V err = corr - (res - sum); // |sum| >= |corr|: the exact part rounded off
    // The unit in the last place of res (>= 2^-969 here) from its exponent.
    const hn::RebindToUnsigned<D> du;
    const auto bits = hn::BitCast(du, res);
    const auto expBits = hn::And(bits, hn::Set(du, 0x7ff0000000000000ULL));
    const V ulp = hn::BitCast(d, expBits - hn::Set(du, uint64_t{52} << 52));
    const M power = hn::RebindMask(d, hn::Eq(expBits, bits));
    *hard = hn::Or(*hard, hn::Or(hn::Gt(hn::Abs(err), hn::Set(d, kHardRounding) * ulp), power));
    return res;
}

// pi/2 - x in two parts, for x in [pi/4, pi] (the parts of other lanes are
// not used).
template <class D, class V = hn::Vec<D>>
HWY_INLINE void Complement(D d, V ax, V* rh, V* rl) {
    const V r0 = hn::Set(d, kHalfPi) - ax; // exact for x in [pi/4, pi]
    *rh = r0 + hn::Set(d, kHalfPiLow);
    *rl = hn::Set(d, kHalfPiLow) - (*rh - r0); // |r0| >= kHalfPiLow or r0 == 0
}

// sin x; lanes for the library (and those with |x| < 1e-200) in *hard.
template <class D, class V = hn::Vec<D>, class M = hn::Mask<D>>
HWY_INLINE V SinAsLibrary(D d, V x, M* hard) {
    const V ax = hn::Abs(x);
    // sin x below pi/4, cos(pi/2 - x) above: each series on its own argument.
    V rh, rl, ss, sc, cs, cc;
    Complement(d, ax, &rh, &rl);
    SinTwoPart<false>(d, ax, rl, &ss, &sc);
    CosTwoPart(d, rh, rl, &cs, &cc);
    const M upper = hn::Gt(ax, hn::Set(d, kQuarterPi));
    *hard = hn::Lt(ax, hn::Set(d, 1e-200));
    const V res = RoundOnce(d, hn::IfThenElse(upper, cs, ss), hn::IfThenElse(upper, cc, sc), hard);
    return hn::CopySign(res, x);
}

// sin x and cos x; the lanes for the library in *hardSin and *hardCos.
template <class D, class V = hn::Vec<D>, class M = hn::Mask<D>>
HWY_INLINE void SinCosAsLibrary(D d, V x, V* s, V* c, M* hardSin, M* hardCos) {
    const V ax = hn::Abs(x);
    // t = x below pi/4 and pi/2 - x above; sin x, cos x are sin t, cos t or
    // cos t, sin t.
    V rh, rl, ss, sc, cs, cc;
    Complement(d, ax, &rh, &rl);
    const M upper = hn::Gt(ax, hn::Set(d, kQuarterPi));
    const V th = hn::IfThenElse(upper, rh, ax), tl = hn::IfThenElseZero(upper, rl);
    SinTwoPart<true>(d, th, tl, &ss, &sc);
    CosTwoPart(d, th, tl, &cs, &cc);
    *hardSin = hn::Lt(ax, hn::Set(d, 1e-200));
    *hardCos = hn::FirstN(d, 0);
    *s = hn::CopySign(
        RoundOnce(d, hn::IfThenElse(upper, cs, ss), hn::IfThenElse(upper, cc, sc), hardSin), x);
    *c = RoundOnce(d, hn::IfThenElse(upper, ss, cs), hn::IfThenElse(upper, sc, cc), hardCos);
}
#endif

// sin y (and with `cosines`, cos y) of `count` points (at most kSineRun) into
// sines[] (and cosines[]), the C library's to the bit for |y| <= pi/2, and 0
// (and 1) for the rest and for NaN (lanes every kernel makes special). The
// vector pass lists the hard lanes instead of branching on them, so that its
// chains of operations overlap from one vector to the next; the library then
// takes the listed ones.
constexpr size_t kSineRun = 256;

#if HWY_NATIVE_FMA
// The vectors of LibrarySinCos from points[*j] while `count` allows: the
// values stored, the hard lanes' indices appended to hardSin and hardCos.
template <bool kCos, class DV>
HWY_INLINE void SinCosVectors(DV d, const PROJPOINT* points, size_t count, size_t* j,
                              double* sines, double* cosines, int64_t* hardSin,
                              size_t* sinCount, int64_t* hardCos, size_t* cosCount) {
    using VV = hn::Vec<DV>;
    using MM = hn::Mask<DV>;
    const hn::RebindToSigned<DV> di;
    const size_t n = hn::Lanes(d);
    size_t i = *j, ns = *sinCount, nc = *cosCount;
    auto at = hn::Iota(di, static_cast<int64_t>(i));
    for (; i + n <= count; i += n) {
        VV x, y;
        hn::LoadInterleaved2(d, reinterpret_cast<const double*>(points + i), x, y);
        const MM inside = hn::Le(hn::Abs(y), hn::Set(d, kHalfPi)); // false for NaN
        const VV in = hn::IfThenElseZero(inside, y);
        MM hs;
        if constexpr (kCos) {
            VV sv, cv;
            MM hc;
            SinCosAsLibrary(d, in, &sv, &cv, &hs, &hc);
            hn::StoreU(sv, d, sines + i);
            hn::StoreU(cv, d, cosines + i);
            nc += hn::CompressStore(at, hn::RebindMask(di, hn::And(hc, inside)), di, hardCos + nc);
        } else {
            hn::StoreU(SinAsLibrary(d, in, &hs), d, sines + i);
        }
        ns += hn::CompressStore(at, hn::RebindMask(di, hn::And(hs, inside)), di, hardSin + ns);
        at = hn::Add(at, hn::Set(di, static_cast<int64_t>(n)));
    }
    *j = i, *sinCount = ns, *cosCount = nc;
}

template <bool kCos>
HWY_INLINE void LibrarySinCosVectors(const PROJPOINT* points, size_t count, size_t* j,
                                     double* sines, double* cosines) {
    int64_t hardSin[kSineRun + HWY_MAX_BYTES / sizeof(double)];
    int64_t hardCos[kSineRun + HWY_MAX_BYTES / sizeof(double)];
    size_t sinCount = 0, cosCount = 0;
    const D d;
    SinCosVectors<kCos>(d, points, count, j, sines, cosines, hardSin, &sinCount, hardCos,
                        &cosCount);
    // On the widest vectors a short rest takes one of half the width.
    if constexpr (hn::MaxLanes(D()) >= 8) {
        const hn::Half<D> dh;
        SinCosVectors<kCos>(dh, points, count, j, sines, cosines, hardSin, &sinCount, hardCos,
                            &cosCount);
    }
    for (size_t k = 0; k < sinCount; ++k) {
        const size_t i = static_cast<size_t>(hardSin[k]);
        sines[i] = std::sin(points[i].y);
    }
    for (size_t k = 0; k < cosCount; ++k) {
        const size_t i = static_cast<size_t>(hardCos[k]);
        cosines[i] = std::cos(points[i].y);
    }
}
#endif

HWY_INLINE void LibrarySinCos(const PROJPOINT* points, size_t count, double* sines,
                              double* cosines) {
    size_t j = 0;
#if HWY_NATIVE_FMA
    if (cosines)
        LibrarySinCosVectors<true>(points, count, &j, sines, cosines);
    else
        LibrarySinCosVectors<false>(points, count, &j, sines, cosines);
#endif
    for (; j < count; ++j) {
        const double y = points[j].y;
        const bool inside = std::fabs(y) <= kHalfPi;
        sines[j] = inside ? std::sin(y) : 0.0;
        if (cosines) cosines[j] = inside ? std::cos(y) : 1.0;
    }
}

// ForEachVector for kernels that need the C library's sin y (and with
// kCos, its cos y), whose bits alone keep the two paths together where a
// result magnifies the last bit of sin phi, or where every bit should agree:
// kernel(d, x, y, sinY) or kernel(d, x, y, sinY, cosY). The values of a run
// of points are taken by LibrarySinCos ahead of the run's vectors, which
// keeps the library's calls out of the vector code (and its registers out of
// the stack).
template <bool kCos, class Kernel, class PointFn>
void ForEachVectorWithLibraryTrig(PROJPOINT* points, int count, const Kernel& kernel,
                                  const PointFn& fn) {
    const D d;
    const size_t n = hn::Lanes(d), total = static_cast<size_t>(count);
    constexpr size_t kRun = kSineRun, kMaxLanes = HWY_MAX_BYTES / sizeof(double);
    static_assert(kRun % kMaxLanes == 0, "whole vectors in every run but the last");
    HWY_ALIGN double sines[kRun + kMaxLanes];
    HWY_ALIGN double cosines[kCos ? kRun + kMaxLanes : 1];
    for (size_t start = 0; start < total; start += kRun) {
        const size_t m = total - start < kRun ? total - start : kRun;
        LibrarySinCos(points + start, m, sines, kCos ? cosines : nullptr);
        // The lanes that pad the last partial vector repeat its first point.
        const size_t tail = m % n;
        for (size_t j = m; tail > 1 && j < m - tail + n; ++j) {
            sines[j] = sines[m - tail];
            if (kCos) cosines[j] = cosines[m - tail];
        }
        ForEachVectorAt(
            points + start, static_cast<int>(m),
            [&](auto dd, auto& x, auto& y, size_t first) HWY_ATTR {
                if constexpr (kCos)
                    return kernel(dd, x, y, hn::LoadU(dd, sines + first),
                                  hn::LoadU(dd, cosines + first));
                else
                    return kernel(dd, x, y, hn::LoadU(dd, sines + first));
            },
            fn);
    }
}

template <class Kernel, class PointFn>
void ForEachVectorWithSinY(PROJPOINT* points, int count, const Kernel& kernel,
                           const PointFn& fn) {
    ForEachVectorWithLibraryTrig<false>(points, count, kernel, fn);
}

// ---------------------------------------------------------------- log
// Natural logarithm of a positive normal x, within one ulp: x = 2^k m with
// m in [sqrt(1/2), sqrt(2)), f = m - 1, s = f / (2 + f), and
// ln(1 + f) = f - f^2/2 + s (f^2/2 + R) with R = sum 2 s^2j / (2j + 1) to
// j = 10 (truncation below 2e-18 of the result for |s| <= 0.1716); ln 2 in
// two parts so that k ln 2 adds no rounding of its own. Other arguments are
// the caller's special lanes.
constexpr double kLn2Hi = 6.93147180369123816490e-01; // trailing 32 bits zero
constexpr double kLn2Lo = 1.90821492927058770002e-10;

// ln(1 + f) from f and s = f / (2 + f), the k = 0 part of Log.
template <class D, class V = hn::Vec<D>, class M = hn::Mask<D>>
HWY_INLINE V LogOnePlus(D d, V f, V s, V* hfsqOut) {
    const V z = s * s;
    V r = hn::Set(d, 2.0 / 21);
    for (double c :
         {2.0 / 19, 2.0 / 17, 2.0 / 15, 2.0 / 13, 2.0 / 11, 2.0 / 9, 2.0 / 7, 2.0 / 5, 2.0 / 3})
        r = hn::MulAdd(r, z, hn::Set(d, c));
    r = r * z;
    const V hfsq = hn::Set(d, 0.5) * f * f;
    *hfsqOut = hfsq;
    return s * (hfsq + r);
}

template <class D, class V = hn::Vec<D>, class M = hn::Mask<D>>
HWY_INLINE V Log(D d, V x) {
    const hn::RebindToUnsigned<D> du;
    const hn::RebindToSigned<D> di;
    using VU = hn::Vec<decltype(du)>;
    // The offset moves m's range [sqrt(1/2), sqrt(2)) onto whole binades.
    constexpr uint64_t kSqrtHalfBits = 0x3fe6a09e667f3bcdULL, kOneBits = 0x3ff0000000000000ULL;
    const VU bits = hn::BitCast(du, x) + hn::Set(du, kOneBits - kSqrtHalfBits);
    const V k =
        hn::ConvertTo(d, hn::BitCast(di, hn::ShiftRight<52>(bits)) - hn::Set(di, int64_t{1023}));
    const VU mant = hn::And(bits, hn::Set(du, 0x000fffffffffffffULL)) + hn::Set(du, kSqrtHalfBits);
    const V f = hn::BitCast(d, mant) - hn::Set(d, 1.0);
    const V s = f / (hn::Set(d, 2.0) + f);
    V hfsq;
    const V t = LogOnePlus(d, f, s, &hfsq);
    return k * hn::Set(d, kLn2Hi) - ((hfsq - (t + k * hn::Set(d, kLn2Lo))) - f);
}

// Log of x in [sqrt(1/2), sqrt(2)), where m = x and k = 0: the same bits
// without the split into exponent and mantissa.
template <class D, class V = hn::Vec<D>, class M = hn::Mask<D>>
HWY_INLINE V LogNearOne(D d, V x) {
    const V f = x - hn::Set(d, 1.0); // exact on [1/2, 2]
    const V s = f / (hn::Set(d, 2.0) + f);
    V hfsq;
    const V t = LogOnePlus(d, f, s, &hfsq);
    return hn::Zero(d) * hn::Set(d, kLn2Hi) - ((hfsq - (t + hn::Zero(d) * hn::Set(d, kLn2Lo))) - f);
}

// Lanes Log takes: positive, normal and finite.
template <class D, class V = hn::Vec<D>, class M = hn::Mask<D>>
HWY_INLINE M LogDomain(D d, V x) {
    return hn::And(hn::Ge(x, hn::Set(d, 2.2250738585072014e-308)),
                   hn::Le(x, hn::Set(d, 1.7976931348623157e308)));
}

// ---------------------------------------------------------------- series
// AtanhSmall and ExpSmall of Series.h on arguments within their series'
// range (|x| <= 0.1, |z| <= 0.01), the same operations in the same order.
constexpr double kAtanhSmallMaxX = 0.1;

template <class D, class V = hn::Vec<D>, class M = hn::Mask<D>>
HWY_INLINE V AtanhSmall(D d, V x) {
    const V x2 = x * x, x4 = x2 * x2, x8 = x4 * x4;
    const V p01 = hn::Set(d, 1.0) + x2 * hn::Set(d, 1.0 / 3);
    const V p23 = hn::Set(d, 1.0 / 5) + x2 * hn::Set(d, 1.0 / 7);
    const V p45 = hn::Set(d, 1.0 / 9) + x2 * hn::Set(d, 1.0 / 11);
    const V p67 = hn::Set(d, 1.0 / 13) + x2 * hn::Set(d, 1.0 / 15);
    const V lo = p01 + x4 * p23, hi = p45 + x4 * p67;
    return x * (lo + x8 * (hi + x8 * hn::Set(d, 1.0 / 17)));
}

template <class D, class V = hn::Vec<D>, class M = hn::Mask<D>>
HWY_INLINE V ExpSmall(D d, V z) {
    const V z2 = z * z, z4 = z2 * z2;
    const V p01 = hn::Set(d, 1.0) + z, p23 = hn::Set(d, 0.5) + z * hn::Set(d, 1.0 / 6);
    const V p45 = hn::Set(d, 1.0 / 24) + z * hn::Set(d, 1.0 / 120);
    const V p67 = hn::Set(d, 1.0 / 720) + z * hn::Set(d, 1.0 / 5040);
    return (p01 + z2 * p23) + z4 * (p45 + z2 * p67);
}

// ---------------------------------------------------------------- latitude
// PhiFromConformalT lane by lane for t in [0, 1e150) and e <= kLaneMaxE:
// every lane takes the steps the per-point loop takes and stops where it
// stops; a lane stays frozen once it has met the tolerance while the others
// go on. Lanes that need kPhiIterMaxSteps steps or more (which the per-point
// loop may count as running out), or outside the range of t, are added to
// *special. The final arctangent is Highway's (at most 3 ulp).
template <class D, class V = hn::Vec<D>, class M = hn::Mask<D>>
HWY_INLINE V PhiFromConformalT(D d, V t, double e, M* special) {
    constexpr double kHalfTolTan = 5.960464477539769e-07; // as ConformalLatitude.h
    const V one = hn::Set(d, 1.0), ve = hn::Set(d, e), negE = hn::Set(d, -e);
    *special =
        hn::Or(*special, hn::Not(hn::And(hn::Ge(t, hn::Zero(d)), hn::Lt(t, hn::Set(d, 1e150)))));
    V v = t, sinPhi = (one - t * t) / (one + t * t);
    M done = hn::FirstN(d, 0);
    for (int step = 1; step < kPhiIterMaxSteps; ++step) {
        const V es = ve * sinPhi;
        const V next = t * ExpSmall(d, negE * AtanhSmall(d, es));
        const M now =
            hn::AndNot(done, hn::Le(hn::Abs(next - v), hn::Set(d, kHalfTolTan) * (one + next * v)));
        v = hn::IfThenElse(done, v, next);
        done = hn::Or(done, now);
        if (hn::AllTrue(d, hn::Or(done, *special))) break;
        sinPhi = (one - v * v) / (one + v * v);
    }
    *special = hn::Or(*special, hn::Not(done));
    return hn::Set(d, kHalfPi) - hn::Set(d, 2.0) * hn::Atan(d, hn::IfThenZeroElse(*special, v));
}

// atan2(y, x) from Highway's arctangent of a ratio within [0, 1] (a few ulp
// of the angle); lanes with x and y both zero are added to *special.
template <class D, class V = hn::Vec<D>, class M = hn::Mask<D>>
HWY_INLINE V Atan2(D d, V y, V x, M* special) {
    const V ay = hn::Abs(y), ax = hn::Abs(x);
    const V big = hn::Max(ax, ay), small = hn::Min(ax, ay);
    const M zero = hn::Eq(big, hn::Zero(d));
    *special = hn::Or(*special, zero);
    V a = hn::Atan(d, hn::IfThenZeroElse(zero, small / big));
    a = hn::IfThenElse(hn::Gt(ay, ax), hn::Set(d, kHalfPi) - a, a);
    a = hn::IfThenElse(hn::Lt(x, hn::Zero(d)), hn::Set(d, kPi) - a, a);
    return hn::CopySign(a, y);
}

} // namespace lanes
} // namespace HWY_NAMESPACE
} // namespace KVProj
HWY_AFTER_NAMESPACE();

#endif
