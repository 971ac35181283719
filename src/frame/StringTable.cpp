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
    {IDS_INTERNAL_ERROR, "Internal inconsistency detected"},
    {IDS_OUT_OF_MEMORY, "Out of global memory"},
    {IDS_WRITE_FAILED, "Failed writing to file"},
    {IDS_READ_FAILED, "Failed reading from file"},
    {IDS_OPEN_FAILED, "Failed opening file"},
    {IDS_BAD_PARAMETER, "Software was passed a bad parameter"},

    {IDS_PROJ_TYPE, "Invalid projection type parameter specified"},
    {IDS_PROJ_SCALE, "Scale parameter must be greater than zero"},
    {IDS_PROJ_K0, "Central scale factor parameter (K0) must be greater than zero"},
    {IDS_PROJ_FALSE_EASTING, "Invalid value specified for false easting parameter"},
    {IDS_PROJ_FALSE_NORTHING, "Invalid value specified for false northing parameter"},
    {IDS_PROJ_LON0,
     "Central longitude (Lon0) parameter was outside the range of -360 to +360 degrees"},
    {IDS_PROJ_LON1, "Longitude one (Lon1) parameter was outside the range of -360 to +360 degrees"},
    {IDS_PROJ_LON2, "Longitude two (Lon2) parameter was outside the range of -360 to +360 degrees"},
    {IDS_PROJ_LON3,
     "Longitude three (Lon3) parameter was outside the range of -360 to +360 degrees"},
    {IDS_PROJ_LAT0, "Central latitude (Lat0) parameter was outside the range of -90 to +90"},
    {IDS_PROJ_LAT1, "Standard parallel one (Lat1) parameter was outside the range of -90 to +90"},
    {IDS_PROJ_LAT2, "Standard parallel two (Lat2) parameter was outside the range of -90 to +90"},
    {IDS_PROJ_LAT3, "Standard parallel three (Lat3) parameter was outside the range of -90 to +90"},
    {IDS_PROJ_ALPHA, "Azimuth (Alpha) parameter was outside the range of -360 to +360 degrees"},
    {IDS_PROJ_BONNE_LAT1, "Standard parallel (Lat1) parameter for Bonne projection cannot be zero"},
    {IDS_PROJ_ALBERS_PARALLELS,
     "Sum or difference of standard parallel parameters (Lat1+Lat2) cannot be zero for "
     "Albers Equal Area projection"},
    {IDS_PROJ_HOTINE_ALPHA,
     "Azimuth (Alpha) parameter cannot be zero for Hotine Oblique Mercator projection"},
    {IDS_PROJ_LAMBERT_PARALLELS,
     "Standard parallels (Lat1, Lat2) cannot be similar for Lambert Conformal Conic "
     "projection"},
    {IDS_PROJ_ELLIPSOID, "Invalid ellipsoid parameter specified for projection"},
    {IDS_ELLIPSOID_RADIUS, "Ellipsoid radius parameter must be greater than zero"},
    {IDS_ELLIPSOID_FLATTENING,
     "Ellipsoid flattening parameter cannot be less than zero or greater than or equal "
     "to one"},
    {IDS_PROJ_MERCATOR_LAT0,
     "Central latitude (Lat0) parameter cannot be +/-90 degrees for Mercator projection"},
    {IDS_PROJ_STATE_ZONE, "State zone parameter not recognized"},
    {IDS_PROJ_OMERC_PARALLELS,
     "Standard parallels (Lat1, Lat2) cannot be similar for Oblique Mercator projection"},
    {IDS_PROJ_OMERC_LAT1,
     "First standard parallel (Lat1) cannot be zero for Oblique Mercator projection"},
    {IDS_PROJ_OMERC_LAT2,
     "Second standard parallel (Lat2) cannot be 90 degrees for Oblique Mercator "
     "projection"},
    {IDS_PROJ_EQDC_PARALLELS,
     "Sum or difference of standard parallel parameters (Lat1+Lat2) cannot be zero for "
     "Equidistant Conic projection"},

    {IDS_BAD_SRC_DATUM, "Invalid source datum specified"},
    {IDS_BAD_DEST_DATUM, "Invalid destination datum specified"},
    {IDS_BAD_METHOD, "Invalid datum transformation method specified"},
    {IDS_BAD_ELLIPSOID, "Invalid ellipsoid specified for datum transformation"},
    {IDS_BAD_PMSHIFT, "Prime meridian shift must be between -180 and +180 degrees"},
    {IDS_BAD_DX, "Invalid X axis shift for datum transformation"},
    {IDS_BAD_DY, "Invalid Y axis shift for datum transformation"},
    {IDS_BAD_DZ, "Invalid Z axis shift for datum transformation"},
    {IDS_BAD_RX, "X axis rotation was outside the range of -3600 to +3600 arcseconds"},
    {IDS_BAD_RY, "Y axis rotation was outside the rnage of -3600 to +3600 arcseconds"},
    {IDS_BAD_RZ, "Z axis rotation was outside the rnage of -3600 to +3600 arcseconds"},
    {IDS_BAD_KSCALE, "K-scale parameter for datum transformation must be greater than zero"},

    {IDS_NTV2_OPEN,
     "Unable to open NTV2 grid shift file.  NTV2 datum conversions cannot be performed "
     "unless an NTV2 grid shift file is installed in the same folder/directory as this "
     "software."},
    {IDS_NTV2_CORRUPT,
     "NTV2 grid shift file contains unexpected or corrupt data.  Unable to proceed with "
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
