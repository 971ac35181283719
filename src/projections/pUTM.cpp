// Universal Transverse Mercator. The zone's central meridian, the 0.9996 scale
// and the false origin are the engine's business; the formulas are the
// transverse Mercator ones with UTM's own two guards.
#include "projections/Modules.h"
#include "projections/TMercCore.h"

namespace KVProj {

bool UTMForward(const PROJDATA* data, PROJPOINT* points, int count) {
    KV_MODULE_CHECK_ARGS(data, points, count);
    tmerc::Forward<tmerc::Flavor::UTM>(data, points, count);
    return true;
}

bool UTMInverse(const PROJDATA* data, PROJPOINT* points, int count) {
    KV_MODULE_CHECK_ARGS(data, points, count);
    tmerc::Inverse<tmerc::Flavor::UTM>(data, points, count);
    return true;
}

} // namespace KVProj
