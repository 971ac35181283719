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
    {1, "Projection", PDT_PROJTYPE, KV_FIELD(Type)},
    {2, "Scale", PDT_DOUBLE, KV_FIELD(Scale)},
    {3, "False Easting", PDT_DOUBLE, KV_FIELD(xOrg)},
    {4, "False Northing", PDT_DOUBLE, KV_FIELD(yOrg)},
    {5, "Central Latitude", PDT_DOUBLE, KV_FIELD(Lat0)},
    {6, "Central Longitude", PDT_DOUBLE, KV_FIELD(Lon0)},
    {7, "Standard Parallel", PDT_DOUBLE, KV_FIELD(Lat1)},
    {8, "2nd Standard Parallel", PDT_DOUBLE, KV_FIELD(Lat2)},
    {9, "3rd Standard Parallel", PDT_DOUBLE, KV_FIELD(Lat3)},
    {10, "1st Meridian", PDT_DOUBLE, KV_FIELD(Lon1)},
    {11, "2nd Meridian", PDT_DOUBLE, KV_FIELD(Lon2)},
    {12, "3rd Meridian", PDT_DOUBLE, KV_FIELD(Lon3)},
    {13, "Central Scale Factor (K0)", PDT_DOUBLE, KV_FIELD(K0)},
    {14, "Projection in Southern Hemisphere", PDT_BOOL, KV_FIELD(bSouth)},
    {15, "State Zone", PDT_STATEZONE, KV_FIELD(Zone)},
    {16, "Use Alpha Parameter", PDT_BOOL, KV_FIELD(bUseAlpha)},
    {17, "Alpha (Azimuth)", PDT_DOUBLE, KV_FIELD(Alpha)},
    {18, "Rotate U/V to X/Y", PDT_BOOL, KV_FIELD(bRotate)},
    {19, "Offset by U", PDT_BOOL, KV_FIELD(bUOffset)},
    {20, "Ellipsoid", PDT_ELLIPSOID, KV_FIELD(Ellipsoid)},
    {21, "Ellipsoid Radius (meters)", PDT_DOUBLE, KV_FIELD(MajorRadius)},
    {22, "Ellipsoid Flattening", PDT_DOUBLE, KV_FIELD(Flattening)},
    {0, "", PDT_END, -1, -1},
};

#undef KV_FIELD

// Each row's fields must fit inside the record; a bad row here would let
// ProjGetParam/ProjSetParam copy past the end of a caller's PROJDATA.
constexpr bool paramRowsFitRecord() {
    for (const ProjParamRow& row : kParams) {
        if (row.id == 0) return row.type == PDT_END && row.position == -1 && row.width == -1;
        if (row.position < 0 || row.width <= 0 ||
            row.position + row.width > static_cast<int>(offsetof(PROJDATA, iResult)))
            return false;
    }
    return false;
}
static_assert(paramRowsFitRecord(), "parameter rows lie inside PROJDATA and end with id 0");

// Stored with Unprojected at the top and the others alphabetically from
// Albers; lookups go by type, so only the terminating type-29 row matters.
constexpr ProjTypeParamsRow kTypeParams[] = {
    {PT_UNPROJECTED, {0}},
    {PT_ALBERS, {20, 2, 3, 4, 6, 5, 7, 8, 0}},
    {PT_AZIMUTHAL_EQUIDISTANT, {20, 2, 3, 4, 6, 7, 0}},
    {PT_BONNE, {20, 2, 3, 4, 6, 7, 0}},
    {PT_CASSINI, {20, 2, 3, 4, 5, 6, 0}},
    {PT_ECKERT_IV, {20, 2, 3, 4, 6, 0}},
    {PT_ECKERT_VI, {20, 2, 3, 4, 6, 0}},
    {PT_EQUIDISTANT_CONIC, {20, 2, 3, 4, 6, 5, 7, 8, 0}},
    {PT_EQUIDISTANT_CYLINDRICAL, {20, 2, 3, 4, 6, 7, 0}},
    {PT_GAUSS_KRUGER, {20, 2, 3, 4, 13, 6, 5, 0}},
    {PT_GNOMONIC, {20, 2, 3, 4, 6, 7, 0}},
    {PT_HOTINE, {20, 2, 3, 4, 13, 16, 6, 17, 5, 7, 10, 8, 11, 18, 19, 0}},
    {PT_LAMBERT_AZIMUTHAL, {20, 2, 3, 4, 6, 7, 0}},
    {PT_LAMBERT_CONIC, {20, 2, 3, 4, 6, 5, 7, 8, 0}},
    {PT_MERCATOR, {20, 2, 3, 4, 6, 5, 0}},
    {PT_MILLER, {20, 2, 3, 4, 6, 0}},
    {PT_MOLLWEIDE, {20, 2, 3, 4, 6, 0}},
    {PT_OBLIQUE_MERCATOR, {20, 2, 3, 4, 10, 7, 11, 8, 13, 0}},
    {PT_ORTHOGRAPHIC, {20, 2, 3, 4, 6, 5, 0}},
    {PT_POLYCONIC, {20, 2, 3, 4, 6, 5, 0}},
    {PT_ROBINSON, {20, 2, 3, 4, 0}},
    {PT_ROBINSON_STERLING, {20, 2, 3, 4, 6, 0}},
    {PT_SINUSOIDAL, {20, 2, 3, 4, 6, 0}},
    {PT_STATE_PLANE_27, {2, 15, 0}},
    {PT_STATE_PLANE_83, {2, 15, 0}},
    {PT_STEREOGRAPHIC, {20, 2, 3, 4, 13, 6, 5, 0}},
    {PT_TRANSVERSE_MERCATOR, {20, 2, 3, 4, 13, 6, 5, 0}},
    {PT_UTM, {20, 2, 13, 6, 5, 14, 0}},
    {PT_VAN_DER_GRINTEN, {20, 2, 3, 4, 6, 0}},
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
