// "kvproj datum": datum arguments by id, name, EPSG code and custom profile
// entry, the printed parameters, the listing, and usage errors.
#include "kvproj/datum.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <string>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace {

struct ToolRun {
    int status = -1;
    std::vector<std::string> out;
    std::string err;
};

std::string tempPath(const char* tag) {
    const char* dir = std::getenv("TMPDIR");
    return std::string(dir && *dir ? dir : "/tmp") + "/tool_datum_" + tag + "." +
           std::to_string(::getpid());
}

ToolRun runTool(const std::string& args) {
    std::string errPath = tempPath("err");
    std::string command =
        std::string("'") + KVPROJ_TOOL_PATH + "' " + args + " 2>'" + errPath + "'";
    ToolRun run;
    FILE* pipe = ::popen(command.c_str(), "r");
    if (!pipe) return run;
    std::string text;
    char chunk[4096];
    size_t n;
    while ((n = std::fread(chunk, 1, sizeof chunk, pipe)) > 0)
        text.append(chunk, n);
    int raw = ::pclose(pipe);
    run.status = WIFEXITED(raw) ? WEXITSTATUS(raw) : -1;
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);)
        run.out.push_back(line);
    std::ifstream in(errPath);
    std::stringstream ss;
    ss << in.rdbuf();
    run.err = ss.str();
    std::remove(errPath.c_str());
    return run;
}

bool hasLine(const ToolRun& r, const std::string& line) {
    for (const std::string& l : r.out)
        if (l == line) return true;
    return false;
}

} // namespace

TEST(ToolDatum, ResolvesIdsNamesAndEpsgCodes) {
    struct {
        const char* arg;
        const char* idLine;
        const char* nameLine;
    } cases[] = {
        {"216", "id:             216", "name:           DHDN-1 (Bursa-Wolf)"},
        {"'tokyo'", "id:             7", "name:           Tokyo"},
        {"6267", "id:             2", "name:           North American Datum 1927"},
        {"EPSG:6273", "id:             252", "name:           NGO 1948"},
        {"'nad 1927 - conus (mre)'", "id:             229",
         "name:           NAD 1927 - CONUS (MRE)"},
    };
    for (const auto& c : cases) {
        ToolRun r = runTool(std::string("datum ") + c.arg);
        EXPECT_EQ(r.status, 0) << c.arg << r.err;
        EXPECT_TRUE(hasLine(r, c.idLine)) << c.arg;
        EXPECT_TRUE(hasLine(r, c.nameLine)) << c.arg;
    }
}

TEST(ToolDatum, PrintsTheStepParameters) {
    ToolRun r = runTool("datum 222");
    ASSERT_EQ(r.status, 0);
    for (const char* line :
         {"method:         Bursa-Wolf", "ellipsoid:      16 Clarke 1880 mod.",
          "prime meridian: 2.33722916667 deg east of Greenwich",
          "dx dy dz:       -168.0000 -60.0000 320.0000 m", "direction:      to and from WGS 84"})
        EXPECT_TRUE(hasLine(r, line)) << line;
    r = runTool("datum 232");
    ASSERT_EQ(r.status, 0);
    EXPECT_TRUE(hasLine(r, "direction:      to WGS 84 only"));
    EXPECT_TRUE(hasLine(r, "method:         NADCON grid"));
}

TEST(ToolDatum, CustomDatumsFromAProfile) {
    const std::string profile = tempPath("profile") + ".ini";
    KVProj::DATUM2WGS84 s{};
    s.Method = KVProj::DM_MOLODENSKY;
    s.Ellipsoid = KVProj::ELLIPSOID_USER_DEFINED;
    s.MajorRadius = 6378100;
    s.Flattening = 1 / 298.0;
    s.dx = 12.5;
    ASSERT_TRUE(KVProj::NDatSave(profile.c_str(), "Site, local", &s));
    s.Method = KVProj::DM_MRE;
    ASSERT_TRUE(KVProj::NDatSave(profile.c_str(), "Poly", &s));

    ToolRun r = runTool("datum 'Site, local' --profile '" + profile + "'");
    EXPECT_EQ(r.status, 0) << r.err;
    EXPECT_TRUE(hasLine(r, "id:             custom (" + profile + ")"));
    EXPECT_TRUE(hasLine(r, "semi-major:     6378100.0000 m"));
    EXPECT_TRUE(hasLine(r, "dx dy dz:       12.5000 0.0000 0.0000 m"));

    r = runTool("datum Poly --profile '" + profile + "'");
    EXPECT_EQ(r.status, 2);
    EXPECT_NE(r.err.find("cannot be used"), std::string::npos) << r.err;

    r = runTool("datum --list --profile '" + profile + "'");
    ASSERT_EQ(r.status, 0);
    ASSERT_EQ(r.out.size(), 256u);
    EXPECT_EQ(r.out[254].substr(0, 16), "254  Site, local");
    EXPECT_NE(r.out[255].find("(unreadable)"), std::string::npos);
    std::remove(profile.c_str());
}

TEST(ToolDatum, ListsEveryDatum) {
    ToolRun r = runTool("datum --list");
    ASSERT_EQ(r.status, 0);
    ASSERT_EQ(r.out.size(), 254u);
    EXPECT_EQ(r.out[0].substr(0, 17), "  0  User Defined");
    EXPECT_NE(r.out[2].find("6267  Molodensky"), std::string::npos) << r.out[2];
    EXPECT_NE(r.out[2].find("Clarke 1866"), std::string::npos);
    EXPECT_NE(r.out[253].find("NTv2 grid"), std::string::npos);
}

TEST(ToolDatum, UsageErrors) {
    struct {
        const char* args;
        const char* message;
    } cases[] = {
        {"datum", "name one datum"},
        {"datum 0", "user-defined"},
        {"datum 254", "no built-in datum has id 254"},
        {"datum 4326", "no built-in datum has EPSG code '4326'"},
        {"datum EPSG:x", "EPSG code"},
        {"datum 'No Such Datum'", "unknown datum 'No Such Datum'"},
        {"datum 2 3", "name one datum"},
        {"datum 2 --profile", "--profile needs a file"},
        {"datum 2 --bogus", "unknown option '--bogus'"},
        {"datum --list extra", "unexpected argument 'extra'"},
    };
    for (const auto& c : cases) {
        ToolRun r = runTool(c.args);
        EXPECT_EQ(r.status, 2) << c.args;
        EXPECT_NE(r.err.find(c.message), std::string::npos) << c.args << ": " << r.err;
        EXPECT_TRUE(r.out.empty()) << c.args;
    }
}
