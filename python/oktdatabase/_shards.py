# SPDX-License-Identifier: MIT
"""One shard of a collection, from its list of files to its parts. It runs where the worker is."""

from __future__ import annotations

import contextlib
import hashlib
import importlib
import json
import os
import threading
import uuid
from collections.abc import Callable, Iterator
from typing import IO, Any, NamedTuple

from . import _okt
from ._errors import Error
from ._listing import File, number_of, shard_name

CATALOG_TABLES: tuple[str, ...] = _okt.catalog_tables
RECORDS = "shard"

_WHOLE = {
    "file", "id", "size", "modified_ns", "objects", "plain", "number", "number_in_file", "offset", "type", "list_index",
    "is_length", "kind_number", "place", "width", "height", "bytes",
}  # fmt: skip


def _typed(table: str, names: str) -> dict[str, str]:
    """Types as databases name them, which these columns fit into."""
    types = {name: "BIGINT" if name in _WHOLE else "TEXT" for name in names.split()}
    if table == "parameter":
        types["number"] = "DOUBLE PRECISION"
    return types


COLUMNS = {
    table: _typed(table, names)
    for table, names in {
        "file": "id path size modified_ns sha256 pool_id pool_name objects state plain unit classes",
        "object": "file number object_id class name offset size",
        "parameter": "file number_in_file object_id category owner name type type_name list_index list_code kind number"
        " text is_length expression description kind_number place",
        "reference": "file number from_id to_id role",
        "picture": "file number object_id format width height bytes view",
        "finding": "file number code severity offset object_id message",
        "words": "file name text description expression",
    }.items()
}
_LARGEST = 2**31 - 1

Record = dict[str, Any]


class Job(NamedTuple):
    """What is done with every shard."""

    out: str
    kind: str  # "catalog", "verify" or "check"
    tables: tuple[str, ...]
    format: str  # "jsonl" or "parquet"
    key: str = ""  # goes into the names of shards
    rules: Any = None


class Told(NamedTuple):
    """What a file has come to."""

    lines: dict[str, bytes]
    rows: dict[str, int]
    state: str
    reason: str | None


class Unread(Exception):
    """Why a file cannot be read, as it was listed."""


def compact(value: Any) -> bytes:
    """JSON on a line, the same each time."""
    return json.dumps(value, ensure_ascii=False, separators=(",", ":")).encode("utf-8", "replace")


def read_as_listed(file: File) -> bytes:
    """The bytes of a file that is still what its folder told."""
    try:
        file.path.encode("utf-8")
    except UnicodeEncodeError:
        raise Unread("the name of the file is no UTF-8") from None
    if file.size > _LARGEST:
        raise Unread("the file is larger than a pool can be")
    try:
        with open(file.path, "rb") as source:
            data = source.read()
            after = os.fstat(source.fileno())
    except OSError as error:
        raise Unread(error.strerror or str(error)) from error
    if (len(data), after.st_mtime_ns) != (file.size, file.modified_ns):
        raise Unread("the file has changed since its folder was looked through")
    return data


def _catalog(job: Job, file: File, data: bytes) -> Told:
    digest = hashlib.sha256(data).hexdigest()
    texts, counts, state, reason = _okt.catalog_lines(
        data, digest, file.path, file.modified_ns, number_of(file.path)
    )
    lines = dict(zip(CATALOG_TABLES, texts))
    rows = dict(zip(CATALOG_TABLES, counts))
    return Told({t: lines[t] for t in job.tables}, {t: rows[t] for t in job.tables}, state, reason)


def _worker_of(kind: str) -> Callable[[Job, File, bytes], Told]:
    if kind == "check":
        check: Callable[[Job, File, bytes], Told] = importlib.import_module(
            "oktdatabase._apply"
        ).check_file
        return check
    return _catalog


# --- files beside and renamed ---------------------------------------------------------------------------------------------------


def flush_folder(folder: str) -> None:
    """Makes renames in a folder outlive a loss of power."""
    handle = os.open(folder, os.O_RDONLY)
    try:
        with contextlib.suppress(OSError):  # a file system that cannot
            os.fsync(handle)
    finally:
        os.close(handle)


def name_beside(path: str) -> str:
    """A name of its own for each writer, which a killed one may leave behind."""
    folder, name = os.path.split(path)
    return os.path.join(folder, f".{name}.{os.getpid()}-{threading.get_ident()}-{uuid.uuid4().hex}.new")


class Part:
    """A file that is written beside its name and comes to it as a whole."""

    def __init__(self, path: str) -> None:
        self.path = path
        self.bytes = 0
        self._beside = name_beside(path)
        self._digest = hashlib.sha256()
        self._file: IO[bytes] = open(self._beside, "wb")

    def write(self, data: bytes) -> None:
        self._file.write(data)
        self._digest.update(data)
        self.bytes += len(data)

    def finish(self, convert: Callable[[str], None] | None = None) -> None:
        self._file.flush()
        if convert is not None:
            convert(self._beside)
            self._digest = hashlib.sha256()
            with open(self._beside, "rb") as made:
                while piece := made.read(1 << 20):
                    self._digest.update(piece)
                self.bytes = os.fstat(made.fileno()).st_size
                os.fsync(made.fileno())
        else:
            os.fsync(self._file.fileno())
        self._file.close()
        os.replace(self._beside, self.path)

    def drop(self) -> None:
        self._file.close()
        with contextlib.suppress(OSError):
            os.unlink(self._beside)

    @property
    def digest(self) -> str:
        return self._digest.hexdigest()


def put(path: str, data: bytes) -> None:
    """A small file, as a whole."""
    part = Part(path)
    try:
        part.write(data)
        part.finish()
    except BaseException:
        part.drop()
        raise
    flush_folder(os.path.dirname(path))


# --- Parquet --------------------------------------------------------------------------------------------------------------------

def check_format(format: str) -> None:
    """Raises Error where nothing here writes that format."""
    if format == "jsonl":
        return
    if format != "parquet":
        raise ValueError(f'the format is "jsonl" or "parquet", not {format!r}')
    try:
        importlib.import_module("pyarrow.parquet")
    except ImportError as error:
        raise Error("Parquet needs a writer, and there is no module pyarrow; the format jsonl needs none") from error


def _to_parquet(table: str) -> Callable[[str], None]:
    def convert(path: str) -> None:
        arrow = importlib.import_module("pyarrow")
        parquet = importlib.import_module("pyarrow.parquet")
        with open(path, encoding="utf-8") as source:
            rows = [json.loads(line) for line in source]
        types = {"BIGINT": arrow.int64(), "DOUBLE PRECISION": arrow.float64(), "TEXT": arrow.string()}
        columns = [(name, types[kind]) for name, kind in COLUMNS[table].items()]
        parquet.write_table(arrow.Table.from_pylist(rows, schema=arrow.schema(columns)), path)

    return convert


# --- a shard --------------------------------------------------------------------------------------------------------------------


def part_path(job: Job, table: str, name: str) -> str:
    """Where the part of a shard lies, from the folder of the catalogue on."""
    return f"{table}/part-{name}.{job.format}"


def record_path(out: str, name: str) -> str:
    return os.path.join(out, RECORDS, f"{name}.json")


def existing(job: Job, name: str) -> Record | None:
    """The record of a shard that is done, with its parts where they should be."""
    try:
        with open(record_path(job.out, name), "rb") as file:
            record: Record = json.loads(file.read())
        if record["unread"]:
            return None  # it may be read by now
        for table in job.tables:
            part = record["parts"][table]
            if part["path"] != part_path(job, table, name):
                return None
            if os.path.getsize(os.path.join(job.out, part["path"])) != part["bytes"]:
                return None
        return record
    except (OSError, ValueError, KeyError, TypeError):
        return None


@contextlib.contextmanager
def _parts(job: Job, name: str) -> Iterator[dict[str, Part]]:
    parts: dict[str, Part] = {}
    try:
        for table in job.tables:
            parts[table] = Part(os.path.join(job.out, part_path(job, table, name)))
        yield parts
    except BaseException:
        for part in parts.values():
            part.drop()
        raise


def run_shard(job: Job, listed: list[tuple[str, int, int]]) -> Record:
    """Makes the parts of a shard, unless they are there, and gives its record."""
    files = [File(*each) for each in listed]
    name = shard_name(files, job.key)
    done = existing(job, name)
    if done is not None:
        return done
    work = _worker_of(job.kind)
    rows = dict.fromkeys(job.tables, 0)
    states: dict[str, int] = {}
    named: list[tuple[str, str]] = []
    unread: list[tuple[str, str]] = []
    with _parts(job, name) as parts:
        for file in files:
            try:
                told = work(job, file, read_as_listed(file))
            except Unread as error:
                unread.append((os.fsencode(file.path).decode("utf-8", "replace"), str(error)))
                continue
            for table in job.tables:
                parts[table].write(told.lines.get(table, b""))
                rows[table] += told.rows.get(table, 0)
            states[told.state] = states.get(told.state, 0) + 1
            if told.reason is not None:
                named.append((file.path, told.reason))
        for table, part in parts.items():
            part.finish(_to_parquet(table) if job.format == "parquet" else None)
            flush_folder(os.path.dirname(part.path))
    record: Record = {
        "name": name,
        "files": len(files) - len(unread),
        "bytes": sum(file.size for file in files),
        "rows": rows,
        "parts": {
            table: {"path": part_path(job, table, name), "bytes": part.bytes, "sha256": part.digest}
            for table, part in parts.items()
        },
        "states": dict(sorted(states.items())),
        "named": named,
        "unread": unread,
    }
    put(record_path(job.out, name), compact(record) + b"\n")
    return record
