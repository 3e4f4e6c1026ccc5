"""Archives on Dask: many files per task, a worker killed in the middle, the same table as one run of the program."""

import os
import pathlib
import shutil
import signal
import subprocess
import threading
import time

import pytest

import kvmath

pandas = pytest.importorskip("pandas")
distributed = pytest.importorskip("distributed")
import kvmath.batch  # noqa: E402

PROGRAM = shutil.which("kvmeasure")


@pytest.fixture
def archive(samples, tmp_path, monkeypatch):
    """60 files, one of them gone, and what one run of the program says of them."""
    monkeypatch.chdir(tmp_path)
    shutil.copy(samples / "v-groove.csv", "good.csv")
    (tmp_path / "flat, \"é\".csv").write_text("x,z\n0,0\n1,0\n2,0\n3,0\n")
    names = ["good.csv", "flat, \"é\".csv", "good.csv"] * 20
    names[31] = "gone.csv"
    (tmp_path / "files.txt").write_text("\n".join(names))
    plan = samples / "v-groove.template.json"
    subprocess.run([PROGRAM, "measure", "--plan", plan, "--files-from", "files.txt", "--out", "one.csv"], stdout=subprocess.DEVNULL,
                   stderr=subprocess.DEVNULL)
    return names, plan


def wait_then_kill(cluster, folder, killed):
    """Kills a worker once the first task has begun."""
    while not (folder / "begun").exists():
        time.sleep(0.01)
    killed.append(next(iter(cluster.workers.values())).pid)
    os.kill(killed[0], signal.SIGKILL)


def test_a_killed_worker_changes_nothing(archive, tmp_path):
    names, plan = archive
    slow = tmp_path / "slow"  # tasks last longer than it takes to kill a worker
    slow.write_text(f"#!/bin/sh\ntouch {tmp_path}/begun\nsleep 0.2\nexec {PROGRAM} \"$@\"\n")
    slow.chmod(0o755)
    killed = []
    with distributed.LocalCluster(n_workers=2, threads_per_worker=1, processes=True, dashboard_address=None) as cluster, \
            distributed.Client(cluster) as client:
        killer = threading.Thread(target=wait_then_kill, args=(cluster, tmp_path, killed))
        killer.start()
        table = kvmath.batch.measure(names, plan, client, "all.csv", files_per_task=10, program=str(slow))
        killer.join()
        assert killed and killed[0] not in [worker.pid for worker in cluster.workers.values()]
        with pytest.raises(kvmath.Error, match="unknown option"):
            kvmath.batch.measure(names, plan, client, program=PROGRAM, options=["--units", "um"])
    assert pathlib.Path("all.csv").read_bytes() == pathlib.Path("one.csv").read_bytes()
    assert list(table["profile"]) == names
    assert table["verdict"].value_counts()["NOT READ"] == 1
    assert table["note"][31] == "gone.csv: no such file"
    depth = kvmath.read_plan(plan).measure(kvmath.read_profile("good.csv"))["depth"]
    assert (table["depth_mm"][table["profile"] == "good.csv"] == depth.value).all()
    assert table["depth_mm"].isna().sum() == 20 and table.attrs["part"]["failed"] == 1


def test_what_cannot_be_measured_is_refused(tmp_path, plan):
    for names in ([], [""], ["a\nb"], ["a\r"]):
        with pytest.raises(ValueError):
            kvmath.batch.measure(names, plan, None)
    for text in ("", "a,b\n1,2\n", "# part"):
        path = tmp_path / "x.csv"
        path.write_text(text)
        with pytest.raises(kvmath.Error, match="x.csv: is no complete part"):
            kvmath.batch.read_part(path)
