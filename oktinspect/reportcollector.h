// SPDX-License-Identifier: MIT
#pragma once
// Not installed.
#include <cstddef>
#include <string>

namespace okt
{

/// Collects the library's warnings for a scope, so that the user gets one line instead.
class ReportCollector
{
public:
    ReportCollector();
    ~ReportCollector();
    ReportCollector(ReportCollector const &) = delete;
    ReportCollector &operator=(ReportCollector const &) = delete;

    /// What the library reported so far, printable, on one line.
    std::string const &reports() const;
    /// Forgets what was reported behind the first `length` bytes. True: there was something.
    bool forgetBehind(std::size_t length) const;
};

} // namespace okt
