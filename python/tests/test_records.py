"""The ctypes records against the header: sizes as documented, and every
field's offset as a C compiler lays out include/KelvoCalibrate.h."""

import ctypes
import shutil
import subprocess

import pytest
from conftest import ROOT

from kelvocalibrate import _records as R

# Sizes from docs/record-layouts.md (32-bit / 64-bit).
DOCUMENTED = {
    R.X_ROI: (16, 16),
    R.DetectorRecord: (176, 176),
    R.CalibrationRecord: (528, 528),
    R.SpectrumData: (16, 16),
    R.CalibPoint: (16, 16),
    R.SpectrographRecord: (184, 184),
    R.TurretRecord: (140, 140),
    R.GratingRecord: (208, 208),
    R.GlueSpectrum: (36, 56),
    R.SpeCalibrationBlock: (504, 504),
}
SPE_MACROS = {
    "offset": "KVX_SPE_OFFSET",
    "factor": "KVX_SPE_FACTOR",
    "displayUnit": "KVX_SPE_DISPLAY_UNIT",
    "tableLength": "KVX_SPE_TABLE_LENGTH",
    "valid": "KVX_SPE_VALID",
    "inputUnit": "KVX_SPE_INPUT_UNIT",
    "polyUnit": "KVX_SPE_POLY_UNIT",
    "polyOrder": "KVX_SPE_POLY_ORDER",
    "pointCount": "KVX_SPE_POINT_COUNT",
    "laserLine": "KVX_SPE_LASER_LINE",
    "enabledCode": "KVX_SPE_ENABLED_CODE",
}


@pytest.mark.parametrize("record", list(DOCUMENTED), ids=lambda r: r.__name__)
def test_record_size_is_the_documented_one(record):
    assert ctypes.sizeof(record) == DOCUMENTED[record][1 if R.PTR64 else 0]


@pytest.fixture(scope="module")
def c_layout(tmp_path_factory):
    """name -> value printed by a C program compiled against the header."""
    cc = shutil.which("cc") or shutil.which("gcc")
    if cc is None:
        pytest.skip("no C compiler")
    lines = ['#include <stdio.h>', '#include "KelvoCalibrate.h"', "int main(void) {"]
    for record in DOCUMENTED:
        name = record.__name__
        lines.append(f'printf("{name} %zu\\n", sizeof({name}));')
        if record is R.SpeCalibrationBlock:
            continue
        for field, *_ in record._fields_:
            lines.append(f'printf("{name}.{field} %zu\\n", offsetof({name}, {field}));')
    for macro in list(SPE_MACROS.values()) + ["KVX_SPE_UNIT_LABEL", "KVX_SPE_CALIB_LABEL", "KVX_SPE_TABLE",
                                               "KVX_SPE_POINT_POSITION", "KVX_SPE_POINT_VALUE",
                                               "KVX_SPE_COEFFICIENTS", "KVX_SPE_REGIONS"]:
        lines.append(f'printf("{macro} %d\\n", (int)({macro}));')
    lines.append("return 0; }")
    work = tmp_path_factory.mktemp("layout")
    (work / "layout.c").write_text("\n".join(lines))
    bits = "-m64" if R.PTR64 else "-m32"
    subprocess.run([cc, bits, "-std=c11", "-I", str(ROOT / "include"), "-o", str(work / "layout"),
                    str(work / "layout.c")], check=True)
    out = subprocess.run([str(work / "layout")], check=True, capture_output=True, text=True).stdout
    return {k: int(v) for k, v in (line.split() for line in out.splitlines())}


def test_every_field_sits_where_the_header_puts_it(c_layout):
    mismatches = []
    for record in DOCUMENTED:
        name = record.__name__
        if c_layout[name] != ctypes.sizeof(record):
            mismatches.append(f"sizeof {name}")
        if record is R.SpeCalibrationBlock:
            continue
        for field, *_ in record._fields_:
            if c_layout[f"{name}.{field}"] != getattr(record, field).offset:
                mismatches.append(f"{name}.{field}")
    assert mismatches == []


def test_spe_block_accessors_use_the_header_offsets(c_layout):
    B = R.SpeCalibrationBlock
    got = {m: B.FIELDS[f][0] for f, m in SPE_MACROS.items()}
    got.update(KVX_SPE_UNIT_LABEL=B.LABELS["unitLabel"], KVX_SPE_CALIB_LABEL=B.LABELS["calibLabel"],
               KVX_SPE_TABLE=B.TABLE, KVX_SPE_POINT_POSITION=B.POINT_POSITION,
               KVX_SPE_POINT_VALUE=B.POINT_VALUE, KVX_SPE_COEFFICIENTS=B.COEFFICIENTS,
               KVX_SPE_REGIONS=B.REGIONS)
    assert got == {m: c_layout[m] for m in got}
