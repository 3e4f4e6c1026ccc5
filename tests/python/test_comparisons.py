import math

import numpy as np
import pytest

import kvmath

TURN, SHIFT = math.radians(2), np.array([3.0, -1.5])


def groove_shape(step=0.05):
    """Land, V groove 4 mm deep, land 1 mm higher: nothing of its place is free."""
    x = np.arange(-30, 30, step)
    return np.column_stack([x, np.where(np.abs(x) < 5, np.abs(x) * 0.8 - 4, np.where(x < 0, 0.0, 1.0))])


def moved(points, angle=TURN, shift=SHIFT):
    c, s = math.cos(angle), math.sin(angle)
    return points @ np.array([[c, s], [-s, c]]) + shift


def test_a_moved_part_with_a_dent_shows_the_dent_where_it_is():
    master = groove_shape()
    part = master.copy()
    part[(part[:, 0] > 15) & (part[:, 0] < 16), 1] -= 0.2
    found = kvmath.compare(moved(part), master, lower=-0.1, upper=0.1)
    assert found.valid and not found.good and found.free_motions == [] and found.registration.fixed
    assert float(found.smallest) == pytest.approx(-0.2, abs=0.002) and 15 < found.smallest.at[0] < 16
    assert found.worst.number == found.smallest.number == int(np.argmin(found.deviations))
    assert found.share_outside == pytest.approx(20 / len(found.deviations), abs=0.001)
    assert np.array_equal(np.shape(found.points), np.shape(found.places))
    back = np.column_stack([moved(part), np.ones(len(part))]) @ found.registration.matrix.T
    assert np.abs(back[:, :2] - part).max() < 0.005
    assert kvmath.compare(part, master, alignment="none").registration.parts == []
    by_lines = kvmath.compare(moved(part), master, alignment="template")
    assert float(by_lines.smallest) == pytest.approx(-0.2, abs=0.01)


def test_a_line_leaves_its_shift_free_and_pictures_show_it():
    line = np.column_stack([np.arange(0, 20, 0.1), np.zeros(200)])
    found = kvmath.compare(line + [1, 0.3], line)
    assert found.good and len(found.free_motions) == 1 and "shift along" in found.free_motions[0]
    free = [part for part in found.registration.parts if part.free]
    assert not free[0].turn and abs(free[0].direction[0]) == pytest.approx(1) and math.isinf(free[0].uncertainty)
    assert found.picture().startswith(b"<svg") and found.svg() in found._repr_html_() and math.isnan(found.share_outside)


def test_what_cannot_be_compared_says_why():
    shape = groove_shape()
    nothing = kvmath.compare(shape + [500, 0], shape, alignment="none")
    assert not nothing.valid and nothing.reason and math.isnan(nothing.rms) and nothing.largest is None
    assert "not compared" in nothing.svg() and not kvmath.compare(np.empty((0, 2)), shape).valid
    for parameter, arguments in (("alignment", {"alignment": "best"}), ("lower", {"lower": 1, "upper": 0}),
                                 ("plan", {"plan": kvmath.make_plan("top = max in R", regions="R = all")})):
        with pytest.raises(kvmath.Error) as caught:
            kvmath.compare(shape, shape, **arguments)
        assert caught.value.parameter == parameter


def test_scans_are_compared_with_scans_and_planes(tmp_path):
    x, z = np.meshgrid(np.arange(0, 20, 0.5), np.arange(0, 15, 0.5))
    height = 0.01 * (x - 8) ** 2 + 0.02 * (z - 6) ** 2
    cloud = np.column_stack([x.ravel(), height.ravel(), z.ravel()])
    master = kvmath.Scan(cloud)
    bumped = cloud.copy()
    near = np.hypot(cloud[:, 0] - 12, cloud[:, 2] - 9) < 1.6
    bumped[near, 1] += 0.3
    found = kvmath.compare_scans(kvmath.Scan(bumped), master, alignment="none", upper=0.1)
    assert float(found.largest) == pytest.approx(0.3, abs=0.03) and found.deviations.shape == (len(cloud),)
    number = found.largest.number
    assert near[number] and found.largest.at == pytest.approx(tuple(bumped[number]), abs=1e-4)
    assert np.all(found.deviations[near] > 0.2) and not found.good
    assert found.share_outside == pytest.approx(np.count_nonzero(near) / found.compared)
    found.write_deviation_cloud(tmp_path / "deviations.ply")
    assert (tmp_path / "deviations.ply").read_bytes().startswith(b"ply") and "<svg" in found.svg()

    shifted = kvmath.compare_scans(kvmath.Scan(cloud + [0.4, 0.2, -0.3]), master)
    assert shifted.rms < 0.01 and shifted.registration.matrix[:3, 3] == pytest.approx([-0.4, -0.2, 0.3], abs=0.05)
    plane = kvmath.Scan(cloud * [1, 0, 1] + [0, 2, 0]).plane()
    off = kvmath.compare_with_plane(kvmath.Scan(cloud * [1, 0, 1] + [0, 2.5, 0]), plane)
    assert off.mean == pytest.approx(0.5, abs=1e-5) and off.beyond == 0
    with pytest.raises(kvmath.Error, match="none or registration"):
        kvmath.compare_scans(master, master, alignment="template")
