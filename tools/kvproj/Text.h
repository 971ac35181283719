// Small text helpers the tool's commands share.
#ifndef KVPROJ_TOOL_TEXT_H
#define KVPROJ_TOOL_TEXT_H

#include <string>
#include <vector>

namespace kvtool {

// ASCII letters compared ignoring case.
bool EqualsIgnoringCase(const std::string& a, const std::string& b);

// True when `text` holds `part` with ASCII letters compared ignoring case
// (always for an empty `part`).
bool ContainsIgnoringCase(const std::string& text, const std::string& part);

// `s` without leading and trailing blanks, tabs and line ends.
std::string Trim(const std::string& s);

// The words joined by single blanks.
std::string Join(const std::vector<std::string>& words, const char* separator = " ");

// Splits `text` into whole UTF-8 characters; false for malformed text.
bool SplitCharacters(const std::string& text, std::vector<std::string>* chars);

// Bytes of the well-formed UTF-8 character starting at `text[at]`; 0 when
// the bytes there do not form one.
size_t Utf8CharLength(const std::string& text, size_t at);

// Replaces every `from` in `text` by `to`.
void ReplaceAll(std::string* text, const std::string& from, const std::string& to);

// `text` for a message: control bytes and NUL shown as "\xNN" escapes, cut
// after `limit` bytes with "..." so that a huge or binary line cannot flood
// the terminal.
std::string Shown(const std::string& text, size_t limit = 80);

} // namespace kvtool

#endif
