// Mathematics shared by the projection modules: eccentricity terms, the
// meridional arc and its footpoint inverse, the conformal-latitude function t
// and its iterative inverse. Series and constants follow Snyder, "Map
// Projections: A Working Manual" (USGS Professional Paper 1395, 1987).
//
// Per-call constants live in small structs built once from the record; the
// per-point functions take the sine and cosine the caller already has, and form
// sin 2x .. sin 8x by the double-angle identities rather than by further calls
// (the same values to a few units in the last place).
#ifndef KVPROJ_PROJECTIONS_PROJMATH_H
#define KVPROJ_PROJECTIONS_PROJMATH_H

#include "frame/Angles.h"

#include <cmath>

namespace KVProj {

// Ten single-precision epsilons: the stopping tolerance of the latitude
// iterations (about 0.25 arc seconds between successive steps).
constexpr double kPhiIterTolerance = 1.1920928955078125e-6;
constexpr int kPhiIterMaxSteps = 500;

// First eccentricity from the flattening: e^2 = 2f - f^2.
inline double Eccentricity(double f) {
    return std::sqrt(2.0 * f - f * f);
}

// sin 2x, sin 4x, sin 6x, sin 8x from sin x and cos x.
struct SinMultiples {
    double s2, s4, s6, s8;
};
inline SinMultiples SinesOfMultiples(double s, double c) {
    const double s2 = 2.0 * s * c, c2 = (c - s) * (c + s);
    const double s4 = 2.0 * s2 * c2, c4 = (c2 - s2) * (c2 + s2);
    return {s2, s4, s4 * c2 + c4 * s2, 2.0 * s4 * c4};
}

// Meridional arc M(phi), Snyder 3-21 (series to e^6); powers of e by pow().
struct MeridianArc {
    double a = 0.0;                                // semi-major axis
    double c0 = 1.0, c2 = 0.0, c4 = 0.0, c6 = 0.0; // of phi, sin 2phi, sin 4phi, sin 6phi
    double invAc0 = 0.0;                           // 1 / (a c0), for Mu

    MeridianArc() = default; // the sphere of radius 0; assign a real one before use
    MeridianArc(double a_, double e) : a(a_) {
        const double e2 = std::pow(e, 2), e4 = std::pow(e, 4), e6 = std::pow(e, 6);
        c0 = 1.0 - e2 / 4.0 - 3.0 * e4 / 64.0 - 5.0 * e6 / 256.0;
        c2 = 3.0 * e2 / 8.0 + 3.0 * e4 / 32.0 + 45.0 * e6 / 1024.0;
        c4 = 15.0 * e4 / 256.0 + 45.0 * e6 / 1024.0;
        c6 = 35.0 * e6 / 3072.0;
        invAc0 = 1.0 / (a * c0);
    }
    double At(double phi, double sinPhi, double cosPhi) const {
        const SinMultiples m = SinesOfMultiples(sinPhi, cosPhi);
        return a * (c0 * phi - c2 * m.s2 + c4 * m.s4 - c6 * m.s6);
    }
    double At(double phi) const { return At(phi, std::sin(phi), std::cos(phi)); }
    // The rectifying latitude mu of an arc length M (Snyder 7-19).
    double Mu(double m) const { return m * invAc0; }
};

// Footpoint latitude from the rectifying latitude, Snyder 3-26 with its
// e1^4 sin 8mu term; e1 = (1 - sqrt(1 - e^2)) / (1 + sqrt(1 - e^2)) (3-24).
struct Footpoint {
    double d2 = 0.0, d4 = 0.0, d6 = 0.0, d8 = 0.0;

    Footpoint() = default; // the sphere: footpoint latitude = rectifying latitude
    explicit Footpoint(double e) {
        const double r = std::sqrt(1.0 - e * e);
        const double e1 = (1.0 - r) / (1.0 + r);
        const double e1_2 = std::pow(e1, 2), e1_3 = std::pow(e1, 3), e1_4 = std::pow(e1, 4);
        d2 = 3.0 * e1 / 2.0 - 27.0 * e1_3 / 32.0;
        d4 = 21.0 * e1_2 / 16.0 - 55.0 * e1_4 / 32.0;
        d6 = 151.0 * e1_3 / 96.0;
        d8 = 1097.0 * e1_4 / 512.0;
    }
    double Phi(double mu) const {
        const SinMultiples m = SinesOfMultiples(std::sin(mu), std::cos(mu));
        return mu + d2 * m.s2 + d4 * m.s4 + d6 * m.s6 + d8 * m.s8;
    }
    // The footpoint latitude with its sine and cosine. The correction to mu is
    // small (under 0.003 rad on terrestrial ellipsoids), so sin and cos of
    // mu + delta come from those of mu by the addition theorem with short
    // Taylor series for delta, instead of two further library calls.
    double Phi(double mu, double* sinPhi, double* cosPhi) const {
        const double sm = std::sin(mu), cm = std::cos(mu);
        const SinMultiples m = SinesOfMultiples(sm, cm);
        const double delta = d2 * m.s2 + d4 * m.s4 + d6 * m.s6 + d8 * m.s8;
        const double phi = mu + delta;
        if (std::fabs(delta) < 0.01) {
            const double q = delta * delta;
            const double sd =
                delta * (1.0 - q * (1.0 / 6) * (1.0 - q * (1.0 / 20) * (1.0 - q * (1.0 / 42))));
            const double cd = 1.0 - q * 0.5 * (1.0 - q * (1.0 / 12) * (1.0 - q * (1.0 / 30)));
            *sinPhi = sm * cd + cm * sd;
            *cosPhi = cm * cd - sm * sd;
        } else {
            *sinPhi = std::sin(phi);
            *cosPhi = std::cos(phi);
        }
        return phi;
    }
};

// atanh x by its Taylor series for |x| <= 0.1, which covers e sin phi on
// every terrestrial ellipsoid (truncation below 1e-19 relative), evaluated
// in Estrin's scheme for a short dependency chain; larger arguments go to
// the library function.
inline double AtanhSmall(double x) {
    if (!(std::fabs(x) <= 0.1)) return std::atanh(x);
    const double x2 = x * x, x4 = x2 * x2, x8 = x4 * x4;
    const double p01 = 1.0 + x2 * (1.0 / 3), p23 = 1.0 / 5 + x2 * (1.0 / 7);
    const double p45 = 1.0 / 9 + x2 * (1.0 / 11), p67 = 1.0 / 13 + x2 * (1.0 / 15);
    const double lo = p01 + x4 * p23, hi = p45 + x4 * p67;
    return x * (lo + x8 * (hi + x8 * (1.0 / 17)));
}

// exp z; by its Taylor series to z^7 (Estrin's scheme) for |z| <= 0.01, where
// the truncation is below 3e-21, else by the library function.
inline double ExpSmall(double z) {
    if (!(std::fabs(z) <= 0.01)) return std::exp(z);
    const double z2 = z * z, z4 = z2 * z2;
    const double p01 = 1.0 + z, p23 = 0.5 + z * (1.0 / 6);
    const double p45 = 1.0 / 24 + z * (1.0 / 120), p67 = 1.0 / 720 + z * (1.0 / 5040);
    return (p01 + z2 * p23) + z4 * (p45 + z2 * p67);
}

// ((1 - e sin phi) / (1 + e sin phi))^(e/2), the factor of Snyder 7-7, 7-9,
// 14-4 and 15-9, as exp(-e atanh(e sin phi)): the same value without a pow()
// per point. `es` is e sin phi.
inline double ConformalFactor(double e, double es) {
    return ExpSmall(-e * AtanhSmall(es));
}

// Snyder 15-9: t = tan(pi/4 - phi/2) / ((1 - e sin phi) / (1 + e sin phi))^(e/2).
// The caller guarantees 1 + e sin phi != 0.
inline double ConformalT(double phi, double sinPhi, double e) {
    return std::tan(kQuarterPi - phi / 2.0) / ConformalFactor(e, e * sinPhi);
}

// Snyder 14-15: m = cos phi / sqrt(1 - e^2 sin^2 phi); the caller has checked
// that the radicand is positive.
inline double ParallelRadiusFactor(double cosPhi, double sinPhi, double e2) {
    return cosPhi / std::sqrt(1.0 - e2 * sinPhi * sinPhi);
}

namespace detail {

// The iteration below step by step in angles, for t where the tangent form
// would overflow.
inline bool PhiFromConformalTByAngles(double t, double e, double* phi) {
    double p = kHalfPi - 2.0 * std::atan(t);
    for (int step = 1; step <= kPhiIterMaxSteps; ++step) {
        const double es = e * std::sin(p);
        if (1.0 + es == 0.0) return false;
        const double next = kHalfPi - 2.0 * std::atan(t * ConformalFactor(e, es));
        const bool done = std::fabs(next - p) <= kPhiIterTolerance;
        p = next;
        if (done) {
            *phi = p;
            return step < kPhiIterMaxSteps;
        }
    }
    return false;
}

} // namespace detail

// Latitude from t by Snyder 7-9 iterated: phi = pi/2 - 2 atan(t ((1 - e sin phi) /
// (1 + e sin phi))^(e/2)), starting from pi/2 - 2 atan t. Stops when two steps
// differ by at most kPhiIterTolerance; false when 1 + e sin phi becomes 0 or the
// tolerance is not met before the last permitted step (meeting it on that step
// still counts as running out). *phi receives the last step.
//
// Every step has the form phi = pi/2 - 2 atan v, so the loop carries v instead
// of phi: sin phi = (1 - v^2) / (1 + v^2), and two steps differ by
// 2 atan((v' - v) / (1 + v v')), which is compared through the tangent of half
// the tolerance. One arctangent at the end instead of a sine and an
// arctangent per step.
inline bool PhiFromConformalT(double t, double e, double* phi) {
    constexpr double kHalfTolTan = 5.960464477539769e-07; // tan(kPhiIterTolerance / 2)
    if (!(t >= 0.0 && t < 1e150)) return detail::PhiFromConformalTByAngles(t, e, phi);
    double v = t, sinPhi = (1.0 - t * t) / (1.0 + t * t);
    for (int step = 1; step <= kPhiIterMaxSteps; ++step) {
        const double es = e * sinPhi;
        if (1.0 + es == 0.0) return false;
        const double next = t * ConformalFactor(e, es);
        const bool done = std::fabs(next - v) <= kHalfTolTan * (1.0 + next * v); // v, next >= 0
        v = next;
        if (done) {
            *phi = kHalfPi - 2.0 * std::atan(v);
            return step < kPhiIterMaxSteps;
        }
        sinPhi = (1.0 - v * v) / (1.0 + v * v);
    }
    return false;
}

// Polar coordinates of a map point about the apex of a cone with constant n
// and origin radius rho0 (Snyder 14-10, 14-11): rho carries the sign of n,
// so that a southern cone comes back through the same formulas.
inline void ConePolar(double n, double rho0, double x, double y, double* rho, double* theta) {
    const double dy = rho0 - y;
    *rho = std::sqrt(x * x + dy * dy);
    if (n < 0.0) {
        *rho = -*rho;
        *theta = std::atan2(-x, -dy);
    } else {
        *theta = std::atan2(x, dy);
    }
}

} // namespace KVProj

#endif
