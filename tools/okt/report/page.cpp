#include "page.h"

#include "filemap.h"
#include "html.h"
#include "pageparts.h"

#include <algorithm>
#include <array>

namespace okt
{

namespace
{

/// A longer text stands at the left of its column, in several lines.
constexpr std::size_t kLongestShort = 28;

constexpr char kDot[] = " \xC2\xB7 ";

class Writer
{
public:
    Writer(std::vector<TemplateFacts> const &templates, PageOptions const &options,
           std::function<void(std::string_view)> const &sink)
        : m_templates(templates), m_options(options), m_sink(sink), m_isSingle(templates.size() == 1)
    {
    }

    void write()
    {
        head();
        m_text += "<body" + attribute("class", m_isSingle ? "single" : "") +
                  ">\n"
                  "<a class=\"skip\" href=\"#content\">Skip to the templates</a>\n";
        bar();
        m_text +=
            "<svg class=\"defs\" width=\"0\" height=\"0\" aria-hidden=\"true\"><defs><marker id=\"arrow\" viewBox=\"0 0 8 8\" "
            "refX=\"7\" refY=\"4\" markerWidth=\"7\" markerHeight=\"7\" orient=\"auto\"><path d=\"M0 1L7 4L0 7Z\"/></marker>"
            "</defs></svg>\n";
        m_text += "<div class=\"frame\">\n";
        if (!m_isSingle)
            sidebar();
        m_text += "<main id=\"content\" tabindex=\"-1\">\n";
        if (!m_isSingle)
            overview();
        m_text += "<p id=\"nothing\" class=\"nothing\" hidden=\"\">Nothing matches.</p>\n";
        flush();
        for (TemplateFacts const &facts : m_templates)
        {
            article(facts);
            flush();
        }
        m_text += "<footer><p>Lengths are rounded to what a drawing needs; pointing at one shows all its digits. Made by "
                  "okt " OKT_VERSION ".</p></footer>\n</main>\n</div>\n</body>\n</html>\n";
        flush();
    }

private:
    void flush()
    {
        m_sink(m_text);
        m_text.clear();
    }

    std::string title() const
    {
        if (!m_options.title.empty())
            return m_options.title;
        return m_isSingle ? m_templates.front().title : "Reinforcement templates";
    }

    void head()
    {
        m_text +=
            "<!DOCTYPE html>\n<html lang=\"en\" data-unit=\"" + std::string(kUnitNames[m_options.unit]) +
            "\">\n<head>\n<meta charset=\"utf-8\"/>\n"
            "<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\"/>\n"
            "<meta http-equiv=\"Content-Security-Policy\" content=\"default-src 'none'; img-src data:; style-src 'sha256-" +
            std::string(kPageStyleDigest) + "'; script-src 'sha256-" + std::string(kPageScriptDigest) +
            "'; base-uri 'none'; form-action 'none'\"/>\n"
            "<meta name=\"referrer\" content=\"no-referrer\"/>\n"
            "<meta name=\"generator\" content=\"okt " OKT_VERSION "\"/>\n"
            "<link rel=\"icon\" href=\"data:,\"/>\n<title>" +
            title() + "</title>\n<style>" + std::string(kPageStyle) + "</style>\n<script>" + std::string(kPageScript) +
            "</script>\n</head>\n";
    }

    void bar()
    {
        m_text += "<header class=\"bar\">\n<a class=\"home\" href=\"#top\">" + title() +
                  "</a>\n<div class=\"controls\" role=\"search\">\n"
                  "<input id=\"search\" type=\"search\" placeholder=\"Search names, values, classes\" "
                  "aria-label=\"Search names, values and classes\" autocomplete=\"off\" spellcheck=\"false\"/>\n"
                  "<output id=\"found\" for=\"search\"></output>\n"
                  "<fieldset class=\"units\"><legend>Unit of lengths</legend>";
        for (std::size_t unit = 0; unit < kUnitNames.size(); ++unit)
        {
            std::string const name = kUnitNames[unit];
            m_text += "<label><input type=\"radio\" name=\"unit\" value=\"" + name + "\"" +
                      (unit == m_options.unit ? " checked=\"\"" : "") + "/><span>" + name + "</span></label>";
        }
        m_text +=
            "</fieldset>\n<button id=\"theme\" type=\"button\" aria-pressed=\"false\" aria-label=\"Dark colours\" "
            "title=\"Dark colours\"><svg viewBox=\"0 0 16 16\" aria-hidden=\"true\"><path d=\"M8 1a7 7 0 1 0 0 14A7 7 0 0 0 8 "
            "1zm0 1.5v11a5.5 5.5 0 0 1 0-11z\"/></svg></button>\n</div>\n</header>\n";
    }

    void sidebar()
    {
        m_text += "<nav class=\"side\" aria-label=\"Templates\">\n<ol>\n<li><a href=\"#top\">Overview</a></li>\n";
        for (TemplateFacts const &facts : m_templates)
            m_text += "<li data-of=\"" + facts.anchor + "\"><a href=\"#" + facts.anchor + "\"><span class=\"name\">" +
                      facts.title + "</span><span class=\"file\">" + facts.file + faultMark(facts) + "</span></a></li>\n";
        m_text += "</ol>\n</nav>\n";
    }

    static std::string faultMark(TemplateFacts const &facts)
    {
        return facts.fault.empty() ? "" : " <strong class=\"mark\">fault</strong>";
    }

    /// The picture that stands for a template; null: it has none that browsers show.
    static PagePicture const *previewOf(TemplateFacts const &facts)
    {
        auto const found = std::find_if(facts.pictures.begin(), facts.pictures.end(),
                                        [](PagePicture const &picture) { return !picture.uri.empty(); });
        return found == facts.pictures.end() ? nullptr : &*found;
    }

    static std::string pictureAnchor(TemplateFacts const &facts, PagePicture const &picture)
    {
        return facts.anchor + "-picture" + std::to_string(&picture - facts.pictures.data());
    }

    void overview()
    {
        std::uint64_t bytes = 0;
        std::uint64_t parameters = 0;
        std::uint64_t faults = 0;
        for (TemplateFacts const &facts : m_templates)
        {
            bytes += facts.size;
            parameters += facts.parameters;
            faults += facts.fault.empty() ? 0u : 1u;
        }
        m_text += "<section class=\"overview\" aria-labelledby=\"top\">\n<h1 id=\"top\">" + title() +
                  "</h1>\n<p class=\"sum\">" + counted(m_templates.size(), "template") + kDot +
                  counted(parameters, "parameter") + kDot + counted(bytes, "byte") +
                  (faults == 0 ? "" : kDot + ("<strong class=\"mark\">" + counted(faults, "file") + " with a fault</strong>")) +
                  "</p>\n<ul class=\"cards\">\n";
        for (TemplateFacts const &facts : m_templates)
        {
            PagePicture const *const preview = previewOf(facts);
            m_text += "<li data-of=\"" + facts.anchor + "\"><a class=\"card\" href=\"#" + facts.anchor +
                      "\"><span class=\"thumb\"" +
                      (preview == nullptr ? "" : " data-picture=\"" + pictureAnchor(facts, *preview) + "\"") +
                      "></span><span class=\"name\">" + facts.title + "</span><span class=\"file\">" + facts.file +
                      faultMark(facts) + "</span><span class=\"note\">" +
                      (facts.isRead ? "<span>" + counted(facts.parameters, "parameter") + "</span> <span>" +
                                          counted(facts.size, "byte") + "</span>"
                                    : "cannot be read") +
                      "</span></a></li>\n";
        }
        m_text += "</ul>\n</section>\n";
    }

    // One template

    std::string heading(char const *text, std::string const &id) const
    {
        std::string const level = m_isSingle ? "h2" : "h3";
        return "<" + level + " id=\"" + id + "\">" + text + "</" + level + ">\n";
    }

    std::string section(char const *kind, char const *name, TemplateFacts const &facts) const
    {
        std::string const id = facts.anchor + "-" + kind;
        return "<section class=\"" + std::string(kind) + "\" aria-labelledby=\"" + id + "\">\n" + heading(name, id);
    }

    void article(TemplateFacts const &facts)
    {
        std::string const level = m_isSingle ? "h1" : "h2";
        m_text += "<article class=\"template\" id=\"" + facts.anchor + "\" aria-labelledby=\"" + facts.anchor +
                  "-title\">\n<header>\n<" + level + " id=\"" + facts.anchor + "-title\">" + facts.title + "</" + level + ">\n";
        if (facts.isRead)
            m_text += "<p class=\"sum\"><span class=\"file\">" + facts.file + "</span>" + kDot +
                      counted(facts.parameters, "parameter") + " in " + counted(facts.categories, "category") + kDot +
                      counted(facts.objects, "object") + kDot + counted(facts.size, "byte") + "</p>\n";
        if (!facts.fault.empty())
            m_text += "<p class=\"alarm\"><strong>" +
                      std::string(facts.isRead ? "This file has a fault; what could be read of it is shown."
                                               : "This file cannot be read.") +
                      "</strong> " + facts.fault + "</p>\n";
        m_text += "</header>\n";
        if (facts.isRead)
        {
            lead(facts);
            parameters(facts);
            relations(facts);
            objects(facts);
            bytes(facts);
        }
        m_text += "</article>\n";
    }

    void lead(TemplateFacts const &facts)
    {
        m_text += "<div class=\"lead\">\n";
        pictures(facts);
        m_text += "<dl class=\"facts\">\n";
        for (PageFact const &fact : facts.header)
            m_text += "<div><dt>" + fact.name + "</dt><dd>" + fact.value + "</dd></div>\n";
        m_text += "</dl>\n</div>\n";
    }

    void pictures(TemplateFacts const &facts)
    {
        if (facts.pictures.empty())
            return;
        m_text += "<div class=\"pictures\">\n";
        for (PagePicture const &picture : facts.pictures)
        {
            std::string const format = picture.size == 0 ? "empty" : html(std::string_view(picture.format.text()));
            std::string const size = counted(picture.size, "byte");
            m_text += "<figure>";
            if (!picture.uri.empty())
            {
                m_text += "<img id=\"" + pictureAnchor(facts, picture) + "\" alt=\"" + picture.label + " of " + facts.title +
                          "\"" +
                          (picture.format.width > 0 ? " width=\"" + std::to_string(picture.format.width) + "\" height=\"" +
                                                          std::to_string(picture.format.height) + "\""
                                                    : "") +
                          " src=\"";
                flush();
                m_sink(picture.uri);
                m_text += "\"/>";
            }
            m_text += "<figcaption>" + picture.label + kDot + format + kDot + size +
                      (picture.uri.empty() && picture.size > 0 ? kDot + std::string("browsers do not show it") : "") +
                      "<span class=\"camera\">" + picture.camera + "</span></figcaption></figure>\n";
        }
        m_text += "</div>\n";
    }

    // Parameters

    struct Columns
    {
        bool expression = false;
        bool description = false;
        int count = 4;
    };

    void parameters(TemplateFacts const &facts)
    {
        if (facts.groups.empty())
            return;
        Columns columns;
        for (PageGroup const &group : facts.groups)
            for (PageCategory const &category : group.categories)
                for (PageParameter const &parameter : category.parameters)
                {
                    columns.expression = columns.expression || !parameter.expression.empty() || !parameter.uses.empty();
                    columns.description = columns.description || !parameter.description.empty();
                }
        columns.count += (columns.expression ? 1 : 0) + (columns.description ? 1 : 0);
        m_text += section("parameters", "Parameters", facts) +
                  "<table class=\"values\">\n<thead><tr><th scope=\"col\">Name</th><th scope=\"col\" class=\"num\">Value</th>"
                  "<th scope=\"col\" class=\"unit\"><span class=\"hidden\">Unit</span></th>" +
                  (columns.expression ? "<th scope=\"col\">Expression</th>" : "") +
                  (columns.description ? "<th scope=\"col\">Description</th>" : "") +
                  "<th scope=\"col\">Type</th></tr></thead>\n";
        bool const namesGroups = std::count_if(facts.groups.begin(), facts.groups.end(),
                                               [](PageGroup const &group) { return !group.title.empty(); }) > 1 ||
                                 facts.groups.front().id.empty();
        for (PageGroup const &group : facts.groups)
        {
            if (namesGroups && !group.title.empty())
                m_text += "<tbody class=\"group\"><tr><th scope=\"rowgroup\" colspan=\"" + std::to_string(columns.count) +
                          "\"" + attribute("title", group.id) + ">" + group.title + "</th></tr></tbody>\n";
            for (PageCategory const &category : group.categories)
                categoryRows(category, columns);
        }
        m_text += "</table>\n</section>\n";
    }

    void categoryRows(PageCategory const &category, Columns const &columns)
    {
        m_text += "<tbody><tr class=\"category\"><th scope=\"rowgroup\" colspan=\"" + std::to_string(columns.count) + "\"" +
                  attribute("title", category.id) + ">" + category.title +
                  (category.isAbove ? " <span class=\"note\">shown above</span>" : "") + "</th></tr>\n";
        for (PageParameter const &parameter : category.parameters)
            parameterRow(parameter, columns);
        m_text += "</tbody>\n";
    }

    void parameterRow(PageParameter const &parameter, Columns const &columns)
    {
        if (!parameter.isLink)
        {
            m_text += "<tr class=\"find\"><th scope=\"row\" class=\"note\" colspan=\"" + std::to_string(columns.count) + "\">" +
                      parameter.name + "</th></tr>\n";
            return;
        }
        m_text += "<tr class=\"find\"" + attribute("id", parameter.anchor) + " data-id=\"" + parameter.id +
                  "\"><th scope=\"row\" title=\"" + parameter.id + "\">" + parameter.name + "</th>" +
                  valueCells(parameter.value);
        if (columns.expression)
            m_text += "<td class=\"expression\">" +
                      (parameter.expression.empty() ? "" : "<code>" + parameter.expression + "</code>") +
                      (parameter.uses.empty() ? "" : "<span class=\"uses\">uses " + joined(parameter.uses) + "</span>") +
                      "</td>";
        if (columns.description)
            m_text += "<td class=\"description\">" + parameter.description + "</td>";
        m_text += "<td class=\"type\">" + parameter.type + (parameter.list.empty() ? "" : ", list " + parameter.list) +
                  " <span class=\"kind\">" + parameter.kind + "</span></td></tr>\n";
    }

    std::string valueCells(PageValue const &value) const
    {
        if (value.isAbsent)
            return "<td class=\"num note\">none</td><td class=\"unit\"></td>";
        std::string const &text = value.texts[m_options.unit];
        std::string const &exact = value.exact[m_options.unit];
        if (!value.folded.empty() && !value.hasUnit)
            return "<td class=\"long\">" + value.folded + "</td><td class=\"unit\"></td>";
        bool const isLong = !value.isNumber && text.size() > kLongestShort;
        std::string cells = "<td class=\"" + std::string(isLong ? "long" : "num") + "\"";
        if (value.hasUnit)
        {
            for (std::size_t unit = 0; unit < kUnitNames.size(); ++unit)
            {
                std::string const name = "data-" + std::string(kUnitNames[unit]);
                cells += " " + name + "=\"" + value.texts[unit] + "\"";
                if (value.exact[unit] != value.texts[unit])
                    cells += " " + name + "-exact=\"" + value.exact[unit] + "\"";
            }
            if (exact != text)
                cells += " title=\"" + exact + " " + kUnitNames[m_options.unit] + "\"";
        }
        cells += ">" + (text.empty() ? "<span class=\"note\">empty</span>" : text) + "</td>";
        return cells + (value.hasUnit ? "<td class=\"unit of-length\">" + std::string(kUnitNames[m_options.unit]) + "</td>"
                                      : "<td class=\"unit\"></td>");
    }

    static std::string joined(std::vector<std::string> const &texts)
    {
        std::string result;
        for (std::string const &text : texts)
            result += (result.empty() ? "" : ", ") + text;
        return result;
    }

    // Relations

    void relations(TemplateFacts const &facts)
    {
        if (facts.graph.edges.empty() && facts.relations.empty())
            return;
        m_text += section("relations", "Relations", facts);
        if (!facts.relations.empty())
        {
            m_text += "<ul class=\"relations\">\n";
            for (PageRelation const &relation : facts.relations)
                m_text += "<li class=\"find\" data-id=\"" + relation.id + "\" title=\"" + relation.id + "\"><code>" +
                          relation.className + "</code> " +
                          (relation.members.empty() ? "<span class=\"note\">ties no parameters</span>"
                                                    : "ties " + joined(relation.members)) +
                          "</li>\n";
            m_text += "</ul>\n";
        }
        if (!facts.graph.edges.empty())
            graph(facts);
        m_text += "</section>\n";
    }

    void graph(TemplateFacts const &facts)
    {
        RelationGraph const part = drawnPart(facts.graph);
        std::string const label = "Graph of " + counted(part.nodes.size(), "object") + " of " + facts.title;
        m_text += "<div class=\"drawing\">\n<div class=\"scroll\" tabindex=\"0\" role=\"region\" aria-label=\"" + label +
                  "\">\n" + svgOf(part, label) + "</div>\n<p class=\"keys\">";
        struct Key
        {
            RelationGraph::EdgeKind kind;
            char const *name;
            char const *text;
        };
        static constexpr std::array<Key, 4> kKeys = {{{RelationGraph::EdgeKind::Lists, "lists", "lists"},
                                                      {RelationGraph::EdgeKind::Uses, "uses", "uses"},
                                                      {RelationGraph::EdgeKind::Named, "named", "names in its expression"},
                                                      {RelationGraph::EdgeKind::Ties, "ties", "is tied by a relation"}}};
        for (Key const &key : kKeys)
            if (std::any_of(part.edges.begin(), part.edges.end(),
                            [&key](RelationGraph::Edge const &edge) { return edge.kind == key.kind; }))
                m_text += "<span><svg class=\"graph\" width=\"30\" height=\"8\" viewBox=\"0 0 30 8\" aria-hidden=\"true\">"
                          "<path class=\"" +
                          std::string(key.name) + "\" d=\"M1 4H29\"" +
                          (key.kind == RelationGraph::EdgeKind::Uses || key.kind == RelationGraph::EdgeKind::Named
                               ? " marker-end=\"url(#arrow)\""
                               : "") +
                          "/></svg> " + key.text + "</span>\n";
        m_text += "</p>\n";
        if (part.nodes.size() < facts.graph.nodes.size() || part.edges.size() < facts.graph.edges.size())
            m_text += "<p class=\"note\">Drawn are the first " + counted(part.nodes.size(), "object") + " of " +
                      grouped(facts.graph.nodes.size()) + " and " + grouped(part.edges.size()) + " of their ties.</p>\n";
        m_text += "</div>\n";
    }

    // Other objects

    void objects(TemplateFacts const &facts)
    {
        if (!facts.others.empty())
        {
            m_text += section("others", "Other objects", facts);
            for (PageObject const &object : facts.others)
            {
                m_text += "<div class=\"object find\" data-id=\"" + object.id + "\"><p><code>" + object.className +
                          "</code> <span class=\"note\">" + object.id + (object.note.empty() ? "" : ", " + object.note) +
                          "</span></p>\n";
                if (!object.members.empty())
                {
                    m_text += "<details><summary>" + counted(object.members.size(), "member") +
                              "</summary>\n<table "
                              "class=\"members\"><tbody>\n";
                    for (PageFact const &member : object.members)
                        m_text += "<tr><th scope=\"row\">" + member.name + "</th><td>" + member.value + "</td></tr>\n";
                    m_text += "</tbody></table></details>\n";
                }
                m_text += "</div>\n";
            }
            m_text += "</section>\n";
        }
        if (!facts.unread.empty())
        {
            m_text += section("unread", "Not read", facts) + "<ul>\n";
            for (PageFact const &object : facts.unread)
                m_text += "<li class=\"find\">" + object.name + " <span class=\"note\">" + object.value + "</span></li>\n";
            m_text += "</ul>\n</section>\n";
        }
    }

    void bytes(TemplateFacts const &facts)
    {
        m_text += section("bytes", "Bytes of the file", facts) + "<div class=\"split\">\n<div>\n" + fileMap(facts, m_colours) +
                  "</div>\n" + fileLegend(facts, m_colours) + "</div>\n</section>\n";
    }

    std::vector<TemplateFacts> const &m_templates;
    PageOptions const &m_options;
    std::function<void(std::string_view)> const &m_sink;
    bool const m_isSingle;
    ClassColours m_colours;
    std::string m_text;
};

} // namespace

void writePage(std::vector<TemplateFacts> const &templates, PageOptions const &options,
               std::function<void(std::string_view)> const &sink)
{
    Writer(templates, options, sink).write();
}

} // namespace okt
