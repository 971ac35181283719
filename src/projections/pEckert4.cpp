// Eckert IV, sphere only. Forward: Newton's method on
// t + sin t cos t + 2 sin t = (2 + pi/2) sin phi (Snyder 30-1 to 30-4); inverse
// in closed form (30-5 to 30-7). The map coefficients are the published
// seven-digit values, kept so that coordinates match maps made with them.
#include "projections/ProjModule.h"
#include "projections/WorldMath.h"
#include "projections/WorldModules.h"

#include <cmath>

namespace KVProj {
namespace {

constexpr double kCx = 0.4222382;
constexpr double kCy = 1.3265004;
constexpr double kTwoPlusHalfPi = 3.5707963267948966;
constexpr double kTolerance = 1.1920928955078125e-6;
constexpr int kMaxSteps = 99;

inline double NewtonStep(double t, double rhs) {
    const double s = std::sin(t), c = std::cos(t);
    return -(t + s * c + 2.0 * s - rhs) / (2.0 * c * (1.0 + c));
}

} // namespace

bool Eckert4Forward(PROJDATA* data, PROJPOINT* points, int count) {
    KV_MODULE_CHECK_ARGS(data, points, count);
    const double r = data->MajorRadius, lam0 = data->Lon0;
    const bool wrap = WrapLonFlag(data);
    ForEachPoint(data, points, count, [&](PROJPOINT& p) {
        const double phi = p.y;
        double t = phi / 2.0;
        const double c0 = std::cos(t);
        if (2.0 * c0 * (c0 + 1.0) == 0.0) return false; // start value only
        const double rhs = kTwoPlusHalfPi * std::sin(phi);
        // Running out of steps is not a failure (near the poles the
        // denominator vanishes and convergence is slow); the step that met
        // the tolerance, or the last one computed, is not applied.
        double delta = NewtonStep(t, rhs);
        for (int step = 0; step < kMaxSteps; ++step) {
            t += delta;
            delta = NewtonStep(t, rhs);
            if (std::fabs(delta) <= kTolerance) break;
        }
        double dLam = p.x - lam0;
        if (wrap) dLam = WrapOnce(dLam);
        p.x = kCx * r * dLam * (1.0 + std::cos(t));
        p.y = kCy * r * std::sin(t);
        return true;
    });
    return true;
}

bool Eckert4Inverse(PROJDATA* data, PROJPOINT* points, int count) {
    KV_MODULE_CHECK_ARGS(data, points, count);
    const double r = data->MajorRadius, lam0 = data->Lon0;
    ForEachPoint(data, points, count, [&](PROJPOINT& p) {
        const double t = std::asin(ClampUnit(p.y / (kCy * r)));
        const double s = std::sin(t), c = std::cos(t);
        const double denom = kCx * r * (1.0 + c);
        if (denom == 0.0) return false;
        p.x = p.x / denom + lam0; // not wrapped
        p.y = std::asin(ClampUnit((t + s * c + 2.0 * s) / kTwoPlusHalfPi));
        return true;
    });
    return true;
}

} // namespace KVProj
