// The custom datum store over the "Custom Datums" section of a profile.
#include "LocaleSupport.h"
#include "TestSupport.h"
#include "datum/CustomDatum.h"
#include "kvproj/datum.h"

#include <gtest/gtest.h>

#include <cstring>

using namespace KVProj;

namespace {

struct Profile {
    std::string path;
    explicit Profile(const char* tag) : path(kvtest::TempPath(std::string("ndat_") + tag)) {
        std::remove(path.c_str());
    }
    ~Profile() { std::remove(path.c_str()); }
    const char* c() const { return path.c_str(); }
    void Write(const std::string& text) const { std::ofstream(path, std::ios::binary) << text; }
    std::string Read() const { return kvtest::ReadFile(path); }
};

DATUM2WGS84 Molodensky(double a, double f, double dx, double dy, double dz) {
    DATUM2WGS84 s;
    std::memset(&s, 0, sizeof s);
    s.Method = DM_MOLODENSKY;
    s.Ellipsoid = ELLIPSOID_USER_DEFINED;
    s.MajorRadius = a, s.Flattening = f, s.dx = dx, s.dy = dy, s.dz = dz;
    return s;
}

std::string Name(const char* file, int index) {
    char name[256] = "?";
    return NDatEnumDatumName(file, name, index) ? name : "(none)";
}

} // namespace

TEST(CustomDatumText, Escaping) {
    const struct {
        const char* name;
        const char* escaped;
    } cases[] = {
        {"My,Datum", "My%044Datum"},
        {"a=b%c\\d", "a%061b%037c%092d"},
        {"{|}~\t", "%123%124%125%126%009"},
        {"Zz [x]_`", "Zz [x]_`"}, // upper case counts by its lower-case form
        {"", ""},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(EscapeDatumName(c.name), c.escaped) << c.name;
        EXPECT_EQ(UnescapeDatumName(c.escaped, std::strlen(c.escaped)), c.name) << c.name;
    }
    // Bytes from 128 up are written as signed codes, which read back three
    // digits at a time: not the character.
    EXPECT_EQ(EscapeDatumName("caf\xc3\xa9"), "caf%4294967235%4294967209");
    EXPECT_EQ(UnescapeDatumName("%4294967273", 11), std::string(1, char(429 & 0xFF)) + "4967273");
    // Short or broken escapes stay as they are; nothing is read past the end.
    EXPECT_EQ(UnescapeDatumName("ab%4", 4), "ab%4");
    EXPECT_EQ(UnescapeDatumName("%x12", 4), "%x12");
    EXPECT_EQ(UnescapeDatumName("%0449", 3), "%04");
}

TEST(CustomDatumText, ValueFormat) {
    std::string text;
    DATUM2WGS84 s = Molodensky(0, 0, -168, -60, 320);
    s.Method = DM_BURSA;
    s.bInverse = true;
    s.Ellipsoid = static_cast<EllipsoidType>(35); // "Krassovsky, 1942": the comma is escaped
    s.PMShift = 2.33722916666667;
    s.rz = 0.554;
    s.k = -4.6121;
    ASSERT_TRUE(DatumParamsToText(s, &text));
    EXPECT_EQ(text, "bursa,1,Krassovsky%044 1942,6378245.0000000000,0.0033523299,2.337229,"
                    "-168.0000000000,-60.0000000000,320.0000000000,0.0000000000,0.0000000000,"
                    "0.5540000000,-4.6121000000,");
    const struct {
        int method;
        const char* text; // null: refused
    } short_[] = {{DM_NOXFORM, "none,"}, {DM_NADCON, "nadcon,1,Krassovsky%044 1942,"},
                  {DM_HARN, nullptr},    {DM_NTV2, nullptr},
                  {7, nullptr},          {-1, nullptr}};
    for (const auto& c : short_) {
        s.Method = static_cast<DatumMethod>(c.method);
        EXPECT_EQ(DatumParamsToText(s, &text), c.text != nullptr) << c.method;
        if (c.text) {
            EXPECT_EQ(text, c.text);
        }
    }
    // Shifts too large for the 255-character value are cut, not overrun.
    s = Molodensky(6378137, 0.003, 1.7e38, 1.7e38, 1.7e38);
    s.Method = DM_BURSA;
    s.rx = s.ry = s.rz = 1e30;
    ASSERT_TRUE(DatumParamsToText(s, &text));
    EXPECT_EQ(text.size(), 255u);
}

TEST(CustomDatumText, Parsing) {
    // clang-format off
    const struct {
        const char* text;
        bool ok;
        int method, ellipsoid;
        double a, dz, rz;
    } cases[] = {
        {"NONE", true, DM_NOXFORM, 0, 0, 0, 0},
        {"molodensky,0,user-defined,6378137,0.0033528107,0,1,2,3,", true, DM_MOLODENSKY, 0, 6378137, 3, 0},
        {" Bursa ,1,x", false, 0, 0, 0, 0, 0}, // the keyword is not trimmed at its end
        {"\tbursa,\t1,  WGS 84,1,0.5,0,0,0,9,0,0,7,1,", true, DM_BURSA, 47, 6378137, 9, 7},
        {"bursa,1,Krassovsky%044 1942,", true, DM_BURSA, 35, 6378245, 0, 0},
        {"molodensky,0,USER-DEFINED", true, DM_MOLODENSKY, 0, 0, 0, 0}, // missing fields read as 0
        {"nadcon,0,user-defined,", false, 0, 0, 0, 0, 0},
        {"molodensky,2,user-defined,", false, 0, 0, 0, 0, 0},
        {"molodensky,0,Nowhere Ellipsoid,", false, 0, 0, 0, 0, 0},
        {",,,,", false, 0, 0, 0, 0, 0},
    };
    // clang-format on
    DATUM2WGS84 s;
    for (const auto& c : cases) {
        std::memset(&s, 0x77, sizeof s);
        ASSERT_EQ(TextToDatumParams(c.text, &s), c.ok) << c.text;
        if (!c.ok) continue;
        EXPECT_EQ(int(s.Method), c.method) << c.text;
        EXPECT_EQ(int(s.Ellipsoid), c.ellipsoid) << c.text;
        EXPECT_EQ(+s.MajorRadius, c.a) << c.text;
        EXPECT_EQ(+s.dz, c.dz) << c.text;
        EXPECT_EQ(+s.rz, c.rz) << c.text;
    }
    EXPECT_FALSE(TextToDatumParams(nullptr, &s));
    EXPECT_FALSE(TextToDatumParams("none,", nullptr));
}

TEST(CustomDatum, SaveEnumerateReadBackAndDelete) {
    Profile p("save");
    EXPECT_EQ(NDatNumDatums(p.c()), 254); // no file yet
    DATUM2WGS84 s = Molodensky(6378137, 0.0033528107, 1, 2, 3);
    ASSERT_TRUE(NDatSave(p.c(), "My,Datum", &s));
    EXPECT_TRUE(kvtest::Contains(p.Read(),
                                 "My%044Datum=molodensky,0,user-defined,6378137.0000000000,"
                                 "0.0033528107,0.000000,1.0000000000,2.0000000000,"
                                 "3.0000000000,"));
    ASSERT_TRUE(NDatSave(p.c(), "Second", &s));
    s.dx = 9;
    ASSERT_TRUE(NDatSave(p.c(), "MY,DATUM", &s)); // saved again: moves to the end
    EXPECT_EQ(NDatNumDatums(p.c()), 256);
    EXPECT_EQ(Name(p.c(), 7), "Tokyo");
    EXPECT_EQ(Name(p.c(), 254), "Second");
    EXPECT_EQ(Name(p.c(), 255), "MY,DATUM");
    for (int bad : {256, -1})
        EXPECT_EQ(Name(p.c(), bad), "(none)");
    char name[8];
    EXPECT_FALSE(NDatEnumDatumName(p.c(), nullptr, 1));
    EXPECT_FALSE(NDatEnumDatumName(nullptr, name, 254));
    DATUM2WGS84 back;
    ASSERT_TRUE(NDatGetDatumParams(p.c(), "my,datum", &back)); // keys ignore case
    EXPECT_EQ(+back.Ellipsoid, ELLIPSOID_USER_DEFINED);
    EXPECT_NEAR(+back.Flattening, 0.0033528107, 1e-11);
    EXPECT_EQ(+back.dx, 9.0);
    EXPECT_EQ(+back.dz, 3.0);
    int index = -1;
    EXPECT_TRUE(NDatExists(p.c(), "Second", &index));
    EXPECT_EQ(index, 254);
    EXPECT_TRUE(NDatExists(p.c(), "Tokyo", &index));
    EXPECT_EQ(index, 7);
    EXPECT_FALSE(NDatExists(p.c(), "Nobody", &index));
    ASSERT_TRUE(NDatDelete(p.c(), "second"));
    EXPECT_FALSE(NDatDelete(p.c(), "second"));
    EXPECT_EQ(NDatNumDatums(p.c()), 255);
}

TEST(CustomDatum, BuiltInNamesAndBadArguments) {
    Profile p("builtin");
    DATUM2WGS84 s = Molodensky(6378137, 0.003, 1, 1, 1);
    EXPECT_FALSE(NDatSave(p.c(), "tokyo", &s));
    EXPECT_FALSE(NDatSave(p.c(), "User Defined", &s));
    EXPECT_FALSE(NDatDelete(p.c(), "Tokyo"));
    EXPECT_FALSE(NDatSave(nullptr, "Mine", &s));
    EXPECT_FALSE(NDatSave(p.c(), nullptr, &s));
    EXPECT_FALSE(NDatSave(p.c(), "Mine", nullptr));
    EXPECT_EQ(p.Read(), ""); // nothing written
    DatumType id = DATUM_NONE;
    EXPECT_TRUE(NDatIsBuiltIn(nullptr, "TOKYO - MEAN", &id));
    EXPECT_EQ(id, 204);
    EXPECT_FALSE(NDatIsBuiltIn(p.c(), "Mine", &id));
    DATUM2WGS84 back;
    ASSERT_TRUE(NDatGetDatumParams(nullptr, "NTF France - Paris Meridian", &back));
    EXPECT_EQ(+back.PMShift, 2.33722916666667);
    EXPECT_FALSE(NDatGetDatumParams(p.c(), "NAD 1927 - CONUS (NADCON)", &back));
}

TEST(CustomDatum, MethodsAndEscapedNames) {
    Profile p("methods");
    // Grid and regression entries are stored but cannot be read back; NTv2 is refused.
    DATUM2WGS84 s = Molodensky(0, 0, 0, 0, 0);
    s.Ellipsoid = ELLIPSOID_CLARKE_1866;
    s.Method = DM_NADCON;
    ASSERT_TRUE(NDatSave(p.c(), "Grid", &s));
    s.Method = DM_MRE;
    ASSERT_TRUE(NDatSave(p.c(), "Poly", &s));
    s.Method = DM_NTV2;
    EXPECT_FALSE(NDatSave(p.c(), "Ntv2", &s));
    DATUM2WGS84 back;
    EXPECT_FALSE(NDatGetDatumParams(p.c(), "Grid", &back));
    EXPECT_FALSE(NDatGetDatumParams(p.c(), "Poly", &back));
    EXPECT_TRUE(NDatExists(p.c(), "Grid", nullptr));
    // The reversible and method queries escape the name twice: an escaped
    // name is found by the other functions but not by these two.
    s = Molodensky(6378137, 0.003, 1, 1, 1);
    s.Method = DM_BURSA;
    ASSERT_TRUE(NDatSave(p.c(), "Plain", &s));
    ASSERT_TRUE(NDatSave(p.c(), "With,Comma", &s));
    DatumMethod m = DM_COUNT;
    EXPECT_TRUE(NDatReversible(p.c(), "Plain"));
    EXPECT_TRUE(NDatGetDatumMethod(p.c(), "Plain", &m));
    EXPECT_EQ(m, DM_BURSA);
    EXPECT_TRUE(NDatExists(p.c(), "With,Comma", nullptr));
    EXPECT_FALSE(NDatReversible(p.c(), "With,Comma"));
    EXPECT_FALSE(NDatGetDatumMethod(p.c(), "With,Comma", &m));
    // Built-in names are answered from the table.
    EXPECT_FALSE(NDatReversible(p.c(), "NAD 1927 - CONUS (MRE)"));
    EXPECT_TRUE(NDatGetDatumMethod(nullptr, "NAD 1927 - CONUS (MRE)", &m));
    EXPECT_EQ(m, DM_MRE);
}

TEST(CustomDatum, OtherSectionsSurviveAndOverfullSectionIsNotRewritten) {
    Profile p("others");
    const std::string before = "; settings\r\n[Window]\r\nx=10\r\n\r\n",
                      after = "[Recent]\r\nf=a\r\n";
    p.Write(before + "[Custom Datums]\r\nOld=none,\r\n\r\n" + after);
    DATUM2WGS84 s = Molodensky(6378137, 0.003, 1, 1, 1);
    ASSERT_TRUE(NDatSave(p.c(), "New", &s));
    const std::string now = p.Read();
    EXPECT_EQ(now.substr(0, before.size()), before);
    EXPECT_EQ(now.substr(now.size() - after.size()), after);
    DatumMethod m;
    EXPECT_TRUE(NDatGetDatumMethod(p.c(), "Old", &m));
    EXPECT_EQ(m, DM_NOXFORM);
    // Past the 32 KiB read buffer a rewrite would silently drop the entries
    // beyond the cut: refused.
    std::string text = "[Custom Datums]\n";
    for (int i = 0; i < 3000; ++i)
        text += "Datum" + std::to_string(i) + "=none,\n";
    p.Write(text);
    EXPECT_FALSE(NDatSave(p.c(), "One more", &s));
    EXPECT_FALSE(NDatDelete(p.c(), "Datum0"));
    EXPECT_TRUE(p.Read() == text);
    EXPECT_GT(NDatNumDatums(p.c()), 254 + 1000);
}

// A host under a decimal-comma locale writes the same profile as one under the
// C locale, and reads a profile written anywhere back to the same values.
TEST(CustomDatum, ProfileTextIsTheSameWhateverTheLocale) {
    Profile p("locale");
    kvtest::CommaLocale comma;
    KVTEST_REQUIRE_COMMA_LOCALE(comma);
    DATUM2WGS84 s = Molodensky(6378249.25, 0.0034075614, -263.5, 6.25, 431.125);
    s.Method = DM_BURSA;
    s.PMShift = 2.33722916666667;
    s.rx = 0.5, s.ry = -0.25, s.rz = 0.125, s.k = -4.5;
    ASSERT_TRUE(NDatSave(p.c(), "Comma", &s));
    // The same line as the C locale writes (ValueFormat above).
    EXPECT_TRUE(kvtest::Contains(p.Read(), "Comma=bursa,0,user-defined,6378249.2500000000,"
                                           "0.0034075614,2.337229,-263.5000000000,6.2500000000,"
                                           "431.1250000000,0.5000000000,-0.2500000000,"
                                           "0.1250000000,-4.5000000000,\r\n"))
        << p.Read();
    // A profile written under the C locale keeps its fractions (IGN's NTF to WGS 84
    // shift, rounded to the figures a user would type).
    p.Write("[Custom Datums]\r\nNTF=molodensky,1,user-defined,6378249.2,0.0034075614,"
            "2.5969213,-168.5,-60.25,320.75,\r\n");
    DATUM2WGS84 back;
    ASSERT_TRUE(NDatGetDatumParams(p.c(), "NTF", &back));
    const struct {
        double got, want;
    } fields[] = {{back.MajorRadius, 6378249.2},
                  {back.Flattening, 0.0034075614},
                  {back.PMShift, 2.5969213},
                  {back.dx, -168.5},
                  {back.dy, -60.25},
                  {back.dz, 320.75}};
    for (const auto& f : fields)
        EXPECT_EQ(f.got, f.want);
    EXPECT_TRUE(back.bInverse);
}

// Blanks are part of a name: what is saved under a name is found under exactly
// that name again, and names differing only in blanks are different datums.
// A name starting with ';' makes a comment line: saved, never listed or found.
TEST(CustomDatum, NamesKeepTheirBlanks) {
    Profile p("blanks");
    const struct {
        const char* name;
        double dx;
        bool listed;
    } rows[] = {{" Lead", 1, true}, {"Trail ", 2, true}, {"  Both  ", 3, true},
                {"Lead", 4, true},  {"\tTab", 5, true},  {";Semi", 6, false}};
    for (const auto& r : rows) {
        DATUM2WGS84 s = Molodensky(6378137, 0.003, r.dx, 0, 0);
        ASSERT_TRUE(NDatSave(p.c(), r.name, &s)) << r.name;
    }
    EXPECT_EQ(NDatNumDatums(p.c()), 254 + 5);
    int index = 254;
    for (const auto& r : rows) {
        int found = -1;
        DATUM2WGS84 back;
        ASSERT_EQ(NDatExists(p.c(), r.name, &found), r.listed) << '"' << r.name << '"';
        ASSERT_EQ(NDatGetDatumParams(p.c(), r.name, &back), r.listed) << r.name;
        if (!r.listed) continue;
        EXPECT_EQ(found, index) << r.name;
        EXPECT_EQ(Name(p.c(), index++), r.name);
        EXPECT_EQ(+back.dx, r.dx) << r.name;
    }
    ASSERT_TRUE(NDatDelete(p.c(), "Trail "));
    EXPECT_TRUE(NDatExists(p.c(), " Lead", nullptr));
    EXPECT_FALSE(NDatExists(p.c(), "Trail", nullptr));
    EXPECT_EQ(NDatNumDatums(p.c()), 254 + 4);
}
