// UTM zone numbers, central meridians and zone names.
#ifndef KVPROJ_UTMZONE_H
#define KVPROJ_UTMZONE_H

#include "kvproj/export.h"

namespace KVProj {

// Name styles of ProjUTMZoneNumberToName (shown for zone 12, north).
enum UTMZoneNameFormat : int {
    UTM_NAME_SHORT = 0,   // "Zone 12N"
    UTM_NAME_LETTERS = 1, // "Zone 12N (114W to 108W)"
    UTM_NAME_SIGNED = 2,  // "Zone 12N (-114 to -108)"
};

// Every function folds its zone argument into 1..60 first: 61 is 1, 0 is 60.

// Writes the zone's name into `name` (`size` characters with the terminator);
// false for a null buffer, an unknown style or a buffer that is too small.
KVPROJ_API bool ProjUTMZoneNumberToName(int zone, bool south, char* name, int size,
                                        UTMZoneNameFormat style);
// Reads the first number of `name` ("Zone 12N", "+12 s", "-5") as a zone and
// a following 's' or 'S' as the southern flag.
KVPROJ_API bool ProjUTMZoneNameToNumber(const char* name, int* zone, bool* south);
// Zone of a longitude in degrees (truncated toward zero first).
KVPROJ_API int ProjUTMLonToZoneNumber(double lon);
// Central meridian of a zone in degrees.
KVPROJ_API double ProjUTMZoneNumberToLon(int zone);

} // namespace KVProj

#endif
