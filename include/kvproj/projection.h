// Projection handles: forward and inverse conversion of point arrays, domain
// tests and preclipping of polylines and polygons, and the wrapper class.
//
// A handle is made once from a filled PROJDATA and converts arrays of points in
// place as often as needed:
//
//   forward  longitude/latitude in degrees  ->  (projected + false origin) * Scale
//   inverse  the reverse; results folded back into longitude and latitude range
//
// Points that cannot be converted (non-finite input, a pole of the projection,
// a point outside the formulas' domain) come back with both members set to
// KVPROJ_UNPLOTTABLE, and ProjResult() then answers 1. Such a point never makes
// the call fail: a call fails only for bad arguments, a missing projection
// module, or a floating-point fault inside the module.
//
// State plane records (types 9 and 10) are converted through their zone: at
// every conversion the zone's projection and parameters replace those of the
// record, and the zone's own ellipsoid (Clarke 1866, the 1927 Michigan figure
// or GRS 1980) supplies the semi-major axis and the flattening, whatever
// ellipsoid the record itself names. The record's Scale is still applied.
#ifndef KVPROJ_PROJECTION_H
#define KVPROJ_PROJECTION_H

#include "kvproj/export.h"
#include "kvproj/projdata.h"

#include <vector>

namespace KVProj {

// Callback receiving one open piece of a clipped polyline (or polygon boundary).
// Returning false stops the clipping, which then fails.
typedef bool (*ProjLineFunc)(void* user, int count, const PROJPOINT* points);
// Callback receiving a clipped polygon: `parts` closed rings whose point counts
// are in `partCounts`, the points of the rings following one another.
typedef bool (*ProjPolygonFunc)(void* user, int parts, const int* partCounts,
                                const PROJPOINT* points);

// Validates `data` (reporting a bad parameter to the host), resolves the
// ellipsoid into MajorRadius/Flattening and, for UTM, writes the false origin
// (500000, 0 or 10000000 when bSouth) and a K0 of 0.9996 when it was 0, all in
// the caller's record. The handle keeps a copy in which a Scale or K0 of 0 is
// repaired to 1. Returns null on failure.
KVPROJ_API void* ProjCreateProjection(PROJDATA* data);
// Frees a handle; null is ignored.
KVPROJ_API void ProjDeleteProjection(void* handle);

// Longitude/latitude (degrees) to map coordinates, in place.
KVPROJ_API bool ProjForward(void* handle, PROJPOINT* points, int count);
// Map coordinates to longitude/latitude (degrees), in place. Input points
// already holding the unplottable marker do not by themselves set the result
// code of an inverse call.
KVPROJ_API bool ProjInverse(void* handle, PROJPOINT* points, int count);
// 1 when the last conversion on `handle` left an unplottable point; 0 otherwise
// (and for a null handle).
KVPROJ_API int ProjResult(void* handle);
// Copies the handle's 396-byte record into `data`.
KVPROJ_API bool ProjGetHandleInfo(void* handle, PROJDATA* data);

// Whether one point (degrees) lies where the forward formulas are valid.
// For state plane handles the test is made on zone 0 of the handle's system,
// whatever zone the handle holds.
KVPROJ_API bool ProjLLInProjection(void* handle, const PROJPOINT* point);
// Note the inverted sense: true only when NONE of the points lies inside the
// valid area (and for a count of 0 or less); false as soon as one does.
KVPROJ_API bool ProjLLInProjection(void* handle, int count, const PROJPOINT* points);
// Whether a polyline or ring (degrees) must also be drawn shifted by a whole
// turn of longitude; the shift is stored in *xOffset / *yOffset.
KVPROJ_API bool ProjLLOffsetSplitObject(void* handle, const PROJPOINT* points, unsigned int count,
                                        double* xOffset, double* yOffset);

// Cuts a polyline (degrees) at the boundary of the projection's valid area and
// hands each piece inside it to `piece`; when the split test asks for it, the
// polyline shifted by a whole turn is clipped and delivered as well.
KVPROJ_API bool ProjLLPreclipPolyline(void* handle, void* user, int count, const PROJPOINT* points,
                                      ProjLineFunc piece);
// The same for a polygon of `parts` rings: closed rings inside the valid area
// go to `polygon` (all rings of one clipped polygon in one call); `line`, when
// given, receives the open pieces of the rings' boundaries that lie inside.
KVPROJ_API bool ProjLLPreclipPolygon(void* handle, void* user, int parts, const int* partCounts,
                                     const PROJPOINT* points, ProjPolygonFunc polygon,
                                     ProjLineFunc line);

// Owns one projection handle.
class KVPROJ_API CProjector {
public:
    CProjector();
    explicit CProjector(PROJDATA* data);
    // A fresh handle with the other's parameters (empty when the other is).
    CProjector(const CProjector& other);
    // Shallow on purpose: both objects then share the other's handle; no new
    // handle is made and the handle held before is not freed. Only one of the
    // sharing objects may go on to delete it: call Release() on the others.
    CProjector& operator=(const CProjector& other);
    virtual ~CProjector();

    bool Create(PROJDATA* data);
    void Delete();
    // Forgets the handle without freeing it (for objects sharing a handle).
    void Release() { m_handle = nullptr; }
    void* Handle() const { return m_handle; }

    bool Forward(PROJPOINT* points, int count);
    bool Inverse(PROJPOINT* points, int count);
    int Result();
    bool GetInfo(PROJDATA* data);
    bool LLInProjection(const PROJPOINT* point);
    bool LLOffsetSplitObject(const PROJPOINT* points, unsigned int count, double* xOffset,
                             double* yOffset);
    bool LLPreclipPolyline(void* user, int count, const PROJPOINT* points, ProjLineFunc piece);
    bool LLPreclipPolygon(void* user, int parts, const int* partCounts, const PROJPOINT* points,
                          ProjPolygonFunc polygon, ProjLineFunc line);

private:
    void* m_handle;
};

// A chain of points with its part counts, in the containers the preclipping
// code works with. Kept for hosts; the library itself does not use it.
class KVPROJ_API CPROJCHAIN {
public:
    CPROJCHAIN();
    CPROJCHAIN(const CPROJCHAIN& other);
    virtual ~CPROJCHAIN();
    CPROJCHAIN& operator=(const CPROJCHAIN& other);

    std::vector<PROJPOINT> Points;
    std::vector<int> PartCounts;
};

} // namespace KVProj

#endif
