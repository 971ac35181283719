// Georeferencing: transforms between image pixel space and map space, fitted to
// control-point pairs (Helmert, polynomials, splines) or given as six affine
// coefficients.
#ifndef KVPROJ_GEOREF_H
#define KVPROJ_GEOREF_H

#include "kvproj/export.h"

#include <cstddef>

namespace KVProj {

// The transformation of a georeference. The values are stored in files.
enum TransformMethod : int {
    TM_HELMERT = 0,              // "Helmert": four-parameter similarity
    TM_AFFINE = 1,               // "Affine Polynomial": 1, x, y
    TM_FIRST_ORDER = 2,          // "1st Order Polynomial": bilinear 1, x, y, xy
    TM_SECOND_ORDER = 3,         // "2nd Order Polynomial"
    TM_THIRD_ORDER = 4,          // "3rd Order Polynomial"
    TM_PRECALCULATED = 5,        // "Precalculated Affine Coefficients": A..F of the record
    TM_THIN_PLATE_SPLINE = 6,    // "Thin Plate Spline"       (image registration, warp 0)
    TM_NATURAL_CUBIC_SPLINE = 7, // "Natural Cubic Spline"   (warp 1)
    TM_MARCOV_SPLINE = 8,        // "Marcov Spline"           (warp 2)
    TM_EXPONENTIAL_SPLINE = 9,   // "Exponential Spline"      (warp 3)
    TM_RATIONAL_QUADRATIC = 10,  // "Rational Quadratic Spline" (warp 4)
    TM_INVERSE_DISTANCE = 11,    // "Inverse Distance Squared" (warp 5)
    TM_NONE = 12,
};

#pragma pack(push, 1)

struct GEOREFPOINT {
    double x;
    double y;
};

// A georeference: x' = A x + B y + C, y' = D x + E y + F for method 5, else the
// fit of `Method` to the nControls pairs pSrc[i] -> pDest[i].
// The two control arrays belong to whoever owns the record: RefAllocControls
// allocates them and RefFreeControls frees them.
struct GEOREF {
    TransformMethod Method;
    GEOREFPOINT* pSrc;  // source (pixel) controls
    GEOREFPOINT* pDest; // destination (map) controls
    int nControls;
    double A, B, C, D, E, F;
    unsigned char Reserved[56]; // copied with the record, never interpreted
};

#pragma pack(pop)

static_assert(sizeof(void*) == 8, "GEOREF layout below assumes 64-bit pointers");
static_assert(sizeof(GEOREFPOINT) == 16 && offsetof(GEOREFPOINT, y) == 8, "GEOREFPOINT layout");
static_assert(sizeof(GEOREF) == 128, "GEOREF layout is part of the interface");
static_assert(offsetof(GEOREF, Method) == 0, "GEOREF layout");
static_assert(offsetof(GEOREF, pSrc) == 4, "GEOREF layout");
static_assert(offsetof(GEOREF, pDest) == 12, "GEOREF layout");
static_assert(offsetof(GEOREF, nControls) == 20, "GEOREF layout");
static_assert(offsetof(GEOREF, A) == 24, "GEOREF layout");
static_assert(offsetof(GEOREF, B) == 32, "GEOREF layout");
static_assert(offsetof(GEOREF, C) == 40, "GEOREF layout");
static_assert(offsetof(GEOREF, D) == 48, "GEOREF layout");
static_assert(offsetof(GEOREF, E) == 56, "GEOREF layout");
static_assert(offsetof(GEOREF, F) == 64, "GEOREF layout");
static_assert(offsetof(GEOREF, Reserved) == 72, "GEOREF layout");

// Fits the record's method to its controls; null on failure. The handle keeps its
// own copies of the control arrays: the caller may change or free them afterwards.
//  - Helmert (method 0) with two or more controls is the least-squares similarity.
//    With one control it is the translation that maps it (scale 1, no rotation);
//    with none, or with every source control at one place, creation fails. Fewer
//    than two controls are reported as an internal inconsistency either way.
//  - Methods 1..4 need at least 1, x, y (3), bilinear (4), second (6) and third
//    order (10) controls; with exactly that many the polynomial passes through
//    every control, with more it is the least-squares fit. Collinear or
//    duplicate controls that leave the system singular make creation fail.
//  - Non-finite controls make creation fail for every method but 5; more than
//    16,777,216 controls are refused as exhausted memory.
//  - Method 5 needs no controls; methods 6..11 are warps of the image registration.
// A failed creation that got as far as the fit keeps its (idle) image
// registration object for the life of the process.
KVPROJ_API void* RefCreateSystem(const GEOREF* pRefData);
KVPROJ_API void RefDeleteSystem(void* hRef);
// Transforms the points in place from source to destination space. A point
// holding the unplottable marker in either coordinate stays as it is; for methods
// 6..11 a finite point whose image is not finite becomes unplottable.
KVPROJ_API bool RefForward(void* hRef, GEOREFPOINT* pPts, int nPts);
// Mean distance between each destination control and its transformed source
// control, and each of those distances; either pointer may be null. False for
// method 5, which has no controls to measure.
KVPROJ_API bool RefComputeError(void* hRef, double* pTotalError, double* pControlError);
// Copies the handle's record; its control pointers then point into the handle.
KVPROJ_API bool RefGetHandleInfo(void* hRef, GEOREF* pGeoRef);

// Sets the count to 0 and both pointers to null WITHOUT freeing what they held,
// then allocates two zeroed arrays of nControls points. Free earlier arrays with
// RefFreeControls first.
KVPROJ_API bool RefAllocControls(GEOREF* pRefData, int nControls);
KVPROJ_API void RefFreeControls(GEOREF* pRefData);
// Method 5 only: replaces the controls by the four image corners and their affine
// images, method 1. The previous control pointers are overwritten WITHOUT being
// freed: free them first if the record owns any.
KVPROJ_API bool RefCoeffToControls(GEOREF* pRefData, int iWidth, int iHeight);
// Fits an affine to the controls, stores it in A..F and sets method 5; the
// controls stay in the record.
KVPROJ_API bool RefControlsToCoeff(GEOREF* pRefData);
// Rescales the source controls (or coefficients) for a resized image.
KVPROJ_API bool RefResize(GEOREF* pRefData, int iOldW, int iOldH, int iNewW, int iNewH);
// Display name of a method; "" for values outside 0..11.
KVPROJ_API const char* RefMethodName(TransformMethod method);

// The fit of a handle of methods 0..5 as coefficients of the terms 1, x, y, then
// x·y (method 2) or x², then x·y, y², x³, x²·y, x·y², y³ in the source
// coordinates: x' = sum X[j] term_j(x, y), y' = sum Y[j] term_j(x, y), j < nTerms.
// Helmert and the precalculated affine come as their affine (3 terms). The
// handle itself evaluates its polynomial about the controls' centre, which is
// better conditioned than summing these terms for large coordinates.
struct GEOREFFIT {
    int nTerms;
    double X[10];
    double Y[10];
};
// False for a null handle or argument, or a handle of methods 6..11.
KVPROJ_API bool RefGetFit(void* hRef, GEOREFFIT* pFit);

// Owns one georeference handle. Assignment copies only the handle pointer, so two
// objects may then share (and both delete) one handle.
class KVPROJ_API CGeorefTransform {
public:
    CGeorefTransform();
    explicit CGeorefTransform(const GEOREF* pRefData);
    CGeorefTransform(const CGeorefTransform& other);
    virtual ~CGeorefTransform();
    CGeorefTransform& operator=(const CGeorefTransform& other);

    bool Create(const GEOREF* pRefData);
    void Delete();
    bool IsCreated() const;
    bool Forward(GEOREFPOINT* pPts, int nPts);
    bool ComputeError(double* pTotalError, double* pControlError);
    bool GetInfo(GEOREF* pGeoRef);

private:
    void* m_hRef;
};

} // namespace KVProj

#endif
