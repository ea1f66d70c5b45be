// SPDX-License-Identifier: MIT
#pragma once

#include <oktformat/valuewalk.h>

#include <optional>
#include <string>
#include <vector>

namespace okt
{

/// The meaning of a member of a pool header. An id "with a place" is followed by two numbers: position in the objects block and size.
enum class HeaderRole
{
    Other, ///< not a member that this release knows
    PoolId,
    Construct,  ///< an id with a place
    OldPicture, ///< the same; only in files older than the list of pictures
    Index,      ///< the same
    Name,
    Factor,
    PPActions, ///< an id alone
    Sketch,    ///< the same
    PictureCount,
    Picture, ///< an id with a place, one for each picture of the list
    RadialReinf
};

/// What the value is, by its section and its number in it.
HeaderRole headerRole(StoredValue const &value);
/// For messages: "construct", "picture", ...
std::string roleName(HeaderRole role);
/// The same with its article: "the construct", "a picture", ...
std::string roleText(HeaderRole role);
bool hasPlace(HeaderRole role);

/// Reads the members of a header one by one, with their roles.
class HeaderWalk
{
public:
    /// `begin` is the byte at which the header's frame begins. The source must outlive the walk.
    HeaderWalk(ByteSource &source, std::int64_t begin) : m_walk(source, begin) {}

    /// False: the header has ended, or the bytes are damaged.
    bool next();
    StoredValue const &value() const { return m_walk.value(); }
    HeaderRole role() const { return m_role; }
    /// Offset of the first record that the grammar does not allow; -1: none so far.
    std::int64_t oddAt() const { return m_walk.oddAt(); }

    /// The value is the position or the size of the object whose id was read last.
    bool isPosition() const { return m_numbers == 1; }
    bool isSize() const { return m_numbers == 2; }
    StoredValue const &id() const { return m_id; }
    std::int32_t position() const { return m_position; } ///< once the size is met

private:
    ValueWalk m_walk;
    HeaderRole m_role = HeaderRole::Other;
    StoredValue m_id;
    int m_numbers = 3; ///< after an id with a place: 0 at the id, 1 at its position, 2 at its size; 3 elsewhere
    std::int32_t m_position = -1;
};

/// An object that a header names.
struct HeaderReference
{
    _GUID id = {};
    std::int64_t offset = -1;   ///< of the id; -1: it was not read
    std::int32_t position = -1; ///< from the start of the objects block
    std::int32_t size = -1;     ///< in bytes
    bool hasPlace = false;      ///< the two numbers were read
};

/// The members of a pool header. Missing ones are empty; incomplete ids count as missing.
struct PoolHeader
{
    std::optional<_GUID> id;
    std::int64_t idOffset = -1; ///< of its record; -1: it was not read
    std::optional<CString> name;
    std::int64_t nameOffset = -1;
    std::optional<double> factor; ///< drawing units per metre
    std::optional<HeaderReference> construct;
    std::optional<HeaderReference> oldPicture; ///< only in files older than the list of pictures
    std::optional<HeaderReference> index;
    std::optional<HeaderReference> ppActions;
    std::optional<HeaderReference> sketch;
    std::int32_t pictureCount = -1; ///< as stored; -1: there is none
    std::vector<HeaderReference> pictures;
    std::optional<HeaderReference> radialReinf;

    /// Stores the current value of the walk.
    void take(ByteSource &source, HeaderWalk const &walk);

private:
    HeaderReference *reference(HeaderRole role);
};

/// Reads the header whose frame begins at `begin`. Of a damaged header, the members before the fault.
PoolHeader readPoolHeader(ByteSource &source, std::int64_t begin);

} // namespace okt
