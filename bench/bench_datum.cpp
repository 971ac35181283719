// Datum conversion to WGS 84 of 1,000,000 points: the library's Molodensky and
// Bursa-Wolf steps through DatConvertDatum against PROJ's "+towgs84" pipeline
// (geodetic -> geocentric -> Helmert -> geodetic) through proj_trans_generic,
// both on degrees, longitude first. Reports nanoseconds per point and how far
// the two results lie apart.
#include "kvproj/datum.h"

#include <benchmark/benchmark.h>
#include <proj.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <random>
#include <vector>

using namespace KVProj;

namespace {

constexpr int kPoints = 1000000;

struct Case {
    const char* name;
    int datum;
    const char* projSource; // the same datum as a PROJ CRS with +towgs84
};

// ED50 (Molodensky, International 1924) and DHDN-1 (Bursa-Wolf, Bessel Modified).
const Case kCases[] = {
    {"Molodensky", 5, "+proj=longlat +ellps=intl +towgs84=-87,-98,-121 +type=crs"},
    {"BursaWolf", 216,
     "+proj=longlat +a=6377397.155 +f=0.003342773153666242 "
     "+towgs84=591,73,410,0.26,0.05,-2.43,8.5 +type=crs"},
};

const std::vector<DATUMPOINT>& Points() {
    static std::vector<DATUMPOINT> points = [] {
        std::mt19937_64 rng(20261122);
        std::uniform_real_distribution<double> lon(-10.0, 30.0), lat(35.0, 70.0);
        std::vector<DATUMPOINT> p(kPoints);
        for (DATUMPOINT& q : p)
            q = {lon(rng), lat(rng)};
        return p;
    }();
    return points;
}

// To WGS 84 with no second step: the destination is a caller step "none".
DATUMXFORM ToWgs84(int datum) {
    DATUMXFORM x;
    std::memset(&x, 0, sizeof x);
    x.SrcDatum = static_cast<DatumType>(datum);
    x.DestDatum = DATUM_USER_DEFINED;
    x.Step2.Method = DM_NOXFORM;
    return x;
}

void Ours(benchmark::State& state, const Case* c) {
    DATUMXFORM x = ToWgs84(c->datum);
    void* h = DatCreateDatum(&x);
    std::vector<DATUMPOINT> work(kPoints);
    for (auto _ : state) {
        state.PauseTiming();
        work = Points();
        state.ResumeTiming();
        DatConvertDatum(h, work.data(), kPoints);
        benchmark::DoNotOptimize(work.data());
    }
    DatDeleteDatum(h);
    state.counters["ns_per_point"] = benchmark::Counter(
        kPoints, benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}

PJ* ProjPipeline(PJ_CONTEXT* ctx, const Case* c) {
    return proj_create_crs_to_crs(ctx, c->projSource, "+proj=longlat +datum=WGS84 +type=crs",
                                  nullptr);
}

void Proj(benchmark::State& state, const Case* c) {
    PJ_CONTEXT* ctx = proj_context_create();
    PJ* pj = ProjPipeline(ctx, c);
    std::vector<DATUMPOINT> work(kPoints);
    for (auto _ : state) {
        state.PauseTiming();
        work = Points();
        state.ResumeTiming();
        proj_trans_generic(pj, PJ_FWD, &work[0].x, sizeof(DATUMPOINT), kPoints, &work[0].y,
                           sizeof(DATUMPOINT), kPoints, nullptr, 0, 0, nullptr, 0, 0);
        benchmark::DoNotOptimize(work.data());
    }
    proj_destroy(pj);
    proj_context_destroy(ctx);
    state.counters["ns_per_point"] = benchmark::Counter(
        kPoints, benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}

// Largest distance in metres between our result and PROJ's over all points.
void Agreement() {
    PJ_CONTEXT* ctx = proj_context_create();
    for (const Case& c : kCases) {
        std::vector<DATUMPOINT> ours = Points(), theirs = Points();
        DATUMXFORM x = ToWgs84(c.datum);
        void* h = DatCreateDatum(&x);
        DatConvertDatum(h, ours.data(), kPoints);
        DatDeleteDatum(h);
        PJ* pj = ProjPipeline(ctx, &c);
        proj_trans_generic(pj, PJ_FWD, &theirs[0].x, sizeof(DATUMPOINT), kPoints, &theirs[0].y,
                           sizeof(DATUMPOINT), kPoints, nullptr, 0, 0, nullptr, 0, 0);
        proj_destroy(pj);
        double worst = 0.0;
        for (int i = 0; i < kPoints; ++i) {
            double dy = (ours[i].y - theirs[i].y) * 111320.0;
            double dx = (ours[i].x - theirs[i].x) * 111320.0 *
                        std::cos(ours[i].y * 3.141592653589793 / 180.0);
            worst = std::max(worst, std::hypot(dx, dy));
        }
        std::printf("%-10s largest difference from PROJ +towgs84: %.6f m%s\n", c.name, worst,
                    c.datum == 5 ? " (standard Molodensky vs geocentric translation)" : "");
    }
    proj_context_destroy(ctx);
}

} // namespace

int main(int argc, char** argv) {
    for (const Case& c : kCases) {
        benchmark::RegisterBenchmark((std::string("kvproj/") + c.name).c_str(), Ours, &c)
            ->Unit(benchmark::kMillisecond);
        benchmark::RegisterBenchmark((std::string("PROJ/") + c.name).c_str(), Proj, &c)
            ->Unit(benchmark::kMillisecond);
    }
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    Agreement();
    return 0;
}
