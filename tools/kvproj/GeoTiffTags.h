// GeoTIFF tags as the tool writes them: the library's tags, made to read back
// the same in the library's own reader and in other GeoTIFF readers.
#ifndef KVPROJ_TOOL_GEOTIFFTAGS_H
#define KVPROJ_TOOL_GEOTIFFTAGS_H

#include "kvlibw/bitmaptag.h"

#include <string>

namespace kvtool {

// Adjusts the tags built by KVProjBuildGeoTIFFTags before they are written:
// - the library writes the pixel scale as (A, E) while its reader takes
//   E = -ScaleY; the published form is (A, -E), positive for a north-up
//   image, which both readers take as E;
// - the library keeps a rotated georeference's matrix at 33920 and reads its
//   m5 back as -E: that copy gets m5 = -E, and the matrix as built (m5 = E)
//   also goes under the published number 34264, which other readers use and
//   the library ignores;
// - the tiepoint ties raster (0, 0) to the coefficients' C and F, the centre
//   of the first pixel, which a GeoTIFF calls RasterPixelIsPoint: the raster
//   type key says so, and other readers then put the image's corner half a
//   pixel further out, where a world file of the same coefficients puts it;
// - control points go without the pixel scale the library computes for them:
//   beside several tiepoints it makes other readers take the first one and the
//   scale as a north-up georeference; the library's reader ignores it there;
// - keys without a model type (an unprojected system, or a datum alone) get
//   the geographic model type, without which other readers make a local
//   system of them; the library's reader takes neither model to a projection.
// False when a tag cannot be changed (the list is then left as it was).
bool MakeGeoTiffTagsPortable(KVBitmapTagList& tags);

// The raster type key of the GeoTIFF `path` (1 RasterPixelIsArea, also when
// the key is absent; 2 RasterPixelIsPoint); 0 when the file has no GeoTIFF
// key directory.
int GeoTiffRasterType(const std::string& path);

} // namespace kvtool

#endif
