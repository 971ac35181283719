// Preclipping: a parallel drawn on an orthographic view of North America is
// cut at the edge of the visible hemisphere before it is projected.
#include <kvproj/kvproj.h>

#include <cstdio>
#include <cstring>
#include <vector>

using namespace KVProj;

namespace {

struct Pieces {
    void* projection;
    int count = 0;
};

bool onPiece(void* user, int count, const PROJPOINT* points) {
    Pieces* pieces = static_cast<Pieces*>(user);
    std::vector<PROJPOINT> xy(points, points + count);
    ProjForward(pieces->projection, xy.data(), count);
    std::printf("piece %d: %d points, lon %.3f .. %.3f\n", ++pieces->count, count, points[0].x,
                points[count - 1].x);
    std::printf("   map: (%.0f, %.0f) .. (%.0f, %.0f)\n", xy[0].x, xy[0].y, xy[count - 1].x,
                xy[count - 1].y);
    return true; // false would stop the clipping
}

} // namespace

int main() {
    PROJDATA pd;
    std::memset(&pd, 0, sizeof pd);
    pd.Type = PT_ORTHOGRAPHIC;
    pd.Scale = 1.0;
    pd.Lat0 = 40.0;
    pd.Lon0 = -100.0;
    pd.Ellipsoid = ELLIPSOID_SPHERE_6370997;
    pd.Zone = STATEZONE_NONE;
    void* h = ProjCreateProjection(&pd);
    if (!h) return 1;

    // The parallel of 30 degrees north, all the way round, one vertex per degree.
    std::vector<PROJPOINT> line;
    for (int lon = -180; lon <= 180; ++lon)
        line.push_back({double(lon), 30.0});

    PROJPOINT far = {80.0, 30.0};
    std::printf("(80E, 30N) inside: %s\n", ProjLLInProjection(h, &far) ? "yes" : "no");
    std::printf("no vertex inside: %s\n",
                ProjLLInProjection(h, int(line.size()), line.data()) ? "true" : "false");

    Pieces pieces{h};
    const bool ok = ProjLLPreclipPolyline(h, &pieces, int(line.size()), line.data(), onPiece);
    std::printf("clipping %s, %d piece(s)\n", ok ? "succeeded" : "failed", pieces.count);
    ProjDeleteProjection(h);
    return 0;
}
