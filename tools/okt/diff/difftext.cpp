#include "difftext.h"

#include <tools/okt/console.h>
#include <tools/okt/imageformat.h>
#include <tools/okt/text.h>

#include <okttext/oktnotation.h>

#include <algorithm>
#include <set>

namespace okt
{

namespace
{

constexpr char kNullId[] = "{00000000-0000-0000-0000-000000000000}";

std::string quotedUtf8(std::string const &utf8) { return quoted(CString::FromUtf8(utf8)); }

std::string counted(std::size_t count, char const *what) { return std::to_string(count) + " " + what; }

/// An id, and the name of the object that it leads to.
std::string idText(std::string const &guid, DiffPool const &pool)
{
    if (guid == kNullId)
        return "none";
    std::string const name = pool.nameOf(guid);
    return name.empty() ? guid : guid + " " + excerpt(name);
}

std::string bytesOf(std::string const &base64) { return okttext::parseBase64(base64).value_or(""); }

std::string imageText(std::string const &base64)
{
    std::string const bytes = bytesOf(base64);
    CByteArray image;
    std::copy_n(bytes.data(), bytes.size(), reinterpret_cast<char *>(image.Extend(static_cast<int>(bytes.size()))));
    return formatOf(image).text() + ", " + counted(bytes.size(), "bytes");
}

/// A value of the text form in one line. With its kind where that is another than on the other side.
std::string valueText(Json const &value, DiffPool const &pool, bool withKind)
{
    if (value.is_null())
        return "nothing";
    if (value.is_string())
        return quotedUtf8(value.get<std::string>());
    if (!value.is_object())
        return value.dump();
    if (value.contains("class"))
        return "an object of the class " + quotedUtf8(value["class"].get<std::string>());
    if (value.contains("section"))
        return "an empty section";
    if (value.contains("id"))
        return idText(value["id"].get<std::string>(), pool);
    if (value.contains("ids"))
        return counted(value["ids"].size(), "ids");
    if (value.contains("picture"))
        return imageText(value["picture"].get<std::string>());
    for (char const *const key : {"bytes", "raw"})
        if (value.contains(key))
            return counted(bytesOf(value[key].get<std::string>()).size(), "bytes");
    if (value.contains("point"))
        return "(" + value["point"][0].dump() + ", " + value["point"][1].dump() + ", " + value["point"][2].dump() + ")";
    std::string text;
    std::string kind;
    for (auto const &[key, inner] : value.items())
    {
        if (key == "variant")
            kind = inner.is_string() ? inner.get<std::string>() : "kind " + inner.dump();
        else
            text = inner.is_string() ? quotedUtf8(inner.get<std::string>()) : inner.dump();
        if (kind.empty())
            kind = key;
    }
    if (text.empty())
        return kind;
    return withKind ? kind + " " + text : text;
}

/// The keys that tell what a value is, and the kind of a variant.
std::string kindOf(Json const &value)
{
    if (!value.is_object())
        return "";
    std::string kind;
    for (auto const &[key, inner] : value.items())
        kind += key + (key == "variant" ? inner.dump() : "") + " ";
    return kind;
}

class DiffText
{
public:
    DiffText(PoolDiff const &diff, DiffPool const &first, DiffPool const &second)
        : m_diff(diff), m_first(first), m_second(second)
    {
    }

    std::string text()
    {
        PoolDiff const &diff = m_diff;
        if (diff.isSame())
            return "";
        m_text += coloured("--- " + nameOf(m_first), Colour::Bold) + "\n";
        m_text += coloured("+++ " + nameOf(m_second), Colour::Bold) + "\n";
        if (!diff.header.empty() && m_first.exists() && m_second.exists())
        {
            m_text += coloured("~ header", Colour::Yellow) + "\n";
            members(diff.header);
        }
        for (std::size_t const place : diff.removed)
            m_text += coloured("- " + titleOf(m_first.objects()[place]), Colour::Red) + "\n";
        for (std::size_t const place : diff.added)
            m_text += coloured("+ " + titleOf(m_second.objects()[place]), Colour::Green) + "\n";
        for (ObjectChange const &change : diff.changed)
        {
            m_text += coloured("~ " + titleOf(m_second.objects()[change.second]), Colour::Yellow) + "\n";
            members(change.members);
        }
        if (diff.isOtherOrder)
            m_text += "the same objects in another order, or behind a header of another size\n";
        else
            m_text += counted(diff.removed.size(), "removed, ") + counted(diff.added.size(), "added, ") +
                      counted(diff.changed.size(), "changed, ") + counted(diff.same, "the same\n");
        return std::move(m_text);
    }

private:
    static std::string nameOf(DiffPool const &pool)
    {
        return pool.exists() ? printable(std::string_view(pool.name())) : "/dev/null";
    }

    static std::string titleOf(DiffObject const &object)
    {
        if (!object.stretch.isObject)
            return counted(object.stretch.end - object.stretch.begin, "bytes that are no object");
        std::string title = printable(std::string_view(object.className));
        if (!object.stretch.id.empty())
            title += " " + okttext::guidText(object.stretch.id);
        if (!object.name.empty())
            title += " " + excerpt(object.name);
        return title;
    }

    void members(std::vector<MemberChange> const &changes)
    {
        for (MemberChange const &change : changes)
            member(change);
    }

    void member(MemberChange const &change)
    {
        constexpr std::size_t kLongest = 100;
        std::string const name = "    " + printable(std::string_view(change.member)) + ":";
        bool const haveIds = change.before.is_object() && change.after.is_object() && change.before.contains("ids") &&
                             change.after.contains("ids");
        if (haveIds)
            return ids(name, change.before["ids"], change.after["ids"]);
        bool const withKind = kindOf(change.before) != kindOf(change.after);
        std::string const before = valueText(change.before, m_first, withKind);
        std::string after = valueText(change.after, m_second, withKind);
        if (before == after)
            after += ", another";
        if (width(name) + width(before) + width(after) <= kLongest)
            m_text += name + " " + coloured(before, Colour::Red) + " -> " + coloured(after, Colour::Green) + "\n";
        else
            m_text += name + "\n" + coloured("      - " + before, Colour::Red) + "\n" +
                      coloured("      + " + after, Colour::Green) + "\n";
    }

    /// The ids that one list has more than the other.
    void ids(std::string const &name, Json const &before, Json const &after)
    {
        std::vector<std::string> gone;
        std::set<std::string> come;
        for (Json const &id : after)
            come.insert(id.get<std::string>());
        std::set<std::string> stayed;
        for (Json const &id : before)
        {
            auto const pair = m_diff.guids.find(id.get<std::string>());
            std::string const &other = pair == m_diff.guids.end() ? id.get_ref<std::string const &>() : pair->second;
            if (come.contains(other))
                stayed.insert(other);
            else
                gone.push_back(id.get<std::string>());
        }
        m_text += name + " " + counted(before.size(), "ids -> ") + counted(after.size(), "ids");
        m_text += gone.empty() && stayed == come ? ", in another order\n" : "\n";
        for (std::string const &id : gone)
            m_text += coloured("      - " + idText(id, m_first), Colour::Red) + "\n";
        for (Json const &id : after)
            if (!stayed.contains(id.get<std::string>()))
                m_text += coloured("      + " + idText(id.get<std::string>(), m_second), Colour::Green) + "\n";
    }

    PoolDiff const &m_diff;
    DiffPool const &m_first;
    DiffPool const &m_second;
    std::string m_text;
};

Json objectAsJson(DiffObject const &object)
{
    Json json = Json::object();
    json["class"] = object.className;
    json["id"] = object.stretch.id.empty() ? Json() : Json(okttext::guidText(object.stretch.id));
    json["name"] = object.name;
    json["position"] = object.stretch.begin;
    json["size"] = object.stretch.end - object.stretch.begin;
    return json;
}

Json membersAsJson(std::vector<MemberChange> const &changes)
{
    Json list = Json::array();
    for (MemberChange const &change : changes)
        list.push_back(Json{{"member", change.member}, {"before", change.before}, {"after", change.after}});
    return list;
}

} // namespace

std::string describe(PoolDiff const &diff, DiffPool const &first, DiffPool const &second)
{
    return DiffText(diff, first, second).text();
}

std::string describeAsJson(PoolDiff const &diff, DiffPool const &first, DiffPool const &second)
{
    Json json = Json::object();
    json["first"] = first.name();
    json["second"] = second.name();
    json["same"] = diff.isSame();
    json["header"] = membersAsJson(diff.header);
    json["removed"] = Json::array();
    for (std::size_t const place : diff.removed)
        json["removed"].push_back(objectAsJson(first.objects()[place]));
    json["added"] = Json::array();
    for (std::size_t const place : diff.added)
        json["added"].push_back(objectAsJson(second.objects()[place]));
    json["changed"] = Json::array();
    for (ObjectChange const &change : diff.changed)
        json["changed"].push_back(Json{{"before", objectAsJson(first.objects()[change.first])},
                                       {"after", objectAsJson(second.objects()[change.second])},
                                       {"members", membersAsJson(change.members)}});
    json["unchanged"] = diff.same;
    json["otherOrder"] = diff.isOtherOrder;
    return json.dump(2, ' ', false, Json::error_handler_t::replace) + "\n";
}

} // namespace okt
