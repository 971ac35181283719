// The module table and the contract every module keeps: argument checks that
// name the module's own source, markers passed through, iResult never cleared,
// nothing written past the count, no hang or crash on hostile numbers, and the
// domain and split tests of each row.
#include "ModuleTestSupport.h"
#include "TestSupport.h"

#include <cstring>

using namespace modtest;

namespace {

std::vector<ProjType> BuiltTypes() {
    std::vector<ProjType> types;
    for (int t = 0; t < kProjModuleCount; ++t)
        if (ProjModuleTable[t].Forward) types.push_back(static_cast<ProjType>(t));
    return types;
}

// A record every module's formulas accept.
PROJDATA Usable(ProjType t) {
    Rec r = Clarke().Type(t).Lat0(20).Lon0(5).Lat1(35).Lon1(5).Lat2(50).Lon2(20).Alpha(30);
    return r.d;
}

TEST(ModuleTable, Rows) {
    for (int t = 0; t < kProjModuleCount; ++t) {
        const PROJMODULE& m = ProjModuleTable[t];
        const bool empty = t == 0 || t == 9 || t == 10;
        EXPECT_EQ(!m.Forward, empty) << t;
        EXPECT_EQ(!m.Inverse, empty) << t;
        EXPECT_EQ(!m.LLInProjection || !m.LLOffsetSplit, empty) << t;
        EXPECT_LT(std::strlen(m.Name), 80u) << t;
    }
    EXPECT_EQ(BuiltTypes().size(), 26u);
    EXPECT_EQ(0, std::memcmp(&ProjModuleTable[17].Forward, &ProjModuleTable[18].Forward,
                             4 * sizeof(void*)));
    EXPECT_STREQ(ProjModuleTable[18].Name, "Gauss-Kruger / Gauss Conformal");
    EXPECT_EQ(ProjModuleTable[22].Info, 63u);
    EXPECT_EQ(ProjModuleFor(-1), nullptr);
    EXPECT_EQ(ProjModuleFor(29), nullptr);
}

TEST(ModuleTable, ArgumentChecksMarkersAndCount) {
    kvtest::ReportRecorder rec;
    for (ProjType t : BuiltTypes()) {
        const Module m = ModuleOf(t);
        for (Converter fn : {m.fwd, m.inv}) {
            SCOPED_TRACE(testing::Message() << m.name << (fn == m.fwd ? " forward" : " inverse"));
            PROJDATA d = Usable(t);
            PROJPOINT p[4] = {{DBL_MAX, 0.5}, {0.2, DBL_MAX}, {0.2, 0.5}, {0.2, 0.5}};
            if (fn == m.inv) p[2] = p[3] = {3e5, 2e5};
            const PROJPOINT before = p[2];
            rec.reports.clear();
            EXPECT_FALSE(fn(nullptr, p, 3)); // silently
            EXPECT_TRUE(rec.reports.empty());
            EXPECT_FALSE(fn(&d, nullptr, 3));
            EXPECT_FALSE(fn(&d, p, 0));
            EXPECT_FALSE(fn(&d, p, -5));
            ASSERT_EQ(rec.reports.size(), 3u);
            for (const auto& r : rec.reports) // the module's own file
                EXPECT_TRUE(r.file.find("projections/p") != std::string::npos &&
                            r.file.rfind(".cpp") == r.file.size() - 4)
                    << r.file;
            EXPECT_EQ(p[2].x, before.x);
            ASSERT_TRUE(fn(&d, p, 3));
            EXPECT_EQ(d.iResult, 0);
            EXPECT_EQ(p[0].x, DBL_MAX); // markers pass as they are
            EXPECT_EQ(p[0].y, 0.5);
            EXPECT_EQ(p[1].x, 0.2);
            EXPECT_NE(p[2].x, before.x);
            EXPECT_EQ(p[3].x, before.x); // nothing past the count
            EXPECT_EQ(p[3].y, before.y);
            d.iResult = 1; // a set flag is never cleared
            ASSERT_TRUE(fn(&d, &p[3], 1));
            EXPECT_EQ(d.iResult, 1);
            EXPECT_FALSE(IsUnplottable(p[3]));
        }
    }
}

// Every call completes (the iterations are bounded), returns true and writes
// nothing but the points it was given; run under the sanitizers too.
TEST(ModuleTable, HostileNumbersNeverHangOrCrash) {
    kvtest::ReportRecorder rec;
    const double nan = std::nan(""), inf = HUGE_VAL;
    const double values[] = {nan, inf, -inf, 1e308, -1e308, 0.0, 1e-310, 3.0, -1.5707963267948966};
    for (ProjType t : BuiltTypes()) {
        const Module m = ModuleOf(t);
        for (double v : values) {
            PROJDATA recs[5] = {Usable(t), Usable(t), Usable(t), Usable(t), Usable(t)};
            recs[1].Lat0 = recs[1].Lon0 = recs[1].Lat1 = recs[1].Lat2 = recs[1].Alpha = v;
            recs[1].K0 = v;
            recs[2].Flattening = 0.0;
            recs[3].MajorRadius = v;
            recs[3].Flattening = std::fabs(v) < 1 ? std::fabs(v) : 0.999;
            recs[4].Lat0 = 90 * kRad; // poles, near-meridian azimuth
            recs[4].Lat1 = -90 * kRad;
            recs[4].Lat2 = 89 * kRad;
            recs[4].Alpha = 89.9999 * kRad;
            recs[4].Flattening = 0.999;
            for (PROJDATA& d : recs) {
                PROJPOINT pts[5] = {{v, 0.3}, {0.3, v}, {v, v}, {0.2, 0.4}, {7.0, 7.0}};
                EXPECT_TRUE(m.fwd(&d, pts, 4)) << m.name;
                EXPECT_EQ(pts[4].x, 7.0);
                PROJPOINT inv[5] = {{v, 1e5}, {1e5, v}, {v, v}, {-3e6, 2e7}, {7.0, 7.0}};
                EXPECT_TRUE(m.inv(&d, inv, 4)) << m.name;
                EXPECT_EQ(inv[4].y, 7.0);
            }
        }
    }
    EXPECT_TRUE(rec.reports.empty());
}

// Domain tests: degrees, open intervals; each row pins which field is read.
TEST(ModuleTable, DomainTests) {
    struct Row {
        ProjType type;
        double lat0, lon0, lat1, lat2, lon, lat;
        bool in;
    } rows[] = {
        {PT_LAMBERT_CONIC, 0, 20, 0, 0, 199.99, 89, true},
        {PT_LAMBERT_CONIC, 0, 20, 0, 0, 200, 0, false}, // Lon0 + 180 is outside
        {PT_MERCATOR, 0, 0, 0, 0, 10, 89.999, true},
        {PT_MILLER, 0, 0, 0, 0, 10, -90, false},
        {PT_TRANSVERSE_MERCATOR, 0, 9, 0, 0, 53.9, 89, true},
        {PT_GAUSS_KRUGER, 0, 9, 0, 0, 54, 0, false},
        {PT_POLYCONIC, 0, 0, 0, 0, 89.9, 0, true},
        {PT_BONNE, 0, 0, 0, 0, -90, 0, false},
        {PT_HOTINE, 40, -100, 0, 0, -86, 54, true},
        {PT_HOTINE, 40, -100, 0, 0, -86, 55, false},
        {PT_OBLIQUE_MERCATOR, 0, 0, 10, 40, 44, 0, true},
        {PT_OBLIQUE_MERCATOR, 0, 0, 10, 40, 44, -5, false}, // beyond Lat2 - 45
        {PT_STEREOGRAPHIC, 60, 10, -60, 0, 10, 40, true},   // centre from Lat0, not Lat1
        {PT_ORTHOGRAPHIC, 60, 10, -60, 0, 10, -30.1, false},
        {PT_GNOMONIC, 80, 0, 30, 0, 0, -29.9, true}, // centre from Lat1
        {PT_GNOMONIC, 80, 0, 30, 0, 0, -30.1, false},
        {PT_AZIMUTHAL_EQUIDISTANT, 0, 0, 10, 0, 180, -0.1, false},
        {PT_ROBINSON, 0, 170, 0, 0, 179.9, 0, true}, // ignores Lon0
        {PT_ROBINSON, 0, -170, 0, 0, -180, 0, false},
        {PT_EQUIDISTANT_CYLINDRICAL, 0, 0, 0, 0, 720, 100, true},
        {PT_LAMBERT_AZIMUTHAL, 0, 0, 0, 0, -500, -90, true},
    };
    for (const Row& r : rows) {
        PROJDATA deg{}; // the handle's own record: degrees
        deg.Lat0 = r.lat0, deg.Lon0 = r.lon0, deg.Lat1 = r.lat1, deg.Lat2 = r.lat2;
        const PROJPOINT p{r.lon, r.lat};
        EXPECT_EQ(ProjModuleTable[r.type].LLInProjection(&deg, &p), r.in)
            << r.type << " " << r.lon << " " << r.lat;
        EXPECT_FALSE(ProjModuleTable[r.type].LLInProjection(nullptr, &p));
        EXPECT_FALSE(ProjModuleTable[r.type].LLInProjection(&deg, nullptr));
    }
}

TEST(ModuleTable, SplitTests) {
    struct Row {
        ProjType type;
        double west, east; // object spans west..east, Lon0 20
        bool split;
        double xOffset;
    } rows[] = {
        {PT_LAMBERT_CONIC, -180, 199, true, 360}, // Lon0 - 200: the minimum wins
        {PT_MERCATOR, -150, 200, true, -360},
        {PT_UTM, -159.9, 199.9, false, 0},
        {PT_MOLLWEIDE, -160, 0, true, 360},   // limits are inclusive here
        {PT_ROBINSON, -170, 180, true, -360}, // fixed at +-180
        {PT_ROBINSON, -180.5, 0, true, 360},
        {PT_STEREOGRAPHIC, -500, 500, false, 0}, // never splits
    };
    for (const Row& r : rows) {
        PROJDATA d{};
        d.Lon0 = 20; // degrees, as the handle's own record holds it
        const PROJPOINT pts[3] = {{r.west + 1, 0}, {r.west, 10}, {r.east, 20}};
        const PROJMODULE& m = ProjModuleTable[r.type];
        double dx = 7, dy = 7;
        EXPECT_EQ(m.LLOffsetSplit(&d, pts, 3, &dx, &dy), r.split) << r.type;
        EXPECT_EQ(dx, r.xOffset) << r.type;
        EXPECT_EQ(dy, 0.0);
        dx = dy = 7;
        EXPECT_FALSE(m.LLOffsetSplit(&d, pts, 0, &dx, &dy));
        EXPECT_FALSE(m.LLOffsetSplit(&d, nullptr, 3, &dx, &dy));
        EXPECT_FALSE(m.LLOffsetSplit(nullptr, pts, 3, &dx, &dy));
        EXPECT_EQ(dx, 7.0); // offsets untouched on bad arguments
    }
}

} // namespace
