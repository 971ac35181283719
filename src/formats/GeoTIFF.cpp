// GeoTIFF: reading an image's keys and georeference tags, and building the
// tags that put a coordinate system and a georeference into a TIFF.
#include "formats/GeoKeys.h"

#include "frame/Diag.h"
#include "frame/Firewall.h"
#include "kvproj/files.h"
#include "kvproj/stateplane.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <string>
#include <vector>

namespace KVProj {

// ---------------------------------------------------------------- reading

bool KVProjGetGeoTIFF(const char* fileName, PROJDATA* proj, DatumType* datum,
                      DATUM2WGS84* datumParams, GEOREF* georef, unsigned int* flags) {
    return KV_GUARDED(false, [&] {
        LogPrintf("KVProjGetGeoTIFF called for file \"%s\"\n", fileName ? fileName : "");
        if (!fileName || !*fileName || !flags) {
            KV_REPORT(20205);
            return false;
        }
        RouteTiffMessagesToLog();
        *flags = 0;
        PROJDATA workProj{};
        workProj.Type = PT_UNPROJECTED;
        workProj.Scale = 1.0;
        DATUM2WGS84 workParams{};
        DatumType workDatum = DATUM_NONE;
        GEOREF workRef{};
        FileTagSource source(fileName);
        if (!GetGeoTIFF(source, &workProj, &workDatum, &workParams, &workRef, flags)) return false;
        if ((*flags & GEOPARAM_PROJECTION) && proj) *proj = workProj;
        if (*flags & GEOPARAM_DATUM) {
            if (datum) *datum = workDatum;
            if (datumParams) *datumParams = workParams;
        }
        if ((*flags & (GEOPARAM_COEFFICIENTS | GEOPARAM_CONTROLS)) && georef)
            *georef = workRef;
        else
            RefFreeControls(&workRef);
        if (*flags) *flags |= GEOPARAM_FILE_FOUND;
        return true;
    });
}

// ---------------------------------------------------------------- building

namespace {

// Keys in the order they are collected; written sorted by key id.
class KeyList {
public:
    void Short(uint16_t id, int value) { m_keys.push_back({id, Kind::Short, static_cast<uint16_t>(value), 0.0, {}}); }
    void Double(uint16_t id, double value) { m_keys.push_back({id, Kind::Double, 0, value, {}}); }
    void Text(uint16_t id, const std::string& text) { m_keys.push_back({id, Kind::Text, 0, 0.0, text}); }
    bool Write(KVBitmapTagList& tags) const;

private:
    enum class Kind { Short, Double, Text };
    struct Key {
        uint16_t id;
        Kind kind;
        uint16_t value;
        double number;
        std::string text;
    };
    std::vector<Key> m_keys;
};

bool KeyList::Write(KVBitmapTagList& tags) const {
    std::vector<double> doubles;
    std::string ascii;
    std::vector<uint16_t> entries;
    for (const Key& key : m_keys) {
        if (key.kind == Kind::Short) {
            entries.insert(entries.end(), {key.id, 0, 1, key.value});
        } else if (key.kind == Kind::Double) {
            entries.insert(entries.end(), {key.id, KVTAG_GEO_DOUBLE_PARAMS, 1, static_cast<uint16_t>(doubles.size())});
            doubles.push_back(key.number);
        } else {
            entries.insert(entries.end(), {key.id, KVTAG_GEO_ASCII_PARAMS, static_cast<uint16_t>(key.text.size()),
                                           static_cast<uint16_t>(ascii.size())});
            ascii += key.text;
        }
    }
    // Readers expect the directory in ascending key order.
    std::vector<std::vector<uint16_t>> sorted;
    for (size_t i = 0; i < entries.size(); i += 4) sorted.emplace_back(entries.begin() + i, entries.begin() + i + 4);
    std::stable_sort(sorted.begin(), sorted.end(), [](const auto& a, const auto& b) { return a[0] < b[0]; });
    std::vector<uint16_t> directory = {1, 1, 0, static_cast<uint16_t>(sorted.size())};
    for (const auto& entry : sorted) directory.insert(directory.end(), entry.begin(), entry.end());

    KVBitmapTag dirTag;
    if (!dirTag.Assign(KVTAG_SHORT, directory.size(), directory.data()) || !tags.Merge(KVTAG_GEO_KEY_DIRECTORY, dirTag))
        return false;
    if (!doubles.empty()) {
        KVBitmapTag tag;
        if (!tag.Assign(KVTAG_DOUBLE, doubles.size(), doubles.data()) || !tags.Merge(KVTAG_GEO_DOUBLE_PARAMS, tag))
            return false;
    }
    if (!ascii.empty()) {
        KVBitmapTag tag;
        if (!tag.Assign(KVTAG_TEXT, ascii.size() + 1, ascii.c_str()) || !tags.Merge(KVTAG_GEO_ASCII_PARAMS, tag))
            return false;
    }
    return true;
}

bool MergeDoubles(KVBitmapTagList& tags, unsigned number, const std::vector<double>& values) {
    KVBitmapTag tag(KVTAG_DOUBLE, values.size());
    if (tag.IsEmpty()) return false;
    std::copy(values.begin(), values.end(), static_cast<double*>(tag.GetDataPtr()));
    return tags.Merge(number, tag);
}

// |dWorld / dImage| against control 0, from the first control where both differ.
bool AxisScale(const GEOREFPOINT* src, const GEOREFPOINT* dest, int count, bool yAxis, double* scale) {
    for (int i = 1; i < count; ++i) {
        const double dImage = yAxis ? src[i].y - src[0].y : src[i].x - src[0].x;
        const double dWorld = yAxis ? dest[i].y - dest[0].y : dest[i].x - dest[0].x;
        if (dImage != 0.0 && dWorld != 0.0) {
            *scale = std::fabs(dWorld / dImage);
            return true;
        }
    }
    return false;
}

bool CalcPixelScaleFromControls(const GEOREF& georef, double* sx, double* sy) {
    if (!AxisScale(georef.pSrc, georef.pDest, georef.nControls, false, sx) ||
        !AxisScale(georef.pSrc, georef.pDest, georef.nControls, true, sy))
        return false;
    LogPrintf("CalcPixelScaleFromControls Xscale:%f Yscale:%f\n", *sx, *sy);
    return true;
}

bool AddGeorefTags(KVBitmapTagList& tags, const GEOREF& g) {
    if (g.Method == TM_PRECALCULATED && g.B == 0.0 && g.D == 0.0) {
        LogPrintf("Adding ModelPixelScaleTag to TagList\n");
        if (!MergeDoubles(tags, KVTAG_MODEL_PIXEL_SCALE, {g.A, g.E, 0.0})) return false;
        LogPrintf("Adding ModelTiepointTag to TagList\n");
        return MergeDoubles(tags, KVTAG_MODEL_TIEPOINT, {0.0, 0.0, 0.0, g.C, g.F, 0.0});
    }
    if (g.Method == TM_PRECALCULATED) {
        LogPrintf("Adding ModelTransformationTag to TagList\n");
        std::vector<double> m(16, 0.0);
        m[0] = g.A, m[1] = g.B, m[3] = g.C, m[4] = g.D, m[5] = g.E, m[7] = g.F, m[15] = 1.0;
        return MergeDoubles(tags, KVTAG_MATRIX, m);
    }
    if (g.Method == TM_NONE || g.nControls < 2 || !g.pSrc || !g.pDest) return true;
    std::vector<double> ties;
    for (int i = 0; i < g.nControls; ++i)
        ties.insert(ties.end(), {g.pSrc[i].x, g.pSrc[i].y, 0.0, g.pDest[i].x, g.pDest[i].y, 0.0});
    LogPrintf("Adding ModelTiepointTag to TagList\n");
    if (!MergeDoubles(tags, KVTAG_MODEL_TIEPOINT, ties)) return false;
    double sx = 0.0, sy = 0.0;
    if (!CalcPixelScaleFromControls(g, &sx, &sy)) return false;
    LogPrintf("Adding ModelPixelScaleTag to TagList\n");
    return MergeDoubles(tags, KVTAG_MODEL_PIXEL_SCALE, {sx, sy, 0.0});
}

// ---------------------------------------------------------------- coordinate system codes

enum class Hemisphere { North, South, Either };

// A datum's UTM zones: EPSG code = base + zone. `fromDatum` nonzero matches
// every datum from that value up.
struct ReverseUtmRow {
    int datums[4];
    Hemisphere hemisphere;
    int base;
    int fromDatum;
};
// The 72100 base of datum 123 gives codes outside EPSG's list, and datums 238
// and above take the WGS 72 southern block: files written so far carry both.
constexpr ReverseUtmRow kReverseUtm[] = {
    {{5, -1, -1, -1}, Hemisphere::North, 23000, 0},
    {{98, -1, -1, -1}, Hemisphere::North, 23800, 0},
    {{98, -1, -1, -1}, Hemisphere::South, 23840, 0},
    {{93, -1, -1, -1}, Hemisphere::North, 23900, 0},
    {{105, -1, -1, -1}, Hemisphere::North, 24500, 0},
    {{165, -1, -1, -1}, Hemisphere::North, 24818, 0},
    {{165, -1, -1, -1}, Hemisphere::South, 24860, 0},
    {{2, 124, 229, 232}, Hemisphere::North, 26700, 0},
    {{1, -1, -1, -1}, Hemisphere::North, 26900, 0},
    {{120, 121, 122, -1}, Hemisphere::North, 27000, 0},
    {{123, -1, -1, -1}, Hemisphere::North, 72100, 0},
    {{164, -1, -1, -1}, Hemisphere::Either, 28000, 0},
    {{6, 231, -1, -1}, Hemisphere::North, 29100, 0},
    {{6, 231, -1, -1}, Hemisphere::South, 29160, 0},
    {{183, -1, -1, -1}, Hemisphere::Either, 29200, 0},
    {{184, -1, -1, -1}, Hemisphere::Either, 29300, 0},
    {{14, -1, -1, -1}, Hemisphere::Either, 29600, 0},
    {{202, -1, -1, -1}, Hemisphere::Either, 29700, 0},
    {{203, -1, -1, -1}, Hemisphere::Either, 29800, 0},
    {{4, 215, -1, -1}, Hemisphere::North, 32200, 0},
    {{4, 215, -1, -1}, Hemisphere::South, 32300, 0},
    {{3, -1, -1, -1}, Hemisphere::North, 32600, 0},
    {{3, -1, -1, -1}, Hemisphere::South, 32700, 0},
    {{-1, -1, -1, -1}, Hemisphere::South, 32300, 238},
};

bool RowMatches(const ReverseUtmRow& row, DatumType datum, bool south) {
    if (row.hemisphere != Hemisphere::Either && (row.hemisphere == Hemisphere::South) != south) return false;
    if (row.fromDatum != 0) return datum >= row.fromDatum;
    return std::find(std::begin(row.datums), std::end(row.datums), datum) != std::end(row.datums);
}

bool UtmCode(const PROJDATA& proj, DatumType datum, int* code) {
    const int lon = static_cast<int>(proj.Lon0); // truncated toward zero
    const int zone = ((lon + 180) % 360) / 6 + 1;
    for (const ReverseUtmRow& row : kReverseUtm) {
        if (!RowMatches(row, datum, proj.bSouth)) continue;
        *code = row.base + zone;
        return true;
    }
    for (const UtmRangeRow& row : kUtmRanges) {
        const int lastZone = row.firstZone + row.last - row.first;
        if (row.type != proj.Type || row.datum != datum || row.ellipsoid != proj.Ellipsoid) continue;
        if (zone < row.firstZone || zone > lastZone) continue;
        *code = row.first + zone - row.firstZone;
        return true;
    }
    return false;
}

bool SystemCode(const PROJDATA& proj, DatumType datum, int* code) {
    if (proj.Type == PT_UTM) return UtmCode(proj, datum, code);
    if (proj.Type == PT_STATE_PLANE_27 || proj.Type == PT_STATE_PLANE_83)
        return ProjStateZoneToPOSCNumber(proj.Type, proj.Zone, code);
    return false;
}

// ---------------------------------------------------------------- keys

void LinearUnitKeys(KeyList& keys, double scale) {
    for (const LinearUnitRow& row : kLinearUnits) {
        if (std::fabs(row.unitsPerMetre - scale) <= 5e-8) {
            keys.Short(GK_PROJ_LINEAR_UNITS, row.code);
            return;
        }
    }
    keys.Short(GK_PROJ_LINEAR_UNITS, kGeoUserDefined);
    keys.Double(GK_PROJ_LINEAR_UNIT_SIZE, scale == 0.0 ? 1.0 : 1.0 / scale);
}

void StateZoneKeys(KeyList& keys, const PROJDATA& proj) {
    PROJDATA zone = proj;
    ProjGetStateZoneParams(&zone);
    keys.Double(GK_PROJ_NAT_ORIGIN_LONG, zone.Lon0);
    keys.Double(GK_PROJ_NAT_ORIGIN_LAT, zone.Lat0);
    keys.Double(GK_PROJ_FALSE_EASTING, zone.xOrg);
    keys.Double(GK_PROJ_FALSE_NORTHING, zone.yOrg);
    keys.Double(GK_PROJ_SCALE_AT_NAT_ORIGIN, zone.K0);
}

int CoordTransCode(const PROJDATA& proj) {
    if (proj.Type != PT_STEREOGRAPHIC) return CoordTransFromProjType(proj.Type);
    if (proj.Lat0 == 0.0) return 14;
    return proj.Lat0 == 90.0 || proj.Lat0 == -90.0 ? 15 : 16;
}

void ParameterKeys(KeyList& keys, ProjType type, const PROJDATA& p) {
    if (ProjUsesParam(type, 3)) keys.Double(GK_PROJ_FALSE_EASTING, p.xOrg);
    if (ProjUsesParam(type, 4)) keys.Double(GK_PROJ_FALSE_NORTHING, p.yOrg);
    if (ProjUsesParam(type, 5)) {
        keys.Double(GK_PROJ_NAT_ORIGIN_LAT, p.Lat0);
        keys.Double(GK_PROJ_CENTER_LAT, p.Lat0);
    }
    if (ProjUsesParam(type, 7)) keys.Double(GK_PROJ_STD_PARALLEL1, p.Lat1);
    if (ProjUsesParam(type, 8)) keys.Double(GK_PROJ_STD_PARALLEL2, p.Lat2);
    if (ProjUsesParam(type, 10) && ProjUsesParam(type, 11)) {
        keys.Double(GK_PROJ_NAT_ORIGIN_LONG, p.Lon1);
        keys.Double(GK_PROJ_CENTER_LONG, p.Lon2);
    } else {
        if (ProjUsesParam(type, 6)) keys.Double(GK_PROJ_NAT_ORIGIN_LONG, p.Lon0);
        if (ProjUsesParam(type, 10)) keys.Double(GK_PROJ_CENTER_LONG, p.Lon1);
    }
    if (ProjUsesParam(type, 17)) keys.Double(GK_PROJ_AZIMUTH_ANGLE, p.Alpha);
    if (ProjUsesParam(type, 13)) {
        keys.Double(GK_PROJ_SCALE_AT_NAT_ORIGIN, p.K0);
        keys.Double(GK_PROJ_SCALE_AT_CENTER, p.K0);
    }
}

void UserDefinedProjectionKeys(KeyList& keys, const PROJDATA& proj) {
    LogPrintf("  Coordinate system code is not known.\n");
    keys.Short(GK_MODEL_TYPE, 1);
    keys.Short(GK_PROJECTION, kGeoUserDefined);
    LinearUnitKeys(keys, proj.Scale);
    PROJDATA params = proj;
    ProjType type = proj.Type;
    int code = CoordTransCode(proj);
    if (proj.Type == PT_UTM) {
        LogPrintf("  UTM projection becomes Transverse Mercator.\n");
        code = 1;
        type = PT_TRANSVERSE_MERCATOR;
        params.xOrg = 500000.0;
        params.yOrg = proj.bSouth ? 10000000.0 : 0.0;
    }
    if (code == 0) code = kGeoUserDefined;
    LogPrintf("  Projection type code is %d.\n", code);
    keys.Short(GK_PROJ_COORD_TRANS, code);
    ParameterKeys(keys, type, params);
}

void ProjectionKeys(KeyList& keys, const PROJDATA& proj, DatumType datum) {
    int code = 0;
    if (!SystemCode(proj, datum, &code)) {
        UserDefinedProjectionKeys(keys, proj);
        return;
    }
    LogPrintf("  Coordinate system is code %d.\n", code);
    keys.Short(GK_PROJECTED_CS_TYPE, code);
    keys.Short(GK_MODEL_TYPE, 1);
    LinearUnitKeys(keys, proj.Scale);
    if (proj.Type == PT_STATE_PLANE_27 || proj.Type == PT_STATE_PLANE_83) StateZoneKeys(keys, proj);
}

// The ellipsoid by EPSG code, else by its axes. Returns nothing: the keys are written either way.
void EllipsoidKeys(KeyList& keys, EllipsoidType e, double radius, double flattening, bool ofProjection) {
    int code = 0;
    if (EllipsoidToPOSCNumber(e, &code)) {
        LogPrintf(ofProjection ? "  Projection ellipsoid code is %d.\n" : "  Datum ellipsoid code is %d.\n", code);
        keys.Short(GK_GEOG_ELLIPSOID, code);
        return;
    }
    if (ofProjection) {
        LogPrintf("  Projection ellipsoid code is not known.\n");
        LogPrintf("  Projection ellipsoid must be stored as user-defined.\n");
    } else {
        LogPrintf("  Datum ellipsoid code is not known.\n");
    }
    if (e != ELLIPSOID_USER_DEFINED) EllipsoidInfo(e, nullptr, &radius, &flattening);
    keys.Short(GK_GEOG_ELLIPSOID, kGeoUserDefined);
    keys.Double(GK_GEOG_SEMI_MAJOR, radius);
    if (flattening == 0.0)
        keys.Double(GK_GEOG_SEMI_MINOR, radius);
    else
        keys.Double(GK_GEOG_INV_FLATTENING, 1.0 / flattening);
}

std::string Citation(const PROJDATA* proj, DatumType datum, bool withDatum) {
    std::string text;
    if (proj && proj->Type != PT_UNPROJECTED) {
        char name[80] = "";
        ProjGetProjectionInfo(proj->Type, name);
        text = name;
    }
    if (withDatum) {
        char name[256] = "";
        DatGetDatumName(datum, name);
        if (!text.empty()) text += "  ";
        text += name;
    }
    if (!text.empty()) text += "|";
    return text;
}

bool BuildTags(KVBitmapTagList& tags, PROJDATA* proj, DatumType datum, DATUM2WGS84* datumParams,
               GEOREF* georef) {
    LogPrintf("KVProjBuildGeoTIFFTags\n");
    if (georef && !AddGeorefTags(tags, *georef)) {
        KV_REPORT(20200);
        return false;
    }
    const bool projectionGiven = proj && proj->Type != PT_COUNT && proj->Type != PT_UNDEFINED;
    const bool projected = projectionGiven && proj->Type != PT_UNPROJECTED;
    const bool datumGiven = datum != DATUM_NONE && datumParams;
    if (!projected && !datumGiven) {
        LogPrintf("KVProjBuildGeoTIFFTags success (w/o projection or datum)\n");
        return true;
    }
    KeyList keys;
    keys.Short(GK_RASTER_TYPE, 1);
    if (projectionGiven && !projected) LogPrintf("  Coordinate system is unprojected.\n");
    if (projected) {
        ProjectionKeys(keys, *proj, datum);
        EllipsoidKeys(keys, proj->Ellipsoid, proj->MajorRadius, proj->Flattening, true);
    }
    if (datumGiven) {
        int code = 0;
        if (DatGetDatumPOSCNumber(datum, &code)) {
            LogPrintf("  Datum code is %d.\n", code);
            keys.Short(GK_GEOG_DATUM, code);
        } else {
            LogPrintf("  Datum not known.\n");
        }
        if (!projectionGiven) keys.Short(GK_GEOG_ANGULAR_UNITS, 9102);
        if (!projected)
            EllipsoidKeys(keys, datumParams->Ellipsoid, datumParams->MajorRadius, datumParams->Flattening, false);
    }
    const std::string text = Citation(proj, datum, datumGiven);
    if (!text.empty()) keys.Text(GK_PCS_CITATION, text);
    if (!keys.Write(tags)) {
        KV_REPORT(20201);
        return false;
    }
    LogPrintf("KVProjBuildGeoTIFFTags success\n");
    return true;
}

} // namespace

bool KVProjBuildGeoTIFFTags(KVBitmapTagList& tags, PROJDATA* proj, DatumType datum,
                            DATUM2WGS84* datumParams, GEOREF* georef) {
    return KV_GUARDED(false, [&] { return BuildTags(tags, proj, datum, datumParams, georef); });
}

// ---------------------------------------------------------------- bitmap lookup

namespace {

bool BitmapGeoParams(const char* imageName, unsigned int* flagsOut, PROJDATA* projOut,
                     DatumType* datumOut, DATUM2WGS84* paramsOut, GEOREF* georefOut) {
    LogPrintf("KVProjGetBitmapGeoParams\n");
    if (!imageName) return false;
    PROJDATA proj{};
    DatumType datum = DATUM_WGS84;
    DATUM2WGS84 params{};
    GEOREF georef{}, tiffRef{};
    unsigned int flags = 0, tiffFlags = 0;
    // Each reader resets the flag word: what the RSF reading reports replaces
    // what the world file reported, while the world file's coefficients stay.
    if (!KVProjReadESRIWorld(imageName, &georef, &flags) || !KVProjReadBlueMarbleRSF(imageName, &georef, &flags) ||
        !KVProjGetGeoTIFF(imageName, &proj, &datum, &params, &tiffRef, &tiffFlags)) {
        RefFreeControls(&georef);
        return false;
    }
    if (tiffFlags & (GEOPARAM_COEFFICIENTS | GEOPARAM_CONTROLS)) {
        RefFreeControls(&georef);
        georef = tiffRef;
        flags = tiffFlags;
    }
    flags |= tiffFlags & (GEOPARAM_PROJECTION | GEOPARAM_DATUM);
    if (flags) flags |= GEOPARAM_FILE_FOUND;
    if (flagsOut) *flagsOut = flags;
    if (projOut) *projOut = proj;
    if (datumOut) *datumOut = datum;
    if (paramsOut) *paramsOut = params;
    if (georefOut)
        *georefOut = georef;
    else
        RefFreeControls(&georef);
    return true;
}

} // namespace

bool KVProjGetBitmapGeoParams(const char* imageName, unsigned int* flags, PROJDATA* proj,
                              DatumType* datum, DATUM2WGS84* datumParams, GEOREF* georef) {
    return KV_GUARDED(false, [&] { return BitmapGeoParams(imageName, flags, proj, datum, datumParams, georef); });
}

void KVProjDiscardGeoTIFFTags(KVBitmapTagList& tags) {
    KV_GUARDED_VOID([&] {
        LogPrintf("KVProjDiscardGeoTIFFTags\n");
        tags.RemoveAll();
    });
}

} // namespace KVProj
