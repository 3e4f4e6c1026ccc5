"""A train that passes a measuring post."""

from __future__ import annotations

import json
import os
from typing import Any, Iterable, Sequence

from kvmath import _core
from kvmath._shown import _pandas


class WheelPass:
    """The wheelsets of a pass: dicts with the keys that "kvmeasure wheels pass --json" documents.

    wheelsets  in order of time; a missing value is None, and a note says why
    notes      what was left out, joined or damaged
    verdict    with limits "good", "OUT" or "NOT MEASURED" of the whole train; "" where no value has limits
    """

    def __init__(self, document: dict[str, Any]) -> None:
        self.document = document
        self.wheelsets: list[dict[str, Any]] = document["wheelsets"]
        self.notes: list[str] = document["notes"]
        self.verdict: str = document.get("verdict") or ""

    def __len__(self) -> int:
        return len(self.wheelsets)

    def __repr__(self) -> str:
        return f"WheelPass({len(self)} wheelsets)"

    def table(self) -> Any:
        """A pandas DataFrame: a row per wheel. Raises Error without pandas."""
        rows = []
        for number, wheelset in enumerate(self.wheelsets, 1):
            shared = {key: value for key, value in wheelset.items() if not isinstance(value, (dict, list))}
            for side in ("left", "right"):
                wheel = wheelset.get(side) or {}
                values = {key: value for key, value in wheel.items() if not isinstance(value, (dict, list))}
                rows.append({"wheelset": number, "side": side, **shared, **values})
        return _pandas().DataFrame(rows)


def wheel_pass(folder: str | os.PathLike[str], *, settings: str | os.PathLike[str] | None = None,
               work: str | os.PathLike[str] | None = None, kind: str = "basic", join: int = 3,
               limits: str | os.PathLike[str] | Iterable[_core.WheelLimit] | None = None, vehicles: Sequence[int] = (),
               bogies: Sequence[int] = ()) -> WheelPass:
    """Measures all wheels of the recordings in a folder: sections, distances of the flange backs, breakouts.

    settings  of the post; None: settings.ini in the folder
    work      folder of the wheel files, which is written; None: wheels/work in the folder
    kind      of the wheels: "basic", "tram" or "loko"
    join      runs at most so many records apart are one wheel
    limits    table of limits, a path or what read_wheel_limits gave: the wheels and wheelsets have the values of gauges,
              "limits" and "verdict", too
    vehicles  with limits: wheelsets of each vehicle, the last number for all that follow; document["vehicles"] judges them
    bogies    with limits: wheelsets of each bogie, likewise

    Ctrl-C ends it. Raises Error for settings and recordings that cannot be read.
    """
    return WheelPass(json.loads(_core._wheel_pass(folder, settings, work, kind, join, limits, list(vehicles),
                                                  list(bogies))))
