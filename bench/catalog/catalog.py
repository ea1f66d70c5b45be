# SPDX-License-Identifier: MIT
"""catalog.py OKT DATA FOLDER [TEMPLATES [REPETITIONS]]: how long a catalogue takes to build, to renew and to ask.

Makes templates of DATA with okt, 10,000 where nothing else is said, no two of which have an id in common. Beside okt, in turns, sha256sum
reads the same files, and a program of the standard library alone (walk.cpp, built here) walks the folder. Then a catalogue of one million
made rows of objects is asked. Writes the table of docs/performance.md to FOLDER."""

import os
import pathlib
import shutil
import sqlite3
import statistics
import subprocess
import sys
import time

okt, data, folder = sys.argv[1:4]
count = int(sys.argv[4]) if len(sys.argv) > 4 else 10_000
repetitions = int(sys.argv[5]) if len(sys.argv) > 5 else 5
folder = pathlib.Path(folder).resolve()
library = folder / "templates"
catalog = folder / "library.okc"
made = folder / "million.okc"
walk = folder / "walk"


def make_templates():
    shutil.rmtree(library, ignore_errors=True)
    number = 0
    while sum(1 for _ in library.glob("*/*.okt")) < count:
        subprocess.run([okt, "build", data, "-o", library / f"{number:04}"], capture_output=True, check=False)
        number += 1
    for path in sorted(library.glob("*/*.okt"))[count:]:
        path.unlink()
    hour_ago = time.time_ns() - 3_600_000_000_000
    for path in library.glob("*/*.okt"):
        os.utime(path, ns=(hour_ago, hour_ago + 7))


def spent(arguments):
    """Elapsed seconds and the largest resident size of a process, in bytes. Nothing of this process runs meanwhile."""
    begin = time.perf_counter()
    pid = os.posix_spawnp(str(arguments[0]), [str(one) for one in arguments], os.environ,
                          file_actions=[(os.POSIX_SPAWN_OPEN, 1, os.devnull, os.O_WRONLY, 0)])
    _, status, usage = os.wait4(pid, 0)
    taken = time.perf_counter() - begin
    assert status == 0, arguments
    return taken, usage.ru_maxrss * 1024


def seconds(arguments):
    return spent(arguments)[0]


def peak_of(arguments):
    return spent(arguments)[1]


def digest_all(files):
    """One sha256sum over all of them: their names on its standard input would need xargs, which may start several."""
    return ["sha256sum", *files]


def make_million():
    """The catalogue of one small folder, with rows of files that are nowhere."""
    small = folder / "small"
    shutil.rmtree(small, ignore_errors=True)
    small.mkdir()
    shutil.copy(next(library.glob("*/*.okt")), small)
    made.unlink(missing_ok=True)
    seconds([okt, "catalog", "update", made, small])
    store = sqlite3.connect(made)
    columns = [row[1] for row in store.execute("PRAGMA table_info(file)")]
    first = dict(zip(columns, store.execute("SELECT * FROM file").fetchone()))
    names = ["Cover", "Diameter", "Leg A", "Leg B", "Spacing", "Hook length 1", "Cutting length", "Steelgrade"]
    with store:
        for file in range(2, 31_252):
            row = {**first, "id": file, "path": f"/nowhere/{file}.okt", "pool_id": f"{{{file:08X}-0000-0000-0000-000000000000}}",
                   "pool_name": f"Link {file}"}
            store.execute(f"INSERT INTO file VALUES ({','.join('?' * len(columns))})", [row[name] for name in columns])
            store.executemany("INSERT INTO object VALUES (?, ?, ?, 'OKTDbParameter', ?, ?, 320)",
                              [(file, number, f"{{{(file * 2654435761) & 0xFFFFFFFF:08X}-0000-0000-0000-{number:012X}}}",
                                names[number % 8], 581 + 320 * number) for number in range(32)])
            store.execute("INSERT INTO words (rowid, file, name, text, description, expression) VALUES (?, ?, ?, '', '', '')",
                          (file, file, "\n".join([f"Link {file}", *names])))
    rows = store.execute("SELECT count(*) FROM object").fetchone()[0]
    wanted = store.execute("SELECT object_id FROM object WHERE file = 20000 AND number = 7").fetchone()[0]
    store.close()
    return rows, wanted


folder.mkdir(parents=True, exist_ok=True)
subprocess.run(["g++", "-std=c++20", "-O2", pathlib.Path(__file__).parent / "walk.cpp", "-o", walk], check=True)
make_templates()
files = sorted(library.glob("*/*.okt"))
size = sum(path.stat().st_size for path in files)
times = {"build": [], "sha256sum": [], "renewal": [], "walk": [], "id": [], "name": [], "start": []}
seconds(digest_all(files))  # into memory
for _ in range(repetitions):
    catalog.unlink(missing_ok=True)
    times["build"].append(seconds([okt, "catalog", "update", catalog, library]))
    times["sha256sum"].append(seconds(digest_all(files)))
for _ in range(2 * repetitions):
    times["renewal"].append(seconds([okt, "catalog", "update", catalog, library]))
    times["walk"].append(seconds([walk, library]))
catalog.unlink()
peak = peak_of([okt, "catalog", "update", catalog, library])
rows, wanted = make_million()
for _ in range(2 * repetitions):
    times["start"].append(seconds([okt, "--version"]))
    times["id"].append(seconds([okt, "catalog", "find", made, wanted]))
    times["name"].append(seconds([okt, "catalog", "find", made, "Link", "20000"]))
middle = {name: statistics.median(taken) for name, taken in times.items()}


def row(what, target, measured, isMet):
    return f"| {what} | {target} | {measured} | {'met' if isMet else 'not met'} |"


build = middle["build"] / middle["sha256sum"]
renewal = middle["renewal"] / middle["walk"]
lines = [f"{len(files)} templates, {size / 1e6:.0f} MB in memory; {rows} made rows of objects; medians of {repetitions} runs, of the short ones "
         f"of {2 * repetitions}.", "",
         "| | Target | Measured | |", "|---|--:|--:|---|",
         row("first build, times `sha256sum`", "at most 3", f"{build:.2f} ({middle['build'] * 1000:.0f} of {middle['sha256sum'] * 1000:.0f} ms)", build <= 3),
         row("renewal without changes, times a walk with `stat`", "at most 3",
             f"{renewal:.2f} ({middle['renewal'] * 1000:.1f} of {middle['walk'] * 1000:.1f} ms)", renewal <= 3),
         row("look-up of an id, the start of `okt` included", "below 10 ms", f"{middle['id'] * 1000:.1f} ms (start {middle['start'] * 1000:.1f})",
             middle["id"] < 0.010),
         row("search of a name, likewise", "below 100 ms", f"{middle['name'] * 1000:.1f} ms", middle["name"] < 0.100),
         row("memory of the first build", "below 200 MB", f"{peak / 1e6:.0f} MB", peak < 200e6)]
(folder / "catalog.md").write_text("\n".join(lines) + "\n")
print("\n".join(lines))
