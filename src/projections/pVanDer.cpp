// Van der Grinten (I), sphere only. Forward Snyder 29-1 to 29-9; inverse by
// the trigonometric solution of the cubic, 29-10 to 29-17.
#include "projections/Figure.h"
#include "projections/AngleWrap.h"
#include "projections/Modules.h"
#include "frame/Angles.h"
#include "projections/ProjModule.h"

#include <cmath>

namespace KVProj {
namespace {

constexpr double kEquatorBand = 4.76837158203125e-7; // four single-precision epsilons
constexpr double kCentralBand = 1.1920928955078125e-7;
constexpr double kThird = 0.3333333333333333;
constexpr double kPiOver3 = 1.0471975511965976;

bool ForwardPoint(double r, double lam0, PROJPOINT& p) {
    const double lam = p.x, phi = p.y;
    if (std::fabs(phi) <= kEquatorBand) {
        p.x = (lam - lam0) * r; // the raw difference: no wrap on the equator
        p.y = 0.0;
        return true;
    }
    // theta = asin(v) (29-4), non-negative; the sign is applied at the end.
    const double v = std::fmin(std::fabs(2.0 * phi / kPi), 1.0);
    if (std::fabs(phi) == kHalfPi || lam == lam0) {
        const double y = kPi * r * std::tan(std::asin(v) / 2.0);
        p.x = 0.0;
        p.y = phi < 0.0 ? -y : y;
        return true;
    }
    const double dLam = WrapOnce(lam - lam0); // whatever the host's flag says
    // sin(asin v) and cos(asin v) without the round trip through the angle.
    const double s = v, c = std::sqrt((1.0 - v) * (1.0 + v));
    if (c + s - 1.0 == 0.0) return false;
    const double g = c / (s + c - 1.0); // 29-5
    if (s - 1.0 == 0.0) return false;
    const double pp = g * (2.0 / s - 1.0);                     // 29-6
    if (dLam == 0.0) return false;                             // a whole turn away from lam0
    const double a = 0.5 * std::fabs(kPi / dLam - dLam / kPi); // 29-3
    const double a2 = a * a, p2 = pp * pp;
    const double q = a2 + g; // 29-7
    const double den = a2 + p2;
    if (den == 0.0) return false;
    const double gp = g - p2;
    // The radicands of 29-1 and 29-2, D = (G - P^2)^2 A^2 - (G^2 - P^2)(A^2 + P^2)
    // and E = (A^2 + P^2)(A^2 + 1) - Q^2, are differences of terms in A^4 that
    // cancel; near the central meridian A grows without bound and the direct
    // forms lose every digit (y wrong by 0.5 R at 1e-6 degrees off the meridian).
    // Expanded, E = A^2 (1 + P^2 - 2G) + P^2 - G^2 and D = P^2 E exactly.
    const double e = a2 * (1.0 + p2 - 2.0 * g) + (p2 - g * g);
    const double d = p2 * e;
    if (d < 0.0) return false;
    const double x = kPi * r * (a * gp + std::sqrt(d)) / den; // 29-1
    if (e < 0.0) return false;
    const double y = kPi * r * (pp * q - a * std::sqrt(e)) / den; // 29-2
    p.x = dLam < 0.0 ? -x : x;
    p.y = phi < 0.0 ? -y : y;
    return true;
}

bool InversePoint(double r, double lam0, PROJPOINT& p) {
    const double xn = p.x / (kPi * r), yn = p.y / (kPi * r); // 29-10, 29-11
    const double x2 = xn * xn, y2 = yn * yn, rr = x2 + y2;
    const double c1 = -std::fabs(yn) * (1.0 + rr); // 29-12
    const double c2 = c1 - 2.0 * y2 + x2;
    const double c3 = -2.0 * c1 + 1.0 + 2.0 * y2 + rr * rr;
    if (c3 == 0.0) return false;
    const double d =
        y2 / c3 + (2.0 * c2 * c2 * c2 / (c3 * c3 * c3) - 9.0 * c1 * c2 / (c3 * c3)) / 27.0;
    const double a1 = (c1 - c2 * c2 / (3.0 * c3)) / c3; // 29-13
    const double m1 = 2.0 * std::sqrt(-a1 / 3.0);
    // At the origin r is 0/0; taking it as 1 gives the origin's latitude 0.
    double rc = 3.0 * d / (a1 * m1);
    if (!(rc <= 1.0))
        rc = 1.0;
    else if (rc < -1.0)
        rc = -1.0;
    const double theta1 = std::acos(rc) * kThird;                             // 29-16
    double phi = kPi * (-m1 * std::cos(theta1 + kPiOver3) - c2 / (3.0 * c3)); // 29-17
    if (p.y < 0.0) phi = -phi;
    double lam = lam0;
    if (std::fabs(xn) > kCentralBand) {
        const double t = rr * rr + 2.0 * (x2 - y2) + 1.0;
        // Outside the circle of the world the longitude has no solution; the
        // point is handed back as it came, and not counted as a failure.
        if (t < 0.0) return true;
        lam = kPi * (rr - 1.0 + std::sqrt(t)) / (2.0 * xn) + lam0;
    }
    if (lam > kPi)
        lam -= kTwoPi;
    else if (lam < -kPi)
        lam += kTwoPi;
    p.x = lam;
    p.y = phi;
    return true;
}

} // namespace

bool VanDerForward(const PROJDATA* data, PROJPOINT* points, int count) {
    KV_MODULE_CHECK_ARGS(data, points, count);
    const double r = Figure(data).a, lam0 = data->Lon0;
    ForEachPoint(points, count, [&](PROJPOINT& p) { return ForwardPoint(r, lam0, p); });
    return true;
}

bool VanDerInverse(const PROJDATA* data, PROJPOINT* points, int count) {
    KV_MODULE_CHECK_ARGS(data, points, count);
    const double r = Figure(data).a, lam0 = data->Lon0;
    ForEachPoint(points, count, [&](PROJPOINT& p) { return InversePoint(r, lam0, p); });
    return true;
}

} // namespace KVProj
