// Transverse Mercator, Gauss-Kruger and UTM modules, called through the module
// table with the record prepared as the engine hands it (angles in radians,
// K0 set, false origin left to the caller).
#include "projections/ProjModule.h"

#include <gtest/gtest.h>

#include <cfloat>
#include <cmath>
#include <cstring>

using namespace KVProj;

namespace {

const double kRad = 3.141592653589793 / 180.0;
const double kWgs84F = 1.0 / 298.257223563;
// Snyder's worked examples give Clarke 1866 as e^2 = 0.00676866.
const double kClarke66F = 1.0 - std::sqrt(1.0 - 0.00676866);

PROJDATA Record(ProjType type, double a, double f, double lat0, double lon0, double k0) {
    PROJDATA d;
    std::memset(&d, 0, sizeof d);
    d.Type = type;
    d.MajorRadius = a;
    d.Flattening = f;
    d.Lat0 = lat0 * kRad;
    d.Lon0 = lon0 * kRad;
    d.K0 = k0;
    d.Scale = 1.0;
    return d;
}

PROJPOINT Forward(PROJDATA d, double lon, double lat) {
    PROJPOINT p{lon * kRad, lat * kRad};
    EXPECT_TRUE(ProjModuleTable[d.Type].Forward(&d, &p, 1));
    return p;
}

PROJPOINT InverseDeg(PROJDATA d, double x, double y) {
    PROJPOINT p{x, y};
    EXPECT_TRUE(ProjModuleTable[d.Type].Inverse(&d, &p, 1));
    return {p.x / kRad, p.y / kRad};
}

struct Case {
    const char* what;
    ProjType type;
    double a, f, lat0, lon0, k0, fe, fn; // fe/fn: false origin of the published figures
    double lon, lat, x, y;               // published or oracle values
    double tol;                          // metres
};

void CheckBothWays(const Case& c) {
    SCOPED_TRACE(c.what);
    const PROJDATA d = Record(c.type, c.a, c.f, c.lat0, c.lon0, c.k0);
    const PROJPOINT xy = Forward(d, c.lon, c.lat);
    EXPECT_NEAR(xy.x + c.fe, c.x, c.tol);
    EXPECT_NEAR(xy.y + c.fn, c.y, c.tol);
    const PROJPOINT ll = InverseDeg(d, c.x - c.fe, c.y - c.fn);
    const double m = c.a * kRad; // units of a per degree of arc
    EXPECT_NEAR(ll.x, c.lon, c.tol / (m * std::cos(c.lat * kRad)));
    EXPECT_NEAR(ll.y, c.lat, c.tol / m);
}

// Snyder: USGS Professional Paper 1395, worked examples of chapter 8 (pp. 268-270).
// EPSG: guidance note 7-2, transverse Mercator example (OSGB 1936 / British National Grid).
// cs2cs: PROJ 9.1.1 `+proj=tmerc` / `+proj=utm`, printed to 0.1 mm.
const Case kPublished[] = {
    {"Snyder sphere", PT_TRANSVERSE_MERCATOR, 1.0, 0.0, 0, -75, 1, 0, 0, -73.5, 40.5, 0.0199077,
     0.7070276, 1e-7},
    {"Snyder Clarke 1866", PT_TRANSVERSE_MERCATOR, 6378206.4, kClarke66F, 0, -75, 0.9996, 0, 0,
     -73.5, 40.5, 127106.5, 4484124.4, 0.05},
    {"EPSG BNG", PT_TRANSVERSE_MERCATOR, 6377563.396, 1 / 299.3249646, 49, -2, 0.9996012717, 400000,
     -100000, 0.5, 50.5, 577274.99, 69740.50, 0.015},
    {"cs2cs BNG north", PT_TRANSVERSE_MERCATOR, 6377563.396, 1 / 299.3249646, 49, -2, 0.9996012717,
     0, 0, -3.2, 55.95, -74928.67293, 773641.68556, 0.001},
    {"cs2cs GK Krassowsky", PT_GAUSS_KRUGER, 6378245, 1 / 298.3, 0, 21, 1, 0, 0, 22.5, 51.0,
     105295.77943, 5653256.30857, 0.001},
    {"cs2cs GK west", PT_GAUSS_KRUGER, 6378245, 1 / 298.3, 0, 21, 1, 0, 0, 19.2, 54.3,
     -117181.89282, 6020908.92607, 0.001},
    {"cs2cs sphere", PT_TRANSVERSE_MERCATOR, 6370997, 0, 10, -75, 0.9999, 0, 0, -73.5, 40.5,
     126819.45057, 3392182.77862, 1e-4},
    {"cs2cs sphere south", PT_TRANSVERSE_MERCATOR, 6370997, 0, 10, -75, 0.9999, 0, 0, -80, -20,
     -522901.20720, -3343329.86023, 1e-4},
    {"cs2cs sphere 35 deg off", PT_TRANSVERSE_MERCATOR, 6370997, 0, 10, -75, 0.9999, 0, 0, -110, 10,
     -4076683.88301, 238808.42596, 1e-4},
    {"cs2cs sphere near pole", PT_TRANSVERSE_MERCATOR, 6370997, 0, 10, -75, 0.9999, 0, 0, -35, 60,
     2122608.34500, 6242005.55888, 1e-4},
};

TEST(TMerc, PublishedAndOracleValues) {
    for (const Case& c : kPublished)
        CheckBothWays(c);
}

// cs2cs `+proj=utm +ellps=WGS84 [+south]`. The engine sets K0 0.9996, the
// zone's central meridian and the false origin; the series agrees with the
// exact oracle to better than a millimetre inside a zone.
struct UtmCase {
    int zone;
    bool south;
    double lon, lat, e, n;
};
const UtmCase kUtm[] = {
    {33, false, 15.0, 52.0, 500000.0000, 5761038.2126},
    {33, false, 13.5, 48.2, 388541.3142, 5339617.5431},
    {33, false, 12.1, 60.3, 339746.2865, 6688346.2025},
    {32, false, 9.19, 45.46, 514854.5989, 5034070.1916},
    {18, false, -73.99, 40.75, 585263.3484, 4511495.8727},
    {10, false, -122.42, 37.77, 551081.2998, 4180454.9025},
    {1, false, -178.9, 64.5, 408741.6084, 7154098.3574},
    {31, false, 3.0, 0.0, 500000.0000, 0.0000},
    {56, true, 151.21, -33.87, 334435.7061, 6250816.3978},
    {23, true, -46.63, -23.55, 333624.1812, 7394647.5221},
    {34, true, 18.42, -33.92, 261488.8264, 6243716.3330},
    {60, true, 174.78, -41.29, 314109.2391, 5426672.3510},
    {19, true, -70.65, -33.45, 346642.6950, 6297606.8325},
};

TEST(TMerc, UtmZonesAgainstOracle) {
    for (const UtmCase& u : kUtm) {
        const double cm = u.zone * 6.0 - 183.0;
        CheckBothWays({"UTM", PT_UTM, 6378137, kWgs84F, 0, cm, 0.9996, 500000,
                       u.south ? 10000000.0 : 0.0, u.lon, u.lat, u.e, u.n, 0.001});
    }
}

// How far the sixth-order series may stray from the exact transverse Mercator
// (cs2cs, WGS84, k0 0.9996, central meridian 0) with distance from the
// central meridian. Bounds are a little above the differences measured.
TEST(TMerc, SeriesErrorGrowsWithDistanceFromCentralMeridian) {
    struct Row {
        double lon, lat, x, y, tol;
    } rows[] = {
        {1, 0, 111280.65089, 0.0, 0.001},
        {1, 40, 85360.46184, 4428236.06463, 0.001},
        {1, 60, 55776.26675, 6651832.73543, 0.001},
        {3, 0, 333978.55692, 0.0, 0.001},
        {3, 40, 256099.64797, 4432069.05690, 0.001},
        {3, 60, 167294.82112, 6655205.48363, 0.001},
        {-3, -45, -236446.02610, -4987329.50470, 0.001},
        {6, 0, 668881.68853, 0.0, 0.02},
        {6, 40, 512321.62375, 4445034.64030, 0.01},
        {6, 60, 334359.66789, 6666593.57215, 0.002},
        {10, 40, 854342.84225, 4475948.54943, 0.25},
        {20, 40, 1712740.64306, 4624280.97576, 30},
    };
    const PROJDATA d = Record(PT_TRANSVERSE_MERCATOR, 6378137, kWgs84F, 0, 0, 0.9996);
    for (const Row& r : rows) {
        SCOPED_TRACE(testing::Message() << "lon " << r.lon << " lat " << r.lat);
        const PROJPOINT p = Forward(d, r.lon, r.lat);
        EXPECT_LT(std::hypot(p.x - r.x, p.y - r.y), r.tol);
    }
}

TEST(TMerc, GaussKrugerIsTransverseMercator) {
    for (double f : {0.0, kWgs84F}) {
        PROJDATA tm = Record(PT_TRANSVERSE_MERCATOR, 6378137, f, 12, 9, 0.9999);
        PROJDATA gk = tm;
        gk.Type = PT_GAUSS_KRUGER;
        const PROJPOINT a = Forward(tm, 17.5, 55.25), b = Forward(gk, 17.5, 55.25);
        EXPECT_EQ(0, std::memcmp(&a, &b, sizeof a));
    }
}

TEST(TMerc, RoundTripWithinDomain) {
    const PROJDATA d = Record(PT_UTM, 6378137, kWgs84F, 0, 9, 0.9996);
    for (double dl : {-3.0, -0.5, 0.0, 1.0, 2.9})
        for (double lat : {-80.0, -33.3, 0.0, 12.5, 47.0, 84.0}) {
            const PROJPOINT xy = Forward(d, 9 + dl, lat);
            const PROJPOINT ll = InverseDeg(d, xy.x, xy.y);
            EXPECT_NEAR(ll.x, 9 + dl, 2e-8); // 2 mm: the series are not exact inverses
            EXPECT_NEAR(ll.y, lat, 2e-8);
        }
}

// Poles and the failure conventions of the sphere and ellipsoid forms.
TEST(TMerc, PolesAndFailures) {
    // Ellipsoid at the poles: on the central meridian, y = (M - M0) k0
    // (cs2cs: 9997964.94302 with Lat0 0, -13316750.29560 with Lat0 30).
    PROJDATA e = Record(PT_TRANSVERSE_MERCATOR, 6378137, kWgs84F, 0, 0, 0.9996);
    PROJPOINT p = Forward(e, 40, 90);
    EXPECT_EQ(p.x, 0.0);
    EXPECT_NEAR(p.y, 9997964.94302, 0.001);
    e.Lat0 = 30 * kRad;
    p = Forward(e, -20, -90);
    EXPECT_EQ(p.x, 0.0);
    EXPECT_NEAR(p.y, -13316750.29560, 0.001);

    // Sphere: 90 degrees east on the equator (B = 1) fails; 90 west gives -inf
    // for the engine to screen; at the pole y = R k0 (pi/2 - phi0).
    PROJDATA s = Record(PT_TRANSVERSE_MERCATOR, 2.0, 0.0, 10, 0, 0.5);
    PROJPOINT pts[3] = {{90 * kRad, 0}, {-90 * kRad, 0}, {0.3, 90 * kRad}};
    ASSERT_TRUE(TMercForward(&s, pts, 3));
    EXPECT_EQ(pts[0].x, DBL_MAX);
    EXPECT_EQ(pts[0].y, DBL_MAX);
    EXPECT_EQ(s.iResult, 1);
    EXPECT_TRUE(std::isinf(pts[1].x) && pts[1].x < 0);
    EXPECT_NEAR(pts[2].x, 0.0, 1e-12);
    EXPECT_DOUBLE_EQ(pts[2].y, 2.0 * 0.5 * (1.5707963267948966 - 10 * kRad));
}

// k0 = 0 fails the point in the general module; UTM's inverse has no such guard
// and lets the non-finite value through to the engine's screen.
TEST(TMerc, ZeroScaleFactorGuardIsTransverseMercatorOnly) {
    PROJDATA tm = Record(PT_TRANSVERSE_MERCATOR, 6378137, kWgs84F, 0, 0, 0.0);
    PROJDATA utm = tm;
    utm.Type = PT_UTM;
    PROJPOINT a{1000, 1000}, b{1000, 1000};
    ASSERT_TRUE(TMercInverse(&tm, &a, 1));
    ASSERT_TRUE(UTMInverse(&utm, &b, 1));
    EXPECT_EQ(a.x, DBL_MAX);
    EXPECT_EQ(tm.iResult, 1);
    EXPECT_FALSE(std::isfinite(b.x) && std::isfinite(b.y));
    EXPECT_EQ(utm.iResult, 0);
}

} // namespace
