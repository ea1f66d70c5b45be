// SPDX-License-Identifier: MIT
// Changes a value in a copy of a pool file. The text form of both differs in one line, and the comparison names the member.
//   textdiff FILE CHANGED

#include <oktformat/failure.h>
#include <oktformat/fileread.h>
#include <oktinspect/compare.h>
#include <okttext/okttextpool.h>

#include <cstdio>
#include <fstream>
#include <sstream>
#include <string>
#include <string_view>

int main(int count, char **arguments)
try
{
    if (count != 3)
        return 2;
    CByteArray const image = okt::readBytes(arguments[1]);
    std::string text;
    OKTTextFault fault;
    if (!OktExportText(
            image, [&](std::string_view piece) { text += piece; }, fault))
        return std::fprintf(stderr, "%s: %s\n", fault.place().c_str(), fault.reason.c_str()), 1;
    std::string_view const before = "Field and supports";
    std::size_t const place = text.find(before);
    if (place == std::string::npos)
        return 1;
    text.replace(place, before.size(), "Field alone");

    std::istringstream stream(text);
    CByteArray changed;
    if (!OktImportText(stream, changed, fault))
        return std::fprintf(stderr, "%s: %s\n", fault.place().c_str(), fault.reason.c_str()), 1;
    std::ofstream(arguments[2], std::ios::binary).write(reinterpret_cast<char const *>(changed.GetData()), changed.GetSize());

    okt::Comparison const found = okt::compareFiles(arguments[1], arguments[2]);
    std::printf("%zu objects are the same\n", found.same);
    for (okt::ComparedChange const &change : found.changed)
        for (okt::ComparedMember const &member : change.members)
            std::printf("%s \"%s\", %s: %s -> %s\n", change.before.className.c_str(), change.before.name.c_str(),
                        member.member.c_str(), member.before.value_or("-").c_str(), member.after.value_or("-").c_str());
}
catch (okt::Failure const &failure)
{
    std::fprintf(stderr, "%s\n", failure.what());
    return 1;
}
