// The parts of "kvproj graticule": its options, the lon/lat features
// (graticule lines and the window's ring cut to the valid area), their
// projection with the map's stretch at every vertex, the frame fitted to
// them, and the refinement where neighbouring vertices land far apart.
// cmd_graticule.cpp draws the result with Svg.h.
#ifndef KVPROJ_TOOL_GRATICULE_H
#define KVPROJ_TOOL_GRATICULE_H

#include "Geometry.h"
#include "ProjArgs.h"

#include "kvproj/kvproj.h"

#include <string>
#include <vector>

namespace kvtool::graticule {

using geo::Path;
using geo::Plottable;
using geo::Pt;
using KVProj::PROJDATA;
using KVProj::PROJPOINT;
using Frame = geo::Box;

constexpr double kMaxVertices = 4.0e6; // lon/lat vertices of all lines before clipping
constexpr int kMinWidth = 100, kMaxWidth = 20000;

// ---------------------------------------------------------------- options

struct Window {
    double lon1, lat1, lon2, lat2;
};

struct Options {
    double step = 15.0;
    double densify = 1.0;
    int width = 800;
    bool haveWindow = false;
    Window window{0, 0, 0, 0};
    std::string output = "-";
    std::string title;
};

struct Words {
    ProjOptions proj;
    CrsArgs crs;
    std::string step, densify, width, window, title, output;
    CLI::Option* outputOpt = nullptr;
};

// The options beyond the projection; on failure *error says why.
bool ParseOptions(const Words& words, Options* o, std::string* error);

// ---------------------------------------------------------------- handles

// The conversion handle is made from the record as given. Preclipping asks a
// handle for its valid area; a state plane handle answers for the first zone
// of its system whatever zone it holds, so the clipping handle of a zone is
// made from the zone's own projection record instead.
struct Handles {
    void* convert = nullptr;
    void* clip = nullptr;
    PROJDATA clipRecord;
    Handles() = default;
    Handles(const Handles&) = delete;
    Handles& operator=(const Handles&) = delete;
    ~Handles() {
        if (clip != convert) KVProj::ProjDeleteProjection(clip);
        KVProj::ProjDeleteProjection(convert);
    }
};

// False, with the reason on standard error, when the record is refused.
bool MakeHandles(PROJDATA data, Handles* h);

// ---------------------------------------------------------------- lon/lat features

enum class Kind { Meridian, Parallel, Area };

// One clipped piece of a graticule line, or one ring of the clipped window.
struct Feature {
    Kind kind;
    double value; // longitude of a meridian, latitude of a parallel
    int group;    // rings handed over together form one polygon
    Path lonlat;
    Path xy;                     // projected; unplottable points keep the marker
    std::vector<double> stretch; // least principal scale; -1 where unknown
    std::vector<char> seam;      // rings: segment i..i+1 is a seam, not an edge
};

// Meridians and parallels every o.step degrees within the window, densified
// to o.densify, and the window's ring, each cut to the valid area.
bool BuildFeatures(const Handles& h, const Window& w, const Options& o, std::vector<Feature>* out);

// Marks the segments of the rings that are seams of a whole-turn window.
void MarkSeams(const Handles& h, const Window& w, std::vector<Feature>& features);

// ---------------------------------------------------------------- projection and fitting

// Projects every vertex and gauges the map's stretch there; vertices that
// come back unplottable are moved a little way inside where that helps.
bool ProjectFeatures(void* handle, const Window& w, std::vector<Feature>& features);

// The frame fitted to the vertices (see cmd_graticule.cpp); empty when no
// vertex is plottable.
Frame Fit(const std::vector<Feature>& features);

// Refines every feature against `frame` (see GraticuleRefine.cpp) and closes
// short gaps in the rings.
void Refine(void* handle, const Window& w, const Frame& frame, std::vector<Feature>& features);

} // namespace kvtool::graticule

#endif
