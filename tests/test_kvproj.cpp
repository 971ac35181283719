// Projection handles end to end: creation, the conversion pipeline around the
// modules, result codes, domain and split tests, and the wrapper classes.
#include "kvproj/projection.h"

#include "kvproj/ellipsoid.h"
#include "kvproj/projcheck.h"
#include "kvproj/stateplane.h"
#include "kvlibw/kvlibw.h"
#include "frame/Diag.h"
#include "projections/ProjModule.h"

#include <gtest/gtest.h>

#include <cfloat>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <limits>
#include <sstream>
#include <string>
#include <thread>
#include <unistd.h>
#include <vector>

using namespace KVProj;

namespace {

constexpr double kMarker = KVPROJ_UNPLOTTABLE;
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kInf = std::numeric_limits<double>::infinity();
constexpr double kFtUS = 1200.0 / 3937.0; // metres per US survey foot

// Counts the host calls per message id (first call of each report only).
std::vector<int> g_reports;
int KVCALLBACK countingHost(const _KVERRINFO* info) {
    if (!(info->flags & KVERR_DETAILS)) g_reports.push_back(info->messageId);
    return 0;
}

class ProjTest : public ::testing::Test {
protected:
    void SetUp() override {
        g_reports.clear();
        KVRegisterCallerInstance(countingHost, nullptr);
    }
    void TearDown() override { KVUnregisterCallerInstance(); }
    int Reports(int id) const {
        int n = 0;
        for (int r : g_reports)
            n += r == id;
        return n;
    }
};

PROJDATA Record(ProjType type, EllipsoidType ellipsoid = ELLIPSOID_WGS84) {
    PROJDATA d;
    std::memset(&d, 0, sizeof(d));
    d.Type = type;
    d.Scale = 1.0;
    d.Ellipsoid = ellipsoid;
    d.Zone = STATEZONE_NONE;
    return d;
}

PROJDATA UserEllipsoid(ProjType type, double a, double inverseFlattening) {
    PROJDATA d = Record(type, ELLIPSOID_USER_DEFINED);
    d.MajorRadius = a;
    d.Flattening = inverseFlattening == 0.0 ? 0.0 : 1.0 / inverseFlattening;
    return d;
}

PROJDATA Utm(double lon0, bool south) {
    PROJDATA d = Record(PT_UTM);
    d.Lon0 = lon0;
    d.bSouth = south;
    return d;
}

// A handle that is deleted at the end of the scope.
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

// ---------------------------------------------------------------- creation

TEST_F(ProjTest, UtmDefaultsAreWrittenIntoTheCallersRecord) {
    PROJDATA d = Utm(15.0, true);
    d.xOrg = 1.0;
    d.yOrg = 2.0;
    void* h = ProjCreateProjection(&d);
    ASSERT_NE(h, nullptr);
    EXPECT_EQ(+d.K0, 0.9996);
    EXPECT_EQ(+d.xOrg, 500000.0);
    EXPECT_EQ(+d.yOrg, 10000000.0);
    PROJDATA info;
    ASSERT_TRUE(ProjGetHandleInfo(h, &info));
    EXPECT_EQ(+info.K0, 0.9996);
    EXPECT_EQ(+info.yOrg, 10000000.0);
    ProjDeleteProjection(h);

    PROJDATA n = Utm(15.0, false);
    n.yOrg = 123.0;
    n.K0 = 0.9;
    Handle north(n);
    ASSERT_NE(north.h, nullptr);
    EXPECT_EQ(+north.data.yOrg, 0.0);
    EXPECT_EQ(+north.data.K0, 0.9); // a given K0 is kept
}

TEST_F(ProjTest, EllipsoidIsResolvedIntoTheCallersRecord) {
    PROJDATA d = Record(PT_TRANSVERSE_MERCATOR, ELLIPSOID_WGS84);
    d.MajorRadius = 1.0;
    d.Flattening = 0.5;
    Handle h(d);
    ASSERT_NE(h.h, nullptr);
    EXPECT_EQ(+h.data.MajorRadius, 6378137.0); // EPSG 7030
    EXPECT_NEAR(1.0 / h.data.Flattening, 298.257223563, 1e-9);
}

TEST_F(ProjTest, RepairsTouchOnlyTheHandlesCopy) {
    PROJDATA d = Record(PT_TRANSVERSE_MERCATOR);
    d.Scale = 0.0;
    d.K0 = 0.0;
    Handle h(d);
    ASSERT_NE(h.h, nullptr);
    EXPECT_EQ(+h.data.Scale, 0.0);
    EXPECT_EQ(+h.data.K0, 0.0);
    PROJDATA info;
    ASSERT_TRUE(ProjGetHandleInfo(h.h, &info));
    EXPECT_EQ(+info.Scale, 1.0);
    EXPECT_EQ(+info.K0, 1.0);
}

TEST_F(ProjTest, CreationFailures) {
    EXPECT_EQ(ProjCreateProjection(nullptr), nullptr);

    PROJDATA badType = Record(static_cast<ProjType>(29));
    EXPECT_EQ(ProjCreateProjection(&badType), nullptr);
    EXPECT_EQ(Reports(20230), 1); // validation reports to the host

    // Validation lets a NaN flattening through; creation must not.
    PROJDATA nanFlat = UserEllipsoid(PT_TRANSVERSE_MERCATOR, 6378137.0, 298.0);
    nanFlat.Flattening = kNaN;
    EXPECT_EQ(ProjCreateProjection(&nanFlat), nullptr);
    EXPECT_EQ(Reports(20200), 1);

    // State plane records skip the ellipsoid tests of validation, but
    // creation still checks the record's own ellipsoid.
    PROJDATA sp = Record(PT_STATE_PLANE_83, ELLIPSOID_USER_DEFINED);
    sp.Zone = SZ_ALABAMA_EAST;
    EXPECT_EQ(ProjCreateProjection(&sp), nullptr);
    EXPECT_EQ(Reports(20200), 2);

    PROJDATA unknownZone = Record(PT_STATE_PLANE_83);
    unknownZone.Zone = SZ_GUAM_ISLAND; // not a NAD 83 zone
    EXPECT_EQ(ProjCreateProjection(&unknownZone), nullptr);
    EXPECT_EQ(Reports(20252), 1);
}

TEST_F(ProjTest, GetHandleInfoCopiesTheWholeRecord) {
    PROJDATA d = Record(PT_MERCATOR);
    d.K0 = 1.0; // nothing for creation to repair
    for (int i = 0; i < 255; ++i)
        d.reserved[i] = static_cast<unsigned char>(i ^ 0x5a);
    d.bWrapLon = true;
    Handle h(d);
    ASSERT_NE(h.h, nullptr);
    PROJDATA info;
    std::memset(&info, 0xff, sizeof(info));
    ASSERT_TRUE(ProjGetHandleInfo(h.h, &info));
    EXPECT_EQ(std::memcmp(&info, &h.data, sizeof(PROJDATA)), 0);
    EXPECT_FALSE(ProjGetHandleInfo(nullptr, &info));
    EXPECT_FALSE(ProjGetHandleInfo(h.h, nullptr));
    EXPECT_EQ(ProjResult(nullptr), 0);
    ProjDeleteProjection(nullptr); // ignored
}

// ---------------------------------------------------------------- pipeline

TEST_F(ProjTest, BadArgumentsFailAsSpecified) {
    PROJPOINT p = P(15.0, 45.0);
    g_reports.clear();
    EXPECT_FALSE(ProjForward(nullptr, &p, 1));
    EXPECT_FALSE(ProjInverse(nullptr, &p, 1));
    EXPECT_TRUE(g_reports.empty()); // a null handle is not reported

    Handle h(Utm(15.0, false));
    ASSERT_NE(h.h, nullptr);
    struct Case {
        PROJPOINT* points;
        int count;
    } cases[] = {{nullptr, 1}, {&p, 0}, {&p, -1}, {&p, INT32_MIN}};
    for (const Case& c : cases) {
        g_reports.clear();
        EXPECT_FALSE(ProjForward(h.h, c.points, c.count));
        EXPECT_FALSE(ProjInverse(h.h, c.points, c.count));
        EXPECT_EQ(Reports(20200), 2);
    }
    EXPECT_EQ(p.x, 15.0); // untouched
    EXPECT_EQ(p.y, 45.0);
}

TEST_F(ProjTest, UnprojectedPassesPointsThrough) {
    PROJDATA d = Record(PT_UNPROJECTED);
    d.Scale = 2.0;
    d.xOrg = 100.0;
    Handle h(d);
    ASSERT_NE(h.h, nullptr);
    PROJPOINT pts[] = {P(370.0, 100.0), P(-1000.0, 5.0), P(kNaN, 1.0)};
    ASSERT_TRUE(ProjForward(h.h, pts, 3));
    EXPECT_EQ(pts[0].x, 370.0);
    EXPECT_EQ(pts[0].y, 100.0);
    EXPECT_EQ(pts[1].x, -1000.0);
    EXPECT_TRUE(IsMarker(pts[2]));
    EXPECT_EQ(ProjResult(h.h), 1);
    PROJPOINT q[] = {P(1.0, 2.0)};
    ASSERT_TRUE(ProjInverse(h.h, q, 1));
    EXPECT_EQ(q[0].x, 1.0);
    EXPECT_EQ(ProjResult(h.h), 0);
}

TEST_F(ProjTest, NonFiniteInputIsMarkedAndCounted) {
    Handle h(Utm(15.0, false));
    ASSERT_NE(h.h, nullptr);
    PROJPOINT pts[] = {P(15.0, kNaN), P(16.5, 45.0), P(kInf, 10.0), P(12.0, -kInf)};
    ASSERT_TRUE(ProjForward(h.h, pts, 4));
    EXPECT_TRUE(IsMarker(pts[0]));
    EXPECT_TRUE(IsMarker(pts[2]));
    EXPECT_TRUE(IsMarker(pts[3]));
    EXPECT_NEAR(pts[1].x, 618222.9659, 1e-3); // cs2cs +proj=utm +zone=33 +ellps=WGS84
    EXPECT_NEAR(pts[1].y, 4984044.7985, 1e-3);
    EXPECT_EQ(ProjResult(h.h), 1);

    PROJPOINT ok[] = {P(16.5, 45.0)};
    ASSERT_TRUE(ProjForward(h.h, ok, 1));
    EXPECT_EQ(ProjResult(h.h), 0); // every call overwrites the result code
}

TEST_F(ProjTest, InverseIgnoresPreScannedPointsInItsResultCode) {
    Handle h(Utm(15.0, false));
    ASSERT_NE(h.h, nullptr);
    PROJPOINT pts[] = {P(kNaN, 0.0), P(618222.9659, 4984044.7985)};
    ASSERT_TRUE(ProjInverse(h.h, pts, 2));
    EXPECT_TRUE(IsMarker(pts[0]));
    EXPECT_EQ(ProjResult(h.h), 0); // deliberate: only the module and post-scan count
    EXPECT_NEAR(pts[1].x, 16.5, 1e-8);
    EXPECT_NEAR(pts[1].y, 45.0, 1e-8);
}

TEST_F(ProjTest, MarkersPassThroughBothDirections) {
    PROJDATA d = Utm(15.0, true);
    d.Scale = 3.0;
    Handle h(d);
    ASSERT_NE(h.h, nullptr);
    PROJPOINT pts[] = {P(kMarker, kMarker), P(15.0, -10.0)};
    ASSERT_TRUE(ProjForward(h.h, pts, 2));
    EXPECT_TRUE(IsMarker(pts[0]));
    EXPECT_EQ(ProjResult(h.h), 0);
    ASSERT_TRUE(ProjInverse(h.h, pts, 2));
    EXPECT_TRUE(IsMarker(pts[0]));
    EXPECT_NEAR(pts[1].x, 15.0, 1e-9);
    EXPECT_NEAR(pts[1].y, -10.0, 1e-9);
}

TEST_F(ProjTest, HugeFiniteInputNeverCrashes) {
    Handle h(Utm(15.0, false));
    ASSERT_NE(h.h, nullptr);
    // 1e308 is finite: it is folded like any longitude or latitude.
    PROJPOINT pts[] = {P(1e308, 10.0), P(10.0, 1e308), P(-DBL_MAX, DBL_MAX / 2)};
    ASSERT_TRUE(ProjForward(h.h, pts, 3));
    for (const PROJPOINT& p : pts) {
        EXPECT_TRUE(std::isfinite(p.x));
        EXPECT_TRUE(std::isfinite(p.y));
    }
    PROJPOINT inv[] = {P(1e308, 1e308), P(-1e308, 0.0)};
    ASSERT_TRUE(ProjInverse(h.h, inv, 2));
    for (const PROJPOINT& p : inv) {
        EXPECT_TRUE(IsMarker(p) || (std::fabs(p.x) <= 360.0 && std::fabs(p.y) <= 90.0));
    }
}

// Longitudes fold by the remainder of 360 (sign of the value), latitudes fold
// back over the poles without shifting the longitude.
TEST_F(ProjTest, LongitudeAndLatitudeRules) {
    Handle h(Utm(15.0, false));
    ASSERT_NE(h.h, nullptr);
    struct Row {
        double lon, lat, sameLon, sameLat;
    } rows[] = {
        {370.0, 40.0, 10.0, 40.0},   {-370.0, 40.0, -10.0, 40.0}, {15.0, 100.0, 15.0, 80.0},
        {15.0, -100.0, 15.0, -80.0}, {735.0, 190.0, 15.0, 10.0},  {20.0, 270.0, 20.0, 90.0},
    };
    for (const Row& r : rows) {
        PROJPOINT a[] = {P(r.lon, r.lat)}, b[] = {P(r.sameLon, r.sameLat)};
        ASSERT_TRUE(ProjForward(h.h, a, 1));
        ASSERT_TRUE(ProjForward(h.h, b, 1));
        EXPECT_EQ(a[0].x, b[0].x) << r.lon << " " << r.lat;
        EXPECT_EQ(a[0].y, b[0].y) << r.lon << " " << r.lat;
    }
}

TEST_F(ProjTest, FalseOriginIsAddedBeforeTheScale) {
    // Equidistant cylindrical on a sphere of radius 180/pi: x equals the
    // longitude in degrees, so the pipeline arithmetic is visible exactly.
    PROJDATA d = UserEllipsoid(PT_EQUIDISTANT_CYLINDRICAL, 180.0 / 3.141592653589793, 0.0);
    d.Scale = 2.0;
    d.xOrg = 100.0;
    d.yOrg = -5.0;
    Handle h(d);
    ASSERT_NE(h.h, nullptr);
    PROJPOINT p[] = {P(10.0, 20.0)};
    ASSERT_TRUE(ProjForward(h.h, p, 1));
    EXPECT_NEAR(p[0].x, 220.0, 1e-12); // (10 + 100) * 2
    EXPECT_NEAR(p[0].y, 30.0, 1e-12);  // (20 - 5) * 2
    ASSERT_TRUE(ProjInverse(h.h, p, 1));
    EXPECT_NEAR(p[0].x, 10.0, 1e-12);
    EXPECT_NEAR(p[0].y, 20.0, 1e-12);
}

// Known values through the whole pipeline, false origin and scale included.
struct KnownRow {
    const char* source;
    PROJDATA data;
    double lon, lat, x, y, tolerance;
    // How closely the module's inverse returns: the transverse Mercator
    // series loses a few centimetres six degrees out, and the ellipsoidal
    // Mercator inverse is only as good as its 2.71828 base.
    double inverseTolerance = 1e-8;
};

PROJDATA WithOrigin(PROJDATA d, double lat0, double lon0, double k0, double x0, double y0) {
    d.Lat0 = lat0;
    d.Lon0 = lon0;
    d.K0 = k0;
    d.xOrg = x0;
    d.yOrg = y0;
    return d;
}

PROJDATA Lcc(PROJDATA d, double lat1, double lat2) {
    d.Lat1 = lat1;
    d.Lat2 = lat2;
    return d;
}

PROJDATA Scaled(PROJDATA d, double s) {
    d.Scale = s;
    return d;
}

std::vector<KnownRow> KnownRows() {
    const double dm = 1.0 / 60.0;
    return {
        {"cs2cs +proj=utm +zone=33 +ellps=WGS84", Utm(15, false), 15.0, 0.0, 500000.0, 0.0, 1e-3},
        {"cs2cs +proj=utm +zone=33 +ellps=WGS84", Utm(15, false), 12.0, 60.5, 335237.1431,
         6710852.7077, 1e-3},
        {"cs2cs +proj=utm +zone=33 +ellps=WGS84", Utm(15, false), 15.0, 80.0, 500000.0,
         8881585.8160, 1e-3},
        {"cs2cs +proj=utm +zone=33 +south +ellps=WGS84", Utm(15, true), 15.0, -0.5, 500000.0,
         9944734.9629, 1e-3},
        {"cs2cs +proj=utm +zone=33 +south +ellps=WGS84", Utm(15, true), 20.5, -60.0, 806541.3298,
         3335832.3210, 1e-3, 1e-6},
        {"cs2cs +proj=utm +zone=18 +ellps=clrk66",
         WithOrigin(Record(PT_UTM, ELLIPSOID_CLARKE_1866), 0.0, -75.0, 0.0, 0.0, 0.0), -75.5, 40.25,
         457474.9902, 4455414.7404, 1e-3},
        // Snyder, Map Projections: A Working Manual (USGS PP 1395), numerical
        // examples on Clarke 1866, printed to 0.1 m (cs2cs agrees within that).
        {"Snyder, transverse Mercator (ellipsoid) example",
         WithOrigin(Record(PT_TRANSVERSE_MERCATOR, ELLIPSOID_CLARKE_1866), 0.0, -75.0, 0.9996, 0.0,
                    0.0),
         -73.5, 40.5, 127106.5, 4484124.4, 0.1, 1e-7},
        {"Snyder, Lambert conformal conic (ellipsoid) example",
         Lcc(WithOrigin(Record(PT_LAMBERT_CONIC, ELLIPSOID_CLARKE_1866), 23.0, -96.0, 0.0, 0.0,
                        0.0),
             33.0, 45.0),
         -75.0, 35.0, 1894410.9, 1564649.5, 0.1, 1e-7},
        {"Snyder, Mercator (ellipsoid) example",
         WithOrigin(Record(PT_MERCATOR, ELLIPSOID_CLARKE_1866), 0.0, -180.0, 0.0, 0.0, 0.0), -75.0,
         35.0, 11688673.7, 4139145.6, 0.1, 1e-4},
        // EPSG guidance note 7-2, transverse Mercator (OSGB 1936 / British National Grid).
        {"EPSG GN 7-2 (cs2cs 577274.9838, 69740.4923)",
         WithOrigin(UserEllipsoid(PT_TRANSVERSE_MERCATOR, 6377563.396, 299.3249646), 49.0, -2.0,
                    0.9996012717, 400000.0, -100000.0),
         0.5, 50.5, 577274.99, 69740.50, 0.01, 1e-7},
        // EPSG guidance note 7-2, LCC 2SP (NAD27 / Texas South Central), in US feet
        // through Scale: (metres + false origin in metres) * feet per metre.
        {"EPSG GN 7-2 (cs2cs 2963503.9128, 254759.8006 ftUS)",
         Scaled(Lcc(WithOrigin(Record(PT_LAMBERT_CONIC, ELLIPSOID_CLARKE_1866), 27 + 50 * dm, -99.0,
                               0.0, 2000000.0 * kFtUS, 0.0),
                    28 + 23 * dm, 30 + 17 * dm),
                1.0 / kFtUS),
         -96.0, 28.5, 2963503.91, 254759.80, 0.01, 1e-7},
        // EPSG guidance note 7-2, Mercator 2SP (Pulkovo 1942 / Mercator 2SP).
        {"EPSG GN 7-2 (cs2cs 165704.2933, 5171848.0729)",
         WithOrigin(UserEllipsoid(PT_MERCATOR, 6378245.0, 298.3), 42.0, 51.0, 0.0, 0.0, 0.0), 53.0,
         53.0, 165704.29, 5171848.07, 0.01, 1e-4},
        {"cs2cs +proj=merc +lon_0=-180 +R=6370997",
         WithOrigin(Record(PT_MERCATOR, ELLIPSOID_SPHERE_6370997), 0.0, -180.0, 0.0, 0.0, 0.0),
         -75.0, 35.0, 11675461.7999, 4159219.8909, 1e-3},
        {"cs2cs +proj=merc +lon_0=-100 +ellps=WGS84",
         WithOrigin(Record(PT_MERCATOR), 0.0, -100.0, 0.0, 0.0, 0.0), -75.0, 35.0, 2782987.2698,
         4139372.7622, 1e-3, 1e-4},
    };
}

TEST_F(ProjTest, KnownValuesThroughThePipeline) {
    for (const KnownRow& r : KnownRows()) {
        Handle h(r.data);
        ASSERT_NE(h.h, nullptr) << r.source;
        PROJPOINT p[] = {P(r.lon, r.lat)};
        ASSERT_TRUE(ProjForward(h.h, p, 1)) << r.source;
        EXPECT_NEAR(p[0].x, r.x, r.tolerance) << r.source;
        EXPECT_NEAR(p[0].y, r.y, r.tolerance) << r.source;
        ASSERT_TRUE(ProjInverse(h.h, p, 1)) << r.source;
        EXPECT_NEAR(p[0].x, r.lon, r.inverseTolerance) << r.source;
        EXPECT_NEAR(p[0].y, r.lat, r.inverseTolerance) << r.source;
        EXPECT_EQ(ProjResult(h.h), 0) << r.source;
    }
}

// ---------------------------------------------------------------- state plane

struct ZoneRow {
    int system; // 9 NAD 27, 10 NAD 83
    int zone;
    double lon, lat, x, y; // metres
};

// cs2cs (PROJ 9) from EPSG:4269 (NAD 83, metres) or EPSG:4267 (NAD 27, US
// survey feet converted to metres) to the zone's projected CRS named per row;
// where EPSG replaced a zone's first code (Kentucky North, Michigan, Hawaii on
// Old Hawaiian) the current code is used.
// Transverse Mercator zones first, then Lambert conformal conic zones.
const ZoneRow kZoneRows[] = {
    {10, 0, -85.1333, 32.0, 266146.4303, 166518.1878},      // Alabama East, EPSG:26929
    {10, 6, -153.3, 55.5, 544232.3018, 167184.3325},        // Alaska 5, EPSG:26935
    {10, 12, -109.4667, 32.5, 279134.7186, 166522.9573},    // Arizona East, EPSG:26948
    {10, 31, -81.3, 25.8333, 270177.9775, 166334.5984},     // Florida West, EPSG:26959
    {10, 37, -157.3, 22.6667, 571941.3118, 166265.1870},    // Hawaii 3, EPSG:26963
    {10, 42, -115.05, 43.1667, 856920.4279, 166852.5562},   // Idaho West, EPSG:26970
    {10, 56, -67.8, 45.1667, 355026.9985, 166905.9921},     // Maine East, EPSG:26983
    {10, 73, -91.8, 37.3333, 562031.4282, 166669.8154},     // Missouri Central, EPSG:26997
    {10, 85, -70.9667, 44.0, 356139.8415, 166879.0847},     // New Hampshire, EPSG:32110
    {10, 90, -73.8, 40.3333, 209478.3531, 166754.7856},     // New York East, EPSG:32115
    {10, 134, -104.4667, 42.0, 257989.3006, 166814.7419},   // Wyoming East, EPSG:32155
    {10, 11, -176.8, 53.1333, 946464.3109, 237665.7942},    // Alaska 10, EPSG:26940
    {10, 20, -119.8, 36.925, 1928724.8618, 676912.2012},    // California IV, EPSG:26944
    {10, 27, -73.55, 41.8333, 238348.4543, 263764.7767},    // Connecticut, EPSG:26956
    {10, 51, -85.05, 38.7667, 430474.4362, 140904.2708},    // Kentucky North, EPSG:2205
    {10, 59, -72.3, 42.5, 134243.1900, 916914.9529},        // Massachusetts Mainland, EPSG:26986
    {10, 68, -95.05, 46.6333, 738745.1581, 281846.2396},    // Minnesota Central, EPSG:26992
    {10, 97, -83.3, 41.3667, 533070.3771, 189090.4971},     // Ohio North, EPSG:32122
    {10, 103, -78.55, 41.7167, 533429.1288, 172446.6403},   // Pennsylvania North, EPSG:32128
    {10, 117, -99.3, 33.35, 525543.2061, 2186949.2577},     // Texas North Central, EPSG:32138
    {10, 123, -112.3, 38.0833, 429816.9066, 3157525.1159},  // Utah South, EPSG:32144
    {10, 130, -81.8, 38.4833, 530202.7848, 164932.2894},    // West Virginia South, EPSG:32151
    {10, 65, -85.1667, 45.2417, 5937191.3268, 214220.5455}, // Michigan Central, EPSG:26989
    {9, 0, -85.1333, 32.0, 218548.1460, 166512.5617},       // Alabama East, EPSG:26729
    {9, 6, -153.3, 55.5, 196634.2087, 167186.1332},         // Alaska 5, EPSG:26735
    {9, 12, -109.4667, 32.5, 218176.4457, 166517.4759},     // Arizona East, EPSG:26748
    {9, 31, -81.3, 25.8333, 222579.5416, 166327.3167},      // Florida West, EPSG:26759
    {9, 37, -157.3, 22.6667, 224342.7966, 166257.1578},     // Hawaii 3, EPSG:3563
    {9, 42, -115.05, 43.1667, 209322.3446, 166850.3882},    // Idaho West, EPSG:26770
    {9, 56, -67.8, 45.3333, 207268.2932, 166901.9942},      // Maine East, EPSG:26783
    {9, 73, -91.8, 37.3333, 214433.2574, 166665.7886},      // Missouri Central, EPSG:26797
    {9, 85, -70.9667, 44.0, 208541.7666, 166877.1875},      // New Hampshire, EPSG:32010
    {9, 90, -73.6333, 41.5, 210850.2300, 166801.9737},      // New York East, EPSG:32015
    {9, 134, -104.4667, 42.1667, 210239.8126, 166821.5487}, // Wyoming East, EPSG:32055
    {9, 11, -176.8, 53.1333, 860864.2788, 237667.1574},     // Alaska 10, EPSG:26740
    {9, 20, -119.8, 36.925, 538324.3476, 176907.7798},      // California IV, EPSG:26744
    {9, 27, -73.55, 41.8333, 116426.3862, 111362.7968},     // Connecticut, EPSG:26756
    {9, 51, -85.05, 38.7667, 540073.8838, 140901.2828},     // Kentucky North, EPSG:26779
    {9, 59, -72.3, 42.5, 117121.7221, 166912.5706},         // Massachusetts Mainland, EPSG:26786
    {9, 68, -95.05, 46.6333, 548344.5040, 181845.0863},     // Minnesota Central, EPSG:26792
    {9, 97, -83.3, 41.3667, 542669.7790, 189087.3451},      // Ohio North, EPSG:32022
    {9, 103, -78.55, 41.7167, 543028.5255, 172443.9085},    // Pennsylvania North, EPSG:32028
    {9, 117, -98.3, 33.35, 535142.7773, 186943.3557},       // Texas North Central, EPSG:32038
    {9, 123, -112.3, 38.0833, 539416.3678, 157521.5480},    // Utah South, EPSG:32044
    {9, 130, -81.8, 38.4833, 539802.2379, 164928.6673},     // West Virginia South, EPSG:32051
    {9, 65, -85.1333, 45.2417, 546793.5169, 214226.6722},   // Michigan Central, EPSG:6201
};

TEST_F(ProjTest, StatePlaneZonesAgreeWithTheOracle) {
    int tm = 0, lcc = 0;
    for (const ZoneRow& r : kZoneRows) {
        PROJDATA d = Record(static_cast<ProjType>(r.system));
        d.Zone = static_cast<StateZoneType>(r.zone);
        Handle h(d);
        ASSERT_NE(h.h, nullptr) << r.zone;
        PROJPOINT p[] = {P(r.lon, r.lat)};
        ASSERT_TRUE(ProjForward(h.h, p, 1));
        EXPECT_NEAR(p[0].x, r.x, 1e-3) << "system " << r.system << " zone " << r.zone;
        EXPECT_NEAR(p[0].y, r.y, 1e-3) << "system " << r.system << " zone " << r.zone;
        ASSERT_TRUE(ProjInverse(h.h, p, 1));
        // The inverse series and iterations of the modules hold to about 1e-8 degree.
        EXPECT_NEAR(p[0].x, r.lon, 1e-7) << r.zone;
        EXPECT_NEAR(p[0].y, r.lat, 1e-7) << r.zone;

        PROJDATA built = d;
        ProjGetStateZoneParams(&built);
        (built.Type == PT_LAMBERT_CONIC ? lcc : tm) += 1;
    }
    EXPECT_GE(tm, 20);
    EXPECT_GE(lcc, 20);
}

TEST_F(ProjTest, StatePlaneConvertsOnItsZonesEllipsoidWhateverTheRecordNames) {
    const EllipsoidType hosts[] = {ELLIPSOID_WGS84, ELLIPSOID_SPHERE_6370997,
                                   ELLIPSOID_INTERNATIONAL_1924, ELLIPSOID_CLARKE_1866};
    for (EllipsoidType e : hosts) {
        PROJDATA d = Record(PT_STATE_PLANE_83, e);
        d.Zone = SZ_ALABAMA_EAST;
        d.Scale = 2.0;
        Handle h(d);
        ASSERT_NE(h.h, nullptr);
        PROJPOINT p[] = {P(-85.1333, 32.0)};
        ASSERT_TRUE(ProjForward(h.h, p, 1));
        // cs2cs EPSG:4269 -> EPSG:26929, then the record's Scale of 2.
        EXPECT_NEAR(p[0].x, 2 * 266146.4303, 2e-3) << e;
        EXPECT_NEAR(p[0].y, 2 * 166518.1878, 2e-3) << e;
    }
}

// ---------------------------------------------------------------- domain tests

TEST_F(ProjTest, DomainTestSinglePoint) {
    Handle tm(Utm(15.0, false)); // band of 45 degrees either side
    ASSERT_NE(tm.h, nullptr);
    struct Row {
        double lon, lat;
        bool in;
    } rows[] = {{15.0, 0.0, true},   {59.9, 89.0, true},  {60.0, 0.0, false},
                {-30.0, 0.0, false}, {15.0, 90.0, true},  {15.0, 90.5, false},
                {kNaN, 0.0, false},  {15.0, kNaN, false}, {375.0, 0.0, false}};
    for (const Row& r : rows) {
        PROJPOINT p = P(r.lon, r.lat);
        EXPECT_EQ(ProjLLInProjection(tm.h, &p), r.in) << r.lon << " " << r.lat;
    }
    PROJPOINT p = P(0.0, 0.0);
    EXPECT_FALSE(ProjLLInProjection(nullptr, &p));
    EXPECT_FALSE(ProjLLInProjection(tm.h, nullptr));

    PROJDATA merc = Record(PT_MERCATOR);
    Handle m(merc);
    PROJPOINT pole = P(0.0, 90.0), edge = P(180.0, 0.0), wide = P(-179.9, 89.9);
    EXPECT_FALSE(ProjLLInProjection(m.h, &pole));
    EXPECT_FALSE(ProjLLInProjection(m.h, &edge));
    EXPECT_TRUE(ProjLLInProjection(m.h, &wide));

    g_reports.clear();
    Handle geo(Record(PT_UNPROJECTED));
    EXPECT_FALSE(ProjLLInProjection(geo.h, &p)); // no domain test for type 0
    EXPECT_EQ(Reports(20200), 1);
}

TEST_F(ProjTest, StatePlaneDomainTestsUseZoneZero) {
    // Michigan Central is a Lambert zone (band of 180 degrees); the domain
    // test deliberately answers for zone 0, Alabama East, a transverse
    // Mercator zone centred on 85d50'W (band of 45 degrees).
    PROJDATA d = Record(PT_STATE_PLANE_83);
    d.Zone = SZ_MICHIGAN_CENTRAL;
    Handle h(d);
    ASSERT_NE(h.h, nullptr);
    PROJPOINT in = P(-41.0, 0.0), out = P(-40.0, 0.0);
    EXPECT_TRUE(ProjLLInProjection(h.h, &in));
    EXPECT_FALSE(ProjLLInProjection(h.h, &out));

    PROJPOINT ring[] = {P(90.0, 0.0), P(100.0, 0.0)};
    double dx = 7.0, dy = 7.0;
    EXPECT_TRUE(ProjLLOffsetSplitObject(h.h, ring, 2, &dx, &dy));
    EXPECT_EQ(dx, -360.0); // 100 >= -85.833 + 180
    EXPECT_EQ(dy, 0.0);
}

TEST_F(ProjTest, DomainTestArrayFormHasTheInvertedSense) {
    Handle h(Utm(15.0, false));
    ASSERT_NE(h.h, nullptr);
    PROJPOINT none[] = {P(100.0, 0.0), P(-100.0, 0.0)};
    PROJPOINT one[] = {P(100.0, 0.0), P(15.0, 0.0)};
    EXPECT_TRUE(ProjLLInProjection(h.h, 2, none));
    EXPECT_FALSE(ProjLLInProjection(h.h, 2, one));
    EXPECT_TRUE(ProjLLInProjection(h.h, 0, one));
    EXPECT_TRUE(ProjLLInProjection(h.h, -3, one));
}

TEST_F(ProjTest, OffsetSplitChecksItsArguments) {
    Handle h(Record(PT_TRANSVERSE_MERCATOR));
    ASSERT_NE(h.h, nullptr);
    PROJPOINT pts[] = {P(170, 0), P(190, 0)};
    double dx = 1, dy = 1;
    EXPECT_TRUE(ProjLLOffsetSplitObject(h.h, pts, 2, &dx, &dy)); // reaches Lon0 + 180
    EXPECT_EQ(dx, -360.0);
    EXPECT_EQ(dy, 0.0);
    EXPECT_FALSE(ProjLLOffsetSplitObject(nullptr, pts, 2, &dx, &dy));
    EXPECT_FALSE(ProjLLOffsetSplitObject(h.h, nullptr, 2, &dx, &dy));
    EXPECT_FALSE(ProjLLOffsetSplitObject(h.h, pts, 2, nullptr, &dy));
    EXPECT_FALSE(ProjLLOffsetSplitObject(h.h, pts, 2, &dx, nullptr));
}

TEST_F(ProjTest, MissingModuleIsAnAssertion) {
    int missing = -1;
    for (int t = 1; t < PT_COUNT && missing < 0; ++t)
        if (t != PT_STATE_PLANE_27 && t != PT_STATE_PLANE_83 && !ProjModuleTable[t].Forward)
            missing = t;
    if (missing < 0) GTEST_SKIP() << "every projection type has its module";
    PROJDATA d = Record(static_cast<ProjType>(missing));
    d.Lat1 = 30.0;
    d.Lat2 = 50.0;
    Handle h(d);
    ASSERT_NE(h.h, nullptr) << missing;
    g_reports.clear();
    PROJPOINT p[] = {P(1.0, 2.0)};
    EXPECT_FALSE(ProjForward(h.h, p, 1));
    EXPECT_FALSE(ProjInverse(h.h, p, 1));
    EXPECT_EQ(Reports(20200), 2);
}

TEST_F(ProjTest, UndefinedTypeFailsConversion) {
    Handle h(Record(PT_UNDEFINED)); // 999 passes validation
    ASSERT_NE(h.h, nullptr);
    g_reports.clear();
    PROJPOINT p[] = {P(1.0, 2.0), P(kNaN, 2.0)};
    EXPECT_FALSE(ProjForward(h.h, p, 2));
    EXPECT_EQ(Reports(20200), 1);
    // The pre-scan comes before the type check, so it still happened.
    EXPECT_EQ(p[0].x, 1.0);
    EXPECT_TRUE(IsMarker(p[1]));
    EXPECT_EQ(ProjResult(h.h), 1);
}

TEST_F(ProjTest, PreclipWrappersRefuseBadArguments) {
    Handle h(Utm(15.0, false));
    ASSERT_NE(h.h, nullptr);
    PROJPOINT pts[] = {P(0, 0), P(1, 1), P(1, 0)};
    int counts[] = {3};
    auto line = [](void*, int, const PROJPOINT*) { return true; };
    auto poly = [](void*, int, const int*, const PROJPOINT*) { return true; };
    g_reports.clear();
    EXPECT_FALSE(ProjLLPreclipPolyline(nullptr, nullptr, 3, pts, line));
    EXPECT_FALSE(ProjLLPreclipPolyline(h.h, nullptr, 1, pts, line));
    EXPECT_FALSE(ProjLLPreclipPolyline(h.h, nullptr, 3, nullptr, line));
    EXPECT_FALSE(ProjLLPreclipPolyline(h.h, nullptr, 3, pts, nullptr));
    EXPECT_FALSE(ProjLLPreclipPolygon(nullptr, nullptr, 1, counts, pts, poly, line));
    EXPECT_FALSE(ProjLLPreclipPolygon(h.h, nullptr, 0, counts, pts, poly, line));
    EXPECT_FALSE(ProjLLPreclipPolygon(h.h, nullptr, 1, nullptr, pts, poly, line));
    EXPECT_FALSE(ProjLLPreclipPolygon(h.h, nullptr, 1, counts, nullptr, poly, line));
    EXPECT_FALSE(ProjLLPreclipPolygon(h.h, nullptr, 1, counts, pts, nullptr, line));
    EXPECT_EQ(Reports(20205), 9);
    EXPECT_TRUE(ProjLLPreclipPolyline(h.h, nullptr, 3, pts, line));
    EXPECT_TRUE(ProjLLPreclipPolygon(h.h, nullptr, 1, counts, pts, poly, nullptr));
}

// The trace lines hosts and support staff read in the diagnostic log.
TEST_F(ProjTest, TraceLines) {
    const char* dir = std::getenv("TMPDIR");
    const std::string path =
        std::string(dir && *dir ? dir : "/tmp") + "/kvproj_trace." + std::to_string(::getpid());
    std::remove(path.c_str());
    const bool was = LogIsEnabled();
    const std::string oldPath = LogPath();
    LogSetup(true, path.c_str());
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
    LogSetup(was, oldPath.c_str());

    std::ifstream in(path, std::ios::binary);
    std::stringstream ss;
    ss << in.rdbuf();
    const std::string log = ss.str();
    std::remove(path.c_str());
    for (const char* line :
         {"Warning:  Scale was zero.  Setting to one.\r\n",
          "Warning:  K0 was zero.  Setting to one.\r\n",
          "ProjCreateProjection:  Returning HPROJ of ",
          "  One or more unplottable points generated.\r\n", "NULL hProj pointer!\r\n",
          "ProjDeleteProjection(hProj=",
          "Invalid parameter error:  \"Central longitude (Lon0) parameter was outside the range of "
          "-360 to +360 degrees\"\r\n"})
        EXPECT_NE(log.find(line), std::string::npos) << line;
}

// ---------------------------------------------------------------- wrappers

TEST_F(ProjTest, CProjectorCopiesAndShares) {
    PROJDATA d = Utm(15.0, false);
    CProjector a(&d);
    ASSERT_NE(a.Handle(), nullptr);

    CProjector copy(a); // a fresh handle with the same parameters
    ASSERT_NE(copy.Handle(), nullptr);
    EXPECT_NE(copy.Handle(), a.Handle());
    PROJDATA ia, ic;
    ASSERT_TRUE(a.GetInfo(&ia));
    ASSERT_TRUE(copy.GetInfo(&ic));
    EXPECT_EQ(std::memcmp(&ia, &ic, sizeof(PROJDATA)), 0);

    CProjector shared;
    EXPECT_EQ(shared.Handle(), nullptr);
    shared = a; // shallow: the same handle block
    EXPECT_EQ(shared.Handle(), a.Handle());
    PROJPOINT p[] = {P(15.0, kNaN)};
    ASSERT_TRUE(shared.Forward(p, 1));
    EXPECT_EQ(a.Result(), 1); // one result code, seen through both
    shared.Release();         // only one owner may delete the block

    CProjector empty;
    CProjector emptyCopy(empty);
    EXPECT_EQ(emptyCopy.Handle(), nullptr);
    EXPECT_FALSE(empty.Forward(p, 1));
    EXPECT_EQ(empty.Result(), 0);

    PROJDATA bad = Record(static_cast<ProjType>(-1));
    EXPECT_FALSE(copy.Create(&bad));
    EXPECT_EQ(copy.Handle(), nullptr);
    EXPECT_TRUE(copy.Create(&d));
    PROJPOINT q[] = {P(16.5, 45.0)};
    ASSERT_TRUE(copy.Forward(q, 1));
    ASSERT_TRUE(copy.Inverse(q, 1));
    EXPECT_NEAR(q[0].x, 16.5, 1e-9);
    copy.Delete();
    EXPECT_EQ(copy.Handle(), nullptr);
}

// ---------------------------------------------------------------- threads

TEST_F(ProjTest, SeparateHandlesConvertConcurrently) {
    const int n = 20000;
    std::vector<PROJPOINT> base(n);
    for (int i = 0; i < n; ++i)
        base[i] = P(10.0 + (i % 1000) * 0.01, -60.0 + (i % 1200) * 0.1);
    std::vector<PROJPOINT> serial = base;
    {
        Handle h(Utm(15.0, false));
        ASSERT_TRUE(ProjForward(h.h, serial.data(), n));
    }
    std::vector<std::vector<PROJPOINT>> results(4, base);
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t)
        threads.emplace_back([&, t] {
            PROJDATA d = Utm(15.0, false);
            void* h = ProjCreateProjection(&d);
            ProjForward(h, results[t].data(), n);
            ProjDeleteProjection(h);
        });
    for (std::thread& t : threads)
        t.join();
    for (const auto& r : results)
        EXPECT_EQ(std::memcmp(r.data(), serial.data(), n * sizeof(PROJPOINT)), 0);
}

} // namespace
