// UTM zone 33 north on WGS 84: forward and back, and the defaults that
// ProjCreateProjection writes into the caller's record.
#include <kvproj/kvproj.h>

#include <cmath>
#include <cstdio>
#include <cstring>

using namespace KVProj;

int main() {
    PROJDATA pd;
    std::memset(&pd, 0, sizeof pd);
    pd.Type = PT_UTM;
    pd.Scale = 1.0;
    pd.Lon0 = ProjUTMZoneNumberToLon(33); // 15 degrees east
    pd.Ellipsoid = ELLIPSOID_WGS84;
    pd.Zone = STATEZONE_NONE;

    char message[kProjCheckMessageLen];
    if (ProjCheckParams(&pd, message, false) != 0) {
        std::printf("invalid record: %s\n", message);
        return 1;
    }
    void* h = ProjCreateProjection(&pd);
    if (!h) return 1;
    // Creation filled in what the record left open.
    std::printf("written back: xOrg=%.0f yOrg=%.0f K0=%.4f a=%.1f 1/f=%.9f\n", pd.xOrg, pd.yOrg,
                pd.K0, pd.MajorRadius, 1.0 / pd.Flattening);

    PROJPOINT pts[3] = {{15.0, 52.0}, {13.4050, 52.5200}, {std::nan(""), 10.0}};
    ProjForward(h, pts, 3);
    for (const PROJPOINT& p : pts) {
        if (p.x == KVPROJ_UNPLOTTABLE)
            std::printf("forward: unplottable\n");
        else
            std::printf("forward: E %.3f  N %.3f\n", p.x, p.y);
    }
    std::printf("ProjResult after forward: %d\n", ProjResult(h));

    ProjInverse(h, pts, 2);
    for (int i = 0; i < 2; ++i)
        std::printf("inverse: lon %.9f  lat %.9f\n", pts[i].x, pts[i].y);
    std::printf("ProjResult after inverse: %d\n", ProjResult(h));

    ProjDeleteProjection(h);
    return 0;
}
