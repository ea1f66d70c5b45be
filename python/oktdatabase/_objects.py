# SPDX-License-Identifier: MIT
"""The classes of objects: handles, which own nothing that is in a pool."""

from __future__ import annotations

import datetime
import uuid
from collections.abc import Iterable, Iterator, Sequence
from typing import TYPE_CHECKING, Any, Generic, TypeVar, Union, cast, overload

from . import _okt

if TYPE_CHECKING:
    from ._pool import Pool

Value = Union[float, int, bool, str, None, datetime.datetime, list[float]]
Point = tuple[float, float, float]
Reference = Union["Object", uuid.UUID]
_O = TypeVar("_O", bound="Object")

_UNITS = {1.0: "m", 100.0: "cm", 1000.0: "mm", 1 / 0.0254: "in", 1 / 0.3048: "ft"}


def unit_name(factor: float) -> str:
    """The unit of lengths of a factor."""
    for known, name in _UNITS.items():
        if abs(factor - known) <= 1e-9 * known:
            return name
    return f"m/{factor:g}"


class References(Generic[_O]):
    """The objects that an object refers to: a live sequence.

    An element is the object, or its id where the pool has no object of that id.

    >>> import oktdatabase as okt
    >>> pool = okt.Pool()
    >>> bend = pool.add(okt.Category("Bend"))
    >>> cover = pool.add(okt.Parameter(6))
    >>> bend.parameters.append(cover)
    >>> len(bend.parameters), bend.parameters[0] == cover, cover in bend.parameters
    (1, True, True)
    >>> bend.parameters.remove(cover)
    >>> list(bend.parameters)
    []
    """

    __slots__ = ("_field", "_of")

    def __init__(self, of: Object, field: str) -> None:
        self._of = of
        self._field = field

    def _all(self) -> list[Any]:
        return _okt.references(self._of, self._field)

    def __len__(self) -> int:
        return _okt.count_references(self._of, self._field)

    def __iter__(self) -> Iterator[_O]:
        return iter(self._all())

    @overload
    def __getitem__(self, index: int) -> _O: ...

    @overload
    def __getitem__(self, index: slice) -> list[_O]: ...

    def __getitem__(self, index: int | slice) -> _O | list[_O]:
        return cast("_O | list[_O]", self._all()[index])

    def __contains__(self, item: object) -> bool:
        wanted = getattr(item, "id", item)
        return any(_id(each) == wanted for each in self._all())

    def __eq__(self, other: object) -> bool:
        if isinstance(other, (References, list, tuple)):
            return list(self) == list(other)
        return NotImplemented

    __hash__ = None  # type: ignore[assignment]

    def __repr__(self) -> str:
        return f"{self._all()!r}"

    def index(self, item: Reference) -> int:
        """The place of an object; ValueError where it is not there."""
        wanted = _id(item)
        for place, each in enumerate(self._all()):
            if _id(each) == wanted:
                return place
        raise ValueError("the object is not in the list")

    def count(self, item: Reference) -> int:
        """How often the object stands there."""
        wanted = _id(item)
        return sum(_id(each) == wanted for each in self._all())

    def append(self, item: Reference) -> None:
        """Adds an object at the end. All lists but `uses` hold an object once."""
        _okt.append_reference(self._of, self._field, item)

    def extend(self, items: Iterable[Reference]) -> None:
        """Adds each of the objects."""
        for item in list(items):
            self.append(item)

    def remove(self, item: Reference) -> None:
        """Takes an object out; ValueError where it is not there."""
        _okt.remove_reference(self._of, self._field, item)

    def clear(self) -> None:
        """Takes all out."""
        for item in self._all():
            if item in self:
                self.remove(item)


def _id(item: Reference) -> uuid.UUID | None:
    return item if isinstance(item, uuid.UUID) else item.id


class Object(_okt.Handle):
    """A handle of an object; the base of all its classes.

    Handles of one object are equal. An object in a pool is the pool's, one in no pool its handle's.

    >>> import oktdatabase as okt
    >>> pool = okt.Pool()
    >>> cover = pool.add(okt.Parameter(6))
    >>> pool[cover.id] == cover
    True
    >>> cover.class_name
    'OKTDbParameter'
    """

    __slots__ = ()

    def __init__(self) -> None:
        raise TypeError("an object of this class is made by a pool, or by okt.new_object")

    if TYPE_CHECKING:

        @property
        def id(self) -> uuid.UUID | None:
            """The id under which its pool holds it; None where it is in no pool."""

        @property
        def pool(self) -> Pool | None:
            """Its pool, or None."""

    else:
        id = property(_okt.id_of, doc="The id under which its pool holds it; None in no pool.")
        pool = property(_okt.pool_of, doc="Its pool, or None.")

    @property
    def class_name(self) -> str:
        """The name of its stored class."""
        return _okt.class_name(self)

    @property
    def fields(self) -> dict[str, Any]:
        """What the object stores, by the names that its class gives.

        >>> import oktdatabase as okt
        >>> okt.Category("Bend").fields["m_strCategoryName"]
        'Bend'
        """
        fields: dict[str, Any] = {}
        for name, value in _okt.members_of(self):
            unique, number = name, 2
            while unique in fields:
                unique, number = f"{name} ({number})", number + 1
            fields[unique] = value
        return fields

    @property
    def records(self) -> list[Any]:
        """What the object stores, by position, as a file has it: lengths in metres."""
        return _okt.records_of(self)

    def __repr__(self) -> str:
        name = type(self).__name__
        if not _okt.is_alive(self):
            return f"<{name}, gone>"
        title = _okt.name_of(self)
        where = f" {self.id}" if self.id is not None else ", in no pool"
        return f"<{name}{'' if title is None else f' {title!r}'}{where}>"

    def __reduce__(self) -> tuple[Any, ...]:
        if self.pool is not None:
            return _of_pool, (self.pool, self.id)
        data = _okt.frame_of(self)
        if data is None:
            from ._errors import Error

            raise Error(f"a file cannot hold the {self.class_name} {_okt.name_of(self)!r}")
        return _of_frame, (self.class_name, data)

    def __copy__(self: _O) -> _O:
        return self.__deepcopy__({}) if self.pool is None else self

    def __deepcopy__(self: _O, memo: dict[int, Any]) -> _O:
        import copy

        rebuild, arguments = self.__reduce__()
        if self.pool is not None:
            arguments = (copy.deepcopy(self.pool, memo), self.id)
        return cast(_O, rebuild(*arguments))

    def _repr_html_(self) -> str:
        from ._display import object_html

        return object_html(self)


def _of_pool(pool: Pool, key: uuid.UUID) -> Object:
    return pool[key]


def _of_frame(class_name: str, data: bytes) -> Object:
    made = new_object(class_name)
    _okt.read_frame(made, data)
    return made


def new_object(class_name: str) -> Object:
    """A new object of a stored class by its name, such as one that a client module has brought.

    >>> import oktdatabase as okt
    >>> okt.new_object("OKTDbCategory")
    <Category '', in no pool>
    """
    return cast(Object, _okt.new_object(class_name))


class Parameter(Object):
    """A named, typed value. Lengths are in the unit of the pool.

    >>> import oktdatabase as okt
    >>> pool = okt.Pool(unit="mm")
    >>> cover = pool.add(okt.Parameter(6, value=35.0))
    >>> cover.name, cover.value, cover.unit, cover.kind
    ('Cover', 35.0, 'mm', 'VT_R8')
    """

    __slots__ = ()

    def __init__(
        self,
        type: int = -1,
        name: str | None = None,
        value: Value = None,
        owner: Reference | Pool | None = None,
    ) -> None:
        _okt.make_parameter(self, type)
        if name is not None:
            self.name = name
        if value is not None:
            self.value = value
        if owner is not None:
            self.owner = owner

    if TYPE_CHECKING:

        @property
        def name(self) -> str:
            """The display name."""

        @name.setter
        def name(self, name: str) -> None: ...

        @property
        def type(self) -> int:
            """The type number, which decides whether the value is a length."""

        @type.setter
        def type(self, number: int) -> None: ...

        @property
        def value(self) -> Any:
            """float, int, bool, str, None or datetime; of a group a list."""

        @value.setter
        def value(self, value: Value) -> None: ...

    else:
        name = property(_okt.name_of, _okt.set_name, doc="The display name.")
        type = property(_okt.type_of, _okt.set_type_number, doc="The type number.")
        value = property(
            _okt.value_of,
            _okt.set_value,
            doc="float, int, bool, str, None or datetime; of a group a list.",
        )

    @property
    def type_name(self) -> str:
        """The display text of the type."""
        return _okt.text_member(self, "type_name")

    @property
    def kind(self) -> str:
        """The published name of the stored kind of value: "VT_R8"."""
        return _okt.text_member(self, "kind")

    @property
    def unit(self) -> str:
        """The unit of a length: "mm"; of everything else ""."""
        return unit_name(_okt.unit_factor_of(self)) if _okt.is_length(self) else ""

    @property
    def expression(self) -> str:
        """A text that is kept and not evaluated."""
        return _okt.text_member(self, "expression")

    @expression.setter
    def expression(self, text: str) -> None:
        _okt.set_text(self, "expression", text)

    @property
    def description(self) -> str:
        """A free text."""
        return _okt.text_member(self, "description")

    @description.setter
    def description(self, text: str) -> None:
        _okt.set_text(self, "description", text)

    @property
    def list_index(self) -> int:
        """The place in a list of alike parameters, 0 for none."""
        return _okt.list_index(self)

    @list_index.setter
    def list_index(self, index: int) -> None:
        _okt.set_list_index(self, index)

    @property
    def list_code(self) -> str:
        """The list index as letters: "A", "AA"."""
        return _okt.text_member(self, "list_code")

    @property
    def category(self) -> Any:
        """The category, its id where the pool has none of that id, or None."""
        return _okt.reference(self, "category")

    @category.setter
    def category(self, given: Reference | None) -> None:
        _okt.set_reference(self, "category", given)

    @property
    def owner(self) -> Any:
        """The owner, or its id; in a pool at first the id of the pool."""
        return _okt.reference(self, "owner")

    @owner.setter
    def owner(self, given: Reference | Pool | None) -> None:
        _okt.set_reference(self, "owner", given)

    @property
    def uses(self) -> References[Parameter]:
        """The parameters that the value is made of."""
        return References(self, "uses")


class GroupParameter(Parameter):
    """Several parameters under one: their values are read and set as one list. Not stored.

    >>> import oktdatabase as okt
    >>> pool = okt.Pool()
    >>> group = pool.add(okt.GroupParameter())
    >>> for number in (1.0, 2.0):
    ...     group.elements.append(pool.add(okt.Parameter(6, value=number)))
    >>> group.value = [3.0, 4.0]
    >>> [element.value for element in group.elements]
    [3.0, 4.0]
    """

    __slots__ = ()

    def __init__(self, type: int = -1, name: str | None = None) -> None:
        _okt.make_object(self, "OKTDbGroupParameter")
        self.type = type
        if name is not None:
            self.name = name

    @property
    def elements(self) -> References[Parameter]:
        """The elements, ordered by name: shorter names first."""
        return References(self, "elements")


class Category(Object):
    """A named list of parameters.

    >>> import oktdatabase as okt
    >>> okt.Category("Bend").name
    'Bend'
    """

    __slots__ = ()

    def __init__(self, name: str = "") -> None:
        _okt.make_object(self, "OKTDbCategory")
        self.name = name

    if TYPE_CHECKING:

        @property
        def name(self) -> str:
            """The display name."""

        @name.setter
        def name(self, name: str) -> None: ...

    else:
        name = property(_okt.name_of, _okt.set_name, doc="The display name.")

    @property
    def group(self) -> Any:
        """The group that it lies in, its id where the pool has none of that id, or None."""
        return _okt.reference(self, "group")

    @group.setter
    def group(self, given: Reference | None) -> None:
        _okt.set_reference(self, "group", given)

    @property
    def parameters(self) -> References[Parameter]:
        """The parameters in it."""
        return References(self, "parameters")


class GroupCategory(Object):
    """A list of categories.

    >>> import oktdatabase as okt
    >>> pool = okt.Pool()
    >>> group = pool.add(okt.GroupCategory())
    >>> group.categories.append(pool.add(okt.Category("Bend")))
    >>> [category.name for category in group.categories]
    ['Bend']
    """

    __slots__ = ()

    def __init__(self) -> None:
        _okt.make_object(self, "OKTDbGroupCategory")

    @property
    def categories(self) -> References[Category]:
        """The categories in it."""
        return References(self, "categories")


class ClientObject(Object):
    """An object of a client module's class, which is derived from no class named here.

    What it stores is had by the names that its class gives: `construct.members["m_dfDiameter"]`.

    >>> import oktdatabase as okt
    >>> issubclass(okt.ClientObject, okt.Object)
    True
    """

    __slots__ = ()

    @property
    def members(self) -> dict[str, Any]:
        """The same as `fields`."""
        return self.fields


class Relation(Object):
    """An object that ties others together. This base class has no members.

    >>> import oktdatabase as okt
    >>> len(okt.Relation().members)
    0
    """

    __slots__ = ()

    def __init__(self) -> None:
        _okt.make_object(self, "OKTDbRelation")

    @property
    def members(self) -> References[Parameter]:
        """What it ties together."""
        return References(self, "members")


class ParamRelation(Relation):
    """A relation over parameters.

    >>> import oktdatabase as okt
    >>> pool = okt.Pool()
    >>> relation = pool.add(okt.ParamRelation())
    >>> relation.members.append(pool.add(okt.Parameter(6)))
    >>> relation.members[0].type
    6
    """

    __slots__ = ()

    def __init__(self) -> None:
        _okt.make_object(self, "OKTDbParamRelation")


class Picture(Object):
    """The bytes of an image, and the camera that it was taken from.

    >>> import oktdatabase as okt
    >>> picture = okt.Picture(b"image")
    >>> picture.camera = (0.0, 0.0, 1.0)
    >>> picture.data, picture.camera, picture.up
    (b'image', (0.0, 0.0, 1.0), (0.0, 0.0, 0.0))
    """

    __slots__ = ()

    def __init__(self, data: bytes = b"") -> None:
        _okt.make_object(self, "OKTDbPicture")
        self.data = data

    @property
    def data(self) -> bytes:
        """The bytes of the image."""
        return _okt.picture_data(self)

    @data.setter
    def data(self, data: bytes) -> None:
        _okt.set_picture_data(self, data)

    @property
    def camera(self) -> Point:
        """Where the camera stands."""
        return _okt.picture_view(self)[0]

    @camera.setter
    def camera(self, point: Sequence[float]) -> None:
        _, target, up = _okt.picture_view(self)
        _okt.set_picture_view(self, point, target, up)

    @property
    def target(self) -> Point:
        """What it looks at."""
        return _okt.picture_view(self)[1]

    @target.setter
    def target(self, point: Sequence[float]) -> None:
        camera, _, up = _okt.picture_view(self)
        _okt.set_picture_view(self, camera, point, up)

    @property
    def up(self) -> Point:
        """Which direction is up."""
        return _okt.picture_view(self)[2]

    @up.setter
    def up(self, point: Sequence[float]) -> None:
        camera, target, _ = _okt.picture_view(self)
        _okt.set_picture_view(self, camera, target, point)


_TYPES: dict[str, type[Object]] = {
    "OKTDbObject": ClientObject,
    "OKTDbParameter": Parameter,
    "OKTDbGroupParameter": GroupParameter,
    "OKTDbCategory": Category,
    "OKTDbGroupCategory": GroupCategory,
    "OKTDbRelation": Relation,
    "OKTDbParamRelation": ParamRelation,
    "OKTDbPicture": Picture,
}
CLASS_NAMES: dict[type, str] = {known: name for name, known in _TYPES.items()}
CLASS_NAMES[Object] = "OKTDbObject"
for _name, _type in _TYPES.items():
    _okt.set_type(_name, _type)
for _type in (Object, References, *_TYPES.values()):
    _type.__module__ = "oktdatabase"
