// libFuzzer target: the keyword dialect of ".prj" files on arbitrary text.
#include "formats/EsriPrj.h"

#include <cstddef>
#include <cstdint>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string text(reinterpret_cast<const char*>(data), size);
    KVProj::PrjRecord rec;
    KVProj::ReadOldPrj(KVProj::PrjLinesOfText(text), &rec);
    return 0;
}
