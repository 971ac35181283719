// NADCON grid shift: a pair of grid files in the published NADCON binary
// layout, read from the files point by point (nothing is cached).
#ifndef KVPROJ_DATUM_DNADCON_H
#define KVPROJ_DATUM_DNADCON_H

#include "datum/GridShift.h"

#include <cstdint>
#include <cstdio>

namespace KVProj {

// The grid as the ".LAS" header at byte 64 declares it; the ".LOS" file is
// taken to share it.
struct NadconHeader {
    int32_t columns = 0, rows = 0, zCount = 0;
    float xMin = 0, dx = 0, yMin = 0, dy = 0; // degrees
};

// Reads the header of an open ".LAS" file. Bytes the file lacks read as zero,
// so a truncated header describes an empty grid.
NadconHeader NadconReadHeader(std::FILE* las);

// Adds the interpolated ".LAS" value to x and the ".LOS" value to y (both
// arcseconds / 3600) of every usable point inside the grid, reading the four
// nodes around each point from the open files.
void NadconShiftPoints(std::FILE* las, std::FILE* los, const NadconHeader& grid, DATUMPOINT* points,
                       int count);

} // namespace KVProj

#endif
