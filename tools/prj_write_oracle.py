#!/usr/bin/env python3
"""Writing oracle of the ESRI ".prj" writer: what GDAL makes of the files we write.

For every case (every projection type the writer can write, every state plane
zone of NAD 27 and NAD 83, every built-in datum with an EPSG code):
  1. `kvproj export --format prj` writes the file;
  2. GDAL reads it (`gdalsrsinfo -o proj4 FILE.prj`);
  3. 100 longitude/latitude points inside an area that suits the case go through
     PROJ (`proj` on GDAL's string: the projection alone, no datum shift) and
     through kvproj (`kvproj convert` with the record that was written);
  4. the largest coordinate difference is reported, in the file's unit.
A summary table follows: within 1 mm, within 1 m, worse, not read by GDAL.

    tools/prj_write_oracle.py --kvproj build/kvproj [--work DIR] [--tsv FILE]
                              [--record tests/data/prj/write_oracle.tsv]

--tsv writes one row per case (name, family, GDAL's string, largest difference).
--record writes the recorded subset that tests/test_esriprj.cpp reads: for every
projection case, 20 zones and every datum, five points with the coordinates PROJ
gave from GDAL's reading. Needs GDAL 3.6 (gdal-bin) and PROJ 9.1 (proj-bin); the
test suite never runs it.
"""
import argparse
import concurrent.futures
import json
import math
import os
import re
import subprocess
import sys
import tempfile

WORLD = (-170.0, -80.0, 170.0, 80.0)

# name, words for --proj, west, south, east, north. Parameters as such systems
# are used; a few variants show where a written name or parameter is read
# differently.
PROJECTIONS = [
    ("Mercator", "type=1 lon0=10 x0=500000", -20, -60, 40, 60),
    ("Mercator true scale 30N", "type=1 lon0=10 lat0=30", -20, -60, 40, 60),
    ("Albers", "type=2 lon0=-96 lat0=23 lat1=29.5 lat2=45.5", -125, 25, -67, 50),
    ("Miller", "type=3 lon0=0", *WORLD),
    ("Miller lon0 10E", "type=3 lon0=10 x0=1000 y0=2000", *WORLD),
    ("UTM 33N", "type=4 lon0=15", 12, 0, 18, 80),
    ("UTM 33S", "type=4 lon0=15 south=1", 12, -80, 18, 0),
    ("Lambert conformal conic", "type=5 lon0=-96 lat0=23 lat1=33 lat2=45", -125, 25, -67, 50),
    ("Lambert conformal conic south", "type=5 lon0=134 lat0=0 lat1=-18 lat2=-36 y0=10000000", 112, -44, 154, -10),
    ("Stereographic oblique", "type=6 lon0=5.387638889 lat0=52.156160556 k=0.9999079 x0=155000 y0=463000",
     3, 50, 8, 54),
    ("Stereographic polar north", "type=6 lon0=0 lat0=90 k=0.994 x0=2000000 y0=2000000", -180, 60, 180, 89),
    ("Stereographic polar south", "type=6 lon0=0 lat0=-90 k=0.994 x0=2000000 y0=2000000", -180, -89, 180, -60),
    ("Orthographic", "type=7 lon0=10 lat0=52", -10, 35, 30, 65),
    ("Mollweide", "type=8 lon0=0", *WORLD),
    ("Polyconic", "type=11 lon0=-54 lat0=0 x0=5000000 y0=10000000", -74, -33, -34, 5),
    ("Hotine azimuth", "type=12 bUseAlpha=1 bRotate=1 bUOffset=1 lon1=-133.6666667 lat0=57 alpha=-36.8698976 "
     "k=0.9999 x0=818585.567 y0=575219.245", -141, 54, -129, 60),
    ("Hotine two points", "type=12 lat0=40 lat1=38 lon1=-95 lat2=42 lon2=-85 k=0.9996", -96, 37, -84, 43),
    ("Equidistant cylindrical", "type=13 lon0=0 lat1=30", *WORLD),
    ("Robinson", "type=14", *WORLD),
    ("Van der Grinten", "type=15 lon0=0", -170, -75, 170, 75),
    ("Cassini", "type=16 lon0=13.62720366 lat0=52.41864828 x0=40000 y0=10000", 12, 51, 15, 54),
    ("Transverse Mercator", "type=17 lon0=9 lat0=0 k=0.9996 x0=500000", 6, 35, 12, 70),
    ("Transverse Mercator US feet", "type=17 lon0=-120.5 lat0=35.8333333 k=0.9999 x0=500000 scale=3.2808333333333333",
     -122, 34, -119, 40),
    ("Transverse Mercator kilometres", "type=17 lon0=9 k=0.9996 x0=500000 scale=0.001", 6, 35, 12, 70),
    ("Gauss-Kruger", "type=18 lon0=9 k=1 x0=3500000", 7.5, 47, 10.5, 55),
    ("Sinusoidal", "type=19 lon0=0", *WORLD),
    ("Lambert azimuthal equal area", "type=20 lon0=10 lat1=52 x0=4321000 y0=3210000", -10, 35, 30, 65),
    ("Bonne", "type=21 lon0=0 lat1=60", -20, 40, 20, 70),
    ("Robinson-Sterling", "type=22 lon0=0", *WORLD),
    ("Eckert IV", "type=23 lon0=0", *WORLD),
    ("Eckert VI", "type=24 lon0=0", *WORLD),
    ("Oblique Mercator", "type=25 lat1=-18.9 lon1=44.1 lat2=-20 lon2=46 k=0.9995", 43, -25, 50, -12),
    ("Equidistant conic", "type=26 lon0=-96 lat0=39 lat1=20 lat2=60", -125, 25, -67, 50),
    ("Gnomonic", "type=27 lon0=10 lat1=52", 0, 45, 20, 60),
    ("Azimuthal equidistant", "type=28 lon0=10 lat1=52", -10, 35, 30, 65),
    ("Mollweide on a sphere without datum", "type=8 lon0=0 ellipsoid=48", *WORLD),
]


def run(args, stdin=None, check=True):
    proc = subprocess.run(args, input=stdin, capture_output=True, text=True)
    if check and proc.returncode != 0:
        raise RuntimeError(f"{' '.join(args)}: {proc.stderr.strip()}")
    return proc


def grid(west, south, east, north, n=10):
    inset_x, inset_y = (east - west) * 0.1, (north - south) * 0.1
    for i in range(n):
        for j in range(n):
            lon = west + inset_x + (east - west - 2 * inset_x) * i / (n - 1)
            lat = south + inset_y + (north - south - 2 * inset_y) * j / (n - 1)
            yield round(lon, 10), round(lat, 10)


def bbox(code):
    """Area of use of an EPSG code (west, south, east, north), or None."""
    proc = run(["projinfo", "-o", "WKT2_2019", code], check=False)
    m = re.search(r"BBOX\[([-\d.]+),([-\d.]+),([-\d.]+),([-\d.]+)\]", proc.stdout)
    if not m:
        return None
    south, west, north, east = (float(v) for v in m.groups())
    if east < west:
        east += 360.0
    return west, south, east, north


def numbers(text):
    out = []
    for line in text.splitlines():
        parts = line.split()
        try:
            out.append((float(parts[0]), float(parts[1])))
        except (ValueError, IndexError):
            out.append((math.nan, math.nan))
    return out


def largest(ours, theirs):
    worst = 0.0
    for (x0, y0), (x1, y1) in zip(ours, theirs):
        d = max(abs(x0 - x1), abs(y0 - y1))
        worst = max(worst, d if math.isfinite(d) else math.inf)
    return worst if len(ours) == len(theirs) else math.inf


def proj_only(proj4):
    """GDAL's string without the datum: the projection alone."""
    words = [w for w in proj4.split() if not w.startswith(("+towgs84", "+nadgrids", "+no_defs", "+type"))]
    return " ".join(words)


class Case:
    def __init__(self, name, family, export_args, convert_args, area):
        self.name, self.family = name, family
        self.export_args, self.convert_args, self.area = export_args, convert_args, area
        self.text = self.proj4 = self.error = ""
        self.points, self.ours, self.theirs = [], [], []
        self.worst = math.inf
        self.epsg = None          # the datum's EPSG code in our table
        self.gdal_datum = ""      # the datum GDAL reads: name and EPSG code
        self.words, self.datum = "", ""


def gdal_datum(path):
    """The DATUM GDAL reads: its name and EPSG code (the last AUTHORITY before PRIMEM)."""
    wkt = run(["gdalsrsinfo", "-o", "wkt1", path], check=False).stdout
    body = wkt[wkt.find("DATUM["):wkt.find("PRIMEM[")]
    name = re.search(r'DATUM\["([^"]*)"', body)
    codes = re.findall(r'AUTHORITY\["EPSG","(\d+)"\]', body)
    return f"{name.group(1) if name else '?'} EPSG {codes[-1] if codes else '-'}"


def run_case(case, kvproj, work):
    base = os.path.join(work, re.sub(r"[^A-Za-z0-9]+", "_", case.family + "_" + case.name))
    proc = run([kvproj, "export", "--format", "prj", *case.export_args, base + ".tif"], check=False)
    if proc.returncode != 0 or not os.path.exists(base + ".prj"):
        case.error = "not written: " + proc.stderr.strip()
        return case
    with open(base + ".prj") as f:
        case.text = f.read()
    proc = run(["gdalsrsinfo", "-o", "proj4", base + ".prj"], check=False)
    case.proj4 = proc.stdout.strip()
    if proc.returncode != 0 or not case.proj4.startswith("+proj"):
        case.error = "not read by GDAL: " + proc.stderr.strip().splitlines()[0] if proc.stderr.strip() else "?"
        return case
    if case.epsg:
        case.gdal_datum = gdal_datum(base + ".prj")
    area = case.area(case.proj4) if callable(case.area) else case.area
    case.points = list(grid(*area))
    lonlat = "".join(f"{lon:.10f} {lat:.10f}\n" for lon, lat in case.points)
    if case.proj4.startswith("+proj=longlat"):
        case.theirs = case.points
        case.ours = case.points
    else:
        proc = run(["proj", "-f", "%.6f", *proj_only(case.proj4).split()], lonlat, check=False)
        if proc.returncode != 0:
            case.error = "read by GDAL, refused by PROJ: " + proc.stderr.strip().splitlines()[0]
            return case
        case.theirs = numbers(proc.stdout)
        ours = run([kvproj, "convert", "--fwd", "--precision", "6", *case.convert_args], lonlat, check=False)
        case.ours = numbers(ours.stdout)
    case.worst = largest(case.ours, case.theirs)
    return case


def projection_cases():
    for name, words, *area in PROJECTIONS:
        datum = [] if "ellipsoid=48" in words else ["--datum", "WGS84"]
        case = Case(name, "projection", ["--proj", words, *datum], ["--proj", words], tuple(area))
        case.words, case.datum = words, "3" if datum else "254"
        yield case


def zone_area_from_proj4(proj4):
    value = dict(re.findall(r"\+(\w+)=([-\d.]+)", proj4))
    lon0 = float(value.get("lon_0", value.get("lonc", 0)))
    lat = [float(value[k]) for k in ("lat_1", "lat_2") if k in value] or [float(value.get("lat_0", 0)) + 2]
    return lon0 - 1.5, min(lat) - 0.5, lon0 + 1.5, max(lat) + 0.5


def zone_cases(kvproj):
    for system in ("27", "83"):
        rows = json.loads(run([kvproj, "list", "zones", "--system", system, "--json"]).stdout)
        for row in rows:
            info = row.get("nad" + system)
            if not info:
                continue
            area = bbox(f"EPSG:{info['epsg']}") if info.get("epsg") else None
            words = f"type={9 if system == '27' else 10} zone={row['zone']}"
            case = Case(f"{row['zone']} {row['name']} ({row['fips']})", "NAD " + system, ["--proj", words],
                        ["--proj", words], area or zone_area_from_proj4)
            case.words, case.datum = words, "254"
            yield case


def datum_cases(kvproj):
    for row in json.loads(run([kvproj, "list", "datums", "--json"]).stdout):
        if not row.get("epsg"):
            continue
        area = bbox(f"EPSG:{row['epsg'] - 2000}") or (0, -10, 6, 10)
        lon0 = round((area[0] + area[2]) / 2)
        area = (lon0 - 3, max(area[1], -80), lon0 + 3, min(area[3], 80))
        words = f"type=17 lon0={lon0} k=0.9996 x0=500000"
        case = Case(f"{row['datum']} {row['name']} (EPSG {row['epsg']})", "datum",
                    ["--proj", words, "--datum", str(row["datum"])],
                    ["--proj", words, "--src-datum", str(row["datum"]), "--dst-datum", str(row["datum"])], area)
        case.words, case.datum, case.epsg = words, str(row["datum"]), row["epsg"]
        yield case


def band(worst):
    if worst <= 0.001:
        return "within 1 mm"
    if worst <= 1.0:
        return "within 1 m"
    return "worse" if math.isfinite(worst) else "not converted"


def summary(cases):
    families = []
    for c in cases:
        if c.family not in families:
            families.append(c.family)
    heads = ["cases", "within 1 mm", "within 1 m", "worse", "not converted", "not read by GDAL"]
    print(f"{'family':<12}" + "".join(f"{h:>18}" for h in heads))
    for fam in families + ["all"]:
        rows = [c for c in cases if fam in ("all", c.family)]
        counts = [len(rows)] + [sum(1 for c in rows if not c.error and band(c.worst) == b)
                                for b in heads[1:5]] + [sum(1 for c in rows if c.error)]
        print(f"{fam:<12}" + "".join(f"{n:>18}" for n in counts))
    print()
    datums = [c for c in cases if c.epsg and c.gdal_datum]
    if datums:
        same = sum(1 for c in datums if c.gdal_datum.endswith(f"EPSG {c.epsg}"))
        print(f"datums: GDAL names the datum's own EPSG code for {same} of {len(datums)} written files")
        for c in datums:
            if not c.error and not c.gdal_datum.endswith(f"EPSG {c.epsg}"):
                print(f"  {c.name:<56} GDAL reads {c.gdal_datum}")
        print()
    for c in cases:
        if c.error:
            print(f"{c.family:<11} {c.name:<48} {c.error}")
        elif c.worst > 0.001:
            print(f"{c.family:<11} {c.name:<48} {c.worst:12.6g}  {c.proj4}")


def fnv1a64(text):
    h = 0xCBF29CE484222325
    for b in text.encode():
        h = ((h ^ b) * 0x100000001B3) & 0xFFFFFFFFFFFFFFFF
    return f"{h:016x}"


def record(cases, path):
    """One row per recorded case: every projection and datum case, the zones
    GDAL reads differently and 20 others,
    with five points (grid corners and centre) as PROJ converted them on GDAL's
    reading, and the bound: the largest difference over all 100 points plus a
    quarter, at least 2 mm."""
    zones = [c for c in cases if c.family.startswith("NAD")]
    odd = [c for c in zones if c.error or c.worst > 0.001]
    picked = [c for c in cases if not c.family.startswith("NAD")] + odd
    picked += [c for c in zones[:: max(1, len(zones) // 20)] if c not in odd][:20]
    with open(path, "w") as f:
        f.write("family\tname\tdatum\twords\tfnv\tbound\tgdal\tpoints\n")
        for c in picked:
            fnv = fnv1a64(c.text) if c.text else "-"
            if c.error or not c.theirs or not math.isfinite(c.worst):
                reason = c.error.split(": ", 1)[0] if c.error else "not converted by kvproj"
                f.write(f"{c.family}\t{c.name}\t{c.datum}\t{c.words}\t{fnv}\t-\t{reason}\t-\n")
                continue
            bound = max(0.002, c.worst * 1.25)
            pts = ";".join(f"{c.points[i][0]:.10f},{c.points[i][1]:.10f},{c.theirs[i][0]:.6f},{c.theirs[i][1]:.6f}"
                           for i in (0, 9, 45, 90, 99))
            f.write(f"{c.family}\t{c.name}\t{c.datum}\t{c.words}\t{fnv}\t{bound:.4g}\t{c.proj4}\t{pts}\n")


def main():
    ap = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    ap.add_argument("--kvproj", required=True)
    ap.add_argument("--work", default=None)
    ap.add_argument("--tsv", default=None)
    ap.add_argument("--record", default=None)
    ap.add_argument("--only", default=None, help="projection, zones or datums")
    args = ap.parse_args()
    work = args.work or tempfile.mkdtemp(prefix="prjw")
    os.makedirs(work, exist_ok=True)
    kvproj = os.path.abspath(args.kvproj)
    makers = {"projection": projection_cases, "zones": lambda: zone_cases(kvproj),
              "datums": lambda: datum_cases(kvproj)}
    cases = [c for key, make in makers.items() if args.only in (None, key) for c in make()]
    with concurrent.futures.ThreadPoolExecutor(max_workers=2) as pool:
        cases = list(pool.map(lambda c: run_case(c, kvproj, work), cases))
    summary(cases)
    if args.tsv:
        with open(args.tsv, "w") as f:
            f.write("family\tname\tlargest\tgdal\tgdal_datum\terror\n")
            for c in cases:
                f.write(f"{c.family}\t{c.name}\t{c.worst:.6g}\t{c.proj4}\t{c.gdal_datum}\t{c.error}\n")
    if args.record:
        record(cases, args.record)
    return 0


if __name__ == "__main__":
    sys.exit(main())
