// libFuzzer target for georeferencing: random GEOREF records and control arrays
// through creation, forward transformation, residuals, the handle's record and
// fit, and the coefficient conversions and resizing.
#include "kvproj/georef.h"

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <vector>

using namespace KVProj;

namespace {

void Check(bool condition) {
    if (!condition) __builtin_trap();
}

// Reads values from the input in turn; zeros once it runs out.
class Reader {
public:
    Reader(const uint8_t* data, size_t size) : m_data(data), m_size(size) {}
    template <typename T> T Take() {
        T value{};
        const size_t n = m_pos + sizeof(T) <= m_size ? sizeof(T) : 0;
        if (n) std::memcpy(&value, m_data + m_pos, n);
        m_pos += n;
        return value;
    }
    // Small integers most of the time, so that fits and warps get set up;
    // a raw double now and then for NaN, infinity and huge values.
    double Coordinate() {
        const uint8_t kind = Take<uint8_t>();
        if (kind < 32) return Take<double>();
        return static_cast<double>(Take<int16_t>()) / (kind & 7 ? 8.0 : 1.0);
    }

private:
    const uint8_t* m_data;
    size_t m_size;
    size_t m_pos = 0;
};

bool UsesControls(int method) {
    return method >= 0 && method < TM_NONE && method != TM_PRECALCULATED;
}

void Exercise(void* h, const GEOREF& record, Reader& in) {
    GEOREF info{};
    Check(RefGetHandleInfo(h, &info));
    Check(info.Method == record.Method && info.nControls == record.nControls);
    Check(std::memcmp(info.Reserved, record.Reserved, sizeof info.Reserved) == 0);

    std::vector<GEOREFPOINT> pts(1 + in.Take<uint8_t>() % 8);
    for (GEOREFPOINT& p : pts)
        p = {in.Coordinate(), in.Coordinate()};
    Check(RefForward(h, pts.data(), static_cast<int>(pts.size())));

    std::vector<double> each(static_cast<size_t>(record.nControls));
    double total = 0.0;
    const bool measured = RefComputeError(h, &total, each.data());
    Check(measured == UsesControls(record.Method));
    if (measured)
        for (double e : each)
            Check(!(e < 0.0));

    GEOREFFIT fit{};
    if (RefGetFit(h, &fit)) Check(fit.nTerms >= 3 && fit.nTerms <= 10);
}

void Conversions(const GEOREF& record, Reader& in) {
    GEOREF copy = record;
    if (RefControlsToCoeff(&copy)) {
        Check(copy.Method == TM_PRECALCULATED && copy.pSrc == record.pSrc);
        if (RefCoeffToControls(&copy, in.Take<int16_t>(), in.Take<int16_t>())) {
            Check(copy.nControls == 4 && copy.Method == TM_AFFINE);
            RefFreeControls(&copy);
        }
    }
    // Resizing scales the source controls in place: work on copies of them.
    std::vector<GEOREFPOINT> src(record.pSrc, record.pSrc + record.nControls);
    copy = record;
    copy.pSrc = src.data();
    const int sizes[4] = {in.Take<int16_t>(), in.Take<int16_t>(), in.Take<int16_t>(),
                          in.Take<int16_t>()};
    const bool coefficients = copy.Method == TM_PRECALCULATED;
    const bool resized = RefResize(&copy, sizes[0], sizes[1], sizes[2], sizes[3]);
    if (resized && coefficients) Check(copy.nControls == 0 && copy.pSrc == nullptr);
    // A failed refit leaves the corner controls of the conversion in the record.
    if (copy.pSrc && copy.pSrc != src.data()) RefFreeControls(&copy);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    Reader in(data, size);
    GEOREF record{};
    record.Method = static_cast<TransformMethod>(in.Take<int8_t>() % 16);
    const int count = in.Take<uint8_t>() % 24;
    // Exactly sized arrays, so that any read past the count is caught.
    std::vector<GEOREFPOINT> src(static_cast<size_t>(count)), dst(static_cast<size_t>(count));
    for (int i = 0; i < count; ++i) {
        src[i] = {in.Coordinate(), in.Coordinate()};
        dst[i] = {in.Coordinate(), in.Coordinate()};
    }
    record.pSrc = count ? src.data() : nullptr;
    record.pDest = count ? dst.data() : nullptr;
    record.nControls = count;
    record.A = in.Coordinate(), record.B = in.Coordinate(), record.C = in.Coordinate();
    record.D = in.Coordinate(), record.E = in.Coordinate(), record.F = in.Coordinate();
    for (unsigned char& b : record.Reserved)
        b = in.Take<uint8_t>();

    void* h = RefCreateSystem(&record);
    if (h) {
        Check(record.Method >= 0 && record.Method < TM_NONE);
        Exercise(h, record, in);
        RefDeleteSystem(h);
    }
    Conversions(record, in);
    return 0;
}
