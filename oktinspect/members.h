// SPDX-License-Identifier: MIT
#pragma once

#include <oktplatform/oktarrays.h>
#include <oktplatform/oktvariant.h>

#include <string>
#include <vector>

class OKTDbObject;

namespace okt
{

// The functions keep no state and throw no exceptions of their own. An object must not change meanwhile.

/// What an object stores, one entry for each member, as text in UTF-8.
struct Member
{
    std::string name; ///< indented with blanks inside a nested frame
    std::string value;
};

/// A stored value as text; empty: no file can hold this kind. A truth value that is neither true nor false is shown as its number.
std::string variantText(tagVARIANT const &value);

/// The members that the object writes, without its id: names and values, those of base classes first.
std::vector<Member> membersOf(OKTDbObject const &object);

/// The records of a whole frame of an unknown class. Files store no names, so the kind is given as name. The frame of
/// OKTDbObject is left out.
std::vector<Member> recordsOf(CByteArray const &frame);

} // namespace okt
