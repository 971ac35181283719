// The Taylor series of sine and cosine on a reduced argument, shared by the
// vector sine and cosine of the projection and datum lanes (each reduces its
// own argument range), included once per instruction set after
// hwy/highway.h. For |r| <= pi/4 the truncation is below 1e-19; the Horner
// steps are fused multiply-adds where the instruction set has them (Highway
// emulates them with a product and a sum elsewhere).
#if defined(KVPROJ_FRAME_TRIGSERIES_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef KVPROJ_FRAME_TRIGSERIES_INL_H_
#undef KVPROJ_FRAME_TRIGSERIES_INL_H_
#else
#define KVPROJ_FRAME_TRIGSERIES_INL_H_
#endif

#include <hwy/highway.h>

#include <cstddef>

HWY_BEFORE_NAMESPACE();
namespace KVProj {
namespace HWY_NAMESPACE {
namespace lanes {
namespace hn = hwy::HWY_NAMESPACE;

// The Taylor coefficients from the highest term down: sin r = r + r z S(z)
// with S = kSinTaylor (1/17! to -1/3!), and cos r = 1 - z C(z) with
// C = kOneMinusCosTaylor (1/18! to 1/2!), z = r^2.
constexpr double kSinTaylor[] = {1.0 / 355687428096000.0, -1.0 / 1307674368000.0,
                                 1.0 / 6227020800.0,      -1.0 / 39916800.0,
                                 1.0 / 362880.0,          -1.0 / 5040.0,
                                 1.0 / 120.0,             -1.0 / 6.0};
constexpr double kOneMinusCosTaylor[] = {1.0 / 6402373705728000.0, -1.0 / 20922789888000.0,
                                         1.0 / 87178291200.0,      -1.0 / 479001600.0,
                                         1.0 / 3628800.0,          -1.0 / 40320.0,
                                         1.0 / 720.0,              -1.0 / 24.0,
                                         0.5};

// The first `count` coefficients of `c` as a polynomial in z, highest first
// (Horner's scheme).
template <class D, class V = hn::Vec<D>>
HWY_INLINE V Horner(D d, V z, const double* c, size_t count) {
    V p = hn::Set(d, c[0]);
    for (size_t i = 1; i < count; ++i)
        p = hn::MulAdd(p, z, hn::Set(d, c[i]));
    return p;
}

// sin r to r^17 into *sr and cos r to r^18 into *cr.
template <class D, class V = hn::Vec<D>> HWY_INLINE void SinCosSeries(D d, V r, V* sr, V* cr) {
    const V z = r * r;
    const V ps = Horner(d, z, kSinTaylor, 8);
    const V pc = Horner(d, z, kOneMinusCosTaylor, 9);
    *sr = r + r * z * ps;
    *cr = hn::Set(d, 1.0) - z * pc;
}

} // namespace lanes
} // namespace HWY_NAMESPACE
} // namespace KVProj
HWY_AFTER_NAMESPACE();

#endif
