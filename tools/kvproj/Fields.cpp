// Field splitting on one pass over the line, quotes honoured, nothing copied.
#include "Fields.h"

#include "Numbers.h"
#include "Text.h"

#include <algorithm>

namespace kvtool {
namespace {

bool IsBlank(char c) {
    return c == ' ' || c == '\t';
}

bool HasLetter(const char* s, size_t size) {
    for (size_t i = 0; i < size; ++i)
        if ((s[i] >= 'a' && s[i] <= 'z') || (s[i] >= 'A' && s[i] <= 'Z')) return true;
    return false;
}

bool IsNumberField(const char* line, Span field, double* value) {
    const Span v = FieldValue(line, field);
    return ParseNumber(line + v.begin, v.end - v.begin, value);
}

size_t SplitBlanks(const char* line, size_t size, size_t count, Span* fields) {
    size_t n = 0, pos = 0;
    while (n < count) {
        while (pos < size && IsBlank(line[pos]))
            ++pos;
        if (pos >= size) break;
        const size_t begin = pos;
        for (bool quoted = false; pos < size && (quoted || !IsBlank(line[pos])); ++pos)
            quoted ^= line[pos] == '"';
        fields[n++] = {begin, pos};
    }
    return n;
}

size_t SplitDelimited(const char* line, size_t size, char delimiter, size_t count, Span* fields) {
    size_t n = 0, pos = 0;
    while (n < count) {
        size_t begin = pos;
        for (bool quoted = false; pos < size && (quoted || line[pos] != delimiter); ++pos)
            quoted ^= line[pos] == '"';
        size_t end = pos;
        while (begin < end && IsBlank(line[begin]))
            ++begin;
        while (end > begin && IsBlank(line[end - 1]))
            --end;
        fields[n++] = {begin, end};
        if (pos >= size) break;
        ++pos; // the delimiter
    }
    return n;
}

} // namespace

size_t SplitFields(const char* line, size_t size, char delimiter, size_t count, Span* fields) {
    return delimiter == ' ' ? SplitBlanks(line, size, count, fields)
                            : SplitDelimited(line, size, delimiter, count, fields);
}

Span FieldValue(const char* line, Span field) {
    if (field.end - field.begin >= 2 && line[field.begin] == '"' && line[field.end - 1] == '"')
        return {field.begin + 1, field.end - 1};
    return field;
}

bool ReadCoordinates(const char* line, size_t size, const Dialect& d, std::vector<Span>& scratch,
                     double* first, double* second, Span* spanFirst, Span* spanSecond,
                     bool* missing) {
    const size_t count = std::max(d.colX, d.colY) + 1;
    if (scratch.size() < count) scratch.resize(count);
    const size_t n = SplitFields(line, size, d.delimiter, count, scratch.data());
    *missing = n < count;
    *spanFirst = d.colX < n ? scratch[d.colX] : Span{kNoField, kNoField};
    *spanSecond = d.colY < n ? scratch[d.colY] : Span{kNoField, kNoField};
    if (*missing) return false;
    const bool a = IsNumberField(line, *spanFirst, first);
    return IsNumberField(line, *spanSecond, second) && a;
}

char DetectDelimiter(const char* line, size_t size, const Dialect& columns, bool maybePoint) {
    bool present[3] = {false, false, false};
    static constexpr char kCandidates[3] = {'\t', ';', ','};
    for (size_t i = 0, quoted = 0; i < size; ++i) {
        quoted ^= line[i] == '"';
        for (int k = 0; k < 3 && !quoted; ++k)
            present[k] = present[k] || line[i] == kCandidates[k];
    }
    if (maybePoint) {
        std::vector<Span> scratch;
        double x = 0, y = 0;
        Span a, b;
        bool missing = false;
        Dialect d = columns;
        for (int k = 0; k <= 3; ++k) {
            if (k < 3 && !present[k]) continue;
            d.delimiter = k < 3 ? kCandidates[k] : ' ';
            if (ReadCoordinates(line, size, d, scratch, &x, &y, &a, &b, &missing))
                return d.delimiter;
        }
    }
    for (int k = 0; k < 3; ++k)
        if (present[k]) return kCandidates[k];
    return ' ';
}

bool LooksLikeHeader(const char* line, size_t size, const Dialect& d) {
    std::vector<Span> scratch;
    double x = 0, y = 0;
    Span a, b;
    bool missing = false;
    if (ReadCoordinates(line, size, d, scratch, &x, &y, &a, &b, &missing) || missing) return false;
    for (const Span s : {FieldValue(line, a), FieldValue(line, b)})
        if (ParseNumber(line + s.begin, s.end - s.begin, &x) || !HasLetter(line + s.begin, s.end - s.begin))
            return false;
    return true;
}

bool ParseColumnSpec(const std::string& text, ColumnSpec* spec, std::string* error) {
    const size_t comma = text.find(',');
    const std::string first = Trim(text.substr(0, comma));
    const std::string second = comma == std::string::npos ? "" : Trim(text.substr(comma + 1));
    *error = "--cols takes two column numbers or names, 'X,Y', not '" + text + "'";
    if (first.empty() || second.empty() || second.find(',') != std::string::npos) return false;
    long long x = 0, y = 0;
    const bool numbers = ParseInteger(first, 1LL, 1000000LL, &x) && ParseInteger(second, 1LL, 1000000LL, &y);
    const auto digit = [](const std::string& s) { return s[0] >= '0' && s[0] <= '9'; };
    if (!numbers && (digit(first) || digit(second))) {
        *error = "--cols: columns are numbered from 1, not '" + text + "'";
        return false;
    }
    if (numbers ? x == y : EqualsIgnoringCase(first, second)) {
        *error = "--cols: the two coordinates need two different columns, not '" + text + "'";
        return false;
    }
    spec->byName = !numbers;
    spec->first = first;
    spec->second = second;
    spec->colX = numbers ? static_cast<size_t>(x - 1) : 0;
    spec->colY = numbers ? static_cast<size_t>(y - 1) : 1;
    error->clear();
    return true;
}

bool ResolveColumnNames(const ColumnSpec& spec, const char* header, size_t size, Dialect* d,
                        std::string* error) {
    std::vector<Span> fields(size + 1);
    fields.resize(SplitFields(header, size, d->delimiter, fields.size(), fields.data()));
    std::vector<std::string> names;
    for (const Span f : fields) {
        const Span v = FieldValue(header, f);
        names.emplace_back(header + v.begin, v.end - v.begin);
    }
    for (const auto& want : {std::make_pair(&spec.first, &d->colX), std::make_pair(&spec.second, &d->colY)}) {
        const auto found = std::find_if(names.begin(), names.end(), [&](const std::string& n) {
            return EqualsIgnoringCase(n, *want.first);
        });
        if (found == names.end()) {
            *error = "--cols: no column '" + *want.first + "' in the header line (" +
                     Shown(Join(names, ", ")) + ")";
            return false;
        }
        *want.second = static_cast<size_t>(found - names.begin());
    }
    return true;
}

} // namespace kvtool
