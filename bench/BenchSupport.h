// What the benchmark programs share: the random points, a PROJ operation that
// owns its context, the timed loop that converts a fresh copy of the input on
// every iteration, the ns/point counter and the reporter that collects it,
// the full ProjForward/ProjInverse pipeline set-up, and the choice of path
// (per point, or the vector loops on one instruction set) for the timings.
//
// Every program compares the library with PROJ on the same points in the same
// run. Times are CPU times of the converting thread, so that other load on the
// machine does not count against either side.
#ifndef KVPROJ_BENCH_BENCHSUPPORT_H
#define KVPROJ_BENCH_BENCHSUPPORT_H

#include "kvproj/projection.h"
#include "projections/VectorPath.h"

#include <benchmark/benchmark.h>
#include <hwy/targets.h>
#include <proj.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <map>
#include <random>
#include <string>
#include <utility>
#include <vector>

namespace bench {

using KVProj::PROJDATA;
using KVProj::PROJPOINT;

constexpr int kPoints = 1000000;
constexpr double kDegToRad = 3.141592653589793 / 180.0;

// A longitude/latitude box in degrees.
struct Area {
    double west, east, south, north;
};

// `count` points drawn uniformly from `area`, longitude then latitude for each
// point, so that a seed always gives the same points.
template <typename Point>
std::vector<Point> RandomPoints(uint64_t seed, const Area& area, int count = kPoints) {
    std::mt19937_64 rng(seed);
    std::uniform_real_distribution<double> lon(area.west, area.east), lat(area.south, area.north);
    std::vector<Point> points(static_cast<size_t>(count));
    for (Point& p : points)
        p = Point{lon(rng), lat(rng)};
    return points;
}

inline std::vector<PROJPOINT> ToRadians(const std::vector<PROJPOINT>& degrees) {
    std::vector<PROJPOINT> radians(degrees.size());
    for (size_t i = 0; i < degrees.size(); ++i)
        radians[i] = PROJPOINT{degrees[i].x * kDegToRad, degrees[i].y * kDegToRad};
    return radians;
}

// Longitudes that name the same meridian are equal: an inverse may hand back
// the other turn of a point beyond 180 degrees from Greenwich.
inline double LonDiff(double a, double b) {
    return std::fabs(std::remainder(a - b, 360.0));
}

// ------------------------------------------------------------------ PROJ

constexpr const char* kWgs84Crs = "+proj=longlat +datum=WGS84 +type=crs";

// One PROJ operation with a context of its own; false when PROJ cannot build it.
class ProjOperation {
public:
    explicit ProjOperation(const std::string& definition)
        : m_ctx(proj_context_create()), m_pj(proj_create(m_ctx, definition.c_str())) {}
    ProjOperation(const std::string& sourceCrs, const std::string& targetCrs)
        : m_ctx(proj_context_create()),
          m_pj(proj_create_crs_to_crs(m_ctx, sourceCrs.c_str(), targetCrs.c_str(), nullptr)) {}
    ~ProjOperation() {
        if (m_pj) proj_destroy(m_pj);
        proj_context_destroy(m_ctx);
    }
    ProjOperation(const ProjOperation&) = delete;
    ProjOperation& operator=(const ProjOperation&) = delete;

    explicit operator bool() const { return m_pj != nullptr; }
    PJ* Get() const { return m_pj; }

    // Converts the points in place, x and y interleaved as in the records, in
    // calls of `callSize` points (0: one call for all).
    template <typename Point>
    void Trans(PJ_DIRECTION dir, std::vector<Point>& pts, size_t callSize = 0) const {
        const size_t step = callSize == 0 ? pts.size() : callSize;
        for (size_t i = 0; i < pts.size(); i += step) {
            Point* first = &pts[i];
            const size_t n = std::min(step, pts.size() - i);
            proj_trans_generic(m_pj, dir, &first->x, sizeof(Point), n, &first->y, sizeof(Point), n,
                               nullptr, 0, 0, nullptr, 0, 0);
        }
    }

private:
    PJ_CONTEXT* m_ctx;
    PJ* m_pj;
};

// ------------------------------------------------------------------ GDAL

// GDAL's control points (GDAL_GCP) pairing source[i] with dest[i]. A template
// so that the programs which do not link GDAL need not see its header.
template <typename Gcp, typename Point>
std::vector<Gcp> MakeGcps(const std::vector<Point>& source, const std::vector<Point>& dest) {
    std::vector<Gcp> gcps(source.size());
    char* none = const_cast<char*>("");
    for (size_t i = 0; i < gcps.size(); ++i)
        gcps[i] = Gcp{none, none, source[i].x, source[i].y, dest[i].x, dest[i].y, 0.0};
    return gcps;
}

// The separate x, y and z arrays a GDAL transformer function (GDALGCPTransform,
// GDALTPSTransform: transformer, inverse flag, count, x, y, z, success) takes.
struct XyzArrays {
    std::vector<double> x, y, z;
    std::vector<int> ok;
    explicit XyzArrays(size_t n) : x(n), y(n), z(n), ok(n) {}
    template <typename Point> void Load(const std::vector<Point>& pts) {
        for (size_t i = 0; i < pts.size(); ++i)
            x[i] = pts[i].x, y[i] = pts[i].y, z[i] = 0.0;
    }
    template <typename TransformFn> bool Run(TransformFn fn, void* transformer) {
        return fn(transformer, 0, static_cast<int>(x.size()), x.data(), y.data(), z.data(),
                  ok.data()) != 0;
    }
};

// ------------------------------------------------------------------ timing

// The counter every program reports and the summaries read.
inline void SetRate(benchmark::State& state, size_t pointsPerIteration) {
    state.SetItemsProcessed(state.iterations() * static_cast<int64_t>(pointsPerIteration));
    state.counters["ns/pt"] = benchmark::Counter(static_cast<double>(pointsPerIteration),
                                                 benchmark::Counter::kIsIterationInvariantRate |
                                                     benchmark::Counter::kInvert);
}

// Times `convert(work)` on a fresh copy of `input` per iteration; the copy and
// `prepare()` run outside the timed region. A false from `convert` ends the
// benchmark with an error.
template <typename Point, typename Prepare, typename Convert>
void TimeConversions(benchmark::State& state, const std::vector<Point>& input, Prepare prepare,
                     Convert convert) {
    std::vector<Point> work(input.size());
    for (auto _ : state) {
        state.PauseTiming();
        std::copy(input.begin(), input.end(), work.begin());
        prepare();
        state.ResumeTiming();
        if (!convert(work)) state.SkipWithError("conversion failed");
        benchmark::DoNotOptimize(work.data());
    }
    SetRate(state, input.size());
}

template <typename Point, typename Convert>
void TimeConversions(benchmark::State& state, const std::vector<Point>& input, Convert convert) {
    TimeConversions(
        state, input, [] {}, convert);
}

// PROJ converting `input` in direction `dir`.
template <typename Point>
void TimeProj(benchmark::State& state, const ProjOperation& op, const std::vector<Point>& input,
              PJ_DIRECTION dir) {
    if (!op) {
        state.SkipWithError("PROJ cannot make the operation");
        return;
    }
    TimeConversions(state, input, [&](std::vector<Point>& work) {
        op.Trans(dir, work);
        return true;
    });
}

// A GDAL transformer function over `input`, the arrays filled outside the
// timed region.
template <typename Point, typename TransformFn>
void TimeGdal(benchmark::State& state, TransformFn fn, void* transformer,
              const std::vector<Point>& input) {
    XyzArrays work(input.size());
    for (auto _ : state) {
        state.PauseTiming();
        work.Load(input);
        state.ResumeTiming();
        if (!work.Run(fn, transformer)) state.SkipWithError("GDAL transform failed");
        benchmark::DoNotOptimize(work.x.data());
    }
    SetRate(state, input.size());
}

// ------------------------------------------------------------------ pipeline

// A record of `type` on WGS 84 with the given origin, everything else cleared.
inline PROJDATA Wgs84Record(KVProj::ProjType type, double lat0, double lon0) {
    PROJDATA d;
    std::memset(&d, 0, sizeof(d));
    d.Type = type, d.Scale = 1.0, d.Ellipsoid = KVProj::ELLIPSOID_WGS84;
    d.Zone = KVProj::STATEZONE_NONE, d.Lat0 = lat0, d.Lon0 = lon0;
    return d;
}

// The points of one projection through the full pipeline: degrees for us,
// radians for PROJ, and our forward results as input to the inverses.
struct PipelinePoints {
    std::vector<PROJPOINT> degrees, radians, projected;
};

inline PipelinePoints MakePipelinePoints(const char* name, const PROJDATA& record, const Area& area,
                                         uint64_t seed) {
    PipelinePoints d;
    d.degrees = RandomPoints<PROJPOINT>(seed, area);
    d.radians = ToRadians(d.degrees);
    d.projected = d.degrees;
    PROJDATA data = record;
    void* h = KVProj::ProjCreateProjection(&data);
    if (!h || !KVProj::ProjForward(h, d.projected.data(), kPoints))
        std::fprintf(stderr, "%s: our forward failed\n", name);
    KVProj::ProjDeleteProjection(h);
    return d;
}

// ProjForward or ProjInverse through one handle on a fresh copy of `input`.
inline void TimePipeline(benchmark::State& state, const PROJDATA& record,
                         const std::vector<PROJPOINT>& input, bool forward) {
    PROJDATA data = record;
    void* h = KVProj::ProjCreateProjection(&data);
    if (!h) {
        state.SkipWithError("cannot create the projection");
        return;
    }
    TimeConversions(state, input, [&](std::vector<PROJPOINT>& work) {
        const int n = static_cast<int>(work.size());
        return forward ? KVProj::ProjForward(h, work.data(), n)
                       : KVProj::ProjInverse(h, work.data(), n);
    });
    KVProj::ProjDeleteProjection(h);
}

// Worst difference in degrees between `degrees` and the inverse of
// `projected` through the pipeline; points our forward could not convert are
// left out.
inline double RoundTripWorst(const PROJDATA& record, const PipelinePoints& d) {
    std::vector<PROJPOINT> back = d.projected;
    PROJDATA data = record;
    void* h = KVProj::ProjCreateProjection(&data);
    KVProj::ProjInverse(h, back.data(), static_cast<int>(back.size()));
    KVProj::ProjDeleteProjection(h);
    double worst = 0;
    for (size_t i = 0; i < back.size(); ++i)
        if (back[i].x != KVPROJ_UNPLOTTABLE)
            worst = std::max(worst, std::max(LonDiff(back[i].x, d.degrees[i].x),
                                             std::fabs(back[i].y - d.degrees[i].y)));
    return worst;
}

// ------------------------------------------------------------------ running

// Keeps the ns/point of every benchmark for the comparison printed at the end.
class RateCollector : public benchmark::ConsoleReporter {
public:
    // Repetitions of one benchmark share a name (with "/repeats:N").
    void ReportRuns(const std::vector<Run>& runs) override {
        for (const Run& r : runs) {
            auto it = r.counters.find("ns/pt");
            if (r.run_type == Run::RT_Aggregate || it == r.counters.end()) continue;
            // Repetitions of one benchmark: the best run counts.
            const double ns = it->second.value * 1e9;
            std::string name = r.benchmark_name();
            name = name.substr(0, name.find("/repeats:"));
            auto [at, fresh] = m_ns.emplace(name, ns);
            if (!fresh) at->second = std::min(at->second, ns);
        }
        ConsoleReporter::ReportRuns(runs);
    }
    // 0 for a benchmark that did not run.
    double NsPerPoint(const std::string& name) const {
        auto it = m_ns.find(name);
        return it == m_ns.end() ? 0.0 : it->second;
    }

private:
    std::map<std::string, double> m_ns;
};

// Registers one benchmark with its times in milliseconds.
template <typename Fn, typename... Args>
benchmark::internal::Benchmark* Register(const std::string& name, Fn fn, Args&&... args) {
    return benchmark::RegisterBenchmark(name.c_str(), fn, std::forward<Args>(args)...)
        ->Unit(benchmark::kMillisecond);
}

// Calls fn(base, forward) with base "<name>/fwd" and "<name>/inv", the
// prefix of every benchmark of one set-up.
template <typename Fn> void ForEachDirection(const char* name, Fn fn) {
    for (bool forward : {true, false})
        fn(std::string(name) + (forward ? "/fwd" : "/inv"), forward);
}

// Reads the benchmark options, prints what `before` prints (the agreement
// with PROJ), runs the benchmarks and hands the collected rates to `after`.
template <typename Before, typename After>
int RunBenchmarks(int argc, char** argv, Before before, After after) {
    benchmark::Initialize(&argc, argv);
    before();
    RateCollector rates;
    benchmark::RunSpecifiedBenchmarks(&rates);
    after(rates);
    benchmark::Shutdown();
    return 0;
}

// ---------------------------------------------------------------- paths
// The paths timed: the per-point one, then the vector loops on one
// instruction set each (target 0: the per-point path; -1: the vector loops on
// the best instruction set this CPU has).
struct Path {
    const char* name;
    int64_t target;
};
const Path kPaths[] = {
    {"scalar", 0}, {"SSE4", HWY_SSE4}, {"AVX2", HWY_AVX2}, {"AVX-512", HWY_AVX3}};
const int kCallSizes[] = {1, 4, 64, kPoints};

// Points per timed iteration: the whole array for one call, fewer for the
// small calls (still thousands of calls per iteration).
inline int PointsPerIteration(int callSize) {
    return callSize == kPoints ? kPoints : 65536;
}

// Selects the path for one benchmark and restores the default after it.
class PathScope {
public:
    explicit PathScope(const Path& p) {
        KVProj::SetVectorPath(p.target != 0);
        if (p.target > 0) hwy::SetSupportedTargetsForTest(p.target);
    }
    ~PathScope() {
        KVProj::SetVectorPath(true);
        hwy::SetSupportedTargetsForTest(0);
    }
    PathScope(const PathScope&) = delete;
    PathScope& operator=(const PathScope&) = delete;
    static bool Available(const Path& p) {
        return p.target <= 0 || (hwy::SupportedTargets() & p.target) != 0;
    }
};

} // namespace bench

#endif
