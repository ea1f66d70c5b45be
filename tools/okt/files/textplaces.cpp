// SPDX-License-Identifier: MIT
#include <tools/okt/files/textplaces.h>

#include <oktformat/guids.h>
#include <oktformat/objectscan.h>

#include <algorithm>
#include <optional>
#include <string>
#include <vector>

namespace okt
{

namespace
{

struct Span
{
    std::size_t begin = std::string_view::npos;
    std::size_t end = 0;
};

/// Where the header and the entries of "objects" stand in a text that is in order.
class Entries
{
public:
    explicit Entries(std::string_view text)
    {
        std::size_t depth = 0;
        std::string_view word; // the last one of the document itself, which is a key where a value opens
        for (std::size_t at = 0; at < text.size(); ++at)
        {
            char const c = text[at];
            if (c == '"')
            {
                std::size_t const end = behindString(text, at);
                if (depth == 1)
                    word = text.substr(at + 1, end - at - 2);
                at = end - 1;
            }
            else if (c == '{' || c == '[')
            {
                if (depth == 1 && word == "header")
                    header.begin = at;
                if (depth == 2 && word == "objects")
                    objects.push_back({at, at});
                ++depth;
            }
            else if ((c == '}' || c == ']') && depth > 0)
            {
                --depth;
                if (depth == 1 && word == "header")
                    header.end = at;
                if (depth == 2 && word == "objects" && !objects.empty())
                    objects.back().end = at;
            }
        }
    }

    Span header;
    std::vector<Span> objects;

private:
    static std::size_t behindString(std::string_view text, std::size_t at)
    {
        for (++at; at < text.size() && text[at] != '"'; ++at)
            at += text[at] == '\\' ? 1 : 0;
        return std::min(at + 1, text.size());
    }
};

/// The number of the object's entry. Nothing: the text parts the bytes in another way.
std::optional<std::size_t> entryOf(ByteSource &image, std::int64_t object, std::size_t entries)
{
    ObjectScan scan(image, findHeader(image).end);
    std::optional<std::size_t> found;
    std::size_t number = 0;
    bool isBehindObject = true; // what is no object follows each other in one entry
    while (std::optional<Stretch> const stretch = scan.next())
    {
        bool const isObject = stretch->kind == Stretch::Kind::Object;
        number += isObject || isBehindObject ? 1 : 0;
        isBehindObject = isObject;
        if (!found && object < stretch->end)
            found = number - 1;
    }
    return number == entries ? found : std::nullopt;
}

TextPlace placeAt(std::string_view text, std::size_t at)
{
    std::string_view const before = text.substr(0, at);
    std::size_t const newline = before.rfind('\n');
    return {1 + static_cast<long>(std::count(before.begin(), before.end(), '\n')),
            static_cast<long>(newline == std::string_view::npos ? at + 1 : at - newline)};
}

} // namespace

TextPlace placeInText(std::string_view text, ByteSource &image, Finding const &finding)
{
    Entries const entries(text);
    Span span = entries.header;
    std::int64_t const object = finding.object >= 0 ? finding.object : finding.offset;
    if (object >= findHeader(image).end)
    {
        std::optional<std::size_t> const number = entryOf(image, object, entries.objects.size());
        if (!number)
            return {};
        span = entries.objects[*number];
    }
    if (span.begin == std::string_view::npos)
        return {};
    if (finding.named)
        if (std::size_t const at = text.find(idText(*finding.named), span.begin); at < span.end)
            return placeAt(text, at);
    return placeAt(text, span.begin);
}

} // namespace okt
