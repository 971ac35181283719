// Cassini, spherical, origin (Lat0, Lon0). Snyder chapter 13, equations 13-1
// to 13-6: the transverse aspect of the Equidistant Cylindrical.
//
// Quadrants: the distance along the central meridian, atan(tan phi / cos dLam)
// in 13-2, is taken with atan2 of sin phi and cos phi cos dLam, so that points
// more than 90 degrees from the central meridian land beyond the pole on the
// far half of the transverse meridian, and the poles need no special case. The
// inverse uses the same form for 13-4, and refuses x beyond a quarter great
// circle, which no point reaches.
#include "projections/Figure.h"
#include "projections/AngleWrap.h"
#include "projections/AzimuthalFrame.h"
#include "projections/Modules.h"
#include "frame/Angles.h"

#include <cmath>

namespace KVProj {

bool CassiniForward(const PROJDATA* data, PROJPOINT* points, int count) {
    KV_MODULE_CHECK_ARGS(data, points, count);
    const double r = Figure(data).a, phi0 = data->Lat0, lam0 = data->Lon0;
    ForEachPoint(points, count, [&](PROJPOINT& p) {
        const double dLam = p.x - lam0;
        const double sinPhi = std::sin(p.y), cosPhi = std::cos(p.y);
        const double B = cosPhi * std::sin(dLam);                       // Snyder 13-5
        p.x = r * std::asin(ClampUnit(B));                              // Snyder 13-1
        p.y = r * (std::atan2(sinPhi, cosPhi * std::cos(dLam)) - phi0); // Snyder 13-2
        return true;
    });
    return true;
}

bool CassiniInverse(const PROJDATA* data, PROJPOINT* points, int count) {
    KV_MODULE_CHECK_ARGS(data, points, count);
    const double r = Figure(data).a, phi0 = data->Lat0, lam0 = data->Lon0;
    azim::ForEachInverse(points, count, [&](PROJPOINT& p) {
        if (!(r > 0.0)) return false;
        const double xs = p.x / r;
        if (!(std::fabs(xs) <= kHalfPi + 1e-12)) return false;
        const double D = p.y / r + phi0; // Snyder 13-6
        const double sinX = std::sin(xs), cosX = std::cos(xs);
        p.y = std::asin(ClampUnit(std::sin(D) * cosX));    // Snyder 13-3
        p.x = lam0 + std::atan2(sinX, cosX * std::cos(D)); // Snyder 13-4
        return true;
    });
    return true;
}

} // namespace KVProj
