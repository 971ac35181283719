// Orthographic, spherical, centred on (Lat0, Lon0). Snyder chapter 20.
// Only the hemisphere facing the viewer is shown. The module's hemisphere
// domain test takes cos c >= 0 from the degree values, this module from the
// radians the engine derives from them; the two differ by a few units of
// rounding, so the limb is drawn with a tolerance of 1e-12 (6 micrometres on
// the Earth) and every point the domain test admits lands on or inside the
// globe's outline.
#include "projections/AzimuthalFrame.h"
#include "projections/Modules.h"

#include <cmath>

namespace KVProj {

namespace {
constexpr double kLimbTolerance = 1e-12; // of cos c
}

bool OrthoForward(const PROJDATA* data, PROJPOINT* points, int count) {
    KV_MODULE_CHECK_ARGS(data, points, count);
    // Snyder 20-3, 20-4: k' = 1; beyond the limb is the far side of the globe.
    azim::ForwardAzimuthal(
        data, points, count, data->Lat0,
        [](const azim::AzimuthalFrame&, const azim::AzimuthalFrame::Terms& t, double* k) {
            *k = 1.0;
            return t.cosC >= -kLimbTolerance; // Snyder 5-3
        });
    return true;
}

bool OrthoInverse(const PROJDATA* data, PROJPOINT* points, int count) {
    KV_MODULE_CHECK_ARGS(data, points, count);
    azim::InverseAzimuthal(data, points, count, data->Lat0,
                           [](double q, double* sinC, double* cosC) {
                               // Outside the globe's outline; a rounding hair is let in.
                               if (!(q <= 1.0 + 1e-12)) return false;
                               const double s = q > 1.0 ? 1.0 : q; // Snyder 20-19
                               *sinC = s;
                               *cosC = std::sqrt((1.0 - s) * (1.0 + s)); // c <= 90 degrees
                               return true;
                           });
    return true;
}

} // namespace KVProj
