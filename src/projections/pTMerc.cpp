// Transverse Mercator (also serves Gauss-Kruger): sphere or ellipsoid, origin
// at (Lat0, Lon0), scale K0 on the central meridian.
#include "projections/Modules.h"
#include "projections/TMercCore.h"

namespace KVProj {

bool TMercForward(const PROJDATA* data, PROJPOINT* points, int count) {
    KV_MODULE_CHECK_ARGS(data, points, count);
    tmerc::Forward<tmerc::Flavor::General>(data, points, count);
    return true;
}

bool TMercInverse(const PROJDATA* data, PROJPOINT* points, int count) {
    KV_MODULE_CHECK_ARGS(data, points, count);
    tmerc::Inverse<tmerc::Flavor::General>(data, points, count);
    return true;
}

} // namespace KVProj
