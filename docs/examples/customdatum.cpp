// A user-defined datum kept in an INI profile, then used as the source of a
// conversion to WGS 84. Usage: customdatum PROFILE
#include <kvproj/kvproj.h>

#include <cstdio>
#include <cstring>

using namespace KVProj;

int main(int argc, char** argv) {
    if (argc != 2) return 2;
    const char* profile = argv[1];

    // Everything the datum needs: method, ellipsoid and the shift to WGS 84.
    DATUM2WGS84 step;
    std::memset(&step, 0, sizeof step);
    step.Method = DM_BURSA;
    step.bInverse = false; // datum -> WGS 84
    step.Ellipsoid = ELLIPSOID_INTERNATIONAL_1924;
    step.dx = -87.0;
    step.dy = -98.0;
    step.dz = -121.0;
    step.rx = 0.1;
    step.ry = -0.2;
    step.rz = 0.3;
    step.k = 1.5;
    if (!NDatSave(profile, "Survey 1950 (local fit)", &step)) return 1;

    std::printf("datums (built-in and custom): %d\n", NDatNumDatums(profile));
    char name[256];
    for (int i = DatNumDatums(); i < NDatNumDatums(profile); ++i)
        if (NDatEnumDatumName(profile, name, i)) std::printf("  %d: %s\n", i, name);
    int index = 0;
    NDatExists(profile, "survey 1950 (LOCAL FIT)", &index);
    std::printf("found (any letter case) at %d, reversible: %s\n", index,
                NDatReversible(profile, "Survey 1950 (local fit)") ? "yes" : "no");

    DATUMXFORM dx;
    std::memset(&dx, 0, sizeof dx);
    dx.SrcDatum = DATUM_USER_DEFINED; // Step1 comes from the caller
    dx.DestDatum = DATUM_WGS84;
    if (!NDatGetDatumParams(profile, "Survey 1950 (local fit)", &dx.Step1)) return 1;
    std::printf("read back: a=%.1f 1/f=%.1f dx=%.1f k=%.1f\n", dx.Step1.MajorRadius,
                1.0 / dx.Step1.Flattening, dx.Step1.dx, dx.Step1.k);

    DATUMPOINT p = {10.0, 50.0};
    CDatumTransform t(&dx);
    if (!t.Convert(&p, 1)) return 1;
    std::printf("WGS 84: lon %.9f  lat %.9f\n", p.x, p.y);

    // Built-in names are reserved: they cannot be stored as custom datums.
    DatumType builtIn = DATUM_NONE;
    const bool reserved = NDatIsBuiltIn(profile, "world geodetic system 1984", &builtIn);
    std::printf("\"world geodetic system 1984\" is built in: %s (%d); saving it: %s\n",
                reserved ? "yes" : "no", int(builtIn),
                NDatSave(profile, "world geodetic system 1984", &step) ? "saved" : "refused");
    return 0;
}
