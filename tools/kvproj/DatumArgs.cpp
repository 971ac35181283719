// Datum arguments of the kvproj tool.
#include "DatumArgs.h"

#include <cctype>
#include <cerrno>
#include <cstdlib>
#include <cstring>

namespace kvtool {
namespace {

using namespace KVProj;

bool allDigits(const std::string& s) {
    if (s.empty() || s.size() > 9) return false;
    for (char c : s)
        if (!std::isdigit(static_cast<unsigned char>(c))) return false;
    return true;
}

bool startsWithNoCase(const std::string& s, const char* prefix) {
    size_t n = std::strlen(prefix);
    if (s.size() < n) return false;
    for (size_t i = 0; i < n; ++i)
        if (std::tolower(static_cast<unsigned char>(s[i])) != prefix[i]) return false;
    return true;
}

// Fills the choice from the table; datums that only go towards WGS 84 have
// no destination parameters, so their method is taken on its own.
void fromTable(DatumType id, DatumChoice* out) {
    out->type = id;
    out->custom = false;
    std::memset(&out->step, 0, sizeof out->step);
    if (!DatGetDatumParams(id, &out->step)) {
        DatumMethod method = DM_NOXFORM;
        DatGetDatumMethod(id, &method);
        out->step.Method = method;
        out->step.Ellipsoid = ELLIPSOID_NONE;
    }
    char name[256];
    DatGetDatumName(id, name);
    out->name = name;
}

bool byEpsg(const std::string& digits, const std::string& arg, DatumChoice* out,
            std::string* error) {
    DatumType id = DATUM_NONE;
    if (!allDigits(digits) || !DatGetDatumFromPOSCNumber(&id, std::atoi(digits.c_str()))) {
        *error = "no built-in datum has EPSG code '" + arg + "'";
        return false;
    }
    fromTable(id, out);
    return true;
}

// Short names people type for the datums they use most.
struct ShortName {
    const char* text;
    DatumType id;
};
const ShortName kShortNames[] = {
    {"wgs84", DATUM_WGS84},  {"wgs 84", DATUM_WGS84}, {"wgs72", DATUM_WGS72},
    {"wgs 72", DATUM_WGS72}, {"nad83", DATUM_NAD83},  {"nad 83", DATUM_NAD83},
    {"nad27", DATUM_NAD27},  {"nad 27", DATUM_NAD27}, {"ed50", DATUM_ED50},
    {"ed 50", DATUM_ED50},
};

bool byShortName(const std::string& arg, DatumChoice* out) {
    for (const ShortName& s : kShortNames)
        if (arg.size() == std::strlen(s.text) && startsWithNoCase(arg, s.text)) {
            fromTable(s.id, out);
            return true;
        }
    return false;
}

} // namespace

bool ResolveDatum(const std::string& arg, const std::string& profile, DatumChoice* out,
                  std::string* error) {
    std::string ignored;
    if (!error) error = &ignored;
    if (!out || arg.empty()) {
        *error = "empty datum argument";
        return false;
    }
    if (startsWithNoCase(arg, "epsg:")) return byEpsg(arg.substr(5), arg, out, error);
    if (allDigits(arg)) {
        int n = std::atoi(arg.c_str());
        if (n >= 1 && n < DATUM_COUNT) {
            fromTable(static_cast<DatumType>(n), out);
            return true;
        }
        if (n >= 1000) return byEpsg(arg, arg, out, error);
        *error = n == 0 ? "datum 0 is the user-defined datum: name a custom datum instead"
                        : "no built-in datum has id " + arg;
        return false;
    }
    DatumType id = DATUM_NONE;
    if (DatGetDatumFromName(&id, arg.c_str())) {
        if (id == DATUM_USER_DEFINED) {
            *error = "'" + arg + "' needs its parameters: name a custom datum instead";
            return false;
        }
        fromTable(id, out);
        return true;
    }
    if (byShortName(arg, out)) return true;
    if (!profile.empty() && NDatExists(profile.c_str(), arg.c_str(), nullptr)) {
        DATUM2WGS84 step;
        if (!NDatGetDatumParams(profile.c_str(), arg.c_str(), &step)) {
            *error = "custom datum '" + arg + "' in " + profile +
                     " cannot be used (only Molodensky, Bursa-Wolf and none are read back)";
            return false;
        }
        out->type = DATUM_USER_DEFINED;
        out->step = step;
        out->name = arg;
        out->custom = true;
        return true;
    }
    *error = "unknown datum '" + arg + "'" +
             (profile.empty() ? std::string() : " (not built in, not in " + profile + ")");
    return false;
}

DATUMXFORM MakeDatumXform(const DatumChoice& src, const DatumChoice& dest) {
    DATUMXFORM x;
    std::memset(&x, 0, sizeof x);
    x.SrcDatum = src.type;
    x.DestDatum = dest.type;
    if (src.custom) {
        x.Step1 = src.step;
        x.Step1.bInverse = false;
    }
    if (dest.custom) {
        x.Step2 = dest.step;
        x.Step2.bInverse = true;
    }
    return x;
}

bool DatumEllipsoid(const DatumChoice& datum, int* ellipsoid, double* majorRadius,
                    double* flattening) {
    const DATUM2WGS84& s = datum.step;
    if (s.Method != DM_MOLODENSKY && s.Method != DM_BURSA) return false;
    if (s.Ellipsoid < ELLIPSOID_USER_DEFINED || s.Ellipsoid >= ELLIPSOID_NONE) return false;
    *ellipsoid = s.Ellipsoid;
    *majorRadius = s.MajorRadius;
    *flattening = s.Flattening;
    return true;
}

const char* DatumMethodText(int method) {
    static const char* const kNames[] = {"none",       "NADCON grid", "Bursa-Wolf",
                                         "Molodensky", "HARN grid",   "regression equations",
                                         "NTv2 grid"};
    return method >= 0 && method <= DM_NTV2 ? kNames[method] : "unknown";
}

} // namespace kvtool
