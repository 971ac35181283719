// Datum conversion to WGS 84: the library's Molodensky and Bursa-Wolf steps
// through DatConvertDatum against PROJ's "+towgs84" pipeline (geodetic ->
// geocentric -> Helmert -> geodetic) through proj_trans_generic, both on
// degrees, longitude first, at 1, 4, 64 and 1,000,000 points per call. Ours
// runs the per-point path and the vector loops forced to SSE4, AVX2 and
// AVX-512 (those this CPU has). Each timing is the best of three repetitions;
// the summary gives ns/point and the ratio to PROJ at the same call size.
//
// Before the timings it prints how far our results lie from PROJ's, and
// converts 10,000,000 random points of the whole globe with both paths and
// prints the largest difference between them.
#include "BenchSupport.h"

#include "kvproj/datum.h"
#include "projections/VectorPath.h"

#include <hwy/targets.h>

#include <cmath>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

using namespace KVProj;
using namespace bench;

namespace {

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
    static const std::vector<DATUMPOINT> points =
        RandomPoints<DATUMPOINT>(20261122, Area{-10.0, 30.0, 35.0, 70.0});
    return points;
}

std::vector<DATUMPOINT> Head(int n) {
    return std::vector<DATUMPOINT>(Points().begin(), Points().begin() + n);
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

void Ours(benchmark::State& state, const Case* c, Path path, int callSize) {
    if (!PathScope::Available(path)) {
        state.SkipWithError("this CPU lacks the instruction set");
        return;
    }
    const PathScope scope(path);
    DATUMXFORM x = ToWgs84(c->datum);
    void* h = DatCreateDatum(&x);
    TimeConversions(state, Head(PointsPerIteration(callSize)), [&](std::vector<DATUMPOINT>& work) {
        bool ok = true;
        const int n = static_cast<int>(work.size());
        for (int i = 0; i < n; i += callSize)
            ok &= DatConvertDatum(h, &work[i], std::min(callSize, n - i));
        return ok;
    });
    DatDeleteDatum(h);
}

// PROJ's "+towgs84" pipeline from the case's datum to WGS 84.
ProjOperation ProjPipeline(const Case& c) {
    return ProjOperation(c.projSource, kWgs84Crs);
}

void Proj(benchmark::State& state, const Case* c, int callSize) {
    const ProjOperation op = ProjPipeline(*c);
    if (!op) {
        state.SkipWithError("PROJ cannot make the operation");
        return;
    }
    TimeConversions(state, Head(PointsPerIteration(callSize)), [&](std::vector<DATUMPOINT>& work) {
        op.Trans(PJ_FWD, work, static_cast<size_t>(callSize));
        return true;
    });
}

// Largest distance in metres between our result and PROJ's over all points.
void Agreement() {
    for (const Case& c : kCases) {
        std::vector<DATUMPOINT> ours = Points(), theirs = Points();
        DATUMXFORM x = ToWgs84(c.datum);
        void* h = DatCreateDatum(&x);
        DatConvertDatum(h, ours.data(), kPoints);
        DatDeleteDatum(h);
        ProjPipeline(c).Trans(PJ_FWD, theirs);
        double worst = 0.0;
        for (int i = 0; i < kPoints; ++i) {
            double dy = (ours[i].y - theirs[i].y) * 111320.0;
            double dx = (ours[i].x - theirs[i].x) * 111320.0 * std::cos(ours[i].y * kDegToRad);
            worst = std::max(worst, std::hypot(dx, dy));
        }
        std::printf("%-10s largest difference from PROJ +towgs84: %.6f m%s\n", c.name, worst,
                    c.datum == 5 ? " (standard Molodensky vs geocentric translation)" : "");
    }
}

// Largest difference between the vector path (best instruction set) and the
// per-point path on 10,000,000 random points of the whole globe, each way:
// from the datum to WGS 84 and back.
void PrintExactness() {
    constexpr int kMany = 10000000;
    const std::vector<DATUMPOINT> pts =
        RandomPoints<DATUMPOINT>(99, Area{-180.0, 180.0, -90.0, 90.0}, kMany);
    for (const Case& c : kCases)
        for (bool toWgs84 : {true, false}) {
            DATUMXFORM x = ToWgs84(c.datum);
            if (!toWgs84) {
                x.SrcDatum = DATUM_WGS84;
                x.DestDatum = static_cast<DatumType>(c.datum);
            }
            std::vector<DATUMPOINT> a = pts, b = pts;
            void* h = DatCreateDatum(&x);
            SetVectorPath(true);
            DatConvertDatum(h, a.data(), kMany);
            SetVectorPath(false);
            DatConvertDatum(h, b.data(), kMany);
            SetVectorPath(true);
            DatDeleteDatum(h);
            double worst = 0;
            long differ = 0;
            for (int i = 0; i < kMany; ++i) {
                if (std::memcmp(&a[i], &b[i], sizeof a[i]) != 0) ++differ;
                worst = std::max({worst, std::fabs(a[i].x - b[i].x), std::fabs(a[i].y - b[i].y)});
            }
            std::printf(
                "%-10s %s vector vs per-point path, %d points: worst %.3g deg (%ld differ)\n",
                c.name, toWgs84 ? "to WGS 84  " : "from WGS 84", kMany, worst, differ);
        }
    std::fflush(stdout);
}

std::string Name(const Case& c, const char* path, int callSize) {
    return std::string(c.name) + "/" + path + "/" + std::to_string(callSize);
}

void PrintSummary(const RateCollector& rates) {
    std::printf("\nns/point (ratio PROJ / ours) by points per call\n");
    for (const Case& c : kCases)
        for (int n : kCallSizes) {
            const double proj = rates.NsPerPoint(Name(c, "PROJ", n));
            std::printf("%-10s %7d  PROJ %6.1f", c.name, n, proj);
            for (const Path& p : kPaths) {
                const double ours = rates.NsPerPoint(Name(c, p.name, n));
                std::printf("  %s %6.1f (%5.1fx)", p.name, ours, ours > 0 ? proj / ours : 0.0);
            }
            std::printf("\n");
        }
}

} // namespace

int main(int argc, char** argv) {
    for (const Case& c : kCases)
        for (int n : kCallSizes) {
            for (const Path& p : kPaths)
                Register(Name(c, p.name, n), Ours, &c, p, n)->Repetitions(3);
            Register(Name(c, "PROJ", n), Proj, &c, n)->Repetitions(3);
        }
    benchmark::AddCustomContext("best of", "3 repetitions");
    return RunBenchmarks(
        argc, argv,
        [] {
            Agreement();
            PrintExactness();
        },
        PrintSummary);
}
