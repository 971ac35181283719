// "kvproj datum": the parameters of one datum, and the datum listing.
#include "cmd_datum.h"

#include "Command.h"
#include "DatumArgs.h"

#include "kvproj/kvproj.h"

#include <cstdio>
#include <string>

namespace kvtool {
namespace {

using namespace KVProj;

std::string ellipsoidText(int e) {
    char name[KVPROJ_NAME_LEN];
    double a = 0, f = 0;
    if (e == ELLIPSOID_USER_DEFINED) return "user-defined";
    if (!EllipsoidInfo(static_cast<EllipsoidType>(e), name, &a, &f)) return "-";
    return name;
}

std::string epsgText(DatumType id) {
    int code = 0;
    return DatGetDatumPOSCNumber(id, &code) ? std::to_string(code) : "-";
}

// Splits off "--profile FILE"; false (after a usage message) on a bad option.
bool takeProfile(const std::vector<std::string>& args, const char* command,
                 std::vector<std::string>* rest, std::string* profile, int* status) {
    for (size_t i = 0; i < args.size(); ++i) {
        if (args[i] == "--profile") {
            if (i + 1 >= args.size()) {
                *status = UsageError(std::string(command) + ": --profile needs a file");
                return false;
            }
            *profile = args[++i];
        } else if (args[i].size() > 2 && args[i].compare(0, 2, "--") == 0) {
            *status = UsageError(std::string(command) + ": unknown option '" + args[i] + "'");
            return false;
        } else {
            rest->push_back(args[i]);
        }
    }
    return true;
}

void printDatum(const DatumChoice& d, const std::string& profile) {
    const DATUM2WGS84& s = d.step;
    const int method = s.Method;
    if (d.custom)
        std::printf("id:             custom (%s)\n", profile.c_str());
    else
        std::printf("id:             %d\n", int(d.type));
    std::printf("name:           %s\n", d.name.c_str());
    std::printf("epsg:           %s\n", d.custom ? "-" : epsgText(d.type).c_str());
    std::printf("method:         %s\n", DatumMethodText(method));
    const bool reversible =
        d.custom ? (method == DM_MOLODENSKY || method == DM_BURSA || method == DM_NOXFORM)
                 : DatReversible(d.type);
    std::printf("direction:      %s\n", reversible ? "to and from WGS 84" : "to WGS 84 only");
    if (method != DM_MOLODENSKY && method != DM_BURSA) return;
    std::printf("ellipsoid:      %d %s\n", int(s.Ellipsoid), ellipsoidText(s.Ellipsoid).c_str());
    std::printf("semi-major:     %.4f m\n", double(s.MajorRadius));
    if (s.Flattening > 0)
        std::printf("inverse flat.:  %.9f\n", 1.0 / s.Flattening);
    else
        std::printf("inverse flat.:  sphere\n");
    std::printf("prime meridian: %.11f deg east of Greenwich\n", double(s.PMShift));
    std::printf("dx dy dz:       %.4f %.4f %.4f m\n", double(s.dx), double(s.dy), double(s.dz));
    if (method == DM_BURSA) {
        std::printf("rx ry rz:       %.6f %.6f %.6f arcsec (position vector)\n", double(s.rx),
                    double(s.ry), double(s.rz));
        std::printf("scale:          %.6f ppm\n", double(s.k));
    }
}

int runDatum(const std::vector<std::string>& args) {
    std::vector<std::string> rest;
    std::string profile;
    bool list = false;
    std::vector<std::string> words;
    for (const std::string& a : args) {
        if (a == "--list")
            list = true;
        else
            words.push_back(a);
    }
    if (list) return ListDatums(words);
    int status = EXIT_OK;
    if (!takeProfile(words, "datum", &rest, &profile, &status)) return status;
    if (rest.size() != 1)
        return UsageError("datum: name one datum (id, name, EPSG code or custom name)");
    DatumChoice choice;
    std::string error;
    if (!ResolveDatum(rest[0], profile, &choice, &error)) return UsageError("datum: " + error);
    printDatum(choice, profile);
    return EXIT_OK;
}

static KVCommand cmd("datum", "datum <name|id|epsg> [--profile F]",
                     "show a datum's step to WGS 84 (--list lists them all)", runDatum);

} // namespace

int ListDatums(const std::vector<std::string>& args) {
    std::vector<std::string> rest;
    std::string profile;
    int status = EXIT_OK;
    if (!takeProfile(args, "list datums", &rest, &profile, &status)) return status;
    if (!rest.empty()) return UsageError("list datums: unexpected argument '" + rest[0] + "'");
    char name[256];
    for (int id = 0; id < DatNumDatums(); ++id) {
        DatumType d = static_cast<DatumType>(id);
        DatGetDatumName(d, name);
        DatumMethod method = DM_NOXFORM;
        std::string methodText = DatGetDatumMethod(d, &method) ? DatumMethodText(method) : "-";
        DATUM2WGS84 s;
        std::string ellipsoid = "-";
        if (DatGetDatumParams(d, &s) && (method == DM_MOLODENSKY || method == DM_BURSA))
            ellipsoid = ellipsoidText(s.Ellipsoid);
        std::printf("%3d  %-58s  %5s  %-20s  %s\n", id, name, epsgText(d).c_str(),
                    methodText.c_str(), ellipsoid.c_str());
    }
    if (profile.empty()) return EXIT_OK;
    const int total = NDatNumDatums(profile.c_str());
    for (int i = DatNumDatums(); i < total; ++i) {
        if (!NDatEnumDatumName(profile.c_str(), name, i)) continue;
        DATUM2WGS84 s;
        bool readable = NDatGetDatumParams(profile.c_str(), name, &s);
        std::printf("%3d  %-58s  %5s  %-20s  %s\n", i, name, "-",
                    readable ? DatumMethodText(s.Method) : "(unreadable)",
                    readable && s.Method != DM_NOXFORM ? ellipsoidText(s.Ellipsoid).c_str() : "-");
    }
    return EXIT_OK;
}

} // namespace kvtool
