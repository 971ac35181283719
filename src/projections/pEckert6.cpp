// Eckert VI, sphere only. Forward: Newton's method on
// t + sin t = (1 + pi/2) sin phi (Snyder 31-1 to 31-4); inverse in closed form.
#include "projections/ProjModule.h"
#include "projections/WorldMath.h"
#include "projections/WorldModules.h"

#include <cmath>

namespace KVProj {
namespace {

constexpr double kOnePlusHalfPi = 2.5707963267948966;
constexpr double kTwoPlusPi = 5.141592653589793;
constexpr double kTolerance = 1.1920928955078125e-6;
constexpr int kMaxSteps = 99;

inline double NewtonStep(double t, double rhs) {
    return -(t + std::sin(t) - rhs) / (1.0 + std::cos(t));
}

} // namespace

bool Eckert6Forward(PROJDATA* data, PROJPOINT* points, int count) {
    KV_MODULE_CHECK_ARGS(data, points, count);
    const double r = data->MajorRadius, lam0 = data->Lon0;
    const bool wrap = WrapLonFlag(data);
    const double k = r / std::sqrt(kTwoPlusPi);
    ForEachPoint(data, points, count, [&](PROJPOINT& p) {
        const double phi = p.y;
        double t = phi;
        if (1.0 + std::cos(t) == 0.0) return false; // start value only
        const double rhs = kOnePlusHalfPi * std::sin(phi);
        // As for Eckert IV: no failure when the steps run out, and the last
        // step computed is not applied.
        double delta = NewtonStep(t, rhs);
        for (int step = 0; step < kMaxSteps; ++step) {
            t += delta;
            delta = NewtonStep(t, rhs);
            if (std::fabs(delta) <= kTolerance) break;
        }
        double dLam = p.x - lam0;
        if (wrap) dLam = WrapOnce(dLam);
        p.x = k * dLam * (1.0 + std::cos(t));
        p.y = 2.0 * k * t;
        return true;
    });
    return true;
}

bool Eckert6Inverse(PROJDATA* data, PROJPOINT* points, int count) {
    KV_MODULE_CHECK_ARGS(data, points, count);
    const double r = data->MajorRadius, lam0 = data->Lon0;
    const double root = std::sqrt(kTwoPlusPi);
    ForEachPoint(data, points, count, [&](PROJPOINT& p) {
        const double t = root * p.y / (2.0 * r);
        const double onePlusCos = 1.0 + std::cos(t);
        if (onePlusCos == 0.0) return false;
        p.x = root * p.x / (onePlusCos * r) + lam0; // not wrapped
        p.y = std::asin(ClampUnit((t + std::sin(t)) / kOnePlusHalfPi));
        return true;
    });
    return true;
}

} // namespace KVProj
