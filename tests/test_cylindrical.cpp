// Mercator, Miller Cylindrical and Equidistant Cylindrical modules.
#include "ModuleTestSupport.h"
#include "projections/Modules.h"

using namespace modtest;

namespace {

const Module kMerc = ModuleOf(PT_MERCATOR), kMill = ModuleOf(PT_MILLER),
             kPlate = ModuleOf(PT_EQUIDISTANT_CYLINDRICAL);

// Snyder: USGS PP 1395, Mercator and Miller worked examples. EPSG: guidance
// note 7-2, Mercator variant B (Pulkovo 1942 / Caspian Sea). cs2cs: PROJ 9.1.1
// +proj=merc|mill|eqc. Mercator's true-scale latitude is Lat0, the plate's
// parallel Lat1; Miller and the plate use the sphere of MajorRadius whatever
// the flattening. The ellipsoidal Mercator inverse is checked separately.
TEST(Cylindrical, PublishedAndOracleValues) {
    const Rec caspian = Rec(6378245, 1 / 298.3).Lat0(42).Lon0(51);
    // clang-format off
    CheckRows({
        {"Snyder Mercator sphere", kMerc, Unit().Lon0(-180), -75, 35, 1.8325957, 0.6528366, 1e-7},
        {"Snyder Mercator Clarke 1866", kMerc, SnyderClarke().Lon0(-180), -75, 35, 11688673.7, 4139145.66, 0.05, -1},
        {"EPSG Mercator B", kMerc, caspian, 53, 53, 165704.29, 5171848.07, 0.005, -1},
        {"cs2cs Mercator sphere ts 60", kMerc, Sphere().Lat0(60).Lon0(10), 20, 45, 555974.3714, 2807614.2394, 1e-3},
        {"cs2cs World Mercator 84N", kMerc, Wgs84(), 179, 84, 19926188.8520, 18764656.2314, 1e-3, -1},
        {"cs2cs World Mercator 80S", kMerc, Wgs84(), 0, -80, 0, -15496570.7397, 1e-3, -1},
        {"Snyder Miller", kMill, Unit(), -75, 50, -1.3089969, 0.9536371, 1e-7},
        {"cs2cs Miller pole", kMill, Sphere().Lon0(10), 10, 90, 0, 14675034.4036, 1e-3, -1},
        {"cs2cs Miller, ellipsoid ignored", kMill, Rec(kSphereR, kWgs84F).Lon0(10), -170, -89, -20015077.3712, -14322706.0445, 1e-3},
        {"cs2cs plate ts 30", kPlate, Sphere().Lon0(10).Lat1(30), 20, 45, 962975.8590, 5003769.3428, 1e-3},
        {"cs2cs plate, ellipsoid ignored", kPlate, Rec(kSphereR, kWgs84F).Lon0(10).Lat1(30), -100, -70, -10592734.4491, -7783641.1999, 1e-3},
    });
    // clang-format on
}

// The ellipsoidal Mercator inverse raises 2.71828, not e, to the power: it is
// exact only for northings scaled by ln 2.71828 (cs2cs -I of (x, y ln 2.71828)),
// 2.8 m off the true inverse at 53 degrees.
TEST(Cylindrical, EllipsoidalMercatorInverseUsesTruncatedE) {
    const double rows[][7] = {
        // a, 1/f, lat0, lon0, x, y -> lat (lon is exact)
        {6378245, 298.3, 42, 51, 165704.2933, 5171848.0729, 52.9999746689},
        {6378137, 298.257223563, 0, 0, 19926188.8520, 18764656.2314, 83.9999881470},
        {6378137, 298.257223563, 0, 0, 0, -15496570.7397, -79.9999837365}};
    for (const auto& r : rows) {
        const PROJDATA d = Rec(r[0], 1 / r[1]).Lat0(r[2]).Lon0(r[3]).d;
        const PROJPOINT ll = InvDeg(kMerc.inv, d, r[4], r[5]);
        EXPECT_NEAR(ll.y, r[6], 5e-8) << r[6];
        EXPECT_NEAR(Fwd(kMerc.fwd, d, ll.x, ll.y).x, r[4], 1e-6);
    }
}

// Near the poles: the sphere refuses the double below pi/2; the ellipsoid lets
// it through to a sine that rounds to +-1: the north fails on 1 - sin phi, the
// south yields -inf for the engine to screen.
TEST(Cylindrical, MercatorPoleLimits) {
    const double phiMax = 1.5707963267948963;
    for (double f : {0.0, kWgs84F}) {
        PROJDATA d = Rec(6378137, f).d;
        PROJPOINT pts[4] = {{0.1, phiMax}, {0.1, -phiMax}, {0.1, 1.5707963}, {0.1, -1.5707963}};
        ASSERT_TRUE(Converter(MercForward)(&d, pts, 4));
        EXPECT_EQ(d.iResult, 1);
        EXPECT_EQ(pts[0].x, DBL_MAX);
        EXPECT_TRUE(f == 0.0 ? pts[1].x == DBL_MAX : std::isinf(pts[1].y) && pts[1].y < 0) << f;
        EXPECT_LT(std::fabs(pts[2].y), 2e8);
        EXPECT_LT(std::fabs(pts[3].y), 2e8);
    }
    EXPECT_EQ(Fwd(kMerc.fwd, Wgs84().d, 0, 90 - 5e-9 / kRad).y, DBL_MAX); // sin rounds to 1
}

// cos(pi/2) is 6e-17, not 0: a polar standard parallel fails neither way.
TEST(Cylindrical, PlateWithPolarStandardParallel) {
    PROJDATA d = Sphere().Lat1(90).d;
    EXPECT_LT(std::fabs(Fwd(kPlate.fwd, d, 1 / kRad, 0.5 / kRad).x), 1e-9);
    PROJPOINT q{1000.0, 1000.0};
    ASSERT_TRUE(Converter(EquiCylInverse)(&d, &q, 1));
    EXPECT_EQ(d.iResult, 0);
    EXPECT_GT(std::fabs(q.x), 1e10);
}

TEST(Cylindrical, SphericalRoundTrips) {
    for (const Module& m : {kMerc, kMill, kPlate})
        EXPECT_LT(WorstRoundTrip(m, Sphere().Lat0(20).Lon0(-30).Lat1(25).d, -89, 89, -209, 149, 7),
                  1e-4)
            << m.name;
}

} // namespace
