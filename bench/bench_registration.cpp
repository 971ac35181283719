// Image registration: calibration at 10, 100 and 1,000 controls and transform
// of 1,000,000 points for every warp, against GDAL's thin plate spline
// transformer (GDALCreateTPSTransformer, GDALTPSTransform) on the same controls
// and points. Before the timings it prints the accuracy of each warp on a
// smooth synthetic warp and how far our thin plate spline lies from GDAL's.
//
// GDAL's transformer creation solves two systems (pixel to map and back), ours
// one; the summary gives GDAL's time per system as well. Calibration times are
// process CPU times (GDAL may solve the second system on another thread).
#include "BenchSupport.h"

#include "kvproj/registration.h"

#include <gdal/gdal_alg.h>

#include <cmath>
#include <cstdio>
#include <string>
#include <vector>

using namespace KVProj;
using namespace bench;

namespace {

constexpr int kControlCounts[] = {10, 100, 1000};
constexpr const char* kMethodNames[WARP_COUNT] = {"tps",   "cubic",   "markov",
                                                  "gauss", "ratquad", "idw"};

// The smooth warp of a 10,000-pixel image onto UTM metres (u, v the pixel
// position scaled to 0..1): affine, a 40 m wave and a 15 m bilinear bend.
RPoint SmoothWarp(const RPoint& p) {
    const double pi = 3.14159265358979323846, u = p.x / 10000, v = p.y / 10000;
    return RPoint{500000 + 30 * p.x + 0.5 * p.y +
                      40 * std::sin(1.3 * pi * u) * std::cos(0.7 * pi * v) + 15 * u * v,
                  4500000 + 0.4 * p.x - 30 * p.y +
                      25 * std::cos(0.9 * pi * u) * std::sin(1.1 * pi * v) - 10 * u * v};
}

struct Controls {
    RPoints source, dest;
};

const Controls& ControlsOf(int n) {
    static std::map<int, Controls> cache;
    Controls& c = cache[n];
    if (c.source.empty()) {
        c.source = RandomPoints<RPoint>(1000 + n, Area{0, 10000, 0, 10000}, n);
        for (const RPoint& p : c.source)
            c.dest.push_back(SmoothWarp(p));
    }
    return c;
}

const std::vector<RPoint>& Queries() {
    static const std::vector<RPoint> pts = RandomPoints<RPoint>(77, Area{0, 10000, 0, 10000});
    return pts;
}

std::vector<GDAL_GCP> GcpsOf(const Controls& c) {
    return MakeGcps<GDAL_GCP>(c.source, c.dest);
}

void OurCalibration(benchmark::State& state, WarpingMethod method, int n) {
    const Controls& c = ControlsOf(n);
    for (auto _ : state) {
        CImageRegistration reg;
        if (reg.Calibrate(c.source, c.dest, method) != method) state.SkipWithError(reg.Reason());
    }
}

void GdalCreation(benchmark::State& state, int n) {
    const std::vector<GDAL_GCP> gcps = GcpsOf(ControlsOf(n));
    for (auto _ : state) {
        void* tps = GDALCreateTPSTransformer(n, gcps.data(), FALSE);
        if (!tps) state.SkipWithError("GDAL refused the controls");
        GDALDestroyTPSTransformer(tps);
    }
}

void OurTransform(benchmark::State& state, WarpingMethod method, int n) {
    CImageRegistration reg;
    const Controls& c = ControlsOf(n);
    if (reg.Calibrate(c.source, c.dest, method) != method) {
        state.SkipWithError(reg.Reason());
        return;
    }
    TimeConversions(state, Queries(), [&reg](std::vector<RPoint>& work) {
        return reg.Transform(work.data(), work.size());
    });
}

void GdalTransform(benchmark::State& state, int n) {
    const std::vector<GDAL_GCP> gcps = GcpsOf(ControlsOf(n));
    void* tps = GDALCreateTPSTransformer(n, gcps.data(), FALSE);
    TimeGdal(state, GDALTPSTransform, tps, Queries());
    GDALDestroyTPSTransformer(tps);
}

// RMS and largest error of every warp on a 200 x 200 grid over the image, and
// the largest distance between our thin plate spline and GDAL's there.
void PrintAccuracy() {
    std::printf("Accuracy on the smooth warp (metres, 200 x 200 grid over the image)\n");
    std::printf("%-8s", "method");
    for (int n : kControlCounts)
        std::printf("  %7s RMS %5d max", "", n);
    std::printf("\n");
    RPoints grid;
    for (int i = 0; i < 200; ++i)
        for (int j = 0; j < 200; ++j)
            grid.push_back(RPoint{25.0 + 50 * i, 25.0 + 50 * j});
    for (int m = 0; m < WARP_COUNT; ++m) {
        std::printf("%-8s", kMethodNames[m]);
        for (int n : kControlCounts) {
            CImageRegistration reg;
            const Controls& c = ControlsOf(n);
            RPoints out = grid;
            if (reg.Calibrate(c.source, c.dest, static_cast<WarpingMethod>(m)) == WARP_NONE ||
                !reg.Transform(out)) {
                std::printf("  %21s", "failed");
                continue;
            }
            double sum = 0, worst = 0;
            for (size_t i = 0; i < grid.size(); ++i) {
                const RPoint e = SmoothWarp(grid[i]);
                const double d = std::hypot(out[i].x - e.x, out[i].y - e.y);
                sum += d * d, worst = std::max(worst, d);
            }
            std::printf("  %10.4f %10.4f", std::sqrt(sum / grid.size()), worst);
        }
        std::printf("\n");
    }
    for (int n : kControlCounts) {
        CImageRegistration reg;
        const Controls& c = ControlsOf(n);
        RPoints out = grid;
        reg.Calibrate(c.source, c.dest, WARP_THIN_PLATE_SPLINE);
        reg.Transform(out);
        const std::vector<GDAL_GCP> gcps = GcpsOf(c);
        void* tps = GDALCreateTPSTransformer(n, gcps.data(), FALSE);
        double worst = 0;
        for (size_t i = 0; i < grid.size(); ++i) {
            double x = grid[i].x, y = grid[i].y, z = 0;
            int ok = 0;
            GDALTPSTransform(tps, FALSE, 1, &x, &y, &z, &ok);
            worst = std::max(worst, std::hypot(out[i].x - x, out[i].y - y));
        }
        GDALDestroyTPSTransformer(tps);
        std::printf("thin plate spline vs GDAL at %4d controls: largest difference %.3g m\n", n,
                    worst);
    }
    std::fflush(stdout);
}

std::string Name(const char* what, const char* method, int n) {
    return std::string(what) + "/" + method + "/" + std::to_string(n);
}

void PrintSummary(const RateCollector& rates) {
    std::printf("\nTransform of %d points (ns/point) and ratio to GDAL's thin plate spline\n",
                kPoints);
    for (int n : kControlCounts) {
        const double gdal = rates.NsPerPoint(Name("transform", "gdal-tps", n));
        std::printf("%5d controls: GDAL %.1f", n, gdal);
        for (int m = 0; m < WARP_COUNT; ++m) {
            const double ours = rates.NsPerPoint(Name("transform", kMethodNames[m], n));
            std::printf("  %s %.1f (%.1fx)", kMethodNames[m], ours, ours > 0 ? gdal / ours : 0.0);
        }
        std::printf("\n");
    }
}

} // namespace

int main(int argc, char** argv) {
    GDALAllRegister();
    for (int n : kControlCounts) {
        for (int m = 0; m < WARP_COUNT; ++m)
            benchmark::RegisterBenchmark(Name("calibrate", kMethodNames[m], n).c_str(),
                                         OurCalibration, static_cast<WarpingMethod>(m), n)
                ->Unit(benchmark::kMillisecond)
                ->MeasureProcessCPUTime();
        benchmark::RegisterBenchmark(Name("calibrate", "gdal-tps", n).c_str(), GdalCreation, n)
            ->Unit(benchmark::kMillisecond)
            ->MeasureProcessCPUTime();
    }
    for (int n : kControlCounts) {
        for (int m = 0; m < WARP_COUNT; ++m)
            Register(Name("transform", kMethodNames[m], n), OurTransform,
                     static_cast<WarpingMethod>(m), n);
        Register(Name("transform", "gdal-tps", n), GdalTransform, n);
    }
    return RunBenchmarks(argc, argv, PrintAccuracy, PrintSummary);
}
