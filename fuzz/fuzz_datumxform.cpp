// libFuzzer target: a DATUMXFORM request and points through validation, handle
// creation and conversion, with the contract of every call checked.
//
// Input: one mode byte, the 288-byte request, then points (two doubles each).
// Mode bit 0 folds the datums and the steps' methods and ellipsoids into
// their valid ranges, so that most inputs reach a conversion step.
#include "FuzzSupport.h"
#include "kvproj/datum.h"

#include <cmath>
#include <cstring>

using namespace KVProj;
using kvfuzz::Check;

namespace {

constexpr size_t kMaxPoints = 64;

void FoldStep(DATUM2WGS84& s) {
    s.Method = static_cast<DatumMethod>(static_cast<unsigned>(s.Method) % (DM_NTV2 + 1));
    s.Ellipsoid = static_cast<EllipsoidType>(static_cast<unsigned>(s.Ellipsoid) % ELLIPSOID_COUNT);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    kvfuzz::Bytes in(data, size);
    const uint8_t mode = in.Take<uint8_t>();
    DATUMXFORM x;
    in.TakeInto(&x, sizeof x);
    if (mode & 1) {
        x.SrcDatum = static_cast<DatumType>(static_cast<unsigned>(x.SrcDatum) % DATUM_COUNT);
        x.DestDatum = static_cast<DatumType>(static_cast<unsigned>(x.DestDatum) % DATUM_COUNT);
        FoldStep(x.Step1);
        FoldStep(x.Step2);
    }
    const std::vector<DATUMPOINT> input = kvfuzz::TakePoints<DATUMPOINT>(in, kMaxPoints);

    char message[256];
    std::memset(message, 0x5A, sizeof message);
    const int check = DatCheckParams(&x, message, false);
    Check(std::memchr(message, '\0', sizeof message) != nullptr);

    void* h = DatCreateDatum(&x);
    Check((h != nullptr) == (check == 0));
    if (!h) return 0;
    DATUMXFORM kept;
    Check(DatGetHandleInfo(h, &kept) && std::memcmp(&kept, &x, sizeof x) == 0);

    std::vector<DATUMPOINT> points = input;
    const int count = static_cast<int>(points.size());
    const bool ok = DatConvertDatum(h, points.data(), count);
    if (count == 0) Check(!ok); // an empty array is refused
    // Equal built-in datums hand the points back untouched, NaN included.
    const bool passThrough = x.SrcDatum == x.DestDatum && x.SrcDatum != DATUM_USER_DEFINED;
    if (ok && !passThrough) {
        bool anyMarked = false;
        for (int i = 0; i < count; ++i) {
            kvfuzz::CheckPoint(input[i], points[i]);
            anyMarked |= kvfuzz::IsMarker(points[i].x) || kvfuzz::IsMarker(points[i].y);
        }
        Check(DatHadUnplottables(h) == anyMarked);
    }
    DatDeleteDatum(h);
    return 0;
}
