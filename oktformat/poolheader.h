// SPDX-License-Identifier: MIT
#pragma once

#include <oktformat/valuewalk.h>

#include <optional>
#include <string>
#include <vector>

namespace okt
{

/// What a member of a pool header tells. Where an id has a place, two numbers follow it: position in the objects block and size.
enum class HeaderRole
{
    Other, ///< nothing that is known here
    PoolId,
    Construct,  ///< an id with a place
    OldPicture, ///< the same; of a file from before the list of pictures
    Index,      ///< the same
    Name,
    Factor,
    PPActions, ///< an id alone
    Sketch,    ///< the same
    PictureCount,
    Picture, ///< an id with a place, each of the list
    RadialReinf
};

/// What the value is, by its section and its number in it.
HeaderRole headerRole(StoredValue const &value);
/// For messages: "construct", "picture", ...
std::string roleName(HeaderRole role);
/// The same with its article: "the construct", "a picture", ...
std::string roleText(HeaderRole role);
bool hasPlace(HeaderRole role);

/// Goes over the members of a header and knows what they are.
class HeaderWalk
{
public:
    /// `begin` is the byte at which the header's frame begins. The source must outlive the walk.
    HeaderWalk(ByteSource &source, std::int64_t begin) : m_walk(source, begin) {}

    /// False: the header has ended, or cannot be followed further.
    bool next();
    StoredValue const &value() const { return m_walk.value(); }
    HeaderRole role() const { return m_role; }
    /// The first record that is not where the grammar has it; -1: none was met.
    std::int64_t oddAt() const { return m_walk.oddAt(); }

    /// The value is the position or the size of the object whose id is the last met.
    bool isPosition() const { return m_numbers == 1; }
    bool isSize() const { return m_numbers == 2; }
    StoredValue const &id() const { return m_id; }
    std::int32_t position() const { return m_position; } ///< once the size is met

private:
    ValueWalk m_walk;
    HeaderRole m_role = HeaderRole::Other;
    StoredValue m_id;
    int m_numbers = 3; ///< since an id with a place: 0 behind it, 1 at its position, 2 at its size, 3 elsewhere
    std::int32_t m_position = -1;
};

/// An object that a header names.
struct HeaderReference
{
    _GUID id = {};
    std::int64_t offset = -1;   ///< of the id; -1: it was not read
    std::int32_t position = -1; ///< from the begin of the objects block
    std::int32_t size = -1;     ///< in bytes
    bool hasPlace = false;      ///< the two numbers were read
};

/// The members of a pool header, as far as they are there; ids only where they are whole.
struct PoolHeader
{
    std::optional<_GUID> id;
    std::int64_t idOffset = -1; ///< of its record; -1: it was not read
    std::optional<CString> name;
    std::int64_t nameOffset = -1;
    std::optional<double> factor; ///< drawing units per metre
    std::optional<HeaderReference> construct;
    std::optional<HeaderReference> oldPicture; ///< of a file from before the list
    std::optional<HeaderReference> index;
    std::optional<HeaderReference> ppActions;
    std::optional<HeaderReference> sketch;
    std::int32_t pictureCount = -1; ///< as it is stated; -1: it is not
    std::vector<HeaderReference> pictures;
    std::optional<HeaderReference> radialReinf;

    /// Takes the value at which the walk stands.
    void take(ByteSource &source, HeaderWalk const &walk);

private:
    HeaderReference *reference(HeaderRole role);
};

/// The header whose frame begins at an offset. Of a damaged one, what stands in front of the fault.
PoolHeader readPoolHeader(ByteSource &source, std::int64_t begin);

} // namespace okt
