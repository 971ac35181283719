// Sinusoidal, sphere (Snyder 30-1, 30-2) and ellipsoid (30-8 to 30-11 with the
// meridional arc 3-21 and the footpoint series 3-24 to 3-26). The equator is
// y = 0: there is no latitude of origin.
#include "projections/Figure.h"
#include "projections/Series.h"
#include "projections/AngleWrap.h"
#include "projections/Modules.h"
#include "projections/ProjModule.h"

#include <cmath>

namespace KVProj {

bool SinusForward(const PROJDATA* data, PROJPOINT* points, int count) {
    KV_MODULE_CHECK_ARGS(data, points, count);
    const Figure fig(data);
    const double a = fig.a, lam0 = data->Lon0;
    const bool wrap = data->bWrapLon; // normalised by the engine
    if (fig.sphere) {
        ForEachPoint(points, count, [&](PROJPOINT& p) {
            double dLam = p.x - lam0;
            if (wrap) dLam = WrapOnce(dLam);
            const double phi = p.y;
            p.x = a * dLam * std::cos(phi);
            p.y = a * phi;
            return true;
        });
        return true;
    }
    const double e = fig.e, e2 = fig.e2;
    const MeridianArc arc(a, e);
    ForEachPoint(points, count, [&](PROJPOINT& p) {
        double dLam = p.x - lam0;
        if (wrap) dLam = WrapOnce(dLam);
        const double phi = p.y, s = std::sin(phi), c = std::cos(phi);
        const double w2 = 1.0 - e2 * s * s;
        if (w2 < 0.0) return false;
        const double w = std::sqrt(w2);
        if (w == 0.0) return false;
        p.x = a * dLam * c / w;
        p.y = arc.At(phi, s, c);
        return true;
    });
    return true;
}

bool SinusInverse(const PROJDATA* data, PROJPOINT* points, int count) {
    KV_MODULE_CHECK_ARGS(data, points, count);
    const Figure fig(data);
    const double a = fig.a, lam0 = data->Lon0;
    // cos(pi/2) in doubles is about 6e-17, not zero: a point on the pole line
    // gives a huge but finite longitude unless x is 0. Only an exact zero fails.
    if (fig.sphere) {
        ForEachPoint(points, count, [&](PROJPOINT& p) {
            const double phi = p.y / a, c = std::cos(phi);
            if (c == 0.0) return false;
            p.x = p.x / (a * c) + lam0;
            p.y = phi;
            return true;
        });
        return true;
    }
    const double e = fig.e, e2 = fig.e2;
    const MeridianArc arc(a, e);
    const Footpoint foot(e);
    ForEachPoint(points, count, [&](PROJPOINT& p) {
        const double phi = foot.Phi(arc.Mu(p.y));
        const double s = std::sin(phi), c = std::cos(phi);
        if (c == 0.0) return false;
        p.x = p.x * std::sqrt(1.0 - e2 * s * s) / (a * c) + lam0;
        p.y = phi;
        return true;
    });
    return true;
}

} // namespace KVProj
