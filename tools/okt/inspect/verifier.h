#pragma once

#include "filescan.h"

#include <functional>
#include <string>

namespace okt
{

/// Something in a pool file that is not as it should be.
struct Finding
{
    enum class Severity
    {
        Error,
        Warning ///< nothing is damaged, but somebody should look at it
    };

    Severity severity;
    std::int64_t offset;
    std::string text;
};

struct Verdict
{
    std::int64_t objects = 0;
    std::int64_t errors = 0;
    std::int64_t warnings = 0;
};

/// Looks through a whole file: its structure, ids and what names them, lists and places, values, and whether the library reads each
/// object. In memory stay some 40 bytes for each object. Findings come as they are met: first those of the structure, then those
/// of each object, then those of lists.
Verdict verify(FileScan &scan, std::function<void(Finding const &)> const &onFinding);

} // namespace okt
