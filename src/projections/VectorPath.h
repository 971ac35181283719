// Whether the modules that have a vectorised per-point loop run it, or the
// per-point functions that stay the reference. Decided once per process from
// the environment (KVPROJ_SCALAR set to anything but "" or "0" keeps the
// per-point path); the tests and benchmarks switch it to compare both paths.
#ifndef KVPROJ_PROJECTIONS_VECTORPATH_H
#define KVPROJ_PROJECTIONS_VECTORPATH_H

namespace KVProj {

bool VectorPathOn();
void SetVectorPath(bool on);

} // namespace KVProj

#endif
