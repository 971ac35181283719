// Georeference forward transformation of 1,000,000 image points to map
// coordinates: RefForward for the Helmert, affine, second and third order fits
// against GDAL's GCP polynomial transformer (GDALGCPTransform, orders 1 to 3)
// fitted to the same noisy controls, on the same points in the same run.
// Reports nanoseconds per point and how far the two results lie apart.
#include "BenchSupport.h"

#include "kvproj/georef.h"

#include <gdal_alg.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <random>
#include <vector>

using namespace KVProj;
using namespace bench;

namespace {

// 25 controls on a jittered 5 x 5 grid over a 10,000-pixel image, mapped to
// UTM-sized coordinates by a mildly curved warp with 0.3 m of noise.
struct ControlSet {
    std::vector<GEOREFPOINT> pixel, map;
};

const ControlSet& Controls() {
    static const ControlSet set = [] {
        ControlSet s;
        std::mt19937_64 rng(20261123);
        std::uniform_real_distribution<double> jitter(-400.0, 400.0);
        std::normal_distribution<double> noise(0.0, 0.3);
        for (int i = 0; i < 5; ++i)
            for (int j = 0; j < 5; ++j) {
                const double px = 1000 + 2000 * i + jitter(rng), py = 1000 + 2000 * j + jitter(rng);
                const double u = px / 1e4, v = py / 1e4;
                s.pixel.push_back({px, py});
                s.map.push_back({500000 + 2.5 * px + 0.3 * py + 12 * u * u - 7 * u * v + noise(rng),
                                 4000000 - 0.2 * px - 2.5 * py + 9 * u * v * v + noise(rng)});
            }
        return s;
    }();
    return set;
}

const std::vector<GEOREFPOINT>& Points() {
    static const std::vector<GEOREFPOINT> points =
        RandomPoints<GEOREFPOINT>(20261124, Area{0.0, 10000.0, 0.0, 10000.0});
    return points;
}

void* OurHandle(TransformMethod method) {
    ControlSet c = Controls();
    GEOREF r{};
    r.Method = method;
    r.pSrc = c.pixel.data();
    r.pDest = c.map.data();
    r.nControls = static_cast<int>(c.pixel.size());
    return RefCreateSystem(&r);
}

void Ours(benchmark::State& state, TransformMethod method) {
    void* h = OurHandle(method);
    if (!h) {
        state.SkipWithError("cannot create the georeference");
        return;
    }
    TimeConversions(state, Points(), [h](std::vector<GEOREFPOINT>& work) {
        return RefForward(h, work.data(), static_cast<int>(work.size()));
    });
    RefDeleteSystem(h);
}

// GDAL's transformer of one polynomial order; null when GDAL cannot fit it.
void* GdalTransformer(int order) {
    const ControlSet& c = Controls();
    std::vector<GDAL_GCP> gcps = MakeGcps<GDAL_GCP>(c.pixel, c.map);
    return GDALCreateGCPTransformer(static_cast<int>(gcps.size()), gcps.data(), order, FALSE);
}

void Gdal(benchmark::State& state, int order) {
    void* t = GdalTransformer(order);
    if (!t) {
        state.SkipWithError("GDAL cannot fit the controls");
        return;
    }
    TimeGdal(state, GDALGCPTransform, t, Points());
    GDALDestroyGCPTransformer(t);
}

// The memory floor of a per-point conversion in place: the same array, the
// same fresh copy per iteration, and the least arithmetic that still reads
// and writes every coordinate (one multiply-add per coordinate, which the
// compiler vectorises at the widest vectors this CPU has: 64-byte vectors
// where AVX-512 is present, so the stores do not limit it), and a plain copy
// of the array into another one.
template <typename Body> bool InPlace(std::vector<GEOREFPOINT>& work, Body body) {
    double* v = &work[0].x;
    body(v, 2 * work.size());
    return true;
}

__attribute__((target("avx512f"))) void ScaleWide(double* v, size_t n) {
    for (size_t i = 0; i < n; ++i)
        v[i] = v[i] * 1.000001 + 0.5;
}
__attribute__((target("avx2,fma"))) void ScaleAvx2(double* v, size_t n) {
    for (size_t i = 0; i < n; ++i)
        v[i] = v[i] * 1.000001 + 0.5;
}
void ScaleBase(double* v, size_t n) {
    for (size_t i = 0; i < n; ++i)
        v[i] = v[i] * 1.000001 + 0.5;
}

void FloorAffine(benchmark::State& state) {
    auto* body = __builtin_cpu_supports("avx512f") ? ScaleWide
                 : __builtin_cpu_supports("avx2")  ? ScaleAvx2
                                                   : ScaleBase;
    TimeConversions(state, Points(),
                    [body](std::vector<GEOREFPOINT>& work) { return InPlace(work, body); });
}

void FloorCopy(benchmark::State& state) {
    std::vector<GEOREFPOINT> out(Points().size());
    TimeConversions(state, Points(), [&out](std::vector<GEOREFPOINT>& work) {
        std::memcpy(out.data(), work.data(), work.size() * sizeof(GEOREFPOINT));
        benchmark::DoNotOptimize(out.data());
        return true;
    });
}

struct Pairing {
    const char* ours;
    TransformMethod method;
    int gdalOrder; // the GDAL fit of the same form; Helmert is timed against order 1
};
const Pairing kPairings[] = {{"ours/Helmert", TM_HELMERT, 1},
                             {"ours/affine", TM_AFFINE, 1},
                             {"ours/2nd order", TM_SECOND_ORDER, 2},
                             {"ours/3rd order", TM_THIRD_ORDER, 3}};

std::string GdalName(int order) {
    return "gdal/order " + std::to_string(order);
}

// Largest distance in metres between our fit and GDAL's of the same order.
void Agreement() {
    for (const Pairing& p : kPairings) {
        if (p.method == TM_HELMERT) continue;
        std::vector<GEOREFPOINT> ours = Points();
        void* h = OurHandle(p.method);
        RefForward(h, ours.data(), kPoints);
        RefDeleteSystem(h);
        XyzArrays g(Points().size());
        g.Load(Points());
        void* t = GdalTransformer(p.gdalOrder);
        g.Run(GDALGCPTransform, t);
        GDALDestroyGCPTransformer(t);
        double worst = 0.0;
        for (int i = 0; i < kPoints; ++i)
            worst = std::max(worst, std::hypot(ours[i].x - g.x[i], ours[i].y - g.y[i]));
        std::printf("%-16s vs %s: largest difference %.3g m\n", p.ours,
                    GdalName(p.gdalOrder).c_str(), worst);
    }
}

} // namespace

int main(int argc, char** argv) {
    for (const Pairing& p : kPairings)
        Register(p.ours, Ours, p.method);
    for (int order : {1, 2, 3})
        Register(GdalName(order), Gdal, order);
    Register("floor/in place", FloorAffine);
    Register("floor/copy", FloorCopy);
    return RunBenchmarks(argc, argv, Agreement, [](const RateCollector& rates) {
        std::printf("\n%-16s %10s %10s %8s\n", "fit", "ns/pt", "GDAL", "faster");
        for (const Pairing& p : kPairings) {
            const double ours = rates.NsPerPoint(p.ours);
            const double gdal = rates.NsPerPoint(GdalName(p.gdalOrder));
            std::printf("%-16s %10.2f %10.2f %7.1fx\n", p.ours, ours, gdal,
                        ours > 0 ? gdal / ours : 0.0);
        }
        // The most any fit can gain over GDAL's order 1 on this memory traffic.
        const double floor = rates.NsPerPoint("floor/in place");
        const double gdal1 = rates.NsPerPoint(GdalName(1));
        std::printf("%-16s %10.2f %10.2f %7.1fx  (memory floor; copy %.2f ns/pt)\n",
                    "floor/in place", floor, gdal1, floor > 0 ? gdal1 / floor : 0.0,
                    rates.NsPerPoint("floor/copy"));
    });
}
