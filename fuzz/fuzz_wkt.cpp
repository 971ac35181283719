// libFuzzer target: the well-known text tokenizer, parser and writer, and the
// ".prj" reader of that dialect on arbitrary first lines.
#include "formats/EsriPrj.h"
#include "formats/Wkt.h"

#include <cstddef>
#include <cstdint>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string text(reinterpret_cast<const char*>(data), size);
    const KVProj::WktNode tree = KVProj::ParseWkt(text.c_str());
    // Writing and parsing again must not fail either; the tree is searched.
    const std::string written = KVProj::WriteWkt(tree);
    KVProj::ParseWkt(written.c_str());
    tree.Find("PROJCS");
    KVProj::PrjRecord rec;
    KVProj::ReadNewPrj(KVProj::PrjLinesOfText(text), &rec);
    return 0;
}
