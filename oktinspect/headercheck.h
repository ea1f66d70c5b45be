#pragma once

// Not installed.

#include <oktinspect/finding.h>
#include <oktinspect/objecttable.h>

#include <cstdint>
#include <optional>
#include <string>

namespace okt
{

/// What the header names an object for: "construct", "picture", ...
std::string headerRole(StoredValue const &value);

/// Goes over the places in a header: the two numbers behind the id of the construct, the old picture, the index and each picture.
class HeaderPlaces
{
public:
    HeaderPlaces(ByteSource &source, std::int64_t begin) : m_walk(source, begin) {}

    /// The next value of the header, the places among them. False: there is none.
    bool next();
    StoredValue const &value() const { return m_walk.value(); }

    /// The value is the position or the size behind this id.
    bool isPosition() const { return m_numbers == 1; }
    bool isSize() const { return m_numbers == 2; }
    StoredValue const &id() const { return m_id; }
    std::int32_t position() const { return m_position; } ///< of the id, once its size is met

private:
    ValueWalk m_walk;
    StoredValue m_id;
    int m_numbers = 3;
    std::int32_t m_position = -1;
};

/// Checks what a whole header says against the objects of the file, and gives the id of the pool.
_GUID checkHeader(ByteSource &source, HeaderPlace const &header, ObjectTable const &objects, Findings &findings);

/// Whether the header has the size that the file begins with; nothing: it has.
std::optional<Finding> headerSizeFault(HeaderPlace const &header);

/// What the header says about the place of an object whose place is known; nothing: the truth.
std::optional<Finding> placeFault(HeaderPlace const &header, StoredValue const &id, std::int32_t position, std::int32_t size,
                                  std::int64_t realBegin, std::int64_t realSize);

} // namespace okt
