// Side files that keep a map's or an image's coordinate system: the reference
// file, world and RSF files, ESRI ".prj" files and GeoTIFF tags.
#ifndef KVPROJ_FILES_H
#define KVPROJ_FILES_H

#include "kvproj/datum.h"
#include "kvproj/export.h"
#include "kvproj/georef.h"
#include "kvproj/projdata.h"

class KVBitmapTagList; // kvlibw/bitmaptag.h

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

// Reads the ".prj" file of `path` (from the path's last '.' on replaced by
// ".prj"): the keyword dialect or well-known text ("PROJCS"/"GEOGCS"). Any
// output may be null. The outputs are reset first (Type 999, datum 254); a
// missing or empty file is success with no flags. False only when a
// well-known text file holds no tree.
KVPROJ_API bool KVProjEsriPrjFileRead(const char* path, PROJDATA* proj, DatumType* datum,
                                      DATUM2WGS84* datumParams, unsigned int* flags);
// Writes the ".prj" file of `path` as one line of well-known text. True when
// written, and also when there is nothing that can be written (no file is made
// then); false for a null or empty path or a file that cannot be written.
KVPROJ_API bool KVProjEsriPrjFileWrite(const char* path, const PROJDATA* proj, DatumType datum,
                                       const DATUM2WGS84* datumParams);

// ---------------------------------------------------------------- GeoTIFF

// Reads the GeoTIFF keys and georeference tags of `fileName`. `flags` is
// required; the other outputs may be null. A file without GeoTIFF tags (or
// not a TIFF at all) reads as success with no flags. The transformation
// matrix is taken from tag 33920 with E = -m5.
KVPROJ_API bool KVProjGetGeoTIFF(const char* fileName, PROJDATA* proj, DatumType* datum,
                                 DATUM2WGS84* datumParams, GEOREF* georef, unsigned int* flags);
// Merges into `tags` the georeference tags of `georef` (pixel scale and
// tiepoints, or the matrix at 33920) and the keys of `proj` and `datum`; the
// key directory is sorted by key id. Any pointer may be null. Tags merged
// before a failure stay in the list.
KVPROJ_API bool KVProjBuildGeoTIFFTags(KVBitmapTagList& tags, PROJDATA* proj, DatumType datum,
                                       DATUM2WGS84* datumParams, GEOREF* georef);
KVPROJ_API void KVProjDiscardGeoTIFFTags(KVBitmapTagList& tags);

} // namespace KVProj

#endif
