# SPDX-License-Identifier: MIT
"""Folders of pool files for the tests of collections."""

import functools
import hashlib
import os
import pathlib
import subprocess
import sys

from conftest import EXAMPLES

import oktdatabase as okt

BUILD = os.environ.get("OKT_BUILD_DIR", "")
OKT = pathlib.Path(BUILD) / "tools" / "okt" / "okt"


@functools.cache
def templates():
    """Those with a cover."""
    return [each for each in okt.templates(EXAMPLES / "data") if any(one.name == "Cover" for one in each.parameters)]


def fill(folder, count, damaged=0):
    """So many templates with a cover, each with ids of its own; every `damaged`th is cut off."""
    made = templates()
    for i in range(count):
        path = folder / f"d{i // 100:03}" / f"{i:05}.okt"
        path.parent.mkdir(parents=True, exist_ok=True)
        data = made[i % len(made)].clone(new_ids=True).to_bytes()
        path.write_bytes(data[: len(data) * 2 // 3] if damaged and i % damaged == damaged // 2 else data)
    return folder


def run(*arguments, **more):
    """The module as a command. Gives what it has done."""
    command = [sys.executable, "-m", "oktdatabase.collection", *map(str, arguments)]
    return subprocess.run(command, capture_output=True, text=True, **more)


def tree(folder):
    """Digests of all files below a folder but the lock."""
    return {
        str(path.relative_to(folder)): hashlib.sha256(path.read_bytes()).hexdigest()
        for path in sorted(folder.rglob("*"))
        if path.is_file() and path.name != ".lock"
    }
