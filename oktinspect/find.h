// SPDX-License-Identifier: MIT
#pragma once

#include <oktformat/objectscan.h>
#include <oktinspect/finding.h>

#include <oktplatform/oktstring.h>

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace okt
{

// Names, texts, values, ids and classes in a pool file.

struct FindQuery
{
    enum class Where
    {
        Anywhere,
        Names, ///< of pools, parameters and categories
        Values ///< values, expressions and descriptions
    };

    /// In UTF-8. Without * and ? it matches a part of a text, with them the whole text. Case is ignored.
    std::string pattern;
    Where where = Where::Anywhere;
    /// Only objects whose class or a base matches this pattern; empty: all objects and the header.
    std::string className;
};

/// One match in an object.
struct FindMatch
{
    enum class Kind
    {
        Class,
        Id,       ///< its own, or that of the pool
        Naming,   ///< an id of another object
        PoolName, ///< in `text`
        Name,
        Text, ///< an expression, a description, a text of a client's class
        Value ///< a number, truth value or point, as text
    };

    Kind kind;
    std::int64_t offset; ///< in bytes from the start of the file
    std::optional<_GUID> id;
    CString text; ///< whole
};

/// An object, or the header, with its matches.
struct FoundObject
{
    CString className; ///< of the header "OKTDbPool"
    ObjectLabel label;
    std::int64_t begin;
    std::vector<FindMatch> matches; ///< in the order of the file
};

struct FindOptions
{
    std::function<void(FoundObject const &)> onFound; ///< each object with a match, in the order of the file
    std::function<void(Finding const &)> onFault;     ///< a damaged header or object, which is not searched; the rest is
    OnProgress onProgress;                            ///< False ends it
    std::string name;                                 ///< how progress calls the bytes
};

/// Searches a file in one pass, in bounded memory. Texts of more than 65535 characters are skipped. True: there was a match.
/// Throws Cancelled, Failure where the file can no longer be read, and whatever the functions throw. It keeps nothing: several
/// sources may be searched at once.
bool find(ByteSource &source, FindQuery const &query, FindOptions const &options);

} // namespace okt
