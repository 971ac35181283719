// "kvproj info": what the side files of a name hold, for every kind of side
// file the tool knows (reference file, world file, RSF file, ...).
#include "Command.h"
#include "SideFiles.h"

#include <cstdio>
#include <memory>
#include <string>
#include <vector>

namespace kvtool {
namespace {

int Fail(const std::string& message) {
    std::fprintf(stderr, "kvproj: %s\n", message.c_str());
    return EXIT_FAILED;
}

struct Options {
    std::vector<std::string> names;
};

// Prints every side file found for `name`; false when none was found.
bool ShowName(const std::string& name, int* status) {
    bool any = false;
    for (const FileKind& kind : FileKinds()) {
        SideRecords records;
        bool found = false;
        std::string error;
        if (!kind.Read(name, &records, &found, &error)) {
            *status = Fail("info: " + error);
            any = true;
            continue;
        }
        if (!found) continue;
        any = true;
        std::printf("%s (%s):\n%s", kind.FileFor(name).c_str(), kind.what,
                    DescribeRecords(records).c_str());
    }
    return any;
}

int Run(const Options& o) {
    int status = EXIT_OK;
    for (const std::string& name : o.names)
        if (!ShowName(name, &status)) status = Fail("info: no side file found for " + name);
    return status;
}

int RunInfo(const std::vector<std::string>& args) {
    Options o;
    o.names = args;
    if (o.names.empty()) return UsageError("info: give a reference file or an image name");
    return Run(o);
}

const KVCommand command("info", "info <name>...",
                        "show what side files hold: reference, world and RSF files", RunInfo);

} // namespace
} // namespace kvtool
