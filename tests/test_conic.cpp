// Albers Equal Area Conic and Equidistant Conic modules.
#include "ModuleTestSupport.h"
#include "TestSupport.h"
#include "projections/Modules.h"

using namespace modtest;

namespace {

const Module kAea = ModuleOf(PT_ALBERS), kEqdc = ModuleOf(PT_EQUIDISTANT_CONIC);

Rec Cone(Rec r, double lat0, double lon0, double lat1, double lat2) {
    return r.Lat0(lat0).Lon0(lon0).Lat1(lat1).Lat2(lat2);
}

// Snyder: USGS PP 1395, Albers worked examples. cs2cs: PROJ 9.1.1
// +proj=aea|eqdc. The ellipsoidal Albers inverse hands back the iterate before
// the last step: up to 1.2e-6 rad (7e-5 degrees) in latitude.
TEST(Conic, PublishedAndOracleValues) {
    const Rec conus = Cone(Grs80(), 23, -96, 29.5, 45.5), eqdc = Cone(Sphere(), 40, -100, 20, 60);
    const Rec south = Cone(Sphere(), -30, 140, -20, -45);
    // clang-format off
    const std::vector<Row> rows = {
        {"Snyder Albers sphere", kAea, Cone(Unit(), 23, -96, 29.5, 45.5), -75, 35, 0.2952720, 0.2416774, 1e-7, 1e-5},
        {"Snyder Albers Clarke 1866", kAea, Cone(SnyderClarke(), 23, -96, 29.5, 45.5), -75, 35, 1885472.7, 1535925.0, 0.05, 7e-5},
        {"cs2cs aea CONUS", kAea, conus, -122.4, 37.8, -2273032.787510, 1958176.391293, 1e-5, 7e-5},
        {"cs2cs aea CONUS 60S", kAea, conus, -96, -60, 0.0, -6425658.907942, 1e-5, 7e-5},
        {"cs2cs aea southern cone", kAea, Cone(Grs80(), 0, 132, -18, -36), 151.2, -33.9, 1759614.416025, -3832061.664777, 1e-5, 7e-5},
        {"cs2cs aea sphere", kAea, Cone(Sphere(), 40, -100, 20, 60), -160, 70, -2502082.872822, 4190170.917124, 1e-5, 1e-9},
        {"cs2cs eqdc secant", kEqdc, eqdc, -60, 10, 4519497.423073, -2325928.137872, 1e-5, 1e-9},
        {"cs2cs eqdc north pole", kEqdc, eqdc, -100, 90, 0.0, 5559743.714234, 1e-5, 1e-9},
        {"cs2cs eqdc tangent 40N", kEqdc, Cone(Sphere(), 30, 10, 40, 40), 40, 50, 2140220.053027, 2587495.413968, 1e-5, 1e-9},
        {"cs2cs eqdc southern cone", kEqdc, south, 170, -45, 2328294.062328, -1994965.824382, 1e-5, 1e-9},
        {"cs2cs eqdc south pole", kEqdc, south, 140, -90, 0.0, -6671692.457081, 1e-5, 1e-9},
    };
    // clang-format on
    CheckRows(rows);
    for (const Row& r : rows) { // every cone's origin lies at (0, 0)
        const PROJPOINT o = Fwd(r.m.fwd, r.rec.d, r.rec.d.Lon0 / kRad, r.rec.d.Lat0 / kRad);
        EXPECT_NEAR(std::hypot(o.x, o.y), 0.0, 1e-9 * r.rec.d.MajorRadius) << r.source;
    }
}

// Over the whole globe short of the poles; bounds are the measured worst with
// a margin (Albers ellipsoid: 7.52 m at latitude 22, the unapplied last step).
TEST(Conic, RoundTripAcrossTheGlobe) {
    const struct {
        Module m;
        Rec rec;
        double bound;
    } trips[] = {{kAea, Cone(Sphere(), 23, -96, 29.5, 45.5), 1e-5},
                 {kAea, Cone(Grs80(), 23, -96, 29.5, 45.5), 7.7},
                 {kAea, Cone(Grs80(), -32, 132, -18, -36), 7.7},
                 {kEqdc, Cone(Sphere(), -30, 140, -20, -45), 1e-5},
                 {kEqdc, Cone(Sphere(), 30, 10, 40, 40), 1e-5}};
    for (const auto& t : trips) {
        const double lon0 = t.rec.d.Lon0 / kRad;
        EXPECT_LE(WorstRoundTrip(t.m, t.rec.d, -89, 89, lon0 - 179.5, lon0 + 179.5, 2.5), t.bound)
            << t.m.name;
    }
}

// On the CONUS cone at latitude 22 the estimate before the last Newton step is
// 7.5 m short of the parallel, where the converged solution (and cs2cs) is exact.
TEST(Conic, AlbersInverseReturnsNextToLastIterate) {
    const PROJDATA d = Cone(Grs80(), 23, -96, 29.5, 45.5).d;
    const PROJPOINT xy = Fwd(kAea.fwd, d, -96, 22);
    const PROJPOINT ll = InvDeg(kAea.inv, d, xy.x, xy.y);
    EXPECT_GT((22.0 - ll.y) * kRad, 1e-6);
    EXPECT_LE((22.0 - ll.y) * kRad, 1.1920928955078125e-6);
    EXPECT_DOUBLE_EQ(ll.x, -96.0);
}

// 350 degrees east is projected at theta = 350 n about the apex even with the
// wrap flag set (not Albers' flag). The cone by Snyder 14-3, 14-4, 14-5.
TEST(Conic, AlbersDoesNotWrapLongitude) {
    const PROJDATA d = Cone(Unit(), 23, -96, 29.5, 45.5).Wrap().d;
    const double s1 = std::sin(29.5 * kRad), n = (s1 + std::sin(45.5 * kRad)) / 2.0;
    const double c = std::pow(std::cos(29.5 * kRad), 2) + 2.0 * n * s1;
    const double rho0 = std::sqrt(c - 2.0 * n * std::sin(23 * kRad)) / n;
    for (double dl : {350.0, -10.0}) {
        const PROJPOINT p = Fwd(kAea.fwd, d, -96 + dl, 35);
        EXPECT_NEAR(std::hypot(p.x, rho0 - p.y), std::sqrt(c - 2.0 * n * std::sin(35 * kRad)) / n,
                    1e-12);
        EXPECT_NEAR(std::atan2(p.x, rho0 - p.y), std::remainder(n * dl * kRad, 2 * M_PI), 1e-12);
    }
}

// Symmetric parallels (n = 0) fail the whole call, with a report, at its first
// plottable point; a call of markers alone has nothing to fail on.
TEST(Conic, AlbersSymmetricParallelsFailTheCall) {
    kvtest::ReportRecorder rec;
    for (double f : {0.0, kGrs80F})
        for (Converter fn : {kAea.fwd, kAea.inv}) {
            PROJDATA d = Cone(Rec(6378137, f), 0, 0, 30, -30).d;
            PROJPOINT pts[3] = {{DBL_MAX, 0.0}, {0.1, 0.2}, {0.3, 0.4}};
            rec.reports.clear();
            EXPECT_FALSE(fn(&d, pts, 3));
            ASSERT_EQ(rec.reports.size(), 1u);
            EXPECT_NE(rec.reports[0].file.find("pAlbers"), std::string::npos);
            EXPECT_EQ(pts[1].x, 0.1); // not converted, not marked
            EXPECT_EQ(d.iResult, 0);
            PROJPOINT marked[2] = {{DBL_MAX, 1.0}, {2.0, DBL_MAX}};
            EXPECT_TRUE(fn(&d, marked, 2));
            EXPECT_EQ(rec.reports.size(), 1u);
        }
}

TEST(Conic, AlbersPointFailures) {
    // Equal standard parallels on the ellipsoid: q2 - q1 = 0, each point lost.
    PROJDATA d = Cone(Grs80(), 23, -96, 40, 40).d;
    PROJPOINT pts[2] = {{-1.0, 0.5}, {1000.0, 2000.0}};
    EXPECT_TRUE(Converter(AlbersForward)(&d, &pts[0], 1) &&
                Converter(AlbersInverse)(&d, &pts[1], 1));
    EXPECT_TRUE(pts[0].x == DBL_MAX && pts[1].x == DBL_MAX);
    EXPECT_EQ(d.iResult, 1);
    // Level with the apex (rho0 - y = 0) is refused even off x = 0, for n > 0
    // and n < 0. Both parallels at a pole: n = +-1, rho0 = +-2R with the origin
    // at the other pole; the polar azimuthal radius 2 sin(z / 2) gives z.
    for (double sign : {1.0, -1.0}) {
        PROJDATA p = Cone(Unit(), -90 * sign, 0, 90 * sign, 90 * sign).d;
        PROJPOINT q[3] = {{0.5, 2.0 * sign}, {0.0, 2.0 * sign}, {0.5, 1.0 * sign}};
        EXPECT_TRUE(Converter(AlbersInverse)(&p, q, 3));
        EXPECT_TRUE(IsUnplottable(q[0]) && IsUnplottable(q[1]));
        const double z = 2.0 * std::asin(std::sqrt(1.25) / 2.0);
        EXPECT_NEAR(q[2].y, sign * (kRad * 90 - z), 1e-12);
    }
    // Far beyond the outline the ellipsoid's iteration spends its 500 steps and
    // the point fails; the sphere clamps to the pole instead.
    PROJDATA e = Cone(Grs80(), 23, -96, 29.5, 45.5).d,
             s = Cone(Rec(6378137, 0), 23, -96, 29.5, 45.5).d;
    PROJPOINT far[3] = {{0.0, 9e6}, {3e7, 3e7}, {0.0, 1e6}}, sfar[2] = {{0.0, 9e6}, {0.0, -9e6}};
    EXPECT_TRUE(Converter(AlbersInverse)(&e, far, 3) && Converter(AlbersInverse)(&s, sfar, 2));
    EXPECT_TRUE(IsUnplottable(far[0]) && IsUnplottable(far[1]) && !IsUnplottable(far[2]));
    EXPECT_EQ(s.iResult, 0);
    EXPECT_DOUBLE_EQ(sfar[0].y, kRad * 90);
    EXPECT_DOUBLE_EQ(sfar[1].y, -kRad * 90);
}

TEST(Conic, EquiConTangentAndDegenerateCones) {
    // Parallels 1.7e-7 rad apart are treated as the tangent cone n = sin 40.
    const PROJDATA tangent = Cone(Sphere(), 30, 10, 40, 40).d;
    const PROJDATA close = Cone(Sphere(), 30, 10, 40, 40.00001).d;
    for (double lat : {-60.0, 45.0, 89.0}) {
        const PROJPOINT a = Fwd(kEqdc.fwd, tangent, 70, lat), b = Fwd(kEqdc.fwd, close, 70, lat);
        EXPECT_TRUE(a.x == b.x && a.y == b.y) << lat;
    }
    // n = 0 (parallels symmetric about, or on, the equator) fails each point.
    for (double lat1 : {30.0, 0.0, -45.0})
        for (Converter fn : {kEqdc.fwd, kEqdc.inv}) {
            PROJDATA d = Cone(Sphere(), 0, 0, lat1, -lat1).d;
            PROJPOINT pts[2] = {{0.1, 0.2}, {DBL_MAX, 7.0}};
            EXPECT_TRUE(fn(&d, pts, 2));
            EXPECT_EQ(pts[0].x, DBL_MAX);
            EXPECT_EQ(pts[1].y, 7.0);
            EXPECT_EQ(d.iResult, 1);
        }
}

TEST(Conic, EquiConLongitudes) {
    // With the wrap flag 190 degrees east is 170 west; without it the cone is
    // swept on to theta = 190 n (Snyder 16-3, 16-4, 16-5).
    const Rec cone = Cone(Sphere(), 40, -100, 20, 60);
    const PROJPOINT w = Fwd(kEqdc.fwd, Rec(cone).Wrap().d, 90, 50);
    const PROJPOINT r = Fwd(kEqdc.fwd, cone.d, 90, 50);
    const double n = (std::cos(20 * kRad) - std::cos(60 * kRad)) / (40 * kRad);
    const double rho0 = kSphereR * (std::cos(20 * kRad) / n + 20 * kRad - 40 * kRad);
    EXPECT_NEAR(std::atan2(r.x, rho0 - r.y), n * 190 * kRad, 1e-12);
    EXPECT_NEAR(std::atan2(w.x, rho0 - w.y), -n * 170 * kRad, 1e-12);
    // The inverse hands back the longitude within one turn of Greenwich.
    const PROJDATA far = Cone(Sphere(), 40, 170, 20, 60).d;
    const PROJPOINT xy = Fwd(kEqdc.fwd, far, 190, 45);
    EXPECT_NEAR(InvDeg(kEqdc.inv, far, xy.x, xy.y).x, -170, 1e-9);
    // Beyond the south pole (rho = R (G + pi/2), cs2cs) the latitude runs on past -90.
    const PROJPOINT pole = Fwd(kEqdc.fwd, cone.d, -100, -90);
    EXPECT_NEAR(pole.y, -14455333.657009, 1e-5);
    const PROJPOINT ll = InvDeg(kEqdc.inv, cone.d, 0.0, pole.y - 1e6);
    EXPECT_NEAR(ll.y, -90.0 - 1e6 / kSphereR / kRad, 1e-9);
    EXPECT_NEAR(ll.x, -100.0, 1e-9);
}

} // namespace
