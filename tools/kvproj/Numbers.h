// The one number reader and writer of the tool. Every number typed on the
// command line, read from an input line or printed goes through these, so all
// commands agree on what a number is, whatever locale the process runs in.
//
// A number is an optional sign, decimal digits with an optional point, and an
// optional exponent ("-12.5", "+3", ".5", "1e-3"); also "inf", "infinity" and
// "nan" in any letter case. Blanks, hexadecimal, decimal commas and trailing
// text are refused, and so is a value beyond the range of a double ("1e999"):
// a number is read as the value it says or not at all. Whether a non-finite
// value is acceptable is the caller's choice: options and coordinates take
// ParseFinite.
#ifndef KVPROJ_TOOL_NUMBERS_H
#define KVPROJ_TOOL_NUMBERS_H

#include <cstddef>
#include <string>

namespace kvtool {

// Reads the whole of [text, text + size) as one number (see above).
bool ParseNumber(const char* text, size_t size, double* value);
bool ParseNumber(const std::string& text, double* value);

// ParseNumber, and the value is finite.
bool ParseFinite(const std::string& text, double* value);

// A whole decimal number (optional sign, digits only) within [lo, hi].
bool ParseInteger(const std::string& text, long long lo, long long hi, long long* value);
bool ParseInteger(const std::string& text, int lo, int hi, int* value);

// Decimal degrees or degree text ("-111.5", "111d30'W"); finite only.
bool ParseAngle(const std::string& text, double* value);

// Appends `v` with `decimals` digits after the point, exactly as printf's
// "%.*f" would and never cut short: the text reads back as `v` rounded to
// that many decimals. Non-finite values are written "nan", "inf", "-inf".
void AppendFixed(std::string& out, double v, int decimals);
std::string FormatFixed(double v, int decimals);

// The shortest "%.15g" to "%.17g" text that reads back as exactly `v`
// ("0.99996", "609601.2192024384", "1e+300").
std::string FormatShortest(double v);

// The most decimals a command prints.
constexpr int kMaxDecimals = 17;

} // namespace kvtool

#endif
