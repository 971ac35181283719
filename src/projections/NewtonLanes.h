// Newton lanes: the blocked iteration of the world projections, whose
// per-point Newton steps are run in rounds across a block of points so that
// their dependency chains overlap, and the Eckert lane built on it.
#ifndef KVPROJ_PROJECTIONS_NEWTONLANES_H
#define KVPROJ_PROJECTIONS_NEWTONLANES_H

#include "kvproj/projdata.h"
#include "projections/ProjModule.h"
#include "projections/Series.h"

#include <cmath>

namespace KVProj {

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
inline void NewtonInBlocks(PROJPOINT* points, int count, int maxSteps, StartFn start, StepFn step,
                           FinishFn finish) {
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
            if (!started[i] || !finish(p, lane[i])) MarkFailed(p);
        }
    }
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
