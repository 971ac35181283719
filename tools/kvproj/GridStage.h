// The NTv2 grid of "kvproj convert --grid FILE": a datum shift read from a
// grid file the user names, between the source and destination projections.
#ifndef KVPROJ_TOOL_GRIDSTAGE_H
#define KVPROJ_TOOL_GRIDSTAGE_H

#include "ProjArgs.h"

#include "datum/GridShift.h"
#include "kvproj/kvproj.h"

#include <string>
#include <vector>

namespace kvtool {

// Loads `path` as the process's NTv2 grid; false with `error` saying why.
bool LoadNtv2Grid(const std::string& path, std::string* error);

// The sub-grids of the loaded grid, parents first.
std::vector<KVProj::Ntv2SubGridInfo> LoadedSubGrids();

class GridStage {
public:
    // Loads the grid; `inverse` shifts from its new datum to its old one.
    bool Load(const std::string& path, bool inverse, std::string* error);

    // The figures the grid file names for its old (`from`) and new (`to`)
    // datum (MAJOR_F/MINOR_F, MAJOR_T/MINOR_T): a table ellipsoid when one
    // has these axes to the millimetre, else the axes themselves.
    void Figures(ProjFigure* from, ProjFigure* to) const;

    // Shifts `count` points (degrees, longitude first) in place. A point
    // outside every root sub-grid is set to the unplottable marker and its
    // index appended to `outside`. False when the shift itself failed.
    bool Apply(KVProj::PROJPOINT* points, int count, std::vector<int>* outside) const;

    const std::string& Path() const { return m_path; }

private:
    bool Covered(double lon, double lat) const;
    std::string m_path;
    bool m_inverse = false;
    std::vector<KVProj::Ntv2SubGridInfo> m_roots;
    double m_axes[4] = {0, 0, 0, 0}; // MAJOR_F, MINOR_F, MAJOR_T, MINOR_T
};

} // namespace kvtool

#endif
