# SPDX-License-Identifier: MIT
"""Catalogue, verify and change collections of pool files, on this machine or on a cluster.

>>> import tempfile, pathlib
>>> import oktdatabase as okt
>>> from oktdatabase import collection
>>> folder = pathlib.Path(tempfile.mkdtemp())
>>> okt.Pool("Link").save(folder / "link.okt")
>>> outcome = collection.catalog([folder], folder / "rows")
>>> outcome.files, outcome.rows["file"]
(1, 1)
>>> [row["pool_name"] for row in collection.rows(folder / "rows", "file")]
['Link']

`python3 -m oktdatabase.collection --help` tells how it is called from a shell.
"""

from __future__ import annotations

import contextlib
import json
import os
import pathlib
from collections.abc import Callable, Iterable, Iterator
from dataclasses import dataclass, field
from typing import Any

from . import _apply, _paths
from ._apply import Rules
from ._engine import engine
from ._errors import Error
from ._listing import SHARD_FILES, File, Numbers, files_of, roots_of, shards_of
from ._shards import CATALOG_TABLES, COLUMNS, RECORDS, Job, check_format, compact, put, run_shard

__all__ = ["Applied", "Outcome", "apply", "catalog", "changes", "parts", "rows", "verify"]

MANIFEST = "manifest.json"
JOURNAL = "apply.json"
VERIFY_TABLES = ("file", "finding")


@dataclass
class Outcome:
    """What a run over a collection has come to.

    >>> from oktdatabase import collection
    >>> collection.Outcome(files=3, states={"whole": 2, "damaged": 1}).states["damaged"]
    1
    """

    files: int = 0
    rows: dict[str, int] = field(default_factory=dict)
    states: dict[str, int] = field(default_factory=dict)
    shards: int = 0
    damaged: list[tuple[str, str]] = field(default_factory=list)  # path and reason
    unread: list[tuple[str, str]] = field(default_factory=list)

    def _take(self, record: dict[str, Any]) -> None:
        self.shards += 1
        self.files += record["files"]
        for table, count in record["rows"].items():
            self.rows[table] = self.rows.get(table, 0) + count
        for state, count in record["states"].items():
            self.states[state] = self.states.get(state, 0) + count
        self.damaged += [(path, reason) for path, reason in record["named"]]
        self.unread += [(path, reason) for path, reason in record["unread"]]


@dataclass
class Applied:
    """What became of the files that rules or a function were applied to.

    >>> from oktdatabase import collection
    >>> collection.Applied(changed=2, same=1).failed
    []
    """

    changed: int = 0  # of a dry run: that would change
    same: int = 0
    not_meant: int = 0
    done_before: int = 0  # written by an earlier run of the same rules, and untouched since
    failed: list[tuple[str, str]] = field(default_factory=list)  # path and reason; these are as they were


# --- the folder that a run writes to ----------------------------------------------------------------------------------------------


@contextlib.contextmanager
def _folder(out: str, tables: Iterable[str], mark: str) -> Iterator[None]:
    """Makes the folder, and keeps it from other runs."""
    import fcntl

    os.makedirs(out, exist_ok=True)
    foreign = {MANIFEST, JOURNAL} - {mark}
    if any(os.path.exists(os.path.join(out, name)) for name in foreign):
        raise Error(f"{out}: the folder holds what another kind of run has made; name one of its own")
    with open(os.path.join(out, ".lock"), "wb") as lock:
        try:
            fcntl.flock(lock, fcntl.LOCK_EX | fcntl.LOCK_NB)
        except BlockingIOError as error:
            raise Error(f"{out}: another run is at work there") from error
        for name in (*tables, RECORDS):
            os.makedirs(os.path.join(out, name), exist_ok=True)
        yield


def _sweep(out: str, folders: Iterable[str], kept: set[str]) -> None:
    """Removes parts and records that are of no use, and what killed writers have left."""
    for folder in folders:
        for entry in list(os.scandir(os.path.join(out, folder))):
            name = entry.name
            ours = name.startswith(("part-", ".part-")) or (folder == RECORDS and ".json" in name)
            if ours and f"{folder}/{name}" not in kept:
                with contextlib.suppress(FileNotFoundError):
                    os.unlink(entry.path)
    for name in os.listdir(out):
        if name.startswith((f".{MANIFEST}.", f".{JOURNAL}.")):
            with contextlib.suppress(FileNotFoundError):
                os.unlink(os.path.join(out, name))


def _text(path: _paths.Path) -> str:
    return os.path.realpath(os.fsdecode(path))


class _Listing:
    """Lists files, and stops the run at the end where a folder could not be read."""

    def __init__(self, folders: Iterable[_paths.Path]) -> None:
        self.roots = roots_of(folders)
        if not self.roots:
            raise ValueError("there is no folder")
        self.faults: list[str] = []
        self.numbers = Numbers()

    def files(self) -> Iterator[File]:
        for file in files_of(self.roots, self.faults.append):
            self.numbers.add(file.path)
            yield file

    def check(self) -> None:
        if self.faults:
            more = f" (and {len(self.faults) - 1} more)" if len(self.faults) > 1 else ""
            raise Error(f"{self.faults[0]}{more}; what was known stays as it is")
        self.numbers.check()


def _run_shards(
    job: Job,
    files: Iterator[File],
    shard_files: int,
    run: Any,
    told: Callable[[dict[str, Any]], None],
) -> list[bytes]:
    """The records of all shards in their order, without what is told of single files."""
    if shard_files < 1:
        raise ValueError("a shard takes at least one file")
    done: dict[int, bytes] = {}
    waiting: dict[int, dict[str, Any]] = {}
    at = 0
    tasks = (
        (number, (job, [tuple(file) for file in shard]))
        for number, shard in enumerate(shards_of(files, shard_files))
    )
    for number, record in run(run_shard, tasks):
        waiting[number] = record
        while at in waiting:  # told in order, whichever is ready first
            record = waiting.pop(at)
            told(record)
            kept = {key: value for key, value in record.items() if key != "named"}
            done[at] = compact(kept)
            at += 1
    return [done[number] for number in sorted(done)]


def _put_manifest(path: str, head: dict[str, Any], shards: list[bytes]) -> None:
    body = b",\n".join(shards)
    put(path, compact(head)[:-1] + b',"shards":[\n' + body + b"\n]}\n")


def _read_json(path: str) -> dict[str, Any] | None:
    try:
        with open(path, "rb") as file:
            found: dict[str, Any] = json.loads(file.read())
            return found
    except FileNotFoundError:
        return None


def _kept(shards: list[bytes]) -> set[str]:
    kept = set()
    for shard in shards:
        record = json.loads(shard)
        kept.add(f"{RECORDS}/{record['name']}.json")
        kept.update(part["path"] for part in record["parts"].values())
    return kept


def _collect(
    kind: str,
    tables: tuple[str, ...],
    folders: Iterable[_paths.Path],
    out: _paths.Path,
    scheduler: str | None,
    workers: int | None,
    processes: bool,
    shard_files: int,
    format: str,
) -> Outcome:
    check_format(format)
    listing = _Listing(folders)
    place = _text(out)
    job = Job(place, kind, tables, format, key=f"{kind} 1 {format}")
    outcome = Outcome(rows=dict.fromkeys(tables, 0))
    with _folder(place, tables, MANIFEST):
        before = _read_json(os.path.join(place, MANIFEST))
        if before is not None and before["kind"] != kind:
            raise Error(f"{place}: the folder holds what another kind of run has made; name one of its own")
        with engine(scheduler, workers, processes) as run:
            shards = _run_shards(job, listing.files(), shard_files, run, outcome._take)
        listing.check()
        head = {
            "kind": kind,
            "layout": 1,
            "format": format,
            "tables": {table: COLUMNS[table] for table in tables},
            "folders": listing.roots,
            "files": outcome.files,
            "rows": outcome.rows,
            "states": dict(sorted(outcome.states.items())),
            "unread": len(outcome.unread),
        }
        _put_manifest(os.path.join(place, MANIFEST), head, shards)
        _sweep(place, (*tables, RECORDS), _kept(shards))
    return outcome


# --- what users call --------------------------------------------------------------------------------------------------------------


def catalog(
    folders: Iterable[_paths.Path],
    out: _paths.Path,
    *,
    scheduler: str | None = None,
    workers: int | None = None,
    processes: bool = False,
    shard_files: int = SHARD_FILES,
    format: str = "jsonl",
) -> Outcome:
    """Writes the rows of all pool files in the folders, as `okt catalog` has them, one folder a table.

    It runs in threads of this machine, in processes, or on the workers of a Dask scheduler; the result
    is the same, byte for byte. After a kill the same call goes on where it ended.

    >>> import tempfile
    >>> from oktdatabase import collection
    >>> with tempfile.TemporaryDirectory() as empty:
    ...     collection.catalog([empty], empty + "/rows").files
    0
    """
    return _collect(
        "catalog", CATALOG_TABLES, folders, out, scheduler, workers, processes, shard_files, format
    )


def verify(
    folders: Iterable[_paths.Path],
    out: _paths.Path,
    *,
    scheduler: str | None = None,
    workers: int | None = None,
    processes: bool = False,
    shard_files: int = SHARD_FILES,
    format: str = "jsonl",
) -> Outcome:
    """Verifies all pool files in the folders, and writes the tables `file` and `finding`.

    >>> import tempfile, pathlib
    >>> from oktdatabase import collection
    >>> with tempfile.TemporaryDirectory() as folder:
    ...     _ = pathlib.Path(folder, "cut.okt").write_bytes(b"")
    ...     [(_, reason)] = collection.verify([folder], folder + "/rows").damaged
    >>> reason
    'byte 0: the file is empty'
    """
    return _collect(
        "verify", VERIFY_TABLES, folders, out, scheduler, workers, processes, shard_files, format
    )


def parts(out: _paths.Path, table: str) -> list[pathlib.Path]:
    """The files that hold the rows of a table, in their order, as the manifest has them.

    >>> import tempfile
    >>> from oktdatabase import collection
    >>> with tempfile.TemporaryDirectory() as empty:
    ...     _ = collection.catalog([empty], empty + "/rows")
    ...     collection.parts(empty + "/rows", "file")
    []
    """
    place = _text(out)
    manifest = _read_json(os.path.join(place, MANIFEST))
    if manifest is None:
        raise FileNotFoundError(2, "there is no manifest", os.path.join(place, MANIFEST))
    if table not in manifest["tables"]:
        raise ValueError(f"there is no table {table!r}: they are {', '.join(manifest['tables'])}")
    return [pathlib.Path(place, shard["parts"][table]["path"]) for shard in manifest["shards"]]


def rows(out: _paths.Path, table: str) -> Iterator[dict[str, Any]]:
    """The rows of a table of JSON lines, one after the other.

    >>> import tempfile
    >>> from oktdatabase import collection
    >>> with tempfile.TemporaryDirectory() as empty:
    ...     _ = collection.catalog([empty], empty + "/rows")
    ...     list(collection.rows(empty + "/rows", "parameter"))
    []
    """
    for part in parts(out, table):
        if part.suffix != ".jsonl":
            raise ValueError(f"{part}: these are no JSON lines")
        yield from _apply.lines_in(str(part))


def changes(out: _paths.Path) -> Iterator[dict[str, Any]]:
    """What the last run of `apply` would change, or has changed: path, digests, and a text for each change.

    >>> from oktdatabase import collection
    >>> list(collection.changes("missing"))
    Traceback (most recent call last):
        ...
    FileNotFoundError: [Errno 2] there is no journal: ...
    """
    place = _text(out)
    state = _read_json(os.path.join(place, JOURNAL))
    if state is None:
        raise FileNotFoundError(2, "there is no journal", os.path.join(place, JOURNAL))
    for shard in state["shards"]:
        yield from _apply.lines_in(os.path.join(place, shard["parts"]["journal"]["path"]))


def apply(
    folders: Iterable[_paths.Path],
    out: _paths.Path,
    *,
    values: Iterable[str] = (),
    where: str | None = None,
    unit: str | None = None,
    function: str | Callable[[Any], Any] | None = None,
    dry_run: bool = False,
    scheduler: str | None = None,
    workers: int | None = None,
    processes: bool = False,
    shard_files: int = SHARD_FILES,
) -> Applied:
    """Sets values as `okt set` does, or calls a function with every pool, and saves what has changed.

    All files are checked first, and a journal of each shard tells what will change; `dry_run` ends there.
    A file that fails is named and left as it is. What was written is not written again by the same rules.

    >>> import tempfile, pathlib
    >>> import oktdatabase as okt
    >>> from oktdatabase import collection
    >>> pool = okt.Pool(unit="mm")
    >>> cover = pool.add(okt.Parameter(6, "Cover", 35.0))
    >>> folder = pathlib.Path(tempfile.mkdtemp())
    >>> pool.save(folder / "link.okt")
    >>> collection.apply([folder], folder / "journal", values=["Cover=40 mm"]).changed
    1
    >>> okt.table([folder / "link.okt"], ["Cover"])[0]["Cover"]
    40.0
    """
    rules = Rules(tuple(values), where, unit, function)
    rules.check()
    listing = _Listing(folders)
    place = _text(out)
    job = Job(place, "check", ("journal",), "jsonl", key=rules.key(), rules=rules)
    applied = Applied()
    path = os.path.join(place, JOURNAL)
    with _folder(place, ("journal", "done"), JOURNAL):
        state = _read_json(path)
        if state is not None and state["key"] != job.key and (state["state"] != "checked" or state["done"]):
            raise Error(f"{place}: the journal there is of other rules; name another folder")
        with engine(scheduler, workers, processes) as run:
            if state is not None and state["state"] == "writing" and not dry_run:
                shards = [compact(shard) for shard in state["shards"]]
                for shard in state["shards"]:
                    record = _read_json(os.path.join(place, RECORDS, f"{shard['name']}.json"))
                    _take(applied, shard, record["named"] if record is not None else [])
            else:
                shards = _check(job, listing, state, shard_files, run, applied)
            state = _read_json(path)
            assert state is not None
            if not dry_run:
                _write(job, path, state, shards, run, applied)
    return applied


def _head(job: Job, roots: list[str], state: str, done: list[list[str]]) -> dict[str, Any]:
    return {"kind": "apply", "layout": 1, "state": state, "key": job.key, "rules": job.rules.told(),
            "folders": roots, "done": done}  # fmt: skip


def _take(applied: Applied, record: dict[str, Any], named: list[Any]) -> None:
    states = record["states"]
    applied.changed += states.get("change", 0)
    applied.same += states.get("same", 0)
    applied.not_meant += states.get("not meant", 0)
    applied.failed += [(path, reason) for path, reason in [*named, *record["unread"]]]


def _check(
    job: Job, listing: _Listing, state: dict[str, Any] | None, shard_files: int, run: Any, applied: Applied
) -> list[bytes]:
    path = os.path.join(job.out, JOURNAL)
    if state is not None and state["state"] == "writing":
        raise Error(f"{job.out}: a run was interrupted while it wrote; the same call without a dry run ends it")
    done: list[list[str]] = state["done"] if state is not None and state["key"] == job.key else []

    def counted(files: Iterator[File]) -> Iterator[File]:
        for file in files:
            applied.done_before += 1
            yield file

    def left(files: Iterator[File]) -> Iterator[File]:
        for file in _apply.not_done(files, job.out, done):
            applied.done_before -= 1
            yield file

    shards = _run_shards(
        job, left(counted(listing.files())), shard_files, run, lambda r: _take(applied, r, r["named"])
    )
    listing.check()
    _put_manifest(path, _head(job, listing.roots, "checked", done), shards)
    written = [name for names in done for name in names]
    kept = _kept(shards) | {f"{folder}/part-{name}.jsonl" for name in written for folder in ("journal", "done")}
    _sweep(job.out, ("journal", "done", RECORDS), kept)
    return shards


def _write(
    job: Job, path: str, state: dict[str, Any], shards: list[bytes], run: Any, applied: Applied
) -> None:
    done: list[list[str]] = state["done"]
    names = [shard["name"] for shard in state["shards"] if shard["rows"]["journal"]]
    if not names:
        _put_manifest(path, _head(job, state["folders"], "done", done), shards)
        return
    _put_manifest(path, _head(job, state["folders"], "writing", done), shards)
    tasks = ((number, (job, name)) for number, name in enumerate(names))
    results = dict(run(_apply.write_shard, tasks))
    for number in sorted(results):
        applied.changed -= len(results[number]["failed"])
        applied.failed += [(file, reason) for file, reason in results[number]["failed"]]
    _put_manifest(path, _head(job, state["folders"], "done", [*done, names]), shards)


if __name__ == "__main__":
    import sys

    from ._collection_main import main

    sys.exit(main())
