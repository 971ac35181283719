// Grid shifts of many points. NTv2: points forward through a generated grid
// of one coarse national sub-grid with twelve finer regional children and two
// local grandchildren each, with NTV2Transform at 1, 4, 64 and 1,000,000
// points per call on the per-point path and the vector loop forced to SSE4,
// AVX2 and AVX-512 (those this CPU has), and the inverse at 1,000,000; through
// DatConvertDatum; against PROJ's "+nadgrids" (proj_create_crs_to_crs, at the
// same call sizes) and its bare "hgridshift" pipeline on the same file and
// points, with the largest difference between the two results. Each timing is
// the best of three repetitions; the summary gives ns/point and the ratio to
// PROJ. Before the timings, 10,000,000 points go through both paths each way
// and the largest difference between them is printed. NADCON: 100,000 points
// through a generated grid pair of the national grid's size, read from the
// files per point (no target; the cost is reported).
#include "../tests/GridFiles.h"
#include "BenchSupport.h"

#include "datum/GridShift.h"
#include "kvproj/datum.h"
#include "projections/VectorPath.h"

#include <hwy/targets.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <random>
#include <string>
#include <vector>

using namespace KVProj;
using namespace bench;
using namespace gridfiles;

namespace {

constexpr int kNadconPoints = 100000;

// A smooth shift of a few arcseconds, different in every sub-grid.
ShiftFn Smooth(double phase) {
    return [phase](double lon, double lat, float* dLat, float* dLonW) {
        *dLat = float(1.2 + 0.8 * std::sin(0.05 * lon + phase) * std::cos(0.07 * lat));
        *dLonW = float(-3.0 + 1.1 * std::cos(0.04 * lon - phase) * std::sin(0.09 * lat));
    };
}

std::vector<SubGrid> Layout() {
    std::vector<SubGrid> grids = {Box("NATIONAL", "NONE", -140, 40, 60, 30, 900, 900, Smooth(0))};
    for (int k = 0; k < 12; ++k) {
        const double west = -136 + 4.5 * k, south = 42 + 2 * (k % 6);
        const std::string name = "REG" + std::to_string(k);
        grids.push_back(Box(name, "NATIONAL", west, south, 3, 2, 60, 60, Smooth(0.1 * k)));
        for (int c = 0; c < 2; ++c)
            grids.push_back(Box(name + "L" + std::to_string(c), name, west + 0.5 + 1.5 * c,
                                south + 0.5, 0.5, 0.5, 7.5, 7.5, Smooth(0.2 * k + c)));
    }
    return grids;
}

// Half the points fall in the regional grids, the rest anywhere.
std::vector<DATUMPOINT> GridPoints(uint64_t seed, int count) {
    std::mt19937_64 rng(seed);
    std::uniform_real_distribution<double> lon(-139.9, -80.1), lat(40.1, 69.9), u(0, 1);
    std::uniform_int_distribution<int> region(0, 11);
    std::vector<DATUMPOINT> points(static_cast<size_t>(count));
    for (int n = 0; n < count; ++n) {
        if (n % 2) {
            const int k = region(rng);
            points[n] = {-136 + 4.5 * k + 3 * u(rng), 42 + 2 * (k % 6) + 2 * u(rng)};
        } else {
            points[n] = {lon(rng), lat(rng)};
        }
    }
    return points;
}

struct Setup {
    TempDir dir;
    std::string ntv2Path;
    std::vector<DATUMPOINT> points;
    Setup() {
        ntv2Path = dir.Write("NTV2_0.GSB", Ntv2File(Layout()));
        const Nadcon conus = {273, 121, -131.0f, 0.25f, 20.0f, 0.25f, 0.0f};
        dir.Write("conus.LAS",
                  NadconFile(conus, [](int c, int r) { return float(0.01 * (c + r)); }));
        dir.Write("conus.LOS",
                  NadconFile(conus, [](int c, int r) { return float(0.02 * (c - r)); }));
        GridSetSearchDirectory(dir.Path().c_str());
        points = GridPoints(20261122, kPoints);
    }
};

Setup& Data() {
    static Setup setup;
    return setup;
}

std::vector<DATUMPOINT> Head(int n) {
    return std::vector<DATUMPOINT>(Data().points.begin(), Data().points.begin() + n);
}

void Ntv2Transform(benchmark::State& state, Path path, int callSize, bool inverse) {
    if (!PathScope::Available(path)) {
        state.SkipWithError("this CPU lacks the instruction set");
        return;
    }
    const PathScope scope(path);
    NTV2Startup(Data().ntv2Path.c_str());
    TimeConversions(state, Head(PointsPerIteration(callSize)), [&](std::vector<DATUMPOINT>& work) {
        const int n = static_cast<int>(work.size());
        for (int i = 0; i < n; i += callSize)
            NTV2Transform(std::min(callSize, n - i), &work[i], inverse);
        return true;
    });
}

void Ntv2DatConvert(benchmark::State& state) {
    const Setup& d = Data(); // the grid directory is set before the datum is made
    DATUMXFORM x;
    std::memset(&x, 0, sizeof x);
    x.SrcDatum = static_cast<DatumType>(253);
    x.DestDatum = DATUM_WGS84;
    void* h = DatCreateDatum(&x);
    TimeConversions(state, d.points, [h](std::vector<DATUMPOINT>& work) {
        DatConvertDatum(h, work.data(), kPoints);
        return true;
    });
    DatDeleteDatum(h);
}

ProjOperation Nadgrids() {
    return ProjOperation("+proj=longlat +ellps=clrk66 +nadgrids=" + Data().ntv2Path + " +type=crs",
                         kWgs84Crs);
}

ProjOperation Hgridshift() {
    return ProjOperation("+proj=pipeline +step +proj=unitconvert +xy_in=deg +xy_out=rad "
                         "+step +proj=hgridshift +grids=" +
                         Data().ntv2Path + " +step +proj=unitconvert +xy_in=rad +xy_out=deg");
}

void Proj(benchmark::State& state, ProjOperation (*make)(), int callSize) {
    const ProjOperation op = make();
    if (!op) {
        state.SkipWithError("PROJ cannot make the operation");
        return;
    }
    TimeConversions(state, Head(PointsPerIteration(callSize)), [&](std::vector<DATUMPOINT>& work) {
        op.Trans(PJ_FWD, work, static_cast<size_t>(callSize));
        return true;
    });
}

void NadconShiftFromFiles(benchmark::State& state) {
    const Setup& d = Data();
    std::vector<DATUMPOINT> input(kNadconPoints);
    for (int n = 0; n < kNadconPoints; ++n) // inside the NADCON grid
        input[n] = {d.points[n].x * 0.9 + 5, d.points[n].y - 15};
    TimeConversions(state, input, [](std::vector<DATUMPOINT>& work) {
        NadconShift("conus", work.data(), kNadconPoints);
        return true;
    });
}

// Largest difference in degrees between our forward shift and PROJ's.
void Agreement() {
    Setup& d = Data();
    std::vector<DATUMPOINT> ours = d.points, theirs = d.points;
    NTV2Startup(d.ntv2Path.c_str());
    NTV2Transform(kPoints, ours.data(), false);
    const ProjOperation op = Nadgrids();
    if (!op) {
        std::printf("PROJ could not build the +nadgrids operation\n");
        return;
    }
    op.Trans(PJ_FWD, theirs);
    double worst = 0;
    for (int n = 0; n < kPoints; ++n)
        worst = std::max(
            {worst, std::fabs(ours[n].x - theirs[n].x), std::fabs(ours[n].y - theirs[n].y)});
    std::printf("NTv2 forward, %d points, %zu sub-grids: largest difference from PROJ "
                "+nadgrids %.3g degrees\n",
                kPoints, Layout().size(), worst);
}

// Largest difference between the vector path (best instruction set) and the
// per-point path on 10,000,000 points, forward and inverse.
void PrintExactness() {
    constexpr int kMany = 10000000;
    const std::vector<DATUMPOINT> pts = GridPoints(99, kMany);
    NTV2Startup(Data().ntv2Path.c_str());
    for (bool inverse : {false, true}) {
        std::vector<DATUMPOINT> a = pts, b = pts;
        SetVectorPath(true);
        NTV2Transform(kMany, a.data(), inverse);
        SetVectorPath(false);
        NTV2Transform(kMany, b.data(), inverse);
        SetVectorPath(true);
        double worst = 0;
        long differ = 0;
        for (int i = 0; i < kMany; ++i) {
            if (std::memcmp(&a[i], &b[i], sizeof a[i]) != 0) ++differ;
            worst = std::max({worst, std::fabs(a[i].x - b[i].x), std::fabs(a[i].y - b[i].y)});
        }
        std::printf("NTv2 %s vector vs per-point path, %d points: worst %.3g deg (%ld differ)\n",
                    inverse ? "inverse" : "forward", kMany, worst, differ);
    }
    std::fflush(stdout);
}

std::string Name(const char* what, const char* path, int callSize) {
    return std::string(what) + "/" + path + "/" + std::to_string(callSize);
}

void PrintSummary(const RateCollector& rates) {
    std::printf("\nNTv2 forward ns/point (ratio PROJ +nadgrids / ours) by points per call\n");
    for (int n : kCallSizes) {
        const double proj = rates.NsPerPoint(Name("Ntv2", "PROJ", n));
        std::printf("%7d  PROJ %6.1f", n, proj);
        for (const Path& p : kPaths) {
            const double ours = rates.NsPerPoint(Name("Ntv2", p.name, n));
            std::printf("  %s %6.1f (%5.1fx)", p.name, ours, ours > 0 ? proj / ours : 0.0);
        }
        std::printf("\n");
    }
    std::printf("NTv2 inverse ns/point at %d: scalar %.1f, best %.1f\n", kPoints,
                rates.NsPerPoint(Name("Ntv2Inverse", "scalar", kPoints)),
                rates.NsPerPoint(Name("Ntv2Inverse", "best", kPoints)));
}

} // namespace

int main(int argc, char** argv) {
    for (int n : kCallSizes) {
        for (const Path& p : kPaths)
            Register(Name("Ntv2", p.name, n), Ntv2Transform, p, n, false)->Repetitions(3);
        Register(Name("Ntv2", "PROJ", n), Proj, Nadgrids, n)->Repetitions(3);
    }
    Register(Name("Ntv2Inverse", "scalar", kPoints), Ntv2Transform, Path{"scalar", 0}, kPoints,
             true)
        ->Repetitions(3);
    Register(Name("Ntv2Inverse", "best", kPoints), Ntv2Transform, Path{"best", -1}, kPoints, true)
        ->Repetitions(3);
    Register("Ntv2DatConvert", Ntv2DatConvert)->Repetitions(3);
    Register(Name("Ntv2", "Hgridshift", kPoints), Proj, Hgridshift, kPoints)->Repetitions(3);
    Register("NadconShiftFromFiles", NadconShiftFromFiles);
    benchmark::AddCustomContext("best of", "3 repetitions");
    return RunBenchmarks(
        argc, argv,
        [] {
            Agreement();
            PrintExactness();
        },
        PrintSummary);
}
