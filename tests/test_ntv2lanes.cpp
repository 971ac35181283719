// The vector loop of the NTv2 shift against the per-point path it replaces,
// forward and inverse, on every instruction set this CPU has: the same grids
// and points through NTV2Transform, compared to the bit (bilinear
// interpolation needs no transcendental function), with the unplottable flag.
// Grids: the clipped DHDN file of tests/data, the nested test layout, a file
// of nested regional grids, and hostile ones (a single column, a shift field
// rough enough that the inverse leaves its grid or does not settle).
#include "GridFiles.h"
#include "TestSupport.h"

#include "datum/GridShift.h"
#include "projections/VectorPath.h"

#include <hwy/targets.h>

#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <cstring>
#include <limits>
#include <random>
#include <string>
#include <vector>

using namespace KVProj;
using namespace gridfiles;

namespace {

constexpr double kMarker = KVPROJ_UNPLOTTABLE;
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kInf = std::numeric_limits<double>::infinity();

struct Outcome {
    std::vector<DATUMPOINT> points;
    int status;
    bool unplottable;
};

// NTV2Transform over `pts` on the vector path or the per-point one, in one
// call or in calls of 1, 2, ... 19 points.
Outcome Transform(const std::vector<DATUMPOINT>& pts, bool inverse, bool vector, bool shortCalls) {
    SetVectorPath(vector);
    Outcome o{pts, NTV2_OK, false};
    const int total = static_cast<int>(pts.size());
    for (int at = 0, size = 1; at < total; size = size % 19 + 1) {
        const int n = shortCalls ? std::min(size, total - at) : total;
        const int status = NTV2Transform(n, o.points.data() + at, inverse);
        if (status != NTV2_OK) o.status = status;
        o.unplottable |= NTV2HadUnplottables();
        at += n;
    }
    SetVectorPath(true);
    return o;
}

bool SameBits(const Outcome& a, const Outcome& b) {
    return a.status == b.status && a.unplottable == b.unplottable &&
           std::memcmp(a.points.data(), b.points.data(), a.points.size() * sizeof(DATUMPOINT)) == 0;
}

// The first point whose bits differ, for the failure message.
std::string FirstDifference(const std::vector<DATUMPOINT>& in, const Outcome& a, const Outcome& b) {
    for (size_t i = 0; i < in.size(); ++i)
        if (std::memcmp(&a.points[i], &b.points[i], sizeof(DATUMPOINT)) != 0) {
            char text[200];
            std::snprintf(text, sizeof text,
                          "point %zu (%.17g %.17g): %.17g %.17g against %.17g %.17g", i, in[i].x,
                          in[i].y, a.points[i].x, a.points[i].y, b.points[i].x, b.points[i].y);
            return text;
        }
    return "flag or status";
}

// Random points over the loaded grid's sub-grids: anywhere in and around
// them, on their node lines and outer edges (and within 1e-11 degree of them,
// where the edge rule decides), and a few that no computation takes.
std::vector<DATUMPOINT> PointsFor(size_t count, uint64_t seed) {
    std::vector<Ntv2SubGridInfo> grids(static_cast<size_t>(NTV2GetSubGrids(nullptr, 0)));
    NTV2GetSubGrids(grids.data(), static_cast<int>(grids.size()));
    std::mt19937_64 rng(seed);
    std::uniform_real_distribution<double> u(0, 1);
    std::uniform_int_distribution<size_t> pick(0, grids.size() - 1);
    // In cells: the edge rule takes a point within 1e-11 of a cell beyond the outer nodes.
    const double nudges[] = {0, 5e-12, -5e-12, 1.5e-11, -1.5e-11, 1e-9};
    std::vector<DATUMPOINT> pts;
    while (pts.size() < count) {
        const Ntv2SubGridInfo& g = grids[pick(rng)];
        const double w = g.east - g.west, h = g.north - g.south;
        const double nx = std::floor(u(rng) * (g.columns + 1)),
                     ny = std::floor(u(rng) * (g.rows + 1));
        const double nudge = nudges[pts.size() % 6], nudgeX = nudge * g.dx / 3600,
                     nudgeY = nudge * g.dy / 3600;
        switch (pts.size() % 4) {
        case 0: // in and around
            pts.push_back(
                {g.west - 0.1 * w + 1.2 * w * u(rng), g.south - 0.1 * h + 1.2 * h * u(rng)});
            break;
        case 1: // on a node line of longitude, outer ones included
            pts.push_back({g.west + nx * g.dx / 3600 + nudgeX, g.south + h * u(rng)});
            break;
        case 2: // on a node line of latitude
            pts.push_back({g.west + w * u(rng), g.south + ny * g.dy / 3600 + nudgeY});
            break;
        default: // on a node, or a turn away in longitude
            pts.push_back({g.west + nx * g.dx / 3600 + (u(rng) < 0.1 ? 360 : 0),
                           g.south + ny * g.dy / 3600 - nudgeY});
        }
    }
    const DATUMPOINT odd[] = {{kNaN, 45},    {-75, kNaN},    {kInf, 45},         {-75, -kInf},
                              {kMarker, 45}, {-75, kMarker}, {kMarker, kMarker}, {1e300, 45},
                              {-75, -1e300}, {0, 0}};
    for (size_t i = 0; i < sizeof odd / sizeof odd[0]; ++i)
        pts[(i * 7919) % pts.size()] = odd[i];
    return pts;
}

// The instruction sets to force, those compiled that this CPU has (the
// one-lane fallback included); 0 is Highway's own choice.
std::vector<int64_t> Targets() {
    std::vector<int64_t> out{0};
    for (int64_t t : {HWY_SCALAR, HWY_EMU128, HWY_SSSE3, HWY_SSE4, HWY_AVX2, HWY_AVX3})
        if (hwy::SupportedTargets() & HWY_TARGETS & t) out.push_back(t);
    return out;
}

// A shift of a few arcseconds, different in every sub-grid.
ShiftFn Smooth(double phase) {
    return [phase](double lon, double lat, float* dLat, float* dLonW) {
        *dLat = float(1.2 + 0.8 * std::sin(0.05 * lon + phase) * std::cos(0.07 * lat));
        *dLonW = float(-3.0 + 1.1 * std::cos(0.04 * lon - phase) * std::sin(0.09 * lat));
    };
}

// Shifts of up to half a degree that change sign from node to node on a
// spacing of a minute: the inverse leaves the grid or keeps oscillating.
ShiftFn Rough() {
    return [](double lon, double lat, float* dLat, float* dLonW) {
        const double s = std::sin(lon * 7919.0 + lat * 104729.0);
        *dLat = float(1800 * s);
        *dLonW = float(-1800 * std::cos(lon * 3571.0 - lat * 6151.0));
    };
}

std::vector<SubGrid> Regional() {
    std::vector<SubGrid> grids = {Box("NATIONAL", "NONE", -140, 40, 60, 30, 900, 900, Smooth(0))};
    for (int k = 0; k < 6; ++k) {
        const std::string name = "REG" + std::to_string(k);
        const double west = -136 + 4.5 * k, south = 42 + 2 * k;
        grids.push_back(Box(name, "NATIONAL", west, south, 3, 2, 60, 60, Smooth(0.1 * k)));
        grids.push_back(
            Box(name + "L", name, west + 0.5, south + 0.5, 0.5, 0.5, 7.5, 7.5, Smooth(0.2 * k)));
    }
    return grids;
}

// Nodes of one degree where the inverse's first estimate for a point on the
// west or east edge at 41 N lies `cells` of a cell beyond it (0.3 of a cell
// south): the edge rule decides whether the estimate is corrected (by the
// node shifts of 40 N, far from those of 41 N) or kept.
ShiftFn EdgeProbe(double cells) {
    return [cells](double, double lat, float* dLat, float* dLonW) {
        *dLat = float(0.3 * 3600);
        *dLonW = float(std::fabs(lat - 41) < 1e-9 ? -cells * 3600 : 1000);
    };
}

// Besides, grids whose estimate is within 1e-11 of a cell beyond an edge (on
// it) or further (outside it).
std::vector<SubGrid> Hostile() {
    std::vector<SubGrid> grids = {
        Box("THIN", "NONE", -60, 40, 0, 2, 3600, 3600, Smooth(0)), // one column
        Box("FLAT", "NONE", -58, 40, 2, 0, 3600, 3600, Smooth(1)), // one row
        Box("ROUGH", "NONE", -56, 40, 2, 2, 60, 60, Rough()),
        Box("DATELINE", "NONE", 170, -10, 20, 10, 1800, 1800, Smooth(2)),
        Box("CROSS", "DATELINE", 179, -5, 2, 2, 300, 300, Smooth(3))};
    const double cells[] = {5e-12, -5e-12, 1.5e-11, -1.5e-11, 3e-11, -3e-11};
    for (int k = 0; k < 6; ++k)
        grids.push_back(Box("EDGE" + std::to_string(k), "NONE", -50 + 3 * k, 40, 2, 2, 3600, 3600,
                            EdgeProbe(cells[k])));
    return grids;
}

struct GridCase {
    const char* name;
    std::vector<SubGrid> (*layout)(); // null: the DHDN file of tests/data
};

const GridCase kGrids[] = {
    {"dhdn", nullptr}, {"nested", NestedGrids}, {"regional", Regional}, {"hostile", Hostile}};

class Ntv2Lanes : public testing::TestWithParam<GridCase> {
protected:
    void SetUp() override {
        const GridCase& c = GetParam();
        const std::string path = c.layout ? dir.Write("grid.gsb", Ntv2File(c.layout()))
                                          : KVPROJ_TEST_DATA_DIR "/dhdn_beta2007_clip.gsb";
        ASSERT_EQ(NTV2Startup(path.c_str()), NTV2_OK);
    }
    void TearDown() override {
        NTV2Shutdown();
        hwy::SetSupportedTargetsForTest(0);
    }
    TempDir dir;
};

TEST_P(Ntv2Lanes, EveryInstructionSetGivesThePerPointBits) {
    const std::vector<DATUMPOINT> pts = PointsFor(kvtest::kSweepPoints, 20261124);
    for (bool inverse : {false, true}) {
        const Outcome ref = Transform(pts, inverse, false, false);
        size_t moved = 0, lost = 0;
        for (size_t i = 0; i < pts.size(); ++i) {
            moved += std::memcmp(&pts[i], &ref.points[i], sizeof(DATUMPOINT)) != 0;
            lost += ref.points[i].x == kMarker && pts[i].x != kMarker;
        }
        EXPECT_GT(moved, pts.size() / 4) << "the points must mostly fall in the grids";
        if (std::string(GetParam().name) == "hostile" && inverse) {
            EXPECT_GT(lost, 0u) << "the rough grid must leave some inverses unsettled";
        }
        for (int64_t target : Targets()) {
            hwy::SetSupportedTargetsForTest(target);
            const Outcome lanes = Transform(pts, inverse, true, false);
            EXPECT_TRUE(SameBits(lanes, ref)) << (inverse ? "inverse on " : "forward on ")
                                              << (target ? hwy::TargetName(target) : "best") << ": "
                                              << FirstDifference(pts, lanes, ref);
        }
        hwy::SetSupportedTargetsForTest(0);
    }
}

// Calls of 1 to 19 points (every tail of a vector) give each point what one
// call of the whole array gives, and the flag of the per-point path.
TEST_P(Ntv2Lanes, ShortCallsGiveTheBitsOfOneLongCall) {
    const std::vector<DATUMPOINT> pts = PointsFor(20000, 7);
    for (bool inverse : {false, true}) {
        const Outcome whole = Transform(pts, inverse, true, false);
        const Outcome shortCalls = Transform(pts, inverse, true, true);
        EXPECT_EQ(std::memcmp(whole.points.data(), shortCalls.points.data(),
                              pts.size() * sizeof(DATUMPOINT)),
                  0);
        EXPECT_TRUE(SameBits(shortCalls, Transform(pts, inverse, false, true)));
    }
}

INSTANTIATE_TEST_SUITE_P(Grids, Ntv2Lanes, testing::ValuesIn(kGrids),
                         [](const testing::TestParamInfo<GridCase>& info) {
                             return std::string(info.param.name);
                         });

// The trace names each point's sub-grid, so a traced conversion keeps the
// per-point path and its lines; and whether one call left an unplottable
// point is the flag of that call alone on both paths.
TEST(Ntv2LanesFlag, IsTheLastCallsOnBothPaths) {
    TempDir dir;
    ASSERT_EQ(NTV2Startup(dir.Write("grid.gsb", Ntv2File(Hostile())).c_str()), NTV2_OK);
    std::vector<DATUMPOINT> unsettled;
    for (int i = 0; i < 400 && unsettled.size() < 3; ++i) {
        DATUMPOINT p = {-56 + 0.005 * i, 40.5 + 0.0025 * i};
        const DATUMPOINT in = p;
        NTV2Transform(1, &p, true);
        if (p.x == kMarker) unsettled.push_back(in);
    }
    ASSERT_FALSE(unsettled.empty());
    for (bool vector : {false, true}) {
        SetVectorPath(vector);
        std::vector<DATUMPOINT> work = unsettled;
        work.push_back({-75, 45}); // no sub-grid: left as it is
        EXPECT_EQ(NTV2Transform(static_cast<int>(work.size()), work.data(), true), NTV2_OK);
        EXPECT_TRUE(NTV2HadUnplottables());
        EXPECT_EQ(work.back().x, -75);
        EXPECT_EQ(work[0].y, kMarker);
        EXPECT_EQ(NTV2Transform(static_cast<int>(work.size()), work.data(), false), NTV2_OK);
        EXPECT_TRUE(NTV2HadUnplottables()); // the markers pass through
        work = {{-75, 45}, {-74, 44}};
        EXPECT_EQ(NTV2Transform(2, work.data(), false), NTV2_OK);
        EXPECT_FALSE(NTV2HadUnplottables());
    }
    SetVectorPath(true);
    NTV2Shutdown();
}

} // namespace
