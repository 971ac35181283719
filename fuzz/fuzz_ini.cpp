// libFuzzer target: the private-profile reader and writer on arbitrary files.
#include "frame/IniProfile.h"

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <string>
#include <unistd.h>
#include <vector>

namespace {

std::string scratchPath() {
    return "/tmp/kvproj_fuzz_ini_" + std::to_string(::getpid()) + ".ini";
}

void writeFile(const std::string& path, const uint8_t* data, size_t size) {
    if (std::FILE* f = std::fopen(path.c_str(), "wb")) {
        if (size) std::fwrite(data, 1, size, f);
        std::fclose(f);
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static const std::string path = scratchPath();
    writeFile(path, data, size);

    // Section names taken from the input itself as well as the usual one.
    std::string name = "Custom Datums";
    if (size > 2)
        name.assign(reinterpret_cast<const char*>(data) + 1,
                    std::min<size_t>(data[0] % 16, size - 1));
    name = name.c_str(); // a name is a C string

    for (size_t bufSize : {size_t(32767), size_t(7), size_t(2)}) {
        std::vector<char> buf(bufSize + 1, '\x7f');
        size_t n = KVProj::Ini::GetSection(path.c_str(), name.c_str(), buf.data(), bufSize);
        if (n > bufSize || buf[bufSize] != '\x7f') __builtin_trap();
        if (bufSize >= 2 && (buf[n] != '\0' || (n > 0 && buf[n - 1] != '\0' && n != bufSize - 2)))
            __builtin_trap();
    }

    // Rewrite the section with entries of its own; they must read back.
    const char lines[] = "a=1\0b=two\0";
    if (KVProj::Ini::WriteSection(path.c_str(), name.c_str(), lines)) {
        std::vector<char> buf(32767);
        KVProj::Ini::GetSection(path.c_str(), name.c_str(), buf.data(), buf.size());
    }
    KVProj::Ini::WriteSection(path.c_str(), name.c_str(), nullptr);
    std::remove(path.c_str());
    return 0;
}
