// "kvproj info" and "kvproj export" run as a user runs them: side files written
// from the command line, shown again, and converted from one kind to another.
// Expected values: the UTM 33N definition (15E, k0 0.9996, 500000 m false
// easting); WGS 84 (6378137, 1/298.257223563); GDAL 3.6.2's geotransform for the
// same image (origin 500000 4650000, 10 m pixels) moved half a pixel to the centre.
#include "SideFileTest.h"

#include <gtest/gtest.h>

namespace {

struct Step {
    std::string args;
    int status;
    std::vector<std::string> expected; // parts of standard output and error together
};

void RunSteps(const std::vector<Step>& steps) {
    for (const Step& s : steps) {
        const kvtest::ToolRun r = kvtest::RunTool(s.args);
        const std::string all = r.out + r.err;
        EXPECT_EQ(r.status, s.status) << s.args << "\n" << all;
        for (const std::string& part : s.expected)
            EXPECT_TRUE(kvtest::Contains(all, part)) << s.args << " lacks '" << part << "'\n"
                                                     << all;
    }
}

} // namespace

TEST(ToolSideFiles, ExportAndInfoRoundTrip) {
    kvtest::TempDir dir("toolside");
    const std::string map = kvtest::Quote(dir / "map.tif");
    const std::string other = kvtest::Quote(dir / "other.tif");
    RunSteps({
        {"export --format kvr --utm 33N --datum WGS84 --coeff 10,0,500005,0,-10,4649995 " + map, 0,
         {"wrote " + (dir / "map.tif.kvr")}},
        {"info " + kvtest::Quote(dir / "map.tif.kvr"), 0,
         {"(reference file):", "projection: Universal Transverse Mercator (UTM)",
          "Central Scale Factor (K0): 0.9996", "Central Longitude: 15",
          "datum: World Geodetic System 1984", "georeference: Precalculated Affine Coefficients",
          "A: 10", "C: 0", "keeps only the first coefficient"}},
        {"export --format world --coeff 10,0,500005,0,-10,4649995 " + map, 0,
         {"wrote " + (dir / "map.tfW")}},
        {"export --format rsf --from " + map + " " + map, 0, {"wrote " + (dir / "map.RSF")}},
        {"info " + map, 0,
         {"map.tif.kvr (reference file):", "map.tfW (world file):", "C: 500005",
          "F: 4649995", "map.RSF (RSF file):", "control points: 4",
          "0 0 -> 500005 4649995", "100 100 -> 501005 4648995"}},
        // The RSF file's controls into a reference file of their own, method changed.
        {"export --format kvr --from " + map + " --method 'affine polynomial' " + other, 0,
         {"wrote " + (dir / "other.tif.kvr")}},
        {"info " + kvtest::Quote(dir / "other.tif.kvr"), 0,
         {"georeference: Affine Polynomial", "control points: 4", "Universal Transverse Mercator"}},
        // Method 5 from the controls: the affine fitted to the four corners.
        {"export --format world --from " + other + " --method 5 " + other, 0,
         {"wrote " + (dir / "other.tfW")}},
    });
    EXPECT_EQ(dir.Read("map.tfW"), "10\n0\n0\n-10\n500005\n4649995\n");
    EXPECT_EQ(dir.Read("other.tfW"), dir.Read("map.tfW"));
}

TEST(ToolSideFiles, RefusesWhatCannotBeWritten) {
    kvtest::TempDir dir("toolsidebad");
    const std::string map = kvtest::Quote(dir / "map.tif");
    RunSteps({
        {"export --format world --utm 33N " + map, 1, {"a world file needs coefficients"}},
        {"export --format rsf --datum WGS84 " + map, 1, {"an RSF file needs control points"}},
        {"export --format prj2 --utm 33N " + map, 2, {"--format takes one of kvr, world, rsf"}},
        {"export --format world --coeff 1,2,3 " + map, 2, {"--coeff takes six numbers"}},
        {"export --format kvr --method Kriging " + map, 2, {"unknown georeference method"}},
        {"export --format kvr --from " + kvtest::Quote(dir / "none") + " " + map, 1,
         {"no side file found for"}},
        {"info " + kvtest::Quote(dir / "nothing.tif"), 1, {"no side file found for"}},
        {"export --format kvr --coeff 1,0,5,0,-1,9 " + map, 0, {"wrote"}},
        {"export --format world --from " + map + " " + map, 1,
         {"keeps only the first coefficient"}},
        {"export --format kvr --utm 33S --datum NAD27 " + kvtest::Quote(dir / "south"), 0,
         {"wrote"}}, // the projection takes the datum's Clarke 1866 figure
        {"info " + kvtest::Quote(dir / "south"), 0,
         {"Ellipsoid: Clarke 1866", "Projection in Southern Hemisphere: true",
          "datum: North American Datum 1927 (Molodensky)", "shift (m): -8 160 176"}},
        {"export --format world --control 0,0,1,1 --control 1,0,2,1 " + map, 1,
         {"at least three control points"}},
    });
    EXPECT_EQ(dir.List(), (std::vector<std::string>{"map.tif.kvr", "south.kvr"}));
}
