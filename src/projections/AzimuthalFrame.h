// The spherical azimuthal frame about a centre that the azimuthal, oblique
// and miscellaneous modules share (pPolar, pOrtho, pGnom, pAzimuth, pLamAEA,
// pHotine, pOMerc, pPolycon, pBonne, pRobSter, pCassini), with its forward and
// inverse loops and the single-precision tolerances of those modules. Formulas follow Snyder, "Map
// Projections: A Working Manual" (USGS Professional Paper 1395, 1987).
#ifndef KVPROJ_PROJECTIONS_AZIMUTHALFRAME_H
#define KVPROJ_PROJECTIONS_AZIMUTHALFRAME_H

#include "frame/Angles.h"
#include "projections/Figure.h"
#include "projections/AngleWrap.h"
#include "projections/ProjModule.h"

#include <cmath>

namespace KVProj {
namespace azim {

// One single-precision epsilon: the tolerance for "at the pole", "on the
// singular circle" and similar tests of the oblique and stereographic modules.
constexpr double kFltEps = 1.1920928955078125e-7;
// The single-precision maximum, standing in for an infinite coordinate.
constexpr double kFltMax = 3.4028234663852886e38;

// The module contract's per-point loop: markers pass, a point for which
// `convert` returns false is marked failed.
using KVProj::ForEachPoint;

// The inverse loop: as ForEachPoint, with the resulting longitude brought into
// [-pi, pi].
template <class Fn> inline void ForEachInverse(PROJPOINT* points, int count, Fn convert);

inline double Sign(double v) {
    return v < 0.0 ? -1.0 : 1.0;
}

// Sine of the distance from the antipode below which a point's direction
// from the centre, and so its place on the bounding circle of the azimuthal
// equidistant and equal-area maps, is lost in rounding (micrometres on the
// Earth): such a point fails like the antipode itself.
constexpr double kAntipodeTolerance = 1e-12;

// The spherical frame about a centre (phi1, lam0) that every azimuthal
// projection shares.
struct AzimuthalFrame {
    double phi1, sinPhi1, cosPhi1, lam0;

    AzimuthalFrame(double phi1_, double lam0_)
        : phi1(phi1_), sinPhi1(std::sin(phi1_)), cosPhi1(std::cos(phi1_)), lam0(lam0_) {}

    struct Terms {
        double cosC;              // cosine of the angular distance from the centre, Snyder 5-3
        double xUnit;             // cos phi sin(lam - lam0): x before the radial factor k'
        double yUnit;             // cos phi1 sin phi - sin phi1 cos phi cos(lam - lam0)
        double phi, cosPhi, dLam; // the point, for CosHalfC2

        // sin c by the chord form, which keeps its digits near the centre and
        // the antipode, where a sine from cos c would lose half of them.
        double SinC() const { return std::hypot(xUnit, yUnit); }
    };

    Terms At(double lam, double phi) const {
        const double sinPhi = std::sin(phi), cosPhi = std::cos(phi);
        const double dLam = lam - lam0;
        const double sinD = std::sin(dLam), cosD = std::cos(dLam);
        return {sinPhi1 * sinPhi + cosPhi1 * cosPhi * cosD, // Snyder 5-3
                cosPhi * sinD,
                cosPhi1 * sinPhi - sinPhi1 * cosPhi * cosD,
                phi,
                cosPhi,
                dLam};
    }

    // cos^2(c/2) as the haversine of the point's distance from the antipode
    // (-phi1, lam0 + pi), Snyder 5-3a with c replaced by pi - c:
    //   cos^2(c/2) = sin^2((phi + phi1)/2) + cos phi1 cos phi cos^2((lam - lam0)/2).
    // Both terms are non-negative, so unlike (1 + cos c) / 2 it keeps its
    // digits all the way to the antipode.
    double CosHalfC2(const Terms& t) const {
        const double h = std::sin(0.5 * (t.phi + phi1)), cd = std::cos(0.5 * t.dLam);
        return h * h + cosPhi1 * t.cosPhi * cd * cd;
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
        p.y = std::asin(ClampUnit(cosC * sinPhi1 + y * sinC * cosPhi1 / rho)); // Snyder 20-14
        p.x = lam0 + std::atan2(x * sinC, rho * cosPhi1 * cosC - y * sinPhi1 * sinC); // 20-15
    }
};

// Forward of a spherical azimuthal projection centred on (phiC, Lon0):
// x = R k' xUnit, y = R k' yUnit (Snyder 22-4, 22-5 with the projection's own
// k'), where `radial(frame, terms, &k)` gives k' or false for a point the
// projection cannot show.
template <class Radial>
inline void ForwardAzimuthal(const PROJDATA* data, PROJPOINT* points, int count, double phiC,
                             Radial radial) {
    const AzimuthalFrame frame(phiC, data->Lon0);
    const double r = Figure(data).a;
    ForEachPoint(points, count, [&](PROJPOINT& p) {
        const AzimuthalFrame::Terms t = frame.At(p.x, p.y);
        double k;
        if (!radial(frame, t, &k)) return false;
        p.x = r * k * t.xUnit;
        p.y = r * k * t.yUnit;
        return true;
    });
}

// Inverse of the same: `angle(rho / R, &sinC, &cosC)` gives the angular
// distance c of the point from the centre, or false outside the image of the
// globe; latitude and longitude then follow along the azimuth of (x, y).
template <class Angle>
inline void InverseAzimuthal(const PROJDATA* data, PROJPOINT* points, int count, double phiC,
                             Angle angle) {
    const AzimuthalFrame frame(phiC, data->Lon0);
    const double r = Figure(data).a;
    ForEachInverse(points, count, [&](PROJPOINT& p) {
        if (!(r > 0.0)) return false;
        const double rho = std::hypot(p.x, p.y); // Snyder 20-18
        double sinC, cosC;
        if (!angle(rho / r, &sinC, &cosC)) return false;
        frame.Invert(p.x, p.y, rho, sinC, cosC, p);
        return true;
    });
}

template <class Fn> inline void ForEachInverse(PROJPOINT* points, int count, Fn convert) {
    ForEachPoint(points, count, [&](PROJPOINT& p) {
        if (!convert(p)) return false;
        p.x = NormalizeLon(p.x);
        return true;
    });
}

} // namespace azim
} // namespace KVProj

#endif
