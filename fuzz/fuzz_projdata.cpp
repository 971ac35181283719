// libFuzzer target: a PROJDATA record and points through validation, handle
// creation, forward and inverse conversion and the preclipping calls, with the
// contract of every call checked.
//
// Input: one mode byte, the 396-byte record, then points (two doubles each).
// Mode bit 0 folds the type, ellipsoid and zone into their valid ranges, so
// that most inputs reach a projection module.
#include "FuzzSupport.h"
#include "kvproj/projcheck.h"
#include "kvproj/projection.h"

#include <cmath>
#include <cstring>

using namespace KVProj;
using kvfuzz::Check;

namespace {

constexpr size_t kMaxPoints = 64;

// Whether the contract on values applies. The false origin and the scale are
// applied after the post-scan, as they always have been, so a record whose
// scale, origin or radius is large enough to overflow a finite module result
// can give an unmarked infinity, and an inverse through a scale or radius near
// zero can overflow past the post-scan into the marker without a report;
// non-finite record fields pass validation and give non-finite results. All
// are kept in the library (the tool refuses such records, with the same
// limits); the values of other records are checked.
bool ValuesChecked(const PROJDATA& d) {
    const double fields[] = {d.Scale, d.xOrg, d.yOrg,  d.Lat0,        d.Lon0,
                             d.Lat1,  d.Lat2, d.Lat3,  d.Lon1,        d.Lon2,
                             d.Lon3,  d.K0,   d.Alpha, d.MajorRadius, d.Flattening};
    for (double f : fields)
        if (!std::isfinite(f)) return false;
    const double scale = std::fabs(d.Scale), radius = std::fabs(d.MajorRadius);
    return scale <= 1e10 && (scale == 0.0 || scale >= 1e-9) && std::fabs(d.xOrg) <= 1e20 &&
           std::fabs(d.yOrg) <= 1e20 && radius <= 1e20 && (radius == 0.0 || radius >= 1.0);
}

// Reads every point handed to a callback, so that an out-of-range piece is caught.
double g_sink = 0.0;
bool Piece(void*, int count, const PROJPOINT* points) {
    Check(count >= 0 && (count == 0 || points));
    for (int i = 0; i < count; ++i)
        g_sink += points[i].x + points[i].y;
    return true;
}
bool Polygon(void*, int parts, const int* partCounts, const PROJPOINT* points) {
    Check(parts >= 0 && (parts == 0 || partCounts));
    int total = 0;
    for (int i = 0; i < parts; ++i) {
        Check(partCounts[i] >= 0);
        total += partCounts[i];
    }
    return Piece(nullptr, total, points);
}

// Converts in place and checks each point and the handle's result code.
void Convert(void* h, const std::vector<PROJPOINT>& input, bool forward, bool checkValues) {
    std::vector<PROJPOINT> points = input;
    const int count = static_cast<int>(points.size());
    const bool ok =
        forward ? ProjForward(h, points.data(), count) : ProjInverse(h, points.data(), count);
    if (!ok || count == 0) return;
    bool anyNew = false, anyMarked = false;
    for (int i = 0; i < count; ++i) {
        // Known and kept: an inverse whose module returns a finite angle too
        // large to turn into degrees (a record with a near-zero radius) leaves
        // the marker in that member alone, after the post-scan, unreported.
        if (!forward && kvfuzz::IsMarker(points[i].x) != kvfuzz::IsMarker(points[i].y)) continue;
        if (checkValues) kvfuzz::CheckPoint(input[i], points[i]);
        const bool marked = kvfuzz::IsMarker(points[i].x) || kvfuzz::IsMarker(points[i].y);
        anyMarked |= marked;
        // An inverse call does not count the points its pre-scan marks
        // (non-finite input) nor points that arrive marked.
        const PROJPOINT& p = input[i];
        bool arrivedMarked = kvfuzz::IsMarker(p.x) || kvfuzz::IsMarker(p.y);
        if (!forward) arrivedMarked |= !std::isfinite(p.x) || !std::isfinite(p.y);
        anyNew |= marked && !arrivedMarked;
    }
    const int result = ProjResult(h);
    Check(result == 0 || result == 1);
    if (checkValues) {
        if (anyNew) Check(result == 1); // a point made unplottable is always reported
        if (result == 1) Check(anyMarked);
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    kvfuzz::Bytes in(data, size);
    const uint8_t mode = in.Take<uint8_t>();
    PROJDATA record;
    in.TakeInto(&record, sizeof record);
    if (mode & 1) {
        record.Type = static_cast<ProjType>(static_cast<unsigned>(record.Type) % PT_COUNT);
        record.Ellipsoid =
            static_cast<EllipsoidType>(static_cast<unsigned>(record.Ellipsoid) % ELLIPSOID_COUNT);
        record.Zone =
            static_cast<StateZoneType>(static_cast<unsigned>(record.Zone) % STATEZONE_COUNT);
    }
    // Flag bytes go in as the fuzzer wrote them: any non-zero byte is true.
    const std::vector<PROJPOINT> points = kvfuzz::TakePoints<PROJPOINT>(in, kMaxPoints);

    char message[256];
    std::memset(message, 0x5A, sizeof message);
    const int check = ProjCheckParams(&record, message, false);
    Check(std::memchr(message, '\0', sizeof message) != nullptr);

    PROJDATA caller = record;
    void* h = ProjCreateProjection(&caller);
    if (!h) return 0;
    Check(check == 0); // a record that fails validation never makes a handle
    PROJDATA kept;
    Check(ProjGetHandleInfo(h, &kept));
    const bool checkValues = ValuesChecked(kept);

    Convert(h, points, true, checkValues);
    Convert(h, points, false, checkValues);

    const int count = static_cast<int>(points.size());
    if (count > 0) {
        ProjLLInProjection(h, &points[0]);
        ProjLLInProjection(h, count, points.data());
        double dx = 0.0, dy = 0.0;
        ProjLLOffsetSplitObject(h, points.data(), static_cast<unsigned>(count), &dx, &dy);
        ProjLLPreclipPolyline(h, nullptr, count, points.data(), Piece);
        const int parts[2] = {count / 2, count - count / 2};
        if (mode & 2)
            ProjLLPreclipPolygon(h, nullptr, 2, parts, points.data(), Polygon, Piece);
        else
            ProjLLPreclipPolygon(h, nullptr, 1, &count, points.data(), Polygon,
                                 (mode & 4) ? Piece : nullptr);
    }
    ProjDeleteProjection(h);
    return 0;
}
