// The generic parameter interface of PROJDATA and its log dump.
#include "proj/ProjParams.h"
#include "proj/StatePlane.h"

#include "frame/Diag.h"
#include "frame/Util.h"
#include "proj/ProjTable.h"

#include <cstring>

namespace KVProj {
namespace {

constexpr int kZoneNameLen = 256;
const char kUnknown[] = "UNKNOWN";

// Reads the flag's byte rather than the bool: hosts may store any byte there.
const char* flagText(const bool& field) {
    unsigned char byte;
    std::memcpy(&byte, &field, 1);
    return byte ? "true" : "false";
}

} // namespace

int ProjNumProjections() {
    return PT_COUNT;
}

unsigned int ProjGetProjectionInfo(ProjType type, char* name) {
    const char* text = ProjTypeName(type);
    if (!text) text = type == PT_UNDEFINED ? "undefined" : "";
    if (name) CopyName(name, text, KVPROJ_NAME_LEN);
    return ProjTypeInfo(type);
}

int ProjNumParams(ProjType type) {
    const int* ids = ProjTypeParamIds(type);
    if (!ids) return -1;
    int count = 0;
    while (ids[count] != 0)
        ++count;
    return count;
}

int ProjEnumParam(ProjType type, int index) {
    if (index < 0 || index >= ProjNumParams(type)) return 0;
    return ProjTypeParamIds(type)[index];
}

bool ProjUsesParam(ProjType type, int id) {
    const int* ids = ProjTypeParamIds(type);
    if (!ids) return false;
    // The terminator takes part in the search: id 0 is "used" by every type.
    for (int i = 0;; ++i) {
        if (ids[i] == id) return true;
        if (ids[i] == 0) return false;
    }
}

bool ProjParamInfo(int id, char* label, ProjDataType* type, int* position, int* width) {
    const ProjParamRow* row = ProjFindParam(id);
    if (!row) return false;
    if (label) CopyName(label, row->label, KVPROJ_NAME_LEN);
    if (type) *type = row->type;
    if (position) *position = row->position;
    if (width) *width = row->width;
    return true;
}

bool ProjGetParam(PROJDATA* data, int id, void* value) {
    const ProjParamRow* row = ProjFindParam(id);
    if (!row) return false;
    if (!data || !value) return KV_ASSERT_FAIL();
    std::memcpy(value, reinterpret_cast<const unsigned char*>(data) + row->position,
                static_cast<size_t>(row->width));
    return true;
}

bool ProjSetParam(PROJDATA* data, int id, void* value) {
    const ProjParamRow* row = ProjFindParam(id);
    if (!row) return false;
    if (!data || !value) return KV_ASSERT_FAIL();
    std::memcpy(reinterpret_cast<unsigned char*>(data) + row->position, value,
                static_cast<size_t>(row->width));
    return true;
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
    LogPrintf("    bSouth:          %s\n", flagText(data->bSouth));

    char zoneName[kZoneNameLen];
    bool zoneKnown = StateZoneNameForDump(data->Zone, zoneName) && zoneName[0] != '\0';
    LogPrintf("    Zone:            %d (%s)\n", static_cast<int>(data->Zone),
              zoneKnown ? zoneName : kUnknown);

    LogPrintf("    bUseAlpha:       %s\n", flagText(data->bUseAlpha));
    LogPrintf("    Alpha:           %f\n", data->Alpha);
    LogPrintf("    bRotate:         %s\n", flagText(data->bRotate));
    LogPrintf("    bUOffset:        %s\n", flagText(data->bUOffset));

    char ellipsoidName[KVPROJ_NAME_LEN];
    bool ellipsoidKnown = EllipsoidInfo(data->Ellipsoid, ellipsoidName, nullptr, nullptr);
    LogPrintf("    Ellipsoid:       %d (%s)\n", static_cast<int>(data->Ellipsoid),
              ellipsoidKnown ? ellipsoidName : kUnknown);

    LogPrintf("    MajorRadius:     %f\n", data->MajorRadius);
    LogPrintf("    Flattening:      %f\n", data->Flattening);
    LogPrintf("    iResult:         %d\n", static_cast<int>(data->iResult));
}

} // namespace KVProj
