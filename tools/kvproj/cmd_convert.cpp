// "kvproj convert": streams points through a projection, forward or inverse.
//
// Input: one point per line, "x y" separated by blanks or a comma (longitude
// first going forward); further columns are passed through as they stand;
// blank lines and lines starting with '#' are copied unchanged. Lines are
// converted in batches, so memory use does not grow with the input.
#include "Command.h"
#include "ProjArgs.h"

#include "kvproj/kvproj.h"

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iostream>
#include <string>
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
    bool forward = true;
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

class Converter {
public:
    Converter(void* handle, const Options& o) : m_handle(handle), m_opt(o) {
        m_precision = o.precision >= 0 ? o.precision : (o.forward ? 3 : 9);
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
        const int n = static_cast<int>(m_points.size());
        if (n > 0) {
            const bool ok = m_opt.forward ? KVProj::ProjForward(m_handle, m_points.data(), n)
                                          : KVProj::ProjInverse(m_handle, m_points.data(), n);
            if (!ok) return false;
            m_unplottable += KVProj::ProjResult(m_handle) != 0;
        }
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

    long long UnplottableBatches() const { return m_unplottable; }

private:
    void* m_handle;
    const Options& m_opt;
    int m_precision = 3;
    std::vector<Line> m_lines;
    std::vector<KVProj::PROJPOINT> m_points;
    long long m_unplottable = 0;
};

int Usage(const std::string& message) {
    return UsageError("convert: " + message);
}

bool ParseOptions(std::vector<std::string> args, Options* o, std::string* error) {
    bool direction = false, haveInput = false;
    for (size_t i = 0; i < args.size(); ++i) {
        const std::string& a = args[i];
        if (a == "--fwd" || a == "--inv") {
            o->forward = a == "--fwd";
            direction = true;
        } else if (a == "--strict") {
            o->strict = true;
        } else if (a == "--precision" || a == "--marker") {
            if (i + 1 >= args.size()) return (*error = a + " needs a value"), false;
            const std::string& v = args[++i];
            if (a == "--marker") {
                o->marker = v;
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
    if (!direction) return (*error = "say --fwd or --inv"), false;
    return true;
}

void* MakeHandle(KVProj::PROJDATA* data) {
    char message[KVProj::kProjCheckMessageLen] = "";
    const int bad = KVProj::ProjCheckParams(data, message, false);
    if (bad != 0) {
        std::fprintf(stderr, "kvproj: convert: invalid projection: %s (parameter %d)\n", message,
                     bad);
        return nullptr;
    }
    void* h = KVProj::ProjCreateProjection(data);
    if (!h) std::fprintf(stderr, "kvproj: convert: cannot create the projection\n");
    return h;
}

int Run(std::istream& in, const std::string& source, void* handle, const Options& o) {
    Converter conv(handle, o);
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
    KVProj::PROJDATA data;
    bool given = false;
    std::string error;
    if (!TakeProjectionOptions(args, &data, &given, &error)) return Usage(error);
    if (!given) return Usage("give the projection with --proj, --zone or --utm");
    Options o;
    if (!ParseOptions(args, &o, &error)) return Usage(error);

    void* handle = MakeHandle(&data);
    if (!handle) return EXIT_USAGE;
    int status;
    std::ios::sync_with_stdio(false);
    if (o.input == "-") {
        status = Run(std::cin, "<stdin>", handle, o);
    } else {
        std::ifstream file(o.input);
        status = file ? Run(file, o.input, handle, o) : Usage("cannot open '" + o.input + "'");
    }
    KVProj::ProjDeleteProjection(handle);
    return status;
}

KVCommand
    convertCommand("convert", "convert --fwd|--inv PROJ [file]",
                   "convert points; projection: --proj \"k=v ...\", --zone spcs83:NAME, --utm 33N",
                   CmdConvert);

} // namespace
} // namespace kvtool
