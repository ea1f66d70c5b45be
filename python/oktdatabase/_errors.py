# SPDX-License-Identifier: MIT
"""The exceptions and warnings of the package."""

from __future__ import annotations

import errno
import logging
import os
import warnings

_log = logging.getLogger("oktdatabase")
_log.addHandler(logging.NullHandler())


class Error(Exception):
    """What the package raises where no exception of Python says it better.

    >>> import oktdatabase as okt
    >>> pool = okt.Pool()
    >>> pool.close()
    >>> len(pool)
    Traceback (most recent call last):
        ...
    oktdatabase.Error: the pool is closed
    """


class FormatError(Error, ValueError):
    """A file or text that is not what it should be: path, place and reason.

    >>> import oktdatabase as okt
    >>> okt.Pool.from_bytes(b"no pool")
    Traceback (most recent call last):
        ...
    oktdatabase.FormatError: bytes: byte 0: this is no pool file: it does not begin with the size of a header
    """


class ObjectGone(Error, ReferenceError):
    """The object of a handle was erased or removed, or its pool is closed.

    >>> import oktdatabase as okt
    >>> with okt.Pool() as pool:
    ...     cover = pool.add(okt.Parameter(6))
    >>> cover.name
    Traceback (most recent call last):
        ...
    oktdatabase.ObjectGone: the object is gone: its pool is closed
    """


class PoolWarning(UserWarning):
    """What the database reports and goes on from. It also goes to the logger "oktdatabase".

    It is shown only where a filter of warnings asks for it, as nothing is written to standard
    error unasked.

    >>> import oktdatabase as okt
    >>> issubclass(okt.PoolWarning, UserWarning)
    True
    """


for _class in (Error, FormatError, ObjectGone, PoolWarning):
    _class.__module__ = "oktdatabase"

# Behind all other filters, so that any filter of the user comes first.
warnings.simplefilter("ignore", PoolWarning, append=True)

# What OktSaveStatus says where the system has given no number.
_SAVE_ERRORS = {
    1: errno.ENOENT,
    2: errno.EISDIR,
    3: errno.EINVAL,
    4: errno.EACCES,
    5: errno.EBUSY,
    6: errno.EMLINK,
    7: errno.EPERM,
    8: errno.EPERM,
    9: errno.ENOSPC,
    10: errno.ENOMEM,
    12: errno.EFBIG,
    13: errno.EBUSY,
    14: errno.EIO,
}
_SAVE_REASONS = {
    6: "the file has further names (hard links), which would go on naming the old contents",
    7: "the new file cannot be given the owner of the old one",
    8: "the new file cannot be given the permissions or attributes of the old one",
    13: "somebody else has changed the file since the save began",
}
_NOT_FLUSHED = 15


def raise_system(number: int, path: str) -> None:
    """Raises the OSError of that number."""
    raise OSError(number, os.strerror(number), path)


def check_saved(answer: tuple[int, int], path: str) -> None:
    """Raises OSError for what a save has answered, unless the file is saved."""
    status, number = answer
    if status == 0:
        return
    if status == _NOT_FLUSHED:
        tell_report(f"{path}: saved, but the system cannot promise that it outlives a loss of power")
        return
    number = number or _SAVE_ERRORS.get(status, errno.EIO)
    raise OSError(number, _SAVE_REASONS.get(status) or os.strerror(number), path)


def tell_report(text: str) -> None:
    """Passes a warning on."""
    text = " ".join(text.split())
    _log.warning("%s", text)
    warnings.warn(text, PoolWarning, stacklevel=3)
