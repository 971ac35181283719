// Azimuthal modules: Stereographic (polar and oblique aspects, sphere and
// ellipsoid), Orthographic, Gnomonic, Azimuthal Equidistant and Lambert
// Azimuthal Equal Area, called with the record as the engine hands it
// (angles in radians, K0 non-zero).
#include "projections/AzimModules.h"
#include "projections/ProjModule.h"

#include <gtest/gtest.h>

#include <cfloat>
#include <cmath>
#include <cstddef>
#include <cstring>
#include <vector>

using namespace KVProj;

namespace {

const double kDeg = 3.141592653589793 / 180.0;

struct Module {
    const char* name;
    ProjConvertFn fwd, inv;
};
const Module kPolar{"Stereographic", PolarForward, PolarInverse};
const Module kOrtho{"Orthographic", OrthoForward, OrthoInverse};
const Module kGnom{"Gnomonic", GnomForward, GnomInverse};
const Module kAzimuth{"Azimuthal Equidistant", AzimuthForward, AzimuthInverse};
const Module kLamAEA{"Lambert Azimuthal Equal Area", LamAEAForward, LamAEAInverse};

// A working record built in degrees, stored as the engine stores it.
struct Rec {
    PROJDATA d{};
    Rec(double a, double f) {
        d.Scale = 1.0;
        d.K0 = 1.0;
        d.MajorRadius = a;
        d.Flattening = f;
    }
    // PROJDATA is byte-packed: its doubles are written by offset, never through
    // a reference that would assume alignment.
    Rec& Set(size_t offset, double v) {
        std::memcpy(reinterpret_cast<char*>(&d) + offset, &v, sizeof v);
        return *this;
    }
    Rec& Flag(bool& field) {
        field = true;
        return *this;
    }
    Rec& Lat0(double v) { return Set(offsetof(PROJDATA, Lat0), v * kDeg); }
    Rec& Lon0(double v) { return Set(offsetof(PROJDATA, Lon0), v * kDeg); }
    Rec& Lat1(double v) { return Set(offsetof(PROJDATA, Lat1), v * kDeg); }
    Rec& K0(double v) { return Set(offsetof(PROJDATA, K0), v); }
};
Rec Sphere() {
    return Rec(6370997.0, 0.0);
}
Rec Unit() {
    return Rec(1.0, 0.0);
}
Rec Clarke() {
    return Rec(6378206.4, 1.0 / 294.9786982);
}
Rec Grs80() {
    return Rec(6378137.0, 1.0 / 298.257222101);
}
Rec Wgs84() {
    return Rec(6378137.0, 1.0 / 298.257223563);
}

struct Row {
    const char* source;
    Module m;
    Rec rec;
    double lon, lat; // degrees
    double x, y;     // units of MajorRadius, before false origin
    double tol;      // forward tolerance in the same units
};

// Forward to the expected point, then the expected point back to the input.
void CheckRow(const Row& r) {
    SCOPED_TRACE(testing::Message()
                 << r.m.name << ", " << r.source << ": " << r.lon << ", " << r.lat);
    PROJDATA d = r.rec.d;
    PROJPOINT p{r.lon * kDeg, r.lat * kDeg};
    ASSERT_TRUE(r.m.fwd(&d, &p, 1));
    EXPECT_EQ(d.iResult, 0);
    EXPECT_NEAR(p.x, r.x, r.tol);
    EXPECT_NEAR(p.y, r.y, r.tol);
    PROJPOINT q{r.x, r.y};
    ASSERT_TRUE(r.m.inv(&d, &q, 1));
    EXPECT_EQ(d.iResult, 0);
    // The recorded figures carry r.tol; allow three times that as an angle.
    const double angTol = std::max(1e-10, 3.0 * r.tol / d.MajorRadius / kDeg);
    EXPECT_NEAR(q.y / kDeg, r.lat, angTol);
    const double cosLat = std::cos(r.lat * kDeg);
    if (cosLat > 1e-3) {
        EXPECT_NEAR(std::remainder(q.x / kDeg - r.lon, 360.0), 0.0, angTol / cosLat);
    }
}

// Snyder, Map Projections - A Working Manual (USGS PP 1395), appendix A
// numerical examples; PROJ 9.1.1 agrees with each. Snyder's Clarke 1866 and
// International figures are given by e^2 = 0.00676866 and 0.00672267.
const double kSnyderClarkeF = 1.0 - std::sqrt(1.0 - 0.00676866);
const double kSnyderIntlF = 1.0 - std::sqrt(1.0 - 0.00672267);
const std::vector<Row> kSnyder = {
    {"Snyder stereographic sphere", kPolar, Unit().Lat0(40).Lon0(-100), -75, 30, 0.3807224,
     -0.1263802, 1e-7},
    {"Snyder stereographic ellipsoid, oblique", kPolar,
     Rec(6378206.4, kSnyderClarkeF).Lat0(40).Lon0(-100).K0(0.9999), -90, 30, 971630.8, -1063049.3,
     0.1},
    {"Snyder stereographic ellipsoid, polar, true scale at 71 S", kPolar,
     Rec(6378388.0, kSnyderIntlF).Lat0(-90).Lat1(-71).Lon0(-100), 150, -75, -1540033.6, -560526.4,
     0.1},
    {"Snyder orthographic sphere", kOrtho, Unit().Lat0(40).Lon0(-100), -110, 30, -0.1503837,
     -0.1651911, 1e-7},
    {"Snyder azimuthal equidistant sphere", kAzimuth, Rec(3.0, 0.0).Lat1(40).Lon0(-100), 100, -20,
     -5.8311398, 5.5444634, 1e-7},
    {"Snyder Lambert azimuthal equal-area sphere", kLamAEA, Rec(3.0, 0.0).Lat1(40).Lon0(-100), 100,
     -20, -4.2339303, 4.0257775, 1e-7},
};

TEST(Azimuthal, SnyderExamples) {
    for (const Row& r : kSnyder)
        CheckRow(r);
}

// PROJ 9.1.1 (`proj -f %.6f`, the string named in each source; `ups` values
// less its 2 000 000 m false origin). Clarke 1866 a 6378206.4, 1/f 294.9786982;
// sphere R 6370997.
// clang-format off
const std::vector<Row> kProj = {
    {"cs2cs ups north WGS84", kPolar, Wgs84().Lat0(90).K0(0.994), 0, 85, 0.000000, -555457.391383, 1e-3},
    {"cs2cs ups north WGS84", kPolar, Wgs84().Lat0(90).K0(0.994), -45, 80, -786975.296070, -786975.296070, 1e-3},
    {"cs2cs ups north WGS84", kPolar, Wgs84().Lat0(90).K0(0.994), 120, 70, 1941966.505153, 1121194.884508, 1e-3},
    {"cs2cs ups south WGS84", kPolar, Wgs84().Lat0(-90).K0(0.994), 0, -85, 0.000000, 555457.391383, 1e-3},
    {"cs2cs ups south WGS84", kPolar, Wgs84().Lat0(-90).K0(0.994), -45, -80, -786975.296070, 786975.296070, 1e-3},
    {"cs2cs ups south WGS84", kPolar, Wgs84().Lat0(-90).K0(0.994), 120, -70, 1941966.505153, -1121194.884508, 1e-3},
    {"cs2cs stere lat_ts=70 Clarke 1866", kPolar, Clarke().Lat0(90).Lat1(70).Lon0(-45), -45, 70, 0.000000, -2188023.639109, 1e-3},
    {"cs2cs stere lat_ts=70 Clarke 1866", kPolar, Clarke().Lat0(90).Lat1(70).Lon0(-45), 0, 60, 2349919.254375, -2349919.254375, 1e-3},
    {"cs2cs stere lat_ts=70 Clarke 1866", kPolar, Clarke().Lat0(90).Lat1(70).Lon0(-45), 100, 75.5, 905629.733684, 1293373.299008, 1e-3},
    {"cs2cs stere lat_ts=-71 GRS80", kPolar, Grs80().Lat0(-90).Lat1(-71), 0, -71, 0.000000, 2082760.108574, 1e-3},
    {"cs2cs stere lat_ts=-71 GRS80", kPolar, Grs80().Lat0(-90).Lat1(-71), -60, -80, -943257.077868, 544589.727822, 1e-3},
    {"cs2cs stere lat_ts=-71 GRS80", kPolar, Grs80().Lat0(-90).Lat1(-71), 140, -66.5, 1663722.729143, -1982747.539537, 1e-3},
    {"cs2cs stere oblique Clarke 1866", kPolar, Clarke().Lat0(40).Lon0(-100).K0(0.9999), -100, 40, 0.000000, 0.000000, 1e-3},
    {"cs2cs stere oblique Clarke 1866", kPolar, Clarke().Lat0(40).Lon0(-100).K0(0.9999), -75, 30, 2429064.469875, -803112.503123, 1e-3},
    {"cs2cs stere oblique Clarke 1866", kPolar, Clarke().Lat0(40).Lon0(-100).K0(0.9999), -120, 60, -1142484.732046, 2404844.919623, 1e-3},
    {"cs2cs stere equatorial Clarke 1866", kPolar, Clarke().Lon0(20), 20, 0, 0.000000, 0.000000, 1e-3},
    {"cs2cs stere equatorial Clarke 1866", kPolar, Clarke().Lon0(20), 50, -40, 2942260.913706, -4904293.999136, 1e-3},
    {"cs2cs stere equatorial Clarke 1866", kPolar, Clarke().Lon0(20), -40, 30, -6684231.403997, 4426000.545541, 1e-3},
    {"cs2cs sterea sphere", kPolar, Sphere().Lat0(52.156).Lon0(5.387).K0(0.9999079), 5.387, 52.156, 0.000000, 0.000000, 1e-3},
    {"cs2cs sterea sphere", kPolar, Sphere().Lat0(52.156).Lon0(5.387).K0(0.9999079), 3.3, 50.8, -146664.521186, -148683.213946, 1e-3},
    {"cs2cs sterea sphere", kPolar, Sphere().Lat0(52.156).Lon0(5.387).K0(0.9999079), 7.2, 53.5, 119910.471829, 150950.928805, 1e-3},
    {"cs2cs stere lat_ts=60 sphere", kPolar, Sphere().Lat0(90).Lat1(60).Lon0(20), 20, 60, 0.000000, -3185498.500000, 1e-3},
    {"cs2cs stere lat_ts=60 sphere", kPolar, Sphere().Lat0(90).Lat1(60).Lon0(20), -100, 30, -5944221.124717, 3431897.666478, 1e-3},
    {"cs2cs stere lat_ts=60 sphere", kPolar, Sphere().Lat0(90).Lat1(60).Lon0(20), 65, 89, 73361.525097, -73361.525097, 1e-3},
    {"cs2cs ortho", kOrtho, Sphere().Lat0(40).Lon0(-100), -100, 40, 0.000000, 0.000000, 1e-3},
    {"cs2cs ortho", kOrtho, Sphere().Lat0(40).Lon0(-100), -75, 30, 2331773.120565, -774028.327999, 1e-3},
    {"cs2cs ortho", kOrtho, Sphere().Lat0(40).Lon0(-100), 10, 89.9, 10448.894979, 4882903.992647, 1e-3},
    {"cs2cs ortho polar", kOrtho, Sphere().Lat0(-90).Lon0(30), 30, -60, 0.000000, 3185498.500000, 1e-3},
    {"cs2cs ortho polar", kOrtho, Sphere().Lat0(-90).Lon0(30), -150, -1, -0.000000, -6370026.666298, 1e-3},
    {"cs2cs ortho polar", kOrtho, Sphere().Lat0(-90).Lon0(30), 100, -89, 104483.698054, 38028.956058, 1e-3},
    {"cs2cs gnom", kGnom, Sphere().Lat1(40).Lon0(-100), -100, 40, 0.000000, 0.000000, 1e-3},
    {"cs2cs gnom", kGnom, Sphere().Lat1(40).Lon0(-100), -75, 30, 2527253.576322, -838917.750126, 1e-3},
    {"cs2cs gnom", kGnom, Sphere().Lat1(40).Lon0(-100), -120, 60, -1188645.336067, 2512012.683601, 1e-3},
    {"cs2cs gnom polar", kGnom, Sphere().Lat1(90).Lon0(0), 0, 80, 0.000000, -1123378.665113, 1e-3},
    {"cs2cs gnom polar", kGnom, Sphere().Lat1(90).Lon0(0), 135, 45, 4504975.181619, 4504975.181619, 1e-3},
    {"cs2cs gnom polar", kGnom, Sphere().Lat1(90).Lon0(0), -60, 31, -9182570.923626, -5301559.794608, 1e-3},
    {"cs2cs aeqd", kAzimuth, Sphere().Lat1(40).Lon0(-100), -100, 40, 0.000000, 0.000000, 1e-3},
    {"cs2cs aeqd", kAzimuth, Sphere().Lat1(40).Lon0(-100), -75, 30, 2393817.150695, -794623.743770, 1e-3},
    {"cs2cs aeqd", kAzimuth, Sphere().Lat1(40).Lon0(-100), 10, 89.9, 11905.386285, 5563541.249303, 1e-3},
    {"cs2cs aeqd polar", kAzimuth, Sphere().Lat1(-90).Lon0(0), 0, -60, 0.000000, 3335846.228540, 1e-3},
    {"cs2cs aeqd polar", kAzimuth, Sphere().Lat1(-90).Lon0(0), 135, 10, 7862664.963988, -7862664.963988, 1e-3},
    {"cs2cs aeqd polar", kAzimuth, Sphere().Lat1(-90).Lon0(0), -60, 80, -16370589.603196, 9451564.314198, 1e-3},
    {"cs2cs laea", kLamAEA, Sphere().Lat1(40).Lon0(-100), -100, 40, 0.000000, 0.000000, 1e-3},
    {"cs2cs laea", kLamAEA, Sphere().Lat1(40).Lon0(-100), -75, 30, 2378214.686836, -789444.531047, 1e-3},
    {"cs2cs laea", kLamAEA, Sphere().Lat1(40).Lon0(-100), 10, 89.9, 11530.688366, 5388440.057623, 1e-3},
    {"cs2cs laea equatorial", kLamAEA, Sphere().Lon0(10), 10, 0, 0.000000, 0.000000, 1e-3},
    {"cs2cs laea equatorial", kLamAEA, Sphere().Lon0(10), 100, 0, 9009950.363238, 0.000000, 1e-3},
    {"cs2cs laea equatorial", kLamAEA, Sphere().Lon0(10), -60, 45, -5372291.408230, 5717073.103902, 1e-3},
};
// clang-format on

TEST(Azimuthal, AgreesWithProj) {
    for (const Row& r : kProj)
        CheckRow(r);
}

// Angular distance in degrees between two points given in degrees (haversine,
// accurate for the tiny distances of a round trip).
double Distance(double lon1, double lat1, double lon2, double lat2) {
    const double sDlat = std::sin((lat2 - lat1) * kDeg / 2.0);
    const double sDlon = std::sin((lon2 - lon1) * kDeg / 2.0);
    const double h = sDlat * sDlat + std::cos(lat1 * kDeg) * std::cos(lat2 * kDeg) * sDlon * sDlon;
    return 2.0 * std::asin(std::sqrt(std::min(1.0, h))) / kDeg;
}

struct Sweep {
    Module m;
    Rec rec;
    double latC, lonC; // centre of the valid area
    double radius;     // degrees from the centre that must convert and come back
};

// Every 7.3 degrees over the globe (an irregular step, so that no grid point
// sits exactly on a pole or a singular circle), within the module's valid area.
const std::vector<Sweep> kSweeps = {
    {kPolar, Clarke().Lat0(90).Lat1(70).Lon0(-45), 90, 0, 95},
    {kPolar, Wgs84().Lat0(-90).K0(0.994), -90, 0, 100},
    {kPolar, Clarke().Lat0(40).Lon0(-100).K0(0.9999), 40, -100, 150},
    {kPolar, Sphere().Lat0(-25).Lon0(140), -25, 140, 170},
    {kOrtho, Sphere().Lat0(40).Lon0(-100), 40, -100, 89},
    {kGnom, Sphere().Lat1(-35).Lon0(20), -35, 20, 60},
    {kAzimuth, Sphere().Lat1(60).Lon0(170), 60, 170, 170},
    {kLamAEA, Sphere().Lat1(-70).Lon0(-60), -70, -60, 175},
};

TEST(Azimuthal, RoundTripsOverTheValidArea) {
    for (const Sweep& s : kSweeps) {
        SCOPED_TRACE(s.m.name);
        int n = 0;
        double worst = 0.0;
        for (double lat = -89.9; lat < 90.0; lat += 7.3) {
            for (double lon = -179.9; lon < 180.0; lon += 7.3) {
                if (Distance(lon, lat, s.lonC, s.latC) >= s.radius) continue;
                PROJDATA d = s.rec.d;
                PROJPOINT p{lon * kDeg, lat * kDeg};
                ASSERT_TRUE(s.m.fwd(&d, &p, 1));
                ASSERT_TRUE(s.m.inv(&d, &p, 1));
                ASSERT_EQ(d.iResult, 0) << lon << ", " << lat;
                const double err = Distance(p.x / kDeg, p.y / kDeg, lon, lat);
                worst = std::max(worst, err);
                ++n;
            }
        }
        EXPECT_GT(n, 100);
        EXPECT_LT(worst, 1e-9); // degrees, about 0.1 mm
    }
}

// Points a module cannot show fail alone; their neighbours still convert.
struct Unplottable {
    const char* why;
    Module m;
    Rec rec;
    double lon, lat;
};
const std::vector<Unplottable> kUnplottable = {
    {"antipode of the stereographic centre", kPolar, Sphere().Lat0(40).Lon0(-100), 80, -40},
    {"opposite pole, polar stereographic", kPolar, Clarke().Lat0(90), 0, -90},
    {"far side of the orthographic globe", kOrtho, Sphere().Lat0(40).Lon0(-100), 80, 0},
    {"gnomonic horizon", kGnom, Sphere().Lat1(90), 0, 0},
    {"beyond the gnomonic horizon", kGnom, Sphere().Lat1(90), 10, -30},
    {"azimuthal equidistant antipode", kAzimuth, Sphere().Lat1(40).Lon0(-100), 80, -40},
    {"equal-area antipode", kLamAEA, Sphere().Lat1(90), 0, -90},
};

TEST(Azimuthal, UnplottablePointsFailAlone) {
    for (const Unplottable& u : kUnplottable) {
        SCOPED_TRACE(u.why);
        PROJDATA d = u.rec.d;
        PROJPOINT pts[2] = {{u.lon * kDeg, u.lat * kDeg}, {d.Lon0, 0.3}};
        ASSERT_TRUE(u.m.fwd(&d, pts, 2));
        EXPECT_EQ(d.iResult, 1);
        EXPECT_EQ(pts[0].x, DBL_MAX);
        EXPECT_EQ(pts[0].y, DBL_MAX);
        EXPECT_TRUE(std::isfinite(pts[1].x) && pts[1].x != DBL_MAX);
    }
}

// Inverse points outside the image of the globe.
TEST(Azimuthal, InverseOutsideTheMapFails) {
    const double r = 6370997.0;
    struct {
        Module m;
        double x, y;
    } cases[] = {
        {kOrtho, r * 0.8, r * 0.7},  // beyond the globe's outline
        {kAzimuth, 0.0, -r * 3.2},   // beyond the antipodal circle
        {kLamAEA, r * 1.5, r * 1.5}, // beyond the 2R circle
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.m.name);
        PROJDATA d = Sphere().Lat0(10).Lat1(10).d;
        PROJPOINT p{c.x, c.y};
        ASSERT_TRUE(c.m.inv(&d, &p, 1));
        EXPECT_EQ(d.iResult, 1);
        EXPECT_EQ(p.x, DBL_MAX);
    }
}

// The polar aspect is chosen by Lat0 alone: the latitude of true scale in Lat1
// changes the scale, and an oblique centre ignores Lat1.
TEST(Azimuthal, StereographicFieldConventions) {
    // Unit scale at the standard parallel: the parallel's radius is its true length / 2 pi.
    PROJDATA d = Grs80().Lat0(90).Lat1(70).d;
    PROJPOINT p{0.0, 70 * kDeg};
    ASSERT_TRUE(PolarForward(&d, &p, 1));
    const double e2 = 2.0 / 298.257222101 - 1.0 / (298.257222101 * 298.257222101);
    const double parallel =
        6378137.0 * std::cos(70 * kDeg) / std::sqrt(1 - e2 * std::pow(std::sin(70 * kDeg), 2));
    EXPECT_NEAR(std::hypot(p.x, p.y), parallel, 1e-6);
    // A Lat1 on the other side of the equator is no latitude of true scale: K0 rules.
    PROJDATA k = Grs80().Lat0(90).Lat1(-70).K0(0.994).d;
    PROJDATA ups = Grs80().Lat0(90).K0(0.994).d;
    PROJPOINT a{0.5, 1.2}, b{0.5, 1.2};
    PolarForward(&k, &a, 1);
    PolarForward(&ups, &b, 1);
    EXPECT_EQ(a.x, b.x);
    EXPECT_EQ(a.y, b.y);
    // Oblique: Lat1 is not read.
    PROJDATA o1 = Clarke().Lat0(45).Lat1(12).d, o2 = Clarke().Lat0(45).d;
    PROJPOINT c{0.2, 0.9}, e{0.2, 0.9};
    PolarForward(&o1, &c, 1);
    PolarForward(&o2, &e, 1);
    EXPECT_EQ(c.x, e.x);
    EXPECT_EQ(c.y, e.y);
}

} // namespace
