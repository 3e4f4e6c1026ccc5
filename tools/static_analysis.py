#!/usr/bin/env python3
"""Runs clang-tidy over the sources of the libraries and programs, several of a folder in one go.

Most of clang-tidy's time goes into the headers of Qt, again for each source. Sources with the same compiler options are
therefore written one behind the other into one file, at most GROUP of them: the path-sensitive checks look at the main
file alone, so that including them would not do. Constants that two sources define for themselves are told apart by
numbers; where other names clash, the group is split in halves until it compiles. The path-sensitive checks leave a
function after STEPS steps; a third of clang's own limit takes half of the time.

With --minutes no group begins later than that, and the sources left out are counted. Each day begins at another group.

usage: static_analysis.py BUILD [--jobs N] [--minutes M]
    BUILD    a build folder with compile_commands.json, made with clang++
"""

import argparse
import concurrent.futures
import json
import os
import pathlib
import re
import shlex
import subprocess
import sys
import time

FOLDERS = ("kvmath", "simulator", "kvmeasure", "cli")
GROUP = 10
STEPS = 75000


def sources(root, build):
    """The compiler options of each source, without its own name and output."""
    options = {}
    for entry in json.loads((build / "compile_commands.json").read_text()):
        path = pathlib.Path(entry["directory"], entry["file"]).resolve()
        if path.suffix != ".cpp" or root not in path.parents or path.relative_to(root).parts[0] not in FOLDERS:
            continue
        words = shlex.split(entry["command"])
        words = words[next(i for i, word in enumerate(words) if "clang++" in word):]
        own = {"-c", "-o", entry["file"], words[words.index("-o") + 1]}
        options.setdefault(path, tuple(word for word in words if word not in own))
    return options


def groups(options):
    """Lists of at most GROUP neighbours with equal options."""
    by_options = {}
    for path in sorted(options):
        by_options.setdefault((path.parent, options[path]), []).append(path)
    for (_, words), paths in by_options.items():
        for start in range(0, len(paths), GROUP):
            yield words, paths[start:start + GROUP]


def in_one(paths):
    """The sources one behind the other; a constant that one of them defines again ends in the number of the source."""
    taken, texts = set(), []
    for number, path in enumerate(paths):
        text = path.read_text()
        constants = set(re.findall(r"^(?:constexpr|const) [^({=\n]*?\b(k[A-Z]\w*|usage) ?[({=\[]", text, re.MULTILINE))
        for name in constants & taken:
            text = re.sub(rf"(?<![.>:\w]){name}\b(?!\.)", f"{name}{number}", text)
        taken |= constants
        texts.append(text)
    return "".join(texts)


def tidy(words, unit):
    """What clang-tidy finds in one translation unit, as text."""
    limit = ("-Xclang", "-analyzer-config", "-Xclang", f"max-nodes={STEPS}")
    done = subprocess.run(["clang-tidy", "--quiet", unit, "--", *words[1:], *limit], capture_output=True, text=True)
    return done.stdout + done.stderr * (not done.stdout) if done.returncode else ""


def in_sources(text, unit, paths):
    """The text with places in the sources instead of those in the file that holds them one behind the other."""
    places = [(path, line) for path in paths for line in range(1, path.read_text().count("\n") + 1)]

    def place(match):
        at = int(match.group(1)) - 1
        return "{}:{}:".format(*places[at]) if at < len(places) else match.group(0)

    return re.sub(re.escape(str(unit)) + r":(\d+):", place, text)


def analyse(work, words, paths):
    """The findings in these sources, as text."""
    if len(paths) == 1:
        return tidy(words, paths[0])
    unit = work / ("_".join(paths[0].parts[-3:]) + f"_{len(paths)}.cpp")
    unit.write_text(in_one(paths))
    if subprocess.run([*words, "-w", "-fsyntax-only", unit], capture_output=True).returncode:
        half = len(paths) // 2
        return analyse(work, words, paths[:half]) + analyse(work, words, paths[half:])
    own_names = (*words, "-Wno-shadow")  # a name of one source hides none in another
    return in_sources(tidy(own_names, unit), unit, paths)


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("build", type=pathlib.Path)
    parser.add_argument("--jobs", type=int, default=os.cpu_count())
    parser.add_argument("--minutes", type=float, default=float("inf"))
    arguments = parser.parse_args()
    end = time.monotonic() + 60 * arguments.minutes
    root = pathlib.Path(__file__).resolve().parent.parent
    options = sources(root, arguments.build.resolve())
    listed = {path for folder in FOLDERS for path in (root / folder).rglob("*.cpp")}
    for path in sorted(listed - set(options)):
        print(f"{path.relative_to(root)}: the build does not compile it")
    work = arguments.build.resolve() / "static_analysis"
    work.mkdir(exist_ok=True)
    (work / ".clang-tidy").write_text((root / ".clang-tidy").read_text())
    in_turn = list(groups(options))
    first = int(time.time() // 86400) * 31 % len(in_turn)
    in_turn = in_turn[first:] + in_turn[:first]
    with concurrent.futures.ThreadPoolExecutor(arguments.jobs) as pool:
        found = pool.map(lambda group: analyse(work, *group) if time.monotonic() < end else None, in_turn)
        findings = list(found)
    print("".join(filter(None, findings)), end="")
    left = sum(len(paths) for (_, paths), text in zip(in_turn, findings) if text is None)
    print(f"{len(options) - left} of {len(options)} sources, {sum(map(bool, findings))} groups with findings")
    return 1 if any(findings) or listed - set(options) else 0


if __name__ == "__main__":
    sys.exit(main())
