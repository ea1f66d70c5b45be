// SPDX-License-Identifier: MIT
#include <oktformat/guids.h>

#include <oktformat/text.h>

#include <oktdatabase/okttools.h>

#include <new>

namespace okt
{

namespace
{

/// The library answers an empty text where it has no memory for one.
std::string whole(CString const &text)
{
    if (text.IsEmpty())
        throw std::bad_alloc();
    return printable(text);
}

} // namespace

std::string idText(_GUID const &id) { return whole(OKTTools::getStringFromGUID(id)); }

std::string idText(OKTDbObjectId const &id) { return whole(id.getGuidAsString(false)); }

} // namespace okt
