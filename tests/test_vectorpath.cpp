// The vectorised per-point loops against the per-point path they replace:
// the same records, the same points through the whole pipeline both ways,
// compared point by point. Agreement: the same bits for the transverse
// Mercator family forward; elsewhere 1e-9 m projected, 1e-12 degree
// geographic, or a few units in the last place of the values the result is
// formed from where that is coarser (the vector logarithm, sine and cosine
// differ from the C library's by an ulp, which flips the rounding of a radius
// of millions of metres now and then; see Allowed); markers, non-finite
// results, the return value and iResult identical.
#include "kvproj/projection.h"

#include "kvproj/ellipsoid.h"
#include "projections/VectorPath.h"

#include "TestSupport.h"

#include <gtest/gtest.h>
#include <hwy/targets.h>

#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <random>
#include <string>
#include <thread>
#include <vector>

using namespace KVProj;

namespace {

constexpr double kMarker = KVPROJ_UNPLOTTABLE;
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kInf = std::numeric_limits<double>::infinity();

struct Case {
    const char* name;
    PROJDATA record;
    double west, east, south, north; // the area of the random points, degrees
    // The largest value a projected result passes through (the meridian arc
    // of the series, the radius of a cone), for Allowed.
    double reach = 1e7;
};

PROJDATA Record(ProjType type, EllipsoidType e, double lat0, double lon0, double k0) {
    PROJDATA d;
    std::memset(&d, 0, sizeof(d));
    d.Type = type, d.Scale = 1.0, d.Ellipsoid = e, d.Zone = STATEZONE_NONE;
    d.Lat0 = lat0, d.Lon0 = lon0, d.K0 = k0;
    return d;
}
PROJDATA With(PROJDATA d, double xOrg, double yOrg, double scale, bool south = false) {
    d.xOrg = xOrg, d.yOrg = yOrg, d.Scale = scale, d.bSouth = south;
    return d;
}
PROJDATA User(PROJDATA d, double a, double f) {
    d.Ellipsoid = ELLIPSOID_USER_DEFINED, d.MajorRadius = a, d.Flattening = f;
    return d;
}

// Each record with the area it is used in, and one far wider that reaches the
// poles, the edge of the series and beyond (where the lanes meet the guards).
const Case kCases[] = {
    {"utm 33 north", Record(PT_UTM, ELLIPSOID_WGS84, 0, 15, 0), 11.5, 18.5, -80, 84},
    {"utm 56 south", With(Record(PT_UTM, ELLIPSOID_CLARKE_1866, 0, 153, 0), 0, 0, 1, true), 149,
     157, -80, 0},
    {"utm whole globe", Record(PT_UTM, ELLIPSOID_GRS80, 0, -93, 0), -180, 180, -90, 90},
    {"tmerc grid on Airy",
     User(With(Record(PT_TRANSVERSE_MERCATOR, ELLIPSOID_USER_DEFINED, 49, -2, 0.9996012717), 400000,
               -100000, 1),
          6377563.396, 1 / 299.3249646),
     -9, 3, 49, 61},
    {"tmerc feet, wide",
     With(Record(PT_TRANSVERSE_MERCATOR, ELLIPSOID_CLARKE_1866, 31, -81, 0.9999), 200000, 0,
          1200.0 / 3937.0),
     -120, -40, -10, 80},
    {"gauss-kruger whole globe", Record(PT_GAUSS_KRUGER, ELLIPSOID_INTERNATIONAL_1924, -30, 21, 1),
     -180, 180, -90, 90},
};

// Every 61st point a hostile one, so that vectors mix them with ordinary points.
const double kHostile[][2] = {{kMarker, 10},  {10, kMarker},  {kNaN, 10},   {10, kInf},
                              {0, 90},        {15, -90},      {95, 0},      {1e300, 45},
                              {-180, 89.999}, {180, -89.999}, {15, 1e-300}, {-kInf, kNaN}};

// Map points beyond the reach of the inverse series or not numbers at all.
const PROJPOINT kHostileXY[] = {{kMarker, 0}, {0, kNaN},   {kInf, 1e6}, {1e300, 0},
                                {0, 2e7},     {4e5, -3e7}, {-1e7, 1e7}, {500000, 1e-300}};

std::vector<PROJPOINT> RandomPoints(const Case& c, int count, uint64_t seed) {
    std::mt19937_64 rng(seed);
    std::uniform_real_distribution<double> lon(c.west, c.east), lat(c.south, c.north);
    std::vector<PROJPOINT> pts(static_cast<size_t>(count));
    for (size_t i = 0; i < pts.size(); ++i) {
        const double* h = kHostile[(i / 61) % (sizeof kHostile / sizeof kHostile[0])];
        pts[i] = i % 61 == 60 ? PROJPOINT{h[0], h[1]} : PROJPOINT{lon(rng), lat(rng)};
    }
    return pts;
}

struct Outcome {
    std::vector<PROJPOINT> points;
    std::vector<int> ok, result; // per call
    PROJDATA info;               // the handle's record (with the UTM false origin)
};

// The points converted in calls of 1, 2, ... 19 points in turn (every tail of
// a vector), or in one call when `chunked` is false.
Outcome Convert(const PROJDATA& record, std::vector<PROJPOINT> pts, bool forward, bool vector,
                bool chunked) {
    SetVectorPath(vector);
    PROJDATA copy = record;
    void* h = ProjCreateProjection(&copy);
    EXPECT_NE(h, nullptr);
    Outcome o;
    const int total = static_cast<int>(pts.size());
    for (int i = 0, n = 1; i < total; i += n, n = n % 19 + 1) {
        if (!chunked) n = total;
        n = std::min(n, total - i);
        o.ok.push_back(forward ? ProjForward(h, &pts[i], n) : ProjInverse(h, &pts[i], n));
        ProjGetHandleInfo(h, &o.info);
        o.result.push_back(o.info.iResult);
    }
    ProjDeleteProjection(h);
    SetVectorPath(true);
    o.points = std::move(pts);
    return o;
}

// How far a value may lie from the reference: `tol`, or four units in the
// last place of the largest value on its way where that is larger: the
// module's result before the false origin `org` and the scale, and for a
// projected value `reach`: the meridian arc (up to 1e7 m, a last place of
// 1.9e-9 m), which every northing of the series passes through, or the radius
// of a cone (rho0 - rho cos theta is no closer than rho's last place).
double Allowed(double ref, double tol, double org, double scale, double reach) {
    const double mag = std::max({std::fabs(ref), std::fabs(ref / scale) + std::fabs(org), reach});
    return std::max(tol, 4 * (std::nextafter(mag, kInf) - mag));
}

struct Agreement {
    double worst = 0; // largest difference seen
    int mismatches = 0;
};

// Compares the vector path's points with the reference; same markers, same
// non-finite values, the rest within Allowed(), or the same bits with `exact`.
// `rec` the record of projected results, null for geographic ones; `reach`
// as for Allowed().
Agreement Compare(const Outcome& vec, const Outcome& ref, double tol, const std::string& what,
                  const PROJDATA* rec = nullptr, double reach = 1e7, bool exact = false) {
    Agreement a;
    EXPECT_EQ(vec.ok, ref.ok) << what;
    EXPECT_EQ(vec.result, ref.result) << what;
    for (size_t i = 0; i < ref.points.size(); ++i) {
        const double v[2] = {vec.points[i].x, vec.points[i].y};
        const double r[2] = {ref.points[i].x, ref.points[i].y};
        for (int k = 0; k < 2; ++k) {
            const bool same = (r[k] == kMarker) == (v[k] == kMarker) &&
                              std::isfinite(r[k]) == std::isfinite(v[k]) &&
                              std::isnan(r[k]) == std::isnan(v[k]);
            const double diff = std::isfinite(r[k]) ? std::fabs(v[k] - r[k]) : 0.0;
            if (std::isfinite(r[k])) a.worst = std::max(a.worst, diff);
            const double org = rec ? (k == 0 ? rec->xOrg : rec->yOrg) : 0.0;
            const double scale = rec ? rec->Scale : 1.0;
            const double allowed = exact ? 0.0 : Allowed(r[k], tol, org, scale, rec ? reach : 0.0);
            if (!same || (std::isfinite(r[k]) && !(diff <= allowed))) {
                if (a.mismatches++ < 5)
                    ADD_FAILURE() << what << " point " << i << " member " << k << ": " << v[k]
                                  << " vs " << r[k];
            }
        }
    }
    return a;
}

class VectorPath : public testing::TestWithParam<Case> {};

// The transverse Mercator family forward takes the C library's sine and
// cosine to the bit and performs the per-point operations in their order: its
// results are the reference's bits on every instruction set.
bool SameBitsForward(const Case& c) {
    const ProjType t = c.record.Type;
    return t == PT_UTM || t == PT_TRANSVERSE_MERCATOR || t == PT_GAUSS_KRUGER;
}

// The instruction sets to force, those compiled that this CPU has, the
// one-lane and emulated fallbacks included (Highway's own choice where it has
// none of them).
std::vector<int64_t> Targets() {
    std::vector<int64_t> out;
    for (int64_t t : {HWY_SCALAR, HWY_EMU128, HWY_SSSE3, HWY_SSE4, HWY_AVX2, HWY_AVX3})
        if (hwy::SupportedTargets() & HWY_TARGETS & t) out.push_back(t);
    if (out.empty()) out.push_back(0);
    return out;
}

TEST_P(VectorPath, ForwardAndInverseAgreeWithPerPointPathOnEveryInstructionSet) {
    const Case& c = GetParam();
    const std::vector<PROJPOINT> lonLat = RandomPoints(c, kvtest::kSweepPoints, 20261124);
    for (bool chunked : {false, true}) {
        const Outcome fs = Convert(c.record, lonLat, true, false, chunked);
        // The inverse of the reference results, with hostile map points mixed in.
        std::vector<PROJPOINT> xy = fs.points;
        for (size_t i = 30; i < xy.size(); i += 61)
            xy[i] = kHostileXY[(i / 61) % (sizeof kHostileXY / sizeof kHostileXY[0])];
        const Outcome is = Convert(c.record, xy, false, false, chunked);
        for (int64_t target : Targets()) {
            hwy::SetSupportedTargetsForTest(target);
            const std::string how = std::string(c.name) + (chunked ? " in short calls" : "") +
                                    " on " + (target ? hwy::TargetName(target) : "best");
            const Outcome fv = Convert(c.record, lonLat, true, true, chunked);
            const Agreement f =
                Compare(fv, fs, 1e-9, how + " forward", &fs.info, c.reach, SameBitsForward(c));
            const Outcome iv = Convert(c.record, xy, false, true, chunked);
            const Agreement inv = Compare(iv, is, 1e-12, how + " inverse");
            std::printf("%-52s worst forward %.3g m, inverse %.3g deg\n", how.c_str(), f.worst,
                        inv.worst);
        }
        hwy::SetSupportedTargetsForTest(0);
    }
}

std::string CaseName(const testing::TestParamInfo<Case>& info) {
    std::string n = info.param.name;
    for (char& ch : n)
        if (!std::isalnum(static_cast<unsigned char>(ch))) ch = '_';
    return n;
}

INSTANTIATE_TEST_SUITE_P(TransverseMercator, VectorPath, testing::ValuesIn(kCases), CaseName);

PROJDATA Secant(PROJDATA d, double lat1, double lat2) {
    d.Lat1 = lat1, d.Lat2 = lat2;
    return d;
}

// Mercator: the true-scale parallel away from the equator, a false origin in
// feet, and the whole globe up to the poles (the largest latitude, where
// 1 - sin phi rounds to 0, and beyond).
const Case kMercatorCases[] = {
    {"mercator world", Record(PT_MERCATOR, ELLIPSOID_WGS84, 0, 0, 1), -180, 180, -85, 85},
    {"mercator true scale 45, feet",
     With(Record(PT_MERCATOR, ELLIPSOID_CLARKE_1866, 45, -60, 1), 1e5, -2e5, 1200.0 / 3937.0), -150,
     30, -80, 80},
    {"mercator whole globe", Record(PT_MERCATOR, ELLIPSOID_GRS80, -20, 100, 1), -180, 180, -90, 90},
    {"mercator sphere, whole globe",
     With(Record(PT_MERCATOR, ELLIPSOID_SPHERE_6370997, 30, 10, 1), 2e5, 0, 2), -180, 180, -90, 90},
};
INSTANTIATE_TEST_SUITE_P(Mercator, VectorPath, testing::ValuesIn(kMercatorCases), CaseName);

// Lambert conformal conic: a northern cone with its usual area, a southern
// cone (negative n), and the whole globe (the apex, angles beyond the vector
// sine's range, sin phi beyond the logarithmic form).
const Case kLambertCases[] = {
    {"lambert conus", Secant(Record(PT_LAMBERT_CONIC, ELLIPSOID_GRS80, 23, -96, 1), 29.5, 45.5),
     -130, -62, 20, 52},
    {"lambert south, false origin",
     With(Secant(Record(PT_LAMBERT_CONIC, ELLIPSOID_INTERNATIONAL_1924, -32, 135, 1), -28, -36),
          4e6, 1e7, 1),
     110, 160, -45, -10},
    // The radius of the cone reaches 3.14e7 m at sin phi = -0.9 (PROJ 9.1 cs2cs).
    {"lambert whole globe", Secant(Record(PT_LAMBERT_CONIC, ELLIPSOID_WGS84, 39, -100, 1), 33, 45),
     -180, 180, -90, 90, 3.2e7},
    {"lambert sphere, whole globe",
     Secant(Record(PT_LAMBERT_CONIC, ELLIPSOID_SPHERE_6370997, 39, 10, 1), 33, 45), -180, 180, -90,
     90, 3.2e7},
    {"lambert sphere south",
     Secant(Record(PT_LAMBERT_CONIC, ELLIPSOID_SPHERE_6370997, -40, 140, 1), -30, -50), 100, 180,
     -60, 0},
};
INSTANTIATE_TEST_SUITE_P(Lambert, VectorPath, testing::ValuesIn(kLambertCases), CaseName);

// Albers equal-area conic on the ellipsoid (the sphere stays per point): the
// conterminous United States, a southern cone (negative n) with a false
// origin, and the whole globe (the poles, angles beyond the vector sine's
// range, iterates beyond the lanes' 84 degrees). The radius of the whole
// globe's cone reaches 1.65e7 m at the south pole (PROJ 9.1 proj: the pole
// lies 8645122 m south of the origin, rho0 = 7.89e6 m).
const Case kAlbersCases[] = {
    {"albers conus", Secant(Record(PT_ALBERS, ELLIPSOID_GRS80, 23, -96, 1), 29.5, 45.5), -130, -62,
     20, 52},
    {"albers south, false origin",
     With(Secant(Record(PT_ALBERS, ELLIPSOID_INTERNATIONAL_1924, 0, 132, 1), -18, -36), 4e6, 1e7, 1),
     108, 156, -45, -8},
    {"albers whole globe", Secant(Record(PT_ALBERS, ELLIPSOID_WGS84, 39, -100, 1), 33, 45), -180,
     180, -90, 90, 2e7},
};
INSTANTIATE_TEST_SUITE_P(Albers, VectorPath, testing::ValuesIn(kAlbersCases), CaseName);

// The forward loops of Mercator, Lambert and Albers on the ellipsoid take the
// C library's sin phi bit for bit (one ulp of it moves their results by
// several), and transverse Mercator its sin phi and cos phi: the vector sine
// and cosine hand every lane whose rounding they cannot be sure of to the
// library. Both the sine alone and the pair are checked. Latitudes of every kind, on every instruction set: at
// random, tiny, near pi/4 (where the vector sine changes series), near pi/2,
// whole degrees (sin 30 degrees lies near a rounding midpoint), signed zeros,
// the ends of the range and beyond, not numbers.
TEST(VectorPathSine, LibrarySinesAndCosinesAreTheLibrarysBitForBit) {
    std::mt19937_64 rng(20261124);
    std::uniform_real_distribution<double> lat(-M_PI / 2, M_PI / 2);
    std::vector<PROJPOINT> pts(static_cast<size_t>(kvtest::kSweepPoints));
    for (size_t i = 0; i < pts.size(); ++i) {
        double y = lat(rng);
        switch (i % 6) {
        case 1: y = std::ldexp(y, -static_cast<int>(rng() % 1100)); break;
        case 2: y = std::copysign(M_PI / 4, y) + y * 1e-9; break;
        case 3: y = std::copysign(M_PI / 2, y) - y * 1e-8; break;
        case 4: y = static_cast<double>(rng() % 181) * (M_PI / 180) - M_PI / 2; break;
        default: break;
        }
        pts[i] = PROJPOINT{0, y};
    }
    const double edges[] = {0.0, -0.0, M_PI / 2, -M_PI / 2, std::nextafter(M_PI / 2, 4.0),
                            -std::nextafter(M_PI / 2, 4.0), 4.9e-324, kNaN, kInf, kMarker, 1e300};
    for (size_t k = 0; k < sizeof edges / sizeof edges[0]; ++k)
        pts[k * 7 + 3].y = edges[k];
    std::vector<double> sines(pts.size()), alone(pts.size()), cosines(pts.size());
    for (int64_t target : Targets()) {
        hwy::SetSupportedTargetsForTest(target);
        LibrarySinCosOf(pts.data(), static_cast<int>(pts.size()), alone.data(), nullptr);
        LibrarySinCosOf(pts.data(), static_cast<int>(pts.size()), sines.data(), cosines.data());
        int wrong = 0;
        for (size_t i = 0; i < pts.size(); ++i) {
            const double y = pts[i].y;
            const bool inside = std::fabs(y) <= M_PI / 2;
            const double want[3] = {inside ? std::sin(y) : 0.0, inside ? std::sin(y) : 0.0,
                                    inside ? std::cos(y) : 1.0};
            const double got[3] = {alone[i], sines[i], cosines[i]};
            for (int k = 0; k < 3; ++k)
                if (std::memcmp(&want[k], &got[k], sizeof(double)) != 0 && wrong++ < 5)
                    ADD_FAILURE() << (k == 2 ? "cos " : "sin ") << y << " on "
                                  << hwy::TargetName(target) << ": " << got[k] << " vs "
                                  << want[k];
        }
        EXPECT_EQ(wrong, 0) << hwy::TargetName(target);
    }
    hwy::SetSupportedTargetsForTest(0);
}

// Inverse inputs that reach the guards: a northing whose footpoint lies
// beyond the pole, huge and tiny values, k0 of 0 in the general module
// (every point fails there, the vector path included).
TEST(VectorPathGuards, InverseHostileInputsAsPerPointPath) {
    PROJDATA tm = kCases[3].record, zeroK0 = kCases[3].record;
    zeroK0.K0 = 0.0;
    const std::vector<PROJPOINT> pts = {
        {400000, 2e7}, {1e6, -3e7},   {0, 0},      {1e30, 5e6}, {400000, 1e300},
        {-4e6, 6e6},   {400000, 5e6}, {3e5, 4e6},  {kNaN, 0},   {0, kMarker},
        {2e5, 9.5e6},  {1e-300, 0},   {4e5, -4e5}, {-1e7, 1e7}, {500000, 1.00002e7},
        {4e5, 9.99e6}, {4e5, 1e4},    {4e5, 1e5}};
    for (const PROJDATA& r : {tm, zeroK0, kCases[0].record, kCases[1].record})
        Compare(Convert(r, pts, false, true, true), Convert(r, pts, false, false, true), 1e-12,
                "hostile inverse");
}

// The conformal modules at their guards, both directions, in calls of every
// length: the poles and the largest latitude, sin phi on either side of the
// cone's logarithmic form (0.9 at 64.158 degrees), the far side of the cone,
// the cone's apex (the inverse of a pole), and an eccentricity beyond the
// lanes' series (per point throughout).
TEST(VectorPathGuards, ConformalModulesAsPerPointPath) {
    struct Row {
        const char* what;
        PROJDATA record;
    };
    const Row rows[] = {
        {"mercator", Record(PT_MERCATOR, ELLIPSOID_WGS84, 0, 30, 1)},
        {"mercator e 0.2",
         User(Record(PT_MERCATOR, ELLIPSOID_USER_DEFINED, 10, 0, 1), 6378137, 1 / 50.0)},
        {"lambert north", Secant(Record(PT_LAMBERT_CONIC, ELLIPSOID_GRS80, 39, 30, 1), 33, 45)},
        {"lambert south",
         With(Secant(Record(PT_LAMBERT_CONIC, ELLIPSOID_WGS84, -40, 30, 1), -50, -30), 1e5, 2e5,
              0.5)},
        {"mercator sphere", Record(PT_MERCATOR, ELLIPSOID_SPHERE_6370997, 0, 30, 1)},
        {"lambert sphere",
         Secant(Record(PT_LAMBERT_CONIC, ELLIPSOID_SPHERE_6370997, 39, 30, 1), 33, 45)},
        {"lambert e 0.2",
         User(Secant(Record(PT_LAMBERT_CONIC, ELLIPSOID_USER_DEFINED, 40, 30, 1), 30, 50), 6378137,
              1 / 50.0)},
        {"albers north", Secant(Record(PT_ALBERS, ELLIPSOID_GRS80, 39, 30, 1), 33, 45)},
        {"albers south",
         With(Secant(Record(PT_ALBERS, ELLIPSOID_WGS84, -40, 30, 1), -50, -30), 1e5, 2e5, 0.5)},
        {"albers e 0.2",
         User(Secant(Record(PT_ALBERS, ELLIPSOID_USER_DEFINED, 40, 30, 1), 30, 50), 6378137,
              1 / 50.0)},
    };
    const std::vector<PROJPOINT> lonLat = {
        {30, 90},      {30, -90},      {31, 89.99999999}, {29, -89.99999999},
        {30, 64.158},  {30, 64.159},   {-150, -64.158},   {-149.9, 64.16},
        {209.99, 45},  {-149.99, -45}, {30, 0},           {30.5, 45},
        {kMarker, 45}, {30, kNaN},     {-120, 12},        {100, -80}};
    for (const Row& r : rows) {
        const Outcome fv = Convert(r.record, lonLat, true, true, true);
        const Outcome fs = Convert(r.record, lonLat, true, false, true);
        // Points as far south as the whole globe's on northern cones.
        Compare(fv, fs, 1e-9, std::string(r.what) + " forward", &fs.info, 3.2e7);
        // The forward results (the poles among them: the cone's apex) back.
        const Outcome iv = Convert(r.record, fs.points, false, true, true);
        const Outcome is = Convert(r.record, fs.points, false, false, true);
        Compare(iv, is, 1e-12, std::string(r.what) + " inverse");
    }
}

// A true-scale latitude at the pole, written into a handle's record (the
// validation refuses it at creation): the scale factor of that parallel is
// cos 90 degrees, 6e-17 rather than 0, the map points lie beyond every
// exponential's range, and both paths give the same bits either way.
TEST(VectorPathGuards, MercatorTrueScaleAtThePole) {
    PROJPOINT out[2][2][4];
    int ok[2][2], result[2][2];
    for (int path = 0; path < 2; ++path) {
        SetVectorPath(path == 0);
        PROJDATA rec = Record(PT_MERCATOR, ELLIPSOID_WGS84, 0, 0, 1);
        void* h = ProjCreateProjection(&rec);
        ASSERT_NE(h, nullptr);
        static_cast<PROJDATA*>(h)->Lat0 = 90;
        PROJPOINT xy[4] = {{kMarker, kMarker}, {1e5, 2e5}, {3e5, -4e5}, {0, 1e-300}};
        PROJPOINT ll[4] = {{10, 20}, {-30, 40}, {50, -60}, {0, 0}};
        PROJDATA info;
        ok[path][0] = ProjInverse(h, xy, 4);
        result[path][0] = ProjGetHandleInfo(h, &info) ? info.iResult : -1;
        ok[path][1] = ProjForward(h, ll, 4);
        result[path][1] = ProjGetHandleInfo(h, &info) ? info.iResult : -1;
        std::memcpy(out[path][0], xy, sizeof xy);
        std::memcpy(out[path][1], ll, sizeof ll);
        ProjDeleteProjection(h);
    }
    SetVectorPath(true);
    for (int dir = 0; dir < 2; ++dir) {
        EXPECT_EQ(ok[0][dir], ok[1][dir]) << dir;
        EXPECT_EQ(result[0][dir], result[1][dir]) << dir;
        EXPECT_EQ(std::memcmp(out[0][dir], out[1][dir], sizeof out[0][dir]), 0) << dir;
    }
}

// The Albers inverse compares its first estimate with the point's northing
// and returns the northing itself as the latitude where the two lie within
// the tolerance (northings of about 0.3998 m on this cone): the vector path
// keeps that, and the rest of the sweep agrees with the per-point path.
TEST(VectorPathGuards, AlbersFirstEstimateAgainstTheNorthing) {
    const PROJDATA rec = Secant(Record(PT_ALBERS, ELLIPSOID_GRS80, 23, -96, 1), 29.5, 45.5);
    std::vector<PROJPOINT> xy;
    for (int i = 0; i < 200000; ++i)
        xy.push_back({(i % 7) * 1e-3, 0.39 + i * 1e-7});
    const Outcome iv = Convert(rec, xy, false, true, false);
    const Outcome is = Convert(rec, xy, false, false, false);
    Compare(iv, is, 1e-12, "albers near its northing");
    int kept = 0;
    for (size_t i = 0; i < xy.size(); ++i)
        kept += std::fabs(is.points[i].y - xy[i].y * 180 / M_PI) < 1e-9;
    EXPECT_GT(kept, 0); // the sweep reaches the quirk
}

// Standard parallels symmetric about the equator, written into a handle's
// record (the validation refuses them at creation): n is zero, and the call
// stops with the assertion report at its first plottable point, the points
// before it converted, on either path.
TEST(VectorPathGuards, AlbersZeroConeStopsTheCallOnEitherPath) {
    PROJPOINT out[2][2][4];
    int ok[2][2];
    for (int path = 0; path < 2; ++path) {
        SetVectorPath(path == 0);
        PROJDATA rec = Secant(Record(PT_ALBERS, ELLIPSOID_GRS80, 23, -96, 1), 29.5, 45.5);
        void* h = ProjCreateProjection(&rec);
        ASSERT_NE(h, nullptr);
        static_cast<PROJDATA*>(h)->Lat2 = -29.5;
        PROJPOINT ll[4] = {{kMarker, kMarker}, {-100, 40}, {-90, 30}, {-80, 20}};
        PROJPOINT xy[4] = {{kMarker, kMarker}, {1e5, 2e5}, {3e5, -4e5}, {0, 1e6}};
        ok[path][0] = ProjForward(h, ll, 4);
        ok[path][1] = ProjInverse(h, xy, 4);
        std::memcpy(out[path][0], ll, sizeof ll);
        std::memcpy(out[path][1], xy, sizeof xy);
        ProjDeleteProjection(h);
    }
    SetVectorPath(true);
    for (int dir = 0; dir < 2; ++dir) {
        EXPECT_FALSE(ok[0][dir]) << dir;
        EXPECT_EQ(ok[0][dir], ok[1][dir]) << dir;
        EXPECT_EQ(std::memcmp(out[0][dir], out[1][dir], sizeof out[0][dir]), 0) << dir;
    }
}

// The engine's passes around the module (folding, radians, the post-scan,
// false origin and scale) give the same bits either way: modules without a
// vector loop (the transverse Mercator sphere, Miller) on points that need
// folding, hostile values and values near overflow, forward and inverse.
TEST(VectorPathPasses, BitForBitAsPerPointPasses) {
    PROJDATA sphere = With(Record(PT_TRANSVERSE_MERCATOR, ELLIPSOID_SPHERE_6370997, 10, 30, 0.9999),
                           300000, -2e6, 0.3048);
    PROJDATA plain = Record(PT_MILLER, ELLIPSOID_SPHERE_6370997, 0, 0, 1);
    const Case wide{"wide", sphere, -350, 350, -89, 89};
    std::vector<PROJPOINT> pts = RandomPoints(wide, 20000, 5);
    const PROJPOINT extra[] = {
        {359.99999999999994, 90}, {-360, -90}, {1e301, 1}, {1, -1e301}, {-1e308, 1e308},
        {kMarker, kMarker},       {720, 0},    {0, 180},   {-0.0, -0.0}};
    for (size_t i = 0; i < pts.size(); i += 13)
        pts[i] = extra[(i / 13) % (sizeof extra / sizeof extra[0])];
    for (const PROJDATA& r : {sphere, plain})
        for (int run = 0; run < 4; ++run) {
            const bool forward = run < 2, chunked = run % 2;
            std::vector<PROJPOINT> in = pts;
            if (!forward) // map points: metres of the same spread
                for (PROJPOINT& p : in)
                    if (std::isfinite(p.x) && std::fabs(p.x) < 1e4) p.x *= 1e4, p.y *= 1e4;
            const Outcome v = Convert(r, in, forward, true, chunked);
            const Outcome s = Convert(r, in, forward, false, chunked);
            EXPECT_EQ(v.ok, s.ok);
            EXPECT_EQ(v.result, s.result);
            EXPECT_EQ(std::memcmp(v.points.data(), s.points.data(), in.size() * sizeof(PROJPOINT)),
                      0)
                << (forward ? "forward" : "inverse");
        }
}

// A handle prepares its working copy and the module's constants once; a host
// that writes into the record through the handle between calls still gets
// the conversion of the record as it now stands, and the handle's bytes are
// still the record.
TEST(PreparedHandle, FollowsTheRecordAsItStands) {
    PROJDATA first = kCases[0].record;
    void* h = ProjCreateProjection(&first);
    ASSERT_NE(h, nullptr);
    PROJDATA info;
    ASSERT_TRUE(ProjGetHandleInfo(h, &info));
    EXPECT_EQ(std::memcmp(&info, h, sizeof(PROJDATA)), 0);
    PROJPOINT a[3] = {{15.5, 45}, {14, -10}, {16, 60}};
    ASSERT_TRUE(ProjForward(h, a, 3));
    struct Change {
        const char* what;
        void (*apply)(PROJDATA&);
    };
    const Change changes[] = {
        {"central meridian", [](PROJDATA& d) { d.Lon0 = 21; }},
        {"scale factor", [](PROJDATA& d) { d.K0 = 0.9999; }},
        {"false origin and scale", [](PROJDATA& d) { d.xOrg = 1e5, d.Scale = 2; }},
        {"ellipsoid", [](PROJDATA& d) { d.MajorRadius = 6378388, d.Flattening = 1 / 297.0; }},
        {"type", [](PROJDATA& d) { d.Type = PT_TRANSVERSE_MERCATOR, d.Lat0 = 30; }},
    };
    for (const Change& c : changes) {
        c.apply(*static_cast<PROJDATA*>(h));
        // The reference: another handle given the same bytes before its first call.
        PROJDATA other = kCases[3].record;
        void* g = ProjCreateProjection(&other);
        ASSERT_NE(g, nullptr) << c.what;
        std::memcpy(g, h, sizeof(PROJDATA));
        PROJPOINT b[3] = {{15.5, 45}, {14, -10}, {16, 60}};
        PROJPOINT e[3] = {{15.5, 45}, {14, -10}, {16, 60}};
        ASSERT_TRUE(ProjForward(h, b, 3));
        ASSERT_TRUE(ProjForward(g, e, 3));
        EXPECT_EQ(std::memcmp(b, e, sizeof b), 0) << c.what;
        EXPECT_NE(std::memcmp(b, a, sizeof b), 0) << c.what;
        ASSERT_TRUE(ProjInverse(h, b, 3));
        ASSERT_TRUE(ProjInverse(g, e, 3));
        EXPECT_EQ(std::memcmp(b, e, sizeof b), 0) << c.what;
        ProjDeleteProjection(g);
    }
    ProjDeleteProjection(h);
}

// Conversions on separate handles from several threads with the vector path
// (the instruction set is chosen by whichever call comes first).
TEST(VectorPathThreads, SeparateHandlesAgree) {
    const Case& c = kCases[0];
    const std::vector<PROJPOINT> pts = RandomPoints(c, 4096, 7);
    const Outcome ref = Convert(c.record, pts, true, true, false);
    std::vector<std::vector<PROJPOINT>> out(4, pts);
    std::vector<std::thread> threads;
    for (auto& o : out)
        threads.emplace_back([&c, &o] {
            PROJDATA copy = c.record;
            void* h = ProjCreateProjection(&copy);
            ProjForward(h, o.data(), static_cast<int>(o.size()));
            ProjDeleteProjection(h);
        });
    for (std::thread& t : threads)
        t.join();
    for (const auto& o : out)
        EXPECT_EQ(std::memcmp(o.data(), ref.points.data(), o.size() * sizeof(PROJPOINT)), 0);
}

} // namespace
