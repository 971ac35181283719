// Miller Cylindrical, sphere only (an ellipsoid's semi-major axis serves as
// the radius). Snyder 11-1, 11-2 and the hyperbolic form of 11-6.
#include "frame/Angles.h"
#include "projections/Figure.h"
#include "projections/Modules.h"
#include "projections/ProjModule.h"

#include <cmath>

namespace KVProj {

bool MillerForward(const PROJDATA* data, PROJPOINT* points, int count) {
    KV_MODULE_CHECK_ARGS(data, points, count);
    const double lam0 = data->Lon0, r = Figure(data).a;
    // 0.4 phi + pi/4 stays below pi/2 even at the poles: no point can fail.
    ForEachPoint(points, count, [&](PROJPOINT& p) {
        p.x = (p.x - lam0) * r;
        p.y = std::log(std::tan(0.4 * p.y + kQuarterPi)) * r / 0.8;
        return true;
    });
    return true;
}

bool MillerInverse(const PROJDATA* data, PROJPOINT* points, int count) {
    KV_MODULE_CHECK_ARGS(data, points, count);
    const double lam0 = data->Lon0, r = Figure(data).a;
    ForEachPoint(points, count, [&](PROJPOINT& p) {
        p.x = p.x / r + lam0;
        p.y = std::atan(std::sinh(0.8 * p.y / r)) / 0.8;
        return true;
    });
    return true;
}

} // namespace KVProj
