// SPDX-License-Identifier: MIT
#pragma once

#include <oktformat/bytesource.h>
#include <oktinspect/finding.h>
#include <oktrebar/storedtemplate.h>

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace okt
{

// The rows that a pool file has in a catalogue, as plain data: whoever stores them needs to know nothing of pool files, and whoever makes
// them nothing of the store. Texts are UTF-8, a lone surrogate is U+FFFD; lengths are in metres; a null id is that of nobody.

/// How a file stands.
enum class FileState
{
    Whole,   ///< there may be warnings
    Damaged, ///< at least one finding is an error
    Foreign  ///< it is no pool file, whatever its name is
};
/// "whole", "damaged", "foreign".
char const *stateName(FileState state);

struct ObjectRow
{
    _GUID id = {};
    std::string className;
    std::string name; ///< of a parameter or a category
    std::int64_t offset = 0;
    std::int64_t size = 0;
};

struct ParameterRow
{
    _GUID id = {};
    _GUID category = {};
    _GUID owner = {};
    std::string name;
    int type = -1;
    std::string typeName;
    int listIndex = 0;
    std::string listCode; ///< "A" for 1
    int kind = 0;         ///< of the stored variant
    std::optional<double> number;
    std::optional<std::string> text;
    bool isLength = false;
    std::string expression;
    std::string description;
    int place = -1; ///< among the parameters that categories list, in the order in which people see them; -1: none lists it
};

struct ReferenceRow
{
    _GUID from = {};
    _GUID to = {};
    char const *role = ""; ///< a literal
};

struct PictureRow
{
    _GUID id = {};
    std::string format;
    int width = 0;
    int height = 0;
    std::int64_t bytes = 0;
    std::string view; ///< camera, target and up, as a search finds them, one a line
};

struct FindingRow
{
    std::string code;
    std::string severity;
    std::int64_t offset = 0;
    std::optional<_GUID> id;
    std::string message;
};

/// What a search for words looks into; one a line, in the order of the file.
struct WordsRow
{
    std::string names;
    std::string texts;
    std::string descriptions;
    std::string expressions;
};

/// All rows of one file.
struct PoolRows
{
    std::string path; ///< with slashes, from the root on
    std::int64_t size = 0;
    std::int64_t modifiedNs = 0; ///< since 1970 UTC
    std::int64_t lookedNs = 0;   ///< when the file was about to be read; 0: it changed meanwhile
    std::string sha256;
    std::optional<_GUID> poolId;
    std::string poolName;
    FileState state = FileState::Whole;
    bool isPlain = false; ///< the rows hold all of the file that a search or a table looks at
    std::string unit;     ///< in which the template was made
    std::string classes;  ///< of all objects and their bases, one a line

    std::vector<ObjectRow> objects;
    std::vector<ParameterRow> parameters;
    std::vector<ReferenceRow> references;
    std::vector<PictureRow> pictures;
    std::vector<FindingRow> findings;
    WordsRow words;
};

/// Gives a digest of bytes in hexadecimal digits. It is called in several threads at once.
using RowDigester = std::function<std::string(std::string_view)>;

/// What a file holds, all but its path, its times and its findings: these are still to be found (findingsOf) where the answer is not plain.
/// Makes no objects of the library: several files may be read at once. Throws Failure if the source cannot be read.
PoolRows rowsOf(std::string_view bytes, RowDigester const &digestOf);

/// Completes such rows by all that verify() finds: a process does that for one file at a time.
void addFindings(PoolRows &rows, std::string_view bytes, ModuleLookup const &moduleOf);

/// What tables and conditions look at, from plain rows: the parameters in their order, without what they use, and the classes. The rows of
/// objects, references, pictures and words are not looked at.
StoredTemplate templateOf(PoolRows const &rows);

} // namespace okt
