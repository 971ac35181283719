// The projection module contract: one row per ProjType with the module's name,
// capability word, forward and inverse converters, domain test and split test.
//
// Forward/Inverse (data, points, count):
//   - `data` is the engine's working copy: Lat0..Lon3 and Alpha already in
//     radians, K0 non-zero, UTM false origin already set, flag bytes 0 or 1.
//     Modules read only the fields their formulas need and write nothing in it.
//   - points hold (lon, lat) in radians going forward, (x, y) in units of
//     MajorRadius before false origin and scale going inverse; converted in place.
//   - a point holding KVPROJ_UNPLOTTABLE in either member is skipped untouched;
//     a point the formulas cannot convert gets the marker in both members
//     (MarkFailed), which the engine learns through RunConverter; the handle's
//     result flag is the engine's, modules never touch it.
//   - false only for a null record (silently), a null array or a count below 1
//     (both with an assertion report naming the module's source and line).
// LLInProjection / LLOffsetSplit take the handle's own record and points in
// degrees and never report.
//
// Modules keep nothing between calls. Each call derives its constants from the
// record once and then runs a per-point loop without allocation, so modules are
// re-entrant and may run concurrently on separate working copies.
#ifndef KVPROJ_PROJECTIONS_PROJMODULE_H
#define KVPROJ_PROJECTIONS_PROJMODULE_H

#include "kvproj/projdata.h"

#include "frame/Angles.h"
#include "frame/Diag.h"

#include <cstdint>

namespace KVProj {

using ProjConvertFn = bool (*)(const PROJDATA* data, PROJPOINT* points, int count);
using ProjLLInFn = bool (*)(const PROJDATA* data, const PROJPOINT* lonLat);
using ProjLLSplitFn = bool (*)(const PROJDATA* data, const PROJPOINT* lonLat, unsigned count,
                               double* xOffset, double* yOffset);

struct PROJMODULE {
    ProjType Type;    // the row's own type: row i is type i
    const char* Name; // display name, at most 79 characters
    uint32_t Info;    // capability word, handed out unchanged
    ProjConvertFn Forward;
    ProjConvertFn Inverse;
    ProjLLInFn LLInProjection;
    ProjLLSplitFn LLOffsetSplit;
};

constexpr int kProjModuleCount = 29;
static_assert(kProjModuleCount == PT_COUNT, "one module row per ProjType");

// Indexed by ProjType (checked when the table is compiled). Rows 0 (unprojected), 9 and 10 (state
// plane, resolved by the engine) have no functions; rows whose formulas are not built yet have
// their domain and split tests but null Forward/Inverse, which the engine must
// treat as a missing module.
extern const PROJMODULE ProjModuleTable[kProjModuleCount];

// Row for `type`, or null when `type` is outside 0..28.
inline const PROJMODULE* ProjModuleFor(int type) {
    return (type >= 0 && type < kProjModuleCount) ? &ProjModuleTable[type] : nullptr;
}

// ---------------------------------------------------------------- per point
// A converter's report that it marked a point: a per-thread flag, kept like
// the math error flag, that RunConverter clears before the call and reads
// after it. It costs nothing on the path of a converted point.
inline bool& ModuleMarkedFlag() {
    thread_local bool marked = false;
    return marked;
}

// A point the formulas cannot convert: the marker in both members, reported.
inline void MarkFailed(PROJPOINT& p) {
    MarkUnplottable(p);
    ModuleMarkedFlag() = true;
}

// The per-point loop of every module: markers pass untouched, a point for
// which `fn` returns false is marked failed, the rest are converted by `fn`.
template <typename PointFn> inline void ForEachPoint(PROJPOINT* points, int count, PointFn fn) {
    for (int i = 0; i < count; ++i) {
        PROJPOINT& p = points[i];
        if (IsUnplottable(p)) continue;
        if (!fn(p)) MarkFailed(p);
    }
}

// Runs a converter; *marked tells whether it marked a point failed. The
// engine calls every converter through here and keeps the result flag itself.
inline bool RunConverter(ProjConvertFn fn, const PROJDATA* data, PROJPOINT* points, int count,
                         bool* marked) {
    ModuleMarkedFlag() = false;
    const bool ok = fn(data, points, count);
    *marked = ok && ModuleMarkedFlag();
    return ok;
}

// Runs `convert()` (a converter call) as RunConverter does.
template <typename Convert> inline bool RunConverterCall(Convert convert, bool* marked) {
    ModuleMarkedFlag() = false;
    const bool ok = convert();
    *marked = ok && ModuleMarkedFlag();
    return ok;
}

// ---------------------------------------------------------------- prepared constants
// A module may derive its constants once per handle instead of once per call
// (small calls pay for little else): `prepare` builds them from a working
// copy into the handle's block, and the prepared converters then do what the
// row's Forward and Inverse do on that working copy, with the same results.
// They are only called with points and a count the engine has checked.
struct ModuleConstants {
    alignas(64) unsigned char bytes[512];
};
using ProjPrepareFn = bool (*)(const PROJDATA* work, ModuleConstants* out);
using ProjPreparedFn = void (*)(const ModuleConstants& k, PROJPOINT* points, int count);

struct PreparedConverters {
    ProjType Type;
    ProjPrepareFn prepare; // false: convert through the row instead
    ProjPreparedFn forward, inverse;
};

// The prepared converters of `type`, or null when its module has none.
const PreparedConverters* PreparedConvertersFor(int type);

// Argument checks every Forward/Inverse makes first. A macro so that the
// assertion report carries the module's own source file and line.
#define KV_MODULE_CHECK_ARGS(data, points, count)                                                  \
    do {                                                                                           \
        if ((data) == nullptr) return false;                                                       \
        if ((points) == nullptr) return KV_ASSERT_FAIL();                                          \
        if ((count) < 1) return KV_ASSERT_FAIL();                                                  \
    } while (0)

// ---------------------------------------------------------------- domain tests
// Degrees in, open intervals (a point on a limit is outside).
bool LLInBand180(const PROJDATA* data, const PROJPOINT* lonLat);    // Lon0 +- 180
bool LLInBand180Lat(const PROJDATA* data, const PROJPOINT* lonLat); // ... and -90 < lat < 90
bool LLInBand45(const PROJDATA* data, const PROJPOINT* lonLat);     // Lon0 +- 45
bool LLInBand90(const PROJDATA* data, const PROJPOINT* lonLat);     // Lon0 +- 90
bool LLInBox15(const PROJDATA* data, const PROJPOINT* lonLat);      // (Lat0, Lon0) +- 15
bool LLInBands45(const PROJDATA* data, const PROJPOINT* lonLat);    // Lon0, Lat1, Lat2 +- 45
bool LLInHemisphere(const PROJDATA* data, const PROJPOINT* lonLat); // about (Lat0, Lon0)
bool LLInCap60(const PROJDATA* data, const PROJPOINT* lonLat);      // about (Lat1, Lon0)
bool LLInCap170(const PROJDATA* data, const PROJPOINT* lonLat);     // about (Lat1, Lon0)
bool LLInFixed180(const PROJDATA* data, const PROJPOINT* lonLat);   // -180 < lon < 180
bool LLInEverywhere(const PROJDATA* data, const PROJPOINT* lonLat); // non-null -> true

// ---------------------------------------------------------------- split tests
// Offsets set to 0 first (unless the arguments are bad); true when the object
// must also be drawn shifted by the returned x offset (+-360).
bool LLSplitAboutLon0(const PROJDATA* data, const PROJPOINT* lonLat, unsigned count,
                      double* xOffset, double* yOffset);
bool LLSplitFixed180(const PROJDATA* data, const PROJPOINT* lonLat, unsigned count, double* xOffset,
                     double* yOffset);
bool LLSplitNever(const PROJDATA* data, const PROJPOINT* lonLat, unsigned count, double* xOffset,
                  double* yOffset);

} // namespace KVProj

#endif
