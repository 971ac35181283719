// Mercator, Miller Cylindrical and Equidistant Cylindrical modules, called
// through the module table with the record prepared as the engine hands it.
#include "projections/ProjModule.h"

#include <gtest/gtest.h>

#include <cfloat>
#include <cmath>
#include <cstring>

using namespace KVProj;

namespace {

const double kRad = 3.141592653589793 / 180.0;
const double kWgs84F = 1.0 / 298.257223563;
const double kClarke66F = 1.0 - std::sqrt(1.0 - 0.00676866); // Snyder's e^2
// ln 2.71828: the inverse Mercator raises 2.71828, not e, to the power.
const double kLnBase = 0.999999327347282;

PROJDATA Record(ProjType type, double a, double f, double lat0, double lon0, double lat1) {
    PROJDATA d;
    std::memset(&d, 0, sizeof d);
    d.Type = type;
    d.MajorRadius = a;
    d.Flattening = f;
    d.Lat0 = lat0 * kRad;
    d.Lon0 = lon0 * kRad;
    d.Lat1 = lat1 * kRad;
    d.K0 = 1.0;
    d.Scale = 1.0;
    return d;
}

PROJPOINT Fwd(PROJDATA d, double lon, double lat) {
    PROJPOINT p{lon * kRad, lat * kRad};
    EXPECT_TRUE(ProjModuleTable[d.Type].Forward(&d, &p, 1));
    return p;
}

PROJPOINT InvDeg(PROJDATA d, double x, double y) {
    PROJPOINT p{x, y};
    EXPECT_TRUE(ProjModuleTable[d.Type].Inverse(&d, &p, 1));
    return {p.x / kRad, p.y / kRad};
}

struct Case {
    const char* what;
    ProjType type;
    double a, f, lat0, lon0, lat1; // lat0: Mercator's true scale; lat1: the plate's parallel
    double lon, lat, x, y, tol;
};

// Snyder: USGS PP 1395, worked examples for Mercator (pp. 266-267) and Miller (p. 287).
// EPSG: guidance note 7-2, Mercator variant B (Pulkovo 1942 / Caspian Sea Mercator).
// cs2cs: PROJ 9.1.1 `+proj=merc`, `+proj=mill`, `+proj=eqc` (R 6370997 for the spheres).
const Case kCases[] = {
    {"Snyder Mercator sphere", PT_MERCATOR, 1, 0, 0, -180, 0, -75, 35, 1.8325957, 0.6528366, 1e-7},
    {"Snyder Mercator Clarke 1866", PT_MERCATOR, 6378206.4, kClarke66F, 0, -180, 0, -75, 35,
     11688673.7, 4139145.66, 0.05},
    {"EPSG Mercator B", PT_MERCATOR, 6378245, 1 / 298.3, 42, 51, 0, 53, 53, 165704.29, 5171848.07,
     0.005},
    {"cs2cs Mercator B", PT_MERCATOR, 6378245, 1 / 298.3, 42, 51, 0, 45, 38, -497112.8799,
     3388766.5447, 1e-3},
    {"cs2cs Mercator sphere", PT_MERCATOR, 6370997, 0, 0, 10, 0, -100, -70, -12231436.1713,
     -11056324.7951, 1e-3},
    {"cs2cs Mercator sphere far", PT_MERCATOR, 6370997, 0, 0, 10, 0, 10, 85, 0, 19949511.3889,
     1e-3},
    {"cs2cs Mercator sphere ts 60", PT_MERCATOR, 6370997, 0, 60, 10, 0, 20, 45, 555974.3714,
     2807614.2394, 1e-3},
    {"cs2cs World Mercator", PT_MERCATOR, 6378137, kWgs84F, 0, 0, 0, -74, 40.7, -8237642.3187,
     4940322.3808, 1e-3},
    {"cs2cs World Mercator south", PT_MERCATOR, 6378137, kWgs84F, 0, 0, 0, 0, -80, 0,
     -15496570.7397, 1e-3},
    {"cs2cs World Mercator 84N", PT_MERCATOR, 6378137, kWgs84F, 0, 0, 0, 179, 84, 19926188.8520,
     18764656.2314, 1e-3},
    {"Snyder Miller", PT_MILLER, 1, 0, 0, 0, 0, -75, 50, -1.3089969, 0.9536371, 1e-7},
    {"cs2cs Miller", PT_MILLER, 6370997, 0, 0, 10, 0, -100, -70, -12231436.1713, -9437442.9927,
     1e-3},
    {"cs2cs Miller pole", PT_MILLER, 6370997, 0, 0, 10, 0, 10, 90, 0, 14675034.4036, 1e-3},
    {"cs2cs Miller ellipsoid radius", PT_MILLER, 6370997, kWgs84F, 0, 10, 0, -170, -89,
     -20015077.3712, -14322706.0445, 1e-3},
    {"cs2cs plate ts 30", PT_EQUIDISTANT_CYLINDRICAL, 6370997, 0, 0, 10, 30, 20, 45, 962975.8590,
     5003769.3428, 1e-3},
    {"cs2cs plate ellipsoid radius", PT_EQUIDISTANT_CYLINDRICAL, 6370997, kWgs84F, 0, 10, 30, -100,
     -70, -10592734.4491, -7783641.1999, 1e-3},
};

TEST(Cylindrical, PublishedAndOracleForward) {
    for (const Case& c : kCases) {
        SCOPED_TRACE(c.what);
        const PROJPOINT p = Fwd(Record(c.type, c.a, c.f, c.lat0, c.lon0, c.lat1), c.lon, c.lat);
        EXPECT_NEAR(p.x, c.x, c.tol);
        EXPECT_NEAR(p.y, c.y, c.tol);
    }
}

// The spherical inverses are exact; the ellipsoidal Mercator inverse is exact
// only for northings scaled by ln 2.71828 (cs2cs -I of (x, y ln 2.71828)):
// this is how far it sits from the true inverse, e.g. 2.8 m at 53 degrees.
TEST(Cylindrical, Inverse) {
    struct Row {
        const char* what;
        ProjType type;
        double a, f, lat0, lon0, lat1, x, y, lon, lat, tolDeg;
    } rows[] = {
        {"sphere Mercator", PT_MERCATOR, 6370997, 0, 60, 10, 0, 555974.3714, 2807614.2394, 20, 45,
         1e-9},
        {"Miller", PT_MILLER, 6370997, 0, 0, 10, 0, -12231436.1713, -9437442.9927, -100, -70, 1e-9},
        {"plate", PT_EQUIDISTANT_CYLINDRICAL, 6370997, 0, 0, 10, 30, 962975.8590, 5003769.3428, 20,
         45, 1e-9},
        {"Mercator B", PT_MERCATOR, 6378245, 1 / 298.3, 42, 51, 0, 165704.2933, 5171848.0729, 53,
         52.9999746689, 5e-8},
        {"Mercator B 30N", PT_MERCATOR, 6378245, 1 / 298.3, 42, 51, 0, 745669.3199, 2591703.3238,
         60, 29.9999816859, 5e-8},
        {"World Mercator", PT_MERCATOR, 6378137, kWgs84F, 0, 0, 0, 333958.4724, 6413524.5942, 3,
         49.9999750203, 5e-8},
        {"World Mercator 84N", PT_MERCATOR, 6378137, kWgs84F, 0, 0, 0, 19926188.8520, 18764656.2314,
         179, 83.9999881470, 5e-8},
        {"World Mercator 80S", PT_MERCATOR, 6378137, kWgs84F, 0, 0, 0, 0, -15496570.7397, 0,
         -79.9999837365, 5e-8},
    };
    for (const Row& r : rows) {
        SCOPED_TRACE(r.what);
        const PROJPOINT ll = InvDeg(Record(r.type, r.a, r.f, r.lat0, r.lon0, r.lat1), r.x, r.y);
        EXPECT_NEAR(ll.x, r.lon, 1e-9);
        EXPECT_NEAR(ll.y, r.lat, r.tolDeg);
    }
    EXPECT_NEAR(kLnBase, std::log(2.71828), 1e-15);
}

// Near the poles: the sphere refuses the double below pi/2, the ellipsoid lets
// it through to a sine that rounds to +-1: the north fails on 1 - sin phi, the
// south yields -inf for the engine to screen.
TEST(Cylindrical, MercatorPoleLimits) {
    const double phiMax = 1.5707963267948963;
    for (double f : {0.0, kWgs84F}) {
        SCOPED_TRACE(f);
        PROJDATA d = Record(PT_MERCATOR, 6378137, f, 0, 0, 0);
        PROJPOINT pts[4] = {{0.1, phiMax}, {0.1, -phiMax}, {0.1, 1.5707963}, {0.1, -1.5707963}};
        ASSERT_TRUE(MercForward(&d, pts, 4));
        EXPECT_EQ(d.iResult, 1);
        EXPECT_EQ(pts[0].x, DBL_MAX);
        if (f == 0.0) {
            EXPECT_EQ(pts[1].x, DBL_MAX);
        } else {
            EXPECT_TRUE(std::isinf(pts[1].y) && pts[1].y < 0);
        }
        for (int i = 2; i < 4; ++i)
            EXPECT_LT(std::fabs(pts[i].y), 2e8) << i;
    }
    PROJDATA d = Record(PT_MERCATOR, 6378137, kWgs84F, 0, 0, 0);
    PROJPOINT p{0.0, 1.5707963267948966 - 5e-9}; // sin rounds to 1.0
    ASSERT_TRUE(MercForward(&d, &p, 1));
    EXPECT_EQ(p.y, DBL_MAX);
}

// A true-scale latitude of 60 degrees halves the sphere's coordinates.
TEST(Cylindrical, MercatorTrueScaleLatitude) {
    const PROJPOINT a = Fwd(Record(PT_MERCATOR, 1, 0, 0, 0, 0), 30, 40);
    const PROJPOINT b = Fwd(Record(PT_MERCATOR, 1, 0, 60, 0, 0), 30, 40);
    EXPECT_NEAR(b.x, a.x / 2, 1e-15);
    EXPECT_NEAR(b.y, a.y / 2, 1e-15);
}

// A standard parallel at the pole: cos(pi/2) is 6e-17, not 0, so the plate
// neither fails forward nor inverse; the longitudes just become huge.
TEST(Cylindrical, PlateWithPolarStandardParallel) {
    PROJDATA d = Record(PT_EQUIDISTANT_CYLINDRICAL, 6370997, 0, 0, 0, 90);
    PROJPOINT p{1.0, 0.5};
    ASSERT_TRUE(EquiCylForward(&d, &p, 1));
    EXPECT_LT(std::fabs(p.x), 1e-9);
    PROJPOINT q{1000.0, 1000.0};
    ASSERT_TRUE(EquiCylInverse(&d, &q, 1));
    EXPECT_EQ(d.iResult, 0);
    EXPECT_GT(std::fabs(q.x), 1e10);
}

// Round trips through every spherical module over the whole valid area.
TEST(Cylindrical, SphericalRoundTrips) {
    for (ProjType t : {PT_MERCATOR, PT_MILLER, PT_EQUIDISTANT_CYLINDRICAL}) {
        const PROJDATA d = Record(t, 6370997, 0, 20, -30, 25);
        for (double lon = -209; lon < 150; lon += 37)
            for (double lat = -89; lat <= 89; lat += 17) {
                const PROJPOINT xy = Fwd(d, lon, lat);
                const PROJPOINT ll = InvDeg(d, xy.x, xy.y);
                EXPECT_NEAR(ll.x, lon, 1e-9) << t;
                EXPECT_NEAR(ll.y, lat, 1e-9) << t;
            }
    }
}

} // namespace
