// The tool's own limits on projection records: values the library accepts as
// written but whose conversions overflow without a mark (found by fuzzing) are
// refused by name, and at the limits every conversion stays finite or marked.
#include "ProjArgs.h"
#include "TestSupport.h"

#include "kvproj/kvproj.h"

#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <vector>

namespace {

using namespace KVProj;

PROJDATA Mercator() {
    PROJDATA d = kvtool::EmptyProjRecord();
    d.Type = PT_MERCATOR;
    return d;
}

bool Marked(const PROJPOINT& p) {
    return p.x == KVPROJ_UNPLOTTABLE && p.y == KVPROJ_UNPLOTTABLE;
}

// The library keeps its behaviour: the fuzzing findings, reproduced.
TEST(ToolRecords, LibraryLetsTheOverflowsThrough) {
    PROJDATA huge = Mercator();
    huge.Scale = 1e305;
    void* h = ProjCreateProjection(&huge);
    ASSERT_NE(h, nullptr);
    PROJPOINT p{15.0, 45.0};
    EXPECT_TRUE(ProjForward(h, &p, 1));
    EXPECT_FALSE(std::isfinite(p.x) && std::isfinite(p.y)) << "unmarked overflow";
    EXPECT_FALSE(Marked(p));
    ProjDeleteProjection(h);

    PROJDATA tiny = Mercator();
    tiny.Type = PT_MOLLWEIDE;
    tiny.Ellipsoid = ELLIPSOID_USER_DEFINED;
    tiny.MajorRadius = 1e-300; // the inverse divides by it
    tiny.Flattening = 0.0;
    h = ProjCreateProjection(&tiny);
    ASSERT_NE(h, nullptr);
    PROJPOINT q{1e-10, 1e-10};
    ProjInverse(h, &q, 1);
    EXPECT_NE(q.x == KVPROJ_UNPLOTTABLE, q.y == KVPROJ_UNPLOTTABLE) << "one member marked";
    ProjDeleteProjection(h);
}

TEST(ToolRecords, MagnitudeLimits) {
    struct Case {
        const char* name;
        std::function<void(PROJDATA&)> set;
        int parameter; // 0: accepted
    } const cases[] = {
        {"plain Mercator", [](PROJDATA&) {}, 0},
        {"Scale 0 reads as 1", [](PROJDATA& d) { d.Scale = 0.0; }, 0},
        {"Scale 1e-9", [](PROJDATA& d) { d.Scale = 1e-9; }, 0},
        {"Scale 1e9", [](PROJDATA& d) { d.Scale = 1e9; }, 0},
        {"Scale below 1e-9", [](PROJDATA& d) { d.Scale = 0.99e-9; }, PP_SCALE},
        {"Scale subnormal", [](PROJDATA& d) { d.Scale = 1e-310; }, PP_SCALE},
        {"Scale above 1e9", [](PROJDATA& d) { d.Scale = 1.000001e9; }, PP_SCALE},
        {"Scale 1e300 (fuzzing)", [](PROJDATA& d) { d.Scale = 1e300; }, PP_SCALE},
        {"false easting -1e20", [](PROJDATA& d) { d.xOrg = -1e20; }, 0},
        {"false easting beyond", [](PROJDATA& d) { d.xOrg = 1.0001e20; }, PP_XORG},
        {"false northing beyond", [](PROJDATA& d) { d.yOrg = -2e20; }, PP_YORG},
        {"radius 1 m",
         [](PROJDATA& d) { d.Ellipsoid = ELLIPSOID_USER_DEFINED, d.MajorRadius = 1.0; }, 0},
        {"radius 1e9 m",
         [](PROJDATA& d) { d.Ellipsoid = ELLIPSOID_USER_DEFINED, d.MajorRadius = 1e9; }, 0},
        {"radius subnormal (fuzzing)",
         [](PROJDATA& d) { d.Ellipsoid = ELLIPSOID_USER_DEFINED, d.MajorRadius = 1e-310; },
         PP_MAJOR_RADIUS},
        {"radius 1e-300 m",
         [](PROJDATA& d) { d.Ellipsoid = ELLIPSOID_USER_DEFINED, d.MajorRadius = 1e-300; },
         PP_MAJOR_RADIUS},
        {"radius below 1 m",
         [](PROJDATA& d) { d.Ellipsoid = ELLIPSOID_USER_DEFINED, d.MajorRadius = 0.5; },
         PP_MAJOR_RADIUS},
        {"radius above 1e9 m",
         [](PROJDATA& d) { d.Ellipsoid = ELLIPSOID_USER_DEFINED, d.MajorRadius = 2e9; },
         PP_MAJOR_RADIUS},
        // UTM sets its own false origin; an unknown type converts nothing.
        {"UTM false easting unread", [](PROJDATA& d) { d.Type = PT_UTM, d.xOrg = 1e39; }, 0},
        {"unknown type",
         [](PROJDATA& d) {
             d.Type = PT_UNDEFINED, d.Ellipsoid = ELLIPSOID_USER_DEFINED, d.MajorRadius = 0;
         },
         0},
        // A table ellipsoid's radius field is not read: whatever it holds passes.
        {"radius ignored", [](PROJDATA& d) { d.MajorRadius = 1e-310; }, 0},
    };
    for (const Case& c : cases) {
        PROJDATA d = Mercator();
        c.set(d);
        const kvtool::RecordVerdict v = kvtool::CheckRecord(d);
        EXPECT_EQ(v.parameter, c.parameter) << c.name << ": " << v.message;
        if (c.parameter != 0) {
            EXPECT_EQ(v.message.rfind(kvtool::ParamLabel(c.parameter), 0), 0u)
                << c.name << ": the message names the parameter: " << v.message;
        }
    }
}

// At the limits (radius 1e9 m, Scale 1e9, false origin 1e20) every module's
// forward result is finite or marked in both members, up to the poles and the
// edges of the valid areas.
TEST(ToolRecords, LimitsKeepEveryProjectionFinite) {
    std::vector<PROJPOINT> net;
    for (double lat : {-90.0, -89.9999999, -60.0, -1e-12, 0.0, 30.0, 89.9999999, 90.0})
        for (double lon : {-180.0, -179.9999999, -90.0, 0.0, 1e-12, 90.0, 179.9999999, 180.0})
            net.push_back({lon, lat});
    for (int type = PT_MERCATOR; type < PT_COUNT; ++type) {
        if (type == PT_STATE_PLANE_27 || type == PT_STATE_PLANE_83) continue;
        PROJDATA d = kvtool::EmptyProjRecord();
        d.Type = static_cast<ProjType>(type);
        d.Ellipsoid = ELLIPSOID_USER_DEFINED;
        d.MajorRadius = 1e9;
        d.Flattening = 1.0 / 298.257223563;
        d.Scale = 1e9;
        d.xOrg = 1e20;
        d.yOrg = -1e20;
        d.Lat1 = 30.0, d.Lat2 = 60.0, d.Lon1 = -10.0, d.Lon2 = 10.0, d.K0 = 1.0;
        void* h = ProjCreateProjection(&d);
        if (!h) continue; // refused by the library's own checks
        std::vector<PROJPOINT> pts = net;
        ProjForward(h, pts.data(), static_cast<int>(pts.size()));
        for (const PROJPOINT& p : pts)
            EXPECT_TRUE(Marked(p) || (std::isfinite(p.x) && std::isfinite(p.y)))
                << "type " << type << ": " << p.x << " " << p.y;
        ProjDeleteProjection(h);
    }
}

// The command that checks records says the same.
TEST(ToolRecords, CheckCommandNamesTheParameter) {
    const kvtest::ToolRun r = kvtest::RunTool("check type=1 ellipsoid=0 MajorRadius=1e-310");
    EXPECT_EQ(r.status, 1);
    EXPECT_TRUE(kvtest::Contains(r.out + r.err, "parameter: 21 (Ellipsoid Radius (meters))"))
        << r.out << r.err;
}

} // namespace
