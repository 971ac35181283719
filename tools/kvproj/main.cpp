// kvproj command-line tool: dispatches to the registered sub-commands.
#include "Command.h"
#include "Suggest.h"

#include "kvproj/kvproj.h"

#include <cstdio>
#include <exception>

namespace {

void PrintOverview() {
    std::printf("kvproj %s: cartographic projections, datums and georeferencing\n\n"
                "Usage: kvproj COMMAND [OPTION...] [ARGUMENT...]\n\nCommands:\n",
                KVPROJ_VERSION_TEXT);
    for (const kvtool::KVCommand* c : kvtool::Commands())
        std::printf("  %s\n      %s\n", c->info.synopsis, c->info.summary);
    std::printf("\n  %-11s %s\n  %-11s %s\n  %-11s %s\n\n"
                "Exit status:\n%s",
                "help CMD", "the options, an example and the exit statuses of CMD", "--help",
                "this text", "--version", "the version", kvtool::kStandardStatuses);
}

std::vector<std::string> CommandNames() {
    std::vector<std::string> names;
    for (const kvtool::KVCommand* c : kvtool::Commands())
        names.push_back(c->info.name);
    return names;
}

int UnknownCommand(const std::string& name) {
    return kvtool::UsageError("unknown command '" + name + "'" +
                              kvtool::DidYouMean(name, CommandNames()) + " (try kvproj --help)");
}

// "kvproj help" and "kvproj help CMD [more words]".
int Help(const std::vector<std::string>& words) {
    if (words.empty()) {
        PrintOverview();
        return kvtool::EXIT_OK;
    }
    const kvtool::KVCommand* command = kvtool::FindCommand(words[0]);
    if (!command) return UnknownCommand(words[0]);
    std::vector<std::string> rest(words.begin() + 1, words.end());
    rest.push_back("--help");
    return kvtool::RunCommand(*command, rest);
}

} // namespace

int main(int argc, char** argv) {
    try {
        if (argc < 2) {
            PrintOverview();
            return kvtool::EXIT_USAGE;
        }
        const std::string first = argv[1];
        std::vector<std::string> args(argv + 2, argv + argc);
        if (first == "--help" || first == "-h" || first == "help") return Help(args);
        if (first == "--version") {
            std::printf("kvproj %s (library %s)\n", KVPROJ_VERSION_TEXT, KVProj::KVProjVersion());
            return kvtool::EXIT_OK;
        }
        if (const kvtool::KVCommand* c = kvtool::FindCommand(first))
            return kvtool::RunCommand(*c, args);
        return UnknownCommand(first);
    } catch (const std::exception& e) {
        std::fprintf(stderr, "kvproj: %s\n", e.what());
        return kvtool::EXIT_FAILED;
    }
}
