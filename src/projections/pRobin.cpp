// Robinson, sphere only, always centred on Greenwich. Robinson's 1974 table of
// parallel lengths and distances from the equator at every 5 degrees, with each
// band made a cubic in the degrees into the band. The per-band coefficients are
// the piecewise-cubic fit of that table distributed with PROJ 4 (its Robinson
// module), figures copied as published and kept in single precision;
// evaluation is in double. The inverse finds the band by the Y table and
// solves the band's cubic by Newton's method.
#include "projections/Figure.h"
#include "projections/Modules.h"
#include "frame/Angles.h"
#include "projections/ProjModule.h"

#include <cmath>

namespace KVProj {
namespace {

struct Cubic {
    float c0, c1, c2, c3;
    double At(double z) const { return c0 + z * (c1 + z * (c2 + z * static_cast<double>(c3))); }
    double Slope(double z) const { return c1 + z * (2.0 * c2 + 3.0 * c3 * z); }
};

constexpr int kRows = 19; // row i starts at 5 i degrees; row 18 is the pole

constexpr Cubic kX[kRows] = {
    {1.0f, -5.67239008e-12f, -7.15510978e-05f, 3.11027998e-06f},
    {0.998600006f, -0.000482241012f, -2.48969991e-05f, -1.33093999e-06f},
    {0.995400012f, -0.000831031008f, -4.48610008e-05f, -9.8658802e-07f},
    {0.99000001f, -0.00135362998f, -5.96598002e-05f, 3.67748999e-06f},
    {0.982200027f, -0.00167441997f, -4.49749996e-06f, -5.72393992e-06f},
    {0.97299999f, -0.00214868993f, -9.03565015e-05f, 1.88766993e-08f},
    {0.959999979f, -0.00305083999f, -9.00731975e-05f, 1.64869004e-06f},
    {0.942700028f, -0.00382791995f, -6.53427996e-05f, -2.61493005e-06f},
    {0.921599984f, -0.00467746984f, -0.000104566003f, 4.81220013e-06f},
    {0.896200001f, -0.00536222011f, -3.23833992e-05f, -5.43445003e-06f},
    {0.867900014f, -0.00609363988f, -0.000113900001f, 3.32520995e-06f},
    {0.834999979f, -0.00698324991f, -6.40219005e-05f, 9.34581976e-07f},
    {0.798600018f, -0.0075533702f, -5.00038004e-05f, 9.35532e-07f},
    {0.7597f, -0.00798324961f, -3.59715996e-05f, -2.27604005e-06f},
    {0.718599975f, -0.00851366017f, -7.01120007e-05f, -8.63072e-06f},
    {0.673200011f, -0.00986209046f, -0.000199571994f, 1.91977997e-05f},
    {0.621299982f, -0.0104179997f, 8.83948014e-05f, 6.24031009e-06f},
    {0.5722f, -0.00906600989f, 0.000181998999f, 6.24033009e-06f},
    {0.532199979f, 0.0f, 0.0f, 0.0f},
};

constexpr Cubic kY[kRows] = {
    {0.0f, 0.0124000004f, 3.72529008e-10f, 1.15484e-09f},
    {0.061999999f, 0.0124001f, 1.76951005e-08f, -5.92320992e-09f},
    {0.123999998f, 0.0123998001f, -7.09667987e-08f, 2.25752999e-08f},
    {0.186000004f, 0.0124008004f, 2.66916999e-07f, -8.44523029e-08f},
    {0.247999996f, 0.0123971002f, -9.99682015e-07f, 3.15568997e-07f},
    {0.310000002f, 0.0124108f, 3.73349008e-06f, -1.1779e-06f},
    {0.372000009f, 0.0123597998f, -1.39350004e-05f, 4.39587984e-06f},
    {0.433999985f, 0.0125500998f, 5.20034009e-05f, -1.00051002e-05f},
    {0.496800005f, 0.0123198004f, -9.80734985e-05f, 9.22396976e-06f},
    {0.557099998f, 0.0120307999f, 4.02857004e-05f, -5.29010003e-06f},
    {0.617600024f, 0.0120369f, -3.9066199e-05f, 7.36116988e-07f},
    {0.676900029f, 0.0117015f, -2.80246004e-05f, -8.54282973e-07f},
    {0.734600008f, 0.0113572003f, -4.08388987e-05f, -5.18524018e-07f},
    {0.790300012f, 0.0109099001f, -4.8616901e-05f, -1.07180006e-06f},
    {0.843500018f, 0.0103433002f, -6.46933986e-05f, 5.36384004e-09f},
    {0.893599987f, 0.00969679002f, -6.46128974e-05f, -8.54894006e-06f},
    {0.939400017f, 0.00840948988f, -0.000192847001f, -4.21023014e-06f},
    {0.976100028f, 0.0061652502f, -0.000256000989f, -4.21021014e-06f},
    {1.0f, 0.0f, 0.0f, 0.0f},
};

// Single-precision values of 180 / (5 pi), 5 degrees in radians, 1.3523 and 0.8487.
constexpr double kBandsPerRadian = 11.459156036376953;
constexpr double kBandWidth = 0.0872664600610733;
constexpr double kYScale = 1.3523000478744507;
constexpr double kXScale = 0.8486999869346619;
constexpr double kPoleLineSlack = 1.000001;
constexpr double kNewtonTolerance = 1e-8;
// Newton on a monotonic cubic settles in a handful of steps; the bound only
// keeps a pathological input from spinning.
constexpr int kNewtonMaxSteps = 100;

} // namespace

bool RobinForward(const PROJDATA* data, PROJPOINT* points, int count) {
    KV_MODULE_CHECK_ARGS(data, points, count);
    const double r = Figure(data).a;
    ForEachPoint(points, count, [r](PROJPOINT& p) {
        const double lam = p.x, phi = p.y; // no central meridian
        const double absPhi = std::fabs(phi);
        const double band = std::floor(absPhi * kBandsPerRadian);
        // The pole is reached as the end of the last band (z = 5), not row 18.
        const int i = band >= 0.0 && band < 18.0 ? static_cast<int>(band) : 17;
        const double z = (absPhi - i * kBandWidth) * kRadToDeg;
        const double y = kY[i].At(z) * kYScale * r;
        p.x = kX[i].At(z) * kXScale * lam * r;
        p.y = phi < 0.0 ? -y : y;
        return true;
    });
    return true;
}

bool RobinInverse(const PROJDATA* data, PROJPOINT* points, int count) {
    KV_MODULE_CHECK_ARGS(data, points, count);
    const double r = Figure(data).a;
    ForEachPoint(points, count, [r](PROJPOINT& p) {
        const double u = p.x / r, v = p.y / r;
        const double yn = std::fabs(v / kYScale);
        if (yn != yn) return false; // NaN from a zero radius
        if (yn >= 1.0) {
            // Hosts draw a frame slightly beyond the pole line; anything
            // farther out collapses to the origin, unmarked.
            if (yn > kPoleLineSlack) {
                p.x = 0.0;
                p.y = 0.0;
                return true;
            }
            const double xPole = kX[kRows - 1].c0;
            if (xPole == 0.0) return false;
            p.x = u / kXScale / xPole;
            p.y = p.y >= 0.0 ? kHalfPi : -kHalfPi;
            return true;
        }
        int i = static_cast<int>(yn * 18.0);
        while (kY[i].c0 > yn)
            --i;
        while (kY[i + 1].c0 <= yn)
            ++i;
        const Cubic& cy = kY[i];
        // The offset from the band's base value is held in single precision.
        const float base = static_cast<float>(cy.c0 - yn);
        double z = (yn - cy.c0) * 5.0 / (kY[i + 1].c0 - cy.c0);
        for (int step = 0; step < kNewtonMaxSteps; ++step) {
            const double delta =
                (base + z * (cy.c1 + z * (cy.c2 + z * static_cast<double>(cy.c3)))) / cy.Slope(z);
            z -= delta;
            if (std::fabs(delta) < kNewtonTolerance) break;
        }
        const double phi = (5 * i + z) * kDegToRad;
        p.x = u / kXScale / kX[i].At(z);
        p.y = p.y < 0.0 ? -phi : phi;
        return true;
    });
    return true;
}

} // namespace KVProj
