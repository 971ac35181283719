// State plane zone catalogue: lookups and the NAD 27 / NAD 83 zone builders.
// tests/data/state_plane_zones.tsv holds the published zone definitions (EPSG
// dataset v10.076 as shipped with PROJ 9.1.1, FIPS zone codes; Great Lakes grids
// from PROJ's GL27 file) as the exact doubles the builders must produce.
#include "TestSupport.h"
#include "kvproj/stateplane.h"
#include "proj/StatePlane.h"

#include <gtest/gtest.h>

#include <algorithm>
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

// The first byte at which two records differ, for the failure message.
size_t FirstDifference(const PROJDATA& a, const PROJDATA& b) {
    const unsigned char *x = reinterpret_cast<const unsigned char*>(&a),
                        *y = reinterpret_cast<const unsigned char*>(&b);
    return std::mismatch(x, x + sizeof a, y).first - x;
}

// One zone of one system against its row of the data file: the fields it defines
// as published, Lon2 zeroed, everything else untouched.
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
    PROJDATA want = Sentinel(static_cast<ProjType>(Int(cell("t"))), zone, flags);
    want.Ellipsoid = static_cast<EllipsoidType>(Int(cell("ell")));
    want.Lon0 = Num(cell("lon0_")), want.Lat0 = Num(cell("lat0_")), want.Lat1 = Num(cell("lat1_"));
    want.Lat2 = Num(cell("lat2_")), want.Lon1 = Num(cell("lon1_")), want.K0 = Num(cell("k0_"));
    want.xOrg = Num(cell("xorg_")), want.yOrg = Num(cell("yorg_")), want.Lon2 = 0.0;
    if (!cell("alpha_").empty()) want.Alpha = Num(cell("alpha_"));
    if (!cell("usealpha_").empty()) want.bUseAlpha = cell("usealpha_") == "1";
    if (!cell("rotate_").empty()) want.bRotate = cell("rotate_") == "1";
    if (!cell("uoffset_").empty()) want.bUOffset = cell("uoffset_") == "1";
    EXPECT_EQ(FirstDifference(d, want), sizeof d) << "Lon0 " << V(d.Lon0) << " K0 " << V(d.K0)
                                                  << " xOrg " << V(d.xOrg) << " yOrg " << V(d.yOrg);
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
        for (ProjType type : {PT_STATE_PLANE_27, PT_STATE_PLANE_83}) {
            const int want = Int(row.at(type == PT_STATE_PLANE_27 ? "epsg27" : "epsg83"));
            int code = 0;
            EXPECT_EQ(ProjStateZoneToPOSCNumber(type, zone, &code), want != 0);
            EXPECT_EQ(code, want);
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

TEST(StatePlaneBuilders, FailureStillZeroesTheOriginFieldsOnly) {
    PROJDATA d = Sentinel(PT_STATE_PLANE_83, 34, true);
    EXPECT_FALSE(StatePlaneBuild83(&d));
    EXPECT_EQ(V(d.Type), PT_STATE_PLANE_83);
    EXPECT_EQ(static_cast<int>(V(d.Ellipsoid)), 7);
    for (double v : {d.Lon0, d.Lat0, d.Lon1, d.Lat1, d.Lon2, d.Lat2, d.xOrg, d.yOrg, d.K0})
        EXPECT_EQ(v, 0.0);
    EXPECT_EQ(V(d.Alpha), 16.0);
    EXPECT_FALSE(StatePlaneBuild(PT_LAMBERT_CONIC, &d));
    // Zones the file leaves undefined are checked with it; these lie outside the table.
    for (ProjType type : {PT_STATE_PLANE_27, PT_STATE_PLANE_83})
        for (int zone : {-2, -1, 142, 145, 1 << 30}) {
            d.Zone = static_cast<StateZoneType>(zone);
            EXPECT_FALSE(StatePlaneBuild(type, &d)) << type << " " << zone;
        }
}

TEST(StatePlaneLookup, ByNameQuirks) {
    const struct {
        std::string name;
        bool found;
        int zone; // 2, the value before the call, when refused before anything is stored
    } cases[] = {
        {"ALABAMA EAST", true, 0},
        {"Missippippi West", true, 71}, // the table's spelling
        {"Mississippi West", false, 142},
        {"Michigan Central (old)", true, 62},
        {"Alabama East ", false, 142},
        {"Alabama", false, 142},
        {"\xC3\x84labama East", false, 142},
        {"\xFF\xFE", false, 142},
        {std::string(100000, 'a'), false, 142},
        {"", false, 2},
    };
    for (const auto& c : cases) {
        std::string text = c.name;
        StateZoneType zone = SZ_ALASKA_1;
        EXPECT_EQ(ProjGetStateZoneFromName(&zone, &text[0]), c.found) << c.name.substr(0, 30);
        EXPECT_EQ(static_cast<int>(zone), c.zone) << c.name.substr(0, 30);
    }
    StateZoneType zone = SZ_ALASKA_1;
    char name[] = "Delaware";
    EXPECT_FALSE(ProjGetStateZoneFromName(&zone, nullptr) ||
                 ProjGetStateZoneFromName(nullptr, name));
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
