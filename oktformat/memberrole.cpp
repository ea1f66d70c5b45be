// SPDX-License-Identifier: MIT
#include <oktformat/memberrole.h>

#include <algorithm>
#include <array>

namespace okt
{

namespace
{

using Kind = StoredValue::Kind;
using Known = KnownClass;
using Role = MemberRole;

struct ClassMember
{
    Role role;
    std::string_view name;
    Known owner;
    int section;
    int first; ///< its ordinal in the section, or with `isAnywhereBehind` the lowest possible one
    bool isAnywhereBehind;
    Kind kind;
};

constexpr std::array kMembers = {
    ClassMember{Role::ObjectId, "id", Known::Object, 1, 0, false, Kind::Id},
    ClassMember{Role::ParameterName, "name", Known::Parameter, 1, 0, false, Kind::Text16},
    ClassMember{Role::ParameterType, "type", Known::Parameter, 1, 1, false, Kind::Long},
    ClassMember{Role::ParameterValue, "value", Known::Parameter, 1, 2, false, Kind::Variant},
    ClassMember{Role::ParameterListIndex, "list index", Known::Parameter, 1, 3, false, Kind::Long},
    ClassMember{Role::ParameterCategory, "category", Known::Parameter, 1, 4, false, Kind::Id},
    ClassMember{Role::ParameterOwner, "owner", Known::Parameter, 1, 5, false, Kind::Id},
    ClassMember{Role::UsedCount, "number of used parameters", Known::Parameter, 1, 6, false, Kind::Long},
    ClassMember{Role::UsedParameter, "used parameter", Known::Parameter, 1, 7, true, Kind::Id},
    ClassMember{Role::Expression, "expression", Known::Parameter, 1, 7, true, Kind::Text16},
    ClassMember{Role::Description, "description", Known::Parameter, 2, 0, false, Kind::Text16},
    ClassMember{Role::CategoryGroup, "group", Known::Category, 1, 0, false, Kind::Id},
    ClassMember{Role::CategoryParameterCount, "number of parameters", Known::Category, 1, 1, false, Kind::Long},
    ClassMember{Role::CategoryParameter, "parameter", Known::Category, 1, 2, true, Kind::Id},
    ClassMember{Role::CategoryName, "name", Known::Category, 1, 2, true, Kind::Text16},
    ClassMember{Role::GroupCategoryCount, "number of categories", Known::GroupCategory, 1, 0, false, Kind::Long},
    ClassMember{Role::GroupCategory, "category", Known::GroupCategory, 1, 1, true, Kind::Id},
    ClassMember{Role::RelationParameterCount, "number of parameters", Known::ParamRelation, 1, 0, false, Kind::Long},
    ClassMember{Role::RelationParameter, "parameter", Known::ParamRelation, 1, 1, true, Kind::Id},
    ClassMember{Role::PictureFirstChunk, "chunk", Known::Picture, 1, 0, false, Kind::Text8},
    ClassMember{Role::PictureChunkCount, "number of further chunks", Known::Picture, 2, 0, false, Kind::Long},
    ClassMember{Role::PictureChunk, "chunk", Known::Picture, 2, 1, true, Kind::Text8},
    ClassMember{Role::PictureCamera, "camera", Known::Picture, 3, 0, false, Kind::Point},
    ClassMember{Role::PictureTarget, "target", Known::Picture, 3, 1, false, Kind::Point},
    ClassMember{Role::PictureUp, "up", Known::Picture, 3, 2, false, Kind::Point},
};

} // namespace

MemberRole memberRole(StoredValue const &value)
{
    if (value.nested > 0)
        return Role::Other;
    auto const found = std::find_if(kMembers.begin(), kMembers.end(), [&value](ClassMember const &member) {
        return member.owner == value.owner && member.section == value.section && member.kind == value.kind &&
               (member.isAnywhereBehind ? value.ordinal >= member.first : value.ordinal == member.first);
    });
    return found == kMembers.end() ? Role::Other : found->role;
}

std::string_view memberName(MemberRole role)
{
    auto const found =
        std::find_if(kMembers.begin(), kMembers.end(), [role](ClassMember const &member) { return member.role == role; });
    return found == kMembers.end() ? std::string_view() : found->name;
}

} // namespace okt
