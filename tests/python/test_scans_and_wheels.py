import math
import pathlib
import subprocess
import sys

import numpy as np
import pytest

import kvmath

EXAMPLES = pathlib.Path(__file__).parents[2] / "examples" / "python"


@pytest.fixture(scope="module")
def simulated(tmp_path_factory):
    """Folder with a scan, its truth, and a train pass."""
    folder = tmp_path_factory.mktemp("simulated")
    for command in ("scan --noise 0.01 --out scan.kvs", "pass --wheelsets 2 --out train"):
        subprocess.run(["kvmeasure", "simulate", *command.split()], cwd=folder, check=True, stdout=subprocess.DEVNULL)
    return folder


def run(example, *arguments):
    done = subprocess.run([sys.executable, EXAMPLES / f"{example}.py", *map(str, arguments)], capture_output=True, text=True)
    assert done.returncode == 0, done.stderr
    return done.stdout


def test_the_example_of_a_groove_gives_its_true_depth(simulated, tmp_path):
    shown = run("groove_in_a_scan", simulated / "scan.kvs", tmp_path / "middle.svg")
    depth = float(shown.split("depth ")[1].split()[0])
    assert depth == pytest.approx(12, abs=0.005) and (tmp_path / "middle.svg").read_bytes().count(b"<svg") == 1


def test_the_example_of_a_gauge_study_judges(tmp_path):
    rows = [f"{p},{a},{5 + 0.1 * p + 0.002 * ((7 * p + 3 * k + ord(a)) % 5 - 2):.4f}" for p in range(5) for a in "AB" for k in range(3)]
    (tmp_path / "study.csv").write_text("part,appraiser,value\n" + "\n".join(rows))
    assert "tolerance: good" in run("gauge_study", tmp_path / "study.csv", 0.4)
    assert "not good enough" in run("gauge_study", tmp_path / "study.csv", 0.04)


def test_the_example_of_a_train_pass_measures_all_wheels(simulated):
    shown = run("train_pass", simulated / "train")
    truth = (simulated / "train" / "truth.csv").read_text()
    assert shown.count("back to back") == 2 and shown.count("thick") == 4 and truth
    table = pytest.importorskip("pandas") and kvmath.wheel_pass(simulated / "train", work=simulated / "work").table()
    assert list(table["side"]) == ["left", "right"] * 2 and table["flangeHeight"].between(27, 31).all()
    limits = simulated / "limits.csv"
    limits.write_text("symbol,minimum,maximum\nSh,20,40\nAR,1300,1320\n")
    judged = kvmath.wheel_pass(simulated / "train", work=simulated / "work", limits=limits, vehicles=[2])
    assert judged.verdict == "OUT" and judged.document["vehicles"][0]["lastWheelset"] == 2
    assert [wheelset["left"]["verdict"] for wheelset in judged.wheelsets] == ["good", "good"]
    with pytest.raises(kvmath.Error, match="goes with limits"):
        kvmath.wheel_pass(simulated / "train", bogies=[2])
    with pytest.raises(kvmath.Error, match="basic, tram or loko"):
        kvmath.wheel_pass(simulated / "train", kind="train")


def test_scans_of_files_and_arrays_are_alike(simulated, tmp_path):
    scan = kvmath.read_scan(simulated / "scan.kvs")
    cloud = scan.points
    assert cloud.shape == (len(scan), 3) and cloud.dtype == np.float32 and scan.stack
    profiles = kvmath.profiles_of(scan)
    again = kvmath.Scan(profiles, [p.z for p in profiles])
    assert np.array_equal(again.points, cloud)
    again.write(tmp_path / "again.ply")
    assert np.array_equal(np.sort(kvmath.read_scan(tmp_path / "again.ply").points, axis=0), np.sort(cloud, axis=0))

    plane = kvmath.Scan([[x, 2 + 0.1 * x - 0.05 * z, z] for x in range(8) for z in range(9)]).plane()
    assert (plane.a, plane.b, plane.c) == pytest.approx((0.1, -0.05, 2), abs=1e-6)
    outline = scan.outline()
    assert len(outline) == 4 and outline.angles == pytest.approx([90] * 4, abs=0.3)
    heights, x, places = scan.grid(step_x=1, step_scan=1)
    assert heights.shape == (len(places), len(x)) and np.nanmax(heights) == pytest.approx(75, abs=0.05)
    across, along = scan.section(at_scan=20.0), scan.section(at_x=-15.0)
    assert across[:, 1].max() == pytest.approx(75, abs=0.06) and along.shape[0] > 200
    for wrong in ({}, {"at_scan": 1.0, "at_x": 2.0}):
        with pytest.raises(kvmath.Error, match="either at_scan or at_x"):
            scan.section(**wrong)
    with pytest.raises(kvmath.Error, match="2 places for 1 profiles"):
        kvmath.Scan([[[0, 1]]], [0, 1])
    with pytest.raises(kvmath.Error, match="no points"):
        kvmath.Scan(np.empty((0, 3)))


def s1002():
    """A made section: flange 28 mm high and 32.5 mm thick 10 mm above the tread, back at x = 0."""
    x = np.linspace(0, 135, 1351)
    flange = 28 - 0.07 * (x - 15) ** 2
    root = np.where(x < 55, 20 * np.exp(-((x - 15) / 16) ** 4) * 1.4, 0)
    return np.column_stack([x, np.where(x < 15, np.minimum(28, flange + 0 * x), root) - 0.025 * np.maximum(x - 70, 0)])


def test_values_of_sections_are_found_in_any_position_or_say_why_not():
    section = s1002()
    values = kvmath.wheel_values(section)
    assert values["Sh"].value == pytest.approx(28, abs=0.05) and values["Sh"].unit == "mm" and float(values["Sd"]) > 20
    turned = kvmath.wheel_values(section * [-1, 1], back=0.0)
    assert turned["Sh"].value == pytest.approx(values["Sh"].value, abs=1e-6)
    assert kvmath.wheel_wear(section, section)["largestWear"].value == pytest.approx(0, abs=1e-9)
    nothing = kvmath.wheel_values([[i, 0] for i in range(50)])
    assert nothing and all(not value.valid and value.reason and math.isnan(value.value) for value in nothing.values())
    assert all(value.reason for value in kvmath.rail_values(section).values() if not value.valid)
    with pytest.raises(kvmath.Error) as caught:
        kvmath.wheel_values(section, l2=-1)
    assert caught.value.parameter == "l2"


def test_sections_have_uncertainties_limits_and_a_picture(tmp_path):
    noisy = s1002() + np.column_stack([np.zeros(1351), np.random.default_rng(1).normal(0, 0.02, 1351)])
    values = kvmath.wheel_values(noisy, back=0.0, uncertainties=True)
    height = values["Sh"]
    assert 0.001 < height.u < 0.05 and height.expanded_u == 2 * height.u and abs(height.value - 28) < 4 * height.u + 0.05
    assert math.isnan(kvmath.wheel_values(noisy, back=0.0)["Sh"].u) and "Sh 2" in values.svg()
    wear = kvmath.wheel_wear(noisy, s1002(), back=0.0, uncertainties=True)
    assert list(wear)[0] == "treadWear" and wear["treadWear"].u > 0 and values.svg() in values._repr_html_()
    with pytest.raises(KeyError, match="Sh"):
        values["sh"]
    assert "Sh" in values and dict(values.items()).keys() == set(values.keys()) and len(values) == len(values.values())

    (tmp_path / "limits.csv").write_text("symbol,minimum,maximum,note\nSh,30,36,new\nSd,20,,\n")
    limits = kvmath.read_wheel_limits(tmp_path / "limits.csv")
    assert limits[0].minimum == 30 and math.isnan(limits[1].maximum) and limits[0].note == "new"
    verdicts = kvmath.judge(limits, values)
    assert [v.verdict for v in verdicts] == ["OUT", "good"] and verdicts[0].expanded_u == height.expanded_u
    assert kvmath.judge(tmp_path / "limits.csv", [values["Sd"]])[0].symbol == "Sd"
    (tmp_path / "limits.csv").write_text("symbol,minimum,maximum\nShh,30,36\n")
    with pytest.raises(kvmath.Error) as caught:
        kvmath.read_wheel_limits(tmp_path / "limits.csv")
    assert caught.value.line == 2


def test_the_gauge_of_a_track_is_that_of_its_heads():
    x, down = np.linspace(-35, 35, 701), np.arange(-40, -1.3, 0.1)
    side = np.column_stack([np.full(len(down), -35.0), down])
    head = np.vstack([side, np.column_stack([x, -0.001 * x**2]), side[::-1] * [-1, 1]])
    left, right = head - [717.5 + 35, 0], head + [717.5 + 35, 0]
    found = kvmath.track_gauge(left, right)
    assert found.gauge.value == pytest.approx(1435, abs=0.2) and found.right_face[0] == pytest.approx(717.5, abs=0.2)
    assert kvmath.track_gauge(np.vstack([left, right])).gauge.value == pytest.approx(found.gauge.value)
    crossed = kvmath.track_gauge(right, left).gauge
    assert not crossed.valid and crossed.reason
    with pytest.raises(kvmath.Error, match="two rails"):
        kvmath.track_gauge(left, rail_origin=750)


def test_the_conicity_of_a_cone_is_its_slope():
    shifts = np.linspace(-8, 8, 161)
    for value in kvmath.conicity(shifts, 2 * 0.05 * shifts, [1, 3, 6]):
        assert value.valid and value.tan_gamma == pytest.approx(0.05, rel=1e-5) and value.regression == pytest.approx(0.05)
        assert value.wavelength == pytest.approx(2 * math.pi * math.sqrt(1500 * 460 / (2 * 0.05)), rel=1e-4)
    assert kvmath.conicity(shifts, 0.1 * shifts, [20])[0].reason
