// The exception firewall: every exported function runs its body through it, so
// that no exception ever reaches the host. An escaping exception is reported as
// an internal inconsistency (file and line of the exported function) and the
// function returns its failure value.
#ifndef KVPROJ_FRAME_FIREWALL_H
#define KVPROJ_FRAME_FIREWALL_H

#include "frame/Diag.h"

#include <utility>

namespace KVProj {

template <typename R, typename Fn>
R CallGuarded(const char* sourceFile, int line, R failValue, Fn&& body) noexcept {
    try {
        return std::forward<Fn>(body)();
    } catch (...) {
        try {
            ReportAssertion(sourceFile, line);
        } catch (...) {
        }
        return failValue;
    }
}

template <typename Fn> void CallGuardedVoid(const char* sourceFile, int line, Fn&& body) noexcept {
    try {
        std::forward<Fn>(body)();
    } catch (...) {
        try {
            ReportAssertion(sourceFile, line);
        } catch (...) {
        }
    }
}

} // namespace KVProj

// KV_GUARDED(false, [&] { ... return true; }) in the body of an exported function.
#define KV_GUARDED(failValue, body) \
    ::KVProj::CallGuarded(::KVProj::SourceName(__FILE__), __LINE__, (failValue), body)
#define KV_GUARDED_VOID(body) ::KVProj::CallGuardedVoid(::KVProj::SourceName(__FILE__), __LINE__, body)

#endif
