import os
import pathlib

import pytest

import kvmath

SAMPLES = pathlib.Path(os.environ.get("KVMATH_SAMPLES", pathlib.Path(__file__).parents[2] / "samples"))


@pytest.fixture
def samples():
    return SAMPLES


@pytest.fixture
def groove():
    """A profile with a V groove, with noise."""
    return kvmath.read_profile(SAMPLES / "v-groove.csv")


@pytest.fixture
def plan():
    return kvmath.read_plan(SAMPLES / "v-groove.template.json")
