// Orthographic, spherical, centred on (Lat0, Lon0). Snyder chapter 20.
// Only the hemisphere facing the viewer is shown: a point beyond it (cos c < 0)
// fails, matching the module's hemisphere domain test.
#include "projections/AzimMath.h"
#include "projections/AzimModules.h"

#include <cmath>

namespace KVProj {

bool OrthoForward(PROJDATA* data, PROJPOINT* points, int count) {
    KV_MODULE_CHECK_ARGS(data, points, count);
    const azim::AzimuthalFrame frame(data->Lat0, data->Lon0);
    const double r = data->MajorRadius;
    azim::ForEachPoint(data, points, count, [&](PROJPOINT& p) {
        const azim::AzimuthalFrame::Terms t = frame.At(p.x, p.y);
        if (t.cosC < 0.0) return false; // far side of the globe, Snyder 5-3
        p.x = r * t.xUnit;              // Snyder 20-3
        p.y = r * t.yUnit;              // Snyder 20-4
        return true;
    });
    return true;
}

bool OrthoInverse(PROJDATA* data, PROJPOINT* points, int count) {
    KV_MODULE_CHECK_ARGS(data, points, count);
    const azim::AzimuthalFrame frame(data->Lat0, data->Lon0);
    const double r = data->MajorRadius;
    azim::ForEachInverse(data, points, count, [&](PROJPOINT& p) {
        if (r <= 0.0) return false;
        const double rho = std::hypot(p.x, p.y); // Snyder 20-18
        double sinC = rho / r;                   // Snyder 20-19
        // Outside the disc of the globe's outline; a rounding hair is let in.
        if (!(sinC <= 1.0 + 1e-12)) return false;
        if (sinC > 1.0) sinC = 1.0;
        const double cosC = std::sqrt(1.0 - sinC * sinC); // c <= 90 degrees
        frame.Invert(p.x, p.y, rho, sinC, cosC, p);
        return true;
    });
    return true;
}

} // namespace KVProj
