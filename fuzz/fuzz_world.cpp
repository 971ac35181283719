// libFuzzer target: the world file reader on arbitrary bytes, then the writer
// on what it read and the reader once more.
#include "FuzzSideFile.h"
#include "kvproj/kvproj.h"

using namespace KVProj;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    FuzzFile("f.tfW", data, size);
    const std::string image = FuzzDir() + "/f.tif";
    GEOREF georef{};
    unsigned int flags = 0;
    if (!KVProjReadESRIWorld(image.c_str(), &georef, &flags)) __builtin_trap();
    if (!(flags & GEOPARAM_FILE_FOUND)) __builtin_trap(); // the file is there
    if (!(flags & GEOPARAM_COEFFICIENTS)) return 0;
    if (georef.Method != TM_PRECALCULATED || georef.pSrc) __builtin_trap();
    const std::string other = FuzzDir() + "/g.tif";
    if (!KVProjWriteESRIWorld(other.c_str(), &georef)) __builtin_trap();
    GEOREF back{};
    if (!KVProjReadESRIWorld(other.c_str(), &back, &flags)) __builtin_trap();
    if (!(flags & GEOPARAM_COEFFICIENTS)) __builtin_trap(); // six lines written, six read
    return 0;
}
