// SPDX-License-Identifier: MIT
#include <oktformat/poolheader.h>

#include <algorithm>
#include <array>

namespace okt
{

namespace
{

using Kind = StoredValue::Kind;

struct HeaderMember
{
    HeaderRole role;
    Kind kind;
    int section;
    int ordinal; ///< -1: any
};

constexpr std::array<HeaderMember, 11> kMembers = {{{HeaderRole::PoolId, Kind::Id, 1, 0},
                                                    {HeaderRole::Construct, Kind::Id, 1, 1},
                                                    {HeaderRole::OldPicture, Kind::Id, 1, 4},
                                                    {HeaderRole::Index, Kind::Id, 1, 7},
                                                    {HeaderRole::Name, Kind::Text16, 1, 10},
                                                    {HeaderRole::Factor, Kind::Double, 2, 0},
                                                    {HeaderRole::PPActions, Kind::Id, 3, 0},
                                                    {HeaderRole::Sketch, Kind::Id, 4, 0},
                                                    {HeaderRole::PictureCount, Kind::Long, 5, 0},
                                                    {HeaderRole::Picture, Kind::Id, 5, -1},
                                                    {HeaderRole::RadialReinf, Kind::Id, 6, 0}}};

} // namespace

HeaderRole headerRole(StoredValue const &value)
{
    auto const found = std::find_if(kMembers.begin(), kMembers.end(), [&value](HeaderMember const &member) {
        return member.kind == value.kind && member.section == value.section &&
               (member.ordinal < 0 || member.ordinal == value.ordinal);
    });
    return found == kMembers.end() || value.nested > 0 ? HeaderRole::Other : found->role;
}

std::string roleName(HeaderRole role)
{
    switch (role)
    {
    case HeaderRole::PoolId: return "pool";
    case HeaderRole::Construct: return "construct";
    case HeaderRole::Index: return "index";
    case HeaderRole::OldPicture:
    case HeaderRole::Picture: return "picture";
    case HeaderRole::PPActions: return "ppActions";
    case HeaderRole::Sketch: return "sketch";
    case HeaderRole::RadialReinf: return "radial reinforcement";
    default: return "object";
    }
}

std::string roleText(HeaderRole role)
{
    if (role == HeaderRole::Picture || role == HeaderRole::OldPicture)
        return "a picture";
    std::string const name = roleName(role);
    return (name == "object" ? "an " : "the ") + name;
}

bool hasPlace(HeaderRole role)
{
    return role == HeaderRole::Construct || role == HeaderRole::OldPicture || role == HeaderRole::Index ||
           role == HeaderRole::Picture;
}

bool HeaderWalk::next()
{
    if (!m_walk.next())
        return false;
    StoredValue const &value = m_walk.value();
    m_role = headerRole(value);
    if (value.kind == Kind::Id && value.nested == 0)
    {
        m_id = value;
        m_numbers = hasPlace(m_role) ? 0 : 3;
    }
    else if (value.kind == Kind::Long && value.nested == 0 && m_numbers < 2 && value.section == m_id.section)
    {
        if (++m_numbers == 1)
            m_position = value.number;
    }
    else
    {
        m_numbers = 3;
    }
    return true;
}

HeaderReference *PoolHeader::reference(HeaderRole role)
{
    switch (role)
    {
    case HeaderRole::Construct: return construct ? &*construct : nullptr;
    case HeaderRole::OldPicture: return oldPicture ? &*oldPicture : nullptr;
    case HeaderRole::Index: return index ? &*index : nullptr;
    case HeaderRole::Picture: return pictures.empty() ? nullptr : &pictures.back();
    default: return nullptr;
    }
}

void PoolHeader::take(ByteSource &source, HeaderWalk const &walk)
{
    StoredValue const &value = walk.value();
    if (walk.isPosition() || walk.isSize())
    {
        HeaderReference *const placed = reference(headerRole(walk.id()));
        if (placed == nullptr || placed->offset != walk.id().begin)
            return;
        (walk.isPosition() ? placed->position : placed->size) = value.number;
        placed->hasPlace = true;
        return;
    }
    if (value.kind == Kind::Id && !value.isComplete)
        return;
    HeaderReference const named{value.id, value.begin, -1, -1, false};
    switch (walk.role())
    {
    case HeaderRole::PoolId:
        id = value.id;
        idOffset = value.begin;
        break;
    case HeaderRole::Name:
        name = textOf(source, value);
        nameOffset = value.begin;
        break;
    case HeaderRole::Factor: factor = value.reals.front(); break;
    case HeaderRole::PictureCount: pictureCount = value.number; break;
    case HeaderRole::Construct: construct = named; break;
    case HeaderRole::OldPicture: oldPicture = named; break;
    case HeaderRole::Index: index = named; break;
    case HeaderRole::PPActions: ppActions = named; break;
    case HeaderRole::Sketch: sketch = named; break;
    case HeaderRole::Picture: pictures.push_back(named); break;
    case HeaderRole::RadialReinf: radialReinf = named; break;
    case HeaderRole::Other: break;
    }
}

PoolHeader readPoolHeader(ByteSource &source, std::int64_t begin)
{
    PoolHeader header;
    HeaderWalk walk(source, begin);
    while (walk.next())
        header.take(source, walk);
    return header;
}

} // namespace okt
