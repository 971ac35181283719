// Bonne, sphere or ellipsoid, standard parallel Lat1, central meridian Lon0.
// Snyder chapter 19. Equal-area; parallels are concentric arcs about the apex
// of the cone tangent at Lat1, true to scale along each parallel and along the
// central meridian. A standard parallel on the equator would be the Sinusoidal
// and is refused: every point fails.
#include "projections/Figure.h"
#include "projections/Series.h"
#include "projections/AzimuthalFrame.h"
#include "projections/Modules.h"
#include "frame/Angles.h"

#include <cmath>

namespace KVProj {

namespace {

struct Bonne {
    bool ok;
    Figure fig;
    double lam0, phi1;
    double apex; // distance of the origin from the apex: R cot phi1, or a m1 / sin phi1
    double arc1; // M(phi1) (R phi1 on the sphere)
    double sgn;  // sign of phi1, which fixes the side of the apex
    MeridianArc arc;
    Footpoint foot;
};

Bonne MakeBonne(const PROJDATA* d) {
    Bonne b{};
    b.fig = Figure(d);
    b.lam0 = d->Lon0;
    b.phi1 = d->Lat1;
    b.sgn = azim::Sign(b.phi1);
    b.arc = MeridianArc(b.fig.a, b.fig.e);
    b.foot = Footpoint(b.fig.e);
    const double s1 = std::sin(b.phi1), c1 = std::cos(b.phi1);
    if (s1 == 0.0 || !(b.fig.a > 0.0)) return b;
    if (b.fig.e == 0.0) {
        b.apex = b.fig.a * c1 / s1; // R cot phi1, Snyder 19-1 and 19-4
        b.arc1 = b.fig.a * b.phi1;
    } else {
        // a m1 / sin phi1, Snyder 19-8, 19-10
        b.apex = b.fig.a * ParallelRadiusFactor(c1, s1, b.fig.e2) / s1;
        b.arc1 = b.arc.At(b.phi1); // Snyder 3-21
    }
    b.ok = true;
    return b;
}

inline double Arc(const Bonne& b, double phi, double s, double c) {
    return b.fig.e == 0.0 ? b.fig.a * phi : b.arc.At(phi, s, c);
}

bool ForwardPoint(const Bonne& b, PROJPOINT& p) {
    const double phi = p.y, dLam = p.x - b.lam0;
    const double s = std::sin(phi), c = std::cos(phi);
    const double rho = b.apex + b.arc1 - Arc(b, phi, s, c); // Snyder 19-1 / 19-8
    // Length of the parallel's arc from the central meridian: R cos phi dLam, or a m dLam.
    const double arcLen =
        b.fig.e == 0.0 ? b.fig.a * c * dLam : b.fig.a * ParallelRadiusFactor(c, s, b.fig.e2) * dLam;
    if (rho == 0.0) { // the apex itself: the pole on the side of phi1
        p.x = 0.0;
        p.y = b.apex;
        return true;
    }
    const double E = arcLen / rho;    // Snyder 19-2 / 19-9
    p.x = rho * std::sin(E);          // Snyder 19-3
    p.y = b.apex - rho * std::cos(E); // Snyder 19-4
    return true;
}

bool InversePoint(const Bonne& b, PROJPOINT& p) {
    const double x = p.x, dy = b.apex - p.y;
    const double rho = b.sgn * std::sqrt(x * x + dy * dy); // Snyder 19-5 / 19-11
    double phi, s, c;
    if (b.fig.e == 0.0) {
        phi = (b.apex + b.arc1 - rho) / b.fig.a; // Snyder 19-6
        s = std::sin(phi);
        c = std::cos(phi);
    } else {
        const double m = b.apex + b.arc1 - rho; // Snyder 19-12
        phi = b.foot.Phi(b.arc.Mu(m), &s, &c);  // Snyder 7-19, 3-26
        // 3-26 inverts the untruncated arc; two Newton steps on the e^6 series
        // that the forward uses make the pair agree to rounding (the slope is the
        // meridian's radius of curvature, Snyder 4-18). The steps are tiny, so
        // sin and cos follow them without library calls.
        for (int i = 0; i < 2 && std::fabs(phi) < kHalfPi; ++i) {
            const double w = 1.0 - b.fig.e2 * s * s;
            const double d =
                (b.arc.At(phi, s, c) - m) / (b.fig.a * (1.0 - b.fig.e2) / (w * std::sqrt(w)));
            SinCosStep(phi, d, &s, &c);
            phi -= d;
        }
    }
    if (!(std::fabs(phi) <= kHalfPi + 1e-12)) return false; // beyond a pole
    if (std::fabs(phi) > kHalfPi) {
        phi = azim::Sign(phi) * kHalfPi;
        s = azim::Sign(phi);
        c = 0.0;
    }
    const double radius =
        b.fig.e == 0.0 ? b.fig.a * c : b.fig.a * ParallelRadiusFactor(c, s, b.fig.e2);
    double lam;
    if (radius <= 0.0 || std::fabs(std::fabs(phi) - kHalfPi) <= 1e-12) {
        lam = b.lam0; // a pole: every longitude, take the central meridian
    } else {
        lam = b.lam0 + rho * std::atan2(b.sgn * x, b.sgn * dy) / radius; // 19-7 / 19-13
    }
    if (!(std::fabs(lam - b.lam0) <= kPi + 1e-9)) return false; // outside the map's outline
    p.x = lam;
    p.y = phi;
    return true;
}

} // namespace

bool BonneForward(const PROJDATA* data, PROJPOINT* points, int count) {
    KV_MODULE_CHECK_ARGS(data, points, count);
    const Bonne b = MakeBonne(data);
    ForEachPoint(points, count, [&](PROJPOINT& p) { return b.ok && ForwardPoint(b, p); });
    return true;
}

bool BonneInverse(const PROJDATA* data, PROJPOINT* points, int count) {
    KV_MODULE_CHECK_ARGS(data, points, count);
    const Bonne b = MakeBonne(data);
    azim::ForEachInverse(points, count, [&](PROJPOINT& p) { return b.ok && InversePoint(b, p); });
    return true;
}

} // namespace KVProj
