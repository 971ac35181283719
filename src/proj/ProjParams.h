// Internal helpers of the projection parameter interface.
#ifndef KVPROJ_PROJ_PROJPARAMS_H
#define KVPROJ_PROJ_PROJPARAMS_H

#include "kvproj/projdata.h"

namespace KVProj {

// Rewrites every flag byte of a working copy as 0 or 1 (the flags of the
// parameter table and bWrapLon), so that everything after the entry of a
// function reads them as bools. Done once, on a copy: the host's record and
// the handle keep their bytes.
void NormaliseProjFlags(PROJDATA& data);

// Writes `data` field by field to the diagnostic log; nothing when the log is off.
void ProjDumpData(const PROJDATA* data);

// Name of a state plane zone for the dump (buffer of 256 characters); false,
// with an empty name, when the zone has none.
bool StateZoneNameForDump(int zone, char* name);

} // namespace KVProj

#endif
