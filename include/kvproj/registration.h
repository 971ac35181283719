// Image registration: warps fitted to control-point pairs (radial basis functions
// with an affine part, and an inverse-distance interpolant of affine residuals).
#ifndef KVPROJ_REGISTRATION_H
#define KVPROJ_REGISTRATION_H

#include "kvproj/export.h"

#include <vector>

namespace KVProj {

// The warps, in the order of the georeference methods 6..11.
enum WarpingMethod : int {
    WARP_NONE = -1, // returned by a failed calibration
    WARP_THIN_PLATE_SPLINE = 0,
    WARP_NATURAL_CUBIC_SPLINE = 1,
    WARP_MARCOV_SPLINE = 2,
    WARP_EXPONENTIAL_SPLINE = 3,
    WARP_RATIONAL_QUADRATIC = 4,
    WARP_INVERSE_DISTANCE = 5,
    WARP_COUNT = 6,
};

struct RPoint {
    double x;
    double y;
};
using RPoints = std::vector<RPoint>;

class KVPROJ_API CImageRegistration {
public:
    CImageRegistration();
    virtual ~CImageRegistration();
    CImageRegistration(const CImageRegistration&) = delete;
    CImageRegistration& operator=(const CImageRegistration&) = delete;

    // Fits `method` so that source[i] maps to destination[i]. Returns `method` on
    // success and WARP_NONE on failure (Reason() then says why).
    WarpingMethod Calibrate(const RPoints& source, const RPoints& destination, WarpingMethod method);
    // Transforms one point of the source space; false when not calibrated.
    bool Transform(double& x, double& y) const;

private:
    struct Impl;
    Impl* m_impl;
};

} // namespace KVProj

#endif
