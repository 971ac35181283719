// Side files that keep a map's or an image's coordinate system: the reference
// file, world and RSF files, ESRI ".prj" files and GeoTIFF tags.
#ifndef KVPROJ_FILES_H
#define KVPROJ_FILES_H

#include "kvproj/datum.h"
#include "kvproj/export.h"
#include "kvproj/georef.h"
#include "kvproj/projdata.h"

namespace KVProj {

// What a side-file reader found, in the flag word every reader fills.
enum GeoParamFlags : unsigned int {
    GEOPARAM_PROJECTION = 0x01,   // a PROJDATA
    GEOPARAM_DATUM = 0x02,        // a DatumType (and its DATUM2WGS84)
    GEOPARAM_COEFFICIENTS = 0x04, // GEOREF method 5: six affine coefficients
    GEOPARAM_CONTROLS = 0x08,     // GEOREF control points
    GEOPARAM_FILE_FOUND = 0x10,   // the file was opened and parsed
};

// ---------------------------------------------------------------- reference file

// ---------------------------------------------------------------- world and RSF files

// ---------------------------------------------------------------- ESRI projection file

// ---------------------------------------------------------------- GeoTIFF

} // namespace KVProj

#endif
