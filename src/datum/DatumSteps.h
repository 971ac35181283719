// The parametric shifts' constants, prepared once per call from a step, and
// their per-point functions. The per-point loops of DatumSteps.cpp stay the
// reference; the vector loops of DatumLanes.cpp repeat the same arithmetic
// several points at a time and hand every lane they cannot take (a marker, a
// value that is not finite, a pole, a shift too large to trust to the vector
// sine and cosine) to the per-point function.
#ifndef KVPROJ_DATUM_DATUMSTEPS_H
#define KVPROJ_DATUM_DATUMSTEPS_H

#include "kvproj/datum.h"

namespace KVProj {
namespace shift {

// Standard Molodensky (h = 0) from the ellipse (a, f) to (a + Δa, f + Δf).
struct Molodensky {
    double dx, dy, dz, pm; // translation (metres) and prime meridian (degrees), signed
    double a, e2;
    double aOneMinusE2; // a (1 - e²), the numerator of the meridian radius
    double daTerm;      // Δa e² / a
    double dfM, dfN;    // Δf a / b, Δf b / a
    double toDegrees;   // 1 / (sin 1" * 3600)
};

// Seven-parameter Helmert between geocentric frames on two ellipses.
struct BursaWolf {
    double dx, dy, dz, pm; // signed as for Molodensky
    double rx, ry, rz, S;  // rotations (radians) and scale for the direction
    double a, e2;          // the ellipse the points start on
    double toA, toF;       // the ellipse they end on
};

// False for an ellipsoid the formulas cannot use (the step fails as a whole).
bool PrepareMolodensky(const DATUM2WGS84& step, Molodensky* c);
bool PrepareBursaWolf(const DATUM2WGS84& step, BursaWolf* c);

// One point in place; a marker passes unchanged.
void MolodenskyPoint(const Molodensky& c, DATUMPOINT& p);
void BursaWolfPoint(const BursaWolf& c, DATUMPOINT& p);

// The same over an array, a vector of points at a time (instruction set
// chosen at run time); each point's result depends on that point alone.
void MolodenskyLanes(const Molodensky& c, DATUMPOINT* points, int count);
void BursaWolfLanes(const BursaWolf& c, DATUMPOINT* points, int count);

} // namespace shift
} // namespace KVProj

#endif
