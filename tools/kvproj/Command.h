// Sub-command registry of the kvproj tool. Each sub-command lives in its own
// source file and registers itself with a static KVCommand object.
#ifndef KVPROJ_TOOL_COMMAND_H
#define KVPROJ_TOOL_COMMAND_H

#include <string>
#include <vector>

namespace kvtool {

// Exit codes: 0 success, 1 the operation failed on valid input, 2 bad usage or input.
enum { EXIT_OK = 0, EXIT_FAILED = 1, EXIT_USAGE = 2 };

// A sub-command gets the words after its name.
using CommandFn = int (*)(const std::vector<std::string>& args);

struct KVCommand {
    KVCommand(const char* name, const char* synopsis, const char* summary, CommandFn fn);
    const char* name;
    const char* synopsis; // e.g. "dms <text> [--mark C]"
    const char* summary;  // one line for --help
    CommandFn fn;
};

const std::vector<const KVCommand*>& Commands();

// Prints "kvproj: <message>" to standard error and returns EXIT_USAGE.
int UsageError(const std::string& message);

} // namespace kvtool

#endif
