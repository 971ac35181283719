// The figure of the earth as every module's set-up takes it from the record:
// semi-major axis, eccentricity and its square, and whether it is a sphere.
// Built once per call; Snyder's symbols (a, e, e^2).
#ifndef KVPROJ_PROJECTIONS_FIGURE_H
#define KVPROJ_PROJECTIONS_FIGURE_H

#include "kvproj/projdata.h"

#include <cmath>

namespace KVProj {

// First eccentricity from the flattening: e^2 = 2f - f^2.
inline double Eccentricity(double f) {
    return std::sqrt(2.0 * f - f * f);
}

struct Figure {
    double a = 0.0;     // semi-major axis (the radius of a sphere), MajorRadius
    double f = 0.0;     // flattening
    double e = 0.0;     // first eccentricity, sqrt(2f - f^2); 0 on the sphere
    double e2 = 0.0;    // e * e
    bool sphere = true; // f == 0

    Figure() = default;
    explicit Figure(const PROJDATA* d)
        : a(d->MajorRadius), f(d->Flattening), e(d->Flattening == 0.0 ? 0.0 : Eccentricity(f)),
          e2(e * e), sphere(d->Flattening == 0.0) {}
};

// Snyder 14-15: m = cos phi / sqrt(1 - e^2 sin^2 phi); the caller has checked
// that the radicand is positive.
inline double ParallelRadiusFactor(double cosPhi, double sinPhi, double e2) {
    return cosPhi / std::sqrt(1.0 - e2 * sinPhi * sinPhi);
}

// Polar coordinates of a map point about the apex of a cone with constant n
// and origin radius rho0 (Snyder 14-10, 14-11): rho carries the sign of n,
// so that a southern cone comes back through the same formulas.
inline void ConePolar(double n, double rho0, double x, double y, double* rho, double* theta) {
    const double dy = rho0 - y;
    *rho = std::sqrt(x * x + dy * dy);
    if (n < 0.0) {
        *rho = -*rho;
        *theta = std::atan2(-x, -dy);
    } else {
        *theta = std::atan2(x, dy);
    }
}

// A point on a cone from its radius rho (Snyder 14-1, 14-2): x = rho sin theta,
// y = rho0 - rho cos theta with theta = n (lambda - lambda0), deliberately not
// wrapped (350 degrees stay 350).
inline void PlaceOnCone(double n, double lam0, double rho0, double rho, PROJPOINT& p) {
    const double theta = n * (p.x - lam0);
    p.x = rho * std::sin(theta);
    p.y = rho0 - rho * std::cos(theta);
}

} // namespace KVProj

#endif
