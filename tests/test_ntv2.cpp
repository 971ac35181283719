// NTv2 grid shift: corrupt and hostile files, sub-grid choice, edge rules,
// forward and inverse shifts, and the process-wide grid. Expected values: the
// shift functions of GridFiles.h and cs2cs (PROJ 9.1.1) +nadgrids on the same
// files and on Debian proj-data 9.1.1 grids (tests/data/ntv2_cs2cs.tsv).
#include "GridFiles.h"
#include "TestSupport.h"

#include "datum/Ntv2.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <limits>
#include <memory>
#include <thread>

using namespace KVProj;
using namespace gridfiles;

namespace {

constexpr double kU = KVPROJ_UNPLOTTABLE;
constexpr double kRad = 0.017453292519943295;

using kvtest::LogCapture;

int Load(std::string bytes, Ntv2Tree* tree) {
    std::FILE* f = fmemopen(&bytes[0], bytes.size(), "rb");
    const int status = LoadShiftStream(f, tree);
    std::fclose(f);
    return status;
}

template <class T> void Poke(std::string& b, size_t at, T v) {
    std::memcpy(&b[at], &v, sizeof v);
}

// Where the nested file moves (lon, lat) with the sub-grid written with `offset`.
DATUMPOINT NestedForward(double lon, double lat, double offset) {
    return {lon - (NestedLonW(lon, lat) - offset) / 3600,
            lat + (NestedLat(lon, lat) + offset) / 3600};
}

} // namespace

// Every refusal of the loader with its status and log line.
TEST(Ntv2Load, RefusesCorruptFilesWithTheirStatus) {
    const std::vector<SubGrid> grids = NestedGrids();
    const size_t g1 = SubGridOffset(grids, 1), g4 = SubGridOffset(grids, 4);
    const double nan = std::numeric_limits<double>::quiet_NaN();
    const struct {
        const char* what;
        std::function<void(std::string&)> corrupt;
        int status;
        const char* log;
    } cases[] = {
        // clang-format off
        {"5 bytes", [](std::string& b) { b.resize(5); }, 6, "Failed reading signature bytes."},
        {"signature", [](std::string& b) { b[0] = 'X'; }, 7, "Invalid signature bytes."},
        {"short overview", [](std::string& b) { b.resize(100); }, 6, "Failed reading overview header."},
        {"NUM_OREC 12", [](std::string& b) { Poke(b, ValueAt(0, 0), 12); }, 7, "Invalid header size."},
        {"GS_TYPE", [](std::string& b) { b.replace(ValueAt(0, 3), 7, "MINUTES"); }, 7, "Invalid shift type."},
        {"NUM_FILE 6 of 5", [](std::string& b) { Poke(b, ValueAt(0, 2), 6); }, 6, "Read subgrid header 5 failed!"},
        {"cut nodes", [g4](std::string& b) { b.resize(g4 + 300); }, 6, "Read subgrid header 4 failed!"},
        // CHILD1 has 25 x 19 nodes; -300" spacing gives 25 x -17, which must not pass for -425.
        {"GS_COUNT", [g1](std::string& b) { Poke(b, ValueAt(g1, 10), 474); }, 7, "Bad array size 474!"},
        {"NaN spacing", [&](std::string& b) { Poke(b, ValueAt(g1, 9), nan); }, 7, "Bad array size 475!"},
        {"negative spacing", [g1](std::string& b) { Poke(b, ValueAt(g1, 8), -300.0), Poke(b, ValueAt(g1, 10), -425); },
         7, "Bad array size -425!"},
        {"unknown parent", [g1](std::string& b) { b.replace(ValueAt(g1, 1), 8, "NOPE    "); }, 7,
         "No such table parent 'NOPE    '"},
        // Only sub-grids read before one can be its parent: no cycles.
        {"own parent", [g1](std::string& b) { b.replace(ValueAt(g1, 1), 6, "CHILD1"); }, 7,
         "No such table parent 'CHILD1  '"},
        // clang-format on
        // 46341 x 46340 nodes declared in a 31 kB file: a short read, nothing that size allocated.
        {"huge count",
         [g1](std::string& b) {
             Poke(b, ValueAt(g1, 9), 1e-3), Poke(b, ValueAt(g1, 8), 5400.0 / 46339);
             Poke(b, ValueAt(g1, 6), 76 * 3600 - 46.340), Poke(b, ValueAt(g1, 10), 46341 * 46340);
         },
         6, "Read subgrid header 1 failed!"},
    };
    for (const auto& c : cases) {
        std::string bytes = Ntv2File(grids);
        c.corrupt(bytes);
        Ntv2Tree tree;
        LogCapture log("ntv2");
        EXPECT_EQ(Load(bytes, &tree), c.status) << c.what;
        EXPECT_TRUE(tree.Empty()) << c.what;
        EXPECT_TRUE(kvtest::Contains(log.Text(), c.log + std::string("\r\n"))) << c.what;
    }
}

// A chain as deep as a file can nest: neither loading, choosing nor freeing
// may recurse or search the whole tree per sub-grid.
TEST(Ntv2Load, DeepNestingStaysLinear) {
    std::vector<SubGrid> chain;
    for (int n = 0; n < 30000; ++n)
        chain.push_back(Box("G" + std::to_string(n), n ? "G" + std::to_string(n - 1) : "NONE", 0, 0,
                            1, 1, 3600, 3600, NestedShift(n % 7)));
    const auto start = std::chrono::steady_clock::now();
    Ntv2Tree tree;
    ASSERT_EQ(Load(Ntv2File(chain), &tree), NTV2_OK);
    EXPECT_EQ(tree.Choose(0.5 * kRad, 0.5 * kRad), tree.Find("G29999  "));
    tree.Clear();
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(20));
}

// With two sub-grids of one name, a child goes to the one a depth-first
// search meets first: the child of the first root, though it was read last.
TEST(Ntv2Load, DuplicateNamesResolveDepthFirst) {
    Ntv2Tree tree;
    ASSERT_EQ(Load(Ntv2File({Box("R1", "NONE", 0, 0, 4, 4, 3600, 3600, NestedShift(0)),
                             Box("R2", "NONE", 10, 0, 4, 4, 3600, 3600, NestedShift(0)),
                             Box("D", "R2", 10, 0, 2, 2, 1800, 1800, NestedShift(0)),
                             Box("D", "R1", 0, 0, 2, 2, 1800, 1800, NestedShift(0)),
                             Box("E", "D", 0, 0, 1, 1, 900, 900, NestedShift(0))}),
                   &tree),
              NTV2_OK);
    EXPECT_EQ(tree.Find("E       ")->up, tree.Roots()[0]->children.at(0));
}

struct Nested : ::testing::Test {
    void SetUp() override { ASSERT_EQ(Load(Ntv2File(NestedGrids()), &tree), NTV2_OK); }
    DATUMPOINT Shift(double lon, double lat, bool inverse) {
        double x = lon * kRad, y = lat * kRad;
        EXPECT_EQ(Ntv2TransformPoint(tree, &x, &y, inverse), NTV2_OK);
        return {x / kRad, y / kRad};
    }
    Ntv2Tree tree;
};

// cs2cs -f %.12f +proj=longlat +ellps=clrk66 +nadgrids=nested.gsb +to
// +proj=longlat +datum=WGS84 (inverse with -I); offset: the sub-grid to be used.
const struct {
    double lon, lat, offset, fwdLon, fwdLat, invLon, invLat;
} kNested[] = {
    {-78.3, 41.1, 0, -78.299468333337, 41.100479166671, -78.300531673008, 41.099520854753},
    {-75.2, 42.7, 0.5, -75.199376388909, 42.700726388888, -75.200623617167, 42.699273638524},
    {-75.7, 42.2, 0.25, -75.699440277787, 42.200636111111, -75.700559727796, 42.199363913272},
    {-72.5, 44.5, -0.25, -72.499622222228, 44.500618055518, -72.500377779968, 44.499381963560},
    {-68.0, 41.0, 1.0, -67.999391666632, 41.001041666693, -68.000608336517, 40.998958364672},
    // On the edge both roots share: the first root read.
    {-70.0, 42.0, 0, -69.999622222228, 42.000722222208, -70.000377779100, 41.999277798316},
    // On the east edges of a child and a grandchild, and on outer corners.
    {-74.0, 43.0, 0.25, -73.999466666665, 43.000694444445, -74.000533337919, 42.999305580015},
    {-75.0, 42.75, 0.5, -74.999379861064, 42.750732638882, -75.000620144886, 42.749267388518},
    {-80, 40, 0, -79.999444444423, 40.000416666656, -80.000555555577, 39.999583333344},
    {-65, 44, 1.0, -64.999425000020, 44.001166666576, -65.000575001438, 43.998833365599},
};

TEST_F(Nested, ForwardAndInverseMatchTheOracles) {
    for (const auto& c : kNested) {
        const DATUMPOINT e = NestedForward(c.lon, c.lat, c.offset);
        const DATUMPOINT f = Shift(c.lon, c.lat, false), i = Shift(c.lon, c.lat, true);
        const double pairs[][2] = {{f.x, e.x},      {f.y, e.y},      {f.x, c.fwdLon},
                                   {f.y, c.fwdLat}, {i.x, c.invLon}, {i.y, c.invLat}};
        for (const auto& p : pairs)
            EXPECT_NEAR(p[0], p[1], 1e-9) << c.lon << " " << c.lat;
        // Away from sub-grid edges the inverse undoes the forward to its tolerance.
        const Ntv2SubGrid* g = tree.Choose(c.lon * kRad, c.lat * kRad);
        const double x = c.lon * kRad, y = c.lat * kRad, m = 1e-6;
        if (x - g->x0 < m || g->x1 - x < m || y - g->y0 < m || g->y1 - y < m) continue;
        const DATUMPOINT back = Shift(f.x, f.y, true);
        const double eLon = std::fabs(back.x - c.lon) * kRad,
                     eLat = std::fabs(back.y - c.lat) * kRad;
        EXPECT_TRUE(eLon <= 1e-12 || eLat <= 1e-12) << c.lon << " " << c.lat;
        EXPECT_LT(std::max(eLon, eLat), 1e-10);
    }
}

// Within 1e-11 of a cell beyond the outer nodes counts as on them; no further.
TEST_F(Nested, EdgeTolerance) {
    const Ntv2SubGrid& a = *tree.Roots()[0]; // 21 x 13 nodes
    const struct {
        double fx, fy;
        bool accepted;
    } cases[] = {{20 + 5e-12, 3, true}, {20 + 1e-9, 3, false}, {-5e-12, 3, true}, {-1e-9, 3, false},
                 {3, 12 + 5e-12, true}, {3, -2e-9, false},     {20, 12, true},    {-1.5, 3, false},
                 {1e300, 3, false},     {NAN, 3, false}};
    for (const auto& c : cases) {
        double sl = 0, sp = 0;
        EXPECT_EQ(Ntv2ShiftAt(a, c.fx * a.dx, c.fy * a.dy, &sl, &sp), c.accepted)
            << c.fx << " " << c.fy;
        const double lon = -80 + std::round(c.fx) * 0.5, lat = 40 + std::round(c.fy) * 0.5;
        if (!c.accepted) continue;
        EXPECT_NEAR(sl, NestedLonW(lon, lat) / 3600 * kRad, 2e-12) << c.fx;
        EXPECT_NEAR(sp, NestedLat(lon, lat) / 3600 * kRad, 2e-12) << c.fy;
    }
}

// A shift that mirrors points about (10, 10) swings the inverse to and fro:
// after eleven corrections the point is unplottable.
TEST(Ntv2Shift, UnsettledInverseIsUnplottable) {
    Ntv2Tree tree;
    auto mirror = [](double lon, double lat, float* dLat, float* dLonW) {
        *dLat = float((lat - 10) * 3600), *dLonW = float(-(lon - 10) * 3600);
    };
    ASSERT_EQ(Load(Ntv2File({Box("M", "NONE", 0, 0, 20, 20, 3600, 3600, mirror)}), &tree), NTV2_OK);
    double x = 10.1 * kRad, y = 10.1 * kRad;
    EXPECT_EQ(Ntv2TransformPoint(tree, &x, &y, true), NTV2_OK);
    EXPECT_EQ(x, kU);
    EXPECT_EQ(y, kU);
}

// The national grids of Debian proj-data against cs2cs; skipped without them.
TEST(Ntv2RealGrids, AgreeWithCs2cs) {
    std::istringstream table(kvtest::ReadFile(KVPROJ_TEST_DATA_DIR "/ntv2_cs2cs.tsv"));
    std::map<std::string, std::unique_ptr<Ntv2Tree>> trees;
    std::string line, file;
    int compared = 0, rows = 0;
    double worst = 0, lon, lat, fLon, fLat, iLon, iLat;
    while (std::getline(table, line)) {
        std::istringstream in(line);
        if (line[0] == '#' || !(in >> file >> lon >> lat >> fLon >> fLat >> iLon >> iLat)) continue;
        ++rows;
        std::unique_ptr<Ntv2Tree>& tree = trees[file];
        if (!tree)
            tree.reset(new Ntv2Tree),
                LoadShiftFile(("/usr/share/proj/" + file).c_str(), tree.get());
        if (tree->Empty()) continue;
        for (bool inverse : {false, true}) {
            double x = lon * kRad, y = lat * kRad;
            ASSERT_EQ(Ntv2TransformPoint(*tree, &x, &y, inverse), NTV2_OK) << line;
            worst = std::max({worst, std::fabs(x / kRad - (inverse ? iLon : fLon)),
                              std::fabs(y / kRad - (inverse ? iLat : fLat))});
        }
        ++compared;
    }
    ASSERT_GT(rows, 0) << "tests/data/ntv2_cs2cs.tsv missing";
    if (compared == 0) GTEST_SKIP() << "no proj-data grids in /usr/share/proj";
    EXPECT_LT(worst, 1e-9) << compared << " points";
}

struct Ntv2Global : ::testing::Test {
    void SetUp() override { NTV2Shutdown(), GridSetSearchDirectory(dir.Path().c_str()); }
    void TearDown() override { NTV2Shutdown(), GridSetSearchDirectory(nullptr); }
    TempDir dir;
};

TEST_F(Ntv2Global, LoadsLazilyAndRetriesAfterAFailedLoad) {
    DATUMPOINT p[] = {{-75.2, 42.7}, {kU, kU}, {-60, 42}};
    LogCapture log("ntv2");
    EXPECT_EQ(NTV2Transform(3, p, false), NTV2_OPEN_FAILED);
    EXPECT_EQ(p[0].x, -75.2);
    dir.Write("ntv2_0.gsb", Ntv2File(NestedGrids())); // the lower-case spelling is found too
    EXPECT_EQ(NTV2Transform(3, p, false), NTV2_OK);
    const DATUMPOINT expected = NestedForward(-75.2, 42.7, 0.5);
    EXPECT_NEAR(p[0].x, expected.x, 1e-9);
    EXPECT_NEAR(p[0].y, expected.y, 1e-9);
    EXPECT_EQ(p[1].x, kU);
    EXPECT_NEAR(p[2].x, -60, 1e-12); // outside every sub-grid: unchanged (cs2cs refuses it)
    EXPECT_TRUE(NTV2HadUnplottables());
    const std::string text = log.Text(), file = dir.Path() + "NTV2_0.GSB";
    for (const std::string& line :
         {std::string("NTV2Transform(iNumPoints=3, pPoints="),
          "LoadShiftFile('" + file + "')\r\nFile open failed.",
          "NTV2: Failed loading grid shift file '" + file + "'",
          std::string("2 tables at root level."), std::string("NTV2Startup completed ok."),
          std::string("Using table 'GRAND1  '"),
          std::string("not a match for any known shift table!")})
        EXPECT_TRUE(kvtest::Contains(text, line)) << line;
    DATUMPOINT q{-78.3, 41.1};
    EXPECT_EQ(NTV2Transform(1, &q, true), NTV2_OK);
    EXPECT_FALSE(NTV2HadUnplottables());
    EXPECT_NEAR(q.x, kNested[0].invLon, 1e-9);
}

// The engine turns load failures into the host's messages 20280 and 20281.
TEST_F(Ntv2Global, ConversionEngineReportsFileProblems) {
    kvtest::ReportRecorder host;
    DATUMXFORM x{};
    x.SrcDatum = static_cast<DatumType>(253), x.DestDatum = DATUM_WGS84;
    DATUMXFORM y = x;
    std::swap(y.SrcDatum, y.DestDatum);
    void *h = DatCreateDatum(&x), *back = DatCreateDatum(&y);
    const std::string good = Ntv2File(NestedGrids()), cut = good.substr(0, good.size() - 40);
    DATUMPOINT p{-75.2, 42.7};
    for (const auto& step : {std::make_pair(std::string(), 20280), {cut, 20281}, {good, 0}}) {
        if (!step.first.empty()) dir.Write("NTV2_0.GSB", step.first);
        host.reports.clear();
        EXPECT_EQ(DatConvertDatum(h, &p, 1), step.second == 0);
        EXPECT_EQ(host.reports.size(), step.second ? 1u : 0u);
        EXPECT_EQ(host.Count(step.second), step.second ? 1 : 0);
    }
    EXPECT_NEAR(p.x, NestedForward(-75.2, 42.7, 0.5).x, 1e-9);
    EXPECT_TRUE(DatConvertDatum(back, &p, 1)); // WGS 84 to the grid's datum: the inverse
    EXPECT_NEAR(p.x, -75.2, 1e-9);
    EXPECT_NEAR(p.y, 42.7, 1e-9);
    DatDeleteDatum(back), DatDeleteDatum(h);
}

// Transformations on several threads share the grid; one of them loads it.
TEST_F(Ntv2Global, ThreadsShareOneGrid) {
    dir.Write("NTV2_0.GSB", Ntv2File(NestedGrids()));
    std::vector<DATUMPOINT> start;
    for (int n = 0; n < 2000; ++n)
        start.push_back({-79.93 + (n % 100) * 0.14, 40.13 + (n / 100) * 0.291});
    std::vector<std::vector<DATUMPOINT>> work(4, start);
    std::vector<std::thread> threads;
    for (auto& w : work)
        threads.emplace_back([&w] {
            for (int k = 0; k < 10; ++k)
                NTV2Transform(int(w.size()), w.data(), k % 2 == 1);
        });
    for (std::thread& t : threads)
        t.join();
    for (const auto& w : work)
        for (int n = 0; n < 2000; n += 37)
            EXPECT_LT(std::max(std::fabs(w[n].x - start[n].x), std::fabs(w[n].y - start[n].y)),
                      1e-9);
}
