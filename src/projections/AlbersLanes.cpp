// The Albers equal-area conic loops on the ellipsoid a vector at a time,
// compiled for every instruction set Highway knows and chosen at run time; the
// formulas of AlbersCore.h in the same order of operations (no contraction
// into fused multiply-adds in this source), but for the step of the inverse
// iteration below.
//
// Forward, sin phi is the C library's to the bit (LibrarySinCos): the rounding
// of (1 - e sin phi) / (1 + e sin phi), which one ulp of sin phi flips, comes
// out of Snyder 3-12 multiplied by 1/2e and becomes several units in the last
// place of rho, so only the same quotient keeps the paths together. The
// logarithm of that quotient is LaneMath-inl.h's and the sine and cosine of
// the cone angle its kernel (each within an ulp). Inverse, the polar angle
// from Highway's arctangent, the first estimate from Highway's arcsine, and
// the iteration 3-16 lane by lane with the per-point loop's stopping rule;
// for e <= 0.1 the step takes -ln((1 - es) / (1 + es)) / 2 as the series of
// atanh(es) and one division instead of four, which moves the iterates by
// about 1e-15 radians (the latitude returned is compared to 1e-12 degrees,
// and a step within 1e-12 of the tolerance goes per point). A lane stays
// frozen once it has met the tolerance while the others go on, and the
// latitude returned is the iterate before the last step, as per point. Lanes the per-point
// functions treat specially (the guarded axis, a first estimate within the
// tolerance of the northing, a guard inside the iteration, one that would run
// out, a step within a hair of the tolerance, a marker) and iterates beyond
// 84 degrees of latitude send their vector through those functions.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "projections/AlbersLanes.cpp"
#include <hwy/foreach_target.h> // IWYU pragma: keep

#include <hwy/highway.h>

#include "projections/AlbersCore.h"
#include "projections/LaneLoop-inl.h"
#include "projections/LaneMath-inl.h"

HWY_BEFORE_NAMESPACE();
namespace KVProj {
namespace aea {
namespace HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;
namespace lanes = KVProj::HWY_NAMESPACE::lanes;
using lanes::D;
using lanes::M;
using lanes::V;

// The largest eccentricity for which (1 - e sin psi) / (1 + e sin psi) lies
// within LogNearOne's range for every sin psi in [-1, 1], and 1 + e sin psi
// and 1 - e^2 sin^2 psi are never zero.
constexpr double kNearOneMaxE = 0.17;

// Snyder 3-12 of sin psi on every lane; the lanes whose guards fire or whose
// logarithm argument lies outside Log's range are added to *special (with
// kNearOne, e <= kNearOneMaxE and |s| <= 1: none).
template <bool kNearOne, class D, class V = hn::Vec<D>, class M = hn::Mask<D>>
HWY_INLINE V Q(D d, const Cone& c, V s, M* special) {
    const V one = hn::Set(d, 1.0), es = hn::Set(d, c.e) * s;
    const V w = one - hn::Set(d, c.e2) * s * s;
    const V ratio = (one - es) / (one + es);
    V ln;
    if (kNearOne) {
        ln = lanes::LogNearOne(d, ratio);
    } else {
        *special = hn::Or(*special, hn::Or(hn::Eq(one + es, hn::Zero(d)), hn::Eq(w, hn::Zero(d))));
        *special = hn::Or(*special, hn::Not(lanes::LogDomain(d, ratio)));
        ln = lanes::Log(d, hn::IfThenElse(*special, one, ratio));
    }
    return hn::Set(d, c.oneMinusE2) * (s / w - hn::Set(d, c.halfInvE) * ln);
}

// Snyder 14-12 to 14-16 with 3-12 and 14-1, 14-2 on every lane, s the C
// library's sin y; the special lanes are returned.
template <bool kNearOne, class D, class V = hn::Vec<D>, class M = hn::Mask<D>>
HWY_INLINE M ForwardKernel(D d, const Cone& c, V& x, V& y, V s) {
    M special = hn::Not(hn::Le(hn::Abs(y), hn::Set(d, kHalfPi))); // true for NaN
    const V q = Q<kNearOne>(d, c, s, &special);
    const V rho =
        hn::Set(d, c.a) * hn::Sqrt(hn::Set(d, c.C) - hn::Set(d, c.n) * q) / hn::Set(d, c.n);
    return lanes::PlaceOnCone(d, c.n, c.lam0, c.rho0, rho, x, y, special);
}

// The smallest cos phi of an iterate taken lane-wise (84.3 degrees of
// latitude): closer to the pole the step's 1 / cos phi magnifies the last bits
// of the iterates.
constexpr double kMinCos = 0.1;
// A step whose length lies this close to the tolerance may be judged the
// other way by the per-point loop, whose iterates differ by an ulp or two.
constexpr double kStopMargin = 1e-12;

// LatitudeFromQ lane by lane: every lane takes the steps the per-point loop
// takes and stops where it stops. Lanes that need kPhiIterMaxSteps steps or
// more (which the per-point loop may count as running out) are added to
// *special, with every lane AlbersLanes.cpp's head names.
template <bool kSmallE, class D, class V = hn::Vec<D>, class M = hn::Mask<D>>
HWY_INLINE V LatitudeFromQ(D d, const Cone& c, V q, V northing, M* special) {
    const V one = hn::Set(d, 1.0), tol = hn::Set(d, kPhiIterTolerance);
    const V half = q / hn::Set(d, 2.0);
    *special = hn::Or(*special, hn::Not(hn::Lt(hn::Abs(half), one))); // the clamp's range
    V prev = northing;
    V cur = hn::Asin(d, hn::IfThenZeroElse(*special, half));
    *special =
        hn::Or(*special, hn::Not(hn::Gt(hn::Abs(cur - prev), tol + hn::Set(d, kStopMargin))));
    const V qScaled = q / hn::Set(d, c.oneMinusE2);
    M done = hn::FirstN(d, 0);
    for (int step = 1; step < kPhiIterMaxSteps; ++step) {
        M odd = hn::Not(hn::Le(hn::Abs(cur), hn::Set(d, lanes::kTrigLimit)));
        V s, co;
        lanes::SinCos(d, hn::IfThenZeroElse(odd, cur), &s, &co);
        const V w = one - hn::Set(d, c.e2) * s * s;
        const V es = hn::Set(d, c.e) * s;
        const V twoCos = hn::Set(d, 2.0) * co;
        odd = hn::Or(odd, hn::Lt(hn::Abs(co), hn::Set(d, kMinCos)));
        V next;
        if (kSmallE) {
            // -(1/2e) ln((1 - es) / (1 + es)) is atanh(es) / e; the step over
            // one division: w (w (q' - atanh(es) / e) - sin phi) / (2 cos phi).
            const V a = lanes::AtanhSmall(d, es) * hn::Set(d, 1.0 / c.e);
            next = cur + w * (w * (qScaled - a) - s) / twoCos;
        } else {
            odd = hn::Or(odd, hn::Or(hn::Eq(w, hn::Zero(d)), hn::Eq(one + es, hn::Zero(d))));
            const V ratio = (one - es) / (one + es);
            odd = hn::Or(odd, hn::Not(lanes::LogDomain(d, ratio)));
            const V ln = lanes::Log(d, hn::IfThenElse(odd, one, ratio));
            next = cur + w * w / twoCos * (qScaled - s / w + hn::Set(d, c.halfInvE) * ln);
        }
        prev = hn::IfThenElse(done, prev, cur);
        cur = hn::IfThenElse(done, cur, next);
        const V gap = hn::Abs(cur - prev);
        // A non-finite step ends the per-point loop with the previous iterate.
        odd = hn::Or(odd, hn::Not(hn::IsFinite(cur)));
        odd = hn::Or(odd, hn::Lt(hn::Abs(gap - tol), hn::Set(d, kStopMargin)));
        *special = hn::Or(*special, hn::AndNot(done, odd));
        done = hn::Or(done, hn::Le(gap, tol));
        if (hn::AllTrue(d, hn::Or(done, *special))) break;
    }
    *special = hn::Or(*special, hn::Not(done));
    return prev;
}

// Snyder 14-10, 14-11, 14-19 and the iteration 3-16 on every lane; the
// special lanes are returned.
template <bool kSmallE, class D, class V = hn::Vec<D>, class M = hn::Mask<D>>
HWY_INLINE M InverseKernel(D d, const Cone& c, V& x, V& y) {
    const V dy = hn::Set(d, c.rho0) - y;
    // The axis through the apex is refused even where atan2 has an answer.
    M special = hn::Eq(dy, hn::Zero(d));
    // y - rho0 is -(rho0 - y) to the bit.
    const V theta = c.n < 0.0 ? lanes::Atan2(d, hn::Neg(x), hn::Neg(dy), &special)
                              : lanes::Atan2(d, x, dy, &special);
    const V rho = hn::Sqrt(dy * dy + x * x);
    const V n = hn::Set(d, c.n);
    const V q = (hn::Set(d, c.C) - rho * rho * n * n / hn::Set(d, c.a * c.a)) / n;
    const V phi = LatitudeFromQ<kSmallE>(d, c, q, y, &special);
    x = theta / n + hn::Set(d, c.lam0);
    y = phi;
    return special;
}

void ForwardVectors(const Cone& c, PROJPOINT* points, int count) {
    const auto perPoint = [&c](PROJPOINT& p) { return ForwardPoint(c, p) == PointResult::Done; };
    if (c.e <= kNearOneMaxE)
        lanes::ForEachVectorWithSinY(
            points, count,
            [&c](auto d, auto& x, auto& y, auto s) HWY_ATTR { return ForwardKernel<true>(d, c, x, y, s); },
            perPoint);
    else
        lanes::ForEachVectorWithSinY(
            points, count,
            [&c](auto d, auto& x, auto& y, auto s) HWY_ATTR { return ForwardKernel<false>(d, c, x, y, s); },
            perPoint);
}

void InverseVectors(const Cone& c, PROJPOINT* points, int count) {
    const auto perPoint = [&c](PROJPOINT& p) { return InversePoint(c, p) == PointResult::Done; };
    if (c.e <= lanes::kAtanhSmallMaxX)
        lanes::ForEachVector(
            points, count,
            [&c](auto d, auto& x, auto& y) HWY_ATTR { return InverseKernel<true>(d, c, x, y); }, perPoint);
    else
        lanes::ForEachVector(
            points, count,
            [&c](auto d, auto& x, auto& y) HWY_ATTR { return InverseKernel<false>(d, c, x, y); }, perPoint);
}

} // namespace HWY_NAMESPACE
} // namespace aea
} // namespace KVProj
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace KVProj {
namespace aea {

HWY_EXPORT(ForwardVectors);
HWY_EXPORT(InverseVectors);

// The sphere stays per point. A zero n (which stops the call) never gets
// here, so the per-point functions the lanes fall back on only convert or
// fail a point.
bool LanesFit(const Cone& c) {
    return c.ok && !c.sphere && c.e > 0.0 && c.e < 1.0 && c.n != 0.0 && std::isfinite(c.n) &&
           std::isfinite(c.C) && std::isfinite(c.rho0) && c.a * c.a != 0.0;
}

void ForwardLanes(const Cone& c, PROJPOINT* points, int count) {
    HWY_DYNAMIC_DISPATCH(ForwardVectors)(c, points, count);
}

void InverseLanes(const Cone& c, PROJPOINT* points, int count) {
    HWY_DYNAMIC_DISPATCH(InverseVectors)(c, points, count);
}

} // namespace aea
} // namespace KVProj
#endif
