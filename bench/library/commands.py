# SPDX-License-Identifier: MIT
"""commands.py OKT DATA FOLDER [REPETITIONS]: how long the commands over many templates take, beside a plain `cat` of the same files.

Makes the templates of DATA with okt, and twenty builds of them: 960 files, no two of which have an id in common. Every command and
`cat` have their turn in each repetition, so that what else the machine does meets them alike. Writes the table of
docs/performance.md to FOLDER."""

import pathlib
import shutil
import statistics
import subprocess
import sys
import time

BUILDS = 20

okt, data, folder = sys.argv[1:4]
repetitions = int(sys.argv[4]) if len(sys.argv) > 4 else 5
folder = pathlib.Path(folder)
work = folder / "library"


def run(*arguments):
    return subprocess.run([okt, *map(str, arguments)], capture_output=True, text=True, check=False)


def make_templates():
    shutil.rmtree(work, ignore_errors=True)
    for number in range(BUILDS):
        run("build", data, "-o", work / "a" / f"{number:02}")
    shutil.copytree(work / "a", work / "b")
    for path in sorted((work / "b").glob("*/link-d12.okt")):
        assert run("set", path, "Cover=35 mm").returncode == 0
    return sorted((work / "a").glob("*/*.okt"))


def forty(files, cover):
    """The same forty each time; what a cover is set to differs from the last time."""
    names = [path for path in files if path.name in ("link-d12.okt", "link-d16.okt")]
    assert len(names) == 2 * BUILDS
    return ["set", *names, f"Cover={cover} mm", "-q"]


def seconds(arguments):
    begin = time.perf_counter()
    result = subprocess.run(list(map(str, arguments)), capture_output=True, check=False)
    taken = time.perf_counter() - begin
    assert result.returncode in (0, 1), result.stderr
    return taken


files = make_templates()
size = sum(path.stat().st_size for path in files)
commands = {
    "`cat` of the files": lambda turn: ["cat", *files],
    "`okt table Diameter Cover 'Cutting length'`": lambda turn: [okt, "table", "Diameter", "Cover", "Cutting length", work / "a"],
    "`okt find --where 'Diameter>=16 mm and Cover<40 mm'`": lambda turn: [okt, "find", "--where", "Diameter>=16 mm and Cover<40 mm", work / "a"],
    "`okt set` of 40, the cover": lambda turn: [okt, *forty(files, 41 + turn)],
    "`okt set` of 40, a leg: each picture drawn twice": lambda turn: [okt, *forty(files, 0)[:-2], f"Leg A={401 + turn} mm", "-q"],
    "`okt lint`": lambda turn: [okt, "lint", "-q", work / "a"],
    "`okt verify -q`": lambda turn: [okt, "verify", "-q", work / "a"],
    "`okt hash`, of the contents": lambda turn: [okt, "hash", work / "a"],
    "`okt hash --bytes`": lambda turn: [okt, "hash", "--bytes", work / "a"],
    "`okt diff -q` of two folders": lambda turn: [okt, "diff", "-q", work / "a", work / "b"],
}
times = {name: [] for name in commands}
for turn in range(repetitions):
    for name, arguments in commands.items():
        times[name].append(seconds(arguments(turn)))
plain = statistics.median(times["`cat` of the files"])
lines = [f"{len(files)} templates, {size / 1e6:.0f} MB in memory; medians of {repetitions} runs.", "",
         "| | Times `cat` | ms |", "|---|--:|--:|"]
for name, taken in times.items():
    middle = statistics.median(taken)
    lines.append(f"| {name} | {middle / plain:.1f} | {middle * 1000:.0f} |")
(folder / "library.md").write_text("\n".join(lines) + "\n")
print("\n".join(lines))
