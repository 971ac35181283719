// The side-file kinds the tool reads ("kvproj info") and writes ("kvproj
// export"): one row per kind in a table, so that a new kind is one more row.
#ifndef KVPROJ_TOOL_SIDEFILES_H
#define KVPROJ_TOOL_SIDEFILES_H

#include "kvproj/kvproj.h"

#include <string>
#include <utility>
#include <vector>

namespace kvtool {

// What a side file holds. The georeference's control arrays point into `src`
// and `dest` (see Attach), so the record is owned here.
struct SideRecords {
    bool hasProj = false;
    KVProj::PROJDATA proj{};
    bool hasDatum = false;
    KVProj::DatumType datum = KVProj::DATUM_NONE;
    KVProj::DATUM2WGS84 params{};
    bool hasGeoref = false;
    // A reference file keeps only the first of the six coefficients: a
    // georeference read from one with method 5 lacks the other five.
    bool partialCoefficients = false;
    KVProj::GEOREF georef{};
    std::vector<KVProj::GEOREFPOINT> src, dest;

    // Takes over controls a library reader allocated (freeing them there).
    void TakeControls(KVProj::GEOREF& read);
    // Points the record's control arrays at `src` and `dest`.
    KVProj::GEOREF* Attach();
};

struct FileKind {
    const char* format; // the --format word
    const char* what;   // "reference file"
    // The file that holds this kind for `name` (the one found, else the one
    // that would be written).
    std::string (*FileFor)(const std::string& name);
    // Reads what the kind's file for `name` holds into `out`; *found false when
    // there is none. False with *error when the file is there but unreadable.
    bool (*Read)(const std::string& name, SideRecords* out, bool* found, std::string* error);
    // Writes `in` for `name`; false with *error when nothing could be written.
    bool (*Write)(const std::string& name, SideRecords& in, std::string* error);
};

// Every kind, in the order "kvproj info" shows them.
const std::vector<FileKind>& FileKinds();
const FileKind* FindFileKind(const std::string& format);
// "kvr, world, rsf": the --format words.
std::string FileKindWords();

// Writes a copy of the TIFF image `source` as `target` with the GeoTIFF tags of
// `in` (the matrix of a rotated georeference also under 34264, for other readers).
bool WriteGeoTiffCopy(const std::string& source, const std::string& target, SideRecords& in,
                      std::string* error);
// What KVProjGetBitmapGeoParams finds for `image`: flags, the file the
// georeference came from, and the records, each line indented by two blanks.
std::string DescribeBitmapLookup(const std::string& image);

// Reads the coordinate system of a side file by its extension: ".prj", ".kvr",
// ".tif"/".tiff" (GeoTIFF tags); any other name as a ".prj" file. False
// with *error when the file is missing or unreadable.
bool ReadSideFile(const std::string& file, SideRecords* out, std::string* error);

// The parameters of the record's projection as label and value text, the
// projection's name first under "Projection".
std::vector<std::pair<std::string, std::string>> ProjectionFields(const KVProj::PROJDATA& p);

// The text "kvproj info" prints for what one file holds, each line indented by two blanks.
std::string DescribeRecords(const SideRecords& r);

} // namespace kvtool

#endif
