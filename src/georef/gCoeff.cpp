// The precalculated affine (method 5) and the conversions between its six
// coefficients and control points: corner controls from coefficients, an
// affine fit from controls, and rescaling for a resized image.
#include "georef/kvGeoRef.h"

#include "frame/Diag.h"
#include "frame/Firewall.h"

#include <algorithm>
#include <cstdlib>

namespace KVProj {
namespace {

constexpr int kDefaultSide = 100; // image side assumed for a width or height below 1
constexpr int kCorners = 4;

// Corners (0, 0), (w, 0), (w, h), (0, h) as multiples of the width and height.
constexpr int kCornerSides[kCorners][2] = {{0, 0}, {1, 0}, {1, 1}, {0, 1}};

GEOREFPOINT AffineImage(const GEOREF& r, const GEOREFPOINT& p) {
    return {r.A * p.x + r.B * p.y + r.C, r.D * p.x + r.E * p.y + r.F};
}

// Multiplies the source controls by the factors; false when the record counts
// controls it does not hold.
bool ScaleSourceControls(GEOREF& r, double sx, double sy) {
    if (r.nControls > 0 && !r.pSrc) return false;
    for (int i = 0; i < r.nControls; ++i) {
        r.pSrc[i].x *= sx;
        r.pSrc[i].y *= sy;
    }
    return true;
}

} // namespace

bool RefInitializeCoeff(GeoRefHandle* h) {
    if (h->ref.Method != TM_PRECALCULATED) KV_ASSERT_FAIL();
    const GEOREF& r = h->ref;
    h->kernel = PolyKernel{3, {r.C, r.A, r.B}, {r.F, r.D, r.E}, 0, 0, 1, 0, 0};
    return true;
}

bool CoeffForward(const GeoRefHandle* h, GEOREFPOINT* pts, int n) {
    if (!pts || n < 1) return KV_ASSERT_FAIL();
    ForwardPolyKernel(h->kernel, pts, static_cast<size_t>(n));
    return true;
}

bool FitCoefficients(const GeoRefHandle* h, double x[kMaxTerms], double y[kMaxTerms], int* terms) {
    std::fill(x, x + kMaxTerms, 0.0);
    std::fill(y, y + kMaxTerms, 0.0);
    const TransformMethod method = h->ref.Method;
    if (method == TM_HELMERT) {
        const double* p = h->helmert; // a, b, c, d
        *terms = 3;
        x[0] = p[2], x[1] = p[0], x[2] = -p[1];
        y[0] = p[3], y[1] = p[1], y[2] = p[0];
        return true;
    }
    if (method == TM_PRECALCULATED) {
        const GEOREF& r = h->ref;
        *terms = 3;
        x[0] = r.C, x[1] = r.A, x[2] = r.B;
        y[0] = r.F, y[1] = r.D, y[2] = r.E;
        return true;
    }
    const int order = OrderCodeOf(method);
    if (order < 0) return false;
    *terms = PolyTermCount(order);
    Order3Coefficients(h, order, x, y);
    return true;
}

bool RefCoeffToControls(GEOREF* pRefData, int iWidth, int iHeight) {
    return KV_GUARDED(false, [&] {
        CTRACE("RefCoeffToControls(pRefData=%p, iWidth=%d, iHeight=%d)\n",
               static_cast<void*>(pRefData), iWidth, iHeight);
        if (!pRefData || pRefData->Method != TM_PRECALCULATED) return false;
        GEOREFPOINT* src = AllocControlArray(kCorners);
        GEOREFPOINT* dst = src ? AllocControlArray(kCorners) : nullptr;
        if (!dst) {
            std::free(src);
            return false;
        }
        // The record's earlier arrays are the caller's to free: they are not freed here.
        GEOREF& r = *pRefData;
        const double w = iWidth < 1 ? kDefaultSide : iWidth;
        const double h = iHeight < 1 ? kDefaultSide : iHeight;
        for (int i = 0; i < kCorners; ++i) {
            src[i] = {kCornerSides[i][0] * w, kCornerSides[i][1] * h};
            dst[i] = AffineImage(r, src[i]);
        }
        r.pSrc = src;
        r.pDest = dst;
        r.Method = TM_AFFINE;
        r.nControls = kCorners;
        return true;
    });
}

bool RefControlsToCoeff(GEOREF* pRefData) {
    return KV_GUARDED(false, [&] {
        // Logged under the name of its counterpart, as the trace log always has.
        CTRACE("RefCoeffToControls(pRefData=%p)\n", static_cast<void*>(pRefData));
        if (!pRefData) return false;
        GEOREF& r = *pRefData;
        if (r.Method == TM_PRECALCULATED || r.Method == TM_NONE || r.nControls < 3 || !r.pSrc ||
            !r.pDest)
            return false;
        GEOREF affine = r;
        affine.Method = TM_AFFINE;
        void* handle = RefCreateSystem(&affine);
        if (!handle) return false;
        double x[kMaxTerms], y[kMaxTerms];
        int terms = 0;
        FitCoefficients(static_cast<const GeoRefHandle*>(handle), x, y, &terms);
        RefDeleteSystem(handle);
        r.A = x[1], r.B = x[2], r.C = x[0];
        r.D = y[1], r.E = y[2], r.F = y[0];
        r.Method = TM_PRECALCULATED;
        return true;
    });
}

bool RefResize(GEOREF* pRefData, int iOldW, int iOldH, int iNewW, int iNewH) {
    return KV_GUARDED(false, [&] {
        CTRACE("RefResize(pRefData=%p, iOldW=%d, iOldH=%d, iNewW=%d, iNewH=%d)\n",
               static_cast<void*>(pRefData), iOldW, iOldH, iNewW, iNewH);
        if (!pRefData || iOldW < 1 || iOldH < 1 || iNewW < 1 || iNewH < 1) return false;
        GEOREF& r = *pRefData;
        const double sx = static_cast<double>(iNewW) / iOldW;
        const double sy = static_cast<double>(iNewH) / iOldH;
        const bool coefficients = r.Method == TM_PRECALCULATED;
        if (coefficients && !RefCoeffToControls(&r, iOldW, iOldH)) return false;
        if (!ScaleSourceControls(r, sx, sy)) return false;
        if (coefficients) {
            if (!RefControlsToCoeff(&r)) return false;
            RefFreeControls(&r);
        }
        return true;
    });
}

} // namespace KVProj
