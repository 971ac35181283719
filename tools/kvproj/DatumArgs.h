// Datum arguments of the kvproj tool: a built-in datum by id, name or EPSG
// code, or a user-defined datum kept in a profile file.
#ifndef KVPROJ_TOOL_DATUMARGS_H
#define KVPROJ_TOOL_DATUMARGS_H

#include "kvproj/datum.h"

#include <string>
#include <utility>
#include <vector>

namespace kvtool {

struct DatumChoice {
    KVProj::DatumType type = KVProj::DATUM_NONE; // 0 for a custom datum
    KVProj::DATUM2WGS84 step{};                  // its step to WGS 84
    std::string name;
    bool custom = false;
};

// Resolves `arg`: a built-in id 1..253, an EPSG geodetic datum code (plain or
// "EPSG:6267"), an EPSG geographic system code (4267, "EPSG:4267": its datum),
// a built-in name or one of the short names "WGS84", "WGS72", "NAD83",
// "NAD27", "ED50" (with or without a blank) in any letter case, or else the
// name of a custom datum in `profile` (which may be empty). On failure `error`
// says why, with the closest names when the name is unknown.
bool ResolveDatum(const std::string& arg, const std::string& profile, DatumChoice* out,
                  std::string* error);

// A conversion request from `src` to `dest`. A custom destination's step is
// marked inverse, as the engine expects of a caller-defined destination.
KVProj::DATUMXFORM MakeDatumXform(const DatumChoice& src, const DatumChoice& dest);

// The ellipsoid a datum's coordinates refer to, for the Molodensky and
// Bursa-Wolf datums (`ellipsoid` 0 with the axis and flattening for a custom
// figure). False for the grid, regression and pass-through datums, which do
// not carry one.
bool DatumEllipsoid(const DatumChoice& datum, int* ellipsoid, double* majorRadius,
                    double* flattening);

// Why a custom datum called `name` cannot be kept in a profile ("" when it
// can): an empty name, one longer than 255 bytes, or one the profile would
// read back as something else (a comment line for a leading ';', a section
// header for a leading '[' with a ']' after it, blanks before either
// included), so that it would be saved and never found again.
std::string CustomNameProblem(const std::string& name);

// Why `datum` cannot be the destination of a conversion ("" when it can): the
// grid and regression datums 229..233 go to WGS 84 only.
std::string DestinationProblem(const DatumChoice& datum);

// Why a conversion from `src` to `dst` cannot run, checked before any point
// is read: a destination that converts to WGS 84 only, or a grid datum whose
// files are missing or unreadable (CheckGridFiles). True when it can run.
bool CheckDatumPair(const DatumChoice& src, const DatumChoice& dst, std::string* error);

// ---------------------------------------------------------------- grid files

// The folders the library searches for grid files: the `dirs` given on the
// command line (--grid-dir), then those of the environment variable
// KVPROJ_GRID_PATH (separated by ':'), then the executable's folder.
void SetGridSearch(const std::vector<std::string>& dirs);

// The grid file `name` names: as it stands (letter case of the file name
// ignored), or, for a bare file name, in the first search folder holding it.
// "" with `error` naming the folders searched when there is none.
std::string FindGridFile(const std::string& name, std::string* error);

// For a grid datum, each file it needs with the path where it was found ("" when
// it was not); empty for any other datum.
std::vector<std::pair<std::string, std::string>> GridFilesOf(const DatumChoice& datum);

// The folders searched now, for messages: "/a/, /b/".
std::string GridFoldersText();

// For a grid datum (NADCON 232/233, NTv2 253): whether its files are found and
// (NTv2) load; otherwise `error` names the files and every folder searched.
// True for any other datum.
bool CheckGridFiles(const DatumChoice& datum, std::string* error);

// ---------------------------------------------------------------- ellipsoids

// The ellipsoid `text` names: its row number, its table name (letter case,
// blanks and punctuation ignored) or a common short name such as "GRS80",
// "clrk66", "intl", "bessel" or "krass". False when nothing matches.
bool EllipsoidByName(const std::string& text, int* ellipsoid);

// " (did you mean ...?)" for an ellipsoid name that matched nothing.
std::string EllipsoidSuggestion(const std::string& text);

// Display name of a method: "Molodensky", "Bursa-Wolf", ...
const char* DatumMethodText(int method);

} // namespace kvtool

#endif
