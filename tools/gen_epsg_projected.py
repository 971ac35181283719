#!/usr/bin/env python3
"""Writes data/epsg/epsg_projected.tsv and epsg_gcs_bases.tsv from a proj.db.

Usage: python3 tools/gen_epsg_projected.py [proj.db] [data_dir]

Keeps the projected coordinate systems of the EPSG authority (not deprecated)
whose conversion method the library can express, with compact columns:
parameters in degrees (angles), metres (lengths) or unity (scale factors),
whatever unit the registry stores them in. The file is committed; the build
reads it through tools/gen_epsg_tables.py and never needs proj.db itself.
"""
import os
import sqlite3
import sys

ROOT = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))

# EPSG conversion methods the tool translates into its own records.
METHODS = {
    9807: "tm", 9801: "lcc1", 9802: "lcc2", 9822: "aea", 9806: "cass",
    9818: "poly", 9804: "merca", 9805: "mercb", 1024: "webmerc",
    9820: "laea", 1027: "laeas", 9810: "psa", 9829: "psb", 9809: "sterea",
    9812: "omerca", 9815: "omercb", 1028: "eqc",
}

# Output column of each EPSG parameter code (several methods share one meaning).
COLUMNS = {
    8801: "lat0", 8821: "lat0", 8811: "lat0",
    8802: "lon0", 8822: "lon0", 8812: "lon0", 8833: "lon0",
    8823: "lat1", 8832: "lat1",
    8824: "lat2",
    8805: "k0", 8815: "k0",
    8806: "fe", 8826: "fe", 8816: "fe",
    8807: "fn", 8827: "fn", 8817: "fn",
    8813: "azimuth", 8814: "gamma",
}
ORDER = ["lat0", "lon0", "lat1", "lat2", "k0", "fe", "fn", "azimuth", "gamma"]


def sexagesimal_dms(value):
    """DDD.MMSSsss to decimal degrees."""
    sign = -1.0 if value < 0 else 1.0
    text = "%.10f" % abs(value)
    whole, frac = text.split(".")
    frac = (frac + "0000")[:10]
    minutes = int(frac[0:2])
    seconds = float(frac[2:4] + "." + frac[4:])
    return sign * (int(whole) + minutes / 60.0 + seconds / 3600.0)


def to_canonical(db, value, uom_code):
    if value is None:
        return None
    if uom_code is None or int(uom_code) in (9201, 9001, 9102, 9122):
        return value
    if int(uom_code) == 9110:
        return sexagesimal_dms(value)
    kind, factor = db.execute(
        "select type, conv_factor from unit_of_measure where auth_name='EPSG' and code=?",
        (uom_code,)).fetchone()
    if kind == "angle":
        return value * factor * 180.0 / 3.141592653589793
    return value * factor


def number(value):
    if value is None:
        return ""
    text = "%.15g" % value
    return "0" if text == "-0" else text


def rows(db, refused):
    query = """
        select c.*, p.code as crs_code, p.name as crs_name, p.geodetic_crs_code
        from projected_crs p join conversion_table c
          on p.conversion_auth_name = c.auth_name and p.conversion_code = c.code
        where p.auth_name = 'EPSG' and p.deprecated = 0 and p.geodetic_crs_auth_name = 'EPSG'
        order by p.code"""
    cursor = db.execute(query)
    names = [d[0] for d in cursor.description]
    for row in cursor.fetchall():
        r = dict(zip(names, row))
        method = int(r["method_code"]) if r["method_code"] else 0
        if method not in METHODS:
            name = db.execute("select name from conversion_method where code = ?",
                              (method,)).fetchone()
            refused.append([str(r["crs_code"]), "the method " + (name[0] if name else "?")])
            continue
        axis = db.execute(
            """select a.uom_code, a.orientation from axis a join projected_crs p
               on a.coordinate_system_auth_name = p.coordinate_system_auth_name
               and a.coordinate_system_code = p.coordinate_system_code
               where p.auth_name = 'EPSG' and p.code = ? order by a.coordinate_system_order""",
            (r["crs_code"],)).fetchall()
        # "North along 90°E" and "South along 180°E" name the usual polar grids.
        orientations = ["polar" if " along " in o else o.lower() for _, o in axis]
        if orientations[:2] not in (["east", "north"], ["north", "east"], ["polar", "polar"]):
            refused.append([str(r["crs_code"]), "axes pointing " + "/".join(orientations[:2])])
            continue
        unit = int(axis[0][0])
        metres = db.execute(
            "select conv_factor from unit_of_measure where auth_name='EPSG' and code=?",
            (unit,)).fetchone()[0]
        values = {}
        for i in range(1, 8):
            code = r["param%d_code" % i]
            if code is None:
                continue
            column = COLUMNS.get(int(code))
            if column is None:
                break
            values[column] = to_canonical(db, r["param%d_value" % i], r["param%d_uom_code" % i])
        else:
            yield [str(r["crs_code"]), r["crs_name"], METHODS[method], str(r["geodetic_crs_code"]),
                   "ne" if orientations[0] == "north" and orientations[1] == "east" else "en",
                   str(unit), "%.17g" % metres] + [number(values.get(k)) for k in ORDER]


def base_rows(db, codes, known):
    """The base geographic systems that epsg_gcs.tsv lacks: datum, ellipsoid, meridian."""
    for code in sorted(codes - known):
        name, datum, ellipsoid, meridian, a, rf, b, uom = db.execute(
            """select g.name, g.datum_code, d.ellipsoid_code, d.prime_meridian_code,
                      e.semi_major_axis, e.inv_flattening, e.semi_minor_axis, e.uom_code
               from geodetic_crs g join geodetic_datum d
                 on g.datum_auth_name = d.auth_name and g.datum_code = d.code
               join ellipsoid e on d.ellipsoid_auth_name = e.auth_name
                 and d.ellipsoid_code = e.code
               where g.auth_name = 'EPSG' and g.code = ?""", (code,)).fetchone()
        # The registry keeps an ellipsoid in its own unit (Clarke 1858 in
        # Clarke's feet), some by their minor axis: metres and 1/f here.
        a = to_canonical(db, a, uom)
        if not rf and b is not None and b != 0:
            b = to_canonical(db, b, uom)
            rf = a / (a - b) if a != b else 0.0
        yield [str(code), name, str(datum), str(ellipsoid), str(meridian), repr(a),
               repr(rf or 0.0)]


def write_tsv(path, header, table):
    with open(path, "w", encoding="utf-8", newline="\n") as f:
        f.write("\t".join(header) + "\n")
        for row in table:
            f.write("\t".join(row) + "\n")


def main():
    source = sys.argv[1] if len(sys.argv) > 1 else "/usr/share/proj/proj.db"
    data_dir = sys.argv[2] if len(sys.argv) > 2 else os.path.join(ROOT, "data", "epsg")
    db = sqlite3.connect(source)
    header = ["code", "name", "method", "geographic_code", "axes", "unit_code", "unit_metres"]
    refused = []
    table = list(rows(db, refused))
    write_tsv(os.path.join(data_dir, "epsg_projected.tsv"), header + ORDER, table)
    write_tsv(os.path.join(data_dir, "epsg_projected_refused.tsv"), ["code", "reason"], refused)
    with open(os.path.join(data_dir, "epsg_gcs.tsv"), encoding="utf-8") as f:
        known = {int(line.split("\t")[0]) for line in f.readlines()[1:]}
    bases = base_rows(db, {int(r[3]) for r in table}, known)
    write_tsv(os.path.join(data_dir, "epsg_gcs_bases.tsv"),
              ["code", "name", "datum_code", "ellipsoid_code", "prime_meridian_code",
               "semi_major_axis_m", "inverse_flattening"], bases)


if __name__ == "__main__":
    main()
