// "kvproj export": writes a side file (reference, world or RSF file) from a
// projection, a datum and a georeference given on the command line or read
// from the side files of another name.
#include "Command.h"
#include "DatumArgs.h"
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

int Fail(const std::string& message) {
    std::fprintf(stderr, "kvproj: %s\n", message.c_str());
    return EXIT_FAILED;
}

using namespace KVProj;

struct Options {
    std::string format, output, from, datum, profile, method;
    std::vector<std::string> coeff, controls;
    ProjRequest request;
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

int Run(const Options& o) {
    const FileKind* kind = FindFileKind(o.format);
    if (!kind) return Usage("--format takes one of " + FileKindWords());
    SideRecords rec;
    std::string error;
    if (!o.from.empty() && !LoadFrom(o.from, &rec, &error)) return Fail("export: " + error);
    ProjFigure figure; // a projection on a datum takes the datum's ellipsoid
    if (!o.datum.empty()) {
        DatumChoice choice;
        if (!ResolveDatum(o.datum, o.profile, &choice, &error)) return Usage(error);
        rec.hasDatum = true, rec.datum = choice.type, rec.params = choice.step;
        figure.set = DatumEllipsoid(choice, &figure.ellipsoid, &figure.majorRadius,
                                    &figure.flattening);
    }
    const ProjRequest& request = o.request;
    if (request.given) {
        if (!BuildProjection(request, &figure, &rec.proj, &error)) return Usage(error);
        // Creating a handle completes the record as a conversion would (UTM false
        // origin and scale, the ellipsoid's figure) and refuses an unusable one.
        void* handle = ProjCreateProjection(&rec.proj);
        if (!handle) return Usage("the projection's parameters are not usable");
        ProjDeleteProjection(handle);
        rec.hasProj = true;
    }
    if (!ApplyGeoref(o, &rec, &error)) return Usage(error);
    if (!kind->Write(o.output, rec, &error)) return Fail("export: " + error);
    std::printf("wrote %s\n", kind->FileFor(o.output).c_str());
    return EXIT_OK;
}

// The words after "export": options with a value (also as --opt=value) and one name.
bool Parse(std::vector<std::string> args, Options* o, std::string* error) {
    if (!TakeProjectionRequest(args, {""}, &o->request, error)) return false;
    for (size_t i = 0; i < args.size(); ++i) {
        std::string opt = args[i], value;
        if (opt.rfind("--", 0) != 0) {
            if (!o->output.empty()) return *error = "one name only ('" + opt + "')", false;
            o->output = opt;
            continue;
        }
        const size_t eq = opt.find('=');
        if (eq != std::string::npos) value = opt.substr(eq + 1), opt = opt.substr(0, eq);
        else if (i + 1 < args.size()) value = args[++i];
        else return *error = opt + " needs a value", false;
        if (opt == "--format") o->format = value;
        else if (opt == "--from") o->from = value;
        else if (opt == "--datum") o->datum = value;
        else if (opt == "--profile") o->profile = value;
        else if (opt == "--method") o->method = value;
        else if (opt == "--coeff") o->coeff.push_back(value);
        else if (opt == "--control") o->controls.push_back(value);
        else return *error = "unknown option " + opt, false;
    }
    if (o->output.empty()) return *error = "give the name to write", false;
    if (o->format.empty()) return *error = "--format is required", false;
    return true;
}

int RunExport(const std::vector<std::string>& args) {
    Options o;
    std::string error;
    if (!Parse(args, &o, &error)) return Usage(error);
    return Run(o);
}

const KVCommand command("export",
                        "export --format kvr|world|rsf [--utm|--zone|--proj ...] [--datum D] "
                        "[--coeff A,B,C,D,E,F | --control x,y,X,Y ...] [--method M] [--from NAME] NAME",
                        "write a reference, world or RSF file", RunExport);

} // namespace
} // namespace kvtool
