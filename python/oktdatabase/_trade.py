# SPDX-License-Identifier: MIT
"""The trade: bar records, templates, drawings, tables of templates."""

from __future__ import annotations

import os
from collections.abc import Iterable
from dataclasses import dataclass
from typing import IO, Any, Union, cast

from . import _okt, _paths
from ._pool import Pool


@dataclass(frozen=True)
class BarRecord:
    """A bar record of the exchange format BF2D. Lengths are outer dimensions in mm, masses in kg.

    `legs` are pairs of a length and the angle of the bend behind it, in degrees.

    >>> import oktdatabase as okt
    >>> bar = okt.BarRecord("P", "D1", "a", "7", 500.0, 2, 0.444, 12.0, "B500B", 48.0, None, [(500.0, 0.0)])
    >>> bar.count * bar.mass
    0.888
    """

    project: str
    drawing: str
    index: str
    position: str
    length: float
    count: int
    mass: float
    diameter: float
    grade: str
    mandrel: float
    other: str | None
    legs: list[tuple[float, float]]


def bar_records(path: Union[_paths.Path, IO[str], IO[bytes]]) -> list[BarRecord]:
    """The bar records of a file, one a line. FormatError for the first that is wrong.

    >>> import oktdatabase as okt, io
    >>> okt.bar_records(io.StringIO("no record"))
    Traceback (most recent call last):
        ...
    oktdatabase.FormatError: file:1:1: a record begins with "BF2D@"
    """
    if _paths.is_file(path):
        content = cast("IO[Any]", path).read()
    else:
        content = _paths.read_bytes(cast(_paths.Path, path))
    text = content if isinstance(content, str) else content.decode("ascii", "surrogateescape")
    name = _paths.name_of(path)
    return [
        BarRecord(*_okt.parse_record(line, name, number))
        for number, line in enumerate(text.splitlines(), 1)
        if line.strip()
    ]


def templates(folder: _paths.Path) -> list[Pool]:
    """The templates that the bar tables and records of a folder give, as new pools.

    `file_name` of each is the name under which `okt build` saves it.

    >>> import oktdatabase as okt, tempfile
    >>> with tempfile.TemporaryDirectory() as folder:
    ...     okt.templates(folder)
    Traceback (most recent call last):
        ...
    oktdatabase.FormatError: ...
    """
    name = _paths.plain(folder)
    if name is None:
        raise OSError(84, "the name of the folder is no UTF-8", os.fsdecode(folder))
    os.stat(name)

    def made(factor: float, file_name: str) -> Pool:
        pool = Pool._empty(factor)
        pool.file_name = file_name  # type: ignore[attr-defined]
        return pool

    return _okt.templates(name, made)


def draw(pool: Pool) -> bytes:
    """The drawing of a template as an SVG document. Error for a pool that is none.

    >>> import oktdatabase as okt
    >>> okt.draw(okt.Pool())
    Traceback (most recent call last):
        ...
    oktdatabase.Error: the pool is no template of a kind that is drawn here
    """
    return _okt.draw(pool.to_bytes())


def table(
    paths: Iterable[_paths.Source],
    names: Iterable[str] | None = None,
    unit: str = "mm",
) -> list[dict[str, Any]]:
    """Parameters of many files: one row a file, one column a parameter.

    `names` are display names, ids, or "type:" and a number; without them all parameters are there,
    of several with one name the first. A file without such a parameter has None.

    >>> import oktdatabase as okt, io
    >>> pool = okt.Pool(unit="mm")
    >>> cover = pool.add(okt.Parameter(6, value=35.0))
    >>> okt.table([io.BytesIO(pool.to_bytes())], ["type:6"])
    [{'file': 'file', 'type:6': 35.0}]
    """
    wanted = None if names is None else list(names)
    rows: list[dict[str, Any]] = []
    for path in paths:
        name = _paths.name_of(path)
        local = None if _paths.is_file(path) else _paths.plain(cast(_paths.Path, path))
        if local is None or not os.path.isfile(local):
            cells = _okt.table_row(name, _paths.read_bytes(path), wanted, unit)
        else:
            if not os.access(local, os.R_OK):
                _paths.read_bytes(path)  # which raises
            cells = _okt.table_row(local, None, wanted, unit)
        row: dict[str, Any] = {"file": name}
        for column, value in cells:
            row.setdefault(column, value)
        rows.append(row)
    if wanted is None:
        columns: dict[str, None] = {}
        for row in rows:
            columns.update(dict.fromkeys(row))
        rows = [{column: row.get(column) for column in columns} for row in rows]
    return rows


def frame(
    paths: Iterable[_paths.Source],
    names: Iterable[str] | None = None,
    unit: str = "mm",
) -> Any:
    """The same as `table` as a DataFrame of pandas. ImportError where pandas is not there.

    >>> import oktdatabase as okt, io
    >>> pool = okt.Pool(unit="mm")
    >>> cover = pool.add(okt.Parameter(6, value=35.0))
    >>> okt.frame([io.BytesIO(pool.to_bytes())], ["type:6"])["type:6"].sum()
    35.0
    """
    import importlib

    pandas = importlib.import_module("pandas")
    return pandas.DataFrame(table(paths, names, unit))


BarRecord.__module__ = "oktdatabase"
