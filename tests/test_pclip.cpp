// Preclipping of polylines and polygons to the valid area of a projection, on
// real shapes: band edges, the +-180 seam, world-spanning polygons, holes and
// curved caps. Expected areas are plain geometry in the lon/lat plane.
#include "kvproj/projection.h"

#include "TestSupport.h"
#include "proj/kvPClip.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <random>

using namespace KVProj;

namespace {

using Path = std::vector<PROJPOINT>;
using Rings = std::vector<Path>;

PROJPOINT P(double x, double y) {
    return PROJPOINT{x, y};
}
Path Box(double x0, double y0, double x1, double y1) {
    return {P(x0, y0), P(x1, y0), P(x1, y1), P(x0, y1), P(x0, y0)};
}

// Everything the callbacks received; refuses the n-th callback (0-based) when refuseAfter >= 0.
struct Sink {
    Rings lines, outlines;
    std::vector<Rings> polygons;
    int refuseAfter = -1, calls = 0;
    bool Next() { return refuseAfter < 0 || calls++ < refuseAfter; }
};

template <Rings Sink::*paths> bool OnPath(void* user, int count, const PROJPOINT* pts) {
    (static_cast<Sink*>(user)->*paths).emplace_back(pts, pts + count);
    return static_cast<Sink*>(user)->Next();
}
const auto OnLine = OnPath<&Sink::lines>;
const auto OnOutline = OnPath<&Sink::outlines>;
bool OnPolygon(void* user, int parts, const int* counts, const PROJPOINT* pts) {
    Rings poly;
    for (int i = 0; i < parts; pts += counts[i++])
        poly.emplace_back(pts, pts + counts[i]);
    static_cast<Sink*>(user)->polygons.push_back(poly);
    return static_cast<Sink*>(user)->Next();
}

// Shoelace area, positive for counter-clockwise rings, summed over the rings.
double Area(const Rings& rings) {
    double a = 0.0;
    for (const Path& r : rings)
        for (size_t i = 0, j = r.size() - 1; i < r.size(); j = i++)
            a += 0.5 * (r[j].x - r[i].x) * (r[j].y + r[i].y);
    return a;
}

struct Handle {
    explicit Handle(PROJDATA d) : data(d), h(ProjCreateProjection(&data)) {}
    ~Handle() { ProjDeleteProjection(h); }
    PROJDATA data;
    void* h;
};

PROJDATA Record(ProjType type, double lon0, double lat0 = 0.0, double lat1 = 0.0) {
    PROJDATA d;
    std::memset(&d, 0, sizeof(d));
    d.Type = type, d.Scale = 1.0, d.Ellipsoid = ELLIPSOID_WGS84;
    d.Lon0 = lon0, d.Lat0 = lat0, d.Lat1 = lat1, d.Lat2 = lat1 + 10.0;
    return d;
}

bool In(void* h, double lon, double lat) {
    const PROJPOINT p = P(lon, lat);
    return ProjLLInProjection(h, &p);
}

// Every point inside the area; with `closed`, every path a closed ring.
void ExpectInside(void* h, const Rings& paths, bool closed) {
    for (const Path& path : paths) {
        if (closed) {
            ASSERT_GE(path.size(), 4u);
            EXPECT_TRUE(path.front().x == path.back().x && path.front().y == path.back().y);
        }
        for (const PROJPOINT& p : path)
            EXPECT_TRUE(ProjLLInProjection(h, &p)) << p.x << " " << p.y;
    }
}

bool PolylineClip(void* h, Sink& s, const Path& line) {
    return ProjLLPreclipPolyline(h, &s, static_cast<int>(line.size()), line.data(), OnLine);
}

bool PolygonClip(void* h, Sink& s, const Rings& rings, bool outlines = false) {
    std::vector<int> counts;
    Path all;
    for (const Path& r : rings) {
        counts.push_back(static_cast<int>(r.size()));
        all.insert(all.end(), r.begin(), r.end());
    }
    return ProjLLPreclipPolygon(h, &s, static_cast<int>(counts.size()), counts.data(), all.data(),
                                OnPolygon, outlines ? OnOutline : nullptr);
}

TEST(PreclipPolyline, CutAtTheTransverseMercatorBandEdge) {
    Handle tm(Record(PT_TRANSVERSE_MERCATOR, 0.0)); // valid for -45 < lon < 45
    struct Row {
        const char* name;
        Path line;
        int pieces;
        std::vector<double> cuts; // x, y of the cut ends in order; y halfway along straight edges
    } rows[] = {
        {"inside", {P(-10, 0), P(10, 5), P(20, -5)}, 1, {}},
        {"outside", {P(50, 0), P(60, 10)}, 0, {}},
        {"exits", {P(35, 10), P(55, 30)}, 1, {45, 20}},
        {"out and back", {P(0, 0), P(60, 0), P(0, 10)}, 2, {45, 0, 45, 2.5}},
        {"long edge, both ends out", {P(-100, 0), P(100, 40)}, 1, {-45, 11, 45, 29}},
    };
    for (const Row& r : rows) {
        Sink s;
        ASSERT_TRUE(PolylineClip(tm.h, s, r.line)) << r.name;
        ASSERT_EQ(static_cast<int>(s.lines.size()), r.pieces) << r.name;
        ExpectInside(tm.h, s.lines, false); // cut ends strictly inside the open band
        std::vector<double> cuts;
        for (const Path& piece : s.lines)
            for (const PROJPOINT& p : {piece.front(), piece.back()})
                if (std::fabs(std::fabs(p.x) - 45.0) < 1e-6)
                    cuts.push_back(p.x), cuts.push_back(p.y);
        EXPECT_EQ(cuts.size(), r.cuts.size()) << r.name;
        for (size_t i = 0; i < std::min(cuts.size(), r.cuts.size()); ++i)
            EXPECT_NEAR(cuts[i], r.cuts[i], 1e-6) << r.name;
    }
}

TEST(PreclipPolyline, SeamCopyRefusalAndNoArea) {
    Handle merc(Record(PT_MERCATOR, 0.0)); // -180 < lon < 180
    Sink seam;
    ASSERT_TRUE(PolylineClip(merc.h, seam, {P(170, 10), P(190, 20)}));
    ASSERT_EQ(seam.lines.size(), 2u); // as given, then a copy moved by -360
    ExpectInside(merc.h, seam.lines, false);
    const PROJPOINT ends[] = {seam.lines[0].front(), seam.lines[0].back(), seam.lines[1].front(),
                              seam.lines[1].back()};
    const double want[][2] = {{170, 10}, {180, 15}, {-180, 15}, {-170, 20}};
    for (int i = 0; i < 4; ++i) {
        EXPECT_NEAR(ends[i].x, want[i][0], 1e-6) << i;
        EXPECT_NEAR(ends[i].y, want[i][1], 1e-6) << i;
    }
    Handle tm(Record(PT_TRANSVERSE_MERCATOR, 0.0));
    Sink refusing;
    refusing.refuseAfter = 0;
    EXPECT_FALSE(PolylineClip(tm.h, refusing, {P(0, 0), P(60, 0), P(0, 10)}));
    EXPECT_EQ(refusing.lines.size(), 1u); // stopped at the first piece
    refusing.calls = 0;
    EXPECT_FALSE(PolygonClip(tm.h, refusing, {Box(-10, -10, 10, 10)}));

    kvtest::ReportRecorder host; // an unprojected handle has no area to clip to
    Handle geo(Record(PT_UNPROJECTED, 0.0));
    Sink s;
    EXPECT_FALSE(PolygonClip(geo.h, s, {Box(-10, -10, 10, 10)}));
    EXPECT_FALSE(PolylineClip(geo.h, s, {P(0, 0), P(1, 1)}));
    EXPECT_EQ(host.Count(20200), 2); // one report per call, not per point
    EXPECT_TRUE(s.polygons.empty() && s.lines.empty());
}

TEST(PreclipPolygon, RingsHolesWorldAndSeam) {
    const PROJDATA band = Record(PT_TRANSVERSE_MERCATOR, 0.0), merc = Record(PT_MERCATOR, 0.0);
    const Path u = {P(30, 0),  P(60, 0),  P(60, 30), P(30, 30), P(30, 20),
                    P(50, 20), P(50, 10), P(30, 10), P(30, 0)};
    // Clockwise on purpose: the clipper orients rings itself.
    const Path acrossSeam = {P(170, 10), P(170, 20), P(190, 20), P(190, 10), P(170, 10)};
    struct Row {
        const char* name;
        PROJDATA area;
        Rings rings;
        size_t polygons, ringsOut; // of the first polygon
        double netArea;            // of every polygon
    } rows[] = {
        {"inside", band, {Box(-10, -10, 10, 10)}, 1, 1, 400.0},
        {"outside", band, {Box(50, 0, 60, 10)}, 0, 0, 0.0},
        {"straddles one edge", band, {Box(30, 0, 60, 10)}, 1, 1, 150.0},
        {"hole inside", band, {Box(-60, -10, 60, 10), Box(-5, -5, 5, 5)}, 1, 2, 1700.0},
        {"hole across the edge", band, {Box(-60, -10, 60, 10), Box(40, -5, 50, 5)}, 1, 1, 1750.0},
        {"U shape, two pieces", band, {u}, 1, 2, 300.0},
        {"two islands", band, {Box(-40, 0, -30, 10), Box(30, 0, 50, 10)}, 1, 2, 250.0},
        {"world to the band", band, {Box(-180, -90, 180, 90)}, 1, 1, 90.0 * 180.0},
        // Every vertex and edge lies on the open boundary: the area's own outline.
        {"world to the Mercator area", merc, {Box(-180, -90, 180, 90)}, 1, 1, 360.0 * 180.0},
        {"across the seam: two halves", merc, {acrossSeam}, 2, 1, 100.0},
    };
    for (const Row& r : rows) {
        Handle h(r.area);
        Sink s;
        ASSERT_TRUE(PolygonClip(h.h, s, r.rings, true)) << r.name;
        ASSERT_EQ(s.polygons.size(), r.polygons) << r.name;
        for (const Rings& p : s.polygons) {
            ExpectInside(h.h, p, true);
            EXPECT_NEAR(Area(p), r.netArea, 5e-3 * r.netArea) << r.name;
        }
        EXPECT_EQ(r.polygons ? s.polygons[0].size() : 0u, r.ringsOut) << r.name;
        ExpectInside(h.h, s.outlines, false);
    }
}

// The gnomonic area is a cap of 60 degrees about (Lat1, Lon0) and the orthographic one
// a hemisphere: curved outlines in the lon/lat plane that must be followed, not cut.
// Reference: the part of the box inside the area, by counting cells of 0.1 degree.
TEST(PreclipPolygon, CurvedCapsAreFollowed) {
    const std::pair<PROJDATA, Path> rows[] = {
        {Record(PT_GNOMONIC, 10.0, 0.0, 40.0), Box(-170, -89, 190, 89)},
        {Record(PT_ORTHOGRAPHIC, 0.0, 30.0), Box(60, -40, 120, 40)}, // hemisphere about (30N, 0)
    };
    for (const auto& r : rows) {
        Handle h(r.first);
        Sink s;
        ASSERT_TRUE(PolygonClip(h.h, s, {r.second}, true));
        ASSERT_EQ(s.polygons.size(), 1u);
        ASSERT_EQ(s.polygons[0].size(), 1u);
        ExpectInside(h.h, s.polygons[0], true);
        EXPECT_FALSE(s.outlines.empty());
        ExpectInside(h.h, s.outlines, false);
        const double cell = 0.1, x0 = r.second[0].x, y0 = r.second[0].y;
        double expected = 0.0;
        for (double lat = y0 + cell / 2; lat < r.second[2].y; lat += cell)
            for (double lon = x0 + cell / 2; lon < r.second[2].x; lon += cell)
                expected += In(h.h, lon, lat) ? cell * cell : 0;
        EXPECT_NEAR(Area(s.polygons[0]), expected, 0.005 * expected);
    }
}

// Random polygons, some self-intersecting, and hostile ones: the clipper may refuse a
// shape it cannot follow, but never crashes, hangs or hands out a point outside the area.
TEST(PreclipPolygon, RandomAndBadShapesStayInside) {
    const PROJDATA areas[] = {Record(PT_TRANSVERSE_MERCATOR, 20.0), Record(PT_MERCATOR, -30.0),
                              Record(PT_GNOMONIC, 0.0, 0.0, -20.0),
                              Record(PT_ORTHOGRAPHIC, 100.0, 45.0)};
    const double nan = std::nan(""), inf = HUGE_VAL;
    std::vector<std::pair<PROJDATA, Rings>> cases = {
        {Record(PT_TRANSVERSE_MERCATOR, 0.0), {{P(0, 0), P(nan, 5), P(10, 10), P(0, 0)}}},
        {Record(PT_TRANSVERSE_MERCATOR, 0.0), {{P(0, 0), P(inf, 5), P(-inf, -5), P(0, 0)}}},
        {Record(PT_TRANSVERSE_MERCATOR, 0.0), {{P(0, 0), P(1e308, 1e308), P(10, 0)}}},
        {Record(PT_TRANSVERSE_MERCATOR, 0.0), {{P(0, 0), P(10, 10)}}}, // too short for a ring
        {Record(PT_TRANSVERSE_MERCATOR, 0.0), {{P(5, 5), P(5, 5), P(5, 5)}}},   // no area
        {Record(PT_TRANSVERSE_MERCATOR, 0.0), {Box(-10, -10, 10, 10), Path()}}, // an empty part
    };
    const size_t hostile = cases.size();
    std::mt19937 rng(12345);
    std::uniform_real_distribution<double> lon(-250.0, 250.0), lat(-95.0, 95.0);
    std::uniform_int_distribution<int> size(3, 9);
    for (const PROJDATA& a : areas)
        for (int trial = 0; trial < 40; ++trial) {
            Path ring;
            for (int i = 0, n = size(rng); i < n; ++i)
                ring.push_back(P(lon(rng), lat(rng)));
            cases.push_back({a, {ring}});
        }
    for (size_t c = 0; c < cases.size(); ++c) {
        Handle h(cases[c].first);
        ASSERT_NE(h.h, nullptr);
        Sink s, l;
        PolygonClip(h.h, s, cases[c].second, true); // may refuse a shape it cannot follow
        for (const Rings& p : s.polygons)
            ExpectInside(h.h, p, false);
        ExpectInside(h.h, s.outlines, false);
        EXPECT_TRUE(PolylineClip(h.h, l, cases[c].second[0]) || c < hostile) << c;
        ExpectInside(h.h, l.lines, false);
    }
}

// The clipper on its own, with an area given by a predicate: a disc of radius 10.
TEST(PreclipPolygon, FollowsAnyBoundaryGivenByItsTest) {
    PClipDomain disc{[](const void*, const PROJPOINT& p) { return p.x * p.x + p.y * p.y < 100.0; },
                     nullptr, P(0, 0)};
    for (auto row : {std::make_pair(Box(-20, -20, 20, 20), M_PI * 100.0),
                     std::make_pair(Box(0, -20, 20, 20), M_PI * 50.0)}) {
        Sink s;
        const int counts[] = {static_cast<int>(row.first.size())};
        ASSERT_TRUE(PClipPolygon(disc, 1, counts, row.first.data(), &s, OnPolygon, nullptr));
        ASSERT_EQ(s.polygons.size(), 1u);
        EXPECT_NEAR(Area(s.polygons[0]), row.second, 0.01 * row.second);
    }
}

} // namespace
