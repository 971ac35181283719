#include "kvproj/export.h"

#include "frame/Firewall.h"

namespace KVProj {

const char* KVProjVersion() {
    return KV_GUARDED(static_cast<const char*>(""), [] { return KVPROJ_VERSION_TEXT; });
}

} // namespace KVProj
