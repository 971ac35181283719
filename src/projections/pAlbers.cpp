// Albers Equal Area Conic: the cone constants and the module's entry points
// on the formulas of AlbersCore.h.
#include "projections/AlbersCore.h"
#include "projections/Figure.h"
#include "projections/Modules.h"

#include <new>
#include <type_traits>

namespace KVProj {
namespace aea {
namespace {

Cone MakeCone(const PROJDATA* d) {
    Cone c{};
    const Figure fig(d);
    c.a = fig.a;
    c.lam0 = d->Lon0;
    c.sphere = fig.sphere;
    const double s0 = std::sin(d->Lat0), s1 = std::sin(d->Lat1), s2 = std::sin(d->Lat2);
    if (c.sphere) {
        c.ok = true;
        c.n = (s1 + s2) / 2.0;
        const double c1 = std::cos(d->Lat1);
        c.C = c1 * c1 + 2.0 * c.n * s1;
        c.rho0 = c.a * std::sqrt(c.C - 2.0 * c.n * s0) / c.n;
        return c;
    }
    c.e = fig.e;
    c.e2 = fig.e2;
    c.halfInvE = 1.0 / (2.0 * c.e);
    c.oneMinusE2 = 1.0 - c.e2;
    if (QGuardFires(c, s0) || QGuardFires(c, s1) || QGuardFires(c, s2)) return c;
    const double q0 = QOf(c, s0), q1 = QOf(c, s1), q2 = QOf(c, s2);
    const double m1 = std::cos(d->Lat1) / std::sqrt(1.0 - c.e2 * s1 * s1); // 14-15
    const double m2 = std::cos(d->Lat2) / std::sqrt(1.0 - c.e2 * s2 * s2);
    if (q2 - q1 == 0.0) return c;
    c.ok = true;
    c.n = (m1 * m1 - m2 * m2) / (q2 - q1); // 14-14
    c.C = m1 * m1 + c.n * q1;              // 14-13
    c.rho0 = c.a * std::sqrt(c.C - c.n * q0) / c.n;
    return c;
}

static_assert(sizeof(Cone) <= sizeof(ModuleConstants::bytes) &&
                  alignof(Cone) <= alignof(ModuleConstants) &&
                  std::is_trivially_destructible<Cone>::value,
              "the cone constants fit a handle's block");

// The per-point loop; false (after the assertion report) at the first
// plottable point of a cone whose n is zero.
template <typename Fn> bool RunPoints(PROJPOINT* points, int count, Fn fn) {
    for (int i = 0; i < count; ++i) {
        PROJPOINT& p = points[i];
        if (IsUnplottable(p)) continue;
        const PointResult r = fn(p);
        if (r == PointResult::Abort) return KV_ASSERT_FAIL();
        if (r == PointResult::Failed) MarkFailed(p);
    }
    return true;
}

} // namespace

bool Forward(const Cone& c, PROJPOINT* points, int count) {
    if (VectorLoopFor(count) && LanesFit(c)) {
        ForwardLanes(c, points, count);
        return true;
    }
    return RunPoints(points, count, [&c](PROJPOINT& p) { return ForwardPoint(c, p); });
}

bool Inverse(const Cone& c, PROJPOINT* points, int count) {
    if (VectorLoopFor(count) && LanesFit(c)) {
        InverseLanes(c, points, count);
        return true;
    }
    return RunPoints(points, count, [&c](PROJPOINT& p) { return InversePoint(c, p); });
}

// A zero n stops a call at its first plottable point with the assertion
// report; the prepared converters have no way to say so, so the row does it.
bool Prepare(const PROJDATA* work, ModuleConstants* out) {
    const Cone c = MakeCone(work);
    if (c.n == 0.0) return false;
    new (out->bytes) Cone(c);
    return true;
}

void PreparedForward(const ModuleConstants& k, PROJPOINT* points, int count) {
    Forward(*reinterpret_cast<const Cone*>(k.bytes), points, count);
}

void PreparedInverse(const ModuleConstants& k, PROJPOINT* points, int count) {
    Inverse(*reinterpret_cast<const Cone*>(k.bytes), points, count);
}

} // namespace aea

bool AlbersForward(const PROJDATA* data, PROJPOINT* points, int count) {
    KV_MODULE_CHECK_ARGS(data, points, count);
    return aea::Forward(aea::MakeCone(data), points, count);
}

bool AlbersInverse(const PROJDATA* data, PROJPOINT* points, int count) {
    KV_MODULE_CHECK_ARGS(data, points, count);
    return aea::Inverse(aea::MakeCone(data), points, count);
}

} // namespace KVProj
