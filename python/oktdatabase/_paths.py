# SPDX-License-Identifier: MIT
"""Paths, file objects and bytes, as all functions of the package take them."""

from __future__ import annotations

import os
from typing import IO, Any, Union

from . import _okt
from ._errors import check_saved

Path = Union[str, bytes, "os.PathLike[str]", "os.PathLike[bytes]"]
Source = Union[Path, IO[bytes]]
Target = Union[Path, IO[bytes]]


def name_of(source: Any) -> str:
    """How messages call it."""
    if is_file(source):
        name = getattr(source, "name", None)
        return name if isinstance(name, str) else "file"
    return os.fsdecode(source)


def is_file(source: Any) -> bool:
    """It is a file object."""
    return not isinstance(source, (str, bytes, os.PathLike)) and (
        hasattr(source, "read") or hasattr(source, "write")
    )


def plain(path: Path) -> str | None:
    """The path as a text; None where its bytes are no UTF-8, so that the library cannot name it."""
    text = os.fsdecode(path)
    if "\0" in text:
        raise ValueError("embedded null byte in a path")
    try:
        text.encode("utf-8")
    except UnicodeEncodeError:
        return None
    return "./-" if text == "-" else text


def read_bytes(source: Source) -> bytes:
    """All bytes of a file."""
    if is_file(source):
        data = source.read()  # type: ignore[union-attr]
        if not isinstance(data, (bytes, bytearray, memoryview)):
            raise TypeError("the file is open for text; open it with mode 'rb'")
        return bytes(data)
    with open(os.fsdecode(source), "rb") as file:  # type: ignore[arg-type]
        return bytes(file.read())


def save_bytes(data: bytes, target: Target) -> None:
    """Puts a file in place: the old one or the new one, never less."""
    if is_file(target):
        target.write(data)  # type: ignore[union-attr]
        return
    path = plain(target)  # type: ignore[arg-type]
    if path is None:
        raise OSError(84, "the name of the file is no UTF-8", os.fsdecode(target))  # type: ignore[arg-type]
    check_saved(_okt.save_bytes(data, path), os.fsdecode(target))  # type: ignore[arg-type]
