# SPDX-License-Identifier: MIT
"""Any order of operations, held against a model: what is in which pool, and what is gone.

OKT_PYTHON_STEPS is how many steps are tried in all; the quick run has some thousand.
"""

import gc
import os
import threading

import hypothesis.strategies as st
from hypothesis import HealthCheck, settings
from hypothesis.stateful import Bundle, RuleBasedStateMachine, consumes, invariant, multiple, rule

import oktdatabase as okt

STEPS = int(os.environ.get("OKT_PYTHON_STEPS", "3000"))
LENGTH = 15
VALUES = st.one_of(st.floats(allow_nan=False), st.integers(-(2**31), 2**31 - 1), st.booleans(), st.text(max_size=20))


class Held:
    """What is known of an object."""

    def __init__(self, handle, pool, value):
        self.handle = handle
        self.pool = pool
        self.value = value
        self.is_gone = False

    def check(self):
        if self.is_gone or (self.pool is not None and self.pool.is_closed):
            for use in (lambda: self.handle.value, lambda: self.handle.id, lambda: self.handle.fields):
                try:
                    use()
                except okt.ObjectGone:
                    continue
                raise AssertionError("a handle of an object that is gone has answered")
            return
        assert self.handle.value == self.value
        assert type(self.handle.value) is type(self.value)
        assert self.handle.pool is (None if self.pool is None else self.pool.pool)


class Known:
    """What is known of a pool."""

    def __init__(self, pool):
        self.pool = pool
        self.is_closed = False
        self.objects = []

    def members(self):
        return [] if self.is_closed else self.objects


class Pools(RuleBasedStateMachine):
    pools = Bundle("pools")
    objects = Bundle("objects")

    def __init__(self):
        super().__init__()
        self.known = []
        self.held = []

    def hold(self, handle, pool, value):
        held = Held(handle, pool, value)
        self.held.append(held)
        if pool is not None:
            pool.objects.append(held)
        return held

    @rule(target=pools, unit=st.sampled_from(["m", "mm", "in"]))
    def make(self, unit):
        known = Known(okt.Pool("Machine", unit=unit))
        self.known.append(known)
        return known

    @rule(target=objects, pool=pools, value=VALUES)
    def add(self, pool, value):
        made = okt.Parameter(4, "P", value)
        if pool.is_closed:
            try:
                pool.pool.add(made)
            except okt.Error:
                return self.hold(made, None, value)
            raise AssertionError("a closed pool has taken an object")
        assert pool.pool.add(made) is made
        return self.hold(made, pool, value)

    @rule(target=objects, value=VALUES)
    def make_loose(self, value):
        return self.hold(okt.Parameter(4, "P", value), None, value)

    @rule(held=objects, value=VALUES)
    def change(self, held, value):
        if held.is_gone or (held.pool is not None and held.pool.is_closed):
            return
        held.handle.value = value
        for other in self.held:
            if other.handle == held.handle:
                other.value = value

    @rule(target=objects, held=objects)
    def second_handle(self, held):
        if held.is_gone or held.pool is None or held.pool.is_closed:
            return multiple()
        again = held.pool.pool[held.handle.id]
        assert again == held.handle and hash(again) == hash(held.handle)
        second = Held(again, held.pool, held.value)
        self.held.append(second)
        held.pool.objects.append(second)
        return second

    def others(self, held):
        return [each for each in held.pool.objects if each is not held and each.handle == held.handle]

    @rule(held=objects)
    def remove(self, held):
        if held.is_gone or held.pool is None or held.pool.is_closed:
            return
        others = self.others(held)
        assert held.pool.pool.remove(held.handle) is held.handle
        held.pool.objects.remove(held)
        for other in others:
            other.is_gone = True
            held.pool.objects.remove(other)
        held.pool = None

    @rule(held=objects)
    def erase(self, held):
        if held.is_gone or held.pool is None or held.pool.is_closed:
            return
        others = self.others(held)
        held.pool.pool.erase(held.handle)
        for each in (held, *others):
            each.is_gone = True
            held.pool.objects.remove(each)

    @rule(held=objects, loose=objects)
    def replace(self, held, loose):
        if held.is_gone or held.pool is None or held.pool.is_closed or loose.is_gone or loose.pool is not None:
            return
        others = self.others(held)
        pool = held.pool
        key = held.handle.id
        pool.pool.replace(held.handle, loose.handle)
        for each in (held, *others):
            each.is_gone = True
            pool.objects.remove(each)
        loose.pool = pool
        pool.objects.append(loose)
        assert loose.handle.id == key

    @rule(held=objects, pool=pools)
    def move(self, held, pool):
        if held.is_gone or held.pool is not None or pool.is_closed:
            return
        pool.pool.add(held.handle)
        held.pool = pool
        pool.objects.append(held)

    @rule(one=objects, other=objects)
    def refer(self, one, other):
        if one.is_gone or other.is_gone or one.pool is None or one.pool is not other.pool or one.pool.is_closed:
            return
        one.handle.owner = other.handle
        one.handle.uses.append(other.handle)
        assert one.handle.owner == other.handle

    @rule(target=pools, pool=pools, new_ids=st.booleans())
    def clone(self, pool, new_ids):
        if pool.is_closed or any("\0" in each.value for each in pool.objects if isinstance(each.value, str)):
            return multiple()
        copied = Known(pool.pool.clone(new_ids=new_ids))
        assert len(copied.pool) == len(pool.pool)
        assert (copied.pool == pool.pool) == (not new_ids or len(pool.pool) == 0 and copied.pool == pool.pool)
        self.known.append(copied)
        return copied

    @rule(pool=pools, unit=st.sampled_from(["m", "mm", "in"]))
    def reopen(self, pool, unit):
        if pool.is_closed or any("\0" in each.value for each in pool.objects if isinstance(each.value, str)):
            return
        image = pool.pool.to_bytes()
        with okt.Pool.from_bytes(image, unit=unit) as again:
            assert again.to_bytes() == image
            kept = again.parameters
        for each in kept:
            self.held.append(Held(each, None, None))
            self.held[-1].is_gone = True

    @rule(pool=pools)
    def close(self, pool):
        pool.pool.close()
        pool.is_closed = True

    @rule(pool=consumes(pools))
    def drop_pool(self, pool):
        if pool in self.known:
            self.known.remove(pool)

    @rule(held=consumes(objects))
    def drop_handle(self, held):
        if held in self.held:
            self.held.remove(held)

    @rule()
    def collect(self):
        gc.collect()

    @rule(pool=pools)
    def use_in_a_thread(self, pool):
        answers = []

        def use():
            try:
                answers.append([each.value for each in pool.pool.parameters])
            except okt.Error:
                answers.append(None)

        thread = threading.Thread(target=use)
        thread.start()
        thread.join()
        assert (answers[0] is None) == pool.is_closed

    @invariant()
    def all_are_as_known(self):
        for held in self.held:
            held.check()
        for known in self.known:
            if not known.is_closed:
                present = {each.handle for each in known.members()}
                assert present <= set(known.pool)


Pools.TestCase.settings = settings(
    max_examples=max(1, STEPS // LENGTH),
    stateful_step_count=LENGTH,
    deadline=None,
    database=None,
    suppress_health_check=list(HealthCheck),
)
TestPools = Pools.TestCase
