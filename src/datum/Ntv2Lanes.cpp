// The NTv2 shift a vector of points at a time: Ntv2TransformPoint written
// lane-wise in the same order of operations (this source is compiled without
// contraction into fused multiply-adds), compiled for every instruction set
// Highway knows and chosen at run time. Each lane finds its own sub-grid (the
// tree search stays per point) and the four nodes of its cell; the wrap, the
// cell and its edges, the bilinear interpolation and the inverse iteration
// run on the vector. Bilinear interpolation needs no transcendental
// function, so every lane gives the per-point function's bits. Markers and
// values that are not finite go through the per-point function.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "datum/Ntv2Lanes.cpp"
#include <hwy/foreach_target.h> // IWYU pragma: keep

#include <hwy/cache_control.h>
#include <hwy/highway.h>

#include "datum/Ntv2.h"
#include "frame/Angles.h"

#include <cmath>
#include <cstddef>
#include <cstdint>

HWY_BEFORE_NAMESPACE();
namespace KVProj {
namespace ntv2 {
namespace HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

constexpr size_t kMaxLanes = HWY_MAX_BYTES / sizeof(double);
constexpr int kCorrections = 11; // as Ntv2TransformPoint

// The sub-grid of every lane of one vector, its spacing and size; lanes
// without one (left as they are) carry a grid of 2 x 2 nodes that is never read.
struct LaneGrids {
    const Ntv2SubGrid* grid[kMaxLanes];
    HWY_ALIGN double x0[kMaxLanes], y0[kMaxLanes], dx[kMaxLanes], dy[kMaxLanes];
    HWY_ALIGN double columns[kMaxLanes], rows[kMaxLanes];
};

// Ntv2Wrap: the angle folded into -pi..pi unless it is within pi already.
template <class D, class V = hn::Vec<D>> HWY_INLINE V Wrap(D d, V a) {
    const V pi = hn::Set(d, kPi), turn = hn::Set(d, 2.0 * kPi);
    const V folded = a + pi - hn::Floor((a + pi) / turn) * turn - pi;
    return hn::IfThenElse(hn::Le(hn::Abs(a), hn::Set(d, 3.14159265359)), a, folded);
}

// CellOf of Ntv2.cpp: the cell index and fraction of grid position `f` on an
// axis of `n` nodes, a position within 1e-11 of a cell outside the outer
// nodes counting as on them. Lanes without a cell are false.
template <class D, class V = hn::Vec<D>, class M = hn::Mask<D>>
HWY_INLINE M Cell(D d, V f, V n, V* index, V* frac) {
    const V one = hn::Set(d, 1.0);
    const M inside = hn::And(hn::Ge(f, hn::Set(d, -1.0)), hn::Lt(f, n + one)); // NaN false
    const V whole = hn::Floor(f);
    const V t = f - whole;
    const M low = hn::Lt(whole, hn::Zero(d));
    const M high = hn::AndNot(low, hn::Ge(whole + one, n));
    const M lowOk = hn::And(low, hn::Gt(t, hn::Set(d, 0.99999999999)));
    const M highOk = hn::And(high, hn::And(hn::Eq(whole + one, n), hn::Lt(t, hn::Set(d, 1e-11))));
    const M middle = hn::Not(hn::Or(low, high));
    // A single column or row has no cells.
    const M ok =
        hn::And(hn::And(inside, hn::Ge(n, hn::Set(d, 2.0))), hn::Or(middle, hn::Or(lowOk, highOk)));
    *index = hn::IfThenElse(low, hn::Zero(d), hn::IfThenElse(high, n - hn::Set(d, 2.0), whole));
    *frac = hn::IfThenElse(low, hn::Zero(d), hn::IfThenElse(high, one, t));
    return ok;
}

// The four nodes around each lane's cell (south-west node `at` of its
// sub-grid), as doubles; lanes not in `use` read nothing and hold zeros.
struct Corners {
    HWY_ALIGN double lon[4][kMaxLanes];
    HWY_ALIGN double lat[4][kMaxLanes];
};

template <class D, class M = hn::Mask<D>>
HWY_INLINE void Fetch(D d, const LaneGrids& lanes, M use, hn::Vec<D> at, Corners* c) {
    HWY_ALIGN double where[kMaxLanes];
    hn::Store(hn::IfThenElseZero(use, at), d, where);
    uint8_t bits[(kMaxLanes + 7) / 8] = {};
    hn::StoreMaskBits(d, use, bits);
    for (size_t i = 0; i < hn::Lanes(d); ++i) {
        if (!((bits[i / 8] >> (i % 8)) & 1)) {
            for (int k = 0; k < 4; ++k)
                c->lon[k][i] = c->lat[k][i] = 0.0;
            continue;
        }
        const Ntv2SubGrid& g = *lanes.grid[i];
        const Ntv2Node* s = &g.nodes[static_cast<size_t>(where[i])]; // south-west
        const Ntv2Node* n = s + g.columns;                           // north-west
        const Ntv2Node* four[4] = {s, s + 1, n, n + 1};
        for (int k = 0; k < 4; ++k) {
            c->lon[k][i] = four[k]->lon;
            c->lat[k][i] = four[k]->lat;
        }
    }
}

// Ntv2ShiftAt lane-wise: the bilinear shift at (u, v) radians from each
// lane's south-west node; lanes outside their nodes, or not in `live`, false.
template <class D, class V = hn::Vec<D>, class M = hn::Mask<D>>
HWY_INLINE M ShiftAt(D d, const LaneGrids& lanes, M live, V u, V v, V* shiftLon, V* shiftLat) {
    V i, j, tx, ty;
    const M okX = Cell(d, u / hn::Load(d, lanes.dx), hn::Load(d, lanes.columns), &i, &tx);
    const M okY = Cell(d, v / hn::Load(d, lanes.dy), hn::Load(d, lanes.rows), &j, &ty);
    const M ok = hn::And(live, hn::And(okX, okY));
    Corners c;
    Fetch(d, lanes, ok, j * hn::Load(d, lanes.columns) + i, &c);
    const V one = hn::Set(d, 1.0);
    const V w00 = (one - tx) * (one - ty), w10 = tx * (one - ty);
    const V w01 = (one - tx) * ty, w11 = tx * ty;
    *shiftLon = w00 * hn::Load(d, c.lon[0]) + w10 * hn::Load(d, c.lon[1]) +
                w01 * hn::Load(d, c.lon[2]) + w11 * hn::Load(d, c.lon[3]);
    *shiftLat = w00 * hn::Load(d, c.lat[0]) + w10 * hn::Load(d, c.lat[1]) +
                w01 * hn::Load(d, c.lat[2]) + w11 * hn::Load(d, c.lat[3]);
    return ok;
}

// The inverse of the lanes in `ok` whose forward shift at (u, v) is (sLon,
// sLat): the grid position whose forward shift lands on (u, v), corrected
// until a correction is within 1e-12 in either coordinate or the estimate
// leaves the nodes; a lane still correcting after the last allowed
// correction becomes unplottable.
template <class D, class V = hn::Vec<D>, class M = hn::Mask<D>>
HWY_INLINE void Inverse(D d, const LaneGrids& lanes, M ok, V u, V v, V sLon, V sLat, V& x, V& y) {
    V gLon = u + sLon, gLat = v - sLat;
    V made = hn::Zero(d);
    const V tiny = hn::Set(d, 1e-12), last = hn::Set(d, double(kCorrections));
    M live = ok;
    for (int k = 0; k < kCorrections && !hn::AllFalse(d, live); ++k) {
        V tLon, tLat;
        live = ShiftAt(d, lanes, live, gLon, gLat, &tLon, &tLat); // off: keep the estimate
        const V eLon = gLon - tLon - u, eLat = gLat + tLat - v;
        gLon = hn::IfThenElse(live, gLon - eLon, gLon);
        gLat = hn::IfThenElse(live, gLat - eLat, gLat);
        made = hn::IfThenElse(live, made + hn::Set(d, 1.0), made);
        const M close = hn::Or(hn::Le(hn::Abs(eLon), tiny), hn::Le(hn::Abs(eLat), tiny));
        live = hn::AndNot(hn::And(hn::Lt(made, last), close), live);
    }
    const M lost = hn::And(ok, hn::Eq(made, last));
    const M found = hn::AndNot(lost, ok);
    const V marker = hn::Set(d, kUnplottable);
    x = hn::IfThenElse(found, Wrap(d, gLon + hn::Load(d, lanes.x0)), x);
    y = hn::IfThenElse(found, gLat + hn::Load(d, lanes.y0), y);
    x = hn::IfThenElse(lost, marker, x);
    y = hn::IfThenElse(lost, marker, y);
}

// Ntv2TransformPoint on the lanes that have a sub-grid.
template <class D, class V = hn::Vec<D>, class M = hn::Mask<D>>
HWY_INLINE void Shift(D d, const LaneGrids& lanes, M has, V& x, V& y, bool inverse) {
    const V x0 = hn::Load(d, lanes.x0);
    const V u = Wrap(d, x - x0 - hn::Set(d, kPi)) + hn::Set(d, kPi);
    const V v = y - hn::Load(d, lanes.y0);
    V sLon, sLat;
    const M ok = ShiftAt(d, lanes, has, u, v, &sLon, &sLat);
    if (!inverse) {
        x = hn::IfThenElse(ok, x - sLon, x); // the file's longitude shifts are positive west
        y = hn::IfThenElse(ok, y + sLat, y);
        return;
    }
    Inverse(d, lanes, ok, u, v, sLon, sLat, x, y);
}

// Points [0, valid) in one vector, of sub-grids `grids` (null: left as they
// are); the lanes beyond `valid` are neither read nor written.
template <class D>
HWY_INLINE void Block(D d, const Ntv2SubGrid* const* grids, DATUMPOINT* points, size_t valid,
                      bool inverse) {
    LaneGrids lanes;
    HWY_ALIGN double px[kMaxLanes], py[kMaxLanes], has[kMaxLanes];
    bool any = false;
    for (size_t i = 0; i < hn::Lanes(d); ++i) {
        const Ntv2SubGrid* g = i < valid ? grids[i] : nullptr;
        px[i] = i < valid ? points[i].x : 0.0;
        py[i] = i < valid ? points[i].y : 0.0;
        lanes.grid[i] = g;
        has[i] = g ? 1.0 : 0.0;
        any |= g != nullptr;
        lanes.x0[i] = g ? g->x0 : 0.0;
        lanes.y0[i] = g ? g->y0 : 0.0;
        lanes.dx[i] = g ? g->dx : 1.0;
        lanes.dy[i] = g ? g->dy : 1.0;
        lanes.columns[i] = g ? g->columns : 2.0;
        lanes.rows[i] = g ? g->rows : 2.0;
    }
    if (!any) return;
    hn::Vec<D> x = hn::Load(d, px), y = hn::Load(d, py);
    Shift(d, lanes, hn::Ne(hn::Load(d, has), hn::Zero(d)), x, y, inverse);
    hn::Store(x, d, px);
    hn::Store(y, d, py);
    for (size_t i = 0; i < valid; ++i)
        if (lanes.grid[i]) points[i] = DATUMPOINT{px[i], py[i]};
}

// Points are taken this many at a time: first each one's sub-grid, with a
// prefetch of the nodes around it (large grids are read at random), then the
// vectors, whose node loads then mostly hit the cache.
constexpr size_t kChunk = 32;

// The sub-grid of `p`, or null for a point the per-point function has
// already shifted (a marker or a value that is not finite) or that no
// sub-grid contains; the rows of nodes around it are asked for.
HWY_INLINE const Ntv2SubGrid* Prepare(const Ntv2Tree& tree, DATUMPOINT& p, bool inverse) {
    if (!std::isfinite(p.x) || !std::isfinite(p.y) || p.x == kUnplottable || p.y == kUnplottable) {
        Ntv2TransformPoint(tree, &p.x, &p.y, inverse);
        return nullptr;
    }
    const Ntv2SubGrid* g = tree.Choose(p.x, p.y);
    if (!g) return nullptr;
    const double c = (p.x - g->x0) / g->dx, r = (p.y - g->y0) / g->dy; // near enough
    if (c >= 0 && c < g->columns && r >= 0 && r + 1 < g->rows) {
        const Ntv2Node* s = &g->nodes[static_cast<size_t>(r) * g->columns + static_cast<size_t>(c)];
        hwy::Prefetch(s);
        hwy::Prefetch(s + g->columns);
    }
    return g;
}

void TransformAll(const Ntv2Tree& tree, DATUMPOINT* points, int count, bool inverse) {
    const hn::ScalableTag<double> d;
    const size_t n = hn::Lanes(d), total = count > 0 ? static_cast<size_t>(count) : 0;
    const Ntv2SubGrid* grids[kChunk];
    for (size_t at = 0; at < total; at += kChunk) {
        const size_t size = total - at < kChunk ? total - at : kChunk;
        for (size_t k = 0; k < size; ++k)
            grids[k] = Prepare(tree, points[at + k], inverse);
        for (size_t i = 0; i < size; i += n)
            Block(d, grids + i, points + at + i, size - i < n ? size - i : n, inverse);
    }
}

} // namespace HWY_NAMESPACE
} // namespace ntv2
} // namespace KVProj
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace KVProj {
namespace ntv2 {
HWY_EXPORT(TransformAll);
} // namespace ntv2

void Ntv2TransformLanes(const Ntv2Tree& tree, DATUMPOINT* points, int count, bool inverse) {
    HWY_DYNAMIC_DISPATCH(ntv2::TransformAll)(tree, points, count, inverse);
}

} // namespace KVProj
#endif
