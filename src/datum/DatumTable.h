// The built-in datum table and the two ways of finding a row by id.
#ifndef KVPROJ_DATUM_DATUMTABLE_H
#define KVPROJ_DATUM_DATUMTABLE_H

#include "kvproj/datum.h"

namespace KVProj {

struct DatumRow {
    int id;   // DatumType; 254 on the end marker
    int posc; // POSC/EPSG geodetic datum code, 0 when none
    const char* name;
    DatumMethod method;
    EllipsoidType ellipsoid;
    double dx, dy, dz, rx, ry, rz, k, pmShift;
};

// 253 rows in their fixed search order, then the end marker (id 254).
extern const DatumRow kDatumRows[];
constexpr int kDatumRowCount = 253;

// Index of the first row with `id`, or kDatumRowCount (the end marker).
int DatumFindRow(int id);
// As DatumFindRow, but passes over rows whose method works only towards
// WGS 84 (regression and NADCON), so those are never found as destinations.
int DatumFindDestRow(int id);
// Copies a row into a step record: method, ellipsoid and parameters;
// bInverse false; the ellipsoid size fields are left alone.
void DatumFillStep(const DatumRow& row, DATUM2WGS84* step);

// Whether `method` goes both ways (to and from WGS 84).
inline bool MethodReversible(int method) {
    return method == DM_MOLODENSKY || method == DM_BURSA || method == DM_NOXFORM;
}

} // namespace KVProj

#endif
