// The parametric shifts between a datum and WGS 84: standard Molodensky on
// longitude and latitude, and the seven-parameter Bursa-Wolf transformation
// through geocentric coordinates.
#include "frame/Angles.h"
#include "datum/kvDatum.h"

#include "datum/DatumSteps.h"
#include "datum/DatumTable.h"
#include "projections/VectorPath.h"
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

namespace shift {

bool PrepareMolodensky(const DATUM2WGS84& step, Molodensky* c) {
    StepFrame fr;
    if (!MakeStepFrame(step, &fr)) return false;
    c->dx = fr.dx, c->dy = fr.dy, c->dz = fr.dz, c->pm = fr.pm;
    const double a = fr.from.a, f = fr.from.f;
    const double da = fr.to.a - fr.from.a, df = fr.to.f - fr.from.f;
    const double e2 = 2.0 * f - f * f;
    const double b = (1.0 - f) * a;
    static const double sin1 = std::sin(4.84813681109536e-6); // sine of one arcsecond
    c->a = a, c->e2 = e2;
    c->aOneMinusE2 = a * (1.0 - e2);
    c->daTerm = da * e2 / a;
    c->dfM = df * a / b, c->dfN = df * b / a;
    c->toDegrees = 1.0 / (sin1 * kArcSecPerDeg);
    return true;
}

void MolodenskyPoint(const Molodensky& c, DATUMPOINT& p) {
    if (IsUnplottable(p)) return;
    const double dx = c.dx, dy = c.dy, dz = c.dz;
    const double lonDeg = p.x + c.pm;
    const double lam = lonDeg * kDegToRad, phi = p.y * kDegToRad;
    const double sp = std::sin(phi), cp = std::cos(phi);
    const double sl = std::sin(lam), cl = std::cos(lam);
    const double w = 1.0 - c.e2 * sp * sp;
    const double sw = std::sqrt(w);
    const double N = c.a / sw;                 // prime vertical radius of curvature
    const double M = c.aOneMinusE2 / (w * sw); // meridian radius of curvature
    // DMA TR 8350.2, standard Molodensky formulas with h = 0.
    const double dphi = (-dx * sp * cl - dy * sp * sl + dz * cp + c.daTerm * N * sp * cp +
                         (c.dfM * M + c.dfN * N) * sp * cp) /
                        M;
    const double dlam = (-dx * sl + dy * cl) / (N * cp);
    p.x = lonDeg + dlam * c.toDegrees;
    p.y = p.y + dphi * c.toDegrees;
}

bool PrepareBursaWolf(const DATUM2WGS84& step, BursaWolf* c) {
    StepFrame fr;
    if (!MakeStepFrame(step, &fr)) return false;
    const bool inverse = HostFlag(step.bInverse);
    const double sign = fr.sign;
    c->dx = fr.dx, c->dy = fr.dy, c->dz = fr.dz, c->pm = fr.pm;
    c->rx = sign * step.rx * kArcSecToRad;
    c->ry = sign * step.ry * kArcSecToRad;
    c->rz = sign * step.rz * kArcSecToRad;
    c->S = inverse ? 1.0 / (1.0 + step.k * 1e-6) : 1.0 + step.k * 1e-6;
    c->a = fr.from.a, c->e2 = (2.0 - fr.from.f) * fr.from.f;
    c->toA = fr.to.a, c->toF = fr.to.f;
    return true;
}

void BursaWolfPoint(const BursaWolf& c, DATUMPOINT& pt) {
    if (IsUnplottable(pt)) return;
    const double lam = (pt.x + c.pm) * kDegToRad, phi = pt.y * kDegToRad;
    const double sp = std::sin(phi), cp = std::cos(phi);
    double X = 0.0, Y = 0.0, Z = 0.0;
    GeodeticToGeocentric(lam, sp, cp, c.a, c.e2, &X, &Y, &Z);
    // Position-vector convention (EPSG method 9606).
    const double S = c.S, rx = c.rx, ry = c.ry, rz = c.rz;
    const double X2 = c.dx + S * (X - rz * Y + ry * Z);
    const double Y2 = c.dy + S * (rz * X + Y - rx * Z);
    const double Z2 = c.dz + S * (-ry * X + rx * Y + Z);
    double lon = 0.0, lat = 0.0;
    GeocentricToGeodetic(X2, Y2, Z2, c.toA, c.toF, &lon, &lat);
    pt.x = lon * kRadToDeg;
    pt.y = lat * kRadToDeg;
}

} // namespace shift

// Both steps run the vector loops unless the per-point path is asked for.
bool MolodenskyStep(const DATUM2WGS84& step, DATUMPOINT* points, int count) {
    shift::Molodensky c;
    if (!shift::PrepareMolodensky(step, &c)) return false;
    if (VectorPathOn()) {
        shift::MolodenskyLanes(c, points, count);
        return true;
    }
    for (int n = 0; n < count; ++n)
        shift::MolodenskyPoint(c, points[n]);
    return true;
}

bool BursaWolfStep(const DATUM2WGS84& step, DATUMPOINT* points, int count) {
    shift::BursaWolf c;
    if (!shift::PrepareBursaWolf(step, &c)) return false;
    if (VectorPathOn()) {
        shift::BursaWolfLanes(c, points, count);
        return true;
    }
    for (int n = 0; n < count; ++n)
        shift::BursaWolfPoint(c, points[n]);
    return true;
}

} // namespace KVProj
