// Image registration: warps fitted to control-point pairs (radial basis functions
// with an affine part, and an inverse-distance interpolant of affine residuals).
//
// Methods 0 to 4 fit, for each destination coordinate,
//     f(p) = a0 + a1 x + a2 y + sum_i w_i phi(|p - p_i|)
// with sum w_i = sum w_i x_i = sum w_i y_i = 0, so that f reproduces every
// control exactly and every affine map exactly. The weights of x' and y' come
// from one symmetric (N+3) system with two right-hand sides, set up in source
// coordinates centred on the control mean and divided by the diameter D of the
// controls (the largest distance between two of them). The shape parameter of
// the kernels that have one is c = 1.25 D / sqrt(N) (Franke 1982, "Scattered
// data interpolation: tests of some methods", Math. Comp. 38).
//
//   0 thin plate spline   phi(r) = r^2 ln r        (Duchon 1977; Bookstein 1989,
//                                                   IEEE PAMI 11(6))
//   1 natural cubic       phi(r) = r^3             the polyharmonic spline that is the
//                                                   natural cubic spline in one dimension
//                                                   (Wendland 2005, "Scattered Data
//                                                   Approximation", ch. 8)
//   2 Markov              phi(r) = exp(-r/c)       the exponential, first-order Markov
//                                                   (Ornstein-Uhlenbeck) covariance
//                                                   (Rasmussen & Williams 2006, 4.2.1)
//   3 exponential         phi(r) = exp(-(r/c)^2)   the squared exponential (Gaussian)
//                                                   (Rasmussen & Williams 2006, eq. 4.9)
//   4 rational quadratic  phi(r) = 1/(1+(r/c)^2)   the rational quadratic covariance
//                                                   with alpha = 1 (Rasmussen & Williams
//                                                   2006, eq. 4.19)
//   5 inverse distance    Shepard's interpolant with weights 1/|p - p_i|^2 (Shepard
//                         1968, "A two-dimensional interpolation function for
//                         irregularly-spaced data") of the residuals of the affine
//                         least-squares fit, added back to that fit: exact at the
//                         controls and exact for affine maps.
//
// Limits: at most kMaxRegistrationControls pairs (the dense system of methods 0
// to 4 holds (N+3)^2 doubles: 200 MB at the limit, factorised in place).
#ifndef KVPROJ_REGISTRATION_H
#define KVPROJ_REGISTRATION_H

#include "kvproj/export.h"

#include <cstddef>
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

// Most control pairs a calibration accepts. The dense system of 5,003^2 doubles
// takes 200 MB and about 7 s of one core to factorise (the work grows with N^3);
// 50,000 controls would need 20 GB and hours, and are refused before anything
// is allocated. The leave-one-out residuals invert the system: another 200 MB
// and about three times as long at the limit.
constexpr int kMaxRegistrationControls = 5000;

class KVPROJ_API CImageRegistration {
public:
    CImageRegistration();
    virtual ~CImageRegistration();
    CImageRegistration(const CImageRegistration&) = delete;
    CImageRegistration& operator=(const CImageRegistration&) = delete;

    // Fits `method` so that source[i] maps to destination[i]. Returns `method` on
    // success and WARP_NONE on failure (Reason() then says why). A failed
    // calibration leaves the object uncalibrated.
    WarpingMethod Calibrate(const RPoints& source, const RPoints& destination,
                            WarpingMethod method);
    // Transforms one point of the source space; false when not calibrated, when
    // the point is not finite or when its image is not finite (the point is then
    // left unchanged).
    bool Transform(double& x, double& y) const;
    // Transforms `count` points in place; points that fail as in Transform() are
    // left unchanged, and the result is then false. Null with count 0 is allowed.
    bool Transform(RPoint* points, size_t count) const;
    bool Transform(RPoints& points) const { return Transform(points.data(), points.size()); }

    // Leave-one-out residuals: for each control i, destination[i] minus the image
    // of source[i] under the same method calibrated on the other controls, with the
    // kernel shape c of the calibration on all of them (Rippa 1999, "An algorithm
    // for selecting a good value for the parameter c in radial basis function
    // interpolation", Adv. Comput. Math. 11: one factorisation for all). False
    // when not calibrated or with fewer than four controls. A control whose removal
    // leaves the others collinear gets infinite residuals.
    bool LeaveOneOutResiduals(RPoints& residuals) const;

    bool IsCalibrated() const;
    // The calibrated method, WARP_NONE when not calibrated.
    WarpingMethod Method() const;
    // Number of control pairs of the calibration, 0 when not calibrated.
    int ControlCount() const;
    // Why the last calibration failed; empty after a successful one.
    const char* Reason() const;

private:
    struct Impl;
    Impl* m_impl;
};

} // namespace KVProj

#endif
