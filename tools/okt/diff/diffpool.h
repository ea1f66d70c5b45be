#pragma once

#include <oktplatform/oktarrays.h>
#include <okttext/oktpoolparts.h>

#include <nlohmann/json.hpp>

#include <map>
#include <string>
#include <vector>

namespace okt
{

using Json = nlohmann::ordered_json;

/// Ids of one pool, as the 16 bytes that a file has, and those of another pool that stand for the same objects.
using IdPairs = std::map<std::string, std::string>;

/// One object of a pool that is compared, or a stretch of the file that is none.
struct DiffObject
{
    okttext::Stretch stretch;
    std::string className; ///< in UTF-8
    std::string name;      ///< the first text in it, in UTF-8; empty: it has none
};

/// A pool file taken apart for a comparison.
class DiffPool
{
public:
    /// No pool at all: what a file that does not exist yet is compared as.
    DiffPool() = default;
    /// Throws Failure: it is damaged. `name` is how messages call it.
    DiffPool(std::string name, CByteArray image);

    std::string const &name() const { return m_name; }
    bool exists() const { return !m_image.IsEmpty(); }
    okttext::Bytes bytes() const;
    okttext::Bytes bytesOf(DiffObject const &object) const;
    /// The records of an object, without names of members; of a raw stretch nothing. They are made anew each time, since those
    /// of all objects would take many times the bytes of the file.
    okttext::Record recordOf(DiffObject const &object) const;
    okttext::PoolParts const &parts() const { return m_parts; }
    std::vector<DiffObject> const &objects() const { return m_objects; }

    /// The text form of an object and of the header, with the names of members where the class is known.
    Json textOf(DiffObject const &object) const;
    Json textOfHeader() const;
    /// The name of the object of that id (in registry form); empty: there is none, or it has none.
    std::string nameOf(std::string const &guid) const;

private:
    std::string m_name;
    CByteArray m_image;
    okttext::PoolParts m_parts;
    std::vector<DiffObject> m_objects;
    std::map<std::string, std::size_t> m_named; ///< objects with a name, by id in registry form
};

} // namespace okt
