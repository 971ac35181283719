// "kvproj datum": the parameters of one datum, and the datum listing.
#include "cmd_datum.h"

#include "Command.h"
#include "DatumArgs.h"
#include "Json.h"
#include "Text.h"
#include "Numbers.h"
#include "Suggest.h"

#include "frame/SiblingFile.h"
#include "kvproj/kvproj.h"

#include <cstdio>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

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

// The datum as one JSON object, with the fields PrintDatum writes.
Json DatumJson(const DatumChoice& d, const std::string& profile) {
    const DATUM2WGS84& s = d.step;
    Json out = Json::Object();
    int code = 0;
    out.Set("id", d.custom ? Json(nullptr) : Json(int(d.type)))
        .Set("name", d.name)
        .Set("profile", d.custom ? Json(profile) : Json(nullptr))
        .Set("epsg", !d.custom && DatGetDatumPOSCNumber(d.type, &code) ? Json(code) : Json(nullptr))
        .Set("method", DatumMethodText(s.Method))
        .Set("direction", DirectionText(d));
    if (s.Method == DM_MOLODENSKY || s.Method == DM_BURSA) {
        Json ellipsoid = Json::Object();
        ellipsoid.Set("id", int(s.Ellipsoid))
            .Set("name", EllipsoidText(s.Ellipsoid))
            .Set("semi_major", double(s.MajorRadius))
            .Set("inverse_flattening", s.Flattening > 0 ? Json(1.0 / s.Flattening) : Json(nullptr));
        Json shift = Json::Array();
        shift.Add(double(s.dx)).Add(double(s.dy)).Add(double(s.dz));
        out.Set("ellipsoid", std::move(ellipsoid))
            .Set("prime_meridian", double(s.PMShift))
            .Set("shift_m", std::move(shift));
        if (s.Method == DM_BURSA) {
            Json rotation = Json::Array();
            rotation.Add(double(s.rx)).Add(double(s.ry)).Add(double(s.rz));
            out.Set("rotation_arcsec", std::move(rotation)).Set("scale_ppm", double(s.k));
        }
    }
    const auto files = GridFilesOf(d);
    if (!files.empty()) {
        Json list = Json::Array(), folders = Json::Array();
        for (const auto& f : files) {
            Json file = Json::Object();
            file.Set("name", f.first)
                .Set("path", f.second.empty() ? Json(nullptr) : Json(f.second));
            list.Add(std::move(file));
        }
        for (const std::string& dir : GridSearchFolders())
            folders.Add(dir);
        out.Set("grid_files", std::move(list)).Set("grid_folders", std::move(folders));
    }
    return out;
}

struct Options {
    std::vector<std::string> words;
    std::vector<std::string> gridDirs;
    std::string profile;
    bool list = false;
    bool json = false;
    std::string save, remove;              // a custom datum to save or delete
    bool saving = false, removing = false; // the options were given (even empty)
    std::string method = "molodensky", ellipsoid, shift = "0,0,0", rotation, scale, pm;
};

// "a,b,c": exactly `n` finite numbers separated by commas.
bool ParseList(const std::string& text, size_t n, double* out) {
    size_t start = 0;
    for (size_t i = 0; i < n; ++i) {
        const size_t end = i + 1 < n ? text.find(',', start) : text.size();
        if (end == std::string::npos || !ParseFinite(text.substr(start, end - start), &out[i]))
            return false;
        start = end + 1;
    }
    return true;
}

// The step --method, --ellipsoid, --shift, --rotation, --scale and --pm describe.
bool StepFromOptions(const Options& o, DATUM2WGS84* s, std::string* error) {
    std::memset(s, 0, sizeof *s);
    const std::string m = Folded(o.method);
    s->Method = m == "molodensky"                  ? DM_MOLODENSKY
                : m == "bursa" || m == "bursawolf" ? DM_BURSA
                : m == "none"                      ? DM_NOXFORM
                                                   : DatumMethod(-1);
    if (s->Method == DatumMethod(-1))
        return (*error = "--method takes molodensky, bursa or none, not '" + o.method + "'"), false;
    const bool bursa = s->Method == DM_BURSA;
    if (!bursa && (!o.rotation.empty() || !o.scale.empty()))
        return (*error = "--rotation and --scale go with --method bursa"), false;
    if (s->Method == DM_NOXFORM) return true;
    int e = 0;
    if (o.ellipsoid.empty()) return (*error = "--save needs --ellipsoid E"), false;
    if (!EllipsoidByName(o.ellipsoid, &e) || e == ELLIPSOID_USER_DEFINED)
        return (*error =
                    "unknown ellipsoid '" + o.ellipsoid + "'" + EllipsoidSuggestion(o.ellipsoid)),
               false;
    s->Ellipsoid = static_cast<EllipsoidType>(e);
    double a = 0, f = 0, v[3] = {0, 0, 0};
    char name[KVPROJ_NAME_LEN];
    EllipsoidInfo(s->Ellipsoid, name, &a, &f);
    s->MajorRadius = a, s->Flattening = f;
    if (!ParseList(o.shift, 3, v)) return (*error = "--shift takes DX,DY,DZ in metres"), false;
    s->dx = v[0], s->dy = v[1], s->dz = v[2];
    if (!o.rotation.empty() && !ParseList(o.rotation, 3, v))
        return (*error = "--rotation takes RX,RY,RZ in arcseconds"), false;
    if (!o.rotation.empty()) s->rx = v[0], s->ry = v[1], s->rz = v[2];
    if (!o.scale.empty() && !ParseFinite(o.scale, &v[0]))
        return (*error = "--scale takes parts per million"), false;
    if (!o.scale.empty()) s->k = v[0];
    if (!o.pm.empty() && !ParseFinite(o.pm, &v[0]))
        return (*error = "--pm takes degrees east of Greenwich"), false;
    if (!o.pm.empty()) s->PMShift = v[0];
    return true;
}

// --save NAME / --delete NAME in --profile FILE.
int Store(const Options& o) {
    if (o.saving && o.removing) return UsageError("datum: give --save or --delete");
    if (o.profile.empty()) return UsageError("datum: --save and --delete need --profile FILE");
    if (!o.words.empty() || o.list) return UsageError("datum: --save and --delete take no datum");
    const std::string& name = o.saving ? o.save : o.remove;
    DatumType builtIn = DATUM_NONE;
    if (NDatIsBuiltIn(o.profile.c_str(), name.c_str(), &builtIn))
        return UsageError("datum: '" + name + "' is the built-in datum " +
                          std::to_string(int(builtIn)) + ": choose another name");
    if (o.removing) {
        if (!NDatExists(o.profile.c_str(), name.c_str(), nullptr))
            return Failure("datum: no custom datum '" + name + "' in " + o.profile);
        if (!NDatDelete(o.profile.c_str(), name.c_str()))
            return Failure("datum: cannot rewrite " + o.profile);
        std::printf("deleted '%s' from %s\n", name.c_str(), o.profile.c_str());
        return EXIT_OK;
    }
    const std::string problem = CustomNameProblem(name);
    if (!problem.empty()) return UsageError("datum: cannot save '" + name + "': " + problem);
    DatumChoice shadow; // an id, code or short name would always mean the built-in datum
    std::string ignored;
    if (ResolveDatum(name, "", &shadow, &ignored))
        return UsageError("datum: cannot save '" + name + "': the name already stands for " +
                          "the built-in datum " + std::to_string(int(shadow.type)) + " (" +
                          shadow.name + ")");
    DATUM2WGS84 step;
    std::string error;
    if (!StepFromOptions(o, &step, &error)) return UsageError("datum: " + error);
    char message[256] = "";
    DATUMXFORM x{};
    x.SrcDatum = DATUM_USER_DEFINED;
    x.DestDatum = DATUM_WGS84;
    x.Step1 = step;
    if (DatCheckParams(&x, message, false) != 0)
        return UsageError("datum: cannot save '" + name + "': " + message);
    if (!NDatSave(o.profile.c_str(), name.c_str(), &step))
        return Failure("datum: cannot write " + o.profile);
    std::printf("saved '%s' in %s\n", name.c_str(), o.profile.c_str());
    return EXIT_OK;
}

int Run(const Options& o) {
    if (o.saving || o.removing) return Store(o);
    if (o.list) {
        if (!o.words.empty()) return UsageError("datum: unexpected argument '" + o.words[0] + "'");
        return ListDatums(o.profile, "", o.json);
    }
    if (o.words.size() != 1)
        return UsageError("datum: name one datum (id, name, EPSG code or custom name)");
    SetGridSearch(o.gridDirs);
    DatumChoice choice;
    std::string error;
    if (!ResolveDatum(o.words[0], o.profile, &choice, &error)) return UsageError("datum: " + error);
    if (o.json)
        std::fputs(DatumJson(choice, o.profile).Dump().c_str(), stdout);
    else
        PrintDatum(choice, o.profile);
    return EXIT_OK;
}

Runner SetUp(CLI::App& app) {
    auto o = std::make_shared<Options>();
    app.add_option("datum", o->words, "id, name, EPSG code (6267, 4267) or custom name");
    app.add_option("--profile", o->profile, "a profile FILE holding custom datums");
    app.add_flag("--list", o->list, "list every datum (as kvproj list datums)");
    app.add_flag("--json", o->json, "the datum (with --list: every datum) as JSON");
    app.add_option("--grid-dir", o->gridDirs, "search DIR for a grid datum's files")
        ->allow_extra_args(false);
    CLI::Option* save = app.add_option("--save", o->save, "save a custom datum NAME in --profile")
                            ->type_name("NAME");
    CLI::Option* remove =
        app.add_option("--delete", o->remove, "delete the custom datum NAME from --profile")
            ->type_name("NAME");
    app.add_option("--method", o->method, "with --save: molodensky (default), bursa, none")
        ->type_name("M");
    app.add_option("--ellipsoid", o->ellipsoid, "with --save: its ellipsoid (bessel, intl, 7)")
        ->type_name("E");
    app.add_option("--shift", o->shift, "with --save: DX,DY,DZ to WGS 84 in metres")
        ->type_name("DX,DY,DZ");
    app.add_option("--rotation", o->rotation, "with --save: RX,RY,RZ in arcseconds")
        ->type_name("RX,RY,RZ");
    app.add_option("--scale", o->scale, "with --save: scale difference in ppm")->type_name("PPM");
    app.add_option("--pm", o->pm, "with --save: prime meridian, degrees east")->type_name("DEG");
    return [o, save, remove] {
        o->saving = save->count() > 0;
        o->removing = remove->count() > 0;
        return Run(*o);
    };
}

const KVCommand command({"datum", "datum <name|id|epsg> [--profile F]",
                         "show a datum's step to WGS 84",
                         "  kvproj datum NAD27\n"
                         "  kvproj datum 'My site' --profile datums.ini\n"
                         "  kvproj datum --profile datums.ini --save 'My site' \\\n"
                         "      --method bursa --ellipsoid intl --shift -87,-98,-121\n"},
                        SetUp);

} // namespace

int ListDatums(const std::string& profile, const std::string& search, bool json) {
    struct Row {
        int id;
        std::string name, epsg, method, ellipsoid;
    };
    std::vector<Row> rows;
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
        rows.push_back({id, name, EpsgText(d), methodText, ellipsoid});
    }
    const int total = profile.empty() ? 0 : NDatNumDatums(profile.c_str());
    for (int i = DatNumDatums(); i < total; ++i) {
        if (!NDatEnumDatumName(profile.c_str(), name, i)) continue;
        DATUM2WGS84 s;
        bool readable = NDatGetDatumParams(profile.c_str(), name, &s);
        rows.push_back({i, name, "-", readable ? DatumMethodText(s.Method) : "(unreadable)",
                        readable && s.Method != DM_NOXFORM ? EllipsoidText(s.Ellipsoid) : "-"});
    }
    Json list = Json::Array();
    int found = 0;
    for (const Row& r : rows) {
        if (!ContainsIgnoringCase(r.name, search)) continue;
        ++found;
        if (!json) {
            std::printf("%3d  %-58s  %5s  %-20s  %s\n", r.id, r.name.c_str(), r.epsg.c_str(),
                        r.method.c_str(), r.ellipsoid.c_str());
            continue;
        }
        Json row = Json::Object();
        row.Set("datum", r.id).Set("name", r.name);
        row.Set("epsg", r.epsg == "-" ? Json() : Json(std::stoi(r.epsg)));
        row.Set("method", r.method).Set("ellipsoid", r.ellipsoid == "-" ? Json() : Json(r.ellipsoid));
        list.Add(std::move(row));
    }
    if (json) std::fputs(list.Dump().c_str(), stdout);
    return found || search.empty() ? EXIT_OK : NothingFound(search);
}

} // namespace kvtool
