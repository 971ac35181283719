// Georeference handles: creation from a GEOREF record, forward transformation
// of points, residual errors, the control arrays of a record, method names and
// the CGeorefTransform wrapper.
#include "georef/kvGeoRef.h"

#include "frame/Angles.h"
#include "frame/Diag.h"
#include "frame/Firewall.h"
#include "kvproj/registration.h"

#include <algorithm>
#include <atomic>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <new>

namespace KVProj {
namespace {

constexpr const char* kMethodNames[] = {
    "Helmert",
    "Affine Polynomial",
    "1st Order Polynomial",
    "2nd Order Polynomial",
    "3rd Order Polynomial",
    "Precalculated Affine Coefficients",
    "Thin Plate Spline",
    "Natural Cubic Spline",
    "Marcov Spline",
    "Exponential Spline",
    "Rational Quadratic Spline",
    "Inverse Distance Squared",
};
constexpr int kMethodCount = sizeof kMethodNames / sizeof kMethodNames[0];
static_assert(kMethodCount == TM_NONE, "one name per method");
constexpr int kFirstWarp = TM_THIN_PLATE_SPLINE;

bool ValidMethod(int method) {
    return method >= 0 && method < kMethodCount;
}
bool IsWarp(int method) {
    return method >= kFirstWarp && method < kMethodCount;
}

GeoRefHandle* AsHandle(void* hRef) {
    return static_cast<GeoRefHandle*>(hRef);
}

// Registration objects of failed creations. They are never released, but stay
// reachable from here, so that leak checkers do not count them as lost.
struct Abandoned {
    CImageRegistration* registration;
    Abandoned* next;
};
std::atomic<Abandoned*> g_abandoned{nullptr};
std::atomic<int> g_abandonedCount{0};

void Abandon(CImageRegistration* registration) {
    if (!registration) return;
    g_abandonedCount.fetch_add(1, std::memory_order_relaxed);
    Abandoned* node = new (std::nothrow) Abandoned{registration, nullptr};
    if (!node) return;
    node->next = g_abandoned.load(std::memory_order_relaxed);
    while (!g_abandoned.compare_exchange_weak(node->next, node, std::memory_order_release,
                                              std::memory_order_relaxed)) {
    }
}

CImageRegistration* NewRegistration() {
    try {
        return new CImageRegistration;
    } catch (...) {
        return nullptr;
    }
}

void FreeArrays(GeoRefHandle* h) {
    std::free(h->ref.pSrc);
    std::free(h->ref.pDest);
}

void FreeHandle(GeoRefHandle* h) {
    FreeArrays(h);
    delete h->registration;
    delete h;
}

// ------------------------------------------------------------ warps

RPoints ToRPoints(const GEOREFPOINT* p, int n) {
    RPoints points(static_cast<size_t>(n));
    for (int i = 0; i < n; ++i)
        points[i] = {p[i].x, p[i].y};
    return points;
}

bool WarpCalibrate(GeoRefHandle* h, int warpType) {
    CTRACE("WarpCalibrate(pCtx=%p, eWarpType=%d)\n", static_cast<void*>(h), warpType);
    if (!h || !h->registration) {
        CTRACE("Can't calibrate, bad args\n");
        return false;
    }
    const GEOREF& r = h->ref;
    const WarpingMethod method = static_cast<WarpingMethod>(warpType);
    if (h->registration->Calibrate(ToRPoints(r.pSrc, r.nControls), ToRPoints(r.pDest, r.nControls),
                                   method) != method) {
        CTRACE("Calibration failed\n");
        return false;
    }
    return true;
}

// A finite point whose image is not finite becomes unplottable; points that
// are not finite and unplottable points stay as they are.
// One point through the warp: unplottable points pass unchanged, a finite point
// whose image is not finite becomes unplottable.
void WarpOnePoint(const CImageRegistration& reg, GEOREFPOINT& p) {
    if (IsUnplottable(p)) return;
    double x = p.x, y = p.y;
    if (reg.Transform(x, y))
        p = {x, y};
    else if (std::isfinite(x) && std::isfinite(y))
        MarkUnplottable(p);
}

bool WarpTransform(GeoRefHandle* h, GEOREFPOINT* pts, int n) {
    CTRACE("WarpTransform(pCtx=%p, pPts=%p, nPts=%d)\n", static_cast<void*>(h),
           static_cast<void*>(pts), n);
    if (!h->registration || !pts || n < 1) return false;
    // The registration evaluates a block of points at a time (vector kernels); a
    // block that reports a failure is redone point by point, so that each failed
    // point is told apart from one that the warp maps onto itself.
    constexpr int kBlock = 256;
    RPoint block[kBlock];
    for (int first = 0; first < n; first += kBlock) {
        const int count = std::min(kBlock, n - first);
        GEOREFPOINT* part = pts + first;
        // Unplottable points stand in as the origin and are left as they are.
        for (int i = 0; i < count; ++i)
            block[i] = IsUnplottable(part[i]) ? RPoint{0.0, 0.0} : RPoint{part[i].x, part[i].y};
        if (!h->registration->Transform(block, static_cast<size_t>(count))) {
            for (int i = 0; i < count; ++i) WarpOnePoint(*h->registration, part[i]);
            continue;
        }
        for (int i = 0; i < count; ++i)
            if (!IsUnplottable(part[i])) part[i] = {block[i].x, block[i].y};
    }
    return true;
}

// ------------------------------------------------------------ creation

bool ControlsFinite(const GEOREF& r) {
    for (int i = 0; i < r.nControls; ++i)
        if (!std::isfinite(r.pSrc[i].x) || !std::isfinite(r.pSrc[i].y) ||
            !std::isfinite(r.pDest[i].x) || !std::isfinite(r.pDest[i].y))
            return false;
    return true;
}

// The handle's own copies of the record's control arrays.
bool CopyControls(GeoRefHandle* h, const GEOREF& r) {
    h->ref = r;
    h->ref.pSrc = h->ref.pDest = nullptr;
    if (r.nControls < 0) return KV_ASSERT_FAIL();
    if (r.nControls == 0) return true;
    if (!r.pSrc || !r.pDest) return KV_ASSERT_FAIL();
    GEOREFPOINT* src = AllocControlArray(r.nControls);
    if (!src) return KV_ASSERT_FAIL();
    GEOREFPOINT* dst = AllocControlArray(r.nControls);
    if (!dst) {
        std::free(src);
        return KV_ASSERT_FAIL();
    }
    std::memcpy(src, r.pSrc, sizeof(GEOREFPOINT) * r.nControls);
    std::memcpy(dst, r.pDest, sizeof(GEOREFPOINT) * r.nControls);
    h->ref.pSrc = src;
    h->ref.pDest = dst;
    return true;
}

bool InitializeMethod(GeoRefHandle* h) {
    const int method = h->ref.Method;
    if (!ValidMethod(method)) return false;
    if (method != TM_PRECALCULATED && !ControlsFinite(h->ref)) return KV_ASSERT_FAIL();
    if (method == TM_HELMERT) return RefInitializeHelmert(h);
    if (method == TM_PRECALCULATED) return RefInitializeCoeff(h);
    if (IsWarp(method)) return WarpCalibrate(h, method - kFirstWarp);
    return RefInitializeOrder3(h, OrderCodeOf(static_cast<TransformMethod>(method)));
}

void* CreateSystem(const GEOREF& r) {
    GeoRefHandle* h = new (std::nothrow) GeoRefHandle{};
    if (!h) return KV_ASSERT_FAIL(), nullptr;
    if (!CopyControls(h, r)) {
        delete h;
        return nullptr;
    }
    h->registration = NewRegistration();
    if (!h->registration) {
        FreeArrays(h);
        delete h;
        return KV_ASSERT_FAIL(), nullptr;
    }
    if (!InitializeMethod(h)) {
        CTRACE("RefCreateSystem failed initializing transform\n");
        // The arrays and the block are freed, the registration object is not.
        Abandon(h->registration);
        FreeArrays(h);
        delete h;
        return nullptr;
    }
    return h;
}

bool ForwardPoints(GeoRefHandle* h, GEOREFPOINT* pts, int n) {
    const int method = h->ref.Method;
    if (!pts || n < 1 || !ValidMethod(method)) return KV_ASSERT_FAIL();
    if (method == TM_HELMERT) return HelmertForward(h, pts, n);
    if (method == TM_PRECALCULATED) return CoeffForward(h, pts, n);
    if (IsWarp(method)) return WarpTransform(h, pts, n);
    return Order3Forward(h, OrderCodeOf(static_cast<TransformMethod>(method)), pts, n);
}

bool ComputeError(GeoRefHandle* h, double* total, double* perControl) {
    const GEOREF& r = h->ref;
    if (!ValidMethod(r.Method) || r.Method == TM_PRECALCULATED) return KV_ASSERT_FAIL();
    std::unique_ptr<GEOREFPOINT[]> moved(new (std::nothrow) GEOREFPOINT[r.nControls]);
    if (!moved) return KV_ASSERT_FAIL();
    std::memcpy(moved.get(), r.pSrc, sizeof(GEOREFPOINT) * r.nControls);
    if (!RefForward(h, moved.get(), r.nControls)) return false;
    double sum = 0.0;
    for (int i = 0; i < r.nControls; ++i) {
        const double e = std::hypot(r.pDest[i].x - moved[i].x, r.pDest[i].y - moved[i].y);
        if (perControl) perControl[i] = e;
        sum += e;
    }
    if (total) *total = sum / r.nControls;
    return true;
}

} // namespace

GEOREFPOINT* AllocControlArray(int n) {
    if (n < 1 || n > kMaxControls) return nullptr;
    return static_cast<GEOREFPOINT*>(std::calloc(static_cast<size_t>(n), sizeof(GEOREFPOINT)));
}

void TraceControls(const GEOREF& r) {
    if (!LogIsEnabled()) return;
    for (int i = 0; i < r.nControls; ++i)
        CTRACE("Control %2d: sx=%6.2f sy=%6.2f dx=%6.2f dy=%6.2f\n", i, r.pSrc[i].x, r.pSrc[i].y,
               r.pDest[i].x, r.pDest[i].y);
}

int AbandonedRegistrations() {
    return g_abandonedCount.load(std::memory_order_relaxed);
}

// ------------------------------------------------------------ exported functions

void* RefCreateSystem(const GEOREF* pRefData) {
    return KV_GUARDED(static_cast<void*>(nullptr), [&]() -> void* {
        CTRACE("RefCreateSystem(pRefData=%p)\n", static_cast<const void*>(pRefData));
        return pRefData ? CreateSystem(*pRefData) : nullptr;
    });
}

void RefDeleteSystem(void* hRef) {
    KV_GUARDED_VOID([&] {
        CTRACE("RefDeleteSystem(hRef=%p)\n", hRef);
        if (hRef) FreeHandle(AsHandle(hRef));
    });
}

bool RefForward(void* hRef, GEOREFPOINT* pPts, int nPts) {
    return KV_GUARDED(false, [&] {
        CTRACE("RefForward(hRef=%p, pPts=%p, nPts=%d)\n", hRef, static_cast<void*>(pPts), nPts);
        return hRef && ForwardPoints(AsHandle(hRef), pPts, nPts);
    });
}

bool RefComputeError(void* hRef, double* pTotalError, double* pControlError) {
    return KV_GUARDED(false, [&] {
        CTRACE("RefComputeError(hRef=%p, pTotalError=%p, pControlError=%p)\n", hRef,
               static_cast<void*>(pTotalError), static_cast<void*>(pControlError));
        return hRef && ComputeError(AsHandle(hRef), pTotalError, pControlError);
    });
}

bool RefGetHandleInfo(void* hRef, GEOREF* pGeoRef) {
    return KV_GUARDED(false, [&] {
        CTRACE("RefGetHandleInfo(hRef=%p, pGeoRef=%p)\n", hRef, static_cast<void*>(pGeoRef));
        if (!hRef) return false;
        if (!pGeoRef) return KV_ASSERT_FAIL();
        *pGeoRef = AsHandle(hRef)->ref;
        return true;
    });
}

bool RefGetFit(void* hRef, GEOREFFIT* pFit) {
    return KV_GUARDED(false, [&] {
        if (!hRef || !pFit) return false;
        GEOREFFIT fit{};
        if (!FitCoefficients(AsHandle(hRef), fit.X, fit.Y, &fit.nTerms)) return false;
        *pFit = fit;
        return true;
    });
}

bool RefAllocControls(GEOREF* pRefData, int nControls) {
    return KV_GUARDED(false, [&] {
        CTRACE("RefAllocControls(pRefData=%p, nControls=%d)\n", static_cast<void*>(pRefData),
               nControls);
        if (!pRefData) return false;
        // Whatever the pointers held is the caller's to free: it is not freed here.
        GEOREF& r = *pRefData;
        r.nControls = 0;
        r.pSrc = r.pDest = nullptr;
        if (nControls < 1) return false;
        r.pSrc = AllocControlArray(nControls);
        if (!r.pSrc) return false;
        r.pDest = AllocControlArray(nControls);
        if (!r.pDest) {
            std::free(r.pSrc);
            r.pSrc = nullptr;
            return false;
        }
        r.nControls = nControls;
        return true;
    });
}

void RefFreeControls(GEOREF* pRefData) {
    KV_GUARDED_VOID([&] {
        if (!pRefData) return;
        std::free(pRefData->pSrc);
        std::free(pRefData->pDest);
        pRefData->pSrc = pRefData->pDest = nullptr;
        pRefData->nControls = 0;
    });
}

const char* RefMethodName(TransformMethod method) {
    return ValidMethod(method) ? kMethodNames[method] : "";
}

// ------------------------------------------------------------ CGeorefTransform

CGeorefTransform::CGeorefTransform() : m_hRef(nullptr) {}

CGeorefTransform::CGeorefTransform(const GEOREF* pRefData) : m_hRef(RefCreateSystem(pRefData)) {}

CGeorefTransform::CGeorefTransform(const CGeorefTransform& other) : m_hRef(nullptr) {
    GEOREF record;
    if (RefGetHandleInfo(other.m_hRef, &record)) m_hRef = RefCreateSystem(&record);
}

CGeorefTransform::~CGeorefTransform() {
    Delete();
}

// Shallow: the handle value only, so both objects then hold (and delete) one handle.
CGeorefTransform& CGeorefTransform::operator=(const CGeorefTransform& other) {
    m_hRef = other.m_hRef;
    return *this;
}

bool CGeorefTransform::Create(const GEOREF* pRefData) {
    Delete();
    m_hRef = RefCreateSystem(pRefData);
    return m_hRef != nullptr;
}

void CGeorefTransform::Delete() {
    if (m_hRef) RefDeleteSystem(m_hRef);
    m_hRef = nullptr;
}

bool CGeorefTransform::IsCreated() const {
    return m_hRef != nullptr;
}

bool CGeorefTransform::Forward(GEOREFPOINT* pPts, int nPts) {
    return RefForward(m_hRef, pPts, nPts);
}

bool CGeorefTransform::ComputeError(double* pTotalError, double* pControlError) {
    return RefComputeError(m_hRef, pTotalError, pControlError);
}

bool CGeorefTransform::GetInfo(GEOREF* pGeoRef) {
    return RefGetHandleInfo(m_hRef, pGeoRef);
}

} // namespace KVProj
