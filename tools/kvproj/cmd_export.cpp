// "kvproj export": writes a side file (reference, world, RSF or projection
// file, or GeoTIFF tags in the image itself) from a projection, a datum and a
// georeference given on the command line or read from the side files of
// another name; or GeoTIFF tags into a copy of an image.
#include "Command.h"
#include "Crs.h"
#include "DatumArgs.h"
#include "GeoTiffTags.h"
#include "Numbers.h"
#include "ProjArgs.h"
#include "SideFiles.h"

#include "frame/CNumber.h"

#include <cctype>
#include <cstdio>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

namespace kvtool {
namespace {

using namespace KVProj;

struct Options {
    std::string format, output, from, datum, profile, method, image, copy;
    std::vector<std::string> coeff, controls;
    ProjOptions proj;
    CrsArgs crs;
};

int Usage(const std::string& message) { return UsageError("export: " + message); }

// Numbers separated by commas or blanks, in the C locale; exactly `count` of them.
bool Numbers(const std::string& text, size_t count, std::vector<double>* out) {
    std::string words = text;
    for (char& c : words)
        if (c == ',') c = ' ';
    std::istringstream in(words);
    out->clear();
    for (std::string word; in >> word;) {
        double v;
        if (!ParseFiniteC(word.c_str(), v)) return false;
        out->push_back(v);
    }
    return out->size() == count;
}

// A method by its number 0..11 or its name (ignoring case).
bool MethodFrom(const std::string& text, TransformMethod* method) {
    for (int m = TM_HELMERT; m < TM_NONE; ++m) {
        const std::string name = RefMethodName(static_cast<TransformMethod>(m));
        bool same = name.size() == text.size();
        for (size_t i = 0; same && i < name.size(); ++i)
            same = std::tolower(static_cast<unsigned char>(name[i])) ==
                   std::tolower(static_cast<unsigned char>(text[i]));
        if (same || text == std::to_string(m)) return *method = static_cast<TransformMethod>(m), true;
    }
    return false;
}

// Every record held by the side files of `name`, the first kind holding each part winning.
bool LoadFrom(const std::string& name, SideRecords* rec, std::string* error) {
    bool any = false;
    for (const FileKind& kind : FileKinds()) {
        SideRecords r;
        bool found = false;
        if (!kind.Read(name, &r, &found, error)) return false;
        any = any || found;
        if (r.hasProj && !rec->hasProj) rec->hasProj = true, rec->proj = r.proj;
        if (r.hasDatum && !rec->hasDatum)
            rec->hasDatum = true, rec->datum = r.datum, rec->params = r.params;
        // A later kind's georeference replaces one whose coefficients were cut short.
        if (r.hasGeoref && (!rec->hasGeoref || rec->partialCoefficients)) {
            rec->hasGeoref = true, rec->partialCoefficients = r.partialCoefficients;
            rec->georef = r.georef, rec->src = r.src, rec->dest = r.dest;
            rec->Attach();
        }
    }
    if (!any) *error = "no side file found for " + name;
    return any;
}

bool ApplyGeoref(const Options& o, SideRecords* rec, std::string* error) {
    std::vector<double> v;
    if (!o.coeff.empty()) {
        if (!Numbers(o.coeff.back(), 6, &v)) return *error = "--coeff takes six numbers A,B,C,D,E,F", false;
        rec->georef = GEOREF{};
        rec->georef.Method = TM_PRECALCULATED;
        rec->georef.A = v[0], rec->georef.B = v[1], rec->georef.C = v[2];
        rec->georef.D = v[3], rec->georef.E = v[4], rec->georef.F = v[5];
        rec->src.clear(), rec->dest.clear(), rec->hasGeoref = true;
    }
    if (!o.controls.empty()) {
        rec->src.clear(), rec->dest.clear();
        for (const std::string& c : o.controls) {
            if (!Numbers(c, 4, &v)) return *error = "--control takes four numbers: pixel x,y and map x,y", false;
            rec->src.push_back({v[0], v[1]});
            rec->dest.push_back({v[2], v[3]});
        }
        rec->georef = GEOREF{};
        rec->georef.Method = TM_AFFINE;
        rec->hasGeoref = true;
    }
    if (!o.method.empty()) {
        TransformMethod m;
        if (!MethodFrom(o.method, &m)) return *error = "unknown georeference method '" + o.method + "'", false;
        if (m == TM_PRECALCULATED && rec->georef.Method != TM_PRECALCULATED) {
            GEOREF fitted = *rec->Attach(); // coefficients fitted to the controls
            if (!RefControlsToCoeff(&fitted))
                return *error = "method 5 needs coefficients or three control points to fit them", false;
            rec->georef = fitted;
            rec->src.clear(), rec->dest.clear();
        }
        if (m != TM_PRECALCULATED && rec->georef.Method == TM_PRECALCULATED) {
            GEOREF corners = *rec->Attach(); // the corners of a 100 x 100 image and their images
            corners.pSrc = corners.pDest = nullptr;
            if (!RefCoeffToControls(&corners, 0, 0)) return *error = "cannot make control points", false;
            rec->src.assign(corners.pSrc, corners.pSrc + corners.nControls);
            rec->dest.assign(corners.pDest, corners.pDest + corners.nControls);
            RefFreeControls(&corners);
            rec->georef.pSrc = rec->georef.pDest = nullptr;
        }
        rec->georef.Method = m;
        rec->hasGeoref = true;
        rec->partialCoefficients = false;
    }
    rec->Attach();
    return true;
}

// A GeoTIFF whose tiepoint ties the corner of the first pixel
// (RasterPixelIsArea: the default, and what GDAL writes) reads back with that
// corner as C and F, while coefficients name the first pixel's centre. When
// such coefficients were taken from the image, say so with both numbers; what
// is written keeps what was read.
void WarnPixelIsArea(const std::string& from, const SideRecords& rec) {
    const GEOREF& g = rec.georef;
    if (!rec.hasGeoref || g.Method != TM_PRECALCULATED) return;
    const FileKind* tiff = FindFileKind("geotiff");
    const std::string file = tiff ? tiff->FileFor(from) : from;
    if (GeoTiffRasterType(file) != 1) return;
    GEOREF t{};
    unsigned int flags = 0;
    const bool read = KVProjGetGeoTIFF(file.c_str(), nullptr, nullptr, nullptr, &t, &flags);
    RefFreeControls(&t);
    if (!read || !(flags & GEOPARAM_COEFFICIENTS) ||
        !(t.A == g.A && t.B == g.B && t.C == g.C && t.D == g.D && t.E == g.E && t.F == g.F))
        return;
    std::fprintf(stderr,
                 "kvproj: export: warning: %s ties the corner of its first pixel "
                 "(RasterPixelIsArea), read here as that pixel's centre C=%s F=%s; other "
                 "readers put the centre at %s %s\n",
                 file.c_str(), FormatShortest(g.C).c_str(), FormatShortest(g.F).c_str(),
                 FormatShortest(g.C + 0.5 * (g.A + g.B)).c_str(),
                 FormatShortest(g.F + 0.5 * (g.D + g.E)).c_str());
}

// The copy form (--image IN --out OUT) writes GeoTIFF tags into a copy of an
// image; the plain form writes the side file of `name` (a GeoTIFF in place).
bool CheckTargets(const Options& o, const FileKind& kind, std::string* error) {
    const bool copy = !o.image.empty() || !o.copy.empty();
    if (copy && (o.image.empty() || o.copy.empty()))
        return *error = "--image and --out go together", false;
    if (copy && kind.format != std::string("geotiff"))
        return *error = "--image and --out write GeoTIFF tags: give --format geotiff", false;
    if (copy && !o.output.empty())
        return *error = "give the image with --image and --out only", false;
    if (!copy && o.output.empty())
        return *error = "give the name to write (or --image and --out)", false;
    return true;
}

int Run(const Options& o) {
    const FileKind* kind = FindFileKind(o.format);
    if (!kind) return Usage("--format takes one of " + FileKindWords());
    std::string error;
    if (!CheckTargets(o, *kind, &error)) return Usage(error);
    SideRecords rec;
    if (!o.from.empty() && !LoadFrom(o.from, &rec, &error)) return Failure("export: " + error);
    if (!o.from.empty()) WarnPixelIsArea(o.from, rec);
    ProjFigure figure; // a projection on a datum takes the datum's ellipsoid
    if (!o.datum.empty()) {
        DatumChoice choice;
        if (!ResolveDatum(o.datum, o.profile, &choice, &error)) return Usage(error);
        rec.hasDatum = true, rec.datum = choice.type, rec.params = choice.step;
        figure.set = DatumEllipsoid(choice, &figure.ellipsoid, &figure.majorRadius,
                                    &figure.flattening);
    }
    ProjRequest request;
    if (!RequestFrom(o.proj, &request, &error)) return Usage(error);
    if (!o.crs.crs.empty()) {
        if (request.given)
            return Usage("give the projection with --crs or with --proj/--zone/--utm, not both");
        CrsRecord crs; // its datum unless --datum names another
        if (!ResolveCrsProjection(o.crs.crs, &crs, &error)) return Usage(error);
        if (crs.hasDatum && o.datum.empty())
            rec.hasDatum = true, rec.datum = crs.datum.type, rec.params = crs.datum.step;
        rec.proj = crs.proj;
    } else if (request.given && !BuildProjection(request, &figure, &rec.proj, &error)) {
        return Usage(error);
    }
    if (!o.crs.crs.empty() || request.given) {
        // Creating a handle completes the record as a conversion would (UTM false
        // origin and scale, the ellipsoid's figure) and refuses an unusable one.
        void* handle = ProjCreateProjection(&rec.proj);
        if (!handle) return Usage("the projection's parameters are not usable");
        ProjDeleteProjection(handle);
        const RecordVerdict verdict = CheckRecord(rec.proj);
        if (verdict.parameter != 0) return Usage("invalid projection: " + verdict.message);
        rec.hasProj = true;
    }
    if (!ApplyGeoref(o, &rec, &error)) return Usage(error);
    if (!o.copy.empty()) {
        if (!WriteGeoTiffCopy(o.image, o.copy, rec, &error)) return Failure("export: " + error);
        std::printf("wrote %s\n", o.copy.c_str());
        return EXIT_OK;
    }
    if (!kind->Write(o.output, rec, &error)) return Failure("export: " + error);
    std::printf("wrote %s\n", kind->FileFor(o.output).c_str());
    return EXIT_OK;
}

Runner SetUp(CLI::App& app) {
    auto o = std::make_shared<Options>();
    app.add_option("name", o->output, "a reference file (map.kvr) or an image (map.tif)");
    app.add_option("--format", o->format, FileKindWords())->required();
    app.add_option("--from", o->from, "start from what the side files of this name hold");
    AddProjectionOptions(app, {""}, "", &o->proj);
    AddCrsOptions(app, false, &o->crs);
    app.add_option("--datum", o->datum, "datum: id, name, EPSG code or custom name");
    app.add_option("--profile", o->profile, "FILE holding custom datums");
    app.add_option("--coeff", o->coeff, "six affine coefficients A,B,C,D,E,F (pixel centres)");
    app.add_option("--control", o->controls, "a control point: pixel x,y,map x,y (repeatable)");
    app.add_option("--method", o->method, "georeference method: 0-11 or its name");
    app.add_option("--image", o->image, "geotiff: the TIFF image to copy (with --out)");
    app.add_option("--out", o->copy, "geotiff: the copy to write, with the tags added");
    // The name is optional (the copy form has none), so a repeatable option
    // must not take it as a second value: each occurrence takes one.
    for (CLI::Option* opt : app.get_options())
        if (!opt->get_positional() && opt->get_expected_max() > 1)
            opt->expected(1)->allow_extra_args(false)->multi_option_policy(
                CLI::MultiOptionPolicy::TakeAll);
    return [o] { return Run(*o); };
}

const KVCommand
    command({"export", "export --format FORMAT [options] (<name> | --image IN.tif --out OUT.tif)",
             "write a side file, or GeoTIFF tags into an image or a copy of it",
             "  kvproj export --format kvr --utm 33N --datum WGS84 map.tif   # map.tif.kvr\n"
             "  kvproj export --format world --coeff 10,0,500005,0,-10,4649995 map.tif\n"
             "  kvproj export --format prj --crs EPSG:26917 map.tif   # map.prj\n"
             "  kvproj export --format rsf --from map.tif map.tif  # corners from map.tfW\n"
             "  kvproj export --format rsf --control 0,0,500000,4650000 \\\n"
             "      --control 40,0,500400,4650000 --control 0,30,500000,4649700 map.tif\n"
             "  kvproj export --format geotiff --utm 33N --coeff 10,0,500005,0,-10,4649995 \\\n"
             "      --image scan.tif --out map.tif   # a copy of scan.tif with the tags\n",
             "  0  the file was written\n"
             "  1  there was nothing to write in that format, or the write failed\n"
             "  2  bad usage\n"},
            SetUp);

} // namespace
} // namespace kvtool
