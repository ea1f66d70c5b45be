// SPDX-License-Identifier: MIT
#pragma once

#include <stdexcept>
#include <string>

namespace okt
{

/// What stops a command. `what()` is the one line that the user gets: file, place in it, reason.
/// The place is "line:column" in a table and "byte N" in a pool file; it may be empty.
class Failure : public std::runtime_error
{
public:
    /// The texts are UTF-8. The line is "FILE:PLACE: REASON", or "FILE: REASON" without a place.
    Failure(std::string const &file, std::string const &place, std::string const &reason);

    /// The line without the file name, for output that already names the file.
    std::string const &withoutFile() const { return m_withoutFile; }

private:
    std::string m_withoutFile;
};

} // namespace okt
