// The columns of a point file: how a line splits into fields, which fields
// hold the coordinates, and whether the first line names the columns.
//
// A file's delimiter is decided once, on its first line that is neither blank
// nor a '#' comment: a tab, a semicolon or a comma found outside double
// quotes, tried in that order, or else runs of blanks. Where that line is a
// point, the first of those under which both coordinate fields read as
// numbers wins ("-86 32 station A, B" stays blank-separated). Double quotes
// group a field ("a, b" is one field); blanks around a delimited field are
// not part of its value and stay where they are on output.
#ifndef KVPROJ_TOOL_FIELDS_H
#define KVPROJ_TOOL_FIELDS_H

#include <cstddef>
#include <string>
#include <vector>

namespace kvtool {

// A field as [begin, end) offsets into its line, blanks around it excluded.
struct Span {
    size_t begin = 0, end = 0;
};
// The span of a field the line does not have.
constexpr size_t kNoField = static_cast<size_t>(-1);

struct Dialect {
    char delimiter = ' '; // ' ' (runs of blanks and tabs), '\t', ';' or ','
    size_t colX = 0;      // 0-based columns of the first and second coordinate
    size_t colY = 1;
};

// The spans of the first `count` fields of the line (fewer when the line has
// fewer); returns how many were found.
size_t SplitFields(const char* line, size_t size, char delimiter, size_t count, Span* fields);

// The field's value: without one pair of enclosing double quotes.
Span FieldValue(const char* line, Span field);

// Reads the two coordinate fields; false when either is missing or not a
// number. *missing says which case it was; a field the line lacks has the
// span {kNoField, kNoField}.
bool ReadCoordinates(const char* line, size_t size, const Dialect& d, std::vector<Span>& scratch,
                     double* first, double* second, Span* spanFirst, Span* spanSecond,
                     bool* missing);

// The delimiter of a file whose first non-comment line is `line` (see above);
// `maybePoint` false when the line is known to be a header.
char DetectDelimiter(const char* line, size_t size, const Dialect& columns, bool maybePoint);

// True when both coordinate fields exist, neither is a number and both hold
// a letter: the line names the columns.
bool LooksLikeHeader(const char* line, size_t size, const Dialect& d);

// What "--cols" asks for: two 1-based column numbers ("3,4") or two names
// ("lon,lat") looked up in the header, ignoring case.
struct ColumnSpec {
    bool byName = false;
    std::string first, second; // the names
    size_t colX = 0, colY = 1; // the numbers, 0-based
};
bool ParseColumnSpec(const std::string& text, ColumnSpec* spec, std::string* error);
// Resolves names against the header line into d->colX/colY.
bool ResolveColumnNames(const ColumnSpec& spec, const char* header, size_t size, Dialect* d,
                        std::string* error);

} // namespace kvtool

#endif
