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

// EPSG Geodetic Parameter Dataset v10.076 (2022-08-31), ellipsoid table:
// semi-major axis and inverse flattening (a/(a-b) where EPSG gives b).
// A tolerance of 0 means the stored flattening must be exactly 1.0 / rf.
struct EpsgRow {
    int row;
    int code;
    const char* epsgName;
    double a;
    double rf;
    double rfTolerance;
};
const EpsgRow kEpsgRows[] = {
    {3, 7019, "GRS 1980", 6378137, 298.257222101, 0},
    {5, 7001, "Airy 1830", 6377563.396, 299.3249646, 0},
    {8, 7002, "Airy Modified 1849", 6377340.189, 299.3249646, 0},
    {10, 7003, "Australian National Spheroid", 6378160, 298.25, 0},
    {12, 7004, "Bessel 1841", 6377397.155, 299.1528128, 0},
    {13, 7006, "Bessel Namibia", 6377483.865, 299.1528128, 0},
    {15, 7008, "Clarke 1866", 6378206.4, 294.978698213898, 1e-7},
    {20, 7015, "Everest 1830 (1937 Adjustment)", 6377276.345, 300.8017, 0},
    {30, 7020, "Helmert 1906", 6378200, 298.3, 0},
    {32, 7021, "Indonesian National Spheroid", 6378160, 298.247, 0},
    {34, 7022, "International 1924", 6378388, 297, 0},
    {35, 7024, "Krassowsky 1940", 6378245, 298.3, 0},
    {40, 7027, "Plessis 1817", 6376523, 308.64, 0},
    {47, 7030, "WGS 84", 6378137, 298.257223563, 0},
};

// Rows whose POSC code names an EPSG ellipsoid with other figures. Files
// written by earlier releases depend on these figures, so they stay; the
// stored values here are the historical ones. EPSG v10.076 for comparison.
struct Departure {
    int row;
    int code;
    double storedRadius;
    double storedFlattening;
    double epsgA;
    double epsgRf;
};
const Departure kDepartures[] = {
    // EPSG 7005 "Bessel Modified" is the NGO 1948 figure (row 55 carries it).
    {14, 7005, 6377397.155, 0.003342773153666242, 6377492.018, 299.1528128},
    // EPSG 7010 is "Clarke 1880 (Benoit)"; the row is Clarke 1880 (modified).
    {16, 7010, 6378249.145, 1.0 / 293.4663, 6378300.789, 293.466315538981},
    // EPSG 7009 "Clarke 1866 Michigan" is defined in US survey feet: 0.5 mm apart.
    {42, 7009, 6378450.047, 1.0 / 294.9786982, 6378450.04754889, 294.978697164674},
    // EPSG 7035 "Sphere" is 6371000 m; the row keeps the 6370997 m sphere.
    {48, 7035, 6370997, 0.0, 6371000, 0},
};

// PROJ 9.1.1 built-in ellipsoids (`cs2cs -le`), whose description is the
// same text as the row's name. rf = a/(a-b) where PROJ gives b; the
// tolerance covers the rounding of b. A negative tolerance: PROJ carries a
// different definition of the radius (name check only).
struct ProjRow {
    int row;
    const char* projId;
    const char* name;
    double a;
    double rf;
    double rfTolerance;
};
const ProjRow kProjRows[] = {
    {1, "MERIT", "MERIT 1983", 6378137, 298.257, 0},
    {2, "SGS85", "Soviet Geodetic System 85", 6378136, 298.257, 0},
    {4, "IAU76", "IAU 1976", 6378140, 298.257, 0},
    {5, "airy", "Airy 1830", 6377563.396, 299.3249646, 0},
    {6, "APL4.9", "Appl. Physics. 1965", 6378137, 298.25, 0},
    {7, "NWL9D", "Naval Weapons Lab., 1965", 6378145, 298.25, 0},
    {8, "mod_airy", "Modified Airy", 6377340.189, 299.3249373654824, 5e-5},
    {9, "andrae", "Andrae 1876 (Den., Iclnd.)", 6377104.43, 300, 0},
    {10, "aust_SA", "Australian Natl & S. Amer. 1969", 6378160, 298.25, 0},
    {11, "GRS67", "GRS 67(IUGG 1967)", 6378160, 298.247167427, 0},
    {12, "bessel", "Bessel 1841", 6377397.155, 299.1528128, 0},
    {13, "bess_nam", "Bessel 1841 (Namibia)", 6377483.865, 299.1528128, 0},
    {15, "clrk66", "Clarke 1866", 6378206.4, 294.9786982138982, 1e-7},
    {16, "clrk80", "Clarke 1880 mod.", 6378249.145, 293.4663, 0},
    {17, "CPM", "Comm. des Poids et Mesures 1799", 6375738.7, 334.29, 0},
    {18, "delmbr", "Delambre 1810 (Belgium)", 6376428, 311.5, 0},
    {19, "engelis", "Engelis 1985", 6378136.05, 298.2566, 0},
    {20, "evrst30", "Everest 1830", 6377276.345, 300.8017, 0},
    {21, "evrst48", "Everest 1948", 6377304.063, 300.8017, 0},
    {22, "evrst56", "Everest 1956", 6377301.243, 300.8017, -1},
    {23, "evrst69", "Everest 1969", 6377295.664, 300.8017, -1},
    {25, "evrstSS", "Everest (Sabah & Sarawak)", 6377298.556, 300.8017, -1},
    {27, "fschr60", "Fischer (Mercury Datum) 1960", 6378166, 298.3, 0},
    {28, "fschr60m", "Modified Fischer 1960", 6378155, 298.3, 0},
    {29, "fschr68", "Fischer 1968", 6378150, 298.3, 0},
    {30, "helmert", "Helmert 1906", 6378200, 298.3, 0},
    {31, "hough", "Hough", 6378270, 297, 0},
    {35, "krass", "Krassovsky, 1942", 6378245, 298.3, 0},
    {36, "kaula", "Kaula 1961", 6378163, 298.24, 0},
    {37, "lerch", "Lerch 1979", 6378139, 298.257, 0},
    {38, "mprts", "Maupertius 1738", 6397300, 191, 0},
    {39, "new_intl", "New International 1967", 6378157.5, 298.2496153900135, 1e-3},
    {40, "plessis", "Plessis 1817 (France)", 6376523, 308.64099709583735, 1e-2},
    {41, "SEasia", "Southeast Asia", 6378155, 298.3000002408657, 1e-5},
    {43, "walbeck", "Walbeck", 6376896, 302.78000018165636, 1e-5},
    {44, "WGS60", "WGS 60", 6378165, 298.3, 0},
    {45, "WGS66", "WGS 66", 6378145, 298.25, 0},
    {46, "WGS72", "WGS 72", 6378135, 298.26, 0},
    {47, "WGS84", "WGS 84", 6378137, 298.257223563, 0},
    {48, "sphere", "Standard Sphere of 6370997 Meters", 6370997, 0, 0},
};

void ExpectFlattening(int row, double rf, double tolerance, const char* source) {
    const double f = EllipsoidFlattening(E(row));
    if (rf == 0) {
        EXPECT_EQ(0.0, f) << source << " row " << row;
    } else if (tolerance == 0) {
        EXPECT_EQ(1.0 / rf, f) << source << " row " << row;
    } else {
        ASSERT_GT(f, 0.0) << source << " row " << row;
        EXPECT_NEAR(rf, 1.0 / f, tolerance) << source << " row " << row;
    }
}

} // namespace

TEST(EllipsoidTable, AgreesWithEpsg) {
    for (const EpsgRow& r : kEpsgRows) {
        SCOPED_TRACE(r.epsgName);
        EllipsoidType e = E(-1);
        EXPECT_TRUE(EllipsoidFromPOSCNumber(r.code, &e));
        EXPECT_EQ(r.row, e);
        int code = 0;
        EXPECT_TRUE(EllipsoidToPOSCNumber(E(r.row), &code));
        EXPECT_EQ(r.code, code);
        EXPECT_EQ(r.a, EllipsoidRadius(E(r.row)));
        ExpectFlattening(r.row, r.rf, r.rfTolerance, "EPSG");
    }
}

TEST(EllipsoidTable, KeepsHistoricalFiguresWhereEpsgDiffers) {
    for (const Departure& d : kDepartures) {
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
    // The remaining coded row: EPSG v10.076 no longer has 7023.
    int code = 0;
    EXPECT_TRUE(EllipsoidToPOSCNumber(E(39), &code));
    EXPECT_EQ(7023, code);
}

TEST(EllipsoidTable, AgreesWithProjNamesAndFigures) {
    for (const ProjRow& r : kProjRows) {
        SCOPED_TRACE(r.projId);
        // The descriptions are matched in another letter case on purpose.
        std::string lower = Lower(r.name);
        EllipsoidType e = E(-1);
        EXPECT_TRUE(EllipsoidFromName(&e, &lower[0]));
        EXPECT_EQ(r.row, e);
        if (r.rfTolerance < 0) continue;
        EXPECT_EQ(r.a, EllipsoidRadius(E(r.row)));
        ExpectFlattening(r.row, r.rf, r.rfTolerance, "PROJ");
    }
}

// Figures that no registry above carries, checked against their definitions.
TEST(EllipsoidTable, StoredFiguresOfUnregisteredRows) {
    struct Row {
        int row;
        const char* name;
        double radius;
        double flattening; // exact stored double
    };
    const Row rows[] = {
        {24, "Everest - Brunei", 6377298.556, 1.0 / 300.8017},
        {26, "Everest Pakistan", 6377309.613, 1.0 / 300.8017},
        {33, "International 1909 (Hayford)", 6378388, 1.0 / 297},
        {49, "Standard Sphere of One Unit", 1, 0},
        {50, "DNAG Sphere (6371204 meters)", 6371204, 0},
        {51, "Clarke 1880 Benoit", 6378300.79, 0.0034075470435755875},
        {52, "Clarke 1880 IGN", 6378249.2, 0.003407549520015647},
        {53, "Clarke 1880 RGS", 6378249.145, 1.0 / 293.465},
        {54, "Clarke 1800 SGA 1922", 6378249.2, 1.0 / 293.46598},
        {55, "Bessel NGO 1948", 6377492.0176, 1.0 / 299.15281285},
        {42, "State Plane 1927, Michigan", 6378450.047, 1.0 / 294.9786982},
    };
    for (const Row& r : rows) {
        char name[KVPROJ_NAME_LEN] = "";
        double radius = 0, flattening = -1;
        EXPECT_TRUE(EllipsoidInfo(E(r.row), name, &radius, &flattening)) << r.row;
        EXPECT_STREQ(r.name, name);
        EXPECT_EQ(r.radius, radius) << r.name;
        EXPECT_EQ(r.flattening, flattening) << r.name;
    }
    // The three figures stored as doubles still match their inverse
    // flattening to the digits given (EPSG 7011 for the IGN figure).
    EXPECT_NEAR(299.152815351, 1.0 / EllipsoidFlattening(E(14)), 1e-9);
    EXPECT_NEAR(293.466234571, 1.0 / EllipsoidFlattening(E(51)), 1e-9);
    EXPECT_NEAR(293.466021293627, 1.0 / EllipsoidFlattening(E(52)), 1e-6);
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
        if (row != ELLIPSOID_UNIT_SPHERE) {
            EXPECT_GT(radius, 6370000.0) << row;
            EXPECT_LT(radius, 6400000.0) << row;
        }
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

    for (int e : {56, -1}) {
        std::strcpy(name, "untouched");
        EXPECT_FALSE(EllipsoidInfo(E(e), name, &r, &f));
        EXPECT_STREQ("untouched", name);
        EXPECT_EQ(7, r);
    }
    // Any output may be left out.
    EXPECT_TRUE(EllipsoidInfo(ELLIPSOID_WGS84, nullptr, nullptr, &f));
    EXPECT_EQ(1.0 / 298.257223563, f);
}

TEST(EllipsoidQueries, FromName) {
    struct Case {
        const char* text;
        bool found;
        int row;
    };
    const Case cases[] = {
        {"wgs 84", true, 47},
        {"WGS 84", true, 47},
        {"uSER dEFINED", true, 0},  // the placeholder row takes part
        {"user-defined", false, 0}, // what EllipsoidInfo says is not the table's name
        {"WGS 84 ", false, 0},
        {"WGS", false, 0},
        {"", false, 0},
        {"Clarke 1880 mod", false, 0},
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
    // Codes EPSG split off from rows we carry come back as a suggestion
    // with a false result; their names are from EPSG v10.076.
    struct Case {
        int code;
        bool exact;
        int suggestion; // -1: *e untouched
    };
    const Case cases[] = {
        {7030, true, 47},   {7010, true, 16},  {7015, true, 20},
        {7011, false, 16},                     // Clarke 1880 (IGN)
        {7012, false, 16},                     // Clarke 1880 (RGS)
        {7013, false, 16},                     // Clarke 1880 (Arc)
        {7014, false, 16},                     // Clarke 1880 (SGA 1922)
        {7034, false, 16},                     // Clarke 1880
        {7016, false, 20},                     // Everest 1830 (1967 Definition)
        {7017, false, 20},  {7018, false, 20}, // Everest 1830 Modified
        {7009, true, 42},   {7999, false, -1}, {7033, false, -1},
        {7035, true, 48},   {7019, true, 3},   {0, false, -1},
        {-7030, false, -1},
    };
    for (const Case& c : cases) {
        EllipsoidType e = E(-5);
        EXPECT_EQ(c.exact, EllipsoidFromPOSCNumber(c.code, &e)) << c.code;
        EXPECT_EQ(c.suggestion == -1 ? -5 : c.suggestion, e) << c.code;
        EXPECT_EQ(c.exact, EllipsoidFromPOSCNumber(c.code, nullptr)) << c.code;
    }

    int code = -3;
    EXPECT_FALSE(EllipsoidToPOSCNumber(E(1), &code)); // MERIT 1983 has no code
    EXPECT_FALSE(EllipsoidToPOSCNumber(E(0), &code));
    EXPECT_FALSE(EllipsoidToPOSCNumber(E(56), &code));
    EXPECT_FALSE(EllipsoidToPOSCNumber(E(-1), &code));
    EXPECT_EQ(-3, code);
    EXPECT_TRUE(EllipsoidToPOSCNumber(E(47), nullptr));

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
