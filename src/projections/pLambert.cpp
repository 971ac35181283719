// Lambert Conformal Conic: the cone constants and the module's entry points
// on the formulas of LambertCore.h.
//
// The cone constants n, F and rho0 depend only on the record; they are formed
// once per call (or once per handle) and a failure among them fails every
// point, which is what evaluating them point by point would do. Equal standard
// parallels are such a failure: the cone is undefined, and refusing the
// record is left to the parameter validation.
#include "projections/LambertCore.h"
#include "projections/Modules.h"

#include <new>
#include <type_traits>

namespace KVProj {
namespace lcc {
namespace {

enum class Direction { Forward, Inverse };

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

static_assert(sizeof(Constants) <= sizeof(ModuleConstants::bytes) &&
                  alignof(Constants) <= alignof(ModuleConstants) &&
                  std::is_trivially_destructible<Constants>::value,
              "the cone constants fit a handle's block");

} // namespace

bool Prepare(const PROJDATA* work, ModuleConstants* out) {
    new (out->bytes)
        Constants{MakeCone(work, Direction::Forward), MakeCone(work, Direction::Inverse)};
    return true;
}

void PreparedForward(const ModuleConstants& k, PROJPOINT* points, int count) {
    Forward(reinterpret_cast<const Constants*>(k.bytes)->forward, points, count);
}

void PreparedInverse(const ModuleConstants& k, PROJPOINT* points, int count) {
    Inverse(reinterpret_cast<const Constants*>(k.bytes)->inverse, points, count);
}

} // namespace lcc

bool LambertForward(const PROJDATA* data, PROJPOINT* points, int count) {
    KV_MODULE_CHECK_ARGS(data, points, count);
    lcc::Forward(lcc::MakeCone(data, lcc::Direction::Forward), points, count);
    return true;
}

bool LambertInverse(const PROJDATA* data, PROJPOINT* points, int count) {
    KV_MODULE_CHECK_ARGS(data, points, count);
    lcc::Inverse(lcc::MakeCone(data, lcc::Direction::Inverse), points, count);
    return true;
}

} // namespace KVProj
