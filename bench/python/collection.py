# SPDX-License-Identifier: MIT
"""collection.py FOLDER [FILES]: collections on one worker and on two, and beside `okt catalog` where OKT names it. FOLDER is made."""

import hashlib
import os
import pathlib
import resource
import shutil
import subprocess
import sys
import time

import oktdatabase as okt
from oktdatabase import collection

SHARD_FILES = 250


def fill(folder, count):
    """Real templates, each with ids of its own; one in a hundred is damaged."""
    data = pathlib.Path(__file__).resolve().parents[2] / "examples" / "data"
    made = okt.templates(data)
    total = 0
    for i in range(count):
        path = folder / f"d{i // 1000:04}" / f"{i:07}.okt"
        path.parent.mkdir(parents=True, exist_ok=True)
        image = made[i % len(made)].clone(new_ids=True).to_bytes()
        image = image[: len(image) * 2 // 3] if i % 100 == 50 else image
        path.write_bytes(image)
        total += len(image)
    return total


def timed(call):
    load = os.getloadavg()[0]
    begin, busy = time.perf_counter(), os.times()
    call()
    end, after = time.perf_counter(), os.times()
    used = sum(after[:4]) - sum(busy[:4])
    return end - begin, used, load


def digest(folder):
    found = hashlib.sha256()
    for path in sorted(folder.rglob("*")):
        if path.is_file() and path.name != ".lock":
            found.update(path.read_bytes())
    return found.hexdigest()


def main():
    folder = pathlib.Path(sys.argv[1])
    count = int(sys.argv[2]) if len(sys.argv) > 2 else 10_000
    files = folder / "files"
    size = fill(files, count)
    print(f"{count} files, {size / 1e6:.0f} MB")
    digests = set()

    def told(name, seconds, used, load):
        print(f"{name:28} {seconds:6.2f} s, {used:6.2f} s of processors, {count / seconds:6.0f} files/s, load before {load:.1f}")

    for name, more in (
        ("warm-up", {"workers": 1}),
        ("1 thread", {"workers": 1}),
        ("2 threads", {"workers": 2}),
        ("1 process", {"workers": 1, "processes": True}),
        ("2 processes", {"workers": 2, "processes": True}),
    ):
        out = folder / "out"
        figures = timed(lambda: collection.catalog([files], out, shard_files=SHARD_FILES, **more))  # noqa: B023
        told(name, *figures)
        digests.add(digest(out))
        if name == "2 processes":
            figures = timed(lambda: collection.catalog([files], out, shard_files=SHARD_FILES))  # noqa: B023
            told("all shards there", *figures)
            rows = sum(path.stat().st_size for path in out.rglob("part-*"))
            print(f"rows {rows / 1e6:.0f} MB, manifest {(out / 'manifest.json').stat().st_size / 1e3:.0f} kB")
        shutil.rmtree(out)
    try:
        import distributed
    except ImportError:
        distributed = None
    for workers in (1, 2) if distributed else ():
        with distributed.LocalCluster(n_workers=workers, threads_per_worker=1, dashboard_address=None) as cluster:
            with distributed.Client(cluster, set_as_default=False) as client:
                client.wait_for_workers(workers)
            for again in (False, True):
                out = folder / f"out{again}"
                figures = timed(lambda: collection.catalog([files], out, shard_files=SHARD_FILES,  # noqa: B023
                                                           scheduler=cluster.scheduler_address))  # noqa: B023  # fmt: skip
                if again:
                    told(f"{workers} worker(s) of a scheduler", figures[0], 0.0, figures[2])
                digests.add(digest(out))
                shutil.rmtree(out)
            if workers == 2:
                names = [f"/proc/{worker.process.pid}/status" for worker in cluster.workers.values()]
                print("most memory of its workers:", *(
                    line.split()[1] + " kB" for name in names for line in open(name) if line.startswith("VmHWM")))  # fmt: skip
    print("memory of this process:", resource.getrusage(resource.RUSAGE_SELF).ru_maxrss, "kB")
    assert len(digests) == 1, "the results differ"
    if "OKT" in os.environ:
        store = folder / "store.okc"
        figures = timed(lambda: subprocess.run([os.environ["OKT"], "catalog", "update", store, files], check=False))
        told("okt catalog update", *figures)
    begin = time.perf_counter()
    changed = collection.apply([files], folder / "j", values=["Cover=61.5 mm"], where="Cover", shard_files=SHARD_FILES).changed
    print(f"apply: {changed} files changed in {time.perf_counter() - begin:.2f} s")


if __name__ == "__main__":
    main()
