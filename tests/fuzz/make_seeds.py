#!/usr/bin/python3
"""Writes the seed corpora (corpus/<target>/) and dictionaries (<target>.dict)
of the fuzz targets: valid records and call sequences in each target's input
format (64-bit record layouts, little-endian), so that the fuzzer starts
from inputs that get past the first checks. Run from anywhere; rewrites the
files in place."""
import os
import struct

HERE = os.path.dirname(os.path.abspath(__file__))


def b(*v): return bytes(v)
def i16(v): return struct.pack('<h', v)
def i32(v): return struct.pack('<i', v)
def u16(v): return struct.pack('<H', v)
def f64(v): return struct.pack('<d', v)


def real(v, lo, hi):
    """In::Real: selector below 224, then 16 bits spanning [lo, hi]."""
    return b(0) + u16(round((v - lo) / (hi - lo) * 65535))


def roi(rid, start, width, binning):
    return struct.pack('<4i', rid, start, width, binning)


def detector(pixels, size=26.0, regions=b''):
    n = len(regions) // 16
    return (struct.pack('<I128s4sddiiQii', 0, b'CCD', b'', size, 0.0, pixels,
                        1, 0, n, len(regions)) + regions + b(0))


def calibration(points, order=2, unit=4, table=()):
    pos = [p for p, _ in points] + [-1.0] * (10 - len(points))
    val = [v for _, v in points] + [-1.0] * (10 - len(points))
    flag = 0x80000000 if table else 0
    rec = struct.pack('<Iiii10d10d6ddi128s128siQddBB6s', unit | flag, unit,
                      order, 0, *pos, *val, *([0.0] * 6), 632.8, 0,
                      b'Wavelength, nm', b'seed', len(table), 0, 0.0, 1.0, 0,
                      1, b'')
    assert len(rec) == 528
    return rec + b''.join(f64(t) for t in table) + b(0)


def spe_block(points, regions=(), table=()):
    blk = bytearray(504)
    struct.pack_into('<ddi', blk, 0, 0.0, 1.0, 4)
    blk[21:21 + 14] = b'Wavelength, nm'
    struct.pack_into('<i', blk, 72, len(table))
    struct.pack_into('<iii', blk, 108, 4, 4, 1)
    blk[117] = len(points)
    for k, (p, v) in enumerate(points):
        struct.pack_into('<d', blk, 120 + 8 * k, p)
        struct.pack_into('<d', blk, 200 + 8 * k, v)
    struct.pack_into('<i', blk, 380, 2)
    for k, r in enumerate(regions):
        struct.pack_into('<3i', blk, 384 + 12 * k, *r)
    return bytes(blk) + b''.join(f64(t) for t in table) + b(0)


def spectrograph(turrets=1, gratings=2):
    return struct.pack('<3i128s12sdddd', 1, turrets, gratings, b'300 mm', b'',
                       300.0, 30.0, 0.0, 1.0)


def turret(n):
    return struct.pack('<ii128si', 0, 1, b'T1', n)


def grating(gid, grooves):
    return struct.pack('<ii128s9d', 0, gid, b'G', grooves, *([0.0] * 8))


NEON = [(54.066, 585.249), (102.77, 588.19), (206.569, 594.483),
        (257.063, 597.553), (418.086, 607.434)]
LINES = [100, 240, 520, 700, 910]


def spectrum(dtype, count):
    """fz::Spectrum: selector, type, count, samples (gaussian lines), flag."""
    fmt = {1: 'b', 2: 'h', 3: 'i', 4: 'f', 5: 'd', 6: 'B', 7: 'H', 8: 'I'}
    ys = []
    for k in range(count):
        y = 5.0 + sum(100.0 * 2.0 ** (-((k - c) / 3.0) ** 2) for c in LINES)
        ys.append(y if dtype in (4, 5) else int(y))
    return (b(0, dtype) + i16(count) + struct.pack('<%d%s' % (count, fmt[dtype]),
                                                   *ys) + b(0))


CALIB_FILE = open(os.path.join(HERE, '../../examples/neon-1024.cal'),
                  'rb').read()


def glue_block(points, frames, x0, dx, dtype=5):
    fmt = {1: 'b', 2: 'h', 3: 'i', 4: 'f', 5: 'd', 6: 'B', 7: 'H', 8: 'I'}
    cells = points * frames
    data = struct.pack('<%d%s' % (cells, fmt[dtype]),
                       *([7] * cells if dtype not in (4, 5) else [7.0] * cells))
    return (i16(points) + b(frames, dtype, 0) + data + b(0) +
            real(x0, 0.0, 1500.0) + real(dx, -5.0, 5.0) + b(255))


SEEDS = {
    'detector': {
        'load-two-regions': b(0, 1) + detector(
            1024, regions=roi(1, 1, 100, 2) + roi(2, 201, 300, 3)) + b(150) +
        b(6, 3) + detector(0, regions=bytes(32)) + b(150),
        'automatic-add': b(1, 2) + detector(512) + b(150) + b(4, 0, 6) +
        b(5, 0),
        'roi-conversions': b(0, 1) + detector(1024) + b(150) + b(8) +
        roi(7, 11, 40, 4) + b(9) + f64(20.0),
    },
    'scan_pattern': {
        'three-regions': b(0) + i32(1024) + b(0) + i16(3) +
        roi(1, 1, 10, 1) + roi(2, 101, 100, 5) + roi(3, 501, 512, 8) +
        b(7, 1, 8) + f64(150.5) + b(9) + f64(12.0) + b(5) + i16(3) + b(11) +
        i16(33),
        'validate-add-remove': b(1) + i32(2048) + b(1) + i16(32) + i16(2) +
        roi(1, 1, 8, 2) + roi(2, 9, 8, 4) + i32(2048) + b(2) +
        roi(4, 100, 50, 5) + b(3) + i32(1) + b(4) + i32(4) + b(0),
    },
    'calibration': {
        'neon-order2': b(0) + i16(1024) + b(0) + b(1) + calibration(NEON) +
        b(150) + b(7) + f64(300.0) + b(8) + i16(1024) + b(9) + i32(3),
        'table': b(0) + i16(8) + b(0) + b(1) +
        calibration([], table=[500.0 + k for k in range(8)]) + b(150) +
        b(7) + f64(3.5) + b(3, 150),
        'automatic-copy': b(1) + i16(1024) + b(1) + b(2) +
        calibration(NEON[:3], order=1, unit=5) + b(150) + b(5, 0, 10, 1) +
        b(6, 0),
    },
    'spe': {
        'points-regions': b(0) + i16(1024) + b(0) +
        spe_block(NEON, regions=[(1, 512, 1), (601, 400, 2)]) + b(0) +
        b(1, 0, 2) + i16(0) + f64(100.0) + f64(600.0),
        'table': b(0) + i16(16) + b(0) +
        spe_block([], table=[400.0 + k for k in range(16)]) + b(0) + b(1, 0),
    },
    'peaks': {
        '%s-512' % name: b(0) + f64(2.0) + spectrum(t, 512) + i16(8) +
        real(240.0, -2.0, 514.0)
        for t, name in [(1, 'int8'), (2, 'int16'), (4, 'float'), (5, 'double'),
                        (7, 'uint16'), (8, 'uint32')]
    },
    'spectrograph': {
        'model-center': i16(1024) + b(0, 1) + b(8) + real(546.07, -100, 3000) +
        real(500, -100, 3000) + b(9) + real(512, -10, 2100) + b(10) +
        i16(1024) + b(13) + real(400, 0, 2000) + real(900, 0, 2000) +
        real(5, -10, 100),
        'arrays': i16(1024) + b(0, 0) + b(0) + spectrograph(1, 2) + b(0) +
        b(3, 1, 0) + turret(2) + b(0) + b(4, 2, 0) + grating(1, 1200.0) +
        grating(2, 600.0) + b(0) + b(5) + i16(1) + i16(1) + b(7, 1) + i16(1),
        'targets': i16(1024) + b(0, 1) + b(15, 0) + real(546.07, 200, 1000) +
        real(435.83, 200, 1000) + b(15, 1) + b(15, 2) + b(15, 3, 0),
    },
    'glue': {
        'two-blocks': real(500, 0, 1500) + real(600, 0, 1500) +
        real(0.5, 0, 10) + b(2) + glue_block(121, 1, 495, 0.5) +
        glue_block(121, 1, 545, 0.5, 7) + b(255, 255) + b(1, 0),
        'descending': real(600, 0, 1500) + real(500, 0, 1500) +
        real(0.25, 0, 10) + b(1) + glue_block(200, 2, 610, -0.1, 3) +
        b(255, 255) + b(2, 1),
    },
    'params': {
        'manual-all': b(0, 0) + b(0, 0, 18) + i16(3) + b(2, 0, 19) +
        real(100, -10, 2000) + b(3, 0, 19) + b(4, 0, 20) + i16(3) +
        f64(1.0) + f64(2.0) + f64(3.0) + b(5, 0, 21) + i16(20) + b'nm\0' +
        b(6, 0, 21) + i16(-1) + b(1, 0, 27),
        'automatic-model': b(1, 1) + b(2, 0, 43) + real(1200, -10, 2000) +
        b(3, 0, 66) + b(6, 0, 42) + i16(10) + b(0, 0, 16) + i16(512) +
        b(1, 0, 76) + b(2, 0, 70) + real(0.5, -10, 2000),
    },
    'calibfile': {
        'neon-segment-%d' % seg: i16(1) + i16(seg) + b(10, seg - 1) +
        real(0.0, -10, 10) + real(632.8, 0, 1000) + CALIB_FILE
        for seg in (1, 2)
    },
    'calls': {
        # 79 LoadDetector, 80 LoadModel, 44 center, 38 wavelength, 70 pixel
        # array, 58 steps, 59 centers, 60 glue, 3 copy, 2 destroy, 1 create.
        'automatic-session': b(79, 1) + i16(1024) + real(26.0, 0.0, 30.0) +
        b(80, 1) + b(44, 1) + real(546.07, -100, 3000) + b(38, 1) +
        real(512, -10, 2100) + b(58, 1) + real(400, -100, 3000) +
        real(900, -100, 3000) + real(5, -10, 100) + b(59, 1, 1) + b(60, 1) +
        b(0, 0) + real(500, -100, 3000) + real(0.5, -2, 2) + b(1),
        'manual-session': b(79, 0) + i16(1024) + real(26.0, 0.0, 30.0) +
        b(18, 0) + calibration(NEON) + b(150) + b(70, 0) + i16(1024) +
        b(3, 1, 0) + b(4, 0) + b(1, 0, 1) + b(2, 2) + b(66, 0) +
        roi(1, 1, 100, 2) + b(72, 0),
    },
}

SIZES = [176, 528, 504, 184, 140, 208, 16, 32]
COMMON = ['"\\x%02x\\x%02x\\x00\\x00"' % (s & 255, s >> 8) for s in SIZES]
COMMON += ['"\\x00\\x00\\x00\\x80"',  # table flag / INT32_MIN
           '"\\xff\\xff\\xff\\x7f"', '"\\xff\\xff\\xff\\xff"',
           '"\\x00\\x00\\x00\\x00\\x00\\x00\\xf8\\x7f"',  # NaN
           '"\\x00\\x00\\x00\\x00\\x00\\x00\\xf0\\x7f"',  # +inf
           '"\\x00\\x00\\x00\\x00\\x00\\x00\\xf0\\xff"',  # -inf
           '"\\x00\\x00\\x00\\x00\\x00\\x00\\xf0\\x3f"']  # 1.0
PARAM_IDS = ['"\\x%02x"' % i for i in range(1, 77)]
CALIBFILE = ['"[CCD_Info]"', '"Ver=1"', '"Num_Segments="', '"[Seg1_Pixel_Calib]"',
             '"Seg2_Pixel_Calib"', '"Number_Points="', '"Point1_Pixel="',
             '"Point1_Wave="', '"Point10_Pixel="', '"Point10_Wave="', '"\\x0d\\x0a"',
             '"="', '"["', '"]"', '";"', '"e+"', '"-0."', '"0x"']
EXTRA = {'params': PARAM_IDS, 'calls': PARAM_IDS, 'calibfile': CALIBFILE}


def main():
    for target, seeds in SEEDS.items():
        folder = os.path.join(HERE, 'corpus', target)
        os.makedirs(folder, exist_ok=True)
        for name, data in seeds.items():
            with open(os.path.join(folder, name), 'wb') as f:
                f.write(data)
        entries = EXTRA.get(target, []) + (COMMON if target != 'calibfile' else [])
        with open(os.path.join(HERE, target + '.dict'), 'w') as f:
            f.write('# Dictionary of fuzz_%s (made by make_seeds.py)\n' % target)
            f.write(''.join('%s\n' % e for e in entries))


if __name__ == '__main__':
    main()
