#!/usr/bin/env python3
"""Interrupts the Snakemake workflow, starts it again, and compares its table with that of one run.

usage: interrupt_snakemake.py SNAKEMAKE SNAKEFILE KVMEASURE SCRATCH_FOLDER
"""

import os
import pathlib
import shutil
import signal
import subprocess
import sys
import time

SNAKEMAKE, SNAKEFILE, KVMEASURE, FOLDER = sys.argv[1:]
PARTS = 3


def run(*words):
    done = subprocess.run(words, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True)
    return done.returncode, done.stdout


def prepare():
    shutil.rmtree(FOLDER, ignore_errors=True)
    os.makedirs(FOLDER)
    os.chdir(FOLDER)
    for seed in ("1", "2", "3"):
        run(KVMEASURE, "simulate", "profile", "--shape", "v-groove", "--noise", "0.02", "--seed", seed, "--out", f"part {seed}.csv")
    run(KVMEASURE, "teach", "part 1.csv", "--lines", "0,1,2,3", "--measure", "depth = shift 0.end 1.end -90", "--out", "plan.json")
    names = [f"part {1 + i % 3}.csv" for i in range(50 * PARTS)]
    names[70] = "gone.csv"
    pathlib.Path("files.txt").write_text("\n\n".join(names))


def main():
    prepare()
    command = [SNAKEMAKE, "--snakefile", SNAKEFILE, "--cores", "1", "--quiet", "--config", "files_per_part=50", f"program={KVMEASURE}"]
    first = subprocess.Popen(command, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL, start_new_session=True)
    while not any(pathlib.Path("parts").glob("*.csv")) and first.poll() is None:
        time.sleep(0.01)
    os.killpg(first.pid, signal.SIGKILL)
    first.wait()
    done = {path: path.stat().st_mtime_ns for path in pathlib.Path("parts").glob("*.csv")}
    assert 0 < len(done) < PARTS and not pathlib.Path("all.csv").exists(), f"killed too late: {len(done)} parts"
    run(*command, "--unlock")
    code, text = run(*command, "--rerun-incomplete")
    assert code == 0, text
    again = [path for path, time_of in done.items() if path.stat().st_mtime_ns != time_of]
    assert len(again) <= 1, f"measured again: {again}"  # the one that Snakemake had no time to take note of
    code, text = run(KVMEASURE, "measure", "--plan", "plan.json", "--files-from", "files.txt", "--out", "one.csv")
    assert code == 2, text  # of gone.csv
    assert pathlib.Path("one.csv").read_bytes() == pathlib.Path("all.csv").read_bytes()


main()
