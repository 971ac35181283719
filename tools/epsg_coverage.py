#!/usr/bin/env python3
"""Compares kvproj with PROJ for every EPSG projected system in the tables.

Usage: python3 tools/epsg_coverage.py KVPROJ [proj.db] [points] [out.tsv]

For each code of data/epsg/epsg_projected.tsv: `points` longitude/latitude
pairs spread over the code's area of use (from proj.db) go through
"kvproj convert --dst EPSG:n" and through PROJ's `proj` command with the
code's own PROJ string (projinfo), both without a datum shift; the largest
difference per code (in metres) is written to out.tsv and summed up by method. Needs PROJ's
command-line tools; the test suite never runs this.
"""
import csv
import math
import os
import sqlite3
import subprocess
import sys
from collections import defaultdict

ROOT = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))


def area(db, code):
    row = db.execute(
        """select e.south_lat, e.north_lat, e.west_lon, e.east_lon from usage u
           join extent e on u.extent_auth_name = e.auth_name and u.extent_code = e.code
           where u.object_table_name = 'projected_crs' and u.object_auth_name = 'EPSG'
           and u.object_code = ?""", (code,)).fetchone()
    return row


def grid(box, count):
    south, north, west, east = box
    if east < west:
        east += 360.0
    side = int(math.ceil(math.sqrt(count)))
    pts = []
    for i in range(side):
        for j in range(side):
            if len(pts) == count:
                break
            lon = west + (east - west) * (i + 0.5) / side
            lat = south + (north - south) * (j + 0.5) / side
            pts.append((lon - 360.0 if lon > 180.0 else lon, lat))
    return pts


def run(cmd, text):
    p = subprocess.run(cmd, input=text, capture_output=True, text=True)
    return p.returncode, p.stdout, p.stderr


def parse(out):
    values = []
    for line in out.splitlines():
        f = line.replace(",", " ").split()
        try:
            values.append((float(f[0]), float(f[1])))
        except (ValueError, IndexError):
            values.append(None)
    return values


def main():
    tool = sys.argv[1]
    db = sqlite3.connect(sys.argv[2] if len(sys.argv) > 2 else "/usr/share/proj/proj.db")
    count = int(sys.argv[3]) if len(sys.argv) > 3 else 100
    target = sys.argv[4] if len(sys.argv) > 4 else "epsg_coverage.tsv"
    rows = list(csv.DictReader(open(os.path.join(ROOT, "data", "epsg", "epsg_projected.tsv")),
                               delimiter="\t", quoting=csv.QUOTE_NONE))
    summary = defaultdict(lambda: defaultdict(int))
    with open(target, "w") as out:
        out.write("code\tmethod\tresult\tmax_difference\n")
        for r in rows:
            code, method = r["code"], r["method"]
            pts = grid(area(db, int(code)), count)
            text = "".join("%.10f %.10f\n" % p for p in pts)
            status, mine, err = run([tool, "convert", "--dst", "EPSG:" + code,
                                     "--precision", "6"], text)
            if status != 0 and not mine:
                result, worst = "refused", err.strip().replace("\t", " ")
            else:
                _, definition, _ = run(["projinfo", "-q", "-o", "PROJ", "EPSG:" + code], "")
                words = [w for w in definition.split() if w != "+type=crs"]
                _, theirs, _ = run(["proj", "-f", "%.6f"] + words, text)
                worst = 0.0
                for a, b in zip(parse(mine), parse(theirs)):
                    if a is None or b is None:
                        worst = max(worst, 0.0 if a is b else float("inf"))
                    else:
                        worst = max(worst, math.hypot(a[0] - b[0], a[1] - b[1]))
                worst *= float(r["unit_metres"])  # the axes' unit (US feet, ...) to metres
                result = ("1mm" if worst <= 0.001 else "1m" if worst <= 1.0 else "worse")
            summary[method][result] += 1
            out.write("%s\t%s\t%s\t%s\n" % (code, method, result, worst))
    print("method\tcodes\t1mm\t1m\tworse\trefused")
    for method in sorted(summary):
        s = summary[method]
        print("%s\t%d\t%d\t%d\t%d\t%d" % (method, sum(s.values()), s["1mm"], s["1m"],
                                          s["worse"], s["refused"]))


if __name__ == "__main__":
    main()
