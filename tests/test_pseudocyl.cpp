// The world projections: Sinusoidal, Mollweide, Eckert IV, Eckert VI,
// Robinson and Van der Grinten.
#include "ModuleTestSupport.h"
#include "projections/Modules.h"
#include "frame/Angles.h"

using namespace modtest;

namespace {

const Module kSinus = ModuleOf(PT_SINUSOIDAL), kMolle = ModuleOf(PT_MOLLWEIDE),
             kEck4 = ModuleOf(PT_ECKERT_IV), kEck6 = ModuleOf(PT_ECKERT_VI),
             kRobin = ModuleOf(PT_ROBINSON), kVanDer = ModuleOf(PT_VAN_DER_GRINTEN);
const double kEarth = 6371000.0;

Rec Earth(double lon0) {
    return Rec(kEarth, 0.0).Lon0(lon0);
}

// Snyder: USGS PP 1395, appendix A. cs2cs: PROJ 9.1.1 +R=6371000 (WGS84 for the
// ellipsoidal Sinusoidal). Wider tolerances: Eckert's seven-digit coefficients and
// unapplied last step; Robinson's band cubics against the oracle's spline;
// Mollweide's Newton step at the pole's triple root (x tens of metres in both).
TEST(WorldProjections, PublishedAndOracleValues) {
    const Rec wgs = Wgs84().Lon0(10), e10 = Earth(10), e0 = Earth(0), s90 = Unit().Lon0(-90);
    // clang-format off
    CheckRows({
        {"Snyder sinusoidal Clarke 1866", kSinus, SnyderClarke().Lon0(-90), -75, -50, 1075471.5, -5540628.0, 0.05, 1e-6},
        {"cs2cs sinu WGS84 high", kSinus, wgs, -169, 75, -5173459.039955, 8326937.587285, 1e-3, 5e-8},
        {"cs2cs sinu WGS84 pole", kSinus, wgs, 40, 90, 0.0, 10001965.729314, 1e-3, -1},
        {"Snyder Mollweide", kMolle, s90, -75, -50, 0.1788844892, -0.9208757912, 1e-10, 1e-8},
        {"cs2cs moll across 180", kMolle, e10, 189, -60, 11596303.802115, -6869064.045896, 1e-5, 1e-10},
        {"cs2cs moll pole", kMolle, e10, 40, 90, 18.755609, 9009954.605703, 50.0, -1},
        {"Snyder Eckert IV", kEck4, s90, -75, -50, 0.1875269931, -0.9519209772, 5e-8, 3e-6},
        {"cs2cs eck4 high", kEck4, e10, -169, 75, -11035671.576532, 8026166.752966, 0.2, 1e-5},
        {"Snyder Eckert VI", kEck6, s90, -75, -50, 0.1693623129, -0.9570222628, 1e-9, 1e-6},
        {"cs2cs eck6 across 180", kEck6, e10, 189, -60, 11370341.309276, -7142143.724339, 0.03, 1e-8},
        {"cs2cs eck6 pole", kEck6, e10, 40, 90, 1471151.484037, 8826908.904221, 1e-5, -1},
        {"Snyder Robinson", kRobin, s90, -75, -50, -0.9641897903, -0.8351805121, 1e-7, 3e-5},
        {"cs2cs robin pole", kRobin, e0, -30, -90, -1506729.469388, -8615503.300000, 1.0, -1},
        {"cs2cs robin 12N", kRobin, e0, 15, 12.3, 1405996.825508, 1314036.615709, 6.0, 1e-4},
        {"Snyder Van der Grinten", kVanDer, Unit().Lon0(-56), -160, 50, -1.6638299525, 1.0365811061, 1e-10, 1e-8},
        {"cs2cs vandg across 180", kVanDer, e10, 189, -60, 17237723.831575, -9981000.631119, 1e-5, 1e-9},
        {"cs2cs vandg equator", kVanDer, e10, 30, 0, 2223898.532891, 0.0, 1e-5, 1e-9},
        {"cs2cs vandg pole", kVanDer, e10, 40, 90, 0.0, 20015086.796021, 1e-5, -1},
    });
    // clang-format on
}

// Snyder, PP 1395, table 29 (PLEN, PDFE); the module's 0.4968 at 40 degrees is
// not the printed 0.4958, and the pole ends the last band a hair short of 1.
TEST(WorldProjections, RobinsonAtTheTableNodes) {
    const double nodes[][3] = {
        {15, 0.9900, 0.1860}, {40, 0.9216, 0.4968}, {55, 0.8350, 0.6769}, {85, 0.5722, 0.9761}};
    for (const auto& n : nodes)
        for (double sign : {1.0, -1.0}) {
            const PROJPOINT p = Fwd(kRobin.fwd, Unit().d, 100 * sign, n[0] * sign);
            EXPECT_NEAR(p.x, 0.8487 * n[1] * 100 * kRad * sign, 2e-7) << n[0];
            EXPECT_NEAR(p.y, 1.3523 * n[2] * sign, 2e-7) << n[0];
        }
    const PROJPOINT pole = Fwd(kRobin.fwd, Unit().d, 100, 90);
    EXPECT_NEAR(pole.y, 1.3523000478744507 * (1.0 - 1.43e-8), 2e-9);
    EXPECT_NEAR(pole.x, 0.8487 * 0.5322 * 100 * kRad, 1e-6);
}

// Bounds are the measured worst with a margin: Mollweide's equator nudge, the
// Eckert iterations' unapplied last step (magnified near the poles for VI),
// Robinson's single-precision Newton target, Van der Grinten's acos near -1.
TEST(WorldProjections, RoundTripAcrossTheGlobe) {
    const struct {
        Module m;
        Rec rec;
        double bound;
    } trips[] = {{kSinus, Earth(10), 1e-6},  {kSinus, Wgs84().Lon0(10), 0.005},
                 {kMolle, Earth(10), 0.7},   {kEck4, Earth(10), 12.0},
                 {kEck6, Earth(10), 50.0},   {kRobin, Earth(0), 0.5},
                 {kVanDer, Earth(-170), 0.1}};
    for (const auto& t : trips) {
        const double lon0 = t.rec.d.Lon0 / kRad;
        EXPECT_LE(WorstRoundTrip(t.m, t.rec.d, -89.5, 89.5, lon0 - 179.5, lon0 + 179.5, 1.25),
                  t.bound)
            << t.m.name;
    }
}

// Near its central meridian Van der Grinten divides differences of terms in
// A^4, A ~ 1/(lambda - lambda0): the point must tend to the meridian's image
// (cs2cs +proj=vandg +R=1 at 0.01 degrees east).
TEST(WorldProjections, VanDerGrintenNearTheCentralMeridian) {
    const double rows[][2] = {{10, 0.175074958}, {45, 0.841787215}, {80, 1.915151944}};
    for (const auto& r : rows) {
        for (double dl : {1e-2, 1e-6, 1e-12}) {
            const PROJPOINT p = Fwd(kVanDer.fwd, Unit().d, dl, r[0]);
            EXPECT_NEAR(p.y, r[1], 2e-9) << r[0] << " " << dl;
            EXPECT_TRUE(p.x > 0.0 && p.x < 2.0 * dl * kRad) << r[0] << " " << dl;
        }
        const PROJPOINT m = Fwd(kVanDer.fwd, Unit().d, 0.0, r[0]);
        EXPECT_EQ(m.x, 0.0);
        EXPECT_NEAR(m.y, r[1], 2e-9);
    }
}

// With the flag 190 degrees east of the central meridian is 170 west; without
// it the point lies outside the outline; the inverse never wraps. Van der
// Grinten always wraps; Robinson never does and ignores the central meridian.
TEST(WorldProjections, LongitudeWrapFlag) {
    for (const Module& m : {kSinus, kMolle, kEck4, kEck6}) {
        const PROJPOINT w = Fwd(m.fwd, Earth(20).Wrap().d, 210, 35);
        const PROJPOINT e = Fwd(m.fwd, Earth(20).d, -150, 35);
        const PROJPOINT r = Fwd(m.fwd, Earth(20).d, 210, 35);
        EXPECT_DOUBLE_EQ(w.x, e.x) << m.name;
        EXPECT_GT(r.x, Fwd(m.fwd, Earth(20).d, 200, 35).x) << m.name;
        EXPECT_NEAR(InvDeg(m.inv, Earth(20).d, r.x, r.y).x, 210, 2e-5) << m.name;
        EXPECT_NEAR(Fwd(m.fwd, Earth(20).Wrap().d, 570, 35).x, r.x, 1e-6) << m.name; // wrapped once
    }
    EXPECT_DOUBLE_EQ(Fwd(kVanDer.fwd, Earth(20).d, 210, 35).x,
                     Fwd(kVanDer.fwd, Earth(20).d, -150, 35).x);
    const PROJPOINT rb = Fwd(kRobin.fwd, Earth(0).Wrap().d, 190, 35);
    EXPECT_NEAR(rb.x / Fwd(kRobin.fwd, Earth(0).d, -170, 35).x, -190.0 / 170.0, 1e-12);
    const PROJPOINT shifted = Fwd(kRobin.fwd, Earth(-120).d, 45, -33);
    const PROJPOINT green = Fwd(kRobin.fwd, Earth(0).d, 45, -33);
    EXPECT_TRUE(shifted.x == green.x && shifted.y == green.y);
    EXPECT_NEAR(InvDeg(kRobin.inv, Earth(-120).d, green.x, green.y).x, 45, 1e-6);
}

TEST(WorldProjections, MollweideEquatorAndPoles) {
    // The equator is nudged 1e-7 rad north: theta about pi 1e-7 / 4.
    const PROJPOINT eq = Fwd(kMolle.fwd, Earth(0).d, 50, 0);
    EXPECT_NEAR(eq.y, std::sqrt(2.0) * kEarth * kPi * 1e-7 / 4, 1e-9 * kEarth);
    EXPECT_GT(eq.y, 0.7);
    // Just south of it the nudge lands on an auxiliary angle whose cosine is
    // exactly 1: the point fails.
    PROJDATA f = Earth(0).d;
    PROJPOINT south[2] = {{0.5, -0.99e-7}, {0.5, -0.5e-7}};
    EXPECT_TRUE(Converter(MolleForward)(&f, south, 2));
    EXPECT_TRUE(IsUnplottable(south[0]) && !IsUnplottable(south[1]));
    EXPECT_NEAR(Fwd(kMolle.fwd, Earth(0).d, 0, -90).y, -std::sqrt(2.0) * kEarth, 1e-3);
    // Beyond the outline the inverse clamps to the pole line: no failure.
    PROJDATA i = Earth(0).d;
    PROJPOINT out{1000.0, 1.5 * kEarth};
    EXPECT_TRUE(Converter(MolleInverse)(&i, &out, 1));
    EXPECT_EQ(i.iResult, 0);
    EXPECT_NEAR(out.y, kPi / 2, 1e-12);
    EXPECT_GT(std::fabs(out.x), 1e10);
}

TEST(WorldProjections, SinusoidalPoleLineAndEckertPoles) {
    // cos phi on the pole line is 6e-17: a huge longitude, or Lon0 for x = 0.
    PROJDATA d = Earth(10).d;
    PROJPOINT pts[2] = {{1.0, kEarth * kPi / 2}, {0.0, -kEarth * kPi / 2}};
    EXPECT_TRUE(Converter(SinusInverse)(&d, pts, 2));
    EXPECT_EQ(d.iResult, 0);
    EXPECT_GT(std::fabs(pts[0].x), 1e9);
    EXPECT_DOUBLE_EQ(pts[1].x, 10 * kRad);
    // Eckert IV's half-height is the literal 1.3265004 R; the 99-step bound at
    // the pole leaves the result in use, within 4 km of the oracle's pole line.
    const PROJPOINT n4 = Fwd(kEck4.fwd, Earth(10).d, 100, 90);
    EXPECT_NEAR(n4.y, 1.3265004 * kEarth, 1e-3);
    EXPECT_NEAR(n4.x, 0.4222382 * kEarth * 90 * kRad, 5000.0);
    EXPECT_NEAR(Fwd(kEck6.fwd, Earth(10).d, 10, -90).y,
                -2 * kEarth * (kPi / 2) / std::sqrt(2 + kPi), 1e-6);
}

// The Eckert iterations do not apply their last step (< 1.2e-6 rad): short of
// the converged auxiliary angle (cs2cs +R=1 at 18 and 28 degrees) by most of it.
TEST(WorldProjections, EckertIterationsStopWithoutTheirLastStep) {
    const double sin4 = Fwd(kEck4.fwd, Unit().d, 0, 18).y / 1.3265004;
    const double short4 = 0.368321870215 / (2.0 * std::sqrt(kPi / (4.0 + kPi))) - sin4;
    const double short6 =
        (0.549716859490 - Fwd(kEck6.fwd, Unit().d, 0, 28).y) * std::sqrt(2.0 + kPi) / 2.0;
    for (double s : {short4, short6}) {
        EXPECT_GT(s, 5e-7);
        EXPECT_LT(s, 1.2e-6);
    }
}

TEST(WorldProjections, RobinsonInverseAtAndBeyondThePoleLine) {
    PROJDATA d = Earth(0).d;
    const double line = 1.3523000478744507 * kEarth;
    PROJPOINT pts[3] = {{1000.0, line * 1.0000005}, {-1000.0, -line}, {1000.0, line * 1.00001}};
    EXPECT_TRUE(Converter(RobinInverse)(&d, pts, 3));
    EXPECT_EQ(d.iResult, 0);
    EXPECT_DOUBLE_EQ(pts[0].y, kPi / 2); // within the slack: the pole
    EXPECT_NEAR(pts[0].x, 1000.0 / kEarth / 0.8487 / 0.5322, 1e-9);
    EXPECT_DOUBLE_EQ(pts[1].y, -kPi / 2);
    EXPECT_TRUE(pts[2].x == 0.0 && pts[2].y == 0.0); // beyond: (0, 0), not marked
    // Every band is found and solved, also exactly on the band edges.
    for (double lat = -90.0; lat <= 90.0; lat += 0.25) {
        const PROJPOINT xy = Fwd(kRobin.fwd, d, 120, lat);
        const PROJPOINT ll = InvDeg(kRobin.inv, d, xy.x, xy.y);
        EXPECT_NEAR(ll.y, lat, 5e-6) << lat;
        EXPECT_NEAR(ll.x, std::fabs(lat) < 90 ? 120 : ll.x, 1e-5) << lat;
    }
}

TEST(WorldProjections, VanDerGrintenSpecialPoints) {
    // Inside the equatorial band the raw difference is used: 200 degrees east
    // stays 200; just outside it wraps to 160 west.
    const PROJPOINT in = Fwd(kVanDer.fwd, Earth(10).d, 210, 1e-7 / kRad);
    EXPECT_NEAR(in.x, 200 * kRad * kEarth, 1e-6);
    EXPECT_EQ(in.y, 0.0);
    EXPECT_LT(Fwd(kVanDer.fwd, Earth(10).d, 210, 1e-6 / kRad).x, 0.0);
    // A whole turn off the meridian wraps to zero off the meridian branch and fails.
    PROJDATA f = Earth(10).d;
    PROJPOINT pts[2] = {{370 * kRad, 30 * kRad}, {10 * kRad, 30 * kRad}};
    EXPECT_TRUE(Converter(VanDerForward)(&f, pts, 2));
    EXPECT_TRUE(IsUnplottable(pts[0]));
    EXPECT_EQ(pts[1].x, 0.0);
    EXPECT_NEAR(pts[1].y, kPi * kEarth * std::tan(std::asin(60.0 / 180) / 2), 1e-6);
    // The origin comes back as the centre; longitudes within a turn of Greenwich.
    const PROJPOINT o = InvDeg(kVanDer.inv, Earth(170).d, 0.0, 0.0);
    EXPECT_NEAR(o.x, 170, 1e-13);
    EXPECT_EQ(o.y, 0.0);
    const PROJPOINT xy = Fwd(kVanDer.fwd, Earth(170).d, 190, 20);
    EXPECT_NEAR(InvDeg(kVanDer.inv, Earth(170).d, xy.x, xy.y).x, -170, 1e-9);
}

} // namespace
