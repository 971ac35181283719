#include "formats/SideFile.h"

#include "frame/CNumber.h"
#include "frame/SiblingFile.h"
#include "kvlibw/kvlibw.h"

#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <sys/stat.h>
#include <vector>

namespace KVProj {

std::string FileNumber(double value) { return FormatCString("%.15lG", value); }

int AtoiC(const char* text) {
    if (!text) return 0;
    errno = 0;
    const long long v = std::strtoll(text, nullptr, 10); // digits only: no locale involved
    if (v > INT_MAX) return INT_MAX;
    if (v < INT_MIN) return INT_MIN;
    return static_cast<int>(v);
}

std::string FileExtension(const char* name) {
    if (!name) return std::string();
    std::vector<char> ext(std::strlen(name) + 1);
    KVGetFileExt(name, ext.data(), ext.size());
    return ext.data();
}

std::string DropExtension(const char* name) {
    if (!name) return std::string();
    std::vector<char> stem(name, name + std::strlen(name) + 1);
    KVDropFileExt(stem.data());
    return stem.data();
}

std::string WorldFileName(const char* image, bool shortWhole) {
    const std::string ext = FileExtension(image);
    if (ext.size() >= 3) return DropExtension(image) + "." + ext[0] + ext[2] + "W";
    return (shortWhole ? std::string(image ? image : "") : DropExtension(image)) + "W";
}

std::string RsfFileName(const char* image) { return DropExtension(image) + ".RSF"; }

std::string FindSideFile(const std::string& name) { return FindIgnoringCase(name); }

bool RemoveIfPresent(const std::string& path) {
    const std::string found = FindIgnoringCase(path);
    if (found.empty()) return true;
    struct stat st;
    if (::lstat(found.c_str(), &st) == 0 && S_ISDIR(st.st_mode)) return false; // never a folder
    if (std::remove(found.c_str()) == 0) return true;
    return errno == ENOENT;
}

} // namespace KVProj
