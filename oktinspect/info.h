// SPDX-License-Identifier: MIT
#pragma once

#include <oktformat/objectscan.h>
#include <oktinspect/finding.h>

#include <oktplatform/oktstring.h>

#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace okt
{

// The header of a pool file, and counts of its objects.

/// An object that the header names.
struct NamedObject
{
    std::string role; ///< "construct", "index", "picture", "old picture", "ppActions", "sketch", "radial"
    _GUID id;
    std::int32_t position = -1; ///< in bytes from the end of the header
    std::int32_t size = -1;     ///< below 0: the header has no position
    bool hasPlace = false;      ///< the header has a position and size for this role
};

/// The fields of a header. Fields of sections that an old file does not have are empty.
struct HeaderInfo
{
    std::optional<_GUID> id;
    std::optional<CString> name;
    std::optional<double> metricsFactor; ///< drawing units per metre
    std::vector<int> sections;
    std::vector<NamedObject> named; ///< in the order of the file, without the null ids
};

/// Counts for the objects of one class.
struct ClassCount
{
    std::int64_t objects = 0;
    std::int64_t bytes = 0;
    std::map<std::string, std::set<int>> sections; ///< of the class and its bases, by name as stored
};

struct PoolInfo
{
    std::int64_t size = 0; ///< of the file, in bytes
    HeaderPlace header;
    HeaderInfo fields;                         ///< of a whole header
    bool hasObjects = false;                   ///< the objects were counted
    std::map<std::string, ClassCount> classes; ///< by their names in UTF-8
    std::int64_t objects = 0;
    std::int64_t objectBytes = 0;
    std::vector<Finding> faults; ///< of the header, and of what is no whole object
};

struct InfoOptions
{
    bool headerOnly = false; ///< nothing behind the header is read
    OnProgress onProgress;   ///< False ends it
    std::string name;        ///< the name of the bytes for progress
};

/// Counts in one pass, in bounded memory; it keeps nothing. Throws Cancelled, and Failure where the file can no longer be read. Several
/// sources may be counted at once.
PoolInfo info(ByteSource &source, InfoOptions const &options = {});

} // namespace okt
