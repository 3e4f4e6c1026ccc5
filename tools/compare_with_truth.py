#!/usr/bin/env python3
"""Shows measured values (JSON of kvmeasure match, scan outline or wheels pass) beside the true ones (CSV of kvmeasure
simulate). JSON of calibrate check holds both.

usage: compare_with_truth.py VALUES.json [TRUTH.csv]    exit code 1 when no value occurs in both
"""

import csv
import json
import math
import sys

WHEEL_VALUES = {"flange_height": "flangeHeight", "thickness_from_back": "thicknessFromBack",
                "flange_steepness": "flangeSteepness", "radius": "radius"}


def values_in(document):
    """Every object with name, value and unit, wherever it stands."""
    if isinstance(document, dict):
        if {"name", "value", "unit"} <= document.keys():
            yield document
        for part in document.values():
            yield from values_in(part)
    elif isinstance(document, list):
        for part in document:
            yield from values_in(part)


def named_rows(document, truth):
    for value in values_in(document):
        if value["name"] in truth:
            yield value["name"], value["value"], truth[value["name"]], value["unit"]


def outline_rows(document, truth):
    """Each edge of the plate with the line whose middle is nearest to its own."""
    middles = [[(a + b) / 2 for a, b in zip(line["p1"], line["p2"])] for line in document["lines"]]
    for edge in (name[:-len(" length")] for name in truth if name.endswith("edge length")):
        middle = [(truth[f"{edge} {axis}1"] + truth[f"{edge} {axis}2"]) / 2 for axis in ("x", "scan")]
        nearest = min(range(len(middles)), key=lambda i: math.dist(middles[i], middle), default=None)
        length = None if nearest is None else document["lines"][nearest]["length"]
        yield f"{edge} length", length, truth[f"{edge} length"], "mm"


def wheel_rows(document, wheels):
    for true in wheels:
        wheelset = document["wheelsets"][int(true["wheelset"]) - 1]
        side = wheelset[true["side"]]
        name = f"{true['wheelset']} {true['side']}"
        for column, key in WHEEL_VALUES.items():
            yield f"{name} {column.replace('_', ' ')}", side[key], float(true[column]), "mm"
        yield f"{name} defect", int(side["defect"]), int(true["defect"] != "0"), ""
        if true["side"] == "right":
            yield f"{true['wheelset']} back to back", wheelset["backToBack"], float(true["back_to_back"]), "mm"


def cell_rows(document):
    for cell in document["samples"]:
        for axis in "ZX":
            yield (f"{axis} at column {cell['column']}, row {cell['row']:g}", cell[axis.lower()],
                   cell[f"true{axis}"], "mm")


def main(values_path, truth_path=None):
    with open(values_path, encoding="utf-8") as file:
        document = json.load(file)
    lines = []
    if truth_path:
        with open(truth_path, encoding="utf-8", newline="") as file:
            lines = list(csv.DictReader(file))
    if "samples" in document:
        rows = list(cell_rows(document))
    elif "wheelsets" in document:
        rows = list(wheel_rows(document, lines))
    else:
        truth = {line["name"]: float(line["value"]) for line in lines}
        rows = list((outline_rows if "edgePoints" in document else named_rows)(document, truth))
    width = max([16] + [len(row[0]) + 2 for row in rows])
    print(f"{'name':<{width}}{'measured':>12}{'true':>12}{'difference':>12}  unit")
    for name, value, true, unit in rows:
        if value is None:
            print(f"{name:<{width}}{'not found':>12}{true:>12.4f}{'':>12}  {unit}")
        elif not unit:
            print(f"{name:<{width}}{'yes' if value else 'no':>12}{'yes' if true else 'no':>12}")
        else:
            print(f"{name:<{width}}{value:>12.4f}{true:>12.4f}{value - true:>+12.4f}  {unit}")
    return 0 if rows else 1


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:]))
