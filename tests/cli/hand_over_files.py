#!/usr/bin/env python3
"""Reads back the files that the program hands on: AQDEF by the published list of fields, QIF, JSON lines.

usage: hand_over_files.py PROGRAM SCRATCH
"""
import datetime
import json
import pathlib
import re
import shutil
import subprocess
import xml.etree.ElementTree

from handing import expect, finish, make_parts, results_of, run


# AQDEF: an independent reader. The longest text of a field, and its type: A text, I whole number, F number, D date.
FIELDS = {"K0001": "F22", "K0002": "I5", "K0004": "D20", "K0008": "I10", "K0009": "A255", "K0010": "I10", "K0014": "A40",
          "K0100": "I5", "K1001": "A30", "K1002": "A80", "K1204": "D20", "K1206": "A40", "K1222": "A40", "K1231": "A20",
          "K1900": "A255", "K2001": "A20", "K2002": "A80", "K2004": "I5", "K2022": "I5", "K2101": "F22", "K2110": "F22",
          "K2111": "F22", "K2120": "I3", "K2121": "I3", "K2142": "A20", "K2900": "A255"}


def converted(key, text):
    kind_of, length = FIELDS[key][0], int(FIELDS[key][1:])
    if len(text) > length or not text or text != text.strip() or any(ord(c) < 32 for c in text):
        raise ValueError(f"{key}: {text!r} does not fit {FIELDS[key]}")
    if kind_of == "D":
        return datetime.datetime.strptime(text, "%d.%m.%Y/%H:%M:%S")
    return {"I": int, "F": float, "A": str}[kind_of](text)


def read_aqdef(name):
    content = pathlib.Path(name).read_bytes()
    has_mark = content.startswith(b"\xef\xbb\xbf")
    text = content[3:].decode("utf-8") if has_mark else content.decode("ascii")
    if not text.endswith("\r\n") or "\n" in text.replace("\r\n", ""):
        raise ValueError("line ends")
    total, part, characteristics, values = None, {}, {}, {}
    for line in text[:-2].split("\r\n"):
        match = re.fullmatch(r"(K\d{4})(?:/([1-9]\d*))? (.+)", line)
        if not match:
            raise ValueError(f"no field: {line!r}")
        key, number, value = match[1], int(match[2] or 0), converted(match[1], match[3])
        if key == "K0100":
            total = value
        elif key[1] == "1":
            part[key] = value
        elif key[1] == "2":
            characteristics.setdefault(number, {})[key] = value
        else:
            if number not in characteristics:
                raise ValueError(f"a value of no characteristic: {line!r}")
            of_one = values.setdefault(number, [])
            if key == "K0001" or not of_one:
                of_one.append({})
            of_one[-1][key] = value
    if total != len(characteristics) or sorted(characteristics) != list(range(1, total + 1)):
        raise ValueError(f"{total} characteristics were promised")
    return has_mark, part, [characteristics[i + 1] for i in range(total)], [values.get(i + 1, []) for i in range(total)]


def one_line(text, length):
    """As a field holds it."""
    return " ".join("".join(" " if ord(c) < 32 else c for c in text).split())[:length].strip()


def compare(name, results, serial=None):
    """An AQDEF file with the JSON of the same run; both have every profile."""
    mark, part, characteristics, values = read_aqdef(name)
    for i, characteristic in enumerate(characteristics):
        expect(len(values[i]) == len(results), f"{name}: {len(values[i])} values of {len(results)}")
        for value, profile in zip(values[i], results):
            measured = profile["measurements"][i] if profile["measurements"] else {"valid": False}
            expect(value["K0002"] == (0 if measured["valid"] else 255), f"{name}: attribute of {value}")
            if measured["valid"]:
                expect(abs(value["K0001"] - measured["value"]) <= 5e-15 * abs(measured["value"]), f"{name}: {value}")  # 15 digits
                expect(characteristic["K2002"] == one_line(measured["name"], 80), f"{name}: {characteristic}")
                expect(characteristic.get("K2142", "") == measured["unit"], f"{name}: unit of {characteristic}")
            else:
                expect(value.get("K0009"), f"{name}: a missing value without a reason: {value}")
            expect(value["K0014"] == (serial or one_line(profile["file"], 1000)[-40:].strip()), f"{name}: {value}")
            expect(abs(datetime.datetime.now() - value["K0004"]) < datetime.timedelta(days=1), f"{name}: time of {value}")
    return mark, part, characteristics


QIF = "{http://qifstandards.org/xsd/qif3}"
SUBSET = pathlib.Path(__file__).resolve().with_name("qif_subset.xsd")


def compare_qif(name, results, serial=None):
    """A QIF document with the JSON of the same run; both have every profile."""
    xmllint = shutil.which("xmllint")
    if xmllint:
        done = subprocess.run([xmllint, "--noout", "--schema", SUBSET, name], capture_output=True, text=True)
        expect(done.returncode == 0, f"{name}: {done.stderr[:600]}")
    root = xml.etree.ElementTree.parse(name).getroot()
    by_id = {e.get("id"): e for e in root.iter() if e.get("id")}
    expect(len(by_id) == sum(1 for e in root.iter() if e.get("id")) and int(root.get("idMax")) == max(map(int, by_id)), f"{name}: ids")
    for element in root.iter():
        expect(not element.get("n") or int(element.get("n")) == len(element), f"{name}: length of {element.tag}")
    for path, target in (("CharacteristicDefinitionId", "Definition"), ("CharacteristicNominalId", "Nominal"), ("CharacteristicItemId", "Item")):
        for element in root.iter(QIF + path):
            expect(element.text in by_id and by_id[element.text].tag.endswith(target), f"{name}: {path} {element.text}")
    parts = root.findall(f"{QIF}Results/{QIF}MeasurementResultsSet/{QIF}MeasurementResults")
    expect(len(parts) == len(results), f"{name}: {len(parts)} parts")
    for part, profile in zip(parts, results):
        component = by_id[part.find(f"{QIF}ActualComponentIds/{QIF}Id").text]
        expect(component.find(QIF + "SerialNumber").text == (serial or one_line(profile["file"], 1000)), f"{name}: serial number")
        measurements = list(part.find(f"{QIF}MeasuredCharacteristics/{QIF}CharacteristicMeasurements") or [])
        expected = [m for m in profile["measurements"] if m["unit"]] or [{"valid": False}] * len(measurements)
        expect(len(measurements) == len(expected), f"{name}: {len(measurements)} values")
        for element, value in zip(measurements, expected):
            status = element.find(f"{QIF}Status/{QIF}CharacteristicStatusEnum").text
            if not value["valid"]:
                expect(status == "INDETERMINATE" and element.find(QIF + "Value") is None and
                       element.find(QIF + "Description").text, f"{name}: a missing value")
                continue
            item = by_id[element.find(QIF + "CharacteristicItemId").text]
            expect(item.find(QIF + "Name").text == one_line(value["name"], 1000), f"{name}: name of {value}")
            measured = element.find(QIF + "Value")
            expect(abs(float(measured.text) - value["value"]) <= 1e-17 and "e" not in measured.text.lower(), f"{name}: {value}")
            expect(value["u"] is None or abs(float(measured.get("combinedUncertainty")) - value["u"]) <= 1e-17, f"{name}: u of {value}")
            expect(measured.get("linearUnit") == ("um" if value["unit"] == "um" else None), f"{name}: unit of {value}")
            expect({"mm": "Linear", "um": "Linear", "deg": "Angular", "mm2": "Area"}[value["unit"]] in element.tag, f"{name}: kind of {value}")
            verdict = {"good": "PASS", "OUT": "FAIL"}.get(value.get("verdict"), "NOT_ANALYZED")
            expect(status == verdict, f"{name}: status {status} of {value}")
    return root, by_id


def plan_of(file, tools, tolerances=None, name=""):
    pathlib.Path(file).write_text(json.dumps({"name": name, "units": "mm", "regions": [{"name": "R", "x": [-6, 6]}],
                                              "tools": tools, "tolerances": tolerances or {}}))


def means(count):
    return [{"kind": "mean", "name": f"m{i}", "of": "z", "region": "R"} for i in range(count)]


def best(profiles):
    """Of "match": what the best assignment gives, where "measure" has it."""
    return [dict(profile, measurements=(profile["assignments"] or [{"measurements": []}])[0]["measurements"]) for profile in profiles]


def test_aqdef():
    # Profiles with and without the template, one that cannot be read; limits; serial number, operator, station.
    words = ["match", "p1.csv", "flat.csv", "p2.csv", "--template", "t.json"]
    results = best(results_of(*words, code=1))
    run(*words, "--aqdef", "a.dfq", "--operator", "Ann", "--station", "12", "--serial", "A17", code=1)
    mark, part, characteristics = compare("a.dfq", results, serial="A17")
    expect(not mark and part["K1001"] == "t" and part["K1222"] == "Ann" and part["K1206"] == "12", f"part: {part}")
    expect(characteristics[0]["K2101"] == 6 and characteristics[0]["K2110"] == 5.5 and
           characteristics[0]["K2111"] == 6.5 and characteristics[0]["K2120"] == 1, f"limits: {characteristics[0]}")
    expect("K2101" not in characteristics[1] and characteristics[1]["K2121"] == 0, f"no limits: {characteristics[1]}")
    values = read_aqdef("a.dfq")[3]
    expect(values[0][0]["K0010"] == 12 and "K0008" not in values[0][0], "a station by number, an operator by name")
    run("match", "p1.csv", "bad.csv", "--template", "t.json", "--aqdef", "b.dfq", code=2)
    values = read_aqdef("b.dfq")[3]
    expect([v["K0002"] for v in values[0]] == [0, 255] and "holds no point" in values[0][1]["K0009"], f"unread: {values[0]}")

    # Names that no line can hold, other alphabets, one that is too long; a limit on one side.
    odd = ['He said "it\'s"\r\nK0001/1 7', "\u0434\u043b\u0438\u043d\u0430 \u9ad8\u3055 \U0001f600 <script>", "x" * 100, "n/1 \t\x14\x0f"]
    template = json.loads(pathlib.Path("t.json").read_text())
    template["measurements"] = [{"measurementType": "Length", "measureLineIndex": 1, "pointsInfos": [], "anglesInfos": [],
                                 "linesInfos": [{"isActive": True, "name": name}]} for name in odd]
    template.update(name="\u00dcber\nPlan", tolerances={odd[1]: {"max": 9.5}})
    pathlib.Path("odd.json").write_text(json.dumps(template))
    name = "a \"b\"\n\u00e9.csv"
    shutil.copy("p1.csv", name)
    words = ["match", name, "p2.csv", "--template", "odd.json"]
    results = best(results_of(*words))
    run(*words, "--aqdef", "c.dfq", "--operator", "\u0410\u043d\u043d\u0430\r\n7", "--station", "007")
    mark, part, characteristics = compare("c.dfq", results)
    expect(mark and part["K1001"] == "\u00dcber Plan" and part["K1222"] == "\u0410\u043d\u043d\u0430 7", f"part: {part}")
    expect(characteristics[1]["K2111"] == 9.5 and "K2110" not in characteristics[1] and "K2101" not in characteristics[1] and
           characteristics[1]["K2120"] == 0 and characteristics[1]["K2121"] == 1, f"one limit: {characteristics[1]}")
    expect(characteristics[2]["K2900"] == "x" * 100, "the whole of a long name")

    # Two hundred results, none, all of them missing.
    plan_of("many.json", means(200))
    results = results_of("measure", "p1.csv", "p2.csv", "p3.csv", "--plan", "many.json")
    run("measure", "p1.csv", "p2.csv", "p3.csv", "--plan", "many.json", "--aqdef", "d.dfq")
    expect(len(compare("d.dfq", results)[2]) == 200, "200 characteristics")
    run("teach", "p1.csv", "--lines", "0,1,2,3", "--out", "none.json")
    run("match", "p1.csv", "--template", "none.json", "--aqdef", "e.dfq")
    expect(read_aqdef("e.dfq")[2:] == ([], []), "a template without measurements")
    results = results_of("measure", "flat.csv", "--plan", "many.json", code=1)
    run("measure", "flat.csv", "--plan", "many.json", "--aqdef", "f.dfq", code=1)
    compare("f.dfq", results)

    # QIF of the same cases, and of all units.
    words = ["match", "p1.csv", "flat.csv", "p2.csv", "--template", "t.json"]
    results = best(results_of(*words, code=1))
    run(*words, "--qif", "a.qif", "--serial", "A&17", "--station", "<2>", "--operator", "\u0410\u043d\u043d\u0430", code=1)
    root, by_id = compare_qif("a.qif", results, serial="A&17")
    states = [e.text for e in root.find(QIF + "Results").iter(QIF + "InspectionStatusEnum")]
    expect(states == ["PASS", "NOT_MEASURED", "PASS"] * 2, f"states {states}")
    limits = root.find(f".//{QIF}Tolerance")
    expect([e.text for e in limits] == ["6.5", "5.5", "true"] and root.find(f".//{QIF}TargetValue").text == "6", "limits")
    expect(root.find(f".//{QIF}MeasurementDevice/{QIF}Name").text == "<2>" and
           root.find(f".//{QIF}InspectionOperator/{QIF}Name").text == "\u0410\u043d\u043d\u0430", "who and where")
    words = ["match", name, "p2.csv", "--template", "odd.json"]
    run(*words, "--qif", "c.qif")
    compare_qif("c.qif", best(results_of(*words)))
    words = ["measure", "p1.csv", "--region", "R = x -6..6", "--measure",
             "l = line in R : angle max 5; a = area in R above -10 : max 1; r = roughness in R cutoff 0.8 : Ra 1e-9 +- 1e-12"]
    done = run(*words, "--qif", "u.qif", code=1)
    expect("u.qif: 2 values without a unit left out" in done.err, done.err)
    compare_qif("u.qif", results_of(*words, code=1))
    run("measure", "flat.csv", "--plan", "many.json", "--qif", "f.qif", code=1)
    compare_qif("f.qif", results_of("measure", "flat.csv", "--plan", "many.json", code=1))
    run("match", "p1.csv", "--template", "none.json", "--qif", "e.qif")
    compare_qif("e.qif", [{"file": "p1.csv", "measurements": []}])
    run("match", "bad.csv", "--template", "t.json", "--qif", "b.qif", code=2)
    compare_qif("b.qif", [{"file": "bad.csv", "measurements": []}])

    # What is read is not written over; a file that cannot be written is refused before anything is measured.
    for refused in ("p1.csv", "t.json", "nowhere/x.dfq"):
        done = run("match", "p1.csv", "--template", "t.json", "--aqdef", refused, code=2)
        expect(refused in done.err and not done.out, f"refused: {done.err}")
    pathlib.Path("list.txt").write_text("p1.csv\n")
    done = run("match", "--files-from", "list.txt", "--out", "part.csv", "--template", "t.json", "--aqdef", "g.dfq", code=2)
    expect("--aqdef does not go with --files-from" in done.err, done.err)


def test_lines():
    words = ["match", "p1.csv", "flat.csv", "p2.csv", "--template", "t.json", "--all"]
    lines = run(*words, "--jsonl", code=1).out.splitlines()
    expect([json.loads(line) for line in lines] == results_of(*words, code=1), "lines are the profiles of the document")
    plan_of("plan.json", means(3))
    stack = b"".join(pathlib.Path(f"p{i}.csv").read_bytes() + b"\n" for i in (1, 2, 3))
    lines = run("measure", "-", "--plan", "plan.json", "--jsonl", input=stack).out.splitlines()
    whole = json.loads(run("measure", "-", "--plan", "plan.json", "--json", input=stack).out)["profiles"]
    expect(len(lines) == 3 and [json.loads(line) for line in lines] == whole, "lines from standard input")
    expect(run("match", "bad.csv", "--template", "t.json", "--jsonl", code=2).out == "", "no profile, no line")
    for other in ("--json", "--csv", "--stats"):
        run("match", "p1.csv", "--template", "t.json", "--jsonl", other, code=2)


make_parts()
test_aqdef()
test_lines()
finish()
