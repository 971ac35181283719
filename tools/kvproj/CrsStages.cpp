// The convert pipeline from --src/--dst coordinate systems.
#include "CrsStages.h"

#include "Command.h"
#include "Crs.h"

#include <cstdio>

namespace kvtool {
namespace {

bool MakeHandle(KVProj::PROJDATA data, const std::string& side, void** handle, std::string* error) {
    const RecordVerdict verdict = CheckRecord(data);
    if (verdict.parameter != 0) {
        *error = "invalid " + side + " projection: " + verdict.message + " (parameter " +
                 std::to_string(verdict.parameter) + ", " + ParamLabel(verdict.parameter) + ")";
        return false;
    }
    *handle = KVProj::ProjCreateProjection(&data);
    if (!*handle) *error = "cannot create the " + side + " projection";
    return *handle != nullptr;
}

// One side: the record's projection and datum, a named datum overriding it.
// A UTM zone without a datum of its own sits on the named datum's figure.
bool Side(const std::string& text, const std::string& named, const std::string& profile,
          const std::string& side, void** handle, DatumChoice* datum, bool* known,
          std::string* error) {
    CrsRecord crs;
    *known = false;
    if (!text.empty()) {
        if (!ResolveCrs(text, &crs, error)) return false;
        if (!crs.hasProj) {
            *error = "'" + text + "' gives no projection for the " + side + " side";
            return false;
        }
        *known = crs.hasDatum;
        if (crs.hasDatum) *datum = crs.datum;
    }
    if (!named.empty()) {
        if (!ResolveDatum(named, profile, datum, error)) return false;
        int e = 0;
        double a = 0, f = 0; // the record is packed: no pointers into it
        if (!crs.hasDatum && crs.hasProj && crs.proj.Type == KVProj::PT_UTM &&
            DatumEllipsoid(*datum, &e, &a, &f)) {
            crs.proj.Ellipsoid = static_cast<KVProj::EllipsoidType>(e);
            crs.proj.MajorRadius = a, crs.proj.Flattening = f;
        }
        *known = true;
    }
    if (text.empty() || crs.proj.Type == KVProj::PT_UNPROJECTED) return true;
    return MakeHandle(crs.proj, side, handle, error);
}

} // namespace

bool CrsPipeline(const CrsArgs& a, const CrsDatums& d, Pipeline* stages, std::string* error) {
    DatumChoice datums[2];
    bool known[2] = {false, false};
    if (!Side(a.src, d.src, d.profile, "source", &stages->inverse, &datums[0], &known[0], error) ||
        !Side(a.dst, d.dst, d.profile, "destination", &stages->forward, &datums[1], &known[1],
              error))
        return false;
    if (known[0] != known[1] && !a.src.empty() && !a.dst.empty()) {
        std::fprintf(stderr, "kvproj: convert: note: the %s datum is not known; no datum shift\n",
                     known[0] ? "destination" : "source");
        return true;
    }
    if (!known[0] || !known[1]) return true;
    const KVProj::DATUMXFORM xform = MakeDatumXform(datums[0], datums[1]);
    char message[256] = "";
    if (KVProj::DatCheckParams(&xform, message, false) != 0) {
        *error =
            "cannot convert from '" + datums[0].name + "' to '" + datums[1].name + "': " + message;
        return false;
    }
    stages->datum = KVProj::DatCreateDatum(&xform);
    if (!stages->datum) *error = "cannot create the datum conversion";
    return stages->datum != nullptr;
}

} // namespace kvtool
