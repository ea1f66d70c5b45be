# SPDX-License-Identifier: MIT
"""The rows of a collection in other stores, by the recipes of the documentation."""

import json
import os
import pathlib
import pwd
import re
import shutil
import sqlite3
import subprocess
import sys
import tempfile

import pytest
from collectionfiles import fill
from conftest import GOLDEN, ROOT

from oktdatabase import _okt, collection

MODULES = os.environ.get("OKT_NODE_MODULES", "")
[SERVER, *_] = [*sorted(pathlib.Path("/usr/lib/postgresql").glob("*/bin/postgres")), None]


def recipe(title):
    text = (ROOT / "docs" / "collections.md").read_text()
    found = re.search(rf"^### {title}\n(.*?)^```\w+\n(.*?)^```$", text, re.S | re.M)
    assert found and "##" not in found.group(1), title
    return found.group(2)


@pytest.fixture(scope="module")
def place(tmp_path_factory):
    """A folder with a catalogue of templates and of all golden files in it."""
    folder = tmp_path_factory.mktemp("recipes")
    files = fill(folder / "files", 40, damaged=20)
    for path in GOLDEN.glob("*.okt"):
        shutil.copy(path, files)
    collection.catalog([files], folder / "rows", shard_files=13)
    return folder


def rows_of(place, table):
    return list(collection.rows(place / "rows", table))


def run(*command, cwd, **more):
    done = subprocess.run([str(each) for each in command], capture_output=True, text=True, cwd=cwd, **more)
    assert done.returncode == 0, done.stdout + done.stderr
    return done.stdout


def test_sqlite(place):
    run(sys.executable, "-c", recipe("SQLite"), cwd=place)
    store = sqlite3.connect(place / "rows.db")
    store.row_factory = sqlite3.Row
    for table in _okt.catalog_tables:
        assert [dict(row) for row in store.execute(f'SELECT * FROM "{table}" ORDER BY rowid')] == rows_of(place, table), table


def test_pandas(place):
    pytest.importorskip("pandas")
    names = {}
    before = os.getcwd()
    os.chdir(place)
    try:
        exec(compile(recipe("pandas"), "recipe", "exec"), names)
    finally:
        os.chdir(before)
    assert list(names["files"]["path"]) == [row["path"] for row in rows_of(place, "file")]
    assert list(names["files"]["id"]) == [row["id"] for row in rows_of(place, "file")]
    expected = [row["number"] for row in rows_of(place, "parameter") if row["name"] == "Cover"]
    assert len(expected) >= 38 and sorted(names["covers"]["number"].dropna()) == sorted(
        number for number in expected if number is not None
    )


@pytest.mark.skipif(not MODULES, reason="OKT_NODE_MODULES names no folder with @duckdb/node-api")
def test_duckdb(place):
    (place / "recipe.cjs").write_text(recipe("DuckDB"))
    environment = {**os.environ, "NODE_PATH": MODULES}
    run("node", "recipe.cjs", cwd=place, env=environment)
    (place / "ask.cjs").write_text("""
const { DuckDBInstance } = require("@duckdb/node-api");
(async () => {
    const store = await (await DuckDBInstance.create("rows.duckdb")).connect();
    for (const table of process.argv.slice(2)) {
        const answer = await store.runAndReadAll(`SELECT to_json(t)::VARCHAR FROM "${table}" t ORDER BY rowid`);
        console.log("[" + answer.getRows().map((row) => row[0]).join(",") + "]");
    }
})();
""")
    told = run("node", "ask.cjs", *_okt.catalog_tables, cwd=place, env=environment).splitlines()
    for table, line in zip(_okt.catalog_tables, told, strict=True):
        assert json.loads(line) == rows_of(place, table), table


@pytest.fixture
def server():
    """A server of PostgreSQL that only this test can reach; gives the environment of its clients."""
    if SERVER is None:
        pytest.skip("PostgreSQL is not installed")
    folder = pathlib.Path(tempfile.mkdtemp(prefix="okt-pg-", dir="/tmp"))
    user = pwd.getpwuid(os.geteuid()).pw_name
    become = []
    if os.geteuid() == 0:  # for whom it does not start
        user = "postgres"
        become = ["runuser", "-u", user, "--"]
        shutil.chown(folder, user)
    environment = {key: value for key, value in os.environ.items() if not key.startswith("PG")}
    environment["LC_ALL"] = "C.UTF-8"
    control = [*become, SERVER.parent / "pg_ctl", "-D", folder / "data", "-s", "-w"]
    try:
        run(*become, SERVER.parent / "initdb", "-D", folder / "data", "-A", "trust", "-N", "-E", "UTF8", cwd=folder, env=environment)
        options = f"-c listen_addresses='' -c unix_socket_directories={folder} -c fsync=off"
        run(*control, "-l", folder / "log", "-o", options, "start", cwd=folder, env=environment)
        try:
            yield {**environment, "PGHOST": str(folder), "PGUSER": user, "PGDATABASE": "postgres"}
        finally:
            run(*control, "-m", "immediate", "stop", cwd=folder, env=environment)
    finally:
        shutil.rmtree(folder)


def test_postgresql(place, server):
    run("sh", "-c", recipe("PostgreSQL"), cwd=place, env=server)
    for table in _okt.catalog_tables:
        order = {"file": "path", "words": "file", "parameter": "file, number_in_file"}.get(table, "file, number")
        # Copied, as what psql shows lacks characters that cannot be seen.
        query = rf"""COPY (SELECT row_to_json(t) FROM "{table}" t) TO STDOUT (FORMAT csv, QUOTE E'\x01', DELIMITER E'\x02')"""
        told = run("psql", "-X", "-c", query, cwd=place, env=server)
        columns = [name.strip() for name in order.split(",")]

        def key(row):
            return [row[name] for name in columns]  # noqa: B023

        found = sorted((json.loads(line) for line in told.split("\n") if line), key=key)
        assert found == sorted(rows_of(place, table), key=key), table
