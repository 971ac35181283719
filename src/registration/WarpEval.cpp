// Evaluation of a fitted warp over arrays of points: blocks of points are
// normalised into scratch arrays on the stack, summed by the vector kernels
// and written back; nothing is allocated per point.
#include "registration/WarpModel.h"

#include <algorithm>
#include <cmath>

namespace KVProj {
namespace Registration {
namespace {

// Transforms one block of at most kBlock points; returns how many failed.
size_t EvaluateBlock(const WarpModel& m, RPoint* pts, size_t count) {
    PointBlock b;
    bool bad[kBlock];
    const size_t padded = (count + kSumLanes - 1) / kSumLanes * kSumLanes;
    for (size_t j = 0; j < padded; ++j) {
        b.u[j] = b.v[j] = 0.0;
        if (j >= count) continue;
        const double pu = (pts[j].x - m.cx) * m.inv, pv = (pts[j].y - m.cy) * m.inv;
        bad[j] = !std::isfinite(pu) || !std::isfinite(pv);
        if (!bad[j]) b.u[j] = pu, b.v[j] = pv;
    }
    KernelSums(m, b, padded);
    size_t failed = 0;
    for (size_t j = 0; j < count; ++j) {
        const double x = m.ox + b.fx[j], y = m.oy + b.fy[j];
        if (bad[j] || !std::isfinite(x) || !std::isfinite(y))
            ++failed;
        else
            pts[j] = RPoint{x, y};
    }
    return failed;
}

} // namespace

void InverseDistanceScalar(const WarpModel& m, double u, double v, double& fx, double& fy) {
    fx = m.ax[0] + m.ax[1] * u + m.ax[2] * v;
    fy = m.ay[0] + m.ay[1] * u + m.ay[2] * v;
    double nx = 0, ny = 0, den = 0;
    for (size_t i = 0; i < m.n; ++i) {
        const double du = u - m.u[i], dv = v - m.v[i];
        const double s = du * du + dv * dv;
        if (s < kOnControl) {
            fx += m.wx[i], fy += m.wy[i];
            return;
        }
        const double w = 1.0 / s; // Shepard's weight 1/r^2
        nx += w * m.wx[i], ny += w * m.wy[i], den += w;
    }
    fx += nx / den, fy += ny / den;
}

size_t EvaluateWarp(const WarpModel& m, RPoint* pts, size_t count) {
    if (m.method == WARP_NONE) return count;
    size_t failed = 0;
    for (size_t start = 0; start < count; start += kBlock)
        failed += EvaluateBlock(m, pts + start, std::min(kBlock, count - start));
    return failed;
}

} // namespace Registration
} // namespace KVProj
