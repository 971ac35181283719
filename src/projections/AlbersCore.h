// Albers Equal Area Conic with two standard parallels. Sphere: Snyder 14-1 to
// 14-6 and 14-8 to 14-11; ellipsoid: 14-12 to 14-16 with 3-12 and the
// iteration 3-16 for the inverse. The per-point functions below stay the
// reference; the ellipsoid's loops also run a vector at a time
// (AlbersLanes.cpp).
//
// A cone constant of exactly zero (standard parallels symmetric about the
// equator) is an internal inconsistency that parameter validation should have
// caught: the call reports it and stops at the first plottable point, leaving
// the points before it converted. Every other failure marks only its point.
#ifndef KVPROJ_PROJECTIONS_ALBERSCORE_H
#define KVPROJ_PROJECTIONS_ALBERSCORE_H

#include "projections/AngleWrap.h"
#include "projections/Figure.h"
#include "projections/ConformalLatitude.h"
#include "projections/ProjModule.h"
#include "projections/VectorPath.h"

#include <cmath>

namespace KVProj {
namespace aea {

enum class PointResult { Done, Failed, Abort };

// The cone constants (pAlbers.cpp forms them). For the ellipsoid `ok` is false
// when a guard on Lat0, Lat1 or Lat2 fired or q1 == q2; those make every point
// unplottable, which the per-point checks would do one point at a time.
struct Cone {
    bool sphere;
    bool ok;
    double a, lam0;
    double e, e2, halfInvE, oneMinusE2;
    double n, C, rho0;
};

// Snyder 3-12; the caller has checked both denominators.
inline double QOf(const Cone& c, double sinPsi) {
    const double es = c.e * sinPsi;
    return c.oneMinusE2 * (sinPsi / (1.0 - c.e2 * sinPsi * sinPsi) -
                           c.halfInvE * std::log((1.0 - es) / (1.0 + es)));
}

inline bool QGuardFires(const Cone& c, double sinPsi) {
    return 1.0 + c.e * sinPsi == 0.0 || 1.0 - c.e2 * sinPsi * sinPsi == 0.0;
}

inline PointResult ForwardPoint(const Cone& c, PROJPOINT& p) {
    const double s = std::sin(p.y);
    if (c.sphere) {
        if (c.n == 0.0) return PointResult::Abort;
        PlaceOnCone(c.n, c.lam0, c.rho0, c.a * std::sqrt(c.C - 2.0 * c.n * s) / c.n, p);
        return PointResult::Done;
    }
    if (QGuardFires(c, s) || !c.ok) return PointResult::Failed;
    if (c.n == 0.0) return PointResult::Abort;
    PlaceOnCone(c.n, c.lam0, c.rho0, c.a * std::sqrt(c.C - c.n * QOf(c, s)) / c.n, p);
    return PointResult::Done;
}

// Polar angle about the apex (Snyder 14-11); false on the guarded axis, which
// is refused even where atan2 would have an answer.
inline bool PolarAngle(const Cone& c, const PROJPOINT& p, double* theta) {
    if (c.n < 0.0) {
        if (p.y - c.rho0 == 0.0) return false;
        *theta = std::atan2(-p.x, p.y - c.rho0);
    } else {
        if (c.rho0 - p.y == 0.0) return false;
        *theta = std::atan2(p.x, c.rho0 - p.y);
    }
    return true;
}

// Snyder 3-16 from the first estimate asin(q/2). The first comparison is made
// against the point's northing, and the latitude returned is the iterate
// before the last step; both are long-standing behaviour that stored data
// depends on.
inline bool LatitudeFromQ(const Cone& c, double q, double northing, double* phi) {
    double prev = northing;
    double cur = std::asin(ClampUnit(q / 2.0));
    const double qScaled = q / c.oneMinusE2;
    int counter = kPhiIterMaxSteps;
    while (std::fabs(cur - prev) > kPhiIterTolerance && counter-- > 0) {
        const double s = std::sin(cur), co = std::cos(cur);
        const double w = 1.0 - c.e2 * s * s;
        const double es = c.e * s;
        // A guard here leaves the estimate where it is, so the loop would only
        // spin out its counter: the point is lost either way.
        if (2.0 * co == 0.0 || w == 0.0 || 1.0 + es == 0.0) return false;
        const double next =
            cur +
            w * w / (2.0 * co) * (qScaled - s / w + c.halfInvE * std::log((1.0 - es) / (1.0 + es)));
        prev = cur;
        cur = next;
    }
    if (counter < 1) return false;
    *phi = prev;
    return true;
}

inline PointResult InversePoint(const Cone& c, PROJPOINT& p) {
    if (!c.ok) return PointResult::Failed;
    if (c.n == 0.0) return PointResult::Abort;
    double theta;
    if (!PolarAngle(c, p, &theta)) return PointResult::Failed;
    const double dy = c.rho0 - p.y;
    const double rho = std::sqrt(dy * dy + p.x * p.x);
    double phi;
    if (c.sphere) {
        const double t = rho * c.n / c.a;
        phi = std::asin(ClampUnit((c.C - t * t) / (2.0 * c.n))); // 14-8
    } else {
        const double q = (c.C - rho * rho * c.n * c.n / (c.a * c.a)) / c.n; // 14-19
        if (!LatitudeFromQ(c, q, p.y, &phi)) return PointResult::Failed;
    }
    p.x = theta / c.n + c.lam0; // not wrapped
    p.y = phi;
    return PointResult::Done;
}

// The loops a vector at a time (AlbersLanes.cpp), for cones with LanesFit
// (an ellipsoid whose cone could be formed, n not zero): the same results to
// an ulp or two, a point the functions above treat specially going through
// them.
void ForwardLanes(const Cone& c, PROJPOINT* points, int count);
void InverseLanes(const Cone& c, PROJPOINT* points, int count);
bool LanesFit(const Cone& c);

// The module's loops (pAlbers.cpp, whose name the assertion report of a zero
// n carries): a vector at a time where LanesFit, else point by point.
bool Forward(const Cone& c, PROJPOINT* points, int count);
bool Inverse(const Cone& c, PROJPOINT* points, int count);

// What a handle prepares: the cone, for a record whose calls cannot stop
// early (n not zero); the others convert through the module's row.
bool Prepare(const PROJDATA* work, ModuleConstants* out);
void PreparedForward(const ModuleConstants& k, PROJPOINT* points, int count);
void PreparedInverse(const ModuleConstants& k, PROJPOINT* points, int count);

} // namespace aea
} // namespace KVProj

#endif
