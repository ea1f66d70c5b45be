// SPDX-License-Identifier: MIT
// XML documents as elements, with their attributes and the declarations in front. The input need not be well formed.

#include "mutator.h"

#include <array>
#include <optional>

namespace
{
constexpr std::size_t kMostPieces = 2000;
constexpr int kElement = 1;
constexpr int kAttribute = 2;
constexpr int kText = 3;
constexpr int kDeclaration = 4;

constexpr std::array<std::string_view, 34> kNames = {"Object",
                                                     "Members",
                                                     "Map",
                                                     "Pool",
                                                     "Document",
                                                     "class",
                                                     "version",
                                                     "name",
                                                     "string",
                                                     "long",
                                                     "double",
                                                     "OKTDbPool",
                                                     "OKTDbObject",
                                                     "OKTDbParameter",
                                                     "OKTDbCategory",
                                                     "OKTDbPicture",
                                                     "OKTDbRelation",
                                                     "OKTDbParamRelation",
                                                     "OKTDbGroupCategory",
                                                     "OKTDbConstruct",
                                                     "OKTDbIndexData",
                                                     "OKTObjectId",
                                                     "OKTVariant",
                                                     "OKTGeXYZ",
                                                     "vartype",
                                                     "varvalue",
                                                     "m_dfX",
                                                     "m_strUserName",
                                                     "m_dfMetricsFactor",
                                                     "m_tabPictures.Length",
                                                     "m_id",
                                                     "m_nListIndex",
                                                     "m_var",
                                                     "NoSuchClass"};
constexpr std::array<std::string_view, 24> kValues = {
    "",     "0",        "1",     "-1",         "2",           "3",          "5",
    "8",    "11",       "65536", "2147483647", "-2147483648", "4294967295", "99999999999999999999",
    "1.5",  "-0",       "1e308", "nan",        "inf",         "1,5",        "&amp;",
    "&#0;", "&#xFFFF;", "&e;"};
constexpr std::array<std::string_view, 12> kInsertions = {"<!DOCTYPE d [<!ENTITY e '1'><!ENTITY f '&e;&e;&e;&e;'>]>",
                                                          "&f;",
                                                          "&e;",
                                                          "<!--x-->",
                                                          "<![CDATA[<]]>",
                                                          "<?p q?>",
                                                          "<a/>",
                                                          "<Object class='OKTDbParameter'/>",
                                                          "<Members version='1'/>",
                                                          "<Map name='m'/>",
                                                          "<!DOCTYPE d SYSTEM 'd.dtd'>",
                                                          "&#x10FFFF;"};

class XmlStructure : public Structure
{
public:
    std::vector<Piece> pieces(std::string const &input) const override;
    void change(std::string &input, Piece const &piece, MutationRandom &random) const override;

private:
    static void attributes(std::string const &input, std::size_t from, std::size_t to, std::vector<Piece> &found);
};

void XmlStructure::attributes(std::string const &input, std::size_t from, std::size_t to, std::vector<Piece> &found)
{
    while (from < to && found.size() < kMostPieces)
    {
        std::size_t const blank = input.find_first_of(" \t\r\n", from);
        std::size_t const quote = input.find_first_of("'\"", from);
        if (blank >= to || quote >= to)
            return;
        std::size_t const end = input.find(input[quote], quote + 1);
        if (end >= to)
            return;
        if (blank < quote)
            found.push_back({blank, end + 1, 0, kAttribute});
        from = end + 1;
    }
}

std::vector<Piece> XmlStructure::pieces(std::string const &input) const
{
    std::vector<Piece> found;
    std::vector<std::size_t> open;
    for (std::size_t at = 0; at < input.size() && found.size() < kMostPieces;)
    {
        std::size_t const begin = input.find('<', at);
        if (begin > at && at > 0)
            found.push_back({at, std::min(begin, input.size()), 0, kText});
        std::size_t const end = begin == std::string::npos ? begin : input.find('>', begin);
        if (end == std::string::npos)
            break;
        at = end + 1;
        char const next = input[begin + 1];
        if (next == '/')
        {
            if (!open.empty())
            {
                found[open.back()].end = at;
                open.pop_back();
            }
        }
        else if (next == '!' || next == '?')
            found.push_back({begin, at, 0, kDeclaration});
        else
        {
            bool const isClosed = input[end - 1] == '/';
            if (!isClosed)
                open.push_back(found.size());
            found.push_back({begin, at, isClosed ? 0 : at, kElement});
            attributes(input, begin, end, found);
        }
    }
    for (std::size_t const index : open)
        found[index].end = input.size();
    return found;
}

void XmlStructure::change(std::string &input, Piece const &piece, MutationRandom &random) const
{
    if (piece.end > input.size() || piece.end <= piece.begin)
        return;
    if (random.oneIn(8))
    {
        input.insert(random.oneIn(2) ? piece.begin : piece.end, random.of(kInsertions));
        return;
    }
    if (piece.kind == kAttribute)
    {
        std::size_t const quote = input.find_first_of("'\"", piece.begin);
        std::size_t const nameEnd = input.find('=', piece.begin);
        if (quote >= piece.end || nameEnd >= quote)
            return;
        std::string_view const word = random.oneIn(2) ? random.of(kNames) : random.of(kValues);
        if (random.oneIn(4))
            input.replace(piece.begin + 1, nameEnd - piece.begin - 1, random.of(kNames));
        else if (random.oneIn(3))
            input.replace(quote + 1, piece.end - quote - 2,
                          changedBytes(std::string_view(input).substr(quote + 1, piece.end - quote - 2), 16));
        else
            input.replace(quote + 1, piece.end - quote - 2, word);
        return;
    }
    if (piece.kind == kElement)
    {
        std::size_t const nameEnd = input.find_first_of(" \t\r\n/>", piece.begin + 1);
        if (nameEnd >= piece.end)
            return;
        std::string const old = input.substr(piece.begin + 1, nameEnd - piece.begin - 1);
        std::string const name(random.of(kNames));
        if (random.oneIn(3))
        {
            input.insert(nameEnd, " " + name + "='" + std::string(random.of(kValues)) + "'");
            return;
        }
        std::string const close = "</" + old;
        std::size_t const closing = piece.end >= close.size() + 1 ? piece.end - close.size() - 1 : 0;
        if (closing > piece.begin && input.compare(closing, close.size(), close) == 0)
            input.replace(closing + 2, old.size(), name);
        input.replace(piece.begin + 1, old.size(), name);
        return;
    }
    input.replace(piece.begin, piece.end - piece.begin,
                  changedBytes(std::string_view(input).substr(piece.begin, piece.end - piece.begin), 16));
}
} // namespace

Structure const &xmlStructure()
{
    static XmlStructure const structure;
    return structure;
}
