// Azimuthal Equidistant, spherical, centred on (Lat1, Lon0). Snyder chapter 25.
// Distances and directions from the centre are true. The antipode spreads over
// the whole bounding circle, so it fails; everything else converts.
#include "projections/AzimuthalFrame.h"
#include "projections/Modules.h"
#include "frame/Angles.h"

#include <cmath>

namespace KVProj {

bool AzimuthForward(const PROJDATA* data, PROJPOINT* points, int count) {
    KV_MODULE_CHECK_ARGS(data, points, count);
    azim::ForwardAzimuthal(
        data, points, count, data->Lat1,
        [](const azim::AzimuthalFrame&, const azim::AzimuthalFrame::Terms& t, double* k) {
            const double sinC = t.SinC();
            if (t.cosC < 0.0 && sinC < azim::kAntipodeTolerance) return false;
            const double c = std::atan2(sinC, t.cosC);
            *k = sinC == 0.0 ? 1.0 : c / sinC; // Snyder 25-2; 1 at the centre
            return true;
        });
    return true;
}

bool AzimuthInverse(const PROJDATA* data, PROJPOINT* points, int count) {
    KV_MODULE_CHECK_ARGS(data, points, count);
    azim::InverseAzimuthal(
        data, points, count, data->Lat1, [](double c, double* sinC, double* cosC) {
            if (!(c <= kPi)) return false; // outside the bounding circle; c = rho / R, Snyder 25-15
            *sinC = std::sin(c);
            *cosC = std::cos(c);
            return true;
        });
    return true;
}

} // namespace KVProj
