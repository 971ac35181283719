// The Lambert conformal conic loops (sphere and ellipsoid) a vector at a time,
// compiled for every instruction set Highway knows and chosen at run time; the
// formulas of LambertCore.h in the same order of operations (no contraction
// into fused multiply-adds in this source).
//
// Forward, sin phi is the C library's to the bit (LibrarySinCos; rho magnifies
// its last bit tenfold at the edge of the logarithmic form), the logarithm
// LaneMath-inl.h's, the exponential Highway's (each within an ulp), and the
// sine and cosine of the cone angle the kernel of LaneMath-inl.h. Inverse,
// the polar angle from Highway's arctangent, t^(1/n) as exp(ln t / n), the
// latitude iteration lane by lane with the per-point loop's stopping rule.
// Lanes the per-point functions treat specially (beyond sin phi = 0.9 going
// forward, the apex, t out of the iteration's range, an iteration that would
// run out, a marker) send their vector through those functions.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "projections/LambertLanes.cpp"
#include <hwy/foreach_target.h> // IWYU pragma: keep

#include <hwy/highway.h>

#include "projections/LambertCore.h"
#include "projections/LaneLoop-inl.h"
#include "projections/LaneMath-inl.h"

HWY_BEFORE_NAMESPACE();
namespace KVProj {
namespace lcc {
namespace HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;
namespace lanes = KVProj::HWY_NAMESPACE::lanes;
using lanes::D;
using lanes::M;
using lanes::V;

// Snyder 15-7 and 15-9 to 15-11 with 14-1, 14-2 on every lane; the special
// lanes are returned.
template <class D, class V = hn::Vec<D>, class M = hn::Mask<D>>
HWY_INLINE M ForwardKernel(D d, const Cone& c, V& x, V& y, V s) {
    const V one = hn::Set(d, 1.0), e = hn::Set(d, c.e), n = hn::Set(d, c.n);
    const M inside = hn::Le(hn::Abs(y), hn::Set(d, kHalfPi)); // false for NaN
    M special = hn::Not(inside);
    const V es = e * s;
    special = hn::Or(special, hn::Gt(hn::Abs(s), hn::Set(d, kLogFormLimit)));
    special = hn::Or(special, hn::Eq(one + es, hn::Zero(d)));
    special = hn::Or(special, hn::Not(hn::Gt(one - hn::Set(d, c.e2) * s * s, hn::Zero(d))));
    const V q = (one - s) / (one + s);
    special = hn::Or(special, hn::Not(lanes::LogDomain(d, q)));
    const V lnT = e * lanes::AtanhSmall(d, es) + hn::Set(d, 0.5) * lanes::Log(d, q);
    const V rho = hn::Set(d, c.a * c.F) * hn::Exp(d, hn::IfThenZeroElse(special, n * lnT));
    return lanes::PlaceOnCone(d, c.n, c.lam0, c.rho0, rho, x, y, special);
}

// ConePolar on every lane (Snyder 14-10, 14-11): the longitude, and in *rho
// the radius carrying the sign of n; lanes on the apex added to *special.
template <class D, class V = hn::Vec<D>, class M = hn::Mask<D>>
HWY_INLINE V PolarLanes(D d, const Cone& c, V x, V y, V* rho, M* special) {
    const V dy = hn::Set(d, c.rho0) - y;
    *rho = hn::Sqrt(x * x + dy * dy);
    V theta;
    if (c.n < 0.0) {
        *rho = hn::Neg(*rho);
        theta = lanes::Atan2(d, hn::Neg(x), hn::Neg(dy), special);
    } else {
        theta = lanes::Atan2(d, x, dy, special);
    }
    return theta / hn::Set(d, c.n) + hn::Set(d, c.lam0);
}

// ln(r) / n on every lane; lanes outside the logarithm's range, or whose
// exponential would not be a normal number, are added to *special.
template <class D, class V = hn::Vec<D>, class M = hn::Mask<D>>
HWY_INLINE V LogOverN(D d, const Cone& c, V r, M* special) {
    *special = hn::Or(*special, hn::Not(lanes::LogDomain(d, r)));
    const V z = lanes::Log(d, hn::IfThenElse(*special, hn::Set(d, 1.0), r)) * hn::Set(d, 1.0 / c.n);
    *special = hn::Or(*special, hn::Not(hn::Le(hn::Abs(z), hn::Set(d, 700.0))));
    return z;
}

// Snyder 14-10, 14-11, 15-11 and the iteration 7-9 on every lane; the special
// lanes are returned.
template <class D, class V = hn::Vec<D>, class M = hn::Mask<D>>
HWY_INLINE M InverseKernel(D d, const Cone& c, V& x, V& y) {
    M special = hn::FirstN(d, 0);
    V rho;
    const V lam = PolarLanes(d, c, x, y, &rho, &special);
    const V z = LogOverN(d, c, rho / hn::Set(d, c.a * c.F), &special);
    const V t = hn::Exp(d, hn::IfThenZeroElse(special, z));
    y = lanes::PhiFromConformalT(d, t, c.e, &special);
    x = lam;
    return special;
}

// Snyder 15-1, 15-3 on every lane: tan(pi/4 + phi/2) as the quotient of the
// kernel's sine and cosine, its power n as exp(n ln); the special lanes are
// returned.
// The lanes stop where the ellipsoid's do, at sin phi = 0.9: beyond, toward
// the pole away from the apex, rho grows without bound and with it the last
// place of the results (per point there).
constexpr double kSphereLaneLimit = 1.1197695149986342; // asin 0.9

template <class D, class V = hn::Vec<D>, class M = hn::Mask<D>>
HWY_INLINE M SphereForwardKernel(D d, const Cone& c, V& x, V& y) {
    const M inside = hn::Le(hn::Abs(y), hn::Set(d, kSphereLaneLimit)); // false for NaN
    M special = hn::Not(inside);
    V s, co;
    lanes::SinCos(d, hn::Set(d, kQuarterPi) + hn::IfThenElseZero(inside, y) / hn::Set(d, 2.0), &s,
                  &co);
    const V tanU = s / co;
    special = hn::Or(special, hn::Not(lanes::LogDomain(d, tanU)));
    const V z = hn::Set(d, c.n) * lanes::Log(d, hn::IfThenElse(special, hn::Set(d, 1.0), tanU));
    special = hn::Or(special, hn::Not(hn::Le(hn::Abs(z), hn::Set(d, 700.0))));
    const V rho = hn::Set(d, c.a * c.F) / hn::Exp(d, hn::IfThenZeroElse(special, z));
    return lanes::PlaceOnCone(d, c.n, c.lam0, c.rho0, rho, x, y, special);
}

// Snyder 14-10, 14-11 and 15-5 on every lane, (a F / rho)^(1/n) as
// exp(ln / n); the special lanes are returned.
template <class D, class V = hn::Vec<D>, class M = hn::Mask<D>>
HWY_INLINE M SphereInverseKernel(D d, const Cone& c, V& x, V& y) {
    M special = hn::FirstN(d, 0);
    V rho;
    const V lam = PolarLanes(d, c, x, y, &rho, &special);
    const V z = LogOverN(d, c, hn::Set(d, c.a * c.F) / rho, &special);
    const V t = hn::Exp(d, hn::IfThenZeroElse(special, z));
    y = hn::Set(d, 2.0) * hn::Atan(d, t) - hn::Set(d, kHalfPi);
    x = lam;
    return special;
}

void ForwardVectors(const Cone& c, PROJPOINT* points, int count) {
    if (c.sphere)
        lanes::ForEachVector(
            points, count,
            [&c](auto d, auto& x, auto& y) HWY_ATTR { return SphereForwardKernel(d, c, x, y); },
            [&c](PROJPOINT& p) { return SphereForwardPoint(c, p); });
    else
        lanes::ForEachVectorWithSinY(
            points, count,
            [&c](auto d, auto& x, auto& y, auto s) HWY_ATTR { return ForwardKernel(d, c, x, y, s); },
            [&c](PROJPOINT& p) { return EllipsoidForwardPoint(c, p); });
}

void InverseVectors(const Cone& c, PROJPOINT* points, int count) {
    if (c.sphere)
        lanes::ForEachVector(
            points, count,
            [&c](auto d, auto& x, auto& y) HWY_ATTR { return SphereInverseKernel(d, c, x, y); },
            [&c](PROJPOINT& p) { return InversePoint(c, p); });
    else
        lanes::ForEachVector(
            points, count, [&c](auto d, auto& x, auto& y) HWY_ATTR { return InverseKernel(d, c, x, y); },
            [&c](PROJPOINT& p) { return InversePoint(c, p); });
}

} // namespace HWY_NAMESPACE
} // namespace lcc
} // namespace KVProj
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace KVProj {
namespace lcc {

HWY_EXPORT(ForwardVectors);
HWY_EXPORT(InverseVectors);

// The ellipsoid's inverse refuses a zero a F point by point; such a cone
// stays there.
bool LanesFit(const Cone& c) {
    return c.ok && (c.sphere || c.e <= kLaneMaxE) && c.a * c.F != 0.0 && std::isfinite(c.n);
}

void ForwardLanes(const Cone& c, PROJPOINT* points, int count) {
    HWY_DYNAMIC_DISPATCH(ForwardVectors)(c, points, count);
}

void InverseLanes(const Cone& c, PROJPOINT* points, int count) {
    HWY_DYNAMIC_DISPATCH(InverseVectors)(c, points, count);
}

} // namespace lcc
} // namespace KVProj
#endif
