"""Profiles as arrays that know their name and place."""

from __future__ import annotations

import math
import os
import warnings
from typing import Any, Iterator, Sequence

import numpy as np

from kvmath import _core


class Profile(np.ndarray):  # type: ignore[type-arg]
    """A profile: an array (n, 2) of float32, x and height in mm, with where it comes from. Read-only; copy() is not.

    name   path of the file, with "#n" behind it for the n-th profile (from 0) of several; "" where it has none
    z      place along the scan, mm; NaN: not known
    unset  number of points of the file that were left out
    """

    name: str = ""
    z: float = math.nan
    unset: int = 0

    def __new__(cls, array: Any, name: str = "", z: float = math.nan, unset: int = 0) -> "Profile":
        profile = np.asarray(array).view(cls)
        profile.name, profile.z, profile.unset = name, z, unset
        return profile

    def __array_finalize__(self, other: Any) -> None:
        if isinstance(other, Profile):  # a part of a profile, or what was computed from it
            self.name, self.z, self.unset = other.name, other.z, other.unset

    def __reduce__(self) -> tuple[Any, ...]:
        return Profile, (np.array(self, copy=True, subok=False), self.name, self.z, self.unset)


def read_profiles(path: str | os.PathLike[str], *, columns: str = "", units: str = "", pitch: float = math.nan,
                  unset: float | Sequence[float] | None = None) -> Iterator[Profile]:
    """The profiles of a file, one after another: text of any form, binary records, scans, height maps.

    columns  of text: "X,HEIGHT" or "HEIGHT", numbers from 1 or names of the heading
    units    of x and height, "um" or "mm,um"; unless given those of the heading, or mm
    pitch    mm between heights of text without x
    unset    number or numbers that stand for nothing; []: none does

    The file is opened at once: raises Error with file (and line or offset) for one that cannot be read. Warns of what
    may have been misunderstood in it. Unset points are left out and counted.
    """
    sequence = _core.ProfileSequence(path, columns=columns, units=units, pitch=pitch, unset=unset)

    def profiles() -> Iterator[Profile]:
        for array, z, name, left_out, warning in sequence:
            if warning:
                warnings.warn(f"{name}: {warning}", stacklevel=2)
            yield Profile(array, name, z, left_out)

    return profiles()


def read_profile(path: str | os.PathLike[str], *, columns: str = "", units: str = "", pitch: float = math.nan,
                 unset: float | Sequence[float] | None = None) -> Profile:
    """The profile of a file that holds one; see read_profiles. Raises Error where it holds several."""
    profiles = read_profiles(path, columns=columns, units=units, pitch=pitch, unset=unset)
    first = next(profiles, None)
    if first is None:
        raise _core.Error(f"{os.fspath(path)}: holds no profile")
    if next(profiles, None) is not None:
        raise _core.Error(f"{os.fspath(path)}: holds several profiles; kvmath.read_profiles reads them")
    return first


def profiles_of(scan: _core.Scan) -> list[Profile]:
    """The profiles of a scan in order, with their places. Points of a cloud become profiles by equal places."""
    return [Profile(array, "", z) for array, z in scan._profiles()]
