// SPDX-License-Identifier: MIT
#pragma once

#include <oktplatform/oktstring.h>

/// Quantity expressions: a series of terms such as "3x200 2x150", each a count, a multiplication sign and a length.
class OKT_API OKTDatabaseUtil
{
public:
    /// The expression with every length multiplied by `scale`, rounded to three decimals, and brought into one form: "2x100 ",
    /// a blank behind every term. Nothing is refused: what is no term is dropped (quirk 65). Numbers follow the numeric locale.
    static CString convertExpresion(CString expression, double scale);
};
