// "kvproj convert" run as a user would: projections from --proj, --zone and --utm,
// pass-through of comments and extra columns, bad lines, streaming.
#include "TestSupport.h"

#include <gtest/gtest.h>

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
     "# header\n\n16.5 45 station-1 12.5\r\n15,0,x\n", 0,
     "# header\n\n618223.0 4984044.8 station-1 12.5\n500000.0,0.0,x\n"},
    {"unplottable points are marked", "--fwd --utm 33N", "nan 45\n1e308 inf\n", 0,
     "unplottable unplottable\nunplottable unplottable\n"},
    {"own marker", "--fwd --utm 33N --marker '*'", "15 nan\n", 0, "* *\n"},
    {"bad line goes on", "--fwd --utm 33N --precision 0", "15 0\nfifteen 0\n15 0\n", 1,
     "500000 0\n500000 0\n"},
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
