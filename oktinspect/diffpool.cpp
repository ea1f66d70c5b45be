// SPDX-License-Identifier: MIT
#include <oktinspect/diffpool.h>

#include <oktformat/failure.h>
#include <oktformat/progress.h>
#include <oktformat/text.h>

#include <okttext/oktnotation.h>

#include <algorithm>
#include <utility>

namespace okt
{

namespace
{

using okttext::Bytes;
using okttext::Record;

/// The first text of the object or a base that is not empty.
std::string firstText(Record const &record)
{
    for (Record const &child : record.children)
    {
        if (child.type == RecordType::Text16 && !child.payload.empty())
        {
            std::string json;
            okttext::appendUnits(json, child.payload);
            return Json::parse('"' + json + '"').get<std::string>();
        }
        bool const isPart = child.isSection() || (child.isFrame() && record.isFrame());
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

/// The frame of the base class, which is the first record in the frame of a class.
Record const *baseOf(Record const &frame)
{
    return frame.children.empty() || !frame.children.front().isFrame() ? nullptr : &frame.children.front();
}

KnownClass kindOf(Record const &object)
{
    for (Record const *frame = &object; frame != nullptr; frame = baseOf(*frame))
        switch (KnownClass const known = knownClass(frame->payload))
        {
        case KnownClass::Parameter:
        case KnownClass::Category:
        case KnownClass::GroupCategory:
        case KnownClass::Relation:
        case KnownClass::ParamRelation:
        case KnownClass::Picture: return known;
        default: break;
        }
    return KnownClass::Other;
}

/// The frame of that class in the frame of an object of it or derived from it.
Record const *frameOf(Record const &object, KnownClass known)
{
    Record const *frame = &object;
    while (frame != nullptr && knownClass(frame->payload) != known)
        frame = baseOf(*frame);
    return frame;
}

bool hasOwnName(Record const &object, KnownClass kind)
{
    if (kind != KnownClass::Parameter && kind != KnownClass::Category)
        return false;
    Record const *const section = sectionOf(frameOf(object, kind), 1);
    if (section == nullptr)
        return false;
    auto const text = std::find_if(section->children.begin(), section->children.end(),
                                   [](Record const &child) { return child.type == RecordType::Text16; });
    return text != section->children.end() && !text->payload.empty();
}

} // namespace

Record const *sectionOf(Record const *frame, std::int32_t number)
{
    if (frame == nullptr)
        return nullptr;
    auto const found = std::find_if(frame->children.begin(), frame->children.end(),
                                    [number](Record const &child) { return child.isSection() && child.number == number; });
    return found == frame->children.end() ? nullptr : &*found;
}

DiffPool::DiffPool(std::string name, CByteArray image, Damage damage, OnProgress const &onProgress)
    : m_name(std::move(name)), m_image(std::move(image))
{
    if (m_image.IsEmpty())
    {
        m_isNothing = true;
        constexpr char const *kEmpty = "the file is empty";
        if (damage == Damage::Refused)
            throw Failure(m_name, "", kEmpty);
        m_faults.emplace_back(Failure(m_name, "", kEmpty).what());
        return;
    }
    std::string const shown = printable(std::string_view(m_name));
    {
        ProgressStep const step = ProgressStep::uncounted(onProgress, shown, bytes().size());
        takeApart(damage);
    }
    ProgressStep progress(onProgress, shown, bytes().size());
    m_objects.reserve(m_parts.objects.size());
    for (okttext::PoolPiece const &stretch : m_parts.objects)
    {
        progress.at(stretch.begin, m_objects.size());
        addObject(stretch);
    }
}

DiffPool DiffPool::unreadable(std::string name, std::string fault)
{
    DiffPool pool;
    pool.m_name = std::move(name);
    pool.m_faults.push_back(std::move(fault));
    pool.m_isNothing = true;
    return pool;
}

void DiffPool::takeApart(Damage damage)
{
    try
    {
        m_parts = okttext::takeApart(bytes());
        m_hasHeader = true;
    }
    catch (OKTTextFault const &fault)
    {
        if (damage == Damage::Refused)
            throw Failure(m_name, fault.place(), fault.reason);
        DamagedPool pool = takeApartDamaged(bytes(), fault);
        for (PoolFault const &found : pool.faults)
            m_faults.emplace_back(Failure(m_name, byteAt(found.byte), found.reason).what());
        m_isNothing = pool.isNothing();
        m_hasHeader = pool.hasHeader;
        m_parts = std::move(pool.parts);
    }
}

void DiffPool::addObject(okttext::PoolPiece const &stretch)
{
    DiffObject &object = m_objects.emplace_back();
    object.stretch = stretch;
    if (!stretch.isObject)
        return;
    Record const record = recordOf(object);
    object.className = classNameOf(record);
    object.name = firstText(record);
    object.kind = kindOf(record);
    object.isNamed = hasOwnName(record, object.kind);
    if (!stretch.id.empty() && !object.name.empty())
        m_named.emplace(okttext::guidText(stretch.id), m_objects.size() - 1);
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

std::vector<std::string> DiffPool::listOf(DiffObject const &object) const
{
    std::vector<std::string> ids;
    Record const record = recordOf(object);
    Record const *const section = sectionOf(frameOf(record, object.kind), 1);
    if (section == nullptr)
        return ids;
    // The count of the list is the last number in the section. Ids before it are other members.
    for (Record const &child : section->children)
    {
        if (child.type == RecordType::Long)
            ids.clear();
        else if (std::string id = okttext::idOf(child); !id.empty())
            ids.push_back(std::move(id));
    }
    return ids;
}

std::string DiffPool::titleOf(DiffObject const &object) const
{
    if (!object.stretch.isObject)
        return plural(static_cast<std::int64_t>(object.stretch.end - object.stretch.begin), "byte") + " that are no object";
    std::string title = printable(std::string_view(object.className));
    if (!object.stretch.id.empty())
        title += " " + okttext::guidText(object.stretch.id);
    if (!object.name.empty())
        title += " " + excerpt(object.name);
    return title;
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
    if (!m_hasHeader)
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
