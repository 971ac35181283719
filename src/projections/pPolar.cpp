// Stereographic, sphere or ellipsoid, polar and oblique aspects. Snyder
// chapter 21.
//
// The aspect follows the centre latitude Lat0, the field every reader fills
// with the latitude of origin: |Lat0| = 90 degrees gives the polar aspect on
// that pole, anything else the oblique aspect (equatorial for 0) about
// (Lat0, Lon0). K0 is the scale at the centre. In the polar aspect a nonzero
// Lat1 on the same side of the equator and short of the pole names the
// latitude of true scale instead, and the scale at the pole follows from it.
// Lon1 is not needed: the central meridian is Lon0 in every aspect.
//
// The ellipsoidal oblique aspect is Snyder's conformal-sphere form (21-24 to
// 21-27), not the double stereographic of some national grids.
#include "projections/Figure.h"
#include "projections/ConformalLatitude.h"
#include "projections/AngleWrap.h"
#include "projections/AzimuthalFrame.h"
#include "projections/Modules.h"
#include "frame/Angles.h"

#include <cmath>

namespace KVProj {

namespace {

// Points this close to the antipode of the centre (in 1 + cos c) project
// beyond any usable distance and fail.
constexpr double kAntipodeTolerance = azim::kFltEps;

struct Stereo {
    bool polar;
    double sign; // +1 north pole or oblique, -1 south pole
    double a, e; // radius or semi-major axis; eccentricity (0 on the sphere)
    double lam0;
    double k0;               // scale at the centre (pole or oblique centre)
    double sinChi1, cosChi1; // oblique: conformal (or spherical) centre latitude
    double twoAk0m1;         // oblique ellipsoid: 2 a k0 m1, Snyder 21-27
    double rhoScale;         // polar ellipsoid: rho = rhoScale * t, Snyder 21-33 / 21-34
    ConformalInverse inv;
};

Stereo MakeStereo(const PROJDATA* d) {
    Stereo s{};
    const Figure fig(d);
    s.a = fig.a;
    s.e = fig.e;
    s.lam0 = d->Lon0;
    s.k0 = d->K0;
    s.inv = ConformalInverse(s.e);
    s.polar = std::fabs(std::fabs(d->Lat0) - kHalfPi) <= azim::kFltEps;
    s.sign = d->Lat0 < 0.0 ? -1.0 : 1.0;
    if (s.polar) {
        const double latTs = s.sign * d->Lat1; // true-scale latitude, folded north
        const bool hasTs = latTs > 0.0 && latTs < kHalfPi - azim::kFltEps;
        if (s.e == 0.0) {
            // k at latitude phi is 2 k0 / (1 + sin phi) (21-4 with phi1 = 90),
            // so unit scale at latTs needs k0 = (1 + sin latTs) / 2.
            if (hasTs) s.k0 = (1.0 + std::sin(latTs)) / 2.0;
            s.rhoScale = 2.0 * s.a * s.k0; // rho = 2 R k0 tan(pi/4 - phi/2), 21-5
        } else if (hasTs) {
            const double sinTs = std::sin(latTs);
            const double mc = ParallelRadiusFactor(std::cos(latTs), sinTs, s.e * s.e); // 14-15
            const double tc = ConformalT(latTs, sinTs, s.e);                           // 15-9
            s.rhoScale = s.a * mc / tc;                                                // 21-34
        } else {
            const double e = s.e;
            s.rhoScale =
                2.0 * s.a * s.k0 /
                std::sqrt(std::pow(1.0 + e, 1.0 + e) * std::pow(1.0 - e, 1.0 - e)); // 21-33
        }
        return s;
    }
    const double sinPhi1 = std::sin(d->Lat0);
    if (s.e == 0.0) {
        s.sinChi1 = sinPhi1;
        s.cosChi1 = std::cos(d->Lat0);
        s.twoAk0m1 = 2.0 * s.a * s.k0;
    } else {
        const double chi1 = ConformalLatitude(d->Lat0, sinPhi1, s.e); // Snyder 3-1
        s.sinChi1 = std::sin(chi1);
        s.cosChi1 = std::cos(chi1);
        const double m1 = ParallelRadiusFactor(std::cos(d->Lat0), sinPhi1, s.e * s.e); // 14-15
        s.twoAk0m1 = 2.0 * s.a * s.k0 * m1;
    }
    return s;
}

// Conformal latitude (the latitude itself on the sphere).
inline double Chi(const Stereo& s, double phi) {
    return s.e == 0.0 ? phi : ConformalLatitude(phi, std::sin(phi), s.e);
}

bool ForwardPoint(const Stereo& s, PROJPOINT& p) {
    const double dLam = p.x - s.lam0;
    if (s.polar) {
        // South pole by the sign reversal Snyder gives under 21-33.
        const double phi = s.sign * p.y;
        if (phi <= -kHalfPi + azim::kFltEps) return false; // the opposite pole is at infinity
        const double sinPhi = std::sin(phi);
        if (1.0 + s.e * sinPhi <= 0.0) return false;
        const double t =
            s.e == 0.0 ? std::tan(kQuarterPi - phi / 2.0) : ConformalT(phi, sinPhi, s.e); // 15-9
        if (!(t >= 0.0)) return false;
        const double rho = s.rhoScale * t;
        p.x = rho * std::sin(dLam);           // Snyder 21-30
        p.y = -s.sign * rho * std::cos(dLam); // Snyder 21-31
        return true;
    }
    const double chi = Chi(s, p.y);
    const double sinChi = std::sin(chi), cosChi = std::cos(chi);
    const double cosD = std::cos(dLam);
    const double den = 1.0 + s.sinChi1 * sinChi + s.cosChi1 * cosChi * cosD;
    if (den <= kAntipodeTolerance) return false;
    // Snyder 21-4 on the sphere; 21-27 with cos chi1 folded into the terms below.
    const double aFactor = s.twoAk0m1 / den;
    const double scale = s.e == 0.0 ? aFactor : aFactor / s.cosChi1;
    p.x = scale * cosChi * std::sin(dLam);                          // 21-2 / 21-24
    p.y = scale * (s.cosChi1 * sinChi - s.sinChi1 * cosChi * cosD); // 21-3 / 21-25
    return true;
}

bool InversePoint(const Stereo& s, PROJPOINT& p) {
    const double x = p.x, y = p.y;
    const double rho = std::hypot(x, y); // Snyder 20-18
    if (s.polar) {
        if (!(s.rhoScale > 0.0)) return false;
        const double t = rho / s.rhoScale;                    // Snyder 21-39 / 21-40
        const double chi = kHalfPi - 2.0 * std::atan(t);      // Snyder 7-13
        const double phi = s.e == 0.0 ? chi : s.inv.Phi(chi); // Snyder 3-5
        p.y = s.sign * phi;
        p.x = rho == 0.0 ? s.lam0 : s.lam0 + std::atan2(x, -s.sign * y); // Snyder 20-16, 20-17
        return true;
    }
    if (!(s.twoAk0m1 > 0.0)) return false;
    // Angular distance on the conformal sphere, Snyder 21-15 / 21-38.
    const double ce = 2.0 * std::atan(rho * (s.e == 0.0 ? 1.0 : s.cosChi1) / s.twoAk0m1);
    const double sinC = std::sin(ce), cosC = std::cos(ce);
    double chi, lam;
    if (rho == 0.0) {
        chi = std::atan2(s.sinChi1, s.cosChi1);
        lam = s.lam0;
    } else {
        chi = std::asin(ClampUnit(cosC * s.sinChi1 + y * sinC * s.cosChi1 / rho));          // 21-37
        lam = s.lam0 + std::atan2(x * sinC, rho * s.cosChi1 * cosC - y * s.sinChi1 * sinC); // 21-36
    }
    p.y = s.e == 0.0 ? chi : s.inv.Phi(chi); // Snyder 3-5
    p.x = lam;
    return true;
}

} // namespace

bool PolarForward(const PROJDATA* data, PROJPOINT* points, int count) {
    KV_MODULE_CHECK_ARGS(data, points, count);
    const Stereo s = MakeStereo(data);
    ForEachPoint(points, count, [&](PROJPOINT& p) { return ForwardPoint(s, p); });
    return true;
}

bool PolarInverse(const PROJDATA* data, PROJPOINT* points, int count) {
    KV_MODULE_CHECK_ARGS(data, points, count);
    const Stereo s = MakeStereo(data);
    azim::ForEachInverse(points, count, [&](PROJPOINT& p) { return InversePoint(s, p); });
    return true;
}

} // namespace KVProj
