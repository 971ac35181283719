// The "dms" and "deg" commands of the kvproj tool, run as a user would. Expected
// texts follow from the flag meanings (worked by hand), values from d + m/60 + s/3600.
#include "TestSupport.h"

#include <gtest/gtest.h>

namespace {

struct Case {
    const char* arguments; // shell text
    int status;
    const char* out; // exact output; for failures, the start of the one-line message
};

const Case kCases[] = {
    {"dms -12.5 --lat", 0, "12d30'00.00\"S\n"},
    {"dms 12.5", 0, "12d30'00.00\"E\n"},
    {"dms -77.25 --style dm", 0, "77d15.0000'W\n"},
    {"dms -77.25 --style deg --decimals 2", 0, "77.25W\n"},
    {"dms -12.5 --flags 3300 --marks dms", 0, "12d 30m S\n"},
    {"dms 10.5 --flags 0x12", 0, "10.50\n"},
    {"dms 12.504166666666667 --marks '\xC2\xB0\xE2\x80\xB2\xE2\x80\xB3' --lat", 0,
     "12\xC2\xB0"
     "30\xE2\x80\xB2"
     "15.00\xE2\x80\xB3N\n"},
    {"dms 5.5 --decimals 0 --marks dms", 0, "5d30m0sE\n"},
    {"dms -- -77.25", 0, "77d15'00.00\"W\n"}, // "--" ends the options
    // Rounding carries into minutes and degrees: 45d59'59.999964" is 46d00'00.00".
    {"dms 45.99999999", 0, "46d00'00.00\"E\n"},
    {"dms 45.9999", 0, "45d59'59.64\"E\n"},
    {"dms --lat --style dm -- -45.999999999", 0, "46d00.0000'S\n"},
    {"dms", 2, "kvproj: dms: missing <degrees>\n"},
    {"dms abc", 2, "kvproj: dms: 'abc' is not a number of degrees\n"},
    {"dms nan", 2, "kvproj: dms: 'nan' is not a number"},
    {"dms 12 13", 2, "kvproj: dms: unexpected argument '13'\n"},
    {"dms 12 --decimals 16", 2, "kvproj: dms: --decimals must be 0 to 15\n"},
    {"dms 12 --style dd", 2, "kvproj: dms: --style must be dms, dm or deg\n"},
    {"dms 12 --flags 0xC0", 2, "kvproj: dms: cannot write 12 with flags 0xC0\n"},
    {"dms 12 --flags zz", 2, "kvproj: dms: --flags needs a hexadecimal"},
    {"dms 12 --flags 10 --lat", 2, "kvproj: dms: --flags cannot be combined"},
    {"dms 12 --marks ab", 2, "kvproj: dms: --marks needs three characters"},
    {"dms 12 --bogus", 2, "kvproj: dms: unknown option '--bogus'\n"},
    {"deg \"12d30'S\"", 0, "-12.5\n"},
    {"deg 12d 30\\' 15\\\" W", 0, "-12.5041666666667\n"}, // words are joined
    {"deg -0d0", 0, "0\n"},
    {"deg '12\xC2\xB0"
     "30\xE2\x80\xB2"
     "15\xE2\x80\xB3N'",
     0, "12.5041666666667\n"},
    {"deg 12x30m --mark x", 0, "12.5\n"},
    {"deg --mark '\xC2\xBA' '12\xC2\xBA"
     "30m'",
     0, "12.5\n"},
    {"deg -- -12.5", 0, "-12.5\n"},
    {"deg '12 30'", 2, "kvproj: deg: cannot read '12 30' as an angle\n"},
    {"deg", 2, "kvproj: deg: missing <text>\n"},
    {"deg 12 --mark xy", 2, "kvproj: deg: --mark needs one character\n"},
};

TEST(ToolAngle, OutputAndExitStatus) {
    for (const Case& c : kCases) {
        const kvtest::ToolRun run = kvtest::RunTool(c.arguments);
        const std::string all = run.out + run.err;
        EXPECT_EQ(c.status, run.status) << c.arguments << "\n" << all;
        if (c.status == 0) {
            EXPECT_EQ(c.out, run.out) << c.arguments << "\n" << run.err;
        } else {
            EXPECT_EQ(0u, run.err.find(c.out)) << c.arguments << "\n" << all;
            EXPECT_EQ(run.err.size() - 1, run.err.find('\n')) << c.arguments; // one line
            EXPECT_EQ("", run.out) << c.arguments;
        }
    }
    const kvtest::ToolRun help = kvtest::RunTool("--help");
    EXPECT_EQ(0, help.status);
    const std::string all = help.out + help.err;
    EXPECT_TRUE(kvtest::Contains(all, "dms <degrees>") && kvtest::Contains(all, "deg <text>"))
        << all;
}

TEST(ToolAngle, WrittenTextReadsBack) {
    for (const char* v : {"-0.000138888", "33.875", "-179.99", "89.5"})
        for (const char* style : {"dms", "dm", "deg"}) {
            const kvtest::ToolRun written =
                kvtest::RunTool(std::string("dms ") + v + " --decimals 9 --style " + style);
            ASSERT_EQ(0, written.status) << v << " " << style << "\n" << written.err;
            const std::string text = written.out.substr(0, written.out.size() - 1);
            const kvtest::ToolRun read = kvtest::RunTool("deg " + kvtest::Quote(text));
            ASSERT_EQ(0, read.status) << text << "\n" << read.err;
            EXPECT_NEAR(std::stod(v), std::stod(read.out), 1e-9) << text;
        }
}

} // namespace
