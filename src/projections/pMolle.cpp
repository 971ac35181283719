// Mollweide, sphere only. Forward: Newton's method on 2t + sin 2t = pi sin phi
// for t' = 2t (Snyder 14-4 in its doubled form), then 14-1 and 14-2. Inverse in
// closed form, 14-6 to 14-8.
#include "projections/Figure.h"
#include "projections/Series.h"
#include "projections/AngleWrap.h"
#include "projections/NewtonLanes.h"
#include "projections/Modules.h"
#include "frame/Angles.h"
#include "projections/ProjModule.h"

#include <cmath>

namespace KVProj {
namespace {

constexpr double kEpsilon = 1.1920928955078125e-7; // single-precision epsilon
constexpr int kMaxSteps = 500;                     // Newton crawls near the poles (triple root)
constexpr double kEquatorNudge = 1e-7;

// Newton's method for t' from phi', one step per call; false once the point
// is finished: converged, failed on cos t' == 1, or a NaN step. The guard
// compares with +1 although the step divides by 1 + cos t'; the nudge off the
// equator keeps it from firing there, and hosts rely on the failure just south
// of the equator. The lane carries sin t' and cos t', starting from phi'.
struct Auxiliary {
    double t, delta, piSinPhi, dLam;
    double sinT, cosT;
    bool failed;
};

inline bool AuxiliaryStep(Auxiliary& a) {
    if (a.cosT == 1.0) {
        a.failed = true;
        return false;
    }
    a.delta = -(a.t + a.sinT - a.piSinPhi) / (1.0 + a.cosT);
    a.t += a.delta;
    AdvanceSinCos(a.t, a.delta, &a.sinT, &a.cosT);
    return std::fabs(a.delta) > kEpsilon;
}

// sin and cos of t' / 2 in [-pi/2, pi/2] from those of t', each by the
// half-angle form that does not cancel: cos from 1 + cos t' and sin from
// sin t' on the equator's side, the other way round towards the poles.
inline void HalfAngle(const Auxiliary& a, double* sinHalf, double* cosHalf) {
    if (a.cosT >= 0.0) {
        *cosHalf = std::sqrt((1.0 + a.cosT) / 2.0);
        *sinHalf = a.sinT / (2.0 * *cosHalf);
    } else {
        *sinHalf = std::copysign(std::sqrt((1.0 - a.cosT) / 2.0), a.t);
        *cosHalf = std::fabs(a.sinT) / (2.0 * std::fabs(*sinHalf));
    }
}

} // namespace

bool MolleForward(const PROJDATA* data, PROJPOINT* points, int count) {
    KV_MODULE_CHECK_ARGS(data, points, count);
    const double r = Figure(data).a, lam0 = data->Lon0;
    const bool wrap = data->bWrapLon; // normalised by the engine
    const double cx = std::pow(8.0, 0.5) / kPi * r, cy = std::pow(2.0, 0.5) * r;
    auto start = [&](const PROJPOINT& p, Auxiliary& a) {
        double phi = p.y;
        if (std::fabs(phi) < kEquatorNudge) phi += kEquatorNudge;
        double dLam = p.x - lam0;
        if (wrap) dLam = WrapOnce(dLam);
        const double sinPhi = std::sin(phi), cosPhi = std::cos(phi);
        a = Auxiliary{phi, 999.0, kPi * sinPhi, dLam, sinPhi, cosPhi, false};
        return true;
    };
    // Every point makes at least one step (the first test never stops the
    // loop) and at most kMaxSteps.
    auto finish = [&](PROJPOINT& p, const Auxiliary& a) {
        if (a.failed || std::fabs(a.delta) > kEpsilon) return false;
        double sinTheta, cosTheta;
        HalfAngle(a, &sinTheta, &cosTheta);
        p.x = cx * a.dLam * cosTheta;
        p.y = cy * sinTheta;
        return true;
    };
    auto step = [](Auxiliary& a) { return AuxiliaryStep(a); };
    NewtonInBlocks<Auxiliary>(points, count, kMaxSteps, start, step, finish);
    return true;
}

bool MolleInverse(const PROJDATA* data, PROJPOINT* points, int count) {
    KV_MODULE_CHECK_ARGS(data, points, count);
    const double r = Figure(data).a, lam0 = data->Lon0;
    const double sqrt2R = std::pow(2.0, 0.5) * r, sqrt8R = std::pow(8.0, 0.5) * r;
    ForEachPoint(points, count, [&](PROJPOINT& p) {
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
