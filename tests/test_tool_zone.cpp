// The zone, utm, check and "list zones" commands of the kvproj tool, run as a user
// runs them. Expected values: EPSG 26789 / 26989 (Michigan Central, NAD 27 / NAD 83),
// EPSG 26729 (Alabama East, NAD 27), the UTM grid definition (zone 12: 114W..108W,
// central meridian 111W), and the validator's documented bounds.
#include "TestSupport.h"

#include <gtest/gtest.h>

namespace {

struct Case {
    const char* args;
    int status;
    const char* expected;    // '|'-separated parts of standard output and error together
    const char* absent = ""; // the same, for parts that must not appear
    const char* input = "";
};

std::vector<std::string> Parts(const std::string& text) {
    std::vector<std::string> parts;
    std::stringstream ss(text);
    for (std::string part; std::getline(ss, part, '|');)
        parts.push_back(part);
    return parts;
}

void RunCases(const std::vector<Case>& cases) {
    for (const Case& c : cases) {
        const kvtest::ToolRun r = kvtest::RunTool(c.args, c.input);
        const std::string all = r.out + r.err;
        EXPECT_EQ(r.status, c.status) << c.args << "\n" << all;
        for (const std::string& part : Parts(c.expected))
            EXPECT_TRUE(kvtest::Contains(all, part)) << c.args << " lacks '" << part << "'\n"
                                                     << all;
        for (const std::string& part : Parts(c.absent))
            EXPECT_FALSE(kvtest::Contains(all, part)) << c.args << " has '" << part << "'\n" << all;
    }
}

// 2 000 000 US ft; 84 22 W on NAD 83, 84 20 W on NAD 27.
const char* kMichigan = "Zone 65: Michigan Central|FIPS: 2112|NAD 27: EPSG 26789|"
                        "NAD 83: EPSG 26989|State Plane 1927, Michigan (42)|"
                        "False Easting:               609601.2192024384|"
                        "Central Longitude:           -84.36666666666666|"
                        "Central Longitude:           -84.33333333333333|"
                        "Standard Parallel:           45.7";

TEST(ToolZone, FindsZonesByNameFipsAndEpsgAndRefusesTheRest) {
    RunCases({
        {"zone 'michigan central'", 0, kMichigan},
        {"zone Michigan Central", 0, kMichigan},
        {"zone 2112", 0, kMichigan},
        {"zone 26789", 0, kMichigan},
        {"zone --value 65", 0, kMichigan},
        {"zone 101", 0,
         "Zone 0: Alabama East|Transverse Mercator (4)|Central Scale Factor (K0):   0.99996|"
         "False Easting:               152400.3048006096|Central Latitude:            30.5"},
        {"zone 'guam island'", 0, "NAD 27: no EPSG code|Polyconic (11)|NAD 83: not defined"},
        {"zone Montana", 0, "NAD 27: not defined|NAD 83: EPSG 32100"},
        {"zone 'Great Lakes Survey 1'", 0, "FIPS: none|Hotine Oblique Mercator (12)"},
        {"zone", 2, "kvproj: zone:"},
        {"zone Atlantis", 2, "unknown zone 'Atlantis'"},
        {"zone 0", 2, "no state plane zone has FIPS code 0", "Great Lakes"},
        {"zone 32099", 2, "EPSG code 32099"},
        {"zone --value 142", 2, "--value takes"},
    });
}

TEST(ToolUtm, LongitudesAndZones) {
    const char* zone12 = "Zone:             12N|Central meridian: -111|Zone span:        -114 to "
                         "-108|Zone 12N (114W to 108W)|Zone 12N (-114 to -108)";
    RunCases({
        {"utm -111.5", 0, zone12},
        {"utm 111d30\\'W", 0, zone12},
        {"utm 12", 0, zone12, "Longitude:"},
        {"utm 'Zone 12 N'", 0, zone12},
        {"utm 31s", 0, "Zone:             31S|Zone 31S (000E to 006E)"},
        {"utm 60 --south", 0, "Zone 60S (174E to 180E)"},
        {"utm -0.5", 0, "Zone:             31N"}, // truncation toward zero
        {"utm 61.0", 0, "Zone:             41N"},
        {"utm east", 2, "neither a longitude nor a zone"},
        {"utm 400", 2, "outside"},
        {"utm nan", 2, "kvproj: utm:"},
    });
}

TEST(ToolCheck, VerdictsOnArgumentsAndInput) {
    RunCases({
        {"check type=5 lat1=30 lat2=31 ellipsoid=15", 0, "valid", "invalid"},
        {"check 'Projection=Lambert Conformal Conic' 'Standard Parallel=30' Lat2=30.1 "
         "ellipsoid='Clarke 1866'",
         1,
         "invalid|parameter: 7 (Standard Parallel)|message:   Standard parallels (Lat1, Lat2) "
         "cannot be similar for Lambert Conformal Conic projection"},
        {"check type=9 zone=montana", 1,
         "parameter: 15 (State Zone)|State zone parameter not recognized"},
        {"check type=10 zone=Montana", 0, "valid"},
        {"check type=3 lat0=100 ellipsoid=3", 0, "valid"}, // latitudes are held to +-360 only
        {"check type=3 lon0=nan ellipsoid=3", 1, "parameter: 6 (Central Longitude)"},
        {"check type=1 ellipsoid=0 majorradius=6378137 flattening=1", 1,
         "parameter: 22 (Ellipsoid Flattening)"},
        {"check type=undefined scale=-1", 0, "valid"},
        // Names as the catalogue spells them: 17, not the UTM type.
        {"check 'type=transverse mercator' xorg=1e39 ellipsoid=3", 1,
         "parameter: 3 (False Easting)"},
        {"check 'type=Universal Transverse Mercator (UTM)' xorg=1e39 ellipsoid=3", 0, "valid"},
        {"check type=12 ellipsoid=15 busealpha=yes alpha=0", 1,
         "parameter: 17 (Alpha (Azimuth))|cannot be zero for Hotine"},
        {"check", 0, "valid", "", "# Alabama East\nType = 10\n\nState Zone = Alabama East\n"},
        {"check -", 1, "parameter: 7 (Standard Parallel)|Albers", "",
         "type=2\nlat1=-30\nlat2=30\nellipsoid=3\n"},
        {"check", 2, "kvproj: check: <stdin>:3: unknown parameter 'latitude'", "",
         "type=5\nlat1=30\nlatitude=3\n"},
        {"check", 2, "<stdin>:2: expected key=value", "", "type=5\nlat1 30\n"},
        {"check", 2, "bad value 'maybe' for Projection in Southern Hemisphere", "",
         "bSouth=maybe\n"},
        {"check /nonexistent/record.txt", 1, "cannot open"}, // a failed read
    });
}

TEST(ToolListZones, ListsBothSystems) {
    RunCases({
        {"list zones", 0,
         "   0   101  26729  TM          26929  TM          Alabama East|"
         "  75  2500      -  -           32100  Lambert     Montana|"
         " 141     0      -  Hotine          -  Hotine      Great Lakes Survey 4"},
        {"list zones --system 83", 0, "  75  2500  32100  Lambert     Montana",
         "Guam Island|Montana North"},
        {"list zones --system 27", 0, "  34  5400      -  Polyconic   Guam Island", "  75  2500"},
        {"list zones --system 84", 2, "--system takes 27 or 83"},
    });
    // One line per zone the system defines, plus the header.
    for (auto c :
         {std::make_pair("list zones", 143u), std::make_pair("list zones --system 27", 139u),
          std::make_pair("list zones --system 83", 128u)})
        EXPECT_EQ(kvtest::RunTool(c.first).Lines().size(), c.second) << c.first;
}

} // namespace
