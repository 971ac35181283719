// The "dms" and "deg" commands of the kvproj tool, run as a user would.
#include <gtest/gtest.h>

#include <sys/wait.h>

#include <cstdio>
#include <string>

namespace {

struct ToolRun {
    int status;
    std::string out; // standard output and standard error together
};

// One shell word holding `text` as it is.
std::string Quote(const std::string& text) {
    std::string quoted = "'";
    for (char c : text)
        quoted += (c == '\'') ? std::string("'\\''") : std::string(1, c);
    return quoted + "'";
}

// `arguments` is shell text: the cases quote their words themselves.
ToolRun Tool(const std::string& arguments) {
    const std::string command = std::string("'") + KVPROJ_TOOL_PATH + "' " + arguments + " 2>&1";
    ToolRun run{-1, ""};
    FILE* pipe = popen(command.c_str(), "r");
    if (!pipe) return run;
    char buffer[256];
    size_t n;
    while ((n = fread(buffer, 1, sizeof buffer, pipe)) > 0)
        run.out.append(buffer, n);
    const int status = pclose(pipe);
    run.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    return run;
}

struct Case {
    const char* arguments;
    int status;
    const char* out; // exact output; for failures, the start of the message
};

// Expected texts follow from the flag meanings (worked by hand); the
// decimal values from d + m/60 + s/3600.
const Case kCases[] = {
    {"dms -12.5 --lat", 0, "12d30'00.00\"S\n"},
    {"dms 12.5", 0, "12d30'00.00\"E\n"},
    {"dms -- -77.25", 2, "kvproj: dms: unknown option '--'"},
    {"dms -77.25 --style dm", 0, "77d15.0000'W\n"},
    {"dms -77.25 --style deg --decimals 2", 0, "77.25W\n"},
    {"dms 45.508333333333333 --style dm --decimals 1 --lat", 0, "45d30.5'N\n"},
    {"dms -12.5 --flags 3300 --marks dms", 0, "12d 30m S\n"},
    {"dms -12.5 --flags 0x3300 --marks dms", 0, "12d 30m S\n"},
    {"dms 10.5 --flags 0x12", 0, "10.50\n"},
    {"dms 12.504166666666667 --marks '\xC2\xB0\xE2\x80\xB2\xE2\x80\xB3' --lat", 0,
     "12\xC2\xB0"
     "30\xE2\x80\xB2"
     "15.00\xE2\x80\xB3N\n"},
    {"dms 5.5 --decimals 0 --marks dms", 0, "5d30m0sE\n"},
    {"dms", 2, "kvproj: dms: missing <degrees>\n"},
    {"dms abc", 2, "kvproj: dms: 'abc' is not a number of degrees\n"},
    {"dms nan", 2, "kvproj: dms: 'nan' is not a number"},
    {"dms 1e999", 2, "kvproj: dms: '1e999' is not a number"},
    {"dms 12 13", 2, "kvproj: dms: unexpected argument '13'\n"},
    {"dms 12 --decimals 16", 2, "kvproj: dms: --decimals must be 0 to 15\n"},
    {"dms 12 --decimals", 2, "kvproj: dms: --decimals needs a value\n"},
    {"dms 12 --style dd", 2, "kvproj: dms: --style must be dms, dm or deg\n"},
    {"dms 12 --flags 0xC0", 2, "kvproj: dms: cannot write 12 with flags 0xC0\n"},
    {"dms 12 --flags zz", 2, "kvproj: dms: --flags needs a hexadecimal"},
    {"dms 12 --flags 10 --lat", 2, "kvproj: dms: --flags cannot be combined"},
    {"dms 12 --marks ab", 2, "kvproj: dms: --marks needs three characters"},
    {"dms 12 --bogus", 2, "kvproj: dms: unknown option '--bogus'\n"},
    {"deg \"12d30'S\"", 0, "-12.5\n"},
    {"deg 12d 30\\' 15\\\" W", 0, "-12.5041666666667\n"},
    {"deg -- -12.5", 2, "kvproj: deg: unknown option '--'"},
    {"deg -12.5", 0, "-12.5\n"},
    {"deg -0d0", 0, "0\n"},
    {"deg 12.5W", 0, "-12.5\n"},
    {"deg '12\xC2\xB0"
     "30\xE2\x80\xB2"
     "15\xE2\x80\xB3N'",
     0, "12.5041666666667\n"},
    {"deg 12x30m --mark x", 0, "12.5\n"},
    {"deg --mark '\xC2\xBA' '12\xC2\xBA"
     "30m'",
     0, "12.5\n"},
    {"deg '12 30'", 2, "kvproj: deg: cannot read '12 30' as an angle\n"},
    {"deg ''", 2, "kvproj: deg: cannot read '' as an angle\n"},
    {"deg", 2, "kvproj: deg: missing <text>\n"},
    {"deg 12 --mark", 2, "kvproj: deg: --mark needs a value\n"},
    {"deg 12 --mark xy", 2, "kvproj: deg: --mark needs one character\n"},
    {"deg 12 --frob", 2, "kvproj: deg: unknown option '--frob'\n"},
};

TEST(ToolAngle, OutputAndExitStatus) {
    for (const Case& c : kCases) {
        const ToolRun run = Tool(c.arguments);
        EXPECT_EQ(c.status, run.status) << c.arguments << "\n" << run.out;
        if (c.status == 0) {
            EXPECT_EQ(c.out, run.out) << c.arguments;
        } else {
            EXPECT_EQ(0u, run.out.find(c.out)) << c.arguments << "\n" << run.out;
            // Failures are one line.
            EXPECT_EQ(run.out.size() - 1, run.out.find('\n')) << c.arguments;
        }
    }
}

TEST(ToolAngle, WrittenTextReadsBack) {
    const char* values[] = {"-0.000138888", "33.875", "-179.99", "89.5"};
    const char* styles[] = {"dms", "dm", "deg"};
    for (const char* v : values)
        for (const char* style : styles) {
            const ToolRun written =
                Tool(std::string("dms ") + v + " --decimals 9 --style " + style);
            ASSERT_EQ(0, written.status) << v << " " << style << "\n" << written.out;
            std::string text = written.out.substr(0, written.out.size() - 1);
            const ToolRun read = Tool("deg " + Quote(text));
            ASSERT_EQ(0, read.status) << text << "\n" << read.out;
            EXPECT_NEAR(std::stod(v), std::stod(read.out), 1e-9) << text;
        }
}

TEST(ToolAngle, HelpListsBothCommands) {
    const ToolRun run = Tool("--help");
    EXPECT_EQ(0, run.status);
    EXPECT_NE(std::string::npos, run.out.find("dms <degrees>"));
    EXPECT_NE(std::string::npos, run.out.find("deg <text>"));
}

} // namespace
