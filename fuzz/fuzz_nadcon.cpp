// libFuzzer target: the NADCON header reader and the per-point reads on
// arbitrary bytes. The input is split in two: the ".LAS" and ".LOS" files.
#include "datum/dNadcon.h"

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <vector>

using namespace KVProj;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const size_t half = size / 2;
    std::vector<uint8_t> las(data, data + half), los(data + half, data + size);
    las.push_back(0);
    los.push_back(0);
    std::FILE* a = fmemopen(las.data(), las.size(), "rb");
    std::FILE* b = fmemopen(los.data(), los.size(), "rb");
    if (a && b) {
        const NadconHeader h = NadconReadHeader(a);
        // Points around the declared grid: its corners, its middle, and the
        // west side where column 0 is read.
        const double x0 = h.xMin, y0 = h.yMin;
        const double x1 = x0 + double(h.columns) * h.dx, y1 = y0 + double(h.rows) * h.dy;
        DATUMPOINT points[] = {{x0, y0},
                               {x1, y1},
                               {0.5 * (x0 + x1), 0.5 * (y0 + y1)},
                               {x0 - 0.5 * h.dx, y0},
                               {x0 - 1.5 * h.dx, y1},
                               {KVPROJ_UNPLOTTABLE, KVPROJ_UNPLOTTABLE}};
        NadconShiftPoints(a, b, h, points, 6);
        if (points[5].x != KVPROJ_UNPLOTTABLE) __builtin_trap();
    }
    if (a) std::fclose(a);
    if (b) std::fclose(b);
    return 0;
}
