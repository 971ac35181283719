// libFuzzer target: the reference file reader on arbitrary bytes; every control
// point it claims is touched, then the records are written and read again.
#include "FuzzSideFile.h"
#include "kvproj/kvproj.h"

using namespace KVProj;

namespace {

void TouchControls(const GEOREF& g, unsigned int flags) {
    if (!(flags & GEOPARAM_CONTROLS) || !g.pSrc) return;
    if (!g.pDest || g.nControls < 1) __builtin_trap();
    volatile double sum = 0;
    for (int i = 0; i < g.nControls; ++i)
        sum = sum + g.pSrc[i].x + g.pSrc[i].y + g.pDest[i].x + g.pDest[i].y;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string base = FuzzFile("f.kvr", data, size);
    PROJDATA proj;
    DatumType datum;
    DATUM2WGS84 params;
    GEOREF georef{};
    unsigned int flags = 0;
    if (!KVProjRefFileReadEx(base.c_str(), &proj, &datum, &params, &georef, &flags)) {
        if (georef.pSrc || georef.pDest) __builtin_trap(); // a failed read keeps nothing
        return 0;
    }
    TouchControls(georef, flags);
    if (flags & GEOPARAM_FILE_FOUND) {
        const std::string again = FuzzDir() + "/g";
        KVProjRefFileWriteEx(again.c_str(), &proj, datum, &params, &georef);
        GEOREF second{};
        unsigned int flags2 = 0;
        if (KVProjRefFileReadEx(again.c_str(), &proj, &datum, &params, &second, &flags2))
            TouchControls(second, flags2);
        RefFreeControls(&second);
    }
    RefFreeControls(&georef);
    return 0;
}
