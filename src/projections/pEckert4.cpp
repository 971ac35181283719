// Eckert IV, sphere only. Forward: Newton's method on
// t + sin t cos t + 2 sin t = (2 + pi/2) sin phi (Snyder 30-1 to 30-4); inverse
// in closed form (30-5 to 30-7). The map coefficients are the published
// seven-digit values, kept so that coordinates match maps made with them.
#include "projections/Figure.h"
#include "projections/ProjModule.h"
#include "projections/AngleWrap.h"
#include "projections/NewtonLanes.h"
#include "projections/Modules.h"

#include <cmath>

namespace KVProj {
namespace {

constexpr double kCx = 0.4222382;
constexpr double kCy = 1.3265004;
constexpr double kTwoPlusHalfPi = 3.5707963267948966;

inline void ComputeStep(EckertLane& a) {
    const double s = a.sinT, c = a.cosT;
    a.delta = -(a.t + s * c + 2.0 * s - a.rhs) / (2.0 * c * (1.0 + c));
}

} // namespace

bool Eckert4Forward(const PROJDATA* data, PROJPOINT* points, int count) {
    KV_MODULE_CHECK_ARGS(data, points, count);
    const double r = Figure(data).a, lam0 = data->Lon0;
    const bool wrap = data->bWrapLon; // normalised by the engine
    auto start = [](const PROJPOINT& p, EckertLane& a) {
        a.t = p.y / 2.0;
        a.sinT = std::sin(a.t);
        a.cosT = std::cos(a.t);
        a.rhs = kTwoPlusHalfPi * (2.0 * a.sinT * a.cosT); // sin phi
        ComputeStep(a);
        return 2.0 * a.cosT * (a.cosT + 1.0) != 0.0; // else the start value only
    };
    auto finish = [&](PROJPOINT& p, const EckertLane& a) {
        double dLam = p.x - lam0;
        if (wrap) dLam = WrapOnce(dLam);
        p.x = kCx * r * dLam * (1.0 + a.cosT);
        p.y = kCy * r * a.sinT;
        return true;
    };
    auto step = [](EckertLane& a) { return EckertStep(a, ComputeStep); };
    NewtonInBlocks<EckertLane>(points, count, kEckertMaxSteps, start, step, finish);
    return true;
}

bool Eckert4Inverse(const PROJDATA* data, PROJPOINT* points, int count) {
    KV_MODULE_CHECK_ARGS(data, points, count);
    const double r = Figure(data).a, lam0 = data->Lon0;
    ForEachPoint(points, count, [&](PROJPOINT& p) {
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
