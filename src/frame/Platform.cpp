// POSIX implementation of the platform services. Every other source file stays portable.
#include "frame/Platform.h"

#include <cfenv>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace KVProj {
namespace Platform {

bool EnvExists(const char* name) {
    return name && std::getenv(name) != nullptr;
}

void DefaultLogPath(char* buffer, size_t size) {
    if (!buffer || size == 0) return;
    const char* dir = std::getenv("TMPDIR");
    if (!dir || !*dir) dir = "/tmp";
    size_t len = std::strlen(dir);
    const char* sep = (len > 0 && dir[len - 1] == '/') ? "" : "/";
    int n = std::snprintf(buffer, size, "%s%skvproj.log", dir, sep);
    // A directory too long for the buffer would give a truncated, wrong path.
    if (n < 0 || static_cast<size_t>(n) >= size) std::snprintf(buffer, size, "/tmp/kvproj.log");
}

bool AppendToFile(const char* path, const char* data, size_t size) {
    if (!path || !data) return false;
    // Non-blocking, so that a FIFO without a reader fails at once instead of
    // waiting; anything but a regular file is then refused unwritten.
    int fd =
        ::open(path, O_WRONLY | O_CREAT | O_APPEND | O_NOFOLLOW | O_CLOEXEC | O_NONBLOCK, 0600);
    if (fd < 0) return false;
    struct stat st;
    if (::fstat(fd, &st) != 0 || !S_ISREG(st.st_mode)) {
        ::close(fd);
        return false;
    }
    bool ok = true;
    while (size > 0) {
        ssize_t n = ::write(fd, data, size);
        if (n <= 0) {
            ok = false;
            break;
        }
        data += n;
        size -= static_cast<size_t>(n);
    }
    ::close(fd);
    return ok;
}

bool ExecutableDirectory(char* buffer, size_t size) {
    if (!buffer || size < 2) return false;
    ssize_t n = ::readlink("/proc/self/exe", buffer, size - 1);
    if (n <= 0 || static_cast<size_t>(n) >= size - 1) {
        buffer[0] = '\0';
        return false;
    }
    buffer[n] = '\0';
    char* slash = std::strrchr(buffer, '/');
    if (!slash) {
        buffer[0] = '\0';
        return false;
    }
    slash[1] = '\0';
    return true;
}

void CurrentTimeText(char* buffer, size_t size) {
    if (!buffer || size == 0) return;
    std::time_t now = std::time(nullptr);
    char text[64];
    if (!::ctime_r(&now, text)) std::strcpy(text, "(unknown time)\n");
    std::snprintf(buffer, size, "%s", text);
}

void ClearFloatStatus() {
    std::feclearexcept(FE_ALL_EXCEPT);
}

} // namespace Platform
} // namespace KVProj
