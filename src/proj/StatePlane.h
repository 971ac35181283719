// Internal entry points of the state plane zone catalogue.
#ifndef KVPROJ_PROJ_STATEPLANE_H
#define KVPROJ_PROJ_STATEPLANE_H

#include "kvproj/projdata.h"

namespace KVProj {

// The zone builders: expand `data->Zone` into the projection that the zone
// defines on NAD 27 / NAD 83 (Type, Ellipsoid, angles, scale, false origin).
// They first zero Lon0, Lat0, Lon1, Lat1, Lon2, Lat2, xOrg, yOrg and K0 and
// leave the other fields alone unless the zone sets them. False when the
// system does not define the zone. Null `data` reports an assertion.
bool StatePlaneBuild27(PROJDATA* data);
bool StatePlaneBuild83(PROJDATA* data);
// The builder of `type` (9 or 10); false for any other type.
bool StatePlaneBuild(ProjType type, PROJDATA* data);

// Name of zone 0..141, or "" for any other value. Never null.
const char* StateZoneName(int zone);

} // namespace KVProj

#endif
