// Host registration and file-name helpers of the companion library.
#include "kvlibw/kvlibw.h"

#include <atomic>
#include <cstring>
#include <memory>
#include <mutex>

namespace {

std::mutex g_registrationLock;
std::unique_ptr<KVCallerInstance> g_instance;
std::atomic<KVCallerInstance*> g_current{nullptr};

// Start of the final path component (after the last '/' or '\\').
const char* BaseName(const char* path) {
    const char* base = path;
    for (const char* p = path; *p; ++p)
        if (*p == '/' || *p == '\\') base = p + 1;
    return base;
}

// The dot that starts the extension, or null. A name that is only a leading
// dot (".profile") has no extension.
const char* ExtensionDot(const char* path) {
    const char* base = BaseName(path);
    const char* dot = std::strrchr(base, '.');
    if (!dot || dot == base) return nullptr;
    return dot;
}

} // namespace

KVCallerInstance::KVCallerInstance(KVERRORFUNC errorFunc, const char* helpFileName)
    : m_errorFunc(errorFunc), m_hasHelp(helpFileName != nullptr), m_helpFile{} {
    if (helpFileName) {
        std::strncpy(m_helpFile, helpFileName, sizeof m_helpFile - 1);
        m_helpFile[sizeof m_helpFile - 1] = '\0';
    }
}

KVERRORFUNC KVCallerInstance::GetErrorFunc() const { return m_errorFunc; }

const char* KVCallerInstance::GetHelpFileNamePtr() const {
    return m_hasHelp ? m_helpFile : nullptr;
}

void KVRegisterCallerInstance(KVERRORFUNC errorFunc, const char* helpFileName) {
    std::lock_guard<std::mutex> lock(g_registrationLock);
    // The old instance is kept alive until the next registration so that a
    // report running on another thread never sees a freed record.
    static std::unique_ptr<KVCallerInstance> retired;
    auto fresh = std::make_unique<KVCallerInstance>(errorFunc, helpFileName);
    g_current.store(fresh.get());
    retired = std::move(g_instance);
    g_instance = std::move(fresh);
}

void KVUnregisterCallerInstance() {
    std::lock_guard<std::mutex> lock(g_registrationLock);
    g_current.store(nullptr);
}

KVCallerInstance* KVGetCallerInstancePtr() { return g_current.load(); }

bool KVGetFileExt(const char* path, char* ext, size_t extSize) {
    if (!ext || extSize == 0) return false;
    ext[0] = '\0';
    if (!path) return false;
    const char* dot = ExtensionDot(path);
    if (!dot) return false;
    std::strncpy(ext, dot + 1, extSize - 1);
    ext[extSize - 1] = '\0';
    return true;
}

bool KVDropFileExt(char* path) {
    if (!path) return false;
    const char* dot = ExtensionDot(path);
    if (!dot) return false;
    path[dot - path] = '\0';
    return true;
}
