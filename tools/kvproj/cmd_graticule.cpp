// "kvproj graticule": draws a projection's meridians and parallels and the
// outline of its valid area as an SVG picture.
//
// Everything goes through the library as a host would use it: the lines and a
// polygon covering the lon/lat window are cut to the valid area by the
// preclipping entry points, the pieces are projected by ProjForward, and
// points that come back unplottable break the lines. Nothing here knows a
// projection by its type, so a projection added to the library is drawn as
// soon as its module is in the table.
//
// Fitting the picture: a projection may run off towards infinity at the edge
// of its valid area (Mercator at the poles, a conic at its far pole), and a
// picture fitted to every point would show little but that edge. For every
// vertex the smaller principal scale (the least the map stretches it in any
// direction, from finite differences) is compared with the median over the
// whole drawing; the frame is fitted to the vertices stretched less than
// kRunaway times the median, and then widened to the others that lie close
// to it (a pole of Van der Grinten is stretched without bound yet sits on the
// map's circle). The lines are cut at the frame.
#include "Command.h"
#include "Numbers.h"
#include "ProjArgs.h"

#include "kvproj/kvproj.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

namespace kvtool {
namespace {

using KVProj::PROJDATA;
using KVProj::PROJPOINT;
using Path = std::vector<PROJPOINT>;

constexpr double kRunaway = 6.0;       // see the file comment
constexpr double kNear = 0.05;         // of the fitted frame's diagonal
constexpr double kProbe = 1e-3;        // degrees: finite-difference step of the stretch
constexpr double kSimplify = 0.1;      // pixels a dropped vertex may lie off its chord
constexpr double kMaxVertices = 4.0e6; // lon/lat vertices of all lines before clipping
constexpr int kMinWidth = 100, kMaxWidth = 20000;
constexpr double kTwoPi = 6.283185307179586;

PROJPOINT Pt(double x, double y) {
    PROJPOINT p;
    p.x = x;
    p.y = y;
    return p;
}

bool Plottable(const PROJPOINT& p) {
    return p.x != KVPROJ_UNPLOTTABLE && p.y != KVPROJ_UNPLOTTABLE && std::isfinite(p.x) &&
           std::isfinite(p.y);
}

// ---------------------------------------------------------------- options

struct Window {
    double lon1, lat1, lon2, lat2;
};

struct Options {
    double step = 15.0;
    double densify = 1.0;
    int width = 800;
    bool haveWindow = false;
    Window window{0, 0, 0, 0};
    std::string output = "-";
    std::string title;
};

bool ParseReal(const std::string& text, double* value) {
    return ParseFinite(text, value);
}

bool ParseWindow(const std::string& text, Window* w, std::string* error) {
    double v[4];
    size_t start = 0;
    for (int i = 0; i < 4; ++i) {
        const size_t comma = text.find(',', start);
        const bool last = i == 3;
        if (last != (comma == std::string::npos) ||
            !ParseReal(text.substr(start, last ? std::string::npos : comma - start), &v[i]))
            return (*error = "--window takes lon1,lat1,lon2,lat2, not '" + text + "'"), false;
        start = comma + 1;
    }
    *w = Window{v[0], v[1], v[2], v[3]};
    if (!(w->lon1 < w->lon2 && w->lat1 < w->lat2))
        return (*error = "--window needs lon1 < lon2 and lat1 < lat2"), false;
    if (w->lat1 < -90.0 || w->lat2 > 90.0 || w->lon1 < -360.0 || w->lon2 > 360.0 ||
        w->lon2 - w->lon1 > 360.0)
        return (*error = "--window must lie within latitudes -90..90 and longitudes "
                         "-360..360 and span at most 360 degrees"),
               false;
    return true;
}

struct Words {
    ProjOptions proj;
    std::string step, densify, width, window, title, output;
    CLI::Option* outputOpt = nullptr;
};

bool ParseOptions(const Words& words, Options* o, std::string* error) {
    for (const bool step : {true, false}) {
        const std::string& v = step ? words.step : words.densify;
        const std::string name = step ? "--step" : "--densify";
        double d = 0;
        if (v.empty()) continue;
        if (!ParseReal(v, &d) || d <= 0.0 || d > (step ? 180.0 : 10.0))
            return (*error = name + " takes degrees above 0 and up to " + (step ? "180" : "10") +
                             ", not '" + v + "'"),
                   false;
        (step ? o->step : o->densify) = d;
    }
    if (!words.width.empty() && !ParseInteger(words.width, kMinWidth, kMaxWidth, &o->width))
        return (*error = "--width takes " + std::to_string(kMinWidth) + " to " +
                         std::to_string(kMaxWidth) + " pixels, not '" + words.width + "'"),
               false;
    if (!words.window.empty()) {
        if (!ParseWindow(words.window, &o->window, error)) return false;
        o->haveWindow = true;
    }
    o->title = words.title;
    if (words.outputOpt->count()) {
        if (words.output.empty()) return (*error = "the output file name is empty"), false;
        o->output = words.output;
    }
    return true;
}

// ---------------------------------------------------------------- handles

// The conversion handle is made from the record as given. Preclipping asks a
// handle for its valid area; a state plane handle answers for the first zone
// of its system whatever zone it holds, so the clipping handle of a zone is
// made from the zone's own projection record instead.
struct Handles {
    void* convert = nullptr;
    void* clip = nullptr;
    PROJDATA clipRecord;
    Handles() = default;
    Handles(const Handles&) = delete;
    Handles& operator=(const Handles&) = delete;
    ~Handles() {
        if (clip != convert) KVProj::ProjDeleteProjection(clip);
        KVProj::ProjDeleteProjection(convert);
    }
};

bool MakeHandles(PROJDATA data, Handles* h) {
    char message[KVProj::kProjCheckMessageLen] = "";
    const int bad = KVProj::ProjCheckParams(&data, message, false);
    if (bad != 0) {
        std::fprintf(stderr, "kvproj: graticule: invalid projection: %s (parameter %d)\n", message,
                     bad);
        return false;
    }
    PROJDATA zone = data;
    h->convert = KVProj::ProjCreateProjection(&data);
    if (!h->convert) {
        std::fprintf(stderr, "kvproj: graticule: cannot create the projection\n");
        return false;
    }
    h->clip = h->convert;
    if (zone.Type == KVProj::PT_STATE_PLANE_27 || zone.Type == KVProj::PT_STATE_PLANE_83) {
        KVProj::ProjGetStateZoneParams(&zone);
        if (zone.Zone != KVProj::STATEZONE_NONE) {
            void* own = KVProj::ProjCreateProjection(&zone);
            if (own) h->clip = own;
        }
    }
    return KVProj::ProjGetHandleInfo(h->clip, &h->clipRecord);
}

// ---------------------------------------------------------------- lon/lat lines

enum class Kind { Meridian, Parallel, Area };

// One clipped piece of a graticule line, or one ring of the clipped window.
struct Feature {
    Kind kind;
    double value; // longitude of a meridian, latitude of a parallel
    int group;    // rings handed over together form one polygon
    Path lonlat;
    Path xy;                     // projected; unplottable points keep the marker
    std::vector<double> stretch; // least principal scale; -1 where unknown
    std::vector<char> seam;      // rings: segment i..i+1 is a seam, not an edge
};

Path Densified(PROJPOINT a, PROJPOINT b, double spacing) {
    const double len = std::hypot(b.x - a.x, b.y - a.y);
    const int n = std::max(1, static_cast<int>(std::ceil(len / spacing - 1e-9)));
    Path p;
    p.reserve(n + 1);
    for (int k = 0; k <= n; ++k) {
        const double t = static_cast<double>(k) / n;
        p.push_back(Pt(a.x + t * (b.x - a.x), a.y + t * (b.y - a.y)));
    }
    return p;
}

// Multiples of `step` within [lo, hi]; a window a whole turn wide gives its
// edge meridian once.
std::vector<double> Multiples(double lo, double hi, double step, bool wholeTurn) {
    std::vector<double> v;
    const long long first = static_cast<long long>(std::ceil(lo / step - 1e-9));
    const long long last = static_cast<long long>(std::floor(hi / step + 1e-9));
    for (long long k = first; k <= last; ++k)
        v.push_back(k * step);
    if (wholeTurn && v.size() > 1 && std::fabs(v.back() - v.front() - 360.0) < 1e-9) v.pop_back();
    return v;
}

// A polyline or polygon of the preclipping hands its pieces to these.
struct Collector {
    std::vector<Feature>* out;
    Kind kind;
    double value;
    int group;
};

bool OnPiece(void* user, int count, const PROJPOINT* points) {
    Collector* c = static_cast<Collector*>(user);
    c->out->push_back(
        Feature{c->kind, c->value, c->group, Path(points, points + count), {}, {}, {}});
    return true;
}

bool OnPolygon(void* user, int parts, const int* partCounts, const PROJPOINT* points) {
    Collector* c = static_cast<Collector*>(user);
    for (int r = 0; r < parts; ++r) {
        c->out->push_back(
            Feature{Kind::Area, 0.0, c->group, Path(points, points + partCounts[r]), {}, {}, {}});
        points += partCounts[r];
    }
    ++c->group;
    return true;
}

// Unprojected records have no module and so no valid area to clip against:
// every point within the window stays.
bool ClipLine(void* handle, bool unprojected, const Path& line, Collector* c) {
    if (unprojected) return OnPiece(c, static_cast<int>(line.size()), line.data());
    return KVProj::ProjLLPreclipPolyline(handle, c, static_cast<int>(line.size()), line.data(),
                                         &OnPiece);
}

bool ClipRing(void* handle, bool unprojected, const Path& ring, Collector* c) {
    const int count = static_cast<int>(ring.size());
    if (unprojected) return OnPolygon(c, 1, &count, ring.data());
    return KVProj::ProjLLPreclipPolygon(handle, c, 1, &count, ring.data(), &OnPolygon, nullptr);
}

bool BuildFeatures(const Handles& h, const Window& w, const Options& o, std::vector<Feature>* out) {
    const bool unprojected = h.clipRecord.Type == KVProj::PT_UNPROJECTED;
    const bool wholeTurn = w.lon2 - w.lon1 >= 360.0 - 1e-9;
    Collector c{out, Kind::Meridian, 0.0, 0};
    for (double lon : Multiples(w.lon1, w.lon2, o.step, wholeTurn)) {
        c.value = lon;
        if (!ClipLine(h.clip, unprojected, Densified(Pt(lon, w.lat1), Pt(lon, w.lat2), o.densify),
                      &c)) {
            std::fprintf(stderr, "kvproj: graticule: clipping the meridian %g failed\n", lon);
            return false;
        }
    }
    c.kind = Kind::Parallel;
    for (double lat : Multiples(w.lat1, w.lat2, o.step, false)) {
        if (std::fabs(lat) >= 90.0) continue; // a pole is a point, not a line
        c.value = lat;
        if (!ClipLine(h.clip, unprojected, Densified(Pt(w.lon1, lat), Pt(w.lon2, lat), o.densify),
                      &c)) {
            std::fprintf(stderr, "kvproj: graticule: clipping the parallel %g failed\n", lat);
            return false;
        }
    }
    // The window as a counter-clockwise ring: what of it survives is the area drawn.
    const PROJPOINT corners[5] = {Pt(w.lon1, w.lat1), Pt(w.lon2, w.lat1), Pt(w.lon2, w.lat2),
                                  Pt(w.lon1, w.lat2), Pt(w.lon1, w.lat1)};
    Path ring;
    for (int k = 0; k < 4; ++k) {
        const Path side = Densified(corners[k], corners[k + 1], o.densify);
        ring.insert(ring.end(), side.begin() + (k ? 1 : 0), side.end());
    }
    if (!ClipRing(h.clip, unprojected, ring, &c)) {
        std::fprintf(stderr, "kvproj: graticule: clipping the outline of the valid area failed\n");
        return false;
    }
    return true;
}

// A window a whole turn wide has its two edge meridians at the same place on
// the globe. Where the valid area goes on across them, the clipped window's
// ring runs out and back along that meridian: a seam of the fill that must not
// be stroked as part of the outline.
bool OnMeridian(double lon, double edge) {
    return std::fabs(std::remainder(lon - edge, 360.0)) < 1e-7;
}

void MarkSeams(const Handles& h, const Window& w, std::vector<Feature>& features) {
    const bool wholeTurn = w.lon2 - w.lon1 >= 360.0 - 1e-9;
    const bool unprojected = h.clipRecord.Type == KVProj::PT_UNPROJECTED;
    for (Feature& f : features) {
        if (f.kind != Kind::Area) continue;
        f.seam.assign(f.lonlat.size(), 0);
        if (!wholeTurn || unprojected) continue;
        for (size_t i = 0; i + 1 < f.lonlat.size(); ++i) {
            const PROJPOINT& a = f.lonlat[i];
            const PROJPOINT& b = f.lonlat[i + 1];
            if (!OnMeridian(a.x, w.lon1) || !OnMeridian(b.x, w.lon1)) continue;
            const PROJPOINT west = Pt(a.x - 1e-6, 0.5 * (a.y + b.y));
            const PROJPOINT east = Pt(a.x + 1e-6, west.y);
            f.seam[i] = KVProj::ProjLLInProjection(h.clip, &west) &&
                        KVProj::ProjLLInProjection(h.clip, &east);
        }
    }
}

// ---------------------------------------------------------------- projection

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
        const double arcEast = dir.x * kProbe * std::cos(g.y * 0.017453292519943295);
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

// Twice the signed area of a ring, positive when it runs counter-clockwise.
double Orientation(const Path& ring) {
    double a = 0.0;
    for (size_t i = 0, j = ring.size() - 1; i < ring.size(); j = i++)
        a += ring[j].x * ring[i].y - ring[i].x * ring[j].y;
    return a;
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

// ---------------------------------------------------------------- fitting

struct Frame {
    double minX = HUGE_VAL, minY = HUGE_VAL, maxX = -HUGE_VAL, maxY = -HUGE_VAL;
    bool Empty() const { return !(minX <= maxX && minY <= maxY); }
    void Add(const PROJPOINT& p) {
        minX = std::min(minX, p.x);
        maxX = std::max(maxX, p.x);
        minY = std::min(minY, p.y);
        maxY = std::max(maxY, p.y);
    }
};

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

// ---------------------------------------------------------------- cutting at the frame

bool CutByFrame(const std::vector<Feature>& features, const Frame& f) {
    for (const Feature& feature : features)
        for (const PROJPOINT& p : feature.xy)
            if (Plottable(p) && (p.x < f.minX || p.x > f.maxX || p.y < f.minY || p.y > f.maxY))
                return true;
    return false;
}

// Liang-Barsky: the part of segment a-b inside the frame, as parameters t0..t1.
bool CutSegment(const Frame& f, const PROJPOINT& a, const PROJPOINT& b, double* t0, double* t1) {
    const double dx = b.x - a.x, dy = b.y - a.y;
    const double p[4] = {-dx, dx, -dy, dy};
    const double q[4] = {a.x - f.minX, f.maxX - a.x, a.y - f.minY, f.maxY - a.y};
    *t0 = 0.0;
    *t1 = 1.0;
    for (int i = 0; i < 4; ++i) {
        if (p[i] == 0.0) {
            if (q[i] < 0.0) return false;
            continue;
        }
        const double t = q[i] / p[i];
        if (p[i] < 0.0)
            *t0 = std::max(*t0, t);
        else
            *t1 = std::min(*t1, t);
        if (*t0 > *t1) return false;
    }
    return true;
}

PROJPOINT Lerp(const PROJPOINT& a, const PROJPOINT& b, double t) {
    return Pt(a.x + t * (b.x - a.x), a.y + t * (b.y - a.y));
}

// Splits a projected line at unplottable points (and at the segments marked
// in `skip`, when given) and cuts it at the frame.
void CutLine(const Frame& f, const Path& xy, const std::vector<char>* skip,
             std::vector<Path>* out) {
    Path cur;
    auto flush = [&]() {
        if (cur.size() >= 2) out->push_back(cur);
        cur.clear();
    };
    for (size_t i = 0; i + 1 < xy.size(); ++i) {
        double t0, t1;
        if ((skip && (*skip)[i]) || !Plottable(xy[i]) || !Plottable(xy[i + 1]) ||
            !CutSegment(f, xy[i], xy[i + 1], &t0, &t1)) {
            flush();
            continue;
        }
        const PROJPOINT a = Lerp(xy[i], xy[i + 1], t0), b = Lerp(xy[i], xy[i + 1], t1);
        if (cur.empty() || t0 > 0.0) {
            flush();
            cur.push_back(a);
        }
        cur.push_back(b);
        if (t1 < 1.0) flush();
    }
    flush();
}

// Sutherland-Hodgman against one side of the frame: keeps what `inside` accepts.
template <typename Inside, typename Cross>
Path CutRingSide(const Path& ring, Inside inside, Cross cross) {
    Path out;
    for (size_t i = 0; i < ring.size(); ++i) {
        const PROJPOINT& a = ring[i];
        const PROJPOINT& b = ring[(i + 1) % ring.size()];
        const bool ina = inside(a), inb = inside(b);
        if (ina) out.push_back(a);
        if (ina != inb) out.push_back(cross(a, b));
    }
    return out;
}

// A projected ring without its unplottable points, cut to the frame.
Path CutRing(const Frame& f, const Path& xy) {
    Path ring;
    for (const PROJPOINT& p : xy)
        if (Plottable(p)) ring.push_back(p);
    auto atX = [](double x) {
        return [x](const PROJPOINT& a, const PROJPOINT& b) {
            return Lerp(a, b, (x - a.x) / (b.x - a.x));
        };
    };
    auto atY = [](double y) {
        return [y](const PROJPOINT& a, const PROJPOINT& b) {
            return Lerp(a, b, (y - a.y) / (b.y - a.y));
        };
    };
    ring = CutRingSide(
        ring, [&](const PROJPOINT& p) { return p.x >= f.minX; }, atX(f.minX));
    ring = CutRingSide(
        ring, [&](const PROJPOINT& p) { return p.x <= f.maxX; }, atX(f.maxX));
    ring = CutRingSide(
        ring, [&](const PROJPOINT& p) { return p.y >= f.minY; }, atY(f.minY));
    ring = CutRingSide(
        ring, [&](const PROJPOINT& p) { return p.y <= f.maxY; }, atY(f.maxY));
    return ring.size() >= 3 ? ring : Path();
}

// ---------------------------------------------------------------- the picture

// Projected units to pixels: the frame fills the width between the margins,
// y up, below the title.
struct Canvas {
    double unit;  // stroke and text sizes scale with the width
    double scale; // pixels per projected unit
    double left, top, width, height;
    const Frame* frame;
    PROJPOINT Pixel(const PROJPOINT& p) const {
        return Pt(left + (p.x - frame->minX) * scale, top + (frame->maxY - p.y) * scale);
    }
};

Canvas MakeCanvas(const Frame& f, int width) {
    Canvas c;
    c.frame = &f;
    c.unit = width / 800.0;
    const double margin = 16.0 * c.unit;
    c.top = margin + 46.0 * c.unit;
    c.width = width;
    const double dx = f.maxX - f.minX, dy = f.maxY - f.minY;
    const double maxMapHeight = 3.0 * width; // a very tall frame is fitted by its height
    c.scale = std::min((width - 2.0 * margin) / dx, maxMapHeight / dy);
    c.left = 0.5 * (width - dx * c.scale);
    c.height = std::ceil(c.top + dy * c.scale + margin);
    return c;
}

// Distance of `p` from the chord a-b of length `len` (from the chord itself,
// not its line, so that a line running out and back is kept).
double OffChord(const PROJPOINT& p, const PROJPOINT& a, const PROJPOINT& b, double len) {
    if (len == 0.0) return std::hypot(p.x - a.x, p.y - a.y);
    const double t = ((p.x - a.x) * (b.x - a.x) + (p.y - a.y) * (b.y - a.y)) / (len * len);
    const PROJPOINT q = Lerp(a, b, std::min(1.0, std::max(0.0, t)));
    return std::hypot(p.x - q.x, p.y - q.y);
}

// Drops vertices lying within kSimplify pixels of the chord that replaces them.
Path Simplified(const Path& px) {
    if (px.size() <= 2) return px;
    Path out{px.front()};
    size_t anchor = 0;
    for (size_t j = 2; j < px.size(); ++j) {
        const PROJPOINT& a = px[anchor];
        const PROJPOINT& b = px[j];
        const double len = std::hypot(b.x - a.x, b.y - a.y);
        bool fits = true;
        for (size_t k = anchor + 1; k < j && fits; ++k)
            fits = OffChord(px[k], a, b, len) <= kSimplify;
        if (!fits) {
            anchor = j - 1;
            out.push_back(px[anchor]);
        }
    }
    out.push_back(px.back());
    return out;
}

std::string Num(double v) {
    char b[32];
    std::snprintf(b, sizeof b, "%.2f", v);
    return b;
}

// Meridian and parallel values as a reader writes them: 15, -7.5.
std::string Label(double v) {
    char b[32];
    std::snprintf(b, sizeof b, "%.10g", v == 0.0 ? 0.0 : v);
    return b;
}

// The path's data in pixels; empty for a line that would show as a mere dot
// (a pole's parallel, an edge along a pole that the projection makes a point).
std::string PathData(const Canvas& c, const Path& xy, bool closed) {
    Path px;
    for (const PROJPOINT& p : xy)
        px.push_back(c.Pixel(p));
    px = Simplified(px);
    double reach = 0.0;
    for (const PROJPOINT& p : px)
        reach = std::max(reach, std::hypot(p.x - px[0].x, p.y - px[0].y));
    if (reach < 0.5) return "";
    std::string d;
    for (size_t i = 0; i < px.size(); ++i)
        d += (i ? " " : "M") + Num(px[i].x) + "," + Num(px[i].y);
    if (closed) d += "Z";
    return d;
}

std::string Escaped(const std::string& text) {
    std::string out;
    for (char ch : text) {
        if (ch == '&')
            out += "&amp;";
        else if (ch == '<')
            out += "&lt;";
        else if (ch == '>')
            out += "&gt;";
        else if (ch == '"')
            out += "&quot;";
        else if (static_cast<unsigned char>(ch) >= 0x20 || ch == '\t')
            out += ch;
    }
    return out;
}

std::string DefaultTitle(const PROJDATA& data) {
    char name[KVPROJ_NAME_LEN] = "";
    KVProj::ProjGetProjectionInfo(data.Type, name);
    std::string title = name;
    if (data.Type == KVProj::PT_STATE_PLANE_27 || data.Type == KVProj::PT_STATE_PLANE_83) {
        char zone[KVProj::kStateZoneNameLen] = "";
        KVProj::ProjGetStateZoneInfo(data.Zone, zone, nullptr);
        if (zone[0]) title += std::string(": ") + zone;
    }
    return title;
}

std::string Svg(const std::vector<Feature>& features, const Frame& frame, const Options& o,
                const std::string& title) {
    const Canvas c = MakeCanvas(frame, o.width);
    const double u = c.unit, margin = 16.0 * u;
    std::string s = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n";
    s += "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"" + Num(c.width) + "\" height=\"" +
         Num(c.height) + "\" viewBox=\"0 0 " + Num(c.width) + " " + Num(c.height) + "\">\n";
    s += "<title>" + Escaped(title) + "</title>\n";
    s += "<rect x=\"0\" y=\"0\" width=\"" + Num(c.width) + "\" height=\"" + Num(c.height) +
         "\" fill=\"#ffffff\"/>\n";

    std::string area, outline;
    for (int g = 0;; ++g) {
        std::string d;
        bool any = false;
        for (const Feature& f : features) {
            if (f.kind != Kind::Area || f.group != g) continue;
            any = true;
            const Path ring = CutRing(frame, f.xy);
            if (!ring.empty()) d += PathData(c, ring, true);
            std::vector<Path> edges;
            CutLine(frame, f.xy, &f.seam, &edges);
            for (const Path& e : edges) {
                const std::string ed = PathData(c, e, false);
                if (!ed.empty()) outline += "<path d=\"" + ed + "\"/>\n";
            }
        }
        if (!any) break;
        if (!d.empty()) area += "<path fill-rule=\"evenodd\" d=\"" + d + "\"/>\n";
    }
    // Where the frame cuts the drawing, it is drawn as the map's neat line.
    if (CutByFrame(features, frame)) {
        const Path box{Pt(frame.minX, frame.minY), Pt(frame.maxX, frame.minY),
                       Pt(frame.maxX, frame.maxY), Pt(frame.minX, frame.maxY)};
        outline += "<path d=\"" + PathData(c, box, true) + "\"/>\n";
    }
    s += "<g class=\"area\" fill=\"#eaf1f8\" stroke=\"none\">\n" + area + "</g>\n";
    s += "<g class=\"graticule\" fill=\"none\" stroke=\"#8193a8\" stroke-width=\"" + Num(0.6 * u) +
         "\" stroke-linejoin=\"round\">\n";
    for (const Feature& f : features) {
        if (f.kind == Kind::Area) continue;
        std::vector<Path> pieces;
        CutLine(frame, f.xy, nullptr, &pieces);
        const bool meridian = f.kind == Kind::Meridian;
        for (const Path& p : pieces) {
            const std::string d = PathData(c, p, false);
            if (!d.empty())
                s += std::string("<path class=\"") + (meridian ? "meridian" : "parallel") +
                     "\" data-" + (meridian ? "lon" : "lat") + "=\"" + Label(f.value) + "\" d=\"" +
                     d + "\"/>\n";
        }
    }
    s += "</g>\n";
    s += "<g class=\"outline\" fill=\"none\" stroke=\"#34495e\" stroke-width=\"" + Num(1.2 * u) +
         "\" stroke-linejoin=\"round\" stroke-linecap=\"round\">\n" + outline + "</g>\n";
    char step[64];
    std::snprintf(step, sizeof step, "meridians and parallels every %g\xC2\xB0", o.step);
    s += "<text x=\"" + Num(margin) + "\" y=\"" + Num(margin + 18.0 * u) +
         "\" font-family=\"sans-serif\" font-size=\"" + Num(18.0 * u) +
         "\" font-weight=\"bold\" fill=\"#1f2d3a\">" + Escaped(title) + "</text>\n";
    s += "<text x=\"" + Num(margin) + "\" y=\"" + Num(margin + 36.0 * u) +
         "\" font-family=\"sans-serif\" font-size=\"" + Num(12.0 * u) + "\" fill=\"#51606f\">" +
         step + "</text>\n";
    s += "</svg>\n";
    return s;
}

bool WriteOutput(const std::string& path, const std::string& text) {
    const bool toStdout = path == "-";
    FILE* f = toStdout ? stdout : std::fopen(path.c_str(), "wb");
    if (!f) return false;
    const bool ok = std::fwrite(text.data(), 1, text.size(), f) == text.size();
    const bool closed = toStdout ? std::fflush(f) == 0 : std::fclose(f) == 0;
    return ok && closed;
}

int Usage(const std::string& message) {
    return UsageError("graticule: " + message);
}

int Run(const Words& words) {
    PROJDATA data;
    ProjRequest request;
    std::string error;
    if (!RequestFrom(words.proj, &request, &error)) return Usage(error);
    if (!request.given) return Usage("give the projection with --proj, --zone or --utm");
    if (!BuildProjection(request, nullptr, &data, &error)) return Usage(error);
    Options o;
    if (!ParseOptions(words, &o, &error)) return Usage(error);
    if (o.densify > o.step) return Usage("--densify must not exceed --step");

    Handles h;
    if (!MakeHandles(data, &h)) return EXIT_FAILED;
    // A zone may give its central meridian as 350 degrees; the split test of
    // the preclipping brings the far side of such a band round again.
    const double lon0 = std::remainder(h.clipRecord.Lon0, 360.0);
    const Window w = o.haveWindow ? o.window : Window{lon0 - 180.0, -90.0, lon0 + 180.0, 90.0};
    const double lines = (w.lon2 - w.lon1) / o.step + (w.lat2 - w.lat1) / o.step + 3.0;
    const double perLine = std::max(w.lon2 - w.lon1, w.lat2 - w.lat1) / o.densify + 1.0;
    if (lines * perLine > kMaxVertices)
        return Usage("too many points to draw: raise --step or --densify");

    std::vector<Feature> features;
    if (!BuildFeatures(h, w, o, &features)) return EXIT_FAILED;
    MarkSeams(h, w, features);
    if (!ProjectFeatures(h.convert, w, features)) {
        std::fprintf(stderr, "kvproj: graticule: the projection of the graticule failed\n");
        return EXIT_FAILED;
    }
    Frame frame = Fit(features);
    if (frame.Empty()) {
        std::fprintf(
            stderr,
            "kvproj: graticule: no part of the window lies in the projection's valid area\n");
        return EXIT_FAILED;
    }
    const Gauge gauge(h.convert, w);
    Refiner refiner(gauge, frame);
    for (Feature& f : features) {
        refiner.Run(f);
        if (f.kind == Kind::Area) BridgeRing(f);
    }
    frame = Fit(features);
    const std::string title = o.title.empty() ? DefaultTitle(data) : o.title;
    if (!WriteOutput(o.output, Svg(features, frame, o, title))) {
        std::fprintf(stderr, "kvproj: graticule: cannot write '%s'\n", o.output.c_str());
        return EXIT_FAILED;
    }
    return EXIT_OK;
}

Runner SetUp(CLI::App& app) {
    auto w = std::make_shared<Words>();
    AddProjectionOptions(app, {""}, "", &w->proj);
    app.add_option("--step", w->step, "degrees between lines (default 15)");
    app.add_option("--densify", w->densify, "degrees between vertices (default 1)");
    app.add_option("--width", w->width, "picture width in pixels (default 800)");
    app.add_option("--window", w->window, "LON1,LAT1,LON2,LAT2 to draw (default all)");
    app.add_option("--title", w->title, "the picture's title");
    w->outputOpt = app.add_option("-o,--output", w->output, "the SVG file (default: stdout)");
    return [w] { return Run(*w); };
}

const KVCommand
    command({"graticule", "graticule PROJ [options] [-o FILE]",
             "draw meridians, parallels and the valid area as an SVG picture",
             "  kvproj graticule --proj 'type=lcc lat1=33 lat2=45 lon0=-96' -o lcc.svg\n"
             "  kvproj graticule --utm 33N --step 1 --window 9,40,21,50 -o utm33.svg\n"},
            SetUp);

} // namespace
} // namespace kvtool
