// Grid shifts of many points. NTv2: 1,000,000 points forward through a
// generated grid of one coarse national sub-grid with twelve finer regional
// children and two local grandchildren each, with NTV2Transform and through
// DatConvertDatum, against PROJ's "+nadgrids" (proj_create_crs_to_crs) and its
// bare "hgridshift" pipeline on the same file and points, with the largest
// difference between the two results. NADCON: 100,000 points through a
// generated grid pair of the national grid's size, read from the files per
// point (no target; the cost is reported).
#include "../tests/GridFiles.h"
#include "BenchSupport.h"

#include "datum/GridShift.h"
#include "kvproj/datum.h"

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
        // Half the points fall in the regional grids, the rest anywhere.
        std::mt19937_64 rng(20261122);
        std::uniform_real_distribution<double> lon(-139.9, -80.1), lat(40.1, 69.9), u(0, 1);
        std::uniform_int_distribution<int> region(0, 11);
        points.resize(kPoints);
        for (int n = 0; n < kPoints; ++n) {
            if (n % 2) {
                const int k = region(rng);
                points[n] = {-136 + 4.5 * k + 3 * u(rng), 42 + 2 * (k % 6) + 2 * u(rng)};
            } else {
                points[n] = {lon(rng), lat(rng)};
            }
        }
    }
};

Setup& Data() {
    static Setup setup;
    return setup;
}

void Ntv2Transform(benchmark::State& state) {
    Setup& d = Data();
    NTV2Startup(d.ntv2Path.c_str());
    TimeConversions(state, d.points, [](std::vector<DATUMPOINT>& work) {
        NTV2Transform(kPoints, work.data(), false);
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

void Proj(benchmark::State& state, ProjOperation (*make)()) {
    TimeProj(state, make(), Data().points, PJ_FWD);
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

} // namespace

BENCHMARK(Ntv2Transform)->Unit(benchmark::kMillisecond);
BENCHMARK(Ntv2DatConvert)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(Proj, Nadgrids, Nadgrids)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(Proj, Hgridshift, Hgridshift)->Unit(benchmark::kMillisecond);
BENCHMARK(NadconShiftFromFiles)->Unit(benchmark::kMillisecond);

int main(int argc, char** argv) {
    return RunBenchmarks(argc, argv, Agreement, [](const RateCollector&) {});
}
