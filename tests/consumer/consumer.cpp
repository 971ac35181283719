// A host built against an installed kvproj: converts one point to UTM zone
// 33N and back. Exit status 0 when the easting and northing match PROJ 9.1
// (cs2cs +proj=utm +zone=33 +ellps=WGS84: 618222.966 4984044.799 for 16.5E
// 45N) to a millimetre and the inverse returns the point to 1e-8 degree (the
// series inverse is good to about 1e-9 degree here, 0.1 mm).
#include <kvproj/kvproj.h>

#include <cmath>
#include <cstdio>
#include <cstring>

int main() {
    using namespace KVProj;
    PROJDATA data;
    std::memset(&data, 0, sizeof data);
    data.Type = PT_UTM;
    data.Lon0 = ProjUTMZoneNumberToLon(33);
    data.Ellipsoid = ELLIPSOID_WGS84;
    data.Scale = 1;
    void* h = ProjCreateProjection(&data);
    if (!h) {
        std::fprintf(stderr, "consumer: no projection\n");
        return 1;
    }
    PROJPOINT p = {16.5, 45.0};
    const bool forward = ProjForward(h, &p, 1);
    std::printf("%.3f %.3f\n", p.x, p.y);
    const bool ok = forward && std::fabs(p.x - 618222.966) < 1e-3 &&
                    std::fabs(p.y - 4984044.799) < 1e-3;
    const bool back = ProjInverse(h, &p, 1) && std::fabs(p.x - 16.5) < 1e-8 &&
                      std::fabs(p.y - 45.0) < 1e-8;
    ProjDeleteProjection(h);
    std::printf("library %s\n", KVProjVersion());
    return ok && back ? 0 : 1;
}
