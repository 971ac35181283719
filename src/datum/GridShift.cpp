// Stand-in for the grid readers while the library ships without them: every
// grid-shift request behaves as if its grid file were absent, with the same
// log lines and results, so callers already see the final failure paths.
// Remove this file when dNadcon.cpp and Ntv2.cpp provide the real shifts.
#include "datum/GridShift.h"

#include "frame/Diag.h"
#include "frame/Platform.h"

#include <cstdio>

namespace KVProj {
namespace {

constexpr int kPathLen = 260;

void besideExecutable(char* out, const char* fileName) {
    char dir[kPathLen] = "";
    if (!Platform::ExecutableDirectory(dir, sizeof dir)) dir[0] = '\0';
    std::snprintf(out, kPathLen, "%s%s", dir, fileName);
}

} // namespace

bool NadconShift(const char* area, DATUMPOINT* /*points*/, int /*count*/) {
    LogPrintf("----------------NADCON--------------\n");
    char las[kPathLen], los[kPathLen], name[kPathLen];
    std::snprintf(name, sizeof name, "%s.LAS", area ? area : "");
    besideExecutable(las, name);
    std::snprintf(name, sizeof name, "%s.LOS", area ? area : "");
    besideExecutable(los, name);
    KV_ASSERT_FAIL();
    LogPrintf("Failed opening grid files (%s and %s)\n", las, los);
    return false;
}

int NTV2Transform(int count, DATUMPOINT* points, bool inverse) {
    LogPrintf("NTV2Transform(iNumPoints=%d, pPoints=%p, bInverse=%s)\n", count,
              static_cast<void*>(points), inverse ? "true" : "false");
    LogPrintf("NTV2Startup\n");
    char path[kPathLen];
    besideExecutable(path, "NTV2_0.GSB");
    LogPrintf("LoadShiftFile('%s')\n", path);
    LogPrintf("File open failed.\n");
    LogPrintf("NTV2: Failed loading grid shift file '%s'\n", path);
    return NTV2_OPEN_FAILED;
}

} // namespace KVProj
