// The string-table messages of the datum engine.
#ifndef KVPROJ_DATUM_DATUMMESSAGES_H
#define KVPROJ_DATUM_DATUMMESSAGES_H

#include <cstdint>

namespace KVProj {

enum DatumMessage : uint16_t {
    IDS_ELLIPSOID_RADIUS = 20249,
    IDS_ELLIPSOID_FLATTENING = 20250,
    IDS_BAD_SRC_DATUM = 20260,
    IDS_BAD_DEST_DATUM = 20261,
    IDS_BAD_METHOD = 20262,
    IDS_BAD_ELLIPSOID = 20263,
    IDS_BAD_PMSHIFT = 20264,
    IDS_BAD_DX = 20265,
    IDS_BAD_DY = 20266,
    IDS_BAD_DZ = 20267,
    IDS_BAD_RX = 20268,
    IDS_BAD_RY = 20269,
    IDS_BAD_RZ = 20270,
    IDS_NTV2_OPEN = 20280,
    IDS_NTV2_CORRUPT = 20281,
};

} // namespace KVProj

#endif
