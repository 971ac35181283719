// Image registration: the thin plate spline against GDAL, exactness of every
// warp at its controls and on affine maps, leave-one-out residuals against
// brute-force refits, accuracy on a smooth warp, and the refusals.
#include "kvproj/registration.h"
#include "registration/WarpModel.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <random>
#include <string>
#include <thread>

using namespace KVProj;

namespace {

constexpr WarpingMethod kAll[] = {WARP_THIN_PLATE_SPLINE,  WARP_NATURAL_CUBIC_SPLINE,
                                  WARP_MARCOV_SPLINE,      WARP_EXPONENTIAL_SPLINE,
                                  WARP_RATIONAL_QUADRATIC, WARP_INVERSE_DISTANCE};
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kInf = std::numeric_limits<double>::infinity();

// Pixel to UTM metres: an image of 10,000 pixels with a bent, sheared mapping.
const RPoints kUtmSource = {{0, 0},       {10000, 0},   {10000, 10000}, {0, 10000},
                            {5000, 5000}, {2500, 7300}, {8100, 3300},   {4200, 1200}};
const RPoints kUtmDest = {{500000, 4500000}, {800150, 4502900}, {805000, 4198800},
                          {503100, 4201300}, {652400, 4349100}, {577950, 4280000},
                          {745500, 4401700}, {628800, 4463900}};
// Pixel to longitude/latitude in degrees.
const RPoints kDegSource = {{0, 0},       {3600, 0},  {3600, 2400}, {0, 2400},
                            {1800, 1200}, {900, 500}, {2700, 1900}};
const RPoints kDegDest = {{5.0, 48.0},        {6.0021, 47.9985}, {6.0012, 47.3318},
                          {4.9977, 47.3341},  {5.5004, 47.6662}, {5.25013, 47.86101},
                          {5.75022, 47.47205}};

// Ill-conditioned: two controls one pixel apart and one 59,393 pixels away (a
// fuzzing find: the fit was checked at positions rounded differently from the
// ones a transform sees, and missed control 3 by 2 mm).
const RPoints kSkewSource = {{410, 65}, {1, 0}, {59393, 0}, {0, 0}};
const RPoints kSkewDest = {{496992, 496992}, {498476.5, 491872.25}, {491808, 491808},
                           {491808, 491808}};

struct ControlSet {
    const char* name;
    const RPoints* source;
    const RPoints* dest;
};
const ControlSet kSets[] = {{"utm", &kUtmSource, &kUtmDest}, {"deg", &kDegSource, &kDegDest}};
const ControlSet kSkew = {"skew", &kSkewSource, &kSkewDest};

// Largest distance between two of the points.
double Diameter(const RPoints& pts) {
    double d = 0;
    for (const RPoint& a : pts)
        for (const RPoint& b : pts)
            d = std::max(d, std::hypot(a.x - b.x, a.y - b.y));
    return d;
}

RPoints RandomPoints(unsigned seed, size_t n, double x0, double x1, double y0, double y1) {
    std::mt19937_64 rng(seed);
    std::uniform_real_distribution<double> ux(x0, x1), uy(y0, y1);
    RPoints pts(n);
    for (RPoint& p : pts)
        p = RPoint{ux(rng), uy(rng)};
    return pts;
}

// The smooth test warp of a 10,000-pixel image onto UTM metres: an affine map,
// a wave of 40 m and a bilinear bend of 15 m (u, v the position scaled to 0..1).
RPoint SmoothWarp(const RPoint& p) {
    const double pi = 3.14159265358979323846, u = p.x / 10000, v = p.y / 10000;
    return RPoint{500000 + 30 * p.x + 0.5 * p.y +
                      40 * std::sin(1.3 * pi * u) * std::cos(0.7 * pi * v) + 15 * u * v,
                  4500000 + 0.4 * p.x - 30 * p.y +
                      25 * std::cos(0.9 * pi * u) * std::sin(1.1 * pi * v) - 10 * u * v};
}

TEST(Registration, ThinPlateSplineAgreesWithGdal) {
    // GDAL 3.6.2 python bindings: gdal.Transformer(ds, None, ['METHOD=GCP_TPS']) on a
    // MEM dataset with the same controls as GCPs, TransformPoint(0, x, y).
    struct Row {
        const ControlSet* set;
        RPoint in, expected;
        double tol;
    };
    const Row rows[] = {
        {&kSets[0], {1234.5, 6789.25}, {539603.8757202455, 4295734.819056846}, 1e-6},
        {&kSets[0], {9999, 1}, {800120.8889029694, 4502869.305040206}, 1e-6},
        {&kSets[0], {5000, 5000.5}, {652400.0252335662, 4349084.891271052}, 1e-6},
        {&kSets[0], {7777, 2222}, {735527.7345664661, 4434364.903944373}, 1e-6},
        {&kSets[0], {-500, 12000}, {488675.2596634773, 4141818.292669464}, 1e-6},
        {&kSets[1], {100.5, 2300.25}, {5.02579305148598, 47.36173963745199}, 1e-11},
        {&kSets[1], {3000, 600}, {5.834709634831271, 47.832371529602675}, 1e-11},
        {&kSets[1], {1800, 1200.5}, {5.500399587523862, 47.66606132694584}, 1e-11},
        {&kSets[1], {-100, -100}, {4.972235112402472, 48.027784375273086}, 1e-11},
    };
    for (const Row& row : rows) {
        CImageRegistration reg;
        ASSERT_EQ(reg.Calibrate(*row.set->source, *row.set->dest, WARP_THIN_PLATE_SPLINE),
                  WARP_THIN_PLATE_SPLINE);
        double x = row.in.x, y = row.in.y;
        ASSERT_TRUE(reg.Transform(x, y));
        EXPECT_NEAR(x, row.expected.x, row.tol) << row.set->name << " " << row.in.x;
        EXPECT_NEAR(y, row.expected.y, row.tol) << row.set->name << " " << row.in.y;
    }
}

TEST(Registration, EveryMethodReproducesItsControls) {
    for (const ControlSet& set : {kSets[0], kSets[1], kSkew})
        for (WarpingMethod method : kAll) {
            CImageRegistration reg;
            const WarpingMethod got = reg.Calibrate(*set.source, *set.dest, method);
            // The skewed set may be refused as singular, never fitted loosely.
            if (set.source == &kSkewSource && got == WARP_NONE) continue;
            ASSERT_EQ(got, method) << reg.Reason();
            EXPECT_STREQ(reg.Reason(), "");
            RPoints pts = *set.source;
            ASSERT_TRUE(reg.Transform(pts));
            const double tol = 1e-9 * Diameter(*set.dest);
            for (size_t i = 0; i < pts.size(); ++i) {
                EXPECT_NEAR(pts[i].x, (*set.dest)[i].x, tol) << set.name << " method " << method;
                EXPECT_NEAR(pts[i].y, (*set.dest)[i].y, tol) << set.name << " method " << method;
            }
        }
}

TEST(Registration, EveryMethodReproducesAffineMaps) {
    struct Affine {
        const char* name;
        double a, b, c, d, e, f; // x' = a x + b y + c, y' = d x + e y + f
        double x0, x1;           // pixel range of the controls and the queries
    };
    const Affine maps[] = {
        {"utm 30 m", 30, 0.5, 500000, 0.4, -30, 4500000, 0, 10000},
        {"degrees", 2.5e-4, 1e-6, 5.0, -2e-7, -2.5e-4, 48.0, 0, 4000},
        {"rotated", 0.8, -0.6, -1e3, 0.6, 0.8, 2e3, -50, 50},
    };
    for (const Affine& m : maps)
        for (size_t n : {3, 4, 30, 200}) {
            const RPoints src = RandomPoints(7 + n, n, m.x0, m.x1, m.x0, m.x1);
            RPoints dst(n);
            auto apply = [&m](const RPoint& p) {
                return RPoint{m.a * p.x + m.b * p.y + m.c, m.d * p.x + m.e * p.y + m.f};
            };
            std::transform(src.begin(), src.end(), dst.begin(), apply);
            const double tol = 1e-10 * Diameter(dst);
            for (WarpingMethod method : kAll) {
                CImageRegistration reg;
                ASSERT_EQ(reg.Calibrate(src, dst, method), method) << m.name << " " << reg.Reason();
                RPoints q = RandomPoints(99, 50, m.x0 - 0.2 * (m.x1 - m.x0), m.x1, m.x0, m.x1);
                RPoints out = q;
                ASSERT_TRUE(reg.Transform(out));
                for (size_t i = 0; i < q.size(); ++i) {
                    EXPECT_NEAR(out[i].x, apply(q[i]).x, tol)
                        << m.name << " n " << n << " method " << method;
                    EXPECT_NEAR(out[i].y, apply(q[i]).y, tol)
                        << m.name << " n " << n << " method " << method;
                }
            }
        }
}

TEST(Registration, LeaveOneOutMatchesRefitting) {
    // Brute force: fit all controls but one, with the kernel shape of the fit on
    // all of them (Franke's c = 1.25 D / sqrt(N)), and transform the one left out.
    const RPoints src = RandomPoints(11, 14, 0, 10000, 0, 8000);
    RPoints dst(src.size());
    std::transform(src.begin(), src.end(), dst.begin(), SmoothWarp);
    const double shape = 1.25 * Diameter(src) / std::sqrt(static_cast<double>(src.size()));
    for (WarpingMethod method : kAll) {
        CImageRegistration reg;
        ASSERT_EQ(reg.Calibrate(src, dst, method), method);
        RPoints loo;
        ASSERT_TRUE(reg.LeaveOneOutResiduals(loo));
        ASSERT_EQ(loo.size(), src.size());
        double largest = 0;
        for (size_t k = 0; k < src.size(); ++k) {
            RPoints s = src, d = dst;
            s.erase(s.begin() + k), d.erase(d.begin() + k);
            Registration::WarpModel without;
            std::string reason;
            ASSERT_TRUE(Registration::FitWarp(s, d, method, without, reason, shape)) << reason;
            RPoint p = src[k];
            ASSERT_EQ(Registration::EvaluateWarp(without, &p, 1), 0u);
            EXPECT_NEAR(loo[k].x, dst[k].x - p.x, 1e-6) << "method " << method << " control " << k;
            EXPECT_NEAR(loo[k].y, dst[k].y - p.y, 1e-6) << "method " << method << " control " << k;
            largest = std::max(largest, std::hypot(loo[k].x, loo[k].y));
        }
        EXPECT_GT(largest, 0.01) << "a smooth but not affine warp leaves real residuals";
    }
}

TEST(Registration, LeaveOneOutEdges) {
    CImageRegistration reg;
    RPoints loo;
    EXPECT_FALSE(reg.LeaveOneOutResiduals(loo)) << "not calibrated";
    const RPoints three = {{0, 0}, {1, 0}, {0, 1}};
    ASSERT_EQ(reg.Calibrate(three, three, WARP_THIN_PLATE_SPLINE), WARP_THIN_PLATE_SPLINE);
    EXPECT_FALSE(reg.LeaveOneOutResiduals(loo)) << "three controls leave two";
    // Without the fourth control the other three are collinear.
    const RPoints src = {{0, 0}, {1, 1}, {2, 2}, {0, 2}, {3, 3}};
    const RPoints dst = {{0, 0}, {1, 1}, {2, 2}, {0, 2.5}, {3, 3}};
    for (WarpingMethod method : kAll) {
        ASSERT_EQ(reg.Calibrate(src, dst, method), method);
        ASSERT_TRUE(reg.LeaveOneOutResiduals(loo));
        EXPECT_EQ(loo[3].x, kInf) << "method " << method;
        EXPECT_TRUE(std::isfinite(loo[0].x) && std::isfinite(loo[4].y)) << "method " << method;
    }
}

TEST(Registration, SmoothWarpAccuracyAtOneHundredControls) {
    // Bounds measured on this warp (RMS over a 100 x 100 grid of the image) with
    // some room; the affine trend alone is off by about 25 m.
    const double rmsBound[WARP_COUNT] = {1.2, 0.5, 4.0, 3.0, 3.0, 8.0};
    const RPoints src = RandomPoints(5, 100, 0, 10000, 0, 10000);
    RPoints dst(src.size());
    std::transform(src.begin(), src.end(), dst.begin(), SmoothWarp);
    for (WarpingMethod method : kAll) {
        CImageRegistration reg;
        ASSERT_EQ(reg.Calibrate(src, dst, method), method);
        double sum = 0;
        int count = 0;
        for (int i = 0; i < 100; ++i)
            for (int j = 0; j < 100; ++j) {
                const RPoint p{50.0 + 100 * i, 50.0 + 100 * j};
                double x = p.x, y = p.y;
                ASSERT_TRUE(reg.Transform(x, y));
                const RPoint e = SmoothWarp(p);
                sum += (x - e.x) * (x - e.x) + (y - e.y) * (y - e.y), ++count;
            }
        EXPECT_LT(std::sqrt(sum / count), rmsBound[method]) << "method " << method;
    }
}

TEST(Registration, VectorKernelsMatchTheirDefinitions) {
    // The sums of the vector code against the scalar kernels of the fit, near
    // the controls, on them, and far outside (where the exponentials underflow).
    const RPoints src = RandomPoints(21, 40, 0, 10000, 0, 10000);
    RPoints dst(src.size());
    std::transform(src.begin(), src.end(), dst.begin(), SmoothWarp);
    RPoints queries = RandomPoints(22, 61, -2000, 12000, -2000, 12000);
    queries.insert(queries.end(), src.begin(), src.begin() + 5);
    queries.push_back(RPoint{-1e6, 3e6});
    for (WarpingMethod method : kAll) {
        Registration::WarpModel m;
        std::string reason;
        ASSERT_TRUE(Registration::FitWarp(src, dst, method, m, reason)) << reason;
        RPoints out = queries;
        ASSERT_EQ(Registration::EvaluateWarp(m, out.data(), out.size()), 0u);
        for (size_t q = 0; q < queries.size(); ++q) {
            const double u = (queries[q].x - m.cx) * m.inv, v = (queries[q].y - m.cy) * m.inv;
            double fx = 0, fy = 0;
            if (method == WARP_INVERSE_DISTANCE) {
                Registration::InverseDistanceScalar(m, u, v, fx, fy);
            } else {
                fx = m.ax[0] + m.ax[1] * u + m.ax[2] * v, fy = m.ay[0] + m.ay[1] * u + m.ay[2] * v;
                for (size_t i = 0; i < m.n; ++i) {
                    const double du = u - m.u[i], dv = v - m.v[i];
                    const double phi = Registration::Phi(method, du * du + dv * dv, m.k);
                    fx += m.wx[i] * phi, fy += m.wy[i] * phi;
                }
            }
            const double tol = 1e-12 * (std::fabs(fx) + std::fabs(fy) + 3e5);
            EXPECT_NEAR(out[q].x, m.ox + fx, tol) << "method " << method << " point " << q;
            EXPECT_NEAR(out[q].y, m.oy + fy, tol) << "method " << method << " point " << q;
        }
    }
}

TEST(Registration, RefusesBadControls) {
    const RPoints tri = {{0, 0}, {10, 0}, {0, 10}};
    const RPoints big = RandomPoints(1, kMaxRegistrationControls + 1, 0, 1e4, 0, 1e4);
    const RPoints huge = RandomPoints(2, 50000, 0, 1e4, 0, 1e4);
    struct Case {
        const char* name;
        RPoints src, dst;
        int method;
        const char* reason;
    };
    const Case cases[] = {
        {"none", {}, {}, 0, "0 controls: at least 3 are needed"},
        {"one", {{1, 2}}, {{3, 4}}, 0, "1 controls: at least 3 are needed"},
        {"two", {{1, 2}, {3, 4}}, {{5, 6}, {7, 8}}, 1, "2 controls: at least 3 are needed"},
        {"counts differ", tri, {{0, 0}, {1, 1}}, 0, "3 source and 2 destination controls"},
        {"method -1", tri, tri, -1, "unknown warping method -1"},
        {"method 6", tri, tri, 6, "unknown warping method 6"},
        {"duplicate",
         {{0, 0}, {10, 0}, {0, 10}, {10, 0}},
         {{0, 0}, {1, 0}, {0, 1}, {2, 0}},
         0,
         "controls 2 and 4 have the same source position"},
        {"near duplicate",
         {{0, 0}, {1e4, 0}, {0, 1e4}, {1e-8, 0}},
         {{0, 0}, {1, 0}, {0, 1}, {2, 0}},
         2,
         "controls 1 and 4 have the same source position"},
        {"nearly coincident",
         {{0, 0}, {1e4, 0}, {0, 1e4}, {3e-6, 0}},
         {{0, 0}, {1, 0}, {0, 1}, {2, 0}},
         3,
         "the linear system is singular to working precision"},
        {"all identical", {{5, 5}, {5, 5}, {5, 5}}, tri, 5, "have the same source position"},
        {"collinear",
         {{0, 0}, {1, 1}, {2, 2}, {5, 5}},
         {{0, 0}, {1, 0}, {0, 1}, {3, 3}},
         3,
         "the source controls are collinear"},
        {"NaN source", {{0, 0}, {kNaN, 0}, {0, 10}}, tri, 0, "control 2 of 3 is not finite"},
        {"infinite destination",
         tri,
         {{0, 0}, {10, 0}, {0, -kInf}},
         4,
         "control 3 of 3 is not finite"},
        {"overflowing spread", {{-1e308, 0}, {1e308, 0}, {0, 1e308}}, tri, 0, "spread too far"},
        {"subnormal spread", {{0, 0}, {1e-310, 0}, {0, 1e-310}}, tri, 1, "too close together"},
        {"one too many", big, big, 0, "5001 controls: more than the limit of 5000"},
        {"far too many", huge, huge, 2,
         "50000 controls: more than the limit of 5000 (the dense "
         "system would take 20.0 GB)"},
    };
    for (const Case& c : cases) {
        CImageRegistration reg;
        ASSERT_EQ(reg.Calibrate(tri, tri, WARP_THIN_PLATE_SPLINE), WARP_THIN_PLATE_SPLINE);
        EXPECT_EQ(reg.Calibrate(c.src, c.dst, static_cast<WarpingMethod>(c.method)), WARP_NONE)
            << c.name;
        EXPECT_NE(std::string(reg.Reason()).find(c.reason), std::string::npos)
            << c.name << ": " << reg.Reason();
        EXPECT_FALSE(reg.IsCalibrated()) << c.name;
        EXPECT_EQ(reg.Method(), WARP_NONE);
        double x = 1, y = 2;
        EXPECT_FALSE(reg.Transform(x, y)) << c.name;
        EXPECT_EQ(x, 1);
    }
}

TEST(Registration, TransformEdges) {
    CImageRegistration reg;
    double x = 3, y = 4;
    EXPECT_FALSE(reg.Transform(x, y)) << "not calibrated";
    EXPECT_EQ(reg.ControlCount(), 0);
    ASSERT_EQ(reg.Calibrate(kUtmSource, kUtmDest, WARP_MARCOV_SPLINE), WARP_MARCOV_SPLINE);
    EXPECT_EQ(reg.ControlCount(), 8);
    EXPECT_EQ(reg.Method(), WARP_MARCOV_SPLINE);
    EXPECT_TRUE(reg.Transform(nullptr, 0));
    EXPECT_FALSE(reg.Transform(nullptr, 1));
    // Points that cannot be transformed stay as they are; the others are done.
    RPoints pts = {
        {100, 200}, {kNaN, 5}, {KVPROJ_UNPLOTTABLE, KVPROJ_UNPLOTTABLE}, {kInf, 0}, {300, 400}};
    EXPECT_FALSE(reg.Transform(pts));
    EXPECT_TRUE(std::isnan(pts[1].x));
    EXPECT_EQ(pts[2].x, KVPROJ_UNPLOTTABLE);
    EXPECT_EQ(pts[3].x, kInf);
    double x1 = 100, y1 = 200, x2 = 300, y2 = 400;
    ASSERT_TRUE(reg.Transform(x1, y1));
    ASSERT_TRUE(reg.Transform(x2, y2));
    EXPECT_EQ(pts[0].x, x1);
    EXPECT_EQ(pts[0].y, y1);
    EXPECT_EQ(pts[4].x, x2);
    EXPECT_EQ(pts[4].y, y2);
}

TEST(Registration, ObjectsOnTwoThreads) {
    // Two objects calibrated and used at once, and one object shared by two
    // threads that only transform.
    const RPoints src = RandomPoints(3, 60, 0, 10000, 0, 10000);
    RPoints dst(src.size());
    std::transform(src.begin(), src.end(), dst.begin(), SmoothWarp);
    const RPoints queries = RandomPoints(4, 5000, 0, 10000, 0, 10000);
    RPoints expected = queries;
    CImageRegistration shared;
    ASSERT_EQ(shared.Calibrate(src, dst, WARP_THIN_PLATE_SPLINE), WARP_THIN_PLATE_SPLINE);
    ASSERT_TRUE(shared.Transform(expected));
    RPoints results[4] = {queries, queries, queries, queries};
    std::thread workers[4];
    for (int t = 0; t < 4; ++t)
        workers[t] = std::thread([&, t] {
            if (t >= 2) {
                shared.Transform(results[t]);
                return;
            }
            CImageRegistration own;
            if (own.Calibrate(src, dst, WARP_THIN_PLATE_SPLINE) == WARP_THIN_PLATE_SPLINE)
                own.Transform(results[t]);
        });
    for (std::thread& w : workers)
        w.join();
    for (const RPoints& r : results)
        for (size_t i = 0; i < r.size(); ++i)
            ASSERT_EQ(r[i].x, expected[i].x);
}

} // namespace
