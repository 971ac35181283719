// Mollweide, sphere only. Forward: Newton's method on 2t + sin 2t = pi sin phi
// for t' = 2t (Snyder 14-4 in its doubled form), then 14-1 and 14-2. Inverse in
// closed form, 14-6 to 14-8.
#include "projections/ProjMath.h"
#include "projections/ProjModule.h"
#include "projections/WorldMath.h"
#include "projections/WorldModules.h"

#include <cmath>

namespace KVProj {
namespace {

constexpr double kEpsilon = 1.1920928955078125e-7; // single-precision epsilon
constexpr int kMaxSteps = 500;                     // Newton crawls near the poles (triple root)
constexpr double kEquatorNudge = 1e-7;

// Newton's method for t' from phi'; false when it meets cos t' == 1 or the
// step bound before the tolerance. The guard compares with +1 although the
// step divides by 1 + cos t'; the nudge off the equator keeps it from firing
// there, and hosts rely on the failure just south of the equator.
bool SolveAuxiliary(double phi, double* aux) {
    const double piSinPhi = kPi * std::sin(phi);
    double t = phi, delta = 999.0;
    for (int step = 0; step < kMaxSteps && std::fabs(delta) > kEpsilon; ++step) {
        const double c = std::cos(t);
        if (c == 1.0) return false;
        delta = -(t + std::sin(t) - piSinPhi) / (1.0 + c);
        t += delta;
    }
    if (std::fabs(delta) > kEpsilon) return false;
    *aux = t;
    return true;
}

} // namespace

bool MolleForward(PROJDATA* data, PROJPOINT* points, int count) {
    KV_MODULE_CHECK_ARGS(data, points, count);
    const double r = data->MajorRadius, lam0 = data->Lon0;
    const bool wrap = WrapLonFlag(data);
    const double cx = std::pow(8.0, 0.5) / kPi * r, cy = std::pow(2.0, 0.5) * r;
    ForEachPoint(data, points, count, [&](PROJPOINT& p) {
        double phi = p.y;
        if (std::fabs(phi) < kEquatorNudge) phi += kEquatorNudge;
        double dLam = p.x - lam0;
        if (wrap) dLam = WrapOnce(dLam);
        double aux;
        if (!SolveAuxiliary(phi, &aux)) return false;
        const double theta = aux / 2.0;
        p.x = cx * dLam * std::cos(theta);
        p.y = cy * std::sin(theta);
        return true;
    });
    return true;
}

bool MolleInverse(PROJDATA* data, PROJPOINT* points, int count) {
    KV_MODULE_CHECK_ARGS(data, points, count);
    const double r = data->MajorRadius, lam0 = data->Lon0;
    const double sqrt2R = std::pow(2.0, 0.5) * r, sqrt8R = std::pow(8.0, 0.5) * r;
    ForEachPoint(data, points, count, [&](PROJPOINT& p) {
        // Beyond the outline the clamp puts the point on the pole line, where
        // cos theta is about 6e-17 and the longitude becomes huge, not a failure.
        const double theta = std::asin(ClampUnit(p.y / sqrt2R));
        const double c = std::cos(theta);
        if (c == 0.0) return false;
        p.x = kPi * p.x / (sqrt8R * c) + lam0; // not wrapped
        p.y = std::asin(ClampUnit((2.0 * theta + std::sin(2.0 * theta)) / kPi));
        return true;
    });
    return true;
}

} // namespace KVProj
