// "kvproj zone", "kvproj utm", "kvproj check" and the zone listing of "kvproj list".
#include "cmd_zone.h"

#include "Command.h"
#include "ProjArgs.h"

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

// ------------------------------------------------------------ small helpers

char lowerAscii(char c) {
    return (c >= 'A' && c <= 'Z') ? static_cast<char>(c - 'A' + 'a') : c;
}

bool equalsIgnoringCase(const std::string& a, const std::string& b) {
    if (a.size() != b.size()) return false;
    for (size_t i = 0; i < a.size(); ++i)
        if (lowerAscii(a[i]) != lowerAscii(b[i])) return false;
    return true;
}

std::string trim(const std::string& s) {
    const char* blanks = " \t\r\n";
    size_t first = s.find_first_not_of(blanks);
    if (first == std::string::npos) return "";
    return s.substr(first, s.find_last_not_of(blanks) - first + 1);
}

std::string join(const std::vector<std::string>& words) {
    std::string text;
    for (const std::string& w : words)
        text += (text.empty() ? "" : " ") + w;
    return text;
}

// A whole decimal integer that fits an int, nothing around it.
bool parseInt(const std::string& text, int* value) {
    if (text.empty()) return false;
    errno = 0;
    char* end = nullptr;
    long long n = std::strtoll(text.c_str(), &end, 10);
    if (errno != 0 || *end != '\0' || n < INT32_MIN || n > INT32_MAX) return false;
    *value = static_cast<int>(n);
    return true;
}

bool parseDouble(const std::string& text, double* value) {
    if (text.empty()) return false;
    char* end = nullptr;
    double v = std::strtod(text.c_str(), &end);
    if (*end != '\0') return false;
    *value = v;
    return true;
}

// Decimal degrees or degree text ("-111.5", "111d30'W").
bool parseAngle(const std::string& text, double* value) {
    if (parseDouble(text, value)) return true;
    std::vector<char> buffer(text.begin(), text.end());
    buffer.push_back('\0');
    return KVProj::LatLonToDegrees(buffer.data(), value, 'd');
}

// The shortest "%g" text that reads back as the same double.
std::string shortestText(double v) {
    char buffer[64];
    for (int digits = 15; digits <= 17; ++digits) {
        std::snprintf(buffer, sizeof(buffer), "%.*g", digits, v);
        if (std::strtod(buffer, nullptr) == v) break;
    }
    return buffer;
}

std::string zoneName(int zone) {
    char name[KVProj::kStateZoneNameLen];
    KVProj::ProjGetStateZoneInfo(static_cast<StateZoneType>(zone), name, nullptr);
    return name;
}

int zoneFips(int zone) {
    int code = 0;
    KVProj::ProjGetStateZoneInfo(static_cast<StateZoneType>(zone), nullptr, &code);
    return code;
}

int zoneEpsg(ProjType system, int zone) {
    int code = 0;
    return KVProj::ProjStateZoneToPOSCNumber(system, static_cast<StateZoneType>(zone), &code) ? code
                                                                                              : 0;
}

// The zone expanded on one system; false when the system does not define it.
bool expandZone(ProjType system, int zone, PROJDATA* data) {
    std::memset(data, 0, sizeof(*data));
    data->Type = system;
    data->Zone = static_cast<StateZoneType>(zone);
    data->Scale = 1;
    KVProj::ProjGetStateZoneParams(data);
    return static_cast<int>(data->Zone) == zone;
}

const char* shortProjection(int type) {
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

std::string codeText(int code) {
    return code ? std::to_string(code) : "-";
}

std::string projectionName(int type) {
    if (type == KVProj::PT_UTM) return "Transverse Mercator";
    char name[KVPROJ_NAME_LEN];
    KVProj::ProjGetProjectionInfo(static_cast<ProjType>(type), name);
    return name;
}

std::string ellipsoidName(int e) {
    char name[KVPROJ_NAME_LEN] = "";
    if (!KVProj::EllipsoidInfo(static_cast<EllipsoidType>(e), name, nullptr, nullptr))
        return "unknown";
    return name;
}

std::string paramLabel(int id) {
    char label[KVPROJ_NAME_LEN];
    return KVProj::ProjParamInfo(id, label, nullptr, nullptr, nullptr) ? label : "?";
}

// ------------------------------------------------------------ list zones

int listZoneRows(int systemFilter) {
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
            defined[s] = expandZone(systems[s], zone, &d);
            types[s] = d.Type;
        }
        if (systemFilter == 0) {
            std::printf("%4d  %4d  %5s  %-10s  %5s  %-10s  %s\n", zone, zoneFips(zone),
                        codeText(zoneEpsg(systems[0], zone)).c_str(),
                        defined[0] ? shortProjection(types[0]) : "-",
                        codeText(zoneEpsg(systems[1], zone)).c_str(),
                        defined[1] ? shortProjection(types[1]) : "-", zoneName(zone).c_str());
        } else {
            const int s = systemFilter == 27 ? 0 : 1;
            if (!defined[s]) continue;
            std::printf("%4d  %4d  %5s  %-10s  %s\n", zone, zoneFips(zone),
                        codeText(zoneEpsg(systems[s], zone)).c_str(), shortProjection(types[s]),
                        zoneName(zone).c_str());
        }
    }
    return EXIT_OK;
}

// ------------------------------------------------------------ zone

// Resolves a zone given by name, FIPS code, EPSG code or, with --value, its number.
bool findZone(const std::vector<std::string>& args, int* zone, std::string* error) {
    if (args.empty()) {
        *error = "zone: give a zone name, FIPS code or EPSG code";
        return false;
    }
    int n = 0;
    if (args[0] == "--value") {
        if (args.size() != 2 || !parseInt(args[1], &n) || n < 0 || n >= kZones) {
            *error = "zone: --value takes a zone number 0.." + std::to_string(kZones - 1);
            return false;
        }
        *zone = n;
        return true;
    }
    const std::string text = join(args);
    StateZoneType found = KVProj::STATEZONE_NONE;
    if (parseInt(text, &n)) {
        // FIPS zone codes stay below 10000; EPSG projected CRS codes are above.
        if (n >= 10000) {
            ProjType type;
            if (KVProj::ProjGetStateZoneFromPOSCNumber(n, &type, &found)) {
                *zone = found;
                return true;
            }
            *error = "zone: no state plane zone has EPSG code " + text;
        } else if (n > 0 && KVProj::ProjGetStateZoneFromUSGSCode(&found, n)) {
            *zone = found;
            return true;
        } else {
            *error = "zone: no state plane zone has FIPS code " + text;
        }
        return false;
    }
    std::vector<char> name(text.begin(), text.end());
    name.push_back('\0');
    if (KVProj::ProjGetStateZoneFromName(&found, name.data())) {
        *zone = found;
        return true;
    }
    *error = "zone: unknown zone '" + text + "' (see kvproj list zones)";
    return false;
}

void printParam(const PROJDATA& data, int id) {
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
        text = shortestText(v);
    } else if (type == KVProj::PDT_BOOL) {
        text = value[0] ? "true" : "false";
    } else {
        int32_t v;
        std::memcpy(&v, value, sizeof(v));
        text = std::to_string(v);
    }
    std::printf("    %-28s %s\n", (std::string(label) + ":").c_str(), text.c_str());
}

void printSystem(ProjType system, int zone) {
    const char* title = system == KVProj::PT_STATE_PLANE_27 ? "NAD 27" : "NAD 83";
    PROJDATA d;
    if (!expandZone(system, zone, &d)) {
        std::printf("  %s: not defined\n", title);
        return;
    }
    const int epsg = zoneEpsg(system, zone);
    std::printf("  %s: %s\n", title,
                epsg ? ("EPSG " + std::to_string(epsg)).c_str() : "no EPSG code");
    std::printf("    %-28s %s (%d)\n", "Projection:", projectionName(d.Type).c_str(),
                static_cast<int>(d.Type));
    std::printf("    %-28s %s (%d)\n", "Ellipsoid:", ellipsoidName(d.Ellipsoid).c_str(),
                static_cast<int>(d.Ellipsoid));
    // The parameters of the zone's projection, in the order a host shows them;
    // the false origin too, which the UTM-type list leaves out.
    bool origin[2] = {false, false};
    const int count = KVProj::ProjNumParams(d.Type);
    for (int i = 0; i < count; ++i) {
        const int id = KVProj::ProjEnumParam(d.Type, i);
        if (id == 20 || id == 2 || id == 14) continue; // ellipsoid, scale, hemisphere
        if (id == 3 || id == 4) origin[id - 3] = true;
        printParam(d, id);
    }
    for (int id = 3; id <= 4; ++id)
        if (!origin[id - 3]) printParam(d, id);
}

int cmdZone(const std::vector<std::string>& args) {
    int zone = 0;
    std::string error;
    if (!findZone(args, &zone, &error)) return UsageError(error);
    std::printf("Zone %d: %s\n", zone, zoneName(zone).c_str());
    const int fips = zoneFips(zone);
    std::printf("  FIPS: %s\n", fips ? std::to_string(fips).c_str() : "none");
    printSystem(KVProj::PT_STATE_PLANE_27, zone);
    printSystem(KVProj::PT_STATE_PLANE_83, zone);
    return EXIT_OK;
}

// ------------------------------------------------------------ utm

// "12", "12N", "Zone 12 S": a zone 1..60 with an optional hemisphere letter.
bool parseZoneText(const std::string& text, int* zone, bool* south) {
    std::string rest = trim(text);
    if (rest.size() >= 4 && equalsIgnoringCase(rest.substr(0, 4), "zone"))
        rest = trim(rest.substr(4));
    size_t digits = 0;
    while (digits < rest.size() && rest[digits] >= '0' && rest[digits] <= '9')
        ++digits;
    if (digits == 0 || digits > 2) return false;
    const std::string tail = trim(rest.substr(digits));
    if (!tail.empty() && !equalsIgnoringCase(tail, "n") && !equalsIgnoringCase(tail, "s"))
        return false;
    const int n = std::atoi(rest.substr(0, digits).c_str());
    if (n < 1 || n > 60) return false;
    *zone = n;
    *south = equalsIgnoringCase(tail, "s");
    return true;
}

int cmdUtm(const std::vector<std::string>& args) {
    bool south = false;
    std::vector<std::string> words;
    for (const std::string& a : args) {
        if (a == "--south")
            south = true;
        else
            words.push_back(a);
    }
    if (words.empty()) return UsageError("utm: give a longitude or a zone (1..60)");
    const std::string text = join(words);
    int zone = 0;
    bool zoneSouth = false;
    if (parseZoneText(text, &zone, &zoneSouth)) {
        south = south || zoneSouth;
    } else {
        double lon = 0;
        if (!parseAngle(text, &lon) || !std::isfinite(lon))
            return UsageError("utm: '" + text + "' is neither a longitude nor a zone 1..60");
        if (lon < -180 || lon > 360)
            return UsageError("utm: longitude " + text + " is outside -180..360");
        zone = KVProj::ProjUTMLonToZoneNumber(lon);
        std::printf("Longitude:        %.10g\n", lon);
    }
    const double central = KVProj::ProjUTMZoneNumberToLon(zone);
    std::printf("Zone:             %d%c\n", zone, south ? 'S' : 'N');
    std::printf("Central meridian: %g\n", central);
    std::printf("Zone span:        %g to %g\n", central - 3, central + 3);
    for (int style = 0; style <= 2; ++style) {
        char name[KVPROJ_NAME_LEN];
        if (KVProj::ProjUTMZoneNumberToName(zone, south, name, sizeof(name),
                                            static_cast<KVProj::UTMZoneNameFormat>(style)))
            std::printf("%-18s%s\n", style == 0 ? "Names:" : "", name);
    }
    return EXIT_OK;
}

// ------------------------------------------------------------ check

// Applies one "key = value" line with the parameter words every sub-command
// understands; an error text when it cannot.
std::string applyLine(PROJDATA* data, const std::string& line) {
    const size_t eq = line.find('=');
    if (eq == std::string::npos) return "expected key=value, got '" + line + "'";
    std::string error;
    return ApplyProjParam(trim(line.substr(0, eq)), line.substr(eq + 1), data, &error) ? "" : error;
}

// Reads lines from `in` into `data`; false (after a usage message) on the first bad line.
bool readRecord(std::istream& in, const std::string& source, PROJDATA* data, int* status) {
    std::string line;
    for (int number = 1; std::getline(in, line); ++number) {
        line = trim(line);
        if (line.empty() || line[0] == '#') continue;
        const std::string error = applyLine(data, line);
        if (!error.empty()) {
            *status = UsageError("check: " + source + ":" + std::to_string(number) + ": " + error);
            return false;
        }
    }
    return true;
}

int cmdCheck(const std::vector<std::string>& args) {
    PROJDATA data;
    std::memset(&data, 0, sizeof(data));
    int status = EXIT_OK;
    bool readAny = false;
    for (const std::string& arg : args) {
        if (arg.find('=') != std::string::npos) {
            const std::string error = applyLine(&data, arg);
            if (!error.empty()) return UsageError("check: " + error);
        } else if (arg == "-") {
            if (!readRecord(std::cin, "<stdin>", &data, &status)) return status;
        } else {
            std::ifstream file(arg);
            if (!file) return UsageError("check: cannot open '" + arg + "'");
            if (!readRecord(file, arg, &data, &status)) return status;
        }
        readAny = true;
    }
    if (!readAny && !readRecord(std::cin, "<stdin>", &data, &status)) return status;

    char message[KVProj::kProjCheckMessageLen];
    const int result = KVProj::ProjCheckParams(&data, message, false);
    if (result == 0) {
        std::printf("valid\n");
        return EXIT_OK;
    }
    std::printf("invalid\n");
    std::printf("parameter: %d (%s)\n", result, paramLabel(result).c_str());
    std::printf("message:   %s\n", message);
    return EXIT_FAILED;
}

KVCommand zoneCommand("zone", "zone <name|fips|epsg> | --value N",
                      "a state plane zone's codes and parameters on NAD 27 and NAD 83", cmdZone);
KVCommand utmCommand("utm", "utm <lon> | <zone>[N|S] [--south]",
                     "UTM zone of a longitude, or a zone's meridians and names", cmdUtm);
KVCommand checkCommand("check", "check [file|-|key=value ...]",
                       "validate a parameter record given as key=value lines", cmdCheck);

} // namespace

int ListZones(const std::vector<std::string>& args) {
    int system = 0;
    for (size_t i = 0; i < args.size(); ++i) {
        if (args[i] == "--system" && i + 1 < args.size()) {
            const std::string& value = args[++i];
            if (value == "27" || value == "1927")
                system = 27;
            else if (value == "83" || value == "1983")
                system = 83;
            else
                return UsageError("list zones: --system takes 27 or 83, not '" + value + "'");
        } else {
            return UsageError("list zones: unexpected argument '" + args[i] + "'");
        }
    }
    return listZoneRows(system);
}

} // namespace kvtool
