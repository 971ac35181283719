// Validation of a projection parameter record before a projection is made of it.
//
// The tests run in a fixed order and the first failure decides the answer.
// Several bounds are looser than their message texts say (latitudes are held
// to the longitude range, the Oblique Mercator pole test reads Lat1): hosts
// have records that depend on this, so the bounds are kept as they are.
#include "kvproj/projcheck.h"

#include "frame/Diag.h"
#include "frame/Firewall.h"
#include "frame/StringTable.h"
#include "frame/Util.h"
#include "proj/ProjParams.h"
#include "proj/StatePlane.h"

#include <cmath>
#include <cstdint>
#include <cstdio>

namespace KVProj {

namespace {

constexpr int kNullRecord = 998;
// Half the largest single-precision value: the false origin limit.
constexpr double kOriginLimit = 1.7014117331926443e38;
// Test 22 holds parallels "0.1 apart or less" to the single-precision 0.1, so
// that a typed pair such as 30 and 30.1 counts as 0.1 apart (in doubles their
// difference is a hair above 0.1).
constexpr double kLambertMinSpread = static_cast<double>(0.1f);

bool IsStatePlane(int t) {
    return t == PT_STATE_PLANE_27 || t == PT_STATE_PLANE_83;
}

// Not strictly between -360 and 360, or not a number.
bool OutsideTurn(double v) {
    return !(v > -360.0 && v < 360.0);
}

bool OutsideOriginRange(double v) {
    return v < -kOriginLimit || v >= kOriginLimit;
}

bool UserEllipsoid(const PROJDATA& d) {
    return !IsStatePlane(d.Type) && d.Ellipsoid == ELLIPSOID_USER_DEFINED;
}

struct Check {
    bool (*applies)(const PROJDATA& d);
    bool (*fails)(const PROJDATA& d);
    uint16_t messageId;
    int result;
    int line; // reported to the host; identifies the test
};

bool Any(const PROJDATA&) {
    return true;
}
bool NotUTMOrStatePlane(const PROJDATA& d) {
    return d.Type != PT_UTM && !IsStatePlane(d.Type);
}
bool NotStatePlane(const PROJDATA& d) {
    return !IsStatePlane(d.Type);
}
template <ProjType T> bool Is(const PROJDATA& d) {
    return d.Type == T;
}

bool StateZoneUndefined(const PROJDATA& d) {
    PROJDATA copy = d; // the builder rewrites the record it is given
    return !StatePlaneBuild(copy.Type, &copy);
}

#define KV_CHECK(applies, fails, id, result)                                                       \
    { applies, fails, id, result, __LINE__ }

// clang-format off
const Check kChecks[] = {
    KV_CHECK(Any, [](const PROJDATA& d) { return d.Scale < 0; }, IDS_PROJ_SCALE, PP_SCALE),
    KV_CHECK(Any, [](const PROJDATA& d) { return d.K0 < 0; }, IDS_PROJ_K0, PP_K0),
    KV_CHECK(NotUTMOrStatePlane, [](const PROJDATA& d) { return OutsideOriginRange(d.xOrg); }, IDS_PROJ_FALSE_EASTING, PP_XORG),
    KV_CHECK(NotUTMOrStatePlane, [](const PROJDATA& d) { return OutsideOriginRange(d.yOrg); }, IDS_PROJ_FALSE_NORTHING, PP_YORG),
    KV_CHECK([](const PROJDATA& d) { return IsStatePlane(d.Type); }, StateZoneUndefined, IDS_PROJ_STATE_ZONE, PP_ZONE),
    KV_CHECK(Any, [](const PROJDATA& d) { return OutsideTurn(d.Lon0); }, IDS_PROJ_LON0, PP_LON0),
    KV_CHECK(Any, [](const PROJDATA& d) { return OutsideTurn(d.Lon1); }, IDS_PROJ_LON1, PP_LON1),
    KV_CHECK(Any, [](const PROJDATA& d) { return OutsideTurn(d.Lon2); }, IDS_PROJ_LON2, PP_LON2),
    KV_CHECK(Any, [](const PROJDATA& d) { return OutsideTurn(d.Lon3); }, IDS_PROJ_LON3, PP_LON3),
    KV_CHECK(Any, [](const PROJDATA& d) { return OutsideTurn(d.Lat0); }, IDS_PROJ_LAT0, PP_LAT0),
    KV_CHECK(Any, [](const PROJDATA& d) { return OutsideTurn(d.Lat1); }, IDS_PROJ_LAT1, PP_LAT1),
    KV_CHECK(Any, [](const PROJDATA& d) { return OutsideTurn(d.Lat2); }, IDS_PROJ_LAT2, PP_LAT2),
    KV_CHECK(Any, [](const PROJDATA& d) { return OutsideTurn(d.Lat3); }, IDS_PROJ_LAT3, PP_LAT3),
    KV_CHECK(Is<PT_HOTINE>, [](const PROJDATA& d) { return OutsideTurn(d.Alpha); }, IDS_PROJ_ALPHA, PP_ALPHA),
    KV_CHECK(Is<PT_BONNE>, [](const PROJDATA& d) { return d.Lat1 == 0.0; }, IDS_PROJ_BONNE_LAT1, PP_LAT1),
    KV_CHECK(Is<PT_ALBERS>, [](const PROJDATA& d) { return std::fabs(d.Lat1 + d.Lat2) < 0.001; }, IDS_PROJ_ALBERS_PARALLELS, PP_LAT1),
    KV_CHECK(Is<PT_ALBERS>, [](const PROJDATA& d) { return std::fabs(d.Lat1 - d.Lat2) < 0.001; }, IDS_PROJ_ALBERS_PARALLELS, PP_LAT1),
    KV_CHECK(Is<PT_EQUIDISTANT_CONIC>, [](const PROJDATA& d) { return std::fabs(d.Lat1 + d.Lat2) < 0.001; }, IDS_PROJ_EQDC_PARALLELS, PP_LAT1),
    KV_CHECK(Is<PT_EQUIDISTANT_CONIC>, [](const PROJDATA& d) { return std::fabs(d.Lat1 - d.Lat2) < 0.001; }, IDS_PROJ_EQDC_PARALLELS, PP_LAT1),
    KV_CHECK(Is<PT_HOTINE>, [](const PROJDATA& d) { return d.bUseAlpha && d.Alpha == 0.0; }, IDS_PROJ_HOTINE_ALPHA, PP_ALPHA),
    KV_CHECK(Is<PT_LAMBERT_CONIC>, [](const PROJDATA& d) { return std::fabs(d.Lat1 - d.Lat2) <= kLambertMinSpread; }, IDS_PROJ_LAMBERT_PARALLELS, PP_LAT1),
    KV_CHECK(Is<PT_MERCATOR>, [](const PROJDATA& d) { return std::fabs(std::fabs(d.Lat0) - 90.0) < 0.01; }, IDS_PROJ_MERCATOR_LAT0, PP_LAT0),
    KV_CHECK(Is<PT_OBLIQUE_MERCATOR>, [](const PROJDATA& d) { return std::fabs(d.Lat1 - d.Lat2) < 0.001; }, IDS_PROJ_OMERC_PARALLELS, PP_LAT1),
    KV_CHECK(Is<PT_OBLIQUE_MERCATOR>, [](const PROJDATA& d) { return std::fabs(d.Lat1) < 0.001; }, IDS_PROJ_OMERC_LAT1, PP_LAT1),
    // Reads Lat1 although the message names Lat2, and answers with Lat2's id.
    KV_CHECK(Is<PT_OBLIQUE_MERCATOR>, [](const PROJDATA& d) { return std::fabs(d.Lat1 - 90.0) < 0.001; }, IDS_PROJ_OMERC_LAT2, PP_LAT2),
    KV_CHECK(NotStatePlane, [](const PROJDATA& d) { return d.Ellipsoid < 0 || d.Ellipsoid >= ELLIPSOID_COUNT; }, IDS_PROJ_ELLIPSOID, PP_ELLIPSOID),
    KV_CHECK(UserEllipsoid, [](const PROJDATA& d) { return d.MajorRadius <= 0; }, IDS_ELLIPSOID_RADIUS, PP_MAJOR_RADIUS),
    KV_CHECK(UserEllipsoid, [](const PROJDATA& d) { return d.Flattening < 0; }, IDS_ELLIPSOID_FLATTENING, PP_FLATTENING),
    KV_CHECK(UserEllipsoid, [](const PROJDATA& d) { return d.Flattening >= 1; }, IDS_ELLIPSOID_FLATTENING, PP_FLATTENING),
};
// clang-format on

#undef KV_CHECK

int Fail(uint16_t messageId, int result, int line, char* message, bool report) {
    char text[kProjCheckMessageLen];
    if (LoadMessageString(messageId, text, sizeof(text)) == 0) {
        // Every id used here is in the table; this guards a damaged table.
        if (message)
            std::snprintf(message, kProjCheckMessageLen,
                          "Unable to load error message text for error # %u",
                          static_cast<unsigned>(messageId));
    } else if (message) {
        CopyName(message, text, kProjCheckMessageLen);
    }
    if (report) ReportError(SourceName(__FILE__), line, messageId);
    return result;
}

int RunChecks(const PROJDATA* data, char* message, bool report) {
    LogPrintf("ProjCheckParams called with:\n");
    ProjDumpData(data);
    if (message) message[0] = '\0';
    if (!data) {
        CopyName(message, "NULL pointer to projection parameters", kProjCheckMessageLen);
        return kNullRecord;
    }
    const int type = static_cast<int>(data->Type);
    if ((type < 0 || type >= PT_COUNT) && type != PT_UNDEFINED)
        return Fail(IDS_PROJ_TYPE, PP_TYPE, __LINE__, message, report);
    if (type == PT_UNPROJECTED || type == PT_UNDEFINED) return 0;

    PROJDATA record = *data;
    NormaliseProjFlags(record);
    for (const auto& check : kChecks)
        if (check.applies(record) && check.fails(record))
            return Fail(check.messageId, check.result, check.line, message, report);
    return 0;
}

} // namespace

int ProjCheckParams(const PROJDATA* data, char* message, bool report) {
    return KV_GUARDED(kNullRecord, [&] { return RunChecks(data, message, report); });
}

} // namespace KVProj
