// libFuzzer target: the NTv2 loader on arbitrary bytes, then shifts through
// whatever tree it accepted (corners, centres and points just outside), one
// at a time and a vector at a time, which must agree to the bit (a NaN that
// node shifts of NaN or infinity make may differ in its sign).
#include "datum/Ntv2.h"

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <vector>

using namespace KVProj;

namespace {

bool Same(double a, double b) {
    return std::memcmp(&a, &b, sizeof a) == 0 || (std::isnan(a) && std::isnan(b));
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    std::vector<uint8_t> bytes(data, data + size);
    bytes.push_back(0); // fmemopen wants a non-empty buffer
    std::FILE* f = fmemopen(bytes.data(), size ? size : 1, "rb");
    if (!f) return 0;
    Ntv2Tree tree;
    const int status = LoadShiftStream(f, &tree);
    std::fclose(f);
    if (status != NTV2_OK) {
        if (!tree.Empty()) __builtin_trap(); // a failed load keeps nothing
        return 0;
    }
    tree.Visit([&](const Ntv2SubGrid& g, int) {
        if (g.nodes.size() != size_t(g.columns) * size_t(g.rows)) __builtin_trap();
        const double xs[] = {g.x0, g.x1, 0.5 * (g.x0 + g.x1), g.x1 + 1e-12, g.x0 - 1e-12};
        const double ys[] = {g.y0, g.y1, 0.5 * (g.y0 + g.y1), g.y1 + 1e-12};
        for (bool inverse : {false, true}) {
            std::vector<DATUMPOINT> one, lanes;
            for (double x : xs)
                for (double y : ys) {
                    double lon = x, lat = y;
                    const int s = Ntv2TransformPoint(tree, &lon, &lat, inverse);
                    if (s != NTV2_OK && s != NTV2_OUTSIDE) __builtin_trap();
                    one.push_back({lon, lat});
                    lanes.push_back({x, y});
                }
            Ntv2TransformLanes(tree, lanes.data(), static_cast<int>(lanes.size()), inverse);
            for (size_t k = 0; k < one.size(); ++k)
                if (!Same(one[k].x, lanes[k].x) || !Same(one[k].y, lanes[k].y)) __builtin_trap();
        }
        return true;
    });
    return 0;
}
