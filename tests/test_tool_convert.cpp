// "kvproj convert" run as a user would: projections from --proj, --zone and --utm,
// pass-through of comments and extra columns, bad lines, streaming; datum shifts
// alone and between an inverse and a forward projection in one pass.
#include "TestSupport.h"

#include "kvproj/datum.h"

#include <gtest/gtest.h>

#include <sys/stat.h>
#include <unistd.h>

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

// Without a grid file beside the tool the NTv2 datum cannot be converted: the
// run fails (status 1) and passes on the library's message.
TEST(ToolConvert, MissingGridFailsTheRun) {
    std::string dir = KVPROJ_TOOL_PATH;
    dir.erase(dir.find_last_of('/') + 1);
    for (const char* name : {"NTV2_0.GSB", "ntv2_0.gsb"})
        if (::access((dir + name).c_str(), F_OK) == 0) GTEST_SKIP() << "a grid file is installed";
    const kvtest::ToolRun run = Convert("--src-datum 253 --dst-datum 3", "-75 45\n");
    EXPECT_EQ(run.status, 1);
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

} // namespace
