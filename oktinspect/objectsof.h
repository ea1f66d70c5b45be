// SPDX-License-Identifier: MIT
#pragma once

#include <oktformat/guids.h>

#include <oktdatabase/oktdbpool.h>

#include <vector>

namespace okt
{

/// Base for classes that list the objects of a pool: all objects, by id and by class. The pool belongs to the caller and must
/// not change meanwhile.
class ObjectsOf
{
protected:
    explicit ObjectsOf(OKTDbPool &pool) : m_pool(pool) { pool.getAllObjects(m_all); }

    /// Null: it is not in the pool.
    OKTDbObject *object(OKTDbObjectId const &id) const
    {
        OKTDbObject *found = nullptr;
        m_pool.findObject(id, found);
        return found;
    }

    /// Those of class T or derived from it, in order of their ids.
    template <typename T> std::vector<T *> all() const
    {
        std::vector<T *> found;
        for (OKTDbObjectId const &id : m_all)
            if (T *const fitting = T::cast(object(id)))
                found.push_back(fitting);
        return found;
    }

    OKTDbPool &m_pool;
    IdArray m_all;
};

} // namespace okt
