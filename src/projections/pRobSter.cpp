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
// Each band's cubic is expanded once, at compile time, into powers of the
// position u in the band, so a point costs one Horner evaluation. The inverse
// finds the band of |Y| among the nodes, then solves the band's cubic for u by
// Newton's method from the chord's estimate (Y rises steadily within every
// band, so a few steps reach rounding), then X follows at the same u.
#include "projections/Figure.h"
#include "projections/AngleWrap.h"
#include "projections/AzimuthalFrame.h"
#include "projections/Modules.h"
#include "frame/Angles.h"

#include <cmath>

namespace KVProj {

namespace {

constexpr int kNodes = 19; // 0, 5, ..., 90 degrees
constexpr int kBands = kNodes - 1;
constexpr double kTableX[kNodes] = {1.0000, 0.9986, 0.9954, 0.9900, 0.9822, 0.9730, 0.9600,
                                    0.9427, 0.9216, 0.8962, 0.8679, 0.8350, 0.7986, 0.7597,
                                    0.7186, 0.6732, 0.6213, 0.5722, 0.5322};
constexpr double kTableY[kNodes] = {0.0000, 0.0620, 0.1240, 0.1860, 0.2480, 0.3100, 0.3720,
                                    0.4340, 0.4958, 0.5571, 0.6176, 0.6769, 0.7346, 0.7903,
                                    0.8435, 0.8936, 0.9394, 0.9761, 1.0000};
constexpr double kXScale = 0.8487;
constexpr double kYScale = 1.3523;
constexpr double kStepRad = 5.0 * kDegToRad;
// The widest Y step between nodes: Y(n) <= n kYStepMax, so |Y| / kYStepMax
// never overestimates the band.
constexpr double kYStepMax = 0.0620;

// a0 + a1 u + a2 u^2 + a3 u^3.
struct Cubic {
    double a0, a1, a2, a3;
    double At(double u) const { return a0 + u * (a1 + u * (a2 + u * a3)); }
    double Slope(double u) const { return a1 + u * (2.0 * a2 + u * (3.0 * a3)); }
};

// The cubic of band n, 0 <= u <= 1. Bessel's form about the nodes k0 + 1 and
// k0 + 2 (k0 = n - 1; the last band keeps the nodes of the one before) is
// multiplied out in p = u + n - k0 - 1, then shifted to u.
template <bool Odd> constexpr Cubic BandCubic(const double (&table)[kNodes], int n) {
    auto node = [&table](int k) { return k >= 0 ? table[k] : (Odd ? -table[-k] : table[-k]); };
    const int k0 = n - 1 < kNodes - 4 ? n - 1 : kNodes - 4;
    const double fm1 = node(k0), f0 = node(k0 + 1), f1 = node(k0 + 2), f2 = node(k0 + 3);
    const double d1 = f1 - f0;
    const double d2mean = ((f1 - 2.0 * f0 + fm1) + (f2 - 2.0 * f1 + f0)) / 2.0;
    const double d3 = f2 - 3.0 * f1 + 3.0 * f0 - fm1;
    const double c0 = f0, c1 = d1 - d2mean / 2.0 + d3 / 12.0, c2 = d2mean / 2.0 - d3 / 4.0,
                 c3 = d3 / 6.0;
    if (n - k0 - 1 == 0) return {c0, c1, c2, c3};
    // p = u + 1 in the last band.
    return {c0 + c1 + c2 + c3, c1 + 2.0 * c2 + 3.0 * c3, c2 + 3.0 * c3, c3};
}

struct BandTable {
    Cubic x[kBands], y[kBands];
};

constexpr BandTable MakeBands() {
    BandTable t{};
    for (int n = 0; n < kBands; ++n) {
        t.x[n] = BandCubic<false>(kTableX, n);
        t.y[n] = BandCubic<true>(kTableY, n);
    }
    return t;
}

constexpr BandTable kBandCubics = MakeBands();

bool ForwardPoint(double r, double lam0, bool wrap, PROJPOINT& p) {
    double dLam = p.x - lam0;
    if (wrap) dLam = WrapOnce(dLam);
    const double absPhi = std::fabs(p.y);
    if (!(absPhi <= kHalfPi + 1e-12)) return false;
    const double t = (absPhi > kHalfPi ? kHalfPi : absPhi) / kStepRad;
    int n = static_cast<int>(t);
    if (n > kBands - 1) n = kBands - 1; // the pole belongs to the last band
    const double u = t - n;
    p.x = kXScale * r * kBandCubics.x[n].At(u) * dLam;
    p.y = kYScale * r * kBandCubics.y[n].At(u) * azim::Sign(p.y);
    return true;
}

// Position u in band n where Y reaches `target` (Y(n) <= target <= Y(n + 1)).
inline double SolveBand(int n, double target) {
    const Cubic& c = kBandCubics.y[n];
    double u = (target - kTableY[n]) / (kTableY[n + 1] - kTableY[n]);
    for (int step = 0; step < 8; ++step) {
        const double du = (c.At(u) - target) / c.Slope(u);
        u -= du;
        if (u < 0.0) u = 0.0;
        if (u > 1.0) u = 1.0;
        // Newton's error after a step is below (Y''/2Y') du^2, and Y''/2Y' < 0.51
        // in every band: a step under 1e-9 leaves less than 1e-18.
        if (std::fabs(du) <= 1e-9) break;
    }
    return u;
}

bool InversePoint(double r, double lam0, PROJPOINT& p) {
    const double target = std::fabs(p.y) / (kYScale * r);
    if (!(target <= 1.0 + 1e-12)) return false; // above the pole line
    int n = kBands - 1;
    double u = 1.0;
    if (target < 1.0) {
        n = static_cast<int>(target / kYStepMax);
        while (n < kBands - 1 && kTableY[n + 1] <= target)
            ++n;
        while (n > 0 && target < kTableY[n]) // the division rounded up onto a node
            --n;
        u = SolveBand(n, target);
    }
    const double dLam = p.x / (kXScale * r * kBandCubics.x[n].At(u));
    if (!(std::fabs(dLam) <= kPi + 1e-9)) return false; // outside the outline
    p.x = lam0 + dLam;
    p.y = (n + u) * kStepRad * azim::Sign(p.y);
    return true;
}

} // namespace

bool RobSterForward(const PROJDATA* data, PROJPOINT* points, int count) {
    KV_MODULE_CHECK_ARGS(data, points, count);
    const double r = Figure(data).a, lam0 = data->Lon0;
    const bool wrap = data->bWrapLon;
    ForEachPoint(points, count, [&](PROJPOINT& p) { return ForwardPoint(r, lam0, wrap, p); });
    return true;
}

bool RobSterInverse(const PROJDATA* data, PROJPOINT* points, int count) {
    KV_MODULE_CHECK_ARGS(data, points, count);
    const double r = Figure(data).a, lam0 = data->Lon0;
    azim::ForEachInverse(points, count,
                         [&](PROJPOINT& p) { return r > 0.0 && InversePoint(r, lam0, p); });
    return true;
}

} // namespace KVProj
