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
// Variadic, so that commas in the lambda's body need no extra parentheses.
#define KV_GUARDED(failValue, ...)                                                                 \
    ::KVProj::CallGuarded(::KVProj::SourceName(__FILE__), __LINE__, (failValue), __VA_ARGS__)
#define KV_GUARDED_VOID(...)                                                                       \
    ::KVProj::CallGuardedVoid(::KVProj::SourceName(__FILE__), __LINE__, __VA_ARGS__)

#endif
