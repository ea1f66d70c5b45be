// SPDX-License-Identifier: MIT
#pragma once

#include <oktdatabase/oktcontainers.h>
#include <oktplatform/oktstring.h>

/// A multiset of characters. A key stays in the map when its count falls to 0, and the comparisons, which are of the maps, see
/// it (quirk 67). Case counts.
class OKT_API OKTHelperEC
{
public:
    using CountMap = OKTMap<wchar_t, int, wchar_t const &, int const &>;

    OKTHelperEC() = default;
    OKTHelperEC(CString const &text); // NOLINT(google-explicit-constructor)
    OKTHelperEC(OKTHelperEC const &) = default;
    OKTHelperEC &operator=(OKTHelperEC const &) = default;
    virtual ~OKTHelperEC();

    /// Empties the set, then counts each UTF-16 unit of the text.
    void makeFromEC(CString const &text);
    /// Raises the count of the character by 1.
    void addType(wchar_t const &type);
    /// Whether its count is at least 1.
    bool canRemove(wchar_t const &type);
    /// Lowers the count if it is at least 1.
    void remove(wchar_t const &type);
    /// The counts by character, good until the set changes.
    CountMap const &getECasMap() const { return m_counts; }

    /// The same keys with the same counts.
    bool operator==(OKTHelperEC const &other) const;
    /// Every key of the left is a key of the right, with a count no lower there.
    bool operator<=(OKTHelperEC const &other) const;
    bool operator>=(OKTHelperEC const &other) const;

private:
    CountMap m_counts;
};
