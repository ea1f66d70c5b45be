# SPDX-License-Identifier: MIT
import copy
import io
import os
import pathlib
import pickle
import uuid

import pytest

import oktdatabase as okt

INCH = 39.370078740157481


@pytest.mark.parametrize(
    "unit, factor, name",
    [("m", 1.0, "m"), ("cm", 100.0, "cm"), ("mm", 1000.0, "mm"), ("in", INCH, "in"), (2.5, 2.5, "m/2.5")],
)
def test_unit_name_or_factor(unit, factor, name):
    pool = okt.Pool(unit=unit)
    assert pool.unit_factor == pytest.approx(factor, rel=1e-15)
    assert pool.unit == name


@pytest.mark.parametrize("unit", ["km", 0.0, -1.0, float("nan"), float("inf")])
def test_unit_that_is_none_is_refused(unit):
    with pytest.raises(ValueError):
        okt.Pool(unit=unit)


def test_empty_pool():
    pool = okt.Pool()
    assert (len(pool), list(pool), pool.name, pool.unit_factor) == (0, [], "", 1.0)
    assert isinstance(pool.id, uuid.UUID)
    assert pool.id != okt.Pool().id
    assert pool
    pool.name = "Link"
    assert pool.name == "Link"
    assert repr(pool) == "<Pool 'Link', 0 objects, in m>"


def test_mapping(small):
    objects = list(small)
    assert len(small) == 3
    assert [small[each.id] for each in objects] == objects
    assert objects == small.objects()
    assert [each.id.bytes_le for each in objects] == sorted(each.id.bytes_le for each in objects)
    assert all(each.id in small and each in small for each in objects)
    stranger = uuid.uuid4()
    assert stranger not in small
    assert small.get(stranger) is None
    with pytest.raises(KeyError) as missing:
        small[stranger]
    assert missing.value.args == (stranger,)
    with pytest.raises(TypeError):
        small["Cover"]


def test_objects_by_class_and_name(small):
    assert len(small.parameters) == 2
    assert [each.name for each in small.categories] == ["Bend"]
    assert (small.groups, small.relations, small.pictures) == ([], [], [])
    assert small.objects("OKTDbCategory") == small.categories == small.objects(okt.Category)
    assert small.objects(okt.Parameter, name="Cover") == [small.find("Cover")]
    assert small.objects(name="Bend") == small.categories
    assert small.objects(okt.Category, name="Cover") == []
    group = small.add(okt.GroupCategory())
    relation = small.add(okt.ParamRelation())
    plain = small.add(okt.Relation())
    picture = small.add(okt.Picture(b"x"))
    assert (small.groups, small.pictures) == ([group], [picture])
    assert set(small.relations) == {relation, plain}
    with pytest.raises(TypeError):
        small.objects(int)
    with pytest.raises(ValueError):
        small.objects("Thing")


def test_find_none_or_several(small):
    assert small.find("Cover").value == 35.0
    with pytest.raises(LookupError, match="no object has the name 'cover'"):
        small.find("cover")
    small.add(okt.Category("Cover"))
    with pytest.raises(LookupError, match="2 objects have the name 'Cover'"):
        small.find("Cover")


def test_save_and_open(small, tmp_path):
    path = tmp_path / "link.okt"
    small.save(path)
    assert path.read_bytes() == small.to_bytes()
    for form in (path, str(path), os.fsencode(path)):
        assert okt.Pool.open(form, unit="mm").find("Cover").value == 35.0
    with open(path, "rb") as file:
        assert okt.Pool.open(file).find("Cover").value == 0.035
    file = io.BytesIO()
    small.save(file)
    assert file.getvalue() == path.read_bytes()
    assert sorted(each.name for each in tmp_path.iterdir()) == ["link.okt"]


def test_image_is_the_same_in_every_unit(small):
    image = small.to_bytes()
    for unit in ("m", "mm", "in", "ft"):
        assert okt.Pool.from_bytes(image, unit=unit).to_bytes() == image
    assert okt.Pool.from_bytes(bytearray(image)).to_bytes() == image
    assert okt.Pool.from_bytes(memoryview(image)).to_bytes() == image
    assert okt.Pool.from_bytes(image, unit="in").find("Cover").value == pytest.approx(35 / 25.4)


def test_only_keeps_classes(small, tmp_path):
    path = tmp_path / "link.okt"
    small.save(path)
    assert len(okt.Pool.open(path, only=[okt.Category])) == 1
    assert len(okt.Pool.open(path, only=["OKTDbParameter"])) == 2
    assert len(okt.Pool.open(path, only=[okt.Parameter, okt.Category])) == 3
    assert len(okt.Pool.open(path, only=[okt.Object])) == 3
    assert len(okt.Pool.open(path, only=[])) == 0
    with open(path, "rb") as file:
        assert len(okt.Pool.open(file, only=[okt.Category])) == 1


def test_write_file_and_xml(small, tmp_path):
    path = tmp_path / "link.okt"
    assert small.write_file(path) is None
    assert path.read_bytes() == small.to_bytes()
    document = tmp_path / "link.xml"
    assert small.write_xml(document) is False
    assert document.read_bytes().startswith(b"<?xml")
    assert okt.Pool.open_xml(document, unit="mm").unit == "mm"
    assert okt.Pool("Empty").write_xml(tmp_path / "empty.xml") in (True, False)
    with pytest.raises(FileNotFoundError):
        okt.Pool.open_xml(tmp_path / "none.xml")
    with pytest.raises(okt.FormatError):
        okt.Pool.open_xml(path)
    with pytest.raises(OSError):
        small.write_xml(tmp_path)


def test_system_errors_have_number_and_name(small, tmp_path):
    missing = tmp_path / "none.okt"
    for call in (okt.Pool.open, okt.read_header, okt.verify, okt.export_text, okt.unknown_objects, okt.bar_records):
        with pytest.raises(FileNotFoundError) as error:
            call(missing)
        assert (error.value.errno, error.value.filename) == (2, str(missing))
    with pytest.raises(IsADirectoryError):
        okt.Pool.open(tmp_path)
    for call in (small.save, small.write_file):
        with pytest.raises(OSError) as error:
            call(tmp_path / "no" / "link.okt")
        assert (error.value.errno, error.value.filename) == (2, str(tmp_path / "no" / "link.okt"))
        with pytest.raises(IsADirectoryError):
            call(tmp_path)
    with pytest.raises(ValueError):
        okt.Pool.open("a\0b")
    with pytest.raises(TypeError):
        okt.Pool.open(3)


def test_name_of_a_file_that_is_no_utf8(small, tmp_path):
    name = os.fsencode(tmp_path) + b"/\xff.okt"
    with open(name, "wb") as file:
        small.save(file)
    assert len(okt.Pool.open(name)) == 3
    assert len(okt.Pool.open(os.fsdecode(name))) == 3
    assert okt.verify(name) == []
    with pytest.raises(OSError):
        small.save(name)


def test_name_that_is_a_hyphen_is_a_file(small, tmp_path, monkeypatch):
    monkeypatch.chdir(tmp_path)
    small.save("-")
    assert pathlib.Path("-").read_bytes() == small.to_bytes()
    assert len(okt.Pool.open("-")) == 3
    assert okt.read_header("-").name == "Link"


def test_what_no_file_can_hold_is_named_and_the_old_file_stays(small, tmp_path):
    import datetime

    path = tmp_path / "link.okt"
    small.save(path)
    before = path.read_bytes()
    cover = small.find("Cover")
    for value in (None, datetime.datetime(2026, 1, 2, 12), "x" * 65536):
        cover.value = value
        assert cover.value == value
        for call in (lambda: small.save(path), small.to_bytes, lambda: small.write_file(path)):
            with pytest.raises(okt.Error, match='OKTDbParameter "Cover"'):
                call()
        assert path.read_bytes() == before
    cover.value = "x" * 65535
    small.save(path)
    assert okt.Pool.open(path).find("Cover").value == "x" * 65535


def test_bytes_that_are_no_pool():
    with pytest.raises(okt.FormatError, match="bytes: byte 0: "):
        okt.Pool.from_bytes(b"PK\3\4 an archive")
    with pytest.raises(okt.FormatError):
        okt.Pool.from_bytes(b"")
    with pytest.raises(TypeError):
        okt.Pool.from_bytes("text")
    assert issubclass(okt.FormatError, ValueError)
    assert issubclass(okt.ObjectGone, ReferenceError)
    assert issubclass(okt.FormatError, okt.Error) and issubclass(okt.ObjectGone, okt.Error)


def test_clone(small):
    same = small.clone()
    assert same == small and same is not small
    assert [each.id for each in same] == [each.id for each in small]
    fresh = small.clone(new_ids=True)
    assert len(fresh) == 3 and fresh.unit == "mm"
    assert not {each.id for each in fresh} & {each.id for each in small}
    assert [each.name for each in fresh.categories[0].parameters] == ["Cover", "Radius"]
    assert fresh.to_bytes() == fresh.to_bytes()
    assert small.clone() == small
    same.find("Cover").value = 1.0
    assert same != small


def test_copy_from(small):
    other = okt.Pool("Other", unit="in")
    added = other.add(okt.Category("Own"))
    other.copy_from(small)
    assert len(other) == 4 and added in other
    assert other.find("Cover").value == 35.0
    assert (other.unit, other.id) == ("mm", small.id)
    with pytest.raises(okt.Error):
        other.copy_from(small)
    with pytest.raises(ValueError):
        other.copy_from(other)


def test_pickle_and_copies(small):
    for copied in (pickle.loads(pickle.dumps(small)), copy.deepcopy(small)):
        assert copied == small and copied is not small
        assert (copied.id, copied.unit, type(copied)) == (small.id, "mm", okt.Pool)
    cover = small.find("Cover")
    pool, again = pickle.loads(pickle.dumps((small, cover)))
    assert again.pool is pool and again.id == cover.id and again.value == 35.0
    pool, again = copy.deepcopy((small, cover))
    assert again.pool is pool and again.pool is not small
    assert copy.copy(cover) == cover
    loose = okt.Parameter(6, "Loose", 12.5)
    for copied in (pickle.loads(pickle.dumps(loose)), copy.deepcopy(loose), copy.copy(loose)):
        assert (copied.name, copied.value, copied.pool) == ("Loose", 12.5, None)
        assert copied != loose
    with pytest.raises(okt.Error):
        pickle.dumps(okt.Parameter(6, "None"))


def test_equal_by_contents(small):
    other = okt.Pool.from_bytes(small.to_bytes(), unit="in")
    assert other == small
    other.name = "Other"
    assert other != small
    assert small != "pool" and small != okt.Pool()
    with pytest.raises(TypeError):
        hash(small)
    # What no file can hold is compared, too.
    one, two = small.clone(), small.clone()
    for each in (one, two):
        each.find("Cover").value = None
    assert one == two
    two.find("Radius").value = 1.0
    assert one != two


def test_with_closes(small):
    with small as pool:
        assert pool is small and not pool.closed
    assert small.closed
    small.close()
    for call in (len, list, okt.Pool.to_bytes, lambda pool: pool.name, lambda pool: pool.add(okt.Category())):
        with pytest.raises(okt.Error, match="the pool is closed"):
            call(small)
    assert repr(small) == "<Pool, closed>"
    with pytest.raises(ZeroDivisionError):
        with okt.Pool() as other:
            1 / 0
    assert other.closed


def test_roles(small):
    picture = small.add(okt.Picture(b"x"))
    assert small.roles == {
        "construct": None,
        "index": None,
        "sketch": None,
        "actions": None,
        "radial": None,
        "pictures": [picture.id],
    }


def test_notebook_display(small):
    small.add(okt.Picture(b"\x89PNG\r\n"))
    small.find("Cover").description = "<b>"
    small.name = "<script>"
    html = small._repr_html_()
    assert "data:image/png;base64,iVBORw0K" in html
    assert "<td>Cover</td><td>35</td><td>mm</td>" in html
    assert "<script>" not in html and "&lt;script&gt;" in html
    assert "<td>m_strDescription</td><td>&lt;b&gt;</td>" in small.find("Cover")._repr_html_()
    small.close()
    assert "closed" in small._repr_html_()
