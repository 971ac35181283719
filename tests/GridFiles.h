// Writers of small grid-shift files for the grid tests, the tool tests and
// the benchmark: NTv2 files with nested sub-grids and NADCON ".LAS"/".LOS"
// pairs, with shifts taken from a function so that expected values can be
// computed independently (bilinear interpolation reproduces bilinear functions).
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

// Shift at a node: longitude east-positive and latitude in degrees in; the
// latitude shift and the longitude shift (positive west) in arcseconds out.
using ShiftFn = std::function<void(double lon, double lat, float* dLat, float* dLonWest)>;

// One NTv2 sub-grid; limits in arcseconds with longitudes positive west, as
// the file holds them.
struct SubGrid {
    std::string name, parent; // parent "NONE" for a root
    double sLat, nLat, eLong, wLong, latInc, lonInc;
    ShiftFn shift;
    // Geometry in degrees, longitude east-positive.
    int Columns() const { return int(std::floor(std::fabs(wLong - eLong) / lonInc + 0.5)) + 1; }
    int Rows() const { return int(std::floor(std::fabs(nLat - sLat) / latInc + 0.5)) + 1; }
    double West() const { return -wLong / 3600.0; }
    double South() const { return sLat / 3600.0; }
};

// A sub-grid from a south-west corner and a size in degrees (east-positive)
// and spacings in arcseconds.
inline SubGrid Box(const std::string& name, const std::string& parent, double west, double south,
                   double width, double height, double lonInc, double latInc, ShiftFn shift) {
    return {
        name,           parent, south * 3600.0, (south + height) * 3600.0, -(west + width) * 3600.0,
        -west * 3600.0, latInc, lonInc,         std::move(shift)};
}

inline void Put(std::string& out, const void* p, size_t n) {
    out.append(static_cast<const char*>(p), n);
}

inline void Key(std::string& out, const char* key) {
    char k[8];
    std::memset(k, ' ', 8);
    std::memcpy(k, key, std::strlen(key) < 8 ? std::strlen(key) : 8);
    Put(out, k, 8);
}

inline void IntRecord(std::string& out, const char* key, int32_t v) {
    Key(out, key);
    const int32_t pad = 0;
    Put(out, &v, 4);
    Put(out, &pad, 4);
}

inline void TextRecord(std::string& out, const char* key, const std::string& v) {
    Key(out, key);
    Key(out, v.c_str());
}

inline void RealRecord(std::string& out, const char* key, double v) {
    Key(out, key);
    Put(out, &v, 8);
}

// Byte offsets inside a file written by Ntv2File.
constexpr size_t kRecord = 16;
constexpr size_t kHeader = 11 * kRecord;
inline size_t ValueAt(size_t headerOffset, int record) {
    return headerOffset + record * kRecord + 8;
}
inline size_t SubGridOffset(const std::vector<SubGrid>& grids, size_t index) {
    size_t at = kHeader;
    for (size_t s = 0; s < index; ++s)
        at += kHeader + size_t(grids[s].Columns()) * grids[s].Rows() * 16;
    return at;
}

// A whole NTv2 file (little-endian host assumed, as everywhere this runs).
inline std::string Ntv2File(const std::vector<SubGrid>& grids) {
    std::string out;
    IntRecord(out, "NUM_OREC", 11);
    IntRecord(out, "NUM_SREC", 11);
    IntRecord(out, "NUM_FILE", int32_t(grids.size()));
    TextRecord(out, "GS_TYPE", "SECONDS");
    TextRecord(out, "VERSION", "NTv2.0");
    TextRecord(out, "SYSTEM_F", "TESTF");
    TextRecord(out, "SYSTEM_T", "TESTT");
    RealRecord(out, "MAJOR_F", 6378206.4);
    RealRecord(out, "MINOR_F", 6356583.8);
    RealRecord(out, "MAJOR_T", 6378137.0);
    RealRecord(out, "MINOR_T", 6356752.314);
    for (const SubGrid& g : grids) {
        const int columns = g.Columns(), rows = g.Rows();
        TextRecord(out, "SUB_NAME", g.name);
        TextRecord(out, "PARENT", g.parent);
        TextRecord(out, "CREATED", "20260101");
        TextRecord(out, "UPDATED", "20260101");
        RealRecord(out, "S_LAT", g.sLat);
        RealRecord(out, "N_LAT", g.nLat);
        RealRecord(out, "E_LONG", g.eLong);
        RealRecord(out, "W_LONG", g.wLong);
        RealRecord(out, "LAT_INC", g.latInc);
        RealRecord(out, "LONG_INC", g.lonInc);
        IntRecord(out, "GS_COUNT", columns * rows);
        // Rows from the south; within a row from the east.
        for (int r = 0; r < rows; ++r) {
            for (int c = columns - 1; c >= 0; --c) {
                float node[4] = {0, 0, 0.01f, 0.02f};
                g.shift(g.West() + c * g.lonInc / 3600.0, g.South() + r * g.latInc / 3600.0,
                        &node[0], &node[1]);
                Put(out, node, sizeof node);
            }
        }
    }
    IntRecord(out, "END", 0);
    return out;
}

// A NADCON grid: NC columns from xMin eastwards, NR rows from yMin northwards.
struct Nadcon {
    int32_t columns, rows;
    float xMin, dx, yMin, dy;
    float marker; // the first value of every record
};

// One NADCON file; value(c, r) gives the shift (arcseconds) of column c and
// row r, both 1-based. Needs columns >= 23 so the header fits record 0.
inline std::string NadconFile(const Nadcon& g, const std::function<float(int, int)>& value) {
    const size_t record = size_t(g.columns + 1) * 4;
    std::string out(record * size_t(g.rows + 1), '\0');
    std::memcpy(&out[0], "NADCON EXTRACTED REGION", 23);
    std::memcpy(&out[56], "NADGRD  ", 8);
    const int32_t nz = 1;
    const float angle = 0;
    std::memcpy(&out[64], &g.columns, 4);
    std::memcpy(&out[68], &g.rows, 4);
    std::memcpy(&out[72], &nz, 4);
    std::memcpy(&out[76], &g.xMin, 4);
    std::memcpy(&out[80], &g.dx, 4);
    std::memcpy(&out[84], &g.yMin, 4);
    std::memcpy(&out[88], &g.dy, 4);
    std::memcpy(&out[92], &angle, 4);
    for (int r = 1; r <= g.rows; ++r) {
        std::memcpy(&out[record * r], &g.marker, 4);
        for (int c = 1; c <= g.columns; ++c) {
            const float v = value(c, r);
            std::memcpy(&out[record * r + size_t(c) * 4], &v, 4);
        }
    }
    return out;
}

// The nested layout of the tests: two roots sharing their edge at 70 W, the
// first with two children and a grandchild. Every sub-grid has its own shift
// so that the one used can be told from the result.
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
    return {
        Box("ROOTA", "NONE", -80, 40, 10, 6, 1800, 1800, NestedShift(0)),
        Box("CHILD1", "ROOTA", -76, 42, 2, 1.5, 300, 300, NestedShift(0.25)),
        Box("GRAND1", "CHILD1", -75.5, 42.5, 0.5, 0.5, 60, 60, NestedShift(0.5)),
        Box("CHILD2", "ROOTA", -73, 44, 2, 1, 600, 600, NestedShift(-0.25)),
        Box("ROOTB", "NONE", -70, 40, 5, 4, 1800, 1800, NestedShift(1.0)),
    };
}

inline bool WriteFile(const std::string& path, const std::string& bytes) {
    std::FILE* f = std::fopen(path.c_str(), "wb");
    if (!f) return false;
    const bool ok = std::fwrite(bytes.data(), 1, bytes.size(), f) == bytes.size();
    return std::fclose(f) == 0 && ok;
}

// A fresh directory under $TMPDIR, removed with its files at the end.
class TempDir {
public:
    TempDir() {
        const char* base = std::getenv("TMPDIR");
        std::string pattern = std::string(base && *base ? base : "/tmp") + "/kvgrid.XXXXXX";
        std::vector<char> buffer(pattern.begin(), pattern.end());
        buffer.push_back('\0');
        if (::mkdtemp(buffer.data())) m_path = std::string(buffer.data()) + "/";
    }
    ~TempDir() {
        for (const std::string& f : m_files)
            std::remove(f.c_str());
        if (!m_path.empty()) ::rmdir(m_path.c_str());
    }
    TempDir(const TempDir&) = delete;
    TempDir& operator=(const TempDir&) = delete;

    const std::string& Path() const { return m_path; }
    // Writes `bytes` to `name` inside the directory; returns the full path.
    std::string Write(const std::string& name, const std::string& bytes) {
        const std::string full = m_path + name;
        WriteFile(full, bytes);
        m_files.push_back(full);
        return full;
    }

private:
    std::string m_path;
    std::vector<std::string> m_files;
};

} // namespace gridfiles

#endif
