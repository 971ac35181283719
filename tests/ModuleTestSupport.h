// Shared scaffolding for the projection module tests: a working record built
// the way the engine hands it to a module (angles in radians, K0 set, the
// ellipsoid resolved), tables of forward/inverse rows and round-trip sweeps.
#ifndef KVPROJ_TESTS_MODULETESTSUPPORT_H
#define KVPROJ_TESTS_MODULETESTSUPPORT_H

#include "projections/ProjModule.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cfloat>
#include <cmath>
#include <cstring>
#include <functional>
#include <vector>

namespace modtest {

using namespace KVProj;

constexpr double kRad = 3.141592653589793 / 180.0;
const double kWgs84F = 1.0 / 298.257223563;
const double kGrs80F = 1.0 / 298.257222101;
const double kClarkeF = 1.0 / 294.9786982;
// Snyder's worked examples give Clarke 1866 and International as e^2.
const double kSnyderClarkeF = 1.0 - std::sqrt(1.0 - 0.00676866);
const double kSnyderIntlF = 1.0 - std::sqrt(1.0 - 0.00672267);
const double kSphereR = 6370997.0;

// A converter called as the engine calls it: the engine, not the module, keeps
// the result flag, and raises it when the call marked a point. The module
// tests read d.iResult after such a call as a host reads ProjResult.
struct Converter {
    ProjConvertFn fn = nullptr;
    Converter(ProjConvertFn f = nullptr) : fn(f) {}
    bool operator()(PROJDATA* d, PROJPOINT* points, int count) const {
        bool marked = false;
        const bool ok = RunConverter(fn, d, points, count, &marked);
        if (marked && d) d->iResult = 1;
        return ok;
    }
    bool operator==(const Converter& other) const { return fn == other.fn; }
};

struct Module {
    const char* name;
    Converter fwd, inv;
};
inline Module ModuleOf(ProjType t) {
    return {ProjModuleTable[t].Name, ProjModuleTable[t].Forward, ProjModuleTable[t].Inverse};
}

// A working record, built in degrees. Fields are assigned, never bound by
// reference: PROJDATA is byte-packed.
struct Rec {
    PROJDATA d{};
    Rec(double a, double f) {
        d.Scale = 1.0;
        d.K0 = 1.0;
        d.MajorRadius = a;
        d.Flattening = f;
    }
    Rec& Type(ProjType t) { return d.Type = t, *this; }
    Rec& Lat0(double v) { return d.Lat0 = v * kRad, *this; }
    Rec& Lon0(double v) { return d.Lon0 = v * kRad, *this; }
    Rec& Lat1(double v) { return d.Lat1 = v * kRad, *this; }
    Rec& Lon1(double v) { return d.Lon1 = v * kRad, *this; }
    Rec& Lat2(double v) { return d.Lat2 = v * kRad, *this; }
    Rec& Lon2(double v) { return d.Lon2 = v * kRad, *this; }
    Rec& Alpha(double v) { return d.bUseAlpha = true, d.Alpha = v * kRad, *this; }
    Rec& K0(double v) { return d.K0 = v, *this; }
    Rec& Rotate() { return d.bRotate = true, *this; }
    Rec& UOffset() { return d.bUOffset = true, *this; }
    Rec& Wrap(bool on = true) { return d.bWrapLon = on, *this; }
    Rec& Origin(double x, double y) { return d.xOrg = x, d.yOrg = y, *this; }
};
// clang-format off
inline Rec Unit() { return Rec(1.0, 0.0); }
inline Rec Sphere() { return Rec(kSphereR, 0.0); }
inline Rec Clarke() { return Rec(6378206.4, kClarkeF); }
inline Rec SnyderClarke() { return Rec(6378206.4, kSnyderClarkeF); }
inline Rec Grs80() { return Rec(6378137.0, kGrs80F); }
inline Rec Wgs84() { return Rec(6378137.0, kWgs84F); }
// clang-format on

// Forward from degrees; the result in units of MajorRadius, no false origin.
inline PROJPOINT Fwd(Converter fn, PROJDATA d, double lon, double lat) {
    PROJPOINT p{lon * kRad, lat * kRad};
    EXPECT_TRUE(fn(&d, &p, 1));
    return p;
}
// Inverse to degrees; a failed point keeps the marker.
inline PROJPOINT InvDeg(Converter fn, PROJDATA d, double x, double y) {
    PROJPOINT p{x, y};
    EXPECT_TRUE(fn(&d, &p, 1));
    return IsUnplottable(p) ? p : PROJPOINT{p.x / kRad, p.y / kRad};
}

// One expected point: forward to (x, y) with the record's false origin added,
// then (x, y) back. inv: degrees; 0 derives three times tol as an angle, a
// negative value skips the inverse.
struct Row {
    const char* source;
    Module m;
    Rec rec;
    double lon, lat, x, y, tol;
    double inv = 0.0;
};

inline void CheckRow(const Row& r) {
    SCOPED_TRACE(testing::Message()
                 << r.m.name << ", " << r.source << ": " << r.lon << ", " << r.lat);
    PROJDATA d = r.rec.d;
    PROJPOINT p{r.lon * kRad, r.lat * kRad};
    ASSERT_TRUE(r.m.fwd(&d, &p, 1));
    EXPECT_EQ(d.iResult, 0);
    EXPECT_NEAR(p.x + d.xOrg, r.x, r.tol);
    EXPECT_NEAR(p.y + d.yOrg, r.y, r.tol);
    if (r.inv < 0) return;
    PROJPOINT q{r.x - d.xOrg, r.y - d.yOrg};
    ASSERT_TRUE(r.m.inv(&d, &q, 1));
    EXPECT_EQ(d.iResult, 0);
    const double ang = r.inv > 0 ? r.inv : std::max(1e-10, 3.0 * r.tol / d.MajorRadius / kRad);
    EXPECT_NEAR(q.y / kRad, r.lat, ang);
    const double cosLat = std::cos(r.lat * kRad);
    if (cosLat > 1e-3) {
        EXPECT_NEAR(std::remainder(q.x / kRad - r.lon, 360.0), 0.0, ang / cosLat);
    }
}

inline void CheckRows(const std::vector<Row>& rows) {
    for (const Row& r : rows)
        CheckRow(r);
}

// Great-circle distance in degrees (haversine: accurate for tiny distances).
inline double ArcDeg(double lon1, double lat1, double lon2, double lat2) {
    const double sLat = std::sin((lat2 - lat1) * kRad / 2),
                 sLon = std::sin((lon2 - lon1) * kRad / 2);
    const double h = sLat * sLat + std::cos(lat1 * kRad) * std::cos(lat2 * kRad) * sLon * sLon;
    return 2.0 * std::asin(std::sqrt(std::min(1.0, h))) / kRad;
}

// Forward then inverse at every grid point (degrees) accepted by `inside`;
// returns the worst distance in metres on the sphere of MajorRadius. Fails
// the test for a point that does not come back or sets iResult.
inline double WorstRoundTrip(const Module& m, const PROJDATA& rec, double lat0, double lat1,
                             double lon0, double lon1, double step,
                             const std::function<bool(double, double)>& inside = nullptr,
                             int* count = nullptr) {
    double worst = 0.0;
    int n = 0;
    for (double lat = lat0; lat <= lat1; lat += step)
        for (double lon = lon0; lon <= lon1; lon += step) {
            if (inside && !inside(lon, lat)) continue;
            PROJDATA d = rec;
            PROJPOINT p{lon * kRad, lat * kRad};
            if (!m.fwd(&d, &p, 1) || !m.inv(&d, &p, 1) || d.iResult != 0 || IsUnplottable(p)) {
                ADD_FAILURE() << m.name << " lost " << lon << ", " << lat;
                return HUGE_VAL;
            }
            worst =
                std::max(worst, ArcDeg(p.x / kRad, p.y / kRad, lon, lat) * kRad * d.MajorRadius);
            ++n;
        }
    if (count) *count = n;
    return worst;
}

} // namespace modtest

#endif
