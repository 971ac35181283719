// Small helpers shared by the conic and world projection modules: the
// longitude-wrap flag, bringing an angle into one turn, clamping the argument
// of asin/acos, and the blocked Newton loop of the world projections.
#ifndef KVPROJ_PROJECTIONS_WORLDMATH_H
#define KVPROJ_PROJECTIONS_WORLDMATH_H

#include "kvproj/projdata.h"
#include "projections/ProjMath.h"
#include "projections/ProjModule.h"

#include <cmath>
#include <cstring>

namespace KVProj {

// The wrap flag is a host-written byte; any non-zero value counts as set. It is
// read as a byte so that a value other than 0 or 1 is not a bool load.
inline bool WrapLonFlag(const PROJDATA* data) {
    unsigned char b;
    std::memcpy(&b, &data->bWrapLon, 1);
    return b != 0;
}

// One addition or subtraction of a whole turn, below -pi tested first. A
// difference more than a turn and a half away stays outside the range.
inline double WrapOnce(double dLam) {
    if (dLam < -kPi) dLam += kTwoPi;
    if (dLam > kPi) dLam -= kTwoPi;
    return dLam;
}

// Clamp into -1..1 for asin/acos; NaN passes through.
inline double ClampUnit(double s) {
    if (s > 1.0) return 1.0;
    if (s < -1.0) return -1.0;
    return s;
}

// The Newton iterations of the world projections run point by point as a
// chain of dependent steps, each waiting on a sine and cosine. Taking the
// points of a block in rounds, one step for every unfinished point per round,
// lets those chains overlap; each point still sees exactly its own sequence
// of steps. `step(i)` makes one step for lane i and says whether it wants
// another; `active` lists the lanes to iterate (it is reordered).
constexpr int kLaneBlock = 32;

template <typename StepFn>
inline void IterateInRounds(int* active, int count, int maxRounds, StepFn step) {
    for (int round = 0; round < maxRounds && count > 0; ++round) {
        int kept = 0;
        for (int j = 0; j < count; ++j) {
            const int lane = active[j];
            active[kept] = lane; // kept only if it wants another step
            kept += step(lane) ? 1 : 0;
        }
        count = kept;
    }
}

// The forward loop of a world projection solved by Newton's method: the
// points go through in blocks of kLaneBlock lanes of type Lane, iterated
// together by IterateInRounds. For every plottable point `start(p, lane)`
// fills its lane and says whether it iterates at all; a point that does not
// is marked failed. `step(lane)` makes one step and says whether it wants
// another (at most maxSteps). `finish(p, lane)` writes the result of an
// iterated point, or returns false to have it marked failed. Markers pass
// through untouched.
template <typename Lane, typename StartFn, typename StepFn, typename FinishFn>
inline void NewtonInBlocks(PROJDATA* data, PROJPOINT* points, int count, int maxSteps,
                           StartFn start, StepFn step, FinishFn finish) {
    Lane lane[kLaneBlock];
    bool started[kLaneBlock];
    int active[kLaneBlock];
    for (int base = 0; base < count; base += kLaneBlock) {
        const int n = count - base < kLaneBlock ? count - base : kLaneBlock;
        PROJPOINT* pts = points + base;
        int m = 0;
        for (int i = 0; i < n; ++i) {
            started[i] = !IsUnplottable(pts[i]) && start(pts[i], lane[i]);
            if (started[i]) active[m++] = i;
        }
        IterateInRounds(active, m, maxSteps, [&lane, &step](int i) { return step(lane[i]); });
        for (int i = 0; i < n; ++i) {
            PROJPOINT& p = pts[i];
            if (IsUnplottable(p)) continue;
            if (!started[i] || !finish(p, lane[i])) MarkFailed(data, p);
        }
    }
}

// Sine and cosine of t + d from those of t: the Newton steps of the world
// projections shrink fast, and for a step of at most half a radian the
// rotation by d costs a few multiplications where a fresh sine and cosine
// cost a library call. The series for sin d (to d^15) and cos d - 1 (to d^16)
// leave less than 1e-19 out at that size; each rotation adds about an ulp to
// the pair, so a dozen steps stay within 1e-15 of sin(t + d) and cos(t + d).
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

// One lane of the Eckert IV and VI iterations: the angle t, the step
// computed at t, the right-hand side, and sin t, cos t. Running out of steps
// is not a failure (near the poles the denominator vanishes and convergence
// is slow), and the step that met the tolerance, or the last one computed, is
// not applied: the angle used is the one at which the last step was computed,
// with its sine and cosine.
struct EckertLane {
    double t, delta, rhs, sinT, cosT;
};

constexpr double kEckertTolerance = 1.1920928955078125e-6;
constexpr int kEckertMaxSteps = 99;

// Applies the pending step and has `computeStep` (the module's Newton
// quotient) compute the next one at the new angle; true while that one is
// larger than the tolerance.
template <typename ComputeStepFn> inline bool EckertStep(EckertLane& a, ComputeStepFn computeStep) {
    a.t += a.delta;
    AdvanceSinCos(a.t, a.delta, &a.sinT, &a.cosT);
    computeStep(a);
    return !(std::fabs(a.delta) <= kEckertTolerance);
}

} // namespace KVProj

#endif
