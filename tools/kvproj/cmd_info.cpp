// "kvproj info": what a coordinate-system argument resolves to (an EPSG code,
// zone words, key=value words) and what the side files of a name hold, for
// every kind of side file the tool knows, with the conventions that trip users
// named as warnings. --json writes the same as one JSON document.
#include "Command.h"
#include "Crs.h"
#include "SideFiles.h"

#include "frame/CNumber.h"

#include <sys/stat.h>

#include <cstdio>
#include <memory>
#include <string>
#include <vector>

namespace kvtool {
namespace {

using KVProj::FormatCString;

struct Options {
    std::vector<std::string> names;
    bool json = false;
};

// ---------------------------------------------------------------- JSON

std::string Quoted(const std::string& text) {
    std::string out = "\"";
    for (unsigned char c : text) {
        if (c == '"' || c == '\\')
            out += '\\', out += static_cast<char>(c);
        else if (c < 0x20)
            out += FormatCString("\\u%04x", c);
        else
            out += static_cast<char>(c);
    }
    return out + "\"";
}

std::string List(const std::vector<std::string>& items) {
    std::string out = "[";
    for (size_t i = 0; i < items.size(); ++i)
        out += (i ? ", " : "") + Quoted(items[i]);
    return out + "]";
}

std::string Object(const std::vector<std::pair<std::string, std::string>>& fields) {
    std::string out = "{";
    for (size_t i = 0; i < fields.size(); ++i)
        out += (i ? ", " : "") + Quoted(fields[i].first) + ": " + fields[i].second;
    return out + "}";
}

std::string ProjectionJson(const KVProj::PROJDATA& p) {
    std::vector<std::pair<std::string, std::string>> fields;
    for (const auto& f : ProjectionFields(p))
        fields.emplace_back(f.first, Quoted(f.second));
    return Object(fields);
}

std::string DatumJson(const DatumChoice& d) {
    const KVProj::DATUM2WGS84& s = d.step;
    return Object({{"name", Quoted(d.name)},
                   {"id", std::to_string(d.type)},
                   {"method", Quoted(DatumMethodText(s.Method))},
                   {"shift", FormatCString("[%.15g, %.15g, %.15g]", s.dx, s.dy, s.dz)},
                   {"rotation", FormatCString("[%.15g, %.15g, %.15g]", s.rx, s.ry, s.rz)},
                   {"scale_ppm", FormatCString("%.15g", s.k)}});
}

std::string GeorefJson(const SideRecords& r) {
    const KVProj::GEOREF& g = r.georef;
    std::vector<std::pair<std::string, std::string>> f = {
        {"method", Quoted(KVProj::RefMethodName(g.Method))}};
    if (g.Method == KVProj::TM_PRECALCULATED)
        f.emplace_back("coefficients", FormatCString("[%.15g, %.15g, %.15g, %.15g, %.15g, %.15g]",
                                                     g.A, g.B, g.C, g.D, g.E, g.F));
    std::vector<std::string> controls;
    for (size_t i = 0; i < r.src.size() && i < r.dest.size(); ++i)
        controls.push_back(FormatCString("[%.15g, %.15g, %.15g, %.15g]", r.src[i].x, r.src[i].y,
                                         r.dest[i].x, r.dest[i].y));
    std::string list = "[";
    for (size_t i = 0; i < controls.size(); ++i)
        list += (i ? ", " : "") + controls[i];
    f.emplace_back("controls", list + "]");
    return Object(f);
}

std::string CrsJson(const CrsRecord& c, const std::vector<std::string>& files) {
    std::vector<std::pair<std::string, std::string>> f = {{"name", Quoted(c.given)},
                                                          {"title", Quoted(c.title)}};
    f.emplace_back("projection", c.hasProj ? ProjectionJson(c.proj) : "null");
    f.emplace_back("datum", c.hasDatum ? DatumJson(c.datum) : "null");
    if (!c.hasDatum && !c.noDatum.empty()) f.emplace_back("no_datum", Quoted(c.noDatum));
    f.emplace_back("georeference", c.hasGeoref ? GeorefJson(c.image) : "null");
    f.emplace_back("side_files", List(files));
    f.emplace_back("notes", List(c.notes));
    f.emplace_back("warnings", List(c.warnings));
    return Object(f);
}

// ---------------------------------------------------------------- text

std::string CrsText(const CrsRecord& c) {
    SideRecords r;
    r.hasProj = c.hasProj, r.proj = c.proj;
    r.hasDatum = c.hasDatum, r.datum = c.datum.type, r.params = c.datum.step;
    std::string text = DescribeRecords(r);
    if (c.hasDatum && c.datum.custom) text += "  datum name: " + c.datum.name + "\n";
    if (!c.hasDatum && !c.noDatum.empty()) text += "  datum: unknown (" + c.noDatum + ")\n";
    for (const std::string& n : c.notes)
        text += "  note: " + n + "\n";
    for (const std::string& w : c.warnings)
        text += "  warning: " + w + "\n";
    return text;
}

// The side files found for `name`, one block of text each; false when one
// could not be read.
bool SideFileBlocks(const std::string& name, std::vector<std::string>* blocks,
                    std::vector<std::string>* files, int* status) {
    for (const FileKind& kind : FileKinds()) {
        SideRecords records;
        bool found = false;
        std::string error;
        if (!kind.Read(name, &records, &found, &error)) {
            *status = Failure("info: " + error);
            return false;
        }
        if (!found) continue;
        files->push_back(kind.FileFor(name));
        blocks->push_back(kind.FileFor(name) + " (" + kind.what + "):\n" +
                          DescribeRecords(records));
    }
    return true;
}

bool Exists(const std::string& path) {
    struct stat st;
    return stat(path.c_str(), &st) == 0;
}

// A name that is a coordinate-system argument rather than a file name.
bool IsCrsWord(const std::string& name) {
    return !Exists(name) &&
           (name.find(':') != std::string::npos || name.find('=') != std::string::npos);
}

void Show(const std::string& name, const Options& o, std::vector<std::string>* json, int* status) {
    std::vector<std::string> blocks, files;
    if (!IsCrsWord(name) && !SideFileBlocks(name, &blocks, &files, status)) return;
    CrsRecord crs;
    std::string error;
    const bool resolved = (IsCrsWord(name) || Exists(name)) && ResolveCrs(name, &crs, &error);
    if (!resolved && blocks.empty()) {
        *status = Failure("info: " + (error.empty() ? "no side file found for " + name : error));
        return;
    }
    if (!resolved) crs.given = crs.title = name;
    if (o.json) {
        json->push_back(CrsJson(crs, files));
        return;
    }
    for (const std::string& b : blocks)
        std::printf("%s", b.c_str());
    if (resolved) std::printf("%s:\n%s", crs.title.c_str(), CrsText(crs).c_str());
}

int Run(const Options& o) {
    int status = EXIT_OK;
    std::vector<std::string> json;
    for (const std::string& name : o.names)
        Show(name, o, &json, &status);
    if (o.json) {
        std::string out = "[";
        for (size_t i = 0; i < json.size(); ++i)
            out += (i ? ",\n " : "") + json[i];
        std::printf("%s]\n", out.c_str());
    }
    return status;
}

Runner SetUp(CLI::App& app) {
    auto o = std::make_shared<Options>();
    app.add_option("name", o->names,
                   "EPSG:n, utm:33N, spcs83:ZONE, key=value words, a side\n"
                   "file (map.prj, map.kvr) or an image (map.tif)")
        ->required();
    app.add_flag("--json", o->json, "write the records as JSON");
    return [o] { return Run(*o); };
}

const KVCommand command(
    {"info", "info <name>... [--json]", "show what a coordinate system or side files resolve to",
     "  kvproj info EPSG:2230\n"
     "  kvproj info map.kvr\n"
     "  kvproj info map.tif      # map.tif.kvr, map.tfw, map.RSF, tags, map.prj\n"
     "  kvproj info --json map.tif\n",
     "  0  every name resolved, or a side file was found for it\n"
     "  1  none was found for some name, one could not be read, or an EPSG code\n"
     "     cannot be expressed (the reason is printed)\n"
     "  2  bad usage\n"},
    SetUp);

} // namespace
} // namespace kvtool
