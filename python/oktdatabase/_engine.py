# SPDX-License-Identifier: MIT
"""What runs the shards of a collection: threads or processes of this machine, or the workers of a scheduler."""

from __future__ import annotations

import contextlib
import importlib
import multiprocessing
import os
from collections.abc import Callable, Iterator
from concurrent import futures
from typing import Any, Protocol

from ._errors import Error

PATIENCE = 10  # seconds for a scheduler to answer
_TRIES = 20  # workers that may die over one shard before it is taken for the reason

Task = tuple[int, tuple[Any, ...]]
Run = Callable[[Callable[..., Any], Iterator[Task]], Iterator[tuple[int, Any]]]


class _Lost(Exception):
    """A worker has died with the task, which is as it was."""


class _Pool(Protocol):
    def submit(self, function: Callable[..., Any], arguments: tuple[Any, ...]) -> Any: ...

    def wait(self) -> list[Any]: ...

    def result(self, future: Any) -> Any: ...

    def room(self) -> int: ...


class _Local:
    """Executors of the standard library."""

    def __init__(self, make: Callable[[], futures.Executor], workers: int) -> None:
        self._make = make
        self._executor = make()
        self._workers = workers
        self._open: set[futures.Future[Any]] = set()

    def submit(self, function: Callable[..., Any], arguments: tuple[Any, ...]) -> Any:
        try:
            future = self._executor.submit(function, *arguments)
        except futures.BrokenExecutor:
            self._executor.shutdown(wait=False)
            self._executor = self._make()
            future = self._executor.submit(function, *arguments)
        self._open.add(future)
        return future

    def wait(self) -> list[Any]:
        done, self._open = futures.wait(self._open, return_when=futures.FIRST_COMPLETED)
        return list(done)

    def result(self, future: Any) -> Any:
        try:
            return future.result()
        except futures.BrokenExecutor as error:
            raise _Lost(str(error)) from error

    def room(self) -> int:
        return 2 * self._workers

    def close(self) -> None:
        self._executor.shutdown(wait=True, cancel_futures=True)


class _Cluster:
    """The workers of a scheduler of Dask."""

    def __init__(self, distributed: Any, client: Any) -> None:
        self._distributed = distributed
        self._client = client
        self._open = distributed.as_completed(loop=client.loop)

    def submit(self, function: Callable[..., Any], arguments: tuple[Any, ...]) -> Any:
        future = self._client.submit(function, *arguments, pure=False)
        self._open.add(future)
        return future

    def wait(self) -> list[Any]:
        return [next(self._open)]

    def result(self, future: Any) -> Any:
        lost = (self._distributed.scheduler.KilledWorker, futures.CancelledError)
        try:
            result = future.result()
        except lost as error:
            raise _Lost(str(error)) from error
        future.release()
        return result

    def room(self) -> int:
        return 2 * max(1, sum(int(each) for each in self._client.nthreads().values())) + 2


def _run_on(pool: _Pool) -> Run:
    def run(function: Callable[..., Any], tasks: Iterator[Task]) -> Iterator[tuple[int, Any]]:
        under_way: dict[Any, tuple[Task, int]] = {}
        is_over = False
        while True:
            # No more than the workers can soon take, whatever the number of shards.
            while not is_over and len(under_way) < pool.room():
                task = next(tasks, None)
                if task is None:
                    is_over = True
                else:
                    under_way[pool.submit(function, task[1])] = (task, 1)
            if not under_way:
                return
            for future in pool.wait():
                task, tries = under_way.pop(future)
                try:
                    yield task[0], pool.result(future)
                except _Lost as error:
                    if tries == _TRIES:
                        raise Error(
                            f"shard {task[0] + 1}: {_TRIES} workers have died over it, one after the other: {error}"
                        ) from error
                    under_way[pool.submit(function, task[1])] = (task, tries + 1)

    return run


@contextlib.contextmanager
def engine(scheduler: str | None, workers: int | None, processes: bool) -> Iterator[Run]:
    """Gives a function that calls another for each task, and yields the answers as they come."""
    if scheduler is not None:
        try:
            distributed: Any = importlib.import_module("distributed")
        except ImportError as error:
            raise Error(
                "a scheduler needs Dask, and there is no module distributed (Debian: python3-distributed)"
            ) from error
        try:
            client = distributed.Client(scheduler, timeout=PATIENCE, set_as_default=False)
        except (OSError, ValueError, TypeError) as error:
            raise Error(f"{scheduler}: there is no scheduler: {error}") from error
        try:
            yield _run_on(_Cluster(distributed, client))
        finally:
            client.close()
        return
    count = workers or os.cpu_count() or 1
    make: Callable[[], futures.Executor]
    if processes:
        context = multiprocessing.get_context("spawn")

        def make() -> futures.Executor:
            return futures.ProcessPoolExecutor(count, mp_context=context)
    else:

        def make() -> futures.Executor:
            return futures.ThreadPoolExecutor(count)

    local = _Local(make, count)
    try:
        yield _run_on(local)
    finally:
        local.close()
