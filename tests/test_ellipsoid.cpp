// The ellipsoid table against two independent registries, and its queries.
#include "kvproj/ellipsoid.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <set>
#include <string>

using namespace KVProj;

namespace {

EllipsoidType E(int value) {
    return static_cast<EllipsoidType>(value);
}

std::string Lower(std::string s) {
    for (char& c : s)
        if (c >= 'A' && c <= 'Z') c = static_cast<char>(c + 32);
    return s;
}

// Figures from the EPSG dataset v10.076 where `code` is set, else from PROJ 9.1.1
// (`cs2cs -le`, rf = a/(a-b)); `projName` is PROJ's description, which is the row's
// name. tol 0: the stored flattening is exactly 1/rf; a == 0: name check only
// (PROJ defines that radius differently).
struct Row {
    int row, code;
    const char* projName;
    double a, rf, tol;
};
const Row kRows[] = {
    {1, 0, "MERIT 1983", 6378137, 298.257, 0},
    {3, 7019, nullptr, 6378137, 298.257222101, 0},
    {5, 7001, "Airy 1830", 6377563.396, 299.3249646, 0},
    {8, 7002, "Modified Airy", 6377340.189, 299.3249646, 0},
    {10, 7003, "Australian Natl & S. Amer. 1969", 6378160, 298.25, 0},
    {11, 0, "GRS 67(IUGG 1967)", 6378160, 298.247167427, 0},
    {12, 7004, "Bessel 1841", 6377397.155, 299.1528128, 0},
    {13, 7006, "Bessel 1841 (Namibia)", 6377483.865, 299.1528128, 0},
    {15, 7008, "Clarke 1866", 6378206.4, 294.978698213898, 1e-7},
    {16, 0, "Clarke 1880 mod.", 6378249.145, 293.4663, 0},
    {20, 7015, "Everest 1830", 6377276.345, 300.8017, 0},
    {22, 0, "Everest 1956", 0, 0, 0},
    {27, 0, "Fischer (Mercury Datum) 1960", 6378166, 298.3, 0},
    {30, 7020, "Helmert 1906", 6378200, 298.3, 0},
    {31, 0, "Hough", 6378270, 297, 0},
    {32, 7021, nullptr, 6378160, 298.247, 0},
    {34, 7022, nullptr, 6378388, 297, 0},
    {35, 7024, "Krassovsky, 1942", 6378245, 298.3, 0},
    {38, 0, "Maupertius 1738", 6397300, 191, 0},
    {39, 0, "New International 1967", 6378157.5, 298.2496153900135, 1e-3},
    {40, 7027, "Plessis 1817 (France)", 6376523, 308.64, 0},
    {41, 0, "Southeast Asia", 6378155, 298.3000002408657, 1e-5},
    {43, 0, "Walbeck", 6376896, 302.78000018165636, 1e-5},
    {46, 0, "WGS 72", 6378135, 298.26, 0},
    {47, 7030, "WGS 84", 6378137, 298.257223563, 0},
    {48, 0, "Standard Sphere of 6370997 Meters", 6370997, 0, 0},
};

TEST(EllipsoidTable, AgreesWithEpsgAndProj) {
    for (const Row& r : kRows) {
        SCOPED_TRACE(r.row);
        EllipsoidType e = E(-1);
        if (r.code) {
            EXPECT_TRUE(EllipsoidFromPOSCNumber(r.code, &e));
            EXPECT_EQ(r.row, e);
            int code = 0;
            EXPECT_TRUE(EllipsoidToPOSCNumber(E(r.row), &code));
            EXPECT_EQ(r.code, code);
        }
        if (r.projName) { // matched in another letter case on purpose
            std::string lower = Lower(r.projName);
            e = E(-1);
            EXPECT_TRUE(EllipsoidFromName(&e, &lower[0]));
            EXPECT_EQ(r.row, e);
        }
        if (r.a == 0) continue;
        EXPECT_EQ(r.a, EllipsoidRadius(E(r.row)));
        const double f = EllipsoidFlattening(E(r.row));
        const double expected = r.rf == 0 ? 0.0 : 1.0 / r.rf;
        EXPECT_NEAR(r.rf == 0 || r.tol == 0 ? expected : r.rf,
                    r.rf == 0 || r.tol == 0 ? f : 1.0 / f, r.tol);
    }
    // Figures stored as doubles match their inverse flattening (EPSG 7005 by
    // NGO 1948's rf, 7011 for the IGN figure; Clarke 1880 Benoit as published).
    EXPECT_NEAR(299.152815351, 1.0 / EllipsoidFlattening(E(14)), 1e-9);
    EXPECT_NEAR(293.466234571, 1.0 / EllipsoidFlattening(E(51)), 1e-9);
    EXPECT_NEAR(293.466021293627, 1.0 / EllipsoidFlattening(E(52)), 1e-6);
}

// Rows whose POSC code names an EPSG ellipsoid with other figures: files written by
// earlier releases depend on the historical figures, so they stay.
TEST(EllipsoidTable, KeepsHistoricalFiguresWhereEpsgDiffers) {
    struct Departure {
        int row, code;
        double storedRadius, storedFlattening, epsgA;
    } rows[] = {
        {14, 7005, 6377397.155, 0.003342773153666242, 6377492.018},   // Bessel Modified
        {16, 7010, 6378249.145, 1.0 / 293.4663, 6378300.789},         // Clarke 1880 (Benoit)
        {42, 7009, 6378450.047, 1.0 / 294.9786982, 6378450.04754889}, // Michigan, in US ft
        {48, 7035, 6370997, 0.0, 6371000},                            // Sphere
    };
    for (const Departure& d : rows) {
        SCOPED_TRACE(d.code);
        EllipsoidType e = E(-1);
        EXPECT_TRUE(EllipsoidFromPOSCNumber(d.code, &e));
        EXPECT_EQ(d.row, e);
        int code = 0;
        EXPECT_TRUE(EllipsoidToPOSCNumber(E(d.row), &code));
        EXPECT_EQ(d.code, code);
        EXPECT_EQ(d.storedRadius, EllipsoidRadius(E(d.row)));
        EXPECT_EQ(d.storedFlattening, EllipsoidFlattening(E(d.row)));
        EXPECT_NE(d.epsgA, EllipsoidRadius(E(d.row)));
    }
}

TEST(EllipsoidTable, EveryRowIsPlausibleAndFindableByItsOwnName) {
    std::set<std::string> names;
    for (int row = 1; row < ELLIPSOID_COUNT; ++row) {
        char name[KVPROJ_NAME_LEN];
        std::memset(name, 'x', sizeof name);
        double radius = 0, flattening = -1;
        ASSERT_TRUE(EllipsoidInfo(E(row), name, &radius, &flattening)) << row;
        ASSERT_LT(std::strlen(name), sizeof name);
        EXPECT_TRUE(names.insert(Lower(name)).second) << "duplicate name " << name;
        EXPECT_TRUE(flattening == 0 || (flattening > 1 / 340.0 && flattening < 1 / 190.0)) << row;
        EXPECT_TRUE(row == ELLIPSOID_UNIT_SPHERE || (radius > 6370000.0 && radius < 6400000.0))
            << row;
        EllipsoidType e = E(-1);
        EXPECT_TRUE(EllipsoidFromName(&e, name));
        EXPECT_EQ(row, e) << name;
    }
}

TEST(EllipsoidQueries, UserDefinedAndOutOfRange) {
    for (int e : {0, 56, -1, 1000}) {
        EXPECT_EQ(1.0, EllipsoidRadius(E(e))) << e;
        EXPECT_EQ(0.0, EllipsoidFlattening(E(e))) << e;
    }
    char name[KVPROJ_NAME_LEN] = "untouched";
    double r = 7, f = 8;
    EXPECT_FALSE(EllipsoidInfo(E(0), name, &r, &f));
    EXPECT_STREQ("user-defined", name);
    EXPECT_EQ(7, r);
    EXPECT_EQ(8, f);
    EXPECT_FALSE(EllipsoidInfo(E(0), nullptr, nullptr, nullptr));
    std::strcpy(name, "untouched");
    EXPECT_FALSE(EllipsoidInfo(E(56), name, &r, &f));
    EXPECT_STREQ("untouched", name);
    EXPECT_TRUE(EllipsoidInfo(ELLIPSOID_WGS84, nullptr, nullptr, &f)); // any output may be left out
    EXPECT_EQ(1.0 / 298.257223563, f);
}

TEST(EllipsoidQueries, FromName) {
    struct Case {
        const char* text;
        bool found;
        int row;
    } cases[] = {
        {"WGS 84", true, 47},       {"uSER dEFINED", true, 0}, // the placeholder row takes part
        {"user-defined", false, 0}, {"WGS 84 ", false, 0},     {"WGS", false, 0}, {"", false, 0},
    };
    for (const Case& c : cases) {
        std::string text = c.text;
        EllipsoidType e = E(99);
        EXPECT_EQ(c.found, EllipsoidFromName(&e, &text[0])) << c.text;
        EXPECT_EQ(c.row, e) << c.text;
    }
    EllipsoidType e = E(99);
    EXPECT_FALSE(EllipsoidFromName(&e, nullptr));
    EXPECT_EQ(99, e);
    char wgs[] = "WGS 84";
    EXPECT_FALSE(EllipsoidFromName(nullptr, wgs));
}

TEST(EllipsoidQueries, PoscCodes) {
    // Codes EPSG split off from rows we carry (7011-7014, 7034 Clarke 1880 variants,
    // 7016-7018 Everest 1830 variants) come back as a suggestion with a false result.
    struct Case {
        int code;
        bool exact;
        int suggestion; // -1: *e untouched
    } cases[] = {
        {7010, true, 16},  {7011, false, 16},  {7014, false, 16}, {7034, false, 16},
        {7016, false, 20}, {7018, false, 20},  {7999, false, -1}, {7033, false, -1},
        {0, false, -1},    {-7030, false, -1},
    };
    for (const Case& c : cases) {
        EllipsoidType e = E(-5);
        EXPECT_EQ(c.exact, EllipsoidFromPOSCNumber(c.code, &e)) << c.code;
        EXPECT_EQ(c.suggestion == -1 ? -5 : c.suggestion, e) << c.code;
        EXPECT_EQ(c.exact, EllipsoidFromPOSCNumber(c.code, nullptr)) << c.code;
    }
    int code = -3;
    for (int row : {1, 0, 56, -1}) // MERIT 1983 has no code
        EXPECT_FALSE(EllipsoidToPOSCNumber(E(row), &code)) << row;
    EXPECT_EQ(-3, code);
    EXPECT_TRUE(EllipsoidToPOSCNumber(E(47), nullptr));
    EXPECT_TRUE(EllipsoidToPOSCNumber(E(39), &code)); // 7023: no longer in EPSG v10.076
    EXPECT_EQ(7023, code);

    // Every coded row maps back to itself, and exactly 19 rows are coded.
    int coded = 0;
    for (int row = 0; row < ELLIPSOID_COUNT; ++row) {
        if (!EllipsoidToPOSCNumber(E(row), &code)) continue;
        ++coded;
        EllipsoidType e = E(-1);
        EXPECT_TRUE(EllipsoidFromPOSCNumber(code, &e));
        EXPECT_EQ(row, e);
    }
    EXPECT_EQ(19, coded);
}

} // namespace
