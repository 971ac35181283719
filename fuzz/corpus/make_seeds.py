#!/usr/bin/env python3
"""Writes the binary seed inputs of the record-based fuzz targets (run from fuzz/corpus)."""
import os
import struct


def projdata(type_, scale=1.0, x0=0.0, y0=0.0, lat0=0.0, lon0=0.0, lat1=0.0, lat2=0.0,
             k0=0.0, south=0, zone=0, use_alpha=0, alpha=0.0, rotate=0, uoffset=0,
             ellipsoid=47, a=0.0, f=0.0, wrap=0):
    # 396-byte packed record: type, 12 doubles, flags and ints at their fixed offsets.
    head = struct.pack('<i12d', type_, scale, x0, y0, lat0, lon0, lat1, lat2, 0.0, 0.0, 0.0,
                       0.0, k0)
    tail = struct.pack('<?i?d??iddi?', south, zone, use_alpha, alpha, rotate, uoffset,
                       ellipsoid, a, f, 0, wrap)
    record = head + tail + bytes(255)
    assert len(record) == 396
    return record


def step(method=0, inverse=0, ellipsoid=0, pm=0.0, d=(0, 0, 0), r=(0, 0, 0), k=0.0, a=0.0, f=0.0):
    s = struct.pack('<i?i10d', method, inverse, ellipsoid, pm, *d, *r, k, a, f) + bytes(39)
    assert len(s) == 128
    return s


def datumxform(src, dest, step1=None, step2=None):
    x = struct.pack('<iiB', src, dest, 0) + (step1 or step(0)) + (step2 or step(0))
    x += bytes(1 + 22)
    assert len(x) == 288
    return x


def points(*pairs):
    return b''.join(struct.pack('<dd', x, y) for x, y in pairs)


WORLD = points((-95.0, 37.0), (190.0, 10.0), (0.0, 90.0), (179.9, -89.9), (-400.0, 100.0))
SEEDS = {
    'fuzz_projdata': {
        'utm': projdata(4, lon0=-93.0, k0=0.9996, ellipsoid=47),
        'tmerc': projdata(17, lat0=49.0, lon0=-2.0, k0=0.9996012717, x0=400000, y0=-100000,
                          ellipsoid=1),
        'lambert': projdata(5, lat0=23.0, lon0=-96.0, lat1=33.0, lat2=45.0, ellipsoid=9),
        'stateplane': projdata(9, zone=5, ellipsoid=9),
        'hotine': projdata(12, lat0=4.0, lon0=115.0, k0=0.99984, use_alpha=1, alpha=53.3158,
                           rotate=1, ellipsoid=0, a=6377298.556, f=1 / 300.8017),
        'robinson': projdata(14, lon0=10.0, wrap=1, ellipsoid=0, a=6371000.0),
    },
    'fuzz_datumxform': {
        'molodensky': datumxform(2, 5),
        'bursa': datumxform(216, 3),
        'mre': datumxform(224, 3),
        'user': datumxform(0, 3, step(2, 0, 0, 2.337, (-168, -60, 320), (0.1, 0.2, -0.5), 1.5,
                                      6378249.2, 0.0034075614)),
        'inverse': datumxform(3, 0, None, step(3, 1, 9, 0.0, (-8, 160, 176))),
    },
}

for target, seeds in SEEDS.items():
    os.makedirs(target, exist_ok=True)
    for name, record in seeds.items():
        for mode in (0, 1):
            with open(os.path.join(target, f'{name}_{mode}'), 'wb') as out:
                out.write(bytes([mode | 6]) + record + WORLD)
