#include "kvproj/export.h"

namespace KVProj {

const char* KVProjVersion() { return KVPROJ_VERSION_TEXT; }

} // namespace KVProj
