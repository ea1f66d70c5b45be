# SPDX-License-Identifier: MIT
import io
import logging
import shutil
import uuid
import warnings

import pytest

import oktdatabase as okt
from oktdatabase import _errors


def test_header_index_and_pictures(stirrup, tmp_path):
    header = okt.read_header(stirrup)
    pool = okt.Pool.open(stirrup)
    assert (header.id, header.name, header.factor) == (pool.id, pool.name, 1.0)
    assert header.pictures == pool.roles["pictures"]
    assert header.construct == pool.roles["construct"] and header.index == pool.roles["index"]
    pictures = okt.read_pictures(stirrup)
    assert [each.id for each in pictures] == header.pictures
    assert [each.data for each in pictures] == [pool[each].data for each in header.pictures]
    assert okt.read_index(stirrup) is None
    with open(stirrup, "rb") as file:
        assert okt.read_header(file) == header
    with open(stirrup, "rb") as file:
        assert [each.id for each in okt.read_pictures(file)] == header.pictures


def test_nothing_else_of_the_file_is_touched(stirrup, tmp_path):
    pool = okt.Pool("Pictures")
    pool.add(okt.Picture(b"image" * 1000))
    for i in range(1000):
        pool.add(okt.Parameter(6, value=float(i)))
    image = pool.to_bytes()
    data = bytearray(image)
    start = okt.unknown_objects(io.BytesIO(image))
    assert start == []
    path = tmp_path / "cut.okt"
    path.write_bytes(image)
    [picture] = okt.read_pictures(path)
    assert picture.data == b"image" * 1000 and len(picture.pool) == 1
    # What is behind the header may be anything for a reader of the header.
    path.write_bytes(bytes(data[:2048]) + bytes(len(data) - 2048))
    assert okt.read_header(path).name == "Pictures"
    with pytest.raises(okt.FormatError):
        okt.Pool.open(path)


def test_small_files_are_read_in_part_too(tmp_path):
    pool = okt.Pool()
    picture = pool.add(okt.Picture(b"x"))
    path = tmp_path / "small.okt"
    pool.save(path)
    assert path.stat().st_size < 1024
    assert okt.read_header(path).pictures == [picture.id]
    assert [each.data for each in okt.read_pictures(path)] == [b"x"]


def test_text_form(stirrup):
    text = okt.export_text(stirrup)
    assert okt.import_text(text) == stirrup.read_bytes()
    assert okt.import_text(io.StringIO(text)) == stirrup.read_bytes()
    with pytest.raises(okt.FormatError, match="text:1:2: no JSON"):
        okt.import_text("no text form")
    with pytest.raises(okt.FormatError):
        okt.export_text(io.BytesIO(b"no pool"))


def test_verify(small, damaged):
    assert okt.verify(io.BytesIO(small.to_bytes())) == []
    findings = okt.verify(damaged)
    error = next(each for each in findings if each.severity == "error")
    assert (error.code, error.offset) == ("object", 1595)
    assert error.message == "the file ends inside an OKTDbParameter that begins at byte 1358"
    assert {each.severity for each in findings} <= {"error", "warning", "info"}


def test_recover(damaged, small, tmp_path):
    out = tmp_path / "saved.okt"
    recovery = okt.recover(damaged, out)
    assert recovery.written and not recovery.is_whole
    assert len(okt.Pool.open(out)) == len(recovery.objects) > 0
    [loss] = [each for each in recovery.losses if each.is_object]
    assert (loss.begin, loss.why.offset, loss.why.severity) == (1358, 1595, "error")
    again = okt.recover(io.BytesIO(small.to_bytes()), out)
    assert again.is_whole and out.read_bytes() == small.to_bytes()
    nothing = okt.recover(io.BytesIO(b"no pool"), tmp_path / "nothing.okt")
    assert not nothing.written and not (tmp_path / "nothing.okt").exists()


def test_compare(small, tmp_path):
    old, new = tmp_path / "old.okt", tmp_path / "new.okt"
    small.save(old)
    cover = small.find("Cover")
    cover.value = 40.0
    small.erase(small.find("Radius"))
    small.find("Bend").parameters.clear()
    added = small.add(okt.Category("Added"))
    small.save(new)
    result = okt.compare(old, new)
    assert not result.is_same and result.same == 0
    assert [(each.class_name, each.name, each.id) for each in result.added] == [("OKTDbCategory", "Added", added.id)]
    assert [each.name for each in result.removed] == ["Radius"]
    assert {each.after.id for each in result.changed} == {cover.id, small.find("Bend").id}
    [change] = [each for each in result.changed if each.after.id == cover.id]
    assert [(each.before, each.after) for each in change.members] == [('{"variant":"VT_R8","double":0.035}', '{"variant":"VT_R8","double":0.04}')]
    assert okt.compare(old, old).is_same and okt.compare(old, old).same == 3
    small.clone(new_ids=True).save(tmp_path / "clone.okt")
    assert okt.compare(new, tmp_path / "clone.okt", by="name").added == []
    with pytest.raises(ValueError):
        okt.compare(old, new, by="size")


def test_unknown_class_is_named_and_read_by_records(golden, tmp_path):
    path = shutil.copy(golden / "unknown-class.okt", tmp_path)
    with pytest.raises(okt.FormatError, match="byte 760: .*OKTDbNobody"):
        okt.Pool.open(path)
    [unknown] = okt.unknown_objects(path)
    assert (unknown.class_name, unknown.offset) == ("OKTDbNobody", 760)
    assert isinstance(unknown.id, uuid.UUID) and isinstance(unknown.records, list)
    assert okt.unknown_objects(golden / "stirrup.okt") == []


def test_client_module(client_module, examples):
    [first, *_] = pools = okt.templates(examples / "data")
    assert len(pools) == 48
    [construct] = first.objects("OKTDbConstruct")
    [index] = first.objects("OKTDbIndexData")
    assert type(construct) is okt.ClientObject and construct.class_name == "OKTDbConstruct"
    assert construct.members["m_dfDiameter"] > 0
    assert index.members["m_strTitle"] == first.name
    assert index.members["m_nParameters"] == len(first.parameters)
    assert first.roles["construct"] == construct.id
    again = okt.Pool.from_bytes(first.to_bytes(), unit=first.unit_factor)
    assert again == first and again[index.id].members == index.members
    made = okt.new_object("OKTDbConstruct")
    assert first.replace(construct, made).members["m_dfDiameter"] == 0.0
    angle = okt.new_object("OKTDbAngleParameter")
    assert isinstance(angle, okt.Parameter) and angle.fields["m_dfMost"] == 360.0


def test_module_that_is_none(tmp_path):
    (tmp_path / "module.so").write_bytes(b"no library")
    with pytest.raises(okt.Error):
        okt.load_module(tmp_path / "module.so")
    with pytest.raises(FileNotFoundError):
        okt.load_module(tmp_path / "none.so")


def test_warnings_are_warnings_and_logged_and_silent(capfd, caplog):
    with warnings.catch_warnings():
        warnings.resetwarnings()
        warnings.simplefilter("error")
        with pytest.raises(okt.PoolWarning):
            _errors.tell_report("\n\\oktdbpool@1")
    with pytest.warns(okt.PoolWarning, match="oktdbpool@1"), caplog.at_level(logging.WARNING, "oktdatabase"):
        _errors.tell_report("\n\\oktdbpool@1")
    assert caplog.messages[-1] == "\\oktdbpool@1"
    assert capfd.readouterr().err == ""


def test_bar_records(examples, tmp_path):
    path = examples / "data" / "bar-records.bf2d"
    records = okt.bar_records(path)
    assert len(records) == len([line for line in path.read_text().splitlines() if line])
    assert all(sum(length for length, _ in each.legs) == pytest.approx(each.length) for each in records)
    with open(path) as file:
        assert okt.bar_records(file) == records
    wrong = tmp_path / "wrong.bf2d"
    wrong.write_text(path.read_text().splitlines()[0] + "\nBF2D@Hx@\n")
    with pytest.raises(okt.FormatError, match="wrong.bf2d:2:"):
        okt.bar_records(wrong)


def test_templates_and_drawings(examples, small, tmp_path):
    pools = okt.templates(examples / "data")
    names = [pool.file_name for pool in pools]
    assert "link-d12.okt" in names and len(names) == 48
    for pool in pools[:: len(pools) // 5]:
        svg = okt.draw(pool)
        assert isinstance(svg, bytes) and b"<svg " in svg and svg.rstrip().endswith(b"</svg>")
        assert pool.pictures[0].data.startswith(b"\x89PNG")
        assert "<img" in pool._repr_html_()
    with pytest.raises(okt.Error):
        okt.draw(small)
    with pytest.raises(FileNotFoundError):
        okt.templates(tmp_path / "none")
    with pytest.raises(okt.Error):
        okt.templates(tmp_path)
