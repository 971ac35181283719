// State plane and UTM zone commands of the kvproj tool.
#ifndef KVPROJ_TOOL_CMD_ZONE_H
#define KVPROJ_TOOL_CMD_ZONE_H

#include "Json.h"

#include "kvproj/projdata.h"

#include <string>
#include <vector>

namespace kvtool {

// A state plane zone expanded on one system (NAD 27 or NAD 83).
struct ExpandedZone {
    bool defined = false;     // false: the system has no such zone
    int epsg = 0;             // 0: no EPSG code
    KVProj::PROJDATA data{};  // as the library expands it (Type 4, 5, 11 or 12)
    int type = 0;             // the projection type the parameters are given for
    std::vector<int> params;  // the parameter ids shown, in the projection's order
    // Why a record typed in with these parameters is refused ("" when it is
    // not): the zone tables are not checked as typed records are, and one
    // zone's standard parallels lie closer than the Lambert check allows.
    std::string refused;
};

// Expands `zone` on `system` (PT_STATE_PLANE_27 or PT_STATE_PLANE_83). A
// transverse Mercator zone expands to type 4 (UTM's module) with the zone's
// own origin and scale; it is given as type 17, Transverse Mercator, which
// converts the same, since a record of type 4 has its false origin reset to
// UTM's when it is created.
ExpandedZone ExpandZone(KVProj::ProjType system, int zone);

// The zone's projection as --proj words ("Type=17 Ellipsoid=15 K0=0.99996
// ..."); a record built from them converts as the zone does. "" when the
// system has no such zone.
std::string ZoneProjWords(const ExpandedZone& zone);

// "kvproj list zones [--system 27|83] [WORD]": one line (or JSON object) per
// zone whose name holds `search` (ignoring case) with its value, FIPS code,
// EPSG code(s), projection and name; `system` 27 or 83 for one system only,
// 0 for both. Returns a tool exit code.
int ListZones(int system, const std::string& search, bool json);

} // namespace kvtool

#endif
