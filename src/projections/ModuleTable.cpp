// The projection module table and the domain and split tests that the modules
// share. The tests work in degrees on the handle's own record.
#include "projections/ProjModule.h"

#include "frame/Angles.h"
#include "projections/Modules.h"

#include <cfloat>
#include <cmath>

namespace KVProj {

namespace {

// Open longitude band Lon0 - half < lon < Lon0 + half.
inline bool InLonBand(const PROJDATA* data, const PROJPOINT* p, double half) {
    return p->x > data->Lon0 - half && p->x < data->Lon0 + half;
}

inline bool InOpenRange(double v, double lo, double hi) {
    return v > lo && v < hi;
}

// Cosine of the angular distance of `p` from the centre (latC, lonC), all in
// degrees: cos z = sin phiC sin phi + cos phiC cos phi cos(lam - lamC).
inline double CosDistance(double latC, double lonC, const PROJPOINT* p) {
    const double phiC = latC * kDegToRad;
    const double phi = p->y * kDegToRad;
    const double dLam = (p->x - lonC) * kDegToRad;
    return std::sin(phiC) * std::sin(phi) + std::cos(phiC) * std::cos(phi) * std::cos(dLam);
}

// Longitude extent of an object; the extremes start from +-DBL_MAX as a
// sentinel, so an object of NaN longitudes never asks for a shift.
inline void LonExtent(const PROJPOINT* p, unsigned count, double* lo, double* hi) {
    double mn = DBL_MAX, mx = -DBL_MAX;
    for (unsigned i = 0; i < count; ++i) {
        if (p[i].x < mn) mn = p[i].x;
        if (p[i].x > mx) mx = p[i].x;
    }
    *lo = mn;
    *hi = mx;
}

// Shared body of the two shifting split rules; the minimum test is made first.
inline bool SplitAgainst(double west, double east, const PROJPOINT* p, unsigned count,
                         double* xOffset) {
    double lo, hi;
    LonExtent(p, count, &lo, &hi);
    if (lo <= west) {
        *xOffset = 360.0;
        return true;
    }
    if (hi >= east) {
        *xOffset = -360.0;
        return true;
    }
    return false;
}

inline bool SplitArgsOk(const PROJDATA* data, const PROJPOINT* p, unsigned count, double* xOffset,
                        double* yOffset) {
    if (!data || !p || count < 1 || !xOffset || !yOffset) return false;
    *xOffset = 0.0;
    *yOffset = 0.0;
    return true;
}

} // namespace

// ---------------------------------------------------------------- domain tests

bool LLInBand180(const PROJDATA* data, const PROJPOINT* p) {
    return data && p && InLonBand(data, p, 180.0);
}

bool LLInBand180Lat(const PROJDATA* data, const PROJPOINT* p) {
    return data && p && InLonBand(data, p, 180.0) && InOpenRange(p->y, -90.0, 90.0);
}

bool LLInBand45(const PROJDATA* data, const PROJPOINT* p) {
    return data && p && InLonBand(data, p, 45.0);
}

bool LLInBand90(const PROJDATA* data, const PROJPOINT* p) {
    return data && p && InLonBand(data, p, 90.0);
}

bool LLInBox15(const PROJDATA* data, const PROJPOINT* p) {
    return data && p && InLonBand(data, p, 15.0) &&
           InOpenRange(p->y, data->Lat0 - 15.0, data->Lat0 + 15.0);
}

bool LLInBands45(const PROJDATA* data, const PROJPOINT* p) {
    return data && p && InLonBand(data, p, 45.0) &&
           InOpenRange(p->y, data->Lat1 - 45.0, data->Lat1 + 45.0) &&
           InOpenRange(p->y, data->Lat2 - 45.0, data->Lat2 + 45.0);
}

// The hemisphere is centred on Lat0 even for the modules whose formulas take
// their centre latitude from Lat1; hosts rely on the test as it stands.
bool LLInHemisphere(const PROJDATA* data, const PROJPOINT* p) {
    return data && p && CosDistance(data->Lat0, data->Lon0, p) >= 0.0;
}

bool LLInCap60(const PROJDATA* data, const PROJPOINT* p) {
    return data && p && CosDistance(data->Lat1, data->Lon0, p) >= std::cos(1.0471975511965976);
}

bool LLInCap170(const PROJDATA* data, const PROJPOINT* p) {
    return data && p && CosDistance(data->Lat1, data->Lon0, p) >= std::cos(2.9670597283903604);
}

bool LLInFixed180(const PROJDATA* data, const PROJPOINT* p) {
    return data && p && InOpenRange(p->x, -180.0, 180.0);
}

bool LLInEverywhere(const PROJDATA* data, const PROJPOINT* p) {
    return data && p;
}

// ---------------------------------------------------------------- split tests

bool LLSplitAboutLon0(const PROJDATA* data, const PROJPOINT* p, unsigned count, double* xOffset,
                      double* yOffset) {
    if (!SplitArgsOk(data, p, count, xOffset, yOffset)) return false;
    return SplitAgainst(data->Lon0 - 180.0, data->Lon0 + 180.0, p, count, xOffset);
}

bool LLSplitFixed180(const PROJDATA* data, const PROJPOINT* p, unsigned count, double* xOffset,
                     double* yOffset) {
    if (!SplitArgsOk(data, p, count, xOffset, yOffset)) return false;
    return SplitAgainst(-180.0, 180.0, p, count, xOffset);
}

bool LLSplitNever(const PROJDATA* data, const PROJPOINT* p, unsigned count, double* xOffset,
                  double* yOffset) {
    SplitArgsOk(data, p, count, xOffset, yOffset);
    return false;
}

// ---------------------------------------------------------------- the table

constexpr PROJMODULE ProjModuleTable[kProjModuleCount] = {
    {PT_UNPROJECTED, "Unprojected Lat/Long", 0, nullptr, nullptr, nullptr, nullptr},
    {PT_MERCATOR, "Mercator", 47, MercForward, MercInverse, LLInBand180Lat, LLSplitAboutLon0},
    {PT_ALBERS, "Albers Equal Area Conic", 47, AlbersForward, AlbersInverse, LLInBand180,
     LLSplitAboutLon0},
    {PT_MILLER, "Miller Cylindrical", 47, MillerForward, MillerInverse, LLInBand180Lat,
     LLSplitAboutLon0},
    {PT_UTM, "Universal Transverse Mercator (UTM)", 27, UTMForward, UTMInverse, LLInBand45,
     LLSplitAboutLon0},
    {PT_LAMBERT_CONIC, "Lambert Conformal Conic", 47, LambertForward, LambertInverse, LLInBand180,
     LLSplitAboutLon0},
    {PT_STEREOGRAPHIC, "Stereographic", 27, PolarForward, PolarInverse, LLInHemisphere,
     LLSplitNever},
    {PT_ORTHOGRAPHIC, "Orthographic", 27, OrthoForward, OrthoInverse, LLInHemisphere, LLSplitNever},
    {PT_MOLLWEIDE, "Mollweide", 63, MolleForward, MolleInverse, LLInBand180, LLSplitAboutLon0},
    {PT_STATE_PLANE_27, "State Plane 1927", 59, nullptr, nullptr, nullptr, nullptr},
    {PT_STATE_PLANE_83, "State Plane 1983", 59, nullptr, nullptr, nullptr, nullptr},
    {PT_POLYCONIC, "Polyconic", 27, PolyconForward, PolyconInverse, LLInBand90, LLSplitAboutLon0},
    {PT_HOTINE, "Hotine Oblique Mercator", 3, HotineForward, HotineInverse, LLInBox15,
     LLSplitNever},
    {PT_EQUIDISTANT_CYLINDRICAL, "Equidistant Cylindrical", 47, EquiCylForward, EquiCylInverse,
     LLInEverywhere, LLSplitNever},
    {PT_ROBINSON, "Robinson", 63, RobinForward, RobinInverse, LLInFixed180, LLSplitFixed180},
    {PT_VAN_DER_GRINTEN, "Van Der Grinten", 63, VanDerForward, VanDerInverse, LLInBand180,
     LLSplitAboutLon0},
    {PT_CASSINI, "Cassini", 59, CassiniForward, CassiniInverse, LLInHemisphere, LLSplitNever},
    {PT_TRANSVERSE_MERCATOR, "Transverse Mercator", 27, TMercForward, TMercInverse, LLInBand45,
     LLSplitAboutLon0},
    {PT_GAUSS_KRUGER, "Gauss-Kruger / Gauss Conformal", 27, TMercForward, TMercInverse, LLInBand45,
     LLSplitAboutLon0},
    {PT_SINUSOIDAL, "Sinusoidal", 63, SinusForward, SinusInverse, LLInBand180, LLSplitAboutLon0},
    {PT_LAMBERT_AZIMUTHAL, "Lambert Azimuthal Equal Area", 59, LamAEAForward, LamAEAInverse,
     LLInEverywhere, LLSplitNever},
    {PT_BONNE, "Bonne", 27, BonneForward, BonneInverse, LLInBand90, LLSplitAboutLon0},
    {PT_ROBINSON_STERLING, "Robinson-Sterling", 63, RobSterForward, RobSterInverse, LLInBand180,
     LLSplitAboutLon0},
    {PT_ECKERT_IV, "Eckert IV", 63, Eckert4Forward, Eckert4Inverse, LLInBand180, LLSplitAboutLon0},
    {PT_ECKERT_VI, "Eckert VI", 63, Eckert6Forward, Eckert6Inverse, LLInBand180, LLSplitAboutLon0},
    {PT_OBLIQUE_MERCATOR, "Oblique Mercator", 3, OMercForward, OMercInverse, LLInBands45,
     LLSplitAboutLon0},
    {PT_EQUIDISTANT_CONIC, "Equidistant Conic", 47, EquiConForward, EquiConInverse, LLInBand180,
     LLSplitAboutLon0},
    {PT_GNOMONIC, "Gnomonic", 27, GnomForward, GnomInverse, LLInCap60, LLSplitNever},
    {PT_AZIMUTHAL_EQUIDISTANT, "Azimuthal Equidistant", 63, AzimuthForward, AzimuthInverse,
     LLInCap170, LLSplitNever},
};

// Rows are looked up by index: row i must be the module of ProjType i.
constexpr bool RowsInTypeOrder() {
    for (int i = 0; i < kProjModuleCount; ++i)
        if (ProjModuleTable[i].Type != i) return false;
    return true;
}
static_assert(RowsInTypeOrder(), "row i of the module table is ProjType i");

} // namespace KVProj
