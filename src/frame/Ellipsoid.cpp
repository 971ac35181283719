// The built-in reference ellipsoids and the queries on them.
#include "kvproj/ellipsoid.h"

#include "frame/Util.h"
#include "frame/Firewall.h"

namespace KVProj {
namespace {

struct EllipsoidRow {
    int posc;          // EPSG ellipsoid code, 0 where there is none
    double radius;     // semi-major axis, metres
    double flattening; // f itself, not 1/f; 0 for a sphere
    const char* name;  // look-up is by exact text, so spelling matters
};

// Row numbers are the EllipsoidType values stored in hosts' files: never
// reorder or insert. Names keep their historical spelling for the same reason.
constexpr EllipsoidRow kEllipsoids[] = {
    {0, 0.0, 0.0, "User Defined"},
    {0, 6378137.0, 1.0 / 298.257, "MERIT 1983"},
    {0, 6378136.0, 1.0 / 298.257, "Soviet Geodetic System 85"},
    {7019, 6378137.0, 1.0 / 298.257222101, "GRS 1980 / IUGG 1980"},
    {0, 6378140.0, 1.0 / 298.257, "IAU 1976"},
    {7001, 6377563.396, 1.0 / 299.3249646, "Airy 1830"},
    {0, 6378137.0, 1.0 / 298.25, "Appl. Physics. 1965"},
    {0, 6378145.0, 1.0 / 298.25, "Naval Weapons Lab., 1965"},
    {7002, 6377340.189, 1.0 / 299.3249646, "Modified Airy"},
    {0, 6377104.43, 1.0 / 300.0, "Andrae 1876 (Den., Iclnd.)"},
    {7003, 6378160.0, 1.0 / 298.25, "Australian Natl & S. Amer. 1969"},
    {0, 6378160.0, 1.0 / 298.247167427, "GRS 67(IUGG 1967)"},
    {7004, 6377397.155, 1.0 / 299.1528128, "Bessel 1841"},
    {7006, 6377483.865, 1.0 / 299.1528128, "Bessel 1841 (Namibia)"},
    {7005, 6377397.155, 0.003342773153666242, "Bessel Modified"}, // 1/299.152815351
    {7008, 6378206.4, 1.0 / 294.9786982, "Clarke 1866"},
    {7010, 6378249.145, 1.0 / 293.4663, "Clarke 1880 mod."},
    {0, 6375738.7, 1.0 / 334.29, "Comm. des Poids et Mesures 1799"},
    {0, 6376428.0, 1.0 / 311.5, "Delambre 1810 (Belgium)"},
    {0, 6378136.05, 1.0 / 298.2566, "Engelis 1985"},
    {7015, 6377276.345, 1.0 / 300.8017, "Everest 1830"},
    {0, 6377304.063, 1.0 / 300.8017, "Everest 1948"},
    {0, 6377301.0, 1.0 / 300.8017, "Everest 1956"},
    {0, 6377295.0, 1.0 / 300.8017, "Everest 1969"},
    {0, 6377298.556, 1.0 / 300.8017, "Everest - Brunei"},
    {0, 6377298.0, 1.0 / 300.8017, "Everest (Sabah & Sarawak)"},
    {0, 6377309.613, 1.0 / 300.8017, "Everest Pakistan"},
    {0, 6378166.0, 1.0 / 298.3, "Fischer (Mercury Datum) 1960"},
    {0, 6378155.0, 1.0 / 298.3, "Modified Fischer 1960"},
    {0, 6378150.0, 1.0 / 298.3, "Fischer 1968"},
    {7020, 6378200.0, 1.0 / 298.3, "Helmert 1906"},
    {0, 6378270.0, 1.0 / 297.0, "Hough"},
    {7021, 6378160.0, 1.0 / 298.247, "Indonesian 1974"},
    {0, 6378388.0, 1.0 / 297.0, "International 1909 (Hayford)"},
    {7022, 6378388.0, 1.0 / 297.0, "International 1924"},
    {7024, 6378245.0, 1.0 / 298.3, "Krassovsky, 1942"},
    {0, 6378163.0, 1.0 / 298.24, "Kaula 1961"},
    {0, 6378139.0, 1.0 / 298.257, "Lerch 1979"},
    {0, 6397300.0, 1.0 / 191.0, "Maupertius 1738"},
    {7023, 6378157.5, 1.0 / 298.25, "New International 1967"},
    {7027, 6376523.0, 1.0 / 308.64, "Plessis 1817 (France)"},
    {0, 6378155.0, 1.0 / 298.3, "Southeast Asia"},
    // Clarke 1866 flattening on the radius enlarged for Michigan's survey.
    {7009, 6378450.047, 1.0 / 294.9786982, "State Plane 1927, Michigan"},
    {0, 6376896.0, 1.0 / 302.78, "Walbeck"},
    {0, 6378165.0, 1.0 / 298.3, "WGS 60"},
    {0, 6378145.0, 1.0 / 298.25, "WGS 66"},
    {0, 6378135.0, 1.0 / 298.26, "WGS 72"},
    {7030, 6378137.0, 1.0 / 298.257223563, "WGS 84"},
    {7035, 6370997.0, 0.0, "Standard Sphere of 6370997 Meters"},
    {0, 1.0, 0.0, "Standard Sphere of One Unit"},
    {0, 6371204.0, 0.0, "DNAG Sphere (6371204 meters)"},
    {0, 6378300.79, 0.0034075470435755875, "Clarke 1880 Benoit"}, // 1/293.466234571
    {0, 6378249.2, 0.003407549520015647, "Clarke 1880 IGN"},      // 1/293.466021294
    {0, 6378249.145, 1.0 / 293.465, "Clarke 1880 RGS"},
    {0, 6378249.2, 1.0 / 293.46598, "Clarke 1800 SGA 1922"},
    {0, 6377492.0176, 1.0 / 299.15281285, "Bessel NGO 1948"},
};

constexpr int kRowCount = static_cast<int>(sizeof kEllipsoids / sizeof kEllipsoids[0]);
static_assert(kRowCount == ELLIPSOID_COUNT, "one row per EllipsoidType value");

constexpr bool SameText(const char* a, const char* b) {
    while (*a && *a == *b)
        ++a, ++b;
    return *a == *b;
}
// Anchors for the named constants of the public header.
static_assert(SameText(kEllipsoids[ELLIPSOID_GRS80].name, "GRS 1980 / IUGG 1980"), "row order");
static_assert(SameText(kEllipsoids[ELLIPSOID_CLARKE_1866].name, "Clarke 1866"), "row order");
static_assert(SameText(kEllipsoids[ELLIPSOID_EVEREST_1830].name, "Everest 1830"), "row order");
static_assert(SameText(kEllipsoids[ELLIPSOID_WGS72].name, "WGS 72"), "row order");
static_assert(SameText(kEllipsoids[ELLIPSOID_WGS84].name, "WGS 84"), "row order");
static_assert(kEllipsoids[ELLIPSOID_UNIT_SPHERE].radius == 1.0, "row order");

// Codes EPSG split off from a row we carry; the caller gets the row as a
// suggestion, flagged as inexact by the false result.
struct PoscAlias {
    int first;
    int last;
    EllipsoidType row;
};
constexpr PoscAlias kPoscAliases[] = {
    {7010, 7014, ELLIPSOID_CLARKE_1880_MOD},
    {7034, 7034, ELLIPSOID_CLARKE_1880_MOD},
    {7015, 7018, ELLIPSOID_EVEREST_1830},
};

// ASCII only: the names are ASCII, and the locale must not change matching.
constexpr char FoldCase(char c) {
    return (c >= 'A' && c <= 'Z') ? static_cast<char>(c + 32) : c;
}

bool SameNameIgnoringCase(const char* a, const char* b) {
    while (*a && FoldCase(*a) == FoldCase(*b))
        ++a, ++b;
    return FoldCase(*a) == FoldCase(*b);
}

// Rows 1..55 carry data; row 0 is a placeholder for caller-supplied values.
bool IsTableRow(EllipsoidType e) {
    return e > ELLIPSOID_USER_DEFINED && e < kRowCount;
}

} // namespace

static bool EllipsoidInfoBody(EllipsoidType e, char* name, double* radius, double* flattening) {
    if (e == ELLIPSOID_USER_DEFINED) {
        if (name) CopyName(name, "user-defined", KVPROJ_NAME_LEN);
        return false;
    }
    if (!IsTableRow(e)) return false;
    const EllipsoidRow& row = kEllipsoids[e];
    if (name) CopyName(name, row.name, KVPROJ_NAME_LEN);
    if (radius) *radius = row.radius;
    if (flattening) *flattening = row.flattening;
    return true;
}

static double EllipsoidRadiusBody(EllipsoidType e) {
    return IsTableRow(e) ? kEllipsoids[e].radius : 1.0;
}

static double EllipsoidFlatteningBody(EllipsoidType e) {
    return IsTableRow(e) ? kEllipsoids[e].flattening : 0.0;
}

static bool EllipsoidFromNameBody(EllipsoidType* e, char* name) {
    if (!e || !name) return false;
    *e = ELLIPSOID_USER_DEFINED;
    for (int i = 0; i < kRowCount; ++i) {
        if (SameNameIgnoringCase(name, kEllipsoids[i].name)) {
            *e = static_cast<EllipsoidType>(i);
            return true;
        }
    }
    return false;
}

static bool EllipsoidFromPOSCNumberBody(int code, EllipsoidType* e) {
    if (code == 0) return false;
    for (int i = 0; i < kRowCount; ++i) {
        if (kEllipsoids[i].posc == code) {
            if (e) *e = static_cast<EllipsoidType>(i);
            return true;
        }
    }
    for (const PoscAlias& alias : kPoscAliases) {
        if (code >= alias.first && code <= alias.last) {
            if (e) *e = alias.row;
            break;
        }
    }
    return false;
}

static bool EllipsoidToPOSCNumberBody(EllipsoidType e, int* code) {
    if (!IsTableRow(e) || kEllipsoids[e].posc == 0) return false;
    if (code) *code = kEllipsoids[e].posc;
    return true;
}

// ---------------------------------------------------------------- exported, behind the firewall

bool EllipsoidInfo(EllipsoidType e, char* name, double* radius, double* flattening) {
    return KV_GUARDED(false, [&] { return EllipsoidInfoBody(e, name, radius, flattening); });
}

double EllipsoidRadius(EllipsoidType e) {
    return KV_GUARDED(1.0, [&] { return EllipsoidRadiusBody(e); });
}

double EllipsoidFlattening(EllipsoidType e) {
    return KV_GUARDED(0.0, [&] { return EllipsoidFlatteningBody(e); });
}

bool EllipsoidFromName(EllipsoidType* e, char* name) {
    return KV_GUARDED(false, [&] { return EllipsoidFromNameBody(e, name); });
}

bool EllipsoidFromPOSCNumber(int code, EllipsoidType* e) {
    return KV_GUARDED(false, [&] { return EllipsoidFromPOSCNumberBody(code, e); });
}

bool EllipsoidToPOSCNumber(EllipsoidType e, int* code) {
    return KV_GUARDED(false, [&] { return EllipsoidToPOSCNumberBody(e, code); });
}

} // namespace KVProj
