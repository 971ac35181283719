// Mercator, normal aspect, sphere or ellipsoid. Lat0 is the latitude of true
// scale, not an origin: the equator is always y = 0. Snyder 7-1, 7-2 (sphere),
// 7-6, 7-7 (ellipsoid), 7-4, 7-5 and 7-10, 7-9 (inverse).
#include "projections/Figure.h"
#include "projections/Modules.h"
#include "projections/Series.h"
#include "projections/ConformalLatitude.h"
#include "frame/Angles.h"
#include "projections/ProjModule.h"

#include <cmath>

namespace KVProj {
namespace {

// The double next below pi/2: the largest latitude the sphere accepts.
constexpr double kPhiMax = 1.5707963267948963;

// The inverse raises 2.71828, the base as the formulas have always carried it,
// not e: inverse latitudes sit a little off the exact inverse of the forward
// direction (2.8 m at 53 degrees). Kept for compatibility of results; the
// power is taken as exp(x ln 2.71828) with this logarithm.
constexpr double kLnBase = 0.999999327347282; // ln 2.71828

struct Scale {
    bool ok;   // 1 - e^2 sin^2 phi1 > 0
    double k;  // scale factor of the true-scale parallel on the unit figure
    double ak; // a k (R cos phi1 on the sphere)
    double e;
};

Scale MakeScale(const PROJDATA* d) {
    const Figure fig(d);
    const double a = fig.a, phi1 = d->Lat0;
    if (fig.sphere) return {true, std::cos(phi1), a * std::cos(phi1), 0.0};
    const double e = fig.e, s1 = std::sin(phi1);
    const double w = 1.0 - e * e * s1 * s1;
    if (!(w > 0.0)) return {false, 0.0, 0.0, e};
    const double k = std::cos(phi1) / std::sqrt(w); // Snyder 7-8 at phi1
    return {true, k, a * k, e};
}

} // namespace

bool MercForward(const PROJDATA* data, PROJPOINT* points, int count) {
    KV_MODULE_CHECK_ARGS(data, points, count);
    const Scale sc = MakeScale(data);
    const Figure fig(data);
    const double lam0 = data->Lon0, a = fig.a;
    if (fig.sphere) {
        const double rk = a * std::cos(data->Lat0);
        ForEachPoint(points, count, [&](PROJPOINT& p) {
            if (std::fabs(p.y) >= kPhiMax) return false;
            p.x = (p.x - lam0) * rk;
            p.y = std::log(std::tan(p.y / 2.0 + kQuarterPi)) * rk;
            return true;
        });
        return true;
    }
    const double e = sc.e;
    ForEachPoint(points, count, [&](PROJPOINT& p) {
        if (!sc.ok) return false;
        // The ellipsoid lets |phi| == kPhiMax through; there sin phi rounds to
        // 1 and the next test refuses it.
        if (std::fabs(p.y) > kPhiMax) return false;
        const double s = std::sin(p.y);
        if (1.0 - s == 0.0 || 1.0 + e * s == 0.0) return false;
        const double x = (p.x - lam0) * a * sc.k;
        // Snyder 7-7, with ln(((1 - es)/(1 + es))^e) = -2e atanh(es)
        p.y = (a / 2.0) * (std::log((1.0 + s) / (1.0 - s)) - 2.0 * e * AtanhSmall(e * s)) * sc.k;
        p.x = x;
        return true;
    });
    return true;
}

bool MercInverse(const PROJDATA* data, PROJPOINT* points, int count) {
    KV_MODULE_CHECK_ARGS(data, points, count);
    const Figure fig(data);
    const double lam0 = data->Lon0, a = fig.a;
    if (fig.sphere) {
        // No guard: a true-scale latitude at a pole gives non-finite values,
        // which the engine marks.
        const double c1 = std::cos(data->Lat0);
        ForEachPoint(points, count, [&](PROJPOINT& p) {
            const double lam = p.x / c1 / a + lam0;
            p.y = std::atan(std::sinh(p.y / c1 / a)); // Snyder 7-4 in hyperbolic form
            p.x = lam;
            return true;
        });
        return true;
    }
    const Scale sc = MakeScale(data);
    for (int i = 0; i < count; ++i) {
        PROJPOINT& p = points[i];
        if (IsUnplottable(p)) continue;
        if (!sc.ok) {
            MarkFailed(p);
            continue;
        }
        // A true-scale latitude at a pole is a caller's error, not a bad point.
        if (sc.k == 0.0) return KV_ASSERT_FAIL();
        const double lam = (p.x / sc.k) / a + lam0;
        const double t = std::exp(-(p.y / sc.k) / a * kLnBase); // Snyder 7-10
        double phi;
        if (!PhiFromConformalT(t, sc.e, &phi)) {
            MarkFailed(p);
            continue;
        }
        p.x = lam;
        p.y = phi;
    }
    return true;
}

} // namespace KVProj
