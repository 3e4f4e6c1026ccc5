import math

import numpy as np
import pytest

import kvmath


def test_zones_of_points_made_with_known_zones():
    x = np.linspace(0, 30, 61)
    bent = np.column_stack([x, 0.001 * (x - 15) ** 2])
    straight = kvmath.straightness(bent)
    assert straight.minimum_zone.width == pytest.approx(0.225) and straight.minimum_zone.certified
    assert straight.least_squares.width >= straight.minimum_zone.width and len(straight.minimum_zone.contacts) == 3
    stray = np.insert(bent, 20, (9.75, 5), axis=0)
    assert kvmath.straightness(stray).minimum_zone.width > 4
    assert kvmath.straightness(stray, stray_cut=6).minimum_zone.width == pytest.approx(0.225)

    plane = np.array([[i, j, 0.1 * i + 0.02 * ((i + j) % 2)] for i in range(6) for j in range(6)], dtype=float)
    assert kvmath.flatness(plane).minimum_zone.width == pytest.approx(0.02 / math.hypot(1, 0.1))

    angle = np.linspace(0, 2 * math.pi, 72, endpoint=False)
    radius = 10 + 0.05 * np.cos(3 * angle)
    round_ = kvmath.roundness(np.column_stack([radius * np.cos(angle), 4 + radius * np.sin(angle)]))
    assert round_.minimum_zone.width == pytest.approx(0.1) and round_.minimum_zone.centre == pytest.approx((0, 4), abs=1e-9)
    assert round_.circumscribed.radius == pytest.approx(10.05)
    assert kvmath.straightness([[0, 0]]).minimum_zone.reason and "reason" in repr(round_.inscribed)


def test_steps_and_roughness_of_exact_shapes():
    x = np.arange(0, 30, 0.05)
    step = kvmath.step_height(np.column_stack([x, 0.1 * x - 2.0 * ((x > 12) & (x < 18))]), 12, 18)
    assert step.valid and step.height == pytest.approx(2) and step.slope == pytest.approx(0.1)
    fine = np.arange(0, 30, 0.0037)
    sine = np.column_stack([fine, 0.01 * np.sin(2 * math.pi * fine / 0.5)])
    rough = kvmath.roughness(sine, cutoff=2.5)
    assert rough.rq == pytest.approx(0.01 / math.sqrt(2), rel=0.01) and rough.ra == pytest.approx(0.02 / math.pi, rel=0.01)
    with pytest.raises(kvmath.Error, match='iso21920 or iso4287, not "iso4288"; did you mean "iso4287"'):
        kvmath.roughness(sine, norm="iso4288")


def test_statistics_are_those_of_their_formulas():
    values = [4.9, 5.1, 5.0, 5.2, 4.8, 5.0]
    summary = kvmath.summarize(values)
    assert (summary.count, summary.mean) == (6, pytest.approx(5)) and summary.standard_deviation == pytest.approx(np.std(values, ddof=1))
    capable = kvmath.capability(values, 4, 6)
    within = np.mean(np.abs(np.diff(values))) / 1.128379
    assert capable.cp == pytest.approx(2 / (6 * within), rel=1e-3) and float(capable.pp) == pytest.approx(2 / (6 * np.std(values, ddof=1)))
    assert capable.percentiles_reason and math.isnan(capable.pp_by_percentiles)
    gauge = kvmath.gauge_capability(values, 5, 4, 6)
    assert gauge.cg == pytest.approx(0.2 * 2 / (6 * np.std(values, ddof=1))) and not gauge.biased
    assert kvmath.percentile(values, 0.5) == pytest.approx(5)
    assert kvmath.control_chart([1, 1.1, 0.9] * 5 + [9]).findings[-1][0] == 15
    anova = kvmath.one_way_anova([1, 2, 3, 11, 12, 13], "aaabbb")
    assert (anova.between_ss, anova.within_ss, anova.f) == pytest.approx((150, 4, 150))
    line = kvmath.linearity([1, 1, 2, 2, 3, 3], [1.1, 1.12, 2.2, 2.22, 3.3, 3.32])
    assert line.slope.value == pytest.approx(0.1) and not line.linear


def test_a_gauge_study_of_known_deviations_and_what_it_refuses():
    draws = np.random.default_rng(7)
    parts = [f"part {p}" for p in range(10) for _ in range(9)]
    appraisers = [a for _ in range(10) for a in "ABC" for _ in range(3)]
    values = np.repeat(draws.normal(5, 0.5, 10), 9) + draws.normal(0, 0.01, 90)
    for method in ("anova", "range"):
        study = kvmath.gauge_study(parts, appraisers, values, method=method)
        assert (study.parts, study.appraisers, study.trials) == (10, 3, 3)
        assert study.ev == pytest.approx(0.01, rel=0.35) and study.grr < 0.03 * study.pv and study.ndc > 20
    uneven = kvmath.gauge_study(parts[1:], appraisers[1:], values[1:])
    assert uneven.reason and uneven.ndc is None and math.isnan(uneven.grr)
    with pytest.raises(kvmath.Error, match="needs a name for each of the 90 values, not 89"):
        kvmath.gauge_study(parts[1:], appraisers, values)
    with pytest.raises(kvmath.Error, match="number 1 is nan"):
        kvmath.summarize([1, math.nan])


def test_numerics_agree_with_numpy():
    matrix = np.random.default_rng(8).normal(size=(12, 5))
    u, w, v = kvmath.svd(matrix)
    assert np.allclose(u @ np.diag(w) @ v.T, matrix, atol=1e-6) and np.all(np.diff(w) <= 0)
    assert np.allclose(w, np.linalg.svd(matrix, compute_uv=False), atol=1e-6)
    right = np.arange(12.0)
    assert np.allclose(kvmath.least_squares(matrix, right), np.linalg.lstsq(matrix, right, rcond=None)[0], atol=1e-5)
    assert kvmath.fit_plane([[0, 0, 1], [1, 0, 1], [0, 1, 1], [1, 1, 1]]) == pytest.approx([0, 0, 1, -1])
    for bad in (np.zeros((0, 3)), np.full((2, 2), np.nan), np.zeros(4)):
        with pytest.raises(kvmath.Error, match="^matrix"):
            kvmath.svd(bad)
