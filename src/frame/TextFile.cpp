#include "frame/TextFile.h"

#include <atomic>
#include <chrono>
#include <sys/stat.h>

namespace KVProj {

std::FILE* OpenRegularFile(const char* path) {
    if (!path || !*path) return nullptr;
    struct stat st;
    if (::stat(path, &st) != 0 || !S_ISREG(st.st_mode)) return nullptr;
    std::FILE* f = std::fopen(path, "rb");
    if (!f) return nullptr;
    // The name may have been replaced between the two calls: check what was opened.
    if (::fstat(fileno(f), &st) != 0 || !S_ISREG(st.st_mode)) {
        std::fclose(f);
        return nullptr;
    }
    return f;
}

LineReader::LineReader(size_t maxLine) : m_maxLine(maxLine ? maxLine : 1) {}

LineReader::~LineReader() { Close(); }

bool LineReader::Open(const char* path) {
    Close();
    m_file = OpenRegularFile(path);
    return m_file != nullptr;
}

void LineReader::Close() {
    if (m_file) std::fclose(m_file);
    m_file = nullptr;
    m_truncated = false;
    m_failed = false;
}

bool LineReader::Next(std::string& line) {
    line.clear();
    if (!m_file) return false;
    bool any = false;
    bool heldCR = false; // a CR just past the limit: the end of a CR-LF, or content
    int c;
    while ((c = std::getc(m_file)) != EOF) {
        any = true;
        if (c == '\n') break;
        if (heldCR) m_truncated = true; // the held CR was not followed by LF
        heldCR = false;
        if (line.size() < m_maxLine) {
            line.push_back(static_cast<char>(c));
        } else if (c == '\r') {
            heldCR = true;
        } else {
            m_truncated = true;
        }
    }
    if (heldCR && c != '\n') m_truncated = true;
    if (c == EOF && std::ferror(m_file)) {
        m_failed = true;
        return false;
    }
    if (!any) return false;
    if (!line.empty() && line.back() == '\r') line.pop_back();
    return true;
}

bool LineReader::Rewind() {
    if (!m_file) return false;
    std::clearerr(m_file);
    m_truncated = false;
    m_failed = false;
    return std::fseek(m_file, 0, SEEK_SET) == 0;
}

namespace {
std::atomic<unsigned> g_tempCounter{0};
}

bool WriteFileReplacing(const char* path, const std::string& text) {
    if (!path || !*path) return false;
    std::string temp;
    std::FILE* f = nullptr;
    for (int attempt = 0; attempt < 16 && !f; ++attempt) {
        unsigned long long tag =
            static_cast<unsigned long long>(
                std::chrono::steady_clock::now().time_since_epoch().count()) ^
            (static_cast<unsigned long long>(g_tempCounter.fetch_add(1)) << 40);
        char suffix[40];
        std::snprintf(suffix, sizeof suffix, ".~kv%llx.tmp", tag);
        temp = std::string(path) + suffix;
        f = std::fopen(temp.c_str(), "wbx");
    }
    if (!f) return false;
    bool ok = std::fwrite(text.data(), 1, text.size(), f) == text.size();
    ok = std::fflush(f) == 0 && ok;
    ok = std::fclose(f) == 0 && ok;
    if (ok && std::rename(temp.c_str(), path) != 0) {
#if defined(_WIN32)
        // Where rename will not replace an existing file, remove it first.
        ok = std::remove(path) == 0 && std::rename(temp.c_str(), path) == 0;
#else
        // POSIX rename replaces a file atomically; failing, it met something
        // that must stay (a folder, another file system): leave it untouched.
        ok = false;
#endif
    }
    if (!ok) std::remove(temp.c_str());
    return ok;
}

} // namespace KVProj
