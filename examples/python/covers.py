# SPDX-License-Identifier: MIT
"""covers.py MILLIMETRES FILE...: gives every template that concrete cover, and tells which files have changed."""

from __future__ import annotations

import sys

import oktdatabase as okt

COVER = 6


def set_cover(path: str, cover: float) -> bool:
    """Whether the file had another cover."""
    with okt.Pool.open(path, unit="mm") as pool:
        covers = [each for each in pool.parameters if each.type == COVER and each.value != cover]
        for each in covers:
            each.value = cover
        if covers:
            pool.save(path)
        return bool(covers)


def main(arguments: list[str]) -> int:
    cover = float(arguments[0])
    failed = False
    for path in arguments[1:]:
        try:
            print(f"{path}: {'changed' if set_cover(path, cover) else 'as it was'}")
        except (okt.Error, OSError) as error:
            print(error, file=sys.stderr)
            failed = True
    return 1 if failed else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
