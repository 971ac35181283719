// Numbers in files and logs are written and read in the C locale, whatever
// locale the host process has set: a host running under a decimal-comma locale
// still writes "0.5" and reads it back. These are the C-locale equivalents of
// snprintf, strtod and atof with exactly their syntax and rounding.
#ifndef KVPROJ_FRAME_CNUMBER_H
#define KVPROJ_FRAME_CNUMBER_H

#include <cstdarg>
#include <cstddef>
#include <string>

#if defined(__GNUC__)
#define KVPROJ_CPRINTF(fmt, args) __attribute__((format(printf, fmt, args)))
#else
#define KVPROJ_CPRINTF(fmt, args)
#endif

namespace KVProj {

// snprintf in the C locale; the same result and return value.
int FormatC(char* buffer, size_t size, const char* format, ...) KVPROJ_CPRINTF(3, 4);
int FormatCV(char* buffer, size_t size, const char* format, va_list args);
// The formatted text as a string (any length).
std::string FormatCString(const char* format, ...) KVPROJ_CPRINTF(1, 2);

// strtod in the C locale (leading blanks, optional sign, decimal or hexadecimal
// digits, "inf", "nan"); `end` may be null.
double StrtodC(const char* text, char** end);
// atof in the C locale: the longest number at the start of `text`, 0 when there
// is none; a null text reads as 0.
double AtofC(const char* text);
// Strict reading: the whole text (surrounding blanks allowed) must be one finite
// number. False for empty text, trailing junk, NaN and infinities.
bool ParseFiniteC(const char* text, double& value);

} // namespace KVProj

#endif
