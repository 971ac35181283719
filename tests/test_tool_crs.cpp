// Coordinate systems on the command line: EPSG codes against PROJ, refusals
// with their reasons, datum shifts that follow from the two sides, "info"
// warnings and JSON, and "transform" against gdaltransform.
#include "SideFileTest.h"
#include "TestSupport.h"

#include "Crs.h"

#include "kvlibw/bitmaptag.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <sstream>
#include <string>
#include <vector>

namespace {

struct Point {
    double x = NAN, y = NAN;
};

// The first two numbers of every output line.
std::vector<Point> Points(const std::string& out) {
    std::vector<Point> points;
    std::istringstream in(out);
    for (std::string line; std::getline(in, line);) {
        Point p;
        std::istringstream words(line);
        words >> p.x >> p.y;
        points.push_back(p);
    }
    return points;
}

Point ConvertOne(const std::string& args, double x, double y) {
    char input[128];
    std::snprintf(input, sizeof input, "%.10f %.10f\n", x, y);
    const kvtest::ToolRun r = kvtest::RunTool("convert " + args + " --precision 6", input);
    const std::vector<Point> p = Points(r.out);
    return p.size() == 1 && r.status == 0 ? p[0] : Point();
}

struct EpsgCase {
    int code;
    double lon, lat; // inside the code's area of use, on its own geographic system
    double x, y;     // in the code's axis unit, easting first
};

// PROJ 9.1.1: proj -f %.4f with the code's definition from "projinfo -o PROJ"
// (no datum shift), EPSG dataset v10.076 as Debian's proj.db carries it.
const EpsgCase kEpsgCases[] = {
    {32633, 13.8, 50.4, 414716.3184, 5583794.2542},        // WGS 84 / UTM zone 33N
    {32756, 151.8, -32.0, 386649.9252, 6458935.2363},      // WGS 84 / UTM zone 56S
    {26917, -82.2, 59.924, 432915.7620, 6643555.2462},     // NAD83 / UTM zone 17N
    {25832, 7.803, 66.102, 445891.9957, 7331796.1000},     // ETRS89 / UTM zone 32N
    {2463, 20.56, 54.92, 471786.2125, 6088519.8726},       // Pulkovo 1995 / GK CM 21E (N,E)
    {31468, 11.403, 51.71, 4458740.0292, 5730656.3540},    // DHDN / 3-degree GK zone 4
    {2193, 170.048, -39.392, 1345775.4917, 5635563.0520},  // NZGD2000 / NZTM 2000
    {26929, -86.22, 33.396, 164028.3739, 321179.8385},     // NAD83 / Alabama East
    {2230, -117.031, 33.46, 6323471.4950, 2111893.4063},   // NAD83 / California 6 (ftUS)
    {2263, -73.522, 40.968, 1116256.7662, 292307.9107},    // NAD83 / New York Long Island (ftUS)
    {2222, -110.909, 34.738, 476983.5376, 1360768.5396},   // NAD83 / Arizona East (ft)
    {3435, -88.602, 40.324, 909338.3229, 1332052.0794},    // NAD83 / Illinois East (ftUS)
    {32040, -101.523, 29.514, 1197619.9771, 619728.0373},  // NAD27 / Texas South Central
    {27572, -0.94, 47.616, 353691.1083, 2295846.0944},     // NTF (Paris) / Lambert zone II
    {3165, 166.407, -22.262, -3650.8722, 852.3439},        // NEA74 Noumea / Noumea Lambert
    {2154, -3.788, 47.396, 188615.3647, 6721511.5492},     // RGF93 v1 / Lambert-93
    {3034, -11.457, 60.678, 2865390.3118, 3904491.8205},   // ETRS89-extended / LCC Europe
    {5070, -107.426, 39.392, -972742.3537, 1877392.4167},  // NAD83 / Conus Albers
    {3577, 125.102, -23.396, -697754.5083, -2541820.1715}, // GDA94 / Australian Albers
    {5880, -59.391, -10.06, 4409069.5473, 8882652.4005},   // SIRGAS 2000 / Brazil Polyconic
    {3395, -72.0, 18.4, -8015003.3371, 2070940.9271},      // WGS 84 / World Mercator
    {3388, 49.044, 43.122, -162058.7989, 3945652.4376},    // Pulkovo 1942 / Caspian Sea Mercator
    {3857, -72.0, 17.012, -8015003.3371, 1922221.9556},    // WGS 84 / Pseudo-Mercator
    {3031, -72.0, -72.0, -1874855.2924, 609177.4121},      // WGS 84 / Antarctic Polar Stereographic
    {3413, -72.0, 78.0, -592234.4425, -1162325.5386},  // WGS 84 / NSIDC Polar Stereographic North
    {32661, -72.0, 78.0, 728456.0718, 1586850.3331},   // WGS 84 / UPS North (N,E)
    {3078, -87.933, 45.668, 349277.1944, 570284.8405}, // NAD83 / Michigan Oblique Mercator
    // Clarke 1858, which the registry keeps in Clarke's feet, and Clarke's foot axes.
    {5589, -88.6, 17.0, 228389.5074, 423240.4723}, // Sibun Gorge 1922 / Colony Grid
    // Across the antimeridian from the central meridian: the tool brings the
    // longitude within 180 degrees of it before projecting.
    {3460, 177.3, -17.5, 1846020.4133, 3944086.3329},   // Fiji 1986 / Fiji Map Grid
    {26740, 173.5, 52.8, 685055.2957, 826437.7475},     // NAD27 / Alaska zone 10
    {3338, 175.0, 52.5, -2037542.3053, 760758.2221},    // NAD83 / Alaska Albers
    {3832, -150.0, 20.0, 6679169.4476, 2258423.6491},   // WGS 84 / PDC Mercator
    {8903, 178.5, -14.3, 14236.9651, 8414375.9633},     // RGWF96 / UTM zone 1S
};

TEST(ToolCrs, EpsgCodesAgreeWithProjWithinAMillimetre) {
    for (const EpsgCase& c : kEpsgCases) {
        const std::string code = "EPSG:" + std::to_string(c.code);
        const Point p = ConvertOne("--dst " + code, c.lon, c.lat);
        EXPECT_NEAR(p.x, c.x, 1e-3) << code;
        EXPECT_NEAR(p.y, c.y, 1e-3) << code;
    }
}

// The way back: projected input of the same codes gives the longitude and
// latitude again (1e-8 degrees is a millimetre); Mercator codes are left out,
// the library's Mercator inverse keeps its 2.71828 base.
TEST(ToolCrs, EpsgCodesInvert) {
    for (const EpsgCase& c : kEpsgCases) {
        if (c.code == 3395 || c.code == 3388 || c.code == 3857 || c.code == 3832) continue;
        const std::string code = "EPSG:" + std::to_string(c.code);
        const Point p = ConvertOne("--src " + code, c.x, c.y);
        EXPECT_NEAR(p.x, c.lon, 2e-8) << code;
        EXPECT_NEAR(p.y, c.lat, 2e-8) << code;
    }
}

struct Refusal {
    const char* args;
    int status;
    std::vector<std::string> expected;
};

TEST(ToolCrs, RefusesWhatItCannotExpressWithTheReason) {
    const Refusal cases[] = {
        {"convert --dst EPSG:3035", 2, {"Lambert Azimuthal Equal Area", "spherical only"}},
        {"convert --dst EPSG:2046",
         2,
         {"cannot be expressed", "Transverse Mercator (South Orientated)"}},
        {"convert --dst EPSG:3068", 2, {"Cassini-Soldner", "spherical only"}},
        {"convert --dst EPSG:3167", 2, {"rectified grid angle"}},
        {"convert --dst EPSG:28992", 2, {"Oblique Stereographic", "double stereographic"}},
        {"convert --dst EPSG:5514", 2, {"the method Krovak"}},
        {"convert --dst EPSG:27500", 2, {"prime meridian EPSG:8914 is not in the tables"}},
        {"convert --dst EPSG:1", 2, {"neither a projected nor a geographic system"}},
        {"convert --dst EPSG:x", 2, {"an EPSG code is a number"}},
        {"convert --dst nowhere.prj", 2, {"is not a coordinate system"}},
        {"convert --dst EPSG:26917 --dst-utm 17N", 2, {"--src/--dst replace"}},
        {"convert --dst 'type=utm zone=3'", 2, {"'zone' is not a parameter of"}},
        {"info EPSG:3035", 1, {"cannot be expressed"}},
    };
    for (const Refusal& c : cases) {
        const kvtest::ToolRun r = kvtest::RunTool(c.args, "10 50\n");
        EXPECT_EQ(r.status, c.status) << c.args << "\n" << r.err;
        EXPECT_EQ(r.out, "") << c.args;
        for (const std::string& part : c.expected)
            EXPECT_TRUE(kvtest::Contains(r.err, part)) << c.args << " lacks '" << part << "'\n"
                                                       << r.err;
    }
}

TEST(ToolCrs, DatumShiftFollowsFromTheTwoSides) {
    // PROJ 9.1.1 cs2cs +datum=WGS84 to +proj=utm +zone=31 +ellps=intl
    // +towgs84=-87,-98,-121: 460685.2891 4983276.5360 (a three-parameter
    // shift; the library's Molodensky step differs by 2 mm).
    const Point ed50 = ConvertOne("--src EPSG:4326 --dst EPSG:23031", 2.5, 45);
    EXPECT_NEAR(ed50.x, 460685.2891, 0.01);
    EXPECT_NEAR(ed50.y, 4983276.5360, 0.01);
    // The same datum on both sides: no shift (PROJ: proj +proj=utm +zone=31 +ellps=intl).
    const Point same = ConvertOne("--src EPSG:4230 --dst EPSG:23031", 2.5, 45);
    EXPECT_NEAR(same.x, 460590.5205, 1e-3);
    // --src-datum overrides the side's own datum.
    const Point overridden =
        ConvertOne("--src EPSG:4326 --src-datum ED50 --dst EPSG:23031", 2.5, 45);
    EXPECT_NEAR(overridden.x, same.x, 1e-3);
    // A state plane zone brings its datum; utm: brings none, so nothing is shifted.
    const Point zone =
        ConvertOne("--src spcs83:\"Alabama East\" --dst EPSG:26929", 164028.3739, 321179.8385);
    EXPECT_NEAR(zone.x, 164028.3739, 1e-3);
    const Point utm = ConvertOne("--src EPSG:4326 --dst utm:31N", 2.5, 45);
    EXPECT_NEAR(utm.x, 460592.3510, 1e-3); // PROJ: proj +proj=utm +zone=31 +ellps=WGS84
}

TEST(ToolCrs, InfoShowsRecordsNotesAndJson) {
    const kvtest::ToolRun r = kvtest::RunTool("info EPSG:2230 EPSG:4267 utm:33N");
    EXPECT_EQ(r.status, 0) << r.err;
    for (const char* part :
         {"EPSG:2230 NAD83 / California zone 6 (ftUS):", "Lambert Conformal Conic",
          "Scale: 3.28083333333333", "US survey foot", "0.30480060960121924 m (EPSG unit 9003)",
          "datum: North American Datum 1983", "EPSG:4267 NAD27:", "Unprojected",
          "datum: North American Datum 1927", "utm:33N:", "datum: unknown (utm: names no datum"})
        EXPECT_TRUE(kvtest::Contains(r.out, part)) << "lacks '" << part << "'\n" << r.out;
    const kvtest::ToolRun j = kvtest::RunTool("info --json EPSG:2056 EPSG:2230");
    EXPECT_EQ(j.status, 0) << j.err;
    for (const char* part :
         {"[{\"name\": \"EPSG:2056\"", "\"title\": \"EPSG:2056 CH1903+ / LV95\"",
          "\"Projection\": \"Hotine Oblique Mercator\"", "\"shift\": [674.374, 15.056, 405.346]",
          "\"scale_ppm\": 0", "\"warnings\": []}", "\"False Easting\": \"2000000.0001016\""})
        EXPECT_TRUE(kvtest::Contains(j.out, part)) << "lacks '" << part << "'\n" << j.out;
}

// A blank 100 x 100 TIFF with the given tags.
void BlankTiff(const std::string& path, const KVBitmapTagList& tags) {
    KVBitLib lib;
    ASSERT_TRUE(lib.WriteNewWithTags(path.c_str(), 100, 100, tags));
}

void AddTag(KVBitmapTagList* tags, unsigned number, int type, unsigned long count,
            const void* data) {
    KVBitmapTag tag;
    ASSERT_TRUE(tag.Assign(type, count, data));
    ASSERT_TRUE(tags->Merge(number, tag));
}

// The tags GDAL 3.6 gdal_create writes for -a_srs EPSG:32633 -a_ullr 500000
// 4650000 501000 4649000 -outsize 100 100 (listgeo shows them): tiepoint,
// pixel scale, model type projected, raster pixel-is-area, PCS 32633.
KVBitmapTagList GdalUtmTags() {
    KVBitmapTagList tags;
    const double tie[6] = {0, 0, 0, 500000, 4650000, 0}, scale[3] = {10, 10, 0};
    const unsigned short keys[] = {1, 1, 0, 3, 1024, 0, 1, 1, 1025, 0, 1, 1, 3072, 0, 1, 32633};
    AddTag(&tags, KVTAG_MODEL_TIEPOINT, KVTAG_DOUBLE, 6, tie);
    AddTag(&tags, KVTAG_MODEL_PIXEL_SCALE, KVTAG_DOUBLE, 3, scale);
    AddTag(&tags, KVTAG_GEO_KEY_DIRECTORY, KVTAG_SHORT, 16, keys);
    return tags;
}

TEST(ToolCrs, InfoWarnsAboutConventionsThatTripUsers) {
    kvtest::TempDir dir("crswarn");
    const std::string tif = dir / "map.tif";
    // GeoTIFF tags put the corner of pixel (0, 0) at 500000 4650000; a world
    // file written for the same image puts the centre at 500005 4649995.
    BlankTiff(tif, GdalUtmTags());
    dir.Write("map.tfw", "10\n0\n0\n-10\n500005\n4649995\n");
    dir.Write("map.prj",
              "PROJCS[\"x\",GEOGCS[\"GCS_North_American_1983\",DATUM[\"D_North_American_1983\","
              "SPHEROID[\"GRS_1980\",6378137,298.257222101]],PRIMEM[\"Greenwich\",0],"
              "UNIT[\"Degree\",0.0174532925199433]],PROJECTION[\"Transverse_Mercator\"],"
              "PARAMETER[\"Central_Meridian\",15],PARAMETER[\"Scale_Factor\",0.9996],"
              "UNIT[\"Foot\",0.3048]]");
    kvtest::ToolRun r = kvtest::RunTool("info " + kvtest::Quote(tif));
    EXPECT_EQ(r.status, 0) << r.err;
    for (const char* part :
         {"disagree by half a pixel", "names the unit \"Foot\"",
          "found " /* each side file and what it gave */,
          "(GeoTIFF tags): projection, datum, georeference", "(world file): georeference"})
        EXPECT_TRUE(kvtest::Contains(r.out, part)) << "lacks '" << part << "'\n" << r.out;
    // The same position in both: one of them is half a pixel off.
    dir.Write("map.tfw", "10\n0\n0\n-10\n500000\n4650000\n");
    r = kvtest::RunTool("info --json " + kvtest::Quote(tif));
    EXPECT_TRUE(
        kvtest::Contains(r.out, "same position, but a world file counts from the pixel's centre"))
        << r.out;
    // The published matrix tag alone, which the reader does not use.
    const std::string rotated = dir / "rotated.tif";
    KVBitmapTagList tags;
    const double matrix[16] = {10, 1, 0, 500000, 1, -10, 0, 4650000, 0, 0, 0, 0, 0, 0, 0, 1};
    AddTag(&tags, KVTAG_MODEL_TRANSFORMATION, KVTAG_DOUBLE, 16, matrix);
    BlankTiff(rotated, tags);
    dir.Write("rotated.tfw", "10\n0\n0\n-10\n500005\n4649995\n");
    r = kvtest::RunTool("info " + kvtest::Quote(rotated));
    EXPECT_TRUE(kvtest::Contains(r.out, "ModelTransformation tag (34264)")) << r.out;
}

struct PixelCase {
    const char* options;
    const char* input;
    std::vector<Point> expected;
    double tolerance;
};

// GDAL 3.6 gdaltransform on a GeoTIFF made with gdal_create -a_srs EPSG:32633
// -a_ullr 500000 4650000 501000 4649000 -outsize 100 100: pixel/line count
// from the first pixel's corner (--corner here).
TEST(ToolCrs, TransformAgreesWithGdaltransform) {
    kvtest::TempDir dir("crspixel");
    const std::string tif = dir / "g.tif";
    BlankTiff(tif, GdalUtmTags());
    // The same georeference as a world file (pixel centres) beside a plain image.
    const std::string png = dir / "w.png";
    dir.Write("w.png", "");
    dir.Write("w.pgw", "10\n0\n0\n-10\n500005\n4649995\n");
    ASSERT_EQ(
        kvtest::RunTool("export --format prj --utm 33N --datum WGS84 " + kvtest::Quote(png)).status,
        0);
    const PixelCase cases[] = {
        {"--corner",
         "0 0\n50.5 20.25\n100 100\n",
         {{500000, 4650000}, {500505, 4649797.5}, {501000, 4649000}},
         1e-6},
        {"", "0 0\n", {{500005, 4649995}}, 1e-6}, // pixel centres, as world files count
        {"--corner --geo",
         "0 0\n50.5 20.25\n100 100\n",
         {{15, 42.002015468347},
          {15.0060977543894, 42.0001914565299},
          {15.012073403387, 41.9930081618068}},
         2e-8},
        {"--corner --dst EPSG:4326", "50.5 20.25\n", {{15.0060977543894, 42.0001914565299}}, 2e-8},
        {"--corner --inverse", "500500 4649500\n", {{50, 50}}, 1e-6},
        {"--corner --inverse --geo", "15.0060977543894 42.0001914565299\n", {{50.5, 20.25}}, 1e-4},
    };
    for (const std::string& image : {tif, png})
        for (const PixelCase& c : cases) {
            const std::string args =
                std::string("transform ") + c.options + " --precision 10 " + kvtest::Quote(image);
            const kvtest::ToolRun r = kvtest::RunTool(args, c.input);
            EXPECT_EQ(r.status, 0) << args << "\n" << r.err;
            const std::vector<Point> got = Points(r.out);
            ASSERT_EQ(got.size(), c.expected.size()) << args << "\n" << r.out << r.err;
            for (size_t i = 0; i < got.size(); ++i) {
                EXPECT_NEAR(got[i].x, c.expected[i].x, c.tolerance) << args << " point " << i;
                EXPECT_NEAR(got[i].y, c.expected[i].y, c.tolerance) << args << " point " << i;
            }
        }
    const kvtest::ToolRun none =
        kvtest::RunTool("transform " + kvtest::Quote(dir / "w.prj"), "0 0\n");
    EXPECT_EQ(none.status, 1);
    EXPECT_TRUE(kvtest::Contains(none.err, "no georeference found")) << none.err;
}

// The translation itself, below the command line: units and scale folded
// into Scale, the false origin in metres.
TEST(ToolCrs, EpsgRecordsCarryUnitsInScale) {
    struct Row {
        int code;
        KVProj::ProjType type;
        double scale, xOrg;
    } const rows[] = {
        // EPSG dataset: US survey foot 1200/3937 m, foot 0.3048 m.
        {2230, KVProj::PT_LAMBERT_CONIC, 3937.0 / 1200.0, 2000000.0001016},
        {2222, KVProj::PT_TRANSVERSE_MERCATOR, 1 / 0.3048, 213360},
        {32633, KVProj::PT_TRANSVERSE_MERCATOR, 1, 500000},
        {3395, KVProj::PT_MERCATOR, 1, 0},
    };
    for (const Row& row : rows) {
        kvtool::CrsRecord crs;
        std::string error;
        ASSERT_TRUE(kvtool::EpsgCrs(row.code, &crs, &error)) << row.code << ": " << error;
        const KVProj::ProjType type = crs.proj.Type; // the record is packed
        const double scale = crs.proj.Scale, xOrg = crs.proj.xOrg;
        EXPECT_EQ(type, row.type) << row.code;
        EXPECT_NEAR(scale, row.scale, 1e-12) << row.code;
        EXPECT_NEAR(xOrg, row.xOrg, 1e-6) << row.code;
    }
}

} // namespace

// The commands with one side take the same coordinate-system argument (--crs)
// as convert's --src/--dst. Expected values: the Lambert-93 row of the PROJ
// table above.
TEST(ToolCrs, OneSidedCommandsTakeCrs) {
    kvtest::TempDir dir("crsone");
    const std::string kvr = dir / "map.tif";
    kvtest::ToolRun r = kvtest::RunTool("check --crs EPSG:2154");
    EXPECT_EQ(r.status, 0) << r.err;
    EXPECT_EQ(r.out, "valid\n");
    r = kvtest::RunTool("check --crs EPSG:2154 Lat1=-60 Lat2=60"); // words go on top
    EXPECT_EQ(r.status, 1);
    EXPECT_TRUE(kvtest::Contains(r.out, "invalid")) << r.out;

    // What export writes from a code converts as the code does.
    r = kvtest::RunTool("export --format kvr --crs EPSG:2154 " + kvr);
    ASSERT_EQ(r.status, 0) << r.err;
    const Point p = ConvertOne("--dst-file " + kvr + ".kvr", -3.788, 47.396);
    EXPECT_NEAR(p.x, 188615.3647, 1e-3);
    EXPECT_NEAR(p.y, 6721511.5492, 1e-3);

    r = kvtest::RunTool("graticule --crs EPSG:2154 --step 5 --window -6,41,10,52 -o " +
                        (dir / "l93.svg"));
    EXPECT_EQ(r.status, 0) << r.err;
    EXPECT_TRUE(kvtest::Contains(dir.Read("l93.svg"), "<svg")) << "a picture is drawn";

    dir.Write("scan.pgw", "10\n0\n0\n-10\n500005\n4649995\n");
    dir.Write("scan.png", "");
    struct {
        std::string args;
        int status;
        std::vector<std::string> expected;
    } const refusals[] = {
        {"graticule --crs EPSG:2154 --utm 31N", 2, {"not both"}},
        {"export --format prj --crs EPSG:2154 --zone spcs83:101 " + kvr, 2, {"not both"}},
        {"check --crs " + (dir / "scan.png"), 2, {"gives no projection"}},
        {"graticule --crs EPSG:3035", 2, {"cannot be expressed"}},
    };
    for (const auto& c : refusals) {
        r = kvtest::RunTool(c.args);
        EXPECT_EQ(r.status, c.status) << c.args << "\n" << r.err;
        for (const std::string& part : c.expected)
            EXPECT_TRUE(kvtest::Contains(r.err, part)) << c.args << "\n" << r.err;
    }
}

// A reference file keeps the first coefficient on all six lines: writing
// coefficients that differ says what is lost.
TEST(ToolCrs, ReferenceFileWarnsWhenCoefficientsAreLost) {
    kvtest::TempDir dir("crscoeff");
    kvtest::ToolRun r = kvtest::RunTool("export --format kvr --utm 33N --coeff "
                                        "10,0,500005,0,-10,4649995 " + (dir / "a.tif"));
    EXPECT_EQ(r.status, 0) << r.err;
    EXPECT_TRUE(kvtest::Contains(r.err, "B to F are not kept")) << r.err;
    r = kvtest::RunTool("export --format kvr --utm 33N --coeff 7,7,7,7,7,7 " + (dir / "b.tif"));
    EXPECT_EQ(r.status, 0) << r.err;
    EXPECT_EQ(r.err, "");
}
