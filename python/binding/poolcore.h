// SPDX-License-Identifier: MIT
#pragma once

#include <python/binding/text.h>

#include <oktdatabase/oktdatabase.h>

#include <cstdint>
#include <memory>
#include <mutex>
#include <shared_mutex>
#include <string>
#include <unordered_map>
#include <vector>

namespace okt::python
{

/// What is under a pool of Python: the pool itself and its epoch, which counts every removal. All members are used with the
/// interpreter lock held, except by the one thread that has made it busy.
class PoolCore
{
public:
    explicit PoolCore(double factor);
    PoolCore(PoolCore const &) = delete;
    PoolCore &operator=(PoolCore const &) = delete;
    ~PoolCore();

    /// The pool. Raises Error where it is closed, or another thread works with it.
    OKTDbPool &use();
    /// The same without a check, for the thread that has made it busy.
    OKTDbPool &pool() { return *m_pool; }

    std::uint64_t epoch() const { return m_epoch; }
    bool isBusy() const { return m_isBusy; }
    bool isClosed() const { return m_isClosed; }
    /// The object of that id as a handle of that epoch knows it; null: it is gone.
    OKTDbObject *find(_GUID const &id, std::uint64_t epochOfHandle);

    /// All handles look their objects up again; those of that id and an older epoch find nothing.
    void noteGone(_GUID const &id);
    /// Some object stands under the id of another one, which the key in the pool may still name.
    bool hasReplaced() const { return m_hasReplaced; }
    void noteReplaced(_GUID const &id);

    /// Deletes all objects. Handles find nothing any more.
    void close();
    /// The pool outlives its objects: ids of objects that were taken out of it may name it.
    std::shared_ptr<OKTDbPool> const &shell() const { return m_pool; }
    void keep(std::shared_ptr<OKTDbPool> const &other);
    /// Takes another pool in place of its own, which is empty.
    void take(OKTDbPool *pool)
    {
        m_pool.reset(pool);
        m_areListed = false;
    }

    /// The objects in id order, found out once for each state of the pool. Good until the next change.
    std::vector<OKTDbObject *> const &objects();
    /// Objects have come.
    void noteNew() { m_areListed = false; }

private:
    friend class Busy;
    friend class Kept;

    std::shared_ptr<OKTDbPool> m_pool;
    std::vector<std::shared_ptr<OKTDbPool>> m_kept;
    std::unordered_map<std::string, std::uint64_t> m_gone; ///< by the bytes of the id: the epoch in which it went
    std::vector<OKTDbObject *> m_objects;
    bool m_areListed = false; ///< m_objects are those of the pool
    std::uint64_t m_epoch = 1;
    bool m_isBusy = false;
    bool m_isClosed = false;
    bool m_hasReplaced = false;
};

/// A pool in use by one thread while that has given the interpreter lock away. Made and ended with the lock held.
class Busy
{
public:
    explicit Busy(PoolCore &core) : m_core(core)
    {
        core.use();
        core.m_isBusy = true;
        core.m_areListed = false;
    }
    Busy(Busy const &) = delete;
    Busy &operator=(Busy const &) = delete;
    ~Busy() { m_core.m_isBusy = false; }

private:
    PoolCore &m_core;
};

/// The same where the lock is kept: making objects of Python may run finalizers, which must not change the pool meanwhile.
class Kept
{
public:
    explicit Kept(PoolCore &core) : m_core(core)
    {
        core.use();
        core.m_isBusy = true;
    }
    Kept(Kept const &) = delete;
    Kept &operator=(Kept const &) = delete;
    ~Kept() { m_core.m_isBusy = false; }

private:
    PoolCore &m_core;
};

/// The registry of classes and the presenter of warnings are one for the process: loads share them, what puts others in their
/// place has them alone. Locked only while the interpreter lock is given away.
std::shared_mutex &processWide();

/// Work without the interpreter lock that makes objects by class name.
template <typename F> auto sharedWork(F work)
{
    py::gil_scoped_release const released;
    std::shared_lock const lock(processWide());
    return work();
}

/// Work without the interpreter lock that has the registry alone.
template <typename F> auto soleWork(F work)
{
    py::gil_scoped_release const released;
    std::unique_lock const lock(processWide());
    return work();
}

} // namespace okt::python
