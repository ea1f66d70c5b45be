// SPDX-License-Identifier: MIT
#pragma once

#include <oktformat/valuewalk.h>

#include <string_view>

namespace okt
{

/// The meaning of a member of one of the library's own classes. A list is its count, then one member for each element.
enum class MemberRole
{
    Other, ///< not a member that this release knows
    ObjectId,
    ParameterName,
    ParameterType,
    ParameterValue,
    ParameterListIndex,
    ParameterCategory,
    ParameterOwner,
    UsedCount,
    UsedParameter,
    Expression,
    Description,
    CategoryGroup,
    CategoryParameterCount,
    CategoryParameter,
    CategoryName,
    GroupCategoryCount,
    GroupCategory,
    RelationParameterCount,
    RelationParameter,
    PictureFirstChunk, ///< of its base64 text
    PictureChunkCount, ///< of the chunks behind the first
    PictureChunk,
    PictureCamera,
    PictureTarget,
    PictureUp
};

/// Finds the role by class, section, ordinal and kind of the value.
MemberRole memberRole(StoredValue const &value);
/// "name", "expression", "category", ...; empty for Other. The text is static.
std::string_view memberName(MemberRole role);

} // namespace okt
