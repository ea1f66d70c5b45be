#pragma once

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
};

} // namespace okt
