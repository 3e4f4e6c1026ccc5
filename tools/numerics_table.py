#!/usr/bin/env python3
"""The table of docs/benchmarks.md from the JSON of numerics_benchmark: medians in nanoseconds, and the ratio to the
faster peer.

usage: numerics_benchmark --benchmark_format=json ... | numerics_table.py
"""

import json
import sys

PEERS = ("", "Eigen", "EigenDivideAndConquer", "Gsl")


def main():
    times = {}
    runs = json.load(sys.stdin)["benchmarks"]
    for run in sorted(runs, key=lambda r: (r["family_index"], r["per_family_instance_index"])):
        if run.get("aggregate_name") == "median":
            times[run["run_name"]] = run["cpu_time"]
    print("| | KvMath | Eigen Jacobi | Eigen BDC | GSL | ratio |\n|---|---|---|---|---|---|")
    for name in times:
        base, _, size = name.partition("/")
        row = [times.get(base + peer + ("/" + size if size else "")) for peer in PEERS]
        if base.endswith(PEERS[1:]):
            continue
        peers = [time for time in row[1:] if time]
        cells = [f"{time:,.{0 if time >= 100 else 1}f}" if time else "" for time in row]
        ratio = f"{row[0] / min(peers):.2f}" if peers else ""
        print(f"| {base[3:]} {size.replace('/', ' x ')} | " + " | ".join(cells) + f" | {ratio} |")


if __name__ == "__main__":
    main()
