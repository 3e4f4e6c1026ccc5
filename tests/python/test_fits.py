import math

import numpy as np
import pytest

import kvmath


def test_a_line_is_found_as_it_was_made_and_says_how_sure_it_is():
    draws = np.random.default_rng(5)
    x = np.linspace(-20, 20, 400)
    points = np.column_stack([x, 0.25 * x + 3 + draws.normal(0, 0.02, x.size)])
    points[50] += (0, 5)
    line = kvmath.fit_line(points)
    assert line.found and line.rejected >= 1 and line.points + line.rejected == 400
    assert line.slope == pytest.approx(0.25, abs=5e-4) and line.intercept == pytest.approx(3, abs=0.006)
    assert line.angle == pytest.approx(math.degrees(math.atan(0.25)), abs=0.02)
    scale = 1 / math.hypot(1, 0.25)
    assert line.deviation == pytest.approx(0.02 * scale, rel=0.15)
    assert line.u_offset == pytest.approx(0.02 * scale / math.sqrt(399), rel=0.4)
    assert len(line.residuals) == line.points and line.z_at(4) == pytest.approx(4, abs=0.01)
    rough = kvmath.fit_line(points, robust=False)
    assert rough.rejected == 0 and rough.deviation > 5 * line.deviation
    slope, intercept = np.polyfit(points[:, 0], points[:, 1], 1)
    assert rough.slope == pytest.approx(slope, abs=1e-10) and rough.intercept == pytest.approx(intercept, abs=1e-10)


def test_a_circle_is_found_as_it_was_made():
    angles = np.radians(np.linspace(30, 120, 200))
    noise = np.random.default_rng(6).normal(0, 0.01, 200)
    points = np.column_stack([4 + (12.5 + noise) * np.cos(angles), -3 + (12.5 + noise) * np.sin(angles)])
    circle = kvmath.fit_circle(points)
    assert circle.found and 0.002 < circle.u_radius < 0.02
    for value, true, u in ((circle.radius, 12.5, circle.u_radius), (circle.centre[0], 4, circle.u_x),
                           (circle.centre[1], -3, circle.u_z)):
        assert abs(value - true) < 4 * u
    assert circle.angle_covered == pytest.approx(90, abs=0.5)


@pytest.mark.parametrize("function, points", [
    (kvmath.fit_line, [[1, 2]]),
    (kvmath.fit_line, [[1, 2], [1, 2], [np.nan, 5]]),
    (kvmath.fit_circle, [[0, 0], [1, 1]]),
    (kvmath.fit_circle, [[i, 2 * i] for i in range(20)]),
])
def test_what_determines_nothing_has_a_reason_and_no_numbers(function, points):
    fit = function(points)
    assert not fit.found and fit.reason and fit.u_reason and fit.reason in repr(fit)
    assert math.isnan(fit.deviation) and math.isnan(fit.centre[0])


def test_segments_are_those_of_the_groove(groove):
    found = kvmath.segments(groove)
    assert len(found) == 4 and np.asarray(found).shape == (4, 4)
    assert found.angles == pytest.approx([0, -45, 45, 0], abs=0.2)
    assert found.lengths[1] == pytest.approx(8.485, abs=0.03)
    assert "<svg" in found._repr_html_()
    assert len(kvmath.segments(groove, min_line_length=10)) == 2
    for setting in ({"contour_gap": -1}, {"split_tolerance": 1e9}, {"min_line_length": math.inf}):
        with pytest.raises(kvmath.Error) as caught:
            kvmath.segments(groove, **setting)
        assert [caught.value.parameter] == list(setting)
    assert len(kvmath.filtered(groove, "trim-x -10 10")) < len(groove)
    with pytest.raises(kvmath.Error, match="step 1"):
        kvmath.filtered(groove, "smoothen 5")
