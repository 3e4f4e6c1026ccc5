#!/usr/bin/env python3
"""Shows measured values (JSON of kvmeasure match) beside the true ones (CSV of kvmeasure simulate).

usage: compare_with_truth.py VALUES.json TRUTH.csv    exit code 1 when no name occurs in both
"""

import csv
import json
import sys


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


def main(values_path, truth_path):
    with open(values_path, encoding="utf-8") as file:
        measured = list(values_in(json.load(file)))
    with open(truth_path, encoding="utf-8", newline="") as file:
        truth = {row["name"]: float(row["value"]) for row in csv.DictReader(file)}
    rows = [value for value in measured if value["name"] in truth]
    print(f"{'name':<16}{'measured':>12}{'true':>12}{'difference':>12}  unit")
    for row in rows:
        true = truth[row["name"]]
        if row["value"] is None:
            print(f"{row['name']:<16}{'not found':>12}{true:>12.4f}{'':>12}  {row['unit']}")
        else:
            print(f"{row['name']:<16}{row['value']:>12.4f}{true:>12.4f}{row['value'] - true:>+12.4f}  {row['unit']}")
    return 0 if rows else 1


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:]))
