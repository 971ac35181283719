// The parametric shifts between a datum and WGS 84: standard Molodensky on
// longitude and latitude, and the seven-parameter Bursa-Wolf transformation
// through geocentric coordinates.
#include "frame/Angles.h"
#include "datum/kvDatum.h"

#include "datum/DatumTable.h"
#include "frame/Util.h"

#include <cmath>

namespace KVProj {
namespace {

struct Ellipse {
    double a, f;
};

Ellipse Wgs84() {
    return {EllipsoidRadius(ELLIPSOID_WGS84), EllipsoidFlattening(ELLIPSOID_WGS84)};
}

bool UsableEllipse(const Ellipse& e) {
    return std::isfinite(e.a) && e.a > 0.0 && std::isfinite(e.f) && e.f >= 0.0 && e.f < 1.0;
}

// What both shift formulas take from a step: the ellipses to shift from and
// to, and the translation and prime meridian shift signed for the direction
// (towards WGS 84 unless the step is inverted).
struct StepFrame {
    Ellipse from, to;
    double sign, dx, dy, dz, pm;
};

bool MakeStepFrame(const DATUM2WGS84& step, StepFrame* frame) {
    const Ellipse datum{step.MajorRadius, step.Flattening};
    if (!UsableEllipse(datum)) return false;
    const bool inverse = HostFlag(step.bInverse);
    frame->from = inverse ? Wgs84() : datum;
    frame->to = inverse ? datum : Wgs84();
    frame->sign = inverse ? -1.0 : 1.0;
    frame->dx = frame->sign * step.dx;
    frame->dy = frame->sign * step.dy;
    frame->dz = frame->sign * step.dz;
    frame->pm = frame->sign * step.PMShift;
    return true;
}

} // namespace

bool MolodenskyStep(const DATUM2WGS84& step, DATUMPOINT* points, int count) {
    StepFrame fr;
    if (!MakeStepFrame(step, &fr)) return false;
    const double dx = fr.dx, dy = fr.dy, dz = fr.dz, pm = fr.pm;

    const double a = fr.from.a, f = fr.from.f;
    const double da = fr.to.a - fr.from.a, df = fr.to.f - fr.from.f;
    const double e2 = 2.0 * f - f * f;
    const double b = (1.0 - f) * a;
    const double sin1 = std::sin(4.84813681109536e-6); // sine of one arcsecond
    const double daTerm = da * e2 / a;                 // Δa e²/a
    const double dfM = df * a / b, dfN = df * b / a;   // Δf a/b, Δf b/a
    const double toDegrees = 1.0 / (sin1 * kArcSecPerDeg);

    for (int n = 0; n < count; ++n) {
        DATUMPOINT& p = points[n];
        if (IsUnplottable(p)) continue;
        const double lonDeg = p.x + pm;
        const double lam = lonDeg * kDegToRad, phi = p.y * kDegToRad;
        const double sp = std::sin(phi), cp = std::cos(phi);
        const double sl = std::sin(lam), cl = std::cos(lam);
        const double w = 1.0 - e2 * sp * sp;
        const double sw = std::sqrt(w);
        const double N = a / sw;                    // prime vertical radius of curvature
        const double M = a * (1.0 - e2) / (w * sw); // meridian radius of curvature
        // DMA TR 8350.2, standard Molodensky formulas with h = 0.
        const double dphi = (-dx * sp * cl - dy * sp * sl + dz * cp + daTerm * N * sp * cp +
                             (dfM * M + dfN * N) * sp * cp) /
                            M;
        const double dlam = (-dx * sl + dy * cl) / (N * cp);
        p.x = lonDeg + dlam * toDegrees;
        p.y = p.y + dphi * toDegrees;
    }
    return true;
}

bool BursaWolfStep(const DATUM2WGS84& step, DATUMPOINT* points, int count) {
    StepFrame fr;
    if (!MakeStepFrame(step, &fr)) return false;
    const bool inverse = HostFlag(step.bInverse);
    const double sign = fr.sign, dx = fr.dx, dy = fr.dy, dz = fr.dz, pm = fr.pm;
    const Ellipse from = fr.from, to = fr.to;
    const double rx = sign * step.rx * kArcSecToRad;
    const double ry = sign * step.ry * kArcSecToRad;
    const double rz = sign * step.rz * kArcSecToRad;
    const double S = inverse ? 1.0 / (1.0 + step.k * 1e-6) : 1.0 + step.k * 1e-6;

    const double a = from.a, e2 = (2.0 - from.f) * from.f;
    for (int n = 0; n < count; ++n) {
        DATUMPOINT& pt = points[n];
        if (IsUnplottable(pt)) continue;
        const double lam = (pt.x + pm) * kDegToRad, phi = pt.y * kDegToRad;
        const double sp = std::sin(phi), cp = std::cos(phi);
        double X = 0.0, Y = 0.0, Z = 0.0;
        GeodeticToGeocentric(lam, sp, cp, a, e2, &X, &Y, &Z);
        // Position-vector convention (EPSG method 9606).
        const double X2 = dx + S * (X - rz * Y + ry * Z);
        const double Y2 = dy + S * (rz * X + Y - rx * Z);
        const double Z2 = dz + S * (-ry * X + rx * Y + Z);
        double lon = 0.0, lat = 0.0;
        GeocentricToGeodetic(X2, Y2, Z2, to.a, to.f, &lon, &lat);
        pt.x = lon * kRadToDeg;
        pt.y = lat * kRadToDeg;
    }
    return true;
}

} // namespace KVProj
