// SPDX-License-Identifier: MIT
#include <oktformat/valuewalk.h>

#include <array>
#include <bit>
#include <cstring>

namespace okt
{

namespace
{

using Kind = StoredValue::Kind;

struct NamedClass
{
    std::string_view name; ///< in lower case
    KnownClass known;
};

constexpr std::array<NamedClass, 11> kClasses = {{{"oktdbpool", KnownClass::Pool},
                                                  {"oktdbobject", KnownClass::Object},
                                                  {"oktdbparameter", KnownClass::Parameter},
                                                  {"oktdbcategory", KnownClass::Category},
                                                  {"oktdbgroupcategory", KnownClass::GroupCategory},
                                                  {"oktdbrelation", KnownClass::Relation},
                                                  {"oktdbparamrelation", KnownClass::ParamRelation},
                                                  {"oktdbpicture", KnownClass::Picture},
                                                  {"oktobjectid", KnownClass::Id},
                                                  {"oktvariant", KnownClass::Variant},
                                                  {"oktgexyz", KnownClass::Point}}};

bool isSame(std::string_view name, std::string_view lower)
{
    if (name.size() != lower.size())
        return false;
    for (std::size_t i = 0; i < name.size(); ++i)
    {
        char const c = name[i];
        if ((c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c) != lower[i])
            return false;
    }
    return true;
}

double realAt(ByteSource &source, std::int64_t payload)
{
    std::string_view const bytes = source.look(payload, 8);
    std::uint64_t const low = littleEndian(bytes.substr(0, 4));
    std::uint64_t const high = littleEndian(bytes.substr(4));
    return std::bit_cast<double>(low | (high << 32));
}

} // namespace

KnownClass knownClass(std::string_view name)
{
    for (NamedClass const &known : kClasses)
        if (isSame(name, known.name))
            return known.known;
    return KnownClass::Other;
}

bool isValueClass(KnownClass known)
{
    return known == KnownClass::Id || known == KnownClass::Variant || known == KnownClass::Point;
}

bool ValueWalk::next()
{
    while (m_walk.next())
    {
        RecordPlace const &record = m_walk.record();
        std::size_t const depth = m_walk.open().size();
        if (m_oddAt < 0 && m_walk.oddity() != nullptr)
        {
            m_oddAt = record.begin;
            m_oddity = m_walk.oddity();
        }
        switch (record.type)
        {
        case RecordType::FrameBegin:
            if (m_collectDepth == 0 && beginFrame(record))
                return true;
            break;
        case RecordType::SectionBegin:
            if (m_collectDepth == 0 && m_nestedDepth == 0 && !m_levels.empty())
            {
                m_levels.back().section = record.number;
                m_levels.back().ordinal = 0;
            }
            break;
        case RecordType::SectionEnd: break;
        case RecordType::FrameEnd:
            if (m_collectDepth != 0)
            {
                if (depth >= m_collectDepth)
                    break;
                m_collectDepth = 0;
                finishCollected(record);
                return true;
            }
            if (m_nestedDepth != 0)
            {
                --m_nested;
                if (depth < m_nestedDepth)
                    m_nestedDepth = 0;
            }
            else if (!m_levels.empty())
            {
                m_levels.pop_back();
            }
            break;
        default:
            if (m_collectDepth != 0)
                collect(record);
            else if (plainValue(record))
                return true;
            break;
        }
    }
    return false;
}

void ValueWalk::place(Kind kind, RecordPlace const &record)
{
    m_value.kind = kind;
    m_value.nested = m_nested;
    m_value.begin = record.begin;
    m_value.end = record.end;
    m_value.payload = record.payload;
    m_value.payloadSize = record.payloadSize;
    m_value.number = record.number;
    m_value.reals.clear();
    m_value.isComplete = true;
    if (m_levels.empty())
        return;
    Level &level = m_levels.back();
    m_value.owner = level.known;
    m_value.section = level.section;
    m_value.ordinal = level.ordinal;
    if (m_nestedDepth == 0)
        ++level.ordinal;
}

bool ValueWalk::beginFrame(RecordPlace const &record)
{
    std::size_t const depth = m_walk.open().size();
    bool const inSection =
        depth >= 2 && (m_walk.open()[depth - 2].type == RecordType::SectionBegin || m_walk.open()[depth - 2].hasSections);
    KnownClass const known = knownClass(m_source.look(record.payload, static_cast<std::size_t>(record.payloadSize)));
    if (m_nestedDepth == 0 && !inSection)
    {
        m_classNames.emplace_back(m_source.look(record.payload, static_cast<std::size_t>(record.payloadSize)));
        m_levels.push_back({known, 0, 0});
        return false;
    }
    if (isValueClass(known))
    {
        place(known == KnownClass::Id ? Kind::Id : known == KnownClass::Variant ? Kind::Variant : Kind::Point, record);
        m_value.variantKind = 0;
        m_value.variantValue = Kind::Frame;
        m_value.payloadSize = 0;
        m_value.id = {};
        m_collectDepth = depth;
        m_words = 0;
        return false;
    }
    place(Kind::Frame, record);
    if (m_nestedDepth == 0)
        m_nestedDepth = depth;
    ++m_nested;
    return true;
}

bool ValueWalk::plainValue(RecordPlace const &record)
{
    static constexpr std::array<Kind, 11> kKinds = {Kind::Bool,   Kind::Short, Kind::Long,  Kind::Double,
                                                    Kind::Text16, Kind::Text8, Kind::Frame, Kind::Frame,
                                                    Kind::Frame,  Kind::Frame, Kind::Bytes};
    place(kKinds[static_cast<std::size_t>(record.type)], record);
    if (record.type == RecordType::Double)
        m_value.reals.push_back(realAt(m_source, record.payload));
    return true;
}

/// The words of an id: Data1, Data2 with Data3 above it, and two times four bytes of Data4.
void ValueWalk::collect(RecordPlace const &record)
{
    int const word = m_words++;
    switch (m_value.kind)
    {
    case Kind::Id:
        if (word > 3)
            return; // a member of a newer release
        if (record.type != RecordType::Long)
        {
            m_value.isComplete = false;
            return;
        }
        if (word == 0)
            m_value.id.Data1 = static_cast<std::uint32_t>(record.number);
        else if (word == 1)
        {
            m_value.id.Data2 = static_cast<std::uint16_t>(record.number & 0xFFFF);
            m_value.id.Data3 = static_cast<std::uint16_t>(static_cast<std::uint32_t>(record.number) >> 16);
        }
        else
            std::memcpy(m_value.id.Data4 + 4 * (word - 2), m_source.look(record.payload, 4).data(), 4);
        return;
    case Kind::Point:
        if (record.type == RecordType::Double && word < 3)
            m_value.reals.push_back(realAt(m_source, record.payload));
        return;
    default:
        if (word == 0)
        {
            m_value.variantKind = record.number;
            m_value.isComplete = record.type == RecordType::Long;
            return;
        }
        if (word > 1)
            return;
        m_value.number = record.number;
        m_value.payload = record.payload;
        m_value.payloadSize = record.payloadSize;
        if (record.type == RecordType::Double)
            m_value.reals.push_back(realAt(m_source, record.payload));
        m_value.variantValue = record.type == RecordType::Short    ? Kind::Short
                               : record.type == RecordType::Long   ? Kind::Long
                               : record.type == RecordType::Double ? Kind::Double
                               : record.type == RecordType::Text16 ? Kind::Text16
                               : record.type == RecordType::Text8  ? Kind::Text8
                               : record.type == RecordType::Bytes  ? Kind::Bytes
                                                                   : Kind::Bool;
        return;
    }
}

void ValueWalk::finishCollected(RecordPlace const &record)
{
    m_value.end = record.end;
    if (m_value.kind == Kind::Id)
        m_value.isComplete = m_value.isComplete && m_words >= 4;
    else if (m_value.kind == Kind::Point)
        m_value.isComplete = m_value.reals.size() == 3;
    else
        m_value.isComplete = m_value.isComplete && m_words >= 1;
}

CString text16At(ByteSource &source, std::int64_t payload, std::int64_t size)
{
    std::string const bytes = source.copy(payload, size);
    std::u16string units(bytes.size() / 2, u'\0');
    for (std::size_t i = 0; i < units.size(); ++i)
        units[i] = static_cast<char16_t>(littleEndian(std::string_view(bytes).substr(2 * i, 2)));
    // Like the library's reader: a text ends at its first zero.
    units.resize(std::min(units.find(u'\0'), units.size()));
    return CString(units.data(), static_cast<int>(units.size()));
}

CString text8At(ByteSource &source, std::int64_t payload, std::int64_t size)
{
    return CString(source.copy(payload, size).c_str());
}

CString textOf(ByteSource &source, StoredValue const &value)
{
    bool const isWide = value.kind == Kind::Text16 || (value.kind == Kind::Variant && value.variantValue == Kind::Text16);
    return isWide ? text16At(source, value.payload, value.payloadSize) : text8At(source, value.payload, value.payloadSize);
}

} // namespace okt
