// SPDX-License-Identifier: MIT
#pragma once

#include <oktformat/progress.h>

#include <oktplatform/oktplatform.h>

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace okt
{

// The differences between two pool files.

/// How objects of two pools are matched.
enum class MatchBy
{
    Id,
    Name ///< for clones, whose ids are new: by what they hold, their relations and their names
};

/// An object of one of the files, or a range of bytes that is not an object (then the class is empty).
struct ComparedObject
{
    std::string className; ///< in UTF-8
    std::string name;      ///< the first text in it, in UTF-8; empty: it has none
    std::optional<_GUID> id;
    std::int64_t begin = 0; ///< in bytes from the start of its file
    std::int64_t size = 0;
};

/// A member that differs between two objects. A value is the entry of the text form without its name, as JSON: {"double": 0.25}.
struct ComparedMember
{
    std::string member;                ///< its name, or its section and number where the class is not registered
    std::optional<std::string> before; ///< empty: there is no such member
    std::optional<std::string> after;
};

struct ComparedChange
{
    ComparedObject before;
    ComparedObject after;
    std::vector<ComparedMember> members;
};

/// Objects are sorted as okt shows a pool: groups with their categories and these with their parameters, then others.
struct Comparison
{
    std::vector<ComparedMember> header;
    std::vector<ComparedObject> removed; ///< only in the first file
    std::vector<ComparedObject> added;   ///< only in the second file
    std::vector<ComparedChange> changed;
    std::size_t same = 0;
    bool isOtherOrder = false; ///< the files differ, but no object and no field of the header does
    /// One line for each fault, where damage is tolerated.
    std::vector<std::string> firstFaults;
    std::vector<std::string> secondFaults;

    /// No difference in what could be read.
    bool isSame() const { return header.empty() && removed.empty() && added.empty() && changed.empty() && !isOtherOrder; }
};

struct CompareOptions
{
    MatchBy by = MatchBy::Id;
    bool toleratesDamage = false;    ///< true: whole objects are compared; false: a damaged file is a Failure
    OnProgress onProgress;           ///< steps for each file and one for the comparison. False ends it
    std::string firstName = "first"; ///< how messages call the bytes; of files it is their paths
    std::string secondName = "second";
};

/// The bytes are copied: both files are in memory while it runs. The result keeps neither. Throws Failure if a file is damaged and
/// that is not tolerated, and Cancelled. Threads: one call at a time, since the process has only one registry of classes.
Comparison compare(std::string_view first, std::string_view second, CompareOptions const &options = {});

/// The same for files; "-" is standard input. Also throws Failure where one cannot be read.
Comparison compareFiles(std::filesystem::path const &first, std::filesystem::path const &second,
                        CompareOptions const &options = {});

} // namespace okt
