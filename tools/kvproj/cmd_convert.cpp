// "kvproj convert": streams points through up to three stages in one pass:
// the inverse of a source projection, a datum shift, and a destination
// projection. Any of them may be left out; longitude/latitude in degrees flows
// between them.
//
// Input: one point per line, in columns split at tabs, semicolons, commas or
// blanks (the first line decides, see Fields.h); every other column, a header
// line, blank lines and '#' lines pass through as they stand, and a line
// without a point comes out with the marker in its coordinate columns. Lines
// are converted in blocks, so memory use does not grow with the input;
// --threads converts several blocks at once and writes them in order.
#include "Command.h"
#include "ConvertStream.h"
#include "CrsStages.h"
#include "DatumArgs.h"
#include "GridStage.h"
#include "Fields.h"
#include "Numbers.h"
#include "ProjArgs.h"
#include "SideFiles.h"

#include "kvlibw/kvlibw.h"
#include "kvproj/kvproj.h"

#include <algorithm>
#include <cstdio>
#include <memory>
#include <thread>
#include <string>
#include <utility>
#include <vector>

namespace kvtool {
namespace {

struct Options {
    ProjOptions plain, src, dst;
    bool fwd = false, inv = false;
    std::string srcDatum, dstDatum, profile;
    std::string grid;                  // an NTv2 file shifting between the projections
    bool gridInverse = false;          // from the grid's new datum to its old one
    std::vector<std::string> gridDirs; // folders searched for the datums' grid files
    std::string srcFile, dstFile;      // side files that give a side's projection and datum
    bool strict = false;
    std::string precision;
    std::string marker = "unplottable";
    std::string input = "-";
    bool header = false, noHeader = false, latlon = false;
    std::string cols;
    std::string units, srcUnits, dstUnits;
    int threads = 1;
    CrsArgs crs; // --src / --dst coordinate systems
};

// The projected units --units takes, in metres per unit; a projection's
// `Scale` is the number of units per metre.
struct LengthUnit {
    const char* name;
    double metres;
};
constexpr LengthUnit kUnits[] = {
    {"m", 1.0},
    {"us-ft", 1200.0 / 3937.0}, // the US survey foot
    {"ft", 0.3048},             // the international foot
};

// The Scale for a unit name, 0 for none given; false for an unknown name.
bool UnitScale(const std::string& name, double* scale) {
    *scale = 0.0;
    if (name.empty()) return true;
    for (const LengthUnit& u : kUnits)
        if (name == u.name) return (*scale = 1.0 / u.metres), true;
    return false;
}

int Usage(const std::string& message) {
    return UsageError("convert: " + message);
}

// The plain --proj/--zone/--utm words belong to the side --fwd or --inv names.
bool PlaceProjections(const ProjRequest& plain, const std::string& direction, ProjRequest* src,
                      ProjRequest* dst, std::string* error) {
    if (!plain.given) {
        if (direction.empty()) return true;
        *error = "give the projection with --proj, --zone or --utm";
        return false;
    }
    if (direction.empty()) {
        *error = "say --fwd or --inv";
        return false;
    }
    ProjRequest* side = direction == "--fwd" ? dst : src;
    if (side->given) {
        *error = std::string("two ") + (side == dst ? "destination" : "source") +
                 " projections: --proj, --zone or --utm with " + direction + ", and --" +
                 (side == dst ? "dst" : "src") + "-...";
        return false;
    }
    *side = plain;
    return true;
}

// `scale` (0: as the record has it) sets the record's unit.
void* MakeHandle(KVProj::PROJDATA* data, const char* side, double scale) {
    if (scale != 0.0 && data->Scale != 1.0 && data->Scale != scale)
        std::fprintf(
            stderr, "kvproj: convert: note: the unit given replaces the %s projection's Scale %s\n",
            side, FormatShortest(data->Scale).c_str());
    if (scale != 0.0) data->Scale = scale;
    const RecordVerdict verdict = CheckRecord(*data);
    if (verdict.parameter != 0) {
        Usage(std::string("invalid ") + side + " projection: " + verdict.message + " (parameter " +
              std::to_string(verdict.parameter) + ", " + ParamLabel(verdict.parameter) + ")");
        return nullptr;
    }
    void* h = KVProj::ProjCreateProjection(data);
    if (!h) Usage(std::string("cannot create the ") + side + " projection");
    return h;
}

// The datum handle, and the figures the two projections should sit on.
// Whether a conversion from `src` to `dst` can run, before any point is read:
// a destination that converts to WGS 84 only is bad usage, a grid file that is
// missing or unreadable a failed run (both after the message).
int PairStatus(const DatumChoice& src, const DatumChoice& dst) {
    std::string error;
    if (!CheckDatumPair(src, dst, &error))
        return DestinationProblem(dst).empty() ? Failure("convert: " + error) : Usage(error);
    return EXIT_OK;
}

bool MakeDatumStage(const Options& o, Pipeline* stages, ProjFigure* srcFigure,
                    ProjFigure* dstFigure, std::string* error, int* pairStatus) {
    DatumChoice src, dst;
    if (!ResolveDatum(o.srcDatum, o.profile, &src, error) ||
        !ResolveDatum(o.dstDatum, o.profile, &dst, error))
        return false;
    if ((*pairStatus = PairStatus(src, dst)) != EXIT_OK) return false;
    for (auto side : {std::make_pair(&src, srcFigure), std::make_pair(&dst, dstFigure)}) {
        ProjFigure& f = *side.second;
        int ellipsoid = 0;
        f.set = DatumEllipsoid(*side.first, &ellipsoid, &f.majorRadius, &f.flattening);
        f.ellipsoid = ellipsoid;
    }
    const KVProj::DATUMXFORM xform = MakeDatumXform(src, dst);
    char message[256] = "";
    if (KVProj::DatCheckParams(&xform, message, false) != 0) {
        *error = "cannot convert from '" + src.name + "' to '" + dst.name + "': " + message;
        return false;
    }
    stages->datum = KVProj::DatCreateDatum(&xform);
    if (!stages->datum) *error = "cannot create the datum conversion";
    return stages->datum != nullptr;
}

// Library reports (a missing grid file, say) go to standard error: the first
// call asks for the details, the second carries the text.
int KVCALLBACK PrintReport(const _KVERRINFO* info) {
    if (!info) return 0;
    if (!(info->flags & KVERR_DETAILS)) return 1;
    if (info->messageText && *info->messageText)
        std::fprintf(stderr, "kvproj: convert: %s\n", info->messageText);
    return 0;
}

// What a side file says about one side: its projection (a handle unless it is
// unprojected) and its datum, which stands in for --src-datum/--dst-datum.
bool ReadSide(const std::string& file, const char* side, double scale, void** handle,
              DatumChoice* datum, bool* hasDatum, std::string* error) {
    SideRecords r;
    if (!ReadSideFile(file, &r, error)) return false;
    if (!r.hasProj && !r.hasDatum)
        return (*error = "'" + file + "' holds no coordinate system"), false;
    if (r.hasProj && r.proj.Type != KVProj::PT_UNPROJECTED &&
        !(*handle = MakeHandle(&r.proj, side, scale)))
        return (*error =
                    "the " + std::string(side) + " projection of '" + file + "' is not usable"),
               false;
    *hasDatum = r.hasDatum;
    if (r.hasDatum) {
        datum->type = r.datum;
        datum->step = r.params;
        datum->custom = r.datum == KVProj::DATUM_USER_DEFINED;
        datum->name = file;
    }
    return true;
}

bool MakeDatumFromChoices(const DatumChoice& src, const DatumChoice& dst, Pipeline* stages,
                          std::string* error) {
    const KVProj::DATUMXFORM xform = MakeDatumXform(src, dst);
    char message[256] = "";
    if (KVProj::DatCheckParams(&xform, message, false) != 0)
        return (*error =
                    "cannot convert from '" + src.name + "' to '" + dst.name + "': " + message),
               false;
    stages->datum = KVProj::DatCreateDatum(&xform);
    if (!stages->datum) *error = "cannot create the datum conversion";
    return stages->datum != nullptr;
}

// --src-file / --dst-file: each side from its file, the options filling the rest.
int StagesWithFiles(const Options& o, const ProjRequest& src, const ProjRequest& dst,
                    const double scales[2], Pipeline* stages) {
    std::string error;
    DatumChoice datums[2];
    bool known[2] = {false, false};
    const std::string* files[2] = {&o.srcFile, &o.dstFile};
    const std::string* named[2] = {&o.srcDatum, &o.dstDatum};
    const ProjRequest* requests[2] = {&src, &dst};
    void** handles[2] = {&stages->inverse, &stages->forward};
    const char* sides[2] = {"source", "destination"};
    for (int i = 0; i < 2; ++i) {
        if (!files[i]->empty()) {
            if (requests[i]->given)
                return Usage(std::string("two ") + sides[i] +
                             " projections: a side file and --proj, --zone or --utm");
            bool hasDatum = false;
            if (!ReadSide(*files[i], sides[i], scales[i], handles[i], &datums[i], &hasDatum,
                          &error))
                return Usage(error);
            known[i] = hasDatum;
        }
        if (!named[i]->empty()) {
            if (!ResolveDatum(*named[i], o.profile, &datums[i], &error)) return Usage(error);
            known[i] = true;
        }
        if (files[i]->empty() && requests[i]->given) {
            KVProj::PROJDATA data;
            if (!BuildProjection(*requests[i], nullptr, &data, &error)) return Usage(error);
            if (!(*handles[i] = MakeHandle(&data, sides[i], scales[i]))) return EXIT_USAGE;
        }
    }
    if (known[0] && known[1]) {
        if (const int status = PairStatus(datums[0], datums[1])) return status;
        if (!MakeDatumFromChoices(datums[0], datums[1], stages, &error)) return Usage(error);
    } else if (known[0] || known[1]) {
        std::fprintf(stderr, "kvproj: convert: note: the %s datum is not known; no datum shift\n",
                     known[0] ? "destination" : "source");
    }
    return EXIT_OK;
}

// --grid: the grid stage, and the figures of its two datums for projections
// whose words name no ellipsoid.
int SetUpGrid(const Options& o, GridStage* grid, Pipeline* stages, ProjFigure* srcFigure,
              ProjFigure* dstFigure) {
    if (stages->datum)
        return Usage("--grid is the datum shift: give it without --src-datum/--dst-datum and "
                     "without side files that carry datums");
    std::string error;
    const std::string path = FindGridFile(o.grid, &error);
    if (path.empty() || !grid->Load(path, o.gridInverse, &error))
        return Failure("convert: " + error);
    grid->Figures(o.gridInverse ? dstFigure : srcFigure, o.gridInverse ? srcFigure : dstFigure);
    stages->grid = grid;
    return EXIT_OK;
}

// The options about columns, header, units and threads.
int StreamChoices(const Options& o, StreamOptions* stream, double scales[2]) {
    if (o.header && o.noHeader) return Usage("give only one of --header and --no-header");
    stream->header = o.header     ? StreamOptions::HEADER_YES
                     : o.noHeader ? StreamOptions::HEADER_NO
                                  : StreamOptions::HEADER_AUTO;
    ColumnSpec spec;
    std::string error;
    if (!o.cols.empty() && !ParseColumnSpec(o.cols, &spec, &error)) return Usage(error);
    if (spec.byName && o.noHeader)
        return Usage("--cols names columns, but --no-header says there is no header line");
    stream->columns = o.cols;
    if (o.threads < 0 || o.threads > 256) return Usage("--threads takes 0 (every core) to 256");
    stream->threads = o.threads == 0
                          ? static_cast<int>(std::max(1u, std::thread::hardware_concurrency()))
                          : o.threads;
    double all = 0.0;
    const std::string* names[3] = {&o.units, &o.srcUnits, &o.dstUnits};
    double* targets[3] = {&all, &scales[0], &scales[1]};
    for (int i = 0; i < 3; ++i)
        if (!UnitScale(*names[i], targets[i]))
            return Usage("a unit is m, us-ft (US survey foot) or ft (international foot), not '" +
                         *names[i] + "'");
    for (int i = 0; i < 2; ++i)
        if (scales[i] == 0.0) scales[i] = all;
    return EXIT_OK;
}

// Runs the stream through the stages, with --latlon on the geographic sides
// and the library's reports printed as they come.
int RunStream(const Options& o, const Pipeline& stages, StreamOptions& stream) {
    stream.latFirstIn = o.latlon && !stages.inverse;
    stream.latFirstOut = o.latlon && !stages.forward;
    KVRegisterCallerInstance(PrintReport, nullptr);
    const int status = ConvertStream(o.input, stages, stream);
    KVUnregisterCallerInstance();
    return status;
}

int Run(const Options& o) {
    ProjRequest plain, src, dst;
    std::string error;
    SetGridSearch(o.gridDirs);
    if (o.gridInverse && o.grid.empty()) return Usage("--grid-inv goes with --grid FILE");
    if (!RequestFrom(o.plain, &plain, &error) || !RequestFrom(o.src, &src, &error) ||
        !RequestFrom(o.dst, &dst, &error))
        return Usage(error);
    if (o.fwd && o.inv) return Usage("give only one of --fwd and --inv");
    const std::string direction = o.fwd ? "--fwd" : o.inv ? "--inv" : "";
    if (!PlaceProjections(plain, direction, &src, &dst, &error)) return Usage(error);
    StreamOptions stream;
    stream.marker = o.marker;
    stream.strict = o.strict;
    stream.precision = dst.given ? 3 : 9;
    if (!o.precision.empty() && !ParseInteger(o.precision, 0, kMaxDecimals, &stream.precision))
        return Usage("--precision takes 0 to 17, not '" + o.precision + "'");
    double scales[2] = {0.0, 0.0};
    const int choices = StreamChoices(o, &stream, scales);
    if (choices != EXIT_OK) return choices;
    Pipeline stages;
    if (o.crs.Given()) {
        if (src.given || dst.given || !o.srcFile.empty() || !o.dstFile.empty())
            return Usage("--src/--dst replace --src-proj, --src-zone, --src-utm, --src-file and "
                         "their --dst-... forms: give one kind");
        if (!o.grid.empty() || !o.units.empty() || !o.srcUnits.empty() || !o.dstUnits.empty())
            return Usage("--src/--dst bring their own units and datums: --grid and --units "
                         "go with the other forms");
        if (!CrsPipeline(o.crs, {o.srcDatum, o.dstDatum, o.profile}, &stages, &error))
            return Usage(error);
        if (o.precision.empty()) stream.precision = stages.forward ? 3 : 9;
        stream.lonLatInput = stages.inverse == nullptr;
        return RunStream(o, stages, stream);
    }
    const bool files = !o.srcFile.empty() || !o.dstFile.empty();
    if (files) {
        const int filesStatus = StagesWithFiles(o, src, dst, scales, &stages);
        if (filesStatus != EXIT_OK) return filesStatus;
        stream.precision = stages.forward ? 3 : 9; // a geographic side file ends in degrees
        if (!o.precision.empty()) ParseInteger(o.precision, 0, kMaxDecimals, &stream.precision);
    }
    const bool datums = !files && (!o.srcDatum.empty() || !o.dstDatum.empty());
    if (!files && !src.given && !dst.given && !datums && o.grid.empty())
        return Usage("give a projection (--proj, --zone or --utm with --fwd or --inv, or "
                     "--src-... / --dst-...) or datums (--src-datum and --dst-datum)");
    if (datums && (o.srcDatum.empty() || o.dstDatum.empty()))
        return Usage("give both --src-datum and --dst-datum");
    if (!o.profile.empty() && !datums && !files)
        return Usage("--profile names custom datums for --src-datum and --dst-datum");

    ProjFigure srcFigure, dstFigure;
    int pairStatus = EXIT_OK;
    if (datums && !MakeDatumStage(o, &stages, &srcFigure, &dstFigure, &error, &pairStatus))
        return pairStatus != EXIT_OK ? pairStatus : Usage(error);
    GridStage grid; // outlives the stream
    if (!o.grid.empty()) {
        const int status = SetUpGrid(o, &grid, &stages, &srcFigure, &dstFigure);
        if (status != EXIT_OK) return status;
    }
    KVProj::PROJDATA data;
    if (!files && src.given) {
        if (!BuildProjection(src, &srcFigure, &data, &error)) return Usage(error);
        if (!(stages.inverse = MakeHandle(&data, "source", scales[0]))) return EXIT_USAGE;
    }
    if (!files && dst.given) {
        if (!BuildProjection(dst, &dstFigure, &data, &error)) return Usage(error);
        if (!(stages.forward = MakeHandle(&data, "destination", scales[1]))) return EXIT_USAGE;
    }
    stream.lonLatInput = stages.inverse == nullptr; // else projected input
    if (!o.units.empty() && !stages.inverse && !stages.forward)
        return Usage("--units is for projected coordinates, and no side is projected");
    if (!o.srcUnits.empty() && !stages.inverse)
        return Usage("--src-units is for a projected source, and the source is not projected");
    if (!o.dstUnits.empty() && !stages.forward)
        return Usage(
            "--dst-units is for a projected destination, and the destination is not projected");
    if (o.latlon && stages.inverse && stages.forward)
        return Usage("--latlon is for longitude and latitude, and both sides are projected");
    return RunStream(o, stages, stream);
}

Runner SetUp(CLI::App& app) {
    auto o = std::make_shared<Options>();
    app.description("Reads one point per line from FILE or standard input and runs it\n"
                    "through the stages given, in this order:\n"
                    "  1. source projection, inverted: --src-proj, --src-zone or --src-utm\n"
                    "  2. datum shift: --src-datum D --dst-datum D [--profile FILE], or an\n"
                    "     NTv2 grid: --grid FILE [--grid-inv] (its datums' ellipsoids serve\n"
                    "     projections that name none)\n"
                    "  3. destination projection: --dst-proj, --dst-zone or --dst-utm\n"
                    "Longitude and latitude in degrees flow between the stages. A projection\n"
                    "on a side with a datum takes that datum's ellipsoid unless its words name\n"
                    "one; state plane zones keep their own. A zone is spcs27:NAME|FIPS,\n"
                    "spcs83:NAME|FIPS or epsg:CODE; a datum D is an id, name, EPSG code\n"
                    "(6267, EPSG:6267, EPSG:4267), short name (WGS84, NAD27) or a custom\n"
                    "datum. Grid files of datums 232, 233 and 253 are looked up in the\n"
                    "--grid-dir folders, then KVPROJ_GRID_PATH (DIR:DIR), then beside kvproj.\n"
                    "--src-file/--dst-file take a side from a .prj, .kvr or GeoTIFF file.\n"
                    "Columns are split at tabs, semicolons, commas or blanks, as the first\n"
                    "line shows; \"quoted, fields\" stay whole. A first line that names the\n"
                    "columns passes through, and so do other columns, blank lines and '#'\n"
                    "lines. A line without a point is written with the marker in its\n"
                    "coordinate columns and reported (status 1). Decimal commas are refused.\n"
                    "--units sets the unit of the projected coordinates: m, us-ft (US survey\n"
                    "foot) or ft (international foot); state plane zones are in metres.");
    app.add_option("file", o->input, "input file (default: standard input)");
    AddProjectionOptions(app, {"src-", "inv-"}, "source", &o->src);
    AddProjectionOptions(app, {"dst-", "fwd-"}, "destination", &o->dst);
    AddProjectionOptions(app, {""}, "", &o->plain);
    app.add_flag("--fwd", o->fwd, "--proj/--zone/--utm is the destination");
    app.add_flag("--inv", o->inv, "--proj/--zone/--utm is the source");
    app.add_option("--src-datum", o->srcDatum, "the datum of the input points");
    app.add_option("--dst-datum", o->dstDatum, "the datum of the output points");
    app.add_option("--profile", o->profile, "FILE holding custom datums");
    app.add_option("--grid", o->grid, "shift with the NTv2 grid FILE (instead of datums)");
    app.add_flag("--grid-inv", o->gridInverse, "shift from the grid's new datum to its old");
    app.add_option("--grid-dir", o->gridDirs, "search DIR for the datums' grid files")
        ->allow_extra_args(false);
    app.add_option("--src-file,--src-prj", o->srcFile, "source projection and datum from FILE");
    app.add_option("--dst-file,--dst-prj", o->dstFile,
                   "destination projection and datum from FILE");
    AddCrsOptions(app, true, &o->crs);
    app.add_option("--precision", o->precision, "decimals: 0-17 (3 projected, 9 degrees)");
    app.add_option("--marker", o->marker, "text for unplottable points");
    app.add_flag("--strict", o->strict, "stop at the first bad line (status 2)");
    app.add_option("--cols", o->cols, "the coordinate columns: numbers from 1 or header names")
        ->type_name("X,Y");
    app.add_flag("--latlon", o->latlon, "latitude first on the longitude/latitude side");
    app.add_flag("--header", o->header, "the first line names the columns");
    app.add_flag("--no-header", o->noHeader, "the first line is a point");
    app.add_option("--units", o->units, "m, us-ft or ft on every projected side")
        ->type_name("UNIT");
    app.add_option("--src-units", o->srcUnits, "m, us-ft or ft on the source side")
        ->type_name("UNIT");
    app.add_option("--dst-units", o->dstUnits, "m, us-ft or ft on the destination side")
        ->type_name("UNIT");
    app.add_option("--threads", o->threads, "blocks converted at once (0: every core; default 1)")
        ->type_name("N");
    return [o] { return Run(*o); };
}

const KVCommand
    command({"convert", "convert [stages] [options] [file]",
             "convert points: source projection, datum shift, destination projection",
             "  kvproj convert --src-datum NAD27 --dst-datum WGS84 < lonlat.txt\n"
             "  kvproj convert --src-zone spcs27:101 --src-datum NAD27 \\\n"
             "      --dst-datum WGS84 --dst-utm 16N alabama-east.txt\n",
             "  0  every line converted\n"
             "  1  a line could not be read (reported, the others converted), a read or\n"
             "     write failed, or the conversion failed\n"
             "  2  bad usage, or a bad line with --strict\n"},
            SetUp);

} // namespace
} // namespace kvtool
