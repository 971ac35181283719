// Well-known text: the bracketed tree of a ".prj" file, its tokenizer, parser
// and one-line writer. Only syntax lives here; the mapping between names and
// projection records is in EsriPrj.cpp.
#ifndef KVPROJ_FORMATS_WKT_H
#define KVPROJ_FORMATS_WKT_H

#include <string>
#include <vector>

namespace KVProj {

// One node: a keyword with children, a quoted text (a text node without
// children) or a number.
struct WktNode {
    bool bIsText = true;
    std::string Text;
    double Value = 0.0;
    std::vector<WktNode> Children;

    void SetText(const std::string& text);
    void SetNumber(double value);
    WktNode& AddText(const std::string& text);
    WktNode& AddNumber(double value);
    WktNode& AddChild(const WktNode& node);
    void Clear();
    // Depth first, this node first: the first text node whose text equals
    // `keyword` ignoring case; null when there is none.
    const WktNode* Find(const char* keyword) const;
    // True for a text node whose text equals `text` ignoring case.
    bool CompareText(const char* text) const;
    // The text of child `index`, "" when there is no such child.
    const std::string& ChildText(size_t index) const;
};

// Deepest nesting the parser builds; a deeper "[" ends parsing. A line of 4096
// characters cannot nest deeper than 2048 levels ("a[a[...").
constexpr int kWktMaxDepth = 2048;
// Longest first line read from a file.
constexpr size_t kWktMaxLine = 4096;

// Cuts `text` (up to its first NUL) into tokens: '[', ']' and ',' on their own,
// texts in double or single quotes without their quotes (an unclosed quote runs
// to the end), and runs of other characters up to white space or a bracket.
std::vector<std::string> TokenizeWkt(const char* text);

// Parses one line into the children of a root node named "Root".
WktNode ParseWkt(const char* text);

// The tree on one line: numbers with "%.16G", keywords with children bare and
// followed by their bracketed children, other texts in double quotes.
std::string WriteWkt(const WktNode& node);

} // namespace KVProj

#endif
