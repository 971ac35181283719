// The module table and the contract every module keeps: argument checks with
// their reports, marker points passed through, iResult never cleared, and the
// domain and split tests of each row.
#include "projections/ProjModule.h"

#include "kvlibw/kvlibw.h"

#include <gtest/gtest.h>

#include <cfloat>
#include <cmath>
#include <cstring>
#include <string>
#include <vector>

using namespace KVProj;

namespace {

std::vector<std::string> g_reports; // source files named by detailed reports

int KVCALLBACK Record(const _KVERRINFO* info) {
    if (info->flags & KVERR_DETAILS) g_reports.push_back(info->sourceFile ? info->sourceFile : "");
    return 1;
}

class ModuleTable : public testing::Test {
protected:
    void SetUp() override {
        g_reports.clear();
        KVRegisterCallerInstance(Record, nullptr);
    }
    void TearDown() override { KVUnregisterCallerInstance(); }
};

PROJDATA Data(ProjType type, double lat0 = 0, double lon0 = 0, double lat1 = 0, double lat2 = 0) {
    PROJDATA d;
    std::memset(&d, 0, sizeof d);
    d.Type = type;
    d.Lat0 = lat0;
    d.Lon0 = lon0;
    d.Lat1 = lat1;
    d.Lat2 = lat2;
    d.K0 = 1.0;
    d.MajorRadius = 6378137.0;
    d.Flattening = 1 / 298.257223563;
    return d;
}

// Every built module, with a record its formulas accept (radians).
struct Built {
    ProjType type;
    const char* source;
} const kBuilt[] = {
    {PT_MERCATOR, "projections/pMerc.cpp"},
    {PT_MILLER, "projections/pMiller.cpp"},
    {PT_UTM, "projections/pUTM.cpp"},
    {PT_LAMBERT_CONIC, "projections/pLambert.cpp"},
    {PT_EQUIDISTANT_CYLINDRICAL, "projections/pEquiCyl.cpp"},
    {PT_TRANSVERSE_MERCATOR, "projections/pTMerc.cpp"},
    {PT_GAUSS_KRUGER, "projections/pTMerc.cpp"},
};

TEST_F(ModuleTable, RowsWithoutModulesAndSharedRows) {
    for (int t : {0, 9, 10}) {
        const PROJMODULE& m = ProjModuleTable[t];
        EXPECT_TRUE(!m.Forward && !m.Inverse && !m.LLInProjection && !m.LLOffsetSplit) << t;
    }
    for (int t = 0; t < kProjModuleCount; ++t) {
        const PROJMODULE& m = ProjModuleTable[t];
        EXPECT_EQ(!m.Forward, !m.Inverse) << t;
        EXPECT_LT(std::strlen(m.Name), 80u) << t;
        if (t != 0 && t != 9 && t != 10) {
            EXPECT_TRUE(m.LLInProjection && m.LLOffsetSplit) << t;
        }
    }
    EXPECT_EQ(0, std::memcmp(&ProjModuleTable[17].Forward, &ProjModuleTable[18].Forward,
                             4 * sizeof(void*)));
    EXPECT_STREQ(ProjModuleTable[18].Name, "Gauss-Kruger / Gauss Conformal");
    EXPECT_EQ(ProjModuleTable[22].Info, 63u);
    EXPECT_EQ(ProjModuleFor(-1), nullptr);
    EXPECT_EQ(ProjModuleFor(29), nullptr);
}

TEST_F(ModuleTable, ArgumentChecksReportWithTheModulesSource) {
    for (const Built& b : kBuilt) {
        const PROJMODULE& m = ProjModuleTable[b.type];
        for (ProjConvertFn fn : {m.Forward, m.Inverse}) {
            SCOPED_TRACE(b.source);
            PROJDATA d = Data(b.type);
            PROJPOINT p{0.1, 0.2};
            g_reports.clear();
            EXPECT_FALSE(fn(nullptr, &p, 1)); // silently
            EXPECT_TRUE(g_reports.empty());
            EXPECT_FALSE(fn(&d, nullptr, 1));
            EXPECT_FALSE(fn(&d, &p, 0));
            EXPECT_FALSE(fn(&d, &p, -5));
            ASSERT_EQ(g_reports.size(), 3u);
            for (const std::string& s : g_reports)
                EXPECT_EQ(s, b.source);
            EXPECT_EQ(p.x, 0.1);
            EXPECT_EQ(d.iResult, 0);
        }
    }
}

// Markers in either member pass untouched without setting iResult; a result
// flag already set stays set.
TEST_F(ModuleTable, MarkersPassAndResultIsNeverCleared) {
    for (const Built& b : kBuilt) {
        const PROJMODULE& m = ProjModuleTable[b.type];
        for (ProjConvertFn fn : {m.Forward, m.Inverse}) {
            SCOPED_TRACE(b.source);
            PROJDATA d = Data(b.type, 0.5, 0.1, 0.5, 0.8);
            PROJPOINT pts[2] = {{DBL_MAX, 0.25}, {0.25, DBL_MAX}};
            EXPECT_TRUE(fn(&d, pts, 2));
            EXPECT_EQ(d.iResult, 0);
            EXPECT_EQ(pts[0].y, 0.25);
            EXPECT_EQ(pts[1].x, 0.25);
            d.iResult = 1;
            PROJPOINT ok{0.12, 0.6};
            if (fn == m.Inverse) ok = {1000.0, 2000.0};
            EXPECT_TRUE(fn(&d, &ok, 1));
            EXPECT_EQ(d.iResult, 1);
            EXPECT_NE(ok.x, DBL_MAX);
        }
    }
}

// Domain tests, degrees, open intervals.
TEST_F(ModuleTable, DomainTests) {
    struct Row {
        ProjType type;
        double lat0, lon0, lat1, lat2, lon, lat;
        bool in;
    } rows[] = {
        {PT_LAMBERT_CONIC, 0, 20, 0, 0, 199.99, 89, true},
        {PT_LAMBERT_CONIC, 0, 20, 0, 0, 200, 0, false}, // Lon0 + 180 is outside
        {PT_LAMBERT_CONIC, 0, 20, 0, 0, -160, 0, false},
        {PT_MERCATOR, 0, 0, 0, 0, 10, 89.999, true},
        {PT_MERCATOR, 0, 0, 0, 0, 10, 90, false},
        {PT_MILLER, 0, 0, 0, 0, 10, -90, false},
        {PT_TRANSVERSE_MERCATOR, 0, 9, 0, 0, 53.9, 89, true},
        {PT_UTM, 0, 9, 0, 0, -36, 0, false},
        {PT_GAUSS_KRUGER, 0, 9, 0, 0, 54, 0, false},
        {PT_POLYCONIC, 0, 0, 0, 0, 89.9, 0, true},
        {PT_BONNE, 0, 0, 0, 0, -90, 0, false},
        {PT_HOTINE, 40, -100, 0, 0, -86, 54, true},
        {PT_HOTINE, 40, -100, 0, 0, -86, 55, false},
        {PT_OBLIQUE_MERCATOR, 0, 0, 10, 40, 44, 0, true},
        {PT_OBLIQUE_MERCATOR, 0, 0, 10, 40, 44, -5, false}, // beyond Lat2 - 45
        {PT_STEREOGRAPHIC, 60, 10, -60, 0, 10, 40, true},   // centre from Lat0, not Lat1
        {PT_ORTHOGRAPHIC, 60, 10, -60, 0, 10, -30.1, false},
        {PT_CASSINI, 0, 0, 0, 0, 180, 0, false},
        {PT_GNOMONIC, 80, 0, 30, 0, 0, -29.9, true}, // centre from Lat1
        {PT_GNOMONIC, 80, 0, 30, 0, 0, -30.1, false},
        {PT_AZIMUTHAL_EQUIDISTANT, 0, 0, 10, 0, 180, 0.1, true},
        {PT_AZIMUTHAL_EQUIDISTANT, 0, 0, 10, 0, 180, -0.1, false},
        {PT_ROBINSON, 0, 170, 0, 0, 179.9, 0, true}, // ignores Lon0
        {PT_ROBINSON, 0, -170, 0, 0, -180, 0, false},
        {PT_EQUIDISTANT_CYLINDRICAL, 0, 0, 0, 0, 720, 100, true},
        {PT_LAMBERT_AZIMUTHAL, 0, 0, 0, 0, -500, -90, true},
    };
    for (const Row& r : rows) {
        const PROJDATA d = Data(r.type, r.lat0, r.lon0, r.lat1, r.lat2);
        const PROJPOINT p{r.lon, r.lat};
        EXPECT_EQ(ProjModuleTable[r.type].LLInProjection(&d, &p), r.in)
            << r.type << " " << r.lon << " " << r.lat;
        EXPECT_FALSE(ProjModuleTable[r.type].LLInProjection(nullptr, &p));
        EXPECT_FALSE(ProjModuleTable[r.type].LLInProjection(&d, nullptr));
    }
    EXPECT_TRUE(g_reports.empty());
}

TEST_F(ModuleTable, SplitTests) {
    struct Row {
        ProjType type;
        double lon0, west, east; // object spans west..east
        bool split;
        double xOffset;
    } rows[] = {
        {PT_LAMBERT_CONIC, 20, -180, 199, true, 360}, // Lon0 - 200: the minimum wins
        {PT_LAMBERT_CONIC, 20, -170, 210, true, 360},
        {PT_MERCATOR, 20, -150, 200, true, -360},
        {PT_UTM, 20, -159.9, 199.9, false, 0},
        {PT_MOLLWEIDE, 20, -160, 0, true, 360}, // limits are inclusive here
        {PT_BONNE, 20, 0, 200, true, -360},
        {PT_ROBINSON, 20, -170, 180, true, -360}, // fixed at +-180
        {PT_ROBINSON, 20, -180.5, 0, true, 360},
        {PT_STEREOGRAPHIC, 20, -500, 500, false, 0}, // never splits
        {PT_EQUIDISTANT_CYLINDRICAL, 20, -500, 500, false, 0},
    };
    for (const Row& r : rows) {
        const PROJDATA d = Data(r.type, 0, r.lon0);
        const PROJPOINT pts[3] = {{r.west + 1, 0}, {r.west, 10}, {r.east, 20}};
        double dx = 7, dy = 7;
        EXPECT_EQ(ProjModuleTable[r.type].LLOffsetSplit(&d, pts, 3, &dx, &dy), r.split) << r.type;
        EXPECT_EQ(dx, r.xOffset) << r.type;
        EXPECT_EQ(dy, 0.0);
        dx = dy = 7;
        EXPECT_FALSE(ProjModuleTable[r.type].LLOffsetSplit(&d, pts, 0, &dx, &dy));
        EXPECT_FALSE(ProjModuleTable[r.type].LLOffsetSplit(&d, nullptr, 3, &dx, &dy));
        EXPECT_FALSE(ProjModuleTable[r.type].LLOffsetSplit(nullptr, pts, 3, &dx, &dy));
        EXPECT_EQ(dx, 7.0); // offsets untouched on bad arguments
    }
    EXPECT_TRUE(g_reports.empty());
}

// Hostile numbers in the points or in the record: every call completes (the
// iterations are bounded), returns true, and leaves each point either the
// marker or some value for the engine's screen. Run under the sanitizers too.
TEST_F(ModuleTable, HostileNumbersNeverHangOrCrash) {
    const double nan = std::nan(""), inf = HUGE_VAL;
    const double values[] = {nan, inf, -inf, 1e308, -1e308, 0.0, 1e-310, 3.0, -1.5707963267948966};
    for (const Built& b : kBuilt) {
        const PROJMODULE& m = ProjModuleTable[b.type];
        for (double v : values) {
            PROJDATA records[3] = {Data(b.type, 0.5, 0.1, 0.5, 0.8), Data(b.type, v, v, v, v),
                                   Data(b.type, 0.5, 0.1, 0.5, 0.8)};
            records[2].Flattening = 0.0;
            records[1].K0 = v;
            for (PROJDATA& d : records) {
                PROJPOINT pts[4] = {{v, 0.3}, {0.3, v}, {v, v}, {0.2, 0.4}};
                EXPECT_TRUE(m.Forward(&d, pts, 4)) << b.source;
                PROJPOINT inv[4] = {{v, 1e5}, {1e5, v}, {v, v}, {-3e6, 2e7}};
                EXPECT_TRUE(m.Inverse(&d, inv, 4)) << b.source;
            }
        }
    }
    EXPECT_TRUE(g_reports.empty());
}

} // namespace
