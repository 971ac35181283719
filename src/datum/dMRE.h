// Multiple regression equations: the published polynomial shifts from eight
// continental datums to WGS 84 (there is no inverse).
#ifndef KVPROJ_DATUM_DMRE_H
#define KVPROJ_DATUM_DMRE_H

#include "kvproj/datum.h"

namespace KVProj {

// Whether `id` is one of the regression datums (224..231).
bool MreHasDatum(int id);
// Shifts in arcseconds at latitude `lat`, longitude `lon` (degrees, longitude
// in -180..180) on datum `id`; false when `id` has no equations.
bool MreDeltas(int id, double lat, double lon, double* dLatSec, double* dLonSec);
// Adds the shift of datum `id` to every point that is not unplottable.
bool MreShift(int id, DATUMPOINT* points, int count);

} // namespace KVProj

#endif
