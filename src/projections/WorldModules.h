// Converters of the conic and world projection modules, for the module table:
//   ProjType  2 Albers Equal Area Conic   AlbersForward   / AlbersInverse
//   ProjType  8 Mollweide                 MolleForward    / MolleInverse
//   ProjType 14 Robinson                  RobinForward    / RobinInverse
//   ProjType 15 Van Der Grinten           VanDerForward   / VanDerInverse
//   ProjType 19 Sinusoidal                SinusForward    / SinusInverse
//   ProjType 23 Eckert IV                 Eckert4Forward  / Eckert4Inverse
//   ProjType 24 Eckert VI                 Eckert6Forward  / Eckert6Inverse
//   ProjType 26 Equidistant Conic         EquiConForward  / EquiConInverse
// All keep the module contract of ProjModule.h: the engine's working copy with
// angles in radians, points converted in place.
#ifndef KVPROJ_PROJECTIONS_WORLDMODULES_H
#define KVPROJ_PROJECTIONS_WORLDMODULES_H

#include "kvproj/projdata.h"

namespace KVProj {

bool AlbersForward(PROJDATA* data, PROJPOINT* points, int count);
bool AlbersInverse(PROJDATA* data, PROJPOINT* points, int count);
bool EquiConForward(PROJDATA* data, PROJPOINT* points, int count);
bool EquiConInverse(PROJDATA* data, PROJPOINT* points, int count);
bool SinusForward(PROJDATA* data, PROJPOINT* points, int count);
bool SinusInverse(PROJDATA* data, PROJPOINT* points, int count);
bool MolleForward(PROJDATA* data, PROJPOINT* points, int count);
bool MolleInverse(PROJDATA* data, PROJPOINT* points, int count);
bool Eckert4Forward(PROJDATA* data, PROJPOINT* points, int count);
bool Eckert4Inverse(PROJDATA* data, PROJPOINT* points, int count);
bool Eckert6Forward(PROJDATA* data, PROJPOINT* points, int count);
bool Eckert6Inverse(PROJDATA* data, PROJPOINT* points, int count);
bool RobinForward(PROJDATA* data, PROJPOINT* points, int count);
bool RobinInverse(PROJDATA* data, PROJPOINT* points, int count);
bool VanDerForward(PROJDATA* data, PROJPOINT* points, int count);
bool VanDerInverse(PROJDATA* data, PROJPOINT* points, int count);

} // namespace KVProj

#endif
