// "kvproj graticule": draws a projection's meridians and parallels and the
// outline of its valid area as an SVG picture.
//
// Everything goes through the library as a host would use it: the lines and a
// polygon covering the lon/lat window are cut to the valid area by the
// preclipping entry points, the pieces are projected by ProjForward, and
// points that come back unplottable break the lines. Nothing here knows a
// projection by its type, so a projection added to the library is drawn as
// soon as its module is in the table.
//
// Fitting the picture: a projection may run off towards infinity at the edge
// of its valid area (Mercator at the poles, a conic at its far pole), and a
// picture fitted to every point would show little but that edge. For every
// vertex the smaller principal scale (the least the map stretches it in any
// direction, from finite differences) is compared with the median over the
// whole drawing; the frame is fitted to the vertices stretched less than
// kRunaway times the median, and then widened to the others that lie close
// to it (a pole of Van der Grinten is stretched without bound yet sits on the
// map's circle). The lines are cut at the frame.
#include "Command.h"
#include "Crs.h"
#include "Graticule.h"
#include "Svg.h"

#include "frame/CNumber.h"

#include <cmath>
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

namespace kvtool {
namespace {

using namespace graticule;
using namespace geo;
using namespace svg;

bool CutByFrame(const std::vector<Feature>& features, const Frame& f) {
    for (const Feature& feature : features)
        for (const PROJPOINT& p : feature.xy)
            if (Plottable(p) && (p.x < f.minX || p.x > f.maxX || p.y < f.minY || p.y > f.maxY))
                return true;
    return false;
}

// Meridian and parallel values as a reader writes them: 15, -7.5.
std::string Label(double v) {
    return KVProj::FormatCString("%.10g", v == 0.0 ? 0.0 : v);
}

std::string DefaultTitle(const PROJDATA& data) {
    char name[KVPROJ_NAME_LEN] = "";
    KVProj::ProjGetProjectionInfo(data.Type, name);
    std::string title = name;
    if (data.Type == KVProj::PT_STATE_PLANE_27 || data.Type == KVProj::PT_STATE_PLANE_83) {
        char zone[KVProj::kStateZoneNameLen] = "";
        KVProj::ProjGetStateZoneInfo(data.Zone, zone, nullptr);
        if (zone[0]) title += std::string(": ") + zone;
    }
    return title;
}

// The picture: the valid area filled, the graticule lines, the outline of
// the valid area (with the frame as a neat line where it cuts the drawing),
// and the title band.
std::string Picture(const std::vector<Feature>& features, const Frame& frame, const Options& o,
                    const std::string& title) {
    const Canvas c = MakeCanvas(frame, o.width);
    const double u = c.unit;
    std::string s = Opening(c, title);

    std::string area, outline;
    for (int g = 0;; ++g) {
        std::string d;
        bool any = false;
        for (const Feature& f : features) {
            if (f.kind != Kind::Area || f.group != g) continue;
            any = true;
            const Path ring = CutRing(frame, f.xy);
            if (!ring.empty()) d += PathData(c, ring, true);
            std::vector<Path> edges;
            CutLine(frame, f.xy, &f.seam, &edges);
            for (const Path& e : edges) {
                const std::string ed = PathData(c, e, false);
                if (!ed.empty()) outline += "<path d=\"" + ed + "\"/>\n";
            }
        }
        if (!any) break;
        if (!d.empty()) area += "<path fill-rule=\"evenodd\" d=\"" + d + "\"/>\n";
    }
    // Where the frame cuts the drawing, it is drawn as the map's neat line.
    if (CutByFrame(features, frame)) {
        const Path box{Pt(frame.minX, frame.minY), Pt(frame.maxX, frame.minY),
                       Pt(frame.maxX, frame.maxY), Pt(frame.minX, frame.maxY)};
        outline += "<path d=\"" + PathData(c, box, true) + "\"/>\n";
    }
    s += "<g class=\"area\" fill=\"#eaf1f8\" stroke=\"none\">\n" + area + "</g>\n";
    s += "<g class=\"graticule\" fill=\"none\" stroke=\"#8193a8\" stroke-width=\"" + Num(0.6 * u) +
         "\" stroke-linejoin=\"round\">\n";
    for (const Feature& f : features) {
        if (f.kind == Kind::Area) continue;
        std::vector<Path> pieces;
        CutLine(frame, f.xy, nullptr, &pieces);
        const bool meridian = f.kind == Kind::Meridian;
        for (const Path& p : pieces) {
            const std::string d = PathData(c, p, false);
            if (!d.empty())
                s += std::string("<path class=\"") + (meridian ? "meridian" : "parallel") +
                     "\" data-" + (meridian ? "lon" : "lat") + "=\"" + Label(f.value) + "\" d=\"" +
                     d + "\"/>\n";
        }
    }
    s += "</g>\n";
    s += "<g class=\"outline\" fill=\"none\" stroke=\"#34495e\" stroke-width=\"" + Num(1.2 * u) +
         "\" stroke-linejoin=\"round\" stroke-linecap=\"round\">\n" + outline + "</g>\n";
    s += Heading(c, title,
                 KVProj::FormatCString("meridians and parallels every %g\xC2\xB0", o.step));
    s += "</svg>\n";
    return s;
}

int Usage(const std::string& message) {
    return UsageError("graticule: " + message);
}

// The record from --crs or from --proj, --zone and --utm (one form or the other).
bool ProjectionOf(const std::string& crsText, const ProjRequest& request, PROJDATA* data,
                  std::string* error) {
    if (crsText.empty()) {
        if (!request.given)
            return *error = "give the projection with --crs, --proj, --zone or --utm", false;
        return BuildProjection(request, nullptr, data, error);
    }
    if (request.given)
        return *error = "give the projection with --crs or with --proj/--zone/--utm, not both",
               false;
    CrsRecord crs;
    if (!ResolveCrsProjection(crsText, &crs, error)) return false;
    *data = crs.proj;
    return true;
}

int Run(const Words& words) {
    PROJDATA data;
    ProjRequest request;
    std::string error;
    if (!RequestFrom(words.proj, &request, &error)) return Usage(error);
    if (!ProjectionOf(words.crs.crs, request, &data, &error)) return Usage(error);
    Options o;
    if (!ParseOptions(words, &o, &error)) return Usage(error);
    if (o.densify > o.step) return Usage("--densify must not exceed --step");

    Handles h;
    if (!MakeHandles(data, &h)) return EXIT_FAILED;
    // A zone may give its central meridian as 350 degrees; the split test of
    // the preclipping brings the far side of such a band round again.
    const double lon0 = std::remainder(h.clipRecord.Lon0, 360.0);
    const Window w = o.haveWindow ? o.window : Window{lon0 - 180.0, -90.0, lon0 + 180.0, 90.0};
    const double lines = (w.lon2 - w.lon1) / o.step + (w.lat2 - w.lat1) / o.step + 3.0;
    const double perLine = std::max(w.lon2 - w.lon1, w.lat2 - w.lat1) / o.densify + 1.0;
    if (lines * perLine > kMaxVertices)
        return Usage("too many points to draw: raise --step or --densify");

    std::vector<Feature> features;
    if (!BuildFeatures(h, w, o, &features)) return EXIT_FAILED;
    MarkSeams(h, w, features);
    if (!ProjectFeatures(h.convert, w, features)) {
        std::fprintf(stderr, "kvproj: graticule: the projection of the graticule failed\n");
        return EXIT_FAILED;
    }
    Frame frame = Fit(features);
    if (frame.Empty()) {
        std::fprintf(
            stderr,
            "kvproj: graticule: no part of the window lies in the projection's valid area\n");
        return EXIT_FAILED;
    }
    Refine(h.convert, w, frame, features);
    frame = Fit(features);
    const std::string title = o.title.empty() ? DefaultTitle(data) : o.title;
    if (!WriteOutput(o.output, Picture(features, frame, o, title))) {
        std::fprintf(stderr, "kvproj: graticule: cannot write '%s'\n", o.output.c_str());
        return EXIT_FAILED;
    }
    return EXIT_OK;
}

Runner SetUp(CLI::App& app) {
    auto w = std::make_shared<Words>();
    AddProjectionOptions(app, {""}, "", &w->proj);
    AddCrsOptions(app, false, &w->crs);
    app.add_option("--step", w->step, "degrees between lines (default 15)");
    app.add_option("--densify", w->densify, "degrees between vertices (default 1)");
    app.add_option("--width", w->width, "picture width in pixels (default 800)");
    app.add_option("--window", w->window, "LON1,LAT1,LON2,LAT2 to draw (default all)");
    app.add_option("--title", w->title, "the picture's title");
    w->outputOpt = app.add_option("-o,--output", w->output, "the SVG file (default: stdout)");
    return [w] { return Run(*w); };
}

const KVCommand
    command({"graticule", "graticule PROJ [options] [-o FILE]",
             "draw meridians, parallels and the valid area as an SVG picture",
             "  kvproj graticule --proj 'type=lcc lat1=33 lat2=45 lon0=-96' -o lcc.svg\n"
             "  kvproj graticule --utm 33N --step 1 --window 9,40,21,50 -o utm33.svg\n"
             "  kvproj graticule --crs EPSG:3035 --window -30,25,45,75 -o europe.svg\n"},
            SetUp);

} // namespace
} // namespace kvtool
