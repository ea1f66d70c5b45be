# SPDX-License-Identifier: MIT
"""What the tests of the Python package share. CMake tells the places by the environment."""

import os
import pathlib
import tempfile

import pytest

import oktdatabase as okt

try:
    import hypothesis.configuration

    hypothesis.configuration.set_hypothesis_home_dir(tempfile.gettempdir())
except ImportError:
    pass

ROOT = pathlib.Path(__file__).resolve().parents[2]
GOLDEN = ROOT / "tests" / "golden"
EXAMPLES = ROOT / "examples"
MODULE = os.environ.get("OKT_EXAMPLE_MODULE", "")


@pytest.fixture
def golden():
    return GOLDEN


@pytest.fixture
def stirrup():
    return GOLDEN / "stirrup.okt"


@pytest.fixture
def damaged():
    return GOLDEN / "truncated.okt"


@pytest.fixture
def examples():
    return EXAMPLES


@pytest.fixture
def small():
    """A pool in millimetres with a category of two parameters."""
    pool = okt.Pool("Link", unit="mm")
    bend = pool.add(okt.Category("Bend"))
    for name, value in (("Cover", 35.0), ("Radius", 24.0)):
        parameter = pool.add(okt.Parameter(6, name, value))
        parameter.category = bend
        bend.parameters.append(parameter)
    return pool


@pytest.fixture(scope="session")
def client_module():
    if not MODULE:
        pytest.skip("the example of a client module is not built")
    okt.load_module(MODULE)
    return MODULE
