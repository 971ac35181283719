// The vector loops of the Molodensky and Bursa-Wolf steps against the
// per-point path they replace, on every instruction set this CPU has: the same
// requests, the same points through the whole conversion, compared point by
// point. Agreement: 1e-12 degree; markers, non-finite values, the return
// value and the unplottable flag identical. The vector path also gives each
// point the same bits whatever the call it comes in.
#include "datum/kvDatum.h"
#include "kvproj/datum.h"
#include "kvproj/ellipsoid.h"
#include "projections/VectorPath.h"

#include <hwy/targets.h>

#include "TestSupport.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <cstring>
#include <limits>
#include <ostream>
#include <random>
#include <string>
#include <thread>
#include <vector>

using namespace KVProj;

namespace {

constexpr double kMarker = KVPROJ_UNPLOTTABLE;
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kInf = std::numeric_limits<double>::infinity();
constexpr double kTolerance = 1e-12; // degrees

DATUMXFORM Request(int src, int dest) {
    DATUMXFORM x;
    std::memset(&x, 0, sizeof x);
    x.SrcDatum = static_cast<DatumType>(src);
    x.DestDatum = static_cast<DatumType>(dest);
    return x;
}

DATUM2WGS84 UserStep(DatumMethod method, bool inverse, double pm, double dx, double dy, double dz,
                     double a, double f) {
    DATUM2WGS84 s;
    std::memset(&s, 0, sizeof s);
    s.Method = method, s.bInverse = inverse, s.Ellipsoid = ELLIPSOID_USER_DEFINED;
    s.PMShift = pm, s.dx = dx, s.dy = dy, s.dz = dz, s.MajorRadius = a, s.Flattening = f;
    return s;
}

DATUM2WGS84 WithRotation(DATUM2WGS84 s, double rx, double ry, double rz, double k) {
    s.rx = rx, s.ry = ry, s.rz = rz, s.k = k;
    return s;
}

// Caller-filled steps on both sides: an ellipsoid of its own, a prime
// meridian west of Greenwich, shifts of kilometres, large rotations.
DATUMXFORM UserSteps(const DATUM2WGS84& step1, const DATUM2WGS84& step2) {
    DATUMXFORM x = Request(DATUM_USER_DEFINED, DATUM_USER_DEFINED);
    x.Step1 = step1, x.Step2 = step2;
    return x;
}

struct Case {
    const char* name;
    DATUMXFORM request;
};
void PrintTo(const Case& c, std::ostream* os) {
    *os << c.name;
}

const Case kCases[] = {
    {"ED50 to WGS 84 (Molodensky)", Request(DATUM_ED50, DATUM_WGS84)},
    {"WGS 84 to Tokyo (Molodensky back)", Request(DATUM_WGS84, DATUM_TOKYO)},
    {"NAD27 to ED50 (Molodensky both)", Request(DATUM_NAD27, DATUM_ED50)},
    {"DHDN to WGS 84 (Bursa-Wolf)", Request(216, DATUM_WGS84)},
    {"WGS 84 to Everest MRT (Bursa-Wolf back)", Request(DATUM_WGS84, 220)},
    {"NTF Paris to Pulkovo (Bursa-Wolf both)", Request(DATUM_NTF_PARIS_BURSA, 223)},
    {"NTF Paris Molodensky to NGO 1948", Request(DATUM_NTF_PARIS, 252)},
    {"user Molodensky to user Bursa-Wolf",
     UserSteps(UserStep(DM_MOLODENSKY, false, -17.6666666667, 1200, -2500, 800, 6377000, 1 / 300.0),
               WithRotation(UserStep(DM_BURSA, true, 7.5, -300, 150, 900, 6378000, 1 / 297.0), 5,
                            -3, 12, -20))},
    {"user sphere (Bursa-Wolf) to user Molodensky",
     UserSteps(WithRotation(UserStep(DM_BURSA, false, 0, 10, 20, 30, 6371000, 0), 1, 1, 1, 1),
               UserStep(DM_MOLODENSKY, true, 0, 0, 0, 0, 6378137, 1 / 298.257223563))},
};

// Every 61st point a hostile one, so that vectors mix them with ordinary
// points; every 23rd lies within a degree of a pole.
const double kHostile[][2] = {{kMarker, kMarker},
                              {kMarker, 10},
                              {kNaN, 10},
                              {10, kInf},
                              {0, 90},
                              {15, -90},
                              {180, 90},
                              {-180, -90},
                              {180, 89.9999999},
                              {1e300, 45},
                              {-0.0, -0.0},
                              {0, 1e-300},
                              {-360, 90},
                              {359.99999999999994, 0},
                              {-kInf, kNaN},
                              {45, 1e-310},
                              {0, 180},
                              {-540, -135},
                              {90, 89.99999999999}};

std::vector<DATUMPOINT> RandomPoints(int count, uint64_t seed) {
    std::mt19937_64 rng(seed);
    std::uniform_real_distribution<double> lon(-200, 200), lat(-90, 90), polar(89, 90);
    std::vector<DATUMPOINT> pts(static_cast<size_t>(count));
    for (size_t i = 0; i < pts.size(); ++i) {
        const double* h = kHostile[(i / 61) % (sizeof kHostile / sizeof kHostile[0])];
        const double y = i % 23 == 0 ? (i % 2 ? -1 : 1) * polar(rng) : lat(rng);
        pts[i] = i % 61 == 60 ? DATUMPOINT{h[0], h[1]} : DATUMPOINT{lon(rng), y};
    }
    return pts;
}

struct Outcome {
    std::vector<DATUMPOINT> points;
    std::vector<int> ok, unplottable; // per call
};

// The points converted in calls of 1, 2, ... 19 points in turn (every tail of
// a vector), or in one call when `chunked` is false.
Outcome Convert(const DATUMXFORM& request, std::vector<DATUMPOINT> pts, bool vector, bool chunked) {
    SetVectorPath(vector);
    void* h = DatCreateDatum(&request);
    EXPECT_NE(h, nullptr);
    Outcome o;
    const int total = static_cast<int>(pts.size());
    for (int i = 0, n = 1; i < total; i += n, n = n % 19 + 1) {
        n = chunked ? std::min(n, total - i) : total;
        o.ok.push_back(DatConvertDatum(h, &pts[i], n));
        o.unplottable.push_back(DatHadUnplottables(h));
    }
    DatDeleteDatum(h);
    SetVectorPath(true);
    o.points = std::move(pts);
    return o;
}

struct Agreement {
    double worst = 0; // largest difference, degrees
    long differ = 0;  // points whose bits differ
    int mismatches = 0;
};

// One member against the reference: the same marker, finiteness and NaN, and
// within the tolerance.
bool Agrees(double v, double r, Agreement* a) {
    const bool same = (r == kMarker) == (v == kMarker) && std::isfinite(r) == std::isfinite(v) &&
                      std::isnan(r) == std::isnan(v);
    if (!std::isfinite(r)) return same;
    const double diff = std::fabs(v - r);
    a->worst = std::max(a->worst, diff);
    return same && diff <= kTolerance;
}

Agreement Compare(const Outcome& vec, const Outcome& ref, const std::string& what) {
    Agreement a;
    EXPECT_EQ(vec.ok, ref.ok) << what;
    EXPECT_EQ(vec.unplottable, ref.unplottable) << what;
    for (size_t i = 0; i < ref.points.size(); ++i) {
        const DATUMPOINT &v = vec.points[i], &r = ref.points[i];
        if (std::memcmp(&v, &r, sizeof v) != 0) ++a.differ;
        const bool agree = Agrees(v.x, r.x, &a) & Agrees(v.y, r.y, &a);
        if (!agree && a.mismatches++ < 5)
            ADD_FAILURE() << what << " point " << i << ": " << v.x << " " << v.y << " vs " << r.x
                          << " " << r.y;
    }
    return a;
}

// The instruction sets to force, those compiled that this CPU has (the
// one-lane fallback included); 0 is Highway's own choice.
std::vector<int64_t> Targets() {
    std::vector<int64_t> out{0};
    for (int64_t t : {HWY_SCALAR, HWY_EMU128, HWY_SSSE3, HWY_SSE4, HWY_AVX2, HWY_AVX3})
        if (hwy::SupportedTargets() & HWY_TARGETS & t) out.push_back(t);
    return out;
}

std::string TargetName(int64_t t) {
    return t == 0 ? "best" : hwy::TargetName(t);
}

class DatumLanes : public testing::TestWithParam<Case> {};

TEST_P(DatumLanes, AgreeWithPerPointPathOnEveryInstructionSet) {
    const Case& c = GetParam();
    const std::vector<DATUMPOINT> pts = RandomPoints(kvtest::kSweepPoints, 20261124);
    const Outcome ref = Convert(c.request, pts, false, false);
    for (int64_t target : Targets()) {
        hwy::SetSupportedTargetsForTest(target);
        const std::string what = std::string(c.name) + " on " + TargetName(target);
        const Agreement a = Compare(Convert(c.request, pts, true, false), ref, what);
        std::printf("%-48s %-7s worst %.3g deg, %ld of %zu points differ\n", c.name,
                    TargetName(target).c_str(), a.worst, a.differ, pts.size());
    }
    hwy::SetSupportedTargetsForTest(0);
}

// The calls of 1 to 19 points (every tail of a vector, and single points
// padded to a vector) give each point what one call of the whole array gives,
// to the bit; and the flag and return value as the per-point path.
TEST_P(DatumLanes, ShortCallsGiveTheBitsOfOneLongCall) {
    const Case& c = GetParam();
    const std::vector<DATUMPOINT> pts = RandomPoints(20000, 7);
    const Outcome whole = Convert(c.request, pts, true, false);
    const Outcome shortCalls = Convert(c.request, pts, true, true);
    EXPECT_EQ(
        std::memcmp(whole.points.data(), shortCalls.points.data(), pts.size() * sizeof(DATUMPOINT)),
        0);
    const Outcome ref = Convert(c.request, pts, false, true);
    EXPECT_EQ(shortCalls.ok, ref.ok);
    EXPECT_EQ(shortCalls.unplottable, ref.unplottable);
}

INSTANTIATE_TEST_SUITE_P(Shifts, DatumLanes, testing::ValuesIn(kCases),
                         [](const testing::TestParamInfo<Case>& info) {
                             std::string n = info.param.name;
                             for (char& ch : n)
                                 if (!std::isalnum(static_cast<unsigned char>(ch))) ch = '_';
                             return n;
                         });

// The steps alone on what a first step can hand the second: latitudes
// beyond the poles, longitudes of many turns, values near overflow and
// underflow, a marker in one member, NaN and infinities; and steps whose
// shift is huge, zero or on a sphere.
TEST(DatumLanesSteps, HostileInputsAsPerPointPath) {
    const DATUM2WGS84 steps[] = {
        UserStep(DM_MOLODENSKY, false, 2.33722916666667, -168, -60, 320, 6378249.2,
                 1 / 293.4660212936269),
        UserStep(DM_MOLODENSKY, true, 0, 5e5, -7e5, 3e6, 6356000, 1 / 150.0),
        UserStep(DM_MOLODENSKY, false, 0, 0, 0, 0, 6378137, 1 / 298.257223563),
        WithRotation(UserStep(DM_BURSA, false, 0, 591, 73, 410, 6377397.155, 0.003342773153666242),
                     0.26, 0.05, -2.43, 8.5),
        WithRotation(UserStep(DM_BURSA, true, -100, 1e6, 0, -1e6, 6371000, 0), 3600, -7200, 100,
                     1e4),
        WithRotation(UserStep(DM_BURSA, false, 0, 0, 0, 0, 6378137, 1 / 298.257223563), 0, 0, 0, 0),
    };
    std::vector<DATUMPOINT> pts = {{0, 135},        {5e6, 45},       {-5e4, -60},
                                   {1e300, 1e300},  {-1e300, 0},     {10, kMarker},
                                   {kMarker, 0},    {kNaN, 0},       {0, kNaN},
                                   {kInf, 0},       {0, -kInf},      {1e-310, -1e-310},
                                   {-0.0, 0.0},     {0, 90},         {0, -90},
                                   {720.25, 89.99}, {-180, 90.0001}, {181, -270},
                                   {3e4, 3e4},      {1e5, -1e5},     {-57.29577951308232e5, 0},
                                   {0, 180},        {12.5, 0},       {-12.5, -0.0}};
    for (int i = 0; i < 200; ++i) // a sweep over latitude, every vector mixing bands
        pts.push_back({-179.0 + 1.79 * i, -99.0 + 0.99 * (i * 37 % 200)});
    for (const DATUM2WGS84& s : steps) {
        std::vector<DATUMPOINT> v = pts, r = pts;
        bool okV, okR;
        SetVectorPath(true);
        okV = s.Method == DM_BURSA ? BursaWolfStep(s, v.data(), static_cast<int>(v.size()))
                                   : MolodenskyStep(s, v.data(), static_cast<int>(v.size()));
        SetVectorPath(false);
        okR = s.Method == DM_BURSA ? BursaWolfStep(s, r.data(), static_cast<int>(r.size()))
                                   : MolodenskyStep(s, r.data(), static_cast<int>(r.size()));
        SetVectorPath(true);
        EXPECT_TRUE(okV && okR);
        Agreement a;
        for (size_t i = 0; i < pts.size(); ++i)
            EXPECT_TRUE(Agrees(v[i].x, r[i].x, &a) && Agrees(v[i].y, r[i].y, &a))
                << "method " << s.Method << " dx " << s.dx << " point " << i << " (" << pts[i].x
                << ", " << pts[i].y << "): " << v[i].x << " " << v[i].y << " vs " << r[i].x << " "
                << r[i].y;
    }
}

// The passes before and after the steps give the same bits either way: two
// caller steps "none" (only the passes run) on points that need folding and
// turning, hostile values and values near overflow, in one call and in short
// calls.
TEST(DatumLanesPasses, BitForBitAsPerPointPasses) {
    DATUMXFORM none = Request(DATUM_USER_DEFINED, DATUM_USER_DEFINED);
    none.Step1.Method = none.Step2.Method = DM_NOXFORM;
    std::mt19937_64 rng(3);
    std::uniform_real_distribution<double> lon(-800, 800), lat(-300, 300);
    std::vector<DATUMPOINT> pts(20000);
    for (DATUMPOINT& p : pts)
        p = {lon(rng), lat(rng)};
    const DATUMPOINT extra[] = {{-360, 0},
                                {360, -90},
                                {-180, 90},
                                {180, -90.0},
                                {-0.0, -0.0},
                                {180.00000000000003, 0},
                                {-359.99999999999994, 1},
                                {1e308, -1e308},
                                {kMarker, 5},
                                {5, kMarker},
                                {kNaN, kInf},
                                {720, 180},
                                {-540, 270},
                                {1e-320, -1e-320}};
    for (size_t i = 0; i < pts.size(); i += 7)
        pts[i] = extra[(i / 7) % (sizeof extra / sizeof extra[0])];
    for (int k = 0; k < 1000; ++k) // the common case alone, and its edges
        pts[k] = {-360.0 + 0.72 * k, -90.0 + 0.18 * k};
    for (bool chunked : {false, true}) {
        const Outcome v = Convert(none, pts, true, chunked), s = Convert(none, pts, false, chunked);
        EXPECT_EQ(v.ok, s.ok);
        EXPECT_EQ(v.unplottable, s.unplottable);
        EXPECT_EQ(std::memcmp(v.points.data(), s.points.data(), pts.size() * sizeof(DATUMPOINT)), 0)
            << (chunked ? "short calls" : "one call");
    }
}

// Conversions on separate handles from several threads with the vector path
// (the instruction set is chosen by whichever call comes first).
TEST(DatumLanesThreads, SeparateHandlesAgree) {
    const std::vector<DATUMPOINT> pts = RandomPoints(4096, 11);
    const DATUMXFORM request = kCases[6].request;
    const Outcome ref = Convert(request, pts, true, false);
    std::vector<std::vector<DATUMPOINT>> out(4, pts);
    std::vector<std::thread> threads;
    for (auto& o : out)
        threads.emplace_back([&request, &o] {
            void* h = DatCreateDatum(&request);
            DatConvertDatum(h, o.data(), static_cast<int>(o.size()));
            DatDeleteDatum(h);
        });
    for (std::thread& t : threads)
        t.join();
    for (const auto& o : out)
        EXPECT_EQ(std::memcmp(o.data(), ref.points.data(), o.size() * sizeof(DATUMPOINT)), 0);
}

} // namespace
