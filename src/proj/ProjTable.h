// The built-in catalogues behind the projection parameter interface: the
// projection types, the parameter descriptions and the parameters of each type.
#ifndef KVPROJ_PROJ_PROJTABLE_H
#define KVPROJ_PROJ_PROJTABLE_H

#include "kvproj/projdata.h"

namespace KVProj {

// One parameter: where it lives in PROJDATA and how wide it is. The table's
// last row has id 0, an empty label, PDT_END and position and width -1.
struct ProjParamRow {
    int id;
    const char* label;
    ProjDataType type;
    int position;
    int width;
};

// The longest parameter list (Hotine) has 15 ids; the zero after the last id
// terminates every list and is itself matched by a search for id 0.
constexpr int kMaxTypeParams = 15;

// The parameters of one projection type in presentation order.
struct ProjTypeParamsRow {
    int type;
    int ids[kMaxTypeParams + 1];
};

// Display name of `type`, or null for a value outside 0..28.
const char* ProjTypeName(int type);
// Capability word of `type`; 0 for a value outside 0..28.
unsigned int ProjTypeInfo(int type);

// First row of the parameter table; rows follow until the id-0 row.
const ProjParamRow* ProjParamTable();
// Row of parameter `id` (the id-0 row is never found); null when unknown.
const ProjParamRow* ProjFindParam(int id);

// Zero-terminated parameter ids of `type`; null when the type has no row.
const int* ProjTypeParamIds(int type);

} // namespace KVProj

#endif
