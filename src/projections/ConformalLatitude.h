// The conformal latitude and the function t of Snyder 15-9, forward and back.
//
// Forward, t and chi are closed forms. Back, two inverses are kept on purpose:
// the conic and cylindrical modules (Lambert, Mercator, polar stereographic)
// iterate Snyder 7-9 to the tolerance below, as their published inverses do;
// the azimuthal and oblique modules (stereographic, Hotine) use the closed
// series of Snyder 3-5 (to e^8), whose truncation stays below 1e-11 rad for
// terrestrial eccentricities and needs no loop. Both agree to that bound.
#ifndef KVPROJ_PROJECTIONS_CONFORMALLATITUDE_H
#define KVPROJ_PROJECTIONS_CONFORMALLATITUDE_H

#include "frame/Angles.h"
#include "projections/Series.h"

#include <cmath>

namespace KVProj {

// Ten single-precision epsilons: the stopping tolerance of the latitude
// iterations (about 0.25 arc seconds between successive steps).
constexpr double kPhiIterTolerance = 1.1920928955078125e-6;
constexpr int kPhiIterMaxSteps = 500;

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

// Conformal latitude chi of phi, Snyder 3-1, written through t of 15-9:
// chi = pi/2 - 2 atan t.
inline double ConformalLatitude(double phi, double sinPhi, double e) {
    return kHalfPi - 2.0 * std::atan(ConformalT(phi, sinPhi, e));
}

// Geodetic latitude from the conformal latitude, Snyder 3-5 (series to e^8).
// Closed form, so the inverse modules need no iteration; the truncation is
// below 1e-11 rad for terrestrial eccentricities.
struct ConformalInverse {
    double c2, c4, c6, c8;

    ConformalInverse() : ConformalInverse(0.0) {}
    explicit ConformalInverse(double e) {
        const double e2 = e * e, e4 = e2 * e2, e6 = e4 * e2, e8 = e4 * e4;
        c2 = e2 / 2.0 + 5.0 * e4 / 24.0 + e6 / 12.0 + 13.0 * e8 / 360.0;
        c4 = 7.0 * e4 / 48.0 + 29.0 * e6 / 240.0 + 811.0 * e8 / 11520.0;
        c6 = 7.0 * e6 / 120.0 + 81.0 * e8 / 1120.0;
        c8 = 4279.0 * e8 / 161280.0;
    }
    double Phi(double chi) const {
        const SinMultiples m = SinesOfMultiples(std::sin(chi), std::cos(chi));
        return chi + c2 * m.s2 + c4 * m.s4 + c6 * m.s6 + c8 * m.s8;
    }
};

} // namespace KVProj

#endif
