// "kvproj convert" run as a user would: projections from --proj, --zone and
// --utm, pass-through of comments and extra columns, bad lines, streaming.
#include <gtest/gtest.h>

#include <sys/wait.h>

#include <cstdio>
#include <fstream>
#include <sstream>
#include <string>
#include <unistd.h>
#include <vector>

namespace {

struct ToolRun {
    int status;
    std::string out; // standard output
    std::string err; // standard error
};

std::string TempPath(const char* name) {
    const char* dir = std::getenv("TMPDIR");
    return std::string(dir && *dir ? dir : "/tmp") + "/" + name + "." + std::to_string(getpid());
}

std::string ReadAll(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    std::stringstream ss;
    ss << in.rdbuf();
    return ss.str();
}

// Runs the tool with `input` on standard input; `arguments` is shell text.
ToolRun Convert(const std::string& arguments, const std::string& input) {
    const std::string in = TempPath("convert_in"), err = TempPath("convert_err");
    std::ofstream(in, std::ios::binary) << input;
    const std::string command = std::string("'") + KVPROJ_TOOL_PATH + "' convert " + arguments +
                                " <'" + in + "' 2>'" + err + "'";
    ToolRun run{-1, "", ""};
    FILE* pipe = popen(command.c_str(), "r");
    if (pipe) {
        char buffer[4096];
        size_t n;
        while ((n = fread(buffer, 1, sizeof buffer, pipe)) > 0)
            run.out.append(buffer, n);
        const int status = pclose(pipe);
        run.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }
    run.err = ReadAll(err);
    std::remove(in.c_str());
    std::remove(err.c_str());
    return run;
}

struct Case {
    const char* name;
    const char* arguments;
    const char* input;
    int status;
    const char* out;
};

// Expected coordinates: cs2cs (PROJ 9) on the same points, rounded to the
// printed precision; UTM 33 on WGS 84, Alabama East on NAD 83 (EPSG:26929)
// and NAD 27 (EPSG:26729, whose feet the Scale turns back into metres here).
const Case kCases[] = {
    {"utm north", "--fwd --utm 33N", "16.5 45\n", 0, "618222.966 4984044.799\n"},
    {"utm south", "--fwd --utm 33S --precision 2", "17 -45\n", 0, "657630.64 5015103.83\n"},
    {"utm inverse", "--inv --utm 33N --precision 6", "618222.9659 4984044.7985\n", 0,
     "16.500000 45.000000\n"},
    {"proj record", "--fwd --proj 'type=utm lon0=15 south=0 ellipsoid=47'", "16.5 45\n", 0,
     "618222.966 4984044.799\n"},
    {"labels and field names",
     "--fwd --proj 'Projection=17 \"Central Longitude\"=15 K0=0.9996 "
     "xOrg=500000 ellps=\"WGS 84\"'",
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
    {"unknown zone", "--fwd --zone 'spcs83:Atlantis'", "", 2, ""},
    {"zone the system lacks", "--fwd --zone 'spcs83:Guam Island'", "", 2, ""},
};

TEST(ToolConvert, Cases) {
    for (const Case& c : kCases) {
        const ToolRun run = Convert(c.arguments, c.input);
        EXPECT_EQ(run.status, c.status) << c.name << "\n" << run.err;
        EXPECT_EQ(run.out, c.out) << c.name << "\n" << run.err;
        if (c.status != 0) {
            EXPECT_FALSE(run.err.empty()) << c.name;
        }
    }
}

TEST(ToolConvert, ErrorsNameTheLine) {
    const ToolRun run = Convert("--fwd --utm 33N", "15 0\n\n# c\n1 2 3\nx y\n");
    EXPECT_EQ(run.status, 1);
    EXPECT_NE(run.err.find("<stdin>:5:"), std::string::npos) << run.err;
    EXPECT_EQ(run.err.find("<stdin>:4:"), std::string::npos) << run.err;
}

TEST(ToolConvert, ReadsAFileAndRoundTrips) {
    const std::string path = TempPath("convert_file");
    std::ofstream(path) << "4 50\n1.5 40.25 a\n";
    const ToolRun fwd = Convert("--fwd --utm 31N '" + path + "'", "");
    ASSERT_EQ(fwd.status, 0) << fwd.err;
    std::remove(path.c_str());
    const ToolRun inv = Convert("--inv --utm 31N --precision 7", fwd.out);
    ASSERT_EQ(inv.status, 0) << inv.err;
    EXPECT_EQ(inv.out, "4.0000000 50.0000000\n1.5000000 40.2500000 a\n");
}

// Many more lines than one batch: every line comes back, in order.
TEST(ToolConvert, StreamsLongInputInOrder) {
    std::string input;
    const int n = 20000;
    for (int i = 0; i < n; ++i)
        input +=
            std::to_string(i % 7) + " " + std::to_string(i % 80) + " " + std::to_string(i) + "\n";
    const ToolRun run = Convert("--fwd --proj 'type=eqc a=57.29577951308232 f=0 ellipsoid=0' "
                                "--precision 0",
                                input);
    ASSERT_EQ(run.status, 0) << run.err;
    std::istringstream lines(run.out);
    std::string line;
    int count = 0;
    while (std::getline(lines, line)) {
        const std::string expected = std::to_string(count % 7) + " " + std::to_string(count % 80) +
                                     " " + std::to_string(count);
        if (line != expected) {
            ADD_FAILURE() << "line " << count << ": " << line;
            break;
        }
        ++count;
    }
    EXPECT_EQ(count, n);
}

} // namespace
