// The few operating-system services the library needs, behind one small interface.
#ifndef KVPROJ_FRAME_PLATFORM_H
#define KVPROJ_FRAME_PLATFORM_H

#include <cstddef>

namespace KVProj {
namespace Platform {

// True when the environment variable exists (its value is not looked at).
bool EnvExists(const char* name);

// Full path of the diagnostic log: "kvproj.log" in $TMPDIR (default /tmp).
void DefaultLogPath(char* buffer, size_t size);

// Appends `size` bytes to `path`, creating the file (mode 0600) when needed.
// Symbolic links are not followed, and anything but a regular file (a FIFO, a
// device) is refused without blocking. Returns false when the file cannot be
// opened or written.
bool AppendToFile(const char* path, const char* data, size_t size);

// The directory of the running executable, with a trailing separator.
bool ExecutableDirectory(char* buffer, size_t size);

// The current local time as text ending in a line feed, as ctime gives it.
void CurrentTimeText(char* buffer, size_t size);

// Clears the floating-point status flags.
void ClearFloatStatus();

} // namespace Platform
} // namespace KVProj

#endif
