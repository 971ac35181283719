// Coordinate-system arguments: EPSG codes, zone words, key=value words, files.
#include "Crs.h"

#include "Numbers.h"
#include "ProjArgs.h"
#include "Suggest.h"
#include "Text.h"

#include "formats/EpsgTables.h"
#include "formats/EsriPrj.h"
#include "frame/CNumber.h"
#include "frame/SiblingFile.h"

#include "kvlibw/bitmaptag.h"

#include <sys/stat.h>

#include <fstream>

#include <cmath>
#include <cstring>
#include <functional>

namespace kvtool {
namespace {

using namespace KVProj;

constexpr double kPi = 3.14159265358979323846;
constexpr double kDeg = kPi / 180.0;

// ---------------------------------------------------------------- EPSG figure and datum

// Axis and flattening of the record's figure.
void FillEllipsoid(EllipsoidType e, const PROJDATA& p, double* a, double* f) {
    if (e == ELLIPSOID_USER_DEFINED || !EllipsoidInfo(e, nullptr, a, f))
        *a = p.MajorRadius, *f = p.Flattening;
}

// The geographic system behind a code: datum, ellipsoid, prime meridian.
struct GeographicBase {
    int code = 0;
    std::string name;
    int datumCode = 0, ellipsoidCode = 0, meridianCode = 8901;
    double a = 0.0, rf = 0.0;
};

bool FindBase(int code, GeographicBase* out) {
    out->code = code;
    if (const EpsgGeographic* g = EpsgFindGeographic(code)) {
        const EpsgEllipsoid* e = EpsgFindEllipsoid(g->ellipsoidCode);
        if (!e) return false;
        *out = {code,
                g->name,
                g->datumCode,
                g->ellipsoidCode,
                g->primeMeridianCode,
                e->semiMajorAxis,
                e->inverseFlattening};
        return true;
    }
    if (const EpsgGeographicBase* b = EpsgFindGeographicBase(code)) {
        *out = {code,
                b->name,
                b->datumCode,
                b->ellipsoidCode,
                b->primeMeridianCode,
                b->semiMajorAxis,
                b->inverseFlattening};
        return true;
    }
    return false;
}

// The figure of the base: the library's ellipsoid when it has the code, else
// the axis and flattening of the registry.
// A library ellipsoid that only stands close to the registry's (Bessel for
// Bessel Modified) is not taken: its axis or flattening must agree.
void SetFigure(const GeographicBase& base, PROJDATA* p) {
    EllipsoidType e = ELLIPSOID_USER_DEFINED;
    double a = 0, f = 0;
    const double rf = base.rf == 0.0 ? 0.0 : 1.0 / base.rf;
    if (EllipsoidFromPOSCNumber(base.ellipsoidCode, &e) && e != ELLIPSOID_USER_DEFINED &&
        EllipsoidInfo(e, nullptr, &a, &f) && std::fabs(a - base.a) < 1e-4 &&
        (base.rf == 0.0 || std::fabs(f - rf) < 1e-12)) { // 0: the registry gives a minor axis
        p->Ellipsoid = e;
        return;
    }
    p->Ellipsoid = ELLIPSOID_USER_DEFINED;
    p->MajorRadius = base.a;
    p->Flattening = base.rf == 0.0 ? 0.0 : 1.0 / base.rf;
}

double MeridianDegrees(int code) {
    const EpsgPrimeMeridian* pm = EpsgFindPrimeMeridian(code);
    return pm ? pm->longitudeDegrees : 0.0;
}

std::string DatumName(int code) {
    const EpsgDatum* d = EpsgFindDatum(code);
    return (d ? std::string(d->name) + " " : std::string()) + "(EPSG:" + std::to_string(code) + ")";
}

// The datum: a built-in one by its EPSG code, else the registry's shift to
// WGS 84 of the geographic system (as the ".prj" reader takes it).
void SetDatum(const GeographicBase& base, const PROJDATA& figure, CrsRecord* out) {
    std::string ignored;
    if (ResolveDatum("EPSG:" + std::to_string(base.datumCode), "", &out->datum, &ignored)) {
        out->hasDatum = true;
        return;
    }
    const EpsgGeographic* g = EpsgFindGeographicByDatum(base.datumCode);
    if (!g || (g->tfmMethod != 9603 && g->tfmMethod != 9606 && g->tfmMethod != 9607)) {
        out->noDatum = "the datum " + DatumName(base.datumCode) +
                       " has no shift to WGS 84 that kvproj can apply";
        return;
    }
    DATUM2WGS84& p = out->datum.step;
    std::memset(&p, 0, sizeof p);
    p.Method = g->tfmMethod == 9603 ? DM_MOLODENSKY : DM_BURSA;
    p.Ellipsoid = figure.Ellipsoid;
    double a = 0, f = 0; // the record is packed: no pointers into it
    FillEllipsoid(p.Ellipsoid, figure, &a, &f);
    p.MajorRadius = a, p.Flattening = f;
    const double sign = g->tfmMethod == 9607 ? -1.0 : 1.0; // coordinate frame: rotations reversed
    p.dx = g->dx, p.dy = g->dy, p.dz = g->dz;
    p.rx = sign * g->rx, p.ry = sign * g->ry, p.rz = sign * g->rz;
    p.k = g->scalePpm;
    p.PMShift = MeridianDegrees(base.meridianCode);
    out->datum.type = DATUM_USER_DEFINED;
    out->datum.custom = true;
    out->datum.name = DatumName(base.datumCode);
    out->hasDatum = true;
    out->notes.push_back("datum: the registry's shift of EPSG:" + std::to_string(g->code) +
                         " to WGS 84 (" + DatumMethodText(p.Method) + ")");
}

// ---------------------------------------------------------------- EPSG methods

struct MethodRow {
    const char* word;
    const char* name; // the registry's name
    const char* gap;  // why the library cannot take it; null when it can
};
constexpr MethodRow kMethods[] = {
    {"tm", "Transverse Mercator", nullptr},
    {"lcc1", "Lambert Conic Conformal (1SP)", nullptr},
    {"lcc2", "Lambert Conic Conformal (2SP)", nullptr},
    {"aea", "Albers Equal Area", nullptr},
    {"cass", "Cassini-Soldner", "its Cassini is spherical only"},
    {"poly", "American Polyconic", nullptr},
    {"merca", "Mercator (variant A)", nullptr},
    {"mercb", "Mercator (variant B)", nullptr},
    {"webmerc", "Popular Visualisation Pseudo Mercator", nullptr},
    {"psa", "Polar Stereographic (variant A)", nullptr},
    {"psb", "Polar Stereographic (variant B)", nullptr},
    {"omerca", "Hotine Oblique Mercator (variant A)", nullptr},
    {"omercb", "Hotine Oblique Mercator (variant B)", nullptr},
    {"laea", "Lambert Azimuthal Equal Area", "its Lambert azimuthal equal-area is spherical only"},
    {"laeas", "Lambert Azimuthal Equal Area (Spherical)",
     "its Lambert azimuthal equal-area takes no authalic sphere"},
    {"sterea", "Oblique Stereographic",
     "its oblique stereographic is Snyder's conformal sphere, not the double stereographic"},
    {"eqc", "Equidistant Cylindrical", "its equidistant cylindrical is spherical only"},
};

const MethodRow* FindMethod(const std::string& word) {
    for (const MethodRow& m : kMethods)
        if (word == m.word) return &m;
    return nullptr;
}

std::string MethodGap(const std::string& word) {
    const MethodRow* m = FindMethod(word);
    return m && m->gap ? m->gap : "not translated";
}

// Scale factor of the parallel `phi` of a conformal conic with cone constant n
// and F-like constant c: k = c t^n / m (Snyder 15-9 without the a).
double ConicScale(double phi, double n, double e, double c) {
    const double s = std::sin(phi);
    const double m = std::cos(phi) / std::sqrt(1.0 - e * e * s * s); // Snyder 14-15
    const double t =
        std::tan(kPi / 4 - phi / 2) / std::pow((1 - e * s) / (1 + e * s), e / 2); // 15-9
    return c * std::pow(t, n) / m;
}

// The parallel between `from` and `to` where the scale is 1 (bisection; the
// scale grows away from the origin).
double UnitScaleParallel(double from, double to, const std::function<double(double)>& k) {
    for (int i = 0; i < 200; ++i) {
        const double mid = (from + to) / 2;
        ((k(mid) < 1.0) ? from : to) = mid;
    }
    return (from + to) / 2;
}

double Eccentricity(const PROJDATA& p) {
    double a = 0, f = 0;
    FillEllipsoid(p.Ellipsoid, p, &a, &f);
    return std::sqrt(f * (2 - f));
}

// The one-parallel Lambert conic as the two-parallel cone it equals: the
// parallels where a copy scaled to kc < 1 at the origin is true to scale.
// Returns the factor k0 / kc that the record's Scale carries.
// `parallel` is the cone's parallel of scale k0, the origin stays in Lat0.
double LambertOneParallel(double parallel, double k0, PROJDATA* p) {
    const double kc = k0 < 0.99999 ? k0 : 0.9999;
    const double e = Eccentricity(*p), phi0 = parallel * kDeg, n = std::sin(phi0);
    const double c = kc / ConicScale(phi0, n, e, 1.0);
    auto k = [&](double phi) { return ConicScale(phi, n, e, c); };
    const double south = UnitScaleParallel(phi0, phi0 - 40 * kDeg, k);
    const double north = UnitScaleParallel(phi0, phi0 + 40 * kDeg, k);
    p->Lat1 = south / kDeg;
    p->Lat2 = north / kDeg;
    return k0 / kc;
}

// Two standard parallels closer than the library's Lambert module accepts:
// the same cone through its own parallel sin(phi) = n and the scale there.
double CloseParallels(const EpsgProjected& row, PROJDATA* p) {
    if (std::fabs(row.lat1 - row.lat2) < 1e-9) return LambertOneParallel(row.lat1, 1.0, p);
    const double e = Eccentricity(*p), f1 = row.lat1 * kDeg, f2 = row.lat2 * kDeg;
    auto m = [&](double f) {
        return std::cos(f) / std::sqrt(1 - e * e * std::sin(f) * std::sin(f));
    };
    auto lnT = [&](double f) { return std::log(ConicScale(f, 1.0, e, 1.0) * m(f)); }; // ln t
    const double n = (std::log(m(f1)) - std::log(m(f2))) / (lnT(f1) - lnT(f2));       // Snyder 15-8
    const double fn = std::asin(n);
    const double k = m(f1) / std::exp(n * lnT(f1)) * std::exp(n * lnT(fn)) / m(fn);
    return LambertOneParallel(fn / kDeg, k, p);
}

// Polar stereographic variant B keeps the latitude of true scale; the module
// takes it as Lat1 beside the pole in Lat0.
void PolarB(const EpsgProjected& row, PROJDATA* p) {
    p->Lat0 = row.lat1 < 0 ? -90.0 : 90.0;
    p->Lat1 = row.lat1;
    p->K0 = 1.0;
}

// Fills `p` from the row; the factor the record's Scale must carry beyond the
// unit (a scale the library's module has no field for); 0 when the method
// cannot be expressed, with *why.
double FromMethod(const EpsgProjected& row, PROJDATA* p, std::string* why) {
    const std::string m = row.method;
    p->Lat0 = row.lat0;
    p->Lon0 = row.lon0;
    p->K0 = row.k0 > 0 ? row.k0 : 1.0;
    if (m == "tm") return (p->Type = PT_TRANSVERSE_MERCATOR), 1.0;
    if (m == "lcc2" && std::fabs(row.lat1 - row.lat2) < 0.2) // closer than the module takes
        return (p->Type = PT_LAMBERT_CONIC), CloseParallels(row, p);
    if (m == "lcc2" || m == "aea") {
        p->Type = m == "aea" ? PT_ALBERS : PT_LAMBERT_CONIC;
        p->Lat1 = row.lat1, p->Lat2 = row.lat2;
        return 1.0;
    }
    if (m == "lcc1") return (p->Type = PT_LAMBERT_CONIC), LambertOneParallel(row.lat0, p->K0, p);
    if (m == "poly") return (p->Type = PT_POLYCONIC), 1.0;
    if (m == "merca" || m == "mercb" || m == "webmerc") {
        p->Type = PT_MERCATOR;
        p->Lat0 = m == "mercb" ? row.lat1 : 0.0; // the module's Lat0 is the true-scale parallel
        if (m == "webmerc") { // the sphere of the ellipsoid's major axis, on geodetic latitudes
            double a = 0, f = 0;
            FillEllipsoid(p->Ellipsoid, *p, &a, &f);
            p->Ellipsoid = ELLIPSOID_USER_DEFINED, p->MajorRadius = a, p->Flattening = 0.0;
        }
        return m == "merca" ? p->K0 : 1.0;
    }
    if (m == "psa") return (p->Type = PT_STEREOGRAPHIC), 1.0;
    if (m == "psb") return (p->Type = PT_STEREOGRAPHIC), PolarB(row, p), 1.0;
    if (m == "omerca" || m == "omercb") {
        if (std::fabs(row.gamma - row.azimuth) > 1e-9) {
            *why = "a rectified grid angle that differs from the azimuth (the library's Hotine "
                   "oblique Mercator rotates by the azimuth)";
            return 0.0;
        }
        p->Type = PT_HOTINE;
        p->bUseAlpha = true, p->Alpha = row.azimuth, p->Lon1 = row.lon0;
        p->Lon0 = 0.0; // the centre is (Lat0, Lon1); Lon0 would shift the longitudes
        p->bRotate = true, p->bUOffset = m == "omercb";
        return 1.0;
    }
    *why = "the method " + std::string(EpsgMethodName(row.method)) +
           " (the library's module differs: " + MethodGap(m) + ")";
    return 0.0;
}

} // namespace

const char* EpsgMethodName(const char* word) {
    const MethodRow* m = FindMethod(word ? word : "");
    return m ? m->name : "?";
}

namespace {

std::string UnitName(int code) {
    switch (code) {
    case 9002:
        return "foot, ";
    case 9003:
        return "US survey foot, ";
    case 9005:
        return "Clarke's foot, ";
    default:
        return "";
    }
}

bool ProjectedCrs(const EpsgProjected& row, CrsRecord* out, std::string* error) {
    GeographicBase base;
    const std::string code = "EPSG:" + std::to_string(row.code);
    if (!FindBase(row.geographicCode, &base)) {
        *error = code + ": its geographic system EPSG:" + std::to_string(row.geographicCode) +
                 " is not in the tables";
        return false;
    }
    if (base.meridianCode != 8901 && !EpsgFindPrimeMeridian(base.meridianCode)) {
        *error = code + " (" + row.name + ") cannot be expressed: its prime meridian EPSG:" +
                 std::to_string(base.meridianCode) + " is not in the tables";
        return false;
    }
    PROJDATA& p = out->proj;
    p = EmptyProjRecord();
    SetFigure(base, &p);
    std::string why;
    const double factor = FromMethod(row, &p, &why);
    if (factor == 0.0) {
        *error = code + " (" + row.name + ") cannot be expressed: " + why;
        return false;
    }
    // Lengths: (raw + origin) * Scale, in the unit of the axes.
    const double pm = MeridianDegrees(base.meridianCode);
    p.Lon0 += pm;
    if (p.Type == PT_HOTINE) p.Lon1 += pm, p.Lon0 -= pm;
    p.xOrg = row.fe / factor;
    p.yOrg = row.fn / factor;
    p.Scale = factor / row.unitMetres;
    out->hasProj = true;
    out->title = code + " " + row.name;
    out->notes.push_back(std::string("method: ") + EpsgMethodName(row.method) +
                         " on EPSG:" + std::to_string(base.code) + " " + base.name);
    if (row.unitCode != 9001)
        out->notes.push_back("unit: " + UnitName(row.unitCode) +
                             FormatCString("%.17g", row.unitMetres) + " m (EPSG unit " +
                             std::to_string(row.unitCode) + "), in Scale");
    if (factor != 1.0)
        out->notes.push_back("scale factor " + FormatCString("%.12g", factor) +
                             " kept in Scale (the false origin divided by it)");
    if (pm != 0.0)
        out->notes.push_back("prime meridian " + FormatCString("%.10g", pm) +
                             " degrees east of Greenwich added to the longitudes");
    if (row.northingFirst)
        out->notes.push_back(
            "the registry orders the axes northing, easting; kvproj writes easting first");
    SetDatum(base, p, out);
    return true;
}

bool GeographicCrs(int code, CrsRecord* out, std::string* error) {
    GeographicBase base;
    if (!FindBase(code, &base)) {
        *error = "EPSG:" + std::to_string(code) + " is neither a projected nor a geographic " +
                 "system in the tables";
        return false;
    }
    out->proj = EmptyProjRecord();
    out->proj.Type = PT_UNPROJECTED;
    SetFigure(base, &out->proj);
    out->hasProj = true;
    out->title = "EPSG:" + std::to_string(code) + " " + base.name;
    if (MeridianDegrees(base.meridianCode) != 0.0)
        out->notes.push_back("longitudes are read and written east of Greenwich, not of the "
                             "system's own prime meridian");
    SetDatum(base, out->proj, out);
    return true;
}

// The datum a state plane zone lies on.
void ZoneDatum(CrsRecord* out) {
    const bool nad27 = out->proj.Type == PT_STATE_PLANE_27;
    std::string ignored;
    out->hasDatum = ResolveDatum(nad27 ? "NAD27" : "NAD83", "", &out->datum, &ignored);
}

bool IsFile(const std::string& path) {
    struct stat st;
    return !path.empty() && stat(path.c_str(), &st) == 0 && S_ISREG(st.st_mode);
}

void TakeRecords(const SideRecords& r, const std::string& from, CrsRecord* out) {
    if (r.hasProj && !out->hasProj) {
        out->hasProj = true;
        out->proj = r.proj;
        out->notes.push_back("projection from " + from);
    }
    if (r.hasDatum && !out->hasDatum) {
        out->hasDatum = true;
        out->datum.type = r.datum;
        out->datum.step = r.params;
        out->datum.custom = r.datum == DATUM_USER_DEFINED;
        out->datum.name = from;
        if (!out->datum.custom) {
            char name[256] = "";
            DatGetDatumName(r.datum, name);
            out->datum.name = name;
        }
        out->notes.push_back("datum from " + from);
    }
}

bool HasExtension(const std::string& file, std::initializer_list<const char*> exts) {
    const size_t dot = file.rfind('.');
    const std::string ext = dot == std::string::npos ? "" : file.substr(dot + 1);
    for (const char* e : exts)
        if (EqualIgnoringCase(ext.c_str(), e)) return true;
    return false;
}

bool ReadSmallText(const std::string& path, std::string* text) {
    std::ifstream in(path, std::ios::binary);
    if (!in) return false;
    char buffer[65536];
    in.read(buffer, sizeof buffer);
    text->assign(buffer, static_cast<size_t>(in.gcount()));
    return true;
}

// A ".prj" that names its unit "Foot" without saying which: the reader takes
// the US survey foot.
void FootWarning(const std::string& prj, CrsRecord* out) {
    std::string text;
    if (!ReadSmallText(prj, &text)) return;
    for (const char* plain : {"UNIT[\"Foot\"", "UNIT[\"Feet\"", "UNIT [\"Foot\""})
        if (text.find(plain) != std::string::npos)
            out->warnings.push_back(prj + " names the unit \"Foot\": read as the US survey foot "
                                          "(0.3048006 m), not the international foot (0.3048 m)");
}

// Map position of pixel (px, py) under coefficients A..F.
void Apply(const GEOREF& g, double px, double py, double* x, double* y) {
    *x = g.A * px + g.B * py + g.C;
    *y = g.D * px + g.E * py + g.F;
}

// A world file (pixel centres) beside GeoTIFF tags: when the two put pixel
// (0, 0) half a pixel apart, one of them was written for the other convention.
void HalfPixelWarning(const SideRecords& world, const SideRecords& tiff, const std::string& image,
                      CrsRecord* out) {
    const GEOREF& w = world.georef;
    const GEOREF& t = tiff.georef;
    if (w.Method != TM_PRECALCULATED || t.Method != TM_PRECALCULATED) return;
    double wx, wy, tx, ty;
    Apply(w, 0, 0, &wx, &wy);
    Apply(t, 0, 0, &tx, &ty);
    const double dx = wx - tx, dy = wy - ty;
    const double hx = (w.A + w.B) / 2, hy = (w.D + w.E) / 2; // half a pixel diagonally
    const double size = std::fabs(w.A) + std::fabs(w.B) + std::fabs(w.D) + std::fabs(w.E);
    const double tolerance = 1e-6 * size;
    auto near = [&](double x, double y) {
        return std::fabs(dx - x) <= tolerance && std::fabs(dy - y) <= tolerance;
    };
    const std::string where = "the world file and the GeoTIFF tags of " + image;
    if (near(0, 0))
        out->warnings.push_back(where +
                                " give pixel (0, 0) the same position, but a world file "
                                "counts from the pixel's centre and the tags from its corner: one "
                                "of them is half a pixel off");
    else if (near(hx, hy))
        out->warnings.push_back(where + " disagree by half a pixel (world file: pixel centre, "
                                        "tags: corner); the image look-up uses the world file");
    else
        out->warnings.push_back(where + " disagree: pixel (0, 0) " + FormatCString("%.6g", dx) +
                                ", " + FormatCString("%.6g", dy) +
                                " apart; the image look-up uses the world file");
}

// Tag 34264 (the published number of the transformation matrix) without the
// 33920 the library reads: the matrix is ignored.
void MatrixTagWarning(const std::string& image, CrsRecord* out) {
    KVBitLib lib;
    KVBitmapTag tag;
    if (lib.GetTagData(image.c_str(), KVTAG_MODEL_TRANSFORMATION, tag, 1) != 1) return;
    KVBitmapTag kept;
    if (lib.GetTagData(image.c_str(), KVTAG_MATRIX, kept, 1) == 1) return;
    out->warnings.push_back(image +
                            " holds a ModelTransformation tag (34264), which this reader "
                            "does not use: a rotated or sheared georeference in it is lost");
}

// An image: the records of every side file found, the projection and datum
// from the first that has them, the georeference from the library's look-up.
bool ImageCrs(const std::string& image, CrsRecord* out, std::string* error) {
    SideRecords world, tiff;
    bool rsf = false;
    for (const FileKind& kind : FileKinds()) {
        SideRecords r;
        bool found = false;
        if (!kind.Read(image, &r, &found, error)) return false;
        if (!found) continue;
        const std::string from = kind.FileFor(image) + " (" + kind.what + ")";
        std::string parts;
        if (r.hasProj) parts += ", projection";
        if (r.hasDatum) parts += ", datum";
        if (r.hasGeoref) parts += ", georeference";
        out->notes.push_back("found " + from +
                             (parts.empty() ? ": nothing" : ":" + parts.substr(1)));
        TakeRecords(r, from, out);
        if (std::string(kind.format) == "world") world = r;
        if (std::string(kind.format) == "geotiff") tiff = r;
        if (std::string(kind.format) == "rsf") rsf = r.hasGeoref;
        if (std::string(kind.format) == "prj") FootWarning(kind.FileFor(image), out);
    }
    if (world.hasGeoref && tiff.hasGeoref) HalfPixelWarning(world, tiff, image, out);
    MatrixTagWarning(image, out);
    unsigned int flags = 0;
    GEOREF g{};
    SideRecords& r = out->image;
    if (KVProjGetBitmapGeoParams(image.c_str(), &flags, &r.proj, &r.datum, &r.params, &g)) {
        r.hasGeoref = g.Method != TM_NONE && (g.Method != TM_PRECALCULATED || g.A != 0 || g.B != 0);
        r.TakeControls(g);
        out->hasGeoref = r.hasGeoref;
        out->georefFromTags = r.hasGeoref && tiff.hasGeoref && !world.hasGeoref && !rsf;
        out->notes.push_back("image look-up flags: " + FormatCString("0x%02X", flags));
    }
    if (!out->hasProj && !out->hasDatum && !out->hasGeoref) {
        *error = "no side file or GeoTIFF tag gives '" + image + "' a coordinate system";
        return false;
    }
    if (!out->hasProj)
        out->notes.push_back("no projection found: the map coordinates' system is unknown");
    return true;
}

bool FileCrs(const std::string& file, CrsRecord* out, std::string* error) {
    out->title = "file " + file;
    if (!HasExtension(file, {"prj", "kvr"})) return ImageCrs(file, out, error);
    if (HasExtension(file, {"kvr"})) out->title = "reference file " + file;
    SideRecords r;
    if (!ReadSideFile(file, &r, error)) return false;
    TakeRecords(r, file, out);
    if (HasExtension(file, {"prj"})) FootWarning(file, out);
    if (!out->hasProj && !out->hasDatum) {
        *error = "'" + file + "' holds no coordinate system";
        return false;
    }
    if (r.hasGeoref) out->hasGeoref = true, out->image = r;
    return true;
}

} // namespace

bool EpsgCrs(int code, CrsRecord* out, std::string* error) {
    if (const EpsgProjected* row = EpsgFindProjected(code)) return ProjectedCrs(*row, out, error);
    if (const EpsgRefused* refused = EpsgFindRefused(code)) {
        *error = "EPSG:" + std::to_string(code) + " cannot be expressed: " + refused->reason;
        return false;
    }
    return GeographicCrs(code, out, error);
}

bool ResolveCrs(const std::string& text, CrsRecord* out, std::string* error) {
    *out = CrsRecord();
    out->given = text;
    out->title = text;
    const std::string t = Trim(text);
    const size_t colon = t.find(':');
    const std::string prefix = Folded(t.substr(0, colon == std::string::npos ? 0 : colon));
    const std::string rest = colon == std::string::npos ? "" : Trim(t.substr(colon + 1));
    long long code = 0;
    if (prefix == "epsg") {
        if (!ParseInteger(rest, 1, 99999999, &code)) {
            *error = "'" + text + "': an EPSG code is a number (EPSG:26917)";
            return false;
        }
        return EpsgCrs(static_cast<int>(code), out, error);
    }
    if (prefix == "utm") {
        if (!UtmRecord(rest, &out->proj, error)) return false;
        out->hasProj = true;
        out->noDatum = "utm: names no datum (give --src-datum or --dst-datum, or EPSG:326nn)";
        return true;
    }
    if (prefix == "spcs27" || prefix == "spcs83") {
        if (!ZoneRecord(t, &out->proj, error)) return false;
        out->hasProj = true;
        ZoneDatum(out);
        return true;
    }
    if (t.find('=') != std::string::npos) {
        out->proj = EmptyProjRecord();
        if (!ApplyProjParams(t, &out->proj, error) || !UsesEveryKey(t, out->proj, error))
            return false;
        out->hasProj = true;
        out->noDatum = "key=value words name no datum";
        return true;
    }
    if (IsFile(t)) return FileCrs(t, out, error);
    *error = "'" + text + "' is not a coordinate system: give EPSG:n, utm:33N, spcs83:ZONE, " +
             "spcs27:ZONE, key=value words or an existing file";
    return false;
}

bool ResolveCrsProjection(const std::string& text, CrsRecord* out, std::string* error) {
    if (!ResolveCrs(text, out, error)) return false;
    if (out->hasProj) return true;
    *error = "'" + text + "' gives no projection";
    return false;
}

} // namespace kvtool
