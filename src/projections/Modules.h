// The forward and inverse converters of every projection module, in ProjType
// order, so that they read side by side with the rows of ModuleTable.cpp.
// Types 0 (unprojected), 9 and 10 (state plane, resolved by the engine) have
// none; type 18 shares the transverse Mercator converters. All keep the module
// contract of ProjModule.h.
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
#ifndef KVPROJ_PROJECTIONS_MODULES_H
#define KVPROJ_PROJECTIONS_MODULES_H

#include "kvproj/projdata.h"

namespace KVProj {

// 1 Mercator
bool MercForward(const PROJDATA* data, PROJPOINT* points, int count);
bool MercInverse(const PROJDATA* data, PROJPOINT* points, int count);
// 2 Albers Equal Area Conic
bool AlbersForward(const PROJDATA* data, PROJPOINT* points, int count);
bool AlbersInverse(const PROJDATA* data, PROJPOINT* points, int count);
// 3 Miller Cylindrical
bool MillerForward(const PROJDATA* data, PROJPOINT* points, int count);
bool MillerInverse(const PROJDATA* data, PROJPOINT* points, int count);
// 4 Universal Transverse Mercator
bool UTMForward(const PROJDATA* data, PROJPOINT* points, int count);
bool UTMInverse(const PROJDATA* data, PROJPOINT* points, int count);
// 5 Lambert Conformal Conic
bool LambertForward(const PROJDATA* data, PROJPOINT* points, int count);
bool LambertInverse(const PROJDATA* data, PROJPOINT* points, int count);
// 6 Stereographic (polar and oblique aspects)
bool PolarForward(const PROJDATA* data, PROJPOINT* points, int count);
bool PolarInverse(const PROJDATA* data, PROJPOINT* points, int count);
// 7 Orthographic
bool OrthoForward(const PROJDATA* data, PROJPOINT* points, int count);
bool OrthoInverse(const PROJDATA* data, PROJPOINT* points, int count);
// 8 Mollweide
bool MolleForward(const PROJDATA* data, PROJPOINT* points, int count);
bool MolleInverse(const PROJDATA* data, PROJPOINT* points, int count);
// 11 Polyconic
bool PolyconForward(const PROJDATA* data, PROJPOINT* points, int count);
bool PolyconInverse(const PROJDATA* data, PROJPOINT* points, int count);
// 12 Hotine Oblique Mercator
bool HotineForward(const PROJDATA* data, PROJPOINT* points, int count);
bool HotineInverse(const PROJDATA* data, PROJPOINT* points, int count);
// 13 Equidistant Cylindrical
bool EquiCylForward(const PROJDATA* data, PROJPOINT* points, int count);
bool EquiCylInverse(const PROJDATA* data, PROJPOINT* points, int count);
// 14 Robinson
bool RobinForward(const PROJDATA* data, PROJPOINT* points, int count);
bool RobinInverse(const PROJDATA* data, PROJPOINT* points, int count);
// 15 Van der Grinten
bool VanDerForward(const PROJDATA* data, PROJPOINT* points, int count);
bool VanDerInverse(const PROJDATA* data, PROJPOINT* points, int count);
// 16 Cassini
bool CassiniForward(const PROJDATA* data, PROJPOINT* points, int count);
bool CassiniInverse(const PROJDATA* data, PROJPOINT* points, int count);
// 17 Transverse Mercator; also 18, Gauss-Kruger
bool TMercForward(const PROJDATA* data, PROJPOINT* points, int count);
bool TMercInverse(const PROJDATA* data, PROJPOINT* points, int count);
// 19 Sinusoidal
bool SinusForward(const PROJDATA* data, PROJPOINT* points, int count);
bool SinusInverse(const PROJDATA* data, PROJPOINT* points, int count);
// 20 Lambert Azimuthal Equal Area
bool LamAEAForward(const PROJDATA* data, PROJPOINT* points, int count);
bool LamAEAInverse(const PROJDATA* data, PROJPOINT* points, int count);
// 21 Bonne
bool BonneForward(const PROJDATA* data, PROJPOINT* points, int count);
bool BonneInverse(const PROJDATA* data, PROJPOINT* points, int count);
// 22 Robinson-Sterling
bool RobSterForward(const PROJDATA* data, PROJPOINT* points, int count);
bool RobSterInverse(const PROJDATA* data, PROJPOINT* points, int count);
// 23 Eckert IV
bool Eckert4Forward(const PROJDATA* data, PROJPOINT* points, int count);
bool Eckert4Inverse(const PROJDATA* data, PROJPOINT* points, int count);
// 24 Eckert VI
bool Eckert6Forward(const PROJDATA* data, PROJPOINT* points, int count);
bool Eckert6Inverse(const PROJDATA* data, PROJPOINT* points, int count);
// 25 Oblique Mercator
bool OMercForward(const PROJDATA* data, PROJPOINT* points, int count);
bool OMercInverse(const PROJDATA* data, PROJPOINT* points, int count);
// 26 Equidistant Conic
bool EquiConForward(const PROJDATA* data, PROJPOINT* points, int count);
bool EquiConInverse(const PROJDATA* data, PROJPOINT* points, int count);
// 27 Gnomonic
bool GnomForward(const PROJDATA* data, PROJPOINT* points, int count);
bool GnomInverse(const PROJDATA* data, PROJPOINT* points, int count);
// 28 Azimuthal Equidistant
bool AzimuthForward(const PROJDATA* data, PROJPOINT* points, int count);
bool AzimuthInverse(const PROJDATA* data, PROJPOINT* points, int count);

} // namespace KVProj

#endif
