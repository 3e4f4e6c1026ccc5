"""Is a gauge good enough? Ten parts, three appraisers, three trials, in a table with a heading.

usage: gauge_study.py TABLE.csv TOLERANCE_MM    columns part,appraiser,value
"""

import csv
import sys

import kvmath

with open(sys.argv[1], newline="") as file:
    rows = list(csv.DictReader(file))
values = [float(row["value"]) for row in rows]
tolerance = float(sys.argv[2])

for method in ("anova", "range"):
    study = kvmath.gauge_study([row["part"] for row in rows], [row["appraiser"] for row in rows], values, method=method)
    if study.reason:
        sys.exit(f"no result: {study.reason}")
    print(f"{method}: EV {study.ev:.4f}, AV {study.av:.4f}, GRR {study.grr:.4f}, PV {study.pv:.4f}, ndc {study.ndc}")

share = 6 * study.grr / tolerance
print(f"GRR takes {100 * share:.1f} % of the tolerance: {'good' if share <= 0.1 else 'not good enough'}")

parts = kvmath.one_way_anova(values, [row["part"] for row in rows])
print(f"parts differ beyond chance: {parts.probability < 0.05} (F {parts.f:.1f})")
