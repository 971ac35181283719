// "kvproj convert": streams points through up to three stages in one pass:
// the inverse of a source projection, a datum shift, and a destination
// projection. Any of them may be left out; longitude/latitude in degrees flows
// between them.
//
// Input: one point per line, "x y" separated by blanks or a comma (longitude
// first going forward); further columns are passed through as they stand;
// blank lines and lines starting with '#' are copied unchanged. Lines are
// converted in batches, so memory use does not grow with the input.
#include "Command.h"
#include "DatumArgs.h"
#include "ProjArgs.h"

#include "kvlibw/kvlibw.h"
#include "kvproj/kvproj.h"

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iostream>
#include <string>
#include <utility>
#include <vector>

#if defined(_WIN32)
#include <io.h>
#define KV_ISATTY(fd) _isatty(fd)
#else
#include <unistd.h>
#define KV_ISATTY(fd) isatty(fd)
#endif

namespace kvtool {
namespace {

constexpr size_t kBatch = 4096;
constexpr long long kProgressEvery = 1000000;

struct Options {
    std::string direction; // "--fwd", "--inv" or "" for the plain projection options
    std::string srcDatum, dstDatum, profile;
    bool strict = false;
    int precision = -1; // default: 3 decimals for metres, 9 for degrees
    std::string marker = "unplottable";
    std::string input = "-";
};

// One input line: either passed through verbatim or a point with the text
// that follows its two coordinates.
struct Line {
    bool point = false;
    std::string text; // the whole line, or the rest after the coordinates
    bool comma = false;
};

bool ReadNumber(const std::string& s, size_t* pos, double* value) {
    const size_t start = *pos;
    size_t end = start;
    while (end < s.size() && s[end] != ' ' && s[end] != '\t' && s[end] != ',')
        ++end;
    if (end == start) return false;
    const std::string word = s.substr(start, end - start);
    char* stop = nullptr;
    *value = std::strtod(word.c_str(), &stop);
    if (*stop != '\0') return false;
    *pos = end;
    return true;
}

void SkipBlanks(const std::string& s, size_t* pos) {
    while (*pos < s.size() && (s[*pos] == ' ' || s[*pos] == '\t'))
        ++*pos;
}

// Splits "x y rest" / "x,y,rest"; false when the line has no two numbers.
bool ParsePoint(const std::string& s, KVProj::PROJPOINT* p, Line* line) {
    size_t pos = 0;
    SkipBlanks(s, &pos);
    if (!ReadNumber(s, &pos, &p->x)) return false;
    SkipBlanks(s, &pos);
    if (pos < s.size() && s[pos] == ',') {
        line->comma = true;
        ++pos;
        SkipBlanks(s, &pos);
    }
    if (!ReadNumber(s, &pos, &p->y)) return false;
    line->text = s.substr(pos);
    line->point = true;
    return true;
}

std::string Format(double v, int precision) {
    char buffer[64];
    std::snprintf(buffer, sizeof(buffer), "%.*f", precision, v);
    return buffer;
}

// The handles of one run; a null handle is a stage left out.
struct Pipeline {
    void* inverse = nullptr; // source projection
    void* datum = nullptr;
    void* forward = nullptr; // destination projection

    Pipeline() = default;
    Pipeline(const Pipeline&) = delete;
    Pipeline& operator=(const Pipeline&) = delete;
    ~Pipeline() {
        KVProj::ProjDeleteProjection(inverse);
        KVProj::DatDeleteDatum(datum);
        KVProj::ProjDeleteProjection(forward);
    }
};

class Converter {
public:
    Converter(const Pipeline& stages, const Options& o) : m_stages(stages), m_opt(o) {
        m_precision = o.precision >= 0 ? o.precision : (stages.forward ? 3 : 9);
        m_lines.reserve(kBatch);
        m_points.reserve(kBatch);
    }

    // False when the conversion itself failed (not for a bad line).
    bool Add(const Line& line, const KVProj::PROJPOINT& p) {
        m_lines.push_back(line);
        if (line.point) m_points.push_back(p);
        return m_lines.size() < kBatch || Flush();
    }

    bool Flush() {
        if (!Convert()) return false;
        size_t k = 0;
        std::string out;
        for (const Line& l : m_lines) {
            if (!l.point) {
                out += l.text;
            } else {
                const KVProj::PROJPOINT& p = m_points[k++];
                const bool bad = p.x == KVPROJ_UNPLOTTABLE || p.y == KVPROJ_UNPLOTTABLE;
                const char* sep = l.comma ? "," : " ";
                out += bad ? m_opt.marker + sep + m_opt.marker
                           : Format(p.x, m_precision) + sep + Format(p.y, m_precision);
                out += l.text;
            }
            out += '\n';
        }
        std::fwrite(out.data(), 1, out.size(), stdout);
        m_lines.clear();
        m_points.clear();
        return true;
    }

private:
    // Every stage passes the unplottable marker of an earlier one through.
    bool Convert() {
        const int n = static_cast<int>(m_points.size());
        if (n == 0) return true;
        KVProj::PROJPOINT* pts = m_points.data();
        if (m_stages.inverse && !KVProj::ProjInverse(m_stages.inverse, pts, n)) return false;
        if (m_stages.datum) {
            m_datumPoints.resize(m_points.size());
            for (size_t i = 0; i < m_points.size(); ++i)
                m_datumPoints[i] = KVProj::DATUMPOINT{m_points[i].x, m_points[i].y};
            if (!KVProj::DatConvertDatum(m_stages.datum, m_datumPoints.data(), n)) return false;
            for (size_t i = 0; i < m_points.size(); ++i)
                m_points[i] = KVProj::PROJPOINT{m_datumPoints[i].x, m_datumPoints[i].y};
        }
        return !m_stages.forward || KVProj::ProjForward(m_stages.forward, pts, n);
    }

    const Pipeline& m_stages;
    const Options& m_opt;
    int m_precision = 3;
    std::vector<Line> m_lines;
    std::vector<KVProj::PROJPOINT> m_points;
    std::vector<KVProj::DATUMPOINT> m_datumPoints;
};

int Usage(const std::string& message) {
    return UsageError("convert: " + message);
}

const char kHelp[] =
    "usage: kvproj convert [stages] [options] [file]\n"
    "\n"
    "Reads one point per line from the file or standard input (\"x y\" or \"x,y\";\n"
    "further columns, blank lines and '#' lines pass through) and runs it through\n"
    "the stages given, in this order:\n"
    "  1. source projection, inverted: --src-proj \"k=v ...\", --src-zone Z, --src-utm 33N\n"
    "  2. datum shift:                 --src-datum D --dst-datum D [--profile FILE]\n"
    "  3. destination projection:      --dst-proj \"k=v ...\", --dst-zone Z, --dst-utm 33N\n"
    "Longitude and latitude in degrees flow between the stages.\n"
    "\n"
    "  --fwd | --inv       with --proj, --zone or --utm: that projection is the\n"
    "                      destination (--fwd) or the source (--inv)\n"
    "  --inv-* / --fwd-*   same as --src-* / --dst-* (--fwd-utm 16N)\n"
    "  D                   a built-in datum by id, name, EPSG code (6267, EPSG:6267)\n"
    "                      or short name (WGS84, NAD27, ...), or a custom datum\n"
    "                      saved in the --profile file\n"
    "  --precision N       decimals printed (default 3 for projected, 9 for degrees)\n"
    "  --marker TEXT       printed for unplottable points (default \"unplottable\")\n"
    "  --strict            stop at the first line without two numbers\n"
    "\n"
    "A projection on a side with a datum takes that datum's ellipsoid unless the\n"
    "projection words name one; state plane zones keep their own. Zone Z is\n"
    "spcs27:NAME|FIPS, spcs83:NAME|FIPS or epsg:CODE.\n"
    "\n"
    "  kvproj convert --src-datum NAD27 --dst-datum WGS84 < lonlat.txt\n"
    "  kvproj convert --inv --zone spcs27:101 --src-datum NAD27 --dst-datum WGS84 \\\n"
    "                 --dst-utm 16N < alabama-east.txt\n";

bool ParseOptions(std::vector<std::string> args, Options* o, std::string* error) {
    bool haveInput = false;
    for (size_t i = 0; i < args.size(); ++i) {
        const std::string& a = args[i];
        if (a == "--fwd" || a == "--inv") {
            if (!o->direction.empty() && o->direction != a)
                return (*error = "give only one of --fwd and --inv"), false;
            o->direction = a;
        } else if (a == "--strict") {
            o->strict = true;
        } else if (a == "--precision" || a == "--marker" || a == "--src-datum" ||
                   a == "--dst-datum" || a == "--profile") {
            if (i + 1 >= args.size()) return (*error = a + " needs a value"), false;
            const std::string& v = args[++i];
            if (a == "--marker") {
                o->marker = v;
                continue;
            }
            if (a != "--precision") {
                std::string& target = a == "--src-datum"   ? o->srcDatum
                                      : a == "--dst-datum" ? o->dstDatum
                                                           : o->profile;
                if (v.empty()) return (*error = a + " needs a value"), false;
                target = v;
                continue;
            }
            char* end = nullptr;
            const long p = std::strtol(v.c_str(), &end, 10);
            if (v.empty() || *end != '\0' || p < 0 || p > 17)
                return (*error = "--precision takes 0 to 17, not '" + v + "'"), false;
            o->precision = static_cast<int>(p);
        } else if (!haveInput && (a == "-" || a.rfind("--", 0) != 0)) {
            o->input = a;
            haveInput = true;
        } else {
            return (*error = "unexpected argument '" + a + "'"), false;
        }
    }
    return true;
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

void* MakeHandle(KVProj::PROJDATA* data, const char* side) {
    char message[KVProj::kProjCheckMessageLen] = "";
    const int bad = KVProj::ProjCheckParams(data, message, false);
    if (bad != 0) {
        std::fprintf(stderr, "kvproj: convert: invalid %s projection: %s (parameter %d)\n", side,
                     message, bad);
        return nullptr;
    }
    void* h = KVProj::ProjCreateProjection(data);
    if (!h) std::fprintf(stderr, "kvproj: convert: cannot create the %s projection\n", side);
    return h;
}

// The datum handle, and the figures the two projections should sit on.
bool MakeDatumStage(const Options& o, Pipeline* stages, ProjFigure* srcFigure,
                    ProjFigure* dstFigure, std::string* error) {
    DatumChoice src, dst;
    if (!ResolveDatum(o.srcDatum, o.profile, &src, error) ||
        !ResolveDatum(o.dstDatum, o.profile, &dst, error))
        return false;
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

int Run(std::istream& in, const std::string& source, const Pipeline& stages, const Options& o) {
    Converter conv(stages, o);
    const bool progress = KV_ISATTY(2) != 0;
    long long number = 0, badLines = 0;
    std::string text;
    const KVProj::PROJPOINT none{0.0, 0.0};
    while (std::getline(in, text)) {
        ++number;
        if (!text.empty() && text.back() == '\r') text.pop_back();
        Line line;
        KVProj::PROJPOINT p = none;
        const size_t first = text.find_first_not_of(" \t");
        if (first == std::string::npos || text[first] == '#') {
            line.text = text;
        } else if (!ParsePoint(text, &p, &line)) {
            std::fprintf(stderr,
                         "kvproj: convert: %s:%lld: cannot read two coordinates from '%s'\n",
                         source.c_str(), number, text.c_str());
            ++badLines;
            if (o.strict) {
                conv.Flush();
                return EXIT_USAGE;
            }
            continue;
        }
        if (!conv.Add(line, p)) {
            std::fprintf(stderr, "kvproj: convert: %s: the conversion failed near line %lld\n",
                         source.c_str(), number);
            return EXIT_FAILED;
        }
        if (progress && number % kProgressEvery == 0)
            std::fprintf(stderr, "\rkvproj: convert: %lld lines", number);
    }
    if (!conv.Flush()) {
        std::fprintf(stderr, "kvproj: convert: %s: the conversion failed\n", source.c_str());
        return EXIT_FAILED;
    }
    if (progress && number >= kProgressEvery) std::fprintf(stderr, "\n");
    std::fflush(stdout);
    return badLines ? EXIT_FAILED : EXIT_OK;
}

int CmdConvert(const std::vector<std::string>& argsIn) {
    std::vector<std::string> args = argsIn;
    for (const std::string& a : args)
        if (a == "--help" || a == "-h") {
            std::fputs(kHelp, stdout);
            return EXIT_OK;
        }
    ProjRequest plain, src, dst;
    std::string error;
    if (!TakeProjectionRequest(args, {""}, &plain, &error) ||
        !TakeProjectionRequest(args, {"src-", "inv-"}, &src, &error) ||
        !TakeProjectionRequest(args, {"dst-", "fwd-"}, &dst, &error))
        return Usage(error);
    Options o;
    if (!ParseOptions(args, &o, &error) ||
        !PlaceProjections(plain, o.direction, &src, &dst, &error))
        return Usage(error);
    const bool datums = !o.srcDatum.empty() || !o.dstDatum.empty();
    if (!src.given && !dst.given && !datums)
        return Usage("give a projection (--proj, --zone or --utm with --fwd or --inv, or "
                     "--src-... / --dst-...) or datums (--src-datum and --dst-datum)");
    if (datums && (o.srcDatum.empty() || o.dstDatum.empty()))
        return Usage("give both --src-datum and --dst-datum");
    if (!o.profile.empty() && !datums)
        return Usage("--profile names custom datums for --src-datum and --dst-datum");

    Pipeline stages;
    ProjFigure srcFigure, dstFigure;
    if (datums && !MakeDatumStage(o, &stages, &srcFigure, &dstFigure, &error)) return Usage(error);
    KVProj::PROJDATA data;
    if (src.given) {
        if (!BuildProjection(src, &srcFigure, &data, &error)) return Usage(error);
        if (!(stages.inverse = MakeHandle(&data, "source"))) return EXIT_USAGE;
    }
    if (dst.given) {
        if (!BuildProjection(dst, &dstFigure, &data, &error)) return Usage(error);
        if (!(stages.forward = MakeHandle(&data, "destination"))) return EXIT_USAGE;
    }

    KVRegisterCallerInstance(PrintReport, nullptr);
    int status;
    std::ios::sync_with_stdio(false);
    if (o.input == "-") {
        status = Run(std::cin, "<stdin>", stages, o);
    } else {
        std::ifstream file(o.input);
        status = file ? Run(file, o.input, stages, o) : Usage("cannot open '" + o.input + "'");
    }
    KVUnregisterCallerInstance();
    return status;
}

KVCommand convertCommand(
    "convert", "convert [--src-PROJ] [--src-datum D --dst-datum D] [--dst-PROJ] [file]",
    "convert points through a source projection inverted, a datum shift and a projection; "
    "--fwd|--inv PROJ for one side (--help)",
    CmdConvert);

} // namespace
} // namespace kvtool
