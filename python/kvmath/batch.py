"""Archives of files on the workers of a Dask cluster, and their results as pandas tables.

    import dask.distributed
    import kvmath.batch
    client = dask.distributed.Client("scheduler:8786")
    table = kvmath.batch.measure(paths, "groove.json", client, out="all.csv")

The program kvmeasure measures: each task is one run of it over many files, so that a task takes seconds, not
milliseconds. The files, the program and this module must be there on every worker.
"""

from __future__ import annotations

import json
import os
import pathlib
import shutil
import subprocess
import tempfile
from typing import TYPE_CHECKING, Any, Iterable, Sequence

from kvmath._core import Error, Plan, read_plan

if TYPE_CHECKING:
    import pandas

__all__ = ["measure", "read_part"]


def measure(paths: Iterable[str | os.PathLike[str]], plan: Plan | str | os.PathLike[str], client: Any,
            out: str | os.PathLike[str] | None = None, *, files_per_task: int = 200, program: str = "kvmeasure",
            options: Sequence[str] = ()) -> pandas.DataFrame:
    """Measures every profile of these files with a plan; the rows in the order of the files, as a pandas table.

    plan            a Plan, or the path of one
    client          a dask.distributed.Client
    out             part file to write, too: the one that a single run of the program over all files gives, byte by byte
    files_per_task  at least 1
    program         kvmeasure as the workers find it
    options         further options of "kvmeasure measure", e.g. ["--unit", "um"]

    A profile that cannot be measured and a file that cannot be read have rows of their own that say why: see read_part.
    Tasks of a worker that dies go to another one. Raises Error where the plan or an option is refused.
    """
    names = [os.fspath(path) for path in paths]
    if not names or files_per_task < 1:
        raise ValueError("there must be a path, and files_per_task must be at least 1")
    for name in names:
        if not name or "\n" in name or name.endswith("\r"):
            raise ValueError(f"{name!r} is empty or holds the end of a line: it cannot stand in a list")
    document = (plan if isinstance(plan, Plan) else read_plan(plan)).to_json()
    lists = [names[i:i + files_per_task] for i in range(0, len(names), files_per_task)]
    futures = client.map(_measure_list, lists, document=document, program=program, options=list(options),
                         folder=os.getcwd(), pure=False)
    with tempfile.TemporaryDirectory() as folder:
        parts = []
        try:
            for number, future in enumerate(futures):
                parts.append(os.path.join(folder, f"{number:08}.csv"))
                pathlib.Path(parts[-1]).write_bytes(future.result())
                future.release()
        finally:
            client.cancel(futures)
        merged = os.path.join(folder, "all.csv")
        _run([program, "merge", "--files-from", "-", "--out", merged], "\n".join(parts), os.getcwd(), merged)
        if out is not None:
            # Beside its place first: it is complete or not there.
            passing = f"{os.fspath(out)}.{os.getpid()}"
            shutil.copyfile(merged, passing)
            os.replace(passing, out)
        return read_part(merged)


def read_part(path: str | os.PathLike[str]) -> pandas.DataFrame:
    """The rows of a part file of kvmeasure as a pandas table; what its last line says of them is table.attrs["part"].

    Columns are "profile", "z_mm", each value and its U with the unit, "verdict" and "note". A value that is not there is
    NaN and its reason stands in "note"; the verdict of a file that could not be read is "NOT READ". Raises Error for
    what is no part file, or no complete one.
    """
    import pandas  # only the tables need it

    with open(path, "rb") as file:
        file.seek(max(0, os.path.getsize(path) - (1 << 20)))
        last = file.read().rstrip(b"\n").rpartition(b"\n")[2]
    if not last.startswith(b"# part "):
        raise Error(f"{os.fspath(path)}: is no complete part file of kvmeasure")
    part = json.loads(last[len(b"# part "):])
    texts = {"profile": str, "assignment": str, "verdict": str, "note": str}
    table = pandas.read_csv(path, nrows=part["rows"], dtype=texts, na_values=[""], keep_default_na=False,
                            float_precision="round_trip")
    for name in texts:
        if name in table:
            table[name] = table[name].fillna("")
    table.attrs["part"] = part
    return table


def _measure_list(names: list[str], document: str, program: str, options: list[str], folder: str) -> bytes:
    """The part file of these names, measured where this is called; `folder` is what they are seen from."""
    with tempfile.TemporaryDirectory() as scratch:
        plan, part = os.path.join(scratch, "plan.json"), os.path.join(scratch, "part.csv")
        pathlib.Path(plan).write_text(document, encoding="utf-8")
        _run([program, "measure", "--plan", plan, "--files-from", "-", "--jobs", "1", "--out", part, *options],
             "\n".join(names), folder, part)
        return pathlib.Path(part).read_bytes()


def _run(command: list[str], text: str, folder: str, out: str) -> None:
    """Runs the program; it must leave `out`, which holds the failures of single files."""
    done = subprocess.run(command, input=os.fsencode(text), cwd=folder, stdout=subprocess.DEVNULL,
                          stderr=subprocess.PIPE)
    if not os.path.exists(out):
        raise Error(os.fsdecode(done.stderr).strip() or f"{command[0]} ended with code {done.returncode}")
