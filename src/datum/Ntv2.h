// NTv2 grid-shift files in memory: the sub-grid tree, its loader, and the
// shift of single points. The process-wide grid behind NTV2Transform is built
// from these (GridShift.h).
#ifndef KVPROJ_DATUM_NTV2_H
#define KVPROJ_DATUM_NTV2_H

#include "datum/GridShift.h"

#include <cstdint>
#include <cstdio>
#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

namespace KVProj {

// One grid node: the shifts in radians, longitude positive west as in the file.
struct Ntv2Node {
    float lon;
    float lat;
};

struct Ntv2SubGrid {
    char name[9] = "";
    char parent[9] = "";
    double x0 = 0, y0 = 0; // south-west node, radians, longitude east-positive
    double dx = 0, dy = 0; // node spacing, radians
    int32_t columns = 0, rows = 0;
    double x1 = 0, y1 = 0;       // north-east node: x0 + (columns - 1) dx, y0 + (rows - 1) dy
    std::vector<Ntv2Node> nodes; // row-major from the south, each row west to east
    std::vector<Ntv2SubGrid*> children;
    const Ntv2SubGrid* up = nullptr; // parent in the tree
    int depth = 0;                   // 0 for a root
    size_t order = 0;                // position among its parent's children

    bool Contains(double lon, double lat) const {
        return y0 <= lat && lat <= y1 && x0 <= lon && lon <= x1;
    }
};

// The sub-grids of one file. They are owned in a flat list, so that neither
// the destructor nor the searches recurse however deep a file nests them.
class Ntv2Tree {
public:
    const std::vector<Ntv2SubGrid*>& Roots() const { return m_roots; }
    size_t Size() const { return m_all.size(); }
    bool Empty() const { return m_all.empty(); }
    void Clear();

    // Takes `grid` over: a root when its parent is "NONE...", else a child of
    // the first sub-grid so named (depth first, in file order). False, with
    // `grid` dropped, when no such parent is loaded.
    bool Add(std::unique_ptr<Ntv2SubGrid> grid);
    Ntv2SubGrid* Find(const char* name) const;

    // The most detailed sub-grid containing the point (radians), or null.
    const Ntv2SubGrid* Choose(double lon, double lat) const;

    // Calls fn(grid, depth) for every sub-grid, parents first, in file order.
    template <class Fn> void Visit(Fn fn) const;

private:
    std::vector<std::unique_ptr<Ntv2SubGrid>> m_all; // file order
    std::vector<Ntv2SubGrid*> m_roots;
    // Per name, the sub-grid a depth-first search would meet first; kept as
    // sub-grids are added so that loading stays linear in their number.
    std::unordered_map<std::string, Ntv2SubGrid*> m_byName;
};

template <class Fn> void Ntv2Tree::Visit(Fn fn) const {
    struct Item {
        const Ntv2SubGrid* grid;
        int depth;
    };
    std::vector<Item> stack;
    for (size_t n = m_roots.size(); n-- > 0;)
        stack.push_back({m_roots[n], 0});
    while (!stack.empty()) {
        Item item = stack.back();
        stack.pop_back();
        if (!fn(*item.grid, item.depth)) return;
        const std::vector<Ntv2SubGrid*>& kids = item.grid->children;
        for (size_t n = kids.size(); n-- > 0;)
            stack.push_back({kids[n], item.depth + 1});
    }
}

// Reads an NTv2 file into `tree` (emptied first, and again on failure).
// Returns an Ntv2Status and logs the reason of a failure.
int LoadShiftFile(const char* path, Ntv2Tree* tree);
// The same from an open stream positioned at the file's start.
int LoadShiftStream(std::FILE* file, Ntv2Tree* tree);

// Bilinear shift (radians) at (u, v), radians east and north of the sub-grid's
// south-west node. False outside its nodes.
bool Ntv2ShiftAt(const Ntv2SubGrid& grid, double u, double v, double* shiftLon, double* shiftLat);

// Shifts one point (radians) through `tree`: NTV2_OK, also when no sub-grid
// contains it (then it is left as it is), or NTV2_OUTSIDE when the chosen
// sub-grid has no shift there. An inverse that does not converge leaves both
// coordinates unplottable.
int Ntv2TransformPoint(const Ntv2Tree& tree, double* lon, double* lat, bool inverse);

// Ntv2TransformPoint over an array, a vector of points at a time (instruction
// set chosen at run time), each point given the per-point function's bits.
// Logs nothing: a logged conversion takes the per-point function.
void Ntv2TransformLanes(const Ntv2Tree& tree, DATUMPOINT* points, int count, bool inverse);

// Angle folded into -pi..pi; angles within pi (to 11 decimals) are kept as given.
double Ntv2Wrap(double angle);

} // namespace KVProj

#endif
