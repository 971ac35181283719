#!/usr/bin/python3
"""GeoTIFF writing oracle: GeoTIFF tags written by `kvproj export`, read by GDAL.

For every case (each projection type the tag builder knows, UTM north and south
on each datum of the reverse UTM table, state plane zones of both systems in
metres and US survey feet, north-up and rotated georeferences, control points)
this writes a copy of a 2 x 2 image with our tags, then
  - reads it with `gdalinfo -json -proj4` (the CRS GDAL makes of the keys, its
    PROJ string, the geotransform or the control points),
  - projects a 5 x 5 grid of longitude/latitude points with PROJ's `proj` on
    GDAL's PROJ string (projection only, no datum shift) and with `kvproj
    convert` on the projection we wrote, and takes the largest difference in
    metres,
  - compares GDAL's geotransform with our coefficients: the tool writes
    RasterPixelIsPoint (coefficients name pixel centres), so GDAL's corner-based
    geotransform is expected at C - (A + B) / 2, F - (D + E) / 2,
  - reads the file back with our own reader (`kvproj convert --dst-file` on the
    same points and `kvproj info --json` for the datum): the round trip.
A summary table follows: cases, GDAL reads the same CRS (within 1 mm over the
points and the same georeference), and every case that differs with a reason.

Needs gdalinfo, proj and a built kvproj; standard library only.
  tools/geotiff_write_oracle.py [--kvproj build/kvproj] [--keep DIR] [--only WORD]
"""
import argparse
import json
import math
import os
import re
import subprocess
import sys
import tempfile

HERE = os.path.dirname(os.path.abspath(__file__))
IMAGE = os.path.join(HERE, "..", "tests", "data", "geotiff", "pixels.tif")
FEET = 3.2808333333333333  # US survey feet per metre
SAME_MM = 1e-3

NORTH_UP = "30,0,500015,0,-30,4000015"
ROTATED = "25,15,500000,15,-25,4000000"
CONTROLS = ["0,0,500000,4000000", "2,0,500060,4000010", "0,2,499990,3999940",
            "2,2,500050,3999950"]


class Case:
    def __init__(self, name, group, proj=None, utm=None, zone=None, datum=None, around=(0, 0, 5),
                 scale=1.0, coeff=NORTH_UP, controls=None, why=""):
        self.name, self.group = name, group
        self.proj, self.utm, self.zone, self.datum = proj, utm, zone, datum
        self.around, self.scale, self.coeff, self.controls = around, scale, coeff, controls
        self.why = why  # known reason when GDAL reads something else

    def proj_args(self):
        args = []
        if self.utm:
            args += ["--utm", self.utm]
        if self.zone:
            args += ["--zone", self.zone]
        if self.proj:
            args += ["--proj", self.proj]
        return args


# The reasons below were found by reading the keys with listgeo and GDAL's CRS.
NO_CT = ("no GeoTIFF coordinate transformation code: written with ProjCoordTransGeoKey 32767 "
         "(user-defined), which GDAL reads as an engineering CRS named by the citation")
PROJECTIONS = [
    Case("unprojected", "type", proj="proj=latlong", datum="NAD27", around=None),
    Case("merc", "type", proj="proj=merc Lon0=10 xOrg=100000 yOrg=200000", datum="WGS84",
         around=(12, 40, 8)),
    Case("merc-lat0", "type", proj="proj=merc Lon0=10 Lat0=30", datum="WGS84", around=(12, 40, 8)),
    Case("aea", "type", proj="proj=aea Lon0=-96 Lat0=23 Lat1=29.5 Lat2=45.5", datum="NAD83",
         around=(-96, 38, 8)),
    Case("mill", "type", proj="proj=mill Lon0=20", datum="WGS84", around=(20, 20, 30)),
    Case("lcc", "type", proj="proj=lcc Lon0=-96 Lat0=39 Lat1=33 Lat2=45 xOrg=1000000",
         datum="NAD83", around=(-96, 39, 8)),
    Case("stere-polar", "type",
         proj="proj=stere Lon0=-45 Lat0=90 K0=0.994 xOrg=2000000 yOrg=2000000", datum="WGS84",
         around=(-45, 80, 8)),
    Case("stere-oblique", "type",
         proj="proj=stere Lon0=5.387638889 Lat0=52.156160556 K0=0.9999079 xOrg=155000 yOrg=463000",
         datum="WGS84", around=(5, 52, 3)),
    Case("stere-equator", "type", proj="proj=stere Lon0=10 K0=1", datum="WGS84", around=(10, 0, 8)),
    Case("ortho", "type", proj="proj=ortho Lon0=10 Lat0=50", datum="WGS84", around=(10, 50, 8)),
    Case("moll", "type", proj="proj=moll Lon0=0", datum="WGS84", around=(0, 0, 40), why=NO_CT),
    Case("poly", "type", proj="proj=poly Lon0=-96 Lat0=30", datum="WGS84", around=(-96, 35, 8)),
    Case("hotine", "type",
         proj="proj=12 usealpha=1 Alpha=323.1301023611 Lon0=-133.6666666667 Lat0=57 K0=0.9999 "
              "xOrg=5000000 yOrg=-5000000", datum="NAD83", around=(-134, 57, 3)),
    Case("eqc", "type", proj="proj=eqc Lon0=0 Lat1=30", datum="WGS84", around=(0, 0, 40),
         why=NO_CT),
    Case("robin", "type", proj="proj=robin", datum="WGS84", around=(0, 0, 40)),
    Case("vandg", "type", proj="proj=15 Lon0=0", datum="WGS84", around=(0, 0, 40)),
    Case("cass", "type", proj="proj=16 Lon0=-61.3333333333 Lat0=10.4416666667 xOrg=86501 "
         "yOrg=65715", datum="WGS84", around=(-61, 10.5, 1)),
    Case("tmerc", "type", proj="proj=tmerc Lon0=-2 Lat0=49 K0=0.9996012717 xOrg=400000 "
         "yOrg=-100000", datum="WGS84", around=(-2, 53, 3)),
    Case("gk", "type", proj="proj=gk Lon0=9 K0=1 xOrg=3500000", datum="WGS84", around=(9, 50, 2)),
    Case("sinu", "type", proj="proj=sinu Lon0=0", datum="WGS84", around=(0, 0, 40)),
    Case("laea", "type", proj="proj=laea Lon0=10 Lat1=52 xOrg=4321000 yOrg=3210000",
         datum="WGS84", around=(10, 52, 8)),
    Case("bonne", "type", proj="proj=bonne Lon0=10 Lat1=45", datum="WGS84", around=(10, 45, 8),
         why=NO_CT),
    Case("robin-sterling", "type", proj="proj=22 Lon0=0", datum="WGS84", around=(0, 0, 40)),
    Case("eck4", "type", proj="proj=eck4 Lon0=0", datum="WGS84", around=(0, 0, 40), why=NO_CT),
    Case("eck6", "type", proj="proj=eck6 Lon0=0", datum="WGS84", around=(0, 0, 40), why=NO_CT),
    Case("omerc-2pt", "type", proj="proj=25 Lon1=-100 Lat1=40 Lon2=-90 Lat2=45 K0=1",
         datum="WGS84", around=(-95, 42, 3)),
    Case("eqdc", "type", proj="proj=eqdc Lon0=-96 Lat0=40 Lat1=30 Lat2=50", datum="WGS84",
         around=(-96, 40, 8)),
    Case("gnom", "type", proj="proj=gnom Lon0=10 Lat1=50", datum="WGS84", around=(10, 50, 8)),
    Case("aeqd", "type", proj="proj=aeqd Lon0=10 Lat1=52", datum="WGS84", around=(10, 52, 8)),
]

# Datums of the reverse UTM table with a zone inside each datum's area.
UTM_DATUMS = [(5, 31), (98, 46), (93, 47), (105, 47), (165, 18), (2, 11), (124, 11), (229, 11),
              (232, 11), (1, 18), (120, 38), (121, 38), (122, 38), (123, 20), (164, 32),
              (6, 18), (231, 18), (183, 20), (184, 21), (14, 35), (202, 38), (203, 49), (4, 33),
              (215, 33), (3, 33), (238, 55), (243, 55)]


def utm_cases():
    out = []
    for datum, zone in UTM_DATUMS:
        for south in (False, True):
            lon0 = zone * 6 - 183
            lat = -30 if south else 30
            out.append(Case("utm%d%s-d%d" % (zone, "S" if south else "N", datum), "utm",
                            utm="%d%s" % (zone, "S" if south else "N"), datum=str(datum),
                            around=(lon0, lat, 2)))
    return out


# State plane zones by FIPS code: (system, FIPS, centre longitude, centre latitude).
ZONES = [("27", "0101", -85.8, 32.5), ("27", "0403", -120.0, 37.0), ("27", "3104", -74.0, 40.8),
         ("27", "4204", -99.0, 29.5), ("27", "2113", -84.5, 43.0), ("27", "5001", -134.0, 57.0),
         ("27", "1801", -68.5, 45.0), ("27", "3901", -81.3, 33.8), ("27", "2501", -109.0, 48.0),
         ("27", "0600", -72.7, 41.5),
         ("83", "0101", -85.8, 32.5), ("83", "0403", -120.0, 37.0), ("83", "3104", -74.0, 40.8),
         ("83", "4204", -99.0, 29.5), ("83", "2113", -84.5, 43.0), ("83", "5001", -134.0, 57.0),
         ("83", "1801", -68.5, 45.0), ("83", "1401", -93.5, 42.5), ("83", "2500", -109.0, 47.0),
         ("83", "0600", -72.7, 41.5)]


def zone_cases():
    out = []
    for system, fips, lon, lat in ZONES:
        datum = "NAD27" if system == "27" else "NAD83"
        for feet in (False, True):
            out.append(Case("sp%s-%s-%s" % (system, fips, "ft" if feet else "m"), "zone",
                            zone="spcs%s:%s" % (system, fips), datum=datum,
                            proj="Scale=%.16g" % FEET if feet else None, around=(lon, lat, 0.5),
                            scale=FEET if feet else 1.0))
    return out


def georef_cases():
    utm = dict(utm="33N", datum="WGS84", around=(15, 36, 2))
    return [
        Case("north-up", "georef", coeff=NORTH_UP, **utm),
        Case("rotated", "georef", coeff=ROTATED, **utm),
        Case("controls-4", "georef", coeff=None, controls=CONTROLS, **utm),
        Case("controls-3", "georef", coeff=None, controls=CONTROLS[:3], **utm),
    ]


# Why GDAL reads something else, found by reading the keys with listgeo and
# GDAL's PROJ string; the first prefix of the case name that matches.
UTM_ROW = "written with the code of the reverse table or range table, whose hemisphere is not compared"
WHY = [
    ("mill", "GDAL reads Miller on the authalic sphere (+R_A); our module uses the semi-major axis"),
    ("vandg", "GDAL reads Van der Grinten on the authalic sphere (+R_A); ours uses the semi-major axis"),
    ("stere-oblique", "CT 16 is read as the double (oblique) stereographic; ours is the ellipsoidal stereographic on the conformal sphere"),
    ("ortho", "PROJ's orthographic is ellipsoidal; our module is spherical"),
    ("cass", "PROJ's Cassini is ellipsoidal; our module is spherical"),
    ("eqdc", "PROJ's equidistant conic is ellipsoidal; our module is spherical"),
    ("hotine", "both meridian ids are used, so ProjNatOriginLong/ProjCenterLong take Lon1/Lon2 (0 in the azimuth form): the centre longitude is lost"),
    ("robin-sterling", "written as CT 23 Robinson: PROJ's Robinson is within 0.12 m of our Robinson-Sterling"),
    ("robin", "written as CT 23 (Robinson): our Robinson table keeps 0.4968 for 40 degrees where PROJ has 0.4958 (8.6 km); our reader makes it Robinson-Sterling"),
    ("laea", "the centre latitude is kept in Standard Parallel, written as ProjStdParallel1, which GDAL's LAEA does not read (ProjCenterLat is 0)"),
    ("gnom", "the centre latitude is kept in Standard Parallel, written as ProjStdParallel1; GDAL's gnomonic reads ProjCenterLat 0"),
    ("aeqd", "written as CT 11 (Albers) by the coordinate transformation table"),
    ("omerc-2pt", "written as CT 6 (spherical oblique Mercator), which GDAL does not read"),
    ("utm18N-d165", "code 24836 (24818 + zone) is not an EPSG code"),
    ("utm20N-d123", "code 72120 does not fit the 16-bit key: 6584 is read"),
    ("utm20S-d123", UTM_ROW + ": 27120 is zone 20N"),
    ("utm32", "code 28032 (28000 + zone) is not an EPSG code"),
    ("utm21", "code 29321 (29300 + zone) is not an EPSG code"),
    ("utm38N-d12", "EPSG 27038 is on Clarke 1880 (RGS) where our datum's ellipsoid is Clarke 1880 (IGN)"),
    ("utm38S-d12", "GDAL takes the datum code's ellipsoid, Clarke 1880 (RGS), over GeogEllipsoidGeoKey"),
    ("utm35N-d14", "EPSG 29635 is on Clarke 1880 (RGS) where our datum's ellipsoid is Clarke 1880 (IGN)"),
    ("utm", UTM_ROW),
    ("sp27-3104", "EPSG 32018 (deprecated, replaced by 4456) has a false easting of 1,000,000 ftUS; the zone's is 2,000,000 ftUS"),
    ("sp27-2113", "26790 is not in the EPSG registry: GDAL builds the LCC from our keys on the Clarke 1866 written for the record, while the zone converts on the enlarged Michigan figure (ellipsoid 42)"),
    ("sp27-5001", "the skew zone: PROJ's Hotine and ours differ by 1.4 mm over the zone"),
]

DATUM_IDS = {"WGS84": "3", "NAD83": "1", "NAD27": "2"}


def run(args, stdin=""):
    p = subprocess.run(args, input=stdin, capture_output=True, text=True)
    return p.returncode, p.stdout, p.stderr


def grid(around):
    lon, lat, d = around
    return [(lon + d * (i - 2) / 2.0, max(-89.0, min(89.0, lat + d * (j - 2) / 2.0)))
            for i in range(5) for j in range(5)]


def numbers(text):
    rows = []
    for line in text.splitlines():
        w = line.replace(",", " ").split()
        try:
            rows.append((float(w[0]), float(w[1])))
        except (ValueError, IndexError):
            rows.append((math.nan, math.nan))
    return rows


def largest(a, b, scale):
    """Largest distance in metres between two lists of points in the same units."""
    if len(a) != len(b) or not a:
        return math.inf
    worst = 0.0
    for (x1, y1), (x2, y2) in zip(a, b):
        d = math.hypot(x1 - x2, y1 - y2) / scale
        worst = max(worst, d if d == d else math.inf)
    return worst


def ellipsoid_words(kv, case):
    """The datum's ellipsoid as a word, so that our conversion needs no datum shift."""
    if not case.datum or case.zone:
        return ""
    _, out, _ = run([kv, "datum", case.datum])
    m = re.search(r"^ellipsoid:\s+(\d+)", out, re.M)
    return " ellps=" + m.group(1) if m else ""


def ours(kv, case, points):
    args = [kv, "convert", "--fwd", "--precision", "6"]
    args += ["--utm", case.utm] if case.utm else []
    args += ["--zone", case.zone] if case.zone else []
    words = ((case.proj or "") + ellipsoid_words(kv, case)).strip()
    args += ["--proj", words] if words else []
    rc, out, err = run(args, "".join("%.10f %.10f\n" % p for p in points))
    return numbers(out) if rc == 0 else None


def export(kv, case, path):
    args = [kv, "export", "--format", "geotiff", "--image", IMAGE, "--out", path]
    args += case.proj_args()
    if case.datum:
        args += ["--datum", case.datum]
    if case.coeff:
        args += ["--coeff", case.coeff]
    for c in case.controls or []:
        args += ["--control", c]
    rc, _, err = run(args)
    return err.strip() if rc else None


def gdal_read(path):
    rc, out, err = run(["gdalinfo", "-json", "-proj4", path])
    if rc:
        return None
    info = json.loads(out)
    cs = info.get("coordinateSystem") or {}
    wkt = cs.get("wkt", "")
    gcps = info.get("gcps", {})
    if not wkt and gcps:
        wkt = gcps.get("coordinateSystem", {}).get("wkt", "")
        cs = gcps.get("coordinateSystem", {})
    proj4 = cs.get("proj4", "")
    if wkt and not proj4:  # gdalinfo gives none for the control points' CRS
        rc, out, _ = run(["projinfo", "-o", "PROJ", "-q", wkt])
        proj4 = out.split("\n")[0].replace("+type=crs", "").strip() if rc == 0 else ""
    base = wkt[:wkt.find("CONVERSION[")] if "CONVERSION[" in wkt else wkt
    datum = re.search(r'DATUM\["([^"]*)"', base)
    # The geographic system's code (4xxx) or the datum's (6xxx), not the ellipsoid's.
    geog = [c for c in re.findall(r'ID\["EPSG",(\d+)\]', base) if c[0] in "46" and len(c) == 4]
    name = re.match(r'\s*\w+\["([^"]*)"', wkt)
    code = re.search(r'ID\["EPSG",(\d+)\]\]\s*$', wkt)
    return {
        "kind": wkt.split("[", 1)[0].strip() if wkt else "",
        "name": name.group(1) if name else "",
        "code": int(code.group(1)) if code else 0,
        "proj4": proj4,
        "datum": datum.group(1) if datum else "",
        "geog": int(geog[-1]) if geog else 0,
        "gt": info.get("geoTransform"),
        "gcps": gcps.get("gcpList", []),
    }


def expected_gt(coeff):
    a, b, c, d, e, f = (float(v) for v in coeff.split(","))
    return [c - (a + b) / 2, a, b, f - (d + e) / 2, d, e]


def georef_verdict(case, g):
    """Empty when GDAL's georeference is what we wrote, else why not."""
    if case.controls:
        # RasterPixelIsPoint: GDAL moves the pixel and line of each point by half a pixel.
        want = [[float(v) + (0.5 if i < 2 else 0) for i, v in enumerate(c.split(","))]
                for c in case.controls]
        got = [[p["pixel"], p["line"], p["x"], p["y"]] for p in g["gcps"]]
        if len(got) != len(want):
            return "GDAL reads %d control points of %d" % (len(got), len(want))
        shift = max(abs(w - o) for gw, gg in zip(want, got) for w, o in zip(gw, gg))
        if shift > 1e-9:
            return "control points moved by up to %g (pixel/line or map)" % shift
        return ""
    if not g["gt"]:
        return "GDAL reads no geotransform"
    want = expected_gt(case.coeff)
    off = max(abs(a - b) for a, b in zip(want, g["gt"]))
    return "" if off <= 1e-6 else "geotransform %s, expected %s" % (g["gt"], want)


def datum_code(kv, datum):
    """The EPSG datum code of one of our datums, 0 when it has none."""
    _, out, _ = run([kv, "datum", datum])
    m = re.search(r"^epsg:\s+(\d+)", out, re.M)
    return int(m.group(1)) if m else 0


def datum_note(kv, case, g):
    """Empty when GDAL's geographic CRS or datum is that of our datum's code (EPSG keeps
    the geographic code 2000 below the datum code), else what GDAL reads instead."""
    if not case.datum or not g.get("datum"):
        return ""
    code = datum_code(kv, case.datum)
    if code and g["geog"] and g["geog"] not in (code, code - 2000):
        return "GDAL reads datum '%s' (EPSG:%d) for our EPSG datum %d" % (g["datum"], g["geog"], code)
    if not code and g["geog"]:
        return "our datum has no EPSG code (none written); GDAL takes '%s' from the system code" % g["datum"]
    return ""


def round_trip(kv, case, path, points, mine):
    """Largest difference in metres of the points through the records our reader
    makes of the file (its projection's Scale gives the units), and the datum read."""
    rc, out, _ = run([kv, "info", path, "--json"])
    info = json.loads(out)[0] if rc == 0 else {}
    datum = (info.get("datum") or {}).get("id")
    scale = float((info.get("projection") or {}).get("Scale", "1") or 1) or 1.0
    rc, out, _ = run([kv, "convert", "--dst-file", path, "--precision", "6"],
                     "".join("%.10f %.10f\n" % p for p in points))
    if rc:
        return math.inf, datum
    read = [(x / scale, y / scale) for x, y in numbers(out)]
    return largest([(x / case.scale, y / case.scale) for x, y in mine], read, 1.0), datum


def check(kv, case, tmp):
    path = os.path.join(tmp, case.name + ".tif")
    refused = export(kv, case, path)
    if refused:
        return {"case": case, "same": False, "reason": "export refused: " + refused}
    g = gdal_read(path)
    r = {"case": case, "gdal": g, "dist": math.nan, "trip": math.nan, "datum": None}
    if g is None:
        return dict(r, same=False, reason="gdalinfo cannot open the file")
    reasons = []
    if case.around is None:
        if g["kind"] not in ("GEOGCRS", "GEOGCS"):
            reasons.append("GDAL reads %s '%s'" % (g["kind"] or "no CRS", g["name"]))
    else:
        points = grid(case.around)
        mine = ours(kv, case, points)
        if mine is None:
            reasons.append("kvproj convert refused the projection")
        elif not g["proj4"]:
            reasons.append("GDAL reads %s" % (("%s '%s' (no PROJ string)" % (g["kind"], g["name"]))
                                              if g["name"] else "no CRS"))
        else:
            rc, out, _ = run(["proj", "-f", "%.6f"] + g["proj4"].split(),
                             "".join("%.10f %.10f\n" % p for p in points))
            r["dist"] = largest(mine, numbers(out), case.scale) if rc == 0 else math.inf
            if not r["dist"] <= SAME_MM:
                reasons.append("GDAL reads %s%s: points differ by up to %.4g m" % (
                    "EPSG:%d " % g["code"] if g["code"] else "", g["name"] or g["proj4"],
                    r["dist"]))
        if mine is not None:
            r["trip"], r["datum"] = round_trip(kv, case, path, points, mine)
    r["datumNote"] = datum_note(kv, case, g)
    if r["datumNote"].startswith("GDAL reads datum"):
        reasons.append(r["datumNote"])
    georef = georef_verdict(case, g)
    if georef:
        reasons.append(georef)
    why = case.why or next((w for k, w in WHY if case.name.startswith(k)), "")
    if reasons and why:
        reasons.insert(0, why)
    return dict(r, same=not reasons, reason="; ".join(reasons), listgeo=listgeo(path))


def listgeo(path):
    """libgeotiff's reading of the keys in one line: the PCS or the method, and the datum."""
    rc, out, _ = run(["listgeo", path])
    if rc:
        return ""
    found = re.findall(r"^(PCS = .*|Projection Method: .*|Datum: .*)$", out, re.M)
    return "; ".join(found)


FIELDS = {"lon0": "Lon0", "lat0": "Lat0", "lat1": "Lat1", "lat2": "Lat2", "lon1": "Lon1",
          "lon2": "Lon2", "k0": "K0", "xorg": "xOrg", "yorg": "yOrg", "alpha": "Alpha",
          "usealpha": "bUseAlpha"}
TYPES = {"latlong": 0, "merc": 1, "aea": 2, "mill": 3, "lcc": 5, "stere": 6, "ortho": 7, "moll": 8,
         "poly": 11, "eqc": 13, "robin": 14, "tmerc": 17, "gk": 18, "sinu": 19, "laea": 20,
         "bonne": 21, "eck4": 23, "eck6": 24, "eqdc": 26, "gnom": 27, "aeqd": 28}


def record(kv, case):
    """The record `kvproj export` builds for the case, as (field, value) pairs."""
    rec = {"Type": 0, "Ellipsoid": 47, "Scale": 1.0}
    if case.utm:
        zone, south = int(case.utm[:-1]), case.utm.endswith("S")
        rec.update(Type=4, Lon0=zone * 6 - 183, bSouth=int(south), K0=0.9996)
    if case.zone:
        system, fips = case.zone[4:].split(":")
        _, out, _ = run([kv, "list", "zones", "--system", system])
        index = next(int(w[0]) for w in (l.split() for l in out.splitlines())
                     if len(w) > 2 and w[1] == str(int(fips)))
        rec.update(Type=9 if system == "27" else 10, Zone=index)
    m = re.search(r"ellps=(\d+)", ellipsoid_words(kv, case))
    if m:
        rec["Ellipsoid"] = int(m.group(1))
    for word in (case.proj or "").split():
        key, value = word.split("=")
        if key == "proj":
            rec["Type"] = TYPES.get(value, int(value) if value.isdigit() else 0)
        else:
            rec[FIELDS.get(key.lower(), key)] = float(value)
    return rec


def shortest(v):
    text = repr(float(v))
    return text[:-2] if text.endswith(".0") else text


def cpp_rows(kv, results):
    """Rows of the recorded table in tests/test_geotiff.cpp: the record, the datum, what
    GDAL reads (EPSG code, PROJ's projection of the centre point) and the measured bounds."""
    def bound(d):
        return "kNoPoint" if d != d or d == math.inf else "%.1g" % max(1e-6, d * 1.5)
    for r in results:
        case, g = r["case"], r.get("gdal") or {}
        if case.group == "georef" or case.around is None or not g:
            continue
        lon, lat = case.around[0], case.around[1]
        xy = ["kNoPoint", "kNoPoint"]
        if g.get("proj4"):
            rc, out, _ = run(["proj", "-f", "%.6f"] + g["proj4"].split(), "%r %r\n" % (lon, lat))
            xy = out.split()[:2] if rc == 0 and len(out.split()) >= 2 else xy
        rec = record(kv, case)
        ints = [rec.get(k, d) for k, d in (("Type", 0), ("Ellipsoid", 47), ("Zone", 142),
                                           ("bSouth", 0), ("bUseAlpha", 0))]
        reals = [rec.get(k, 0) for k in ("Lon0", "Lat0", "Lat1", "Lat2", "Lon1", "Lon2", "K0",
                                         "xOrg", "yOrg", "Alpha")] + [rec.get("Scale", 1)]
        datum = DATUM_IDS.get(case.datum, case.datum) or 254
        print('    {"%s", {%s}, {%s}, %s, %d, %r, %r, %s, %s, %s, %s},' % (
            case.name, ", ".join("%d" % int(v) for v in ints),
            ", ".join(shortest(v) for v in reals), datum, g.get("code", 0), lon, lat, xy[0],
            xy[1], bound(r["dist"]), bound(r["trip"])))


def table(results):
    groups = {}
    for r in results:
        g = groups.setdefault(r["case"].group, [0, 0, 0])
        g[0] += 1
        g[1 if r["same"] else 2] += 1
    print("\n%-8s %6s %6s %8s" % ("group", "cases", "same", "differs"))
    for name, (n, same, diff) in groups.items():
        print("%-8s %6d %6d %8d" % (name, n, same, diff))
    total = [sum(v[i] for v in groups.values()) for i in range(3)]
    print("%-8s %6d %6d %8d" % ("all", *total))
    print("\nGDAL reads a different CRS or georeference:")
    for r in results:
        if not r["same"]:
            print("  %-22s %s" % (r["case"].name, r["reason"]))
            if r.get("listgeo"):
                print("  %-22s listgeo: %s" % ("", r["listgeo"]))
    print("\nDatums we write no code for, named by GDAL from the system code:")
    for r in results:
        if r.get("datumNote", "").startswith("our datum"):
            print("  %-22s %s" % (r["case"].name, r["datumNote"]))
    print("\nRound trip through our reader (points through the file's records, datum read):")
    for r in results:
        trip, case = r.get("trip", math.nan), r["case"]
        lost = trip == trip and trip > SAME_MM
        datum = r.get("datum")
        want = DATUM_IDS.get(case.datum, case.datum)
        if lost or (want and str(datum) != str(want)):
            print("  %-22s points %.4g m, datum %s written as %s" % (case.name, trip, datum, want))


def main():
    ap = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    ap.add_argument("--kvproj", default=os.path.join(HERE, "..", "build", "kvproj"))
    ap.add_argument("--keep", help="write the files into this folder and keep them")
    ap.add_argument("--cpp", action="store_true", help="print the rows of the C++ table")
    ap.add_argument("--only", default="", help="only cases whose name holds this word")
    o = ap.parse_args()
    cases = [c for c in PROJECTIONS + utm_cases() + zone_cases() + georef_cases()
             if o.only in c.name]
    tmp = o.keep or tempfile.mkdtemp(prefix="gtwo")
    os.makedirs(tmp, exist_ok=True)
    results = []
    for case in cases:
        r = check(o.kvproj, case, tmp)
        g = r.get("gdal") or {}
        print("%-22s %-7s gdal=%-6s dist=%-10.3g trip=%-9.3g datum=%-4s %s" % (
            case.name, "same" if r["same"] else "DIFFERS", g.get("code", "-"), r.get("dist", 0),
            r.get("trip", 0), r.get("datum"), g.get("name", "")))
        results.append(r)
    table(results)
    if o.cpp:
        cpp_rows(o.kvproj, results)
    return 0


if __name__ == "__main__":
    sys.exit(main())
