// Rows of the EPSG geodetic parameter dataset that the ".prj" reader and
// writer need: geodetic and vertical datums, geographic coordinate systems with
// their transformation to WGS 84, ellipsoids and prime meridians. The arrays are
// generated from data/epsg/*.tsv by tools/gen_epsg_tables.py.
#ifndef KVPROJ_FORMATS_EPSGTABLES_H
#define KVPROJ_FORMATS_EPSGTABLES_H

namespace KVProj {

struct EpsgDatum {
    int code;         // 5100-5999 vertical, 6001-6999 geodetic
    const char* name; // EPSG name, "North American Datum 1927"
    bool vertical;
    int ellipsoidCode;     // 0 for vertical datums
    int primeMeridianCode; // 0 for vertical datums
    int areaCode;
    const char* esriName; // "D_North_American_1927"; "" when there is none
};

struct EpsgGeographic {
    int code;
    const char* name;
    const char* esriName;
    int datumCode;
    int angularUnitCode;
    int ellipsoidCode;
    int primeMeridianCode;
    int tfmMethod;     // 9603, 9606, 9607; 0 when there is no transformation
    double dx, dy, dz; // metres
    double rx, ry, rz; // arc-seconds in the method's own sign convention
    double scalePpm;
};

struct EpsgEllipsoid {
    int code;
    const char* name;         // EPSG name, "Clarke 1866"
    double semiMajorAxis;     // metres
    double inverseFlattening; // 0 for a sphere
    const char* esriName;
};

struct EpsgPrimeMeridian {
    int code;
    const char* name;
    double longitude;        // as EPSG gives it, in the meridian's own unit
    double longitudeDegrees; // decimal degrees east of Greenwich
};

// A projected coordinate system whose method the tool can express, from
// data/epsg/epsg_projected.tsv. Angles in degrees (east of the base system's
// prime meridian), lengths in metres; a parameter the method lacks is 0.
struct EpsgProjected {
    int code;
    const char* name;      // "NAD83 / UTM zone 17N"
    const char* method;    // "tm", "lcc1", "lcc2", ... (see tools/gen_epsg_projected.py)
    int geographicCode;    // the base geographic system
    bool northingFirst;    // the registry orders the axes northing, easting
    int unitCode;          // the unit of the projected axes (9001 metre, 9003 US survey foot)
    double unitMetres;     // metres in that unit
    double lat0, lon0;     // origin (false origin, projection centre)
    double lat1, lat2;     // standard parallels
    double k0;             // scale factor at the origin or centre
    double fe, fn;         // false easting and northing (metres)
    double azimuth, gamma; // oblique Mercator: azimuth and rectified grid angle
};

// A base geographic system that epsg_gcs.tsv lacks (data/epsg/epsg_gcs_bases.tsv).
struct EpsgGeographicBase {
    int code;
    const char* name;
    int datumCode;
    int ellipsoidCode;
    int primeMeridianCode;
    double semiMajorAxis;     // metres
    double inverseFlattening; // 0 for a sphere
};

// A projected system of the registry that the tool cannot express, and why.
struct EpsgRefused {
    int code;
    const char* reason; // "the method Krovak", "axes pointing west/north"
};

extern const int kEpsgRefusedCount;
extern const EpsgRefused kEpsgRefuseds[];
extern const int kEpsgProjectedCount;
extern const EpsgProjected kEpsgProjecteds[];
extern const int kEpsgGeographicBaseCount;
extern const EpsgGeographicBase kEpsgGeographicBases[];

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
const EpsgProjected* EpsgFindProjected(int code);
const EpsgRefused* EpsgFindRefused(int code);
const EpsgGeographic* EpsgFindGeographic(int code);
const EpsgGeographicBase* EpsgFindGeographicBase(int code);
// The geographic system whose datum is `datumCode`.
const EpsgGeographic* EpsgFindGeographicByDatum(int datumCode);
// The first datum whose EPSG or ESRI name equals `name` ignoring case; -1 when none.
int EpsgDatumCodeFromName(const char* name);

} // namespace KVProj

#endif
