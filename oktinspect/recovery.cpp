// SPDX-License-Identifier: MIT
#include <oktinspect/recovery.h>

#include <oktinspect/findingtext.h>
#include <oktinspect/headercheck.h>
#include <oktinspect/libraryread.h>
#include <oktinspect/rescuedheader.h>

#include <oktformat/guids.h>
#include <oktformat/progress.h>
#include <oktinspect/objectread.h>

#include <oktdatabase/oktdatabase.h>

#include <algorithm>
#include <cstring>

namespace okt
{

namespace
{

// A header of ten thousand pictures has less than a megabyte.
constexpr std::int64_t kLargestHeader = 1 << 24;

std::string keyOf(_GUID const &id)
{
    std::string key(sizeof id, '\0');
    std::memcpy(key.data(), &id, sizeof id);
    return key;
}

_GUID guidOf(std::string const &key)
{
    _GUID id;
    std::memcpy(&id, key.data(), sizeof id);
    return id;
}

void putLong(std::string &bytes, std::size_t at, std::int64_t value)
{
    for (std::size_t i = 0; i < 4; ++i)
        bytes[at + i] = static_cast<char>(static_cast<std::uint64_t>(value) >> (8 * i));
}

bool hasClass(Stretch const &stretch, char16_t const *name)
{
    return std::any_of(stretch.classNames.begin(), stretch.classNames.end(),
                       [name](std::string const &each) { return CString(each.c_str()).CompareNoCase(CString(name)) == 0; });
}

/// Damaged bytes are what is left of an object, not of one of its values.
bool isOfObject(Stretch const &fault)
{
    return fault.kind != Stretch::Kind::Gap &&
           (fault.classNames.empty() || !isValueClass(knownClass(fault.classNames.front())));
}

/// Its class is one without members of its own.
bool isBare(Stretch const &object)
{
    KnownClass const known = object.classNames.empty() ? KnownClass::Other : knownClass(object.classNames.front());
    return known == KnownClass::Object || known == KnownClass::Relation;
}

} // namespace

ObjectLabel labelOf(Stretch const &stretch) { return {stretch.id, stretch.name}; }

Recovery::Recovery(ByteSource &source, OnProgress const &onProgress)
    : m_source(source), m_header(findHeader(source)), m_file(source)
{
    Finding headerFault = makeFinding(Finding::What::HeaderDamaged, m_header.faultAt, {{"fault", m_header.fault}});
    if (m_header.isWhole)
        if (std::optional<Finding> const unread = libraryHeaderFault(source, m_header))
        {
            headerFault = *unread;
            m_header.isWhole = false;
            m_header.fault = sentenceOf(*unread);
            m_header.faultAt = m_header.begin;
        }
    if (!m_header.isWhole)
        m_losses.push_back({m_header.begin, m_header.end, std::move(headerFault), {}, false});
    ObjectScan scan(source, m_header.end);
    ProgressStep progress(onProgress, "looking for objects", static_cast<std::uintmax_t>(source.size()));
    bool isFirst = true;
    bool isBehindFault = !m_header.isWhole;
    for (std::optional<Stretch> stretch = scan.next(), following; stretch; stretch = std::move(following))
    {
        following = scan.next();
        progress.at(static_cast<std::uintmax_t>(stretch->end), m_objects.size());
        bool const isObject = stretch->kind == Stretch::Kind::Object;
        // What is left of a damaged header.
        if (isFirst && !m_header.isWhole && !isObject)
            m_losses.back().end = stretch->end;
        else if (!isObject)
            noteLoss(
                *stretch,
                makeFinding(stretch->kind == Stretch::Kind::Gap ? Finding::What::ForeignBytes : Finding::What::ObjectDamaged,
                            stretch->faultAt, {{"fault", stretch->fault()}}),
                isOfObject(*stretch));
        else if (isBare(*stretch) && ((isBehindFault && !endsFrame(stretch->begin)) || goesOn(following)))
            takeRemnant(*stretch);
        else
            take(*stretch);
        isFirst = false;
        isBehindFault = !isObject;
    }
    placeObjects();
    makeFile();
}

void Recovery::placeObjects()
{
    std::stable_partition(m_objects.begin(), m_objects.end(), [](Object const &object) { return object.isKnown; });
    std::int64_t position = 0;
    for (Object const &object : m_objects)
    {
        if (object.id)
            m_places[keyOf(*object.id)] = {position, object.size, object.begin};
        position += object.size;
    }
}

void Recovery::noteLoss(Stretch const &stretch, Finding why, bool isObject)
{
    if (isObject)
    {
        why.object = stretch.begin;
        why.id = stretch.id;
    }
    m_losses.push_back({stretch.begin, stretch.end, std::move(why), isObject ? labelOf(stretch) : ObjectLabel(), isObject});
}

/// The end of a frame stands in front of a place, as it does in front of every object.
bool Recovery::endsFrame(std::int64_t at) { return m_source.at(at - 1) == static_cast<int>(RecordType::FrameEnd); }

/// What follows an object is the rest of another one.
bool Recovery::goesOn(std::optional<Stretch> const &following)
{
    return following && following->kind != Stretch::Kind::Object && m_source.look(following->begin, 2) != "\x06\x05";
}

/// An object without contents, beside damaged bytes: the frames of these classes stand in those of others, too. Of OKTDbObject
/// nothing but the id would come back, with a class that what names it does not mean.
void Recovery::takeRemnant(Stretch const &stretch)
{
    if (knownClass(stretch.classNames.front()) == KnownClass::Relation)
        return take(stretch, true);
    noteLoss(stretch, makeFinding(Finding::What::BaseAlone, stretch.begin), true);
}

void Recovery::take(Stretch const &stretch, bool isRemnant)
{
    if (stretch.id && m_places.count(keyOf(*stretch.id)) != 0)
        return noteLoss(stretch, makeFinding(Finding::What::IdTaken, stretch.begin, {{"id", *stretch.id}}), true);
    if (std::optional<Finding> const fault = libraryReadFault(m_source, stretch))
        return noteLoss(stretch, *fault, true);
    if (stretch.id)
    {
        m_places[keyOf(*stretch.id)] = {};
        if (hasClass(stretch, u"OKTDbConstruct"))
            m_construct = *stretch.id;
        if (hasClass(stretch, u"OKTDbIndexData"))
            m_index = *stretch.id;
        if (stretch.isOf(KnownClass::Picture))
            m_pictures.push_back(*stretch.id);
    }
    bool const isKnown = isRegistered(stretch.className());
    m_unknown += isKnown ? 0 : 1;
    m_objects.push_back({stretch.begin, stretch.size(), isKnown, stretch.id, isRemnant});
    if (m_header.isWhole || !stretch.isOf(KnownClass::Parameter))
        return;
    ValueWalk walk(m_source, stretch.begin);
    while (walk.next())
        if (StoredValue const &value = walk.value(); value.owner == KnownClass::Parameter && value.section == 1 &&
                                                     value.ordinal == 5 && value.kind == StoredValue::Kind::Id)
            ++m_owners[keyOf(value.id)];
}

/// What the header says of a place in the damaged file, where it is not so.
void Recovery::mendPlace(StoredValue const &id, std::int32_t position, std::int32_t size)
{
    if (isSame(id.id, kNoId))
    {
        if (position != -1 || size != -1)
            m_mends.push_back(
                makeFinding(Finding::What::PlaceOfNone, id.begin + m_header.begin, {{"role", roleName(headerRole(id))}}));
        return;
    }
    auto const place = m_places.find(keyOf(id.id));
    if (place == m_places.end())
        return;
    if (std::optional<Finding> fault = placeFault(m_header, id, position, size, place->second.begin, place->second.size))
    {
        fault->offset += m_header.begin; // the header was walked as bytes of its own
        m_mends.push_back(std::move(*fault));
    }
}

/// The header as it is; only the places and sizes of objects, two numbers behind an id, are counted anew.
std::string Recovery::keptHeader()
{
    if (std::optional<Finding> const fault = headerSizeFault(m_header))
        m_mends.push_back(*fault);
    std::string bytes = m_source.copy(m_header.begin, m_header.end - m_header.begin);
    ByteSource header{std::string_view(bytes)};
    std::vector<std::pair<std::int64_t, std::int64_t>> numbers;
    HeaderWalk walk(header, 0);
    while (walk.next())
    {
        if (!walk.isPosition() && !walk.isSize())
            continue;
        auto const place = m_places.find(keyOf(walk.id().id));
        // An object without an id has no place there, and is not what a role without an id names.
        bool const isThere = place != m_places.end() && !isSame(walk.id().id, kNoId);
        numbers.emplace_back(walk.value().payload, !isThere            ? -1
                                                   : walk.isPosition() ? place->second.position
                                                                       : place->second.size);
        if (walk.isSize())
            mendPlace(walk.id(), walk.position(), walk.value().number);
    }
    for (auto const &[at, number] : numbers)
        putLong(bytes, static_cast<std::size_t>(at), number);
    return bytes;
}

/// A header of the fields that can still be read, and of what the objects tell.
std::string Recovery::newHeader()
{
    HeaderHints hints;
    int most = 0;
    for (auto const &[owner, times] : m_owners)
        if (times > most && !isSame(guidOf(owner), kNoId) && m_places.count(owner) == 0)
        {
            most = times;
            hints.owner = guidOf(owner);
        }
    hints.construct = m_construct;
    hints.index = m_index;
    hints.pictures = m_pictures;
    InfoMap places;
    for (auto const &[id, place] : m_places)
    {
        if (isSame(guidOf(id), kNoId)) // as in keptHeader
            continue;
        OKTDbPool::_ObjectInfo info;
        info.nObjectPosition = static_cast<int>(place.position);
        info.nObjectSize = static_cast<int>(place.size);
        places[toId(guidOf(id))] = info;
    }
    RescuedHeader rescued =
        rescueHeader(m_source.copy(0, std::min<std::int64_t>(m_losses.front().end, kLargestHeader)), hints, places);
    m_headerNotes = std::move(rescued.notes);
    return std::move(rescued.bytes);
}

void Recovery::makeFile()
{
    std::string const header = m_header.isWhole ? keptHeader() : newHeader();
    std::string head(5, static_cast<char>(RecordType::Long));
    putLong(head, 1, static_cast<std::int64_t>(header.size()));
    m_file.setHead(head + header);
    for (Object const &object : m_objects)
        m_file.add(object.begin, object.size);
}

void Recovery::write(std::function<void(std::string_view)> const &sink)
{
    for (std::int64_t at = 0; at < m_file.size();)
    {
        std::string_view const piece = m_file.look(at, ByteSource::kWidestLook);
        sink(piece);
        at += static_cast<std::int64_t>(piece.size());
    }
}

} // namespace okt
