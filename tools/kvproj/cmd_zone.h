// State plane and UTM zone commands of the kvproj tool.
#ifndef KVPROJ_TOOL_CMD_ZONE_H
#define KVPROJ_TOOL_CMD_ZONE_H

#include <string>
#include <vector>

namespace kvtool {

// "kvproj list zones [--system 27|83]": one line per zone with its value,
// FIPS code, EPSG code(s), projection and name. `args` are the words after
// "zones". Returns a tool exit code.
int ListZones(const std::vector<std::string>& args);

} // namespace kvtool

#endif
