// Gnomonic, spherical, centred on (Lat1, Lon0). Snyder chapter 22.
// Great circles are straight lines; the horizon (c = 90 degrees) is infinitely
// far, so points with cos c at or below 0.0001 (within about 0.006 degrees of
// the horizon, or beyond it) fail.
#include "projections/AzimMath.h"
#include "projections/AzimModules.h"

#include <cmath>

namespace KVProj {

namespace {
constexpr double kHorizonTolerance = 0.0001;
}

bool GnomForward(PROJDATA* data, PROJPOINT* points, int count) {
    KV_MODULE_CHECK_ARGS(data, points, count);
    const azim::AzimuthalFrame frame(data->Lat1, data->Lon0);
    const double r = data->MajorRadius;
    azim::ForEachPoint(data, points, count, [&](PROJPOINT& p) {
        const azim::AzimuthalFrame::Terms t = frame.At(p.x, p.y);
        if (t.cosC <= kHorizonTolerance) return false;
        const double k = 1.0 / t.cosC; // Snyder 22-3
        p.x = r * k * t.xUnit;         // Snyder 22-4
        p.y = r * k * t.yUnit;         // Snyder 22-5
        return true;
    });
    return true;
}

bool GnomInverse(PROJDATA* data, PROJPOINT* points, int count) {
    KV_MODULE_CHECK_ARGS(data, points, count);
    const azim::AzimuthalFrame frame(data->Lat1, data->Lon0);
    const double r = data->MajorRadius;
    azim::ForEachInverse(data, points, count, [&](PROJPOINT& p) {
        if (r <= 0.0) return false;
        const double rho = std::hypot(p.x, p.y); // Snyder 20-18
        const double c = std::atan(rho / r);     // Snyder 22-16
        frame.Invert(p.x, p.y, rho, std::sin(c), std::cos(c), p);
        return true;
    });
    return true;
}

} // namespace KVProj
