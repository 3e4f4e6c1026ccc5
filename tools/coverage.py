#!/usr/bin/env python3
"""Lines and branches that the suite runs: a table per folder, and every place that it leaves out.

usage: coverage.py PROFILE PROGRAM...      the merged profile, and what was instrumented; scripts/coverage runs it

Rewrites the table between the markers in docs/maintainers/coverage.md. A place that is left out is argued when its
source line stands on that page below the heading of its file; the others are printed, and so are arguments that hold
for no place any more: exit code 1 when there are such. A branch is one outcome of one condition.
"""

import json
import pathlib
import re
import subprocess
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent
PAGE = ROOT / "docs/maintainers/coverage.md"
FOLDERS = (*sorted(f"kvmath/{folder.name}" for folder in (ROOT / "kvmath").iterdir() if folder.is_dir()),
           *(folder for folder in ("kvmeasure", "cli", "simulator") if (ROOT / folder).is_dir()))
ARGUED = ("kvmath/",)  # folders in which every place is tested or argued
TABLE = re.compile(r"(<!-- coverage -->\n).*?(<!-- /coverage -->)", re.S)


def counts_of_lines(segments):
    """line -> runs, as llvm-cov counts: the most frequent region that begins in the line, else the one around it."""
    counts, around = {}, None
    by_line = {}
    for segment in segments:
        by_line.setdefault(segment[0], []).append(segment)
    for line in range(segments[0][0], segments[-1][0] + 1) if segments else ():
        here = by_line.get(line, [])
        begun = [count for _, _, count, counted, entry, gap in here if counted and entry and not gap]
        skipped = here and not here[0][3] and here[0][4]
        if not skipped and (begun or (around and around[3])):
            counts[line] = max(begun + ([around[2]] if around and around[3] else []))
        if here:
            around = here[-1]
    return counts


def count_at(segments, place):
    before = [segment for segment in segments if tuple(segment[:2]) <= place]
    return before[-1][2] if before else 0


def outcomes(branches, segments):
    """(line, column, outcome) -> runs, template instances added up, without conditions that the compiler decided.

    Below 0, as a difference of counters that threads have lost counts of, is none.
    """
    counts = {}
    for line, column, _, _, true, false, *_ in branches:
        for outcome, runs in ((True, true), (False, false)):
            counts[line, column, outcome] = counts.get((line, column, outcome), 0) + max(runs, 0)
    return {(line, column, outcome): runs for (line, column, outcome), runs in counts.items()
            if counts[line, column, True] or counts[line, column, False] or not count_at(segments, (line, column))}


def argued_lines():
    """file -> source lines in code spans below its heading on the page"""
    lines, file = {}, None
    for line in PAGE.read_text(encoding="utf-8").splitlines():
        heading = re.fullmatch(r"#+ (?:.* )?`?([\w/.]+\.(?:h|cpp))`?", line)
        file = heading.group(1) if heading else None if line.startswith("#") else file
        if file:
            lines.setdefault(file, set()).update(re.findall(r"^- ``? ?(.+?) ?``?:", line))
    return lines


def report(name, left_out, argued):
    """Prints what is left out and not argued, and arguments without a place; their number."""
    source = (ROOT / name).read_text(encoding="utf-8").splitlines()
    wrong, used = 0, set()
    for line, what in sorted(left_out):
        text = source[line - 1].strip()
        used.add(text)
        if text not in argued:
            print(f"{name}:{line}: {what}: {text}")
            wrong += 1
    for text in sorted(argued - used):
        print(f"{name}: argued in {PAGE.relative_to(ROOT)}, but covered or gone: {text}")
        wrong += 1
    return wrong


def main(profile, *programs):
    objects = [option for program in programs[1:] for option in ("-object", program)]
    exported = subprocess.run(["llvm-cov", "export", "-skip-functions", "-skip-expansions", "-instr-profile", profile,
                               programs[0], *objects], check=True, capture_output=True, text=True).stdout
    totals = {folder: [0, 0, 0, 0] for folder in FOLDERS}
    argued, wrong = argued_lines(), 0
    for file in sorted(json.loads(exported)["data"][0]["files"], key=lambda file: file["filename"]):
        name = pathlib.Path(file["filename"]).resolve().relative_to(ROOT).as_posix()
        folder = next((folder for folder in FOLDERS if name.startswith(folder + "/")), None)
        if not folder:
            continue
        lines = counts_of_lines(file["segments"])
        branches = outcomes(file["branches"], file["segments"])
        for place, values in ((0, lines.values()), (2, branches.values())):
            totals[folder][place] += sum(runs > 0 for runs in values)
            totals[folder][place + 1] += len(values)
        left_out = [(line, f"column {column} never {str(outcome).lower()}")
                    for (line, column, outcome), runs in branches.items() if not runs and lines.get(line)]
        left_out += [(line, "not run") for line, runs in lines.items() if not runs]
        if name.startswith(ARGUED):
            wrong += report(name, left_out, argued.get(name, set()))
        else:
            for line, what in sorted(left_out):
                print(f"{name}:{line}: {what}")
    table = "| folder | lines | branches |\n|---|---|---|\n"
    for folder, (lines, all_lines, branches, all_branches) in totals.items():
        table += f"| {folder} | {100 * lines / max(1, all_lines):.1f} % | {100 * branches / max(1, all_branches):.1f} % |\n"
    print(table, end="")
    PAGE.write_text(TABLE.sub(lambda match: match[1] + table + match[2], PAGE.read_text(encoding="utf-8")), encoding="utf-8")
    return 1 if wrong else 0


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:]))
