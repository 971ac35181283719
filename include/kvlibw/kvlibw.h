// kvlibw: the companion library that carries a host's registration (error
// callback, help file name), small file-name helpers and, later, TIFF tag access.
#ifndef KVLIBW_KVLIBW_H
#define KVLIBW_KVLIBW_H

#include <cstddef>
#include <cstdint>

#if defined(_WIN32)
#if defined(KVLIBW_BUILDING)
#define KVLIBW_API __declspec(dllexport)
#else
#define KVLIBW_API __declspec(dllimport)
#endif
#define KVCALLBACK __stdcall
#else
#define KVLIBW_API __attribute__((visibility("default")))
#define KVCALLBACK
#endif

#pragma pack(push, 1)
// Error report handed to the host's callback. The first call carries only the
// ids; when the host answers 1 a second call follows with KVERR_DETAILS set in
// `flags` and the detail fields filled in.
struct _KVERRINFO {
    uint16_t flags;
    uint16_t messageId;
    uint16_t productCode;  // always 133
    uint16_t severityCode; // always 2
    uint32_t reserved;     // always 0
    const char* moduleName;
    const char* sourceFile;
    int32_t line;
    const char* messageText;
    const char* helpFile;
};
#pragma pack(pop)

// 32 bytes with 32-bit pointers; the field order is kept on every platform.
static_assert(sizeof(_KVERRINFO) == 16 + 4 * sizeof(void*), "_KVERRINFO must stay packed");
static_assert(offsetof(_KVERRINFO, messageId) == 2, "_KVERRINFO layout");
static_assert(offsetof(_KVERRINFO, productCode) == 4, "_KVERRINFO layout");
static_assert(offsetof(_KVERRINFO, severityCode) == 6, "_KVERRINFO layout");
static_assert(offsetof(_KVERRINFO, reserved) == 8, "_KVERRINFO layout");
static_assert(offsetof(_KVERRINFO, moduleName) == 12, "_KVERRINFO layout");
static_assert(offsetof(_KVERRINFO, sourceFile) == 12 + sizeof(void*), "_KVERRINFO layout");
static_assert(offsetof(_KVERRINFO, line) == 12 + 2 * sizeof(void*), "_KVERRINFO layout");
static_assert(offsetof(_KVERRINFO, messageText) == 16 + 2 * sizeof(void*), "_KVERRINFO layout");
static_assert(offsetof(_KVERRINFO, helpFile) == 16 + 3 * sizeof(void*), "_KVERRINFO layout");

#define KVERR_DETAILS 0x4000

// Host answers to a report: 1 asks for the detailed second call; 3 means the
// report was refused (the reporting function then sees failure).
typedef int(KVCALLBACK* KVERRORFUNC)(const _KVERRINFO* info);

// A host's registration. One per process; the library asks for it on every report.
class KVLIBW_API KVCallerInstance {
public:
    KVCallerInstance(KVERRORFUNC errorFunc, const char* helpFileName);
    KVERRORFUNC GetErrorFunc() const;
    const char* GetHelpFileNamePtr() const; // null when the host gave none

private:
    KVERRORFUNC m_errorFunc;
    bool m_hasHelp;
    char m_helpFile[260];
};

// Registers the host (replacing an earlier registration). `errorFunc` may be
// null (reports are then silent); `helpFileName` is copied, at most 259 chars.
KVLIBW_API void KVRegisterCallerInstance(KVERRORFUNC errorFunc, const char* helpFileName);
// Forgets the registration; KVGetCallerInstancePtr() returns null afterwards.
KVLIBW_API void KVUnregisterCallerInstance();
// The current registration, or null when no host registered.
KVLIBW_API KVCallerInstance* KVGetCallerInstancePtr();

// Copies the extension of `path` (the text after the last '.' of the final path
// component, without the dot) into `ext` of `extSize` bytes, truncating.
// Returns false (and writes "") when the name has no extension or on null arguments.
KVLIBW_API bool KVGetFileExt(const char* path, char* ext, size_t extSize);
// Removes the extension and its dot from `path` in place; false when there is none.
KVLIBW_API bool KVDropFileExt(char* path);

// TIFF tag access (KVBitLib, KVBitmapTag, KVBitmapTagList) is declared in
// kvlibw/bitmaptag.h.

#endif
