// SPDX-License-Identifier: MIT
#include <tools/okt/printing/partialprinter.h>

#include <oktformat/guids.h>
#include <oktformat/imageformat.h>
#include <oktformat/sentence.h>
#include <oktformat/text.h>
#include <oktinspect/members.h>
#include <oktinspect/moduletext.h>

#include <oktdatabase/oktdatabase.h>

#include <algorithm>

namespace okt
{

namespace
{

// A longer name does not widen the column.
constexpr std::size_t kWidestName = 36;

std::string headerLine(char const *label, std::string const &text) { return sentence("  {}{}\n", padded(label, 16), text); }

std::string headText(PartialFile const &file)
{
    return sentence("{}: {}, read in part\n{}", printable(file.name()), plural(static_cast<std::int64_t>(file.size()), "byte"),
                    headerLine("Pool", sentence("{} {}", quoted(file.pool().poolName()), idText(file.pool().objectId()))));
}

std::string placeText(LoneObject const &lone) { return sentence("{} from byte {}", plural(lone.size, "byte"), lone.position); }

std::string membersText(std::vector<Member> const &members)
{
    std::size_t widest = 0;
    for (Member const &member : members)
        if (!member.value.empty())
            widest = std::max(widest, std::min(width(member.name), kWidestName));
    std::string text;
    for (Member const &member : members)
        text += sentence("    {}\n",
                         member.value.empty() ? member.name : sentence("{}  {}", padded(member.name, widest), member.value));
    return text;
}

void noteFault(PartialText &result, std::string const &fault)
{
    if (result.fault.empty())
        result.fault = fault;
}

/// The position of an object, or that it is not in the file.
std::string roleText(OKTDbObjectId const &id, LoneObject const &lone)
{
    if (lone.size < 0)
        return idText(id) + ", not in this file";
    std::string const &name = printable(lone.frame.className);
    return sentence("{}{}, {}", idText(id), name.empty() ? "" : ", " + name, placeText(lone));
}

std::string pictureText(LoneObject const &lone)
{
    auto *const picture = OKTDbPicture::cast(lone.object.get());
    if (picture == nullptr)
        return "";
    CByteArray image;
    picture->getPictureData(image);
    return sentence("    image of {}{}\n", plural(image.GetSize(), "byte"),
                    image.IsEmpty() ? "" : ", " + formatOf(image).text());
}

/// The client module with the class of an object, or advice if there is none.
std::string moduleText(LoneObject const &lone)
{
    if (lone.missing)
        return headerLine("Module", "the class needs a client module: " + helpFor(*lone.missing, ModulePlace::Path));
    return lone.module == nullptr ? "" : headerLine("Module", moduleLine(*lone.module, lone.frame.className));
}

} // namespace

PartialText describeIndex(PartialFile &file)
{
    PartialText result;
    result.text = headText(file);
    OKTDbObjectId const id = file.pool().indexId();
    if (id.isNull())
    {
        // The library's own reader takes the first object of such a file for the index (quirk 24).
        result.text += headerLine("Index", "no index");
        return result;
    }
    LoneObject const lone = file.read(id, "the index");
    result.text += headerLine("Index", roleText(id, lone));
    if (lone.object != nullptr)
        result.text += membersText(membersOf(*lone.object));
    else if (lone.frame.state == Frame::State::Whole && lone.frame.id && !lone.bytes.IsEmpty())
        result.text += membersText(recordsOf(lone.bytes));
    result.text += moduleText(lone);
    noteFault(result, lone.fault);
    return result;
}

PartialText describePictures(PartialFile &file)
{
    PartialText result;
    result.text = headText(file);
    IdArray const ids = file.pool().picturesId();
    for (OKTDbObjectId const &id : ids)
    {
        LoneObject const lone = file.read(id, "a picture");
        result.text += headerLine("Picture", roleText(id, lone)) + pictureText(lone) + moduleText(lone);
        noteFault(result, lone.fault);
    }
    if (ids.getSize() == 0)
        result.text += headerLine("Pictures", "none");
    return result;
}

} // namespace okt
