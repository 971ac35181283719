// Internal helpers of the projection parameter interface.
#ifndef KVPROJ_PROJ_PROJPARAMS_H
#define KVPROJ_PROJ_PROJPARAMS_H

#include "kvproj/projdata.h"

namespace KVProj {

// Writes `data` field by field to the diagnostic log; nothing when the log is off.
void ProjDumpData(const PROJDATA* data);

// Name of a state plane zone for the dump (buffer of 256 characters); false,
// with an empty name, when the zone has none.
bool StateZoneNameForDump(int zone, char* name);

} // namespace KVProj

#endif
