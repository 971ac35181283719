// Lambert Azimuthal Equal Area, spherical, centred on (Lat1, Lon0).
// Snyder chapter 24. The whole sphere maps into a disc of radius 2R; only the
// antipode, which would be the whole bounding circle, fails.
#include "projections/AzimMath.h"
#include "projections/AzimModules.h"

#include <cmath>

namespace KVProj {

bool LamAEAForward(PROJDATA* data, PROJPOINT* points, int count) {
    KV_MODULE_CHECK_ARGS(data, points, count);
    const azim::AzimuthalFrame frame(data->Lat1, data->Lon0);
    const double r = data->MajorRadius;
    azim::ForEachPoint(data, points, count, [&](PROJPOINT& p) {
        const azim::AzimuthalFrame::Terms t = frame.At(p.x, p.y);
        const double den = 1.0 + t.cosC;
        // Within a few micrometres of the antipode the direction, and so the
        // point on the bounding circle, is lost in rounding.
        if (!(den > 0.0) || (t.cosC < 0.0 && std::hypot(t.xUnit, t.yUnit) < 1e-12)) return false;
        const double k = std::sqrt(2.0 / den); // Snyder 24-2
        p.x = r * k * t.xUnit;                 // Snyder 24-3
        p.y = r * k * t.yUnit;                 // Snyder 24-4
        return true;
    });
    return true;
}

bool LamAEAInverse(PROJDATA* data, PROJPOINT* points, int count) {
    KV_MODULE_CHECK_ARGS(data, points, count);
    const azim::AzimuthalFrame frame(data->Lat1, data->Lon0);
    const double r = data->MajorRadius;
    azim::ForEachInverse(data, points, count, [&](PROJPOINT& p) {
        if (r <= 0.0) return false;
        const double rho = std::hypot(p.x, p.y); // Snyder 20-18
        const double s = rho / (2.0 * r);
        if (!(s <= 1.0 + 1e-12)) return false;               // outside the bounding circle
        const double c = 2.0 * std::asin(s > 1.0 ? 1.0 : s); // Snyder 24-16
        frame.Invert(p.x, p.y, rho, std::sin(c), std::cos(c), p);
        return true;
    });
    return true;
}

} // namespace KVProj
