// UTM zone numbers, central meridians and zone names.
//
// Reference values: the UTM grid definition (NGA/DMA TM 8358.2: 60 zones of
// 6 degrees, zone 1 from 180W to 174W) and EPSG's WGS 84 / UTM CRSs (e.g.
// EPSG 32612, zone 12N: central meridian -111). Out-of-range arguments follow
// the library's 32-bit folding rule ((zone + 3599) rem 60) + 1, computed here
// by hand with two's-complement wrap.
#include "kvproj/utmzone.h"

#include <gtest/gtest.h>

#include <climits>
#include <cmath>
#include <cstring>
#include <limits>
#include <string>

using namespace KVProj;

namespace {

TEST(UTMZone, CentralMeridian) {
    struct Case {
        int zone;
        double lon;
    } cases[] = {
        {1, -177},
        {2, -171},
        {12, -111},
        {30, -3},
        {31, 3},
        {60, 177},
        // folded
        {61, -177},
        {0, 177},
        {-1, 171},
        {120, 177},
        {-3599, -177},
        // below -3599 the remainder goes negative: zone 0 and -9 of the rule
        {-3600, -183},
        {INT_MAX, -237}, // (INT_MAX + 3599) wraps to -2147480050; rem 60 = -10
        {INT_MIN, -231},
    };
    for (const Case& c : cases)
        EXPECT_EQ(ProjUTMZoneNumberToLon(c.zone), c.lon) << c.zone;
}

TEST(UTMZone, LongitudeToZone) {
    const double nan = std::numeric_limits<double>::quiet_NaN();
    struct Case {
        double lon;
        int zone;
    } cases[] = {
        {-180, 1},
        {-177, 1},
        {-174, 2},
        {-111, 12},
        {-108, 13},
        // Truncation toward zero: a fraction west of a zone edge counts east of it.
        {-174.5, 2},
        {-108.0001, 13},
        {-6, 30},
        {-1, 30},
        {-0.5, 31},
        {-0.0, 31},
        {0, 31},
        {5.999, 31},
        {6, 32},
        {179.9, 60},
        {180, 1},
        {359, 30},
        {540, 1},
        {-540, 1},
        {-129780, 1},
        {-129781, 1},
        // No integer value: the hardware's truncation gives INT_MIN, and the
        // rule then answers -50. What matters is that it answers at all.
        {nan, -50},
        {1e300, -50},
        {-1e300, -50},
    };
    for (const Case& c : cases)
        EXPECT_EQ(ProjUTMLonToZoneNumber(c.lon), c.zone) << c.lon;
}

TEST(UTMZone, EveryZoneRoundTripsThroughItsMeridian) {
    for (int zone = 1; zone <= 60; ++zone) {
        const double central = ProjUTMZoneNumberToLon(zone);
        EXPECT_EQ(ProjUTMLonToZoneNumber(central), zone);
        EXPECT_EQ(ProjUTMLonToZoneNumber(central + 2.0), zone);
        EXPECT_EQ(ProjUTMLonToZoneNumber(central - 2.9), zone);
        // West edge belongs to the zone except around the prime meridian,
        // where truncation toward zero moves (-1, 0) east.
        if (central - 3 != 0) {
            EXPECT_EQ(ProjUTMLonToZoneNumber(central - 3), zone);
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
        {30, false, 1, "Zone 30N (006W to 000E)"},
        {30, false, 2, "Zone 30N (-06 to +00)"},
        {1, false, 1, "Zone 01N (180W to 174W)"},
        {1, true, 2, "Zone 01S (-180 to -174)"},
        {60, true, 1, "Zone 60S (174E to 180E)"},
        {60, false, 2, "Zone 60N (+174 to +180)"},
        {61, false, 0, "Zone 01N"},
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
}

TEST(UTMZone, NameNeedsRoomForTheWholeText) {
    // "Zone 31S" is 8 characters: it needs 9 with the terminator.
    struct Case {
        int size;
        bool ok;
    } cases[] = {{8, false}, {9, true}, {1, false}, {0, false}, {-5, false}, {INT_MIN, false}};
    for (const Case& c : cases) {
        char name[16];
        std::memset(name, '#', sizeof(name));
        EXPECT_EQ(ProjUTMZoneNumberToName(31, true, name, c.size, UTM_NAME_SHORT), c.ok) << c.size;
        if (c.ok) {
            EXPECT_STREQ(name, "Zone 31S");
        } else {
            for (char ch : name)
                EXPECT_EQ(ch, '#') << "buffer written on failure, size " << c.size;
        }
    }
    char name[80];
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
        {"Zone 12N", true, 12, false},
        {"12", true, 12, false},
        {"+12 s", true, 12, true},
        {"zone 12 (114W to 108W)", true, 12, false},
        {"Zone 31S (000E to 006E)", true, 31, true},
        {"-5", true, 55, false},
        {"- 7\tS", true, 53, true},
        {"Zone x5", true, 5, false},
        {"61", true, 1, false},
        {"0", true, 60, false},
        {"Zone 12 South", true, 12, true},
        {"Zone 12 north", true, 12, false},
        {"007s", true, 7, true},
        // Any number of digits; the value wraps in 32 bits before folding.
        {"99999999999999999999", true, 39, false},
        {"Zone", false, 0, false},
        {"", false, 0, false},
        {"Zone +", false, 0, false},
        {"Zone - N", false, 0, false},
        {"\xC3\xA9t\xC3\xA9 \xFF 3", true, 3, false},
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

TEST(UTMZone, EveryNameReadsBack) {
    for (int style = 0; style <= 2; ++style)
        for (int zone = 1; zone <= 60; ++zone)
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

} // namespace
