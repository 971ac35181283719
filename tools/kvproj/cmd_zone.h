// State plane and UTM zone commands of the kvproj tool.
#ifndef KVPROJ_TOOL_CMD_ZONE_H
#define KVPROJ_TOOL_CMD_ZONE_H

#include <string>
#include <vector>

namespace kvtool {

// "kvproj list zones [--system 27|83]": one line per zone with its value,
// FIPS code, EPSG code(s), projection and name; `system` 27 or 83 for one
// system only, 0 for both. Returns a tool exit code.
int ListZones(int system);

} // namespace kvtool

#endif
