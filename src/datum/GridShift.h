// The grid-shift methods as the conversion engine sees them: NADCON (dNadcon)
// and NTv2 (Ntv2), with the files looked up beside the running executable.
//
// These functions are internal to the library. The kvproj tool, linked with the
// static library, also calls them so that a user can inspect and try a grid file
// before installing it beside a program.
#ifndef KVPROJ_DATUM_GRIDSHIFT_H
#define KVPROJ_DATUM_GRIDSHIFT_H

#include "frame/SiblingFile.h" // the grid files' lookup
#include "kvproj/datum.h"
#include "kvproj/export.h"

#include <cstddef>
#include <cstdio>

namespace KVProj {

// ---------------------------------------------------------------- NADCON

// NADCON shift towards WGS 84 with the ".LAS"/".LOS" pair named `area` ("conus",
// "prvi") in the search directory. False only when the grid files cannot be
// opened (after the assertion report and the log line naming both files).
bool NadconShift(const char* area, DATUMPOINT* points, int count);

// The grid of a NADCON ".LAS" file as its header declares it.
struct NadconGridInfo {
    int columns, rows;
    double west, south; // degrees, east-positive, of the first column and row
    double dx, dy;      // spacing in degrees
};
// Reads the header of the NADCON file at `path`; false when it cannot be opened
// or is shorter than a header.
bool NadconReadGridInfo(const char* path, NadconGridInfo* info);

// ---------------------------------------------------------------- NTv2

// Statuses of the NTv2 shift.
enum Ntv2Status : int {
    NTV2_OK = 0,
    NTV2_NO_MEMORY = 3,
    NTV2_OUTSIDE = 4, // per point only: outside the chosen sub-grid's nodes
    NTV2_OPEN_FAILED = 5,
    NTV2_SHORT_READ = 6,
    NTV2_BAD_DATA = 7,
};

// Drops any loaded grid and loads `path`, or "NTV2_0.GSB" in the search
// directory when `path` is null. A failed load leaves nothing loaded, so the
// next transformation tries again.
int NTV2Startup(const char* path);

// NTv2 shift of `count` points (degrees, longitude first) with the loaded grid,
// loading the default one on first use: forward (old datum to new) or inverse.
int NTV2Transform(int count, DATUMPOINT* points, bool inverse);

// Releases every sub-grid and forgets the path.
void NTV2Shutdown();

// Whether the last transformation left an unplottable point.
bool NTV2HadUnplottables();

// One sub-grid of the loaded grid, as the tool lists it.
struct Ntv2SubGridInfo {
    char name[9];
    char parent[9];
    int depth; // 0 for a root
    int columns, rows;
    double west, south, east, north; // degrees, east-positive
    double dx, dy;                   // spacing in arcseconds
};
// Copies up to `max` sub-grids of the loaded grid into `out`, parents before
// their children and siblings in file order; returns how many there are
// (0 when nothing is loaded). `out` may be null when `max` is 0.
int NTV2GetSubGrids(Ntv2SubGridInfo* out, int max);

} // namespace KVProj

#endif
