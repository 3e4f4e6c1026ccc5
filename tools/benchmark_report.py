#!/usr/bin/env python3
"""docs/maintainers/benchmark_tables.md from the JSON of the benchmark programs and the text in benchmarks/report.md.

usage: benchmark_report.py RESULTS [--least N] [--tables]    the document; only headings and measured lines of tables
       benchmark_report.py --claims RESULTS                  renews the tables in README.md and docs/benchmarks.md
       benchmark_report.py --describe BUILD                  machine, compiler, libraries, revision as JSON
       benchmark_report.py --self-test

RESULTS holds <program>.json (timed), <program>_memory.json (counted allocations), machine.json and commands.txt.

The text is Markdown with a few additions. {{machine}} stands for what was measured where, {{repetitions}} for how often.
A block ```table SIZES is a table of lines; ```matrix ROWS COLUMNS one of times. ```table SIZES: TITLE gives the column of
the library a title of its own. Every line has a name and indented keys:

    `medFilt`, window of 5
        time: profile BM_MedFilt/window:5        program and name of the benchmark; * stands for the sizes
        plain pass: cycle BM_PlainPass           what it stands beside; "peer NAME:" for a peer, "part NAME:" for a part of
                                                 a peer's work, which is shown and not judged, "build NAME:" for the
                                                 library itself, built otherwise
        only: 1000 1000000                       sizes that are shown; all, unless told
        fit: 1000                                least size that counts for the growth
        goal: 62.5 us                            what a host needs
        headline: median of a line @ 1000        the line in the README's table, at this size where there are several
        claim: median of a line @ 1000           the same for the table of docs/benchmarks.md
        why: the reason, without a full stop; the verdict before it is computed from the figures
"""

import json
import math
import pathlib
import platform
import re
import statistics
import subprocess
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent
UNITS = {"ns": 1e-9, "us": 1e-6, "µs": 1e-6, "ms": 1e-3, "s": 1.0}
TABLES = "docs/maintainers/benchmark_tables.md"
CLAIMS = {"README.md": "headline", "docs/benchmarks.md": "claim"}  # page -> key of the lines that its table takes
LEVEL = 1.05  # ratios below this are called level, and so are times whose quartiles overlap
LIBRARIES = ("qtbase5-dev", "qt6-base-dev", "libbenchmark-dev", "libeigen3-dev", "libgsl-dev", "libpcl-dev", "libopencv-dev",
             "libcgal-dev")


class Run:
    """Figures of one benchmark over its repetitions, in seconds of processor time."""

    def __init__(self, rows):
        times = [row["cpu_time"] * UNITS[row["time_unit"]] for row in rows]
        self.count = len(times)
        self.time = statistics.median(times)
        quartiles = statistics.quantiles(times, n=4) if self.count > 1 else [self.time] * 3
        self.low, self.high = quartiles[0], quartiles[2]
        self.spread = (self.high - self.low) / 2 / self.time
        self.counters = rows[0]
        rate = [row["items_per_second"] for row in rows if "items_per_second" in row]
        self.rate = statistics.median(rate) if rate else None
        self.allocations = self.bytes = None


def plain_name(row):
    return re.sub(r"/(repeats|iterations|min_time):[^/]+|/(real|process)_time", "", row["run_name"])


def rows_in(path, faults):
    try:
        return json.loads(path.read_text(encoding="utf-8"))["benchmarks"]
    except ValueError:
        faults.append(f"{path}: the program did not run to its end")
        return []


def load(folder, least):
    """{"program name": Run}; what did not run to its end or too seldom is a fault."""
    runs, faults = {}, []
    for path in sorted(folder.glob("*_benchmark.json")):
        program = path.name.removesuffix("_benchmark.json")
        grouped = {}
        for row in rows_in(path, faults):
            if row.get("error_occurred"):
                faults.append(f"{program} {row['name']}: {row.get('error_message')}")
            elif row["run_type"] == "iteration":
                grouped.setdefault(f"{program} {plain_name(row)}", []).append(row)
        for name, rows in grouped.items():
            runs[name] = Run(rows)
            if runs[name].count < least and rows[0]["repetitions"] != 1:
                faults.append(f"{name}: {runs[name].count} repetitions")
        memory = path.with_name(f"{program}_benchmark_memory.json")
        for row in rows_in(memory, faults) if memory.exists() else []:
            run = runs.get(f"{program} {plain_name(row)}")
            if run and "allocs_per_iter" in row:
                run.allocations, run.bytes = row["allocs_per_iter"], row["max_bytes_used"]
    return runs, sorted(set(faults))


# ---- Figures as text

def three_digits(value):
    digits = max(0, 2 - math.floor(math.log10(abs(value)))) if value else 0
    return f"{value:,.{digits}f}"


def time_text(run):
    unit = next(u for u in ("s", "ms", "µs", "ns") if run.time >= UNITS[u] or u == "ns")
    return f"{three_digits(run.time / UNITS[unit])} {unit}" + (" once" if run.count == 1 else "")


def bytes_text(count):
    if count is None:
        return ""
    for unit, size in (("MB", 1e6), ("KB", 1e3)):
        if count >= size:
            return f"{three_digits(count / size)} {unit}"
    return f"{max(0, count):.0f}"


def count_text(count):
    return "" if count is None else f"{count:,.0f}"


def rate_text(run, source):
    """A rate or counter that a row names, such as "profiles a second from: items_per_second"."""
    value = {**run.counters, "items_per_second": run.rate, "calls_per_second": 1 / run.time}.get(source)
    return three_digits(value) if value and value < 100 else count_text(value)


def times_text(ratio):
    return f"{ratio:,.0f}" if ratio >= 10 else f"{ratio:.1f}"


def size_text(size):
    return " x ".join(f"{int(part):,}" if part.isdigit() else part for part in re.split("[/ ]", size))


def faster(own, other, name):
    """Two times beside each other, in words."""
    ratio = own / other
    factor = ratio if ratio > 1 else 1 / ratio
    text = f"{factor:.2f}" if factor < 1.15 else times_text(factor)
    return f"{text} times slower than {name}" if ratio > 1 else f"{text} times as fast as {name}"


def against(own, other, name):
    """Run own beside run other, in words: level where the run does not tell them apart."""
    is_close = 1 / LEVEL < own.time / other.time < LEVEL
    do_overlap = own.count > 1 and other.count > 1 and own.low <= other.high and other.low <= own.high
    return f"level with {name}" if is_close or do_overlap else faster(own.time, other.time, name)


def verdict(row, own, others):
    """The part of a line's sentence that follows from its figures."""
    parts = []
    if "goal" in row:
        number, unit = row["goal"].split()
        parts.append(faster(own.time, float(number) * UNITS[unit], f"the goal of {number} {unit.replace('us', 'µs')}"))
    if others.get("plain pass"):
        ratio = own.time / others["plain pass"].time
        parts.append(f"takes {times_text(ratio) if ratio >= 0.95 else f'{ratio:.2f}'} plain passes")
    if others.get("plain form"):
        parts.append(against(own, others["plain form"], "the plain form"))
    for key, run in others.items():
        if run and key.startswith("build "):
            parts.append(against(own, run, f"the build {title(key)}"))
    peers = {key: run for key, run in others.items() if run and key.startswith("peer ")}
    if peers:
        best = min(peers, key=lambda key: peers[key].time)
        name = title(best)
        parts.append(against(own, peers[best], name if len(peers) == 1 else f"{name}, the best peer"))
    if not parts and own.rate:
        parts.append(f"{three_digits(1e9 / own.rate)} ns {row.get('item', 'a point')}")
    return ", ".join(parts) or "stands alone"


def sentence(*parts):
    text = "; ".join(part for part in parts if part)
    return text[:1].upper() + text[1:] + "."


def exponent(pairs):
    """Slope of log time over log size by least squares; None below three sizes."""
    if len(pairs) < 3:
        return None
    xs, ys = [math.log(size) for size, _ in pairs], [math.log(time) for _, time in pairs]
    x, y = statistics.mean(xs), statistics.mean(ys)
    return sum((a - x) * (b - y) for a, b in zip(xs, ys)) / sum((a - x) ** 2 for a in xs)


# ---- Tables

COMPARED = ("plain pass", "plain form")
KEY = re.compile(r"(time|plain pass|plain form|(?:peer|part|build) [^:]+|only|fit|goal|item|headline|claim|why|[A-Za-z ]+ from): +(.*)")


def is_compared(key):
    return key in COMPARED or key.startswith(("peer ", "part ", "build "))


def title(key):
    return re.sub("^(peer|part|build) ", "", key)


def rows_of(block):
    rows = []
    for line in block:
        text = line.strip()
        key = KEY.match(text)
        if not text:
            continue
        if not line[0].isspace():
            rows.append({"name": text})
        elif key:
            last = key.group(1)
            rows[-1][last] = key.group(2)
        else:
            rows[-1][last] += " " + text
    return rows


def sized(runs, pattern, row):
    """{size as text: Run} of the names that fit the pattern; the size is "" where it has no *."""
    fits = re.compile(re.escape(pattern).replace(r"\*", "(.+)").replace(r"\ ", " "))
    found = {}
    for name, run in runs.items():
        match = fits.fullmatch(name)
        if match:
            size = match.group(1) if match.groups() else ""
            if "only" not in row or size in row["only"].split():
                found[size] = run
    return dict(sorted(found.items(), key=lambda item: [float(part) for part in re.findall(r"\d+", item[0])]))


def growth_of(found, row):
    return exponent([(float(size), run.time) for size, run in found.items()
                     if size.isdigit() and float(size) >= float(row.get("fit", 0))])


def fitted_from(found, row):
    """" from 1,000 on" where smaller sizes are shown that the growth leaves out."""
    least = float(row.get("fit", 0))
    return f" from {least:,.0f} on" if any(float(size) < least for size in found if size.isdigit()) else ""


def growth_line(row, own, others):
    exponents = {key: growth_of(found, row) for key, found in {"": own, **others}.items()}
    if exponents[""] is None:
        return None
    cells = {key: f"n^{value:.2f}" for key, value in exponents.items() if value is not None}
    known = [f"the {key} as {cells[key]}" if key in COMPARED else f"{title(key)} as {cells[key]}"
             for key in others if key in cells and key != "plain pass"]
    return cells, ", ".join([f"grows as {cells['']}{fitted_from(own, row)}", *known])


class Table:
    def __init__(self, head, rows):
        self.rows = rows
        self.sizes, _, own = head.partition(": ")
        self.own = own or "KvMath"
        keys = list(dict.fromkeys(key for row in rows for key in row if is_compared(key)))
        self.compared = sorted(keys, key=lambda key: COMPARED.index(key) if key in COMPARED else len(COMPARED))
        self.extra = list(dict.fromkeys(key for row in rows for key in row if key.endswith(" from")))
        self.lines = []

    def add(self, name, size, cells, extra, heap, words):
        line = [name] + ([size] if self.sizes else []) + [cells.get(key, "") for key in ["", *self.compared]]
        self.lines.append("| " + " | ".join([*line, *extra, *heap, words]) + " |")

    def extras(self, row, run):
        return [rate_text(run, row.get(key)) for key in self.extra]

    def fill(self, runs, only_measured):
        for row in self.rows:
            own = sized(runs, row["time"], row)
            others = {key: sized(runs, row[key], row) for key in self.compared if key in row}
            if not own and not only_measured:
                self.add(row["name"], "", {"": "absent"}, [""] * len(self.extra), ["", ""],
                         sentence("not measured here", row.get("why")))
            growth = growth_line(row, own, others)
            name = row["name"]
            for size, run in own.items():
                beside = {key: found.get(size, found.get("")) for key, found in others.items()}
                cells = {key: f"{time_text(other)} ({self.ratio(run, other)})" for key, other in beside.items() if other}
                cells.update({key: "absent" for key, found in others.items() if not found})
                is_last = growth is None and size == list(own)[-1]
                self.add(name, size_text(size), {"": time_text(run), **cells}, self.extras(row, run),
                         [count_text(run.allocations), bytes_text(run.bytes)],
                         sentence(verdict(row, run, beside), row.get("why") if is_last else None))
                name = ""
            if growth:
                self.add("", "growth", growth[0], [""] * len(self.extra), ["", ""], sentence(growth[1], row.get("why")))

    @staticmethod
    def ratio(run, other):
        ratio = run.time / other.time
        return three_digits(ratio) if ratio >= 10 else f"{ratio:.2g}" if ratio < 0.1 else f"{ratio:.2f}"

    def text(self):
        head = ["operation"] + ([self.sizes] if self.sizes else []) + [self.own]
        head += [title(key) for key in self.compared] + [key.removesuffix(" from") for key in self.extra]
        head += ["allocations", "peak bytes", "in words"]
        rule = "|---|" + "---:|" * (len(head) - 2) + "---|"
        return ["| " + " | ".join(head) + " |", rule, *self.lines] if self.lines else []


def table_text(head, block, runs, only_measured):
    table = Table(" ".join(head), rows_of(block))
    table.fill(runs, only_measured)
    return table.text()


def claim(row, runs, words):
    """A line of a table of claims: what, time, verdict without the plain pass."""
    words, _, size = words.partition(" @ ")
    run = sized(runs, row["time"], row).get(size)
    if not run:
        return f"| {words} | not measured | |"
    others = {key: sized(runs, row[key], row).get(size) for key in row if key.startswith("peer ")}
    rates = [f"{rate_text(run, row[key])} {key.removesuffix(' from')}" for key in row if key.endswith(" a second from")]
    goal = {key: row[key] for key in row if key == "goal"}
    return f"| {words} | {time_text(run)} | {', '.join(rates + ([verdict(goal, run, others)] if others or goal else []))} |"


def claims(text, runs, key):
    blocks = re.findall(r"^```table.*?\n(.*?)^```$", text, re.DOTALL | re.MULTILINE)
    rows = [row for block in blocks for row in rows_of(block.splitlines()) if key in row]
    return "\n".join(["| what | time | |", "|---|---:|---|", *(claim(row, runs, row[key]) for row in rows)]) + "\n"


def renewed(page, name, content):
    """The page with `content` between its markers of that name."""
    return re.sub(f"(<!-- {name} -->\n).*?(<!-- /{name} -->)", lambda match: match[1] + content + match[2], page,
                  flags=re.DOTALL)


def renew_claims(text, runs, facts):
    measured = f"Measured {facts['date'].split(',')[0]} at revision {facts['revision']} on {facts['processor']}.\n"
    for name, key in CLAIMS.items():
        page = ROOT / name
        made = renewed(page.read_text(encoding="utf-8"), "speed", claims(text, runs, key))
        page.write_text(renewed(made, "measured", measured), encoding="utf-8")


def matrix_text(head, block, runs, only_measured):
    """Times over two sizes, with the growth along both."""
    (row,) = rows_of(block)
    pattern = re.compile(re.escape(row["time"]).replace(r"\ ", " ").replace(r"\{row\}", r"(?P<row>\d+)")
                         .replace(r"\{column\}", r"(?P<column>\d+)"))
    cells = {}
    for name, run in runs.items():
        match = pattern.fullmatch(name)
        if match:
            cells[int(match["row"]), int(match["column"])] = run
    if not cells:
        return [] if only_measured else ["Not measured here."]
    downs, acrosses = sorted({r for r, _ in cells}), sorted({c for _, c in cells})
    least = int(row.get("fit", 0))
    titles = [f"{head[0]} \\ {head[1]}", *map(str, acrosses), "growth", "allocations", "peak bytes", "in words"]
    lines = ["| " + " | ".join(titles) + " |", "|---|" + "---:|" * (len(titles) - 2) + "---|"]
    for down in downs:
        found = {c: cells[down, c] for c in acrosses if (down, c) in cells}
        growth = exponent([(c, run.time) for c, run in found.items() if c >= least])
        last = found[max(found)]
        words = f"{time_text(last)} for {max(found)} {head[1]}" + (f", grows as n^{growth:.2f}" if growth else "")
        lines.append("| " + " | ".join([str(down), *(time_text(found[c]) if c in found else "" for c in acrosses),
                                        f"n^{growth:.2f}" if growth else "", count_text(last.allocations),
                                        bytes_text(last.bytes), sentence(words)]) + " |")
    growths = [exponent([(r, cells[r, c].time) for r in downs if (r, c) in cells and c >= least]) for c in acrosses]
    known = [f"m^{g:.2f}" if g is not None else "" for g in growths]
    words = sentence(f"with {head[0]}, {max(acrosses)} {head[1]} grow as {known[-1]}", row.get("why"))
    lines.append("| " + " | ".join(["growth", *known, "", "", "", words]) + " |")
    return lines


# ---- The machine

def output(*command):
    try:
        return subprocess.run(command, cwd=ROOT, capture_output=True, text=True, check=True).stdout.strip()
    except (OSError, subprocess.CalledProcessError):
        return ""


def field(path, pattern):
    try:
        match = re.search(pattern, pathlib.Path(path).read_text(encoding="utf-8"), re.MULTILINE)
    except OSError:
        return ""
    return match.group(1).strip().strip('"') if match else ""


def describe(build):
    compiler = field(build / "CMakeCache.txt", r"^CMAKE_CXX_COMPILER:[A-Z]+=(.+)$")
    commands = output("ninja", "-C", str(build), "-t", "commands", "benchmarks/cycle_benchmark").splitlines()
    compiling = next((line for line in commands if line.endswith("cycle_benchmark.cpp")), "")
    flags = [flag for flag in compiling.split() if re.match(r"-(O|f|m|std=)", flag) or flag == "-DNDEBUG"]
    changed = output("git", "status", "--porcelain", "--", ".", *(f":!{page}" for page in (TABLES, *CLAIMS)))
    versions = [output("dpkg-query", "-W", "-f", "${Status} ${Package} ${source:Upstream-Version}", name) for name in LIBRARIES]
    load = field("/proc/loadavg", r"^(\S+)")
    memory = int(field("/proc/meminfo", r"^MemTotal:\s+(\d+)") or 0) / 1e6
    return {
        "processor": f"{field('/proc/cpuinfo', r'^model name.*: (.+)$') or platform.processor()}, "
                     f"{output('nproc', '--all')} cores; {memory:.0f} GB of memory",
        "system": f"{field('/etc/os-release', r'^PRETTY_NAME=(.+)$')}, {platform.system()} {platform.release()}",
        "compiler": f"{output(compiler, '--version').splitlines()[0] if compiler else ''}; `{' '.join(dict.fromkeys(flags))}`",
        "libraries": ", ".join(v.split(" ", 3)[3] for v in versions if v.startswith("install ok installed")),
        "revision": output("git", "describe", "--always", "--tags") + (" with changes" if changed else ""),
        "date": output("date", "-u", "+%Y-%m-%d %H:%M UTC") + f", load {load} before the run",
    }


def facts_of(folder):
    return json.loads((folder / "machine.json").read_text(encoding="utf-8"))


def machine_text(folder, runs):
    facts = facts_of(folder)
    spreads = sorted(run.spread for run in runs.values() if run.count > 1)  # others ran once
    if spreads:
        half, most = (100 * spreads[int(share * (len(spreads) - 1))] for share in (0.5, 0.9))
        facts["spread"] = (f"half the distance of the quartiles: below {half:.1f} % of the median in half of the "
                           f"{len(spreads)} benchmarks, below {most:.1f} % in nine of ten")
    lines = ["| | |", "|---|---|", *(f"| {key} | {value} |" for key, value in facts.items())]
    commands = (folder / "commands.txt").read_text(encoding="utf-8").splitlines()
    return [*lines, "", *(f"    {command}" for command in commands)]


def document(text, runs, machine, only_measured=False):
    made, lines = [], iter(text.splitlines())
    for line in lines:
        block = re.match(r"```(table|matrix) ?(.*)", line)
        if block:
            body = []
            while (inner := next(lines)) != "```":
                body.append(inner)
            make = table_text if block.group(1) == "table" else matrix_text
            made += make(block.group(2).split(), body, runs, only_measured)
            if only_measured:
                made.append("")
        elif only_measured:
            made += [line, ""] if line.startswith("#") else []
        elif line == "{{machine}}":
            made += machine
        elif not line.startswith("<!--"):
            made.append(line)
    least = min((run.count for run in runs.values() if run.count > 1), default=1)
    return "\n".join(made).strip().replace("{{repetitions}}", str(least)) + "\n"


def self_test():
    def rows(name, times, **more):
        return [{"name": name, "run_name": name, "run_type": "iteration", "repetitions": len(times), "cpu_time": time,
                 "time_unit": "us", **more} for time in times]

    runs = {f"a {name}": Run(rows(name, times)) for name, times in {
        "Own/1": [1] * 3, "Own/10": [1.9, 2, 2.2], "Own/100": [20] * 3, "Own/1000": [200] * 3,
        "Peer/10": [4] * 3, "Peer/100": [18, 22, 30], "Peer/1000": [100] * 3,
        "Slow/10": [2000], "Grid/2/3": [5] * 3, "Other/10": [24] * 3, "Other/100": [20] * 3}.items()}
    text = ("prose stays\n```table points\nlabel\n  time: a Own/*\n  plain form: a Slow/*\n  peer P: a Peer/*\n  headline: own @ 10\n  claim: claimed @ 100\n  fit: 10\n"
            "  why: reason\n    goes on\nnone\n  time: a Missing\n```\n```matrix m n\nx\n  time: a Grid/{row}/{column}\n```\n"
            "```table points: on B\nmoved\n  time: a Own/*\n  build on A: a Other/*\n  peer P: a Peer/*\n  only: 10 100\n```\n")
    made = document(text, runs, [])
    for expected in ("prose stays\n| operation | points | KvMath | plain form | P |",
                     "| label | 1 | 1.00 µs |", "|  | 10 | 2.00 µs | 2.00 ms once (0.001) | 4.00 µs (0.50) |  |  | 1,000 times as fast as the plain form, "
                     "2.0 times as fast as P. |", "|  | 100 | 20.0 µs |  | 22.0 µs (0.91) |  |  | Level with P. |",
                     "|  | 1,000 | 200 µs |  | 100 µs (2.00) |  |  | 2.0 times slower than P. |",
                     "|  | growth | n^1.00 |  | n^0.70 |  |  | Grows as n^1.00 from 10 on, P as n^0.70; reason goes on. |",
                     "| none |  | absent |", "| 2 | 5.00 µs |  |", "| operation | points | on B | on A | P |",
                     "| moved | 10 | 2.00 µs | 24.0 µs (0.083) | 4.00 µs (0.50) |  |  | 12 times as fast as the build on A, 2.0 times "
                     "as fast as P. |", "|  | 100 | 20.0 µs | 20.0 µs (1.00) | 22.0 µs (0.91) |  |  | Level with the build on A, "
                     "level with P. |"):
        assert expected in made, f"not found: {expected}\nin:\n{made}"
    made = claims(text, runs, "headline")
    assert made.endswith("| own | 2.00 µs | 2.0 times as fast as P |\n"), made
    made = renewed("a\n<!-- speed -->\nold\n<!-- /speed -->\nb\n", "speed", claims(text, runs, "claim"))
    assert made.endswith("| claimed | 20.0 µs | level with P |\n<!-- /speed -->\nb\n") and "own" not in made, made
    print("benchmark_report: tables, verdicts and growth as expected")


def main(arguments):
    if arguments == ["--self-test"]:
        return self_test()
    if arguments[:1] == ["--describe"]:
        return print(json.dumps(describe(pathlib.Path(arguments[1])), indent=1))
    folder = pathlib.Path(arguments[-1] if arguments[0] == "--claims" else arguments[0])
    least = int(arguments[arguments.index("--least") + 1]) if "--least" in arguments else 9
    runs, faults = load(folder, least)
    if faults or not runs:
        return "\n".join(faults) or f"no results in {folder}"
    text = (ROOT / "benchmarks/report.md").read_text(encoding="utf-8")
    if arguments[0] == "--claims":
        return renew_claims(text, runs, facts_of(folder))
    sys.stdout.write(document(text, runs, machine_text(folder, runs), "--tables" in arguments))
    return 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
