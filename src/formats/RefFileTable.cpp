// Converters and look-ups of the reference file's keyword table.
#include "formats/RefFileTable.h"

#include "frame/Util.h"
#include "kvproj/ellipsoid.h"
#include "kvproj/stateplane.h"

#include <cstring>
#include <string>

namespace KVProj {
namespace {

constexpr char kUnknown[] = "UNKNOWN";

struct NamedValue {
    int value;
    const char* name;
};

// Datum methods as the file names them; any other method is written "UNKNOWN"
// and any other name reads as 7, so HARN and NTv2 do not survive a file.
constexpr NamedValue kDatumMethodNames[] = {
    {DM_NOXFORM, "No transform"}, {DM_NADCON, "NADCON"}, {DM_BURSA, "Bursa-Wolf"},
    {DM_MOLODENSKY, "Molodensky"}, {DM_MRE, "MRE"},
};
constexpr int kUnknownDatumMethod = 7;

// Names of georeference methods older files used, tried after the current ones.
constexpr NamedValue kOlderGeorefNames[] = {
    {TM_HELMERT, "Helmert"},          {TM_AFFINE, "Affine"},
    {TM_FIRST_ORDER, "First Order"},  {TM_SECOND_ORDER, "Second Order"},
    {TM_THIRD_ORDER, "Third Order"},  {TM_PRECALCULATED, "Known Coefficients"},
};

// The value text with leading and trailing blanks, tabs, CR and LF removed.
std::string Trimmed(const char* text) {
    const char* first = text;
    while (*first == ' ' || *first == '\t' || *first == '\r' || *first == '\n')
        ++first;
    const char* last = first + std::strlen(first);
    while (last > first &&
           (last[-1] == ' ' || last[-1] == '\t' || last[-1] == '\r' || last[-1] == '\n'))
        --last;
    return std::string(first, last);
}

void PutText(char* out, const char* text) {
    CopyName(out, text && *text ? text : kUnknown, kRefTextLen);
}

bool EllipsoidToText(EllipsoidType e, char* out) {
    if (e == ELLIPSOID_NONE) return false;
    char name[KVPROJ_NAME_LEN] = "";
    double radius, flattening;
    CopyName(out, EllipsoidInfo(e, name, &radius, &flattening) ? name : "USER-DEFINED",
             kRefTextLen);
    return true;
}

EllipsoidType EllipsoidFromText(const char* text) {
    std::string name = Trimmed(text);
    EllipsoidType e = ELLIPSOID_USER_DEFINED;
    if (!EllipsoidFromName(&e, &name[0])) e = ELLIPSOID_USER_DEFINED;
    return e;
}

} // namespace

bool LooseEqual(const char* a, const char* b) {
    auto skip = [](const char*& p) {
        while (*p == ' ' || *p == '\t' || *p == '\r' || *p == '\n')
            ++p;
    };
    for (;;) {
        skip(a);
        skip(b);
        if (!*a || !*b) return !*a && !*b;
        if (LowerAscii(*a) != LowerAscii(*b)) return false;
        ++a;
        ++b;
    }
}

bool ProjNameToText(const RefRecords& r, char* out) {
    char name[KVPROJ_NAME_LEN] = "";
    ProjGetProjectionInfo(r.proj->Type, name);
    PutText(out, name);
    return true;
}

bool ProjNameFromText(RefRecords& r, const char* text) {
    const std::string value = Trimmed(text);
    r.proj->Type = PT_UNDEFINED;
    for (int t = 0; t < PT_COUNT; ++t) {
        char name[KVPROJ_NAME_LEN] = "";
        ProjGetProjectionInfo(static_cast<ProjType>(t), name);
        if (LooseEqual(name, value.c_str())) {
            r.proj->Type = static_cast<ProjType>(t);
            break;
        }
    }
    return true;
}

bool ZoneToText(const RefRecords& r, char* out) {
    if (r.proj->Zone == STATEZONE_NONE) return false;
    char name[kStateZoneNameLen] = "";
    ProjGetStateZoneInfo(r.proj->Zone, name, nullptr);
    PutText(out, name);
    return true;
}

bool ZoneFromText(RefRecords& r, const char* text) {
    std::string name = Trimmed(text);
    StateZoneType zone = STATEZONE_NONE;
    if (!ProjGetStateZoneFromName(&zone, &name[0])) zone = STATEZONE_NONE;
    r.proj->Zone = zone;
    return true;
}

bool ProjEllipsoidToText(const RefRecords& r, char* out) {
    return EllipsoidToText(r.proj->Ellipsoid, out);
}

bool ProjEllipsoidFromText(RefRecords& r, const char* text) {
    r.proj->Ellipsoid = EllipsoidFromText(text);
    return true;
}

bool DatumNameToText(const RefRecords& r, char* out) {
    char name[kRefTextLen] = "";
    DatGetDatumName(*r.datum, name);
    PutText(out, name);
    return true;
}

bool DatumNameFromText(RefRecords& r, const char* text) {
    const std::string name = Trimmed(text);
    DatumType datum = DATUM_NONE;
    if (!DatGetDatumFromName(&datum, name.c_str())) datum = DATUM_NONE;
    *r.datum = datum;
    return true;
}

bool DatumMethodToText(const RefRecords& r, char* out) {
    const char* text = kUnknown;
    for (const NamedValue& m : kDatumMethodNames)
        if (m.value == r.params->Method) text = m.name;
    PutText(out, text);
    return true;
}

bool DatumMethodFromText(RefRecords& r, const char* text) {
    const std::string value = Trimmed(text);
    int method = kUnknownDatumMethod;
    for (const NamedValue& m : kDatumMethodNames)
        if (LooseEqual(m.name, value.c_str())) {
            method = m.value;
            break;
        }
    r.params->Method = static_cast<DatumMethod>(method);
    return true;
}

bool DatumEllipsoidToText(const RefRecords& r, char* out) {
    return EllipsoidToText(r.params->Ellipsoid, out);
}

bool DatumEllipsoidFromText(RefRecords& r, const char* text) {
    r.params->Ellipsoid = EllipsoidFromText(text);
    return true;
}

bool GeorefMethodToText(const RefRecords& r, char* out) {
    PutText(out, RefMethodName(r.georef->Method));
    return true;
}

bool GeorefMethodFromText(RefRecords& r, const char* text) {
    const std::string value = Trimmed(text);
    for (int m = TM_HELMERT; m < TM_NONE; ++m)
        if (LooseEqual(RefMethodName(static_cast<TransformMethod>(m)), value.c_str())) {
            r.georef->Method = static_cast<TransformMethod>(m);
            return true;
        }
    for (const NamedValue& m : kOlderGeorefNames)
        if (LooseEqual(m.name, value.c_str())) {
            r.georef->Method = static_cast<TransformMethod>(m.value);
            return true;
        }
    r.georef->Method = TM_NONE;
    return true;
}

bool Applies(const RefKeyword& row, const RefRecords& r) {
    if (row.id == 0) return true;
    uint64_t ids = 0;
    switch (row.record) {
    case RR_PROJ:
        if (r.proj->Type >= 0 && r.proj->Type < PT_COUNT) ids = kProjApplies[r.proj->Type];
        break;
    case RR_DATUM:
        if (r.params->Method >= 0 && r.params->Method < DM_COUNT)
            ids = kDatumApplies[r.params->Method];
        break;
    case RR_GEOREF:
        if (r.georef->Method == TM_PRECALCULATED) ids = kCoefficientIds;
        else if (r.georef->Method >= TM_HELMERT && r.georef->Method < TM_NONE)
            ids = kPointCountIds;
        break;
    }
    return (ids >> row.id) & 1u;
}

char* FieldOf(const RefKeyword& row, const RefRecords& r) {
    char* base = nullptr;
    switch (row.record) {
    case RR_PROJ: base = reinterpret_cast<char*>(r.proj); break;
    case RR_DATUM: base = reinterpret_cast<char*>(r.params); break;
    case RR_GEOREF: base = reinterpret_cast<char*>(r.georef); break;
    }
    return row.field == kNoField ? base : base + row.field;
}

bool Supplied(const RefKeyword& row, const RefRecords& r) {
    switch (row.record) {
    case RR_PROJ: return r.proj != nullptr;
    case RR_DATUM: return r.datum != nullptr && r.params != nullptr;
    case RR_GEOREF: return r.georef != nullptr;
    }
    return false;
}

const RefKeyword* FindKeyword(const char* key) {
    for (const RefKeyword& row : kRefKeywords)
        if (LooseEqual(row.keyword, key)) return &row;
    return nullptr;
}

} // namespace KVProj
