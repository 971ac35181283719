// Parameter validation: order of the tests, their pass/fail boundaries, the
// message texts, and the report to the host. Expected results are parameter ids
// (Lat0 5, Lon0 6, Lat1 7, ..., Alpha 17, Ellipsoid 20) and the validator's
// documented bounds.
#include "TestSupport.h"
#include "frame/StringTable.h"
#include "kvproj/projcheck.h"
#include "kvproj/stateplane.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <set>

using namespace KVProj;

namespace {

const double kNaN = std::numeric_limits<double>::quiet_NaN();
const double kInf = std::numeric_limits<double>::infinity();
const double kHalfFloatMax = 1.7014117331926443e38;

// A sound record: Clarke 1866, unit scale, parallels that every conic accepts.
PROJDATA Valid(int type) {
    PROJDATA d;
    std::memset(&d, 0, sizeof(d));
    d.Type = static_cast<ProjType>(type);
    d.Scale = 1, d.K0 = 0.9996, d.Lat1 = 33, d.Lat2 = 45, d.Lon0 = -96, d.Lat0 = 23, d.Alpha = 30;
    d.Ellipsoid = ELLIPSOID_CLARKE_1866;
    return d;
}

// Stores `v` in parameter `id` with the field's own width (double, 32-bit int or bool).
void Set(PROJDATA& d, int id, double v) {
    char label[KVPROJ_NAME_LEN];
    int position = 0, width = 0;
    ASSERT_TRUE(ProjParamInfo(id, label, nullptr, &position, &width)) << id;
    unsigned char* at = reinterpret_cast<unsigned char*>(&d) + position;
    const int32_t i = static_cast<int32_t>(v);
    if (width == 8) std::memcpy(at, &v, 8);
    if (width == 4) std::memcpy(at, &i, 4);
    if (width == 1) *at = v != 0;
}

struct Case {
    const char* what;
    int type;
    std::vector<std::pair<int, double>> set; // parameter id, value
    int result, messageId;                   // 0, 0: passes
};

const Case kCases[] = {
    // Type gate: 0 and 999 skip every other test, even of an impossible record.
    {"type 29", 29, {}, 1, 20230},
    {"type -1", -1, {}, 1, 20230},
    {"type 28", PT_AZIMUTHAL_EQUIDISTANT, {}, 0, 0},
    {"unprojected", PT_UNPROJECTED, {{2, -1}, {6, 1e9}, {20, -4}}, 0, 0},
    {"undefined", PT_UNDEFINED, {{13, -1}, {7, kNaN}}, 0, 0},
    // Scale and origin: zero and NaN pass the "below zero" tests.
    {"Scale 0", PT_MERCATOR, {{2, 0}}, 0, 0},
    {"Scale below 0", PT_MERCATOR, {{2, -1e-300}}, 2, 20231},
    {"Scale NaN", PT_MERCATOR, {{2, kNaN}}, 0, 0},
    {"K0 0", PT_MERCATOR, {{13, 0}}, 0, 0},
    {"K0 below 0", PT_MERCATOR, {{13, -0.5}}, 13, 20232},
    {"K0 NaN", PT_MERCATOR, {{13, kNaN}}, 0, 0},
    {"xOrg lower bound inclusive", PT_MERCATOR, {{3, -kHalfFloatMax}}, 0, 0},
    {"xOrg upper bound exclusive", PT_MERCATOR, {{3, kHalfFloatMax}}, 3, 20233},
    {"xOrg below", PT_MERCATOR, {{3, std::nextafter(-kHalfFloatMax, -kInf)}}, 3, 20233},
    {"yOrg infinite", PT_MERCATOR, {{4, -kInf}}, 4, 20234},
    {"yOrg NaN", PT_MERCATOR, {{4, kNaN}}, 0, 0},
    {"UTM ignores xOrg", PT_UTM, {{3, 1e39}}, 0, 0},
    {"state plane ignores yOrg", PT_STATE_PLANE_83, {{4, 1e39}}, 0, 0},
    // Angle ranges: open +-360 for every angle, latitudes included; every type is tested.
    {"Lon0 359.9", PT_MILLER, {{6, 359.9}}, 0, 0},
    {"Lon0 360", PT_MILLER, {{6, 360}}, 6, 20235},
    {"Lon0 -360", PT_MILLER, {{6, -360}}, 6, 20235},
    {"Lon0 NaN", PT_MILLER, {{6, kNaN}}, 6, 20235},
    {"Lon1", PT_MILLER, {{10, 400}}, 10, 20236},
    {"Lon2", PT_MILLER, {{11, kNaN}}, 11, 20237},
    {"Lon3", PT_MILLER, {{12, -1e10}}, 12, 20238},
    {"Lat0 100", PT_MILLER, {{5, 100}}, 0, 0},
    {"Lat0 360", PT_MILLER, {{5, 360}}, 5, 20239},
    {"Lat1", PT_MILLER, {{7, kNaN}}, 7, 20240},
    {"Lat2", PT_MILLER, {{8, kInf}}, 8, 20241},
    {"Lat3", PT_MILLER, {{9, -360}}, 9, 20242},
    {"state plane Lat3", PT_STATE_PLANE_27, {{9, 360}}, 9, 20242},
    {"Hotine Alpha 360", PT_HOTINE, {{17, 360}}, 17, 20243},
    {"Hotine Alpha NaN", PT_HOTINE, {{17, kNaN}}, 17, 20243},
    {"Alpha unchecked elsewhere", PT_MILLER, {{17, kNaN}}, 0, 0},
    // Projection-specific tests.
    {"Bonne Lat1 0", PT_BONNE, {{7, 0}}, 7, 20244},
    {"Bonne Lat1 -0", PT_BONNE, {{7, -0.0}}, 7, 20244},
    {"Bonne Lat1 1e-9", PT_BONNE, {{7, 1e-9}}, 0, 0},
    {"Albers symmetric", PT_ALBERS, {{7, -30}, {8, 30.0005}}, 7, 20245},
    {"Albers sum 0.0011", PT_ALBERS, {{7, -30}, {8, 30.0011}}, 0, 0},
    {"Albers equal", PT_ALBERS, {{8, 33.0009}}, 7, 20245},
    {"Equidistant conic symmetric", PT_EQUIDISTANT_CONIC, {{8, -33}}, 7, 20256},
    {"Equidistant conic equal", PT_EQUIDISTANT_CONIC, {{8, 33}}, 7, 20256},
    {"Hotine Alpha 0 used", PT_HOTINE, {{17, 0}, {16, 1}}, 17, 20246},
    {"Hotine Alpha 0 unused", PT_HOTINE, {{17, 0}}, 0, 0},
    {"Lambert 30 / 30.1", PT_LAMBERT_CONIC, {{7, 30}, {8, 30.1}}, 7, 20247}, // 0.1 apart, inclusive
    {"Lambert 0 / 0.1", PT_LAMBERT_CONIC, {{7, 0}, {8, 0.1}}, 7, 20247},
    {"Lambert 30 / 30.11", PT_LAMBERT_CONIC, {{7, 30}, {8, 30.11}}, 0, 0},
    {"Lambert 45 / 44.85", PT_LAMBERT_CONIC, {{7, 45}, {8, 44.85}}, 0, 0},
    {"Mercator Lat0 89.995", PT_MERCATOR, {{5, 89.995}}, 5, 20251},
    {"Mercator Lat0 -90", PT_MERCATOR, {{5, -90}}, 5, 20251},
    {"Mercator Lat0 89.98", PT_MERCATOR, {{5, 89.98}}, 0, 0},
    {"Mercator Lat0 90.005", PT_MERCATOR, {{5, 90.005}}, 5, 20251},
    {"Oblique Mercator equal", PT_OBLIQUE_MERCATOR, {{8, 33}}, 7, 20253},
    {"Oblique Mercator Lat1 0", PT_OBLIQUE_MERCATOR, {{7, 0.0005}}, 7, 20254},
    // The pole test reads Lat1 and answers with Lat2's id; only +90 fails.
    {"Oblique Mercator Lat1 90", PT_OBLIQUE_MERCATOR, {{7, 90}}, 8, 20255},
    {"Oblique Mercator Lat1 -90", PT_OBLIQUE_MERCATOR, {{7, -90}}, 0, 0},
    {"Oblique Mercator Lat2 90", PT_OBLIQUE_MERCATOR, {{8, 90}}, 0, 0},
    // Ellipsoid (20), radius (21) and flattening (22); NaN passes.
    {"ellipsoid 55", PT_MERCATOR, {{20, 55}}, 0, 0},
    {"ellipsoid 56", PT_MERCATOR, {{20, 56}}, 20, 20248},
    {"ellipsoid -1", PT_MERCATOR, {{20, -1}}, 20, 20248},
    {"user radius 0", PT_MERCATOR, {{20, 0}, {21, 0}}, 21, 20249},
    {"user radius NaN", PT_MERCATOR, {{20, 0}, {21, kNaN}}, 0, 0},
    {"user flattening below 0", PT_MERCATOR, {{20, 0}, {21, 6378137}, {22, -1e-12}}, 22, 20250},
    {"user flattening 1", PT_MERCATOR, {{20, 0}, {21, 6378137}, {22, 1}}, 22, 20250},
    {"user sphere", PT_MERCATOR, {{20, 0}, {21, 1}, {22, 0}}, 0, 0},
    {"user flattening NaN", PT_MERCATOR, {{20, 0}, {21, 6378137}, {22, kNaN}}, 0, 0},
    {"radius unchecked for table ellipsoids", PT_MERCATOR, {{21, -1}}, 0, 0},
    // State plane: everything comes from the zone; the zone test runs after Scale and K0.
    {"NAD 27 Alabama East, broken rest", PT_STATE_PLANE_27, {{15, 0}, {20, 99}, {3, 1e39}}, 0, 0},
    {"NAD 27 Montana", PT_STATE_PLANE_27, {{15, SZ_MONTANA}}, 15, 20252},
    {"NAD 83 Montana", PT_STATE_PLANE_83, {{15, SZ_MONTANA}}, 0, 0},
    {"NAD 83 Guam", PT_STATE_PLANE_83, {{15, SZ_GUAM_ISLAND}}, 15, 20252},
    {"no zone", PT_STATE_PLANE_83, {{15, STATEZONE_NONE}}, 15, 20252},
    {"negative zone", PT_STATE_PLANE_27, {{15, -1}}, 15, 20252},
    {"K0 before zone", PT_STATE_PLANE_27, {{13, -1}, {15, STATEZONE_NONE}}, 13, 20232},
    {"zone before Lon0", PT_STATE_PLANE_27, {{6, 500}, {15, STATEZONE_NONE}}, 15, 20252},
    // First failure wins.
    {"Scale first", PT_LAMBERT_CONIC, {{2, -1}, {13, -1}, {6, 1000}}, 2, 20231},
    {"Lon3 before Lat0", PT_LAMBERT_CONIC, {{12, 1000}, {5, 1000}}, 12, 20238},
    {"range before similarity", PT_LAMBERT_CONIC, {{7, 400}, {8, 400}}, 7, 20240},
    {"Alpha range before ellipsoid", PT_HOTINE, {{17, 400}, {20, 80}}, 17, 20243},
    {"similarity before ellipsoid", PT_LAMBERT_CONIC, {{8, 33}, {20, 80}}, 7, 20247},
};

TEST(ProjCheck, ResultsMessagesAndOrder) {
    for (const Case& c : kCases) {
        PROJDATA d = Valid(c.type);
        for (const auto& s : c.set)
            Set(d, s.first, s.second);
        const PROJDATA before = d;
        char message[kProjCheckMessageLen] = "stale";
        EXPECT_EQ(ProjCheckParams(&d, message, false), c.result) << c.what;
        EXPECT_STREQ(message, c.messageId ? MessageText(c.messageId) : "") << c.what;
        EXPECT_EQ(0, std::memcmp(&before, &d, sizeof(d))) << c.what << ": record changed";
    }
}

TEST(ProjCheck, MessageTextIsExactAndTheBufferIsNotOverrun) {
    std::vector<char> buffer(kProjCheckMessageLen + 64, '#'); // guard bytes on both sides
    char* message = buffer.data() + 32;
    PROJDATA d = Valid(PT_EQUIDISTANT_CONIC); // the longest message
    d.Lat2 = d.Lat1;
    EXPECT_EQ(ProjCheckParams(&d, message, false), 7);
    EXPECT_STREQ(message, "Sum or difference of standard parallel parameters (Lat1+Lat2) cannot "
                          "be zero for Equidistant Conic projection");
    EXPECT_EQ(std::string(buffer.data(), 32), std::string(32, '#'));
    EXPECT_EQ(std::string(message + kProjCheckMessageLen, 32), std::string(32, '#'));
    d = Valid(PT_LAMBERT_CONIC);
    d.Lat2 = 33.05;
    EXPECT_EQ(ProjCheckParams(&d, message, false), 7);
    EXPECT_STREQ(message, "Standard parallels (Lat1, Lat2) cannot be similar for Lambert "
                          "Conformal Conic projection");
}

TEST(ProjCheckReport, OnceWhenAskedFromItsOwnLineNeverForANullRecord) {
    kvtest::ReportRecorder host;
    PROJDATA d = Valid(PT_LAMBERT_CONIC);
    d.Lat2 = d.Lat1;
    EXPECT_EQ(ProjCheckParams(&d, nullptr, false), 7);
    EXPECT_TRUE(host.reports.empty());
    EXPECT_EQ(ProjCheckParams(&d, nullptr, true), 7);
    ASSERT_EQ(host.reports.size(), 1u);
    EXPECT_EQ(host.reports[0].id, 20247);
    EXPECT_EQ(host.reports[0].file, "proj/ProjCheck.cpp");
    PROJDATA good = Valid(PT_LAMBERT_CONIC);
    EXPECT_EQ(ProjCheckParams(&good, nullptr, true), 0);
    EXPECT_EQ(host.reports.size(), 1u);

    const std::vector<std::pair<int, double>> faults[] = {
        {{1, 40}},  {{2, -1}},  {{6, 999}}, {{10, 999}},
        {{7, 999}}, {{8, 999}}, {{8, 33}},  {{20, 77}},
    };
    std::set<int> lines;
    for (const auto& fault : faults) {
        PROJDATA bad = Valid(PT_LAMBERT_CONIC);
        Set(bad, fault[0].first, fault[0].second);
        host.reports.clear();
        EXPECT_NE(ProjCheckParams(&bad, nullptr, true), 0);
        ASSERT_EQ(host.reports.size(), 1u);
        EXPECT_GT(host.reports[0].line, 0);
        lines.insert(host.reports[0].line);
    }
    EXPECT_EQ(lines.size(), 8u) << "each test reports a line of its own";

    host.reports.clear();
    char message[kProjCheckMessageLen] = "stale";
    EXPECT_EQ(ProjCheckParams(nullptr, message, true), 998);
    EXPECT_STREQ(message, "NULL pointer to projection parameters");
    EXPECT_EQ(ProjCheckParams(nullptr, nullptr, true), 998);
    EXPECT_TRUE(host.reports.empty());
}

TEST(ProjCheck, TracesTheRecordItChecks) {
    kvtest::LogCapture log("projcheck-trace");
    PROJDATA d = Valid(PT_MERCATOR);
    EXPECT_EQ(ProjCheckParams(&d, nullptr, false), 0);
    EXPECT_EQ(ProjCheckParams(nullptr, nullptr, false), 998);
    const std::string text = log.Text();
    for (const void* p : {static_cast<const void*>(&d), static_cast<const void*>(nullptr)}) {
        char dump[80];
        std::snprintf(dump, sizeof(dump), "ProjCheckParams called with:\r\n  PROJDATA (Pointer=%p)",
                      p);
        EXPECT_TRUE(kvtest::Contains(text, dump)) << text;
    }
    EXPECT_TRUE(kvtest::Contains(text, "    Type:            1 (Mercator)")) << text;
}

} // namespace
