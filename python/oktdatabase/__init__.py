# SPDX-License-Identifier: MIT
"""Pools of typed parameters, categories, relations and pictures: the objects of a design system.

>>> import oktdatabase as okt
>>> with okt.Pool("Link", unit="mm") as pool:
...     cover = pool.add(okt.Parameter(6, value=35.0))
...     bend = pool.add(okt.Category("Bend"))
...     bend.parameters.append(cover)
...     image = pool.to_bytes()
>>> okt.Pool.from_bytes(image, unit="in").parameters[0].value
1.37795...
"""

from ._errors import Error, FormatError, ObjectGone, PoolWarning
from ._files import (
    Change,
    ChangedMember,
    ComparedObject,
    Comparison,
    Finding,
    Header,
    Loss,
    Recovery,
    RescuedObject,
    UnknownObject,
    compare,
    export_text,
    import_text,
    load_module,
    read_header,
    read_index,
    read_pictures,
    recover,
    unknown_objects,
    verify,
)
from ._objects import (
    Category,
    ClientObject,
    GroupCategory,
    GroupParameter,
    Object,
    Parameter,
    ParamRelation,
    Picture,
    References,
    Relation,
    new_object,
)
from ._pool import Pool
from ._trade import BarRecord, bar_records, draw, frame, table, templates

__all__ = [
    "BarRecord",
    "Category",
    "Change",
    "ChangedMember",
    "ClientObject",
    "ComparedObject",
    "Comparison",
    "Error",
    "Finding",
    "FormatError",
    "GroupCategory",
    "GroupParameter",
    "Header",
    "Loss",
    "Object",
    "ObjectGone",
    "ParamRelation",
    "Parameter",
    "Picture",
    "Pool",
    "PoolWarning",
    "Recovery",
    "References",
    "Relation",
    "RescuedObject",
    "UnknownObject",
    "bar_records",
    "compare",
    "draw",
    "export_text",
    "frame",
    "import_text",
    "load_module",
    "new_object",
    "read_header",
    "read_index",
    "read_pictures",
    "recover",
    "table",
    "templates",
    "unknown_objects",
    "verify",
]

__version__ = "10.0.0"
