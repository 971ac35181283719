// Finding the files that sit beside a map, an image or the executable.
//
// The side-file formats come from file systems that ignore letter case: "MAP.TFW",
// "map.tfw" and "Map.Tfw" name one file there. On a case-sensitive file system a
// reader first tries the name as it stands and then any name in the same folder
// that differs from it only in ASCII letter case.
#ifndef KVPROJ_FRAME_SIBLINGFILE_H
#define KVPROJ_FRAME_SIBLINGFILE_H

#include <cstddef>
#include <cstdio>
#include <string>
#include <vector>

namespace KVProj {

// True when `a` and `b` are equal ignoring ASCII letter case.
bool EqualIgnoringCase(const char* a, const char* b);

// The existing file that `path` names, as it stands or differing only in the
// letter case of its last component; "" when there is none. When several names
// match, the first in directory order that is a regular file wins.
std::string FindIgnoringCase(const std::string& path);

// `path` with everything from its last '.' after the last '/' replaced by
// `extension` (which includes its dot); appended when the name has no dot.
std::string WithExtension(const std::string& path, const char* extension);

// `name` in the folder of the running executable; "" when that folder is unknown.
std::string BesideExecutable(const char* name);

// ---------------------------------------------------------------- grid files
// The datum grids (NTv2, NADCON) are looked up beside the executable, or in
// the folders set instead (tests, the tool and hosts that ask for it).

// One folder searched for grid files instead of the executable's own. Null or
// "" goes back to the executable's folder.
void GridSetSearchDirectory(const char* dir);

// Folders searched in order, separated by ':'; empty entries are skipped. Null
// or a path without a folder goes back to the executable's folder.
void GridSetSearchPath(const char* path);

// The folders searched now, each ending in '/'; empty when the executable's
// folder is the one searched and it is unknown.
std::vector<std::string> GridSearchFolders();

// `out` receives the first search folder holding `fileName` (as it stands or
// differing only in letter case), followed by `fileName`; the first folder
// when none holds it. False when no folder is known or the result does not fit
// in `size`.
bool GridPathBeside(const char* fileName, char* out, size_t size);

// Opens the regular file `path` names, as it stands or differing only in the
// letter case of its file name (FindIgnoringCase), for binary reading; null
// when there is none.
std::FILE* GridOpenEitherCase(const char* path);

} // namespace KVProj

#endif
