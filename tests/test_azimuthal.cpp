// Azimuthal modules: Stereographic (polar and oblique, sphere and ellipsoid),
// Orthographic, Gnomonic, Azimuthal Equidistant, Lambert Azimuthal Equal Area.
#include "ModuleTestSupport.h"
#include "kvproj/projection.h"
#include "projections/Modules.h"

using namespace modtest;

namespace {

const Module kPolar = ModuleOf(PT_STEREOGRAPHIC), kOrtho = ModuleOf(PT_ORTHOGRAPHIC),
             kGnom = ModuleOf(PT_GNOMONIC), kAzim = ModuleOf(PT_AZIMUTHAL_EQUIDISTANT),
             kLaea = ModuleOf(PT_LAMBERT_AZIMUTHAL);

// Snyder: USGS PP 1395, appendix A examples (Clarke 1866 and International
// given by e^2). cs2cs: PROJ 9.1.1 `proj -f %.6f` (ups less its 2 000 000 m
// false origin; Clarke 1866 as rf 294.9786982; sphere R 6370997). The centre
// is Lat0 for the stereographic and orthographic, Lat1 for the others.
TEST(Azimuthal, PublishedAndOracleValues) {
    // clang-format off
    CheckRows({
        {"Snyder stereographic sphere", kPolar, Unit().Lat0(40).Lon0(-100), -75, 30, 0.3807224, -0.1263802, 1e-7},
        {"Snyder stereographic ellipsoid oblique", kPolar, SnyderClarke().Lat0(40).Lon0(-100).K0(0.9999), -90, 30, 971630.8, -1063049.3, 0.1},
        {"Snyder polar stereographic true scale 71 S", kPolar, Rec(6378388.0, kSnyderIntlF).Lat0(-90).Lat1(-71).Lon0(-100), 150, -75, -1540033.6, -560526.4, 0.1},
        {"Snyder orthographic sphere", kOrtho, Unit().Lat0(40).Lon0(-100), -110, 30, -0.1503837, -0.1651911, 1e-7},
        {"Snyder azimuthal equidistant sphere", kAzim, Rec(3.0, 0.0).Lat1(40).Lon0(-100), 100, -20, -5.8311398, 5.5444634, 1e-7},
        {"Snyder Lambert azimuthal sphere", kLaea, Rec(3.0, 0.0).Lat1(40).Lon0(-100), 100, -20, -4.2339303, 4.0257775, 1e-7},
        {"cs2cs ups north", kPolar, Wgs84().Lat0(90).K0(0.994), -45, 80, -786975.296070, -786975.296070, 1e-3},
        {"cs2cs ups south", kPolar, Wgs84().Lat0(-90).K0(0.994), 120, -70, 1941966.505153, -1121194.884508, 1e-3},
        {"cs2cs stere lat_ts=70", kPolar, Clarke().Lat0(90).Lat1(70).Lon0(-45), 0, 60, 2349919.254375, -2349919.254375, 1e-3},
        {"cs2cs stere lat_ts=-71", kPolar, Grs80().Lat0(-90).Lat1(-71), 140, -66.5, 1663722.729143, -1982747.539537, 1e-3},
        {"cs2cs stere lat_ts=60 sphere", kPolar, Sphere().Lat0(90).Lat1(60).Lon0(20), -100, 30, -5944221.124717, 3431897.666478, 1e-3},
        {"cs2cs stere oblique", kPolar, Clarke().Lat0(40).Lon0(-100).K0(0.9999), -120, 60, -1142484.732046, 2404844.919623, 1e-3},
        {"cs2cs stere equatorial", kPolar, Clarke().Lon0(20), 50, -40, 2942260.913706, -4904293.999136, 1e-3},
        {"cs2cs sterea sphere", kPolar, Sphere().Lat0(52.156).Lon0(5.387).K0(0.9999079), 3.3, 50.8, -146664.521186, -148683.213946, 1e-3},
        {"cs2cs ortho", kOrtho, Sphere().Lat0(40).Lon0(-100), 10, 89.9, 10448.894979, 4882903.992647, 1e-3},
        {"cs2cs ortho polar", kOrtho, Sphere().Lat0(-90).Lon0(30), 100, -89, 104483.698054, 38028.956058, 1e-3},
        {"cs2cs gnom", kGnom, Sphere().Lat1(40).Lon0(-100), -75, 30, 2527253.576322, -838917.750126, 1e-3},
        {"cs2cs gnom polar", kGnom, Sphere().Lat1(90), -60, 31, -9182570.923626, -5301559.794608, 1e-3},
        {"cs2cs aeqd", kAzim, Sphere().Lat1(40).Lon0(-100), 10, 89.9, 11905.386285, 5563541.249303, 1e-3},
        {"cs2cs aeqd polar", kAzim, Sphere().Lat1(-90), -60, 80, -16370589.603196, 9451564.314198, 1e-3},
        {"cs2cs laea", kLaea, Sphere().Lat1(40).Lon0(-100), -75, 30, 2378214.686836, -789444.531047, 1e-3},
        {"cs2cs laea equatorial", kLaea, Sphere().Lon0(10), 100, 0, 9009950.363238, 0.0, 1e-3},
    });
    // clang-format on
}

// Every 7.3 degrees (no grid point on a pole or singular circle) within the
// given distance of the centre: back to 0.1 mm.
TEST(Azimuthal, RoundTripsOverTheValidArea) {
    const struct {
        Module m;
        Rec rec;
        double latC, lonC, radius;
    } sweeps[] = {
        {kPolar, Clarke().Lat0(90).Lat1(70).Lon0(-45), 90, 0, 95},
        {kPolar, Wgs84().Lat0(-90).K0(0.994), -90, 0, 100},
        {kPolar, Clarke().Lat0(40).Lon0(-100).K0(0.9999), 40, -100, 150},
        {kPolar, Sphere().Lat0(-25).Lon0(140), -25, 140, 170},
        {kOrtho, Sphere().Lat0(40).Lon0(-100), 40, -100, 89},
        {kGnom, Sphere().Lat1(-35).Lon0(20), -35, 20, 60},
        {kAzim, Sphere().Lat1(60).Lon0(170), 60, 170, 170},
        {kLaea, Sphere().Lat1(-70).Lon0(-60), -70, -60, 175},
    };
    for (const auto& s : sweeps) {
        int n = 0;
        const double worst = WorstRoundTrip(
            s.m, s.rec.d, -89.9, 90, -179.9, 180, 7.3,
            [&](double lon, double lat) { return ArcDeg(lon, lat, s.lonC, s.latC) < s.radius; },
            &n);
        EXPECT_LT(worst, 1e-4) << s.m.name;
        EXPECT_GT(n, 100) << s.m.name;
    }
}

// Points a module cannot show fail alone; their neighbours still convert.
TEST(Azimuthal, UnplottablePointsFailAlone) {
    const struct {
        const char* why;
        Module m;
        Rec rec;
        double lon, lat;
    } cases[] = {
        {"stereographic antipode", kPolar, Sphere().Lat0(40).Lon0(-100), 80, -40},
        {"opposite pole", kPolar, Clarke().Lat0(90), 0, -90},
        {"far side of the orthographic globe", kOrtho, Sphere().Lat0(40).Lon0(-100), 80, 0},
        {"gnomonic horizon", kGnom, Sphere().Lat1(90), 0, 0},
        {"beyond the gnomonic horizon", kGnom, Sphere().Lat1(90), 10, -30},
        {"azimuthal equidistant antipode", kAzim, Sphere().Lat1(40).Lon0(-100), 80, -40},
        {"equal-area antipode", kLaea, Sphere().Lat1(90), 0, -90},
    };
    for (const auto& c : cases) {
        PROJDATA d = c.rec.d;
        PROJPOINT pts[2] = {{c.lon * kRad, c.lat * kRad}, {d.Lon0, 0.3}};
        ASSERT_TRUE(c.m.fwd(&d, pts, 2));
        EXPECT_EQ(d.iResult, 1) << c.why;
        EXPECT_TRUE(pts[0].x == DBL_MAX && pts[0].y == DBL_MAX) << c.why;
        EXPECT_TRUE(std::isfinite(pts[1].x) && pts[1].x != DBL_MAX) << c.why;
    }
    // Inverse points outside the image of the globe.
    const double r = kSphereR;
    const struct {
        Module m;
        double x, y;
    } outside[] = {{kOrtho, r * 0.8, r * 0.7}, {kAzim, 0.0, -r * 3.2}, {kLaea, r * 1.5, r * 1.5}};
    for (const auto& o : outside) {
        PROJDATA d = Sphere().Lat0(10).Lat1(10).d;
        PROJPOINT p{o.x, o.y};
        ASSERT_TRUE(o.m.inv(&d, &p, 1));
        EXPECT_EQ(d.iResult, 1) << o.m.name;
        EXPECT_EQ(p.x, DBL_MAX) << o.m.name;
    }
}

// The polar aspect is chosen by Lat0 alone; Lat1 is the latitude of true
// scale when on the pole's side of the equator and is ignored otherwise.
TEST(Azimuthal, StereographicFieldConventions) {
    // Unit scale on the standard parallel: radius = its true length / 2 pi.
    const PROJPOINT p = Fwd(kPolar.fwd, Grs80().Lat0(90).Lat1(70).d, 0, 70);
    const double e2 = kGrs80F * (2 - kGrs80F), s70 = std::sin(70 * kRad);
    EXPECT_NEAR(std::hypot(p.x, p.y),
                6378137.0 * std::cos(70 * kRad) / std::sqrt(1 - e2 * s70 * s70), 1e-6);
    const struct {
        Rec a, b;
    } same[] = {{Grs80().Lat0(90).Lat1(-70).K0(0.994), Grs80().Lat0(90).K0(0.994)},
                {Clarke().Lat0(45).Lat1(12), Clarke().Lat0(45)}};
    for (const auto& s : same) {
        const PROJPOINT a = Fwd(kPolar.fwd, s.a.d, 30, 60), b = Fwd(kPolar.fwd, s.b.d, 30, 60);
        EXPECT_TRUE(a.x == b.x && a.y == b.y);
    }
}

// Towards the antipode of (40, -100) the equal-area disc closes on its rim
// of radius 2R. Expected values: `GeodSolve -i -e 6370997 0 -p 9` (the
// sphere's distance s and azimuth az from the centre; rho = 2R sin(s / 2R),
// x = rho sin az, y = rho cos az). Tolerances follow the direction's
// sensitivity to the rounding of the input, 4e-16 / (distance to the
// antipode) of 2R. cs2cs laea agrees at 1 degree but is 4 mm off at 0.01
// degrees, where its 1 + cos c has cancelled.
TEST(Azimuthal, EqualAreaNearTheAntipode) {
    const Rec rec = Sphere().Lat1(40).Lon0(-100);
    const double rim = 2.0 * kSphereR;
    const struct {
        double lon, lat, x, y, tol;
    } rows[] = {
        {80, -39, 0.0, 12741508.823912, 1e-3},
        {79.99, -40.01, 7747741.404441, -10115874.270870, 1e-3},
        {80.0001, -40.0001, -7748657.269078, -10115172.841934, 0.01},
        {80.000001, -40, -12741994.0, -0.071475, 1.0},
        {80, -39.9999999, 0.0, 12741994.0, 5.0},
    };
    for (const auto& r : rows) {
        SCOPED_TRACE(testing::Message() << r.lon << ", " << r.lat);
        const PROJPOINT p = Fwd(kLaea.fwd, rec.d, r.lon, r.lat);
        EXPECT_NEAR(p.x, r.x, r.tol);
        EXPECT_NEAR(p.y, r.y, r.tol);
        EXPECT_LE(std::hypot(p.x, p.y), rim * (1 + 4e-16)); // on or inside the rim
        const PROJPOINT q = InvDeg(kLaea.inv, rec.d, p.x, p.y);
        EXPECT_LT(ArcDeg(q.x, q.y, r.lon, r.lat), 1e-5);
    }
}

// The orthographic module draws every point its hemisphere domain test
// admits: a ring exactly 90 degrees from the centre (Snyder 5-5, 5-6 with
// c = 90 degrees, every third of a degree of azimuth) goes through the whole
// pipeline onto the globe's outline, rho = R. A ring 1e-4 degrees beyond the
// limb is rejected by both.
TEST(Azimuthal, OrthographicLimbMatchesTheDomainTest) {
    const double centres[][2] = {{40, -100}, {-35, 150}, {10, 170}, {89.5, 10}, {0, 0}};
    for (const auto& c : centres) {
        SCOPED_TRACE(testing::Message() << "centre " << c[0] << ", " << c[1]);
        PROJDATA d{};
        d.Type = PT_ORTHOGRAPHIC;
        d.Ellipsoid = ELLIPSOID_SPHERE_6370997;
        d.Zone = STATEZONE_NONE;
        d.Scale = 1.0;
        d.K0 = 1.0;
        d.Lat0 = c[0];
        d.Lon0 = c[1];
        void* h = ProjCreateProjection(&d);
        ASSERT_NE(h, nullptr);
        for (double dist : {90.0, 90.0001}) {
            const double sinC = std::sin(dist * kRad), cosC = std::cos(dist * kRad);
            const double phi1 = c[0] * kRad;
            int admitted = 0, drawn = 0;
            for (int i = 0; i < 1080; ++i) {
                const double az = i / 3.0 * kRad;
                const double phi =
                    std::asin(std::sin(phi1) * cosC + std::cos(phi1) * sinC * std::cos(az));
                const double lam = std::atan2(std::sin(az) * sinC * std::cos(phi1),
                                              cosC - std::sin(phi1) * std::sin(phi));
                PROJPOINT p{c[1] + lam / kRad, phi / kRad};
                if (!ProjLLInProjection(h, &p)) continue;
                ++admitted;
                if (!ProjForward(h, &p, 1) || p.x == DBL_MAX) continue;
                ++drawn;
                EXPECT_NEAR(std::hypot(p.x, p.y), kSphereR, 1e-6) << i;
            }
            EXPECT_EQ(drawn, admitted) << dist;
            EXPECT_TRUE(dist == 90.0 ? admitted > 700 : admitted == 0) << admitted;
        }
        ProjDeleteProjection(h);
    }
    // Beyond the limb by more than rounding, the module itself refuses.
    PROJDATA d = Sphere().Lat0(40).Lon0(-100).d;
    PROJPOINT p{80.0 * kRad, 49.9999 * kRad}; // over the pole, 90.0001 degrees away
    ASSERT_TRUE(kOrtho.fwd(&d, &p, 1));
    EXPECT_EQ(p.x, DBL_MAX);
}

} // namespace
