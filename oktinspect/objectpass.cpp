// SPDX-License-Identifier: MIT
#include <oktinspect/objectpass.h>

#include <oktformat/text.h>

#include <optional>

namespace okt
{

void passObjects(ByteSource &source, HeaderPlace const &header, std::string const &name, OnProgress const &onProgress,
                 std::function<void(Stretch const &)> const &onObject, std::function<void(Finding const &)> const &onFault)
{
    if (!header.isWhole)
        onFault(headerFinding(header));
    bool isHeader = !header.isWhole;
    ObjectScan scan(source, header.end);
    ProgressStep progress(onProgress, printable(std::string_view(name)), static_cast<std::uint64_t>(source.size()));
    std::uint64_t objects = 0;
    while (std::optional<Stretch> const stretch = scan.next())
    {
        objects += stretch->kind == Stretch::Kind::Object ? 1 : 0;
        progress.at(static_cast<std::uint64_t>(stretch->end), objects);
        if (stretch->kind == Stretch::Kind::Object)
            onObject(*stretch);
        // The first stretch after a damaged header is the rest of that header.
        else if (stretch->kind != Stretch::Kind::Gap && !isHeader)
            onFault(makeFinding(Finding::What::ObjectDamaged, stretch->faultAt, {{"fault", stretch->fault()}}));
        isHeader = false;
    }
}

Finding headerFinding(HeaderPlace const &header)
{
    return makeFinding(Finding::What::HeaderDamaged, header.faultAt, {{"fault", header.fault}});
}

} // namespace okt
