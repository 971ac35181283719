// Polyconic (American), sphere or ellipsoid, origin (Lat0, Lon0). Snyder
// chapter 18. Every parallel is the arc of its own tangent cone; the central
// meridian is true to scale. The inverse is Snyder's Newton-Raphson iteration.
#include "projections/Figure.h"
#include "projections/Series.h"
#include "projections/AngleWrap.h"
#include "projections/AzimuthalFrame.h"
#include "projections/Modules.h"
#include "frame/Angles.h"

#include <cmath>

namespace KVProj {

namespace {

constexpr double kPhiTolerance = 1e-12; // radians, about 6 micrometres on the Earth
constexpr int kMaxSteps = 40;

struct Polycon {
    Figure fig;
    double lam0, phi0;
    MeridianArc arc;
    double m0; // meridional arc to the origin latitude
    bool wrap;
};

Polycon MakePolycon(const PROJDATA* d) {
    const Figure fig(d);
    const MeridianArc arc(fig.a, fig.e);
    const double m0 = fig.e == 0.0 ? fig.a * d->Lat0 : arc.At(d->Lat0); // Snyder 3-21
    return Polycon{fig, d->Lon0, d->Lat0, arc, m0, d->bWrapLon};
}

bool ForwardPoint(const Polycon& c, PROJPOINT& p) {
    double dLam = p.x - c.lam0;
    if (c.wrap) dLam = WrapOnce(dLam);
    const double phi = p.y;
    if (phi == 0.0) {
        p.x = c.fig.a * dLam; // Snyder 18-1 / 18-10
        p.y = -c.m0;          // Snyder 18-2 / 18-11
        return true;
    }
    const double sinPhi = std::sin(phi), cosPhi = std::cos(phi);
    const double E = dLam * sinPhi;                                         // Snyder 18-3
    const double n = c.fig.a / std::sqrt(1.0 - c.fig.e2 * sinPhi * sinPhi); // Snyder 4-20
    const double ncot = n * cosPhi / sinPhi;
    const double m = c.fig.e == 0.0 ? c.fig.a * phi : c.arc.At(phi, sinPhi, cosPhi); // Snyder 3-21
    const double sinE = std::sin(E), cosE = std::cos(E);
    // 1 - cos E as sin^2 E / (1 + cos E) while E is acute: near the equator E is
    // tiny and n cot phi huge, and the plain difference would lose its digits.
    const double versE = cosE > 0.0 ? sinE * sinE / (1.0 + cosE) : 1.0 - cosE;
    p.x = ncot * sinE;             // Snyder 18-4 / 18-12
    p.y = m - c.m0 + ncot * versE; // Snyder 18-5 / 18-13
    return true;
}

// Snyder's Newton function for the latitude (numerator of 18-22, 18-8 on the
// sphere, where the arc series reduces to phi) and its derivative. The
// denominator of 18-22 as printed agrees with the derivative only on the
// sphere and at 45 degrees (its e^2 term has C^2 where the derivative has
// 1 - e^2 sin^2 phi), which slows the ellipsoid to linear convergence; the
// exact derivative keeps Newton's quadratic rate and the same root.
struct NewtonTerms {
    double num, den;
};

// C of 18-20, sqrt(1 - e^2 sin^2 phi) tan phi.
inline double ParallelTerm(double e2, double s, double co) {
    return std::sqrt(1.0 - e2 * s * s) * s / co;
}

// From sin phi and cos phi: the multiple angles of the arc series and its
// slope come from the double- and sum-angle identities. With w^2 = 1 - e^2
// sin^2 phi, C' = (1 - e^2 sin^2 phi (1 + cos^2 phi)) / (w cos^2 phi). False
// where tan phi or sin 2 phi vanishes.
bool EvaluateNewton(const Polycon& c, double A, double B, double phi, double s, double co,
                    NewtonTerms* t) {
    if (std::fabs(co) < 1e-15 || s == 0.0) return false;
    const double s2 = 2.0 * s * co, c2 = (co - s) * (co + s);
    const double s4 = 2.0 * s2 * c2, c4 = (c2 - s2) * (c2 + s2);
    const double s6 = s4 * c2 + c4 * s2, c6 = c4 * c2 - s4 * s2;
    const MeridianArc& k = c.arc;
    const double ma = k.c0 * phi - k.c2 * s2 + k.c4 * s4 - k.c6 * s6;              // 3-21 over a
    const double dma = k.c0 - 2.0 * k.c2 * c2 + 4.0 * k.c4 * c4 - 6.0 * k.c6 * c6; // 18-21
    const double es2 = c.fig.e2 * s * s;
    const double invW = 1.0 / std::sqrt(1.0 - es2), invCos2 = 1.0 / (co * co);
    const double C = (1.0 - es2) * invW * s / co;                     // 18-20
    const double dC = (1.0 - es2 * (1.0 + co * co)) * invW * invCos2; // dC / dphi
    t->num = A * (C * ma + 1.0) - ma - 0.5 * (ma * ma + B) * C;
    t->den = dC * (A * ma - 0.5 * (ma * ma + B)) + dma * (C * (A - ma) - 1.0);
    return std::isfinite(t->num) && std::isfinite(t->den) && t->den != 0.0;
}

// Steps below this are taken whole: the residual there is within a few
// orders of rounding, and comparing residuals would halve a good step
// dozens of times.
constexpr double kWholeStep = 1e-9;
// A step this small is below the rounding of phi near 1 radian.
constexpr double kNextStep = 1e-16;

// Near the central meridian A = phi + (x/a)^2 tan(phi) / 2 to first order
// (1 - cos E ~ E^2 / 2 in 18-5); one Newton step on that relation from A lands
// between A and the latitude, which saves Snyder's iteration a step. |A| < pi/2.
inline double StartingLatitude(double A, double xa) {
    const double h = 0.5 * xa * xa;
    const double s = std::sin(A), c = std::cos(A);
    return A - h * s * c / (c * c + h);
}

struct Latitude {
    double phi, sinPhi, cosPhi;
};

// The latitude of (x, y) by Snyder's Newton-Raphson iteration, false when it
// does not converge.
bool SolveLatitude(const Polycon& c, double A, double B, double xa, Latitude* out) {
    // Snyder starts at phi = A. The latitude has the sign of A and lies
    // between 0 and about A (A a = M(phi) + N cot phi (1 - cos E), both terms
    // of the sign of phi), but far from the central meridian the plain Newton
    // step can overshoot across the equator, where the function has a pole, or
    // past a pole of the Earth. A large step is therefore halved until it
    // stays on A's side of the equator, inside the poles, and does not
    // increase the residual. The terms at the point taken serve the next step.
    const double lim = kHalfPi - 1e-9;
    double phi = std::fabs(A) < lim ? StartingLatitude(A, xa) : azim::Sign(A) * lim;
    double s = std::sin(phi), co = std::cos(phi);
    auto inside = [A](double v) { return v * A > 0.0 && std::fabs(v) < kHalfPi; };
    NewtonTerms t;
    if (!EvaluateNewton(c, A, B, phi, s, co, &t)) return false;
    double dPrev = 0.0; // no estimate of the rate before the first step
    for (int step = 0; step < kMaxSteps; ++step) {
        double d = t.num / t.den; // Snyder 18-22 (18-8 on the sphere), exact slope
        double next = phi - d;
        double sn = s, cn = co;
        SinCosStep(phi, d, &sn, &cn);
        // Converged when the step is negligible or, the rate being quadratic,
        // when the step after it would be: d^2 / dPrev^2 estimates the
        // contraction, so that step is about |d|^3 / dPrev^2.
        const double ad = std::fabs(d);
        if (ad <= kPhiTolerance || (ad <= 1e-6 && ad * ad * ad <= kNextStep * dPrev * dPrev)) {
            *out = {next, sn, cn};
            return inside(next);
        }
        NewtonTerms nt;
        bool ok = inside(next) && EvaluateNewton(c, A, B, next, sn, cn, &nt);
        for (int halving = 0; halving < 60; ++halving) {
            if (ok && (std::fabs(d) <= kWholeStep || std::fabs(nt.num) <= std::fabs(t.num))) break;
            d /= 2.0;
            next = phi - d;
            sn = s;
            cn = co;
            SinCosStep(phi, d, &sn, &cn);
            ok = inside(next) && EvaluateNewton(c, A, B, next, sn, cn, &nt);
        }
        if (!ok) return false;
        dPrev = std::fabs(d);
        phi = next;
        s = sn;
        co = cn;
        t = nt;
    }
    return false;
}

bool InversePoint(const Polycon& c, PROJPOINT& p) {
    const double x = p.x, y = p.y;
    if (y == -c.m0) {
        p.x = x / c.fig.a + c.lam0; // Snyder 18-8 / 18-17 (on the equator)
        p.y = 0.0;
        return true;
    }
    const double A = (c.m0 + y) / c.fig.a;                // Snyder 18-6 / 18-18
    const double B = x * x / (c.fig.a * c.fig.a) + A * A; // Snyder 18-7 / 18-19
    Latitude lat;
    if (!SolveLatitude(c, A, B, x / c.fig.a, &lat)) return false;
    const double arg = x * ParallelTerm(c.fig.e2, lat.sinPhi, lat.cosPhi) / c.fig.a;
    if (std::fabs(arg) > 1.0 + 1e-12) return false;        // no parallel arc reaches x
    p.x = std::asin(ClampUnit(arg)) / lat.sinPhi + c.lam0; // Snyder 18-23 (18-9)
    p.y = lat.phi;
    return true;
}

} // namespace

bool PolyconForward(const PROJDATA* data, PROJPOINT* points, int count) {
    KV_MODULE_CHECK_ARGS(data, points, count);
    const Polycon c = MakePolycon(data);
    ForEachPoint(points, count, [&](PROJPOINT& p) { return ForwardPoint(c, p); });
    return true;
}

bool PolyconInverse(const PROJDATA* data, PROJPOINT* points, int count) {
    KV_MODULE_CHECK_ARGS(data, points, count);
    const Polycon c = MakePolycon(data);
    azim::ForEachInverse(points, count,
                         [&](PROJPOINT& p) { return c.fig.a > 0.0 && InversePoint(c, p); });
    return true;
}

} // namespace KVProj
