// The streaming half of "kvproj convert": lines in, converted lines out, in
// blocks, with the stages of a Pipeline.
#ifndef KVPROJ_TOOL_CONVERTSTREAM_H
#define KVPROJ_TOOL_CONVERTSTREAM_H

#include "kvproj/kvproj.h"

#include <cstddef>
#include <string>

namespace kvtool {

// The handles of one run; a null handle is a stage left out. Every stage
// passes the unplottable marker of an earlier one through.
class GridStage;

struct Pipeline {
    void* inverse = nullptr; // source projection
    const GridStage* grid = nullptr; // an NTv2 file's shift (not owned)
    void* datum = nullptr;
    void* forward = nullptr; // destination projection

    Pipeline() = default;
    Pipeline(const Pipeline&) = delete;
    Pipeline& operator=(const Pipeline&) = delete;
    ~Pipeline();
};

class LineInput;
class BlockOutput;

struct StreamOptions {
    enum Header { HEADER_AUTO, HEADER_YES, HEADER_NO };
    int precision = 3;
    std::string marker = "unplottable";
    bool strict = false;
    bool lonLatInput = true;  // no source projection: |latitude| <= 90 is checked
    bool latFirstIn = false;  // the input's first coordinate is the latitude
    bool latFirstOut = false; // write the latitude first
    Header header = HEADER_AUTO;
    std::string columns;      // "X,Y" as --cols takes it; empty for 1,2
    int threads = 1;          // blocks converted at once
    size_t blockLines = 4096; // lines per block
};

// Converts every line of `input` ("-" for standard input) to standard output.
// Returns the tool's exit status: 0, 1 when a line was bad, a read or write
// failed or the conversion failed, 2 for a bad line under `strict`, columns
// the header does not have, or an input that cannot be opened.
//
// One output line per input line: blank lines, '#' comments and the header
// line pass through; a line that holds no point is written with the marker in
// its coordinate fields (and reported on standard error); every other field
// stays as it was, in place.
int ConvertStream(const std::string& input, const Pipeline& stages, const StreamOptions& o);

// The same on an open input, writing to `out` and the reports to `reports`.
int ConvertLines(LineInput& in, const Pipeline& stages, const StreamOptions& o, BlockOutput& out,
                 BlockOutput& reports);

} // namespace kvtool

#endif
