// SPDX-License-Identifier: MIT
#include <tools/okt/commands/manual.h>

#include <oktformat/sentence.h>

#include <algorithm>
#include <sstream>

namespace okt
{

namespace
{

constexpr std::string_view kFence = "```";

std::string withoutBlanks(std::string_view text)
{
    std::size_t const first = text.find_first_not_of(' ');
    return first == std::string_view::npos ? "" : std::string(text.substr(first, text.find_last_not_of(' ') - first + 1));
}

/// Marks within a line: `code` and **strong** are bold, of a [link](target) the text is left.
class Inline
{
public:
    explicit Inline(std::string_view text) : m_text(text) {}

    std::string run()
    {
        for (m_at = 0; m_at < m_text.size();)
            step();
        return flushed();
    }

private:
    std::string flushed()
    {
        m_result += roff(m_plain);
        m_plain.clear();
        return m_result;
    }

    void bold(std::string_view text)
    {
        flushed();
        m_result += sentence("\\fB{}\\fR", roff(text));
    }

    /// Takes a text between two marks. False: there is none here.
    bool takes(std::string_view open, std::string_view close)
    {
        if (!m_text.substr(m_at).starts_with(open))
            return false;
        std::size_t const end = m_text.find(close, m_at + open.size());
        if (end == std::string_view::npos)
            return false;
        m_inner = m_text.substr(m_at + open.size(), end - m_at - open.size());
        m_at = end + close.size();
        return true;
    }

    void step()
    {
        if (m_text.substr(m_at).starts_with("\\|"))
            ++m_at; // of a table
        if (takes("`", "`") || takes("**", "**"))
            bold(m_inner);
        else if (m_text[m_at] == '[' && takes("[", "]("))
        {
            m_plain += m_inner;
            std::size_t const end = m_text.find(')', m_at);
            m_at = end == std::string_view::npos ? m_text.size() : end + 1;
        }
        else
            m_plain += m_text[m_at++];
    }

    std::string_view m_text;
    std::string_view m_inner;
    std::size_t m_at = 0;
    std::string m_plain;
    std::string m_result;
};

std::string inlined(std::string_view text)
{
    std::string const line = Inline(text).run();
    return line.starts_with('.') || line.starts_with('\'') ? "\\&" + line : line;
}

/// The cells of a row of a table; a pipe with a backslash in front is none of its borders.
std::vector<std::string> cellsOf(std::string const &row)
{
    std::vector<std::string> cells;
    std::string one;
    for (std::size_t i = 1; i < row.size(); ++i)
    {
        if (row[i] == '|' && row[i - 1] != '\\')
        {
            cells.push_back(withoutBlanks(one));
            one.clear();
        }
        else
            one += row[i];
    }
    return cells;
}

class Converter
{
public:
    explicit Converter(std::string_view text)
    {
        std::istringstream stream{std::string(text)};
        for (std::string line; std::getline(stream, line);)
            take(line);
        endTable();
    }

    std::string result() { return std::move(m_result); }

private:
    void take(std::string const &line)
    {
        if (line.starts_with(kFence))
        {
            m_isCode = !m_isCode;
            m_result += m_isCode ? ".PP\n.RS 4\n.nf\n" : ".fi\n.RE\n";
            return endParagraph();
        }
        if (m_isCode)
        {
            m_result += (line.empty() ? "\\&" : roff(line)) + "\n";
            return;
        }
        if (line.starts_with('|'))
            return row(line);
        endTable();
        if (line.empty() || line.starts_with("<!--") || line.starts_with("![") || line.starts_with("# "))
            return endParagraph();
        if (line.starts_with('#'))
        {
            m_result += sentence(".SS {}\n", inlined(withoutBlanks(line.substr(line.find_first_not_of('#')))));
            return endParagraph();
        }
        if (line.starts_with("- "))
        {
            m_result += sentence(".IP \\- 2\n{}\n", inlined(line.substr(2)));
            m_isOpen = true;
            return;
        }
        if (!m_isOpen)
            m_result += ".PP\n";
        m_isOpen = true;
        m_result += inlined(withoutBlanks(line)) + "\n";
    }

    void endParagraph() { m_isOpen = false; }

    void endTable()
    {
        m_headings.clear();
        m_isTable = false;
    }

    /// Each row is an entry under its first cell; of several others the heading stands in front.
    void row(std::string const &line)
    {
        std::vector<std::string> const cells = cellsOf(line);
        if (!m_isTable)
        {
            m_isTable = true;
            m_headings = cells;
            return;
        }
        if (cells.empty() || cells.front().starts_with("---") || cells.front().starts_with(":--"))
            return;
        m_result += sentence(".TP\n{}\n", cells.front().empty() ? "\\&" : inlined(cells.front()));
        std::size_t const filled =
            static_cast<std::size_t>(std::count_if(cells.begin(), cells.end(), [](auto const &one) { return !one.empty(); }));
        std::string text;
        for (std::size_t i = 1; i < cells.size(); ++i)
            if (!cells[i].empty())
            {
                bool const isNamed = cells.size() > 2 && i < m_headings.size() && !m_headings[i].empty() && filled > 1;
                text += (text.empty() ? "" : "\n.br\n") + (isNamed ? inlined(m_headings[i]) + ": " : "") + inlined(cells[i]);
            }
        m_result += (text.empty() ? "\\&" : text) + "\n";
        endParagraph();
    }

    std::string m_result;
    std::vector<std::string> m_headings;
    bool m_isTable = false;
    bool m_isCode = false;
    bool m_isOpen = false; ///< the next line goes on with the paragraph
};

} // namespace

std::string roff(std::string_view text)
{
    std::string result;
    bool isLineStart = true;
    for (char const c : text)
    {
        if (isLineStart && (c == '.' || c == '\''))
            result += "\\&";
        if (c == '\\')
            result += "\\e";
        else if (c == '-')
            result += "\\-";
        else
            result += c;
        isLineStart = c == '\n';
    }
    return result;
}

std::string roffOfMarkdown(std::string_view text) { return Converter(text).result(); }

} // namespace okt
