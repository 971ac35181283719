// Evaluation of a fitted warp: per point, one pass over the controls.
#include "registration/WarpModel.h"

#include <cmath>

namespace KVProj {
namespace Registration {
namespace {

// Below this squared normalised distance a point is taken to be on its control
// (the inverse distance weight would overflow; the value is the control's).
constexpr double kOnControl = 1e-200;

struct Affine {
    double x, y;
};

inline Affine Trend(const WarpModel& m, double u, double v) {
    return Affine{m.ax[0] + m.ax[1] * u + m.ax[2] * v, m.ay[0] + m.ay[1] * u + m.ay[2] * v};
}

template <typename Kernel> Affine Radial(const WarpModel& m, double u, double v, Kernel phi) {
    Affine f = Trend(m, u, v);
    const double *cu = m.u.data(), *cv = m.v.data(), *wx = m.wx.data(), *wy = m.wy.data();
    for (size_t i = 0; i < m.n; ++i) {
        const double du = u - cu[i], dv = v - cv[i];
        const double p = phi(du * du + dv * dv);
        f.x += wx[i] * p, f.y += wy[i] * p;
    }
    return f;
}

Affine InverseDistance(const WarpModel& m, double u, double v) {
    Affine f = Trend(m, u, v);
    double nx = 0, ny = 0, den = 0;
    for (size_t i = 0; i < m.n; ++i) {
        const double du = u - m.u[i], dv = v - m.v[i];
        const double s = du * du + dv * dv;
        if (s < kOnControl) return Affine{f.x + m.wx[i], f.y + m.wy[i]};
        const double w = 1.0 / s; // Shepard's weight 1/r^2
        nx += w * m.wx[i], ny += w * m.wy[i], den += w;
    }
    return Affine{f.x + nx / den, f.y + ny / den};
}

template <typename Eval>
size_t EvaluateAll(const WarpModel& m, RPoint* pts, size_t count, Eval eval) {
    size_t failed = 0;
    for (size_t i = 0; i < count; ++i) {
        const double u = (pts[i].x - m.cx) * m.inv, v = (pts[i].y - m.cy) * m.inv;
        const Affine f = eval(u, v);
        const double x = m.ox + f.x, y = m.oy + f.y;
        if (std::isfinite(x) && std::isfinite(y) && std::isfinite(u) && std::isfinite(v))
            pts[i] = RPoint{x, y};
        else
            ++failed;
    }
    return failed;
}

} // namespace

size_t EvaluateWarp(const WarpModel& m, RPoint* pts, size_t count) {
    const double k = m.k;
    switch (m.method) {
    case WARP_THIN_PLATE_SPLINE:
        return EvaluateAll(m, pts, count,
                           [&](double u, double v) { return Radial(m, u, v, ThinPlate); });
    case WARP_NATURAL_CUBIC_SPLINE:
        return EvaluateAll(m, pts, count,
                           [&](double u, double v) { return Radial(m, u, v, Cubic); });
    case WARP_MARCOV_SPLINE:
        return EvaluateAll(m, pts, count, [&](double u, double v) {
            return Radial(m, u, v, [k](double s) { return Markov(s, k); });
        });
    case WARP_EXPONENTIAL_SPLINE:
        return EvaluateAll(m, pts, count, [&](double u, double v) {
            return Radial(m, u, v, [k](double s) { return Gaussian(s, k); });
        });
    case WARP_RATIONAL_QUADRATIC:
        return EvaluateAll(m, pts, count, [&](double u, double v) {
            return Radial(m, u, v, [k](double s) { return RationalQuadratic(s, k); });
        });
    case WARP_INVERSE_DISTANCE:
        return EvaluateAll(m, pts, count,
                           [&](double u, double v) { return InverseDistance(m, u, v); });
    default:
        return count;
    }
}

} // namespace Registration
} // namespace KVProj
