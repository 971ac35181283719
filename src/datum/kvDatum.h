// The datum conversion engine's steps, shared with the tests and the benchmark:
// validation and trace dump (DatumCheck.cpp), the parametric shifts
// (DatumSteps.cpp), geocentric coordinates (Geocentric.cpp) and the pipeline
// with its handles (kvDatum.cpp).
#ifndef KVPROJ_DATUM_KVDATUM_H
#define KVPROJ_DATUM_KVDATUM_H

#include "kvproj/datum.h"

namespace KVProj {

// Standard Molodensky shift (ellipsoidal height 0) of every usable point:
// datum to WGS 84, or WGS 84 to datum when step.bInverse is set. The step's
// MajorRadius and Flattening must already be filled. False for a bad ellipsoid.
bool MolodenskyStep(const DATUM2WGS84& step, DATUMPOINT* points, int count);
// Seven-parameter Bursa-Wolf shift (position-vector rotations) through
// geocentric coordinates, in the direction given by step.bInverse.
bool BursaWolfStep(const DATUM2WGS84& step, DATUMPOINT* points, int count);
// Longitude (radians), sine and cosine of latitude at height 0 to geocentric
// X, Y, Z (metres) on the ellipsoid of semi-major axis a and eccentricity² e2.
void GeodeticToGeocentric(double lam, double sinPhi, double cosPhi, double a, double e2, double* X,
                          double* Y, double* Z);
// Geocentric X, Y, Z (metres) to longitude and latitude (radians) on (a, f).
void GeocentricToGeodetic(double X, double Y, double Z, double a, double f, double* lon,
                          double* lat);
// Writes the record field by field to the diagnostic log when it is enabled.
void DatDumpXform(const DATUMXFORM* xform);

} // namespace KVProj

#endif
