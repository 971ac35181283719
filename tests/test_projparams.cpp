// The projection catalogue, the generic parameter interface of PROJDATA and its log dump.
#include "TestSupport.h"
#include "kvproj/projdata.h"
#include "proj/ProjParams.h"
#include "proj/ProjTable.h"

#include <gtest/gtest.h>

#include <climits>
#include <cstddef>
#include <cstring>
#include <set>

using namespace KVProj;

namespace {

constexpr unsigned char kGuard = 0xEE;
const int kUnknownTypes[] = {-1, 29, 30, 998, 1000, INT_MIN, INT_MAX};
const int kUnknownIds[] = {0, 23, -1, 100, INT_MIN, INT_MAX};

ProjType T(int value) {
    return static_cast<ProjType>(value);
}

// Spot rows of the host-facing catalogue (value, display name, capability word,
// parameter ids in presentation order); saved files and hosts depend on them.
struct TypeCase {
    int type;
    const char* name;
    unsigned int info;
    std::vector<int> ids;
};
const TypeCase kTypes[] = {
    {0, "Unprojected Lat/Long", 0x00, {}},
    {4, "Universal Transverse Mercator (UTM)", 0x1B, {20, 2, 13, 6, 5, 14}},
    {10, "State Plane 1983", 0x3B, {2, 15}},
    {12, "Hotine Oblique Mercator", 0x03, {20, 2, 3, 4, 13, 16, 6, 17, 5, 7, 10, 8, 11, 18, 19}},
    {14, "Robinson", 0x3F, {20, 2, 3, 4}},
    {25, "Oblique Mercator", 0x03, {20, 2, 3, 4, 10, 7, 11, 8, 13}},
    {28, "Azimuthal Equidistant", 0x3F, {20, 2, 3, 4, 6, 7}},
};

// Parameter descriptions; position and width come from the compiler's view of the
// packed record, independently of the library's table.
struct ParamCase {
    int id;
    const char* label;
    ProjDataType type;
    size_t position, width;
};
#define FIELD(m) offsetof(PROJDATA, m), sizeof(PROJDATA::m)
const ParamCase kParams[] = {
    {1, "Projection", PDT_PROJTYPE, FIELD(Type)},
    {2, "Scale", PDT_DOUBLE, FIELD(Scale)},
    {3, "False Easting", PDT_DOUBLE, FIELD(xOrg)},
    {4, "False Northing", PDT_DOUBLE, FIELD(yOrg)},
    {5, "Central Latitude", PDT_DOUBLE, FIELD(Lat0)},
    {6, "Central Longitude", PDT_DOUBLE, FIELD(Lon0)},
    {7, "Standard Parallel", PDT_DOUBLE, FIELD(Lat1)},
    {8, "2nd Standard Parallel", PDT_DOUBLE, FIELD(Lat2)},
    {9, "3rd Standard Parallel", PDT_DOUBLE, FIELD(Lat3)},
    {10, "1st Meridian", PDT_DOUBLE, FIELD(Lon1)},
    {11, "2nd Meridian", PDT_DOUBLE, FIELD(Lon2)},
    {12, "3rd Meridian", PDT_DOUBLE, FIELD(Lon3)},
    {13, "Central Scale Factor (K0)", PDT_DOUBLE, FIELD(K0)},
    {14, "Projection in Southern Hemisphere", PDT_BOOL, FIELD(bSouth)},
    {15, "State Zone", PDT_STATEZONE, FIELD(Zone)},
    {16, "Use Alpha Parameter", PDT_BOOL, FIELD(bUseAlpha)},
    {17, "Alpha (Azimuth)", PDT_DOUBLE, FIELD(Alpha)},
    {18, "Rotate U/V to X/Y", PDT_BOOL, FIELD(bRotate)},
    {19, "Offset by U", PDT_BOOL, FIELD(bUOffset)},
    {20, "Ellipsoid", PDT_ELLIPSOID, FIELD(Ellipsoid)},
    {21, "Ellipsoid Radius (meters)", PDT_DOUBLE, FIELD(MajorRadius)},
    {22, "Ellipsoid Flattening", PDT_DOUBLE, FIELD(Flattening)},
};
#undef FIELD

TEST(ProjCatalogue, SpotRowsNamesWordsAndParameterLists) {
    EXPECT_EQ(ProjNumProjections(), 29);
    for (const TypeCase& c : kTypes) {
        char name[KVPROJ_NAME_LEN];
        EXPECT_EQ(ProjGetProjectionInfo(T(c.type), name), c.info) << c.type;
        EXPECT_STREQ(name, c.name);
        std::vector<int> ids;
        for (int i = 0; i < ProjNumParams(T(c.type)); ++i)
            ids.push_back(ProjEnumParam(T(c.type), i));
        EXPECT_EQ(ids, c.ids) << c.name;
    }
}

// Whatever the rows say, the queries must agree with one another for every type.
TEST(ProjCatalogue, QueriesAgreeForEveryType) {
    for (int t = 0; t < 29; ++t) {
        char name[KVPROJ_NAME_LEN];
        std::memset(name, 'x', sizeof name);
        const unsigned int info = ProjGetProjectionInfo(T(t), name);
        EXPECT_EQ(ProjGetProjectionInfo(T(t), nullptr), info) << t;
        ASSERT_NE(ProjTypeName(t), nullptr) << t;
        EXPECT_STREQ(ProjTypeName(t), name);
        EXPECT_GT(std::strlen(name), 0u);
        const int n = ProjNumParams(T(t));
        ASSERT_GE(n, 0) << t;
        std::set<int> listed;
        for (int i = 0; i < n; ++i) {
            const int id = ProjEnumParam(T(t), i);
            EXPECT_TRUE(id >= 2 && id <= 22) << t << " #" << i; // the type itself is never listed
            EXPECT_TRUE(listed.insert(id).second) << t << " lists " << id << " twice";
        }
        for (int i : {n, -1, INT_MIN, INT_MAX})
            EXPECT_EQ(ProjEnumParam(T(t), i), 0) << t << " #" << i;
        for (int id = -2; id <= 24; ++id)
            EXPECT_EQ(ProjUsesParam(T(t), id), id == 0 || listed.count(id) == 1)
                << t << " id " << id;
    }
}

TEST(ProjCatalogue, UndefinedAndUnknownTypes) {
    char name[KVPROJ_NAME_LEN];
    EXPECT_EQ(ProjGetProjectionInfo(PT_UNDEFINED, name), 0u);
    EXPECT_STREQ(name, "undefined");
    EXPECT_EQ(ProjNumParams(PT_UNDEFINED), -1);
    EXPECT_EQ(ProjTypeName(999), nullptr);
    for (int type : kUnknownTypes) {
        std::memset(name, 'x', sizeof name);
        EXPECT_EQ(ProjGetProjectionInfo(T(type), name), 0u) << type;
        EXPECT_STREQ(name, "") << type;
        EXPECT_EQ(ProjTypeName(type), nullptr) << type;
        EXPECT_EQ(ProjNumParams(T(type)), -1) << type;
        EXPECT_EQ(ProjEnumParam(T(type), 0), 0) << type;
        EXPECT_FALSE(ProjUsesParam(T(type), 0)) << type;
        EXPECT_FALSE(ProjUsesParam(T(type), 2)) << type;
    }
}

// Hosts hand in 80-character buffers; nothing may land beyond them.
TEST(ProjCatalogue, CopiesStayInsideEightyCharacters) {
    unsigned char buffer[KVPROJ_NAME_LEN + 16];
    char* text = reinterpret_cast<char*>(buffer);
    for (int n = -1; n <= 30; ++n) {
        std::memset(buffer, kGuard, sizeof buffer);
        ProjGetProjectionInfo(T(n), text);
        ProjParamInfo(n, text, nullptr, nullptr, nullptr);
        EXPECT_LT(std::strlen(text), static_cast<size_t>(KVPROJ_NAME_LEN)) << n;
        for (size_t i = KVPROJ_NAME_LEN; i < sizeof buffer; ++i)
            ASSERT_EQ(buffer[i], kGuard) << "value " << n << " wrote byte " << i;
    }
}

TEST(ProjParamInfo, EveryParameterMatchesTheRecordUnknownIdsTouchNothing) {
    for (const ParamCase& c : kParams) {
        char label[KVPROJ_NAME_LEN];
        ProjDataType type = PDT_END;
        int position = -2, width = -2;
        ASSERT_TRUE(ProjParamInfo(c.id, label, &type, &position, &width)) << c.id;
        EXPECT_STREQ(label, c.label) << c.id;
        EXPECT_EQ(type, c.type) << c.id;
        EXPECT_EQ(position, static_cast<int>(c.position)) << c.id;
        EXPECT_EQ(width, static_cast<int>(c.width)) << c.id;
    }
    for (int id : kUnknownIds) {
        char label[] = "keep";
        ProjDataType type = PDT_DOUBLE;
        int position = 7, width = 9;
        EXPECT_FALSE(ProjParamInfo(id, label, &type, &position, &width)) << id;
        EXPECT_STREQ(label, "keep");
        EXPECT_EQ(type, PDT_DOUBLE);
        EXPECT_EQ(position + width, 16);
    }
}

void FillPattern(PROJDATA* data) {
    unsigned char* bytes = reinterpret_cast<unsigned char*>(data);
    for (size_t i = 0; i < sizeof *data; ++i)
        bytes[i] = static_cast<unsigned char>(0x30 + i % 97);
}

TEST(ProjGetSetParam, SetAndGetMoveExactlyTheFieldsBytes) {
    for (const ParamCase& c : kParams) {
        PROJDATA before;
        FillPattern(&before);
        PROJDATA after = before;
        unsigned char value[16];
        for (size_t i = 0; i < sizeof value; ++i)
            value[i] = static_cast<unsigned char>(0xC0 + i);
        ASSERT_TRUE(ProjSetParam(&after, c.id, value)) << c.id;
        const unsigned char* b = reinterpret_cast<const unsigned char*>(&before);
        const unsigned char* a = reinterpret_cast<const unsigned char*>(&after);
        for (size_t i = 0; i < sizeof(PROJDATA); ++i) {
            const bool inField = i >= c.position && i < c.position + c.width;
            ASSERT_EQ(a[i], inField ? value[i - c.position] : b[i])
                << "set id " << c.id << " byte " << i;
        }
        unsigned char got[16];
        std::memset(got, kGuard, sizeof got);
        ASSERT_TRUE(ProjGetParam(&before, c.id, got)) << c.id;
        for (size_t i = 0; i < sizeof got; ++i)
            ASSERT_EQ(got[i], i < c.width ? b[c.position + i] : kGuard)
                << "get id " << c.id << " byte " << i;
    }
}

TEST(ProjGetSetParam, UnknownIdsAndNullPointers) {
    kvtest::ReportRecorder host;
    PROJDATA before;
    FillPattern(&before);
    for (int id : kUnknownIds) {
        PROJDATA data = before;
        unsigned char guard[16], value[16];
        std::memset(guard, kGuard, sizeof guard);
        std::memcpy(value, guard, sizeof value);
        EXPECT_FALSE(ProjSetParam(&data, id, value) || ProjGetParam(&data, id, value)) << id;
        EXPECT_EQ(std::memcmp(&data, &before, sizeof data), 0) << id;
        EXPECT_EQ(std::memcmp(value, guard, sizeof value), 0) << id;
    }
    EXPECT_TRUE(host.reports.empty()); // an unknown id is a plain "no", not an internal error
    double value = 1.0;
    EXPECT_FALSE(ProjGetParam(nullptr, 2, &value) || ProjGetParam(&before, 2, nullptr) ||
                 ProjSetParam(nullptr, 2, &value) || ProjSetParam(&before, 2, nullptr));
    EXPECT_EQ(host.Count(20200), 4);
}

PROJDATA UtmRecord() {
    PROJDATA d;
    std::memset(&d, 0, sizeof d);
    d.Type = PT_UTM, d.Scale = 1.0, d.Lon0 = -117.0, d.K0 = 0.9996, d.bSouth = true;
    d.Zone = STATEZONE_NONE, d.Alpha = 45.5, d.Ellipsoid = ELLIPSOID_WGS84, d.iResult = 1;
    d.MajorRadius = 6378137.0, d.Flattening = 0.00335281066474748;
    return d;
}

std::string PointerLine(const void* p) {
    char line[64];
    std::snprintf(line, sizeof line, "  PROJDATA (Pointer=%p)\r\n", p);
    return line;
}

// Dump lines: four spaces, the label and its colon padded to 17 columns, the value.
std::string DumpLines(const std::vector<std::pair<std::string, std::string>>& fields) {
    std::string text;
    for (const auto& f : fields)
        text += "    " + (f.first + ":" + std::string(17, ' ')).substr(0, 17) + f.second + "\r\n";
    return text;
}

TEST(ProjDump, FullRecordText) {
    kvtest::LogCapture log("dump");
    PROJDATA data = UtmRecord();
    ProjDumpData(&data);
    // clang-format off
    EXPECT_EQ(log.Text(), PointerLine(&data) + DumpLines({
        {"Type", "4 (Universal Transverse Mercator (UTM))"}, {"Scale", "1.000000"},
        {"xOrg", "0.000000"}, {"yOrg", "0.000000"}, {"Lat0", "0.000000"}, {"Lon0", "-117.000000"},
        {"Lat1", "0.000000"}, {"Lat2", "0.000000"}, {"Lat3", "0.000000"}, {"Lon1", "0.000000"},
        {"Lon2", "0.000000"}, {"Lon3", "0.000000"}, {"K0", "0.999600"}, {"bSouth", "true"},
        {"Zone", "142 (UNKNOWN)"}, {"bUseAlpha", "false"}, {"Alpha", "45.500000"},
        {"bRotate", "false"}, {"bUOffset", "false"}, {"Ellipsoid", "47 (WGS 84)"},
        {"MajorRadius", "6378137.000000"}, {"Flattening", "0.003353"}, {"iResult", "1"}}));
    // clang-format on
}

TEST(ProjDump, UnknownValuesNullRecordAndLogOff) {
    kvtest::LogCapture log("dump-odd");
    PROJDATA data = UtmRecord();
    data.Type = PT_UNDEFINED;
    data.Ellipsoid = ELLIPSOID_USER_DEFINED;
    data.Zone = static_cast<StateZoneType>(5);
    unsigned char odd = 2; // any nonzero byte counts as set
    ASSERT_TRUE(ProjSetParam(&data, 18, &odd));
    ProjDumpData(&data);
    data.Type = T(-3);
    data.Ellipsoid = ELLIPSOID_NONE;
    ProjDumpData(&data);
    const std::string text = log.Text();
    for (const char* line :
         {"    Type:            999 (UNKNOWN)\r\n", "    Ellipsoid:       0 (UNKNOWN)\r\n",
          "    Zone:            5 (Alaska 4)\r\n", "    bRotate:         true\r\n",
          "    Type:            -3 (UNKNOWN)\r\n", "    Ellipsoid:       56 (UNKNOWN)\r\n"})
        EXPECT_TRUE(kvtest::Contains(text, line)) << line << text;

    log.Clear();
    ProjDumpData(nullptr);
    EXPECT_EQ(log.Text(), PointerLine(nullptr));
    log.Clear();
    LogSetup(false, log.Path().c_str());
    ProjDumpData(&data);
    ProjDumpData(nullptr);
    EXPECT_NE(::access(log.Path().c_str(), F_OK), 0) << "no log file may be created";
}

} // namespace
