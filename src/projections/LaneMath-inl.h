// Vector kernels shared by the modules' lane sources, included once per
// instruction set (after hwy/highway.h, inside foreach_target's passes):
// sine and cosine, the natural logarithm, the short series of Series.h and
// the latitude iteration of ConformalLatitude.h written lane-wise. Each states
// how far it may lie from the C library's function; the series and the
// iteration perform the same operations in the same order as the per-point
// code (the lane sources are compiled without contraction into fused
// multiply-adds), so they give the same bits.
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
HWY_INLINE M PlaceOnCone(D d, double n, double lam0, double rho0, V rho, V& x, V& y, M special) {
    const V theta = hn::Set(d, n) * (x - hn::Set(d, lam0));
    special = hn::Or(special, hn::Not(hn::Le(hn::Abs(theta), hn::Set(d, kTrigLimit))));
    V st, ct;
    SinCos(d, hn::IfThenZeroElse(special, theta), &st, &ct);
    x = rho * st;
    y = hn::Set(d, rho0) - rho * ct;
    return hn::Or(special, hn::Not(hn::And(hn::IsFinite(x), hn::IsFinite(y))));
}

// The C library's sine lane by lane. Where a result magnifies the last bit of
// sin phi (1 - sin phi near the poles) only the same bits as the per-point
// code keep the paths together.
HWY_INLINE V LibrarySin(D d, V x) {
    constexpr size_t kMaxLanes = HWY_MAX_BYTES / sizeof(double);
    HWY_ALIGN double buf[kMaxLanes];
    hn::Store(x, d, buf);
    for (size_t i = 0; i < hn::Lanes(d); ++i)
        buf[i] = std::sin(buf[i]);
    return hn::Load(d, buf);
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
    const V z = s * s;
    V r = hn::Set(d, 2.0 / 21);
    for (double c :
         {2.0 / 19, 2.0 / 17, 2.0 / 15, 2.0 / 13, 2.0 / 11, 2.0 / 9, 2.0 / 7, 2.0 / 5, 2.0 / 3})
        r = r * z + hn::Set(d, c);
    r = r * z;
    const V hfsq = hn::Set(d, 0.5) * f * f;
    return k * hn::Set(d, kLn2Hi) - ((hfsq - (s * (hfsq + r) + k * hn::Set(d, kLn2Lo))) - f);
}

// Lanes Log takes: positive, normal and finite.
HWY_INLINE M LogDomain(D d, V x) {
    return hn::And(hn::Ge(x, hn::Set(d, 2.2250738585072014e-308)),
                   hn::Le(x, hn::Set(d, 1.7976931348623157e308)));
}

// ---------------------------------------------------------------- series
// AtanhSmall and ExpSmall of Series.h on arguments within their series'
// range (|x| <= 0.1, |z| <= 0.01), the same operations in the same order.
HWY_INLINE V AtanhSmall(D d, V x) {
    const V x2 = x * x, x4 = x2 * x2, x8 = x4 * x4;
    const V p01 = hn::Set(d, 1.0) + x2 * hn::Set(d, 1.0 / 3);
    const V p23 = hn::Set(d, 1.0 / 5) + x2 * hn::Set(d, 1.0 / 7);
    const V p45 = hn::Set(d, 1.0 / 9) + x2 * hn::Set(d, 1.0 / 11);
    const V p67 = hn::Set(d, 1.0 / 13) + x2 * hn::Set(d, 1.0 / 15);
    const V lo = p01 + x4 * p23, hi = p45 + x4 * p67;
    return x * (lo + x8 * (hi + x8 * hn::Set(d, 1.0 / 17)));
}

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
