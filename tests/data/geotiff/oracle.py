#!/usr/bin/python3
# Prints the oracle rows of tests/test_geotiff.cpp for the fixtures of this
# directory: what GDAL reads (authority code of the CRS, upper-left corner) and
# the longitude/latitude of that corner from PROJ's cs2cs, taken from the
# fixture's own coordinate system to its geographic base (no datum shift).
import glob, os, subprocess
from osgeo import gdal, osr

gdal.UseExceptions()
os.chdir(os.path.dirname(os.path.abspath(__file__)))
for path in sorted(glob.glob("*.tif")):
    ds = gdal.Open(path)
    srs = ds.GetSpatialRef()
    gt = ds.GetGeoTransform(can_return_null=True)
    gcps = ds.GetGCPs()
    # The test point: 25000 units east of the upper-left corner, as a pixel column.
    px = 0.0
    if gcps:
        srs = ds.GetGCPSpatialRef()
        x, y = gcps[0].GCPX, gcps[0].GCPY
    elif gt:
        px = 25000.0 / gt[1] if abs(gt[1]) > 1 else 0.0
        x, y = gt[0] + px * gt[1], gt[3] + px * gt[4]
    else:
        x = y = 0.0
    code = srs.GetAuthorityCode(None) if srs else None
    lon = lat = "NAN"
    if srs and srs.IsProjected():
        geog = srs.CloneGeogCS()
        geog.SetAxisMappingStrategy(osr.OAMS_TRADITIONAL_GIS_ORDER)
        src = "EPSG:" + code if code else srs.ExportToProj4()
        dst = "+proj=longlat " + " ".join(t for t in geog.ExportToProj4().split() if not t.startswith("+towgs84"))
        if srs.GetAuthorityCode("GEOGCS"):
            dst = "EPSG:" + srs.GetAuthorityCode("GEOGCS")
        out = subprocess.run(["cs2cs", "-f", "%.10f", src, "+to", dst], input=f"{x} {y}\n",
                             capture_output=True, text=True).stdout.split()
        a, b = out[0], out[1]
        # EPSG geographic systems put latitude first.
        lat, lon = (a, b) if dst.startswith("EPSG:") else (b, a)
    name = srs.GetName() if srs else ""
    print(f'    {{"{path[:-4]}", {code or 0}, {px!r}, {lon}, {lat}}}, // {name}')
