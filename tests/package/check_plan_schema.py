#!/usr/bin/env python3
"""Compares the JSON schema of plans with the reader: both take or both refuse each document of a table.

usage: check_plan_schema.py PROGRAM SCHEMA SCRATCH PLAN...

The plans given must be taken. Beyond a fixed table, documents are made from the schema itself: each kind of tool
with its required settings, with a number beyond each limit, with a value of the wrong type, with an unknown key.
"""
import copy
import json
import os
import pathlib
import subprocess
import sys

try:
    import jsonschema
except ModuleNotFoundError:  # Debian's package serves Debian's interpreter, which need not be the first in the path
    debian = "/usr/bin/python3"
    if sys.executable == debian or not os.access(debian, os.X_OK):
        raise
    os.execv(debian, [debian, *sys.argv])

program, schema_file, scratch, plans = sys.argv[1], sys.argv[2], pathlib.Path(sys.argv[3]), sys.argv[4:]
schema = json.loads(pathlib.Path(schema_file).read_text())
jsonschema.Draft202012Validator.check_schema(schema)
validator = jsonschema.Draft202012Validator(schema)
scratch.mkdir(parents=True, exist_ok=True)
(scratch / "master.csv").write_text("x,z\n0,0\n1,0\n2,1\n")
faults = []
checked = {True: 0, False: 0}


def reader_takes(document):
    file = scratch / "plan.json"
    file.write_text(json.dumps(document))
    run = subprocess.run([program, "plan", "show", file], capture_output=True, text=True)
    if run.returncode not in (0, 2):
        faults.append(f"exit code {run.returncode}: {json.dumps(document)[:300]}")
    return run.returncode == 0, run.stderr.strip()


def check(document, is_good, what):
    checked[is_good] += 1
    taken, reason = reader_takes(document)
    valid = validator.is_valid(document)
    if taken != is_good or valid != is_good:
        faults.append(f"{what}: expected {'good' if is_good else 'bad'}, schema says {valid}, reader {taken} {reason}")


def changed(document, path, value):
    """A copy with the value at the path; ... removes it."""
    copied = copy.deepcopy(document)
    place = copied
    for key in path[:-1]:
        place = place[key]
    if value is ...:
        del place[path[-1]]
    else:
        place[path[-1]] = value
    return copied


REGIONS = [{"name": "R", "x": [-6, 6]}, {"name": "S", "x": [None, 5], "z": [0, None], "at": "A"}]
PLAIN = {
    "name": "ridge", "units": "mm", "filter": ["median 5", "trim-y -20 20"], "regions": REGIONS,
    "anchors": [{"name": "A", "kind": "max", "region": "R", "from": [1.5, 20, 0]}],
    "tools": [{"name": "top", "kind": "max", "region": "R"}],
    "tolerances": {"top": {"nominal": 5, "lower": -0.1, "upper": 0.1}, "top.at": {"max": 3}},
    "evaluation": {"raw": False, "edgeCompensation": True},
    "master": {"points": [[0, 0], [1, 0.5]], "align": "none", "band": [-0.1, None]},
    "decision": "guarded", "calibration": {"u": {"mm": 0.002, "deg": 0.01}, "values": {"top": 0.001}},
}
# Path, value, whether it is good.
TABLE = [
    (["name"], "a", True), (["name"], 5, False), (["names"], "a", False), (["units"], "inch", False),
    (["filter"], "median 5", False), (["filter"], [5], False), (["filter"], [" "], False),
    (["filter"], ["median 5; median 3"], False), (["filter"], [], True),
    (["regions", 0, "x"], [1], False), (["regions", 0, "x"], [0, "1"], False), (["regions", 0, "y"], [0, 1], False),
    (["regions", 0, "x"], [None, None], True), (["regions", 0, "name"], ..., False), (["regions", 0, "z"], {}, False),
    (["regions", 1, "name"], "a b", False), (["regions", 1, "name"], "12", False), (["regions", 1, "name"], "", False),
    (["regions", 1, "name"], "1e5", False), (["regions", 1, "name"], "\u00e4-1_b", True), (["regions", 1, "name"], "a.b", False),
    (["regions", 1, "name"], "x" * 64, True), (["regions", 1, "name"], "x" * 65, False),
    (["regions"], {}, False),
    (["anchors", 0, "kind"], "maximum", False), (["anchors", 0, "from"], [1], False),
    (["anchors", 0, "from"], [1, 2], True), (["anchors", 0, "from"], [1, None], False),
    (["anchors", 0, "region"], ..., False), (["anchors", 0, "line"], "a", False), (["anchors", 0, "kind"], ..., False),
    (["tools", 0, "kind"], "maximun", False), (["tools", 0, "of"], "x", True), (["tools", 0, "of"], "y", False),
    (["tools", 0, "colour"], "x", False), (["tools", 0, "name"], ..., False), (["tools", 0], [], False),
    (["tolerances", "top"], {}, False), (["tolerances", "top"], {"nominal": 5, "lower": 1}, False),
    (["tolerances", "top"], {"min": 1, "max": 2}, True), (["tolerances", "top"], {"min": 1, "upper": 2}, False),
    (["tolerances", "top"], {"min": "1"}, False), (["tolerances", "top"], {"min": 1, "maks": 2}, False),
    (["evaluation", "raw"], 1, False), (["evaluation", "rough"], True, False),
    (["master", "points"], ..., False), (["master", "file"], "master.csv", False), (["master", "points"], [[0, 0]], False),
    (["master", "points"], [[0, 0, 0], [1, 1, 1]], False), (["master", "points"], [[0, 0], [1, "a"]], False),
    (["master", "align"], "register", False), (["master", "align"], "template", True), (["master", "keepAll"], 1, False),
    (["master"], {"file": "master.csv"}, True), (["master"], {"file": ""}, False), (["master", "band"], [0], False),
    (["decision"], "simple", True), (["decision"], "strict", False), (["decision"], True, False),
    (["calibration", "u", "mm"], -1, False), (["calibration", "u", "inch"], 1, False),
    (["calibration", "values", "top"], "1", False), (["calibration", "U"], {}, False), (["calibration"], {}, True),
    (["means"], [{"name": "a", "first": "b"}], False), (["lineNames"], [], True), (["ends"], [["free"]], False),
    (["search"], {}, False), (["measurements"], [], False),
]
# What a kind asks for beyond single settings, which the schema does not say: one of two, an order.
NEEDED = {"area": {"above": 0}, "step-height": {"from": -1, "to": 1}}
check(PLAIN, True, "the plain plan")
for path, value, is_good in TABLE:
    check(changed(PLAIN, path, value), is_good, f"{path} = {value}")
check({}, False, "nothing")
check([], False, "a list")
check({"tools": []}, True, "no tools")

# The plans given, and each of their parts without a key and with a wrong type.
for file in plans:
    document = json.loads(pathlib.Path(file).read_text())
    check(document, True, file)
    for path in [["template", "numOfLines"], ["template", "constraints"], ["search", "contourGap"], ["measurements"]]:
        check(changed(document, path, ...), False, f"{file} without {path}")
        check(changed(document, path, "5"), False, f"{file} with a text under {path}")
    for family, key in ((document["template"]["constraints"], "constraintType"), (document["measurements"], "measurementType")):
        for entry in family:
            own = copy.deepcopy(entry)
            entry[key] = "Width"
            check(document, False, f"{file} with an unknown {key}")
            entry.update(own)
            for name in [name for name in own if name.endswith("Index")]:
                del entry[name]
                check(document, False, f"{file} without {name}")
                entry.update(own)
    foreign = changed(document, ["userVersion"], "another program")
    check(changed(foreign, ["colour"], 5), True, f"{file} of another program")
    own = changed(document, ["userVersion"], "kvmeasure")
    check(changed(own, ["colour"], 5), False, f"{file} with an unknown key")

# Every kind of tool, from its own description.
for case in schema["properties"]["tools"]["items"]["allOf"]:
    kind, description = case["if"]["properties"]["kind"]["const"], case["then"]
    fields = description["properties"]
    tool = {"name": "t", "kind": kind}
    names = iter("RQPO")  # each region another one
    for name in description["required"]:
        if name != "name":
            is_region = "pattern" in fields[name] or "anyOf" in fields[name]
            tool[name] = next(names) if is_region else fields[name].get("minimum", 1)
    tool.update(NEEDED.get(kind, {}))
    plan = {"regions": [dict(REGIONS[0], name=name) for name in "RQPO"], "tools": [tool]}
    check(plan, True, f"tool {kind}")
    check(changed(plan, ["tools", 0, "nonsense"], 1), False, f"tool {kind} with an unknown key")
    for name, field in fields.items():
        if name in ("name", "kind"):
            continue
        check(changed(plan, ["tools", 0, name], [1]), False, f"tool {kind} with a list under {name}")
        if "maximum" in field:
            beyond = field["maximum"] * 2 + 1
            check(changed(plan, ["tools", 0, name], beyond), False, f"tool {kind}: {name} {beyond}")
            check(changed(plan, ["tools", 0, name], "R"), False, f"tool {kind}: a text under {name}")
        for word in field.get("enum", []):
            check(changed(plan, ["tools", 0, name], word), True, f"tool {kind}: {name} {word}")

for fault in faults:
    print(fault)
print(f"{checked[True]} good and {checked[False]} bad documents, {len(faults)} differences")
sys.exit(1 if faults or min(checked.values()) < 50 else 0)
