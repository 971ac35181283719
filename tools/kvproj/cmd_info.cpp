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
            *status = Failure("info: " + error);
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
        if (!ShowName(name, &status)) status = Failure("info: no side file found for " + name);
    return status;
}

Runner SetUp(CLI::App& app) {
    auto o = std::make_shared<Options>();
    app.add_option("name", o->names,
                   "a reference file (map.kvr) or an image (map.tif)")
        ->required();
    return [o] { return Run(*o); };
}

const KVCommand command(
    {"info", "info <name>...", "show what side files hold: reference, world and RSF files",
     "  kvproj info map.kvr\n"
     "  kvproj info map.tif      # map.tif.kvr, map.tfw, map.RSF, ...\n",
     "  0  a side file was found for every name\n"
     "  1  none was found for some name, or one could not be read\n"
     "  2  bad usage\n"},
    SetUp);

} // namespace
} // namespace kvtool
