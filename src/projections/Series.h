// Fast series of the projection modules: sines of multiple angles, the
// meridional arc and its footpoint inverse (Snyder, "Map Projections: A
// Working Manual", USGS Professional Paper 1395, 1987), and short Taylor
// forms of atanh, exp and of rotating a sine/cosine pair, each with the
// argument range inside which its truncation error is stated. Outside those
// ranges every function falls back to the library call.
//
// The per-point functions take the sine and cosine the caller already has and
// form sin 2x .. sin 8x by the double-angle identities rather than by further
// calls (the same values to a few units in the last place).
#ifndef KVPROJ_PROJECTIONS_SERIES_H
#define KVPROJ_PROJECTIONS_SERIES_H

#include <cmath>

namespace KVProj {

// sin 2x, sin 4x, sin 6x, sin 8x from sin x and cos x.
struct SinMultiples {
    double s2, s4, s6, s8;
};
inline SinMultiples SinesOfMultiples(double s, double c) {
    const double s2 = 2.0 * s * c, c2 = (c - s) * (c + s);
    const double s4 = 2.0 * s2 * c2, c4 = (c2 - s2) * (c2 + s2);
    return {s2, s4, s4 * c2 + c4 * s2, 2.0 * s4 * c4};
}

// Meridional arc M(phi), Snyder 3-21 (series to e^6); powers of e by pow().
struct MeridianArc {
    double a = 0.0;                                // semi-major axis
    double c0 = 1.0, c2 = 0.0, c4 = 0.0, c6 = 0.0; // of phi, sin 2phi, sin 4phi, sin 6phi
    double invAc0 = 0.0;                           // 1 / (a c0), for Mu

    MeridianArc() = default; // the sphere of radius 0; assign a real one before use
    MeridianArc(double a_, double e) : a(a_) {
        const double e2 = std::pow(e, 2), e4 = std::pow(e, 4), e6 = std::pow(e, 6);
        c0 = 1.0 - e2 / 4.0 - 3.0 * e4 / 64.0 - 5.0 * e6 / 256.0;
        c2 = 3.0 * e2 / 8.0 + 3.0 * e4 / 32.0 + 45.0 * e6 / 1024.0;
        c4 = 15.0 * e4 / 256.0 + 45.0 * e6 / 1024.0;
        c6 = 35.0 * e6 / 3072.0;
        invAc0 = 1.0 / (a * c0);
    }
    double At(double phi, double sinPhi, double cosPhi) const {
        const SinMultiples m = SinesOfMultiples(sinPhi, cosPhi);
        return a * (c0 * phi - c2 * m.s2 + c4 * m.s4 - c6 * m.s6);
    }
    double At(double phi) const { return At(phi, std::sin(phi), std::cos(phi)); }
    // The rectifying latitude mu of an arc length M (Snyder 7-19).
    double Mu(double m) const { return m * invAc0; }
};

// Footpoint latitude from the rectifying latitude, Snyder 3-26 with its
// e1^4 sin 8mu term; e1 = (1 - sqrt(1 - e^2)) / (1 + sqrt(1 - e^2)) (3-24).
struct Footpoint {
    double d2 = 0.0, d4 = 0.0, d6 = 0.0, d8 = 0.0;

    Footpoint() = default; // the sphere: footpoint latitude = rectifying latitude
    explicit Footpoint(double e) {
        const double r = std::sqrt(1.0 - e * e);
        const double e1 = (1.0 - r) / (1.0 + r);
        const double e1_2 = std::pow(e1, 2), e1_3 = std::pow(e1, 3), e1_4 = std::pow(e1, 4);
        d2 = 3.0 * e1 / 2.0 - 27.0 * e1_3 / 32.0;
        d4 = 21.0 * e1_2 / 16.0 - 55.0 * e1_4 / 32.0;
        d6 = 151.0 * e1_3 / 96.0;
        d8 = 1097.0 * e1_4 / 512.0;
    }
    double Phi(double mu) const {
        const SinMultiples m = SinesOfMultiples(std::sin(mu), std::cos(mu));
        return mu + d2 * m.s2 + d4 * m.s4 + d6 * m.s6 + d8 * m.s8;
    }
    // The footpoint latitude with its sine and cosine. The correction to mu is
    // small (under 0.003 rad on terrestrial ellipsoids), so sin and cos of
    // mu + delta come from those of mu by the addition theorem with short
    // Taylor series for delta, instead of two further library calls.
    double Phi(double mu, double* sinPhi, double* cosPhi) const {
        const double sm = std::sin(mu), cm = std::cos(mu);
        const SinMultiples m = SinesOfMultiples(sm, cm);
        const double delta = d2 * m.s2 + d4 * m.s4 + d6 * m.s6 + d8 * m.s8;
        const double phi = mu + delta;
        if (std::fabs(delta) < 0.01) {
            const double q = delta * delta;
            const double sd =
                delta * (1.0 - q * (1.0 / 6) * (1.0 - q * (1.0 / 20) * (1.0 - q * (1.0 / 42))));
            const double cd = 1.0 - q * 0.5 * (1.0 - q * (1.0 / 12) * (1.0 - q * (1.0 / 30)));
            *sinPhi = sm * cd + cm * sd;
            *cosPhi = cm * cd - sm * sd;
        } else {
            *sinPhi = std::sin(phi);
            *cosPhi = std::cos(phi);
        }
        return phi;
    }
};

// atanh x by its Taylor series for |x| <= 0.1, which covers e sin phi on
// every terrestrial ellipsoid (truncation below 1e-19 relative), evaluated
// in Estrin's scheme for a short dependency chain; larger arguments go to
// the library function.
inline double AtanhSmall(double x) {
    if (!(std::fabs(x) <= 0.1)) return std::atanh(x);
    const double x2 = x * x, x4 = x2 * x2, x8 = x4 * x4;
    const double p01 = 1.0 + x2 * (1.0 / 3), p23 = 1.0 / 5 + x2 * (1.0 / 7);
    const double p45 = 1.0 / 9 + x2 * (1.0 / 11), p67 = 1.0 / 13 + x2 * (1.0 / 15);
    const double lo = p01 + x4 * p23, hi = p45 + x4 * p67;
    return x * (lo + x8 * (hi + x8 * (1.0 / 17)));
}

// exp z; by its Taylor series to z^7 (Estrin's scheme) for |z| <= 0.01, where
// the truncation is below 3e-21, else by the library function.
inline double ExpSmall(double z) {
    if (!(std::fabs(z) <= 0.01)) return std::exp(z);
    const double z2 = z * z, z4 = z2 * z2;
    const double p01 = 1.0 + z, p23 = 0.5 + z * (1.0 / 6);
    const double p45 = 1.0 / 24 + z * (1.0 / 120), p67 = 1.0 / 720 + z * (1.0 / 5040);
    return (p01 + z2 * p23) + z4 * (p45 + z2 * p67);
}

// Sine and cosine of phi - d from those of phi (*s, *c on entry). The
// corrections of a converging iteration soon fall below 0.01 rad, where short
// series for sin d and cos d (truncation below 1e-20) and the addition theorem
// replace two library calls.
inline void SinCosStep(double phi, double d, double* s, double* c) {
    if (!(std::fabs(d) < 0.01)) {
        *s = std::sin(phi - d);
        *c = std::cos(phi - d);
        return;
    }
    const double q = d * d;
    const double sd = d * (1.0 - q * (1.0 / 6) * (1.0 - q * (1.0 / 20) * (1.0 - q * (1.0 / 42))));
    const double cd = 1.0 - q * 0.5 * (1.0 - q * (1.0 / 12) * (1.0 - q * (1.0 / 30)));
    const double s0 = *s, c0 = *c;
    *s = s0 * cd - c0 * sd;
    *c = c0 * cd + s0 * sd;
}

// Sine and cosine of t + d from those of t: the Newton steps of the world
// projections shrink fast, and for a step of at most half a radian the
// rotation by d costs a few multiplications where a fresh sine and cosine
// cost a library call. The series for sin d (to d^15) and cos d - 1 (to d^16)
// leave less than 1e-19 out at that size; each rotation adds an ulp or two to
// the pair, so a dozen steps stay within 3e-15 of sin(t + d) and cos(t + d).
// Larger steps, and non-finite ones, are evaluated afresh.
constexpr double kRotateLimit = 0.5;

inline void AdvanceSinCos(double tNew, double d, double* sinT, double* cosT) {
    if (!(std::fabs(d) <= kRotateLimit)) {
        *sinT = std::sin(tNew);
        *cosT = std::cos(tNew);
        return;
    }
    const double z = d * d;
    const double sinD =
        d +
        d * z *
            (-1.0 / 6 +
             z * (1.0 / 120 +
                  z * (-1.0 / 5040 + z * (1.0 / 362880 + z * (-1.0 / 39916800 +
                                                              z * (1.0 / 6227020800 +
                                                                   z * (-1.0 / 1307674368000)))))));
    const double cosDm1 =
        z * (-0.5 + z * (1.0 / 24 +
                         z * (-1.0 / 720 +
                              z * (1.0 / 40320 + z * (-1.0 / 3628800 +
                                                      z * (1.0 / 479001600 +
                                                           z * (-1.0 / 87178291200 +
                                                                z * (1.0 / 20922789888000))))))));
    const double s = *sinT, c = *cosT;
    *sinT = s + (s * cosDm1 + c * sinD);
    *cosT = c + (c * cosDm1 - s * sinD);
}

} // namespace KVProj

#endif
