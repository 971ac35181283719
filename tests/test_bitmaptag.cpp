// TIFF tag access of the companion library: tags and tag lists, reading tags
// of GDAL-made files, writing tags into new and copied images, hostile files.
#include "TestSupport.h"
#include "kvlibw/bitmaptag.h"

#include <gtest/gtest.h>

#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <string>
#include <vector>

namespace {

const std::string kDir = KVPROJ_TEST_DATA_DIR "/geotiff/";

TEST(BitmapTag, TypesSizesAndBounds) {
    struct {
        int type;
        size_t itemSize;
    } const rows[] = {{KVTAG_TEXT, 1}, {KVTAG_SHORT, 2}, {KVTAG_DOUBLE, 8}, {0, 0}, {3, 0}, {11, 0}, {-1, 0}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.type);
        EXPECT_EQ(KVBitmapTag::ItemSize(row.type), row.itemSize);
        const KVBitmapTag tag(row.type, 3);
        EXPECT_EQ(tag.IsEmpty(), row.itemSize == 0);
        EXPECT_EQ(tag.GetSize(), 3 * row.itemSize);
        EXPECT_EQ(tag.GetType(), row.itemSize ? row.type : 0);
    }
    EXPECT_TRUE(KVBitmapTag(KVTAG_DOUBLE, 0).IsEmpty());
    EXPECT_TRUE(KVBitmapTag(KVTAG_DOUBLE, kKVMaxTagBytes / 8 + 1).IsEmpty());
    EXPECT_TRUE(KVBitmapTag(KVTAG_DOUBLE, ~0ul).IsEmpty());
    EXPECT_FALSE(KVBitmapTag(KVTAG_TEXT, kKVMaxTagBytes).IsEmpty());
    KVBitmapTag tag;
    EXPECT_FALSE(tag.Assign(KVTAG_DOUBLE, 2, nullptr));
    const double values[] = {1.5, -2};
    ASSERT_TRUE(tag.Assign(KVTAG_DOUBLE, 2, values));
    EXPECT_EQ(std::memcmp(tag.GetDataPtr(), values, sizeof values), 0);
}

TEST(BitmapTagList, MergeReplacesByNumber) {
    const uint16_t one = 1, two[] = {2, 3};
    KVBitmapTag a, b;
    ASSERT_TRUE(a.Assign(KVTAG_SHORT, 1, &one));
    ASSERT_TRUE(b.Assign(KVTAG_SHORT, 2, two));
    KVBitmapTagList list;
    EXPECT_TRUE(list.Merge(34735, a));
    EXPECT_TRUE(list.Merge(33550, a));
    EXPECT_TRUE(list.Merge(34735, b));
    EXPECT_EQ(list.GetCount(), 2u);
    EXPECT_EQ(list.Find(34735)->GetItemCount(), 2u);
    EXPECT_EQ(list.Tags().begin()->first, 33550u);
    for (unsigned bad : {0u, 65536u})
        EXPECT_FALSE(list.Merge(bad, a));
    EXPECT_FALSE(list.Merge(1, KVBitmapTag()));
    EXPECT_TRUE(list.Remove(33550));
    EXPECT_FALSE(list.Remove(33550));
    list.RemoveAll();
    EXPECT_EQ(list.GetCount(), 0u);
    EXPECT_EQ(list.Find(34735), nullptr);
}

std::vector<double> Doubles(const KVBitmapTag& tag) {
    const double* d = static_cast<const double*>(tag.GetDataPtr());
    return std::vector<double>(d, d + tag.GetItemCount());
}

// Tags of utm32633.tif as GDAL 3.6 wrote them (listgeo shows the same values).
TEST(BitLib, ReadsTheGeoTiffTagsOfAGdalFile) {
    const std::string file = kDir + "utm32633.tif";
    KVBitLib lib;
    KVBitmapTag tag;
    ASSERT_EQ(lib.GetTagData(file.c_str(), KVTAG_MODEL_PIXEL_SCALE, tag, 1), 1);
    EXPECT_EQ(tag.GetType(), KVTAG_DOUBLE);
    EXPECT_EQ(Doubles(tag), (std::vector<double>{30, 30, 0}));
    ASSERT_EQ(lib.GetTagData(file.c_str(), KVTAG_MODEL_TIEPOINT, tag, 1), 1);
    EXPECT_EQ(Doubles(tag), (std::vector<double>{0, 0, 0, 500000, 4000000, 0}));
    ASSERT_EQ(lib.GetTagData(file.c_str(), KVTAG_GEO_KEY_DIRECTORY, tag, 1), 1);
    EXPECT_EQ(tag.GetType(), KVTAG_SHORT);
    const uint16_t* keys = static_cast<const uint16_t*>(tag.GetDataPtr());
    EXPECT_EQ(tag.GetItemCount(), 4u + 4u * keys[3]);
    EXPECT_EQ(keys[0], 1);
    ASSERT_EQ(lib.GetTagData(file.c_str(), KVTAG_GEO_ASCII_PARAMS, tag, 1), 1);
    EXPECT_EQ(tag.GetType(), KVTAG_TEXT);
    EXPECT_STREQ(static_cast<const char*>(tag.GetDataPtr()), "WGS 84 / UTM zone 33N|WGS 84|");
    EXPECT_EQ(tag.GetItemCount(), std::strlen("WGS 84 / UTM zone 33N|WGS 84|") + 1);
}

TEST(BitLib, RefusesWhatItCannotHandOut) {
    const std::string file = kDir + "utm32633.tif";
    struct {
        const char* what;
        const char* name;
        unsigned number;
        int image;
    } const rows[] = {
        {"absent tag", file.c_str(), KVTAG_MATRIX, 1},
        {"image width: a fixed-count integer", file.c_str(), 256, 1},
        {"second image of a one-image file", file.c_str(), KVTAG_MODEL_PIXEL_SCALE, 2},
        {"image 0", file.c_str(), KVTAG_MODEL_PIXEL_SCALE, 0},
        {"tag 0", file.c_str(), 0, 1},
        {"tag 65536", file.c_str(), 65536, 1},
        {"null name", nullptr, KVTAG_MODEL_PIXEL_SCALE, 1},
        {"a directory", KVPROJ_TEST_DATA_DIR, KVTAG_MODEL_PIXEL_SCALE, 1},
        {"no such file", "/nonexistent/x.tif", KVTAG_MODEL_PIXEL_SCALE, 1},
    };
    KVBitLib lib;
    for (const auto& row : rows) {
        SCOPED_TRACE(row.what);
        KVBitmapTag tag(KVTAG_SHORT, 2);
        EXPECT_EQ(lib.GetTagData(row.name, row.number, tag, row.image), 0);
        EXPECT_TRUE(tag.IsEmpty()); // the tag is emptied first
    }
}

KVBitmapTagList SampleTags() {
    KVBitmapTagList tags;
    const double scale[] = {10, 20, 0};
    const uint16_t keys[] = {1, 1, 0, 1, 1024, 0, 1, 1};
    const char text[] = "made here|";
    const double anonymous[] = {1, 2, 3, 4};
    KVBitmapTag t;
    t.Assign(KVTAG_DOUBLE, 3, scale);
    tags.Merge(KVTAG_MODEL_PIXEL_SCALE, t);
    t.Assign(KVTAG_SHORT, 8, keys);
    tags.Merge(KVTAG_GEO_KEY_DIRECTORY, t);
    t.Assign(KVTAG_TEXT, sizeof text, text);
    tags.Merge(KVTAG_GEO_ASCII_PARAMS, t);
    t.Assign(KVTAG_DOUBLE, 4, anonymous);
    tags.Merge(65000, t); // unknown to libtiff: registered on the fly
    return tags;
}

void ExpectTagsIn(const std::string& path, const KVBitmapTagList& tags) {
    KVBitLib lib;
    for (const auto& [number, want] : tags.Tags()) {
        SCOPED_TRACE(number);
        KVBitmapTag got;
        ASSERT_EQ(lib.GetTagData(path.c_str(), number, got, 1), 1);
        EXPECT_EQ(got.GetType(), want.GetType());
        ASSERT_EQ(got.GetItemCount(), want.GetItemCount());
        EXPECT_EQ(std::memcmp(got.GetDataPtr(), want.GetDataPtr(), want.GetSize()), 0);
    }
}

TEST(BitLib, WritesANewImageWithTags) {
    const std::string path = kvtest::TempPath("new.tif");
    const KVBitmapTagList tags = SampleTags();
    ASSERT_TRUE(KVBitLib().WriteNewWithTags(path.c_str(), 3, 2, tags));
    ExpectTagsIn(path, tags);
    std::remove(path.c_str());
}

TEST(BitLib, CopiesPixelsAndDropsOldGeoreference) {
    const std::string path = kvtest::TempPath("copy.tif");
    const KVBitmapTagList tags = SampleTags();
    ASSERT_TRUE(KVBitLib().WriteCopyWithTags((kDir + "pixels.tif").c_str(), path.c_str(), tags));
    ExpectTagsIn(path, tags);
    EXPECT_TRUE(kvtest::Contains(kvtest::ReadFile(path), "ABCD")); // the uncompressed strip
    // Copying a georeferenced image with no tags leaves none of its own.
    ASSERT_TRUE(KVBitLib().WriteCopyWithTags((kDir + "utm32633.tif").c_str(), path.c_str(), KVBitmapTagList()));
    KVBitmapTag tag;
    EXPECT_EQ(KVBitLib().GetTagData(path.c_str(), KVTAG_GEO_KEY_DIRECTORY, tag, 1), 0);
    EXPECT_EQ(KVBitLib().GetTagData(path.c_str(), KVTAG_MODEL_TIEPOINT, tag, 1), 0);
    std::remove(path.c_str());
}

TEST(BitLib, FailedWritesLeaveNothingBehind) {
    const std::string path = kvtest::TempPath("failed.tif");
    KVBitmapTagList standard;
    const uint16_t width = 7;
    KVBitmapTag t;
    t.Assign(KVTAG_SHORT, 1, &width);
    standard.Merge(256, t); // image width is not ours to set
    struct {
        const char* what;
        bool ok;
    } const rows[] = {
        {"a standard tag in the list", KVBitLib().WriteNewWithTags(path.c_str(), 1, 1, standard)},
        {"zero width", KVBitLib().WriteNewWithTags(path.c_str(), 0, 1, SampleTags())},
        {"too large", KVBitLib().WriteNewWithTags(path.c_str(), 65535, 65535, SampleTags())},
        {"source not a TIFF", KVBitLib().WriteCopyWithTags((kDir + "make_fixtures.sh").c_str(), path.c_str(),
                                                            SampleTags())},
        {"source a directory", KVBitLib().WriteCopyWithTags(kDir.c_str(), path.c_str(), SampleTags())},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.what);
        EXPECT_FALSE(row.ok);
    }
    struct stat st;
    EXPECT_NE(::stat(path.c_str(), &st), 0);
    EXPECT_NE(::stat((path + ".kvtmp").c_str(), &st), 0);
    EXPECT_FALSE(KVBitLib().WriteNewWithTags("/nonexistent/dir/x.tif", 1, 1, SampleTags()));
}

std::vector<std::string>& Messages() {
    static std::vector<std::string> messages;
    return messages;
}

void Record(bool isError, const char* text) { Messages().push_back(std::string(isError ? "E " : "W ") + text); }

// A tag claiming 2^30 doubles in a 40-byte file.
std::string HugeCountTiff() {
    std::string f("II*\0\x08\0\0\0", 8);
    auto put16 = [&](uint16_t v) { f.append(reinterpret_cast<const char*>(&v), 2); };
    auto put32 = [&](uint32_t v) { f.append(reinterpret_cast<const char*>(&v), 4); };
    put16(1);
    put16(33550), put16(12), put32(1u << 30), put32(8);
    put32(0);
    return f;
}

TEST(BitLib, HostileFilesReportToTheSink) {
    KVBitLib::SetMessageSink(Record);
    Messages().clear();
    const std::string path = kvtest::TempPath("hostile.tif");
    for (const std::string& bytes : {std::string("plain text, not a TIFF\n"), HugeCountTiff()}) {
        std::ofstream(path, std::ios::binary) << bytes;
        KVBitmapTag tag;
        const auto start = std::chrono::steady_clock::now();
        EXPECT_EQ(KVBitLib().GetTagData(path.c_str(), KVTAG_MODEL_PIXEL_SCALE, tag, 1), 0);
        EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(2));
    }
    KVBitLib::SetMessageSink(nullptr);
    std::remove(path.c_str());
    ASSERT_FALSE(Messages().empty());
    EXPECT_EQ(Messages().front().substr(0, 2), "E ");
}

} // namespace
