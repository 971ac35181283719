// "kvproj export --format geotiff": GeoTIFF tags written into an image in place
// and into a copy of it. The copies keep every image of the file and every
// pixel (strips, tiles, JPEG, several images); the tags read back the same in
// the library's own reader and as other readers take them.
//
// Expected values: the coefficients given on the command line; what GDAL 3.6.2
// `gdalinfo -json` and libgeotiff 1.7.1 `listgeo` printed for files written by
// this command (recorded below, with GDAL's rules for turning the tags into a
// geotransform, so that the suite does not need them installed).
#include "ProjArgs.h"
#include "SideFileTest.h"

#include "kvlibw/bitmaptag.h"
#include "kvproj/kvproj.h"

#include <gtest/gtest.h>
#include <tiffio.h>

#include <array>
#include <cmath>
#include <cstdint>
#include <string>
#include <vector>

namespace {

using namespace KVProj;
using kvtest::Quote;

// ---------------------------------------------------------------- fixtures made with libtiff

struct ImageSpec {
    uint32_t width, height;
    bool tiled;           // 16 x 16 tiles, else strips of 8 rows
    uint16_t compression; // COMPRESSION_NONE, _JPEG, _ADOBE_DEFLATE, ...
};

uint8_t PixelAt(uint32_t x, uint32_t y, size_t image) {
    return static_cast<uint8_t>((x * 7 + y * 13 + image * 50) & 0xFF);
}

// An 8-bit grey TIFF with one image per spec; false when libtiff refuses.
bool WriteTiff(const std::string& path, const std::vector<ImageSpec>& images) {
    TIFF* tif = TIFFOpen(path.c_str(), "w");
    if (!tif) return false;
    bool ok = true;
    for (size_t n = 0; ok && n < images.size(); ++n) {
        const ImageSpec& s = images[n];
        TIFFSetField(tif, TIFFTAG_IMAGEWIDTH, s.width);
        TIFFSetField(tif, TIFFTAG_IMAGELENGTH, s.height);
        TIFFSetField(tif, TIFFTAG_BITSPERSAMPLE, 8);
        TIFFSetField(tif, TIFFTAG_SAMPLESPERPIXEL, 1);
        TIFFSetField(tif, TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_MINISBLACK);
        TIFFSetField(tif, TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG);
        TIFFSetField(tif, TIFFTAG_COMPRESSION, s.compression);
        if (n > 0) TIFFSetField(tif, TIFFTAG_SUBFILETYPE, FILETYPE_REDUCEDIMAGE);
        const uint32_t cw = s.tiled ? 16 : s.width, ch = s.tiled ? 16 : 8;
        if (s.tiled) {
            TIFFSetField(tif, TIFFTAG_TILEWIDTH, cw);
            TIFFSetField(tif, TIFFTAG_TILELENGTH, ch);
        } else {
            TIFFSetField(tif, TIFFTAG_ROWSPERSTRIP, ch);
        }
        std::vector<uint8_t> chunk(size_t(cw) * ch);
        for (uint32_t y0 = 0; ok && y0 < s.height; y0 += ch)
            for (uint32_t x0 = 0; ok && x0 < s.width; x0 += cw) {
                const uint32_t rows = s.tiled ? ch : std::min(ch, s.height - y0);
                for (uint32_t y = 0; y < rows; ++y)
                    for (uint32_t x = 0; x < cw; ++x)
                        chunk[size_t(y) * cw + x] = PixelAt(x0 + x, y0 + y, n);
                const tmsize_t size = static_cast<tmsize_t>(size_t(cw) * rows);
                ok = s.tiled ? TIFFWriteTile(tif, chunk.data(), x0, y0, 0, 0) >= 0
                             : TIFFWriteEncodedStrip(tif, TIFFComputeStrip(tif, y0, 0),
                                                     chunk.data(), size) == size;
            }
        ok = ok && TIFFWriteDirectory(tif);
    }
    TIFFClose(tif);
    return ok;
}

// Every image of the file decoded, chunk after chunk; empty when unreadable.
std::vector<std::vector<uint8_t>> DecodeAll(const std::string& path) {
    std::vector<std::vector<uint8_t>> images;
    TIFF* tif = TIFFOpen(path.c_str(), "r");
    if (!tif) return images;
    do {
        std::vector<uint8_t> pixels;
        const bool tiled = TIFFIsTiled(tif);
        const tmsize_t size = tiled ? TIFFTileSize(tif) : TIFFStripSize(tif);
        const uint32_t chunks = tiled ? TIFFNumberOfTiles(tif) : TIFFNumberOfStrips(tif);
        std::vector<uint8_t> chunk(static_cast<size_t>(size));
        for (uint32_t i = 0; i < chunks; ++i) {
            const tmsize_t got = tiled ? TIFFReadEncodedTile(tif, i, chunk.data(), size)
                                       : TIFFReadEncodedStrip(tif, i, chunk.data(), size);
            if (got < 0) {
                TIFFClose(tif);
                return {};
            }
            pixels.insert(pixels.end(), chunk.begin(), chunk.begin() + got);
        }
        images.push_back(pixels);
    } while (TIFFReadDirectory(tif));
    TIFFClose(tif);
    return images;
}

std::vector<double> TagDoubles(const std::string& path, unsigned number) {
    KVBitmapTag tag;
    if (!KVBitLib().GetTagData(path.c_str(), number, tag, 1) || tag.GetType() != KVTAG_DOUBLE)
        return {};
    const double* v = static_cast<const double*>(tag.GetDataPtr());
    return std::vector<double>(v, v + tag.GetItemCount());
}

// The value of a key held in the key directory itself; -1 when absent.
int KeyValue(const std::string& path, unsigned key) {
    KVBitmapTag tag;
    if (!KVBitLib().GetTagData(path.c_str(), KVTAG_GEO_KEY_DIRECTORY, tag, 1)) return -1;
    const uint16_t* k = static_cast<const uint16_t*>(tag.GetDataPtr());
    for (unsigned long i = 4; i + 4 <= tag.GetItemCount(); i += 4)
        if (k[i] == key && k[i + 1] == 0) return k[i + 3];
    return -1;
}

// GDAL's geotransform from the tags (its GeoTIFF driver's rules): the matrix
// under 34264 when present, else the first tiepoint and the pixel scale (the
// sign of a negative ScaleY ignored); RasterPixelIsPoint moves the origin from
// the first pixel's centre to its corner.
std::array<double, 6> GdalGeoTransform(const std::string& path) {
    std::array<double, 6> gt{};
    const std::vector<double> m = TagDoubles(path, KVTAG_MODEL_TRANSFORMATION);
    const std::vector<double> tie = TagDoubles(path, KVTAG_MODEL_TIEPOINT);
    const std::vector<double> scale = TagDoubles(path, KVTAG_MODEL_PIXEL_SCALE);
    if (m.size() == 16) {
        gt = {m[3], m[0], m[1], m[7], m[4], m[5]};
    } else if (tie.size() >= 6 && scale.size() == 3) {
        const double sy = std::fabs(scale[1]);
        gt = {tie[3] - tie[0] * scale[0], scale[0], 0.0, tie[4] + tie[1] * sy, 0.0, -sy};
    }
    if (KeyValue(path, 1025) == 2) {
        gt[0] -= 0.5 * gt[1] + 0.5 * gt[2];
        gt[3] -= 0.5 * gt[4] + 0.5 * gt[5];
    }
    return gt;
}

struct Read : kvtest::SideRead {
    Read() : SideRead(DATUM_NONE) {}
};

void ReadGeoTiff(const std::string& path, Read& r) {
    r.ok = KVProjGetGeoTIFF(path.c_str(), &r.proj, &r.datum, &r.params, &r.georef, &r.flags);
}

class ToolExport : public ::testing::Test {
protected:
    void SetUp() override {
        TIFFSetWarningHandler(nullptr);
        TIFFSetErrorHandler(nullptr);
    }
    kvtest::TempDir dir{"export"};
};

const char kNorthUp[] = "--utm 33N --datum WGS84 --coeff 10,0,500005,0,-10,4649995";

// ---------------------------------------------------------------- copies keep the pixels

TEST_F(ToolExport, CopyKeepsEveryImageAndPixel) {
    struct Case {
        const char* name;
        std::vector<ImageSpec> images;
    } const cases[] = {
        {"strips", {{40, 30, false, COMPRESSION_NONE}}},
        {"tiles", {{40, 30, true, COMPRESSION_NONE}}},
        {"deflate tiles", {{48, 32, true, COMPRESSION_ADOBE_DEFLATE}}},
        {"jpeg strips", {{32, 24, false, COMPRESSION_JPEG}}},
        {"three images",
         {{40, 30, false, COMPRESSION_NONE},
          {20, 15, true, COMPRESSION_LZW},
          {10, 8, false, COMPRESSION_PACKBITS}}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        const std::string in = dir / "in.tif", out = dir / "out.tif";
        ASSERT_TRUE(WriteTiff(in, c.images));
        const std::string before = kvtest::ReadFile(in);
        const std::vector<std::vector<uint8_t>> pixels = DecodeAll(in);
        ASSERT_EQ(pixels.size(), c.images.size());

        const kvtest::ToolRun r =
            kvtest::RunTool(std::string("export --format geotiff ") + kNorthUp + " --image " +
                            Quote(in) + " --out " + Quote(out));
        ASSERT_EQ(r.status, 0) << r.err;
        EXPECT_EQ(r.out, "wrote " + out + "\n");
        EXPECT_EQ(kvtest::ReadFile(in), before) << "the source must stay as it was";
        EXPECT_EQ(DecodeAll(out), pixels);

        Read read;
        ReadGeoTiff(out, read);
        ASSERT_TRUE(read.ok);
        EXPECT_EQ(read.flags, unsigned(GEOPARAM_FILE_FOUND | GEOPARAM_PROJECTION | GEOPARAM_DATUM |
                                       GEOPARAM_COEFFICIENTS));
        EXPECT_EQ(read.proj.Type, PT_UTM);
        EXPECT_EQ(read.georef.C, 500005.0);
        EXPECT_EQ(read.georef.E, -10.0);
        EXPECT_FALSE(dir.Exists("out.tif.kvtmp"));
    }
}

// The in-place form rewrites the image itself: the same file as the copy.
TEST_F(ToolExport, InPlaceEqualsCopy) {
    const std::string in = dir / "in.tif", copy = dir / "copy.tif", map = dir / "map.tif";
    ASSERT_TRUE(WriteTiff(in, {{40, 30, true, COMPRESSION_LZW}}));
    ASSERT_TRUE(WriteTiff(map, {{40, 30, true, COMPRESSION_LZW}}));
    const std::string args = std::string("export --format geotiff ") + kNorthUp + " ";
    ASSERT_EQ(kvtest::RunTool(args + "--image " + Quote(in) + " --out " + Quote(copy)).status, 0);
    const kvtest::ToolRun r = kvtest::RunTool(args + Quote(map));
    ASSERT_EQ(r.status, 0) << r.err;
    EXPECT_EQ(r.out, "wrote " + map + "\n");
    EXPECT_EQ(kvtest::ReadFile(map), kvtest::ReadFile(copy));
    EXPECT_EQ(DecodeAll(map), DecodeAll(in));
}

// ---------------------------------------------------------------- tags as readers take them

TEST_F(ToolExport, TagsReadBackAlikeEverywhere) {
    struct Case {
        const char* name;
        std::string georef;
        std::array<double, 6> coefficients; // A..F read back by the library
        std::vector<double> scale;          // ModelPixelScaleTag; listgeo 1.7.1
        std::array<double, 6> gdal;         // gdalinfo -json geoTransform, GDAL 3.6.2
        size_t tiepoints;                   // ModelTiepointTag points
    } const cases[] = {
        // gdalinfo: Origin = (500000, 4650000), Pixel Size = (10, -10), AREA_OR_POINT=Point;
        // listgeo: "ModelPixelScaleTag (1,3): 10 10 0", "RasterPixelIsPoint".
        {"north-up",
         "--coeff 10,0,500005,0,-10,4649995",
         {10, 0, 500005, 0, -10, 4649995},
         {10, 10, 0},
         {500000, 10, 0, 4650000, 0, -10},
         1},
        // gdalinfo: GeoTransform = 499999, 10, 2 / 4649999.5, 1, -10; listgeo shows the
        // ModelTransformationTag rows 10 2 0 500005 / 1 -10 0 4649995.
        {"rotated",
         "--coeff 10,2,500005,1,-10,4649995",
         {10, 2, 500005, 1, -10, 4649995},
         {},
         {499999, 10, 2, 4649999.5, 1, -10},
         0},
        // Three tiepoints and no scale: gdalinfo -json has no geoTransform and lists
        // the GCPs (0.5, 0.5) (40.5, 0.5) (0.5, 30.5): pixel centres as corners. With
        // the builder's scale beside them it took the first tiepoint and the scale as
        // a north-up georeference and dropped the others.
        {"controls",
         "--control 0,0,500000,4650000 --control 40,0,500400,4650000 "
         "--control 0,30,500000,4649700",
         {0, 0, 0, 0, 0, 0},
         {},
         {0, 0, 0, 0, 0, 0},
         3},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        const std::string in = dir / "in.tif", out = dir / "out.tif";
        ASSERT_TRUE(WriteTiff(in, {{40, 30, false, COMPRESSION_NONE}}));
        const kvtest::ToolRun r = kvtest::RunTool("export --format geotiff --utm 33N " + c.georef +
                                                  " --image " + Quote(in) + " --out " + Quote(out));
        ASSERT_EQ(r.status, 0) << r.err;
        EXPECT_EQ(r.err, "");
        EXPECT_EQ(KeyValue(out, 1025), 2) << "RasterPixelIsPoint";
        EXPECT_EQ(TagDoubles(out, KVTAG_MODEL_PIXEL_SCALE), c.scale);
        EXPECT_EQ(TagDoubles(out, KVTAG_MODEL_TIEPOINT).size(), 6 * c.tiepoints);
        const std::array<double, 6> gt = GdalGeoTransform(out);
        for (int i = 0; i < 6; ++i)
            EXPECT_DOUBLE_EQ(gt[i], c.gdal[i]) << "geotransform " << i;

        Read read;
        ReadGeoTiff(out, read);
        ASSERT_TRUE(read.ok);
        const GEOREF& g = read.georef;
        if (read.flags & GEOPARAM_CONTROLS) {
            ASSERT_EQ(g.nControls, 3);
            EXPECT_EQ(g.pDest[1].x, 500400.0);
            EXPECT_EQ(g.pDest[2].y, 4649700.0);
            continue;
        }
        const std::array<double, 6> back = {g.A, g.B, g.C, g.D, g.E, g.F};
        EXPECT_EQ(back, c.coefficients);
    }
}

// The library keeps the rotated matrix at 33920 and reads its m5 back as -E:
// that copy holds -E, the published 34264 holds E.
TEST_F(ToolExport, MatrixUnderBothNumbers) {
    const std::string in = dir / "in.tif", out = dir / "out.tif";
    ASSERT_TRUE(WriteTiff(in, {{8, 8, false, COMPRESSION_NONE}}));
    ASSERT_EQ(kvtest::RunTool("export --format geotiff --utm 33N --coeff 10,2,500005,1,-10,4649995"
                              " --image " +
                              Quote(in) + " --out " + Quote(out))
                  .status,
              0);
    const std::vector<double> kept = TagDoubles(out, KVTAG_MATRIX);
    const std::vector<double> published = TagDoubles(out, KVTAG_MODEL_TRANSFORMATION);
    ASSERT_EQ(kept.size(), 16u);
    ASSERT_EQ(published.size(), 16u);
    EXPECT_EQ(kept[5], 10.0);
    EXPECT_EQ(published[5], -10.0);
    for (int i : {0, 1, 3, 4, 7, 15})
        EXPECT_EQ(kept[i], published[i]) << i;
}

// A sparse file (GDAL writes one with SPARSE_OK) leaves chunks out: the copy
// leaves the same chunks out; a file of absent chunks only cannot be written
// by libtiff and is refused.
bool WriteSparse(const std::string& path, const std::vector<uint32_t>& present) {
    TIFF* tif = TIFFOpen(path.c_str(), "w");
    if (!tif) return false;
    TIFFSetField(tif, TIFFTAG_IMAGEWIDTH, 32u);
    TIFFSetField(tif, TIFFTAG_IMAGELENGTH, 32u);
    TIFFSetField(tif, TIFFTAG_BITSPERSAMPLE, 8);
    TIFFSetField(tif, TIFFTAG_SAMPLESPERPIXEL, 1);
    TIFFSetField(tif, TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_MINISBLACK);
    TIFFSetField(tif, TIFFTAG_TILEWIDTH, 16u);
    TIFFSetField(tif, TIFFTAG_TILELENGTH, 16u);
    std::vector<uint8_t> tile(256, 7);
    bool ok = true;
    for (uint32_t t : present)
        ok = ok && TIFFWriteEncodedTile(tif, t, tile.data(), 256) == 256;
    ok = TIFFWriteDirectory(tif) && ok;
    TIFFClose(tif);
    return ok;
}

std::vector<uint64_t> TileByteCounts(const std::string& path) {
    TIFF* tif = TIFFOpen(path.c_str(), "r");
    if (!tif) return {};
    uint64_t* counts = nullptr;
    std::vector<uint64_t> v;
    if (TIFFGetField(tif, TIFFTAG_TILEBYTECOUNTS, &counts) && counts)
        v.assign(counts, counts + TIFFNumberOfTiles(tif));
    TIFFClose(tif);
    return v;
}

// Keys without a model type get the geographic one: GDAL 3.6 gdalinfo then reads
// GEOGCRS["North American Datum 1927", ... ID["EPSG",6267]] (an engineering CRS
// "unnamed" without it); a projected system keeps its own, and the library's
// reader takes neither to a projection or a datum.
TEST_F(ToolExport, GeographicModelTypeWhereNoneIsGiven) {
    struct {
        const char* what;
        std::string args;
        int modelType;
        unsigned flags; // the library's reader
    } const cases[] = {
        {"unprojected", "--proj proj=latlong --datum NAD27", 2, GEOPARAM_COEFFICIENTS | GEOPARAM_FILE_FOUND},
        {"datum only", "--datum NAD27", 2, GEOPARAM_COEFFICIENTS | GEOPARAM_FILE_FOUND},
        {"projected", "--utm 33N --datum WGS84", 1,
         GEOPARAM_PROJECTION | GEOPARAM_DATUM | GEOPARAM_COEFFICIENTS | GEOPARAM_FILE_FOUND},
    };
    const std::string in = dir / "in.tif", out = dir / "out.tif";
    ASSERT_TRUE(WriteTiff(in, {{8, 8, false, COMPRESSION_NONE}}));
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        const kvtest::ToolRun r = kvtest::RunTool("export --format geotiff " + c.args +
                                                  " --coeff 0.5,0,-120,0,-0.5,50 --image " +
                                                  Quote(in) + " --out " + Quote(out));
        ASSERT_EQ(r.status, 0) << r.err;
        EXPECT_EQ(KeyValue(out, 1024), c.modelType);
        EXPECT_EQ(KeyValue(out, 1025), 2) << "RasterPixelIsPoint";
        KVBitmapTag dir;
        ASSERT_TRUE(KVBitLib().GetTagData(out.c_str(), KVTAG_GEO_KEY_DIRECTORY, dir, 1));
        const uint16_t* k = static_cast<const uint16_t*>(dir.GetDataPtr());
        EXPECT_EQ(k[3] * 4u + 4u, dir.GetItemCount()) << "the header counts the entries";
        for (unsigned long i = 8; i + 4 <= dir.GetItemCount(); i += 4)
            EXPECT_LT(k[i - 4], k[i]) << "key ids in ascending order";
        Read read;
        ReadGeoTiff(out, read);
        ASSERT_TRUE(read.ok);
        EXPECT_EQ(read.flags, c.flags);
    }
}

TEST_F(ToolExport, SparseTiles) {
    const std::string half = dir / "half.tif", none = dir / "none.tif", out = dir / "out.tif";
    ASSERT_TRUE(WriteSparse(half, {0, 3}));
    ASSERT_EQ(TileByteCounts(half), (std::vector<uint64_t>{256, 0, 0, 256}));
    const std::string geo =
        std::string("export --format geotiff ") + kNorthUp + " --out " + Quote(out) + " --image ";
    kvtest::ToolRun r = kvtest::RunTool(geo + Quote(half));
    ASSERT_EQ(r.status, 0) << r.err;
    EXPECT_EQ(TileByteCounts(out), TileByteCounts(half));
    dir.Write("out.tif", "");
    ASSERT_TRUE(WriteSparse(none, {}));
    r = kvtest::RunTool(geo + Quote(none));
    EXPECT_EQ(r.status, 1);
    EXPECT_EQ(kvtest::ReadFile(out), "") << "a refused copy leaves the target alone";
}

TEST_F(ToolExport, WarnsOfTheHalfPixel) {
    // Tags built by the library itself: RasterPixelIsArea, and with E = +10 the
    // pixel scale (10, 10, 0) that GDAL writes for a north-up image.
    GEOREF g{};
    g.Method = TM_PRECALCULATED;
    g.A = 10, g.E = 10, g.C = 500000, g.F = 4650000;
    PROJDATA utm;
    std::string error;
    ASSERT_TRUE(kvtool::UtmRecord("33N", &utm, &error)) << error;
    KVBitmapTagList tags;
    ASSERT_TRUE(KVProjBuildGeoTIFFTags(tags, &utm, DATUM_NONE, nullptr, &g));
    const std::string area = dir / "area.tif", point = dir / "point.tif";
    ASSERT_TRUE(KVBitLib().WriteNewWithTags(area.c_str(), 4, 3, tags));
    ASSERT_EQ(KeyValue(area, 1025), 1);
    // GDAL 3.6.2 gdalinfo area.tif: Origin = (500000, 4650000), the corner; the
    // first pixel's centre is half a pixel in, at 500005 4649995.
    kvtest::ToolRun r = kvtest::RunTool("export --format world --from " + Quote(area) + " " +
                                        Quote(dir / "area.tif"));
    EXPECT_EQ(r.status, 0) << r.err;
    EXPECT_TRUE(kvtest::Contains(r.err, "ties the corner of its first pixel (RasterPixelIsArea)"))
        << r.err;
    EXPECT_TRUE(kvtest::Contains(r.err, "C=500000 F=4650000")) << r.err;
    EXPECT_TRUE(kvtest::Contains(r.err, "at 500005 4649995")) << r.err;
    ASSERT_EQ(r.out.rfind("wrote ", 0), 0u) << r.out;
    const std::string world = kvtest::ReadFile(r.out.substr(6, r.out.size() - 7));
    EXPECT_TRUE(kvtest::Contains(world, "\n500000\n4650000")) << "what was read is written\n"
                                                              << world;
    // A copy written by the tool says RasterPixelIsPoint: nothing to warn of.
    ASSERT_EQ(kvtest::RunTool("export --format geotiff --from " + Quote(area) + " --image " +
                              Quote(area) + " --out " + Quote(point))
                  .status,
              0);
    r = kvtest::RunTool("export --format kvr --from " + Quote(point) + " " + Quote(point));
    EXPECT_EQ(r.status, 0) << r.err;
    EXPECT_FALSE(kvtest::Contains(r.err, "RasterPixelIsArea")) << r.err;
    // The reference file's own loss is said instead.
    EXPECT_TRUE(kvtest::Contains(r.err, "B to F are not kept")) << r.err;
}

// ---------------------------------------------------------------- refusals

TEST_F(ToolExport, Refusals) {
    const std::string in = dir / "in.tif", text = dir / "notes.tif", out = dir / "out.tif";
    ASSERT_TRUE(WriteTiff(in, {{8, 8, false, COMPRESSION_NONE}}));
    dir.Write("notes.tif", "not an image\n");
    const std::string geo = std::string("export --format geotiff ") + kNorthUp;
    struct Case {
        std::string args;
        int status;
        std::string message;
    } const cases[] = {
        {geo + " --image " + Quote(in), 2, "--image and --out go together"},
        {geo + " --out " + Quote(out), 2, "--image and --out go together"},
        {"export --format world --coeff 1,0,0,0,-1,0 --image " + Quote(in) + " --out " + Quote(out),
         2, "give --format geotiff"},
        {geo + " --image " + Quote(in) + " --out " + Quote(out) + " " + Quote(in), 2,
         "give the image with --image and --out only"},
        {geo, 2, "give the name to write"},
        {geo + " --image " + Quote(text) + " --out " + Quote(out), 1,
         "cannot write " + out + " (is " + text + " a TIFF image?)"},
        {geo + " --image " + Quote(dir / "absent.tif") + " --out " + Quote(out), 1,
         "cannot write " + out},
        {geo + " --image " + Quote(dir.Path()) + " --out " + Quote(out), 1, "cannot write " + out},
        // Found by fuzzing: a huge Scale overflows to unmarked infinities.
        {"export --format geotiff --proj 'type=merc scale=1e300' --image " + Quote(in) + " --out " +
             Quote(out),
         2, "Scale must be 0 (none) or lie between 1e-9 and 1e9 in magnitude"},
    };
    for (const Case& c : cases) {
        const kvtest::ToolRun r = kvtest::RunTool(c.args);
        EXPECT_EQ(r.status, c.status) << c.args << "\n" << r.err;
        EXPECT_TRUE(kvtest::Contains(r.err, c.message)) << c.args << "\n" << r.err;
        EXPECT_FALSE(dir.Exists("out.tif")) << c.args;
    }
}

} // namespace
