// Shared by the side-file fuzz targets: the readers take file names, so each
// input is written to a file in a private scratch folder (on /dev/shm when
// there is one) before the reader runs.
#ifndef KVPROJ_FUZZ_FUZZSIDEFILE_H
#define KVPROJ_FUZZ_FUZZSIDEFILE_H

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <unistd.h>

inline std::string& FuzzDirName() {
    static std::string name;
    return name;
}

// Removes the scratch folder and what the targets put in it when the run ends.
inline void RemoveFuzzDir() {
    const std::string& dir = FuzzDirName();
    for (const char* f : {"f.kvr", "g.kvr", "f.tfW", "g.tfW", "f.RSF", "g.RSF"})
        std::remove((dir + "/" + f).c_str());
    rmdir(dir.c_str());
}

inline const std::string& FuzzDir() {
    static const std::string& dir = [] () -> const std::string& {
        std::string pattern = access("/dev/shm", W_OK) == 0 ? "/dev/shm/kvfuzzXXXXXX"
                                                             : "/tmp/kvfuzzXXXXXX";
        if (!mkdtemp(&pattern[0])) std::abort();
        FuzzDirName() = pattern;
        std::atexit(RemoveFuzzDir);
        return FuzzDirName();
    }();
    return dir;
}

// Writes the input to `name` in the scratch folder; returns the folder-qualified base.
inline std::string FuzzFile(const char* name, const uint8_t* data, size_t size) {
    const std::string path = FuzzDir() + "/" + name;
    std::FILE* f = std::fopen(path.c_str(), "wb");
    if (!f) std::abort();
    if (size && std::fwrite(data, 1, size, f) != size) std::abort();
    std::fclose(f);
    return path;
}

#endif
