// SPDX-License-Identifier: MIT
#include <oktinspect/headercheck.h>

#include <oktinspect/classrecords.h>
#include <oktinspect/valuecheck.h>

#include <oktformat/guids.h>

#include <algorithm>
#include <cmath>
#include <vector>

namespace okt
{

namespace
{

using Kind = StoredValue::Kind;
using What = Finding::What;

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
        for (RecordFault &fault : checkRecords(m_source, m_header.begin).faults)
        {
            fault.finding.object = -1;
            m_findings.add(fault.finding);
        }
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
    void add(What what, std::int64_t at, std::vector<Fact> facts) { m_findings.add(makeFinding(what, at, std::move(facts))); }

    void checkValue(StoredValue const &value, HeaderRole role)
    {
        if (std::optional<TextFault> const fault = textFault(m_source, value))
            add(fault->what, value.begin, {{"at", fault->at}});
        if (role != HeaderRole::Factor)
            return;
        double const factor = value.reals.front();
        if (!std::isfinite(factor) || factor <= 0)
            add(What::MetricsFactorNone, value.begin, {{"number", factor}});
        else if (factor != 1)
            add(What::MetricsFactorOther, value.begin, {{"number", factor}});
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
            // The header keeps the ids of sketch, ppActions and radial reinforcement after a client removed the object.
            bool const isLeft = !hasPlace(role);
            Finding missing = makeFinding(What::HeaderNamesMissing, value.begin, {{"role", roleName(role)}});
            missing.severity = isLeft ? Finding::Severity::Warning : Finding::Severity::Error;
            missing.named = value.id;
            m_findings.add(missing);
            return;
        }
        if (!isPicture(role))
            return;
        m_pictures.push_back(named);
        if (m_objects.at(named).known != KnownClass::Picture)
            add(What::HeaderNamesNoPicture, value.begin, {{"id", value.id}});
    }

    void checkPlace(StoredValue const &id, std::int32_t position, std::int32_t size)
    {
        if (isSame(id.id, kNoId))
        {
            if (position != -1 || size != -1)
                add(What::PlaceOfNone, id.begin, {{"role", roleName(headerRole(id))}});
            return;
        }
        std::int32_t const named = m_objects.find(id.id);
        if (named == kNone)
            return;
        ObjectTable::Entry const &object = m_objects.at(named);
        if (size < 0)
            add(What::NoPlace, id.begin, {{"role", roleName(headerRole(id))}, {"begin", std::int64_t{object.begin}}});
        else if (std::optional<Finding> const fault = placeFault(m_header, id, position, size, object.begin, object.size))
            m_findings.add(*fault);
    }

    void listedPictures()
    {
        std::sort(m_pictures.begin(), m_pictures.end());
        for (std::int32_t i = 0; i < static_cast<std::int32_t>(m_objects.size()); ++i)
            if (ObjectTable::Entry const &object = m_objects.at(i);
                object.known == KnownClass::Picture && !std::binary_search(m_pictures.begin(), m_pictures.end(), i))
            {
                Finding finding = makeFinding(What::PictureNotListed, object.begin);
                finding.object = object.begin;
                finding.id = object.id;
                m_findings.add(finding);
            }
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

std::optional<Finding> headerSizeFault(HeaderPlace const &header)
{
    std::int64_t const size = header.end - header.begin;
    if (header.begin == 5 && header.statedSize == size)
        return std::nullopt;
    if (header.statedSize < 0)
        return makeFinding(What::NoHeaderSize, 0, {{"size", size}});
    return makeFinding(What::HeaderSizeDiffers, 0, {{"stated", std::int64_t{header.statedSize}}, {"size", size}});
}

std::optional<Finding> placeFault(HeaderPlace const &header, StoredValue const &id, std::int32_t position, std::int32_t size,
                                  std::int64_t realBegin, std::int64_t realSize)
{
    std::int64_t const at = header.end + position;
    if (at == realBegin && size == realSize)
        return std::nullopt;
    return makeFinding(What::PlaceDiffers, id.begin,
                       {{"role", roleName(headerRole(id))},
                        {"stated", at},
                        {"statedSize", std::int64_t{size}},
                        {"begin", realBegin},
                        {"size", realSize}});
}

} // namespace okt
