// SPDX-License-Identifier: MIT
#pragma once
// Not installed.
#include <cstddef>
#include <string>

namespace okt
{

/// Collects the warnings of the library during a scope, so that they can be shown as one line. Scopes nest: the innermost one gets them.
class ReportCollector
{
public:
    ReportCollector();
    ~ReportCollector();
    ReportCollector(ReportCollector const &) = delete;
    ReportCollector &operator=(ReportCollector const &) = delete;

    /// What the library reported so far, printable, on one line.
    std::string const &reports() const;
    /// Removes all reports after the first `length` bytes. True: there were any.
    bool forgetBehind(std::size_t length) const;
};

} // namespace okt
