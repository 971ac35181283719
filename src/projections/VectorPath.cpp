#include "projections/VectorPath.h"

#include <atomic>
#include <cstdlib>
#include <cstring>

namespace KVProj {

namespace {

bool ScalarRequested() {
    const char* v = std::getenv("KVPROJ_SCALAR");
    return v != nullptr && *v != '\0' && std::strcmp(v, "0") != 0;
}

// Atomic: conversions on several threads read it while a test may set it.
std::atomic<bool>& VectorSwitch() {
    static std::atomic<bool> on{!ScalarRequested()};
    return on;
}

} // namespace

bool VectorPathOn() {
    return VectorSwitch().load(std::memory_order_relaxed);
}

void SetVectorPath(bool on) {
    VectorSwitch().store(on, std::memory_order_relaxed);
}

} // namespace KVProj
