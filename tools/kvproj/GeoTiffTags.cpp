// GeoTIFF tags as the tool writes them; see GeoTiffTags.h.
#include "GeoTiffTags.h"

#include <cstdint>
#include <vector>

namespace kvtool {
namespace {

constexpr uint16_t kModelTypeKey = 1024;
constexpr uint16_t kModelTypeGeographic = 2;
constexpr uint16_t kRasterTypeKey = 1025;
constexpr uint16_t kPixelIsPoint = 2;

// The values of a tag of doubles, or empty when it is absent or not doubles.
std::vector<double> Doubles(const KVBitmapTagList& tags, unsigned number) {
    const KVBitmapTag* tag = tags.Find(number);
    if (!tag || tag->GetType() != KVTAG_DOUBLE) return {};
    const double* v = static_cast<const double*>(tag->GetDataPtr());
    return std::vector<double>(v, v + tag->GetItemCount());
}

bool MergeDoubles(KVBitmapTagList& tags, unsigned number, const std::vector<double>& v) {
    KVBitmapTag tag;
    return tag.Assign(KVTAG_DOUBLE, static_cast<unsigned long>(v.size()), v.data()) &&
           tags.Merge(number, tag);
}

// The key directory with the raster type set to PixelIsPoint and, when no
// model type is given (an unprojected system or a datum alone), the
// geographic model type; false when the directory holds no raster type key
// stored in the directory itself.
bool PortableDirectory(const KVBitmapTagList& tags, KVBitmapTag* out) {
    const KVBitmapTag* dir = tags.Find(KVTAG_GEO_KEY_DIRECTORY);
    if (!dir || dir->GetType() != KVTAG_SHORT) return false;
    std::vector<uint16_t> keys(static_cast<const uint16_t*>(dir->GetDataPtr()),
                               static_cast<const uint16_t*>(dir->GetDataPtr()) +
                                   dir->GetItemCount());
    // A header of four shorts, then entries of four: id, location, count, value.
    bool raster = false, model = false;
    for (size_t i = 4; i + 4 <= keys.size(); i += 4) {
        model = model || keys[i] == kModelTypeKey;
        if (keys[i] != kRasterTypeKey || keys[i + 1] != 0) continue;
        keys[i + 3] = kPixelIsPoint;
        raster = true;
    }
    if (!raster || keys.size() < 4) return false;
    if (!model) { // the lowest key id: first after the header, keeping the ids sorted
        const uint16_t entry[] = {kModelTypeKey, 0, 1, kModelTypeGeographic};
        keys.insert(keys.begin() + 4, entry, entry + 4);
        ++keys[3];
    }
    return out->Assign(KVTAG_SHORT, static_cast<unsigned long>(keys.size()), keys.data());
}

} // namespace

bool MakeGeoTiffTagsPortable(KVBitmapTagList& tags) {
    KVBitmapTagList result = tags;
    std::vector<double> scale = Doubles(tags, KVTAG_MODEL_PIXEL_SCALE);
    const size_t tiepoints = Doubles(tags, KVTAG_MODEL_TIEPOINT).size() / 6;
    // One tiepoint and a scale: the north-up form (control points give several).
    if (scale.size() == 3 && tiepoints == 1) {
        scale[1] = -scale[1];
        if (!MergeDoubles(result, KVTAG_MODEL_PIXEL_SCALE, scale)) return false;
    }
    if (tiepoints > 1) result.Remove(KVTAG_MODEL_PIXEL_SCALE); // see the header
    std::vector<double> matrix = Doubles(tags, KVTAG_MATRIX);
    if (matrix.size() == 16) {
        if (!MergeDoubles(result, KVTAG_MODEL_TRANSFORMATION, matrix)) return false;
        matrix[5] = -matrix[5];
        if (!MergeDoubles(result, KVTAG_MATRIX, matrix)) return false;
    }
    KVBitmapTag directory;
    if (tags.Find(KVTAG_GEO_KEY_DIRECTORY) &&
        (!PortableDirectory(tags, &directory) || !result.Merge(KVTAG_GEO_KEY_DIRECTORY, directory)))
        return false;
    tags = result;
    return true;
}

int GeoTiffRasterType(const std::string& path) {
    KVBitmapTag dir;
    if (!KVBitLib().GetTagData(path.c_str(), KVTAG_GEO_KEY_DIRECTORY, dir, 1) ||
        dir.GetType() != KVTAG_SHORT)
        return 0;
    const uint16_t* keys = static_cast<const uint16_t*>(dir.GetDataPtr());
    for (unsigned long i = 4; i + 4 <= dir.GetItemCount(); i += 4)
        if (keys[i] == kRasterTypeKey && keys[i + 1] == 0)
            return keys[i + 3] == kPixelIsPoint ? 2 : 1;
    return 1;
}

} // namespace kvtool
