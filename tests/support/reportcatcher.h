// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <string>
#include <vector>

/// Takes the place of the warning dialog for a scope and keeps what it was given. Catchers nest: the innermost one gets the
/// reports, and its end gives the place back to the one around it, or to the default presenter.
class ReportCatcher
{
public:
    ReportCatcher();
    ReportCatcher(ReportCatcher const &) = delete;
    ReportCatcher &operator=(ReportCatcher const &) = delete;
    ~ReportCatcher();

    /// The texts in UTF-8, in the order in which they were shown.
    std::vector<std::string> const &texts() const { return m_texts; }
    std::size_t count() const { return m_texts.size(); }
    void clear() { m_texts.clear(); }

    /// Called by the presenter.
    void take(std::string text) { m_texts.push_back(std::move(text)); }

private:
    std::vector<std::string> m_texts;
    ReportCatcher *m_outer;
};
