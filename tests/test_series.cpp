// The hand-written fast series of the projection modules against the standard
// library over the ranges their comments state, each with its error bound, and
// the meridional arc against PROJ. Bounds are a little above the worst error
// measured (in brackets) and far below what a wrong coefficient would give.
#include "projections/ConformalLatitude.h"
#include "projections/Series.h"

#include <gtest/gtest.h>

#include <cmath>
#include <random>

using namespace KVProj;

namespace {

const double kWgs84E = std::sqrt(2.0 / 298.257223563 - 1.0 / (298.257223563 * 298.257223563));
const double kClarke66E = std::sqrt(2.0 / 294.9786982 - 1.0 / (294.9786982 * 294.9786982));

// Worst relative error of `fast` against `exact` over n + 1 even steps of [lo, hi].
template <class Fast, class Exact>
double WorstRelative(double lo, double hi, int n, Fast fast, Exact exact) {
    double worst = 0.0;
    for (int i = 0; i <= n; ++i) {
        const double x = lo + (hi - lo) * i / n;
        const double want = exact(x);
        if (want != 0.0) worst = std::fmax(worst, std::fabs(fast(x) - want) / std::fabs(want));
    }
    return worst;
}

TEST(FastSeries, AtanhAndExpInsideTheirRangesFallBackOutside) {
    // |x| <= 0.1 (truncation below 1e-19): within 1e-15 relative [4.9e-16].
    EXPECT_LT(WorstRelative(-0.1, 0.1, 200000, AtanhSmall, [](double x) { return std::atanh(x); }),
              1e-15);
    // |z| <= 0.01 (truncation below 3e-21): within 4.5e-16 relative [2.2e-16].
    EXPECT_LT(WorstRelative(-0.01, 0.01, 200000, ExpSmall, [](double z) { return std::exp(z); }),
              4.5e-16);
    // Outside those ranges the library function itself answers, to the bit.
    for (const double x : {0.1000001, -0.5, 0.9, 1.0}) {
        EXPECT_EQ(AtanhSmall(x), std::atanh(x)) << x;
        EXPECT_TRUE(std::isnan(AtanhSmall(std::nan(""))));
    }
    for (const double z : {0.0100001, -0.5, 3.0})
        EXPECT_EQ(ExpSmall(z), std::exp(z)) << z;
    // The conformal factor built on both: Snyder 7-7's ((1 - es) / (1 + es))^(e/2).
    for (const double phi : {-1.5, -0.7, 0.0, 0.3, 1.2, 1.57}) {
        const double es = kWgs84E * std::sin(phi);
        EXPECT_NEAR(ConformalFactor(kWgs84E, es), std::pow((1 - es) / (1 + es), kWgs84E / 2),
                    1e-15);
    }
}

TEST(FastSeries, RotatingSineAndCosinePairs) {
    std::mt19937_64 rng(20261123);
    std::uniform_real_distribution<double> angle(-kPi, kPi), big(-0.5, 0.5), small(-0.0099, 0.0099);
    double one = 0.0, dozen = 0.0, step = 0.0;
    for (int i = 0; i < 100000; ++i) {
        // AdvanceSinCos, |d| <= 0.5 (series truncation below 1e-19): one
        // rotation within 5e-16 [3.3e-16] of sin(t + d), cos(t + d).
        const double t = angle(rng), d = big(rng);
        double s = std::sin(t), c = std::cos(t);
        AdvanceSinCos(t + d, d, &s, &c);
        one = std::fmax(one,
                        std::fmax(std::fabs(s - std::sin(t + d)), std::fabs(c - std::cos(t + d))));
        // SinCosStep, |d| < 0.01 (truncation below 1e-20): sin(phi - d), cos(phi - d)
        // within 5e-16 [3.3e-16].
        const double e = small(rng);
        s = std::sin(t), c = std::cos(t);
        SinCosStep(t, e, &s, &c);
        step = std::fmax(step,
                         std::fmax(std::fabs(s - std::sin(t - e)), std::fabs(c - std::cos(t - e))));
    }
    for (int i = 0; i < 10000; ++i) {
        // A Newton chain of twelve rotations stays within 3e-15 [2.3e-15].
        double t = angle(rng), s = std::sin(t), c = std::cos(t);
        for (int k = 0; k < 12; ++k) {
            const double d = big(rng);
            t += d;
            AdvanceSinCos(t, d, &s, &c);
        }
        dozen = std::fmax(dozen, std::fmax(std::fabs(s - std::sin(t)), std::fabs(c - std::cos(t))));
    }
    EXPECT_LT(one, 5e-16);
    EXPECT_LT(step, 5e-16);
    EXPECT_LT(dozen, 3e-15);
    // Beyond the limits the pair is evaluated afresh, to the bit.
    double s = 0.0, c = 1.0;
    AdvanceSinCos(2.0, 0.75, &s, &c);
    EXPECT_TRUE(s == std::sin(2.0) && c == std::cos(2.0));
    s = 0.0, c = 1.0;
    SinCosStep(2.0, 0.02, &s, &c);
    EXPECT_TRUE(s == std::sin(1.98) && c == std::cos(1.98));
}

// Meridional arc M(phi), Snyder 3-21 to e^6, against PROJ 9 tmerc with k = 1
// on the central meridian (`proj +proj=tmerc +ellps=... +k=1`, y of lon 0):
// the series' truncation is about a millimetre.
TEST(FastSeries, MeridianArcAgainstProj) {
    const struct {
        const char* ellipsoid;
        double a, e, lat, m;
    } rows[] = {
        {"WGS84", 6378137.0, kWgs84E, 15, 1658989.589401},
        {"WGS84", 6378137.0, kWgs84E, 45, 4984944.377978},
        {"WGS84", 6378137.0, kWgs84E, 75, 8326937.587280},
        {"WGS84", 6378137.0, kWgs84E, 89, 9890271.864399},
        {"WGS84", 6378137.0, kWgs84E, -30, -3320113.397940},
        {"clrk66", 6378206.4, kClarke66E, 45, 4984727.100062},
        {"clrk66", 6378206.4, kClarke66E, 75, 8326783.303900},
    };
    for (const auto& r : rows) {
        const MeridianArc arc(r.a, r.e);
        EXPECT_NEAR(arc.At(r.lat * kDegToRad), r.m, 1.5e-3) << r.ellipsoid << " " << r.lat;
    }
}

// The footpoint series (Snyder 3-26 with its e1^4 sin 8 mu term) inverts the
// arc series to 2e-10 rad [1.2e-10 on WGS 84, about 0.8 mm] over the whole
// meridian; its sine and cosine by the addition theorem agree with the
// library's to 4.5e-16 [2.2e-16].
TEST(FastSeries, FootpointInvertsTheArc) {
    for (const double e : {kWgs84E, kClarke66E}) {
        const MeridianArc arc(6378137.0, e);
        const Footpoint foot(e);
        double worst = 0.0, trig = 0.0;
        for (int i = -8999; i <= 8999; ++i) {
            const double phi = i * 0.01 * kDegToRad;
            const double mu = arc.Mu(arc.At(phi));
            worst = std::fmax(worst, std::fabs(foot.Phi(mu) - phi));
            double s, c;
            const double p = foot.Phi(mu, &s, &c);
            trig =
                std::fmax(trig, std::fmax(std::fabs(s - std::sin(p)), std::fabs(c - std::cos(p))));
        }
        EXPECT_LT(worst, 2e-10) << e;
        EXPECT_LT(trig, 4.5e-16) << e;
    }
    // On the sphere the footpoint latitude is the rectifying latitude itself.
    EXPECT_EQ(Footpoint().Phi(0.7), 0.7);
}

} // namespace
