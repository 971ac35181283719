// Projection handles and the point conversion pipeline around the modules.
//
// A handle is nothing but a heap copy of the caller's PROJDATA (all 396 bytes);
// every conversion works on a stack copy of it, so a call never allocates and
// calls on separate handles share nothing but the per-thread math error flag.
//
// Forward:  pre-scan -> [state plane substitution] -> angles to radians ->
//           fold lon/lat -> degrees to radians -> module -> post-scan ->
//           + false origin -> * Scale
// Inverse:  pre-scan -> [substitution] -> angles to radians -> / Scale ->
//           - false origin -> module -> post-scan -> radians to degrees -> fold
#include "kvproj/projection.h"

#include "kvproj/ellipsoid.h"
#include "kvproj/projcheck.h"

#include "frame/Angles.h"
#include "frame/Diag.h"
#include "frame/Firewall.h"
#include "frame/StringTable.h"
#include "frame/Util.h"
#include "proj/kvPClip.h"
#include "proj/PointPasses.h"
#include "proj/ProjParams.h"
#include "proj/StatePlane.h"
#include "projections/ProjModule.h"

#include <cfloat>
#include <cstddef>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <exception>
#include <new>
#include <vector>

namespace KVProj {

namespace {

constexpr double kUTMK0 = 0.9996;
constexpr double kUTMFalseEasting = 500000.0;
constexpr double kUTMFalseNorthingSouth = 10000000.0;

// What a handle prepares once from its record: the working copy, the row to
// call (or whether the call ends before the module) and the module's own
// constants. Made again whenever the record's bytes differ from those it was
// made from (a host may write into the record through the handle).
struct PreparedCall {
    bool valid = false;
    PROJDATA source; // the record it was made from, iResult 0
    PROJDATA work;   // angles in radians, flags 0 or 1, state plane zone substituted
    const PROJMODULE* row = nullptr;
    bool done = false, failed = false;
    const PreparedConverters* converters = nullptr; // null: the row's converters on `work`
    ModuleConstants constants;
};

// The block behind a handle. The record comes first: the handle points at its
// bytes, which ProjGetHandleInfo hands out and ProjResult reads.
struct HandleBlock {
    PROJDATA record;
    PreparedCall prepared;
};
static_assert(offsetof(HandleBlock, record) == 0, "a handle points at its record");

inline PROJDATA* Record(void* handle) {
    return &static_cast<HandleBlock*>(handle)->record;
}

inline bool IsStatePlane(int type) {
    return type == PT_STATE_PLANE_27 || type == PT_STATE_PLANE_83;
}

void AnglesDegToRad(PROJDATA& d) {
    d.Lat0 = DegToRad(d.Lat0);
    d.Lon0 = DegToRad(d.Lon0);
    d.Lat1 = DegToRad(d.Lat1);
    d.Lat2 = DegToRad(d.Lat2);
    d.Lat3 = DegToRad(d.Lat3);
    d.Lon1 = DegToRad(d.Lon1);
    d.Lon2 = DegToRad(d.Lon2);
    d.Lon3 = DegToRad(d.Lon3);
    d.Alpha = DegToRad(d.Alpha);
}

// A state plane record converts through its zone, on the zone's ellipsoid.
bool SubstituteZone(PROJDATA& work) {
    const ProjType system = work.Type;
    if (!StatePlaneBuild(system, &work)) return false;
    work.MajorRadius = EllipsoidRadius(work.Ellipsoid);
    work.Flattening = EllipsoidFlattening(work.Ellipsoid);
    return true;
}

// Runs a module converter with the math error flag cleared first. Off Windows
// floating-point exceptions stay masked, so a fault cannot trap here; the
// flag still catches whatever the math-error hook notes during the call.
// *marked tells whether the converter marked a point.
template <typename Convert>
bool GuardedCall(Convert convert, PROJDATA* handle, bool* marked) {
    SetMathErrorFlag(false);
    bool ok = RunConverterCall(convert, marked);
    if (MathErrorFlag()) {
        ok = false;
        *marked = false;
        handle->iResult = 1;
    }
    return ok;
}

// Everything up to the module that does not touch the points: the working
// copy, the state plane substitution and the row to call. Null after the
// assertion report, or with *done set for the unprojected type.
const PROJMODULE* PrepareWorkingCopy(const PROJDATA* handle, PROJDATA& work, bool* done,
                                     bool* failed) {
    *done = false;
    *failed = false;
    std::memcpy(&work, handle, sizeof(PROJDATA));
    NormaliseProjFlags(work);
    if (work.Type < 0 || work.Type >= PT_COUNT) {
        *failed = true;
        return nullptr;
    }
    if (work.Type == PT_UNPROJECTED) {
        *done = true;
        return nullptr;
    }
    // A zone the system does not define leaves the state plane type in place;
    // its row has no converter, which the check below reports.
    if (IsStatePlane(work.Type)) SubstituteZone(work);
    const PROJMODULE* row = ProjModuleFor(work.Type);
    if (!row || !row->Forward || !row->Inverse) {
        *failed = true;
        return nullptr;
    }
    AnglesDegToRad(work);
    return row;
}

// The pre-scan comes first in both directions. When the call stops before
// the module (unprojected type, or a fault) it runs on its own; otherwise it
// shares one pass with the first stage of the direction, which gives the same
// points since a marked point is left alone by every later stage.
const PreparedCall& Prepared(HandleBlock& b) {
    PreparedCall& p = b.prepared;
    if (p.valid && std::memcmp(&p.source, &b.record, sizeof(PROJDATA)) == 0) return p;
    std::memcpy(&p.source, &b.record, sizeof(PROJDATA));
    p.row = PrepareWorkingCopy(&b.record, p.work, &p.done, &p.failed);
    p.converters = p.row ? PreparedConvertersFor(p.work.Type) : nullptr;
    if (p.converters && !p.converters->prepare(&p.work, &p.constants)) p.converters = nullptr;
    p.valid = true;
    return p;
}

const PreparedCall* Begin(HandleBlock& b, PROJPOINT* points, int count, bool* done) {
    PROJDATA* h = &b.record;
    h->iResult = 0;
    const PreparedCall& p = Prepared(b);
    *done = p.done;
    if (p.row) return &p;
    if (ScanNonFinite(points, count)) h->iResult = 1;
    if (p.failed) KV_ASSERT_FAIL();
    return nullptr;
}

// One conversion call: the handle's record and what the handle prepared.
struct Call {
    PROJDATA* h;
    const PreparedCall* p;
    const PROJDATA& work() const { return p->work; }
};

// What ProjForward and ProjInverse share before their own stages: the trace
// line, the argument checks, the working copy and the module row. False when
// the call ends here, with what it returns in *result.
bool Enter(const char* name, void* handle, PROJPOINT* points, int count, Call& call, bool* result) {
    LogPrintf("%s(hProj=%p, pPts=%p, nPts=%d)\n", name, handle, static_cast<void*>(points), count);
    *result = false;
    if (!handle) {
        LogPrintf("NULL hProj pointer!\n");
        return false;
    }
    if (!points || count < 1) {
        *result = KV_ASSERT_FAIL();
        return false;
    }
    call.h = Record(handle);
    bool done = false;
    call.p = Begin(*static_cast<HandleBlock*>(handle), points, count, &done);
    *result = done;
    return call.p != nullptr;
}

// The module of either direction, its result flag taken into the handle
// (with `earlier`, what the stages before it found), and then the direction's
// post-scan `finish()`.
// The module runs on the constants the handle prepared where it has them.
template <typename Finish>
bool RunModule(Call& call, bool forward, bool earlier, const char* failure, PROJPOINT* points,
               int count, Finish finish) {
    const PreparedCall& p = *call.p;
    auto convert = [&] {
        if (!p.converters)
            return (forward ? p.row->Forward : p.row->Inverse)(&p.work, points, count);
        (forward ? p.converters->forward : p.converters->inverse)(p.constants, points, count);
        return true;
    };
    bool marked = false;
    if (!GuardedCall(convert, call.h, &marked)) {
        LogPrintf("%s", failure);
        return false;
    }
    call.h->iResult = earlier || marked ? 1 : 0;
    if (finish()) call.h->iResult = 1;
    if (call.h->iResult == 1) LogPrintf("  One or more unplottable points generated.\n");
    return true;
}

bool ForwardImpl(void* handle, PROJPOINT* points, int count) {
    Call c;
    bool result = false;
    if (!Enter("ProjForward", handle, points, count, c, &result)) return result;
    if (PrepareForward(points, count)) c.h->iResult = 1;
    return RunModule(c, true, c.h->iResult == 1, "Forward projection function failed!\n", points,
                     count, [&] { return FinishForward(c.work(), points, count); });
}

bool InverseImpl(void* handle, PROJPOINT* points, int count) {
    Call c;
    bool result = false;
    if (!Enter("ProjInverse", handle, points, count, c, &result)) return result;
    if (PrepareInverse(c.work(), points, count)) c.h->iResult = 1;
    // Points the pre-scan marked count again only if the module or the
    // post-scan flags them: the module's result starts clean.
    return RunModule(c, false, false, "Inverse projection function failed!\n", points, count,
                     [&] { return FinishInverse(points, count); });
}

// The record whose domain and split tests answer for a handle's record: the
// record itself, or for the state plane types the first zone of the system
// built on a cleared record (whatever zone the handle holds).
bool DomainRecord(const PROJDATA* data, PROJDATA& zone, const PROJDATA** use) {
    if (!IsStatePlane(data->Type)) {
        *use = data;
        return true;
    }
    std::memset(&zone, 0, sizeof(zone));
    if (!StatePlaneBuild(data->Type, &zone)) return KV_ASSERT_FAIL();
    *use = &zone;
    return true;
}

bool InLonLatLimits(const PROJPOINT* p) {
    return p->x >= -360.0 && p->x <= 360.0 && p->y >= -90.0 && p->y <= 90.0;
}

bool LLInRecord(const PROJDATA* data, const PROJPOINT* point) {
    if (!InLonLatLimits(point)) return false;
    PROJDATA zone;
    const PROJDATA* use = nullptr;
    if (!DomainRecord(data, zone, &use)) return false;
    if (use != data) return LLInRecord(use, point);
    const PROJMODULE* row = ProjModuleFor(use->Type);
    if (!row || !row->LLInProjection) return KV_ASSERT_FAIL();
    return row->LLInProjection(use, point);
}

bool SplitRecord(const PROJDATA* data, const PROJPOINT* points, unsigned int count, double* xOffset,
                 double* yOffset) {
    PROJDATA zone;
    const PROJDATA* use = nullptr;
    if (!DomainRecord(data, zone, &use)) return false;
    if (use != data) return SplitRecord(use, points, count, xOffset, yOffset);
    const PROJMODULE* row = ProjModuleFor(use->Type);
    if (!row || !row->LLOffsetSplit) return KV_ASSERT_FAIL();
    return row->LLOffsetSplit(use, points, count, xOffset, yOffset);
}

// The domain test handed to the clipper: the resolved record is built once,
// and the test is the single-point test of that record.
struct ClipContext {
    PROJDATA record;
    const PROJMODULE* row;
};

bool ClipInside(const void* ctx, const PROJPOINT& p) {
    const ClipContext* c = static_cast<const ClipContext*>(ctx);
    return InLonLatLimits(&p) && c->row->LLInProjection(&c->record, &p);
}

bool MakeClipContext(const PROJDATA* data, ClipContext& ctx) {
    PROJDATA zone;
    const PROJDATA* use = nullptr;
    if (!DomainRecord(data, zone, &use)) return false;
    const PROJMODULE* row = ProjModuleFor(use->Type);
    if (!row || !row->LLInProjection) return KV_ASSERT_FAIL();
    std::memcpy(&ctx.record, use, sizeof(PROJDATA));
    ctx.row = row;
    return true;
}

PClipDomain DomainOf(const ClipContext& ctx) {
    PClipDomain d;
    d.inside = &ClipInside;
    d.context = &ctx;
    d.hint.x = ctx.record.Lon0;
    d.hint.y = ctx.record.Lat0;
    return d;
}

std::vector<PROJPOINT> Shifted(const PROJPOINT* points, size_t count, double dx, double dy) {
    std::vector<PROJPOINT> moved(points, points + count);
    for (PROJPOINT& p : moved) {
        p.x += dx;
        p.y += dy;
    }
    return moved;
}

bool PreclipPolylineImpl(void* handle, void* user, int count, const PROJPOINT* points,
                         ProjLineFunc piece) {
    LogPrintf("ProjLLPreclipPolyline(hProj=%p, pUser=%p, nPts=%d, pPts=%p)\n", handle, user, count,
              static_cast<const void*>(points));
    if (!handle || count < 2 || !points || !piece) {
        KV_REPORT(IDS_BAD_PARAMETER);
        return false;
    }
    ClipContext ctx;
    if (!MakeClipContext(Record(handle), ctx)) return false;
    const PClipDomain domain = DomainOf(ctx);
    if (!PClipPolyline(domain, count, points, user, piece)) {
        LogPrintf("ProjLLPreclipPolyline: Failed clipping polyline!\n");
        return false;
    }
    double dx = 0.0, dy = 0.0;
    if (!ProjLLOffsetSplitObject(handle, points, static_cast<unsigned>(count), &dx, &dy))
        return true;
    const std::vector<PROJPOINT> moved = Shifted(points, static_cast<size_t>(count), dx, dy);
    if (!PClipPolyline(domain, count, moved.data(), user, piece)) {
        LogPrintf("ProjLLPreclipPolyline: Failed clipping moved polyline!\n");
        return false;
    }
    return true;
}

bool PreclipPolygonImpl(void* handle, void* user, int parts, const int* partCounts,
                        const PROJPOINT* points, ProjPolygonFunc polygon, ProjLineFunc line) {
    LogPrintf("ProjLLPreclipPolygon(hProj=%p, pUser=%p, nParts=%d, pParts=%p, pPts=%p)\n", handle,
              user, parts, static_cast<const void*>(partCounts), static_cast<const void*>(points));
    int64_t total = 0;
    bool countsOk = partCounts != nullptr;
    for (int i = 0; countsOk && i < parts; ++i) {
        if (partCounts[i] < 0)
            countsOk = false;
        else
            total += partCounts[i];
    }
    if (!handle || parts < 1 || !countsOk || !points || !polygon || total > INT32_MAX) {
        LogPrintf("Invalid parameter to ProjLLPreclipPolygon!\n");
        KV_REPORT(IDS_BAD_PARAMETER);
        return false;
    }
    ClipContext ctx;
    if (!MakeClipContext(Record(handle), ctx)) return false;
    const PClipDomain domain = DomainOf(ctx);
    if (!PClipPolygon(domain, parts, partCounts, points, user, polygon, line)) {
        LogPrintf("ProjLLPreclipPolygon: Failed clipping polygon!\n");
        return false;
    }
    double dx = 0.0, dy = 0.0;
    bool split = false;
    const PROJPOINT* ring = points;
    for (int i = 0; i < parts && !split; ++i) {
        if (partCounts[i] > 0)
            split = ProjLLOffsetSplitObject(handle, ring, static_cast<unsigned>(partCounts[i]), &dx,
                                            &dy);
        ring += partCounts[i];
    }
    if (!split) return true;
    const std::vector<PROJPOINT> moved = Shifted(points, static_cast<size_t>(total), dx, dy);
    if (!PClipPolygon(domain, parts, partCounts, moved.data(), user, polygon, line)) {
        LogPrintf("ProjLLPreclipPolygon: Failed clipping moved polygon!\n");
        return false;
    }
    return true;
}

void* CreateImpl(PROJDATA* data) {
    LogPrintf("ProjCreateProjection(pProjData=%p)\n", static_cast<void*>(data));
    if (!data) return nullptr;
    const bool south = HostFlag(data->bSouth); // the record keeps its bytes
    char message[kProjCheckMessageLen] = "";
    if (ProjCheckParams(data, message, true) != 0) {
        LogPrintf("Invalid parameter error:  \"%s\"\n", message);
        return nullptr;
    }
    if (data->Type != PT_UNPROJECTED) {
        const int e = data->Ellipsoid;
        if (e < 0 || e >= ELLIPSOID_COUNT) {
            LogPrintf("Bad ellipsoid type!\n");
            KV_ASSERT_FAIL();
            return nullptr;
        }
        if (e != ELLIPSOID_USER_DEFINED) {
            data->MajorRadius = EllipsoidRadius(data->Ellipsoid);
            data->Flattening = EllipsoidFlattening(data->Ellipsoid);
        } else {
            LogPrintf("Have user-defined ellipsoid.\n");
            if (!(data->MajorRadius > 0.0)) {
                LogPrintf("Bad ellipsoid radius!\n");
                KV_ASSERT_FAIL();
                return nullptr;
            }
            if (!(data->Flattening >= 0.0 && data->Flattening < 1.0)) {
                LogPrintf("Bad ellipsoid flattening!\n");
                KV_ASSERT_FAIL();
                return nullptr;
            }
        }
    }
    if (data->Type == PT_UTM) {
        data->xOrg = kUTMFalseEasting;
        data->yOrg = south ? kUTMFalseNorthingSouth : 0.0;
        if (data->K0 == 0.0) data->K0 = kUTMK0;
    }
    HandleBlock* block = new (std::nothrow) HandleBlock;
    if (!block) {
        KV_ASSERT_FAIL();
        return nullptr;
    }
    PROJDATA* h = &block->record;
    std::memcpy(h, data, sizeof(PROJDATA));
    if (h->Scale == 0.0) {
        LogPrintf("Warning:  Scale was zero.  Setting to one.\n");
        h->Scale = 1.0;
    }
    if (h->K0 == 0.0) {
        LogPrintf("Warning:  K0 was zero.  Setting to one.\n");
        h->K0 = 1.0;
    }
    ProjDumpData(h);
    LogPrintf("ProjCreateProjection:  Returning HPROJ of %p\n", static_cast<void*>(h));
    return h;
}

} // namespace

// ---------------------------------------------------------------- handles

void* ProjCreateProjection(PROJDATA* data) {
    return KV_GUARDED(static_cast<void*>(nullptr), [&] { return CreateImpl(data); });
}

void ProjDeleteProjection(void* handle) {
    KV_GUARDED_VOID([&] {
        LogPrintf("ProjDeleteProjection(hProj=%p)\n", handle);
        delete static_cast<HandleBlock*>(handle);
    });
}

bool ProjForward(void* handle, PROJPOINT* points, int count) {
    return KV_GUARDED(false, [&] { return ForwardImpl(handle, points, count); });
}

bool ProjInverse(void* handle, PROJPOINT* points, int count) {
    return KV_GUARDED(false, [&] { return InverseImpl(handle, points, count); });
}

int ProjResult(void* handle) {
    return KV_GUARDED(0, [&] {
        LogPrintf("ProjResult(hProj=%p)\n", handle);
        return handle ? static_cast<int>(Record(handle)->iResult) : 0;
    });
}

bool ProjGetHandleInfo(void* handle, PROJDATA* data) {
    return KV_GUARDED(false, [&] {
        LogPrintf("ProjGetHandleInfo(hProj=%p, pProjData=%p)\n", handle, static_cast<void*>(data));
        if (!handle || !data) return false;
        std::memcpy(data, handle, sizeof(PROJDATA));
        return true;
    });
}

// ---------------------------------------------------------------- domain tests

bool ProjLLInProjection(void* handle, const PROJPOINT* point) {
    return KV_GUARDED(false, [&] {
        if (!handle || !point) return false;
        return LLInRecord(Record(handle), point);
    });
}

bool ProjLLInProjection(void* handle, int count, const PROJPOINT* points) {
    return KV_GUARDED(false, [&] {
        LogPrintf("ProjLLInProjection(hProj=%p, nPts=%d, pPts=%p)\n", handle, count,
                  static_cast<const void*>(points));
        if (!points) return true; // every single-point test of a null point says "outside"
        for (int i = 0; i < count; ++i)
            if (ProjLLInProjection(handle, &points[i])) return false;
        return true;
    });
}

bool ProjLLOffsetSplitObject(void* handle, const PROJPOINT* points, unsigned int count,
                             double* xOffset, double* yOffset) {
    return KV_GUARDED(false, [&] {
        if (!handle || !points || !xOffset || !yOffset) return false;
        return SplitRecord(Record(handle), points, count, xOffset, yOffset);
    });
}

bool ProjLLPreclipPolyline(void* handle, void* user, int count, const PROJPOINT* points,
                           ProjLineFunc piece) {
    return KV_GUARDED(false,
                      [&] { return PreclipPolylineImpl(handle, user, count, points, piece); });
}

bool ProjLLPreclipPolygon(void* handle, void* user, int parts, const int* partCounts,
                          const PROJPOINT* points, ProjPolygonFunc polygon, ProjLineFunc line) {
    return KV_GUARDED(false, [&] {
        return PreclipPolygonImpl(handle, user, parts, partCounts, points, polygon, line);
    });
}

// ---------------------------------------------------------------- CProjector

CProjector::CProjector() : m_handle(nullptr) {}

CProjector::CProjector(PROJDATA* data) : m_handle(ProjCreateProjection(data)) {}

CProjector::CProjector(const CProjector& other) : m_handle(nullptr) {
    if (other.m_handle) {
        PROJDATA copy;
        std::memcpy(&copy, other.m_handle, sizeof(PROJDATA));
        m_handle = ProjCreateProjection(&copy);
    }
}

CProjector& CProjector::operator=(const CProjector& other) {
    m_handle = other.m_handle;
    return *this;
}

CProjector::~CProjector() {
    Delete();
}

bool CProjector::Create(PROJDATA* data) {
    Delete();
    m_handle = ProjCreateProjection(data);
    return m_handle != nullptr;
}

void CProjector::Delete() {
    if (m_handle) ProjDeleteProjection(m_handle);
    m_handle = nullptr;
}

bool CProjector::Forward(PROJPOINT* points, int count) {
    return ProjForward(m_handle, points, count);
}

bool CProjector::Inverse(PROJPOINT* points, int count) {
    return ProjInverse(m_handle, points, count);
}

int CProjector::Result() {
    return ProjResult(m_handle);
}

bool CProjector::GetInfo(PROJDATA* data) {
    return ProjGetHandleInfo(m_handle, data);
}

bool CProjector::LLInProjection(const PROJPOINT* point) {
    return ProjLLInProjection(m_handle, point);
}

bool CProjector::LLOffsetSplitObject(const PROJPOINT* points, unsigned int count, double* xOffset,
                                     double* yOffset) {
    return ProjLLOffsetSplitObject(m_handle, points, count, xOffset, yOffset);
}

bool CProjector::LLPreclipPolyline(void* user, int count, const PROJPOINT* points,
                                   ProjLineFunc piece) {
    return ProjLLPreclipPolyline(m_handle, user, count, points, piece);
}

bool CProjector::LLPreclipPolygon(void* user, int parts, const int* partCounts,
                                  const PROJPOINT* points, ProjPolygonFunc polygon,
                                  ProjLineFunc line) {
    return ProjLLPreclipPolygon(m_handle, user, parts, partCounts, points, polygon, line);
}

// ---------------------------------------------------------------- CPROJCHAIN

CPROJCHAIN::CPROJCHAIN() = default;
CPROJCHAIN::CPROJCHAIN(const CPROJCHAIN& other) = default;
CPROJCHAIN::~CPROJCHAIN() = default;
CPROJCHAIN& CPROJCHAIN::operator=(const CPROJCHAIN& other) = default;

} // namespace KVProj
