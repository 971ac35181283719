// Projection records from command-line words.
#include "ProjArgs.h"

#include "DatumArgs.h"
#include "Suggest.h"

#include "Numbers.h"
#include "Text.h"

#include "kvproj/kvproj.h"

#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <algorithm>
#include <cstring>
#include <vector>
#include <cmath>

namespace kvtool {
namespace {

using KVProj::PROJDATA;

// PROJDATA field names in parameter-id order (id 1 is Type).
const char* const kFieldNames[] = {
    "Type",  "Scale",   "xOrg",     "yOrg",      "Lat0",        "Lon0",       "Lat1", "Lat2",
    "Lat3",  "Lon1",    "Lon2",     "Lon3",      "K0",          "bSouth",     "Zone", "bUseAlpha",
    "Alpha", "bRotate", "bUOffset", "Ellipsoid", "MajorRadius", "Flattening",
};
constexpr int kParamCount = static_cast<int>(sizeof(kFieldNames) / sizeof(kFieldNames[0]));

struct Alias {
    const char* key;
    int id;
};
const Alias kAliases[] = {
    {"proj", 1},         {"projection", 1}, {"x0", 3},      {"fe", 3},
    {"falseeasting", 3}, {"y0", 4},         {"fn", 4},      {"k", 13},
    {"south", 14},       {"usealpha", 16},  {"rotate", 18}, {"uoffset", 19},
    {"ellps", 20},       {"a", 21},         {"radius", 21}, {"f", 22},
};

const Alias kTypeAliases[] = {
    {"latlong", 0}, {"longlat", 0}, {"geographic", 0}, {"unprojected", 0},
    {"merc", 1},    {"aea", 2},     {"albers", 2},     {"mill", 3},
    {"miller", 3},  {"utm", 4},     {"lcc", 5},        {"lambert", 5},
    {"stere", 6},   {"ortho", 7},   {"moll", 8},       {"spcs27", 9},
    {"spcs83", 10}, {"poly", 11},   {"eqc", 13},       {"robin", 14},
    {"tmerc", 17},  {"tm", 17},     {"gk", 18},        {"sinu", 19},
    {"laea", 20},   {"bonne", 21},  {"eck4", 23},      {"eck6", 24},
    {"eqdc", 26},   {"gnom", 27},   {"aeqd", 28},      {"undefined", KVProj::PT_UNDEFINED},
};

int ParamIdOf(const std::string& key) {
    const std::string k = Folded(key);
    if (k.empty()) return 0;
    for (int id = 1; id <= kParamCount; ++id) {
        char label[KVPROJ_NAME_LEN] = "";
        KVProj::ProjParamInfo(id, label, nullptr, nullptr, nullptr);
        if (k == Folded(kFieldNames[id - 1]) || k == Folded(label)) return id;
    }
    for (const Alias& a : kAliases)
        if (k == a.key) return a.id;
    return 0;
}

bool ParseInt(const std::string& text, long long* value) {
    return ParseInteger(text, INT32_MIN, INT32_MAX, value);
}

bool IsAngle(int id) {
    return (id >= 5 && id <= 12) || id == 17;
}

bool ParseDouble(int id, const std::string& text, double* value) {
    // "nan" and "inf" are read so that the check can name the parameter.
    if (ParseNumber(text, value)) return true;
    return IsAngle(id) && ParseAngle(text, value);
}

bool ParseBool(const std::string& text, bool* value) {
    const std::string t = Folded(text);
    for (const char* yes : {"1", "true", "yes", "on"})
        if (t == yes) return *value = true;
    for (const char* no : {"0", "false", "no", "off"})
        if (t == no) return !(*value = false);
    return false;
}

bool ParseType(const std::string& text, int32_t* value) {
    const std::string t = Folded(text);
    for (const Alias& a : kTypeAliases)
        if (t == a.key) return (*value = a.id), true;
    for (int type = 0; type < KVProj::PT_COUNT; ++type) {
        char name[KVPROJ_NAME_LEN] = "";
        KVProj::ProjGetProjectionInfo(static_cast<KVProj::ProjType>(type), name);
        if (t == Folded(name)) return (*value = type), true;
    }
    return false;
}

bool ParseEllipsoid(const std::string& text, int32_t* value) {
    int e = 0;
    if (!EllipsoidByName(text, &e)) return false;
    *value = e;
    return true;
}

bool ParseZone(const std::string& text, int32_t* value) {
    std::vector<char> name(text.begin(), text.end());
    name.push_back('\0');
    KVProj::StateZoneType zone;
    if (!KVProj::ProjGetStateZoneFromName(&zone, name.data())) return false;
    *value = zone;
    return true;
}

bool ParseEnum(int id, const std::string& text, int32_t* value) {
    long long n = 0;
    if (ParseInt(text, &n)) {
        *value = static_cast<int32_t>(n);
        return true;
    }
    if (id == 1) return ParseType(text, value);
    if (id == 15) return ParseZone(text, value);
    if (id == 20) return ParseEllipsoid(text, value);
    return false;
}

// Words separated by blanks; double quotes group blanks and are dropped.
std::vector<std::string> Words(const std::string& text, bool* balanced) {
    std::vector<std::string> words;
    std::string cur;
    bool quoted = false, any = false;
    for (char c : text) {
        if (c == '"') {
            quoted = !quoted;
            any = true;
        } else if (!quoted && (c == ' ' || c == '\t' || c == '\n' || c == '\r')) {
            if (any) words.push_back(cur);
            cur.clear();
            any = false;
        } else {
            cur += c;
            any = true;
        }
    }
    if (any) words.push_back(cur);
    *balanced = !quoted;
    return words;
}

} // namespace

std::string ParamLabel(int id) {
    char label[KVPROJ_NAME_LEN] = "";
    return KVProj::ProjParamInfo(id, label, nullptr, nullptr, nullptr) ? label : "?";
}

namespace {

// A parameter the record's projection uses (the false origin always) that
// holds NaN or an infinity; 0 when there is none. The library's checks let
// such values through and the pipeline then returns unmarked non-finite
// numbers, so the tool refuses them.
int NonFiniteParameter(const PROJDATA& data) {
    const KVProj::ProjType type = data.Type;
    std::vector<int> ids = {2, 3, 4};
    for (int i = 0; i < KVProj::ProjNumParams(type); ++i)
        ids.push_back(KVProj::ProjEnumParam(type, i));
    for (int id : ids) {
        KVProj::ProjDataType dataType;
        if (!KVProj::ProjParamInfo(id, nullptr, &dataType, nullptr, nullptr) ||
            dataType != KVProj::PDT_DOUBLE)
            continue;
        PROJDATA copy = data;
        double v = 0.0;
        if (KVProj::ProjGetParam(&copy, id, &v) && !std::isfinite(v)) return id;
    }
    return 0;
}

// Magnitudes the tool accepts where the library accepts any finite value but
// the pipeline then overflows without marking the point: a subnormal radius
// makes the inverse mark one member of a point only, and the forward result
// (module value + false origin) * Scale is multiplied after the finite check.
// A module's finite output stays below about 1e17 radii (the reciprocal of
// the cosine of the double nearest a right angle), so with a radius up to
// 1e9 m (beyond the Sun's 7e8 m), a false origin up to 1e20 and a Scale up
// to 1e9 every forward value stays below 1e36, far from overflow. Scale 0
// is kept: the library reads it as 1.
struct MagnitudeRule {
    int id;
    double least, most;
    const char* text;
};
constexpr MagnitudeRule kMagnitudeRules[] = {
    {KVProj::PP_SCALE, 1e-9, 1e9, "must be 0 (none) or lie between 1e-9 and 1e9 in magnitude"},
    {KVProj::PP_XORG, 0.0, 1e20, "must not exceed 1e20 in magnitude"},
    {KVProj::PP_YORG, 0.0, 1e20, "must not exceed 1e20 in magnitude"},
    {KVProj::PP_MAJOR_RADIUS, 1.0, 1e9, "must lie between 1 m and 1e9 m"},
};

bool TakesParameter(const PROJDATA& data, int id) {
    for (int i = 0; i < KVProj::ProjNumParams(data.Type); ++i)
        if (KVProj::ProjEnumParam(data.Type, i) == id) return true;
    return false;
}

// The first rule that a finite value of the record breaks, or null. Only the
// parameters the record's projection takes are looked at (UTM sets its own
// false origin; an unknown type converts nothing).
const MagnitudeRule* BrokenMagnitudeRule(const PROJDATA& data) {
    const bool userFigure = data.Ellipsoid == KVProj::ELLIPSOID_USER_DEFINED &&
                            data.Type != KVProj::PT_STATE_PLANE_27 &&
                            data.Type != KVProj::PT_STATE_PLANE_83;
    for (const MagnitudeRule& rule : kMagnitudeRules) {
        // The radius is read with the ellipsoid, when that is user-defined.
        const bool radius = rule.id == KVProj::PP_MAJOR_RADIUS;
        if (!TakesParameter(data, radius ? KVProj::PP_ELLIPSOID : rule.id)) continue;
        if (radius && !userFigure) continue;
        PROJDATA copy = data;
        double v = 0.0;
        if (!KVProj::ProjGetParam(&copy, rule.id, &v)) continue;
        const double m = std::fabs(v);
        const bool none = rule.id == KVProj::PP_SCALE && v == 0.0;
        if (!none && (m < rule.least || m > rule.most)) return &rule;
    }
    return nullptr;
}

// True when the projection converts at least one point of a coarse lon/lat
// net: Lambert with parallels 30 and -30 passes the library's checks but has
// no cone to project onto.
bool ConvertsSomething(const PROJDATA& data) {
    PROJDATA copy = data;
    void* h = KVProj::ProjCreateProjection(&copy);
    if (!h) return false;
    std::vector<KVProj::PROJPOINT> net;
    for (int lat = -80; lat <= 80; lat += 10)
        for (int lon = -175; lon <= 175; lon += 10)
            net.push_back({data.Lon0 + lon, static_cast<double>(lat)});
    net.push_back({data.Lon0, data.Lat0});
    // Point by point: a module may fail a whole block for one point it cannot take.
    bool any = false;
    for (KVProj::PROJPOINT& p : net)
        any = any || (KVProj::ProjForward(h, &p, 1) && p.x != KVPROJ_UNPLOTTABLE &&
                      p.y != KVPROJ_UNPLOTTABLE && std::isfinite(p.x) && std::isfinite(p.y));
    KVProj::ProjDeleteProjection(h);
    return any;
}

} // namespace

RecordVerdict CheckRecord(const PROJDATA& data) {
    RecordVerdict verdict;
    PROJDATA copy = data;
    char message[KVProj::kProjCheckMessageLen] = "";
    verdict.parameter = KVProj::ProjCheckParams(&copy, message, false);
    if (verdict.parameter != 0) {
        verdict.message = message;
        return verdict;
    }
    if ((verdict.parameter = NonFiniteParameter(data)) != 0) {
        verdict.message = ParamLabel(verdict.parameter) + " is not a finite number";
        return verdict;
    }
    if (const MagnitudeRule* rule = BrokenMagnitudeRule(data)) {
        verdict.parameter = rule->id;
        verdict.message = ParamLabel(rule->id) + " " + rule->text;
        return verdict;
    }
    // Zones come from the library's tables; the probe is for records typed in.
    const bool table = data.Type == KVProj::PT_UNDEFINED ||
                       data.Type == KVProj::PT_STATE_PLANE_27 ||
                       data.Type == KVProj::PT_STATE_PLANE_83;
    if (!table && !ConvertsSomething(data)) {
        verdict.parameter = 1;
        verdict.message = "the parameters leave no point that can be converted";
    }
    return verdict;
}

PROJDATA EmptyProjRecord() {
    PROJDATA d;
    std::memset(&d, 0, sizeof(d));
    d.Scale = 1.0;
    d.Ellipsoid = KVProj::ELLIPSOID_WGS84;
    d.Zone = KVProj::STATEZONE_NONE;
    return d;
}

bool ApplyProjParam(const std::string& key, const std::string& value, PROJDATA* data,
                    std::string* error) {
    const std::string text = Trim(value);
    if (Folded(key) == "rf") { // inverse flattening, for convenience
        double rf = 0;
        if (!ParseNumber(text, &rf) || rf < 0) {
            *error = "bad value '" + text + "' for rf";
            return false;
        }
        data->Flattening = rf == 0.0 ? 0.0 : 1.0 / rf;
        return true;
    }
    const int id = ParamIdOf(key);
    KVProj::ProjDataType type;
    int width = 0;
    if (id == 0 || !KVProj::ProjParamInfo(id, nullptr, &type, nullptr, &width)) {
        *error = "unknown parameter '" + key + "'";
        return false;
    }
    bool ok = false;
    if (type == KVProj::PDT_DOUBLE) {
        double v = 0;
        ok = ParseDouble(id, text, &v) && KVProj::ProjSetParam(data, id, &v);
    } else if (type == KVProj::PDT_BOOL) {
        bool v = false;
        ok = ParseBool(text, &v) && KVProj::ProjSetParam(data, id, &v);
    } else {
        int32_t v = 0;
        ok = width == 4 && ParseEnum(id, text, &v) && KVProj::ProjSetParam(data, id, &v);
    }
    if (!ok) {
        char label[KVPROJ_NAME_LEN] = "";
        KVProj::ProjParamInfo(id, label, nullptr, nullptr, nullptr);
        *error = "bad value '" + text + "' for " + label;
        if (id == 20) *error += EllipsoidSuggestion(text);
    }
    return ok;
}

bool ApplyProjParams(const std::string& text, PROJDATA* data, std::string* error) {
    bool balanced = true;
    const std::vector<std::string> words = Words(text, &balanced);
    if (!balanced) {
        *error = "unbalanced quotes in '" + text + "'";
        return false;
    }
    for (const std::string& w : words) {
        const size_t eq = w.find('=');
        if (!w.empty() && w[0] == '+') {
            *error = "'" + w + "': strings of +key=value words are not read; write key=value " +
                     "words such as type=utm lon0=15 (kvproj list params TYPE names them)";
            return false;
        }
        if (eq == std::string::npos || eq == 0) {
            *error = "expected key=value, got '" + w + "'";
            return false;
        }
        if (!ApplyProjParam(w.substr(0, eq), w.substr(eq + 1), data, error)) return false;
    }
    return true;
}

namespace {

// The parameters the record's projection reads: its own list, the type, and
// the axis and flattening wherever the ellipsoid is one of them.
std::vector<int> UsedParams(const PROJDATA& data) {
    std::vector<int> ids = {1};
    for (int i = 0; i < KVProj::ProjNumParams(data.Type); ++i) {
        const int id = KVProj::ProjEnumParam(data.Type, i);
        ids.push_back(id);
        if (id == 20) ids.insert(ids.end(), {21, 22});
    }
    return ids;
}

} // namespace

std::string ParamFieldName(int id) {
    return id >= 1 && id <= kParamCount ? kFieldNames[id - 1] : "";
}

bool UsesEveryKey(const std::string& text, const PROJDATA& data, std::string* error) {
    bool balanced = true;
    const std::vector<int> used = UsedParams(data);
    for (const std::string& w : Words(text, &balanced)) {
        const std::string key = w.substr(0, w.find('='));
        const int id = Folded(key) == "rf" ? 22 : ParamIdOf(key);
        if (std::find(used.begin(), used.end(), id) != used.end()) continue;
        std::vector<std::string> labels;
        for (size_t i = 1; i < used.size(); ++i)
            labels.push_back(ParamLabel(used[i]));
        char name[KVPROJ_NAME_LEN] = "";
        KVProj::ProjGetProjectionInfo(data.Type, name);
        *error = "'" + key + "' is not a parameter of " + name + "; it takes " +
                 (labels.empty() ? std::string("none") : Join(labels, ", "));
        return false;
    }
    return true;
}

bool ZoneRecord(const std::string& text, PROJDATA* data, std::string* error) {
    const size_t colon = text.find(':');
    const std::string system = Folded(text.substr(0, colon == std::string::npos ? 0 : colon));
    std::string zone = colon == std::string::npos ? "" : Trim(text.substr(colon + 1));
    if (zone.size() >= 2 && zone.front() == '"' && zone.back() == '"')
        zone = zone.substr(1, zone.size() - 2);
    *data = EmptyProjRecord();
    long long n = 0;
    if (system == "epsg") {
        KVProj::ProjType type;
        KVProj::StateZoneType z;
        if (!ParseInt(zone, &n) ||
            !KVProj::ProjGetStateZoneFromPOSCNumber(static_cast<int>(n), &type, &z)) {
            *error = "no state plane zone has EPSG code '" + zone + "'";
            return false;
        }
        data->Type = type;
        data->Zone = z;
    } else if (system == "spcs27" || system == "spcs83") {
        data->Type = system == "spcs27" ? KVProj::PT_STATE_PLANE_27 : KVProj::PT_STATE_PLANE_83;
        KVProj::StateZoneType z;
        std::vector<char> name(zone.begin(), zone.end());
        name.push_back('\0');
        const bool found = ParseInt(zone, &n)
                               ? KVProj::ProjGetStateZoneFromUSGSCode(&z, static_cast<int>(n))
                               : KVProj::ProjGetStateZoneFromName(&z, name.data());
        if (!found || zone.empty()) {
            *error = "unknown state plane zone '" + zone + "'";
            return false;
        }
        data->Zone = z;
    } else {
        *error = "zone '" + text + "' must start with spcs27:, spcs83: or epsg:";
        return false;
    }
    // The zone brings its own figure; name it in the record as well.
    data->Ellipsoid = data->Type == KVProj::PT_STATE_PLANE_27 ? KVProj::ELLIPSOID_CLARKE_1866
                                                              : KVProj::ELLIPSOID_GRS80;
    return true;
}

bool UtmRecord(const std::string& text, PROJDATA* data, std::string* error) {
    size_t i = 0;
    int zone = 0;
    while (i < text.size() && text[i] >= '0' && text[i] <= '9' && zone <= 60)
        zone = zone * 10 + (text[i++] - '0');
    bool south = false;
    if (i < text.size() && (text[i] == 'S' || text[i] == 's'))
        south = true, ++i;
    else if (i < text.size() && (text[i] == 'N' || text[i] == 'n'))
        ++i;
    if (i == 0 || i != text.size() || zone < 1 || zone > 60) {
        *error = "UTM zone '" + text + "' must be 1 to 60 with an optional N or S";
        return false;
    }
    *data = EmptyProjRecord();
    data->Type = KVProj::PT_UTM;
    data->Lon0 = KVProj::ProjUTMZoneNumberToLon(zone);
    data->bSouth = south;
    return true;
}

void AddProjectionOptions(CLI::App& app, const std::vector<std::string>& prefixes, const char* side,
                          ProjOptions* o) {
    auto names = [&](const char* kind) {
        std::string list;
        for (const std::string& prefix : prefixes)
            list += (list.empty() ? "--" : ",--") + prefix + kind;
        return list;
    };
    const std::string of = side[0] ? std::string(" of the ") + side + " projection" : "";
    app.add_option(names("proj"), o->proj, "key=value words" + of)
        ->allow_extra_args(false)
        ->type_name("WORDS");
    o->zoneOpt = app.add_option(names("zone"), o->zone, "state plane zone" + of)->type_name("ZONE");
    o->utmOpt =
        app.add_option(names("utm"), o->utm, "UTM zone" + of + " (33N, 33S)")->type_name("ZONE");
}

bool RequestFrom(const ProjOptions& o, ProjRequest* request, std::string* error) {
    *request = ProjRequest();
    if (o.zoneOpt->count() && o.utmOpt->count()) {
        *error = "give only one zone or UTM option for a projection (" + o.utmOpt->get_name() + ")";
        return false;
    }
    request->params = Join(o.proj);
    if (o.zoneOpt->count()) request->baseKind = "zone", request->base = o.zone;
    if (o.utmOpt->count()) request->baseKind = "utm", request->base = o.utm;
    request->given = !o.proj.empty() || !request->baseKind.empty();
    return true;
}

bool BuildProjection(const ProjRequest& request, const ProjFigure* figure, PROJDATA* data,
                     std::string* error) {
    *data = EmptyProjRecord();
    if (request.baseKind == "zone" && !ZoneRecord(request.base, data, error)) return false;
    if (request.baseKind == "utm" && !UtmRecord(request.base, data, error)) return false;
    const bool statePlane =
        data->Type == KVProj::PT_STATE_PLANE_27 || data->Type == KVProj::PT_STATE_PLANE_83;
    if (figure && figure->set && !statePlane) {
        data->Ellipsoid = static_cast<KVProj::EllipsoidType>(figure->ellipsoid);
        data->MajorRadius = figure->majorRadius;
        data->Flattening = figure->flattening;
    }
    return ApplyProjParams(request.params, data, error) &&
           UsesEveryKey(request.params, *data, error);
}

void AddCrsOptions(CLI::App& app, bool twoSides, CrsArgs* o) {
    const char* forms = " (EPSG:n, utm:33N, a file, ...)";
    if (twoSides) {
        app.add_option("--src", o->src, std::string("system of the input") + forms)
            ->type_name("CRS");
        app.add_option("--dst", o->dst, std::string("system of the output") + forms)
            ->type_name("CRS");
    } else {
        app.add_option("--crs", o->crs, std::string("coordinate system") + forms)->type_name("CRS");
    }
}

} // namespace kvtool
