// Message texts. Ids are grouped by area: 20200-20205 general, 20230-20256
// projection parameters, 20260-20271 datum parameters, 20280-20281 NTv2 file.
// The texts are the library's own and are kept exactly, misspellings included.
#include "frame/StringTable.h"

#include <cstring>

namespace KVProj {
namespace {

struct MessageRow {
    uint16_t id;
    const char* text;
};

constexpr MessageRow kMessages[] = {
    {20200, "Internal inconsistency detected"},
    {20201, "Out of global memory"},
    {20202, "Failed writing to file"},
    {20203, "Failed reading from file"},
    {20204, "Failed opening file"},
    {20205, "Software was passed a bad parameter"},

    {20230, "Invalid projection type parameter specified"},
    {20231, "Scale parameter must be greater than zero"},
    {20232, "Central scale factor parameter (K0) must be greater than zero"},
    {20233, "Invalid value specified for false easting parameter"},
    {20234, "Invalid value specified for false northing parameter"},
    {20235, "Central longitude (Lon0) parameter was outside the range of -360 to +360 degrees"},
    {20236, "Longitude one (Lon1) parameter was outside the range of -360 to +360 degrees"},
    {20237, "Longitude two (Lon2) parameter was outside the range of -360 to +360 degrees"},
    {20238, "Longitude three (Lon3) parameter was outside the range of -360 to +360 degrees"},
    {20239, "Central latitude (Lat0) parameter was outside the range of -90 to +90"},
    {20240, "Standard parallel one (Lat1) parameter was outside the range of -90 to +90"},
    {20241, "Standard parallel two (Lat2) parameter was outside the range of -90 to +90"},
    {20242, "Standard parallel three (Lat3) parameter was outside the range of -90 to +90"},
    {20243, "Azimuth (Alpha) parameter was outside the range of -360 to +360 degrees"},
    {20244, "Standard parallel (Lat1) parameter for Bonne projection cannot be zero"},
    {20245, "Sum or difference of standard parallel parameters (Lat1+Lat2) cannot be zero for "
            "Albers Equal Area projection"},
    {20246, "Azimuth (Alpha) parameter cannot be zero for Hotine Oblique Mercator projection"},
    {20247, "Standard parallels (Lat1, Lat2) cannot be similar for Lambert Conformal Conic "
            "projection"},
    {20248, "Invalid ellipsoid parameter specified for projection"},
    {20249, "Ellipsoid radius parameter must be greater than zero"},
    {20250, "Ellipsoid flattening parameter cannot be less than zero or greater than or equal "
            "to one"},
    {20251, "Central latitude (Lat0) parameter cannot be +/-90 degrees for Mercator projection"},
    {20252, "State zone parameter not recognized"},
    {20253, "Standard parallels (Lat1, Lat2) cannot be similar for Oblique Mercator projection"},
    {20254, "First standard parallel (Lat1) cannot be zero for Oblique Mercator projection"},
    {20255, "Second standard parallel (Lat2) cannot be 90 degrees for Oblique Mercator "
            "projection"},
    {20256, "Sum or difference of standard parallel parameters (Lat1+Lat2) cannot be zero for "
            "Equidistant Conic projection"},

    {20260, "Invalid source datum specified"},
    {20261, "Invalid destination datum specified"},
    {20262, "Invalid datum transformation method specified"},
    {20263, "Invalid ellipsoid specified for datum transformation"},
    {20264, "Prime meridian shift must be between -180 and +180 degrees"},
    {20265, "Invalid X axis shift for datum transformation"},
    {20266, "Invalid Y axis shift for datum transformation"},
    {20267, "Invalid Z axis shift for datum transformation"},
    {20268, "X axis rotation was outside the range of -3600 to +3600 arcseconds"},
    {20269, "Y axis rotation was outside the rnage of -3600 to +3600 arcseconds"},
    {20270, "Z axis rotation was outside the rnage of -3600 to +3600 arcseconds"},
    {20271, "K-scale parameter for datum transformation must be greater than zero"},

    {20280, "Unable to open NTV2 grid shift file.  NTV2 datum conversions cannot be performed "
            "unless an NTV2 grid shift file is installed in the same folder/directory as this "
            "software."},
    {20281, "NTV2 grid shift file contains unexpected or corrupt data.  Unable to proceed with "
            "NTV2 datum conversion."},
};

} // namespace

const char* MessageText(uint16_t id) {
    for (const MessageRow& row : kMessages)
        if (row.id == id) return row.text;
    return nullptr;
}

int LoadMessageString(uint16_t id, char* buffer, size_t size) {
    if (!buffer || size == 0) return 0;
    buffer[0] = '\0';
    const char* text = MessageText(id);
    if (!text) return 0;
    size_t n = std::strlen(text);
    if (n > size - 1) n = size - 1;
    std::memcpy(buffer, text, n);
    buffer[n] = '\0';
    return static_cast<int>(n);
}

} // namespace KVProj
