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

// What is in a pool file, in numbers.

/// An object that the header names.
struct NamedObject
{
    std::string role; ///< "construct", "index", "picture", "old picture", "ppActions", "sketch", "radial"
    _GUID id;
    std::int32_t position = -1; ///< in bytes from the end of the header
    std::int32_t size = -1;     ///< below 0: the header gives no place
    bool hasPlace = false;      ///< it is one of those for which the header has a place
};

/// The fields of a header; those of a section that an old file has not are empty.
struct HeaderInfo
{
    std::optional<_GUID> id;
    std::optional<CString> name;
    std::optional<double> metricsFactor; ///< drawing units per metre
    std::vector<int> sections;
    std::vector<NamedObject> named; ///< in the order of the file, without the null ids
};

/// What is counted of the objects of one class.
struct ClassCount
{
    std::int64_t objects = 0;
    std::int64_t bytes = 0;
    std::map<std::string, std::set<int>> sections; ///< of the class and its bases, by the bytes of their names
};

struct PoolInfo
{
    std::int64_t size = 0; ///< of the file, in bytes
    HeaderPlace header;
    HeaderInfo fields;                         ///< of a whole header
    bool hasObjects = false;                   ///< they were counted
    std::map<std::string, ClassCount> classes; ///< by their names in UTF-8
    std::int64_t objects = 0;
    std::int64_t objectBytes = 0;
    std::vector<Finding> faults; ///< of the header, and of what is no whole object
};

struct InfoOptions
{
    bool headerOnly = false; ///< nothing behind the header is read
    OnProgress onProgress;   ///< False ends it
    std::string name;        ///< how progress calls the bytes
};

/// Counts in one pass, in bounded memory; it keeps nothing. Throws Cancelled, and Failure where the file can no longer be read. Several
/// sources may be counted at once.
PoolInfo info(ByteSource &source, InfoOptions const &options = {});

} // namespace okt
