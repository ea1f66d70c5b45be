# SPDX-License-Identifier: MIT
import math
import sys
import uuid

import pytest

import oktdatabase as okt

numpy = pytest.importorskip("numpy")


@pytest.fixture
def mixed():
    pool = okt.Pool("Mixed", unit="mm")
    for value in (35.0, 7, True, "B500B", None):
        pool.add(okt.Parameter(6 if isinstance(value, float) else 4, f"P{value}", value))
    pool.add(okt.Category("No parameter"))
    return pool


def test_columns(mixed):
    table = mixed.table()
    parameters = mixed.parameters
    assert list(table) == ["id", "name", "type", "list_index", "kind", "value", "number", "is_length"]
    assert {len(column) for column in table.values()} == {5}
    assert list(table["id"]) == [each.id for each in parameters] == table["id"].tolist()
    assert table["id"][0] == parameters[0].id and table["id"][1:].tolist() == [each.id for each in parameters[1:]]
    for name in ("name", "type", "list_index", "kind", "value"):
        assert table[name].tolist() == [getattr(each, name) for each in parameters]
    assert [type(each) for each in table["value"]] == [type(each.value) for each in parameters]
    for each, number, is_length in zip(parameters, table["number"], table["is_length"]):
        if type(each.value) in (int, float):
            assert number == each.value
        else:
            assert math.isnan(number)
        assert is_length == (each.type == 6)
    assert (table["type"].dtype, table["number"].dtype, table["is_length"].dtype) == ("int32", "float64", "bool")


def test_columns_on_request(mixed):
    first = mixed.parameters[0]
    first.expression, first.description = "2 * D", "text \ud800"
    first.category = mixed.categories[0]
    table = mixed.table(["expression", "description", "category", "owner"])
    assert list(table) == ["expression", "description", "category", "owner"]
    assert table["expression"][0] == "2 * D" and table["description"][0] == "text \ud800"
    assert table["category"].tolist() == [mixed.categories[0].id, None, None, None, None]
    assert table["owner"].tolist() == [mixed.id] * 5
    assert mixed.table([]) == {}
    with pytest.raises(ValueError, match="there is no column 'weight'"):
        mixed.table(["weight"])


def test_columns_own_their_memory(mixed):
    table = mixed.table()
    names = table["name"].tolist()
    mixed.parameters[0].name = "Other"
    mixed.close()
    del mixed
    assert table["name"].tolist() == names
    assert table["number"].flags.owndata and table["value"].flags.owndata
    table["number"][:] = 1.0
    assert len(list(table["id"])) == 5


def test_columns_are_new_after_each_change(mixed):
    assert len(mixed.table()["id"]) == 5
    added = mixed.add(okt.Parameter(6, "New", 1.0))
    assert len(mixed.table()["id"]) == 6
    mixed.remove(added)
    assert len(mixed.table()["id"]) == 5
    mixed.erase(mixed.find("PNone"))
    assert len(mixed.table()["id"]) == 4
    fresh = okt.Pool()
    fresh.copy_from(mixed)
    assert len(fresh.table()["id"]) == 4


def test_lists_without_numpy(mixed, monkeypatch):
    monkeypatch.setitem(sys.modules, "numpy", None)
    table = mixed.table()
    parameters = mixed.parameters
    assert all(type(column) is list for column in table.values())
    assert table["id"] == [each.id for each in parameters]
    assert table["value"] == [each.value for each in parameters]
    assert table["is_length"] == [each.type == 6 for each in parameters]
    assert mixed.update(table) == 0


def test_update_by_id(mixed):
    table = mixed.table(["id", "name", "type", "list_index", "value", "number", "expression", "description"])
    assert mixed.update(table) == 0
    table["number"] *= 2
    assert mixed.update(table) == 2
    by_name = {each.name: each for each in mixed.parameters}
    assert by_name["P35.0"].value == 70.0
    assert by_name["P7"].value == 14 and by_name["P7"].kind == "VT_I4"
    assert by_name["PB500B"].value == "B500B"
    order = slice(None, None, -1)
    assert mixed.update({"id": table["id"].tolist()[order], "description": [f"row {i}" for i in range(5)]}) == 5
    assert mixed.parameters[-1].description == "row 0"
    first = mixed.parameters[0]
    assert mixed.update({"id": [first.id], "value": ["text"], "name": ["N"], "type": [3], "list_index": [2]}) == 1
    assert (first.value, first.name, first.type, first.list_index) == ("text", "N", 3, 2)


def test_update_that_is_refused_changes_nothing(mixed):
    keys = [each.id for each in mixed.parameters]
    before = [each.value for each in mixed.parameters]
    with pytest.raises(KeyError):
        mixed.update({"id": [*keys, uuid.uuid4()], "value": [1.0] * 6})
    with pytest.raises(KeyError):
        mixed.update({"id": [mixed.categories[0].id], "value": [1.0]})
    with pytest.raises(ValueError, match="'value' has 1 entries, 'id' has 5"):
        mixed.update({"id": keys, "value": [1.0]})
    with pytest.raises(ValueError, match="'id' is missing"):
        mixed.update({"value": [1.0]})
    assert [each.value for each in mixed.parameters] == before


def test_column_of_a_pool_with_replaced_objects(mixed):
    old = mixed.parameters[2]
    key = old.id
    mixed.replace(old, okt.Parameter(6, "Replaced", 12.0))
    table = mixed.table()
    assert table["name"].tolist()[table["id"].tolist().index(key)] == "Replaced"


def test_frame_and_table_over_files(tmp_path):
    for name, value in (("a", 30.0), ("b", 40.0)):
        pool = okt.Pool(name, unit="mm")
        pool.add(okt.Parameter(6, value=value))
        if name == "a":
            pool.add(okt.Parameter(4, value="B500B"))
        pool.save(tmp_path / f"{name}.okt")
    paths = [tmp_path / "a.okt", tmp_path / "b.okt"]
    rows = okt.table(paths, ["Cover", "Steel grade"])
    grade = okt.Parameter(4).name
    assert okt.table(paths, ["Cover", grade], unit="cm") == [
        {"file": str(paths[0]), "Cover": 3.0, grade: "B500B"},
        {"file": str(paths[1]), "Cover": 4.0, grade: None},
    ]
    assert [row["Cover"] for row in rows] == [30.0, 40.0]
    assert list(okt.table(paths)[1]) == list(okt.table(paths)[0])
    assert okt.table([]) == []
    pandas = pytest.importorskip("pandas")
    frame = okt.frame(paths, ["Cover"])
    assert isinstance(frame, pandas.DataFrame) and frame["Cover"].tolist() == [30.0, 40.0]
    with pytest.raises(ValueError, match="the unit is"):
        okt.table(paths, unit="km")
    with pytest.raises(FileNotFoundError):
        okt.table([tmp_path / "none.okt"])
    (tmp_path / "bad.okt").write_bytes(b"no pool at all")
    with pytest.raises(okt.FormatError, match="bad.okt"):
        okt.table([tmp_path / "bad.okt"])
