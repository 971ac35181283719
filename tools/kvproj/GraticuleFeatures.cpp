// "kvproj graticule": the lon/lat features. The graticule lines and a ring
// round the window are cut to the valid area by the library's preclipping
// entry points, as a host would cut its own lines.
#include "Graticule.h"

#include <cmath>
#include <cstdio>

namespace kvtool::graticule {
namespace {

using geo::Densified;

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

// A window a whole turn wide has its two edge meridians at the same place on
// the globe. Where the valid area goes on across them, the clipped window's
// ring runs out and back along that meridian: a seam of the fill that must not
// be stroked as part of the outline.
bool OnMeridian(double lon, double edge) {
    return std::fabs(std::remainder(lon - edge, 360.0)) < 1e-7;
}

} // namespace

bool MakeHandles(PROJDATA data, Handles* h) {
    // The library's checks, then the tool's own (non-finite values, magnitudes
    // that overflow, records that convert nothing).
    const RecordVerdict verdict = CheckRecord(data);
    if (verdict.parameter != 0) {
        std::fprintf(stderr, "kvproj: graticule: invalid projection: %s (parameter %d)\n",
                     verdict.message.c_str(), verdict.parameter);
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

} // namespace kvtool::graticule
