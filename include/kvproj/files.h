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
// The library's own text file (extension "kvr") keeping a projection, a datum and
// a georeference. A name not ending in "kvr" (ignoring case), or shorter than five
// characters, gets ".kvr" appended. Numbers are written and read in the C locale.

// Writes the file; any record pointer may be null (that part is left out). On a
// failed write the file named exactly as `name` was passed (without the ".kvr"
// completion) is deleted and false returned. The file is replaced as a whole:
// a failed write never leaves half of one.
KVPROJ_API bool KVProjRefFileWriteEx(const char* name, PROJDATA* proj, DatumType datum,
                                     DATUM2WGS84* datumParams, GEOREF* georef);
KVPROJ_API bool KVProjRefFileWrite(char* name, PROJDATA* proj, DatumType datum,
                                   DATUM2WGS84* datumParams);
// Reads the file into the records given (any pointer may be null; datum lines are
// taken only when both `datum` and `datumParams` are given) and reports what was
// found in `*flags`. A missing file, or one of a newer version, reads as success
// with no flags. Control points are allocated into `georef` (free them with
// RefFreeControls).
KVPROJ_API bool KVProjRefFileReadEx(const char* name, PROJDATA* proj, DatumType* datum,
                                    DATUM2WGS84* datumParams, GEOREF* georef,
                                    unsigned int* flags);
KVPROJ_API bool KVProjRefFileRead(char* name, PROJDATA* proj, DatumType* datum,
                                  DATUM2WGS84* datumParams);
// Removes the reference file; true when it is gone (or never was).
KVPROJ_API bool KVProjRefFileDelete(const char* name);
// Removes the reference file of `name` and its georeference siblings: name.RSF,
// name.PRJ, name.WLD, the whole name plus "W", and the world file (map.tif ->
// map.tfW). Stops with false at the first that exists and cannot be removed.
KVPROJ_API bool KVProjRefFilesDelete(const char* name);

// ---------------------------------------------------------------- world and RSF files
// World file: the six affine coefficients, one per line in the order A D B E C F.
// The GEOREF maps pixel CENTRES: pixel (0, 0)'s centre is at (C, F). (A GDAL
// geotransform gives the pixel's top-left corner instead: C - A/2 - B/2,
// F - D/2 - E/2.) The name is built from the image's: map.tif -> map.tfW.

// Tries map.tfW, then map.tifw, then map.WLD (each also in another letter case).
// A missing or truncated file reads as success; GEOPARAM_FILE_FOUND tells
// whether a file was found, GEOPARAM_COEFFICIENTS whether it held six lines.
KVPROJ_API bool KVProjReadESRIWorld(const char* imageName, GEOREF* georef, unsigned int* flags);
// Writes the coefficients (fitted from the controls when the method is not 5).
// True when there is nothing to write; false only when the write fails.
KVPROJ_API bool KVProjWriteESRIWorld(const char* imageName, GEOREF* georef);
// RSF file (image name without extension plus ".RSF"): control points, method 0.
// The controls read are allocated into `georef` (free them with RefFreeControls).
KVPROJ_API bool KVProjReadBlueMarbleRSF(const char* imageName, GEOREF* georef,
                                        unsigned int* flags);
// Writes the controls (generated from the coefficients for method 5). True when
// there is nothing to write; false only when the write fails.
KVPROJ_API bool KVProjWriteBlueMarbleRSF(const char* imageName, GEOREF* georef);

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
// The georeference of an image from its world file, then its RSF file, then its
// GeoTIFF tags; every output may be null. The RSF reading resets the flags the
// world file set, so coefficients of a world file alone come back without
// flags. The projection defaults to unprojected and the datum to WGS 84.
KVPROJ_API bool KVProjGetBitmapGeoParams(const char* imageName, unsigned int* flags, PROJDATA* proj,
                                         DatumType* datum, DATUM2WGS84* datumParams, GEOREF* georef);

} // namespace KVProj

#endif
