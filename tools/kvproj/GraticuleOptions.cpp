// "kvproj graticule": the options beyond the projection.
#include "Graticule.h"
#include "Numbers.h"

namespace kvtool::graticule {
namespace {

bool ParseReal(const std::string& text, double* value) {
    return ParseFinite(text, value);
}

bool ParseWindow(const std::string& text, Window* w, std::string* error) {
    double v[4];
    size_t start = 0;
    for (int i = 0; i < 4; ++i) {
        const size_t comma = text.find(',', start);
        const bool last = i == 3;
        if (last != (comma == std::string::npos) ||
            !ParseReal(text.substr(start, last ? std::string::npos : comma - start), &v[i]))
            return (*error = "--window takes lon1,lat1,lon2,lat2, not '" + text + "'"), false;
        start = comma + 1;
    }
    *w = Window{v[0], v[1], v[2], v[3]};
    if (!(w->lon1 < w->lon2 && w->lat1 < w->lat2))
        return (*error = "--window needs lon1 < lon2 and lat1 < lat2"), false;
    if (w->lat1 < -90.0 || w->lat2 > 90.0 || w->lon1 < -360.0 || w->lon2 > 360.0 ||
        w->lon2 - w->lon1 > 360.0)
        return (*error = "--window must lie within latitudes -90..90 and longitudes "
                         "-360..360 and span at most 360 degrees"),
               false;
    return true;
}

} // namespace

bool ParseOptions(const Words& words, Options* o, std::string* error) {
    for (const bool step : {true, false}) {
        const std::string& v = step ? words.step : words.densify;
        const std::string name = step ? "--step" : "--densify";
        double d = 0;
        if (v.empty()) continue;
        if (!ParseReal(v, &d) || d <= 0.0 || d > (step ? 180.0 : 10.0))
            return (*error = name + " takes degrees above 0 and up to " + (step ? "180" : "10") +
                             ", not '" + v + "'"),
                   false;
        (step ? o->step : o->densify) = d;
    }
    if (!words.width.empty() && !ParseInteger(words.width, kMinWidth, kMaxWidth, &o->width))
        return (*error = "--width takes " + std::to_string(kMinWidth) + " to " +
                         std::to_string(kMaxWidth) + " pixels, not '" + words.width + "'"),
               false;
    if (!words.window.empty()) {
        if (!ParseWindow(words.window, &o->window, error)) return false;
        o->haveWindow = true;
    }
    o->title = words.title;
    if (words.outputOpt->count()) {
        if (words.output.empty()) return (*error = "the output file name is empty"), false;
        o->output = words.output;
    }
    return true;
}

} // namespace kvtool::graticule
