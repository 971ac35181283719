// Parameter validation: order of the tests, their pass/fail boundaries, the
// message texts, and the report to the host.
//
// Expected results are the parameter ids of the projection parameter table
// (Lat0 5, Lon0 6, Lat1 7, Lat2 8, Lon1 10, ..., Alpha 17, Ellipsoid 20) and the
// validator's documented bounds; message texts are quoted from the library's
// message catalogue.
#include "kvproj/projcheck.h"
#include "kvproj/stateplane.h"
#include "frame/Diag.h"
#include "kvlibw/kvlibw.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <sstream>
#include <functional>
#include <limits>
#include <map>
#include <set>
#include <string>
#include <unistd.h>
#include <vector>

using namespace KVProj;

namespace {

const double kNaN = std::numeric_limits<double>::quiet_NaN();
const double kHalfFloatMax = 1.7014117331926443e38;

// A sound record of the given type: Clarke 1866, unit scale, parallels that
// every conic accepts.
PROJDATA Valid(ProjType type) {
    PROJDATA d;
    std::memset(&d, 0, sizeof(d));
    d.Type = type;
    d.Scale = 1;
    d.K0 = 0.9996;
    d.Lat1 = 33;
    d.Lat2 = 45;
    d.Lon0 = -96;
    d.Lat0 = 23;
    d.Alpha = 30;
    d.Ellipsoid = ELLIPSOID_CLARKE_1866;
    return d;
}

struct Case {
    const char* what;
    ProjType type;
    std::function<void(PROJDATA&)> change;
    int result;
    int messageId; // 0: passes
};

const std::map<int, std::string> kTexts = {
    {20230, "Invalid projection type parameter specified"},
    {20231, "Scale parameter must be greater than zero"},
    {20232, "Central scale factor parameter (K0) must be greater than zero"},
    {20233, "Invalid value specified for false easting parameter"},
    {20234, "Invalid value specified for false northing parameter"},
    {20235, "Central longitude (Lon0) parameter was outside the range of -360 to +360 degrees"},
    {20236, "Longitude one (Lon1) parameter was outside the range of -360 to +360 degrees"},
    {20237, "Longitude two (Lon2) parameter was outside the range of -360 to +360 degrees"},
    {20238, "Longitude three (Lon3) parameter was outside the range of -360 to +360 degrees"},
    {20239, "Central latitude (Lat0) parameter was outside the range of -90 to +90"},
    {20240, "Standard parallel one (Lat1) parameter was outside the range of -90 to +90"},
    {20241, "Standard parallel two (Lat2) parameter was outside the range of -90 to +90"},
    {20242, "Standard parallel three (Lat3) parameter was outside the range of -90 to +90"},
    {20243, "Azimuth (Alpha) parameter was outside the range of -360 to +360 degrees"},
    {20244, "Standard parallel (Lat1) parameter for Bonne projection cannot be zero"},
    {20245, "Sum or difference of standard parallel parameters (Lat1+Lat2) cannot be zero for "
            "Albers Equal Area projection"},
    {20246, "Azimuth (Alpha) parameter cannot be zero for Hotine Oblique Mercator projection"},
    {20247, "Standard parallels (Lat1, Lat2) cannot be similar for Lambert Conformal Conic "
            "projection"},
    {20248, "Invalid ellipsoid parameter specified for projection"},
    {20249, "Ellipsoid radius parameter must be greater than zero"},
    {20250, "Ellipsoid flattening parameter cannot be less than zero or greater than or equal "
            "to one"},
    {20251, "Central latitude (Lat0) parameter cannot be +/-90 degrees for Mercator projection"},
    {20252, "State zone parameter not recognized"},
    {20253, "Standard parallels (Lat1, Lat2) cannot be similar for Oblique Mercator projection"},
    {20254, "First standard parallel (Lat1) cannot be zero for Oblique Mercator projection"},
    {20255, "Second standard parallel (Lat2) cannot be 90 degrees for Oblique Mercator "
            "projection"},
    {20256, "Sum or difference of standard parallel parameters (Lat1+Lat2) cannot be zero for "
            "Equidistant Conic projection"},
};

void RunCases(const std::vector<Case>& cases) {
    for (const Case& c : cases) {
        PROJDATA d = Valid(c.type);
        c.change(d);
        PROJDATA before = d;
        char message[kProjCheckMessageLen];
        std::strcpy(message, "stale");
        EXPECT_EQ(ProjCheckParams(&d, message, false), c.result) << c.what;
        const std::string expected = c.messageId ? kTexts.at(c.messageId) : "";
        EXPECT_EQ(message, expected) << c.what;
        EXPECT_EQ(0, std::memcmp(&before, &d, sizeof(d))) << c.what << ": record changed";
    }
}

TEST(ProjCheck, TypeGate) {
    RunCases({
        {"type 29", static_cast<ProjType>(29), [](PROJDATA&) {}, 1, 20230},
        {"type -1", static_cast<ProjType>(-1), [](PROJDATA&) {}, 1, 20230},
        {"type 998", static_cast<ProjType>(998), [](PROJDATA&) {}, 1, 20230},
        {"type 28", PT_AZIMUTHAL_EQUIDISTANT, [](PROJDATA&) {}, 0, 0},
        // 0 and 999 skip every other test, even an impossible record.
        {"unprojected", PT_UNPROJECTED,
         [](PROJDATA& d) {
             d.Scale = -1;
             d.Lon0 = 1e9;
             d.Ellipsoid = static_cast<EllipsoidType>(-4);
         },
         0, 0},
        {"undefined", PT_UNDEFINED,
         [](PROJDATA& d) {
             d.K0 = -1;
             d.Lat1 = kNaN;
         },
         0, 0},
    });
}

TEST(ProjCheck, ScaleAndOrigin) {
    RunCases({
        {"Scale 0 passes", PT_MERCATOR, [](PROJDATA& d) { d.Scale = 0; }, 0, 0},
        {"Scale below 0", PT_MERCATOR, [](PROJDATA& d) { d.Scale = -1e-300; }, 2, 20231},
        {"Scale NaN passes", PT_MERCATOR, [](PROJDATA& d) { d.Scale = kNaN; }, 0, 0},
        {"K0 0 passes", PT_MERCATOR, [](PROJDATA& d) { d.K0 = 0; }, 0, 0},
        {"K0 below 0", PT_MERCATOR, [](PROJDATA& d) { d.K0 = -0.5; }, 13, 20232},
        {"K0 NaN passes", PT_MERCATOR, [](PROJDATA& d) { d.K0 = kNaN; }, 0, 0},
        {"xOrg lower bound inclusive", PT_MERCATOR, [](PROJDATA& d) { d.xOrg = -kHalfFloatMax; }, 0,
         0},
        {"xOrg upper bound exclusive", PT_MERCATOR, [](PROJDATA& d) { d.xOrg = kHalfFloatMax; }, 3,
         20233},
        {"xOrg just below lower bound", PT_MERCATOR,
         [](PROJDATA& d) { d.xOrg = std::nextafter(-kHalfFloatMax, -INFINITY); }, 3, 20233},
        {"yOrg infinite", PT_MERCATOR, [](PROJDATA& d) { d.yOrg = -INFINITY; }, 4, 20234},
        {"yOrg NaN passes", PT_MERCATOR, [](PROJDATA& d) { d.yOrg = kNaN; }, 0, 0},
        // UTM and the state plane types take their false origin elsewhere.
        {"UTM ignores xOrg", PT_UTM, [](PROJDATA& d) { d.xOrg = 1e39; }, 0, 0},
        {"state plane ignores yOrg", PT_STATE_PLANE_83, [](PROJDATA& d) { d.yOrg = 1e39; }, 0, 0},
    });
}

TEST(ProjCheck, AngleRanges) {
    RunCases({
        {"Lon0 359.9 passes", PT_MILLER, [](PROJDATA& d) { d.Lon0 = 359.9; }, 0, 0},
        {"Lon0 360 fails", PT_MILLER, [](PROJDATA& d) { d.Lon0 = 360; }, 6, 20235},
        {"Lon0 -360 fails", PT_MILLER, [](PROJDATA& d) { d.Lon0 = -360; }, 6, 20235},
        {"Lon0 NaN fails", PT_MILLER, [](PROJDATA& d) { d.Lon0 = kNaN; }, 6, 20235},
        {"Lon1", PT_MILLER, [](PROJDATA& d) { d.Lon1 = 400; }, 10, 20236},
        {"Lon2", PT_MILLER, [](PROJDATA& d) { d.Lon2 = kNaN; }, 11, 20237},
        {"Lon3", PT_MILLER, [](PROJDATA& d) { d.Lon3 = -1e10; }, 12, 20238},
        // Latitudes are held to the longitude bound, not to +-90.
        {"Lat0 100 passes", PT_MILLER, [](PROJDATA& d) { d.Lat0 = 100; }, 0, 0},
        {"Lat0 -359.99 passes", PT_MILLER, [](PROJDATA& d) { d.Lat0 = -359.99; }, 0, 0},
        {"Lat0 360", PT_MILLER, [](PROJDATA& d) { d.Lat0 = 360; }, 5, 20239},
        {"Lat1", PT_MILLER, [](PROJDATA& d) { d.Lat1 = kNaN; }, 7, 20240},
        {"Lat2", PT_MILLER, [](PROJDATA& d) { d.Lat2 = INFINITY; }, 8, 20241},
        {"Lat3", PT_MILLER, [](PROJDATA& d) { d.Lat3 = -360; }, 9, 20242},
        // Every type is tested, whether or not it uses the field.
        {"state plane Lat3", PT_STATE_PLANE_27, [](PROJDATA& d) { d.Lat3 = 360; }, 9, 20242},
        {"Hotine Alpha 360", PT_HOTINE, [](PROJDATA& d) { d.Alpha = 360; }, 17, 20243},
        {"Hotine Alpha NaN", PT_HOTINE, [](PROJDATA& d) { d.Alpha = kNaN; }, 17, 20243},
        {"Alpha unchecked elsewhere", PT_MILLER, [](PROJDATA& d) { d.Alpha = kNaN; }, 0, 0},
    });
}

TEST(ProjCheck, ProjectionSpecificTests) {
    RunCases({
        {"Bonne Lat1 0", PT_BONNE, [](PROJDATA& d) { d.Lat1 = 0; }, 7, 20244},
        {"Bonne Lat1 -0", PT_BONNE, [](PROJDATA& d) { d.Lat1 = -0.0; }, 7, 20244},
        {"Bonne Lat1 1e-9", PT_BONNE, [](PROJDATA& d) { d.Lat1 = 1e-9; }, 0, 0},
        {"Albers symmetric", PT_ALBERS,
         [](PROJDATA& d) {
             d.Lat1 = -30;
             d.Lat2 = 30.0005;
         },
         7, 20245},
        {"Albers sum 0.0011 passes", PT_ALBERS,
         [](PROJDATA& d) {
             d.Lat1 = -30;
             d.Lat2 = 30.0011;
         },
         0, 0},
        {"Albers equal", PT_ALBERS, [](PROJDATA& d) { d.Lat2 = d.Lat1 + 0.0009; }, 7, 20245},
        {"Equidistant conic symmetric", PT_EQUIDISTANT_CONIC, [](PROJDATA& d) { d.Lat2 = -d.Lat1; },
         7, 20256},
        {"Equidistant conic equal", PT_EQUIDISTANT_CONIC, [](PROJDATA& d) { d.Lat2 = d.Lat1; }, 7,
         20256},
        {"Hotine Alpha 0 with bUseAlpha", PT_HOTINE,
         [](PROJDATA& d) {
             d.Alpha = 0;
             d.bUseAlpha = true;
         },
         17, 20246},
        {"Hotine Alpha 0 unused", PT_HOTINE, [](PROJDATA& d) { d.Alpha = 0; }, 0, 0},
        // 0.1 apart or less, inclusive; typed values as a user gives them.
        {"Lambert 30 / 30.1", PT_LAMBERT_CONIC,
         [](PROJDATA& d) {
             d.Lat1 = 30;
             d.Lat2 = 30.1;
         },
         7, 20247},
        {"Lambert 0 / 0.1", PT_LAMBERT_CONIC,
         [](PROJDATA& d) {
             d.Lat1 = 0;
             d.Lat2 = 0.1;
         },
         7, 20247},
        {"Lambert 30 / 30.11", PT_LAMBERT_CONIC,
         [](PROJDATA& d) {
             d.Lat1 = 30;
             d.Lat2 = 30.11;
         },
         0, 0},
        {"Lambert 45 / 44.85", PT_LAMBERT_CONIC,
         [](PROJDATA& d) {
             d.Lat1 = 45;
             d.Lat2 = 44.85;
         },
         0, 0},
        {"Mercator Lat0 89.995", PT_MERCATOR, [](PROJDATA& d) { d.Lat0 = 89.995; }, 5, 20251},
        {"Mercator Lat0 -90", PT_MERCATOR, [](PROJDATA& d) { d.Lat0 = -90; }, 5, 20251},
        {"Mercator Lat0 89.98", PT_MERCATOR, [](PROJDATA& d) { d.Lat0 = 89.98; }, 0, 0},
        {"Mercator Lat0 90.005", PT_MERCATOR, [](PROJDATA& d) { d.Lat0 = 90.005; }, 5, 20251},
        {"Oblique Mercator equal", PT_OBLIQUE_MERCATOR, [](PROJDATA& d) { d.Lat2 = d.Lat1; }, 7,
         20253},
        {"Oblique Mercator Lat1 0", PT_OBLIQUE_MERCATOR, [](PROJDATA& d) { d.Lat1 = 0.0005; }, 7,
         20254},
        // The pole test reads Lat1 and answers with Lat2's id; only +90 fails.
        {"Oblique Mercator Lat1 90", PT_OBLIQUE_MERCATOR, [](PROJDATA& d) { d.Lat1 = 90; }, 8,
         20255},
        {"Oblique Mercator Lat1 -90", PT_OBLIQUE_MERCATOR, [](PROJDATA& d) { d.Lat1 = -90; }, 0, 0},
        {"Oblique Mercator Lat2 90", PT_OBLIQUE_MERCATOR, [](PROJDATA& d) { d.Lat2 = 90; }, 0, 0},
    });
}

TEST(ProjCheck, Ellipsoid) {
    RunCases({
        {"ellipsoid 55 passes", PT_MERCATOR,
         [](PROJDATA& d) { d.Ellipsoid = static_cast<EllipsoidType>(55); }, 0, 0},
        {"ellipsoid 56", PT_MERCATOR,
         [](PROJDATA& d) { d.Ellipsoid = static_cast<EllipsoidType>(56); }, 20, 20248},
        {"ellipsoid -1", PT_MERCATOR,
         [](PROJDATA& d) { d.Ellipsoid = static_cast<EllipsoidType>(-1); }, 20, 20248},
        {"user radius 0", PT_MERCATOR,
         [](PROJDATA& d) {
             d.Ellipsoid = ELLIPSOID_USER_DEFINED;
             d.MajorRadius = 0;
         },
         21, 20249},
        {"user radius NaN passes", PT_MERCATOR,
         [](PROJDATA& d) {
             d.Ellipsoid = ELLIPSOID_USER_DEFINED;
             d.MajorRadius = kNaN;
         },
         0, 0},
        {"user flattening below 0", PT_MERCATOR,
         [](PROJDATA& d) {
             d.Ellipsoid = ELLIPSOID_USER_DEFINED;
             d.MajorRadius = 6378137;
             d.Flattening = -1e-12;
         },
         22, 20250},
        {"user flattening 1", PT_MERCATOR,
         [](PROJDATA& d) {
             d.Ellipsoid = ELLIPSOID_USER_DEFINED;
             d.MajorRadius = 6378137;
             d.Flattening = 1;
         },
         22, 20250},
        {"user sphere passes", PT_MERCATOR,
         [](PROJDATA& d) {
             d.Ellipsoid = ELLIPSOID_USER_DEFINED;
             d.MajorRadius = 1;
             d.Flattening = 0;
         },
         0, 0},
        {"user flattening NaN passes", PT_MERCATOR,
         [](PROJDATA& d) {
             d.Ellipsoid = ELLIPSOID_USER_DEFINED;
             d.MajorRadius = 6378137;
             d.Flattening = kNaN;
         },
         0, 0},
        {"radius unchecked for table ellipsoids", PT_MERCATOR,
         [](PROJDATA& d) { d.MajorRadius = -1; }, 0, 0},
    });
}

TEST(ProjCheck, StatePlaneTakesEverythingFromItsZone) {
    RunCases({
        {"NAD 27 Alabama East with a broken ellipsoid and origin", PT_STATE_PLANE_27,
         [](PROJDATA& d) {
             d.Zone = static_cast<StateZoneType>(0);
             d.Ellipsoid = static_cast<EllipsoidType>(99);
             d.xOrg = 1e39;
         },
         0, 0},
        {"NAD 27 Montana", PT_STATE_PLANE_27, [](PROJDATA& d) { d.Zone = SZ_MONTANA; }, 15, 20252},
        {"NAD 83 Montana", PT_STATE_PLANE_83, [](PROJDATA& d) { d.Zone = SZ_MONTANA; }, 0, 0},
        {"NAD 83 Guam", PT_STATE_PLANE_83, [](PROJDATA& d) { d.Zone = SZ_GUAM_ISLAND; }, 15, 20252},
        {"no zone", PT_STATE_PLANE_83, [](PROJDATA& d) { d.Zone = STATEZONE_NONE; }, 15, 20252},
        {"negative zone", PT_STATE_PLANE_27,
         [](PROJDATA& d) { d.Zone = static_cast<StateZoneType>(-1); }, 15, 20252},
        // The zone test runs after Scale and K0 and before the angles.
        {"K0 before zone", PT_STATE_PLANE_27,
         [](PROJDATA& d) {
             d.K0 = -1;
             d.Zone = STATEZONE_NONE;
         },
         13, 20232},
        {"zone before Lon0", PT_STATE_PLANE_27,
         [](PROJDATA& d) {
             d.Lon0 = 500;
             d.Zone = STATEZONE_NONE;
         },
         15, 20252},
    });
}

TEST(ProjCheck, FirstFailureWins) {
    RunCases({
        {"Scale before everything", PT_LAMBERT_CONIC,
         [](PROJDATA& d) {
             d.Scale = -1;
             d.K0 = -1;
             d.Lon0 = 1000;
         },
         2, 20231},
        {"Lon3 before Lat0", PT_LAMBERT_CONIC,
         [](PROJDATA& d) {
             d.Lon3 = 1000;
             d.Lat0 = 1000;
         },
         12, 20238},
        {"range before similarity", PT_LAMBERT_CONIC, [](PROJDATA& d) { d.Lat1 = d.Lat2 = 400; }, 7,
         20240},
        {"Hotine: Alpha range before Lat", PT_HOTINE,
         [](PROJDATA& d) {
             d.Alpha = 400;
             d.Ellipsoid = static_cast<EllipsoidType>(80);
         },
         17, 20243},
        {"similarity before ellipsoid", PT_LAMBERT_CONIC,
         [](PROJDATA& d) {
             d.Lat2 = d.Lat1;
             d.Ellipsoid = static_cast<EllipsoidType>(80);
         },
         7, 20247},
    });
}

// ---------------------------------------------------------------- host reports

struct Report {
    int messageId;
    std::string file;
    int line;
    std::string text;
};
std::vector<Report> g_reports;

// Asks for the details of every report and keeps them: one entry per report.
int KVCALLBACK RecordingHost(const _KVERRINFO* info) {
    if (!(info->flags & KVERR_DETAILS)) return 1;
    g_reports.push_back({info->messageId, info->sourceFile ? info->sourceFile : "", info->line,
                         info->messageText ? info->messageText : ""});
    return 0;
}

class ProjCheckReport : public ::testing::Test {
protected:
    void SetUp() override {
        g_reports.clear();
        KVRegisterCallerInstance(RecordingHost, nullptr);
    }
    void TearDown() override { KVUnregisterCallerInstance(); }
};

TEST_F(ProjCheckReport, FailureReachesTheHostOnceWhenAsked) {
    PROJDATA d = Valid(PT_LAMBERT_CONIC);
    d.Lat2 = d.Lat1;
    EXPECT_EQ(ProjCheckParams(&d, nullptr, false), 7);
    EXPECT_TRUE(g_reports.empty());
    EXPECT_EQ(ProjCheckParams(&d, nullptr, true), 7);
    ASSERT_EQ(g_reports.size(), 1u);
    EXPECT_EQ(g_reports[0].messageId, 20247);
    EXPECT_EQ(g_reports[0].file, "proj/ProjCheck.cpp");
    EXPECT_GT(g_reports[0].line, 0);

    g_reports.clear();
    PROJDATA good = Valid(PT_LAMBERT_CONIC);
    EXPECT_EQ(ProjCheckParams(&good, nullptr, true), 0);
    EXPECT_TRUE(g_reports.empty());
}

TEST_F(ProjCheckReport, EachTestReportsALineOfItsOwn) {
    std::vector<std::function<void(PROJDATA&)>> faults = {
        [](PROJDATA& d) { d.Type = static_cast<ProjType>(40); },
        [](PROJDATA& d) { d.Scale = -1; },
        [](PROJDATA& d) { d.Lon0 = 999; },
        [](PROJDATA& d) { d.Lon1 = 999; },
        [](PROJDATA& d) { d.Lat1 = 999; },
        [](PROJDATA& d) { d.Lat2 = 999; },
        [](PROJDATA& d) { d.Lat2 = d.Lat1; }, // Lambert similarity
        [](PROJDATA& d) { d.Ellipsoid = static_cast<EllipsoidType>(77); },
    };
    std::set<int> lines;
    for (const auto& fault : faults) {
        PROJDATA d = Valid(PT_LAMBERT_CONIC);
        fault(d);
        g_reports.clear();
        EXPECT_NE(ProjCheckParams(&d, nullptr, true), 0);
        ASSERT_EQ(g_reports.size(), 1u);
        lines.insert(g_reports[0].line);
    }
    EXPECT_EQ(lines.size(), faults.size());
}

TEST_F(ProjCheckReport, NullRecordIsNeverReported) {
    char message[kProjCheckMessageLen];
    std::strcpy(message, "stale");
    EXPECT_EQ(ProjCheckParams(nullptr, message, true), 998);
    EXPECT_STREQ(message, "NULL pointer to projection parameters");
    EXPECT_EQ(ProjCheckParams(nullptr, nullptr, true), 998);
    EXPECT_TRUE(g_reports.empty());
}

TEST(ProjCheck, MessageBufferIsNotOverrun) {
    // Exactly 256 characters with guard bytes on both sides.
    std::vector<char> buffer(kProjCheckMessageLen + 64, '#');
    char* message = buffer.data() + 32;
    // The longest message text, the Equidistant Conic one.
    PROJDATA d = Valid(PT_EQUIDISTANT_CONIC);
    d.Lat2 = d.Lat1;
    EXPECT_EQ(ProjCheckParams(&d, message, false), 7);
    EXPECT_EQ(std::string(message), kTexts.at(20256));
    for (int i = 0; i < 32; ++i)
        EXPECT_EQ(buffer[i], '#');
    for (size_t i = 32 + kProjCheckMessageLen; i < buffer.size(); ++i)
        EXPECT_EQ(buffer[i], '#');
}

TEST(ProjCheck, TracesTheRecordItChecks) {
    const char* dir = std::getenv("TMPDIR");
    const std::string log = std::string(dir && *dir ? dir : "/tmp") + "/projcheck-trace." +
                            std::to_string(::getpid()) + ".log";
    const bool was = LogIsEnabled();
    const std::string oldPath = LogPath();
    std::remove(log.c_str());
    LogSetup(true, log.c_str());
    PROJDATA d = Valid(PT_MERCATOR);
    EXPECT_EQ(ProjCheckParams(&d, nullptr, false), 0);
    EXPECT_EQ(ProjCheckParams(nullptr, nullptr, false), 998);
    LogSetup(was, oldPath.c_str());

    std::ifstream in(log, std::ios::binary);
    std::stringstream ss;
    ss << in.rdbuf();
    const std::string text = ss.str();
    std::remove(log.c_str());
    char dump[64];
    std::snprintf(dump, sizeof(dump), "ProjCheckParams called with:\r\n  PROJDATA (Pointer=%p)",
                  static_cast<void*>(&d));
    EXPECT_NE(text.find(dump), std::string::npos) << text;
    EXPECT_NE(text.find("    Type:            1 (Mercator)"), std::string::npos) << text;
    // The null record is logged by its pointer only.
    std::snprintf(dump, sizeof(dump), "ProjCheckParams called with:\r\n  PROJDATA (Pointer=%p)",
                  static_cast<void*>(nullptr));
    EXPECT_NE(text.find(dump), std::string::npos) << text;
}

} // namespace
