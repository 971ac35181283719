// "kvproj transform IMAGE": pixel <-> map coordinates through the georeference
// found beside or inside an image (world, RSF or reference file, GeoTIFF tags),
// and on through the image's projection and datum to longitude/latitude or
// to another coordinate system, in one pass.
//
// Input: one point per line, "x y" separated by blanks or a comma; further
// columns pass through; blank lines and '#' lines are copied unchanged.
#include "Command.h"
#include "Crs.h"
#include "Numbers.h"
#include "ProjArgs.h"

#include "frame/CNumber.h"

#include <cstdio>
#include <fstream>
#include <iostream>
#include <memory>
#include <string>

namespace kvtool {
namespace {

using namespace KVProj;

struct Options {
    std::string image;
    std::string input = "-";
    bool inverse = false, geo = false, corner = false;
    std::string precision;
    CrsArgs crs; // --dst
    std::string dstDatum, profile;
};

int Usage(const std::string& message) {
    return UsageError("transform: " + message);
}

// The stages between pixels and the output system. Forward: pixel -> map
// (georeference) -> lon/lat (the image's projection, inverted) -> datum shift
// -> destination projection. Inverse runs them backwards.
struct Stages {
    GEOREF affine{};            // method 5 both ways; the inverse matrix below
    void* georef = nullptr;     // pixel -> map for control-point methods
    void* georefBack = nullptr; // map -> pixel: the same method fitted the other way
    void* imageProj = nullptr;  // the image's projection (null when geographic)
    void* datum = nullptr;
    void* dstProj = nullptr;
    bool toGeo = false;
    double shift = 0.0; // added to the user's pixel positions to reach the georeference's
    double inv[6] = {}; // inverse of the affine coefficients
    ~Stages() {
        if (georef) RefDeleteSystem(georef);
        if (georefBack) RefDeleteSystem(georefBack);
        if (imageProj) ProjDeleteProjection(imageProj);
        if (datum) DatDeleteDatum(datum);
        if (dstProj) ProjDeleteProjection(dstProj);
    }
};

bool Georeference(const CrsRecord& crs, Stages* s, std::string* error) {
    SideRecords r = crs.image;
    GEOREF* g = r.Attach();
    if (g->Method == TM_PRECALCULATED) {
        s->affine = *g;
        const double det = g->A * g->E - g->B * g->D;
        if (det == 0.0 || !std::isfinite(det))
            return (*error = "the image's coefficients are singular"), false;
        // Inverse of x = A px + B py + C, y = D px + E py + F.
        s->inv[0] = g->E / det, s->inv[1] = -g->B / det;
        s->inv[3] = -g->D / det, s->inv[4] = g->A / det;
        s->inv[2] = -(s->inv[0] * g->C + s->inv[1] * g->F);
        s->inv[5] = -(s->inv[3] * g->C + s->inv[4] * g->F);
        return true;
    }
    s->georef = RefCreateSystem(g);
    GEOREF back = *g;
    back.pSrc = g->pDest, back.pDest = g->pSrc;
    s->georefBack = RefCreateSystem(&back);
    if (!s->georef || !s->georefBack) *error = "the image's control points give no georeference";
    return s->georef && s->georefBack;
}

bool Projections(const Options& o, const CrsRecord& crs, Stages* s, std::string* error) {
    s->toGeo = o.geo || !o.crs.dst.empty();
    if (!s->toGeo) return true;
    if (!crs.hasProj)
        return (*error = "no projection is known for " + o.image + ": give its .prj or .kvr"),
               false;
    PROJDATA p = crs.proj;
    if (p.Type != PT_UNPROJECTED && !(s->imageProj = ProjCreateProjection(&p)))
        return (*error = "cannot create the image's projection"), false;
    if (o.crs.dst.empty()) return true;
    CrsRecord dst;
    if (!ResolveCrs(o.crs.dst, &dst, error)) return false;
    if (!dst.hasProj) return (*error = "'" + o.crs.dst + "' gives no projection"), false;
    DatumChoice to = dst.datum;
    bool known = dst.hasDatum;
    if (!o.dstDatum.empty()) {
        if (!ResolveDatum(o.dstDatum, o.profile, &to, error)) return false;
        known = true;
    }
    if (crs.hasDatum && known) {
        const DATUMXFORM x = MakeDatumXform(crs.datum, to);
        char message[256] = "";
        if (DatCheckParams(&x, message, false) != 0)
            return (*error = std::string("cannot shift the datum: ") + message), false;
        if (!(s->datum = DatCreateDatum(&x)))
            return (*error = "cannot create the datum shift"), false;
    } else {
        std::fprintf(stderr, "kvproj: transform: note: a datum is not known; no datum shift\n");
    }
    PROJDATA d = dst.proj;
    if (d.Type != PT_UNPROJECTED && !(s->dstProj = ProjCreateProjection(&d)))
        return (*error = "cannot create the destination projection"), false;
    return true;
}

bool Good(double x, double y) {
    return std::isfinite(x) && std::isfinite(y) && x != KVPROJ_UNPLOTTABLE &&
           y != KVPROJ_UNPLOTTABLE;
}

// One point through the stages; false when a stage cannot take it.
bool Forward(const Stages& s, double* x, double* y) {
    GEOREFPOINT p{*x + s.shift, *y + s.shift};
    if (s.georef) {
        if (!RefForward(s.georef, &p, 1)) return false;
    } else {
        const GEOREF& g = s.affine;
        p = {g.A * p.x + g.B * p.y + g.C, g.D * p.x + g.E * p.y + g.F};
    }
    PROJPOINT q{p.x, p.y};
    if (s.imageProj && !ProjInverse(s.imageProj, &q, 1)) return false;
    DATUMPOINT d{q.x, q.y};
    if (s.datum && !DatConvertDatum(s.datum, &d, 1)) return false;
    q = {d.x, d.y};
    if (s.dstProj && !ProjForward(s.dstProj, &q, 1)) return false;
    *x = q.x, *y = q.y;
    return Good(*x, *y);
}

bool Inverse(const Stages& s, double* x, double* y) {
    PROJPOINT q{*x, *y};
    if (s.toGeo) {
        if (s.dstProj && !ProjInverse(s.dstProj, &q, 1)) return false;
        if (s.datum) {
            // The shift back: the datum handle runs one way, so invert by iteration.
            DATUMPOINT guess{q.x, q.y};
            for (int i = 0; i < 8; ++i) {
                DATUMPOINT t = guess;
                if (!DatConvertDatum(s.datum, &t, 1)) return false;
                guess.x += q.x - t.x, guess.y += q.y - t.y;
            }
            q = {guess.x, guess.y};
        }
        if (s.imageProj && !ProjForward(s.imageProj, &q, 1)) return false;
    }
    GEOREFPOINT p{q.x, q.y};
    if (s.georefBack) {
        if (!RefForward(s.georefBack, &p, 1)) return false;
    } else {
        p = {s.inv[0] * p.x + s.inv[1] * p.y + s.inv[2],
             s.inv[3] * p.x + s.inv[4] * p.y + s.inv[5]};
    }
    *x = p.x - s.shift, *y = p.y - s.shift;
    return Good(*x, *y);
}

// "x y rest" or "x,y rest": the two numbers and what follows them.
bool SplitPoint(const std::string& line, double* x, double* y, std::string* rest) {
    std::string t = line;
    const size_t comma = t.find(',');
    if (comma != std::string::npos) t[comma] = ' ';
    const size_t a0 = t.find_first_not_of(" \t"), a1 = t.find_first_of(" \t", a0);
    if (a0 == std::string::npos || a1 == std::string::npos) return false;
    const size_t b0 = t.find_first_not_of(" \t", a1);
    if (b0 == std::string::npos) return false;
    size_t b1 = t.find_first_of(" \t\r", b0);
    if (b1 == std::string::npos) b1 = t.size();
    *rest = t.substr(b1);
    if (!rest->empty() && rest->back() == '\r') rest->pop_back();
    return ParseFinite(t.substr(a0, a1 - a0), x) && ParseFinite(t.substr(b0, b1 - b0), y);
}

int Stream(const Options& o, const Stages& s, int precision) {
    std::ifstream file;
    if (o.input != "-") {
        file.open(o.input);
        if (!file) return Usage("cannot open " + o.input);
    }
    std::istream& in = o.input == "-" ? std::cin : file;
    int status = EXIT_OK, number = 0;
    for (std::string line; std::getline(in, line);) {
        ++number;
        const size_t first = line.find_first_not_of(" \t\r");
        if (first == std::string::npos || line[first] == '#') {
            std::printf("%s\n", line.c_str());
            continue;
        }
        double x = 0, y = 0;
        std::string rest;
        if (!SplitPoint(line, &x, &y, &rest)) {
            status = Failure("transform: line " + std::to_string(number) + ": expected x y");
            continue;
        }
        const bool ok = o.inverse ? Inverse(s, &x, &y) : Forward(s, &x, &y);
        if (!ok) {
            std::printf("unplottable%s\n", rest.c_str());
            continue;
        }
        std::printf("%s %s%s\n", FormatCString("%.*f", precision, x).c_str(),
                    FormatCString("%.*f", precision, y).c_str(), rest.c_str());
    }
    return status;
}

int Run(const Options& o) {
    CrsRecord crs;
    std::string error;
    if (!ResolveCrs(o.image, &crs, &error)) return Failure("transform: " + error);
    if (!crs.hasGeoref) return Failure("transform: no georeference found for " + o.image);
    for (const std::string& w : crs.warnings)
        std::fprintf(stderr, "kvproj: transform: warning: %s\n", w.c_str());
    Stages s;
    // World and RSF files count from the pixel's centre, GeoTIFF tags from its corner.
    if (o.corner != crs.georefFromTags) s.shift = o.corner ? -0.5 : 0.5;
    if (!Georeference(crs, &s, &error) || !Projections(o, crs, &s, &error)) return Usage(error);
    const bool degrees = s.toGeo && !s.dstProj && !o.inverse;
    int precision = degrees ? 9 : 3;
    if (!o.precision.empty() && !ParseInteger(o.precision, 0, kMaxDecimals, &precision))
        return Usage("--precision takes 0 to 17, not '" + o.precision + "'");
    return Stream(o, s, precision);
}

Runner SetUp(CLI::App& app) {
    auto o = std::make_shared<Options>();
    app.description("Reads pixel positions (column row) and writes map coordinates in the\n"
                    "image's system, or longitude/latitude with --geo, or coordinates of\n"
                    "another system with --dst; --inverse goes the other way. Pixel (0, 0)\n"
                    "is the centre of the first pixel, as world files count; --corner counts\n"
                    "from its top-left corner instead (GDAL's pixel/line).");
    app.add_option("image", o->image, "the image (world, RSF, .kvr, .prj files, GeoTIFF tags)")
        ->required();
    app.add_option("file", o->input, "input file (default: standard input)");
    app.add_flag("--inverse", o->inverse, "map (or lon/lat) to pixel");
    app.add_flag("--geo", o->geo, "longitude/latitude through the image's projection");
    app.add_flag("--corner", o->corner, "pixel (0, 0) is the first pixel's top-left corner");
    app.add_option("--dst", o->crs.dst, "output system (EPSG:n, utm:33N, a file, ...)")
        ->type_name("CRS");
    app.add_option("--dst-datum", o->dstDatum, "the datum of the output, overriding --dst's");
    app.add_option("--profile", o->profile, "FILE holding custom datums");
    app.add_option("--precision", o->precision, "decimals: 0-17 (3, 9 for degrees)");
    return [o] { return Run(*o); };
}

const KVCommand command({"transform", "transform <image> [file] [options]",
                         "pixel <-> map coordinates through an image's georeference",
                         "  kvproj transform map.tif --dst EPSG:4326 pixels.txt\n"
                         "  echo '0 0' | kvproj transform map.tif\n"
                         "  echo '512 512' | kvproj transform map.tif --geo --corner\n"
                         "  echo '500000 4649995' | kvproj transform map.tif --inverse\n"},
                        SetUp);

} // namespace
} // namespace kvtool
