// Cutting polylines and polygons (longitude/latitude in degrees) at the
// boundary of a projection's valid area. The area is known only through a
// point predicate, so the clipper makes no assumption about its shape beyond
// it being made of regions a few degrees wide or more.
#ifndef KVPROJ_PROJ_KVPCLIP_H
#define KVPROJ_PROJ_KVPCLIP_H

#include "kvproj/projection.h"

namespace KVProj {

struct PClipDomain {
    // True when `p` lies inside the valid area (open boundary: a point on it is outside).
    bool (*inside)(const void* context, const PROJPOINT& p);
    const void* context;
    // A point to try first when an inside point of the area is needed.
    PROJPOINT hint;
};

// Hands every piece of the polyline that lies inside the area to `piece`
// (pieces of two points or more). False when `piece` refuses a piece.
bool PClipPolyline(const PClipDomain& domain, int count, const PROJPOINT* points, void* user,
                   ProjLineFunc piece);

// Clips a polygon of `parts` rings. The rings of the result, closed (last
// point repeats the first) and oriented outer counter-clockwise, holes
// clockwise, go to `polygon` in one call; when `line` is given it receives the
// pieces of the input rings' outlines that were cut open (rings that needed
// no cut are only in the polygon). Nothing is delivered for a polygon wholly
// outside. False when the boundary cannot be followed or a callback refuses.
bool PClipPolygon(const PClipDomain& domain, int parts, const int* partCounts,
                  const PROJPOINT* points, void* user, ProjPolygonFunc polygon, ProjLineFunc line);

} // namespace KVProj

#endif
