// The full ProjForward/ProjInverse pipeline against PROJ's proj_trans_generic
// on the same 1,000,000 random points, for UTM, transverse Mercator, Lambert
// conformal conic and Mercator. Prints nanoseconds per point for both, and
// how far our results are from PROJ's (by distance from the central meridian
// for the transverse Mercator series).
//
// PROJ is given its input in radians, prepared outside the timed region; our
// pipeline takes degrees and pays for the conversion itself.
#include "BenchSupport.h"

#include <cmath>
#include <cstdio>
#include <cstring>
#include <map>
#include <string>
#include <vector>

using namespace KVProj;
using namespace bench;

namespace {

struct Setup {
    const char* name;
    PROJDATA data;
    Area area;
    const char* proj;       // PROJ definition of the same projection
    const char* projApprox; // a second PROJ definition to compare with, or null
};

PROJDATA Record(ProjType type, double lon0) {
    return Wgs84Record(type, 0.0, lon0);
}

std::vector<Setup> Setups() {
    PROJDATA utm = Record(PT_UTM, 15.0);
    PROJDATA tm = Record(PT_TRANSVERSE_MERCATOR, 15.0);
    tm.K0 = 0.9996;
    tm.xOrg = 500000.0;
    PROJDATA lcc = Record(PT_LAMBERT_CONIC, -100.0);
    lcc.Lat0 = 39.0;
    lcc.Lat1 = 33.0;
    lcc.Lat2 = 45.0;
    PROJDATA merc = Record(PT_MERCATOR, 0.0);
    return {
        {"UTM",
         utm,
         {12.0, 18.0, 0.0, 80.0},
         "+proj=utm +zone=33 +ellps=WGS84",
         "+proj=tmerc +approx +lon_0=15 +k=0.9996 +x_0=500000 +ellps=WGS84"},
        {"TM",
         tm,
         {12.0, 18.0, 0.0, 80.0},
         "+proj=tmerc +lon_0=15 +k=0.9996 +x_0=500000 +ellps=WGS84",
         "+proj=tmerc +approx +lon_0=15 +k=0.9996 +x_0=500000 +ellps=WGS84"},
        {"Lambert",
         lcc,
         {-125.0, -75.0, 25.0, 50.0},
         "+proj=lcc +lat_0=39 +lon_0=-100 +lat_1=33 +lat_2=45 +ellps=WGS84",
         nullptr},
        {"Mercator", merc, {-179.0, 179.0, -80.0, 80.0}, "+proj=merc +ellps=WGS84", nullptr},
    };
}

const PipelinePoints& PointsFor(const Setup& s) {
    static std::map<std::string, PipelinePoints> cache;
    PipelinePoints& d = cache[s.name];
    if (d.degrees.empty()) d = MakePipelinePoints(s.name, s.data, s.area, 20240501);
    return d;
}

void BenchOurs(benchmark::State& state, Setup s, bool forward) {
    const PipelinePoints& d = PointsFor(s);
    TimePipeline(state, s.data, forward ? d.degrees : d.projected, forward);
}

void BenchProj(benchmark::State& state, Setup s, bool forward, bool approx) {
    const PipelinePoints& d = PointsFor(s);
    const ProjOperation op(approx ? s.projApprox : s.proj);
    TimeProj(state, op, forward ? d.radians : d.projected, forward ? PJ_FWD : PJ_INV);
}

// Largest distance between our forward results and PROJ's, in bands of
// distance from the central meridian; and the worst inverse difference.
void PrintAgreement(const Setup& s) {
    const PipelinePoints& d = PointsFor(s);
    const ProjOperation op(s.proj);
    std::vector<PROJPOINT> theirs = d.radians;
    op.Trans(PJ_FWD, theirs);
    const double bands[] = {0.5, 1.0, 2.0, 3.0, 1e9};
    double worst[5] = {0, 0, 0, 0, 0};
    for (int i = 0; i < kPoints; ++i) {
        const double off = std::fabs(d.degrees[i].x - s.data.Lon0);
        const double diff =
            std::hypot(d.projected[i].x - theirs[i].x, d.projected[i].y - theirs[i].y);
        int b = 0;
        while (off > bands[b])
            ++b;
        worst[b] = std::max(worst[b], diff);
    }
    std::printf("%-9s forward vs PROJ, worst in metres by distance from Lon0: <=0.5d %.2e  "
                "<=1d %.2e  <=2d %.2e  <=3d %.2e  beyond %.2e; inverse round trip worst %.1e deg\n",
                s.name, worst[0], worst[1], worst[2], worst[3], worst[4],
                RoundTripWorst(s.data, d));
}

// Far from the central meridian: how the transverse Mercator series drifts
// from PROJ's exact algorithm (latitude 45, WGS 84, k0 0.9996).
void PrintSeriesDrift() {
    const ProjOperation op("+proj=tmerc +lon_0=0 +k=0.9996 +ellps=WGS84");
    PROJDATA data = Record(PT_TRANSVERSE_MERCATOR, 0.0);
    data.K0 = 0.9996;
    void* h = ProjCreateProjection(&data);
    std::printf("TM series vs PROJ exact at latitude 45:");
    for (double off : {1.0, 3.0, 6.0, 10.0, 20.0, 30.0}) {
        std::vector<PROJPOINT> ours{PROJPOINT{off, 45.0}},
            theirs{PROJPOINT{off * kDegToRad, 45.0 * kDegToRad}};
        ProjForward(h, ours.data(), 1);
        op.Trans(PJ_FWD, theirs);
        std::printf("  %gd %.3g m", off,
                    std::hypot(ours[0].x - theirs[0].x, ours[0].y - theirs[0].y));
    }
    std::printf("\n");
    ProjDeleteProjection(h);
}

void PrintSummary(const RateCollector& rates) {
    std::printf("\n%-10s %-4s %12s %12s %12s %8s\n", "projection", "dir", "kvproj ns/pt",
                "PROJ ns/pt", "PROJ approx", "speedup");
    for (const Setup& s : Setups())
        ForEachDirection(s.name, [&](const std::string& base, bool forward) {
            const double ours = rates.NsPerPoint(base + "/kvproj");
            const double theirs = rates.NsPerPoint(base + "/PROJ");
            const double approx = rates.NsPerPoint(base + "/PROJ-approx");
            char approxText[32] = "-";
            if (approx > 0) std::snprintf(approxText, sizeof approxText, "%.1f", approx);
            std::printf("%-10s %-4s %12.1f %12.1f %12s %7.2fx\n", s.name, forward ? "fwd" : "inv",
                        ours, theirs, approxText, ours > 0 ? theirs / ours : 0.0);
        });
}

} // namespace

int main(int argc, char** argv) {
    for (const Setup& s : Setups())
        ForEachDirection(s.name, [&s](const std::string& base, bool fwd) {
            Register(base + "/kvproj", BenchOurs, s, fwd);
            Register(base + "/PROJ", BenchProj, s, fwd, false);
            if (s.projApprox) Register(base + "/PROJ-approx", BenchProj, s, fwd, true);
        });
    return RunBenchmarks(
        argc, argv,
        [] {
            for (const Setup& s : Setups())
                PrintAgreement(s);
            PrintSeriesDrift();
        },
        PrintSummary);
}
