// SPDX-License-Identifier: MIT
#include <oktformat/failure.h>

#include <oktformat/sentence.h>
#include <oktformat/text.h>

namespace okt
{

namespace
{

std::string composed(std::string const &file, std::string const &place, std::string const &reason)
{
    return sentence("{}{}{}: {}", file.empty() ? "\"\"" : printable(file), place.empty() ? "" : ":", place, reason);
}

} // namespace

Failure::Failure(std::string const &file, std::string const &place, std::string const &reason)
    : std::runtime_error(composed(file, place, reason)),
      m_withoutFile(place.empty() ? reason : sentence("{}: {}", place, reason))
{
}

} // namespace okt
