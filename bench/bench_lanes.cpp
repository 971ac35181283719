// The vectorised conversions per instruction set: the full ProjForward and
// ProjInverse pipeline with the per-point path and with the vector loops
// forced to SSE4, AVX2 and AVX-512 (those this CPU has), against PROJ's same
// operation, at 1, 4, 64 and 1,000,000 points per call. Each timing is the
// best of three repetitions; the summary gives ns/point and the ratio to PROJ
// at the same call size.
//
// Before the timings it converts 10,000,000 random points per projection and
// direction with both paths and prints the largest difference between them.
#include "BenchSupport.h"

#include "projections/VectorPath.h"

#include <hwy/targets.h>

#include <cmath>
#include <cstdio>
#include <cstring>
#include <map>
#include <string>
#include <vector>

using namespace KVProj;
using namespace bench;

namespace {

// One projection: our record, the area of its points and PROJ's definition.
struct Setup {
    const char* name;
    PROJDATA data;
    Area area;
    const char* proj;
};

PROJDATA Sphere(PROJDATA d) {
    d.Ellipsoid = ELLIPSOID_SPHERE_6370997;
    return d;
}

// Lambert, Mercator and Albers on the ellipsoid, and the first two on the
// sphere (LambertS, MercatorS).
std::vector<Setup> Setups() {
    PROJDATA lcc = Wgs84Record(PT_LAMBERT_CONIC, 39.0, -100.0);
    lcc.Ellipsoid = ELLIPSOID_GRS80, lcc.Lat1 = 33.0, lcc.Lat2 = 45.0;
    PROJDATA aea = Wgs84Record(PT_ALBERS, 23.0, -96.0);
    aea.Ellipsoid = ELLIPSOID_GRS80, aea.Lat1 = 29.5, aea.Lat2 = 45.5;
    return {
        {"UTM",
         Wgs84Record(PT_UTM, 0, 15),
         {12.0, 18.0, 0.0, 80.0},
         "+proj=utm +zone=33 +ellps=WGS84"},
        {"Lambert",
         lcc,
         {-125.0, -75.0, 25.0, 50.0},
         "+proj=lcc +lat_0=39 +lon_0=-100 +lat_1=33 +lat_2=45 +ellps=GRS80"},
        {"Mercator",
         Wgs84Record(PT_MERCATOR, 0, 0),
         {-179.0, 179.0, -80.0, 80.0},
         "+proj=merc +ellps=WGS84"},
        {"Albers",
         aea,
         {-125.0, -66.0, 24.0, 50.0},
         "+proj=aea +lat_1=29.5 +lat_2=45.5 +lat_0=23 +lon_0=-96 +ellps=GRS80"},
        {"LambertS",
         Sphere(lcc),
         {-125.0, -75.0, 25.0, 50.0},
         "+proj=lcc +lat_0=39 +lon_0=-100 +lat_1=33 +lat_2=45 +R=6370997"},
        {"MercatorS",
         Sphere(Wgs84Record(PT_MERCATOR, 0, 0)),
         {-179.0, 179.0, -80.0, 80.0},
         "+proj=merc +R=6370997"},
    };
}

const PipelinePoints& PointsFor(const Setup& s) {
    static std::map<std::string, PipelinePoints> cache;
    PipelinePoints& d = cache[s.name];
    if (d.degrees.empty()) d = MakePipelinePoints(s.name, s.data, s.area, 20261124);
    return d;
}

std::vector<PROJPOINT> Head(const std::vector<PROJPOINT>& v, int n) {
    return std::vector<PROJPOINT>(v.begin(), v.begin() + n);
}

void BenchOurs(benchmark::State& state, Setup s, bool forward, Path path, int callSize) {
    if (!PathScope::Available(path)) {
        state.SkipWithError("this CPU lacks the instruction set");
        return;
    }
    const PathScope scope(path);
    const PipelinePoints& d = PointsFor(s);
    const std::vector<PROJPOINT> input =
        Head(forward ? d.degrees : d.projected, PointsPerIteration(callSize));
    PROJDATA data = s.data;
    void* h = ProjCreateProjection(&data);
    TimeConversions(state, input, [&](std::vector<PROJPOINT>& work) {
        bool ok = true;
        const int n = static_cast<int>(work.size());
        for (int i = 0; i < n; i += callSize)
            ok &= forward ? ProjForward(h, &work[i], std::min(callSize, n - i))
                          : ProjInverse(h, &work[i], std::min(callSize, n - i));
        return ok;
    });
    ProjDeleteProjection(h);
}

void BenchProj(benchmark::State& state, Setup s, bool forward, int callSize) {
    const PipelinePoints& d = PointsFor(s);
    const ProjOperation op(s.proj);
    const std::vector<PROJPOINT> input =
        Head(forward ? d.radians : d.projected, PointsPerIteration(callSize));
    TimeConversions(state, input, [&](std::vector<PROJPOINT>& work) {
        op.Trans(forward ? PJ_FWD : PJ_INV, work, static_cast<size_t>(callSize));
        return true;
    });
}

// Largest difference between the vector path (best instruction set) and the
// per-point path on 10,000,000 random points each way.
void PrintExactness() {
    constexpr int kMany = 10000000;
    for (const Setup& s : Setups()) {
        std::vector<PROJPOINT> ll = RandomPoints<PROJPOINT>(99, s.area, kMany);
        double worst[2] = {0, 0};
        long differ[2] = {0, 0};
        std::vector<PROJPOINT> in = ll;
        for (int dir = 0; dir < 2; ++dir) {
            std::vector<PROJPOINT> a = in, b = in;
            PROJDATA data = s.data;
            void* h = ProjCreateProjection(&data);
            for (int pass = 0; pass < 2; ++pass) {
                SetVectorPath(pass == 0);
                std::vector<PROJPOINT>& v = pass == 0 ? a : b;
                if (dir == 0)
                    ProjForward(h, v.data(), kMany);
                else
                    ProjInverse(h, v.data(), kMany);
            }
            SetVectorPath(true);
            ProjDeleteProjection(h);
            for (int i = 0; i < kMany; ++i) {
                const double dx = std::fabs(a[i].x - b[i].x), dy = std::fabs(a[i].y - b[i].y);
                if (a[i].x != b[i].x || a[i].y != b[i].y) ++differ[dir];
                worst[dir] = std::max(worst[dir], std::max(dx, dy));
            }
            in = b; // the inverse starts from the reference forward results
        }
        std::printf("%s vector vs per-point path, %d points: forward worst %.3g m (%ld differ), "
                    "inverse worst %.3g deg (%ld differ)\n",
                    s.name, kMany, worst[0], differ[0], worst[1], differ[1]);
    }
    std::fflush(stdout);
}

std::string Name(const Setup& s, bool forward, const char* path, int callSize) {
    return std::string(s.name) + (forward ? "/fwd/" : "/inv/") + path + "/" +
           std::to_string(callSize);
}

void PrintSummary(const RateCollector& rates) {
    std::printf("\nns/point (ratio PROJ / ours) by points per call\n");
    for (const Setup& s : Setups())
        for (bool forward : {true, false})
            for (int n : kCallSizes) {
                const double proj = rates.NsPerPoint(Name(s, forward, "PROJ", n));
                std::printf("%-9s %-3s %7d  PROJ %7.1f", s.name, forward ? "fwd" : "inv", n, proj);
                for (const Path& p : kPaths) {
                    const double ours = rates.NsPerPoint(Name(s, forward, p.name, n));
                    std::printf("  %s %6.1f (%4.1fx)", p.name, ours, ours > 0 ? proj / ours : 0.0);
                }
                std::printf("\n");
            }
}

} // namespace

int main(int argc, char** argv) {
    for (const Setup& s : Setups())
        for (bool forward : {true, false})
            for (int n : kCallSizes) {
                for (const Path& p : kPaths)
                    Register(Name(s, forward, p.name, n), BenchOurs, s, forward, p, n)
                        ->Repetitions(3);
                Register(Name(s, forward, "PROJ", n), BenchProj, s, forward, n)->Repetitions(3);
            }
    benchmark::AddCustomContext("best of", "3 repetitions");
    return RunBenchmarks(argc, argv, PrintExactness, PrintSummary);
}
