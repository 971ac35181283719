// "kvproj graticule": projecting the features, fitting the frame and refining
// the lines where neighbouring vertices land far apart.
#include "Graticule.h"

#include "frame/Angles.h"

#include <algorithm>
#include <cmath>
#include <cstdint>

namespace kvtool::graticule {
namespace {

constexpr double kRunaway = 6.0; // see cmd_graticule.cpp
constexpr double kNear = 0.05;   // of the fitted frame's diagonal
constexpr double kProbe = 1e-3;  // degrees: finite-difference step of the stretch

using geo::Orientation;
using KVProj::kDegToRad;
using KVProj::kTwoPi;

// Least principal scale of the map at a lon/lat point (the least it
// stretches a short line through it in any direction), in projected units per
// degree of arc. The point is "gauged" together with two probes east and
// north of it, stepping towards the window's middle so that they stay on the
// inside of a boundary the point lies next to; a pole has no east and is
// gauged a little way off it.
class Gauge {
public:
    Gauge(void* handle, const Window& w)
        : m_handle(handle), m_midLon(0.5 * (w.lon1 + w.lon2)), m_midLat(0.5 * (w.lat1 + w.lat2)) {}

    static constexpr int kPoints = 4; // the point itself, the gauged point, two probes

    void Append(const PROJPOINT& q, Path& out) const {
        const PROJPOINT g = Gauged(q), dir = Towards(g);
        out.push_back(q);
        out.push_back(g);
        out.push_back(Pt(g.x + dir.x * kProbe, g.y));
        out.push_back(Pt(g.x, g.y + dir.y * kProbe));
    }

    // From the projected points that Append laid out; -1 when unknown.
    double Stretch(const PROJPOINT& q, const PROJPOINT* xy) const {
        const PROJPOINT g = Gauged(q), dir = Towards(g);
        const PROJPOINT &p = xy[1], &east = xy[2], &north = xy[3];
        if (!Plottable(xy[0]) || !Plottable(p) || !Plottable(east) || !Plottable(north))
            return -1.0;
        const double arcEast = dir.x * kProbe * std::cos(g.y * kDegToRad);
        const double arcNorth = dir.y * kProbe;
        const double a = (east.x - p.x) / arcEast, c = (east.y - p.y) / arcEast;
        const double b = (north.x - p.x) / arcNorth, d = (north.y - p.y) / arcNorth;
        const double sum = a * a + b * b + c * c + d * d;
        const double diff = a * a + c * c - b * b - d * d, cross = a * b + c * d;
        const double largest =
            std::sqrt(0.5 * (sum + std::sqrt(diff * diff + 4.0 * cross * cross)));
        if (!std::isfinite(largest)) return -1.0;
        return largest > 0.0 ? std::fabs(a * d - b * c) / largest : 0.0;
    }

    // Projects one point and gauges it; false when the point is unplottable.
    bool Project(const PROJPOINT& q, PROJPOINT* xy, double* stretch) const {
        Path four;
        Append(q, four);
        if (!KVProj::ProjForward(m_handle, four.data(), kPoints) || !Plottable(four[0]))
            return false;
        *xy = four[0];
        *stretch = Stretch(q, four.data());
        return true;
    }

private:
    static PROJPOINT Gauged(const PROJPOINT& q) {
        return std::fabs(q.y) < 90.0 - 1e-6 ? q : Pt(q.x, q.y > 0.0 ? 89.99 : -89.99);
    }
    PROJPOINT Towards(const PROJPOINT& q) const {
        return Pt(q.x > m_midLon ? -1.0 : 1.0, q.y > m_midLat ? -1.0 : 1.0);
    }

    void* m_handle;
    double m_midLon, m_midLat;
};

// The preclipping keeps points within a hair of the valid area's edge; where a
// module's own test rounds the other way, such a point comes back unplottable.
// Moved a little further inside it usually projects: a line's end towards its
// plottable neighbour, a ring's vertex along the ring's inward normal. Not
// much closer than kNudge, though: next to a point that a projection tears
// open (an azimuthal antipode) its formulas lose all precision.
constexpr double kNudge = 1e-4; // degrees
bool Nudge(const Gauge& gauge, Feature& f, size_t i, PROJPOINT dir) {
    const double len = std::hypot(dir.x, dir.y);
    if (!(len > 0.0)) return false;
    for (double d : {kNudge, 10.0 * kNudge, 100.0 * kNudge}) {
        const PROJPOINT q = Pt(f.lonlat[i].x + d * dir.x / len, f.lonlat[i].y + d * dir.y / len);
        if (gauge.Project(q, &f.xy[i], &f.stretch[i])) {
            f.lonlat[i] = q;
            return true;
        }
    }
    return false;
}

void Rescue(const Gauge& gauge, Feature& f) {
    const size_t n = f.xy.size();
    if (n < 2) return;
    const double side = f.kind == Kind::Area && Orientation(f.lonlat) < 0.0 ? -1.0 : 1.0;
    for (size_t i = 0; i < n; ++i) {
        if (Plottable(f.xy[i])) continue;
        if (f.kind == Kind::Area) {
            // A lone vertex is left to the refinement, which detours round it.
            if (i > 0 && i + 1 < n && Plottable(f.xy[i - 1]) && Plottable(f.xy[i + 1])) continue;
            // A closed ring repeats its first vertex last.
            const PROJPOINT& prev = f.lonlat[i > 0 ? i - 1 : n - 2];
            const PROJPOINT& next = f.lonlat[i + 1 < n ? i + 1 : 1];
            Nudge(gauge, f, i, Pt(-side * (next.y - prev.y), side * (next.x - prev.x)));
            continue;
        }
        for (size_t k : {i - 1, i + 1})
            if (k < n && Plottable(f.xy[k]) && !Plottable(f.xy[i]))
                Nudge(gauge, f, i,
                      Pt(f.lonlat[k].x - f.lonlat[i].x, f.lonlat[k].y - f.lonlat[i].y));
    }
}

// A run of unplottable vertices in a ring that the nudge could not save is
// bridged when it is short (an edge where module and domain test disagree),
// so that the outline stays closed; a long one (a pole the projection cannot
// show) stays a break.
constexpr double kBridge = 2.0; // degrees between the plottable ends of a run

void BridgeRing(Feature& f) {
    const size_t n = f.xy.size();
    Feature out{f.kind, f.value, f.group, {}, {}, {}, {}};
    for (size_t i = 0; i < n; ++i) {
        size_t j = i;
        while (j < n && !Plottable(f.xy[j]))
            ++j;
        const bool bridge = j > i && i > 0 && j < n &&
                            std::hypot(f.lonlat[j].x - f.lonlat[i - 1].x,
                                       f.lonlat[j].y - f.lonlat[i - 1].y) <= kBridge;
        if (bridge) {
            out.seam.back() = out.seam.back() && f.seam[j - 1];
            i = j - 1;
            continue;
        }
        for (size_t k = i; k < std::max(i + 1, j); ++k) {
            out.lonlat.push_back(f.lonlat[k]);
            out.xy.push_back(f.xy[k]);
            out.stretch.push_back(f.stretch[k]);
            out.seam.push_back(f.seam[k]);
        }
        i = std::max(i + 1, j) - 1;
    }
    f = std::move(out);
}

// ---------------------------------------------------------------- refinement

// Where two neighbouring vertices land far apart on the map, the segment
// between them is halved in lon/lat until its pieces are short on the map.
// A segment that stays long however short it gets runs through a point that
// the map tears open (the antipode of an azimuthal projection becomes its
// rim): a line is broken there; a ring detours round the point on its inside,
// and the image of the detour is the torn-open edge of the map.
class Refiner {
public:
    Refiner(const Gauge& gauge, const Frame& frame)
        : m_gauge(gauge), m_frame(frame),
          m_limit(kRefine * std::hypot(frame.maxX - frame.minX, frame.maxY - frame.minY)) {}

    void Run(Feature& f) {
        m_in = &f;
        m_out = Feature{f.kind, f.value, f.group, {}, {}, {}, {}};
        const bool ring = f.kind == Kind::Area;
        m_side = ring && Orientation(f.lonlat) < 0.0 ? -1.0 : 1.0;
        const size_t n = f.lonlat.size();
        for (size_t i = 0; i < n; ++i) {
            m_seam = ring ? f.seam[i] : 0;
            const bool lone = !Plottable(f.xy[i]) && i > 0 && i + 1 < n && Plottable(f.xy[i - 1]) &&
                              Plottable(f.xy[i + 1]);
            if (ring && lone)
                Detour(f.lonlat[i], Sub(f.lonlat[i], f.lonlat[i - 1]),
                       Sub(f.lonlat[i + 1], f.lonlat[i]), kDetourRadius);
            else
                Add(f.lonlat[i], f.xy[i], f.stretch[i]);
            if (i + 1 < n && Plottable(f.xy[i]) && Plottable(f.xy[i + 1]))
                Halve(f.lonlat[i], f.xy[i], f.lonlat[i + 1], f.xy[i + 1], 0);
        }
        f = std::move(m_out);
    }

private:
    static constexpr double kRefine = 1.0 / 400.0; // of the frame's diagonal
    static constexpr double kShortest = 1e-4;      // degrees; see kNudge
    static constexpr int kDetourSteps = 90;
    static constexpr double kDetourRadius = 1e-3; // degrees

    static PROJPOINT Sub(const PROJPOINT& a, const PROJPOINT& b) {
        return Pt(a.x - b.x, a.y - b.y);
    }

    // Runaway parts far outside the frame are not worth refining.
    bool InFrame(const PROJPOINT& p) const {
        const double margin =
            0.1 * std::max(m_frame.maxX - m_frame.minX, m_frame.maxY - m_frame.minY);
        return p.x >= m_frame.minX - margin && p.x <= m_frame.maxX + margin &&
               p.y >= m_frame.minY - margin && p.y <= m_frame.maxY + margin;
    }

    void Add(const PROJPOINT& ll, const PROJPOINT& xy, double stretch) {
        m_out.lonlat.push_back(ll);
        m_out.xy.push_back(xy);
        m_out.stretch.push_back(stretch);
        m_out.seam.push_back(m_seam);
    }

    void Break(const PROJPOINT& ll) { Add(ll, Pt(KVPROJ_UNPLOTTABLE, KVPROJ_UNPLOTTABLE), -1.0); }

    // Adds the points strictly between a and b.
    void Halve(const PROJPOINT& a, const PROJPOINT& pa, const PROJPOINT& b, const PROJPOINT& pb,
               int depth) {
        if (std::hypot(pb.x - pa.x, pb.y - pa.y) <= m_limit || !InFrame(pa) || !InFrame(pb)) return;
        const PROJPOINT m = Pt(0.5 * (a.x + b.x), 0.5 * (a.y + b.y));
        PROJPOINT pm;
        double stretch = -1.0;
        const bool tooShort = std::hypot(b.x - a.x, b.y - a.y) < kShortest || depth > 60;
        if (tooShort || !m_gauge.Project(m, &pm, &stretch)) {
            if (m_in->kind == Kind::Area)
                Detour(m, Sub(b, a), Sub(b, a), 0.5 * std::hypot(b.x - a.x, b.y - a.y));
            else
                Break(m);
            return;
        }
        Halve(a, pa, m, pm, depth + 1);
        Add(m, pm, stretch);
        Halve(m, pm, b, pb, depth + 1);
    }

    // Round `centre` at `radius` on the ring's inside, from behind it (against
    // `in`) to ahead of it (along `out`).
    void Detour(const PROJPOINT& centre, const PROJPOINT& in, const PROJPOINT& out, double radius) {
        const double from = std::atan2(-in.y, -in.x), to = std::atan2(out.y, out.x);
        // The inside is on the left of a counter-clockwise ring: turn clockwise.
        double sweep = m_side * (from - to);
        sweep = std::fmod(std::fmod(sweep, kTwoPi) + kTwoPi, kTwoPi);
        if (sweep == 0.0) sweep = kTwoPi;
        // The detour is an edge of the map even where the ring runs along a
        // seam; the seam goes on after it.
        const char seam = m_seam;
        m_seam = 0;
        for (int k = 0; k <= kDetourSteps; ++k) {
            const double a = from - m_side * sweep * k / kDetourSteps;
            const PROJPOINT q =
                Pt(centre.x + radius * std::cos(a), centre.y + radius * std::sin(a));
            PROJPOINT p;
            double stretch = -1.0;
            if (k == kDetourSteps) m_seam = seam;
            if (m_gauge.Project(q, &p, &stretch)) Add(q, p, stretch);
        }
        m_seam = seam;
    }

    const Gauge& m_gauge;
    const Frame& m_frame;
    double m_limit;
    Feature* m_in = nullptr;
    Feature m_out;
    double m_side = 1.0;
    char m_seam = 0;
};

} // namespace

// Projects and gauges every vertex in one call.
bool ProjectFeatures(void* handle, const Window& w, std::vector<Feature>& features) {
    const Gauge gauge(handle, w);
    Path all;
    for (const Feature& f : features)
        for (const PROJPOINT& q : f.lonlat)
            gauge.Append(q, all);
    if (all.empty()) return true;
    if (all.size() > static_cast<size_t>(INT32_MAX) ||
        !KVProj::ProjForward(handle, all.data(), static_cast<int>(all.size())))
        return false;
    const PROJPOINT* xy = all.data();
    for (Feature& f : features) {
        f.xy.resize(f.lonlat.size());
        f.stretch.resize(f.lonlat.size());
        for (size_t i = 0; i < f.lonlat.size(); ++i, xy += Gauge::kPoints) {
            f.xy[i] = xy[0];
            f.stretch[i] = gauge.Stretch(f.lonlat[i], xy);
        }
        Rescue(gauge, f);
    }
    return true;
}

Frame Fit(const std::vector<Feature>& features) {
    std::vector<double> known;
    for (const Feature& f : features)
        for (double s : f.stretch)
            if (s > 0.0) known.push_back(s);
    double limit = HUGE_VAL;
    if (!known.empty()) {
        std::nth_element(known.begin(), known.begin() + known.size() / 2, known.end());
        limit = kRunaway * known[known.size() / 2];
    }
    Frame core;
    for (const Feature& f : features)
        for (size_t i = 0; i < f.xy.size(); ++i)
            if (Plottable(f.xy[i]) && f.stretch[i] >= 0.0 && f.stretch[i] <= limit)
                core.Add(f.xy[i]);
    if (core.Empty()) // nothing could be gauged: fit everything
        for (const Feature& f : features)
            for (const PROJPOINT& p : f.xy)
                if (Plottable(p)) core.Add(p);
    if (core.Empty()) return core;
    const double near = kNear * std::hypot(core.maxX - core.minX, core.maxY - core.minY);
    Frame frame = core;
    for (const Feature& f : features)
        for (const PROJPOINT& p : f.xy)
            if (Plottable(p) && p.x >= core.minX - near && p.x <= core.maxX + near &&
                p.y >= core.minY - near && p.y <= core.maxY + near)
                frame.Add(p);
    // A picture of one line (or one point) still needs an area to show it in.
    const double span =
        std::max({frame.maxX - frame.minX, frame.maxY - frame.minY,
                  1e-9 * std::max(std::fabs(frame.maxX), std::fabs(frame.maxY)), 1e-9});
    const double padX = 0.5 * std::max(0.0, span * 1e-3 - (frame.maxX - frame.minX));
    const double padY = 0.5 * std::max(0.0, span * 1e-3 - (frame.maxY - frame.minY));
    frame.minX -= padX;
    frame.maxX += padX;
    frame.minY -= padY;
    frame.maxY += padY;
    return frame;
}

void Refine(void* handle, const Window& w, const Frame& frame, std::vector<Feature>& features) {
    const Gauge gauge(handle, w);
    Refiner refiner(gauge, frame);
    for (Feature& f : features) {
        refiner.Run(f);
        if (f.kind == Kind::Area) BridgeRing(f);
    }
}

} // namespace kvtool::graticule
