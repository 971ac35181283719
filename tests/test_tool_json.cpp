// The tool's JSON writer: string escaping, numbers that read back exactly, and
// the layout. Expected texts follow RFC 8259 (escapes, no NaN or infinity);
// the round-trip doubles are chosen where "%.15g" alone would lose the value.
#include "Json.h"

#include <gtest/gtest.h>

#include <charconv>
#include <cmath>
#include <limits>

namespace {

using kvtool::Json;

struct QuoteCase {
    const char* text;
    size_t size;
    const char* expected;
};

TEST(ToolJson, StringsAreEscapedAndAlwaysValidUtf8) {
    const QuoteCase cases[] = {
        {"Alabama East", 12, "\"Alabama East\""},
        {"say \"hi\"", 8, "\"say \\\"hi\\\"\""},
        {"C:\\grids", 8, "\"C:\\\\grids\""},
        {"a\nb\tc\r", 6, "\"a\\nb\\tc\\r\""},
        {"\x01\x1f", 2, "\"\\u0001\\u001f\""},
        {"nul\0x", 5, "\"nul\\u0000x\""},
        {"Gau\xC3\x9F-Kr\xC3\xBCger", 13, "\"Gau\xC3\x9F-Kr\xC3\xBCger\""}, // kept as it is
        {"\xE2\x80\xB2", 3, "\"\xE2\x80\xB2\""},                           // prime sign
        {"bad \xFF byte", 10, "\"bad \xEF\xBF\xBD byte\""},                 // replaced
        {"cut \xC3", 5, "\"cut \xEF\xBF\xBD\""},                            // truncated sequence
        {"\xC0\xAF", 2, "\"\xEF\xBF\xBD\xEF\xBF\xBD\""},                    // overlong slash
        {"\xED\xA0\x80", 3, "\"\xEF\xBF\xBD\xEF\xBF\xBD\xEF\xBF\xBD\""},   // a lone surrogate
        {"\x7f", 1, "\"\x7f\""},                                            // DEL needs no escape
    };
    for (const QuoteCase& c : cases) {
        SCOPED_TRACE(c.expected);
        EXPECT_EQ(kvtool::JsonQuoted(std::string(c.text, c.size)), c.expected);
    }
}

double ReadBack(const std::string& text) {
    double v = -1;
    EXPECT_EQ(std::from_chars(text.data(), text.data() + text.size(), v).ec, std::errc()) << text;
    return v;
}

TEST(ToolJson, NumbersReadBackExactly) {
    const double values[] = {0.0,  1.0,    -0.5,   0.1,     1.0 / 3.0, 609601.2192024384,
                             1e300, 5e-324, 1e-7,   -84.36666666666666,  0.9999428410,
                             std::numeric_limits<double>::max()};
    for (double v : values) {
        const std::string text = kvtool::JsonNumber(v);
        SCOPED_TRACE(text);
        EXPECT_EQ(ReadBack(text), v);
        EXPECT_EQ(text.find(','), std::string::npos); // never a decimal comma
    }
    EXPECT_EQ(kvtool::JsonNumber(std::nan("")), "null");
    EXPECT_EQ(kvtool::JsonNumber(HUGE_VAL), "null");
    EXPECT_EQ(kvtool::JsonNumber(-HUGE_VAL), "null");
    // Integers are written as integers, also beyond 2^53.
    EXPECT_EQ(Json(26929).Compact(), "26929");
    EXPECT_EQ(Json(-1).Compact(), "-1");
    EXPECT_EQ(Json(9007199254740993LL).Compact(), "9007199254740993");
    EXPECT_EQ(Json(true).Compact(), "true");
    EXPECT_EQ(Json(nullptr).Compact(), "null");
    EXPECT_EQ(Json(static_cast<const char*>(nullptr)).Compact(), "null");
}

TEST(ToolJson, LayoutKeepsOrderAndInlinesShortContainers) {
    Json zone = Json::Object();
    zone.Set("zone", 0).Set("name", "Alabama East").Set("fips", 101);
    zone.Set("zone", 1); // a key set again keeps its place
    Json list = Json::Array();
    list.Add(zone).Add(Json::Array()).Add(Json::Object());
    EXPECT_EQ(list.Dump(), "[\n"
                           "  {\"zone\": 1, \"name\": \"Alabama East\", \"fips\": 101},\n"
                           "  [],\n"
                           "  {}\n"
                           "]\n");
    // A member too long for one line is opened up, level by level.
    Json wide = Json::Object();
    Json values = Json::Array();
    for (int i = 0; i < 30; ++i)
        values.Add(1000 + i);
    wide.Set("values", values).Set("pair", Json::Pair(0.5, -2));
    const std::string text = wide.Dump();
    EXPECT_EQ(text.substr(0, 18), "{\n  \"values\": [\n  ") << text;
    EXPECT_NE(text.find("\n    1029\n  ],\n  \"pair\": [0.5, -2]\n}\n"), std::string::npos)
        << text;
    // Adding to an object or setting on an array changes nothing.
    Json a = Json::Array();
    a.Set("k", 1);
    EXPECT_EQ(a.Compact(), "[]");
}

} // namespace
