// Internal steps of the ".prj" reader and writer, exposed for the tests, the
// fuzz targets and the tool.
#ifndef KVPROJ_FORMATS_ESRIPRJ_H
#define KVPROJ_FORMATS_ESRIPRJ_H

#include "formats/Wkt.h"
#include "kvproj/datum.h"
#include "kvproj/projdata.h"

#include <functional>
#include <string>

namespace KVProj {

// What one reading of a ".prj" file yields.
struct PrjRecord {
    PROJDATA proj;
    DatumType datum;
    DATUM2WGS84 params;
};

// Hands out the lines of a file one by one; false at the end.
using PrjLineSource = std::function<bool(std::string&)>;
// Splits `text` into lines at LF (a CR before the LF is dropped).
PrjLineSource PrjLinesOfText(const std::string& text);

// The ".prj" name of a data file: from the path's last '.' on replaced by
// ".prj", or ".prj" appended when the path has no '.'.
std::string PrjFileName(const char* path);

// ProjType of a projection name, compared without blanks, tabs, line ends, '-'
// and '_' and ignoring case; 999 when none matches.
int FindProjection(const char* name);
// EllipsoidType of an old-style spheroid name; 56 when none matches.
int FindSpheroid(const char* name);

// The keyword dialect ("Projection UTM", "Parameters", ...). Never fails.
bool ReadOldPrj(const PrjLineSource& lines, PrjRecord* out);
// The well-known text dialect, from the first line only. False for an empty
// first line or a tree without nodes.
bool ReadNewPrj(const PrjLineSource& lines, PrjRecord* out);

// The tree that KVProjEsriPrjFileWrite writes; `root` empty when there is
// nothing to write. `projGiven`/`paramsGiven` say whether the caller passed those
// records. False when a state plane zone cannot be expanded.
bool GenWktNodesForProjectionAndDatum(WktNode& root, const PROJDATA& proj, bool projGiven,
                                      DatumType datum, const DATUM2WGS84& params,
                                      bool paramsGiven);
void GenWktNodesForProjectionParameters(WktNode& projcs, const PROJDATA& proj);
bool GenWktNodesForStatePlaneSystem(WktNode& root, const PROJDATA& proj);

} // namespace KVProj

#endif
