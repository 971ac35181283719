// Writers of small grid-shift files for the grid tests, the tool tests and the
// benchmark: NTv2 files with nested sub-grids and NADCON ".LAS"/".LOS" files,
// with shifts taken from functions so that expected values are known
// independently (bilinear interpolation reproduces bilinear functions).
#ifndef KVPROJ_TESTS_GRIDFILES_H
#define KVPROJ_TESTS_GRIDFILES_H

#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <string>
#include <vector>

#include <unistd.h>

namespace gridfiles {

// Node shift at (lon east-positive, lat) in degrees: latitude shift and
// longitude shift (positive west) in arcseconds.
using ShiftFn = std::function<void(double lon, double lat, float* dLat, float* dLonWest)>;

// One NTv2 sub-grid; limits in arcseconds, longitudes positive west, as in the file.
struct SubGrid {
    std::string name, parent; // parent "NONE" for a root
    double sLat, nLat, eLong, wLong, latInc, lonInc;
    ShiftFn shift;
    int Columns() const { return int(std::floor(std::fabs(wLong - eLong) / lonInc + 0.5)) + 1; }
    int Rows() const { return int(std::floor(std::fabs(nLat - sLat) / latInc + 0.5)) + 1; }
};

// A sub-grid from its south-west corner and size in degrees, spacings in arcseconds.
inline SubGrid Box(const std::string& name, const std::string& parent, double west, double south,
                   double width, double height, double lonInc, double latInc, ShiftFn shift) {
    return {name,         parent, south * 3600, (south + height) * 3600, -(west + width) * 3600,
            -west * 3600, latInc, lonInc,       std::move(shift)};
}

template <class T> void Put(std::string& out, T v) {
    out.append(reinterpret_cast<char*>(&v), sizeof v);
}
inline void Text8(std::string& out, const std::string& s) {
    out += (s + "        ").substr(0, 8);
}
inline void Int(std::string& out, const char* key, int32_t v) {
    Text8(out, key), Put(out, v), Put(out, 0);
}
inline void Txt(std::string& out, const char* key, const std::string& v) {
    Text8(out, key), Text8(out, v);
}
inline void Real(std::string& out, const char* key, double v) {
    Text8(out, key), Put(out, v);
}

// Byte offsets in a file written by Ntv2File: the value of record `n` of the
// header at `header`, and where the header of sub-grid `index` starts.
constexpr size_t kHeader = 176;
inline size_t ValueAt(size_t header, int n) {
    return header + n * 16 + 8;
}
inline size_t SubGridOffset(const std::vector<SubGrid>& grids, size_t index) {
    size_t at = kHeader;
    for (size_t s = 0; s < index; ++s)
        at += kHeader + size_t(grids[s].Columns()) * grids[s].Rows() * 16;
    return at;
}

// A whole NTv2 file (this code runs on little-endian hosts only).
inline std::string Ntv2File(const std::vector<SubGrid>& grids) {
    std::string out;
    Int(out, "NUM_OREC", 11), Int(out, "NUM_SREC", 11), Int(out, "NUM_FILE", int32_t(grids.size()));
    Txt(out, "GS_TYPE", "SECONDS"), Txt(out, "VERSION", "NTv2.0");
    Txt(out, "SYSTEM_F", "TESTF"), Txt(out, "SYSTEM_T", "TESTT");
    Real(out, "MAJOR_F", 6378206.4), Real(out, "MINOR_F", 6356583.8);
    Real(out, "MAJOR_T", 6378137.0), Real(out, "MINOR_T", 6356752.314);
    for (const SubGrid& g : grids) {
        Txt(out, "SUB_NAME", g.name), Txt(out, "PARENT", g.parent);
        Txt(out, "CREATED", "20260101"), Txt(out, "UPDATED", "20260101");
        Real(out, "S_LAT", g.sLat), Real(out, "N_LAT", g.nLat);
        Real(out, "E_LONG", g.eLong), Real(out, "W_LONG", g.wLong);
        Real(out, "LAT_INC", g.latInc), Real(out, "LONG_INC", g.lonInc);
        Int(out, "GS_COUNT", g.Columns() * g.Rows());
        for (int r = 0; r < g.Rows(); ++r) // rows from the south, each from the east
            for (int c = g.Columns() - 1; c >= 0; --c) {
                float node[4] = {0, 0, 0.01f, 0.02f};
                g.shift((-g.wLong + c * g.lonInc) / 3600, (g.sLat + r * g.latInc) / 3600, &node[0],
                        &node[1]);
                out.append(reinterpret_cast<char*>(node), sizeof node);
            }
    }
    Int(out, "END", 0);
    return out;
}

// The nested layout of the tests: two roots sharing their edge at 70 W, the
// first with two children and a grandchild, each with its own shift offset.
inline double NestedLat(double lon, double lat) {
    return 1.5 + 0.1 * (lon + 80) + 0.05 * (lat - 40);
}
inline double NestedLonW(double lon, double lat) {
    return -2.0 + 0.07 * (lon + 80) - 0.03 * (lat - 40);
}
inline ShiftFn NestedShift(double offset) {
    return [offset](double lon, double lat, float* dLat, float* dLonW) {
        *dLat = float(NestedLat(lon, lat) + offset);
        *dLonW = float(NestedLonW(lon, lat) - offset);
    };
}
inline std::vector<SubGrid> NestedGrids() {
    return {Box("ROOTA", "NONE", -80, 40, 10, 6, 1800, 1800, NestedShift(0)),
            Box("CHILD1", "ROOTA", -76, 42, 2, 1.5, 300, 300, NestedShift(0.25)),
            Box("GRAND1", "CHILD1", -75.5, 42.5, 0.5, 0.5, 60, 60, NestedShift(0.5)),
            Box("CHILD2", "ROOTA", -73, 44, 2, 1, 600, 600, NestedShift(-0.25)),
            Box("ROOTB", "NONE", -70, 40, 5, 4, 1800, 1800, NestedShift(1.0))};
}

// A NADCON grid: `columns` from xMin eastwards, `rows` from yMin northwards;
// `marker` is the first value of every record.
struct Nadcon {
    int32_t columns, rows;
    float xMin, dx, yMin, dy, marker;
};

// One NADCON file; value(c, r) is the shift (arcseconds) at 1-based column c
// and row r. Needs 23 columns or more for the header to fit record 0.
inline std::string NadconFile(const Nadcon& g, const std::function<float(int, int)>& value) {
    const size_t record = size_t(g.columns + 1) * 4;
    std::string out = "NADCON EXTRACTED REGION";
    out.resize(56, ' ');
    out += "NADGRD  ";
    Put(out, g.columns), Put(out, g.rows), Put(out, 1), Put(out, g.xMin), Put(out, g.dx);
    Put(out, g.yMin), Put(out, g.dy), Put(out, 0.0f);
    out.resize(record, '\0');
    for (int r = 1; r <= g.rows; ++r) {
        Put(out, g.marker);
        for (int c = 1; c <= g.columns; ++c)
            Put(out, value(c, r));
    }
    return out;
}

// A fresh directory under $TMPDIR, removed with the files written into it.
class TempDir {
public:
    TempDir() {
        const char* base = std::getenv("TMPDIR");
        std::string pattern = std::string(base && *base ? base : "/tmp") + "/kvgrid.XXXXXX";
        if (::mkdtemp(&pattern[0])) m_path = pattern + "/";
    }
    ~TempDir() {
        for (const std::string& f : m_files)
            std::remove(f.c_str());
        if (!m_path.empty()) ::rmdir(m_path.c_str());
    }
    const std::string& Path() const { return m_path; }
    // Writes `bytes` to `name` in the directory; returns the full path.
    std::string Write(const std::string& name, const std::string& bytes) {
        const std::string full = m_path + name;
        if (std::FILE* f = std::fopen(full.c_str(), "wb")) {
            std::fwrite(bytes.data(), 1, bytes.size(), f);
            std::fclose(f);
        }
        m_files.push_back(full);
        return full;
    }

private:
    std::string m_path;
    std::vector<std::string> m_files;
};

} // namespace gridfiles

#endif
