// Lambert Conformal Conic, always the secant (two standard parallel) cone.
// Sphere: Snyder 15-1 to 15-5 with 14-4; ellipsoid: Snyder 15-7 to 15-11 with
// 14-15, 15-9 and the iteration 7-9 for the inverse.
//
// The cone constants n, F and rho0 depend only on the record; they are formed
// once per call and a failure among them fails every point of the call, which
// is what evaluating them point by point would do. Equal standard parallels are
// such a failure: the cone is undefined, and refusing the record is left to the
// parameter validation.
#include "projections/Modules.h"
#include "projections/Figure.h"
#include "projections/Series.h"
#include "projections/ConformalLatitude.h"
#include "frame/Angles.h"
#include "projections/ProjModule.h"

#include <cmath>

namespace KVProj {
namespace {

enum class Direction { Forward, Inverse };

struct Cone {
    bool sphere;
    bool ok;  // n, F and rho0 could be formed
    double e; // ellipsoid only
    double e2;
    double a; // R or a
    double lam0;
    double n, F, rho0;
};

// Snyder 15-1 to 15-3 with 14-4. Only the forward direction refuses L == 0:
// the inverse lets the resulting non-finite n through to the engine's screen.
Cone SphereCone(const PROJDATA* d, Direction dir) {
    Cone c{true, false, 0.0, 0.0, Figure(d).a, d->Lon0, 0.0, 0.0, 0.0};
    const double t1 = std::tan(kQuarterPi + d->Lat1 / 2.0);
    if (t1 == 0.0) return c;
    const double l = std::log(std::tan(kQuarterPi + d->Lat2 / 2.0) / t1);
    if (dir == Direction::Forward && l == 0.0) return c;
    c.n = std::log(std::cos(d->Lat1) / std::cos(d->Lat2)) / l;
    if (c.n == 0.0) return c;
    c.F = std::cos(d->Lat1) * std::pow(t1, c.n) / c.n;
    const double p0 = std::pow(std::tan(kQuarterPi + d->Lat0 / 2.0), c.n);
    if (p0 == 0.0) return c;
    c.rho0 = c.a * c.F / p0;
    c.ok = true;
    return c;
}

// a F t^n, with a zero t under a negative n taken as the apex (rho = 0)
// instead of evaluating an infinite power.
inline double EllipsoidRho(const Cone& c, double t) {
    if (t == 0.0 && c.n < 0.0) return 0.0;
    return c.a * c.F * std::pow(t, c.n);
}

// Snyder 15-8 to 15-10 with 14-15 and 15-9.
Cone EllipsoidCone(const PROJDATA* d) {
    const Figure fig(d);
    Cone c{false, false, fig.e, fig.e2, fig.a, d->Lon0, 0.0, 0.0, 0.0};
    const double s0 = std::sin(d->Lat0), s1 = std::sin(d->Lat1), s2 = std::sin(d->Lat2);
    if (1.0 + c.e * s0 == 0.0 || 1.0 + c.e * s1 == 0.0 || 1.0 + c.e * s2 == 0.0) return c;
    if (!(1.0 - c.e2 * s1 * s1 > 0.0) || !(1.0 - c.e2 * s2 * s2 > 0.0)) return c;
    const double t0 = ConformalT(d->Lat0, s0, c.e);
    const double t1 = ConformalT(d->Lat1, s1, c.e);
    const double t2 = ConformalT(d->Lat2, s2, c.e);
    const double m1 = ParallelRadiusFactor(std::cos(d->Lat1), s1, c.e2);
    const double m2 = ParallelRadiusFactor(std::cos(d->Lat2), s2, c.e2);
    const double dd = std::log(t1) - std::log(t2);
    if (dd == 0.0) return c;
    c.n = (std::log(m1) - std::log(m2)) / dd;
    if (t1 == 0.0 && c.n < 0.0) return c;
    const double t1n = std::pow(t1, c.n);
    if (t1n == 0.0) return c;
    c.F = m1 / (t1n * c.n);
    c.rho0 = EllipsoidRho(c, t0);
    c.ok = true;
    return c;
}

Cone MakeCone(const PROJDATA* d, Direction dir) {
    return Figure(d).sphere ? SphereCone(d, dir) : EllipsoidCone(d);
}

inline void PlaceOnCone(const Cone& c, double rho, PROJPOINT& p) {
    const double theta = c.n * (p.x - c.lam0); // deliberately not wrapped
    p.x = rho * std::sin(theta);
    p.y = c.rho0 - rho * std::cos(theta);
}

bool SphereForwardPoint(const Cone& c, PROJPOINT& p) {
    const double pw = std::pow(std::tan(kQuarterPi + p.y / 2.0), c.n);
    if (pw == 0.0) return false;
    PlaceOnCone(c, c.a * c.F / pw, p);
    return true;
}

bool EllipsoidForwardPoint(const Cone& c, PROJPOINT& p) {
    const double phi = p.y, s = std::sin(phi);
    if (1.0 + c.e * s == 0.0) return false;
    if (!(1.0 - c.e2 * s * s > 0.0)) return false;
    double rho;
    if (std::fabs(s) <= 0.9) {
        // t^n as exp(n ln t) with ln t = -atanh(sin phi) + e atanh(e sin phi):
        // one logarithm-like call instead of a tangent and two powers. Away
        // from the poles 1 -+ sin phi keeps its precision, so the value is
        // the same to double precision.
        rho = c.a * c.F *
              std::exp(c.n * (c.e * AtanhSmall(c.e * s) + 0.5 * std::log((1.0 - s) / (1.0 + s))));
    } else {
        rho = EllipsoidRho(c, ConformalT(phi, s, c.e));
    }
    PlaceOnCone(c, rho, p);
    return true;
}

// Snyder 14-10 and 15-11: polar coordinates on the cone, then the latitude
// from rho.
bool InversePoint(const Cone& c, PROJPOINT& p) {
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

void FailAll(PROJPOINT* points, int count) {
    ForEachPoint(points, count, [](PROJPOINT&) { return false; });
}

} // namespace

bool LambertForward(const PROJDATA* data, PROJPOINT* points, int count) {
    KV_MODULE_CHECK_ARGS(data, points, count);
    const Cone c = MakeCone(data, Direction::Forward);
    if (!c.ok)
        FailAll(points, count);
    else if (c.sphere)
        ForEachPoint(points, count, [&c](PROJPOINT& p) { return SphereForwardPoint(c, p); });
    else
        ForEachPoint(points, count, [&c](PROJPOINT& p) { return EllipsoidForwardPoint(c, p); });
    return true;
}

bool LambertInverse(const PROJDATA* data, PROJPOINT* points, int count) {
    KV_MODULE_CHECK_ARGS(data, points, count);
    const Cone c = MakeCone(data, Direction::Inverse);
    if (!c.ok)
        FailAll(points, count);
    else
        ForEachPoint(points, count, [&c](PROJPOINT& p) { return InversePoint(c, p); });
    return true;
}

} // namespace KVProj
