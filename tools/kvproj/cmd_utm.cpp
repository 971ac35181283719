// "kvproj utm": the UTM zone of a longitude, or a zone's meridians and names.
#include "Command.h"
#include "Json.h"
#include "Numbers.h"
#include "Text.h"

#include "kvproj/kvproj.h"

#include <cstdio>
#include <memory>
#include <string>
#include <vector>

namespace kvtool {
namespace {

// "12", "12N", "Zone 12 S": a zone 1..60 with an optional hemisphere letter.
bool ParseZoneText(const std::string& text, int* zone, bool* south) {
    std::string rest = Trim(text);
    if (rest.size() >= 4 && EqualsIgnoringCase(rest.substr(0, 4), "zone"))
        rest = Trim(rest.substr(4));
    size_t digits = 0;
    while (digits < rest.size() && rest[digits] >= '0' && rest[digits] <= '9')
        ++digits;
    if (digits == 0 || digits > 2) return false;
    const std::string tail = Trim(rest.substr(digits));
    if (!tail.empty() && !EqualsIgnoringCase(tail, "n") && !EqualsIgnoringCase(tail, "s"))
        return false;
    if (!ParseInteger(rest.substr(0, digits), 1, 60, zone)) return false;
    *south = EqualsIgnoringCase(tail, "s");
    return true;
}

struct Options {
    std::vector<std::string> words;
    bool south = false;
    bool json = false;
};

int Print(const Options& o, const double* lon, int zone, bool south) {
    const double central = KVProj::ProjUTMZoneNumberToLon(zone);
    std::vector<std::string> names;
    for (int style = 0; style <= 2; ++style) {
        char name[KVPROJ_NAME_LEN];
        if (KVProj::ProjUTMZoneNumberToName(zone, south, name, sizeof(name),
                                            static_cast<KVProj::UTMZoneNameFormat>(style)))
            names.push_back(name);
    }
    if (o.json) {
        Json out = Json::Object();
        if (lon) out.Set("longitude", *lon);
        out.Set("zone", zone).Set("south", south).Set("central_meridian", central);
        out.Set("west", central - 3).Set("east", central + 3);
        Json list = Json::Array();
        for (const std::string& name : names)
            list.Add(name);
        std::fputs(out.Set("names", std::move(list)).Dump().c_str(), stdout);
        return EXIT_OK;
    }
    if (lon) std::printf("Longitude:        %s\n", FormatShortest(*lon).c_str());
    std::printf("Zone:             %d%c\n", zone, south ? 'S' : 'N');
    std::printf("Central meridian: %g\n", central);
    std::printf("Zone span:        %g to %g\n", central - 3, central + 3);
    for (size_t i = 0; i < names.size(); ++i)
        std::printf("%-18s%s\n", i == 0 ? "Names:" : "", names[i].c_str());
    return EXIT_OK;
}

int Run(const Options& o) {
    if (o.words.empty()) return UsageError("utm: give a longitude or a zone (1..60)");
    const std::string text = Join(o.words);
    int zone = 0;
    const bool south = o.south;
    bool zoneSouth = false;
    if (ParseZoneText(text, &zone, &zoneSouth)) return Print(o, nullptr, zone, south || zoneSouth);
    double lon = 0;
    if (!ParseAngle(text, &lon))
        return UsageError("utm: '" + Shown(text) + "' is neither a longitude nor a zone 1..60");
    if (lon < -180 || lon > 360)
        return UsageError("utm: longitude " + text + " is outside -180..360");
    return Print(o, &lon, KVProj::ProjUTMLonToZoneNumber(lon), south);
}

Runner SetUp(CLI::App& app) {
    auto o = std::make_shared<Options>();
    app.add_option("lon-or-zone", o->words, "a longitude (-111.5, 111d30'W) or zone (12, 12N)");
    app.add_flag("--south", o->south, "the southern hemisphere's zone");
    app.add_flag("--json", o->json, "the zone as JSON");
    return [o] { return Run(*o); };
}

const KVCommand command({"utm", "utm <lon> | <zone>[N|S] [--south] [--json]",
                         "the UTM zone of a longitude, or a zone's meridians and names",
                         "  kvproj utm -111.5\n"
                         "  kvproj utm 33S\n"},
                        SetUp);

} // namespace
} // namespace kvtool
