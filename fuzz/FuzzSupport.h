// Shared pieces of the API-level fuzz targets: reading typed values from the
// fuzzer's bytes, and the contract checks on converted points.
#ifndef KVPROJ_FUZZ_FUZZSUPPORT_H
#define KVPROJ_FUZZ_FUZZSUPPORT_H

#include "kvproj/export.h"

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <vector>

namespace kvfuzz {

inline void Check(bool condition) {
    if (!condition) __builtin_trap();
}

// Consumes the fuzzer's bytes front to back; past the end every value is zero.
class Bytes {
public:
    Bytes(const uint8_t* data, size_t size) : m_data(data), m_size(size) {}
    template <typename T> T Take() {
        T value;
        std::memset(&value, 0, sizeof value);
        const size_t n = sizeof value < m_size - m_pos ? sizeof value : m_size - m_pos;
        std::memcpy(&value, m_data + m_pos, n);
        m_pos += n;
        return value;
    }
    void TakeInto(void* out, size_t size) {
        std::memset(out, 0, size);
        const size_t n = size < m_size - m_pos ? size : m_size - m_pos;
        std::memcpy(out, m_data + m_pos, n);
        m_pos += n;
    }
    size_t Left() const { return m_size - m_pos; }

private:
    const uint8_t* m_data;
    size_t m_size;
    size_t m_pos = 0;
};

// Up to `limit` points of two doubles from the rest of the bytes, in an array
// of exactly that size so that a write past it is caught.
template <typename Point> std::vector<Point> TakePoints(Bytes& in, size_t limit) {
    size_t count = in.Left() / sizeof(Point);
    if (count > limit) count = limit;
    std::vector<Point> points(count);
    for (Point& p : points)
        in.TakeInto(&p, sizeof p);
    return points;
}

inline bool IsMarker(double v) {
    return v == KVPROJ_UNPLOTTABLE;
}

// The contract of a converted point: finite members, and the unplottable
// marker in both members or in neither, unless the input already carried a
// marker in one member.
template <typename Point> void CheckPoint(const Point& in, const Point& out) {
    Check(std::isfinite(out.x) && std::isfinite(out.y));
    if (IsMarker(in.x) || IsMarker(in.y)) return;
    Check(IsMarker(out.x) == IsMarker(out.y));
}

} // namespace kvfuzz

#endif
