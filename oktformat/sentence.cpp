// SPDX-License-Identifier: MIT
#define FMT_HEADER_ONLY // here alone: nobody links the library itself
#include <oktformat/sentence.h>

namespace okt
{

std::string formatted(fmt::string_view text, fmt::format_args const &values) { return fmt::vformat(text, values); }

} // namespace okt
