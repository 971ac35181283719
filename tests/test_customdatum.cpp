// The custom datum store over the "Custom Datums" section of a profile.
#include "datum/CustomDatum.h"
#include "frame/IniProfile.h"
#include "kvproj/datum.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <sstream>
#include <string>
#include <unistd.h>

using namespace KVProj;

namespace {

struct Profile {
    std::string path;
    explicit Profile(const char* tag) {
        const char* t = std::getenv("TMPDIR");
        path = std::string(t && *t ? t : "/tmp") + "/kvproj_ndat_" + tag + "_" +
               std::to_string(getpid()) + ".ini";
        std::remove(path.c_str());
    }
    ~Profile() { std::remove(path.c_str()); }
    const char* c() const { return path.c_str(); }
    void write(const std::string& text) const { std::ofstream(path, std::ios::binary) << text; }
    std::string read() const {
        std::ifstream in(path, std::ios::binary);
        std::stringstream ss;
        ss << in.rdbuf();
        return ss.str();
    }
};

DATUM2WGS84 molodensky(double a, double f, double dx, double dy, double dz) {
    DATUM2WGS84 s;
    std::memset(&s, 0, sizeof s);
    s.Method = DM_MOLODENSKY;
    s.Ellipsoid = ELLIPSOID_USER_DEFINED;
    s.MajorRadius = a;
    s.Flattening = f;
    s.dx = dx;
    s.dy = dy;
    s.dz = dz;
    return s;
}

} // namespace

TEST(CustomDatumText, Escaping) {
    struct {
        const char* name;
        const char* escaped;
    } cases[] = {
        {"My,Datum", "My%044Datum"},
        {"a=b%c\\d", "a%061b%037c%092d"},
        {"Tab\there", "Tab%009here"},
        {"{|}~", "%123%124%125%126"},
        {"Zz [x]_`", "Zz [x]_`"},                     // upper case counts by its lower-case form
        {"caf\xc3\xa9", "caf%4294967235%4294967209"}, // bytes from 128 up: signed codes
        {"", ""},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(EscapeDatumName(c.name), c.escaped) << c.name;
        std::string back = UnescapeDatumName(c.escaped, std::strlen(c.escaped));
        if (std::strchr(c.name, '\xc3') == nullptr) {
            EXPECT_EQ(back, c.name) << c.name;
        }
    }
    // Ten-digit codes are read back three digits at a time: not the character.
    const char* e = "%4294967273";
    EXPECT_EQ(UnescapeDatumName(e, std::strlen(e)), std::string(1, char(429 & 0xFF)) + "4967273");
    // Short or broken escapes stay as they are; nothing is read past the end.
    EXPECT_EQ(UnescapeDatumName("ab%4", 4), "ab%4");
    EXPECT_EQ(UnescapeDatumName("%x12", 4), "%x12");
    EXPECT_EQ(UnescapeDatumName("%0449", 3), "%04");
}

TEST(CustomDatumText, ValueFormat) {
    std::string text;
    ASSERT_TRUE(DatumParamsToText(molodensky(6378137, 0.0033528107, 1, 2, 3), &text));
    EXPECT_EQ(text, "molodensky,0,user-defined,6378137.0000000000,0.0033528107,0.000000,"
                    "1.0000000000,2.0000000000,3.0000000000,");
    DATUM2WGS84 s = molodensky(0, 0, -168, -60, 320);
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
    s.Method = DM_NOXFORM;
    ASSERT_TRUE(DatumParamsToText(s, &text));
    EXPECT_EQ(text, "none,");
    s.Method = DM_NADCON;
    ASSERT_TRUE(DatumParamsToText(s, &text));
    EXPECT_EQ(text, "nadcon,1,Krassovsky%044 1942,");
    for (int m : {4, 6, 7, -1}) {
        s.Method = static_cast<DatumMethod>(m);
        EXPECT_FALSE(DatumParamsToText(s, &text)) << m;
    }
    // Shifts too large for the 255-character value are cut, not overrun.
    s = molodensky(6378137, 0.003, 1.7e38, 1.7e38, 1.7e38);
    s.Method = DM_BURSA;
    s.rx = s.ry = s.rz = 1e30;
    ASSERT_TRUE(DatumParamsToText(s, &text));
    EXPECT_EQ(text.size(), 255u);
}

TEST(CustomDatumText, Parsing) {
    DATUM2WGS84 s;
    struct {
        const char* text;
        bool ok;
        int method;
        int ellipsoid;
        double a, dz, rz;
    } cases[] = {
        {"none,", true, DM_NOXFORM, 0, 0, 0, 0},
        {"NONE", true, DM_NOXFORM, 0, 0, 0, 0},
        {"molodensky,0,user-defined,6378137,0.0033528107,0,1,2,3,", true, DM_MOLODENSKY, 0, 6378137,
         3, 0},
        {" Bursa ,1,x", false, 0, 0, 0, 0, 0}, // the keyword field is not trimmed at its end
        {"\tbursa,\t1,  WGS 84,1,0.5,0,0,0,9,0,0,7,1,", true, DM_BURSA, 47, 6378137, 9, 7},
        {"bursa,1,Krassovsky%044 1942,", true, DM_BURSA, 35, 6378245, 0, 0},
        {"molodensky,0,USER-DEFINED", true, DM_MOLODENSKY, 0, 0, 0, 0}, // missing fields read as 0
        {"nadcon,0,user-defined,", false, 0, 0, 0, 0, 0},
        {"mre,0,user-defined,", false, 0, 0, 0, 0, 0},
        {"molodensky,2,user-defined,", false, 0, 0, 0, 0, 0},
        {"molodensky,", false, 0, 0, 0, 0, 0},
        {"molodensky,0,Nowhere Ellipsoid,", false, 0, 0, 0, 0, 0},
        {"", false, 0, 0, 0, 0, 0},
        {",,,,", false, 0, 0, 0, 0, 0},
    };
    for (const auto& c : cases) {
        std::memset(&s, 0x77, sizeof s);
        EXPECT_EQ(TextToDatumParams(c.text, &s), c.ok) << c.text;
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

TEST(CustomDatum, SaveEnumerateAndReadBack) {
    Profile p("save");
    EXPECT_EQ(NDatNumDatums(p.c()), 254); // no file yet
    DATUM2WGS84 s = molodensky(6378137, 0.0033528107, 1, 2, 3);
    ASSERT_TRUE(NDatSave(p.c(), "My,Datum", &s));
    EXPECT_NE(p.read().find("My%044Datum=molodensky,0,user-defined,6378137.0000000000,"
                            "0.0033528107,0.000000,1.0000000000,2.0000000000,3.0000000000,"),
              std::string::npos);
    EXPECT_EQ(NDatNumDatums(p.c()), 255);
    char name[256];
    ASSERT_TRUE(NDatEnumDatumName(p.c(), name, 254));
    EXPECT_STREQ(name, "My,Datum");
    ASSERT_TRUE(NDatEnumDatumName(p.c(), name, 7));
    EXPECT_STREQ(name, "Tokyo");
    EXPECT_FALSE(NDatEnumDatumName(p.c(), name, 255));
    EXPECT_FALSE(NDatEnumDatumName(p.c(), name, -1));
    EXPECT_FALSE(NDatEnumDatumName(p.c(), nullptr, 1));
    EXPECT_FALSE(NDatEnumDatumName(nullptr, name, 254));

    DATUM2WGS84 back;
    ASSERT_TRUE(NDatGetDatumParams(p.c(), "my,datum", &back)); // keys ignore case
    EXPECT_EQ(+back.Method, DM_MOLODENSKY);
    EXPECT_EQ(+back.Ellipsoid, ELLIPSOID_USER_DEFINED);
    EXPECT_EQ(+back.MajorRadius, 6378137.0);
    EXPECT_NEAR(+back.Flattening, 0.0033528107, 1e-11);
    EXPECT_EQ(+back.dx, 1.0);
    EXPECT_EQ(+back.dz, 3.0);
    int index = -1;
    EXPECT_TRUE(NDatExists(p.c(), "My,Datum", &index));
    EXPECT_EQ(index, 254);
    EXPECT_TRUE(NDatExists(p.c(), "Tokyo", &index));
    EXPECT_EQ(index, 7);
    EXPECT_FALSE(NDatExists(p.c(), "Nobody", &index));
    EXPECT_TRUE(NDatExists(p.c(), "My,Datum", nullptr));
}

TEST(CustomDatum, SavingTwiceMovesTheEntryToTheEnd) {
    Profile p("twice");
    DATUM2WGS84 s = molodensky(6378137, 0.003, 1, 1, 1);
    ASSERT_TRUE(NDatSave(p.c(), "First", &s));
    ASSERT_TRUE(NDatSave(p.c(), "Second", &s));
    s.dx = 9;
    ASSERT_TRUE(NDatSave(p.c(), "FIRST", &s));
    EXPECT_EQ(NDatNumDatums(p.c()), 256);
    char name[256];
    ASSERT_TRUE(NDatEnumDatumName(p.c(), name, 254));
    EXPECT_STREQ(name, "Second");
    ASSERT_TRUE(NDatEnumDatumName(p.c(), name, 255));
    EXPECT_STREQ(name, "FIRST");
    DATUM2WGS84 back;
    ASSERT_TRUE(NDatGetDatumParams(p.c(), "first", &back));
    EXPECT_EQ(+back.dx, 9.0);
    ASSERT_TRUE(NDatDelete(p.c(), "second"));
    EXPECT_FALSE(NDatDelete(p.c(), "second"));
    EXPECT_EQ(NDatNumDatums(p.c()), 255);
}

TEST(CustomDatum, BuiltInNamesAreNotStored) {
    Profile p("builtin");
    DATUM2WGS84 s = molodensky(6378137, 0.003, 1, 1, 1);
    EXPECT_FALSE(NDatSave(p.c(), "tokyo", &s));
    EXPECT_FALSE(NDatSave(p.c(), "User Defined", &s));
    EXPECT_FALSE(NDatDelete(p.c(), "Tokyo"));
    EXPECT_FALSE(NDatSave(nullptr, "Mine", &s));
    EXPECT_FALSE(NDatSave(p.c(), nullptr, &s));
    EXPECT_FALSE(NDatSave(p.c(), "Mine", nullptr));
    EXPECT_EQ(p.read(), ""); // nothing written
    DatumType id = DATUM_NONE;
    EXPECT_TRUE(NDatIsBuiltIn(nullptr, "TOKYO - MEAN", &id));
    EXPECT_EQ(id, 204);
    EXPECT_TRUE(NDatIsBuiltIn(p.c(), "user defined", nullptr));
    EXPECT_FALSE(NDatIsBuiltIn(p.c(), "Mine", &id));
    DATUM2WGS84 back;
    ASSERT_TRUE(NDatGetDatumParams(nullptr, "NTF France - Paris Meridian", &back));
    EXPECT_EQ(+back.PMShift, 2.33722916666667);
    EXPECT_FALSE(NDatGetDatumParams(p.c(), "NAD 1927 - CONUS (NADCON)", &back));
}

TEST(CustomDatum, MethodsThatCannotBeReadBack) {
    Profile p("noread");
    DATUM2WGS84 s = molodensky(0, 0, 0, 0, 0);
    s.Method = DM_NADCON;
    s.Ellipsoid = ELLIPSOID_CLARKE_1866;
    ASSERT_TRUE(NDatSave(p.c(), "Grid", &s));
    s.Method = DM_MRE;
    ASSERT_TRUE(NDatSave(p.c(), "Poly", &s));
    s.Method = DM_NTV2;
    EXPECT_FALSE(NDatSave(p.c(), "Ntv2", &s));
    DATUM2WGS84 back;
    EXPECT_FALSE(NDatGetDatumParams(p.c(), "Grid", &back));
    EXPECT_FALSE(NDatGetDatumParams(p.c(), "Poly", &back));
    EXPECT_TRUE(NDatExists(p.c(), "Grid", nullptr));
}

TEST(CustomDatum, ReversibleAndMethodEscapeTwice) {
    Profile p("twice_escaped");
    DATUM2WGS84 s = molodensky(6378137, 0.003, 1, 1, 1);
    s.Method = DM_BURSA;
    ASSERT_TRUE(NDatSave(p.c(), "Plain", &s));
    ASSERT_TRUE(NDatSave(p.c(), "With,Comma", &s));
    DatumMethod m = DM_COUNT;
    EXPECT_TRUE(NDatReversible(p.c(), "Plain"));
    EXPECT_TRUE(NDatGetDatumMethod(p.c(), "Plain", &m));
    EXPECT_EQ(m, DM_BURSA);
    // Found by the other functions, but not by these two.
    EXPECT_TRUE(NDatExists(p.c(), "With,Comma", nullptr));
    EXPECT_FALSE(NDatReversible(p.c(), "With,Comma"));
    EXPECT_FALSE(NDatGetDatumMethod(p.c(), "With,Comma", &m));
    // Built-in names are answered from the table.
    EXPECT_FALSE(NDatReversible(p.c(), "NAD 1927 - CONUS (MRE)"));
    EXPECT_TRUE(NDatGetDatumMethod(nullptr, "NAD 1927 - CONUS (MRE)", &m));
    EXPECT_EQ(m, DM_MRE);
}

TEST(CustomDatum, OtherSectionsSurvive) {
    Profile p("others");
    const std::string before = "; settings\r\n[Window]\r\nx=10\r\ny=20\r\n\r\n";
    const std::string after = "[Recent]\r\nfile1=a.map\r\n";
    p.write(before + "[Custom Datums]\r\nOld=none,\r\n\r\n" + after);
    DATUM2WGS84 s = molodensky(6378137, 0.003, 1, 1, 1);
    ASSERT_TRUE(NDatSave(p.c(), "New", &s));
    const std::string now = p.read();
    EXPECT_EQ(now.substr(0, before.size()), before);
    EXPECT_EQ(now.substr(now.size() - after.size()), after);
    EXPECT_EQ(NDatNumDatums(p.c()), 256);
    DatumMethod m;
    EXPECT_TRUE(NDatGetDatumMethod(p.c(), "Old", &m));
    EXPECT_EQ(m, DM_NOXFORM);
}

// A section already past the 32 KiB read buffer is not rewritten: saving would
// silently drop the entries past the cut.
TEST(CustomDatum, OverfullSectionIsNotRewritten) {
    Profile p("overfull");
    std::string text = "[Custom Datums]\n";
    for (int i = 0; i < 3000; ++i)
        text += "Datum" + std::to_string(i) + "=none,\n";
    p.write(text);
    DATUM2WGS84 s = molodensky(6378137, 0.003, 1, 1, 1);
    EXPECT_FALSE(NDatSave(p.c(), "One more", &s));
    EXPECT_FALSE(NDatDelete(p.c(), "Datum0"));
    EXPECT_TRUE(p.read() == text); // untouched
    EXPECT_GT(NDatNumDatums(p.c()), 254 + 1000);
}
