// Coordinate systems as GIS users name them, for every command that takes one:
//   EPSG:n                 a projected or geographic system of the EPSG tables
//   utm:33N                UTM (no datum: give --src-datum/--dst-datum)
//   spcs83:"Alabama East"  state plane zones (NAD 83 / NAD 27 datum)
//   spcs27:101
//   type=lcc lat1=30 ...   the tool's own key=value words
//   map.prj, map.kvr,      side files, read by the library's readers; an image
//   image.tif              through its GeoTIFF tags, its ".prj"/".kvr" siblings
//                          and its world or RSF file
#ifndef KVPROJ_TOOL_CRS_H
#define KVPROJ_TOOL_CRS_H

#include "DatumArgs.h"
#include "SideFiles.h"

#include "kvproj/kvproj.h"

#include <string>
#include <vector>

namespace kvtool {

struct CrsRecord {
    std::string given;       // the argument as typed
    std::string title;       // "EPSG:26917 NAD83 / UTM zone 17N", "file map.prj", ...
    bool hasProj = false;    // false: nothing known about the projection
    KVProj::PROJDATA proj{}; // Type PT_UNPROJECTED for a geographic system
    bool hasDatum = false;
    DatumChoice datum;
    std::string noDatum;    // why the datum is not known, when it is not
    bool hasGeoref = false; // an image's pixel <-> map georeference
    SideRecords image;      // the records an image's look-up gave (georeference in it)
    // The georeference came from GeoTIFF tags, whose pixel (0, 0) is the first
    // pixel's top-left corner; from a world or RSF file it is the pixel's centre.
    bool georefFromTags = false;
    std::vector<std::string> notes; // what each source contributed, conventions
    std::vector<std::string> warnings;
};

// Resolves one argument; false with *error (naming the method or datum we
// lack for an EPSG code that cannot be expressed).
bool ResolveCrs(const std::string& text, CrsRecord* out, std::string* error);

// The --crs argument of a command with one side: resolved, and refused with
// *error when it names no projection (a world file alone, a bare image).
bool ResolveCrsProjection(const std::string& text, CrsRecord* out, std::string* error);

// The EPSG code alone ("4326", "26917").
bool EpsgCrs(int code, CrsRecord* out, std::string* error);

// The EPSG method words of the table ("tm", "lcc1", ...) and their names.
const char* EpsgMethodName(const char* word);

} // namespace kvtool

#endif
