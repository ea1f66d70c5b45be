# SPDX-License-Identifier: MIT
"""bench.py LOAD FOLDER: the package beside the library, in one run. LOAD is the program of load.cpp."""

import os
import pathlib
import shutil
import subprocess
import sys
import threading
import time

import oktdatabase as okt

PARAMETERS = 100_000
TEMPLATES = 5_000
ROUNDS = 9
TYPES = (6, 3, 10, 7, 14, 36, 16, 27)


def best(function, rounds=ROUNDS):
    least = float("inf")
    for _ in range(rounds):
        begin = time.perf_counter()
        kept = function()
        least = min(least, time.perf_counter() - begin)
        del kept
    return least


def by_library(load, *arguments):
    done = subprocess.run([load, *map(str, arguments)], capture_output=True, text=True, check=True)
    return float(done.stdout)


def large_pool(path):
    pool = okt.Pool("Sample", unit="mm")
    for i in range(PARAMETERS):
        parameter = okt.Parameter(TYPES[i % 8], value=12.5 * (i % 97))
        parameter.list_index = 1 + i % 40
        parameter.expression = f"2 * D{i % 50} + 40"
        parameter.description = f"Position {i % 1000}, see drawing"
        pool.add(parameter)
    pool.save(path)


def templates(folder):
    """Real templates, each with ids of its own."""
    folder.mkdir()
    data = pathlib.Path(__file__).resolve().parents[2] / "examples" / "data"
    made = okt.templates(data)
    paths = []
    for i in range(TEMPLATES):
        path = folder / f"{i:05}.okt"
        path.write_bytes(made[i % len(made)].clone(new_ids=True).to_bytes())
        paths.append(path)
    return paths


def read_values(pool):
    for parameter in pool.parameters:
        parameter.value


def open_and_tabulate(paths):
    for path in paths:
        with okt.Pool.open(path, unit="mm") as pool:
            pool.table()


def in_threads(count, path, opens=24):
    def work():
        for _ in range(opens // count):
            with okt.Pool.open(path):
                pass

    threads = [threading.Thread(target=work) for _ in range(count)]
    for thread in threads:
        thread.start()
    for thread in threads:
        thread.join()


def main(load, folder):
    folder = pathlib.Path(folder)
    shutil.rmtree(folder, ignore_errors=True)
    folder.mkdir(parents=True)
    path = folder / "large.okt"
    large_pool(path)
    pool = okt.Pool.open(path, unit="mm")

    def fresh_table():
        return okt.Pool.open(path, unit="mm").table()

    load_time = min(by_library(load, path) for _ in range(3))
    first_time = best(fresh_table, 3) - best(lambda: okt.Pool.open(path, unit="mm"), 3)
    print(f"load by the library: {1000 * load_time:.1f} ms for {PARAMETERS} parameters")
    rows = [
        ("columns of 100,000 parameters, times the load", 0.5, best(pool.table) / load_time),
        ("the same right after the load", None, first_time / load_time),
        ("each value of 100,000 parameters, times the load", 2.0, best(lambda: read_values(pool)) / load_time),
    ]
    paths = templates(folder / "templates")
    listed = folder / "list"
    listed.write_text("".join(f"{each}\n" for each in paths))
    ratios, tables = [], []
    for _ in range(5):
        plain = by_library(load, f"@{listed}")
        ratios.append(best(lambda: open_and_tabulate(paths), 1) / plain)
        tables.append(best(lambda: okt.table(paths, ["Cover", "Diameter"]), 1) / plain)
    rows.append(("5,000 templates opened and tabulated, times the loop that opens them", 3.0, sorted(ratios)[2]))
    rows.append(("okt.table of two parameters over them, times that loop", None, sorted(tables)[2]))
    one = best(lambda: in_threads(1, path), 5)
    rows.append(("two threads with files of their own, times one", 1.7, one / best(lambda: in_threads(2, path), 5)))
    for name, target, figure in rows:
        print(f"| {name} | {'' if target is None else target} | {figure:.2f} |")
    print(f"load of the machine: {os.getloadavg()[0]:.1f} on {os.cpu_count()} processors")


if __name__ == "__main__":
    main(*sys.argv[1:])
