# SPDX-License-Identifier: MIT
"""Rules and functions over collections: what is written, when, and how often."""

import hashlib
import json
import os
import shutil
import subprocess
import sys

import pytest
from collectionfiles import OKT, fill, run

import oktdatabase as okt
from oktdatabase import _apply, _paths, collection

FUNCTIONS = '''
import oktdatabase as okt

def deeper(pool):
    """One millimetre more, each time."""
    cover = pool.find("Cover")
    cover.value += 1.0

def nothing(pool):
    for parameter in pool.parameters:
        parameter.value = parameter.value

def refuses(pool):
    pool.find("Cover").value = 99.0
    return False

def breaks(pool):
    raise RuntimeError("no such bar\\nat all")

def dices(pool):
    import random
    pool.find("Cover").value = random.random()
'''


@pytest.fixture
def files(tmp_path):
    return fill(tmp_path / "files", 12)


@pytest.fixture
def functions(tmp_path, monkeypatch):
    (tmp_path / "rules_for_tests.py").write_text(FUNCTIONS)
    monkeypatch.syspath_prepend(tmp_path)
    sys.modules.pop("rules_for_tests", None)
    return tmp_path


def digests(folder):
    return {path: hashlib.sha256(path.read_bytes()).hexdigest() for path in sorted(folder.rglob("*.okt"))}


def covers(folder):
    return [row["Cover"] for row in okt.table(sorted(folder.rglob("*.okt")), ["Cover"])]


@pytest.mark.skipif(not OKT.is_file(), reason="okt is not built")
def test_values_give_what_okt_set_gives(files, tmp_path):
    other = tmp_path / "other"
    shutil.copytree(files, other)
    where = "Diameter>=12 mm"
    done = subprocess.run([OKT, "set", other, "--where", where, "-q", "-v", "Cover=55 mm"], capture_output=True, text=True)
    assert done.returncode == 0, done.stderr
    applied = collection.apply([files], tmp_path / "journal", values=["Cover=55 mm"], where=where, shard_files=5)
    assert f"{applied.changed + applied.same} templates: {applied.changed} changed" in done.stdout
    assert applied.changed > 0 and applied.not_meant > 0 and not applied.failed
    assert list(digests(files).values()) == list(digests(other).values())


def test_a_dry_run_tells_and_writes_nothing(files, tmp_path):
    before = digests(files)
    done = run("apply", files, "-o", tmp_path / "journal", "-v", "Cover=61.5 mm", "--dry-run")
    assert (done.returncode, done.stderr) == (0, "")
    lines = done.stdout.splitlines()
    assert lines[-1] == "12 files would change"
    assert lines[0] == f"{files}/d000/00000.okt:"
    assert lines[1] == "  Cover: 38.1 mm -> 61.5 mm"
    assert digests(files) == before
    done = run("apply", files, "-o", tmp_path / "journal", "-v", "Cover=61.5 mm")
    assert (done.returncode, done.stdout) == (0, "12 files changed\n")
    assert covers(files) == [61.5] * 12


def test_a_second_run_changes_nothing(files, tmp_path):
    for expected in ("12 files changed\n", "0 files changed, 12 done before\n", "0 files changed, 12 done before\n"):
        times = [path.stat().st_mtime_ns for path in sorted(files.rglob("*.okt"))]
        done = run("apply", files, "-o", tmp_path / "journal", "-v", "Cover=61.5 mm", "--shard-files", 5)
        assert (done.returncode, done.stdout, done.stderr) == (0, expected, "")
    assert [path.stat().st_mtime_ns for path in sorted(files.rglob("*.okt"))] == times
    done = run("apply", files, "-o", tmp_path / "elsewhere", "-v", "Cover=61.5 mm")
    assert done.stdout == "0 files changed, 12 so already\n"


def test_the_journal_in_words(files, tmp_path):
    before = digests(files)
    collection.apply([files], tmp_path / "journal", values=["Cover=61.5 mm"], shard_files=5)
    after = digests(files)
    found = list(collection.changes(tmp_path / "journal"))
    assert {line["path"]: (line["before"], line["after"]) for line in found} == {
        str(path): (before[path], after[path]) for path in before
    }
    assert len(list((tmp_path / "journal" / "journal").glob("part-*.jsonl"))) == 3
    assert len(list((tmp_path / "journal" / "done").glob("part-*.jsonl"))) == 3
    state = json.loads((tmp_path / "journal" / "apply.json").read_text())
    assert state["state"] == "done"
    assert state["rules"] == {"values": ["Cover=61.5 mm"], "where": None, "unit": None, "function": None}


def test_a_function_is_called_once_for_each_file(files, functions, tmp_path):
    before = covers(files)
    for changed, done_before in ((12, 0), (0, 12)):
        applied = collection.apply([files], tmp_path / "j", function="rules_for_tests:deeper", unit="mm", shard_files=5)
        assert (applied.changed, applied.done_before, applied.failed) == (changed, done_before, [])
        assert covers(files) == pytest.approx([value + 1 for value in before])
    # A file that somebody has touched since is a new one, and so is one that has come.
    pool = okt.Pool.open(files / "d000" / "00003.okt", "mm")
    pool.find("Cover").value = 10.0
    pool.save(files / "d000" / "00003.okt")
    shutil.copy(files / "d000" / "00004.okt", files / "d000" / "00003b.okt")
    applied = collection.apply([files], tmp_path / "j", function="rules_for_tests:deeper", unit="mm", shard_files=5)
    assert (applied.changed, applied.done_before) == (2, 11)
    found = covers(files)
    assert found[3] == pytest.approx(11.0) and found[4] == pytest.approx(before[4] + 2)
    applied = collection.apply([files], tmp_path / "j", function="rules_for_tests:deeper", unit="mm", shard_files=5)
    assert (applied.changed, applied.done_before) == (0, 13)
    assert len(list((tmp_path / "j" / "journal").glob("part-*.jsonl"))) == 4


def test_what_a_function_may_do(files, functions, tmp_path):
    before = digests(files)
    for name, failed in (("nothing", 0), ("refuses", 0), ("breaks", 12)):
        applied = collection.apply([files], tmp_path / name, function=f"rules_for_tests:{name}")
        assert (applied.changed, len(applied.failed)) == (0, failed), name
    assert applied.failed[0] == (str(files / "d000" / "00000.okt"), "RuntimeError: no such bar at all")
    assert digests(files) == before
    applied = collection.apply([files], tmp_path / "dices", function="rules_for_tests:dices")
    assert applied.changed == 0 and len(applied.failed) == 12
    assert applied.failed[0][1] == (
        "the same bytes do not give what they gave when they were checked; the file is left as it is"
    )
    assert digests(files) == before


def test_a_function_in_processes_and_from_a_shell(files, functions, tmp_path):
    before = covers(files)
    arguments = ("apply", files, "-o", tmp_path / "j", "--function", "rules_for_tests:deeper", "--unit", "mm")
    done = run(*arguments, "--dry-run", cwd=functions)
    assert done.stdout.splitlines()[-1] == "12 files would change", done.stderr
    before_text, after_text = '{"variant":"VT_R8","double":0.0381}', '{"variant":"VT_R8","double":0.0391}'
    assert done.stdout.splitlines()[1] == f"  Cover: varConverted: {before_text} -> {after_text}"
    done = run(*arguments, "--processes", "--workers", 2, "--shard-files", 5, cwd=functions)
    assert (done.returncode, done.stdout, done.stderr) == (0, "12 files changed\n", "")
    assert covers(files) == pytest.approx([value + 1 for value in before])


def test_damaged_files_are_named_and_the_others_written(tmp_path):
    files = fill(tmp_path / "files", 100, damaged=100)
    done = run("apply", files, "-o", tmp_path / "j", "-v", "Cover=61.5 mm", "--shard-files", 30)
    assert done.returncode == 1
    assert done.stdout == "99 files changed, 1 failed\n"
    [line] = done.stderr.splitlines()
    assert line.startswith(f"okt: {files}/d000/00050.okt: byte ")


def test_a_file_that_changes_after_the_check_is_left(files, tmp_path, monkeypatch):
    path = files / "d000" / "00005.okt"
    write = _apply.write_shard

    def changed_meanwhile(job, name):
        path.write_bytes(path.read_bytes() + b"\0")
        return write(job, name)

    monkeypatch.setattr(_apply, "write_shard", changed_meanwhile)
    applied = collection.apply([files], tmp_path / "j", values=["Cover=61.5 mm"], workers=1)
    assert applied.changed == 11
    assert applied.failed == [(str(path), "the file has changed since it was checked; it is left as it is")]
    assert path.read_bytes()[-1] == 0 and covers(files)[5] != 61.5


def test_an_interrupted_run_goes_on_where_it_was(files, functions, tmp_path, monkeypatch):
    before = covers(files)
    save = _paths.save_bytes
    left = [7]

    def stops(data, path):
        if not left[0]:
            raise KeyboardInterrupt
        left[0] -= 1
        save(data, path)

    arguments = {"function": "rules_for_tests:deeper", "unit": "mm", "shard_files": 5, "workers": 1}
    monkeypatch.setattr(_paths, "save_bytes", stops)
    with pytest.raises(KeyboardInterrupt):
        collection.apply([files], tmp_path / "j", **arguments)
    monkeypatch.undo()
    sys.path.insert(0, str(functions))
    try:
        with pytest.raises(okt.Error, match="interrupted while it wrote; the same call without a dry run ends it"):
            collection.apply([files], tmp_path / "j", dry_run=True, **arguments)
        with pytest.raises(okt.Error, match="the journal there is of other rules; name another folder"):
            collection.apply([files], tmp_path / "j", values=["Cover=1 mm"])
        applied = collection.apply([files], tmp_path / "j", **arguments)
        assert (applied.changed, applied.failed) == (12, [])
        assert covers(files) == pytest.approx([value + 1 for value in before])
        assert collection.apply([files], tmp_path / "j", **arguments).changed == 0
    finally:
        sys.path.remove(str(functions))


def test_a_save_that_fails_is_named(files, tmp_path):
    path = files / "d000" / "00002.okt"
    os.link(path, tmp_path / "second-name")
    applied = collection.apply([files], tmp_path / "j", values=["Cover=61.5 mm"])
    assert applied.changed == 11
    [(name, reason)] = applied.failed
    assert name == str(path)
    assert "the file has further names (hard links)" in reason and str(path) not in reason


def test_rules_that_are_refused(tmp_path, functions):
    for arguments, message in (
        ({}, "there are either values or a function"),
        ({"values": ["a=1"], "function": "a:b"}, "there are either values or a function"),
        ({"values": ["Cover"]}, '"Cover" is no NAME=VALUE'),
        ({"values": ["a=1"], "where": "Cover<"}, "where, column 7: "),
        ({"function": "rules_for_tests"}, "a function is told as module:function, not as 'rules_for_tests'"),
        ({"function": "rules_for_tests:gone"}, "rules_for_tests has no function gone"),
        ({"function": "rules_for_tests:deeper", "where": "Cover"}, "a condition goes with values"),
    ):
        with pytest.raises(ValueError) as refused:
            collection.apply([tmp_path], tmp_path / "j", **arguments)
        assert message in str(refused.value)
    with pytest.raises(ImportError):
        collection.apply([tmp_path], tmp_path / "j", function="no_such_module_here:f")
    assert not (tmp_path / "j").exists()
