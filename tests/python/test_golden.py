# SPDX-License-Identifier: MIT
"""The golden files: read and written as the library does it."""

import hashlib
import json
import struct

import pytest
from conftest import GOLDEN

import oktdatabase as okt

NAMES = sorted(each.stem for each in GOLDEN.glob("*.json"))


def cases(name, operation):
    """The cases of a file for an operation that need no classes of the tests of C++."""
    known = json.loads((GOLDEN / f"{name}.json").read_text())
    if known.get("clients"):
        return known, []
    return known, [each for each in known["cases"] if each["operation"] == operation]


def written(pool, case, data):
    """What a save gives is what is known of it."""
    image = pool.to_bytes()
    again = case["writeFileAgain"]
    assert len(image) == again["size"]
    assert hashlib.sha256(image).hexdigest() == again["sha256"]
    assert (image == data) == again["identical"]


@pytest.mark.parametrize("name", NAMES)
def test_read_and_written_as_known(name, tmp_path):
    known, found = cases(name, "readFile")
    path = GOLDEN / known["file"]
    data = path.read_bytes()
    for case in found:
        [factor] = struct.unpack(">d", bytes.fromhex(case["metricsFactorBefore"]))
        only = case.get("readFilter")
        if not case["result"]:
            with pytest.raises(okt.FormatError, match=f"{name}.okt: "):
                okt.Pool.open(path, unit=factor, only=only)
            with pytest.raises(okt.FormatError, match="^bytes: "):
                okt.Pool.from_bytes(data, unit=factor)
            continue
        pool = okt.Pool.open(path, unit=factor, only=only)
        assert [f"{{{str(each.id).upper()}}}" for each in pool] == [each["id"] for each in case["objects"]]
        assert [each.class_name for each in pool] == [each["class"] for each in case["objects"]]
        assert pool.unit_factor == factor
        if "writeFileAgain" in case:
            written(pool, case, data)
            pool.save(tmp_path / "again.okt")
            assert (tmp_path / "again.okt").read_bytes() == pool.to_bytes()
            if only is None:
                written(okt.Pool.from_bytes(data, unit=factor), case, data)
    assert found or known.get("clients")


def test_all_are_there():
    assert len(NAMES) >= 20
    tried = [name for name in NAMES if cases(name, "readFile")[1]]
    assert len(tried) >= 15
