// Line input and block output on file descriptors.
#include "LineInput.h"

#include "frame/TextFile.h"

#include <cerrno>
#include <cstdio>
#include <cstring>

#include <poll.h>
#include <sys/stat.h>

#if defined(_WIN32)
#include <io.h>
#define KV_ISATTY(fd) _isatty(fd)
#else
#include <unistd.h>
#define KV_ISATTY(fd) isatty(fd)
#endif

namespace kvtool {
namespace {

constexpr size_t kChunk = 1 << 20;
constexpr size_t kOutBlock = 1 << 20;

} // namespace

LineInput::~LineInput() {
    if (m_own && m_fd >= 0) ::close(m_fd);
}

bool LineInput::Open(const std::string& path, std::string* error) {
    if (path == "-") {
        m_fd = 0;
        m_name = "<stdin>";
    } else {
        std::FILE* f = KVProj::OpenRegularFile(path.c_str());
        if (!f) {
            *error = "cannot open '" + path +
                     "': " + (errno ? std::strerror(errno) : "not a regular file");
            return false;
        }
        m_fd = ::dup(fileno(f));
        std::fclose(f);
        m_own = true;
        m_name = path;
        if (m_fd < 0) return (*error = "cannot open '" + path + "'"), false;
    }
    m_interactive = KV_ISATTY(m_fd) != 0 || KV_ISATTY(1) != 0;
    struct stat st;
    m_regular = ::fstat(m_fd, &st) == 0 && S_ISREG(st.st_mode);
    m_buffer.resize(kChunk);
    return true;
}

void LineInput::OpenMemory(const char* data, size_t size, const std::string& name) {
    m_name = name;
    m_buffer.assign(data, data + size);
    m_buffer.push_back('\n'); // never empty; the byte past the end is not read
    m_begin = 0;
    m_end = size;
    m_eof = true;
    m_regular = true;
}

bool LineInput::Ready() {
    if (m_eof || m_regular) return true;
    if (m_end > m_begin && std::memchr(m_buffer.data() + m_begin, '\n', m_end - m_begin)) return true;
    struct pollfd p = {m_fd, POLLIN, 0};
    return ::poll(&p, 1, 0) != 0; // data, the end or an error: a read answers at once
}

// Moves the unread text to the front and reads more; false at the end or on failure.
bool LineInput::Fill() {
    if (m_eof) return false;
    if (m_begin > 0) {
        std::memmove(m_buffer.data(), m_buffer.data() + m_begin, m_end - m_begin);
        m_end -= m_begin;
        m_begin = 0;
    }
    if (m_end == m_buffer.size()) m_buffer.resize(m_buffer.size() * 2);
    for (;;) {
        const ssize_t n = ::read(m_fd, m_buffer.data() + m_end, m_buffer.size() - m_end);
        if (n > 0) {
            m_end += static_cast<size_t>(n);
            return true;
        }
        if (n < 0 && errno == EINTR) continue;
        if (n < 0) m_error = std::strerror(errno);
        m_eof = true;
        return false;
    }
}

LineInput::Status LineInput::Next(const char** text, size_t* size) {
    for (size_t scanned = m_begin;;) {
        const void* lf = std::memchr(m_buffer.data() + scanned, '\n', m_end - scanned);
        if (lf || (m_eof && m_end > m_begin)) {
            const char* first = m_buffer.data() + m_begin;
            const char* last = lf ? static_cast<const char*>(lf) : m_buffer.data() + m_end;
            m_begin = lf ? static_cast<size_t>(last - m_buffer.data()) + 1 : m_end;
            if (last > first && last[-1] == '\r') --last;
            ++m_number;
            *text = first;
            *size = static_cast<size_t>(last - first);
            if (*size > kMaxLine) return TOO_LONG;
            return LINE;
        }
        scanned = m_end;
        if (m_end - m_begin > kMaxLine) {
            // Skip the rest of an over-long line without keeping it.
            m_begin = m_end = 0;
            scanned = 0;
            for (;;) {
                if (!Fill()) break;
                const void* end = std::memchr(m_buffer.data(), '\n', m_end);
                if (end) {
                    m_begin =
                        static_cast<size_t>(static_cast<const char*>(end) - m_buffer.data()) + 1;
                    break;
                }
                m_end = 0;
            }
            ++m_number;
            if (!m_error.empty()) return READ_FAILED;
            return TOO_LONG;
        }
        const size_t before = m_end - m_begin;
        if (!Fill()) {
            if (!m_error.empty()) return READ_FAILED;
            if (m_end > m_begin) continue;
            return END;
        }
        scanned = m_begin + before;
    }
}

BlockOutput::BlockOutput(int fd, std::string* sink) : m_fd(fd), m_sink(sink) {
    m_text.reserve(kOutBlock + 4096);
}

bool BlockOutput::Write(bool now) {
    if (m_failed) return false;
    if (!now && m_text.size() < kOutBlock) return true;
    if (m_sink) {
        m_sink->append(m_text);
        m_text.clear();
        return true;
    }
    const char* p = m_text.data();
    size_t left = m_text.size();
    while (left > 0) {
        const ssize_t n = ::write(m_fd, p, left);
        if (n < 0 && errno == EINTR) continue;
        if (n <= 0) {
            m_failed = true;
            m_error = n < 0 ? std::strerror(errno) : "nothing written";
            return false;
        }
        p += n;
        left -= static_cast<size_t>(n);
    }
    m_text.clear();
    return true;
}

} // namespace kvtool
