// The registry of sub-commands, their help texts and usage errors.
#include "Command.h"

#include "Suggest.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <memory>
#include <sstream>

namespace kvtool {
namespace {

std::vector<const KVCommand*>& Registry() {
    static std::vector<const KVCommand*> commands;
    return commands;
}

// Option names padded to one column; every line of a help text fits 80 columns.
std::shared_ptr<CLI::Formatter> HelpFormatter() {
    auto formatter = std::make_shared<CLI::Formatter>();
    formatter->column_width(26);
    formatter->label("OPTIONS", "OPTION");
    return formatter;
}

// What an option's value is called in the help: "--precision N", "--profile FILE".
void NameValues(CLI::App& app) {
    struct Name {
        const char* option;
        const char* value;
    };
    static constexpr Name kNames[] = {
        {"precision", "N"},  {"decimals", "N"},  {"width", "PX"},    {"value", "N"},
        {"profile", "FILE"}, {"output", "FILE"}, {"grid", "FILE"},   {"grid-dir", "DIR"},
        {"step", "DEG"},     {"densify", "DEG"}, {"src-datum", "D"}, {"dst-datum", "D"},
        {"flags", "HEX"},    {"marks", "DMS"},   {"mark", "C"},      {"system", "27|83"},
        {"style", "NAME"},   {"window", "BOX"},  {"title", "TEXT"},  {"marker", "TEXT"},
        {"cols", "X,Y"},     {"units", "UNIT"},  {"delimiter", "C"},
    };
    for (CLI::Option* o : app.get_options()) {
        if (o->get_type_name() != "TEXT" && o->get_type_name() != "TEXT ...") continue;
        o->type_name("VALUE");
        for (const Name& n : kNames)
            for (const std::string& l : o->get_lnames())
                if (l == n.option) o->type_name(n.value);
        if (o->get_lnames().empty()) o->type_name(""); // operands explain themselves
    }
    for (CLI::App* sub : app.get_subcommands([](CLI::App*) { return true; }))
        NameValues(*sub);
}

bool LooksLikeOption(const std::string& word) {
    return word.size() > 1 && word[0] == '-' && !(word[1] >= '0' && word[1] <= '9') &&
           word[1] != '.';
}

std::vector<std::string> OptionNames(const CLI::App& app) {
    std::vector<std::string> names;
    for (const CLI::Option* o : app.get_options())
        for (const std::string& n : o->get_lnames())
            names.push_back("--" + n);
    return names;
}

// The deepest command the words selected, for messages and suggestions.
const CLI::App* Selected(const CLI::App& app) {
    const CLI::App* at = &app;
    for (std::vector<CLI::App*> subs = at->get_subcommands(); !subs.empty();
         subs = at->get_subcommands())
        at = subs.front();
    return at;
}

// "list params: " for the words of "kvproj list params ...".
std::string Prefix(const CLI::App& app) {
    std::string name = app.get_name().substr(7); // after "kvproj "
    const CLI::App* at = &app;
    for (std::vector<CLI::App*> subs = at->get_subcommands(); !subs.empty();
         subs = at->get_subcommands()) {
        at = subs.front();
        name += " " + at->get_name();
    }
    return name + ": ";
}

// Where the text of a help line starts: after the option column when the line
// has one ("  --step DEG   degrees between ..."), else after the indentation.
size_t TextColumn(const std::string& line) {
    const size_t indent = line.find_first_not_of(' ');
    if (indent == std::string::npos) return 0;
    const size_t gap = line.find("  ", indent);
    if (gap == std::string::npos) return indent;
    const size_t text = line.find_first_not_of(' ', gap);
    return text != std::string::npos && text <= 40 ? text : indent;
}

// The first word no option or operand took, as a usage error.
int ReportExtra(const CLI::App& app) {
    std::vector<std::string> extras = app.remaining(true);
    extras.erase(std::remove(extras.begin(), extras.end(), "--"), extras.end());
    if (extras.empty()) return EXIT_OK;
    const std::string& word = extras.front();
    if (!LooksLikeOption(word))
        return UsageError(Prefix(app) + "unexpected argument '" + word + "'");
    const std::string name = word.substr(0, word.find('='));
    return UsageError(Prefix(app) + "unknown option '" + word + "'" +
                      DidYouMean(name, OptionNames(*Selected(app))));
}

int ReportParseError(const CLI::App& app, const CLI::ParseError& e) {
    std::string text = e.what();
    if (e.get_name() == "ArgumentMismatch") {
        const std::string option = text.substr(0, text.find(':'));
        const bool missing = text.find("missing") != std::string::npos;
        return UsageError(Prefix(app) + option +
                          (missing ? " needs a value" : " may be given only once"));
    }
    std::replace(text.begin(), text.end(), '\n', ' ');
    return UsageError(Prefix(app) + text);
}

} // namespace

std::string FitToWidth(const std::string& text, size_t width) {
    std::string out;
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);) {
        while (line.size() > width) {
            const size_t column = TextColumn(line);
            const size_t cut = line.rfind(' ', width);
            if (cut == std::string::npos || cut <= column) break; // one long word stays
            const size_t end = line.find_last_not_of(' ', cut);
            out += line.substr(0, end + 1) + "\n";
            line = std::string(column, ' ') + line.substr(cut + 1);
        }
        out += line + "\n";
    }
    return out;
}

const char kStandardStatuses[] = "  0  success\n"
                                 "  1  the operation failed (a file, a conversion)\n"
                                 "  2  bad usage or input\n";

KVCommand::KVCommand(const CommandInfo& i, SetUpFn s) : info(i), setUp(s) {
    Registry().push_back(this);
}

const std::vector<const KVCommand*>& Commands() {
    std::vector<const KVCommand*>& commands = Registry();
    std::sort(commands.begin(), commands.end(), [](const KVCommand* a, const KVCommand* b) {
        return std::strcmp(a->info.name, b->info.name) < 0;
    });
    return commands;
}

const KVCommand* FindCommand(const std::string& name) {
    for (const KVCommand* c : Commands())
        if (name == c->info.name) return c;
    return nullptr;
}

void AddFooter(CLI::App& app, const char* example, const char* statuses) {
    std::string footer;
    if (example && *example) footer += std::string("\nExample:\n") + example;
    if (statuses && *statuses) footer += std::string("\nExit status:\n") + statuses;
    app.footer(footer);
}

namespace {

struct BuiltCommand {
    std::unique_ptr<CLI::App> app;
    Runner run;
};

BuiltCommand Build(const KVCommand& command) {
    BuiltCommand built;
    built.app = std::make_unique<CLI::App>(command.info.summary,
                                           std::string("kvproj ") + command.info.name);
    CLI::App& app = *built.app;
    app.formatter(HelpFormatter());
    app.allow_extras();
    app.set_help_flag("-h,--help", "print this help and exit");
    built.run = command.setUp(app);
    NameValues(app);
    AddFooter(app, command.info.example, command.info.statuses);
    // Nested commands without a footer of their own show the command's.
    for (CLI::App* sub : app.get_subcommands([](CLI::App*) { return true; }))
        if (sub->get_footer().empty()) sub->footer(app.get_footer());
    return built;
}

} // namespace

std::string CommandHelp(const KVCommand& command) {
    return FitToWidth(Build(command).app->help());
}

std::vector<std::string> NestedCommands(const KVCommand& command) {
    BuiltCommand built = Build(command);
    std::vector<std::string> names;
    for (const CLI::App* sub : built.app->get_subcommands([](CLI::App*) { return true; }))
        names.push_back(sub->get_name());
    return names;
}

int RunCommand(const KVCommand& command, const std::vector<std::string>& args) {
    BuiltCommand built = Build(command);
    CLI::App& app = *built.app;
    try {
        app.parse(std::vector<std::string>(args.rbegin(), args.rend()));
    } catch (const CLI::CallForHelp&) {
        std::fputs(FitToWidth(app.help()).c_str(), stdout);
        return EXIT_OK;
    } catch (const CLI::ParseError& e) {
        return ReportParseError(app, e);
    }
    if (const int status = ReportExtra(app)) return status;
    return built.run();
}

int UsageError(const std::string& message) {
    std::fprintf(stderr, "kvproj: %s\n", message.c_str());
    return EXIT_USAGE;
}

int Failure(const std::string& message) {
    std::fprintf(stderr, "kvproj: %s\n", message.c_str());
    return EXIT_FAILED;
}

int NothingFound(const std::string& word) {
    return Failure("no name holds '" + word + "'");
}

} // namespace kvtool
