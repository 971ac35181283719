#include "frame/SiblingFile.h"

#include "frame/Diag.h"
#include "frame/Firewall.h"
#include "frame/Platform.h"
#include "frame/TextFile.h"
#include "frame/Util.h"

#include <cstring>
#include <mutex>

#include <dirent.h>
#include <sys/stat.h>

namespace KVProj {
namespace {

char LowerAscii(char c) {
    return (c >= 'A' && c <= 'Z') ? static_cast<char>(c - 'A' + 'a') : c;
}

std::mutex g_gridDirMutex;
std::vector<std::string> g_gridDirs; // empty: the executable's directory

std::string AsFolder(std::string dir) {
    if (!dir.empty() && dir.back() != '/') dir += '/';
    return dir;
}

bool IsRegularFile(const std::string& path) {
    struct stat st;
    return ::stat(path.c_str(), &st) == 0 && S_ISREG(st.st_mode);
}

} // namespace

bool EqualIgnoringCase(const char* a, const char* b) {
    if (!a || !b) return a == b;
    for (; *a && *b; ++a, ++b)
        if (LowerAscii(*a) != LowerAscii(*b)) return false;
    return *a == *b;
}

std::string FindIgnoringCase(const std::string& path) {
    if (path.empty()) return std::string();
    struct stat st;
    if (::stat(path.c_str(), &st) == 0) return path;
    size_t slash = path.rfind('/');
    std::string dir = slash == std::string::npos ? std::string(".") : path.substr(0, slash + 1);
    std::string prefix = slash == std::string::npos ? std::string() : dir;
    std::string name = slash == std::string::npos ? path : path.substr(slash + 1);
    if (name.empty()) return std::string();
    DIR* d = ::opendir(dir.c_str());
    if (!d) return std::string();
    std::string found;
    while (struct dirent* e = ::readdir(d)) {
        if (!EqualIgnoringCase(e->d_name, name.c_str())) continue;
        std::string candidate = prefix + e->d_name;
        if (IsRegularFile(candidate)) {
            found = candidate;
            break;
        }
    }
    ::closedir(d);
    return found;
}

std::string WithExtension(const std::string& path, const char* extension) {
    size_t slash = path.rfind('/');
    size_t dot = path.rfind('.');
    std::string stem = (dot != std::string::npos && (slash == std::string::npos || dot > slash))
                           ? path.substr(0, dot)
                           : path;
    return stem + (extension ? extension : "");
}

std::string BesideExecutable(const char* name) {
    char dir[4096];
    if (!Platform::ExecutableDirectory(dir, sizeof dir)) return std::string();
    return std::string(dir) + (name ? name : "");
}

void GridSetSearchDirectory(const char* dir) {
    KV_GUARDED_VOID([&] {
        std::vector<std::string> dirs;
        if (dir && *dir) dirs.push_back(AsFolder(dir));
        std::lock_guard<std::mutex> lock(g_gridDirMutex);
        g_gridDirs.swap(dirs);
    });
}

void GridSetSearchPath(const char* path) {
    KV_GUARDED_VOID([&] {
        std::vector<std::string> dirs;
        const std::string text = path ? path : "";
        for (size_t start = 0; start <= text.size();) {
            size_t end = text.find(':', start);
            if (end == std::string::npos) end = text.size();
            if (end > start) dirs.push_back(AsFolder(text.substr(start, end - start)));
            start = end + 1;
        }
        std::lock_guard<std::mutex> lock(g_gridDirMutex);
        g_gridDirs.swap(dirs);
    });
}

std::vector<std::string> GridSearchFolders() {
    std::vector<std::string> dirs;
    {
        std::lock_guard<std::mutex> lock(g_gridDirMutex);
        dirs = g_gridDirs;
    }
    if (dirs.empty()) {
        const std::string beside = BesideExecutable("");
        if (!beside.empty()) dirs.push_back(beside);
    }
    return dirs;
}

bool GridPathBeside(const char* fileName, char* out, size_t size) {
    if (!out || size == 0) return false;
    out[0] = '\0';
    return KV_GUARDED(false, [&] {
        const std::vector<std::string> dirs = GridSearchFolders();
        if (dirs.empty()) return false;
        const char* name = fileName ? fileName : "";
        std::string path;
        for (const std::string& dir : dirs)
            if (!FindIgnoringCase(dir + name).empty()) {
                path = dir + name;
                break;
            }
        if (path.empty()) path = dirs.front() + name; // named in the messages
        if (path.size() >= size) return false;
        std::memcpy(out, path.c_str(), path.size() + 1);
        return true;
    });
}

std::FILE* GridOpenEitherCase(const char* path) {
    if (!path || !*path) return nullptr;
    return KV_GUARDED(static_cast<std::FILE*>(nullptr), [&] {
        const std::string found = FindIgnoringCase(path);
        return found.empty() ? nullptr : OpenRegularFile(found.c_str());
    });
}

} // namespace KVProj
