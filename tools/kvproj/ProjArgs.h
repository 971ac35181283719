// Projection records from the command line, shared by the sub-commands that
// need one:
//   --proj "type=utm lon0=15 south=1 ellipsoid=47"   key=value words
//   --zone spcs83:"Alabama East" | spcs27:101 | epsg:26929
//   --utm 33N
// Keys are PROJDATA field names ("Lon0", "xOrg"), parameter labels
// ("False Easting", quoted when they hold blanks) or short aliases ("x0",
// "k", "ellps", "a", "rf"), all compared ignoring case. Angles take decimal
// degrees or degree text ("30d30'", "85d50'W").
#ifndef KVPROJ_TOOL_PROJARGS_H
#define KVPROJ_TOOL_PROJARGS_H

#include "kvproj/projdata.h"

#include <CLI/CLI.hpp>

#include <cstdint>
#include <string>
#include <vector>

namespace kvtool {

// The label of parameter `id` ("False Easting"), "?" for none.
std::string ParamLabel(int id);

// The PROJDATA field name of parameter `id` ("xOrg"), a key --proj takes;
// "" for none.
std::string ParamFieldName(int id);

// What the tool thinks of a record: `parameter` 0 when it can be used,
// otherwise the id of the parameter at fault (the library's own checks first,
// then non-finite values and projections that convert no point) and why.
struct RecordVerdict {
    int parameter = 0;
    std::string message;
};
RecordVerdict CheckRecord(const KVProj::PROJDATA& data);

// A record with nothing chosen: zeros, Scale 1, WGS 84, no state zone.
KVProj::PROJDATA EmptyProjRecord();

// Sets one parameter; on failure *error says why.
bool ApplyProjParam(const std::string& key, const std::string& value, KVProj::PROJDATA* data,
                    std::string* error);

// Applies every key=value word of `text` (blanks separate words; double
// quotes group blanks into a word).
bool ApplyProjParams(const std::string& text, KVProj::PROJDATA* data, std::string* error);

// False, naming the key and listing the parameters of the record's
// projection, when a key=value word of `text` sets a parameter that
// projection does not read (a zone for UTM, a second parallel for Mercator):
// such a word would be ignored without a trace.
bool UsesEveryKey(const std::string& text, const KVProj::PROJDATA& data, std::string* error);

// A state plane record: "spcs27:" or "spcs83:" followed by a zone name or
// USGS (FIPS) code, or "epsg:" and the zone's EPSG code.
bool ZoneRecord(const std::string& text, KVProj::PROJDATA* data, std::string* error);

// A UTM record from "33N", "33S" or "33" (north) on WGS 84.
bool UtmRecord(const std::string& text, KVProj::PROJDATA* data, std::string* error);

// What the command line said about one projection, before it is built.
struct ProjRequest {
    bool given = false;
    std::string baseKind; // "zone", "utm" or "" (none)
    std::string base;     // the --zone or --utm value
    std::string params;   // every --proj value, joined by blanks
};

// A figure to lay under the --proj words: the ellipsoid of a datum the
// projection's coordinates refer to. Ellipsoid 0 takes MajorRadius and
// Flattening; `set` false means none.
struct ProjFigure {
    bool set = false;
    int32_t ellipsoid = 0;
    double majorRadius = 0.0;
    double flattening = 0.0;
};

// The projection options of one side: "--<prefix>proj" (repeatable, the
// words joined), "--<prefix>zone" and "--<prefix>utm", for every prefix.
struct ProjOptions {
    std::vector<std::string> proj;
    std::string zone, utm;
    CLI::Option* zoneOpt = nullptr;
    CLI::Option* utmOpt = nullptr;
};
void AddProjectionOptions(CLI::App& app, const std::vector<std::string>& prefixes, const char* side,
                          ProjOptions* o);

// What the options said; false when both a zone and a UTM zone were given.
bool RequestFrom(const ProjOptions& o, ProjRequest* request, std::string* error);

// Builds the record: --zone or --utm first, then `figure` unless the record is
// a state plane zone (a zone brings its own figure), then the --proj words on
// top, so that an ellipsoid named there wins.
bool BuildProjection(const ProjRequest& request, const ProjFigure* figure, KVProj::PROJDATA* data,
                     std::string* error);

// The coordinate-system options every command shares: --src and --dst for a
// command with two sides, --crs for one. Each takes EPSG:n, utm:33N,
// spcs83:ZONE, spcs27:ZONE, key=value words or a file (map.prj, map.kvr, an
// image); Crs.h resolves them.
struct CrsArgs {
    std::string src, dst, crs;
    bool Given() const { return !src.empty() || !dst.empty() || !crs.empty(); }
};
void AddCrsOptions(CLI::App& app, bool twoSides, CrsArgs* o);

} // namespace kvtool

#endif
