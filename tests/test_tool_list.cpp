// "kvproj list": the catalogues as the tool prints them, and its usage errors.
#include "TestSupport.h"

#include <gtest/gtest.h>

namespace {

using kvtest::RunTool;
using kvtest::ToolRun;

// The line whose first column (right-aligned number) is `value`, or "".
std::string RowFor(const std::vector<std::string>& lines, int value) {
    for (const std::string& line : lines) {
        std::istringstream fields(line);
        int first = -1;
        if (fields >> first && first == value) return line;
    }
    return "";
}

// `line` holds `parts` in this order, with nothing but blanks after the last.
void ExpectInOrder(const std::string& line, const std::vector<std::string>& parts) {
    size_t from = 0;
    for (const std::string& part : parts) {
        const size_t at = line.find(part, from);
        ASSERT_NE(at, std::string::npos) << "'" << part << "' in: " << line;
        from = at + part.size();
    }
    EXPECT_EQ(line.find_first_not_of(' ', from), std::string::npos) << line;
}

TEST(ToolList, ProjectionsAndEllipsoids) {
    const ToolRun projections = RunTool("list projections");
    ASSERT_EQ(projections.status, 0) << projections.err;
    EXPECT_EQ(projections.err, "");
    const std::vector<std::string> lines = projections.Lines();
    EXPECT_EQ(lines.size(), 29u);
    for (const std::string& line : lines)
        EXPECT_NE(line.back(), ' ') << "trailing blank: " << line;
    // Value, name, capability word, parameter labels (type 0 has none).
    ExpectInOrder(RowFor(lines, 0), {"Unprojected Lat/Long", "0x00"});
    ExpectInOrder(RowFor(lines, 10), {"State Plane 1983", "0x3B", "Scale, State Zone"});
    ExpectInOrder(RowFor(lines, 28), {"Azimuthal Equidistant", "0x3F",
                                      "Ellipsoid, Scale, False Easting, False Northing, "
                                      "Central Longitude, Standard Parallel"});

    const ToolRun ellipsoids = RunTool("list ellipsoids");
    ASSERT_EQ(ellipsoids.status, 0) << ellipsoids.err;
    const std::vector<std::string> rows = ellipsoids.Lines();
    EXPECT_EQ(rows.size(), 56u);
    // Name, radius, inverse flattening, EPSG code: EPSG 7030, 7019, 7022, 7035; Clarke
    // 1866 carries the 1/f rounded as in the NAD 27 literature; spheres print "sphere".
    ExpectInOrder(RowFor(rows, 47), {"WGS 84", "6378137.0000", "298.257223563", "7030"});
    ExpectInOrder(RowFor(rows, 3),
                  {"GRS 1980 / IUGG 1980", "6378137.0000", "298.257222101", "7019"});
    ExpectInOrder(RowFor(rows, 15), {"Clarke 1866", "6378206.4000", "294.9786982", "7008"});
    ExpectInOrder(RowFor(rows, 34), {"International 1924", "6378388.0000", "297", "7022"});
    ExpectInOrder(RowFor(rows, 49), {"Standard Sphere of One Unit", "1.0000", "sphere", "-"});
    EXPECT_TRUE(kvtest::Contains(RowFor(rows, 0), "user-defined"));
}

TEST(ToolList, ParamsByNumberOrName) {
    // The UTM parameter list in presentation order, with each data type.
    const std::vector<std::string> utm = {
        "20  Ellipsoid                           EllipsoidType",
        " 2  Scale                               double",
        "13  Central Scale Factor (K0)           double",
        " 6  Central Longitude                   double",
        " 5  Central Latitude                    double",
        "14  Projection in Southern Hemisphere   bool",
    };
    for (const char* spelling : {"4", "'universal TRANSVERSE mercator (utm)'"}) {
        const ToolRun run = RunTool(std::string("list params ") + spelling);
        ASSERT_EQ(run.status, 0) << spelling << ": " << run.err;
        EXPECT_EQ(run.Lines(), utm) << spelling;
    }
    const ToolRun plane = RunTool("list params 'state plane 1927'");
    ASSERT_EQ(plane.Lines().size(), 2u);
    ExpectInOrder(plane.Lines()[1], {"State Zone", "StateZoneType"});
    const ToolRun hotine = RunTool("list params 12");
    EXPECT_EQ(hotine.Lines().size(), 15u);
    EXPECT_EQ(RowFor(hotine.Lines(), 1), "") << "the projection type is never a listed parameter";
    const ToolRun none = RunTool("list params 0");
    EXPECT_EQ(none.status, 0);
    EXPECT_EQ(none.out, "");
}

TEST(ToolList, UsageErrorsExitTwoWithOneLine) {
    for (const char* args :
         {"list", "list bogus", "list params", "list params 29", "list params -1", "list params 4x",
          "list params ''", "list params Mercator extra", "list params 99999999999999999999",
          "list ellipsoids one two", "list projections --jsn", "list datums a b"}) {
        const ToolRun run = RunTool(args);
        EXPECT_EQ(run.status, 2) << args;
        EXPECT_EQ(run.out, "") << args;
        EXPECT_EQ(run.err.rfind("kvproj: ", 0), 0u) << args << ": " << run.err;
        EXPECT_EQ(run.err.find('\n'), run.err.size() - 1) << "one line: " << run.err;
    }
}

struct SearchCase {
    const char* args;
    int status;
    std::vector<int> values; // the first column of each row, in order
};

// Search words match names as substrings ignoring case; values from the
// catalogues above (Clarke figures 15, 16, 51-54; conic projections 2, 5, 11, 26).
TEST(ToolList, SearchWord) {
    const SearchCase cases[] = {
        {"list ellipsoids clarke", 0, {15, 16, 51, 52, 53, 54}},
        {"list ellipsoids 'WGS 7'", 0, {46}},
        {"list projections CONIC", 0, {2, 5, 11, 26}},
        {"list projections mercator", 0, {1, 4, 12, 17, 25}},
        {"list zones --system 27 'michigan c'", 0, {62, 65}},
        {"list datums nadcon", 0, {232, 233}},
        {"list datums 'grid'", 1, {}}, // the method column is not searched
        {"list projections atlantis", 1, {}},
    };
    for (const SearchCase& c : cases) {
        const ToolRun run = RunTool(c.args);
        EXPECT_EQ(run.status, c.status) << c.args << run.err;
        std::vector<int> values;
        for (const std::string& line : run.Lines()) {
            std::istringstream fields(line);
            int first = -1;
            if (fields >> first) values.push_back(first);
        }
        EXPECT_EQ(values, c.values) << c.args << "\n" << run.out;
        if (c.status) {
            EXPECT_TRUE(kvtest::Contains(run.err, "kvproj: no name holds '")) << run.err;
        }
    }
}

// JSON rows: one object per catalogue row, keys in a fixed order, rows too
// long for one line opened up; EPSG 7008 for Clarke 1866 (a = 6378206.4 m,
// 1/f = 294.9786982); the capability word 0x3F = 63.
TEST(ToolList, Json) {
    const struct {
        const char* args;
        const char* expected;
    } cases[] = {
        {"list ellipsoids 1866 --json",
         "[\n  {\n    \"ellipsoid\": 15,\n    \"name\": \"Clarke 1866\",\n    \"major_radius\": "
         "6378206.4,\n    \"inverse_flattening\": 294.9786982,\n    \"epsg\": 7008\n  }\n]\n"},
        {"list ellipsoids user --json",
         "[\n  {\n    \"ellipsoid\": 0,\n    \"name\": \"user-defined\",\n    \"major_radius\": "
         "null,\n    \"inverse_flattening\": null,\n    \"epsg\": null\n  }\n]\n"},
        {"list projections 'van der' --json",
         "[\n  {\"type\": 15, \"name\": \"Van Der Grinten\", \"info\": 63, "
         "\"params\": [20, 2, 3, 4, 6]}\n]\n"},
        {"list params 9 --json",
         "[\n  {\"id\": 2, \"label\": \"Scale\", \"field\": \"Scale\", \"data_type\": \"double\"},\n"
         "  {\"id\": 15, \"label\": \"State Zone\", \"field\": \"Zone\", "
         "\"data_type\": \"StateZoneType\"}\n]\n"},
        {"list params 0 --json", "[]\n"},
        // EPSG 6267 is the NAD 27 datum code the NADCON Puerto Rico row carries.
        {"list datums 'virgin islands (nadcon)' --json",
         "[\n  {\n    \"datum\": 233,\n    \"name\": \"NAD 1927 - Puerto Rico & Virgin Islands "
         "(NADCON)\",\n    \"epsg\": 6267,\n    \"method\": \"NADCON grid\",\n    "
         "\"ellipsoid\": null\n  }\n]\n"},
    };
    for (const auto& c : cases) {
        const ToolRun run = RunTool(c.args);
        EXPECT_EQ(run.status, 0) << c.args << run.err;
        EXPECT_EQ(run.out, c.expected) << c.args;
    }
}

} // namespace
