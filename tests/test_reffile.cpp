// The reference file: names, the written text, reading with its header checks
// and separator rule, round trips of every projection, zone, datum and
// georeference method, traces, locale independence, failed writes, hostile files.
#include "SideFileTest.h"
#include "datum/DatumTable.h"
#include "formats/RefFileTable.h"
#include "kvproj/kvproj.h"

#include <gtest/gtest.h>

#include <climits>
#include <cmath>
#include <cstring>

using namespace KVProj;

namespace {

const std::string kHeader = "Velmora Cartographic Reference Information : Version 1.10\n";

// 0xDEAD: every read must set the flag word.
struct Read : kvtest::SideRead {
    Read() : SideRead(DATUM_USER_DEFINED, 0xDEAD) {}
};

void ReadAll(const std::string& name, Read& r) {
    r.ok = KVProjRefFileReadEx(name.c_str(), &r.proj, &r.datum, &r.params, &r.georef, &r.flags);
}

PROJDATA Proj(ProjType type) {
    PROJDATA p{};
    p.Type = type;
    p.Scale = 1.0;
    p.Zone = STATEZONE_NONE;
    p.Ellipsoid = ELLIPSOID_NONE;
    return p;
}

bool Bits(double a, double b) { return std::memcmp(&a, &b, sizeof a) == 0; }

} // namespace

// Name completion: ".kvr" unless the name ends in kvr (any case) and has 5+ characters.
TEST(RefFileName, Completion) {
    kvtest::TempDir dir("refname");
    const struct {
        const char* name;
        const char* file;
    } cases[] = {
        {"a", "a.kvr"},           {"MAP.KVR", "MAP.KVR"}, {"abkvr", "abkvr"},
        {"kvr", "kvr.kvr"},       {"mapkvr", "mapkvr"},   {"map.tif", "map.tif.kvr"},
        {"x.kv", "x.kv.kvr"},     {".kvr", ".kvr.kvr"},   {"Map.KvR", "Map.KvR"},
    };
    PROJDATA unprojected = Proj(PT_UNPROJECTED);
    char old[4096];
    ASSERT_NE(::getcwd(old, sizeof old), nullptr);
    ASSERT_EQ(::chdir(dir.Path().c_str()), 0); // the rule counts the whole name as given
    for (const auto& c : cases) {
        std::string name = c.name;
        ASSERT_TRUE(KVProjRefFileWrite(&name[0], &unprojected, DATUM_NONE, nullptr)) << c.name;
        EXPECT_EQ(dir.List(), std::vector<std::string>{c.file}) << c.name;
        Read r;
        ReadAll(c.name, r);
        EXPECT_EQ(r.flags, unsigned(GEOPARAM_FILE_FOUND | GEOPARAM_PROJECTION)) << c.name;
        EXPECT_TRUE(KVProjRefFileDelete(c.name)) << c.name;
        EXPECT_TRUE(dir.List().empty()) << c.name;
    }
    ASSERT_EQ(::chdir(old), 0);
}

// The written text, line for line. Orders and values as the format defines them
// (UTM: Name, Scale, False Easting/Northing, Lat0, Lon0, Central Scale, South,
// Ellipsoid Type, Radius, Flattening); ellipsoid figures from the ellipsoid table
// (WGS 84: 6378137, 1/298.257223563; Clarke 1866: 6378206.4, 1/294.9786982).
TEST(RefFileWrite, ExactText) {
    kvtest::TempDir dir("reftext");
    PROJDATA utm = Proj(PT_UTM);
    utm.xOrg = 500000, utm.Lat0 = 1.5, utm.Lon0 = -93, utm.K0 = 0.9996, utm.bSouth = true;
    utm.Lat1 = 77, utm.Alpha = 5, utm.Zone = SZ_MONTANA; // not UTM's: neither written
    utm.Ellipsoid = ELLIPSOID_WGS84, utm.MajorRadius = 1, utm.Flattening = 2; // table wins
    DATUM2WGS84 ntv2{};
    ntv2.Method = DM_NTV2, ntv2.Ellipsoid = ELLIPSOID_NONE, ntv2.dx = 9;
    GEOREF coeff{};
    coeff.Method = TM_PRECALCULATED, coeff.A = 0.5, coeff.B = 7, coeff.F = 8, coeff.nControls = 3;
    GEOREFPOINT src[2] = {{0, 0}, {10.5, -2}}, dst[2] = {{1e6, 4e-7}, {-0.1, 123456789012345678.0}};
    GEOREF points{};
    points.Method = TM_THIN_PLATE_SPLINE, points.pSrc = src, points.pDest = dst, points.nControls = 2;
    PROJDATA hotine = Proj(PT_HOTINE);
    hotine.Lat1 = 45, hotine.bUseAlpha = true, hotine.Alpha = -12.75, hotine.bUOffset = true;
    hotine.Ellipsoid = ELLIPSOID_USER_DEFINED, hotine.MajorRadius = 6371000, hotine.Flattening = 0;
    PROJDATA sp = Proj(PT_STATE_PLANE_83);
    sp.Zone = SZ_MONTANA, sp.Lat0 = 9; // the zone row only
    PROJDATA unprojected = Proj(PT_UNPROJECTED);
    unprojected.Scale = 3, unprojected.Ellipsoid = ELLIPSOID_WGS84;

    const struct {
        const char* what;
        PROJDATA* proj;
        DatumType datum;
        DATUM2WGS84* params;
        GEOREF* georef;
        std::string text;
    } cases[] = {
        {"UTM south on WGS 84", &utm, DATUM_NONE, nullptr, nullptr,
         "Projection Name : Universal Transverse Mercator (UTM)\n"
         "Projection Scale : 1\n"
         "Projection False Easting (meters) : 500000\n"
         "Projection False Northing (meters) : 0\n"
         "Projection Lat0 (degrees) : 1.5\n"
         "Projection Lon0 (degrees) : -93\n"
         "Projection Central Scale : 0.9996\n"
         "Projection In Southern Hemisphere (UTM only) : true\n"
         "Projection Ellipsoid Type : WGS 84\n"
         "Projection Ellipsoid Radius (meters) : 6378137\n"
         "Projection Ellipsoid Flattening : 0.00335281066474748\n"},
        {"unprojected: the name line only", &unprojected, DATUM_NONE, nullptr, nullptr,
         "Projection Name : Unprojected Lat/Long\n"},
        {"Hotine with the row-19 spelling", &hotine, DATUM_NONE, nullptr, nullptr,
         "Projection Name : Hotine Oblique Mercator\n"
         "Projection Scale : 1\n"
         "Projection False Easting (meters) : 0\n"
         "Projection False Northing (meters) : 0\n"
         "Projection Lat0 (degrees) : 0\n"
         "Projection Lon0 (degrees) : 0\n"
         "Projection Lat1 (degrees) : 45\n"
         "Projection Lat2 (degrees) : 0\n"
         "Projection Lon1 (degrees) : 0\n"
         "Projection Lon2 (degrees) : 0\n"
         "Projection Central Scale : 0\n"
         "Projection Uses Alpha Parameter (Hotine only) : true\n"
         "Projection Alpha : -12.75\n"
         "Projection Rotates UV to XY (Hotine only) : false\n"
         "Projection Offets by U (Hotine only) : true\n"
         "Projection Ellipsoid Type : USER-DEFINED\n"
         "Projection Ellipsoid Radius (meters) : 6371000\n"
         "Projection Ellipsoid Flattening : 0\n"},
        {"state plane: zone by name", &sp, DATUM_NONE, nullptr, nullptr,
         "Projection Name : State Plane 1983\n"
         "Projection Scale : 1\n"
         "Projection False Easting (meters) : 0\n"
         "Projection False Northing (meters) : 0\n"
         "Projection State Zone : Montana\n"
         "Projection Ellipsoid Radius (meters) : 0\n" // no ellipsoid: no type line
         "Projection Ellipsoid Flattening : 0\n"},
        {"NTv2 datum is written UNKNOWN, no parameters", nullptr, DATUM_NTV2_CANADA, &ntv2, nullptr,
         "Datum Name : NAD 1927 - Canada (NTV2)\n"
         "Datum Method : UNKNOWN\n"},
        {"coefficients: A six times, no count, no points", nullptr, DATUM_NONE, nullptr, &coeff,
         "Georef Method : Precalculated Affine Coefficients\n"
         "Georef Coefficient A : 0.5\nGeoref Coefficient B : 0.5\n"
         "Georef Coefficient C : 0.5\nGeoref Coefficient D : 0.5\n"
         "Georef Coefficient E : 0.5\nGeoref Coefficient F : 0.5\n"},
        {"control points after the table", nullptr, DATUM_NONE, nullptr, &points,
         "Georef Method : Thin Plate Spline\n"
         "Georef Control Point Count : 2\n"
         "Georef Point : 0  0  1000000  4E-07\n"
         "Georef Point : 10.5  -2  -0.1  1.23456789012346E+17\n"},
        {"datum given without its record: left out", nullptr, DATUM_WGS84, nullptr, nullptr, ""},
    };
    for (const auto& c : cases) {
        const std::string name = dir / "t.kvr";
        ASSERT_TRUE(KVProjRefFileWriteEx(name.c_str(), c.proj, c.datum, c.params, c.georef))
            << c.what;
        EXPECT_EQ(kvtest::ReadFile(name), kHeader + c.text) << c.what;
    }
    EXPECT_EQ(dir.List(), std::vector<std::string>{"t.kvr"}); // no temporary left behind
}

// Bursa-Wolf datum lines: every parameter row in table order (ED50 as the
// datum table gives it; International 1924: 6378388, 1/297).
TEST(RefFileWrite, BursaDatumLines) {
    kvtest::TempDir dir("refbursa");
    DATUM2WGS84 d{};
    d.Method = DM_BURSA, d.Ellipsoid = ELLIPSOID_INTERNATIONAL_1924, d.PMShift = 2.5;
    d.dx = -87, d.dy = -98, d.dz = -121, d.rx = 0.1, d.ry = -0.2, d.rz = 0.25, d.k = 1.5;
    ASSERT_TRUE(KVProjRefFileWriteEx((dir / "d").c_str(), nullptr, DATUM_ED50, &d, nullptr));
    EXPECT_EQ(dir.Read("d.kvr"), kHeader + "Datum Name : European 1950 - Mean\n"
                                           "Datum Method : Bursa-Wolf\n"
                                           "Datum Ellipsoid Type : International 1924\n"
                                           "Datum Prime Meridian Shift (degrees) : 2.5\n"
                                           "Datum X-Shift in meters from WGS84 : -87\n"
                                           "Datum Y-Shift in meters from WGS84 : -98\n"
                                           "Datum Z-Shift in meters from WGS84 : -121\n"
                                           "Datum X-rotation in arcseconds from WGS84 : 0.1\n"
                                           "Datum Y-rotation in arcseconds from WGS84 : -0.2\n"
                                           "Datum Z-rotation in arcseconds from WGS84 : 0.25\n"
                                           "Datum Scale relative to WGS84 : 1.5\n"
                                           "Datum Ellipsoid Radius (meters) : 6378388\n"
                                           "Datum Ellipsoid Flattening : 0.00336700336700337\n");
}

// Reading: each file's effect on the records, as the format defines it.
TEST(RefFileRead, Lines) {
    kvtest::TempDir dir("refread");
    const struct {
        const char* what;
        std::string text;
        bool ok;
        unsigned int flags;
        std::function<void(const Read&)> check;
    } cases[] = {
        {"misspelt Offets is the keyword; Offsets is not",
         "Projection Name : Hotine Oblique Mercator\n"
         "Projection Offets by U (Hotine only) : true\n"
         "Projection Offsets by U (Hotine only) : false\n"
         "Projection Rotates UV to XY (Hotine only) : false\n",
         true, GEOPARAM_FILE_FOUND | GEOPARAM_PROJECTION,
         [](const Read& r) {
             EXPECT_EQ(+r.proj.Type, PT_HOTINE);
             EXPECT_TRUE(r.proj.bUOffset);
             EXPECT_FALSE(r.proj.bRotate);
         }},
        {"separator: a tab before the colon works, no blank does not",
         "Projection Scale: 5\nProjection False Easting (meters)\t: 7\n"
         "Projection False Northing (meters) \t :\t 8.25 trailing\n",
         true, GEOPARAM_FILE_FOUND,
         [](const Read& r) {
             EXPECT_EQ(+r.proj.Type, PT_UNDEFINED);
             EXPECT_EQ(+r.proj.Scale, 0.0);
             EXPECT_EQ(+r.proj.xOrg, 7.0);
             EXPECT_EQ(+r.proj.yOrg, 8.25);
         }},
        {"loose keys and names; no applicability test on reading",
         "PROJECTIONNAME : m e r c a t o r\nprojection  lat3 (DEGREES) : -4\n"
         "  Projection\tState Zone : montana\nProjection Ellipsoid Type : nonsense\n",
         true, GEOPARAM_FILE_FOUND | GEOPARAM_PROJECTION,
         [](const Read& r) {
             EXPECT_EQ(+r.proj.Type, PT_MERCATOR);
             EXPECT_EQ(+r.proj.Lat3, -4.0);
             EXPECT_EQ(+r.proj.Zone, SZ_MONTANA);
             EXPECT_EQ(+r.proj.Ellipsoid, ELLIPSOID_USER_DEFINED);
         }},
        {"unknown names: projection 999, zone 142, datum 254, method 12",
         "Projection Name : Gall\nProjection State Zone : Atlantis\nDatum Name : Nowhere\n"
         "Datum Method : HARN\nGeoref Method : Kriging\n",
         true, GEOPARAM_FILE_FOUND,
         [](const Read& r) {
             EXPECT_EQ(+r.proj.Type, PT_UNDEFINED);
             EXPECT_EQ(+r.proj.Zone, STATEZONE_NONE);
             EXPECT_EQ(r.datum, DATUM_NONE);
             EXPECT_EQ(int(+r.params.Method), 7);
             EXPECT_EQ(+r.georef.Method, TM_NONE);
         }},
        {"bools: TRUE. is true, yes is false",
         "Projection In Southern Hemisphere (UTM only) : TRUE.\n"
         "Projection Uses Alpha Parameter (Hotine only) : yes\n"
         "Projection Rotates UV to XY (Hotine only) : True story\n",
         true, GEOPARAM_FILE_FOUND,
         [](const Read& r) {
             EXPECT_TRUE(r.proj.bSouth);
             EXPECT_FALSE(r.proj.bUseAlpha);
             EXPECT_TRUE(r.proj.bRotate);
         }},
        {"six coefficient lines leave F's value in A",
         "Georef Method : Precalculated Affine Coefficients\nGeoref Coefficient A : 1\n"
         "Georef Coefficient B : 2\nGeoref Coefficient C : 3\nGeoref Coefficient D : 4\n"
         "Georef Coefficient E : 5\nGeoref Coefficient F : 6\n"
         "Georef Control Point Count : 2\nGeoref Point : 1 2 3 4\n",
         true, GEOPARAM_FILE_FOUND | GEOPARAM_COEFFICIENTS,
         [](const Read& r) {
             EXPECT_EQ(+r.georef.Method, TM_PRECALCULATED);
             EXPECT_EQ(+r.georef.A, 6.0);
             EXPECT_EQ(+r.georef.B, 0.0);
             EXPECT_EQ(+r.georef.F, 0.0);
             EXPECT_EQ(+r.georef.pSrc, nullptr); // freed for method 5
         }},
        {"older method name; point before the count ignored; points past it too",
         "Georef Method : Second Order\nGeoref Point : 9 9 9 9\n"
         "Georef Control Point Count : 2\nGeoref Point : 1.5 -2 3e2 0x10\n"
         "georefpoint:5 6 7 8\nGEOREF POINT : 5  6\t7 8 extra\nGeoref Point : 7 7 7 7\n",
         true, GEOPARAM_FILE_FOUND | GEOPARAM_CONTROLS,
         [](const Read& r) {
             EXPECT_EQ(+r.georef.Method, TM_SECOND_ORDER);
             ASSERT_EQ(+r.georef.nControls, 2);
             EXPECT_EQ(+r.georef.pSrc[0].x, 1.5);
             EXPECT_EQ(+r.georef.pSrc[0].y, -2.0);
             EXPECT_EQ(+r.georef.pDest[0].x, 300.0);
             EXPECT_EQ(+r.georef.pDest[0].y, 16.0); // atof reads hexadecimal
             EXPECT_EQ(+r.georef.pSrc[1].x, 5.0);
             EXPECT_EQ(+r.georef.pDest[1].y, 8.0);
         }},
        {"fewer points than declared: the rest stay zero",
         "Georef Method : Helmert\nGeoref Control Point Count : 3\n"
         "Georef Point : 1 2 3\n",
         true, GEOPARAM_FILE_FOUND | GEOPARAM_CONTROLS,
         [](const Read& r) {
             ASSERT_EQ(+r.georef.nControls, 3);
             EXPECT_EQ(+r.georef.pSrc[0].y, 2.0);
             EXPECT_EQ(+r.georef.pDest[0].y, 0.0); // missing number
             EXPECT_EQ(+r.georef.pDest[2].x, 0.0);
         }},
        {"a count raised after the points cannot claim more than was allocated",
         "Georef Method : Helmert\nGeoref Control Point Count : 1\nGeoref Point : 1 2 3 4\n"
         "Georef Control Point Count : 1000\nGeoref Point : 5 6 7 8\n",
         true, GEOPARAM_FILE_FOUND | GEOPARAM_CONTROLS,
         [](const Read& r) {
             EXPECT_EQ(+r.georef.nControls, 1);
             EXPECT_EQ(+r.georef.pSrc[0].x, 1.0);
         }},
        {"negative and zero counts: points ignored",
         "Georef Method : Helmert\nGeoref Control Point Count : -5\nGeoref Point : 1 2 3 4\n",
         true, GEOPARAM_FILE_FOUND,
         [](const Read& r) {
             EXPECT_EQ(+r.georef.nControls, -5);
             EXPECT_EQ(+r.georef.pSrc, nullptr);
         }},
        {"datum by name; NTv2 read back as method 7; counts clamp to int",
         "Datum Name : World Geodetic System 1984\nDatum Method : UNKNOWN\n"
         "Georef Method : Helmert\nGeoref Control Point Count : 99999999999\n",
         true, GEOPARAM_FILE_FOUND | GEOPARAM_DATUM | GEOPARAM_CONTROLS,
         [](const Read& r) {
             EXPECT_EQ(r.datum, DATUM_WGS84);
             EXPECT_EQ(int(+r.params.Method), 7);
             EXPECT_EQ(+r.georef.nControls, INT_MAX); // a count without points: no arrays
             EXPECT_EQ(+r.georef.pSrc, nullptr);
         }},
        {"a point count of 2^31-1 is refused like a failed allocation",
         "Georef Method : Helmert\nGeoref Control Point Count : 2147483647\n"
         "Georef Point : 1 2 3 4\n",
         false, 0, [](const Read& r) { EXPECT_EQ(+r.georef.pSrc, nullptr); }},
    };
    for (const auto& c : cases) {
        dir.Write("r.kvr", kHeader + c.text);
        kvtest::ReportRecorder reports;
        Read r;
        ReadAll(dir / "r", r);
        EXPECT_EQ(r.ok, c.ok) << c.what;
        EXPECT_EQ(r.flags, c.flags) << c.what;
        EXPECT_EQ(reports.Count(20201), c.ok ? 0 : 1) << c.what;
        c.check(r);
    }
}

// The header line: prefix, colon and "Version" are checked; too new a version
// reads as nothing found; a missing file too.
TEST(RefFileRead, Header) {
    kvtest::TempDir dir("refheader");
    const char* magic = "Velmora Cartographic Reference Information";
    const struct {
        std::string first;
        bool ok;
        unsigned int flags;
        const char* trace;
    } cases[] = {
        {std::string(magic) + " : Version 1.10", true, GEOPARAM_FILE_FOUND | GEOPARAM_PROJECTION,
         "KVProjRefFileReadEx success."},
        {"velmora cartographic reference information\t:VERSION 1.00", true,
         GEOPARAM_FILE_FOUND | GEOPARAM_PROJECTION, "KVProjRefFileReadEx success."},
        {std::string(magic) + " : Version 1.20", true, 0,
         "Bad version number in reference file.  Found 1.20, but wanted 1.10"},
        {std::string(magic) + " : Version 1.1000000001", true, 0, "Bad version number"},
        {std::string(magic) + " Version 1.10", false, 0, "Colon missing from reference file!"},
        {std::string(magic) + "X : Version 1.10", false, 0, "Colon missing from reference file!"},
        {std::string(magic) + " : Release 1.10", false, 0,
         "Version keyword missing from reference file!"},
        {"Velmora Cartographic Reference", false, 0, "Bad prefix in reference file!"},
        {"", false, 0, "Opened"},
    };
    for (const auto& c : cases) {
        dir.Write("h.kvr", c.first.empty() ? "" : c.first + "\nProjection Name : Mercator\n");
        kvtest::LogCapture log("refheader");
        kvtest::ReportRecorder reports;
        Read r;
        ReadAll(dir / "h.kvr", r);
        EXPECT_EQ(r.ok, c.ok) << c.first;
        EXPECT_EQ(r.flags, c.flags) << c.first;
        EXPECT_TRUE(kvtest::Contains(log.Text(), c.trace)) << c.first << "\n" << log.Text();
        const bool badHeader = !c.ok && !c.first.empty();
        EXPECT_EQ(reports.Count(20203), badHeader ? 1 : 0) << c.first;
        if (c.flags == 0) {
            EXPECT_EQ(+r.proj.Type, PT_UNDEFINED) << c.first;
        }
    }
    Read missing;
    ReadAll(dir / "absent", missing);
    EXPECT_TRUE(missing.ok);
    EXPECT_EQ(missing.flags, 0u);
    EXPECT_EQ(+missing.georef.Method, TM_NONE);
    EXPECT_EQ(missing.datum, DATUM_NONE);
}

// Only the records supplied are touched; the datum needs both of its pointers.
TEST(RefFileRead, PartialRecords) {
    kvtest::TempDir dir("refpartial");
    dir.Write("p.kvr", kHeader + "Projection Name : Mercator\nDatum Name : World Geodetic System 1972\n"
                                 "Datum X-Shift in meters from WGS84 : 4\n"
                                 "Georef Method : Helmert\nGeoref Control Point Count : 1\n"
                                 "Georef Point : 1 2 3 4\n");
    DatumType datum = DATUM_USER_DEFINED;
    unsigned int flags = 0;
    ASSERT_TRUE(KVProjRefFileReadEx((dir / "p").c_str(), nullptr, &datum, nullptr, nullptr, &flags));
    EXPECT_EQ(flags, unsigned(GEOPARAM_FILE_FOUND));
    EXPECT_EQ(datum, DATUM_NONE);
    PROJDATA proj{};
    DATUM2WGS84 params{};
    ASSERT_TRUE(KVProjRefFileRead(const_cast<char*>((dir / "p").c_str()), &proj, &datum, &params));
    EXPECT_EQ(+proj.Type, PT_MERCATOR);
    EXPECT_EQ(datum, DATUM_WGS72);
    EXPECT_EQ(+params.dx, 4.0);
    EXPECT_FALSE(KVProjRefFileReadEx(nullptr, &proj, &datum, &params, nullptr, &flags));
    EXPECT_FALSE(KVProjRefFileReadEx("", &proj, &datum, &params, nullptr, &flags));
}

// Every projection type writes and reads back: the fields that the file carries
// bit for bit (decimal inputs of at most 15 digits), the rest zero. The
// ellipsoid's flattening is the table's 1/rf, written with 15 digits: not bit-exact.
TEST(RefFileRoundTrip, EveryProjectionType) {
    kvtest::TempDir dir("refproj");
    const std::string name = dir / "p";
    for (int t = 0; t <= PT_COUNT; ++t) {
        PROJDATA p{};
        p.Type = t == PT_COUNT ? PT_UNDEFINED : static_cast<ProjType>(t);
        p.Scale = 0.25, p.xOrg = 500000.125, p.yOrg = -1e7, p.Lat0 = 10.5, p.Lon0 = -20.25;
        p.Lat1 = 30.125, p.Lat2 = 40.0625, p.Lat3 = 50.5, p.Lon1 = -60.75, p.Lon2 = 170.375;
        p.Lon3 = 80.5, p.K0 = 0.9996, p.bSouth = p.bUseAlpha = p.bRotate = p.bUOffset = true;
        p.Alpha = 33.3, p.Zone = SZ_GUAM_ISLAND, p.Ellipsoid = ELLIPSOID_CLARKE_1866;
        ASSERT_TRUE(KVProjRefFileWriteEx(name.c_str(), &p, DATUM_NONE, nullptr, nullptr)) << t;
        const std::string text = kvtest::ReadFile(name + ".kvr");
        Read r;
        ReadAll(name, r);
        ASSERT_TRUE(r.ok) << t;
        EXPECT_EQ(+r.proj.Type, p.Type) << t;
        for (const RefKeyword& row : kRefKeywords) {
            if (row.record != RR_PROJ || row.field == kNoField) continue;
            const bool present = kvtest::Contains(text, std::string("\n") + row.keyword + " : ");
            const size_t width = row.kind == RPK_DOUBLE ? sizeof(double) : sizeof(bool);
            const char* in = reinterpret_cast<const char*>(&p) + row.field;
            const char* out = reinterpret_cast<const char*>(&r.proj) + row.field;
            const char zero[sizeof(double)] = {};
            if (row.field == static_cast<int>(offsetof(PROJDATA, Flattening)) && present)
                EXPECT_NEAR(r.proj.Flattening, 1 / 294.9786982, 5e-18) << t;
            else if (row.field == static_cast<int>(offsetof(PROJDATA, MajorRadius)) && present)
                EXPECT_EQ(+r.proj.MajorRadius, 6378206.4) << t;
            else
                EXPECT_EQ(std::memcmp(out, present ? in : zero, width), 0) << t << row.keyword;
        }
        const bool statePlane = t == PT_STATE_PLANE_27 || t == PT_STATE_PLANE_83;
        EXPECT_EQ(+r.proj.Zone, statePlane ? SZ_GUAM_ISLAND : StateZoneType(0)) << t;
        EXPECT_EQ(+r.proj.Ellipsoid, t == 0 || t == PT_COUNT ? EllipsoidType(0)
                                                            : ELLIPSOID_CLARKE_1866)
            << t;
        EXPECT_EQ(r.flags, GEOPARAM_FILE_FOUND | (t == PT_COUNT ? 0u : +GEOPARAM_PROJECTION)) << t;
    }
}

// Every zone of both state plane systems is found again by its name.
TEST(RefFileRoundTrip, EveryStatePlaneZone) {
    kvtest::TempDir dir("refzone");
    const std::string name = dir / "z";
    int zones = 0;
    for (ProjType type : {PT_STATE_PLANE_27, PT_STATE_PLANE_83})
        for (int z = 0; z < STATEZONE_COUNT; ++z, ++zones) {
            PROJDATA p = Proj(type);
            p.Zone = static_cast<StateZoneType>(z);
            ASSERT_TRUE(KVProjRefFileWriteEx(name.c_str(), &p, DATUM_NONE, nullptr, nullptr));
            Read r;
            ReadAll(name, r);
            EXPECT_EQ(+r.proj.Type, type);
            EXPECT_EQ(+r.proj.Zone, z) << type;
        }
    EXPECT_EQ(zones, 284);
}

// Every built-in datum: name (each name in the table is unique), method and the
// parameters the method carries. HARN and NTv2 read back as method 7: the format
// does not carry them.
TEST(RefFileRoundTrip, EveryBuiltInDatum) {
    kvtest::TempDir dir("refdatum");
    const std::string name = dir / "d";
    int uncarried = 0;
    for (int i = 0; i < kDatumRowCount; ++i) {
        const DatumRow& row = kDatumRows[i];
        DATUM2WGS84 d{};
        DatumFillStep(row, &d);
        ASSERT_TRUE(KVProjRefFileWriteEx(name.c_str(), nullptr, DatumType(row.id), &d, nullptr));
        Read r;
        ReadAll(name, r);
        ASSERT_EQ(r.flags, unsigned(GEOPARAM_FILE_FOUND | GEOPARAM_DATUM)) << row.id;
        EXPECT_EQ(r.datum, row.id);
        if (row.method == DM_HARN || row.method == DM_NTV2) {
            EXPECT_EQ(int(+r.params.Method), 7) << row.id;
            ++uncarried;
            continue;
        }
        EXPECT_EQ(+r.params.Method, row.method) << row.id;
        if (row.method != DM_BURSA && row.method != DM_MOLODENSKY) continue;
        EXPECT_EQ(+r.params.Ellipsoid, row.ellipsoid) << row.id;
        EXPECT_TRUE(Bits(r.params.dx, row.dx) && Bits(r.params.dy, row.dy) &&
                    Bits(r.params.dz, row.dz) && Bits(r.params.PMShift, row.pmShift))
            << row.id;
        EXPECT_EQ(+r.params.MajorRadius, EllipsoidRadius(row.ellipsoid)) << row.id;
        EXPECT_NEAR(r.params.Flattening, EllipsoidFlattening(row.ellipsoid), 1e-17) << row.id;
        if (row.method == DM_BURSA) {
            EXPECT_TRUE(Bits(r.params.rx, row.rx) && Bits(r.params.ry, row.ry) &&
                        Bits(r.params.rz, row.rz) && Bits(r.params.k, row.k))
                << row.id;
        }
    }
    EXPECT_EQ(uncarried, 1); // the NTv2 datum
}

// Every georeference method 0..11 with its controls; method 5 with coefficients.
// 15 significant digits: decimal inputs come back bit for bit; 1/3 does not.
TEST(RefFileRoundTrip, EveryGeorefMethod) {
    kvtest::TempDir dir("refgeo");
    const std::string name = dir / "g";
    GEOREFPOINT src[3] = {{0, 0}, {640.5, 0.25}, {1.0 / 3, 480}};
    GEOREFPOINT dst[3] = {{-123.125, 49.5}, {-122.0009765625, 49.5}, {-1e-300, 1e300}};
    for (int m = TM_HELMERT; m < TM_NONE; ++m) {
        GEOREF g{};
        g.Method = static_cast<TransformMethod>(m), g.pSrc = src, g.pDest = dst, g.nControls = 3;
        g.A = 2.5, g.B = -0.5;
        ASSERT_TRUE(KVProjRefFileWriteEx(name.c_str(), nullptr, DATUM_NONE, nullptr, &g)) << m;
        Read r;
        ReadAll(name, r);
        EXPECT_EQ(+r.georef.Method, m);
        if (m == TM_PRECALCULATED) {
            EXPECT_EQ(r.flags, unsigned(GEOPARAM_FILE_FOUND | GEOPARAM_COEFFICIENTS));
            EXPECT_EQ(+r.georef.A, 2.5);
            EXPECT_EQ(+r.georef.B, 0.0); // only the first coefficient travels
            EXPECT_EQ(+r.georef.nControls, 0);
            continue;
        }
        EXPECT_EQ(r.flags, unsigned(GEOPARAM_FILE_FOUND | GEOPARAM_CONTROLS)) << m;
        ASSERT_EQ(+r.georef.nControls, 3) << m;
        for (int i = 0; i < 3; ++i) {
            if (i == 2) {
                EXPECT_NEAR(r.georef.pSrc[i].x, src[i].x, 1e-15);
                EXPECT_FALSE(Bits(r.georef.pSrc[i].x, src[i].x)); // 1/3 needs 17 digits
            } else {
                EXPECT_TRUE(Bits(r.georef.pSrc[i].x, src[i].x)) << m << " " << i;
            }
            EXPECT_TRUE(Bits(r.georef.pSrc[i].y, src[i].y) && Bits(r.georef.pDest[i].x, dst[i].x) &&
                        Bits(r.georef.pDest[i].y, dst[i].y))
                << m << " " << i;
        }
    }
}

// Trace texts, word for word, with the log's CR-LF line ends.
TEST(RefFileTrace, Texts) {
    kvtest::TempDir dir("reftrace");
    const std::string name = dir / "t";
    PROJDATA p = Proj(PT_MERCATOR);
    {
        kvtest::LogCapture log("reftrace_w");
        ASSERT_TRUE(KVProjRefFileWriteEx(name.c_str(), &p, DATUM_NONE, nullptr, nullptr));
        EXPECT_EQ(log.Text(), "CTRACE:  KVProjRefFileWrite(\"" + name + "\", ...)\r\n"
                              "CTRACE:  ProjType == 1\r\nCTRACE:  eDatum == 254\r\n"
                              "CTRACE:  DATUM_COUNT == 254\r\n"
                              "CTRACE:  Opened \"" + name + ".kvr\" for writing.\r\n");
    }
    {
        kvtest::LogCapture log("reftrace_r");
        Read r;
        ReadAll(name, r);
        const std::string text = log.Text();
        EXPECT_TRUE(kvtest::Contains(text, "CTRACE:  KVProjRefFileReadEx(..., \"" + name +
                                               "\", ...)\r\nCTRACE:  Opened \"" + name +
                                               ".kvr\" for reading.\r\n"));
        EXPECT_TRUE(kvtest::Contains(text, "CTRACE:  Read Projection Name : Mercator\r\n"));
        EXPECT_TRUE(kvtest::Contains(text, "CTRACE:  KVProjRefFileReadEx success.\r\n"));
    }
    {
        kvtest::LogCapture log("reftrace_d");
        EXPECT_TRUE(KVProjRefFileDelete(name.c_str()));
        EXPECT_TRUE(KVProjRefFilesDelete(name.c_str()));
        EXPECT_EQ(log.Text(), "CTRACE:  KVProjRefFileDelete(\"" + name + "\", ...)\r\n"
                              "CTRACE:  KVProjRefFilesDelete(\"" + name + "\", ...)\r\n"
                              "CTRACE:  KVProjRefFileDelete(\"" + name + "\", ...)\r\n");
    }
}

// Numbers are written and read in the C locale under a decimal-comma locale.
TEST(RefFileLocale, DecimalComma) {
    kvtest::CommaLocale comma;
    if (!comma.Ok()) GTEST_SKIP() << "de_DE.UTF-8 is not generated on this system";
    char probe[16];
    std::snprintf(probe, sizeof probe, "%.1f", 0.5);
    ASSERT_STREQ(probe, "0,5"); // the locale really is a decimal-comma one
    kvtest::TempDir dir("reflocale");
    PROJDATA p = Proj(PT_MERCATOR);
    p.Lat0 = 0.5, p.Lon0 = -1234.0625;
    ASSERT_TRUE(KVProjRefFileWriteEx((dir / "l").c_str(), &p, DATUM_NONE, nullptr, nullptr));
    const std::string text = dir.Read("l.kvr");
    EXPECT_TRUE(kvtest::Contains(text, "Version 1.10\n")) << text;
    EXPECT_TRUE(kvtest::Contains(text, "Projection Lat0 (degrees) : 0.5\n")) << text;
    Read r;
    ReadAll(dir / "l", r);
    EXPECT_EQ(+r.proj.Lat0, 0.5);
    EXPECT_EQ(+r.proj.Lon0, -1234.0625);
}

// A failed write never leaves half a file; the caller's name as passed (not the
// completed one) is then deleted, as the format requires.
TEST(RefFileWrite, FailureLeavesNoTornFile) {
    kvtest::TempDir dir("reffail");
    const std::string good = kHeader + "Projection Name : Mercator\n";
    dir.Write("map.kvr", good);
    dir.Write("map", "the caller's own file");
    dir.Write("full.kvr", good);
    PROJDATA p = Proj(PT_HOTINE);
    {
        kvtest::FileSizeLimit limit(64); // as a full disk: the text is longer
        EXPECT_FALSE(KVProjRefFileWriteEx((dir / "map").c_str(), &p, DATUM_NONE, nullptr, nullptr));
        EXPECT_FALSE(
            KVProjRefFileWriteEx((dir / "full.kvr").c_str(), &p, DATUM_NONE, nullptr, nullptr));
    }
    EXPECT_EQ(dir.Read("map.kvr"), good); // the old file, whole
    EXPECT_EQ(dir.List(), std::vector<std::string>{"map.kvr"});
    EXPECT_FALSE(KVProjRefFileWriteEx((dir / "gone/map").c_str(), &p, DATUM_NONE, nullptr, nullptr));
    EXPECT_FALSE(KVProjRefFileWriteEx(nullptr, &p, DATUM_NONE, nullptr, nullptr));
    EXPECT_FALSE(KVProjRefFileWriteEx("", &p, DATUM_NONE, nullptr, nullptr));
}

// The reference file and its georeference siblings, in order, any letter case.
TEST(RefFileDelete, Siblings) {
    kvtest::TempDir dir("refdel");
    for (const char* f : {"map.tif.kvr", "map.RSF", "MAP.prj", "map.WLD", "map.tifW", "map.tfw",
                          "map.tif", "other.tfW"})
        dir.Write(f, "x");
    EXPECT_TRUE(KVProjRefFilesDelete((dir / "map.tif").c_str()));
    EXPECT_EQ(dir.List(), (std::vector<std::string>{"map.tif", "other.tfW"}));
    dir.Write("ab.kvr", "x");
    dir.Write("abW", "x");
    EXPECT_TRUE(KVProjRefFilesDelete((dir / "ab.c").c_str())); // short extension: abW
    EXPECT_TRUE(dir.Exists("ab.kvr"));                         // ab.c.kvr is the reference file
    EXPECT_FALSE(dir.Exists("abW"));
    ::mkdir((dir / "d.RSF").c_str(), 0700); // a folder in the way stops the chain
    dir.Write("d.PRJ", "x");
    EXPECT_FALSE(KVProjRefFilesDelete((dir / "d.x").c_str()));
    EXPECT_TRUE(dir.Exists("d.PRJ"));
    EXPECT_FALSE(KVProjRefFileDelete(nullptr));
    EXPECT_FALSE(KVProjRefFilesDelete(""));
    EXPECT_TRUE(KVProjRefFileDelete((dir / "never").c_str()));
}

// Hostile files and names: no crash, no hang, no write past the arrays.
TEST(RefFileRead, HostileInput) {
    kvtest::TempDir dir("refhostile");
    const std::string start = kHeader + "Georef Method : Helmert\nGeoref Control Point Count : 2\n"
                                        "Georef Point : ";
    for (const auto& h : kvtest::HostileInputs(start)) {
        const std::string path = dir / "h.kvr";
        (void)std::system(("rm -rf " + kvtest::Quote(path)).c_str());
        h.make(path);
        Read r;
        ReadAll(dir / "h", r);
        if (r.flags & GEOPARAM_CONTROLS) {
            EXPECT_EQ(+r.georef.nControls, 2) << h.what;
        }
        if (std::string(h.what) == "directory" || std::string(h.what) == "FIFO") {
            EXPECT_TRUE(r.ok) << h.what; // not a regular file: as if missing
            EXPECT_EQ(r.flags, 0u) << h.what;
        }
    }
    Read r;
    ReadAll(dir / std::string(300, 'n'), r);
    EXPECT_TRUE(r.ok);
    EXPECT_EQ(r.flags, 0u);
    PROJDATA p = Proj(PT_MERCATOR);
    EXPECT_FALSE(KVProjRefFileWriteEx((dir / std::string(300, 'n')).c_str(), &p, DATUM_NONE,
                                      nullptr, nullptr));
}

// Long lines are read 259 characters at a time: a keyword at the start of the
// 260th character is its own line.
TEST(RefFileRead, LongLinesReadInPieces) {
    kvtest::TempDir dir("refpieces");
    dir.Write("l.kvr", kHeader + std::string(259, 'x') + "Projection Scale : 4\n" +
                           std::string(258, 'y') + "Projection Lat0 (degrees) : 4\n");
    Read r;
    ReadAll(dir / "l", r);
    EXPECT_EQ(+r.proj.Scale, 4.0);
    EXPECT_EQ(+r.proj.Lat0, 0.0);
}
