// Preclipping of polylines and polygons to the valid area of a projection, on
// real shapes: band edges, the +-180 seam, world-spanning polygons, holes and
// curved caps. Expected areas are plain geometry in the lon/lat plane.
#include "kvproj/projection.h"

#include "kvlibw/kvlibw.h"
#include "proj/kvPClip.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <random>
#include <vector>

using namespace KVProj;

namespace {

using Path = std::vector<PROJPOINT>;

PROJPOINT P(double x, double y) {
    return PROJPOINT{x, y};
}

struct Polygon {
    std::vector<Path> rings;
};

// Everything the callbacks received.
struct Sink {
    std::vector<Path> lines;
    std::vector<Polygon> polygons;
    std::vector<Path> outlines; // open pieces of polygon outlines
    int refuseAfter = -1;       // fail the n-th callback (0-based) when >= 0
    int calls = 0;
    bool Next() { return refuseAfter < 0 || calls++ < refuseAfter; }
};

bool OnLine(void* user, int count, const PROJPOINT* pts) {
    Sink* s = static_cast<Sink*>(user);
    s->lines.emplace_back(pts, pts + count);
    return s->Next();
}

bool OnOutline(void* user, int count, const PROJPOINT* pts) {
    Sink* s = static_cast<Sink*>(user);
    s->outlines.emplace_back(pts, pts + count);
    return s->Next();
}

bool OnPolygon(void* user, int parts, const int* counts, const PROJPOINT* pts) {
    Sink* s = static_cast<Sink*>(user);
    Polygon poly;
    for (int i = 0; i < parts; ++i) {
        poly.rings.emplace_back(pts, pts + counts[i]);
        pts += counts[i];
    }
    s->polygons.push_back(poly);
    return s->Next();
}

// Shoelace area, positive for counter-clockwise rings.
double SignedArea(const Path& r) {
    double a = 0.0;
    for (size_t i = 0, j = r.size() - 1; i < r.size(); j = i++)
        a += (r[j].x - r[i].x) * (r[j].y + r[i].y);
    return 0.5 * a;
}

double NetArea(const Polygon& p) {
    double a = 0.0;
    for (const Path& r : p.rings)
        a += SignedArea(r);
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
    d.Type = type;
    d.Scale = 1.0;
    d.Ellipsoid = ELLIPSOID_WGS84;
    d.Lon0 = lon0;
    d.Lat0 = lat0;
    d.Lat1 = lat1;
    d.Lat2 = lat1 + 10.0;
    return d;
}

void ExpectAllInside(void* h, const Path& path) {
    for (const PROJPOINT& p : path)
        EXPECT_TRUE(ProjLLInProjection(h, &p)) << p.x << " " << p.y;
}

void ExpectClosed(const Path& r) {
    ASSERT_GE(r.size(), 4u);
    EXPECT_EQ(r.front().x, r.back().x);
    EXPECT_EQ(r.front().y, r.back().y);
}

bool PolylineClip(void* h, Sink& s, const Path& line) {
    return ProjLLPreclipPolyline(h, &s, static_cast<int>(line.size()), line.data(), OnLine);
}

bool PolygonClip(void* h, Sink& s, const std::vector<Path>& rings, bool outlines = false) {
    std::vector<int> counts;
    Path all;
    for (const Path& r : rings) {
        counts.push_back(static_cast<int>(r.size()));
        all.insert(all.end(), r.begin(), r.end());
    }
    return ProjLLPreclipPolygon(h, &s, static_cast<int>(counts.size()), counts.data(), all.data(),
                                OnPolygon, outlines ? OnOutline : nullptr);
}

Path Box(double x0, double y0, double x1, double y1) {
    return {P(x0, y0), P(x1, y0), P(x1, y1), P(x0, y1), P(x0, y0)};
}

// ---------------------------------------------------------------- polylines

TEST(PreclipPolyline, CutAtTheTransverseMercatorBandEdge) {
    Handle tm(Record(PT_TRANSVERSE_MERCATOR, 0.0)); // valid for -45 < lon < 45
    ASSERT_NE(tm.h, nullptr);
    struct Row {
        const char* name;
        Path line;
        int pieces;
        std::vector<double> cutX; // x of the cut ends, in order of appearance
    } rows[] = {
        {"inside", {P(-10, 0), P(10, 5), P(20, -5)}, 1, {}},
        {"outside", {P(50, 0), P(60, 10)}, 0, {}},
        {"exits", {P(30, 10), P(60, 10)}, 1, {45}},
        {"enters", {P(-60, -10), P(-30, -10)}, 1, {-45}},
        {"out and back", {P(0, 0), P(60, 0), P(0, 10)}, 2, {45, 45}},
        {"straight across", {P(-90, 20), P(90, 20)}, 1, {-45, 45}},
        {"long edge, both ends out", {P(-100, 0), P(100, 40)}, 1, {-45, 45}},
    };
    for (const Row& r : rows) {
        Sink s;
        ASSERT_TRUE(PolylineClip(tm.h, s, r.line)) << r.name;
        ASSERT_EQ(static_cast<int>(s.lines.size()), r.pieces) << r.name;
        std::vector<double> cuts;
        for (const Path& piece : s.lines) {
            EXPECT_GE(piece.size(), 2u);
            ExpectAllInside(tm.h, piece);
            for (const PROJPOINT& p : {piece.front(), piece.back()})
                if (std::fabs(std::fabs(p.x) - 45.0) < 1e-6) cuts.push_back(p.x);
        }
        ASSERT_EQ(cuts.size(), r.cutX.size()) << r.name;
        for (size_t i = 0; i < cuts.size(); ++i)
            EXPECT_NEAR(cuts[i], r.cutX[i], 1e-6) << r.name;
    }
}

TEST(PreclipPolyline, CutPointLiesOnTheStraightEdge) {
    Handle tm(Record(PT_TRANSVERSE_MERCATOR, 0.0));
    Sink s;
    ASSERT_TRUE(PolylineClip(tm.h, s, {P(35, 10), P(55, 30)}));
    ASSERT_EQ(s.lines.size(), 1u);
    const PROJPOINT end = s.lines[0].back();
    EXPECT_NEAR(end.x, 45.0, 1e-6);
    EXPECT_NEAR(end.y, 20.0, 1e-6); // halfway along the edge
    EXPECT_LT(end.x, 45.0);         // strictly inside the open band
}

TEST(PreclipPolyline, CrossingTheSeamIsAlsoDrawnShifted) {
    Handle merc(Record(PT_MERCATOR, 0.0)); // -180 < lon < 180
    Sink s;
    ASSERT_TRUE(PolylineClip(merc.h, s, {P(170, 10), P(190, 20)}));
    ASSERT_EQ(s.lines.size(), 2u);
    EXPECT_EQ(s.lines[0].front().x, 170.0);
    EXPECT_NEAR(s.lines[0].back().x, 180.0, 1e-6);
    EXPECT_NEAR(s.lines[0].back().y, 15.0, 1e-6);
    EXPECT_NEAR(s.lines[1].front().x, -180.0, 1e-6); // the copy moved by -360
    EXPECT_NEAR(s.lines[1].front().y, 15.0, 1e-6);
    EXPECT_EQ(s.lines[1].back().x, -170.0);
    for (const Path& l : s.lines)
        ExpectAllInside(merc.h, l);
}

TEST(PreclipPolyline, RefusedPieceFailsTheCall) {
    Handle tm(Record(PT_TRANSVERSE_MERCATOR, 0.0));
    Sink s;
    s.refuseAfter = 0;
    EXPECT_FALSE(PolylineClip(tm.h, s, {P(0, 0), P(60, 0), P(0, 10)}));
    EXPECT_EQ(s.lines.size(), 1u); // stopped at the first piece
}

// ---------------------------------------------------------------- polygons

TEST(PreclipPolygon, WorldPolygonClipsToTheTransverseMercatorBand) {
    Handle tm(Record(PT_TRANSVERSE_MERCATOR, 0.0));
    Sink s;
    ASSERT_TRUE(PolygonClip(tm.h, s, {Box(-180, -90, 180, 90)}, true));
    ASSERT_EQ(s.polygons.size(), 1u);
    ASSERT_EQ(s.polygons[0].rings.size(), 1u);
    const Path& r = s.polygons[0].rings[0];
    ExpectClosed(r);
    ExpectAllInside(tm.h, r);
    EXPECT_NEAR(SignedArea(r), 90.0 * 180.0, 0.01 * 90 * 180); // the band, counter-clockwise
    ASSERT_EQ(s.outlines.size(), 2u); // what is left of the top and bottom edges
}

TEST(PreclipPolygon, WorldPolygonEnclosingTheWholeArea) {
    // Every vertex and edge of the world rectangle lies on the open boundary
    // of the Mercator area, so the result is the area's own outline.
    Handle merc(Record(PT_MERCATOR, 0.0));
    Sink s;
    ASSERT_TRUE(PolygonClip(merc.h, s, {Box(-180, -90, 180, 90)}));
    ASSERT_EQ(s.polygons.size(), 1u);
    ASSERT_EQ(s.polygons[0].rings.size(), 1u);
    const Path& r = s.polygons[0].rings[0];
    ExpectClosed(r);
    ExpectAllInside(merc.h, r);
    EXPECT_NEAR(SignedArea(r), 360.0 * 180.0, 0.01 * 360 * 180);
}

TEST(PreclipPolygon, RingAcrossTheSeamComesBackInTwoHalves) {
    Handle merc(Record(PT_MERCATOR, 0.0));
    Sink s;
    // Clockwise on purpose: the clipper orients rings itself.
    Path ring = {P(170, 10), P(170, 20), P(190, 20), P(190, 10), P(170, 10)};
    ASSERT_TRUE(PolygonClip(merc.h, s, {ring}));
    ASSERT_EQ(s.polygons.size(), 2u); // as given, then moved by -360
    double lo[2], hi[2];
    for (int i = 0; i < 2; ++i) {
        ASSERT_EQ(s.polygons[i].rings.size(), 1u);
        const Path& r = s.polygons[i].rings[0];
        ExpectClosed(r);
        ExpectAllInside(merc.h, r);
        EXPECT_NEAR(SignedArea(r), 100.0, 0.5);
        lo[i] = hi[i] = r[0].x;
        for (const PROJPOINT& p : r) {
            lo[i] = std::min(lo[i], p.x);
            hi[i] = std::max(hi[i], p.x);
        }
    }
    EXPECT_EQ(lo[0], 170.0);
    EXPECT_NEAR(hi[0], 180.0, 1e-6);
    EXPECT_NEAR(lo[1], -180.0, 1e-6);
    EXPECT_EQ(hi[1], -170.0);
}

struct PolygonRow {
    const char* name;
    std::vector<Path> rings;
    size_t polygons;
    size_t ringsOut;
    double netArea;
};

TEST(PreclipPolygon, RingsAndHolesAgainstABand) {
    Handle tm(Record(PT_TRANSVERSE_MERCATOR, 0.0));
    const PolygonRow rows[] = {
        {"inside", {Box(-10, -10, 10, 10)}, 1, 1, 400.0},
        {"outside", {Box(50, 0, 60, 10)}, 0, 0, 0.0},
        {"straddles one edge", {Box(30, 0, 60, 10)}, 1, 1, 150.0},
        {"straddles both edges", {Box(-60, -10, 60, 10)}, 1, 1, 1800.0},
        {"hole inside", {Box(-60, -10, 60, 10), Box(-5, -5, 5, 5)}, 1, 2, 1700.0},
        {"hole across the edge", {Box(-60, -10, 60, 10), Box(40, -5, 50, 5)}, 1, 1, 1750.0},
        {"U shape, two pieces",
         {{P(30, 0), P(60, 0), P(60, 30), P(30, 30), P(30, 20), P(50, 20), P(50, 10), P(30, 10),
           P(30, 0)}},
         1,
         2,
         300.0},
        {"two islands", {Box(-40, 0, -30, 10), Box(30, 0, 50, 10)}, 1, 2, 250.0},
    };
    for (const PolygonRow& r : rows) {
        Sink s;
        ASSERT_TRUE(PolygonClip(tm.h, s, r.rings)) << r.name;
        ASSERT_EQ(s.polygons.size(), r.polygons) << r.name;
        if (r.polygons == 0) continue;
        const Polygon& p = s.polygons[0];
        EXPECT_EQ(p.rings.size(), r.ringsOut) << r.name;
        for (const Path& ring : p.rings) {
            ExpectClosed(ring);
            ExpectAllInside(tm.h, ring);
        }
        EXPECT_NEAR(NetArea(p), r.netArea, 1e-3 * r.netArea + 1e-4) << r.name;
    }
}

// The gnomonic area is a cap of 60 degrees about (Lat1, Lon0): its outline is
// curved in the lon/lat plane and has to be followed, not just cut.
TEST(PreclipPolygon, WorldPolygonClipsToACurvedCap) {
    Handle gn(Record(PT_GNOMONIC, 10.0, 0.0, 40.0));
    ASSERT_NE(gn.h, nullptr);
    Sink s;
    ASSERT_TRUE(PolygonClip(gn.h, s, {Box(-170, -89, 190, 89)}));
    ASSERT_EQ(s.polygons.size(), 1u);
    ASSERT_EQ(s.polygons[0].rings.size(), 1u);
    const Path& r = s.polygons[0].rings[0];
    ExpectClosed(r);
    ExpectAllInside(gn.h, r);

    // Reference: the cap's area in the lon/lat plane by counting cells.
    const double cell = 0.1;
    double expected = 0.0;
    for (double lat = -89 + cell / 2; lat < 89; lat += cell)
        for (double lon = -170 + cell / 2; lon < 190; lon += cell) {
            const PROJPOINT q = P(lon, lat);
            if (ProjLLInProjection(gn.h, &q)) expected += cell * cell;
        }
    EXPECT_NEAR(SignedArea(r), expected, 0.005 * expected);
}

TEST(PreclipPolygon, HemisphereCutsARingAcrossItsRim) {
    Handle ortho(Record(PT_ORTHOGRAPHIC, 0.0, 30.0)); // hemisphere about (30N, 0)
    ASSERT_NE(ortho.h, nullptr);
    Sink s;
    ASSERT_TRUE(PolygonClip(ortho.h, s, {Box(60, -40, 120, 40)}, true));
    ASSERT_EQ(s.polygons.size(), 1u);
    for (const Path& r : s.polygons[0].rings) {
        ExpectClosed(r);
        ExpectAllInside(ortho.h, r);
    }
    EXPECT_FALSE(s.outlines.empty());
    for (const Path& o : s.outlines)
        ExpectAllInside(ortho.h, o);
    const double area = NetArea(s.polygons[0]);
    EXPECT_GT(area, 0.0);
    EXPECT_LT(area, 60.0 * 80.0);
}

TEST(PreclipPolygon, RefusedPolygonFailsTheCall) {
    Handle tm(Record(PT_TRANSVERSE_MERCATOR, 0.0));
    Sink s;
    s.refuseAfter = 0;
    EXPECT_FALSE(PolygonClip(tm.h, s, {Box(-10, -10, 10, 10)}));
}

// Random polygons, some self-intersecting, across several kinds of area: the
// clipper may refuse a shape it cannot follow, but it never crashes, hangs or
// hands out a point outside the area.
TEST(PreclipPolygon, RandomShapesStayInside) {
    const PROJDATA areas[] = {Record(PT_TRANSVERSE_MERCATOR, 20.0), Record(PT_MERCATOR, -30.0),
                              Record(PT_GNOMONIC, 0.0, 0.0, -20.0),
                              Record(PT_ORTHOGRAPHIC, 100.0, 45.0)};
    std::mt19937 rng(12345);
    std::uniform_real_distribution<double> lon(-250.0, 250.0), lat(-95.0, 95.0);
    std::uniform_int_distribution<int> size(3, 9);
    for (const PROJDATA& a : areas) {
        Handle h(a);
        ASSERT_NE(h.h, nullptr);
        for (int trial = 0; trial < 40; ++trial) {
            Path ring;
            const int n = size(rng);
            for (int i = 0; i < n; ++i)
                ring.push_back(P(lon(rng), lat(rng)));
            Sink s;
            const bool ok = PolygonClip(h.h, s, {ring}, true);
            Sink l;
            EXPECT_TRUE(PolylineClip(h.h, l, ring));
            if (!ok) continue;
            for (const Polygon& p : s.polygons)
                for (const Path& r : p.rings)
                    ExpectAllInside(h.h, r);
            for (const Path& o : s.outlines)
                ExpectAllInside(h.h, o);
            for (const Path& o : l.lines)
                ExpectAllInside(h.h, o);
        }
    }
}

TEST(PreclipPolygon, BadShapesNeverCrash) {
    Handle tm(Record(PT_TRANSVERSE_MERCATOR, 0.0));
    const double nan = std::nan("");
    const double inf = HUGE_VAL;
    const std::vector<Path> shapes[] = {
        {{P(0, 0), P(nan, 5), P(10, 10), P(0, 0)}},
        {{P(0, 0), P(inf, 5), P(-inf, -5), P(0, 0)}},
        {{P(0, 0), P(1e308, 1e308), P(10, 0)}},
        {{P(0, 0), P(10, 10)}},          // too short for a ring: dropped
        {{P(5, 5), P(5, 5), P(5, 5)}},   // no area
        {Box(-10, -10, 10, 10), Path()}, // an empty part
    };
    for (const std::vector<Path>& rings : shapes) {
        Sink s;
        PolygonClip(tm.h, s, rings, true); // may refuse, must not crash
        for (const Polygon& p : s.polygons)
            for (const Path& r : p.rings)
                for (const PROJPOINT& q : r)
                    EXPECT_TRUE(ProjLLInProjection(tm.h, &q));
        Sink l;
        if (rings[0].size() >= 2) PolylineClip(tm.h, l, rings[0]);
    }
}

TEST(PreclipPolygon, UnprojectedHandleHasNoAreaToClipTo) {
    std::vector<int> reports;
    static std::vector<int>* sink;
    sink = &reports;
    KVRegisterCallerInstance(
        [](const _KVERRINFO* info) -> int {
            if (!(info->flags & KVERR_DETAILS)) sink->push_back(info->messageId);
            return 0;
        },
        nullptr);
    Handle geo(Record(PT_UNPROJECTED, 0.0));
    Sink s;
    EXPECT_FALSE(PolygonClip(geo.h, s, {Box(-10, -10, 10, 10)}));
    EXPECT_FALSE(PolylineClip(geo.h, s, {P(0, 0), P(1, 1)}));
    KVUnregisterCallerInstance();
    EXPECT_EQ(reports, (std::vector<int>{20200, 20200})); // one report per call, not per point
    EXPECT_TRUE(s.polygons.empty());
}

// The clipper on its own, with an area given directly by a predicate.
bool InUnitDisc(const void*, const PROJPOINT& p) {
    return p.x * p.x + p.y * p.y < 100.0;
}

TEST(PreclipPolygon, FollowsAnyBoundaryGivenByItsTest) {
    PClipDomain disc{InUnitDisc, nullptr, P(0, 0)};
    Sink s;
    const Path square = Box(-20, -20, 20, 20);
    const int counts[] = {static_cast<int>(square.size())};
    ASSERT_TRUE(PClipPolygon(disc, 1, counts, square.data(), &s, OnPolygon, nullptr));
    ASSERT_EQ(s.polygons.size(), 1u);
    EXPECT_NEAR(NetArea(s.polygons[0]), 3.141592653589793 * 100.0, 0.01 * 314.159);

    // Half in: the part of the disc right of x = 0.
    Sink half;
    const Path right = Box(0, -20, 20, 20);
    ASSERT_TRUE(PClipPolygon(disc, 1, counts, right.data(), &half, OnPolygon, nullptr));
    ASSERT_EQ(half.polygons.size(), 1u);
    EXPECT_NEAR(NetArea(half.polygons[0]), 3.141592653589793 * 50.0, 0.01 * 157.08);
}

} // namespace
