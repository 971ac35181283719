// UTM zone numbers, central meridians and zone names. Reference: the UTM grid
// definition (NGA/DMA TM 8358.2: 60 zones of 6 degrees, zone 1 from 180W) and
// EPSG 32612 (zone 12N, central meridian -111). Out-of-range arguments follow the
// 32-bit folding rule ((zone + 3599) rem 60) + 1, worked by hand with wrap-around.
#include "kvproj/utmzone.h"

#include <gtest/gtest.h>

#include <climits>
#include <cstring>
#include <limits>

using namespace KVProj;

namespace {

TEST(UTMZone, CentralMeridianAndZoneOfALongitude) {
    struct Meridian {
        int zone;
        double lon;
    } meridians[] = {
        {1, -177},       {12, -111},      {30, -3},      {31, 3}, {60, 177},
        {61, -177},      {0, 177},        {-3600, -183}, // below -3599 the remainder goes negative
        {INT_MAX, -237}, {INT_MIN, -231},
    };
    for (const Meridian& c : meridians)
        EXPECT_EQ(ProjUTMZoneNumberToLon(c.zone), c.lon) << c.zone;

    const double nan = std::numeric_limits<double>::quiet_NaN();
    struct Zone {
        double lon;
        int zone;
    } zones[] = {
        {-180, 1}, {-174, 2},    {-174.5, 2}, {-108.0001, 13}, // truncation toward zero moves east
        {-1, 30},  {-0.5, 31},   {6, 32},     {179.9, 60},     {180, 1},
        {540, 1},  {-129781, 1}, {nan, -50},  {1e300, -50}, // no integer value: INT_MIN through the
                                                            // rule, but an answer
    };
    for (const Zone& c : zones)
        EXPECT_EQ(ProjUTMLonToZoneNumber(c.lon), c.zone) << c.lon;
}

TEST(UTMZone, EveryZoneRoundTripsThroughItsMeridianAndItsNames) {
    for (int zone = 1; zone <= 60; ++zone) {
        const double central = ProjUTMZoneNumberToLon(zone);
        for (double offset : {0.0, 2.0, -2.9})
            EXPECT_EQ(ProjUTMLonToZoneNumber(central + offset), zone) << zone << " " << offset;
        // The west edge belongs to the zone except at the prime meridian.
        EXPECT_TRUE(central - 3 == 0 || ProjUTMLonToZoneNumber(central - 3) == zone) << zone;
        for (int style = 0; style <= 2; ++style)
            for (bool south : {false, true}) {
                char name[80];
                ASSERT_TRUE(ProjUTMZoneNumberToName(zone, south, name, sizeof(name),
                                                    static_cast<UTMZoneNameFormat>(style)));
                int back = 0;
                bool backSouth = !south;
                ASSERT_TRUE(ProjUTMZoneNameToNumber(name, &back, &backSouth)) << name;
                EXPECT_EQ(back, zone) << name;
                EXPECT_EQ(backSouth, south) << name;
            }
    }
}

TEST(UTMZone, NamesInTheThreeStyles) {
    struct Case {
        int zone;
        bool south;
        int style;
        const char* text;
    } cases[] = {
        {12, false, 0, "Zone 12N"},
        {12, false, 1, "Zone 12N (114W to 108W)"},
        {12, false, 2, "Zone 12N (-114 to -108)"},
        {31, true, 1, "Zone 31S (000E to 006E)"},
        {30, false, 2, "Zone 30N (-06 to +00)"},
        {60, true, 1, "Zone 60S (174E to 180E)"},
        {0, true, 0, "Zone 60S"},
        {-3600, false, 0, "Zone 00N"},
        {INT_MIN, false, 2, "Zone -8N (-234 to -228)"},
    };
    for (const Case& c : cases) {
        char name[80];
        ASSERT_TRUE(ProjUTMZoneNumberToName(c.zone, c.south, name, sizeof(name),
                                            static_cast<UTMZoneNameFormat>(c.style)))
            << c.text;
        EXPECT_STREQ(name, c.text);
    }
    // "Zone 31S" needs 9 characters with the terminator; nothing is written on failure.
    for (int size : {8, 1, 0, -5, INT_MIN}) {
        char name[16];
        std::memset(name, '#', sizeof(name));
        EXPECT_FALSE(ProjUTMZoneNumberToName(31, true, name, size, UTM_NAME_SHORT)) << size;
        EXPECT_EQ(std::string(name, sizeof name), std::string(16, '#')) << size;
    }
    char name[80];
    EXPECT_TRUE(ProjUTMZoneNumberToName(31, true, name, 9, UTM_NAME_SHORT));
    EXPECT_FALSE(ProjUTMZoneNumberToName(12, false, name, 80, static_cast<UTMZoneNameFormat>(3)));
    EXPECT_FALSE(ProjUTMZoneNumberToName(12, false, name, 80, static_cast<UTMZoneNameFormat>(-1)));
    EXPECT_FALSE(ProjUTMZoneNumberToName(12, false, nullptr, 80, UTM_NAME_SHORT));
}

TEST(UTMZone, ReadingNames) {
    struct Case {
        const char* text;
        bool ok;
        int zone;
        bool south;
    } cases[] = {
        {"+12 s", true, 12, true},
        {"zone 12 (114W to 108W)", true, 12, false},
        {"- 7\tS", true, 53, true},
        {"Zone x5", true, 5, false},
        {"0", true, 60, false},
        {"Zone 12 South", true, 12, true},
        {"99999999999999999999", true, 39, false}, // wraps in 32 bits before folding
        {"\xC3\xA9t\xC3\xA9 \xFF 3", true, 3, false},
        {"Zone", false, 0, false},
        {"", false, 0, false},
        {"Zone - N", false, 0, false},
    };
    for (const Case& c : cases) {
        int zone = 0;
        bool south = false;
        EXPECT_EQ(ProjUTMZoneNameToNumber(c.text, &zone, &south), c.ok) << c.text;
        EXPECT_EQ(zone, c.zone) << c.text;
        EXPECT_EQ(south, c.south) << c.text;
    }
    EXPECT_FALSE(ProjUTMZoneNameToNumber(nullptr, nullptr, nullptr));
    EXPECT_TRUE(ProjUTMZoneNameToNumber("Zone 12N", nullptr, nullptr));
}

} // namespace
