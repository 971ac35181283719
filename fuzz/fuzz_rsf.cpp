// libFuzzer target: the RSF reader on arbitrary bytes; every control point is
// touched, then the controls are written and read back to the same count.
#include "FuzzSideFile.h"
#include "kvproj/kvproj.h"

using namespace KVProj;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    FuzzFile("f.RSF", data, size);
    const std::string image = FuzzDir() + "/f.tif";
    GEOREF georef{};
    unsigned int flags = 0;
    if (!KVProjReadBlueMarbleRSF(image.c_str(), &georef, &flags)) {
        if (georef.pSrc) __builtin_trap();
        return 0;
    }
    if (!(flags & GEOPARAM_CONTROLS)) {
        if (georef.pSrc || georef.nControls != 0) __builtin_trap();
        return 0;
    }
    volatile double sum = 0;
    for (int i = 0; i < georef.nControls; ++i)
        sum = sum + georef.pSrc[i].x + georef.pSrc[i].y + georef.pDest[i].x + georef.pDest[i].y;
    const std::string other = FuzzDir() + "/g.tif";
    if (!KVProjWriteBlueMarbleRSF(other.c_str(), &georef)) __builtin_trap();
    GEOREF back{};
    unsigned int flags2 = 0;
    if (!KVProjReadBlueMarbleRSF(other.c_str(), &back, &flags2)) __builtin_trap();
    if (back.nControls != georef.nControls) __builtin_trap();
    RefFreeControls(&back);
    RefFreeControls(&georef);
    return 0;
}
