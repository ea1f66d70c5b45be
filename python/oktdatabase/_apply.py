# SPDX-License-Identifier: MIT
"""Rules or a function over every file of a collection: what they give, and how it is written."""

from __future__ import annotations

import hashlib
import heapq
import importlib
import inspect
import io
import json
import os
from collections.abc import Callable, Iterable, Iterator
from typing import Any, NamedTuple

from . import _okt, _paths
from ._errors import Error
from ._files import Comparison, compare
from ._listing import File, order_of
from ._pool import Pool
from ._shards import Job, Part, Told, Unread, compact, flush_folder, read_as_listed

Change = Callable[[Pool], Any]


class Rules(NamedTuple):
    """What is done with each file. A function goes by its name where it has one, so that any worker finds it."""

    values: tuple[str, ...]
    where: str | None
    unit: str | None
    function: str | Change | None

    def check(self) -> None:
        """Raises ValueError, Error or ImportError for what no file can be changed by."""
        if bool(self.values) == (self.function is not None):
            raise ValueError("there are either values or a function")
        if self.function is not None:
            if self.where is not None:
                raise ValueError("a condition goes with values; a function looks for itself")
            self.called()
        _okt.check_rules(list(self.values), self.where, self.unit)

    def called(self) -> Change:
        """The function."""
        if not isinstance(self.function, str):
            assert self.function is not None
            return self.function
        module, colon, name = self.function.partition(":")
        if not (module and colon and name):
            raise ValueError(f"a function is told as module:function, not as {self.function!r}")
        found: Any = importlib.import_module(module)
        for part in name.split("."):
            found = getattr(found, part, None)
        if not callable(found):
            raise ValueError(f"{module} has no function {name}")
        change: Change = found
        return change

    def told(self) -> dict[str, Any]:
        """As the journal names them."""
        function = self.function
        if function is not None and not isinstance(function, str):
            function = f"{function.__module__}:{function.__qualname__}"
        return {"values": list(self.values), "where": self.where, "unit": self.unit, "function": function}

    def key(self) -> str:
        """Tells rules apart, and functions by their source too."""
        source = ""
        if self.function is not None:
            try:
                source = inspect.getsource(self.called())
            except (OSError, TypeError):
                pass  # it has none
        return hashlib.sha256(compact([self.told(), source])).hexdigest()


def _shown(comparison: Comparison) -> list[str]:
    lines = []
    for field in comparison.header:
        lines.append(f"{field.member}: {field.before} -> {field.after}")
    for change in comparison.changed:
        name = change.after.name or str(change.after.id)
        lines += [f"{name}: {each.member}: {each.before} -> {each.after}" for each in change.members]
    lines += [f"{each.name or each.id}: new {each.class_name}" for each in comparison.added]
    lines += [f"{each.name or each.id}: no longer there" for each in comparison.removed]
    return lines or ["the order of the objects"]


def _called(rules: Rules, file: str, data: bytes) -> tuple[bytes | None, list[str]]:
    with Pool.from_bytes(data, rules.unit or "m") as pool:
        before = pool.to_bytes()
        answer = rules.called()(pool)
        if answer is False:
            return None, []
        after = pool.to_bytes()
    if after == before:
        return None, []
    return after, _shown(compare(io.BytesIO(data), io.BytesIO(after)))


def changed(rules: Rules, file: str, data: bytes) -> tuple[bytes | None, list[str]] | None:
    """The new bytes of a file, or None where it is so already, and what changes; None where it is not meant.

    The same bytes give the same each time, if the function does its part.
    """
    if rules.function is not None:
        return _called(rules, file, data)
    found = _okt.ruled_bytes(data, file, list(rules.values), rules.where, rules.unit)
    if found is None:
        return None
    return found[0], [f"{name}: {before} -> {after}" for name, before, after in found[1]]


def _without_path(reason: str, path: str) -> str:
    return reason[len(path) + 1 :].lstrip() if reason.startswith(path + ":") else reason


def _reason(error: Exception, path: str) -> str:
    if isinstance(error, OSError):
        text = error.strerror or str(error)
    elif isinstance(error, Error):
        text = str(error)
    else:
        text = f"{type(error).__name__}: {error}"
    return " ".join(_without_path(_without_path(text, path), "bytes").split())


def check_file(job: Job, file: File, data: bytes) -> Told:
    """The line of the journal for a file: what would become of it. Files that stay have none."""
    rules: Rules = job.rules
    try:
        found = changed(rules, file.path, data)
    except Exception as error:  # whatever a function does wrong
        return Told({}, {}, "failed", _reason(error, file.path))
    if found is None:
        return Told({}, {}, "not meant", None)
    after, lines = found
    if after is None:
        return Told({}, {}, "same", None)
    line = {
        "path": file.path,
        "size": file.size,
        "modified_ns": file.modified_ns,
        "before": hashlib.sha256(data).hexdigest(),
        "after": hashlib.sha256(after).hexdigest(),
        "changes": lines,
    }
    return Told({"journal": compact(line) + b"\n"}, {"journal": 1}, "change", None)


def lines_in(path: str) -> Iterator[dict[str, Any]]:
    """The objects of a part."""
    with open(path, encoding="utf-8") as file:
        for line in file:
            yield json.loads(line)


def _write_file(rules: Rules, line: dict[str, Any]) -> str | None:
    """Why a file is left as it is; None: it is as the journal says, whoever has written it."""
    path = line["path"]
    try:
        with open(path, "rb") as source:
            data = source.read()
        digest = hashlib.sha256(data).hexdigest()
        if digest == line["after"]:
            return None
        if digest != line["before"]:
            return "the file has changed since it was checked; it is left as it is"
        found = changed(rules, path, data)
        after = found[0] if found is not None else None
        if after is None or hashlib.sha256(after).hexdigest() != line["after"]:
            return "the same bytes do not give what they gave when they were checked; the file is left as it is"
        _paths.save_bytes(after, path)
    except Exception as error:  # as above
        return _reason(error, path)
    return None


def write_shard(job: Job, name: str) -> dict[str, Any]:
    """Writes what the journal of a shard says, and tells what became of each file."""
    target = os.path.join(job.out, "done", f"part-{name}.jsonl")
    failed: list[tuple[str, str]] = []
    count = 0
    if os.path.exists(target):
        for line in lines_in(target):
            count += 1
            if line["reason"] is not None:
                failed.append((line["path"], line["reason"]))
        return {"name": name, "lines": count, "failed": failed}
    part = Part(target)
    try:
        for line in lines_in(os.path.join(job.out, "journal", f"part-{name}.jsonl")):
            reason = _write_file(job.rules, line)
            now = {"path": line["path"], "size": 0, "modified_ns": 0, "reason": reason}
            if reason is None:
                found = os.stat(line["path"])
                now.update(size=found.st_size, modified_ns=found.st_mtime_ns)
            else:
                failed.append((line["path"], reason))
            part.write(compact(now) + b"\n")
            count += 1
        part.finish()
    except BaseException:
        part.drop()
        raise
    flush_folder(os.path.dirname(target))
    return {"name": name, "lines": count, "failed": failed}


def _generation(out: str, names: list[str], number: int) -> Iterator[tuple[Any, int, dict[str, Any]]]:
    for name in names:
        for line in lines_in(os.path.join(out, "done", f"part-{name}.jsonl")):
            yield order_of(line["path"]), -number, line


def not_done(files: Iterable[File], out: str, generations: list[list[str]]) -> Iterator[File]:
    """The files but those that an earlier run of the same rules has written, and that nobody has touched since.

    Files and what was written stand in the same order, so neither has to be held in memory.
    """
    written = iter(
        heapq.merge(
            *(_generation(out, names, number) for number, names in enumerate(generations)),
            key=lambda each: each[:2],
        )
    )
    head = next(written, None)
    for file in files:
        key = order_of(file.path)
        last: dict[str, Any] | None = None
        while head is not None and head[0] <= key:
            if head[0] == key and last is None:
                last = head[2]  # the latest of them comes first
            head = next(written, None)
        if last is None or last["reason"] is not None or (last["size"], last["modified_ns"]) != file[1:]:
            yield file


__all__ = ["Rules", "Unread", "check_file", "not_done", "read_as_listed", "write_shard"]
