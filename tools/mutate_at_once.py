#!/usr/bin/env python3
"""Mutation test of a folder at once: all changes that tools/mutate.py knows are compiled into one library, each behind a
switch that the environment sets, so that a change costs a run of its tests and nothing else.

usage: mutate_at_once.py FOLDER... [--files PATTERN] [--sample N] [--seed S] [--jobs N] [--minutes M] [--tests PATTERN...] [--log FILE]
                         [--scripts PATTERN] [--longest S] [--again] [--survivors]

FOLDER is kvmath/wheel, kvmeasure/profiles and so on; --files 'circle*' takes some of its sources, by name. Operators become calls of the same rank, numbers and conditions take
one of two values. Where the compiler needs a constant, or takes no switch, the change is left to tools/mutate.py, and so
are headers. A first run of each test program tells which switches it passes: a change is tried with those programs only,
quick ones first, and is called "not run" where there is none. A change is killed when a program fails, crashes, takes
three times its time, or five times its memory. Changes that make warnings count here. --scripts 'cli/handed|package/guide|python/'
takes tests of the suite that are no such programs, too: those whose names the expression finds.

The build is that of preset release in build/release. Results are lines of the log as those of mutate.py; what stands there is
not tried again. --again tries survivors anew, --survivors prints them.
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
import subprocess
import sys
import threading
import time

import mutate

BUILD = mutate.ROOT / "build/release"
SHOP = BUILD / "mutation"
SWITCHES = pathlib.Path(__file__).with_name("mutation_switches.h")
SPACED = {"<": "Less", "<=": "LessEqual", ">": "Greater", ">=": "GreaterEqual", "==": "Equal", "!=": "Unequal", "+": "Plus",
          "-": "Minus", "*": "Times", "/": "Over", "+=": "Add", "-=": "Take"}
OPEN, CLOSE = "([{", ")]}"
# Operators become functions, which pass quads of doubles in one way where all of a file is for AVX2, and in two where some is.
WIDE = ["-mavx2"] if "avx2" in pathlib.Path("/proc/cpuinfo").read_text(encoding="utf-8") else []
WORD_BEFORE = re.compile(r"(?:^|[^\w])(?:return|case|throw|else|co_return)\s*$")


def reach(code, start, end, stops, step):
    """Where the operand that begins beside an operator ends: at a bracket, or at a sign that binds less."""
    depth, i = 0, start
    into, out = (OPEN, CLOSE) if step > 0 else (CLOSE, OPEN)
    while i != end:
        sign = code[i]
        if sign in into:
            depth += 1
        elif sign in out:
            depth -= 1
            if depth < 0:
                return i
        elif depth == 0:
            pair = code[i:i + 2] if step > 0 else code[i - 1:i + 1]
            if pair in stops or sign in ",;?" or (sign == ":" and "::" not in (code[i - 1:i + 1], code[i:i + 2])):
                return i
            if sign == "=" and code[i - 1] not in "=<>!" and code[i + 1] != "=":
                return i
            if step < 0 and WORD_BEFORE.search(code[max(0, i - 12):i + 1]) and not code[i + 1:i + 2].isalnum():
                return i
        i += step
    return i


class Source:
    """A file with all its changes behind switches, but for those left out."""

    def __init__(self, file, mutants):
        self.file = file
        self.text = (mutate.ROOT / file).read_text(encoding="utf-8")
        self.code = mutate.NO_CODE.sub(lambda match: re.sub(r"[^\n]", " ", match[0]), self.text)
        self.starts = [0]
        for line in self.text.split("\n"):
            self.starts.append(self.starts[-1] + len(line) + 1)
        self.mutants = mutants  # number of the switch: change

    def place(self, mutant):
        return self.starts[mutant.line - 1] + mutant.column

    def edits(self, number, mutant):
        """(place, order, text that goes, text that comes) of a switch; none where it is not known how."""
        at, old, code = self.place(mutant), mutant.old, self.code
        end = at + len(old)
        on = f"KVMUT({number})"
        if mutant.new.startswith("!("):
            return [(at, (1, -len(old)), "", f"{on} != bool("), (end, (0, len(old)), "", ")")]
        sign = old.strip()
        if sign in ("&&", "||"):
            stops = ("||",) if sign == "&&" else ()
            left = reach(code, at, -1, stops, -1) + 1
            right = reach(code, end, len(code), stops + (sign,), 1)
            right = end + len(code[end:right].rstrip())
            left += len(code[left:at]) - len(code[left:at].lstrip())
            named = re.match(r"(?:return|throw)\s+", code[left:at])
            left += named.end() if named else 0
            isAnd = "true" if sign == "&&" else "false"
            return [(left, (1, left - right), "", f"kvmut::logic<{isAnd}>({on}, [&] {{ return bool("),
                    (at, (2, 0), old, "); }, [&] { return bool("), (right, (0, right - left), "", "); })")]
        if sign in SPACED:
            return [(end, (1.5, 0), "", f"kvmut::{SPACED[sign]}<{number}>() {sign} ")]
        if sign in ("++", "--"):
            isBefore = re.match(r"[\w(*]", code[end:]) is not None
            operand = re.search(r"[\w\]>.)(\[-]*$", code[:at])[0]
            if not isBefore and code[at - len(operand) - 1] == "*":
                return []
            up = "true" if sign == "++" else "false"
            return [(at, (2, 0), old, f"kvmut::Before<{number}, {up}>()->*" if isBefore else f"->*kvmut::After<{number}, {up}>()")]
        if sign in ("true", "false"):
            return [(at, (2, 0), old, f"({on} ? {mutant.new} : {old})")]
        if sign.startswith("std::m"):
            return [(at, (2, 0), old, f"kvmut::Extreme<{number}, {str(sign == 'std::min').lower()}>()")] if code[end] == "(" else []
        if sign.endswith(";"):
            return [(at, (2, 0), old, f"{{ if (!{on}) {old} }}")]
        return []

    def switched(self, left_out):
        """The text with switches, and the lines of all changes in it."""
        edits, numbers = [], collections.defaultdict(list)
        lines = collections.defaultdict(list)
        for number, mutant in self.mutants.items():
            if number in left_out:
                continue
            if mutant.old[0].isdigit() and not mutant.new.startswith("!("):
                numbers[self.place(mutant), mutant.old].append((number, mutant.new))
                lines[mutant.line].append(number)
                continue
            made = self.edits(number, mutant)
            if not made:
                left_out.add(number)
                continue
            edits += made
            for edit in made:
                lines[self.text.count("\n", 0, edit[0]) + 1].append(number)
        for (at, old), changes in numbers.items():
            chosen = "".join(f"KVMUT({number}) ? {new} : " for number, new in changes)
            edits.append((at, (2, 0), old, f"({chosen}{old})"))
        result, last = [], 0
        for at, _, old, new in sorted(edits):
            if at < last:
                raise RuntimeError(f"{self.file}: changes overlap at {self.text[at:at + 40]!r}")
            result += [self.text[last:at], new]
            last = at + len(old)
        text = "".join(result) + self.text[last:]
        switched_lines = text.split("\n")
        for line in {self.mutants[n].line for changes in numbers.values() for n, _ in changes}:  # not a constant any more
            switched_lines[line - 1] = re.sub(r"^(\s*(?:static |inline )*)constexpr (?=[^()]*=)", r"\1const ", switched_lines[line - 1])
        return "\n".join(switched_lines), lines


class Script:
    """A test of the suite that is no program of googletest."""

    def __init__(self, told):
        known = {entry["name"]: entry["value"] for entry in told["properties"]}
        self.target = told["name"]
        self.command = told["command"]
        self.folder = known["WORKING_DIRECTORY"]
        self.environment = dict(entry.split("=", 1) for entry in known.get("ENVIRONMENT", []))
        self.seconds = 600

    @staticmethod
    def named(pattern):
        told = json.loads("".join(mutate.lines_of("ctest", "--show-only=json-v1")))["tests"]
        return [Script(test) for test in told if pattern and re.search(pattern, test["name"]) and test.get("command")]


class Folder:
    """The library with the switches of a folder in it, and the test programs that pass them."""

    def __init__(self, folder, options):
        self.options = options
        self.shop = SHOP / folder.replace("/", "_")
        self.shop.mkdir(parents=True, exist_ok=True)
        files = sorted(path.relative_to(mutate.ROOT).as_posix() for path in (mutate.ROOT / folder).rglob("*.cpp")
                       if fnmatch.fnmatch(path.name, options.files))
        places = [mutant for file in files for mutant in mutate.mutants_of(file)]
        self.mutants = dict(enumerate(places, 1))
        self.left_out = set()
        self.library = folder.split("/")[0]
        self.programs = self.prepare(files)
        objects = self.compile(files)
        self.link(objects)
        self.reached = self.survey()

    def prepare(self, files):
        tests = sorted({test for file in files for test in mutate.tests_of(file, self.options.tests)})
        mutate.BUILD = BUILD
        mutate.lines_of("cmake", "--preset", "release", "-S", mutate.ROOT, "--log-level=WARNING")
        present = {line.split(":")[0] for line in mutate.lines_of("ninja", "-t", "targets", "all")}
        programs = [program for program in map(mutate.Program, tests) if program.target in present]
        needed = ["kvmath"] if self.library == "kvmath" else ["kvmath", "kvmeasure", "kvmeasure_program"]
        if self.options.scripts:
            needed += ["python_module"] if "python_module" in present else []
        mutate.lines_of("ninja", f"-j{self.options.jobs}", *needed, *(program.target for program in programs))
        return programs + Script.named(self.options.scripts)

    def compile(self, files):
        """Objects with switches; a switch that does not compile is left out, and the file compiled again."""
        with open(BUILD / "compile_commands.json", encoding="utf-8") as commands:
            made = {entry["file"]: shlex.split(entry["command"]) for entry in json.load(commands)}
        objects, todo, lock = {}, list(files), threading.Lock()
        linked = set(mutate.Build.link_of(f"{self.library}/{self.library_file().name}"))

        def compile_all():
            while True:
                with lock:
                    if not todo:
                        return
                    file = todo.pop()
                words = made.get(str(mutate.ROOT / file))
                if words and words[words.index("-o") + 1] in linked:
                    objects[words[words.index("-o") + 1]] = self.compiled(file, words)
                else:  # part of a module, or of no library
                    self.left_out |= {n for n, mutant in self.mutants.items() if mutant.file == file}
        workers = [threading.Thread(target=compile_all) for _ in range(self.options.jobs)]
        for worker in workers:
            worker.start()
        for worker in workers:
            worker.join()
        return objects

    def compiled(self, file, words):
        source = Source(file, {n: mutant for n, mutant in self.mutants.items() if mutant.file == file})
        copy = self.shop / "source" / file
        made = copy.with_suffix(".o")
        made.parent.mkdir(parents=True, exist_ok=True)
        words = [word for word in words if not word.startswith(("-W", "-O")) and word != "ccache"]
        words[words.index("-o") + 1] = str(made)
        words[words.index("-c") + 1] = str(copy)
        words[1:1] = ["-O1", *WIDE, "-Wno-narrowing", "-Wno-psabi", "-Werror=vla", "-ftrack-macro-expansion=0", "-include", str(SWITCHES), f"-DKVMUT_COUNT={len(self.mutants) + 1}"]
        if '#include "' in source.text:  # else <limits.h> is taken from there, too
            words[1:1] = [f"-I{(mutate.ROOT / file).parent}"]
        known = copy.with_suffix(".left")
        if known.exists() and made.exists():
            told = json.loads(known.read_text(encoding="utf-8"))
            left_out = set(told["left"])
            if told["count"] == len(self.mutants) and copy.read_text(encoding="utf-8") == source.switched(left_out)[0]:
                self.left_out |= left_out
                return made
        for _ in range(40):
            text, lines = source.switched(self.left_out)
            copy.write_text(text, encoding="utf-8")
            told = subprocess.run(words, cwd=BUILD, capture_output=True, text=True)
            if told.returncode == 0:
                left = sorted(self.left_out & set(source.mutants))
                known.write_text(json.dumps({"count": len(self.mutants), "left": left}), encoding="utf-8")
                return made
            wrong = {int(n) for n in re.findall(rf"^{re.escape(str(copy))}:(\d+):\d+: (?:fatal )?error:", told.stderr, re.M)}
            wrong |= {int(n) for n in re.findall(rf"^{re.escape(str(copy))}:(\d+):\d+:\s+required from", told.stderr, re.M)}
            dropped = {number for line in wrong for number in lines.get(line, ())} - self.left_out
            if not dropped:  # a constant that had to stay one
                names = {name for line in wrong for name in re.findall(r"\bk[A-Z]\w*|\b\w+\b", text.split("\n")[line - 1])}
                code = source.text.split("\n")
                dropped = {number for line, numbers in lines.items() for number in numbers if "constexpr" in code[line - 1] and
                           names & set(re.findall(r"\b\w+\b", code[line - 1].split("=")[0]))} - self.left_out
            if not dropped:
                print(f"{file}: not compiled with switches\n{told.stderr[:1500]}", flush=True)
                break
            self.left_out |= dropped
        self.left_out |= set(source.mutants)
        known.unlink(missing_ok=True)
        copy.write_text(source.text, encoding="utf-8")
        subprocess.run(words, cwd=BUILD, check=True)
        return made

    def library_file(self):
        return next(path for path in (BUILD / self.library).glob("*.so.*") if not path.is_symlink() and path.name.count(".") == 4)

    def link(self, objects):
        words = [str(objects.get(word, word)) for word in mutate.Build.link_of(f"{self.library}/{self.library_file().name}")]
        soname = next(word.split("=")[-1].split(",")[-1] for word in words if "-soname" in word)
        words[words.index("-o") + 1] = str(self.shop / soname)
        subprocess.run(words, cwd=BUILD, check=True)
        modules = self.shop / f"{self.library}-2"  # which the library loads from beside it
        if not modules.exists():
            modules.symlink_to(BUILD / self.library / modules.name)

    def run(self, program, number, worker, **more):
        """Whether the program passes with this change."""
        folder = self.shop / f"run{worker}"
        folder.mkdir(exist_ok=True)

        def limit():
            resource.setrlimit(resource.RLIMIT_AS, (mutate.MEMORY, mutate.MEMORY))
            resource.setrlimit(resource.RLIMIT_CORE, (0, 0))
            resource.setrlimit(resource.RLIMIT_CPU, (program.cpu, program.cpu + 1))
            resource.setrlimit(resource.RLIMIT_FSIZE, (1 << 30, 1 << 30))
        if isinstance(program, Script):
            command, folder, told = program.command, program.folder, program.environment
        else:
            command, told = [BUILD / program.path, "--gtest_fail_fast", "--gtest_brief=1"], {}
        return mutate.run(command, program.seconds, cwd=folder, preexec_fn=limit, stdin=subprocess.DEVNULL,
                          env={**os.environ, **told, "LD_LIBRARY_PATH": str(self.shop), "KVMUT": str(number), **more}) == 0

    def survey(self):
        """The programs that pass each switch, quick ones first."""
        reached, invalid = collections.defaultdict(list), set()
        timed = []
        for program in self.programs:
            program.cpu = 600
            told = self.shop / "passed"
            told.unlink(missing_ok=True)
            begun, used = time.monotonic(), resource.getrusage(resource.RUSAGE_CHILDREN).ru_utime
            if not self.run(program, 0, 0, KVMUT_PASSED=str(told)):
                print(f"{program.target} fails with all changes off, and is left out", flush=True)
                continue
            spent = resource.getrusage(resource.RUSAGE_CHILDREN).ru_utime - used
            program.cpu, program.seconds = int(2 + 3 * spent), 10 + 6 * (time.monotonic() - begun)
            passed = set(told.read_text(encoding="utf-8").split()) if told.exists() else set()
            timed.append((spent, program, passed))
        left = [program.target for spent, program, _ in timed if spent > self.options.longest]
        if left:
            print(f"left out, because they take long: {', '.join(left)}", flush=True)
        timed = [entry for entry in timed if entry[0] <= self.options.longest]
        for _, program, passed in sorted(timed, key=lambda entry: entry[0]):
            for word in passed:
                if word.startswith("-"):
                    invalid.add(int(word[1:]))
                else:
                    reached[int(word)].append(program)
        self.left_out |= invalid
        return reached

    def verdict(self, number, worker):
        if number in self.left_out:
            return "left out"
        programs = self.reached.get(number, [])
        stem = pathlib.Path(self.mutants[number].file).stem.split("_p")[0]
        for program in sorted(programs, key=lambda program: (stem not in program.target, program.cpu)):
            if not self.run(program, number, worker):
                return "killed"
        return "survived" if programs else "not run"


def try_folder(name, options, logged, counts):
    folder = Folder(name, options)
    numbers = list(folder.mutants)
    if options.again:
        wanted = {key_of(m) for m in survivors_of(logged)}
        numbers = [n for n in numbers if key_of(folder.mutants[n]) in wanted]
    else:
        done = {mutate.key_of(entry) for entry in logged}
        numbers = random.Random(options.seed).sample(numbers, min(options.sample, len(numbers)))
        numbers = [n for n in numbers if key_of(folder.mutants[n]) not in done]
    print(f"{name}: {len(numbers)} of {len(folder.mutants)} changes, {len(folder.left_out)} of all left out, "
          f"{len(folder.programs)} test programs", flush=True)
    todo, lock, stop_at = queue.SimpleQueue(), threading.Lock(), time.monotonic() + 60 * options.minutes
    for number in numbers:
        todo.put(number)

    def work(worker):
        while time.monotonic() < stop_at:
            try:
                number = todo.get_nowait()
            except queue.Empty:
                return
            mutant = folder.mutants[number]
            verdict = folder.verdict(number, worker)
            with lock, open(options.log, "a", encoding="utf-8") as log:
                counts[verdict] += 1
                log.write(json.dumps({**mutant._asdict(), "text": mutate.text_of(mutant), "verdict": verdict}) + "\n")
    workers = [threading.Thread(target=work, args=(i,)) for i in range(options.jobs)]
    for worker in workers:
        worker.start()
    for worker in workers:
        worker.join()


def key_of(mutant):
    return mutate.key_of({**mutant._asdict(), "text": mutate.text_of(mutant)})


def survivors_of(results):
    """Survivors of a log, those that nothing ran among them."""
    changed = [{**entry, "verdict": "survived" if entry["verdict"] == "not run" else entry["verdict"]} for entry in results]
    return mutate.survivors_of(changed)


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n\n")[0])
    parser.add_argument("folders", nargs="+")
    parser.add_argument("--tests", nargs="*", default=[], help="patterns below tests/ (those of the folder)")
    parser.add_argument("--scripts", default="", help="expression of the names of tests that are no programs")
    parser.add_argument("--files", default="*", help="pattern of the names of files")
    parser.add_argument("--sample", type=int, default=1000, help="changes of each folder")
    parser.add_argument("--seed", type=int, default=1)
    parser.add_argument("--jobs", type=int, default=1)
    parser.add_argument("--longest", type=float, default=1e9, help="processor seconds of a test program that is used")
    parser.add_argument("--minutes", type=float, default=600, help="for each folder")
    parser.add_argument("--log", type=pathlib.Path, default=SHOP / "results.jsonl")
    parser.add_argument("--again", action="store_true", help="try the survivors of the log anew")
    parser.add_argument("--survivors", action="store_true", help="print the survivors of the log only")
    options = parser.parse_args()
    os.nice(10)
    options.log.parent.mkdir(parents=True, exist_ok=True)
    logged = [json.loads(line) for line in options.log.read_text(encoding="utf-8").splitlines()] if options.log.exists() else []
    logged = [entry for entry in logged if any(entry["file"].startswith(folder + "/") for folder in options.folders)]
    if options.survivors:
        notRun = {mutate.key_of(entry) for entry in logged if entry["verdict"] == "not run"}
        for mutant in survivors_of(logged):
            print(mutate.told(mutant) + ("    (not run)" if key_of(mutant) in notRun else ""))
        return 0
    for name in options.folders:
        counts = collections.Counter()
        try_folder(name.rstrip("/"), options, logged, counts)
        tried = counts["killed"] + counts["survived"] + counts["not run"]
        print(f"{name}: {tried} changes, {counts['killed']} killed ({100 * counts['killed'] / max(1, tried):.1f} %), "
              f"{counts['survived']} survived, {counts['not run']} not run; {counts['left out']} left out", flush=True)
    return 0


if __name__ == "__main__":
    sys.exit(main())
