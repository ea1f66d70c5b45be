// SPDX-License-Identifier: MIT
#pragma once

#include <oktdatabase/oktdbpool.h>

#include <map>
#include <string>

/// What a pool holds, as bytes by which two pools are compared.
struct PoolContents
{
    struct Object
    {
        std::string className;
        std::string frame;
    };
    std::map<std::string, Object> objects; ///< by the GUID
    std::string header;                    ///< without the places of objects
};

/// Every id that is a value of `newIds` stands as its key, so that a clone is compared with its source.
PoolContents contentsOf(OKTDbPool const &pool, IdMap const &newIds = IdMap());

/// What differs, or nothing.
std::string difference(PoolContents const &expected, PoolContents const &found);

/// What is wrong with the objects of a pool that may hold only some of those expected, or nothing.
std::string differenceOfPart(PoolContents const &expected, PoolContents const &found);
