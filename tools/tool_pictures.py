#!/usr/bin/env python3
"""Measures a part of known shape with every kind of tool: a picture of each, and a table of what is found.

usage: tool_pictures.py KVMEASURE FOLDER

Writes FOLDER/tool-KIND.svg and prints the table of docs/accuracy.md: known value, error, stated uncertainty.
"""

import json
import math
import pathlib
import random
import subprocess
import sys

NAN = math.nan


def hem(x, touch, radius):
    """A surface at 0 that bends down behind x = touch."""
    if x <= touch:
        return 0.0
    return math.sqrt(radius**2 - (x - touch)**2) - radius if x <= touch + radius else NAN


def fillet_weld(x):
    """A weld with legs of 4 mm in the corner of plates at -45 and 45 degrees, its face an arc 0.5 mm over the chord."""
    half, rise = 4 * math.sqrt(0.5), 0.5
    radius = (half**2 + rise**2) / (2 * rise)
    return abs(x) if abs(x) >= half else half + math.sqrt(radius**2 - x * x) - (radius - rise)


def ridge(x):
    return max(0.0, 1.5 - 0.5 * abs(x))


def groove(x):
    return min(0.0, abs(x) - 3)


def rounded(x):
    """A corner of surfaces at -45 and 45 degrees, radius 2."""
    return abs(x) if abs(x) > math.sqrt(2) else 2 * math.sqrt(2) - math.sqrt(4 - x * x)


L, R, M = "L = x ..-0.3", "R = x 0.3..", "M = all"
FAR = ["L = x ..-4", "R = x 4..", M]
# Kind: shape in words, height over x, height of the second profile or None, regions, words, known values by ending.
TOOLS = {
    "max": ("slope", lambda x: 0.1 * x, None, [M], "max in M", {}),
    "min": ("slope", lambda x: 0.1 * x, None, [M], "min in M", {}),
    "mean": ("slope through 0", lambda x: 0.1 * x, None, [M], "mean in M", {"": 0}),
    "median": ("slope through 0", lambda x: 0.1 * x, None, [M], "median in M", {"": 0}),
    "percentile": ("slope of 0.1", lambda x: 0.1 * x, None, [M], "percentile 75 in M", {"": 0.4}),
    "bridge": ("level surface", lambda x: 0.0, None, [M], "bridge in M", {}),
    "box": ("rectangle, 6 x 2 mm, turned by 20 degrees, its upper sides",
            lambda x: 2 / math.cos(math.radians(20)) + x * math.tan(math.radians(20))
            if -2 * math.sin(math.radians(20)) <= x <= 6 * math.cos(math.radians(20)) - 2 * math.sin(math.radians(20))
            else -1 / math.tan(math.radians(20)) * x if -2 * math.sin(math.radians(20)) > x > -2.0 * 0.3421 else NAN,
            None, [M], "box in M turned", {}),
    "area": ("triangle on a plate", ridge, None, ["L = x ..-3.5", "R = x -3..3"], "area in R above L",
             {"": 4.5, "x": 0, "z": 0.5}),
    "line": ("slope", lambda x: 0.2 * x, None, [M], "line in M", {"angle": math.degrees(math.atan(0.2))}),
    "arc": ("arc of radius 10", lambda x: math.sqrt(100 - x * x) - 10, None, [M], "arc in M", {"radius": 10, "x": 0}),
    "intersection": ("V of 45 degrees", abs, None, [L, R], "intersection L R", {"x": 0, "z": 0}),
    "angle": ("V of 45 degrees", abs, None, [L, R], "angle L R opening", {"": 90}),
    "dimension": ("plate 9 mm wide", lambda x: 1.0 if abs(x) < 4.5 else NAN, None, ["L = x ..0", "R = x 0.."],
                  "dimension L R from left to right", {"": 9}),
    "step": ("step of 0.75", lambda x: 0.0 if x < 0 else 0.75, None, [L, R], "step L R", {"": 0.75}),
    "gap": ("hems of radius 1.5", lambda x: hem(-abs(x), -3, 1.5), None, [L, R], "gap L R", {"": 3}),
    "flush": ("hems, 0.4 apart", lambda x: hem(-abs(x), -3, 1.5) + (0.4 if x > 0 else 0), None, [L, R], "flush L R",
              {"": 0.4}),
    "groove": ("V groove", groove, None, [M], "groove in M", {"width": 6, "depth": 3, "area": 9}),
    "corner": ("radius 2 in a corner", rounded, None, [M], "corner in M", {"radius": 2, "angle": 90, "x": 0, "z": 0}),
    "fillet": ("radius 2 in a corner", rounded, None, FAR, "fillet L R in M", {"radius": 2, "x": 0}),
    "strip": ("trapezoid, 4 mm at half height", lambda x: min(max(3 - abs(x), 0), 2), None, FAR, "strip in M on L",
              {"width": 4, "height": 2}),
    "edge": ("flank of 0.4 mm, 1 mm high", lambda x: min(max(2.5 * x, -0.5), 0.5), None, [M], "edge in M window 10",
             {"x": 0}),
    "thickness": ("arch on a plate", lambda x: 2 + 0.01 * x * x, lambda x: 0.0, [M, "B = second all"],
                  "thickness M B", {"mean": 2 + 0.64 / 3}),
    "contour": ("ellipse, 14 x 3 mm", lambda x: 1.5 * math.sqrt(1 - (x / 7)**2) if abs(x) < 7 else NAN,
                lambda x: -1.5 * math.sqrt(1 - (x / 7)**2) if abs(x) < 7 else NAN, [M, "B = second all"],
                "area in M with B", {"": 10.5 * math.pi, "x": 0, "z": 0}),
    "straightness": ("arch of 0.5", lambda x: 0.5 - x * x / 128, None, [M], "straightness in M", {}),
    "roundness": ("bar of radius 9, three-lobed", lambda x: (9 + 0.1 * math.cos(3 * math.acos(x / 9))) * math.sqrt(1 - x * x / 81),
                  None, [M], "roundness in M", {}),
    "step-height": ("groove of 1.5", lambda x: -1.5 if abs(x) < 2 else 0.0, None, [M], "step-height in M from -2 to 2",
                    {"": 1.5}),
    "roughness": ("waves of 20 um, 0.8 mm long", lambda x: 0.02 * math.sin(x * math.pi / 0.4), None, [M],
                  "roughness in M cutoff 2.5", {}),
    "fillet-weld": ("legs of 4, convex by 0.5", fillet_weld, None, FAR, "fillet-weld L R in M",
                    {"leg1": 4, "leg2": 4, "throat": 4 * math.sqrt(0.5), "convexity": 0.5}),
    "butt-weld": ("cap on plates 0.2 mm apart", lambda x: max(0.2 if x > 0 else 0.0, 1.2 - x * x / 9), None, FAR,
                  "butt-weld L R in M", {"width": math.hypot(math.sqrt(10.8) + 3, 0.2), "misalignment": 0.2}),
}


def write_profile(path, height, phase, draw):
    points = [(-8 + (i + phase) * 0.1, height(-8 + (i + phase) * 0.1)) for i in range(160)]
    path.write_text("".join(f"{x:.4f},{z + draw.gauss(0, 0.01):.5f}\n" for x, z in points if not math.isnan(z)))


def main(kvmeasure, folder):
    folder = pathlib.Path(folder)
    print("| tool | part | value | known | error | u |\n|---|---|---|---:|---:|---:|")
    for kind, (part, height, below, regions, words, known) in TOOLS.items():
        draw = random.Random(7)
        write_profile(folder / f"{kind}.csv", height, 0.45, draw)
        arguments = [f"{kind}.csv", "--svg", f"tool-{kind}.svg", "--measure", f"V = {words}", "--json"]
        if below:
            write_profile(folder / f"{kind}-below.csv", below, 0.2, draw)
            arguments += ["--second", f"{kind}-below.csv"]
        for region in regions:
            arguments += ["--region", region]
        run = subprocess.run([kvmeasure, "measure", *arguments], cwd=folder, stdout=subprocess.PIPE, check=True)
        values = {value["name"]: value for value in json.loads(run.stdout)["profiles"][0]["measurements"]}
        for ending, truth in known.items():
            name = "V." + ending if ending else "V"
            value = values[name]
            assert value["valid"], (kind, value)
            assert abs(value["value"] - truth) <= 3 * value["u"] + 1e-9, (kind, value, truth)
            print(f"| `{words}` | {part} | {ending or 'value'} | {truth:.3f} | {value['value'] - truth:+.4f} | {value['u']:.4f} |")


if __name__ == "__main__":
    main(*sys.argv[1:])
