// Azimuthal Equidistant, spherical, centred on (Lat1, Lon0). Snyder chapter 25.
// Distances and directions from the centre are true. The antipode spreads over
// the whole bounding circle, so it fails; everything else converts.
#include "projections/AzimMath.h"
#include "projections/AzimModules.h"

#include <cmath>

namespace KVProj {

namespace {
constexpr double kAntipodeTolerance = 1e-12; // sine of the distance from the antipode
}

bool AzimuthForward(PROJDATA* data, PROJPOINT* points, int count) {
    KV_MODULE_CHECK_ARGS(data, points, count);
    const azim::AzimuthalFrame frame(data->Lat1, data->Lon0);
    const double r = data->MajorRadius;
    azim::ForEachPoint(data, points, count, [&](PROJPOINT& p) {
        const azim::AzimuthalFrame::Terms t = frame.At(p.x, p.y);
        // The chord form keeps c accurate near the centre, where acos of a
        // cosine close to 1 would lose half the digits.
        const double sinC = std::hypot(t.xUnit, t.yUnit);
        const double c = std::atan2(sinC, t.cosC);
        // Within a few micrometres of the antipode the direction, and so the
        // point on the bounding circle, is lost in rounding.
        if (t.cosC < 0.0 && sinC < kAntipodeTolerance) return false;
        const double k = sinC == 0.0 ? 1.0 : c / sinC; // Snyder 25-2; 1 at the centre
        p.x = r * k * t.xUnit;                         // Snyder 22-4 with 25-2
        p.y = r * k * t.yUnit;                         // Snyder 22-5 with 25-2
        return true;
    });
    return true;
}

bool AzimuthInverse(PROJDATA* data, PROJPOINT* points, int count) {
    KV_MODULE_CHECK_ARGS(data, points, count);
    const azim::AzimuthalFrame frame(data->Lat1, data->Lon0);
    const double r = data->MajorRadius;
    azim::ForEachInverse(data, points, count, [&](PROJPOINT& p) {
        if (r <= 0.0) return false;
        const double rho = std::hypot(p.x, p.y); // Snyder 20-18
        const double c = rho / r;                // Snyder 25-15
        if (!(c <= kPi)) return false;           // outside the bounding circle
        frame.Invert(p.x, p.y, rho, std::sin(c), std::cos(c), p);
        return true;
    });
    return true;
}

} // namespace KVProj
