// Reading GeoTIFF: the georeference tags, the key directory, and the mapping of
// coordinate system codes and keys to a PROJDATA, a datum and a GEOREF.
#include "formats/GeoKeys.h"

#include "frame/Diag.h"
#include "kvproj/files.h"
#include "kvproj/stateplane.h"

#include <cmath>
#include <cstddef>
#include <cstring>

namespace KVProj {

// ---------------------------------------------------------------- code tables

double LinearUnitsPerMetre(int code) {
    for (const LinearUnitRow& row : kLinearUnits)
        if (row.code == code) return row.unitsPerMetre;
    return 0.0;
}

ProjType ProjTypeFromCoordTrans(int code) {
    for (const CoordTransRow& row : kCoordTrans)
        if (row.code == code) return row.type;
    return PT_UNPROJECTED;
}

int CoordTransFromProjType(ProjType type) {
    for (const CoordTransRow& row : kCoordTrans)
        if (row.type == type) return row.code;
    return 0;
}

TransformMethod GeorefMethodForControls(int count) {
    if (count >= 10) return TM_THIRD_ORDER;
    if (count >= 6) return TM_SECOND_ORDER;
    if (count >= 4) return TM_FIRST_ORDER;
    if (count == 3) return TM_AFFINE;
    return TM_HELMERT;
}

// ---------------------------------------------------------------- tag sources

bool FileTagSource::Read(unsigned number, KVBitmapTag& tag) {
    return m_lib.GetTagData(m_name, number, tag, 1) == 1;
}

bool ListTagSource::Read(unsigned number, KVBitmapTag& tag) {
    const KVBitmapTag* found = m_list.Find(number);
    if (!found) return false;
    tag = *found;
    return true;
}

namespace {

void TiffMessageToLog(bool isError, const char* text) {
    LogPrintf("libtiff %s: %s\n", isError ? "error" : "warning", text);
}

} // namespace

void RouteTiffMessagesToLog() { KVBitLib::SetMessageSink(TiffMessageToLog); }

namespace {

// A tag in its required form: type and an item count accepted by `countOk`.
template <typename CountOk>
bool ReadForm(GeoTagSource& source, unsigned number, int type, KVBitmapTag& tag, CountOk countOk) {
    if (!source.Read(number, tag)) return false;
    return tag.GetType() == type && countOk(tag.GetItemCount());
}

const double* doubles(const KVBitmapTag& tag) { return static_cast<const double*>(tag.GetDataPtr()); }

// ---------------------------------------------------------------- keys

// How a key's value is converted once the units are known.
enum class KeyScale { None, Angle, Linear };

struct KeyRow {
    uint16_t id;
    bool isDouble;
    KeyScale scale;
};

// The keys the reader honours.
constexpr KeyRow kKeys[] = {
    {GK_MODEL_TYPE, false, KeyScale::None},
    {GK_GEOGRAPHIC_TYPE, false, KeyScale::None},
    {GK_GEOG_DATUM, false, KeyScale::None},
    {GK_GEOG_PRIME_MERIDIAN, false, KeyScale::None},
    {GK_GEOG_LINEAR_UNITS, true, KeyScale::None},
    {GK_GEOG_LINEAR_UNIT_SIZE, true, KeyScale::None},
    {GK_GEOG_ANGULAR_UNITS, false, KeyScale::None},
    {GK_GEOG_ANGULAR_UNIT_SIZE, true, KeyScale::None},
    {GK_GEOG_ELLIPSOID, false, KeyScale::None},
    {GK_GEOG_SEMI_MAJOR, true, KeyScale::None},
    {GK_GEOG_SEMI_MINOR, true, KeyScale::None},
    {GK_GEOG_INV_FLATTENING, true, KeyScale::None},
    {GK_GEOG_AZIMUTH_UNITS, false, KeyScale::None},
    {GK_GEOG_PRIME_MERIDIAN_LONG, true, KeyScale::None},
    {GK_PROJECTED_CS_TYPE, false, KeyScale::None},
    {GK_PROJECTION, false, KeyScale::None},
    {GK_PROJ_COORD_TRANS, false, KeyScale::None},
    {GK_PROJ_LINEAR_UNITS, false, KeyScale::None},
    {GK_PROJ_LINEAR_UNIT_SIZE, true, KeyScale::None},
    {GK_PROJ_STD_PARALLEL1, true, KeyScale::Angle},
    {GK_PROJ_STD_PARALLEL2, true, KeyScale::Angle},
    {GK_PROJ_NAT_ORIGIN_LONG, true, KeyScale::Angle},
    {GK_PROJ_NAT_ORIGIN_LAT, true, KeyScale::Angle},
    {GK_PROJ_FALSE_EASTING, true, KeyScale::Linear},
    {GK_PROJ_FALSE_NORTHING, true, KeyScale::Linear},
    {GK_PROJ_FALSE_ORIGIN_LONG, true, KeyScale::Angle},
    {GK_PROJ_FALSE_ORIGIN_LAT, true, KeyScale::Angle},
    {GK_PROJ_FALSE_ORIGIN_EASTING, true, KeyScale::Linear},
    {GK_PROJ_FALSE_ORIGIN_NORTHING, true, KeyScale::Linear},
    {GK_PROJ_CENTER_LONG, true, KeyScale::Angle},
    {GK_PROJ_CENTER_LAT, true, KeyScale::Angle},
    {GK_PROJ_CENTER_EASTING, true, KeyScale::Linear},
    {GK_PROJ_CENTER_NORTHING, true, KeyScale::Linear},
    {GK_PROJ_SCALE_AT_NAT_ORIGIN, true, KeyScale::None},
    {GK_PROJ_SCALE_AT_CENTER, true, KeyScale::None},
    {GK_PROJ_AZIMUTH_ANGLE, true, KeyScale::Angle},
    {GK_PROJ_STRAIGHT_VERT_POLE_LONG, true, KeyScale::Angle},
};
constexpr size_t kKeyCount = sizeof kKeys / sizeof kKeys[0];

constexpr int KeyRowOf(uint16_t id) {
    for (size_t i = 0; i < kKeyCount; ++i)
        if (kKeys[i].id == id) return static_cast<int>(i);
    return -1;
}

// The values of the honoured keys; 0 for keys the file does not hold.
class GeoKeySet {
public:
    int Int(uint16_t id) const { return m_ints[RowOf(id)]; }
    double Double(uint16_t id) const { return m_doubles[RowOf(id)]; }
    void Set(int row, int value, double number) {
        m_ints[row] = value;
        m_doubles[row] = number;
    }
    // Angle keys to degrees, distance keys to metres.
    void Rescale(double angular, double linear) {
        for (size_t i = 0; i < kKeyCount; ++i) {
            if (kKeys[i].scale == KeyScale::Angle) m_doubles[i] *= angular;
            if (kKeys[i].scale == KeyScale::Linear) m_doubles[i] *= linear;
        }
    }

private:
    static size_t RowOf(uint16_t id) {
        const int row = KeyRowOf(id);
        return row < 0 ? 0 : static_cast<size_t>(row);
    }
    int m_ints[kKeyCount] = {};
    double m_doubles[kKeyCount] = {};
};

enum class KeysRead { Done, StopWithSuccess };

// Entries four items at a time after the header, whatever the header's count says.
KeysRead ReadKeys(const KVBitmapTag& dir, const KVBitmapTag* params, GeoKeySet& keys) {
    const uint16_t* items = static_cast<const uint16_t*>(dir.GetDataPtr());
    const unsigned long count = dir.GetItemCount();
    LogPrintf("  GeoKeyDirectory version %d, revision %d.%d, %d keys\n", items[0], items[1],
              items[2], items[3]);
    for (unsigned long i = 4; i + 4 <= count; i += 4) {
        const uint16_t id = items[i], location = items[i + 1], offset = items[i + 3];
        int value = 0;
        double number = 0.0;
        if (location == 0) {
            value = offset;
            number = offset;
        } else if (location == KVTAG_GEO_DOUBLE_PARAMS) {
            if (!params) return KeysRead::StopWithSuccess;
            if (offset < params->GetItemCount()) number = doubles(*params)[offset];
        }
        const int row = KeyRowOf(id);
        if (row >= 0) keys.Set(row, value, number);
    }
    return KeysRead::Done;
}

// ---------------------------------------------------------------- units

// Metres per unit of the projected system.
double LinearFactor(const GeoKeySet& keys) {
    const int code = keys.Int(GK_PROJ_LINEAR_UNITS);
    const double perMetre = LinearUnitsPerMetre(code);
    double factor = perMetre == 0.0 ? 1.0 : 1.0 / perMetre;
    const double size = keys.Double(GK_PROJ_LINEAR_UNIT_SIZE);
    if ((code == 0 || code == kGeoUserDefined) && size > 0.0) factor = size;
    return factor;
}

struct AngularUnitRow {
    int code;
    double degrees;
};
// The radian is taken as this constant, a little off 180/pi, as files made by
// earlier versions expect.
constexpr AngularUnitRow kAngularUnits[] = {
    {9101, 57.29577866666166},
    {9103, 1.0 / 60.0},
    {9104, 1.0 / 3600.0},
};

double AngularFactor(const GeoKeySet& keys) {
    const int code = keys.Int(GK_GEOG_ANGULAR_UNITS);
    for (const AngularUnitRow& row : kAngularUnits)
        if (row.code == code) return row.degrees;
    return 1.0;
}

// ---------------------------------------------------------------- filling from keys

double GetField(const PROJDATA& proj, size_t offset) {
    double value;
    std::memcpy(&value, reinterpret_cast<const unsigned char*>(&proj) + offset, sizeof value);
    return value;
}

void SetField(PROJDATA& proj, size_t offset, double value) {
    std::memcpy(reinterpret_cast<unsigned char*>(&proj) + offset, &value, sizeof value);
}

// One PROJDATA field and the keys that may fill it, tried in order. A field is
// filled only while it is 0, unless `replace` (then every nonzero key replaces it).
struct FillRow {
    size_t field;
    uint16_t keys[3];
    bool replace;
};
constexpr FillRow kFill[] = {
    {offsetof(PROJDATA, Lon0), {GK_PROJ_CENTER_LONG, GK_PROJ_NAT_ORIGIN_LONG, GK_PROJ_FALSE_ORIGIN_LONG}, false},
    {offsetof(PROJDATA, Lat0), {GK_PROJ_CENTER_LAT, GK_PROJ_NAT_ORIGIN_LAT, GK_PROJ_FALSE_ORIGIN_LAT}, false},
    {offsetof(PROJDATA, Lon0), {GK_PROJ_STRAIGHT_VERT_POLE_LONG}, false},
    {offsetof(PROJDATA, K0), {GK_PROJ_SCALE_AT_NAT_ORIGIN, GK_PROJ_SCALE_AT_CENTER}, true},
    {offsetof(PROJDATA, Lon1), {GK_PROJ_NAT_ORIGIN_LONG}, false},
    {offsetof(PROJDATA, Lat1), {GK_PROJ_STD_PARALLEL1}, false},
    {offsetof(PROJDATA, Lat2), {GK_PROJ_STD_PARALLEL2}, false},
    {offsetof(PROJDATA, xOrg), {GK_PROJ_FALSE_EASTING}, false},
    {offsetof(PROJDATA, yOrg), {GK_PROJ_FALSE_NORTHING}, false},
};

void FillFromKeys(PROJDATA& proj, const GeoKeySet& keys) {
    for (const FillRow& row : kFill) {
        for (uint16_t id : row.keys) {
            if (id == 0) break;
            const double value = keys.Double(id);
            if (value == 0.0 || (!row.replace && GetField(proj, row.field) != 0.0)) continue;
            SetField(proj, row.field, value);
        }
    }
    if (proj.Type == PT_LAMBERT_AZIMUTHAL && proj.Lat1 == 0.0) proj.Lat1 = proj.Lat0;
    LogPrintf("Lon0:%f Lat0:%f\n", proj.Lon0, proj.Lat0);
    LogPrintf("Lat1:%f Lat2:%f\n", proj.Lat1, proj.Lat2);
    LogPrintf("xOrg:%f yOrg:%f\n", proj.xOrg, proj.yOrg);
}

void DatumParamsOf(DatumType datum, DATUM2WGS84& params) {
    if (DatGetDatumParams(datum, &params)) return;
    DatumMethod method = params.Method;
    if (DatGetDatumMethod(datum, &method)) params.Method = method;
}

// ---------------------------------------------------------------- coordinate system codes

// The WGS and North American UTM blocks: zone ((code - zone1) mod 60) + 1, so
// that the block's first code (ending in 00) is zone 60.
struct UtmBlock {
    int first, last, zone1;
    EllipsoidType ellipsoid;
    DatumType datum;
    bool south;
};
constexpr UtmBlock kUtmBlocks[] = {
    {32200, 32259, 32201, ELLIPSOID_WGS72, DATUM_WGS72, false},
    {32300, 32359, 32301, ELLIPSOID_WGS72, DATUM_WGS72, true},
    {32400, 32459, 32401, ELLIPSOID_WGS72, DATUM_WGS72, false},
    {32500, 32559, 32501, ELLIPSOID_WGS72, DATUM_WGS72, true},
    {32600, 32659, 32601, ELLIPSOID_WGS84, DATUM_WGS84, false},
    {32700, 32759, 32701, ELLIPSOID_WGS84, DATUM_WGS84, true},
    {26703, 26721, 26701, ELLIPSOID_CLARKE_1866, DATUM_NAD27, false},
    {26903, 26922, 26901, ELLIPSOID_GRS80, DATUM_NAD83, false},
};

// State plane systems: EPSG code ranges of each datum.
struct StatePlaneRange {
    int first, last;
    EllipsoidType ellipsoid;
    DatumType datum;
    const char* failure;
};
constexpr StatePlaneRange kStatePlaneRanges[] = {
    {26700, 26798, ELLIPSOID_CLARKE_1866, DATUM_NAD27, "SPCS27 zone not found for CS:%d\n"},
    {32000, 32098, ELLIPSOID_CLARKE_1866, DATUM_NAD27, "SPCS27 zone not found for CS:%d\n"},
    {26900, 26998, ELLIPSOID_GRS80, DATUM_NAD83, "SPCS83 zone not found for CS:%d\n"},
    {32100, 32198, ELLIPSOID_GRS80, DATUM_NAD83, "SPCS83 zone not found for CS:%d\n"},
};

int PositiveMod(int a, int n) { return ((a % n) + n) % n; }

void SetUtm(PROJDATA& proj, int zone, bool south) {
    proj.Type = PT_UTM;
    proj.Lon0 = zone * 6 - 183;
    proj.bSouth = south;
}

enum class CodeLookup { Found, Failed, NotInRange };

CodeLookup UtmBlockCode(int code, PROJDATA& proj, DatumType& datum) {
    for (const UtmBlock& block : kUtmBlocks) {
        if (code < block.first || code > block.last) continue;
        SetUtm(proj, PositiveMod(code - block.zone1, 60) + 1, block.south);
        proj.Ellipsoid = block.ellipsoid;
        datum = block.datum;
        return CodeLookup::Found;
    }
    return CodeLookup::NotInRange;
}

CodeLookup StatePlaneCode(int code, PROJDATA& proj, DatumType& datum) {
    for (const StatePlaneRange& range : kStatePlaneRanges) {
        if (code < range.first || code > range.last) continue;
        ProjType type = PT_UNPROJECTED; // the record is packed: no pointers into it
        StateZoneType zone = STATEZONE_NONE;
        if (!ProjGetStateZoneFromPOSCNumber(code, &type, &zone)) {
            LogPrintf(range.failure, code);
            return CodeLookup::Failed;
        }
        proj.Type = type;
        proj.Zone = zone;
        proj.Ellipsoid = range.ellipsoid;
        datum = range.datum;
        return CodeLookup::Found;
    }
    return CodeLookup::NotInRange;
}

CodeLookup UtmRangeCode(int code, PROJDATA& proj, DatumType& datum) {
    for (const UtmRangeRow& row : kUtmRanges) {
        if (code < row.first || code > row.last) continue;
        SetUtm(proj, PositiveMod(row.firstZone + (code - row.first) - 1, 60) + 1, row.south);
        proj.Type = row.type;
        proj.Ellipsoid = row.ellipsoid;
        datum = row.datum;
        return CodeLookup::Found;
    }
    return CodeLookup::Failed;
}

} // namespace

bool GeoTIFFCoordSysCodeToProjectionAndDatum(int code, PROJDATA* proj, DatumType* datum,
                                            DATUM2WGS84* datumParams) {
    LogPrintf("GeoTIFFCoordSysCodeToProjectionAndDatum called for CS:%d\n", code);
    if (code == 0 || code == kGeoUserDefined) {
        LogPrintf("  User-defined coordinate system.\n");
        return false;
    }
    PROJDATA found{};
    found.K0 = 0.9996;
    found.Ellipsoid = ELLIPSOID_WGS84;
    DatumType foundDatum = DATUM_WGS84;
    CodeLookup result = UtmBlockCode(code, found, foundDatum);
    if (result == CodeLookup::NotInRange) result = StatePlaneCode(code, found, foundDatum);
    if (result == CodeLookup::NotInRange) result = UtmRangeCode(code, found, foundDatum);
    if (result != CodeLookup::Found) return false;
    LogPrintf("GeoTIFFCoordSysCodeToProjectionAndDatum:    Found matching CS Proj:%d Datum:%d.\n",
              found.Type, foundDatum);
    if (proj) *proj = found;
    if (datum) *datum = foundDatum;
    if (datumParams) DatumParamsOf(foundDatum, *datumParams);
    return true;
}

// ---------------------------------------------------------------- georeference tags

namespace {

struct PixelScale {
    double x = 0.0, y = 0.0;
};

PixelScale ReadPixelScale(GeoTagSource& source, bool trace) {
    PixelScale scale;
    KVBitmapTag tag;
    if (!ReadForm(source, KVTAG_MODEL_PIXEL_SCALE, KVTAG_DOUBLE, tag,
                  [](unsigned long n) { return n == 3; }))
        return scale;
    scale.x = doubles(tag)[0];
    scale.y = doubles(tag)[1];
    if (trace) {
        LogPrintf("ModelPixelScaleTag\n");
        LogPrintf("  Scales are  dX=%15.5f  dY=%15.5f\n", scale.x, scale.y);
    }
    return scale;
}

bool ReadTiepoints(GeoTagSource& source, KVBitmapTag& tag) {
    return ReadForm(source, KVTAG_MODEL_TIEPOINT, KVTAG_DOUBLE, tag,
                    [](unsigned long n) { return n != 0 && n % 6 == 0; });
}

// A = ScaleX, E = -ScaleY, C and F put pixel (I, J) on (X, Y).
void CoefficientsFromTiepoint(GEOREF& georef, const double* tie, PixelScale scale) {
    georef.A = scale.x;
    georef.B = 0.0;
    georef.C = tie[3] - tie[0] * scale.x;
    georef.D = 0.0;
    georef.E = -scale.y;
    georef.F = tie[4] + tie[1] * scale.y;
}

} // namespace

bool GetGeorefInfoFromGeoTIFF(GeoTagSource& source, GEOREF* georef, unsigned int* flags,
                              bool* fromTiepoint) {
    LogPrintf("GetGeorefInfoFromGeoTIFF\n");
    *fromTiepoint = false;
    const PixelScale scale = ReadPixelScale(source, true);
    KVBitmapTag ties;
    if (ReadTiepoints(source, ties)) {
        LogPrintf("  ModelTiepointTag\n");
        const int count = static_cast<int>(ties.GetItemCount() / 6);
        LogPrintf("GeoTIFF file specifies %d control points.\n", count);
        if (!RefAllocControls(georef, count)) {
            KV_REPORT(20201);
            return false;
        }
        const double* tie = doubles(ties);
        for (int i = 0; i < count; ++i) {
            const double* t = tie + 6 * i;
            georef->pSrc[i] = {t[0], t[1]};
            georef->pDest[i] = {t[3], t[4]};
            LogPrintf("  Control point %d:  SrcX=%10.2f  Srcy=%10.2f  DestX=%10.2f  DestY=%10.2f\n",
                      i, t[0], t[1], t[3], t[4]);
        }
        if (count >= 2) {
            *flags |= GEOPARAM_CONTROLS;
            georef->Method = TM_HELMERT;
        } else {
            if (scale.x != 0.0 && scale.y != 0.0) {
                LogPrintf("We have one control points and model pixel scale,\n");
                LogPrintf("so we can build coefficients for the transform.\n");
                CoefficientsFromTiepoint(*georef, tie, scale);
                *flags |= GEOPARAM_COEFFICIENTS;
                *fromTiepoint = true;
            }
            RefFreeControls(georef);
        }
    }
    KVBitmapTag matrix;
    if (ReadForm(source, KVTAG_MATRIX, KVTAG_DOUBLE, matrix, [](unsigned long n) { return n == 16; })) {
        LogPrintf("  ModelTransformationTag - This GeoTIFF contains a matrix.\n");
        const double* m = doubles(matrix);
        georef->A = m[0];
        georef->B = m[1];
        georef->C = m[3];
        georef->D = m[4];
        georef->E = -m[5]; // kept negated: files written by earlier versions depend on it
        georef->F = m[7];
        *flags |= GEOPARAM_COEFFICIENTS;
    }
    return true;
}

bool RecalcCoeffs(GeoTagSource& source, GEOREF* georef, double LinearFactor) {
    PixelScale scale = ReadPixelScale(source, false);
    KVBitmapTag ties;
    if (!ReadTiepoints(source, ties) || scale.x == 0.0 || scale.y == 0.0) return false;
    double tie[6];
    std::memcpy(tie, ties.GetDataPtr(), sizeof tie);
    tie[3] *= LinearFactor;
    tie[4] *= LinearFactor;
    scale.x *= LinearFactor;
    scale.y *= LinearFactor;
    CoefficientsFromTiepoint(*georef, tie, scale);
    return true;
}

// ---------------------------------------------------------------- the whole reading

namespace {

struct Reading {
    PROJDATA* proj;
    DatumType* datum;
    DATUM2WGS84* params;
    unsigned int* flags;
};

// Units applied to the angle and distance keys, the control points and the coefficients.
void ApplyUnits(GeoTagSource& source, GEOREF* georef, bool fromTiepoint, GeoKeySet& keys) {
    const double linear = LinearFactor(keys);
    LogPrintf("GetGeoTIFF:  dLinearScale = %f\n", linear);
    const double angular = AngularFactor(keys);
    LogPrintf("GetGeoTIFF:  dAngularScale = %f\n", angular);
    keys.Rescale(angular, linear);
    if (georef->pDest) {
        for (int i = 0; i < georef->nControls; ++i) {
            georef->pDest[i].x *= linear;
            georef->pDest[i].y *= linear;
        }
    }
    if (fromTiepoint) RecalcCoeffs(source, georef, linear);
}

void UserDefinedEllipsoid(PROJDATA& proj, const GeoKeySet& keys) {
    const int code = keys.Int(GK_GEOG_ELLIPSOID);
    EllipsoidType ellipsoid = proj.Ellipsoid; // a close row is stored even on failure
    const bool found = EllipsoidFromPOSCNumber(code, &ellipsoid);
    proj.Ellipsoid = ellipsoid;
    if (found || code != kGeoUserDefined) return;
    proj.Ellipsoid = ELLIPSOID_USER_DEFINED;
    proj.MajorRadius = keys.Double(GK_GEOG_SEMI_MAJOR);
    const double inverse = keys.Double(GK_GEOG_INV_FLATTENING);
    proj.Flattening = inverse != 0.0 ? 1.0 / inverse : 1.0 - keys.Double(GK_GEOG_SEMI_MINOR) / proj.MajorRadius;
}

// A projection built from the keys alone.
void UserDefinedSystem(const Reading& r, const GeoKeySet& keys) {
    LogPrintf("  Not a standard coordinate system.\n");
    PROJDATA& proj = *r.proj;
    proj = PROJDATA{};
    proj.Ellipsoid = ELLIPSOID_CLARKE_1866;
    proj.Scale = 1.0;
    proj.K0 = 1.0;
    proj.Type = ProjTypeFromCoordTrans(keys.Int(GK_PROJ_COORD_TRANS));
    LogPrintf("  Projection type number is %d.\n", proj.Type);
    FillFromKeys(proj, keys);
    UserDefinedEllipsoid(proj, keys);
    LogPrintf("   pProj->Ellipsoid   == %d\n", proj.Ellipsoid);
    LogPrintf("   pProj->MajorRadius == %f\n", proj.MajorRadius);
    LogPrintf("   pProj->Flattening  == %f\n", proj.Flattening);
    if (proj.Type != PT_UNPROJECTED) *r.flags |= GEOPARAM_PROJECTION;
    if (*r.datum == DATUM_NONE && DatGetDatumFromPOSCNumber(r.datum, keys.Int(GK_GEOG_DATUM))) {
        DatumParamsOf(*r.datum, *r.params);
        *r.flags |= GEOPARAM_DATUM;
    }
}

void ProjectedSystem(const Reading& r, const GeoKeySet& keys) {
    const int code = keys.Int(GK_PROJECTED_CS_TYPE);
    LogPrintf("  ProjectedCSType:%d\n", code);
    if (GeoTIFFCoordSysCodeToProjectionAndDatum(code, r.proj, r.datum, r.params)) {
        LogPrintf("  Projection:%d and Datum:%d retrieved.\n", r.proj->Type, *r.datum);
        FillFromKeys(*r.proj, keys);
        if (r.proj->Type != PT_UNPROJECTED) *r.flags |= GEOPARAM_PROJECTION;
        if (*r.datum != DATUM_NONE) *r.flags |= GEOPARAM_DATUM;
        return;
    }
    UserDefinedSystem(r, keys);
}

void Finish(const Reading& r, GEOREF* georef) {
    PROJDATA& proj = *r.proj;
    double radius = 0.0, flattening = 0.0;
    if (proj.Ellipsoid >= 1 && proj.Ellipsoid <= 55 &&
        EllipsoidInfo(proj.Ellipsoid, nullptr, &radius, &flattening)) {
        proj.MajorRadius = radius;
        proj.Flattening = flattening;
    }
    if (*r.flags & GEOPARAM_CONTROLS)
        georef->Method = GeorefMethodForControls(georef->nControls);
    else if (*r.flags & GEOPARAM_COEFFICIENTS)
        georef->Method = TM_PRECALCULATED;
    LogPrintf("KVProjGetGeoTIFF set pFlags to 0x%08X\n", *r.flags);
    LogPrintf("KVProjGetGeoTIFF set georef method to %d\n", georef->Method);
}

} // namespace

bool GetGeoTIFF(GeoTagSource& source, PROJDATA* proj, DatumType* datum, DATUM2WGS84* datumParams,
                GEOREF* georef, unsigned int* flags) {
    LogPrintf("GetGeoTIFF\n");
    bool fromTiepoint = false;
    if (!GetGeorefInfoFromGeoTIFF(source, georef, flags, &fromTiepoint)) return false;
    KVBitmapTag dir, params;
    const bool haveDir = ReadForm(source, KVTAG_GEO_KEY_DIRECTORY, KVTAG_SHORT, dir,
                                  [](unsigned long n) { return n >= 4; });
    const bool haveParams = ReadForm(source, KVTAG_GEO_DOUBLE_PARAMS, KVTAG_DOUBLE, params,
                                     [](unsigned long n) { return n >= 1; });
    if (!haveDir) {
        LogPrintf("  File contains no GeoTIFF info.\n");
        return true;
    }
    GeoKeySet keys;
    if (ReadKeys(dir, haveParams ? &params : nullptr, keys) == KeysRead::StopWithSuccess) return true;
    const Reading r{proj, datum, datumParams, flags};
    if (keys.Int(GK_MODEL_TYPE) == 1) {
        LogPrintf("  GTModelType is ModelTypeProjected\n");
        ApplyUnits(source, georef, fromTiepoint, keys);
        ProjectedSystem(r, keys);
    }
    Finish(r, georef);
    return true;
}

} // namespace KVProj
