// The Mercator loops (sphere and ellipsoid) a vector of points at a time, compiled for
// every instruction set Highway knows and chosen at run time; the formulas of
// MercCore.h in the same order of operations (no contraction into fused
// multiply-adds in this source).
//
// Forward, sin phi is the C library's to the bit (LibrarySinCos): near the poles
// ln((1 + sin phi) / (1 - sin phi)) turns one ulp of sin phi into decimetres
// of northing at 89.9 degrees, so only the same bits keep the paths together;
// the logarithm is LaneMath-inl.h's (within an ulp) and atanh its series.
// Inverse, t from Highway's exponential (within an ulp), the latitude
// iteration lane by lane with the per-point loop's stopping rule, and the
// final arctangent Highway's. Lanes the per-point functions treat specially
// (beyond the largest latitude, a failed guard, a marker, t out of the
// iteration's range, an iteration that would run out) send their vector
// through those functions. On the sphere, the tangent of the forward
// direction is the quotient of the kernel's sine and cosine, and the inverse
// takes Highway's hyperbolic sine and arctangent.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "projections/MercLanes.cpp"
#include <hwy/foreach_target.h> // IWYU pragma: keep

#include <hwy/highway.h>

#include "projections/LaneLoop-inl.h"
#include "projections/LaneMath-inl.h"
#include "projections/MercCore.h"

HWY_BEFORE_NAMESPACE();
namespace KVProj {
namespace merc {
namespace HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;
namespace lanes = KVProj::HWY_NAMESPACE::lanes;
using lanes::D;
using lanes::M;
using lanes::V;

// Snyder 7-6 and 7-7 on every lane; the special lanes are returned.
template <class D, class V = hn::Vec<D>, class M = hn::Mask<D>>
HWY_INLINE M ForwardKernel(D d, const Constants& m, V& x, V& y, V s) {
    const V one = hn::Set(d, 1.0), e = hn::Set(d, m.e), a = hn::Set(d, m.a), k = hn::Set(d, m.k);
    const M inside = hn::Le(hn::Abs(y), hn::Set(d, kPhiMax)); // false for NaN
    M special = hn::Not(inside);
    const V es = e * s;
    special = hn::Or(special, hn::Or(hn::Eq(one - s, hn::Zero(d)), hn::Eq(one + es, hn::Zero(d))));
    const V q = (one + s) / (one - s);
    special = hn::Or(special, hn::Not(lanes::LogDomain(d, q)));
    x = (x - hn::Set(d, m.lam0)) * a * k;
    y = (hn::Set(d, m.a / 2.0) *
         (lanes::Log(d, q) - hn::Set(d, 2.0 * m.e) * lanes::AtanhSmall(d, es))) *
        k;
    return special;
}

// Snyder 7-10 and the iteration 7-9 on every lane; the special lanes are returned.
template <class D, class V = hn::Vec<D>, class M = hn::Mask<D>>
HWY_INLINE M InverseKernel(D d, const Constants& m, V& x, V& y) {
    const V k = hn::Set(d, m.k), a = hn::Set(d, m.a);
    const V lam = (x / k) / a + hn::Set(d, m.lam0);
    const V arg = hn::Neg(y / k) / a * hn::Set(d, kLnBase);
    // Within these bounds the exponential is a normal number either way.
    M special = hn::Not(hn::Le(hn::Abs(arg), hn::Set(d, 700.0)));
    const V t = hn::Exp(d, hn::IfThenElseZero(hn::Not(special), arg));
    y = lanes::PhiFromConformalT(d, t, m.e, &special);
    x = lam;
    return special;
}

// Snyder 7-1 and 7-2 on every lane (the tangent as the quotient of the
// kernel's sine and cosine); the special lanes are returned.
template <class D, class V = hn::Vec<D>, class M = hn::Mask<D>>
HWY_INLINE M SphereForwardKernel(D d, const Constants& m, V& x, V& y) {
    const V rk = hn::Set(d, m.rk);
    const M inside = hn::Lt(hn::Abs(y), hn::Set(d, kPhiMax)); // false for NaN
    M special = hn::Not(inside);
    V s, c;
    lanes::SinCos(d, hn::IfThenElseZero(inside, y) / hn::Set(d, 2.0) + hn::Set(d, kQuarterPi), &s,
                  &c);
    const V tanU = s / c;
    special = hn::Or(special, hn::Not(lanes::LogDomain(d, tanU)));
    x = (x - hn::Set(d, m.lam0)) * rk;
    y = lanes::Log(d, hn::IfThenElse(special, hn::Set(d, 1.0), tanU)) * rk;
    return hn::Or(special, hn::Not(hn::And(hn::IsFinite(x), hn::IsFinite(y))));
}

// Snyder 7-4 (as atan sinh) and 7-5 on every lane, Highway's hyperbolic sine
// and arctangent (a few ulp); the special lanes are returned.
template <class D, class V = hn::Vec<D>, class M = hn::Mask<D>>
HWY_INLINE M SphereInverseKernel(D d, const Constants& m, V& x, V& y) {
    const V c1 = hn::Set(d, m.c1), a = hn::Set(d, m.a);
    const V lam = x / c1 / a + hn::Set(d, m.lam0);
    const V z = y / c1 / a;
    const M special = hn::Not(hn::Le(hn::Abs(z), hn::Set(d, 700.0)));
    y = hn::Atan(d, hn::Sinh(d, hn::IfThenZeroElse(special, z)));
    x = lam;
    return hn::Or(special, hn::Not(hn::IsFinite(x)));
}

void ForwardVectors(const Constants& m, PROJPOINT* points, int count) {
    if (m.sphere)
        lanes::ForEachVector(
            points, count,
            [&m](auto d, auto& x, auto& y) HWY_ATTR { return SphereForwardKernel(d, m, x, y); },
            [&m](PROJPOINT& p) { return SphereForward(m, p); });
    else
        lanes::ForEachVectorWithSinY(
            points, count,
            [&m](auto d, auto& x, auto& y, auto s) HWY_ATTR { return ForwardKernel(d, m, x, y, s); },
            [&m](PROJPOINT& p) { return EllipsoidForward(m, p); });
}

void InverseVectors(const Constants& m, PROJPOINT* points, int count) {
    if (m.sphere)
        lanes::ForEachVector(
            points, count,
            [&m](auto d, auto& x, auto& y) HWY_ATTR { return SphereInverseKernel(d, m, x, y); },
            [&m](PROJPOINT& p) { return SphereInverse(m, p); });
    else
        lanes::ForEachVector(
            points, count, [&m](auto d, auto& x, auto& y) HWY_ATTR { return InverseKernel(d, m, x, y); },
            [&m](PROJPOINT& p) { return EllipsoidInverse(m, p); });
}

} // namespace HWY_NAMESPACE
} // namespace merc
} // namespace KVProj
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace KVProj {
namespace merc {

HWY_EXPORT(ForwardVectors);
HWY_EXPORT(InverseVectors);

bool LanesFit(const Constants& m) {
    return m.sphere || (m.ok && m.k != 0.0 && m.e <= kLaneMaxE);
}

void ForwardLanes(const Constants& m, PROJPOINT* points, int count) {
    HWY_DYNAMIC_DISPATCH(ForwardVectors)(m, points, count);
}

void InverseLanes(const Constants& m, PROJPOINT* points, int count) {
    HWY_DYNAMIC_DISPATCH(InverseVectors)(m, points, count);
}

} // namespace merc
} // namespace KVProj
#endif
