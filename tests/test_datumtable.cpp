// The built-in datum table, checked row by row against the transcription of the
// published table in tests/data/datum_table.md, and its queries.
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

// "| id | name | POSC | ..." rows: 7 cells (Molodensky: ellipsoid, dx, dy, dz),
// 12 (Bursa-Wolf: ellipsoid, dx..k, PMShift) or 4 (`method` of grid datums).
std::vector<std::vector<std::string>> TextRows() {
    std::ifstream in(KVPROJ_TEST_DATA_DIR "/datum_table.md");
    std::vector<std::vector<std::string>> rows;
    std::string line, cell;
    while (std::getline(in, line)) {
        if (line.size() < 3 || line[0] != '|' || line[2] < '0' || line[2] > '9') continue;
        std::vector<std::string> cells;
        std::stringstream ss(line.substr(1));
        while (std::getline(ss, cell, '|')) {
            const size_t b = cell.find_first_not_of(' '), e = cell.find_last_not_of(' ');
            if (b != std::string::npos) cells.push_back(cell.substr(b, e - b + 1));
        }
        rows.push_back(cells);
    }
    return rows;
}

} // namespace

TEST(DatumTable, EveryRowMatchesThePublishedTable) {
    static const char* kMethods[] = {"DM_NOXFORM", "DM_NADCON", "DM_BURSA", "DM_MOLODENSKY",
                                     "DM_HARN",    "DM_MRE",    "DM_NTV2"};
    const auto text = TextRows();
    ASSERT_EQ(text.size(), 253u);
    // The published groups, concatenated, are the storage order.
    for (size_t i = 0; i < text.size(); ++i) {
        const DatumRow& row = kDatumRows[i];
        const std::vector<std::string>& t = text[i];
        SCOPED_TRACE("row " + std::to_string(i) + ": " + t[0]);
        EXPECT_EQ(row.id, std::atoi(t[0].c_str()));
        EXPECT_EQ(row.name, t[1]);
        EXPECT_EQ(row.posc, t[2] == "-" ? 0 : std::atoi(t[2].c_str()));
        const double v[8] = {row.dx, row.dy, row.dz, row.rx, row.ry, row.rz, row.k, row.pmShift};
        double want[8] = {0, 0, 0, 0, 0, 0, 0, row.id == 147 ? 2.33722916666667 : 0};
        std::string method = "DM_MOLODENSKY";
        if (t.size() == 4) {
            method = t[3].substr(1, t[3].size() - 2); // strip the backquotes
        } else {
            ASSERT_TRUE(t.size() == 7 || t.size() == 12);
            if (t.size() == 12) method = "DM_BURSA";
            EXPECT_EQ(int(row.ellipsoid), std::atoi(t[3].c_str()));
            for (size_t k = 4; k < t.size(); ++k)
                want[k - 4] = std::strtod(t[k].c_str(), nullptr);
        }
        EXPECT_EQ(row.method < DM_COUNT ? kMethods[row.method] : "?", method);
        for (int k = 0; k < 8; ++k)
            EXPECT_EQ(v[k], want[k]) << "column " << k;
    }
    EXPECT_EQ(kDatumRows[253].id, 254);
    EXPECT_STREQ(kDatumRows[253].name, "null");
    EXPECT_EQ(int(kDatumRows[253].method), 7);
}

TEST(DatumTable, UniqueNamesAndPoscCodes) {
    std::set<std::string> names;
    std::map<int, int> posc;
    for (int i = 0; i < 253; ++i) {
        EXPECT_TRUE(names.insert(kDatumRows[i].name).second) << kDatumRows[i].name;
        if (kDatumRows[i].posc) ++posc[kDatumRows[i].posc];
    }
    int withPosc = 0;
    for (const auto& p : posc) {
        EXPECT_EQ(p.second, p.first == 6267 ? 4 : 1) << p.first; // NAD 27 in four forms
        withPosc += p.second;
    }
    EXPECT_EQ(withPosc, 56);
}

TEST(DatumTable, NamesAndLookups) {
    const struct {
        int id;
        const char* name;
    } names[] = {{0, "User Defined"},
                 {80, "Gandajika  1970"},
                 {253, "NAD 1927 - Canada (NTV2)"},
                 {254, ""},
                 {999, ""},
                 {-1, ""}};
    for (const auto& c : names) {
        char out[256];
        std::memset(out, 'x', sizeof out);
        DatGetDatumName(static_cast<DatumType>(c.id), out);
        EXPECT_STREQ(out, c.name) << c.id;
    }
    EXPECT_EQ(DatNumDatums(), 254);
    // Whole names, case ignored, spacing not.
    const struct {
        const char* name;
        int id; // -1: not found
    } lookups[] = {{"USER DEFINED", 0},    {"tokyo", 7}, {"s-42 hungary", 244},
                   {"Gandajika 1970", -1}, {"", -1},     {"North American Datum 19", -1}};
    for (const auto& c : lookups) {
        DatumType id = static_cast<DatumType>(-7);
        EXPECT_EQ(DatGetDatumFromName(&id, c.name), c.id >= 0) << c.name;
        if (c.id >= 0) {
            EXPECT_EQ(int(id), c.id) << c.name;
        }
    }
    DatumType id;
    EXPECT_FALSE(DatGetDatumFromName(nullptr, "Tokyo"));
    EXPECT_FALSE(DatGetDatumFromName(&id, nullptr));
    // POSC codes: the first of NAD 27's forms wins; EPSG 4326 is a CRS, not a datum.
    EXPECT_TRUE(DatGetDatumFromPOSCNumber(&id, 6267));
    EXPECT_EQ(id, 2);
    EXPECT_FALSE(DatGetDatumFromPOSCNumber(&id, 4326));
    EXPECT_FALSE(DatGetDatumFromPOSCNumber(&id, 0));
    EXPECT_FALSE(DatGetDatumFromPOSCNumber(nullptr, 6267));
    int code = 0;
    EXPECT_TRUE(DatGetDatumPOSCNumber(static_cast<DatumType>(229), &code));
    EXPECT_EQ(code, 6267);
    EXPECT_TRUE(DatGetDatumPOSCNumber(static_cast<DatumType>(233), nullptr));
    for (int none : {9, 0, 254})
        EXPECT_FALSE(DatGetDatumPOSCNumber(static_cast<DatumType>(none), &code)) << none;
}

TEST(DatumTable, ReversibleMethodAndParams) {
    for (int id = -2; id <= 256; ++id)
        EXPECT_EQ(DatReversible(static_cast<DatumType>(id)),
                  (id >= 1 && id <= 223) || (id >= 234 && id <= 252))
            << id;
    DatumMethod m = DM_COUNT;
    const struct {
        int id;
        DatumMethod m;
    } methods[] = {
        {3, DM_MOLODENSKY}, {215, DM_BURSA}, {229, DM_MRE}, {232, DM_NADCON}, {253, DM_NTV2}};
    for (const auto& c : methods) {
        EXPECT_TRUE(DatGetDatumMethod(static_cast<DatumType>(c.id), &m));
        EXPECT_EQ(m, c.m) << c.id;
    }
    for (int id : {0, -1, 254})
        EXPECT_FALSE(DatGetDatumMethod(static_cast<DatumType>(id), &m)) << id;
    EXPECT_FALSE(DatGetDatumMethod(static_cast<DatumType>(5), nullptr));
    // Parameters resolve the ellipsoid (NTF: International 1924) and keep the spare area.
    DATUM2WGS84 s;
    std::memset(&s, 0x33, sizeof s);
    ASSERT_TRUE(DatGetDatumParams(DATUM_NTF_PARIS, &s));
    EXPECT_EQ(+s.Method, DM_MOLODENSKY);
    EXPECT_FALSE(+s.bInverse);
    EXPECT_EQ(+s.PMShift, 2.33722916666667);
    EXPECT_EQ(+s.dz, -113);
    EXPECT_EQ(+s.MajorRadius, 6378388.0);
    EXPECT_EQ(+s.Flattening, 1.0 / 297.0);
    EXPECT_EQ(+s.Spare[0], 0x33);
    ASSERT_TRUE(DatGetDatumParams(static_cast<DatumType>(221), &s));
    EXPECT_EQ(+s.MajorRadius, 6377397.155); // Bessel 1841
    for (int id : {0, 224, 232, 233, 254, -1})
        EXPECT_FALSE(DatGetDatumParams(static_cast<DatumType>(id), &s)) << id;
    EXPECT_FALSE(DatGetDatumParams(DATUM_WGS84, nullptr));
}
