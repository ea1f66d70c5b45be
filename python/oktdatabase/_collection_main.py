# SPDX-License-Identifier: MIT
"""The words of `python3 -m oktdatabase.collection`."""

from __future__ import annotations

import argparse
import os
import sys
from typing import Any

from . import collection
from ._errors import Error
from ._listing import SHARD_FILES

DONE, FAILED = 0, 1


def _count(text: str) -> int:
    number = int(text)
    if number < 1:
        raise argparse.ArgumentTypeError("at least 1")
    return number


def _parser() -> argparse.ArgumentParser:
    parser = argparse.ArgumentParser(
        prog="python3 -m oktdatabase.collection",
        description="Catalogues, verifies and changes folders of pool files of any size.",
        epilog="Exit code: 0 done; 1 something failed, could not be read, or (verify) is damaged; 2 wrong usage.",
    )
    commands = parser.add_subparsers(dest="command", required=True, metavar="COMMAND")

    def add(name: str, text: str) -> argparse.ArgumentParser:
        command = commands.add_parser(name, help=text, description=text)
        command.add_argument("folders", nargs="+", metavar="FOLDER", help="a folder, with all below it")
        command.add_argument("-o", "--out", required=True, metavar="OUT", help="the folder that is written to")
        command.add_argument("--scheduler", metavar="ADDRESS", help="a Dask scheduler, whose workers do the work")
        command.add_argument("--workers", type=_count, metavar="N", help="threads or processes of this machine")
        command.add_argument("--processes", action="store_true", help="processes instead of threads")
        command.add_argument("--shard-files", type=_count, default=SHARD_FILES, metavar="N",
                             help=f"the files of one shard, at most ({SHARD_FILES})")  # fmt: skip
        return command

    for name, text in (
        ("catalog", "Writes the rows of all files, one folder a table."),
        ("verify", "Names the damaged files, and writes the tables file and finding."),
    ):
        add(name, text).add_argument("--format", choices=("jsonl", "parquet"), default="jsonl",
                                     help="of the parts: JSON lines, or Parquet where pyarrow is installed")  # fmt: skip
    apply = add("apply", "Sets values in all files, or calls a function with each, and saves what has changed.")
    apply.add_argument("-v", "--value", action="append", default=[], metavar="NAME=VALUE", help="as okt set takes it")
    apply.add_argument("--where", metavar="CONDITION", help="only templates that fulfil this, as okt set takes it")
    apply.add_argument("-u", "--unit", choices=("mm", "cm", "m", "in", "ft"),
                       help="of lengths without a unit, and of the pools that a function gets")  # fmt: skip
    apply.add_argument("--function", metavar="MODULE:FUNCTION", help="is called with each pool, which it may change")
    apply.add_argument("--dry-run", action="store_true", help="only tell what would change")
    parts = commands.add_parser("parts", help="Names the files that hold a table.")
    parts.add_argument("out", metavar="OUT")
    parts.add_argument("table", metavar="TABLE")
    return parser


def _plural(count: int, word: str) -> str:
    return f"{count} {word}" if count == 1 else f"{count} {word}s"


def _tell(path: str, reason: str) -> None:
    print(f"okt: {path}: {reason}".encode("utf-8", "replace").decode(), file=sys.stderr)


def _collect(options: argparse.Namespace, engine: dict[str, Any]) -> int:
    is_verify = options.command == "verify"
    function = collection.verify if is_verify else collection.catalog
    outcome = function(options.folders, options.out, format=options.format, **engine)
    for path, reason in outcome.unread:
        _tell(path, reason)
    if is_verify:
        for path, reason in outcome.damaged:
            print(f"{path}: {reason}")
    text = f"{_plural(outcome.files, 'file')} in {_plural(outcome.shards, 'shard')}"
    text += f": {len(outcome.damaged)} damaged" if outcome.damaged else ""
    text += f"; {len(outcome.unread)} not read" if outcome.unread else ""
    print(text)
    return FAILED if outcome.unread or (is_verify and outcome.damaged) else DONE


def _apply(options: argparse.Namespace, engine: dict[str, Any]) -> int:
    applied = collection.apply(
        options.folders,
        options.out,
        values=options.value,
        where=options.where,
        unit=options.unit,
        function=options.function,
        dry_run=options.dry_run,
        **engine,
    )
    if options.dry_run:
        for change in collection.changes(options.out):
            print(f"{change['path']}:")
            for line in change["changes"]:
                print(f"  {line}")
    for path, reason in applied.failed:
        _tell(path, reason)
    word = "would change" if options.dry_run else "changed"
    text = f"{_plural(applied.changed, 'file')} {word}"
    for count, words in (
        (applied.same, "so already"),
        (applied.not_meant, "not meant"),
        (applied.done_before, "done before"),
        (len(applied.failed), "failed"),
    ):
        text += f", {count} {words}" if count else ""
    print(text)
    return FAILED if applied.failed else DONE


def main(arguments: list[str] | None = None) -> int:
    """Runs what the arguments say, and gives the exit code."""
    options = _parser().parse_args(arguments)
    if options.command == "apply" and os.getcwd() not in sys.path:
        sys.path.insert(0, os.getcwd())  # where users keep their functions
    try:
        if options.command == "parts":
            for part in collection.parts(options.out, options.table):
                print(part)
            return DONE
        engine = {
            "scheduler": options.scheduler,
            "workers": options.workers,
            "processes": options.processes,
            "shard_files": options.shard_files,
        }
        return _apply(options, engine) if options.command == "apply" else _collect(options, engine)
    except OSError as error:
        name = f"{error.filename}: " if error.filename else ""
        print(f"okt: {name}{error.strerror or error}", file=sys.stderr)
    except (Error, ValueError, ImportError) as error:
        print("okt: " + " ".join(str(error).split()), file=sys.stderr)
    except KeyboardInterrupt:
        print("okt: interrupted; the same command goes on", file=sys.stderr)
    return FAILED
