#include "filemap.h"

#include "html.h"

#include <algorithm>

namespace okt
{

namespace
{

constexpr std::uint64_t kMostRows = 12;
constexpr std::uint64_t kShortestRow = 512;

/// A stretch below this part of a row cannot be told from its neighbour.
constexpr std::uint64_t kFinestPart = 400;

constexpr std::size_t kOtherColours = 4;

/// A part of the map: a stretch, or several short ones of one class.
struct Cell
{
    std::string style;
    std::string text;
    std::string label; ///< what several of these are called
    std::uint64_t offset = 0;
    std::uint64_t size = 0;
    std::size_t count = 1;
    bool isShort = false; ///< it is made of stretches too short to be seen alone
};

std::string styleOf(PageStretch const &stretch, ClassColours &colours)
{
    switch (stretch.kind)
    {
    case PageStretch::Kind::Header: return "c-header";
    case PageStretch::Kind::Fault: return "c-damaged";
    case PageStretch::Kind::Gap: return "c-gap";
    case PageStretch::Kind::Object: return colours.of(stretch.className);
    }
    return "";
}

/// What a stretch is: its class and name.
std::string labelOf(PageStretch const &stretch)
{
    switch (stretch.kind)
    {
    case PageStretch::Kind::Header: return "Header";
    case PageStretch::Kind::Gap: return "Bytes of no object";
    case PageStretch::Kind::Fault: return stretch.className + ", cut or damaged";
    case PageStretch::Kind::Object: break;
    }
    return stretch.className + (stretch.name.empty() ? "" : " \xE2\x80\x9C" + stretch.name + "\xE2\x80\x9D");
}

std::string classLabel(PageStretch const &stretch)
{
    return stretch.kind == PageStretch::Kind::Object ? stretch.className : labelOf(stretch);
}

std::string rangeOf(Cell const &cell)
{
    return counted(cell.size, "byte") + ", " + std::to_string(cell.offset) + " to " +
           std::to_string(cell.offset + cell.size - 1);
}

std::vector<Cell> cellsOf(TemplateFacts const &facts, std::uint64_t row, ClassColours &colours)
{
    std::vector<Cell> cells;
    std::uint64_t const finest = row / kFinestPart;
    for (PageStretch const &stretch : facts.stretches)
    {
        if (stretch.size == 0)
            continue;
        Cell cell{styleOf(stretch, colours), labelOf(stretch), classLabel(stretch), stretch.offset, stretch.size, 1, false};
        cell.isShort = cell.size < finest;
        if (cells.empty() || !cell.isShort || !cells.back().isShort)
        {
            cells.push_back(std::move(cell));
            continue;
        }
        Cell &last = cells.back();
        bool const isAlike = last.style == cell.style && last.label == cell.label;
        // Different ones share a stretch until that can be seen.
        if (!isAlike && last.size >= finest)
        {
            cells.push_back(std::move(cell));
            continue;
        }
        if (!isAlike)
        {
            last.style = "c-mixed";
            last.label = "objects of several classes";
        }
        last.size += cell.size;
        ++last.count;
    }
    for (Cell &cell : cells)
        if (cell.count > 1)
            cell.text = grouped(cell.count) + " \xC3\x97 " + cell.label;
    return cells;
}

} // namespace

std::string ClassColours::of(std::string const &className)
{
    static std::map<std::string, char const *> const kOwn = {
        {"OKTDbParameter", "c-parameter"}, {"OKTDbGroupParameter", "c-parameter"}, {"OKTDbCategory", "c-category"},
        {"OKTDbGroupCategory", "c-group"}, {"OKTDbRelation", "c-relation"},        {"OKTDbParamRelation", "c-relation"},
        {"OKTDbPicture", "c-picture"}};
    if (auto const own = kOwn.find(className); own != kOwn.end())
        return own->second;
    auto const [other, isNew] = m_others.emplace(className, "");
    if (isNew)
        other->second = "c-other" + std::to_string((m_others.size() - 1) % kOtherColours);
    return other->second;
}

std::uint64_t rowLength(std::uint64_t fileSize)
{
    std::uint64_t row = kShortestRow;
    while (row * kMostRows < fileSize)
        row *= 2;
    return row;
}

std::string fileMap(TemplateFacts const &facts, ClassColours &colours)
{
    std::uint64_t const row = rowLength(facts.size);
    std::vector<Cell> const cells = cellsOf(facts, row, colours);
    std::string map =
        "<div class=\"map\" role=\"group\" tabindex=\"0\" aria-label=\"Map of the file: " + counted(facts.size, "byte") +
        " in rows of " + grouped(row) + "; arrow keys go through it\">\n";
    std::size_t first = 0;
    for (std::uint64_t start = 0; start < facts.size; start += row)
    {
        std::uint64_t const end = std::min(start + row, facts.size);
        map += "<div class=\"row\"><span class=\"offset\">" + std::to_string(start) + "</span><svg viewBox=\"0 0 " +
               std::to_string(row) + " 1\" preserveAspectRatio=\"none\" aria-hidden=\"true\">";
        while (first < cells.size() && cells[first].offset + cells[first].size <= start)
            ++first;
        for (std::size_t i = first; i < cells.size() && cells[i].offset < end; ++i)
        {
            Cell const &cell = cells[i];
            std::uint64_t const from = std::max(cell.offset, start);
            std::uint64_t const to = std::min(cell.offset + cell.size, end);
            map += "<rect class=\"" + cell.style + "\" data-cell=\"" + std::to_string(i) + "\" x=\"" +
                   std::to_string(from - start) + "\" width=\"" + std::to_string(to - from) + "\" height=\"1\"><title>" +
                   cell.text + ": " + rangeOf(cell) + "</title></rect>";
        }
        map += "</svg></div>\n";
    }
    return map + "</div>\n<p class=\"readout\" aria-live=\"polite\"></p>\n";
}

std::string fileLegend(TemplateFacts const &facts, ClassColours &colours)
{
    struct Sum
    {
        std::string label;
        std::string style;
        std::uint64_t objects = 0;
        std::uint64_t bytes = 0;
    };
    std::vector<Sum> sums;
    std::map<std::pair<std::string, bool>, std::size_t> places;
    for (PageStretch const &stretch : facts.stretches)
    {
        bool const isObject = stretch.kind == PageStretch::Kind::Object;
        std::string const label = stretch.kind == PageStretch::Kind::Fault ? "Cut or damaged objects" : classLabel(stretch);
        auto const [place, isNew] = places.emplace(std::pair(label, isObject), sums.size());
        if (isNew)
            sums.push_back({label, styleOf(stretch, colours), 0, 0});
        Sum &sum = sums[place->second];
        sum.objects += isObject || stretch.kind == PageStretch::Kind::Fault ? 1u : 0u;
        sum.bytes += stretch.size;
    }
    std::stable_sort(sums.begin(), sums.end(), [](Sum const &a, Sum const &b) { return a.bytes > b.bytes; });
    std::string table = "<table class=\"legend\"><thead><tr><th scope=\"col\">Class</th><th scope=\"col\" class=\"num\">Objects"
                        "</th><th scope=\"col\" class=\"num\">Bytes</th><th scope=\"col\" class=\"num\">Share</th></tr></thead>"
                        "<tbody>\n";
    for (Sum const &sum : sums)
    {
        std::uint64_t const tenths = facts.size == 0 ? 0 : (sum.bytes * 1000 + facts.size / 2) / facts.size;
        table += "<tr class=\"find\"><th scope=\"row\"><svg class=\"swatch\" viewBox=\"0 0 1 1\" aria-hidden=\"true\"><rect "
                 "class=\"" +
                 sum.style + "\" width=\"1\" height=\"1\"/></svg>" + sum.label + "</th><td class=\"num\">" +
                 (sum.objects == 0 ? "" : grouped(sum.objects)) + "</td><td class=\"num\">" + grouped(sum.bytes) +
                 "</td><td class=\"num\">" + std::to_string(tenths / 10) + "." + std::to_string(tenths % 10) +
                 "&#8239;%</td></tr>\n";
    }
    return table + "</tbody></table>\n";
}

} // namespace okt
