// The georeference handle block and the fitting methods that fill it.
#ifndef KVPROJ_GEOREF_KVGEOREF_H
#define KVPROJ_GEOREF_KVGEOREF_H

#include "kvproj/georef.h"

#include <cstddef>

namespace KVProj {

class CImageRegistration;

constexpr int kMaxTerms = 10;
// Larger control counts are refused as an allocation failure (256 MiB per array).
constexpr int kMaxControls = 1 << 24;

// The polynomial fits work on source coordinates u = (x - x0) / scale,
// v = (y - y0) / scale and destination offsets from (dx0, dy0): the normal
// equations then stay well conditioned for UTM-sized or degree-valued
// controls. The centres are rounded to a multiple of scale / 1024 and the
// scale is a power of two, so that the shift and the scaling are exact for
// controls of ordinary size (three exactly collinear controls still meet an
// exactly zero pivot).
struct FitFrame {
    double x0, y0, scale, invScale;
    double dx0, dy0;
};

// What the forward transformation of methods 0..5 evaluates: a polynomial of
// `terms` terms (3: 1, x, y; 4: bilinear; 6; 10) in u = (x - x0) * invScale,
// v = (y - y0) * invScale, plus (dx0, dy0).
struct PolyKernel {
    int terms;
    double cx[kMaxTerms], cy[kMaxTerms];
    double x0, y0, invScale, dx0, dy0;
};

// Transforms the points in place through the kernel, vectorised; points with
// the unplottable marker pass through.
void ForwardPolyKernel(const PolyKernel& k, GEOREFPOINT* pts, size_t count);

// The private block behind a georeference handle.
struct GeoRefHandle {
    GEOREF ref;        // the creator's record; pSrc and pDest point at the handle's copies
    double helmert[4]; // a, b, c, d in the source coordinates
    double cx[kMaxTerms];
    double cy[kMaxTerms]; // polynomial coefficients of x' and y' in the fit frame
    FitFrame frame;
    PolyKernel kernel; // the fit of methods 0..5 as the forward transformation evaluates it
    CImageRegistration* registration;
};

// Polynomial order codes of methods 1..4.
constexpr int kOrderBilinear = 0;
int OrderCodeOf(TransformMethod method); // -1 for methods outside 1..4
// Term count of an order code; -1 for codes outside -1..3.
int PolyTermCount(int order);

// A zeroed array of n control points from the heap (freed with std::free);
// null for n outside 1..kMaxControls or when memory is exhausted.
GEOREFPOINT* AllocControlArray(int n);

// Fits, in the handle, to its controls; false when the fit fails.
bool RefInitializeHelmert(GeoRefHandle* h);
bool RefInitializeOrder3(GeoRefHandle* h, int order);
bool RefInitializeCoeff(GeoRefHandle* h);

// Forward transformations of points in place; false on bad arguments.
bool HelmertForward(const GeoRefHandle* h, GEOREFPOINT* pts, int n);
bool Order3Forward(const GeoRefHandle* h, int order, GEOREFPOINT* pts, int n);
bool CoeffForward(const GeoRefHandle* h, GEOREFPOINT* pts, int n);

// The polynomial of order code `order` as coefficients of its terms in the source coordinates.
void Order3Coefficients(const GeoRefHandle* h, int order, double x[kMaxTerms], double y[kMaxTerms]);

// The fit of methods 0..5 as coefficients of the terms 1, x, y, ... in the
// source coordinates; *terms gets the term count. False for other methods.
bool FitCoefficients(const GeoRefHandle* h, double x[kMaxTerms], double y[kMaxTerms], int* terms);

// Gauss-Jordan elimination of the m x m row-major matrix `a` with two
// right-hand sides, solved in place into r1 and r2; false on an exactly zero pivot.
bool GaussJordan(double* a, int m, double* r1, double* r2);

// Centre and power-of-two scale of the source controls, centre of the destination controls.
FitFrame MakeFitFrame(const GEOREFPOINT* src, const GEOREFPOINT* dst, int n);

// Logs one line per control pair.
void TraceControls(const GEOREF& ref);

// Registration objects that a failed creation left behind (they are never
// released); counted so that tests can see the path taken.
int AbandonedRegistrations();

} // namespace KVProj

#endif
