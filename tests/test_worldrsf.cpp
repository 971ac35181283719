// World files and RSF files: names, texts, the pixel-centre convention against
// GDAL, reading what GDAL writes, RSF tokens, failure asymmetries, hostile files.
#include "SideFileTest.h"
#include "kvproj/kvproj.h"

#include <gtest/gtest.h>

#include <climits>

using namespace KVProj;

namespace {

GEOREF Coefficients(double a, double b, double c, double d, double e, double f) {
    GEOREF g{};
    g.Method = TM_PRECALCULATED;
    g.A = a, g.B = b, g.C = c, g.D = d, g.E = e, g.F = f;
    return g;
}

struct WorldRead {
    bool ok = false;
    unsigned int flags = 0xDEAD;
    GEOREF g{};
};

WorldRead ReadWorld(const std::string& image) {
    WorldRead r;
    r.g.Method = TM_NONE;
    r.ok = KVProjReadESRIWorld(image.c_str(), &r.g, &r.flags);
    return r;
}

struct RsfRead {
    bool ok = false;
    unsigned int flags = 0xDEAD;
    GEOREF g{};
    RsfRead() = default;
    RsfRead(const RsfRead&) = delete;
    RsfRead& operator=(const RsfRead&) = delete;
    ~RsfRead() { RefFreeControls(&g); }
};

void ReadRsf(const std::string& image, RsfRead& r) {
    r.ok = KVProjReadBlueMarbleRSF(image.c_str(), &r.g, &r.flags);
}

} // namespace

// The names the world reader tries, in order, and the one the writer makes.
TEST(WorldFile, Names) {
    kvtest::TempDir dir("wldnames");
    const struct {
        const char* image;
        const char* written;
        std::vector<std::string> tried;
    } cases[] = {
        {"map.tif", "map.tfW", {"map.tfW", "map.tifw", "map.WLD"}},
        {"map.jpeg", "map.jeW", {"map.jeW", "map.jpegw", "map.WLD"}},
        {"map.ab", "map.abW", {"mapW", "map.abw", "map.WLD"}},
        {"map", "mapW", {"mapW", "mapw", "map.WLD"}},
        {"a.b.tif", "a.b.tfW", {"a.b.tfW", "a.b.tifw", "a.b.WLD"}},
    };
    GEOREF g = Coefficients(1, 0, 0, 0, -1, 0);
    for (const auto& c : cases) {
        kvtest::LogCapture log("wldnames");
        WorldRead r = ReadWorld(dir / c.image);
        EXPECT_TRUE(r.ok);
        EXPECT_EQ(r.flags, 0u) << c.image; // nothing there
        EXPECT_EQ(+r.g.Method, TM_NONE) << c.image; // untouched when no file opens
        std::string expected;
        for (const std::string& n : c.tried)
            expected += "CTRACE:  Attempting to open \"" + (dir / n) + "\"\r\n";
        EXPECT_EQ(log.Text(), expected) << c.image;
        log.Clear();
        ASSERT_TRUE(KVProjWriteESRIWorld((dir / c.image).c_str(), &g)) << c.image;
        EXPECT_EQ(log.Text(), "CTRACE:  Attempting to create \"" + (dir / c.written) + "\"\r\n");
        EXPECT_EQ(dir.List(), std::vector<std::string>{c.written}) << c.image;
        // Found again: map.abW by the second attempt, matched ignoring letter case.
        EXPECT_EQ(ReadWorld(dir / c.image).flags,
                  unsigned(GEOPARAM_FILE_FOUND | GEOPARAM_COEFFICIENTS))
            << c.image;
        std::remove((dir / c.written).c_str());
    }
}

// World file text: A D B E C F, 15 significant digits, C locale. Read back bit
// for bit where 15 digits hold the value; 1/3 and 123456789.123456789 do not.
TEST(WorldFile, Text) {
    kvtest::TempDir dir("wldtext");
    const struct {
        GEOREF g;
        const char* text;
        double back[6]; // A B C D E F as read
    } cases[] = {
        {Coefficients(1, 0, 100, 0, -1, 200), "1\n0\n0\n-1\n100\n200\n", {1, 0, 100, 0, -1, 200}},
        {Coefficients(0.5, 0.125, 430000.5, -0.25, -0.75, 4580000.25),
         "0.5\n-0.25\n0.125\n-0.75\n430000.5\n4580000.25\n",
         {0.5, 0.125, 430000.5, -0.25, -0.75, 4580000.25}},
        {Coefficients(1.0 / 3, 1e-20, -1e21, 0, 2, 123456789.123456789),
         "0.333333333333333\n0\n1E-20\n2\n-1E+21\n123456789.123457\n",
         {0.333333333333333, 1e-20, -1e21, 0, 2, 123456789.123457}},
    };
    kvtest::CommaLocale comma; // the text must not change under a decimal-comma locale
    for (const auto& c : cases) {
        GEOREF g = c.g;
        ASSERT_TRUE(KVProjWriteESRIWorld((dir / "m.tif").c_str(), &g));
        EXPECT_EQ(dir.Read("m.tfW"), c.text);
        WorldRead r = ReadWorld(dir / "m.tif");
        EXPECT_EQ(+r.g.Method, TM_PRECALCULATED);
        const double read[6] = {r.g.A, r.g.B, r.g.C, r.g.D, r.g.E, r.g.F};
        for (int i = 0; i < 6; ++i)
            EXPECT_EQ(read[i], c.back[i]) << c.text << i;
    }
}

// GEOREF coefficients follow the world file's pixel-centre convention: pixel
// (0, 0)'s centre is at (C, F). GDAL's geotransform gives the top-left corner of
// that pixel: GT0 = C - A/2 - B/2, GT3 = F - D/2 - E/2. Values recorded from GDAL
// 3.6.2 gdalinfo -json on a 40 x 30 image beside the world file we write (it
// found our map.tfW itself, listing "Files: map.tif map.tfW").
TEST(WorldFile, PixelCentreAgainstGdal) {
    kvtest::TempDir dir("wldgdal");
    const struct {
        GEOREF g;
        const char* text;
        double gt[6]; // gdalinfo geoTransform
    } cases[] = {
        {Coefficients(2.5, 0, 1000.25, 0, -2.5, 5000.75), "2.5\n0\n0\n-2.5\n1000.25\n5000.75\n",
         {999.0, 2.5, 0.0, 5002.0, 0.0, -2.5}},
        {Coefficients(0.5, 0.125, 430000.5, -0.25, -0.75, 4580000.25),
         "0.5\n-0.25\n0.125\n-0.75\n430000.5\n4580000.25\n",
         {430000.1875, 0.5, 0.125, 4580000.75, -0.25, -0.75}},
    };
    for (const auto& c : cases) {
        GEOREF g = c.g;
        ASSERT_TRUE(KVProjWriteESRIWorld((dir / "map.tif").c_str(), &g));
        EXPECT_EQ(dir.Read("map.tfW"), c.text); // the text gdalinfo was given
        EXPECT_EQ(c.gt[1], +g.A);
        EXPECT_EQ(c.gt[2], +g.B);
        EXPECT_EQ(c.gt[4], +g.D);
        EXPECT_EQ(c.gt[5], +g.E);
        EXPECT_EQ(c.gt[0], +g.C - +g.A / 2 - +g.B / 2); // half a pixel up and left
        EXPECT_EQ(c.gt[3], +g.F - +g.D / 2 - +g.E / 2);
        // And the pixel-centre georeference puts GDAL's corner at pixel (-0.5, -0.5).
        void* h = RefCreateSystem(&g);
        ASSERT_NE(h, nullptr);
        GEOREFPOINT corner = {-0.5, -0.5};
        ASSERT_TRUE(RefForward(h, &corner, 1));
        RefDeleteSystem(h);
        EXPECT_DOUBLE_EQ(corner.x, c.gt[0]);
        EXPECT_DOUBLE_EQ(corner.y, c.gt[3]);
    }
}

// World files written by GDAL 3.6.2 (gdal_translate -co TFW=YES; lower-case .tfw,
// ten decimals) are found beside map.tif and read to the same coefficients.
TEST(WorldFile, ReadsGdalWorldFiles) {
    kvtest::TempDir dir("wldfromgdal");
    const struct {
        const char* how; // the gdal_translate options
        const char* text;
        double a, b, c, d, e, f;
    } cases[] = {
        {"-a_ullr 500000 4650000 500400 4649700 (40 x 30)",
         "10.0000000000\n0.0000000000\n0.0000000000\n-10.0000000000\n500005.0000000000\n"
         "4649995.0000000000\n",
         10, 0, 500005, 0, -10, 4649995},
        {"copy of an image with a rotated geotransform",
         "0.5000000000\n-0.2500000000\n0.1250000000\n-0.7500000000\n430000.5000000000\n"
         "4580000.2500000000\n",
         0.5, 0.125, 430000.5, -0.25, -0.75, 4580000.25},
        {"-a_ullr -122.5 38.25 -122.1 37.95 (40 x 30)",
         "0.0100000000\n0.0000000000\n0.0000000000\n-0.0100000000\n-122.4950000000\n"
         "38.2450000000\n",
         0.01, 0, -122.495, 0, -0.01, 38.245},
    };
    for (const auto& c : cases) {
        dir.Write("map.tfw", c.text);
        WorldRead r = ReadWorld(dir / "map.tif");
        EXPECT_EQ(r.flags, unsigned(GEOPARAM_FILE_FOUND | GEOPARAM_COEFFICIENTS)) << c.how;
        EXPECT_EQ(+r.g.Method, TM_PRECALCULATED);
        EXPECT_EQ(+r.g.A, c.a) << c.how;
        EXPECT_EQ(+r.g.B, c.b) << c.how;
        EXPECT_EQ(+r.g.C, c.c) << c.how;
        EXPECT_EQ(+r.g.D, c.d) << c.how;
        EXPECT_EQ(+r.g.E, c.e) << c.how;
        EXPECT_EQ(+r.g.F, c.f) << c.how;
    }
}

// Reading: a truncated file is found but empty; .wld in any case is the third try;
// CR-LF lines and junk lines (read as 0) are accepted.
TEST(WorldFile, Reading) {
    kvtest::TempDir dir("wldread");
    const struct {
        const char* file;
        std::string text;
        unsigned int flags;
        double a, c, f;
    } cases[] = {
        {"m.tfW", "1\n2\n3\n4\n5\n", GEOPARAM_FILE_FOUND, 0, 0, 0},
        {"m.tfw", "1\r\n0\r\n0\r\n-1\r\n100\r\n200", GEOPARAM_FILE_FOUND | GEOPARAM_COEFFICIENTS,
         1, 100, 200},
        {"m.wld", "2\nx\n\n-2\n7e1 metres\n-0\n", GEOPARAM_FILE_FOUND | GEOPARAM_COEFFICIENTS, 2,
         70, 0},
        {"M.TIFW", "3\n0\n0\n-3\n1\n1\n9\n", GEOPARAM_FILE_FOUND | GEOPARAM_COEFFICIENTS, 3, 1, 1},
    };
    for (const auto& c : cases) {
        dir.Write(c.file, c.text);
        WorldRead r = ReadWorld(dir / "m.tif");
        EXPECT_TRUE(r.ok) << c.file;
        EXPECT_EQ(r.flags, c.flags) << c.file;
        EXPECT_EQ(+r.g.Method, c.flags & GEOPARAM_COEFFICIENTS ? TM_PRECALCULATED : TM_HELMERT);
        EXPECT_EQ(+r.g.A, c.a) << c.file;
        EXPECT_EQ(+r.g.C, c.c) << c.file;
        EXPECT_EQ(+r.g.F, c.f) << c.file;
        std::remove((dir / c.file).c_str());
    }
    kvtest::ReportRecorder reports;
    unsigned int flags = 7;
    EXPECT_FALSE(KVProjReadESRIWorld(nullptr, nullptr, &flags));
    EXPECT_EQ(flags, 0u);
    EXPECT_EQ(reports.Count(20205), 1);
    EXPECT_TRUE(KVProjReadESRIWorld((dir / "m.tif").c_str(), nullptr, nullptr));
}

// Writing: controls are fitted to coefficients first; nothing to write is true;
// only a failed write is false, and it never leaves half a file.
TEST(WorldFile, Writing) {
    kvtest::TempDir dir("wldwrite");
    GEOREFPOINT src[3] = {{0, 0}, {100, 0}, {0, 50}};
    GEOREFPOINT dst[3] = {{1000, 2000}, {1200, 2000}, {1000, 1900}}; // A 2, E -2
    GEOREF fit{};
    fit.Method = TM_HELMERT, fit.pSrc = src, fit.pDest = dst, fit.nControls = 3;
    ASSERT_TRUE(KVProjWriteESRIWorld((dir / "f.png").c_str(), &fit));
    EXPECT_EQ(dir.Read("f.pgW"), "2\n0\n0\n-2\n1000\n2000\n");
    EXPECT_EQ(+fit.Method, TM_HELMERT); // the caller's record is unchanged

    GEOREF two = fit;
    two.nControls = 2;
    EXPECT_TRUE(KVProjWriteESRIWorld((dir / "two.png").c_str(), &two)); // cannot fit: true
    EXPECT_TRUE(KVProjWriteESRIWorld((dir / "n.png").c_str(), nullptr));
    EXPECT_TRUE(KVProjWriteESRIWorld(nullptr, &fit));
    EXPECT_EQ(dir.List(), std::vector<std::string>{"f.pgW"});

    GEOREF g = Coefficients(1, 0, 0, 0, -1, 0);
    {
        kvtest::FileSizeLimit limit(4);
        EXPECT_FALSE(KVProjWriteESRIWorld((dir / "f.png").c_str(), &g));
    }
    EXPECT_EQ(dir.Read("f.pgW"), "2\n0\n0\n-2\n1000\n2000\n"); // the old file, whole
    EXPECT_EQ(dir.List(), std::vector<std::string>{"f.pgW"});
    EXPECT_FALSE(KVProjWriteESRIWorld((dir / "gone/f.png").c_str(), &g));
}

// RSF text: "2 <count>", then the quoted name, first x y, 0.0, second y x, 0.0 1.
TEST(RsfFile, Text) {
    kvtest::TempDir dir("rsftext");
    GEOREFPOINT src[2] = {{0.5, 10}, {640, 480.25}};
    GEOREFPOINT dst[2] = {{-122.5, 38.25}, {500000.125, -1e-5}};
    GEOREF g{};
    g.Method = TM_SECOND_ORDER, g.pSrc = src, g.pDest = dst, g.nControls = 2;
    kvtest::CommaLocale comma;
    ASSERT_TRUE(KVProjWriteBlueMarbleRSF((dir / "img.tif").c_str(), &g));
    EXPECT_EQ(dir.Read("img.RSF"), "2 2\n"
                                   "\"Point 0\" 0.5 10 0.0 38.25 -122.5 0.0 1\n"
                                   "\"Point 1\" 640 480.25 0.0 -1E-05 500000.125 0.0 1\n");
    RsfRead r;
    ReadRsf(dir / "IMG.tif", r); // img.RSF found from another letter case
    EXPECT_EQ(r.flags, unsigned(GEOPARAM_FILE_FOUND | GEOPARAM_CONTROLS));
    EXPECT_EQ(+r.g.Method, TM_HELMERT);
    ASSERT_EQ(+r.g.nControls, 2);
    for (int i = 0; i < 2; ++i) {
        EXPECT_EQ(+r.g.pSrc[i].x, src[i].x);
        EXPECT_EQ(+r.g.pSrc[i].y, src[i].y);
        EXPECT_EQ(+r.g.pDest[i].x, dst[i].x);
        EXPECT_EQ(+r.g.pDest[i].y, dst[i].y);
    }
}

// Coefficients are written as the four corners of a 100 x 100 image; the
// caller's record keeps its method and has no controls afterwards.
TEST(RsfFile, ControlsGeneratedFromCoefficients) {
    kvtest::TempDir dir("rsfgen");
    GEOREF g = Coefficients(2, 0, 1000, 0, -2, 5000);
    ASSERT_TRUE(KVProjWriteBlueMarbleRSF((dir / "c.tif").c_str(), &g));
    EXPECT_EQ(dir.Read("c.RSF"), "2 4\n"
                                 "\"Point 0\" 0 0 0.0 5000 1000 0.0 1\n"
                                 "\"Point 1\" 100 0 0.0 5000 1200 0.0 1\n"
                                 "\"Point 2\" 100 100 0.0 4800 1200 0.0 1\n"
                                 "\"Point 3\" 0 100 0.0 4800 1000 0.0 1\n");
    EXPECT_EQ(+g.Method, TM_PRECALCULATED);
    EXPECT_EQ(+g.pSrc, nullptr);
    EXPECT_EQ(+g.nControls, 0);
    GEOREF none{};
    none.Method = TM_NONE;
    GEOREF helmertWithout{}; // method 0, no controls: RefCoeffToControls refuses it
    EXPECT_TRUE(KVProjWriteBlueMarbleRSF((dir / "n.tif").c_str(), &none));
    EXPECT_TRUE(KVProjWriteBlueMarbleRSF((dir / "h.tif").c_str(), &helmertWithout));
    EXPECT_TRUE(KVProjWriteBlueMarbleRSF((dir / "x.tif").c_str(), nullptr));
    EXPECT_EQ(dir.List(), std::vector<std::string>{"c.RSF"});
    {
        kvtest::FileSizeLimit limit(10);
        EXPECT_FALSE(KVProjWriteBlueMarbleRSF((dir / "c.tif").c_str(), &g));
    }
    EXPECT_EQ(dir.List(), std::vector<std::string>{"c.RSF"}); // old file kept, no temporary
}

// RSF reading: quoted names with blanks, y-then-x second array, short and
// truncated files, missing tokens, hostile counts.
TEST(RsfFile, Reading) {
    kvtest::TempDir dir("rsfread");
    const struct {
        const char* what;
        std::string text;
        bool ok;
        unsigned int flags;
        int count;
        GEOREFPOINT src0, dst0;
    } cases[] = {
        {"quoted two-word names, tabs, CR-LF",
         "2 2\r\n\"Corner one\"\t1 2 0.0 30 40 0.0 1\r\n'it''s' 5 6 x 7 8\r\n", true,
         GEOPARAM_FILE_FOUND | GEOPARAM_CONTROLS, 2, {1, 2}, {40, 30}},
        {"2 0: found, nothing held", "2 0\n\"P\" 1 2 0 3 4 0 1\n", true, GEOPARAM_FILE_FOUND, 0,
         {0, 0}, {0, 0}},
        {"header only", "2\n", true, GEOPARAM_FILE_FOUND, 0, {0, 0}, {0, 0}},
        {"truncated: one of two points", "2 2\n\"P\" 1 2 0 3 4 0 1\n", true, GEOPARAM_FILE_FOUND, 0,
         {0, 0}, {0, 0}},
        {"missing tokens read as 0", "x 1\n\"P\" 9\n", true,
         GEOPARAM_FILE_FOUND | GEOPARAM_CONTROLS, 1, {9, 0}, {0, 0}},
        {"unterminated quote runs to the end", "2 1\n\"P 1 2 0 3 4\n", true,
         GEOPARAM_FILE_FOUND | GEOPARAM_CONTROLS, 1, {0, 0}, {0, 0}},
        {"more lines than declared: the rest ignored", "2 1\nP 1 2 0 3 4\nQ 5 6 0 7 8\n", true,
         GEOPARAM_FILE_FOUND | GEOPARAM_CONTROLS, 1, {1, 2}, {4, 3}},
        {"negative count", "2 -3\nP 1 2 0 3 4\n", true, GEOPARAM_FILE_FOUND, 0, {0, 0}, {0, 0}},
        {"count 2^31-1 refused like a failed allocation", "2 2147483647\nP 1 2 0 3 4\n", false, 0,
         0, {0, 0}, {0, 0}},
        {"empty file", "", true, GEOPARAM_FILE_FOUND, 0, {0, 0}, {0, 0}},
    };
    for (const auto& c : cases) {
        dir.Write("r.RSF", c.text);
        kvtest::ReportRecorder reports;
        RsfRead r;
        ReadRsf(dir / "r.jpg", r);
        EXPECT_EQ(r.ok, c.ok) << c.what;
        EXPECT_EQ(r.flags, c.flags) << c.what;
        EXPECT_EQ(reports.Count(20201), c.ok ? 0 : 1) << c.what;
        if (!c.ok) continue;
        EXPECT_EQ(+r.g.Method, TM_HELMERT) << c.what;
        ASSERT_EQ(+r.g.nControls, c.count) << c.what;
        EXPECT_EQ(+r.g.pSrc != nullptr, c.count > 0) << c.what;
        if (c.count == 0) continue;
        EXPECT_EQ(+r.g.pSrc[0].x, +c.src0.x) << c.what;
        EXPECT_EQ(+r.g.pSrc[0].y, +c.src0.y) << c.what;
        EXPECT_EQ(+r.g.pDest[0].x, +c.dst0.x) << c.what;
        EXPECT_EQ(+r.g.pDest[0].y, +c.dst0.y) << c.what;
    }
    kvtest::ReportRecorder reports;
    RsfRead missing;
    ReadRsf(dir / "absent.tif", missing);
    EXPECT_TRUE(missing.ok);
    EXPECT_EQ(missing.flags, 0u);
    EXPECT_FALSE(KVProjReadBlueMarbleRSF(nullptr, nullptr, nullptr));
    EXPECT_EQ(reports.Count(20205), 1);
    dir.Write("r.RSF", "2 1\nP 1 2 0 3 4\n");
    unsigned int flags = 0;
    EXPECT_TRUE(KVProjReadBlueMarbleRSF((dir / "r.x").c_str(), nullptr, &flags)); // freed inside
    EXPECT_EQ(flags, unsigned(GEOPARAM_FILE_FOUND | GEOPARAM_CONTROLS));
}

// Hostile files and names for both readers: no crash, no hang, nothing past the arrays.
TEST(WorldRsfHostile, Inputs) {
    kvtest::TempDir dir("wrhostile");
    for (const auto& h : kvtest::HostileInputs("2 3\n")) {
        for (const char* file : {"h.tfW", "h.RSF"}) {
            const std::string path = dir / file;
            (void)std::system(("rm -rf " + kvtest::Quote(path)).c_str());
            h.make(path);
        }
        WorldRead w = ReadWorld(dir / "h.tif");
        EXPECT_TRUE(w.ok) << h.what;
        RsfRead r;
        ReadRsf(dir / "h.tif", r);
        EXPECT_TRUE(r.ok) << h.what;
        const bool special = std::string(h.what) == "directory" || std::string(h.what) == "FIFO";
        EXPECT_EQ(w.flags & GEOPARAM_FILE_FOUND, special ? 0u : +GEOPARAM_FILE_FOUND) << h.what;
        EXPECT_EQ(r.flags & GEOPARAM_FILE_FOUND, special ? 0u : +GEOPARAM_FILE_FOUND) << h.what;
        if (r.flags & GEOPARAM_CONTROLS) {
            EXPECT_EQ(+r.g.nControls, 3) << h.what;
        }
    }
    const std::string longName = dir / (std::string(300, 'n') + ".tif");
    EXPECT_TRUE(ReadWorld(longName).ok);
    RsfRead r;
    ReadRsf(longName, r);
    EXPECT_TRUE(r.ok);
    GEOREF g = Coefficients(1, 0, 0, 0, -1, 0);
    EXPECT_FALSE(KVProjWriteESRIWorld(longName.c_str(), &g));
    EXPECT_FALSE(KVProjWriteBlueMarbleRSF(longName.c_str(), &g));
}
