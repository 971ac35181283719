// SVG pictures of projected geometry; see Svg.h.
#include "Svg.h"

#include "frame/CNumber.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

namespace kvtool::svg {

using geo::Path;
using geo::PROJPOINT;

namespace {

constexpr double kSimplify = 0.1; // pixels a dropped vertex may lie off its chord

} // namespace

PROJPOINT Canvas::Pixel(const PROJPOINT& p) const {
    return geo::Pt(left + (p.x - frame->minX) * scale, top + (frame->maxY - p.y) * scale);
}

Canvas MakeCanvas(const geo::Box& f, int width) {
    Canvas c;
    c.frame = &f;
    c.unit = width / 800.0;
    c.margin = 16.0 * c.unit;
    const double margin = c.margin;
    c.top = margin + 46.0 * c.unit;
    c.width = width;
    const double dx = f.maxX - f.minX, dy = f.maxY - f.minY;
    const double maxMapHeight = 3.0 * width; // a very tall frame is fitted by its height
    c.scale = std::min((width - 2.0 * margin) / dx, maxMapHeight / dy);
    c.left = 0.5 * (width - dx * c.scale);
    c.height = std::ceil(c.top + dy * c.scale + margin);
    return c;
}

std::string Num(double v) {
    return KVProj::FormatCString("%.2f", v);
}

std::string Escaped(const std::string& text) {
    std::string out;
    for (char ch : text) {
        if (ch == '&')
            out += "&amp;";
        else if (ch == '<')
            out += "&lt;";
        else if (ch == '>')
            out += "&gt;";
        else if (ch == '"')
            out += "&quot;";
        else if (static_cast<unsigned char>(ch) >= 0x20 || ch == '\t')
            out += ch;
    }
    return out;
}

std::string PathData(const Canvas& c, const Path& xy, bool closed) {
    Path px;
    for (const PROJPOINT& p : xy)
        px.push_back(c.Pixel(p));
    px = geo::Simplified(px, kSimplify);
    double reach = 0.0;
    for (const PROJPOINT& p : px)
        reach = std::max(reach, std::hypot(p.x - px[0].x, p.y - px[0].y));
    if (reach < 0.5) return "";
    std::string d;
    for (size_t i = 0; i < px.size(); ++i)
        d += (i ? " " : "M") + Num(px[i].x) + "," + Num(px[i].y);
    if (closed) d += "Z";
    return d;
}

std::string Opening(const Canvas& c, const std::string& title) {
    std::string s = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n";
    s += "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"" + Num(c.width) + "\" height=\"" +
         Num(c.height) + "\" viewBox=\"0 0 " + Num(c.width) + " " + Num(c.height) + "\">\n";
    s += "<title>" + Escaped(title) + "</title>\n";
    s += "<rect x=\"0\" y=\"0\" width=\"" + Num(c.width) + "\" height=\"" + Num(c.height) +
         "\" fill=\"#ffffff\"/>\n";
    return s;
}

std::string Heading(const Canvas& c, const std::string& title, const std::string& subtitle) {
    const double u = c.unit, margin = c.margin;
    std::string s = "<text x=\"" + Num(margin) + "\" y=\"" + Num(margin + 18.0 * u) +
                    "\" font-family=\"sans-serif\" font-size=\"" + Num(18.0 * u) +
                    "\" font-weight=\"bold\" fill=\"#1f2d3a\">" + Escaped(title) + "</text>\n";
    s += "<text x=\"" + Num(margin) + "\" y=\"" + Num(margin + 36.0 * u) +
         "\" font-family=\"sans-serif\" font-size=\"" + Num(12.0 * u) + "\" fill=\"#51606f\">" +
         subtitle + "</text>\n";
    return s;
}

bool WriteOutput(const std::string& path, const std::string& text) {
    const bool toStdout = path == "-";
    FILE* f = toStdout ? stdout : std::fopen(path.c_str(), "wb");
    if (!f) return false;
    const bool ok = std::fwrite(text.data(), 1, text.size(), f) == text.size();
    const bool closed = toStdout ? std::fflush(f) == 0 : std::fclose(f) == 0;
    return ok && closed;
}

} // namespace kvtool::svg
