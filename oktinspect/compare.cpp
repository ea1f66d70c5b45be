// SPDX-License-Identifier: MIT
#include <oktinspect/compare.h>

#include <oktinspect/pooldiff.h>
#include <oktinspect/reportcollector.h>

#include <oktformat/fileread.h>

#include <cstring>

namespace okt
{

namespace
{

ComparedObject objectOf(DiffPool const &pool, std::size_t place)
{
    DiffObject const &object = pool.objects()[place];
    ComparedObject result;
    result.className = object.className;
    result.name = object.name;
    result.begin = static_cast<std::int64_t>(object.stretch.begin);
    result.size = static_cast<std::int64_t>(object.stretch.end) - result.begin;
    if (object.stretch.id.size() == sizeof(_GUID))
        std::memcpy(&result.id.emplace(), object.stretch.id.data(), sizeof(_GUID));
    return result;
}

std::optional<std::string> valueOf(Json const &entry)
{
    if (entry.is_null())
        return std::nullopt;
    return entry.dump(-1, ' ', false, Json::error_handler_t::replace);
}

std::vector<ComparedMember> membersOf(std::vector<MemberChange> const &changes)
{
    std::vector<ComparedMember> members;
    members.reserve(changes.size());
    for (MemberChange const &change : changes)
        members.push_back({change.member, valueOf(change.before), valueOf(change.after)});
    return members;
}

Comparison comparePools(DiffPool const &first, DiffPool const &second, CompareOptions const &options)
{
    PoolDiff const diff = compare(first, second, options.by, options.onProgress);
    Comparison result;
    result.header = membersOf(diff.header);
    for (std::size_t const place : diff.removed)
        result.removed.push_back(objectOf(first, place));
    for (std::size_t const place : diff.added)
        result.added.push_back(objectOf(second, place));
    for (ObjectChange const &change : diff.changed)
        result.changed.push_back({objectOf(first, change.first), objectOf(second, change.second), membersOf(change.members)});
    result.same = diff.same;
    result.isOtherOrder = diff.isOtherOrder;
    result.firstFaults = first.faults();
    result.secondFaults = second.faults();
    return result;
}

DiffPool poolOf(std::string const &name, CByteArray image, CompareOptions const &options)
{
    return {name, std::move(image), options.toleratesDamage ? Damage::Told : Damage::Refused, options.onProgress};
}

} // namespace

Comparison compare(std::string_view first, std::string_view second, CompareOptions const &options)
{
    ReportCollector const collector; // if an object cannot be read, only the names of its members are missing
    DiffPool const before = poolOf(options.firstName, okttext::arrayOf(first), options);
    DiffPool const after = poolOf(options.secondName, okttext::arrayOf(second), options);
    return comparePools(before, after, options);
}

Comparison compareFiles(std::filesystem::path const &first, std::filesystem::path const &second, CompareOptions const &options)
{
    ReportCollector const collector;
    DiffPool const before = poolOf(inputName(first), readInput(first, options.onProgress), options);
    DiffPool const after = poolOf(inputName(second), readInput(second, options.onProgress), options);
    return comparePools(before, after, options);
}

} // namespace okt
