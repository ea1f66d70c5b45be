// SPDX-License-Identifier: MIT
// JSON as values and members: the text form of a pool. The input need not be valid.

#include "mutator.h"

#include <oktformat/base64.h>

#include <array>
#include <cstdlib>
#include <optional>

namespace
{
constexpr std::size_t kMostPieces = 3000;
constexpr int kObject = 1;
constexpr int kArray = 2;
constexpr int kString = 3;
constexpr int kScalar = 4;

constexpr std::array<std::string_view, 35> kWords = {
    "format",     "version",     "content",        "header",       "objects",
    "headerSize", "class",       "section",        "name",         "long",
    "short",      "bool",        "double",         "string16",     "string16-escaped",
    "string8",    "bytes",       "picture",        "raw",          "id",
    "ids",        "point",       "variant",        "VT_R8",        "VT_BSTR",
    "VT_I4",      "VT_R4",       "VT_BOOL",        "position",     "size",
    "OKTDbPool",  "OKTDbObject", "OKTDbParameter", "OKTDbPicture", "OKTVariant"};
constexpr std::array<std::string_view, 16> kValues = {"null",
                                                      "true",
                                                      "false",
                                                      "{}",
                                                      "[]",
                                                      "\"\"",
                                                      "-0.0",
                                                      "1e400",
                                                      "1e-400",
                                                      "0.1",
                                                      "2147483648",
                                                      "-2147483649",
                                                      "18446744073709551616",
                                                      "\"\\ud800\"",
                                                      "\"\\u0000\"",
                                                      "\"{00000000-0000-0000-0000-000000000000}\""};

class JsonStructure : public Structure
{
public:
    std::vector<Piece> pieces(std::string const &input) const override;
    void change(std::string &input, Piece const &piece, MutationRandom &random) const override;
    std::string_view between() const override { return ","; }
};

std::vector<Piece> JsonStructure::pieces(std::string const &input) const
{
    std::vector<Piece> found;
    std::vector<std::size_t> open;
    for (std::size_t at = 0; at < input.size() && found.size() < kMostPieces;)
    {
        char const c = input[at];
        if (c == '{' || c == '[')
        {
            open.push_back(found.size());
            found.push_back({at, at + 1, at + 1, c == '{' ? kObject : kArray});
            ++at;
        }
        else if (c == '}' || c == ']')
        {
            ++at;
            if (!open.empty())
            {
                found[open.back()].end = at;
                open.pop_back();
            }
        }
        else if (c == '"')
        {
            std::size_t end = at + 1;
            while (end < input.size() && input[end] != '"')
                end += input[end] == '\\' ? 2 : 1;
            end = std::min(end + 1, input.size());
            found.push_back({at, end, 0, kString});
            at = end;
        }
        else if (std::string_view(" \t\r\n,:").find(c) != std::string_view::npos)
            ++at;
        else
        {
            std::size_t const end = std::min(input.find_first_of(" \t\r\n,:{}[]\"", at + 1), input.size());
            found.push_back({at, end, 0, kScalar});
            at = end;
        }
    }
    for (std::size_t const index : open)
        found[index].end = input.size();
    return found;
}

void JsonStructure::change(std::string &input, Piece const &piece, MutationRandom &random) const
{
    std::size_t const size = piece.end - piece.begin;
    std::string const old = input.substr(piece.begin, size);
    std::string changed;
    if (piece.kind == kScalar && random.oneIn(2))
        changed = std::to_string(oddNumber(std::strtoll(old.c_str(), nullptr, 10), random));
    else if (piece.kind == kString && size >= 2 && !random.oneIn(4))
    {
        std::string const text = old.substr(1, size - 2);
        std::optional<std::string> bytes = text.size() > 3 ? okt::parseBase64(text) : std::nullopt;
        okt::Base64Padding padding = okt::Base64Padding::With;
        if (!bytes && text.size() > 12)
        {
            padding = okt::Base64Padding::Without;
            bytes = okt::parseBase64(text, padding);
        }
        if (bytes && !random.oneIn(4))
            changed = '"' + okt::base64(changedBytes(*bytes, 32), padding) + '"';
        else if (random.oneIn(2))
            changed = '"' + std::string(random.of(kWords)) + '"';
        else
            changed = '"' + changedBytes(text, 16) + '"';
    }
    else
        changed = random.of(kValues);
    input.replace(piece.begin, size, changed);
}
} // namespace

Structure const &jsonStructure()
{
    static JsonStructure const structure;
    return structure;
}
