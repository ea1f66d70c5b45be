// SPDX-License-Identifier: MIT
#pragma once

#include <oktrebar/lengthunit.h>

#include <oktformat/objectscan.h>
#include <oktformat/progress.h>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <unordered_map>
#include <variant>
#include <vector>

namespace okt
{

// The parameters of a template as they stand in its file, read from the records alone: objects of every class are passed over
// unharmed, and a file of any size needs no more memory than its parameters.

/// The value of a parameter as the file has it: a length in metres. A whole number of two bytes counts as one of four. Nothing: a
/// kind without a value.
using ParameterValue = std::variant<std::monostate, double, std::int32_t, bool, std::string>;

struct StoredParameter
{
    std::int64_t begin = 0; ///< of its frame, in bytes from the start of the file
    std::int64_t end = 0;
    std::string className;
    _GUID id = {};
    std::string name; ///< UTF-8, as all texts here
    int type = -1;
    int listIndex = 0;
    std::int32_t kind = 0; ///< of the stored variant
    ParameterValue value;
    std::int64_t valueBegin = -1; ///< the frame of that variant; -1: the parameter has none
    _GUID category = {};
    _GUID owner = {};
    std::vector<_GUID> uses; ///< the parameters that its value is made of
    std::string expression;
    std::string description;

    /// A real number of one of the types that are lengths.
    bool isLength() const;
    /// It is a length for people too, but a file holds it in the unit of the template.
    bool isDiameter() const;
    bool isQuantityExpression() const;
    /// The number, of a whole one or a real one.
    std::optional<double> number() const;
};

/// Any object of the file.
struct StoredObject
{
    std::int64_t begin = 0;
    std::int64_t end = 0;
    std::string className;
    _GUID id = {};
};

struct StoredCategory : StoredObject
{
    std::string name;
    _GUID group = {};
    std::vector<_GUID> parameters;
};

struct StoredGroup : StoredObject
{
    std::vector<_GUID> categories;
};

struct StoredRelation : StoredObject
{
    std::vector<_GUID> parameters;
};

struct StoredPicture : StoredObject
{
};

struct TemplateFault
{
    std::int64_t offset = 0;
    std::string reason;
};

struct StoredTemplate
{
    std::int64_t size = 0;
    HeaderPlace header;
    std::optional<_GUID> poolId;
    std::string poolName;
    std::vector<StoredParameter> parameters; ///< in the order of the file, as are the others
    std::vector<StoredCategory> categories;
    std::vector<StoredGroup> groups;
    std::vector<StoredRelation> relations;
    std::vector<StoredPicture> pictures;
    std::vector<StoredObject> others;  ///< of none of these classes
    std::set<std::string> classes;     ///< of all objects and their bases
    std::vector<TemplateFault> faults; ///< none: the file is whole
    bool isPart = false; ///< objects may be lost; what stands behind the last whole one and is none itself was no object

    /// The parameter of that id; null: there is none.
    StoredParameter const *find(_GUID const &id) const;
    /// The first parameter of that type and list index; null: there is none.
    StoredParameter const *find(int type, int listIndex) const;
    /// Indexes of the parameters in the order in which people see them: by category, then those in none.
    std::vector<std::size_t> inOrder() const;
    /// Index of the parameter of that id. Nothing: there is none.
    std::optional<std::size_t> indexOf(_GUID const &id) const;

    std::unordered_map<std::string, std::size_t> byId; ///< the parameters by the bytes of their ids; of several the first
};

/// Reads what is whole. Throws Failure where the source cannot be read, and Cancelled.
StoredTemplate readTemplate(ByteSource &source, std::string const &name = {}, OnProgress const &onProgress = {});

/// Which parameters are meant by a display name, an id, or "type:" and the number of a type.
class ParameterSelector
{
public:
    /// `text` is that name, id or type; any text is a name at least.
    explicit ParameterSelector(std::string text);

    /// As it was given.
    std::string const &text() const { return m_text; }
    /// Indexes, in the order of StoredTemplate::inOrder. The case of letters does not count.
    std::vector<std::size_t> in(StoredTemplate const &pool) const;
    bool matches(StoredParameter const &parameter) const;
    /// It begins with "type:", and no number follows: probably a slip, though it may be a name.
    bool isTypeWithoutNumber() const;

private:
    std::string m_text;
    std::optional<int> m_type;
};

/// The case of letters does not count, as in all that the user gives to be found.
bool isSameWord(std::string_view left, std::string_view right);

} // namespace okt
