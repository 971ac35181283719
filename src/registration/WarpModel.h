// The fitted warp: normalisation, affine part and per-control weights, kept in
// arrays of structure so that the evaluation loop streams them.
#ifndef KVPROJ_REGISTRATION_WARPMODEL_H
#define KVPROJ_REGISTRATION_WARPMODEL_H

#include "kvproj/registration.h"

#include <cmath>
#include <string>
#include <vector>

namespace KVProj {
namespace Registration {

// Radial kernels, evaluated on the squared distance s = r^2 in normalised units;
// `k` is 1/c for the Markov kernel and 1/c^2 for the others that have a shape.
inline double ThinPlate(double s) {
    return s > 0 ? 0.5 * s * std::log(s) : 0.0;
} // r^2 ln r
inline double Cubic(double s) {
    return s * std::sqrt(s);
} // r^3
inline double Markov(double s, double k) {
    return std::exp(-std::sqrt(s) * k);
} // exp(-r/c)
inline double Gaussian(double s, double k) {
    return std::exp(-s * k);
} // exp(-r^2/c^2)
inline double RationalQuadratic(double s, double k) {
    return 1.0 / (1.0 + s * k);
} // 1/(1+r^2/c^2)

// phi of `method` (0..4) at squared distance s.
inline double Phi(WarpingMethod method, double s, double k) {
    switch (method) {
    case WARP_THIN_PLATE_SPLINE:
        return ThinPlate(s);
    case WARP_NATURAL_CUBIC_SPLINE:
        return Cubic(s);
    case WARP_MARCOV_SPLINE:
        return Markov(s, k);
    case WARP_EXPONENTIAL_SPLINE:
        return Gaussian(s, k);
    default:
        return RationalQuadratic(s, k);
    }
}

// Franke's shape parameter, c = 1.25 D / sqrt(N), in units of D.
inline double ShapeInUnitsOfD(size_t n) {
    return 1.25 / std::sqrt(static_cast<double>(n));
}

// The kernel constant k of `method` for the shape c in units of D (see Phi).
inline double KernelConstant(WarpingMethod method, double c) {
    return method == WARP_MARCOV_SPLINE ? 1.0 / c : 1.0 / (c * c);
}

struct WarpModel {
    WarpingMethod method = WARP_NONE;
    size_t n = 0; // control count
    // Source normalisation: u = (x - cx) * inv, v = (y - cy) * inv, inv = 1/D.
    double cx = 0, cy = 0, inv = 1;
    // Destination offset: x' = ox + f_x(u, v), y' = oy + f_y(u, v).
    double ox = 0, oy = 0;
    double k = 0; // kernel constant (see Phi)
    // Affine part in normalised coordinates: f = a[0] + a[1] u + a[2] v.
    double ax[3] = {0, 0, 0}, ay[3] = {0, 0, 0};
    // Per control: normalised position and weight of x' and y' (for the inverse
    // distance method, the residuals of the affine fit).
    std::vector<double> u, v, wx, wy;
};

// Fits `method`; on failure returns false with `reason` set and `model` unchanged.
// `shape` > 0 replaces Franke's shape parameter c (in source units).
bool FitWarp(const RPoints& source, const RPoints& destination, WarpingMethod method,
             WarpModel& model, std::string& reason, double shape = 0.0);

// Leave-one-out residuals of a fitted model (see CImageRegistration); false with
// `reason` set when they cannot be computed. The kernels keep the shape of the
// full calibration (so that one factorisation gives every residual).
bool LeaveOneOut(const WarpModel& model, RPoints& residuals, std::string& reason);

// Evaluation works on blocks of normalised points padded to a multiple of
// kSumLanes (the widest vector of doubles the dispatch may choose).
constexpr size_t kSumLanes = 8;
// Below this squared normalised distance a point is taken to be on its control
// (the inverse distance weight would overflow; the value is the control's).
constexpr double kOnControl = 1e-200;

constexpr size_t kBlock = 256; // points per block, a multiple of kSumLanes

// A block of normalised points (u, v) and the warp's sums at them (fx, fy: the
// destination offsets ox, oy not yet added).
struct PointBlock {
    alignas(64) double u[kBlock];
    alignas(64) double v[kBlock];
    alignas(64) double fx[kBlock];
    alignas(64) double fy[kBlock];
};

// Fills fx, fy of the first `count` points (a multiple of kSumLanes) of the
// block, with the code of the instruction set chosen at run time.
void KernelSums(const WarpModel& m, PointBlock& block, size_t count);
// The inverse distance sums of one normalised point, exact on the controls.
void InverseDistanceScalar(const WarpModel& m, double u, double v, double& fx, double& fy);

// Transforms `count` interleaved points in place; a point whose image is not
// finite, or that is not finite itself, is left unchanged and counted. Returns
// the number of such points.
size_t EvaluateWarp(const WarpModel& model, RPoint* points, size_t count);

} // namespace Registration
} // namespace KVProj

#endif
