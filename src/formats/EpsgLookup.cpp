// Lookups in the generated EPSG tables.
#include "formats/EpsgTables.h"

#include "frame/SiblingFile.h"

#include <algorithm>

namespace KVProj {

namespace {

template <typename Row> const Row* FindByCode(const Row* rows, int count, int code) {
    for (int i = 0; i < count; ++i)
        if (rows[i].code == code) return &rows[i];
    return nullptr;
}

// The tables are sorted by code (the generator checks it).
template <typename Row> const Row* FindSorted(const Row* rows, int count, int code) {
    const Row* end = rows + count;
    const Row* at =
        std::lower_bound(rows, end, code, [](const Row& r, int c) { return r.code < c; });
    return at != end && at->code == code ? at : nullptr;
}

} // namespace

const EpsgProjected* EpsgFindProjected(int code) {
    return FindSorted(kEpsgProjecteds, kEpsgProjectedCount, code);
}

const EpsgRefused* EpsgFindRefused(int code) {
    return FindSorted(kEpsgRefuseds, kEpsgRefusedCount, code);
}

const EpsgGeographic* EpsgFindGeographic(int code) {
    return FindSorted(kEpsgGeographics, kEpsgGeographicCount, code);
}

const EpsgGeographicBase* EpsgFindGeographicBase(int code) {
    return FindSorted(kEpsgGeographicBases, kEpsgGeographicBaseCount, code);
}

const EpsgDatum* EpsgFindDatum(int code) {
    return FindByCode(kEpsgDatums, kEpsgDatumCount, code);
}

const EpsgEllipsoid* EpsgFindEllipsoid(int code) {
    return FindByCode(kEpsgEllipsoids, kEpsgEllipsoidCount, code);
}

const EpsgPrimeMeridian* EpsgFindPrimeMeridian(int code) {
    return FindByCode(kEpsgPrimeMeridians, kEpsgPrimeMeridianCount, code);
}

const EpsgGeographic* EpsgFindGeographicByDatum(int datumCode) {
    for (int i = 0; i < kEpsgGeographicCount; ++i)
        if (kEpsgGeographics[i].datumCode == datumCode) return &kEpsgGeographics[i];
    return nullptr;
}

int EpsgDatumCodeFromName(const char* name) {
    if (!name) return -1;
    for (int i = 0; i < kEpsgDatumCount; ++i) {
        const EpsgDatum& d = kEpsgDatums[i];
        if (EqualIgnoringCase(name, d.name) || (*d.esriName && EqualIgnoringCase(name, d.esriName)))
            return d.code;
    }
    return -1;
}

} // namespace KVProj
