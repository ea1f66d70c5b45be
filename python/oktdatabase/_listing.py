# SPDX-License-Identifier: MIT
"""The pool files of folders, in an order of their own, and the shards that they are dealt out in."""

from __future__ import annotations

import hashlib
import os
import zlib
from array import array
from collections.abc import Callable, Iterable, Iterator
from typing import NamedTuple

from . import _okt, _paths
from ._errors import Error

SHARD_FILES = 2000
SHARD_BYTES = 128_000_000

_AT_ONCE = 1000  # names that are taken from the search in one call
_EXACT_BELOW = 64  # shards of fewer files are cut by their number alone


class File(NamedTuple):
    """A file, as its folder tells of it."""

    path: str
    size: int
    modified_ns: int


Order = tuple[bytes, ...]


def order_of(path: str) -> Order:
    """What files are sorted by: the names of their folders, one after the other, byte by byte."""
    return tuple(os.fsencode(path).split(b"/"))


def roots_of(folders: Iterable[_paths.Path]) -> list[str]:
    """The folders from the root on, each once, in their order. OSError for what is no folder."""
    roots = set()
    for folder in folders:
        text = os.path.realpath(os.fsdecode(folder))
        if not os.path.isdir(text):
            os.stat(text)
            raise NotADirectoryError(20, "this is no folder", os.fsdecode(folder))
        if _paths.plain(text) is None:
            raise OSError(84, "the name of the folder is no UTF-8", os.fsdecode(folder))
        roots.add(text)
    return sorted(roots, key=order_of)


def _found_in(root: str, on_fault: Callable[[str], None]) -> Iterator[File]:
    search = _okt.FolderFiles(root)
    while True:
        names, faults = search.next(_AT_ONCE)
        for fault in faults:
            on_fault(fault)
        for name in names:
            try:
                found = os.stat(name)
            except FileNotFoundError:
                continue  # gone since
            except OSError as error:
                on_fault(f"{name}: {error.strerror}")
                continue
            yield File(name, found.st_size, found.st_mtime_ns)
        if not names:
            return


def files_of(roots: list[str], on_fault: Callable[[str], None]) -> Iterator[File]:
    """The pool files of sorted folders and all below, each once. `on_fault` hears what cannot be read."""
    at = 0
    while at < len(roots):
        inner = at + 1
        while inner < len(roots) and roots[inner].startswith(roots[at].rstrip("/") + "/"):
            inner += 1
        if inner == at + 1:
            yield from _found_in(roots[at], on_fault)
        else:  # what a folder leaves out may be asked for by the name of one in it
            found = {file for root in roots[at:inner] for file in _found_in(root, on_fault)}
            yield from sorted(found, key=lambda file: order_of(file.path))
        at = inner


def number_of(path: str) -> int:
    """The number of a file in all tables: of its path alone, with 63 bits."""
    return int.from_bytes(hashlib.sha256(os.fsencode(path)).digest()[:8], "big") >> 1


class Numbers:
    """Tells when two files have the same number, at 8 bytes a file."""

    def __init__(self) -> None:
        self._parts = [array("Q") for _ in range(256)]

    def add(self, path: str) -> None:
        number = number_of(path)
        self._parts[number >> 55].append(number)

    def check(self) -> None:
        for part in self._parts:
            ordered = sorted(part)
            if any(a == b for a, b in zip(ordered, ordered[1:])):
                raise Error("two files have the same number in the catalogue; put them into two catalogues")


def shards_of(
    files: Iterable[File], most_files: int, most_bytes: int = SHARD_BYTES
) -> Iterator[list[File]]:
    """Deals files out, in their order: to each shard so many files or bytes.

    From half of that on a shard ends behind a file whose name says so. So a file that comes or goes changes
    its own shard and perhaps the next one, and not all that follow.
    """
    shard: list[File] = []
    size = 0
    for file in files:
        if shard and (len(shard) >= most_files or size + file.size > most_bytes):
            yield shard
            shard, size = [], 0
        shard.append(file)
        size += file.size
        if most_files < _EXACT_BELOW:
            continue
        if 2 * len(shard) >= most_files or 2 * size >= most_bytes:
            share = max(1 / most_files, file.size / most_bytes)
            if zlib.crc32(os.fsencode(file.path)) < 8 * share * 2**32:
                yield shard
                shard, size = [], 0
    if shard:
        yield shard


def shard_name(files: list[File], key: str = "") -> str:
    """The name of a shard: a digest of its list, and of what is done with it."""
    digest = hashlib.sha256(key.encode())
    for file in files:
        digest.update(os.fsencode(file.path) + b"\0%d\0%d\n" % (file.size, file.modified_ns))
    return digest.hexdigest()[:32]
