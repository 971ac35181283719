// Rows of the EPSG geodetic parameter dataset that the ".prj" reader and
// writer need: geodetic and vertical datums, geographic coordinate systems with
// their transformation to WGS 84, ellipsoids and prime meridians. The arrays are
// generated from data/epsg/*.tsv by tools/gen_epsg_tables.py.
#ifndef KVPROJ_FORMATS_EPSGTABLES_H
#define KVPROJ_FORMATS_EPSGTABLES_H

namespace KVProj {

struct EpsgDatum {
    int code;              // 5100-5999 vertical, 6001-6999 geodetic
    const char* name;      // EPSG name, "North American Datum 1927"
    bool vertical;
    int ellipsoidCode;     // 0 for vertical datums
    int primeMeridianCode; // 0 for vertical datums
    int areaCode;
    const char* esriName;  // "D_North_American_1927"; "" when there is none
};

struct EpsgGeographic {
    int code;
    const char* name;
    const char* esriName;
    int datumCode;
    int angularUnitCode;
    int ellipsoidCode;
    int primeMeridianCode;
    int tfmMethod;         // 9603, 9606, 9607; 0 when there is no transformation
    double dx, dy, dz;     // metres
    double rx, ry, rz;     // arc-seconds in the method's own sign convention
    double scalePpm;
};

struct EpsgEllipsoid {
    int code;
    const char* name;      // EPSG name, "Clarke 1866"
    double semiMajorAxis;  // metres
    double inverseFlattening; // 0 for a sphere
    const char* esriName;
};

struct EpsgPrimeMeridian {
    int code;
    const char* name;
    double longitude;        // as EPSG gives it, in the meridian's own unit
    double longitudeDegrees; // decimal degrees east of Greenwich
};

extern const int kEpsgDatumCount;
extern const EpsgDatum kEpsgDatums[];
extern const int kEpsgGeographicCount;
extern const EpsgGeographic kEpsgGeographics[];
extern const int kEpsgEllipsoidCount;
extern const EpsgEllipsoid kEpsgEllipsoids[];
extern const int kEpsgPrimeMeridianCount;
extern const EpsgPrimeMeridian kEpsgPrimeMeridians[];

// Lookups by exact code; null when there is no row.
const EpsgDatum* EpsgFindDatum(int code);
const EpsgEllipsoid* EpsgFindEllipsoid(int code);
const EpsgPrimeMeridian* EpsgFindPrimeMeridian(int code);
// The geographic system whose datum is `datumCode`.
const EpsgGeographic* EpsgFindGeographicByDatum(int datumCode);
// The first datum whose EPSG or ESRI name equals `name` ignoring case; -1 when none.
int EpsgDatumCodeFromName(const char* name);

} // namespace KVProj

#endif
