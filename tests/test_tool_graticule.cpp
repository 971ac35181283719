// "kvproj graticule" run as a user would: the picture is well-formed SVG for
// every projection with a module, its geometry is that of the projection,
// lines stay inside the valid area, and bad usage is refused.
#include <gtest/gtest.h>

#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <map>
#include <set>
#include <sstream>
#include <string>
#include <vector>

namespace {

struct ToolRun {
    int status;
    std::string out, err;
};

std::string TempPath(const char* name) {
    const char* dir = std::getenv("TMPDIR");
    return std::string(dir && *dir ? dir : "/tmp") + "/" + name + "." + std::to_string(getpid());
}

std::string ReadAll(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    std::stringstream ss;
    ss << in.rdbuf();
    return ss.str();
}

// `arguments` is shell text after "graticule".
ToolRun Graticule(const std::string& arguments) {
    const std::string err = TempPath("graticule_err");
    const std::string command =
        std::string("'") + KVPROJ_TOOL_PATH + "' graticule " + arguments + " 2>'" + err + "'";
    ToolRun run{-1, "", ""};
    if (FILE* pipe = popen(command.c_str(), "r")) {
        char buffer[8192];
        size_t n;
        while ((n = fread(buffer, 1, sizeof buffer, pipe)) > 0)
            run.out.append(buffer, n);
        const int status = pclose(pipe);
        run.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }
    run.err = ReadAll(err);
    std::remove(err.c_str());
    return run;
}

struct Element {
    std::string name;
    std::map<std::string, std::string> attrs;
};

struct Point {
    double x, y;
};

// A small XML reader: enough to tell balanced, properly quoted markup from
// anything else. Text content is skipped.
bool ParseXml(const std::string& s, std::vector<Element>* out, std::string* why) {
    std::vector<std::string> open;
    size_t i = 0;
    while ((i = s.find('<', i)) != std::string::npos) {
        const size_t end = s.find('>', i);
        if (end == std::string::npos) return (*why = "unterminated tag"), false;
        std::string tag = s.substr(i + 1, end - i - 1);
        i = end + 1;
        if (tag.empty()) return (*why = "empty tag"), false;
        if (tag[0] == '?') continue;
        if (tag[0] == '/') {
            if (open.empty() || open.back() != tag.substr(1))
                return (*why = "unbalanced </" + tag.substr(1) + ">"), false;
            open.pop_back();
            continue;
        }
        const bool selfClosing = tag.back() == '/';
        if (selfClosing) tag.pop_back();
        Element e;
        size_t p = tag.find_first_of(" \n");
        e.name = tag.substr(0, p);
        while (p != std::string::npos &&
               (p = tag.find_first_not_of(" \n", p)) != std::string::npos) {
            const size_t eq = tag.find('=', p);
            if (eq == std::string::npos || eq + 1 >= tag.size() || tag[eq + 1] != '"')
                return (*why = "unquoted attribute in <" + e.name + ">"), false;
            const size_t close = tag.find('"', eq + 2);
            if (close == std::string::npos) return (*why = "unterminated attribute"), false;
            const std::string value = tag.substr(eq + 2, close - eq - 2);
            if (value.find('<') != std::string::npos) return (*why = "'<' in attribute"), false;
            e.attrs[tag.substr(p, eq - p)] = value;
            p = close + 1;
        }
        if (out->empty() && e.name != "svg") return (*why = "root is not <svg>"), false;
        if (!selfClosing) open.push_back(e.name);
        out->push_back(e);
    }
    if (!open.empty()) return (*why = "<" + open.back() + "> not closed"), false;
    return true;
}

// The vertices of a path's "d" ("M x,y x,y ...Z"); false on a token that is
// not a finite number.
bool PathPoints(const std::string& d, std::vector<std::vector<Point>>* subpaths) {
    std::string text = d;
    for (char& c : text)
        if (c == ',') c = ' ';
    std::istringstream in(text);
    std::string word;
    std::vector<double> numbers;
    while (in >> word) {
        if (word[0] == 'M') {
            subpaths->emplace_back();
            word = word.substr(1);
        }
        const bool close = !word.empty() && word.back() == 'Z';
        if (close) word.pop_back();
        if (word.empty()) continue;
        char* end = nullptr;
        const double v = std::strtod(word.c_str(), &end);
        if (*end != '\0' || !std::isfinite(v) || subpaths->empty()) return false;
        numbers.push_back(v);
        if (numbers.size() == 2) {
            subpaths->back().push_back({numbers[0], numbers[1]});
            numbers.clear();
        }
    }
    return numbers.empty();
}

// A parsed picture with the checks every picture must pass.
struct Picture {
    double width = 0, height = 0;
    std::map<double, std::vector<Point>> meridians, parallels; // by longitude, latitude
    std::vector<Point> area;
    double x0 = HUGE_VAL, x1 = -HUGE_VAL, y0 = HUGE_VAL, y1 = -HUGE_VAL; // the area's box
    double filled = 0; // square pixels covered by the area's fill
    int meridianPieces = 0, parallelPieces = 0;
};

::testing::AssertionResult ReadPicture(const std::string& svg, Picture* pic) {
    std::vector<Element> elements;
    std::string why;
    if (!ParseXml(svg, &elements, &why)) return ::testing::AssertionFailure() << why;
    if (elements.empty()) return ::testing::AssertionFailure() << "no markup";
    std::istringstream vb(elements[0].attrs["viewBox"]);
    double x0 = -1, y0 = -1;
    vb >> x0 >> y0 >> pic->width >> pic->height;
    if (x0 != 0 || y0 != 0 || !(pic->width > 0) || !(pic->height > 0))
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
            for (size_t i = 0, j = sp.size() - 1; i < sp.size(); j = i++)
                signedArea += 0.5 * (sp[j].x * sp[i].y - sp[i].x * sp[j].y);
        if (group == "area") pic->filled += std::fabs(signedArea);
        for (const auto& sp : subpaths)
            for (const Point& p : sp) {
                if (!inside(p.x, p.y))
                    return ::testing::AssertionFailure()
                           << "point " << p.x << "," << p.y << " outside the viewBox";
                if (group != "area") continue;
                pic->area.push_back(p);
                pic->x0 = std::min(pic->x0, p.x), pic->x1 = std::max(pic->x1, p.x);
                pic->y0 = std::min(pic->y0, p.y), pic->y1 = std::max(pic->y1, p.y);
            }
        const auto cls = e.attrs.find("class");
        if (cls == e.attrs.end()) continue;
        const bool meridian = cls->second == "meridian";
        std::vector<Point>& line =
            (meridian ? pic->meridians
                      : pic->parallels)[std::stod(e.attrs.at(meridian ? "data-lon" : "data-lat"))];
        line.insert(line.end(), subpaths[0].begin(), subpaths[0].end());
        ++(meridian ? pic->meridianPieces : pic->parallelPieces);
    }
    return ::testing::AssertionSuccess();
}

struct Case {
    const char* name;
    const char* arguments;
};

// One record per projection type with a module (1-8, 11-28), and zones of
// both state plane systems on the transverse Mercator, Lambert, Hotine and
// polyconic projections.
const Case kEveryType[] = {
    {"1 Mercator", "--proj type=merc"},
    {"2 Albers", "--proj 'type=albers lat1=29.5 lat2=45.5 lon0=-96 lat0=23'"},
    {"3 Miller", "--proj type=miller"},
    {"4 UTM", "--utm 33N"},
    {"5 Lambert", "--proj 'type=lcc lat1=33 lat2=45 lon0=-96'"},
    {"6 stereographic polar", "--proj 'type=stere lat0=-90 k=0.994'"},
    {"6 stereographic oblique", "--proj 'type=stere lat0=52 lon0=5 k=0.9999'"},
    {"7 orthographic", "--proj 'type=ortho lat0=40 lat1=40 lon0=-100'"},
    {"8 Mollweide", "--proj 'type=moll lon0=150'"},
    {"11 polyconic", "--proj 'type=poly lon0=-96 lat0=30'"},
    {"12 Hotine", "--proj 'type=12 usealpha=1 alpha=323.0257905 lat0=57 lon1=-133.6666667 "
                  "lon0=-133.6666667 k=0.9999'"},
    {"13 equidistant cylindrical", "--proj 'type=eqc lat1=30'"},
    {"14 Robinson", "--proj type=robinson"},
    {"15 Van der Grinten", "--proj 'type=15 lon0=-30'"},
    {"16 Cassini", "--proj 'type=16 lat0=10 lon0=20'"},
    {"17 transverse Mercator", "--proj 'type=tmerc lon0=9 k=0.9996'"},
    {"18 Gauss-Kruger", "--proj 'type=gk lon0=21 k=1'"},
    {"19 sinusoidal", "--proj 'type=sinu ellipsoid=47'"},
    {"20 Lambert azimuthal", "--proj 'type=laea lat1=52 lon0=10'"},
    {"21 Bonne", "--proj 'type=bonne lat1=45'"},
    {"22 Robinson-Sterling", "--proj 'type=22 lon0=11'"},
    {"23 Eckert IV", "--proj type=eck4"},
    {"24 Eckert VI", "--proj type=eck6"},
    {"25 oblique Mercator", "--proj 'type=25 lat1=40 lon1=-100 lat2=50 lon2=-60 k=1'"},
    {"26 equidistant conic", "--proj 'type=eqdc lat1=20 lat2=60 lon0=-96 lat0=40'"},
    {"27 gnomonic", "--proj 'type=gnom lat1=30 lon0=-40'"},
    {"28 azimuthal equidistant", "--proj 'type=aeqd lat1=0 lon0=0'"},
    {"zone NAD 83 Alabama East", "--zone 'spcs83:Alabama East' --step 5"},
    {"zone NAD 83 Michigan North", "--zone 'spcs83:Michigan North' --step 5"},
    {"zone NAD 27 Alaska 1", "--zone 'epsg:26731' --step 5"},
    {"zone NAD 27 Guam", "--zone 'spcs27:Guam Island' --step 5"},
    {"unprojected", "--proj type=0 --step 30"},
};

TEST(ToolGraticule, EveryProjectionDrawsAWellFormedPicture) {
    for (const Case& c : kEveryType) {
        SCOPED_TRACE(c.name);
        const ToolRun run = Graticule(std::string(c.arguments) + " --densify 2");
        EXPECT_EQ(run.status, 0) << run.err;
        EXPECT_EQ(run.err, "");
        Picture pic;
        if (run.status != 0 || !ReadPicture(run.out, &pic)) {
            ADD_FAILURE() << ReadPicture(run.out, &pic).message();
            continue;
        }
        EXPECT_GE(pic.meridians.size(), 2u);
        EXPECT_GE(pic.parallels.size(), 2u);
        EXPECT_GE(pic.area.size(), 3u);
    }
}

// Radii of the parallels of polar aspects, relative to one reference
// parallel: Snyder, Map Projections - A Working Manual, polar equations
// (orthographic 20-8, stereographic 21-33 with t of 15-9 on WGS 84 and 21-33
// sphere form, Lambert azimuthal 24-19, azimuthal equidistant 25-18,
// gnomonic 22-9 rho = R cot phi), evaluated by hand: cos 60, tan 15 / tan 45,
// sin 15 / sin 45, 30 / 90, cot 60 / cot 45 and so on.
struct RadiusCase {
    const char* arguments;
    double lat, reference, ratio;
};
const RadiusCase kPolarRadii[] = {
    {"--proj 'type=ortho lat0=90 lat1=90'", 60, 0, 0.5},
    {"--proj 'type=ortho lat0=90 lat1=90'", 30, 0, 0.8660254037844386},
    {"--proj 'type=stere lat0=90 k=1 ellipsoid=0 a=6371000 f=0'", 60, 0, 0.2679491924311227},
    {"--proj 'type=stere lat0=90 k=1'", 60, 0, 0.2695097633126013},
    {"--proj 'type=stere lat0=-90 k=1'", -30, 0, 0.5792870908476908},
    {"--proj 'type=laea lat1=90'", 60, 0, 0.3660254037844386},
    {"--proj 'type=laea lat1=90'", -60, 0, 1.3660254037844386},
    {"--proj 'type=aeqd lat1=90'", 60, 0, 1.0 / 3.0},
    {"--proj 'type=aeqd lat1=90'", -60, 0, 5.0 / 3.0},
    {"--proj 'type=gnom lat1=90'", 60, 45, 0.5773502691896257},
    {"--proj 'type=gnom lat1=90'", 75, 45, 0.2679491924311227},
};

// Mean distance of the line's vertices from `centre`; *spread is max - min.
double MeanRadius(const std::vector<Point>& line, Point centre, double* spread) {
    std::vector<double> r;
    for (const Point& p : line)
        r.push_back(std::hypot(p.x - centre.x, p.y - centre.y));
    *spread = *std::max_element(r.begin(), r.end()) - *std::min_element(r.begin(), r.end());
    double sum = 0;
    for (double v : r)
        sum += v;
    return sum / r.size();
}

TEST(ToolGraticule, PolarAspectsDrawParallelsAsCirclesOfTheRightRadius) {
    for (const RadiusCase& c : kPolarRadii) {
        SCOPED_TRACE(c.arguments);
        const ToolRun run = Graticule(std::string(c.arguments) + " --step 15 --width 1000");
        ASSERT_EQ(run.status, 0) << run.err;
        Picture pic;
        ASSERT_TRUE(ReadPicture(run.out, &pic));
        ASSERT_TRUE(pic.parallels.count(c.lat) && pic.parallels.count(c.reference));
        // Every meridian ends at the pole, the centre of the circles.
        const std::vector<Point>& m = pic.meridians.begin()->second;
        const std::vector<Point>& other = pic.meridians.rbegin()->second;
        auto gap = [&](const Point& p) {
            return std::min(std::hypot(p.x - other.front().x, p.y - other.front().y),
                            std::hypot(p.x - other.back().x, p.y - other.back().y));
        };
        const Point pole = gap(m.front()) < gap(m.back()) ? m.front() : m.back();
        double spread = 0, spreadRef = 0;
        const double r = MeanRadius(pic.parallels[c.lat], pole, &spread);
        const double ref = MeanRadius(pic.parallels[c.reference], pole, &spreadRef);
        EXPECT_LT(spread, 0.05); // a circle, not an ellipse: x and y share one scale
        EXPECT_LT(spreadRef, 0.05);
        EXPECT_NEAR(r / ref, c.ratio, 0.02 / ref + 1e-4);
    }
}

// Which lines survive the preclipping: those inside the valid area of the
// module's domain test (hemisphere, 60 degree cap, +-45 degree band, window).
struct SurvivorCase {
    const char* arguments;
    std::set<double> meridians, parallels;
};
const SurvivorCase kSurvivors[] = {
    {"--proj 'type=gnom lat1=90' --step 20",
     {-180, -160, -140, -120, -100, -80, -60, -40, -20, 0, 20, 40, 60, 80, 100, 120, 140, 160},
     {40, 60, 80}},
    {"--utm 33N --step 10",
     {-20, -10, 0, 10, 20, 30, 40, 50},
     {-80, -70, -60, -50, -40, -30, -20, -10, 0, 10, 20, 30, 40, 50, 60, 70, 80}},
    {"--proj 'type=lcc lat1=33 lat2=45 lon0=-96' --step 5 --window -125,23,-66,50",
     {-125, -120, -115, -110, -105, -100, -95, -90, -85, -80, -75, -70},
     {25, 30, 35, 40, 45, 50}},
};

std::set<double> Keys(const std::map<double, std::vector<Point>>& m) {
    std::set<double> keys;
    for (const auto& kv : m)
        keys.insert(kv.first);
    return keys;
}

TEST(ToolGraticule, OnlyLinesInsideTheValidAreaAreDrawn) {
    for (const SurvivorCase& c : kSurvivors) {
        SCOPED_TRACE(c.arguments);
        const ToolRun run = Graticule(c.arguments);
        ASSERT_EQ(run.status, 0) << run.err;
        Picture pic;
        ASSERT_TRUE(ReadPicture(run.out, &pic));
        EXPECT_EQ(Keys(pic.meridians), c.meridians);
        EXPECT_EQ(Keys(pic.parallels), c.parallels);
    }
}

TEST(ToolGraticule, PlateCarreeIsTwiceAsWideAsHighWithNorthUp) {
    const ToolRun run = Graticule("--proj type=eqc --step 30");
    ASSERT_EQ(run.status, 0) << run.err;
    Picture pic;
    ASSERT_TRUE(ReadPicture(run.out, &pic));
    EXPECT_NEAR((pic.x1 - pic.x0) / (pic.y1 - pic.y0), 2.0, 0.01); // 360 by 180 degrees of arc
    EXPECT_LT(pic.parallels[60].front().y, pic.parallels[-60].front().y);
    EXPECT_GT(pic.meridians[90].front().x, pic.meridians[-90].front().x);
    EXPECT_NEAR(pic.meridians[0].front().x, 0.5 * (pic.x0 + pic.x1), 0.01);
}

// The filled area against the area of the picture's box: a disc for the
// Lambert azimuthal equal-area projection (the whole sphere inside a circle
// of radius 2R, Snyder ch. 24; its antipode at a vertex of the drawn window or
// between two) and for the orthographic (a hemisphere inside a circle of
// radius R, ch. 20), the 2:1 ellipse of Mollweide (ch. 31), the sinusoidal
// (4 pi R^2 in a 2 pi R by pi R box, ch. 30) and the full rectangle of the
// equidistant cylindrical.
struct FillCase {
    const char* arguments;
    double ratio;
};
const FillCase kFills[] = {
    {"--proj 'type=laea lat1=45 lon0=10'", 0.7853981633974483},
    {"--proj 'type=laea lat1=52.5 lon0=10'", 0.7853981633974483},
    {"--proj 'type=ortho lat0=40 lon0=-100'", 0.7853981633974483},
    {"--proj type=mollweide", 0.7853981633974483},
    {"--proj 'type=sinu lon0=30'", 0.6366197723675814},
    {"--proj type=eqc", 1.0},
};

TEST(ToolGraticule, TheAreaFillsTheProjectedShape) {
    for (const FillCase& c : kFills) {
        SCOPED_TRACE(c.arguments);
        const ToolRun run = Graticule(c.arguments);
        ASSERT_EQ(run.status, 0) << run.err;
        Picture pic;
        ASSERT_TRUE(ReadPicture(run.out, &pic));
        EXPECT_NEAR(pic.filled / ((pic.x1 - pic.x0) * (pic.y1 - pic.y0)), c.ratio, 0.005);
    }
}

// A central meridian of 150: the parallels cross the band's edge at -30, so
// the preclipping hands over the part beyond it shifted by a whole turn, and
// the two pieces together span the map.
TEST(ToolGraticule, LinesCrossingTheBandEdgeAreDrawnOnBothSides) {
    const ToolRun run = Graticule("--proj 'type=merc lon0=150' --window -180,-80,180,80");
    ASSERT_EQ(run.status, 0) << run.err;
    Picture pic;
    ASSERT_TRUE(ReadPicture(run.out, &pic));
    // Every meridian but -30, the band's open edge, where the outline is.
    EXPECT_EQ(pic.meridians.size(), 23u);
    EXPECT_EQ(pic.meridians.count(-30), 0u);
    EXPECT_EQ(pic.parallelPieces, 2 * static_cast<int>(pic.parallels.size()));
    EXPECT_GT(pic.meridians[-165].front().x, pic.meridians[165].front().x);
}

TEST(ToolGraticule, OutputFileTitleAndWidth) {
    const std::string path = TempPath("graticule.svg");
    const ToolRun toFile =
        Graticule("--proj type=eqc --width 640 --title 'Plate <&> \"carree\"' -o '" + path + "'");
    ASSERT_EQ(toFile.status, 0) << toFile.err;
    EXPECT_EQ(toFile.out, "");
    const std::string svg = ReadAll(path);
    std::remove(path.c_str());
    Picture pic;
    ASSERT_TRUE(ReadPicture(svg, &pic));
    EXPECT_EQ(pic.width, 640);
    EXPECT_NE(svg.find("<title>Plate &lt;&amp;&gt; &quot;carree&quot;</title>"), std::string::npos);
    const ToolRun toStdout =
        Graticule("--proj type=eqc --width=640 --title='Plate <&> \"carree\"'");
    EXPECT_EQ(toStdout.out, svg);
}

// Bad usage exits with 2, a record that cannot be made into a projection
// with 1; either way with one line on standard error and nothing written.
struct FailCase {
    const char* arguments;
    int status;
};
const FailCase kFailures[] = {
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
};

TEST(ToolGraticule, FailuresExitWithOneLine) {
    for (const FailCase& c : kFailures) {
        SCOPED_TRACE(c.arguments);
        const ToolRun run = Graticule(c.arguments);
        EXPECT_EQ(run.status, c.status);
        EXPECT_EQ(run.out, "");
        EXPECT_EQ(run.err.rfind("kvproj: graticule: ", 0), 0u) << run.err;
        EXPECT_EQ(std::count(run.err.begin(), run.err.end(), '\n'), 1) << run.err;
    }
}

} // namespace
