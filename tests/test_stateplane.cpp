// State plane zone catalogue: lookups and the NAD 27 / NAD 83 zone builders.
// tests/data/state_plane_zones.tsv holds the published zone definitions (EPSG
// dataset v10.076 as shipped with PROJ 9.1.1, FIPS zone codes; Great Lakes grids
// from PROJ's GL27 file) as the exact doubles the builders must produce.
#include "TestSupport.h"
#include "kvproj/stateplane.h"
#include "proj/StatePlane.h"

#include <gtest/gtest.h>

#include <cstring>
#include <map>

using namespace KVProj;

namespace {

using TsvRow = std::map<std::string, std::string>;

const std::vector<TsvRow>& ZoneFile() {
    static const std::vector<TsvRow> rows =
        kvtest::ReadTsv(std::string(KVPROJ_TEST_DATA_DIR) + "/state_plane_zones.tsv");
    return rows;
}

// PROJDATA is byte-packed: read its fields by value before comparing them.
template <typename T> T V(T value) {
    return value;
}
double Num(const std::string& s) {
    return std::strtod(s.c_str(), nullptr);
}
int Int(const std::string& s) {
    return std::atoi(s.c_str());
}

// Fields the builders must leave alone carry recognisable values.
PROJDATA Sentinel(ProjType type, int zone, bool flags) {
    PROJDATA d;
    std::memset(&d, 0, sizeof(d));
    d.Type = type, d.Zone = static_cast<StateZoneType>(zone), d.Scale = 2.5, d.xOrg = d.yOrg = 11;
    d.Lat0 = d.Lon0 = d.Lat1 = d.Lat2 = d.Lon1 = d.Lon2 = 12, d.Lat3 = 13, d.Lon3 = 14, d.K0 = 15;
    d.bSouth = true, d.bUseAlpha = d.bRotate = d.bUOffset = flags, d.Alpha = 16;
    d.Ellipsoid = static_cast<EllipsoidType>(7), d.MajorRadius = 17, d.Flattening = 0.125;
    d.iResult = 1, d.bWrapLon = true;
    std::memset(d.reserved, 0x5A, sizeof(d.reserved));
    return d;
}

// One zone of one system against its row of the data file.
void CheckZoneAgainstFile(const TsvRow& row, const std::string& sys, bool flags) {
    const int zone = Int(row.at("zone"));
    const ProjType type = sys == "27" ? PT_STATE_PLANE_27 : PT_STATE_PLANE_83;
    SCOPED_TRACE("zone " + row.at("zone") + " " + row.at("name") + " NAD " + sys +
                 (flags ? " (flags set)" : ""));
    PROJDATA d = Sentinel(type, zone, flags);
    const bool built = StatePlaneBuild(type, &d);
    auto cell = [&](const std::string& column) { return row.at(column + sys); };
    if (cell("t").empty()) {
        EXPECT_FALSE(built) << "the system does not define this zone";
        return;
    }
    ASSERT_TRUE(built);
    EXPECT_EQ(static_cast<int>(V(d.Type)), Int(cell("t")));
    EXPECT_EQ(static_cast<int>(V(d.Ellipsoid)), Int(cell("ell")));
    const double got[] = {d.Lon0, d.Lat0, d.Lat1, d.Lat2, d.Lon1, d.K0, d.xOrg, d.yOrg};
    const char* columns[] = {"lon0_", "lat0_", "lat1_", "lat2_", "lon1_", "k0_", "xorg_", "yorg_"};
    for (int i = 0; i < 8; ++i)
        EXPECT_EQ(got[i], Num(cell(columns[i]))) << columns[i];
    EXPECT_EQ(V(d.Alpha), cell("alpha_").empty() ? 16.0 : Num(cell("alpha_")));
    const bool flagValues[] = {d.bUseAlpha, d.bRotate, d.bUOffset};
    const char* flagColumns[] = {"usealpha_", "rotate_", "uoffset_"};
    for (int i = 0; i < 3; ++i)
        EXPECT_EQ(flagValues[i], cell(flagColumns[i]).empty() ? flags : cell(flagColumns[i]) == "1")
            << flagColumns[i];
    // Untouched: everything else; Lon2 is zeroed and never written.
    const PROJDATA ref = Sentinel(PT_UNPROJECTED, zone, flags);
    EXPECT_EQ(V(d.Lon2), 0.0);
    for (auto pair :
         {std::make_pair(V(d.Scale), V(ref.Scale)), std::make_pair(V(d.Lat3), V(ref.Lat3)),
          std::make_pair(V(d.Lon3), V(ref.Lon3)),
          std::make_pair(V(d.MajorRadius), V(ref.MajorRadius)),
          std::make_pair(V(d.Flattening), V(ref.Flattening))})
        EXPECT_EQ(pair.first, pair.second);
    EXPECT_EQ(static_cast<int>(V(d.Zone)), zone);
    EXPECT_TRUE(d.bSouth && d.bWrapLon && d.iResult == 1);
    EXPECT_EQ(0, std::memcmp(d.reserved, ref.reserved, sizeof(d.reserved)));
}

TEST(StatePlaneData, BuildersMatchPublishedDefinitions) {
    ASSERT_EQ(ZoneFile().size(), 142u) << "tests/data/state_plane_zones.tsv missing or short";
    for (size_t i = 0; i < ZoneFile().size(); ++i) {
        ASSERT_EQ(Int(ZoneFile()[i].at("zone")), static_cast<int>(i));
        for (const char* sys : {"27", "83"})
            for (bool flags : {false, true})
                CheckZoneAgainstFile(ZoneFile()[i], sys, flags);
    }
}

TEST(StatePlaneData, CatalogueMatchesNamesAndCodes) {
    for (const TsvRow& row : ZoneFile()) {
        const auto zone = static_cast<StateZoneType>(Int(row.at("zone")));
        const std::string& expectedName = row.at("name");
        SCOPED_TRACE(expectedName);
        char name[kStateZoneNameLen];
        int usgs = -7;
        ProjGetStateZoneInfo(zone, name, &usgs);
        EXPECT_EQ(name, expectedName);
        EXPECT_EQ(usgs, Int(row.at("usgs")));
        EXPECT_EQ(StateZoneName(zone), expectedName);
        const int codes[] = {Int(row.at("epsg27")), Int(row.at("epsg83"))};
        const ProjType types[] = {PT_STATE_PLANE_27, PT_STATE_PLANE_83};
        for (int i = 0; i < 2; ++i) {
            int code = 0;
            EXPECT_EQ(ProjStateZoneToPOSCNumber(types[i], zone, &code), codes[i] != 0);
            EXPECT_EQ(code, codes[i]);
        }
        // Every name and FIPS code leads back to its zone (no two rows share one).
        StateZoneType found = STATEZONE_NONE;
        std::string text = expectedName;
        EXPECT_TRUE(ProjGetStateZoneFromName(&found, &text[0]));
        EXPECT_EQ(found, zone);
        if (usgs != 0) {
            EXPECT_TRUE(ProjGetStateZoneFromUSGSCode(&found, usgs));
            EXPECT_EQ(found, zone);
        }
    }
}

// Zones each system leaves undefined, and the projection counts per system.
TEST(StatePlaneBuilders, SystemsDefineTheirOwnZonesOnly) {
    struct System {
        ProjType type;
        std::vector<int> undefined;
        std::map<int, int> counts; // projection type -> zones
    } systems[] = {
        {PT_STATE_PLANE_27, {75, 79, 105, 110}, {{4, 57}, {5, 75}, {11, 1}, {12, 5}}},
        {PT_STATE_PLANE_83,
         {23, 34, 61, 62, 63, 76, 77, 78, 80, 81, 106, 107, 109, 111, 112},
         {{4, 54}, {5, 68}, {12, 5}}},
    };
    for (const System& s : systems) {
        std::map<int, int> counts;
        std::vector<int> failed;
        for (int zone = -2; zone <= 145; ++zone) {
            PROJDATA d;
            std::memset(&d, 0, sizeof(d));
            d.Zone = static_cast<StateZoneType>(zone);
            if (StatePlaneBuild(s.type, &d))
                ++counts[d.Type];
            else if (zone >= 0 && zone <= 141)
                failed.push_back(zone);
        }
        EXPECT_EQ(failed, s.undefined) << "system " << s.type;
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

TEST(StatePlaneLookup, ByNameQuirks) {
    struct Case {
        const char* name;
        bool found;
        int zone;
    } cases[] = {
        {"ALABAMA EAST", true, 0},           {"Missippippi West", true, 71}, // the table's spelling
        {"Mississippi West", false, 142},    {"Michigan Central (old)", true, 62},
        {"Alabama East ", false, 142},       {"Alabama", false, 142},
        {"\xC3\x84labama East", false, 142}, {"\xFF\xFE", false, 142},
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
    char empty[] = "", name[] = "Delaware";
    zone = SZ_ALASKA_1;
    EXPECT_FALSE(ProjGetStateZoneFromName(&zone, empty)); // refused before anything is stored
    EXPECT_EQ(zone, SZ_ALASKA_1);
    EXPECT_FALSE(ProjGetStateZoneFromName(&zone, nullptr));
    EXPECT_FALSE(ProjGetStateZoneFromName(nullptr, name));
}

TEST(StatePlaneLookup, ByCodes) {
    // FIPS PUB 70 zone codes; 0 is the first Great Lakes grid, -1 (the terminator) no code.
    struct Fips {
        int code;
        bool found;
        int zone;
    } fips[] = {
        {5001, true, 2}, {0, true, 138}, {9999, false, 142}, {100, false, 142}, {-1, false, 2}};
    for (const Fips& c : fips) {
        StateZoneType zone = SZ_ALASKA_1;
        EXPECT_EQ(ProjGetStateZoneFromUSGSCode(&zone, c.code), c.found) << c.code;
        EXPECT_EQ(static_cast<int>(zone), c.zone) << c.code;
    }
    EXPECT_FALSE(ProjGetStateZoneFromUSGSCode(nullptr, 101));

    // EPSG projected CRS codes of the original series.
    struct Epsg {
        int code;
        bool found;
        ProjType type;
        int zone;
    } epsg[] = {
        {26729, true, PT_STATE_PLANE_27, 0},   {32100, true, PT_STATE_PLANE_83, 75},
        {32133, true, PT_STATE_PLANE_83, 110}, // shared by three rows: the first wins
        {32161, true, PT_STATE_PLANE_83, 107}, // on St. Croix's row, undefined on NAD 83
        {32099, false, PT_UNPROJECTED, 142},   {-1, false, PT_UNPROJECTED, 142},
    };
    for (const Epsg& c : epsg) {
        ProjType type = PT_UNPROJECTED;
        StateZoneType zone = STATEZONE_NONE;
        EXPECT_EQ(ProjGetStateZoneFromPOSCNumber(c.code, &type, &zone), c.found) << c.code;
        EXPECT_EQ(type, c.type) << c.code;
        EXPECT_EQ(static_cast<int>(zone), c.zone) << c.code;
    }
    EXPECT_TRUE(ProjGetStateZoneFromPOSCNumber(26929, nullptr, nullptr));
    for (auto tz : {std::make_pair(4, 0), std::make_pair(9, 138), std::make_pair(10, 142),
                    std::make_pair(10, -1), std::make_pair(10, 1000)}) {
        int code = 0;
        EXPECT_FALSE(ProjStateZoneToPOSCNumber(static_cast<ProjType>(tz.first),
                                               static_cast<StateZoneType>(tz.second), &code));
        EXPECT_EQ(code, 0);
    }
}

TEST(StatePlaneLookup, InfoOutsideTheTableIsEmpty) {
    for (int zone : {-1, 142, 1 << 30, -(1 << 30)}) {
        char name[kStateZoneNameLen] = "stale";
        int usgs = 99;
        ProjGetStateZoneInfo(static_cast<StateZoneType>(zone), name, &usgs);
        EXPECT_STREQ(name, "") << zone;
        EXPECT_EQ(usgs, 0) << zone;
        EXPECT_STREQ(StateZoneName(zone), "") << zone;
    }
    int usgs = 0;
    char name[kStateZoneNameLen];
    ProjGetStateZoneInfo(SZ_MONTANA, nullptr, &usgs);
    ProjGetStateZoneInfo(SZ_MONTANA, name, nullptr);
    EXPECT_EQ(usgs, 2500);
    EXPECT_STREQ(name, "Montana");
}

TEST(StatePlaneParams, ExpandsOrMarksTheZoneUnknownAndTraces) {
    struct Case {
        int type, zone, zoneAfter, typeAfter;
    } cases[] = {
        {10, 0, 0, 4},       {9, 34, 34, 11},
        {10, 139, 139, 12}, // defined zones expand
        {10, 34, 142, 10},   {9, 75, 142, 9},
        {4, 0, 142, 4}, // not in the system, not a state plane type
        {10, 142, 142, 10},  {10, -5, 142, 10},
        {9, 100000, 142, 9},
    };
    kvtest::LogCapture log("stateplane-trace");
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
    char expected[64];
    std::snprintf(expected, sizeof(expected), "ProjGetStateZoneParams(pData=%p)\r\n",
                  static_cast<void*>(nullptr));
    EXPECT_TRUE(kvtest::Contains(log.Text(), expected)) << log.Text();
}

} // namespace
