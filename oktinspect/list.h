// SPDX-License-Identifier: MIT
#pragma once

#include <oktformat/objectscan.h>
#include <oktinspect/finding.h>

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace okt
{

// The objects of a pool file: where they are, of which class, with which id and name.

struct ListQuery
{
    // Patterns with * and ?, in UTF-8; the case of letters does not count. Empty: every object.
    std::string className; ///< of the object or of one of its bases
    std::string name;
};

struct ListedObject
{
    std::int64_t offset = 0; ///< in bytes from the start of the file
    std::int64_t size = 0;
    CString className;
    std::vector<CString> bases; ///< the nearest first
    std::optional<_GUID> id;
    std::optional<CString> name; ///< only parameters and categories have one
};

struct ListOptions
{
    std::function<void(ListedObject const &)> onObject; ///< each object, in the order of the file
    std::function<void(Finding const &)> onFault;       ///< a damaged header or object; the others are listed all the same
    OnProgress onProgress;                              ///< is called for each object
    std::string name;                                   ///< the name of the bytes for progress
};

/// Lists the objects of a file in its order, in one pass and in bounded memory. Throws Cancelled, Failure where the file can no
/// longer be read, and whatever the functions throw. It keeps nothing: several sources may be listed at once.
void list(ByteSource &source, ListQuery const &query, ListOptions const &options);

} // namespace okt
