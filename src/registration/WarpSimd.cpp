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

// e^x for x <= 0: x = q ln 2 + r with |r| <= ln 2 / 2 (q rounded by adding
// 1.5 * 2^52, whose low mantissa bits then hold q), e^r by a degree-11
// polynomial, times 2^q built in the exponent bits. The coefficients are the
// Chebyshev fit of e^r on [-ln 2 / 2, ln 2 / 2] (near minimax, computed at 50
// digits); rounded to doubles they stay within 1.7e-17 relative of e^r, two
// terms fewer than the Taylor series of the same accuracy.
// Below -708 the result is about 1e-308 instead of smaller.
V ExpNonPositive(D d, V x) {
    const hn::RebindToSigned<D> di;
    const V magic = hn::Set(d, 6755399441055744.0); // 1.5 * 2^52
    x = hn::Max(x, hn::Set(d, -708.0));
    const V t = hn::MulAdd(x, hn::Set(d, 1.4426950408889634), magic); // x / ln 2
    const V q = hn::Sub(t, magic);
    V r = hn::MulAdd(q, hn::Set(d, -0.6931471805599453), x);   // ln 2, high part
    r = hn::MulAdd(q, hn::Set(d, -2.3190468138462996e-17), r); // ln 2, low part
    // Even and odd terms as two short Horner chains in r^2.
    const V r2 = hn::Mul(r, r);
    V even = hn::Set(d, 2.763263963904103e-07); // r^10
    V odd = hn::Set(d, 2.5110037605963777e-08); // r^11
    constexpr double kEven[] = {2.4801485482328494e-05, 0.0013888888952314775, 0.0416666666664881,
                                0.5000000000000019, 1.0};
    constexpr double kOdd[] = {2.755724091857897e-06, 0.00019841269890047113, 0.008333333333319601,
                               0.1666666666666668, 1.0};
    for (int i = 0; i < 5; ++i) {
        even = hn::MulAdd(even, r2, hn::Set(d, kEven[i]));
        odd = hn::MulAdd(odd, r2, hn::Set(d, kOdd[i]));
    }
    const V er = hn::MulAdd(odd, r, even);
    const auto bits = hn::ShiftLeft<52>(hn::Add(hn::BitCast(di, t), hn::Set(di, int64_t{1023})));
    return hn::Mul(er, hn::BitCast(d, bits));
}

// The kernels of WarpModel.h on a vector of squared distances s.
struct ThinPlateV {
    V operator()(D d, V s, V) const {                      // r^2 ln r = s ln(s) / 2, 0 at s = 0
        const V clamped = hn::Max(s, hn::Set(d, DBL_MIN)); // no subnormal reaches the log
        return hn::Mul(hn::Mul(hn::Set(d, 0.5), s), hn::Log(d, clamped));
    }
};
struct CubicV {
    V operator()(D, V s, V) const { return hn::Mul(s, hn::Sqrt(s)); } // r^3
};
struct MarkovV {
    V operator()(D d, V s, V k) const {
        return ExpNonPositive(d, hn::Neg(hn::Mul(hn::Sqrt(s), k)));
    }
};
struct GaussianV {
    V operator()(D d, V s, V k) const { return ExpNonPositive(d, hn::Neg(hn::Mul(s, k))); }
};
struct RationalQuadraticV {
    V operator()(D d, V s, V k) const {
        const V one = hn::Set(d, 1.0);
        return hn::Div(one, hn::MulAdd(s, k, one));
    }
};

// The affine trend a0 + a1 u + a2 v of the points at u, v.
V TrendV(D d, const double a[3], V u, V v) {
    return hn::MulAdd(v, hn::Set(d, a[2]), hn::MulAdd(u, hn::Set(d, a[1]), hn::Set(d, a[0])));
}

// f = trend + sum_i w_i phi(|p - p_i|) for kVectors vectors of points at u, v
// (several vectors per pass over the controls keep more kernels in flight).
template <class Kernel, size_t kVectors>
void RadialPass(const WarpModel& m, const double* HWY_RESTRICT u, const double* HWY_RESTRICT v,
                double* HWY_RESTRICT fx, double* HWY_RESTRICT fy) {
    const D d;
    const Kernel phi;
    const size_t lanes = hn::Lanes(d);
    const V k = hn::Set(d, m.k);
    V pu[kVectors], pv[kVectors], sx[kVectors], sy[kVectors];
    for (size_t t = 0; t < kVectors; ++t) {
        pu[t] = hn::LoadU(d, u + t * lanes), pv[t] = hn::LoadU(d, v + t * lanes);
        sx[t] = TrendV(d, m.ax, pu[t], pv[t]), sy[t] = TrendV(d, m.ay, pu[t], pv[t]);
    }
    const double *cu = m.u.data(), *cv = m.v.data(), *wx = m.wx.data(), *wy = m.wy.data();
    for (size_t i = 0; i < m.n; ++i) {
        const V ci = hn::Set(d, cu[i]), di = hn::Set(d, cv[i]);
        const V wxi = hn::Set(d, wx[i]), wyi = hn::Set(d, wy[i]);
        for (size_t t = 0; t < kVectors; ++t) {
            const V du = hn::Sub(pu[t], ci), dv = hn::Sub(pv[t], di);
            const V p = phi(d, hn::MulAdd(du, du, hn::Mul(dv, dv)), k);
            sx[t] = hn::MulAdd(wxi, p, sx[t]), sy[t] = hn::MulAdd(wyi, p, sy[t]);
        }
    }
    for (size_t t = 0; t < kVectors; ++t)
        hn::StoreU(sx[t], d, fx + t * lanes), hn::StoreU(sy[t], d, fy + t * lanes);
}

template <class Kernel>
void RadialSums(const WarpModel& m, const double* HWY_RESTRICT u, const double* HWY_RESTRICT v,
                double* HWY_RESTRICT fx, double* HWY_RESTRICT fy, size_t count) {
    const size_t lanes = hn::Lanes(D());
    size_t j = 0;
    for (; j + 2 * lanes <= count; j += 2 * lanes)
        RadialPass<Kernel, 2>(m, u + j, v + j, fx + j, fy + j);
    for (; j < count; j += lanes)
        RadialPass<Kernel, 1>(m, u + j, v + j, fx + j, fy + j);
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
        const V tx = TrendV(d, m.ax, pu, pv), ty = TrendV(d, m.ay, pu, pv);
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
