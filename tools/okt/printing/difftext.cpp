// SPDX-License-Identifier: MIT
#include <tools/okt/printing/difftext.h>

#include <tools/okt/printing/memberlines.h>
#include <tools/okt/printing/wordlines.h>

#include <oktformat/sentence.h>
#include <oktformat/text.h>
#include <tools/okt/terminal/console.h>

#include <okttext/oktnotation.h>

namespace okt
{

namespace
{

std::string nameOf(DiffPool const &pool) { return pool.exists() ? printable(std::string_view(pool.name())) : "/dev/null"; }

std::string inMembers(PoolDiff const &diff, DiffPool const &first, DiffPool const &second)
{
    MemberLines const lines(diff, first, second);
    std::string text;
    if (!diff.header.empty())
        text += sentence("{}\n{}", coloured("~ header", Colour::Yellow), lines.members(diff.header));
    for (std::size_t const place : diff.removed)
        text += coloured("- " + first.titleOf(first.objects()[place]), Colour::Red) + "\n";
    for (std::size_t const place : diff.added)
        text += coloured("+ " + second.titleOf(second.objects()[place]), Colour::Green) + "\n";
    for (ObjectChange const &change : diff.changed)
    {
        text += coloured("~ " + second.titleOf(second.objects()[change.second]), Colour::Yellow) + "\n";
        text += lines.members(change.members);
    }
    return text;
}

std::string sums(PoolDiff const &diff)
{
    if (diff.isOtherOrder)
        return "the same objects in another order, or behind a header of another size\n";
    return sentence("{} removed, {} added, {} changed, {} the same\n", diff.removed.size(), diff.added.size(),
                    diff.changed.size(), diff.same);
}

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

Json documentFor(std::string const &first, std::string const &second, PoolDiff const &diff)
{
    Json json = Json::object();
    json["first"] = first;
    json["second"] = second;
    json["same"] = diff.isSame();
    json["header"] = membersAsJson(diff.header);
    json["removed"] = Json::array();
    json["added"] = Json::array();
    json["changed"] = Json::array();
    json["unchanged"] = diff.same;
    json["otherOrder"] = diff.isOtherOrder;
    return json;
}

std::string textOf(Json const &json) { return json.dump(2, ' ', false, Json::error_handler_t::replace) + "\n"; }

} // namespace

std::string namesText(DiffPool const &first, DiffPool const &second)
{
    return sentence("{}\n{}\n", coloured("--- " + nameOf(first), Colour::Bold),
                    coloured("+++ " + nameOf(second), Colour::Bold));
}

std::string describe(PoolDiff const &diff, DiffPool const &first, DiffPool const &second, DisplayUnit const *unit)
{
    if (diff.isSame() && first.faults().empty() && second.faults().empty())
        return "";
    std::string text = namesText(first, second);
    for (DiffPool const *const pool : {&first, &second})
        for (std::string const &fault : pool->faults())
            text += coloured("! " + fault, Colour::Red) + "\n";
    if (first.isNothing() || second.isNothing())
        return text;
    text += unit == nullptr ? inMembers(diff, first, second) : inWords(diff, first, second, *unit);
    return text + sums(diff);
}

std::string describeAsJson(PoolDiff const &diff, DiffPool const &first, DiffPool const &second)
{
    Json json = documentFor(first.name(), second.name(), diff);
    for (std::size_t const place : diff.removed)
        json["removed"].push_back(objectAsJson(first.objects()[place]));
    for (std::size_t const place : diff.added)
        json["added"].push_back(objectAsJson(second.objects()[place]));
    for (ObjectChange const &change : diff.changed)
        json["changed"].push_back(Json{{"before", objectAsJson(first.objects()[change.first])},
                                       {"after", objectAsJson(second.objects()[change.second])},
                                       {"members", membersAsJson(change.members)}});
    Json faults = Json::array();
    for (DiffPool const *const pool : {&first, &second})
        for (std::string const &fault : pool->faults())
            faults.push_back(fault);
    if (!faults.empty())
        json["faults"] = std::move(faults);
    return textOf(json);
}

std::string sameAsJson(std::string const &first, std::string const &second, std::size_t objects)
{
    PoolDiff diff;
    diff.same = objects;
    return textOf(documentFor(first, second, diff));
}

} // namespace okt
