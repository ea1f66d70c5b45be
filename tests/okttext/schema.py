# SPDX-License-Identifier: MIT
"""schema.py OKT SCHEMA DATA GOLDEN FOLDER: the text form of pool files keeps to its schema, and gives the files again.

Takes the golden files of the folder GOLDEN that are whole, and the templates that okt makes of DATA. What is made goes to
FOLDER."""

import json
import pathlib
import shutil
import subprocess
import sys

import jsonschema

okt, schema_path, data, golden, folder = sys.argv[1:]
folder = pathlib.Path(folder)
with open(schema_path, encoding="utf-8") as stream:
    schema = json.load(stream)
jsonschema.Draft202012Validator.check_schema(schema)
validator = jsonschema.Draft202012Validator(schema)
failed = False


def fault(text):
    global failed
    failed = True
    print(text)


def run(*arguments):
    return subprocess.run([okt, *map(str, arguments)], capture_output=True, text=True)


def check_file(pool, *options):
    text, again = folder / "pool.json", folder / "again.okt"
    exported = run("export", pool, "-o", text, "--force", *options)
    if exported.returncode != 0:
        fault(f"{pool}: {exported.stderr}")
        return None
    with open(text, encoding="utf-8") as stream:
        document = json.load(stream)
    for error in validator.iter_errors(document):
        fault(f"{pool}: {error.json_path}: {error.message[:200]}")
    imported = run("import", text, "-o", again, "--force", *options)
    if imported.returncode != 0:
        fault(f"{pool}: {imported.stderr}")
    elif pathlib.Path(pool).read_bytes() != again.read_bytes():
        fault(f"{pool}: the file that its text gives is another one")
    return document


def check_refused(document, change, what):
    copy = json.loads(json.dumps(document))
    change(copy)
    if validator.is_valid(copy):
        fault(f"the schema takes {what}")
    wrong = folder / "wrong.json"
    wrong.write_text(json.dumps(copy), encoding="utf-8")
    if run("import", wrong, "-o", folder / "wrong.okt").returncode != 1:
        fault(f"okt import takes {what}")


shutil.rmtree(folder, ignore_errors=True)
folder.mkdir(parents=True)
if run("build", data, "-o", folder / "templates").returncode != 0:
    fault("no templates were made")
pools = [path for path in sorted(pathlib.Path(golden).glob("*.okt")) if path.name != "truncated.okt"]
templates = sorted((folder / "templates").glob("*.okt"))
if len(pools) < 20 or len(templates) < 20:
    fault(f"{len(pools)} golden files and {len(templates)} templates are too few")
for path in pools + templates:
    check_file(path)
check_file(templates[0], "--pictures", folder / "pictures")
check_file(pathlib.Path(golden) / "pictures.okt", "--pictures", folder / "pictures")

# A schema that takes everything would have passed so far.
whole = check_file(pathlib.Path(golden) / "stirrup.okt")
section = ("objects", 0, "content", 1, "content")


def at(document, path):
    for step in path:
        document = document[step]
    return document


for change, what in [
    (lambda d: d.pop("header"), "a pool without header"),
    (lambda d: d.pop("objects"), "a pool without objects"),
    (lambda d: d.update(version=2), "another version"),
    (lambda d: d.update(format="text"), "another format"),
    (lambda d: d.update(further=1), "a further key"),
    (lambda d: d["objects"].append(1), "a number as an object"),
    (lambda d: d["objects"].append({}), "an entry without a value"),
    (lambda d: d["objects"].append({"name": "x"}), "an entry with a name alone"),
    (lambda d: d["objects"].append({"long": 1, "short": 1}), "two values in an entry"),
    (lambda d: d["objects"].append({"variant": "VT_I4", "long": 1, "short": 1}), "two values in a variant"),
    (lambda d: d["objects"].append({"variant": "VT_I5"}), "a variant of no kind"),
    (lambda d: d["objects"].append({"raw": "A"}), "half a character of base64"),
    (lambda d: d["objects"][0].pop("version"), "a frame without version"),
    (lambda d: at(d, section).append({"long": 2147483648}), "a long of 33 bits"),
    (lambda d: at(d, section).append({"long": 1.5}), "a long with a fraction"),
    (lambda d: at(d, section).append({"short": 32768}), "a short of 17 bits"),
    (lambda d: at(d, section).append({"bool": 256}), "a bool of nine bits"),
    (lambda d: at(d, section).append({"double": "nan"}), "a nan without bits"),
    (lambda d: at(d, section).append({"double": None}), "a double that is null"),
    (lambda d: at(d, section).append({"id": "{0}"}), "half an id"),
    (lambda d: at(d, section).append({"ids": ["x"]}), "a word as an id"),
    (lambda d: at(d, section).append({"point": [1, 2]}), "a point in the plane"),
    (lambda d: at(d, section).append({"string16": 1}), "a number as a text"),
    (lambda d: at(d, section).append({"string16": "x" * 65536}), "a text that is too long"),
    (lambda d: at(d, section).append({"string16-escaped": "\\x"}), "a backslash before another letter"),
    (lambda d: at(d, section).append({"bytes-file": "../x"}), "a file in another folder"),
]:
    check_refused(whole, change, what)

print(f"{len(pools)} golden files, {len(templates)} templates")
sys.exit(1 if failed else 0)
