// State plane zone catalogue: lookups and the NAD 27 / NAD 83 zone builders.
//
// The builders are checked zone by zone against tests/data/state_plane_zones.tsv,
// which holds the published zone definitions (EPSG dataset v10.076 as shipped
// with PROJ 9.1.1, FIPS zone codes; Great Lakes grids from PROJ's GL27 file)
// as the exact doubles the builders must produce.
#include "kvproj/stateplane.h"
#include "frame/Diag.h"
#include "proj/StatePlane.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <map>
#include <sstream>
#include <string>
#include <unistd.h>
#include <vector>

using namespace KVProj;

namespace {

// ------------------------------------------------------------ data file

struct TsvRow {
    std::map<std::string, std::string> cells;
    const std::string& operator[](const std::string& column) const {
        auto it = cells.find(column);
        if (it == cells.end()) throw std::runtime_error("no column " + column);
        return it->second;
    }
};

std::vector<TsvRow> ReadZoneFile() {
    std::ifstream in(std::string(KVPROJ_TEST_DATA_DIR) + "/state_plane_zones.tsv");
    std::vector<TsvRow> rows;
    std::string line;
    std::vector<std::string> header;
    while (std::getline(in, line)) {
        if (!line.empty() && line.back() == '\r') line.pop_back();
        std::vector<std::string> fields;
        std::stringstream ss(line);
        std::string field;
        while (std::getline(ss, field, '\t'))
            fields.push_back(field);
        if (!line.empty() && line.back() == '\t') fields.push_back("");
        if (header.empty()) {
            header = fields;
            continue;
        }
        TsvRow row;
        for (size_t i = 0; i < header.size(); ++i)
            row.cells[header[i]] = i < fields.size() ? fields[i] : "";
        rows.push_back(row);
    }
    return rows;
}

const std::vector<TsvRow>& ZoneFile() {
    static const std::vector<TsvRow> rows = ReadZoneFile();
    return rows;
}

// PROJDATA is byte-packed: read its fields by value before comparing them.
template <typename T> T V(T value) {
    return value;
}

double Num(const std::string& s) {
    return std::strtod(s.c_str(), nullptr);
}

// A record whose fields the builders must leave alone carry recognisable values.
PROJDATA Sentinel(ProjType type, int zone, bool flags) {
    PROJDATA d;
    std::memset(&d, 0, sizeof(d));
    d.Type = type;
    d.Zone = static_cast<StateZoneType>(zone);
    d.Scale = 2.5;
    d.xOrg = d.yOrg = 11;
    d.Lat0 = d.Lon0 = d.Lat1 = d.Lat2 = d.Lon1 = d.Lon2 = 12;
    d.Lat3 = 13;
    d.Lon3 = 14;
    d.K0 = 15;
    d.bSouth = true;
    d.bUseAlpha = d.bRotate = d.bUOffset = flags;
    d.Alpha = 16;
    d.Ellipsoid = static_cast<EllipsoidType>(7);
    d.MajorRadius = 17;
    d.Flattening = 0.125;
    d.iResult = 1;
    d.bWrapLon = true;
    std::memset(d.reserved, 0x5A, sizeof(d.reserved));
    return d;
}

void ExpectUntouchedFields(const PROJDATA& d, int zone, bool flags) {
    PROJDATA ref = Sentinel(PT_UNPROJECTED, zone, flags);
    EXPECT_EQ(V(d.Scale), V(ref.Scale));
    EXPECT_EQ(V(d.Lat3), V(ref.Lat3));
    EXPECT_EQ(V(d.Lon3), V(ref.Lon3));
    EXPECT_EQ(V(d.Lon2), 0.0) << "Lon2 is zeroed and never written";
    EXPECT_EQ(static_cast<int>(V(d.Zone)), zone);
    EXPECT_EQ(V(d.bSouth), V(ref.bSouth));
    EXPECT_EQ(V(d.MajorRadius), V(ref.MajorRadius));
    EXPECT_EQ(V(d.Flattening), V(ref.Flattening));
    EXPECT_EQ(V(d.iResult), V(ref.iResult));
    EXPECT_EQ(V(d.bWrapLon), V(ref.bWrapLon));
    EXPECT_EQ(0, std::memcmp(d.reserved, ref.reserved, sizeof(d.reserved)));
}

// Checks one zone of one system against its block of the data file.
void CheckZoneAgainstFile(const TsvRow& row, const std::string& sys, bool flags) {
    const int zone = std::atoi(row["zone"].c_str());
    const ProjType type = sys == "27" ? PT_STATE_PLANE_27 : PT_STATE_PLANE_83;
    SCOPED_TRACE("zone " + row["zone"] + " " + row["name"] + " NAD " + sys +
                 (flags ? " (flags set before)" : ""));
    PROJDATA d = Sentinel(type, zone, flags);
    const bool built = StatePlaneBuild(type, &d);
    const std::string& t = row["t" + sys];
    if (t.empty()) {
        EXPECT_FALSE(built) << "the system does not define this zone";
        return;
    }
    ASSERT_TRUE(built);
    EXPECT_EQ(static_cast<int>(V(d.Type)), std::atoi(t.c_str()));
    EXPECT_EQ(static_cast<int>(V(d.Ellipsoid)), std::atoi(row["ell" + sys].c_str()));
    EXPECT_EQ(V(d.Lon0), Num(row["lon0_" + sys]));
    EXPECT_EQ(V(d.Lat0), Num(row["lat0_" + sys]));
    EXPECT_EQ(V(d.Lat1), Num(row["lat1_" + sys]));
    EXPECT_EQ(V(d.Lat2), Num(row["lat2_" + sys]));
    EXPECT_EQ(V(d.Lon1), Num(row["lon1_" + sys]));
    EXPECT_EQ(V(d.K0), Num(row["k0_" + sys]));
    EXPECT_EQ(V(d.xOrg), Num(row["xorg_" + sys]));
    EXPECT_EQ(V(d.yOrg), Num(row["yorg_" + sys]));
    const std::string& alpha = row["alpha_" + sys];
    EXPECT_EQ(V(d.Alpha), alpha.empty() ? 16.0 : Num(alpha));
    const char* flagColumns[] = {"usealpha_", "rotate_", "uoffset_"};
    const bool values[] = {d.bUseAlpha, d.bRotate, d.bUOffset};
    for (int i = 0; i < 3; ++i) {
        const std::string& cell = row[flagColumns[i] + sys];
        EXPECT_EQ(values[i], cell.empty() ? flags : cell == "1") << flagColumns[i];
    }
    ExpectUntouchedFields(d, zone, flags);
}

TEST(StatePlaneData, FileHoldsEveryZone) {
    ASSERT_EQ(ZoneFile().size(), 142u) << "tests/data/state_plane_zones.tsv missing or short";
    for (size_t i = 0; i < ZoneFile().size(); ++i)
        EXPECT_EQ(std::atoi(ZoneFile()[i]["zone"].c_str()), static_cast<int>(i));
}

TEST(StatePlaneData, BuildersMatchPublishedDefinitions) {
    for (const TsvRow& row : ZoneFile())
        for (const char* sys : {"27", "83"})
            for (bool flags : {false, true})
                CheckZoneAgainstFile(row, sys, flags);
}

TEST(StatePlaneData, CatalogueMatchesNamesAndCodes) {
    for (const TsvRow& row : ZoneFile()) {
        const auto zone = static_cast<StateZoneType>(std::atoi(row["zone"].c_str()));
        SCOPED_TRACE(row["name"]);
        char name[kStateZoneNameLen];
        int usgs = -7;
        ProjGetStateZoneInfo(zone, name, &usgs);
        EXPECT_STREQ(name, row["name"].c_str());
        EXPECT_EQ(usgs, std::atoi(row["usgs"].c_str()));
        EXPECT_STREQ(StateZoneName(zone), row["name"].c_str());

        const int codes[] = {std::atoi(row["epsg27"].c_str()), std::atoi(row["epsg83"].c_str())};
        const ProjType types[] = {PT_STATE_PLANE_27, PT_STATE_PLANE_83};
        for (int i = 0; i < 2; ++i) {
            int code = -1;
            EXPECT_EQ(ProjStateZoneToPOSCNumber(types[i], zone, &code), codes[i] != 0);
            if (codes[i] != 0) {
                EXPECT_EQ(code, codes[i]);
            }
        }
        // Every name and FIPS code leads back to its zone except where an
        // earlier row shares it (none do).
        StateZoneType found = STATEZONE_NONE;
        std::vector<char> text(row["name"].begin(), row["name"].end());
        text.push_back('\0');
        EXPECT_TRUE(ProjGetStateZoneFromName(&found, text.data()));
        EXPECT_EQ(found, zone);
        if (usgs != 0) {
            EXPECT_TRUE(ProjGetStateZoneFromUSGSCode(&found, usgs));
            EXPECT_EQ(found, zone);
        }
    }
}

// ------------------------------------------------------------ telling rows

// Zone definitions written out independently of the data file. Values are
// the published definitions: EPSG 26729/26929 (Alabama East), 26731/26931
// (Alaska 1, centre and azimuth; false origin in its centred form), EPSG 3993
// origin for Guam, EPSG 6201/26989 (Michigan Central), and the Huron grid of
// PROJ's GL27 file with its documented field placement (zone 139).
struct Telling {
    int zone;
    ProjType system;
    ProjType type;
    int ellipsoid;
    double lon0, lat0, lat1, lat2, lon1, k0, x, y;
    bool hasAlpha;
    double alpha;
    bool useAlpha, rotate, uOffset;
};

const double kAlaskaAlpha = -(36 + 52.0 / 60 + 11.6315 / 3600);
const Telling kTelling[] = {
    {0, PT_STATE_PLANE_27, PT_UTM, 15, -(85 + 50.0 / 60), 30.5, 0, 0, 0, 0.99996, 152400.3048006096,
     0, false, 0, false, false, false},
    {0, PT_STATE_PLANE_83, PT_UTM, 3, -(85 + 50.0 / 60), 30.5, 0, 0, 0, 0.99996, 200000, 0, false,
     0, false, false, false},
    {2, PT_STATE_PLANE_27, PT_HOTINE, 15, 0, 57, 0, 0, -(133 + 40.0 / 60), 0.9999,
     818585.5672270928, 575219.2451072643, true, kAlaskaAlpha, true, true, true},
    {2, PT_STATE_PLANE_83, PT_HOTINE, 3, 0, 57, 0, 0, -(133 + 40.0 / 60), 0.9999, 818676.7344011232,
     575097.6888751927, true, kAlaskaAlpha, true, true, true},
    {34, PT_STATE_PLANE_27, PT_POLYCONIC, 15, 144 + 44.0 / 60 + 55.50254 / 3600,
     13 + 28.0 / 60 + 20.87887 / 3600, 0, 0, 0, 0, 50000, 50000, false, 0, false, false, false},
    {65, PT_STATE_PLANE_27, PT_LAMBERT_CONIC, 42, -(84 + 20.0 / 60), 43 + 19.0 / 60, 45 + 42.0 / 60,
     44 + 11.0 / 60, 0, 0, 609601.2192024384, 0, false, 0, false, false, false},
    {65, PT_STATE_PLANE_83, PT_LAMBERT_CONIC, 3, -(84 + 22.0 / 60), 43 + 19.0 / 60, 45 + 42.0 / 60,
     44 + 11.0 / 60, 0, 0, 6000000, 0, false, 0, false, false, false},
    {139, PT_STATE_PLANE_27, PT_HOTINE, 15, 0, 35 + 37.0 / 60, 43, 0, 82.5, 0.9999, 1200000,
     -3500000, false, 0, false, true, true},
    {139, PT_STATE_PLANE_83, PT_HOTINE, 15, 0, 350 + 37.0 / 60, 43, 0, 82.5, 0.9999, 1200000,
     -3500000, false, 0, false, true, true},
};

TEST(StatePlaneBuilders, PublishedDefinitionsHoldExactly) {
    for (const Telling& t : kTelling) {
        SCOPED_TRACE("zone " + std::to_string(t.zone) + " type " + std::to_string(t.system));
        PROJDATA d;
        std::memset(&d, 0, sizeof(d));
        d.Type = t.system;
        d.Zone = static_cast<StateZoneType>(t.zone);
        d.Alpha = 99;
        ASSERT_TRUE(StatePlaneBuild(t.system, &d));
        EXPECT_EQ(V(d.Type), t.type);
        EXPECT_EQ(static_cast<int>(V(d.Ellipsoid)), t.ellipsoid);
        // The angle reader adds degrees, minutes/60 and seconds/3600 in that
        // order and applies the sign last, as the expressions above do, so
        // the values agree to the last bit.
        EXPECT_EQ(V(d.Lon0), t.lon0);
        EXPECT_EQ(V(d.Lat0), t.lat0);
        EXPECT_EQ(V(d.Lat1), t.lat1);
        EXPECT_EQ(V(d.Lat2), t.lat2);
        EXPECT_EQ(V(d.Lon1), t.lon1);
        EXPECT_EQ(V(d.K0), t.k0);
        EXPECT_EQ(V(d.xOrg), t.x);
        EXPECT_EQ(V(d.yOrg), t.y);
        EXPECT_EQ(V(d.Alpha), t.hasAlpha ? t.alpha : 99.0);
        EXPECT_EQ(V(d.bUseAlpha), t.useAlpha);
        EXPECT_EQ(V(d.bRotate), t.rotate);
        EXPECT_EQ(V(d.bUOffset), t.uOffset);
    }
}

// Zones each system leaves undefined, and the projection counts per system.
TEST(StatePlaneBuilders, SystemsDefineTheirOwnZonesOnly) {
    const std::vector<int> undefined27 = {75, 79, 105, 110};
    const std::vector<int> undefined83 = {23, 34, 61,  62,  63,  76,  77, 78,
                                          80, 81, 106, 107, 109, 111, 112};
    struct System {
        ProjType type;
        const std::vector<int>* undefined;
        std::map<int, int> counts; // projection type -> zones
    } systems[] = {
        {PT_STATE_PLANE_27, &undefined27, {{4, 57}, {5, 75}, {11, 1}, {12, 5}}},
        {PT_STATE_PLANE_83, &undefined83, {{4, 54}, {5, 68}, {12, 5}}},
    };
    for (const System& s : systems) {
        std::map<int, int> counts;
        std::vector<int> failed;
        for (int zone = -2; zone <= 145; ++zone) {
            PROJDATA d;
            std::memset(&d, 0, sizeof(d));
            d.Zone = static_cast<StateZoneType>(zone);
            if (StatePlaneBuild(s.type, &d)) {
                ++counts[d.Type];
                EXPECT_NE(V(d.Type), PT_STATE_PLANE_27);
                EXPECT_NE(V(d.Type), PT_STATE_PLANE_83);
            } else if (zone >= 0 && zone <= 141) {
                failed.push_back(zone);
            }
        }
        EXPECT_EQ(failed, *s.undefined) << "system " << s.type;
        EXPECT_EQ(counts, s.counts) << "system " << s.type;
    }
}

TEST(StatePlaneBuilders, FailureStillZeroesTheOriginFieldsOnly) {
    PROJDATA d = Sentinel(PT_STATE_PLANE_83, 34, true);
    EXPECT_FALSE(StatePlaneBuild83(&d));
    EXPECT_EQ(V(d.Type), PT_STATE_PLANE_83);
    EXPECT_EQ(static_cast<int>(V(d.Ellipsoid)), 7);
    for (double v : {d.Lon0, d.Lat0, d.Lon1, d.Lat1, d.Lon2, d.Lat2, d.xOrg, d.yOrg, d.K0})
        EXPECT_EQ(v, 0.0);
    EXPECT_EQ(V(d.Alpha), 16.0);
    EXPECT_FALSE(StatePlaneBuild(PT_LAMBERT_CONIC, &d));
}

// ------------------------------------------------------------ lookups

TEST(StatePlaneLookup, ByName) {
    struct Case {
        const char* name;
        bool found;
        int zone;
    } cases[] = {
        {"alabama east", true, 0},
        {"ALABAMA EAST", true, 0},
        {"Missippippi West", true, 71},
        {"Mississippi West", false, 142},
        {"Michigan Central (old)", true, 62},
        {"Michigan Central", true, 65},
        {"Great Lakes Survey 4", true, 141},
        {"Alabama East ", false, 142},
        {"Alabama", false, 142},
        {"\xC3\x84labama East", false, 142},
        {"\xFF\xFE", false, 142},
    };
    for (const Case& c : cases) {
        std::string text = c.name;
        StateZoneType zone = SZ_ALASKA_1;
        EXPECT_EQ(ProjGetStateZoneFromName(&zone, &text[0]), c.found) << c.name;
        EXPECT_EQ(static_cast<int>(zone), c.zone) << c.name;
    }
    std::string longName(100000, 'a');
    StateZoneType zone = SZ_ALASKA_1;
    EXPECT_FALSE(ProjGetStateZoneFromName(&zone, &longName[0]));
    EXPECT_EQ(zone, STATEZONE_NONE);

    // Refused before anything is stored.
    char empty[] = "";
    zone = SZ_ALASKA_1;
    EXPECT_FALSE(ProjGetStateZoneFromName(&zone, empty));
    EXPECT_EQ(zone, SZ_ALASKA_1);
    EXPECT_FALSE(ProjGetStateZoneFromName(&zone, nullptr));
    char name[] = "Delaware";
    EXPECT_FALSE(ProjGetStateZoneFromName(nullptr, name));
}

TEST(StatePlaneLookup, ByUSGSCode) {
    // FIPS zone codes (FIPS PUB 70; USGS state plane numbering).
    struct Case {
        int code;
        bool found;
        int zone;
    } cases[] = {
        {101, true, 0},     {5001, true, 2},   {5010, true, 11}, {600, true, 27},
        {1703, true, 55},   {2500, true, 75},  {2111, true, 64}, {5400, true, 34},
        {5300, true, 109},  {4904, true, 137}, {0, true, 138},   {102, true, 1},
        {9999, false, 142}, {100, false, 142},
    };
    for (const Case& c : cases) {
        StateZoneType zone = SZ_ALASKA_1;
        EXPECT_EQ(ProjGetStateZoneFromUSGSCode(&zone, c.code), c.found) << c.code;
        EXPECT_EQ(static_cast<int>(zone), c.zone) << c.code;
    }
    StateZoneType zone = SZ_ALASKA_1;
    EXPECT_FALSE(ProjGetStateZoneFromUSGSCode(&zone, -1)) << "the terminator's -1 is no code";
    EXPECT_EQ(zone, SZ_ALASKA_1);
    EXPECT_FALSE(ProjGetStateZoneFromUSGSCode(nullptr, 101));
}

TEST(StatePlaneLookup, ByEPSGCode) {
    // EPSG projected CRS codes of the original state plane series.
    struct Case {
        int code;
        bool found;
        ProjType type;
        int zone;
    } cases[] = {
        {26929, true, PT_STATE_PLANE_83, 0},
        {26729, true, PT_STATE_PLANE_27, 0},
        {32100, true, PT_STATE_PLANE_83, 75},
        {26747, true, PT_STATE_PLANE_27, 23},
        {32060, true, PT_STATE_PLANE_27, 107},
        // Shared by both South Carolina zones and the statewide zone: the
        // first row wins.
        {32133, true, PT_STATE_PLANE_83, 110},
        // Puerto Rico & Virgin Is. on NAD 83 is carried by St. Croix's row,
        // although the NAD 83 system does not define that zone.
        {32161, true, PT_STATE_PLANE_83, 107},
        {32099, false, PT_UNPROJECTED, 142},
        {4326, false, PT_UNPROJECTED, 142},
        {0, false, PT_UNPROJECTED, 142},
        {-1, false, PT_UNPROJECTED, 142},
    };
    for (const Case& c : cases) {
        ProjType type = PT_UNPROJECTED;
        StateZoneType zone = STATEZONE_NONE;
        EXPECT_EQ(ProjGetStateZoneFromPOSCNumber(c.code, &type, &zone), c.found) << c.code;
        EXPECT_EQ(type, c.type) << c.code;
        EXPECT_EQ(static_cast<int>(zone), c.zone) << c.code;
    }
    EXPECT_TRUE(ProjGetStateZoneFromPOSCNumber(26929, nullptr, nullptr));
}

TEST(StatePlaneLookup, ToEPSGCode) {
    struct Case {
        int type;
        int zone;
        bool found;
        int code;
    } cases[] = {
        {10, 75, true, 32100}, {9, 75, false, 0},  {9, 0, true, 26729},  {10, 0, true, 26929},
        {10, 34, false, 0},    {9, 138, false, 0}, {4, 0, false, 0},     {11, 0, false, 0},
        {10, 142, false, 0},   {10, -1, false, 0}, {10, 1000, false, 0}, {9, 141, false, 0},
    };
    for (const Case& c : cases) {
        int code = 0;
        EXPECT_EQ(ProjStateZoneToPOSCNumber(static_cast<ProjType>(c.type),
                                            static_cast<StateZoneType>(c.zone), &code),
                  c.found)
            << c.type << "/" << c.zone;
        EXPECT_EQ(code, c.code) << c.type << "/" << c.zone;
    }
}

TEST(StatePlaneLookup, InfoOutsideTheTableIsEmpty) {
    for (int zone : {-1, 142, 143, 1 << 30, -(1 << 30)}) {
        char name[kStateZoneNameLen];
        std::strcpy(name, "stale");
        int usgs = 99;
        ProjGetStateZoneInfo(static_cast<StateZoneType>(zone), name, &usgs);
        EXPECT_STREQ(name, "") << zone;
        EXPECT_EQ(usgs, 0) << zone;
        EXPECT_STREQ(StateZoneName(zone), "") << zone;
    }
    int usgs = 0;
    ProjGetStateZoneInfo(SZ_MONTANA, nullptr, &usgs);
    EXPECT_EQ(usgs, 2500);
    char name[kStateZoneNameLen];
    ProjGetStateZoneInfo(SZ_MONTANA, name, nullptr);
    EXPECT_STREQ(name, "Montana");
}

// ------------------------------------------------------------ record expansion

TEST(StatePlaneParams, ExpandsOrMarksTheZoneUnknown) {
    struct Case {
        int type;
        int zone;
        int zoneAfter;
        int typeAfter;
    } cases[] = {
        {10, 0, 0, 4},      // Alabama East, transverse Mercator
        {9, 34, 34, 11},    // Guam, polyconic on NAD 27
        {10, 34, 142, 10},  // not on NAD 83
        {9, 75, 142, 9},    // Montana: NAD 83 only
        {10, 139, 139, 12}, // Great Lakes
        {4, 0, 142, 4},     // not a state plane type
        {10, 142, 142, 10}, // no zone
        {10, -5, 142, 10},  {9, 100000, 142, 9},
    };
    for (const Case& c : cases) {
        PROJDATA d;
        std::memset(&d, 0, sizeof(d));
        d.Type = static_cast<ProjType>(c.type);
        d.Zone = static_cast<StateZoneType>(c.zone);
        d.Scale = 1;
        ProjGetStateZoneParams(&d);
        EXPECT_EQ(static_cast<int>(V(d.Zone)), c.zoneAfter) << c.type << "/" << c.zone;
        EXPECT_EQ(static_cast<int>(V(d.Type)), c.typeAfter) << c.type << "/" << c.zone;
        EXPECT_EQ(V(d.Scale), 1.0);
    }
    ProjGetStateZoneParams(nullptr); // must not fault
}

TEST(StatePlaneParams, TracesItsCall) {
    const char* dir = std::getenv("TMPDIR");
    const std::string log = std::string(dir && *dir ? dir : "/tmp") + "/stateplane-trace." +
                            std::to_string(::getpid()) + ".log";
    const bool was = LogIsEnabled();
    const std::string oldPath = LogPath();
    std::remove(log.c_str());
    LogSetup(true, log.c_str());
    PROJDATA d;
    std::memset(&d, 0, sizeof(d));
    d.Type = PT_STATE_PLANE_83;
    ProjGetStateZoneParams(&d);
    ProjGetStateZoneParams(nullptr);
    LogSetup(was, oldPath.c_str());

    std::ifstream in(log, std::ios::binary);
    std::stringstream text;
    text << in.rdbuf();
    std::remove(log.c_str());
    char expected[128];
    std::snprintf(expected, sizeof(expected), "ProjGetStateZoneParams(pData=%p)\r\n",
                  static_cast<void*>(&d));
    EXPECT_NE(text.str().find(expected), std::string::npos) << text.str();
    std::snprintf(expected, sizeof(expected), "ProjGetStateZoneParams(pData=%p)\r\n",
                  static_cast<void*>(nullptr));
    EXPECT_NE(text.str().find(expected), std::string::npos) << text.str();
}

} // namespace
