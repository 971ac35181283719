// A state plane zone: Alabama East on NAD 27, looked up by its FIPS code.
// The zone brings its own projection and ellipsoid (Clarke 1866); the record's
// Scale still applies, here to give US survey feet.
#include <kvproj/kvproj.h>

#include <cstdio>
#include <cstring>

using namespace KVProj;

int main() {
    StateZoneType zone;
    if (!ProjGetStateZoneFromUSGSCode(&zone, 101)) return 1;
    char name[kStateZoneNameLen];
    int fips = 0, epsg = 0;
    ProjGetStateZoneInfo(zone, name, &fips);
    ProjStateZoneToPOSCNumber(PT_STATE_PLANE_27, zone, &epsg);
    std::printf("zone %d: %s, FIPS %d, EPSG %d\n", int(zone), name, fips, epsg);

    PROJDATA pd;
    std::memset(&pd, 0, sizeof pd);
    pd.Type = PT_STATE_PLANE_27;
    pd.Zone = zone;
    pd.Ellipsoid = ELLIPSOID_WGS84;       // ignored: the zone's own figure is used
    pd.Scale = 1.0;

    PROJPOINT metres[1] = {{-86.0, 32.0}};
    PROJPOINT feet[1] = {{-86.0, 32.0}};
    {
        CProjector m(&pd);
        pd.Scale = 1.0 / 0.3048006096012192; // metres to US survey feet
        CProjector f(&pd);
        if (!m.Handle() || !f.Handle()) return 1;
        m.Forward(metres, 1);
        f.Forward(feet, 1);
        std::printf("metres: E %.3f  N %.3f\n", metres[0].x, metres[0].y);
        std::printf("feet:   E %.3f  N %.3f\n", feet[0].x, feet[0].y);
        f.Inverse(feet, 1);
        std::printf("back:   lon %.9f  lat %.9f\n", feet[0].x, feet[0].y);
    } // the wrappers delete their handles here

    // What the zone expands to, as a host would show it.
    PROJDATA z = pd;
    ProjGetStateZoneParams(&z);
    std::printf("expanded: Type %d, Ellipsoid %d, Lon0 %.6f, Lat0 %.6f, K0 %.5f, xOrg %.4f\n",
                int(z.Type), int(z.Ellipsoid), z.Lon0, z.Lat0, z.K0, z.xOrg);
    return 0;
}
