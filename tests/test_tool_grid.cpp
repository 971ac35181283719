// "kvproj grid info" and "kvproj grid shift", run as a user runs them on
// generated grid files (GridFiles.h).
//
// Expected values: the nested NTv2 layout's shifts as computed by cs2cs
// (PROJ 9.1.1) +nadgrids on the same file (see test_ntv2.cpp), and the NADCON
// pair's bilinear functions at a node.
#include "GridFiles.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <string>
#include <vector>
#include <sys/wait.h>

using namespace gridfiles;

namespace {

struct ToolRun {
    int status;
    std::string out;
};

ToolRun Tool(const std::string& args, const std::string& input = "") {
    std::string command = std::string("'") + KVPROJ_TOOL_PATH + "' " + args + " 2>&1";
    if (!input.empty()) command = "printf '%b' '" + input + "' | " + command;
    FILE* pipe = popen(command.c_str(), "r");
    if (!pipe) return {-1, ""};
    std::string out;
    char buffer[4096];
    size_t n;
    while ((n = fread(buffer, 1, sizeof buffer, pipe)) > 0)
        out.append(buffer, n);
    const int status = pclose(pipe);
    return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, out};
}

struct Case {
    std::string args, input;
    int status;
    std::vector<std::string> expected; // substrings of the output
};

class ToolGrid : public ::testing::Test {
protected:
    void SetUp() override {
        nested = dir.Write("nested.gsb", Ntv2File(NestedGrids()));
        std::string cut = Ntv2File(NestedGrids());
        cut.resize(cut.size() - 100);
        truncated = dir.Write("cut.gsb", cut);
        const Nadcon g = {30, 20, -100.0f, 0.25f, 30.0f, 0.25f, 1000.0f};
        las = dir.Write("conus.las", NadconFile(g, [](int c, int) { return float(c); }));
        dir.Write("conus.los", NadconFile(g, [](int, int r) { return float(-r); }));
    }
    void Run(const std::vector<Case>& cases) {
        for (const Case& c : cases) {
            const ToolRun r = Tool(c.args, c.input);
            EXPECT_EQ(r.status, c.status) << c.args << "\n" << r.out;
            for (const std::string& part : c.expected)
                EXPECT_NE(r.out.find(part), std::string::npos)
                    << c.args << " lacks '" << part << "'\n"
                    << r.out;
        }
    }
    TempDir dir;
    std::string nested, truncated, las;
};

} // namespace

TEST_F(ToolGrid, Info) {
    Run({
        {"grid info " + nested,
         "",
         0,
         {"sub-grids: 5 (2 at root level), nodes: 1899",
          "    GRAND1           CHILD1     -75.500000    42.500000   -75.000000    43.000000"
          "    60.0000    60.0000       31       31",
          "ROOTB                NONE       -70.000000    40.000000   -65.000000    44.000000"}},
        {"grid info " + las,
         "",
         0,
         {"columns: 30, rows: 20, nodes: 600",
          "west: -100.000000, south: 30.000000, east: -92.750000, north: 34.750000"}},
        {"grid info " + truncated, "", 1, {"ends before the data its headers declare"}},
        {"grid info " + dir.Path() + "none.gsb", "", 1, {"cannot open"}},
        {"grid info " + las + " " + las, "", 2, {"exactly one grid file"}},
    });
}

TEST_F(ToolGrid, Shift) {
    Run({
        // cs2cs on the same file: -75.199376388909 42.700726388888.
        {"grid shift " + nested + " --fwd",
         "-75.2 42.7 id7\\n# note\\n-60 42\\n",
         0,
         {"-75.199376389 42.700726389 id7\n# note\n-60.000000000 42.000000000  # outside the "
          "grid"}},
        {"grid shift --inv " + nested + " --precision 6",
         "-75.199376388909,42.700726388888\\n",
         0,
         {"-75.200000 42.700000\n"}},
        {"grid shift " + nested + " --fwd",
         "1 2\\nnot a point\\n",
         1,
         {"<stdin>:2: cannot read two coordinates"}},
        // Node (5, 5): the ".LAS" value 5" goes to x, the ".LOS" value -5" to y.
        {"grid shift " + las + " --fwd", "-99 31\\n", 0, {"-98.998611111 30.998611111"}},
        {"grid shift " + las + " --inv", "-99 31\\n", 2, {"forward only"}},
        {"grid shift " + nested, "", 2, {"--fwd or --inv"}},
        {"grid shift " + truncated + " --fwd", "1 2\\n", 1, {"ends before"}},
        {"grid frobnicate", "", 2, {"unknown grid command"}},
    });
}
