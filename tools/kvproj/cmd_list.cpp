// "kvproj list": prints the built-in catalogues a host builds its user interface from.
#include "Command.h"
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

std::string ParamLabel(int id) {
    char label[KVPROJ_NAME_LEN];
    if (!KVProj::ProjParamInfo(id, label, nullptr, nullptr, nullptr)) return "?";
    return label;
}

int ListProjections() {
    for (int type = 0; type < KVProj::ProjNumProjections(); ++type) {
        ProjType t = static_cast<ProjType>(type);
        unsigned int info = KVProj::ProjGetProjectionInfo(t, nullptr);
        std::string labels;
        for (int i = 0; i < KVProj::ProjNumParams(t); ++i) {
            if (i > 0) labels += ", ";
            labels += ParamLabel(KVProj::ProjEnumParam(t, i));
        }
        std::printf("%2d  %-36s  0x%02X%s%s\n", type, ProjectionName(type).c_str(), info,
                    labels.empty() ? "" : "  ", labels.c_str());
    }
    return EXIT_OK;
}

int ListEllipsoids() {
    // Value 0 carries no figure of its own: the record's radius and flattening apply.
    char name[KVPROJ_NAME_LEN];
    KVProj::EllipsoidInfo(KVProj::ELLIPSOID_USER_DEFINED, name, nullptr, nullptr);
    std::printf("%2d  %-34s  %14s  %15s  %s\n", 0, name, "-", "-", "-");
    for (int e = 1; e < KVProj::ELLIPSOID_COUNT; ++e) {
        EllipsoidType row = static_cast<EllipsoidType>(e);
        double radius = 0.0;
        double flattening = 0.0;
        if (!KVProj::EllipsoidInfo(row, name, &radius, &flattening)) continue;
        char inverse[32];
        if (flattening == 0.0)
            std::snprintf(inverse, sizeof inverse, "sphere");
        else
            std::snprintf(inverse, sizeof inverse, "%.12g", 1.0 / flattening);
        int code = 0;
        std::string epsg = KVProj::EllipsoidToPOSCNumber(row, &code) ? std::to_string(code) : "-";
        std::printf("%2d  %-34s  %14.4f  %15s  %s\n", e, name, radius, inverse, epsg.c_str());
    }
    return EXIT_OK;
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

int ListParams(const std::vector<std::string>& words) {
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
        std::printf("%2d  %-34s  %s\n", id, label, DataTypeName(dataType));
    }
    return EXIT_OK;
}

const char* const kCatalogues[] = {"projections", "ellipsoids", "params", "zones", "datums"};

struct Options {
    std::string catalogue;
    std::vector<std::string> type;
    std::string system, profile;
    CLI::Option* systemOpt = nullptr;
};

int Run(CLI::App& app, const Options& o) {
    const std::vector<std::string> names(std::begin(kCatalogues), std::end(kCatalogues));
    if (!o.catalogue.empty())
        return UsageError("list: unknown catalogue '" + Shown(o.catalogue) + "'" +
                          DidYouMean(o.catalogue, names) + " (choose from " + Join(names, ", ") +
                          ")");
    if (app.got_subcommand("projections")) return ListProjections();
    if (app.got_subcommand("ellipsoids")) return ListEllipsoids();
    if (app.got_subcommand("params")) return ListParams(o.type);
    if (app.got_subcommand("datums")) return ListDatums(o.profile);
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
        return ListZones(system);
    }
    return UsageError("list: name a catalogue: " + Join(names, ", "));
}

Runner SetUp(CLI::App& app) {
    auto o = std::make_shared<Options>();
    app.add_option("catalogue", o->catalogue, "projections, ellipsoids, params, zones, datums");
    app.add_subcommand("projections", "every projection: type, name, capabilities, parameters")
        ->ignore_case();
    app.add_subcommand("ellipsoids", "every ellipsoid: value, name, axis, 1/f, EPSG code")
        ->ignore_case();
    CLI::App* params = app.add_subcommand("params", "the parameters of one projection type");
    params->ignore_case();
    params->add_option("type", o->type, "a projection by value or name");
    CLI::App* zones = app.add_subcommand("zones", "every state plane zone with its codes");
    zones->ignore_case();
    o->systemOpt = zones->add_option("--system", o->system, "27 or 83: one system only");
    CLI::App* datums = app.add_subcommand("datums", "every datum with its method");
    datums->ignore_case();
    datums->add_option("--profile", o->profile, "also the custom datums kept in FILE");
    return [o, &app] { return Run(app, *o); };
}

const KVCommand command({"list", "list <catalogue> [<type>]", "print a built-in catalogue",
                         "  kvproj list params 'Transverse Mercator'\n"
                         "  kvproj list zones --system 83\n"},
                        SetUp);

} // namespace
} // namespace kvtool
