"""Outlines, filters of clouds, circumferences."""
import math

import numpy as np
import pytest

import kvmath

SQUARE = np.array([[0, 0], [1, 0], [np.nan, 5], [2, 0], [2, 2], [1, 1.9], [0, 2], [1, 0.5]])


def test_hulls_go_round_the_points():
    convex = kvmath.coin_hull(SQUARE)
    assert convex[0] == convex[-1] == 0 and {0, 3, 4, 6} <= set(convex) <= {0, 1, 3, 4, 6}
    assert 5 in kvmath.coin_hull(SQUARE, 1.05), "the coin dips to the point between the upper corners"
    outline = kvmath.pseudo_convex_hull(SQUARE)
    assert {(0, 0), (2, 0), (2, 2), (0, 2)} <= set(map(tuple, outline.tolist()))
    assert len(kvmath.pseudo_convex_hull(SQUARE, most=3)) == 3
    for function in (kvmath.coin_hull, kvmath.pseudo_convex_hull):
        assert len(function(np.empty((0, 2)))) == 0 and len(function([[np.nan, 1]] * 3)) == 0
        for bad in (0, -1, math.nan):
            with pytest.raises(kvmath.Error) as caught:
                function(SQUARE, bad)
            assert caught.value.parameter == "radius"
        with pytest.raises(kvmath.Error, match="row 1 is infinite"):
            function([[0, 0], [np.inf, 0]])


@pytest.mark.parametrize("function", [kvmath.cubic_filter, kvmath.spherical_filter])
def test_filters_of_clouds_drop_what_stands_alone(function):
    near = np.random.default_rng(1).uniform(0, 10, (20_000, 3))
    dense = np.vstack([near, near + [20, 0, 0]])
    kept = function(np.vstack([dense, [[15, 5, 5], [np.nan, 0, 0]]]), 2.0, 3)
    # Those of a bound, where a cube or ball holds few, may go as well.
    assert kept.dtype == np.float32 and 39_500 < len(kept) <= 40_000 and not np.any(np.abs(kept[:, 0] - 15) < 4.9)
    assert set(map(tuple, kept.tolist())) <= set(map(tuple, dense.astype(np.float32).tolist()))
    assert np.array_equal(function(dense, 2.0, 1), dense.astype(np.float32))
    for cell, least, parameter in ((0, 3, "cell"), (math.nan, 3, "cell"), (math.inf, 3, "cell"), (1, 0, "least")):
        with pytest.raises(kvmath.Error) as caught:
            function(dense, cell, least)
        assert caught.value.parameter == parameter


def test_a_circumference_has_its_waves_and_a_picture():
    angles = np.arange(0, 360, 0.1)
    radii = 460 + 0.3 * np.cos(np.radians(angles - 40)) + 0.2 * np.cos(3 * np.radians(angles - 10))
    wheel = kvmath.evaluate_circumference(np.column_stack([angles, radii]))
    assert wheel.mean_radius == pytest.approx(460, abs=1e-3) and wheel.eccentricity == pytest.approx(0.3, abs=1e-3)
    third = wheel.harmonics[2]
    assert (third.order, third.amplitude) == (3, pytest.approx(0.2, abs=1e-3)) and third.angle == pytest.approx(10, abs=0.1)
    assert wheel.out_of_roundness == pytest.approx(0.4, abs=0.01) and not wheel.flats and not wheel.reason
    assert wheel.deviations.shape[1] == 2 and "<svg" in wheel._repr_html_() and "mean_radius=460" in repr(wheel)
    few = kvmath.evaluate_circumference([[0, 460], [10, 460]])
    assert few.reason and math.isnan(few.mean_radius)
    with pytest.raises(kvmath.Error):
        kvmath.evaluate_circumference(np.column_stack([angles, radii]), orders=0)
