// Datum arguments of the kvproj tool: a built-in datum by id, name or EPSG
// code, or a user-defined datum kept in a profile file.
#ifndef KVPROJ_TOOL_DATUMARGS_H
#define KVPROJ_TOOL_DATUMARGS_H

#include "kvproj/datum.h"

#include <string>

namespace kvtool {

struct DatumChoice {
    KVProj::DatumType type = KVProj::DATUM_NONE; // 0 for a custom datum
    KVProj::DATUM2WGS84 step{};                  // its step to WGS 84
    std::string name;
    bool custom = false;
};

// Resolves `arg`: a built-in id 1..253, an EPSG geodetic datum code (plain or
// "EPSG:6267"), a built-in name or one of the short names "WGS84", "WGS72",
// "NAD83", "NAD27", "ED50" (with or without a blank) in any letter case, or
// else the name of a custom datum in `profile` (which may be empty). On
// failure `error` says why.
bool ResolveDatum(const std::string& arg, const std::string& profile, DatumChoice* out,
                  std::string* error);

// A conversion request from `src` to `dest`. A custom destination's step is
// marked inverse, as the engine expects of a caller-defined destination.
KVProj::DATUMXFORM MakeDatumXform(const DatumChoice& src, const DatumChoice& dest);

// The ellipsoid a datum's coordinates refer to, for the Molodensky and
// Bursa-Wolf datums (`ellipsoid` 0 with the axis and flattening for a custom
// figure). False for the grid, regression and pass-through datums, which do
// not carry one.
bool DatumEllipsoid(const DatumChoice& datum, int* ellipsoid, double* majorRadius,
                    double* flattening);

// Display name of a method: "Molodensky", "Bursa-Wolf", ...
const char* DatumMethodText(int method);

} // namespace kvtool

#endif
