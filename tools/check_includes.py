#!/usr/bin/env python3
"""Checks that includes point only downward.

Every folder has a rank and may include itself and folders of lower rank. Folders of one rank are blind to each other.
Also refused: an umbrella header included from a source file, a private header (_p.h) included from a public one or from
outside its library, a header that does not exist, and rings of headers. Prints one line per fault; exit code 1 when
there is any.

usage: check_includes.py [ROOT] | check_includes.py --self-test
"""

import pathlib
import re
import sys
import tempfile

RANKS = {
    "kvmath/base": 0,
    "kvmath/numerics": 1,
    "kvmath/segments": 1,
    "tarn": 1,
    "kvmath/core": 2,
    "kvmath/profile": 3,
    "kvmath/tsearch": 4,
    "kvmath/calibration": 5,
    "kvmath/contours": 5,
    "kvmath/wheel": 5,
    "kvmeasure/base": 7,
    "kvmeasure/profiles": 8,
    "kvmeasure/form": 9,
    "kvmeasure/statistics": 9,
    "kvmeasure/inspection": 10,
    "kvmeasure/calibration": 11,
    "kvmeasure/scans": 11,
    "kvmeasure/wheels": 11,
    "kvmeasure/drawing": 12,
    "kvmeasure/report": 13,
    "simulator": 14,
    "cli": 15,
    "python": 15,
    "samples": 17,
    "examples": 16,
    "tests": 16,
    "fuzz": 17,
    "benchmarks": 17,
}
UMBRELLAS = {"kvmath/kvmath"} | {
    f"kvmath/{name}.h" for name in ("core", "profile", "tsearch", "wheel", "calibration", "numerics", "contours")}
MAY_USE_UMBRELLAS = ("examples/", "tests/")
LIBRARIES = {"kvmath", "kvmeasure"}
INCLUDE = re.compile(r'^\s*#\s*include\s*([<"])([^>"]+)[>"]', re.MULTILINE)


def is_private(path):
    return path.endswith("_p.h")


def folder_of(path):
    candidates = [folder for folder in RANKS if path.startswith(folder + "/")]
    return max(candidates, key=len, default=None)


def sources(root):
    for top in sorted({folder.split("/")[0] for folder in RANKS}):
        for path in sorted((root / top).rglob("*")):
            if path.suffix in (".h", ".cpp") or path == root / "kvmath/kvmath":
                yield path.relative_to(root).as_posix()


def targets(root, path):
    """The project's own files that `path` includes."""
    text = (root / path).read_text(encoding="utf-8")
    for quote, name in INCLUDE.findall(text):
        beside = (pathlib.PurePosixPath(path).parent / name).as_posix()
        if quote == '"' and (root / beside).is_file():
            yield beside
        elif name.split("/")[0] in {folder.split("/")[0] for folder in RANKS}:
            yield name


def faults_of_edge(path, target, root):
    if not (root / target).is_file():
        yield f"{path}: {target} does not exist"
        return
    if target in UMBRELLAS:
        if path not in UMBRELLAS and not path.startswith(MAY_USE_UMBRELLAS):
            yield f"{path}: includes the umbrella {target}; name the type headers"
        return
    if is_private(target):
        top = path.split("/")[0]
        in_library = top in LIBRARIES and top == target.split("/")[0]
        if in_library and path.endswith(".h") and not is_private(path):
            yield f"{path}: public, but includes the private {target}"
        if not in_library and not path.endswith("_kernel_test.cpp"):
            yield f"{path}: only its library and kernel tests may include {target}"
    if path in UMBRELLAS:
        return
    own, other = folder_of(path), folder_of(target)
    if own != other and RANKS[other] >= RANKS[own]:
        yield f"{path} (rank {RANKS[own]}): includes {target} (rank {RANKS[other]})"


def rings(edges):
    """One line per ring, found by walking depth first."""
    done, trail = set(), []

    def visit(path):
        if path in trail:
            yield "ring: " + " -> ".join(trail[trail.index(path):] + [path])
            return
        if path in done:
            return
        trail.append(path)
        for target in edges.get(path, ()):
            yield from visit(target)
        trail.pop()
        done.add(path)

    for path in edges:
        yield from visit(path)


def faults(root):
    edges = {path: list(targets(root, path)) for path in sources(root)}
    for path, included in edges.items():
        for target in included:
            yield from faults_of_edge(path, target, root)
    yield from rings(edges)


def self_test():
    """Each planted fault is found, and nothing else."""
    good = {"kvmath/base/global.h": "", "kvmath/core/line.h": "#include <kvmath/base/global.h>",
            "kvmath/core/record_p.h": "#include <kvmath/core/line.h>",
            "kvmath/profile/profile.h": "#include <kvmath/core/line.h>",
            "kvmath/segments/line_types.h": "", "kvmath/tsearch/finder.h": "#include <kvmath/profile/profile.h>",
            "kvmath/core.h": "#include <kvmath/core/line.h>",
            "kvmath/core/line.cpp": '#include "record_p.h"\n#include <kvmath/segments/line_types.h>',
            "kvmath/wheel/axle.h": "#include <kvmath/profile/profile.h>", "kvmath/contours/hull.h": "",
            "kvmeasure/base/text.h": "", "kvmeasure/base/table_p.h": "#include <kvmeasure/base/text.h>",
            "kvmeasure/base/text.cpp": "#include <kvmeasure/base/table_p.h>",
            "examples/01.cpp": "#include <kvmath/core.h>",
            "tests/core/record_kernel_test.cpp": "#include <kvmath/core/record_p.h>"}
    planted = [
        ("kvmath/core/line.cpp", "#include <kvmath/profile/profile.h>", "(rank 2): includes"),
        ("kvmath/profile/profile.cpp", "#include <kvmath/tsearch/finder.h>", "(rank 3): includes"),
        ("kvmath/base/global.h", "#include <kvmath/core/line.h>", "ring: "),
        ("kvmath/core/line.cpp", "#include <kvmath/core.h>", "umbrella"),
        ("kvmath/core/line.h", "#include <kvmath/core/record_p.h>", "public, but"),
        ("cli/main.cpp", "#include <kvmath/core/record_p.h>", "only its library"),
        ("cli/main.cpp", "#include <kvmeasure/base/table_p.h>", "only its library"),
        ("kvmeasure/base/text.cpp", "#include <kvmath/core/record_p.h>", "only its library"),
        ("kvmeasure/base/text.h", "#include <kvmeasure/base/table_p.h>", "public, but"),
        ("tests/core/line_test.cpp", "#include <kvmath/core/record_p.h>", "only its library"),
        ("kvmath/wheel/axle.cpp", "#include <kvmath/contours/hull.h>", "(rank 5): includes"),
        ("kvmath/profile/profile.cpp", "#include <kvmath/core/missing.h>", "does not exist"),
    ]

    def run(files):
        with tempfile.TemporaryDirectory() as scratch:
            root = pathlib.Path(scratch)
            for name, text in files.items():
                (root / name).parent.mkdir(parents=True, exist_ok=True)
                (root / name).write_text(text + "\n", encoding="utf-8")
            return list(faults(root))

    assert run(good) == [], run(good)
    for path, text, expected in planted:
        found = run({**good, path: text})
        assert any(expected in line for line in found), f"not found: {path}: {text}: {found}"
    print(f"check_includes: all {len(planted)} planted faults found")
    return 0


def main(arguments):
    if arguments == ["--self-test"]:
        return self_test()
    root = pathlib.Path(arguments[0]) if arguments else pathlib.Path(__file__).resolve().parent.parent
    found = list(faults(root))
    print("\n".join(found) if found else f"check_includes: {len(list(sources(root)))} files, all includes point down")
    return 1 if found else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
