// Private-profile sections read and written whole, with Windows semantics.
#include "frame/IniProfile.h"

#include "frame/TextFile.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <string>

namespace KVProj {
namespace Ini {
namespace {

enum class Load { Ok, Missing, Failed };

// Reads the whole file; a file above the size limit counts as unreadable.
Load ReadFile(const char* path, std::string& out) {
    out.clear();
    errno = 0;
    // Only a regular file is a profile: a FIFO or a device would block or never end.
    std::FILE* f = OpenRegularFile(path);
    if (!f) return errno == ENOENT ? Load::Missing : Load::Failed;
    char chunk[16384];
    bool ok = true;
    for (;;) {
        size_t n = std::fread(chunk, 1, sizeof chunk, f);
        if (n > 0) {
            if (out.size() + n > kMaxProfileBytes) {
                ok = false;
                break;
            }
            out.append(chunk, n);
        }
        if (n < sizeof chunk) {
            if (std::ferror(f)) ok = false;
            break;
        }
    }
    std::fclose(f);
    return ok ? Load::Ok : Load::Failed;
}

bool IsBlank(char c) {
    return c == ' ' || c == '\t' || c == '\r' || c == '\v' || c == '\f';
}

// One physical line of the file: [begin, end) without its line feed; next is
// where the following line starts.
struct LineSpan {
    size_t begin, end, next;
};

LineSpan LineAt(const std::string& text, size_t pos) {
    size_t nl = text.find('\n', pos);
    size_t next = nl == std::string::npos ? text.size() : nl + 1;
    size_t end = nl == std::string::npos ? text.size() : nl;
    return {pos, end, next};
}

// Trimmed view of [begin, end).
void Trim(const std::string& text, size_t& begin, size_t& end) {
    while (begin < end && IsBlank(text[begin]))
        ++begin;
    while (end > begin && IsBlank(text[end - 1]))
        --end;
}

char LowerAscii(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

bool EqualNoCase(const char* a, size_t an, const char* b, size_t bn) {
    if (an != bn) return false;
    for (size_t i = 0; i < an; ++i)
        if (LowerAscii(a[i]) != LowerAscii(b[i])) return false;
    return true;
}

// When the line is a section header "[name]", yields the trimmed name.
bool HeaderName(const std::string& text, const LineSpan& line, size_t& nb, size_t& ne) {
    size_t b = line.begin, e = line.end;
    Trim(text, b, e);
    if (b >= e || text[b] != '[') return false;
    size_t close = text.find(']', b + 1);
    if (close == std::string::npos || close >= e) return false;
    nb = b + 1;
    ne = close;
    Trim(text, nb, ne);
    return true;
}

// Byte range of the first section called `name`: its header line and its body,
// which runs to the next header or the end of the file.
struct SectionSpan {
    bool found = false;
    size_t header = 0, bodyBegin = 0, bodyEnd = 0;
};

SectionSpan FindSection(const std::string& text, const char* name) {
    SectionSpan s;
    const size_t nameLen = std::strlen(name);
    size_t pos = 0;
    while (pos < text.size()) {
        LineSpan line = LineAt(text, pos);
        size_t nb = 0, ne = 0;
        if (HeaderName(text, line, nb, ne)) {
            if (s.found) {
                s.bodyEnd = line.begin;
                return s;
            }
            if (EqualNoCase(text.data() + nb, ne - nb, name, nameLen)) {
                s.found = true;
                s.header = line.begin;
                s.bodyBegin = line.next;
            }
        }
        pos = line.next;
    }
    if (s.found) s.bodyEnd = text.size();
    return s;
}

bool IsComment(const std::string& text, size_t b, size_t e) {
    return b < e && text[b] == ';';
}

// An entry line in its returned form: as it stands, less its line end. Keys
// keep their blanks, so that a key written with a leading or trailing blank is
// found again under the same text.
std::string EntryText(const std::string& text, const LineSpan& line) {
    size_t e = line.end;
    if (e > line.begin && text[e - 1] == '\r') --e; // CR-LF line end
    // A zero byte would end the entry early in the returned list: cut there.
    const void* nul = std::memchr(text.data() + line.begin, '\0', e - line.begin);
    if (nul) e = static_cast<size_t>(static_cast<const char*>(nul) - text.data());
    return text.substr(line.begin, e - line.begin);
}

std::string LineEnding(const std::string& text) {
    size_t nl = text.find('\n');
    if (nl != std::string::npos && (nl == 0 || text[nl - 1] != '\r')) return "\n";
    return "\r\n";
}

} // namespace

size_t GetSection(const char* file, const char* section, char* buffer, size_t size) {
    if (!buffer || size == 0) return 0;
    buffer[0] = '\0';
    if (size == 1) return 0;
    if (size >= 2) buffer[1] = '\0';
    if (!file || !section) return 0;
    std::string text;
    if (ReadFile(file, text) != Load::Ok) return 0;
    SectionSpan s = FindSection(text, section);
    if (!s.found) return 0;

    // Room for the lines: everything but the final list terminator.
    const size_t room = size - 1;
    size_t used = 0;
    for (size_t pos = s.bodyBegin; pos < s.bodyEnd;) {
        LineSpan line = LineAt(text, pos);
        pos = line.next;
        size_t b = line.begin, e = line.end;
        Trim(text, b, e);
        if (b >= e || IsComment(text, b, e)) continue;
        std::string entry = EntryText(text, line);
        if (entry.empty()) continue;
        if (used + entry.size() + 1 > room) {
            // Cut the entry so that the list still ends in two zeros.
            size_t fit = room > used + 1 ? room - used - 1 : 0;
            std::memcpy(buffer + used, entry.data(), fit);
            buffer[used + fit] = '\0';
            buffer[size - 1] = '\0';
            return size - 2;
        }
        std::memcpy(buffer + used, entry.data(), entry.size());
        used += entry.size();
        buffer[used++] = '\0';
    }
    buffer[used] = '\0';
    return used;
}

bool WriteSection(const char* file, const char* section, const char* lines) {
    if (!file || !*file || !section) return false;
    std::string text;
    Load load = ReadFile(file, text);
    if (load == Load::Failed) return false;
    const std::string eol = LineEnding(text);

    std::string body;
    bool endsInGap = false; // the old body ended in a blank line
    SectionSpan s = FindSection(text, section);
    if (s.found) {
        // Keep the section's comments, in their order, ahead of the new entries.
        for (size_t pos = s.bodyBegin; pos < s.bodyEnd;) {
            LineSpan line = LineAt(text, pos);
            pos = line.next;
            size_t b = line.begin, e = line.end;
            Trim(text, b, e);
            endsInGap = b >= e;
            if (IsComment(text, b, e)) body.append(text, line.begin, line.next - line.begin);
        }
        if (!body.empty() && body.back() != '\n') body += eol;
    }
    if (lines) {
        for (const char* p = lines; *p; p += std::strlen(p) + 1)
            body.append(p).append(eol);
    }

    std::string out;
    if (s.found) {
        out.assign(text, 0, s.header);
        if (lines) {
            LineSpan header = LineAt(text, s.header);
            out.append(text, header.begin, header.next - header.begin);
            if (header.end == header.next) out += eol; // header on the file's last line
            out += body;
            // Keep the blank line that separated it from the next section.
            if (s.bodyEnd < text.size() && endsInGap) out += eol;
        }
        out.append(text, s.bodyEnd, std::string::npos);
    } else {
        if (!lines) return true; // nothing to remove
        out = text;
        if (!out.empty() && out.back() != '\n') out += eol;
        out.append("[").append(section).append("]").append(eol).append(body);
    }
    return WriteFileReplacing(file, out);
}

} // namespace Ini
} // namespace KVProj
