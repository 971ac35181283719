// The azimuthal, oblique and remaining modules through the full
// ProjForward/ProjInverse pipeline against PROJ's proj_trans_generic on the
// same 1,000,000 random points inside each projection's valid area:
// stereographic (polar and oblique), orthographic, gnomonic, azimuthal
// equidistant, Lambert azimuthal equal-area, Hotine and two-point oblique
// Mercator, polyconic, Bonne, Cassini and Robinson-Sterling (PROJ's robin).
// Prints nanoseconds per point for both, the speed ratio, and the largest
// distance between the two forwards.
//
// PROJ is given its input in radians, prepared outside the timed region; our
// pipeline takes degrees and pays for the conversion itself. The inverses of
// both start from our forward results.
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

// A record in degrees, as a host fills it.
struct Rec {
    PROJDATA d;
    Rec(ProjType type, EllipsoidType figure) {
        std::memset(&d, 0, sizeof d);
        d.Type = type;
        d.Scale = 1.0;
        d.K0 = 1.0;
        d.Ellipsoid = figure;
        d.Zone = STATEZONE_NONE;
    }
    Rec& Lat0(double v) { return d.Lat0 = v, *this; }
    Rec& Lon0(double v) { return d.Lon0 = v, *this; }
    Rec& Lat1(double v) { return d.Lat1 = v, *this; }
    Rec& Lon1(double v) { return d.Lon1 = v, *this; }
    Rec& Lat2(double v) { return d.Lat2 = v, *this; }
    Rec& Lon2(double v) { return d.Lon2 = v, *this; }
    Rec& K0(double v) { return d.K0 = v, *this; }
    Rec& Alpha(double v) { return d.bUseAlpha = true, d.Alpha = v, *this; }
    Rec& RotateAndOffset() { return d.bRotate = true, d.bUOffset = true, *this; }
};

struct Setup {
    const char* name;
    PROJDATA data;
    Area area;
    const char* proj; // PROJ definition of the same projection
    double ySign;     // -1 where PROJ's v axis points the other way
};

constexpr EllipsoidType kWgs84 = ELLIPSOID_WGS84, kSphere = ELLIPSOID_SPHERE_6370997;
constexpr double kAlaskaAlpha = -36.86989763888889, kAlaskaLonC = -133.66666666666666;

std::vector<Setup> Setups() {
    return {
        {"stere-polar",
         Rec(PT_STEREOGRAPHIC, kWgs84).Lat0(90).K0(0.994).d,
         {-180, 180, 60, 89.5},
         "+proj=stere +lat_0=90 +k=0.994 +ellps=WGS84",
         1},
        {"stere-oblique",
         Rec(PT_STEREOGRAPHIC, kWgs84).Lat0(40).Lon0(-100).K0(0.9999).d,
         {-150, -50, 0, 80},
         "+proj=stere +lat_0=40 +lon_0=-100 +k=0.9999 +ellps=WGS84",
         1},
        {"ortho",
         Rec(PT_ORTHOGRAPHIC, kSphere).Lat0(40).Lon0(-100).d,
         {-150, -50, 0, 80},
         "+proj=ortho +R=6370997 +lat_0=40 +lon_0=-100",
         1},
        {"gnom",
         Rec(PT_GNOMONIC, kSphere).Lat1(40).Lon0(-100).d,
         {-140, -60, 10, 70},
         "+proj=gnom +R=6370997 +lat_0=40 +lon_0=-100",
         1},
        {"aeqd",
         Rec(PT_AZIMUTHAL_EQUIDISTANT, kSphere).Lat1(40).Lon0(-100).d,
         {-170, -30, -50, 85},
         "+proj=aeqd +R=6370997 +lat_0=40 +lon_0=-100",
         1},
        {"laea",
         Rec(PT_LAMBERT_AZIMUTHAL, kSphere).Lat1(40).Lon0(-100).d,
         {-170, -30, -50, 85},
         "+proj=laea +R=6370997 +lat_0=40 +lon_0=-100",
         1},
        {"hotine",
         Rec(PT_HOTINE, kWgs84)
             .Lat0(57)
             .Lon1(kAlaskaLonC)
             .Alpha(kAlaskaAlpha)
             .K0(0.9999)
             .RotateAndOffset()
             .d,
         {-141, -126, 50, 62},
         "+proj=omerc +lat_0=57 +lonc=-133.66666666666666 +alpha=-36.86989763888889 "
         "+gamma=-36.86989763888889 +k=0.9999 +ellps=WGS84",
         1},
        {"omerc-2pt",
         Rec(PT_OBLIQUE_MERCATOR, kSphere).Lat1(45).Lat2(0).Lon2(-90).K0(0.9996).d,
         {-90, 0, 0, 45},
         "+proj=omerc +R=6370997 +lat_1=45 +lon_1=0 +lat_2=0 +lon_2=-90 +k=0.9996 +no_uoff "
         "+no_rot",
         -1},
        {"poly",
         Rec(PT_POLYCONIC, kWgs84).Lat0(30).Lon0(-96).d,
         {-126, -66, 10, 60},
         "+proj=poly +lat_0=30 +lon_0=-96 +ellps=WGS84",
         1},
        {"bonne",
         Rec(PT_BONNE, kWgs84).Lat1(40).Lon0(-100).d,
         {-170, -30, -60, 85},
         "+proj=bonne +lat_1=40 +lon_0=-100 +ellps=WGS84",
         1},
        {"cass",
         Rec(PT_CASSINI, kSphere).Lat0(40).Lon0(-100).d,
         {-130, -70, 10, 70},
         "+proj=cass +R=6370997 +lat_0=40 +lon_0=-100",
         1},
        {"robin-sterling",
         Rec(PT_ROBINSON_STERLING, kSphere).Lon0(-100).d,
         {-279, 79, -89, 89},
         "+proj=robin +R=6370997 +lon_0=-100",
         1},
    };
}

// The pipeline points of one projection, and our forward results with
// PROJ's sign of y as input to PROJ's inverse.
struct Data {
    PipelinePoints pipeline;
    std::vector<PROJPOINT> projectedForProj;
};

const Data& PointsFor(const Setup& s) {
    static std::map<std::string, Data> cache;
    Data& d = cache[s.name];
    if (!d.pipeline.degrees.empty()) return d;
    d.pipeline = MakePipelinePoints(s.name, s.data, s.area, 20240501);
    d.projectedForProj = d.pipeline.projected;
    for (PROJPOINT& p : d.projectedForProj)
        p.y *= s.ySign;
    return d;
}

void BenchOurs(benchmark::State& state, Setup s, bool forward) {
    const PipelinePoints& d = PointsFor(s).pipeline;
    TimePipeline(state, s.data, forward ? d.degrees : d.projected, forward);
}

void BenchProj(benchmark::State& state, Setup s, bool forward) {
    const Data& d = PointsFor(s);
    const ProjOperation op(s.proj);
    TimeProj(state, op, forward ? d.pipeline.radians : d.projectedForProj,
             forward ? PJ_FWD : PJ_INV);
}

// Largest distance between our forward results and PROJ's; points either
// side could not convert are counted; and our own inverse round trip.
void PrintAgreement(const Setup& s) {
    const PipelinePoints& d = PointsFor(s).pipeline;
    const ProjOperation op(s.proj);
    if (!op) {
        std::printf("%-15s PROJ cannot make '%s'\n", s.name, s.proj);
        return;
    }
    std::vector<PROJPOINT> theirs = d.radians;
    op.Trans(PJ_FWD, theirs);
    double worst = 0;
    long failed = 0;
    for (int i = 0; i < kPoints; ++i) {
        const PROJPOINT& a = d.projected[i];
        const PROJPOINT& b = theirs[i];
        if (a.x == KVPROJ_UNPLOTTABLE || !std::isfinite(b.x) || b.x == HUGE_VAL) {
            ++failed;
            continue;
        }
        worst = std::max(worst, std::hypot(a.x - b.x, a.y - s.ySign * b.y));
    }
    std::printf("%-15s forward vs PROJ worst %.3e m (%ld unconverted); round trip worst %.1e deg\n",
                s.name, worst, failed, RoundTripWorst(s.data, d));
}

void PrintSummary(const RateCollector& rates) {
    std::printf("\n%-15s %-4s %12s %12s %8s\n", "projection", "dir", "kvproj ns/pt", "PROJ ns/pt",
                "speedup");
    for (const Setup& s : Setups())
        ForEachDirection(s.name, [&](const std::string& base, bool forward) {
            const double ours = rates.NsPerPoint(base + "/kvproj");
            const double theirs = rates.NsPerPoint(base + "/PROJ");
            std::printf("%-15s %-4s %12.1f %12.1f %7.2fx\n", s.name, forward ? "fwd" : "inv", ours,
                        theirs, ours > 0 ? theirs / ours : 0.0);
        });
}

} // namespace

int main(int argc, char** argv) {
    for (const Setup& s : Setups())
        ForEachDirection(s.name, [&s](const std::string& base, bool fwd) {
            Register(base + "/kvproj", BenchOurs, s, fwd);
            Register(base + "/PROJ", BenchProj, s, fwd);
        });
    return RunBenchmarks(
        argc, argv,
        [] {
            for (const Setup& s : Setups())
                PrintAgreement(s);
        },
        PrintSummary);
}
