import copy
import math
import pickle

import numpy as np
import pytest

import kvmath


def test_the_two_lines_of_a_session(samples, groove):
    plan = kvmath.read_plan(samples / "v-groove.template.json")
    result = plan.measure(np.array(groove))
    depth = result["depth"]
    assert depth.value == pytest.approx(6, abs=0.02) and depth.unit == "mm" and depth.valid and depth.reason == ""
    assert 0 < depth.u < 0.02 and depth.expanded_u == 2 * depth.u and depth.verdict == ""
    assert [name for name in result] == plan.value_names == result.keys()
    assert len(result) == 7 and "depth" in result and "dept" not in result and float(depth) == depth.value
    assert result.found and result.good and result.lines.shape == (4, 4)
    with pytest.raises(KeyError, match='did you mean "depth"'):
        result["depths"]


def test_teaching_gives_a_plan_that_measures_judges_and_is_kept(groove, tmp_path):
    plan = kvmath.teach(groove, lines={"land": 0, "in": 1}, measure="depth = shift land.end in.end -90 : +- 0.1",
                        name="groove", length_share=0.4)
    good = plan.measure(groove)
    assert good["depth"].verdict == "good" and good.verdict == "good"
    assert good["depth"].tolerance.nominal == good["depth"].value == pytest.approx(6, abs=0.02)
    deeper = np.array(groove, dtype=float)
    inside = np.abs(deeper[:, 0]) < 6
    deeper[inside, 1] -= 0.03 * (6 - np.abs(deeper[inside, 0]))
    bad = plan.measure(deeper)
    assert bad["depth"].verdict == "OUT" and not bad["depth"].good and not bad.good
    assert bad["depth"].deviation == pytest.approx(0.18, abs=0.03)
    path = tmp_path / "groove.json"
    plan.write(path)
    again = kvmath.read_plan(path)
    assert again.name == "groove" and again.line_names == ["land", "in"]
    assert again.measure(groove)["depth"].value == good["depth"].value
    for lines in ("in=1, out=2", [1, 2], "1,2"):
        assert kvmath.teach(groove, lines=lines, measure="length 0").measure(groove).found
    assert kvmath.teach(groove, longest=4, measure="length 1", length_share=0.5).measure(groove).found


def test_a_profile_without_the_template_has_reasons_for_every_value(plan):
    flat = np.column_stack([np.arange(100), np.zeros(100)])
    result = plan.measure(flat)
    assert not result.found and "4 lines" in result.reason and result.verdict == "NOT MEASURED"
    for name in result:
        value = result[name]
        assert not value.valid and math.isnan(value.value) and value.reason and value.verdict == "NOT MEASURED"
    assert result.lines.shape == (0, 4) and result.reason in repr(result)


@pytest.mark.parametrize("call, parameter", [
    (lambda g: kvmath.teach(g), "lines"),
    (lambda g: kvmath.teach(g, lines="0", longest=1), "lines"),
    (lambda g: kvmath.teach(g, lines="9"), "lines"),
    (lambda g: kvmath.teach(g, lines="0", measure="lenght 0"), "measure"),
    (lambda g: kvmath.teach(g, longest=40), "longest"),
    (lambda g: kvmath.teach(g, longest=1, length_share=-1), "length_share"),
    (lambda g: kvmath.teach(g, longest=1, contour_gap=-1), "contour_gap"),
    (lambda g: kvmath.make_plan("top = max in R", regions="R = y 1..2"), "region"),
    (lambda g: kvmath.make_plan("top = max in S", regions="R = all"), None),
    (lambda g: kvmath.make_plan("top = max in R", regions="R = all", filter="median 0"), "steps"),
], ids=str)
def test_a_plan_that_cannot_be_made_says_which_parameter(call, parameter, groove):
    with pytest.raises(kvmath.Error) as caught:
        call(groove)
    assert caught.value.parameter == parameter


def test_arguments_of_another_type_are_named(groove):
    for parameter, value in (("longest", "two"), ("measure", 5), ("regions", [1])):
        with pytest.raises(TypeError, match=f"^{parameter}: "):
            kvmath.teach(groove, **{"longest": 1, **{parameter: value}})


def test_tools_on_regions_measure_without_a_template(groove):
    plan = kvmath.make_plan("low = min in R : 44 +- 0.2; top = mean in L", regions=["R = x -6..6", "L = x ..-8"])
    result = plan.measure(groove)
    assert result["low"].verdict == "good" and result["top"].value == pytest.approx(50, abs=0.02)


def test_monte_carlo_gives_the_uncertainty_that_propagation_gives(groove, plan):
    simulated = plan.measure(groove, monte_carlo_runs=200, seed=3)["flank"]
    assert simulated.u == pytest.approx(simulated.propagated_u, rel=0.4)
    assert plan.measure(groove, monte_carlo_runs=200, seed=3)["flank"].u == simulated.u
    with pytest.raises(kvmath.Error, match="2 to 100000"):
        plan.measure(groove, monte_carlo_runs=1)


def test_warns_of_a_line_cut_by_the_view(groove):
    with pytest.warns(UserWarning, match="edge of the view"):
        kvmath.teach(groove, lines="0,1", measure="length 1")


def test_plans_values_and_results_can_be_pickled(groove, plan):
    result = plan.measure(groove)
    again = pickle.loads(pickle.dumps(result))
    for name in result:
        for member in ("value", "unit", "u", "valid", "verdict", "reason", "note", "degrees_of_freedom"):
            assert getattr(again[name], member) == getattr(result[name], member)
    assert again.svg() == result.svg() and again.name == result.name
    assert pickle.loads(pickle.dumps(plan)).to_json() == plan.to_json()
    for made in (plan, result, result["depth"], kvmath.fit_line(groove), kvmath.segments(groove)):
        assert copy.deepcopy(made) is made and copy.copy(made) is made, "nothing changes them"
    for scan in (kvmath.Scan([groove, groove[:9]], [0, 0.5]), kvmath.Scan([[0, 1, 2], [3, 4, 5]])):
        again = pickle.loads(pickle.dumps(scan))
        assert again.stack == scan.stack and np.array_equal(again.points, scan.points)


def test_pictures_and_tables_are_shown_in_notebooks(groove, plan):
    result = plan.measure(groove)
    assert "<svg" in result._repr_html_() and "6.00" in result._repr_html_()
    assert result.picture().startswith(b"<svg") or result.picture().startswith(b"<?xml")
    with pytest.raises(kvmath.Error, match="gif"):
        result.picture("gif")
    light, kept = plan.measure_all([groove])[0], plan.measure_all([groove], keep_profiles=True)[0]
    assert light["depth"].value == result["depth"].value and kept.svg() == result.svg() and "<svg" not in light._repr_html_()
    with pytest.raises(kvmath.Error, match="not kept"):
        pickle.loads(pickle.dumps(light)).svg()
    pandas = pytest.importorskip("pandas")
    assert result.table().loc["depth", "value"] == result["depth"].value
    many = kvmath.table(plan.measure_all([groove, np.empty((0, 2))]))
    assert isinstance(many, pandas.DataFrame) and list(many["found"]) == [True, False] and many["depth"].isna()[1]


def test_many_profiles_are_measured_as_one(groove):
    plan = kvmath.make_plan("up = max in R; other = mean in S", regions=["R = x -20..20", "S = second x -20..20"])
    second = [None, np.column_stack([np.linspace(-30, 30, 200), np.full(200, 7.0)])]
    many = plan.measure_all([groove, groove], second)
    assert [r["other"].valid for r in many] == [False, True]
    for result, other in zip(many, second):
        one = plan.measure(groove, other)
        assert result["up"].value == one["up"].value and repr(result) == repr(one)
    simulated = plan.measure_all([groove], monte_carlo_runs=20, seed=2)[0]
    assert simulated["up"].u == plan.measure(groove, monte_carlo_runs=20, seed=2)["up"].u
    for wrong, text in (([None], "fewer"), ([None] * 3, "more")):
        with pytest.raises(kvmath.Error, match=text):
            plan.measure_all([groove, groove], wrong)
