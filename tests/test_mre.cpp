// Multiple regression equations against DMA's published test points.
#include "datum/dMRE.h"
#include "kvproj/datum.h"

#include <gtest/gtest.h>

#include <cstring>

using namespace KVProj;

namespace {

struct MrePoint {
    int datum;
    double lat, lon;   // degrees on the local datum, longitude in -180..180
    double dLat, dLon; // expected shifts, arcseconds
    double tolerance;  // arcseconds
    const char* source;
};

// DMA: the test points printed with each set of equations in DMA TR 8350.2
// (1987, amended 1989), to 0.001"; for 224 the printed 5.480" and a later
// copy's 5.481" straddle the polynomial's 5.4806". origin: at (phi_m, lambda_m)
// only the constant terms remain. extra: the published terms evaluated inside
// the area (Madrid: the sign of V west of Greenwich; California: the U V^9
// longitude term of NAD 27 CONUS).
const MrePoint kPoints[] = {
    {224, -17.009104444, 144.193679167, 5.481, 3.922, 0.0008, "DMA"},
    {225, -20.633520278, 144.408135556, 5.505, 4.109, 0.0006, "DMA"},
    {226, -29.796022778, -58.127276944, 1.953, -1.963, 0.0006, "DMA"},
    {227, -20.483616389, -54.786991944, -1.030, -2.101, 0.0006, "DMA"},
    {228, 46.695248056, 13.915024444, -3.081, -3.486, 0.0006, "DMA"},
    {229, 34.785786944, -86.581159722, 0.356, 0.080, 0.0006, "DMA"},
    {230, 54.435740833, -110.284002778, 0.289, -3.156, 0.0006, "DMA"},
    {231, -31.942765000, -65.105182778, -1.356, -2.158, 0.0006, "DMA"},
    {226, -35, -64, 1.67470, -2.93117, 1e-9, "origin"},
    {230, 60, -100, 0.79395, -1.36099, 1e-9, "origin"},
    {228, 40.4168, -3.7038, -4.295404, -4.680582, 2e-6, "extra"},
    {229, 33.609217989, -116.457928850, 0.062111, -3.041225, 2e-6, "extra"},
};

} // namespace

TEST(Mre, PublishedTestPointsAndOrigins) {
    for (const MrePoint& p : kPoints) {
        double dLat = 0, dLon = 0;
        ASSERT_TRUE(MreDeltas(p.datum, p.lat, p.lon, &dLat, &dLon));
        EXPECT_NEAR(dLat, p.dLat, p.tolerance) << p.datum << " " << p.source;
        EXPECT_NEAR(dLon, p.dLon, p.tolerance) << p.datum << " " << p.source;
    }
}

TEST(Mre, ThroughTheConversionEngine) {
    // NAD 27 CONUS test point given as 273°25′07.825″ east: the wrap brings it to
    // -86.58° before the equations, and the result goes back past 180.
    const double lon360 = 273.0 + 25.0 / 60 + 7.825 / 3600;
    DATUMPOINT p[3] = {{-86.581159722, 34.785786944},
                       {lon360, 34.785786944},
                       {KVPROJ_UNPLOTTABLE, KVPROJ_UNPLOTTABLE}};
    DATUMXFORM x;
    std::memset(&x, 0, sizeof x);
    x.SrcDatum = static_cast<DatumType>(229);
    x.DestDatum = DATUM_WGS84;
    void* h = DatCreateDatum(&x);
    ASSERT_NE(h, nullptr);
    ASSERT_TRUE(DatConvertDatum(h, p, 3));
    EXPECT_NEAR(p[0].x, -86.581159722 + 0.080 / 3600, 0.0006 / 3600);
    EXPECT_NEAR(p[0].y, 34.785786944 + 0.356 / 3600, 0.0006 / 3600);
    EXPECT_NEAR(p[1].x, lon360 + 0.080 / 3600, 0.0006 / 3600);
    EXPECT_DOUBLE_EQ(p[1].y, p[0].y);
    EXPECT_EQ(p[2].x, KVPROJ_UNPLOTTABLE);
    DatDeleteDatum(h);
}

TEST(Mre, OnlyTheEightRegressionDatums) {
    double a, b;
    for (int id : {0, 3, 223, 232, 253, -1})
        EXPECT_FALSE(MreDeltas(id, 0, 0, &a, &b)) << id;
    EXPECT_FALSE(MreDeltas(229, 0, 0, nullptr, &b));
    DATUMPOINT p{0, 0};
    EXPECT_FALSE(MreShift(5, &p, 1));
    EXPECT_TRUE(MreHasDatum(224) && MreHasDatum(231));
}
