// Small text helpers the tool's commands share.
#include "Text.h"

#include <cstdio>

namespace kvtool {
namespace {

char LowerAscii(char c) {
    return (c >= 'A' && c <= 'Z') ? static_cast<char>(c - 'A' + 'a') : c;
}

// Number of bytes of the UTF-8 character that starts with `lead`; 0 for a
// byte that cannot start one.
size_t Utf8Length(unsigned char lead) {
    if (lead < 0x80) return 1;
    if (lead >= 0xC2 && lead <= 0xDF) return 2;
    if (lead >= 0xE0 && lead <= 0xEF) return 3;
    if (lead >= 0xF0 && lead <= 0xF4) return 4;
    return 0;
}

} // namespace

bool EqualsIgnoringCase(const std::string& a, const std::string& b) {
    if (a.size() != b.size()) return false;
    for (size_t i = 0; i < a.size(); ++i)
        if (LowerAscii(a[i]) != LowerAscii(b[i])) return false;
    return true;
}

bool ContainsIgnoringCase(const std::string& text, const std::string& part) {
    if (part.size() > text.size()) return false;
    for (size_t at = 0; at + part.size() <= text.size(); ++at)
        if (EqualsIgnoringCase(text.substr(at, part.size()), part)) return true;
    return false;
}

std::string Trim(const std::string& s) {
    const char* blanks = " \t\r\n";
    const size_t first = s.find_first_not_of(blanks);
    if (first == std::string::npos) return "";
    return s.substr(first, s.find_last_not_of(blanks) - first + 1);
}

std::string Join(const std::vector<std::string>& words, const char* separator) {
    std::string text;
    for (size_t i = 0; i < words.size(); ++i)
        text += (i ? separator : "") + words[i];
    return text;
}

size_t Utf8CharLength(const std::string& text, size_t at) {
    if (at >= text.size()) return 0;
    const size_t n = Utf8Length(static_cast<unsigned char>(text[at]));
    if (n == 0 || at + n > text.size()) return 0;
    for (size_t k = 1; k < n; ++k)
        if ((static_cast<unsigned char>(text[at + k]) & 0xC0) != 0x80) return 0;
    // No overlong forms, no surrogates, nothing past U+10FFFF.
    const unsigned char lead = static_cast<unsigned char>(text[at]);
    const unsigned char next = n > 1 ? static_cast<unsigned char>(text[at + 1]) : 0;
    if ((lead == 0xE0 && next < 0xA0) || (lead == 0xED && next >= 0xA0) ||
        (lead == 0xF0 && next < 0x90) || (lead == 0xF4 && next >= 0x90))
        return 0;
    return n;
}

bool SplitCharacters(const std::string& text, std::vector<std::string>* chars) {
    for (size_t i = 0; i < text.size();) {
        const size_t n = Utf8CharLength(text, i);
        if (n == 0) return false;
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

std::string Shown(const std::string& text, size_t limit) {
    std::string out;
    for (size_t i = 0; i < text.size() && i < limit; ++i) {
        const unsigned char c = static_cast<unsigned char>(text[i]);
        if (c < 0x20 || c == 0x7F) {
            char escape[8];
            std::snprintf(escape, sizeof escape, "\\x%02X", c);
            out += escape;
        } else {
            out += text[i];
        }
    }
    if (text.size() > limit) out += "...";
    return out;
}

} // namespace kvtool
