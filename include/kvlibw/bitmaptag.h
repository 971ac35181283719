// TIFF tag access of the companion library: a tag's raw contents (KVBitmapTag),
// a set of tags keyed by tag number (KVBitmapTagList), and reading and writing
// tags of TIFF files (KVBitLib). Built on libtiff; the GeoTIFF tags are known to
// it with their proper types.
#ifndef KVLIBW_BITMAPTAG_H
#define KVLIBW_BITMAPTAG_H

#include "kvlibw/kvlibw.h"

#include <cstddef>
#include <cstdint>
#include <map>
#include <vector>

// The companion's type codes of a tag's items.
enum KVBitmapTagType : int {
    KVTAG_NONE = 0,
    KVTAG_TEXT = 2,   // 8-bit characters; the item count includes the terminator
    KVTAG_SHORT = 5,  // unsigned 16-bit integers (the GeoTIFF key directory)
    KVTAG_DOUBLE = 12 // IEEE doubles
};

// Tag numbers of the georeference tags.
enum KVGeoTagNumber : unsigned {
    KVTAG_MODEL_PIXEL_SCALE = 33550,
    KVTAG_MATRIX = 33920, // the number under which the transformation matrix is kept
    KVTAG_MODEL_TIEPOINT = 33922,
    KVTAG_MODEL_TRANSFORMATION = 34264, // the published number of the matrix tag
    KVTAG_GEO_KEY_DIRECTORY = 34735,
    KVTAG_GEO_DOUBLE_PARAMS = 34736,
    KVTAG_GEO_ASCII_PARAMS = 34737,
};

// Largest tag this library creates or hands out, in bytes: a bound on what a
// hostile file can make us allocate.
constexpr size_t kKVMaxTagBytes = size_t(16) << 20;

// The contents of one tag: a type code, an item count and the items.
class KVLIBW_API KVBitmapTag {
public:
    KVBitmapTag();
    // `count` zeroed items of `type`; an unknown type or a size above
    // kKVMaxTagBytes leaves the tag empty (GetType() 0, no data).
    KVBitmapTag(int type, unsigned long count);

    int GetType() const;
    unsigned long GetItemCount() const;
    unsigned long GetSize() const; // bytes
    void* GetDataPtr();            // null for an empty tag
    const void* GetDataPtr() const;
    bool IsEmpty() const;

    // Replaces the contents by `count` items of `type` copied from `data`.
    bool Assign(int type, unsigned long count, const void* data);
    // Bytes per item of a type code; 0 for an unknown code.
    static size_t ItemSize(int type);

private:
    int m_type;
    unsigned long m_count;
    std::vector<unsigned char> m_data;
};

// Tags keyed by tag number, in ascending order.
class KVLIBW_API KVBitmapTagList {
public:
    // Stores a copy of `tag` under `number`, replacing a tag of the same number.
    // An empty tag or a number outside 1..65535 is refused.
    bool Merge(unsigned number, const KVBitmapTag& tag);
    bool Remove(unsigned number);
    void RemoveAll();
    const KVBitmapTag* Find(unsigned number) const; // null when absent
    size_t GetCount() const;
    const std::map<unsigned, KVBitmapTag>& Tags() const;

private:
    std::map<unsigned, KVBitmapTag> m_tags;
};

// Where libtiff's warnings and errors go: `isError` tells which, `text` is one
// formatted line without a line end. The default sink drops them; nothing ever
// reaches the process's standard error.
typedef void (*KVTiffMessageSink)(bool isError, const char* text);

// Reading and writing TIFF tags. Every call opens and closes its files.
class KVLIBW_API KVBitLib {
public:
    KVBitLib();
    ~KVBitLib();
    KVBitLib(const KVBitLib&) = delete;
    KVBitLib& operator=(const KVBitLib&) = delete;

    // Reads tag `number` of image `image` (1 is the first image of the file)
    // into `tag`. Returns 1 when the tag was read; 0 when the file is not a
    // readable TIFF, has no such image or tag, or the tag's items are not text,
    // unsigned 16-bit integers or doubles. The georeference tags are converted
    // by libtiff to their proper types (a pixel scale stored as floats reads
    // as doubles); other tags keep the type the file gives them.
    int GetTagData(const char* fileName, unsigned number, KVBitmapTag& tag, int image);

    // Copies the images of `source` into `target` with the tags of `tags` set
    // on the first image; georeference tags the source held are not carried over.
    // The target is written beside itself and renamed into place.
    bool WriteCopyWithTags(const char* source, const char* target, const KVBitmapTagList& tags);
    // Writes a new 8-bit grey image of width x height zero pixels with `tags`.
    bool WriteNewWithTags(const char* target, int width, int height, const KVBitmapTagList& tags);

    static void SetMessageSink(KVTiffMessageSink sink);
};

#endif
