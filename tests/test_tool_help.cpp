// Help texts and usage messages shared by every command: each command and
// sub-command answers --help and "kvproj help CMD" with its synopsis, options,
// an example and its exit statuses within 80 columns; typing errors get a
// suggestion.
#include "Command.h"
#include "TestSupport.h"

#include <gtest/gtest.h>

namespace {

using kvtest::Contains;
using kvtest::RunTool;

void ExpectFitsAndComplete(const std::string& what, const std::string& text) {
    EXPECT_TRUE(Contains(text, "Usage: kvproj ")) << what << "\n" << text;
    EXPECT_TRUE(Contains(text, "Options:")) << what;
    EXPECT_TRUE(Contains(text, "Example:\n  kvproj ")) << what << "\n" << text;
    EXPECT_TRUE(Contains(text, "Exit status:\n  0  ")) << what;
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);)
        EXPECT_LE(line.size(), 80u) << what << ": " << line;
}

TEST(ToolHelp, EveryCommandAnswersHelpInEightyColumns) {
    ASSERT_GE(kvtool::Commands().size(), 10u);
    for (const kvtool::KVCommand* c : kvtool::Commands()) {
        const std::string name = c->info.name;
        const kvtest::ToolRun help = RunTool(name + " --help");
        EXPECT_EQ(help.status, 0) << name << help.err;
        ExpectFitsAndComplete(name, help.out);
        EXPECT_EQ(RunTool("help " + name).out, help.out) << name;
        EXPECT_EQ(kvtool::CommandHelp(*c), help.out) << name;
    }
    // Sub-commands of a command ("list zones", "grid info"), found the same way.
    int nestedCount = 0;
    for (const kvtool::KVCommand* c : kvtool::Commands()) {
        for (const std::string& sub : kvtool::NestedCommands(*c)) {
            const std::string nested = std::string(c->info.name) + " " + sub;
            const kvtest::ToolRun help = RunTool(nested + " --help");
            EXPECT_EQ(help.status, 0) << nested;
            EXPECT_TRUE(Contains(help.out, "Usage: kvproj " + nested)) << help.out;
            ExpectFitsAndComplete(nested, help.out);
            EXPECT_EQ(RunTool("help " + nested).out, help.out) << nested;
            ++nestedCount;
        }
    }
    EXPECT_GE(nestedCount, 7); // list: 5 catalogues; grid: info, shift
    const kvtest::ToolRun overview = RunTool("--help");
    EXPECT_EQ(overview.status, 0);
    std::istringstream lines(overview.out);
    for (std::string line; std::getline(lines, line);)
        EXPECT_LE(line.size(), 80u) << line;
    for (const kvtool::KVCommand* c : kvtool::Commands())
        EXPECT_TRUE(Contains(overview.out, c->info.summary)) << c->info.name;
}

// Long help lines are broken at blanks and continue under the text they
// continue: an option's description column, or the line's indentation.
TEST(ToolHelp, LongLinesAreFolded) {
    const std::string option = "  --zone ZONE            ";
    const struct {
        std::string text;
        size_t width;
        std::string expected;
    } kRows[] = {
        {"short line\n", 80, "short line\n"},
        {option + "a state plane zone by name or code\n", 40,
         option + "a state plane\n" + std::string(25, ' ') + "zone by name or\n" +
             std::string(25, ' ') + "code\n"},
        {"  Reads one point per line and converts it\n", 20,
         "  Reads one point\n  per line and\n  converts it\n"},
        {"  unbreakable-word-longer-than-the-width\n", 10,
         "  unbreakable-word-longer-than-the-width\n"},
        {"one two\n\nthree\n", 4, "one\ntwo\n\nthree\n"},
    };
    for (const auto& r : kRows)
        EXPECT_EQ(kvtool::FitToWidth(r.text, r.width), r.expected) << r.text;
}

// Usage errors are one line on standard error, status 2, and suggest the
// nearest names.
TEST(ToolHelp, TyposGetSuggestions) {
    const struct {
        const char* args;
        const char* message;
    } kRows[] = {
        {"convrt", "unknown command 'convrt' (did you mean convert?)"},
        {"convert --fwd --utm 33N --precison 3", "unknown option '--precison' (did you mean "
                                                 "--precision?)"},
        {"zone 'Alabama Est'", "(did you mean Alabama East"},
        {"list params mercatr", "(did you mean Mercator"},
        {"list elipsoids", "unknown catalogue 'elipsoids' (did you mean ellipsoids?)"},
        {"help nosuch", "unknown command 'nosuch'"},
        {"dms 12 --lat=yes --bogus", "unknown option"},
        {"convert --fwd --utm 33N --utm 34N", "--utm may be given only once"},
        {"convert --fwd --precision", "--precision needs a value"},
    };
    for (const auto& r : kRows) {
        const kvtest::ToolRun run = RunTool(r.args);
        EXPECT_EQ(run.status, 2) << r.args;
        EXPECT_TRUE(Contains(run.err, r.message)) << r.args << ": " << run.err;
        EXPECT_EQ(run.err.find('\n'), run.err.size() - 1) << r.args << ": " << run.err;
        EXPECT_EQ(run.out, "") << r.args;
    }
}

} // namespace
