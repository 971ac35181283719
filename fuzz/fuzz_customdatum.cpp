// libFuzzer target: the custom datum value parser and the name escaping.
#include "datum/CustomDatum.h"

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string text(reinterpret_cast<const char*>(data), size);
    const char* cstr = text.c_str(); // parsing stops at the first zero, as in a profile

    KVProj::DATUM2WGS84 params;
    std::memset(&params, 0, sizeof params);
    if (KVProj::TextToDatumParams(cstr, &params)) {
        // Whatever parses must serialise within the value limit and parse again.
        std::string value;
        if (!KVProj::DatumParamsToText(params, &value) || value.size() > 255) __builtin_trap();
        KVProj::DATUM2WGS84 again;
        if (value.size() < 255 && !KVProj::TextToDatumParams(value.c_str(), &again))
            __builtin_trap();
    }

    // Escaped names never contain the separators, and plain text survives.
    const std::string escaped = KVProj::EscapeDatumName(cstr);
    if (escaped.find_first_of(",=\\") != std::string::npos) __builtin_trap();
    const std::string back = KVProj::UnescapeDatumName(escaped.data(), escaped.size());
    bool ascii = true;
    for (const char* p = cstr; *p; ++p)
        if (static_cast<unsigned char>(*p) >= 128) ascii = false;
    if (ascii && back != cstr) __builtin_trap();
    KVProj::UnescapeDatumName(text.data(), text.size());
    return 0;
}
