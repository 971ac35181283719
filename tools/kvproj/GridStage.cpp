// An NTv2 grid file as a stage of "kvproj convert".
#include "GridStage.h"

#include "frame/SiblingFile.h"

#include <cmath>
#include <cstdio>
#include <cstring>

namespace kvtool {
namespace {

using namespace KVProj;

// The overview header's MAJOR_F, MINOR_F, MAJOR_T and MINOR_T (records 7 to
// 10 of eleven 16-byte records: an 8-byte keyword and a little-endian value).
void ReadAxes(const std::string& path, double axes[4]) {
    unsigned char header[176] = {};
    if (std::FILE* f = GridOpenEitherCase(path.c_str())) {
        if (std::fread(header, 1, sizeof header, f) != sizeof header) std::memset(header, 0, 176);
        std::fclose(f);
    }
    const char* keys[4] = {"MAJOR_F ", "MINOR_F ", "MAJOR_T ", "MINOR_T "};
    for (int i = 0; i < 4; ++i) {
        const unsigned char* record = header + (7 + i) * 16;
        uint64_t bits = 0;
        for (int b = 7; b >= 0; --b)
            bits = bits << 8 | record[8 + b];
        double v = 0;
        std::memcpy(&v, &bits, sizeof v);
        axes[i] = std::memcmp(record, keys[i], 8) == 0 && std::isfinite(v) && v > 6e6 && v < 7e6
                      ? v
                      : 0.0;
    }
}

// The figure with semi-major axis `a` and semi-minor axis `b`.
ProjFigure FigureOf(double a, double b) {
    ProjFigure f;
    if (a <= 0 || b <= 0 || b > a) return f;
    f.set = true;
    f.majorRadius = a;
    f.flattening = (a - b) / a;
    for (int e = 1; e < ELLIPSOID_COUNT; ++e) {
        double ea = 0, ef = 0;
        char name[KVPROJ_NAME_LEN];
        if (!EllipsoidInfo(static_cast<EllipsoidType>(e), name, &ea, &ef)) continue;
        if (std::fabs(ea - a) < 1e-3 && std::fabs(ea * (1 - ef) - b) < 1e-3) {
            f.ellipsoid = e;
            return f;
        }
    }
    f.ellipsoid = ELLIPSOID_USER_DEFINED;
    return f;
}

} // namespace

bool LoadNtv2Grid(const std::string& path, std::string* error) {
    switch (NTV2Startup(path.c_str())) {
    case NTV2_OK:
        return true;
    case NTV2_OPEN_FAILED:
        *error = "cannot open '" + path + "'";
        return false;
    case NTV2_SHORT_READ:
        *error = "'" + path + "' ends before the data its headers declare";
        return false;
    case NTV2_NO_MEMORY:
        *error = "not enough memory for '" + path + "'";
        return false;
    default:
        *error = "'" + path + "' is not an NTv2 grid with shifts in seconds, or is corrupt";
        return false;
    }
}

std::vector<Ntv2SubGridInfo> LoadedSubGrids() {
    std::vector<Ntv2SubGridInfo> grids(static_cast<size_t>(NTV2GetSubGrids(nullptr, 0)));
    grids.resize(
        static_cast<size_t>(NTV2GetSubGrids(grids.data(), static_cast<int>(grids.size()))));
    return grids;
}

bool GridStage::Load(const std::string& path, bool inverse, std::string* error) {
    if (!LoadNtv2Grid(path, error)) return false;
    m_path = path;
    m_inverse = inverse;
    m_roots.clear();
    for (const Ntv2SubGridInfo& g : LoadedSubGrids())
        if (g.depth == 0) m_roots.push_back(g);
    ReadAxes(path, m_axes);
    return true;
}

void GridStage::Figures(ProjFigure* from, ProjFigure* to) const {
    *from = FigureOf(m_axes[0], m_axes[1]);
    *to = FigureOf(m_axes[2], m_axes[3]);
}

bool GridStage::Covered(double lon, double lat) const {
    for (const Ntv2SubGridInfo& g : m_roots)
        if (g.west <= lon && lon <= g.east && g.south <= lat && lat <= g.north) return true;
    return false;
}

bool GridStage::Apply(PROJPOINT* points, int count, std::vector<int>* outside) const {
    for (int i = 0; i < count; ++i) {
        PROJPOINT& p = points[i];
        if (p.x == KVPROJ_UNPLOTTABLE || p.y == KVPROJ_UNPLOTTABLE || Covered(p.x, p.y)) continue;
        p.x = p.y = KVPROJ_UNPLOTTABLE;
        outside->push_back(i);
    }
    static_assert(sizeof(DATUMPOINT) == sizeof(PROJPOINT), "both point records are two doubles");
    std::vector<DATUMPOINT> shifted(static_cast<size_t>(count));
    std::memcpy(shifted.data(), points, shifted.size() * sizeof(DATUMPOINT));
    if (NTV2Transform(count, shifted.data(), m_inverse) != NTV2_OK) return false;
    std::memcpy(points, shifted.data(), shifted.size() * sizeof(DATUMPOINT));
    return true;
}

} // namespace kvtool
