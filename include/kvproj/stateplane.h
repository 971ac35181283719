// State plane coordinate zones: the zone catalogue (names, USGS/FIPS codes,
// EPSG codes on NAD 27 and NAD 83) and the expansion of a state plane record
// into the projection that its zone defines.
#ifndef KVPROJ_STATEPLANE_H
#define KVPROJ_STATEPLANE_H

#include "kvproj/export.h"
#include "kvproj/projdata.h"

namespace KVProj {

// A few zones that callers and tests refer to by name; every value 0..141 is a zone.
constexpr StateZoneType SZ_ALABAMA_EAST = static_cast<StateZoneType>(0);
constexpr StateZoneType SZ_ALASKA_1 = static_cast<StateZoneType>(2);
constexpr StateZoneType SZ_GUAM_ISLAND = static_cast<StateZoneType>(34);
constexpr StateZoneType SZ_MICHIGAN_CENTRAL = static_cast<StateZoneType>(65);
constexpr StateZoneType SZ_MONTANA = static_cast<StateZoneType>(75);
constexpr StateZoneType SZ_GREAT_LAKES_1 = static_cast<StateZoneType>(138);
constexpr StateZoneType SZ_LAST_ZONE = static_cast<StateZoneType>(141);

// Length of the name buffer of ProjGetStateZoneInfo (terminator included).
constexpr int kStateZoneNameLen = 256;

// Empties `name` and zeroes `*usgsCode` (when non-null), then for a zone
// 0..141 copies its name (at most 255 characters) and its USGS code.
KVPROJ_API void ProjGetStateZoneInfo(StateZoneType zone, char* name, int* usgsCode);

// Case-insensitive search by name; stores 142 unless a zone matches.
KVPROJ_API bool ProjGetStateZoneFromName(StateZoneType* zone, char* name);

// First zone whose USGS code equals `code` (0 finds zone 138, which has none).
KVPROJ_API bool ProjGetStateZoneFromUSGSCode(StateZoneType* zone, int code);

// Replaces the record's parameters by those of its zone in the system named
// by `Type` (9 NAD 27, 10 NAD 83); sets `Zone` to 142 when that fails.
KVPROJ_API void ProjGetStateZoneParams(PROJDATA* data);

// Zone and system (type 9 or 10) of an EPSG projected CRS code.
KVPROJ_API bool ProjGetStateZoneFromPOSCNumber(int code, ProjType* type, StateZoneType* zone);

// EPSG code of `zone` on the system `type` (9 or 10); false where there is none.
KVPROJ_API bool ProjStateZoneToPOSCNumber(ProjType type, StateZoneType zone, int* code);

} // namespace KVProj

#endif
