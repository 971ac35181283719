// "kvproj datum": datum arguments by id, name, EPSG code and custom profile entry,
// the printed parameters, the listing, and usage errors.
#include "TestSupport.h"
#include "kvproj/datum.h"

#include <gtest/gtest.h>

namespace {

bool HasLine(const kvtest::ToolRun& r, const std::string& line) {
    const std::vector<std::string> lines = r.Lines();
    return std::find(lines.begin(), lines.end(), line) != lines.end();
}

TEST(ToolDatum, ResolvesIdsNamesAndEpsgCodesAndPrintsTheStep) {
    struct {
        const char* arg;
        std::vector<const char*> lines;
    } cases[] = {
        {"216", {"id:             216", "name:           DHDN-1 (Bursa-Wolf)"}},
        {"'tokyo'", {"id:             7", "name:           Tokyo"}},
        {"6267", {"id:             2", "name:           North American Datum 1927"}},
        {"EPSG:6273", {"id:             252", "name:           NGO 1948"}},
        {"'nad 1927 - conus (mre)'",
         {"id:             229", "name:           NAD 1927 - CONUS (MRE)"}},
        {"222",
         {"method:         Bursa-Wolf", "ellipsoid:      16 Clarke 1880 mod.",
          "prime meridian: 2.33722916667 deg east of Greenwich",
          "dx dy dz:       -168.0000 -60.0000 320.0000 m", "direction:      to and from WGS 84"}},
        {"232", {"direction:      to WGS 84 only", "method:         NADCON grid"}},
    };
    for (const auto& c : cases) {
        const kvtest::ToolRun r = kvtest::RunTool(std::string("datum ") + c.arg);
        EXPECT_EQ(r.status, 0) << c.arg << r.err;
        for (const char* line : c.lines)
            EXPECT_TRUE(HasLine(r, line)) << c.arg << ": " << line;
    }
}

TEST(ToolDatum, CustomDatumsFromAProfileAndTheListing) {
    const std::string profile = kvtest::TempPath("datum_profile") + ".ini";
    KVProj::DATUM2WGS84 s{};
    s.Method = KVProj::DM_MOLODENSKY;
    s.Ellipsoid = KVProj::ELLIPSOID_USER_DEFINED;
    s.MajorRadius = 6378100, s.Flattening = 1 / 298.0, s.dx = 12.5;
    ASSERT_TRUE(KVProj::NDatSave(profile.c_str(), "Site, local", &s));
    s.Method = KVProj::DM_MRE;
    ASSERT_TRUE(KVProj::NDatSave(profile.c_str(), "Poly", &s));
    const std::string with = " --profile " + kvtest::Quote(profile);

    kvtest::ToolRun r = kvtest::RunTool("datum 'Site, local'" + with);
    EXPECT_EQ(r.status, 0) << r.err;
    EXPECT_TRUE(HasLine(r, "id:             custom (" + profile + ")"));
    EXPECT_TRUE(HasLine(r, "semi-major:     6378100.0000 m"));
    EXPECT_TRUE(HasLine(r, "dx dy dz:       12.5000 0.0000 0.0000 m"));
    r = kvtest::RunTool("datum Poly" + with);
    EXPECT_EQ(r.status, 2);
    EXPECT_TRUE(kvtest::Contains(r.err, "cannot be used")) << r.err;

    std::vector<std::string> lines = kvtest::RunTool("datum --list" + with).Lines();
    std::remove(profile.c_str());
    ASSERT_EQ(lines.size(), 256u);
    EXPECT_EQ(lines[254].substr(0, 16), "254  Site, local");
    EXPECT_TRUE(kvtest::Contains(lines[255], "(unreadable)"));

    lines = kvtest::RunTool("datum --list").Lines();
    ASSERT_EQ(lines.size(), 254u);
    EXPECT_EQ(lines[0].substr(0, 17), "  0  User Defined");
    EXPECT_TRUE(kvtest::Contains(lines[2], "6267  Molodensky")) << lines[2];
    EXPECT_TRUE(kvtest::Contains(lines[2], "Clarke 1866"));
    EXPECT_TRUE(kvtest::Contains(lines[253], "NTv2 grid"));
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
        {"datum 2 --profile", "--profile needs a value"},
        {"datum 2 --bogus", "unknown option '--bogus'"},
        {"datum --list extra", "unexpected argument 'extra'"},
    };
    for (const auto& c : cases) {
        const kvtest::ToolRun r = kvtest::RunTool(c.args);
        EXPECT_EQ(r.status, 2) << c.args;
        EXPECT_TRUE(kvtest::Contains(r.err, c.message)) << c.args << ": " << r.err;
        EXPECT_EQ(r.out, "") << c.args;
    }
}

} // namespace
