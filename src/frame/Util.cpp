#include "frame/Util.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace KVProj {

void UtilAssert(bool expr) {
    if (expr) return;
    std::fprintf(stderr, "Assertion failed: bExpr, file Util, line 20\n");
    std::fflush(stderr);
    std::abort();
}

void CopyName(char* dest, const char* src, int size) {
    if (!dest || size <= 0) return;
    if (!src) src = "";
    size_t n = std::strlen(src);
    if (n > static_cast<size_t>(size - 1)) n = static_cast<size_t>(size - 1);
    std::memcpy(dest, src, n);
    dest[n] = '\0';
}

} // namespace KVProj
