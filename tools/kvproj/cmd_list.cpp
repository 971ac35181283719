// "kvproj list": prints the built-in catalogues a host builds its user interface from.
#include "Command.h"
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

int listProjections(const std::vector<std::string>& args);
int listEllipsoids(const std::vector<std::string>& args);
int listParams(const std::vector<std::string>& args);

// One row per catalogue; `operand` names the extra word the catalogue needs, if any.
struct Catalogue {
    const char* name;
    const char* operand;
    CommandFn fn;
};

const Catalogue kCatalogues[] = {
    {"projections", nullptr, listProjections},
    {"ellipsoids", nullptr, listEllipsoids},
    {"params", "<type>", listParams},
    {"zones", "[--system 27|83]", ListZones},
    {"datums", nullptr, ListDatums},
};

std::string catalogueNames() {
    std::string names;
    for (const Catalogue& c : kCatalogues) {
        if (!names.empty()) names += ", ";
        names += c.name;
        if (c.operand) names += std::string(" ") + c.operand;
    }
    return names;
}

bool equalsIgnoringCase(const std::string& a, const char* b) {
    size_t i = 0;
    for (; i < a.size() && b[i]; ++i)
        if (std::tolower(static_cast<unsigned char>(a[i])) !=
            std::tolower(static_cast<unsigned char>(b[i])))
            return false;
    return i == a.size() && b[i] == '\0';
}

// A whole decimal number that fits an int; no sign games, no trailing text.
bool parseInt(const std::string& text, int* value) {
    if (text.empty()) return false;
    errno = 0;
    char* end = nullptr;
    long n = std::strtol(text.c_str(), &end, 10);
    if (errno != 0 || *end != '\0' || n < -2147483647L - 1 || n > 2147483647L) return false;
    *value = static_cast<int>(n);
    return true;
}

int noMoreWords(const std::vector<std::string>& args, const char* catalogue) {
    return UsageError(std::string("list ") + catalogue + ": unexpected argument '" + args[0] + "'");
}

std::string projectionName(int type) {
    char name[KVPROJ_NAME_LEN];
    KVProj::ProjGetProjectionInfo(static_cast<ProjType>(type), name);
    return name;
}

std::string paramLabel(int id) {
    char label[KVPROJ_NAME_LEN];
    if (!KVProj::ProjParamInfo(id, label, nullptr, nullptr, nullptr)) return "?";
    return label;
}

int listProjections(const std::vector<std::string>& args) {
    if (!args.empty()) return noMoreWords(args, "projections");
    for (int type = 0; type < KVProj::ProjNumProjections(); ++type) {
        ProjType t = static_cast<ProjType>(type);
        unsigned int info = KVProj::ProjGetProjectionInfo(t, nullptr);
        std::string labels;
        for (int i = 0; i < KVProj::ProjNumParams(t); ++i) {
            if (i > 0) labels += ", ";
            labels += paramLabel(KVProj::ProjEnumParam(t, i));
        }
        std::printf("%2d  %-36s  0x%02X%s%s\n", type, projectionName(type).c_str(), info,
                    labels.empty() ? "" : "  ", labels.c_str());
    }
    return EXIT_OK;
}

int listEllipsoids(const std::vector<std::string>& args) {
    if (!args.empty()) return noMoreWords(args, "ellipsoids");
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

const char* dataTypeName(KVProj::ProjDataType type) {
    static const char* const kNames[] = {"double", "bool", "ProjType", "StateZoneType",
                                         "EllipsoidType"};
    int index = static_cast<int>(type);
    return index >= 0 && index < 5 ? kNames[index] : "?";
}

// A type given by its value or by its display name in any letter case.
bool findProjection(const std::string& word, int* type) {
    int count = KVProj::ProjNumProjections();
    int value = 0;
    if (parseInt(word, &value)) {
        if (value < 0 || value >= count) return false;
        *type = value;
        return true;
    }
    for (int t = 0; t < count; ++t) {
        if (equalsIgnoringCase(word, projectionName(t).c_str())) {
            *type = t;
            return true;
        }
    }
    return false;
}

int listParams(const std::vector<std::string>& args) {
    if (args.empty()) return UsageError("list params: missing projection type (number or name)");
    if (args.size() > 1) {
        std::vector<std::string> rest(args.begin() + 1, args.end());
        return noMoreWords(rest, "params");
    }
    int type = 0;
    if (!findProjection(args[0], &type))
        return UsageError("list params: unknown projection type '" + args[0] + "'");
    ProjType t = static_cast<ProjType>(type);
    for (int i = 0; i < KVProj::ProjNumParams(t); ++i) {
        int id = KVProj::ProjEnumParam(t, i);
        char label[KVPROJ_NAME_LEN];
        KVProj::ProjDataType dataType = KVProj::PDT_END;
        if (!KVProj::ProjParamInfo(id, label, &dataType, nullptr, nullptr)) continue;
        std::printf("%2d  %-34s  %s\n", id, label, dataTypeName(dataType));
    }
    return EXIT_OK;
}

int runList(const std::vector<std::string>& args) {
    if (args.empty()) return UsageError("list: name a catalogue: " + catalogueNames());
    for (const Catalogue& c : kCatalogues)
        if (equalsIgnoringCase(args[0], c.name))
            return c.fn(std::vector<std::string>(args.begin() + 1, args.end()));
    return UsageError("list: unknown catalogue '" + args[0] + "' (choose from " + catalogueNames() +
                      ")");
}

static KVCommand cmd("list", "list <catalogue> [<type>]",
                     "print a built-in catalogue ('kvproj list' names them)", runList);

} // namespace
} // namespace kvtool
