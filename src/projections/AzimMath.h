// Mathematics shared by the azimuthal, oblique and miscellaneous modules
// (pPolar, pOrtho, pGnom, pAzimuth, pLamAEA, pHotine, pOMerc, pPolycon, pBonne,
// pRobSter, pCassini): the spherical azimuthal frame about a centre, the
// conformal latitude and its inverse, and the per-point loop of the module
// contract. Formulas follow Snyder, "Map Projections: A Working Manual" (USGS
// Professional Paper 1395, 1987).
#ifndef KVPROJ_PROJECTIONS_AZIMMATH_H
#define KVPROJ_PROJECTIONS_AZIMMATH_H

#include "projections/ProjMath.h"
#include "projections/ProjModule.h"

#include <cmath>

namespace KVProj {
namespace azim {

// One single-precision epsilon: the tolerance for "at the pole", "on the
// singular circle" and similar tests of the oblique and stereographic modules.
constexpr double kFltEps = 1.1920928955078125e-7;
// The single-precision maximum, standing in for an infinite coordinate.
constexpr double kFltMax = 3.4028234663852886e38;

// Runs `convert` on every point that is not already marked; a point for which
// it returns false is marked failed. `convert` writes the point only on success.
template <class Fn>
inline void ForEachPoint(PROJDATA* data, PROJPOINT* points, int count, Fn convert) {
    for (int i = 0; i < count; ++i) {
        PROJPOINT& p = points[i];
        if (IsUnplottable(p)) continue;
        if (!convert(p)) MarkFailed(data, p);
    }
}

// The inverse loop: as ForEachPoint, with the resulting longitude brought into
// [-pi, pi].
template <class Fn>
inline void ForEachInverse(PROJDATA* data, PROJPOINT* points, int count, Fn convert);

inline double Sign(double v) {
    return v < 0.0 ? -1.0 : 1.0;
}

// Clamps a sine or cosine that rounding pushed a hair past +-1.
inline double Clamp1(double v) {
    return v > 1.0 ? 1.0 : (v < -1.0 ? -1.0 : v);
}

// The spherical frame about a centre (phi1, lam0) that every azimuthal
// projection shares.
struct AzimuthalFrame {
    double sinPhi1, cosPhi1, lam0;

    AzimuthalFrame(double phi1, double lam0_)
        : sinPhi1(std::sin(phi1)), cosPhi1(std::cos(phi1)), lam0(lam0_) {}

    struct Terms {
        double cosC;  // cosine of the angular distance from the centre, Snyder 5-3
        double xUnit; // cos phi sin(lam - lam0): x before the radial factor k'
        double yUnit; // cos phi1 sin phi - sin phi1 cos phi cos(lam - lam0)
    };

    Terms At(double lam, double phi) const {
        const double sinPhi = std::sin(phi), cosPhi = std::cos(phi);
        const double dLam = lam - lam0;
        const double sinD = std::sin(dLam), cosD = std::cos(dLam);
        return {sinPhi1 * sinPhi + cosPhi1 * cosPhi * cosD, // Snyder 5-3
                cosPhi * sinD, cosPhi1 * sinPhi - sinPhi1 * cosPhi * cosD};
    }

    // Latitude and longitude of the point at angular distance c (given by its
    // sine and cosine) from the centre in the direction of (x, y), rho = |(x, y)|.
    // Snyder 20-14 and 20-15; the centre itself when rho is 0.
    void Invert(double x, double y, double rho, double sinC, double cosC, PROJPOINT& p) const {
        if (rho == 0.0) {
            p.x = lam0;
            p.y = std::asin(sinPhi1);
            return;
        }
        p.y = std::asin(Clamp1(cosC * sinPhi1 + y * sinC * cosPhi1 / rho)); // Snyder 20-14
        p.x = lam0 + std::atan2(x * sinC, rho * cosPhi1 * cosC - y * sinPhi1 * sinC); // 20-15
    }
};

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

// Brings lam - lam0 into [-pi, pi] by one addition or subtraction of 2 pi, as
// the wrapping world modules do when the record's wrap flag is set.
inline double WrapOnce(double dLam) {
    if (dLam < -kPi) return dLam + kTwoPi;
    if (dLam > kPi) return dLam - kTwoPi;
    return dLam;
}

// Longitude brought into [-pi, pi] (inverse results), so that a centre near
// the antimeridian does not hand back 190 degrees for -170.
inline double NormalizeLon(double lam) {
    if (lam >= -kPi && lam <= kPi) return lam;
    return std::remainder(lam, kTwoPi);
}

template <class Fn>
inline void ForEachInverse(PROJDATA* data, PROJPOINT* points, int count, Fn convert) {
    azim::ForEachPoint(data, points, count, [&](PROJPOINT& p) {
        if (!convert(p)) return false;
        p.x = NormalizeLon(p.x);
        return true;
    });
}

} // namespace azim
} // namespace KVProj

#endif
