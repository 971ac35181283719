// Datum conversion to WGS 84 of 1,000,000 points: the library's Molodensky and
// Bursa-Wolf steps through DatConvertDatum against PROJ's "+towgs84" pipeline
// (geodetic -> geocentric -> Helmert -> geodetic) through proj_trans_generic,
// both on degrees, longitude first. Reports nanoseconds per point and how far
// the two results lie apart.
#include "BenchSupport.h"

#include "kvproj/datum.h"

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
    TimeConversions(state, Points(), [h](std::vector<DATUMPOINT>& work) {
        DatConvertDatum(h, work.data(), kPoints);
        return true;
    });
    DatDeleteDatum(h);
}

// PROJ's "+towgs84" pipeline from the case's datum to WGS 84.
ProjOperation ProjPipeline(const Case& c) {
    return ProjOperation(c.projSource, kWgs84Crs);
}

void Proj(benchmark::State& state, const Case* c) {
    TimeProj(state, ProjPipeline(*c), Points(), PJ_FWD);
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

} // namespace

int main(int argc, char** argv) {
    for (const Case& c : kCases) {
        Register(std::string("kvproj/") + c.name, Ours, &c);
        Register(std::string("PROJ/") + c.name, Proj, &c);
    }
    return RunBenchmarks(
        argc, argv, [] {}, [](const RateCollector&) { Agreement(); });
}
