// The plane geometry and SVG helpers of the tool's pictures. Expected values
// are worked by hand from the definitions (Liang-Barsky and Sutherland-Hodgman
// clipping against the box 0..10 x 0..10, the shoelace formula).
#include "Geometry.h"
#include "SideFileTest.h"
#include "Svg.h"

#include <gtest/gtest.h>

#include <vector>

namespace {

using namespace kvtool::geo;

const double kM = KVPROJ_UNPLOTTABLE;

Box Square() {
    Box b;
    b.Add(Pt(0, 0));
    b.Add(Pt(10, 10));
    return b;
}

std::vector<std::pair<double, double>> Xy(const Path& p) {
    std::vector<std::pair<double, double>> v;
    for (const PROJPOINT& q : p)
        v.emplace_back(q.x, q.y);
    return v;
}

TEST(ToolGeometry, CutSegment) {
    struct Case {
        PROJPOINT a, b;
        bool inside;
        double t0, t1;
    } const cases[] = {
        {Pt(2, 2), Pt(8, 8), true, 0.0, 1.0},            // wholly inside
        {Pt(-10, 5), Pt(20, 5), true, 1 / 3.0, 2 / 3.0}, // through both sides
        {Pt(5, -5), Pt(5, 5), true, 0.5, 1.0},           // enters from below
        {Pt(-5, -5), Pt(-1, 20), false, 0, 0},           // left of the box
        {Pt(11, 0), Pt(11, 10), false, 0, 0},            // parallel, outside
        {Pt(10, 0), Pt(10, 10), true, 0.0, 1.0},         // along an edge
        {Pt(-5, 15), Pt(15, -5), true, 0.25, 0.75},      // the diagonal corner to corner
    };
    for (const Case& c : cases) {
        double t0 = -1, t1 = -1;
        ASSERT_EQ(CutSegment(Square(), c.a, c.b, &t0, &t1), c.inside)
            << c.a.x << "," << c.a.y << " " << c.b.x << "," << c.b.y;
        if (!c.inside) continue;
        EXPECT_NEAR(t0, c.t0, 1e-15);
        EXPECT_NEAR(t1, c.t1, 1e-15);
    }
}

TEST(ToolGeometry, CutLine) {
    struct Case {
        const char* name;
        Path line;
        std::vector<char> skip;
        std::vector<Path> pieces;
    } const cases[] = {
        {"inside", {Pt(1, 1), Pt(2, 2), Pt(3, 1)}, {}, {{Pt(1, 1), Pt(2, 2), Pt(3, 1)}}},
        {"out and back",
         {Pt(5, 5), Pt(15, 5), Pt(5, 6)},
         {},
         {{Pt(5, 5), Pt(10, 5)}, {Pt(10, 5.5), Pt(5, 6)}}},
        {"broken at a marked point",
         {Pt(1, 1), Pt(2, 2), Pt(kM, kM), Pt(3, 3), Pt(4, 4)},
         {},
         {{Pt(1, 1), Pt(2, 2)}, {Pt(3, 3), Pt(4, 4)}}},
        {"broken at a skipped segment",
         {Pt(1, 1), Pt(2, 2), Pt(3, 3), Pt(4, 4)},
         {0, 1, 0},
         {{Pt(1, 1), Pt(2, 2)}, {Pt(3, 3), Pt(4, 4)}}},
        {"a lone point left", {Pt(1, 1), Pt(kM, kM), Pt(3, 3)}, {}, {}},
        {"wholly outside", {Pt(-1, -1), Pt(-2, 20)}, {}, {}},
    };
    for (const Case& c : cases) {
        std::vector<Path> out;
        CutLine(Square(), c.line, c.skip.empty() ? nullptr : &c.skip, &out);
        ASSERT_EQ(out.size(), c.pieces.size()) << c.name;
        for (size_t i = 0; i < out.size(); ++i)
            EXPECT_EQ(Xy(out[i]), Xy(c.pieces[i])) << c.name << " piece " << i;
    }
}

TEST(ToolGeometry, CutRing) {
    // A square 5..15 overlapping the box's corner: what is left is 5..10.
    const Path ring = {Pt(5, 5), Pt(15, 5), Pt(15, 15), Pt(5, 15)};
    const Path cut = CutRing(Square(), ring);
    EXPECT_DOUBLE_EQ(Orientation(cut), 2 * 25.0);
    for (const PROJPOINT& p : cut) {
        EXPECT_TRUE(p.x >= 5 && p.x <= 10 && p.y >= 5 && p.y <= 10) << p.x << "," << p.y;
    }
    // Marked points are dropped before cutting; too little left is no ring.
    EXPECT_EQ(CutRing(Square(), {Pt(1, 1), Pt(kM, kM), Pt(2, 2)}).size(), 0u);
    EXPECT_EQ(CutRing(Square(), {Pt(20, 20), Pt(30, 20), Pt(30, 30)}).size(), 0u);
    // Clockwise rings keep their sense: the shoelace area stays negative.
    EXPECT_DOUBLE_EQ(Orientation(CutRing(Square(), {Pt(5, 15), Pt(15, 15), Pt(15, 5), Pt(5, 5)})),
                     -50.0);
}

TEST(ToolGeometry, Simplified) {
    struct Case {
        const char* name;
        Path in;
        double tolerance;
        size_t kept;
    } const cases[] = {
        {"collinear", {Pt(0, 0), Pt(1, 0), Pt(2, 0), Pt(3, 0)}, 0.1, 2},
        {"within tolerance", {Pt(0, 0), Pt(1, 0.05), Pt(2, 0)}, 0.1, 2},
        {"a corner stays", {Pt(0, 0), Pt(1, 0), Pt(1, 1)}, 0.1, 3},
        // Out and back along one line: the far end is off the chord 0..0.
        {"out and back", {Pt(0, 0), Pt(5, 0), Pt(0, 0)}, 0.1, 3},
        {"two points", {Pt(0, 0), Pt(9, 9)}, 0.1, 2},
    };
    for (const Case& c : cases) {
        const Path out = Simplified(c.in, c.tolerance);
        EXPECT_EQ(out.size(), c.kept) << c.name;
        EXPECT_EQ(Xy({out.front()}), Xy({c.in.front()})) << c.name;
        EXPECT_EQ(Xy({out.back()}), Xy({c.in.back()})) << c.name;
    }
}

TEST(ToolGeometry, Densified) {
    const Path p = Densified(Pt(0, 0), Pt(3, 4), 1.0); // length 5: five steps
    ASSERT_EQ(p.size(), 6u);
    EXPECT_DOUBLE_EQ(p[1].x, 0.6);
    EXPECT_DOUBLE_EQ(p[5].y, 4.0);
    EXPECT_EQ(Densified(Pt(0, 0), Pt(0, 0), 1.0).size(), 2u);
}

// The picture's numbers and text whatever the locale.
TEST(ToolSvg, NumbersAndText) {
    kvtest::CommaLocale comma;
    EXPECT_EQ(kvtool::svg::Num(0.5), "0.50");
    EXPECT_EQ(kvtool::svg::Num(-1234.567), "-1234.57");
    EXPECT_EQ(kvtool::svg::Escaped("a<b & \"c\">\x01\td"), "a&lt;b &amp; &quot;c&quot;&gt;\td");
    const Box frame = Square();
    const kvtool::svg::Canvas c = kvtool::svg::MakeCanvas(frame, 800);
    // 16-pixel margins, the 46-pixel title band: the box's top-left corner.
    EXPECT_EQ(Xy({c.Pixel(Pt(0, 10))}), Xy({Pt(16, 62)}));
    EXPECT_EQ(kvtool::svg::PathData(c, {Pt(0, 0), Pt(10, 0)}, false),
              "M16.00,830.00 784.00,830.00");
    EXPECT_EQ(kvtool::svg::PathData(c, {Pt(0, 0), Pt(1e-4, 0)}, false), "") << "a mere dot";
}

} // namespace
