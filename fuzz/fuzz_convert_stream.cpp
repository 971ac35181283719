// libFuzzer target for the convert stream of the tool, in process: the bytes
// after the first two are the input lines, the first two pick the options
// (columns, header, latitude first, strict, precision, direction, block size).
// Contract: no crash; one output line per input line unless the run stopped
// (status 2); status 1 exactly when a line was reported; and two threads give
// the bytes of one.
#include "ConvertStream.h"
#include "LineInput.h"
#include "ProjArgs.h"

#include <cstddef>
#include <cstdint>
#include <string>

namespace {

void Check(bool condition) {
    if (!condition) __builtin_trap();
}

struct Run {
    int status;
    std::string out, reports;
};

Run Convert(const char* data, size_t size, const kvtool::StreamOptions& o, bool inverse) {
    KVProj::PROJDATA record;
    std::string error;
    Check(kvtool::UtmRecord("33N", &record, &error));
    kvtool::Pipeline stages;
    (inverse ? stages.inverse : stages.forward) = KVProj::ProjCreateProjection(&record);
    kvtool::LineInput in;
    in.OpenMemory(data, size, "fuzz");
    Run run;
    kvtool::BlockOutput out(1, &run.out), reports(2, &run.reports);
    run.status = kvtool::ConvertLines(in, stages, o, out, reports);
    return run;
}

// Lines as the reader counts them: every LF, and a last line without one.
size_t InputLines(const char* data, size_t size) {
    size_t lines = 0;
    for (size_t i = 0; i < size; ++i)
        lines += data[i] == '\n';
    return lines + (size > 0 && data[size - 1] != '\n');
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size) {
    if (size < 2) return 0;
    const uint8_t a = bytes[0], b = bytes[1];
    const char* data = reinterpret_cast<const char*>(bytes + 2);
    size -= 2;
    static const char* const kColumns[] = {"", "2,1", "1,3", "lon,lat"};
    kvtool::StreamOptions o;
    o.columns = kColumns[a & 3];
    o.header = static_cast<kvtool::StreamOptions::Header>((a >> 2) % 3);
    if (o.header == kvtool::StreamOptions::HEADER_NO && o.columns == "lon,lat")
        o.header = kvtool::StreamOptions::HEADER_AUTO;
    const bool inverse = a & 16;
    o.lonLatInput = !inverse;
    o.latFirstIn = !inverse && (a & 32);
    o.latFirstOut = inverse && (a & 32);
    o.strict = a & 64;
    o.marker = a & 128 ? "*" : "unplottable";
    o.precision = b % 18;
    o.blockLines = 1 + (b >> 5);
    const Run one = Convert(data, size, o, inverse);
    Check(one.status == 0 || one.status == 1 || one.status == 2);
    if (one.status != 2) {
        size_t lines = 0;
        for (char c : one.out)
            lines += c == '\n';
        Check(lines == InputLines(data, size));
        Check((one.status == 1) == !one.reports.empty());
    }
    o.threads = 2;
    const Run two = Convert(data, size, o, inverse);
    Check(two.status == one.status && two.out == one.out && two.reports == one.reports);
    return 0;
}
