// "kvproj list": prints the built-in catalogues a host builds its user interface from.
#include "Command.h"
#include "Json.h"
#include "ProjArgs.h"
#include "Numbers.h"
#include "Suggest.h"
#include "Text.h"
#include "cmd_datum.h"
#include "cmd_zone.h"

#include "kvproj/kvproj.h"

#include <cctype>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

namespace kvtool {
namespace {

using KVProj::EllipsoidType;
using KVProj::ProjType;

std::string ProjectionName(int type) {
    char name[KVPROJ_NAME_LEN];
    KVProj::ProjGetProjectionInfo(static_cast<ProjType>(type), name);
    return name;
}

// What one listing prints: every row whose name holds the search word, as text or JSON.
// A search that finds nothing fails (exit 1), as grep does.
struct Listing {
    std::string search;
    bool json = false;
    Json rows = Json::Array();
    int found = 0;
    bool Wants(const std::string& name) {
        const bool wanted = ContainsIgnoringCase(name, search);
        found += wanted;
        return wanted;
    }
    int Finish() const {
        if (json) std::fputs(rows.Dump().c_str(), stdout);
        return found || search.empty() ? EXIT_OK : NothingFound(search);
    }
};

int ListProjections(Listing& list) {
    for (int type = 0; type < KVProj::ProjNumProjections(); ++type) {
        const ProjType t = static_cast<ProjType>(type);
        const std::string name = ProjectionName(type);
        if (!list.Wants(name)) continue;
        const unsigned int info = KVProj::ProjGetProjectionInfo(t, nullptr);
        std::vector<std::string> labels;
        Json params = Json::Array();
        for (int i = 0; i < KVProj::ProjNumParams(t); ++i) {
            const int id = KVProj::ProjEnumParam(t, i);
            labels.push_back(ParamLabel(id));
            params.Add(id);
        }
        if (list.json) {
            Json row = Json::Object();
            row.Set("type", type).Set("name", name).Set("info", info).Set("params", params);
            list.rows.Add(std::move(row));
            continue;
        }
        const std::string text = Join(labels, ", ");
        std::printf("%2d  %-36s  0x%02X%s%s\n", type, name.c_str(), info, text.empty() ? "" : "  ",
                    text.c_str());
    }
    return list.Finish();
}

int ListEllipsoids(Listing& list) {
    // Value 0 carries no figure of its own: the record's radius and flattening apply.
    for (int e = 0; e < KVProj::ELLIPSOID_COUNT; ++e) {
        const EllipsoidType row = static_cast<EllipsoidType>(e);
        char name[KVPROJ_NAME_LEN] = "";
        double radius = 0.0, flattening = 0.0;
        const bool known = KVProj::EllipsoidInfo(row, name, &radius, &flattening);
        if ((!known && e != 0) || !list.Wants(name)) continue;
        int code = 0;
        const bool coded = e != 0 && KVProj::EllipsoidToPOSCNumber(row, &code);
        if (list.json) {
            Json r = Json::Object();
            r.Set("ellipsoid", e).Set("name", name);
            r.Set("major_radius", e ? Json(radius) : Json())
                .Set("inverse_flattening", e && flattening != 0.0 ? Json(1.0 / flattening) : Json())
                .Set("epsg", coded ? Json(code) : Json());
            list.rows.Add(std::move(r));
            continue;
        }
        if (e == 0) {
            std::printf("%2d  %-34s  %14s  %15s  %s\n", 0, name, "-", "-", "-");
            continue;
        }
        char inverse[32];
        if (flattening == 0.0)
            std::snprintf(inverse, sizeof inverse, "sphere");
        else
            std::snprintf(inverse, sizeof inverse, "%.12g", 1.0 / flattening);
        std::printf("%2d  %-34s  %14.4f  %15s  %s\n", e, name, radius, inverse,
                    coded ? std::to_string(code).c_str() : "-");
    }
    return list.Finish();
}

const char* DataTypeName(KVProj::ProjDataType type) {
    static const char* const kNames[] = {"double", "bool", "ProjType", "StateZoneType",
                                         "EllipsoidType"};
    int index = static_cast<int>(type);
    return index >= 0 && index < 5 ? kNames[index] : "?";
}

// A type given by its value or by its display name in any letter case.
bool FindProjection(const std::string& word, int* type) {
    const int count = KVProj::ProjNumProjections();
    if (ParseInteger(word, 0, count - 1, type)) return true;
    for (int t = 0; t < count; ++t)
        if (EqualsIgnoringCase(word, ProjectionName(t))) return (*type = t), true;
    return false;
}

std::vector<std::string> ProjectionNames() {
    std::vector<std::string> names;
    for (int t = 0; t < KVProj::ProjNumProjections(); ++t)
        names.push_back(ProjectionName(t));
    return names;
}

int ListParams(const std::vector<std::string>& words, Listing& list) {
    if (words.empty()) return UsageError("list params: missing projection type (number or name)");
    const std::string word = Join(words);
    int type = 0;
    if (!FindProjection(word, &type))
        return UsageError("list params: unknown projection type '" + Shown(word) + "'" +
                          DidYouMean(word, ProjectionNames()));
    const ProjType t = static_cast<ProjType>(type);
    for (int i = 0; i < KVProj::ProjNumParams(t); ++i) {
        const int id = KVProj::ProjEnumParam(t, i);
        char label[KVPROJ_NAME_LEN];
        KVProj::ProjDataType dataType = KVProj::PDT_END;
        if (!KVProj::ProjParamInfo(id, label, &dataType, nullptr, nullptr)) continue;
        if (!list.json) {
            std::printf("%2d  %-34s  %s\n", id, label, DataTypeName(dataType));
            continue;
        }
        Json row = Json::Object();
        row.Set("id", id).Set("label", label).Set("field", ParamFieldName(id));
        list.rows.Add(std::move(row.Set("data_type", DataTypeName(dataType))));
    }
    return list.Finish();
}

const char* const kCatalogues[] = {"projections", "ellipsoids", "params", "zones", "datums"};

struct Options {
    std::string catalogue;
    std::vector<std::string> type;
    std::string system, profile, search;
    bool json = false;
    CLI::Option* systemOpt = nullptr;
};

int Run(CLI::App& app, const Options& o) {
    const std::vector<std::string> names(std::begin(kCatalogues), std::end(kCatalogues));
    if (!o.catalogue.empty())
        return UsageError("list: unknown catalogue '" + Shown(o.catalogue) + "'" +
                          DidYouMean(o.catalogue, names) + " (choose from " + Join(names, ", ") +
                          ")");
    Listing list;
    list.search = o.search;
    list.json = o.json;
    if (app.got_subcommand("projections")) return ListProjections(list);
    if (app.got_subcommand("ellipsoids")) return ListEllipsoids(list);
    if (app.got_subcommand("params")) return ListParams(o.type, list);
    if (app.got_subcommand("datums")) return ListDatums(o.profile, o.search, o.json);
    if (app.got_subcommand("zones")) {
        int system = 0;
        if (o.systemOpt->count()) {
            if (o.system == "27" || o.system == "1927")
                system = 27;
            else if (o.system == "83" || o.system == "1983")
                system = 83;
            else
                return UsageError("list zones: --system takes 27 or 83, not '" + o.system + "'");
        }
        return ListZones(system, o.search, o.json);
    }
    return UsageError("list: name a catalogue: " + Join(names, ", "));
}

// The search word and --json of a catalogue.
void AddSearch(CLI::App* catalogue, Options* o, bool search) {
    catalogue->ignore_case();
    if (search) catalogue->add_option("word", o->search, "only names holding WORD (any case)");
    catalogue->add_flag("--json", o->json, "the rows as a JSON array");
}

Runner SetUp(CLI::App& app) {
    auto o = std::make_shared<Options>();
    app.add_option("catalogue", o->catalogue, "projections, ellipsoids, params, zones, datums");
    AddSearch(app.add_subcommand("projections", "projections: type, name, capabilities, params"),
              o.get(), true);
    AddSearch(app.add_subcommand("ellipsoids", "ellipsoids: value, name, axis, 1/f, EPSG code"),
              o.get(), true);
    CLI::App* params = app.add_subcommand("params", "the parameters of one projection type");
    params->add_option("type", o->type, "a projection by value or name");
    AddSearch(params, o.get(), false);
    CLI::App* zones = app.add_subcommand("zones", "state plane zones with their codes");
    o->systemOpt = zones->add_option("--system", o->system, "27 or 83: one system only");
    AddSearch(zones, o.get(), true);
    CLI::App* datums = app.add_subcommand("datums", "datums with their methods");
    datums->add_option("--profile", o->profile, "also the custom datums kept in FILE");
    AddSearch(datums, o.get(), true);
    return [o, &app] { return Run(app, *o); };
}

const KVCommand command({"list", "list <catalogue> [WORD] [--json]",
                         "print a built-in catalogue, or its rows whose names hold WORD",
                         "  kvproj list params 'Transverse Mercator'\n"
                         "  kvproj list zones --system 83 michigan\n"
                         "  kvproj list projections conic --json\n"},
                        SetUp);

} // namespace
} // namespace kvtool
