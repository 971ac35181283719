// The user guide's tool examples run as they are written. Every fenced block
// marked "console" in docs/guide.md holds "$ command" lines, each followed by
// the exact text it prints (standard output and error together). The commands
// run in order in one scratch folder (so a file one example writes is there
// for the next), with the built kvproj first on PATH and the source tree's
// docs/ and tests/ folders linked in, as when pasted at the top of a clone.
// Every registered command must appear in at least one checked example.
#include "TestSupport.h"

#include <gtest/gtest.h>

#include <sys/stat.h>

#include <set>

namespace {

const std::string kSource = std::string(KVPROJ_TEST_DATA_DIR) + "/../..";

struct Example {
    int line = 0;         // of the command in the guide
    std::string command;  // without "$ ", continuation lines joined
    std::string expected; // the lines after it
};

std::string StripTrailingBlanks(const std::string& text) {
    std::istringstream in(text);
    std::string out;
    for (std::string line; std::getline(in, line);) {
        line.erase(line.find_last_not_of(" \t") + 1);
        out += line + "\n";
    }
    return out;
}

// The console blocks of a Markdown text, command by command.
std::vector<Example> ConsoleExamples(const std::string& markdown) {
    std::vector<Example> examples;
    std::istringstream in(markdown);
    bool inConsole = false, inOther = false, continued = false;
    int number = 0;
    for (std::string line; std::getline(in, line);) {
        ++number;
        if (line.rfind("```", 0) == 0) {
            if (inConsole || inOther) {
                inConsole = inOther = false;
            } else {
                inConsole = line == "```console";
                inOther = !inConsole;
            }
            continue;
        }
        if (!inConsole) continue;
        if (continued) {
            examples.back().command += "\n" + line;
            continued = !line.empty() && line.back() == '\\';
        } else if (line.rfind("$ ", 0) == 0) {
            examples.push_back({number, line.substr(2), ""});
            continued = line.back() == '\\';
        } else if (!examples.empty()) {
            examples.back().expected += line + "\n";
        }
    }
    return examples;
}

std::string ScratchFolder() {
    const std::string dir = kvtest::TempPath("guide");
    ::mkdir(dir.c_str(), 0700);
    for (const char* name : {"docs", "tests"})
        ::symlink((kSource + "/" + name).c_str(), (dir + "/" + name).c_str());
    return dir;
}

std::string RunInShell(const std::string& dir, const std::string& command) {
    std::string tool = KVPROJ_TOOL_PATH;
    tool = tool.substr(0, tool.rfind('/'));
    const std::string script = "cd " + kvtest::Quote(dir) + " && PATH=" + kvtest::Quote(tool) +
                               ":\"$PATH\" && export PATH && (" + command + ") 2>&1";
    std::string out;
    if (FILE* pipe = ::popen(("sh -c " + kvtest::Quote(script)).c_str(), "r")) {
        char buffer[4096];
        for (size_t n; (n = std::fread(buffer, 1, sizeof buffer, pipe)) > 0;)
            out.append(buffer, n);
        ::pclose(pipe);
    }
    return out;
}

TEST(Guide, ConsoleExamplesPrintWhatTheGuideSays) {
    const std::string guide = kvtest::ReadFile(kSource + "/docs/guide.md");
    ASSERT_FALSE(guide.empty());
    const std::vector<Example> examples = ConsoleExamples(guide);
    ASSERT_GE(examples.size(), 20u);
    const std::string dir = ScratchFolder();
    for (const Example& e : examples) {
        const std::string got = StripTrailingBlanks(RunInShell(dir, e.command));
        EXPECT_EQ(got, StripTrailingBlanks(e.expected))
            << "docs/guide.md:" << e.line << ": $ " << e.command;
    }
    if (std::system(("rm -rf " + kvtest::Quote(dir)).c_str()) != 0) ADD_FAILURE() << dir;
}

// The tour reaches every command of the tool: "kvproj NAME" in some example.
TEST(Guide, TourCoversEveryCommand) {
    const std::string guide = kvtest::ReadFile(kSource + "/docs/guide.md");
    std::set<std::string> shown;
    for (const Example& e : ConsoleExamples(guide)) {
        std::istringstream words(e.command);
        std::string previous;
        for (std::string word; words >> word; previous = word)
            if (previous == "kvproj") shown.insert(word);
    }
    const std::string overview = kvtest::RunTool("--help").out;
    std::istringstream lines(overview.substr(overview.find("Commands:")));
    int commands = 0;
    for (std::string line; std::getline(lines, line) && line != "";) {
        if (line.rfind("  ", 0) != 0 || line[2] == ' ') continue;
        const std::string name = line.substr(2, line.find(' ', 2) - 2);
        ++commands;
        EXPECT_TRUE(shown.count(name)) << "no checked guide example runs kvproj " << name;
    }
    EXPECT_GE(commands, 10);
}

// The parser itself: commands, continuation lines, and blocks of other kinds.
TEST(Guide, ConsoleBlocksAreReadAsWritten) {
    const std::vector<Example> examples = ConsoleExamples(
        "```\n$ not checked\nx\n```\n"
        "```console\n$ kvproj a \\\n    --b\nout 1\n\nout 2\n$ kvproj c\n```\n"
        "```sh\n$ kvproj d\n```\n");
    ASSERT_EQ(examples.size(), 2u);
    EXPECT_EQ(examples[0].line, 6);
    EXPECT_EQ(examples[0].command, "kvproj a \\\n    --b");
    EXPECT_EQ(examples[0].expected, "out 1\n\nout 2\n");
    EXPECT_EQ(examples[1].command, "kvproj c");
    EXPECT_EQ(examples[1].expected, "");
}

} // namespace
