// The ellipsoidal transverse Mercator loops a vector of points at a time:
// the series of TMercCore.h written lane-wise in the same order of operations
// (this source is compiled without contraction into fused multiply-adds),
// compiled for every instruction set Highway knows and chosen at run time.
// Forward, sin phi and cos phi are the C library's to the bit
// (LibrarySinCos of LaneMath-inl.h), so the results are the per-point
// function's bits; inverse, the sine and cosine of the rectifying latitude
// come from the kernel of LaneMath-inl.h (about an ulp). Lanes the per-point
// functions treat specially (a pole, a failed guard, a marker, a footpoint
// correction too large for its short series) send their vector through those
// functions.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "projections/TMercLanes.cpp"
#include <hwy/foreach_target.h> // IWYU pragma: keep

#include <hwy/highway.h>

#include "projections/LaneLoop-inl.h"
#include "projections/LaneMath-inl.h"
#include "projections/TMercCore.h"

HWY_BEFORE_NAMESPACE();
namespace KVProj {
namespace tmerc {
namespace HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;
using KVProj::HWY_NAMESPACE::lanes::D;
using KVProj::HWY_NAMESPACE::lanes::kTrigLimit;
using KVProj::HWY_NAMESPACE::lanes::M;
using KVProj::HWY_NAMESPACE::lanes::SinCos;
using KVProj::HWY_NAMESPACE::lanes::V;

// sin 2x, sin 4x, sin 6x (and cos 2x, cos 4x) as SinesOfMultiples forms them.
template <class V> struct SinMultiplesV {
    V s2, c2, s4, c4, s6;
};
template <class D, class V = hn::Vec<D>, class M = hn::Mask<D>>
HWY_INLINE SinMultiplesV<V> Multiples(D d, V s, V c) {
    SinMultiplesV<V> m;
    m.s2 = hn::Set(d, 2.0) * s * c;
    m.c2 = (c - s) * (c + s);
    m.s4 = hn::Set(d, 2.0) * m.s2 * m.c2;
    m.c4 = (m.c2 - m.s2) * (m.c2 + m.s2);
    m.s6 = m.s4 * m.c2 + m.c4 * m.s2;
    return m;
}

// Lanes with a result that is not finite or beyond a full turn either way.
template <class D, class V = hn::Vec<D>, class M = hn::Mask<D>>
HWY_INLINE M OutsideTurn(D d, V x, V y) {
    const V turn = hn::Set(d, kTwoPi);
    return hn::Not(hn::And(hn::Le(hn::Abs(x), turn), hn::Le(hn::Abs(y), turn)));
}

// Snyder 8-9 and 8-10 on every lane, s and c the C library's sin phi and
// cos phi; the special lanes are returned.
template <Flavor F, class D, class V = hn::Vec<D>, class M = hn::Mask<D>>
HWY_INLINE M ForwardKernel(D d, const Constants& tm, V& x, V& y, V s, V c) {
    const V phi = y, one = hn::Set(d, 1.0);
    const V w = one - hn::Set(d, tm.e2) * s * s;
    // Beyond 45 degrees of the central meridian (outside the module's domain)
    // the series grow fast enough to pass small differences on: per point.
    const V dlam = x - hn::Set(d, tm.lam0);
    M special = hn::Not(hn::Lt(hn::Abs(phi), hn::Set(d, kHalfPi))); // the poles and beyond
    special = hn::Or(special, hn::Gt(hn::Abs(dlam), hn::Set(d, kQuarterPi)));
    if (F == Flavor::UTM) special = hn::Or(special, hn::Lt(w, hn::Zero(d)));
    const V n = hn::Set(d, tm.a) / hn::Sqrt(w);
    const V tanPhi = s / c;
    const V ep2 = hn::Set(d, tm.ep2);
    const V t = tanPhi * tanPhi, cc = ep2 * c * c;
    const V A = dlam * c, A2 = A * A;
    const auto mm = Multiples(d, s, c);
    const MeridianArc& arc = tm.arc;
    const V m = hn::Set(d, arc.a) * (hn::Set(d, arc.c0) * phi - hn::Set(d, arc.c2) * mm.s2 +
                                     hn::Set(d, arc.c4) * mm.s4 - hn::Set(d, arc.c6) * mm.s6);
    const V k0 = hn::Set(d, tm.k0);
    const V poly5 = hn::Set(d, 5.0) - hn::Set(d, 18.0) * t + t * t + hn::Set(d, 72.0) * cc -
                    hn::Set(d, 58.0) * ep2;
    x = k0 * n *
        (A * (one + A2 * ((one - t + cc) * hn::Set(d, k1_6) + A2 * poly5 * hn::Set(d, k1_120))));
    const V poly4 = hn::Set(d, 5.0) - t + hn::Set(d, 9.0) * cc + hn::Set(d, 4.0) * cc * cc;
    const V poly6 = hn::Set(d, 61.0) - hn::Set(d, 58.0) * t + t * t + hn::Set(d, 600.0) * cc -
                    hn::Set(d, 330.0) * ep2;
    y = k0 * (m - hn::Set(d, tm.m0) +
              n * tanPhi *
                  (A2 * (hn::Set(d, 0.5) +
                         A2 * (poly4 * hn::Set(d, k1_24) + A2 * poly6 * hn::Set(d, k1_720)))));
    return hn::Or(special, hn::Not(hn::And(hn::IsFinite(x), hn::IsFinite(y))));
}

// The footpoint latitude (Snyder 3-26) with its sine and cosine by the
// addition theorem, as Footpoint::Phi does; lanes whose correction is not
// below 0.01 rad are special.
template <class D, class V = hn::Vec<D>, class M = hn::Mask<D>>
HWY_INLINE V FootpointV(D d, const Footpoint& fp, V mu, V* s1, V* c1, M* special) {
    const V one = hn::Set(d, 1.0);
    V sm, cm;
    SinCos(d, mu, &sm, &cm);
    const auto m = Multiples(d, sm, cm);
    const V s8 = hn::Set(d, 2.0) * m.s4 * m.c4;
    const V delta = hn::Set(d, fp.d2) * m.s2 + hn::Set(d, fp.d4) * m.s4 + hn::Set(d, fp.d6) * m.s6 +
                    hn::Set(d, fp.d8) * s8;
    *special = hn::Or(*special, hn::Not(hn::Lt(hn::Abs(delta), hn::Set(d, 0.01))));
    const V q = delta * delta;
    const V sd =
        delta * (one - q * hn::Set(d, 1.0 / 6) *
                           (one - q * hn::Set(d, 1.0 / 20) * (one - q * hn::Set(d, 1.0 / 42))));
    const V cd = one - q * hn::Set(d, 0.5) *
                           (one - q * hn::Set(d, 1.0 / 12) * (one - q * hn::Set(d, 1.0 / 30)));
    *s1 = sm * cd + cm * sd;
    *c1 = cm * cd - sm * sd;
    return mu + delta;
}

// Snyder 8-17 and 8-18 on every lane; the special lanes are returned.
template <class D, class V = hn::Vec<D>, class M = hn::Mask<D>>
HWY_INLINE M InverseKernel(D d, const Constants& tm, V& x, V& y) {
    const V one = hn::Set(d, 1.0), zero = hn::Zero(d);
    const V mu = (hn::Set(d, tm.m0) + y * hn::Set(d, tm.invK0)) * hn::Set(d, tm.arc.invAc0);
    M special = hn::Gt(hn::Abs(mu), hn::Set(d, kTrigLimit));
    V s1, c1;
    const V phi1 = FootpointV(d, tm.foot, mu, &s1, &c1, &special);
    const V w = one - hn::Set(d, tm.e2) * s1 * s1;
    const V sw = hn::Sqrt(w);
    const V invSw = one / sw, invC1 = one / c1;
    const V n1 = hn::Set(d, tm.a) * invSw;
    const V r1 = hn::Set(d, tm.a * (1.0 - tm.e2)) * (invSw * invSw * invSw);
    special = hn::Or(special, hn::Or(hn::Lt(w, zero), hn::Eq(sw, zero)));
    special = hn::Or(special, hn::Or(hn::Eq(n1 * hn::Set(d, tm.k0), zero), hn::Eq(r1, zero)));
    const V ep2 = hn::Set(d, tm.ep2);
    const V tan1 = s1 * invC1;
    const V cc = ep2 * c1 * c1, t = tan1 * tan1;
    const V dd = x * sw * hn::Set(d, tm.invAk0), d2 = dd * dd;
    const V poly4 = hn::Set(d, 5.0) + hn::Set(d, 3.0) * t + hn::Set(d, 10.0) * cc -
                    hn::Set(d, 4.0) * cc * cc - hn::Set(d, 9.0) * ep2;
    const V poly6 = hn::Set(d, 61.0) + hn::Set(d, 90.0) * t + hn::Set(d, 298.0) * cc +
                    hn::Set(d, 45.0) * t * t - hn::Set(d, 252.0) * ep2 - hn::Set(d, 3.0) * cc * cc;
    y = phi1 - (tan1 * w * hn::Set(d, tm.invOneMinusE2)) *
                   (d2 * (hn::Set(d, 0.5) -
                          d2 * (poly4 * hn::Set(d, k1_24) - d2 * poly6 * hn::Set(d, k1_720))));
    const V lpoly3 = one + hn::Set(d, 2.0) * t + cc;
    const V lpoly5 = hn::Set(d, 5.0) - hn::Set(d, 2.0) * cc + hn::Set(d, 28.0) * t -
                     hn::Set(d, 3.0) * cc * cc + hn::Set(d, 8.0) * ep2 + hn::Set(d, 24.0) * t * t;
    x = hn::Set(d, tm.lam0) +
        dd * (one - d2 * (lpoly3 * hn::Set(d, k1_6) - d2 * lpoly5 * hn::Set(d, k1_120))) * invC1;
    // Far outside the series' reach the results grow past a turn, where the
    // engine's folding would turn an ulp of difference into degrees.
    return hn::Or(special, OutsideTurn(d, x, y));
}

template <Flavor F> void ForwardAll(const Constants& tm, PROJPOINT* points, int count) {
    KVProj::HWY_NAMESPACE::lanes::ForEachVectorWithLibraryTrig<true>(
        points, count,
        [&tm](auto d, auto& x, auto& y, auto s, auto c)
            HWY_ATTR { return ForwardKernel<F>(d, tm, x, y, s, c); },
        [&tm](PROJPOINT& p) { return EllipsoidForward<F>(tm, p); });
}

template <Flavor F> void InverseAll(const Constants& tm, PROJPOINT* points, int count) {
    KVProj::HWY_NAMESPACE::lanes::ForEachVector(
        points, count, [&tm](auto d, auto& x, auto& y) HWY_ATTR { return InverseKernel(d, tm, x, y); },
        [&tm](PROJPOINT& p) { return EllipsoidInverse<F>(tm, p); });
}

void ForwardLanes(const Constants& tm, bool utm, PROJPOINT* points, int count) {
    if (utm)
        ForwardAll<Flavor::UTM>(tm, points, count);
    else
        ForwardAll<Flavor::General>(tm, points, count);
}

void InverseLanes(const Constants& tm, bool utm, PROJPOINT* points, int count) {
    if (utm)
        InverseAll<Flavor::UTM>(tm, points, count);
    else
        InverseAll<Flavor::General>(tm, points, count);
}

} // namespace HWY_NAMESPACE
} // namespace tmerc
} // namespace KVProj
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace KVProj {
namespace tmerc {

HWY_EXPORT(ForwardLanes);
HWY_EXPORT(InverseLanes);

void EllipsoidForwardLanes(const Constants& tm, Flavor f, PROJPOINT* points, int count) {
    HWY_DYNAMIC_DISPATCH(ForwardLanes)(tm, f == Flavor::UTM, points, count);
}

void EllipsoidInverseLanes(const Constants& tm, Flavor f, PROJPOINT* points, int count) {
    HWY_DYNAMIC_DISPATCH(InverseLanes)(tm, f == Flavor::UTM, points, count);
}

} // namespace tmerc
} // namespace KVProj
#endif
