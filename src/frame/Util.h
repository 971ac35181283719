// Small helpers shared by the numerical code.
#ifndef KVPROJ_FRAME_UTIL_H
#define KVPROJ_FRAME_UTIL_H

namespace KVProj {

// Aborts with the standard assertion text ("bExpr", file "Util", line 20) when
// `expr` is false. Used where a failed check leaves no sane way to go on.
void UtilAssert(bool expr);

// Bounded copy: at most size - 1 characters, always terminated; null source copies "".
void CopyName(char* dest, const char* src, int size);

} // namespace KVProj

#endif
