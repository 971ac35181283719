// libFuzzer target: the GeoTIFF key directory and georeference tag reading on
// arbitrary tag contents (handed over directly, not through libtiff's parser),
// then the tag building on whatever was read, read back once more.
#include "formats/GeoKeys.h"
#include "kvproj/kvproj.h"

#include <cstddef>
#include <cstdint>
#include <cstring>

using namespace KVProj;

namespace {

// Tags the input may fill, with the item type each is given.
struct FuzzTag {
    unsigned number;
    int type;
};
constexpr FuzzTag kTags[] = {
    {KVTAG_GEO_KEY_DIRECTORY, KVTAG_SHORT}, {KVTAG_GEO_DOUBLE_PARAMS, KVTAG_DOUBLE},
    {KVTAG_MODEL_PIXEL_SCALE, KVTAG_DOUBLE}, {KVTAG_MODEL_TIEPOINT, KVTAG_DOUBLE},
    {KVTAG_MATRIX, KVTAG_DOUBLE},           {KVTAG_GEO_KEY_DIRECTORY, KVTAG_DOUBLE},
    {KVTAG_MODEL_TIEPOINT, KVTAG_SHORT},
};

// Splits the input into tags: a selector byte, a 16-bit byte length, the bytes.
KVBitmapTagList tagsFrom(const uint8_t* data, size_t size) {
    KVBitmapTagList tags;
    while (size >= 3) {
        const FuzzTag& which = kTags[data[0] % (sizeof kTags / sizeof kTags[0])];
        size_t length = data[1] | (size_t(data[2]) << 8);
        data += 3, size -= 3;
        if (length > size) length = size;
        const size_t items = length / KVBitmapTag::ItemSize(which.type);
        KVBitmapTag tag(which.type, items);
        if (!tag.IsEmpty()) {
            std::memcpy(tag.GetDataPtr(), data, tag.GetSize());
            tags.Merge(which.number, tag);
        }
        data += length, size -= length;
    }
    return tags;
}

void readTags(const KVBitmapTagList& tags, PROJDATA& proj, DatumType& datum, DATUM2WGS84& params,
              GEOREF& georef, unsigned& flags) {
    ListTagSource source(tags);
    proj = PROJDATA{};
    proj.Scale = 1.0;
    datum = DATUM_NONE;
    params = DATUM2WGS84{};
    georef = GEOREF{};
    flags = 0;
    if (!GetGeoTIFF(source, &proj, &datum, &params, &georef, &flags)) __builtin_trap();
    if (georef.nControls < 0 || (georef.nControls > 0) != (georef.pSrc != nullptr)) __builtin_trap();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    PROJDATA proj;
    DatumType datum;
    DATUM2WGS84 params;
    GEOREF georef;
    unsigned flags;
    readTags(tagsFrom(data, size), proj, datum, params, georef, flags);

    KVBitmapTagList built;
    KVProjBuildGeoTIFFTags(built, &proj, datum, &params, &georef);
    RefFreeControls(&georef);
    readTags(built, proj, datum, params, georef, flags);
    RefFreeControls(&georef);

    if (size >= 2) {
        PROJDATA coded;
        DatumType codedDatum;
        GeoTIFFCoordSysCodeToProjectionAndDatum(data[0] | (data[1] << 8), &coded, &codedDatum, &params);
    }
    return 0;
}
