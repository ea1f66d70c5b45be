# SPDX-License-Identifier: MIT
"""Collections: what is catalogued, what stays, what is said."""

import json
import os
import pathlib
import shutil
import sqlite3
import subprocess
import sys

import pytest
from collectionfiles import OKT, fill, run, tree
from conftest import GOLDEN

import oktdatabase as okt
from oktdatabase import _engine, _listing, _okt, collection

needs_okt = pytest.mark.skipif(not OKT.is_file(), reason="okt is not built")


@pytest.fixture(scope="session")
def many(tmp_path_factory):
    """Whole, damaged, empty and foreign files, and some that nobody means."""
    folder = tmp_path_factory.mktemp("many")
    fill(folder, 150, damaged=50)
    golden = folder / "golden"
    golden.mkdir()
    for path in GOLDEN.glob("*.okt"):
        shutil.copy(path, golden)
    (folder / "empty.okt").write_bytes(b"")
    (folder / "foreign.okt").write_bytes(b"%PDF-1.4 no pool")
    (folder / "nameless").write_bytes((GOLDEN / "stirrup.okt").read_bytes())
    (folder / "old.okt.bak").write_bytes(b"left out")
    (folder / "d000" / ".oktignore").write_text("00007.okt\n")
    return folder


def all_rows(out):
    return {table: list(collection.rows(out, table)) for table in _okt.catalog_tables}


@needs_okt
def test_the_rows_are_those_of_a_catalogue(many, tmp_path):
    store = tmp_path / "store.okc"
    alone = shutil.copy(OKT, tmp_path)  # where it finds no client modules, whose paths are told in findings
    done = subprocess.run([alone, "catalog", "update", store, many], capture_output=True, text=True)
    assert done.returncode == 0, done.stderr
    collection.catalog([many], tmp_path / "out", shard_files=20)
    connection = sqlite3.connect(store)
    connection.row_factory = sqlite3.Row
    paths = dict(connection.execute("SELECT id, path FROM file"))
    ours = all_rows(tmp_path / "out")
    numbers = {row["id"]: row["path"] for row in ours["file"]}
    assert len(numbers) == len(paths) and len(paths) > 160
    endless = set()
    for table, rows in ours.items():
        place = {"file": "1", "parameter": "number_in_file", "words": "1"}.get(table, "number")
        theirs = {}
        for row in connection.execute(f"SELECT * FROM {table} ORDER BY {place}"):
            fields = dict(row)
            key = paths[fields.pop("id" if table == "file" else "file")]
            fields.pop("looked_ns", None)
            if fields.get("number") in (float("inf"), float("-inf")):
                fields["number"] = None  # JSON has no word for it
                endless.add(pathlib.Path(key).name)
            theirs.setdefault(key, []).append(fields)
        found = {}
        for row in rows:
            found.setdefault(numbers[row.pop("id" if table == "file" else "file")], []).append(row)
        assert found == theirs, table
    assert endless == {"value-kinds.okt"}
    assert {row["state"] for row in ours["file"]} == {"whole", "damaged", "foreign"}


def test_rows_of_a_pool_in_words(tmp_path):
    pool = okt.Pool("Link", unit="mm")
    cover = pool.add(okt.Parameter(6, "Cover", 35.0))
    cover.description = 'of "concrete"\n\x01'
    files = tmp_path / "files"
    files.mkdir()
    pool.save(files / "link.okt")
    os.utime(files / "link.okt", ns=(1_700_000_000_000_000_000,) * 2)
    collection.catalog([files], tmp_path / "out")
    [part] = collection.parts(tmp_path / "out", "parameter")
    path = str(files / "link.okt")
    number = _listing.number_of(path)
    braces = "{%s}" % str(cover.id).upper()
    owner = "{%s}" % str(pool.id).upper()
    assert part.read_bytes() == (
        f'{{"file":{number},"number_in_file":0,"object_id":"{braces}","category":null,"owner":"{owner}",'
        '"name":"Cover","type":6,"type_name":"Cover","list_index":0,"list_code":"","kind":"VT_R8","number":0.035,'
        '"text":null,"is_length":1,"expression":"","description":"of \\"concrete\\"\\n\\u0001","kind_number":5,'
        '"place":0}\n'
    ).encode()
    [row] = collection.rows(tmp_path / "out", "file")
    assert (row["id"], row["path"], row["modified_ns"]) == (number, path, 1_700_000_000_000_000_000)
    assert (row["pool_name"], row["objects"], row["state"]) == ("Link", 1, "whole")


def test_the_number_of_a_file_is_that_of_its_path():
    assert _listing.number_of("/a/b.okt") == 3295211082169118145


def test_two_files_with_one_number_are_refused(monkeypatch):
    monkeypatch.setattr(_listing, "number_of", lambda path: 7)
    numbers = _listing.Numbers()
    numbers.add("/a")
    numbers.check()
    numbers.add("/b")
    with pytest.raises(okt.Error, match="two files have the same number"):
        numbers.check()


# --- shards ---------------------------------------------------------------------------------------------------------------------


def listed(count, size=1000):
    return [_listing.File(f"/files/{i:06}.okt", size, 5) for i in range(count)]


def test_a_shard_takes_so_many_files():
    sizes = [len(shard) for shard in _listing.shards_of(listed(25), 10)]
    assert sizes == [10, 10, 5]


def test_a_shard_takes_no_more_than_128_megabytes():
    sizes = [len(shard) for shard in _listing.shards_of(listed(7, 50_000_000), 10)]
    assert sizes == [2, 2, 2, 1]
    assert [len(shard) for shard in _listing.shards_of(listed(2, 500_000_000), 10)] == [1, 1]


@pytest.mark.parametrize("size", (1000, 400_000))
def test_a_new_file_changes_two_shards_at_most(size):
    before = listed(20_000, size)
    after = sorted([*before, _listing.File("/files/000100b.okt", size, 5)])
    old = {_listing.shard_name(shard) for shard in _listing.shards_of(before, 1000)}
    new = {_listing.shard_name(shard) for shard in _listing.shards_of(after, 1000)}
    assert len(old) >= 20 and len(new - old) <= 2
    assert max(len(shard) for shard in _listing.shards_of(before, 1000)) <= 1000


def test_the_name_of_a_shard_tells_path_size_and_time():
    file = _listing.File("/a.okt", 10, 20)
    names = {
        _listing.shard_name([each])
        for each in (file, file._replace(path="/b.okt"), file._replace(size=11), file._replace(modified_ns=21))
    }
    assert len(names) == 4
    assert _listing.shard_name([file]) == "947dbeb02fb83899b4ce56578317eb03"


def test_folders_in_each_other_give_each_file_once(many, tmp_path):
    inner = many / "golden"
    for folders in ([many, inner], [inner, many, many]):
        faults = []
        found = list(_listing.files_of(_listing.roots_of(folders), faults.append))
        assert len(found) == len({file.path for file in found})
        assert found == list(_listing.files_of(_listing.roots_of([many]), faults.append)) and not faults


def test_the_order_of_files_is_that_of_their_names(tmp_path):
    for name in ("b.okt", "a/z.okt", "a.okt", "a/a.okt", "a-b/c.okt"):
        path = tmp_path / name
        path.parent.mkdir(exist_ok=True)
        path.write_bytes(b"")
    found = [file.path for file in _listing.files_of([str(tmp_path)], print)]
    assert [path[len(str(tmp_path)) + 1 :] for path in found] == [
        "a/a.okt", "a/z.okt", "a-b/c.okt", "a.okt", "b.okt"]  # fmt: skip
    assert sorted(found, key=_listing.order_of) == found


# --- the same result, and what stays ----------------------------------------------------------------------------------------------


def test_workers_of_any_kind_write_the_same_bytes(many, tmp_path):
    collection.catalog([many], tmp_path / "one", workers=1, shard_files=10)
    collection.catalog([many], tmp_path / "four", workers=4, shard_files=10)
    assert run("catalog", many, "-o", tmp_path / "own", "--processes", "--workers", 2, "--shard-files", 10).returncode == 0
    first = tree(tmp_path / "one")
    assert len(first) > 100
    assert tree(tmp_path / "four") == first
    assert tree(tmp_path / "own") == first


def test_a_shard_that_exists_is_not_made_again(many, tmp_path):
    out = tmp_path / "out"
    collection.catalog([many], out, shard_files=10)
    before = {path: path.stat().st_ino for path in out.rglob("part-*")}
    collection.catalog([many], out, shard_files=10)
    assert {path: path.stat().st_ino for path in out.rglob("part-*")} == before
    [victim, *_] = collection.parts(out, "object")
    whole = victim.read_bytes()
    victim.write_bytes(whole[:-1])
    collection.catalog([many], out, shard_files=10)
    assert victim.read_bytes() == whole


def test_parts_that_the_manifest_does_not_name_are_swept(tmp_path):
    files = fill(tmp_path / "files", 30)
    out = tmp_path / "out"
    collection.catalog([files], out, shard_files=10)
    old = collection.parts(out, "file")
    (out / "file" / ".part-x.jsonl.1-2-3.new").write_bytes(b"left by a killed worker")
    (out / "file" / "mine.txt").write_text("not ours")
    (files / "d000" / "00003.okt").unlink()
    collection.catalog([files], out, shard_files=10)
    new = collection.parts(out, "file")
    assert len(new) == 3 and not set(new) & set(old)
    assert sorted(path.name for path in (out / "file").iterdir()) == sorted(["mine.txt", *(path.name for path in new)])
    assert len(list(collection.rows(out, "file"))) == 29


def test_the_old_manifest_stays_until_the_new_one_is_whole(tmp_path, monkeypatch):
    files = fill(tmp_path / "files", 30)
    out = tmp_path / "out"
    collection.catalog([files], out, shard_files=10)
    before = (out / "manifest.json").read_bytes()
    (files / "d000" / "00003.okt").unlink()
    from oktdatabase import _shards

    def full(path, data):
        if "/shard/" not in path:
            raise OSError(28, "No space left on device", path)
        put(path, data)

    put = _shards.put
    monkeypatch.setattr(collection, "put", full)
    with pytest.raises(OSError, match="No space left"):
        collection.catalog([files], out, shard_files=10)
    assert (out / "manifest.json").read_bytes() == before
    assert len(list(collection.rows(out, "file"))) == 30


def test_the_manifest_in_words(tmp_path):
    files = fill(tmp_path / "files", 4, damaged=4)
    collection.catalog([files], tmp_path / "out", shard_files=3)
    manifest = json.loads((tmp_path / "out" / "manifest.json").read_text())
    assert (manifest["kind"], manifest["layout"], manifest["format"]) == ("catalog", 1, "jsonl")
    assert manifest["folders"] == [str(files)]
    assert (manifest["files"], manifest["unread"]) == (4, 0)
    assert manifest["states"] == {"damaged": 1, "whole": 3}
    assert [shard["files"] for shard in manifest["shards"]] == [3, 1]
    assert list(manifest["tables"]) == ["file", "object", "parameter", "reference", "picture", "finding", "words"]
    for table, columns in manifest["tables"].items():
        for row in collection.rows(tmp_path / "out", table):
            assert list(row) == list(columns), table
            for name, value in row.items():
                kinds = {"BIGINT": int, "DOUBLE PRECISION": (int, float), "TEXT": str}
                assert value is None or isinstance(value, kinds[columns[name]]), (table, name)
    assert manifest["tables"]["finding"] == {
        "file": "BIGINT", "number": "BIGINT", "code": "TEXT", "severity": "TEXT", "offset": "BIGINT", "object_id": "TEXT",
        "message": "TEXT"}  # fmt: skip


def test_a_folder_that_cannot_be_read_changes_nothing(many, tmp_path, monkeypatch):
    out = tmp_path / "out"
    collection.catalog([many], out)
    before = (out / "manifest.json").read_bytes()

    class Faulty:
        def __init__(self, folder):
            pass

        def next(self, most):
            return [], [f"{many}/d000: the folder cannot be read: Input/output error"]

    monkeypatch.setattr(_okt, "FolderFiles", Faulty)
    with pytest.raises(okt.Error, match="Input/output error; what was known stays as it is"):
        collection.catalog([many], out)
    assert (out / "manifest.json").read_bytes() == before


def test_files_that_cannot_be_read_are_named_and_tried_again(tmp_path, monkeypatch):
    files = fill(tmp_path / "files", 5)
    bad = os.fsencode(files) + b"/\xff.okt"
    with open(bad, "wb"):
        pass
    out = tmp_path / "out"
    done = run("catalog", files, "-o", out)
    assert done.returncode == 1
    assert done.stderr == f"okt: {files}/\N{REPLACEMENT CHARACTER}.okt: the name of the file is no UTF-8\n"
    assert done.stdout == "5 files in 1 shard; 1 not read\n"
    os.unlink(bad)
    real = _listing.files_of

    def listed_before(roots, on_fault):
        for file in real(roots, on_fault):
            yield file._replace(modified_ns=1) if file.path.endswith("00002.okt") else file

    monkeypatch.setattr(collection, "files_of", listed_before)
    outcome = collection.catalog([files], out)
    path = str(files / "d000" / "00002.okt")
    assert outcome.unread == [(path, "the file has changed since its folder was looked through")]
    assert path not in {row["path"] for row in collection.rows(out, "file")}
    monkeypatch.undo()
    assert collection.catalog([files], out).unread == []
    assert len(list(collection.rows(out, "file"))) == 5


def test_one_damaged_file_in_a_hundred_is_named_and_stops_nothing(tmp_path):
    files = fill(tmp_path / "files", 300, damaged=100)
    outcome = collection.catalog([files], tmp_path / "out", shard_files=50)
    names = [pathlib.Path(path).name for path, _ in outcome.damaged]
    assert names == ["00050.okt", "00150.okt", "00250.okt"]
    assert outcome.states == {"damaged": 3, "whole": 297} and outcome.files == 300
    errors = {row["file"]: row for row in collection.rows(tmp_path / "out", "finding") if row["severity"] == "error"}
    for path, reason in outcome.damaged:
        assert _listing.number_of(path) in errors
        assert reason.startswith("byte ") and len(reason) > 20


def test_two_runs_do_not_write_to_one_folder(many, tmp_path):
    import fcntl

    out = tmp_path / "out"
    collection.catalog([many], out)
    with open(out / ".lock", "wb") as lock:
        fcntl.flock(lock, fcntl.LOCK_EX)
        done = run("catalog", many, "-o", out)
    assert (done.returncode, done.stderr) == (1, f"okt: {out}: another run is at work there\n")
    done = run("verify", many, "-o", out)
    assert done.returncode == 1
    assert done.stderr == f"okt: {out}: the folder holds what another kind of run has made; name one of its own\n"


def test_a_shard_that_kills_every_worker_ends_the_run(monkeypatch):
    monkeypatch.setattr(_engine, "_TRIES", 2)
    with _engine.engine(None, 1, True) as run_on, pytest.raises(okt.Error) as ended:
        list(run_on(os._exit, iter([(6, (9,))])))
    assert str(ended.value).startswith("shard 7: 2 workers have died over it, one after the other: ")


# --- the command ----------------------------------------------------------------------------------------------------------------


def test_what_the_command_says(tmp_path):
    files = fill(tmp_path / "files", 3)
    (files / "empty.okt").write_bytes(b"")
    done = run("verify", files, "-o", tmp_path / "found")
    assert (done.returncode, done.stderr) == (1, "")
    assert done.stdout == f"{files}/empty.okt: byte 0: the file is empty\n4 files in 1 shard: 1 damaged\n"
    assert sorted(path.name for path in (tmp_path / "found").iterdir() if path.is_dir()) == ["file", "finding", "shard"]
    done = run("catalog", files, "-o", tmp_path / "rows", "--shard-files", 2)
    assert (done.returncode, done.stdout, done.stderr) == (0, "4 files in 2 shards: 1 damaged\n", "")
    done = run("parts", tmp_path / "rows", "finding")
    assert done.stdout.splitlines() == [str(path) for path in collection.parts(tmp_path / "rows", "finding")]
    assert len(done.stdout.splitlines()) == 2


def test_what_is_refused(tmp_path):
    done = run("catalog", tmp_path / "missing", "-o", tmp_path / "out")
    assert (done.returncode, done.stderr) == (1, f"okt: {tmp_path}/missing: No such file or directory\n")
    (tmp_path / "file").write_bytes(b"")
    done = run("catalog", tmp_path / "file", "-o", tmp_path / "out")
    assert (done.returncode, done.stderr) == (1, f"okt: {tmp_path}/file: this is no folder\n")
    done = run("parts", tmp_path, "file")
    assert (done.returncode, done.stderr) == (1, f"okt: {tmp_path}/manifest.json: there is no manifest\n")
    assert run("catalog", tmp_path).returncode == 2
    assert run("catalog", tmp_path, "-o", tmp_path, "--shard-files", 0).returncode == 2
    with pytest.raises(ValueError, match="there is no folder"):
        collection.catalog([], tmp_path / "out")


def test_a_scheduler_needs_dask(tmp_path):
    code = (
        "import sys; sys.modules['distributed'] = None\n"
        "from oktdatabase._collection_main import main\n"
        f"sys.exit(main(['catalog', {str(tmp_path)!r}, '-o', {str(tmp_path / 'out')!r}, '--scheduler', 'tcp://localhost:1']))"
    )
    done = subprocess.run([sys.executable, "-c", code], capture_output=True, text=True)
    assert done.returncode == 1
    assert done.stderr == (
        "okt: a scheduler needs Dask, and there is no module distributed (Debian: python3-distributed)\n"
    )


def test_parquet_needs_a_writer(tmp_path, monkeypatch):
    monkeypatch.setitem(sys.modules, "pyarrow", None)
    monkeypatch.setitem(sys.modules, "pyarrow.parquet", None)
    with pytest.raises(okt.Error, match="Parquet needs a writer, and there is no module pyarrow; the format jsonl needs none"):
        collection.catalog([tmp_path], tmp_path / "out", format="parquet")
    assert not (tmp_path / "out").exists()
    with pytest.raises(ValueError, match="not 'csv'"):
        collection.catalog([tmp_path], tmp_path / "out", format="csv")


def test_parquet_holds_the_same_rows(many, tmp_path):
    parquet = pytest.importorskip("pyarrow.parquet")
    collection.catalog([many], tmp_path / "lines")
    collection.catalog([many], tmp_path / "parquet", format="parquet")
    for table in _okt.catalog_tables:
        found = [row for part in collection.parts(tmp_path / "parquet", table) for row in parquet.read_table(part).to_pylist()]
        assert found == list(collection.rows(tmp_path / "lines", table)), table
