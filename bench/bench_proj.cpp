// The full ProjForward/ProjInverse pipeline against PROJ's proj_trans_generic
// on the same 1,000,000 random points, for UTM, transverse Mercator, Lambert
// conformal conic and Mercator. Prints nanoseconds per point for both, and
// how far our results are from PROJ's (by distance from the central meridian
// for the transverse Mercator series).
//
// PROJ is given its input in radians, prepared outside the timed region; our
// pipeline takes degrees and pays for the conversion itself.
#include "kvproj/projection.h"

#include <benchmark/benchmark.h>
#include <proj.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <map>
#include <random>
#include <string>
#include <vector>

using namespace KVProj;

namespace {

constexpr int kPoints = 1000000;
constexpr double kDegToRad = 3.141592653589793 / 180.0;

struct Area {
    double lon0, lon1, lat0, lat1;
};

struct Setup {
    const char* name;
    PROJDATA data;
    Area area;
    const char* proj;       // PROJ definition of the same projection
    const char* projApprox; // a second PROJ definition to compare with, or null
};

PROJDATA Record(ProjType type, double lon0) {
    PROJDATA d;
    std::memset(&d, 0, sizeof(d));
    d.Type = type;
    d.Scale = 1.0;
    d.Ellipsoid = ELLIPSOID_WGS84;
    d.Zone = STATEZONE_NONE;
    d.Lon0 = lon0;
    return d;
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

// The points of one projection: degrees for us, radians for PROJ, and the
// projected coordinates (from our forward) as input to both inverses.
struct Data {
    std::vector<PROJPOINT> degrees, radians, projected;
};

std::map<std::string, Data>& Cache() {
    static std::map<std::string, Data> cache;
    return cache;
}

const Data& PointsFor(const Setup& s) {
    Data& d = Cache()[s.name];
    if (!d.degrees.empty()) return d;
    std::mt19937_64 rng(20240501);
    std::uniform_real_distribution<double> lon(s.area.lon0, s.area.lon1);
    std::uniform_real_distribution<double> lat(s.area.lat0, s.area.lat1);
    d.degrees.resize(kPoints);
    d.radians.resize(kPoints);
    for (int i = 0; i < kPoints; ++i) {
        d.degrees[i] = PROJPOINT{lon(rng), lat(rng)};
        d.radians[i] = PROJPOINT{d.degrees[i].x * kDegToRad, d.degrees[i].y * kDegToRad};
    }
    PROJDATA data = s.data;
    void* h = ProjCreateProjection(&data);
    d.projected = d.degrees;
    ProjForward(h, d.projected.data(), kPoints);
    ProjDeleteProjection(h);
    return d;
}

void ProjTrans(PJ* p, PJ_DIRECTION dir, std::vector<PROJPOINT>& pts) {
    proj_trans_generic(p, dir, &pts[0].x, sizeof(PROJPOINT), pts.size(), &pts[0].y,
                       sizeof(PROJPOINT), pts.size(), nullptr, 0, 0, nullptr, 0, 0);
}

void SetRate(benchmark::State& state) {
    state.SetItemsProcessed(state.iterations() * kPoints);
    state.counters["ns/pt"] = benchmark::Counter(
        kPoints, benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}

void BenchOurs(benchmark::State& state, Setup s, bool forward) {
    const Data& d = PointsFor(s);
    PROJDATA data = s.data;
    void* h = ProjCreateProjection(&data);
    std::vector<PROJPOINT> work(kPoints);
    const std::vector<PROJPOINT>& input = forward ? d.degrees : d.projected;
    for (auto _ : state) {
        state.PauseTiming();
        std::copy(input.begin(), input.end(), work.begin());
        state.ResumeTiming();
        const bool ok =
            forward ? ProjForward(h, work.data(), kPoints) : ProjInverse(h, work.data(), kPoints);
        if (!ok) state.SkipWithError("conversion failed");
        benchmark::DoNotOptimize(work.data());
    }
    ProjDeleteProjection(h);
    SetRate(state);
}

void BenchProj(benchmark::State& state, Setup s, bool forward, bool approx) {
    const Data& d = PointsFor(s);
    PJ_CONTEXT* ctx = proj_context_create();
    PJ* p = proj_create(ctx, approx ? s.projApprox : s.proj);
    if (!p) {
        state.SkipWithError("PROJ cannot make the projection");
        proj_context_destroy(ctx);
        return;
    }
    std::vector<PROJPOINT> work(kPoints);
    const std::vector<PROJPOINT>& input = forward ? d.radians : d.projected;
    for (auto _ : state) {
        state.PauseTiming();
        std::copy(input.begin(), input.end(), work.begin());
        state.ResumeTiming();
        ProjTrans(p, forward ? PJ_FWD : PJ_INV, work);
        benchmark::DoNotOptimize(work.data());
    }
    proj_destroy(p);
    proj_context_destroy(ctx);
    SetRate(state);
}

// Largest distance between our forward results and PROJ's, in bands of
// distance from the central meridian; and the worst inverse difference.
void PrintAgreement(const Setup& s) {
    const Data& d = PointsFor(s);
    PJ_CONTEXT* ctx = proj_context_create();
    PJ* p = proj_create(ctx, s.proj);
    std::vector<PROJPOINT> theirs = d.radians;
    ProjTrans(p, PJ_FWD, theirs);
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
    std::vector<PROJPOINT> back = d.projected;
    PROJDATA data = s.data;
    void* h = ProjCreateProjection(&data);
    ProjInverse(h, back.data(), kPoints);
    ProjDeleteProjection(h);
    double inv = 0;
    for (int i = 0; i < kPoints; ++i)
        inv = std::max(inv, std::max(std::fabs(back[i].x - d.degrees[i].x),
                                     std::fabs(back[i].y - d.degrees[i].y)));
    std::printf("%-9s forward vs PROJ, worst in metres by distance from Lon0: <=0.5d %.2e  "
                "<=1d %.2e  <=2d %.2e  <=3d %.2e  beyond %.2e; inverse round trip worst %.1e deg\n",
                s.name, worst[0], worst[1], worst[2], worst[3], worst[4], inv);
    proj_destroy(p);
    proj_context_destroy(ctx);
}

// Far from the central meridian: how the transverse Mercator series drifts
// from PROJ's exact algorithm (latitude 45, WGS 84, k0 0.9996).
void PrintSeriesDrift() {
    PJ_CONTEXT* ctx = proj_context_create();
    PJ* p = proj_create(ctx, "+proj=tmerc +lon_0=0 +k=0.9996 +ellps=WGS84");
    PROJDATA data = Record(PT_TRANSVERSE_MERCATOR, 0.0);
    data.K0 = 0.9996;
    void* h = ProjCreateProjection(&data);
    std::printf("TM series vs PROJ exact at latitude 45:");
    for (double off : {1.0, 3.0, 6.0, 10.0, 20.0, 30.0}) {
        std::vector<PROJPOINT> ours{PROJPOINT{off, 45.0}},
            theirs{PROJPOINT{off * kDegToRad, 45.0 * kDegToRad}};
        ProjForward(h, ours.data(), 1);
        ProjTrans(p, PJ_FWD, theirs);
        std::printf("  %gd %.3g m", off,
                    std::hypot(ours[0].x - theirs[0].x, ours[0].y - theirs[0].y));
    }
    std::printf("\n");
    ProjDeleteProjection(h);
    proj_destroy(p);
    proj_context_destroy(ctx);
}

// Collects ns/point per benchmark to print the comparison at the end. Times
// are CPU times of the converting thread, so that other load on the machine
// does not count against either side.
class Summary : public benchmark::ConsoleReporter {
public:
    void ReportRuns(const std::vector<Run>& runs) override {
        for (const Run& r : runs) {
            auto it = r.counters.find("ns/pt");
            if (it != r.counters.end()) m_ns[r.benchmark_name()] = it->second.value * 1e9;
        }
        ConsoleReporter::ReportRuns(runs);
    }
    void Print() const {
        std::printf("\n%-10s %-4s %12s %12s %12s %8s\n", "projection", "dir", "kvproj ns/pt",
                    "PROJ ns/pt", "PROJ approx", "speedup");
        for (const Setup& s : Setups())
            for (const char* dir : {"fwd", "inv"}) {
                const std::string base = std::string(s.name) + "/" + dir;
                const double ours = Get(base + "/kvproj"), theirs = Get(base + "/PROJ");
                const double approx = Get(base + "/PROJ-approx");
                char approxText[32] = "-";
                if (approx > 0) std::snprintf(approxText, sizeof approxText, "%.1f", approx);
                std::printf("%-10s %-4s %12.1f %12.1f %12s %7.2fx\n", s.name, dir, ours, theirs,
                            approxText, ours > 0 ? theirs / ours : 0.0);
            }
    }

private:
    double Get(const std::string& name) const {
        auto it = m_ns.find(name);
        return it == m_ns.end() ? 0.0 : it->second;
    }
    std::map<std::string, double> m_ns;
};

} // namespace

int main(int argc, char** argv) {
    for (const Setup& s : Setups()) {
        for (bool fwd : {true, false}) {
            const std::string base = std::string(s.name) + (fwd ? "/fwd" : "/inv");
            benchmark::RegisterBenchmark((base + "/kvproj").c_str(), BenchOurs, s, fwd)
                ->Unit(benchmark::kMillisecond);
            benchmark::RegisterBenchmark((base + "/PROJ").c_str(), BenchProj, s, fwd, false)
                ->Unit(benchmark::kMillisecond);
            if (s.projApprox)
                benchmark::RegisterBenchmark((base + "/PROJ-approx").c_str(), BenchProj, s, fwd,
                                             true)
                    ->Unit(benchmark::kMillisecond);
        }
    }
    benchmark::Initialize(&argc, argv);
    for (const Setup& s : Setups())
        PrintAgreement(s);
    PrintSeriesDrift();
    Summary summary;
    benchmark::RunSpecifiedBenchmarks(&summary);
    summary.Print();
    benchmark::Shutdown();
    return 0;
}
