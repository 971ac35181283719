// "kvproj dms": decimal degrees written as degree/minute/second text.
#include "Command.h"
#include "Numbers.h"
#include "Text.h"

#include "kvproj/angle.h"

#include <charconv>
#include <cmath>
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

namespace kvtool {
namespace {

using namespace KVProj;

struct Style {
    const char* name;
    int flags;
    int decimals;
};

// Hemisphere letters in every style, so no sign is ever needed.
const Style kStyles[] = {
    {"dms", LL_HEMISPHERE | LL_ZERO_PAD, 2},
    {"dm", LL_DECIMAL_MINUTES | LL_HEMISPHERE | LL_ZERO_PAD, 4},
    {"deg", LL_DECIMAL_DEGREES | LL_HEMISPHERE, 6},
};

// Marks that are not single bytes are written as placeholders, swapped for
// the UTF-8 text afterwards; no formatted angle contains these control bytes.
const char kPlaceholders[3] = {'\x01', '\x02', '\x03'};

struct Options {
    std::string value, style, decimals, flags, marks;
    bool latitude = false;
    CLI::Option *styleOpt = nullptr, *decimalsOpt = nullptr, *flagsOpt = nullptr,
                *marksOpt = nullptr, *valueOpt = nullptr;
};

int Usage(const std::string& message) {
    return UsageError("dms: " + message);
}

bool ParseHexFlags(std::string digits, int* value) {
    if (digits.size() > 2 && digits[0] == '0' && (digits[1] == 'x' || digits[1] == 'X'))
        digits = digits.substr(2);
    unsigned long v = 0;
    const char* last = digits.data() + digits.size();
    const std::from_chars_result r = std::from_chars(digits.data(), last, v, 16);
    if (digits.empty() || digits.size() > 8 || r.ec != std::errc() || r.ptr != last ||
        v > 0x7FFFFFFFUL)
        return false;
    *value = static_cast<int>(v);
    return true;
}

// The flag word from --flags, or from the style, decimals and --lat.
bool FlagWord(const Options& o, int* flags, std::string* error) {
    if (o.flagsOpt->count()) {
        if (o.styleOpt->count() || o.decimalsOpt->count() || o.latitude)
            return (*error = "--flags cannot be combined with --style, --decimals or --lat"), false;
        if (!ParseHexFlags(o.flags, flags))
            return (*error = "--flags needs a hexadecimal flag word, not '" + o.flags + "'"), false;
        return true;
    }
    const Style* style = &kStyles[0];
    if (o.styleOpt->count()) {
        style = nullptr;
        for (const Style& s : kStyles)
            if (o.style == s.name) style = &s;
        if (!style) return (*error = "--style must be dms, dm or deg"), false;
    }
    int decimals = style->decimals;
    if (o.decimalsOpt->count() && !ParseInteger(o.decimals, 0, LL_DECIMALS_MASK, &decimals))
        return (*error = "--decimals must be 0 to 15"), false;
    *flags = style->flags | decimals | (o.latitude ? LL_LATITUDE : 0);
    // Padding is sized for a decimal point, which whole numbers lack
    // ("000" seconds); --flags still gives that layout to those who want it.
    if (decimals == 0) *flags &= ~LL_ZERO_PAD;
    return true;
}

// Carries rounding into the next unit before the library formats: 45.99999999
// with two decimals of seconds is 46d00'00.00", never 45d59'60.00". The
// library truncates degrees and minutes and rounds the last unit, so the
// value handed to it is the rounded count of last units plus a quarter of
// one: truncation then lands in the right unit and rounding prints the count.
// Past 1e12 units the quarter would drown in rounding error; such values go
// as they are.
double RoundedForText(double value, int flags) {
    if (flags & LL_DECIMAL_DEGREES) return value;
    const double unitsPerDegree = (flags & LL_DECIMAL_MINUTES) ? 60.0 : 3600.0;
    const double scale = unitsPerDegree * std::pow(10.0, flags & LL_DECIMALS_MASK);
    const double units = std::fabs(value) * scale;
    if (!(units < 1e12)) return value;
    return std::copysign((std::round(units) + 0.25) / scale, value);
}

int Run(const Options& o) {
    if (!o.valueOpt->count()) return Usage("missing <degrees>");
    double value = 0.0;
    if (!ParseFinite(o.value, &value)) return Usage("'" + o.value + "' is not a number of degrees");
    int flags = 0;
    std::string error;
    if (!FlagWord(o, &flags, &error)) return Usage(error);

    std::vector<std::string> marks = {"d", "'", "\""};
    if (o.marksOpt->count()) {
        marks.clear();
        if (!SplitCharacters(o.marks, &marks) || marks.size() != 3)
            return Usage("--marks needs three characters (degree, minute, second)");
    }
    char markBytes[3];
    for (int k = 0; k < 3; ++k)
        markBytes[k] = marks[k].size() == 1 ? marks[k][0] : kPlaceholders[k];

    char text[LL_TEXT_LEN];
    if (!DegreesToLatLon(text, RoundedForText(value, flags), flags, markBytes[0], markBytes[1],
                         markBytes[2])) {
        char hex[16];
        std::snprintf(hex, sizeof hex, "0x%X", static_cast<unsigned>(flags));
        return Usage("cannot write " + o.value + " with flags " + hex);
    }
    std::string out = text;
    for (int k = 0; k < 3; ++k)
        if (marks[k].size() > 1) ReplaceAll(&out, std::string(1, kPlaceholders[k]), marks[k]);
    std::printf("%s\n", out.c_str());
    return EXIT_OK;
}

Runner SetUp(CLI::App& app) {
    auto o = std::make_shared<Options>();
    o->valueOpt = app.add_option("degrees", o->value, "decimal degrees, east or north positive");
    app.add_flag("--lat", o->latitude, "a latitude: N/S instead of E/W");
    o->styleOpt = app.add_option("--style", o->style, "dms (default), dm or deg");
    o->decimalsOpt = app.add_option("--decimals", o->decimals, "decimals of the last unit, 0-15");
    o->flagsOpt = app.add_option("--flags", o->flags, "the library's flag word in hexadecimal");
    o->marksOpt = app.add_option("--marks", o->marks, "three marks for deg, min, sec (d'\")");
    return [o] { return Run(*o); };
}

const KVCommand command({"dms", "dms <degrees> [options]",
                         "write decimal degrees as degree, minute and second text",
                         "  kvproj dms -- -12.5 --lat          # 12d30'00.00\"S\n"
                         "  kvproj dms 12.504166 --style dm --decimals 2\n"},
                        SetUp);

} // namespace
} // namespace kvtool
