// "kvproj grid info" and "kvproj grid shift" run as a user runs them, on
// generated grid files (GridFiles.h).
//
// Expected values: the nested NTv2 layout's shift as cs2cs (PROJ 9.1.1)
// +nadgrids computes it on the same file (see test_ntv2.cpp), and the NADCON
// files' values at a node (5" in the ".LAS" file, -5" in the ".LOS" file).
#include "GridFiles.h"

#include <gtest/gtest.h>

#include <sys/wait.h>

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
        {"grid info " + dir.Path() + "none.gsb", "", 1, "cannot open"},
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
