// SPDX-License-Identifier: MIT
#pragma once

#include "support/clientclasses.h"

#include <oktdatabase/oktdbpool.h>

#include <string>
#include <vector>

enum class PoolSize
{
    Small, ///< some forty objects, so that an operation can be tried with each of its allocations failing
    Large, ///< thousands of objects and of ids in lists, texts near the limit, a picture of several chunks
};

/// Fills a pool with objects of every stored class of the library and of the two classes of client modules, with every kind of value
/// that has a stored form. The metrics factor is 1000. Saving and loading give the same image again. The ids are the same on every
/// run, where the system's random source can be replaced.
void fillWithAllClasses(OKTDbPool &pool, PoolSize size);

/// Parameters with texts of their own, in a pool with the factor 1000.
void fillWithParameters(OKTDbPool &pool, int count);

/// The names of the classes of this library in the registry that no object of the pool belongs to.
std::vector<std::string> missingClasses(OKTDbPool const &pool);

/// Such a pool with the classes that it needs, and its image.
class AllClassesPool
{
public:
    explicit AllClassesPool(PoolSize size);

    OKTDbPool &pool() { return m_pool; }
    CByteArray const &image() const { return m_image; }

private:
    ClientClasses m_classes;
    OKTDbPool m_pool;
    CByteArray m_image;
};
