// The conic and world projection modules against PROJ on the same 1,000,000
// random points: Albers (sphere and GRS 80), Equidistant Conic, Sinusoidal
// (sphere and WGS 84), Mollweide, Eckert IV and VI, Robinson and Van der
// Grinten. Our modules are called directly with the working record in radians;
// PROJ gets the same radians through proj_trans_generic. Both convert in
// place; the inverses start from our forward results. Prints nanoseconds per
// point, the speed ratio, and the largest distance between the two forwards.
#include "BenchSupport.h"

#include "projections/ProjModule.h"
#include "projections/Modules.h"

#include <cmath>
#include <cstdio>
#include <cstring>
#include <map>
#include <string>
#include <vector>

using namespace KVProj;
using namespace bench;

namespace {

constexpr double kRad = bench::kDegToRad;

using ConvertFn = ProjConvertFn;

struct Setup {
    const char* name;
    ConvertFn fwd, inv;
    double a, f, lat0, lon0, lat1, lat2;
    Area area; // of the random points
    const char* proj;
};

const double kGrs80F = 1.0 / 298.257222101;
const double kWgs84F = 1.0 / 298.257223563;

const Setup kSetups[] = {
    {"Albers-sphere", AlbersForward, AlbersInverse, 6371000, 0, 23, -96, 29.5, 45.5, -170, -20, -10,
     85, "+proj=aea +R=6371000 +lat_0=23 +lon_0=-96 +lat_1=29.5 +lat_2=45.5"},
    {"Albers-GRS80", AlbersForward, AlbersInverse, 6378137, kGrs80F, 23, -96, 29.5, 45.5, -170, -20,
     -10, 85, "+proj=aea +ellps=GRS80 +lat_0=23 +lon_0=-96 +lat_1=29.5 +lat_2=45.5"},
    {"EquiConic", EquiConForward, EquiConInverse, 6371000, 0, 23, -96, 29.5, 45.5, -170, -20, -10,
     85, "+proj=eqdc +R=6371000 +lat_0=23 +lon_0=-96 +lat_1=29.5 +lat_2=45.5"},
    {"Sinus-sphere", SinusForward, SinusInverse, 6371000, 0, 0, 10, 0, 0, -169, 189, -89, 89,
     "+proj=sinu +R=6371000 +lon_0=10"},
    {"Sinus-WGS84", SinusForward, SinusInverse, 6378137, kWgs84F, 0, 10, 0, 0, -169, 189, -89, 89,
     "+proj=sinu +ellps=WGS84 +lon_0=10"},
    {"Mollweide", MolleForward, MolleInverse, 6371000, 0, 0, 10, 0, 0, -169, 189, -89, 89,
     "+proj=moll +R=6371000 +lon_0=10"},
    {"EckertIV", Eckert4Forward, Eckert4Inverse, 6371000, 0, 0, 10, 0, 0, -169, 189, -89, 89,
     "+proj=eck4 +R=6371000 +lon_0=10"},
    {"EckertVI", Eckert6Forward, Eckert6Inverse, 6371000, 0, 0, 10, 0, 0, -169, 189, -89, 89,
     "+proj=eck6 +R=6371000 +lon_0=10"},
    {"Robinson", RobinForward, RobinInverse, 6371000, 0, 0, 0, 0, 0, -179, 179, -89, 89,
     "+proj=robin +R=6371000"},
    {"VanDerGrinten", VanDerForward, VanDerInverse, 6371000, 0, 0, 10, 0, 0, -169, 189, -89, 89,
     "+proj=vandg +R=6371000 +lon_0=10"},
};

PROJDATA Working(const Setup& s) {
    PROJDATA d;
    std::memset(&d, 0, sizeof d);
    d.Scale = 1.0;
    d.K0 = 1.0;
    d.MajorRadius = s.a;
    d.Flattening = s.f;
    d.Lat0 = s.lat0 * kRad;
    d.Lon0 = s.lon0 * kRad;
    d.Lat1 = s.lat1 * kRad;
    d.Lat2 = s.lat2 * kRad;
    return d;
}

// Radians for both forwards; our forward results for both inverses.
struct Data {
    std::vector<PROJPOINT> radians, projected;
};

const Data& PointsFor(const Setup& s) {
    static std::map<std::string, Data> cache;
    Data& d = cache[s.name];
    if (!d.radians.empty()) return d;
    d.radians = ToRadians(RandomPoints<PROJPOINT>(20261122, s.area));
    d.projected = d.radians;
    PROJDATA w = Working(s);
    s.fwd(&w, d.projected.data(), kPoints);
    return d;
}

void BenchOurs(benchmark::State& state, const Setup* s, bool forward) {
    const Data& d = PointsFor(*s);
    PROJDATA w;
    TimeConversions(
        state, forward ? d.radians : d.projected,
        [&] { w = Working(*s); }, // the engine hands each call a fresh copy
        [&](std::vector<PROJPOINT>& work) {
            return (forward ? s->fwd : s->inv)(&w, work.data(), kPoints);
        });
}

void BenchProj(benchmark::State& state, const Setup* s, bool forward) {
    const Data& d = PointsFor(*s);
    const ProjOperation op(s->proj);
    TimeProj(state, op, forward ? d.radians : d.projected, forward ? PJ_FWD : PJ_INV);
}

// Largest distance between our forward and PROJ's over the random points;
// PROJ wraps longitudes that our conics do not, so those are left out.
void PrintAgreement(const Setup& s) {
    const Data& d = PointsFor(s);
    const ProjOperation op(s.proj);
    std::vector<PROJPOINT> theirs = d.radians;
    op.Trans(PJ_FWD, theirs);
    double worst = 0.0;
    int at = 0;
    for (int i = 0; i < kPoints; ++i) {
        if (IsUnplottable(d.projected[i]) || !std::isfinite(theirs[i].x)) continue;
        const double diff =
            std::hypot(d.projected[i].x - theirs[i].x, d.projected[i].y - theirs[i].y);
        if (diff > worst) {
            worst = diff;
            at = i;
        }
    }
    std::printf("%-14s forward vs PROJ: worst %.3g m at lon %.6f lat %.6f\n", s.name, worst,
                d.radians[at].x / kRad, d.radians[at].y / kRad);
}

void PrintSummary(const RateCollector& rates) {
    std::printf("\n%-14s %-4s %12s %12s %8s  %s\n", "projection", "dir", "kvproj ns/pt",
                "PROJ ns/pt", "speedup", "target");
    for (const Setup& s : kSetups)
        ForEachDirection(s.name, [&](const std::string& base, bool fwd) {
            const double ours = rates.NsPerPoint(base + "/kvproj");
            const double theirs = rates.NsPerPoint(base + "/PROJ");
            const double ratio = ours > 0 ? theirs / ours : 0.0;
            const bool met = fwd ? ratio >= 1.5 : ratio >= 1.0;
            std::printf("%-14s %-4s %12.1f %12.1f %7.2fx  %s %s\n", s.name, fwd ? "fwd" : "inv",
                        ours, theirs, ratio, fwd ? ">=1.5x" : ">=1.0x", met ? "met" : "MISSED");
        });
}

} // namespace

int main(int argc, char** argv) {
    for (const Setup& s : kSetups)
        ForEachDirection(s.name, [&s](const std::string& base, bool fwd) {
            Register(base + "/kvproj", BenchOurs, &s, fwd);
            Register(base + "/PROJ", BenchProj, &s, fwd);
        });
    return RunBenchmarks(
        argc, argv,
        [] {
            for (const Setup& s : kSetups)
                PrintAgreement(s);
        },
        PrintSummary);
}
