#!/usr/bin/env python3
"""Rebuilds the ".prj" reading oracle in this folder from GDAL and PROJ.

For every code in CODES: the ESRI well-known text that GDAL writes
(`gdalsrsinfo -o wkt_esri --single-line`) goes to <AUTH>_<code>.prj, and
oracle_points.tsv gets 100 points inside the CRS's area of use with
  x_proj, y_proj  the projection alone of the base geographic lon/lat (PROJ `proj`
                  on the CRS's PROJ string; input longitudes from Greenwich)
  x_full, y_full  WGS 84 lon/lat to the CRS by `cs2cs EPSG:4326 <code>` (PROJ's
                  preferred transformation, grids where installed)
Run with GDAL 3.6 and PROJ 9.1 (Debian gdal-bin, proj-bin); the test suite reads
the recorded files and never runs these tools.
"""
import os
import re
import subprocess
import sys

HERE = os.path.dirname(os.path.abspath(__file__))

# code, family (what the reader should make of it)
CODES = [
    ("EPSG:32633", "UTM north WGS 84"), ("EPSG:32733", "UTM south WGS 84"),
    ("EPSG:32617", "UTM north WGS 84"), ("EPSG:32760", "UTM south WGS 84"),
    ("EPSG:26915", "UTM north NAD 83"), ("EPSG:26715", "UTM north NAD 27"),
    ("EPSG:23031", "UTM north ED 50"), ("EPSG:25832", "UTM north ETRS 89"),
    ("EPSG:29193", "UTM south SAD 69"), ("EPSG:31983", "UTM south SIRGAS 2000"),
    ("EPSG:20135", "UTM north Adindan"), ("EPSG:32648", "UTM north WGS 84"),
    ("EPSG:26729", "SPCS27 TM ftUS"), ("EPSG:26741", "SPCS27 LCC ftUS"),
    ("EPSG:32039", "SPCS27 LCC ftUS"), ("EPSG:26929", "SPCS83 TM m"),
    ("EPSG:32139", "SPCS83 LCC m"), ("EPSG:26986", "SPCS83 LCC m"),
    ("EPSG:2263", "SPCS83 LCC ftUS"), ("EPSG:2227", "SPCS83 LCC ftUS"),
    ("EPSG:2249", "SPCS83 LCC ftUS"), ("EPSG:2272", "SPCS83 LCC ftUS"),
    ("EPSG:27700", "national TM"), ("EPSG:2154", "national LCC 2SP"),
    ("EPSG:3035", "national LAEA"), ("EPSG:3857", "web Mercator"),
    ("EPSG:31467", "national Gauss-Kruger"), ("EPSG:2056", "national Hotine centre"),
    ("EPSG:21781", "national Hotine centre"), ("EPSG:28992", "national double stereographic"),
    ("EPSG:3067", "national TM"), ("EPSG:2180", "national TM"), ("EPSG:3006", "national TM"),
    ("EPSG:2100", "national TM"), ("EPSG:3763", "national TM"), ("EPSG:27572", "LCC 1SP Paris"),
    ("EPSG:31370", "LCC 2SP Belgium"), ("EPSG:3034", "LCC 2SP"), ("EPSG:3347", "LCC 2SP"),
    ("EPSG:2193", "national TM"), ("EPSG:28355", "national TM"),
    ("EPSG:3395", "Mercator 1SP"), ("EPSG:3832", "Mercator 1SP"),
    ("EPSG:3413", "polar stereographic north"), ("EPSG:3031", "polar stereographic south"),
    ("EPSG:5041", "polar stereographic UPS"), ("EPSG:3338", "Albers"),
    ("EPSG:5070", "Albers"), ("EPSG:3577", "Albers"), ("EPSG:3310", "Albers"),
    ("EPSG:3571", "LAEA polar"), ("EPSG:3573", "LAEA polar"),
    ("ESRI:54009", "Mollweide"), ("ESRI:54030", "Robinson"), ("ESRI:54008", "Sinusoidal"),
    ("ESRI:54003", "Miller"), ("ESRI:54012", "Eckert IV"), ("ESRI:54010", "Eckert VI"),
    ("ESRI:102010", "Equidistant conic"), ("ESRI:54029", "Van der Grinten"),
    ("ESRI:54024", "Bonne"), ("ESRI:54032", "Azimuthal equidistant"),
    ("EPSG:3068", "Cassini"), ("EPSG:30200", "Cassini ftClarke"),
    ("EPSG:3375", "Hotine natural origin"), ("EPSG:29873", "Hotine natural origin"),
    ("EPSG:29101", "Polyconic"), ("EPSG:2062", "LCC 1SP Madrid"),
    ("EPSG:32631", "UTM north WGS 84"), ("EPSG:32755", "UTM south WGS 84"),
    ("EPSG:26918", "UTM north NAD 83"), ("EPSG:26930", "SPCS83 TM m"),
    ("EPSG:3078", "Hotine Michigan"),
]


def run(args, stdin=None):
    return subprocess.run(args, input=stdin, capture_output=True, text=True, check=True).stdout


def bbox(code):
    m = re.search(r"BBOX\[([-\d.]+),([-\d.]+),([-\d.]+),([-\d.]+)\]",
                  run(["projinfo", "-o", "WKT2_2019", code]))
    south, west, north, east = (float(v) for v in m.groups())
    if east < west:
        east += 360.0
    return west, south, east, north


def northing_first(code):
    # The first axis of the projected system (the last two AXIS entries).
    axes = re.findall(r'AXIS\["([^"]*)",(\w+)', run(["projinfo", "-o", "WKT2_2019", code]))
    return len(axes) >= 2 and axes[-2][0].startswith("northing") and axes[-2][1] == "north"


def points(code):
    west, south, east, north = bbox(code)
    inset_x, inset_y = (east - west) * 0.1, (north - south) * 0.1
    for i in range(10):
        for j in range(10):
            lon = west + inset_x + (east - west - 2 * inset_x) * i / 9.0
            lat = south + inset_y + (north - south - 2 * inset_y) * j / 9.0
            yield (lon - 360.0 if lon > 180.0 else lon), lat


def projected(code, pts):
    proj_string = run(["projinfo", "-q", "-o", "PROJ", code]).strip()
    proj_string = re.sub(r"\+(towgs84|nadgrids)=\S+", "", proj_string).replace("+type=crs", "")
    text = "".join("%.10f %.10f\n" % p for p in pts)
    out = run(["proj", "-f", "%.6f"] + proj_string.split(), text)
    return [tuple(float(v) for v in line.split()[:2]) for line in out.splitlines()]


def full_chain(code, pts):
    text = "".join("%.10f %.10f\n" % (lat, lon) for lon, lat in pts)
    out = run(["cs2cs", "-f", "%.6f", "EPSG:4326", code], text)
    rows = [tuple(float(v) for v in line.split()[:2]) for line in out.splitlines()]
    return [(b, a) for a, b in rows] if northing_first(code) else rows


def main():
    lines = ["code\tlon\tlat\tx_proj\ty_proj\tx_full\ty_full"]
    for code, _family in CODES:
        auth, number = code.split(":")
        wkt = run(["gdalsrsinfo", "-o", "wkt_esri", "--single-line", code]).strip()
        with open(os.path.join(HERE, "%s_%s.prj" % (auth, number)), "w") as f:
            f.write(wkt + "\n")
        pts = list(points(code))
        for (lon, lat), (xp, yp), (xf, yf) in zip(pts, projected(code, pts), full_chain(code, pts)):
            lines.append("%s\t%.10f\t%.10f\t%.6f\t%.6f\t%.6f\t%.6f" % (code, lon, lat, xp, yp, xf, yf))
        print(code, file=sys.stderr)
    with open(os.path.join(HERE, "oracle_points.tsv"), "w") as f:
        f.write("\n".join(lines) + "\n")


if __name__ == "__main__":
    main()
