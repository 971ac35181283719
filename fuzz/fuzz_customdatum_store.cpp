// libFuzzer target: save-then-find on a profile file. Whatever name a datum is
// saved under, it is listed and found under exactly that name, unless the
// name makes a line no profile reader takes for an entry (a comment or a
// section header).
#include "FuzzSupport.h"
#include "datum/CustomDatum.h"
#include "kvproj/datum.h"

#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

using namespace KVProj;
using kvfuzz::Check;

namespace {

std::string g_profile;

// Whether the profile line "key=value" is read back as an entry: not when it
// begins (after blanks) with ';' (a comment) or is a section header ('[' with
// a ']' somewhere after it).
bool Holdable(const std::string& line) {
    const size_t first = line.find_first_not_of(' ');
    if (first == std::string::npos) return true;
    if (line[first] == ';') return false;
    return !(line[first] == '[' && line.find(']', first + 1) != std::string::npos);
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    const char* dir = std::getenv("TMPDIR");
    g_profile = std::string(dir && *dir ? dir : "/tmp") + "/kvfuzz_store_" +
                std::to_string(static_cast<long>(::getpid())) + ".ini";
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    kvfuzz::Bytes in(data, size);
    DATUM2WGS84 record;
    in.TakeInto(&record, sizeof record);
    record.Method = static_cast<DatumMethod>(static_cast<unsigned>(record.Method) % (DM_NTV2 + 1));
    record.Ellipsoid =
        static_cast<EllipsoidType>(static_cast<unsigned>(record.Ellipsoid) % ELLIPSOID_COUNT);
    std::string name(in.Left(), '\0');
    in.TakeInto(&name[0], name.size());
    name = name.c_str(); // a C name ends at its first zero
    if (name.size() > 200) name.resize(200);

    const char* file = g_profile.c_str();
    std::remove(file);
    if (!NDatSave(file, name.c_str(), &record)) {
        std::string text;
        DatumType id;
        // Refused only for a built-in name or a method that cannot be stored.
        Check(NDatIsBuiltIn(file, name.c_str(), &id) || !DatumParamsToText(record, &text));
        return 0;
    }
    std::string value;
    Check(DatumParamsToText(record, &value));
    const bool holdable = Holdable(EscapeDatumName(name.c_str()) + "=" + value);
    int index = -1;
    Check(NDatExists(file, name.c_str(), &index) == holdable);
    Check(NDatNumDatums(file) == DATUM_COUNT + (holdable ? 1 : 0));
    if (!holdable) return 0;
    Check(index == DATUM_COUNT);

    // The value reads back as the record it was written from.
    const std::string& saved = value;
    std::string again;
    DATUM2WGS84 back;
    const bool readable =
        record.Method == DM_NOXFORM || record.Method == DM_BURSA || record.Method == DM_MOLODENSKY;
    Check(NDatGetDatumParams(file, name.c_str(), &back) == readable);
    if (readable && saved.size() < 255) Check(DatumParamsToText(back, &again) && again == saved);
    Check(NDatDelete(file, name.c_str()));
    Check(!NDatExists(file, name.c_str(), nullptr));
    std::remove(file);
    return 0;
}
