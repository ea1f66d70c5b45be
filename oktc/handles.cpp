// SPDX-License-Identifier: MIT
#include <oktc/handles.h>

#include <oktdatabase/oktdbobject.h>
#include <oktdatabase/oktmemoryfiler.h>
#include <oktformat/guids.h>
#include <oktformat/sentence.h>

#include <algorithm>
#include <limits>
#include <mutex>
#include <new>
#include <string>
#include <utility>

namespace oktc
{

namespace
{

constexpr std::uint32_t kReport = 0x80000000; // the bit of a number that is a report's
constexpr std::uint32_t kMost = kReport - 1;

struct Table
{
    std::mutex mutex;
    std::map<std::uint32_t, std::unique_ptr<HeldPool>> pools;
    std::map<std::uint32_t, std::unique_ptr<HeldReport>> reports;
    std::uint32_t lastPool = 0;
    std::uint32_t lastReport = 0;
};

// It has no end: what a process leaves open goes with the process, and not while the library and client modules are ending.
Table &table()
{
    alignas(Table) static unsigned char memory[sizeof(Table)];
    static Table *const table = new (memory) Table;
    return *table;
}

std::uint32_t upper(OktcHandle handle) { return static_cast<std::uint32_t>(handle >> 32); }
std::uint32_t lower(OktcHandle handle) { return static_cast<std::uint32_t>(handle & 0xFFFFFFFF); }

/// The entry of a number that was given out and is not closed.
template <typename Entries> auto &entryOf(Entries &entries, std::uint32_t number, std::uint32_t last, char const *what)
{
    if (number == 0 || number > last)
        refuse(OKTC_BAD_HANDLE, std::string("this is no handle of a ") + what);
    auto const found = entries.find(number);
    if (found == entries.end())
        refuse(OKTC_CLOSED, std::string("the ") + what + " is closed");
    if (found->second->isBusy)
        refuse(OKTC_BUSY, std::string("another call uses the ") + what);
    return *found->second;
}

HeldPool &poolOf(OktcHandle handle) { return entryOf(table().pools, upper(handle), table().lastPool, "pool"); }

HeldReport &reportOf(OktcReport report)
{
    if ((upper(report) & kReport) == 0 || lower(report) != 0)
        refuse(OKTC_BAD_HANDLE, "this is no handle of a report");
    return entryOf(table().reports, upper(report) & kMost, table().lastReport, "report");
}

std::uint32_t next(std::uint32_t last, std::uint32_t most)
{
    if (last >= most)
        refuse(OKTC_FAILED, "no handle is left");
    return last + 1;
}

} // namespace

// --- Ids ---------------------------------------------------------------------------------------------------------------------

Id idOf(_GUID const &guid)
{
    Id id;
    auto const bytes = OktFileBytesOfGuid(guid);
    std::copy_n(&bytes[0], id.size(), id.begin());
    return id;
}

_GUID guidOf(std::uint8_t const *id)
{
    auto const number = [id](int at, int count) {
        std::uint32_t value = 0;
        for (int i = 0; i < count; ++i)
            value |= static_cast<std::uint32_t>(id[at + i]) << (8 * i);
        return value;
    };
    _GUID guid;
    guid.Data1 = number(0, 4);
    guid.Data2 = static_cast<std::uint16_t>(number(4, 2));
    guid.Data3 = static_cast<std::uint16_t>(number(6, 2));
    std::copy_n(id + 8, 8, guid.Data4);
    return guid;
}

OKTDbObjectId idIn(OKTDbPool *pool, std::uint8_t const *id)
{
    OKTDbObjectId result;
    if (id != nullptr)
        result.setGuid(guidOf(id));
    result.fixPoolPointer(pool);
    return result;
}

void give(Id const &id, std::uint8_t *out) { std::copy(id.begin(), id.end(), out); }

// --- Objects of a pool -------------------------------------------------------------------------------------------------------

OktcObject HeldPool::handleOf(OKTDbObject *object, Id const &id)
{
    auto const known = m_numbers.find(id);
    if (known != m_numbers.end())
    {
        if (m_objects.at(known->second).object == object)
            return handle() | known->second;
        forget(known->second); // another object has its id now
    }
    std::uint32_t const number = next(m_last, std::numeric_limits<std::uint32_t>::max());
    auto const added = m_objects.emplace(number, Known{id, object}).first;
    try
    {
        m_numbers.emplace(id, number);
    }
    catch (...)
    {
        m_objects.erase(added);
        throw;
    }
    m_last = number;
    return handle() | number;
}

OKTDbObject *HeldPool::object(std::uint32_t number)
{
    if (number == 0 || number > m_last)
        refuse(OKTC_BAD_HANDLE, "this is no handle of an object");
    auto const known = m_objects.find(number);
    OKTDbObject *there = nullptr;
    if (known != m_objects.end() && m_pool->findObject(idIn(m_pool.get(), known->second.id.data()), there) &&
        there == known->second.object)
        return there;
    forget(number);
    refuse(OKTC_GONE, "the object is gone");
}

void HeldPool::move(std::uint32_t number, Id const &id) noexcept
{
    auto const known = m_objects.find(number);
    auto node = m_numbers.extract(known->second.id);
    if (auto const other = m_numbers.find(id); other != m_numbers.end())
        forget(other->second);
    node.key() = id;
    m_numbers.insert(std::move(node));
    known->second.id = id;
}

void HeldPool::forget(std::uint32_t number) noexcept
{
    auto const known = m_objects.find(number);
    if (known == m_objects.end())
        return;
    m_numbers.erase(known->second.id);
    m_objects.erase(known);
}

void HeldPool::forgetAll() noexcept
{
    m_objects.clear();
    m_numbers.clear();
}

void refuseImage(OKTDbPool &pool)
{
    checkReports();
    IdArray ids;
    pool.getAllObjects(ids);
    for (OKTDbObjectId const &id : ids)
    {
        OKTDbObject *object = nullptr;
        if (!pool.findObject(id, object) || object == nullptr)
            continue;
        OKTMemoryFiler filer(&pool);
        filer.setInternalIsWriteEnabled(true);
        if (object->xmlOut(&filer) != eFilerOk)
            refuseFailed(OKTC_NOT_STORABLE, okt::sentence("the {} {} holds what a file cannot",
                                                          object->isA()->ClassName().ToUtf8(), okt::idText(id)));
    }
    refuseFailed(OKTC_NOT_STORABLE, "the pool holds what a file cannot, or more than 2147483647 bytes");
}

// --- Pools and reports -------------------------------------------------------------------------------------------------------

OktcPool hold(std::unique_ptr<OKTDbPool> pool, OKTDbPool::InfoMap places)
{
    std::lock_guard const lock(table().mutex);
    std::uint32_t const number = next(table().lastPool, kMost);
    auto held = std::make_unique<HeldPool>(number, std::move(pool));
    held->places = std::move(places);
    OktcPool const handle = held->handle();
    table().pools.emplace(number, std::move(held));
    table().lastPool = number;
    return handle;
}

OktcReport hold(std::unique_ptr<HeldReport> report)
{
    std::lock_guard const lock(table().mutex);
    std::uint32_t const number = next(table().lastReport, kMost);
    table().reports.emplace(number, std::move(report));
    table().lastReport = number;
    return static_cast<std::uint64_t>(number | kReport) << 32;
}

void close(OktcPool pool)
{
    std::unique_ptr<HeldPool> closed; // goes outside of the lock
    std::lock_guard const lock(table().mutex);
    if (lower(pool) != 0)
        refuse(OKTC_BAD_HANDLE, "this is no handle of a pool");
    poolOf(pool);
    auto node = table().pools.extract(upper(pool));
    closed = std::move(node.mapped());
}

void closeReport(OktcReport report)
{
    std::lock_guard const lock(table().mutex);
    reportOf(report);
    table().reports.erase(upper(report) & kMost);
}

UsedPool::UsedPool(OktcHandle handle, bool isObject) : m_number(lower(handle))
{
    {
        std::lock_guard const lock(table().mutex);
        if ((upper(handle) & kReport) != 0 || isObject != (m_number != 0))
            refuse(OKTC_BAD_HANDLE, isObject ? "this is no handle of an object" : "this is no handle of a pool");
        m_held = &poolOf(handle);
        m_held->isBusy = true;
    }
    if (!isObject)
        return;
    try
    {
        m_object = m_held->object(m_number);
    }
    catch (...)
    {
        std::lock_guard const lock(table().mutex);
        m_held->isBusy = false;
        throw;
    }
}

UsedPool::UsedPool(OktcHandle handle) : UsedPool(handle, lower(handle) != 0) {}

UsedPool::~UsedPool()
{
    std::lock_guard const lock(table().mutex);
    m_held->isBusy = false;
}

UsedReport::UsedReport(OktcReport report)
{
    std::lock_guard const lock(table().mutex);
    m_report = &reportOf(report);
    m_report->isBusy = true;
}

UsedReport::~UsedReport()
{
    std::lock_guard const lock(table().mutex);
    m_report->isBusy = false;
}

HeldReport::Entry const &UsedReport::entry(std::uint64_t index)
{
    if (index >= m_report->entries.size())
        refuse(OKTC_BAD_ARGUMENT, "there is no finding at this index");
    return m_report->entries[static_cast<std::size_t>(index)];
}

} // namespace oktc
