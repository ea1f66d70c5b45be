// SPDX-License-Identifier: MIT
#include <oktrebar/storedtemplate.h>

#include <oktformat/guids.h>
#include <oktformat/poolheader.h>
#include <oktformat/text.h>

#include <oktdatabase/oktdbparameter.h>

#include <algorithm>
#include <charconv>

namespace okt
{

namespace
{

using Kind = StoredValue::Kind;

// Where the members stand in the first section of a parameter.
constexpr int kName = 0;
constexpr int kType = 1;
constexpr int kValue = 2;
constexpr int kListIndex = 3;
constexpr int kCategory = 4;
constexpr int kOwner = 5;
constexpr int kFirstUse = 7;

// A longer text is no name or value that a table could show.
constexpr std::int64_t kLongestText = 2 * 65535;

std::string keyOf(_GUID const &id) { return {reinterpret_cast<char const *>(&id), sizeof id}; }

std::string utf8Of(ByteSource &source, StoredValue const &value)
{
    return value.payloadSize > kLongestText ? "" : textOf(source, value).ToUtf8();
}

ParameterValue valueOf(ByteSource &source, StoredValue const &value)
{
    switch (value.variantValue)
    {
    case Kind::Double: return value.reals.empty() ? ParameterValue() : ParameterValue(value.reals.front());
    case Kind::Short:
    case Kind::Long:
        if (value.variantKind == VT_BOOL)
            return value.number != 0;
        return value.number;
    case Kind::Text16:
    case Kind::Text8: return utf8Of(source, value);
    default: return {};
    }
}

StoredParameter parameterOf(ByteSource &source, Stretch const &object)
{
    StoredParameter parameter;
    parameter.begin = object.begin;
    parameter.end = object.end;
    parameter.className = object.className().ToUtf8();
    parameter.id = object.id.value_or(kNoId);
    ValueWalk walk(source, object.begin);
    while (walk.next())
    {
        StoredValue const &value = walk.value();
        if (value.owner != KnownClass::Parameter || value.nested != 0)
            continue;
        bool const isText = value.kind == Kind::Text16 || value.kind == Kind::Text8;
        if (value.section == 2 && value.ordinal == 0 && isText)
            parameter.description = utf8Of(source, value);
        if (value.section != 1)
            continue;
        if (value.ordinal == kName && isText)
            parameter.name = utf8Of(source, value);
        else if (value.ordinal == kType && value.kind == Kind::Long)
            parameter.type = value.number;
        else if (value.ordinal == kValue && value.kind == Kind::Variant)
        {
            parameter.kind = value.variantKind;
            parameter.value = valueOf(source, value);
            parameter.valueBegin = value.begin;
        }
        else if (value.ordinal == kListIndex && value.kind == Kind::Long)
            parameter.listIndex = value.number;
        else if (value.ordinal == kCategory && value.kind == Kind::Id)
            parameter.category = value.id;
        else if (value.ordinal == kOwner && value.kind == Kind::Id)
            parameter.owner = value.id;
        else if (value.ordinal >= kFirstUse && value.kind == Kind::Id)
            parameter.uses.push_back(value.id);
        else if (value.ordinal >= kFirstUse && isText)
            parameter.expression = utf8Of(source, value);
    }
    return parameter;
}

/// The ids that a category, a group or a relation lists: those behind the count, which is the last number in front of them. The id in
/// front of the count of a category is that of its group.
std::vector<_GUID> listOf(ByteSource &source, Stretch const &object, KnownClass owner, StoredCategory *category = nullptr)
{
    std::vector<_GUID> ids;
    ValueWalk walk(source, object.begin);
    while (walk.next())
    {
        StoredValue const &value = walk.value();
        if (value.owner != owner || value.nested != 0 || value.section != 1)
            continue;
        if (value.kind == Kind::Long)
            ids.clear();
        else if (value.kind == Kind::Id && category != nullptr && value.ordinal == 0)
            category->group = value.id;
        else if (value.kind == Kind::Id)
            ids.push_back(value.id);
        else if (category != nullptr && (value.kind == Kind::Text16 || value.kind == Kind::Text8))
            category->name = utf8Of(source, value);
    }
    return ids;
}

class Reader
{
public:
    Reader(ByteSource &source, std::string const &name, OnProgress const &onProgress)
        : m_source(source), m_name(name), m_onProgress(onProgress)
    {
    }

    StoredTemplate run()
    {
        m_result.size = m_source.size();
        if (m_source.size() == 0)
        {
            m_result.faults.push_back({0, "the file is empty"});
            return std::move(m_result);
        }
        m_result.header = findHeader(m_source);
        bool isHeader = !m_result.header.isWhole;
        if (isHeader)
        {
            m_result.faults.push_back({m_result.header.faultAt, m_result.header.fault});
            m_result.isPart = true;
        }
        else
        {
            PoolHeader const header = readPoolHeader(m_source, m_result.header.begin);
            m_result.poolId = header.id;
            m_result.poolName = header.name.value_or(CString()).ToUtf8();
        }
        ObjectScan scan(m_source, m_result.header.end);
        ProgressStep progress(m_onProgress, printable(std::string_view(m_name)), static_cast<std::uint64_t>(m_source.size()));
        std::uint64_t objects = 0;
        bool isBehindGap = false;
        std::int64_t gap = 0; // bytes behind the last object
        while (std::optional<Stretch> const stretch = scan.next())
        {
            bool const isObject = stretch->kind == Stretch::Kind::Object;
            m_result.isPart = m_result.isPart || (isObject ? gap >= kLeastObject : isLost(*stretch, isBehindGap));
            isBehindGap = stretch->kind == Stretch::Kind::Gap;
            gap = isObject ? 0 : gap + stretch->size();
            objects += stretch->kind == Stretch::Kind::Object ? 1 : 0;
            progress.at(static_cast<std::uint64_t>(stretch->end), objects);
            if (stretch->kind == Stretch::Kind::Object)
                take(*stretch);
            else if (stretch->kind != Stretch::Kind::Gap && !isHeader) // the rest of a damaged header is told already
                m_result.faults.push_back({stretch->faultAt, stretch->fault()});
            isHeader = false;
        }
        return std::move(m_result);
    }

private:
    // Frame, id and the smallest class name take more.
    static constexpr std::int64_t kLeastObject = 40;

    /// Bytes behind a gap that have not even the name of a class were no object.
    static bool isLost(Stretch const &stretch, bool isBehindGap)
    {
        return stretch.kind != Stretch::Kind::Gap && !(isBehindGap && stretch.classNames.empty());
    }

    void take(Stretch const &object)
    {
        for (std::string const &name : object.classNames)
            m_result.classes.insert(CString(name.c_str()).ToUtf8());
        _GUID const id = object.id.value_or(kNoId);
        StoredObject const stored{object.begin, object.end, object.className().ToUtf8(), id};
        if (object.isOf(KnownClass::Parameter))
        {
            m_result.byId.emplace(keyOf(id), m_result.parameters.size());
            m_result.parameters.push_back(parameterOf(m_source, object));
        }
        else if (object.isOf(KnownClass::Category))
        {
            StoredCategory category{stored, {}, {}, {}};
            category.parameters = listOf(m_source, object, KnownClass::Category, &category);
            m_result.categories.push_back(std::move(category));
        }
        else if (object.isOf(KnownClass::GroupCategory))
            m_result.groups.push_back({stored, listOf(m_source, object, KnownClass::GroupCategory)});
        else if (object.isOf(KnownClass::Relation) || object.isOf(KnownClass::ParamRelation))
            m_result.relations.push_back({stored, listOf(m_source, object, KnownClass::ParamRelation)});
        else if (object.isOf(KnownClass::Picture))
            m_result.pictures.push_back({stored});
        else
            m_result.others.push_back(stored);
    }

    ByteSource &m_source;
    std::string const &m_name;
    OnProgress const &m_onProgress;
    StoredTemplate m_result;
};

} // namespace

bool StoredParameter::isLength() const
{
    OKTDbParameter parameter;
    parameter.setType(type);
    return std::holds_alternative<double>(value) && parameter.isInDrawingUnits();
}

bool StoredParameter::isDiameter() const
{
    constexpr int kDiameter = 5;
    return type == kDiameter && number().has_value();
}

bool StoredParameter::isQuantityExpression() const
{
    constexpr int kQuantityExpression = 39;
    return type == kQuantityExpression && std::holds_alternative<std::string>(value);
}

std::optional<double> StoredParameter::number() const
{
    if (double const *const real = std::get_if<double>(&value))
        return *real;
    if (std::int32_t const *const whole = std::get_if<std::int32_t>(&value))
        return *whole;
    return std::nullopt;
}

StoredParameter const *StoredTemplate::find(_GUID const &id) const
{
    std::optional<std::size_t> const index = indexOf(id);
    return index ? &parameters[*index] : nullptr;
}

std::optional<std::size_t> StoredTemplate::indexOf(_GUID const &id) const
{
    auto const found = byId.find(keyOf(id));
    return found == byId.end() ? std::nullopt : std::optional(found->second);
}

StoredParameter const *StoredTemplate::find(int type, int listIndex) const
{
    auto const found = std::find_if(parameters.begin(), parameters.end(), [=](StoredParameter const &parameter) {
        return parameter.type == type && parameter.listIndex == listIndex;
    });
    return found == parameters.end() ? nullptr : &*found;
}

std::vector<std::size_t> StoredTemplate::inOrder() const
{
    std::vector<std::size_t> order;
    std::vector<bool> isTaken(parameters.size(), false);
    auto const take = [&](StoredCategory const &category) {
        for (_GUID const &id : category.parameters)
            if (std::optional<std::size_t> const index = indexOf(id); index && !isTaken[*index])
            {
                isTaken[*index] = true;
                order.push_back(*index);
            }
    };
    std::unordered_map<std::string, StoredCategory const *> byCategory;
    for (StoredCategory const &category : categories)
        byCategory.emplace(keyOf(category.id), &category);
    for (StoredGroup const &group : groups)
        for (_GUID const &id : group.categories)
            if (auto const found = byCategory.find(keyOf(id)); found != byCategory.end())
                take(*found->second);
    for (StoredCategory const &category : categories)
        take(category);
    for (std::size_t i = 0; i < parameters.size(); ++i)
        if (!isTaken[i])
            order.push_back(i);
    return order;
}

StoredTemplate readTemplate(ByteSource &source, std::string const &name, OnProgress const &onProgress)
{
    return Reader(source, name, onProgress).run();
}

bool isSameWord(std::string_view left, std::string_view right)
{
    return CString::FromUtf8(left).CompareNoCase(CString::FromUtf8(right)) == 0;
}

namespace
{
constexpr std::string_view kPrefix = "type:";
}

ParameterSelector::ParameterSelector(std::string text) : m_text(std::move(text))
{
    if (!m_text.starts_with(kPrefix))
        return;
    int type = 0;
    char const *const begin = m_text.data() + kPrefix.size();
    char const *const end = m_text.data() + m_text.size();
    auto const [behind, error] = std::from_chars(begin, end, type);
    if (error == std::errc() && behind == end)
        m_type = type;
}

bool ParameterSelector::isTypeWithoutNumber() const { return m_text.starts_with(kPrefix) && !m_type; }

bool ParameterSelector::matches(StoredParameter const &parameter) const
{
    if (m_type)
        return parameter.type == *m_type;
    if (isSameWord(parameter.name, m_text))
        return true;
    std::string const id = idText(parameter.id);
    return isSameWord(id, m_text) || isSameWord(std::string_view(id).substr(1, id.size() - 2), m_text);
}

std::vector<std::size_t> ParameterSelector::in(StoredTemplate const &pool) const
{
    std::vector<std::size_t> found = pool.inOrder();
    std::erase_if(found, [&](std::size_t index) { return !matches(pool.parameters[index]); });
    return found;
}

} // namespace okt
