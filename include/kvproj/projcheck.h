// Validation of a projection parameter record.
#ifndef KVPROJ_PROJCHECK_H
#define KVPROJ_PROJCHECK_H

#include "kvproj/export.h"
#include "kvproj/projdata.h"

namespace KVProj {

// Length of the message buffer of ProjCheckParams (terminator included).
constexpr int kProjCheckMessageLen = 256;

// Runs the parameter tests in order and stops at the first failure.
// Returns 0 when the record is usable, 998 for a null record, otherwise the
// parameter id of the offending parameter. `message` (optional, at least 256
// characters) receives the failure text; with `report` the failure also goes
// to the host's error callback.
KVPROJ_API int ProjCheckParams(const PROJDATA* data, char* message, bool report);

} // namespace KVProj

#endif
