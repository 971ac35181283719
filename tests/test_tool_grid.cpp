// "kvproj grid info" and "kvproj grid shift" run as a user runs them, on
// generated grid files (GridFiles.h).
//
// Expected values: the nested NTv2 layout's shift as cs2cs (PROJ 9.1.1)
// +nadgrids computes it on the same file (see test_ntv2.cpp), and the NADCON
// files' values at a node (5" in the ".LAS" file, -5" in the ".LOS" file).
#include "GridFiles.h"
#include "TestSupport.h"

#include <gtest/gtest.h>

#include <sys/wait.h>

#include <cstdlib>
#include <iterator>

using namespace gridfiles;

namespace {

// Runs the tool with `args` and `input` on standard input; status and output.
std::pair<int, std::string> Tool(const std::string& args, const std::string& input) {
    const std::string command =
        "printf '%b' '" + input + "' | '" + KVPROJ_TOOL_PATH + "' " + args + " 2>&1";
    FILE* pipe = popen(command.c_str(), "r");
    std::string out;
    char buffer[4096];
    for (size_t n; pipe && (n = fread(buffer, 1, sizeof buffer, pipe)) > 0;)
        out.append(buffer, n);
    const int status = pipe ? pclose(pipe) : -1;
    return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, out};
}

} // namespace

TEST(ToolGrid, InfoAndShift) {
    TempDir dir;
    const std::string nested = dir.Write("nested.gsb", Ntv2File(NestedGrids()));
    std::string cut = Ntv2File(NestedGrids());
    const std::string truncated = dir.Write("cut.gsb", cut.substr(0, cut.size() - 100));
    const Nadcon g = {30, 20, -100.0f, 0.25f, 30.0f, 0.25f, 1000.0f};
    const std::string las =
        dir.Write("conus.las", NadconFile(g, [](int c, int) { return float(c); }));
    dir.Write("conus.los", NadconFile(g, [](int, int r) { return float(-r); }));
    const struct {
        std::string args, input;
        int status;
        std::string expected;
    } cases[] = {
        {"grid info " + nested, "", 0, "sub-grids: 5 (2 at root level), nodes: 1899"},
        {"grid info " + nested, "", 0,
         "    GRAND1           CHILD1     -75.500000    42.500000   -75.000000    43.000000"
         "    60.0000    60.0000       31       31"},
        {"grid info " + las, "", 0,
         "west: -100.000000, south: 30.000000, east: -92.750000, north: 34.750000"},
        {"grid info " + truncated, "", 1, "ends before the data its headers declare"},
        {"grid info " + dir.Path() + "none.gsb", "", 1,
         "no grid file '" + dir.Path() + "none.gsb'"},
        {"grid info none.gsb", "", 1, "no grid file 'none.gsb' here or in: "},
        {"grid info " + dir.Path(), "", 1, "cannot open '" + dir.Path() + "'"},
        // A bare name is looked up in the folders named.
        {"grid info NESTED.GSB --grid-dir " + dir.Path(), "", 0, "NTv2 grid: " + nested},
        {"grid shift nested.gsb --fwd --grid-dir /nonexistent --grid-dir " + dir.Path(),
         "-75.2 42.7\n", 0, "-75.199376389 42.700726389"},
        // cs2cs on the same file: -75.199376388909 42.700726388888.
        {"grid shift " + nested + " --fwd", "-75.2 42.7 id7\\n# note\\n-60 42\\n", 0,
         "-75.199376389 42.700726389 id7\n# note\n-60.000000000 42.000000000  # outside the "
         "grid\n"},
        {"grid shift --inv " + nested + " --precision 6", "-75.199376388909,42.700726388888\\n", 0,
         "-75.200000 42.700000\n"},
        {"grid shift " + nested + " --fwd", "1 2\\nnot a point\\n", 1,
         "<stdin>:2: cannot read two coordinates"},
        {"grid shift " + las + " --fwd", "-99 31\\n", 0, "-98.998611111 30.998611111"},
        {"grid shift " + las + " --inv", "", 2, "forward only"},
        {"grid shift " + nested, "", 2, "--fwd or --inv"},
    };
    for (const auto& c : cases) {
        const auto [status, out] = Tool(c.args, c.input);
        EXPECT_EQ(status, c.status) << c.args << "\n" << out;
        EXPECT_NE(out.find(c.expected), std::string::npos) << c.args << "\n" << out;
    }
}

namespace {

// The Gauss-Krueger zone 3 (DHDN, Bessel) and UTM 32N (ETRS89, GRS80) systems
// of the grid test below, as the tool's words give them.
const char kGaussKrueger3[] = "'type=tm lon0=9 x0=3500000 scale=1'";

// A clip of 10 x 13 nodes (8.5-10 E, 48.3-49.5 N) of BETA2007.gsb, the
// DHDN to ETRS89 grid in Debian proj-data 9.1.1, cut with GDAL 3.6
// (gdal_translate -of NTv2 -srcwin 18 58 10 13).
const std::string kDhdnClip = KVPROJ_TEST_DATA_DIR "/dhdn_beta2007_clip.gsb";

} // namespace

// One command from Gauss-Krueger/DHDN to UTM/ETRS89 and back. Expected: cs2cs
// (PROJ 9.1.1) +proj=tmerc +lon_0=9 +k=1 +x_0=3500000 +ellps=bessel
// +nadgrids=<the clip> +to +proj=utm +zone=32 +ellps=GRS80 +towgs84=0,0,0, which
// gives the same figures on the whole BETA2007.gsb; within 1 mm.
TEST(ToolGrid, GaussKruegerToUtmThroughAnNtv2GridInOneCommand) {
    const struct {
        double gkE, gkN, utmE, utmN;
    } cases[] = {
        {3513000, 5405000, 512919.4793, 5403277.4389},
        {3500000, 5400000, 499924.6714, 5398279.4465},
        {3525000, 5440000, 524914.7489, 5438263.4284},
        {3490000, 5380000, 489928.6543, 5378287.4452},
    };
    std::string gk, utm;
    for (const auto& c : cases) {
        gk += std::to_string(c.gkE) + " " + std::to_string(c.gkN) + "\n";
        utm += std::to_string(c.utmE) + " " + std::to_string(c.utmN) + "\n";
    }
    const std::string forward = "convert --src-proj " + std::string(kGaussKrueger3) + " --grid " +
                                kvtest::Quote(kDhdnClip) + " --dst-utm 32N";
    const std::string inverse = "convert --src-utm 32N --grid " + kvtest::Quote(kDhdnClip) +
                                " --grid-inv --dst-proj " + kGaussKrueger3;
    const kvtest::ToolRun there = kvtest::RunTool(forward + " --precision 4", gk);
    const kvtest::ToolRun back = kvtest::RunTool(inverse + " --precision 4", utm);
    ASSERT_EQ(there.status, 0) << there.err;
    ASSERT_EQ(back.status, 0) << back.err;
    const std::vector<std::string> a = there.Lines(), b = back.Lines();
    ASSERT_EQ(a.size(), std::size(cases));
    ASSERT_EQ(b.size(), std::size(cases));
    for (size_t i = 0; i < a.size(); ++i) {
        double e = 0, n = 0;
        ASSERT_EQ(std::sscanf(a[i].c_str(), "%lf %lf", &e, &n), 2) << a[i];
        EXPECT_NEAR(e, cases[i].utmE, 1e-3) << a[i];
        EXPECT_NEAR(n, cases[i].utmN, 1e-3) << a[i];
        ASSERT_EQ(std::sscanf(b[i].c_str(), "%lf %lf", &e, &n), 2) << b[i];
        EXPECT_NEAR(e, cases[i].gkE, 1e-3) << b[i];
        EXPECT_NEAR(n, cases[i].gkN, 1e-3) << b[i];
    }
}

// A point the grid does not cover is a bad line: the marker, a report naming
// the line, and status 1; the other lines are shifted.
TEST(ToolGrid, PointsOutsideTheGridAreBadLines) {
    const std::string args = "convert --src-proj " + std::string(kGaussKrueger3) + " --grid " +
                             kvtest::Quote(kDhdnClip) + " --dst-utm 32N --precision 1";
    const kvtest::ToolRun r =
        kvtest::RunTool(args, "3513000 5405000 a\n# note\n3400000 5300000 b\n3500000 5400000 c\n");
    EXPECT_EQ(r.status, 1);
    EXPECT_EQ(r.out, "512919.5 5403277.4 a\n# note\nunplottable unplottable b\n"
                     "499924.7 5398279.4 c\n");
    EXPECT_TRUE(kvtest::Contains(r.err, "<stdin>:3: the point is outside the grid")) << r.err;
    EXPECT_FALSE(kvtest::Contains(r.err, ":1:")) << r.err;
}

// Grid datums find their files in the folders named on the command line, then
// in KVPROJ_GRID_PATH; a missing file names every folder searched (status
// 1, as a grid that fails to load); a wrong direction is bad usage (2). Expected
// shifts: the NADCON files' constant 36" (0.01 degrees) added to x, and the
// nested NTv2 grid's shift as cs2cs (PROJ 9.1.1) computes it (see above).
TEST(ToolGrid, GridDatumsLookInTheFoldersNamed) {
    TempDir empty, nadcon, ntv2, corrupt;
    const Nadcon g = {30, 20, -100.0f, 0.25f, 30.0f, 0.25f, 0.0f};
    nadcon.Write("conus.LAS", NadconFile(g, [](int, int) { return 36.0f; }));
    nadcon.Write("conus.LOS", NadconFile(g, [](int, int) { return 0.0f; }));
    ntv2.Write("NTV2_0.GSB", Ntv2File(NestedGrids()));
    corrupt.Write("ntv2_0.gsb", "NUM_OREC but nothing else");
    const std::string e = kvtest::Quote(empty.Path()), a = kvtest::Quote(nadcon.Path()),
                      b = kvtest::Quote(ntv2.Path()), c = kvtest::Quote(corrupt.Path());
    const struct {
        std::string args, env; // env: KVPROJ_GRID_PATH, "" unset
        std::string input;
        int status;
        std::string out, err;
    } cases[] = {
        {"--src-datum 232 --dst-datum WGS84 --grid-dir " + e + " --grid-dir " + a, "", "-99 31\n",
         0, "-98.990000000 31.000000000\n", ""},
        {"--src-datum 232 --dst-datum WGS84", empty.Path() + ":" + nadcon.Path(), "-99 31\n", 0,
         "-98.990000000 31.000000000\n", ""},
        {"--src-datum 232 --dst-datum 4326 --grid-dir " + e, "", "-99 31\n", 1, "",
         "'NAD 1927 - CONUS (NADCON)' needs the grid files conus.LAS and conus.LOS, not found "
         "in: " +
             empty.Path() + ", "},
        {"--src-datum 253 --dst-datum WGS84 --grid-dir " + b, "", "-75.2 42.7\n", 0,
         "-75.199376389 42.700726389\n", ""},
        {"--src-datum WGS84 --dst-datum 253 --grid-dir " + b, "",
         "-75.199376388909 42.700726388888\n", 0, "-75.200000000 42.700000000\n", ""},
        {"--src-datum 253 --dst-datum WGS84 --grid-dir " + c + " --grid-dir " + b, "", "", 1, "",
         "ntv2_0.gsb' ends before the data its headers declare"},
        {"--src-datum 253 --dst-datum WGS84", nadcon.Path(), "", 1, "",
         "needs the grid file NTV2_0.GSB, not found in: " + nadcon.Path() + ", "},
        // Wrong directions are refused before anything is read.
        {"--src-datum WGS84 --dst-datum 232 --grid-dir " + a, "", "-99 31\n", 2, "",
         "'NAD 1927 - CONUS (NADCON)' (NADCON grid) converts to WGS 84 only"},
        {"--src-datum NAD27 --dst-datum 229", "", "-99 31\n", 2, "",
         "(regression equations) converts to WGS 84 only"},
        {"--grid " + kvtest::Quote(kDhdnClip) + " --src-datum NAD27 --dst-datum WGS84", "", "", 2,
         "", "--grid is the datum shift"},
        {"--grid-inv --src-datum NAD27 --dst-datum WGS84", "", "", 2, "", "--grid-inv goes with"},
        {"--grid no-such.gsb --fwd --utm 32N", empty.Path(), "", 1, "",
         "no grid file 'no-such.gsb' here or in: " + empty.Path() + ", "},
    };
    for (const auto& t : cases) {
        if (!t.env.empty()) ::setenv("KVPROJ_GRID_PATH", t.env.c_str(), 1);
        const kvtest::ToolRun r = kvtest::RunTool("convert " + t.args, t.input);
        ::unsetenv("KVPROJ_GRID_PATH");
        EXPECT_EQ(r.status, t.status) << t.args << "\n" << r.err;
        EXPECT_EQ(r.out, t.out) << t.args;
        EXPECT_TRUE(kvtest::Contains(r.err, t.err)) << t.args << "\n" << r.err;
        EXPECT_FALSE(kvtest::Contains(r.err, "Internal")) << t.args << "\n" << r.err;
    }
}

// "grid info --json" and "datum --json": the same facts as the text, as JSON.
// Expected: the generated files' layout (GridFiles.h) and the datum table.
TEST(ToolGrid, InfoAndDatumAsJson) {
    TempDir dir;
    const std::string nested = dir.Write("nested.gsb", Ntv2File(NestedGrids()));
    const Nadcon g = {30, 20, -100.0f, 0.25f, 30.0f, 0.25f, 0.0f};
    const std::string las = dir.Write("conus.las", NadconFile(g, [](int, int) { return 0.0f; }));
    dir.Write("conus.los", NadconFile(g, [](int, int) { return 0.0f; }));
    const struct {
        std::string args;
        std::vector<std::string> parts;
    } cases[] = {
        {"grid info --json " + kvtest::Quote(nested),
         {"\"format\": \"NTv2\"", "\"nodes\": 1899",
          "\"name\": \"GRAND1\",\n      \"parent\": \"CHILD1\",\n      \"depth\": 2",
          "\"columns\": 31,\n      \"rows\": 31"}},
        {"grid info " + kvtest::Quote(las) + " --json",
         {"\"format\": \"NADCON\"", "\"columns\": 30", "\"rows\": 20", "\"east\": -92.75",
          "\"north\": 34.75", "\"dx\": 0.25"}},
        {"datum NAD27 --json",
         {"\"id\": 2", "\"epsg\": 6267", "\"method\": \"Molodensky\"", "\"name\": \"Clarke 1866\"",
          "\"semi_major\": 6378206.4", "\"shift_m\": [-8, 160, 176]"}},
        {"datum 215 --json",
         {"\"rotation_arcsec\": [0, 0, 0.554]", "\"scale_ppm\": 1", "\"epsg\": null"}},
        {"datum 232 --json --grid-dir " + kvtest::Quote(dir.Path()),
         {"\"direction\": \"to WGS 84 only\"", "\"name\": \"conus.LAS\"",
          "\"path\": \"" + las + "\"", "\"name\": \"conus.LOS\"",
          "\"path\": \"" + dir.Path() + "conus.los\"", "\"grid_folders\": [",
          "\"" + dir.Path() + "\","}},
        {"datum 253 --json --grid-dir " + kvtest::Quote(dir.Path()),
         {"\"name\": \"NTV2_0.GSB\"", "\"path\": null"}},
    };
    for (const auto& c : cases) {
        const kvtest::ToolRun r = kvtest::RunTool(c.args);
        EXPECT_EQ(r.status, 0) << c.args << "\n" << r.err;
        ASSERT_FALSE(r.out.empty()) << c.args;
        EXPECT_EQ(r.out.front(), '{') << c.args;
        EXPECT_EQ(r.out.substr(r.out.size() - 2), "}\n") << c.args;
        for (const std::string& part : c.parts)
            EXPECT_TRUE(kvtest::Contains(r.out, part)) << c.args << ": " << part << "\n" << r.out;
    }
}
