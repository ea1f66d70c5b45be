// SPDX-License-Identifier: MIT
#include <tools/okt/printing/diffvalues.h>

#include <oktformat/base64.h>
#include <oktformat/imageformat.h>
#include <oktformat/sentence.h>
#include <oktformat/text.h>

#include <algorithm>

namespace okt
{

namespace
{

constexpr char kNullId[] = "{00000000-0000-0000-0000-000000000000}";
// If the line would be longer, the value before and the value now get their own lines.
constexpr std::size_t kLongest = 100;

std::string quotedUtf8(std::string const &utf8) { return quoted(CString::FromUtf8(utf8)); }

std::string bytesOf(std::string const &base64) { return parseBase64(base64).value_or(""); }

std::string sizeText(std::string const &bytes) { return plural(static_cast<std::int64_t>(bytes.size()), "byte"); }

} // namespace

std::string idText(std::string const &guid, DiffPool const &pool)
{
    if (guid == kNullId)
        return "none";
    std::string const name = pool.nameOf(guid);
    return name.empty() ? guid : sentence("{} {}", guid, excerpt(name));
}

std::string imageText(std::string const &base64)
{
    std::string const bytes = bytesOf(base64);
    CByteArray image;
    std::copy_n(bytes.data(), bytes.size(), reinterpret_cast<char *>(image.Extend(static_cast<int>(bytes.size()))));
    return sentence("{}, {}", formatOf(image).text(), sizeText(bytes));
}

std::string valueText(Json const &value, DiffPool const &pool, bool withKind)
{
    if (value.is_null())
        return "nothing";
    if (value.is_string())
        return quotedUtf8(value.get<std::string>());
    if (!value.is_object())
        return value.dump();
    if (value.contains("class"))
        return "an object of the class " + quotedUtf8(value["class"].get<std::string>());
    if (value.contains("section"))
        return "an empty section";
    if (value.contains("id"))
        return idText(value["id"].get<std::string>(), pool);
    if (value.contains("ids"))
        return plural(static_cast<std::int64_t>(value["ids"].size()), "id");
    if (value.contains("picture"))
        return imageText(value["picture"].get<std::string>());
    for (char const *const key : {"bytes", "raw"})
        if (value.contains(key))
            return sizeText(bytesOf(value[key].get<std::string>()));
    if (value.contains("point"))
        return sentence("({}, {}, {})", value["point"][0].dump(), value["point"][1].dump(), value["point"][2].dump());
    std::string text;
    std::string kind;
    for (auto const &[key, inner] : value.items())
    {
        if (key == "variant")
            kind = inner.is_string() ? inner.get<std::string>() : "kind " + inner.dump();
        else
            text = inner.is_string() ? quotedUtf8(inner.get<std::string>()) : inner.dump();
        if (kind.empty())
            kind = key;
    }
    if (text.empty())
        return kind;
    return withKind ? sentence("{} {}", kind, text) : text;
}

std::string kindOf(Json const &value)
{
    if (!value.is_object())
        return "";
    std::string kind;
    for (auto const &[key, inner] : value.items())
        kind += sentence("{}{} ", key, key == "variant" ? inner.dump() : "");
    return kind;
}

std::string changeText(std::string const &what, std::string const &before, std::string after, std::size_t indent,
                       std::optional<Colour> colour)
{
    if (before == after)
        after += ", another";
    std::string const words = colour ? coloured(what, *colour) : what;
    if (width(what) + width(before) + width(after) <= kLongest)
        return sentence("{} {} -> {}\n", words, coloured(before, Colour::Red), coloured(after, Colour::Green));
    return sentence("{}\n{}{}", words, removedLine(before, indent), addedLine(after, indent));
}

std::string removedLine(std::string const &text, std::size_t indent)
{
    return coloured(sentence("{}- {}", std::string(indent, ' '), text), Colour::Red) + "\n";
}

std::string addedLine(std::string const &text, std::size_t indent)
{
    return coloured(sentence("{}+ {}", std::string(indent, ' '), text), Colour::Green) + "\n";
}

} // namespace okt
