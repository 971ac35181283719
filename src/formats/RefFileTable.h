// The keyword table of the reference file and what hangs on it: value kinds,
// text converters, applicability of each row to a record, and the loose
// comparison by which keywords and names are matched.
#ifndef KVPROJ_FORMATS_REFFILETABLE_H
#define KVPROJ_FORMATS_REFFILETABLE_H

#include "kvproj/datum.h"
#include "kvproj/georef.h"
#include "kvproj/projdata.h"

#include <cstddef>
#include <cstdint>
#include <initializer_list>

namespace KVProj {

enum RefRecord : int { RR_PROJ = 0, RR_DATUM = 1, RR_GEOREF = 2 };
enum RefParamKind : int { RPK_DOUBLE = 0, RPK_BOOL = 1, RPK_INT = 2, RPK_TEXT = 3 };

// The records one reference file describes; a null member was not supplied.
// `datum` is the DatumType value, `params` its DATUM2WGS84 (the datum rows).
struct RefRecords {
    PROJDATA* proj;
    DatumType* datum;
    DATUM2WGS84* params;
    GEOREF* georef;
};

constexpr int kRefTextLen = 256; // a converted text holds at most 255 characters
constexpr int kNoField = -1;

// To text: false means the row is not written. From text: the value text as it
// stands in the file (trimmed by the converter); false fails the read.
using RefToText = bool (*)(const RefRecords& r, char* out);
using RefFromText = bool (*)(RefRecords& r, const char* text);

struct RefKeyword {
    int id;            // applicability id; 0 applies always
    RefRecord record;  // which record the row addresses
    RefParamKind kind; // how the value is written and read
    int field;         // byte offset in the record; kNoField for text rows
    RefFromText fromText;
    RefToText toText;
    const char* keyword;
};

bool ProjNameToText(const RefRecords& r, char* out);
bool ProjNameFromText(RefRecords& r, const char* text);
bool ZoneToText(const RefRecords& r, char* out);
bool ZoneFromText(RefRecords& r, const char* text);
bool ProjEllipsoidToText(const RefRecords& r, char* out);
bool ProjEllipsoidFromText(RefRecords& r, const char* text);
bool DatumNameToText(const RefRecords& r, char* out);
bool DatumNameFromText(RefRecords& r, const char* text);
bool DatumMethodToText(const RefRecords& r, char* out);
bool DatumMethodFromText(RefRecords& r, const char* text);
bool DatumEllipsoidToText(const RefRecords& r, char* out);
bool DatumEllipsoidFromText(RefRecords& r, const char* text);
bool GeorefMethodToText(const RefRecords& r, char* out);
bool GeorefMethodFromText(RefRecords& r, const char* text);

#define KV_PROJ_FIELD(f) static_cast<int>(offsetof(PROJDATA, f))
#define KV_DATUM_FIELD(f) static_cast<int>(offsetof(DATUM2WGS84, f))
#define KV_GEOREF_FIELD(f) static_cast<int>(offsetof(GEOREF, f))

// In file order. Row 19's spelling "Offets" is the file's and is kept; rows
// 38 to 43 all address the first coefficient, so a written file repeats A six
// times and a read file keeps in A the last coefficient line read.
inline constexpr RefKeyword kRefKeywords[] = {
    {0, RR_PROJ, RPK_TEXT, kNoField, ProjNameFromText, ProjNameToText, "Projection Name"},
    {0, RR_PROJ, RPK_DOUBLE, KV_PROJ_FIELD(Scale), nullptr, nullptr, "Projection Scale"},
    {0, RR_PROJ, RPK_DOUBLE, KV_PROJ_FIELD(xOrg), nullptr, nullptr,
     "Projection False Easting (meters)"},
    {0, RR_PROJ, RPK_DOUBLE, KV_PROJ_FIELD(yOrg), nullptr, nullptr,
     "Projection False Northing (meters)"},
    {1, RR_PROJ, RPK_DOUBLE, KV_PROJ_FIELD(Lat0), nullptr, nullptr, "Projection Lat0 (degrees)"},
    {2, RR_PROJ, RPK_DOUBLE, KV_PROJ_FIELD(Lon0), nullptr, nullptr, "Projection Lon0 (degrees)"},
    {3, RR_PROJ, RPK_DOUBLE, KV_PROJ_FIELD(Lat1), nullptr, nullptr, "Projection Lat1 (degrees)"},
    {4, RR_PROJ, RPK_DOUBLE, KV_PROJ_FIELD(Lat2), nullptr, nullptr, "Projection Lat2 (degrees)"},
    {5, RR_PROJ, RPK_DOUBLE, KV_PROJ_FIELD(Lat3), nullptr, nullptr, "Projection Lat3 (degrees)"},
    {6, RR_PROJ, RPK_DOUBLE, KV_PROJ_FIELD(Lon1), nullptr, nullptr, "Projection Lon1 (degrees)"},
    {7, RR_PROJ, RPK_DOUBLE, KV_PROJ_FIELD(Lon2), nullptr, nullptr, "Projection Lon2 (degrees)"},
    {8, RR_PROJ, RPK_DOUBLE, KV_PROJ_FIELD(Lon3), nullptr, nullptr, "Projection Lon3 (degrees)"},
    {9, RR_PROJ, RPK_DOUBLE, KV_PROJ_FIELD(K0), nullptr, nullptr, "Projection Central Scale"},
    {10, RR_PROJ, RPK_BOOL, KV_PROJ_FIELD(bSouth), nullptr, nullptr,
     "Projection In Southern Hemisphere (UTM only)"},
    {11, RR_PROJ, RPK_TEXT, kNoField, ZoneFromText, ZoneToText, "Projection State Zone"},
    {12, RR_PROJ, RPK_BOOL, KV_PROJ_FIELD(bUseAlpha), nullptr, nullptr,
     "Projection Uses Alpha Parameter (Hotine only)"},
    {13, RR_PROJ, RPK_DOUBLE, KV_PROJ_FIELD(Alpha), nullptr, nullptr, "Projection Alpha"},
    {14, RR_PROJ, RPK_BOOL, KV_PROJ_FIELD(bRotate), nullptr, nullptr,
     "Projection Rotates UV to XY (Hotine only)"},
    {15, RR_PROJ, RPK_BOOL, KV_PROJ_FIELD(bUOffset), nullptr, nullptr,
     "Projection Offets by U (Hotine only)"},
    {0, RR_PROJ, RPK_TEXT, kNoField, ProjEllipsoidFromText, ProjEllipsoidToText,
     "Projection Ellipsoid Type"},
    {0, RR_PROJ, RPK_DOUBLE, KV_PROJ_FIELD(MajorRadius), nullptr, nullptr,
     "Projection Ellipsoid Radius (meters)"},
    {0, RR_PROJ, RPK_DOUBLE, KV_PROJ_FIELD(Flattening), nullptr, nullptr,
     "Projection Ellipsoid Flattening"},
    {0, RR_DATUM, RPK_TEXT, kNoField, DatumNameFromText, DatumNameToText, "Datum Name"},
    {0, RR_DATUM, RPK_TEXT, kNoField, DatumMethodFromText, DatumMethodToText, "Datum Method"},
    {16, RR_DATUM, RPK_TEXT, kNoField, DatumEllipsoidFromText, DatumEllipsoidToText,
     "Datum Ellipsoid Type"},
    {17, RR_DATUM, RPK_DOUBLE, KV_DATUM_FIELD(PMShift), nullptr, nullptr,
     "Datum Prime Meridian Shift (degrees)"},
    {18, RR_DATUM, RPK_DOUBLE, KV_DATUM_FIELD(dx), nullptr, nullptr,
     "Datum X-Shift in meters from WGS84"},
    {19, RR_DATUM, RPK_DOUBLE, KV_DATUM_FIELD(dy), nullptr, nullptr,
     "Datum Y-Shift in meters from WGS84"},
    {20, RR_DATUM, RPK_DOUBLE, KV_DATUM_FIELD(dz), nullptr, nullptr,
     "Datum Z-Shift in meters from WGS84"},
    {21, RR_DATUM, RPK_DOUBLE, KV_DATUM_FIELD(rx), nullptr, nullptr,
     "Datum X-rotation in arcseconds from WGS84"},
    {22, RR_DATUM, RPK_DOUBLE, KV_DATUM_FIELD(ry), nullptr, nullptr,
     "Datum Y-rotation in arcseconds from WGS84"},
    {23, RR_DATUM, RPK_DOUBLE, KV_DATUM_FIELD(rz), nullptr, nullptr,
     "Datum Z-rotation in arcseconds from WGS84"},
    {24, RR_DATUM, RPK_DOUBLE, KV_DATUM_FIELD(k), nullptr, nullptr,
     "Datum Scale relative to WGS84"},
    {25, RR_DATUM, RPK_DOUBLE, KV_DATUM_FIELD(MajorRadius), nullptr, nullptr,
     "Datum Ellipsoid Radius (meters)"},
    {26, RR_DATUM, RPK_DOUBLE, KV_DATUM_FIELD(Flattening), nullptr, nullptr,
     "Datum Ellipsoid Flattening"},
    {0, RR_GEOREF, RPK_TEXT, kNoField, GeorefMethodFromText, GeorefMethodToText,
     "Georef Method"},
    {28, RR_GEOREF, RPK_INT, KV_GEOREF_FIELD(nControls), nullptr, nullptr,
     "Georef Control Point Count"},
    {29, RR_GEOREF, RPK_DOUBLE, KV_GEOREF_FIELD(A), nullptr, nullptr, "Georef Coefficient A"},
    {30, RR_GEOREF, RPK_DOUBLE, KV_GEOREF_FIELD(A), nullptr, nullptr, "Georef Coefficient B"},
    {31, RR_GEOREF, RPK_DOUBLE, KV_GEOREF_FIELD(A), nullptr, nullptr, "Georef Coefficient C"},
    {32, RR_GEOREF, RPK_DOUBLE, KV_GEOREF_FIELD(A), nullptr, nullptr, "Georef Coefficient D"},
    {33, RR_GEOREF, RPK_DOUBLE, KV_GEOREF_FIELD(A), nullptr, nullptr, "Georef Coefficient E"},
    {34, RR_GEOREF, RPK_DOUBLE, KV_GEOREF_FIELD(A), nullptr, nullptr, "Georef Coefficient F"},
};

#undef KV_PROJ_FIELD
#undef KV_DATUM_FIELD
#undef KV_GEOREF_FIELD

constexpr size_t kRefKeywordCount = sizeof kRefKeywords / sizeof kRefKeywords[0];
static_assert(kRefKeywordCount == 43, "the reference file has 43 keywords");

// ---------------------------------------------------------------- applicability

constexpr uint64_t RefIds(std::initializer_list<int> ids) {
    uint64_t mask = 0;
    for (int id : ids)
        mask |= uint64_t{1} << id;
    return mask;
}

// The nonzero ids that apply to each projection type 0..28.
inline constexpr uint64_t kProjApplies[PT_COUNT] = {
    RefIds({}),                                     // 0 Unprojected Lat/Long
    RefIds({2, 1}),                                 // 1 Mercator
    RefIds({2, 1, 3, 4}),                           // 2 Albers Equal Area Conic
    RefIds({2}),                                    // 3 Miller Cylindrical
    RefIds({9, 2, 1, 10}),                          // 4 UTM
    RefIds({2, 1, 3, 4}),                           // 5 Lambert Conformal Conic
    RefIds({9, 2, 1}),                              // 6 Stereographic
    RefIds({2, 1}),                                 // 7 Orthographic
    RefIds({2}),                                    // 8 Mollweide
    RefIds({11}),                                   // 9 State Plane 1927
    RefIds({11}),                                   // 10 State Plane 1983
    RefIds({2, 1}),                                 // 11 Polyconic
    RefIds({9, 12, 2, 13, 1, 3, 6, 4, 7, 14, 15}), // 12 Hotine Oblique Mercator
    RefIds({2, 3}),                                 // 13 Equidistant Cylindrical
    RefIds({}),                                     // 14 Robinson
    RefIds({2}),                                    // 15 Van Der Grinten
    RefIds({1, 2}),                                 // 16 Cassini
    RefIds({9, 2, 1}),                              // 17 Transverse Mercator
    RefIds({9, 2, 1}),                              // 18 Gauss-Kruger
    RefIds({2}),                                    // 19 Sinusoidal
    RefIds({2, 3}),                                 // 20 Lambert Azimuthal Equal Area
    RefIds({2, 3}),                                 // 21 Bonne
    RefIds({2}),                                    // 22 Robinson-Sterling
    RefIds({2}),                                    // 23 Eckert IV
    RefIds({2}),                                    // 24 Eckert VI
    RefIds({6, 3, 7, 4}),                           // 25 Oblique Mercator
    RefIds({2, 1, 3, 4}),                           // 26 Equidistant Conic
    RefIds({2, 3}),                                 // 27 Gnomonic
    RefIds({2, 3}),                                 // 28 Azimuthal Equidistant
};

// By datum method 0..6; HARN and NTv2 are not listed and have no nonzero ids.
inline constexpr uint64_t kDatumApplies[DM_COUNT] = {
    RefIds({}),                                               // No transform
    RefIds({}),                                               // NADCON
    RefIds({16, 25, 26, 17, 18, 19, 20, 21, 22, 23, 24}),     // Bursa-Wolf
    RefIds({16, 25, 26, 17, 18, 19, 20}),                     // Molodensky
    RefIds({}),                                               // HARN
    RefIds({}),                                               // MRE
    RefIds({}),                                               // NTv2
};

inline constexpr uint64_t kCoefficientIds = RefIds({29, 30, 31, 32, 33, 34});
inline constexpr uint64_t kPointCountIds = RefIds({28});

bool Applies(const RefKeyword& row, const RefRecords& r);
// The first byte of the row's field in its record (the record must be supplied).
char* FieldOf(const RefKeyword& row, const RefRecords& r);
bool Supplied(const RefKeyword& row, const RefRecords& r);
// The first row whose keyword loosely equals `key`; null when none does.
const RefKeyword* FindKeyword(const char* key);

// ---------------------------------------------------------------- comparison

inline char LowerAscii(char c) {
    return (c >= 'A' && c <= 'Z') ? static_cast<char>(c - 'A' + 'a') : c;
}
// Equal ignoring letter case, with every blank, tab, CR and LF skipped on both
// sides wherever it stands: "PROJECTIONNAME" equals "Projection  Name".
bool LooseEqual(const char* a, const char* b);

} // namespace KVProj

#endif
