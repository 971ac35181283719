// Reading and writing angle text: documented examples, quirks that hosts
// rely on, bounds, and write-then-read round trips over many styles.
#include "kvproj/angle.h"

#include <gtest/gtest.h>

#include <clocale>
#include <cmath>
#include <cstring>
#include <limits>
#include <random>
#include <string>

using namespace KVProj;

namespace {

bool Read(const std::string& text, double* degrees, char mark = 'd') {
    std::string copy = text;
    return LatLonToDegrees(&copy[0], degrees, mark);
}

// Expected values are worked by hand from d + m/60 + s/3600.
struct ReadCase {
    const char* text;
    char mark;
    bool ok;
    double expected;
};
const ReadCase kReadCases[] = {
    {"12d30'S", 'd', true, -12.5},
    {"12 30", 'd', false, 0}, // no degree mark: "30" is left over
    {"", 'd', false, 0},
    {" \t12.5 N \t", 'd', true, 12.5},
    {"12.5  N", 'd', false, 0},     // only one blank before the letter
    {"-12d30'S", 'd', true, -12.5}, // the letter sets the sign, never flips it
    {"12.5s", 'd', true, -12.5},
    {"12d30m15S", 'd', true, -12.504166666666667},  // upper case is no seconds mark
    {"12d30m15s", 'd', true, 12.504166666666667},   // lower case is
    {"12d30m15 s", 'd', true, -12.504166666666667}, // after a blank it is a letter
    {"12D30'", 'd', true, 12.5},
    {"12\xb0"
     "30'N",
     '\xb0', true, 12.5},
    {"12d75'", 'd', true, 13.25}, // minutes are not range-checked
    {"12d30 15", 'd', false, 0},  // seconds need the minutes mark first
    {".", 'd', false, 0},
    {"d30", 'd', false, 0},
    {"12 d", 'd', false, 0},
    {"1e5", 'd', false, 0}, // 'e' is the hemisphere letter, "5" is left over
    {"12d30'15\"E extra", 'd', false, 0},
    {"12", '\0', true, 12}, // a NUL mark never matches the terminator
};

TEST(LatLonToDegrees, Cases) {
    for (const ReadCase& c : kReadCases) {
        double v = -999;
        EXPECT_EQ(c.ok, Read(c.text, &v, c.mark)) << '"' << c.text << '"';
        EXPECT_NEAR(c.ok ? c.expected : v, v, 1e-13) << '"' << c.text << '"';
    }
}

TEST(LatLonToDegrees, BoundsPartialValuesAndNulls) {
    double v = 0;
    EXPECT_FALSE(Read("-12d30'x", &v));
    EXPECT_EQ(12.5, v); // a failure keeps the unsigned partial value
    v = 7;
    EXPECT_FALSE(Read("x", &v));
    EXPECT_EQ(7, v);
    char text[] = "12.5";
    EXPECT_FALSE(LatLonToDegrees(nullptr, &v, 'd'));
    EXPECT_FALSE(LatLonToDegrees(text, nullptr, 'd'));
    // Numbers are bounded to 64 characters.
    const std::string digits63(63, '0');
    EXPECT_TRUE(Read(digits63 + "7", &v)); // 64 characters
    EXPECT_EQ(7, v);
    EXPECT_FALSE(Read(digits63 + "07", &v));
    EXPECT_TRUE(Read("1." + std::string(62, '5'), &v));
    EXPECT_FALSE(Read("1." + std::string(63, '5'), &v));
    EXPECT_FALSE(Read("12d" + digits63 + "07'", &v));
    EXPECT_FALSE(Read("12d30'" + digits63 + "07\"", &v));
    // A long run is refused, not read past: no overrun under the sanitizers.
    EXPECT_FALSE(Read(std::string(100000, '9'), &v));
    EXPECT_TRUE(Read(std::string(64, '9'), &v));
    EXPECT_DOUBLE_EQ(1e64, v);
}

const char kNoMarks[3] = {'\0', '\0', '\0'};

struct WriteCase {
    double degrees;
    int flags;
    const char* marks; // degree, minute, second
    bool ok;
    const char* expected;
};
// Expected texts are worked by hand from the flag meanings and C printf.
const WriteCase kWriteCases[] = {
    {-12.5, 0x3300, "dms", true, "12d 30m S"},
    {10.5, 0x0010 | 2, "dms", true, "10.50"},
    {10.5, 0x00C0 | 2, "dms", false, ""},
    {12.5, 0, "d'\"", true, "12d30'0\""},
    {12.504166666666667, 0x4000 | 2, "d'\"", true, "12d30'15.00\""},
    {5.0833333333333333, 0x4000 | 1, "d'\"", true, "5d04'60.0\""}, // truncation, not rounding
    {5.5, 0x4100, "dms", true, "5d030m"},         // zero padding is to n + 3 characters
    {12.99999999, 0, "d'\"", true, "12d59'60\""}, // no carry
    {-12.5, 0x0030 | 1, "dms", true, "-12.5"},
    {12.5, 0x0050 | 1, "dms", true, "+12.5"},
    {12.5, 0x0090 | 1, "dms", true, " 12.5"},
    {-12.5, 0x0050 | 1, "dms", true, "12.5"}, // no sign without 0x20
    {-77.25, 0x1300 | 2, "dms", true, "77d 15.00m W"},
    {-12.5, 0x1320, "dms", true, "-12d 30m W"},
    {-45.5, 0x3210 | 1, "dms", true, "45.5 S"},
    {-0.0, 0x0030 | 2, "dms", true, "0.00"}, // negative zero is not negative
    {-1e-9, 0x0030 | 2, "dms", true, "-0.00"},
    {12.5, 0x0100 | 1, kNoMarks, true, "1230.0"},
    {179.99972222222222, 0x5200 | 0x2, "d'\"", true, "179d 59' 59.00\" E"},
    {1234567.5, 0x0100, "dms", true, "1.23457e+06d30m"}, // %g keeps six digits
    {std::nan(""), 0x0010, "dms", false, ""},
};

TEST(DegreesToLatLon, Cases) {
    for (const WriteCase& c : kWriteCases) {
        char text[LL_TEXT_LEN];
        std::strcpy(text, "untouched");
        EXPECT_EQ(c.ok,
                  DegreesToLatLon(text, c.degrees, c.flags, c.marks[0], c.marks[1], c.marks[2]))
            << c.degrees << " flags 0x" << std::hex << c.flags;
        EXPECT_STREQ(c.ok ? c.expected : "untouched", text)
            << c.degrees << " flags 0x" << std::hex << c.flags;
    }
    EXPECT_FALSE(DegreesToLatLon(nullptr, 1.0, 0, 'd', 'm', 's'));
}

TEST(DegreesToLatLon, TextNeverExceedsItsBound) {
    // Fifteen decimals of 1e300 would take 316 characters.
    char text[LL_TEXT_LEN + 16];
    std::memset(text, '#', sizeof text);
    ASSERT_TRUE(DegreesToLatLon(text, -1e300, 0x30 | 15, 'd', 'm', 's'));
    EXPECT_EQ(size_t(LL_TEXT_LEN - 1), std::strlen(text));
    EXPECT_EQ(0, std::strncmp(text, "-1000000000000000052504760255204420248704468581108", 50));
    for (size_t i = LL_TEXT_LEN; i < sizeof text; ++i)
        EXPECT_EQ('#', text[i]);
    ASSERT_TRUE(DegreesToLatLon(text, std::numeric_limits<double>::max(), 0x7F3F, 'd', 'm', 's'));
    EXPECT_LT(std::strlen(text), size_t(LL_TEXT_LEN));
}

TEST(DegreesToLatLon, WritesAPointWhateverTheLocale) {
    const char* commaLocales[] = {"de_DE.UTF-8", "de_DE.utf8", "fr_FR.UTF-8", "fr_FR.utf8"};
    bool switched = false;
    for (const char* name : commaLocales)
        if (std::setlocale(LC_NUMERIC, name) && *std::localeconv()->decimal_point == ',') {
            switched = true;
            break;
        }
    if (!switched) GTEST_SKIP() << "no locale with a decimal comma installed";
    char text[LL_TEXT_LEN];
    const bool ok = DegreesToLatLon(text, -12.504, 0x0120 | 3, 'd', 'm', 's');
    std::setlocale(LC_NUMERIC, "C");
    ASSERT_TRUE(ok);
    EXPECT_STREQ("-12d30.240m", text);
}

// Unit of the last printed number, in degrees.
double LastUnit(int flags) {
    if (flags & LL_DECIMAL_DEGREES) return 1.0;
    return (flags & LL_DECIMAL_MINUTES) ? 1.0 / 60 : 1.0 / 3600;
}

TEST(AngleRoundTrip, WrittenTextReadsBackWithinHalfAUnitOfTheLastDigit) {
    std::mt19937_64 random(20240229);
    std::uniform_real_distribution<double> any(-180.0, 180.0);
    std::vector<double> values = {0,       0.5,   -0.5,      89.999999999, -179.9999999999,
                                  180,     -90,   1e-12,     12.99999999,  59.0 / 60,
                                  45.0001, -0.25, 1.0 / 3600};
    for (int i = 0; i < 60; ++i)
        values.push_back(any(random));
    // Every sign combination keeps the sign: by '-', by the hemisphere letter, or both.
    const int signs[] = {LL_MINUS_SIGN,
                         LL_HEMISPHERE,
                         LL_HEMISPHERE | LL_LATITUDE,
                         LL_MINUS_SIGN | LL_HEMISPHERE,
                         LL_MINUS_SIGN | LL_PLUS_SIGN,
                         LL_MINUS_SIGN | LL_BLANK_SIGN | LL_HEMISPHERE | LL_LATITUDE};
    const char* marks[] = {"d'\"", "dms", "Dms", "\xb0'\"", "*ms"};
    int checked = 0;
    for (double value : values)
        for (int style : {int(LL_DECIMAL_DEGREES), int(LL_DECIMAL_MINUTES), 0})
            for (int sign : signs)
                for (int layout : {0, int(LL_BLANKS), int(LL_ZERO_PAD), LL_BLANKS | LL_ZERO_PAD})
                    for (int n : {0, 1, 2, 5, 9})
                        for (const char* m : marks) {
                            const int flags = style | sign | layout | n;
                            char text[LL_TEXT_LEN];
                            ASSERT_TRUE(DegreesToLatLon(text, value, flags, m[0], m[1], m[2]));
                            double back = 0;
                            ASSERT_TRUE(LatLonToDegrees(text, &back, m[0])) << text;
                            const double tol =
                                0.5 * std::pow(10.0, -n) * LastUnit(flags) * (1 + 1e-9) + 1e-12;
                            ASSERT_NEAR(value, back, tol)
                                << '"' << text << "\" flags 0x" << std::hex << flags;
                            ++checked;
                        }
    EXPECT_EQ(73 * 3 * 6 * 4 * 5 * 5, checked);
}

} // namespace
