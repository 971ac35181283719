// libFuzzer target for image registration: calibrates every method (and the
// invalid numbers -1 and 6) on small control sets read from the input, either
// as raw doubles or as 16-bit pixel and map values, then transforms the
// controls and arbitrary points. A calibration either fails with a reason or
// reproduces its controls.
#include "kvproj/registration.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>

using namespace KVProj;

namespace {

void Check(bool condition) {
    if (!condition) __builtin_trap();
}

// Reads values from the input: raw doubles, or 16-bit integers scaled to
// ordinary pixel (0..65535) and map (around 500 km, 0.25 m steps) values.
class Reader {
public:
    Reader(const uint8_t* data, size_t size, bool raw) : m_data(data), m_size(size), m_raw(raw) {}
    bool Empty() const { return m_pos + (m_raw ? 8 : 2) > m_size; }
    double Pixel() { return m_raw ? Raw() : Small(); }
    double Map() { return m_raw ? Raw() : 500000.0 + 0.25 * (Small() - 32768.0); }

private:
    double Raw() {
        double value = 0;
        if (!Empty()) std::memcpy(&value, m_data + m_pos, 8), m_pos += 8;
        return value;
    }
    double Small() {
        uint16_t value = 0;
        if (!Empty()) std::memcpy(&value, m_data + m_pos, 2), m_pos += 2;
        return value;
    }
    const uint8_t* m_data;
    size_t m_size, m_pos = 0;
    bool m_raw;
};

void CheckReproduces(const CImageRegistration& reg, const RPoints& src, const RPoints& dst) {
    double spread = 0;
    for (const RPoint& a : dst)
        for (const RPoint& b : dst)
            spread = std::max(spread, std::max(std::fabs(a.x - b.x), std::fabs(a.y - b.y)));
    for (size_t i = 0; i < src.size(); ++i) {
        double x = src[i].x, y = src[i].y;
        Check(reg.Transform(x, y));
        const double tol = 1e-8 * spread + 1e-12 * (std::fabs(dst[i].x) + std::fabs(dst[i].y));
        Check(std::fabs(x - dst[i].x) <= tol && std::fabs(y - dst[i].y) <= tol);
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size < 3) return 0;
    const auto method = static_cast<WarpingMethod>(data[0] % 8 - 1); // -1..6
    const bool raw = data[1] & 1;
    const size_t n = data[2] % 24;
    Reader in(data + 3, size - 3, raw);
    RPoints src(n), dst(n);
    for (size_t i = 0; i < n; ++i) {
        src[i].x = in.Pixel(), src[i].y = in.Pixel();
        dst[i].x = in.Map(), dst[i].y = in.Map();
    }
    CImageRegistration reg;
    const WarpingMethod got = reg.Calibrate(src, dst, method);
    Check(got == method || got == WARP_NONE);
    if (got == WARP_NONE) {
        Check(reg.Reason()[0] != '\0' && !reg.IsCalibrated());
        double x = 1, y = 2;
        Check(!reg.Transform(x, y) && x == 1 && y == 2);
        return 0;
    }
    Check(reg.Reason()[0] == '\0' && reg.ControlCount() == static_cast<int>(n));
    CheckReproduces(reg, src, dst);
    RPoints loo;
    if (reg.LeaveOneOutResiduals(loo)) Check(loo.size() == n && n >= 4);
    RPoints pts;
    while (!in.Empty() && pts.size() < 64)
        pts.push_back(RPoint{in.Pixel(), in.Pixel()});
    RPoints out = pts;
    reg.Transform(out);
    for (size_t i = 0; i < out.size(); ++i) {
        // A point either moved to a finite image or stayed as it was.
        const bool same = std::memcmp(&out[i], &pts[i], sizeof(RPoint)) == 0;
        Check(same || (std::isfinite(out[i].x) && std::isfinite(out[i].y)));
    }
    return 0;
}
