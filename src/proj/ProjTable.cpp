// The parameter and parameter-by-type tables; projection names come from the
// module table. Every lookup is a
// linear scan from the first row, so the first matching row wins.
#include "proj/ProjTable.h"

#include "projections/ProjModule.h"

#include <cstddef>

namespace KVProj {
namespace {

// Positions and widths come from the record itself, so the table cannot
// drift from the packed layout.
#define KV_FIELD(member)                                                                           \
    static_cast<int>(offsetof(PROJDATA, member)), static_cast<int>(sizeof(PROJDATA::member))

constexpr ProjParamRow kParams[] = {
    {PP_TYPE, "Projection", PDT_PROJTYPE, KV_FIELD(Type)},
    {PP_SCALE, "Scale", PDT_DOUBLE, KV_FIELD(Scale)},
    {PP_XORG, "False Easting", PDT_DOUBLE, KV_FIELD(xOrg)},
    {PP_YORG, "False Northing", PDT_DOUBLE, KV_FIELD(yOrg)},
    {PP_LAT0, "Central Latitude", PDT_DOUBLE, KV_FIELD(Lat0)},
    {PP_LON0, "Central Longitude", PDT_DOUBLE, KV_FIELD(Lon0)},
    {PP_LAT1, "Standard Parallel", PDT_DOUBLE, KV_FIELD(Lat1)},
    {PP_LAT2, "2nd Standard Parallel", PDT_DOUBLE, KV_FIELD(Lat2)},
    {PP_LAT3, "3rd Standard Parallel", PDT_DOUBLE, KV_FIELD(Lat3)},
    {PP_LON1, "1st Meridian", PDT_DOUBLE, KV_FIELD(Lon1)},
    {PP_LON2, "2nd Meridian", PDT_DOUBLE, KV_FIELD(Lon2)},
    {PP_LON3, "3rd Meridian", PDT_DOUBLE, KV_FIELD(Lon3)},
    {PP_K0, "Central Scale Factor (K0)", PDT_DOUBLE, KV_FIELD(K0)},
    {PP_SOUTH, "Projection in Southern Hemisphere", PDT_BOOL, KV_FIELD(bSouth)},
    {PP_ZONE, "State Zone", PDT_STATEZONE, KV_FIELD(Zone)},
    {PP_USE_ALPHA, "Use Alpha Parameter", PDT_BOOL, KV_FIELD(bUseAlpha)},
    {PP_ALPHA, "Alpha (Azimuth)", PDT_DOUBLE, KV_FIELD(Alpha)},
    {PP_ROTATE, "Rotate U/V to X/Y", PDT_BOOL, KV_FIELD(bRotate)},
    {PP_UOFFSET, "Offset by U", PDT_BOOL, KV_FIELD(bUOffset)},
    {PP_ELLIPSOID, "Ellipsoid", PDT_ELLIPSOID, KV_FIELD(Ellipsoid)},
    {PP_MAJOR_RADIUS, "Ellipsoid Radius (meters)", PDT_DOUBLE, KV_FIELD(MajorRadius)},
    {PP_FLATTENING, "Ellipsoid Flattening", PDT_DOUBLE, KV_FIELD(Flattening)},
    {PP_NONE, "", PDT_END, -1, -1},
};

#undef KV_FIELD

// Each row's fields must fit inside the record; a bad row here would let
// ProjGetParam/ProjSetParam copy past the end of a caller's PROJDATA.
constexpr bool ParamRowsFitRecord() {
    for (const ProjParamRow& row : kParams) {
        if (row.id == 0) return row.type == PDT_END && row.position == -1 && row.width == -1;
        if (row.position < 0 || row.width <= 0 ||
            row.position + row.width > static_cast<int>(offsetof(PROJDATA, iResult)))
            return false;
    }
    return false;
}
static_assert(ParamRowsFitRecord(), "parameter rows lie inside PROJDATA and end with id 0");

// Stored with Unprojected at the top and the others alphabetically from
// Albers; lookups go by type, so only the terminating type-29 row matters.
constexpr ProjTypeParamsRow kTypeParams[] = {
    {PT_UNPROJECTED, {0}},
    {PT_ALBERS, {PP_ELLIPSOID, PP_SCALE, PP_XORG, PP_YORG, PP_LON0, PP_LAT0, PP_LAT1, PP_LAT2, 0}},
    {PT_AZIMUTHAL_EQUIDISTANT, {PP_ELLIPSOID, PP_SCALE, PP_XORG, PP_YORG, PP_LON0, PP_LAT1, 0}},
    {PT_BONNE, {PP_ELLIPSOID, PP_SCALE, PP_XORG, PP_YORG, PP_LON0, PP_LAT1, 0}},
    {PT_CASSINI, {PP_ELLIPSOID, PP_SCALE, PP_XORG, PP_YORG, PP_LAT0, PP_LON0, 0}},
    {PT_ECKERT_IV, {PP_ELLIPSOID, PP_SCALE, PP_XORG, PP_YORG, PP_LON0, 0}},
    {PT_ECKERT_VI, {PP_ELLIPSOID, PP_SCALE, PP_XORG, PP_YORG, PP_LON0, 0}},
    {PT_EQUIDISTANT_CONIC,
     {PP_ELLIPSOID, PP_SCALE, PP_XORG, PP_YORG, PP_LON0, PP_LAT0, PP_LAT1, PP_LAT2, 0}},
    {PT_EQUIDISTANT_CYLINDRICAL, {PP_ELLIPSOID, PP_SCALE, PP_XORG, PP_YORG, PP_LON0, PP_LAT1, 0}},
    {PT_GAUSS_KRUGER, {PP_ELLIPSOID, PP_SCALE, PP_XORG, PP_YORG, PP_K0, PP_LON0, PP_LAT0, 0}},
    {PT_GNOMONIC, {PP_ELLIPSOID, PP_SCALE, PP_XORG, PP_YORG, PP_LON0, PP_LAT1, 0}},
    {PT_HOTINE,
     {PP_ELLIPSOID, PP_SCALE, PP_XORG, PP_YORG, PP_K0, PP_USE_ALPHA, PP_LON0, PP_ALPHA, PP_LAT0,
      PP_LAT1, PP_LON1, PP_LAT2, PP_LON2, PP_ROTATE, PP_UOFFSET, 0}},
    {PT_LAMBERT_AZIMUTHAL, {PP_ELLIPSOID, PP_SCALE, PP_XORG, PP_YORG, PP_LON0, PP_LAT1, 0}},
    {PT_LAMBERT_CONIC,
     {PP_ELLIPSOID, PP_SCALE, PP_XORG, PP_YORG, PP_LON0, PP_LAT0, PP_LAT1, PP_LAT2, 0}},
    {PT_MERCATOR, {PP_ELLIPSOID, PP_SCALE, PP_XORG, PP_YORG, PP_LON0, PP_LAT0, 0}},
    {PT_MILLER, {PP_ELLIPSOID, PP_SCALE, PP_XORG, PP_YORG, PP_LON0, 0}},
    {PT_MOLLWEIDE, {PP_ELLIPSOID, PP_SCALE, PP_XORG, PP_YORG, PP_LON0, 0}},
    {PT_OBLIQUE_MERCATOR,
     {PP_ELLIPSOID, PP_SCALE, PP_XORG, PP_YORG, PP_LON1, PP_LAT1, PP_LON2, PP_LAT2, PP_K0, 0}},
    {PT_ORTHOGRAPHIC, {PP_ELLIPSOID, PP_SCALE, PP_XORG, PP_YORG, PP_LON0, PP_LAT0, 0}},
    {PT_POLYCONIC, {PP_ELLIPSOID, PP_SCALE, PP_XORG, PP_YORG, PP_LON0, PP_LAT0, 0}},
    {PT_ROBINSON, {PP_ELLIPSOID, PP_SCALE, PP_XORG, PP_YORG, 0}},
    {PT_ROBINSON_STERLING, {PP_ELLIPSOID, PP_SCALE, PP_XORG, PP_YORG, PP_LON0, 0}},
    {PT_SINUSOIDAL, {PP_ELLIPSOID, PP_SCALE, PP_XORG, PP_YORG, PP_LON0, 0}},
    {PT_STATE_PLANE_27, {PP_SCALE, PP_ZONE, 0}},
    {PT_STATE_PLANE_83, {PP_SCALE, PP_ZONE, 0}},
    {PT_STEREOGRAPHIC, {PP_ELLIPSOID, PP_SCALE, PP_XORG, PP_YORG, PP_K0, PP_LON0, PP_LAT0, 0}},
    {PT_TRANSVERSE_MERCATOR,
     {PP_ELLIPSOID, PP_SCALE, PP_XORG, PP_YORG, PP_K0, PP_LON0, PP_LAT0, 0}},
    {PT_UTM, {PP_ELLIPSOID, PP_SCALE, PP_K0, PP_LON0, PP_LAT0, PP_SOUTH, 0}},
    {PT_VAN_DER_GRINTEN, {PP_ELLIPSOID, PP_SCALE, PP_XORG, PP_YORG, PP_LON0, 0}},
    {PT_COUNT, {0}},
};
static_assert(sizeof kTypeParams / sizeof kTypeParams[0] == PT_COUNT + 1,
              "one row per projection type and the terminating row");

} // namespace

// Names and capability words live in the module table, one row per type.
const char* ProjTypeName(int type) {
    const PROJMODULE* row = ProjModuleFor(type);
    return row ? row->Name : nullptr;
}

unsigned int ProjTypeInfo(int type) {
    const PROJMODULE* row = ProjModuleFor(type);
    return row ? row->Info : 0u;
}

const ProjParamRow* ProjParamTable() {
    return kParams;
}

const ProjParamRow* ProjFindParam(int id) {
    for (const ProjParamRow* row = kParams; row->id != 0; ++row)
        if (row->id == id) return row;
    return nullptr;
}

const int* ProjTypeParamIds(int type) {
    for (const ProjTypeParamsRow* row = kTypeParams; row->type != PT_COUNT; ++row)
        if (row->type == type) return row->ids;
    return nullptr;
}

} // namespace KVProj
