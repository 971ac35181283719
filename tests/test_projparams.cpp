// The projection catalogue, the generic parameter interface of PROJDATA and its log dump.
#include "frame/Diag.h"
#include "kvlibw/kvlibw.h"
#include "kvproj/projdata.h"
#include "proj/ProjParams.h"
#include "proj/ProjTable.h"

#include <gtest/gtest.h>

#include <climits>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <sstream>
#include <string>
#include <unistd.h>
#include <vector>

using namespace KVProj;

namespace {

constexpr unsigned char kGuard = 0xEE;

// Transcribed from the host-facing catalogue of the binary interface (value,
// display name, capability word); hosts and saved files depend on the names.
struct TypeCase {
    int type;
    const char* name;
    unsigned int info;
    std::vector<int> ids; // parameter ids in presentation order
};

const std::vector<TypeCase> kTypes = {
    {0, "Unprojected Lat/Long", 0x00, {}},
    {1, "Mercator", 0x2F, {20, 2, 3, 4, 6, 5}},
    {2, "Albers Equal Area Conic", 0x2F, {20, 2, 3, 4, 6, 5, 7, 8}},
    {3, "Miller Cylindrical", 0x2F, {20, 2, 3, 4, 6}},
    {4, "Universal Transverse Mercator (UTM)", 0x1B, {20, 2, 13, 6, 5, 14}},
    {5, "Lambert Conformal Conic", 0x2F, {20, 2, 3, 4, 6, 5, 7, 8}},
    {6, "Stereographic", 0x1B, {20, 2, 3, 4, 13, 6, 5}},
    {7, "Orthographic", 0x1B, {20, 2, 3, 4, 6, 5}},
    {8, "Mollweide", 0x3F, {20, 2, 3, 4, 6}},
    {9, "State Plane 1927", 0x3B, {2, 15}},
    {10, "State Plane 1983", 0x3B, {2, 15}},
    {11, "Polyconic", 0x1B, {20, 2, 3, 4, 6, 5}},
    {12, "Hotine Oblique Mercator", 0x03, {20, 2, 3, 4, 13, 16, 6, 17, 5, 7, 10, 8, 11, 18, 19}},
    {13, "Equidistant Cylindrical", 0x2F, {20, 2, 3, 4, 6, 7}},
    {14, "Robinson", 0x3F, {20, 2, 3, 4}},
    {15, "Van Der Grinten", 0x3F, {20, 2, 3, 4, 6}},
    {16, "Cassini", 0x3B, {20, 2, 3, 4, 5, 6}},
    {17, "Transverse Mercator", 0x1B, {20, 2, 3, 4, 13, 6, 5}},
    {18, "Gauss-Kruger / Gauss Conformal", 0x1B, {20, 2, 3, 4, 13, 6, 5}},
    {19, "Sinusoidal", 0x3F, {20, 2, 3, 4, 6}},
    {20, "Lambert Azimuthal Equal Area", 0x3B, {20, 2, 3, 4, 6, 7}},
    {21, "Bonne", 0x1B, {20, 2, 3, 4, 6, 7}},
    {22, "Robinson-Sterling", 0x3F, {20, 2, 3, 4, 6}},
    {23, "Eckert IV", 0x3F, {20, 2, 3, 4, 6}},
    {24, "Eckert VI", 0x3F, {20, 2, 3, 4, 6}},
    {25, "Oblique Mercator", 0x03, {20, 2, 3, 4, 10, 7, 11, 8, 13}},
    {26, "Equidistant Conic", 0x2F, {20, 2, 3, 4, 6, 5, 7, 8}},
    {27, "Gnomonic", 0x1B, {20, 2, 3, 4, 6, 7}},
    {28, "Azimuthal Equidistant", 0x3F, {20, 2, 3, 4, 6, 7}},
};

// Values outside 0..28 that a host can pass through the int-based enum.
const int kUnknownTypes[] = {-1, 29, 30, 998, 1000, INT_MIN, INT_MAX};

// Parameter descriptions of the binary interface; the expected position and
// width come from the compiler's view of the packed record, independently of
// the library's table.
struct ParamCase {
    int id;
    const char* label;
    ProjDataType type;
    size_t position;
    size_t width;
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

const int kUnknownIds[] = {0, 23, -1, 100, INT_MIN, INT_MAX};

ProjType T(int value) {
    return static_cast<ProjType>(value);
}

// ------------------------------------------------------------------ catalogue

TEST(ProjCatalogue, NamesAndCapabilityWords) {
    EXPECT_EQ(ProjNumProjections(), 29);
    ASSERT_EQ(kTypes.size(), 29u);
    for (const TypeCase& c : kTypes) {
        char name[KVPROJ_NAME_LEN];
        std::memset(name, 'x', sizeof name);
        EXPECT_EQ(ProjGetProjectionInfo(T(c.type), name), c.info) << c.type;
        EXPECT_STREQ(name, c.name) << c.type;
        EXPECT_EQ(ProjGetProjectionInfo(T(c.type), nullptr), c.info) << "null name, " << c.type;
        ASSERT_NE(ProjTypeName(c.type), nullptr);
        EXPECT_STREQ(ProjTypeName(c.type), c.name);
    }
}

TEST(ProjCatalogue, UndefinedAndUnknownTypes) {
    char name[KVPROJ_NAME_LEN];
    std::memset(name, 'x', sizeof name);
    EXPECT_EQ(ProjGetProjectionInfo(PT_UNDEFINED, name), 0u);
    EXPECT_STREQ(name, "undefined");
    for (int type : kUnknownTypes) {
        std::memset(name, 'x', sizeof name);
        EXPECT_EQ(ProjGetProjectionInfo(T(type), name), 0u) << type;
        EXPECT_STREQ(name, "") << type;
        EXPECT_EQ(ProjTypeName(type), nullptr) << type;
    }
    EXPECT_EQ(ProjTypeName(999), nullptr);
}

// --------------------------------------------------------- parameters by type

TEST(ProjParamsByType, CountsAndPresentationOrder) {
    for (const TypeCase& c : kTypes) {
        ProjType t = T(c.type);
        ASSERT_EQ(ProjNumParams(t), static_cast<int>(c.ids.size())) << c.name;
        for (size_t i = 0; i < c.ids.size(); ++i)
            EXPECT_EQ(ProjEnumParam(t, static_cast<int>(i)), c.ids[i]) << c.name << " #" << i;
        EXPECT_EQ(ProjEnumParam(t, static_cast<int>(c.ids.size())), 0) << c.name;
        EXPECT_EQ(ProjEnumParam(t, -1), 0) << c.name;
        EXPECT_EQ(ProjEnumParam(t, INT_MIN), 0) << c.name;
        EXPECT_EQ(ProjEnumParam(t, INT_MAX), 0) << c.name;
    }
}

TEST(ProjParamsByType, UsesParamAgreesWithTheList) {
    for (const TypeCase& c : kTypes) {
        for (int id = -2; id <= 24; ++id) {
            bool listed = id == 0;
            for (int listedId : c.ids)
                listed = listed || listedId == id;
            EXPECT_EQ(ProjUsesParam(T(c.type), id), listed) << c.name << " id " << id;
        }
    }
}

TEST(ProjParamsByType, UnknownTypesHaveNoList) {
    for (int type : kUnknownTypes) {
        ProjType t = T(type);
        EXPECT_EQ(ProjNumParams(t), -1) << type;
        EXPECT_EQ(ProjEnumParam(t, 0), 0) << type;
        EXPECT_EQ(ProjEnumParam(t, -1), 0) << type;
        EXPECT_FALSE(ProjUsesParam(t, 0)) << type;
        EXPECT_FALSE(ProjUsesParam(t, 2)) << type;
    }
    EXPECT_EQ(ProjNumParams(PT_UNDEFINED), -1);
}

// ---------------------------------------------------------- parameter details

TEST(ProjParamInfo, EveryParameterMatchesTheRecord) {
    for (const ParamCase& c : kParams) {
        char label[KVPROJ_NAME_LEN];
        ProjDataType type = PDT_END;
        int position = -2;
        int width = -2;
        ASSERT_TRUE(ProjParamInfo(c.id, label, &type, &position, &width)) << c.id;
        EXPECT_STREQ(label, c.label) << c.id;
        EXPECT_EQ(type, c.type) << c.id;
        EXPECT_EQ(position, static_cast<int>(c.position)) << c.id;
        EXPECT_EQ(width, static_cast<int>(c.width)) << c.id;
    }
}

TEST(ProjParamInfo, UnknownIdsTouchNothing) {
    for (int id : kUnknownIds) {
        char label[] = "keep";
        ProjDataType type = PDT_DOUBLE;
        int position = 7;
        int width = 9;
        EXPECT_FALSE(ProjParamInfo(id, label, &type, &position, &width)) << id;
        EXPECT_STREQ(label, "keep");
        EXPECT_EQ(type, PDT_DOUBLE);
        EXPECT_EQ(position, 7);
        EXPECT_EQ(width, 9);
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

// ------------------------------------------------------------ get and set

void fillPattern(PROJDATA* data) {
    unsigned char* bytes = reinterpret_cast<unsigned char*>(data);
    for (size_t i = 0; i < sizeof *data; ++i)
        bytes[i] = static_cast<unsigned char>(0x30 + i % 97);
}

TEST(ProjGetSetParam, SetChangesExactlyItsBytes) {
    for (const ParamCase& c : kParams) {
        PROJDATA before;
        fillPattern(&before);
        PROJDATA after = before;
        unsigned char value[16];
        for (size_t i = 0; i < sizeof value; ++i)
            value[i] = static_cast<unsigned char>(0xC0 + i);
        ASSERT_TRUE(ProjSetParam(&after, c.id, value)) << c.id;

        const unsigned char* b = reinterpret_cast<const unsigned char*>(&before);
        const unsigned char* a = reinterpret_cast<const unsigned char*>(&after);
        for (size_t i = 0; i < sizeof(PROJDATA); ++i) {
            bool inField = i >= c.position && i < c.position + c.width;
            unsigned char expected = inField ? value[i - c.position] : b[i];
            ASSERT_EQ(a[i], expected) << "id " << c.id << " byte " << i;
        }
    }
}

TEST(ProjGetSetParam, GetWritesExactlyTheWidth) {
    PROJDATA data;
    fillPattern(&data);
    const unsigned char* record = reinterpret_cast<const unsigned char*>(&data);
    for (const ParamCase& c : kParams) {
        unsigned char value[16];
        std::memset(value, kGuard, sizeof value);
        ASSERT_TRUE(ProjGetParam(&data, c.id, value)) << c.id;
        for (size_t i = 0; i < sizeof value; ++i) {
            unsigned char expected = i < c.width ? record[c.position + i] : kGuard;
            ASSERT_EQ(value[i], expected) << "id " << c.id << " byte " << i;
        }
    }
}

// Typed values land in the named fields; bSouth (one byte) sits right before Zone.
TEST(ProjGetSetParam, TypedValuesReachTheirFields) {
    PROJDATA data;
    std::memset(&data, 0, sizeof data);
    double scale = 0.9996;
    int32_t zone = 37;
    bool south = true;
    ASSERT_TRUE(ProjSetParam(&data, 2, &scale));
    ASSERT_TRUE(ProjSetParam(&data, 15, &zone));
    ASSERT_TRUE(ProjSetParam(&data, 14, &south));
    // Packed fields are read by value: gtest binds references, which must be aligned.
    EXPECT_EQ(static_cast<double>(data.Scale), 0.9996);
    EXPECT_EQ(static_cast<int>(data.Zone), 37);
    EXPECT_TRUE(data.bSouth);

    double alpha = 0.0;
    data.Alpha = 53.3158;
    ASSERT_TRUE(ProjGetParam(&data, 17, &alpha));
    EXPECT_EQ(alpha, 53.3158);
}

TEST(ProjGetSetParam, UnknownIdsLeaveEverythingAlone) {
    for (int id : kUnknownIds) {
        PROJDATA before;
        fillPattern(&before);
        PROJDATA data = before;
        unsigned char value[16];
        std::memset(value, kGuard, sizeof value);
        EXPECT_FALSE(ProjSetParam(&data, id, value)) << id;
        EXPECT_FALSE(ProjGetParam(&data, id, value)) << id;
        EXPECT_EQ(std::memcmp(&data, &before, sizeof data), 0) << id;
        for (unsigned char byte : value)
            ASSERT_EQ(byte, kGuard) << id;
    }
}

int g_reports = 0;
uint16_t g_lastMessage = 0;
int KVCALLBACK countingHost(const _KVERRINFO* info) {
    ++g_reports;
    g_lastMessage = info->messageId;
    return 0;
}

TEST(ProjGetSetParam, NullPointersFailWithAnInternalErrorReport) {
    KVRegisterCallerInstance(countingHost, "");
    g_reports = 0;
    PROJDATA data;
    std::memset(&data, 0, sizeof data);
    double value = 1.0;
    EXPECT_FALSE(ProjGetParam(nullptr, 2, &value));
    EXPECT_FALSE(ProjGetParam(&data, 2, nullptr));
    EXPECT_FALSE(ProjSetParam(nullptr, 2, &value));
    EXPECT_FALSE(ProjSetParam(&data, 2, nullptr));
    EXPECT_EQ(g_reports, 4);
    EXPECT_EQ(g_lastMessage, 20200);
    // An unknown id is an ordinary "no", not an internal error.
    EXPECT_FALSE(ProjSetParam(&data, 23, &value));
    EXPECT_EQ(g_reports, 4);
    KVUnregisterCallerInstance();
}

// ------------------------------------------------------------------ the dump

std::string readFile(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    std::stringstream ss;
    ss << in.rdbuf();
    return ss.str();
}

// Points the log at a fresh file for one test, then restores the library's state.
class DumpTest : public ::testing::Test {
protected:
    void SetUp() override {
        wasEnabled_ = LogIsEnabled();
        oldPath_ = LogPath();
        const char* dir = std::getenv("TMPDIR");
        path_ = std::string(dir && *dir ? dir : "/tmp") + "/projparams_dump." +
                std::to_string(::getpid()) + ".log";
        std::remove(path_.c_str());
        LogSetup(true, path_.c_str());
    }
    void TearDown() override {
        LogSetup(wasEnabled_, oldPath_.c_str());
        std::remove(path_.c_str());
    }
    std::string log() const { return readFile(path_); }
    std::string path_;

private:
    bool wasEnabled_ = false;
    std::string oldPath_;
};

PROJDATA utmRecord() {
    PROJDATA data;
    std::memset(&data, 0, sizeof data);
    data.Type = PT_UTM;
    data.Scale = 1.0;
    data.Lon0 = -117.0;
    data.K0 = 0.9996;
    data.bSouth = true;
    data.Zone = STATEZONE_NONE;
    data.Alpha = 45.5;
    data.Ellipsoid = ELLIPSOID_WGS84;
    data.MajorRadius = 6378137.0;
    data.Flattening = 0.00335281066474748;
    data.iResult = 1;
    return data;
}

std::string pointerLine(const void* p) {
    char line[64];
    std::snprintf(line, sizeof line, "  PROJDATA (Pointer=%p)\r\n", p);
    return line;
}

TEST_F(DumpTest, FullRecordText) {
    PROJDATA data = utmRecord();
    ProjDumpData(&data);
    std::string expected = pointerLine(&data) +
                           "    Type:            4 (Universal Transverse Mercator (UTM))\r\n"
                           "    Scale:           1.000000\r\n"
                           "    xOrg:            0.000000\r\n"
                           "    yOrg:            0.000000\r\n"
                           "    Lat0:            0.000000\r\n"
                           "    Lon0:            -117.000000\r\n"
                           "    Lat1:            0.000000\r\n"
                           "    Lat2:            0.000000\r\n"
                           "    Lat3:            0.000000\r\n"
                           "    Lon1:            0.000000\r\n"
                           "    Lon2:            0.000000\r\n"
                           "    Lon3:            0.000000\r\n"
                           "    K0:              0.999600\r\n"
                           "    bSouth:          true\r\n"
                           "    Zone:            142 (UNKNOWN)\r\n"
                           "    bUseAlpha:       false\r\n"
                           "    Alpha:           45.500000\r\n"
                           "    bRotate:         false\r\n"
                           "    bUOffset:        false\r\n"
                           "    Ellipsoid:       47 (WGS 84)\r\n"
                           "    MajorRadius:     6378137.000000\r\n"
                           "    Flattening:      0.003353\r\n"
                           "    iResult:         1\r\n";
    EXPECT_EQ(log(), expected);
}

TEST_F(DumpTest, UnknownTypeUserEllipsoidAndOddFlagBytes) {
    PROJDATA data = utmRecord();
    data.Type = PT_UNDEFINED;
    data.Ellipsoid = ELLIPSOID_USER_DEFINED;
    data.Zone = static_cast<StateZoneType>(5);
    unsigned char odd = 2; // any nonzero byte counts as set
    ASSERT_TRUE(ProjSetParam(&data, 18, &odd));
    ProjDumpData(&data);
    std::string text = log();
    EXPECT_NE(text.find("    Type:            999 (UNKNOWN)\r\n"), std::string::npos) << text;
    EXPECT_NE(text.find("    Ellipsoid:       0 (UNKNOWN)\r\n"), std::string::npos) << text;
    EXPECT_NE(text.find("    Zone:            5 (Alaska 4)\r\n"), std::string::npos) << text;
    EXPECT_NE(text.find("    bRotate:         true\r\n"), std::string::npos) << text;

    std::remove(path_.c_str());
    data.Type = T(-3);
    data.Ellipsoid = ELLIPSOID_NONE;
    ProjDumpData(&data);
    text = log();
    EXPECT_NE(text.find("    Type:            -3 (UNKNOWN)\r\n"), std::string::npos) << text;
    EXPECT_NE(text.find("    Ellipsoid:       56 (UNKNOWN)\r\n"), std::string::npos) << text;
}

TEST_F(DumpTest, NullRecordPrintsThePointerLineOnly) {
    ProjDumpData(nullptr);
    EXPECT_EQ(log(), pointerLine(nullptr));
}

TEST_F(DumpTest, SilentWhenTheLogIsOff) {
    LogSetup(false, path_.c_str());
    PROJDATA data = utmRecord();
    ProjDumpData(&data);
    ProjDumpData(nullptr);
    EXPECT_NE(::access(path_.c_str(), F_OK), 0) << "no log file may be created";
}

} // namespace
