// Gnomonic, spherical, centred on (Lat1, Lon0). Snyder chapter 22.
// Great circles are straight lines; the horizon (c = 90 degrees) is infinitely
// far, so points with cos c at or below 0.0001 (within about 0.006 degrees of
// the horizon, or beyond it) fail.
#include "projections/AzimuthalFrame.h"
#include "projections/Modules.h"

#include <cmath>

namespace KVProj {

namespace {
constexpr double kHorizonTolerance = 0.0001;
}

bool GnomForward(const PROJDATA* data, PROJPOINT* points, int count) {
    KV_MODULE_CHECK_ARGS(data, points, count);
    azim::ForwardAzimuthal(
        data, points, count, data->Lat1,
        [](const azim::AzimuthalFrame&, const azim::AzimuthalFrame::Terms& t, double* k) {
            if (t.cosC <= kHorizonTolerance) return false;
            *k = 1.0 / t.cosC; // Snyder 22-3
            return true;
        });
    return true;
}

bool GnomInverse(const PROJDATA* data, PROJPOINT* points, int count) {
    KV_MODULE_CHECK_ARGS(data, points, count);
    // c = atan(rho / R) (Snyder 22-16), its sine and cosine taken directly.
    azim::InverseAzimuthal(data, points, count, data->Lat1,
                           [](double q, double* sinC, double* cosC) {
                               const double sec = std::sqrt(1.0 + q * q);
                               *sinC = q / sec;
                               *cosC = 1.0 / sec;
                               return std::isfinite(sec);
                           });
    return true;
}

} // namespace KVProj
