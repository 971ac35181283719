// The reference file: a map's projection, datum and georeference as keyword
// lines. One keyword table drives both directions; each row names its record,
// its value kind, its field and, for text values, its two converters.
#include "formats/RefFileTable.h"
#include "formats/SideFile.h"

#include "frame/CNumber.h"
#include "frame/Diag.h"
#include "frame/Firewall.h"
#include "frame/MessageIds.h"
#include "frame/SiblingFile.h"
#include "frame/TextFile.h"
#include "kvproj/files.h"

#include <algorithm>
#include <cstdio>
#include <cstring>

namespace KVProj {
namespace {

constexpr char kMagic[] = "Velmora Cartographic Reference Information";
constexpr double kVersion = 1.1;
constexpr size_t kPieceLen = 259;         // a read line holds at most this many characters
constexpr size_t kPhysicalLine = 1 << 20; // beyond this a physical line is cut

const char* TraceText(const char* name) { return name ? name : "(null)"; }

// The name with ".kvr" appended unless it already ends in "kvr" (ignoring case)
// and is at least five characters long; the dot itself is not tested.
std::string CompleteRefName(const char* name) {
    const size_t n = std::strlen(name);
    const bool ends = n >= 5 && EqualIgnoringCase(name + n - 3, "kvr");
    return ends ? std::string(name) : std::string(name) + ".kvr";
}

// ---------------------------------------------------------------- writing

// What the writer works on: copies of the caller's records, normalised.
struct WriteRecords {
    PROJDATA proj{};
    DatumType datum = DATUM_NONE;
    DATUM2WGS84 params{};
    GEOREF georef{};
};

// A table ellipsoid's figures replace the record's (PROJDATA and DATUM2WGS84 alike).
template <typename Record> void UseTableEllipsoid(Record& r) {
    if (r.Ellipsoid == ELLIPSOID_USER_DEFINED || r.Ellipsoid == ELLIPSOID_NONE) return;
    r.MajorRadius = EllipsoidRadius(r.Ellipsoid);
    r.Flattening = EllipsoidFlattening(r.Ellipsoid);
}

WriteRecords PrepareForWriting(const PROJDATA* proj, DatumType datum,
                               const DATUM2WGS84* datumParams, const GEOREF* georef) {
    WriteRecords w;
    if (proj) w.proj = *proj;
    else w.proj.Type = PT_UNDEFINED;
    if (datumParams) w.params = *datumParams;
    w.datum = (datumParams && datum != DATUM_NONE) ? datum : DATUM_NONE;
    if (georef) w.georef = *georef;
    else w.georef.Method = TM_NONE;
    CTRACE("ProjType == %d\n", static_cast<int>(w.proj.Type));
    CTRACE("eDatum == %d\n", static_cast<int>(w.datum));
    CTRACE("DATUM_COUNT == %d\n", static_cast<int>(DATUM_COUNT));

    if (w.proj.Type == PT_UNPROJECTED) {
        w.proj = PROJDATA{};
        w.proj.Ellipsoid = ELLIPSOID_NONE;
    }
    if (w.proj.Type != PT_STATE_PLANE_27 && w.proj.Type != PT_STATE_PLANE_83)
        w.proj.Zone = STATEZONE_NONE;
    if (w.proj.Type != PT_HOTINE) w.proj.Alpha = 0.0;
    UseTableEllipsoid(w.proj);
    UseTableEllipsoid(w.params);
    return w;
}

bool Skipped(const RefKeyword& row, size_t index, const RefRecords& r) {
    switch (row.record) {
    case RR_PROJ:
        if (r.proj->Type == PT_UNDEFINED) return true;
        if (r.proj->Type == PT_UNPROJECTED && index != 0) return true;
        break;
    case RR_DATUM:
        if (*r.datum == DATUM_NONE) return true;
        break;
    case RR_GEOREF:
        if (r.georef->Method == TM_NONE) return true;
        break;
    }
    return !Applies(row, r);
}

// The value text of a row, or false when the row is not written.
bool ValueText(const RefKeyword& row, const RefRecords& r, std::string& value) {
    const char* field = FieldOf(row, r);
    switch (row.kind) {
    case RPK_DOUBLE: {
        double v;
        std::memcpy(&v, field, sizeof v);
        value = FileNumber(v);
        return true;
    }
    case RPK_BOOL: {
        bool v;
        std::memcpy(&v, field, sizeof v);
        value = v ? "true" : "false";
        return true;
    }
    case RPK_INT: {
        int v;
        std::memcpy(&v, field, sizeof v);
        value = FormatCString("%d", v);
        return true;
    }
    case RPK_TEXT: {
        char text[kRefTextLen] = "";
        if (!row.toText(r, text)) return false;
        value = text;
        return true;
    }
    }
    return false;
}

std::string ComposeRefFile(WriteRecords& w) {
    RefRecords r{&w.proj, &w.datum, &w.params, &w.georef};
    std::string text = FormatCString("%s : Version %.2f\n", kMagic, kVersion);
    for (size_t i = 0; i < kRefKeywordCount; ++i) {
        const RefKeyword& row = kRefKeywords[i];
        std::string value;
        if (Skipped(row, i, r) || !ValueText(row, r, value)) continue;
        text += FormatCString("%s %c ", row.keyword, ':') + value + "\n";
    }
    const GEOREF& g = w.georef;
    if (g.Method == TM_PRECALCULATED || g.Method == TM_NONE || g.nControls < 1 || !g.pSrc ||
        !g.pDest)
        return text;
    for (int i = 0; i < g.nControls; ++i)
        text += "Georef Point : " + FileNumber(g.pSrc[i].x) + "  " + FileNumber(g.pSrc[i].y) +
                "  " + FileNumber(g.pDest[i].x) + "  " + FileNumber(g.pDest[i].y) + "\n";
    return text;
}

// ---------------------------------------------------------------- reading

// Lines as the reader sees them: each physical line with its line feed, cut into
// pieces of at most 259 characters (a longer line is read as several lines).
class PieceReader {
public:
    bool Open(const std::string& path) { return m_lines.Open(path.c_str()); }
    bool Failed() const { return m_lines.Failed(); }
    // The next piece, terminated, in `buffer` (NUL bytes of the file end it early).
    bool Next(char (&buffer)[kPieceLen + 1]) {
        if (m_pos >= m_line.size()) {
            if (!m_lines.Next(m_line)) return false;
            m_line.push_back('\n');
            m_pos = 0;
        }
        const size_t n = std::min(kPieceLen, m_line.size() - m_pos);
        std::memcpy(buffer, m_line.data() + m_pos, n);
        buffer[n] = '\0';
        m_pos += n;
        return true;
    }

private:
    LineReader m_lines{kPhysicalLine};
    std::string m_line;
    size_t m_pos = 0;
};

bool StartsIgnoringCase(const char* text, const char* prefix) {
    for (; *prefix; ++text, ++prefix)
        if (!*text || LowerAscii(*text) != LowerAscii(*prefix)) return false;
    return true;
}

enum class Header { Good, Bad, TooNew };

Header ReadHeader(const char* line) {
    if (!StartsIgnoringCase(line, kMagic)) {
        CTRACE("Bad prefix in reference file!\n");
        CTRACE("Found \"%s\"\n", line);
        CTRACE("Expected \"%s\"\n", kMagic);
        KV_REPORT(IDS_READ_FAILED);
        return Header::Bad;
    }
    const char* p = SkipFileSpace(line + std::strlen(kMagic));
    if (*p != ':') {
        CTRACE("Colon missing from reference file!\n");
        KV_REPORT(IDS_READ_FAILED);
        return Header::Bad;
    }
    p = SkipFileSpace(p + 1);
    if (!StartsIgnoringCase(p, "Version")) {
        CTRACE("Version keyword missing from reference file!\n");
        KV_REPORT(IDS_READ_FAILED);
        return Header::Bad;
    }
    const double version = AtofC(SkipFileSpace(p + std::strlen("Version")));
    if (version > kVersion) {
        CTRACE("Bad version number in reference file.  Found %.2f, but wanted %.2f\n", version,
               kVersion);
        return Header::TooNew;
    }
    return Header::Good;
}

// Control points: allocated on the first point line, never written past the
// count they were allocated for.
struct PointState {
    int allocated = 0;
    int next = 0;
};

bool ReadPoint(GEOREF* georef, const char* value, PointState& points) {
    if (!georef || georef->nControls < 1) return true;
    if (points.allocated == 0) {
        const int n = georef->nControls;
        if (n > kMaxFileControlPoints || !RefAllocControls(georef, n)) {
            KV_REPORT(IDS_OUT_OF_MEMORY);
            return false;
        }
        points.allocated = n;
    }
    if (points.next >= points.allocated) return true; // beyond the declared count
    double v[4];
    const char* p = value;
    for (double& x : v) {
        x = AtofC(p);
        while (*p && !IsFileSpace(*p))
            ++p;
        p = SkipFileSpace(p);
    }
    georef->pSrc[points.next] = {v[0], v[1]};
    georef->pDest[points.next] = {v[2], v[3]};
    ++points.next;
    return true;
}

bool StoreValue(const RefKeyword& row, RefRecords& r, const char* value) {
    char* field = FieldOf(row, r);
    switch (row.kind) {
    case RPK_DOUBLE: {
        const double v = AtofC(value);
        std::memcpy(field, &v, sizeof v);
        return true;
    }
    case RPK_BOOL: {
        const bool v = StartsIgnoringCase(value, "true");
        std::memcpy(field, &v, sizeof v);
        return true;
    }
    case RPK_INT: {
        const int v = AtoiC(value);
        std::memcpy(field, &v, sizeof v);
        return true;
    }
    case RPK_TEXT:
        if (row.fromText(r, value)) return true;
        CTRACE("Failed reading reference parameter.\n");
        KV_REPORT(IDS_READ_FAILED);
        return false;
    }
    return false;
}

// One parameter or point line; false when the read must fail.
bool ReadLine(char* line, RefRecords& r, PointState& points) {
    CTRACE("Read %s", line);
    char* colon = std::strchr(line, ':');
    if (!colon) return true;
    // The key ends at the blanks and tabs before the colon; without any, the key
    // keeps its colon and matches nothing.
    for (char* p = colon; p > line && (p[-1] == ' ' || p[-1] == '\t'); --p)
        p[-1] = '\0';
    const char* value = SkipFileSpace(colon + 1);
    const RefKeyword* row = FindKeyword(line);
    if (row) return !Supplied(*row, r) || StoreValue(*row, r, value);
    if (LooseEqual(line, "Georef Point")) return ReadPoint(r.georef, value, points);
    return true;
}

void ResetOutputs(RefRecords& r, unsigned int* flags) {
    if (flags) *flags = 0;
    if (r.proj) {
        *r.proj = PROJDATA{};
        r.proj->Type = PT_UNDEFINED;
    }
    if (r.params) *r.params = DATUM2WGS84{};
    if (r.datum) *r.datum = DATUM_NONE;
    if (r.georef) {
        *r.georef = GEOREF{};
        r.georef->Method = TM_NONE;
    }
}

unsigned int FoundFlags(const RefRecords& r, const PointState& points) {
    unsigned int found = GEOPARAM_FILE_FOUND;
    if (r.proj && r.proj->Type != PT_UNDEFINED) found |= GEOPARAM_PROJECTION;
    GEOREF* g = r.georef;
    if (!g) return found;
    // A count line after the points cannot make the record claim more than it holds.
    if (points.allocated > 0 && g->nControls > points.allocated) g->nControls = points.allocated;
    if (g->Method == TM_NONE || g->Method == TM_PRECALCULATED) RefFreeControls(g);
    if (g->Method == TM_PRECALCULATED) found |= GEOPARAM_COEFFICIENTS;
    else if (g->Method != TM_NONE && g->nControls >= 1) found |= GEOPARAM_CONTROLS;
    return found;
}

// Reads an open file; false on a bad header, a failed converter, a failed
// allocation or a read error. `found` is left 0 for a file of a newer version.
bool ReadRefFile(PieceReader& in, RefRecords& r, unsigned int& found) {
    char line[kPieceLen + 1];
    if (!in.Next(line)) return false;
    const Header header = ReadHeader(line);
    if (header == Header::TooNew) return true;
    if (header == Header::Bad) return false;
    PointState points;
    while (in.Next(line))
        if (!ReadLine(line, r, points)) return false;
    if (in.Failed()) {
        KV_REPORT(IDS_READ_FAILED);
        return false;
    }
    found = FoundFlags(r, points);
    return true;
}

bool ReadRefFileEx(const char* name, RefRecords r, unsigned int* flags) {
    CTRACE("KVProjRefFileReadEx(..., \"%s\", ...)\n", TraceText(name));
    if (!name || !*name) return false;
    ResetOutputs(r, flags);
    RefRecords lines = r; // the records that lines are stored into
    if (!r.datum || !r.params) lines.datum = nullptr, lines.params = nullptr;
    const std::string path = FindSideFile(CompleteRefName(name));
    PieceReader in;
    if (path.empty() || !in.Open(path)) return true;
    CTRACE("Opened \"%s\" for reading.\n", path.c_str());
    unsigned int found = 0;
    if (!ReadRefFile(in, lines, found)) {
        if (r.georef) RefFreeControls(r.georef);
        return false;
    }
    if (found && r.datum && *r.datum != DATUM_NONE) found |= GEOPARAM_DATUM;
    if (flags) *flags = found;
    if (found) CTRACE("KVProjRefFileReadEx success.\n");
    return true;
}

} // namespace

// ---------------------------------------------------------------- exported

bool KVProjRefFileWriteEx(const char* name, PROJDATA* proj, DatumType datum,
                          DATUM2WGS84* datumParams, GEOREF* georef) {
    return KV_GUARDED(false, [&] {
        CTRACE("KVProjRefFileWrite(\"%s\", ...)\n", TraceText(name));
        if (!name || !*name) return false;
        WriteRecords w = PrepareForWriting(proj, datum, datumParams, georef);
        const std::string path = CompleteRefName(name);
        if (!WriteFileReplacing(path.c_str(), ComposeRefFile(w))) {
            std::remove(name); // the caller's name as passed, deliberately
            return false;
        }
        CTRACE("Opened \"%s\" for writing.\n", path.c_str());
        return true;
    });
}

bool KVProjRefFileWrite(char* name, PROJDATA* proj, DatumType datum, DATUM2WGS84* datumParams) {
    return KVProjRefFileWriteEx(name, proj, datum, datumParams, nullptr);
}

bool KVProjRefFileReadEx(const char* name, PROJDATA* proj, DatumType* datum,
                         DATUM2WGS84* datumParams, GEOREF* georef, unsigned int* flags) {
    return KV_GUARDED(false, [&] {
        return ReadRefFileEx(name, RefRecords{proj, datum, datumParams, georef}, flags);
    });
}

bool KVProjRefFileRead(char* name, PROJDATA* proj, DatumType* datum, DATUM2WGS84* datumParams) {
    return KV_GUARDED(false, [&] {
        GEOREF scratch{};
        const bool ok = KVProjRefFileReadEx(name, proj, datum, datumParams, &scratch, nullptr);
        RefFreeControls(&scratch);
        return ok;
    });
}

bool KVProjRefFileDelete(const char* name) {
    return KV_GUARDED(false, [&] {
        CTRACE("KVProjRefFileDelete(\"%s\", ...)\n", TraceText(name));
        if (!name || !*name) return false;
        return RemoveIfPresent(CompleteRefName(name));
    });
}

bool KVProjRefFilesDelete(const char* name) {
    return KV_GUARDED(false, [&] {
        CTRACE("KVProjRefFilesDelete(\"%s\", ...)\n", TraceText(name));
        if (!name || !*name) return false;
        KVProjRefFileDelete(name);
        const std::string stem = DropExtension(name);
        for (const std::string& sibling : {stem + ".RSF", stem + ".PRJ", stem + ".WLD",
                                           std::string(name) + "W"})
            if (!RemoveIfPresent(sibling)) return false;
        return RemoveIfPresent(WorldFileName(name, false));
    });
}

} // namespace KVProj
