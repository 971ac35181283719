// "kvproj convert" run as a user would: projections from --proj, --zone and --utm,
// pass-through of comments and extra columns, bad lines, streaming; datum shifts
// alone and between an inverse and a forward projection in one pass.
#include "TestSupport.h"

#include "ConvertStream.h"
#include "LineInput.h"
#include "Numbers.h"
#include "ProjArgs.h"

#include "kvproj/datum.h"

#include <gtest/gtest.h>

#include <poll.h>
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cfloat>
#include <cmath>
#include <cstring>
#include <random>

namespace {

kvtest::ToolRun Convert(const std::string& arguments, const std::string& input) {
    return kvtest::RunTool("convert " + arguments, input);
}

// Expected coordinates: cs2cs (PROJ 9) on the same points, rounded to the printed
// precision; UTM 33 on WGS 84, Alabama East on NAD 83 (EPSG:26929) and NAD 27
// (EPSG:26729, whose feet the Scale turns back into metres here).
struct Case {
    const char* name;
    const char* arguments;
    const char* input;
    int status;
    const char* out;
} kCases[] = {
    {"utm north", "--fwd --utm 33N", "16.5 45\n", 0, "618222.966 4984044.799\n"},
    {"utm south", "--fwd --utm 33S --precision 2", "17 -45\n", 0, "657630.64 5015103.83\n"},
    {"utm inverse", "--inv --utm 33N --precision 6", "618222.9659 4984044.7985\n", 0,
     "16.500000 45.000000\n"},
    {"labels and field names",
     "--fwd --proj 'Projection=17 \"Central Longitude\"=15 K0=0.9996 xOrg=500000 ellps=\"WGS 84\"'",
     "16.5 45\n", 0, "618222.966 4984044.799\n"},
    {"degree text", "--fwd --proj \"type=tmerc lon0=15d00'E k=0.9996 x0=500000\"", "16.5 45\n", 0,
     "618222.966 4984044.799\n"},
    {"zone by name", "--fwd --zone 'spcs83:Alabama East'", "-85.1333 32.0\n", 0,
     "266146.430 166518.188\n"},
    {"zone by FIPS code", "--fwd --zone spcs27:101 --precision 2", "-85.1333 32.0\n", 0,
     "218548.15 166512.56\n"},
    {"zone by EPSG code", "--fwd --zone epsg:26929 --precision 2", "-85.1333 32.0\n", 0,
     "266146.43 166518.19\n"},
    {"comments, blanks and extra columns kept", "--fwd --utm 33N --precision 1",
     "# header\n\n16.5 45 station-1 12.5\r\n15 0 x\n", 0,
     "# header\n\n618223.0 4984044.8 station-1 12.5\n500000.0 0.0 x\n"},
    {"unplottable points are marked", "--inv --utm 33N", "1e300 1e300\n500000 0\n", 0,
     "unplottable unplottable\n15.000000000 0.000000000\n"},
    {"own marker", "--inv --utm 33N --marker '*'", "1e300 1e300\n", 0, "* *\n"},
    // Input the conversion cannot mean is refused per line, never converted.
    {"non-finite coordinates", "--fwd --utm 33N", "nan 45\n15 0\n1e308 inf\n", 1,
     "unplottable unplottable\n500000.000 0.000\nunplottable unplottable\n"},
    {"latitude beyond a pole", "--fwd --utm 33N", "15 90.5\n15 -91\n15 90\n", 1,
     "unplottable unplottable\nunplottable unplottable\n500000.000 9997964.943\n"},
    {"decimal commas", "--fwd --utm 33N", "12,5 45,3\n", 1, "unplottable,unplottable,3\n"},
    // Keys the projection does not read are errors, not silently ignored.
    {"zone key on UTM", "--fwd --proj 'type=utm zone=33 ellps=47'", "15 45\n", 2, ""},
    {"second parallel on Mercator", "--fwd --proj 'type=merc lat2=10'", "15 45\n", 2, ""},
    {"+key=value strings", "--fwd --proj '+proj=utm +zone=33'", "15 45\n", 2, ""},
    {"bad line goes on", "--fwd --utm 33N --precision 0", "15 0\nfifteen 0\n15 0\n", 1,
     "500000 0\nunplottable unplottable\n500000 0\n"},
    {"bad line stops with --strict", "--fwd --utm 33N --precision 0 --strict", "15 0\n15\n15 0\n",
     2, "500000 0\n"},
    {"no direction", "--utm 33N", "", 2, ""},
    {"no projection", "--fwd", "", 2, ""},
    {"unknown parameter", "--fwd --proj 'lon00=3'", "", 2, ""},
    {"invalid record", "--fwd --proj 'type=lcc lat1=30 lat2=30.05'", "1 2\n", 2, ""},
    {"bad utm zone", "--fwd --utm 61N", "", 2, ""},
    {"zone the system lacks", "--fwd --zone 'spcs83:Guam Island'", "", 2, ""},
};

TEST(ToolConvert, Cases) {
    for (const Case& c : kCases) {
        const kvtest::ToolRun run = Convert(c.arguments, c.input);
        EXPECT_EQ(run.status, c.status) << c.name << "\n" << run.err;
        EXPECT_EQ(run.out, c.out) << c.name << "\n" << run.err;
        EXPECT_EQ(run.err.empty(), c.status == 0) << c.name << "\n" << run.err;
    }
    const kvtest::ToolRun run = Convert("--fwd --utm 33N", "15 0\n\n# c\n1 2 3\nx y\n");
    EXPECT_EQ(run.status, 1);
    EXPECT_TRUE(kvtest::Contains(run.err, "<stdin>:5:")) << run.err; // errors name the line
    EXPECT_FALSE(kvtest::Contains(run.err, "<stdin>:4:")) << run.err;
}

// Expected coordinates from PROJ 9.1.1 `cct` with the datum table's Molodensky
// parameters as +proj=molodensky steps (standard formulas, height 0; NAD 27 is
// Clarke 1866 with -8 160 176 m; the way back from WGS 84 is a forward step
// from WGS 84 with the parameters negated; da and df from the two figures):
//   +proj=molodensky +ellps=clrk66 +dx=-8 +dy=160 +dz=176 +da=-69.4
//       +df=-3.7264639341037104e-05
// NAD 27 to NAD 83 adds a step from WGS 84 to GRS 80 (df=1.6434838299300703e-11).
// The state plane rows invert Alabama East NAD 27 as +proj=tmerc +lat_0=30.5
// +lon_0=-85.83333333333333 +k=0.99996 +x_0=152400.3048006096 +ellps=clrk66 first
// and end in +proj=utm +zone=16; UTM 33N to 34N is cs2cs EPSG:32633 EPSG:32634.
// cct agrees with the tool to 1e-11 degrees and 0.1 mm here.
const Case kDatumCases[] = {
    {"NAD 27 to WGS 84 by short names", "--src-datum NAD27 --dst-datum WGS84",
     "-85.1333,32.0\n-100,40,a\n-120.5,47.25\n", 0,
     "-85.133240707,32.000185584\n-100.000417609,40.000009468,a\n-120.501163750,47.249824385\n"},
    {"NAD 27 to NAD 83 by id, two Molodensky steps", "--src-datum 2 --dst-datum 1 --precision 11",
     "-85.1333 32.0\n-100 40\n", 0,
     "-85.13324070706 32.00018558464\n-100.00041760889 40.00000946858\n"},
    {"by EPSG code and full name", "--src-datum EPSG:6267 --dst-datum 'World Geodetic System 1984'",
     "-100 40\n", 0, "-100.000417609 40.000009468\n"},
    {"state plane NAD 27 to UTM WGS 84 in one pass",
     "--src-zone spcs27:101 --src-datum 2 --dst-datum 3 --dst-utm 16N --precision 4",
     "218548.15 166512.56\n150000 250000 p2\n", 0,
     "676338.8233 3541978.8776\n606892.4827 3624703.9255 p2\n"},
    {"the same with --inv --zone and --fwd-utm",
     "--inv --zone spcs27:101 --src-datum 'North American Datum 1927' --dst-datum WGS84 "
     "--fwd-utm 16N --precision 4",
     "218548.15 166512.56\n", 0, "676338.8233 3541978.8776\n"},
    {"destination UTM on the datum's Clarke 1866",
     "--src-datum WGS84 --dst-datum NAD27 --dst-utm 16N", "-87.5 33.25\n", 0,
     "453423.919 3678904.839\n"},
    {"an ellipsoid in --proj words wins over the datum's",
     "--src-datum WGS84 --dst-datum NAD27 --dst-utm 16N --dst-proj ellipsoid=47", "-87.5 33.25\n",
     0, "453424.947 3679096.821\n"},
    {"two projections without a datum", "--src-utm 33N --dst-utm 34N", "618222.966 4984044.799\n",
     0, "145330.894 4992809.054\n"},
    {"non-finite input refused before the datum step", "--src-datum 3 --dst-datum NAD27",
     "nan 45\n1 inf\n-100 40\n", 1,
     "unplottable unplottable\nunplottable unplottable\n-99.999582380 39.999990501\n"},
    {"unplottable from the source projection passes the datum step",
     "--src-utm 33N --src-datum 3 --dst-datum NAD27 --dst-utm 34N --marker X", "1e300 1e300\n", 0,
     "X X\n"},
    {"unknown datum name", "--src-datum Atlantis --dst-datum 3", "1 2\n", 2, ""},
    {"unknown EPSG code", "--src-datum EPSG:9999 --dst-datum 3", "1 2\n", 2, ""},
    {"datum id out of range", "--src-datum 3 --dst-datum 300", "1 2\n", 2, ""},
    {"user-defined datum without parameters", "--src-datum 0 --dst-datum 3", "1 2\n", 2, ""},
    {"NADCON datum as destination", "--src-datum 3 --dst-datum 232", "1 2\n", 2, ""},
    {"one datum only", "--src-datum 2", "1 2\n", 2, ""},
    {"custom name without the profile", "--src-datum 'My NAD 27' --dst-datum 3", "1 2\n", 2, ""},
    {"profile without datums", "--fwd --utm 33N --profile x.ini", "1 2\n", 2, ""},
    {"two destination projections", "--fwd --utm 33N --dst-utm 34N", "1 2\n", 2, ""},
    {"both directions", "--fwd --inv --utm 33N", "1 2\n", 2, ""},
};

TEST(ToolConvert, DatumShiftsAndPipelines) {
    for (const Case& c : kDatumCases) {
        const kvtest::ToolRun run = Convert(c.arguments, c.input);
        EXPECT_EQ(run.status, c.status) << c.name << "\n" << run.err;
        EXPECT_EQ(run.out, c.out) << c.name << "\n" << run.err;
        EXPECT_EQ(run.err.empty(), c.status == 0) << c.name << "\n" << run.err;
    }
}

// A custom datum with NAD 27's parameters (its figure given by axis and
// flattening) converts as the built-in one does on either side; as the
// destination its step must be taken the other way.
TEST(ToolConvert, CustomDatumFromAProfile) {
    const std::string profile = kvtest::TempPath("convert_profile.ini");
    KVProj::DATUM2WGS84 step{};
    step.Method = KVProj::DM_MOLODENSKY;
    step.Ellipsoid = KVProj::ELLIPSOID_USER_DEFINED;
    step.MajorRadius = 6378206.4;
    step.Flattening = 1.0 / 294.9786982;
    step.dx = -8;
    step.dy = 160;
    step.dz = 176;
    ASSERT_TRUE(KVProj::NDatSave(profile.c_str(), "My NAD 27", &step));
    const std::string p = " --profile " + kvtest::Quote(profile);
    const struct {
        std::string arguments, input, out;
    } rows[] = {
        {"--src-datum 'my nad 27' --dst-datum 3" + p, "-85.1333 32.0\n",
         "-85.133240707 32.000185584\n"},
        {"--src-datum 3 --dst-datum 'My NAD 27' --dst-utm 16N" + p, "-87.5 33.25\n",
         "453423.919 3678904.839\n"},
    };
    for (const auto& r : rows) {
        const kvtest::ToolRun run = Convert(r.arguments, r.input);
        EXPECT_EQ(run.status, 0) << r.arguments << "\n" << run.err;
        EXPECT_EQ(run.out, r.out) << r.arguments;
    }
    std::remove(profile.c_str());
}

// Without a grid file the NTv2 datum cannot be converted: the run is refused
// before any line is read, naming the file and the folders searched.
TEST(ToolConvert, MissingGridFailsTheRun) {
    std::string dir = KVPROJ_TOOL_PATH;
    dir.erase(dir.find_last_of('/') + 1);
    for (const char* name : {"NTV2_0.GSB", "ntv2_0.gsb"})
        if (::access((dir + name).c_str(), F_OK) == 0) GTEST_SKIP() << "a grid file is installed";
    const kvtest::ToolRun run = Convert("--src-datum 253 --dst-datum 3", "-75 45\n");
    EXPECT_NE(run.status, 0);
    EXPECT_EQ(run.out, "");
    EXPECT_TRUE(kvtest::Contains(run.err, "needs the grid file NTV2_0.GSB, not found in: " + dir))
        << run.err;
}

TEST(ToolConvert, ReadsAFileAndRoundTrips) {
    const std::string path = kvtest::TempPath("convert_file");
    std::ofstream(path) << "4 50\n1.5 40.25 a\n";
    const kvtest::ToolRun fwd = Convert("--fwd --utm 31N " + kvtest::Quote(path), "");
    std::remove(path.c_str());
    ASSERT_EQ(fwd.status, 0) << fwd.err;
    const kvtest::ToolRun inv = Convert("--inv --utm 31N --precision 7", fwd.out);
    ASSERT_EQ(inv.status, 0) << inv.err;
    EXPECT_EQ(inv.out, "4.0000000 50.0000000\n1.5000000 40.2500000 a\n");
}

// A directory or unreadable file as input and a failed write end with a
// message and status 1, never 0.
TEST(ToolConvert, FailedReadsAndWritesFailTheRun) {
    const std::string dir = kvtest::TempPath("convert_dir");
    ASSERT_EQ(::mkdir(dir.c_str(), 0700), 0);
    const kvtest::ToolRun fromDir = Convert("--fwd --utm 33N " + kvtest::Quote(dir), "");
    ::rmdir(dir.c_str());
    EXPECT_EQ(fromDir.status, 1);
    EXPECT_TRUE(kvtest::Contains(fromDir.err, "cannot open")) << fromDir.err;
    const kvtest::ToolRun missing = Convert("--fwd --utm 33N /nonexistent/points.txt", "");
    EXPECT_EQ(missing.status, 1);
    const kvtest::ToolRun nul = Convert("--fwd --utm 33N", std::string("15\0 0\n", 6));
    EXPECT_EQ(nul.status, 1) << "a NUL byte ends no number silently";
    EXPECT_TRUE(kvtest::Contains(nul.err, "'15\\x00 0'")) << nul.err; // shown, not cut
    if (::access("/dev/full", W_OK) != 0) GTEST_SKIP() << "no /dev/full";
    const kvtest::ToolRun full = Convert("--fwd --utm 33N >/dev/full", "15 45\n");
    EXPECT_EQ(full.status, 1);
    EXPECT_TRUE(kvtest::Contains(full.err, "cannot write the output")) << full.err;
}

// Many more lines than one batch: every line comes back, in order.
TEST(ToolConvert, StreamsLongInputInOrder) {
    std::string input, expected;
    for (int i = 0; i < 20000; ++i)
        input +=
            std::to_string(i % 7) + " " + std::to_string(i % 80) + " " + std::to_string(i) + "\n";
    const kvtest::ToolRun run =
        Convert("--fwd --proj 'type=eqc a=57.29577951308232 f=0 ellipsoid=0' --precision 0", input);
    ASSERT_EQ(run.status, 0) << run.err;
    EXPECT_TRUE(run.out == input) << "output differs from the input";
}

// Columns as the file has them. The converted values are the UTM 33N points
// above (cs2cs); the rest of every line must come back byte for byte.
const Case kColumnCases[] = {
    {"comma, header, quoted field", "--fwd --utm 33N", "lon,lat,name\n16.5,45,\"a, b\"\n", 0,
     "lon,lat,name\n618222.966,4984044.799,\"a, b\"\n"},
    {"tab", "--fwd --utm 33N", "16.5\t45\tx y\n", 0, "618222.966\t4984044.799\tx y\n"},
    {"semicolon", "--fwd --utm 33N", "16.5;45;n\r\n", 0, "618222.966;4984044.799;n\n"},
    {"blanks kept as they are", "--fwd --utm 33N", "  16.5   45  rest  of\tline\n", 0,
     "  618222.966   4984044.799  rest  of\tline\n"},
    {"blanks around commas kept", "--fwd --utm 33N", "16.5, 45, n\n", 0,
     "618222.966, 4984044.799, n\n"},
    {"a comma in a later blank-separated column", "--fwd --utm 33N", "16.5 45 St A, B\n", 0,
     "618222.966 4984044.799 St A, B\n"},
    {"quoted coordinates", "--fwd --utm 33N", "\"16.5\",\"45\"\n", 0,
     "618222.966,4984044.799\n"},
    {"columns by number, header passed", "--fwd --utm 33N --cols 3,2", "id,lat,lon\nA,45,16.5\n",
     0, "id,lat,lon\nA,4984044.799,618222.966\n"},
    {"columns by header name", "--fwd --utm 33N --cols LON,Lat",
     "# c\n\nName\tLat\tLon\nA\t45\t16.5\n", 0,
     "# c\n\nName\tLat\tLon\nA\t4984044.799\t618222.966\n"},
    {"quoted field before the coordinates", "--fwd --utm 33N --cols 2,3", "\"St A\" 16.5 45\n", 0,
     "\"St A\" 618222.966 4984044.799\n"},
    {"latitude first in", "--fwd --utm 33N --latlon", "45 16.5 p\n", 0,
     "618222.966 4984044.799 p\n"},
    {"latitude first out", "--inv --utm 33N --latlon --precision 6", "618222.9659,4984044.7985\n",
     0, "45.000000,16.500000\n"},
    {"latitude first on both sides", "--src-datum 3 --dst-datum 3 --latlon --precision 2",
     "45 16.5\n", 0, "45.00 16.50\n"},
    {"--header: the first line is not a point", "--fwd --utm 33N --header", "16.5 45\n15 0\n", 0,
     "16.5 45\n500000.000 0.000\n"},
    // One line out for every line in: a bad line keeps its place and its other columns.
    {"bad lines marked in place", "--fwd --utm 33N", "16.5,45,a\n16.5,,b\n,\nx,1,c\n", 1,
     "618222.966,4984044.799,a\nunplottable,unplottable,b\nunplottable,unplottable\n"
     "unplottable,unplottable,c\n"},
    {"missing columns added", "--fwd --utm 33N", "16.5,45\n7\n", 1,
     "618222.966,4984044.799\nunplottable,unplottable\n"},
    {"--no-header: names are a bad line", "--fwd --utm 33N --no-header", "lon lat\n15 0\n", 1,
     "unplottable unplottable\n500000.000 0.000\n"},
    {"names after the first line are a bad line", "--fwd --utm 33N", "15 0\nlon lat\n", 1,
     "500000.000 0.000\nunplottable unplottable\n"},
    {"decimal commas with semicolons", "--fwd --utm 33N", "12,5;45,3\n16.5;45\n", 1,
     "unplottable;unplottable\n618222.966;4984044.799\n"},
    {"the file's delimiter holds for every line", "--fwd --utm 33N", "15 0\n15,0\n", 1,
     "500000.000 0.000\nunplottable unplottable\n"},
    {"--cols with one column", "--fwd --utm 33N --cols 1", "15 0\n", 2, ""},
    {"--cols from 0", "--fwd --utm 33N --cols 0,1", "15 0\n", 2, ""},
    {"--cols twice the same", "--fwd --utm 33N --cols 2,2", "15 0\n", 2, ""},
    {"--cols mixing a number and a name", "--fwd --utm 33N --cols 1,lat", "15 0\n", 2, ""},
    {"--cols names without a header", "--fwd --utm 33N --cols lon,lat --no-header", "15 0\n", 2,
     ""},
    {"--cols name the header lacks", "--fwd --utm 33N --cols lon,lat", "x,y\n15,0\n", 2, ""},
    {"--header and --no-header", "--fwd --utm 33N --header --no-header", "15 0\n", 2, ""},
    {"--latlon between two projections", "--src-utm 33N --dst-utm 34N --latlon", "1 2\n", 2, ""},
    {"--threads out of range", "--fwd --utm 33N --threads -1", "15 0\n", 2, ""},
};

TEST(ToolConvert, ColumnsAsTheFileHasThem) {
    for (const Case& c : kColumnCases) {
        const kvtest::ToolRun run = Convert(c.arguments, c.input);
        EXPECT_EQ(run.status, c.status) << c.name << "\n" << run.err;
        EXPECT_EQ(run.out, c.out) << c.name << "\n" << run.err;
        EXPECT_EQ(run.err.empty(), c.status == 0) << c.name << "\n" << run.err;
    }
    // The reports name the line and say why.
    const kvtest::ToolRun commas = Convert("--fwd --utm 33N", "12,5;45,3\n");
    EXPECT_TRUE(kvtest::Contains(commas.err, "<stdin>:1: a decimal comma")) << commas.err;
    const kvtest::ToolRun names = Convert("--fwd --utm 33N --cols lon,lat", "x,y\n");
    EXPECT_TRUE(kvtest::Contains(names.err, "no column 'lon' in the header line (x, y)"))
        << names.err;
    // A line past the length limit is a marker row too, and the next line converts.
    const kvtest::ToolRun longLine =
        Convert("--fwd --utm 33N", std::string(kvtool::LineInput::kMaxLine + 10, '1') + "\n15 0\n");
    EXPECT_EQ(longLine.status, 1);
    EXPECT_EQ(longLine.out, "unplottable unplottable\n500000.000 0.000\n");
    EXPECT_TRUE(kvtest::Contains(longLine.err, "<stdin>:1: line longer than")) << longLine.err;
}

// Projected units. Expected values: PROJ 9.1.1 cs2cs -f %.3f, EPSG:4267 to
// EPSG:26729 (Alabama East NAD 27, US survey feet) for the NAD 27 zone, and
// "+proj=tmerc +lat_0=30.5 +lon_0=-85.83333333333333 +k=0.99996 +x_0=200000
// +ellps=GRS80 +units=us-ft" (or +units=ft) for the NAD 83 zone, from
// +proj=longlat; "+proj=utm +zone=33 +datum=WGS84 +units=us-ft" for UTM.
// The zones themselves are in metres: the unit comes from --units alone.
const Case kUnitCases[] = {
    {"NAD 27 zone in US survey feet", "--fwd --zone spcs27:101 --units us-ft", "-85.1333 32.0\n",
     0, "717020.042 546299.963\n"},
    {"NAD 83 zone in US survey feet", "--fwd --zone spcs83:101 --units us-ft",
     "-85.1333 32.0\n", 0, "873182.080 546318.421\n"},
    {"NAD 83 zone in international feet", "--fwd --zone spcs83:101 --units ft",
     "-85.1333 32.0\n", 0, "873183.826 546319.514\n"},
    {"metres as without the option", "--fwd --zone spcs83:101 --units m", "-85.1333 32.0\n", 0,
     "266146.430 166518.188\n"},
    {"UTM in US survey feet", "--fwd --utm 33N --units us-ft", "16.5 45\n", 0,
     "2028286.514 16351820.310\n"},
    {"feet read back", "--inv --zone spcs83:101 --units us-ft --precision 9",
     "873182.080 546318.421\n", 0, "-85.133300000 32.000000000\n"},
    {"feet in, metres out", "--src-zone spcs27:101 --src-units us-ft --dst-zone spcs27:101 --precision 2",
     "717020.042 546299.963\n", 0, "218548.15 166512.56\n"},
    {"unknown unit", "--fwd --utm 33N --units yd", "15 0\n", 2, ""},
    {"no projected side", "--src-datum 3 --dst-datum 2 --units us-ft", "15 0\n", 2, ""},
    {"no projected destination", "--inv --utm 33N --dst-units ft", "15 0\n", 2, ""},
    {"no projected source", "--fwd --utm 33N --src-units ft", "15 0\n", 2, ""},
};

TEST(ToolConvert, ProjectedUnits) {
    for (const Case& c : kUnitCases) {
        const kvtest::ToolRun run = Convert(c.arguments, c.input);
        EXPECT_EQ(run.status, c.status) << c.name << "\n" << run.err;
        EXPECT_EQ(run.out, c.out) << c.name << "\n" << run.err;
        EXPECT_EQ(run.err.empty(), c.status == 0) << c.name << "\n" << run.err;
    }
    // A Scale in the words is the record's unit: the option replaces it, and says so.
    const kvtest::ToolRun run = Convert("--fwd --utm 33N --proj Scale=2 --units m", "16.5 45\n");
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.out, "618222.966 4984044.799\n");
    EXPECT_TRUE(kvtest::Contains(run.err, "replaces the destination projection's Scale 2"))
        << run.err;
}

// Lines of every kind, for the in-process runs below.
std::string MixedInput(int lines) {
    std::mt19937 random(5);
    std::string in = "# points\nlon lat id\n";
    for (int i = 0; i < lines; ++i) {
        switch (random() % 9) {
        case 0: in += "bad " + std::to_string(i) + "\n"; break;
        case 1: in += "\n"; break;
        case 2: in += "15 91 polar\n"; break;
        default:
            in += std::to_string(12 + static_cast<double>(random() % 6000) / 1000) + " " +
                  std::to_string(static_cast<double>(random() % 80000) / 1000) + " " +
                  std::to_string(i) + "\n";
        }
    }
    return in;
}

struct InProcessRun {
    int status;
    std::string out, reports;
};

InProcessRun RunInProcess(const std::string& input, kvtool::StreamOptions o) {
    KVProj::PROJDATA data;
    std::string error;
    EXPECT_TRUE(kvtool::UtmRecord("33N", &data, &error)) << error;
    kvtool::Pipeline stages;
    stages.forward = KVProj::ProjCreateProjection(&data);
    kvtool::LineInput in;
    in.OpenMemory(input.data(), input.size(), "mem");
    InProcessRun run;
    kvtool::BlockOutput out(1, &run.out), reports(2, &run.reports);
    run.status = kvtool::ConvertLines(in, stages, o, out, reports);
    return run;
}

// Blocks converted on several threads come out in input order: the output and
// the reports are the bytes of the one-thread run, with and without --strict.
TEST(ToolConvert, ThreadsGiveTheSameBytes) {
    const std::string input = MixedInput(3000);
    for (bool strict : {false, true}) {
        kvtool::StreamOptions o;
        o.strict = strict;
        o.blockLines = 7;
        const InProcessRun one = RunInProcess(input, o);
        EXPECT_EQ(one.status, strict ? 2 : 1);
        const auto lines = std::count(one.out.begin(), one.out.end(), '\n');
        if (strict) // up to the first bad line
            EXPECT_LT(lines, 10);
        else
            EXPECT_EQ(lines, std::count(input.begin(), input.end(), '\n'));
        for (int threads : {2, 3, 8}) {
            o.threads = threads;
            const InProcessRun many = RunInProcess(input, o);
            EXPECT_EQ(many.status, one.status) << threads;
            EXPECT_TRUE(many.out == one.out) << threads << " threads, strict " << strict;
            EXPECT_TRUE(many.reports == one.reports) << threads << " threads, strict " << strict;
        }
    }
    // And through the tool, with its own block size.
    std::string big;
    for (int i = 0; i < 30000; ++i)
        big += std::to_string(12 + (i % 600) / 100.0) + "," + std::to_string((i % 8000) / 100.0) + "\n";
    const kvtest::ToolRun one = Convert("--fwd --utm 33N", big);
    const kvtest::ToolRun two = Convert("--fwd --utm 33N --threads 3", big);
    EXPECT_EQ(one.status, 0);
    EXPECT_EQ(two.status, 0);
    EXPECT_EQ(std::count(one.out.begin(), one.out.end(), '\n'), 30000);
    EXPECT_TRUE(one.out == two.out);
}

// Input from a pipe that pauses: each line is answered before the next one is
// written (a terminal or a coprocess waits for it).
TEST(ToolConvert, AnswersEachLineWhileTheInputWaits) {
    int toTool[2], fromTool[2];
    ASSERT_EQ(::pipe(toTool), 0);
    ASSERT_EQ(::pipe(fromTool), 0);
    const pid_t pid = ::fork();
    ASSERT_GE(pid, 0);
    if (pid == 0) {
        ::dup2(toTool[0], 0);
        ::dup2(fromTool[1], 1);
        for (int fd : {toTool[0], toTool[1], fromTool[0], fromTool[1]})
            ::close(fd);
        ::execl(KVPROJ_TOOL_PATH, "kvproj", "convert", "--fwd", "--utm", "33N", "--threads", "2",
                static_cast<char*>(nullptr));
        ::_exit(127);
    }
    ::close(toTool[0]);
    ::close(fromTool[1]);
    ::signal(SIGPIPE, SIG_IGN);
    for (const char* line : {"15 0\n", "16.5 45\n"}) {
        ASSERT_EQ(::write(toTool[1], line, std::strlen(line)),
                  static_cast<ssize_t>(std::strlen(line)));
        struct pollfd p = {fromTool[0], POLLIN, 0};
        ASSERT_EQ(::poll(&p, 1, 20000), 1) << "no answer to '" << line << "' within 20 s";
        char buffer[256];
        const ssize_t n = ::read(fromTool[0], buffer, sizeof buffer);
        ASSERT_GT(n, 0);
        EXPECT_EQ(std::string(buffer, static_cast<size_t>(n)),
                  line[0] == '1' && line[1] == '5' ? "500000.000 0.000\n" : "618222.966 4984044.799\n");
    }
    ::close(toTool[1]);
    int status = 0;
    ::waitpid(pid, &status, 0);
    ::close(fromTool[0]);
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0);
}

// The quick fixed format used for coordinates is printf's "%.*f" to the last
// digit, on values where the product with the power of ten lands near one
// half, and on the values coordinates have.
TEST(ToolConvert, QuickFixedFormatIsPrintfs) {
    std::mt19937_64 random(42);
    std::uniform_real_distribution<double> magnitude(-7.0, 7.0);
    std::vector<double> values = {0.0005, 0.0015, 2.5, 0.125, -0.0004, 4984044.7985, 1.0 / 3,
                                  1099511627.7755, 999999.9995, -999.9999999995};
    while (values.size() < 20000) {
        const double v = std::pow(10.0, magnitude(random)) * (random() % 2 ? 1 : -1);
        values.push_back(v);
        const int d = static_cast<int>(random() % 10);
        const double half = (std::floor(v * std::pow(10.0, d)) + 0.5) / std::pow(10.0, d);
        values.push_back(half);
        values.push_back(std::nextafter(half, 0.0));
        values.push_back(std::nextafter(half, 1e300));
    }
    for (double v : values)
        for (int decimals = 0; decimals <= 9; ++decimals) {
            char expected[400];
            std::snprintf(expected, sizeof expected, "%.*f", decimals, v);
            ASSERT_EQ(kvtool::FormatFixed(v, decimals), expected) << v << " at " << decimals;
        }
}

} // namespace
