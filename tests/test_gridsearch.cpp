// The grid search path hosts set with DatSetGridSearchPath: which folder each
// grid file comes from, the folders reported back, the default beside the
// executable, and the NTv2 grid reloaded from the new folders. Expected
// shifts: the shift functions of GridFiles.h (bilinear functions, which the
// interpolation reproduces at the nodes).
#include "GridFiles.h"
#include "TestSupport.h"

#include "datum/GridShift.h"
#include "frame/SiblingFile.h"
#include "kvproj/datum.h"

#include <gtest/gtest.h>

#include <thread>

using namespace gridfiles;
using namespace KVProj;

namespace {

std::string SearchPath() {
    char text[4096] = "x";
    return DatGetGridSearchPath(text, sizeof text) ? text : "(false:" + std::string(text) + ")";
}

// A NADCON pair for the area `area` whose ".LAS" values are all `shift`.
void WriteNadcon(TempDir& dir, const std::string& area, float shift) {
    const Nadcon g = {30, 20, -100.0f, 0.25f, 30.0f, 0.25f, 0.0f};
    dir.Write(area + ".LAS", NadconFile(g, [shift](int, int) { return shift; }));
    dir.Write(area + ".LOS", NadconFile(g, [](int, int) { return 0.0f; }));
}

// Longitude of (-99, 31) after converting from datum 232 to WGS 84, or NaN.
double NadconLongitude() {
    DATUMXFORM x{};
    x.SrcDatum = DATUM_NADCON_CONUS;
    x.DestDatum = DATUM_WGS84;
    void* h = DatCreateDatum(&x);
    DATUMPOINT p{-99.0, 31.0};
    const bool ok = h && DatConvertDatum(h, &p, 1);
    DatDeleteDatum(h);
    return ok ? p.x : std::nan("");
}

struct GridSearchPath : ::testing::Test {
    void SetUp() override { DatSetGridSearchPath(nullptr); }
    void TearDown() override { DatSetGridSearchPath(nullptr); }
    TempDir a, b, c;
};

TEST_F(GridSearchPath, EachFileComesFromTheFirstFolderHoldingIt) {
    WriteNadcon(b, "conus", 36.0f); // 0.01 degrees east
    WriteNadcon(c, "conus", 72.0f);
    const kvtest::ReportRecorder host;
    const struct {
        std::string path;
        double lon; // NaN: the conversion fails
        std::string reported;
    } cases[] = {
        {a.Path() + ":" + b.Path() + ":" + c.Path(), -98.99,
         a.Path() + ":" + b.Path() + ":" + c.Path()},
        {c.Path() + ":" + b.Path(), -98.98, c.Path() + ":" + b.Path()},
        // Empty entries are skipped; a folder without a trailing '/' gets one.
        {"::" + b.Path().substr(0, b.Path().size() - 1) + ":", -98.99, b.Path()},
        {a.Path(), std::nan(""), a.Path()},
    };
    for (const auto& t : cases) {
        DatSetGridSearchPath(t.path.c_str());
        EXPECT_EQ(SearchPath(), t.reported) << t.path;
        const double lon = NadconLongitude();
        if (std::isnan(t.lon))
            EXPECT_TRUE(std::isnan(lon)) << t.path;
        else
            EXPECT_NEAR(lon, t.lon, 1e-9) << t.path;
    }
}

TEST_F(GridSearchPath, NullOrEmptyGoesBackBesideTheExecutable) {
    const std::string beside = BesideExecutable("");
    ASSERT_FALSE(beside.empty());
    for (const char* path : {static_cast<const char*>(nullptr), "", ":::"}) {
        DatSetGridSearchPath(a.Path().c_str());
        DatSetGridSearchPath(path);
        EXPECT_EQ(SearchPath(), beside) << (path ? path : "null");
    }
    // The single folder of the tests' own hook is reported the same way.
    GridSetSearchDirectory(b.Path().c_str());
    EXPECT_EQ(SearchPath(), b.Path());
    GridSetSearchDirectory(nullptr);
    EXPECT_EQ(SearchPath(), beside);
}

TEST_F(GridSearchPath, ReportsFalseWhenTheFoldersDoNotFit) {
    DatSetGridSearchPath(a.Path().c_str());
    char small[8] = "x";
    EXPECT_FALSE(DatGetGridSearchPath(small, sizeof small));
    EXPECT_STREQ(small, "");
    EXPECT_FALSE(DatGetGridSearchPath(nullptr, 100));
    EXPECT_FALSE(DatGetGridSearchPath(small, 0));
    std::vector<char> exact(a.Path().size() + 1);
    EXPECT_TRUE(DatGetGridSearchPath(exact.data(), static_cast<int>(exact.size())));
    EXPECT_EQ(std::string(exact.data()), a.Path());
}

TEST_F(GridSearchPath, TheNtv2GridIsReloadedFromTheNewFolders) {
    // Two grids over one area with different constant shifts.
    auto constant = [](float lat) {
        return [lat](double, double, float* dLat, float* dLonW) { *dLat = lat, *dLonW = 0; };
    };
    a.Write("NTV2_0.GSB", Ntv2File({Box("A", "NONE", -80, 40, 10, 6, 1800, 1800, constant(36))}));
    b.Write("ntv2_0.gsb", Ntv2File({Box("B", "NONE", -80, 40, 10, 6, 1800, 1800, constant(72))}));
    DATUMXFORM x{};
    x.SrcDatum = DATUM_NTV2_CANADA;
    x.DestDatum = DATUM_WGS84;
    void* h = DatCreateDatum(&x);
    ASSERT_NE(h, nullptr);
    const struct {
        std::string path;
        double lat;
    } cases[] = {{a.Path(), 42.01}, {b.Path(), 42.02}, {c.Path() + ":" + a.Path(), 42.01}};
    for (const auto& t : cases) {
        DatSetGridSearchPath(t.path.c_str());
        DATUMPOINT p{-75.0, 42.0};
        ASSERT_TRUE(DatConvertDatum(h, &p, 1)) << t.path;
        EXPECT_NEAR(p.y, t.lat, 1e-9) << t.path;
    }
    DatDeleteDatum(h);
    NTV2Shutdown();
}

// Run under the thread sanitizer: setting and reading the folders while
// another thread looks grid files up.
TEST_F(GridSearchPath, IsSafeToSetWhileAnotherThreadLooksUp) {
    WriteNadcon(a, "conus", 36.0f);
    std::thread reader([&] {
        for (int i = 0; i < 200; ++i) {
            char path[4096];
            GridPathBeside("conus.LAS", path, sizeof path);
            SearchPath();
        }
    });
    for (int i = 0; i < 200; ++i)
        DatSetGridSearchPath(i % 2 ? a.Path().c_str() : (b.Path() + ":" + a.Path()).c_str());
    reader.join();
    EXPECT_NEAR(NadconLongitude(), -98.99, 1e-9);
}

} // namespace
