#include "failure.h"

#include "text.h"

namespace okt
{

namespace
{

std::string composed(std::string const &file, std::string const &place, std::string const &reason)
{
    std::string line = file.empty() ? "\"\"" : printable(file);
    if (!place.empty())
        line += ":" + place;
    return line + ": " + reason;
}

} // namespace

Failure::Failure(std::string const &file, std::string const &place, std::string const &reason)
    : std::runtime_error(composed(file, place, reason))
{
}

} // namespace okt
