// NADCON grid shift: interpolation from the grid files, the column-0 reading
// west of the grid, points left alone, file look-up and hostile headers.
//
// Expected values: the generated ".LAS"/".LOS" files hold bilinear functions of
// the 1-based column and row (GridFiles.h), so the shift at a grid position is
// the function's value there; west of the grid the record marker (1000) takes
// the place of column 0 with the weights of the truncated position.
#include "GridFiles.h"

#include "datum/dNadcon.h"
#include "frame/Diag.h"
#include "kvlibw/kvlibw.h"

#include <gtest/gtest.h>

#include <sys/stat.h>

#include <climits>
#include <fstream>
#include <sstream>

using namespace KVProj;
using namespace gridfiles;

namespace {

constexpr double kU = KVPROJ_UNPLOTTABLE;
constexpr float kMarker = 1000.0f;
const Nadcon kGrid = {30, 20, -100.0f, 0.25f, 30.0f, 0.25f, kMarker};

// Shifts (arcseconds) at 1-based grid positions, exact in single precision at nodes.
double Las(double c, double r) {
    return 0.5 + 0.125 * c + 0.0625 * r;
}
double Los(double c, double r) {
    return -1.0 + 0.25 * c - 0.03125 * r;
}
double Fx(double x) {
    return (x + 100.0) / 0.25 + 1;
}
double Fy(double y) {
    return (y - 30.0) / 0.25 + 1;
}
std::string LasFile(const Nadcon& g = kGrid) {
    return NadconFile(g, [](int c, int r) { return float(Las(c, r)); });
}
std::string LosFile(const Nadcon& g = kGrid) {
    return NadconFile(g, [](int c, int r) { return float(Los(c, r)); });
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
    void TearDown() override { GridSetSearchDirectory(nullptr), KVUnregisterCallerInstance(); }
    TempDir dir;
};

} // namespace

TEST_F(NadconFiles, InterpolatesBothFilesWithTheirPairing) {
    dir.Write("conus.las", LasFile()); // lower case, as copied onto many systems
    dir.Write("conus.los", LosFile());
    const struct {
        const char* what;
        double x, y, dx, dy; // expected shift in arcseconds: x gets the ".LAS" value
    } cases[] = {
        {"inside a cell", -97.3, 33.1, Las(Fx(-97.3), Fy(33.1)), Los(Fx(-97.3), Fy(33.1))},
        {"on a node, unweighted", -99.0, 31.0, Las(5, 5), Los(5, 5)},
        {"last cell", -92.76, 34.74, Las(Fx(-92.76), Fy(34.74)), Los(Fx(-92.76), Fy(34.74))},
        // West of the first column the record marker stands in for column 0.
        {"half a spacing west", -100.125, 31.0, 0.5 * kMarker + 0.5 * Las(1, 5),
         0.5 * kMarker + 0.5 * Los(1, 5)},
        {"one spacing west", -100.25, 31.0, kMarker, kMarker},
        // fx = -0.5 truncates to column 0 with a negative fraction.
        {"1.5 spacings west", -100.375, 31.0, 1.5 * kMarker - 0.5 * Las(1, 5),
         1.5 * kMarker - 0.5 * Los(1, 5)},
        {"two spacings west", -100.5, 31.0, 0, 0},
        {"east of the last cell", -92.75, 31.0, 0, 0},
        {"north of the last cell", -97.0, 34.75, 0, 0},
        {"unplottable", kU, kU, 0, 0},
    };
    for (const auto& c : cases) {
        DATUMPOINT p{c.x, c.y};
        ASSERT_TRUE(NadconShift("conus", &p, 1)) << c.what;
        EXPECT_NEAR((p.x - c.x) * 3600, c.dx, 1e-7) << c.what;
        EXPECT_NEAR((p.y - c.y) * 3600, c.dy, 1e-7) << c.what;
    }
    DATUMPOINT nan{-97.3, std::nan("")};
    ASSERT_TRUE(NadconShift("conus", &nan, 1));
    EXPECT_EQ(nan.x, -97.3);
    EXPECT_TRUE(g_reports.empty());
}

TEST_F(NadconFiles, MissingFilesFailWithBothNames) {
    const char* tmp = std::getenv("TMPDIR");
    const std::string log = std::string(tmp && *tmp ? tmp : "/tmp") + "/kvproj_nadcon.log";
    const bool was = LogIsEnabled();
    const std::string oldPath = LogPath(), d = dir.Path();
    for (int present = 0; present < 2; ++present) { // neither file, then only ".LAS"
        if (present) dir.Write("conus.LAS", LasFile());
        std::remove(log.c_str());
        LogSetup(true, log.c_str());
        DATUMPOINT p{-97.3, 33.1};
        g_reports.clear();
        EXPECT_FALSE(NadconShift("conus", &p, 1));
        LogSetup(was, oldPath.c_str());
        EXPECT_EQ(g_reports, std::vector<int>{20200});
        EXPECT_EQ(p.x, -97.3);
        std::stringstream text;
        text << std::ifstream(log).rdbuf();
        for (const std::string& line :
             {std::string("----------------NADCON--------------\r\n"),
              "Failed opening grid files (" + d + "conus.LAS and " + d + "conus.LOS)\r\n"})
            EXPECT_NE(text.str().find(line), std::string::npos) << text.str();
    }
}

// Grid files copied from a file system that ignores case are found in any
// spelling; something that is not a regular file is no grid.
TEST_F(NadconFiles, GridNamesMatchInAnyLetterCaseAndOnlyRegularFiles) {
    const std::string las = dir.Write("Conus.Las", LasFile()),
                      los = dir.Write("CONUS.los", LosFile());
    DATUMPOINT p{-99.0, 31.0};
    ASSERT_TRUE(NadconShift("conus", &p, 1));
    EXPECT_NEAR((p.x + 99.0) * 3600, Las(5, 5), 1e-7);
    std::remove(los.c_str());
    const std::string fake = dir.Path() + "conus.LOS";
    ASSERT_EQ(::mkdir(fake.c_str(), 0700), 0);
    EXPECT_FALSE(NadconShift("conus", &p, 1));
    ::rmdir(fake.c_str());
    EXPECT_EQ(g_reports, std::vector<int>{20200});
}

// The conversion engine shifts datums 232 and 233 with their own file pairs.
TEST_F(NadconFiles, ConversionEngineUsesTheAreaOfTheDatum) {
    Nadcon prvi = kGrid;
    prvi.xMin = -68.0f, prvi.yMin = 17.0f;
    dir.Write("conus.LAS", LasFile()), dir.Write("conus.LOS", LosFile());
    dir.Write("prvi.LAS", LasFile(prvi)), dir.Write("prvi.LOS", LosFile(prvi));
    const struct {
        int datum;
        double x, y, fx, fy;
    } cases[] = {{232, -97.3, 33.1, Fx(-97.3), Fy(33.1)}, {233, -66.1, 18.2, 8.6, 5.8}};
    for (const auto& c : cases) {
        DATUMXFORM x{};
        x.SrcDatum = static_cast<DatumType>(c.datum), x.DestDatum = DATUM_WGS84;
        void* h = DatCreateDatum(&x);
        DATUMPOINT p{c.x, c.y};
        EXPECT_TRUE(DatConvertDatum(h, &p, 1));
        EXPECT_NEAR((p.x - c.x) * 3600, Las(c.fx, c.fy), 1e-7) << c.datum;
        EXPECT_NEAR((p.y - c.y) * 3600, Los(c.fx, c.fy), 1e-7) << c.datum;
        DatDeleteDatum(h);
    }
}

// Headers that describe no usable grid, or one far larger than the file:
// nothing is read beyond the data, no point is harmed, and the call succeeds.
TEST_F(NadconFiles, HostileHeaders) {
    auto poke = [](std::string& b, size_t at, auto v) { std::memcpy(&b[at], &v, sizeof v); };
    const struct {
        const char* what;
        std::function<void(std::string&)> corrupt;
        bool shifted;
    } cases[] = {
        {"truncated header", [](std::string& b) { b.resize(70); }, false},
        {"zero spacing", [&](std::string& b) { poke(b, 80, 0.0f); }, false},
        {"NaN spacing", [&](std::string& b) { poke(b, 88, std::nanf("")); }, false},
        {"negative columns", [&](std::string& b) { poke(b, 64, -30); }, false},
        {"2^31 - 1 columns", [&](std::string& b) { poke(b, 64, INT_MAX), poke(b, 80, 1e-6f); },
         false},
        {"2^31 - 1 rows", [&](std::string& b) { poke(b, 68, INT_MAX); }, true},
    };
    dir.Write("conus.LOS", LosFile());
    for (const auto& c : cases) {
        std::string las = LasFile();
        c.corrupt(las);
        dir.Write("conus.LAS", las);
        DATUMPOINT p[] = {{-99.999, 30.001}, {-97.3, 33.1}};
        EXPECT_TRUE(NadconShift("conus", p, 2)) << c.what;
        EXPECT_EQ(p[1].x != -97.3, c.shifted) << c.what;
        EXPECT_TRUE(std::isfinite(p[0].x) && std::isfinite(p[0].y)) << c.what;
    }
}
