// The built-in datum table, checked row by row against a transcription of the
// published table kept as text (tests/data/datum_table.md), and its queries.
#include "datum/DatumTable.h"
#include "kvproj/datum.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <fstream>
#include <map>
#include <set>
#include <sstream>
#include <string>
#include <vector>

using namespace KVProj;

namespace {

struct TextRow {
    int id = 0, posc = 0, ellipsoid = 56;
    std::string name, method;
    double v[8] = {0, 0, 0, 0, 0, 0, 0, 0}; // dx dy dz rx ry rz k PMShift
};

std::string trimmed(const std::string& s) {
    size_t b = s.find_first_not_of(' '), e = s.find_last_not_of(' ');
    return b == std::string::npos ? std::string() : s.substr(b, e - b + 1);
}

// Reads the table rows: "| id | name | POSC | ..." with 7 cells (Molodensky),
// 12 cells (Bursa-Wolf) or 4 cells (grid and regression datums).
std::vector<TextRow> readTextTable() {
    std::ifstream in(KVPROJ_TEST_DATA_DIR "/datum_table.md");
    std::vector<TextRow> rows;
    std::string line;
    while (std::getline(in, line)) {
        if (line.size() < 3 || line[0] != '|' || line[2] < '0' || line[2] > '9') continue;
        std::vector<std::string> cells;
        std::stringstream ss(line.substr(1));
        std::string cell;
        while (std::getline(ss, cell, '|'))
            cells.push_back(trimmed(cell));
        if (!cells.empty() && cells.back().empty()) cells.pop_back();
        TextRow r;
        r.id = std::atoi(cells[0].c_str());
        r.name = cells[1];
        r.posc = cells[2] == "-" ? 0 : std::atoi(cells[2].c_str());
        if (cells.size() == 7) {
            r.method = "DM_MOLODENSKY";
            r.ellipsoid = std::atoi(cells[3].c_str());
            for (int i = 0; i < 3; ++i)
                r.v[i] = std::strtod(cells[4 + i].c_str(), nullptr);
            if (r.id == 147) r.v[7] = 2.33722916666667; // stated in the table's heading
        } else if (cells.size() == 12) {
            r.method = "DM_BURSA";
            r.ellipsoid = std::atoi(cells[3].c_str());
            for (int i = 0; i < 8; ++i)
                r.v[i] = std::strtod(cells[4 + i].c_str(), nullptr);
        } else if (cells.size() == 4) {
            r.method = cells[3].substr(1, cells[3].size() - 2); // strip the backquotes
        } else {
            ADD_FAILURE() << "unexpected row: " << line;
            continue;
        }
        rows.push_back(r);
    }
    return rows;
}

const char* methodName(int m) {
    static const char* names[] = {"DM_NOXFORM", "DM_NADCON", "DM_BURSA", "DM_MOLODENSKY",
                                  "DM_HARN",    "DM_MRE",    "DM_NTV2",  "end"};
    return m >= 0 && m <= 7 ? names[m] : "?";
}

} // namespace

TEST(DatumTable, EveryRowMatchesThePublishedTable) {
    std::vector<TextRow> text = readTextTable();
    ASSERT_EQ(text.size(), 253u);
    // The groups of the published table, concatenated, are the storage order.
    for (size_t i = 0; i < text.size(); ++i) {
        const DatumRow& row = kDatumRows[i];
        const TextRow& t = text[i];
        SCOPED_TRACE("row " + std::to_string(i) + " id " + std::to_string(t.id));
        EXPECT_EQ(row.id, t.id);
        EXPECT_EQ(std::string(row.name), t.name);
        EXPECT_EQ(row.posc, t.posc);
        EXPECT_STREQ(methodName(row.method), t.method.c_str());
        EXPECT_EQ(int(row.ellipsoid), t.ellipsoid);
        const double v[8] = {row.dx, row.dy, row.dz, row.rx, row.ry, row.rz, row.k, row.pmShift};
        for (int k = 0; k < 8; ++k)
            EXPECT_EQ(v[k], t.v[k]) << "column " << k;
    }
    const DatumRow& end = kDatumRows[253];
    EXPECT_EQ(end.id, 254);
    EXPECT_STREQ(end.name, "null");
    EXPECT_EQ(int(end.method), 7);
    EXPECT_EQ(int(end.ellipsoid), 56);
}

TEST(DatumTable, StorageOrderAndUniqueness) {
    std::vector<int> order;
    for (int a = 1; a <= 180; ++a)
        order.push_back(a);
    for (int a = 244; a <= 250; ++a)
        order.push_back(a);
    for (int a = 181; a <= 223; ++a)
        order.push_back(a);
    for (int a : {236, 234, 235})
        order.push_back(a);
    for (int a = 237; a <= 243; ++a)
        order.push_back(a);
    for (int a : {251, 252})
        order.push_back(a);
    for (int a = 224; a <= 233; ++a)
        order.push_back(a);
    order.push_back(253);
    ASSERT_EQ(order.size(), 253u);
    std::set<std::string> names;
    std::map<int, int> posc;
    int withPosc = 0;
    for (size_t i = 0; i < order.size(); ++i) {
        EXPECT_EQ(kDatumRows[i].id, order[i]);
        EXPECT_TRUE(names.insert(kDatumRows[i].name).second) << kDatumRows[i].name;
        EXPECT_LE(std::strlen(kDatumRows[i].name), 255u);
        if (kDatumRows[i].posc) {
            ++withPosc;
            ++posc[kDatumRows[i].posc];
        }
    }
    EXPECT_EQ(withPosc, 56);
    for (const auto& p : posc)
        EXPECT_EQ(p.second, p.first == 6267 ? 4 : 1) << p.first;
}

TEST(DatumTable, Names) {
    char out[256];
    struct {
        int id;
        const char* name;
    } cases[] = {{0, "User Defined"},
                 {1, "North American Datum 1983"},
                 {80, "Gandajika  1970"},
                 {147, "NTF France - Paris Meridian"},
                 {253, "NAD 1927 - Canada (NTV2)"},
                 {254, ""},
                 {999, ""},
                 {-1, ""}};
    for (const auto& c : cases) {
        std::memset(out, 'x', sizeof out);
        DatGetDatumName(static_cast<DatumType>(c.id), out);
        EXPECT_STREQ(out, c.name) << c.id;
    }
    EXPECT_EQ(DatNumDatums(), 254);
}

TEST(DatumTable, NameLookup) {
    struct {
        const char* name;
        bool found;
        int id;
    } cases[] = {{"user defined", true, 0},
                 {"USER DEFINED", true, 0},
                 {"tokyo", true, 7},
                 {"Tokyo - Mean", true, 204},
                 {"s-42 hungary", true, 244},
                 {"NAD 1927 - CONUS (MRE)", true, 229},
                 {"Gandajika 1970", false, 0},
                 {"", false, 0},
                 {"North American Datum 19", false, 0}};
    for (const auto& c : cases) {
        DatumType id = static_cast<DatumType>(-7);
        EXPECT_EQ(DatGetDatumFromName(&id, c.name), c.found) << c.name;
        if (c.found) {
            EXPECT_EQ(int(id), c.id) << c.name;
        }
    }
    DatumType id;
    EXPECT_FALSE(DatGetDatumFromName(nullptr, "Tokyo"));
    EXPECT_FALSE(DatGetDatumFromName(&id, nullptr));
}

TEST(DatumTable, PoscLookups) {
    DatumType id = DATUM_NONE;
    EXPECT_TRUE(DatGetDatumFromPOSCNumber(&id, 6267));
    EXPECT_EQ(id, 2);
    EXPECT_TRUE(DatGetDatumFromPOSCNumber(&id, 6273));
    EXPECT_EQ(id, 252);
    EXPECT_FALSE(DatGetDatumFromPOSCNumber(&id, 0));
    EXPECT_FALSE(DatGetDatumFromPOSCNumber(&id, 4326));
    EXPECT_FALSE(DatGetDatumFromPOSCNumber(nullptr, 6267));
    int code = 0;
    EXPECT_TRUE(DatGetDatumPOSCNumber(static_cast<DatumType>(229), &code));
    EXPECT_EQ(code, 6267);
    EXPECT_TRUE(DatGetDatumPOSCNumber(static_cast<DatumType>(233), nullptr));
    EXPECT_FALSE(DatGetDatumPOSCNumber(static_cast<DatumType>(9), &code));
    EXPECT_FALSE(DatGetDatumPOSCNumber(DATUM_USER_DEFINED, &code));
    EXPECT_FALSE(DatGetDatumPOSCNumber(static_cast<DatumType>(254), &code));
}

TEST(DatumTable, ReversibleAndMethod) {
    for (int id = -2; id <= 256; ++id) {
        bool expected = (id >= 1 && id <= 223) || (id >= 234 && id <= 252);
        EXPECT_EQ(DatReversible(static_cast<DatumType>(id)), expected) << id;
    }
    DatumMethod m = DM_COUNT;
    EXPECT_FALSE(DatGetDatumMethod(DATUM_USER_DEFINED, &m));
    EXPECT_FALSE(DatGetDatumMethod(static_cast<DatumType>(-1), &m));
    EXPECT_FALSE(DatGetDatumMethod(static_cast<DatumType>(254), &m));
    EXPECT_FALSE(DatGetDatumMethod(static_cast<DatumType>(5), nullptr));
    struct {
        int id;
        DatumMethod m;
    } cases[] = {
        {3, DM_MOLODENSKY}, {215, DM_BURSA}, {229, DM_MRE}, {232, DM_NADCON}, {253, DM_NTV2}};
    for (const auto& c : cases) {
        EXPECT_TRUE(DatGetDatumMethod(static_cast<DatumType>(c.id), &m));
        EXPECT_EQ(m, c.m) << c.id;
    }
}

TEST(DatumTable, Params) {
    DATUM2WGS84 s;
    std::memset(&s, 0x33, sizeof s);
    ASSERT_TRUE(DatGetDatumParams(DATUM_NTF_PARIS, &s));
    EXPECT_EQ(+s.Method, DM_MOLODENSKY);
    EXPECT_FALSE(+s.bInverse);
    EXPECT_EQ(+s.Ellipsoid, 34);
    EXPECT_EQ(+s.PMShift, 2.33722916666667);
    EXPECT_EQ(+s.dx, -83);
    EXPECT_EQ(+s.dy, -96);
    EXPECT_EQ(+s.dz, -113);
    EXPECT_EQ(+s.MajorRadius, 6378388.0); // International 1924
    EXPECT_EQ(+s.Flattening, 1.0 / 297.0);
    EXPECT_EQ(+s.Spare[0], 0x33); // the spare area is never written

    ASSERT_TRUE(DatGetDatumParams(static_cast<DatumType>(221), &s));
    EXPECT_EQ(+s.Method, DM_BURSA);
    EXPECT_EQ(+s.rx, -0.804816);
    EXPECT_EQ(+s.k, 5.66);
    EXPECT_EQ(+s.MajorRadius, 6377397.155);

    ASSERT_TRUE(DatGetDatumParams(DATUM_NTV2_CANADA, &s));
    EXPECT_EQ(+s.Method, DM_NTV2);
    for (int id : {0, 224, 231, 232, 233, 254, -1, 1000})
        EXPECT_FALSE(DatGetDatumParams(static_cast<DatumType>(id), &s)) << id;
    EXPECT_FALSE(DatGetDatumParams(DATUM_WGS84, nullptr));
}
