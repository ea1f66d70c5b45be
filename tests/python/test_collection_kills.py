# SPDX-License-Identifier: MIT
"""Collections on workers of their own, which are killed at any moment."""

import contextlib
import json
import os
import pathlib
import random
import shutil
import signal
import subprocess
import sys
import time
from concurrent import futures

import pytest
from collectionfiles import fill, tree

import oktdatabase as okt
from oktdatabase import _engine, collection

distributed = pytest.importorskip("distributed")

KILLS = int(os.environ.get("OKT_COLLECTION_KILLS", "3"))
FILES = int(os.environ.get("OKT_COLLECTION_FILES", "500"))
SHARD_FILES = 12
MEMORY = 300_000  # kB that a worker may take


def wait_for(condition, seconds=60):
    end = time.monotonic() + seconds
    while not condition():
        assert time.monotonic() < end, "it did not happen"
        time.sleep(0.002)


class Cluster:
    """A scheduler and workers, each a process of its own with one thread."""

    def __init__(self, folder):
        self.folder = folder
        self.place = folder / "scheduler.json"
        self.log = open(folder / "log", "wb")
        self.workers = []
        self.processes = []
        self.scheduler = self.start("scheduler", "--port", "0", "--scheduler-file", self.place, "--host", "127.0.0.1", "--no-dashboard")
        wait_for(lambda: self.place.exists() and self.place.stat().st_size > 0)
        self.address = json.loads(self.place.read_text())["address"]

    def start(self, what, *arguments):
        command = [sys.executable, "-W", "ignore", "-m", f"distributed.cli.dask_{what}", *map(str, arguments)]
        process = subprocess.Popen(command, stdout=self.log, stderr=self.log, cwd=self.folder)
        self.processes.append(process)
        return process

    def add_worker(self):
        worker = self.start("worker", self.address, "--nthreads", "1", "--no-nanny", "--no-dashboard", "--memory-limit", "0",
                            "--local-directory", self.folder / "space")  # fmt: skip
        self.workers.append(worker)

    def wait_for_workers(self, count):
        with distributed.Client(self.address, set_as_default=False) as client:
            client.wait_for_workers(count, timeout=60)

    def kill(self, worker):
        worker.send_signal(signal.SIGKILL)
        worker.wait()
        self.workers.remove(worker)

    def close(self):
        for process in self.processes:
            if process.poll() is None:
                process.kill()
            process.wait()
        self.log.close()


@pytest.fixture(scope="module")
def files(tmp_path_factory):
    return fill(tmp_path_factory.mktemp("kills") / "files", FILES, damaged=100)


@pytest.fixture(scope="module")
def undisturbed(files, tmp_path_factory):
    out = tmp_path_factory.mktemp("undisturbed") / "out"
    outcome = collection.catalog([files], out, shard_files=SHARD_FILES)
    assert len(outcome.damaged) == FILES // 100
    return tree(out)


@pytest.fixture(scope="module")
def cluster(tmp_path_factory):
    with contextlib.closing(Cluster(tmp_path_factory.mktemp("cluster"))) as made:
        made.add_worker()
        made.add_worker()
        made.wait_for_workers(2)
        yield made


def start(files, out, *arguments, **more):
    command = [sys.executable, "-m", "oktdatabase.collection", "catalog", files, "-o", out, "--shard-files", SHARD_FILES, *arguments]
    return subprocess.Popen([str(each) for each in command], stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True, **more)


def catalog(files, out, **more):
    outcome = collection.catalog([files], out, shard_files=SHARD_FILES, **more)
    assert (outcome.files, len(outcome.damaged), outcome.unread) == (FILES, FILES // 100, [])


def ended_well(job):
    told, errors = job.communicate(timeout=120)
    assert job.returncode == 0, errors
    assert told == f"{FILES} files in {len(range(0, FILES, SHARD_FILES))} shards: {FILES // 100} damaged\n"


def shards_in(out):
    try:
        return len([name for name in os.listdir(out / "shard") if name.endswith(".json")])
    except FileNotFoundError:
        return 0


def peak_of(process):
    """kB."""
    for line in pathlib.Path(f"/proc/{process.pid}/status").read_text().splitlines():
        if line.startswith("VmHWM:"):
            return int(line.split()[1])
    raise AssertionError("the system does not tell")


def test_workers_of_a_scheduler_write_the_same_bytes(cluster, files, undisturbed, tmp_path):
    job = start(files, tmp_path / "out", "--scheduler", cluster.address)
    ended_well(job)
    assert tree(tmp_path / "out") == undisturbed
    peaks = [peak_of(worker) for worker in cluster.workers]
    print("peaks of two workers:", peaks, "kB")
    assert max(peaks) < MEMORY


def test_a_killed_worker_loses_and_doubles_nothing(cluster, files, undisturbed, tmp_path):
    choice = random.Random(18)
    shards = len(range(0, FILES, SHARD_FILES))
    during = 0
    out = tmp_path / "out"
    with futures.ThreadPoolExecutor(1) as beside:
        for _ in range(KILLS):
            job = beside.submit(catalog, files, out, scheduler=cluster.address)
            moment = choice.randrange(shards)
            wait_for(lambda: shards_in(out) >= moment or job.done())  # noqa: B023
            time.sleep(choice.random() * 0.02)
            during += not job.done()
            cluster.kill(choice.choice(cluster.workers))
            cluster.add_worker()
            job.result(timeout=120)
            assert tree(out) == undisturbed
            shutil.rmtree(out)
    assert during > KILLS // 2, "the kills came too late"


@pytest.mark.parametrize("arguments", (("--workers", "2"), ("--processes", "--workers", "2")))
def test_a_killed_job_goes_on_where_it_was(files, undisturbed, tmp_path, arguments):
    choice = random.Random(len(arguments))
    shards = len(range(0, FILES, SHARD_FILES))
    during = 0
    for _ in range((KILLS + 1) // 2):
        out = tmp_path / "out"
        job = start(files, out, *arguments, start_new_session=True)
        moment = choice.randrange(shards)
        wait_for(lambda: shards_in(out) >= moment or job.poll() is not None)  # noqa: B023
        time.sleep(choice.random() * 0.02)
        during += job.poll() is None
        with contextlib.suppress(ProcessLookupError):
            os.killpg(job.pid, signal.SIGKILL)
        job.communicate()
        before = {path: path.stat().st_ino for path in (out / "shard").glob("*.json")} if out.exists() else {}
        catalog(files, out)
        assert tree(out) == undisturbed
        assert all(path.stat().st_ino == number for path, number in before.items()), "a shard was made twice"
        shutil.rmtree(out)
    assert during > KILLS // 4, "the kills came too late"


def test_a_killed_process_of_this_machine_is_replaced(files, undisturbed, tmp_path):
    out = tmp_path / "out"
    job = start(files, out, "--processes", "--workers", "2")
    wait_for(lambda: shards_in(out) >= 5)
    children = pathlib.Path(f"/proc/{job.pid}/task/{job.pid}/children").read_text().split()
    workers = [
        int(child) for child in children if b"spawn_main" in pathlib.Path(f"/proc/{child}/cmdline").read_bytes()
    ]
    assert workers
    os.kill(workers[0], signal.SIGKILL)
    ended_well(job)
    assert tree(out) == undisturbed


def test_where_there_is_no_scheduler(files, tmp_path, monkeypatch):
    monkeypatch.setattr(_engine, "PATIENCE", 0.5)
    with pytest.raises(okt.Error, match="^tcp://127.0.0.1:9: there is no scheduler: "):
        collection.catalog([files], tmp_path / "out", scheduler="tcp://127.0.0.1:9")


def test_rules_on_workers_write_each_file_once(cluster, tmp_path):
    files = fill(tmp_path / "files", 60)
    (tmp_path / "more.py").write_text("def deeper(pool):\n    pool.find('Cover').value += 1.0\n")
    before = [row["Cover"] for row in okt.table(sorted(files.rglob("*.okt")), ["Cover"])]
    sys.path.insert(0, str(tmp_path))
    try:
        with distributed.Client(cluster.address, set_as_default=False) as client:
            client.upload_file(str(tmp_path / "more.py"))
            for changed, done_before in ((60, 0), (0, 60)):
                applied = collection.apply([files], tmp_path / "j", function="more:deeper", unit="mm", shard_files=7,
                                           scheduler=cluster.address)  # fmt: skip
                assert (applied.changed, applied.done_before, applied.failed) == (changed, done_before, [])
    finally:
        sys.path.remove(str(tmp_path))
    after = [row["Cover"] for row in okt.table(sorted(files.rglob("*.okt")), ["Cover"])]
    assert after == pytest.approx([value + 1 for value in before])
