// Geodetic datums: the built-in datum table, conversion of longitude/latitude
// points between datums through WGS 84, and the store of user-defined datums.
#ifndef KVPROJ_DATUM_H
#define KVPROJ_DATUM_H

#include "kvproj/ellipsoid.h"
#include "kvproj/export.h"

#include <cstddef>

namespace KVProj {

// How one datum is taken to WGS 84. The values are stored in files.
enum DatumMethod : int {
    DM_NOXFORM = 0,    // coordinates are taken as WGS 84
    DM_NADCON = 1,     // NADCON grid shift (to WGS 84 only)
    DM_BURSA = 2,      // seven-parameter Bursa-Wolf through geocentric coordinates
    DM_MOLODENSKY = 3, // standard Molodensky three-parameter shift
    DM_HARN = 4,       // declared but refused by validation and conversion
    DM_MRE = 5,        // multiple regression equations (to WGS 84 only)
    DM_NTV2 = 6,       // NTv2 grid shift
    DM_COUNT = 7,      // also the method of the table's end marker
};

// 0 is the user-defined datum, 1..253 the built-in datums, 254 none.
// The values are persistent: reference files and custom entries store them.
enum DatumType : int {
    DATUM_USER_DEFINED = 0,
    DATUM_NAD83 = 1,
    DATUM_NAD27 = 2,
    DATUM_WGS84 = 3,
    DATUM_WGS72 = 4,
    DATUM_ED50 = 5,
    DATUM_TOKYO = 7,
    DATUM_NTF_PARIS = 147,
    DATUM_WGS72_BURSA = 215,
    DATUM_NTF_PARIS_BURSA = 222,
    DATUM_MRE_FIRST = 224,
    DATUM_MRE_LAST = 231,
    DATUM_NADCON_CONUS = 232,
    DATUM_NADCON_PRVI = 233,
    DATUM_NTV2_CANADA = 253,
    DATUM_COUNT = 254,
    DATUM_NONE = 254,
};

#pragma pack(push, 1)

// One datum's step to WGS 84.
struct DATUM2WGS84 {
    DatumMethod Method;
    bool bInverse;           // false: datum -> WGS 84; true: WGS 84 -> datum
    EllipsoidType Ellipsoid; // 0: MajorRadius and Flattening give the ellipsoid
    double PMShift;          // degrees east of Greenwich of the datum's prime meridian
    double dx, dy, dz;       // metres
    double rx, ry, rz;       // arcseconds (Bursa-Wolf only)
    double k;                // parts per million (Bursa-Wolf only)
    double MajorRadius;      // metres
    double Flattening;       // flattening, not its inverse
    unsigned char Spare[39]; // travels with the record, never interpreted
};

// One conversion request: source datum to WGS 84, then WGS 84 to destination.
struct DATUMXFORM {
    DatumType SrcDatum;
    DatumType DestDatum;
    unsigned char Spare1;
    DATUM2WGS84 Step1; // filled by the caller when SrcDatum is 0
    DATUM2WGS84 Step2; // filled by the caller when DestDatum is 0 (bInverse true)
    bool bUnplottable; // set by a conversion that produced an unplottable point
    unsigned char Spare2[22];
};

// Longitude (x) and latitude (y) in degrees.
struct DATUMPOINT {
    double x;
    double y;
};

#pragma pack(pop)

static_assert(sizeof(DATUM2WGS84) == 128, "DATUM2WGS84 layout is part of the interface");
static_assert(offsetof(DATUM2WGS84, Method) == 0, "DATUM2WGS84 layout");
static_assert(offsetof(DATUM2WGS84, bInverse) == 4, "DATUM2WGS84 layout");
static_assert(offsetof(DATUM2WGS84, Ellipsoid) == 5, "DATUM2WGS84 layout");
static_assert(offsetof(DATUM2WGS84, PMShift) == 9, "DATUM2WGS84 layout");
static_assert(offsetof(DATUM2WGS84, dx) == 17, "DATUM2WGS84 layout");
static_assert(offsetof(DATUM2WGS84, dy) == 25, "DATUM2WGS84 layout");
static_assert(offsetof(DATUM2WGS84, dz) == 33, "DATUM2WGS84 layout");
static_assert(offsetof(DATUM2WGS84, rx) == 41, "DATUM2WGS84 layout");
static_assert(offsetof(DATUM2WGS84, ry) == 49, "DATUM2WGS84 layout");
static_assert(offsetof(DATUM2WGS84, rz) == 57, "DATUM2WGS84 layout");
static_assert(offsetof(DATUM2WGS84, k) == 65, "DATUM2WGS84 layout");
static_assert(offsetof(DATUM2WGS84, MajorRadius) == 73, "DATUM2WGS84 layout");
static_assert(offsetof(DATUM2WGS84, Flattening) == 81, "DATUM2WGS84 layout");
static_assert(offsetof(DATUM2WGS84, Spare) == 89, "DATUM2WGS84 layout");
static_assert(sizeof(DATUMXFORM) == 288, "DATUMXFORM layout is part of the interface");
static_assert(offsetof(DATUMXFORM, SrcDatum) == 0, "DATUMXFORM layout");
static_assert(offsetof(DATUMXFORM, DestDatum) == 4, "DATUMXFORM layout");
static_assert(offsetof(DATUMXFORM, Spare1) == 8, "DATUMXFORM layout");
static_assert(offsetof(DATUMXFORM, Step1) == 9, "DATUMXFORM layout");
static_assert(offsetof(DATUMXFORM, Step2) == 137, "DATUMXFORM layout");
static_assert(offsetof(DATUMXFORM, bUnplottable) == 265, "DATUMXFORM layout");
static_assert(offsetof(DATUMXFORM, Spare2) == 266, "DATUMXFORM layout");
static_assert(sizeof(DATUMPOINT) == 16 && offsetof(DATUMPOINT, y) == 8, "DATUMPOINT layout");

// ---------------------------------------------------------------- the table
// Text buffers passed to these functions hold 256 characters.

// 254: the number of values 0..253.
KVPROJ_API int DatNumDatums();
// Writes the name of `id` into `out`: "User Defined" for 0, "" for an unknown id.
KVPROJ_API void DatGetDatumName(DatumType id, char* out);
// First datum whose name equals `name` ignoring case; "User Defined" gives 0.
KVPROJ_API bool DatGetDatumFromName(DatumType* out, const char* name);
// POSC/EPSG datum code of `id`; false when it has none. `out` may be null.
KVPROJ_API bool DatGetDatumPOSCNumber(DatumType id, int* out);
// First datum with the POSC/EPSG code `number`.
KVPROJ_API bool DatGetDatumFromPOSCNumber(DatumType* out, int number);
// True when `id` converts both ways (Molodensky, Bursa-Wolf or none).
KVPROJ_API bool DatReversible(DatumType id);
// The step to WGS 84 of `id`; false for 0 and for datums that cannot be a destination.
KVPROJ_API bool DatGetDatumParams(DatumType id, DATUM2WGS84* out);
KVPROJ_API bool DatGetDatumMethod(DatumType id, DatumMethod* out);

// ---------------------------------------------------------------- conversion

// 0 when `xform` is valid, else the number of the first bad parameter; the
// message text goes to `message` (256 characters, may be null) and, when
// `report` is true, to the host's error callback.
KVPROJ_API int DatCheckParams(const DATUMXFORM* xform, char* message, bool report);
// A handle for converting points, or null when `xform` is invalid.
KVPROJ_API void* DatCreateDatum(const DATUMXFORM* xform);
KVPROJ_API void DatDeleteDatum(void* handle);
// Converts `count` points in place from the source to the destination datum.
KVPROJ_API bool DatConvertDatum(void* handle, DATUMPOINT* points, int count);
// Whether the last conversion through `handle` produced an unplottable point.
KVPROJ_API bool DatHadUnplottables(void* handle);
// Copies the handle's record into `out`.
KVPROJ_API bool DatGetHandleInfo(void* handle, DATUMXFORM* out);

// ---------------------------------------------------------------- grid files
// Extension, beyond the datum calls above: where the grid files of the
// NADCON (232, 233) and NTv2 (253) datums are looked up. By default, and after
// a null or empty `path`, only the folder of the running executable is
// searched. Otherwise `path` lists folders separated by ':' (empty entries are
// skipped); each file is taken from the first folder that holds it, letter
// case ignored. A grid loaded from the previous folders is dropped, so the
// next conversion loads it from the new ones. Safe to call from any thread.
KVPROJ_API void DatSetGridSearchPath(const char* path);
// Copies the folders searched now, each ending in '/', separated by ':', into
// `out` (`size` bytes); false, with `out` empty, when they do not fit or no
// folder is known.
KVPROJ_API bool DatGetGridSearchPath(char* out, int size);

// Owns one datum handle. Assignment copies the handle pointer only, so two
// objects may share one handle; the copy constructor makes a new handle.
class KVPROJ_API CDatumTransform {
public:
    CDatumTransform();
    explicit CDatumTransform(const DATUMXFORM* xform);
    CDatumTransform(const CDatumTransform& other);
    virtual ~CDatumTransform();
    CDatumTransform& operator=(const CDatumTransform& other);

    bool Create(const DATUMXFORM* xform);
    void Delete();
    bool IsCreated() const;
    bool Convert(DATUMPOINT* points, int count);
    bool HadUnplottables() const;
    bool GetInfo(DATUMXFORM* out) const;

private:
    void* m_hDatum;
};

// ---------------------------------------------------------------- custom datums
// User-defined datums kept by name in the "Custom Datums" section of a profile
// file the caller chooses. Built-in datums are numbered 0..253, custom entries
// from 254 on, in the order of the section.

KVPROJ_API int NDatNumDatums(const char* file);
KVPROJ_API bool NDatEnumDatumName(const char* file, char* out, int index);
KVPROJ_API bool NDatSave(const char* file, const char* name, const DATUM2WGS84* params);
KVPROJ_API bool NDatDelete(const char* file, const char* name);
KVPROJ_API bool NDatGetDatumParams(const char* file, const char* name, DATUM2WGS84* out);
KVPROJ_API bool NDatExists(const char* file, const char* name, int* index);
KVPROJ_API bool NDatIsBuiltIn(const char* file, const char* name, DatumType* out);
KVPROJ_API bool NDatReversible(const char* file, const char* name);
KVPROJ_API bool NDatGetDatumMethod(const char* file, const char* name, DatumMethod* out);

} // namespace KVProj

#endif
