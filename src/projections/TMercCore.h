// Transverse Mercator formulas shared by the general transverse Mercator module
// and the UTM module. Sphere: Snyder 8-1 to 8-7; ellipsoid: the series of
// Snyder 8-9, 8-10 (forward) and 8-12 to 8-19 (inverse), sixth order in the
// longitude difference, no iteration either way.
//
// The two modules differ only in two guards, chosen by `Flavor`: UTM fails a
// point whose 1 - e^2 sin^2 phi is negative going forward, and only the general
// module refuses k0 == 0 going inverse (UTM's k0 always comes from the engine's
// default of 0.9996).
#ifndef KVPROJ_PROJECTIONS_TMERCCORE_H
#define KVPROJ_PROJECTIONS_TMERCCORE_H

#include "projections/Figure.h"
#include "projections/Series.h"
#include "frame/Angles.h"
#include "projections/ProjModule.h"
#include "projections/VectorPath.h"

#include <algorithm>
#include <cmath>

namespace KVProj {
namespace tmerc {

enum class Flavor { General, UTM };

// Snyder's symbols: lam0, phi0 the origin, k0 the central scale, a the
// semi-major axis (R on the sphere), e2 = e^2, ep2 = e'^2, M the meridional arc,
// N and R the radii of curvature, T = tan^2 phi, C = e'^2 cos^2 phi, A = (lam -
// lam0) cos phi, D = x / (N1 k0).
struct Constants {
    double lam0, phi0, k0;
    double a;             // R on the sphere, semi-major axis on the ellipsoid
    double ak0;           // R k0 (sphere)
    double e2;            // e^2
    double ep2;           // second eccentricity squared, e^2 / (1 - e^2)
    double invOneMinusE2; // 1 / (1 - e^2)
    double invAk0;        // 1 / (a k0)
    double invK0;         // 1 / k0
    double m0;            // M(phi0)
    MeridianArc arc;
    Footpoint foot;
    bool sphere;

    Constants(const PROJDATA* d, const Figure& fig)
        : lam0(d->Lon0), phi0(d->Lat0), k0(d->K0), a(fig.a), ak0(fig.a * d->K0), e2(0.0), ep2(0.0),
          invOneMinusE2(1.0), invAk0(1.0 / (fig.a * d->K0)), invK0(1.0 / d->K0), m0(0.0),
          sphere(fig.sphere) {
        if (sphere) return;
        const double e = fig.e;
        e2 = fig.e2;
        ep2 = e2 / (1.0 - e2);
        invOneMinusE2 = 1.0 / (1.0 - e2);
        arc = MeridianArc(a, e);
        foot = Footpoint(e);
        m0 = arc.At(phi0);
    }
};

// ---------------------------------------------------------------- sphere

inline bool SphereForward(const Constants& tm, PROJPOINT& p) {
    const double phi = p.y, dlam = p.x - tm.lam0;
    const double b = std::cos(phi) * std::sin(dlam);
    if (b == 1.0) return false; // b == -1 gives -inf, screened by the engine
    const double x = 0.5 * tm.ak0 * std::log((1.0 + b) / (1.0 - b));
    double y;
    if (std::fabs(phi) == kHalfPi || std::fabs(dlam) == kHalfPi) {
        y = tm.ak0 * ((phi >= 0.0 ? kHalfPi : -kHalfPi) - tm.phi0);
    } else {
        const double cd = std::cos(dlam);
        if (cd == 0.0) return false;
        // Single-argument arctangent on purpose: the domain (+-45 degrees of
        // the central meridian) never needs the quadrant correction.
        y = tm.ak0 * (std::atan(std::tan(phi) / cd) - tm.phi0);
    }
    p.x = x;
    p.y = y;
    return true;
}

inline bool SphereInverse(const Constants& tm, PROJPOINT& p) {
    if (tm.ak0 == 0.0) return false;
    const double d = p.y / tm.ak0 + tm.phi0;
    const double xr = p.x / tm.ak0;
    const double s = std::clamp(std::sin(d) / std::cosh(xr), -1.0, 1.0);
    const double cd = std::cos(d);
    if (cd == 0.0) return false;
    p.y = std::asin(s);
    p.x = tm.lam0 + std::atan(std::sinh(xr) / cd);
    return true;
}

// ---------------------------------------------------------------- ellipsoid

// The series' integer divisors as reciprocals: multiplications in the loop.
constexpr double k1_6 = 1.0 / 6.0, k1_24 = 1.0 / 24.0, k1_120 = 1.0 / 120.0, k1_720 = 1.0 / 720.0;

template <Flavor F> inline bool EllipsoidForward(const Constants& tm, PROJPOINT& p) {
    const double phi = p.y;
    if (std::fabs(phi) == kHalfPi) { // the series has tan phi; the pole lies on the meridian
        p.y = (tm.arc.At(phi) - tm.m0) * tm.k0;
        p.x = 0.0;
        return true;
    }
    const double s = std::sin(phi), c = std::cos(phi);
    const double w = 1.0 - tm.e2 * s * s;
    if (F == Flavor::UTM && w < 0.0) return false;
    const double n = tm.a / std::sqrt(w);
    const double tanPhi = s / c; // c != 0: the poles were handled above
    const double t = tanPhi * tanPhi, cc = tm.ep2 * c * c;
    const double A = (p.x - tm.lam0) * c, A2 = A * A;
    const double m = tm.arc.At(phi, s, c);
    // Snyder 8-9
    const double x =
        tm.k0 * n *
        (A * (1.0 + A2 * ((1.0 - t + cc) * k1_6 +
                          A2 * (5.0 - 18.0 * t + t * t + 72.0 * cc - 58.0 * tm.ep2) * k1_120)));
    // Snyder 8-10
    const double y =
        tm.k0 *
        (m - tm.m0 +
         n * tanPhi *
             (A2 * (0.5 +
                    A2 * ((5.0 - t + 9.0 * cc + 4.0 * cc * cc) * k1_24 +
                          A2 * (61.0 - 58.0 * t + t * t + 600.0 * cc - 330.0 * tm.ep2) * k1_720))));
    p.x = x;
    p.y = y;
    return true;
}

template <Flavor F> inline bool EllipsoidInverse(const Constants& tm, PROJPOINT& p) {
    if (F == Flavor::General && tm.k0 == 0.0) return false;
    const double m = tm.m0 + p.y * tm.invK0; // Snyder 8-20
    double s1, c1;
    const double phi1 = tm.foot.Phi(tm.arc.Mu(m), &s1, &c1); // Snyder 7-19, 3-26
    const double w = 1.0 - tm.e2 * s1 * s1;
    if (w < 0.0) return false;
    const double sw = std::sqrt(w);
    if (sw == 0.0) return false;
    // Two reciprocals carry every quotient of the step below.
    const double invSw = 1.0 / sw, invC1 = 1.0 / c1;
    const double n1 = tm.a * invSw;                                   // Snyder 8-23
    const double r1 = tm.a * (1.0 - tm.e2) * (invSw * invSw * invSw); // Snyder 8-24
    if (n1 * tm.k0 == 0.0 || r1 == 0.0) return false;
    const double tan1 = s1 * invC1;
    const double cc = tm.ep2 * c1 * c1, t = tan1 * tan1; // Snyder 8-21, 8-22
    const double d = p.x * sw * tm.invAk0, d2 = d * d;   // Snyder 8-25: x / (N1 k0)
    // Snyder 8-17; N1 tan(phi1) / R1 = tan(phi1) W / (1 - e^2)
    const double phi =
        phi1 -
        (tan1 * w * tm.invOneMinusE2) *
            (d2 * (0.5 - d2 * ((5.0 + 3.0 * t + 10.0 * cc - 4.0 * cc * cc - 9.0 * tm.ep2) * k1_24 -
                               d2 *
                                   (61.0 + 90.0 * t + 298.0 * cc + 45.0 * t * t - 252.0 * tm.ep2 -
                                    3.0 * cc * cc) *
                                   k1_720)));
    // Snyder 8-18
    const double lam =
        tm.lam0 +
        d *
            (1.0 -
             d2 * ((1.0 + 2.0 * t + cc) * k1_6 -
                   d2 * (5.0 - 2.0 * cc + 28.0 * t - 3.0 * cc * cc + 8.0 * tm.ep2 + 24.0 * t * t) *
                       k1_120)) *
            invC1;
    p.x = lam;
    p.y = phi;
    return true;
}

// ---------------------------------------------------------------- loops

// The ellipsoidal loops a vector of points at a time (TMercLanes.cpp): the
// same results to an ulp or two; a point the functions above treat specially
// goes through them.
void EllipsoidForwardLanes(const Constants& tm, Flavor f, PROJPOINT* points, int count);
void EllipsoidInverseLanes(const Constants& tm, Flavor f, PROJPOINT* points, int count);

template <Flavor F> inline void Forward(const Constants& tm, PROJPOINT* points, int count) {
    if (tm.sphere)
        ForEachPoint(points, count, [&tm](PROJPOINT& p) { return SphereForward(tm, p); });
    else if (VectorLoopFor(count))
        EllipsoidForwardLanes(tm, F, points, count);
    else
        ForEachPoint(points, count, [&tm](PROJPOINT& p) { return EllipsoidForward<F>(tm, p); });
}

template <Flavor F> inline void Inverse(const Constants& tm, PROJPOINT* points, int count) {
    if (tm.sphere)
        ForEachPoint(points, count, [&tm](PROJPOINT& p) { return SphereInverse(tm, p); });
    else if (VectorLoopFor(count) && !(F == Flavor::General && tm.k0 == 0.0))
        EllipsoidInverseLanes(tm, F, points, count);
    else
        ForEachPoint(points, count, [&tm](PROJPOINT& p) { return EllipsoidInverse<F>(tm, p); });
}

template <Flavor F> inline void Forward(const PROJDATA* data, PROJPOINT* points, int count) {
    Forward<F>(Constants(data, Figure(data)), points, count);
}

template <Flavor F> inline void Inverse(const PROJDATA* data, PROJPOINT* points, int count) {
    Inverse<F>(Constants(data, Figure(data)), points, count);
}

// The converters on constants a handle prepared (ProjModule.h).
bool Prepare(const PROJDATA* work, ModuleConstants* out);
template <Flavor F> void PreparedForward(const ModuleConstants& k, PROJPOINT* points, int count) {
    Forward<F>(*reinterpret_cast<const Constants*>(k.bytes), points, count);
}
template <Flavor F> void PreparedInverse(const ModuleConstants& k, PROJPOINT* points, int count) {
    Inverse<F>(*reinterpret_cast<const Constants*>(k.bytes), points, count);
}

} // namespace tmerc
} // namespace KVProj

#endif
