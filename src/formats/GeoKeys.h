// GeoTIFF keys and tags: the code tables shared by the reader and the tag
// builder, and the reading steps behind KVProjGetGeoTIFF. The steps take their
// tags from a GeoTagSource, so that they can be driven by a file (through the
// companion library) or by tag contents held in memory.
#ifndef KVPROJ_FORMATS_GEOKEYS_H
#define KVPROJ_FORMATS_GEOKEYS_H

#include "kvlibw/bitmaptag.h"
#include "kvproj/datum.h"
#include "kvproj/georef.h"
#include "kvproj/projdata.h"

#include <cstdint>

namespace KVProj {

// GeoTIFF key ids.
enum GeoKeyId : uint16_t {
    GK_MODEL_TYPE = 1024,
    GK_RASTER_TYPE = 1025,
    GK_GEOGRAPHIC_TYPE = 2048,
    GK_GEOG_DATUM = 2050,
    GK_GEOG_PRIME_MERIDIAN = 2051,
    GK_GEOG_LINEAR_UNITS = 2052,
    GK_GEOG_LINEAR_UNIT_SIZE = 2053,
    GK_GEOG_ANGULAR_UNITS = 2054,
    GK_GEOG_ANGULAR_UNIT_SIZE = 2055,
    GK_GEOG_ELLIPSOID = 2056,
    GK_GEOG_SEMI_MAJOR = 2057,
    GK_GEOG_SEMI_MINOR = 2058,
    GK_GEOG_INV_FLATTENING = 2059,
    GK_GEOG_AZIMUTH_UNITS = 2060,
    GK_GEOG_PRIME_MERIDIAN_LONG = 2061,
    GK_PROJECTED_CS_TYPE = 3072,
    GK_PCS_CITATION = 3073,
    GK_PROJECTION = 3074,
    GK_PROJ_COORD_TRANS = 3075,
    GK_PROJ_LINEAR_UNITS = 3076,
    GK_PROJ_LINEAR_UNIT_SIZE = 3077,
    GK_PROJ_STD_PARALLEL1 = 3078,
    GK_PROJ_STD_PARALLEL2 = 3079,
    GK_PROJ_NAT_ORIGIN_LONG = 3080,
    GK_PROJ_NAT_ORIGIN_LAT = 3081,
    GK_PROJ_FALSE_EASTING = 3082,
    GK_PROJ_FALSE_NORTHING = 3083,
    GK_PROJ_FALSE_ORIGIN_LONG = 3084,
    GK_PROJ_FALSE_ORIGIN_LAT = 3085,
    GK_PROJ_FALSE_ORIGIN_EASTING = 3086,
    GK_PROJ_FALSE_ORIGIN_NORTHING = 3087,
    GK_PROJ_CENTER_LONG = 3088,
    GK_PROJ_CENTER_LAT = 3089,
    GK_PROJ_CENTER_EASTING = 3090,
    GK_PROJ_CENTER_NORTHING = 3091,
    GK_PROJ_SCALE_AT_NAT_ORIGIN = 3092,
    GK_PROJ_SCALE_AT_CENTER = 3093,
    GK_PROJ_AZIMUTH_ANGLE = 3094,
    GK_PROJ_STRAIGHT_VERT_POLE_LONG = 3095,
};

constexpr int kGeoUserDefined = 32767;

// ---------------------------------------------------------------- code tables

// Linear units: EPSG unit code and units per metre.
struct LinearUnitRow {
    int code;
    double unitsPerMetre;
};
inline constexpr LinearUnitRow kLinearUnits[] = {
    {9001, 1.0},
    {9002, 3.280839895013123},
    {9003, 3.2808333333464565},
    {9004, 3.2807080101205774},
    {9005, 3.280845124129138},
    {9006, 3.280845124129138},
    {9007, 4.971014140820231},
    {9008, 4.970973864717668},
    {9009, 4.970978156949322},
    {9010, 0.04970973863630402},
    {9011, 0.04970978156553952},
    {9012, 1.0936151944636148},
    {9013, 1.0936150414959789},
    {9014, 0.5468066491688539},
    {9015, 0.0005399568034557236},
};

// Units per metre of a ProjLinearUnitsGeoKey code; 0 for an unknown code.
double LinearUnitsPerMetre(int code);

// GeoTIFF coordinate transformation codes and our projection types. Read by
// code (first match) and written by type (first match). The last three rows
// can never be matched by code: reading never yields Gauss-Kruger, azimuthal
// equidistant or Robinson, and code 23 reads as Robinson-Sterling.
struct CoordTransRow {
    int code;
    ProjType type;
};
inline constexpr CoordTransRow kCoordTrans[] = {
    {1, PT_TRANSVERSE_MERCATOR}, {3, PT_HOTINE},
    {6, PT_OBLIQUE_MERCATOR},    {7, PT_MERCATOR},
    {8, PT_LAMBERT_CONIC},       {10, PT_LAMBERT_AZIMUTHAL},
    {11, PT_ALBERS},             {13, PT_EQUIDISTANT_CONIC},
    {14, PT_STEREOGRAPHIC},      {15, PT_STEREOGRAPHIC},
    {16, PT_STEREOGRAPHIC},      {18, PT_CASSINI},
    {19, PT_GNOMONIC},           {20, PT_MILLER},
    {21, PT_ORTHOGRAPHIC},       {22, PT_POLYCONIC},
    {23, PT_ROBINSON_STERLING},  {24, PT_SINUSOIDAL},
    {25, PT_VAN_DER_GRINTEN},    {1, PT_GAUSS_KRUGER},
    {11, PT_AZIMUTHAL_EQUIDISTANT}, {23, PT_ROBINSON},
};

ProjType ProjTypeFromCoordTrans(int code); // 0 for an unknown code
int CoordTransFromProjType(ProjType type);  // 0 when no row has the type

// Projected coordinate system codes of UTM zones outside the WGS blocks: the
// codes first..last are zones firstZone.. of one datum.
struct UtmRangeRow {
    int first, last;
    DatumType datum;
    EllipsoidType ellipsoid;
    ProjType type;
    int firstZone;
    bool south;
};
#define KV_UTM_ROW(first, last, datum, ellipsoid, zone, south)                                     \
    {first, last, static_cast<DatumType>(datum), static_cast<EllipsoidType>(ellipsoid), PT_UTM,   \
     zone, south}
inline constexpr UtmRangeRow kUtmRanges[] = {
    KV_UTM_ROW(20137, 20138, 8, 16, 37, false),   KV_UTM_ROW(20437, 20439, 17, 34, 37, false),
    KV_UTM_ROW(20538, 20539, 15, 35, 38, false),  KV_UTM_ROW(21817, 21818, 44, 34, 17, false),
    KV_UTM_ROW(22391, 22391, 51, 16, 32, false),  KV_UTM_ROW(22523, 22524, 54, 34, 23, true),
    KV_UTM_ROW(23028, 23038, 5, 34, 28, false),   KV_UTM_ROW(23239, 23240, 63, 16, 39, false),
    KV_UTM_ROW(23846, 23853, 98, 32, 46, false),  KV_UTM_ROW(23886, 23894, 98, 32, 46, true),
    KV_UTM_ROW(23947, 23948, 93, 20, 47, false),  KV_UTM_ROW(24047, 24048, 97, 20, 47, false),
    KV_UTM_ROW(24547, 24548, 105, 21, 47, false), KV_UTM_ROW(24818, 24821, 165, 34, 18, false),
    KV_UTM_ROW(24877, 24880, 165, 34, 17, true),  KV_UTM_ROW(26331, 26332, 117, 16, 31, false),
    KV_UTM_ROW(27038, 27040, 121, 16, 38, false), KV_UTM_ROW(27120, 27120, 123, 34, 20, false),
    KV_UTM_ROW(28232, 28232, 164, 16, 32, true),  KV_UTM_ROW(28348, 28358, 243, 3, 48, true),
    KV_UTM_ROW(29118, 29122, 6, 10, 18, false),   KV_UTM_ROW(29177, 29185, 6, 10, 17, true),
    KV_UTM_ROW(29220, 29221, 183, 34, 20, true),  KV_UTM_ROW(29635, 29636, 14, 16, 35, false),
    KV_UTM_ROW(29738, 29739, 202, 34, 38, true),  KV_UTM_ROW(29849, 29850, 203, 24, 49, false),
};
#undef KV_UTM_ROW
static_assert(sizeof kUtmRanges / sizeof kUtmRanges[0] == 26, "26 UTM ranges");

// ---------------------------------------------------------------- reading

// Where the reading steps find tags: returns true and fills `tag` when tag
// `number` exists.
class GeoTagSource {
public:
    virtual ~GeoTagSource() = default;
    virtual bool Read(unsigned number, KVBitmapTag& tag) = 0;
};

// The first image of a TIFF file, read through the companion library.
class FileTagSource : public GeoTagSource {
public:
    explicit FileTagSource(const char* fileName) : m_name(fileName) {}
    bool Read(unsigned number, KVBitmapTag& tag) override;

private:
    KVBitLib m_lib;
    const char* m_name;
};

// Tags held in a list (built tags, or tag contents handed in directly).
class ListTagSource : public GeoTagSource {
public:
    explicit ListTagSource(const KVBitmapTagList& list) : m_list(list) {}
    bool Read(unsigned number, KVBitmapTag& tag) override;

private:
    const KVBitmapTagList& m_list;
};

// Routes libtiff's warnings and errors into the diagnostic log (set once).
void RouteTiffMessagesToLog();

// The whole reading behind KVProjGetGeoTIFF; `flags` is set from 0.
bool GetGeoTIFF(GeoTagSource& source, PROJDATA* proj, DatumType* datum, DATUM2WGS84* datumParams,
                GEOREF* georef, unsigned int* flags);
// The georeference tags. `fromTiepoint` tells whether the coefficients were
// built from one tiepoint and the pixel scale.
bool GetGeorefInfoFromGeoTIFF(GeoTagSource& source, GEOREF* georef, unsigned int* flags,
                              bool* fromTiepoint);
// Rebuilds the tiepoint-and-scale coefficients with model coordinates and
// scales multiplied by `linearFactor` (metres per unit).
bool RecalcCoeffs(GeoTagSource& source, GEOREF* georef, double linearFactor);
// Projection and datum of an EPSG projected coordinate system code.
bool GeoTIFFCoordSysCodeToProjectionAndDatum(int code, PROJDATA* proj, DatumType* datum,
                                            DATUM2WGS84* datumParams);
// The GeoTIFF georeference method for a number of control points.
TransformMethod GeorefMethodForControls(int count);

} // namespace KVProj

#endif
