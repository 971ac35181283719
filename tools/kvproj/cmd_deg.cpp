// "kvproj deg": angle text read as decimal degrees.
#include "Command.h"
#include "Text.h"

#include "kvproj/angle.h"

#include <cstdio>
#include <memory>
#include <string>
#include <vector>

namespace kvtool {
namespace {

struct Options {
    std::vector<std::string> words;
    std::string mark;
    CLI::Option* markOpt = nullptr;
};

int Usage(const std::string& message) {
    return UsageError("deg: " + message);
}

int Run(const Options& o) {
    // Words are joined, so "kvproj deg 12d 30' S" needs no quotes.
    if (o.words.empty()) return Usage("missing <text>");
    std::string text = Join(o.words);
    const std::string typed = text;
    if (text.find('\0') != std::string::npos) return Usage("the text holds a NUL byte");

    char mark = 'd';
    if (o.markOpt->count()) {
        std::vector<std::string> chars;
        if (!SplitCharacters(o.mark, &chars) || chars.size() != 1)
            return Usage("--mark needs one character");
        if (chars[0].size() == 1)
            mark = chars[0][0];
        else
            ReplaceAll(&text, chars[0], "d");
    }
    // Typographic marks as typed on most keyboards and copied from web pages.
    ReplaceAll(&text, "\xC2\xB0", "d");      // degree sign
    ReplaceAll(&text, "\xE2\x80\xB2", "'");  // prime
    ReplaceAll(&text, "\xE2\x80\xB3", "\""); // double prime

    std::vector<char> buffer(text.begin(), text.end());
    buffer.push_back('\0');
    double degrees = 0.0;
    if (!KVProj::LatLonToDegrees(buffer.data(), &degrees, mark))
        return Usage("cannot read '" + Shown(typed) + "' as an angle");
    if (degrees == 0.0) degrees = 0.0; // "-0" reads as a typo
    std::printf("%.15g\n", degrees);
    return EXIT_OK;
}

Runner SetUp(CLI::App& app) {
    auto o = std::make_shared<Options>();
    app.add_option("text", o->words,
                   "angle text: 12d30'S, 12 30 15 W, 12\xC2\xB0"
                   "30\xE2\x80\xB2");
    o->markOpt = app.add_option("--mark", o->mark, "the degree mark used instead of d");
    return [o] { return Run(*o); };
}

const KVCommand command({"deg", "deg <text> [--mark C]",
                         "read degree, minute and second text as decimal degrees",
                         "  kvproj deg \"12d30'15\\\"S\"            # -12.5041666666667\n"},
                        SetUp);

} // namespace
} // namespace kvtool
