// Sub-command registry of the kvproj tool. Each sub-command lives in its own
// cmd_*.cpp source and registers itself with a static KVCommand object: a
// name, a one-line summary, an example, and a set-up function that declares
// the command's options on a CLI11 App and returns the function that runs it.
//
//   Runner SetUp(CLI::App& app) {
//       auto o = std::make_shared<Options>();
//       app.add_option("--precision", o->precision, "decimals printed");
//       return [o] { return Run(*o); };
//   }
//   const KVCommand command({"name", "summary", "  kvproj name ..."}, SetUp);
//
// The registry builds the --help text (synopsis, options, example, exit
// statuses) and turns parse errors into one-line usage messages.
#ifndef KVPROJ_TOOL_COMMAND_H
#define KVPROJ_TOOL_COMMAND_H

#include <CLI/CLI.hpp>

#include <functional>
#include <string>
#include <vector>

namespace kvtool {

// Exit codes: 0 success, 1 the operation failed on valid input, 2 bad usage or input.
enum { EXIT_OK = 0, EXIT_FAILED = 1, EXIT_USAGE = 2 };

// The exit-status lines most commands share.
extern const char kStandardStatuses[];

using Runner = std::function<int()>;
using SetUpFn = Runner (*)(CLI::App& app);

struct CommandInfo {
    const char* name;
    const char* synopsis; // "dms <degrees> [options]"
    const char* summary;  // one line for "kvproj --help"
    const char* example;  // indented shell lines, pasted as they are
    const char* statuses = kStandardStatuses;
};

struct KVCommand {
    KVCommand(const CommandInfo& info, SetUpFn setUp);
    CommandInfo info;
    SetUpFn setUp;
};

// Every registered command, sorted by name.
const std::vector<const KVCommand*>& Commands();

// The command named `name`, or null.
const KVCommand* FindCommand(const std::string& name);

// Runs the command with the words after its name: parses them, reports a
// usage error or prints the help, and otherwise calls the runner.
int RunCommand(const KVCommand& command, const std::vector<std::string>& args);

// The --help text of a command.
std::string CommandHelp(const KVCommand& command);

// The names of a command's own sub-commands ("list zones", "grid info").
std::vector<std::string> NestedCommands(const KVCommand& command);

// `text` with every line longer than `width` broken at blanks; a continued
// line starts under the text it continues (an option's description column).
std::string FitToWidth(const std::string& text, size_t width = 80);

// Adds the example and exit statuses below a (nested) command's options.
void AddFooter(CLI::App& app, const char* example, const char* statuses = kStandardStatuses);

// Prints "kvproj: <message>" to standard error and returns EXIT_USAGE.
int UsageError(const std::string& message);

// Prints "kvproj: <message>" to standard error and returns EXIT_FAILED.
int Failure(const std::string& message);

// A catalogue search that found nothing: "no name holds 'WORD'", EXIT_FAILED.
int NothingFound(const std::string& word);

} // namespace kvtool

#endif
