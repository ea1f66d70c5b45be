// SPDX-License-Identifier: MIT
#pragma once

// Stands on the records of the text form. Not installed.

#include <oktformat/progress.h>
#include <oktformat/valuewalk.h>
#include <okttext/damagedpool.h>

#include <oktplatform/oktarrays.h>
#include <okttext/oktpoolparts.h>

#include <nlohmann/json.hpp>

#include <map>
#include <string>
#include <vector>

namespace okt
{

using Json = nlohmann::ordered_json;

/// Ids of one pool and the ids of the same objects in another pool, as 16 bytes.
using IdPairs = std::map<std::string, std::string>;

/// One object of a compared pool, or a range of bytes that is not an object.
struct DiffObject
{
    okttext::PoolPiece stretch;
    std::string className;               ///< in UTF-8
    std::string name;                    ///< the first text in it, in UTF-8; empty: it has none
    KnownClass kind = KnownClass::Other; ///< its class or the nearest known base
    bool isNamed = false;                ///< a parameter or a category; `name` is its name
};

/// What to do with a damaged file.
enum class Damage
{
    Refused,
    Told ///< what is whole is compared
};

/// A pool file split into parts for a comparison.
class DiffPool
{
public:
    /// An empty pool: stands for a file that does not exist.
    DiffPool() = default;
    /// Throws Failure if it is damaged and that is to be refused. `name` is used in messages.
    DiffPool(std::string name, CByteArray image, Damage damage = Damage::Refused, OnProgress const &onProgress = {});
    /// A file that cannot be read at all. `fault` is the line for the user.
    static DiffPool unreadable(std::string name, std::string fault);

    std::string const &name() const { return m_name; }
    bool exists() const { return !m_image.IsEmpty() || !m_faults.empty(); }
    /// Lines for the user; none: the file is whole.
    std::vector<std::string> const &faults() const { return m_faults; }
    bool hasHeader() const { return m_hasHeader; }
    /// It has nothing that could be compared.
    bool isNothing() const { return m_isNothing; }
    okttext::Bytes bytes() const;
    okttext::Bytes bytesOf(DiffObject const &object) const;
    /// The records of an object, without names of members; empty for raw bytes. They are parsed at each call, since those
    /// of all objects would need many times the size of the file.
    okttext::Record recordOf(DiffObject const &object) const;
    okttext::PoolParts const &parts() const { return m_parts; }
    std::vector<DiffObject> const &objects() const { return m_objects; }

    /// The ids, of 16 bytes, that a group, a category, a relation or a parameter lists.
    std::vector<std::string> listOf(DiffObject const &object) const;
    /// Class, id and name of an object, for people; of raw bytes their number.
    std::string titleOf(DiffObject const &object) const;

    /// The text form of an object and of the header, with the names of members where the class is known.
    Json textOf(DiffObject const &object) const;
    Json textOfHeader() const;
    /// The name of the object of that id (in registry form); empty: there is none, or it has none.
    std::string nameOf(std::string const &guid) const;

private:
    void takeApart(Damage damage);
    void addObject(okttext::PoolPiece const &stretch);

    std::string m_name;
    std::vector<std::string> m_faults;
    bool m_hasHeader = false;
    bool m_isNothing = false;
    CByteArray m_image;
    okttext::PoolParts m_parts;
    std::vector<DiffObject> m_objects;
    std::map<std::string, std::size_t> m_named; ///< objects with a name, by id in registry form
};

/// The first section of that number in a frame; null: there is none, or no frame.
okttext::Record const *sectionOf(okttext::Record const *frame, std::int32_t number);

} // namespace okt
