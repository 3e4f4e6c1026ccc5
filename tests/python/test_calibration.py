"""Tables built and checked from a record whose lines are known: sensor row 10 + 4.6 z in every column."""

import numpy as np
import pytest

import kvmath

COLUMNS, STEPS = 648, 1000
UNITS = {"z_range": 100.0, "x_range": 140.0}


def write_record(path, row_of, step_mm=0.1):
    """Positions count 1/32 pixel, little-endian; the z of the steps follow, big-endian. row_of: of z, mm."""
    z = step_mm * np.arange(STEPS)
    rows = np.broadcast_to(row_of(z), (COLUMNS, STEPS))
    path.write_bytes(np.round(32 * rows).astype("<u2").tobytes() + z.astype(">f8").tobytes())
    return path


@pytest.fixture
def flat(tmp_path):
    return write_record(tmp_path / "flat.raw", lambda z: 10 + 4.6 * z)


def test_a_table_is_built_checked_and_applied(flat, tmp_path):
    out = tmp_path / "scanner.tbl"
    report = kvmath.build_calibration_table(flat, out, x_step=185, **UNITS)
    assert abs(report["cells"] / COLUMNS - 2 * 459.54) < 2  # two table rows per sensor row from 10 to 469.54
    assert report["dropped"] == 0 and report["warnings"] == []
    checked = kvmath.check_calibration_table(out, flat, **UNITS)
    assert checked["covered"] > 0.99 * checked["found"] and checked["deviations"].shape[1] == COLUMNS
    assert abs(checked["mean"]) < 0.01 and checked["rms"] < 0.02 and abs(checked["worst"]) < 0.1
    profile = kvmath.apply_calibration_table(out, [(100, 240.0), (101, 240.0)], 100, 140)
    np.testing.assert_allclose(profile[:, 1], 50, atol=0.02)
    assert profile[1, 0] - profile[0, 0] == pytest.approx(0.185, abs=0.01)


def test_refusals_name_the_argument_or_the_file_and_write_nothing(flat, tmp_path):
    out = tmp_path / "none.tbl"
    for changed, name in (({"z_range": 0}, "z_range"), ({"x_step": float("nan")}, "x_step"),
                          ({"columns": (5, 5)}, "columns"), ({"teeth": flat}, "tooth_pitch"),
                          ({"tooth_pitch": 10}, "teeth")):
        with pytest.raises(kvmath.Error) as error:
            kvmath.build_calibration_table(flat, out, **{"x_step": 185, **UNITS, **changed})
        assert error.value.parameter == name
    with pytest.raises(kvmath.Error, match="is read, too"):
        kvmath.build_calibration_table(flat, tmp_path / "." / ".." / tmp_path.name / "flat.raw", x_step=185, **UNITS)
    with pytest.raises(kvmath.Error):
        kvmath.build_calibration_table(flat, out, x_step=185, teeth="", tooth_pitch=10, tooth_height=5, **UNITS)
    with pytest.raises(kvmath.Error):  # a flat target has no teeth
        kvmath.build_calibration_table(flat, out, x_step=185, teeth=flat, tooth_pitch=10, tooth_height=5, **UNITS)
    scattered = write_record(tmp_path / "noise.raw", lambda z: np.random.default_rng(1).uniform(1, 480, (COLUMNS, STEPS)))
    with pytest.raises(kvmath.Error, match="is this the record of a flat target") as error:
        kvmath.build_calibration_table(scattered, out, x_step=185, **UNITS)
    assert error.value.file == str(scattered)
    assert not out.exists()
