// Projection handles end to end: creation, the conversion pipeline around the
// modules, result codes, domain and split tests, and the wrapper class.
#include "kvproj/projection.h"

#include "TestSupport.h"
#include "kvproj/ellipsoid.h"
#include "kvproj/projcheck.h"
#include "kvproj/stateplane.h"

#include <gtest/gtest.h>

#include <cfloat>
#include <cstddef>
#include <cmath>
#include <cstring>
#include <limits>
#include <thread>

using namespace KVProj;

namespace {

constexpr double kMarker = KVPROJ_UNPLOTTABLE;
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kInf = std::numeric_limits<double>::infinity();
constexpr double kFtUS = 1200.0 / 3937.0; // metres per US survey foot

PROJDATA Record(ProjType type, EllipsoidType ellipsoid = ELLIPSOID_WGS84) {
    PROJDATA d;
    std::memset(&d, 0, sizeof(d));
    d.Type = type, d.Scale = 1.0, d.Ellipsoid = ellipsoid, d.Zone = STATEZONE_NONE;
    return d;
}
PROJDATA User(ProjType type, double a, double rf) {
    PROJDATA d = Record(type, ELLIPSOID_USER_DEFINED);
    d.MajorRadius = a, d.Flattening = rf == 0.0 ? 0.0 : 1.0 / rf;
    return d;
}
PROJDATA Utm(double lon0, bool south) {
    PROJDATA d = Record(PT_UTM);
    d.Lon0 = lon0, d.bSouth = south;
    return d;
}
PROJDATA Zone(ProjType system, StateZoneType zone, EllipsoidType e = ELLIPSOID_WGS84) {
    PROJDATA d = Record(system, e);
    d.Zone = zone;
    return d;
}
PROJDATA Origin(PROJDATA d, double lat0, double lon0, double k0, double x0, double y0,
                double lat1 = 0, double lat2 = 0, double scale = 1) {
    d.Lat0 = lat0, d.Lon0 = lon0, d.K0 = k0, d.xOrg = x0, d.yOrg = y0;
    d.Lat1 = lat1, d.Lat2 = lat2, d.Scale = scale;
    return d;
}

// A handle deleted at the end of the scope; `data` is the caller's record after creation.
struct Handle {
    explicit Handle(PROJDATA d) : data(d), h(ProjCreateProjection(&data)) {}
    ~Handle() { ProjDeleteProjection(h); }
    Handle(const Handle&) = delete;
    Handle& operator=(const Handle&) = delete;
    PROJDATA data;
    void* h;
};

PROJPOINT P(double x, double y) {
    return PROJPOINT{x, y};
}
bool IsMarker(const PROJPOINT& p) {
    return p.x == kMarker && p.y == kMarker;
}

TEST(ProjCreate, DefaultsGoIntoTheCallersRecordRepairsOnlyIntoTheHandle) {
    PROJDATA d = Utm(15.0, true);
    d.xOrg = 1.0, d.yOrg = 2.0;
    Handle south(d);
    ASSERT_NE(south.h, nullptr);
    EXPECT_TRUE(south.data.K0 == 0.9996 && south.data.xOrg == 500000.0);
    EXPECT_EQ(+south.data.yOrg, 10000000.0);
    d = Utm(15.0, false);
    d.yOrg = 123.0, d.K0 = 0.9;
    Handle north(d);
    EXPECT_TRUE(north.data.yOrg == 0.0 && north.data.K0 == 0.9); // a given K0 is kept

    d = Record(PT_TRANSVERSE_MERCATOR);
    d.MajorRadius = 1.0, d.Flattening = 0.5, d.Scale = 0.0, d.K0 = 0.0;
    Handle tm(d);
    ASSERT_NE(tm.h, nullptr);
    EXPECT_EQ(+tm.data.MajorRadius, 6378137.0); // the ellipsoid is resolved: EPSG 7030
    EXPECT_NEAR(1.0 / tm.data.Flattening, 298.257223563, 1e-9);
    EXPECT_EQ(+tm.data.Scale, 0.0);
    PROJDATA info;
    ASSERT_TRUE(ProjGetHandleInfo(tm.h, &info));
    EXPECT_TRUE(info.Scale == 1.0 && info.K0 == 1.0);
}

TEST(ProjCreate, Failures) {
    kvtest::ReportRecorder host;
    EXPECT_EQ(ProjCreateProjection(nullptr), nullptr);
    PROJDATA badType = Record(static_cast<ProjType>(29));
    EXPECT_EQ(ProjCreateProjection(&badType), nullptr);
    EXPECT_EQ(host.Count(20230), 1); // validation reports to the host
    // Validation lets a NaN flattening through; creation must not.
    PROJDATA nanFlat = User(PT_TRANSVERSE_MERCATOR, 6378137.0, 298.0);
    nanFlat.Flattening = kNaN;
    EXPECT_EQ(ProjCreateProjection(&nanFlat), nullptr);
    EXPECT_EQ(host.Count(20200), 1);
    // State plane records skip validation's ellipsoid tests; creation still checks it.
    PROJDATA sp = Zone(PT_STATE_PLANE_83, SZ_ALABAMA_EAST, ELLIPSOID_USER_DEFINED);
    EXPECT_EQ(ProjCreateProjection(&sp), nullptr);
    EXPECT_EQ(host.Count(20200), 2);
    sp = Zone(PT_STATE_PLANE_83, SZ_GUAM_ISLAND); // not a NAD 83 zone
    EXPECT_EQ(ProjCreateProjection(&sp), nullptr);
    EXPECT_EQ(host.Count(20252), 1);
}

TEST(ProjCreate, GetHandleInfoCopiesTheWholeRecord) {
    PROJDATA d = Record(PT_MERCATOR);
    d.K0 = 1.0, d.bWrapLon = true;
    for (int i = 0; i < 255; ++i)
        d.reserved[i] = static_cast<unsigned char>(i ^ 0x5a);
    Handle h(d);
    PROJDATA info;
    std::memset(&info, 0xff, sizeof(info));
    ASSERT_TRUE(ProjGetHandleInfo(h.h, &info));
    EXPECT_EQ(std::memcmp(&info, &h.data, sizeof(PROJDATA)), 0);
    EXPECT_FALSE(ProjGetHandleInfo(nullptr, &info) || ProjGetHandleInfo(h.h, nullptr));
    EXPECT_EQ(ProjResult(nullptr), 0);
    ProjDeleteProjection(nullptr); // ignored
}

TEST(ProjPipeline, BadArguments) {
    kvtest::ReportRecorder host;
    PROJPOINT p = P(15.0, 45.0);
    EXPECT_FALSE(ProjForward(nullptr, &p, 1) || ProjInverse(nullptr, &p, 1));
    EXPECT_TRUE(host.reports.empty()); // a null handle is not reported
    Handle h(Utm(15.0, false));
    for (auto c : {std::make_pair(static_cast<PROJPOINT*>(nullptr), 1), std::make_pair(&p, 0),
                   std::make_pair(&p, -1), std::make_pair(&p, INT32_MIN)}) {
        host.reports.clear();
        EXPECT_FALSE(ProjForward(h.h, c.first, c.second));
        EXPECT_FALSE(ProjInverse(h.h, c.first, c.second));
        EXPECT_EQ(host.Count(20200), 2);
    }
    EXPECT_TRUE(p.x == 15.0 && p.y == 45.0); // untouched
}

TEST(ProjPipeline, UnprojectedPassesPointsThroughUndefinedFails) {
    PROJDATA d = Record(PT_UNPROJECTED);
    d.Scale = 2.0, d.xOrg = 100.0;
    Handle h(d);
    PROJPOINT pts[] = {P(370.0, 100.0), P(-1000.0, 5.0), P(kNaN, 1.0)};
    ASSERT_TRUE(ProjForward(h.h, pts, 3));
    EXPECT_TRUE(pts[0].x == 370.0 && pts[0].y == 100.0 && pts[1].x == -1000.0);
    EXPECT_TRUE(IsMarker(pts[2]));
    EXPECT_EQ(ProjResult(h.h), 1);
    ASSERT_TRUE(ProjInverse(h.h, pts, 1));
    EXPECT_EQ(pts[0].x, 370.0);
    EXPECT_EQ(ProjResult(h.h), 0);

    Handle undefined(Record(PT_UNDEFINED)); // 999 passes validation, fails after the pre-scan
    ASSERT_NE(undefined.h, nullptr);
    kvtest::ReportRecorder host;
    PROJPOINT p[] = {P(1.0, 2.0), P(kNaN, 2.0)};
    EXPECT_FALSE(ProjForward(undefined.h, p, 2));
    EXPECT_EQ(host.Count(20200), 1);
    EXPECT_TRUE(p[0].x == 1.0 && IsMarker(p[1]));
    EXPECT_EQ(ProjResult(undefined.h), 1);
}

TEST(ProjPipeline, MarkersNonFiniteAndHugeInput) {
    Handle h(Utm(15.0, false));
    PROJPOINT pts[] = {P(15.0, kNaN), P(16.5, 45.0), P(kInf, 10.0), P(12.0, -kInf),
                       P(kMarker, kMarker)};
    ASSERT_TRUE(ProjForward(h.h, pts, 5));
    for (int i : {0, 2, 3, 4})
        EXPECT_TRUE(IsMarker(pts[i])) << i;
    EXPECT_NEAR(pts[1].x, 618222.9659, 1e-3); // cs2cs +proj=utm +zone=33 +ellps=WGS84
    EXPECT_NEAR(pts[1].y, 4984044.7985, 1e-3);
    EXPECT_EQ(ProjResult(h.h), 1);
    PROJPOINT ok[] = {P(kMarker, kMarker), P(16.5, 45.0)}; // markers pass without counting
    ASSERT_TRUE(ProjForward(h.h, ok, 2));
    EXPECT_EQ(ProjResult(h.h), 0); // every call overwrites the result code
    PROJPOINT inv[] = {P(kNaN, 0.0), P(618222.9659, 4984044.7985)};
    ASSERT_TRUE(ProjInverse(h.h, inv, 2));
    EXPECT_TRUE(IsMarker(inv[0]));
    EXPECT_EQ(ProjResult(h.h), 0); // deliberate: only the module and post-scan count
    EXPECT_TRUE(std::fabs(inv[1].x - 16.5) < 1e-8 && std::fabs(inv[1].y - 45.0) < 1e-8);

    PROJPOINT huge[] = {P(1e308, 10.0), P(10.0, 1e308), P(-DBL_MAX, DBL_MAX / 2)};
    ASSERT_TRUE(ProjForward(h.h, huge, 3)); // finite: folded like any angle
    for (const PROJPOINT& p : huge)
        EXPECT_TRUE(std::isfinite(p.x) && std::isfinite(p.y));
    PROJPOINT hugeInv[] = {P(1e308, 1e308), P(-1e308, 0.0)};
    ASSERT_TRUE(ProjInverse(h.h, hugeInv, 2));
    for (const PROJPOINT& p : hugeInv)
        EXPECT_TRUE(IsMarker(p) || (std::fabs(p.x) <= 360.0 && std::fabs(p.y) <= 90.0));
}

// Longitudes fold by the remainder of 360 (sign of the value); latitudes fold back
// over the poles without shifting the longitude.
TEST(ProjPipeline, LongitudeAndLatitudeRules) {
    Handle h(Utm(15.0, false));
    const double rows[][4] = {{370, 40, 10, 40},   {-370, 40, -10, 40}, {15, 100, 15, 80},
                              {15, -100, 15, -80}, {735, 190, 15, 10},  {20, 270, 20, 90}};
    for (const auto& r : rows) {
        PROJPOINT a[] = {P(r[0], r[1])}, b[] = {P(r[2], r[3])};
        ASSERT_TRUE(ProjForward(h.h, a, 1) && ProjForward(h.h, b, 1));
        EXPECT_TRUE(a[0].x == b[0].x && a[0].y == b[0].y) << r[0] << " " << r[1];
    }
}

// Known values through the whole pipeline, false origin and scale included (the
// Texas row only passes with the origin added before the scale). inverseTol: the
// ellipsoidal Mercator inverse is only as good as its 2.71828 base. Snyder's
// examples are checked per module.
TEST(ProjPipeline, KnownValues) {
    const PROJDATA c66 = Record(PT_UNPROJECTED, ELLIPSOID_CLARKE_1866);
    auto on = [](PROJDATA d, ProjType t) { return d.Type = t, d; };
    const struct {
        const char* source;
        PROJDATA data;
        double lon, lat, x, y, tol, inverseTol;
    } rows[] = {
        {"cs2cs +proj=utm +zone=33 +ellps=WGS84", Utm(15, false), 12.0, 60.5, 335237.1431,
         6710852.7077, 1e-3, 1e-8},
        {"cs2cs utm zone 33 +south", Utm(15, true), 20.5, -60.0, 806541.3298, 3335832.3210, 1e-3,
         1e-6},
        // EPSG guidance note 7-2 (cs2cs agrees): British National Grid; NAD27 Texas South
        // Central in US feet through Scale; Pulkovo 1942 Mercator 2SP.
        {"EPSG GN 7-2 TM",
         Origin(User(PT_TRANSVERSE_MERCATOR, 6377563.396, 299.3249646), 49, -2, 0.9996012717,
                400000, -100000),
         0.5, 50.5, 577274.99, 69740.50, 0.01, 1e-7},
        {"EPSG GN 7-2 LCC 2SP",
         Origin(on(c66, PT_LAMBERT_CONIC), 27 + 50 / 60.0, -99, 0, 2000000 * kFtUS, 0,
                28 + 23 / 60.0, 30 + 17 / 60.0, 1 / kFtUS),
         -96.0, 28.5, 2963503.91, 254759.80, 0.01, 1e-7},
        {"EPSG GN 7-2 Mercator 2SP", Origin(User(PT_MERCATOR, 6378245.0, 298.3), 42, 51, 0, 0, 0),
         53.0, 53.0, 165704.29, 5171848.07, 0.01, 1e-4},
        {"cs2cs +proj=merc +lon_0=-180 +R=6370997",
         Origin(Record(PT_MERCATOR, ELLIPSOID_SPHERE_6370997), 0, -180, 0, 0, 0), -75.0, 35.0,
         11675461.7999, 4159219.8909, 1e-3, 1e-8},
    };
    for (const auto& r : rows) {
        SCOPED_TRACE(r.source);
        Handle h(r.data);
        ASSERT_NE(h.h, nullptr);
        PROJPOINT p[] = {P(r.lon, r.lat)};
        ASSERT_TRUE(ProjForward(h.h, p, 1));
        EXPECT_NEAR(p[0].x, r.x, r.tol);
        EXPECT_NEAR(p[0].y, r.y, r.tol);
        ASSERT_TRUE(ProjInverse(h.h, p, 1));
        EXPECT_NEAR(p[0].x, r.lon, r.inverseTol);
        EXPECT_NEAR(p[0].y, r.lat, r.inverseTol);
        EXPECT_EQ(ProjResult(h.h), 0);
    }
}

// A C host may store any byte in a flag: 2, 0x80 and 0xFF must act as true,
// through validation, creation and both directions, and the handle keeps the
// host's bytes. Under UBSan a flag loaded as a bool with such a byte fails.
TEST(ProjPipeline, HostFlagBytesOtherThanOneCountAsTrue) {
    PROJDATA hotine = Origin(Record(PT_HOTINE), 40, 0, 1, 0, 0, 0, 0);
    hotine.Lon1 = -75, hotine.bUseAlpha = true, hotine.Alpha = 30;
    hotine.bRotate = true, hotine.bUOffset = true;
    PROJDATA sinus = Origin(Record(PT_SINUSOIDAL), 0, 20, 1, 0, 0);
    sinus.bWrapLon = true;
    PROJDATA polycon = Origin(Record(PT_POLYCONIC), 0, 20, 1, 0, 0);
    polycon.bWrapLon = true;
    const struct {
        const char* what;
        PROJDATA data;
        size_t flag; // offset of the flag byte in PROJDATA
        double lon, lat;
    } rows[] = {
        {"UTM south", Utm(15, true), offsetof(PROJDATA, bSouth), 20.5, -60.0},
        {"Hotine alpha", hotine, offsetof(PROJDATA, bUseAlpha), -74.0, 41.0},
        {"Hotine rotate", hotine, offsetof(PROJDATA, bRotate), -74.0, 41.0},
        {"Hotine u offset", hotine, offsetof(PROJDATA, bUOffset), -74.0, 41.0},
        {"Sinusoidal wrap", sinus, offsetof(PROJDATA, bWrapLon), 210.0, 35.0},
        {"Polyconic wrap", polycon, offsetof(PROJDATA, bWrapLon), 210.0, 35.0},
    };
    for (const auto& r : rows) {
        Handle one(r.data);
        ASSERT_NE(one.h, nullptr) << r.what;
        PROJPOINT expected[] = {P(r.lon, r.lat)};
        ASSERT_TRUE(ProjForward(one.h, expected, 1));
        for (const unsigned char byte : {0x02, 0x80, 0xFF}) {
            SCOPED_TRACE(testing::Message() << r.what << " byte " << int(byte));
            PROJDATA d = r.data;
            std::memcpy(reinterpret_cast<unsigned char*>(&d) + r.flag, &byte, 1);
            EXPECT_EQ(ProjCheckParams(&d, nullptr, false), 0);
            Handle h(d);
            ASSERT_NE(h.h, nullptr);
            PROJPOINT p[] = {P(r.lon, r.lat)};
            ASSERT_TRUE(ProjForward(h.h, p, 1));
            EXPECT_EQ(p[0].x, expected[0].x);
            EXPECT_EQ(p[0].y, expected[0].y);
            ASSERT_TRUE(ProjInverse(h.h, p, 1));
            EXPECT_EQ(ProjResult(h.h), 0);
            PROJDATA info;
            ASSERT_TRUE(ProjGetHandleInfo(h.h, &info));
            EXPECT_EQ(reinterpret_cast<const unsigned char*>(&info)[r.flag], byte);
        }
    }
    // Hotine's zero-azimuth refusal reads the flag too (result: the Alpha id).
    PROJDATA zero = hotine;
    zero.Alpha = 0;
    const unsigned char ff = 0xFF;
    std::memcpy(&zero.bUseAlpha, &ff, 1);
    EXPECT_EQ(ProjCheckParams(&zero, nullptr, false), PP_ALPHA);
}

// cs2cs (PROJ 9) from EPSG:4269 (NAD 83, metres) or EPSG:4267 (NAD 27, US survey
// feet converted to metres) to the zone's projected CRS named per row. The zone's
// own ellipsoid is used whatever the record names; the record's Scale applies.
TEST(ProjStatePlane, ZonesAgreeWithTheOracle) {
    const struct {
        int system, zone, ellipsoid; // system 9: NAD 27, 10: NAD 83
        double scale, lon, lat, x, y;
    } rows[] = {
        // clang-format off
        {10, 0, 48, 2, -85.1333, 32.0, 266146.4303, 166518.1878}, // Alabama East, EPSG:26929
        {10, 11, 47, 1, -176.8, 53.1333, 946464.3109, 237665.7942}, // Alaska 10, EPSG:26940
        {10, 59, 47, 1, -72.3, 42.5, 134243.1900, 916914.9529}, // Massachusetts, EPSG:26986
        {10, 65, 47, 1, -85.1667, 45.2417, 5937191.3268, 214220.5455}, // Michigan C., EPSG:26989
        {9, 0, 34, 2, -85.1333, 32.0, 218548.1460, 166512.5617}, // Alabama East, EPSG:26729
        {9, 117, 47, 1, -98.3, 33.35, 535142.7773, 186943.3557}, // Texas N Central, EPSG:32038
        {9, 65, 47, 1, -85.1333, 45.2417, 546793.5169, 214226.6722}, // Michigan Central, EPSG:6201
        // clang-format on
    };
    for (const auto& r : rows) {
        SCOPED_TRACE("system " + std::to_string(r.system) + " zone " + std::to_string(r.zone));
        PROJDATA d = Zone(static_cast<ProjType>(r.system), static_cast<StateZoneType>(r.zone),
                          static_cast<EllipsoidType>(r.ellipsoid));
        d.Scale = r.scale;
        Handle h(d);
        ASSERT_NE(h.h, nullptr);
        PROJPOINT p[] = {P(r.lon, r.lat)};
        ASSERT_TRUE(ProjForward(h.h, p, 1));
        EXPECT_NEAR(p[0].x, r.scale * r.x, r.scale * 1e-3);
        EXPECT_NEAR(p[0].y, r.scale * r.y, r.scale * 1e-3);
        ASSERT_TRUE(ProjInverse(h.h, p, 1));
        EXPECT_NEAR(p[0].x, r.lon, 1e-7); // the inverse series hold to about 1e-8 degree
        EXPECT_NEAR(p[0].y, r.lat, 1e-7);
    }
}

bool In(void* h, double lon, double lat) {
    PROJPOINT p = P(lon, lat);
    return ProjLLInProjection(h, &p);
}

TEST(ProjDomain, PointsArraysSplitsAndTheZoneZeroQuirk) {
    Handle tm(Utm(15.0, false)); // band of 45 degrees either side
    const double rows[][3] = {{15, 0, 1},    {59.9, 89, 1}, {60, 0, 0},    {-30, 0, 0}, {15, 90, 1},
                              {15, 90.5, 0}, {kNaN, 0, 0},  {15, kNaN, 0}, {375, 0, 0}};
    for (const auto& r : rows)
        EXPECT_EQ(In(tm.h, r[0], r[1]), r[2] == 1) << r[0] << " " << r[1];
    PROJPOINT p = P(0.0, 0.0);
    EXPECT_FALSE(ProjLLInProjection(nullptr, &p) || ProjLLInProjection(tm.h, nullptr));
    Handle m(Record(PT_MERCATOR));
    EXPECT_FALSE(In(m.h, 0.0, 90.0) || In(m.h, 180.0, 0.0));
    EXPECT_TRUE(In(m.h, -179.9, 89.9));

    // The array form answers true when no point is inside.
    PROJPOINT none[] = {P(100.0, 0.0), P(-100.0, 0.0)}, one[] = {P(100.0, 0.0), P(15.0, 0.0)};
    EXPECT_TRUE(ProjLLInProjection(tm.h, 2, none));
    EXPECT_FALSE(ProjLLInProjection(tm.h, 2, one));
    EXPECT_TRUE(ProjLLInProjection(tm.h, 0, one) && ProjLLInProjection(tm.h, -3, one));

    // State plane handles answer for zone 0 (Alabama East, TM about 85d50'W), even
    // for Michigan Central, a Lambert zone.
    Handle sp(Zone(PT_STATE_PLANE_83, SZ_MICHIGAN_CENTRAL));
    EXPECT_TRUE(In(sp.h, -41.0, 0.0));
    EXPECT_FALSE(In(sp.h, -40.0, 0.0));
    PROJPOINT ring[] = {P(90.0, 0.0), P(100.0, 0.0)};
    double dx = 7.0, dy = 7.0;
    EXPECT_TRUE(ProjLLOffsetSplitObject(sp.h, ring, 2, &dx, &dy));
    EXPECT_TRUE(dx == -360.0 && dy == 0.0); // 100 >= -85.833 + 180
    EXPECT_FALSE(ProjLLOffsetSplitObject(nullptr, ring, 2, &dx, &dy) ||
                 ProjLLOffsetSplitObject(sp.h, nullptr, 2, &dx, &dy) ||
                 ProjLLOffsetSplitObject(sp.h, ring, 2, nullptr, &dy) ||
                 ProjLLOffsetSplitObject(sp.h, ring, 2, &dx, nullptr));
    Handle tm0(Record(PT_TRANSVERSE_MERCATOR));
    PROJPOINT across[] = {P(170, 0), P(190, 0)};
    EXPECT_TRUE(ProjLLOffsetSplitObject(tm0.h, across, 2, &dx, &dy)); // reaches Lon0 + 180
    EXPECT_TRUE(dx == -360.0 && dy == 0.0);

    kvtest::ReportRecorder host;
    Handle geo(Record(PT_UNPROJECTED));
    EXPECT_FALSE(In(geo.h, 0.0, 0.0)); // no domain test for type 0
    EXPECT_EQ(host.Count(20200), 1);
}

TEST(ProjPreclip, WrappersRefuseBadArguments) {
    Handle h(Utm(15.0, false));
    PROJPOINT pts[] = {P(0, 0), P(1, 1), P(1, 0)};
    int counts[] = {3};
    auto line = [](void*, int, const PROJPOINT*) { return true; };
    auto poly = [](void*, int, const int*, const PROJPOINT*) { return true; };
    kvtest::ReportRecorder host;
    EXPECT_FALSE(ProjLLPreclipPolyline(nullptr, nullptr, 3, pts, line));
    EXPECT_FALSE(ProjLLPreclipPolyline(h.h, nullptr, 1, pts, line));
    EXPECT_FALSE(ProjLLPreclipPolyline(h.h, nullptr, 3, nullptr, line));
    EXPECT_FALSE(ProjLLPreclipPolyline(h.h, nullptr, 3, pts, nullptr));
    EXPECT_FALSE(ProjLLPreclipPolygon(nullptr, nullptr, 1, counts, pts, poly, line));
    EXPECT_FALSE(ProjLLPreclipPolygon(h.h, nullptr, 0, counts, pts, poly, line));
    EXPECT_FALSE(ProjLLPreclipPolygon(h.h, nullptr, 1, nullptr, pts, poly, line));
    EXPECT_FALSE(ProjLLPreclipPolygon(h.h, nullptr, 1, counts, nullptr, poly, line));
    EXPECT_FALSE(ProjLLPreclipPolygon(h.h, nullptr, 1, counts, pts, nullptr, line));
    EXPECT_EQ(host.Count(20205), 9);
    EXPECT_TRUE(ProjLLPreclipPolyline(h.h, nullptr, 3, pts, line));
    EXPECT_TRUE(ProjLLPreclipPolygon(h.h, nullptr, 1, counts, pts, poly, nullptr));
}

TEST(ProjTrace, LinesHostsAndSupportStaffRead) {
    kvtest::LogCapture log("kvproj-trace");
    PROJDATA d = Record(PT_TRANSVERSE_MERCATOR);
    d.Scale = 0.0;
    void* h = ProjCreateProjection(&d);
    PROJPOINT p[] = {P(kNaN, 1.0)};
    ProjForward(h, p, 1);
    ProjForward(nullptr, p, 1);
    ProjDeleteProjection(h);
    PROJDATA bad = Record(PT_TRANSVERSE_MERCATOR);
    bad.Lon0 = 400.0;
    ProjCreateProjection(&bad);
    const std::string text = log.Text();
    for (const char* line :
         {"Warning:  Scale was zero.  Setting to one.\r\n",
          "Warning:  K0 was zero.  Setting to one.\r\n",
          "ProjCreateProjection:  Returning HPROJ of ",
          "  One or more unplottable points generated.\r\n", "NULL hProj pointer!\r\n",
          "ProjDeleteProjection(hProj=",
          "Invalid parameter error:  \"Central longitude (Lon0) parameter was outside the range of "
          "-360 to +360 degrees\"\r\n"})
        EXPECT_TRUE(kvtest::Contains(text, line)) << line;
}

TEST(CProjector, CopiesAndShares) {
    PROJDATA d = Utm(15.0, false);
    CProjector a(&d), copy(a); // a copy gets a fresh handle with the same parameters
    ASSERT_TRUE(a.Handle() && copy.Handle());
    EXPECT_NE(copy.Handle(), a.Handle());
    PROJDATA ia, ic;
    ASSERT_TRUE(a.GetInfo(&ia) && copy.GetInfo(&ic));
    EXPECT_EQ(std::memcmp(&ia, &ic, sizeof(PROJDATA)), 0);
    CProjector shared;
    EXPECT_EQ(shared.Handle(), nullptr);
    shared = a; // shallow: the same handle block
    EXPECT_EQ(shared.Handle(), a.Handle());
    PROJPOINT p[] = {P(15.0, kNaN)};
    ASSERT_TRUE(shared.Forward(p, 1));
    EXPECT_EQ(a.Result(), 1); // one result code, seen through both
    shared.Release();         // only one owner may delete the block
    CProjector empty, emptyCopy(empty);
    EXPECT_EQ(emptyCopy.Handle(), nullptr);
    EXPECT_FALSE(empty.Forward(p, 1));
    EXPECT_EQ(empty.Result(), 0);
    PROJDATA bad = Record(static_cast<ProjType>(-1));
    EXPECT_FALSE(copy.Create(&bad));
    EXPECT_EQ(copy.Handle(), nullptr);
    EXPECT_TRUE(copy.Create(&d));
    PROJPOINT q[] = {P(16.5, 45.0)};
    ASSERT_TRUE(copy.Forward(q, 1) && copy.Inverse(q, 1));
    EXPECT_NEAR(q[0].x, 16.5, 1e-9);
    copy.Delete();
    EXPECT_EQ(copy.Handle(), nullptr);
}

TEST(ProjThreads, SeparateHandlesConvertConcurrently) {
    const int n = 20000;
    std::vector<PROJPOINT> serial(n);
    for (int i = 0; i < n; ++i)
        serial[i] = P(10.0 + (i % 1000) * 0.01, -60.0 + (i % 1200) * 0.1);
    std::vector<std::vector<PROJPOINT>> results(4, serial);
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t)
        threads.emplace_back([&, t] {
            Handle h(Utm(15.0, false));
            ProjForward(h.h, results[t].data(), n);
        });
    Handle h(Utm(15.0, false));
    ASSERT_TRUE(ProjForward(h.h, serial.data(), n));
    for (std::thread& t : threads)
        t.join();
    for (const auto& r : results)
        EXPECT_EQ(std::memcmp(r.data(), serial.data(), n * sizeof(PROJPOINT)), 0);
}

} // namespace
