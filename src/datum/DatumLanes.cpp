// The Molodensky and Bursa-Wolf shifts a vector of points at a time: the
// per-point formulas of DatumSteps.cpp written lane-wise in the same order of
// operations (this source is compiled without contraction into fused
// multiply-adds), compiled for every instruction set Highway knows and chosen
// at run time. The sine and cosine come from the kernel below (within about an
// ulp of the C library's), the arc tangent from Highway's (3 ulp), so a result
// may differ from the per-point one in its last bits only: below 1e-13 degree.
// Lanes where that would not hold are redone by the per-point functions.
//
// Also the conversion's passes before and after the steps (DatumPasses.h),
// bit for bit as their per-point functions.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "datum/DatumLanes.cpp"
#include <hwy/foreach_target.h> // IWYU pragma: keep

#include <hwy/contrib/math/math-inl.h>
#include <hwy/highway.h>

#include "datum/DatumPasses.h"
#include "datum/DatumSteps.h"
#include "frame/Angles.h"
#include "frame/TrigSeries-inl.h"

#include <cstddef>
#include <cstdint>
#include <cstring>

HWY_BEFORE_NAMESPACE();
namespace KVProj {
namespace shift {
namespace HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

// Every function below takes the tag of its vector width: a whole vector, or
// the narrowest one holding the last few points of a call. The arithmetic of
// a lane is the same at every width.

// ---------------------------------------------------------------- sin, cos
// Arguments beyond this (radians) are left to the per-point functions.
constexpr double kTrigLimit = 1e5;
// pi/2 in four parts (Cody and Waite), the first three of 33 bits, so that k
// times them is exact for |k| < 2^20; together within 1e-47 of pi/2.
constexpr double kHalfPi1 = 1.57079632673412561417e+00;
constexpr double kHalfPi2 = 6.07710050630396597660e-11;
constexpr double kHalfPi3 = 2.02226624871116645580e-21;
constexpr double kHalfPi4 = 8.47842766036889956997e-32;

// Sine and cosine together for |x| <= kTrigLimit: x = k pi/2 + r with
// |r| <= pi/4 (each subtraction of a part exact but the last two), the Taylor
// series of sin r to r^17 and of cos r to r^18 (truncation below 1e-19), and
// the quadrant k mod 4. Within about an ulp of the correctly rounded values,
// relative to the result near its zeros; sin(-0) is -0.
template <class D, class V = hn::Vec<D>, class M = hn::Mask<D>>
HWY_INLINE void SinCos(D d, V x, V* s, V* c) {
    // + 0 turns a k of -0 into +0, so that r is x itself (sign of zero kept).
    const V k = hn::Round(x * hn::Set(d, 2.0 / kPi)) + hn::Zero(d);
    V r = (x - k * hn::Set(d, kHalfPi1)) - k * hn::Set(d, kHalfPi2);
    r = (r - k * hn::Set(d, kHalfPi3)) - k * hn::Set(d, kHalfPi4);
    V sr, cr;
    KVProj::HWY_NAMESPACE::lanes::SinCosSeries(d, r, &sr, &cr);
    // q = k mod 4 (exact): sin x is sr, cr, -sr, -cr and cos x is cr, -sr, -cr, sr.
    const V q = k - hn::Set(d, 4.0) * hn::Floor(k * hn::Set(d, 0.25));
    const M odd = hn::Or(hn::Eq(q, hn::Set(d, 1.0)), hn::Eq(q, hn::Set(d, 3.0)));
    const M sinNeg = hn::Ge(q, hn::Set(d, 2.0));
    const M cosNeg = hn::Or(hn::Eq(q, hn::Set(d, 1.0)), hn::Eq(q, hn::Set(d, 2.0)));
    const V s0 = hn::IfThenElse(odd, cr, sr), c0 = hn::IfThenElse(odd, sr, cr);
    *s = hn::IfThenElse(sinNeg, hn::Neg(s0), s0);
    *c = hn::IfThenElse(cosNeg, hn::Neg(c0), c0);
}

// atan2(y, x) from Highway's arc tangent of a quotient no larger than 1 in
// magnitude (3 ulp, and half an ulp for the quotient). x = y = 0 gives NaN,
// which sends the lane to the per-point function.
template <class D, class V = hn::Vec<D>, class M = hn::Mask<D>> HWY_INLINE V Atan2(D d, V y, V x) {
    const V ax = hn::Abs(x), ay = hn::Abs(y);
    const M steep = hn::Gt(ay, ax);
    V t = hn::Atan(d, hn::IfThenElse(steep, ax, ay) / hn::IfThenElse(steep, ay, ax));
    t = hn::IfThenElse(steep, hn::Set(d, kHalfPi) - t, t);
    t = hn::IfThenElse(hn::Lt(x, hn::Zero(d)), hn::Set(d, kPi) - t, t);
    return hn::CopySign(t, y);
}

// Lanes whose value is beyond `limit` in magnitude or not a number.
template <class D, class V = hn::Vec<D>, class M = hn::Mask<D>>
HWY_INLINE M Beyond(D d, V v, double limit) {
    return hn::Not(hn::Le(hn::Abs(v), hn::Set(d, limit)));
}

// ---------------------------------------------------------------- kernels
// DMA TR 8350.2, standard Molodensky with h = 0, as MolodenskyPoint. Redone
// per point: a shift of more than a degree (near a pole, where dλ grows
// without bound), whose last-bit differences would scale with it; and a
// longitude or latitude beyond two turns, whose last place alone is coarser
// than 1e-13 degree once the shift is added.
constexpr double kMolodenskyLimit = 720.0;

template <class D, class V = hn::Vec<D>, class M = hn::Mask<D>>
HWY_INLINE M MolodenskyKernel(D d, const Molodensky& c, V& x, V& y) {
    const V lonDeg = x + hn::Set(d, c.pm);
    const V lam = lonDeg * hn::Set(d, kDegToRad), phi = y * hn::Set(d, kDegToRad);
    const M redo = hn::Or(Beyond(d, lonDeg, kMolodenskyLimit), Beyond(d, y, kMolodenskyLimit));
    V sp, cp, sl, cl;
    SinCos(d, phi, &sp, &cp);
    SinCos(d, lam, &sl, &cl);
    const V w = hn::Set(d, 1.0) - hn::Set(d, c.e2) * sp * sp;
    const V sw = hn::Sqrt(w);
    const V N = hn::Set(d, c.a) / sw;
    const V Mr = hn::Set(d, c.aOneMinusE2) / (w * sw);
    const V dx = hn::Set(d, c.dx), dy = hn::Set(d, c.dy), dz = hn::Set(d, c.dz);
    const V dphi =
        (hn::Neg(dx) * sp * cl - dy * sp * sl + dz * cp + hn::Set(d, c.daTerm) * N * sp * cp +
         (hn::Set(d, c.dfM) * Mr + hn::Set(d, c.dfN) * N) * sp * cp) /
        Mr;
    const V dlam = (hn::Neg(dx) * sl + dy * cl) / (N * cp);
    const V shiftX = dlam * hn::Set(d, c.toDegrees), shiftY = dphi * hn::Set(d, c.toDegrees);
    x = lonDeg + shiftX;
    y = y + shiftY;
    return hn::Or(redo, hn::Or(Beyond(d, shiftX, 1.0), Beyond(d, shiftY, 1.0)));
}

// Geodetic (h = 0) to geocentric, the Helmert step (position vector, EPSG
// method 9606) and back by Bowring's closed form, as BursaWolfPoint with
// GeodeticToGeocentric and GeocentricToGeodetic. Within a hundredth of the
// radius of the axis (about half a degree of a pole) per point: there the
// longitude turns fast with X and Y, and a last-bit difference in the
// latitude a first step hands on grows by tan(latitude) times the shift over
// the distance from the axis.
template <class D, class V = hn::Vec<D>, class M = hn::Mask<D>>
HWY_INLINE M BursaWolfKernel(D d, const BursaWolf& c, V& x, V& y) {
    const V one = hn::Set(d, 1.0);
    const V lam = (x + hn::Set(d, c.pm)) * hn::Set(d, kDegToRad);
    const V phi = y * hn::Set(d, kDegToRad);
    M redo = hn::Or(Beyond(d, lam, kTrigLimit), Beyond(d, phi, kTrigLimit));
    V sp, cp, sl, cl;
    SinCos(d, phi, &sp, &cp);
    SinCos(d, lam, &sl, &cl);
    const V N = hn::Set(d, c.a) / hn::Sqrt(one - hn::Set(d, c.e2) * sp * sp);
    const V X = N * cp * cl, Y = N * cp * sl;
    const V Z = hn::Set(d, 1.0 - c.e2) * N * sp;
    const V S = hn::Set(d, c.S), rx = hn::Set(d, c.rx), ry = hn::Set(d, c.ry),
            rz = hn::Set(d, c.rz);
    const V X2 = hn::Set(d, c.dx) + S * (X - rz * Y + ry * Z);
    const V Y2 = hn::Set(d, c.dy) + S * (rz * X + Y - rx * Z);
    const V Z2 = hn::Set(d, c.dz) + S * (hn::Neg(ry) * X + rx * Y + Z);
    const double f = c.toF, e2 = (2.0 - f) * f, e2a = e2 * c.toA;
    const V oneMinusF = hn::Set(d, 1.0 - f), e2A = hn::Set(d, e2a);
    const V p = hn::Sqrt(X2 * X2 + Y2 * Y2);
    const V r = hn::Sqrt(p * p + Z2 * Z2);
    const V lon = Atan2(d, Y2, X2);
    const V t = (oneMinusF + e2A / r) * Z2;
    const V h = hn::Sqrt(t * t + p * p);
    const V su = t / h, cu = p / h;
    const V lat =
        Atan2(d, oneMinusF * Z2 + e2A * su * su * su, oneMinusF * (p - e2A * cu * cu * cu));
    x = lon * hn::Set(d, kRadToDeg);
    y = lat * hn::Set(d, kRadToDeg);
    redo = hn::Or(redo, hn::Not(hn::Ge(p, hn::Set(d, 1e-2) * r)));
    return hn::Or(redo, hn::Not(hn::And(hn::IsFinite(x), hn::IsFinite(y))));
}

// ---------------------------------------------------------------- the loop
constexpr size_t kMaxLanes = HWY_MAX_BYTES / sizeof(double);

// Lanes holding the marker or a value that is not finite: the per-point
// function passes the first and carries the others through its own arithmetic.
template <class D, class V = hn::Vec<D>, class M = hn::Mask<D>>
HWY_INLINE M Unusual(D d, V x, V y) {
    const V marker = hn::Set(d, kUnplottable);
    const M held = hn::Or(hn::Eq(x, marker), hn::Eq(y, marker));
    return hn::Or(held, hn::Not(hn::And(hn::IsFinite(x), hn::IsFinite(y))));
}

// One vector of points loaded from and stored to `xy` (the points themselves,
// or a pad whose first `valid` points are copied back), the first of them
// point number `first` of the call; the lanes the kernel cannot take are
// converted again from their input by `fn`. True when any `fn` returned true.
template <class D, class Kernel, class PointFn>
HWY_INLINE bool Block(D d, double* xy, DATUMPOINT* points, size_t first, size_t valid,
                      const Kernel& kernel, const PointFn& fn) {
    hn::Vec<D> x, y;
    hn::LoadInterleaved2(d, xy, x, y);
    const hn::Vec<D> x0 = x, y0 = y;
    const hn::Mask<D> redo = hn::Or(Unusual(d, x, y), kernel(d, x, y, first, valid));
    hn::StoreInterleaved2(x, y, d, xy);
    DATUMPOINT* const out = points + first;
    if (xy != reinterpret_cast<double*>(out))
        std::memcpy(static_cast<void*>(out), xy, valid * sizeof(DATUMPOINT));
    if (HWY_LIKELY(hn::AllFalse(d, redo))) return false;
    HWY_ALIGN double in[2 * kMaxLanes];
    hn::StoreInterleaved2(x0, y0, d, in);
    uint8_t bits[(kMaxLanes + 7) / 8] = {};
    hn::StoreMaskBits(d, redo, bits);
    bool any = false;
    for (size_t i = 0; i < valid; ++i) {
        if (!((bits[i / 8] >> (i % 8)) & 1)) continue;
        out[i] = DATUMPOINT{in[2 * i], in[2 * i + 1]};
        any |= fn(out[i], first + i);
    }
    return any;
}

// The last `rest` points from `first` on (fewer than a whole vector) in one
// vector of width `d`, filled up with copies of the first; in place when they
// fill it (a load of the pad just written would wait for its stores).
template <class D, class Kernel, class PointFn>
HWY_INLINE bool Padded(D d, DATUMPOINT* points, size_t first, size_t rest, const Kernel& kernel,
                       const PointFn& fn) {
    if (rest == hn::Lanes(d))
        return Block(d, reinterpret_cast<double*>(points + first), points, first, rest, kernel, fn);
    HWY_ALIGN DATUMPOINT pad[kMaxLanes];
    for (size_t j = 0; j < hn::Lanes(d); ++j)
        pad[j] = points[first + (j < rest ? j : 0)];
    return Block(d, reinterpret_cast<double*>(pad), points, first, rest, kernel, fn);
}

// Every point, a whole vector at a time; the last few in the narrowest vector
// that holds them, so that even a single point takes the same arithmetic as
// in a long array, at the cost of two lanes.
//   kernel(d, x, y, first, valid) converts the lanes and returns those to redo;
//   fn(point, index) redoes one point and says whether it is unplottable.
// True when any point redone was unplottable.
template <class Kernel, class PointFn>
bool ForEachVector(DATUMPOINT* points, int count, const Kernel& kernel, const PointFn& fn) {
    const hn::ScalableTag<double> d;
    const size_t n = hn::Lanes(d), total = static_cast<size_t>(count);
    size_t i = 0;
    bool any = false;
    for (; i + n <= total; i += n)
        any |= Block(d, reinterpret_cast<double*>(points + i), points, i, n, kernel, fn);
    const size_t rest = total - i;
    if (rest == 0) return any;
    if (n > 2 && rest <= 2)
        return Padded(hn::CappedTag<double, 2>(), points, i, rest, kernel, fn) || any;
    if (n > 4 && rest <= 4)
        return Padded(hn::CappedTag<double, 4>(), points, i, rest, kernel, fn) || any;
    return Padded(d, points, i, rest, kernel, fn) || any;
}

void MolodenskyAll(const Molodensky& c, DATUMPOINT* points, int count) {
    ForEachVector(
        points, count,
        [&c](auto d, auto& x, auto& y, size_t, size_t)
            HWY_ATTR { return MolodenskyKernel(d, c, x, y); },
        [&c](DATUMPOINT& p, size_t) {
            MolodenskyPoint(c, p);
            return false;
        });
}

void BursaWolfAll(const BursaWolf& c, DATUMPOINT* points, int count) {
    ForEachVector(
        points, count,
        [&c](auto d, auto& x, auto& y, size_t, size_t)
            HWY_ATTR { return BursaWolfKernel(d, c, x, y); },
        [&c](DATUMPOINT& p, size_t) {
            BursaWolfPoint(c, p);
            return false;
        });
}

} // namespace HWY_NAMESPACE
} // namespace shift

// ---------------------------------------------------------------- passes
// The passes before and after the steps, as PreparePoint and FinishPoint.
// The common case, a point that folding leaves as it is (finite, longitude
// within a turn, latitude within a quarter), takes the vector; every other
// point (markers, non-finite values, angles to fold) the per-point function.
namespace pass {
namespace HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;
using shift::HWY_NAMESPACE::ForEachVector;
using shift::HWY_NAMESPACE::kMaxLanes;

template <class D, class V = hn::Vec<D>, class M = hn::Mask<D>>
HWY_INLINE M Unfolded(D d, V x, V y) {
    return hn::And(hn::Lt(hn::Abs(x), hn::Set(d, 360.0)), hn::Le(hn::Abs(y), hn::Set(d, 90.0)));
}

// The turn into -180..180, kept in wrap[0, valid).
template <class D, class V = hn::Vec<D>, class M = hn::Mask<D>>
HWY_INLINE M PrepareKernel(D d, V& x, V& y, signed char* wrap, size_t valid) {
    const M redo = hn::Not(Unfolded(d, x, y));
    const M west = hn::Lt(x, hn::Set(d, -180.0)), east = hn::Gt(x, hn::Set(d, 180.0));
    const V turn =
        hn::IfThenElse(west, hn::Set(d, -1.0), hn::IfThenElseZero(east, hn::Set(d, 1.0)));
    x = hn::IfThenElse(west, x + hn::Set(d, 360.0), hn::IfThenElse(east, x - hn::Set(d, 360.0), x));
    HWY_ALIGN double turns[kMaxLanes];
    hn::Store(turn, d, turns);
    for (size_t i = 0; i < valid; ++i)
        wrap[i] = static_cast<signed char>(turns[i]);
    return redo;
}

// The turn of wrap[0, valid) given back.
template <class D, class V = hn::Vec<D>, class M = hn::Mask<D>>
HWY_INLINE M FinishKernel(D d, V& x, V& y, const signed char* wrap, size_t valid) {
    HWY_ALIGN double turns[kMaxLanes];
    for (size_t i = 0; i < hn::Lanes(d); ++i)
        turns[i] = wrap[i < valid ? i : 0];
    x = x + hn::Set(d, 360.0) * hn::Load(d, turns);
    return hn::Not(Unfolded(d, x, y));
}

bool PrepareAll(DATUMPOINT* points, int count, signed char* wrap) {
    return ForEachVector(
        points, count,
        [wrap](auto d, auto& x, auto& y, size_t first, size_t valid)
            HWY_ATTR { return PrepareKernel(d, x, y, wrap + first, valid); },
        [wrap](DATUMPOINT& p, size_t i) { return PreparePoint(p, wrap[i]); });
}

bool FinishAll(DATUMPOINT* points, int count, const signed char* wrap) {
    return ForEachVector(
        points, count,
        [wrap](auto d, auto& x, auto& y, size_t first, size_t valid)
            HWY_ATTR { return FinishKernel(d, x, y, wrap + first, valid); },
        [wrap](DATUMPOINT& p, size_t i) { return FinishPoint(p, wrap[i]); });
}

} // namespace HWY_NAMESPACE
} // namespace pass
} // namespace KVProj
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace KVProj {
namespace shift {

HWY_EXPORT(MolodenskyAll);
HWY_EXPORT(BursaWolfAll);

void MolodenskyLanes(const Molodensky& c, DATUMPOINT* points, int count) {
    HWY_DYNAMIC_DISPATCH(MolodenskyAll)(c, points, count);
}

void BursaWolfLanes(const BursaWolf& c, DATUMPOINT* points, int count) {
    HWY_DYNAMIC_DISPATCH(BursaWolfAll)(c, points, count);
}

} // namespace shift

namespace pass {

HWY_EXPORT(PrepareAll);
HWY_EXPORT(FinishAll);

bool PrepareLanes(DATUMPOINT* points, int count, signed char* wrap) {
    return HWY_DYNAMIC_DISPATCH(PrepareAll)(points, count, wrap);
}

bool FinishLanes(DATUMPOINT* points, int count, const signed char* wrap) {
    return HWY_DYNAMIC_DISPATCH(FinishAll)(points, count, wrap);
}

} // namespace pass
} // namespace KVProj
#endif
