// Plane geometry of projected lines and rings, shared by the tool's pictures:
// densifying a lon/lat segment, cutting lines and rings at a rectangle
// (unplottable points break a line), and dropping vertices that a drawing
// would not show.
#ifndef KVPROJ_TOOL_GEOMETRY_H
#define KVPROJ_TOOL_GEOMETRY_H

#include "kvproj/projection.h"

#include <cmath>
#include <vector>

namespace kvtool::geo {

using KVProj::PROJPOINT;
using Path = std::vector<PROJPOINT>;

PROJPOINT Pt(double x, double y);

// Finite and not the unplottable marker.
bool Plottable(const PROJPOINT& p);

PROJPOINT Lerp(const PROJPOINT& a, const PROJPOINT& b, double t);

// a..b in equal steps no longer than `spacing`, both ends included.
Path Densified(PROJPOINT a, PROJPOINT b, double spacing);

// Twice the signed area of a ring, positive when it runs counter-clockwise.
double Orientation(const Path& ring);

// An axis-aligned rectangle; empty until a point is added.
struct Box {
    double minX = HUGE_VAL, minY = HUGE_VAL, maxX = -HUGE_VAL, maxY = -HUGE_VAL;
    bool Empty() const { return !(minX <= maxX && minY <= maxY); }
    void Add(const PROJPOINT& p);
};

// Liang-Barsky: the part of segment a-b inside the box, as parameters t0..t1;
// false when none of it is.
bool CutSegment(const Box& f, const PROJPOINT& a, const PROJPOINT& b, double* t0, double* t1);

// Splits a projected line at unplottable points (and at the segments i..i+1
// marked in `skip`, when given) and cuts it at the box; pieces of at least two
// points are appended to `out`.
void CutLine(const Box& f, const Path& xy, const std::vector<char>* skip, std::vector<Path>* out);

// A projected ring without its unplottable points, cut to the box
// (Sutherland-Hodgman); empty when less than three points remain.
Path CutRing(const Box& f, const Path& xy);

// Distance of `p` from the chord a-b of length `len` (from the chord itself,
// not its line, so that a line running out and back is kept).
double OffChord(const PROJPOINT& p, const PROJPOINT& a, const PROJPOINT& b, double len);

// Drops vertices lying within `tolerance` of the chord that replaces them.
Path Simplified(const Path& px, double tolerance);

} // namespace kvtool::geo

#endif
