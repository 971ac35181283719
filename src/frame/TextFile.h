// The text-file layer of every side-file reader and writer.
//
// Reading: lines ended by LF or CR-LF (a last line without an end counts), each
// bounded in length; only regular files are opened, so a directory, a FIFO or a
// device given as a file name fails at once instead of blocking or erroring late.
// Writing: the whole text goes to a temporary sibling that is then renamed over
// the target, so a failed or interrupted write leaves the old file or none.
#ifndef KVPROJ_FRAME_TEXTFILE_H
#define KVPROJ_FRAME_TEXTFILE_H

#include <cstdio>
#include <string>

namespace KVProj {

// Opens `path` for binary reading when it names a regular file (symbolic links
// to one are followed); null otherwise. The caller closes it.
std::FILE* OpenRegularFile(const char* path);

class LineReader {
public:
    // Lines longer than `maxLine` characters are cut there; the rest of such a
    // line is skipped and Truncated() reports it.
    explicit LineReader(size_t maxLine = 4096);
    ~LineReader();
    LineReader(const LineReader&) = delete;
    LineReader& operator=(const LineReader&) = delete;

    bool Open(const char* path); // false when not a readable regular file
    bool IsOpen() const { return m_file != nullptr; }
    void Close();
    // The next line without its LF or CR-LF; false at the end of the file or on a
    // read error (Failed() tells which). NUL bytes are kept in the line.
    bool Next(std::string& line);
    bool Truncated() const { return m_truncated; }
    bool Failed() const { return m_failed; }
    // Goes back to the start of the file.
    bool Rewind();

private:
    std::FILE* m_file = nullptr;
    size_t m_maxLine;
    bool m_truncated = false;
    bool m_failed = false;
};

// Writes `text` to `path` through a temporary sibling renamed over it. False when
// the sibling cannot be created, written, flushed or renamed; the target is then
// untouched and the sibling removed.
bool WriteFileReplacing(const char* path, const std::string& text);

} // namespace KVProj

#endif
