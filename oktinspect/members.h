// SPDX-License-Identifier: MIT
#pragma once

#include <oktplatform/oktarrays.h>
#include <oktplatform/oktvariant.h>

#include <string>
#include <vector>

class OKTDbObject;

namespace okt
{

// The functions keep nothing and throw nothing of their own; what they give is the caller's. An object must not change meanwhile.

/// What an object stores, one entry for each member, as text in UTF-8.
struct Member
{
    std::string name; ///< with blanks in front of what stands in a nested frame
    std::string value;
};

/// A stored value as text; empty for a kind that no file holds. A truth value that is neither one is its number.
std::string variantText(tagVARIANT const &value);

/// The members as the object itself writes them: names and values, those of its base classes first. The id is left out.
std::vector<Member> membersOf(OKTDbObject const &object);

/// The records of a whole frame whose class is not known. Names are not stored: kinds stand in their place. The frame of
/// OKTDbObject is left out.
std::vector<Member> recordsOf(CByteArray const &frame);

} // namespace okt
