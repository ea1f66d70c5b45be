// SPDX-License-Identifier: MIT
#include <oktinspect/find.h>

#include <oktinspect/objectpass.h>
#include <oktinspect/textmatch.h>

#include <oktformat/guids.h>
#include <oktformat/poolheader.h>
#include <oktformat/sentence.h>
#include <oktformat/text.h>
#include <oktformat/valuewalk.h>

#include <algorithm>
#include <utility>

namespace okt
{

namespace
{

using Kind = StoredValue::Kind;
using Where = FindQuery::Where;

// A longer text is not searched.
constexpr std::int64_t kSearchedText = 65535;

bool isNameOf(StoredValue const &value)
{
    return value.nested == 0 && value.section == 1 &&
           ((value.owner == KnownClass::Parameter && value.ordinal == 0) || value.owner == KnownClass::Category);
}

std::string valueText(ByteSource &source, StoredValue const &value)
{
    Kind const kind = value.kind == Kind::Variant ? value.variantValue : value.kind;
    switch (kind)
    {
    case Kind::Bool:
    case Kind::Short: return std::to_string(value.number);
    case Kind::Long:
        if (value.kind == Kind::Variant && value.variantKind == VT_BOOL)
            return value.number == 0 ? "false" : "true";
        return std::to_string(value.number);
    case Kind::Double: return value.reals.empty() ? "" : number(value.reals.front());
    case Kind::Text16:
    case Kind::Text8: return textOf(source, value).ToUtf8();
    case Kind::Point:
        return value.reals.size() != 3
                   ? ""
                   : sentence("{}, {}, {}", number(value.reals[0]), number(value.reals[1]), number(value.reals[2]));
    default: return "";
    }
}

class Finder
{
public:
    Finder(ByteSource &source, FindQuery const &query, FindOptions const &options)
        : m_source(source), m_query(query), m_options(options), m_pattern(query.pattern)
    {
        if (!query.className.empty())
            m_class.emplace(query.className);
    }

    bool run()
    {
        HeaderPlace const header = findHeader(m_source);
        if (header.isWhole && !m_class)
            searchHeader(header);
        passObjects(
            m_source, header, m_options.name, m_options.onProgress, [this](Stretch const &object) { searchObject(object); },
            [this](Finding const &finding) { fault(finding); });
        return m_isFound;
    }

private:
    void fault(Finding const &finding)
    {
        if (m_options.onFault)
            m_options.onFault(finding);
    }

    void tell(FoundObject const &found)
    {
        if (found.matches.empty())
            return;
        m_isFound = true;
        if (m_options.onFound)
            m_options.onFound(found);
    }

    /// The id and the name of the pool.
    void searchHeader(HeaderPlace const &header)
    {
        FoundObject found{CString(u"OKTDbPool"), {}, header.begin, {}};
        PoolHeader const fields = readPoolHeader(m_source, header.begin);
        found.label.id = fields.id;
        if (fields.id && m_query.where == Where::Anywhere && isId(*fields.id))
            found.matches.push_back({FindMatch::Kind::Id, fields.idOffset, fields.id, {}});
        found.label.name = fields.name.value_or(CString());
        if (fields.name && m_query.where != Where::Values && m_pattern.isIn(*fields.name))
            found.matches.push_back({FindMatch::Kind::PoolName, fields.nameOffset, std::nullopt, *fields.name});
        tell(found);
    }

    void searchObject(Stretch const &object)
    {
        if (m_class && std::none_of(object.classNames.begin(), object.classNames.end(),
                                    [this](std::string const &name) { return m_class->matches(CString(name.c_str())); }))
            return;
        FoundObject found{object.className(), {object.id, object.name}, object.begin, {}};
        if (m_query.where == Where::Anywhere && m_pattern.isIn(found.className))
            found.matches.push_back({FindMatch::Kind::Class, object.begin, std::nullopt, found.className});
        ValueWalk walk(m_source, object.begin);
        while (walk.next())
            searchValue(walk.value(), found.matches);
        tell(found);
    }

    void searchValue(StoredValue const &value, std::vector<FindMatch> &matches)
    {
        bool const isText = value.kind == Kind::Text16 || value.kind == Kind::Text8;
        if (isText && value.owner == KnownClass::Picture)
            return; // base64 of its image
        if (isText)
            return searchText(value, matches);
        if (value.kind == Kind::Id)
        {
            bool const isOwn = value.owner == KnownClass::Object && value.nested == 0;
            if (m_query.where == Where::Anywhere && isId(value.id))
                matches.push_back({isOwn ? FindMatch::Kind::Id : FindMatch::Kind::Naming, value.begin, value.id, {}});
            return;
        }
        if (m_query.where == Where::Names || value.kind == Kind::Frame || value.kind == Kind::Bytes)
            return;
        // Other numbers are not content: a type, a list index, a count.
        if (value.kind != Kind::Variant && value.owner != KnownClass::Other)
            return;
        CString const text = CString::FromUtf8(valueText(m_source, value));
        if (!text.IsEmpty() && m_pattern.isIn(text))
            matches.push_back({FindMatch::Kind::Value, value.begin, std::nullopt, text});
    }

    void searchText(StoredValue const &value, std::vector<FindMatch> &matches)
    {
        bool const isName = isNameOf(value);
        bool const isMeant = m_query.where == Where::Anywhere || (m_query.where == Where::Names) == isName;
        if (!isMeant || value.payloadSize > 2 * kSearchedText)
            return;
        CString const text = textOf(m_source, value);
        if (m_pattern.isIn(text))
            matches.push_back({isName ? FindMatch::Kind::Name : FindMatch::Kind::Text, value.begin, std::nullopt, text});
    }

    bool isId(_GUID const &id) const { return m_pattern.isIn(CString::FromUtf8(idText(id))); }

    ByteSource &m_source;
    FindQuery const &m_query;
    FindOptions const &m_options;
    TextPattern m_pattern;
    std::optional<TextPattern> m_class;
    bool m_isFound = false;
};

} // namespace

bool find(ByteSource &source, FindQuery const &query, FindOptions const &options)
{
    return Finder(source, query, options).run();
}

} // namespace okt
