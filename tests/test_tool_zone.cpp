// The zone, utm and check commands of the kvproj tool, run as a user runs them.
//
// Expected values: EPSG 26789 / 26989 (Michigan Central, NAD 27 / NAD 83),
// EPSG 26729 (Alabama East, NAD 27), the UTM grid definition (zone 12:
// 114W..108W, central meridian 111W), and the validator's documented bounds.
#include <gtest/gtest.h>

#include <cstdio>
#include <string>
#include <vector>
#include <sys/wait.h>

namespace {

struct ToolRun {
    int status;
    std::string out;
};

// Runs the tool with `args` (shell syntax) and collects stdout and stderr.
ToolRun Tool(const std::string& args, const std::string& input = "") {
    std::string command = std::string("'") + KVPROJ_TOOL_PATH + "' " + args + " 2>&1";
    if (!input.empty()) command = "printf '" + input + "' | " + command;
    FILE* pipe = popen(command.c_str(), "r");
    if (!pipe) return {-1, ""};
    std::string out;
    char buffer[4096];
    size_t n;
    while ((n = fread(buffer, 1, sizeof(buffer), pipe)) > 0)
        out.append(buffer, n);
    const int status = pclose(pipe);
    return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, out};
}

bool Has(const std::string& text, const std::string& part) {
    return text.find(part) != std::string::npos;
}

struct Case {
    const char* args;
    const char* input;
    int status;
    std::vector<const char*> expected; // substrings of the output
    std::vector<const char*> absent;
};

void RunCases(const std::vector<Case>& cases) {
    for (const Case& c : cases) {
        const ToolRun r = Tool(c.args, c.input ? c.input : "");
        EXPECT_EQ(r.status, c.status) << c.args << "\n" << r.out;
        for (const char* part : c.expected)
            EXPECT_TRUE(Has(r.out, part)) << c.args << " lacks '" << part << "'\n" << r.out;
        for (const char* part : c.absent)
            EXPECT_FALSE(Has(r.out, part)) << c.args << " has '" << part << "'\n" << r.out;
    }
}

TEST(ToolZone, FindsZonesByNameFipsAndEpsg) {
    const std::vector<const char*> michiganCentral = {
        "Zone 65: Michigan Central",
        "FIPS: 2112",
        "NAD 27: EPSG 26789",
        "NAD 83: EPSG 26989",
        "State Plane 1927, Michigan (42)",
        "False Easting:               609601.2192024384", // 2 000 000 US ft
        "False Easting:               6000000",
        "Central Longitude:           -84.36666666666666", // 84 22 W on NAD 83
        "Central Longitude:           -84.33333333333333", // 84 20 W on NAD 27
        "Standard Parallel:           45.7",
    };
    RunCases({
        {"zone 'michigan central'", nullptr, 0, michiganCentral, {}},
        {"zone Michigan Central", nullptr, 0, michiganCentral, {}},
        {"zone 2112", nullptr, 0, michiganCentral, {}},
        {"zone 26989", nullptr, 0, michiganCentral, {}},
        {"zone 26789", nullptr, 0, michiganCentral, {}},
        {"zone --value 65", nullptr, 0, michiganCentral, {}},
        {"zone 101",
         nullptr,
         0,
         {"Zone 0: Alabama East", "Transverse Mercator (4)", "Central Scale Factor (K0):   0.99996",
          "False Easting:               152400.3048006096", "Central Latitude:            30.5"},
         {}},
        {"zone 'guam island'",
         nullptr,
         0,
         {"Zone 34: Guam Island", "NAD 27: no EPSG code", "Polyconic (11)", "NAD 83: not defined"},
         {}},
        {"zone Montana",
         nullptr,
         0,
         {"FIPS: 2500", "NAD 27: not defined", "NAD 83: EPSG 32100"},
         {}},
        {"zone 'Great Lakes Survey 1'",
         nullptr,
         0,
         {"FIPS: none", "Hotine Oblique Mercator (12)"},
         {}},
    });
}

TEST(ToolZone, RefusesWhatIsNoZone) {
    RunCases({
        {"zone", nullptr, 2, {"kvproj: zone:"}, {}},
        {"zone Atlantis", nullptr, 2, {"unknown zone 'Atlantis'"}, {}},
        {"zone 0", nullptr, 2, {"no state plane zone has FIPS code 0"}, {"Great Lakes"}},
        {"zone 4326", nullptr, 2, {"FIPS code 4326"}, {}},
        {"zone 32099", nullptr, 2, {"EPSG code 32099"}, {}},
        {"zone --value 142", nullptr, 2, {"--value takes"}, {}},
        {"zone --value", nullptr, 2, {"--value takes"}, {}},
    });
}

TEST(ToolUtm, LongitudesAndZones) {
    const std::vector<const char*> zone12 = {"Zone:             12N", "Central meridian: -111",
                                             "Zone span:        -114 to -108",
                                             "Zone 12N (114W to 108W)", "Zone 12N (-114 to -108)"};
    RunCases({
        {"utm -111.5", nullptr, 0, zone12, {}},
        {"utm 111d30\\'W", nullptr, 0, zone12, {}},
        {"utm 12", nullptr, 0, zone12, {"Longitude:"}},
        {"utm 'Zone 12 N'", nullptr, 0, zone12, {}},
        {"utm 31s", nullptr, 0, {"Zone:             31S", "Zone 31S (000E to 006E)"}, {}},
        {"utm 60 --south", nullptr, 0, {"Zone 60S (174E to 180E)"}, {}},
        // A fraction west of the prime meridian counts in zone 31.
        {"utm -0.5", nullptr, 0, {"Zone:             31N"}, {}},
        {"utm 180.0", nullptr, 0, {"Zone:             1N"}, {}},
        {"utm 61.0", nullptr, 0, {"Zone:             41N"}, {}},
        {"utm", nullptr, 2, {"kvproj: utm:"}, {}},
        {"utm east", nullptr, 2, {"neither a longitude nor a zone"}, {}},
        {"utm 400", nullptr, 2, {"outside"}, {}},
        {"utm nan", nullptr, 2, {"kvproj: utm:"}, {}},
    });
}

TEST(ToolCheck, Verdicts) {
    RunCases({
        {"check type=5 lat1=30 lat2=31 ellipsoid=15", nullptr, 0, {"valid"}, {"invalid"}},
        {"check 'Projection=Lambert Conformal Conic' 'Standard Parallel=30' Lat2=30.1 "
         "ellipsoid='Clarke 1866'",
         nullptr,
         1,
         {"invalid", "parameter: 7 (Standard Parallel)",
          "message:   Standard parallels (Lat1, Lat2) cannot be similar for Lambert Conformal "
          "Conic projection"},
         {}},
        {"check type=9 zone=montana",
         nullptr,
         1,
         {"parameter: 15 (State Zone)", "State zone parameter not recognized"},
         {}},
        {"check type=10 zone=Montana", nullptr, 0, {"valid"}, {}},
        // Latitudes are held to +-360 only.
        {"check type=3 lat0=100 ellipsoid=3", nullptr, 0, {"valid"}, {}},
        {"check type=3 lon0=360 ellipsoid=3", nullptr, 1, {"parameter: 6 (Central Longitude)"}, {}},
        {"check type=3 lon0=nan ellipsoid=3", nullptr, 1, {"parameter: 6 (Central Longitude)"}, {}},
        {"check type=25 lat1=90 lat2=45 ellipsoid=3",
         nullptr,
         1,
         {"parameter: 8 (2nd Standard Parallel)", "cannot be 90 degrees"},
         {}},
        {"check type=1 ellipsoid=0 majorradius=6378137 flattening=1",
         nullptr,
         1,
         {"parameter: 22 (Ellipsoid Flattening)"},
         {}},
        {"check type=1", nullptr, 1, {"parameter: 21 (Ellipsoid Radius (meters))"}, {}},
        {"check type=undefined scale=-1", nullptr, 0, {"valid"}, {}},
        // Names as the projection catalogue spells them: 17, not the UTM type.
        {"check 'type=transverse mercator' k0=-1 ellipsoid=3",
         nullptr,
         1,
         {"parameter: 13 (Central Scale Factor (K0))"},
         {}},
        {"check 'type=Universal Transverse Mercator (UTM)' xorg=1e39 ellipsoid=3",
         nullptr,
         0,
         {"valid"},
         {}},
        {"check 'type=transverse mercator' xorg=1e39 ellipsoid=3",
         nullptr,
         1,
         {"parameter: 3 (False Easting)"},
         {}},
        {"check type=12 ellipsoid=15 busealpha=yes alpha=0",
         nullptr,
         1,
         {"parameter: 17 (Alpha (Azimuth))", "cannot be zero for Hotine"},
         {}},
    });
}

TEST(ToolCheck, ReadsRecordsFromInput) {
    RunCases({
        {"check", "# Alabama East\\nType = 10\\n\\nState Zone = Alabama East\\n", 0, {"valid"}, {}},
        {"check -",
         "type=2\\nlat1=-30\\nlat2=30\\nellipsoid=3\\n",
         1,
         {"parameter: 7 (Standard Parallel)", "Albers"},
         {}},
        {"check",
         "type=5\\nlat1=30\\nlatitude=3\\n",
         2,
         {"kvproj: check: <stdin>:3: unknown parameter 'latitude'"},
         {}},
        {"check", "type=5\\nlat1 30\\n", 2, {"<stdin>:2: expected key=value"}, {}},
        {"check",
         "bSouth=maybe\\n",
         2,
         {"bad value 'maybe' for Projection in Southern Hemisphere"},
         {}},
        {"check", "zone=Atlantis\\n", 2, {"bad value 'Atlantis' for State Zone"}, {}},
        {"check /nonexistent/record.txt", nullptr, 2, {"cannot open"}, {}},
    });
}

TEST(ToolListZones, ListsBothSystems) {
    const ToolRun probe = Tool("list zones");
    if (probe.status == 2 && Has(probe.out, "unknown catalogue"))
        GTEST_SKIP() << "this build's 'kvproj list' has no zone catalogue";
    RunCases({
        {"list zones",
         nullptr,
         0,
         {"   0   101  26729  TM          26929  TM          Alabama East",
          "  75  2500      -  -           32100  Lambert     Montana",
          " 141     0      -  Hotine          -  Hotine      Great Lakes Survey 4"},
         {}},
        {"list zones --system 83",
         nullptr,
         0,
         {"  75  2500  32100  Lambert     Montana"},
         {"Guam Island", "Montana North"}},
        {"list zones --system 27",
         nullptr,
         0,
         {"  34  5400      -  Polyconic   Guam Island"},
         {"  75  2500"}},
        {"list zones --system 84", nullptr, 2, {"--system takes 27 or 83"}, {}},
    });
    // One line per zone the system defines, plus the header.
    struct Count {
        const char* args;
        size_t lines;
    } counts[] = {
        {"list zones", 143}, {"list zones --system 27", 139}, {"list zones --system 83", 128}};
    for (const Count& c : counts) {
        const ToolRun r = Tool(c.args);
        size_t lines = 0;
        for (char ch : r.out)
            lines += ch == '\n';
        EXPECT_EQ(lines, c.lines) << c.args;
    }
}

} // namespace
