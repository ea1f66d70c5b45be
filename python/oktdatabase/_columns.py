# SPDX-License-Identifier: MIT
"""Parameters as whole columns."""

from __future__ import annotations

import uuid
from collections.abc import Iterable, Iterator, Mapping
from functools import lru_cache
from typing import TYPE_CHECKING, Any

from . import _okt

if TYPE_CHECKING:
    from ._pool import Pool

# The kind of array of each column.
_KINDS = {
    "id": "V16",
    "name": "object",
    "type": "int32",
    "list_index": "int32",
    "kind": "object",
    "value": "object",
    "number": "float64",
    "is_length": "bool",
    "expression": "object",
    "description": "object",
    "category": "object",
    "owner": "object",
}
COLUMNS = ("id", "name", "type", "list_index", "kind", "value", "number", "is_length")
_SETTABLE = ("name", "type", "list_index", "value", "number", "expression", "description")


def _numpy() -> Any:
    try:
        import numpy
    except ImportError:
        return None
    return numpy


@lru_cache(maxsize=None)
def _ids_type() -> Any:
    import numpy

    class Ids(numpy.ndarray):  # type: ignore[type-arg]
        """Ids as 16 bytes each. An element is a uuid.UUID."""

        def __getitem__(self, key: Any) -> Any:
            item = super().__getitem__(key)
            return uuid.UUID(bytes=item.tobytes()) if isinstance(item, numpy.void) else item

        def tolist(self) -> Any:
            return _okt.uuids(self.tobytes())

        def __iter__(self) -> Iterator[Any]:
            return iter(self.tolist())

    return Ids


def table(pool: Pool, columns: Iterable[str] | None) -> dict[str, Any]:
    """The columns of a pool."""
    wanted = list(COLUMNS if columns is None else columns)
    for name in wanted:
        if name not in _KINDS:
            raise ValueError(f"there is no column {name!r}")
    numpy = _numpy()
    if numpy is None:
        return {name: _okt.object_column(pool, name) for name in wanted}
    length = _okt.column_length(pool)
    made = {name: numpy.empty(length, dtype=_KINDS[name]) for name in wanted}
    if "id" in made:
        made["id"] = made["id"].view(_ids_type())
    _okt.fill_columns(pool, wanted, [made[name] for name in wanted])
    return made


def _as_list(column: Any) -> list[Any]:
    tolist = getattr(column, "tolist", None)
    return list(column) if tolist is None else list(tolist())


def update(pool: Pool, columns: Mapping[str, Any]) -> int:
    """Writes columns back."""
    if "id" not in columns:
        raise ValueError("the column 'id' is missing, by which the parameters are found")
    ids = _as_list(columns["id"])
    given = {name: _as_list(columns[name]) for name in columns if name in _SETTABLE}
    for name, values in given.items():
        if len(values) != len(ids):
            raise ValueError(f"the column {name!r} has {len(values)} entries, 'id' has {len(ids)}")
    return _okt.update_rows(pool, ids, given)
