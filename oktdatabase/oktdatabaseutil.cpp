// SPDX-License-Identifier: MIT
#include <oktdatabase/oktdatabaseutil.h>

#include <oktdatabase/oktcrashhandler.h>
#include <oktdatabase/oktexpression.h>
#include <oktplatform/oktnumber.h>

#include <cstdint>
#include <limits>

namespace
{
bool isOperand(WCHAR unit) { return (unit >= u'0' && unit <= u'9') || unit == u'.' || unit == u'?'; }

// Towards zero; what does not fit becomes the smallest integer (quirk 66).
std::int32_t truncated(double number)
{
    using Limits = std::numeric_limits<std::int32_t>;
    bool const fits = number > -2147483649.0 && number < 2147483648.0;
    return fits ? static_cast<std::int32_t>(number) : Limits::min();
}
} // namespace

CString OKTDatabaseUtil::convertExpresion(CString expression, double scale)
try
{
    return OktScaledExpression(expression, scale);
}
OKT_ANSWER_ZERO

CString OktScaledExpression(CString expression, double scale)
{
    CString result;
    expression.Replace(u"x", u"*");
    expression.Replace(u"X", u"*");
    expression.Replace(u",", u".");

    int start = 0;
    int const end = expression.GetLength();
    for (int sign; (sign = expression.Find(u"*", start)) >= 0;)
    {
        int left = sign;
        while (left > start && isOperand(expression.GetAt(left - 1)))
            --left;
        int right = sign + 1;
        while (right < end && isOperand(expression.GetAt(right)))
            ++right;

        CString const countText = expression.Mid(left, sign - left);
        CString const lengthText = expression.Mid(sign + 1, right - sign - 1);
        std::int32_t const count = truncated(_wtof(countText.GetString()));
        double const length = _wtof(lengthText.GetString()) * scale;
        start = right; // text between terms is dropped with the next term (quirk 65)

        CString term;
        if (countText == u"?" && count == 0)
            term.Format(u"?x%.3f", length);
        else
            term.Format(u"%dx%.3f", count, length);
        term.TrimRight(u'0');
        term.TrimRight(u'.');
        result += term;
        result += u' ';
    }
    return result;
}
