// Lookups in the generated EPSG tables.
#include "formats/EpsgTables.h"

#include "frame/SiblingFile.h"

namespace KVProj {

namespace {

template <typename Row> const Row* FindByCode(const Row* rows, int count, int code) {
    for (int i = 0; i < count; ++i)
        if (rows[i].code == code) return &rows[i];
    return nullptr;
}

} // namespace

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
