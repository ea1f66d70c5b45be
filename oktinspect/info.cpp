// SPDX-License-Identifier: MIT
#include <oktinspect/info.h>

#include <oktinspect/objectpass.h>

#include <oktformat/guids.h>
#include <oktformat/poolheader.h>

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

    PoolHeader const header = readPoolHeader(source, place.begin);
    fields.id = header.id;
    fields.name = header.name;
    fields.metricsFactor = header.factor;
    auto const add = [&fields](char const *role, HeaderReference const &reference) {
        if (!isSame(reference.id, kNoId))
            fields.named.push_back({role, reference.id, reference.position, reference.size, reference.hasPlace});
    };
    auto const addIf = [&add](char const *role, std::optional<HeaderReference> const &reference) {
        if (reference)
            add(role, *reference);
    };
    addIf("construct", header.construct);
    addIf("old picture", header.oldPicture);
    addIf("index", header.index);
    addIf("ppActions", header.ppActions);
    addIf("sketch", header.sketch);
    for (HeaderReference const &picture : header.pictures)
        add("picture", picture);
    addIf("radial", header.radialReinf);
    return fields;
}

/// Collects the sections that a class and its bases have in an object.
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
