"""What notebooks show, and tables."""

from __future__ import annotations

import html
from typing import Any, Iterable

import numpy as np

from kvmath import _core

_COLUMNS = ("name", "value", "unit", "u", "verdict", "reason", "warning")


def _pandas() -> Any:
    try:
        import pandas  # type: ignore[import]
    except ImportError:
        raise _core.Error("tables need pandas (package python3-pandas)") from None
    return pandas


def _row(value: _core.Value) -> dict[str, Any]:
    return {column: getattr(value, column) for column in _COLUMNS}


def table(results: _core.Result | Iterable[_core.Result]) -> Any:
    """Results as a pandas DataFrame: of one, a row per value; of several, a row per profile and a column per value.

    Values that are not valid are NaN; `reason` says why the template is not found. Raises Error without pandas.
    """
    pandas = _pandas()
    if isinstance(results, _core.Result):
        return pandas.DataFrame([_row(value) for value in results.values()], columns=_COLUMNS).set_index("name")
    rows = []
    for result in results:
        row: dict[str, Any] = {"profile": result.name, "z": result.z, "found": result.found}
        row.update((value.name, value.value) for value in result.values())
        row["verdict"], row["reason"] = result.verdict, result.reason
        rows.append(row)
    return pandas.DataFrame(rows)


def _values_html(result: _core.Result) -> str:
    head = "".join(f"<th>{column}</th>" for column in _COLUMNS)
    rows = []
    for value in result.values():
        cells = dict(_row(value), value=f"{value.value:.4f}" if value.valid else "-",
                     u=f"{value.u:.2g}" if value.u == value.u else "-")
        rows.append("<tr>" + "".join(f"<td>{html.escape(str(cells[column]))}</td>" for column in _COLUMNS) + "</tr>")
    return f"<table><tr>{head}</tr>{''.join(rows)}</table>"


def _result_html(result: _core.Result) -> str:
    return (result.svg() if len(result.profile) > 0 else "") + _values_html(result)


def _segments_html(segments: _core.Segments) -> str:
    return segments.svg()


def _members(record: Any) -> list[tuple[str, Any]]:
    return [(name, getattr(record, name)) for name, member in vars(type(record)).items() if isinstance(member, property)]


def _text(value: Any) -> str:
    if isinstance(value, float):
        return f"{value:.6g}"
    return f"array {value.shape}" if hasattr(value, "shape") else repr(value)


def _record_repr(record: Any) -> str:
    return f"{type(record).__name__}({', '.join(f'{name}={_text(value)}' for name, value in _members(record))})"


def _record_html(record: Any) -> str:
    rows = "".join(f"<tr><th>{name}</th><td>{html.escape(_text(value))}</td></tr>" for name, value in _members(record))
    return f"<table>{rows}</table>"


_SECTION_COLUMNS = ("key", "name", "value", "unit", "u", "reason", "note")


def _section_table(values: _core.SectionValues) -> Any:
    """A pandas DataFrame, a row per value. Raises Error without pandas."""
    rows = [{column: getattr(value, column) for column in _SECTION_COLUMNS} for value in values.values()]
    return _pandas().DataFrame(rows, columns=_SECTION_COLUMNS).set_index("key")


def _section_html(values: _core.SectionValues) -> str:
    head = "".join(f"<th>{column}</th>" for column in _SECTION_COLUMNS)
    rows = ["".join(f"<td>{html.escape(_text(getattr(value, column)))}</td>" for column in _SECTION_COLUMNS)
            for value in values.values()]
    return f"{values.svg()}<table><tr>{head}</tr>{''.join(f'<tr>{row}</tr>' for row in rows)}</table>"


def _section_repr(values: _core.SectionValues) -> str:
    shown = (f"{value.key} = {_text(value.value) if value.valid else 'not measured'}" for value in values.values())
    return f"SectionValues({', '.join(shown)})"


def _picture_html(record: Any) -> str:
    return str(record.svg()) + _record_html(record)


setattr(_core.Result, "_repr_html_", _result_html)
setattr(_core.Result, "table", table)
setattr(_core.SectionValues, "_repr_html_", _section_html)
setattr(_core.SectionValues, "__repr__", _section_repr)
setattr(_core.SectionValues, "table", _section_table)
setattr(_core.Segments, "_repr_html_", _segments_html)
for _class in (_core.Circumference, _core.WheelFlat, _core.WheelHarmonic,
               _core.Capability, _core.Comparison, _core.Deviation, _core.LimitVerdict, _core.MotionPart,
               _core.Registration, _core.ScanComparison, _core.TrackGauge, _core.WheelLimit,
               _core.Conicity, _core.ControlChart, _core.Estimate, _core.Flatness, _core.GaugeCapability,
               _core.GaugeProfile, _core.GaugeStudy, _core.HeightPlane, _core.Linearity, _core.LineZone, _core.OneWayAnova,
               _core.Outline, _core.PlaneZone, _core.Roughness, _core.Roundness, _core.RoundZone, _core.SampleSummary,
               _core.SectionValue, _core.StepHeight, _core.Straightness, _core.CircleFit, _core.LineFit):
    if _class not in (_core.CircleFit, _core.LineFit):  # which have words of their own
        setattr(_class, "__repr__", _record_repr)
    setattr(_class, "_repr_html_", _picture_html if hasattr(_class, "svg") else _record_html)


def _itself(record: Any, memo: Any = None) -> Any:
    """Copies of what nothing changes are the thing itself."""
    return record


def _scan_parts(scan: _core.Scan) -> tuple[Any, ...]:
    if not scan.stack:
        return _core.Scan, (scan.points,)
    profiles = scan._profiles()
    return _core.Scan, ([np.array(array) for array, _ in profiles], [z for _, z in profiles])


for _class in vars(_core).values():
    if isinstance(_class, type) and _class not in (_core.Error, _core.ProfileSequence):
        setattr(_class, "__copy__", _itself)
        setattr(_class, "__deepcopy__", _itself)
setattr(_core.Scan, "__reduce__", _scan_parts)
