// "kvproj list": the catalogues as the tool prints them, and its usage errors.
#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <string>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace {

struct ToolRun {
    int status = -1;
    std::vector<std::string> out; // standard output, one entry per line
    std::string err;
};

std::string readFile(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    std::stringstream ss;
    ss << in.rdbuf();
    return ss.str();
}

// Runs the tool with `args` (already quoted for the shell).
ToolRun runTool(const std::string& args) {
    const char* dir = std::getenv("TMPDIR");
    std::string errPath =
        std::string(dir && *dir ? dir : "/tmp") + "/tool_list_err." + std::to_string(::getpid());
    std::string command =
        std::string("'") + KVPROJ_TOOL_PATH + "' " + args + " 2>'" + errPath + "'";
    ToolRun run;
    FILE* pipe = ::popen(command.c_str(), "r");
    if (!pipe) return run;
    std::string text;
    char chunk[4096];
    size_t n;
    while ((n = std::fread(chunk, 1, sizeof chunk, pipe)) > 0)
        text.append(chunk, n);
    int raw = ::pclose(pipe);
    run.status = WIFEXITED(raw) ? WEXITSTATUS(raw) : -1;
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);)
        run.out.push_back(line);
    run.err = readFile(errPath);
    std::remove(errPath.c_str());
    return run;
}

// The line whose first column (right-aligned number) is `value`, or "".
std::string rowFor(const ToolRun& run, int value) {
    for (const std::string& line : run.out) {
        std::istringstream fields(line);
        int first = -1;
        if (fields >> first && first == value) return line;
    }
    return "";
}

TEST(ToolList, Projections) {
    ToolRun run = runTool("list projections");
    ASSERT_EQ(run.status, 0) << run.err;
    EXPECT_EQ(run.out.size(), 29u);
    EXPECT_EQ(run.err, "");
    struct Row {
        int value;
        const char* text; // expected substrings in order: name, capability word, labels
        const char* word;
        const char* labels;
    };
    // Values, names and capability words from the host-facing projection catalogue.
    const Row rows[] = {
        {0, "Unprojected Lat/Long", "0x00", ""},
        {4, "Universal Transverse Mercator (UTM)", "0x1B",
         "Ellipsoid, Scale, Central Scale Factor (K0), Central Longitude, Central Latitude, "
         "Projection in Southern Hemisphere"},
        {10, "State Plane 1983", "0x3B", "Scale, State Zone"},
        {12, "Hotine Oblique Mercator", "0x03", "Offset by U"},
        {28, "Azimuthal Equidistant", "0x3F",
         "Ellipsoid, Scale, False Easting, False Northing, Central Longitude, Standard Parallel"},
    };
    for (const Row& r : rows) {
        std::string line = rowFor(run, r.value);
        ASSERT_FALSE(line.empty()) << r.value;
        size_t name = line.find(r.text);
        size_t word = line.find(r.word);
        ASSERT_NE(name, std::string::npos) << line;
        ASSERT_NE(word, std::string::npos) << line;
        EXPECT_LT(name, word) << line;
        EXPECT_NE(line.find(r.labels, word), std::string::npos) << line;
    }
    EXPECT_EQ(rowFor(run, 0).find("Ellipsoid"), std::string::npos) << "type 0 has no parameters";
    for (const std::string& line : run.out)
        EXPECT_NE(line.back(), ' ') << "trailing blank: " << line;
}

TEST(ToolList, Ellipsoids) {
    ToolRun run = runTool("list ellipsoids");
    ASSERT_EQ(run.status, 0) << run.err;
    EXPECT_EQ(run.out.size(), 56u);
    struct Row {
        int value;
        std::vector<std::string> fields; // name, radius, inverse flattening, EPSG code
    };
    // Radius, inverse flattening and code: EPSG geodetic registry (ellipsoids 7030,
    // 7019, 7022). Clarke 1866 carries the 1/f rounded as in the NAD 27 literature
    // (EPSG 7008 gives 294.978698213898); the two spheres and MERIT 1983 are figures
    // of the library's own ellipsoid table, where only the 6370997 m sphere maps to
    // an EPSG code (7035).
    const Row rows[] = {
        {47, {"WGS 84", "6378137.0000", "298.257223563", "7030"}},
        {3, {"GRS 1980 / IUGG 1980", "6378137.0000", "298.257222101", "7019"}},
        {15, {"Clarke 1866", "6378206.4000", "294.9786982", "7008"}},
        {34, {"International 1924", "6378388.0000", "297", "7022"}},
        {48, {"Standard Sphere of 6370997 Meters", "6370997.0000", "sphere", "7035"}},
        {49, {"Standard Sphere of One Unit", "1.0000", "sphere", "-"}},
        {1, {"MERIT 1983", "6378137.0000", "298.257", "-"}},
    };
    for (const Row& r : rows) {
        std::string line = rowFor(run, r.value);
        ASSERT_FALSE(line.empty()) << r.value;
        size_t from = 0;
        for (const std::string& field : r.fields) {
            size_t at = line.find(field, from);
            ASSERT_NE(at, std::string::npos) << "'" << field << "' in: " << line;
            from = at + field.size();
        }
        EXPECT_EQ(line.find_first_not_of(' ', from), std::string::npos) << line;
    }
    EXPECT_NE(rowFor(run, 0).find("user-defined"), std::string::npos);
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
    const char* spellings[] = {"4", "'Universal Transverse Mercator (UTM)'",
                               "'universal TRANSVERSE mercator (utm)'"};
    for (const char* spelling : spellings) {
        ToolRun run = runTool(std::string("list params ") + spelling);
        ASSERT_EQ(run.status, 0) << spelling << ": " << run.err;
        EXPECT_EQ(run.out, utm) << spelling;
    }

    ToolRun plane = runTool("list params 'state plane 1927'");
    ASSERT_EQ(plane.status, 0) << plane.err;
    ASSERT_EQ(plane.out.size(), 2u);
    EXPECT_NE(plane.out[1].find("State Zone"), std::string::npos);
    EXPECT_NE(plane.out[1].find("StateZoneType"), std::string::npos);

    ToolRun hotine = runTool("list params 12");
    ASSERT_EQ(hotine.status, 0);
    EXPECT_EQ(hotine.out.size(), 15u);
    EXPECT_EQ(rowFor(hotine, 1), "") << "the projection type itself is never a listed parameter";

    ToolRun none = runTool("list params 0");
    EXPECT_EQ(none.status, 0);
    EXPECT_TRUE(none.out.empty());
}

TEST(ToolList, UsageErrorsExitTwoWithOneLine) {
    const char* cases[] = {
        "list",
        "list bogus",
        "list params",
        "list params 29",
        "list params -1",
        "list params 999",
        "list params 4x",
        "list params ''",
        "list params Mercator extra",
        "list params 99999999999999999999",
        "list projections extra",
        "list ellipsoids extra",
    };
    for (const char* args : cases) {
        ToolRun run = runTool(args);
        EXPECT_EQ(run.status, 2) << args;
        EXPECT_TRUE(run.out.empty()) << args;
        ASSERT_FALSE(run.err.empty()) << args;
        EXPECT_EQ(run.err.rfind("kvproj: ", 0), 0u) << run.err;
        EXPECT_EQ(run.err.find('\n'), run.err.size() - 1) << "one line: " << run.err;
    }
}

} // namespace
