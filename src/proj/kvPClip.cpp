// Preclipping of polylines and polygons to a projection's valid area.
//
// The valid area is known only through its point test (open boundary). Its
// boundary is never described analytically; it is found and followed with
// the test alone:
//
// 1. Crossings. Every edge is sampled at most kSampleStep degrees apart; where
//    two neighbouring samples disagree, the crossing is bisected down to
//    kCrossTolerance degrees and the inside end of the final interval is kept,
//    so every point handed out passes the test. Each crossing is an entry
//    (outside -> inside) or an exit, and remembers the edge's direction.
//
// 2. Polylines are cut at their crossings: each run entry .. inside vertices ..
//    exit (or the path's own ends) is one piece.
//
// 3. Polygons: the rings are first oriented by nesting (a ring inside an even
//    number of other rings is an outer ring and runs counter-clockwise in the
//    lon/lat plane, the others are holes and run clockwise), so the polygon's
//    interior is always on the left. Every crossing ring falls into arcs that
//    run inside from an entry to an exit. Rings are then assembled as in the
//    Weiler-Atherton method: follow an arc to its exit, follow the area's
//    boundary counter-clockwise (the area on the left, like the polygon) to
//    the next entry met, follow that entry's arc, and so on until the first
//    arc comes round again.
//
// 4. Following the boundary. From a boundary point P, with a direction
//    pointing into the area, directions are tried clockwise on a circle of
//    kTraceStep degrees around P; between the last direction inside and the
//    first outside lies the next boundary point, which is bisected on the
//    circle. That is the next step with the area on the left; corners of the
//    area are rounded by less than one step. An entry is reached when it lies
//    within 1.5 steps of the current point and ahead of it. The walk gives up
//    (the clip fails) after more steps than any boundary within the lon/lat
//    limits can need, so a pathological area never hangs the caller.
//
// 5. Rings with no crossing are kept whole when inside and dropped when
//    outside, except that when the outside rings enclose the area an odd
//    number of times (tested on one inside point of the area), the whole
//    boundary of the area is followed once round and becomes a ring: this is
//    what a world-spanning polygon clips to.
//
// All result rings of one polygon go to the polygon callback together
// (even-odd filling gives the holes); the cut-open arcs of the input outlines
// also go to the line callback, so a host can stroke outlines without the
// seams along the boundary.
#include "proj/kvPClip.h"

#include "frame/Angles.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <vector>

namespace KVProj {

namespace {

constexpr double kSampleStep = 1.0;      // degrees between tested points of an edge
constexpr int kMaxSamples = 4096;        // per edge; edges are at most a few turns long
constexpr double kCrossTolerance = 1e-9; // degrees: width of a bisected crossing
constexpr int kMaxBisections = 200;
constexpr double kTraceStep = 0.5; // degrees between points along the boundary
constexpr double kReach = 1.5 * kTraceStep;
constexpr int kScanDirections = 72; // 5 degree steps round the circle
constexpr int kAngleBisections = 50;
// The lon/lat limits (720 x 180 degrees) bound any boundary to 1800 degrees.
constexpr int kMaxTraceSteps = static_cast<int>(2.0 * 1800.0 / kTraceStep);

using Path = std::vector<PROJPOINT>;

inline PROJPOINT Pt(double x, double y) {
    PROJPOINT p;
    p.x = x;
    p.y = y;
    return p;
}
inline PROJPOINT Sub(const PROJPOINT& a, const PROJPOINT& b) {
    return Pt(a.x - b.x, a.y - b.y);
}
inline double Dot(const PROJPOINT& a, const PROJPOINT& b) {
    return a.x * b.x + a.y * b.y;
}
inline double Len(const PROJPOINT& a) {
    return std::hypot(a.x, a.y);
}
inline PROJPOINT Unit(const PROJPOINT& a) {
    const double l = Len(a);
    return l > 0.0 ? Pt(a.x / l, a.y / l) : Pt(1.0, 0.0);
}
inline PROJPOINT Left(const PROJPOINT& a) {
    return Pt(-a.y, a.x);
}
inline bool Finite(const PROJPOINT& p) {
    return std::isfinite(p.x) && std::isfinite(p.y);
}

enum class Kind { Vertex, Entry, Exit };

struct Event {
    Kind kind;
    PROJPOINT p;
    PROJPOINT dir; // unit direction of the edge, for crossings
};

// An inside stretch of a ring, from its entry to its exit.
struct Arc {
    Path pts;
    PROJPOINT exitDir;
    bool used = false;
};

class Clipper {
public:
    explicit Clipper(const PClipDomain& d) : m_d(d) {}

    bool In(const PROJPOINT& p) const { return m_d.inside(m_d.context, p); }

    // `in` inside, `out` outside: the inside end of the bisected crossing.
    PROJPOINT Bisect(PROJPOINT in, PROJPOINT out) const {
        for (int i = 0; i < kMaxBisections && Len(Sub(out, in)) > kCrossTolerance; ++i) {
            const PROJPOINT mid = Pt(0.5 * (in.x + out.x), 0.5 * (in.y + out.y));
            if (In(mid))
                in = mid;
            else
                out = mid;
        }
        return in;
    }

    // Appends the crossings of the edge a -> b (statuses known at both ends).
    void Edge(const PROJPOINT& a, bool ina, const PROJPOINT& b, bool inb,
              std::vector<Event>& out) const {
        const PROJPOINT d = Sub(b, a);
        const double len = Len(d);
        int n = 1;
        if (std::isfinite(len) && len > kSampleStep)
            n = static_cast<int>(std::min<double>(std::ceil(len / kSampleStep), kMaxSamples));
        const PROJPOINT dir = Unit(d);
        PROJPOINT prev = a;
        bool inPrev = ina;
        for (int k = 1; k <= n; ++k) {
            const double t = static_cast<double>(k) / n;
            const PROJPOINT q = k == n ? b : Pt(a.x + t * d.x, a.y + t * d.y);
            const bool inq = k == n ? inb : In(q);
            if (inq != inPrev) {
                if (inPrev)
                    out.push_back({Kind::Exit, Bisect(prev, q), dir});
                else
                    out.push_back({Kind::Entry, Bisect(q, prev), dir});
            }
            prev = q;
            inPrev = inq;
        }
    }

    // The next boundary point, kTraceStep away from boundary point `p`, found
    // clockwise from the inward direction `inward` (so the area is on the left
    // of the step). False when no direction round `p` changes sides.
    bool NextOnBoundary(const PROJPOINT& p, const PROJPOINT& inward, PROJPOINT* next) const {
        const double base = std::atan2(inward.y, inward.x);
        const double da = kTwoPi / kScanDirections;
        auto onCircle = [&](double a) {
            return Pt(p.x + kTraceStep * std::cos(a), p.y + kTraceStep * std::sin(a));
        };
        int k = 0;
        while (k <= kScanDirections && !In(onCircle(base - k * da)))
            ++k;
        if (k > kScanDirections) return false;
        const int firstIn = k;
        while (k <= firstIn + kScanDirections && In(onCircle(base - k * da)))
            ++k;
        if (k > firstIn + kScanDirections) return false;
        double aIn = base - (k - 1) * da, aOut = base - k * da;
        for (int i = 0; i < kAngleBisections; ++i) {
            const double mid = 0.5 * (aIn + aOut);
            if (In(onCircle(mid)))
                aIn = mid;
            else
                aOut = mid;
        }
        *next = onCircle(aIn);
        return true;
    }

    // Follows the boundary from exit `from` (edge direction `dir`) to the
    // first target ahead; appends the boundary points in between to `out`.
    // Returns the index of the target reached, or -1.
    int Walk(const PROJPOINT& from, const PROJPOINT& dir, const std::vector<PROJPOINT>& targets,
             const std::vector<bool>& eligible, int minStepsFor, int lateTarget, Path& out) const {
        PROJPOINT p = from;
        PROJPOINT inward = Pt(-dir.x, -dir.y);
        for (int steps = 0; steps < kMaxTraceSteps; ++steps) {
            PROJPOINT next;
            if (!NextOnBoundary(p, inward, &next)) return -1;
            const PROJPOINT step = Sub(next, p);
            const PROJPOINT ahead = Unit(step);
            int best = -1;
            double bestAlong = 0.0;
            for (size_t i = 0; i < targets.size(); ++i) {
                if (!eligible[i]) continue;
                if (static_cast<int>(i) == lateTarget && steps < minStepsFor) continue;
                const PROJPOINT v = Sub(targets[i], p);
                const double dist = Len(v);
                const double along = Dot(v, ahead);
                const bool hit = dist <= 10 * kCrossTolerance || (dist <= kReach && along > 0.0);
                if (hit && (best < 0 || along < bestAlong)) {
                    best = static_cast<int>(i);
                    bestAlong = along;
                }
            }
            if (best >= 0) return best;
            out.push_back(next);
            inward = Left(ahead);
            p = next;
        }
        return -1;
    }

    // Some point inside the area: the hint, else the first of a coarse grid.
    bool InsidePoint(PROJPOINT* found) const {
        if (Finite(m_d.hint) && In(m_d.hint)) {
            *found = m_d.hint;
            return true;
        }
        for (double lat = 0.0; lat <= 85.0; lat += 5.0)
            for (int sign = 1; sign >= -1; sign -= 2)
                for (double lon = -360.0; lon <= 360.0; lon += 5.0) {
                    const PROJPOINT q = Pt(lon, sign * lat);
                    if (In(q)) {
                        *found = q;
                        return true;
                    }
                }
        return false;
    }

    // The whole boundary round the area's part that holds `inside`, counter-clockwise.
    bool Loop(const PROJPOINT& inside, Path& out) const {
        const PROJPOINT start = Bisect(inside, Pt(inside.x, 91.0));
        out.push_back(start);
        const std::vector<PROJPOINT> targets{start};
        const std::vector<bool> eligible{true};
        if (Walk(start, Pt(0.0, 1.0), targets, eligible, 2, 0, out) != 0) return false;
        out.push_back(start);
        return out.size() >= 4;
    }

private:
    const PClipDomain& m_d;
};

// ---------------------------------------------------------------- rings

double SignedArea(const PROJPOINT* p, int n) {
    double a = 0.0;
    for (int i = 0, j = n - 1; i < n; j = i++)
        a += (p[j].x - p[i].x) * (p[j].y + p[i].y);
    return 0.5 * a;
}

bool PointInRing(const PROJPOINT& q, const PROJPOINT* p, int n) {
    bool in = false;
    for (int i = 0, j = n - 1; i < n; j = i++) {
        if ((p[i].y > q.y) != (p[j].y > q.y)) {
            const double x = p[j].x + (q.y - p[j].y) * (p[i].x - p[j].x) / (p[i].y - p[j].y);
            if (q.x < x) in = !in;
        }
    }
    return in;
}

struct Ring {
    Path pts; // without a repeated closing point
    double minX, minY, maxX, maxY;
    bool Covers(const PROJPOINT& q) const {
        return q.x >= minX && q.x <= maxX && q.y >= minY && q.y <= maxY &&
               PointInRing(q, pts.data(), static_cast<int>(pts.size()));
    }
};

std::vector<Ring> ReadRings(int parts, const int* partCounts, const PROJPOINT* points) {
    std::vector<Ring> rings;
    const PROJPOINT* p = points;
    for (int r = 0; r < parts; ++r) {
        int n = partCounts[r];
        const PROJPOINT* first = p;
        p += n;
        if (n > 1 && first[0].x == first[n - 1].x && first[0].y == first[n - 1].y) --n;
        if (n < 3) continue;
        Ring ring;
        ring.pts.assign(first, first + n);
        ring.minX = ring.maxX = first[0].x;
        ring.minY = ring.maxY = first[0].y;
        for (const PROJPOINT& q : ring.pts) {
            ring.minX = std::min(ring.minX, q.x);
            ring.maxX = std::max(ring.maxX, q.x);
            ring.minY = std::min(ring.minY, q.y);
            ring.maxY = std::max(ring.maxY, q.y);
        }
        rings.push_back(std::move(ring));
    }
    return rings;
}

// Outer rings counter-clockwise, holes clockwise, by how deeply each is nested.
void OrientByNesting(std::vector<Ring>& rings) {
    std::vector<bool> hole(rings.size(), false);
    for (size_t i = 0; i < rings.size(); ++i) {
        int depth = 0;
        for (size_t j = 0; j < rings.size(); ++j)
            if (j != i && rings[j].Covers(rings[i].pts[0])) ++depth;
        hole[i] = depth % 2 == 1;
    }
    for (size_t i = 0; i < rings.size(); ++i) {
        const double area = SignedArea(rings[i].pts.data(), static_cast<int>(rings[i].pts.size()));
        if ((area < 0.0) != hole[i]) std::reverse(rings[i].pts.begin(), rings[i].pts.end());
    }
}

// Where a ring lies against the boundary of the valid area.
enum class RingPlace { Crosses, WhollyInside, WhollyOutside };

// Cuts one ring into its inside arcs (added to `arcs` when it crosses).
RingPlace SplitRing(const Clipper& c, const Path& pts, std::vector<Arc>& arcs) {
    const size_t n = pts.size();
    std::vector<bool> in(n);
    for (size_t i = 0; i < n; ++i)
        in[i] = c.In(pts[i]);
    std::vector<Event> ev;
    for (size_t i = 0; i < n; ++i) {
        if (in[i]) ev.push_back({Kind::Vertex, pts[i], Pt(0, 0)});
        const size_t j = (i + 1) % n;
        c.Edge(pts[i], in[i], pts[j], in[j], ev);
    }
    size_t firstExit = ev.size();
    for (size_t i = 0; i < ev.size(); ++i)
        if (ev[i].kind == Kind::Exit) {
            firstExit = i;
            break;
        }
    if (firstExit == ev.size()) return in[0] ? RingPlace::WhollyInside : RingPlace::WhollyOutside;
    Arc arc;
    bool open = false;
    for (size_t k = 1; k <= ev.size(); ++k) {
        const Event& e = ev[(firstExit + k) % ev.size()];
        if (e.kind == Kind::Entry) {
            arc = Arc();
            arc.pts.push_back(e.p);
            open = true;
        } else if (open) {
            arc.pts.push_back(e.p);
            if (e.kind == Kind::Exit) {
                arc.exitDir = e.dir;
                arcs.push_back(arc);
                open = false;
            }
        }
    }
    return RingPlace::Crosses;
}

bool Deliver(const std::vector<Path>& rings, void* user, ProjPolygonFunc polygon) {
    if (rings.empty()) return true;
    std::vector<int> counts;
    Path all;
    for (const Path& r : rings) {
        counts.push_back(static_cast<int>(r.size()));
        all.insert(all.end(), r.begin(), r.end());
    }
    return polygon(user, static_cast<int>(counts.size()), counts.data(), all.data());
}

void CloseRing(Path& r) {
    if (!r.empty() && (r.front().x != r.back().x || r.front().y != r.back().y))
        r.push_back(r.front());
}

// Weiler-Atherton assembly of the arcs into closed rings.
bool AssembleArcs(const Clipper& c, std::vector<Arc>& arcs, std::vector<Path>& out) {
    std::vector<PROJPOINT> entries;
    for (const Arc& a : arcs)
        entries.push_back(a.pts.front());
    std::vector<bool> eligible(arcs.size());
    for (size_t s = 0; s < arcs.size(); ++s) {
        if (arcs[s].used) continue;
        Path ring;
        size_t cur = s;
        for (size_t guard = 0;; ++guard) {
            if (guard > arcs.size()) return false;
            arcs[cur].used = true;
            ring.insert(ring.end(), arcs[cur].pts.begin(), arcs[cur].pts.end());
            for (size_t i = 0; i < arcs.size(); ++i)
                eligible[i] = !arcs[i].used || i == s;
            const int next =
                c.Walk(arcs[cur].pts.back(), arcs[cur].exitDir, entries, eligible, 0, -1, ring);
            if (next < 0) return false;
            if (static_cast<size_t>(next) == s) break;
            cur = static_cast<size_t>(next);
        }
        CloseRing(ring);
        if (ring.size() >= 4) out.push_back(std::move(ring));
    }
    return true;
}

} // namespace

bool PClipPolyline(const PClipDomain& domain, int count, const PROJPOINT* points, void* user,
                   ProjLineFunc piece) {
    const Clipper c(domain);
    std::vector<Event> ev;
    bool inPrev = c.In(points[0]);
    for (int i = 0; i < count; ++i) {
        if (inPrev) ev.push_back({Kind::Vertex, points[i], Pt(0, 0)});
        if (i + 1 == count) break;
        const bool inNext = c.In(points[i + 1]);
        c.Edge(points[i], inPrev, points[i + 1], inNext, ev);
        inPrev = inNext;
    }
    Path cur;
    auto flush = [&]() {
        const bool ok = cur.size() < 2 || piece(user, static_cast<int>(cur.size()), cur.data());
        cur.clear();
        return ok;
    };
    for (const Event& e : ev) {
        if (e.kind == Kind::Entry && !flush()) return false;
        cur.push_back(e.p);
        if (e.kind == Kind::Exit && !flush()) return false;
    }
    return flush();
}

bool PClipPolygon(const PClipDomain& domain, int parts, const int* partCounts,
                  const PROJPOINT* points, void* user, ProjPolygonFunc polygon, ProjLineFunc line) {
    const Clipper c(domain);
    std::vector<Ring> rings = ReadRings(parts, partCounts, points);
    OrientByNesting(rings);

    std::vector<Arc> arcs;
    std::vector<Path> result;
    std::vector<const Ring*> outside;
    for (const Ring& r : rings) {
        const RingPlace place = SplitRing(c, r.pts, arcs);
        if (place == RingPlace::WhollyInside) {
            Path whole = r.pts;
            CloseRing(whole);
            result.push_back(std::move(whole));
        } else if (place == RingPlace::WhollyOutside) {
            outside.push_back(&r);
        }
    }
    if (!outside.empty() && arcs.empty()) {
        PROJPOINT inside;
        if (c.InsidePoint(&inside)) {
            int enclosing = 0;
            for (const Ring* r : outside)
                if (r->Covers(inside)) ++enclosing;
            if (enclosing % 2 == 1) {
                Path loop;
                if (!c.Loop(inside, loop)) return false;
                result.push_back(std::move(loop));
            }
        }
    }
    std::vector<Path> open;
    if (line)
        for (const Arc& a : arcs)
            open.push_back(a.pts);
    if (!AssembleArcs(c, arcs, result)) return false;
    if (!Deliver(result, user, polygon)) return false;
    for (const Path& p : open)
        if (p.size() >= 2 && !line(user, static_cast<int>(p.size()), p.data())) return false;
    return true;
}

} // namespace KVProj
