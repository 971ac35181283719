// "kvproj zone" and the zone listing of "kvproj list".
#include "cmd_zone.h"

#include "Command.h"
#include "Numbers.h"
#include "ProjArgs.h"
#include "Suggest.h"
#include "Text.h"

#include "kvproj/kvproj.h"

#include <cerrno>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iostream>
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

// The zone expanded on one system; false when the system does not define it.
bool ExpandZone(ProjType system, int zone, PROJDATA* data) {
    std::memset(data, 0, sizeof(*data));
    data->Type = system;
    data->Zone = static_cast<StateZoneType>(zone);
    data->Scale = 1;
    KVProj::ProjGetStateZoneParams(data);
    return static_cast<int>(data->Zone) == zone;
}

const char* ShortProjection(int type) {
    switch (type) {
    case KVProj::PT_UTM:
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

std::string CodeText(int code) {
    return code ? std::to_string(code) : "-";
}

std::string ProjectionName(int type) {
    if (type == KVProj::PT_UTM) return "Transverse Mercator";
    char name[KVPROJ_NAME_LEN];
    KVProj::ProjGetProjectionInfo(static_cast<ProjType>(type), name);
    return name;
}

std::string EllipsoidName(int e) {
    char name[KVPROJ_NAME_LEN] = "";
    if (!KVProj::EllipsoidInfo(static_cast<EllipsoidType>(e), name, nullptr, nullptr))
        return "unknown";
    return name;
}

// ------------------------------------------------------------ list zones

int ListZoneRows(int systemFilter) {
    const ProjType systems[] = {KVProj::PT_STATE_PLANE_27, KVProj::PT_STATE_PLANE_83};
    if (systemFilter == 0)
        std::printf("%4s  %4s  %5s  %-10s  %5s  %-10s  %s\n", "zone", "FIPS", "NAD27", "projection",
                    "NAD83", "projection", "name");
    else
        std::printf("%4s  %4s  %5s  %-10s  %s\n", "zone", "FIPS", "EPSG", "projection", "name");
    for (int zone = 0; zone < kZones; ++zone) {
        bool defined[2];
        int types[2];
        for (int s = 0; s < 2; ++s) {
            PROJDATA d;
            defined[s] = ExpandZone(systems[s], zone, &d);
            types[s] = d.Type;
        }
        if (systemFilter == 0) {
            std::printf("%4d  %4d  %5s  %-10s  %5s  %-10s  %s\n", zone, ZoneFips(zone),
                        CodeText(ZoneEpsg(systems[0], zone)).c_str(),
                        defined[0] ? ShortProjection(types[0]) : "-",
                        CodeText(ZoneEpsg(systems[1], zone)).c_str(),
                        defined[1] ? ShortProjection(types[1]) : "-", ZoneName(zone).c_str());
        } else {
            const int s = systemFilter == 27 ? 0 : 1;
            if (!defined[s]) continue;
            std::printf("%4d  %4d  %5s  %-10s  %s\n", zone, ZoneFips(zone),
                        CodeText(ZoneEpsg(systems[s], zone)).c_str(), ShortProjection(types[s]),
                        ZoneName(zone).c_str());
        }
    }
    return EXIT_OK;
}

// ------------------------------------------------------------ zone

struct Options {
    std::vector<std::string> words;
    std::string value;
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

void PrintParam(const PROJDATA& data, int id) {
    ProjDataType type;
    int position = 0, width = 0;
    char label[KVPROJ_NAME_LEN];
    if (!KVProj::ProjParamInfo(id, label, &type, &position, &width)) return;
    PROJDATA copy = data;
    unsigned char value[8] = {0};
    if (width < 1 || width > 8 || !KVProj::ProjGetParam(&copy, id, value)) return;
    std::string text;
    if (type == KVProj::PDT_DOUBLE) {
        double v;
        std::memcpy(&v, value, sizeof(v));
        text = FormatShortest(v);
    } else if (type == KVProj::PDT_BOOL) {
        text = value[0] ? "true" : "false";
    } else {
        int32_t v;
        std::memcpy(&v, value, sizeof(v));
        text = std::to_string(v);
    }
    std::printf("    %-28s %s\n", (std::string(label) + ":").c_str(), text.c_str());
}

void PrintSystem(ProjType system, int zone) {
    const char* title = system == KVProj::PT_STATE_PLANE_27 ? "NAD 27" : "NAD 83";
    PROJDATA d;
    if (!ExpandZone(system, zone, &d)) {
        std::printf("  %s: not defined\n", title);
        return;
    }
    const int epsg = ZoneEpsg(system, zone);
    std::printf("  %s: %s\n", title,
                epsg ? ("EPSG " + std::to_string(epsg)).c_str() : "no EPSG code");
    std::printf("    %-28s %s (%d)\n", "Projection:", ProjectionName(d.Type).c_str(),
                static_cast<int>(d.Type));
    std::printf("    %-28s %s (%d)\n", "Ellipsoid:", EllipsoidName(d.Ellipsoid).c_str(),
                static_cast<int>(d.Ellipsoid));
    // The parameters of the zone's projection, in the order a host shows them;
    // the false origin too, which the UTM-type list leaves out.
    bool origin[2] = {false, false};
    const int count = KVProj::ProjNumParams(d.Type);
    for (int i = 0; i < count; ++i) {
        const int id = KVProj::ProjEnumParam(d.Type, i);
        if (id == 20 || id == 2 || id == 14) continue; // ellipsoid, scale, hemisphere
        if (id == 3 || id == 4) origin[id - 3] = true;
        PrintParam(d, id);
    }
    for (int id = 3; id <= 4; ++id)
        if (!origin[id - 3]) PrintParam(d, id);
}

int Run(const Options& o) {
    int zone = 0;
    std::string error;
    if (!FindZone(o, &zone, &error)) return UsageError("zone: " + error);
    std::printf("Zone %d: %s\n", zone, ZoneName(zone).c_str());
    const int fips = ZoneFips(zone);
    std::printf("  FIPS: %s\n", fips ? std::to_string(fips).c_str() : "none");
    PrintSystem(KVProj::PT_STATE_PLANE_27, zone);
    PrintSystem(KVProj::PT_STATE_PLANE_83, zone);
    return EXIT_OK;
}

Runner SetUp(CLI::App& app) {
    auto o = std::make_shared<Options>();
    app.add_option("zone", o->words, "a zone name, FIPS code or EPSG code");
    o->valueOpt = app.add_option("--value", o->value, "the zone by its number N instead");
    return [o] { return Run(*o); };
}

const KVCommand command({"zone", "zone <name|fips|epsg> | --value N",
                         "a state plane zone's codes and parameters on NAD 27 and 83",
                         "  kvproj zone 'Michigan Central'\n"
                         "  kvproj zone 26929\n"},
                        SetUp);

} // namespace

int ListZones(int system) {
    return ListZoneRows(system);
}

} // namespace kvtool
