// SPDX-License-Identifier: MIT
#pragma once

// Not installed.

#include <oktinspect/finding.h>
#include <oktinspect/objecttable.h>

#include <cstdint>
#include <vector>

namespace okt
{

/// Checks objects one by one: records, values, texts, images, references, and whether the library can read them.
class ObjectCheck
{
public:
    /// What reads the objects.
    enum class Reader
    {
        Library,
        Records ///< nothing but these: what they leave open counts as a finding
    };

    /// A member that a category or a group lists.
    struct Listed
    {
        std::int32_t list;
        std::int32_t member;

        bool operator<(Listed const &other) const { return list != other.list ? list < other.list : member < other.member; }
    };

    /// `pool`: the id of the pool, if the header is whole.
    ObjectCheck(ByteSource &source, ObjectTable &objects, std::optional<_GUID> pool, Findings &findings, Reader reader)
        : m_source(source), m_objects(objects), m_pool(pool), m_findings(findings), m_reader(reader)
    {
    }

    /// Also stores the parent of the object in the table.
    void check(std::int32_t index);

    std::vector<Listed> const &listed() const { return m_listed; }
    /// Objects with sections that this release does not know, and the first of them.
    std::int64_t laterCount() const { return m_laterCount; }
    std::int64_t firstLater() const { return m_firstLater; }

private:
    void add(Finding::What what, std::int64_t at, std::vector<Fact> facts = {});
    void add(Finding finding);
    void records();
    void value(StoredValue const &value);
    void numbers(StoredValue const &value);
    void reference(StoredValue const &value);
    std::int32_t checkType(StoredValue const &value);
    void parameterValue(StoredValue const &value, std::int32_t type);
    void length(StoredValue const &value);
    void byLibrary(std::vector<std::string> const &classNames);
    void byRecords(std::vector<std::string> const &classNames);
    void image(CByteArray const &image);

    ByteSource &m_source;
    ObjectTable &m_objects;
    std::optional<_GUID> m_pool;
    Findings &m_findings;
    Reader m_reader;
    std::vector<Listed> m_listed;
    std::int64_t m_laterCount = 0;
    std::int64_t m_firstLater = -1;

    // About the object that is checked now
    std::int32_t m_index = ObjectTable::kNone;
    std::int64_t m_astrayAt = -1; ///< from this offset on its members cannot be told by their ordinals; -1: none
    std::int32_t m_type = -1;
};

} // namespace okt
