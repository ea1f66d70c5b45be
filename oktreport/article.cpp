// SPDX-License-Identifier: MIT
#include <oktreport/article.h>

#include <oktreport/html.h>

#include <algorithm>
#include <array>
#include <map>

namespace okt
{

namespace
{

/// A longer text is aligned to the left and wrapped.
constexpr std::size_t kLongestShort = 28;

constexpr char kDot[] = " \xC2\xB7 ";
constexpr char kFirmBlank[] = "\xC2\xA0";

std::string heading(int level, std::string const &text, std::string const &id = {})
{
    std::string const tag = "h" + std::to_string(level);
    return "<" + tag + attribute("id", id) + ">" + text + "</" + tag + ">\n";
}

std::string joined(std::vector<std::string> const &texts)
{
    std::string result;
    for (std::string const &text : texts)
        result += (result.empty() ? "" : ", ") + text;
    return result;
}

std::string withUnit(std::string const &text, std::string const &unit)
{
    return unit.empty() ? text : text + kFirmBlank + unit;
}

/// A folded part. With scripts its contents are created when it is opened; without scripts they are always there.
std::string foldedPart(std::string const &anchor, char const *name, char const *title, std::string const &contents)
{
    return "<details class=\"part\" id=\"" + anchor + "-" + name + "\"><summary>" + title + "</summary>\n<noscript>\n" +
           contents + "</noscript></details>\n";
}

// Parameters

struct Columns
{
    bool expression = false;
    bool description = false;

    explicit Columns(TemplateFacts const &facts)
    {
        for (PageGroup const &group : facts.groups)
            for (PageCategory const &category : group.categories)
                for (PageParameter const &parameter : category.parameters)
                {
                    expression = expression || !parameter.expression.empty() || !parameter.uses.empty();
                    description = description || !parameter.description.empty();
                }
    }

    std::string span() const { return " colspan=\"" + std::to_string(4 + (expression ? 1 : 0) + (description ? 1 : 0)) + "\""; }
};

std::string cell(char const *style, std::string const &contents)
{
    return contents.empty() ? "<td></td>" : "<td class=\"" + std::string(style) + "\">" + contents + "</td>";
}

std::string unitCell(PageValue const &value, std::size_t unit)
{
    if (value.isUnitMissing)
        return "<td class=\"note\">unit not told</td>";
    std::string const &shown = unitOf(value, unit);
    return shown.empty() ? "<td></td>"
                         : "<td" + std::string(value.isConverted ? " class=\"unit\"" : "") + ">" + shown + "</td>";
}

std::string valueCells(PageValue const &value, std::size_t unit)
{
    if (value.isAbsent)
        return "<td class=\"num note\">none</td><td></td>";
    if (!value.folded.empty() && !value.isConverted)
        return "<td class=\"long\">" + value.folded + "</td><td></td>";
    std::string const &text = value.texts[unit];
    std::string const &exact = value.exact[unit];
    bool const isLong = !value.isNumber && text.size() > kLongestShort;
    std::string cells = "<td class=\"" + std::string(isLong ? "long" : "num") + "\"";
    for (std::size_t i = 0; value.isConverted && i < kUnitNames.size(); ++i)
    {
        std::string const name = "data-" + std::string(kUnitNames[i]);
        cells += " " + name + "=\"" + value.texts[i] + "\"";
        if (value.exact[i] != value.texts[i])
            cells += " " + name + "-exact=\"" + value.exact[i] + "\"";
    }
    if (value.isNumber && exact != text)
        cells += " title=\"" + withUnit(exact, unitOf(value, unit)) + "\"";
    return cells + ">" + (text.empty() ? "<span class=\"note\">empty</span>" : text) + "</td>" + unitCell(value, unit);
}

std::string parameterRow(PageParameter const &parameter, Columns const &columns, std::string const &anchor, std::size_t unit)
{
    if (!parameter.isLink)
        return "<tr><th scope=\"row\" class=\"note\"" + columns.span() + ">" + parameter.name + "</th></tr>\n";
    std::string row = "<tr" + (parameter.box ? attribute("id", anchor + "-" + std::to_string(*parameter.box)) : "") +
                      "><th scope=\"row\">" + parameter.name + "</th>" + valueCells(parameter.value, unit);
    if (columns.expression)
        row += cell("expression",
                    (parameter.expression.empty() ? "" : "<code>" + parameter.expression + "</code>") +
                        (parameter.uses.empty() ? "" : "<span class=\"uses\">uses " + joined(parameter.uses) + "</span>"));
    if (columns.description)
        row += cell("description", parameter.description);
    return row + cell("kind", parameter.type + (parameter.type.empty() ? "" : ", ") + parameter.kind) + "</tr>\n";
}

std::string categoryRows(PageCategory const &category, Columns const &columns, std::string const &anchor, std::size_t unit)
{
    std::string rows = "<tbody><tr class=\"category\"><th scope=\"rowgroup\"" + columns.span() + ">" + category.title +
                       (category.isAbove ? " <span class=\"note\">shown above</span>" : "") + "</th></tr>\n";
    for (PageParameter const &parameter : category.parameters)
        rows += parameterRow(parameter, columns, anchor, unit);
    return rows + "</tbody>\n";
}

std::string parametersSection(TemplateFacts const &facts, ArticleStyle const &style)
{
    if (facts.groups.empty())
        return "";
    Columns const columns(facts);
    std::string const id = facts.anchor + "-parameters";
    std::string text =
        "<section class=\"parameters\" aria-labelledby=\"" + id + "\">\n" + heading(style.level + 1, "Parameters", id) +
        "<table class=\"values\">\n<thead><tr><th scope=\"col\">Name</th><th scope=\"col\" class=\"num\">Value</th>"
        "<th scope=\"col\"><span class=\"hidden\">Unit</span></th>" +
        (columns.expression ? "<th scope=\"col\">Expression</th>" : "") +
        (columns.description ? "<th scope=\"col\">Description</th>" : "") + "<th scope=\"col\">Kind</th></tr></thead>\n";
    bool const namesGroups = std::count_if(facts.groups.begin(), facts.groups.end(),
                                           [](PageGroup const &group) { return !group.title.empty(); }) > 1 ||
                             facts.groups.front().id.empty();
    for (PageGroup const &group : facts.groups)
    {
        if (namesGroups && !group.title.empty())
            text += "<tbody class=\"group\"><tr><th scope=\"rowgroup\"" + columns.span() + ">" + group.title +
                    "</th></tr></tbody>\n";
        for (PageCategory const &category : group.categories)
            text += categoryRows(category, columns, facts.anchor, style.unit);
    }
    return text + "</table>\n</section>\n";
}

// Details about the file

/// The text for a range of the file.
std::string labelOf(PageStretch const &stretch)
{
    switch (stretch.kind)
    {
    case PageStretch::Kind::Header: return "Header";
    case PageStretch::Kind::Gap: return "Bytes of no object";
    case PageStretch::Kind::Fault: return stretch.className + ", cut or damaged";
    case PageStretch::Kind::Object: break;
    }
    return stretch.className;
}

/// The class by which the script recognises ranges that are not objects.
char const *styleOf(PageStretch const &stretch)
{
    switch (stretch.kind)
    {
    case PageStretch::Kind::Header: return "header";
    case PageStretch::Kind::Gap: return "gap";
    case PageStretch::Kind::Fault: return "damaged";
    case PageStretch::Kind::Object: break;
    }
    return "";
}

/// A table of every range of the file. The script draws the map from it.
std::string stretchTable(TemplateFacts const &facts)
{
    std::string table = "<table class=\"stretches\">\n<thead><tr><th scope=\"col\">Class</th><th scope=\"col\">Name</th>"
                        "<th scope=\"col\">Type</th><th scope=\"col\">Id</th><th scope=\"col\" class=\"num\">From byte</th>"
                        "<th scope=\"col\" class=\"num\">Bytes</th></tr></thead>\n<tbody>\n";
    for (PageStretch const &stretch : facts.stretches)
        table += "<tr" + attribute("class", styleOf(stretch)) + "><td>" + labelOf(stretch) + "</td><td>" + stretch.name +
                 "</td><td>" + stretch.type + "</td><td>" + stretch.id + "</td><td>" + std::to_string(stretch.offset) +
                 "</td><td>" + std::to_string(stretch.size) + "</td></tr>\n";
    return table + "</tbody></table>\n";
}

/// Objects and bytes of each class, largest first.
std::string sumTable(TemplateFacts const &facts)
{
    struct Sum
    {
        std::string label;
        char const *style;
        std::uint64_t objects = 0;
        std::uint64_t bytes = 0;
    };
    std::vector<Sum> sums;
    std::map<std::pair<std::string, bool>, std::size_t> places;
    for (PageStretch const &stretch : facts.stretches)
    {
        bool const isDamaged = stretch.kind == PageStretch::Kind::Fault;
        bool const isObject = stretch.kind == PageStretch::Kind::Object;
        std::string const label = isDamaged ? "Cut or damaged objects" : labelOf(stretch);
        auto const [place, isNew] = places.emplace(std::pair(label, isObject), sums.size());
        if (isNew)
            sums.push_back({label, styleOf(stretch), 0, 0});
        Sum &sum = sums[place->second];
        sum.objects += isObject || isDamaged ? 1u : 0u;
        sum.bytes += stretch.size;
    }
    std::stable_sort(sums.begin(), sums.end(), [](Sum const &a, Sum const &b) { return a.bytes > b.bytes; });
    std::string table =
        "<table class=\"sums\">\n<thead><tr><th scope=\"col\">Class</th><th scope=\"col\" class=\"num\">Objects</th>"
        "<th scope=\"col\" class=\"num\">Bytes</th><th scope=\"col\" class=\"num\">Share</th></tr></thead>\n<tbody>\n";
    for (Sum const &sum : sums)
    {
        std::uint64_t const tenths = facts.size == 0 ? 0 : (sum.bytes * 1000 + facts.size / 2) / facts.size;
        table += "<tr" + attribute("class", sum.style) + "><th scope=\"row\">" + sum.label + "</th><td class=\"num\">" +
                 (sum.objects == 0 ? "" : grouped(sum.objects)) + "</td><td class=\"num\">" + grouped(sum.bytes) +
                 "</td><td class=\"num\">" + std::to_string(tenths / 10) + "." + std::to_string(tenths % 10) +
                 "&#8239;%</td></tr>\n";
    }
    return table + "</tbody></table>\n";
}

std::string pictureList(TemplateFacts const &facts, int level)
{
    if (facts.pictures.empty())
        return "";
    std::string text = heading(level, "Pictures") + "<ul>\n";
    for (PagePicture const &picture : facts.pictures)
        text += "<li>" + picture.label + kDot + (picture.size == 0 ? "empty" : html(std::string_view(picture.format.text()))) +
                kDot + counted(picture.size, "byte") + kDot + picture.id + "<br/>" + picture.camera + "</li>\n";
    return text + "</ul>\n";
}

std::string otherObjects(TemplateFacts const &facts, int level)
{
    if (facts.others.empty())
        return "";
    std::string text = heading(level, "Other objects");
    for (PageObject const &object : facts.others)
    {
        text += "<p class=\"object\"><code>" + object.className + "</code> <span class=\"note\">" + object.id +
                (object.note.empty() ? "" : ", " + object.note) + "</span></p>\n";
        if (object.members.empty())
            continue;
        text += "<table class=\"members\"><tbody>\n";
        for (PageFact const &member : object.members)
            text += "<tr><th scope=\"row\">" + member.name + "</th><td>" + member.value + "</td></tr>\n";
        text += "</tbody></table>\n";
    }
    return text;
}

} // namespace

std::string inlineValue(PageValue const &value, std::size_t unit)
{
    std::string const text = withUnit(value.texts[unit], unitOf(value, unit));
    if (!value.isConverted)
        return text + (value.isUnitMissing ? " <span class=\"note\">unit not told</span>" : "");
    std::string result = "<span";
    for (std::size_t i = 0; i < kUnitNames.size(); ++i)
        result += " data-" + std::string(kUnitNames[i]) + "=\"" + withUnit(value.texts[i], value.units[i]) + "\"";
    return result + ">" + text + "</span>";
}

std::string figuresText(KeyFact const &fact, std::size_t unit)
{
    std::string text;
    for (KeyFigure const &figure : fact.figures)
        text += (text.empty() ? "" : kDot) + (figure.label.empty() ? "" : figure.label + kFirmBlank) +
                inlineValue(figure.value, unit);
    return text;
}

std::string sheetPart(TemplateFacts const &facts, ArticleStyle const &style)
{
    std::string text;
    if (!facts.keyFacts.empty())
    {
        text += "<dl class=\"facts\">\n";
        for (KeyFact const &fact : facts.keyFacts)
            text += "<dt>" + fact.name + "</dt><dd" + (fact.isComputed ? " class=\"made\"" : "") + ">" +
                    figuresText(fact, style.unit) +
                    (fact.note.empty() ? "" : " <span class=\"note\">" + fact.note + "</span>") + "</dd>\n";
        text += "</dl>\n";
    }
    if (!facts.unread.empty())
    {
        std::string const id = facts.anchor + "-unread";
        text +=
            "<section class=\"unread\" aria-labelledby=\"" + id + "\">\n" + heading(style.level + 1, "Not read", id) + "<ul>\n";
        for (PageFact const &object : facts.unread)
            text += "<li>" + object.name + " <span class=\"note\">" + object.value + "</span></li>\n";
        text += "</ul>\n</section>\n";
    }
    return text + parametersSection(facts, style);
}

std::string relationsPart(TemplateFacts const &facts)
{
    if (facts.graph.edges.empty() && facts.relations.empty())
        return "";
    std::string text;
    if (!facts.relations.empty())
    {
        text += "<ul class=\"relations\">\n";
        for (PageRelation const &relation : facts.relations)
            text += "<li><code>" + relation.className + "</code> " +
                    (relation.members.empty() ? "<span class=\"note\">ties no parameters</span>"
                                              : "ties " + joined(relation.members)) +
                    "</li>\n";
        text += "</ul>\n";
    }
    if (!facts.graph.edges.empty())
    {
        RelationGraph const part = drawnPart(facts.graph);
        text += "<script type=\"application/json\">" + graphData(part) + "</script>\n";
        if (part.nodes.size() < facts.graph.nodes.size() || part.edges.size() < facts.graph.edges.size())
            text += "<p class=\"note\">Drawn are the first " + counted(part.nodes.size(), "object") + " of " +
                    grouped(facts.graph.nodes.size()) + " and " + grouped(part.edges.size()) + " of their ties.</p>\n";
    }
    return foldedPart(facts.anchor, "relations", "Relations", text);
}

std::string insidePart(TemplateFacts const &facts, ArticleStyle const &style)
{
    int const level = style.level + 1;
    std::string text =
        "<p>" + counted(facts.objects, "object") + kDot + counted(facts.size, "byte") + "</p>\n<dl class=\"facts\">\n";
    if (!facts.longName.empty())
        text += "<dt>Name</dt><dd>" + facts.longName + "</dd>\n";
    for (PageFact const &fact : facts.header)
        text += "<dt>" + fact.name + "</dt><dd>" + fact.value + "</dd>\n";
    text += "</dl>\n" + pictureList(facts, level) + otherObjects(facts, level) + heading(level, "Bytes") + sumTable(facts) +
            stretchTable(facts);
    return foldedPart(facts.anchor, "inside", "Inside the file", text);
}

} // namespace okt
