// The grid-shift methods as the conversion engine sees them. The NADCON and
// NTv2 readers implement these; until a grid is installed they fail the way a
// missing grid file fails.
#ifndef KVPROJ_DATUM_GRIDSHIFT_H
#define KVPROJ_DATUM_GRIDSHIFT_H

#include "kvproj/datum.h"

namespace KVProj {

// NADCON shift towards WGS 84 with the ".LAS"/".LOS" pair named `area` ("conus",
// "prvi") beside the executable. False only when the grid files cannot be
// opened (after the assertion report and the log line naming both files).
bool NadconShift(const char* area, DATUMPOINT* points, int count);

// Statuses of the NTv2 shift.
enum Ntv2Status : int {
    NTV2_OK = 0,
    NTV2_NO_MEMORY = 3,
    NTV2_OUTSIDE = 4, // per point only: outside the chosen sub-grid's nodes
    NTV2_OPEN_FAILED = 5,
    NTV2_SHORT_READ = 6,
    NTV2_BAD_DATA = 7,
};

// NTv2 shift of `count` points (degrees) with the grid "NTV2_0.GSB" beside the
// executable, loaded on first use: forward (old datum to new) or inverse.
int NTV2Transform(int count, DATUMPOINT* points, bool inverse);

} // namespace KVProj

#endif
