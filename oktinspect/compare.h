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

// In what two pool files differ.

/// By what objects of two pools belong together.
enum class MatchBy
{
    Id,
    Name ///< for clones, whose ids are new: by what they hold, their relations and their names
};

/// An object of one of the files, or a stretch of it that is none (its class is empty then).
struct ComparedObject
{
    std::string className; ///< in UTF-8
    std::string name;      ///< the first text in it, in UTF-8; empty: it has none
    std::optional<_GUID> id;
    std::int64_t begin = 0; ///< in bytes from the start of its file
    std::int64_t size = 0;
};

/// A member that two objects do not have alike. A value is the entry of the text form without its name, as JSON: {"double": 0.25}.
struct ComparedMember
{
    std::string member;                ///< its name, or its section and number where the class is not registered
    std::optional<std::string> before; ///< nothing: the member is not there
    std::optional<std::string> after;
};

struct ComparedChange
{
    ComparedObject before;
    ComparedObject after;
    std::vector<ComparedMember> members;
};

/// Objects stand in the order in which people see a pool: groups with their categories and these with their parameters, then others.
struct Comparison
{
    std::vector<ComparedMember> header;
    std::vector<ComparedObject> removed; ///< in the first file alone
    std::vector<ComparedObject> added;   ///< in the second alone
    std::vector<ComparedChange> changed;
    std::size_t same = 0;
    bool isOtherOrder = false; ///< the files differ, although no object and no field of the header does
    /// What is damaged, a line each, where damage is tolerated.
    std::vector<std::string> firstFaults;
    std::vector<std::string> secondFaults;

    /// Nothing differs of what could be read.
    bool isSame() const { return header.empty() && removed.empty() && added.empty() && changed.empty() && !isOtherOrder; }
};

struct CompareOptions
{
    MatchBy by = MatchBy::Id;
    bool toleratesDamage = false;    ///< what is whole is compared; else a damaged file is a Failure
    OnProgress onProgress;           ///< steps for each file and one for the comparison. False ends it
    std::string firstName = "first"; ///< how messages call the bytes; of files it is their paths
    std::string secondName = "second";
};

/// The bytes are copied; both files are in memory while it runs, the result keeps neither. Throws Failure where a file is damaged and
/// that is not tolerated, and Cancelled. Threads: the registry of classes is one for the process; one call at a time.
Comparison compare(std::string_view first, std::string_view second, CompareOptions const &options = {});

/// The same for files; "-" is standard input. Also throws Failure where one cannot be read.
Comparison compareFiles(std::filesystem::path const &first, std::filesystem::path const &second,
                        CompareOptions const &options = {});

} // namespace okt
