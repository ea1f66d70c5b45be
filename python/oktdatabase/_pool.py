# SPDX-License-Identifier: MIT
"""Pools."""

from __future__ import annotations

import os
import uuid
from collections.abc import Iterable, Iterator, Mapping
from types import TracebackType
from typing import TYPE_CHECKING, Any, TypeVar, Union, cast

from . import _columns, _okt, _paths
from ._errors import FormatError, check_saved
from ._objects import (
    CLASS_NAMES,
    Category,
    GroupCategory,
    Object,
    Parameter,
    Picture,
    Relation,
    unit_name,
)

if TYPE_CHECKING:
    from typing_extensions import Self

_O = TypeVar("_O", bound=Object)
Unit = Union[str, float]
ClassLike = Union[type[Object], str]

FACTORS = {"m": 1.0, "cm": 100.0, "mm": 1000.0, "in": 1 / 0.0254, "ft": 1 / 0.3048}


def factor_of(unit: Unit) -> float:
    """Drawing units per metre."""
    if isinstance(unit, str):
        if unit not in FACTORS:
            raise ValueError(f'a unit is "m", "cm", "mm", "in", "ft" or a number, not {unit!r}')
        return FACTORS[unit]
    factor = float(unit)
    if not 0 < factor < float("inf"):
        raise ValueError(f"a metrics factor is a number above 0, not {unit!r}")
    return factor


def class_name_of(wanted: ClassLike) -> str:
    """The name of a stored class."""
    if isinstance(wanted, str):
        return wanted
    if wanted in CLASS_NAMES:
        return CLASS_NAMES[wanted]
    raise TypeError(f"a class of objects or its name is wanted, not {wanted!r}")


class Pool(_okt.PoolCore):
    """A set of objects by id: what one file holds.

    >>> import oktdatabase as okt
    >>> with okt.Pool("Link", unit="mm") as pool:
    ...     cover = pool.add(okt.Parameter(6, value=35.0))
    ...     len(pool), cover.value
    (1, 35.0)
    """

    def __init__(self, name: str = "", unit: Unit = "m") -> None:
        super().__init__(factor_of(unit))
        if name:
            _okt.set_pool_name(self, name)

    @classmethod
    def _empty(cls, factor: float) -> Self:
        pool = cls.__new__(cls)
        _okt.PoolCore.__init__(pool, factor)
        return pool

    # --- Files and images ---

    @classmethod
    def open(
        cls,
        path: _paths.Source,
        unit: Unit = "m",
        only: Iterable[ClassLike] | None = None,
    ) -> Self:
        """Loads a file. `only` are the classes whose objects are kept, derived classes included.

        >>> import oktdatabase as okt, tempfile, os
        >>> file = os.path.join(tempfile.mkdtemp(), "link.okt")
        >>> okt.Pool("Link").save(file)
        >>> okt.Pool.open(file).name
        'Link'
        """
        classes = [] if only is None else [class_name_of(each) for each in only]
        pool = cls._empty(factor_of(unit))
        name = None if _paths.is_file(path) else _paths.plain(cast(_paths.Path, path))
        if name is not None:
            _okt.pool_read_file(pool, name, classes, only is not None)
        else:
            data = _paths.read_bytes(path)
            _okt.pool_read_image(pool, data, _paths.name_of(path), classes, only is not None)
        return pool

    @classmethod
    def from_bytes(cls, data: bytes, unit: Unit = "m") -> Self:
        """The pool of an image in memory, as a file holds it.

        >>> import oktdatabase as okt
        >>> okt.Pool.from_bytes(okt.Pool("Link").to_bytes()).name
        'Link'
        """
        pool = cls._empty(factor_of(unit))
        _okt.pool_read_image(pool, data, "bytes", [], False)
        return pool

    def to_bytes(self) -> bytes:
        """The image of the file, whatever the unit of the pool is."""
        return _okt.pool_image(self)

    def save(self, path: _paths.Target) -> None:
        """Saves to a file: the old one is there or the new one, never less."""
        name = None if _paths.is_file(path) else _paths.plain(cast(_paths.Path, path))
        if name is None:
            _paths.save_bytes(self.to_bytes(), path)
        else:
            check_saved(_okt.pool_save(self, name), os.fsdecode(cast(_paths.Path, path)))

    def write_file(self, path: _paths.Path) -> None:
        """The library's own operation: cuts the file and writes it anew."""
        _okt.pool_write_file(self, _named(path))

    def write_xml(self, path: _paths.Path) -> bool:
        """Writes an XML document. False where the document bears no ids, as for every object."""
        return _okt.pool_write_xml(self, _named(path))

    @classmethod
    def open_xml(cls, path: _paths.Path, unit: Unit = "m") -> Self:
        """The pool of an XML document. FormatError where nothing of it could be read."""
        pool = cls._empty(factor_of(unit))
        name = _named(path)
        if not _okt.pool_read_xml(pool, name) and len(pool) == 0 and not pool.name:
            with open(name, "rb") as file:
                start = file.read(1024).lstrip()
            if not start.startswith(b"<"):
                raise FormatError(f"{name}: it is no XML document")
        return pool

    # --- Settings ---

    @property
    def name(self) -> str:
        """The name, which the file holds."""
        return _okt.pool_name(self)

    @name.setter
    def name(self, name: str) -> None:
        _okt.set_pool_name(self, name)

    @property
    def id(self) -> uuid.UUID:
        """The id of the pool."""
        return _okt.pool_id(self)

    @property
    def unit_factor(self) -> float:
        """Drawing units per metre."""
        return _okt.pool_factor(self)

    @property
    def unit(self) -> str:
        """The unit of its lengths: "mm"."""
        return unit_name(_okt.pool_factor(self))

    @property
    def roles(self) -> dict[str, Any]:
        """The ids that the header names: construct, index, sketch, actions, radial, pictures."""
        return _okt.pool_roles(self)

    # --- Objects ---

    def __len__(self) -> int:
        return _okt.pool_size(self)

    def __bool__(self) -> bool:
        return True

    def __iter__(self) -> Iterator[Object]:
        return iter(_okt.pool_objects(self, None))

    def __getitem__(self, key: uuid.UUID) -> Object:
        found = _okt.pool_find(self, key)
        if found is None:
            raise KeyError(key)
        return cast(Object, found)

    def get(self, key: uuid.UUID) -> Object | None:
        """The object of that id, or None.

        >>> import oktdatabase as okt, uuid
        >>> okt.Pool().get(uuid.uuid4()) is None
        True
        """
        return cast("Object | None", _okt.pool_find(self, key))

    def __contains__(self, key: object) -> bool:
        if isinstance(key, Object):
            return key.pool is self
        return isinstance(key, uuid.UUID) and _okt.pool_find(self, key) is not None

    def objects(self, cls: ClassLike | None = None, name: str | None = None) -> list[Any]:
        """The objects in id order: of a class and those derived from it, and of a display name.

        >>> import oktdatabase as okt
        >>> pool = okt.Pool()
        >>> bend = pool.add(okt.Category("Bend"))
        >>> pool.objects(okt.Category, name="Bend") == [bend]
        True
        """
        wanted = None if cls is None else class_name_of(cls)
        if name is not None:
            return _okt.pool_named(self, name, wanted)
        return _okt.pool_objects(self, wanted)

    @property
    def parameters(self) -> list[Parameter]:
        """The parameters, groups of them included."""
        return cast("list[Parameter]", _okt.pool_objects(self, "OKTDbParameter"))

    @property
    def categories(self) -> list[Category]:
        """The categories."""
        return cast("list[Category]", _okt.pool_objects(self, "OKTDbCategory"))

    @property
    def groups(self) -> list[GroupCategory]:
        """The groups of categories."""
        return cast("list[GroupCategory]", _okt.pool_objects(self, "OKTDbGroupCategory"))

    @property
    def relations(self) -> list[Relation]:
        """The relations."""
        return cast("list[Relation]", _okt.pool_objects(self, "OKTDbRelation"))

    @property
    def pictures(self) -> list[Picture]:
        """The pictures."""
        return cast("list[Picture]", _okt.pool_objects(self, "OKTDbPicture"))

    def find(self, name: str) -> Any:
        """The one object of that display name; LookupError for none or several.

        >>> import oktdatabase as okt
        >>> okt.Pool().find("Bend")
        Traceback (most recent call last):
            ...
        LookupError: no object has the name 'Bend'
        """
        found = _okt.pool_named(self, name, None)
        if len(found) != 1:
            several = f"{len(found)} objects have" if found else "no object has"
            raise LookupError(f"{several} the name {name!r}")
        return found[0]

    def add(self, obj: _O) -> _O:
        """Takes an object over and gives it. A parameter without an owner gets the pool as one."""
        _okt.pool_add(self, obj)
        return obj

    def remove(self, obj: _O) -> _O:
        """Hands an object back: it is in no pool then, and owned by this handle."""
        _okt.pool_remove(self, obj)
        return obj

    def erase(self, obj: Object) -> None:
        """Deletes an object."""
        _okt.pool_erase(self, obj)

    def replace(self, old: Object, new: _O) -> _O:
        """Puts a new object under the id of an old one, which is gone then.

        >>> import oktdatabase as okt
        >>> pool = okt.Pool()
        >>> old = pool.add(okt.Category("Bend"))
        >>> key = old.id
        >>> pool.replace(old, okt.Category("Hook")).id == key
        True
        """
        _okt.pool_replace(self, old, new)
        return new

    def clone(self, new_ids: bool = False) -> Self:
        """A copy; with `new_ids` every object has a new id, and the references follow."""
        pool = self._empty(self.unit_factor)
        _okt.pool_clone(self, pool, new_ids)
        return pool

    def copy_from(self, other: Pool) -> None:
        """Adds copies of another pool's objects, with their ids; takes its id and unit over."""
        _okt.pool_copy_from(self, other)

    # --- Columns ---

    def table(self, columns: Iterable[str] | None = None) -> dict[str, Any]:
        """The parameters as columns, which own their memory: arrays of NumPy, or else lists.

        Columns are id, name, type, list_index, kind, value, number (NaN where the value is none)
        and is_length; and on request expression, description, category and owner.

        >>> import oktdatabase as okt
        >>> pool = okt.Pool(unit="mm")
        >>> cover = pool.add(okt.Parameter(6, value=35.0))
        >>> [float(number) for number in pool.table()["number"]]
        [35.0]
        """
        return _columns.table(self, columns)

    def update(self, columns: Mapping[str, Any]) -> int:
        """Writes columns back by id, where they differ, and gives how many parameters changed.

        >>> import oktdatabase as okt
        >>> pool = okt.Pool(unit="mm")
        >>> cover = pool.add(okt.Parameter(6, value=35.0))
        >>> pool.update({"id": [cover.id], "value": [40.0]}), cover.value
        (1, 40.0)
        """
        return _columns.update(self, columns)

    # --- Life ---

    def close(self) -> None:
        """Deletes the objects. Their handles answer ObjectGone; a second time changes nothing."""
        self._close()

    def __enter__(self) -> Self:
        return self

    def __exit__(
        self,
        kind: type[BaseException] | None,
        error: BaseException | None,
        trace: TracebackType | None,
    ) -> None:
        self.close()

    def __reduce__(self) -> tuple[Any, ...]:
        return _of_image, (type(self), self.to_bytes(), self.unit_factor)

    def __eq__(self, other: object) -> bool:
        """The same contents: what their files would hold."""
        if not isinstance(other, Pool):
            return NotImplemented
        return self is other or _contents(self) == _contents(other)

    __hash__ = None  # type: ignore[assignment]

    def __repr__(self) -> str:
        if self.closed:
            return "<Pool, closed>"
        count = len(self)
        return f"<Pool {self.name!r}, {count} object{'' if count == 1 else 's'}, in {self.unit}>"

    def _repr_html_(self) -> str:
        from ._display import pool_html

        return pool_html(self)


def _named(path: _paths.Path) -> str:
    name = _paths.plain(path)
    if name is None:
        raise OSError(84, "the name of the file is no UTF-8", os.fsdecode(path))
    return name


def _of_image(cls: type[Pool], data: bytes, factor: float) -> Pool:
    return cls.from_bytes(data, unit=factor)


def _contents(pool: Pool) -> Any:
    """The image, or what is in the objects where a file could not hold that."""
    from ._errors import Error

    try:
        return pool.to_bytes()
    except Error:
        return (
            pool.id,
            pool.name,
            pool.roles,
            [(each.id, each.class_name, _okt.members_of(each)) for each in pool],
        )


Pool.__module__ = "oktdatabase"
