// NTv2 grid shift: the published binary grid-shift format (16-byte records of
// an 8-character keyword and an 8-byte little-endian value), held in memory as
// a tree of sub-grids, and the process-wide grid of the conversion engine.
#include "datum/Ntv2.h"

#include "frame/Angles.h"
#include "frame/Diag.h"
#include "frame/Firewall.h"
#include "frame/Platform.h"
#include "frame/Util.h"
#include "projections/VectorPath.h"

#include <atomic>
#include <cmath>
#include <cstring>
#include <mutex>
#include <new>
#include <shared_mutex>
#include <string>

namespace KVProj {
namespace {

constexpr int kPathLen = 260; // path buffers, terminator included
constexpr int kRecord = 16;
constexpr int kHeaderBytes = 11 * kRecord;
constexpr int kNodeBytes = 16; // latitude shift, longitude shift, two accuracies

// ---------------------------------------------------------------- file fields

uint32_t U32(const unsigned char* p) {
    return uint32_t(p[0]) | uint32_t(p[1]) << 8 | uint32_t(p[2]) << 16 | uint32_t(p[3]) << 24;
}

int32_t I32(const unsigned char* p) {
    uint32_t u = U32(p);
    int32_t v;
    std::memcpy(&v, &u, sizeof v);
    return v;
}

float F32(const unsigned char* p) {
    uint32_t u = U32(p);
    float v;
    std::memcpy(&v, &u, sizeof v);
    return v;
}

double F64(const unsigned char* p) {
    uint64_t u = uint64_t(U32(p)) | uint64_t(U32(p + 4)) << 32;
    double v;
    std::memcpy(&v, &u, sizeof v);
    return v;
}

// The value of record `n` of a header block.
const unsigned char* Value(const unsigned char* block, int n) {
    return block + n * kRecord + 8;
}

// SUB_NAME and PARENT: up to 8 characters, ending early at a zero byte.
void NameText(const unsigned char* p, char out[9]) {
    int n = 0;
    while (n < 8 && p[n] != 0) {
        out[n] = static_cast<char>(p[n]);
        ++n;
    }
    out[n] = '\0';
}

// Bytes from the current position to the end, or -1 when the stream cannot tell.
long long BytesLeft(std::FILE* f) {
    long here = std::ftell(f);
    if (here < 0 || std::fseek(f, 0, SEEK_END) != 0) return -1;
    long end = std::ftell(f);
    if (std::fseek(f, here, SEEK_SET) != 0 || end < here) return -1;
    return static_cast<long long>(end) - here;
}

// Node count of one axis from its extent and spacing (arcseconds); 0 when the
// header does not describe a usable axis (NaN, zero or absurd spacing).
long long AxisCount(double extent, double step) {
    double n = std::floor(std::fabs(extent) / step + 0.5) + 1.0;
    return (n >= 1.0 && n <= 2147483647.0) ? static_cast<long long>(n) : 0;
}

// Reads the sub-grid `index` whose header is in `h`; the nodes follow in the file.
int ReadSubGrid(std::FILE* f, const unsigned char* h, int index, Ntv2SubGrid* g) {
    NameText(Value(h, 0), g->name);
    NameText(Value(h, 1), g->parent);
    const double sLat = F64(Value(h, 4)), nLat = F64(Value(h, 5));
    const double eLong = F64(Value(h, 6)), wLong = F64(Value(h, 7));
    const double latInc = F64(Value(h, 8)), lonInc = F64(Value(h, 9));
    const int32_t count = I32(Value(h, 10));

    // Longitudes are positive west in the file.
    const double x0 = -wLong, y0 = sLat, east = -eLong;
    const long long columns = AxisCount(east - x0, lonInc);
    const long long rows = AxisCount(nLat - sLat, latInc);
    if (columns == 0 || rows == 0 || columns * rows != count) {
        LogPrintf("Bad array size %d!\n", count);
        return NTV2_BAD_DATA;
    }
    g->columns = static_cast<int32_t>(columns);
    g->rows = static_cast<int32_t>(rows);
    // One factor for arcseconds to radians: edges on whole degrees then meet
    // points given in degrees exactly, more often than with two roundings.
    g->x0 = x0 * kArcSecToRad;
    g->y0 = y0 * kArcSecToRad;
    g->dx = lonInc * kArcSecToRad;
    g->dy = latInc * kArcSecToRad;
    g->x1 = g->x0 + (g->columns - 1) * g->dx;
    g->y1 = g->y0 + (g->rows - 1) * g->dy;

    // A declared count the file cannot hold is a short read; finding out
    // before allocating keeps a hostile header from claiming gigabytes.
    const long long left = BytesLeft(f);
    if (left >= 0 && static_cast<long long>(count) * kNodeBytes > left) {
        LogPrintf("Read subgrid header %d failed!\n", index);
        return NTV2_SHORT_READ;
    }
    std::vector<unsigned char> row;
    try {
        g->nodes.resize(static_cast<size_t>(count));
        row.resize(static_cast<size_t>(columns) * kNodeBytes);
    } catch (const std::bad_alloc&) {
        LogPrintf("Out of memory!\n");
        return NTV2_NO_MEMORY;
    }
    for (int32_t r = 0; r < g->rows; ++r) {
        if (std::fread(row.data(), 1, row.size(), f) != row.size()) {
            LogPrintf("Read subgrid header %d failed!\n", index);
            return NTV2_SHORT_READ;
        }
        // Each row is stored from east to west.
        Ntv2Node* out = &g->nodes[static_cast<size_t>(r) * g->columns];
        for (int32_t c = 0; c < g->columns; ++c) {
            const unsigned char* p = &row[static_cast<size_t>(c) * kNodeBytes];
            Ntv2Node& node = out[g->columns - c - 1];
            node.lon = static_cast<float>(F32(p + 4) * kArcSecToRad);
            node.lat = static_cast<float>(F32(p) * kArcSecToRad);
        }
    }
    return NTV2_OK;
}

int LoadStream(std::FILE* f, Ntv2Tree* tree) {
    unsigned char block[kHeaderBytes];
    if (std::fread(block, 1, 8, f) != 8) {
        LogPrintf("Failed reading signature bytes.\n");
        return NTV2_SHORT_READ;
    }
    if (std::memcmp(block, "NUM_OREC", 8) != 0) {
        LogPrintf("Invalid signature bytes.\n");
        return NTV2_BAD_DATA;
    }
    if (std::fseek(f, 0, SEEK_SET) != 0 || std::fread(block, 1, kHeaderBytes, f) != kHeaderBytes) {
        LogPrintf("Failed reading overview header.\n");
        return NTV2_SHORT_READ;
    }
    // Overview records: NUM_OREC, NUM_SREC, NUM_FILE, GS_TYPE, ...
    if (I32(Value(block, 0)) != 11 || I32(Value(block, 1)) != 11) {
        LogPrintf("Invalid header size.\n");
        return NTV2_BAD_DATA;
    }
    if (std::memcmp(Value(block, 3), "SECONDS", 7) != 0) {
        LogPrintf("Invalid shift type.\n");
        return NTV2_BAD_DATA;
    }
    const int32_t subGrids = I32(Value(block, 2));
    for (int32_t s = 0; s < subGrids; ++s) {
        if (std::fread(block, 1, kHeaderBytes, f) != kHeaderBytes) {
            LogPrintf("Read subgrid header %d failed!\n", s);
            return NTV2_SHORT_READ;
        }
        std::unique_ptr<Ntv2SubGrid> grid(new Ntv2SubGrid);
        int status = ReadSubGrid(f, block, s, grid.get());
        if (status != NTV2_OK) return status;
        char parent[9];
        std::memcpy(parent, grid->parent, sizeof parent);
        if (!tree->Add(std::move(grid))) {
            LogPrintf("No such table parent '%s'\n", parent);
            return NTV2_BAD_DATA;
        }
    }
    LogPrintf("LoadShiftFile done.\n");
    return NTV2_OK;
}

// Column (or row) of the cell holding grid position `f` on an axis of `n`
// nodes, and the fraction across it. A position within 1e-11 of a cell outside
// the outer nodes counts as lying on them.
bool CellOf(double f, int32_t n, int32_t* index, double* frac) {
    if (!(f >= -1.0 && f < n + 1.0)) return false; // also NaN
    const double whole = std::floor(f);
    int32_t i = static_cast<int32_t>(whole);
    double t = f - whole;
    if (i < 0) {
        if (!(t > 0.99999999999)) return false;
        i = 0;
        t = 0.0;
    } else if (i + 1 >= n) {
        if (i + 1 != n || !(t < 1e-11)) return false;
        i = n - 2;
        t = 1.0;
    }
    if (i < 0 || i + 1 >= n) return false; // a single column or row has no cells
    *index = i;
    *frac = t;
    return true;
}

// ---------------------------------------------------------------- the process-wide grid

struct GlobalGrid {
    std::shared_mutex mutex;
    char path[kPathLen] = ""; // empty: nothing loaded
    Ntv2Tree tree;
    std::atomic<bool> hadUnplottables{false};
};

GlobalGrid& Global() {
    static GlobalGrid grid;
    return grid;
}

void Forget(GlobalGrid& g) {
    g.tree.Clear();
    g.path[0] = '\0';
}

// NTV2Startup with the grid already locked for writing.
int StartupLocked(GlobalGrid& g, const char* path) {
    LogPrintf("NTV2Startup\n");
    Forget(g);
    if (path) {
        CopyName(g.path, path, kPathLen);
    } else {
        char chosen[kPathLen] = "";
        GridPathBeside("NTV2_0.GSB", chosen, sizeof chosen);
        CopyName(g.path, chosen, kPathLen);
    }
    int status = LoadShiftFile(g.path, &g.tree);
    if (status != NTV2_OK) {
        LogPrintf("NTV2: Failed loading grid shift file '%s'\n", g.path);
        Forget(g);
        return status;
    }
    LogPrintf("%d tables at root level.\n", static_cast<int>(g.tree.Roots().size()));
    LogPrintf("NTV2Startup completed ok.\n");
    return NTV2_OK;
}

int TransformLocked(GlobalGrid& g, int count, DATUMPOINT* points, bool inverse) {
    g.hadUnplottables = false;
    for (int n = 0; n < count; ++n) {
        if (points[n].x != kUnplottable) points[n].x *= kDegToRad;
        if (points[n].y != kUnplottable) points[n].y *= kDegToRad;
    }
    // The vector loop when the per-point trace is off (its points only ever
    // end NTV2_OK or NTV2_OUTSIDE, both accepted below).
    if (VectorLoopFor(count) && !LogIsEnabled()) {
        Ntv2TransformLanes(g.tree, points, count, inverse);
    } else {
        for (int n = 0; n < count; ++n) {
            int status = Ntv2TransformPoint(g.tree, &points[n].x, &points[n].y, inverse);
            if (status != NTV2_OK && status != NTV2_OUTSIDE) {
                LogPrintf("NTV2: TransformPoint failed.\n");
                return status;
            }
        }
    }
    bool unplottable = false;
    for (int n = 0; n < count; ++n) {
        for (double* c : {&points[n].x, &points[n].y}) {
            if (*c == kUnplottable)
                unplottable = true;
            else
                *c *= kRadToDeg;
        }
    }
    g.hadUnplottables = unplottable;
    return NTV2_OK;
}

} // namespace

// ---------------------------------------------------------------- the tree

void Ntv2Tree::Clear() {
    m_byName.clear();
    m_roots.clear();
    m_all.clear();
}

Ntv2SubGrid* Ntv2Tree::Find(const char* name) const {
    auto it = m_byName.find(name);
    return it == m_byName.end() ? nullptr : it->second;
}

namespace {

// Whether a depth-first walk of the tree meets `a` before `b`.
bool Precedes(const Ntv2SubGrid* a, const Ntv2SubGrid* b) {
    while (a->depth > b->depth) {
        a = a->up;
        if (a == b) return false; // b is an ancestor of a
    }
    while (b->depth > a->depth) {
        b = b->up;
        if (a == b) return true;
    }
    while (a->up != b->up) {
        a = a->up;
        b = b->up;
    }
    return a->order < b->order;
}

} // namespace

bool Ntv2Tree::Add(std::unique_ptr<Ntv2SubGrid> grid) {
    Ntv2SubGrid* parent = nullptr;
    if (std::strncmp(grid->parent, "NONE", 4) != 0) {
        parent = Find(grid->parent);
        if (!parent) return false;
    }
    std::vector<Ntv2SubGrid*>& siblings = parent ? parent->children : m_roots;
    grid->up = parent;
    grid->depth = parent ? parent->depth + 1 : 0;
    grid->order = siblings.size();
    m_all.push_back(std::move(grid));
    Ntv2SubGrid* added = m_all.back().get();
    siblings.push_back(added);
    Ntv2SubGrid*& first = m_byName[added->name];
    if (!first || Precedes(added, first)) first = added;
    return true;
}

const Ntv2SubGrid* Ntv2Tree::Choose(double lon, double lat) const {
    const Ntv2SubGrid* chosen = nullptr;
    const std::vector<Ntv2SubGrid*>* level = &m_roots;
    for (;;) {
        const Ntv2SubGrid* next = nullptr;
        for (const Ntv2SubGrid* g : *level) {
            if (g->Contains(lon, lat)) {
                next = g;
                break;
            }
        }
        if (!next) return chosen;
        chosen = next;
        level = &next->children;
    }
}

// ---------------------------------------------------------------- loading

int LoadShiftStream(std::FILE* file, Ntv2Tree* tree) {
    if (!file || !tree) return NTV2_OPEN_FAILED;
    tree->Clear();
    int status;
    try {
        status = LoadStream(file, tree);
    } catch (const std::bad_alloc&) {
        LogPrintf("Out of memory!\n");
        status = NTV2_NO_MEMORY;
    }
    if (status != NTV2_OK) tree->Clear();
    return status;
}

int LoadShiftFile(const char* path, Ntv2Tree* tree) {
    LogPrintf("LoadShiftFile('%s')\n", path ? path : "");
    std::FILE* f = GridOpenEitherCase(path);
    if (!f) {
        LogPrintf("File open failed.\n");
        if (tree) tree->Clear();
        return NTV2_OPEN_FAILED;
    }
    int status = LoadShiftStream(f, tree);
    std::fclose(f);
    return status;
}

// ---------------------------------------------------------------- shifting

double Ntv2Wrap(double a) {
    if (std::fabs(a) <= 3.14159265359) return a;
    return a + kPi - std::floor((a + kPi) / (2.0 * kPi)) * (2.0 * kPi) - kPi;
}

bool Ntv2ShiftAt(const Ntv2SubGrid& g, double u, double v, double* shiftLon, double* shiftLat) {
    int32_t i, j;
    double tx, ty;
    if (!CellOf(u / g.dx, g.columns, &i, &tx) || !CellOf(v / g.dy, g.rows, &j, &ty)) return false;
    const Ntv2Node* s = &g.nodes[static_cast<size_t>(j) * g.columns + i]; // south-west
    const Ntv2Node* n = s + g.columns;                                    // north-west
    const double w00 = (1.0 - tx) * (1.0 - ty), w10 = tx * (1.0 - ty);
    const double w01 = (1.0 - tx) * ty, w11 = tx * ty;
    *shiftLon = w00 * s[0].lon + w10 * s[1].lon + w01 * n[0].lon + w11 * n[1].lon;
    *shiftLat = w00 * s[0].lat + w10 * s[1].lat + w01 * n[0].lat + w11 * n[1].lat;
    return true;
}

int Ntv2TransformPoint(const Ntv2Tree& tree, double* lon, double* lat, bool inverse) {
    const Ntv2SubGrid* g = tree.Choose(*lon, *lat);
    if (!g) {
        LogPrintf("Coordinate %f, %f not a match for any known shift table!\n", *lon, *lat);
        return NTV2_OK;
    }
    LogPrintf("Using table '%s'\n", g->name);
    const double u = Ntv2Wrap(*lon - g->x0 - kPi) + kPi;
    const double v = *lat - g->y0;
    double sLon, sLat;
    if (!Ntv2ShiftAt(*g, u, v, &sLon, &sLat)) return NTV2_OUTSIDE;
    if (!inverse) {
        *lon -= sLon; // the file's longitude shifts are positive west
        *lat += sLat;
        return NTV2_OK;
    }
    // Find the grid position whose forward shift lands on (u, v).
    double gLon = u + sLon, gLat = v - sLat;
    constexpr int kCorrections = 11;
    int made = 0;
    while (made < kCorrections) {
        double tLon, tLat;
        if (!Ntv2ShiftAt(*g, gLon, gLat, &tLon, &tLat)) break; // keep the estimate
        const double eLon = gLon - tLon - u, eLat = gLat + tLat - v;
        gLon -= eLon;
        gLat -= eLat;
        ++made;
        if (made < kCorrections && (std::fabs(eLon) <= 1e-12 || std::fabs(eLat) <= 1e-12)) break;
    }
    if (made == kCorrections) {
        *lon = *lat = kUnplottable;
        return NTV2_OK;
    }
    *lon = Ntv2Wrap(gLon + g->x0);
    *lat = gLat + g->y0;
    return NTV2_OK;
}

// ---------------------------------------------------------------- the process-wide grid

int NTV2Startup(const char* path) {
    return KV_GUARDED(int(NTV2_NO_MEMORY), [&] {
        GlobalGrid& g = Global();
        std::unique_lock<std::shared_mutex> lock(g.mutex);
        return StartupLocked(g, path);
    });
}

int NTV2Transform(int count, DATUMPOINT* points, bool inverse) {
    LogPrintf("NTV2Transform(iNumPoints=%d, pPoints=%p, bInverse=%s)\n", count,
              static_cast<void*>(points), inverse ? "true" : "false");
    if (count < 1 || !points) return int(NTV2_OK);
    return KV_GUARDED(int(NTV2_NO_MEMORY), [&]() -> int {
        GlobalGrid& g = Global();
        for (;;) {
            {
                std::shared_lock<std::shared_mutex> lock(g.mutex);
                if (g.path[0]) return TransformLocked(g, count, points, inverse);
            }
            std::unique_lock<std::shared_mutex> lock(g.mutex);
            if (!g.path[0]) {
                int status = StartupLocked(g, nullptr);
                if (status != NTV2_OK) return status;
            }
        }
    });
}

void NTV2Shutdown() {
    KV_GUARDED_VOID([&] {
        GlobalGrid& g = Global();
        std::unique_lock<std::shared_mutex> lock(g.mutex);
        LogPrintf("NTV2Shutdown\n");
        Forget(g);
    });
}

bool NTV2HadUnplottables() {
    return KV_GUARDED(false, [&] { return Global().hadUnplottables.load(); });
}

int NTV2GetSubGrids(Ntv2SubGridInfo* out, int max) {
    return KV_GUARDED(0, [&] {
        GlobalGrid& g = Global();
        std::shared_lock<std::shared_mutex> lock(g.mutex);
        int n = 0;
        const double arcsec = 3600.0 / kDegToRad;
        g.tree.Visit([&](const Ntv2SubGrid& s, int depth) {
            if (out && n < max) {
                Ntv2SubGridInfo& i = out[n];
                std::memcpy(i.name, s.name, sizeof i.name);
                std::memcpy(i.parent, s.parent, sizeof i.parent);
                i.depth = depth;
                i.columns = s.columns;
                i.rows = s.rows;
                i.west = s.x0 * kRadToDeg;
                i.south = s.y0 * kRadToDeg;
                i.east = s.x1 * kRadToDeg;
                i.north = s.y1 * kRadToDeg;
                i.dx = s.dx * arcsec;
                i.dy = s.dy * arcsec;
            }
            ++n;
            return true;
        });
        return n;
    });
}

} // namespace KVProj
