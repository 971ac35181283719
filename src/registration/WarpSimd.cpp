// The evaluation hot path: the kernel sums of a block of normalised points,
// vectorised over points (each lane one point, the controls broadcast one after
// another), compiled for every instruction set Highway knows and chosen at run
// time.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "registration/WarpSimd.cpp"
#include <hwy/foreach_target.h> // IWYU pragma: keep

#include <hwy/contrib/math/math-inl.h>
#include <hwy/highway.h>

#include "registration/WarpModel.h"

#include <cfloat>

HWY_BEFORE_NAMESPACE();
namespace KVProj {
namespace Registration {
namespace HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

// At most kSumLanes lanes, so that every block padded to kSumLanes points is a
// whole number of vectors.
using D = hn::CappedTag<double, kSumLanes>;
using V = hn::Vec<D>;

// The kernels of WarpModel.h on a vector of squared distances s.
struct ThinPlateV {
    V operator()(D d, V s, V) const { // r^2 ln r = s ln(s) / 2, 0 at s = 0
        return hn::Mul(hn::Mul(hn::Set(d, 0.5), s), hn::Log(d, hn::Max(s, hn::Set(d, DBL_MIN))));
    }
};
struct CubicV {
    V operator()(D, V s, V) const { return hn::Mul(s, hn::Sqrt(s)); } // r^3
};
struct MarkovV {
    V operator()(D d, V s, V k) const { return hn::Exp(d, hn::Neg(hn::Mul(hn::Sqrt(s), k))); }
};
struct GaussianV {
    V operator()(D d, V s, V k) const { return hn::Exp(d, hn::Neg(hn::Mul(s, k))); }
};
struct RationalQuadraticV {
    V operator()(D d, V s, V k) const {
        const V one = hn::Set(d, 1.0);
        return hn::Div(one, hn::MulAdd(s, k, one));
    }
};

// f = trend + sum_i w_i phi(|p - p_i|) for the points at u, v.
template <class Kernel>
void RadialSums(const WarpModel& m, const double* HWY_RESTRICT u, const double* HWY_RESTRICT v,
                double* HWY_RESTRICT fx, double* HWY_RESTRICT fy, size_t count) {
    const D d;
    const Kernel phi;
    const V k = hn::Set(d, m.k);
    const double *cu = m.u.data(), *cv = m.v.data(), *wx = m.wx.data(), *wy = m.wy.data();
    for (size_t j = 0; j < count; j += hn::Lanes(d)) {
        const V pu = hn::LoadU(d, u + j), pv = hn::LoadU(d, v + j);
        V sx = hn::MulAdd(pv, hn::Set(d, m.ax[2]),
                          hn::MulAdd(pu, hn::Set(d, m.ax[1]), hn::Set(d, m.ax[0])));
        V sy = hn::MulAdd(pv, hn::Set(d, m.ay[2]),
                          hn::MulAdd(pu, hn::Set(d, m.ay[1]), hn::Set(d, m.ay[0])));
        for (size_t i = 0; i < m.n; ++i) {
            const V du = hn::Sub(pu, hn::Set(d, cu[i])), dv = hn::Sub(pv, hn::Set(d, cv[i]));
            const V p = phi(d, hn::MulAdd(du, du, hn::Mul(dv, dv)), k);
            sx = hn::MulAdd(hn::Set(d, wx[i]), p, sx);
            sy = hn::MulAdd(hn::Set(d, wy[i]), p, sy);
        }
        hn::StoreU(sx, d, fx + j);
        hn::StoreU(sy, d, fy + j);
    }
}

// Shepard's sums with weights 1/s; a lane on a control takes the scalar path.
void InverseDistanceSums(const WarpModel& m, const double* HWY_RESTRICT u,
                         const double* HWY_RESTRICT v, double* HWY_RESTRICT fx,
                         double* HWY_RESTRICT fy, size_t count) {
    const D d;
    const V one = hn::Set(d, 1.0);
    for (size_t j = 0; j < count; j += hn::Lanes(d)) {
        const V pu = hn::LoadU(d, u + j), pv = hn::LoadU(d, v + j);
        V nx = hn::Zero(d), ny = hn::Zero(d), den = hn::Zero(d), nearest = hn::Set(d, DBL_MAX);
        for (size_t i = 0; i < m.n; ++i) {
            const V du = hn::Sub(pu, hn::Set(d, m.u[i])), dv = hn::Sub(pv, hn::Set(d, m.v[i]));
            const V s = hn::MulAdd(du, du, hn::Mul(dv, dv));
            nearest = hn::Min(nearest, s);
            const V w = hn::Div(one, s);
            nx = hn::MulAdd(w, hn::Set(d, m.wx[i]), nx);
            ny = hn::MulAdd(w, hn::Set(d, m.wy[i]), ny);
            den = hn::Add(den, w);
        }
        const V tx = hn::MulAdd(pv, hn::Set(d, m.ax[2]),
                                hn::MulAdd(pu, hn::Set(d, m.ax[1]), hn::Set(d, m.ax[0])));
        const V ty = hn::MulAdd(pv, hn::Set(d, m.ay[2]),
                                hn::MulAdd(pu, hn::Set(d, m.ay[1]), hn::Set(d, m.ay[0])));
        hn::StoreU(hn::Add(tx, hn::Div(nx, den)), d, fx + j);
        hn::StoreU(hn::Add(ty, hn::Div(ny, den)), d, fy + j);
        if (!hn::AllFalse(d, hn::Lt(nearest, hn::Set(d, kOnControl))))
            for (size_t l = j; l < j + hn::Lanes(d); ++l)
                InverseDistanceScalar(m, u[l], v[l], fx[l], fy[l]);
    }
}

void WarpSums(const WarpModel& m, PointBlock& b, size_t count) {
    const double *u = b.u, *v = b.v;
    double *fx = b.fx, *fy = b.fy;
    switch (m.method) {
    case WARP_THIN_PLATE_SPLINE:
        return RadialSums<ThinPlateV>(m, u, v, fx, fy, count);
    case WARP_NATURAL_CUBIC_SPLINE:
        return RadialSums<CubicV>(m, u, v, fx, fy, count);
    case WARP_MARCOV_SPLINE:
        return RadialSums<MarkovV>(m, u, v, fx, fy, count);
    case WARP_EXPONENTIAL_SPLINE:
        return RadialSums<GaussianV>(m, u, v, fx, fy, count);
    case WARP_RATIONAL_QUADRATIC:
        return RadialSums<RationalQuadraticV>(m, u, v, fx, fy, count);
    default:
        return InverseDistanceSums(m, u, v, fx, fy, count);
    }
}

} // namespace HWY_NAMESPACE
} // namespace Registration
} // namespace KVProj
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace KVProj {
namespace Registration {

HWY_EXPORT(WarpSums);

void KernelSums(const WarpModel& m, PointBlock& block, size_t count) {
    HWY_DYNAMIC_DISPATCH(WarpSums)(m, block, count);
}

} // namespace Registration
} // namespace KVProj
#endif
