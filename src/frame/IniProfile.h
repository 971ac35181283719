// Private-profile (INI) sections: the portable equivalent of the Windows
// section read and write calls, for the few settings the library keeps in a
// file its caller names.
//
// Section names are compared ignoring ASCII case; the first section of a name
// is the one read and rewritten. Everything outside the rewritten section is
// kept byte for byte. A write goes to a temporary file beside the profile that
// is then renamed over it, so an interrupted write leaves the old file whole.
#ifndef KVPROJ_FRAME_INIPROFILE_H
#define KVPROJ_FRAME_INIPROFILE_H

#include <cstddef>

namespace KVProj {
namespace Ini {

// Profiles larger than this are refused rather than read into memory.
constexpr size_t kMaxProfileBytes = 64u * 1024u * 1024u;

// Copies the entries of `section` into `buffer` as zero-terminated lines
// (each line as it stands, blanks around the key and value kept, less its LF or
// CR-LF end; blank and ";" comment lines skipped), followed by one more zero.
// Returns the number of characters written before that last zero; when the
// section does not fit, the last line is cut, and the result is size - 2.
// A missing file or section gives an empty list (result 0).
size_t GetSection(const char* file, const char* section, char* buffer, size_t size);

// Replaces the entries of `section` with `lines`, zero-terminated lines ended
// by an empty one; comment lines of the section stay. The section is appended
// when absent and the file created when missing. A null `lines` removes the
// section. False when the profile cannot be read or written; the file is then
// left as it was.
bool WriteSection(const char* file, const char* section, const char* lines);

} // namespace Ini
} // namespace KVProj

#endif
