// Equidistant Cylindrical (plate carree when Lat1 is 0), sphere only, with
// Lat1 as the standard parallel. Snyder 12-1, 12-2, 12-3, 12-4.
#include "projections/Figure.h"
#include "projections/Modules.h"
#include "projections/ProjModule.h"

#include <cmath>

namespace KVProj {

bool EquiCylForward(const PROJDATA* data, PROJPOINT* points, int count) {
    KV_MODULE_CHECK_ARGS(data, points, count);
    const double lam0 = data->Lon0, r = Figure(data).a;
    const double rc = r * std::cos(data->Lat1);
    ForEachPoint(points, count, [&](PROJPOINT& p) {
        p.x = (p.x - lam0) * rc;
        p.y = r * p.y;
        return true;
    });
    return true;
}

bool EquiCylInverse(const PROJDATA* data, PROJPOINT* points, int count) {
    KV_MODULE_CHECK_ARGS(data, points, count);
    const double lam0 = data->Lon0, r = Figure(data).a;
    const double c1 = std::cos(data->Lat1);
    // Only an exact zero fails: cos(pi/2) in doubles is about 6e-17, which
    // gives huge but finite longitudes.
    ForEachPoint(points, count, [&](PROJPOINT& p) {
        if (c1 == 0.0) return false;
        p.y = p.y / r;
        p.x = p.x / (r * c1) + lam0;
        return true;
    });
    return true;
}

} // namespace KVProj
