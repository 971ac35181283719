// SVG pictures of projected geometry: a canvas that maps a box of projected
// coordinates onto pixels below a title band, path data with the vertices a
// reader cannot see dropped, escaped text, and the document's parts. Numbers
// are written in the C locale whatever locale the tool runs in.
#ifndef KVPROJ_TOOL_SVG_H
#define KVPROJ_TOOL_SVG_H

#include "Geometry.h"

#include <string>

namespace kvtool::svg {

// Projected units to pixels: the box fills the width between the margins,
// y up, below the title band.
struct Canvas {
    double unit;  // stroke and text sizes scale with the width
    double scale; // pixels per projected unit
    double margin;
    double left, top, width, height;
    const geo::Box* frame;
    geo::PROJPOINT Pixel(const geo::PROJPOINT& p) const;
};

// The canvas `width` pixels wide that shows `frame` (which must outlive it).
Canvas MakeCanvas(const geo::Box& frame, int width);

// A coordinate or length with two decimals.
std::string Num(double v);

// Text for an element's content or a quoted attribute; control characters
// other than the tab are dropped.
std::string Escaped(const std::string& text);

// The "d" of a path through the projected points `xy`; empty for a path that
// would show as a mere dot.
std::string PathData(const Canvas& c, const geo::Path& xy, bool closed);

// The XML declaration, the <svg> element, its title and a white background.
std::string Opening(const Canvas& c, const std::string& title);

// A bold title and a smaller subtitle in the title band; `subtitle` is
// already escaped.
std::string Heading(const Canvas& c, const std::string& title, const std::string& subtitle);

// Writes `text` to the file `path`, or to standard output for "-".
bool WriteOutput(const std::string& path, const std::string& text);

} // namespace kvtool::svg

#endif
