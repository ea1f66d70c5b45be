// SPDX-License-Identifier: MIT
#include <oktreport/page.h>

#include <oktreport/article.h>
#include <oktreport/html.h>
#include <oktreport/pageparts.h>

#include <unordered_map>

namespace okt
{

namespace
{

constexpr char kDot[] = " \xC2\xB7 ";
constexpr char kDiameterSign[] = "\xE2\x8C\x80\xC2\xA0";

class Writer
{
public:
    Writer(std::vector<TemplateFacts> const &templates, PageOptions const &options,
           std::function<void(std::string_view)> const &sink)
        : m_templates(templates), m_options(options), m_sink(sink), m_isSingle(templates.size() == 1)
    {
        findPictures();
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
        m_text += "<section id=\"results\" aria-label=\"What was found\" hidden=\"\"></section>\n";
        flush();
        for (TemplateFacts const &facts : m_templates)
        {
            article(facts);
            flush();
        }
        m_text += "<footer><p>Figures are rounded to what a drawing needs; pointing at one shows all its digits. Made by "
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
            return html(std::string_view(m_options.title));
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
                  "<input id=\"search\" type=\"search\" placeholder=\"Search names and values\" "
                  "aria-label=\"Search names and values\" autocomplete=\"off\" spellcheck=\"false\"/>\n"
                  "<output id=\"found\" for=\"search\"></output>\n"
                  "<fieldset class=\"units\"><legend>Unit of lengths</legend>";
        for (std::size_t unit = 0; unit < kUnitNames.size(); ++unit)
        {
            std::string const name = kUnitNames[unit];
            m_text.append("<label><input type=\"radio\" name=\"unit\" value=\"").append(name).append("\"");
            m_text.append(unit == m_options.unit ? " checked=\"\"" : "")
                .append("/><span>")
                .append(name)
                .append("</span></label>");
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

    void overview()
    {
        std::uint64_t parameters = 0;
        std::uint64_t faults = 0;
        for (TemplateFacts const &facts : m_templates)
        {
            parameters += facts.parameters;
            faults += facts.fault.empty() ? 0u : 1u;
        }
        m_text += "<section class=\"overview\" aria-labelledby=\"top\">\n<h1 id=\"top\">" + title() +
                  "</h1>\n<p class=\"sum\">" + counted(m_templates.size(), "template") + kDot +
                  counted(parameters, "parameter") +
                  (faults == 0 ? "" : kDot + ("<strong class=\"mark\">" + counted(faults, "file") + " with a fault</strong>")) +
                  "</p>\n<ul class=\"cards\">\n";
        for (TemplateFacts const &facts : m_templates)
            m_text += "<li data-of=\"" + facts.anchor + "\"><a class=\"card\" href=\"#" + facts.anchor +
                      "\"><span class=\"thumb\"" + attribute("data-picture", pictureOf(facts)) +
                      "></span><span class=\"name\">" + facts.title + "</span><span class=\"file\">" + facts.file +
                      faultMark(facts) + "</span><span class=\"note\">" + brief(facts) + "</span></a></li>\n";
        m_text += "</ul>\n</section>\n";
    }

    /// The text of a card: what distinguishes the template from its neighbours.
    std::string brief(TemplateFacts const &facts) const
    {
        if (!facts.isRead)
            return "cannot be read";
        std::string text;
        for (KeyFact const &fact : facts.keyFacts)
        {
            bool const isBrief = fact.kind == KeyFact::Kind::Diameter || fact.kind == KeyFact::Kind::Grade ||
                                 fact.kind == KeyFact::Kind::CuttingLength || fact.kind == KeyFact::Kind::Length ||
                                 fact.kind == KeyFact::Kind::Width || fact.kind == KeyFact::Kind::Mass;
            if (isBrief && fact.figures.size() == 1)
                text += std::string(text.empty() ? "" : " ") + "<span>" +
                        (fact.kind == KeyFact::Kind::Diameter ? kDiameterSign : "") + figuresText(fact, m_options.unit) +
                        "</span>";
        }
        return text.empty() ? counted(facts.parameters, "parameter") : text;
    }

    // One template

    void article(TemplateFacts const &facts)
    {
        ArticleStyle const style{m_options.unit, m_isSingle ? 1 : 2};
        std::string const level = "h" + std::to_string(style.level);
        m_text += "<article class=\"template\" id=\"" + facts.anchor + "\" aria-labelledby=\"" + facts.anchor +
                  "-title\">\n<header>\n<" + level + " id=\"" + facts.anchor + "-title\">" + facts.title + "</" + level +
                  ">\n" + (facts.isRead ? "<p class=\"file\">" + facts.file + "</p>\n" : "");
        if (!facts.fault.empty())
            m_text += "<p class=\"alarm\"><strong>" +
                      std::string(facts.isRead ? "This file has a fault; what could be read of it is shown."
                                               : "This file cannot be read.") +
                      "</strong> " + facts.fault + "</p>\n";
        m_text += "</header>\n";
        if (facts.isRead)
        {
            pictures(facts);
            m_text += "<noscript class=\"sheet\">\n" + sheetPart(facts, style) + "</noscript>\n" + relationsPart(facts) +
                      insidePart(facts, style);
        }
        m_text += "</article>\n";
    }

    // Pictures

    static std::string anchorOf(TemplateFacts const &facts, PagePicture const &picture)
    {
        return facts.anchor + "-picture" + std::to_string(&picture - facts.pictures.data());
    }

    /// The page contains each picture once. Finds the first picture with the same bytes.
    void findPictures()
    {
        for (TemplateFacts const &facts : m_templates)
            for (PagePicture const &picture : facts.pictures)
                if (!picture.uri.empty())
                    m_firstPictures.emplace(picture.uri, Place{&facts, anchorOf(facts, picture)});
    }

    /// The anchor of the picture that represents a template; empty: browsers can show none of its pictures.
    std::string pictureOf(TemplateFacts const &facts) const
    {
        for (PagePicture const &picture : facts.pictures)
            if (!picture.uri.empty())
                return m_firstPictures.at(picture.uri).anchor;
        return "";
    }

    void pictures(TemplateFacts const &facts)
    {
        if (facts.pictures.empty())
            return;
        m_text += "<noscript class=\"images\">\n<div class=\"pictures\">\n";
        for (PagePicture const &picture : facts.pictures)
        {
            std::string const alt = picture.label + " of " + facts.title;
            m_text += "<figure>";
            if (picture.uri.empty())
                m_text += "<p class=\"note\">" + picture.label + ": " + unseen(picture) + "</p>";
            else if (Place const &first = m_firstPictures.at(picture.uri); first.anchor != anchorOf(facts, picture))
                m_text += "<p data-picture=\"" + first.anchor + "\" data-alt=\"" + alt + "\">" + picture.label +
                          " is the same as that of <a href=\"#" + first.facts->anchor + "\">" + first.facts->title +
                          "</a>.</p>";
            else
                image(picture, first.anchor, alt);
            if (facts.pictures.size() > 1 && !picture.uri.empty())
                m_text += "<figcaption>" + picture.label + "</figcaption>";
            m_text += "</figure>\n";
        }
        m_text += "</div>\n</noscript>\n";
    }

    /// Why a picture is not shown.
    static std::string unseen(PagePicture const &picture)
    {
        if (picture.size == 0)
            return "empty";
        std::string const &format = picture.format.name;
        return format.empty() ? "in no format that browsers show"
                              : html(std::string_view(format)) + ", which browsers do not show";
    }

    void image(PagePicture const &picture, std::string const &anchor, std::string const &alt)
    {
        m_text += "<img id=\"" + anchor + "\" alt=\"" + alt + "\"";
        if (picture.format.width > 0)
            m_text += " width=\"" + std::to_string(picture.format.width) + "\" height=\"" +
                      std::to_string(picture.format.height) + "\"";
        m_text += " src=\"";
        flush();
        m_sink(picture.uri);
        m_text += "\"/>";
    }

    struct Place
    {
        TemplateFacts const *facts;
        std::string anchor;
    };

    std::vector<TemplateFacts> const &m_templates;
    PageOptions const &m_options;
    std::function<void(std::string_view)> const &m_sink;
    bool const m_isSingle;
    std::unordered_map<std::string_view, Place> m_firstPictures; ///< by their data
    std::string m_text;
};

} // namespace

void writePage(std::vector<TemplateFacts> const &templates, PageOptions const &options,
               std::function<void(std::string_view)> const &sink)
{
    Writer(templates, options, sink).write();
}

} // namespace okt
