// The four-parameter Helmert similarity: x' = a x - b y + c, y' = b x + a y + d,
// fitted to the controls by closed-form least squares.
#include "georef/kvGeoRef.h"

#include "frame/Diag.h"

#include <cmath>

namespace KVProj {
namespace {

struct HelmertSums {
    double sx = 0, sy = 0, sxx = 0, syy = 0, su = 0, sv = 0, sxu = 0, sxv = 0, syu = 0, syv = 0;
};

// The sums over controls shifted by the fit frame's centres: the same fit,
// without the cancellation of Sxx - Sx²/n for large coordinates.
HelmertSums SumControls(const GEOREF& ref, const FitFrame& f) {
    HelmertSums s;
    for (int i = 0; i < ref.nControls; ++i) {
        const double x = ref.pSrc[i].x - f.x0, y = ref.pSrc[i].y - f.y0;
        const double u = ref.pDest[i].x - f.dx0, v = ref.pDest[i].y - f.dy0;
        s.sx += x;
        s.sy += y;
        s.sxx += x * x;
        s.syy += y * y;
        s.su += u;
        s.sv += v;
        s.sxu += x * u;
        s.sxv += x * v;
        s.syu += y * u;
        s.syv += y * v;
    }
    return s;
}

// One control: the translation that maps it.
void FitTranslation(GeoRefHandle* h) {
    const GEOREFPOINT& s = h->ref.pSrc[0];
    const GEOREFPOINT& d = h->ref.pDest[0];
    h->helmert[0] = 1.0;
    h->helmert[1] = 0.0;
    h->helmert[2] = d.x - s.x;
    h->helmert[3] = d.y - s.y;
    h->kernel = PolyKernel{3, {h->helmert[2], 1.0, 0.0}, {h->helmert[3], 0.0, 1.0}, 0, 0, 1, 0, 0};
}

} // namespace

bool RefInitializeHelmert(GeoRefHandle* h) {
    CTRACE("RefInitializeHelmert\n");
    TraceControls(h->ref);
    const int n = h->ref.nControls;
    if (n < 2) {
        KV_ASSERT_FAIL();
        if (n < 1) return false;
        FitTranslation(h);
        return true;
    }
    const FitFrame f = MakeFitFrame(h->ref.pSrc, h->ref.pDest, n);
    const HelmertSums s = SumControls(h->ref, f);
    const double denominator = s.sxx + s.syy - s.sx * s.sx / n - s.sy * s.sy / n;
    // Every source control at one place: no scale or rotation can be told.
    if (!(denominator > 0.0)) return KV_ASSERT_FAIL();
    const double a = (s.sxu + s.syv - s.su * s.sx / n - s.sv * s.sy / n) / denominator;
    const double b = (s.sxv - s.syu + s.su * s.sy / n - s.sv * s.sx / n) / denominator;
    const double c = (s.su - a * s.sx + b * s.sy) / n;
    const double d = (s.sv - a * s.sy - b * s.sx) / n;
    // Back from the centred frame: x' = a (x - x0) - b (y - y0) + c + dx0.
    h->helmert[0] = a;
    h->helmert[1] = b;
    h->helmert[2] = c + f.dx0 - a * f.x0 + b * f.y0;
    h->helmert[3] = d + f.dy0 - b * f.x0 - a * f.y0;
    for (double v : h->helmert)
        if (!std::isfinite(v)) return KV_ASSERT_FAIL();
    // Evaluated about the centres: x' = dx0 + c + a (x - x0) - b (y - y0).
    h->kernel = PolyKernel{3, {c, a, -b}, {d, b, a}, f.x0, f.y0, 1.0, f.dx0, f.dy0};
    return true;
}

bool HelmertForward(const GeoRefHandle* h, GEOREFPOINT* pts, int n) {
    if (!pts || n < 1) return KV_ASSERT_FAIL();
    ForwardPolyKernel(h->kernel, pts, static_cast<size_t>(n));
    return true;
}

} // namespace KVProj
