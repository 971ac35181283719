// Polyconic (American), sphere or ellipsoid, origin (Lat0, Lon0). Snyder
// chapter 18. Every parallel is the arc of its own tangent cone; the central
// meridian is true to scale. The inverse is Snyder's Newton-Raphson iteration.
#include "projections/AzimMath.h"
#include "projections/AzimModules.h"

#include <cmath>

namespace KVProj {

namespace {

constexpr double kPhiTolerance = 1e-12; // radians, about 6 micrometres on the Earth
constexpr int kMaxSteps = 40;

struct Polycon {
    double a, e, e2;
    double lam0, phi0;
    MeridianArc arc;
    double m0; // meridional arc to the origin latitude
    bool wrap;
};

Polycon MakePolycon(const PROJDATA* d) {
    Polycon c{};
    c.a = d->MajorRadius;
    c.e = d->Flattening == 0.0 ? 0.0 : Eccentricity(d->Flattening);
    c.e2 = c.e * c.e;
    c.lam0 = d->Lon0;
    c.phi0 = d->Lat0;
    c.arc = MeridianArc(c.a, c.e);
    c.m0 = c.e == 0.0 ? c.a * c.phi0 : c.arc.At(c.phi0); // Snyder 3-21
    c.wrap = d->bWrapLon;
    return c;
}

bool ForwardPoint(const Polycon& c, PROJPOINT& p) {
    double dLam = p.x - c.lam0;
    if (c.wrap) dLam = azim::WrapOnce(dLam);
    const double phi = p.y;
    if (phi == 0.0) {
        p.x = c.a * dLam; // Snyder 18-1 / 18-10
        p.y = -c.m0;      // Snyder 18-2 / 18-11
        return true;
    }
    const double sinPhi = std::sin(phi), cosPhi = std::cos(phi);
    const double E = dLam * sinPhi;                                 // Snyder 18-3
    const double n = c.a / std::sqrt(1.0 - c.e2 * sinPhi * sinPhi); // Snyder 4-20
    const double ncot = n * cosPhi / sinPhi;
    const double m = c.e == 0.0 ? c.a * phi : c.arc.At(phi, sinPhi, cosPhi); // Snyder 3-21
    p.x = ncot * std::sin(E);                                                // Snyder 18-4 / 18-12
    p.y = m - c.m0 + ncot * (1.0 - std::cos(E));                             // Snyder 18-5 / 18-13
    return true;
}

// M(phi) / a and its derivative with respect to phi (Snyder 18-20, 18-21).
inline void ArcAndSlope(const Polycon& c, double phi, double* ma, double* dma) {
    if (c.e == 0.0) {
        *ma = phi;
        *dma = 1.0;
        return;
    }
    const MeridianArc& k = c.arc;
    *ma = k.At(phi) / c.a;
    *dma = k.c0 - 2.0 * k.c2 * std::cos(2.0 * phi) + 4.0 * k.c4 * std::cos(4.0 * phi) -
           6.0 * k.c6 * std::cos(6.0 * phi);
}

// Snyder's Newton function for the latitude (numerator of 18-22, or 18-8 on the
// sphere) and its derivative term (the denominator); false where tan phi or
// sin 2 phi vanishes.
bool NewtonTerms(const Polycon& c, double A, double B, double phi, double* num, double* den) {
    const double sinPhi = std::sin(phi);
    if (std::fabs(std::cos(phi)) < 1e-15 || sinPhi == 0.0) return false;
    const double C = std::sqrt(1.0 - c.e2 * sinPhi * sinPhi) * std::tan(phi); // Snyder 18-20
    double ma, dma;
    ArcAndSlope(c, phi, &ma, &dma);
    const double s2 = std::sin(2.0 * phi);
    *num = A * (C * ma + 1.0) - ma - 0.5 * (ma * ma + B) * C;
    *den = c.e2 * s2 * (ma * ma + B - 2.0 * A * ma) / (4.0 * C) + (A - ma) * (C * dma - 2.0 / s2) -
           dma;
    return std::isfinite(*num) && std::isfinite(*den);
}

bool InversePoint(const Polycon& c, PROJPOINT& p) {
    const double x = p.x, y = p.y;
    if (y == -c.m0) {
        p.x = x / c.a + c.lam0; // Snyder 18-8 / 18-17 (on the equator)
        p.y = 0.0;
        return true;
    }
    const double A = (c.m0 + y) / c.a;            // Snyder 18-6 / 18-18
    const double B = x * x / (c.a * c.a) + A * A; // Snyder 18-7 / 18-19
    // Snyder starts at phi = A. Far from the central meridian the plain Newton
    // step overshoots past the poles, so each step is halved until it stays
    // inside them and does not increase the residual.
    const double lim = kHalfPi - 1e-9;
    double phi = std::fabs(A) < lim ? A : azim::Sign(A) * lim;
    bool converged = false;
    for (int step = 0; step < kMaxSteps && !converged; ++step) {
        double num, den;
        if (!NewtonTerms(c, A, B, phi, &num, &den) || den == 0.0) return false;
        double d = num / den; // Snyder 18-22 (18-8 on the sphere)
        double next = phi - d;
        for (int halving = 0; halving < 60; ++halving) {
            double n2, d2;
            if (std::fabs(next) < kHalfPi && NewtonTerms(c, A, B, next, &n2, &d2) &&
                std::fabs(n2) <= std::fabs(num))
                break;
            d /= 2.0;
            next = phi - d;
        }
        converged = std::fabs(next - phi) <= kPhiTolerance;
        phi = next;
    }
    if (!converged || !(std::fabs(phi) < kHalfPi)) return false;
    const double sinPhi = std::sin(phi);
    const double C = std::sqrt(1.0 - c.e2 * sinPhi * sinPhi) * std::tan(phi);
    const double arg = x * C / c.a;
    if (std::fabs(arg) > 1.0 + 1e-12) return false;       // no parallel arc reaches x
    p.x = std::asin(azim::Clamp1(arg)) / sinPhi + c.lam0; // Snyder 18-23 (18-9)
    p.y = phi;
    return true;
}

} // namespace

bool PolyconForward(PROJDATA* data, PROJPOINT* points, int count) {
    KV_MODULE_CHECK_ARGS(data, points, count);
    const Polycon c = MakePolycon(data);
    azim::ForEachPoint(data, points, count, [&](PROJPOINT& p) { return ForwardPoint(c, p); });
    return true;
}

bool PolyconInverse(PROJDATA* data, PROJPOINT* points, int count) {
    KV_MODULE_CHECK_ARGS(data, points, count);
    const Polycon c = MakePolycon(data);
    azim::ForEachInverse(data, points, count,
                         [&](PROJPOINT& p) { return c.a > 0.0 && InversePoint(c, p); });
    return true;
}

} // namespace KVProj
