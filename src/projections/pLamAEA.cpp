// Lambert Azimuthal Equal Area, spherical, centred on (Lat1, Lon0).
// Snyder chapter 24. The whole sphere maps into a disc of radius 2R; only the
// antipode, which would be the whole bounding circle, fails.
#include "projections/AzimuthalFrame.h"
#include "projections/Modules.h"

#include <cmath>

namespace KVProj {

bool LamAEAForward(const PROJDATA* data, PROJPOINT* points, int count) {
    KV_MODULE_CHECK_ARGS(data, points, count);
    azim::ForwardAzimuthal(
        data, points, count, data->Lat1,
        [](const azim::AzimuthalFrame& frame, const azim::AzimuthalFrame::Terms& t, double* k) {
            if (t.cosC >= 0.0) {
                *k = std::sqrt(2.0 / (1.0 + t.cosC)); // Snyder 24-2
                return true;
            }
            // Beyond 90 degrees 1 + cos c cancels towards the antipode. There
            // k' = 2 sin(c/2) / sin c, with sin(c/2) from the haversine of the
            // distance to the antipode and sin c = |(xUnit, yUnit)|, so the
            // point lands on or inside the circle of radius 2R.
            const double sinC = t.SinC();
            if (sinC < azim::kAntipodeTolerance) return false;
            *k = 2.0 * std::sqrt(1.0 - frame.CosHalfC2(t)) / sinC;
            return true;
        });
    return true;
}

bool LamAEAInverse(const PROJDATA* data, PROJPOINT* points, int count) {
    KV_MODULE_CHECK_ARGS(data, points, count);
    // c = 2 asin(rho / 2R) (Snyder 24-16), its sine and cosine by the
    // double-angle formulas.
    azim::InverseAzimuthal(data, points, count, data->Lat1,
                           [](double q, double* sinC, double* cosC) {
                               const double s = 0.5 * q;
                               if (!(s <= 1.0 + 1e-12)) return false; // outside the bounding circle
                               const double sh = s > 1.0 ? 1.0 : s;   // sin(c/2)
                               *sinC = 2.0 * sh * std::sqrt((1.0 - sh) * (1.0 + sh));
                               *cosC = 1.0 - 2.0 * sh * sh;
                               return true;
                           });
    return true;
}

} // namespace KVProj
