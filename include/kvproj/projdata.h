// The projection parameter record, the point record, and the catalogue of
// projection types and their parameters.
#ifndef KVPROJ_PROJDATA_H
#define KVPROJ_PROJDATA_H

#include "kvproj/ellipsoid.h"
#include "kvproj/export.h"

#include <cstddef>
#include <cstdint>

namespace KVProj {

enum ProjType : int {
    PT_UNPROJECTED = 0,
    PT_MERCATOR = 1,
    PT_ALBERS = 2,
    PT_MILLER = 3,
    PT_UTM = 4,
    PT_LAMBERT_CONIC = 5,
    PT_STEREOGRAPHIC = 6,
    PT_ORTHOGRAPHIC = 7,
    PT_MOLLWEIDE = 8,
    PT_STATE_PLANE_27 = 9,
    PT_STATE_PLANE_83 = 10,
    PT_POLYCONIC = 11,
    PT_HOTINE = 12,
    PT_EQUIDISTANT_CYLINDRICAL = 13,
    PT_ROBINSON = 14,
    PT_VAN_DER_GRINTEN = 15,
    PT_CASSINI = 16,
    PT_TRANSVERSE_MERCATOR = 17,
    PT_GAUSS_KRUGER = 18,
    PT_SINUSOIDAL = 19,
    PT_LAMBERT_AZIMUTHAL = 20,
    PT_BONNE = 21,
    PT_ROBINSON_STERLING = 22,
    PT_ECKERT_IV = 23,
    PT_ECKERT_VI = 24,
    PT_OBLIQUE_MERCATOR = 25,
    PT_EQUIDISTANT_CONIC = 26,
    PT_GNOMONIC = 27,
    PT_AZIMUTHAL_EQUIDISTANT = 28,
    PT_COUNT = 29,
    PT_UNDEFINED = 999,
};

enum ProjDataType : int {
    PDT_DOUBLE = 0,
    PDT_BOOL = 1,
    PDT_PROJTYPE = 2,
    PDT_STATEZONE = 3,
    PDT_ELLIPSOID = 4,
    PDT_END = 5,
};

// Parameter ids of the catalogue (ProjEnumParam, ProjParamInfo, ProjGetParam,
// ProjSetParam) and the results of ProjCheckParams: the id of the field at
// fault. The functions keep taking and returning int.
enum ProjParamId : int {
    PP_NONE = 0,
    PP_TYPE = 1,
    PP_SCALE = 2,
    PP_XORG = 3,
    PP_YORG = 4,
    PP_LAT0 = 5,
    PP_LON0 = 6,
    PP_LAT1 = 7,
    PP_LAT2 = 8,
    PP_LAT3 = 9,
    PP_LON1 = 10,
    PP_LON2 = 11,
    PP_LON3 = 12,
    PP_K0 = 13,
    PP_SOUTH = 14,
    PP_ZONE = 15,
    PP_USE_ALPHA = 16,
    PP_ALPHA = 17,
    PP_ROTATE = 18,
    PP_UOFFSET = 19,
    PP_ELLIPSOID = 20,
    PP_MAJOR_RADIUS = 21,
    PP_FLATTENING = 22,
    PP_COUNT = 22,
};

// State plane zones 0..141 (the zone catalogue names them); 142 means none.
enum StateZoneType : int {
    STATEZONE_COUNT = 142,
    STATEZONE_NONE = 142,
};

#pragma pack(push, 1)
// One projection. Angles in decimal degrees, distances in metres (or units of
// the unit sphere). Byte-packed: this layout is part of the binary interface.
struct PROJDATA {
    ProjType Type;
    double Scale;       // applied to projected coordinates; 1 = none
    double xOrg;        // false easting
    double yOrg;        // false northing
    double Lat0;        // central latitude
    double Lon0;        // central longitude
    double Lat1;        // first standard parallel
    double Lat2;        // second standard parallel
    double Lat3;        // third standard parallel
    double Lon1;        // first meridian
    double Lon2;        // second meridian
    double Lon3;        // third meridian
    double K0;          // central scale factor
    bool bSouth;        // southern hemisphere (UTM)
    StateZoneType Zone; // state plane zone (types 9 and 10)
    bool bUseAlpha;     // use the azimuth Alpha (oblique projections)
    double Alpha;       // azimuth, degrees
    bool bRotate;       // rotate U/V to X/Y (oblique projections)
    bool bUOffset;      // offset by U (oblique projections)
    EllipsoidType Ellipsoid;
    double MajorRadius; // used when Ellipsoid is 0
    double Flattening;  // used when Ellipsoid is 0 (flattening, not its inverse)
    int32_t iResult;    // 0: every point converted; 1: some point was unplottable
    bool bWrapLon;      // bring lon - lon0 into -180..180 in some world projections
    unsigned char reserved[255];
};

// A point: longitude/latitude in degrees, or easting/northing.
struct PROJPOINT {
    double x;
    double y;
};
#pragma pack(pop)

static_assert(sizeof(bool) == 1, "PROJDATA needs one-byte bool");
static_assert(sizeof(PROJDATA) == 396, "PROJDATA is 396 bytes");
static_assert(offsetof(PROJDATA, Scale) == 4, "PROJDATA layout");
static_assert(offsetof(PROJDATA, xOrg) == 12, "PROJDATA layout");
static_assert(offsetof(PROJDATA, yOrg) == 20, "PROJDATA layout");
static_assert(offsetof(PROJDATA, Lat0) == 28, "PROJDATA layout");
static_assert(offsetof(PROJDATA, Lon0) == 36, "PROJDATA layout");
static_assert(offsetof(PROJDATA, Lat1) == 44, "PROJDATA layout");
static_assert(offsetof(PROJDATA, Lat2) == 52, "PROJDATA layout");
static_assert(offsetof(PROJDATA, Lat3) == 60, "PROJDATA layout");
static_assert(offsetof(PROJDATA, Lon1) == 68, "PROJDATA layout");
static_assert(offsetof(PROJDATA, Lon2) == 76, "PROJDATA layout");
static_assert(offsetof(PROJDATA, Lon3) == 84, "PROJDATA layout");
static_assert(offsetof(PROJDATA, K0) == 92, "PROJDATA layout");
static_assert(offsetof(PROJDATA, bSouth) == 100, "PROJDATA layout");
static_assert(offsetof(PROJDATA, Zone) == 101, "PROJDATA layout");
static_assert(offsetof(PROJDATA, bUseAlpha) == 105, "PROJDATA layout");
static_assert(offsetof(PROJDATA, Alpha) == 106, "PROJDATA layout");
static_assert(offsetof(PROJDATA, bRotate) == 114, "PROJDATA layout");
static_assert(offsetof(PROJDATA, bUOffset) == 115, "PROJDATA layout");
static_assert(offsetof(PROJDATA, Ellipsoid) == 116, "PROJDATA layout");
static_assert(offsetof(PROJDATA, MajorRadius) == 120, "PROJDATA layout");
static_assert(offsetof(PROJDATA, Flattening) == 128, "PROJDATA layout");
static_assert(offsetof(PROJDATA, iResult) == 136, "PROJDATA layout");
static_assert(offsetof(PROJDATA, bWrapLon) == 140, "PROJDATA layout");
static_assert(offsetof(PROJDATA, reserved) == 141, "PROJDATA layout");
static_assert(sizeof(PROJPOINT) == 16, "PROJPOINT is two doubles");

// Always 29.
KVPROJ_API int ProjNumProjections();
// Name (80-character buffer) and capability word of a type; 999 gives
// "undefined", other unknown values an empty name; both return 0.
KVPROJ_API unsigned int ProjGetProjectionInfo(ProjType type, char* name);
// Number of parameters `type` uses; -1 for an unknown type.
KVPROJ_API int ProjNumParams(ProjType type);
// Id of the index-th parameter of `type`, in presentation order; 0 when out of range.
KVPROJ_API int ProjEnumParam(ProjType type, int index);
// True when `type` uses parameter `id` (id 0 is true for every known type).
KVPROJ_API bool ProjUsesParam(ProjType type, int id);
// Label (80-character buffer), data type, byte position in PROJDATA and width of parameter `id`.
KVPROJ_API bool ProjParamInfo(int id, char* label, ProjDataType* type, int* position, int* width);
// Copies the parameter's bytes out of / into the record; false for an unknown id.
KVPROJ_API bool ProjGetParam(PROJDATA* data, int id, void* value);
KVPROJ_API bool ProjSetParam(PROJDATA* data, int id, void* value);

} // namespace KVProj

#endif
