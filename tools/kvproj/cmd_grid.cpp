// "kvproj grid": inspect a grid-shift file and try it on points before it is
// installed beside a program.
//
//   kvproj grid info <file>                      sub-grid tree (NTv2) or grid (NADCON)
//   kvproj grid shift <file> --fwd|--inv [input] shift "lon lat" lines (degrees)
//
// Files ending in ".las" or ".los" (any case) are NADCON grids, read as the
// ".LAS"/".LOS" pair beside each other; anything else is taken as NTv2.
#include "Command.h"

#include "datum/GridShift.h"

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iostream>
#include <string>
#include <vector>

namespace kvtool {
namespace {

using KVProj::DATUMPOINT;

constexpr size_t kBatch = 4096;

int Usage(const std::string& message) {
    return UsageError("grid: " + message);
}

int Failed(const std::string& message) {
    std::fprintf(stderr, "kvproj: grid: %s\n", message.c_str());
    return EXIT_FAILED;
}

bool IsNadcon(const std::string& path) {
    if (path.size() < 4) return false;
    std::string ext = path.substr(path.size() - 4);
    for (char& c : ext)
        c = static_cast<char>(c >= 'A' && c <= 'Z' ? c - 'A' + 'a' : c);
    return ext == ".las" || ext == ".los";
}

// Loads an NTv2 file as the process's grid; false after a message.
bool LoadNtv2(const std::string& path, int* status) {
    switch (KVProj::NTV2Startup(path.c_str())) {
    case KVProj::NTV2_OK:
        return true;
    case KVProj::NTV2_OPEN_FAILED:
        *status = Failed("cannot open '" + path + "'");
        return false;
    case KVProj::NTV2_SHORT_READ:
        *status = Failed("'" + path + "' ends before the data its headers declare");
        return false;
    case KVProj::NTV2_NO_MEMORY:
        *status = Failed("not enough memory for '" + path + "'");
        return false;
    default:
        *status =
            Failed("'" + path + "' is not an NTv2 grid with shifts in seconds, or is corrupt");
        return false;
    }
}

std::vector<KVProj::Ntv2SubGridInfo> SubGrids() {
    std::vector<KVProj::Ntv2SubGridInfo> grids(
        static_cast<size_t>(KVProj::NTV2GetSubGrids(nullptr, 0)));
    grids.resize(
        static_cast<size_t>(KVProj::NTV2GetSubGrids(grids.data(), static_cast<int>(grids.size()))));
    return grids;
}

int InfoNtv2(const std::string& path) {
    int status = EXIT_OK;
    if (!LoadNtv2(path, &status)) return status;
    const std::vector<KVProj::Ntv2SubGridInfo> grids = SubGrids();
    long long nodes = 0;
    int roots = 0;
    for (const auto& g : grids) {
        nodes += static_cast<long long>(g.columns) * g.rows;
        roots += g.depth == 0;
    }
    std::printf("NTv2 grid: %s\n", path.c_str());
    std::printf("sub-grids: %zu (%d at root level), nodes: %lld\n", grids.size(), roots, nodes);
    std::printf("%-20s %-8s %12s %12s %12s %12s %10s %10s %8s %8s\n", "name", "parent", "west",
                "south", "east", "north", "dlon[\"]", "dlat[\"]", "columns", "rows");
    for (const auto& g : grids) {
        std::string name = std::string(static_cast<size_t>(2 * g.depth), ' ') + g.name;
        std::printf("%-20s %-8s %12.6f %12.6f %12.6f %12.6f %10.4f %10.4f %8d %8d\n", name.c_str(),
                    g.parent, g.west, g.south, g.east, g.north, g.dx, g.dy, g.columns, g.rows);
    }
    return EXIT_OK;
}

int InfoNadcon(const std::string& path) {
    KVProj::NadconGridInfo g{};
    if (!KVProj::NadconReadGridInfo(path.c_str(), &g))
        return Failed("cannot read a NADCON header from '" + path + "'");
    std::printf("NADCON grid: %s\n", path.c_str());
    std::printf("columns: %d, rows: %d, nodes: %lld\n", g.columns, g.rows,
                static_cast<long long>(g.columns) * g.rows);
    std::printf("west: %.6f, south: %.6f, east: %.6f, north: %.6f\n", g.west, g.south,
                g.west + (g.columns - 1) * g.dx, g.south + (g.rows - 1) * g.dy);
    std::printf("spacing: %.6f x %.6f degrees\n", g.dx, g.dy);
    return EXIT_OK;
}

struct Options {
    std::string file;
    bool forward = true;
    bool direction = false;
    int precision = 9;
    std::string input = "-";
};

bool ParseShift(const std::vector<std::string>& args, Options* o, std::string* error) {
    bool haveInput = false;
    for (size_t i = 1; i < args.size(); ++i) {
        const std::string& a = args[i];
        if (a == "--fwd" || a == "--inv") {
            o->forward = a == "--fwd";
            o->direction = true;
        } else if (a == "--precision") {
            char* end = nullptr;
            const long p = i + 1 < args.size() ? std::strtol(args[i + 1].c_str(), &end, 10) : -1;
            if (i + 1 >= args.size() || args[i + 1].empty() || *end != '\0' || p < 0 || p > 17)
                return (*error = "--precision takes 0 to 17"), false;
            o->precision = static_cast<int>(p);
            ++i;
        } else if (o->file.empty() && a.rfind("--", 0) != 0) {
            o->file = a;
        } else if (!haveInput && (a == "-" || a.rfind("--", 0) != 0)) {
            o->input = a;
            haveInput = true;
        } else {
            return (*error = "unexpected argument '" + a + "'"), false;
        }
    }
    if (o->file.empty()) return (*error = "shift needs a grid file"), false;
    if (!o->direction) return (*error = "say --fwd or --inv"), false;
    return true;
}

// Reads "lon lat [rest]"; false when the line does not start with two numbers.
bool ParsePoint(const std::string& line, DATUMPOINT* p, std::string* rest) {
    const char* s = line.c_str();
    char* end = nullptr;
    p->x = std::strtod(s, &end);
    if (end == s) return false;
    const char* next = end;
    while (*next == ' ' || *next == '\t' || *next == ',')
        ++next;
    if (next == end) return false;
    p->y = std::strtod(next, &end);
    if (end == next || (*end && *end != ' ' && *end != '\t' && *end != ',')) return false;
    *rest = end;
    return true;
}

class Shifter {
public:
    Shifter(const Options& o, bool nadcon, std::string area)
        : m_opt(o), m_nadcon(nadcon), m_area(std::move(area)) {
        if (!nadcon)
            for (const auto& g : SubGrids())
                if (g.depth == 0) m_roots.push_back(g);
    }

    bool Add(const std::string& text, bool point, const DATUMPOINT& p, const std::string& rest) {
        m_lines.push_back({text, point, rest});
        if (point) m_points.push_back(p);
        return m_lines.size() < kBatch || Flush();
    }

    bool Flush() {
        const std::vector<DATUMPOINT> input = m_points;
        const int n = static_cast<int>(m_points.size());
        if (n > 0) {
            const bool ok = m_nadcon ? KVProj::NadconShift(m_area.c_str(), m_points.data(), n)
                                     : KVProj::NTV2Transform(n, m_points.data(), !m_opt.forward) ==
                                           KVProj::NTV2_OK;
            if (!ok) return false;
        }
        size_t k = 0;
        std::string out;
        char buffer[128];
        for (const Line& l : m_lines) {
            if (!l.point) {
                out += l.text + "\n";
                continue;
            }
            const DATUMPOINT& p = m_points[k];
            if (p.x == KVPROJ_UNPLOTTABLE || p.y == KVPROJ_UNPLOTTABLE)
                std::snprintf(buffer, sizeof buffer, "unplottable unplottable");
            else
                std::snprintf(buffer, sizeof buffer, "%.*f %.*f", m_opt.precision, p.x,
                              m_opt.precision, p.y);
            out += buffer + l.rest;
            if (!m_nadcon && !Covered(input[k])) out += "  # outside the grid";
            out += "\n";
            ++k;
        }
        std::fwrite(out.data(), 1, out.size(), stdout);
        m_lines.clear();
        m_points.clear();
        return true;
    }

private:
    struct Line {
        std::string text;
        bool point;
        std::string rest;
    };
    bool Covered(const DATUMPOINT& p) const {
        for (const auto& g : m_roots)
            if (g.west <= p.x && p.x <= g.east && g.south <= p.y && p.y <= g.north) return true;
        return false;
    }
    const Options& m_opt;
    bool m_nadcon;
    std::string m_area;
    std::vector<KVProj::Ntv2SubGridInfo> m_roots;
    std::vector<Line> m_lines;
    std::vector<DATUMPOINT> m_points;
};

int RunShift(std::istream& in, const std::string& source, Shifter& shifter) {
    std::string text, rest;
    long long number = 0, bad = 0;
    while (std::getline(in, text)) {
        ++number;
        if (!text.empty() && text.back() == '\r') text.pop_back();
        const size_t first = text.find_first_not_of(" \t");
        DATUMPOINT p{0, 0};
        bool point = false;
        if (first != std::string::npos && text[first] != '#') {
            point = ParsePoint(text.substr(first), &p, &rest);
            if (!point) {
                std::fprintf(stderr,
                             "kvproj: grid: %s:%lld: cannot read two coordinates from '%s'\n",
                             source.c_str(), number, text.c_str());
                ++bad;
                continue;
            }
        }
        if (!shifter.Add(text, point, p, rest)) return Failed("the shift failed");
    }
    if (!shifter.Flush()) return Failed("the shift failed");
    std::fflush(stdout);
    return bad ? EXIT_FAILED : EXIT_OK;
}

int Shift(const std::vector<std::string>& args) {
    Options o;
    std::string error;
    if (!ParseShift(args, &o, &error)) return Usage(error);
    const bool nadcon = IsNadcon(o.file);
    std::string area;
    if (nadcon) {
        if (!o.forward) return Usage("NADCON grids shift forward only");
        const size_t slash = o.file.find_last_of('/');
        const std::string dir = slash == std::string::npos ? "./" : o.file.substr(0, slash + 1);
        area = slash == std::string::npos ? o.file : o.file.substr(slash + 1);
        area.resize(area.size() - 4);
        KVProj::GridSetSearchDirectory(dir.c_str());
        KVProj::NadconGridInfo info{};
        if (!KVProj::NadconReadGridInfo(o.file.c_str(), &info))
            return Failed("cannot read a NADCON header from '" + o.file + "'");
    } else {
        int status = EXIT_OK;
        if (!LoadNtv2(o.file, &status)) return status;
    }
    Shifter shifter(o, nadcon, area);
    std::ios::sync_with_stdio(false);
    if (o.input == "-") return RunShift(std::cin, "<stdin>", shifter);
    std::ifstream file(o.input);
    if (!file) return Usage("cannot open '" + o.input + "'");
    return RunShift(file, o.input, shifter);
}

int CmdGrid(const std::vector<std::string>& args) {
    if (args.empty()) return Usage("say info or shift");
    if (args[0] == "info") {
        if (args.size() != 2) return Usage("info needs exactly one grid file");
        return IsNadcon(args[1]) ? InfoNadcon(args[1]) : InfoNtv2(args[1]);
    }
    if (args[0] == "shift") return Shift(args);
    return Usage("unknown grid command '" + args[0] + "'");
}

KVCommand gridCommand("grid", "grid info <file> | grid shift <file> --fwd|--inv [input]",
                      "inspect an NTv2 or NADCON grid file and shift points with it", CmdGrid);

} // namespace
} // namespace kvtool
