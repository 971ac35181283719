// kvproj command-line tool: dispatches to the registered sub-commands.
#include "Command.h"

#include "kvproj/kvproj.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <exception>

namespace kvtool {

static std::vector<const KVCommand*>& registry() {
    static std::vector<const KVCommand*> commands;
    return commands;
}

KVCommand::KVCommand(const char* n, const char* syn, const char* sum, CommandFn f)
    : name(n), synopsis(syn), summary(sum), fn(f) {
    registry().push_back(this);
}

const std::vector<const KVCommand*>& Commands() {
    std::vector<const KVCommand*>& commands = registry();
    std::sort(commands.begin(), commands.end(), [](const KVCommand* a, const KVCommand* b) {
        return std::strcmp(a->name, b->name) < 0;
    });
    return commands;
}

int UsageError(const std::string& message) {
    std::fprintf(stderr, "kvproj: %s\n", message.c_str());
    return EXIT_USAGE;
}

} // namespace kvtool

namespace {

void printHelp() {
    std::printf("kvproj %s: cartographic projections, datums and georeferencing\n\n"
                "usage: kvproj <command> [arguments]\n\ncommands:\n",
                KVPROJ_VERSION_TEXT);
    for (const kvtool::KVCommand* c : kvtool::Commands())
        std::printf("  %-34s %s\n", c->synopsis, c->summary);
    std::printf("\n  %-34s %s\n  %-34s %s\n", "--help", "this text", "--version",
                "the version");
}

} // namespace

int main(int argc, char** argv) {
    try {
        if (argc < 2) {
            printHelp();
            return kvtool::EXIT_USAGE;
        }
        std::string first = argv[1];
        if (first == "--help" || first == "-h" || first == "help") {
            printHelp();
            return kvtool::EXIT_OK;
        }
        if (first == "--version") {
            std::printf("kvproj %s (library %s)\n", KVPROJ_VERSION_TEXT, KVProj::KVProjVersion());
            return kvtool::EXIT_OK;
        }
        std::vector<std::string> args(argv + 2, argv + argc);
        for (const kvtool::KVCommand* c : kvtool::Commands())
            if (first == c->name) return c->fn(args);
        return kvtool::UsageError("unknown command '" + first + "' (try kvproj --help)");
    } catch (const std::exception& e) {
        std::fprintf(stderr, "kvproj: %s\n", e.what());
        return kvtool::EXIT_FAILED;
    }
}
