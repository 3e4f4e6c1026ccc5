#!/usr/bin/env python3
"""Non-blank lines per folder, the longest files, and the size of the tests against the code they test.

usage: loc.py [--check]    with --check, exit code 1 when the tests are outside 25 to 33 % of that code

The targets of the fuzzer with their generators of input count on neither side.
"""

import pathlib
import sys

CODE = ("kvmath/base", "kvmath/calibration", "kvmath/contours", "kvmath/core", "kvmath/numerics", "kvmath/profile",
        "kvmath/segments", "kvmath/tsearch", "kvmath/wheel", "kvmath", "tarn", "simulator", "samples",
        "kvmeasure", "cli", "python", "examples", "benchmarks")
TESTS = ("tests",)
FUZZ = ("fuzz",)
LONG = 400
SHARE = (25, 33)


def lines_by_folder(root):
    """folder -> {file: non-blank lines}; a file counts for the longest folder name that fits."""
    counts = {folder: {} for folder in CODE + TESTS + FUZZ}
    for top in sorted({folder.split("/")[0] for folder in counts}):
        for path in sorted((root / top).rglob("*")):
            if path.suffix not in (".h", ".cpp", ".py"):
                continue
            name = path.relative_to(root).as_posix()
            folder = max((f for f in counts if name.startswith(f + "/")), key=len)
            text = path.read_text(encoding="utf-8")
            counts[folder][name] = sum(1 for line in text.splitlines() if line.strip())
    return counts


def main(arguments):
    counts = lines_by_folder(pathlib.Path(__file__).resolve().parent.parent)
    print(f"{'folder':<18}{'files':>6}{'lines':>8}{'longest':>9}")
    for folder, files in counts.items():
        print(f"{folder:<18}{len(files):>6}{sum(files.values()):>8}{max(files.values(), default=0):>9}")
    code = sum(sum(counts[folder].values()) for folder in CODE)
    tests = sum(sum(counts[folder].values()) for folder in TESTS)
    share = 100 * tests / max(1, code)
    fuzz = sum(sum(counts[folder].values()) for folder in FUZZ)
    print(f"tests: {tests} lines beside {code} lines of code, {share:.1f} %; with the fuzz targets {100 * (tests + fuzz) / max(1, code):.1f} %")
    for files in counts.values():
        for name, lines in files.items():
            if lines > LONG:
                print(f"longer than {LONG} lines: {name} ({lines})")
    if "--check" in arguments and not SHARE[0] <= share <= SHARE[1]:
        print(f"the tests shall be {SHARE[0]} to {SHARE[1]} % of the code")
        return 1
    return 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
