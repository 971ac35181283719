// The streaming half of "kvproj convert": lines in, converted lines out, in
// blocks, with the stages of a Pipeline.
#ifndef KVPROJ_TOOL_CONVERTSTREAM_H
#define KVPROJ_TOOL_CONVERTSTREAM_H

#include "kvproj/kvproj.h"

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

struct StreamOptions {
    int precision = 3;
    std::string marker = "unplottable";
    bool strict = false;
    bool lonLatInput = true; // no source projection: |latitude| <= 90 is checked
};

// Converts every line of `input` ("-" for standard input) to standard output.
// Returns the tool's exit status: 0, 1 when a line was bad, a read or write
// failed or the conversion failed, 2 for a bad line under `strict` or an
// input that cannot be opened.
int ConvertStream(const std::string& input, const Pipeline& stages, const StreamOptions& o);

} // namespace kvtool

#endif
