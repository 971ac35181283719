// NAD 27 to WGS 84 with the built-in Molodensky parameters, and back.
#include <kvproj/kvproj.h>

#include <cstdio>
#include <cstring>

using namespace KVProj;

int main() {
    DATUMXFORM dx;
    std::memset(&dx, 0, sizeof dx);
    if (!DatGetDatumFromName(&dx.SrcDatum, "North American Datum 1927")) return 1;
    dx.DestDatum = DATUM_WGS84;

    char message[256];
    if (DatCheckParams(&dx, message, false) != 0) {
        std::printf("bad request: %s\n", message);
        return 1;
    }
    DATUMPOINT pts[2] = {{-86.0, 32.0}, {-122.4, 37.8}};
    {
        CDatumTransform toWgs(&dx);
        if (!toWgs.IsCreated() || !toWgs.Convert(pts, 2)) return 1;
        for (const DATUMPOINT& p : pts)
            std::printf("WGS 84: lon %.9f  lat %.9f\n", p.x, p.y);
    }

    // The reverse request needs a reversible source: WGS 84 to NAD 27.
    std::swap(dx.SrcDatum, dx.DestDatum);
    std::printf("NAD 27 reversible: %s\n", DatReversible(DATUM_NAD27) ? "yes" : "no");
    void* back = DatCreateDatum(&dx);
    if (!back) return 1;
    DatConvertDatum(back, pts, 2);
    for (const DATUMPOINT& p : pts)
        std::printf("NAD 27: lon %.9f  lat %.9f\n", p.x, p.y);
    std::printf("unplottables: %s\n", DatHadUnplottables(back) ? "yes" : "no");
    DatDeleteDatum(back);

    // A grid datum cannot be a destination: validation names the parameter.
    dx.SrcDatum = DATUM_WGS84;
    dx.DestDatum = DATUM_NADCON_CONUS;
    const int bad = DatCheckParams(&dx, message, false);
    std::printf("WGS 84 -> NADCON CONUS: %d \"%s\"\n", bad, message);
    return 0;
}
