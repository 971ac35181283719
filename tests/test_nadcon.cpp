// NADCON grid shift: interpolation from the grid files, the column-0 reading
// west of the grid, points left alone, file look-up and hostile headers.
//
// Expected values: the generated ".LAS"/".LOS" pair holds bilinear functions of
// the 1-based column and row (GridFiles.h), so the shift at any grid position
// is the function's value there; west of the grid the record marker (1000)
// takes the place of column 0 with the weights of the truncated position.
#include "GridFiles.h"

#include "datum/dNadcon.h"
#include "frame/Diag.h"
#include "kvlibw/kvlibw.h"
#include "kvproj/datum.h"

#include <gtest/gtest.h>

#include <climits>
#include <cmath>
#include <fstream>
#include <functional>
#include <limits>
#include <sstream>

using namespace KVProj;
using namespace gridfiles;

namespace {

constexpr double kU = KVPROJ_UNPLOTTABLE;
constexpr float kMarker = 1000.0f;
const Nadcon kGrid = {30, 20, -100.0f, 0.25f, 30.0f, 0.25f, kMarker};

// Shifts (arcseconds) at 1-based grid positions; exact in single precision at nodes.
double Las(double c, double r) {
    return 0.5 + 0.125 * c + 0.0625 * r;
}
double Los(double c, double r) {
    return -1.0 + 0.25 * c - 0.03125 * r;
}

std::vector<int> g_reports;
int KVCALLBACK recordReports(const _KVERRINFO* info) {
    if (!(info->flags & KVERR_DETAILS)) g_reports.push_back(info->messageId);
    return 2;
}

struct NadconFiles : ::testing::Test {
    void SetUp() override {
        GridSetSearchDirectory(dir.Path().c_str());
        KVRegisterCallerInstance(recordReports, nullptr);
        g_reports.clear();
    }
    void TearDown() override {
        GridSetSearchDirectory(nullptr);
        KVUnregisterCallerInstance();
    }
    void Install(const std::string& area, const Nadcon& g = kGrid, const char* las = ".LAS",
                 const char* los = ".LOS") {
        dir.Write(area + las, NadconFile(g, [](int c, int r) { return float(Las(c, r)); }));
        dir.Write(area + los, NadconFile(g, [](int c, int r) { return float(Los(c, r)); }));
    }
    TempDir dir;
};

struct Case {
    const char* what;
    double x, y;
    double dx, dy; // expected shift in arcseconds (x gets the ".LAS" value)
};

// Position (fx, fy) of a point as the reader computes it.
double Fx(double x) {
    return (x + 100.0) / 0.25 + 1;
}
double Fy(double y) {
    return (y - 30.0) / 0.25 + 1;
}

} // namespace

TEST_F(NadconFiles, InterpolatesBothFilesWithTheirPairing) {
    Install("conus");
    const std::vector<Case> cases = {
        {"inside a cell", -97.3, 33.1, Las(Fx(-97.3), Fy(33.1)), Los(Fx(-97.3), Fy(33.1))},
        {"on a node, unweighted", -99.0, 31.0, Las(5, 5), Los(5, 5)},
        {"first node", -100.0, 30.0, Las(1, 1), Los(1, 1)},
        {"last cell", -92.76, 34.74, Las(Fx(-92.76), Fy(34.74)), Los(Fx(-92.76), Fy(34.74))},
        // Half a spacing west of the first column: column 0 is the record marker.
        {"half a spacing west", -100.125, 31.0, 0.5 * kMarker + 0.5 * Las(1, 5),
         0.5 * kMarker + 0.5 * Los(1, 5)},
        {"one spacing west", -100.25, 31.0, kMarker, kMarker},
        // fx = -0.5 truncates to column 0 with a negative fraction.
        {"one and a half west", -100.375, 31.0, 1.5 * kMarker - 0.5 * Las(1, 5),
         1.5 * kMarker - 0.5 * Los(1, 5)},
        {"two spacings west", -100.5, 31.0, 0, 0},
        {"east of the last cell", -92.75, 31.0, 0, 0},
        {"north of the last cell", -97.0, 34.75, 0, 0},
        {"far away", 10.0, -50.0, 0, 0},
    };
    for (const Case& c : cases) {
        DATUMPOINT p{c.x, c.y};
        ASSERT_TRUE(NadconShift("conus", &p, 1)) << c.what;
        EXPECT_NEAR((p.x - c.x) * 3600, c.dx, 1e-7) << c.what;
        EXPECT_NEAR((p.y - c.y) * 3600, c.dy, 1e-7) << c.what;
    }
    EXPECT_TRUE(g_reports.empty());
}

TEST_F(NadconFiles, UnusablePointsAreLeftAlone) {
    Install("prvi");
    const double nan = std::numeric_limits<double>::quiet_NaN();
    DATUMPOINT p[] = {{kU, kU}, {-97.3, kU}, {nan, 33.0}, {-97.3, nan}, {-97.3, 33.1}};
    ASSERT_TRUE(NadconShift("prvi", p, 5));
    EXPECT_EQ(p[0].x, kU);
    EXPECT_EQ(p[1].x, -97.3);
    EXPECT_TRUE(std::isnan(p[2].x));
    EXPECT_EQ(p[2].y, 33.0);
    EXPECT_EQ(p[3].x, -97.3);
    EXPECT_NE(p[4].x, -97.3);
}

TEST_F(NadconFiles, MissingFilesFailWithBothNames) {
    const std::string dirText = dir.Path();
    for (int present = 0; present < 2; ++present) {
        if (present) dir.Write("conus.LAS", NadconFile(kGrid, [](int, int) { return 1.0f; }));
        const std::string log =
            std::string(std::getenv("TMPDIR") ? std::getenv("TMPDIR") : "/tmp") +
            "/kvproj_nadcon_test.log";
        std::remove(log.c_str());
        const bool was = LogIsEnabled();
        const std::string oldPath = LogPath();
        LogSetup(true, log.c_str());
        DATUMPOINT p{-97.3, 33.1};
        g_reports.clear();
        EXPECT_FALSE(NadconShift("conus", &p, 1));
        LogSetup(was, oldPath.c_str());
        EXPECT_EQ(g_reports, std::vector<int>{20200});
        EXPECT_EQ(p.x, -97.3);
        std::ifstream in(log);
        std::stringstream text;
        text << in.rdbuf();
        const std::string expected =
            "Failed opening grid files (" + dirText + "conus.LAS and " + dirText + "conus.LOS)\r\n";
        EXPECT_NE(text.str().find("----------------NADCON--------------\r\n"), std::string::npos);
        EXPECT_NE(text.str().find(expected), std::string::npos) << text.str();
    }
}

// Copied onto a case-sensitive file system the files often end in ".las".
TEST_F(NadconFiles, LowerCaseFileNames) {
    Install("conus", kGrid, ".las", ".los");
    DATUMPOINT p{-99.0, 31.0};
    ASSERT_TRUE(NadconShift("conus", &p, 1));
    EXPECT_NEAR((p.x + 99.0) * 3600, Las(5, 5), 1e-7);
}

// The conversion engine shifts datums 232 and 233 with their own file pairs.
TEST_F(NadconFiles, ConversionEngineUsesTheAreaOfTheDatum) {
    Install("conus");
    Nadcon prvi = kGrid;
    prvi.xMin = -68.0f;
    prvi.yMin = 17.0f;
    Install("prvi", prvi);
    struct {
        int datum;
        double x, y, fx, fy;
    } cases[] = {{232, -97.3, 33.1, Fx(-97.3), Fy(33.1)},
                 {233, -66.1, 18.2, (-66.1 + 68) / 0.25 + 1, (18.2 - 17) / 0.25 + 1}};
    for (const auto& c : cases) {
        DATUMXFORM x;
        std::memset(&x, 0, sizeof x);
        x.SrcDatum = static_cast<DatumType>(c.datum);
        x.DestDatum = DATUM_WGS84;
        void* h = DatCreateDatum(&x);
        ASSERT_NE(h, nullptr);
        DATUMPOINT p{c.x, c.y};
        EXPECT_TRUE(DatConvertDatum(h, &p, 1));
        EXPECT_NEAR((p.x - c.x) * 3600, Las(c.fx, c.fy), 1e-7) << c.datum;
        EXPECT_NEAR((p.y - c.y) * 3600, Los(c.fx, c.fy), 1e-7) << c.datum;
        DatDeleteDatum(h);
    }
}

// Headers that describe no usable grid, or one far larger than the file:
// nothing is read past the data that exists, and no point is harmed.
TEST_F(NadconFiles, HostileHeaders) {
    struct Hostile {
        const char* what;
        std::function<void(std::string&)> corrupt;
        bool shifted;
    };
    auto poke = [](std::string& b, size_t at, auto v) { std::memcpy(&b[at], &v, sizeof v); };
    const std::vector<Hostile> cases = {
        {"truncated header", [](std::string& b) { b.resize(70); }, false},
        {"zero spacing", [&](std::string& b) { poke(b, 80, 0.0f); }, false},
        {"NaN spacing", [&](std::string& b) { poke(b, 88, std::nanf("")); }, false},
        {"negative columns", [&](std::string& b) { poke(b, 64, int32_t(-30)); }, false},
        {"columns INT_MAX, tiny spacing",
         [&](std::string& b) {
             poke(b, 64, int32_t(INT_MAX));
             poke(b, 80, 1e-6f);
         },
         false},
        {"rows INT_MAX", [&](std::string& b) { poke(b, 68, int32_t(INT_MAX)); }, true},
    };
    for (const Hostile& c : cases) {
        std::string las = NadconFile(kGrid, [](int c, int r) { return float(Las(c, r)); });
        c.corrupt(las);
        dir.Write("conus.LAS", las);
        dir.Write("conus.LOS", NadconFile(kGrid, [](int c, int r) { return float(Los(c, r)); }));
        DATUMPOINT p[] = {{-99.999, 30.001}, {-97.3, 33.1}};
        EXPECT_TRUE(NadconShift("conus", p, 2)) << c.what;
        EXPECT_EQ(p[1].x != -97.3, c.shifted) << c.what;
        EXPECT_TRUE(std::isfinite(p[0].x) && std::isfinite(p[0].y)) << c.what;
    }
}

TEST_F(NadconFiles, GridInfoFromTheHeader) {
    Install("conus");
    NadconGridInfo info{};
    ASSERT_TRUE(NadconReadGridInfo((dir.Path() + "conus.LAS").c_str(), &info));
    EXPECT_EQ(info.columns, 30);
    EXPECT_EQ(info.rows, 20);
    EXPECT_EQ(info.west, -100.0);
    EXPECT_EQ(info.dy, 0.25);
    dir.Write("short.LAS", std::string(80, 'x'));
    EXPECT_FALSE(NadconReadGridInfo((dir.Path() + "short.LAS").c_str(), &info));
    EXPECT_FALSE(NadconReadGridInfo((dir.Path() + "none.LAS").c_str(), &info));
}
