// "kvproj graticule" run as a user would: the picture is well-formed SVG for
// every projection with a module, its geometry is that of the projection,
// lines stay inside the valid area, and bad usage is refused.
#include "TestSupport.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <regex>
#include <set>

namespace {

using kvtest::ToolRun;

ToolRun Graticule(const std::string& arguments) {
    return kvtest::RunTool("graticule " + arguments);
}

struct Element {
    std::string name;
    std::map<std::string, std::string> attrs;
};
struct Point {
    double x, y;
};

// Balanced markup with every attribute quoted; the root is <svg>. Text content is skipped.
bool ParseXml(const std::string& s, std::vector<Element>* out, std::string* why) {
    static const std::regex tagRe(R"(<(\?[^>]*|/?)([a-z]*)((?:\s+[\w-]+="[^"<]*")*)\s*(/?)>)");
    static const std::regex attrRe(R"(([\w-]+)="([^"]*)\")");
    std::vector<std::string> open;
    size_t tags = 0;
    for (std::sregex_iterator m(s.begin(), s.end(), tagRe), end; m != end; ++m, ++tags) {
        const std::string kind = (*m)[1], name = (*m)[2], attrs = (*m)[3];
        if (!kind.empty() && kind[0] == '?') continue;
        if (kind == "/") {
            if (open.empty() || open.back() != name)
                return (*why = "unbalanced </" + name + ">"), false;
            open.pop_back();
            continue;
        }
        Element e{name, {}};
        for (std::sregex_iterator a(attrs.begin(), attrs.end(), attrRe); a != end; ++a)
            e.attrs[(*a)[1]] = (*a)[2];
        if (out->empty() && name != "svg") return (*why = "root is not <svg>"), false;
        if ((*m)[4].length() == 0) open.push_back(name);
        out->push_back(e);
    }
    if (tags != size_t(std::count(s.begin(), s.end(), '<'))) return (*why = "malformed tag"), false;
    if (!open.empty()) return (*why = "<" + open.back() + "> not closed"), false;
    return true;
}

// The vertices of a path's "d" ("M x,y x,y ...Z"); false on a token that is
// not a finite number.
bool PathPoints(const std::string& d, std::vector<std::vector<Point>>* subpaths) {
    static const std::regex tokenRe(R"((M?)([^\s,MZ]+),([^\s,MZ]+)Z?|(\S))");
    for (std::sregex_iterator t(d.begin(), d.end(), tokenRe), end; t != end; ++t) {
        if ((*t)[4].matched) return false;
        if ((*t)[1].length()) subpaths->emplace_back();
        char *ex = nullptr, *ey = nullptr;
        const std::string xs = (*t)[2], ys = (*t)[3];
        const double x = std::strtod(xs.c_str(), &ex), y = std::strtod(ys.c_str(), &ey);
        if (*ex || *ey || !std::isfinite(x) || !std::isfinite(y) || subpaths->empty()) return false;
        subpaths->back().push_back({x, y});
    }
    return !subpaths->empty();
}

// A parsed picture with the checks every picture must pass.
struct Picture {
    double width = 0, height = 0;
    std::map<double, std::vector<Point>> meridians, parallels; // by longitude, latitude
    std::vector<Point> area;
    double x0 = HUGE_VAL, x1 = -HUGE_VAL, y0 = HUGE_VAL, y1 = -HUGE_VAL; // the area's box
    double filled = 0; // square pixels covered by the area's fill
    int parallelPieces = 0;
};

::testing::AssertionResult ReadPicture(const std::string& svg, Picture* pic) {
    std::vector<Element> elements;
    std::string why;
    if (!ParseXml(svg, &elements, &why) || elements.empty())
        return ::testing::AssertionFailure() << "bad markup: " << why;
    std::istringstream vb(elements[0].attrs["viewBox"]);
    double vx = -1, vy = -1;
    vb >> vx >> vy >> pic->width >> pic->height;
    if (vx != 0 || vy != 0 || !(pic->width > 0) || !(pic->height > 0))
        return ::testing::AssertionFailure() << "bad viewBox";
    auto inside = [&](double x, double y) {
        return x >= 0 && x <= pic->width && y >= 0 && y <= pic->height;
    };
    std::string group;
    for (const Element& e : elements) {
        if (e.name == "g") group = e.attrs.at("class");
        if (e.name == "text" && !inside(std::stod(e.attrs.at("x")), std::stod(e.attrs.at("y"))))
            return ::testing::AssertionFailure() << "text outside the viewBox";
        if (e.name != "path") continue;
        std::vector<std::vector<Point>> subpaths;
        if (!PathPoints(e.attrs.at("d"), &subpaths))
            return ::testing::AssertionFailure() << "bad path data in " << group;
        double signedArea = 0;
        for (const auto& sp : subpaths)
            for (size_t i = 0, j = sp.size() - 1; i < sp.size(); j = i++) {
                if (!inside(sp[i].x, sp[i].y))
                    return ::testing::AssertionFailure() << sp[i].x << "," << sp[i].y << " outside";
                if (group != "area") continue;
                signedArea += 0.5 * (sp[j].x * sp[i].y - sp[i].x * sp[j].y);
                pic->area.push_back(sp[i]);
                pic->x0 = std::min(pic->x0, sp[i].x), pic->x1 = std::max(pic->x1, sp[i].x);
                pic->y0 = std::min(pic->y0, sp[i].y), pic->y1 = std::max(pic->y1, sp[i].y);
            }
        pic->filled += std::fabs(signedArea);
        const auto cls = e.attrs.find("class");
        if (cls == e.attrs.end()) continue;
        const bool meridian = cls->second == "meridian";
        std::vector<Point>& line =
            (meridian ? pic->meridians
                      : pic->parallels)[std::stod(e.attrs.at(meridian ? "data-lon" : "data-lat"))];
        line.insert(line.end(), subpaths[0].begin(), subpaths[0].end());
        pic->parallelPieces += !meridian;
    }
    return ::testing::AssertionSuccess();
}

// Runs the tool, which must succeed, and reads its picture.
::testing::AssertionResult Draw(const std::string& arguments, Picture* pic) {
    const ToolRun run = Graticule(arguments);
    if (run.status != 0 || !run.err.empty())
        return ::testing::AssertionFailure() << "status " << run.status << ": " << run.err;
    return ReadPicture(run.out, pic);
}

// One record per projection type with a module (1-8, 11-28), and state plane
// zones named three ways on the transverse Mercator, Hotine and polyconic.
// clang-format off
const char* const kEveryType[] = {
    "--proj type=merc", "--proj 'type=albers lat1=29.5 lat2=45.5 lon0=-96 lat0=23'",
    "--proj type=miller", "--utm 33N", "--proj 'type=lcc lat1=33 lat2=45 lon0=-96'",
    "--proj 'type=stere lat0=-90 k=0.994'", "--proj 'type=stere lat0=52 lon0=5 k=0.9999'",
    "--proj 'type=ortho lat0=40 lon0=-100'", "--proj 'type=moll lon0=150'",
    "--proj 'type=poly lon0=-96 lat0=30'",
    "--proj 'type=12 usealpha=1 alpha=323.0257905 lat0=57 lon1=-133.6666667 lon0=-133.6666667 "
    "k=0.9999'",
    "--proj 'type=eqc lat1=30'", "--proj type=robinson", "--proj 'type=15 lon0=-30'",
    "--proj 'type=16 lat0=10 lon0=20'", "--proj 'type=tmerc lon0=9 k=0.9996'",
    "--proj 'type=gk lon0=21 k=1'", "--proj 'type=sinu ellipsoid=47'",
    "--proj 'type=laea lat1=52 lon0=10'", "--proj 'type=bonne lat1=45'",
    "--proj 'type=22 lon0=11'", "--proj type=eck4", "--proj type=eck6",
    "--proj 'type=25 lat1=40 lon1=-100 lat2=50 lon2=-60 k=1'",
    "--proj 'type=eqdc lat1=20 lat2=60 lon0=-96 lat0=40'", "--proj 'type=gnom lat1=30 lon0=-40'",
    "--proj 'type=aeqd lat1=0 lon0=0'", "--zone 'spcs83:Alabama East' --step 5",
    "--zone 'epsg:26731' --step 5", "--zone 'spcs27:Guam Island' --step 5",
    "--proj type=0 --step 30",
};
// clang-format on

TEST(ToolGraticule, EveryProjectionDrawsAWellFormedPicture) {
    for (const char* arguments : kEveryType) {
        Picture pic;
        ASSERT_TRUE(Draw(std::string(arguments) + " --densify 2", &pic)) << arguments;
        EXPECT_GE(pic.meridians.size(), 2u) << arguments;
        EXPECT_GE(pic.parallels.size(), 2u) << arguments;
        EXPECT_GE(pic.area.size(), 3u) << arguments;
    }
}

// Radii of polar parallels relative to a reference parallel: Snyder, Map
// Projections - A Working Manual, eqs. 20-8, 21-33 (with 15-9 on WGS 84), 24-19, 25-18, 22-9.
const struct {
    const char* arguments;
    double lat, reference, ratio;
} kPolarRadii[] = {
    {"--proj 'type=ortho lat0=90'", 60, 0, 0.5},
    {"--proj 'type=stere lat0=90 k=1 ellipsoid=0 a=6371000 f=0'", 60, 0, 0.2679491924311227},
    {"--proj 'type=stere lat0=90 k=1'", 60, 0, 0.2695097633126013},
    {"--proj 'type=stere lat0=-90 k=1'", -30, 0, 0.5792870908476908},
    {"--proj 'type=laea lat1=90'", -60, 0, 1.3660254037844386},
    {"--proj 'type=aeqd lat1=90'", 60, 0, 1.0 / 3.0},
    {"--proj 'type=aeqd lat1=90'", -60, 0, 5.0 / 3.0},
    {"--proj 'type=gnom lat1=90'", 75, 45, 0.2679491924311227},
};

// Mean distance of the line's vertices from `centre`; *spread is max - min.
double MeanRadius(const std::vector<Point>& line, Point centre, double* spread) {
    double sum = 0, lo = HUGE_VAL, hi = 0;
    for (const Point& p : line) {
        const double r = std::hypot(p.x - centre.x, p.y - centre.y);
        sum += r, lo = std::min(lo, r), hi = std::max(hi, r);
    }
    *spread = hi - lo;
    return sum / line.size();
}

TEST(ToolGraticule, PolarAspectsDrawParallelsAsCirclesOfTheRightRadius) {
    for (const auto& c : kPolarRadii) {
        SCOPED_TRACE(c.arguments);
        Picture pic;
        ASSERT_TRUE(Draw(std::string(c.arguments) + " --step 15 --width 1000", &pic));
        ASSERT_TRUE(pic.parallels.count(c.lat) && pic.parallels.count(c.reference));
        const Point pole = {(pic.x0 + pic.x1) / 2, (pic.y0 + pic.y1) / 2}; // the area is a disc
        double spread = 0, spreadRef = 0;
        const double r = MeanRadius(pic.parallels[c.lat], pole, &spread);
        const double ref = MeanRadius(pic.parallels[c.reference], pole, &spreadRef);
        EXPECT_LT(std::max(spread, spreadRef), 0.05); // circles: x and y share one scale
        EXPECT_NEAR(r / ref, c.ratio, 0.02 / ref + 1e-4);
    }
}

std::set<double> Keys(const std::map<double, std::vector<Point>>& m) {
    std::set<double> keys;
    for (const auto& kv : m)
        keys.insert(kv.first);
    return keys;
}
std::set<double> Steps(double from, double to, double step) {
    std::set<double> values;
    for (double v = from; v <= to; v += step)
        values.insert(v);
    return values;
}

// Lines inside the module's domain (60 degree cap, +-45 degree band, window) survive.
TEST(ToolGraticule, OnlyLinesInsideTheValidAreaAreDrawn) {
    const struct {
        const char* arguments;
        std::set<double> meridians, parallels;
    } cases[] = {
        {"--proj 'type=gnom lat1=90' --step 20", Steps(-180, 160, 20), Steps(40, 80, 20)},
        {"--utm 33N --step 10", Steps(-20, 50, 10), Steps(-80, 80, 10)},
        {"--proj 'type=lcc lat1=33 lat2=45 lon0=-96' --step 5 --window -125,23,-66,50",
         Steps(-125, -70, 5), Steps(25, 50, 5)},
    };
    for (const auto& c : cases) {
        Picture pic;
        ASSERT_TRUE(Draw(c.arguments, &pic)) << c.arguments;
        EXPECT_EQ(Keys(pic.meridians), c.meridians) << c.arguments;
        EXPECT_EQ(Keys(pic.parallels), c.parallels) << c.arguments;
    }
}

TEST(ToolGraticule, PlateCarreeIsTwiceAsWideAsHighWithNorthUp) {
    Picture pic;
    ASSERT_TRUE(Draw("--proj type=eqc --step 30", &pic));
    EXPECT_NEAR((pic.x1 - pic.x0) / (pic.y1 - pic.y0), 2.0, 0.01); // 360 by 180 degrees of arc
    EXPECT_LT(pic.parallels[60].front().y, pic.parallels[-60].front().y);
    EXPECT_GT(pic.meridians[90].front().x, pic.meridians[-90].front().x);
    EXPECT_NEAR(pic.meridians[0].front().x, 0.5 * (pic.x0 + pic.x1), 0.01);
}

// Filled area over the box's area (Snyder): the laea disc of radius 2R (ch. 24, its
// antipode on a drawn vertex or between two), the orthographic hemisphere (ch. 20),
// Mollweide's 2:1 ellipse (ch. 31), the sinusoidal (ch. 30), the eqc rectangle.
TEST(ToolGraticule, TheAreaFillsTheProjectedShape) {
    const std::pair<const char*, double> cases[] = {
        {"--proj 'type=laea lat1=45 lon0=10'", M_PI / 4},
        {"--proj 'type=laea lat1=52.5 lon0=10'", M_PI / 4},
        {"--proj 'type=ortho lat0=40 lon0=-100'", M_PI / 4},
        {"--proj type=mollweide", M_PI / 4},
        {"--proj 'type=sinu lon0=30'", 2 / M_PI},
        {"--proj type=eqc", 1.0},
    };
    for (const auto& c : cases) {
        Picture pic;
        ASSERT_TRUE(Draw(c.first, &pic)) << c.first;
        EXPECT_NEAR(pic.filled / ((pic.x1 - pic.x0) * (pic.y1 - pic.y0)), c.second, 0.005)
            << c.first;
    }
}

// Central meridian 150: parallels cross the band's edge at -30, and the part
// beyond it is handed over shifted by a whole turn, so two pieces span the map.
TEST(ToolGraticule, LinesCrossingTheBandEdgeAreDrawnOnBothSides) {
    Picture pic;
    ASSERT_TRUE(Draw("--proj 'type=merc lon0=150' --window -180,-80,180,80", &pic));
    EXPECT_EQ(pic.meridians.size(), 23u); // all but -30, the band's open edge
    EXPECT_EQ(pic.meridians.count(-30), 0u);
    EXPECT_EQ(pic.parallelPieces, 2 * static_cast<int>(pic.parallels.size()));
    EXPECT_GT(pic.meridians[-165].front().x, pic.meridians[165].front().x);
}

TEST(ToolGraticule, OutputFileTitleAndWidth) {
    const std::string path = kvtest::TempPath("graticule.svg");
    const ToolRun toFile =
        Graticule("--proj type=eqc --width 640 --title 'Plate <&> \"carree\"' -o '" + path + "'");
    ASSERT_EQ(toFile.status, 0) << toFile.err;
    EXPECT_EQ(toFile.out, "");
    const std::string svg = kvtest::ReadFile(path);
    std::remove(path.c_str());
    Picture pic;
    ASSERT_TRUE(ReadPicture(svg, &pic));
    EXPECT_EQ(pic.width, 640);
    EXPECT_TRUE(kvtest::Contains(svg, "<title>Plate &lt;&amp;&gt; &quot;carree&quot;</title>"));
    EXPECT_EQ(Graticule("--proj type=eqc --width=640 --title='Plate <&> \"carree\"'").out, svg);
}

// Bad usage exits with 2, a record that cannot be made into a projection with 1;
// either way one line on standard error and nothing written.
TEST(ToolGraticule, FailuresExitWithOneLine) {
    const std::pair<const char*, int> cases[] = {
        {"", 2},                                           // no projection
        {"--proj type=eqc --step 0", 2},                   // step must be positive
        {"--proj type=eqc --step 200", 2},                 //  ... and at most 180
        {"--proj type=eqc --step abc", 2},                 // not a number
        {"--proj type=eqc --step", 2},                     // missing value
        {"--proj type=eqc --densify 0", 2},                // densify must be positive
        {"--proj type=eqc --step 5 --densify 6", 2},       // coarser than the step
        {"--proj type=eqc --width 10", 2},                 // too narrow
        {"--proj type=eqc --window 10,0,0,10", 2},         // lon1 > lon2
        {"--proj type=eqc --window 0,0,10", 2},            // three values
        {"--proj type=eqc --window 0,-95,10,0", 2},        // beyond the pole
        {"--proj type=eqc --step 0.01 --densify 0.01", 2}, // millions of vertices
        {"--proj type=eqc --frobnicate", 2},               // unknown option
        {"--proj type=nosuch", 2},                         // unknown projection
        {"--proj 'type=merc ellipsoid=77'", 1},            // no such ellipsoid
        {"--proj 'type=merc scale=1e300'", 1},             // overflows unmarked
        {"--proj 'type=merc x0=inf'", 1},                  // not finite
        {"--proj 'type=lcc lat1=30 lat2=-30'", 1},         // converts no point
    };
    for (const auto& c : cases) {
        const ToolRun run = Graticule(c.first);
        EXPECT_EQ(run.status, c.second) << c.first;
        EXPECT_EQ(run.out, "") << c.first;
        EXPECT_EQ(run.err.rfind("kvproj: graticule: ", 0), 0u) << run.err;
        EXPECT_EQ(std::count(run.err.begin(), run.err.end(), '\n'), 1) << run.err;
    }
}

} // namespace
