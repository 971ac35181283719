// Small helpers shared by the numerical code.
#ifndef KVPROJ_FRAME_UTIL_H
#define KVPROJ_FRAME_UTIL_H

#include <cstring>

namespace KVProj {

// Aborts with the standard assertion text ("bExpr", file "Util", line 20) when
// `expr` is false. Used where a failed check leaves no sane way to go on.
void UtilAssert(bool expr);

// A flag byte of a host record (bSouth, bUseAlpha, bInverse, ...): any
// non-zero byte is true. Read as a byte, because a bool object holding
// anything but 0 or 1 must not be loaded as a bool, and a C host may store 2
// or 0xFF there.
inline bool HostFlag(const bool& field) {
    unsigned char byte;
    std::memcpy(&byte, &field, 1);
    return byte != 0;
}

// Rewrites a host flag byte as 0 or 1, after which it reads as a bool.
inline void NormaliseHostFlag(bool& field) {
    const unsigned char byte = HostFlag(field) ? 1 : 0;
    std::memcpy(&field, &byte, 1);
}

// Bounded copy: at most size - 1 characters, always terminated; null source copies "".
void CopyName(char* dest, const char* src, int size);

} // namespace KVProj

#endif
