"""What the tests of results that are handed on share: the program in a scratch folder, and what was expected of it.

Arguments of such a test: PROGRAM SCRATCH
"""
import json
import os
import pathlib
import shutil
import subprocess
import sys

program = os.path.abspath(sys.argv[1])
scratch = pathlib.Path(sys.argv[2]).resolve() / pathlib.Path(sys.argv[0]).stem
shutil.rmtree(scratch, ignore_errors=True)
scratch.mkdir(parents=True)
os.chdir(scratch)
faults = []
checks = 0


def expect(is_true, what):
    global checks
    checks += 1
    if not is_true:
        faults.append(what)


def run(*words, code=0, **more):
    done = subprocess.run([program, *map(str, words)], capture_output=True, timeout=100, **more)
    done.out, done.err = done.stdout.decode(), done.stderr.decode()
    expect(done.returncode == code, f"{' '.join(map(str, words))[-200:]}: exit code {done.returncode}, not {code}: {done.err}")
    return done


def make_parts():
    for i in range(1, 4):
        run("simulate", "profile", "--out", f"p{i}.csv", "--shape", "v-groove", "--noise", "0.02", "--seed", i)
    pathlib.Path("flat.csv").write_text("x,z\n50,0\n51,0\n52,0\n53,0\n")
    pathlib.Path("bad.csv").write_text("nothing\n")
    run("teach", "p1.csv", "--lines", "0,1,2,3", "--measure", "depth = shift 0.end 1.end -90 : 6 +- 0.5; top = length 1",
        "--out", "t.json")


def results_of(*words, code=0):
    return json.loads(run(*words, "--json", code=code).out)["profiles"]


def finish():
    print(f"{checks} checks, {len(faults)} faults")
    for fault in faults[:20]:
        print(" ", fault)
    sys.exit(1 if faults else 0)
