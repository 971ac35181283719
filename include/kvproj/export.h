// Export macro and platform conventions shared by every public kvproj header.
#ifndef KVPROJ_EXPORT_H
#define KVPROJ_EXPORT_H

#if defined(_WIN32)
#if defined(KVPROJ_BUILDING)
#define KVPROJ_API __declspec(dllexport)
#else
#define KVPROJ_API __declspec(dllimport)
#endif
#else
#define KVPROJ_API __attribute__((visibility("default")))
#endif

// Size of every name buffer that catalogue functions fill (terminator included).
#define KVPROJ_NAME_LEN 80

// The unplottable marker: both coordinates of a point that cannot be converted.
#define KVPROJ_UNPLOTTABLE 1.7976931348623157e308

namespace KVProj {
// Version of the loaded library, "major.minor.patch".
KVPROJ_API const char* KVProjVersion();
} // namespace KVProj

#endif
