// Conversion between geodetic and geocentric coordinates on an ellipsoid.
#include "datum/kvDatum.h"

#include <cmath>

namespace KVProj {

// Longitude λ, sin φ, cos φ (height 0) to X, Y, Z: X = N cos φ cos λ,
// Y = N cos φ sin λ, Z = (1 - e²) N sin φ with N = a / sqrt(1 - e² sin² φ)
// (EPSG guidance note 7-2, method 9602).
void GeodeticToGeocentric(double lam, double sinPhi, double cosPhi, double a, double e2, double* X,
                          double* Y, double* Z) {
    const double N = a / std::sqrt(1.0 - e2 * sinPhi * sinPhi);
    *X = N * cosPhi * std::cos(lam);
    *Y = N * cosPhi * std::sin(lam);
    *Z = (1.0 - e2) * N * sinPhi;
}

void GeocentricToGeodetic(double X, double Y, double Z, double a, double f, double* lon,
                          double* lat) {
    const double p = std::sqrt(X * X + Y * Y);
    const double r = std::sqrt(p * p + Z * Z);
    const double e2 = (2.0 - f) * f;
    *lon = std::atan2(Y, X);
    // Bowring's parametric latitude u does not depend on the latitude being
    // sought, so the refinement reaches its fixed point in a single round; the
    // closed form below is that fixed point, bit for bit.
    const double t = ((1.0 - f) + e2 * a / r) * Z;
    const double h = std::sqrt(t * t + p * p);
    const double su = t / h, cu = p / h;
    *lat =
        std::atan2((1.0 - f) * Z + e2 * a * su * su * su, (1.0 - f) * (p - e2 * a * cu * cu * cu));
}

} // namespace KVProj
