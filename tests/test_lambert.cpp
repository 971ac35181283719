// Lambert Conformal Conic module, called through the module table with the
// record prepared as the engine hands it (angles in radians).
#include "projections/ProjMath.h"
#include "projections/ProjModule.h"

#include <gtest/gtest.h>

#include <cfloat>
#include <cmath>
#include <cstring>

using namespace KVProj;

namespace {

const double kRad = 3.141592653589793 / 180.0;
const double kGrs80F = 1.0 / 298.257222101;
const double kClarke66F = 1.0 - std::sqrt(1.0 - 0.00676866); // Snyder's e^2
const double kUsFoot = 1200.0 / 3937.0;

PROJDATA Cone(double a, double f, double lat0, double lon0, double lat1, double lat2) {
    PROJDATA d;
    std::memset(&d, 0, sizeof d);
    d.Type = PT_LAMBERT_CONIC;
    d.MajorRadius = a;
    d.Flattening = f;
    d.Lat0 = lat0 * kRad;
    d.Lon0 = lon0 * kRad;
    d.Lat1 = lat1 * kRad;
    d.Lat2 = lat2 * kRad;
    d.K0 = 1.0;
    d.Scale = 1.0;
    return d;
}

PROJPOINT Fwd(PROJDATA d, double lon, double lat) {
    PROJPOINT p{lon * kRad, lat * kRad};
    EXPECT_TRUE(LambertForward(&d, &p, 1));
    return p;
}

PROJPOINT InvDeg(PROJDATA d, double x, double y) {
    PROJPOINT p{x, y};
    EXPECT_TRUE(LambertInverse(&d, &p, 1));
    return {p.x / kRad, p.y / kRad};
}

struct Case {
    const char* what;
    double a, f, lat0, lon0, lat1, lat2;
    double lon, lat, x, y; // x, y before false origin, units of a
    double tol;            // forward, in units of a
    double invTolDeg;      // inverse
};

// Snyder: USGS PP 1395, chapter 15 worked examples (pp. 295-298).
// EPSG: guidance note 7-2, Lambert 2SP example (NAD27 / Texas South Central,
//   E 2963503.91 N 254759.80 US ft, false easting 2000000 US ft), here in metres.
// cs2cs: PROJ 9.1.1 `+proj=lcc`; the state plane rows are the NAD 83 zone
//   parameters (GRS 1980) without their false origin.
// The ellipsoidal inverse stops when two steps differ by 1.2e-6 rad, which
// leaves up to about 3 mm in latitude, hence 5e-8 degrees.
const Case kCases[] = {
    {"Snyder sphere", 1.0, 0.0, 23, -96, 33, 45, -75, 35, 0.2966785, 0.2462112, 1e-7, 1e-5},
    {"Snyder Clarke 1866", 6378206.4, kClarke66F, 23, -96, 33, 45, -75, 35, 1894410.9, 1564649.5,
     0.05, 1e-6},
    {"EPSG Texas South Central", 6378206.4, 1 / 294.97870, 27.0 + 50.0 / 60, -99, 28.0 + 23.0 / 60,
     30.0 + 17.0 / 60, -96, 28.5, (2963503.91 - 2000000) * kUsFoot, 254759.80 * kUsFoot, 0.005,
     1e-7},
    {"cs2cs sphere", 6370997, 0, 23, -96, 33, 45, -120, 50, -1719151.7824, 3244426.6175, 1e-4,
     1e-9},
    {"cs2cs southern cone", 6378137, kGrs80F, -30, 25, -20, -40, 20, -35, -451007.3077,
     -556609.9707, 1e-3, 5e-8},
    {"cs2cs southern cone 2", 6378137, kGrs80F, -30, 25, -20, -40, 31.5, -22.3, 665370.4937,
     823856.7731, 1e-3, 5e-8},
    {"cs2cs apex pole", 6378137, kGrs80F, 23, -96, 33, 45, -96, 90, 0.0, 9615816.73039, 1e-3, 5e-8},
};

struct Zone {
    const char* name;
    double lat0, lon0, lat1, lat2, lon, lat, x, y;
};
const Zone kZones[] = {
    {"Alaska 10", 51.0, -176.0, 53.833333333333336, 51.833333333333336, -174.87, 53.2, 75500.9607,
     245383.2798},
    {"California IV", 35.333333333333336, -119.0, 37.25, 36.0, -117.87, 36.99, 100590.1055,
     184420.3092},
    {"Connecticut", 40.833333333333336, -72.75, 41.86666666666667, 41.2, -71.62, 41.9, 93765.4578,
     119078.3709},
    {"Kentucky North", 37.5, -84.25, 38.96666666666667, 37.96666666666667, -83.12, 38.84,
     98103.8035, 149341.1246},
    {"Massachusetts Mainland", 41.0, -71.5, 42.68333333333333, 41.71666666666667, -70.37, 42.57,
     92777.1294, 174996.8593},
    {"Minnesota Central", 45.0, -94.25, 47.05, 45.61666666666667, -93.12, 46.7, 86415.2266,
     189567.5410},
    {"North Dakota North", 47.0, -100.5, 48.733333333333334, 47.43333333333333, -99.37, 48.45,
     83584.0235, 161828.6252},
    {"Oregon North", 43.666666666666664, -120.5, 46.0, 44.333333333333336, -119.37, 45.54,
     88245.7234, 208786.7640},
    {"South Dakota North", 43.833333333333336, -100.0, 45.68333333333333, 44.416666666666664,
     -98.87, 45.42, 88437.1717, 176934.3836},
    {"Texas South Central", 27.833333333333332, -99.0, 30.283333333333335, 28.383333333333333,
     -97.87, 29.7, 109341.4948, 207405.4605},
    {"Virginia South", 36.333333333333336, -78.5, 37.96666666666667, 36.766666666666666, -77.37,
     37.74, 99594.3508, 156703.5640},
};

void Check(const Case& c) {
    SCOPED_TRACE(c.what);
    const PROJDATA d = Cone(c.a, c.f, c.lat0, c.lon0, c.lat1, c.lat2);
    const PROJPOINT xy = Fwd(d, c.lon, c.lat);
    EXPECT_NEAR(xy.x, c.x, c.tol);
    EXPECT_NEAR(xy.y, c.y, c.tol);
    const PROJPOINT ll = InvDeg(d, c.x, c.y);
    if (c.lat != 90) {
        EXPECT_NEAR(ll.x, c.lon, c.invTolDeg);
    }
    EXPECT_NEAR(ll.y, c.lat, c.invTolDeg);
}

TEST(Lambert, PublishedAndOracleValues) {
    for (const Case& c : kCases)
        Check(c);
}

TEST(Lambert, StatePlaneConesAgainstOracle) {
    for (const Zone& z : kZones)
        Check({z.name, 6378137, kGrs80F, z.lat0, z.lon0, z.lat1, z.lat2, z.lon, z.lat, z.x, z.y,
               1e-3, 5e-8});
}

// Whole-call failures: equal standard parallels leave no cone.
TEST(Lambert, EqualStandardParallelsFailEveryPoint) {
    for (double f : {0.0, kGrs80F}) {
        PROJDATA d = Cone(6378137, f, 30, -96, 33, 33);
        PROJPOINT pts[3] = {{-1.7, 0.6}, {DBL_MAX, 0.0}, {-1.6, 0.5}};
        ASSERT_TRUE(LambertForward(&d, pts, 3));
        EXPECT_EQ(d.iResult, 1);
        EXPECT_EQ(pts[0].x, DBL_MAX);
        EXPECT_EQ(pts[1].y, 0.0); // a marker point stays as it was
        EXPECT_EQ(pts[2].y, DBL_MAX);
    }
    // Inverse: the ellipsoid fails the points; the sphere hands the engine
    // non-finite values instead.
    PROJDATA e = Cone(6378137, kGrs80F, 30, -96, 33, 33), s = e;
    s.Flattening = 0.0;
    PROJPOINT pe{1000, 1000}, ps{1000, 1000};
    ASSERT_TRUE(LambertInverse(&e, &pe, 1));
    ASSERT_TRUE(LambertInverse(&s, &ps, 1));
    EXPECT_EQ(pe.x, DBL_MAX);
    EXPECT_EQ(e.iResult, 1);
    EXPECT_TRUE(std::isnan(ps.x) || std::isnan(ps.y));
    EXPECT_EQ(s.iResult, 0);
}

TEST(Lambert, PolesOfANorthernCone) {
    PROJDATA s = Cone(6370997, 0, 23, -96, 33, 45);
    PROJPOINT pts[2] = {{-1.0, -90 * kRad}, {-1.0, 90 * kRad}};
    ASSERT_TRUE(LambertForward(&s, pts, 2));
    EXPECT_EQ(pts[0].x, DBL_MAX); // opposite the apex: zero power
    EXPECT_EQ(s.iResult, 1);
    EXPECT_NEAR(pts[1].x, 0.0, 1e-3); // the apex, at (0, rho0): tan(pi/2) is finite
    const PROJPOINT origin = Fwd(s, -96, 23);
    EXPECT_NEAR(origin.y, 0.0, 1e-6);
    EXPECT_NEAR(InvDeg(s, pts[1].x, pts[1].y).y, 90.0, 1e-9);
}

// A southern cone is the mirror of the northern one: (x, y) -> (x, -y).
TEST(Lambert, SouthernConeMirrorsNorthern) {
    const PROJDATA north = Cone(6378137, kGrs80F, 35, 10, 30, 50);
    const PROJDATA south = Cone(6378137, kGrs80F, -35, 10, -30, -50);
    for (double lon : {-20.0, 4.5, 10.0, 33.0})
        for (double lat : {5.0, 28.0, 44.0, 71.0}) {
            const PROJPOINT n = Fwd(north, lon, lat), s = Fwd(south, lon, -lat);
            EXPECT_NEAR(s.x, n.x, 1e-6);
            EXPECT_NEAR(s.y, -n.y, 1e-6);
            const PROJPOINT ll = InvDeg(south, s.x, s.y);
            EXPECT_NEAR(ll.x, lon, 1e-7);
            EXPECT_NEAR(ll.y, -lat, 5e-8);
        }
}

// lon - lon0 is not wrapped: 350 degrees east turns the cone by n * 350.
TEST(Lambert, LongitudeDifferenceIsNotWrapped) {
    const PROJDATA d = Cone(1.0, 0.0, 23, -96, 33, 45);
    const double n = 0.6304777; // Snyder's cone constant for these parallels
    const PROJPOINT onMeridian = Fwd(d, -96, 35);
    const double rho0 = Fwd(d, -96, 90).y, rho = rho0 - onMeridian.y;
    const PROJPOINT far = Fwd(d, -96 + 350, 35);
    EXPECT_NEAR(far.x, rho * std::sin(n * 350 * kRad), 1e-6);
    EXPECT_NEAR(far.y, rho0 - rho * std::cos(n * 350 * kRad), 1e-6);
    EXPECT_GT(std::fabs(far.x - Fwd(d, -106, 35).x), 0.1);
}

// The latitude iteration shared with the Mercator inverse allows 500 steps and
// counts convergence on the 500th as running out. With e = 0.999 (slow near
// t = 1) these t need 499, 500 and 501 steps (counted by a stand-alone
// evaluation of Snyder 7-9 with the same tolerance).
TEST(Lambert, LatitudeIterationStepBound) {
    double phi = -1;
    EXPECT_TRUE(PhiFromConformalT(0.98722, 0.999, &phi));
    const double es = 0.999 * std::sin(phi); // phi is (nearly) a fixed point of 7-9
    EXPECT_NEAR(phi, kHalfPi - 2 * std::atan(0.98722 * std::pow((1 - es) / (1 + es), 0.4995)),
                1e-3);
    EXPECT_FALSE(PhiFromConformalT(0.98725, 0.999, &phi));
    EXPECT_FALSE(PhiFromConformalT(0.98728, 0.999, &phi));
    EXPECT_TRUE(PhiFromConformalT(0.3, 0.0818191908, &phi)); // WGS 84, a few steps
}

} // namespace
