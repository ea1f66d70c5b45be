// SPDX-License-Identifier: MIT
// A quantity expression of any text, in UTF-8: what comes out has the one form that the operation writes, and stays as it is
// when it goes through again.

#include "fuzzsupport.h"

#include <oktdatabase/oktdatabaseutil.h>

#include <string_view>

namespace
{
bool isDigits(OktTextView text) { return !text.empty() && text.find_first_not_of(u"0123456789") == OktTextView::npos; }

// "?" or a count, "x", a length without trailing zeros behind its point, a blank.
bool isTerm(OktTextView term)
{
    std::size_t const sign = term.find(u'x');
    if (sign == OktTextView::npos)
        return false;
    OktTextView count = term.substr(0, sign);
    OktTextView length = term.substr(sign + 1);
    if (count.starts_with(u'-'))
        count.remove_prefix(1);
    if (count != u"?" && !isDigits(count))
        return false;
    if (length == u"inf") // more digits than a double can hold
        return true;
    std::size_t const point = length.find(u'.');
    if (point == OktTextView::npos)
        return isDigits(length);
    OktTextView const decimals = length.substr(point + 1);
    return isDigits(length.substr(0, point)) && isDigits(decimals) && decimals.size() <= 3 && decimals.back() != u'0';
}

bool isNormal(OktTextView text)
{
    while (!text.empty())
    {
        std::size_t const blank = text.find(u' ');
        if (blank == OktTextView::npos || !isTerm(text.substr(0, blank)))
            return false;
        text.remove_prefix(blank + 1);
    }
    return true;
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const *data, std::size_t size)
{
    CString const expression = CString::FromUtf8({reinterpret_cast<char const *>(data), size});
    CString const once = OKTDatabaseUtil::convertExpresion(expression, 1.0);
    FUZZ_DEMAND(isNormal(once.View()));
    if (once.Find(u"inf") < 0)
        FUZZ_DEMAND(OKTDatabaseUtil::convertExpresion(once, 1.0) == once);
    for (double const scale : {1000.0, 0.001, 39.3700787401575, 1e-300, 1e300})
        FUZZ_DEMAND(isNormal(OKTDatabaseUtil::convertExpresion(expression, scale).View()));
    return 0;
}
