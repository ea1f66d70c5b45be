// SPDX-License-Identifier: MIT
#include <oktinspect/contentdigest.h>

#include <oktinspect/findingtext.h>
#include <oktinspect/objectpass.h>

#include <oktformat/failure.h>
#include <oktformat/guids.h>
#include <oktformat/poolheader.h>
#include <oktformat/text.h>

#include <algorithm>
#include <set>
#include <unordered_map>
#include <vector>

namespace okt
{

namespace
{

// In front of all else, so that a later way of counting gives other digests.
constexpr char kMark[] = "okt contents 1\n";
// What stands in place of an id, which is no hexadecimal digit.
constexpr char kSelf = 's';
constexpr char kNone = 'n';
constexpr char kMissing = 'm';

std::string keyOf(_GUID const &id) { return {reinterpret_cast<char const *>(&id), sizeof id}; }

/// An object without its ids, and those that it names, in the order of its records.
struct Counted
{
    std::string id;
    std::string label;
    std::vector<std::string> names;
};

class Digest
{
public:
    Digest(ByteSource &source, std::string const &name, Digester const &digestOf, OnProgress const &onProgress)
        : m_source(source), m_name(name), m_digestOf(digestOf), m_onProgress(onProgress)
    {
    }

    std::string run()
    {
        HeaderPlace const header = findHeader(m_source);
        passObjects(
            m_source, header, m_name, m_onProgress, [this](Stretch const &object) { m_objects.push_back(countedOf(object)); },
            [this](Finding const &fault) { throw Failure(m_name, byteAt(fault.offset), sentenceOf(fault)); });
        for (std::size_t i = 0; i < m_objects.size(); ++i)
            m_byId.emplace(m_objects[i].id, i);
        refine();
        std::vector<std::string> labels;
        for (Counted const &object : m_objects)
            labels.push_back(object.label);
        std::sort(labels.begin(), labels.end());
        std::string all = kMark + headerText(header);
        for (std::string const &label : labels)
            all += label;
        return m_digestOf(all);
    }

private:
    Counted countedOf(Stretch const &object)
    {
        Counted counted;
        counted.id = keyOf(object.id.value_or(kNoId));
        std::string bytes;
        std::int64_t at = object.begin;
        ValueWalk walk(m_source, object.begin);
        while (walk.next())
        {
            StoredValue const &value = walk.value();
            if (value.kind != StoredValue::Kind::Id)
                continue;
            bytes += m_source.copy(at, value.begin - at);
            at = value.end;
            bytes += '\0';
            counted.names.push_back(keyOf(value.id));
        }
        bytes += m_source.copy(at, object.end - at);
        counted.label = m_digestOf(bytes);
        return counted;
    }

    std::string labelOf(std::string const &id, Counted const *from) const
    {
        if (id == keyOf(kNoId))
            return {kNone};
        if (from != nullptr && id == from->id)
            return {kSelf};
        auto const found = m_byId.find(id);
        return found == m_byId.end() ? std::string{kMissing} : m_objects[found->second].label;
    }

    std::size_t kinds() const
    {
        std::set<std::string> labels;
        for (Counted const &object : m_objects)
            labels.insert(object.label);
        return labels.size();
    }

    /// What objects refer to tells those apart that are alike otherwise, until it does no more.
    void refine()
    {
        for (std::size_t before = 0, now = kinds(); now != before;)
        {
            std::vector<std::string> labels;
            for (Counted const &object : m_objects)
            {
                std::string text = object.label;
                for (std::string const &id : object.names)
                    text += ' ' + labelOf(id, &object);
                labels.push_back(m_digestOf(text));
            }
            for (std::size_t i = 0; i < m_objects.size(); ++i)
                m_objects[i].label = std::move(labels[i]);
            before = now;
            now = kinds();
        }
    }

    std::string headerText(HeaderPlace const &header)
    {
        std::string text;
        std::int64_t at = header.begin;
        HeaderWalk walk(m_source, header.begin);
        while (walk.next())
        {
            StoredValue const &value = walk.value();
            bool const isPlace = walk.isPosition() || walk.isSize();
            if (!isPlace && value.kind != StoredValue::Kind::Id)
                continue;
            text += m_source.copy(at, value.begin - at);
            at = value.end;
            if (!isPlace && walk.role() != HeaderRole::PoolId)
                text += labelOf(keyOf(value.id), nullptr);
        }
        return text + m_source.copy(at, header.end - at);
    }

    ByteSource &m_source;
    std::string const &m_name;
    Digester const &m_digestOf;
    OnProgress const &m_onProgress;
    std::vector<Counted> m_objects;
    std::unordered_map<std::string, std::size_t> m_byId;
};

} // namespace

std::string contentDigest(ByteSource &source, std::string const &name, Digester const &digestOf, OnProgress const &onProgress)
{
    return Digest(source, name, digestOf, onProgress).run();
}

} // namespace okt
