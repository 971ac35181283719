// "kvproj datum": the parameters of one datum, and the datum listing.
#include "cmd_datum.h"

#include "Command.h"
#include "DatumArgs.h"

#include "kvproj/kvproj.h"

#include <cstdio>
#include <memory>
#include <string>

namespace kvtool {
namespace {

using namespace KVProj;

std::string EllipsoidText(int e) {
    char name[KVPROJ_NAME_LEN];
    double a = 0, f = 0;
    if (e == ELLIPSOID_USER_DEFINED) return "user-defined";
    if (!EllipsoidInfo(static_cast<EllipsoidType>(e), name, &a, &f)) return "-";
    return name;
}

std::string EpsgText(DatumType id) {
    int code = 0;
    return DatGetDatumPOSCNumber(id, &code) ? std::to_string(code) : "-";
}

const char* DirectionText(const DatumChoice& d) {
    const int method = d.step.Method;
    if (d.custom)
        return method == DM_MOLODENSKY || method == DM_BURSA || method == DM_NOXFORM
                   ? "to and from WGS 84"
                   : "to WGS 84 only";
    if (method == DM_NTV2) return "to WGS 84, and back by the inverse grid shift";
    return DatReversible(d.type) ? "to and from WGS 84" : "to WGS 84 only";
}

void PrintDatum(const DatumChoice& d, const std::string& profile) {
    const DATUM2WGS84& s = d.step;
    const int method = s.Method;
    if (d.custom)
        std::printf("id:             custom (%s)\n", profile.c_str());
    else
        std::printf("id:             %d\n", int(d.type));
    std::printf("name:           %s\n", d.name.c_str());
    std::printf("epsg:           %s\n", d.custom ? "-" : EpsgText(d.type).c_str());
    std::printf("method:         %s\n", DatumMethodText(method));
    std::printf("direction:      %s\n", DirectionText(d));
    for (const auto& file : GridFilesOf(d))
        std::printf("grid file:      %s\n",
                    file.second.empty()
                        ? (file.first + " not found in " + GridFoldersText()).c_str()
                        : file.second.c_str());
    if (method != DM_MOLODENSKY && method != DM_BURSA) return;
    std::printf("ellipsoid:      %d %s\n", int(s.Ellipsoid), EllipsoidText(s.Ellipsoid).c_str());
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

struct Options {
    std::vector<std::string> words;
    std::vector<std::string> gridDirs;
    std::string profile;
    bool list = false;
};

int Run(const Options& o) {
    if (o.list) {
        if (!o.words.empty()) return UsageError("datum: unexpected argument '" + o.words[0] + "'");
        return ListDatums(o.profile);
    }
    if (o.words.size() != 1)
        return UsageError("datum: name one datum (id, name, EPSG code or custom name)");
    SetGridSearch(o.gridDirs);
    DatumChoice choice;
    std::string error;
    if (!ResolveDatum(o.words[0], o.profile, &choice, &error)) return UsageError("datum: " + error);
    PrintDatum(choice, o.profile);
    return EXIT_OK;
}

Runner SetUp(CLI::App& app) {
    auto o = std::make_shared<Options>();
    app.add_option("datum", o->words,
                   "id, name, EPSG code (6267, 4267) or custom name");
    app.add_option("--profile", o->profile, "a profile FILE holding custom datums");
    app.add_flag("--list", o->list, "list every datum (as kvproj list datums)");
    app.add_option("--grid-dir", o->gridDirs, "search DIR for a grid datum's files")
        ->allow_extra_args(false);
    return [o] { return Run(*o); };
}

const KVCommand command({"datum", "datum <name|id|epsg> [--profile F]",
                         "show a datum's step to WGS 84",
                         "  kvproj datum NAD27\n"
                         "  kvproj datum 'My site' --profile datums.ini\n"},
                        SetUp);

} // namespace

int ListDatums(const std::string& profile) {
    char name[256];
    for (int id = 0; id < DatNumDatums(); ++id) {
        DatumType d = static_cast<DatumType>(id);
        DatGetDatumName(d, name);
        DatumMethod method = DM_NOXFORM;
        std::string methodText = DatGetDatumMethod(d, &method) ? DatumMethodText(method) : "-";
        DATUM2WGS84 s;
        std::string ellipsoid = "-";
        if (DatGetDatumParams(d, &s) && (method == DM_MOLODENSKY || method == DM_BURSA))
            ellipsoid = EllipsoidText(s.Ellipsoid);
        std::printf("%3d  %-58s  %5s  %-20s  %s\n", id, name, EpsgText(d).c_str(),
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
                    readable && s.Method != DM_NOXFORM ? EllipsoidText(s.Ellipsoid).c_str() : "-");
    }
    return EXIT_OK;
}

} // namespace kvtool
