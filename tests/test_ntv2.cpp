// NTv2 grid shift: loading (valid, corrupt and hostile files), sub-grid choice,
// edge rules, forward and inverse shifts, the process-wide grid and its use by
// the conversion engine.
//
// Expected values: the shift functions the generated files are written from
// (GridFiles.h; bilinear interpolation reproduces them), and cs2cs (PROJ 9.1.1)
// with +nadgrids on the same generated file and on the grids of Debian
// proj-data 9.1.1 (tests/data/ntv2_cs2cs.tsv).
#include "GridFiles.h"

#include "datum/Ntv2.h"
#include "frame/Diag.h"
#include "kvlibw/kvlibw.h"
#include "kvproj/datum.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <fstream>
#include <functional>
#include <limits>
#include <map>
#include <memory>
#include <sstream>
#include <thread>

using namespace KVProj;
using namespace gridfiles;

namespace {

constexpr double kU = KVPROJ_UNPLOTTABLE;
constexpr double kRad = 0.017453292519943295;
constexpr double kPi = 3.14159265358979323846;

// Collects the diagnostic log written while it lives.
class LogCapture {
public:
    LogCapture() : m_was(LogIsEnabled()), m_oldPath(LogPath()) {
        const char* dir = std::getenv("TMPDIR");
        m_path = std::string(dir && *dir ? dir : "/tmp") + "/kvproj_ntv2_test.log";
        std::remove(m_path.c_str());
        LogSetup(true, m_path.c_str());
    }
    ~LogCapture() { LogSetup(m_was, m_oldPath.c_str()); }
    std::string Text() const {
        std::ifstream in(m_path);
        std::stringstream s;
        s << in.rdbuf();
        return s.str();
    }

private:
    bool m_was;
    std::string m_oldPath, m_path;
};

std::vector<int> g_reports;
int KVCALLBACK recordReports(const _KVERRINFO* info) {
    if (!(info->flags & KVERR_DETAILS)) g_reports.push_back(info->messageId);
    return 2;
}

template <class T> void Poke(std::string& bytes, size_t at, T v) {
    std::memcpy(&bytes[at], &v, sizeof v);
}

// The shift the nested file holds at (lon, lat) in the sub-grid written with
// `offset`: the point moved by it, in degrees.
DATUMPOINT NestedForward(double lon, double lat, double offset) {
    return {lon - (NestedLonW(lon, lat) - offset) / 3600.0,
            lat + (NestedLat(lon, lat) + offset) / 3600.0};
}

// Loads the nested layout into a tree of its own.
struct Nested : ::testing::Test {
    void SetUp() override {
        std::string bytes = Ntv2File(NestedGrids());
        std::FILE* f = fmemopen(&bytes[0], bytes.size(), "rb");
        ASSERT_NE(f, nullptr);
        ASSERT_EQ(LoadShiftStream(f, &tree), NTV2_OK);
        std::fclose(f);
    }
    DATUMPOINT Shift(double lon, double lat, bool inverse, int* status = nullptr) {
        double x = lon * kRad, y = lat * kRad;
        int s = Ntv2TransformPoint(tree, &x, &y, inverse);
        if (status) *status = s;
        return {x == kU ? kU : x / kRad, y == kU ? kU : y / kRad};
    }
    Ntv2Tree tree;
};

} // namespace

// ---------------------------------------------------------------- loading

TEST_F(Nested, BuildsTheTreeInFileOrder) {
    ASSERT_EQ(tree.Size(), 5u);
    ASSERT_EQ(tree.Roots().size(), 2u);
    const Ntv2SubGrid& a = *tree.Roots()[0];
    EXPECT_STREQ(a.name, "ROOTA   ");
    ASSERT_EQ(a.children.size(), 2u);
    EXPECT_STREQ(a.children[0]->name, "CHILD1  ");
    EXPECT_STREQ(a.children[1]->name, "CHILD2  ");
    EXPECT_STREQ(a.children[0]->children.at(0)->name, "GRAND1  ");
    // 10 x 6 degrees at 0.5 degree: 21 x 13 nodes from 80 W, 40 N.
    EXPECT_EQ(a.columns, 21);
    EXPECT_EQ(a.rows, 13);
    EXPECT_NEAR(a.x0, -80 * kRad, 1e-15);
    EXPECT_NEAR(a.x1, -70 * kRad, 1e-15);
    EXPECT_NEAR(a.dy, 0.5 * kRad, 1e-17);
    // Rows are stored east to west in the file: the first node read of the
    // first row is the south-east corner.
    EXPECT_NEAR(a.nodes[20].lat, NestedLat(-70, 40) / 3600 * kRad, 2e-12);
    EXPECT_NEAR(a.nodes[0].lon, NestedLonW(-80, 40) / 3600 * kRad, 2e-12);
}

struct LoadCase {
    const char* what;
    std::function<void(std::string&)> corrupt;
    int status;
    const char* log;
};

// Every refusal of the loader, with its status and log line.
TEST(Ntv2Load, RefusesCorruptFilesWithTheirStatus) {
    const std::vector<SubGrid> grids = NestedGrids();
    const size_t g1 = SubGridOffset(grids, 1), g4 = SubGridOffset(grids, 4);
    const std::vector<LoadCase> cases = {
        {"fewer than 8 bytes", [](std::string& b) { b.resize(5); }, NTV2_SHORT_READ,
         "Failed reading signature bytes.\r\n"},
        {"other signature", [](std::string& b) { b[0] = 'X'; }, NTV2_BAD_DATA,
         "Invalid signature bytes.\r\n"},
        {"short overview", [](std::string& b) { b.resize(100); }, NTV2_SHORT_READ,
         "Failed reading overview header.\r\n"},
        {"NUM_OREC 12", [](std::string& b) { Poke<int32_t>(b, ValueAt(0, 0), 12); }, NTV2_BAD_DATA,
         "Invalid header size.\r\n"},
        {"NUM_SREC 10", [](std::string& b) { Poke<int32_t>(b, ValueAt(0, 1), 10); }, NTV2_BAD_DATA,
         "Invalid header size.\r\n"},
        {"GS_TYPE MINUTES", [](std::string& b) { std::memcpy(&b[ValueAt(0, 3)], "MINUTES ", 8); },
         NTV2_BAD_DATA, "Invalid shift type.\r\n"},
        {"one sub-grid more than written",
         [](std::string& b) { Poke<int32_t>(b, ValueAt(0, 2), 6); }, NTV2_SHORT_READ,
         "Read subgrid header 5 failed!\r\n"},
        {"truncated sub-grid header", [g4](std::string& b) { b.resize(g4 + 100); }, NTV2_SHORT_READ,
         "Read subgrid header 4 failed!\r\n"},
        {"truncated nodes", [g4](std::string& b) { b.resize(g4 + kHeader + 100); }, NTV2_SHORT_READ,
         "Read subgrid header 4 failed!\r\n"},
        {"GS_COUNT one short", [g1](std::string& b) { Poke<int32_t>(b, ValueAt(g1, 10), 474); },
         NTV2_BAD_DATA, "Bad array size 474!\r\n"},
        {"NaN spacing",
         [g1](std::string& b) {
             Poke(b, ValueAt(g1, 9), std::numeric_limits<double>::quiet_NaN());
         },
         NTV2_BAD_DATA, "Bad array size 475!\r\n"},
        {"zero spacing", [g1](std::string& b) { Poke(b, ValueAt(g1, 8), 0.0); }, NTV2_BAD_DATA,
         "Bad array size 475!\r\n"},
        // -300": 25 x -17 nodes; the product must not pass for 425 either.
        {"negative spacing",
         [g1](std::string& b) {
             Poke(b, ValueAt(g1, 8), -300.0);
             Poke<int32_t>(b, ValueAt(g1, 10), -425);
         },
         NTV2_BAD_DATA, "Bad array size -425!\r\n"},
        {"unknown parent", [g1](std::string& b) { std::memcpy(&b[ValueAt(g1, 1)], "NOPE    ", 8); },
         NTV2_BAD_DATA, "No such table parent 'NOPE    '\r\n"},
        // A sub-grid cannot name itself: only sub-grids read before it are parents.
        {"own parent", [g1](std::string& b) { std::memcpy(&b[ValueAt(g1, 1)], "CHILD1  ", 8); },
         NTV2_BAD_DATA, "No such table parent 'CHILD1  '\r\n"},
        // 46341 x 46340 nodes (2^31 - 43,000) declared in a file of a few kB:
        // refused as a short read before anything that size is allocated.
        {"huge declared count",
         [g1](std::string& b) {
             Poke(b, ValueAt(g1, 9), 1e-3);
             Poke(b, ValueAt(g1, 8), 5400.0 / 46339);
             Poke(b, ValueAt(g1, 6), 76 * 3600 - 46.340);
             Poke<int32_t>(b, ValueAt(g1, 10), 46341 * 46340);
         },
         NTV2_SHORT_READ, "Read subgrid header 1 failed!\r\n"},
    };
    for (const LoadCase& c : cases) {
        std::string bytes = Ntv2File(grids);
        c.corrupt(bytes);
        std::FILE* f = fmemopen(&bytes[0], bytes.size(), "rb");
        ASSERT_NE(f, nullptr);
        Ntv2Tree tree;
        LogCapture log;
        EXPECT_EQ(LoadShiftStream(f, &tree), c.status) << c.what;
        std::fclose(f);
        EXPECT_TRUE(tree.Empty()) << c.what;
        EXPECT_NE(log.Text().find(c.log), std::string::npos) << c.what << "\n" << log.Text();
    }
}

TEST(Ntv2Load, MissingFileAndLogLines) {
    TempDir dir;
    Ntv2Tree tree;
    LogCapture log;
    EXPECT_EQ(LoadShiftFile((dir.Path() + "none.gsb").c_str(), &tree), NTV2_OPEN_FAILED);
    std::string path = dir.Write("nested.gsb", Ntv2File(NestedGrids()));
    EXPECT_EQ(LoadShiftFile(path.c_str(), &tree), NTV2_OK);
    const std::string text = log.Text();
    for (const std::string& line :
         {"LoadShiftFile('" + dir.Path() + "none.gsb')\r\n", std::string("File open failed.\r\n"),
          "LoadShiftFile('" + path + "')\r\n", std::string("LoadShiftFile done.\r\n")})
        EXPECT_NE(text.find(line), std::string::npos) << line;
}

// A chain of nested sub-grids as deep as a file can make: loading, choosing
// and freeing must neither recurse nor search the whole tree per sub-grid.
TEST(Ntv2Load, DeepNestingStaysLinear) {
    const int depth = 30000;
    std::vector<SubGrid> chain;
    for (int n = 0; n < depth; ++n)
        chain.push_back(Box("G" + std::to_string(n), n ? "G" + std::to_string(n - 1) : "NONE", 0, 0,
                            1, 1, 3600, 3600, NestedShift(n % 7)));
    std::string bytes = Ntv2File(chain);
    std::FILE* f = fmemopen(&bytes[0], bytes.size(), "rb");
    Ntv2Tree tree;
    const auto start = std::chrono::steady_clock::now();
    ASSERT_EQ(LoadShiftStream(f, &tree), NTV2_OK);
    std::fclose(f);
    EXPECT_EQ(tree.Choose(0.5 * kRad, 0.5 * kRad), tree.Find("G29999  "));
    tree.Clear();
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(20));
}

// With two sub-grids of one name, children go to the one met first depth
// first: here the child of the first root, though it was read last.
TEST(Ntv2Load, DuplicateNamesResolveDepthFirst) {
    std::vector<SubGrid> grids = {
        Box("R1", "NONE", 0, 0, 4, 4, 3600, 3600, NestedShift(0)),
        Box("R2", "NONE", 10, 0, 4, 4, 3600, 3600, NestedShift(0)),
        Box("D", "R2", 10, 0, 2, 2, 1800, 1800, NestedShift(0)),
        Box("D", "R1", 0, 0, 2, 2, 1800, 1800, NestedShift(0)),
        Box("E", "D", 0, 0, 1, 1, 900, 900, NestedShift(0)),
    };
    std::string bytes = Ntv2File(grids);
    std::FILE* f = fmemopen(&bytes[0], bytes.size(), "rb");
    Ntv2Tree tree;
    ASSERT_EQ(LoadShiftStream(f, &tree), NTV2_OK);
    std::fclose(f);
    const Ntv2SubGrid* d = tree.Find("D       ");
    ASSERT_NE(d, nullptr);
    EXPECT_EQ(d->up, tree.Roots()[0]);
    ASSERT_EQ(d->children.size(), 1u);
}

// ---------------------------------------------------------------- shifts

struct ShiftCase {
    double lon, lat;
    double offset;                         // of the sub-grid that must be used
    double fwdLon, fwdLat, invLon, invLat; // cs2cs on the same file
};

// cs2cs -f %.12f +proj=longlat +ellps=clrk66 +nadgrids=nested.gsb +to
// +proj=longlat +datum=WGS84 (and -I), nested.gsb written by Ntv2File(NestedGrids()).
const ShiftCase kNested[] = {
    {-78.3, 41.1, 0, -78.299468333337, 41.100479166671, -78.300531673008, 41.099520854753},
    {-75.2, 42.7, 0.5, -75.199376388909, 42.700726388888, -75.200623617167, 42.699273638524},
    {-75.7, 42.2, 0.25, -75.699440277787, 42.200636111111, -75.700559727796, 42.199363913272},
    {-72.5, 44.5, -0.25, -72.499622222228, 44.500618055518, -72.500377779968, 44.499381963560},
    {-68.0, 41.0, 1.0, -67.999391666632, 41.001041666693, -68.000608336517, 40.998958364672},
    // On the edge both roots share: the first root read.
    {-70.0, 42.0, 0, -69.999622222228, 42.000722222208, -70.000377779100, 41.999277798316},
    // On the east edge of a child and of a grandchild: still inside them.
    {-74.0, 43.0, 0.25, -73.999466666665, 43.000694444445, -74.000533337919, 42.999305580015},
    {-75.0, 42.75, 0.5, -74.999379861064, 42.750732638882, -75.000620144886, 42.749267388518},
    {-80, 40, 0, -79.999444444423, 40.000416666656, -80.000555555577, 39.999583333344},
    {-65, 44, 1.0, -64.999425000020, 44.001166666576, -65.000575001438, 43.998833365599},
    {-75.9, 43.45, 0.25, -75.899425972251, 43.450647916668, -75.900574033512, 43.449352108276},
};

TEST_F(Nested, ForwardAndInverseMatchTheOracles) {
    for (const ShiftCase& c : kNested) {
        const DATUMPOINT expected = NestedForward(c.lon, c.lat, c.offset);
        const DATUMPOINT f = Shift(c.lon, c.lat, false);
        EXPECT_NEAR(f.x, expected.x, 1e-9) << c.lon << " " << c.lat;
        EXPECT_NEAR(f.y, expected.y, 1e-9) << c.lon << " " << c.lat;
        EXPECT_NEAR(f.x, c.fwdLon, 1e-9) << c.lon << " " << c.lat;
        EXPECT_NEAR(f.y, c.fwdLat, 1e-9) << c.lon << " " << c.lat;
        const DATUMPOINT i = Shift(c.lon, c.lat, true);
        EXPECT_NEAR(i.x, c.invLon, 1e-9) << c.lon << " " << c.lat;
        EXPECT_NEAR(i.y, c.invLat, 1e-9) << c.lon << " " << c.lat;
        // The inverse undoes the forward to the iteration's tolerance away
        // from sub-grid edges (where its estimates may leave the sub-grid).
        const Ntv2SubGrid* g = tree.Choose(c.lon * kRad, c.lat * kRad);
        const double x = c.lon * kRad, y = c.lat * kRad, margin = 1e-6;
        if (x - g->x0 < margin || g->x1 - x < margin || y - g->y0 < margin || g->y1 - y < margin)
            continue;
        const DATUMPOINT back = Shift(f.x, f.y, true);
        const double eLon = std::fabs(back.x - c.lon) * kRad,
                     eLat = std::fabs(back.y - c.lat) * kRad;
        EXPECT_TRUE(eLon <= 1e-12 || eLat <= 1e-12) << c.lon << " " << c.lat;
        EXPECT_LT(std::max(eLon, eLat), 1e-10);
    }
}

TEST_F(Nested, PointsOutsideEveryGridPassUnchanged) {
    int status = -1;
    for (bool inverse : {false, true}) {
        DATUMPOINT p = Shift(-60, 42, inverse, &status); // cs2cs refuses this one
        EXPECT_EQ(status, NTV2_OK);
        EXPECT_NEAR(p.x, -60, 1e-13);
        EXPECT_NEAR(p.y, 42, 1e-13);
    }
}

// Sub-grid edges: a position within 1e-11 of a cell beyond the outer nodes
// is taken as on them; further out there is no shift.
TEST_F(Nested, EdgeTolerance) {
    const Ntv2SubGrid& a = *tree.Roots()[0];
    const double last = a.columns - 1, top = a.rows - 1;
    struct {
        double fx, fy;
        bool accepted;
    } cases[] = {{last + 5e-12, 3, true}, {last + 1e-9, 3, false}, {-5e-12, 3, true},
                 {-1e-9, 3, false},       {3, top + 5e-12, true},  {3, -2e-9, false},
                 {last, top, true},       {-1.5, 3, false},        {1e300, 3, false}};
    for (const auto& c : cases) {
        double sl = 0, sp = 0;
        EXPECT_EQ(Ntv2ShiftAt(a, c.fx * a.dx, c.fy * a.dy, &sl, &sp), c.accepted)
            << c.fx << " " << c.fy;
        if (!c.accepted) continue;
        const double lon = -80 + std::round(c.fx) * 0.5, lat = 40 + std::round(c.fy) * 0.5;
        EXPECT_NEAR(sl, NestedLonW(lon, lat) / 3600 * kRad, 2e-12) << c.fx;
        EXPECT_NEAR(sp, NestedLat(lon, lat) / 3600 * kRad, 2e-12) << c.fx;
    }
    double sl, sp;
    EXPECT_FALSE(Ntv2ShiftAt(a, std::nan(""), 0, &sl, &sp));
}

// A sub-grid of one column has no cell: its points are left with status 4.
TEST(Ntv2Shift, SingleColumnSubGridGivesOutside) {
    std::string bytes = Ntv2File({Box("LINE", "NONE", 5, 5, 0, 2, 3600, 3600, NestedShift(0))});
    std::FILE* f = fmemopen(&bytes[0], bytes.size(), "rb");
    Ntv2Tree tree;
    ASSERT_EQ(LoadShiftStream(f, &tree), NTV2_OK);
    std::fclose(f);
    const double x0 = tree.Roots()[0]->x0;
    double x = x0, y = 6 * kRad;
    EXPECT_EQ(Ntv2TransformPoint(tree, &x, &y, false), NTV2_OUTSIDE);
    EXPECT_EQ(x, x0);
}

TEST(Ntv2Shift, Wrap) {
    EXPECT_EQ(Ntv2Wrap(3.14159265359), 3.14159265359); // kept within the rounded limit
    EXPECT_NEAR(Ntv2Wrap(3 * kPi / 2), -kPi / 2, 1e-15);
    EXPECT_NEAR(Ntv2Wrap(-7 * kPi / 2), kPi / 2, 1e-15);
}

// An inverse that does not settle in eleven corrections is unplottable: a
// shift that mirrors every point about (10, 10) makes it swing to and fro.
TEST(Ntv2Shift, OscillatingInverseIsUnplottable) {
    auto steep = [](double lon, double lat, float* dLat, float* dLonW) {
        *dLat = float((lat - 10) * 3600);
        *dLonW = float(-(lon - 10) * 3600);
    };
    std::string bytes = Ntv2File({Box("STEEP", "NONE", 0, 0, 20, 20, 3600, 3600, steep)});
    std::FILE* f = fmemopen(&bytes[0], bytes.size(), "rb");
    Ntv2Tree tree;
    ASSERT_EQ(LoadShiftStream(f, &tree), NTV2_OK);
    std::fclose(f);
    double x = 10.1 * kRad, y = 10.1 * kRad;
    EXPECT_EQ(Ntv2TransformPoint(tree, &x, &y, true), NTV2_OK);
    EXPECT_EQ(x, kU);
    EXPECT_EQ(y, kU);
}

// ---------------------------------------------------------------- real grids

// The national grids of Debian proj-data against cs2cs; skipped without them.
TEST(Ntv2RealGrids, AgreeWithCs2cs) {
    std::ifstream table(std::string(KVPROJ_TEST_DATA_DIR) + "/ntv2_cs2cs.tsv");
    ASSERT_TRUE(table) << "tests/data/ntv2_cs2cs.tsv";
    std::map<std::string, std::unique_ptr<Ntv2Tree>> trees;
    std::string line;
    int compared = 0;
    double worstFwd = 0, worstInv = 0;
    while (std::getline(table, line)) {
        if (line.empty() || line[0] == '#') continue;
        std::istringstream in(line);
        std::string file;
        double lon, lat, fLon, fLat, iLon, iLat;
        ASSERT_TRUE(in >> file >> lon >> lat >> fLon >> fLat >> iLon >> iLat) << line;
        std::unique_ptr<Ntv2Tree>& tree = trees[file];
        if (!tree) {
            tree.reset(new Ntv2Tree);
            if (LoadShiftFile(("/usr/share/proj/" + file).c_str(), tree.get()) != NTV2_OK)
                tree->Clear();
        }
        if (tree->Empty()) continue;
        double x = lon * kRad, y = lat * kRad;
        ASSERT_EQ(Ntv2TransformPoint(*tree, &x, &y, false), NTV2_OK) << line;
        worstFwd = std::max({worstFwd, std::fabs(x / kRad - fLon), std::fabs(y / kRad - fLat)});
        x = lon * kRad, y = lat * kRad;
        ASSERT_EQ(Ntv2TransformPoint(*tree, &x, &y, true), NTV2_OK) << line;
        worstInv = std::max({worstInv, std::fabs(x / kRad - iLon), std::fabs(y / kRad - iLat)});
        ++compared;
    }
    if (compared == 0) GTEST_SKIP() << "no proj-data grids in /usr/share/proj";
    EXPECT_LT(worstFwd, 1e-9);
    EXPECT_LT(worstInv, 1e-9);
    std::printf("compared %d points: worst forward %.3g deg, inverse %.3g deg\n", compared,
                worstFwd, worstInv);
}

// ---------------------------------------------------------------- the process-wide grid

struct Ntv2Global : ::testing::Test {
    void SetUp() override {
        NTV2Shutdown();
        GridSetSearchDirectory(dir.Path().c_str());
    }
    void TearDown() override {
        NTV2Shutdown();
        GridSetSearchDirectory(nullptr);
        KVUnregisterCallerInstance();
    }
    TempDir dir;
};

TEST_F(Ntv2Global, LoadsLazilyAndRetriesAfterAFailedLoad) {
    DATUMPOINT p[] = {{-75.2, 42.7}, {kU, kU}, {-60, 42}};
    {
        LogCapture log;
        EXPECT_EQ(NTV2Transform(3, p, false), NTV2_OPEN_FAILED);
        const std::string text = log.Text();
        EXPECT_NE(text.find("NTV2Transform(iNumPoints=3, pPoints="), std::string::npos);
        EXPECT_NE(text.find("NTV2: Failed loading grid shift file '" + dir.Path() + "NTV2_0.GSB'"),
                  std::string::npos)
            << text;
    }
    EXPECT_EQ(p[0].x, -75.2);
    // Installed under the lower-case name, found at the next call.
    dir.Write("ntv2_0.gsb", Ntv2File(NestedGrids()));
    LogCapture log;
    EXPECT_EQ(NTV2Transform(3, p, false), NTV2_OK);
    const DATUMPOINT expected = NestedForward(-75.2, 42.7, 0.5);
    EXPECT_NEAR(p[0].x, expected.x, 1e-9);
    EXPECT_NEAR(p[0].y, expected.y, 1e-9);
    EXPECT_EQ(p[1].x, kU);
    EXPECT_NEAR(p[2].x, -60, 1e-12);
    EXPECT_TRUE(NTV2HadUnplottables());
    const std::string text = log.Text();
    for (const char* line : {"2 tables at root level.\r\n", "NTV2Startup completed ok.\r\n",
                             "Using table 'GRAND1  '\r\n", "not a match for any known shift table"})
        EXPECT_NE(text.find(line), std::string::npos) << line;
    DATUMPOINT q{-78.3, 41.1};
    EXPECT_EQ(NTV2Transform(1, &q, true), NTV2_OK);
    EXPECT_FALSE(NTV2HadUnplottables());
    EXPECT_NEAR(q.x, kNested[0].invLon, 1e-9);
}

TEST_F(Ntv2Global, ListsSubGridsParentsFirst) {
    std::string path = dir.Write("x.gsb", Ntv2File(NestedGrids()));
    ASSERT_EQ(NTV2Startup(path.c_str()), NTV2_OK);
    Ntv2SubGridInfo info[5];
    ASSERT_EQ(NTV2GetSubGrids(info, 5), 5);
    const char* names[] = {"ROOTA   ", "CHILD1  ", "GRAND1  ", "CHILD2  ", "ROOTB   "};
    const int depths[] = {0, 1, 2, 1, 0};
    for (int n = 0; n < 5; ++n) {
        EXPECT_STREQ(info[n].name, names[n]);
        EXPECT_EQ(info[n].depth, depths[n]);
    }
    EXPECT_NEAR(info[2].west, -75.5, 1e-12);
    EXPECT_NEAR(info[2].north, 43, 1e-12);
    EXPECT_NEAR(info[2].dx, 60, 1e-9);
    EXPECT_EQ(info[2].columns * info[2].rows, 31 * 31);
    NTV2Shutdown();
    EXPECT_EQ(NTV2GetSubGrids(nullptr, 0), 0);
}

// The engine turns load failures into the host's messages 20280 and 20281.
TEST_F(Ntv2Global, ConversionEngineReportsFileProblems) {
    KVRegisterCallerInstance(recordReports, nullptr);
    DATUMXFORM x;
    std::memset(&x, 0, sizeof x);
    x.SrcDatum = static_cast<DatumType>(253);
    x.DestDatum = DATUM_WGS84;
    void* h = DatCreateDatum(&x);
    ASSERT_NE(h, nullptr);
    DATUMPOINT p{-75.2, 42.7};
    g_reports.clear();
    EXPECT_FALSE(DatConvertDatum(h, &p, 1));
    EXPECT_EQ(g_reports, std::vector<int>{20280});
    std::string bytes = Ntv2File(NestedGrids());
    bytes.resize(bytes.size() - 40);
    dir.Write("NTV2_0.GSB", bytes);
    g_reports.clear();
    EXPECT_FALSE(DatConvertDatum(h, &p, 1));
    EXPECT_EQ(g_reports, std::vector<int>{20281});
    dir.Write("NTV2_0.GSB", Ntv2File(NestedGrids()));
    g_reports.clear();
    EXPECT_TRUE(DatConvertDatum(h, &p, 1));
    EXPECT_TRUE(g_reports.empty());
    const DATUMPOINT expected = NestedForward(-75.2, 42.7, 0.5);
    EXPECT_NEAR(p.x, expected.x, 1e-9);
    EXPECT_NEAR(p.y, expected.y, 1e-9);
    // WGS 84 back to the grid's datum runs the inverse.
    x.SrcDatum = DATUM_WGS84;
    x.DestDatum = static_cast<DatumType>(253);
    void* back = DatCreateDatum(&x);
    EXPECT_TRUE(DatConvertDatum(back, &p, 1));
    EXPECT_NEAR(p.x, -75.2, 1e-9);
    EXPECT_NEAR(p.y, 42.7, 1e-9);
    DatDeleteDatum(back);
    DatDeleteDatum(h);
}

// Transformations on several threads share the grid; one of them loads it.
TEST_F(Ntv2Global, ThreadsShareOneGrid) {
    dir.Write("NTV2_0.GSB", Ntv2File(NestedGrids()));
    std::vector<std::vector<DATUMPOINT>> work(4);
    std::vector<std::thread> threads;
    for (auto& w : work) {
        for (int n = 0; n < 2000; ++n)
            w.push_back({-79.93 + (n % 100) * 0.14, 40.13 + (n / 100) * 0.291});
        threads.emplace_back([&w] {
            for (int k = 0; k < 5; ++k) {
                std::vector<DATUMPOINT> copy = w;
                NTV2Transform(int(copy.size()), copy.data(), false);
                NTV2Transform(int(copy.size()), copy.data(), true);
                if (k == 4) w = copy;
            }
        });
    }
    for (std::thread& t : threads)
        t.join();
    for (const auto& w : work)
        for (int n = 0; n < 2000; n += 97) {
            EXPECT_NEAR(w[n].x, -79.93 + (n % 100) * 0.14, 1e-9);
            EXPECT_NEAR(w[n].y, 40.13 + (n / 100) * 0.291, 1e-9);
        }
}
