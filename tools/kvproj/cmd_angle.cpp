// "kvproj dms" and "kvproj deg": angles between decimal degrees and
// degree/minute/second text.
#include "Command.h"

#include "kvproj/angle.h"

#include <cerrno>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

namespace kvtool {
namespace {

using namespace KVProj;

// Number of bytes of the UTF-8 character that starts with `lead`; 0 for a
// byte that cannot start one.
size_t Utf8Length(unsigned char lead) {
    if (lead < 0x80) return 1;
    if (lead >= 0xC2 && lead <= 0xDF) return 2;
    if (lead >= 0xE0 && lead <= 0xEF) return 3;
    if (lead >= 0xF0 && lead <= 0xF4) return 4;
    return 0;
}

// Splits `text` into whole UTF-8 characters; false for malformed text.
bool SplitCharacters(const std::string& text, std::vector<std::string>* chars) {
    for (size_t i = 0; i < text.size();) {
        const size_t n = Utf8Length(static_cast<unsigned char>(text[i]));
        if (n == 0 || i + n > text.size()) return false;
        for (size_t k = 1; k < n; ++k)
            if ((static_cast<unsigned char>(text[i + k]) & 0xC0) != 0x80) return false;
        chars->push_back(text.substr(i, n));
        i += n;
    }
    return true;
}

void ReplaceAll(std::string* text, const std::string& from, const std::string& to) {
    if (from.empty()) return;
    for (size_t at = text->find(from); at != std::string::npos;
         at = text->find(from, at + to.size()))
        text->replace(at, from.size(), to);
}

bool ParseDegrees(const std::string& text, double* value) {
    if (text.empty()) return false;
    errno = 0;
    char* end = nullptr;
    const double v = std::strtod(text.c_str(), &end);
    if (errno != 0 || *end != '\0' || !std::isfinite(v)) return false;
    *value = v;
    return true;
}

bool ParseDecimals(const std::string& text, int* value) {
    if (text.empty() || text.size() > 2) return false;
    for (char c : text)
        if (c < '0' || c > '9') return false;
    *value = std::atoi(text.c_str());
    return *value <= LL_DECIMALS_MASK;
}

bool ParseHexFlags(const std::string& text, int* value) {
    std::string digits = text;
    if (digits.size() > 2 && digits[0] == '0' && (digits[1] == 'x' || digits[1] == 'X'))
        digits = digits.substr(2);
    if (digits.empty() || digits.size() > 8) return false;
    errno = 0;
    char* end = nullptr;
    const unsigned long v = std::strtoul(digits.c_str(), &end, 16);
    if (errno != 0 || *end != '\0' || digits[0] == '-' || digits[0] == '+' || v > 0x7FFFFFFFUL)
        return false;
    *value = static_cast<int>(v);
    return true;
}

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

int WriteAngle(const std::vector<std::string>& args) {
    std::string valueText, styleName, decimalsText, flagsText, marksText;
    bool haveValue = false, latitude = false, haveStyle = false, haveDecimals = false,
         haveFlags = false, haveMarks = false;

    for (size_t i = 0; i < args.size(); ++i) {
        const std::string& a = args[i];
        double probe = 0.0;
        if (a.size() >= 2 && a[0] == '-' && a[1] == '-') {
            if (a == "--lat") {
                latitude = true;
                continue;
            }
            std::string* target = nullptr;
            bool* seen = nullptr;
            if (a == "--style") target = &styleName, seen = &haveStyle;
            if (a == "--decimals") target = &decimalsText, seen = &haveDecimals;
            if (a == "--flags") target = &flagsText, seen = &haveFlags;
            if (a == "--marks") target = &marksText, seen = &haveMarks;
            if (!target) return UsageError("dms: unknown option '" + a + "'");
            if (i + 1 >= args.size()) return UsageError("dms: " + a + " needs a value");
            *target = args[++i];
            *seen = true;
        } else if (!haveValue && (ParseDegrees(a, &probe) || a.empty() || a[0] != '-')) {
            valueText = a;
            haveValue = true;
        } else if (haveValue) {
            return UsageError("dms: unexpected argument '" + a + "'");
        } else {
            return UsageError("dms: unknown option '" + a + "'");
        }
    }

    if (!haveValue) return UsageError("dms: missing <degrees>");
    double value = 0.0;
    if (!ParseDegrees(valueText, &value))
        return UsageError("dms: '" + valueText + "' is not a number of degrees");

    int flags = 0;
    if (haveFlags) {
        if (haveStyle || haveDecimals || latitude)
            return UsageError("dms: --flags cannot be combined with --style, --decimals or --lat");
        if (!ParseHexFlags(flagsText, &flags))
            return UsageError("dms: --flags needs a hexadecimal flag word, not '" + flagsText +
                              "'");
    } else {
        const Style* style = &kStyles[0];
        if (haveStyle) {
            style = nullptr;
            for (const Style& s : kStyles)
                if (styleName == s.name) style = &s;
            if (!style) return UsageError("dms: --style must be dms, dm or deg");
        }
        int decimals = style->decimals;
        if (haveDecimals && !ParseDecimals(decimalsText, &decimals))
            return UsageError("dms: --decimals must be 0 to 15");
        flags = style->flags | decimals | (latitude ? LL_LATITUDE : 0);
        // Padding is sized for a decimal point, which whole numbers lack
        // ("000" seconds); --flags still gives that layout to those who want it.
        if (decimals == 0) flags &= ~LL_ZERO_PAD;
    }

    std::vector<std::string> marks = {"d", "'", "\""};
    if (haveMarks) {
        marks.clear();
        if (!SplitCharacters(marksText, &marks) || marks.size() != 3)
            return UsageError("dms: --marks needs three characters (degree, minute, second)");
    }
    char markBytes[3];
    for (int k = 0; k < 3; ++k)
        markBytes[k] = marks[k].size() == 1 ? marks[k][0] : kPlaceholders[k];

    char text[LL_TEXT_LEN];
    if (!DegreesToLatLon(text, value, flags, markBytes[0], markBytes[1], markBytes[2])) {
        char hex[16];
        std::snprintf(hex, sizeof hex, "0x%X", static_cast<unsigned>(flags));
        return UsageError("dms: cannot write " + valueText + " with flags " + hex);
    }
    std::string out = text;
    for (int k = 0; k < 3; ++k)
        if (marks[k].size() > 1) ReplaceAll(&out, std::string(1, kPlaceholders[k]), marks[k]);
    std::printf("%s\n", out.c_str());
    return EXIT_OK;
}

int ReadAngle(const std::vector<std::string>& args) {
    std::string text, markText;
    bool haveText = false, haveMark = false;
    for (size_t i = 0; i < args.size(); ++i) {
        const std::string& a = args[i];
        if (a == "--mark") {
            if (i + 1 >= args.size()) return UsageError("deg: --mark needs a value");
            markText = args[++i];
            haveMark = true;
        } else if (a.size() >= 2 && a[0] == '-' && a[1] == '-') {
            return UsageError("deg: unknown option '" + a + "'");
        } else {
            // Words are joined, so "kvproj deg 12d 30' S" needs no quotes.
            text += (haveText ? " " : "") + a;
            haveText = true;
        }
    }
    if (!haveText) return UsageError("deg: missing <text>");
    const std::string typed = text;

    char mark = 'd';
    std::vector<std::string> markChars;
    if (haveMark) {
        if (!SplitCharacters(markText, &markChars) || markChars.size() != 1)
            return UsageError("deg: --mark needs one character");
        if (markChars[0].size() == 1)
            mark = markChars[0][0];
        else
            ReplaceAll(&text, markChars[0], "d");
    }
    // Typographic marks as typed on most keyboards and copied from web pages.
    ReplaceAll(&text, "\xC2\xB0", "d");      // degree sign
    ReplaceAll(&text, "\xE2\x80\xB2", "'");  // prime
    ReplaceAll(&text, "\xE2\x80\xB3", "\""); // double prime

    std::vector<char> buffer(text.begin(), text.end());
    buffer.push_back('\0');
    double degrees = 0.0;
    if (!LatLonToDegrees(buffer.data(), &degrees, mark))
        return UsageError("deg: cannot read '" + typed + "' as an angle");
    if (degrees == 0.0) degrees = 0.0; // "-0" reads as a typo
    std::printf("%.15g\n", degrees);
    return EXIT_OK;
}

KVCommand writeCommand("dms", "dms <degrees> [options]",
                       "write degrees as text: --style dms|dm|deg or --flags HEX, "
                       "--decimals N, --lat, --marks DMS",
                       WriteAngle);
KVCommand readCommand("deg", "deg <text> [--mark C]", "read angle text as decimal degrees",
                      ReadAngle);

} // namespace
} // namespace kvtool
