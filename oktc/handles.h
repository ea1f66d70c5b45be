// SPDX-License-Identifier: MIT
#pragma once

// The numbers that stand for pools, objects and reports. Not installed.

#include <oktc/call.h>
#include <oktdatabase/oktdbpool.h>
#include <oktinspect/finding.h>

#include <array>
#include <cstdint>
#include <map>
#include <memory>
#include <vector>

class OKTDbObject;

namespace oktc
{

/// The 16 bytes of an id as they lie in a file.
using Id = std::array<std::uint8_t, 16>;
Id idOf(_GUID const &guid);
inline Id idOf(OKTDbObjectId const &id) { return idOf(id.getGuid()); }
_GUID guidOf(std::uint8_t const *id);
/// As an id of that pool. Null stands for the null id.
OKTDbObjectId idIn(OKTDbPool *pool, std::uint8_t const *id);
void give(Id const &id, std::uint8_t *out);

/// A pool that was given out, with the numbers of those of its objects that were.
///
/// The upper half of a handle is the number of the pool, the lower half that of the object in it, 0 for the pool itself. Numbers
/// are not given twice. What an object's number stands for is looked up in the pool each time, since objects of client modules may
/// take others out of their pool without anybody being asked.
class HeldPool
{
public:
    HeldPool(std::uint32_t number, std::unique_ptr<OKTDbPool> pool) : m_number(number), m_pool(std::move(pool)) {}

    OKTDbPool &pool() { return *m_pool; }
    OktcPool handle() const { return static_cast<std::uint64_t>(m_number) << 32; }

    /// The handle of an object; the same one each time. Without memory it throws, and nothing has changed.
    OktcObject handleOf(OKTDbObject *object, Id const &id);
    /// Refuses the number of an object that is not there.
    OKTDbObject *object(std::uint32_t number);
    /// The object that has this number has another id from now on, or is gone.
    void move(std::uint32_t number, Id const &id) noexcept;
    void forget(std::uint32_t number) noexcept;
    void forgetAll() noexcept;

    OKTDbPool::InfoMap places; ///< of a pool whose header was read
    bool isBusy = false;       ///< a call uses it

private:
    struct Known
    {
        Id id;
        OKTDbObject *object;
    };

    std::uint32_t m_number;
    std::unique_ptr<OKTDbPool> m_pool;
    std::map<std::uint32_t, Known> m_objects;
    std::map<Id, std::uint32_t> m_numbers;
    std::uint32_t m_last = 0;
};

/// What a check or a recovery found.
struct HeldReport
{
    struct Entry
    {
        std::int32_t role = OKTC_FOUND;
        okt::Finding finding;
    };

    std::vector<Entry> entries;
    std::map<std::int32_t, std::int64_t> sums;
    bool isBusy = false;
};

/// Refuses to make an image of the pool; the message names the object that cannot be written, if it is one.
[[noreturn]] void refuseImage(OKTDbPool &pool);

/// Gives the pool a handle. The pool is deleted if that fails.
OktcPool hold(std::unique_ptr<OKTDbPool> pool, OKTDbPool::InfoMap places = {});
OktcReport hold(std::unique_ptr<HeldReport> report);
/// Ends it.
void close(OktcPool pool);
void closeReport(OktcReport report);

/// A pool or an object that a call uses, for its scope.
class UsedPool
{
public:
    /// Refuses what is no handle, closed or in use. `isObject`: whether it must be, or must not be, that of an object.
    UsedPool(OktcHandle handle, bool isObject);
    explicit UsedPool(OktcHandle handle); ///< either
    UsedPool(UsedPool const &) = delete;
    UsedPool &operator=(UsedPool const &) = delete;
    ~UsedPool();

    HeldPool &held() { return *m_held; }
    OKTDbPool &pool() { return m_held->pool(); }
    /// Null for a pool's handle. Refuses where it is gone.
    OKTDbObject *object() { return m_object; }
    std::uint32_t number() const { return m_number; }

private:
    HeldPool *m_held = nullptr;
    OKTDbObject *m_object = nullptr;
    std::uint32_t m_number;
};

class UsedReport
{
public:
    explicit UsedReport(OktcReport report);
    UsedReport(UsedReport const &) = delete;
    UsedReport &operator=(UsedReport const &) = delete;
    ~UsedReport();

    HeldReport &report() { return *m_report; }
    HeldReport::Entry const &entry(std::uint64_t index);

private:
    HeldReport *m_report;
};

} // namespace oktc
