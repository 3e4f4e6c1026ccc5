"""Which arrays are taken, what is copied, and what is refused."""
import multiprocessing
import pickle
import signal
import threading
import warnings

import numpy as np
import pytest

import kvmath


def address(array):
    return array.__array_interface__["data"][0]


def test_the_library_s_own_points_are_given_and_taken_without_a_copy(groove, plan):
    assert groove.shape == (400, 2) and groove.dtype == np.float32 and not groove.flags.writeable
    assert address(plan.measure(groove).profile) == address(groove)
    part = groove[10:]  # a part of them is copied, and so is what numpy made
    assert address(plan.measure(part).profile) != address(part)
    own = np.array(groove)
    own_result = plan.measure(own)
    own[:] = 0  # the result has points of its own
    assert np.array_equal(own_result.profile, groove)


@pytest.mark.parametrize("form", [
    np.asarray,
    lambda a: np.array(a, dtype=np.float64),
    lambda a: np.asfortranarray(a),
    lambda a: np.repeat(a, 2, axis=0)[::2],
    lambda a: np.array(a[::-1])[::-1],
    lambda a: np.array(a).astype(">f4"),
    lambda a: a.tolist(),
    lambda a: np.insert(np.array(a), [0, 7, 400], np.nan, axis=0),
    lambda a: np.insert(np.array(a), 5, (np.nan, 3), axis=0),
    lambda a: np.ma.masked_greater(np.insert(np.array(a), 5, (0, 999), axis=0), 900),
], ids=["float32", "float64", "fortran", "strided", "reversed", "big-endian", "list", "unset", "half-unset", "masked"])
def test_every_form_of_an_array_gives_the_same_values(form, groove, plan):
    taken, expected = plan.measure(form(groove)), plan.measure(groove)
    assert [value.value for value in taken.values()] == [value.value for value in expected.values()]
    assert np.array_equal(taken.profile, groove)


def test_float64_is_rounded_to_the_nearest_float32_in_profiles_and_not_in_fits(plan):
    third = np.array([[0.0, 1 / 3], [1.0, 1 / 3], [2.0, 1 / 3]])
    assert plan.measure(third).profile[0, 1] == np.float32(1 / 3)
    assert kvmath.fit_line(third).intercept == 1 / 3
    with pytest.raises(kvmath.Error, match="row 1 holds 1e.39"):
        plan.measure([[0, 0], [1, 1e39]])


@pytest.mark.parametrize("bad, kind, text", [
    (np.zeros((3, 3)), kvmath.Error, r"shape \(n, 2\), not \(3, 3\)"),
    (np.zeros(5), kvmath.Error, r"not \(5,\)"),
    (np.zeros((2, 2, 2)), kvmath.Error, r"not \(2, 2, 2\)"),
    ([], kvmath.Error, r"not \(0,\)"),
    ([[1, np.inf]], kvmath.Error, "row 0 holds inf"),
    (1.5, kvmath.Error, r"not \(\)"),
    (None, TypeError, "not NoneType"),
    ("profile.csv", TypeError, "not str"),
    ([[1, 2], [3]], TypeError, "rows differ"),
    (np.zeros((3, 2), complex), TypeError, "complex128"),
    (np.array([["1", "2"]]), TypeError, "dtype <U1"),
], ids=str)
def test_what_is_no_profile_is_refused_with_its_parameter(bad, kind, text, plan):
    for name, function in (("array", plan.measure), ("points", kvmath.fit_line), ("points", kvmath.fit_circle),
                           ("array", kvmath.segments), ("array", lambda a: kvmath.teach(a, longest=1))):
        with warnings.catch_warnings(), pytest.raises(kind, match=f"^{name}: .*{text}") as caught:
            warnings.simplefilter("ignore")
            function(bad)
        assert kind is TypeError or caught.value.parameter == name


def test_an_empty_profile_is_measured_and_not_fitted(plan):
    result = plan.measure(np.empty((0, 2)))
    assert not result.found and result.reason and all(value.reason for value in result.values())
    for function in (kvmath.fit_line, kvmath.fit_circle, kvmath.segments):
        with pytest.raises(kvmath.Error, match="no points"):
            function(np.empty((0, 2)))


def test_profiles_keep_their_name_and_place(tmp_path):
    path = tmp_path / "two.bin"
    kvmath.write_profiles(path, [[[0, 1], [1, np.nan], [2, 3]], [[0, 5], [1, 6]]])
    profiles = list(kvmath.read_profiles(path))
    assert [p.name for p in profiles] == [f"{path}#0", f"{path}#1"]
    assert profiles[0].tolist() == [[0, 1], [2, 3]] and np.isnan(profiles[0].z)
    again = pickle.loads(pickle.dumps(profiles[1]))
    assert again.name == profiles[1].name and again.tolist() == [[0, 5], [1, 6]]
    placed = [kvmath.Profile([[0, 1], [1, 2]], z=z) for z in (0.5, 2.5)]
    kvmath.write_profiles(path, placed)
    assert [p.z for p in kvmath.read_profiles(path)] == [0.5, 2.5]
    with pytest.raises(kvmath.Error, match="several profiles"):
        kvmath.read_profile(path)


def test_errors_of_files_say_where(tmp_path):
    for name, text, line in (("plan.json", '{\n"a": }', 2), ("none.json", None, None)):
        if text is not None:
            (tmp_path / name).write_text(text)
        with pytest.raises(kvmath.Error) as caught:
            kvmath.read_plan(tmp_path / name)
        assert caught.value.file == str(tmp_path / name) and caught.value.line == line
        copy = pickle.loads(pickle.dumps(caught.value))
        assert (copy.args, copy.file, copy.line) == (caught.value.args, caught.value.file, caught.value.line)


def test_ctrl_c_ends_what_takes_long(groove, plan):
    def arrays():
        while True:
            yield groove

    main = threading.main_thread().ident
    timer = threading.Timer(0.3, signal.pthread_kill, (main, signal.SIGINT))
    timer.start()
    with pytest.raises(KeyboardInterrupt):
        plan.measure_all(arrays())
    timer.join()
    assert plan.measure(groove).found


def test_other_threads_run_while_one_computes():
    done, ticks = threading.Event(), 0
    thread = threading.Thread(target=lambda: (kvmath.flatness(np.random.default_rng(2).normal(0, 1, (100_000, 3))), done.set()))
    thread.start()
    while not done.is_set():
        ticks += 1
        done.wait(0.001)
    thread.join()
    assert ticks > 5


def test_threads_share_a_plan_and_get_what_one_gets(groove, plan):
    expected = [value.value for value in plan.measure(groove).values()]
    results = []

    def work():
        for _ in range(200):
            results.append([value.value for value in plan.measure(groove).values()])

    threads = [threading.Thread(target=work) for _ in range(4)]
    for thread in threads:
        thread.start()
    for thread in threads:
        thread.join()
    assert len(results) == 800 and all(values == expected for values in results)


def _depth_in_a_child(plan, array, queue):
    queue.put(plan.measure(array)["depth"].value)


@pytest.mark.parametrize("way", ["fork", "spawn"])
def test_processes_measure_with_plans_of_their_parent(way, groove, plan):
    expected = plan.measure(groove)["depth"].value
    context = multiprocessing.get_context(way)
    queue = context.Queue()
    child = context.Process(target=_depth_in_a_child, args=(plan, groove, queue))
    child.start()
    assert queue.get(timeout=60) == expected
    child.join()
    assert child.exitcode == 0
