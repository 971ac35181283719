// The polynomial family of control-point fits: affine, bilinear, second and
// third order, fitted by least squares (or interpolated when the control count
// equals the term count) and solved by Gauss-Jordan elimination.
#include "georef/kvGeoRef.h"

#include "frame/Diag.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace KVProj {
namespace {

struct Exponents {
    int px, py; // the term is x^px * y^py
};

// Terms 1, x, y, x², x·y, y², x³, x²·y, x·y², y³, in their fixed order.
constexpr Exponents kTerms[kMaxTerms] = {{0, 0}, {1, 0}, {0, 1}, {2, 0}, {1, 1},
                                         {0, 2}, {3, 0}, {2, 1}, {1, 2}, {0, 3}};
// The bilinear fit's fourth term is x·y instead of x².
constexpr Exponents kBilinearFourth = {1, 1};

struct MethodOrder {
    TransformMethod method;
    int order;
};

constexpr MethodOrder kMethodOrders[] = {
    {TM_AFFINE, 1}, {TM_FIRST_ORDER, kOrderBilinear}, {TM_SECOND_ORDER, 2}, {TM_THIRD_ORDER, 3}};

Exponents TermExponents(int j, bool squareFourth) {
    return j == 3 && !squareFourth ? kBilinearFourth : kTerms[j];
}

// The first m terms at (u, v). `squareFourth` is the fourth-term switch: x² when
// set, x·y when clear. Called with constant m and switch, it folds to straight code.
inline void FillTerms(double u, double v, int m, bool squareFourth, double* t) {
    const double uu = u * u, uv = u * v, vv = v * v;
    t[0] = 1.0;
    t[1] = u;
    t[2] = v;
    if (m > 3) t[3] = squareFourth ? uu : uv;
    if (m > 4) {
        t[4] = uv;
        t[5] = vv;
    }
    if (m > 6) {
        t[6] = uu * u;
        t[7] = uu * v;
        t[8] = u * vv;
        t[9] = vv * v;
    }
}

// A centre near `mean` on a grid of spacing scale / 1024, so that subtracting
// it from a control of similar size is exact.
double GridCentre(double mean, double scale) {
    const double step = scale / 1024.0;
    return std::nearbyint(mean / step) * step;
}

// The smallest power of two not below `spread`; 1 for a zero or non-finite spread.
double PowerOfTwoAbove(double spread) {
    if (!(spread > 0.0) || !std::isfinite(spread)) return 1.0;
    int e = 0;
    std::frexp(spread, &e);
    return std::ldexp(1.0, e);
}

// Centre and power-of-two scale of the x and y members of n points.
void CentreOf(const GEOREFPOINT* p, int n, double& x0, double& y0, double& scale) {
    double mx = 0.0, my = 0.0;
    for (int i = 0; i < n; ++i) {
        mx += p[i].x / n;
        my += p[i].y / n;
    }
    double spread = 0.0;
    for (int i = 0; i < n; ++i)
        spread = std::max({spread, std::fabs(p[i].x - mx), std::fabs(p[i].y - my)});
    scale = PowerOfTwoAbove(spread);
    x0 = GridCentre(mx, scale);
    y0 = GridCentre(my, scale);
}

// Unknowns from the last (exact or normal-equation) system of the fit.
struct System {
    double a[kMaxTerms * kMaxTerms] = {};
    double rx[kMaxTerms] = {};
    double ry[kMaxTerms] = {};
};

// Row i holds the terms of control i: the polynomial passes through every control.
void BuildInterpolation(const GeoRefHandle* h, int m, bool squareFourth, System& s) {
    const FitFrame& f = h->frame;
    for (int i = 0; i < m; ++i) {
        const GEOREFPOINT& p = h->ref.pSrc[i];
        FillTerms((p.x - f.x0) * f.invScale, (p.y - f.y0) * f.invScale, m, squareFourth,
                  &s.a[i * m]);
        s.rx[i] = h->ref.pDest[i].x - f.dx0;
        s.ry[i] = h->ref.pDest[i].y - f.dy0;
    }
}

// Normal equations: the upper triangle summed over the controls, then mirrored.
void BuildNormalEquations(const GeoRefHandle* h, int m, bool squareFourth, System& s) {
    const FitFrame& f = h->frame;
    for (int i = 0; i < h->ref.nControls; ++i) {
        const GEOREFPOINT& p = h->ref.pSrc[i];
        double t[kMaxTerms];
        FillTerms((p.x - f.x0) * f.invScale, (p.y - f.y0) * f.invScale, m, squareFourth, t);
        const double du = h->ref.pDest[i].x - f.dx0, dv = h->ref.pDest[i].y - f.dy0;
        for (int j = 0; j < m; ++j) {
            for (int k = j; k < m; ++k)
                s.a[j * m + k] += t[j] * t[k];
            s.rx[j] += t[j] * du;
            s.ry[j] += t[j] * dv;
        }
    }
    for (int j = 0; j < m; ++j)
        for (int k = 0; k < j; ++k)
            s.a[j * m + k] = s.a[k * m + j];
}

void SwapRows(double* a, int m, double* r1, double* r2, int i, int k) {
    std::swap_ranges(a + i * m, a + (i + 1) * m, a + k * m);
    std::swap(r1[i], r1[k]);
    std::swap(r2[i], r2[k]);
}

int TermIndex(Exponents e, int m, bool squareFourth) {
    for (int j = 0; j < m; ++j) {
        const Exponents t = TermExponents(j, squareFourth);
        if (t.px == e.px && t.py == e.py) return j;
    }
    return -1;
}

// Binomial coefficients up to the third power.
constexpr double kBinomial[4][4] = {{1, 0, 0, 0}, {1, 1, 0, 0}, {1, 2, 1, 0}, {1, 3, 3, 1}};

} // namespace

int OrderCodeOf(TransformMethod method) {
    for (const MethodOrder& mo : kMethodOrders)
        if (mo.method == method) return mo.order;
    return -1;
}

int PolyTermCount(int order) {
    if (order < -1 || order > 3) return -1;
    return order == kOrderBilinear ? 4 : (order + 1) * (order + 2) / 2;
}

FitFrame MakeFitFrame(const GEOREFPOINT* src, const GEOREFPOINT* dst, int n) {
    FitFrame f{};
    CentreOf(src, n, f.x0, f.y0, f.scale);
    f.invScale = 1.0 / f.scale;
    double destScale = 1.0;
    CentreOf(dst, n, f.dx0, f.dy0, destScale);
    return f;
}

bool GaussJordan(double* a, int m, double* r1, double* r2) {
    for (int c = 0; c < m; ++c) {
        int p = c; // a later row takes over only when strictly larger
        for (int k = c + 1; k < m; ++k)
            if (std::fabs(a[k * m + c]) > std::fabs(a[p * m + c])) p = k;
        if (a[p * m + c] == 0.0) return false;
        if (p != c) SwapRows(a, m, r1, r2, p, c);
        const double pivot = a[c * m + c];
        for (int r = 0; r < m; ++r) {
            if (r == c) continue;
            const double factor = a[r * m + c] / pivot;
            for (int j = c; j < m; ++j)
                a[r * m + j] -= factor * a[c * m + j];
            r1[r] -= factor * r1[c];
            r2[r] -= factor * r2[c];
        }
    }
    for (int j = 0; j < m; ++j) {
        r1[j] /= a[j * m + j];
        r2[j] /= a[j * m + j];
    }
    return true;
}

bool RefInitializeOrder3(GeoRefHandle* h, int order) {
    CTRACE("RefInitializeOrder3\n");
    CTRACE("RefInitializeOrder3(hCtx=%p, Order=%d)\n", static_cast<void*>(h), order);
    TraceControls(h->ref);
    const int m = PolyTermCount(order);
    if (m < 0) return KV_ASSERT_FAIL();
    // The fourth-term switch belongs to this fit alone: x·y for the bilinear code.
    const bool squareFourth = order != kOrderBilinear;
    const int n = h->ref.nControls;
    if (n < m) return KV_ASSERT_FAIL();

    h->frame = MakeFitFrame(h->ref.pSrc, h->ref.pDest, n);
    System s;
    if (n == m)
        BuildInterpolation(h, m, squareFourth, s);
    else
        BuildNormalEquations(h, m, squareFourth, s);
    if (!GaussJordan(s.a, m, s.rx, s.ry)) return KV_ASSERT_FAIL();
    for (int j = 0; j < m; ++j)
        if (!std::isfinite(s.rx[j]) || !std::isfinite(s.ry[j])) return KV_ASSERT_FAIL();
    std::fill(h->cx, h->cx + kMaxTerms, 0.0);
    std::fill(h->cy, h->cy + kMaxTerms, 0.0);
    std::copy(s.rx, s.rx + m, h->cx);
    std::copy(s.ry, s.ry + m, h->cy);
    const FitFrame& f = h->frame;
    PolyKernel& k = h->kernel;
    k = PolyKernel{m, {}, {}, f.x0, f.y0, f.invScale, f.dx0, f.dy0};
    std::copy(h->cx, h->cx + kMaxTerms, k.cx);
    std::copy(h->cy, h->cy + kMaxTerms, k.cy);
    return true;
}

bool Order3Forward(const GeoRefHandle* h, int order, GEOREFPOINT* pts, int n) {
    if (!pts || n < 1) return KV_ASSERT_FAIL();
    if (PolyTermCount(order) != h->kernel.terms) return KV_ASSERT_FAIL();
    ForwardPolyKernel(h->kernel, pts, static_cast<size_t>(n));
    return true;
}

// Each frame term ((x - x0) / s)^px ((y - y0) / s)^py expanded binomially into
// monomials x^a y^b, which are terms of the same polynomial family.
void Order3Coefficients(const GeoRefHandle* h, int order, double x[kMaxTerms],
                        double y[kMaxTerms]) {
    std::fill(x, x + kMaxTerms, 0.0);
    std::fill(y, y + kMaxTerms, 0.0);
    const int m = PolyTermCount(order);
    const bool squareFourth = order != kOrderBilinear;
    const FitFrame& f = h->frame;
    for (int j = 0; j < m; ++j) {
        const Exponents e = TermExponents(j, squareFourth);
        const double scale = std::pow(f.invScale, e.px + e.py);
        for (int a = 0; a <= e.px; ++a)
            for (int b = 0; b <= e.py; ++b) {
                const double w = scale * kBinomial[e.px][a] * std::pow(-f.x0, e.px - a) *
                                 kBinomial[e.py][b] * std::pow(-f.y0, e.py - b);
                const int k = TermIndex({a, b}, m, squareFourth);
                x[k] += w * h->cx[j];
                y[k] += w * h->cy[j];
            }
    }
    x[0] += f.dx0;
    y[0] += f.dy0;
}

} // namespace KVProj
