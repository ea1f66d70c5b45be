# SPDX-License-Identifier: MIT
"""What a notebook shows of a pool and of an object."""

from __future__ import annotations

import base64
from collections.abc import Sequence
from html import escape
from typing import TYPE_CHECKING, Any

from . import _okt

if TYPE_CHECKING:
    from ._objects import Object
    from ._pool import Pool

_MOST_ROWS = 200
_SIGNATURES = {b"\x89PNG": "png", b"\xff\xd8\xff": "jpeg", b"GIF8": "gif", b"BM": "bmp"}


def _text(value: Any) -> str:
    shown = f"{value:g}" if isinstance(value, float) else str(value)
    return escape(shown.encode("utf-8", "replace").decode("utf-8"))


def _rows(rows: Sequence[Sequence[str]], head: Sequence[str]) -> str:
    lines = ["<table><thead><tr>", *(f"<th>{each}</th>" for each in head), "</tr></thead><tbody>"]
    for row in rows:
        lines += ["<tr>", *(f"<td>{each}</td>" for each in row), "</tr>"]
    return "".join(lines) + "</tbody></table>"


def pool_html(pool: Pool) -> str:
    """The preview picture and the parameters."""
    if pool.closed:
        return "<p>Pool, closed</p>"
    parts = [f"<p><b>{_text(pool.name)}</b>, {len(pool)} objects</p>"]
    for picture in pool.pictures[:1]:
        data = picture.data
        for signature, kind in _SIGNATURES.items():
            if data.startswith(signature):
                code = base64.b64encode(data).decode("ascii")
                parts.append(f'<img alt="preview" width="400" src="data:image/{kind};base64,{code}">')
    parameters = pool.parameters
    rows = [
        (_text(each.name), _text(each.value), each.unit, _text(each.expression))
        for each in parameters[:_MOST_ROWS]
    ]
    parts.append(_rows(rows, ("Parameter", "Value", "Unit", "Expression")))
    if len(parameters) > _MOST_ROWS:
        parts.append(f"<p>and {len(parameters) - _MOST_ROWS} more parameters</p>")
    return "".join(parts)


def object_html(obj: Object) -> str:
    """What the object stores."""
    if not _okt.is_alive(obj):
        return "<p>object, gone</p>"
    rows = [
        (_text(name), _text(value if not isinstance(value, bytes) else f"{len(value)} bytes"))
        for name, value in obj.fields.items()
    ]
    return f"<p>{_text(repr(obj))}</p>" + _rows(rows, ("Member", "Value"))
