// Datum conversion: handles, and the conversion of longitude/latitude arrays
// from a source datum to WGS 84 and on to a destination datum.
#include "frame/Angles.h"
#include "datum/kvDatum.h"

#include "datum/DatumPasses.h"
#include "datum/DatumTable.h"
#include "datum/GridShift.h"
#include "datum/dMRE.h"
#include "frame/Diag.h"
#include "frame/MessageIds.h"
#include "frame/Firewall.h"
#include "frame/Util.h"
#include "projections/VectorPath.h"

#include <cmath>
#include <cstring>
#include <initializer_list>
#include <memory>
#include <new>

namespace KVProj {
namespace {

// Points are converted this many at a time, so that the scratch memory of a
// call does not grow with its count.
constexpr int kBlockPoints = 1 << 16;

// The passes before and after the steps over a block: the vector loops
// unless the per-point path is asked for. True when any point is unplottable.
bool PreparePoints(DATUMPOINT* points, int count, signed char* wrap) {
    if (VectorPathOn()) return pass::PrepareLanes(points, count, wrap);
    bool any = false;
    for (int n = 0; n < count; ++n)
        any |= pass::PreparePoint(points[n], wrap[n]);
    return any;
}

bool FinishPoints(DATUMPOINT* points, int count, const signed char* wrap) {
    if (VectorPathOn()) return pass::FinishLanes(points, count, wrap);
    bool any = false;
    for (int n = 0; n < count; ++n)
        any |= pass::FinishPoint(points[n], wrap[n]);
    return any;
}

bool RunStep(const DATUM2WGS84& step, DATUMPOINT* points, int count) {
    switch (static_cast<int>(step.Method)) {
    case DM_MOLODENSKY:
        return MolodenskyStep(step, points, count);
    case DM_BURSA:
        return BursaWolfStep(step, points, count);
    default:
        return false;
    }
}

void ReportNtv2(int status) {
    if (status == NTV2_OPEN_FAILED)
        KV_REPORT(IDS_NTV2_OPEN);
    else if (status == NTV2_SHORT_READ || status == NTV2_BAD_DATA)
        KV_REPORT(IDS_NTV2_CORRUPT);
}

// The grid shift of either step; a failure is logged and reported to the host.
bool Ntv2Step(DATUMPOINT* points, int count, bool inverse) {
    const int status = NTV2Transform(count, points, inverse);
    if (status == NTV2_OK) return true;
    LogPrintf("NTV2 transform failure.\n");
    ReportNtv2(status);
    return false;
}

// Resolves the steps of a request in place: table rows for the built-in datums,
// table ellipsoids for the user steps. False (after the assertion report) for
// a request no step can serve.
bool ResolveSteps(DATUMXFORM& x) {
    bool srcFound = true, destFound = true;
    if (x.SrcDatum != DATUM_USER_DEFINED) {
        int i = DatumFindRow(x.SrcDatum);
        srcFound = i < kDatumRowCount;
        if (srcFound) DatumFillStep(kDatumRows[i], &x.Step1);
    }
    if (x.DestDatum != DATUM_USER_DEFINED) {
        int i = DatumFindDestRow(x.DestDatum);
        destFound = i < kDatumRowCount;
        if (destFound) {
            DatumFillStep(kDatumRows[i], &x.Step2);
            x.Step2.bInverse = true;
        }
    }
    if (!srcFound || !destFound) return KV_ASSERT_FAIL();
    if (x.SrcDatum == DATUM_USER_DEFINED && !MethodReversible(x.Step1.Method))
        return KV_ASSERT_FAIL();
    if (x.DestDatum == DATUM_USER_DEFINED && !MethodReversible(x.Step2.Method))
        return KV_ASSERT_FAIL();
    for (DATUM2WGS84* s : {&x.Step1, &x.Step2}) {
        if (s->Ellipsoid != ELLIPSOID_USER_DEFINED) {
            s->MajorRadius = EllipsoidRadius(s->Ellipsoid);
            s->Flattening = EllipsoidFlattening(s->Ellipsoid);
        }
    }
    return true;
}

// The stages every point goes through, in order.
enum class Stage { Prepare, Step1, Step2, Finish, Count };

// One conversion call: the resolved request and the handle whose unplottable
// flag it sets.
struct Conversion {
    DATUMXFORM* handle;
    const DATUMXFORM& x;

    // Marks non-finite points, folds the rest and brings longitudes into
    // -180..180 so the regression origins and grids see one convention;
    // wrap[n] keeps the -1/0/+1 turn that Finish undoes.
    void prepare(DATUMPOINT* points, int count, signed char* wrap) const {
        if (PreparePoints(points, count, wrap)) handle->bUnplottable = true;
    }

    bool step1(DATUMPOINT* points, int count) const {
        switch (static_cast<int>(x.Step1.Method)) {
        case DM_MOLODENSKY:
        case DM_BURSA:
            return RunStep(x.Step1, points, count) || KV_ASSERT_FAIL();
        case DM_MRE:
            return MreShift(x.SrcDatum, points, count) || KV_ASSERT_FAIL();
        case DM_NADCON: {
            const char* area = x.SrcDatum == DATUM_NADCON_CONUS  ? "conus"
                               : x.SrcDatum == DATUM_NADCON_PRVI ? "prvi"
                                                                 : nullptr;
            return !area || NadconShift(area, points, count);
        }
        case DM_NTV2:
            return Ntv2Step(points, count, false);
        case DM_NOXFORM:
            return true;
        default:
            return KV_ASSERT_FAIL();
        }
    }

    bool step2(DATUMPOINT* points, int count) const {
        switch (static_cast<int>(x.Step2.Method)) {
        case DM_MOLODENSKY:
        case DM_BURSA:
            return RunStep(x.Step2, points, count) || KV_ASSERT_FAIL();
        case DM_NTV2:
            // Unlike the source step, the destination step also reports an
            // internal inconsistency; hosts have come to expect both messages.
            return Ntv2Step(points, count, true) || KV_ASSERT_FAIL();
        case DM_NOXFORM:
            return true;
        default:
            return KV_ASSERT_FAIL();
        }
    }

    void finish(DATUMPOINT* points, int count, const signed char* wrap) const {
        if (FinishPoints(points, count, wrap)) handle->bUnplottable = true;
    }

    bool run(Stage stage, DATUMPOINT* points, int count, signed char* wrap) const {
        switch (stage) {
        case Stage::Prepare:
            prepare(points, count, wrap);
            return true;
        case Stage::Step1:
            return step1(points, count);
        case Stage::Step2:
            return step2(points, count);
        default:
            finish(points, count, wrap);
            return true;
        }
    }
};

// Runs every stage block by block. A stage fails only on its set-up (a grid
// that cannot be loaded, an unusable ellipsoid), so in the first block; the
// later blocks then receive the stages before it, exactly as when every stage
// ran over the whole array, and the failure is returned.
bool ConvertInBlocks(const Conversion& c, DATUMPOINT* points, int count, signed char* wrap) {
    for (int start = 0; start < count; start += kBlockPoints) {
        const int n = count - start < kBlockPoints ? count - start : kBlockPoints;
        for (int s = 0; s < static_cast<int>(Stage::Count); ++s) {
            if (c.run(static_cast<Stage>(s), points + start, n, wrap)) continue;
            for (int rest = start + n; rest < count; rest += kBlockPoints) {
                const int m = count - rest < kBlockPoints ? count - rest : kBlockPoints;
                for (int done = 0; done < s; ++done)
                    c.run(static_cast<Stage>(done), points + rest, m, wrap);
            }
            return false;
        }
    }
    return true;
}

bool ConvertPoints(DATUMXFORM* handle, DATUMXFORM& x, DATUMPOINT* points, int count) {
    if (x.SrcDatum == x.DestDatum && x.SrcDatum != DATUM_USER_DEFINED) return true;
    if (!ResolveSteps(x)) return false;
    // One wrap offset per point of a block (-1, 0 or +1 turns), undone after the
    // shift: on the stack for a short call, else as long as the first block.
    constexpr int kStackPoints = 256;
    signed char onStack[kStackPoints];
    std::unique_ptr<signed char[]> onHeap;
    signed char* wrap = onStack;
    if (count > kStackPoints) {
        onHeap.reset(new (std::nothrow) signed char[count < kBlockPoints ? count : kBlockPoints]);
        if (!onHeap) return KV_ASSERT_FAIL();
        wrap = onHeap.get();
    }
    if (LogIsEnabled()) {
        LogPrintf("Initiating transform.\n");
        DatDumpXform(&x);
    }
    return ConvertInBlocks(Conversion{handle, x}, points, count, wrap);
}

} // namespace

// ---------------------------------------------------------------- exported

void* DatCreateDatum(const DATUMXFORM* xform) {
    return KV_GUARDED(static_cast<void*>(nullptr), [&]() -> void* {
        LogPrintf("DatCreateDatum(pDatumData=%p)\n", static_cast<const void*>(xform));
        DatDumpXform(xform);
        if (!xform) return nullptr;
        if (DatCheckParams(xform, nullptr, true) != 0) return nullptr;
        DATUMXFORM* copy = new (std::nothrow) DATUMXFORM;
        if (!copy) return nullptr;
        std::memcpy(copy, xform, sizeof *copy);
        return copy;
    });
}

void DatDeleteDatum(void* handle) {
    KV_GUARDED_VOID([&] {
        LogPrintf("DatDeleteDatum(hDatum=%p)\n", handle);
        delete static_cast<DATUMXFORM*>(handle);
    });
}

bool DatConvertDatum(void* handle, DATUMPOINT* points, int count) {
    return KV_GUARDED(false, [&] {
        LogPrintf("DatConvertDatum(hDatum=%p, pPts=%p, nPts=%d)\n", handle,
                  static_cast<void*>(points), count);
        if (!handle) return false;
        if (!points || count < 1) return KV_ASSERT_FAIL();
        DATUMXFORM* h = static_cast<DATUMXFORM*>(handle);
        DATUMXFORM x;
        std::memcpy(&x, h, sizeof x);
        if (x.SrcDatum < 0 || x.SrcDatum > DATUM_NONE || x.DestDatum < 0 ||
            x.DestDatum > DATUM_NONE)
            return KV_ASSERT_FAIL();
        // The host's flag bytes are read once, as bytes: any non-zero byte is true.
        NormaliseHostFlag(x.Step1.bInverse);
        NormaliseHostFlag(x.Step2.bInverse);
        h->bUnplottable = false;
        return ConvertPoints(h, x, points, count);
    });
}

bool DatHadUnplottables(void* handle) {
    return KV_GUARDED(false, [&] {
        return handle && HostFlag(static_cast<const DATUMXFORM*>(handle)->bUnplottable);
    });
}

bool DatGetHandleInfo(void* handle, DATUMXFORM* out) {
    return KV_GUARDED(false, [&] {
        if (!handle || !out) return false;
        std::memcpy(out, handle, sizeof *out);
        return true;
    });
}

// ---------------------------------------------------------------- CDatumTransform

CDatumTransform::CDatumTransform() : m_hDatum(nullptr) {}

CDatumTransform::CDatumTransform(const DATUMXFORM* xform) : m_hDatum(DatCreateDatum(xform)) {}

CDatumTransform::CDatumTransform(const CDatumTransform& other) : m_hDatum(nullptr) {
    DATUMXFORM x;
    if (other.GetInfo(&x)) m_hDatum = DatCreateDatum(&x);
}

CDatumTransform::~CDatumTransform() {
    Delete();
}

// Shares the handle: after an assignment both objects hold the same one.
CDatumTransform& CDatumTransform::operator=(const CDatumTransform& other) {
    m_hDatum = other.m_hDatum;
    return *this;
}

bool CDatumTransform::Create(const DATUMXFORM* xform) {
    Delete();
    m_hDatum = DatCreateDatum(xform);
    return m_hDatum != nullptr;
}

void CDatumTransform::Delete() {
    if (m_hDatum) {
        DatDeleteDatum(m_hDatum);
        m_hDatum = nullptr;
    }
}

bool CDatumTransform::IsCreated() const {
    return m_hDatum != nullptr;
}

bool CDatumTransform::Convert(DATUMPOINT* points, int count) {
    return DatConvertDatum(m_hDatum, points, count);
}

bool CDatumTransform::HadUnplottables() const {
    return DatHadUnplottables(m_hDatum);
}

bool CDatumTransform::GetInfo(DATUMXFORM* out) const {
    return DatGetHandleInfo(m_hDatum, out);
}

} // namespace KVProj
