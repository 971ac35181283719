// The stages of "kvproj convert" when the sides are given as coordinate
// systems (--src, --dst): each side's projection and the datum shift that
// follows from the two sides' datums.
#ifndef KVPROJ_TOOL_CRSSTAGES_H
#define KVPROJ_TOOL_CRSSTAGES_H

#include "ConvertStream.h"
#include "ProjArgs.h"

#include <string>

namespace kvtool {

// --src-datum / --dst-datum (and the profile naming custom ones): they
// override the datum of their side.
struct CrsDatums {
    std::string src, dst, profile;
};

// Fills `stages`: the inverse of the source projection, the datum shift when
// both datums are known (a note on standard error when only one is), the
// destination projection. A geographic side has no projection stage. False
// with *error for a system that cannot be resolved or used.
bool CrsPipeline(const CrsArgs& a, const CrsDatums& d, Pipeline* stages, std::string* error);

} // namespace kvtool

#endif
