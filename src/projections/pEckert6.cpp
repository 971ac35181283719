// Eckert VI, sphere only. Forward: Newton's method on
// t + sin t = (1 + pi/2) sin phi (Snyder 31-1 to 31-4); inverse in closed form.
#include "projections/Figure.h"
#include "projections/ProjModule.h"
#include "projections/AngleWrap.h"
#include "projections/NewtonLanes.h"
#include "projections/Modules.h"

#include <cmath>

namespace KVProj {
namespace {

constexpr double kOnePlusHalfPi = 2.5707963267948966;
constexpr double kTwoPlusPi = 5.141592653589793;

inline void ComputeStep(EckertLane& a) {
    a.delta = -(a.t + a.sinT - a.rhs) / (1.0 + a.cosT);
}

} // namespace

bool Eckert6Forward(const PROJDATA* data, PROJPOINT* points, int count) {
    KV_MODULE_CHECK_ARGS(data, points, count);
    const double r = Figure(data).a, lam0 = data->Lon0;
    const bool wrap = data->bWrapLon; // normalised by the engine
    const double k = r / std::sqrt(kTwoPlusPi);
    auto start = [](const PROJPOINT& p, EckertLane& a) {
        // The iteration starts at t = phi, so the first step reuses the
        // sine that the right-hand side needs.
        const double phi = p.y, sinPhi = std::sin(phi), cosPhi = std::cos(phi);
        if (1.0 + cosPhi == 0.0) return false; // start value only
        a.t = phi;
        a.rhs = kOnePlusHalfPi * sinPhi;
        a.sinT = sinPhi;
        a.cosT = cosPhi;
        ComputeStep(a);
        return true;
    };
    auto finish = [&](PROJPOINT& p, const EckertLane& a) {
        double dLam = p.x - lam0;
        if (wrap) dLam = WrapOnce(dLam);
        p.x = k * dLam * (1.0 + a.cosT);
        p.y = 2.0 * k * a.t;
        return true;
    };
    auto step = [](EckertLane& a) { return EckertStep(a, ComputeStep); };
    NewtonInBlocks<EckertLane>(points, count, kEckertMaxSteps, start, step, finish);
    return true;
}

bool Eckert6Inverse(const PROJDATA* data, PROJPOINT* points, int count) {
    KV_MODULE_CHECK_ARGS(data, points, count);
    const double r = Figure(data).a, lam0 = data->Lon0;
    const double root = std::sqrt(kTwoPlusPi);
    ForEachPoint(points, count, [&](PROJPOINT& p) {
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
