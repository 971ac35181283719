// Plane geometry of projected lines and rings; see Geometry.h.
#include "Geometry.h"

#include <algorithm>
#include <cmath>

namespace kvtool::geo {

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

PROJPOINT Lerp(const PROJPOINT& a, const PROJPOINT& b, double t) {
    return Pt(a.x + t * (b.x - a.x), a.y + t * (b.y - a.y));
}

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

double Orientation(const Path& ring) {
    double a = 0.0;
    for (size_t i = 0, j = ring.size() - 1; i < ring.size(); j = i++)
        a += ring[j].x * ring[i].y - ring[i].x * ring[j].y;
    return a;
}

void Box::Add(const PROJPOINT& p) {
    minX = std::min(minX, p.x);
    maxX = std::max(maxX, p.x);
    minY = std::min(minY, p.y);
    maxY = std::max(maxY, p.y);
}

bool CutSegment(const Box& f, const PROJPOINT& a, const PROJPOINT& b, double* t0, double* t1) {
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

void CutLine(const Box& f, const Path& xy, const std::vector<char>* skip, std::vector<Path>* out) {
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

namespace {

// Sutherland-Hodgman against one side of the box: keeps what `inside` accepts.
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

} // namespace

Path CutRing(const Box& f, const Path& xy) {
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

double OffChord(const PROJPOINT& p, const PROJPOINT& a, const PROJPOINT& b, double len) {
    if (len == 0.0) return std::hypot(p.x - a.x, p.y - a.y);
    const double t = ((p.x - a.x) * (b.x - a.x) + (p.y - a.y) * (b.y - a.y)) / (len * len);
    const PROJPOINT q = Lerp(a, b, std::min(1.0, std::max(0.0, t)));
    return std::hypot(p.x - q.x, p.y - q.y);
}

Path Simplified(const Path& px, double tolerance) {
    if (px.size() <= 2) return px;
    Path out{px.front()};
    size_t anchor = 0;
    for (size_t j = 2; j < px.size(); ++j) {
        const PROJPOINT& a = px[anchor];
        const PROJPOINT& b = px[j];
        const double len = std::hypot(b.x - a.x, b.y - a.y);
        bool fits = true;
        for (size_t k = anchor + 1; k < j && fits; ++k)
            fits = OffChord(px[k], a, b, len) <= tolerance;
        if (!fits) {
            anchor = j - 1;
            out.push_back(px[anchor]);
        }
    }
    out.push_back(px.back());
    return out;
}

} // namespace kvtool::geo
