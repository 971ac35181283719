// The generic parameter interface of PROJDATA and its log dump.
#include "proj/ProjParams.h"
#include "proj/StatePlane.h"

#include "frame/Diag.h"
#include "frame/Util.h"
#include "proj/ProjTable.h"
#include "frame/Firewall.h"

#include <cstring>

namespace KVProj {
namespace {

constexpr int kZoneNameLen = 256;
const char kUnknown[] = "UNKNOWN";

const char* FlagText(const bool& field) {
    return HostFlag(field) ? "true" : "false";
}

} // namespace

static int ProjNumProjectionsBody() {
    return PT_COUNT;
}

static unsigned int ProjGetProjectionInfoBody(ProjType type, char* name) {
    const char* text = ProjTypeName(type);
    if (!text) text = type == PT_UNDEFINED ? "undefined" : "";
    if (name) CopyName(name, text, KVPROJ_NAME_LEN);
    return ProjTypeInfo(type);
}

static int ProjNumParamsBody(ProjType type) {
    const int* ids = ProjTypeParamIds(type);
    if (!ids) return -1;
    int count = 0;
    while (ids[count] != 0)
        ++count;
    return count;
}

static int ProjEnumParamBody(ProjType type, int index) {
    if (index < 0 || index >= ProjNumParams(type)) return 0;
    return ProjTypeParamIds(type)[index];
}

static bool ProjUsesParamBody(ProjType type, int id) {
    const int* ids = ProjTypeParamIds(type);
    if (!ids) return false;
    // The terminator takes part in the search: id 0 is "used" by every type.
    for (int i = 0;; ++i) {
        if (ids[i] == id) return true;
        if (ids[i] == 0) return false;
    }
}

static bool ProjParamInfoBody(int id, char* label, ProjDataType* type, int* position, int* width) {
    const ProjParamRow* row = ProjFindParam(id);
    if (!row) return false;
    if (label) CopyName(label, row->label, KVPROJ_NAME_LEN);
    if (type) *type = row->type;
    if (position) *position = row->position;
    if (width) *width = row->width;
    return true;
}

static bool ProjGetParamBody(PROJDATA* data, int id, void* value) {
    const ProjParamRow* row = ProjFindParam(id);
    if (!row) return false;
    if (!data || !value) return KV_ASSERT_FAIL();
    std::memcpy(value, reinterpret_cast<const unsigned char*>(data) + row->position,
                static_cast<size_t>(row->width));
    return true;
}

static bool ProjSetParamBody(PROJDATA* data, int id, void* value) {
    const ProjParamRow* row = ProjFindParam(id);
    if (!row) return false;
    if (!data || !value) return KV_ASSERT_FAIL();
    std::memcpy(reinterpret_cast<unsigned char*>(data) + row->position, value,
                static_cast<size_t>(row->width));
    return true;
}

void NormaliseProjFlags(PROJDATA& data) {
    unsigned char* bytes = reinterpret_cast<unsigned char*>(&data);
    for (const ProjParamRow* row = ProjParamTable(); row->id != PP_NONE; ++row)
        if (row->type == PDT_BOOL)
            NormaliseHostFlag(*reinterpret_cast<bool*>(bytes + row->position));
    NormaliseHostFlag(data.bWrapLon); // not a catalogue parameter
}

bool StateZoneNameForDump(int zone, char* name) {
    if (!name) return false;
    const char* zoneName = StateZoneName(zone);
    CopyName(name, zoneName, 256);
    return name[0] != '\0';
}

void ProjDumpData(const PROJDATA* data) {
    if (!LogIsEnabled()) return;
    LogPrintf("  PROJDATA (Pointer=%p)\n", static_cast<const void*>(data));
    if (!data) return;

    const char* typeName = ProjTypeName(data->Type);
    LogPrintf("    Type:            %d (%s)\n", static_cast<int>(data->Type),
              typeName ? typeName : kUnknown);
    LogPrintf("    Scale:           %f\n", data->Scale);
    LogPrintf("    xOrg:            %f\n", data->xOrg);
    LogPrintf("    yOrg:            %f\n", data->yOrg);
    LogPrintf("    Lat0:            %f\n", data->Lat0);
    LogPrintf("    Lon0:            %f\n", data->Lon0);
    LogPrintf("    Lat1:            %f\n", data->Lat1);
    LogPrintf("    Lat2:            %f\n", data->Lat2);
    LogPrintf("    Lat3:            %f\n", data->Lat3);
    LogPrintf("    Lon1:            %f\n", data->Lon1);
    LogPrintf("    Lon2:            %f\n", data->Lon2);
    LogPrintf("    Lon3:            %f\n", data->Lon3);
    LogPrintf("    K0:              %f\n", data->K0);
    LogPrintf("    bSouth:          %s\n", FlagText(data->bSouth));

    char zoneName[kZoneNameLen];
    bool zoneKnown = StateZoneNameForDump(data->Zone, zoneName) && zoneName[0] != '\0';
    LogPrintf("    Zone:            %d (%s)\n", static_cast<int>(data->Zone),
              zoneKnown ? zoneName : kUnknown);

    LogPrintf("    bUseAlpha:       %s\n", FlagText(data->bUseAlpha));
    LogPrintf("    Alpha:           %f\n", data->Alpha);
    LogPrintf("    bRotate:         %s\n", FlagText(data->bRotate));
    LogPrintf("    bUOffset:        %s\n", FlagText(data->bUOffset));

    char ellipsoidName[KVPROJ_NAME_LEN];
    bool ellipsoidKnown = EllipsoidInfo(data->Ellipsoid, ellipsoidName, nullptr, nullptr);
    LogPrintf("    Ellipsoid:       %d (%s)\n", static_cast<int>(data->Ellipsoid),
              ellipsoidKnown ? ellipsoidName : kUnknown);

    LogPrintf("    MajorRadius:     %f\n", data->MajorRadius);
    LogPrintf("    Flattening:      %f\n", data->Flattening);
    LogPrintf("    iResult:         %d\n", static_cast<int>(data->iResult));
}

// ---------------------------------------------------------------- exported, behind the firewall

int ProjNumProjections() {
    return KV_GUARDED(static_cast<int>(PT_COUNT), [&] { return ProjNumProjectionsBody(); });
}

unsigned int ProjGetProjectionInfo(ProjType type, char* name) {
    return KV_GUARDED(0u, [&] { return ProjGetProjectionInfoBody(type, name); });
}

int ProjNumParams(ProjType type) {
    return KV_GUARDED(-1, [&] { return ProjNumParamsBody(type); });
}

int ProjEnumParam(ProjType type, int index) {
    return KV_GUARDED(0, [&] { return ProjEnumParamBody(type, index); });
}

bool ProjUsesParam(ProjType type, int id) {
    return KV_GUARDED(false, [&] { return ProjUsesParamBody(type, id); });
}

bool ProjParamInfo(int id, char* label, ProjDataType* type, int* position, int* width) {
    return KV_GUARDED(false, [&] { return ProjParamInfoBody(id, label, type, position, width); });
}

bool ProjGetParam(PROJDATA* data, int id, void* value) {
    return KV_GUARDED(false, [&] { return ProjGetParamBody(data, id, value); });
}

bool ProjSetParam(PROJDATA* data, int id, void* value) {
    return KV_GUARDED(false, [&] { return ProjSetParamBody(data, id, value); });
}

} // namespace KVProj
