// The tool's one number reader and writer: what counts as a number, and the
// property that every printed number reads back as the value it printed.
#include "Numbers.h"

#include <gtest/gtest.h>

#include <cfloat>
#include <clocale>
#include <cmath>
#include <cstring>
#include <cstdio>
#include <random>

namespace {

using kvtool::ParseNumber;

// Accepted spellings and their values (C's strtod on the same texts).
TEST(ToolNumbers, ReadsDecimalTextAndTheNonFiniteWords) {
    const struct {
        const char* text;
        double value;
    } kRows[] = {
        {"0", 0.0},
        {"-12.5", -12.5},
        {"+3", 3.0},
        {".5", 0.5},
        {"5.", 5.0},
        {"1e-3", 1e-3},
        {"1E+300", 1e300},
        {"-0", -0.0},
        {"inf", HUGE_VAL},
        {"-Infinity", -HUGE_VAL},
        {"NaN", NAN},
        {"1.7976931348623157e308", DBL_MAX},
        {"4.9406564584124654e-324", 4.9406564584124654e-324},
    };
    for (const auto& r : kRows) {
        double v = 0.0;
        ASSERT_TRUE(ParseNumber(r.text, &v)) << r.text;
        if (std::isnan(r.value))
            EXPECT_TRUE(std::isnan(v)) << r.text;
        else
            EXPECT_EQ(v, r.value) << r.text;
    }
}

// Texts strtod would read in part or in a way no user means.
TEST(ToolNumbers, RefusesEverythingElse) {
    for (const char* text : {"",       "+",      "-",    ".",   "e5",    "1e",   "1e+",
                             "12,5",   "1.5.2",  " 1",   "1 ",  "0x1p3", "0x10", "1e999",
                             "-1e999", "nan(1)", "infx", "--1", "+-1",   "1d",   "\xC2\xB0"}) {
        double v = 7.0;
        EXPECT_FALSE(ParseNumber(text, &v)) << "'" << text << "'";
        EXPECT_EQ(v, 7.0) << text;
    }
    const std::string withNul("12\0"
                              "5",
                              4);
    double v = 0.0;
    EXPECT_FALSE(ParseNumber(withNul, &v)) << "a NUL byte ends nothing silently";
    EXPECT_FALSE(kvtool::ParseFinite("inf", &v));
    EXPECT_FALSE(kvtool::ParseFinite("nan", &v));
}

TEST(ToolNumbers, IntegersWithinBounds) {
    const struct {
        const char* text;
        bool ok;
        int value;
    } kRows[] = {
        {"17", true, 17},
        {"+0", true, 0},
        {"-3", false, 0},
        {"18", false, 0},
        {"1.0", false, 0},
        {"", false, 0},
        {"99999999999999999999", false, 0},
    };
    for (const auto& r : kRows) {
        int v = -1;
        EXPECT_EQ(kvtool::ParseInteger(r.text, 0, 17, &v), r.ok) << r.text;
        if (r.ok) {
            EXPECT_EQ(v, r.value) << r.text;
        }
    }
}

// printf's "%.*f" is the reference for the fixed format (C locale).
TEST(ToolNumbers, FixedTextMatchesPrintfAndIsNeverCut) {
    std::mt19937_64 random(20261123);
    std::uniform_int_distribution<int> exponent(-320, 308);
    std::uniform_real_distribution<double> mantissa(-10.0, 10.0);
    std::vector<double> values = {0.0,     -0.0,    0.5,    -0.0005,  1e300, -1e300,
                                  DBL_MAX, DBL_MIN, 1e-320, 123.4565, 2.5,   999999.9995};
    while (values.size() < 3000) {
        const double v = mantissa(random) * std::pow(10.0, exponent(random));
        if (std::isfinite(v)) values.push_back(v);
    }
    for (double v : values)
        for (int decimals : {0, 3, 9, 17}) {
            char expected[400];
            std::snprintf(expected, sizeof expected, "%.*f", decimals, v);
            const std::string text = kvtool::FormatFixed(v, decimals);
            ASSERT_EQ(text, expected) << v << " at " << decimals;
            // Reads back as the printed value: the same text once more.
            double back = 0.0;
            ASSERT_TRUE(ParseNumber(text, &back)) << text;
            EXPECT_EQ(kvtool::FormatFixed(back, decimals), text);
            EXPECT_LE(std::fabs(back - v),
                      0.5 * std::pow(10.0, -decimals) * (1 + 1e-15) + std::fabs(v) * DBL_EPSILON)
                << text;
        }
}

TEST(ToolNumbers, ShortestTextReadsBackExactly) {
    std::mt19937_64 random(7);
    std::uniform_int_distribution<uint64_t> bits;
    int tested = 0;
    while (tested < 20000) {
        const uint64_t b = bits(random);
        double v = 0.0;
        std::memcpy(&v, &b, sizeof v);
        if (!std::isfinite(v)) continue;
        const std::string text = kvtool::FormatShortest(v);
        double back = 0.0;
        ASSERT_TRUE(ParseNumber(text, &back)) << text;
        ASSERT_EQ(back, v) << text;
        ++tested;
    }
    // The "%.15g" spellings the zone listing has always printed.
    EXPECT_EQ(kvtool::FormatShortest(0.99996), "0.99996");
    EXPECT_EQ(kvtool::FormatShortest(609601.2192024384), "609601.2192024384");
    EXPECT_EQ(kvtool::FormatShortest(2000000.0), "2000000");
}

// A host that set a decimal-comma locale still reads and writes points.
TEST(ToolNumbers, IgnoresTheLocale) {
    if (!std::setlocale(LC_NUMERIC, "de_DE.UTF-8")) GTEST_SKIP() << "no de_DE.UTF-8 locale";
    double v = 0.0;
    EXPECT_TRUE(ParseNumber("0.5", &v));
    EXPECT_EQ(v, 0.5);
    EXPECT_FALSE(ParseNumber("0,5", &v));
    EXPECT_EQ(kvtool::FormatFixed(0.5, 2), "0.50");
    std::setlocale(LC_NUMERIC, "C");
}

} // namespace
