// SPDX-License-Identifier: MIT
#include <oktformat/guids.h>

#include <oktformat/text.h>

#include <oktdatabase/okttools.h>

namespace okt
{

std::string idText(_GUID const &id) { return printable(OKTTools::getStringFromGUID(id)); }

std::string idText(OKTDbObjectId const &id) { return printable(id.getGuidAsString(false)); }

} // namespace okt
