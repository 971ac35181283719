// The library's message texts, by string-table id.
#ifndef KVPROJ_FRAME_STRINGTABLE_H
#define KVPROJ_FRAME_STRINGTABLE_H

#include "frame/MessageIds.h"

#include <cstddef>
#include <cstdint>

namespace KVProj {

// Copies the text of message `id` into `buffer` (at most `size` - 1 characters,
// always terminated) and returns the number of characters copied; 0 when the
// table has no such id, as the resource loader answers.
int LoadMessageString(uint16_t id, char* buffer, size_t size);

// The text of message `id`, or null when the table has none.
const char* MessageText(uint16_t id);

} // namespace KVProj

#endif
