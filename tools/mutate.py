#!/usr/bin/env python3
"""Mutation test of the library: changes one operator, constant or statement at a time, and tells which changes no test
of the folder notices.

usage: mutate.py [--files PATTERN...] [--sample N] [--seed S] [--jobs N] [--minutes M] [--list] [--again RESULTS]

Works on a copy of the checkout in build/mutation, never on the checkout. Places are drawn at random from all of them, so
what a time limit cuts off leaves a random sample. A change counts as killed when a test program of the folder fails,
crashes or takes three times as long; changes that do not compile, or not without a warning, do not count. A public header
costs a build of all tests of its folder, other files that of the library and of the tests that link its internals. Every
result is added to build/mutation/results.jsonl; --again takes such a file and tries its survivors anew.
"""

import argparse
import collections
import fnmatch
import json
import os
import pathlib
import queue
import random
import re
import resource
import shutil
import subprocess
import sys
import threading
import time

ROOT = pathlib.Path(__file__).resolve().parent.parent
HOME = ROOT / "build/mutation"
MEMORY = 4 << 30  # bytes, for one test program: a loop that never ends may fill lists
Mutant = collections.namedtuple("Mutant", "file line column old new")

SWAPS = {" < ": " <= ", " <= ": " < ", " > ": " >= ", " >= ": " > ", " == ": " != ", " != ": " == ", " + ": " - ",
         " - ": " + ", " * ": " / ", " / ": " * ", " && ": " || ", " || ": " && ", " += ": " -= ", " -= ": " += ",
         "++": "--", "--": "++", "true": "false", "false": "true", "std::min": "std::max", "std::max": "std::min",
         "continue;": ";", "return;": ";", "break;": ";"}
OPERATOR = re.compile(r" (?:[<>=!]=|[<>+*/-]|&&|\|\||[+-]=) |\+\+|--|\b(?:true|false|std::m(?:in|ax)|(?:continue|return|break);)\b"
                      r"|\b(?:continue|return|break);")
NUMBER = re.compile(r"(?<![\w.])(\d[\d']*\.\d*(?:e[+-]?\d+)?|\d[\d']*e[+-]?\d+|\d[\d']*)([FUL]*)(?![\w.])")
CONDITION = re.compile(r"\bif \(")
NO_CODE = re.compile(r'//[^\n]*|/\*.*?\*/|"(?:\\.|[^"\\\n])*"|\'(?:\\.|[^\'\\\n])\'|^[ \t]*#[^\n]*', re.S | re.M)
PARAMETER_BOUND = re.compile(r"\b(?:double|float|int|char)\s+\w+\[(\d+)\]\s*[,)]")  # means nothing to a compiler
DECLARATION = re.compile(r"^\s*(?:template|static_assert|using|namespace)\b")


def closing(code, opening):
    """Where the parenthesis that opens there is closed."""
    depth = 0
    for i in range(opening, len(code)):
        depth += (code[i] == "(") - (code[i] == ")")
        if depth == 0:
            return i
    return -1


def changed_numbers(text, suffix):
    plain = text.replace("'", "")
    if re.search(r"[.e]", plain):
        value = float(plain)
        return [f"{value * 1.5 if value else 1.0!r}{suffix}"]
    return [f"{int(plain) + 1}{suffix}", f"({int(plain)}{suffix} - 1)"]


def mutants_of(file):
    text = (ROOT / file).read_text(encoding="utf-8")
    code = NO_CODE.sub(lambda match: re.sub(r"[^\n]", " ", match[0]), text)
    bounds = {match.start(1) for match in PARAMETER_BOUND.finditer(code)}
    found = []
    for match in OPERATOR.finditer(code):
        found.append((match.start(), match[0], SWAPS[match[0]]))
    for match in NUMBER.finditer(code):
        if match.start() not in bounds:
            found += [(match.start(), match[0], new) for new in changed_numbers(match[1], match[2])]
    for match in CONDITION.finditer(code):
        end = closing(code, match.end() - 1)
        inside = text[match.end():end]
        if end > 0 and ";" not in inside:
            found.append((match.end(), inside, f"!({inside})"))
    lines = code.split("\n")
    mutants = []
    for start, old, new in sorted(found):
        line = code.count("\n", 0, start)
        if not DECLARATION.match(lines[line]):
            mutants.append(Mutant(file, line + 1, start - (code.rfind("\n", 0, start) + 1), old, new))
    return mutants


class Workshop:
    """A copy of the checkout, built; one mutant at a time is tried in it."""

    def __init__(self, number, folders):
        self.source = HOME / f"copy{number}"
        self.build = self.source / "build/release"  # where presets build: a compiler cache then knows the sources
        self.quiet = {"cwd": self.source, "stdout": subprocess.DEVNULL, "stderr": subprocess.DEVNULL}
        names = subprocess.run(["git", "ls-files", "-co", "--exclude-standard"], cwd=ROOT, check=True, capture_output=True,
                               text=True).stdout.splitlines()
        for name in names:
            target = self.source / name
            if (ROOT / name).is_file() and not (target.exists() and target.read_bytes() == (ROOT / name).read_bytes()):
                target.parent.mkdir(parents=True, exist_ok=True)
                shutil.copyfile(ROOT / name, target)
        launcher = ["-DCMAKE_CXX_COMPILER_LAUNCHER=ccache"] if shutil.which("ccache") else []
        subprocess.run(["cmake", "--preset", "release", *launcher], check=True, **self.quiet)
        self.tests = {folder: [self.test_of(path) for path in (ROOT / "tests" / folder).glob("*_test.cpp")]
                      for folder in folders}
        targets = [test["target"] for tests in self.tests.values() for test in tests]
        if not self.made(["kvmath"] + targets):
            raise RuntimeError("the unchanged checkout does not build")
        for tests in self.tests.values():
            for test in tests:
                begun = time.monotonic()
                if not self.passes(test):
                    raise RuntimeError(f"{test['target']} fails on the unchanged checkout")
                test["seconds"] = 5 + 3 * (time.monotonic() - begun)
            tests.sort(key=lambda test: test["seconds"])

    def test_of(self, path):
        target = f"{path.parent.name}_{path.stem}"
        return {"target": target, "folder": self.build / "tests" / path.parent.name, "seconds": 600}

    def made(self, targets):
        return subprocess.run(["cmake", "--build", self.build, "-j1", "--target", *targets], **self.quiet).returncode == 0

    @staticmethod
    def passes(test):
        def limit():
            resource.setrlimit(resource.RLIMIT_AS, (MEMORY, MEMORY))
            resource.setrlimit(resource.RLIMIT_CORE, (0, 0))
        try:
            return subprocess.run([test["folder"] / test["target"], "--gtest_fail_fast", "--gtest_brief=1"], cwd=test["folder"],
                                  stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL, preexec_fn=limit,
                                  timeout=test["seconds"]).returncode == 0
        except subprocess.TimeoutExpired:
            return False

    def verdict(self, mutant):
        path = self.source / mutant.file
        whole = path.read_text(encoding="utf-8")
        lines = whole.split("\n")
        start = sum(len(line) + 1 for line in lines[:mutant.line - 1]) + mutant.column
        path.write_text(whole[:start] + mutant.new + whole[start + len(mutant.old):], encoding="utf-8")
        try:
            folder, stem = mutant.file.split("/")[1], pathlib.Path(mutant.file).stem.split("_p")[0]
            tests = sorted(self.tests[folder], key=lambda test: stem not in test["target"])
            if not self.made(["kvmath"] + [test["target"] for test in tests if holds_code_of(mutant.file, test)]):
                return "does not compile"
            return "survived" if all(self.passes(test) for test in tests) else "killed"
        finally:
            path.write_text(whole, encoding="utf-8")


def holds_code_of(file, test):
    """Whether the test program must be built anew: it links the internals, or the file is a public header, whose inline
    code and templates are compiled into every test."""
    return "_kernel_" in test["target"] or (file.endswith(".h") and not file.endswith("_p.h"))


def survivors_of(results):
    """The survivors in a file of results, at the lines where their text stands now."""
    for entry in map(json.loads, results.read_text(encoding="utf-8").splitlines()):
        text = (ROOT / entry["file"]).read_text(encoding="utf-8").splitlines()
        lines = [i + 1 for i, line in enumerate(text) if line.strip() == entry["text"]]
        if entry["verdict"] == "survived" and lines:
            line = min(lines, key=lambda i: abs(i - entry["line"]))
            yield Mutant(entry["file"], line, entry["column"], entry["old"], entry["new"])


def work(number, folders, todo, results, stop_at):
    workshop = Workshop(number, folders)
    while time.monotonic() < stop_at:
        try:
            mutant = todo.get_nowait()
        except queue.Empty:
            return
        results.put((mutant, workshop.verdict(mutant)))


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n\n")[0])
    parser.add_argument("--files", nargs="*", default=["kvmath/*"], help="patterns")
    parser.add_argument("--sample", type=int, default=300)
    parser.add_argument("--seed", type=int, default=1)
    parser.add_argument("--jobs", type=int, default=1)
    parser.add_argument("--minutes", type=float, default=600)
    parser.add_argument("--list", action="store_true", help="print the sample only")
    parser.add_argument("--again", type=pathlib.Path, help="results whose survivors are tried anew")
    options = parser.parse_args()

    files = sorted(path.relative_to(ROOT).as_posix() for path in (ROOT / "kvmath").glob("*/*")
                   if path.suffix in (".cpp", ".h"))
    files = [file for file in files if any(fnmatch.fnmatch(file, pattern) for pattern in options.files)]
    places = [mutant for file in files for mutant in mutants_of(file)]
    chosen = random.Random(options.seed).sample(places, min(options.sample, len(places)))
    if options.again:
        chosen = list(survivors_of(options.again))
    print(f"{len(chosen)} of {len(places)} changes in {len(files)} files, seed {options.seed}", flush=True)
    if options.list:
        for mutant in chosen:
            print(f"{mutant.file}:{mutant.line}: {mutant.old.strip()} -> {mutant.new.strip()}")
        return 0

    os.nice(10)
    HOME.mkdir(parents=True, exist_ok=True)
    text_of = {mutant: (ROOT / mutant.file).read_text(encoding="utf-8").splitlines()[mutant.line - 1].strip()
               for mutant in chosen}
    todo, results = queue.Queue(), queue.Queue()
    for mutant in chosen:
        todo.put(mutant)
    folders = sorted({mutant.file.split("/")[1] for mutant in chosen})
    stop_at = time.monotonic() + 60 * options.minutes
    workers = [threading.Thread(target=work, args=(i, folders, todo, results, stop_at)) for i in range(options.jobs)]
    for worker in workers:
        worker.start()
    counts = collections.Counter()
    with open(HOME / "results.jsonl", "a", encoding="utf-8") as log:
        while any(worker.is_alive() for worker in workers) or not results.empty():
            try:
                mutant, verdict = results.get(timeout=1)
            except queue.Empty:
                continue
            counts[verdict] += 1
            text = text_of[mutant]
            log.write(json.dumps({**mutant._asdict(), "text": text, "verdict": verdict}) + "\n")
            log.flush()
            if verdict == "survived":
                print(f"{mutant.file}:{mutant.line}: {mutant.old.strip()} -> {mutant.new.strip()}    in  {text}", flush=True)
    tried = counts["killed"] + counts["survived"]
    print(f"{tried} changes, {counts['killed']} killed ({100 * counts['killed'] / max(1, tried):.1f} %), "
          f"{counts['survived']} survived; {counts['does not compile']} more do not compile")
    return 0


if __name__ == "__main__":
    sys.exit(main())
