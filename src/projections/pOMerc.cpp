// Oblique Mercator, spherical, central line through two points (Lat1, Lon1)
// and (Lat2, Lon2), scale K0 along it. Snyder chapter 9, spherical formulas.
// x runs along the central line from its crossing of the equator at
// lambda0 = lambda_p + 90 degrees, y across it; the pole of the oblique
// transformation (phi_p, lambda_p) is 90 degrees from every point of the line.
#include "projections/Figure.h"
#include "projections/AngleWrap.h"
#include "projections/AzimuthalFrame.h"
#include "projections/Modules.h"
#include "frame/Angles.h"

#include <cmath>

namespace KVProj {

namespace {

// Ten single-precision epsilons: two points this close (in radians) do not
// define a central line.
constexpr double kPointTolerance = 1.1920928955078125e-6;

struct OMerc {
    bool ok;
    double rk0; // R k0
    double sinPp, cosPp, lam0;
};

OMerc MakeOMerc(const PROJDATA* d) {
    OMerc m{};
    m.rk0 = Figure(d).a * d->K0;
    const double phi1 = d->Lat1, lam1 = d->Lon1, phi2 = d->Lat2, lam2 = d->Lon2;
    if (std::fabs(phi1 - phi2) < kPointTolerance && std::fabs(lam1 - lam2) < kPointTolerance)
        return m;
    const double c1 = std::cos(phi1), s1 = std::sin(phi1), c2 = std::cos(phi2), s2 = std::sin(phi2);
    const double num = c1 * s2 * std::cos(lam1) - s1 * c2 * std::cos(lam2);
    const double den = s1 * c2 * std::sin(lam2) - c1 * s2 * std::sin(lam1);
    const double lamP = std::atan2(num, den); // Snyder 9-1
    // Snyder 9-2, atan(-cos(lamP - lam1) / tan phi1), is the latitude of the same
    // pole; taking it from the pole's direction vector keeps a first point on
    // the equator (tan phi1 = 0) well defined.
    const double zP = c1 * c2 * std::sin(lam1 - lam2);
    const double horiz = std::hypot(num, den);
    if (horiz < kPointTolerance && std::fabs(zP) < kPointTolerance) return m; // antipodal
    const double phiP = std::atan2(zP, horiz);
    m.sinPp = std::sin(phiP);
    m.cosPp = std::cos(phiP);
    m.lam0 = lamP + kHalfPi; // Snyder 9-6a
    m.ok = std::isfinite(m.lam0) && std::isfinite(m.sinPp) && m.rk0 != 0.0;
    return m;
}

bool ForwardPoint(const OMerc& m, PROJPOINT& p) {
    const double phi = p.y, dLam = p.x - m.lam0;
    const double sinPhi = std::sin(phi), cosPhi = std::cos(phi);
    const double sinD = std::sin(dLam), cosD = std::cos(dLam);
    const double A = m.sinPp * sinPhi - m.cosPp * cosPhi * sinD; // Snyder 9-6
    // The two points 90 degrees from the central line go to infinity.
    if (std::fabs(std::fabs(A) - 1.0) <= azim::kFltEps) return false;
    // 9-3 with tan phi = sin phi / cos phi, so that the poles need no special case.
    p.x = m.rk0 * std::atan2(sinPhi * m.cosPp + m.sinPp * sinD * cosPhi, cosD * cosPhi); // 9-3
    p.y = m.rk0 / 2.0 * std::log((1.0 + A) / (1.0 - A)); // Snyder 9-4
    return true;
}

bool InversePoint(const OMerc& m, PROJPOINT& p) {
    const double xs = p.x / m.rk0, ys = p.y / m.rk0;
    const double sinX = std::sin(xs), cosX = std::cos(xs);
    const double sinhY = std::sinh(ys), coshY = std::cosh(ys);
    if (!std::isfinite(coshY)) return false;
    p.y = std::asin(ClampUnit(m.sinPp * std::tanh(ys) + m.cosPp * sinX / coshY)); // 9-9
    p.x = m.lam0 + std::atan2(m.sinPp * sinX - m.cosPp * sinhY, cosX);            // 9-10
    return true;
}

} // namespace

bool OMercForward(const PROJDATA* data, PROJPOINT* points, int count) {
    KV_MODULE_CHECK_ARGS(data, points, count);
    const OMerc m = MakeOMerc(data);
    ForEachPoint(points, count, [&](PROJPOINT& p) { return m.ok && ForwardPoint(m, p); });
    return true;
}

bool OMercInverse(const PROJDATA* data, PROJPOINT* points, int count) {
    KV_MODULE_CHECK_ARGS(data, points, count);
    const OMerc m = MakeOMerc(data);
    azim::ForEachInverse(points, count, [&](PROJPOINT& p) { return m.ok && InversePoint(m, p); });
    return true;
}

} // namespace KVProj
