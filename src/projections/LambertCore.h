// Lambert Conformal Conic, always the secant (two standard parallel) cone.
// Sphere: Snyder 15-1 to 15-5 with 14-4; ellipsoid: Snyder 15-7 to 15-11 with
// 14-15, 15-9 and the iteration 7-9 for the inverse. The per-point functions
// below stay the reference; the loops also run a vector at a time
// (LambertLanes.cpp).
#ifndef KVPROJ_PROJECTIONS_LAMBERTCORE_H
#define KVPROJ_PROJECTIONS_LAMBERTCORE_H

#include "projections/ConformalLatitude.h"
#include "projections/Figure.h"
#include "projections/ProjModule.h"
#include "projections/Series.h"
#include "projections/VectorPath.h"

#include <cmath>

namespace KVProj {
namespace lcc {

// The cone constants n, F and rho0 (pLambert.cpp forms them).
struct Cone {
    bool sphere;
    bool ok;  // n, F and rho0 could be formed
    double e; // ellipsoid only
    double e2;
    double a; // R or a
    double lam0;
    double n, F, rho0;
};

// a F t^n, with a zero t under a negative n taken as the apex (rho = 0)
// instead of evaluating an infinite power.
inline double EllipsoidRho(const Cone& c, double t) {
    if (t == 0.0 && c.n < 0.0) return 0.0;
    return c.a * c.F * std::pow(t, c.n);
}

inline bool SphereForwardPoint(const Cone& c, PROJPOINT& p) {
    const double pw = std::pow(std::tan(kQuarterPi + p.y / 2.0), c.n);
    if (pw == 0.0) return false;
    PlaceOnCone(c.n, c.lam0, c.rho0, c.a * c.F / pw, p);
    return true;
}

// The sin phi beyond which the forward direction forms t by its tangent.
constexpr double kLogFormLimit = 0.9;

inline bool EllipsoidForwardPoint(const Cone& c, PROJPOINT& p) {
    const double phi = p.y, s = std::sin(phi);
    if (1.0 + c.e * s == 0.0) return false;
    if (!(1.0 - c.e2 * s * s > 0.0)) return false;
    double rho;
    if (std::fabs(s) <= kLogFormLimit) {
        // t^n as exp(n ln t) with ln t = -atanh(sin phi) + e atanh(e sin phi):
        // one logarithm-like call instead of a tangent and two powers. Away
        // from the poles 1 -+ sin phi keeps its precision, so the value is
        // the same to double precision.
        rho = c.a * c.F *
              std::exp(c.n * (c.e * AtanhSmall(c.e * s) + 0.5 * std::log((1.0 - s) / (1.0 + s))));
    } else {
        rho = EllipsoidRho(c, ConformalT(phi, s, c.e));
    }
    PlaceOnCone(c.n, c.lam0, c.rho0, rho, p);
    return true;
}

// Snyder 14-10 and 15-11: polar coordinates on the cone, then the latitude
// from rho.
inline bool InversePoint(const Cone& c, PROJPOINT& p) {
    double rho, theta;
    ConePolar(c.n, c.rho0, p.x, p.y, &rho, &theta);
    const double lam = theta / c.n + c.lam0;
    double phi;
    if (c.sphere) {
        phi = 2.0 * std::atan(std::pow(c.a * c.F / rho, 1.0 / c.n)) - kHalfPi; // Snyder 15-5
    } else {
        const double aF = c.a * c.F;
        if (aF == 0.0) return false;
        const double t = std::pow(rho / aF, 1.0 / c.n); // Snyder 15-11
        if (!PhiFromConformalT(t, c.e, &phi)) return false;
    }
    p.x = lam;
    p.y = phi;
    return true;
}

inline void FailAll(PROJPOINT* points, int count) {
    ForEachPoint(points, count, [](PROJPOINT&) { return false; });
}

// The loops a vector at a time (LambertLanes.cpp), for cones with LanesFit:
// the same results to an ulp or two, a point the functions above treat
// specially going through them.
void ForwardLanes(const Cone& c, PROJPOINT* points, int count);
void InverseLanes(const Cone& c, PROJPOINT* points, int count);
bool LanesFit(const Cone& c);

inline void Forward(const Cone& c, PROJPOINT* points, int count) {
    if (!c.ok)
        FailAll(points, count);
    else if (VectorLoopFor(count) && LanesFit(c))
        ForwardLanes(c, points, count);
    else if (c.sphere)
        ForEachPoint(points, count, [&c](PROJPOINT& p) { return SphereForwardPoint(c, p); });
    else
        ForEachPoint(points, count, [&c](PROJPOINT& p) { return EllipsoidForwardPoint(c, p); });
}

inline void Inverse(const Cone& c, PROJPOINT* points, int count) {
    if (!c.ok)
        FailAll(points, count);
    else if (VectorLoopFor(count) && LanesFit(c))
        InverseLanes(c, points, count);
    else
        ForEachPoint(points, count, [&c](PROJPOINT& p) { return InversePoint(c, p); });
}

// What a handle prepares: the cone of each direction (the sphere's differ
// in one guard).
struct Constants {
    Cone forward, inverse;
};
bool Prepare(const PROJDATA* work, ModuleConstants* out);
void PreparedForward(const ModuleConstants& k, PROJPOINT* points, int count);
void PreparedInverse(const ModuleConstants& k, PROJPOINT* points, int count);

} // namespace lcc
} // namespace KVProj

#endif
