#!/usr/bin/env python3
"""Mutation test of both libraries: changes one operator, constant or statement at a time, and tells which changes no test
of the folder notices.

usage: mutate.py [--files PATTERN...] [--tests PATTERN...] [--sample N] [--seed S] [--jobs N] [--minutes M] [--log FILE]
                 [--list] [--again] [--survivors]

A change is compiled alone, from a copy of its source, linked into a copy of the library, and tried with the test programs
of its folder (tests/wheel for kvmath/wheel, tests/kvmeasure/inspection for kvmeasure/inspection and its kinds), the quick
ones and those of its name first, and with those that TESTED_BY names; --tests takes others ('cli/*', 'kvmeasure/*'). Of a header the objects of its folder and
of these tests that read it are compiled anew; other folders keep the unchanged one. Neither the checkout nor the build in
build/mutation, which is made once, is changed.

Places are drawn at random from all of them by the seed, so what a time limit cuts off leaves a random sample. A change
counts as killed when a test program fails, crashes, or takes three times as long; changes that do not compile, or not
without a warning, do not count. Every result is a line of the log, and what stands there is not tried again: a run that
was ended goes on when it is started again. --again tries the survivors of the log anew, --survivors prints them.
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
import shlex
import shutil
import signal
import subprocess
import sys
import threading
import time

ROOT = pathlib.Path(__file__).resolve().parent.parent
BUILD = ROOT / "build/mutation"
MEMORY = 4 << 30  # bytes, for one test program: a loop that never ends may fill lists
SECONDS = 300  # for compiling and linking a change
TESTED_BY = {  # beside the tests of their own folder
    "kvmeasure/base": ["kvmeasure/*", "cli/names_test.cpp", "cli/refusals_test.cpp"],
    "kvmeasure/inspection": ["kvmeasure/contracts_test.cpp", "kvmeasure/scans/file_measurement_test.cpp", "workflow/golden_files_test.cpp"],
    "kvmeasure/profiles": ["kvmeasure/inspection/*", "kvmeasure/contracts_test.cpp", "cli/filter_test.cpp", "cli/fit_test.cpp",
                 "cli/text_test.cpp"],
}
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


def run(command, limit, **more):
    """Exit code of a command; 1 when it takes longer than the limit, s."""
    process = subprocess.Popen(command, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL, start_new_session=True, **more)
    try:
        return process.wait(timeout=limit)
    except subprocess.TimeoutExpired:
        os.killpg(process.pid, signal.SIGKILL)
        process.wait()
        return 1


def lines_of(*command):
    return subprocess.run(command, cwd=BUILD, check=True, capture_output=True, text=True).stdout.splitlines()


def tests_of(file, patterns):
    """Sources of the test programs that a change of the file is tried with."""
    library, folder = file.split("/")[:2]
    patterns = patterns or [f"{folder}/*" if library == "kvmath" else f"kvmeasure/{folder}/*", *TESTED_BY.get(f"{library}/{folder}", [])]
    paths = (path.relative_to(ROOT / "tests").as_posix() for path in (ROOT / "tests").rglob("*_test.cpp"))
    return sorted(path for path in paths if any(fnmatch.fnmatch(path, pattern) for pattern in patterns))


class Program:
    """A test program of the build."""

    def __init__(self, source):
        self.name = source[:-len(".cpp")]
        self.target = self.name.replace("/", "_")
        folder = "tests/kvmeasure" if source.startswith("kvmeasure/") else f"tests/{source.split('/')[0]}"
        self.path = f"{folder}/{self.target}"
        self.seconds = 600

    def passes(self, workshop):
        def limit():
            resource.setrlimit(resource.RLIMIT_AS, (MEMORY, MEMORY))
            resource.setrlimit(resource.RLIMIT_CORE, (0, 0))
        changed = workshop / self.path
        return run([changed if changed.exists() else BUILD / self.path, "--gtest_fail_fast", "--gtest_brief=1"], self.seconds,
                   cwd=workshop / "run", env={**os.environ, "LD_LIBRARY_PATH": str(workshop)}, preexec_fn=limit) == 0


class Build:
    """The unchanged build: how each object is made, what reads each header, how each program is linked."""

    def __init__(self, mutants, patterns, jobs):
        self.programs = {test: Program(test) for mutant in mutants for test in tests_of(mutant.file, patterns)}
        flags = ["-DKVMATH_PRECOMPILE=ON", "-DKVMATH_PYTHON=OFF", "-DKVMATH_BUILD_EXAMPLES=OFF", "-DCMAKE_CXX_FLAGS=",
                 "-DCMAKE_CXX_FLAGS_RELEASE=-O1 -DNDEBUG"]
        lines_of("cmake", "--preset", "release", "-S", ROOT, "-B", BUILD, "--log-level=WARNING", *flags)
        present = {line.split(":")[0] for line in lines_of("ninja", "-t", "targets", "all")}
        self.programs = {test: program for test, program in self.programs.items() if program.target in present}
        lines_of("ninja", f"-j{jobs}", "kvmath", "kvmeasure", *(program.target for program in self.programs.values()))
        with open(BUILD / "compile_commands.json", encoding="utf-8") as commands:
            self.compiling = {}
            for entry in json.load(commands):
                words = shlex.split(entry["command"])
                self.compiling[words[words.index("-o") + 1]] = words
        self.readers = collections.defaultdict(list)
        name = ""
        for line in lines_of("ninja", "-t", "deps"):
            if line and not line.startswith(" "):
                name = line.split(":")[0]
            elif line.strip().startswith(str(ROOT)):
                self.readers[os.path.relpath(line.strip(), ROOT)].append(name)
        self.links = {}
        for library in ("kvmath", "kvmeasure"):
            made = next(path for path in (BUILD / library).glob("*.so.*") if not path.is_symlink())
            self.links[library] = self.link_of(f"{library}/{made.name}")
        for program in self.programs.values():
            self.links[program.path] = self.link_of(program.path)

    @staticmethod
    def link_of(target):
        command = lines_of("ninja", "-t", "commands", target)[-1]
        words = shlex.split(command)
        return [word for word in words[words.index("&&") + 1:] if word not in (":", "&&")]

    def time_programs(self, workshop):
        for program in self.programs.values():
            begun = time.monotonic()
            if not program.passes(workshop):
                raise RuntimeError(f"{program.target} fails on the unchanged checkout")
            program.seconds = 5 + 3 * (time.monotonic() - begun)

    def objects_of(self, file, tests):
        """Objects that a change of the file is compiled into: of its folder, and of its tests."""
        own = f"/{'/'.join(file.split('/')[1:2])}/"
        targets = {self.programs[test].target for test in tests}
        readers = self.readers[file]
        return [name for name in readers if name in self.compiling and
                (name.startswith(f"{file.split('/')[0]}/CMakeFiles") and own in name or
                 any(f"/{target}.dir/" in name for target in targets))]


class Workshop:
    """A folder for what a change makes: its source, objects, library and test programs."""

    def __init__(self, number, build, patterns):
        self.folder = BUILD / f"workshop{number}"
        self.build = build
        self.patterns = patterns
        shutil.rmtree(self.folder, ignore_errors=True)
        (self.folder / "run").mkdir(parents=True)

    def verdict(self, mutant):
        for path in self.folder.iterdir():
            shutil.rmtree(path) if path.is_dir() else path.unlink()
        (self.folder / "run").mkdir()
        changed = self.folder / "source" / mutant.file
        changed.parent.mkdir(parents=True)
        whole = (ROOT / mutant.file).read_text(encoding="utf-8")
        start = sum(len(line) + 1 for line in whole.split("\n")[:mutant.line - 1]) + mutant.column
        if whole[start:start + len(mutant.old)] != mutant.old:
            return "moved"  # somebody edits the file
        changed.write_text(whole[:start] + mutant.new + whole[start + len(mutant.old):], encoding="utf-8")
        tests = [test for test in tests_of(mutant.file, self.patterns) if test in self.build.programs]
        if not tests:
            return "no tests"
        try:
            if not self.made(mutant.file, tests):
                return "does not compile"
        except subprocess.TimeoutExpired:
            return "too long"
        stem = pathlib.Path(mutant.file).stem.split("_p")[0]
        programs = sorted((self.build.programs[test] for test in tests),
                          key=lambda program: (stem not in program.target, program.seconds))
        return "survived" if all(program.passes(self.folder) for program in programs) else "killed"

    def made(self, file, tests):
        """Compiles and links what a change reaches. False when that fails."""
        stop_at = time.monotonic() + SECONDS
        objects = self.build.objects_of(file, tests)
        for name in objects:
            made = self.folder / name
            made.parent.mkdir(parents=True, exist_ok=True)
            words = [str(made) if word == name else word for word in self.build.compiling[name]]
            if words[-1] == str(ROOT / file):
                words[-1] = str(self.folder / "source" / file)
            words.insert(1, f"-I{self.folder / 'source'}")
            if self.timed(words, stop_at) != 0:
                return False
        library = file.split("/")[0]
        if not self.linked(self.build.links[library], objects, stop_at, library):
            return False
        for test in tests:
            program = self.build.programs[test]
            link = self.build.links[program.path]
            if any(name in link for name in objects) and not self.linked(link, objects, stop_at, program.path):
                return False
        return True

    @staticmethod
    def timed(words, stop_at):
        return subprocess.run(words, cwd=BUILD, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL,
                              timeout=max(1, stop_at - time.monotonic())).returncode

    def linked(self, link, objects, stop_at, what):
        changed = set(objects)
        words = [str(self.folder / word) if word in changed else word for word in link]
        place = words.index("-o") + 1
        soname = next((word.split("=")[-1].split(",")[-1] for word in words if "-soname" in word), None)
        made = self.folder / (soname or what)
        made.parent.mkdir(parents=True, exist_ok=True)
        words[place] = str(made)
        return self.timed(words, stop_at) == 0


def key_of(entry):
    return entry["file"], entry["line"], entry["column"], entry["old"], entry["new"], entry["text"]


def text_of(mutant):
    return (ROOT / mutant.file).read_text(encoding="utf-8").splitlines()[mutant.line - 1].strip()


def told(mutant):
    return f"{mutant.file}:{mutant.line}: {mutant.old.strip()} -> {mutant.new.strip()}    in  {text_of(mutant)}"


def survivors_of(results):
    """The survivors in a log, each once, at the lines where their text stands now. The last result of a place counts."""
    last = {key_of(entry): entry for entry in results}
    for entry in last.values():
        text = (ROOT / entry["file"]).read_text(encoding="utf-8").splitlines()
        lines = [i + 1 for i, line in enumerate(text) if line.strip() == entry["text"]]
        if entry["verdict"] == "survived" and lines:
            line = min(lines, key=lambda i: abs(i - entry["line"]))
            yield Mutant(entry["file"], line, entry["column"], entry["old"], entry["new"])


def work(workshop, todo, results, stop_at):
    while time.monotonic() < stop_at:
        try:
            mutant = todo.get_nowait()
        except queue.Empty:
            return
        results.put((mutant, workshop.verdict(mutant)))


def try_all(chosen, options):
    """Tries the changes and logs what becomes of each."""
    os.nice(10)
    build = Build(chosen, options.tests, options.jobs)
    workshops = [Workshop(i, build, options.tests) for i in range(options.jobs)]
    build.time_programs(workshops[0].folder)
    todo, results = queue.Queue(), queue.Queue()
    for mutant in chosen:
        todo.put(mutant)
    stop_at = time.monotonic() + 60 * options.minutes
    workers = [threading.Thread(target=work, args=(workshop, todo, results, stop_at)) for workshop in workshops]
    for worker in workers:
        worker.start()
    counts = collections.Counter()
    with open(options.log, "a", encoding="utf-8") as log:
        while any(worker.is_alive() for worker in workers) or not results.empty():
            try:
                mutant, verdict = results.get(timeout=1)
            except queue.Empty:
                continue
            counts[verdict] += 1
            log.write(json.dumps({**mutant._asdict(), "text": text_of(mutant), "verdict": verdict}) + "\n")
            log.flush()
            if verdict == "survived":
                print(told(mutant), flush=True)
    return counts


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n\n")[0])
    parser.add_argument("--files", nargs="*", default=["kvmath/*", "kvmeasure/*"], help="patterns")
    parser.add_argument("--tests", nargs="*", default=[], help="patterns below tests/ (those of the folder)")
    parser.add_argument("--sample", type=int, default=300)
    parser.add_argument("--seed", type=int, default=1)
    parser.add_argument("--jobs", type=int, default=1)
    parser.add_argument("--minutes", type=float, default=600)
    parser.add_argument("--log", type=pathlib.Path, default=BUILD / "results.jsonl")
    parser.add_argument("--list", action="store_true", help="print the sample only")
    parser.add_argument("--again", action="store_true", help="try the survivors of the log anew")
    parser.add_argument("--survivors", action="store_true", help="print the survivors of the log only")
    options = parser.parse_args()

    BUILD.mkdir(parents=True, exist_ok=True)
    logged = [json.loads(line) for line in options.log.read_text(encoding="utf-8").splitlines()] if options.log.exists() else []
    files = sorted(path.relative_to(ROOT).as_posix() for library in ("kvmath", "kvmeasure")
                   for path in (ROOT / library).rglob("*") if path.suffix in (".cpp", ".h") and path.parent != ROOT / library)
    files = [file for file in files if any(fnmatch.fnmatch(file, pattern) for pattern in options.files)]
    if options.survivors:
        for mutant in survivors_of(logged):
            print(told(mutant))
        return 0
    places = [mutant for file in files for mutant in mutants_of(file)]
    chosen = random.Random(options.seed).sample(places, min(options.sample, len(places)))
    if options.again:
        chosen = [mutant for mutant in survivors_of(logged) if mutant.file in files]
    else:
        done = {key_of(entry) for entry in logged}
        chosen = [mutant for mutant in chosen if key_of({**mutant._asdict(), "text": text_of(mutant)}) not in done]
    print(f"{len(chosen)} of {len(places)} changes in {len(files)} files, seed {options.seed}", flush=True)
    if options.list:
        for mutant in chosen:
            print(told(mutant))
        return 0
    counts = try_all(chosen, options)
    tried = counts["killed"] + counts["survived"]
    print(f"{tried} changes, {counts['killed']} killed ({100 * counts['killed'] / max(1, tried):.1f} %), "
          f"{counts['survived']} survived; {counts['does not compile']} more do not compile, {counts['too long']} take too long")
    return 0


if __name__ == "__main__":
    sys.exit(main())
