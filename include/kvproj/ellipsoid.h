// The built-in table of reference ellipsoids.
#ifndef KVPROJ_ELLIPSOID_H
#define KVPROJ_ELLIPSOID_H

#include "kvproj/export.h"

namespace KVProj {

// Row numbers of the ellipsoid table; 0 is user-defined (radius and
// flattening given by the caller), 56 means none.
enum EllipsoidType : int {
    ELLIPSOID_USER_DEFINED = 0,
    ELLIPSOID_GRS80 = 3,
    ELLIPSOID_CLARKE_1866 = 15,
    ELLIPSOID_CLARKE_1880_MOD = 16,
    ELLIPSOID_EVEREST_1830 = 20,
    ELLIPSOID_INTERNATIONAL_1924 = 34,
    ELLIPSOID_MICHIGAN_1927 = 42,
    ELLIPSOID_WGS72 = 46,
    ELLIPSOID_WGS84 = 47,
    ELLIPSOID_SPHERE_6370997 = 48,
    ELLIPSOID_UNIT_SPHERE = 49,
    ELLIPSOID_COUNT = 56,
    ELLIPSOID_NONE = 56,
};

// Name (80-character buffer), radius (m) and flattening of row e, 1..55.
// For 0 writes "user-defined" and returns false; other values return false.
KVPROJ_API bool EllipsoidInfo(EllipsoidType e, char* name, double* radius, double* flattening);
// Radius of row e; 1.0 for 0 and out-of-range values.
KVPROJ_API double EllipsoidRadius(EllipsoidType e);
// Flattening of row e; 0.0 for 0 and out-of-range values.
KVPROJ_API double EllipsoidFlattening(EllipsoidType e);
// Case-insensitive name look-up; *e is set to 0 first.
KVPROJ_API bool EllipsoidFromName(EllipsoidType* e, char* name);
// EPSG ellipsoid code to row. Codes 7011-7014, 7034 and 7016-7018 store a
// close row into *e but still return false.
KVPROJ_API bool EllipsoidFromPOSCNumber(int code, EllipsoidType* e);
// Row to EPSG ellipsoid code; false for rows without one.
KVPROJ_API bool EllipsoidToPOSCNumber(EllipsoidType e, int* code);

} // namespace KVProj

#endif
