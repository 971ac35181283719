// Grid-shift datums. The grids are read from the directory of the running
// executable: "NTV2_0.GSB" for the NTv2 datum, "conus.LAS"/"conus.LOS" and
// "prvi.LAS"/"prvi.LOS" for the NADCON datums (all-lower-case names also do).
#include <kvproj/kvproj.h>

#include <cstdio>
#include <cstring>

using namespace KVProj;

namespace {

int KVCALLBACK onError(const _KVERRINFO* info) {
    if (!(info->flags & KVERR_DETAILS)) return 1;
    std::printf("  report %u: %s\n", unsigned(info->messageId), info->messageText);
    return 0;
}

void toWgs84(DatumType source, double lon, double lat) {
    char name[256];
    DatGetDatumName(source, name);
    std::printf("%s:\n", name);
    DATUMXFORM dx;
    std::memset(&dx, 0, sizeof dx);
    dx.SrcDatum = source;
    dx.DestDatum = DATUM_WGS84;
    void* h = DatCreateDatum(&dx);
    DATUMPOINT p = {lon, lat};
    if (h && DatConvertDatum(h, &p, 1))
        std::printf("  (%.6f, %.6f) -> (%.9f, %.9f)\n", lon, lat, p.x, p.y);
    else
        std::printf("  conversion failed\n");
    DatDeleteDatum(h);
}

} // namespace

int main() {
    KVRegisterCallerInstance(onError, nullptr);
    toWgs84(DATUM_NTV2_CANADA, 2.35, 48.85);
    toWgs84(DATUM_NADCON_CONUS, -86.0, 32.0);
    return 0;
}
