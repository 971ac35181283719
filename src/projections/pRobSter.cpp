// Robinson-Sterling: Robinson's world projection from his published table of
// parallel lengths (X) and distances from the equator (Y) at every 5 degrees,
// interpolated by a central-difference formula of its own. Spherical, central
// meridian Lon0. x = 0.8487 R X (lambda - lambda0), y = 1.3523 R Y, with X and Y
// interpolated at |phi| (Robinson 1974; table and constants as in Snyder and
// Voxland, "An Album of Map Projections", USGS PP 1453, p. 82-83).
//
// Interpolation: Bessel's central-difference formula to third differences
// within each 5-degree band [phi_n, phi_n+1], p = (|phi| - phi_n) / 5 degrees:
//   f = f0 + p D1 + p (p - 1)/2 (D2(-1) + D2(0))/2 + p (p - 1)(p - 1/2)/6 D3(-1),
// which is the cubic through the two nodes either side of the band. It meets
// the table exactly at every node, so the map has no seams and the inverse can
// solve for the latitude on a continuous curve. Below the equator the table
// continues by the projection's own symmetry (X even, Y odd); the pole has no
// such symmetry, so the last band uses the cubic through 75..90 degrees.
//
// The inverse finds |phi| from Y by bisection on the interpolated curve, then
// lambda from X; points above the pole line or beyond the outline fail.
#include "projections/AzimMath.h"
#include "projections/AzimModules.h"

#include <cmath>

namespace KVProj {

namespace {

constexpr int kNodes = 19; // 0, 5, ..., 90 degrees
constexpr double kTableX[kNodes] = {1.0000, 0.9986, 0.9954, 0.9900, 0.9822, 0.9730, 0.9600,
                                    0.9427, 0.9216, 0.8962, 0.8679, 0.8350, 0.7986, 0.7597,
                                    0.7186, 0.6732, 0.6213, 0.5722, 0.5322};
constexpr double kTableY[kNodes] = {0.0000, 0.0620, 0.1240, 0.1860, 0.2480, 0.3100, 0.3720,
                                    0.4340, 0.4958, 0.5571, 0.6176, 0.6769, 0.7346, 0.7903,
                                    0.8435, 0.8936, 0.9394, 0.9761, 1.0000};
constexpr double kXScale = 0.8487;
constexpr double kYScale = 1.3523;
constexpr double kStepRad = 5.0 * kDegToRad;

// Table value at node k, continued by symmetry past the equator.
inline double NodeX(int k) {
    return kTableX[k < 0 ? -k : k];
}
inline double NodeY(int k) {
    return k < 0 ? -kTableY[-k] : kTableY[k];
}

// The cubic through nodes k0 .. k0 + 3 at position t (in node units), written
// in Bessel's form about the middle pair k0 + 1, k0 + 2.
template <double (*Node)(int)> double Bessel(int k0, double t) {
    const double fm1 = Node(k0), f0 = Node(k0 + 1), f1 = Node(k0 + 2), f2 = Node(k0 + 3);
    const double p = t - (k0 + 1);
    const double d1 = f1 - f0;
    const double d2mean = ((f1 - 2.0 * f0 + fm1) + (f2 - 2.0 * f1 + f0)) / 2.0;
    const double d3 = f2 - 3.0 * f1 + 3.0 * f0 - fm1;
    return f0 + p * d1 + p * (p - 1.0) / 2.0 * d2mean + p * (p - 1.0) * (p - 0.5) / 6.0 * d3;
}

// X and Y at |phi| (radians, 0..pi/2).
inline void Interpolate(double absPhi, double* X, double* Y) {
    const double t = absPhi / kStepRad;
    int n = static_cast<int>(std::floor(t));
    if (n > kNodes - 2) n = kNodes - 2; // the pole belongs to the last band
    if (n < 0) n = 0;
    int k0 = n - 1;
    if (k0 > kNodes - 4) k0 = kNodes - 4; // last band: nodes 75..90 degrees
    if (X) *X = Bessel<NodeX>(k0, t);
    if (Y) *Y = Bessel<NodeY>(k0, t);
}

bool ForwardPoint(double r, double lam0, bool wrap, PROJPOINT& p) {
    double dLam = p.x - lam0;
    if (wrap) dLam = azim::WrapOnce(dLam);
    const double absPhi = std::fabs(p.y);
    if (!(absPhi <= kHalfPi + 1e-12)) return false;
    double X, Y;
    Interpolate(absPhi > kHalfPi ? kHalfPi : absPhi, &X, &Y);
    p.x = kXScale * r * X * dLam;
    p.y = kYScale * r * Y * azim::Sign(p.y);
    return true;
}

bool InversePoint(double r, double lam0, PROJPOINT& p) {
    const double target = std::fabs(p.y) / (kYScale * r);
    if (!(target <= 1.0 + 1e-12)) return false; // above the pole line
    double lo = 0.0, hi = kHalfPi;
    if (target >= 1.0) {
        lo = kHalfPi;
    } else {
        // Y rises monotonically with |phi|; 64 halvings exhaust double precision.
        for (int i = 0; i < 64 && hi - lo > 0.0; ++i) {
            const double mid = 0.5 * (lo + hi);
            double y;
            Interpolate(mid, nullptr, &y);
            if (y < target)
                lo = mid;
            else
                hi = mid;
        }
    }
    double X;
    Interpolate(lo, &X, nullptr);
    const double dLam = p.x / (kXScale * r * X);
    if (!(std::fabs(dLam) <= kPi + 1e-9)) return false; // outside the outline
    p.x = lam0 + dLam;
    p.y = lo * azim::Sign(p.y);
    return true;
}

} // namespace

bool RobSterForward(PROJDATA* data, PROJPOINT* points, int count) {
    KV_MODULE_CHECK_ARGS(data, points, count);
    const double r = data->MajorRadius, lam0 = data->Lon0;
    const bool wrap = data->bWrapLon;
    azim::ForEachPoint(data, points, count,
                       [&](PROJPOINT& p) { return ForwardPoint(r, lam0, wrap, p); });
    return true;
}

bool RobSterInverse(PROJDATA* data, PROJPOINT* points, int count) {
    KV_MODULE_CHECK_ARGS(data, points, count);
    const double r = data->MajorRadius, lam0 = data->Lon0;
    azim::ForEachInverse(data, points, count,
                         [&](PROJPOINT& p) { return r > 0.0 && InversePoint(r, lam0, p); });
    return true;
}

} // namespace KVProj
