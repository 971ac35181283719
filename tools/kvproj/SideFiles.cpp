#include "SideFiles.h"

#include "DatumArgs.h"
#include "GeoTiffTags.h"
#include "formats/EsriPrj.h"
#include "formats/SideFile.h"
#include "frame/CNumber.h"
#include "frame/SiblingFile.h"
#include "kvlibw/bitmaptag.h"

#include <cstring>
#include <iterator>

namespace kvtool {
namespace {

using namespace KVProj;

std::string Number(double v) {
    return FormatCString("%.15g", v);
}

// ---------------------------------------------------------------- reference file

std::string RefFileFor(const std::string& name) {
    const size_t n = name.size();
    const bool ends = n >= 5 && EqualIgnoringCase(name.c_str() + n - 3, "kvr");
    const std::string file = ends ? name : name + ".kvr";
    const std::string found = FindSideFile(file);
    return found.empty() ? file : found;
}

bool ReadRef(const std::string& name, SideRecords* out, bool* found, std::string* error) {
    GEOREF g{};
    unsigned int flags = 0;
    if (!KVProjRefFileReadEx(name.c_str(), &out->proj, &out->datum, &out->params, &g, &flags)) {
        *error = "cannot read the reference file " + RefFileFor(name);
        return false;
    }
    *found = (flags & GEOPARAM_FILE_FOUND) != 0;
    out->hasProj = (flags & GEOPARAM_PROJECTION) != 0;
    out->hasDatum = (flags & GEOPARAM_DATUM) != 0;
    out->hasGeoref = g.Method != TM_NONE;
    out->partialCoefficients = g.Method == TM_PRECALCULATED;
    out->TakeControls(g);
    return true;
}

// The reference file writes all six coefficient lines from the first
// coefficient: coefficients that differ do not survive the trip.
void WarnCoefficientsLost(const SideRecords& in) {
    if (!in.hasGeoref || in.georef.Method != TM_PRECALCULATED || in.partialCoefficients) return;
    const GEOREF& g = in.georef;
    if (g.B == g.A && g.C == g.A && g.D == g.A && g.E == g.A && g.F == g.A) return;
    std::fprintf(stderr,
                 "kvproj: warning: a reference file writes the first coefficient (A) on all six "
                 "coefficient lines: B to F are not kept (a world file keeps all six)\n");
}

bool WriteRef(const std::string& name, SideRecords& in, std::string* error) {
    WarnCoefficientsLost(in);
    if (KVProjRefFileWriteEx(
            name.c_str(), in.hasProj ? &in.proj : nullptr, in.hasDatum ? in.datum : DATUM_NONE,
            in.hasDatum ? &in.params : nullptr, in.hasGeoref ? in.Attach() : nullptr))
        return true;
    *error = "cannot write " + RefFileFor(name);
    return false;
}

// ---------------------------------------------------------------- world file

std::string WorldFileFor(const std::string& image) {
    const std::string tries[] = {WorldFileName(image.c_str(), false), image + "w",
                                 DropExtension(image.c_str()) + ".WLD"};
    for (const std::string& t : tries) {
        const std::string found = FindSideFile(t);
        if (!found.empty()) return found;
    }
    return WorldFileName(image.c_str(), true);
}

bool ReadWorld(const std::string& image, SideRecords* out, bool* found, std::string* error) {
    GEOREF g{};
    unsigned int flags = 0;
    if (!KVProjReadESRIWorld(image.c_str(), &g, &flags)) {
        *error = "cannot read the world file of " + image;
        return false;
    }
    *found = (flags & GEOPARAM_FILE_FOUND) != 0;
    out->hasGeoref = (flags & GEOPARAM_COEFFICIENTS) != 0;
    out->georef = g;
    return true;
}

// Coefficients read from a reference file lack B to F: not enough for a world or RSF file.
bool WholeCoefficients(const SideRecords& in, std::string* error) {
    if (!in.partialCoefficients) return true;
    *error = "a reference file keeps only the first coefficient: give all six with --coeff";
    return false;
}

bool WriteWorld(const std::string& image, SideRecords& in, std::string* error) {
    if (!WholeCoefficients(in, error)) return false;
    GEOREF g = *in.Attach();
    if (!in.hasGeoref || (g.Method != TM_PRECALCULATED && !RefControlsToCoeff(&g))) {
        *error = "a world file needs coefficients, or at least three control points to fit them";
        return false;
    }
    if (KVProjWriteESRIWorld(image.c_str(), in.Attach())) return true;
    *error = "cannot write " + WorldFileName(image.c_str(), true);
    return false;
}

// ---------------------------------------------------------------- RSF file

std::string RsfFileFor(const std::string& image) {
    const std::string found = FindSideFile(RsfFileName(image.c_str()));
    return found.empty() ? RsfFileName(image.c_str()) : found;
}

bool ReadRsf(const std::string& image, SideRecords* out, bool* found, std::string* error) {
    GEOREF g{};
    unsigned int flags = 0;
    if (!KVProjReadBlueMarbleRSF(image.c_str(), &g, &flags)) {
        *error = "cannot read " + RsfFileFor(image);
        return false;
    }
    *found = (flags & GEOPARAM_FILE_FOUND) != 0;
    out->hasGeoref = (flags & GEOPARAM_CONTROLS) != 0;
    out->TakeControls(g);
    return true;
}

bool WriteRsf(const std::string& image, SideRecords& in, std::string* error) {
    if (!WholeCoefficients(in, error)) return false;
    const GEOREF& g = *in.Attach();
    const bool controls = g.Method != TM_NONE && g.Method != TM_PRECALCULATED && g.nControls > 0;
    if (!in.hasGeoref || (!controls && g.Method != TM_PRECALCULATED)) {
        *error = "an RSF file needs control points or coefficients";
        return false;
    }
    if (KVProjWriteBlueMarbleRSF(image.c_str(), in.Attach())) return true;
    *error = "cannot write " + RsfFileName(image.c_str());
    return false;
}

// ---------------------------------------------------------------- GeoTIFF

std::string GeoTiffFileFor(const std::string& image) {
    const std::string found = FindSideFile(image);
    return found.empty() ? image : found;
}

bool ReadGeoTiff(const std::string& image, SideRecords* out, bool* found, std::string* error) {
    GEOREF g{};
    unsigned int flags = 0;
    if (!KVProjGetGeoTIFF(GeoTiffFileFor(image).c_str(), &out->proj, &out->datum, &out->params, &g,
                          &flags)) {
        *error = "cannot read the GeoTIFF tags of " + image;
        return false;
    }
    *found = (flags & GEOPARAM_FILE_FOUND) != 0;
    out->hasProj = (flags & GEOPARAM_PROJECTION) != 0;
    out->hasDatum = (flags & GEOPARAM_DATUM) != 0;
    out->hasGeoref = (flags & (GEOPARAM_COEFFICIENTS | GEOPARAM_CONTROLS)) != 0;
    out->TakeControls(g);
    return true;
}

// Writes the tags into the image itself (rewritten through a temporary).
bool WriteGeoTiff(const std::string& image, SideRecords& in, std::string* error) {
    return WriteGeoTiffCopy(GeoTiffFileFor(image), image, in, error);
}

// ---------------------------------------------------------------- ESRI projection file

std::string PrjFileFor(const std::string& name) {
    const std::string file = PrjFileName(name.c_str());
    const std::string found = FindSideFile(file);
    return found.empty() ? file : found;
}

bool ReadPrj(const std::string& name, SideRecords* out, bool* found, std::string* error) {
    unsigned int flags = 0;
    if (!KVProjEsriPrjFileRead(name.c_str(), &out->proj, &out->datum, &out->params, &flags)) {
        *error =
            "cannot read the projection file " + PrjFileFor(name) + " (no well-known text tree)";
        return false;
    }
    *found = (flags & GEOPARAM_FILE_FOUND) != 0;
    out->hasProj = (flags & GEOPARAM_PROJECTION) != 0;
    out->hasDatum = (flags & GEOPARAM_DATUM) != 0;
    return true;
}

// The library answers true when it has nothing to write; say so instead of
// pretending a file was made.
bool WritePrj(const std::string& name, SideRecords& in, std::string* error) {
    PROJDATA proj{};
    proj.Type = PT_UNDEFINED;
    proj.Scale = 1.0;
    proj.Ellipsoid = ELLIPSOID_NONE;
    DATUM2WGS84 params{};
    params.Ellipsoid = ELLIPSOID_NONE;
    const DatumType datum = in.hasDatum ? in.datum : DATUM_NONE;
    WktNode tree;
    if (!GenWktNodesForProjectionAndDatum(tree, in.hasProj ? in.proj : proj, in.hasProj, datum,
                                          in.hasDatum ? in.params : params, in.hasDatum) ||
        tree.Children.empty()) {
        *error = "nothing a projection file can hold: no projection, no datum with an EPSG "
                 "geographic system, or a projection ellipsoid that differs from the datum's";
        return false;
    }
    if (KVProjEsriPrjFileWrite(name.c_str(), in.hasProj ? &in.proj : nullptr, datum,
                               in.hasDatum ? &in.params : nullptr))
        return true;
    *error = "cannot write " + PrjFileFor(name);
    return false;
}

// ---------------------------------------------------------------- description

std::string ParamValue(PROJDATA proj, int id) {
    ProjDataType type = PDT_DOUBLE;
    unsigned char value[16] = {};
    if (!ProjParamInfo(id, nullptr, &type, nullptr, nullptr) || !ProjGetParam(&proj, id, value))
        return "?";
    int i;
    double d;
    std::memcpy(&i, value, sizeof i);
    std::memcpy(&d, value, sizeof d);
    char name[kStateZoneNameLen] = "";
    switch (type) {
    case PDT_DOUBLE:
        return Number(d);
    case PDT_BOOL:
        return value[0] ? "true" : "false";
    case PDT_PROJTYPE:
        ProjGetProjectionInfo(static_cast<ProjType>(i), name);
        return name;
    case PDT_STATEZONE:
        ProjGetStateZoneInfo(static_cast<StateZoneType>(i), name, nullptr);
        break;
    case PDT_ELLIPSOID:
        if (!EllipsoidInfo(static_cast<EllipsoidType>(i), name, nullptr, nullptr))
            return std::to_string(i) + " (radius " + Number(proj.MajorRadius) + ", flattening " +
                   Number(proj.Flattening) + ")";
        break;
    default:
        return "?";
    }
    return name[0] ? std::string(name) : std::to_string(i);
}

std::string DescribeProjection(const PROJDATA& p) {
    char name[KVPROJ_NAME_LEN] = "";
    ProjGetProjectionInfo(p.Type, name);
    std::string text = "  projection: " + std::string(name[0] ? name : "unknown") + "\n";
    for (int i = 0; i < ProjNumParams(p.Type); ++i) {
        const int id = ProjEnumParam(p.Type, i);
        char label[KVPROJ_NAME_LEN] = "";
        if (!ProjParamInfo(id, label, nullptr, nullptr, nullptr)) continue;
        text += "    " + std::string(label) + ": " + ParamValue(p, id) + "\n";
    }
    return text;
}

std::string DescribeDatum(DatumType datum, const DATUM2WGS84& d) {
    char name[256] = "";
    DatGetDatumName(datum, name);
    std::string text = "  datum: " + std::string(name[0] ? name : "unknown") + " (" +
                       DatumMethodText(d.Method) + ")\n";
    if (d.Method != DM_MOLODENSKY && d.Method != DM_BURSA) return text;
    char ellipsoid[KVPROJ_NAME_LEN] = "";
    if (!EllipsoidInfo(d.Ellipsoid, ellipsoid, nullptr, nullptr))
        std::strcpy(ellipsoid, "user-defined");
    text += "    ellipsoid: " + std::string(ellipsoid) + " (radius " + Number(d.MajorRadius) +
            ", flattening " + Number(d.Flattening) + ")\n";
    text += "    shift (m): " + Number(d.dx) + " " + Number(d.dy) + " " + Number(d.dz) + "\n";
    if (d.Method == DM_BURSA)
        text += "    rotation (\"): " + Number(d.rx) + " " + Number(d.ry) + " " + Number(d.rz) +
                "\n    scale (ppm): " + Number(d.k) + "\n";
    if (d.PMShift != 0) text += "    prime meridian (deg): " + Number(d.PMShift) + "\n";
    return text;
}

std::string DescribeGeoref(const SideRecords& r) {
    const GEOREF& g = r.georef;
    const char* method = RefMethodName(g.Method);
    std::string text = "  georeference: " + std::string(*method ? method : "unknown") + "\n";
    if (g.Method == TM_PRECALCULATED) {
        const double c[6] = {g.A, g.B, g.C, g.D, g.E, g.F};
        for (int i = 0; i < 6; ++i)
            text += std::string("    ") + char('A' + i) + ": " + Number(c[i]) + "\n";
        if (r.partialCoefficients)
            text += "    (a reference file keeps only the first coefficient, in A)\n";
        return text;
    }
    text += "    control points: " + std::to_string(g.nControls) + "\n";
    for (size_t i = 0; i < r.src.size() && i < r.dest.size(); ++i)
        text += "    " + Number(r.src[i].x) + " " + Number(r.src[i].y) + " -> " +
                Number(r.dest[i].x) + " " + Number(r.dest[i].y) + "\n";
    return text;
}

// One row per kind; "kvproj info" shows them in this order.
constexpr FileKind kKindTable[] = {
    {"kvr", "reference file", RefFileFor, ReadRef, WriteRef},
    {"world", "world file", WorldFileFor, ReadWorld, WriteWorld},
    {"rsf", "RSF file", RsfFileFor, ReadRsf, WriteRsf},
    {"geotiff", "GeoTIFF tags", GeoTiffFileFor, ReadGeoTiff, WriteGeoTiff},
    {"prj", "ESRI projection file", PrjFileFor, ReadPrj, WritePrj},
};
const std::vector<FileKind> kKinds(std::begin(kKindTable), std::end(kKindTable));

} // namespace

void SideRecords::TakeControls(GEOREF& read) {
    georef = read;
    const int n = read.pSrc && read.pDest ? read.nControls : 0;
    src.assign(read.pSrc, read.pSrc + (n > 0 ? n : 0));
    dest.assign(read.pDest, read.pDest + (n > 0 ? n : 0));
    RefFreeControls(&read);
    Attach();
}

GEOREF* SideRecords::Attach() {
    georef.pSrc = src.empty() ? nullptr : src.data();
    georef.pDest = dest.empty() ? nullptr : dest.data();
    if (georef.Method != TM_PRECALCULATED) georef.nControls = static_cast<int>(src.size());
    return &georef;
}

const std::vector<FileKind>& FileKinds() {
    return kKinds;
}

bool WriteGeoTiffCopy(const std::string& source, const std::string& target, SideRecords& in,
                      std::string* error) {
    KVBitmapTagList tags;
    if (!KVProjBuildGeoTIFFTags(
            tags, in.hasProj ? &in.proj : nullptr, in.hasDatum ? in.datum : DATUM_NONE,
            in.hasDatum ? &in.params : nullptr, in.hasGeoref ? in.Attach() : nullptr)) {
        *error = "cannot build the GeoTIFF tags";
        return false;
    }
    if (!MakeGeoTiffTagsPortable(tags)) {
        *error = "cannot adjust the GeoTIFF tags";
        return false;
    }
    if (KVBitLib().WriteCopyWithTags(source.c_str(), target.c_str(), tags)) return true;
    *error = "cannot write " + target + " (is " + source + " a TIFF image?)";
    return false;
}

// Which file the look-up's georeference came from: the image's own tags, the
// RSF file, or a world file (whose coefficients come back without flags).
static std::string GeorefSource(const std::string& image, unsigned int flags, const GEOREF& g) {
    unsigned int tiffFlags = 0;
    KVProjGetGeoTIFF(GeoTiffFileFor(image).c_str(), nullptr, nullptr, nullptr, nullptr, &tiffFlags);
    if (tiffFlags & (GEOPARAM_COEFFICIENTS | GEOPARAM_CONTROLS)) return GeoTiffFileFor(image);
    if (flags & GEOPARAM_CONTROLS) return RsfFileFor(image);
    if (g.Method == TM_PRECALCULATED) return WorldFileFor(image) + " (not shown by the flags)";
    return "none";
}

std::string DescribeBitmapLookup(const std::string& image) {
    unsigned int flags = 0;
    SideRecords r;
    GEOREF g{};
    if (!KVProjGetBitmapGeoParams(image.c_str(), &flags, &r.proj, &r.datum, &r.params, &g))
        return "  (the look-up failed)\n";
    r.hasProj = (flags & GEOPARAM_PROJECTION) != 0;
    r.hasDatum = (flags & GEOPARAM_DATUM) != 0;
    const std::string from = GeorefSource(image, flags, g);
    r.hasGeoref = from != "none";
    r.TakeControls(g);
    return "  flags: " + FormatCString("0x%02X", flags) + "\n  georeference from: " + from + "\n" +
           DescribeRecords(r);
}

const FileKind* FindFileKind(const std::string& format) {
    for (const FileKind& k : kKinds)
        if (format == k.format) return &k;
    return nullptr;
}

std::string FileKindWords() {
    std::string words;
    for (const FileKind& k : kKinds)
        words += (words.empty() ? "" : ", ") + std::string(k.format);
    return words;
}

bool ReadSideFile(const std::string& file, SideRecords* out, std::string* error) {
    const size_t dot = file.rfind('.');
    const std::string ext = dot == std::string::npos ? "" : file.substr(dot + 1);
    struct {
        const char* ext;
        const char* format;
    } const byExtension[] = {
        {"prj", "prj"}, {"kvr", "kvr"}, {"tif", "geotiff"}, {"tiff", "geotiff"}};
    const FileKind* kind = FindFileKind("prj");
    for (const auto& row : byExtension)
        if (EqualIgnoringCase(ext.c_str(), row.ext)) kind = FindFileKind(row.format);
    bool found = false;
    if (!kind->Read(file, out, &found, error)) return false;
    if (!found) *error = "no " + std::string(kind->what) + " " + kind->FileFor(file);
    return found;
}

std::vector<std::pair<std::string, std::string>> ProjectionFields(const PROJDATA& p) {
    char name[KVPROJ_NAME_LEN] = "";
    ProjGetProjectionInfo(p.Type, name);
    std::vector<std::pair<std::string, std::string>> fields = {{"Projection", name}};
    for (int i = 0; i < ProjNumParams(p.Type); ++i) {
        const int id = ProjEnumParam(p.Type, i);
        char label[KVPROJ_NAME_LEN] = "";
        if (ProjParamInfo(id, label, nullptr, nullptr, nullptr))
            fields.emplace_back(label, ParamValue(p, id));
    }
    return fields;
}

std::string DescribeRecords(const SideRecords& r) {
    std::string text;
    if (r.hasProj) text += DescribeProjection(r.proj);
    if (r.hasDatum) text += DescribeDatum(r.datum, r.params);
    if (r.hasGeoref) text += DescribeGeoref(r);
    return text.empty() ? "  (nothing)\n" : text;
}

} // namespace kvtool
