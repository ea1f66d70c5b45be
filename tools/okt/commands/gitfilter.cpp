// SPDX-License-Identifier: MIT
#include <tools/okt/commands/gitfilter.h>

#include <oktinspect/reportcollector.h>

#include <okttext/oktpoolparts.h>
#include <okttext/okttextpool.h>

#include <istream>
#include <limits>
#include <optional>
#include <streambuf>

namespace okt
{

namespace
{

constexpr std::string_view kExported = "{\n  \"format\": \"OKTDatabase text\",\n  \"version\": 1,\n";
constexpr std::string_view kFirstLine = "{\"format\": \"OKTDatabase text\", \"version\": 1,";

/// A stream over an existing text, without a copy.
class TextBuffer : public std::streambuf
{
public:
    explicit TextBuffer(std::string_view text)
    {
        char *const begin = const_cast<char *>(text.data()); // nothing is put back
        setg(begin, begin, begin + text.size());
    }
};

/// The pool file of a text, or the fault.
std::optional<CByteArray> poolOf(std::string_view text, std::optional<OKTTextFault> &fault)
{
    TextBuffer buffer(text);
    std::istream stream(&buffer);
    CByteArray image;
    if (OktImportText(stream, image, fault.emplace()))
    {
        fault.reset();
        return image;
    }
    return std::nullopt;
}

/// The text of a pool file that gives the same bytes again, or the fault.
std::optional<std::string> textOf(CByteArray const &image, std::optional<OKTTextFault> &fault)
{
    ReportCollector const collector; // if an object cannot be read, only the names of its members are missing
    std::string text;
    if (!OktExportText(
            image, [&text](std::string_view piece) { text += piece; }, fault.emplace()))
        return std::nullopt;
    fault.reset();
    text.replace(0, kExported.size(), std::string(kFirstLine) + "\n");
    std::optional<CByteArray> const again = poolOf(text, fault);
    if (again && okttext::bytesOf(*again) == okttext::bytesOf(image))
        return text;
    fault = OKTTextFault{"its text does not give the same file again"};
    return std::nullopt;
}

} // namespace

bool isFilterText(std::string_view bytes)
{
    if (!bytes.starts_with(kFirstLine))
        return false;
    bytes.remove_prefix(kFirstLine.size()); // git may have converted the line ends
    return bytes.starts_with("\n") || bytes.starts_with("\r\n");
}

std::string asExported(std::string_view filterText)
{
    return std::string(kExported) + std::string(filterText.substr(filterText.find('\n') + 1));
}

FilteredFile cleaned(std::string bytes)
{
    FilteredFile file;
    std::optional<CByteArray> image;
    if (isFilterText(bytes))
        image = poolOf(bytes, file.fault);
    else if (bytes.empty())
        file.fault = OKTTextFault{"the file is empty"};
    else if (bytes.size() > static_cast<std::size_t>(std::numeric_limits<int>::max()))
        file.fault = OKTTextFault{"the file is larger than 2147483647 bytes"};
    else
        image = okttext::arrayOf(bytes);
    std::optional<std::string> text;
    if (image)
        text = textOf(*image, file.fault);
    file.bytes = text ? std::move(*text) : std::move(bytes);
    return file;
}

FilteredFile smudged(std::string bytes)
{
    FilteredFile file;
    std::optional<CByteArray> image;
    if (isFilterText(bytes))
        image = poolOf(bytes, file.fault);
    file.bytes = image ? std::string(okttext::bytesOf(*image)) : std::move(bytes);
    return file;
}

} // namespace okt
