// SPDX-License-Identifier: MIT
#include <oktreport/article.h>

#include <oktformat/sentence.h>
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
    std::string const tag = sentence("h{}", level);
    return sentence("<{}{}>{}</{}>\n", tag, attribute("id", id), text, tag);
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
    return sentence("<details class=\"part\" id=\"{}-{}\"><summary>{}</summary>\n"
                    "<noscript>\n"
                    "{}</noscript></details>\n",
                    anchor, name, title, contents);
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

    std::string span() const { return sentence(" colspan=\"{}\"", 4 + (expression ? 1 : 0) + (description ? 1 : 0)); }
};

std::string cell(char const *style, std::string const &contents)
{
    return contents.empty() ? "<td></td>" : sentence("<td class=\"{}\">{}</td>", style, contents);
}

std::string unitCell(PageValue const &value, std::size_t unit)
{
    if (value.isUnitMissing)
        return "<td class=\"note\">unit not told</td>";
    std::string const &shown = unitOf(value, unit);
    return shown.empty() ? "<td></td>" : sentence("<td{}>{}</td>", value.isConverted ? " class=\"unit\"" : "", shown);
}

std::string valueCells(PageValue const &value, std::size_t unit)
{
    if (value.isAbsent)
        return "<td class=\"num note\">none</td><td></td>";
    if (!value.folded.empty() && !value.isConverted)
        return sentence("<td class=\"long\">{}</td><td></td>", value.folded);
    std::string const &text = value.texts[unit];
    std::string const &exact = value.exact[unit];
    bool const isLong = !value.isNumber && text.size() > kLongestShort;
    std::string cells = sentence("<td class=\"{}\"", isLong ? "long" : "num");
    for (std::size_t i = 0; value.isConverted && i < kUnitNames.size(); ++i)
    {
        std::string const name = "data-" + std::string(kUnitNames[i]);
        cells += sentence(" {}=\"{}\"", name, value.texts[i]);
        if (value.exact[i] != value.texts[i])
            cells += sentence(" {}-exact=\"{}\"", name, value.exact[i]);
    }
    if (value.isNumber && exact != text)
        cells += sentence(" title=\"{}\"", withUnit(exact, unitOf(value, unit)));
    return sentence("{}>{}</td>{}", cells, text.empty() ? "<span class=\"note\">empty</span>" : text, unitCell(value, unit));
}

std::string parameterRow(PageParameter const &parameter, Columns const &columns, std::string const &anchor, std::size_t unit)
{
    if (!parameter.isLink)
        return sentence("<tr><th scope=\"row\" class=\"note\"{}>{}</th></tr>\n", columns.span(), parameter.name);
    std::string row = sentence("<tr{}><th scope=\"row\">{}</th>{}",
                               parameter.box ? attribute("id", sentence("{}-{}", anchor, *parameter.box)) : "", parameter.name,
                               valueCells(parameter.value, unit));
    if (columns.expression)
        row +=
            cell("expression",
                 (parameter.expression.empty() ? "" : sentence("<code>{}</code>", parameter.expression)) +
                     (parameter.uses.empty() ? "" : sentence("<span class=\"uses\">uses {}</span>", joined(parameter.uses))));
    if (columns.description)
        row += cell("description", parameter.description);
    return sentence("{}{}</tr>\n", row, cell("kind", parameter.type + (parameter.type.empty() ? "" : ", ") + parameter.kind));
}

std::string categoryRows(PageCategory const &category, Columns const &columns, std::string const &anchor, std::size_t unit)
{
    std::string rows = sentence("<tbody><tr class=\"category\"><th scope=\"rowgroup\"{}>{}{}</th></tr>\n", columns.span(),
                                category.title, category.isAbove ? " <span class=\"note\">shown above</span>" : "");
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
        sentence("<section class=\"parameters\" aria-labelledby=\"{}\">\n"
                 "{}<table class=\"values\">\n"
                 "<thead><tr><th scope=\"col\">Name</th><th scope=\"col\" class=\"num\">Value</th><th scope=\"col\"><span "
                 "class=\"hidden\">Unit</span></th>{}{}<th scope=\"col\">Kind</th></tr></thead>\n",
                 id, heading(style.level + 1, "Parameters", id), columns.expression ? "<th scope=\"col\">Expression</th>" : "",
                 columns.description ? "<th scope=\"col\">Description</th>" : "");
    bool const namesGroups = std::count_if(facts.groups.begin(), facts.groups.end(),
                                           [](PageGroup const &group) { return !group.title.empty(); }) > 1 ||
                             facts.groups.front().id.empty();
    for (PageGroup const &group : facts.groups)
    {
        if (namesGroups && !group.title.empty())
            text += sentence("<tbody class=\"group\"><tr><th scope=\"rowgroup\"{}>{}</th></tr></tbody>\n", columns.span(),
                             group.title);
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
        table += sentence("<tr{}><td>{}</td><td>{}</td><td>{}</td><td>{}</td><td>{}</td><td>{}</td></tr>\n",
                          attribute("class", styleOf(stretch)), labelOf(stretch), stretch.name, stretch.type, stretch.id,
                          stretch.offset, stretch.size);
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
        table += sentence("<tr{}><th scope=\"row\">{}</th><td class=\"num\">{}</td><td class=\"num\">{}</td><td "
                          "class=\"num\">{}.{}&#8239;%</td></tr>\n",
                          attribute("class", sum.style), sum.label, sum.objects == 0 ? "" : grouped(sum.objects),
                          grouped(sum.bytes), tenths / 10, tenths % 10);
    }
    return table + "</tbody></table>\n";
}

std::string pictureList(TemplateFacts const &facts, int level)
{
    if (facts.pictures.empty())
        return "";
    std::string text = heading(level, "Pictures") + "<ul>\n";
    for (PagePicture const &picture : facts.pictures)
        text += sentence("<li>{}{}{}{}{}{}{}<br/>{}</li>\n", picture.label, kDot,
                         picture.size == 0 ? "empty" : html(std::string_view(picture.format.text())), kDot,
                         counted(picture.size, "byte"), kDot, picture.id, picture.camera);
    return text + "</ul>\n";
}

std::string otherObjects(TemplateFacts const &facts, int level)
{
    if (facts.others.empty())
        return "";
    std::string text = heading(level, "Other objects");
    for (PageObject const &object : facts.others)
    {
        text += sentence("<p class=\"object\"><code>{}</code> <span class=\"note\">{}{}</span></p>\n", object.className,
                         object.id, object.note.empty() ? "" : ", " + object.note);
        if (object.members.empty())
            continue;
        text += "<table class=\"members\"><tbody>\n";
        for (PageFact const &member : object.members)
            text += sentence("<tr><th scope=\"row\">{}</th><td>{}</td></tr>\n", member.name, member.value);
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
        result += sentence(" data-{}=\"{}\"", kUnitNames[i], withUnit(value.texts[i], value.units[i]));
    return sentence("{}>{}</span>", result, text);
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
            text += sentence("<dt>{}</dt><dd{}>{}{}</dd>\n", fact.name, fact.isComputed ? " class=\"made\"" : "",
                             figuresText(fact, style.unit),
                             fact.note.empty() ? "" : sentence(" <span class=\"note\">{}</span>", fact.note));
        text += "</dl>\n";
    }
    if (!facts.unread.empty())
    {
        std::string const id = facts.anchor + "-unread";
        text += sentence("<section class=\"unread\" aria-labelledby=\"{}\">\n{}<ul>\n", id,
                         heading(style.level + 1, "Not read", id));
        for (PageFact const &object : facts.unread)
            text += sentence("<li>{} <span class=\"note\">{}</span></li>\n", object.name, object.value);
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
            text += sentence("<li><code>{}</code> {}</li>\n", relation.className,
                             relation.members.empty() ? "<span class=\"note\">ties no parameters</span>"
                                                      : "ties " + joined(relation.members));
        text += "</ul>\n";
    }
    if (!facts.graph.edges.empty())
    {
        RelationGraph const part = drawnPart(facts.graph);
        text += sentence("<script type=\"application/json\">{}</script>\n", graphData(part));
        if (part.nodes.size() < facts.graph.nodes.size() || part.edges.size() < facts.graph.edges.size())
            text +=
                sentence("<p class=\"note\">Drawn are the first {} of {} and {} of their ties.</p>\n",
                         counted(part.nodes.size(), "object"), grouped(facts.graph.nodes.size()), grouped(part.edges.size()));
    }
    return foldedPart(facts.anchor, "relations", "Relations", text);
}

std::string insidePart(TemplateFacts const &facts, ArticleStyle const &style)
{
    int const level = style.level + 1;
    std::string text =
        sentence("<p>{}{}{}</p>\n<dl class=\"facts\">\n", counted(facts.objects, "object"), kDot, counted(facts.size, "byte"));
    if (!facts.longName.empty())
        text += sentence("<dt>Name</dt><dd>{}</dd>\n", facts.longName);
    for (PageFact const &fact : facts.header)
        text += sentence("<dt>{}</dt><dd>{}</dd>\n", fact.name, fact.value);
    text += sentence("</dl>\n{}{}{}{}{}", pictureList(facts, level), otherObjects(facts, level), heading(level, "Bytes"),
                     sumTable(facts), stretchTable(facts));
    return foldedPart(facts.anchor, "inside", "Inside the file", text);
}

} // namespace okt
