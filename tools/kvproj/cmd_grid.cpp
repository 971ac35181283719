// "kvproj grid": inspect a grid-shift file and try it on points before it is
// installed beside a program.
//
//   kvproj grid info <file>                      sub-grid tree (NTv2) or grid (NADCON)
//   kvproj grid shift <file> --fwd|--inv [input] shift "lon lat" lines (degrees)
//
// Files ending in ".las" or ".los" (any case) are NADCON grids, read as the
// ".LAS"/".LOS" pair beside each other; anything else is taken as NTv2.
#include "Command.h"
#include "DatumArgs.h"
#include "Json.h"
#include "GridStage.h"
#include "LineInput.h"
#include "Numbers.h"
#include "Text.h"

#include "datum/GridShift.h"

#include <cstdio>
#include <memory>
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
    std::string error;
    if (LoadNtv2Grid(path, &error)) return true;
    *status = Failed(error);
    return false;
}

std::vector<KVProj::Ntv2SubGridInfo> SubGrids() {
    return LoadedSubGrids();
}

// The sub-grid tree as JSON: parents before their children, each with its
// depth and its parent's name.
int InfoNtv2Json(const std::string& path) {
    Json grids = Json::Array();
    long long nodes = 0;
    for (const auto& g : SubGrids()) {
        nodes += static_cast<long long>(g.columns) * g.rows;
        Json sub = Json::Object();
        sub.Set("name", Trim(g.name))
            .Set("parent", Trim(g.parent))
            .Set("depth", g.depth)
            .Set("west", g.west)
            .Set("south", g.south)
            .Set("east", g.east)
            .Set("north", g.north)
            .Set("dlon_arcsec", g.dx)
            .Set("dlat_arcsec", g.dy)
            .Set("columns", g.columns)
            .Set("rows", g.rows);
        grids.Add(std::move(sub));
    }
    Json out = Json::Object();
    out.Set("format", "NTv2")
        .Set("file", path)
        .Set("nodes", nodes)
        .Set("sub_grids", std::move(grids));
    std::fputs(out.Dump().c_str(), stdout);
    return EXIT_OK;
}

int InfoNtv2(const std::string& path, bool json) {
    int status = EXIT_OK;
    if (!LoadNtv2(path, &status)) return status;
    if (json) return InfoNtv2Json(path);
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

int InfoNadcon(const std::string& path, bool json) {
    KVProj::NadconGridInfo g{};
    if (!KVProj::NadconReadGridInfo(path.c_str(), &g))
        return Failed("cannot read a NADCON header from '" + path + "'");
    if (json) {
        Json out = Json::Object();
        out.Set("format", "NADCON")
            .Set("file", path)
            .Set("columns", g.columns)
            .Set("rows", g.rows)
            .Set("nodes", static_cast<long long>(g.columns) * g.rows)
            .Set("west", g.west)
            .Set("south", g.south)
            .Set("east", g.west + (g.columns - 1) * g.dx)
            .Set("north", g.south + (g.rows - 1) * g.dy)
            .Set("dx", g.dx)
            .Set("dy", g.dy);
        std::fputs(out.Dump().c_str(), stdout);
        return EXIT_OK;
    }
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
    bool fwd = false, inv = false;
    bool forward = true;
    std::string precisionText;
    int precision = 9;
    std::string input = "-";
};

// Reads "lon lat [rest]" (blanks, tabs or a comma between); false when the
// line does not start with two numbers.
bool ParsePoint(const std::string& line, DATUMPOINT* p, std::string* rest) {
    auto word = [&](size_t from, size_t* end) {
        *end = from;
        while (*end < line.size() && line[*end] != ' ' && line[*end] != '\t' && line[*end] != ',')
            ++*end;
        return line.substr(from, *end - from);
    };
    size_t end = 0;
    if (!ParseNumber(word(0, &end), &p->x)) return false;
    size_t next = end;
    while (next < line.size() && (line[next] == ' ' || line[next] == '\t' || line[next] == ','))
        ++next;
    if (next == end || !ParseNumber(word(next, &end), &p->y)) return false;
    *rest = line.substr(end);
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
        std::string& out = m_out.Text();
        for (const Line& l : m_lines) {
            if (!l.point) {
                out += l.text + "\n";
                continue;
            }
            const DATUMPOINT& p = m_points[k];
            if (p.x == KVPROJ_UNPLOTTABLE || p.y == KVPROJ_UNPLOTTABLE) {
                out += "unplottable unplottable";
            } else {
                AppendFixed(out, p.x, m_opt.precision);
                out += ' ';
                AppendFixed(out, p.y, m_opt.precision);
            }
            out += l.rest;
            if (!m_nadcon && !Covered(input[k])) out += "  # outside the grid";
            out += "\n";
            ++k;
        }
        m_lines.clear();
        m_points.clear();
        return m_out.Write(m_interactive);
    }
    bool Finish() { return Flush() && m_out.Write(true); }
    bool m_interactive = false;

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
    BlockOutput m_out;
};

int RunShift(const Options& o, Shifter& shifter) {
    LineInput in;
    std::string error;
    if (!in.Open(o.input, &error)) return Failed(error);
    shifter.m_interactive = in.Interactive();
    long long bad = 0;
    const char* data = nullptr;
    size_t size = 0;
    std::string rest;
    for (LineInput::Status status; (status = in.Next(&data, &size)) != LineInput::END;) {
        if (status == LineInput::READ_FAILED) {
            shifter.Finish();
            return Failed(in.Name() + ": read failed: " + in.Error());
        }
        const std::string text = status == LineInput::TOO_LONG ? "" : std::string(data, size);
        const size_t first = text.find_first_not_of(" \t");
        DATUMPOINT p{0, 0};
        bool point = false;
        if (status == LineInput::TOO_LONG ||
            (first != std::string::npos && text[first] != '#' &&
             !(point = ParsePoint(text.substr(first), &p, &rest)))) {
            std::fprintf(stderr, "kvproj: grid: %s:%lld: cannot read two coordinates from '%s'\n",
                         in.Name().c_str(), in.Number(), Shown(text).c_str());
            ++bad;
            continue;
        }
        if (!shifter.Add(text, point, p, rest)) return Failed("the shift or the output failed");
    }
    if (!shifter.Finish()) return Failed("the shift or the output failed");
    return bad ? EXIT_FAILED : EXIT_OK;
}

int Shift(Options o) {
    if (o.fwd && o.inv) return Usage("give only one of --fwd and --inv");
    if (!o.fwd && !o.inv) return Usage("say --fwd or --inv");
    o.forward = o.fwd;
    if (!o.precisionText.empty() && !ParseInteger(o.precisionText, 0, kMaxDecimals, &o.precision))
        return Usage("--precision takes 0 to 17");
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
    return RunShift(o, shifter);
}

struct Choice {
    Options shift;
    std::string infoFile;
    std::vector<std::string> gridDirs;
    bool json = false;
};

// The file a grid argument names: as it stands, or a bare name in the grid
// folders (--grid-dir, KVPROJ_GRID_PATH, beside kvproj); "" after a message.
std::string Located(const std::string& name, const std::vector<std::string>& dirs, int* status) {
    SetGridSearch(dirs);
    std::string error;
    const std::string path = FindGridFile(name, &error);
    if (path.empty()) *status = Failed(error);
    return path;
}

int Run(CLI::App& app, Choice c) {
    int status = EXIT_FAILED;
    if (app.got_subcommand("info")) {
        if (c.infoFile.empty()) return Usage("info needs exactly one grid file");
        if ((c.infoFile = Located(c.infoFile, c.gridDirs, &status)).empty()) return status;
        return IsNadcon(c.infoFile) ? InfoNadcon(c.infoFile, c.json) : InfoNtv2(c.infoFile, c.json);
    }
    if (app.got_subcommand("shift")) {
        if (c.shift.file.empty()) return Usage("shift needs a grid file");
        if ((c.shift.file = Located(c.shift.file, c.gridDirs, &status)).empty()) return status;
        return Shift(c.shift);
    }
    return Usage("say info or shift");
}

Runner SetUp(CLI::App& app) {
    auto c = std::make_shared<Choice>();
    CLI::App* info = app.add_subcommand("info", "the sub-grid tree (NTv2) or grid (NADCON)");
    info->add_option("file", c->infoFile, "an NTv2 (.gsb) or NADCON (.las/.los) file");
    info->add_flag("--json", c->json, "the grid as JSON");
    CLI::App* shift = app.add_subcommand("shift", "shift \"lon lat\" lines (degrees)");
    shift->add_option("grid", c->shift.file, "the grid file");
    shift->add_option("input", c->shift.input, "input file (default: standard input)");
    shift->add_flag("--fwd", c->shift.fwd, "from the grid's old datum to its new one");
    shift->add_flag("--inv", c->shift.inv, "the other way (NTv2 only)");
    shift->add_option("--precision", c->shift.precisionText, "decimals printed (default 9)");
    for (CLI::App* sub : {info, shift})
        sub->add_option("--grid-dir", c->gridDirs, "look a bare file name up in DIR too")
            ->allow_extra_args(false);
    return [c, &app] { return Run(app, *c); };
}

const KVCommand command({"grid", "grid info <file> | shift <file> --fwd|--inv",
                         "inspect an NTv2 or NADCON grid file and shift points with it",
                         "  kvproj grid info NTV2_0.GSB\n"
                         "  echo '-75 45' | kvproj grid shift NTV2_0.GSB --fwd\n"},
                        SetUp);

} // namespace
} // namespace kvtool
