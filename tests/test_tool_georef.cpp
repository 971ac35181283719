// "kvproj georef": control pairs in, coefficients, residuals and the mean error
// out, or converted points with --apply; refusals as one-line usage errors.
#include "TestSupport.h"

#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <regex>
#include <string>

namespace {

using kvtest::Contains;
using kvtest::RunTool;

// The sixteen noisy controls of the library's GDAL comparison, comma and blank
// separated, with comments.
const char kControls[] = "# pixel_x pixel_y map_x map_y\n"
                         "1068.285, 7025.855, 504780.036, 3982219.271\n"
                         "2711.152 2557.755 507545.911 3993063.553  # blank separated\n"
                         "3029.880,6842.331,509628.776,3982288.092\n"
                         "1183.996\t2232.661\t503630.244\t3994181.344\r\n"
                         "2604.023, 8042.813, 508925.084, 3979370.726\n"
                         "\n"
                         "5513.327, 6639.991, 515778.843, 3982300.175\n"
                         "1230.263, 3370.662, 504087.469, 3991327.098\n"
                         "9779.995, 4036.758, 525673.353, 3987962.007\n"
                         "6075.312, 8725.954, 517810.283, 3976972.604\n"
                         "5890.842, 6337.294, 516632.048, 3982981.764\n"
                         "8747.939, 5137.815, 523420.209, 3985414.146\n"
                         "2181.879, 7982.419, 507851.575, 3979605.953\n"
                         "8181.280, 895.352, 520730.981, 3996131.794\n"
                         "7403.412, 1138.746, 518857.273, 3995677.720\n"
                         "4804.374, 6853.721, 514069.423, 3981906.208\n"
                         "4848.709, 4370.426, 513435.239, 3988106.256\n";

std::string WriteTemp(const std::string& name, const std::string& text) {
    const std::string path = kvtest::TempPath(name);
    std::ofstream(path, std::ios::binary) << text;
    return path;
}

// The first lines of kControls: `n` control pairs.
std::string FirstControls(int n) {
    std::string out, all = kControls;
    size_t at = all.find('\n') + 1; // the header comment
    for (int i = 0; i < n; ++i) {
        const size_t end = all.find('\n', at);
        if (all.compare(at, end - at, "") == 0) --i; // the blank line
        out += all.substr(at, end + 1 - at);
        at = end + 1;
    }
    return out;
}

struct ApplyRow {
    const char* method;
    const char* want; // converted (5000, 5000) and (1234.5, 8765.25)
};
// GDAL 3.6 python3-gdal gdal.Transformer with METHOD=GCP_POLYNOMIAL and
// MAX_GCP_ORDER 1, 2, 3 on the same controls, rounded to millimetres.
const ApplyRow kApply[] = {
    {"affine", "514004.287 3986502.634\n505715.360 3977837.231\n"},
    {"poly2", "514002.524 3986502.299\n505718.510 3977836.897\n"},
    {"4", "514002.609 3986502.293\n505718.972 3977836.699\n"},
};

TEST(ToolGeoref, ApplyAgreesWithGdal) {
    const std::string controls = WriteTemp("georef_controls.txt", kControls);
    for (const ApplyRow& row : kApply) {
        SCOPED_TRACE(row.method);
        const auto run = RunTool("georef " + kvtest::Quote(controls) + " --method " + row.method +
                                     " --apply - --precision 3",
                                 "5000 5000\n1234.5,8765.25  # second\n");
        EXPECT_EQ(run.status, 0) << run.err;
        EXPECT_EQ(run.out, row.want);
    }
    std::remove(controls.c_str());
}

struct MethodRow {
    const char* word;
    int method;
};
const MethodRow kMethods[] = {{"helmert", 0}, {"affine", 1},    {"bilinear", 2}, {"poly1", 2},
                              {"poly3", 4},   {"TPS", 6},       {"cubic", 7},    {"marcov", 8},
                              {"markov", 8},  {"rational", 10}, {"idw", 11},     {"9", 9}};

TEST(ToolGeoref, MethodsByNameAndNumber) {
    for (const MethodRow& row : kMethods) {
        SCOPED_TRACE(row.word);
        const auto run = RunTool(std::string("georef --json --method ") + row.word, kControls);
        ASSERT_EQ(run.status, 0) << run.err;
        EXPECT_TRUE(Contains(run.out, "\"method\": " + std::to_string(row.method) + ","))
            << run.out;
        // Every control is listed; the warps also with their leave-one-out residual.
        const std::regex pixel("\"pixel\": ");
        EXPECT_EQ(std::distance(std::sregex_iterator(run.out.begin(), run.out.end(), pixel),
                                std::sregex_iterator()),
                  16);
        EXPECT_EQ(Contains(run.out, "\"leave_one_out\": ["), row.method >= 6);
        EXPECT_EQ(Contains(run.out, "\"coefficients\": null"), row.method >= 6);
    }
}

// A square stretched by 1 % along x and squeezed along y: the Helmert fit is
// the identity and every control is off by 0.01 * sqrt(2).
TEST(ToolGeoref, ResidualTable) {
    const auto run = RunTool("georef --method helmert --precision 6",
                             "99 199 98.99 199.01\n101 199 101.01 199.01\n"
                             "101 201 101.01 200.99\n99 201 98.99 200.99\n");
    ASSERT_EQ(run.status, 0) << run.err;
    EXPECT_TRUE(Contains(run.out, "method: Helmert (0)\n")) << run.out;
    EXPECT_TRUE(Contains(run.out, "mean error: 0.014142\n")) << run.out;
    EXPECT_TRUE(std::regex_search(
        run.out, std::regex(" 1 +99 +199 +98.99 +199.01 +-0.010000 +0.010000 +0.014142\n")))
        << run.out;
    EXPECT_TRUE(Contains(run.out, "  term  ")) << run.out;
}

struct RefusalRow {
    const char* args;
    std::string input;
    const char* message;
};

TEST(ToolGeoref, RefusalsAreOneLineUsageErrors) {
    const RefusalRow rows[] = {
        {"--method poly3", FirstControls(9),
         "kvproj: georef: 3rd Order Polynomial needs at least 10 controls, got 9\n"},
        {"--method bilinear", FirstControls(3),
         "kvproj: georef: 1st Order Polynomial needs at least 4 controls, got 3\n"},
        {"--method tps", FirstControls(2),
         "kvproj: georef: Thin Plate Spline needs at least 3 controls, got 2\n"},
        {"", "0 0 1 1\n1 1 2 2\n2 2 3 3\n",
         "kvproj: georef: the controls are degenerate for Affine Polynomial (it needs at least "
         "3 controls, not all on one line or at one place)\n"},
        {"--method 5", kControls,
         "kvproj: georef: method 5 (Precalculated Affine Coefficients) takes no controls\n"},
        {"--method spline", kControls, "kvproj: georef: unknown method 'spline' (try --help)\n"},
        {"--method 12", kControls, "kvproj: georef: unknown method '12' (try --help)\n"},
        {"", "1 2 3\n", "kvproj: georef: <stdin> line 1: expected pixel_x pixel_y map_x map_y\n"},
        {"", "1 2 3 nan\n",
         "kvproj: georef: <stdin> line 1: expected pixel_x pixel_y map_x map_y\n"},
        {"--apply -", kControls,
         "kvproj: georef: the controls and --apply cannot both come from standard input\n"},
    };
    for (const RefusalRow& row : rows) {
        SCOPED_TRACE(row.args);
        const auto run = RunTool(std::string("georef ") + row.args, row.input);
        EXPECT_EQ(run.status, 2);
        EXPECT_EQ(run.err, row.message);
        EXPECT_EQ(run.out, "");
    }
}

} // namespace
