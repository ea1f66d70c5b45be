# SPDX-License-Identifier: MIT
"""What is read of files without a pool, and what is said about them."""

from __future__ import annotations

import os
import uuid
from dataclasses import dataclass
from typing import IO, Any, Union, cast

from . import _okt, _paths
from ._errors import FormatError
from ._objects import Object, Picture
from ._pool import Pool

_SMALLEST_PARTIAL = 1024  # the library refuses to read smaller files in part


@dataclass(frozen=True)
class Header:
    """The fields of a file's header.

    >>> import oktdatabase as okt, io
    >>> okt.read_header(io.BytesIO(okt.Pool("Link").to_bytes())).name
    'Link'
    """

    id: uuid.UUID | None
    name: str
    factor: float
    construct: uuid.UUID | None
    index: uuid.UUID | None
    sketch: uuid.UUID | None
    pictures: list[uuid.UUID]


@dataclass(frozen=True)
class UnknownObject:
    """An object of a class that no module has brought, read by its records.

    >>> import oktdatabase as okt
    >>> okt.UnknownObject("Thing", [1, "two"], None, 400, 60).records[1]
    'two'
    """

    class_name: str
    records: list[Any]
    id: uuid.UUID | None
    offset: int
    size: int


@dataclass(frozen=True)
class Finding:
    """What is wrong with a file, and where.

    >>> import oktdatabase as okt
    >>> okt.Finding("missing", "error", 581, None, "an id leads nowhere").severity
    'error'
    """

    code: str
    severity: str
    offset: int
    id: uuid.UUID | None
    message: str


@dataclass(frozen=True)
class Loss:
    """Bytes of a damaged file that are not in the recovered one, and why.

    >>> import oktdatabase as okt
    >>> why = okt.Finding("cut", "error", 581, None, "the file ends")
    >>> loss = okt.Loss(why, None, "Cover", 500, 581, True)
    >>> loss.end - loss.begin
    81
    """

    why: Finding
    id: uuid.UUID | None
    name: str
    begin: int
    end: int
    is_object: bool


@dataclass(frozen=True)
class RescuedObject:
    """An object of a damaged file that is in the recovered one.

    >>> import oktdatabase as okt
    >>> okt.RescuedObject(None, 500, 81, True, False).size
    81
    """

    id: uuid.UUID | None
    begin: int
    size: int
    is_known: bool
    is_remnant: bool


@dataclass(frozen=True)
class Recovery:
    """What became of a recovery. `written` tells whether there was anything to save.

    >>> import oktdatabase as okt, io
    >>> recovery = okt.recover(io.BytesIO(okt.Pool("Link").to_bytes()), io.BytesIO())
    >>> recovery.written, recovery.losses
    (True, [])
    """

    written: bool
    objects: list[RescuedObject]
    losses: list[Loss]
    mends: list[Finding]
    notes: list[Finding]
    doubts: list[Finding]
    missing: list[uuid.UUID]

    @property
    def is_whole(self) -> bool:
        """Nothing is known to be lost, missing, mended or doubtful."""
        return self.written and not (
            self.losses or self.mends or self.notes or self.doubts or self.missing
        )


@dataclass(frozen=True)
class ComparedObject:
    """An object of one of two files.

    >>> import oktdatabase as okt
    >>> okt.ComparedObject("OKTDbParameter", "Cover", None, 500, 81).name
    'Cover'
    """

    class_name: str
    name: str
    id: uuid.UUID | None
    offset: int
    size: int


@dataclass(frozen=True)
class ChangedMember:
    """A member that differs, its values as JSON of the text form.

    >>> import oktdatabase as okt
    >>> okt.ChangedMember("listIndex", "1", "2").after
    '2'
    """

    member: str
    before: str | None
    after: str | None


@dataclass(frozen=True)
class Change:
    """An object that differs between two files.

    >>> import oktdatabase as okt, io
    >>> pool = okt.Pool(unit="mm")
    >>> cover = pool.add(okt.Parameter(6, value=35.0))
    >>> before = pool.to_bytes()
    >>> cover.value = 40.0
    >>> [change] = okt.compare(io.BytesIO(before), io.BytesIO(pool.to_bytes())).changed
    >>> [each.member for each in change.members]
    ['varConverted']
    """

    before: ComparedObject
    after: ComparedObject
    members: list[ChangedMember]


@dataclass(frozen=True)
class Comparison:
    """The differences of two files. `same` counts the objects without one.

    >>> import oktdatabase as okt, io
    >>> pool = okt.Pool()
    >>> before = pool.to_bytes()
    >>> cover = pool.add(okt.Parameter(6, value=0.035))
    >>> len(okt.compare(io.BytesIO(before), io.BytesIO(pool.to_bytes())).added)
    1
    """

    same: int
    added: list[ComparedObject]
    removed: list[ComparedObject]
    changed: list[Change]
    header: list[ChangedMember]
    other_order: bool

    @property
    def is_same(self) -> bool:
        """There is no difference."""
        return not (
            self.added or self.removed or self.changed or self.header or self.other_order
        )


def load_module(path: _paths.Path) -> list[str]:
    """Loads a client module and gives the names of the classes that it has brought.

    It stays loaded until the process ends. Error where it cannot be loaded, OSError where it is not there.

    >>> import oktdatabase as okt
    >>> okt.load_module("missing.so")
    Traceback (most recent call last):
        ...
    FileNotFoundError: [Errno 2] No such file or directory: 'missing.so'
    """
    os.stat(path)
    name = _paths.plain(path)
    if name is None:
        raise OSError(84, "the name of the file is no UTF-8", os.fsdecode(path))
    return _okt.load_module(os.path.abspath(name))


def _local(path: _paths.Source) -> str | None:
    """The path of a file that the library can open; None: its bytes are read by Python."""
    if _paths.is_file(path):
        return None
    name = _paths.plain(cast(_paths.Path, path))
    if name is not None:
        with open(name, "rb"):  # OSError where it cannot be opened
            pass
    return name


def read_header(path: _paths.Source) -> Header:
    """The header of a file, of which no more is read.

    >>> import oktdatabase as okt, io
    >>> okt.read_header(io.BytesIO(okt.Pool("Link").to_bytes())).pictures
    []
    """
    name = _local(path)
    if name is None:
        return Header(**_okt.header_of_bytes(_paths.read_bytes(path), _paths.name_of(path)))
    return Header(**_okt.header_of_file(name))


def _read_part(path: _paths.Source, is_index: bool) -> Pool | None:
    """A pool with the index or the pictures; None where the file is too small to be read in part."""
    name = _local(path)
    if name is None or os.path.getsize(name) < _SMALLEST_PARTIAL:
        return None
    pool = Pool()
    return pool if _okt.pool_read_part(pool, name, is_index) else None


def read_index(path: _paths.Source) -> Object | None:
    """The index object of a file, which is all that is read of it; None where it has none.

    >>> import oktdatabase as okt, io
    >>> okt.read_index(io.BytesIO(okt.Pool().to_bytes())) is None
    True
    """
    if _paths.is_file(path):
        path = _rewound(path)
    header = read_header(path)
    if header.index is None:
        return None
    pool = _read_part(_again(path), True)
    if pool is None:
        pool = Pool.open(_again(path))
    found = pool.get(header.index)
    if found is None:
        raise FormatError(f"{_paths.name_of(path)}: the index is not where the header says")
    return found


def read_pictures(path: _paths.Source) -> list[Picture]:
    """The pictures of a file in the order of its header, which are all that is read of it.

    >>> import oktdatabase as okt, io
    >>> okt.read_pictures(io.BytesIO(okt.Pool().to_bytes()))
    []
    """
    if _paths.is_file(path):
        path = _rewound(path)
    header = read_header(path)
    if not header.pictures:
        return []
    pool = _read_part(_again(path), False)
    if pool is None:
        pool = Pool.open(_again(path), only=[Picture])
    found = [pool.get(each) for each in header.pictures]
    if any(each is None for each in found):
        raise FormatError(f"{_paths.name_of(path)}: a picture is not where the header says")
    return cast("list[Picture]", found)


def _rewound(file: Any) -> Any:
    """A file object that can be read several times."""
    import io

    return io.BytesIO(_paths.read_bytes(file))


def _again(path: Any) -> Any:
    if _paths.is_file(path):
        path.seek(0)
    return path


def unknown_objects(path: _paths.Source) -> list[UnknownObject]:
    """The objects of classes that no module has brought, by their records.

    >>> import oktdatabase as okt, io
    >>> okt.unknown_objects(io.BytesIO(okt.Pool().to_bytes()))
    []
    """
    name = _local(path)
    if name is None:
        found = _okt.unknown_in_bytes(_paths.read_bytes(path), _paths.name_of(path))
    else:
        found = _okt.unknown_in_file(name)
    return [UnknownObject(*each) for each in found]


def export_text(path: _paths.Source) -> str:
    """The lossless text form (JSON) of a file.

    >>> import oktdatabase as okt, io
    >>> image = okt.Pool("Link").to_bytes()
    >>> okt.import_text(okt.export_text(io.BytesIO(image))) == image
    True
    """
    return _okt.export_text(_paths.read_bytes(path), _paths.name_of(path))


def import_text(text: Union[str, IO[str]]) -> bytes:
    """The image that a text form stands for, byte for byte the file that it was made from.

    >>> import oktdatabase as okt
    >>> okt.import_text("no JSON")
    Traceback (most recent call last):
        ...
    oktdatabase.FormatError: ...
    """
    return _okt.import_text(text if isinstance(text, str) else text.read())


def verify(path: _paths.Source) -> list[Finding]:
    """What is wrong with a file; nothing: it is sound.

    >>> import oktdatabase as okt, io
    >>> okt.verify(io.BytesIO(okt.Pool().to_bytes()))
    []
    """
    return [Finding(*each) for each in _okt.verify_bytes(_paths.read_bytes(path))]


def recover(path: _paths.Source, out: _paths.Target) -> Recovery:
    """Saves what is whole of a damaged file, and tells what is not.

    >>> import oktdatabase as okt, io
    >>> out = io.BytesIO()
    >>> okt.recover(io.BytesIO(okt.Pool("Link").to_bytes()), out).is_whole
    True
    """
    data, facts = _okt.recover_bytes(_paths.read_bytes(path))
    if data is not None:
        _paths.save_bytes(data, out)
    losses = [
        Loss(Finding(*why), key, name, begin, end, is_object)
        for why, key, name, begin, end, is_object in facts["losses"]
    ]
    return Recovery(
        written=data is not None,
        objects=[RescuedObject(*each) for each in facts["objects"]],
        losses=losses,
        mends=[Finding(*each) for each in facts["mends"]],
        notes=[Finding(*each) for each in facts["notes"]],
        doubts=[Finding(*each) for each in facts["doubts"]],
        missing=facts["missing"],
    )


def compare(a: _paths.Source, b: _paths.Source, by: str = "id") -> Comparison:
    """The differences of two files, whose objects are matched by "id", or for clones by "name".

    >>> import oktdatabase as okt, io
    >>> image = okt.Pool("Link").to_bytes()
    >>> okt.compare(io.BytesIO(image), io.BytesIO(image)).is_same
    True
    """
    if by not in ("id", "name"):
        raise ValueError(f'objects are matched by "id" or "name", not by {by!r}')
    facts = _okt.compare_bytes(
        _paths.read_bytes(a),
        _paths.read_bytes(b),
        by == "name",
        _paths.name_of(a),
        _paths.name_of(b),
    )
    changes = [
        Change(
            ComparedObject(*before),
            ComparedObject(*after),
            [ChangedMember(*each) for each in members],
        )
        for before, after, members in facts["changed"]
    ]
    return Comparison(
        same=facts["same"],
        added=[ComparedObject(*each) for each in facts["added"]],
        removed=[ComparedObject(*each) for each in facts["removed"]],
        changed=changes,
        header=[ChangedMember(*each) for each in facts["header"]],
        other_order=facts["other_order"],
    )


for _class in (
    Header,
    UnknownObject,
    Finding,
    Loss,
    RescuedObject,
    Recovery,
    ComparedObject,
    ChangedMember,
    Change,
    Comparison,
):
    _class.__module__ = "oktdatabase"
