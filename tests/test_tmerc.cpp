// Transverse Mercator, Gauss-Kruger and UTM modules.
#include "ModuleTestSupport.h"
#include "projections/Modules.h"

using namespace modtest;

namespace {

const Module kTM = ModuleOf(PT_TRANSVERSE_MERCATOR), kGK = ModuleOf(PT_GAUSS_KRUGER),
             kUTM = ModuleOf(PT_UTM);

Rec Utm(int zone, bool south) {
    return Wgs84().Lon0(zone * 6.0 - 183.0).K0(0.9996).Origin(500000, south ? 1e7 : 0);
}

// Snyder: USGS PP 1395, chapter 8 worked examples. EPSG: guidance note 7-2
// (OSGB 1936 / British National Grid). cs2cs: PROJ 9.1.1 +proj=tmerc|utm.
TEST(TMerc, PublishedAndOracleValues) {
    const Rec bng = Rec(6377563.396, 1 / 299.3249646).Lat0(49).Lon0(-2).K0(0.9996012717);
    const Rec sphere = Sphere().Lat0(10).Lon0(-75).K0(0.9999);
    // clang-format off
    CheckRows({
        {"Snyder sphere", kTM, Unit().Lon0(-75), -73.5, 40.5, 0.0199077, 0.7070276, 1e-7},
        {"Snyder Clarke 1866", kTM, SnyderClarke().Lon0(-75).K0(0.9996), -73.5, 40.5, 127106.5, 4484124.4, 0.05},
        {"EPSG BNG", kTM, Rec(bng).Origin(400000, -100000), 0.5, 50.5, 577274.99, 69740.50, 0.015},
        {"cs2cs GK Krassowsky", kGK, Rec(6378245, 1 / 298.3).Lon0(21), 22.5, 51.0, 105295.77943, 5653256.30857, 0.001},
        {"cs2cs sphere south", kTM, sphere, -80, -20, -522901.20720, -3343329.86023, 1e-4},
        {"cs2cs sphere 35 deg off", kTM, sphere, -110, 10, -4076683.88301, 238808.42596, 1e-4},
        {"cs2cs sphere near pole", kTM, sphere, -35, 60, 2122608.34500, 6242005.55888, 1e-4},
        // UTM: north, zone 1 at the date line, equator, south
        {"cs2cs utm 33", kUTM, Utm(33, false), 15.0, 52.0, 500000.0, 5761038.2126, 1e-3},
        {"cs2cs utm 1", kUTM, Utm(1, false), -178.9, 64.5, 408741.6084, 7154098.3574, 1e-3},
        {"cs2cs utm 31", kUTM, Utm(31, false), 3.0, 0.0, 500000.0, 0.0, 1e-3},
        {"cs2cs utm 56 south", kUTM, Utm(56, true), 151.21, -33.87, 334435.7061, 6250816.3978, 1e-3},
        {"cs2cs utm 60 south", kUTM, Utm(60, true), 174.78, -41.29, 314109.2391, 5426672.3510, 1e-3},
    });
    // clang-format on
}

// How far the sixth-order series may stray from the exact transverse Mercator
// (cs2cs, WGS84, k0 0.9996) with distance from the central meridian.
TEST(TMerc, SeriesErrorGrowsWithDistanceFromCentralMeridian) {
    const double rows[][5] = {// lon, lat, x, y, bound (m)
                              {1, 40, 85360.46184, 4428236.06463, 0.001},
                              {3, 60, 167294.82112, 6655205.48363, 0.001},
                              {-3, -45, -236446.02610, -4987329.50470, 0.001},
                              {6, 0, 668881.68853, 0.0, 0.02},
                              {10, 40, 854342.84225, 4475948.54943, 0.25},
                              {20, 40, 1712740.64306, 4624280.97576, 30}};
    const PROJDATA d = Wgs84().K0(0.9996).d;
    for (const auto& r : rows) {
        const PROJPOINT p = Fwd(kTM.fwd, d, r[0], r[1]);
        EXPECT_LT(std::hypot(p.x - r[2], p.y - r[3]), r[4]) << r[0] << " " << r[1];
    }
}

TEST(TMerc, RoundTripWithinZone) {
    // 2 mm: forward and inverse series are not exact inverses of each other.
    EXPECT_LT(WorstRoundTrip(kUTM, Utm(32, false).d, -80, 84, 6.05, 11.95, 0.7), 0.002);
}

TEST(TMerc, PolesAndFailures) {
    // Ellipsoid at the poles: y = (M - M0) k0 (cs2cs).
    PROJDATA e = Wgs84().K0(0.9996).d;
    PROJPOINT p = Fwd(kTM.fwd, e, 40, 90);
    EXPECT_EQ(p.x, 0.0);
    EXPECT_NEAR(p.y, 9997964.94302, 0.001);
    p = Fwd(kTM.fwd, Wgs84().K0(0.9996).Lat0(30).d, -20, -90);
    EXPECT_NEAR(p.y, -13316750.29560, 0.001);
    // Sphere: 90 east on the equator (B = 1) fails; 90 west gives -inf for the
    // engine to screen; at the pole y = R k0 (pi/2 - phi0).
    PROJDATA s = Rec(2.0, 0.0).Lat0(10).K0(0.5).d;
    PROJPOINT pts[3] = {{90 * kRad, 0}, {-90 * kRad, 0}, {0.3, 90 * kRad}};
    ASSERT_TRUE(Converter(TMercForward)(&s, pts, 3));
    EXPECT_EQ(pts[0].y, DBL_MAX);
    EXPECT_EQ(s.iResult, 1);
    EXPECT_TRUE(std::isinf(pts[1].x) && pts[1].x < 0);
    EXPECT_NEAR(pts[2].x, 0.0, 1e-12);
    EXPECT_DOUBLE_EQ(pts[2].y, 2.0 * 0.5 * (90 - 10) * kRad);
    // k0 = 0 fails the point in the general module; UTM's inverse has no such
    // guard and lets the non-finite value through to the engine's screen.
    PROJDATA tm = Wgs84().K0(0.0).d, utm = tm;
    PROJPOINT a{1000, 1000}, b{1000, 1000};
    ASSERT_TRUE(Converter(TMercInverse)(&tm, &a, 1) && Converter(UTMInverse)(&utm, &b, 1));
    EXPECT_EQ(a.x, DBL_MAX);
    EXPECT_EQ(tm.iResult, 1);
    EXPECT_FALSE(std::isfinite(b.x) && std::isfinite(b.y));
    EXPECT_EQ(utm.iResult, 0);
}

} // namespace
