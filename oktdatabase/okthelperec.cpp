// SPDX-License-Identifier: MIT
#include <oktdatabase/okthelperec.h>

#include <oktdatabase/oktcrashhandler.h>

#include <algorithm>

OKTHelperEC::OKTHelperEC(CString const &text) { makeFromEC(text); }

OKTHelperEC::~OKTHelperEC() = default;

void OKTHelperEC::makeFromEC(CString const &text)
try
{
    m_counts.removeAll();
    for (WCHAR const unit : text.View())
        ++m_counts[static_cast<wchar_t>(unit)];
}
OKT_ANSWER_NOTHING

void OKTHelperEC::addType(wchar_t const &type)
try
{
    ++m_counts[type];
}
OKT_ANSWER_NOTHING

bool OKTHelperEC::canRemove(wchar_t const &type)
try
{
    int const *const count = m_counts.find(type);
    return count != nullptr && *count >= 1;
}
OKT_ANSWER_ZERO

void OKTHelperEC::remove(wchar_t const &type)
try
{
    if (canRemove(type))
        --m_counts[type];
}
OKT_ANSWER_NOTHING

bool OKTHelperEC::operator==(OKTHelperEC const &other) const
try
{
    return m_counts.getSize() == other.m_counts.getSize() &&
           std::equal(m_counts.begin(), m_counts.end(), other.m_counts.begin());
}
OKT_ANSWER_ZERO

bool OKTHelperEC::operator<=(OKTHelperEC const &other) const
try
{
    for (auto const &[type, count] : m_counts)
    {
        int const *const there = other.m_counts.find(type);
        if (there == nullptr || count > *there)
            return false;
    }
    return true;
}
OKT_ANSWER_ZERO

bool OKTHelperEC::operator>=(OKTHelperEC const &other) const { return other <= *this; }
