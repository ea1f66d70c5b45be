#include "diffpool.h"

#include <tools/okt/failure.h>
#include <tools/okt/progress.h>
#include <tools/okt/text.h>

#include <okttext/oktnotation.h>

#include <utility>

namespace okt
{

namespace
{

using okttext::Bytes;
using okttext::Record;

/// The first text that is not empty and stands in the object itself or a base.
std::string firstText(Record const &record)
{
    for (Record const &child : record.children)
    {
        if (child.kind == Record::Kind::String16 && !child.payload.empty())
        {
            std::string json;
            okttext::appendUnits(json, child.payload);
            return Json::parse('"' + json + '"').get<std::string>();
        }
        bool const isPart =
            child.kind == Record::Kind::Section || (child.kind == Record::Kind::Frame && record.kind == Record::Kind::Frame);
        if (!isPart)
            continue;
        if (std::string text = firstText(child); !text.empty())
            return text;
    }
    return "";
}

std::string classNameOf(Record const &frame)
{
    std::string json;
    okttext::appendNarrow(json, frame.payload);
    return Json::parse('"' + json + '"').get<std::string>();
}

} // namespace

DiffPool::DiffPool(std::string name, CByteArray image) : m_name(std::move(name)), m_image(std::move(image))
{
    if (m_image.IsEmpty())
        throw Failure(m_name, "", "the file is empty");
    try
    {
        std::string const shown = printable(std::string_view(m_name));
        {
            Waiting const waiting(shown, bytes().size());
            m_parts = okttext::takeApart(bytes());
        }
        Progress progress(shown, bytes().size());
        m_objects.reserve(m_parts.objects.size());
        for (okttext::Stretch const &stretch : m_parts.objects)
        {
            progress.at(stretch.begin, m_objects.size());
            DiffObject &object = m_objects.emplace_back();
            object.stretch = stretch;
            if (!stretch.isObject)
                continue;
            Record const record = recordOf(object);
            object.className = classNameOf(record);
            object.name = firstText(record);
            if (!stretch.id.empty() && !object.name.empty())
                m_named.emplace(okttext::guidText(stretch.id), m_objects.size() - 1);
        }
    }
    catch (OKTTextFault const &fault)
    {
        throw Failure(m_name, fault.place(), fault.reason);
    }
}

Bytes DiffPool::bytes() const
{
    return {reinterpret_cast<char const *>(m_image.GetData()), static_cast<std::size_t>(m_image.GetSize())};
}

Bytes DiffPool::bytesOf(DiffObject const &object) const
{
    return bytes().substr(object.stretch.begin, object.stretch.end - object.stretch.begin);
}

Record DiffPool::recordOf(DiffObject const &object) const
{
    return object.stretch.isObject ? okttext::parseRecord(bytes(), object.stretch.begin) : Record();
}

Json DiffPool::textOf(DiffObject const &object) const
{
    std::string text;
    okttext::TextWriter writer(bytes(), [&text](std::string_view piece) { text += piece; }, {});
    writer.beginDocument();
    writer.beginList("objects");
    if (object.stretch.isObject)
    {
        Record frame = recordOf(object);
        okttext::nameObject(frame, bytes());
        writer.record(frame);
    }
    else
        writer.raw(bytesOf(object));
    writer.endList();
    writer.endDocument();
    return Json::parse(text)["objects"][0];
}

Json DiffPool::textOfHeader() const
{
    if (!exists())
        return Json::object();
    std::string text;
    okttext::TextWriter writer(bytes(), [&text](std::string_view piece) { text += piece; }, {});
    writer.beginDocument();
    Record frame = m_parts.header;
    okttext::nameHeader(frame, bytes());
    writer.header(frame, m_parts.places);
    writer.endDocument();
    return Json::parse(text)["header"];
}

std::string DiffPool::nameOf(std::string const &guid) const
{
    auto const found = m_named.find(guid);
    return found == m_named.end() ? "" : m_objects[found->second].name;
}

} // namespace okt
