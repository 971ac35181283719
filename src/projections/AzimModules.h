// Forward and inverse converters of the azimuthal, oblique and miscellaneous
// modules, with the module-table contract of ProjModule.h: radians in, units
// of MajorRadius out (and back), failed points marked, no state between calls.
//
// Field conventions beyond the module table:
//   Stereographic   centre (Lat0, Lon0), scale K0. |Lat0| = 90 selects the polar
//                   aspect (north or south by its sign); then a nonzero Lat1 in
//                   the same hemisphere short of the pole is the latitude of
//                   true scale and replaces K0. Any other Lat0 gives the oblique
//                   (equatorial for 0) aspect.
//   Orthographic    centre (Lat0, Lon0).
//   Gnomonic, Azimuthal Equidistant, Lambert Azimuthal Equal Area
//                   centre (Lat1, Lon0).
//   Hotine          bUseAlpha: central line through (Lat0, Lon1) with azimuth
//                   Alpha; otherwise through (Lat1, Lon1) and (Lat2, Lon2), Lat0
//                   the latitude of the centre. bUOffset measures u from the
//                   centre instead of the natural origin; bRotate rotates (u, v)
//                   by the central azimuth into (x, y), else x = u, y = v.
//   Oblique Mercator central line through (Lat1, Lon1) and (Lat2, Lon2), x
//                   along it from its crossing of the equator, scale K0.
//   Polyconic       origin (Lat0, Lon0).     Bonne   standard parallel Lat1.
//   Cassini         origin (Lat0, Lon0).     Robinson-Sterling  meridian Lon0.
#ifndef KVPROJ_PROJECTIONS_AZIMMODULES_H
#define KVPROJ_PROJECTIONS_AZIMMODULES_H

#include "kvproj/projdata.h"

namespace KVProj {

bool PolarForward(PROJDATA* data, PROJPOINT* points, int count); // type 6
bool PolarInverse(PROJDATA* data, PROJPOINT* points, int count);
bool OrthoForward(PROJDATA* data, PROJPOINT* points, int count); // type 7
bool OrthoInverse(PROJDATA* data, PROJPOINT* points, int count);
bool PolyconForward(PROJDATA* data, PROJPOINT* points, int count); // type 11
bool PolyconInverse(PROJDATA* data, PROJPOINT* points, int count);
bool HotineForward(PROJDATA* data, PROJPOINT* points, int count); // type 12
bool HotineInverse(PROJDATA* data, PROJPOINT* points, int count);
bool CassiniForward(PROJDATA* data, PROJPOINT* points, int count); // type 16
bool CassiniInverse(PROJDATA* data, PROJPOINT* points, int count);
bool LamAEAForward(PROJDATA* data, PROJPOINT* points, int count); // type 20
bool LamAEAInverse(PROJDATA* data, PROJPOINT* points, int count);
bool BonneForward(PROJDATA* data, PROJPOINT* points, int count); // type 21
bool BonneInverse(PROJDATA* data, PROJPOINT* points, int count);
bool RobSterForward(PROJDATA* data, PROJPOINT* points, int count); // type 22
bool RobSterInverse(PROJDATA* data, PROJPOINT* points, int count);
bool OMercForward(PROJDATA* data, PROJPOINT* points, int count); // type 25
bool OMercInverse(PROJDATA* data, PROJPOINT* points, int count);
bool GnomForward(PROJDATA* data, PROJPOINT* points, int count); // type 27
bool GnomInverse(PROJDATA* data, PROJPOINT* points, int count);
bool AzimuthForward(PROJDATA* data, PROJPOINT* points, int count); // type 28
bool AzimuthInverse(PROJDATA* data, PROJPOINT* points, int count);

} // namespace KVProj

#endif
