// Polyconic (sphere, ellipsoid, Guam's state plane zone), Bonne (either
// hemisphere), Robinson-Sterling and spherical Cassini.
#include "ModuleTestSupport.h"
#include "projections/Modules.h"

using namespace modtest;

namespace {

const Module kPolycon = ModuleOf(PT_POLYCONIC), kBonne = ModuleOf(PT_BONNE),
             kRobSter = ModuleOf(PT_ROBINSON_STERLING), kCassini = ModuleOf(PT_CASSINI);

// Guam Island (zone 34) as the NAD 27 zone builder writes it.
Rec Guam() {
    return Clarke().Lat0(13.472466352777777).Lon0(144.74875070555555).Origin(50000, 50000);
}

// Snyder: USGS PP 1395, appendix A (Clarke 1866 as e^2). cs2cs: PROJ 9.1.1
// `proj -f %.6f` (its own polyconic inverse gives up on the two far points). PROJ's polyconic and
// Bonne take the meridian arc to higher order than the e^6 series here (1.0 mm at 40 degrees from
// the origin, hence 2 mm); Robinson only at tabular latitudes, where both reproduce the table (PROJ
// keeps it in single precision: up to 0.3 m, hence 0.5 m).
TEST(MiscProjections, PublishedAndOracleValues) {
    const Rec bonneS = Grs80().Lat1(-30).Lon0(25), cass = Sphere().Lat0(40).Lon0(-100);
    // clang-format off
    CheckRows({
        {"Snyder polyconic", kPolycon, SnyderClarke().Lat0(30).Lon0(-96), -75, 40, 1776774.5, 1319657.8, 0.1},
        {"cs2cs cass, Snyder's inputs", kCassini, Unit().Lat0(-35).Lon0(-75), -73.5, -20, 0.024600766, 0.261689221, 1e-9},
        {"cs2cs poly Guam", kPolycon, Guam(), 144.62, 13.24, 36045.876068, 24286.502226, 1e-3},
        {"cs2cs poly Clarke 1866", kPolycon, Clarke().Lat0(30).Lon0(-96), -100, 10, -438551.977237, -2211489.584721, 2e-3},
        {"cs2cs poly sphere", kPolycon, Sphere().Lat0(-20).Lon0(40), 100, 30, 5517445.249434, 7038138.713103, 1e-3},
        {"cs2cs poly far west", kPolycon, Wgs84().Lat0(30).Lon0(-96), -180.25831, -31.831216, -7200361.407370, -9784552.595065, 2e-3},
        {"cs2cs poly far east", kPolycon, Wgs84().Lat0(30).Lon0(-96), -10.779302, 43.340615, 5771229.156136, 4711820.855371, 2e-3},
        {"cs2cs bonne sphere", kBonne, Sphere().Lat1(40).Lon0(-100), 10, 89.9, 21347.484414, 5548735.704267, 1e-3},
        {"cs2cs bonne Clarke 1866", kBonne, Clarke().Lat1(40).Lon0(-100), -150, 75, -1408981.402760, 4175069.449809, 2e-3},
        {"cs2cs bonne south", kBonne, bonneS, 60, -10, 3784124.725666, 1663305.327659, 2e-3},
        {"cs2cs bonne south", kBonne, bonneS, -20, -70, -1699090.015266, -4671054.947006, 2e-3},
        {"cs2cs cass sphere", kCassini, cass, -150, 75, -1271583.420218, 4473100.016918, 1e-3},
        {"cs2cs cass sphere", kCassini, cass, 30, -60, 2504221.111237, -16719325.220611, 1e-3},
        {"cs2cs robin", kRobSter, Sphere().Lon0(-100), 30, -60, 9797418.022546, -6328945.808891, 0.5},
        {"cs2cs robin", kRobSter, Sphere().Lon0(-100), -100, 90, 0.0, 8615499.243100, 0.5},
    });
    // clang-format on
}

// Robinson's published X, Y (Robinson 1974, tabulated in USGS PP 1453):
// x = 0.8487 R X dLam, y = 1.3523 R Y. Between the nodes the interpolation is
// the module's own: within 0.05 % of the map's width of PROJ's spline, with
// parallels and central meridian monotonic.
TEST(MiscProjections, RobinsonSterlingTableAndBetween) {
    const double table[][3] = {{0, 1.0000, 0.0000},  {15, 0.9900, 0.1860}, {40, 0.9216, 0.4958},
                               {55, 0.8350, 0.6769}, {80, 0.6213, 0.9394}, {90, 0.5322, 1.0000}};
    for (const auto& t : table)
        for (double sign : {1.0, -1.0}) {
            const PROJPOINT p = Fwd(kRobSter.fwd, Unit().Lon0(30).d, 130, sign * t[0]);
            EXPECT_NEAR(p.x, 0.8487 * t[1] * 100 * kRad, 1e-12) << t[0];
            EXPECT_NEAR(p.y, sign * 1.3523 * t[2], 1e-12) << t[0];
        }
    const double proj[][4] = {// `proj +proj=robin +R=6370997`, PROJ 9.1.1
                              {10, 87.5, 5717443.993705, 8528029.633285},
                              {10, 72.5, 7232760.808161, 7486471.687521},
                              {10, 42.5, 9439569.822945, 4536320.395887}};
    const double tol = 0.0005 * 360 * kRad * kSphereR * 0.8487;
    for (const auto& c : proj) {
        const PROJPOINT p = Fwd(kRobSter.fwd, Sphere().Lon0(-100).d, c[0], c[1]);
        EXPECT_NEAR(p.x, c[2], tol) << c[1];
        EXPECT_NEAR(p.y, c[3], tol) << c[1];
    }
    PROJPOINT last{2.0, -1.0};
    for (double lat = 0.0; lat <= 90.0; lat += 0.25) {
        const PROJPOINT p = Fwd(kRobSter.fwd, Unit().d, 1, lat);
        EXPECT_TRUE(p.y > last.y && p.x < last.x) << lat;
        last = p;
    }
}

TEST(MiscProjections, RoundTripsOverTheValidArea) {
    const struct {
        Module m;
        Rec rec;
        double lonHalf, latMax; // |lon - Lon0| < lonHalf, |lat| < latMax
    } sweeps[] = {
        {kPolycon, Guam(), 89, 85},
        {kPolycon, Sphere().Lat0(-20).Lon0(40), 89, 85},
        {kBonne, Clarke().Lat1(40).Lon0(-100), 179, 89.5},
        {kBonne, Grs80().Lat1(-30).Lon0(25), 179, 89.5},
        {kRobSter, Sphere().Lon0(-100), 179.9, 90},
        {kCassini, Sphere().Lat0(40).Lon0(-100), 89, 89.5},
    };
    for (const auto& s : sweeps) {
        const double lon0 = s.rec.d.Lon0 / kRad;
        int n = 0;
        const double worst =
            WorstRoundTrip(s.m, s.rec.d, -s.latMax + 0.05, s.latMax - 0.01, lon0 - s.lonHalf + 0.05,
                           lon0 + s.lonHalf - 0.01, 3.7, nullptr, &n);
        EXPECT_LT(worst, 1e-4) << s.m.name;
        EXPECT_GT(n, 500) << s.m.name;
    }
}

// The wrap flag brings lambda - lambda0 into [-180, 180] for Polyconic and
// Robinson-Sterling; without it the difference is taken as given.
TEST(MiscProjections, LongitudeWrapFlag) {
    for (const Module& m : {kPolycon, kRobSter}) {
        const Rec r = Sphere().Lon0(170).Lat0(10);
        const PROJPOINT a = Fwd(m.fwd, Rec(r).Wrap().d, -170, 30);
        EXPECT_NEAR(a.x, Fwd(m.fwd, r.d, 190, 30).x, 1e-6) << m.name; // 20 degrees east
        EXPECT_GT(a.x, 0.0) << m.name;
        EXPECT_LT(Fwd(m.fwd, r.d, -170, 30).x, 0.0) << m.name; // 340 degrees west
    }
}

TEST(MiscProjections, UnconvertiblePointsAndRecords) {
    // Bonne with its standard parallel on the equator is not defined.
    PROJDATA flat = Sphere().Lat1(0).d;
    PROJPOINT p{0.1, 0.2};
    ASSERT_TRUE(Converter(BonneForward)(&flat, &p, 1));
    EXPECT_EQ(p.x, DBL_MAX);
    EXPECT_EQ(flat.iResult, 1);
    // Inverse points outside each map's outline fail alone.
    const double r = kSphereR;
    const struct {
        Module m;
        Rec rec;
        double x, y;
    } outside[] = {
        {kRobSter, Sphere(), 0.0, 1.4 * r},            // above the pole line
        {kRobSter, Sphere(), 3.0 * r, 0.0},            // beyond the outline
        {kCassini, Sphere(), 1.6 * r, 0.0},            // beyond a quarter circle
        {kBonne, Sphere().Lat1(40), 0.0, -25000000.0}, // beyond the south pole
    };
    for (const auto& o : outside) {
        PROJDATA d = o.rec.d;
        PROJPOINT q[2] = {{o.x, o.y}, {1000.0, 1000.0}};
        ASSERT_TRUE(o.m.inv(&d, q, 2));
        EXPECT_EQ(q[0].x, DBL_MAX) << o.m.name;
        EXPECT_EQ(d.iResult, 1) << o.m.name;
        EXPECT_NE(q[1].x, DBL_MAX) << o.m.name;
    }
}

// Inverses where the iterations are easy to get wrong: Robinson's tabular
// distances Y from the equator (Robinson 1974, as tabulated in USGS PP 1453)
// must give back the tabular latitudes, including the seams between the
// interpolating cubics and the pole line.
TEST(MiscProjections, RobinsonSterlingInverseOfTheTable) {
    const double tableY[] = {0.0000, 0.0620, 0.1240, 0.1860, 0.2480, 0.3100, 0.3720,
                             0.4340, 0.4958, 0.5571, 0.6176, 0.6769, 0.7346, 0.7903,
                             0.8435, 0.8936, 0.9394, 0.9761, 1.0000};
    for (int n = 0; n < 19; ++n)
        for (double sign : {1.0, -1.0}) {
            const PROJPOINT q =
                InvDeg(kRobSter.inv, Unit().Lon0(30).d, 0.5, sign * 1.3523 * tableY[n]);
            EXPECT_NEAR(q.y, sign * 5.0 * n, 1e-11) << n;
        }
}

// Forward then inverse at points that trapped earlier iterations: on both
// sides of the seams of Robinson-Sterling's bands; polyconic points far from
// the central meridian, where Snyder's Newton step from A jumps across the
// equator to a false root, and a point just off the equator, where 1 - cos E
// cancels in the forward.
TEST(MiscProjections, RoundTripsAtHardPoints) {
    const Rec robin = Sphere().Lon0(-100), poly = Wgs84().Lat0(30).Lon0(-96);
    const struct {
        Module m;
        Rec rec;
        double lon, lat, tolDeg;
    } cases[] = {
        {kRobSter, robin, 10, 4.9999999, 1e-11},
        {kRobSter, robin, 10, 5, 1e-11},
        {kRobSter, robin, -250, 84.9999999, 1e-11},
        {kRobSter, robin, -250, 85, 1e-11},
        {kRobSter, robin, 70, -89.9999999, 1e-9},
        {kRobSter, robin, 70, -90, 1e-11},
        {kPolycon, poly, -180.25831, -31.831216, 1e-10},
        {kPolycon, poly, -10.779302, 43.340615, 1e-10},
        {kPolycon, poly, -180.603, -35.027051, 1e-10},
        {kPolycon, poly, -155.969743, 0.000253, 1e-11},
        {kPolycon, Sphere().Lat0(-20).Lon0(40), 120, -1e-4, 1e-11},
    };
    for (const auto& c : cases) {
        PROJDATA d = c.rec.d;
        PROJPOINT p{c.lon * kRad, c.lat * kRad};
        ASSERT_TRUE(c.m.fwd(&d, &p, 1) && c.m.inv(&d, &p, 1));
        EXPECT_EQ(d.iResult, 0) << c.m.name << " " << c.lon << ", " << c.lat;
        EXPECT_NEAR(p.y / kRad, c.lat, c.tolDeg) << c.m.name << " " << c.lon << ", " << c.lat;
        if (std::fabs(c.lat) < 89.99) {
            EXPECT_NEAR(std::remainder(p.x / kRad - c.lon, 360.0), 0.0, c.tolDeg)
                << c.m.name << " " << c.lon << ", " << c.lat;
        }
    }
}

} // namespace
