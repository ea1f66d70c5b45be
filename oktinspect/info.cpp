#include <oktinspect/info.h>

#include <oktinspect/objectpass.h>

#include <oktformat/guids.h>
#include <oktformat/valuewalk.h>

#include <algorithm>

namespace okt
{

namespace
{

using Kind = StoredValue::Kind;

HeaderInfo readHeader(ByteSource &source, HeaderPlace const &place)
{
    HeaderInfo fields;
    RecordWalk records(source, place.begin);
    while (records.next())
        if (records.record().type == RecordType::SectionBegin && records.open().size() == 2)
            fields.sections.push_back(records.record().number);

    static std::map<std::int64_t, std::string> const kRoles = {{101, "construct"}, {104, "old picture"}, {107, "index"},
                                                               {300, "ppActions"}, {400, "sketch"},      {600, "radial"}};
    ValueWalk walk(source, place.begin);
    int numbers = 2; // behind an id its position, then its size
    while (walk.next())
    {
        StoredValue const &value = walk.value();
        std::int64_t const member = std::int64_t{100} * value.section + value.ordinal; // a damaged section may be any number
        if (value.nested > 0)
            continue;
        if (value.kind == Kind::Id)
        {
            numbers = 0;
            auto const known = kRoles.find(member);
            if (member == 100)
                fields.id = value.id;
            else if (known != kRoles.end() || value.section == 5)
                fields.named.push_back({known != kRoles.end() ? known->second : "picture", value.id});
        }
        else if (value.kind == Kind::Long && numbers < 2 && !fields.named.empty() && (value.section == 1 || value.ordinal > 0))
        {
            NamedObject &role = fields.named.back();
            (numbers == 0 ? role.position : role.size) = value.number;
            role.hasPlace = true;
            ++numbers;
        }
        else if (member == 110 && value.kind == Kind::Text16)
            fields.name = textOf(source, value);
        else if (member == 200 && value.kind == Kind::Double)
            fields.metricsFactor = value.reals.front();
    }
    std::erase_if(fields.named, [](NamedObject const &role) { return isSame(role.id, kNoId); });
    return fields;
}

/// Which sections a class and its bases have in an object.
void noteSections(ByteSource &source, Stretch const &object, ClassCount &count)
{
    RecordWalk walk(source, object.begin);
    std::vector<std::string> levels;
    bool isBase = true;
    while (walk.next())
    {
        RecordPlace const &record = walk.record();
        std::vector<RecordWalk::Level> const &open = walk.open();
        if (record.type == RecordType::FrameBegin)
        {
            bool const inSection = std::any_of(open.begin(), open.end(), [](RecordWalk::Level const &level) {
                return level.type == RecordType::SectionBegin;
            });
            isBase = !inSection;
            if (isBase)
                levels.emplace_back(source.look(record.payload, static_cast<std::size_t>(record.payloadSize)));
        }
        else if (record.type == RecordType::SectionBegin && open.size() == levels.size() + 1 && !levels.empty())
        {
            count.sections[levels.back()].insert(record.number);
        }
        else if (record.type == RecordType::FrameEnd && open.size() + 1 == levels.size())
        {
            levels.pop_back();
        }
    }
}

} // namespace

PoolInfo info(ByteSource &source, InfoOptions const &options)
{
    PoolInfo result;
    result.size = source.size();
    result.header = findHeader(source);
    if (result.header.isWhole)
        result.fields = readHeader(source, result.header);
    result.hasObjects = !options.headerOnly;
    if (options.headerOnly)
    {
        if (!result.header.isWhole)
            result.faults.push_back(headerFinding(result.header));
        return result;
    }
    passObjects(
        source, result.header, options.name, options.onProgress,
        [&](Stretch const &object) {
            ClassCount &count = result.classes[object.className().ToUtf8()];
            ++count.objects;
            count.bytes += object.size();
            noteSections(source, object, count);
            ++result.objects;
            result.objectBytes += object.size();
        },
        [&](Finding const &fault) { result.faults.push_back(fault); });
    return result;
}

} // namespace okt
