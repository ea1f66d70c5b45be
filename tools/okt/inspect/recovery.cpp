#include "recovery.h"

#include "libraryread.h"

#include "../guids.h"
#include "../objectread.h"
#include "../progress.h"
#include "../text.h"

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

std::string asText(CByteArray const &bytes)
{
    return {reinterpret_cast<char const *>(bytes.GetData()), static_cast<std::size_t>(bytes.GetSize())};
}

/// The fields of a header as far as they can be read.
struct HeaderFields
{
    std::optional<_GUID> pool;
    std::optional<_GUID> construct;
    std::optional<_GUID> index;
    std::optional<CString> name;
    std::optional<double> factor;
    std::optional<_GUID> ppActions;
    std::optional<_GUID> sketch;
    std::optional<_GUID> radial;
    std::vector<_GUID> pictures;
    int pictureCount = -1;
};

void takeField(HeaderFields &fields, ByteSource &source, StoredValue const &value)
{
    using Kind = StoredValue::Kind;
    bool const isId = value.kind == Kind::Id && value.isComplete;
    int const place = 100 * value.section + value.ordinal;
    if (place == 100 && isId)
        fields.pool = value.id;
    else if (place == 101 && isId)
        fields.construct = value.id;
    else if (place == 107 && isId)
        fields.index = value.id;
    else if (place == 110 && value.kind == Kind::Text16)
        fields.name = textOf(source, value);
    else if (place == 200 && value.kind == Kind::Double)
        fields.factor = value.reals.front();
    else if (place == 300 && isId)
        fields.ppActions = value.id;
    else if (place == 400 && isId)
        fields.sketch = value.id;
    else if (place == 500 && value.kind == Kind::Long)
        fields.pictureCount = value.number;
    else if (value.section == 5 && value.ordinal > 0 && isId)
        fields.pictures.push_back(value.id);
    else if (place == 600 && isId)
        fields.radial = value.id;
}

/// The first section of that number in what is left of a header.
void takeSection(HeaderFields &fields, std::string_view remains, char section)
{
    static constexpr std::string_view kFrameBegin("\x06\x05\x09\x00OKTDbPool\x02\x06\x00\x00\x00", 18);
    static constexpr std::string_view kId("\x06\x05\x0B\x00OKTObjectId", 15);
    std::string begin("\x08\x02\x00\x00\x00\x00", 6);
    begin[2] = section;
    begin += section == 2 ? std::string_view("\x03", 1) : section == 5 ? std::string_view("\x02", 1) : kId;
    std::size_t const at = remains.find(begin);
    if (at == std::string_view::npos)
        return;
    std::string const bytes = std::string(kFrameBegin) + std::string(remains.substr(at));
    ByteSource source{std::string_view(bytes)};
    ValueWalk walk(source, 0);
    while (walk.next() && walk.oddAt() < 0 && walk.value().section == section)
        takeField(fields, source, walk.value());
}

} // namespace

Recovery::Recovery(ByteSource &source) : m_source(source), m_header(findHeader(source))
{
    if (m_header.isWhole)
    {
        m_header.fault = libraryHeaderFault(source, m_header);
        m_header.isWhole = m_header.fault.empty();
        m_header.faultAt = m_header.begin;
    }
    if (!m_header.isWhole)
        m_losses.push_back({m_header.begin, m_header.end, m_header.faultAt, m_header.fault, "", false});
    ObjectScan scan(source, m_header.end);
    bool isFirst = true;
    Progress progress("looking for objects", static_cast<std::uintmax_t>(source.size()));
    while (std::optional<Stretch> const stretch = scan.next())
    {
        progress.at(static_cast<std::uintmax_t>(stretch->end), m_objects.size());
        // What is left of a damaged header.
        if (isFirst && !m_header.isWhole && stretch->kind != Stretch::Kind::Object)
            m_losses.back().end = stretch->end;
        else if (stretch->kind == Stretch::Kind::Object)
            take(*stretch);
        else
            noteLoss(*stretch, stretch->fault(), stretch->kind != Stretch::Kind::Gap);
        isFirst = false;
    }
    placeObjects();
}

void Recovery::placeObjects()
{
    std::stable_partition(m_objects.begin(), m_objects.end(), [](Object const &object) { return object.isKnown; });
    std::int64_t position = 0;
    for (Object const &object : m_objects)
    {
        if (!object.id.empty())
            m_places[object.id] = {position, object.size};
        position += object.size;
    }
}

void Recovery::noteLoss(Stretch const &stretch, std::string const &what, bool isObject)
{
    std::string object;
    if (isObject && stretch.id)
        object = idText(*stretch.id);
    if (isObject && !stretch.name.IsEmpty())
        object += (object.empty() ? "" : " ") + quoted(stretch.name);
    m_losses.push_back({stretch.begin, stretch.end, stretch.faultAt, what, std::move(object), isObject});
}

void Recovery::take(Stretch const &stretch)
{
    Stretch lost = stretch;
    lost.faultAt = stretch.begin;
    if (stretch.id && m_places.count(keyOf(*stretch.id)) != 0)
        return noteLoss(lost, "the id " + idText(*stretch.id) + " of this object is in the file already", true);
    if (std::string const fault = libraryReadFault(m_source, stretch); !fault.empty())
        return noteLoss(lost, "damaged: " + fault, true);
    if (stretch.id)
    {
        m_places[keyOf(*stretch.id)] = {};
        if (hasClass(stretch, u"OKTDbConstruct"))
            m_constructs.push_back(*stretch.id);
        if (hasClass(stretch, u"OKTDbIndexData"))
            m_indexes.push_back(*stretch.id);
        if (stretch.isOf(KnownClass::Picture))
            m_pictures.push_back(*stretch.id);
    }
    bool const isKnown = isRegistered(stretch.className());
    m_unknown += isKnown ? 0 : 1;
    m_objects.push_back({stretch.begin, stretch.size(), isKnown, stretch.id ? keyOf(*stretch.id) : std::string()});
    if (m_header.isWhole || !stretch.isOf(KnownClass::Parameter))
        return;
    ValueWalk walk(m_source, stretch.begin);
    while (walk.next())
        if (StoredValue const &value = walk.value(); value.owner == KnownClass::Parameter && value.section == 1 &&
                                                     value.ordinal == 5 && value.kind == StoredValue::Kind::Id)
            ++m_owners[keyOf(value.id)];
}

/// The header as it is; only the places and sizes of objects, two numbers behind an id, are counted anew.
std::string Recovery::keptHeader()
{
    std::string bytes = m_source.copy(m_header.begin, m_header.end - m_header.begin);
    ByteSource header{std::string_view(bytes)};
    std::vector<std::pair<std::int64_t, std::int64_t>> numbers;
    ValueWalk walk(header, 0);
    _GUID id = kNoId;
    int behindId = -1;
    int sectionOfId = 0;
    while (walk.next())
    {
        StoredValue const &value = walk.value();
        if (value.kind == StoredValue::Kind::Id)
        {
            id = value.id;
            behindId = 0;
            sectionOfId = value.section;
        }
        else if (value.kind == StoredValue::Kind::Long && value.nested == 0 && (value.section == 1 || value.section == 5) &&
                 value.section == sectionOfId && behindId >= 0 && behindId < 2)
        {
            auto const place = m_places.find(keyOf(id));
            bool const isThere = place != m_places.end();
            numbers.emplace_back(value.payload, !isThere ? -1 : behindId == 0 ? place->second.position : place->second.size);
            ++behindId;
        }
        else
        {
            behindId = -1;
        }
    }
    for (auto const &[at, number] : numbers)
        putLong(bytes, static_cast<std::size_t>(at), number);
    return bytes;
}

/// A header of the fields that can still be read, and of what the objects tell.
std::string Recovery::newHeader()
{
    // Sections are looked for one by one, each by how it begins; what stands in front of a fault in it counts.
    std::int64_t headerEnd = m_losses.front().end;
    std::string const remains = m_source.copy(0, std::min<std::int64_t>(headerEnd, kLargestHeader));
    HeaderFields fields;
    for (char section = 1; section <= 6; ++section)
        takeSection(fields, remains, section);

    auto const note = [this](std::string const &text) { m_headerNotes.push_back(text); };
    if (!fields.pool)
    {
        int most = 0;
        for (auto const &[owner, times] : m_owners)
            if (times > most && !isSame(guidOf(owner), kNoId) && m_places.count(owner) == 0)
            {
                most = times;
                fields.pool = guidOf(owner);
            }
        note(fields.pool ? "the id of the pool is taken from the owner of its parameters, " + idText(*fields.pool)
                         : std::string("the id of the pool is lost, it gets a new one"));
    }
    if (!fields.name)
        note("the name of the pool is lost");
    if (!fields.construct)
    {
        fields.construct = m_constructs.empty() ? kNoId : m_constructs.back();
        if (!m_constructs.empty())
            note("the construct is found by its class, " + idText(*fields.construct));
    }
    if (!fields.index)
    {
        fields.index = m_indexes.empty() ? kNoId : m_indexes.back();
        if (!m_indexes.empty())
            note("the index is found by its class, " + idText(*fields.index));
    }
    if (fields.pictureCount < 0 || static_cast<int>(fields.pictures.size()) != fields.pictureCount)
    {
        std::size_t const known = fields.pictures.size();
        for (_GUID const &picture : m_pictures)
            if (std::none_of(fields.pictures.begin(), fields.pictures.end(),
                             [&picture](_GUID const &listed) { return isSame(listed, picture); }))
                fields.pictures.push_back(picture);
        if (fields.pictures.size() != known)
            note("the list of pictures ends in " + std::to_string(fields.pictures.size() - known) +
                 " found by their class, in the order of the file");
    }
    if (!fields.ppActions || !fields.sketch || !fields.radial)
    {
        std::string lost = !fields.ppActions ? "ppActions" : "";
        lost += !fields.sketch ? (lost.empty() ? "sketch" : ", sketch") : "";
        lost += !fields.radial ? (lost.empty() ? "radial reinforcement" : ", radial reinforcement") : "";
        note("the ids of these are lost: " + lost);
    }

    OKTDbPool pool;
    if (fields.pool)
        pool.setObjectId(toId(*fields.pool));
    pool.setPoolName(fields.name.value_or(CString()));
    pool.setMetricsFactor(fields.factor.value_or(1.0));
    pool.setConstructId(toId(*fields.construct));
    pool.setIndexId(toId(*fields.index));
    pool.setPPActionsId(toId(fields.ppActions.value_or(kNoId)));
    pool.setSketchId(toId(fields.sketch.value_or(kNoId)));
    pool.setRadialReinfId(toId(fields.radial.value_or(kNoId)));
    IdArray pictures;
    for (_GUID const &picture : fields.pictures)
        pictures.append(toId(picture));
    pool.setPicturesIds(pictures);
    InfoMap places;
    for (auto const &[id, place] : m_places)
    {
        OKTDbPool::_ObjectInfo info;
        info.nObjectPosition = static_cast<int>(place.position);
        info.nObjectSize = static_cast<int>(place.size);
        places[toId(guidOf(id))] = info;
    }
    OKTMemoryFiler filer;
    pool.xmlOut(&filer, places);
    CByteArray bytes;
    filer.saveFiler(bytes);
    return asText(bytes);
}

void Recovery::write(std::function<void(std::string_view)> const &sink)
{
    m_headerNotes.clear();
    std::string const header = m_header.isWhole ? keptHeader() : newHeader();
    std::string length(5, static_cast<char>(RecordType::Long));
    putLong(length, 1, static_cast<std::int64_t>(header.size()));
    sink(length);
    sink(header);
    for (Object const &object : m_objects)
        for (std::int64_t at = 0; at < object.size;)
        {
            std::string_view const piece =
                m_source.look(object.begin + at, static_cast<std::size_t>(std::min<std::int64_t>(
                                                     object.size - at, static_cast<std::int64_t>(ByteSource::kWidestLook))));
            sink(piece);
            at += static_cast<std::int64_t>(piece.size());
        }
}

} // namespace okt
