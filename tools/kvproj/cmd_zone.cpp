// "kvproj zone" and the zone listing of "kvproj list".
#include "cmd_zone.h"

#include "Command.h"
#include "Numbers.h"
#include "ProjArgs.h"
#include "Suggest.h"
#include "Text.h"

#include "kvproj/kvproj.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

namespace kvtool {
namespace {

using KVProj::EllipsoidType;
using KVProj::PROJDATA;
using KVProj::ProjDataType;
using KVProj::ProjType;
using KVProj::StateZoneType;

constexpr int kZones = KVProj::STATEZONE_COUNT;
constexpr ProjType kSystems[] = {KVProj::PT_STATE_PLANE_27, KVProj::PT_STATE_PLANE_83};

std::string ZoneName(int zone) {
    char name[KVProj::kStateZoneNameLen];
    KVProj::ProjGetStateZoneInfo(static_cast<StateZoneType>(zone), name, nullptr);
    return name;
}

int ZoneFips(int zone) {
    int code = 0;
    KVProj::ProjGetStateZoneInfo(static_cast<StateZoneType>(zone), nullptr, &code);
    return code;
}

int ZoneEpsg(ProjType system, int zone) {
    int code = 0;
    return KVProj::ProjStateZoneToPOSCNumber(system, static_cast<StateZoneType>(zone), &code) ? code
                                                                                              : 0;
}

const char* SystemTitle(ProjType system) {
    return system == KVProj::PT_STATE_PLANE_27 ? "NAD 27" : "NAD 83";
}

const char* SystemKey(ProjType system) {
    return system == KVProj::PT_STATE_PLANE_27 ? "nad27" : "nad83";
}

const char* ShortProjection(int type) {
    switch (type) {
    case KVProj::PT_TRANSVERSE_MERCATOR:
        return "TM";
    case KVProj::PT_LAMBERT_CONIC:
        return "Lambert";
    case KVProj::PT_POLYCONIC:
        return "Polyconic";
    case KVProj::PT_HOTINE:
        return "Hotine";
    default:
        return "?";
    }
}

std::string ProjectionName(int type) {
    char name[KVPROJ_NAME_LEN] = "";
    KVProj::ProjGetProjectionInfo(static_cast<ProjType>(type), name);
    return name;
}

std::string EllipsoidName(int e) {
    char name[KVPROJ_NAME_LEN] = "";
    if (!KVProj::EllipsoidInfo(static_cast<EllipsoidType>(e), name, nullptr, nullptr))
        return "unknown";
    return name;
}

// A parameter's value as --proj reads it back exactly; "" when unreadable.
std::string ParamText(const PROJDATA& data, int id) {
    ProjDataType type;
    int position = 0, width = 0;
    if (!KVProj::ProjParamInfo(id, nullptr, &type, &position, &width)) return "";
    PROJDATA copy = data;
    unsigned char value[8] = {0};
    if (width < 1 || width > 8 || !KVProj::ProjGetParam(&copy, id, value)) return "";
    if (type == KVProj::PDT_DOUBLE) {
        double v;
        std::memcpy(&v, value, sizeof(v));
        return FormatShortest(v == 0.0 ? 0.0 : v);
    }
    if (type == KVProj::PDT_BOOL) return value[0] ? "true" : "false";
    int32_t v;
    std::memcpy(&v, value, sizeof(v));
    return std::to_string(v);
}

bool IsNonZero(const PROJDATA& data, int id) {
    const std::string text = ParamText(data, id);
    return !text.empty() && text != "0" && text != "false";
}

// Ellipsoid, scale and hemisphere are shown apart or not at all.
bool ShownApart(int id) {
    return id == 1 || id == 2 || id == 14 || id == 15 || id >= 20;
}

// The parameters of the zone: those its projection lists, then any other
// field the zone sets (the oblique zones set their first point's longitude,
// which the Hotine list leaves out but the module reads).
std::vector<int> ZoneParams(const PROJDATA& data, int type) {
    std::vector<int> ids;
    const ProjType t = static_cast<ProjType>(type);
    for (int i = 0; i < KVProj::ProjNumParams(t); ++i) {
        const int id = KVProj::ProjEnumParam(t, i);
        if (!ShownApart(id)) ids.push_back(id);
    }
    for (int id = 3; id <= 19; ++id)
        if (!ShownApart(id) && IsNonZero(data, id) &&
            std::find(ids.begin(), ids.end(), id) == ids.end())
            ids.push_back(id);
    return ids;
}

} // namespace

ExpandedZone ExpandZone(ProjType system, int zone) {
    ExpandedZone z;
    PROJDATA& d = z.data;
    std::memset(&d, 0, sizeof(d));
    d.Type = system;
    d.Zone = static_cast<StateZoneType>(zone);
    d.Scale = 1;
    KVProj::ProjGetStateZoneParams(&d);
    z.defined = zone >= 0 && zone < kZones && static_cast<int>(d.Zone) == zone;
    if (!z.defined) return z;
    z.epsg = ZoneEpsg(system, zone);
    z.type = d.Type == KVProj::PT_UTM ? KVProj::PT_TRANSVERSE_MERCATOR : d.Type;
    z.params = ZoneParams(d, z.type);
    PROJDATA typed = EmptyProjRecord();
    std::string error;
    if (!ApplyProjParams(ZoneProjWords(z), &typed, &error))
        z.refused = error;
    else
        z.refused = CheckRecord(typed).message;
    return z;
}

std::string ZoneProjWords(const ExpandedZone& zone) {
    if (!zone.defined) return "";
    std::string words = "Type=" + std::to_string(zone.type) +
                        " Ellipsoid=" + std::to_string(zone.data.Ellipsoid);
    for (int id : zone.params)
        words += " " + ParamFieldName(id) + "=" + ParamText(zone.data, id);
    return words;
}

namespace {

// ------------------------------------------------------------ list zones

Json SystemSummary(const ExpandedZone& z) {
    if (!z.defined) return nullptr;
    Json s = Json::Object();
    s.Set("epsg", z.epsg ? Json(z.epsg) : Json(nullptr))
        .Set("type", z.type)
        .Set("projection", ProjectionName(z.type));
    return s;
}

std::string CodeText(int code) {
    return code ? std::to_string(code) : "-";
}

void PrintZoneRow(int zone, const ExpandedZone (&z)[2], int only) {
    const std::string name = ZoneName(zone);
    if (only < 0) {
        std::printf("%4d  %4d  %5s  %-10s  %5s  %-10s  %s\n", zone, ZoneFips(zone),
                    CodeText(z[0].epsg).c_str(), z[0].defined ? ShortProjection(z[0].type) : "-",
                    CodeText(z[1].epsg).c_str(), z[1].defined ? ShortProjection(z[1].type) : "-",
                    name.c_str());
        return;
    }
    std::printf("%4d  %4d  %5s  %-10s  %s\n", zone, ZoneFips(zone), CodeText(z[only].epsg).c_str(),
                ShortProjection(z[only].type), name.c_str());
}

} // namespace

int ListZones(int system, const std::string& search, bool json) {
    const int only = system == 27 ? 0 : system == 83 ? 1 : -1;
    Json rows = Json::Array();
    int found = 0;
    if (!json && only < 0)
        std::printf("%4s  %4s  %5s  %-10s  %5s  %-10s  %s\n", "zone", "FIPS", "NAD27", "projection",
                    "NAD83", "projection", "name");
    else if (!json)
        std::printf("%4s  %4s  %5s  %-10s  %s\n", "zone", "FIPS", "EPSG", "projection", "name");
    for (int zone = 0; zone < kZones; ++zone) {
        const std::string name = ZoneName(zone);
        if (!ContainsIgnoringCase(name, search)) continue;
        const ExpandedZone z[2] = {ExpandZone(kSystems[0], zone), ExpandZone(kSystems[1], zone)};
        if (only >= 0 && !z[only].defined) continue;
        ++found;
        if (!json) {
            PrintZoneRow(zone, z, only);
            continue;
        }
        Json row = Json::Object();
        const int fips = ZoneFips(zone);
        row.Set("zone", zone).Set("fips", fips ? Json(fips) : Json()).Set("name", name);
        for (int s = 0; s < 2; ++s)
            if (only < 0 || only == s) row.Set(SystemKey(kSystems[s]), SystemSummary(z[s]));
        rows.Add(std::move(row));
    }
    if (json) std::fputs(rows.Dump().c_str(), stdout);
    return found || search.empty() ? EXIT_OK : NothingFound(search);
}

namespace {

// ------------------------------------------------------------ zone

struct Options {
    std::vector<std::string> words;
    std::string value;
    bool json = false;
    CLI::Option* valueOpt = nullptr;
};

std::vector<std::string> ZoneNames() {
    std::vector<std::string> names;
    for (int zone = 0; zone < kZones; ++zone)
        names.push_back(ZoneName(zone));
    return names;
}

// Resolves a zone given by name, FIPS code, EPSG code or, with --value, its number.
bool FindZone(const Options& o, int* zone, std::string* error) {
    if (o.valueOpt->count()) {
        if (!o.words.empty() || !ParseInteger(o.value, 0, kZones - 1, zone))
            return (*error = "--value takes a zone number 0.." + std::to_string(kZones - 1)), false;
        return true;
    }
    if (o.words.empty()) return (*error = "give a zone name, FIPS code or EPSG code"), false;
    const std::string text = Join(o.words);
    StateZoneType found = KVProj::STATEZONE_NONE;
    int n = 0;
    if (ParseInteger(text, INT32_MIN, INT32_MAX, &n)) {
        // FIPS zone codes stay below 10000; EPSG projected CRS codes are above.
        ProjType type;
        if (n >= 10000 && KVProj::ProjGetStateZoneFromPOSCNumber(n, &type, &found))
            return (*zone = found), true;
        if (n >= 10000) return (*error = "no state plane zone has EPSG code " + text), false;
        if (n > 0 && KVProj::ProjGetStateZoneFromUSGSCode(&found, n)) return (*zone = found), true;
        return (*error = "no state plane zone has FIPS code " + text), false;
    }
    std::vector<char> name(text.begin(), text.end());
    name.push_back('\0');
    if (text.find('\0') == std::string::npos &&
        KVProj::ProjGetStateZoneFromName(&found, name.data()))
        return (*zone = found), true;
    *error = "unknown zone '" + Shown(text) + "'" + DidYouMean(text, ZoneNames()) +
             " (see kvproj list zones)";
    return false;
}

void PrintSystem(ProjType system, const ExpandedZone& z) {
    if (!z.defined) {
        std::printf("  %s: not defined\n", SystemTitle(system));
        return;
    }
    std::printf("  %s: %s\n", SystemTitle(system),
                z.epsg ? ("EPSG " + std::to_string(z.epsg)).c_str() : "no EPSG code");
    std::printf("    %-28s %s (%d)\n", "Projection:", ProjectionName(z.type).c_str(), z.type);
    std::printf("    %-28s %s (%d)\n", "Ellipsoid:", EllipsoidName(z.data.Ellipsoid).c_str(),
                static_cast<int>(z.data.Ellipsoid));
    for (int id : z.params)
        std::printf("    %-28s %s\n", (ParamLabel(id) + ":").c_str(),
                    ParamText(z.data, id).c_str());
    if (z.refused.empty()) {
        std::printf("    --proj '%s'\n", ZoneProjWords(z).c_str());
        return;
    }
    std::printf("    No --proj form: typed in, these parameters are refused:\n"
                "      %s\n    Use --zone %s:%d\n",
                z.refused.c_str(), system == KVProj::PT_STATE_PLANE_27 ? "spcs27" : "spcs83",
                ZoneFips(static_cast<int>(z.data.Zone)));
}

Json SystemJson(const ExpandedZone& z) {
    if (!z.defined) return nullptr;
    Json s = SystemSummary(z);
    s.Set("ellipsoid", static_cast<int>(z.data.Ellipsoid))
        .Set("ellipsoid_name", EllipsoidName(z.data.Ellipsoid));
    Json params = Json::Object();
    for (int id : z.params) {
        const std::string text = ParamText(z.data, id);
        double v = 0;
        if (text == "true" || text == "false")
            params.Set(ParamFieldName(id), text == "true");
        else if (ParseNumber(text, &v))
            params.Set(ParamFieldName(id), v);
    }
    s.Set("parameters", std::move(params));
    s.Set("proj", z.refused.empty() ? Json(ZoneProjWords(z)) : Json());
    if (!z.refused.empty()) s.Set("proj_refused", z.refused);
    return s;
}

int Run(const Options& o) {
    int zone = 0;
    std::string error;
    if (!FindZone(o, &zone, &error)) return UsageError("zone: " + error);
    const ExpandedZone z[2] = {ExpandZone(kSystems[0], zone), ExpandZone(kSystems[1], zone)};
    const int fips = ZoneFips(zone);
    if (o.json) {
        Json out = Json::Object();
        out.Set("zone", zone).Set("name", ZoneName(zone)).Set("fips", fips ? Json(fips) : Json());
        for (int s = 0; s < 2; ++s)
            out.Set(SystemKey(kSystems[s]), SystemJson(z[s]));
        std::fputs(out.Dump().c_str(), stdout);
        return EXIT_OK;
    }
    std::printf("Zone %d: %s\n", zone, ZoneName(zone).c_str());
    std::printf("  FIPS: %s\n", fips ? std::to_string(fips).c_str() : "none");
    for (int s = 0; s < 2; ++s)
        PrintSystem(kSystems[s], z[s]);
    if ((z[0].defined && z[0].data.Type == KVProj::PT_UTM) ||
        (z[1].defined && z[1].data.Type == KVProj::PT_UTM))
        std::printf("The library keeps a transverse Mercator zone as type 4 (UTM's formulas)\n"
                    "with the zone's own origin; as --proj it is type 17, which converts the\n"
                    "same: a type 4 record has its false origin reset to UTM's.\n");
    return EXIT_OK;
}

Runner SetUp(CLI::App& app) {
    auto o = std::make_shared<Options>();
    app.add_option("zone", o->words, "a zone name, FIPS code or EPSG code");
    o->valueOpt = app.add_option("--value", o->value, "the zone by its number N instead");
    app.add_flag("--json", o->json, "the zone as JSON");
    return [o] { return Run(*o); };
}

const KVCommand command({"zone", "zone <name|fips|epsg> | --value N [--json]",
                         "a state plane zone's codes and parameters on NAD 27 and 83",
                         "  kvproj zone 'Michigan Central'\n"
                         "  kvproj zone 26929 --json\n"},
                        SetUp);

} // namespace
} // namespace kvtool
