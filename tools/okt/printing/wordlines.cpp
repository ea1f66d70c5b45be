// SPDX-License-Identifier: MIT
#include <tools/okt/printing/wordlines.h>

#include <oktinspect/listdiff.h>
#include <oktinspect/poollabels.h>
#include <tools/okt/printing/diffvalues.h>
#include <tools/okt/printing/memberlines.h>

#include <oktformat/sentence.h>
#include <oktformat/text.h>
#include <oktinspect/objectread.h>
#include <tools/okt/terminal/console.h>

#include <okttext/oktnotation.h>

#include <oktdatabase/oktdatabase.h>

#include <algorithm>
#include <array>
#include <optional>
#include <set>
#include <string_view>

namespace okt
{

namespace
{

constexpr std::size_t kIndent = 4;

/// How to describe a change of a member.
enum class How
{
    Plain,
    Value,
    Type,
    ListCode,
    Reference,
    List
};

/// A member of one of the known classes, and the word for it.
struct Topic
{
    KnownClass kind;
    std::string_view member;
    How how;
    char const *word;
};

constexpr Topic kTopics[] = {
    {KnownClass::Parameter, "m_strUserName", How::Plain, "name"},
    {KnownClass::Parameter, "varConverted", How::Value, ""},
    {KnownClass::Parameter, "m_varValue", How::Value, ""},
    {KnownClass::Parameter, "m_nParamType", How::Type, "type"},
    {KnownClass::Parameter, "m_nListIndex", How::ListCode, "list code"},
    {KnownClass::Parameter, "m_idCategory", How::Reference, "category"},
    {KnownClass::Parameter, "m_idOwner", How::Reference, "owner"},
    {KnownClass::Parameter, "m_tabIdsParams", How::List, "uses"},
    {KnownClass::Parameter, "m_strExpression", How::Plain, "expression"},
    {KnownClass::Parameter, "m_strDescription", How::Plain, "description"},
    {KnownClass::Category, "m_strCategoryName", How::Plain, "name"},
    {KnownClass::Category, "m_idGroupCategory", How::Reference, "group"},
    {KnownClass::Category, "m_tabParameters", How::List, "parameters"},
    {KnownClass::GroupCategory, "m_tabCategory", How::List, "categories"},
    {KnownClass::ParamRelation, "m_tabParameters", How::List, "parameters"},
    {KnownClass::Picture, "picture", How::Plain, ""},
    {KnownClass::Picture, "m_pntCamera", How::Plain, "camera"},
    {KnownClass::Picture, "m_pntTarget", How::Plain, "target"},
    {KnownClass::Picture, "m_vecUp", How::Plain, "up"},
};

Topic const *topicOf(KnownClass kind, std::string_view member)
{
    auto const isIt = [kind, member](Topic const &topic) {
        return topic.kind == kind && member.starts_with(topic.member) &&
               (member.size() == topic.member.size() || (topic.how == How::List && member[topic.member.size()] == '.'));
    };
    auto const found = std::find_if(std::begin(kTopics), std::end(kTopics), isIt);
    return found == std::end(kTopics) ? nullptr : &*found;
}

/// Members of the header.
constexpr std::array<std::pair<std::string_view, char const *>, 8> kHeaderWords = {{{"m_objectId", "Pool id"},
                                                                                    {"m_strPoolName", "Pool name"},
                                                                                    {"m_constructId", "Construct"},
                                                                                    {"m_indexId", "Index"},
                                                                                    {"dfMetricsFactor", "Metrics factor"},
                                                                                    {"m_ppActionsId", "PP actions"},
                                                                                    {"m_sketchId", "Sketch"},
                                                                                    {"m_radialReinfId", "Radial"}}};

constexpr std::array<std::pair<std::string_view, char const *>, 2> kPlaceWords = {
    {{"nObjectPosition", "Stored position"}, {"nObjectSize", "Stored size"}}};

/// A pool with the labels of its objects.
struct Side
{
    Side(DiffPool const &source, PoolOutline const &outline) : pool(source), labels(outline) {}

    DiffPool const &pool;
    PoolLabels labels;
};

/// A parameter as the library reads it.
struct ReadParameter
{
    ReadParameter(DiffPool const &pool, DiffObject const &object, DisplayUnit const &unit)
        : read(readAlone(okttext::arrayOf(pool.bytesOf(object)), CString::FromUtf8(object.className), unit.factor)),
          parameter(read.fault.isNone() ? OKTDbParameter::cast(read.object.get()) : nullptr)
    {
    }

    ReadObject read;
    OKTDbParameter const *parameter; ///< null: the library cannot read it
};

std::string shown(OKTDbParameter const &parameter, DisplayUnit const &unit)
{
    tagVARIANT const value = parameter.Value();
    if (value.vt == VT_EMPTY || value.vt == VT_NULL)
        return "no value";
    std::string const text = valueText(value, parameter.isInDrawingUnits(), unit);
    return text.empty() ? "a value of the " + kindName(value.vt) : text;
}

std::optional<std::int32_t> numberIn(Json const &value)
{
    auto const number = value.is_object() ? value.find("long") : value.end();
    return number != value.end() && number->is_number_integer() ? std::optional(number->get<std::int32_t>()) : std::nullopt;
}

class WordLines
{
public:
    WordLines(PoolDiff const &diff, DiffPool const &first, DiffPool const &second, DisplayUnit const &unit)
        : m_diff(diff), m_first(first, *diff.before), m_second(second, *diff.after), m_unit(unit)
    {
    }

    std::string text()
    {
        for (MemberChange const &change : m_diff.header)
            header(change);
        for (std::size_t const object : m_diff.removed)
            m_text += removedLine(title(m_first, object), 0);
        for (std::size_t const object : m_diff.added)
            m_text += addedLine(title(m_second, object), 0);
        for (ObjectChange const &change : m_diff.changed)
            changed(change);
        return std::move(m_text);
    }

private:
    // Lines

    void line(std::string const &label, std::string const &word, std::string const &before, std::string const &after)
    {
        m_text +=
            changeText(sentence("~ {}:{}", label, word.empty() ? "" : " " + word), before, after, kIndent, Colour::Yellow);
    }

    /// A line with the name of the member and the values in the file.
    void plainLine(std::string const &label, std::string const &word, MemberChange const &change)
    {
        bool const withKind = kindOf(change.before) != kindOf(change.after);
        line(label, word, valueText(change.before, m_first.pool, withKind), valueText(change.after, m_second.pool, withKind));
    }

    // The header

    static std::string idIn(Json const &value)
    {
        return value.is_object() && value.contains("id")
                   ? okttext::parseGuid(value["id"].get<std::string>()).value_or(std::string())
                   : std::string();
    }

    /// A position or size in the header, which follows from the objects.
    void place(std::string const &label, MemberChange const &change)
    {
        auto const shownAs = [](Json const &value) -> std::string {
            auto const number = value.is_object() ? value.find("long") : value.end();
            return number == value.end() ? "" : number->is_string() ? "right" : number->dump();
        };
        bool const isDamaged = !m_first.pool.faults().empty() || !m_second.pool.faults().empty();
        std::string const before = shownAs(change.before);
        std::string const after = shownAs(change.after);
        // It comes and goes with a picture, and what is lost has none.
        if (!isDamaged && !before.empty() && !after.empty())
            line(label, "", before, after);
    }

    void header(MemberChange const &change)
    {
        constexpr std::string_view kPictures = "m_tabPictures.";
        std::string const &member = change.member;
        for (auto const &[stored, label] : kPlaceWords)
            if (member.starts_with(stored))
                return place(label + member.substr(stored.size()), change);
        if (member == "m_tabPictures.Length")
            return plainLine("Number of pictures", "", change);
        if (member.starts_with(kPictures))
            return plainLine("Picture " + printable(std::string_view(member).substr(kPictures.size())), "", change);
        auto const known = std::find_if(kHeaderWords.begin(), kHeaderWords.end(),
                                        [&member](auto const &each) { return member == each.first; });
        if (known == kHeaderWords.end())
            return plainLine("Header", printable(std::string_view(member)), change);
        std::string const before = idIn(change.before);
        std::string const after = idIn(change.after);
        if (member == "m_objectId" || before.empty() || after.empty())
            return plainLine(known->second, "", change);
        line(known->second, "", m_first.labels.ofId(before), m_second.labels.ofId(after));
    }

    // Objects that came or went

    std::string title(Side const &side, std::size_t place) const
    {
        DiffObject const &object = side.pool.objects()[place];
        std::string const label = side.labels.of(place);
        auto const count = [&] { return static_cast<std::int64_t>(side.pool.listOf(object).size()); };
        switch (object.kind)
        {
        case KnownClass::Parameter: return label + parameterText(side, object);
        case KnownClass::Category:
        case KnownClass::ParamRelation: return sentence("{}, {}", label, plural(count(), "parameter"));
        case KnownClass::GroupCategory:
            return sentence("{}, {}", label, count() == 1 ? "1 category" : sentence("{} categories", count()));
        case KnownClass::Picture: return label + pictureText(side, object);
        default: return label;
        }
    }

    std::string parameterText(Side const &side, DiffObject const &object) const
    {
        ReadParameter const read(side.pool, object, m_unit);
        if (read.parameter == nullptr)
            return "";
        std::string const value = shown(*read.parameter, m_unit);
        std::string const expression = printable(read.parameter->Expression());
        return sentence(" = {}{}", value, expression.empty() ? "" : sentence("  [{}]", expression));
    }

    static std::string pictureText(Side const &side, DiffObject const &object)
    {
        Json const frame = side.pool.textOf(object);
        for (Json const &entry : frame["content"])
            if (entry.contains("picture"))
                return ": " + imageText(entry["picture"].get<std::string>());
        return "";
    }

    // Objects that changed

    void changed(ObjectChange const &change)
    {
        DiffObject const &object = m_second.pool.objects()[change.second];
        if (object.kind == KnownClass::Other || object.kind != m_first.pool.objects()[change.first].kind)
        {
            m_text += coloured("~ " + m_second.pool.titleOf(object), Colour::Yellow) + "\n";
            m_text += MemberLines(m_diff, m_first.pool, m_second.pool).members(change.members);
            return;
        }
        std::string const label = m_second.labels.of(change.second);
        std::set<std::pair<How, std::string_view>> told; // one word may stand for several members
        for (MemberChange const &member : change.members)
        {
            Topic const *const topic = topicOf(object.kind, member.member);
            if (topic != nullptr && told.contains({topic->how, topic->word}))
                continue;
            if (topic != nullptr && tell(*topic, label, change, member))
                told.insert({topic->how, topic->word});
            else
                plainLine(label, printable(std::string_view(member.member)), member);
        }
    }

    /// False: it cannot be described in that way.
    bool tell(Topic const &topic, std::string const &label, ObjectChange const &change, MemberChange const &member)
    {
        switch (topic.how)
        {
        case How::Plain: plainLine(label, topic.word, member); return true;
        case How::Value: return tellValue(label, change, member);
        case How::Type: return tellNumber(label, topic.word, member, typeText);
        case How::ListCode: return tellNumber(label, topic.word, member, listCode);
        case How::Reference: return tellReference(label, topic.word, member);
        case How::List: return tellList(label, topic.word, change);
        }
        return false;
    }

    bool tellValue(std::string const &label, ObjectChange const &change, MemberChange const &member)
    {
        ReadParameter const before(m_first.pool, m_first.pool.objects()[change.first], m_unit);
        ReadParameter const after(m_second.pool, m_second.pool.objects()[change.second], m_unit);
        if (before.parameter == nullptr || after.parameter == nullptr)
            return false;
        std::string was = shown(*before.parameter, m_unit);
        std::string is = shown(*after.parameter, m_unit);
        if (was == is)
        {
            // Rounded, or of two kinds.
            was += sentence(" (in the file {})", valueText(member.before, m_first.pool, true));
            is += sentence(" (in the file {})", valueText(member.after, m_second.pool, true));
        }
        line(label, "", was, is);
        return true;
    }

    static std::string typeText(std::int32_t number)
    {
        OKTDbParameter parameter;
        parameter.setType(number);
        std::string const name = printable(parameter.getTypeName());
        return std::to_string(number) + (name.empty() ? "" : " " + name);
    }

    static std::string listCode(std::int32_t number)
    {
        std::string const code = printable(OKTDbParameter::encodeListIndex(number));
        return code.empty() ? "none" : code;
    }

    bool tellNumber(std::string const &label, char const *word, MemberChange const &member,
                    std::string (*shownAs)(std::int32_t))
    {
        std::optional<std::int32_t> const before = numberIn(member.before);
        std::optional<std::int32_t> const after = numberIn(member.after);
        if (!before || !after)
            return false;
        line(label, word, shownAs(*before), shownAs(*after));
        return true;
    }

    bool tellReference(std::string const &label, char const *word, MemberChange const &member)
    {
        std::string const before = idIn(member.before);
        std::string const after = idIn(member.after);
        if (before.empty() || after.empty())
            return false;
        line(label, word, referenceText(m_first.labels, before), referenceText(m_second.labels, after));
        return true;
    }

    /// The word ahead says what it is.
    static std::string referenceText(PoolLabels const &labels, std::string const &id)
    {
        constexpr std::string_view kCategory = "Category ";
        std::string const label = labels.ofId(id);
        if (label == "Group category")
            return okttext::guidText(id);
        return label.starts_with(kCategory) ? label.substr(kCategory.size()) : label;
    }

    bool tellList(std::string const &label, char const *word, ObjectChange const &change)
    {
        std::vector<std::string> const before = m_first.pool.listOf(m_first.pool.objects()[change.first]);
        std::vector<std::string> const after = m_second.pool.listOf(m_second.pool.objects()[change.second]);
        std::vector<std::string> counterparts;
        counterparts.reserve(before.size());
        for (std::string const &id : before)
            counterparts.push_back(counterpartOf(id));
        ListDiff const diff = compareLists(counterparts, after);
        if (diff.isSame())
            return false;
        m_text += coloured(sentence("~ {}: {}", label, word), Colour::Yellow) + "\n";
        for (std::size_t const place : diff.removed)
            m_text += removedLine(m_first.labels.ofId(before[place]), kIndent);
        for (std::size_t const place : diff.added)
            m_text += addedLine(m_second.labels.ofId(after[place]), kIndent);
        for (std::size_t const place : diff.moved)
            m_text += coloured(sentence("    ~ {}, now {}", m_second.labels.ofId(after[place]),
                                        place == 0 ? "first" : "behind " + m_second.labels.ofId(after[place - 1])),
                               Colour::Yellow) +
                      "\n";
        return true;
    }

    std::string counterpartOf(std::string const &id) const
    {
        auto const pair = m_diff.guids.find(okttext::guidText(id));
        return pair == m_diff.guids.end() ? id : okttext::parseGuid(pair->second).value_or(id);
    }

    PoolDiff const &m_diff;
    Side m_first;
    Side m_second;
    DisplayUnit const &m_unit;
    std::string m_text;
};

} // namespace

std::string inWords(PoolDiff const &diff, DiffPool const &first, DiffPool const &second, DisplayUnit const &unit)
{
    return WordLines(diff, first, second, unit).text();
}

} // namespace okt
