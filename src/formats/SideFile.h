// Pieces shared by the readers and writers of the georeference side files
// (reference file, world file, RSF file): file names built from an image name,
// numbers in the C locale, and the limit on control points read from a file.
#ifndef KVPROJ_FORMATS_SIDEFILE_H
#define KVPROJ_FORMATS_SIDEFILE_H

#include <string>

namespace KVProj {

// A declared control-point count above this is refused like a failed allocation
// (message 20201): no real georeference holds a million control points, and a
// hostile count must not make a reader ask for gigabytes.
constexpr int kMaxFileControlPoints = 1 << 20;

// Every number of the side files: 15 significant digits, G style, C locale.
std::string FileNumber(double value);

// atoi in the C locale, with values beyond the int range clamped to it.
int AtoiC(const char* text);

// Blank, tab, CR or LF: the white space the side-file readers skip.
inline bool IsFileSpace(char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\n'; }
inline const char* SkipFileSpace(const char* p) {
    while (IsFileSpace(*p))
        ++p;
    return p;
}

// The extension of `name` without its dot ("" when it has none) and `name`
// without its extension and dot (the companion library's rules).
std::string FileExtension(const char* name);
std::string DropExtension(const char* name);

// The world file of an image: the name without its extension, a dot, the first
// and third letters of the extension and "W" (map.tif -> map.tfW). For an
// extension shorter than three letters the writer appends "W" to the whole name
// (`shortWhole` true), the reader to the name without its extension.
std::string WorldFileName(const char* image, bool shortWhole);

// The RSF file of an image: the name without its extension plus ".RSF".
std::string RsfFileName(const char* image);

// The file a reader opens for `name`: the name as it stands, else one differing
// only in letter case; "" when there is none.
std::string FindSideFile(const std::string& name);

// Removes `path`; true when it was removed or did not exist.
bool RemoveIfPresent(const std::string& path);

} // namespace KVProj

#endif
