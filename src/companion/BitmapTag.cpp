// TIFF tag access of the companion library on libtiff.
#include "kvlibw/bitmaptag.h"

#include <tiffio.h>

#include <atomic>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <mutex>
#include <string>
#include <system_error>

namespace {

// ---------------------------------------------------------------- tag types

struct TypeRow {
    int code;
    TIFFDataType tiffType;
    size_t itemSize;
};
constexpr TypeRow kTypes[] = {
    {KVTAG_TEXT, TIFF_ASCII, 1},
    {KVTAG_SHORT, TIFF_SHORT, 2},
    {KVTAG_DOUBLE, TIFF_DOUBLE, 8},
};

const TypeRow* TypeByCode(int code) {
    for (const TypeRow& row : kTypes)
        if (row.code == code) return &row;
    return nullptr;
}

const TypeRow* TypeByTiff(TIFFDataType type) {
    for (const TypeRow& row : kTypes)
        if (row.tiffType == type) return &row;
    return nullptr;
}

// ---------------------------------------------------------------- GeoTIFF fields

char kScaleName[] = "ModelPixelScaleTag";
char kMatrixName[] = "KVMatrixTag";
char kTiepointName[] = "ModelTiepointTag";
char kTransformName[] = "ModelTransformationTag";
char kKeysName[] = "GeoKeyDirectoryTag";
char kDoublesName[] = "GeoDoubleParamsTag";
char kAsciiName[] = "GeoASCIIParamsTag";

const TIFFFieldInfo kGeoFields[] = {
    {KVTAG_MODEL_PIXEL_SCALE, TIFF_VARIABLE2, TIFF_VARIABLE2, TIFF_DOUBLE, FIELD_CUSTOM, 1, 1, kScaleName},
    {KVTAG_MATRIX, TIFF_VARIABLE2, TIFF_VARIABLE2, TIFF_DOUBLE, FIELD_CUSTOM, 1, 1, kMatrixName},
    {KVTAG_MODEL_TIEPOINT, TIFF_VARIABLE2, TIFF_VARIABLE2, TIFF_DOUBLE, FIELD_CUSTOM, 1, 1, kTiepointName},
    {KVTAG_MODEL_TRANSFORMATION, TIFF_VARIABLE2, TIFF_VARIABLE2, TIFF_DOUBLE, FIELD_CUSTOM, 1, 1,
     kTransformName},
    {KVTAG_GEO_KEY_DIRECTORY, TIFF_VARIABLE2, TIFF_VARIABLE2, TIFF_SHORT, FIELD_CUSTOM, 1, 1, kKeysName},
    {KVTAG_GEO_DOUBLE_PARAMS, TIFF_VARIABLE2, TIFF_VARIABLE2, TIFF_DOUBLE, FIELD_CUSTOM, 1, 1, kDoublesName},
    {KVTAG_GEO_ASCII_PARAMS, TIFF_VARIABLE, TIFF_VARIABLE, TIFF_ASCII, FIELD_CUSTOM, 1, 0, kAsciiName},
};

TIFFExtendProc g_parentExtender = nullptr;

void GeoTagExtender(TIFF* tif) {
    TIFFMergeFieldInfo(tif, kGeoFields, sizeof kGeoFields / sizeof kGeoFields[0]);
    if (g_parentExtender) g_parentExtender(tif);
}

void RegisterGeoTags() {
    static std::once_flag once;
    std::call_once(once, [] { g_parentExtender = TIFFSetTagExtender(GeoTagExtender); });
}

// ---------------------------------------------------------------- messages

std::atomic<KVTiffMessageSink> g_sink{nullptr};

// Per-file state handed to libtiff's handlers: the errors seen while the file was open.
struct FileContext {
    int errors = 0;
};

void Deliver(bool isError, const char* module, const char* fmt, va_list ap) {
    char text[512];
    int used = std::snprintf(text, sizeof text, "%s: ", module ? module : "TIFF");
    if (used < 0 || used >= static_cast<int>(sizeof text)) used = 0;
    std::vsnprintf(text + used, sizeof text - used, fmt, ap);
    if (KVTiffMessageSink sink = g_sink.load()) sink(isError, text);
}

int OnError(TIFF*, void* user, const char* module, const char* fmt, va_list ap) {
    if (user) ++static_cast<FileContext*>(user)->errors;
    Deliver(true, module, fmt, ap);
    return 1; // handled: libtiff's process-wide handlers (standard error) never see it
}

int OnWarning(TIFF*, void*, const char* module, const char* fmt, va_list ap) {
    Deliver(false, module, fmt, ap);
    return 1;
}

// One open TIFF, closed at the end of the scope.
class TiffFile {
public:
    TiffFile(const char* name, const char* mode) {
        RegisterGeoTags();
        TIFFOpenOptions* opts = TIFFOpenOptionsAlloc();
        if (!opts) return;
        TIFFOpenOptionsSetMaxSingleMemAlloc(opts, static_cast<tmsize_t>(kKVMaxTagBytes) * 4);
        TIFFOpenOptionsSetErrorHandlerExtR(opts, OnError, &m_context);
        TIFFOpenOptionsSetWarningHandlerExtR(opts, OnWarning, &m_context);
        m_tif = TIFFOpenExt(name, mode, opts);
        TIFFOpenOptionsFree(opts);
    }
    ~TiffFile() { Close(); }
    TiffFile(const TiffFile&) = delete;
    TiffFile& operator=(const TiffFile&) = delete;
    TIFF* get() const { return m_tif; }
    explicit operator bool() const { return m_tif != nullptr; }
    int Errors() const { return m_context.errors; }
    void Close() {
        if (m_tif) TIFFClose(m_tif);
        m_tif = nullptr;
    }

private:
    FileContext m_context;
    TIFF* m_tif = nullptr;
};

bool IsRegularFile(const char* name) {
    std::error_code ec;
    return std::filesystem::is_regular_file(name, ec);
}

// ---------------------------------------------------------------- reading

int ReadTag(TIFF* tif, unsigned number, KVBitmapTag& tag) {
    const TIFFField* field = TIFFFindField(tif, number, TIFF_ANY);
    if (!field) return 0;
    const TypeRow* type = TypeByTiff(TIFFFieldDataType(field));
    if (!type) return 0;
    if (!TIFFFieldPassCount(field)) {
        // Only text is fetched without a count: a pointer to the characters.
        if (type->code != KVTAG_TEXT) return 0;
        char* text = nullptr;
        if (!TIFFGetField(tif, number, &text) || !text) return 0;
        const size_t length = strnlen(text, kKVMaxTagBytes - 1);
        return tag.Assign(KVTAG_TEXT, length + 1, text) ? 1 : 0;
    }
    void* data = nullptr;
    uint32_t count = 0;
    if (TIFFFieldReadCount(field) == TIFF_VARIABLE2) {
        if (!TIFFGetField(tif, number, &count, &data)) return 0;
    } else {
        uint16_t shortCount = 0;
        if (!TIFFGetField(tif, number, &shortCount, &data)) return 0;
        count = shortCount;
    }
    if (!data || count == 0) return 0;
    if (type->code != KVTAG_TEXT) return tag.Assign(type->code, count, data) ? 1 : 0;
    // Text with a count: keep it terminated whatever the file held.
    std::string text(static_cast<const char*>(data), count);
    text.resize(strnlen(text.c_str(), text.size()));
    return tag.Assign(KVTAG_TEXT, text.size() + 1, text.c_str()) ? 1 : 0;
}

// ---------------------------------------------------------------- writing

// Makes `number` known to the file with the tag's type when libtiff does not know it.
bool EnsureField(TIFF* tif, unsigned number, const TypeRow& type) {
    static char anonymousName[] = "KVTag";
    if (!TIFFFindField(tif, number, TIFF_ANY)) {
        const bool text = type.code == KVTAG_TEXT;
        TIFFFieldInfo info = {static_cast<ttag_t>(number),
                              static_cast<short>(text ? TIFF_VARIABLE : TIFF_VARIABLE2),
                              static_cast<short>(text ? TIFF_VARIABLE : TIFF_VARIABLE2),
                              type.tiffType,
                              FIELD_CUSTOM,
                              1,
                              static_cast<unsigned char>(text ? 0 : 1),
                              anonymousName};
        if (TIFFMergeFieldInfo(tif, &info, 1) != 0) return false;
    }
    const TIFFField* field = TIFFFindField(tif, number, TIFF_ANY);
    if (!field || TIFFFieldDataType(field) != type.tiffType) return false;
    // Standard fields with a fixed count (image width, ...) are not ours to set.
    return type.code == KVTAG_TEXT ? !TIFFFieldPassCount(field) : TIFFFieldPassCount(field) != 0;
}

bool SetTag(TIFF* tif, unsigned number, const KVBitmapTag& tag) {
    const TypeRow* type = TypeByCode(tag.GetType());
    if (!type || !EnsureField(tif, number, *type)) return false;
    if (type->code == KVTAG_TEXT) {
        std::string text(static_cast<const char*>(tag.GetDataPtr()), tag.GetItemCount());
        text.resize(strnlen(text.c_str(), text.size()));
        return TIFFSetField(tif, number, text.c_str()) == 1;
    }
    const TIFFField* field = TIFFFindField(tif, number, TIFF_ANY);
    if (TIFFFieldWriteCount(field) == TIFF_VARIABLE2)
        return TIFFSetField(tif, number, static_cast<uint32_t>(tag.GetItemCount()), tag.GetDataPtr()) == 1;
    if (tag.GetItemCount() > 65535) return false;
    return TIFFSetField(tif, number, static_cast<int>(tag.GetItemCount()), tag.GetDataPtr()) == 1;
}

bool SetTags(TIFF* tif, const KVBitmapTagList& tags) {
    for (const auto& entry : tags.Tags())
        if (!SetTag(tif, entry.first, entry.second)) return false;
    return true;
}

template <typename T> void CopyScalar(TIFF* in, TIFF* out, uint32_t number) {
    T value{};
    if (TIFFGetField(in, number, &value)) TIFFSetField(out, number, value);
}

void CopyText(TIFF* in, TIFF* out, uint32_t number) {
    char* text = nullptr;
    if (TIFFGetField(in, number, &text) && text) TIFFSetField(out, number, text);
}

// The tags that describe the pixels of one image, in the order libtiff needs them
// (the compression before its codec's own tags).
void CopyImageTags(TIFF* in, TIFF* out) {
    for (uint32_t number : {TIFFTAG_SUBFILETYPE, TIFFTAG_IMAGEWIDTH, TIFFTAG_IMAGELENGTH})
        CopyScalar<uint32_t>(in, out, number);
    for (uint32_t number : {TIFFTAG_BITSPERSAMPLE, TIFFTAG_SAMPLESPERPIXEL, TIFFTAG_COMPRESSION,
                            TIFFTAG_PHOTOMETRIC, TIFFTAG_PLANARCONFIG, TIFFTAG_FILLORDER,
                            TIFFTAG_ORIENTATION, TIFFTAG_SAMPLEFORMAT, TIFFTAG_RESOLUTIONUNIT,
                            TIFFTAG_PREDICTOR})
        CopyScalar<uint16_t>(in, out, number);
    CopyScalar<float>(in, out, TIFFTAG_XRESOLUTION);
    CopyScalar<float>(in, out, TIFFTAG_YRESOLUTION);
    if (TIFFIsTiled(in)) {
        CopyScalar<uint32_t>(in, out, TIFFTAG_TILEWIDTH);
        CopyScalar<uint32_t>(in, out, TIFFTAG_TILELENGTH);
    } else {
        CopyScalar<uint32_t>(in, out, TIFFTAG_ROWSPERSTRIP);
    }
    for (uint32_t number : {TIFFTAG_IMAGEDESCRIPTION, TIFFTAG_SOFTWARE, TIFFTAG_DATETIME})
        CopyText(in, out, number);
    uint16_t count = 0;
    uint16_t* extra = nullptr;
    if (TIFFGetField(in, TIFFTAG_EXTRASAMPLES, &count, &extra) && extra)
        TIFFSetField(out, TIFFTAG_EXTRASAMPLES, count, extra);
    uint16_t *red = nullptr, *green = nullptr, *blue = nullptr;
    if (TIFFGetField(in, TIFFTAG_COLORMAP, &red, &green, &blue) && red && green && blue)
        TIFFSetField(out, TIFFTAG_COLORMAP, red, green, blue);
    uint32_t tableSize = 0;
    void* table = nullptr;
    if (TIFFGetField(in, TIFFTAG_JPEGTABLES, &tableSize, &table) && table)
        TIFFSetField(out, TIFFTAG_JPEGTABLES, tableSize, table);
    uint16_t subH = 0, subV = 0;
    if (TIFFGetField(in, TIFFTAG_YCBCRSUBSAMPLING, &subH, &subV))
        TIFFSetField(out, TIFFTAG_YCBCRSUBSAMPLING, subH, subV);
}

// Copies the compressed strips or tiles as they are; none may exceed the file's size.
bool CopyRawData(TIFF* in, TIFF* out, uint64_t fileSize) {
    const bool tiled = TIFFIsTiled(in);
    const uint32_t chunks = tiled ? TIFFNumberOfTiles(in) : TIFFNumberOfStrips(in);
    uint64_t* sizes = nullptr;
    if (!TIFFGetField(in, tiled ? TIFFTAG_TILEBYTECOUNTS : TIFFTAG_STRIPBYTECOUNTS, &sizes) || !sizes)
        return false;
    std::vector<unsigned char> buffer;
    uint32_t copied = 0;
    for (uint32_t i = 0; i < chunks; ++i) {
        if (sizes[i] > fileSize) return false;
        // A sparse file's absent chunk stays absent; libtiff cannot write an
        // image of absent chunks only, which is refused below.
        if (sizes[i] == 0) continue;
        ++copied;
        buffer.resize(static_cast<size_t>(sizes[i]));
        const tmsize_t size = static_cast<tmsize_t>(buffer.size());
        const tmsize_t got = tiled ? TIFFReadRawTile(in, i, buffer.data(), size)
                                   : TIFFReadRawStrip(in, i, buffer.data(), size);
        if (got != size) return false;
        const tmsize_t put = tiled ? TIFFWriteRawTile(out, i, buffer.data(), size)
                                   : TIFFWriteRawStrip(out, i, buffer.data(), size);
        if (put != size) return false;
    }
    return copied > 0 || chunks == 0;
}

// Writes through a temporary sibling and renames it over `target`; `write`
// fills the open file and returns false on failure.
template <typename Fn> bool WriteReplacing(const char* target, bool bigTiff, Fn&& write) {
    const std::string temporary = std::string(target) + ".kvtmp";
    bool ok = false;
    {
        TiffFile out(temporary.c_str(), bigTiff ? "w8" : "w");
        if (!out) return false;
        ok = write(out.get());
        out.Close();
        ok = ok && out.Errors() == 0;
    }
    std::error_code ec;
    if (ok) std::filesystem::rename(temporary, target, ec);
    if (!ok || ec) {
        std::filesystem::remove(temporary, ec);
        return false;
    }
    return true;
}

} // namespace

// ---------------------------------------------------------------- KVBitmapTag

KVBitmapTag::KVBitmapTag() : m_type(KVTAG_NONE), m_count(0) {}

KVBitmapTag::KVBitmapTag(int type, unsigned long count) : KVBitmapTag() {
    const size_t item = ItemSize(type);
    if (item == 0 || count == 0 || count > kKVMaxTagBytes / item) return;
    m_data.assign(count * item, 0);
    m_type = type;
    m_count = count;
}

int KVBitmapTag::GetType() const { return m_type; }
unsigned long KVBitmapTag::GetItemCount() const { return m_count; }
unsigned long KVBitmapTag::GetSize() const { return static_cast<unsigned long>(m_data.size()); }
void* KVBitmapTag::GetDataPtr() { return m_data.empty() ? nullptr : m_data.data(); }
const void* KVBitmapTag::GetDataPtr() const { return m_data.empty() ? nullptr : m_data.data(); }
bool KVBitmapTag::IsEmpty() const { return m_data.empty(); }

bool KVBitmapTag::Assign(int type, unsigned long count, const void* data) {
    KVBitmapTag fresh(type, count);
    if (fresh.IsEmpty() || !data) return false;
    std::memcpy(fresh.m_data.data(), data, fresh.m_data.size());
    *this = std::move(fresh);
    return true;
}

size_t KVBitmapTag::ItemSize(int type) {
    const TypeRow* row = TypeByCode(type);
    return row ? row->itemSize : 0;
}

// ---------------------------------------------------------------- KVBitmapTagList

bool KVBitmapTagList::Merge(unsigned number, const KVBitmapTag& tag) {
    if (number == 0 || number > 65535 || tag.IsEmpty()) return false;
    m_tags[number] = tag;
    return true;
}

bool KVBitmapTagList::Remove(unsigned number) { return m_tags.erase(number) != 0; }
void KVBitmapTagList::RemoveAll() { m_tags.clear(); }

const KVBitmapTag* KVBitmapTagList::Find(unsigned number) const {
    auto it = m_tags.find(number);
    return it == m_tags.end() ? nullptr : &it->second;
}

size_t KVBitmapTagList::GetCount() const { return m_tags.size(); }
const std::map<unsigned, KVBitmapTag>& KVBitmapTagList::Tags() const { return m_tags; }

// ---------------------------------------------------------------- KVBitLib

KVBitLib::KVBitLib() { RegisterGeoTags(); }
KVBitLib::~KVBitLib() = default;

void KVBitLib::SetMessageSink(KVTiffMessageSink sink) { g_sink.store(sink); }

int KVBitLib::GetTagData(const char* fileName, unsigned number, KVBitmapTag& tag, int image) {
    tag = KVBitmapTag();
    if (!fileName || image < 1 || number == 0 || number > 65535) return 0;
    if (!IsRegularFile(fileName)) return 0;
    TiffFile file(fileName, "r");
    if (!file) return 0;
    if (image > 1 && !TIFFSetDirectory(file.get(), static_cast<tdir_t>(image - 1))) return 0;
    return ReadTag(file.get(), number, tag);
}

bool KVBitLib::WriteCopyWithTags(const char* source, const char* target, const KVBitmapTagList& tags) {
    if (!source || !target || !IsRegularFile(source)) return false;
    std::error_code ec;
    const uint64_t fileSize = std::filesystem::file_size(source, ec);
    if (ec) return false;
    TiffFile in(source, "r");
    if (!in) return false;
    return WriteReplacing(target, TIFFIsBigTIFF(in.get()) != 0, [&](TIFF* out) {
        bool first = true;
        do {
            CopyImageTags(in.get(), out);
            if (first && !SetTags(out, tags)) return false;
            if (!CopyRawData(in.get(), out, fileSize) || !TIFFWriteDirectory(out)) return false;
            first = false;
        } while (TIFFReadDirectory(in.get()));
        return in.Errors() == 0;
    });
}

bool KVBitLib::WriteNewWithTags(const char* target, int width, int height, const KVBitmapTagList& tags) {
    if (!target || width < 1 || height < 1 || width > 65535 || height > 65535) return false;
    if (static_cast<uint64_t>(width) * static_cast<uint64_t>(height) > kKVMaxTagBytes) return false;
    return WriteReplacing(target, false, [&](TIFF* out) {
        TIFFSetField(out, TIFFTAG_IMAGEWIDTH, static_cast<uint32_t>(width));
        TIFFSetField(out, TIFFTAG_IMAGELENGTH, static_cast<uint32_t>(height));
        TIFFSetField(out, TIFFTAG_BITSPERSAMPLE, uint16_t(8));
        TIFFSetField(out, TIFFTAG_SAMPLESPERPIXEL, uint16_t(1));
        TIFFSetField(out, TIFFTAG_PHOTOMETRIC, uint16_t(PHOTOMETRIC_MINISBLACK));
        TIFFSetField(out, TIFFTAG_PLANARCONFIG, uint16_t(PLANARCONFIG_CONTIG));
        TIFFSetField(out, TIFFTAG_COMPRESSION, uint16_t(COMPRESSION_NONE));
        TIFFSetField(out, TIFFTAG_ROWSPERSTRIP, static_cast<uint32_t>(height));
        if (!SetTags(out, tags)) return false;
        std::vector<unsigned char> pixels(static_cast<size_t>(width) * height, 0);
        const tmsize_t size = static_cast<tmsize_t>(pixels.size());
        return TIFFWriteEncodedStrip(out, 0, pixels.data(), size) == size && TIFFWriteDirectory(out);
    });
}
