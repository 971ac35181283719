// Line input and block output of the streaming commands (convert, grid shift,
// check): large unlocked reads and writes, every failure reported.
//
// Input: standard input or a regular file (a directory, FIFO name or device
// is refused when opened); lines end at LF or CR-LF, a last line without an
// end counts, NUL bytes stay in the line (the parsers then refuse it) and a
// line longer than the limit is reported, not cut silently. A read error
// (EIO, a file that is a directory after all) ends the stream as a failure.
// Output: one large buffer written with write(2); a short or failed write
// (a full disk, /dev/full, a closed pipe) is a failure the command reports.
// When standard input or standard output is a terminal the commands answer
// each line as it is typed: Interactive() tells them so. Input that is not a
// regular file (a pipe, a terminal) may pause: Ready() tells whether a whole
// line can be had without waiting, so that answers already made can be
// written before the next wait.
#ifndef KVPROJ_TOOL_LINEINPUT_H
#define KVPROJ_TOOL_LINEINPUT_H

#include <cstddef>
#include <string>
#include <vector>

namespace kvtool {

class LineInput {
public:
    enum Status { LINE, END, TOO_LONG, READ_FAILED };

    LineInput() = default;
    ~LineInput();
    LineInput(const LineInput&) = delete;
    LineInput& operator=(const LineInput&) = delete;

    // "-" for standard input. False with *error set when it cannot be opened.
    bool Open(const std::string& path, std::string* error);
    // Reads the lines of [data, data + size) instead of a file (tests, fuzzing).
    void OpenMemory(const char* data, size_t size, const std::string& name);
    // The name used in messages: the path, or "<stdin>".
    const std::string& Name() const { return m_name; }
    bool Interactive() const { return m_interactive; }
    // A regular file: never pauses, so answers may wait for full blocks.
    bool RegularFile() const { return m_regular; }
    // Next will not wait for input: a whole line (or the end) is in the
    // buffer, the input is a regular file, or more input is there to read.
    bool Ready();

    // The next line (without its end) as a view into the buffer, valid until
    // the next call. TOO_LONG skips the rest of the line; the caller reports it.
    Status Next(const char** text, size_t* size);
    // The line number of the last line returned.
    long long Number() const { return m_number; }
    // errno text of a read failure.
    const std::string& Error() const { return m_error; }

    static constexpr size_t kMaxLine = 1 << 20;

private:
    bool Fill();
    int m_fd = -1;
    bool m_own = false;
    bool m_interactive = false;
    bool m_regular = false;
    bool m_eof = false;
    std::string m_name;
    std::string m_error;
    std::vector<char> m_buffer;
    size_t m_begin = 0, m_end = 0;
    long long m_number = 0;
};

class BlockOutput {
public:
    // Writes to file descriptor `fd`, or appends to *sink when one is given.
    explicit BlockOutput(int fd = 1, std::string* sink = nullptr);
    // Appends to the pending text; written out when it grows past the block size.
    std::string& Text() { return m_text; }
    // Writes when the pending text is large (or always when `now`); false once
    // any write has failed.
    bool Write(bool now = false);
    bool Failed() const { return m_failed; }
    const std::string& Error() const { return m_error; }

private:
    int m_fd;
    std::string* m_sink;
    std::string m_text;
    bool m_failed = false;
    std::string m_error;
};

} // namespace kvtool

#endif
