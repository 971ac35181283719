// Separate handles on separate threads: each thread makes, uses and deletes
// its own projection and datum handles. A handle itself is not shared.
#include <kvproj/kvproj.h>

#include <cstdio>
#include <cstring>
#include <thread>
#include <vector>

using namespace KVProj;

namespace {

// NAD 27 points to WGS 84, then into UTM `zone` north; returns the first result.
PROJPOINT work(int zone, double lon0) {
    PROJDATA pd;
    std::memset(&pd, 0, sizeof pd);
    pd.Type = PT_UTM;
    pd.Scale = 1.0;
    pd.Lon0 = ProjUTMZoneNumberToLon(zone);
    pd.Ellipsoid = ELLIPSOID_WGS84;
    pd.Zone = STATEZONE_NONE;
    CProjector utm(&pd);

    DATUMXFORM dx;
    std::memset(&dx, 0, sizeof dx);
    dx.SrcDatum = DATUM_NAD27;
    dx.DestDatum = DATUM_WGS84;
    CDatumTransform shift(&dx);

    std::vector<DATUMPOINT> lonlat(100000);
    for (size_t i = 0; i < lonlat.size(); ++i)
        lonlat[i] = {lon0 + 1e-5 * double(i % 1000), 35.0 + 1e-5 * double(i / 1000)};
    shift.Convert(lonlat.data(), int(lonlat.size()));
    std::vector<PROJPOINT> xy(lonlat.size());
    for (size_t i = 0; i < xy.size(); ++i)
        xy[i] = {lonlat[i].x, lonlat[i].y};
    utm.Forward(xy.data(), int(xy.size()));
    return xy[0];
}

} // namespace

int main() {
    PROJPOINT results[4];
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t)
        threads.emplace_back([t, &results] { results[t] = work(11 + t, -117.0 + 6.0 * t); });
    for (std::thread& th : threads)
        th.join();
    for (int t = 0; t < 4; ++t)
        std::printf("thread %d, zone %dN: E %.3f  N %.3f\n", t, 11 + t, results[t].x, results[t].y);
    // The same again on one thread gives the same numbers.
    const PROJPOINT again = work(11, -117.0);
    std::printf("single thread, zone 11N: E %.3f  N %.3f\n", again.x, again.y);
    return 0;
}
