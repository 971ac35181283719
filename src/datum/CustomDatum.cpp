// User-defined datums, kept by name in the "Custom Datums" section of a
// profile file, one line "escaped name=value" per datum.
#include "datum/CustomDatum.h"

#include "datum/DatumTable.h"
#include "frame/CNumber.h"
#include "frame/Diag.h"
#include "frame/Firewall.h"
#include "frame/IniProfile.h"
#include "frame/Util.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <vector>

namespace KVProj {
namespace {

const char kSection[] = "Custom Datums";
constexpr size_t kSectionSize = 32767; // the section buffer of the Windows call
constexpr int kValueLen = 256;         // a value is at most 255 characters
constexpr int kNameLen = 256;
constexpr int kFirstCustom = DATUM_COUNT;

char LowerAscii(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

bool StartsWithNoCase(const char* text, const std::string& prefix) {
    for (size_t i = 0; i < prefix.size(); ++i)
        if (!text[i] || LowerAscii(text[i]) != LowerAscii(prefix[i])) return false;
    return true;
}

bool EqualNoCase(const char* a, size_t an, const char* b) {
    size_t bn = std::strlen(b);
    if (an != bn) return false;
    for (size_t i = 0; i < an; ++i)
        if (LowerAscii(a[i]) != LowerAscii(b[i])) return false;
    return true;
}

// The section as the platform call returns it, with its line starts.
struct SectionImage {
    std::vector<char> buffer;
    std::vector<size_t> lines;
    bool truncated = false;

    bool read(const char* file) {
        buffer.assign(kSectionSize, '\0');
        size_t n = Ini::GetSection(file, kSection, buffer.data(), buffer.size());
        truncated = n == kSectionSize - 2;
        lines.clear();
        for (size_t pos = 0; pos < n && buffer[pos]; pos += std::strlen(&buffer[pos]) + 1)
            lines.push_back(pos);
        return true;
    }
    const char* line(size_t i) const { return &buffer[lines[i]]; }
    int find(const std::string& key) const {
        const std::string prefix = key + "=";
        for (size_t i = 0; i < lines.size(); ++i)
            if (StartsWithNoCase(line(i), prefix)) return static_cast<int>(i);
        return -1;
    }
};

// Writes the section back; refuses a section that was cut on reading, which
// would otherwise lose the entries past the cut.
bool WriteDatumSection(const char* file, const SectionImage& image, int skip, const std::string* extra) {
    if (image.truncated) return false;
    std::string data;
    for (size_t i = 0; i < image.lines.size(); ++i) {
        if (static_cast<int>(i) == skip) continue;
        data.append(image.line(i)).push_back('\0');
    }
    if (extra) data.append(*extra).push_back('\0');
    if (data.size() + 1 > kSectionSize) return false;
    data.push_back('\0');
    return Ini::WriteSection(file, kSection, data.c_str());
}

bool BuiltIn(const char* name, DatumType* id) {
    DatumType local;
    return name && DatGetDatumFromName(id ? id : &local, name);
}

// Field reader over a value: comma-separated, blanks skipped before each field.
struct Fields {
    const char* p;
    // The next field as [begin, end); false when the text is exhausted.
    bool next(const char*& begin, const char*& end) {
        while (*p == ' ' || *p == '\t')
            ++p;
        if (!*p) {
            begin = end = p;
            return false;
        }
        begin = p;
        while (*p && *p != ',')
            ++p;
        end = p;
        if (*p == ',') ++p;
        return true;
    }
    double number() {
        const char *b = nullptr, *e = nullptr;
        if (!next(b, e)) return 0.0;
        std::string field(b, e);
        return StrtodC(field.c_str(), nullptr);
    }
};

const char* MethodKeyword(int method) {
    switch (method) {
    case DM_NOXFORM:
        return "none";
    case DM_NADCON:
        return "nadcon";
    case DM_BURSA:
        return "bursa";
    case DM_MOLODENSKY:
        return "molodensky";
    case DM_MRE:
        return "mre";
    default:
        return nullptr;
    }
}

// Reads the section of `file` and hands it to fn(image).
template <typename Fn> bool WithSection(const char* file, Fn fn) {
    SectionImage image;
    image.read(file);
    return fn(image);
}

// The same for the entry of `name`: fn(image, index of its line), or false
// when the section has no such entry.
template <typename Fn> bool WithEntry(const char* file, const char* name, Fn fn) {
    return WithSection(file, [&](SectionImage& image) {
        const int i = image.find(EscapeDatumName(name));
        return i >= 0 && fn(image, i);
    });
}

} // namespace

std::string EscapeDatumName(const char* name) {
    std::string out;
    if (!name) return out;
    for (const char* p = name; *p; ++p) {
        const int code = static_cast<signed char>(*p);
        const int lower = LowerAscii(static_cast<char>(code));
        if (code == ',' || code == '=' || code == '%' || code == '\\' || lower < 32 ||
            lower >= 123) {
            char buf[16];
            std::snprintf(buf, sizeof buf, "%%%03u", static_cast<unsigned>(code));
            out += buf;
        } else {
            out += *p;
        }
    }
    return out;
}

std::string UnescapeDatumName(const char* text, size_t length) {
    std::string out;
    for (size_t i = 0; i < length;) {
        if (text[i] == '%') {
            size_t digits = 0;
            unsigned value = 0;
            while (digits < 3 && i + 1 + digits < length && text[i + 1 + digits] >= '0' &&
                   text[i + 1 + digits] <= '9') {
                value = value * 10 + static_cast<unsigned>(text[i + 1 + digits] - '0');
                ++digits;
            }
            if (digits == 3) {
                out += static_cast<char>(value & 0xFFu);
                i += 4;
                continue;
            }
        }
        out += text[i++];
    }
    return out;
}

bool DatumParamsToText(const DATUM2WGS84& s, std::string* text) {
    const char* keyword = MethodKeyword(s.Method);
    if (!keyword || !text) return false;
    char buf[kValueLen];
    if (s.Method == DM_NOXFORM) {
        FormatC(buf, sizeof buf, "%s,", keyword);
        *text = buf;
        return true;
    }
    std::string ellipsoid;
    double a = s.MajorRadius, f = s.Flattening;
    if (s.Ellipsoid == ELLIPSOID_USER_DEFINED) {
        ellipsoid = "user-defined";
    } else {
        char name[KVPROJ_NAME_LEN];
        if (!EllipsoidInfo(s.Ellipsoid, name, &a, &f)) return false;
        ellipsoid = EscapeDatumName(name);
    }
    // The fields are written in the C locale: a decimal comma would split them.
    int n = FormatC(buf, sizeof buf, "%s,%d,%s,", keyword, HostFlag(s.bInverse) ? 1 : 0,
                    ellipsoid.c_str());
    if (n > 0 && n < kValueLen && (s.Method == DM_MOLODENSKY || s.Method == DM_BURSA)) {
        n += FormatC(buf + n, sizeof buf - n, "%.10f,%.10f,%.6f,%.10f,%.10f,%.10f,", a, f,
                     double(s.PMShift), double(s.dx), double(s.dy), double(s.dz));
        if (n > 0 && n < kValueLen && s.Method == DM_BURSA)
            FormatC(buf + n, sizeof buf - n, "%.10f,%.10f,%.10f,%.10f,", double(s.rx), double(s.ry),
                    double(s.rz), double(s.k));
    }
    *text = buf;
    return true;
}

bool TextToDatumParams(const char* text, DATUM2WGS84* out) {
    LogPrintf("TextToDatumParams(\"%s\", pParams==%p)\n", text ? text : "",
              static_cast<void*>(out));
    if (!text || !out) return false;
    DATUM2WGS84 s;
    std::memset(&s, 0, sizeof s);
    Fields fields{text};
    const char *b = nullptr, *e = nullptr;
    fields.next(b, e);
    const size_t len = static_cast<size_t>(e - b);
    if (EqualNoCase(b, len, "none")) {
        s.Method = DM_NOXFORM;
        std::memcpy(out, &s, sizeof s);
        return true;
    }
    if (EqualNoCase(b, len, "bursa"))
        s.Method = DM_BURSA;
    else if (EqualNoCase(b, len, "molodensky"))
        s.Method = DM_MOLODENSKY;
    else
        return false; // "nadcon" and "mre" are written but never read back

    if (!fields.next(b, e) || (*b != '0' && *b != '1')) return false;
    s.bInverse = *b == '1';

    fields.next(b, e);
    std::string name = UnescapeDatumName(b, static_cast<size_t>(e - b));
    if (EqualNoCase(name.c_str(), name.size(), "user-defined")) {
        s.Ellipsoid = ELLIPSOID_USER_DEFINED;
    } else {
        char buf[kNameLen];
        CopyName(buf, name.c_str(), sizeof buf);
        EllipsoidType ellipsoid = ELLIPSOID_USER_DEFINED;
        if (!EllipsoidFromName(&ellipsoid, buf)) return false;
        s.Ellipsoid = ellipsoid;
    }
    s.MajorRadius = fields.number();
    s.Flattening = fields.number();
    s.PMShift = fields.number();
    s.dx = fields.number();
    s.dy = fields.number();
    s.dz = fields.number();
    if (s.Method == DM_BURSA) {
        s.rx = fields.number();
        s.ry = fields.number();
        s.rz = fields.number();
        s.k = fields.number();
    }
    if (s.Ellipsoid != ELLIPSOID_USER_DEFINED) {
        s.MajorRadius = EllipsoidRadius(s.Ellipsoid);
        s.Flattening = EllipsoidFlattening(s.Ellipsoid);
    }
    std::memcpy(out, &s, sizeof s);
    return true;
}

// ---------------------------------------------------------------- exported

int NDatNumDatums(const char* file) {
    if (!file) return kFirstCustom;
    return KV_GUARDED(kFirstCustom, [&] {
        SectionImage image;
        image.read(file);
        return kFirstCustom + static_cast<int>(image.lines.size());
    });
}

bool NDatEnumDatumName(const char* file, char* out, int index) {
    return KV_GUARDED(false, [&]() -> bool {
        if (index < 0 || !out) return false;
        if (index < kFirstCustom) {
            DatGetDatumName(static_cast<DatumType>(index), out);
            return true;
        }
        out[0] = '\0';
        if (!file) return false;
        return WithSection(file, [&](const SectionImage& image) {
            const size_t i = static_cast<size_t>(index - kFirstCustom);
            if (i >= image.lines.size()) return false;
            const char* line = image.line(i);
            const char* eq = std::strchr(line, '=');
            size_t keyLen = eq ? static_cast<size_t>(eq - line) : std::strlen(line);
            CopyName(out, UnescapeDatumName(line, keyLen).c_str(), kNameLen);
            return true;
        });
    });
}

bool NDatSave(const char* file, const char* name, const DATUM2WGS84* params) {
    return KV_GUARDED(false, [&]() -> bool {
        if (!file || !name || !params || BuiltIn(name, nullptr)) return false;
        return WithSection(file, [&](const SectionImage& image) {
            const std::string key = EscapeDatumName(name);
            std::string value;
            if (!DatumParamsToText(*params, &value)) return false;
            const std::string line = key + "=" + value;
            return WriteDatumSection(file, image, image.find(key), &line);
        });
    });
}

bool NDatDelete(const char* file, const char* name) {
    return KV_GUARDED(false, [&]() -> bool {
        if (!file || !name || BuiltIn(name, nullptr)) return false;
        return WithEntry(file, name, [&](const SectionImage& image, int i) {
            return WriteDatumSection(file, image, i, nullptr);
        });
    });
}

bool NDatGetDatumParams(const char* file, const char* name, DATUM2WGS84* out) {
    return KV_GUARDED(false, [&]() -> bool {
        if (!name || !out) return false;
        DatumType id;
        if (BuiltIn(name, &id)) return DatGetDatumParams(id, out);
        if (!file) return false;
        return WithEntry(file, name, [&](const SectionImage& image, int i) {
            const char* eq = std::strchr(image.line(static_cast<size_t>(i)), '=');
            return eq && TextToDatumParams(eq + 1, out);
        });
    });
}

bool NDatExists(const char* file, const char* name, int* index) {
    return KV_GUARDED(false, [&]() -> bool {
        if (!name) return false;
        DatumType id;
        if (BuiltIn(name, &id)) {
            if (index) *index = id;
            return true;
        }
        if (!file) return false;
        return WithEntry(file, name, [&](const SectionImage&, int i) {
            if (index) *index = kFirstCustom + i;
            return true;
        });
    });
}

bool NDatIsBuiltIn(const char* /*file*/, const char* name, DatumType* out) {
    return KV_GUARDED(false, [&]() -> bool { return BuiltIn(name, out); });
}

// Both below hand an already escaped name to NDatGetDatumParams, which
// escapes it again, so names that need escaping are not found. Existing hosts
// and profiles depend on exactly this behaviour; it stays.
bool NDatReversible(const char* file, const char* name) {
    return KV_GUARDED(false, [&]() -> bool {
        if (!name) return false;
        DatumType id;
        if (BuiltIn(name, &id)) return DatReversible(id);
        return KV_GUARDED(false, [&] {
            DATUM2WGS84 s;
            if (!NDatGetDatumParams(file, EscapeDatumName(name).c_str(), &s)) return false;
            return MethodReversible(s.Method);
        });
    });
}

bool NDatGetDatumMethod(const char* file, const char* name, DatumMethod* out) {
    return KV_GUARDED(false, [&]() -> bool {
        if (!name || !out) return false;
        DatumType id;
        if (BuiltIn(name, &id)) return DatGetDatumMethod(id, out);
        return KV_GUARDED(false, [&] {
            DATUM2WGS84 s;
            if (!NDatGetDatumParams(file, EscapeDatumName(name).c_str(), &s)) return false;
            *out = s.Method;
            return true;
        });
    });
}

} // namespace KVProj
