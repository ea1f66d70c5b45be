// SPDX-License-Identifier: MIT
#include <python/binding/poolcore.h>

#include <python/binding/failures.h>

#include <algorithm>
#include <cstring>

namespace okt::python
{

namespace
{

std::string bytesOfId(_GUID const &id)
{
    std::string bytes(sizeof id, '\0');
    std::memcpy(bytes.data(), &id, sizeof id);
    return bytes;
}

} // namespace

PoolCore::PoolCore(double factor) : m_pool(std::make_shared<OKTDbPool>()) { m_pool->setMetricsFactor(factor); }

PoolCore::~PoolCore()
{
    if (!m_isClosed)
        m_pool->eraseAllObjects();
}

OKTDbPool &PoolCore::use()
{
    if (m_isClosed)
        raise("Error", "the pool is closed");
    if (m_isBusy)
        raise("Error", "the pool is in use by another thread; a pool is used by one thread at a time");
    return *m_pool;
}

OKTDbObject *PoolCore::find(_GUID const &id, std::uint64_t epochOfHandle)
{
    if (m_isClosed)
        return nullptr;
    if (auto const gone = m_gone.find(bytesOfId(id)); gone != m_gone.end() && epochOfHandle < gone->second)
        return nullptr;
    OKTDbObjectId wanted;
    wanted.setGuid(id);
    OKTDbObject *object = nullptr;
    return m_pool->findObject(wanted, object) ? object : nullptr;
}

void PoolCore::noteGone(_GUID const &id)
{
    m_areListed = false;
    m_gone[bytesOfId(id)] = ++m_epoch;
}

void PoolCore::noteReplaced(_GUID const &id)
{
    noteGone(id);
    m_hasReplaced = true;
}

void PoolCore::close()
{
    if (m_isClosed)
        return;
    use();
    {
        Busy const busy(*this);
        sharedWork([this] { return m_pool->eraseAllObjects(); });
    }
    ++m_epoch;
    m_isClosed = true;
    m_areListed = false;
    m_objects.clear();
    m_gone.clear();
    m_kept.clear();
}

void PoolCore::keep(std::shared_ptr<OKTDbPool> const &other)
{
    if (other != m_pool && std::find(m_kept.begin(), m_kept.end(), other) == m_kept.end())
        m_kept.push_back(other);
}

std::vector<OKTDbObject *> const &PoolCore::objects()
{
    if (m_areListed)
        return m_objects;
    m_objects.clear();
    int const count = m_pool->objectCount();
    m_objects.reserve(static_cast<std::size_t>(count));
    for (int i = 0; i < count; ++i)
    {
        // An id of the pool has cached its object, unless another one was put in its place.
        OKTDbObjectId const id = m_pool->objectAt(i);
        OKTDbObject *object = nullptr;
        if (m_hasReplaced)
            m_pool->findObject(id, object);
        else
            object = id.getObject();
        if (object != nullptr)
            m_objects.push_back(object);
    }
    m_areListed = true;
    return m_objects;
}

std::shared_mutex &processWide()
{
    static std::shared_mutex mutex;
    return mutex;
}

} // namespace okt::python
