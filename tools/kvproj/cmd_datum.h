// Datum commands of the kvproj tool.
#ifndef KVPROJ_TOOL_CMD_DATUM_H
#define KVPROJ_TOOL_CMD_DATUM_H

#include <string>
#include <vector>

namespace kvtool {

// "kvproj list datums [--profile FILE] [WORD] [--json]": one line (or JSON
// object) per datum whose name holds `search` (ignoring case) with its id,
// name, EPSG code, method and ellipsoid; with a profile (unless empty), its
// custom datums follow. Returns a tool exit code.
int ListDatums(const std::string& profile, const std::string& search = "", bool json = false);

} // namespace kvtool

#endif
