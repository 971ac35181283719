// The ESRI ".prj" file: the keyword dialect and the well-known text dialect on
// reading, well-known text on writing, both mapped to PROJDATA, DatumType and
// DATUM2WGS84 through the name tables below.
#include "formats/EsriPrj.h"

#include "formats/EpsgTables.h"
#include "frame/CNumber.h"
#include "frame/Diag.h"
#include "frame/Firewall.h"
#include "frame/SiblingFile.h"
#include "frame/TextFile.h"
#include "kvproj/angle.h"
#include "kvproj/ellipsoid.h"
#include "kvproj/files.h"
#include "kvproj/stateplane.h"
#include "kvproj/utmzone.h"

#include <cmath>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <memory>

namespace KVProj {

namespace {

constexpr double kUSFeetPerMetre = 3.2808333333333333;
constexpr double kMetresPerUSFoot = 0.3048006096012192;
constexpr double kDegreeInRadians = 0.0174532925199433;
constexpr size_t kOldLineLen = 259;

// ---------------------------------------------------------------- name tables

struct ProjectionName {
    const char* name;
    int type;
};

// Both directions: reading takes the first match of a name, writing the first
// name of a type.
constexpr ProjectionName kProjectionNames[] = {
    {"Albers", 2},
    {"Albers_Conic_Equal_Area", 2},
    {"Azimuthal_Equidistant", 28},
    {"Cassini", 16},
    {"Cassini_Soldner", 16},
    {"Bonne", 21},
    {"Eckert_IV", 23},
    {"Eckert_VI", 24},
    {"Equidistant_Conic", 26},
    {"Gnomonic", 27},
    {"Hotine_Oblique_Mercator", 12},
    {"Hotine_Oblique_Mercator_Two_Point_Natural_Origin", 12},
    {"Hotine_Oblique_Mercator_Azimuth_Natural_Origin", 12},
    {"Laborde_Oblique_Mercator", 25},
    {"Lambert_Conformal_Conic", 5},
    {"Lambert_Conformal_Conic_1SP", 5},
    {"Lambert_Conformal_Conic_2SP", 5},
    {"Lambert_Conformal_Conic_2SP_Belgium", 5},
    {"Lambert_Azimuthal_Equal_Area", 20},
    {"Mercator", 1},
    {"Mercator_1SP", 1},
    {"Mercator_2SP", 1},
    {"Miller_Cylindrical", 3},
    {"Mollweide", 8},
    {"Orthographic", 7},
    {"Polyconic", 11},
    {"Robinson", 14},
    {"Sinusoidal", 19},
    {"Stereographic", 6},
    {"Polar_Stereographic", 6},
    {"Oblique_Stereographic", 6},
    {"Gall_Stereographic", 6},
    {"Transverse_Mercator", 17},
    {"Transverse_Mercator_South_Orientated", 17},
    {"VanDerGrinten", 15},
};
static_assert(sizeof(kProjectionNames) / sizeof(kProjectionNames[0]) == 35, "35 projection names");

struct SpheroidName {
    const char* name;
    const char* suffix;
    int ellipsoid;
};

// Several names give one ellipsoid, and "Clarke" alone meets the 1866 row first.
constexpr SpheroidName kSpheroidNames[] = {
    {"Airy", "1830", 5},
    {"Australian National", "", 10},
    {"Bessel", "1841", 12},
    {"Clarke", "1866", 15},
    {"Clarke", "1880", 16},
    {"Everest", "1830", 20},
    {"Fischer", "1960", 27},
    {"Fischer", "1968", 29},
    {"GRS80", "", 3},
    {"GRS1980", "", 3},
    {"Helmert", "1907", 30},
    {"Hough", "", 31},
    {"International", "1909", 33},
    {"Krasovsky", "1940", 35},
    {"Modified Airy", "", 8},
    {"Modified Everest", "", 21},
    {"Modified Fischer", "1960", 28},
    {"Modified Mercury", "1968", 27},
    {"Mercury", "1960", 27},
    {"New International", "1967", 39},
    {"South American", "1969", 10},
    {"Southeast Asia", "", 41},
    {"Sphere", "", 48},
    {"Walbeck", "", 43},
    {"WGS66", "", 45},
    {"WGS1966", "", 45},
    {"WGS72", "", 46},
    {"WGS1972", "", 46},
    {"WGS84", "", 47},
    {"WGS1984", "", 47},
};
static_assert(sizeof(kSpheroidNames) / sizeof(kSpheroidNames[0]) == 30, "30 spheroid names");

// Keyword dialect: "Projection" values; k0 0 leaves K0 alone.
struct OldProjection {
    const char* value;
    int type;
    double k0;
};
constexpr OldProjection kOldProjections[] = {
    {"GEOGRAPHIC", 0, 0},       {"ALBERS", 2, 0},        {"BONNE", 21, 0},
    {"CASSINI", 16, 0},         {"ECKERTIV", 23, 0},     {"ECKERTVI", 24, 0},
    {"EQUIRECTANGULAR", 13, 0}, {"GRINTEN", 15, 0},      {"LAMBERT", 5, 0},
    {"LAMBERT_AZIMUTHAL", 20, 0}, {"MERCATOR", 1, 0},    {"MILLER", 3, 0},
    {"MOLLWEIDE", 8, 0},        {"OBLIQUE_MERCATOR", 12, 0}, {"ORTHOGRAPHIC", 7, 0},
    {"POLAR", 6, 0.9994},       {"UPS", 6, 0.9994},      {"POLYCONIC", 11, 0},
    {"ROBINSON", 22, 0}, // Robinson-Sterling, not 14: kept as the format has always read it
    {"SINUSOIDAL", 19, 0},      {"STATEPLANE", 10, 0},   {"STEREOGRAPHIC", 6, 0},
    {"TRANSVERSE", 17, 0},      {"UTM", 4, 0.9996},
};

struct OldDatum {
    const char* value;
    int datum;
};
constexpr OldDatum kOldDatums[] = {
    {"NAD27", 2}, {"NAD83", 1}, {"HPGN", 1}, {"WGS84", 3}, {"WGS72", 215}, {"ED50", 5},
};

// Where a value goes: an angle or a plain number into one or two PROJDATA
// fields, or the radius of a user-defined sphere.
enum class PrjValue { Angle, Number, Radius };
// PROJDATA is byte-packed, so its doubles are reached by offset and memcpy.
constexpr size_t kNoField = ~size_t(0);
struct PrjTarget {
    size_t field;  // offset of a double in PROJDATA
    size_t second; // also set, or kNoField
};

void SetField(PROJDATA& proj, size_t offset, double value) {
    std::memcpy(reinterpret_cast<unsigned char*>(&proj) + offset, &value, sizeof value);
}

double GetField(const PROJDATA& proj, size_t offset) {
    double value;
    std::memcpy(&value, reinterpret_cast<const unsigned char*>(&proj) + offset, sizeof value);
    return value;
}

struct OldComment {
    const char* comment;
    PrjValue kind;
    PrjTarget target;
};
// Parameter lines of the keyword dialect, matched by their comment. The plain
// "azimuth" goes to Lat1, as files of this dialect have always meant it.
constexpr OldComment kOldComments[] = {
    {"latitude of standard parallel", PrjValue::Angle, {offsetof(PROJDATA, Lat0), kNoField}},
    {"latitude of the standard parallel (DMS)", PrjValue::Angle, {offsetof(PROJDATA, Lat0), kNoField}},
    {"latitude of true scale", PrjValue::Angle, {offsetof(PROJDATA, Lat0), kNoField}},
    {"latitude of projection's origin", PrjValue::Angle, {offsetof(PROJDATA, Lat0), kNoField}},
    {"latitude of projections origin", PrjValue::Angle, {offsetof(PROJDATA, Lat0), kNoField}},
    {"latitude of projection's center", PrjValue::Angle, {offsetof(PROJDATA, Lat0), kNoField}},
    {"latitude of the origin", PrjValue::Angle, {offsetof(PROJDATA, Lat0), kNoField}},
    {"latitude of origin", PrjValue::Angle, {offsetof(PROJDATA, Lat0), kNoField}},
    {"latitude of the origin (DMS)", PrjValue::Angle, {offsetof(PROJDATA, Lat0), kNoField}},
    {"latitude of center of projection", PrjValue::Angle, {offsetof(PROJDATA, Lat0), kNoField}},
    {"latitude of projection center", PrjValue::Angle, {offsetof(PROJDATA, Lat0), kNoField}},
    {"1st standard parallel", PrjValue::Angle, {offsetof(PROJDATA, Lat1), kNoField}},
    {"azimuth", PrjValue::Angle, {offsetof(PROJDATA, Lat1), kNoField}},
    {"Latitude of the 1st standard parallel (DMS)", PrjValue::Angle, {offsetof(PROJDATA, Lat1), kNoField}},
    {"2nd standard parallel", PrjValue::Angle, {offsetof(PROJDATA, Lat2), kNoField}},
    {"Latitude of the 2nd standard parallel (DMS)", PrjValue::Angle, {offsetof(PROJDATA, Lat2), kNoField}},
    {"central meridian", PrjValue::Angle, {offsetof(PROJDATA, Lon0), kNoField}},
    {"longitude of central meridian", PrjValue::Angle, {offsetof(PROJDATA, Lon0), kNoField}},
    {"longitude of the central meridian (DMS)", PrjValue::Angle, {offsetof(PROJDATA, Lon0), kNoField}},
    {"longitude of center of projection", PrjValue::Angle, {offsetof(PROJDATA, Lon0), kNoField}},
    {"longitude of projection's center", PrjValue::Angle, {offsetof(PROJDATA, Lon0), kNoField}},
    {"longitude of the projection's center", PrjValue::Angle, {offsetof(PROJDATA, Lon0), kNoField}},
    {"longitude of the origin", PrjValue::Angle, {offsetof(PROJDATA, Lon0), kNoField}},
    {"longitude of projection center", PrjValue::Angle, {offsetof(PROJDATA, Lon0), kNoField}},
    {"azimuth at the projection's center", PrjValue::Angle, {offsetof(PROJDATA, Alpha), kNoField}},
    {"false easting (meters)", PrjValue::Number, {offsetof(PROJDATA, xOrg), kNoField}},
    {"false easting", PrjValue::Number, {offsetof(PROJDATA, xOrg), kNoField}},
    {"false northing (meters)", PrjValue::Number, {offsetof(PROJDATA, yOrg), kNoField}},
    {"false northing", PrjValue::Number, {offsetof(PROJDATA, yOrg), kNoField}},
    {"scale factor", PrjValue::Number, {offsetof(PROJDATA, K0), kNoField}},
    {"scale factor at central meridian", PrjValue::Number, {offsetof(PROJDATA, K0), kNoField}},
    {"scale factor at the projection's center", PrjValue::Number, {offsetof(PROJDATA, K0), kNoField}},
    {"longitude of 1st point", PrjValue::Angle, {offsetof(PROJDATA, Lon1), kNoField}},
    {"longitude of 2nd point", PrjValue::Angle, {offsetof(PROJDATA, Lon2), kNoField}},
    {"longitude of 3rd point", PrjValue::Angle, {offsetof(PROJDATA, Lon3), kNoField}},
    {"latitude of 1st point", PrjValue::Angle, {offsetof(PROJDATA, Lat1), kNoField}},
    {"latitude of 2nd point", PrjValue::Angle, {offsetof(PROJDATA, Lat2), kNoField}},
    {"latitude of 3rd point", PrjValue::Angle, {offsetof(PROJDATA, Lat3), kNoField}},
    {"radius of sphere of reference", PrjValue::Radius, {kNoField, kNoField}},
    {"radius of the sphere of reference", PrjValue::Radius, {kNoField, kNoField}},
};

// Albers and Lambert files give their parameters by line position.
constexpr PrjTarget kConicByPosition[] = {
    {offsetof(PROJDATA, Lat1), kNoField}, {offsetof(PROJDATA, Lat2), kNoField}, {offsetof(PROJDATA, Lon0), kNoField},
    {offsetof(PROJDATA, Lat0), kNoField}, {offsetof(PROJDATA, xOrg), kNoField}, {offsetof(PROJDATA, yOrg), kNoField},
};
constexpr int kConicAngleLines = 4;

struct WktParameter {
    const char* name;
    PrjTarget target;
};
// PARAMETER names of the well-known text dialect.
constexpr WktParameter kWktParameters[] = {
    {"central_meridian", {offsetof(PROJDATA, Lon0), kNoField}},
    {"scale_factor", {offsetof(PROJDATA, K0), kNoField}},
    {"standard_parallel_1", {offsetof(PROJDATA, Lat1), kNoField}},
    {"standard_parallel_2", {offsetof(PROJDATA, Lat2), kNoField}},
    {"pseudo_standard_parallel_1", {offsetof(PROJDATA, Lat1), kNoField}},
    {"longitude_of_center", {offsetof(PROJDATA, Lon0), kNoField}},
    {"latitude_of_center", {offsetof(PROJDATA, Lat0), kNoField}},
    {"longitude_of_origin", {offsetof(PROJDATA, Lon0), kNoField}},
    {"latitude_of_origin", {offsetof(PROJDATA, Lat0), kNoField}},
    {"false_easting", {offsetof(PROJDATA, xOrg), kNoField}},
    {"false_northing", {offsetof(PROJDATA, yOrg), kNoField}},
    {"azimuth", {offsetof(PROJDATA, Lat1), offsetof(PROJDATA, Alpha)}},
    {"longitude_of_point_1", {offsetof(PROJDATA, Lon1), kNoField}},
    {"latitude_of_point_1", {offsetof(PROJDATA, Lat1), kNoField}},
    {"longitude_of_point_2", {offsetof(PROJDATA, Lon2), kNoField}},
    {"latitude_of_point_2", {offsetof(PROJDATA, Lat2), kNoField}},
    {"longitude_of_point_3", {offsetof(PROJDATA, Lon3), kNoField}},
    {"latitude_of_point_3", {offsetof(PROJDATA, Lat3), kNoField}},
};

// Written PARAMETER nodes in their order: the parameter id that asks for them
// and the field they carry. Longitude_Of_Point_2 and _3 carry Lon1 as well.
struct WrittenParameter {
    int id;
    const char* name;
    size_t field;
};
constexpr WrittenParameter kWrittenParameters[] = {
    {5, "Latitude_Of_Origin", offsetof(PROJDATA, Lat0)},
    {6, "Longitude_Of_Origin", offsetof(PROJDATA, Lon0)},
    {6, "Central_Meridian", offsetof(PROJDATA, Lon0)},
    {10, "Longitude_Of_Point_1", offsetof(PROJDATA, Lon1)},
    {11, "Longitude_Of_Point_2", offsetof(PROJDATA, Lon1)},
    {12, "Longitude_Of_Point_3", offsetof(PROJDATA, Lon1)},
    {7, "Standard_Parallel_1", offsetof(PROJDATA, Lat1)},
    {8, "Standard_Parallel_2", offsetof(PROJDATA, Lat2)},
    {9, "Latitude_Of_Point_3", offsetof(PROJDATA, Lat3)},
    {13, "Scale_Factor", offsetof(PROJDATA, K0)},
    {17, "Azimuth", offsetof(PROJDATA, Alpha)},
};

// ---------------------------------------------------------------- small helpers

std::string Normalised(const char* name) {
    std::string out;
    for (const char* p = name ? name : ""; *p; ++p)
        if (!std::strchr(" \t\r\n-_", *p)) out += *p;
    return out;
}

bool NormalisedEqual(const std::string& normalisedName, const std::string& rowName) {
    return EqualIgnoringCase(normalisedName.c_str(), Normalised(rowName.c_str()).c_str());
}

void SetTarget(PROJDATA& proj, const PrjTarget& target, double value) {
    if (target.field != kNoField) SetField(proj, target.field, value);
    if (target.second != kNoField) SetField(proj, target.second, value);
}

bool IsBlank(char c) { return c == ' ' || c == '\t'; }

std::string Trimmed(const std::string& text) {
    size_t begin = 0, end = text.size();
    while (begin < end && std::strchr(" \t\r\n", text[begin]) && text[begin])
        ++begin;
    while (end > begin && std::strchr(" \t\r\n", text[end - 1]) && text[end - 1])
        --end;
    return text.substr(begin, end - begin);
}

// Blank-separated tokens, a token in double or single quotes running to the
// closing quote; stops after `maxTokens`, or after a token equal to `stopAfter`.
// `rest` receives the position after the last token taken.
std::vector<std::string> LineTokens(const std::string& line, size_t maxTokens,
                                    const char* stopAfter, size_t* rest) {
    std::vector<std::string> tokens;
    size_t p = 0;
    while (tokens.size() < maxTokens) {
        while (p < line.size() && IsBlank(line[p]))
            ++p;
        if (p >= line.size()) break;
        if (line[p] == '"' || line[p] == '\'') {
            const size_t close = line.find(line[p], p + 1);
            const size_t end = close == std::string::npos ? line.size() : close;
            tokens.push_back(line.substr(p + 1, end - p - 1));
            p = close == std::string::npos ? end : end + 1;
        } else {
            const size_t start = p;
            while (p < line.size() && !IsBlank(line[p]))
                ++p;
            tokens.push_back(line.substr(start, p - start));
        }
        if (stopAfter && tokens.back() == stopAfter) break;
    }
    if (rest) *rest = p;
    return tokens;
}

// The next line of the keyword dialect that is neither blank nor a "~" remark,
// cut at 259 characters (and at a NUL) and trimmed.
bool NextOldLine(const PrjLineSource& lines, std::string& line) {
    std::string raw;
    while (lines(raw)) {
        raw = raw.substr(0, std::min(raw.size(), std::strlen(raw.c_str())));
        line = Trimmed(raw.substr(0, kOldLineLen));
        if (!line.empty() && line[0] != '~') return true;
    }
    return false;
}

double OldAngle(const std::vector<std::string>& tokens) {
    auto token = [&](size_t i) { return i < tokens.size() ? tokens[i].c_str() : ""; };
    std::string text = FormatCString("%sd%sm%ss", token(0), token(1), token(2));
    double degrees = 0.0;
    LatLonToDegrees(&text[0], &degrees, 100);
    return degrees;
}

// The size of a built-in ellipsoid into a packed record's fields.
template <typename Record> void FillEllipsoidSize(Record& rec) {
    if (rec.Ellipsoid == ELLIPSOID_USER_DEFINED) return;
    char name[80];
    double radius = rec.MajorRadius, flattening = rec.Flattening;
    EllipsoidInfo(rec.Ellipsoid, name, &radius, &flattening);
    rec.MajorRadius = radius;
    rec.Flattening = flattening;
}

// The zone of a USGS code; `unchanged` when no zone has it (the lookup's own
// result, kept in a local: the record is byte-packed).
StateZoneType ZoneOfUSGSCode(int code, StateZoneType unchanged) {
    StateZoneType zone = unchanged;
    ProjGetStateZoneFromUSGSCode(&zone, code);
    return zone;
}

// ---------------------------------------------------------------- keyword dialect

void OldProjectionLine(const std::string& value, PROJDATA& proj) {
    for (const OldProjection& row : kOldProjections) {
        if (!EqualIgnoringCase(value.c_str(), row.value)) continue;
        proj.Type = static_cast<ProjType>(row.type);
        if (row.k0 != 0) proj.K0 = row.k0;
        return;
    }
}

void OldZoneLine(const std::string& value, PROJDATA& proj) {
    if (proj.Type == PT_UTM)
        proj.Lon0 = ProjUTMZoneNumberToLon(std::atoi(value.c_str()));
    else if (proj.Type == PT_STATE_PLANE_27 || proj.Type == PT_STATE_PLANE_83)
        proj.Zone = ZoneOfUSGSCode(std::atoi(value.c_str()), proj.Zone);
}

// "Datum USER_DEFINED dx dy dz [rx ry rz k]".
void OldUserDatum(const std::vector<std::string>& tokens, PrjRecord& rec) {
    rec.datum = DATUM_USER_DEFINED;
    std::memset(&rec.params, 0, sizeof rec.params);
    double values[7] = {};
    int count = 0;
    for (size_t i = 2; i < tokens.size() && count < 7; ++i) {
        char* end = nullptr;
        values[count] = StrtodC(tokens[i].c_str(), &end);
        if (end == tokens[i].c_str()) break;
        ++count;
    }
    DATUM2WGS84& p = rec.params;
    p.Method = count == 7 ? DM_BURSA : DM_MOLODENSKY;
    p.dx = values[0];
    p.dy = values[1];
    p.dz = values[2];
    if (count == 7) {
        p.rx = values[3];
        p.ry = values[4];
        p.rz = values[5];
        p.k = values[6];
    }
}

void OldDatumLine(const std::vector<std::string>& tokens, PrjRecord& rec) {
    const std::string& value = tokens[1];
    if (EqualIgnoringCase(value.c_str(), "USER_DEFINED") ||
        EqualIgnoringCase(value.c_str(), "USERDEFINED")) {
        OldUserDatum(tokens, rec);
    } else {
        for (const OldDatum& row : kOldDatums)
            if (EqualIgnoringCase(value.c_str(), row.value)) rec.datum = static_cast<DatumType>(row.datum);
    }
    if (rec.datum == DATUM_NAD27 && rec.proj.Type == PT_STATE_PLANE_83) rec.proj.Type = PT_STATE_PLANE_27;
}

void OldUnitsLine(const std::string& value, PROJDATA& proj) {
    if (EqualIgnoringCase(value.c_str(), "METERS") || EqualIgnoringCase(value.c_str(), "DD")) {
        proj.Scale = 1.0;
    } else if (EqualIgnoringCase(value.c_str(), "FEET")) {
        proj.Scale = kUSFeetPerMetre;
    } else {
        const double scale = AtofC(value.c_str());
        if (scale > 0.0001) proj.Scale = scale;
    }
}

void OldSpheroidLine(const std::string& value, PROJDATA& proj) {
    const int e = FindSpheroid(value.c_str());
    proj.Ellipsoid = static_cast<EllipsoidType>(e == ELLIPSOID_NONE ? ELLIPSOID_CLARKE_1866 : e);
    const double radius = AtofC(value.c_str());
    if (radius > 0) {
        proj.Ellipsoid = ELLIPSOID_USER_DEFINED;
        proj.MajorRadius = radius;
        proj.Flattening = 0;
    }
}

// Reads header lines up to "Parameters" (true) or "EOP" or the end (false).
bool ReadOldHeader(const PrjLineSource& lines, PrjRecord& rec) {
    std::string line;
    while (NextOldLine(lines, line)) {
        std::vector<std::string> tokens = LineTokens(line, 10, nullptr, nullptr);
        if (tokens.size() < 2) tokens.emplace_back(); // before taking pointers into it
        const char* key = tokens[0].c_str();
        if (EqualIgnoringCase(key, "Parameters")) return true;
        if (EqualIgnoringCase(key, "EOP")) return false;
        const std::string& value = tokens[1];
        if (EqualIgnoringCase(key, "Projection"))
            OldProjectionLine(value, rec.proj);
        else if (EqualIgnoringCase(key, "Zone"))
            OldZoneLine(value, rec.proj);
        else if (EqualIgnoringCase(key, "Datum"))
            OldDatumLine(tokens, rec);
        else if (EqualIgnoringCase(key, "Unit") || EqualIgnoringCase(key, "Units"))
            OldUnitsLine(value, rec.proj);
        else if (EqualIgnoringCase(key, "Spheroid"))
            OldSpheroidLine(value, rec.proj);
    }
    return false;
}

void TakeProjectionEllipsoid(PrjRecord& rec) {
    rec.params.Ellipsoid = rec.proj.Ellipsoid;
    rec.params.MajorRadius = rec.proj.MajorRadius;
    rec.params.Flattening = rec.proj.Flattening;
}

void OldParameterByComment(const std::vector<std::string>& tokens, const std::string& comment,
                           PROJDATA& proj) {
    for (const OldComment& row : kOldComments) {
        if (!EqualIgnoringCase(comment.c_str(), row.comment)) continue;
        const double number = AtofC(tokens[0].c_str());
        if (row.kind == PrjValue::Angle) {
            SetTarget(proj, row.target, OldAngle(tokens));
        } else if (row.kind == PrjValue::Number) {
            SetTarget(proj, row.target, number);
        } else {
            proj.Ellipsoid = ELLIPSOID_USER_DEFINED;
            proj.MajorRadius = number;
            proj.Flattening = 0;
        }
        return;
    }
}

void ReadOldParameters(const PrjLineSource& lines, PROJDATA& proj) {
    const bool byPosition = proj.Type == PT_ALBERS || proj.Type == PT_LAMBERT_CONIC;
    int position = 0;
    std::string line;
    while (NextOldLine(lines, line)) {
        size_t rest = 0;
        std::vector<std::string> tokens = LineTokens(line, 4, "/*", &rest);
        if (EqualIgnoringCase(tokens[0].c_str(), "EOP")) return;
        const std::string comment = Trimmed(line.substr(rest));
        if (byPosition) {
            if (position < kConicAngleLines)
                SetTarget(proj, kConicByPosition[position], OldAngle(tokens));
            else if (position < 6)
                SetTarget(proj, kConicByPosition[position], AtofC(tokens[0].c_str()));
            ++position;
        } else {
            OldParameterByComment(tokens, comment, proj);
        }
    }
}

// ---------------------------------------------------------------- well-known text

void InitRecord(PrjRecord& rec, EllipsoidType projEllipsoid) {
    std::memset(&rec, 0, sizeof rec);
    rec.proj.Type = PT_UNDEFINED;
    rec.proj.Scale = 1.0;
    rec.proj.K0 = 1.0;
    rec.proj.Ellipsoid = projEllipsoid;
    rec.datum = DATUM_NONE;
}

// The number after `marker` in `name`, and where the digits end.
int NumberAfter(const char* at, const char** end) {
    const char* p = at;
    while (*p == ' ' || *p == '\t')
        ++p;
    if (*p == '+' || *p == '-') ++p;
    while (*p >= '0' && *p <= '9')
        ++p;
    *end = p;
    return std::atoi(at);
}

void ProjcsName(const std::string& name, PROJDATA& proj) {
    const char* text = name.c_str();
    const char* end = nullptr;
    static const struct {
        const char* system;
        ProjType type;
        const char* trace;
    } kSystems[] = {{"NAD_1927_StatePlane", PT_STATE_PLANE_27, "Found SPCS27 zone %d\n"},
                    {"NAD_1983_StatePlane", PT_STATE_PLANE_83, "Found SPCS83 zone %d\n"}};
    for (const auto& system : kSystems) {
        const char* at = std::strstr(text, system.system);
        const char* fips = at ? std::strstr(at, "FIPS_") : nullptr;
        if (!fips) continue;
        proj.Type = system.type;
        proj.Zone = ZoneOfUSGSCode(NumberAfter(fips + 5, &end), proj.Zone);
        CTRACE(system.trace, static_cast<int>(proj.Zone));
    }
    const char* utm = std::strstr(text, "UTM_Zone_");
    if (!utm) return;
    const int zone = NumberAfter(utm + 9, &end);
    proj.Type = PT_UTM;
    proj.Lon0 = ProjUTMZoneNumberToLon(zone);
    while (*end == ' ' || *end == '_')
        ++end;
    proj.bSouth = *end == 's' || *end == 'S';
    CTRACE("Found UTM zone %d %c\n", zone, proj.bSouth ? 'S' : 'N');
}

void ApplyWktParameter(const std::string& name, double value, PROJDATA& proj) {
    for (const WktParameter& row : kWktParameters) {
        if (EqualIgnoringCase(name.c_str(), row.name)) {
            SetTarget(proj, row.target, value);
            return;
        }
    }
    CTRACE("Unsupported projection parameter '%s'==%f\n", name.c_str(), value);
}

void ApplyWktUnit(const std::string& name, double value, PROJDATA& proj) {
    // Every foot is read as the US survey foot.
    for (const char* foot : {"Feet", "Foot", "Feet_US", "Foot_US"}) {
        if (EqualIgnoringCase(name.c_str(), foot)) {
            proj.Scale = kUSFeetPerMetre;
            return;
        }
    }
    if (EqualIgnoringCase(name.c_str(), "Meter"))
        proj.Scale = 1.0;
    else if (value > 0)
        proj.Scale = 1.0 / value;
}

void ReadProjcs(const WktNode& projcs, PROJDATA& proj) {
    CTRACE("Found PROJCS\n");
    const WktNode* projection = projcs.Find("PROJECTION");
    if (projection && !projection->Children.empty()) {
        const char* name = projection->Children[0].Text.c_str();
        CTRACE("Found projection '%s'\n", name);
        const int type = FindProjection(name);
        if (type != PT_UNDEFINED) {
            proj.Type = static_cast<ProjType>(type);
            CTRACE("Found projection type %d\n", type);
        }
    }
    if (!projcs.Children.empty()) ProjcsName(projcs.Children[0].Text, proj);
    if (proj.Type == PT_STATE_PLANE_27 || proj.Type == PT_STATE_PLANE_83) return;
    for (const WktNode& child : projcs.Children) {
        if (child.Children.size() < 2) continue;
        const std::string& name = child.Children[0].Text;
        const double value = child.Children[1].Value;
        if (child.CompareText("PARAMETER"))
            ApplyWktParameter(name, value, proj);
        else if (child.CompareText("UNIT"))
            ApplyWktUnit(name, value, proj);
    }
}

// A datum that the tables know only as an EPSG geographic row.
void ReadEpsgDatum(const WktNode& geogcs, const EpsgGeographic& row, PrjRecord& rec) {
    DATUM2WGS84& p = rec.params;
    EllipsoidType e = p.Ellipsoid;
    const bool known = p.Ellipsoid != ELLIPSOID_NONE || EllipsoidFromPOSCNumber(row.ellipsoidCode, &e);
    p.Ellipsoid = e; // a close row is kept even when the code is not known exactly
    if (!known) {
        const WktNode* spheroid = geogcs.Find("SPHEROID");
        if (spheroid && spheroid->Children.size() >= 3) {
            const double inverse = spheroid->Children[2].Value;
            p.Ellipsoid = ELLIPSOID_USER_DEFINED;
            p.MajorRadius = spheroid->Children[1].Value;
            p.Flattening = inverse != 0 ? 1.0 / inverse : 0.0;
            CTRACE("User-defined ellipsoid radius=%f, flat=%f\n", p.MajorRadius, p.Flattening);
        }
    }
    if (row.tfmMethod != 9603 && row.tfmMethod != 9606 && row.tfmMethod != 9607) return;
    CTRACE("Initializing user-defined datum.\n");
    rec.datum = DATUM_USER_DEFINED;
    p.Method = row.tfmMethod == 9603 ? DM_MOLODENSKY : DM_BURSA;
    const double sign = row.tfmMethod == 9607 ? -1.0 : 1.0; // coordinate frame: rotations reversed
    p.dx = row.dx;
    p.dy = row.dy;
    p.dz = row.dz;
    p.rx = sign * row.rx;
    p.ry = sign * row.ry;
    p.rz = sign * row.rz;
    p.k = row.scalePpm;
    const EpsgPrimeMeridian* pm = EpsgFindPrimeMeridian(row.primeMeridianCode);
    p.PMShift = pm ? pm->longitudeDegrees : 0.0;
    CTRACE("Datum meridian is %f\n", p.PMShift);
}

// Returns whether a DATUM node was there.
void ReadGeogcs(const WktNode& tree, PrjRecord& rec) {
    const WktNode* geogcs = tree.Find("GEOGCS");
    if (!geogcs) return;
    CTRACE("Found GEOGCS\n");
    const WktNode* datum = geogcs->Find("DATUM");
    if (!datum) return;
    const char* name = datum->ChildText(0).c_str();
    CTRACE("PRJ datum name is '%s'\n", name);
    const int code = EpsgDatumCodeFromName(name);
    CTRACE("iDatumEPSGCode=%d\n", code);
    DatumType builtIn = DATUM_NONE;
    if (DatGetDatumFromPOSCNumber(&builtIn, code)) {
        rec.datum = builtIn;
        DatGetDatumParams(builtIn, &rec.params);
        return;
    }
    if (const EpsgGeographic* row = EpsgFindGeographicByDatum(code)) ReadEpsgDatum(*geogcs, *row, rec);
}

void SettleEllipsoids(PrjRecord& rec) {
    PROJDATA& proj = rec.proj;
    if (proj.Ellipsoid == ELLIPSOID_NONE && rec.params.Ellipsoid != ELLIPSOID_NONE) {
        proj.Ellipsoid = rec.params.Ellipsoid;
        proj.MajorRadius = rec.params.MajorRadius;
        proj.Flattening = rec.params.Flattening;
    }
    if (proj.Ellipsoid == ELLIPSOID_NONE) proj.Ellipsoid = ELLIPSOID_CLARKE_1866;
    FillEllipsoidSize(proj);
    FillEllipsoidSize(rec.params);
}

// ---------------------------------------------------------------- writing

void AddParameter(WktNode& projcs, const char* name, double value) {
    WktNode& node = projcs.AddText("PARAMETER");
    node.AddText(name);
    node.AddNumber(value);
}

WktNode& AddNamed(WktNode& parent, const char* keyword, const std::string& name) {
    WktNode& node = parent.AddText(keyword);
    node.AddText(name);
    return node;
}

bool Within(double value, double target) {
    return std::fabs(value - target) <= std::fabs(target) / 10000.0;
}

// Whether an EPSG geographic row's transformation is the one `p` describes.
bool RowMatches(const EpsgGeographic& row, const DATUM2WGS84& p) {
    const bool shift = Within(p.dx, row.dx) && Within(p.dy, row.dy) && Within(p.dz, row.dz);
    if (p.Method == DM_MOLODENSKY) return row.tfmMethod == 9603 && shift;
    if (p.Method != DM_BURSA || !shift || !Within(p.k, row.scalePpm)) return false;
    const double sign = row.tfmMethod == 9607 ? -1.0 : row.tfmMethod == 9606 ? 1.0 : 0.0;
    return sign != 0.0 && Within(p.rx, sign * row.rx) && Within(p.ry, sign * row.ry) &&
           Within(p.rz, sign * row.rz);
}

const EpsgGeographic* GeographicRowFor(DatumType datum, const DATUM2WGS84& params) {
    int code = -1;
    if (!DatGetDatumPOSCNumber(datum, &code)) code = -1;
    if (const EpsgGeographic* row = EpsgFindGeographicByDatum(code)) return row;
    for (int i = 0; i < kEpsgGeographicCount; ++i)
        if (RowMatches(kEpsgGeographics[i], params)) return &kEpsgGeographics[i];
    return nullptr;
}

WktNode BuildGeogcs(DatumType datum, const DATUM2WGS84& params) {
    WktNode geogcs;
    geogcs.SetText("GEOGCS");
    if (datum == DATUM_NONE) return geogcs;
    const EpsgGeographic* row = GeographicRowFor(datum, params);
    const EpsgDatum* d = row ? EpsgFindDatum(row->datumCode) : nullptr;
    const EpsgEllipsoid* e = row ? EpsgFindEllipsoid(row->ellipsoidCode) : nullptr;
    const EpsgPrimeMeridian* pm = row ? EpsgFindPrimeMeridian(row->primeMeridianCode) : nullptr;
    if (d && e && pm) {
        const std::string name = *d->esriName ? d->esriName : d->name;
        const bool prefixed = name.compare(0, 2, "D_") == 0;
        geogcs.AddText(FormatCString("GCS_%s", name.c_str() + (prefixed ? 2 : 0)));
        WktNode& datumNode = AddNamed(geogcs, "DATUM", name);
        WktNode& spheroid = AddNamed(datumNode, "SPHEROID", e->name);
        spheroid.AddNumber(e->semiMajorAxis);
        spheroid.AddNumber(e->inverseFlattening);
        AddNamed(geogcs, "PRIMEM", pm->name).AddNumber(pm->longitudeDegrees);
    }
    AddNamed(geogcs, "UNIT", "Degree").AddNumber(kDegreeInRadians);
    return geogcs;
}

// The fixed geographic system of a state plane system.
WktNode StatePlaneGeogcs(bool nad27) {
    WktNode geogcs;
    geogcs.SetText("GEOGCS");
    geogcs.AddText(nad27 ? "GCS_North_American_1927" : "GCS_North_American_1983");
    WktNode& datum = AddNamed(geogcs, "DATUM", nad27 ? "D_North_American_1927" : "D_North_American_1983");
    WktNode& spheroid = AddNamed(datum, "SPHEROID", nad27 ? "Clarke_1866" : "GRS_1980");
    spheroid.AddNumber(nad27 ? 6378206.4 : 6378137.0);
    spheroid.AddNumber(nad27 ? 294.9786982 : 298.257222101);
    AddNamed(geogcs, "PRIMEM", "Greenwich").AddNumber(0.0);
    AddNamed(geogcs, "UNIT", "Degree").AddNumber(kDegreeInRadians);
    return geogcs;
}

bool OpenPrjForReading(const std::string& name, LineReader& reader, std::string& firstSix) {
    std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(OpenRegularFile(name.c_str()), &std::fclose);
    if (!file) {
        CTRACE("'%s' doesn't exist.\n", name.c_str());
        return false;
    }
    char head[7] = {};
    if (std::fread(head, 1, 6, file.get()) != 6) {
        CTRACE("'%s' is empty.\n", name.c_str());
        return false;
    }
    firstSix = head;
    return reader.Open(name.c_str());
}

} // namespace

// ---------------------------------------------------------------- internal interface

PrjLineSource PrjLinesOfText(const std::string& text) {
    auto position = std::make_shared<size_t>(0);
    return [text, position](std::string& line) {
        if (*position >= text.size()) return false;
        size_t end = text.find('\n', *position);
        if (end == std::string::npos) end = text.size();
        line = text.substr(*position, end - *position);
        if (!line.empty() && line.back() == '\r') line.pop_back();
        *position = end + 1;
        return true;
    };
}

std::string PrjFileName(const char* path) {
    std::string name = path ? path : "";
    const size_t dot = name.rfind('.');
    if (dot != std::string::npos) name.erase(dot);
    return name + ".prj";
}

int FindProjection(const char* name) {
    const std::string wanted = Normalised(name);
    for (const ProjectionName& row : kProjectionNames)
        if (NormalisedEqual(wanted, row.name)) return row.type;
    return PT_UNDEFINED;
}

int FindSpheroid(const char* name) {
    const std::string wanted = Normalised(name);
    for (const SpheroidName& row : kSpheroidNames) {
        if (NormalisedEqual(wanted, row.name) ||
            NormalisedEqual(wanted, std::string(row.name) + row.suffix))
            return row.ellipsoid;
    }
    return ELLIPSOID_NONE;
}

bool ReadOldPrj(const PrjLineSource& lines, PrjRecord* out) {
    PrjRecord rec;
    InitRecord(rec, ELLIPSOID_CLARKE_1866);
    const bool parameters = ReadOldHeader(lines, rec);
    if (rec.datum != DATUM_USER_DEFINED && rec.datum != DATUM_NONE)
        DatGetDatumParams(rec.datum, &rec.params);
    else if (rec.datum == DATUM_USER_DEFINED)
        TakeProjectionEllipsoid(rec);
    if (parameters) ReadOldParameters(lines, rec.proj);
    if (rec.proj.Type == PT_LAMBERT_AZIMUTHAL && rec.proj.Lat1 == 0 && rec.proj.Lat0 != 0)
        rec.proj.Lat1 = rec.proj.Lat0;
    if (rec.datum == DATUM_USER_DEFINED) TakeProjectionEllipsoid(rec);
    *out = rec;
    return true;
}

bool ReadNewPrj(const PrjLineSource& lines, PrjRecord* out) {
    std::string line;
    if (!lines(line)) return false;
    line = line.substr(0, kWktMaxLine);
    if (line.c_str()[0] == '\0') return false;
    const WktNode tree = ParseWkt(line.c_str());
    if (tree.Children.empty()) return false;
    PrjRecord rec;
    InitRecord(rec, ELLIPSOID_NONE);
    rec.params.Ellipsoid = ELLIPSOID_NONE;
    const WktNode* projcs = tree.Find("PROJCS");
    if (projcs) ReadProjcs(*projcs, rec.proj);
    ReadGeogcs(tree, rec);
    PROJDATA& proj = rec.proj;
    if (proj.Type == PT_LAMBERT_AZIMUTHAL && proj.Lat1 == 0 && proj.Lat0 != 0) proj.Lat1 = proj.Lat0;
    if (!projcs && proj.Type == PT_UNDEFINED && rec.datum != DATUM_NONE) proj.Type = PT_UNPROJECTED;
    SettleEllipsoids(rec);
    *out = rec;
    return true;
}

void GenWktNodesForProjectionParameters(WktNode& projcs, const PROJDATA& proj) {
    const ProjType type = proj.Type == PT_UTM ? PT_TRANSVERSE_MERCATOR : proj.Type;
    const char* name = "Unknown";
    for (const ProjectionName& row : kProjectionNames) {
        if (row.type == type) {
            name = row.name;
            break;
        }
    }
    AddNamed(projcs, "PROJECTION", name);
    const bool origin = proj.Type == PT_UTM || proj.Type == PT_STATE_PLANE_27 ||
                        proj.Type == PT_STATE_PLANE_83;
    if (origin || ProjUsesParam(proj.Type, 3)) AddParameter(projcs, "False_Easting", proj.xOrg * proj.Scale);
    if (origin || ProjUsesParam(proj.Type, 4)) AddParameter(projcs, "False_Northing", proj.yOrg * proj.Scale);
    const bool azimuthal = proj.Type == PT_LAMBERT_AZIMUTHAL;
    for (const WrittenParameter& row : kWrittenParameters) {
        if (!ProjUsesParam(proj.Type, row.id)) continue;
        const char* label = row.name;
        double value = GetField(proj, row.field);
        if (azimuthal && row.id == 5) value = proj.Lat1;
        if (azimuthal && row.id == 7) label = "Latitude_Of_Origin";
        AddParameter(projcs, label, value);
    }
    if (proj.Scale == 1.0 || proj.Scale == 0.0)
        AddNamed(projcs, "UNIT", "Meter").AddNumber(1.0);
    else if (std::fabs(proj.Scale - kUSFeetPerMetre) <= 0.001)
        AddNamed(projcs, "UNIT", "Foot_US").AddNumber(kMetresPerUSFoot);
    else
        AddNamed(projcs, "UNIT", "Custom").AddNumber(1.0 / proj.Scale);
}

bool GenWktNodesForStatePlaneSystem(WktNode& root, const PROJDATA& proj) {
    CTRACE("GenWktNodesForStatePlaneSystem\n");
    char zoneName[kStateZoneNameLen] = {};
    int usgs = -1;
    const bool known = proj.Zone >= 0 && proj.Zone < STATEZONE_COUNT;
    ProjGetStateZoneInfo(proj.Zone, zoneName, &usgs);
    if (!known || usgs < 0) return false;
    PROJDATA zone = proj;
    ProjGetStateZoneParams(&zone);
    if (zone.Zone == STATEZONE_NONE) return false;
    for (char* p = zoneName; *p; ++p)
        if (*p == ' ') *p = '_';
    const bool nad27 = proj.Type == PT_STATE_PLANE_27;
    WktNode projcs;
    projcs.SetText("PROJCS");
    projcs.AddText(FormatCString(nad27 ? "NAD_1927_StatePlane_%s_FIPS_%04d" : "NAD_1983_StatePlane_%s_FIPS_%04d",
                                 zoneName, usgs));
    projcs.AddChild(StatePlaneGeogcs(nad27));
    GenWktNodesForProjectionParameters(projcs, zone);
    root = std::move(projcs);
    return true;
}

bool GenWktNodesForProjectionAndDatum(WktNode& root, const PROJDATA& proj, bool projGiven,
                                      DatumType datum, const DATUM2WGS84& given, bool paramsGiven) {
    CTRACE("GenWktNodesForProjectionAndDatum\n");
    root.Clear();
    root.SetText("Root");
    if (proj.Type == PT_STATE_PLANE_27 || proj.Type == PT_STATE_PLANE_83) {
        CTRACE("Generating WKT for state plane system.\n");
        return GenWktNodesForStatePlaneSystem(root, proj);
    }
    DATUM2WGS84 params = given;
    if (datum != DATUM_NONE && datum != DATUM_USER_DEFINED) DatGetDatumParams(datum, &params);
    if (projGiven && paramsGiven && proj.Type != PT_UTM && proj.Type != PT_UNPROJECTED &&
        datum != DATUM_NONE && proj.Ellipsoid != params.Ellipsoid) {
        CTRACE("Can't generate WKT because projection and datum ellipsoids differ.\n");
        return true;
    }
    WktNode geogcs = BuildGeogcs(datum, params);
    WktNode projcs;
    projcs.SetText("PROJCS");
    if (proj.Type != PT_UNDEFINED && proj.Type != PT_COUNT && proj.Type != PT_UNPROJECTED) {
        const char south = proj.bSouth ? 'S' : 'N';
        projcs.AddText(proj.Type == PT_UTM
                           ? FormatCString("UTM_Zone_%02d%c", ProjUTMLonToZoneNumber(proj.Lon0), south)
                           : std::string("Custom"));
        if (geogcs.Children.size() > 1) projcs.AddChild(geogcs);
        GenWktNodesForProjectionParameters(projcs, proj);
    }
    if (projcs.Children.size() >= 2)
        root = std::move(projcs);
    else if (geogcs.Children.size() > 1)
        root = std::move(geogcs);
    return true;
}

// ---------------------------------------------------------------- exported functions

bool KVProjEsriPrjFileRead(const char* path, PROJDATA* proj, DatumType* datum,
                           DATUM2WGS84* datumParams, unsigned int* flags) {
    return KV_GUARDED(false, [&] {
        CTRACE("KVProjEsriPrjFileRead(szPath='%s', pProj=%p, peDatum=%p, pDatumParams=%p, pFlags=%p)\n",
               path ? path : "(null)", static_cast<void*>(proj), static_cast<void*>(datum),
               static_cast<void*>(datumParams), static_cast<void*>(flags));
        if (flags) *flags = 0;
        if (proj) {
            std::memset(proj, 0, sizeof *proj);
            proj->Type = PT_UNDEFINED;
        }
        if (datumParams) std::memset(datumParams, 0, sizeof *datumParams);
        if (datum) *datum = DATUM_NONE;
        const std::string built = PrjFileName(path);
        const std::string found = FindIgnoringCase(built);
        const std::string name = found.empty() ? built : found;
        CTRACE("Opening '%s' for reading.\n", name.c_str());
        LineReader reader(kWktMaxLine);
        std::string head;
        if (!OpenPrjForReading(name, reader, head)) return true;
        if (flags) *flags |= GEOPARAM_FILE_FOUND;
        CTRACE("First 6 bytes of PRJ file are '%s'\n", head.c_str());
        const PrjLineSource lines = [&reader](std::string& line) { return reader.Next(line); };
        PrjRecord rec;
        const bool wkt = EqualIgnoringCase(head.c_str(), "PROJCS") || EqualIgnoringCase(head.c_str(), "GEOGCS");
        const bool ok = wkt ? ReadNewPrj(lines, &rec) : ReadOldPrj(lines, &rec);
        if (!ok) return false;
        if (proj && rec.proj.Type != PT_UNDEFINED) *proj = rec.proj;
        if (rec.datum != DATUM_NONE) {
            if (datum) *datum = rec.datum;
            if (datumParams) *datumParams = rec.params;
        }
        if (flags && proj && rec.proj.Type != PT_UNDEFINED) *flags |= GEOPARAM_PROJECTION;
        if (flags && datum && rec.datum != DATUM_NONE) *flags |= GEOPARAM_DATUM;
        return true;
    });
}

bool KVProjEsriPrjFileWrite(const char* path, const PROJDATA* proj, DatumType datum,
                            const DATUM2WGS84* datumParams) {
    return KV_GUARDED(false, [&] {
        CTRACE("KVProjEsriPrjFileWrite(szPath='%s', pProj=%p, veDatum=%d, pDatumParams=%p)\n",
               path ? path : "(null)", static_cast<const void*>(proj), static_cast<int>(datum),
               static_cast<const void*>(datumParams));
        if (!path || !*path) return false;
        PROJDATA p;
        std::memset(&p, 0, sizeof p);
        p.Type = PT_UNDEFINED;
        p.Scale = 1.0;
        p.Ellipsoid = ELLIPSOID_NONE;
        if (proj) p = *proj;
        DATUM2WGS84 params;
        std::memset(&params, 0, sizeof params);
        params.Ellipsoid = ELLIPSOID_NONE;
        if (datumParams) params = *datumParams;
        WktNode root;
        if (!GenWktNodesForProjectionAndDatum(root, p, proj != nullptr, datum, params, datumParams != nullptr)) {
            CTRACE("Failed in GenWktNodesForProjectionAndDatum.\n");
            return true;
        }
        if (root.Children.empty()) {
            CTRACE("No WKT nodes to write.\n");
            return true;
        }
        const std::string built = PrjFileName(path);
        const std::string found = FindIgnoringCase(built);
        const std::string name = found.empty() ? built : found;
        CTRACE("Opening '%s' for writing.\n", name.c_str());
        return WriteFileReplacing(name.c_str(), WriteWkt(root));
    });
}

} // namespace KVProj
