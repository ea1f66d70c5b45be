#include <oktinspect/headercheck.h>

#include <oktinspect/classrecords.h>
#include <oktinspect/valuecheck.h>

#include <oktformat/guids.h>
#include <oktformat/text.h>

#include <algorithm>
#include <cmath>
#include <vector>

namespace okt
{

namespace
{

using Kind = StoredValue::Kind;
using Severity = Finding::Severity;
using Code = Finding::Code;

constexpr std::int32_t kNone = ObjectTable::kNone;

bool isPicture(HeaderRole role) { return role == HeaderRole::Picture || role == HeaderRole::OldPicture; }

class HeaderCheck
{
public:
    HeaderCheck(ByteSource &source, HeaderPlace const &header, ObjectTable const &objects, Findings &findings)
        : m_source(source), m_header(header), m_objects(objects), m_findings(findings)
    {
    }

    _GUID run()
    {
        for (RecordFault const &fault : checkRecords(m_source, m_header.begin).faults)
            add(fault.severity, fault.code, fault.at, "the header: " + fault.text);
        HeaderWalk walk(m_source, m_header.begin);
        while (walk.next())
        {
            StoredValue const &value = walk.value();
            checkValue(value, walk.role());
            if (value.nested > 0 || value.section > 6)
                continue;
            if (value.kind == Kind::Id)
                takeId(value, walk.role());
            else if (walk.isSize())
                checkPlace(walk.id(), walk.position(), value.number);
        }
        listedPictures();
        return m_pool;
    }

private:
    void add(Severity severity, Code code, std::int64_t at, std::string const &text, std::optional<_GUID> named = std::nullopt)
    {
        m_findings.add({severity, code, at, -1, std::nullopt, named, text});
    }

    void checkValue(StoredValue const &value, HeaderRole role)
    {
        if (std::string const fault = textFault(m_source, value); !fault.empty())
            add(Severity::Warning, Code::Text, value.begin, "the name of the pool " + fault);
        if (role != HeaderRole::Factor)
            return;
        double const factor = value.reals.front();
        if (!std::isfinite(factor) || factor <= 0)
            add(Severity::Error, Code::Number, value.begin, "the metrics factor is " + number(factor));
        else if (factor != 1)
            add(Severity::Warning, Code::Number, value.begin,
                "the header states the metrics factor " + number(factor) + ", which is 1 in every file");
    }

    void takeId(StoredValue const &value, HeaderRole role)
    {
        if (role == HeaderRole::PoolId)
        {
            m_pool = value.id;
            return;
        }
        if (isSame(value.id, kNoId))
            return;
        std::int32_t const named = m_objects.find(value.id);
        if (named == kNone)
        {
            // The ids of sketch, ppActions and radial reinforcement stay when a client removes the object.
            bool const isLeft = !hasPlace(role);
            add(isLeft ? Severity::Warning : Severity::Error, Code::Missing, value.begin,
                "the header names " + idText(value.id) + " for " + roleText(role) + ", which is not in the file", value.id);
            return;
        }
        if (!isPicture(role))
            return;
        m_pictures.push_back(named);
        if (m_objects.at(named).known != KnownClass::Picture)
            add(Severity::Error, Code::WrongClass, value.begin,
                "the header names " + idText(value.id) + " for a picture, which is none");
    }

    void checkPlace(StoredValue const &id, std::int32_t position, std::int32_t size)
    {
        if (isSame(id.id, kNoId))
        {
            if (position != -1 || size != -1)
                add(Severity::Warning, Code::Place, id.begin,
                    "the header gives a place for " + roleText(headerRole(id)) + ", but names none");
            return;
        }
        std::int32_t const named = m_objects.find(id.id);
        if (named == kNone)
            return;
        ObjectTable::Entry const &object = m_objects.at(named);
        if (size < 0)
            add(Severity::Warning, Code::Place, id.begin,
                "the header gives no place for " + roleText(headerRole(id)) + ", which is at byte " +
                    std::to_string(object.begin));
        else if (std::string const fault = placeFault(m_header, id, position, size, object.begin, object.size); !fault.empty())
            add(Severity::Error, Code::Place, id.begin, fault);
    }

    void listedPictures()
    {
        std::sort(m_pictures.begin(), m_pictures.end());
        for (std::int32_t i = 0; i < static_cast<std::int32_t>(m_objects.size()); ++i)
            if (ObjectTable::Entry const &object = m_objects.at(i);
                object.known == KnownClass::Picture && !std::binary_search(m_pictures.begin(), m_pictures.end(), i))
                m_findings.add({Severity::Warning, Code::NotListed, object.begin, object.begin, object.id, std::nullopt,
                                "this picture is not in the list of the header"});
    }

    ByteSource &m_source;
    HeaderPlace const &m_header;
    ObjectTable const &m_objects;
    Findings &m_findings;
    _GUID m_pool = kNoId;
    std::vector<std::int32_t> m_pictures;
};

} // namespace

_GUID checkHeader(ByteSource &source, HeaderPlace const &header, ObjectTable const &objects, Findings &findings)
{
    return HeaderCheck(source, header, objects, findings).run();
}

std::string headerSizeFault(HeaderPlace const &header)
{
    std::int64_t const size = header.end - header.begin;
    if (header.begin == 5 && header.statedSize == size)
        return {};
    if (header.statedSize < 0)
        return "the file does not begin with the size of its header, which is " + std::to_string(size);
    return "the file begins with " + std::to_string(header.statedSize) + " for the size of its header, which is " +
           std::to_string(size);
}

std::string placeFault(HeaderPlace const &header, StoredValue const &id, std::int32_t position, std::int32_t size,
                       std::int64_t realBegin, std::int64_t realSize)
{
    std::int64_t const at = header.end + position;
    if (at == realBegin && size == realSize)
        return {};
    return "the header places " + roleText(headerRole(id)) + " at byte " + std::to_string(at) + ", " + plural(size, "byte") +
           " long, but it is at byte " + std::to_string(realBegin) + ", " + plural(realSize, "byte") + " long";
}

} // namespace okt
