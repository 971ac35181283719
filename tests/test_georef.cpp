// Georeferencing: fits of the Helmert and polynomial methods, the precalculated
// affine, residuals, the record's control arrays and coefficient conversions,
// the trace log, bad input and the wrapper class.
#include "georef/kvGeoRef.h"

#include "TestSupport.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <climits>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <random>
#include <regex>
#include <string>
#include <thread>
#include <vector>

using namespace KVProj;

namespace {

constexpr int kInternalError = 20200;
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kInf = std::numeric_limits<double>::infinity();

// A copy of a field of a byte-packed record: the comparison macros take
// references, which must not bind to a misaligned member.
template <typename T> T Val(T value) {
    return value;
}

// Control pairs owned by the test, handed out as a GEOREF that points at them.
struct Controls {
    std::vector<GEOREFPOINT> src, dst;
    void Add(double sx, double sy, double dx, double dy) {
        src.push_back({sx, sy});
        dst.push_back({dx, dy});
    }
    GEOREF Record(int method) {
        GEOREF r{};
        r.Method = static_cast<TransformMethod>(method);
        r.pSrc = src.data();
        r.pDest = dst.data();
        r.nControls = static_cast<int>(src.size());
        return r;
    }
};

// A handle deleted at the end of the scope.
struct Handle {
    void* h;
    explicit Handle(const GEOREF& r) : h(RefCreateSystem(&r)) {}
    ~Handle() { RefDeleteSystem(h); }
    Handle(const Handle&) = delete;
    Handle& operator=(const Handle&) = delete;
    GEOREFPOINT Forward(double x, double y) const {
        GEOREFPOINT p{x, y};
        EXPECT_TRUE(RefForward(h, &p, 1));
        return p;
    }
};

// ------------------------------------------------------------ exact reproduction

// A square area of the plane: [x0, x0 + side] x [y0, y0 + side].
struct Area {
    double x0, y0, side;
};
const Area kPixels{0, 0, 10000};
const Area kBigImage{0, 0, 100000};
const Area kUtm{495000, 3995000, 25000};
const Area kDegrees{10.25, 45.5, 0.75};

// Monomials u^i v^j of the truth polynomials, up to the third degree.
struct Monomial {
    int i, j;
    double k; // coefficient, in units of the destination area's side
};
// Mild curvature of the sizes a rubber-sheeted scan shows.
constexpr Monomial kTruth[] = {{0, 0, 0.1},   {1, 0, 0.9},    {0, 1, 0.15}, {1, 1, 0.04},
                               {2, 0, 0.03},  {0, 2, -0.025}, {3, 0, 0.01}, {2, 1, -0.008},
                               {1, 2, 0.006}, {0, 3, 0.012}};

// The truth of one method: monomials of total degree up to `degree`, or the
// bilinear set 1, u, v, uv; y' uses the mirrored monomials so the two differ.
double Truth(int method, double u, double v, bool forY) {
    double sum = 0;
    for (const Monomial& m : kTruth) {
        const int degree = m.i + m.j;
        const bool bilinear = method == TM_FIRST_ORDER;
        const int maxDegree = method == TM_SECOND_ORDER ? 2 : method == TM_THIRD_ORDER ? 3 : 1;
        const bool used = bilinear ? (m.i <= 1 && m.j <= 1) : degree <= maxDegree;
        if (!used) continue;
        sum += forY ? m.k * std::pow(v, m.i) * std::pow(u, m.j)
                    : m.k * std::pow(u, m.i) * std::pow(v, m.j);
    }
    return sum;
}

GEOREFPOINT TrueImage(int method, const Area& from, const Area& to, GEOREFPOINT p) {
    const double u = (p.x - from.x0) / from.side, v = (p.y - from.y0) / from.side;
    if (method == TM_HELMERT) // a rotation by 0.3 rad, scaled to the destination area
        return {to.x0 + to.side * (0.1 + 0.95 * (std::cos(0.3) * u - std::sin(0.3) * v)),
                to.y0 + to.side * (0.2 + 0.95 * (std::sin(0.3) * u + std::cos(0.3) * v))};
    return {to.x0 + to.side * Truth(method, u, v, false),
            to.y0 + to.side * Truth(method, u, v, true)};
}

std::vector<GEOREFPOINT> RandomPoints(const Area& a, int n, unsigned seed) {
    std::mt19937 rng(seed);
    std::uniform_real_distribution<double> d(0.0, 1.0);
    std::vector<GEOREFPOINT> pts;
    for (int i = 0; i < n; ++i)
        pts.push_back({a.x0 + a.side * d(rng), a.y0 + a.side * d(rng)});
    return pts;
}

struct ExactCase {
    const char* name;
    Area from, to;
};
// Pixel to map, map to pixel, and degree-valued sources; the big image is
// where fits on raw coordinates lose accuracy.
const ExactCase kExactCases[] = {
    {"pixel->UTM", kPixels, kUtm},       {"UTM->pixel", kUtm, kPixels},
    {"degrees->UTM", kDegrees, kUtm},    {"degrees->pixel", kDegrees, kPixels},
    {"UTM->big image", kUtm, kBigImage}, {"big image->UTM", kBigImage, kUtm},
};

struct MethodTerms {
    int method, terms;
};
constexpr MethodTerms kFitMethods[] = {{TM_HELMERT, 2},
                                       {TM_AFFINE, 3},
                                       {TM_FIRST_ORDER, 4},
                                       {TM_SECOND_ORDER, 6},
                                       {TM_THIRD_ORDER, 10}};

// Each method fitted to controls of a truth of its own form, with exactly as
// many controls as terms (interpolation) and with three times as many (least
// squares), reproduces the truth at 200 other points within 1e-6 of a unit.
TEST(GeorefFit, ReproducesTruthOfItsOwnForm) {
    for (const ExactCase& c : kExactCases)
        for (const MethodTerms& mt : kFitMethods)
            for (int n : {mt.terms, 3 * mt.terms}) {
                SCOPED_TRACE(std::string(c.name) + " " + RefMethodName(TransformMethod(mt.method)) +
                             " n=" + std::to_string(n));
                Controls ctl;
                for (const GEOREFPOINT& p : RandomPoints(c.from, n, 7 + n)) {
                    const GEOREFPOINT q = TrueImage(mt.method, c.from, c.to, p);
                    ctl.Add(p.x, p.y, q.x, q.y);
                }
                Handle h(ctl.Record(mt.method));
                ASSERT_NE(h.h, nullptr);
                double worst = 0;
                for (const GEOREFPOINT& p : RandomPoints(c.from, 200, 99)) {
                    const GEOREFPOINT want = TrueImage(mt.method, c.from, c.to, p);
                    const GEOREFPOINT got = h.Forward(p.x, p.y);
                    worst = std::max({worst, std::fabs(got.x - want.x), std::fabs(got.y - want.y)});
                }
                EXPECT_LE(worst, 1e-6);
            }
}

// ------------------------------------------------------------ GDAL oracle

// Sixteen noisy controls from a 10,000-pixel image to UTM-sized map
// coordinates (a smooth third-order warp plus 0.3 m of noise).
Controls OracleControls() {
    static const double k[][4] = {
        {1068.285, 7025.855, 504780.036, 3982219.271},
        {2711.152, 2557.755, 507545.911, 3993063.553},
        {3029.880, 6842.331, 509628.776, 3982288.092},
        {1183.996, 2232.661, 503630.244, 3994181.344},
        {2604.023, 8042.813, 508925.084, 3979370.726},
        {5513.327, 6639.991, 515778.843, 3982300.175},
        {1230.263, 3370.662, 504087.469, 3991327.098},
        {9779.995, 4036.758, 525673.353, 3987962.007},
        {6075.312, 8725.954, 517810.283, 3976972.604},
        {5890.842, 6337.294, 516632.048, 3982981.764},
        {8747.939, 5137.815, 523420.209, 3985414.146},
        {2181.879, 7982.419, 507851.575, 3979605.953},
        {8181.280, 895.352, 520730.981, 3996131.794},
        {7403.412, 1138.746, 518857.273, 3995677.720},
        {4804.374, 6853.721, 514069.423, 3981906.208},
        {4848.709, 4370.426, 513435.239, 3988106.256},
    };
    Controls c;
    for (const auto& r : k)
        c.Add(r[0], r[1], r[2], r[3]);
    return c;
}

Controls Swapped(const Controls& c) {
    Controls s;
    s.src = c.dst;
    s.dst = c.src;
    return s;
}

struct OracleRow {
    int order; // GDAL's MAX_GCP_ORDER
    bool mapToPixel;
    GEOREFPOINT in, out;
};
// GDAL 3.6 python3-gdal, gdal.Transformer(ds, None, ["METHOD=GCP_POLYNOMIAL",
// "MAX_GCP_ORDER=<order>"]) on a MEM dataset carrying the controls above;
// map to pixel is its TransformPoint(1, ...), GDAL's own reverse fit.
const OracleRow kGdal[] = {
    {1, false, {5000, 5000}, {514004.286968447, 3986502.633710179}},
    {1, false, {1234.5, 8765.25}, {505715.360124347, 3977837.231430707}},
    {1, false, {8000, 2000}, {520608.072819651, 3993406.917877872}},
    {1, false, {3000, 3500}, {508552.184992466, 3990650.687727069}},
    {1, false, {6500, 7200}, {518415.733859236, 3980703.813657988}},
    {1, true, {514002.625, 3986502.1875}, {4999.307504277, 5000.233540126}},
    {1, true, {505718.908, 3977837.302}, {1235.935725601, 8765.107520380}},
    {2, false, {5000, 5000}, {514002.524274377, 3986502.298591111}},
    {2, false, {1234.5, 8765.25}, {505718.510351034, 3977836.897358510}},
    {2, false, {8000, 2000}, {520608.245002118, 3993406.393557130}},
    {2, false, {3000, 3500}, {508550.864116914, 3990650.572286159}},
    {2, false, {6500, 7200}, {518414.643520432, 3980703.908218137}},
    {2, true, {514002.625, 3986502.1875}, {5000.035320408, 5000.041608484}},
    {2, true, {505718.908, 3977837.302}, {1234.680656721, 8765.073697179}},
    {3, false, {5000, 5000}, {514002.608961289, 3986502.293371209}},
    {3, false, {1234.5, 8765.25}, {505718.972424706, 3977836.699140100}},
    {3, false, {8000, 2000}, {520608.597537735, 3993406.476120239}},
    {3, false, {3000, 3500}, {508550.782339604, 3990650.390862984}},
    {3, false, {6500, 7200}, {518414.451691307, 3980703.907888065}},
    {3, true, {514002.625, 3986502.1875}, {5000.001315708, 5000.042310431}},
    {3, true, {505718.908, 3977837.302}, {1234.503222642, 8765.009107654}},
};

// GDAL's order 1 is the affine (method 1), orders 2 and 3 our methods 3 and 4.
TEST(GeorefFit, AgreesWithGdalGcpPolynomials) {
    const int methodOfOrder[] = {0, TM_AFFINE, TM_SECOND_ORDER, TM_THIRD_ORDER};
    for (const OracleRow& row : kGdal) {
        SCOPED_TRACE("order " + std::to_string(row.order) + (row.mapToPixel ? " inverse" : ""));
        Controls c = row.mapToPixel ? Swapped(OracleControls()) : OracleControls();
        Handle h(c.Record(methodOfOrder[row.order]));
        const GEOREFPOINT got = h.Forward(row.in.x, row.in.y);
        const double tolerance = row.mapToPixel ? 1e-8 : 1e-7; // pixels, metres
        EXPECT_NEAR(got.x, row.out.x, tolerance);
        EXPECT_NEAR(got.y, row.out.y, tolerance);
    }
}

// GDAL 3.6 python3-gdal gdal.GCPsToGeoTransform of the same controls:
// (C, A, B, F, D, E).
TEST(GeorefCoefficients, ControlsToCoeffMatchesGdalGeoTransform) {
    const double gt[6] = {499999.182715933188,  2.501141400452,  0.299879450051,
                          3999998.093798362184, -0.198831980869, -2.500260036767};
    Controls c = OracleControls();
    GEOREF r = c.Record(TM_THIRD_ORDER);
    ASSERT_TRUE(RefControlsToCoeff(&r));
    EXPECT_EQ(Val(r.Method), TM_PRECALCULATED);
    EXPECT_EQ(Val(r.pSrc), c.src.data()); // the controls stay
    const double got[6] = {r.C, r.A, r.B, r.F, r.D, r.E};
    const double tolerance[6] = {1e-6, 1e-10, 1e-10, 1e-6, 1e-10, 1e-10};
    for (int i = 0; i < 6; ++i)
        EXPECT_NEAR(got[i], gt[i], tolerance[i]) << i;
}

// ------------------------------------------------------------ edge cases

TEST(GeorefFit, HelmertOfTwoControlsIsExact) {
    Controls c;
    c.Add(0, 0, 10, 20);
    c.Add(1, 0, 10, 21);
    Handle h(c.Record(TM_HELMERT));
    GEOREFFIT fit{};
    ASSERT_TRUE(RefGetFit(h.h, &fit));
    // a = 0, b = 1, c = 10, d = 20 as x' = c + a x - b y, y' = d + b x + a y
    const double want[2][3] = {{10, 0, -1}, {20, 1, 0}};
    for (int j = 0; j < 3; ++j) {
        EXPECT_NEAR(fit.X[j], want[0][j], 1e-12) << j;
        EXPECT_NEAR(fit.Y[j], want[1][j], 1e-12) << j;
    }
}

// The fit handed out in source coordinates sums to what the handle computes.
TEST(GeorefFit, FitInSourceCoordinatesMatchesForward) {
    Controls c = OracleControls();
    for (int method : {TM_HELMERT, TM_AFFINE, TM_FIRST_ORDER, TM_SECOND_ORDER, TM_THIRD_ORDER}) {
        SCOPED_TRACE(method);
        Handle h(c.Record(method));
        GEOREFFIT fit{};
        ASSERT_TRUE(RefGetFit(h.h, &fit));
        for (const GEOREFPOINT& p : RandomPoints(kPixels, 5, 11)) {
            const double x = p.x, y = p.y;
            const double fourth = method == TM_FIRST_ORDER ? x * y : x * x;
            const double terms[10] = {1,     x,         y,         fourth,    x * y,
                                      y * y, x * x * x, x * x * y, x * y * y, y * y * y};
            double fx = 0, fy = 0;
            for (int j = 0; j < fit.nTerms; ++j)
                fx += fit.X[j] * terms[j], fy += fit.Y[j] * terms[j];
            const GEOREFPOINT want = h.Forward(x, y);
            EXPECT_NEAR(fx, want.x, 1e-6);
            EXPECT_NEAR(fy, want.y, 1e-6);
        }
    }
    EXPECT_FALSE(RefGetFit(nullptr, nullptr));
}

// Controls on a square stretched along x and squeezed along y by eps: the
// stretch has no similarity part, so the fit is the identity and every
// control is off by eps times its distance from the centre.
TEST(GeorefError, HelmertResidualsOfAStretchedSquare) {
    const double eps = 0.01;
    Controls c;
    const double corners[4][2] = {{-1, -1}, {1, -1}, {1, 1}, {-1, 1}};
    for (const auto& k : corners)
        c.Add(k[0] + 100, k[1] + 200, k[0] * (1 + eps) + 100, k[1] * (1 - eps) + 200);
    Handle h(c.Record(TM_HELMERT));
    double total = 0, each[4];
    ASSERT_TRUE(RefComputeError(h.h, &total, each));
    EXPECT_NEAR(total, eps * std::sqrt(2.0), 1e-12);
    for (double e : each)
        EXPECT_NEAR(e, eps * std::sqrt(2.0), 1e-12);
    // Either output may be left out.
    EXPECT_TRUE(RefComputeError(h.h, nullptr, nullptr));
}

TEST(GeorefError, ExactAffineHasNoResidual) {
    Controls c;
    c.Add(0, 0, 500000, 4000000);
    c.Add(100, 0, 500250, 3999980);
    c.Add(0, 100, 500030, 3999750);
    Handle h(c.Record(TM_AFFINE));
    double total = -1, each[3] = {-1, -1, -1};
    ASSERT_TRUE(RefComputeError(h.h, &total, each));
    EXPECT_NEAR(total, 0, 1e-9);
    for (double e : each)
        EXPECT_NEAR(e, 0, 1e-9);
}

// The control sets a fit cannot use: creation fails with the assertion report.
struct RefusedCase {
    const char* name;
    int method;
    std::vector<std::array<double, 4>> controls;
};
const RefusedCase kRefused[] = {
    {"Helmert without controls", TM_HELMERT, {}},
    {"Helmert, sources at one place", TM_HELMERT, {{5, 5, 0, 0}, {5, 5, 1, 1}}},
    {"affine, three collinear", TM_AFFINE, {{0, 0, 1, 1}, {1, 1, 2, 3}, {2, 2, 5, 4}}},
    {"affine, collinear UTM",
     TM_AFFINE,
     {{500000, 4000000, 0, 0},
      {501000, 4001000, 9, 3},
      {503000, 4003000, 4, 4},
      {502000, 4002000, 1, 7}}},
    {"bilinear with three", TM_FIRST_ORDER, {{0, 0, 1, 1}, {1, 0, 2, 3}, {0, 1, 5, 4}}},
    {"second order, duplicate",
     TM_SECOND_ORDER,
     {{0, 0, 0, 0}, {1, 0, 1, 0}, {0, 1, 0, 1}, {1, 1, 1, 1}, {2, 0, 2, 0}, {2, 0, 2, 0}}},
    {"third order with nine",
     TM_THIRD_ORDER,
     {{0, 0, 0, 0},
      {1, 0, 1, 0},
      {0, 1, 0, 1},
      {1, 1, 1, 1},
      {2, 0, 2, 0},
      {0, 2, 0, 2},
      {2, 2, 2, 2},
      {3, 1, 3, 1},
      {1, 3, 1, 3}}},
    {"NaN control", TM_AFFINE, {{0, 0, 1, 1}, {1, 0, kNaN, 3}, {0, 1, 5, 4}}},
    {"infinite control", TM_HELMERT, {{0, 0, 1, 1}, {kInf, 0, 2, 3}}},
    {"huge spread", TM_AFFINE, {{0, 0, -1.7e308, 1}, {1, 0, 1.7e308, 3}, {0, 1, 5, 4}}},
};

TEST(GeorefFit, RefusedControlSets) {
    for (const RefusedCase& rc : kRefused) {
        SCOPED_TRACE(rc.name);
        Controls c;
        for (const auto& k : rc.controls)
            c.Add(k[0], k[1], k[2], k[3]);
        kvtest::ReportRecorder rec;
        GEOREF r = c.Record(rc.method);
        EXPECT_EQ(RefCreateSystem(&r), nullptr);
        EXPECT_GE(rec.Count(kInternalError), 1);
    }
}

TEST(GeorefFit, OneHelmertControlIsATranslation) {
    Controls c;
    c.Add(3, 4, 103, 204.5);
    kvtest::ReportRecorder rec;
    Handle h(c.Record(TM_HELMERT));
    ASSERT_NE(h.h, nullptr);
    EXPECT_EQ(rec.Count(kInternalError), 1); // fewer than two controls is still reported
    const GEOREFPOINT p = h.Forward(-7, 11);
    EXPECT_DOUBLE_EQ(p.x, 93);
    EXPECT_DOUBLE_EQ(p.y, 211.5);
}

// Eleven controls on an exact cubic: least squares, and no residual.
TEST(GeorefFit, ThirdOrderWithElevenControlsIsLeastSquares) {
    Controls c;
    for (const GEOREFPOINT& p : RandomPoints(kPixels, 11, 3)) {
        const GEOREFPOINT q = TrueImage(TM_THIRD_ORDER, kPixels, kUtm, p);
        c.Add(p.x, p.y, q.x, q.y);
    }
    Handle h(c.Record(TM_THIRD_ORDER));
    double total = 1;
    ASSERT_TRUE(RefComputeError(h.h, &total, nullptr));
    EXPECT_LT(total, 1e-7);
}

// A zero in the first column's first row needs a row swap; the swap must carry
// both right-hand sides along. Solution of x + y = 3, 2x = 2 and 2x = 4, x + y = 5.
TEST(GeorefGaussJordan, PivotsAndRefusesSingular) {
    double a[4] = {0, 2, 1, 1}; // column-major reading: rows (0, 2) and (1, 1)
    double r1[2] = {2, 3}, r2[2] = {4, 5};
    ASSERT_TRUE(GaussJordan(a, 2, r1, r2));
    EXPECT_DOUBLE_EQ(r1[0], 2); // 2y = 2, x + y = 3  -> x = 2, y = 1
    EXPECT_DOUBLE_EQ(r1[1], 1);
    EXPECT_DOUBLE_EQ(r2[0], 3); // 2y = 4, x + y = 5 -> x = 3, y = 2
    EXPECT_DOUBLE_EQ(r2[1], 2);
    double singular[4] = {1, 2, 2, 4};
    double s1[2] = {1, 2}, s2[2] = {1, 2};
    EXPECT_FALSE(GaussJordan(singular, 2, s1, s2));
}

// ------------------------------------------------------------ warps

constexpr int kWarpMethods[] = {TM_THIN_PLATE_SPLINE,  TM_NATURAL_CUBIC_SPLINE,
                                TM_MARCOV_SPLINE,      TM_EXPONENTIAL_SPLINE,
                                TM_RATIONAL_QUADRATIC, TM_INVERSE_DISTANCE};

// Every warp passes through its controls and reproduces an affine map
// (the image registration's own guarantees), reached through the handle.
TEST(GeorefWarp, InterpolatesControlsAndReproducesAffine) {
    Controls noisy = OracleControls();
    Controls affine;
    for (const GEOREFPOINT& p : RandomPoints(kPixels, 12, 5)) {
        const GEOREFPOINT q = TrueImage(TM_AFFINE, kPixels, kUtm, p);
        affine.Add(p.x, p.y, q.x, q.y);
    }
    for (int method : kWarpMethods) {
        SCOPED_TRACE(RefMethodName(TransformMethod(method)));
        Handle h(noisy.Record(method));
        ASSERT_NE(h.h, nullptr);
        double total = 1, each[16];
        ASSERT_TRUE(RefComputeError(h.h, &total, each));
        EXPECT_LT(total, 1e-6);
        Handle a(affine.Record(method));
        ASSERT_NE(a.h, nullptr);
        for (const GEOREFPOINT& p : RandomPoints({2000, 2000, 6000}, 20, 6)) {
            const GEOREFPOINT want = TrueImage(TM_AFFINE, kPixels, kUtm, p);
            const GEOREFPOINT got = a.Forward(p.x, p.y);
            EXPECT_NEAR(got.x, want.x, 1e-6);
            EXPECT_NEAR(got.y, want.y, 1e-6);
        }
        GEOREFPOINT pts[2] = {{KVPROJ_UNPLOTTABLE, KVPROJ_UNPLOTTABLE}, {kNaN, 1}};
        ASSERT_TRUE(RefForward(h.h, pts, 2));
        EXPECT_EQ(pts[0].x, KVPROJ_UNPLOTTABLE);
        EXPECT_TRUE(std::isnan(pts[1].x));
    }
}

// Long arrays go through the warp a block at a time: every point must get what
// it gets alone, across block edges, with markers and non-finite points mixed in.
TEST(GeorefWarp, LongArraysGiveWhatEachPointGivesAlone) {
    Controls noisy = OracleControls();
    std::vector<GEOREFPOINT> pts = RandomPoints(kPixels, 700, 9);
    pts[255] = {KVPROJ_UNPLOTTABLE, KVPROJ_UNPLOTTABLE};
    pts[256] = {kNaN, 1};
    pts[600] = {KVPROJ_UNPLOTTABLE, KVPROJ_UNPLOTTABLE};
    for (int method : {TM_THIN_PLATE_SPLINE, TM_INVERSE_DISTANCE}) {
        Handle h(noisy.Record(method));
        ASSERT_NE(h.h, nullptr);
        std::vector<GEOREFPOINT> all = pts;
        ASSERT_TRUE(RefForward(h.h, all.data(), static_cast<int>(all.size())));
        for (size_t i = 0; i < pts.size(); ++i) {
            GEOREFPOINT one = pts[i];
            ASSERT_TRUE(RefForward(h.h, &one, 1));
            if (std::isnan(one.x)) {
                EXPECT_TRUE(std::isnan(all[i].x)) << i;
                continue;
            }
            EXPECT_EQ(all[i].x, one.x) << i;
            EXPECT_EQ(all[i].y, one.y) << i;
        }
        EXPECT_EQ(all[600].x, KVPROJ_UNPLOTTABLE);
    }
}

// The polynomial fits evaluate whole vectors of points with x and y side by
// side in the lanes: a marker in either member of a point keeps that point
// whole and touches no neighbour, at every position within a vector.
TEST(GeorefForward, PolynomialLanesKeepPointsApart) {
    Controls noisy = OracleControls();
    std::vector<GEOREFPOINT> pts = RandomPoints(kPixels, 67, 11);
    for (size_t i : {0, 9, 18, 27})
        pts[i].x = KVPROJ_UNPLOTTABLE;
    for (size_t i : {4, 13, 22, 31, 66})
        pts[i].y = KVPROJ_UNPLOTTABLE;
    pts[40] = {KVPROJ_UNPLOTTABLE, KVPROJ_UNPLOTTABLE};
    for (int method : {TM_HELMERT, TM_AFFINE, TM_FIRST_ORDER, TM_SECOND_ORDER, TM_THIRD_ORDER}) {
        Handle h(noisy.Record(method));
        ASSERT_NE(h.h, nullptr) << method;
        std::vector<GEOREFPOINT> all = pts;
        ASSERT_TRUE(RefForward(h.h, all.data(), static_cast<int>(all.size())));
        for (size_t i = 0; i < pts.size(); ++i) {
            GEOREFPOINT one = pts[i];
            ASSERT_TRUE(RefForward(h.h, &one, 1));
            const bool marked = pts[i].x == KVPROJ_UNPLOTTABLE || pts[i].y == KVPROJ_UNPLOTTABLE;
            if (marked) {
                EXPECT_EQ(all[i].x, pts[i].x) << method << " " << i;
                EXPECT_EQ(all[i].y, pts[i].y) << method << " " << i;
            } else {
                EXPECT_NE(all[i].x, pts[i].x) << method << " " << i;
            }
            EXPECT_EQ(all[i].x, one.x) << method << " " << i;
            EXPECT_EQ(all[i].y, one.y) << method << " " << i;
        }
    }
}

// A failed calibration fails the creation; its registration object is kept,
// never released, as on every failed creation.
TEST(GeorefWarp, FailedCalibrationAbandonsTheRegistration) {
    Controls two;
    two.Add(0, 0, 1, 1);
    two.Add(1, 0, 2, 1);
    Controls collinear = two;
    collinear.Add(2, 0, 3, 1);
    Controls affine3 = collinear;
    affine3.Add(0, 1, 1, 5);
    struct Case {
        Controls* controls;
        int method;
        int kept; // registration objects kept by the call
    };
    const Case cases[] = {{&two, TM_THIN_PLATE_SPLINE, 1},
                          {&collinear, TM_INVERSE_DISTANCE, 1},
                          {&collinear, TM_AFFINE, 1},
                          {&two, TM_NONE, 1},
                          {&affine3, TM_MARCOV_SPLINE, 0}};
    for (const Case& c : cases) {
        SCOPED_TRACE(c.method);
        const int before = AbandonedRegistrations();
        GEOREF r = c.controls->Record(c.method);
        void* h = RefCreateSystem(&r);
        EXPECT_EQ(h != nullptr, c.kept == 0);
        RefDeleteSystem(h);
        EXPECT_EQ(AbandonedRegistrations() - before, c.kept);
    }
}

TEST(GeorefWarp, TraceOfCalibrationAndTransform) {
    Controls c = OracleControls();
    kvtest::LogCapture log("georef_warp_trace");
    GEOREF r = c.Record(TM_RATIONAL_QUADRATIC);
    Handle h(r);
    GEOREFPOINT p{5000, 5000};
    ASSERT_TRUE(RefForward(h.h, &p, 1));
    GEOREF few = c.Record(TM_THIN_PLATE_SPLINE);
    few.nControls = 2;
    EXPECT_EQ(RefCreateSystem(&few), nullptr);
    const std::string text = log.Text();
    char calibrate[80], transform[120];
    std::snprintf(calibrate, sizeof calibrate, "CTRACE:  WarpCalibrate(pCtx=%p, eWarpType=4)\r\n",
                  h.h);
    std::snprintf(transform, sizeof transform,
                  "CTRACE:  WarpTransform(pCtx=%p, pPts=%p, nPts=1)\r\n", h.h,
                  static_cast<void*>(&p));
    EXPECT_TRUE(kvtest::Contains(text, calibrate)) << text;
    EXPECT_TRUE(kvtest::Contains(text, transform)) << text;
    EXPECT_TRUE(std::regex_search(
        text, std::regex("WarpCalibrate\\(pCtx=0x[0-9a-f]+, eWarpType=0\\)\r\n"
                         "(.*\r\n)?CTRACE:  Calibration failed\r\n"
                         "CTRACE:  RefCreateSystem failed initializing transform\r\n")))
        << text;
}

// ------------------------------------------------------------ precalculated affine

GEOREF Precalculated(double a, double b, double c, double d, double e, double f) {
    GEOREF r{};
    r.Method = TM_PRECALCULATED;
    r.A = a, r.B = b, r.C = c, r.D = d, r.E = e, r.F = f;
    return r;
}

TEST(GeorefCoefficients, PrecalculatedForwardAndNoError) {
    Handle h(Precalculated(2, 0.5, 100, -0.25, -3, 900));
    ASSERT_NE(h.h, nullptr);
    const GEOREFPOINT p = h.Forward(10, 20);
    EXPECT_DOUBLE_EQ(p.x, 2 * 10 + 0.5 * 20 + 100);
    EXPECT_DOUBLE_EQ(p.y, -0.25 * 10 - 3 * 20 + 900);
    kvtest::ReportRecorder rec;
    double total = 0;
    EXPECT_FALSE(RefComputeError(h.h, &total, nullptr)); // nothing to measure
    EXPECT_EQ(rec.Count(kInternalError), 1);
}

struct CornerCase {
    int width, height;
    double w, h; // the corners used
};
const CornerCase kCorners[] = {{640, 480, 640, 480}, {0, 50, 100, 50}, {-3, 0, 100, 100}};

TEST(GeorefCoefficients, CoeffToControlsGivesTheCorners) {
    for (const CornerCase& cc : kCorners) {
        GEOREF r = Precalculated(2, 0.5, 100, -0.25, -3, 900);
        ASSERT_TRUE(RefCoeffToControls(&r, cc.width, cc.height));
        EXPECT_EQ(Val(r.Method), TM_AFFINE);
        ASSERT_EQ(Val(r.nControls), 4);
        const GEOREFPOINT corners[4] = {{0, 0}, {cc.w, 0}, {cc.w, cc.h}, {0, cc.h}};
        for (int i = 0; i < 4; ++i) {
            EXPECT_EQ(r.pSrc[i].x, corners[i].x);
            EXPECT_EQ(r.pSrc[i].y, corners[i].y);
            EXPECT_DOUBLE_EQ(r.pDest[i].x, 2 * corners[i].x + 0.5 * corners[i].y + 100);
            EXPECT_DOUBLE_EQ(r.pDest[i].y, -0.25 * corners[i].x - 3 * corners[i].y + 900);
        }
        RefFreeControls(&r);
    }
}

// The arrays a record held are overwritten, not freed: freeing them here
// afterwards would be a double free under AddressSanitizer if they had been.
TEST(GeorefCoefficients, ConversionsLeaveOldArraysToTheCaller) {
    GEOREF r = Precalculated(1, 0, 0, 0, 1, 0);
    ASSERT_TRUE(RefAllocControls(&r, 2));
    GEOREFPOINT* oldSrc = r.pSrc;
    GEOREFPOINT* oldDst = r.pDest;
    r.Method = TM_PRECALCULATED;
    ASSERT_TRUE(RefCoeffToControls(&r, 10, 10));
    EXPECT_NE(Val(r.pSrc), oldSrc);
    std::free(oldSrc);
    std::free(oldDst);
    oldSrc = r.pSrc, oldDst = r.pDest;
    ASSERT_TRUE(RefAllocControls(&r, 3));
    EXPECT_EQ(Val(r.nControls), 3);
    EXPECT_EQ(r.pSrc[2].x, 0.0); // zeroed
    std::free(oldSrc);
    std::free(oldDst);
    RefFreeControls(&r);
    EXPECT_EQ(Val(r.pSrc), nullptr);
    EXPECT_EQ(Val(r.pDest), nullptr);
    EXPECT_EQ(Val(r.nControls), 0);
}

TEST(GeorefCoefficients, CoeffToControlsOnlyForMethodFive) {
    Controls c;
    c.Add(1, 2, 3, 4);
    GEOREF r = c.Record(TM_AFFINE);
    const GEOREF before = r;
    EXPECT_FALSE(RefCoeffToControls(&r, 10, 10));
    EXPECT_EQ(std::memcmp(&r, &before, sizeof r), 0);
    EXPECT_FALSE(RefCoeffToControls(nullptr, 10, 10));
}

TEST(GeorefCoefficients, ControlsToCoeffRefusals) {
    Controls two;
    two.Add(0, 0, 1, 1);
    two.Add(1, 0, 2, 1);
    Controls three = two;
    three.Add(0, 1, 1, 2);
    GEOREF r = two.Record(TM_AFFINE);
    EXPECT_FALSE(RefControlsToCoeff(&r));
    for (int method : {TM_PRECALCULATED, TM_NONE}) {
        r = three.Record(method);
        EXPECT_FALSE(RefControlsToCoeff(&r));
        EXPECT_EQ(Val(r.Method), method);
    }
    r = three.Record(TM_AFFINE);
    r.pDest = nullptr;
    EXPECT_FALSE(RefControlsToCoeff(&r));
    EXPECT_FALSE(RefControlsToCoeff(nullptr));
    r = three.Record(TM_HELMERT); // any other method: an affine fit
    ASSERT_TRUE(RefControlsToCoeff(&r));
    EXPECT_NEAR(r.A, 1, 1e-12);
    EXPECT_NEAR(r.C, 1, 1e-12);
    EXPECT_NEAR(r.E, 1, 1e-12);
    EXPECT_NEAR(r.F, 1, 1e-12);
}

TEST(GeorefResize, CoefficientsOfAnImageTwiceAsLarge) {
    GEOREF r = Precalculated(1, 0, 0, 0, 0, 0);
    ASSERT_TRUE(RefResize(&r, 100, 100, 200, 200));
    EXPECT_EQ(Val(r.Method), TM_PRECALCULATED);
    EXPECT_NEAR(r.A, 0.5, 1e-15);
    for (double v : {r.B, r.C, r.D, r.E, r.F})
        EXPECT_NEAR(v, 0, 1e-12);
    EXPECT_EQ(Val(r.nControls), 0);
    EXPECT_EQ(Val(r.pSrc), nullptr);
    // A world-file-like affine survives a 3 x 0.5 resize in mapped terms.
    r = Precalculated(2.5, 0.3, 500000, -0.2, -2.5, 4000000);
    ASSERT_TRUE(RefResize(&r, 1000, 800, 3000, 400));
    EXPECT_NEAR(r.A, 2.5 / 3, 1e-12);
    EXPECT_NEAR(r.B, 0.3 * 2, 1e-12);
    EXPECT_NEAR(r.C, 500000, 1e-8);
    EXPECT_NEAR(r.D, -0.2 / 3, 1e-12);
    EXPECT_NEAR(r.E, -2.5 * 2, 1e-12);
    EXPECT_NEAR(r.F, 4000000, 1e-8);
}

TEST(GeorefResize, ScalesSourceControlsOfOtherMethods) {
    Controls c;
    c.Add(10, 20, 1, 2);
    c.Add(30, 40, 3, 4);
    GEOREF r = c.Record(TM_HELMERT);
    ASSERT_TRUE(RefResize(&r, 100, 100, 150, 50));
    EXPECT_EQ(c.src[1].x, 45);
    EXPECT_EQ(c.src[1].y, 20);
    EXPECT_EQ(c.dst[1].x, 3); // destinations untouched
    const int badSizes[][4] = {{0, 1, 1, 1}, {1, -1, 1, 1}, {1, 1, 0, 1}, {1, 1, 1, 0}};
    for (const auto& s : badSizes)
        EXPECT_FALSE(RefResize(&r, s[0], s[1], s[2], s[3]));
    EXPECT_FALSE(RefResize(nullptr, 1, 1, 1, 1));
}

// ------------------------------------------------------------ bad input

TEST(GeorefBadInput, NamesOfMethods) {
    const char* names[] = {"Helmert",
                           "Affine Polynomial",
                           "1st Order Polynomial",
                           "2nd Order Polynomial",
                           "3rd Order Polynomial",
                           "Precalculated Affine Coefficients",
                           "Thin Plate Spline",
                           "Natural Cubic Spline",
                           "Marcov Spline",
                           "Exponential Spline",
                           "Rational Quadratic Spline",
                           "Inverse Distance Squared"};
    for (int m = 0; m < 12; ++m)
        EXPECT_STREQ(RefMethodName(TransformMethod(m)), names[m]);
    for (int m : {-1, 12, 13, 999})
        EXPECT_STREQ(RefMethodName(TransformMethod(m)), "");
}

TEST(GeorefBadInput, MethodsOutOfRangeAreRefused) {
    Controls c = OracleControls();
    for (int m : {-1, 12, 13, 999}) {
        GEOREF r = c.Record(m);
        EXPECT_EQ(RefCreateSystem(&r), nullptr) << m;
    }
    // A handle whose method went bad: the forward refuses and reports.
    Handle h(c.Record(TM_AFFINE));
    static_cast<GeoRefHandle*>(h.h)->ref.Method = TransformMethod(13);
    kvtest::ReportRecorder rec;
    GEOREFPOINT p{1, 2};
    EXPECT_FALSE(RefForward(h.h, &p, 1));
    EXPECT_FALSE(RefComputeError(h.h, nullptr, nullptr));
    EXPECT_EQ(rec.Count(kInternalError), 2);
    static_cast<GeoRefHandle*>(h.h)->ref.Method = TM_AFFINE;
}

TEST(GeorefBadInput, NullsAndCounts) {
    Controls c = OracleControls();
    Handle h(c.Record(TM_SECOND_ORDER));
    GEOREFPOINT p{1, 2};
    GEOREF out{};
    kvtest::ReportRecorder rec;
    EXPECT_EQ(RefCreateSystem(nullptr), nullptr);
    RefDeleteSystem(nullptr);
    EXPECT_FALSE(RefForward(nullptr, &p, 1));
    EXPECT_FALSE(RefComputeError(nullptr, nullptr, nullptr));
    EXPECT_FALSE(RefGetHandleInfo(nullptr, &out));
    EXPECT_EQ(rec.Count(kInternalError), 0); // a null handle is not an inconsistency
    EXPECT_FALSE(RefForward(h.h, nullptr, 1));
    EXPECT_FALSE(RefForward(h.h, &p, 0));
    EXPECT_FALSE(RefForward(h.h, &p, -1));
    EXPECT_FALSE(RefGetHandleInfo(h.h, nullptr));
    EXPECT_EQ(rec.Count(kInternalError), 4);
    EXPECT_EQ(p.x, 1);

    // Counts a record cannot hold: no allocation, no read of the arrays.
    for (int n : {-1, INT_MAX}) {
        GEOREF r = c.Record(TM_HELMERT);
        r.nControls = n;
        EXPECT_EQ(RefCreateSystem(&r), nullptr) << n;
    }
    GEOREF r = c.Record(TM_AFFINE);
    r.pSrc = nullptr;
    EXPECT_EQ(RefCreateSystem(&r), nullptr);
    for (int n : {0, -1, INT_MAX}) {
        GEOREF a{};
        a.pSrc = c.src.data();
        EXPECT_FALSE(RefAllocControls(&a, n)) << n;
        EXPECT_EQ(Val(a.pSrc), nullptr);
        EXPECT_EQ(Val(a.nControls), 0);
    }
    EXPECT_FALSE(RefAllocControls(nullptr, 3));
    RefFreeControls(nullptr);
}

TEST(GeorefBadInput, NonFinitePointsAndTheUnplottableMarker) {
    Controls c = OracleControls();
    for (int method : {TM_HELMERT, TM_AFFINE, TM_THIRD_ORDER}) {
        Handle h(c.Record(method));
        GEOREFPOINT pts[3] = {{KVPROJ_UNPLOTTABLE, KVPROJ_UNPLOTTABLE}, {kNaN, 5}, {kInf, 5}};
        ASSERT_TRUE(RefForward(h.h, pts, 3));
        EXPECT_EQ(pts[0].x, KVPROJ_UNPLOTTABLE);
        EXPECT_EQ(pts[0].y, KVPROJ_UNPLOTTABLE);
        EXPECT_TRUE(std::isnan(pts[1].x));
        EXPECT_FALSE(std::isfinite(pts[2].x));
    }
}

// ------------------------------------------------------------ handles and wrapper

TEST(GeorefHandle, KeepsItsOwnCopyOfTheRecord) {
    Controls c = OracleControls();
    GEOREF r = c.Record(TM_SECOND_ORDER);
    std::memset(r.Reserved, 0xA5, sizeof r.Reserved);
    Handle h(r);
    const GEOREFPOINT before = h.Forward(5000, 5000);
    c.src[0].x = 0; // the caller changes its arrays
    c.dst.assign(c.dst.size(), GEOREFPOINT{0, 0});
    const GEOREFPOINT after = h.Forward(5000, 5000);
    EXPECT_EQ(before.x, after.x);
    GEOREF info{};
    ASSERT_TRUE(RefGetHandleInfo(h.h, &info));
    EXPECT_EQ(Val(info.Method), TM_SECOND_ORDER);
    EXPECT_EQ(Val(info.nControls), 16);
    EXPECT_NE(Val(info.pSrc), c.src.data());
    EXPECT_EQ(info.pSrc[0].x, 1068.285);
    EXPECT_EQ(info.Reserved[55], 0xA5);
}

TEST(GeorefHandle, WrapperCopiesDeeplyAndAssignsShallowly) {
    Controls c = OracleControls();
    GEOREF r = c.Record(TM_AFFINE);
    CGeorefTransform a(&r);
    ASSERT_TRUE(a.IsCreated());
    CGeorefTransform copy(a);
    GEOREF ia{}, ic{};
    ASSERT_TRUE(a.GetInfo(&ia));
    ASSERT_TRUE(copy.GetInfo(&ic));
    EXPECT_NE(Val(ia.pSrc), Val(ic.pSrc)); // a handle of its own
    GEOREFPOINT p{5000, 5000}, q{5000, 5000};
    ASSERT_TRUE(a.Forward(&p, 1));
    ASSERT_TRUE(copy.Forward(&q, 1));
    EXPECT_EQ(p.x, q.x);

    CGeorefTransform shared;
    EXPECT_FALSE(shared.IsCreated());
    shared = a; // the same handle
    GEOREF is{};
    ASSERT_TRUE(shared.GetInfo(&is));
    EXPECT_EQ(Val(is.pSrc), Val(ia.pSrc));
    a = CGeorefTransform(); // leaves the handle to `shared` alone
    EXPECT_FALSE(a.IsCreated());
    EXPECT_TRUE(shared.ComputeError(nullptr, nullptr));

    r.nControls = 2;
    EXPECT_FALSE(copy.Create(&r)); // deletes the old handle first
    EXPECT_FALSE(copy.IsCreated());
    CGeorefTransform empty, emptyCopy(empty);
    EXPECT_FALSE(emptyCopy.IsCreated());
}

// Bilinear and second-order fits in two threads at once (the fourth-term
// choice belongs to each fit) give exactly the single-threaded results.
TEST(GeorefHandle, ConcurrentFitsAgreeWithSerialOnes) {
    Controls c = OracleControls();
    auto fitAt = [&c](int method) {
        Handle h(c.Record(method));
        return h.Forward(4321.5, 6789.25);
    };
    const GEOREFPOINT bilinear = fitAt(TM_FIRST_ORDER), second = fitAt(TM_SECOND_ORDER);
    ASSERT_NE(bilinear.x, second.x);
    auto run = [&](int method, GEOREFPOINT want, int* mismatches) {
        for (int i = 0; i < 200; ++i) {
            const GEOREFPOINT got = fitAt(method);
            if (got.x != want.x || got.y != want.y) ++*mismatches;
        }
    };
    int m1 = 0, m2 = 0;
    std::thread t1(run, TM_FIRST_ORDER, bilinear, &m1);
    std::thread t2(run, TM_SECOND_ORDER, second, &m2);
    t1.join();
    t2.join();
    EXPECT_EQ(m1, 0);
    EXPECT_EQ(m2, 0);
}

// ------------------------------------------------------------ trace log

TEST(GeorefTrace, EveryCallLogsItsText) {
    Controls c;
    c.Add(0, 0, 10, 20);
    c.Add(1, 0, 10, 21);
    c.Add(0, 1, 9, 20);
    kvtest::LogCapture log("georef_trace");
    GEOREF r = c.Record(TM_HELMERT);
    void* h = RefCreateSystem(&r);
    GEOREFPOINT p{1, 1};
    RefForward(h, &p, 1);
    double total = 0;
    RefComputeError(h, &total, nullptr);
    GEOREF info{};
    RefGetHandleInfo(h, &info);
    RefDeleteSystem(h);
    r.Method = TM_AFFINE;
    RefControlsToCoeff(&r);
    GEOREF a = Precalculated(1, 0, 0, 0, 1, 0);
    RefCoeffToControls(&a, 0, 7);
    RefFreeControls(&a);
    RefAllocControls(&a, 2);
    RefFreeControls(&a);
    a = Precalculated(1, 0, 0, 0, 1, 0);
    RefResize(&a, 10, 10, 20, 20);
    GEOREF bad = c.Record(TM_FIRST_ORDER);
    RefCreateSystem(&bad);

    // Pointers (%p) are matched by pattern, the rest letter for letter.
    const char* kLines[] = {
        "RefCreateSystem\\(pRefData=%p\\)",
        "RefInitializeHelmert",
        "Control  0: sx=  0.00 sy=  0.00 dx= 10.00 dy= 20.00",
        "Control  1: sx=  1.00 sy=  0.00 dx= 10.00 dy= 21.00",
        "Control  2: sx=  0.00 sy=  1.00 dx=  9.00 dy= 20.00",
        "RefForward\\(hRef=%p, pPts=%p, nPts=1\\)",
        "RefComputeError\\(hRef=%p, pTotalError=%p, pControlError=\\(nil\\)\\)",
        "RefForward\\(hRef=%p, pPts=%p, nPts=3\\)",
        "RefGetHandleInfo\\(hRef=%p, pGeoRef=%p\\)",
        "RefDeleteSystem\\(hRef=%p\\)",
        "RefCoeffToControls\\(pRefData=%p\\)", // RefControlsToCoeff, under the other name
        "RefCreateSystem\\(pRefData=%p\\)",
        "RefInitializeOrder3",
        "RefInitializeOrder3\\(hCtx=%p, Order=1\\)",
        "Control  0: sx=  0.00 sy=  0.00 dx= 10.00 dy= 20.00",
        "Control  1: sx=  1.00 sy=  0.00 dx= 10.00 dy= 21.00",
        "Control  2: sx=  0.00 sy=  1.00 dx=  9.00 dy= 20.00",
        "RefDeleteSystem\\(hRef=%p\\)",
        "RefCoeffToControls\\(pRefData=%p, iWidth=0, iHeight=7\\)",
        "RefAllocControls\\(pRefData=%p, nControls=2\\)",
        "RefResize\\(pRefData=%p, iOldW=10, iOldH=10, iNewW=20, iNewH=20\\)",
        "RefCoeffToControls\\(pRefData=%p, iWidth=10, iHeight=10\\)",
        "RefCoeffToControls\\(pRefData=%p\\)",
        "RefCreateSystem\\(pRefData=%p\\)",
        "RefInitializeOrder3",
        "RefInitializeOrder3\\(hCtx=%p, Order=1\\)",
        "Control  0: sx=  0.00 sy=  0.00 dx=  0.00 dy=  0.00",
        "Control  1: sx= 20.00 sy=  0.00 dx= 10.00 dy=  0.00",
        "Control  2: sx= 20.00 sy= 20.00 dx= 10.00 dy= 10.00",
        "Control  3: sx=  0.00 sy= 20.00 dx=  0.00 dy= 10.00",
        "RefDeleteSystem\\(hRef=%p\\)",
        "RefCreateSystem\\(pRefData=%p\\)",
        "RefInitializeOrder3",
        "RefInitializeOrder3\\(hCtx=%p, Order=0\\)",
        "Control  0: sx=  0.00 sy=  0.00 dx= 10.00 dy= 20.00",
        "Control  1: sx=  1.00 sy=  0.00 dx= 10.00 dy= 21.00",
        "Control  2: sx=  0.00 sy=  1.00 dx=  9.00 dy= 20.00",
    };
    const std::string text = log.Text();
    std::string::size_type at = 0;
    for (const char* line : kLines) {
        const std::string::size_type end = text.find("\r\n", at);
        ASSERT_NE(end, std::string::npos) << line;
        const std::string got = text.substr(at, end - at);
        const std::string pattern = std::regex_replace(line, std::regex("%p"), "0x[0-9a-f]+");
        EXPECT_TRUE(std::regex_match(got, std::regex("CTRACE:  " + pattern))) << got;
        at = end + 2;
    }
    // The too-small bilinear set ends in the assertion report and the failure line.
    EXPECT_TRUE(std::regex_match(
        text.substr(at),
        std::regex("ASSERTION FAILED\r\nFILE \"georef/gOrder3[.]cpp\", LINE [0-9]+\r\n"
                   "CTRACE:  RefCreateSystem failed initializing transform\r\n")))
        << text.substr(at);
}

} // namespace
