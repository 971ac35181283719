// Equidistant Conic, sphere only. Cone constants Snyder 16-3 to 16-5 with
// 14-15 in its spherical form; forward 16-1, 16-2, 14-1, 14-2; inverse 14-10,
// 14-11, 16-10.
//
// Coinciding standard parallels give the tangent cone (n = sin phi1) rather
// than a failure. A cone constant too close to zero (the parallels symmetric
// about the equator, or a tangent cone at the equator) fails every point.
#include "projections/Figure.h"
#include "projections/AngleWrap.h"
#include "projections/Modules.h"
#include "projections/ProjModule.h"

#include <cmath>

namespace KVProj {
namespace {

struct EquiConCone {
    double r, lam0;
    double n, G, rho0;
    bool ok; // |n| large enough to divide by
};

EquiConCone MakeCone(const PROJDATA* d) {
    EquiConCone c{};
    c.r = Figure(d).a;
    c.lam0 = d->Lon0;
    const double phi1 = d->Lat1, phi2 = d->Lat2;
    // Parallels closer than 1e-6 radian would divide rounding noise by a tiny
    // difference; treat them as one.
    if (std::fabs(phi1 - phi2) >= 1e-6)
        c.n = (std::cos(phi1) - std::cos(phi2)) / (phi2 - phi1);
    else
        c.n = std::sin(phi1);
    c.ok = !(std::fabs(c.n) < 1e-7);
    c.G = std::cos(phi1) / c.n + phi1;
    c.rho0 = c.r * (c.G - d->Lat0);
    return c;
}

} // namespace

bool EquiConForward(const PROJDATA* data, PROJPOINT* points, int count) {
    KV_MODULE_CHECK_ARGS(data, points, count);
    const EquiConCone c = MakeCone(data);
    const bool wrap = data->bWrapLon; // normalised by the engine
    ForEachPoint(points, count, [&](PROJPOINT& p) {
        if (!c.ok) return false;
        double dLam = p.x - c.lam0;
        if (wrap) dLam = WrapOnce(dLam);
        const double rho = c.r * (c.G - p.y);
        const double theta = c.n * dLam;
        p.x = rho * std::sin(theta);
        p.y = c.rho0 - rho * std::cos(theta);
        return true;
    });
    return true;
}

bool EquiConInverse(const PROJDATA* data, PROJPOINT* points, int count) {
    KV_MODULE_CHECK_ARGS(data, points, count);
    const EquiConCone c = MakeCone(data);
    ForEachPoint(points, count, [&](PROJPOINT& p) {
        if (!c.ok) return false;
        double rho, theta;
        ConePolar(c.n, c.rho0, p.x, p.y, &rho, &theta);
        // The longitude itself comes back within one turn about Greenwich,
        // whatever the central meridian. No latitude guard: a point beyond
        // the pole's arc yields a latitude past 90 degrees.
        p.x = WrapOnce(theta / c.n + c.lam0);
        p.y = c.G - rho / c.r;
        return true;
    });
    return true;
}

} // namespace KVProj
