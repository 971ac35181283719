// The host's error callback and the diagnostic log. Run it with KVPROJLOG set
// (for example `KVPROJLOG= ./errors`) to have the calls traced to kvproj.log.
#include <kvproj/kvproj.h>

#include <cstdio>
#include <cstring>

using namespace KVProj;

namespace {

int KVCALLBACK onError(const _KVERRINFO* info) {
    if (!(info->flags & KVERR_DETAILS)) {
        std::printf("report %u (product %u, severity %u)\n", unsigned(info->messageId),
                    unsigned(info->productCode), unsigned(info->severityCode));
        return 1; // ask for the second call with the details
    }
    std::printf("  %s, %s(%d): %s [help: %s]\n", info->moduleName, info->sourceFile,
                int(info->line), info->messageText, info->helpFile ? info->helpFile : "-");
    return 0;
}

} // namespace

int main() {
    KVRegisterCallerInstance(onError, "myapp-help.html");

    // An Albers conic whose standard parallels cancel out.
    PROJDATA pd;
    std::memset(&pd, 0, sizeof pd);
    pd.Type = PT_ALBERS;
    pd.Scale = 1.0;
    pd.Lat1 = 30.0;
    pd.Lat2 = -30.0;
    pd.Ellipsoid = ELLIPSOID_GRS80;
    pd.Zone = STATEZONE_NONE;
    void* h = ProjCreateProjection(&pd);
    std::printf("handle: %s\n", h ? "created" : "null");
    char message[kProjCheckMessageLen];
    std::printf("ProjCheckParams: %d \"%s\"\n", ProjCheckParams(&pd, message, false), message);

    // A null point array is an internal inconsistency of the caller's making.
    pd.Lat2 = 45.0;
    h = ProjCreateProjection(&pd);
    const bool ok = ProjForward(h, nullptr, 1);
    std::printf("ProjForward(null points): %s\n", ok ? "true" : "false");
    ProjDeleteProjection(h);

    KVUnregisterCallerInstance();
    std::printf("without a callback: %s\n", ProjCreateProjection(nullptr) ? "handle" : "null");
    return 0;
}
