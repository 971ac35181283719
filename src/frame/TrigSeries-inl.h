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

HWY_BEFORE_NAMESPACE();
namespace KVProj {
namespace HWY_NAMESPACE {
namespace lanes {
namespace hn = hwy::HWY_NAMESPACE;

// sin r to r^17 into *sr and cos r to r^18 into *cr.
template <class D, class V = hn::Vec<D>> HWY_INLINE void SinCosSeries(D d, V r, V* sr, V* cr) {
    const V z = r * r;
    V ps = hn::Set(d, 1.0 / 355687428096000.0); // 1/17!
    for (double f : {-1.0 / 1307674368000.0, 1.0 / 6227020800.0, -1.0 / 39916800.0, 1.0 / 362880.0,
                     -1.0 / 5040.0, 1.0 / 120.0, -1.0 / 6.0})
        ps = hn::MulAdd(ps, z, hn::Set(d, f));
    V pc = hn::Set(d, 1.0 / 6402373705728000.0); // 1/18!
    for (double f : {-1.0 / 20922789888000.0, 1.0 / 87178291200.0, -1.0 / 479001600.0,
                     1.0 / 3628800.0, -1.0 / 40320.0, 1.0 / 720.0, -1.0 / 24.0, 0.5})
        pc = hn::MulAdd(pc, z, hn::Set(d, f));
    *sr = r + r * z * ps;
    *cr = hn::Set(d, 1.0) - z * pc;
}

} // namespace lanes
} // namespace HWY_NAMESPACE
} // namespace KVProj
HWY_AFTER_NAMESPACE();

#endif
