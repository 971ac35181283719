// The folders searched for grid files, as hosts set and read them.
#include "kvproj/datum.h"

#include "datum/GridShift.h"
#include "frame/Diag.h"
#include "frame/Firewall.h"

#include <cstring>
#include <string>

namespace KVProj {

void DatSetGridSearchPath(const char* path) {
    KV_GUARDED_VOID([&] {
        LogPrintf("DatSetGridSearchPath(pszPath=%s)\n", path ? path : "(null)");
        GridSetSearchPath(path);
        NTV2Shutdown();
    });
}

bool DatGetGridSearchPath(char* out, int size) {
    return KV_GUARDED(false, [&] {
        LogPrintf("DatGetGridSearchPath(pszOut=%p, nSize=%d)\n", static_cast<void*>(out), size);
        if (!out || size < 1) return false;
        out[0] = '\0';
        std::string text;
        for (const std::string& dir : GridSearchFolders())
            text += (text.empty() ? "" : ":") + dir;
        if (text.empty() || text.size() >= static_cast<size_t>(size)) return false;
        std::memcpy(out, text.c_str(), text.size() + 1);
        return true;
    });
}

} // namespace KVProj
