// Hotine Oblique Mercator, sphere or ellipsoid. Snyder chapter 9, ellipsoidal
// formulas (the sphere is the same projection with e = 0: B = 1, A = R k0).
//
// The central line is given either by its centre and azimuth (bUseAlpha: centre
// latitude Lat0, centre longitude Lon1, azimuth Alpha east of north) or by two
// points on it (Lat1, Lon1) and (Lat2, Lon2), with Lat0 the latitude of the
// centre. Grid coordinates (u, v) run along and across the central line; u is
// measured from the natural origin (where the central line meets the equator of
// the aposphere) or, with bUOffset, from the centre. bRotate turns (u, v) by the
// central azimuth into north-oriented (x, y); without it x = u and y = v.
//
// Points 90 degrees from the central line project to infinity. They fail, as
// does any |v| beyond the single-precision maximum, which stands in for an
// infinite coordinate throughout.
#include "projections/Figure.h"
#include "projections/ConformalLatitude.h"
#include "projections/AzimuthalFrame.h"
#include "projections/Modules.h"
#include "frame/Angles.h"

#include <cmath>

namespace KVProj {

namespace {

using azim::kFltEps;
using azim::kFltMax;

struct Hotine {
    bool ok;
    double e, A, B, E;   // Snyder 9-11, 9-12 and E of 9-15 / 9-36
    double lam0;         // longitude of the natural origin
    double sinG0, cosG0; // gamma0, azimuth of the central line at the natural origin
    double sinAc, cosAc; // alpha_c, azimuth at the centre (rotation angle)
    double uc;           // u of the centre, subtracted with bUOffset
    bool rotate;
    ConformalInverse inv;
};

// t of Snyder 9-13 (15-9 with e = 0 on the sphere).
inline double HotineT(double phi, double e) {
    return ConformalT(phi, std::sin(phi), e);
}

Hotine MakeHotine(const PROJDATA* d) {
    Hotine h{};
    h.rotate = d->bRotate;
    const Figure fig(d);
    h.e = fig.e;
    h.inv = ConformalInverse(h.e);
    const double e2 = fig.e2;
    const double phi0 = d->Lat0;
    const double sinP0 = std::sin(phi0), cosP0 = std::cos(phi0);
    if (std::fabs(cosP0) <= kFltEps) return h; // centre at a pole: no central line
    const double sgn0 = azim::Sign(sinP0);
    const double w0 = 1.0 - e2 * sinP0 * sinP0;
    h.B = std::sqrt(1.0 + e2 * std::pow(cosP0, 4) / (1.0 - e2));               // Snyder 9-11
    h.A = fig.a * h.B * d->K0 * std::sqrt(1.0 - e2) / w0;                      // Snyder 9-12
    const double t0 = HotineT(phi0, h.e);                                      // Snyder 9-13
    double D = h.B * std::sqrt(1.0 - e2) / (std::fabs(cosP0) * std::sqrt(w0)); // 9-14
    if (D < 1.0) D = 1.0; // rounding at the equator; F needs D >= 1
    const double root = std::sqrt(D * D - 1.0);
    const double F = D + sgn0 * root; // Snyder 9-35
    h.E = F * std::pow(t0, h.B);      // 9-15 / 9-36
    double gamma0, alphaC;
    if (d->bUseAlpha) {
        alphaC = d->Alpha;
        const double G = (F - 1.0 / F) / 2.0; // Snyder 9-19
        const double sg = std::sin(alphaC) / D;
        if (std::fabs(sg) > 1.0) return h;
        gamma0 = std::asin(sg); // Snyder 9-37
        const double sl = G * std::tan(gamma0);
        if (std::fabs(sl) > 1.0) return h;
        h.lam0 = d->Lon1 - std::asin(sl) / h.B; // Snyder 9-38
    } else {
        const double lam1 = d->Lon1;
        double lam2 = d->Lon2;
        if (lam1 - lam2 > kPi) lam2 += kTwoPi; // the shorter way round
        if (lam1 - lam2 < -kPi) lam2 -= kTwoPi;
        const double t1 = HotineT(d->Lat1, h.e), t2 = HotineT(d->Lat2, h.e);
        const double H = std::pow(t1, h.B), L = std::pow(t2, h.B); // Snyder 9-16, 9-17
        if (!(H > 0.0) || !(L > 0.0)) return h;
        const double Fp = h.E / H;                                  // Snyder 9-18
        const double G = (Fp - 1.0 / Fp) / 2.0;                     // Snyder 9-19
        const double J = (h.E * h.E - L * H) / (h.E * h.E + L * H); // Snyder 9-20
        const double P = (L - H) / (L + H);                         // Snyder 9-21
        if (P == 0.0 || G == 0.0) return h; // points symmetric about the centre
        h.lam0 = (lam1 + lam2) / 2.0 -
                 std::atan(J * std::tan(h.B * (lam1 - lam2) / 2.0) / P) / h.B; // Snyder 9-22
        gamma0 = std::atan(std::sin(h.B * (lam1 - h.lam0)) / G);               // Snyder 9-23
        const double sa = D * std::sin(gamma0);
        if (std::fabs(sa) > 1.0) return h;
        alphaC = std::asin(sa); // Snyder 9-24
    }
    h.sinG0 = std::sin(gamma0);
    h.cosG0 = std::cos(gamma0);
    h.sinAc = std::sin(alphaC);
    h.cosAc = std::cos(alphaC);
    // u of the centre; EPSG guidance note 7-2 writes it with atan2 so that a
    // central azimuth past 90 degrees keeps its quadrant.
    h.uc = d->bUOffset ? std::fabs(h.A / h.B * std::atan2(root, h.cosAc)) * sgn0 : 0.0;
    h.ok = std::isfinite(h.A) && std::isfinite(h.E) && std::isfinite(h.lam0) && h.A != 0.0;
    return h;
}

bool ForwardPoint(const Hotine& h, PROJPOINT& p) {
    const double phi = p.y;
    const double bdl = h.B * (p.x - h.lam0);
    double u, v;
    if (std::fabs(std::fabs(phi) - kHalfPi) <= kFltEps) {
        // At a pole Q is infinite; the limits are Snyder's pole formulas.
        const double s = azim::Sign(phi);
        v = h.A / h.B * std::log(std::tan(kQuarterPi - s * std::asin(h.sinG0) / 2.0));
        u = h.A * phi / h.B;
    } else {
        const double t = HotineT(phi, h.e); // Snyder 9-13
        if (!(t > 0.0)) return false;
        const double Q = h.E / std::pow(t, h.B); // Snyder 9-25
        if (!(Q > 0.0) || !(Q < kFltMax)) return false;
        const double S = (Q - 1.0 / Q) / 2.0;                       // Snyder 9-26
        const double T = (Q + 1.0 / Q) / 2.0;                       // Snyder 9-27
        const double V = std::sin(bdl);                             // Snyder 9-28
        const double U = (-V * h.cosG0 + S * h.sinG0) / T;          // Snyder 9-29
        if (std::fabs(std::fabs(U) - 1.0) <= kFltEps) return false; // 90 degrees off the line
        v = h.A * std::log((1.0 - U) / (1.0 + U)) / (2.0 * h.B);    // Snyder 9-30
        u = h.A * std::atan2(S * h.cosG0 + V * h.sinG0, std::cos(bdl)) / h.B; // Snyder 9-31
    }
    if (!(std::fabs(v) < kFltMax)) return false;
    u -= h.uc;
    if (h.rotate) {
        p.x = v * h.cosAc + u * h.sinAc; // Snyder ch. 9 rectified x (EPSG GN 7-2: E)
        p.y = u * h.cosAc - v * h.sinAc; // Snyder ch. 9 rectified y (EPSG GN 7-2: N)
    } else {
        p.x = u;
        p.y = v;
    }
    return true;
}

bool InversePoint(const Hotine& h, PROJPOINT& p) {
    double u, v;
    if (h.rotate) {
        v = p.x * h.cosAc - p.y * h.sinAc; // EPSG GN 7-2 Hotine reverse: v'
        u = p.y * h.cosAc + p.x * h.sinAc; // EPSG GN 7-2 Hotine reverse: u'
    } else {
        u = p.x;
        v = p.y;
    }
    u += h.uc;
    const double Qp = std::exp(-h.B * v / h.A); // EPSG GN 7-2 Hotine reverse: Q'
    if (!(Qp > 0.0) || !(Qp < kFltMax)) return false;
    const double Sp = (Qp - 1.0 / Qp) / 2.0;              // GN 7-2 reverse: S'
    const double Tp = (Qp + 1.0 / Qp) / 2.0;              // GN 7-2 reverse: T'
    const double bu = h.B * u / h.A;                      // the argument B u' / A of V'
    const double Vp = std::sin(bu);                       // GN 7-2 reverse: V'
    const double Up = (Vp * h.cosG0 + Sp * h.sinG0) / Tp; // GN 7-2 reverse: U'
    if (std::fabs(std::fabs(Up) - 1.0) <= kFltEps) {
        // On the line through the poles of the aposphere.
        p.x = h.lam0;
        p.y = azim::Sign(Up) * kHalfPi;
        return true;
    }
    const double t =
        std::pow(h.E / std::sqrt((1.0 + Up) / (1.0 - Up)), 1.0 / h.B); // GN 7-2 reverse: t'
    if (!(t >= 0.0) || !std::isfinite(t)) return false;
    const double chi = kHalfPi - 2.0 * std::atan(t); // Snyder 7-13
    p.y = h.inv.Phi(chi);                            // Snyder 3-5 (for 7-9)
    p.x = h.lam0 -
          std::atan2(Sp * h.cosG0 - Vp * h.sinG0, std::cos(bu)) / h.B; // GN 7-2 reverse: lambda
    return true;
}

} // namespace

bool HotineForward(const PROJDATA* data, PROJPOINT* points, int count) {
    KV_MODULE_CHECK_ARGS(data, points, count);
    const Hotine h = MakeHotine(data);
    ForEachPoint(points, count, [&](PROJPOINT& p) { return h.ok && ForwardPoint(h, p); });
    return true;
}

bool HotineInverse(const PROJDATA* data, PROJPOINT* points, int count) {
    KV_MODULE_CHECK_ARGS(data, points, count);
    const Hotine h = MakeHotine(data);
    azim::ForEachInverse(points, count, [&](PROJPOINT& p) { return h.ok && InversePoint(h, p); });
    return true;
}

} // namespace KVProj
